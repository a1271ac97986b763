// The fit report: stars of the catalogue marked in an image, and how far each lies from where the
// placed model's WCS puts its mark, through velmora-place --fit; the mark list's and the star
// file's refusals word for word.
#include <gtest/gtest.h>
#include <wcs.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "place/fitreport.h"
#include "place/tanwcs.h"
#include "skydata/skymath.h"
#include "tests/place/place_fixtures.h"
#include "tests/support/testutil.h"

namespace {

using testsupport::TempDir;
using placetest::num;
using placetest::program;
using placetest::quoted;
using placetest::str;

constexpr int kW = 400, kH = 300;
constexpr double kDegPerPixel = 0.01;
constexpr double kCentreRa = 84.05, kCentreDec = -1.2;  // Orion's belt
constexpr int kStarSet = 6;
// The belt: Mintaka, Alnilam, Alnitak.
constexpr int kBelt[] = {25930, 26311, 26727};
// One mark set off by this many pixels in x.
constexpr double kShiftPixels = 1.5;

place::TanWcs beltWcs() {
  place::TanWcs t;
  t.crval[0] = kCentreRa;
  t.crval[1] = kCentreDec;
  t.crpix[0] = kW / 2.0 + 0.5;
  t.crpix[1] = kH / 2.0 + 0.5;
  t.cd[0][0] = -kDegPerPixel;
  t.cd[1][1] = kDegPerPixel;
  t.width = kW;
  t.height = kH;
  return t;
}

void beltFits(const std::string& path) {
  const place::TanWcs t = beltWcs();
  placetest::writeFits(path, kW, kH, std::vector<float>(size_t(kW) * kH, 1.0f),
                       {str("CTYPE1", "RA---TAN"), str("CTYPE2", "DEC--TAN"), num("CRVAL1", t.crval[0]),
                        num("CRVAL2", t.crval[1]), num("CRPIX1", t.crpix[0]), num("CRPIX2", t.crpix[1]),
                        num("CDELT1", t.cd[0][0]), num("CDELT2", t.cd[1][1])});
}

// Where the WCS puts a galactic direction, in FITS pixels.
void pixelOf(wcsprm* wcs, const skydata::Vec3& gal, double& x, double& y) {
  double ra = 0, dec = 0;
  skydata::vecToAng(skydata::galacticToEquatorial(gal), ra, dec);
  double world[2] = {ra, dec}, phi = 0, theta = 0, img[2], pix[2];
  int stat = 0;
  wcss2p(wcs, 1, 2, world, &phi, &theta, img, pix, &stat);
  x = pix[0];
  y = pix[1];
}

TEST(PlaceFit, MarksOnTheStarsFitToZeroAndAMarkSetOffShowsItsDistance) {
  VELMORA_REQUIRE_SKY_DATA();
  TempDir dir;
  beltFits(dir.file("belt.fits"));
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("belt.fits")) + " --distance 400").status, 0);
  const std::string stars = testsupport::starSetPath(kStarSet);
  std::vector<place::MarkedStar> marks;
  for (int hip : kBelt) marks.push_back({hip, 0, 0});
  std::vector<place::Vec3> dirs;
  std::string err;
  ASSERT_TRUE(place::markedStarDirections(stars, marks, dirs, err)) << err;
  place::Wcs wcs;
  place::tanToWcs(beltWcs(), wcs);
  std::string list = "# Orion's belt, marked by hand\n\n";
  for (size_t i = 0; i < marks.size(); ++i) {
    pixelOf(wcs.get(), dirs[i], marks[i].x, marks[i].y);
    if (i == 1) marks[i].x += kShiftPixels;
    char line[128];
    std::snprintf(line, sizeof line, "HIP %d %.6f %.6f\n", marks[i].hip, marks[i].x, marks[i].y);
    list += line;
  }
  testsupport::writeFile(dir.file("marks.txt"), list);
  // What the shifted mark is off by, through the image's own WCS.
  double ra = 0, dec = 0;
  ASSERT_TRUE(place::wcsPixelToRaDec(wcs.get(), marks[1].x, marks[1].y, ra, dec));
  const skydata::Vec3 at = skydata::equatorialToGalactic(skydata::angToVec(ra, dec));
  const double off = placetest::angleArcsec(at, dirs[1]);
  EXPECT_NEAR(off, kShiftPixels * kDegPerPixel * kArcsecPerDegree, 0.5);

  const auto r = testsupport::run(program() + " --fit " + quoted(dir.file("marks.txt")) + " " +
                                  quoted(dir.file("belt.obj")) + " --stars " + quoted(stars));
  ASSERT_EQ(r.status, 0) << r.err;
  char want[1024];
  std::snprintf(want, sizeof want,
                "HIP %d at (%.2f, %.2f): 0.00 arcsec\nHIP %d at (%.2f, %.2f): %.2f arcsec\n"
                "HIP %d at (%.2f, %.2f): 0.00 arcsec\n"
                "fit residual over 3 stars: rms %.2f arcsec, largest %.2f arcsec (HIP %d)\n",
                marks[0].hip, marks[0].x, marks[0].y, marks[1].hip, marks[1].x, marks[1].y, off, marks[2].hip,
                marks[2].x, marks[2].y, off / std::sqrt(3.0), off, marks[1].hip);
  EXPECT_EQ(r.out, want);
  EXPECT_EQ(r.err, "");
}

