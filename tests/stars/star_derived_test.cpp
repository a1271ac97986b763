// The parameter record and what is derived from the catalogue: map colours, velocities, current
// positions and the distance selection.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "stars/star.h"
#include "tests/stars/star_fixtures.h"
#include "tests/support/testutil.h"

using testsupport::TempDir;
using testsupport::writeFile;

using startest::readOne;

namespace {

}  // namespace

TEST(StarParameterRecord, Defaults) {
  StarList list;
  StarParameter p = list.getStarParameter();
  EXPECT_STREQ(p.constellationFile, "");
  EXPECT_EQ(p.constellationColorOn, 0);
  EXPECT_EQ(p.constellationWidthOn, 0);
  EXPECT_EQ(p.constellationLineStipple, 0);
  EXPECT_EQ(p.constellationBoundStipple, 0);
  EXPECT_FLOAT_EQ(p.labelScale, 1.0f);
  EXPECT_STREQ(p.extrasolarPlanetFile, "");
  EXPECT_FLOAT_EQ(p.extrasolarPlanetOrbitScale, 50000.0f);
  EXPECT_EQ(p.zRangeOn, 0);
  EXPECT_EQ(p.zRangeMin, 10.0);
  EXPECT_EQ(p.zRangeMax, 25.0);
  EXPECT_EQ(p.vmagRangeOn, 0);
  EXPECT_EQ(p.vmagRangeMin, -2.0);
  EXPECT_EQ(p.vmagRangeMax, 10.0);
  EXPECT_EQ(p.sptypeRangeOn, 0);
  for (int i = 0; i < 8; i++) {
    EXPECT_EQ(p.sptypeMin[i], -1.0f);
    EXPECT_EQ(p.sptypeMax[i], 10.0f);
    EXPECT_EQ(p.sptypeOn[i], 0);
  }
  EXPECT_STREQ(p.spColormapFile, "");
  EXPECT_STREQ(p.bvColormapFile, "");
  EXPECT_EQ(p.bvStart, 0.0);
  EXPECT_EQ(p.bvEnd, 0.0);
  EXPECT_EQ(p.whichColorMap, _NO_COLOR_MAP);
  EXPECT_EQ(p.pxsizeTex, 4);
  EXPECT_EQ(p.texSize, 1.0);
  EXPECT_EQ(p.texScale, 1.0);
  EXPECT_EQ(p.texParaMinFilter, GL_LINEAR_MIPMAP_LINEAR);
  EXPECT_EQ(p.texParaMagFilter, GL_LINEAR_MIPMAP_LINEAR);  // the same as the min filter, on purpose
  EXPECT_EQ(p.textureSource, 0);
  EXPECT_STREQ(p.textureFile, "");
  EXPECT_EQ(p.filterSize, 1.0f);
  EXPECT_EQ(p.filterExp, 1.0f);
  EXPECT_EQ(p.filterCutoff, 1.0f);
  EXPECT_EQ(p.filterOrder, 1.0f);
  for (int i = 0; i < 3; i++) EXPECT_EQ(p.filterRGB[i], 1.0f);
  EXPECT_EQ(p.filterType, _STAR_FILTER_CIRCULAR);
  EXPECT_FLOAT_EQ(p.telescopeDiam, 0.1f);
  EXPECT_EQ(p.exposure, 1.0f);
  EXPECT_EQ(p.tuneIntensity, 1.0f);
  EXPECT_EQ(p.starScale, 1.0f);
  EXPECT_EQ(p.vmagMin, 10.0f);
  EXPECT_EQ(p.starAtYear, 1991);
  EXPECT_EQ(p.datasetYear, 1991);
  for (int i = 0; i < 3; i++) EXPECT_EQ(p.LSR[i], 0.0);
  EXPECT_EQ(_STAR_FILTER_SQUARE, 1);
  EXPECT_EQ(_STAR_FILTER_BUTTERWORTH, 3);
  EXPECT_EQ(_USE_BV_COLOR_MAP, 1);
  EXPECT_EQ(_USE_SPECTRAL_COLOR_MAP, 2);
}

