// Axes, cubes, grids, the wire sphere and the text primitives, read back as pixels.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>
#include <string>

#include "coords/constants.h"
#include "tests/support/xvfb.h"
#include "tests/viewer/recorder.h"
#include "viewer/tarnwick.h"

namespace {

class ViewerDraw : public testing::Test {
 protected:
  void SetUp() override {
    if (!frameworkWindow()) GTEST_SKIP() << "no X server";
    glDrawBuffer(GL_BACK);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
  }
};

struct Picture {
  std::vector<unsigned char> rgb;
  Picture() { rgb = testsupport::readPixelsRGB(0, 0, 256, 256); }
  const unsigned char* at(int x, int y) const { return &rgb[((size_t)y * 256 + x) * 3]; }
  // Largest channel value in a small square around (x, y), window coordinates.
  int brightest(int x, int y, int r, int channel) const {
    int best = 0;
    for (int j = y - r; j <= y + r; ++j)
      for (int i = x - r; i <= x + r; ++i)
        if (i >= 0 && j >= 0 && i < 256 && j < 256) best = std::max(best, (int)at(i, j)[channel]);
    return best;
  }
  int litCount() const {
    int n = 0;
    for (size_t i = 0; i < rgb.size(); i += 3)
      if (rgb[i] + rgb[i + 1] + rgb[i + 2] > 30) ++n;
    return n;
  }
};

// Window position of a point in object coordinates under the current matrices.
bool project(double x, double y, double z, double* wx, double* wy) {
  double mv[16], pr[16], wz;
  int vp[4];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  glGetIntegerv(GL_VIEWPORT, vp);
  return gluProject(x, y, z, mv, pr, vp, wx, wy, &wz) == GL_TRUE;
}

// Point on the grid sphere at longitude and latitude, in the galactic frame.
void skyPoint(double lon, double lat, double* p) {
  double l = lon * kRadiansPerDegree, b = lat * kRadiansPerDegree;
  p[0] = 1000.0 * cos(l) * cos(b);
  p[1] = 1000.0 * sin(l) * cos(b);
  p[2] = 1000.0 * sin(b);
}

void setFovy(double fovy) {
  View view = initView();
  view.fovy = fovy;
  resetView(&view);
}

}  // namespace

// ---- Pure parts ---------------------------------------------------------------------------

TEST(ViewerGridAlphas, AtTwentyFiveOnlyTheMediumSphereAtFullAlpha) {
  GridSphereAlphas g = gridSphereAlphas(25.0, 0.5f);
  EXPECT_FALSE(g.drawn[0]);
  EXPECT_TRUE(g.drawn[1]);
  EXPECT_FALSE(g.drawn[2]);
  EXPECT_FLOAT_EQ(g.alpha[1], 0.5f);
}

TEST(ViewerGridAlphas, AtFortyTheCoarseSphereAtFullAlphaAndNoMedium) {
  GridSphereAlphas g = gridSphereAlphas(40.0, 0.5f);
  EXPECT_TRUE(g.drawn[0]);
  EXPECT_FALSE(g.drawn[1]);
  EXPECT_FALSE(g.drawn[2]);
  EXPECT_FLOAT_EQ(g.alpha[0], 0.5f);
}

TEST(ViewerGridAlphas, BelowTenTheMediumSphereIsDrawnWithANegativeAlpha) {
  GridSphereAlphas g = gridSphereAlphas(5.0, 0.5f);
  EXPECT_FALSE(g.drawn[0]);
  EXPECT_TRUE(g.drawn[1]);
  EXPECT_TRUE(g.drawn[2]);
  EXPECT_FLOAT_EQ(g.alpha[1], 0.5f * (5.0f - 10.0f) / 15.0f);
  EXPECT_LT(g.alpha[1], 0.0f);
  EXPECT_FLOAT_EQ(g.alpha[2], 0.5f);
}

