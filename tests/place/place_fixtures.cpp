// What the image-placing tests share: the program, FITS images, angles in arc seconds.
#include "tests/place/place_fixtures.h"

#include <fitsio.h>
#include <gtest/gtest.h>

#include "coords/constants.h"
#include "tests/support/testutil.h"

namespace placetest {

std::string program() {
  return testsupport::binaryDir() + "/velmora-place";
}

std::string quoted(const std::string& s) {
  return "'" + s + "'";
}

double angleArcsec(const skydata::Vec3& a, const skydata::Vec3& b) {
  return skydata::angleBetween(a, b) * kDegreesPerRadian * kArcsecPerDegree;
}

Card num(const std::string& k, double v) {
  return {k, "", v, false};
}

Card str(const std::string& k, const std::string& v) {
  return {k, v, 0, true};
}

void writeFits(const std::string& path, long w, long h, const std::vector<float>& px,
               const std::vector<Card>& cards) {
  fitsfile* f = nullptr;
  int status = 0;
  long axes[2] = {w, h};
  fits_create_file(&f, ("!" + path).c_str(), &status);
  fits_create_img(f, FLOAT_IMG, 2, axes, &status);
  for (const Card& c : cards) {
    if (c.isText)
      fits_update_key_str(f, c.key.c_str(), c.text.c_str(), nullptr, &status);
    else
      fits_update_key_dbl(f, c.key.c_str(), c.number, -15, nullptr, &status);
  }
  fits_write_img(f, TFLOAT, 1, LONGLONG(px.size()), const_cast<float*>(px.data()), &status);
  fits_close_file(f, &status);
  ASSERT_EQ(status, 0) << path;
}

void makeFits(const std::string& path, int w, int h, const std::vector<Card>& cards) {
  std::vector<float> px(size_t(w) * h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) px[size_t(y) * w + x] = float(x + 2 * y);
  writeFits(path, w, h, px, cards);
}

}  // namespace placetest
