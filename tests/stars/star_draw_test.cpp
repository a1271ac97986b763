// The drawing unit without a window: the setters of year, warp, selection and standard of rest,
// the spectral selection, proper motion on the real catalogue, the colouring chain and the
// bucket sizes.
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "coords/math3D.h"
#include "stars/star.h"
#include "tests/stars/star_fixtures.h"
#include "tests/support/testutil.h"

using testsupport::TempDir;
using testsupport::writeFile;

using startest::readOne;

namespace {

int indexOfHIC(const StarList& list, int hic) {
  for (int i = 0; i < list.numStars; i++)
    if (list.stars[i].HIC == hic) return i;
  return -1;
}

// Everything a refused setter must leave as it was.
struct Snapshot {
  StarParameter param;
  int zFirst, zLast, sphWarpOn;
  double dir[3], frm, to, nearZ, farZ;
  double (*eq)(double, double, double);
  unsigned char logZRangeOn;
  explicit Snapshot(const StarList& l)
      : param(l.param),
        zFirst(l.zFirst),
        zLast(l.zLast),
        sphWarpOn(l.sphWarpOn),
        dir{l.sphwarpDir[0], l.sphwarpDir[1], l.sphwarpDir[2]},
        frm(l.sphwarpAngleFrm),
        to(l.sphwarpAngleTo),
        nearZ(l.logScaleNear),
        farZ(l.logScaleFar),
        eq(l.sphwarpEqFunc),
        logZRangeOn(l.logZRangeOn) {}
  bool same(const StarList& l) const {
    return memcmp(&param, &l.param, sizeof param) == 0 && zFirst == l.zFirst && zLast == l.zLast &&
           sphWarpOn == l.sphWarpOn && memcmp(dir, l.sphwarpDir, sizeof dir) == 0 && frm == l.sphwarpAngleFrm &&
           to == l.sphwarpAngleTo && nearZ == l.logScaleNear && farZ == l.logScaleFar && eq == l.sphwarpEqFunc &&
           logZRangeOn == l.logZRangeOn;
  }
};

double halfAngle(double a, double frm, double to) {
  (void)frm;
  (void)to;
  return a / 2;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Refusals

TEST(StarDrawSetters, RefusalsPrintTheirMessageAndChangeNothing) {
  const double nan = std::nan("");
  const double dirX[3] = {1, 0, 0}, zero[3] = {0, 0, 0}, inf[3] = {INFINITY, 0, 0};
  struct Case {
    const char* what;
    std::function<int(StarList&)> call;
    const char* message;
  };
  const std::string warp = "Err (StarList::setSphWarp): ";
  const std::vector<Case> cases = {
      {"z range reversed", [](StarList& l) { return l.setZRangeOn(20, 10); }, "Err(setZRangeOn) : inMinZ > inMaxZ\n\n"},
      {"z range not a number", [&](StarList& l) { return l.setZRangeOn(nan, 10); },
       "Err(setZRangeOn) : inMinZ > inMaxZ\n\n"},
      {"vmag range reversed", [](StarList& l) { return l.setVMagRangeOn(5, 1); },
       "Err(setVMagRangeOn) : inMinVMag > inMaxVMag\n\n"},
      {"vmag range not a number", [&](StarList& l) { return l.setVMagRangeOn(1, nan); },
       "Err(setVMagRangeOn) : inMinVMag > inMaxVMag\n\n"},
      {"sptype past the rows", [](StarList& l) { return l.setSptypeRangeOn((Sptype)8, 0, 1); },
       "Err(setSptypeRangeOn) : sptype out of range\n\n"},
      {"sptype below the rows", [](StarList& l) { return l.setSptypeRangeOn((Sptype)-1, 0, 1); },
       "Err(setSptypeRangeOn) : sptype out of range\n\n"},
      {"sptype range reversed", [](StarList& l) { return l.setSptypeRangeOn(SPTYPE_A, 5, 2); },
       "Err(setSptypeRangeOn) : rangeMin should be <= rangeMax\n\n"},
      {"sptype row checked before range", [](StarList& l) { return l.setSptypeRangeOn((Sptype)9, 5, 2); },
       "Err(setSptypeRangeOn) : sptype out of range\n\n"},
      {"sptype off past the rows", [](StarList& l) { return l.setSptypeRangeOff((Sptype)8); },
       "Err(setSptypeRangeOn) : sptype out of range\n\n"},
      {"sptype off below the rows", [](StarList& l) { return l.setSptypeRangeOff((Sptype)-3); },
       "Err(setSptypeRangeOn) : sptype out of range\n\n"},
      {"gate reversed", [](StarList& l) { return l.setZRange(18, 16); },
       "Err (StarList::setZRange): inLogScaleNear should be smaller than inLogScaleFar\n\n"},
      {"warp from below 0", [&](StarList& l) { return l.setSphWarp(dirX, -0.1, 1); },
       "Err (StarList::setSphWarp): inSphwarpAngleFrm is out of range [0,pi].\n"},
      {"warp from above pi", [&](StarList& l) { return l.setSphWarp(dirX, 3.1416, 1); },
       "Err (StarList::setSphWarp): inSphwarpAngleFrm is out of range [0,pi].\n"},
      {"warp from not a number", [&](StarList& l) { return l.setSphWarp(dirX, nan, 1); },
       "Err (StarList::setSphWarp): inSphwarpAngleFrm is out of range [0,pi].\n"},
      {"warp to below 0", [&](StarList& l) { return l.setSphWarp(dirX, 1, -1e-9); },
       "Err (StarList::setSphWarp): inSphwarpAngleTo is out of range [0,pi].\n"},
      {"warp to above pi", [&](StarList& l) { return l.setSphWarp(dirX, 1, 4); },
       "Err (StarList::setSphWarp): inSphwarpAngleTo is out of range [0,pi].\n"},
      {"warp angle from tested first", [&](StarList& l) { return l.setSphWarp(zero, 5, 5); },
       "Err (StarList::setSphWarp): inSphwarpAngleFrm is out of range [0,pi].\n"},
      {"warp zero direction", [&](StarList& l) { return l.setSphWarp(zero, 1, 1); },
       "Err (StarList::setSphWarp): inSphwarpDir is not a valid direction.\n"},
      {"warp infinite direction", [&](StarList& l) { return l.setSphWarp(inf, 1, 1); },
       "Err (StarList::setSphWarp): inSphwarpDir is not a valid direction.\n"},
      {"warp no direction", [&](StarList& l) { return l.setSphWarp(nullptr, 1, 1); },
       "Err (StarList::setSphWarp): inSphwarpDir is not a valid direction.\n"},
      {"LSR null", [](StarList& l) { return l.setLSR(nullptr); }, "Err (setLSR)  : inLSR input is NULL.\n\n"},
      {"warp law null", [](StarList& l) { return l.setSphWarpEq(nullptr); }, ""},
  };
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  // Something other than the defaults, so that a change would show.
  ASSERT_EQ(list.setZRangeOn(16, 17), 1);
  ASSERT_EQ(list.setVMagRangeOn(-1, 6), 1);
  ASSERT_EQ(list.setSptypeRangeOn(SPTYPE_K, 1, 3), 1);
  const double dir[3] = {0, 1, 0};
  ASSERT_EQ(list.setSphWarp(dir, 1.0, 2.0), 1);
  ASSERT_EQ(list.setZRange(15, 19), 1);
  std::vector<PHCoord> before;
  for (int i = 0; i < list.numStars; i++) before.push_back(list.stars[i].pos);
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    Snapshot snap(list);
    testing::internal::CaptureStderr();
    EXPECT_EQ(c.call(list), -1);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), c.message);
    EXPECT_TRUE(snap.same(list));
  }
  for (int i = 0; i < list.numStars; i++) EXPECT_EQ(memcmp(&before[i], &list.stars[i].pos, sizeof(PHCoord)), 0);
}