TEST(ViewerGridAlphas, FadingBetweenTheJoints) {
  GridSphereAlphas g = gridSphereAlphas(30.0, 0.5f);
  EXPECT_TRUE(g.drawn[0]);
  EXPECT_TRUE(g.drawn[1]);
  EXPECT_FALSE(g.drawn[2]);
  EXPECT_FLOAT_EQ(g.alpha[0], 0.5f * 5.0f / 15.0f);
  EXPECT_FLOAT_EQ(g.alpha[1], 0.5f * 10.0f / 15.0f);
  g = gridSphereAlphas(15.0, 0.5f);
  EXPECT_FLOAT_EQ(g.alpha[1], 0.5f * 5.0f / 15.0f);
  EXPECT_FLOAT_EQ(g.alpha[2], 0.5f * 10.0f / 15.0f);
  g = gridSphereAlphas(60.0, 0.5f);
  EXPECT_TRUE(g.drawn[0]);
  EXPECT_FALSE(g.drawn[1]);
  EXPECT_FLOAT_EQ(g.alpha[0], 0.5f);
}

TEST(ViewerPowerCubes, ViewerAtTheOriginShowsFourCubes) {
  int powers[7];
  float alphas[7];
  int n = powerCubeChoice(0.0, 0.0, powers, alphas);
  ASSERT_EQ(n, 4);
  const int want[4] = {-2, -1, 0, 1};
  for (int i = 0; i < 4; ++i) EXPECT_EQ(powers[i], want[i]);
  EXPECT_FLOAT_EQ(alphas[0], 0.5f);
  EXPECT_FLOAT_EQ(alphas[1], std::sqrt(0.75f));
  EXPECT_FLOAT_EQ(alphas[2], std::sqrt(0.75f));
  EXPECT_FLOAT_EQ(alphas[3], 0.5f);
}

TEST(ViewerPowerCubes, ParsecCubesCountInParsecs) {
  int powers[7];
  float alphas[7];
  int n = powerCubeChoice(kParsecExponent, kParsecExponent, powers, alphas);
  ASSERT_EQ(n, 4);
  EXPECT_EQ(powers[0], -2);
  EXPECT_EQ(powers[3], 1);
  n = powerCubeChoice(kParsecExponent + 4, kParsecExponent, powers, alphas);  // 10^4 parsecs
  ASSERT_EQ(n, 4);
  EXPECT_EQ(powers[0], 2);
  EXPECT_EQ(powers[3], 5);
}

TEST(ViewerPowerCubes, BetweenPowersTheNearestIsBrightest) {
  int powers[7];
  float alphas[7];
  int n = powerCubeChoice(3.5, 0.0, powers, alphas);  // s - 0.5 = 3: cube 3 alone at full
  ASSERT_EQ(n, 3);
  EXPECT_EQ(powers[0], 2);
  EXPECT_EQ(powers[1], 3);
  EXPECT_EQ(powers[2], 4);
  EXPECT_FLOAT_EQ(alphas[1], 1.0f);
  EXPECT_FLOAT_EQ(alphas[0], std::sqrt(0.5f));
}

TEST(ViewerGridLabels, CoarseCrossingsLeaveOutTheEquatorAndThePoles) {
  auto labels = sphereGridCrossingLabels(2, 60.0);
  EXPECT_EQ(labels.size(), 23u * 10u);
  for (const auto& l : labels) {
    EXPECT_NE(l.lat, 0.0);
    EXPECT_NE(std::fabs(l.lat), 90.0);
    EXPECT_EQ(l.firstColour, 1);
  }
  EXPECT_EQ(labels.front().text, "(15,-75)");
  auto hours = sphereGridCrossingLabels(1, 60.0);
  EXPECT_EQ(hours.front().text, "(1h,-75)");
  EXPECT_EQ(hours.back().text, "(23h,75)");
}

