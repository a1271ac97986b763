// The tool's star picking in a window on a private X server, on the scene as it starts with the
// M51 sample pair and the real catalogue: by name and numbers, by constellation, by a click in a
// drawn frame, and the anchor moved by a click on empty sky.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "coords/math3D.h"
#include "fileio/common.h"
#include "stars/star.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tests/tool/tool_scene.h"
#include "tool/velmora.h"
#include "tool/vmpick.h"
#include "viewer/tarnwick.h"

namespace {

constexpr int kSide = 256;
constexpr int kSiriusHD = 48915;
constexpr double kFovy = 20.0;
constexpr double kAnchorDecades = 3.5;  // the anchor stands this far beyond the view's scale

using testsupport::Streams;
using testsupport::streamsOf;

class PickGL : public testing::Test {
 protected:
  static void TearDownTestSuite() {
    if (started_) deleteScene();
    started_ = false;
    unsetenv("TOPDIR");
  }
  void SetUp() override {
    VELMORA_REQUIRE_SKY_DATA();
    int window = testsupport::openGLWindow(kSide, kSide);
    ASSERT_NE(window, 0) << "Xvfb could not be started";
    mainWindow = window;
    if (!started_) {
      Streams io;
      ASSERT_EQ(toolscene::start(kSide, toolscene::m51Pair(), &io), 0) << io.err;
      started_ = true;
    }
    ASSERT_NE(starList, nullptr);
    glutReshapeWindow(kSide, kSide);
    glViewport(0, 0, kSide, kSide);
    picked = 0;
    showAnchor = 0;
    showRaDec = 0;
    printDecPlace = 2;
  }

  // Looks from the observer towards dir, with north galactic up, as the framework's view does.
  static void lookAt(const double dir[3]) {
    View view = initView();
    view.viewPos = PHCoord{0, 0, 0, currLogScale};
    copy3D(view.viewDir, dir);
    unify3D(view.viewDir);
    view.fovy = kFovy;
    view.aspect = 1.0;
    resetView(&view);
  }
  // Draws one frame as display does; leaves the frame's matrices current.
  static std::vector<unsigned char> drawOneFrame() {
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    drawFrame(0, 0);
    glFinish();
    return testsupport::readPixelsRGB(0, 0, kSide, kSide);
  }
  // The pixel (bottom row first) where the direction dir lands with the frame's matrices and the
  // eye at the origin.
  static void project(const double dir[3], double* wx, double* wy) {
    double m[16], p[16], wz;
    int vp[4];
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    m[12] = m[13] = m[14] = 0;
    glGetDoublev(GL_PROJECTION_MATRIX, p);
    glGetIntegerv(GL_VIEWPORT, vp);
    ASSERT_TRUE(gluProject(dir[0], dir[1], dir[2], m, p, vp, wx, wy, &wz));
  }
  // The frame's pick pass at window pixel x, y (y from the top), as a right click asks for it.
  static void pickAt(int x, int y) {
    pickAtX = x;
    pickAtY = y;
    drawFrame(1, 0);
  }

  static bool started_;
};

bool PickGL::started_ = false;

TEST_F(PickGL, SiriusByNameHicHdAndConstellationOnTheStartedScene) {
  for (const char* text : {"Sirius", "32349", "48915"}) {
    picked = 0;
    EXPECT_EQ(pickStarByName(text), 1) << text;
    EXPECT_EQ(picked, 1) << text;
    EXPECT_EQ(pickedStar.HD, kSiriusHD) << text;
    EXPECT_STREQ(pickStarNameHICStr, "32349") << text;
    EXPECT_STREQ(pickStarNameCommonStr, "Sirius") << text;
  }
  // The parameter file moves the stars to the year 2000; Sirius is 2.64 parsecs away.
  EXPECT_STREQ(pickStarDistParsecStr, "2.64");
  picked = 0;
  EXPECT_EQ(pickStarByConstellation("Canis Major"), 1);
  EXPECT_EQ(picked, 1);
  EXPECT_STREQ(pickedStar.constellName, "Canis Major");
  EXPECT_STREQ(pickStarConstellationStr, "Canis Major");
}

// An unknown name is no error: nothing is printed and nothing changes.
TEST_F(PickGL, AnUnknownNameSaysNothingAndKeepsThePick) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  for (const char* text : {"Nosuchstar", "Anchor", "0"}) {
    Streams io = streamsOf([&] { EXPECT_EQ(pickStarByName(text), 0) << text; });
    EXPECT_EQ(io.out, "") << text;
    EXPECT_EQ(io.err, "") << text;
    EXPECT_EQ(picked, 1) << text;
    EXPECT_EQ(pickedStar.HD, kSiriusHD) << text;
    EXPECT_STREQ(pickStarNameCommonStr, "Sirius") << text;
  }
}

