// Pictures out of the window as binary PNM files: movie frames, screenshots, and the frame
// number overlay that goes with a movie.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "fileio/pnm.h"
#include "fileio/sgi.h"
#include "fileio/utility.h"
#include "movie/movierec.h"
#include "viewer/tarnwick.h"
#include "viewer/window_scope.h"

namespace {

constexpr int kRGB = 3;
constexpr int kMaxByte = 255;
// The dump on start waits for this much user time after the first frame, in seconds.
constexpr double kDumpStartDelay = 1.0;
// Below the frame count by this much, the last whole frame is the last one dumped in both
// step sizes, and with doubled frames the half step behind it is not.
constexpr double kLastFrameMargin = 0.6;
// A frame whose offset from its key frame is below this counts as the key frame itself.
constexpr double kKeyFrameEpsilon = 1e-7;
// The overlay's place and size: an identity view moved to the lower left corner of a 90
// degree square frustum, with the stroke font scaled down.
constexpr double kLabelFovy = 90.0;
constexpr float kLabelX = -2.8f, kLabelY = -2.8f, kLabelZ = -3.0f;
constexpr float kLabelScale = 0.003f;

// One frame of the movie on the screen, drawn now rather than at the next redisplay.
void showMovieFrame(double frame) {
  setMovieView(frame);
  display();
}

double userSeconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec * 1e-6;
}

}  // namespace

void readGLBuffer(unsigned int buffer, int x, int y, int width, int height, unsigned char* data) {
  glReadBuffer((GLenum)buffer);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x, y, width, height, GL_RGB, GL_UNSIGNED_BYTE, data);
  myUpsidedownImage(data, width, height);
}

int dumpFrame(const char* head, int number, unsigned char* data, bool numbered) {
  if (!head || !head[0]) {
    fprintf(stderr, "Err (dumpFrame): header is null.\n");
    return -1;
  }
  char name[kViewerPathSize];
  if (numbered) {
    snprintf(name, sizeof name, "%s.%04d.pnm", head, number);
    printf("write frame to [%s]\n", name);
  } else {
    snprintf(name, sizeof name, "%s", head);
  }
  // The size is the window's, whatever the data holds.
  if (writePNM(name, "P6", winW, winH, kMaxByte, data) == -1) {
    fprintf(stderr, "Err : writing to [%s]\n", name);
    exit(1);
  }
  return 1;
}

void dumpMovieFrames(int quiet, int nFrames, void (*showFrame)(double frame)) {
  int previous = glutGetWindow();
  glutSetWindow(mainWindow);
  unsigned char* buffer = static_cast<unsigned char*>(malloc((size_t)winW * winH * kRGB));
  if (!buffer) {
    fprintf(stderr, "Err: failed to allocate buffer for movie making.\n\n");
    return;
  }
  int count = frameNumSkip;
  // The skip counts output files: with doubled frames two of them make one frame.
  frameNum = frameNumSkip / (doubleFrame ? 2 : 1);
  while (frameNum < nFrames - kLastFrameMargin) {
    if (!quiet) {
      fprintf(stderr, "- dumping to [%d] ... ", frameNumOffset + count);
      fflush(stderr);
    }
    showFrame(frameNum);
    if (printEnable) printf("Dump Frame %d + %d\n", count, frameNumOffset);
    if (jitterSize != 1) {
      // The average of the passes, already turned top to bottom.
      dumpFrame(movieFileHead, frameNumOffset + count, myStencilBufByte, true);
    } else {
      // The plain frame has just been swapped to the front. It is read from the back buffer,
      // which the copying swap of a window leaves as it was: the front buffer of a
      // double-buffered window reads back empty under a software renderer.
      readGLBuffer(GL_BACK, 0, 0, winW, winH, buffer);
      dumpFrame(movieFileHead, frameNumOffset + count, buffer, true);
    }
    ++count;
    frameNum += doubleFrame ? 0.5 : 1.0;
    if (!quiet) fprintf(stderr, "done.\n");
  }
  free(buffer);
  if (previous) glutSetWindow(previous);
}

void dumpMovie(int quiet) {
  if (!movieRec) return;
  dumpMovieFrames(quiet, movieRec->getNFrames(), showMovieFrame);
}

void dumpScreen(const char* name, unsigned int buffer) {
  static int seqNum = 0;
  unsigned char* data;
  GLint viewport[4];
  {
    WindowScope onMain(mainWindow);
    glGetIntegerv(GL_VIEWPORT, viewport);
    data = readImage((GLenum)buffer, 0, 0, -1, -1);
  }
  char fileName[kViewerPathSize];
  if (!name || !name[0]) {
    snprintf(fileName, sizeof fileName, "screen.%04d.pnm", seqNum);
    ++seqNum;
  } else {
    snprintf(fileName, sizeof fileName, "%s", name);
  }
  // A failed read leaves no pixels to write: that is a failed dump too, not a crash.
  if (data && write_pnm(fileName, viewport[2], viewport[3], kRGB, data) == 0)
    fprintf(stderr, "Screen dumped to file [%s].\n", fileName);
  else
    fprintf(stderr, "Faled to dump screen to file [%s].\n", fileName);
  if (data) ptrUTLFree(data);
}

void dumpOnStartIfDue() {
  if (!justDump || !getStartTime) return;
  if (userSeconds() - startTime <= kDumpStartDelay) return;
  dumpMovie(1);
  if (printEnable) fprintf(stderr, "dump movie is done!\n\n");
  // Status 1 even after a good dump, and without myExit.
  exit(1);
}

void frameNumLabel(char* out, size_t size, double frame, int nFrames, int doubled, double keyOffset) {
  const bool keyFrame = fabs(keyOffset) < kKeyFrameEpsilon;
  if (doubled)
    snprintf(out, size, "Frame %.1f/%d%s", frame, nFrames * 2 - 2, keyFrame ? " (*)" : "");
  else
    snprintf(out, size, "Frame %d/%d%s", (int)frame, nFrames - 1, keyFrame ? " (*)" : "");
}

void drawFrameNumber(int nFrames, double keyOffset) {
  char text[kViewerPathSize];
  frameNumLabel(text, sizeof text, frameNum, nFrames, doubleFrame, keyOffset);
  GLint mode;
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadIdentity();
  gluPerspective(kLabelFovy, 1.0, viewNearPlane, viewFarPlane);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  glTranslatef(kLabelX, kLabelY, kLabelZ);
  glScalef(kLabelScale, kLabelScale, kLabelScale);
  glColor4f(1.0f, 0.4f, 1.0f, 1.0f);
  for (const char* c = text; *c; ++c) glutStrokeCharacter(GLUT_STROKE_ROMAN, (unsigned char)*c);
  glPopMatrix();
  glMatrixMode(GL_PROJECTION);
  glPopMatrix();
  glMatrixMode((GLenum)mode);
}

void showFrameNum() {
  if (!movieRec) return;
  int key = 0;
  // A frame outside the path is no key frame.
  double offset = 1.0;
  movieRec->convertFrameNum(frameNum, &key, &offset);
  drawFrameNumber(movieRec->getNFrames(), offset);
}
