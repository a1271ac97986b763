// The tool's star picking on the real catalogue: by name and numbers, by constellation, by a click
// in a frame, and the anchor on empty sky.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <string>

#include "stars/star.h"
#include "tests/stars/star_fixtures.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tool/velmora.h"
#include "tool/vmpick.h"
#include "viewer/tarnwick.h"

namespace {

constexpr int kSide = 256;
constexpr double kLogScale = 15.0;

class PickGL : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!testsupport::skyDataBuilt()) return;
    starList = new StarList;
    startest::readOne(*starList, testsupport::starSetPath(6));
    // The figures name the stars' constellations.
    std::string figures = testsupport::sourceDir() + "/data/stardata/constellation.txt";
    testsupport::stdoutOf([&] { starList->loadConstellations(figures.c_str()); });
  }
  static void TearDownTestSuite() {
    delete starList;
    starList = nullptr;
  }
  void SetUp() override {
    VELMORA_REQUIRE_SKY_DATA();
    ASSERT_NE(testsupport::openGLWindow(kSide, kSide), 0);
    glViewport(0, 0, kSide, kSide);
    picked = 0;
    showAnchor = 0;
    showRaDec = 0;
    printDecPlace = 2;
    currLogScale = kLogScale;
    anchor = NODE_StarObject{};
    anchor.HD = kAnchorHD;
    anchor.pos = PHCoord{1, 0, 0, kLogScale};
  }
  // Looks from the observer towards dir with a field of view of 20 degrees.
  static void lookAt(const double dir[3]) {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(20, 1, 0.01, 1e4);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(0, 0, 0, dir[0], dir[1], dir[2], 0, 0, 1);
  }
};

TEST_F(PickGL, SiriusByNameByHicByHdAndByDigitsFollowedByLetters) {
  for (const char* text : {"Sirius", "sIRIUS", "32349", "48915", "48915abc"}) {
    picked = 0;
    EXPECT_EQ(pickStarByName(text), 1) << text;
    EXPECT_EQ(picked, 1);
    EXPECT_EQ(pickedStar.HD, 48915) << text;
    EXPECT_STREQ(pickStarNameHDStr, "48915");
    EXPECT_STREQ(pickStarNameHICStr, "32349");
    EXPECT_STREQ(pickStarNameCommonStr, "Sirius");
  }
  // Sirius is 2.64 parsecs away.
  EXPECT_NEAR(atof(pickStarDistParsecStr), 2.64, 0.02) << pickStarDistParsecStr;
}

// A failed search leaves the earlier pick; "0" matches by name only; "Anchor" is a name.
TEST_F(PickGL, AFailedSearchKeepsTheEarlierPick) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  for (const char* text : {"0", "Anchor", "no such star", "-48915"}) {
    EXPECT_EQ(pickStarByName(text), 0) << text;
    EXPECT_EQ(picked, 1);
    EXPECT_EQ(pickedStar.HD, 48915);
  }
}

TEST_F(PickGL, TheWordAnchorShowsTheAnchor) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  EXPECT_EQ(pickStarByName("anchor"), 0);
  EXPECT_EQ(picked, 0);
  EXPECT_EQ(showAnchor, 1);
  EXPECT_EQ(pickedStar.HD, kAnchorHD);
  EXPECT_STREQ(pickStarNameCommonStr, "anchor");
  EXPECT_STREQ(pickStarNameHDStr, "");
  EXPECT_STREQ(pickStarConstellationStr, "");
  EXPECT_STREQ(anchorText, " (0.00,0.00)");
}

TEST_F(PickGL, ByConstellation) {
  EXPECT_EQ(pickStarByConstellation(""), 0);
  EXPECT_EQ(pickStarByConstellation(nullptr), 0);
  EXPECT_EQ(picked, 0);
  ASSERT_EQ(pickStarByConstellation("Orion"), 1);
  EXPECT_EQ(picked, 1);
  EXPECT_NE(std::string(pickedStar.constellName).find("Orion"), std::string::npos) << pickedStar.constellName;
}

// A click on the pixel of Sirius in a frame picks HD 48915.
TEST_F(PickGL, AClickOnSiriusPicksIt) {
  NODE_StarObject sirius;
  ASSERT_EQ(starList->getStarByHD(&sirius, 48915), 1);
  double dir[3] = {sirius.pos.x + 0.03, sirius.pos.y - 0.02, sirius.pos.z + 0.01};
  lookAt(dir);
  double m[16], p[16], wx, wy, wz;
  int vp[4];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  glGetDoublev(GL_PROJECTION_MATRIX, p);
  glGetIntegerv(GL_VIEWPORT, vp);
  ASSERT_TRUE(gluProject(sirius.pos.x, sirius.pos.y, sirius.pos.z, m, p, vp, &wx, &wy, &wz));
  pickStarByPos((int)wx, kSide - (int)wy);
  EXPECT_EQ(picked, 1);
  EXPECT_EQ(pickedStar.HD, 48915);
  EXPECT_STREQ(pickStarNameCommonStr, "Sirius");
}

// A click on empty sky clears the pick and moves the anchor, shown or not, under the pixel.
TEST_F(PickGL, AClickOnEmptySkyMovesTheAnchor) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  // Towards a dark patch far from bright stars: the south galactic pole region, narrow field.
  double dir[3] = {0.001, 0.002, -1};
  lookAt(dir);
  showAnchor = 0;
  pickStarByPos(kSide / 2, kSide / 2 - 1);
  EXPECT_EQ(picked, 0);
  EXPECT_EQ(pickedStar.HD, kAnchorHD);
  double len = std::sqrt(dir[0] * dir[0] + dir[1] * dir[1] + dir[2] * dir[2]);
  EXPECT_NEAR(anchor.pos.x, dir[0] / len, 0.01);
  EXPECT_NEAR(anchor.pos.y, dir[1] / len, 0.01);
  EXPECT_NEAR(anchor.pos.z, dir[2] / len, 0.01);
  EXPECT_DOUBLE_EQ(anchor.pos.s, kLogScale + 3.5);
  EXPECT_EQ(std::string(anchorText).substr(0, 2), " (");
  EXPECT_NE(std::string(anchorText).find(",-89."), std::string::npos) << anchorText;
}

TEST_F(PickGL, AnglesInGalacticAndEquatorialTerms) {
  char l[64], b[64];
  double v[3] = {0, 1, 0};
  computeAnglesStr(l, b, v);
  EXPECT_STREQ(l, "90.00");
  EXPECT_STREQ(b, "0.00");
  showRaDec = 1;
  printDecPlace = 1;
  double centre[3] = {1, 0, 0};
  computeAnglesStr(l, b, centre);
  EXPECT_STREQ(l, "17.8h");
  EXPECT_STREQ(b, "-28.9");
  showRaDec = 0;
}

}  // namespace