TEST(ViewerGridLabels, MediumCrossingsSkipWhatIsLabelledAlready) {
  auto labels = sphereGridCrossingLabels(2, 30.0);
  std::set<std::string> texts;
  for (const auto& l : labels) {
    texts.insert(l.text);
    EXPECT_FALSE(l.lat == 0.0 && std::fmod(l.lon, 15.0) == 0.0) << l.text;
    EXPECT_FALSE(l.lon == 0.0 && std::fmod(l.lat, 15.0) == 0.0) << l.text;
    bool both15 = std::fmod(l.lon, 15.0) == 0.0 && std::fmod(l.lat, 15.0) == 0.0;
    EXPECT_EQ(l.firstColour, both15 ? 1 : 0) << l.text;
  }
  EXPECT_TRUE(texts.count("(5,0)"));
  EXPECT_TRUE(texts.count("(0,5)"));
  EXPECT_FALSE(texts.count("(15,0)"));
  EXPECT_FALSE(texts.count("(0,30)"));
  auto hours = sphereGridCrossingLabels(1, 30.0);
  std::set<std::string> h;
  for (const auto& l : hours) h.insert(l.text);
  EXPECT_TRUE(h.count("(1h,5)"));
  EXPECT_TRUE(h.count("(0.33h,5)"));
}

TEST(ViewerGridLabels, FineCrossingsUseHalfSteps) {
  auto labels = sphereGridCrossingLabels(2, 20.0);
  std::set<std::string> texts;
  for (const auto& l : labels) texts.insert(l.text);
  EXPECT_TRUE(texts.count("(2.5,-87.5)"));
  EXPECT_TRUE(texts.count("(5,-85)"));
  EXPECT_TRUE(texts.count("(357.5,87.5)"));
  EXPECT_FALSE(texts.count("(0,0)"));
  EXPECT_FALSE(texts.count("(0,45)"));
  EXPECT_TRUE(texts.count("(2.5,0)"));
  auto hours = sphereGridCrossingLabels(1, 20.0);
  std::set<std::string> h;
  for (const auto& l : hours) {
    h.insert(l.text);
    EXPECT_NE(std::fabs(l.lat), 90.0);
  }
  EXPECT_TRUE(h.count("(1h,2.5)"));
  EXPECT_TRUE(h.count("(0.17h,5)"));
}

// ---- Pictures -----------------------------------------------------------------------------

TEST_F(ViewerDraw, AxesAreDrawnInTheirColours) {
  // Eye at (-3, -2, 1.5), looking at the origin.
  View view = initView();
  double eye[3] = {-3, -2, 1.5};
  double len = std::sqrt(9 + 4 + 2.25);
  view.viewPos = PHCoord{eye[0], eye[1], eye[2], 0};
  for (int k = 0; k < 3; ++k) view.viewDir[k] = -eye[k] / len;
  resetView(&view);
  drawAxes(1, "G", 1.0f);
  Picture pic;
  const double mid[3][3] = {{0.5, 0, 0}, {0, 0.5, 0}, {0, 0, 0.5}};
  for (int axis = 0; axis < 3; ++axis) {
    double wx, wy;
    ASSERT_TRUE(project(mid[axis][0], mid[axis][1], mid[axis][2], &wx, &wy));
    int x = (int)lround(wx), y = (int)lround(wy);
    EXPECT_GT(pic.brightest(x, y, 1, axis), 100) << "axis " << axis;
    // x is red and y green; z is (0.3, 0.3, 1): blue ahead of the others.
    for (int other = 0; other < 3; ++other) {
      if (other == axis) continue;
      if (axis == 2)
        EXPECT_LT(pic.brightest(x, y, 1, other), pic.brightest(x, y, 1, axis)) << other;
      else
        EXPECT_LT(pic.brightest(x, y, 1, other), 80) << axis << other;
    }
  }
  // Off the axes the picture stays black.
  double wx, wy;
  ASSERT_TRUE(project(0.5, 0.5, -0.5, &wx, &wy));
  EXPECT_EQ(pic.brightest((int)lround(wx), (int)lround(wy), 1, 0), 0);
}