TEST(StarParameterRecord, GetIsACopyAndInitRestores) {
  StarList list;
  StarParameter p = list.getStarParameter();
  p.vmagMin = 3;
  EXPECT_EQ(list.param.vmagMin, 10.0f);
  EXPECT_EQ(p.vmagMin, 3.0f);
  list.param.texScale = 7;
  list.param.LSR[1] = 4;
  EXPECT_EQ(list.getStarParameter().texScale, 7.0);
  list.initParameter();
  EXPECT_EQ(list.param.texScale, 1.0);
  EXPECT_EQ(list.param.LSR[1], 0.0);
}

TEST(StarListInit, CatalogueMembers) {
  StarList list;
  EXPECT_EQ(list.allocFunc, (StarAllocFunc)malloc);
  EXPECT_EQ(list.freeFunc, (StarFreeFunc)free);
  EXPECT_EQ(list.stars, nullptr);
  EXPECT_EQ(list.numStars, 0);
  EXPECT_EQ(list.withSun, 0);
  EXPECT_EQ(list.pickMode, 0);
  const char* names[8] = {"O", "B", "A", "F", "G", "K", "M", "Other"};
  for (int i = 0; i < 8; i++) EXPECT_STREQ(list.sptypeNames[i], names[i]);
  EXPECT_EQ(list.zFirst, 0);
  EXPECT_EQ(list.zLast, 0);
  EXPECT_EQ(list.sphWarpOn, 0);
}

TEST(StarDerived, VelocityInMetresPerYearWithLSR) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, "NUM_STARS 1\nSIZE 1 16\n1 0 0 0 10 -20 5\n");
  StarList list;
  list.param.LSR[0] = 1, list.param.LSR[1] = 2, list.param.LSR[2] = 3;
  ASSERT_EQ(readOne(list, f, 1), 1);
  for (int i = 0; i < 2; i++) {
    const NODE_StarObject& s = list.stars[i];
    double v[3] = {s.vel[0], s.vel[1], s.vel[2]};
    EXPECT_DOUBLE_EQ(s.velPH.x, (v[0] + 1) * 1000 * 3.15576e7);
    EXPECT_DOUBLE_EQ(s.velPH.y, (v[1] + 2) * 1000 * 3.15576e7);
    EXPECT_DOUBLE_EQ(s.velPH.z, (v[2] + 3) * 1000 * 3.15576e7);
    EXPECT_EQ(s.velPH.s, 0.0);
  }
}

TEST(StarDerived, StarsMoveWithTheYearButTheSunStays) {
  TempDir dir;
  std::string f = dir.file("a.star");
  // 1e16 m away along x, moving along y at 1000 km/s: 3.15576e13 m a year.
  writeFile(f, "NUM_STARS 1\nSIZE 1 16\n1 0 0 0 0 1000 0\n");
  StarList list;
  ASSERT_EQ(readOne(list, f, 1), 1);
  const NODE_StarObject& s = list.stars[1];
  EXPECT_NEAR(s.pos.x, 1.0, 1e-15);
  EXPECT_NEAR(s.pos.s, 16.0, 1e-15);
  list.param.starAtYear = 2091;  // 100 years on
  list.resetCoord();
  double y = 100 * 3.15576e13, x = 1e16;
  double len = sqrt(x * x + y * y);
  EXPECT_NEAR(s.pos.x, x / len, 1e-12);
  EXPECT_NEAR(s.pos.y, y / len, 1e-12);
  EXPECT_NEAR(s.pos.s, log10(len), 1e-12);
  EXPECT_EQ(s.basePos.y, 0.0);  // the base position stays
  // The Sun is skipped.
  EXPECT_EQ(list.stars[0].pos.s, 11.0);
  EXPECT_EQ(list.stars[0].pos.x, 0.0);
  // Without withSun nothing is skipped, and the order in the array never changes.
  list.withSun = 0;
  list.resetCoord();
  EXPECT_NE(list.stars[0].pos.s, 11.0);
}

