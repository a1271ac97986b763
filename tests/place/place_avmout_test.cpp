// velmora-place --avm-out: the AVM sidecar alone, fitted to a placed quad, read back to the same
// corners; and its refusals word for word.
#include <gtest/gtest.h>

#include <cmath>
#include <regex>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "place/avm.h"
#include "place/placeimage.h"
#include "skydata/skymath.h"
#include "tests/place/place_fixtures.h"
#include "tests/support/testutil.h"

namespace {

using testsupport::TempDir;
using placetest::angleArcsec;
using placetest::num;
using placetest::program;
using placetest::quoted;
using placetest::str;

constexpr int kW = 90, kH = 60;
// The corners read back agree to this, in arcseconds.
constexpr double kAgreeArcsec = 0.01;

// A FITS image with a TAN WCS near M51, turned by 20 degrees.
void tanFits(const std::string& path) {
  const double s = 0.004, a = 20.0 * kRadiansPerDegree;
  placetest::writeFits(path, kW, kH, std::vector<float>(size_t(kW) * kH, 1.0f),
                       {str("CTYPE1", "RA---TAN"), str("CTYPE2", "DEC--TAN"), num("CRVAL1", 202.4696),
                        num("CRVAL2", 47.1952), num("CRPIX1", 30.5), num("CRPIX2", 20.25),
                        num("CD1_1", -s * std::cos(a)), num("CD1_2", s * std::sin(a)),
                        num("CD2_1", s * std::sin(a)), num("CD2_2", s * std::cos(a))});
}

TEST(PlaceAvmOut, TheSidecarAloneGivesTheCornersOfThePlacedQuad) {
  TempDir dir;
  tanFits(dir.file("m51.fits"));
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("m51.fits")) + " --distance 3").status, 0);
  const auto r = testsupport::run(program() + " --avm-out " + quoted(dir.file("m51.xmp")) + " " +
                                  quoted(dir.file("m51.obj")));
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  const std::regex said(
      "wrote the AVM of \\[" + dir.file("m51.obj") + "\\] to \\[" + dir.file("m51.xmp") +
      "\\]\nfit residual: 0\\.0000 arcsec at the corners, [0-9]+\\.[0-9]{4} arcsec inside the quad\n");
  EXPECT_TRUE(std::regex_match(r.out, said)) << r.out;
  EXPECT_FALSE(testsupport::fileExists(dir.file("m51.fits.xmp")));

  place::SkyQuad want, got;
  std::string err;
  ASSERT_TRUE(place::locateImage(dir.file("m51.fits"), want, nullptr, err)) << err;
  place::Wcs wcs;
  ASSERT_TRUE(place::readAvmPacket(testsupport::readFile(dir.file("m51.xmp")), "m51.xmp", kW, kH, wcs, err))
      << err;
  ASSERT_TRUE(place::wcsCorners(wcs.get(), "m51.xmp", kW, kH, got, err)) << err;
  for (int i = 0; i < skydata::kQuadCorners; ++i)
    EXPECT_LT(angleArcsec(got.corners[i], want.corners[i]), kAgreeArcsec) << "corner " << i;
}

TEST(PlaceAvmOut, BadUsesAreRefused) {
  TempDir dir;
  const struct {
    std::string args, errStart;
  } cases[] = {
      {"--avm-out " + quoted(dir.file("a.xmp")), "Usage: velmora-place IMAGE"},
      {"--avm-out " + quoted(dir.file("a.xmp")) + " a.obj b.obj", "Usage: velmora-place IMAGE"},
      {"--avm-out " + quoted(dir.file("a.xmp")) + " " + quoted(dir.file("none.obj")),
       "Err : cannot open [" + dir.file("none.obj") + "]\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const auto r = testsupport::run(program() + " " + c.args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err.substr(0, c.errStart.size()), c.errStart);
    if (c.errStart.rfind("Err", 0) == 0) {
      EXPECT_EQ(r.err, c.errStart);
    }
    EXPECT_FALSE(testsupport::fileExists(dir.file("a.xmp")));
  }
}

}  // namespace
