// Blind solving without a window: the stars found and their ranking, the index files and program
// looked up, the arguments solve-field gets, the hard stop, and every refusal word for word.
#include <gtest/gtest.h>
#include <signal.h>
#include <stb_image_write.h>
#include <sys/stat.h>

#include <cmath>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "place/blindsolve.h"
#include "place/placeimage.h"
#include "place/starfinder.h"
#include "tests/place/place_fixtures.h"
#include "tests/support/testutil.h"

namespace {

using testsupport::TempDir;
using placetest::program;
using placetest::quoted;

constexpr int kW = 160, kH = 120;
constexpr int kWhite = 255;

bool solverInstalled() {
  return !place::findProgram("solve-field").empty() && place::countIndexFiles(place::kSolveFieldConfig) > 0;
}

// A disc of the given radius and value into an RGB image stored first row on top; (cx, cy) is
// the centre in pixel-edge coordinates, y down.
void disc(std::vector<unsigned char>& rgb, int w, int h, double cx, double cy, double radius, int value) {
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      if (std::hypot(x + 0.5 - cx, y + 0.5 - cy) <= radius)
        for (int c = 0; c < 3; ++c) rgb[3 * (size_t(y) * w + x) + c] = static_cast<unsigned char>(value);
}

std::string writePng(const TempDir& dir, const std::string& name, const std::vector<unsigned char>& rgb,
                     int w, int h) {
  const std::string path = dir.file(name);
  EXPECT_NE(stbi_write_png(path.c_str(), w, h, 3, rgb.data(), w * 3), 0);
  return path;
}

// A stand-in for solve-field: a shell script with the body given, made executable.
std::string fakeSolver(const TempDir& dir, const std::string& body) {
  const std::string path = dir.file("solve-field");
  testsupport::writeFile(path, "#!/bin/sh\n" + body);
  chmod(path.c_str(), 0755);
  return path;
}

// A configuration naming one index file, so that the check for index files passes.
std::string configWithOneIndex(const TempDir& dir) {
  testsupport::writeFile(dir.file("index-test.fits"), "");
  const std::string config = dir.file("test.cfg");
  testsupport::writeFile(config, "add_path " + dir.path() + "\n");
  return config;
}

TEST(FindSources, StarsAreRankedByTheirWholeLightNotTheirClippedPeak) {
  std::vector<unsigned char> rgb(size_t(kW) * kH * 3, 0);
  // All three clip at white: only their sizes tell them apart.
  disc(rgb, kW, kH, 40, 30, 1.0, kWhite);
  disc(rgb, kW, kH, 100.5, 60.5, 6.0, kWhite);
  disc(rgb, kW, kH, 130, 90, 3.0, kWhite);
  const std::vector<place::Source> s = place::findSources(place::greyOfRgb(rgb.data(), kW, kH), 10);
  ASSERT_EQ(s.size(), 3u);
  struct Want {
    double x, y;  // FITS pixels: y up, 1 at the first pixel's centre
  };
  const Want want[] = {{100.5 + 0.5, kH - 60.5 + 0.5}, {130 + 0.5, kH - 90 + 0.5}, {40 + 0.5, kH - 30 + 0.5}};
  for (int i = 0; i < 3; ++i) {
    SCOPED_TRACE(i);
    EXPECT_NEAR(s[i].x, want[i].x, 1e-9);
    EXPECT_NEAR(s[i].y, want[i].y, 1e-9);
  }
  EXPECT_GT(s[0].flux, s[1].flux);
  EXPECT_GT(s[1].flux, s[2].flux);
}

TEST(FindSources, TheListIsCutAfterTheBrightestAndABlankImageHasNone) {
  std::vector<unsigned char> rgb(size_t(kW) * kH * 3, 0);
  EXPECT_TRUE(place::findSources(place::greyOfRgb(rgb.data(), kW, kH), 10).empty());
  disc(rgb, kW, kH, 20, 20, 4.0, kWhite);
  disc(rgb, kW, kH, 60, 60, 2.0, kWhite);
  disc(rgb, kW, kH, 100, 100, 1.0, kWhite);
  const std::vector<place::Source> s = place::findSources(place::greyOfRgb(rgb.data(), kW, kH), 2);
  ASSERT_EQ(s.size(), 2u);
  EXPECT_NEAR(s[0].x, 20.5, 1e-9);
  EXPECT_NEAR(s[1].x, 60.5, 1e-9);
}

TEST(FindSources, NoiseBelowFiveLevelsIsBackgroundAndNotANumberIsIgnored) {
  place::GreyImage g;
  g.width = kW;
  g.height = kH;
  std::mt19937 random(7);
  std::normal_distribution<float> noise(100.0f, 2.0f);
  for (int i = 0; i < kW * kH; ++i) g.values.push_back(std::fmin(noise(random), 108.0f));
  g.values[size_t(50) * kW + 70] = 1000.0f;
  g.values[size_t(10) * kW + 10] = NAN;
  const std::vector<place::Source> s = place::findSources(g, 10);
  ASSERT_EQ(s.size(), 1u);
  EXPECT_DOUBLE_EQ(s[0].x, 71);
  EXPECT_DOUBLE_EQ(s[0].y, 51);
}

TEST(SolverLookup, IndexFilesAreCountedInTheConfigsPathsAndByName) {
  TempDir dir;
  testsupport::writeFile(dir.file("index-4110.fits"), "");
  testsupport::writeFile(dir.file("index-4111.fits.bz2"), "");
  testsupport::writeFile(dir.file("notes.txt"), "");
  TempDir other;
  testsupport::writeFile(other.file("wide.fits"), "");
  const std::string config = dir.file("a.cfg");
  testsupport::writeFile(config, "# a comment\ncpulimit 300\nadd_path " + dir.path() + "\nindex " +
                                     other.file("wide.fits") + "\nindex " + other.file("gone.fits") +
                                     "\nadd_path /nonexistent-velmora\nautoindex\n");
  EXPECT_EQ(place::countIndexFiles(config), 3);
  EXPECT_EQ(place::countIndexFiles(dir.file("missing.cfg")), 0);
}

TEST(SolverLookup, AProgramIsFoundThroughPathOrByItsOwnPath) {
  EXPECT_NE(place::findProgram("sh"), "");
  EXPECT_EQ(place::findProgram("velmora-no-such-program"), "");
  EXPECT_EQ(place::findProgram("/nonexistent/solve-field"), "");
  EXPECT_EQ(place::findProgram("/bin/sh"), "/bin/sh");
  EXPECT_EQ(place::findProgram(""), "");
}

// The refusals of the blind solve through the program, each with no model written.
TEST(BlindSolveRefusals, EachFailureIsStatedAndNoModelIsWritten) {
  TempDir dir;
  std::vector<unsigned char> stars(size_t(kW) * kH * 3, 0);
  std::mt19937 random(11);
  std::uniform_real_distribution<double> ux(5, kW - 5), uy(5, kH - 5), ur(0.8, 2.5);
  for (int i = 0; i < 40; ++i) disc(stars, kW, kH, ux(random), uy(random), ur(random), kWhite);
  const std::string starry = writePng(dir, "starry.png", stars, kW, kH);
  const std::string black =
      writePng(dir, "black.png", std::vector<unsigned char>(size_t(kW) * kH * 3, 0), kW, kH);
  TempDir empty;
  const std::string noIndex = dir.file("none.cfg");
  testsupport::writeFile(noIndex, "add_path " + empty.path() + "\n");

  struct Case {
    const char* name;
    std::string env, image, options, message;
    bool needsSolver;
  };
  const std::string noAvm = "Err : [" + starry + "] has no AVM, and ";
  const std::vector<Case> cases = {
      {"solve-field not installed", "PATH=/nonexistent-velmora", starry, "",
       noAvm + "solve-field is not installed to solve it blindly (Debian package astrometry.net)\n", false},
      {"no index files", "", starry, "--solve-config " + quoted(noIndex),
       noAvm + "no astrometry.net index files are installed to solve it blindly (Debian package "
               "astrometry-data-tycho2-10-19-littleendian)\n",
       true},
      {"no stars", "", black, "",
       "Err : [" + black + "] has no AVM, and no stars were found in it to solve it blindly\n", true},
      {"random dots do not solve", "", starry, "--solve-seconds 2",
       noAvm + "it did not solve blindly within 2 seconds\n", true},
      {"no temporary folder", "TMPDIR=/nonexistent-velmora", starry, "",
       noAvm + "no temporary folder could be made to solve it blindly in\n", true},
      {"solving switched off", "", starry, "--no-solve", "Err : [" + starry + "] has no AVM\n", false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    if (c.needsSolver && !solverInstalled()) continue;
    const auto r = testsupport::run(c.env + " " + program() + " " + quoted(c.image) + " " + c.options +
                                    " --out " + quoted(dir.file("model.obj")));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, c.message);
    EXPECT_EQ(r.out, "");
    EXPECT_FALSE(testsupport::fileExists(dir.file("model.obj")));
    EXPECT_FALSE(testsupport::fileExists(dir.file("model.ppm")));
  }
}

TEST(BlindSolveRefusals, BadSolveOptionsAreRefused) {
  TempDir dir;
  const std::string image = dir.file("any.png");
  const std::string whole = "Err : the solve time must be a whole number of seconds from 1 to 86400, not [";
  const std::string pair =
      "Err : --scale-low and --scale-high go together, the low one not above the high one\n";
  const struct {
    std::string options, message;
  } cases[] = {
      {"--solve-seconds 0", whole + "0]\n"},
      {"--solve-seconds 1.5", whole + "1.5]\n"},
      {"--solve-seconds soon", whole + "soon]\n"},
      {"--solve-seconds 86401", whole + "86401]\n"},
      {"--scale-low -1 --scale-high 3",
       "Err : the image width must be a positive number of degrees, not [-1]\n"},
      {"--scale-high wide", "Err : the image width must be a positive number of degrees, not [wide]\n"},
      {"--scale-low 3", pair},
      {"--scale-high 3", pair},
      {"--scale-low 5 --scale-high 3", pair},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.options);
    const auto r = testsupport::run(program() + " " + quoted(image) + " " + c.options);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, c.message);
  }
  const auto r = testsupport::run(program() + " " + quoted(image) + " --solve-seconds");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("Usage: velmora-place IMAGE", 0), 0u) << r.err;
}

