// The utilities that read and write the window's buffers, under a private X server.
#include <GL/glu.h>
#include <GL/glut.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>

#include "coords/constants.h"
#include "fileio/utility.h"
#include "tests/support/failalloc.h"
#include "tests/support/xvfb.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;

namespace {

constexpr int W = 64, H = 48;

class UtilityGL : public testing::Test {
 protected:
  void SetUp() override {
    if (testsupport::openGLWindow(W, H) == 0) GTEST_SKIP() << "no X server";
    glViewport(0, 0, W, H);
    glDepthRange(0, 1);
    glDisable(GL_DEPTH_TEST);
    glDepthMask(GL_TRUE);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDrawBuffer(GL_BACK);
    glReadBuffer(GL_BACK);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glClearColor(0, 0, 0, 1);
    glClearDepth(1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  }
  void TearDown() override {
    setAllocFunc_UTL(malloc, free);
    testsupport::failAllocAfter(-1);
  }

  // Pixel ortho: one unit a pixel, origin bottom left.
  void pixelOrtho() {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluOrtho2D(0, W, 0, H);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
  }
};

}  // namespace

TEST_F(UtilityGL, ReadImageRowsRunFromTheTopOfTheScreen) {
  pixelOrtho();
  glColor3ub(200, 40, 10);
  glRecti(0, H / 2, W, H);  // upper half red
  glColor3ub(0, 0, 250);
  glRecti(0, 0, W, H / 2);  // lower half blue
  unsigned char* img = readImage(GL_BACK, 0, 0, W, H);
  ASSERT_NE(img, nullptr);
  // First row of the result is the top row of the screen.
  EXPECT_EQ(img[0], 200);
  EXPECT_EQ(img[1], 40);
  EXPECT_EQ(img[2], 10);
  const unsigned char* last = img + (H - 1) * W * 3;
  EXPECT_EQ(last[0], 0);
  EXPECT_EQ(last[2], 250);
  free(img);
  // A sub-rectangle, and a negative argument taking the whole viewport.
  img = readImage(GL_BACK, 4, 2, 3, 2);
  ASSERT_NE(img, nullptr);
  EXPECT_EQ(img[2], 250);
  free(img);
  img = readImage(GL_BACK, -1, 0, 5, 5);
  ASSERT_NE(img, nullptr);
  EXPECT_EQ(img[(W * H - 1) * 3 + 2], 250);  // W x H bytes are there
  EXPECT_EQ(img[0], 200);
  free(img);
}

TEST_F(UtilityGL, ReadImageWithoutMemory) {
  testsupport::failAllocAfter(0);
  setAllocFunc_UTL(testsupport::failingAlloc, free);
  CaptureStderr();
  EXPECT_EQ(readImage(GL_BACK, 0, 0, W, H), nullptr);
  EXPECT_EQ(GetCapturedStderr(), "readImg : Not enough memory to allocate for img!\n\n");
}

TEST_F(UtilityGL, RawDepthWriteAndReadBack) {
  std::vector<float> depth(W * H);
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) depth[y * W + x] = y < H / 2 ? 0.25f : 0.75f;  // rows from the top
  ASSERT_EQ(writeRawDepth(depth.data(), W, H, 0, 1), 1);
  // The colour buffer is untouched by the depth write.
  auto px = testsupport::readPixelsRGB(W / 2, H / 2, 1, 1);
  EXPECT_EQ(px[0], 0);
  float* back = readRawDepth(0, 1);
  ASSERT_NE(back, nullptr);
  EXPECT_NEAR(back[0], 0.25f, 1e-4);            // top left
  EXPECT_NEAR(back[(H - 1) * W], 0.75f, 1e-4);  // bottom left
  EXPECT_NEAR(back[(H / 2 - 1) * W + 5], 0.25f, 1e-4);
  EXPECT_NEAR(back[(H / 2) * W + 5], 0.75f, 1e-4);
  // OpenGL itself sees the upper half near: its bottom row (first in GL order) is 0.75.
  float raw = 0;
  glReadPixels(0, 0, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &raw);
  EXPECT_NEAR(raw, 0.75f, 1e-4);
  free(back);
}