TEST(PlaceFit, BadMarkListsAndStarsAreRefused) {
  VELMORA_REQUIRE_SKY_DATA();
  TempDir dir;
  beltFits(dir.file("belt.fits"));
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("belt.fits"))).status, 0);
  const std::string stars = testsupport::starSetPath(kStarSet);
  const std::string model = quoted(dir.file("belt.obj"));
  const struct {
    const char* name;
    std::string marks;  // the list's text; "" leaves the file away
    std::string err;
  } cases[] = {
      {"no list", "", "Err : cannot open [" + dir.file("marks.txt") + "]\n"},
      {"a word for HIP", "HD 26311 10 20\n",
       "Err : [" + dir.file("marks.txt") + "] line 1: not \"HIP <number> <x> <y>\"\n"},
      {"a position short", "# c\nHIP 26311 10\n",
       "Err : [" + dir.file("marks.txt") + "] line 2: not \"HIP <number> <x> <y>\"\n"},
      {"a word too many", "HIP 26311 10 20 30\n",
       "Err : [" + dir.file("marks.txt") + "] line 1: not \"HIP <number> <x> <y>\"\n"},
      {"no number", "HIP zero 10 20\n",
       "Err : [" + dir.file("marks.txt") + "] line 1: not \"HIP <number> <x> <y>\"\n"},
      {"only comments", "# nothing\n\n", "Err : [" + dir.file("marks.txt") + "] marks no star\n"},
      {"a star not in the set", "HIP 26311 10 20\nHIP 999999 5 5\n",
       "Err : HIP 999999 is not in [" + stars + "]\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.name);
    std::remove(dir.file("marks.txt").c_str());
    if (!c.marks.empty()) testsupport::writeFile(dir.file("marks.txt"), c.marks);
    const auto r = testsupport::run(program() + " --fit " + quoted(dir.file("marks.txt")) + " " + model +
                                    " --stars " + quoted(stars));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(r.out, "");
  }
  testsupport::writeFile(dir.file("marks.txt"), "HIP 26311 10 20\n");
  auto r = testsupport::run(program() + " --fit " + quoted(dir.file("marks.txt")) + " " + model +
                            " --stars " + quoted(dir.file("none.star")));
  EXPECT_EQ(r.err, "Err : cannot open [" + dir.file("none.star") + "]\n");
  r = testsupport::run(program() + " --fit " + quoted(dir.file("marks.txt")) + " " +
                       quoted(dir.file("none.obj")));
  EXPECT_EQ(r.err, "Err : cannot open [" + dir.file("none.obj") + "]\n");
  r = testsupport::run(program() + " --fit " + quoted(dir.file("marks.txt")) + " " + model + " --planets x");
  EXPECT_EQ(r.err.rfind("Usage: velmora-place IMAGE", 0), 0u) << r.err;
}

TEST(PlaceFit, AMarkOutsideTheProjectionIsSaidSoAndLeftOutOfTheSums) {
  const std::vector<place::MarkedStar> marks = {{1, 1, 2}, {2, 3, 4}, {3, 5, 6}};
  EXPECT_EQ(place::fitReport(marks, {1.0, -1, 3.0}),
            "HIP 1 at (1.00, 2.00): 1.00 arcsec\nHIP 2 at (3.00, 4.00): outside the projection\n"
            "HIP 3 at (5.00, 6.00): 3.00 arcsec\n"
            "fit residual over 2 stars: rms 2.24 arcsec, largest 3.00 arcsec (HIP 3)\n");
  EXPECT_EQ(place::fitReport({{7, 0, 0}}, {-1}), "HIP 7 at (0.00, 0.00): outside the projection\n");
}

}  // namespace