// ---------------------------------------------------------------------------------------------
// Selection setters

TEST(StarDrawSetters, DistanceRange) {
  TempDir dir;
  std::string f = dir.file("a.star");
  // 10^16 .. 10^20 metres.
  writeFile(f, "NUM_STARS 5\nSIZE 1 16\n1 0 0\n10 0 0\n100 0 0\n1000 0 0\n10000 0 0\n");
  StarList list;
  ASSERT_EQ(readOne(list, f), 1);
  testing::internal::CaptureStderr();
  EXPECT_EQ(list.setZRangeOn(16.5, 18.5), 1);
  EXPECT_EQ(list.param.zRangeOn, 1);
  EXPECT_EQ(list.param.zRangeMin, 16.5);
  EXPECT_EQ(list.param.zRangeMax, 18.5);
  EXPECT_EQ(list.zFirst, 1);
  EXPECT_EQ(list.zLast, 2);
  // An empty range (minimum equal to maximum) is allowed.
  EXPECT_EQ(list.setZRangeOn(17.5, 17.5), 1);
  EXPECT_EQ(list.zFirst, 2);
  EXPECT_EQ(list.zLast, 1);
  list.setZRangeOff();
  EXPECT_EQ(list.param.zRangeOn, 0);
  EXPECT_EQ(list.param.zRangeMin, 17.5);  // the bounds stay for the next time
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(StarDrawSetters, MagnitudeRange) {
  StarList list;
  EXPECT_EQ(list.setVMagRangeOn(-1.5, 6.5), 1);
  EXPECT_EQ(list.param.vmagRangeOn, 1);
  EXPECT_EQ(list.param.vmagRangeMin, -1.5);
  EXPECT_EQ(list.param.vmagRangeMax, 6.5);
  EXPECT_EQ(list.setVMagRangeOn(3, 3), 1);
  list.setVMagRangeOff();
  EXPECT_EQ(list.param.vmagRangeOn, 0);
  EXPECT_EQ(list.param.vmagRangeMax, 3.0);
}

TEST(StarDrawSetters, SpectralRows) {
  StarList list;
  EXPECT_EQ(list.setSptypeRangeOn(SPTYPE_A, 0.1, 5.3), 1);
  EXPECT_EQ(list.param.sptypeOn[SPTYPE_A], 1);
  EXPECT_EQ(list.param.sptypeMin[SPTYPE_A], 0.1f);  // kept as floats
  EXPECT_EQ(list.param.sptypeMax[SPTYPE_A], 5.3f);
  EXPECT_EQ(list.param.sptypeRangeOn, 1);
  EXPECT_EQ(list.setSptypeRangeOn(SPTYPE_OTHER, 2, 2), 1);
  // Off for one row keeps the selection on while another row is on.
  EXPECT_EQ(list.setSptypeRangeOff(SPTYPE_A), 1);
  EXPECT_EQ(list.param.sptypeOn[SPTYPE_A], 0);
  EXPECT_EQ(list.param.sptypeMin[SPTYPE_A], 0.1f);  // the range stays
  EXPECT_EQ(list.param.sptypeRangeOn, 1);
  EXPECT_EQ(list.setSptypeRangeOff(SPTYPE_OTHER), 1);
  EXPECT_EQ(list.param.sptypeRangeOn, 0);
  // Off on a row that is off already is fine.
  EXPECT_EQ(list.setSptypeRangeOff(SPTYPE_O), 1);
  // All on and all off switch the selection and leave the rows.
  list.setSptypeRangeAllOn();
  EXPECT_EQ(list.param.sptypeRangeOn, 1);
  for (int i = 0; i < STAR_NUM_SPTYPES; i++) EXPECT_EQ(list.param.sptypeOn[i], 0);
  EXPECT_EQ(list.setSptypeRangeOn(SPTYPE_M, 1, 4), 1);
  list.setSptypeRangeAllOff();
  EXPECT_EQ(list.param.sptypeRangeOn, 0);
  EXPECT_EQ(list.param.sptypeOn[SPTYPE_M], 1);
}

TEST(StarDrawSetters, CameraDistanceGate) {
  StarList list;
  EXPECT_EQ(list.logScaleNear, -DBL_MAX);
  EXPECT_EQ(list.logScaleFar, DBL_MAX);
  EXPECT_EQ(list.setZRange(16.0, 18.0), 1);
  EXPECT_EQ(list.logScaleNear, 16.0);
  EXPECT_EQ(list.logScaleFar, 18.0);
  EXPECT_EQ(list.logZRangeOn, 0);  // the gate is not switched on by its bounds
  EXPECT_EQ(list.setZRange(17.0, 17.0), 1);
}

TEST(StarDrawSelection, SpectralRowsByClassLetter) {
  StarList list;
  struct Row {
    char cls;
    Sptype row;
  };
  const Row rows[] = {{'O', SPTYPE_O}, {'B', SPTYPE_B}, {'A', SPTYPE_A}, {'F', SPTYPE_F},   {'G', SPTYPE_G},
                      {'K', SPTYPE_K}, {'M', SPTYPE_M}, {'W', SPTYPE_OTHER}, {'-', SPTYPE_OTHER},
                      {'o', SPTYPE_OTHER}, {'\0', SPTYPE_OTHER}};
  for (const Row& r : rows) {
    SCOPED_TRACE(std::string(1, r.cls));
    // A class without a range stays in, whatever its number.
    EXPECT_EQ(list.isSptypeSelected(r.cls, 99.0f), 1);
    ASSERT_EQ(list.setSptypeRangeOn(r.row, 2.0, 5.0), 1);
    EXPECT_EQ(list.isSptypeSelected(r.cls, 1.99f), 0);
    EXPECT_EQ(list.isSptypeSelected(r.cls, 2.0f), 1);  // both bounds belong to the range
    EXPECT_EQ(list.isSptypeSelected(r.cls, 5.0f), 1);
    EXPECT_EQ(list.isSptypeSelected(r.cls, 5.01f), 0);
    // Other rows are not touched by this one.
    int other = r.row == SPTYPE_O ? 'B' : 'O';
    EXPECT_EQ(list.isSptypeSelected((char)other, 9.0f), 1);
    ASSERT_EQ(list.setSptypeRangeOff(r.row), 1);
  }
}

// ---------------------------------------------------------------------------------------------
// Year, warp and standard of rest

TEST(StarDrawMotion, BarnardsStarMovesByItsCatalogueVelocity) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(10)), 1);
  int b = indexOfHIC(list, 87937);
  ASSERT_GE(b, 0);
  const NODE_StarObject& s = list.stars[b];
  EXPECT_EQ(s.HD, 0);
  EXPECT_STREQ(s.commonName, "Barnard's Star");
  EXPECT_EQ(list.getStarAtYear(), 1991);
  EXPECT_EQ(list.getDatasetYear(), 1991);
  const double metresPerYear = 1000 * 3.15576e7;
  for (int dt : {10000, -2500, 1, 0}) {
    SCOPED_TRACE(dt);
    list.setStarAtYear(1991 + dt);
    EXPECT_EQ(list.getStarAtYear(), 1991 + dt);
    double p[3];
    for (int k = 0; k < 3; k++) {
      double base = (k == 0 ? s.basePos.x : k == 1 ? s.basePos.y : s.basePos.z) * pow(10.0, s.basePos.s);
      p[k] = base + s.vel[k] * metresPerYear * dt;
    }
    double len = length3D(p);
    EXPECT_NEAR(s.pos.x, p[0] / len, 1e-12);
    EXPECT_NEAR(s.pos.y, p[1] / len, 1e-12);
    EXPECT_NEAR(s.pos.z, p[2] / len, 1e-12);
    EXPECT_NEAR(s.pos.s, log10(len), 1e-12);
  }
  // Ten thousand years move it by 26.6 degrees on the sky: its 89 km/s across 1.83 parsecs.
  list.setStarAtYear(1991);
  double a[3] = {s.pos.x, s.pos.y, s.pos.z};
  list.setStarAtYear(11991);
  double c[3] = {s.pos.x, s.pos.y, s.pos.z};
  EXPECT_NEAR(acos(dot3D(a, c)) * 180 / M_PI, 26.6, 0.1);
  // The dataset year moves the other way.
  list.setDatasetYear(1991 + 10000);
  EXPECT_EQ(list.getDatasetYear(), 11991);
  EXPECT_NEAR(s.pos.x, a[0], 1e-12);
  list.setDatasetYear(11991 + 10000);
  double back[3] = {s.pos.x, s.pos.y, s.pos.z};
  EXPECT_NEAR(acos(dot3D(a, back)) * 180 / M_PI, 26.6, 0.1);
  EXPECT_LT(dot3D(back, c), dot3D(a, c));  // on the other side
}