TEST_F(ViewerDraw, GalacticGridAtSixtyDegreesHasFifteenDegreeLines) {
  setFovy(60.0);
  drawSphereGrid(2, 0);
  Picture pic;
  double p[3], wx, wy;
  // On the meridian of longitude 15, between labels, there is a grid line.
  skyPoint(15, 7.5, p);
  ASSERT_TRUE(project(p[0], p[1], p[2], &wx, &wy));
  EXPECT_GT(pic.brightest((int)lround(wx), (int)lround(wy), 2, 1), 30);
  // The 5-degree lines are out at this zoom.
  skyPoint(5, 7.5, p);
  ASSERT_TRUE(project(p[0], p[1], p[2], &wx, &wy));
  EXPECT_EQ(pic.brightest((int)lround(wx), (int)lround(wy), 2, 1), 0);
  // The parallel at latitude 15.
  skyPoint(-7.5, 15, p);
  ASSERT_TRUE(project(p[0], p[1], p[2], &wx, &wy));
  EXPECT_GT(pic.brightest((int)lround(wx), (int)lround(wy), 2, 1), 30);
}

TEST_F(ViewerDraw, GalacticGridAtTwentyFiveDegreesHasFiveDegreeLines) {
  setFovy(25.0);
  drawSphereGrid(2, 0);
  Picture pic;
  double p[3], wx, wy;
  skyPoint(5, 7.5, p);
  ASSERT_TRUE(project(p[0], p[1], p[2], &wx, &wy));
  EXPECT_GT(pic.brightest((int)lround(wx), (int)lround(wy), 2, 1), 30);
  skyPoint(2.5, 7.5, p);  // the 2.5-degree lines are out at exactly 25
  ASSERT_TRUE(project(p[0], p[1], p[2], &wx, &wy));
  EXPECT_EQ(pic.brightest((int)lround(wx), (int)lround(wy), 2, 1), 0);
  EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
  GLboolean depthWrites;
  glGetBooleanv(GL_DEPTH_WRITEMASK, &depthWrites);
  EXPECT_TRUE(depthWrites);
}

TEST_F(ViewerDraw, GridsIgnoreTheTranslation) {
  setFovy(60.0);
  glMatrixMode(GL_MODELVIEW);
  glTranslated(30, -20, 10);
  drawSphereGrid(2, 0);
  Picture moved;
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  setFovy(60.0);
  drawSphereGrid(2, 0);
  Picture plain;
  EXPECT_EQ(moved.rgb, plain.rgb);
}

TEST_F(ViewerDraw, EquatorialAndSupergalacticGridsDifferFromTheGalacticOne) {
  setFovy(60.0);
  drawSphereGrid(2, 0);
  Picture gal;
  for (int type : {1, 3}) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    drawSphereGrid(type, 0);
    Picture other;
    EXPECT_NE(other.rgb, gal.rgb) << type;
    EXPECT_GT(other.litCount(), 500) << type;
  }
}

TEST_F(ViewerDraw, GridDetailAddsCrossingLabels) {
  setFovy(60.0);
  drawSphereGrid(2, 0);
  Picture plain;
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  drawSphereGrid(2, 1);
  Picture detailed;
  EXPECT_GT(detailed.litCount(), plain.litCount());
}

TEST_F(ViewerDraw, FrameDrawsTheGridsBeforeAndTheAxesBehindTheScene) {
  sceneDraws = 1;  // a white square straight ahead at distance 2
  showGalGrid = 1;
  showAxesFlag = 1;
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  drawFrame(0, 0);
  Picture pic;
  // The square covers the grid (drawn before it, without depth writes).
  EXPECT_GT(pic.at(128, 150)[0], 200);
  EXPECT_GT(pic.at(128, 150)[2], 200);
  // Around it the grid shows: the parallel at latitude 15 at longitude -7.5 lies outside.
  double p[3], wx, wy;
  skyPoint(-25, 15, p);
  ASSERT_TRUE(project(p[0], p[1], p[2], &wx, &wy));
  EXPECT_GT(pic.brightest((int)lround(wx), (int)lround(wy), 2, 1), 30);
  showGalGrid = 0;
  showAxesFlag = 0;
}

