// Inputs the fuzz targets of the image readers found, each kept here byte for byte with what the
// reader must do with it now.
//
// An SGI header of no columns, 65535 rows and 316 planes: the image has no pixels, yet every row
// of four planes was sought and read, a quarter of a million seeks for a file of 170 bytes. Now no
// row is read.
//
// A verbatim header of 15 bytes claiming 3 columns, 65280 rows and 3 planes: short of its pixels
// by less than the reader allows, so it is read with its missing rows black; each of its 195840
// rows was sought and read past the file's end. Now rows that begin past the end are passed over
// (the image is black as before). The seeks are counted by a stand-in for fseek in this program, which passes each
// call on to the C library's.
#include <gtest/gtest.h>
#include <dlfcn.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include "fileio/sgi.h"
#include "tests/support/testutil.h"

namespace {

long seeks = 0;

// The bytes the texture target found (its header: magic "P5", type 0xa323, which is verbatim,
// dim 0x2001, xsize 0, ysize 65535, zsize 316), then the rest of the fuzzed file.
const unsigned char kNoColumns[] = {
    0x50, 0x35, 0xa3, 0x23, 0x20, 0x01, 0x00, 0x00, 0xff, 0xff, 0x01, 0x3c,
    0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x00, 0x00, 0x08,
    0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08,
    0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x28, 0x08, 0x08, 0x08, 0x08, 0x08,
    0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08,
    0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08,
    0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08,
    0x08, 0x08, 0x08, 0x28, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08,
    0x08, 0x08, 0x08, 0x08, 0x09, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08,
    0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08,
    0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08,
    0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x08, 0x00, 0x00, 0x00, 0x03,
    0xfd, 0x65, 0x72, 0x79, 0x67, 0x20, 0x20, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00, 0xd6, 0x03, 0xfd, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00, 0x00,
    0x00, 0x00,
};

// The second finding: magic, type 0x0000 (verbatim), dim 3, xsize 3, ysize 65280, zsize 3, and
// one byte more.
const unsigned char kPastTheEnd[] = {0x50, 0x01, 0x00, 0x00, 0x00, 0x00, 0x00, 0x03,
                                     0xff, 0x00, 0x00, 0x03, 0x65, 0x00, 0x04};
constexpr int kShortColumns = 3;
constexpr int kShortRows = 65280;
constexpr int kShortPlanes = 3;

constexpr int kRows = 65535;
constexpr int kPlanes = 316;
// ImageOpen and the container check may seek a few times; a row read is one seek more each.
constexpr long kSeeksOfTheHeader = 8;

}  // namespace

extern "C" int fseek(FILE* stream, long offset, int whence) {
  using Real = int (*)(FILE*, long, int);
  static Real real = reinterpret_cast<Real>(dlsym(RTLD_NEXT, "fseek"));
  seeks++;
  return real(stream, offset, whence);
}

TEST(SgiFuzzFindings, AnImageWithoutColumnsIsReadWithoutSeekingItsRows) {
  testsupport::TempDir dir;
  const std::string path = dir.file("no-columns.sgi");
  testsupport::writeFile(path, std::string(reinterpret_cast<const char*>(kNoColumns), sizeof kNoColumns));
  for (auto reader : {read_sgi, read_texture}) {
    int width = -1, height = -1, channels = -1;
    seeks = 0;
    unsigned char* pixels = reader(path.c_str(), &width, &height, &channels);
    ASSERT_NE(pixels, nullptr);
    EXPECT_EQ(width, 0);
    EXPECT_EQ(height, kRows);
    EXPECT_EQ(channels, kPlanes);
    EXPECT_LE(seeks, kSeeksOfTheHeader);
    ptrSGIFree(pixels);
  }
}

TEST(SgiFuzzFindings, RowsPastTheEndOfAShortFileAreBlackWithoutBeingSought) {
  testsupport::TempDir dir;
  const std::string path = dir.file("past-the-end.sgi");
  testsupport::writeFile(path, std::string(reinterpret_cast<const char*>(kPastTheEnd), sizeof kPastTheEnd));
  int width = -1, height = -1, channels = -1;
  seeks = 0;
  unsigned char* pixels = read_sgi(path.c_str(), &width, &height, &channels);
  ASSERT_NE(pixels, nullptr);
  EXPECT_EQ(width, kShortColumns);
  EXPECT_EQ(height, kShortRows);
  EXPECT_EQ(channels, kShortPlanes);
  EXPECT_LE(seeks, kSeeksOfTheHeader);
  const size_t bytes = static_cast<size_t>(kShortColumns) * kShortRows * kShortPlanes;
  size_t lit = 0;
  for (size_t i = 0; i < bytes; i++) lit += pixels[i] != 0;
  EXPECT_EQ(lit, 0u);
  ptrSGIFree(pixels);
}
