// Jitter anti-aliasing: the sub-pixel tables, the sum of the passes in main memory and the
// jittered frame.
#include <GL/freeglut.h>
#include <GL/gl.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "coords/camera.h"
#include "coords/constants.h"
#include "viewer/tarnwick.h"

namespace jitter {
const double _jitter2[2][2] = {{0.25, 0.75}, {0.75, 0.25}};
const double _jitter3[3][2] = {
    {0.5033922635, 0.8317967229}, {0.7806016275, 0.2504380877}, {0.2261828938, 0.4131553612}};
const double _jitter4[4][2] = {{0.375, 0.25}, {0.125, 0.75}, {0.875, 0.25}, {0.625, 0.75}};
const double _jitter5[5][2] = {{0.5, 0.5}, {0.3, 0.1}, {0.7, 0.9}, {0.9, 0.3}, {0.1, 0.7}};
const double _jitter6[6][2] = {{0.4646464646, 0.4646464646}, {0.1313131313, 0.7979797979},
                               {0.5353535353, 0.8686868686}, {0.8686868686, 0.5353535353},
                               {0.7979797979, 0.1313131313}, {0.202020202, 0.202020202}};
const double _jitter8[8][2] = {{0.5625, 0.4375}, {0.0625, 0.9375}, {0.3125, 0.6875}, {0.6875, 0.8125},
                               {0.8125, 0.1875}, {0.9375, 0.5625}, {0.4375, 0.0625}, {0.1875, 0.3125}};
const double _jitter9[9][2] = {{0.5, 0.5},
                               {0.1666666666, 0.9444444444},
                               {0.5, 0.1666666666},
                               {0.5, 0.8333333333},
                               {0.1666666666, 0.2777777777},
                               {0.8333333333, 0.3888888888},
                               {0.1666666666, 0.6111111111},
                               {0.8333333333, 0.7222222222},
                               {0.8333333333, 0.0555555555}};
const double _jitter12[12][2] = {{0.4166666666, 0.625}, {0.9166666666, 0.875}, {0.25, 0.375},
                                 {0.4166666666, 0.125}, {0.75, 0.125},         {0.0833333333, 0.125},
                                 {0.75, 0.625},         {0.25, 0.875},         {0.5833333333, 0.375},
                                 {0.9166666666, 0.375}, {0.0833333333, 0.625}, {0.583333333, 0.875}};
const double _jitter16[16][2] = {{0.375, 0.4375}, {0.625, 0.0625}, {0.875, 0.1875}, {0.125, 0.0625},
                                 {0.375, 0.6875}, {0.875, 0.4375}, {0.625, 0.5625}, {0.375, 0.9375},
                                 {0.625, 0.3125}, {0.125, 0.5625}, {0.125, 0.8125}, {0.375, 0.1875},
                                 {0.875, 0.9375}, {0.875, 0.6875}, {0.125, 0.3125}, {0.625, 0.8125}};
}  // namespace jitter

int32_t* myStencilBufInt = nullptr;
unsigned char* myStencilBufByte = nullptr;
int myStencilCount = 0;
int myStencilSize = 0;
int myStencilW = 0, myStencilH = 0;

namespace {

// Rows up to this many pixels are swapped through a buffer on the stack.
constexpr int kStackRowPixels = 2048;
constexpr int kRGB = 3;
constexpr int kMaxByte = 255;

}  // namespace

const double (*getJitterPt(int size))[2] {
  switch (size) {
    case 2:
      return jitter::_jitter2;
    case 3:
      return jitter::_jitter3;
    case 4:
      return jitter::_jitter4;
    case 5:
      return jitter::_jitter5;
    case 6:
      return jitter::_jitter6;
    case 8:
      return jitter::_jitter8;
    case 9:
      return jitter::_jitter9;
    case 12:
      return jitter::_jitter12;
    case 16:
      return jitter::_jitter16;
    default:
      return nullptr;
  }
}