TEST(StarDrawMotion, StandardOfRestAddsToEveryVelocity) {
  TempDir dir;
  std::string f = dir.file("a.star");
  writeFile(f, "NUM_STARS 1\nSIZE 1 16\n1 0 0 0 0 0 0\n");
  StarList list;
  ASSERT_EQ(readOne(list, f, 1), 1);
  list.setStarAtYear(2091);  // a hundred years on
  EXPECT_NEAR(list.stars[1].pos.x, 1.0, 1e-15);
  const double lsr[3] = {0, 1000, 0};
  EXPECT_EQ(list.setLSR(lsr), 1);
  EXPECT_EQ(list.param.LSR[1], 1000.0);
  // The Sun's velocity takes the standard of rest too, but it does not move.
  EXPECT_DOUBLE_EQ(list.stars[0].velPH.y, 1000 * 1000 * 3.15576e7);
  EXPECT_EQ(list.stars[0].pos.s, 11.0);
  // Positions follow at once: 100 years at 1000 km/s along y.
  double y = 100 * 1000 * 1000 * 3.15576e7, x = 1e16;
  EXPECT_NEAR(list.stars[1].pos.y, y / sqrt(x * x + y * y), 1e-12);
}

TEST(StarDrawMotion, WarpSwitchAndSetter) {
  TempDir dir;
  std::string f = dir.file("a.star");
  // 30 degrees from the x axis, in the x-y plane.
  writeFile(f, "NUM_STARS 1\nSIZE 1 16\n0.8660254037844387 0.5 0\n");
  StarList list;
  ASSERT_EQ(readOne(list, f), 1);
  NODE_StarObject& s = list.stars[0];
  // Set while off: stored, the positions not touched.
  const double dir3[3] = {2, 0, 0};
  EXPECT_EQ(list.setSphWarp(dir3, M_PI / 2, M_PI), 1);
  EXPECT_EQ(list.sphwarpDir[0], 1.0);  // made unit length
  EXPECT_EQ(list.sphwarpAngleFrm, M_PI / 2);
  EXPECT_EQ(list.sphwarpAngleTo, M_PI);
  EXPECT_NEAR(s.pos.y, 0.5, 1e-12);
  list.enableSphWarp();
  EXPECT_EQ(list.sphWarpOn, 1);
  EXPECT_NEAR(s.pos.y, sin(M_PI / 3), 1e-12);  // 30 degrees became 60
  // The same warp within 1e-5 changes nothing and repeats no work.
  s.pos.y = 42;
  const double nearly[3] = {1, 5e-6, 0};
  EXPECT_EQ(list.setSphWarp(nearly, M_PI / 2 + 5e-6, M_PI - 5e-6), 1);
  EXPECT_EQ(s.pos.y, 42.0);
  EXPECT_EQ(list.sphwarpDir[1], 0.0);
  EXPECT_EQ(list.sphwarpAngleFrm, M_PI / 2);
  // A different warp while on applies at once.
  EXPECT_EQ(list.setSphWarp(dir3, M_PI / 2, M_PI / 4), 1);
  EXPECT_NEAR(s.pos.y, sin(M_PI / 12), 1e-12);  // 30 degrees became 15
  // Both ends of [0, pi] are allowed.
  EXPECT_EQ(list.setSphWarp(dir3, M_PI, 0), 1);
  EXPECT_NEAR(s.pos.x, 1.0, 1e-12);
  // A law of one's own is stored without recomputing positions.
  EXPECT_EQ(list.setSphWarp(dir3, M_PI / 2, M_PI), 1);
  double y = s.pos.y;
  EXPECT_EQ(list.setSphWarpEq(halfAngle), 1);
  EXPECT_EQ(list.sphwarpEqFunc, &halfAngle);
  EXPECT_EQ(s.pos.y, y);
  list.enableSphWarp();
  EXPECT_NEAR(s.pos.y, sin(M_PI / 12), 1e-12);
  list.disableSphWarp();
  EXPECT_EQ(list.sphWarpOn, 0);
  EXPECT_NEAR(s.pos.y, 0.5, 1e-12);
}