TEST(StarDerived, SphericalWarpStretchesTheCap) {
  TempDir dir;
  std::string f = dir.file("a.star");
  // 30 degrees from the x axis, in the x-y plane.
  writeFile(f, "NUM_STARS 2\nSIZE 1 16\n0.8660254037844387 0.5 0\n1 0 0\n");
  StarList list;
  ASSERT_EQ(readOne(list, f), 1);
  list.sphWarpOn = 1;
  list.sphwarpAngleFrm = M_PI / 2;
  list.sphwarpAngleTo = M_PI;  // doubles every angle from the axis
  list.resetCoord();
  int tilted = fabs(list.stars[0].pos.y) > 1e-3 ? 0 : 1;
  const NODE_StarObject& s = list.stars[tilted];
  EXPECT_NEAR(s.pos.x, cos(M_PI / 3), 1e-12);
  EXPECT_NEAR(s.pos.y, sin(M_PI / 3), 1e-12);
  EXPECT_NEAR(s.pos.s, 16.0, 1e-12);
  // On the axis nothing moves.
  EXPECT_NEAR(list.stars[1 - tilted].pos.x, 1.0, 1e-12);
  // A warp law of one's own.
  list.sphwarpEqFunc = [](double angle, double, double) { return angle / 2; };
  list.resetCoord();
  EXPECT_NEAR(list.stars[tilted].pos.x, cos(M_PI / 12), 1e-12);
  EXPECT_DOUBLE_EQ(list.sphwarpEq(0.5), 0.25);
  // The default law is capped at pi.
  list.sphwarpEqFunc = nullptr;
  EXPECT_DOUBLE_EQ(list.sphwarpEq(2.0), M_PI);
}

TEST(StarDerived, ZRangeSelection) {
  TempDir dir;
  std::string f = dir.file("a.star");
  // Distances 10^16 .. 10^20 metres.
  writeFile(f, "NUM_STARS 5\nSIZE 1 16\n1 0 0\n10 0 0\n100 0 0\n1000 0 0\n10000 0 0\n");
  StarList list;
  ASSERT_EQ(readOne(list, f), 1);
  list.param.zRangeMin = 16.5;
  list.param.zRangeMax = 18.5;
  list.resetZRange();
  EXPECT_EQ(list.zFirst, 1);
  EXPECT_EQ(list.zLast, 2);
  list.param.zRangeMax = 30;
  list.resetZRange();
  EXPECT_EQ(list.zLast, 4);
  // resetCoord applies the range when it is on.
  list.param.zRangeOn = 1;
  list.param.zRangeMin = 17.5;
  list.param.zRangeMax = 19.5;
  list.resetCoord();
  EXPECT_EQ(list.zFirst, 2);
  EXPECT_EQ(list.zLast, 3);
}

TEST(StarDerived, BVColoursAndLoadedMaps) {
  TempDir dir;
  std::string map = dir.file("bv.cmap");
  writeFile(map, "# two colours\n2\n0 0 1 1\n1 0 0 1\n");
  std::string f = dir.file("a.star");
  writeFile(f, "NUM_STARS 2\nSIZE 1 16\n1 0 0 0 0 0 0 0 0 0 -0.5 1\n2 0 0 0 0 0 0 0 0 0 0.25 1\n");
  StarList list;
  testing::internal::CaptureStderr();
  EXPECT_EQ(list.loadColorMapBV("/nonexistent.cmap", 0, 1), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Err : opening colormap [/nonexistent.cmap]\nErr: (loadColorMapBV) failed to load colormap "
            "[/nonexistent.cmap]\n");
  ASSERT_EQ(list.loadColorMapBV(map.c_str(), -0.5f, 1.5f), 1);
  EXPECT_EQ(list.param.whichColorMap, _USE_BV_COLOR_MAP);
  EXPECT_EQ(list.param.bvStart, -0.5);
  EXPECT_EQ(list.param.bvEnd, 1.5);
  EXPECT_EQ(std::string(list.param.bvColormapFile), map);
  // Reading with a map loaded colours the stars.
  ASSERT_EQ(readOne(list, f), 1);
  EXPECT_FLOAT_EQ(list.stars[0].cmapRgba[0], 0.0f);
  EXPECT_FLOAT_EQ(list.stars[0].cmapRgba[2], 1.0f);
  EXPECT_FLOAT_EQ(list.stars[1].cmapRgba[0], 0.375f);
  EXPECT_FLOAT_EQ(list.stars[1].cmapRgba[2], 0.625f);
  EXPECT_FLOAT_EQ(list.stars[1].cmapRgba[3], 1.0f);
}