void initMyStencil(int width, int height) {
  int needed = width * height * kRGB;
  if (myStencilSize == 0) {
    myStencilSize = needed;
  } else if (myStencilSize != needed) {
    // The arrays go, and come back at the size recorded before: the path is meant for dumps
    // at one fixed window size.
    free(myStencilBufInt);
    free(myStencilBufByte);
    myStencilBufInt = nullptr;
    myStencilBufByte = nullptr;
  }
  myStencilW = width;
  myStencilH = height;
  if (!myStencilBufInt) {
    myStencilBufInt = static_cast<int32_t*>(malloc(sizeof(int32_t) * (size_t)myStencilSize));
    myStencilBufByte = static_cast<unsigned char*>(malloc((size_t)myStencilSize));
    if (!myStencilBufInt || !myStencilBufByte) {
      fprintf(stderr, "Critical Err: failed to allocate memory for our own stencil buffer.\n");
      exit(1);
    }
  }
  myStencilCount = 0;
}

void accumMyStencil() {
  if (myStencilCount == 0)
    for (int i = 0; i < myStencilSize; ++i) myStencilBufInt[i] = myStencilBufByte[i];
  else
    for (int i = 0; i < myStencilSize; ++i) myStencilBufInt[i] += myStencilBufByte[i];
  ++myStencilCount;
}

void averageMyStencil() {
  for (int i = 0; i < myStencilSize; ++i) {
    int v = (int)((double)myStencilBufInt[i] / myStencilCount + 0.5);
    myStencilBufByte[i] = (unsigned char)(v < 0 ? 0 : v > kMaxByte ? kMaxByte : v);
  }
  myUpsidedownImage(myStencilBufByte, myStencilW, myStencilH);
}

void myUpsidedownImage(unsigned char* data, int width, int height) {
  unsigned char stackRow[kStackRowPixels * kRGB];
  unsigned char* row = stackRow;
  size_t rowBytes = (size_t)width * kRGB;
  if (width > kStackRowPixels) {
    row = static_cast<unsigned char*>(malloc(rowBytes));
    if (!row) {
      fprintf(stderr, "myUpsidedownImage : Not enough memory to allocate for buf!\n\n");
      exit(1);
    }
  }
  for (int i = 0; i < height / 2; ++i) {
    unsigned char* top = data + rowBytes * i;
    unsigned char* bottom = data + rowBytes * (height - 1 - i);
    memcpy(row, top, rowBytes);
    memcpy(top, bottom, rowBytes);
    memcpy(bottom, row, rowBytes);
  }
  if (row != stackRow) free(row);
}

void displayJitteredFrame() {
  double fovy = currFovy, aspect = currAspect;
  if (currCamera != 0) {
    fovy = cameras[currCamera - 1].fovy;
    aspect = cameras[currCamera - 1].aspect;
  }
  const double halfHeight = tan(fovy / 2.0 * kRadiansPerDegree) * viewNearPlane;
  const double halfWidth = halfHeight * aspect;

  GLint viewport[4];
  glGetIntegerv(GL_VIEWPORT, viewport);
  initMyStencil(viewport[2], viewport[3]);
  glReadBuffer(GL_BACK);
  glDrawBuffer(GL_BACK);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  double savedProjection[16];
  glGetDoublev(GL_PROJECTION_MATRIX, savedProjection);

  for (int i = 0; i < jitterSize; ++i) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    // jitterPt[i] pixels, in the units of the near plane.
    double dx = 2.0 * jitterPt[i][0] * halfWidth / viewport[2];
    double dy = 2.0 * jitterPt[i][1] * halfHeight / viewport[3];
    glFrustum(dx - halfWidth, dx + halfWidth, dy - halfHeight, dy + halfHeight, viewNearPlane, viewFarPlane);
    glMatrixMode(GL_MODELVIEW);
    drawFrame(0, 1);
    glFlush();
    glReadPixels(viewport[0], viewport[1], viewport[2], viewport[3], GL_RGB, GL_UNSIGNED_BYTE, myStencilBufByte);
    accumMyStencil();
  }

  glMatrixMode(GL_PROJECTION);
  glLoadMatrixd(savedProjection);
  glMatrixMode(GL_MODELVIEW);
  // The screen shows the last pass; the average stays in myStencilBufByte for the dump.
  averageMyStencil();
  glutSwapBuffers();
  glFlush();
}