// What solve-field is given: the source list with its columns, the limit, no plots, a fresh
// output, and scale hints only where the user gave them.
TEST(BlindSolveArguments, SolveFieldGetsTheLimitAndTheHintsOnlyWhenGiven) {
  TempDir dir;
  const std::string args = dir.file("args.txt");
  const std::string fake = fakeSolver(dir, "echo \"$@\" > '" + args + "'\nexit 0\n");
  std::vector<unsigned char> rgb(size_t(kW) * kH * 3, 0);
  disc(rgb, kW, kH, 50, 50, 3, kWhite);
  place::SolveOptions options;
  options.program = fake;
  options.config = configWithOneIndex(dir);
  options.cpuSeconds = 7;
  place::Wcs wcs;
  std::string err;
  EXPECT_FALSE(
      place::solveBlindly(place::greyOfRgb(rgb.data(), kW, kH), "[x] has no AVM", options, wcs, err));
  EXPECT_EQ(err, "[x] has no AVM, and it did not solve blindly within 7 seconds");
  std::string got = testsupport::readFile(args);
  for (const std::string& want :
       {std::string("--no-plots --overwrite --cpulimit 7 --dir "), std::string("--config " + options.config),
        std::string("--width 160 --height 120 --x-column X --y-column Y --sort-column FLUX ")})
    EXPECT_NE(got.find(want), std::string::npos) << want << " in " << got;
  EXPECT_EQ(got.find("--scale"), std::string::npos) << got;

  options.scaleLowDeg = 10;
  options.scaleHighDeg = 30.5;
  EXPECT_FALSE(
      place::solveBlindly(place::greyOfRgb(rgb.data(), kW, kH), "[x] has no AVM", options, wcs, err));
  got = testsupport::readFile(args);
  EXPECT_NE(got.find("--scale-units degwidth --scale-low 10 --scale-high 30.5 "), std::string::npos) << got;
}

