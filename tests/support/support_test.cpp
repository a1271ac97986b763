// Checks of the test support itself: private X server, GL window and pixels read back.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

using namespace testsupport;

TEST(Support, RunCapturesBothStreamsAndStatus) {
  RunResult r = run("echo out; echo err >&2; exit 3");
  EXPECT_EQ(r.status, 3);
  EXPECT_EQ(r.out, "out\n");
  EXPECT_EQ(r.err, "err\n");
}

TEST(Support, TempDirIsRemoved) {
  std::string path;
  {
    TempDir dir;
    path = dir.path();
    writeFile(dir.file("a"), "xyz");
    EXPECT_EQ(readFile(dir.file("a")), "xyz");
  }
  EXPECT_FALSE(fileExists(path));
}

TEST(Support, PrivateXvfbRendersAndReadsBack) {
  ASSERT_NE(openGLWindow(64, 48), 0) << "Xvfb could not be started";
  glClearColor(1.0f, 0.0f, 0.0f, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT);
  glColor3f(0.0f, 1.0f, 0.0f);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0, 64, 0, 48, -1, 1);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glRectf(0, 0, 32, 48);  // left half green
  glFinish();
  auto px = readPixelsRGB(0, 0, 64, 48);
  auto at = [&](int x, int y) { return &px[(y * 64 + x) * 3]; };
  EXPECT_EQ(at(10, 10)[0], 0);
  EXPECT_EQ(at(10, 10)[1], 255);
  EXPECT_EQ(at(50, 10)[0], 255);
  EXPECT_EQ(at(50, 10)[1], 0);
}