TEST_F(ViewerDraw, UnitCubeAndPowerCubes) {
  View view = initView();
  view.viewPos = PHCoord{-3, 0, 0, 0};
  resetView(&view);
  glPushMatrix();
  glScaled(0.2, 0.2, 0.2);
  drawUnitCube(0, 1.0f, "m");
  // The front face's edge at z = 0.5 and y from -0.5 to 0.5, at x = -0.5: yellow.
  double wx, wy;
  ASSERT_TRUE(project(-0.5, 0.0, 0.5, &wx, &wy));
  glPopMatrix();
  Picture cube;
  int x = (int)lround(wx), y = (int)lround(wy);
  EXPECT_GT(cube.brightest(x, y, 1, 0), 100);
  EXPECT_GT(cube.brightest(x, y, 1, 1), 100);
  EXPECT_LT(cube.brightest(x, y, 1, 2), 60);

  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  drawPowerCubes();
  Picture powers;
  EXPECT_GT(powers.litCount(), 100);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  drawParsecCubes();  // the cubes follow the viewer's scale in parsecs, labelled so
  Picture parsecs;
  EXPECT_GT(parsecs.litCount(), 100);
  EXPECT_NE(parsecs.rgb, powers.rgb);
}

TEST_F(ViewerDraw, UnitCubeLabelIsGreyAndAsLongAsItsText) {
  // The edges are yellow, with no blue; the label is grey. "1 m" for the power 0, and
  // "10^-12m" otherwise, more than twice as long.
  View view = initView();
  view.viewPos = PHCoord{-3, 0, 0, 0};
  resetView(&view);
  int labelPixels[2];
  int i = 0;
  for (int power : {0, -12}) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glPushMatrix();
    glScaled(0.5, 0.5, 0.5);
    drawUnitCube(power, 1.0f, "m");
    glPopMatrix();
    Picture pic;
    int n = 0;
    for (size_t k = 0; k < pic.rgb.size(); k += 3)
      if (pic.rgb[k + 2] > 40) ++n;
    labelPixels[i++] = n;
  }
  EXPECT_GT(labelPixels[0], 20);
  EXPECT_GT(labelPixels[1], 2 * labelPixels[0]);
}

TEST_F(ViewerDraw, RectangleFillsItsPartFromTheTop) {
  const float fill[4] = {1, 0, 0, 1}, line[4] = {0, 1, 0, 1};
  draw2DRectAt(0.25f, 0.0f, 0.5f, 0.25f, fill, 1, line);
  Picture pic;
  EXPECT_EQ(pic.at(128, 256 - 32)[0], 255);  // inside, near the top
  EXPECT_EQ(pic.at(128, 256 - 32)[1], 0);
  EXPECT_EQ(pic.at(128, 100)[0], 0);                  // below the rectangle
  EXPECT_EQ(pic.at(10, 250)[0], 0);                   // left of it
  EXPECT_GT(pic.brightest(64, 256 - 32, 1, 1), 100);  // outline on the left edge
  int mode[2];
  glGetIntegerv(GL_POLYGON_MODE, mode);
  EXPECT_EQ(mode[0], GL_FILL);
  EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
}

TEST_F(ViewerDraw, TwoDimensionalTextCountsFromTheTop) {
  glColor3f(1, 1, 1);
  draw2DTextAt("HI", 0.1f, 0.2f, 0.001f, 1, 0);
  Picture pic;
  int top = 0, bottom = 0;
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x)
      if (pic.at(x, y)[0] > 50) {
        if (y > 128)
          ++top;
        else
          ++bottom;
      }
  EXPECT_GT(top, 10);
  EXPECT_EQ(bottom, 0);
  GLint func;
  glGetIntegerv(GL_DEPTH_FUNC, &func);
  EXPECT_EQ(func, GL_LESS);
}

namespace {

// Leftmost and rightmost lit column of a picture; -1 and -1 if nothing is lit.
void litColumns(const Picture& pic, int* left, int* right) {
  *left = *right = -1;
  for (int x = 0; x < 256; ++x)
    for (int y = 0; y < 256; ++y)
      if (pic.at(x, y)[0] > 50) {
        if (*left < 0) *left = x;
        *right = x;
        break;
      }
}

}  // namespace

