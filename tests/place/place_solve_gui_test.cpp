// The blind solve closed on itself: the velmora program draws the real catalogue at a known view,
// the frame is saved as a PNG without metadata, and the solve through velmora-place's code must
// give back the view: its centre, its scale and its roll.
//
// A perspective camera at the origin is a gnomonic projection, so the view is a TAN WCS: its
// tangent point is the line of sight, its scale at the centre 2 tan(fovy / 2) / side radians per
// pixel, north of the picture the view's up. The model is a rectangle seen face on; the program's
// first view looks along its mean vertex with galactic north up and a field 2.2 times the widest
// corner angle. The model, its info line's neighbour (the look-at line), the common names and the
// sky maps are switched off; the model's own info line stays at the bottom and is cut away.
//
// VELMORA_SOLVE_VIEW="l b half" (degrees: galactic centre and the rectangle's half width) picks another
// view; scripts/solve_times.sh runs a few that way and reads the "blind solve took" lines.
#include <gtest/gtest.h>
#include <stb_image_write.h>
#include <wcs.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "place/blindsolve.h"
#include "place/skywcs.h"
#include "skydata/skymath.h"
#include "tests/support/program_run.h"
#include "tests/support/testutil.h"
#include "tests/tool/velmora_driver.h"

namespace {

using skydata::Vec3;
using testsupport::ProgramRun;

constexpr int kArea = 640;     // the drawing area, square, at the window's left
constexpr int kCutRows = 576;  // the rows kept: the info line at the bottom is cut away
constexpr int kStarSet = 8;
constexpr double kDefaultL = 200, kDefaultB = -10, kDefaultHalfDeg = 8;
// The bounds the solve must keep.
constexpr double kCentrePixels = 0.5;
constexpr double kScaleFraction = 0.005;
constexpr double kRollDegrees = 0.1;
// Pixels either side of the centre over which the roll is measured.
constexpr double kRollArm = 200;
constexpr int kSolveSeconds = 30;
constexpr double kHeightPerWidth = 0.625;

struct View {
  double l = kDefaultL, b = kDefaultB, halfDeg = kDefaultHalfDeg;
};

View viewFromEnvironment() {
  View v;
  if (const char* s = std::getenv("VELMORA_SOLVE_VIEW")) {
    std::istringstream in(s);
    in >> v.l >> v.b >> v.halfDeg;
  }
  return v;
}

Vec3 toVec3(const e2e::Vec& v) {
  return {v.v[0], v.v[1], v.v[2]};
}

// The galactic direction of pixel (x, y) of the solved WCS.
bool galacticAt(wcsprm* wcs, double x, double y, Vec3& out) {
  double ra = 0, dec = 0;
  if (!place::wcsPixelToRaDec(wcs, x, y, ra, dec)) return false;
  out = skydata::equatorialToGalactic(skydata::angToVec(ra, dec));
  return true;
}

TEST(PlaceBlindSolve, AFrameOfTheProgramSolvesBackToItsView) {
  VELMORA_REQUIRE_SKY_DATA();
  if (place::findProgram("solve-field").empty() || place::countIndexFiles(place::kSolveFieldConfig) == 0)
    GTEST_SKIP() << "astrometry.net or its index files are not installed (scripts/deps.sh installs them)";
  const View view = viewFromEnvironment();
  testsupport::TempDir dir;
  e2e::Rectangle r;
  const double lr = view.l * kRadiansPerDegree, br = view.b * kRadiansPerDegree;
  r.centre.v[0] = std::cos(br) * std::cos(lr);
  r.centre.v[1] = std::cos(br) * std::sin(lr);
  r.centre.v[2] = std::sin(br);
  // Wider than high: the first view puts the short axis, galactic north, up (a square's axes
  // would be any two).
  r.halfWidthDeg = view.halfDeg;
  r.halfHeightDeg = view.halfDeg * kHeightPerWidth;
  const std::string model = dir.file("square.obj");
  ASSERT_TRUE(e2e::writeRectangle(model, r));
  e2e::Vec north;
  north.v[2] = 1;
  const e2e::FirstView first = e2e::firstViewOf(e2e::rectangleCorners(r), north);

  ProgramRun run({e2e::velmora(), "-notex", "-s" + std::to_string(kStarSet), model}, e2e::titleOf(model));
  ASSERT_FALSE(run.window().empty()) << run.err();
  for (const char* k : {"z", "n", "D"}) run.key(k);
  const e2e::Grab g = e2e::grabStable(run);
  ASSERT_GE(g.width, kArea);
  ASSERT_GE(g.height, kArea);
  run.key("q");
  run.waitExit();
  std::vector<unsigned char> rgb(size_t(kArea) * kCutRows * 3);
  for (int y = 0; y < kCutRows; ++y)
    for (int x = 0; x < kArea; ++x)
      for (int c = 0; c < 3; ++c) rgb[3 * (size_t(y) * kArea + x) + c] = g.at(x, y)[c];
  const std::string png = dir.file("frame.png");
  ASSERT_NE(stbi_write_png(png.c_str(), kArea, kCutRows, 3, rgb.data(), kArea * 3), 0);
  if (std::getenv("VELMORA_TEST_SHOTS"))
    stbi_write_png("/tmp/blind-solve-frame.png", kArea, kCutRows, 3, rgb.data(), kArea * 3);

  place::SolveOptions options;
  options.cpuSeconds = kSolveSeconds;
  place::Wcs wcs;
  std::string err;
  const auto start = std::chrono::steady_clock::now();
  const bool solved = place::solveBlindly(place::greyOfRgb(rgb.data(), kArea, kCutRows),
                                          "[frame.png] has no AVM", options, wcs, err);
  const double seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
  std::printf("blind solve took %.2f s\n", seconds);
  ASSERT_TRUE(solved) << err;
  ASSERT_NE(wcs.get(), nullptr);

  // The view's centre, window pixel edges (320, 320), is FITS pixel (320.5, rows - 320 + 0.5).
  const double cx = kArea / 2 + 0.5, cy = kCutRows - kArea / 2 + 0.5;
  const Vec3 look = toVec3(first.look), up = toVec3(first.up), right = skydata::cross(look, up);
  const double scaleRad = 2 * std::tan(first.fovyDeg * 0.5 * kRadiansPerDegree) / kArea;
  Vec3 centre;
  ASSERT_TRUE(galacticAt(wcs.get(), cx, cy, centre));
  const double offRad = skydata::angleBetween(centre, look);
  EXPECT_LT(offRad / scaleRad, kCentrePixels)
      << "the solved centre is off by " << offRad / scaleRad << " pixels";

  const double* cd = wcs.get()->lin.piximg;  // degrees per pixel
  const double solvedScaleRad = std::sqrt(std::fabs(cd[0] * cd[3] - cd[1] * cd[2])) * kRadiansPerDegree;
  EXPECT_LT(std::fabs(solvedScaleRad / scaleRad - 1), kScaleFraction)
      << "solved " << solvedScaleRad * kDegreesPerRadian * kArcsecPerDegree
      << " arcsec per pixel, the view has " << scaleRad * kDegreesPerRadian * kArcsecPerDegree;

  // The picture's up and right, measured on the view's own projection plane.
  auto plane = [&](const Vec3& v, double& px, double& py) {
    px = skydata::dot(v, right) / skydata::dot(v, look);
    py = skydata::dot(v, up) / skydata::dot(v, look);
  };
  Vec3 top, bottom, east, west;
  ASSERT_TRUE(galacticAt(wcs.get(), cx, cy + kRollArm, top));
  ASSERT_TRUE(galacticAt(wcs.get(), cx, cy - kRollArm, bottom));
  ASSERT_TRUE(galacticAt(wcs.get(), cx + kRollArm, cy, east));
  ASSERT_TRUE(galacticAt(wcs.get(), cx - kRollArm, cy, west));
  double tx, ty, bx, by, ex, ey, wx, wy;
  plane(top, tx, ty);
  plane(bottom, bx, by);
  plane(east, ex, ey);
  plane(west, wx, wy);
  const double rollUp = std::atan2(tx - bx, ty - by) * kDegreesPerRadian;
  const double rollRight = std::atan2(-(ey - wy), ex - wx) * kDegreesPerRadian;
  EXPECT_LT(std::fabs(rollUp), kRollDegrees) << "the picture's up is turned by " << rollUp << " degrees";
  EXPECT_LT(std::fabs(rollRight), kRollDegrees)
      << "the picture's right is turned by " << rollRight << " degrees";
  std::printf("centre off %.3f px, scale off %.4f %%, roll %.4f / %.4f degrees\n", offRad / scaleRad,
              100 * (solvedScaleRad / scaleRad - 1), rollUp, rollRight);

  // The same frame through the program: placed by the blind solve, and said so in the model.
  const auto placed = testsupport::run(testsupport::binaryDir() + "/velmora-place '" + png + "' --out '" +
                                       dir.file("frame-model.obj") + "'");
  EXPECT_EQ(placed.status, 0) << placed.err;
  EXPECT_EQ(placed.out, "placed [" + png + "] at 1 parsec: [" + dir.file("frame-model.obj") + "]\n");
  EXPECT_NE(testsupport::readFile(dir.file("frame-model.obj"))
                .find("# frame.png: placed by a blind solve of its stars (astrometry.net)\n"),
            std::string::npos);
}

}  // namespace