// A click on the pixel of Sirius in a drawn frame picks HD 48915.
TEST_F(PickGL, AClickOnSiriusInAFramePicksIt) {
  NODE_StarObject sirius;
  ASSERT_EQ(starList->getStarByHD(&sirius, kSiriusHD), 1);
  const double at[3] = {sirius.pos.x, sirius.pos.y, sirius.pos.z};
  // Sirius off the centre of the picture, so that the pick has to find it where it is.
  double dir[3] = {at[0] + 0.05, at[1] - 0.03, at[2] + 0.02};
  lookAt(dir);
  std::vector<unsigned char> rgb = drawOneFrame();
  double wx, wy;
  project(at, &wx, &wy);
  ASSERT_GT(wx, 0);
  ASSERT_LT(wx, kSide);
  ASSERT_GT(wy, 0);
  ASSERT_LT(wy, kSide);
  testsupport::keepShotForALook("vmpick_sirius", rgb.data(), kSide, kSide);
  // Sirius, the brightest star of the sky, is drawn there.
  int px = (int)wx, py = (int)wy;
  int brightest = 0;
  for (int dy = -1; dy <= 1; dy++)
    for (int dx = -1; dx <= 1; dx++)
      for (int k = 0; k < 3; k++) brightest = std::max(brightest, (int)rgb[3 * ((py + dy) * kSide + px + dx) + k]);
  EXPECT_GT(brightest, 128) << "no star drawn at " << px << "," << py;

  pickAt(px, kSide - py);
  EXPECT_EQ(picked, 1);
  EXPECT_EQ(pickedStar.HD, kSiriusHD);
  EXPECT_STREQ(pickStarNameHDStr, "48915");
  EXPECT_STREQ(pickStarNameCommonStr, "Sirius");
}

// A click on empty sky clears the pick and moves the anchor, hidden or not, to the direction under
// the pixel, far behind everything, with its angles as its text.
TEST_F(PickGL, AClickOnEmptySkyMovesTheAnchorThere) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  // Near the south galactic pole, where no star to magnitude 6 stands within the pick square.
  const double dir[3] = {0.001, 0.002, -1};
  lookAt(dir);
  drawOneFrame();
  const int x = kSide / 2 + 17, y = kSide / 2 - 11;
  double m[16], p[16], w[3];
  int vp[4];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  m[12] = m[13] = m[14] = 0;
  glGetDoublev(GL_PROJECTION_MATRIX, p);
  glGetIntegerv(GL_VIEWPORT, vp);
  ASSERT_TRUE(gluUnProject(x, kSide - y - 1, 0, m, p, vp, &w[0], &w[1], &w[2]));
  unify3D(w);

  showAnchor = 0;
  pickAt(x, y);
  EXPECT_EQ(picked, 0);
  EXPECT_EQ(showAnchor, 0) << "the anchor moves although it isn't drawn";
  EXPECT_NEAR(anchor.pos.x, w[0], 1e-9);
  EXPECT_NEAR(anchor.pos.y, w[1], 1e-9);
  EXPECT_NEAR(anchor.pos.z, w[2], 1e-9);
  EXPECT_DOUBLE_EQ(anchor.pos.s, currLogScale + kAnchorDecades);
  EXPECT_EQ(pickedStar.HD, kAnchorHD);
  EXPECT_EQ(pickedStar.pos.x, anchor.pos.x);
  EXPECT_STREQ(pickStarNameCommonStr, "anchor");
  EXPECT_STREQ(pickStarNameHDStr, "");
  EXPECT_STREQ(pickStarConstellationStr, "");

  double l, b;
  vecToLB(w, l, b);
  char lText[kAngleTextSize], bText[kAngleTextSize];
  snprintf(lText, sizeof lText, "%.2f", l);
  snprintf(bText, sizeof bText, "%.2f", b);
  EXPECT_STREQ(pickStarLStr, lText);
  EXPECT_STREQ(pickStarBStr, bText);
  EXPECT_EQ(std::string(anchorText), std::string(" (") + lText + "," + bText + ")");
  EXPECT_LT(b, -85.0) << anchorText;

  // The word "anchor" brings the anchor back as the reference, where the click left it.
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  EXPECT_EQ(pickStarByName("anchor"), 0);
  EXPECT_EQ(showAnchor, 1);
  EXPECT_NEAR(pickedStar.pos.x, w[0], 1e-9);
  EXPECT_EQ(std::string(anchorText), std::string(" (") + lText + "," + bText + ")");
}

}  // namespace