TEST_F(ViewerDraw, TwoDimensionalTextAlignmentAndPadding) {
  // At x = 0.5, the middle column 128: alignment 0 ends there, 1 starts there, 2 is centred.
  int left[3], right[3];
  for (int alignment = 0; alignment < 3; ++alignment) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glColor3f(1, 1, 1);
    draw2DTextAt("HIH", 0.5f, 0.5f, 0.001f, alignment, 0);
    litColumns(Picture(), &left[alignment], &right[alignment]);
    ASSERT_GE(left[alignment], 0) << alignment;
  }
  EXPECT_LE(right[0], 129);
  EXPECT_LT(left[0], 110);
  EXPECT_GE(left[1], 127);
  EXPECT_GT(right[1], 146);
  EXPECT_NEAR(128 - left[2], right[2] - 128, 4);
  EXPECT_NEAR(right[0] - left[0], right[1] - left[1], 2);
  // Two pad characters move the start on by two widths of "-".
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glColor3f(1, 1, 1);
  draw2DTextAt("HIH", 0.5f, 0.5f, 0.001f, 1, 2);
  int padLeft, padRight;
  litColumns(Picture(), &padLeft, &padRight);
  const double shift = 2 * glutStrokeWidth(GLUT_STROKE_ROMAN, '-') * 0.001 * 256;
  EXPECT_NEAR(padLeft - left[1], shift, 1.5);
  EXPECT_NEAR(padRight - right[1], shift, 1.5);
}

TEST_F(ViewerDraw, TwoDimensionalTextBlankIsItsOwnWidth) {
  // A blank is a step of scale times 200000 units in the scaled frame: here 0.2 of the
  // width, about 51 pixels, where the font's own blank would be about 27.
  glColor3f(1, 1, 1);
  draw2DTextAt("I", 0.3f, 0.5f, 0.001f, 1, 0);
  int l1, r1;
  litColumns(Picture(), &l1, &r1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  draw2DTextAt("I I", 0.3f, 0.5f, 0.001f, 1, 0);
  int l2, r2;
  litColumns(Picture(), &l2, &r2);
  ASSERT_GE(l1, 0);
  EXPECT_EQ(l2, l1);
  const double step = (glutStrokeWidth(GLUT_STROKE_ROMAN, 'I') * 0.001 + 0.001 * 200000.0 * 0.001) * 256;
  EXPECT_NEAR(r2 - r1, step, 1.5);
}

TEST_F(ViewerDraw, BillboardTextAlignmentAndPadding) {
  // Eye units at distance 2 with a field of view of 60: 128 / (2 tan 30) pixels each.
  const double pixels = 128.0 / (2.0 * std::tan(30.0 * kRadiansPerDegree));
  int left[3], right[3];
  for (int alignment = 0; alignment < 3; ++alignment) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    glTranslated(0, 0, -2);
    glColor3f(1, 1, 1);
    drawBillboardText("W W", 0.002f, alignment, 0);
    litColumns(Picture(), &left[alignment], &right[alignment]);
    ASSERT_GE(left[alignment], 0) << alignment;
  }
  // The width counts a blank as a "-": three characters of the monospaced font.
  const double width = 3 * glutStrokeWidth(GLUT_STROKE_MONO_ROMAN, '-') * 0.002 * pixels;
  EXPECT_LE(right[0], 129);
  EXPECT_NEAR(left[0], 128 - width, 12);
  EXPECT_GE(left[1], 127);
  EXPECT_NEAR(right[1], 128 + width, 12);
  EXPECT_NEAR(128 - left[2], right[2] - 128, 4);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glLoadIdentity();
  glTranslated(0, 0, -2);
  drawBillboardText("W W", 0.002f, 1, 2);
  int padLeft, padRight;
  litColumns(Picture(), &padLeft, &padRight);
  const double shift = 2 * glutStrokeWidth(GLUT_STROKE_MONO_ROMAN, '-') * 0.002 * pixels;
  EXPECT_NEAR(padLeft - left[1], shift, 1.5);
  GLint func;
  glGetIntegerv(GL_DEPTH_FUNC, &func);
  EXPECT_EQ(func, GL_LESS);
}

