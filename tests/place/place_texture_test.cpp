// The texture of a FITS image: at most kMaxTextureSide on a side, a larger image area-averaged by
// a whole factor, blocks cut short at the edges, not-a-number pixels left out of the means.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>
#include <vector>

#include "place/fitsimage.h"
#include "tests/place/place_fixtures.h"
#include "tests/support/testutil.h"

namespace {

using testsupport::TempDir;

TEST(FitsTexture, TheReductionIsTheSmallestWholeFactorThatFits) {
  const struct {
    long w, h, factor;
  } cases[] = {{1, 1, 1},       {2048, 2048, 1}, {2049, 10, 2}, {10, 2049, 2},
               {4096, 4096, 2}, {4097, 1, 3},    {10, 6145, 4}, {6144, 100, 3}};
  for (const auto& c : cases) EXPECT_EQ(place::textureReduction(c.w, c.h), c.factor) << c.w << " x " << c.h;
}

TEST(FitsTexture, ALargeImageIsAreaAveragedWithItsEdgeBlocksCutShort) {
  // 4100 x 4 pixels of value x: reduced by 3 to 1367 x 2. A full block's mean is 3 bx + 1; the last
  // column's blocks hold x 4098 and 4099 alone (4098.5); the first block of the first band lacks
  // its NaN pixel (x 0 of row 0): (1 + 2 + 0 + 1 + 2 + 0 + 1 + 2) / 8.
  const long w = 4100, h = 4;
  std::vector<float> px(size_t(w * h));
  for (long y = 0; y < h; ++y)
    for (long x = 0; x < w; ++x) px[size_t(y * w + x)] = float(x);
  px[0] = NAN;
  TempDir dir;
  placetest::writeFits(dir.file("wide.fits"), w, h, px);
  skydata::Image t;
  std::string err;
  ASSERT_TRUE(place::readFitsTexture(dir.file("wide.fits"), t, err)) << err;
  ASSERT_EQ(t.width, 1367);
  ASSERT_EQ(t.height, 2);
  std::vector<double> means;
  for (int band = 0; band < 2; ++band)
    for (int bx = 0; bx < 1367; ++bx) means.push_back(bx == 1366 ? 4098.5 : 3.0 * bx + 1);
  means[0] = 9.0 / 8;
  std::vector<double> sorted = means;
  std::sort(sorted.begin(), sorted.end());
  const double lo = sorted[size_t(0.005 * double(sorted.size() - 1))];
  const double hi = sorted[size_t(0.995 * double(sorted.size() - 1))];
  auto grey = [&](double m) { return int(std::clamp((m - lo) * 255.0 / (hi - lo), 0.0, 255.0)); };
  // The texture's top row is the FITS last band.
  const struct {
    int x, row, band;
  } at[] = {{0, 1, 0}, {0, 0, 1}, {40, 1, 0}, {700, 0, 1}, {1365, 1, 0}, {1366, 0, 1}};
  for (const auto& a : at) {
    const int got = t.rgb[3 * (size_t(a.row) * 1367 + size_t(a.x))];
    EXPECT_NEAR(got, grey(means[size_t(a.band) * 1367 + size_t(a.x)]), 1) << a.x << " " << a.row;
    EXPECT_EQ(t.rgb[3 * (size_t(a.row) * 1367 + size_t(a.x)) + 1], got);
  }
}

TEST(FitsTexture, AnImageThatFitsKeepsItsSizeAndABlockWithoutNumbersIsBlack) {
  const long w = 6, h = 3;
  std::vector<float> px(size_t(w * h));
  for (size_t i = 0; i < px.size(); ++i) px[i] = float(i);
  px[5] = NAN;
  TempDir dir;
  placetest::writeFits(dir.file("small.fits"), w, h, px);
  skydata::Image t;
  std::string err;
  ASSERT_TRUE(place::readFitsTexture(dir.file("small.fits"), t, err)) << err;
  EXPECT_EQ(t.width, 6);
  EXPECT_EQ(t.height, 3);
  EXPECT_EQ(t.rgb[3 * (2 * 6 + 5)], 0);  // FITS pixel (6, 1) is the texture's bottom row
  EXPECT_EQ(t.rgb[3 * 5], 255);          // the largest value, top right
}

}  // namespace