TEST(StarDerived, SpectralColoursAndTheBorrowedColour) {
  TempDir dir;
  std::string map = dir.file("sp.cmap");
  writeFile(map, "B0(V) 0 0 100 110 255\nA0(V) 0 0 200 210 255\nG2(V) 0 0 255 240 200\n");
  std::string f = dir.file("a.star");
  // Array order by distance: a B star, a star of a class the table lacks, an A star, a G star.
  writeFile(f,
            "NUM_STARS 4\nSIZE 1 16\n"
            "1 0 0 0 0 0 0 0 0 0 -0.2 1 1 1 1 1 B 0 V\n"
            "2 0 0 0 0 0 0 0 0 0 0.0 1 1 1 1 1 WC 8 V\n"
            "3 0 0 0 0 0 0 0 0 0 0.0 1 1 1 1 1 A 1 V\n"
            "4 0 0 0 0 0 0 0 0 0 0.6 1 1 1 1 1 G 2 V\n");
  StarList list;
  ASSERT_EQ(readOne(list, f), 1);
  ASSERT_EQ(list.loadColorMapSpType(map.c_str()), 1);
  EXPECT_EQ(list.param.whichColorMap, _USE_SPECTRAL_COLOR_MAP);
  EXPECT_EQ(std::string(list.param.spColormapFile), map);
  EXPECT_FLOAT_EQ(list.stars[0].cmapRgba[0], 100 / 255.0f);
  EXPECT_FLOAT_EQ(list.stars[2].cmapRgba[0], 200 / 255.0f);
  EXPECT_FLOAT_EQ(list.stars[3].cmapRgba[0], 255 / 255.0f);
  // The WC star is meant to take the colour of the star nearest in B-V (the A star, B-V 0.0),
  // but takes that of the last coloured star in array order: the G star.
  EXPECT_FLOAT_EQ(list.stars[1].cmapRgba[0], 1.0f);
  EXPECT_FLOAT_EQ(list.stars[1].cmapRgba[1], 240 / 255.0f);
  EXPECT_FLOAT_EQ(list.stars[1].cmapRgba[2], 200 / 255.0f);
  // The last star of a missing class takes the colour of the last coloured star before it.
  std::string g = dir.file("b.star");
  writeFile(g,
            "NUM_STARS 3\nSIZE 1 16\n"
            "1 0 0 0 0 0 0 0 0 0 0.6 1 1 1 1 1 G 2 V\n"
            "2 0 0 0 0 0 0 0 0 0 0.0 1 1 1 1 1 A 0 V\n"
            "3 0 0 0 0 0 0 0 0 0 0.6 1 1 1 1 1 C 5 III\n");
  ASSERT_EQ(readOne(list, g), 1);
  EXPECT_FLOAT_EQ(list.stars[2].cmapRgba[0], 200 / 255.0f);
  EXPECT_FLOAT_EQ(list.stars[2].cmapRgba[1], 210 / 255.0f);
  testing::internal::CaptureStderr();
  EXPECT_EQ(list.loadColorMapSpType("/nonexistent.sp"), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Err : opening spectral colormap [/nonexistent.sp]\nErr: (loadColorMapSpType) failed to load "
            "colormap [/nonexistent.sp]\n");
  // Any other choice of map changes nothing.
  list.stars[0].cmapRgba[0] = 0.123f;
  list.param.whichColorMap = _NO_COLOR_MAP;
  list.resetColor();
  EXPECT_FLOAT_EQ(list.stars[0].cmapRgba[0], 0.123f);
}

TEST(StarDerived, WhichColorMapSetter) {
  TempDir dir;
  std::string bv = dir.file("bv.cmap");
  writeFile(bv, "1\n1 1 1 1\n");
  StarList list;
  testing::internal::CaptureStderr();
  EXPECT_EQ(list.setWhichColorMap(1), -1);
  EXPECT_EQ(list.setWhichColorMap(2), -1);
  EXPECT_EQ(list.setWhichColorMap(5), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Err: please call loadColorMapBV to setup the BV colormap first.\n"
            "Err: please call loadColorMapSpType to setup the SpType colormap first.\n"
            "Err: unknown parameter for setWhichColorMap\n"
            "     input should be _NO_COLOR_MAP, _USE_BV_COLOR_MAP, or _USE_SPECTRAL_COLOR_MAP)\n");
  EXPECT_EQ(list.setWhichColorMap(0), 1);
  ASSERT_EQ(list.loadColorMapBV(bv.c_str(), 0, 1), 1);
  EXPECT_EQ(list.setWhichColorMap(0), 1);
  EXPECT_EQ(list.param.whichColorMap, 0);
  // The spectral value is accepted on a loaded BV map alone.
  EXPECT_EQ(list.setWhichColorMap(2), 1);
  EXPECT_EQ(list.param.whichColorMap, 2);
}