TEST_F(ViewerDraw, GridsAreDrawnInTheirColours) {
  // Lines and labels of each grid share the order of their channels: the galactic grid is
  // cyan, the equatorial one red, the supergalactic one blue.
  setFovy(60.0);
  for (int type : {1, 2, 3}) {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    drawSphereGrid(type, 1);
    Picture pic;
    double sum[3] = {0, 0, 0};
    for (size_t i = 0; i < pic.rgb.size(); i += 3)
      for (int c = 0; c < 3; ++c) sum[c] += pic.rgb[i + c];
    ASSERT_GT(sum[0] + sum[1] + sum[2], 0) << type;
    if (type == 2) {
      EXPECT_GT(sum[1], 1.3 * sum[0]);
      EXPECT_NEAR(sum[1], sum[2], 0.05 * sum[1]);
    } else if (type == 1) {
      EXPECT_GT(sum[0], 1.2 * sum[1]);
      EXPECT_NEAR(sum[1], sum[2], 0.05 * sum[1]);
    } else {
      EXPECT_GT(sum[2], 1.15 * sum[0]);
      EXPECT_NEAR(sum[0], sum[1], 0.05 * sum[0]);
    }
  }
}

TEST_F(ViewerDraw, BillboardTextFacesTheViewer) {
  // Billboard text looks the same however the modelview is turned; 3D text doesn't.
  std::vector<unsigned char> pictures[2][2];
  for (int turned = 0; turned < 2; ++turned)
    for (int kind = 0; kind < 2; ++kind) {
      glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
      glMatrixMode(GL_MODELVIEW);
      glLoadIdentity();
      glTranslated(0, 0, -2);
      glRotated(turned ? 70 : 0, 0, 1, 0);
      glColor3f(1, 1, 1);
      if (kind == 0)
        drawBillboardText("WWW", 0.002f, 2, 0);
      else
        draw3DText("WWW", 0.002f, 2, 0);
      pictures[turned][kind] = Picture().rgb;
    }
  EXPECT_EQ(pictures[0][0], pictures[1][0]);
  EXPECT_NE(pictures[0][1], pictures[1][1]);
  Picture check;
  EXPECT_GT(check.litCount(), 0);
}

TEST_F(ViewerDraw, WireSphereLimitsItsCounts) {
  setFovy(60.0);
  testing::internal::CaptureStderr();
  myGlutWireSphere(1000.0f, 600, 12);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "warning (myGlutWireSphere): too many slices.\n");
  testing::internal::CaptureStderr();
  myGlutWireSphere(1000.0f, 24, 700);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "warning (myGlutWireSphere): too many stacks.\n");
  testing::internal::CaptureStderr();
  myGlutWireSphere(1000.0f, 24, 12);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  // 600 slices draw as 512.
  glColor3f(1, 1, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  testing::internal::CaptureStderr();
  myGlutWireSphere(1000.0f, 600, 20);
  testing::internal::GetCapturedStderr();
  Picture limited;
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  myGlutWireSphere(1000.0f, 512, 20);
  Picture full;
  EXPECT_EQ(limited.rgb, full.rgb);
  EXPECT_GT(full.litCount(), 1000);
}

TEST_F(ViewerDraw, WireSphereKeepsItsRadiusUntilTheStackCountChanges) {
  setFovy(60.0);
  glColor3f(1, 1, 1);
  myGlutWireSphere(1000.0f, 24, 13);
  Picture first;
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  myGlutWireSphere(1.0e6f, 24, 13);  // beyond the far plane if the radius counted
  Picture same;
  EXPECT_EQ(first.rgb, same.rgb);
  EXPECT_GT(first.litCount(), 100);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  myGlutWireSphere(1.0e6f, 24, 14);
  Picture gone;
  EXPECT_EQ(gone.litCount(), 0);
}
