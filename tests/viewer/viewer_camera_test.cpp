// Frames seen through the cameras of a camera file: the picture each camera says it gives.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "coords/camera.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tests/viewer/recorder.h"
#include "viewer/tarnwick.h"

namespace {

// The square of the scene stands 2 units ahead of the start view and is 1 unit wide, so it
// spans a quarter of the tangent range either way: 0.25 at depth 1.
const char kCameraFile[] =
    "NUM-CAMERAS 3\n"
    "# straight ahead, a right angle wide: the square fills the middle quarter\n"
    "resolution = 256 256\n"
    "viewDir = 0 0 -1\n"
    "viewUp = 0 1 0\n"
    "fovy = 90\n"
    "aspect = 1\n"
    "name = ahead\n"
    "\n"
    "# off axis, from 0 to 2 across at depth 1: the square's right half at the left edge\n"
    "resolution = 256 256\n"
    "viewDir = 0 0 -1\n"
    "viewUp = 0 1 0\n"
    "corner1 = 0 1 -1\n"
    "corner2 = 2 -1 -1\n"
    "name = left edge\n"
    "\n"
    "# looking back: nothing to see\n"
    "resolution = 256 256\n"
    "viewDir = 0 0 1\n"
    "viewUp = 0 1 0\n"
    "fovy = 60\n"
    "aspect = 1\n"
    "name = back\n";

class CameraView : public testing::Test {
 protected:
  void SetUp() override {
    if (!frameworkWindow()) GTEST_SKIP() << "no X server";
    std::string path = dir_.file("three.cam");
    testsupport::writeFile(path, kCameraFile);
    cameras = readCameras(path.c_str(), &numCameras, viewNearPlane, viewFarPlane, 1);
    ASSERT_NE(cameras, nullptr);
    ASSERT_EQ(numCameras, 3);
    sceneDraws = 1;
  }
  void TearDown() override {
    freeCameras(cameras);
    cameras = nullptr;
    numCameras = currCamera = 0;
    jitterSize = 1;
    jitterPt = nullptr;
  }
  // The picture through camera n, rows from the bottom as OpenGL gives them.
  std::vector<unsigned char> pictureThrough(int n) {
    currCamera = n;
    display();
    // The frame stays in the back buffer after the swap.
    std::vector<unsigned char> px = testsupport::readPixelsRGB(0, 0, 256, 256);
    testsupport::keepShotForALook("velmora-camera-" + std::to_string(n), px.data(), 256, 256);
    return px;
  }
  testsupport::TempDir dir_;
};

bool white(const std::vector<unsigned char>& px, int x, int y) {
  return px[((size_t)y * 256 + x) * 3] == 255;
}

bool black(const std::vector<unsigned char>& px, int x, int y) {
  const unsigned char* p = &px[((size_t)y * 256 + x) * 3];
  return p[0] == 0 && p[1] == 0 && p[2] == 0;
}

int whiteCount(const std::vector<unsigned char>& px) {
  int n = 0;
  for (size_t i = 0; i < px.size(); i += 3) n += px[i] == 255;
  return n;
}

}  // namespace

TEST_F(CameraView, EachCameraGivesTheViewItSays) {
  // Camera 1: the square over pixels 96 to 159 both ways.
  std::vector<unsigned char> ahead = pictureThrough(1);
  EXPECT_TRUE(white(ahead, 128, 128));
  EXPECT_TRUE(white(ahead, 98, 98));
  EXPECT_TRUE(white(ahead, 157, 157));
  EXPECT_TRUE(black(ahead, 92, 128));
  EXPECT_TRUE(black(ahead, 163, 128));
  EXPECT_TRUE(black(ahead, 128, 92));
  EXPECT_NEAR(whiteCount(ahead), 64 * 64, 2 * 64 + 1);

  // Camera 2: the same height, but only 0 to 31 across.
  std::vector<unsigned char> left = pictureThrough(2);
  EXPECT_TRUE(white(left, 2, 128));
  EXPECT_TRUE(white(left, 29, 100));
  EXPECT_TRUE(black(left, 36, 128));
  EXPECT_TRUE(black(left, 128, 128));
  EXPECT_TRUE(black(left, 10, 92));
  EXPECT_NEAR(whiteCount(left), 32 * 64, 2 * 64 + 1);

  // Camera 3 looks away.
  EXPECT_EQ(whiteCount(pictureThrough(3)), 0);

  // No camera: the view's own 60 degrees, the square over 128 +- 55 pixels.
  std::vector<unsigned char> own = pictureThrough(0);
  EXPECT_TRUE(white(own, 128, 128));
  EXPECT_TRUE(white(own, 76, 128));
  EXPECT_TRUE(black(own, 70, 128));
}

TEST_F(CameraView, AFrameThroughACameraLeavesBothMatricesAsBefore) {
  double mv[16], pr[16], mv2[16], pr2[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  for (int n : {1, 2, 3}) {
    currCamera = n;
    display();
    glGetDoublev(GL_MODELVIEW_MATRIX, mv2);
    glGetDoublev(GL_PROJECTION_MATRIX, pr2);
    for (int k = 0; k < 16; ++k) {
      EXPECT_EQ(mv2[k], mv[k]) << n;
      EXPECT_EQ(pr2[k], pr[k]) << n;
    }
  }
}

TEST_F(CameraView, APickPassLeavesTheCamerasMatricesOnTheStacks) {
  currCamera = 1;
  GLint projection0, modelview0, projection1, modelview1;
  glGetIntegerv(GL_PROJECTION_STACK_DEPTH, &projection0);
  glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &modelview0);
  drawFrame(1, 0);
  glGetIntegerv(GL_PROJECTION_STACK_DEPTH, &projection1);
  glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &modelview1);
  EXPECT_EQ(projection1, projection0 + 1);
  EXPECT_EQ(modelview1, modelview0 + 1);
  popCamera();  // what the pass left behind
}

TEST_F(CameraView, AJitteredFrameThroughACameraUsesItsFieldOfView) {
  jitterSize = 4;
  jitterPt = getJitterPt(4);
  currCamera = 1;
  display();
  // The average, rows from the top: the square in the middle quarter, give or take a pixel.
  auto at = [](int x, int y) { return myStencilBufByte[((size_t)y * 256 + x) * 3]; };
  EXPECT_EQ(at(128, 128), 255);
  EXPECT_EQ(at(100, 100), 255);
  EXPECT_EQ(at(90, 128), 0);
  EXPECT_EQ(at(166, 128), 0);
  EXPECT_EQ(at(128, 90), 0);
  EXPECT_EQ(at(128, 166), 0);
}
