// Drawing camera paths under a private X server: the path of positions with its frame dots and
// guides, the path of orientations, cameras as wire figures; pixels read back and checked.
#include <GL/glu.h>
#include <GL/glut.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "movie/movierec.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

namespace {

constexpr int W = 100, H = 100;

struct RGB {
  int r, g, b;
};

const RGB kPath{255, 204, 0};
const RGB kFrameDot{204, 0, 0};
const RGB kBlack{0, 0, 0};
const RGB kGuideOut{102, 102, 204};
const RGB kGuideIn{0, 204, 0};
const RGB kKeyPoint{102, 102, 102};
const RGB kBreakCube{204, 204, 102};

class MovieDrawGL : public testing::Test {
 protected:
  void SetUp() override {
    if (testsupport::openGLWindow(W, H) == 0) GTEST_SKIP() << "no X server";
    glViewport(0, 0, W, H);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_LINE_STIPPLE);
    glDisable(GL_POINT_SMOOTH);
    glDisable(GL_LINE_SMOOTH);
    glDrawBuffer(GL_BACK);
    glReadBuffer(GL_BACK);
    glLineWidth(1);
    glPointSize(5);
    // One unit a pixel, origin bottom left.
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(0, W, 0, H, -100, 100);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  }

  void grab() {
    glFinish();
    pixels = testsupport::readPixelsRGB(0, 0, W, H);
  }
  RGB at(int x, int y) const {
    const unsigned char* p = &pixels[(y * W + x) * 3];
    return RGB{p[0], p[1], p[2]};
  }
  // Saved for a look at the picture (bottom row first turned into top first).
  void save(const std::string& name) const {
    testsupport::keepShotForALook("movie_draw_" + name, pixels.data(), W, H);
  }
  int count(const RGB& c) const {
    int n = 0;
    for (int y = 0; y < H; y++)
      for (int x = 0; x < W; x++)
        if (same(at(x, y), c)) n++;
    return n;
  }
  static bool same(const RGB& a, const RGB& b) {
    return std::abs(a.r - b.r) <= 1 && std::abs(a.g - b.g) <= 1 && std::abs(a.b - b.b) <= 1;
  }

  std::vector<unsigned char> pixels;
};

#define EXPECT_RGB(actual, expected)                                                                   \
  do {                                                                                                 \
    RGB a_ = (actual), e_ = (expected);                                                                \
    EXPECT_TRUE(MovieDrawGL::same(a_, e_))                                                             \
        << "got " << a_.r << " " << a_.g << " " << a_.b << ", want " << e_.r << " " << e_.g << " " << e_.b; \
  } while (0)

View viewAt(double x, double y, double s = 0) {
  View v;
  v.viewPos = PHCoord{x, y, 0, s};
  v.viewDir[2] = -1;
  v.viewUp[1] = 1;
  v.fovy = 45;
  v.aspect = 1;
  return v;
}

TEST_F(MovieDrawGL, LinearPathWithADotForEveryFrame) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(10.5, 50.5), 0);
  m.recordKeyFrame(viewAt(90.5, 50.5), 3);  // frames at 10, 30, 50, 70, 90
  m.drawMoviePath(0);
  grab();
  save("linear");
  for (int x : {10, 30, 50, 70, 90}) EXPECT_RGB(at(x, 50), kFrameDot);
  EXPECT_RGB(at(20, 50), kPath);
  EXPECT_RGB(at(60, 50), kPath);
  EXPECT_RGB(at(50, 60), kBlack);
  EXPECT_RGB(at(5, 50), kBlack);
}

TEST_F(MovieDrawGL, LinearPathAtAScale) {
  MovieRecord m;
  // Positions in decametres, drawn in units of ten metres.
  m.recordKeyFrame(viewAt(1.05, 5.05, 2), 0);
  m.recordKeyFrame(viewAt(9.05, 5.05, 2), 0);
  m.drawMoviePath(1);
  grab();
  EXPECT_RGB(at(10, 50), kFrameDot);
  EXPECT_RGB(at(90, 50), kFrameDot);
  EXPECT_RGB(at(50, 50), kPath);
}