// ---------------------------------------------------------------------------------------------
// Colour

TEST(StarDrawColor, ColouringChain) {
  TempDir dir;
  std::string map = dir.file("bv.cmap");
  writeFile(map, "2\n0 0 1 1\n1 0 0 0.5\n");
  StarList list;
  NODE_StarObject star{};
  const float file[4] = {0.5f, 0.25f, 1.0f, 0.8f};
  memcpy(star.rgba, file, sizeof file);
  const float cmap[4] = {0.5f, 0.5f, 0.25f, 1.0f};
  memcpy(star.cmapRgba, cmap, sizeof cmap);
  star.pos.s = 20.0;
  list.uniformColor[0] = 0.9f, list.uniformColor[1] = 0.8f, list.uniformColor[2] = 0.7f;
  list.baseColor[0] = 0.1f, list.baseColor[1] = 0.2f, list.baseColor[2] = 0.3f;
  const float alpha = (list.gammaTable[255] & 0xFC) / 255.0f;
  const Color scale = colorMapScale(20.0);

  struct Case {
    int flags;
    bool mapLoaded;
    float r, g, b;
  };
  const std::vector<Case> cases = {
      {0, false, 0.1f, 0.2f, 0.3f},                    // no colouring bit: the base colour
      {16, false, 0.1f, 0.2f, 0.3f},                   // texturing is no colouring bit
      {4, false, 0.9f, 0.8f, 0.7f},                    // 4 starts the chain and adds nothing
      {1, false, 0.9f * 0.5f, 0.8f * 0.25f, 0.7f},     // the file colour
      {2, false, 0.9f, 0.8f, 0.7f},                    // no map loaded: no map colour
      {2, true, 0.9f * 0.5f, 0.8f * 0.5f, 0.7f * 0.25f},
      {3, true, 0.9f * 0.5f * 0.5f, 0.8f * 0.25f * 0.5f, 0.7f * 0.25f},
      {8, false, 0.9f * scale.r, 0.8f * scale.g, 0.7f * scale.b},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.flags);
    if (c.mapLoaded && !list.bvColorMap) {
      ASSERT_EQ(list.loadColorMapBV(map.c_str(), 0, 1), 1);
    }
    float rgba[4] = {-1, -1, -1, -1};
    EXPECT_EQ(list.computeColor(&star, c.flags, 255, rgba), rgba);
    EXPECT_FLOAT_EQ(rgba[0], c.r);
    EXPECT_FLOAT_EQ(rgba[1], c.g);
    EXPECT_FLOAT_EQ(rgba[2], c.b);
    // Alpha comes from the gamma table alone, whatever the colours say.
    EXPECT_FLOAT_EQ(rgba[3], alpha);
  }
}