TEST_F(UtilityGL, ReadRawDepthSetsTheDepthRange) {
  float* d = readRawDepth(0.2f, 0.6f);
  ASSERT_NE(d, nullptr);
  free(d);
  GLfloat range[2];
  glGetFloatv(GL_DEPTH_RANGE, range);
  EXPECT_NEAR(range[0], 0.2f, 1e-6);
  EXPECT_NEAR(range[1], 0.6f, 1e-6);
}

TEST_F(UtilityGL, WriteRawDepthFailures) {
  std::vector<float> depth(10 * 10, 0.5f);
  CaptureStderr();
  EXPECT_EQ(writeRawDepth(depth.data(), 10, 10, 0, 1), -1);
  EXPECT_EQ(GetCapturedStderr(), "writeRawDepth : size of depth map doesn't match current window size!\n\n");
  std::vector<float> full(W * H, 0.5f);
  testsupport::failAllocAfter(0);
  setAllocFunc_UTL(testsupport::failingAlloc, free);
  CaptureStderr();
  EXPECT_EQ(writeRawDepth(full.data(), W, H, 0, 1), -1);
  EXPECT_EQ(readRawDepth(0, 1), nullptr);
  EXPECT_EQ(readDepth(), nullptr);
  EXPECT_EQ(GetCapturedStderr(),
            "writeRawDepth : Not enough memory to allocate for depth!\n\n"
            "readRawDepth : Not enough memory to allocate for depth!\n\n"
            "readDepth : Not enough memory to allocate for depth!\n\n");
}

TEST_F(UtilityGL, ReadDepthGivesDistancesFromTheEye) {
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(60, double(W) / H, 1, 20);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glEnable(GL_DEPTH_TEST);
  glDepthFunc(GL_LESS);
  // A wall at z = -5 filling the view.
  glBegin(GL_QUADS);
  glVertex3f(-50, -50, -5);
  glVertex3f(50, -50, -5);
  glVertex3f(50, 50, -5);
  glVertex3f(-50, 50, -5);
  glEnd();
  float* dist = readDepth();
  ASSERT_NE(dist, nullptr);
  // At the centre the distance is the wall's 5; at a corner it is 5 / cos of the angle.
  EXPECT_NEAR(dist[(H / 2) * W + W / 2], 5.0f, 0.05f);
  double tanHalf = tan(30.0 * kRadiansPerDegree);
  double cornerX = tanHalf * double(W) / H * 5, cornerY = tanHalf * 5;
  double corner = sqrt(cornerX * cornerX + cornerY * cornerY + 25);
  EXPECT_NEAR(dist[0], corner, 0.1);
  EXPECT_NEAR(dist[W * H - 1], corner, 0.1);
  EXPECT_GT(dist[0], dist[(H / 2) * W + W / 2]);
  free(dist);
}

TEST_F(UtilityGL, ReadDepthReportsAFailedUnProject) {
  glViewport(0, 0, 1, 1);
  glMatrixMode(GL_PROJECTION);
  GLdouble zero[16] = {0};
  glLoadMatrixd(zero);  // singular: nothing can be unprojected
  CaptureStderr();
  float* d = readDepth();
  EXPECT_EQ(GetCapturedStderr(), "False Return from gluUnProject!\n");
  ASSERT_NE(d, nullptr);
  free(d);
  glViewport(0, 0, W, H);
}

TEST_F(UtilityGL, BitmapOutputDrawsAtTheRasterPosition) {
  pixelOrtho();
  glColor3ub(255, 255, 255);
  bitmap_output(10, 20, "HI", GLUT_BITMAP_HELVETICA_18);
  auto px = testsupport::readPixelsRGB(0, 0, W, H);
  int lit = 0, minX = W, minY = H, maxX = -1;
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++)
      if (px[(y * W + x) * 3] > 128) {
        lit++;
        minX = std::min(minX, x);
        maxX = std::max(maxX, x);
        minY = std::min(minY, y);
      }
  EXPECT_GT(lit, 20);
  EXPECT_GE(minX, 10);
  EXPECT_LE(minX, 13);
  EXPECT_GE(minY, 20);
  EXPECT_LE(minY, 21);
  EXPECT_GT(maxX, minX + 10);  // two letters wide
  // An empty string draws nothing.
  glClear(GL_COLOR_BUFFER_BIT);
  bitmap_output(10, 20, "", GLUT_BITMAP_HELVETICA_18);
  px = testsupport::readPixelsRGB(0, 0, W, H);
  int any = 0;
  for (unsigned char v : px) any += v;
  EXPECT_EQ(any, 0);
}