TEST_F(MovieDrawGL, SplinePathWithGuidePoints) {
  MovieRecord m;
  m.setInterpolation(SplPos);
  m.recordKeyFrame(viewAt(10.5, 20.5), 0);
  m.recordKeyFrame(viewAt(50.5, 80.5), 3);
  m.recordKeyFrame(viewAt(90.5, 20.5), 3);
  m.drawMoviePath(0);
  grab();
  save("spline");
  const keyFrameNode* k0 = m.findNthKeyFrame(0);
  const keyFrameNode* k1 = m.findNthKeyFrame(1);
  // The first keyframe's guide out point, and the middle keyframe's guide in.
  EXPECT_RGB(at(static_cast<int>(k0->guideOut.viewPos.x * pow(10, k0->guideOut.viewPos.s)),
                static_cast<int>(k0->guideOut.viewPos.y * pow(10, k0->guideOut.viewPos.s))),
             kGuideOut);
  EXPECT_RGB(at(static_cast<int>(k1->guideIn.viewPos.x * pow(10, k1->guideIn.viewPos.s)),
                static_cast<int>(k1->guideIn.viewPos.y * pow(10, k1->guideIn.viewPos.s))),
             kGuideIn);
  EXPECT_RGB(at(90, 20), kKeyPoint);
  // The curve's in-between frames are red dots; the path runs through the middle keyframe.
  View f;
  ASSERT_EQ(m.retrieveFrame(2.0, &f), 1);
  EXPECT_RGB(at(static_cast<int>(f.viewPos.x * pow(10, f.viewPos.s)),
                static_cast<int>(f.viewPos.y * pow(10, f.viewPos.s))),
             kFrameDot);
  EXPECT_GT(count(kPath), 60);
}

TEST_F(MovieDrawGL, SpanOfAnOrientationSessionIsNotDrawnYetRunsAsSpline) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(10.5, 50.5), 0);
  m.recordKeyFrame(viewAt(50.5, 90.5), 3);
  m.recordKeyFrame(viewAt(90.5, 50.5), 3);
  m.findNthKeyFrame(0)->interpMethod = SplQuat;  // as a SplQuat session leaves it
  m.findNthKeyFrame(1)->interpMethod = SplQuat;
  m.drawMoviePath(0);
  grab();
  EXPECT_EQ(count(kPath), 0);
  EXPECT_EQ(count(kFrameDot), 0);
  // The position runs on the spline: frame 2 is off the straight line from 10 to 50.
  View f;
  ASSERT_EQ(m.retrieveFrame(2.0, &f), 1);
  double x = f.viewPos.x * pow(10, f.viewPos.s), y = f.viewPos.y * pow(10, f.viewPos.s);
  EXPECT_GT(std::fabs((y - 50.5) - (x - 10.5)), 1.0);
}

TEST_F(MovieDrawGL, TooFewKeyFramesWarnFiveTimesInAll) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(10, 10), 0);
  std::string err = testsupport::stderrOf([&] {
    for (int i = 0; i < 7; i++) m.drawMoviePath(0);
  });
  std::string five;
  for (int i = 0; i < 5; i++) five += "Warning (drawMoviePath): no frame to draw.\n";
  EXPECT_EQ(err, five);
  err = testsupport::stderrOf([&] {
    for (int i = 0; i < 6; i++) m.drawQuatMoviePath(0, 0);
  });
  five.clear();
  for (int i = 0; i < 5; i++) five += "Warning (drawQuatMoviePath): no frame to draw.\n";
  EXPECT_EQ(err, five);
  grab();
  EXPECT_EQ(count(kBlack), W * H);
}