TEST(StarDrawColor, AlphaFromTheGammaTableWithTheLowBitsCleared) {
  StarList list;
  NODE_StarObject star{};
  struct Case {
    int index;
    int expected;  // gamma value with the two low bits cleared
  };
  // gammaTable[i] = (int)((i / 255)^0.4 x 255.99).
  for (const Case& c : std::vector<Case>{{0, 0}, {1, 24}, {64, 144}, {128, 192}, {255, 252}}) {
    SCOPED_TRACE(c.index);
    float rgba[4];
    list.computeColor(&star, 4, c.index, rgba);
    EXPECT_EQ(rgba[3], (float)(c.expected / 255.0));
    EXPECT_EQ(list.gammaTable[c.index] & 0xFC, c.expected);
  }
}

TEST(StarDrawColor, ExposureAndTuningLeaveAlpha) {
  StarList list;
  NODE_StarObject star{};
  for (float& v : star.rgba) v = 0.5f;
  float rgba[4];
  ASSERT_EQ(list.setExposure(2.0f), 1);
  list.computeColor(&star, 1, 255, rgba);
  EXPECT_FLOAT_EQ(rgba[0], 0.25f);
  EXPECT_FLOAT_EQ(rgba[2], 0.25f);
  EXPECT_FLOAT_EQ(rgba[3], 252 / 255.0f);
  ASSERT_EQ(list.setExposure(1.0f), 1);
  ASSERT_EQ(list.setTuneIntensity(3.0f), 1);
  star.rgba[1] = 0.2f;
  list.computeColor(&star, 1, 255, rgba);
  EXPECT_FLOAT_EQ(rgba[0], 1.0f);  // 1.5 stops at full
  EXPECT_FLOAT_EQ(rgba[1], 0.6f);
  EXPECT_FLOAT_EQ(rgba[3], 252 / 255.0f);
  // Both together: exposure first, then tuning.
  ASSERT_EQ(list.setExposure(2.0f), 1);
  list.computeColor(&star, 1, 128, rgba);
  EXPECT_FLOAT_EQ(rgba[1], 0.04f * 3.0f);
  EXPECT_FLOAT_EQ(rgba[3], 192 / 255.0f);
}