TEST(BlindSolveArguments, ASolverThatFailsOrHangsIsReportedAndAHangingOneIsKilled) {
  TempDir dir;
  std::vector<unsigned char> rgb(size_t(kW) * kH * 3, 0);
  disc(rgb, kW, kH, 50, 50, 3, kWhite);
  place::SolveOptions options;
  options.config = configWithOneIndex(dir);
  place::Wcs wcs;
  std::string err;

  options.program = fakeSolver(dir, "exit 3\n");
  EXPECT_FALSE(
      place::solveBlindly(place::greyOfRgb(rgb.data(), kW, kH), "[x] has no WCS", options, wcs, err));
  EXPECT_EQ(err, "[x] has no WCS, and solve-field failed on it with status 3");

  const std::string pidFile = dir.file("pid");
  options.program = fakeSolver(dir, "echo $$ > '" + pidFile + "'\nsleep 1000 &\nwait\n");
  options.cpuSeconds = 4;
  options.wallSeconds = 1;
  EXPECT_FALSE(
      place::solveBlindly(place::greyOfRgb(rgb.data(), kW, kH), "[x] has no WCS", options, wcs, err));
  EXPECT_EQ(err, "[x] has no WCS, and it did not solve blindly within 4 seconds");
  const int pid = std::atoi(testsupport::readFile(pidFile).c_str());
  ASSERT_GT(pid, 0);
  EXPECT_NE(kill(pid, 0), 0) << "the stopped solver is still running";
}

TEST(BlindSolveArguments, TheWallLimitStretchesTheProcessorLimit) {
  place::SolveOptions options;
  options.cpuSeconds = 30;
  EXPECT_DOUBLE_EQ(place::solveWallSeconds(options), 80);
  options.wallSeconds = 5;
  EXPECT_DOUBLE_EQ(place::solveWallSeconds(options), 5);
}

}  // namespace