TEST_F(MovieDrawGL, QuaternionPathShowsEveryFrame) {
  MovieRecord m;
  View a = viewAt(0, 0), b = viewAt(0, 0);
  b.viewDir[0] = -1;
  b.viewDir[2] = 0;  // a quarter turn about y: quaternion (cos 45, 0, sin 45, 0)
  m.recordKeyFrame(a, 0);
  m.recordKeyFrame(b, 3);
  // Quaternion x, y, z magnified into the picture.
  glTranslated(10.5, 10.5, 0);
  glScaled(80, 80, 80);
  m.drawQuatMoviePath(2.0, 0);
  grab();
  save("quat");
  // The identity at (0, 0): a keyframe point; the end at y = sin 45 deg.
  EXPECT_RGB(at(10, 10), (RGB{204, 204, 204}));
  EXPECT_RGB(at(10, 10 + static_cast<int>(80 * 0.70710678)), (RGB{204, 204, 204}));
  // Frame 2 is highlighted.
  EXPECT_GT(count(RGB{230, 77, 77}), 0);
  EXPECT_GT(count(kPath), 10);
}

TEST_F(MovieDrawGL, CameraAxesAndBreakCube) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(50.5, 50.5), 0);
  m.recordKeyFrame(viewAt(60.5, 50.5), 9);
  m.findNthKeyFrame(0)->breakFlag = 1;
  // At offset 0: the break cube (side 0.4 * 40 = 16) and the right and up axes.
  m.drawFrame(0, 0.0, 40.0f, 0, 4 | 2, 0);
  grab();
  save("camera");
  EXPECT_RGB(at(58, 55), kBreakCube);  // the cube's right edge at x = 50.5 + 8
  EXPECT_RGB(at(80, 50), (RGB{204, 0, 0}));  // right axis to x = 90
  EXPECT_RGB(at(50, 80), (RGB{0, 204, 0}));  // up axis to y = 90
  EXPECT_RGB(at(40, 50), kBlack);
  // At offset 0.5 the same keyframe shows no cube.
  glClear(GL_COLOR_BUFFER_BIT);
  m.drawFrame(0, 0.5, 40.0f, 0, 4 | 2, 0);
  grab();
  EXPECT_EQ(count(kBreakCube), 0);
  // Flags 0 draw nothing; a frame number works as the pair does.
  glClear(GL_COLOR_BUFFER_BIT);
  m.drawFrame(0, 0.0, 40.0f, 0, 0, 0);
  m.drawFrame(30.0, 40.0f, 0, 4, 0);  // beyond the path: nothing
  grab();
  EXPECT_EQ(count(kBlack), W * H);
}

TEST_F(MovieDrawGL, CameraNearTheOriginShrinksWithItsDistance) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(0.5, 0, 0), 0);  // length 0.5 at scale 0
  glTranslated(10.5, 50.5, 0);
  m.drawFrame(0, 0.0, 60.0f, 0, 4, 0);
  grab();
  save("shrink");
  // The right axis of size 60 at half size reaches 30 past the camera (drawn at x = 0.5 + 10.5).
  EXPECT_RGB(at(35, 50), (RGB{204, 0, 0}));
  EXPECT_RGB(at(45, 50), kBlack);
}

TEST_F(MovieDrawGL, FrustumOfACamera) {
  MovieRecord m;
  View v = viewAt(50.5, 50.5);
  v.viewDir[2] = 0;
  v.viewDir[0] = 1;  // looking along +x: the frustum opens to the right
  v.fovy = 90;
  m.recordKeyFrame(v, 0);
  m.drawFrame(0, 0.0, 30.0f, 0, 8, 0);
  grab();
  save("frustum");
  // The image plane stands at x = 80.5, from y = 20 to 80 (tan 45 = 1).
  EXPECT_RGB(at(80, 60), (RGB{178, 178, 178}));
  EXPECT_RGB(at(20, 50), kBlack);
}

TEST_F(MovieDrawGL, UnitCube) {
  glTranslated(50.5, 50.5, 0);
  glScaled(40, 40, 40);
  MovieRecord::drawUnitCube();
  grab();
  glColor3d(1, 1, 1);
  // Seen along z the cube is a square of side 40 around the middle.
  EXPECT_FALSE(same(at(70, 50), kBlack));
  EXPECT_FALSE(same(at(50, 30), kBlack));
  EXPECT_RGB(at(50, 50), kBlack);
}

}  // namespace