// ---------------------------------------------------------------------------------------------
// Buckets

TEST(StarDrawBuckets, SizeFollowsTheCatalogue) {
  TempDir dir;
  struct Case {
    int stars;
    int bucketSize;
  };
  // A twentieth of the stars, between 16 and 256: the cap is reached at 5,120 stars.
  for (Case c : std::vector<Case>{{100, 16}, {320, 16}, {340, 17}, {5119, 255}, {5120, 256}, {10000, 256}}) {
    SCOPED_TRACE(c.stars);
    char name[32], head[64], line[32];
    snprintf(name, sizeof name, "n%d.star", c.stars);
    snprintf(head, sizeof head, "NUM_STARS %d\nSIZE 1 16\n", c.stars);
    std::string f = dir.file(name);
    std::string text = head;
    for (int i = 0; i < c.stars; i++) {
      snprintf(line, sizeof line, "%d 0 0\n", i + 1);
      text += line;
    }
    writeFile(f, text);
    StarList list;
    ASSERT_EQ(readOne(list, f), 1);
    EXPECT_EQ(list.bucketSize, c.bucketSize);
    for (int i = 0; i < STAR_NUM_BUCKETS; i++) {
      EXPECT_NE(list.buckets[i], nullptr);
      EXPECT_EQ(list.bucketCount[i], 0);
    }
  }
}
