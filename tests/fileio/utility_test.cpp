// Image and array utilities that need no window.
#include "fileio/utility.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

// Every allocation of the utilities fails while it lives.
struct NullAllocator {
  testsupport::FailAllocScope always{0};
  NullAllocator() { setAllocFunc_UTL(testsupport::failingAlloc, free); }
  ~NullAllocator() { setAllocFunc_UTL(malloc, free); }
};

std::string bytes(const unsigned char* p, size_t n) {
  return std::string(reinterpret_cast<const char*>(p), n);
}

}  // namespace

TEST(Utility, BinSearch) {
  int a[] = {1, 3, 5, 7};
  EXPECT_EQ(binSearch(a, 4, 5), 2);
  EXPECT_EQ(binSearch(a, 4, 4), 2);
  EXPECT_EQ(binSearch(a, 4, 0), 0);
  EXPECT_EQ(binSearch(a, 4, 8), -1);
  EXPECT_EQ(binSearch(a, 4, 1), 0);
  EXPECT_EQ(binSearch(a, 4, 7), 3);
  EXPECT_EQ(binSearch(a, 4, 6), 3);
  EXPECT_EQ(binSearch(a, 0, 6), -1);
}

TEST(Utility, BinSearchLongArrayGivesTheFirstElementNotBelowTheKey) {
  std::vector<int> a;
  for (int i = 0; i < 1000; i++) a.push_back(i * 3);
  for (int key = -2; key <= 3000; key++) {
    int want = key > a.back() ? -1 : static_cast<int>(std::lower_bound(a.begin(), a.end(), key) - a.begin());
    int got = binSearch(a.data(), 1000, key);
    // An exact hit may come back at the element itself; otherwise the first one above.
    EXPECT_EQ(got, want) << key;
  }
}

TEST(Utility, ExtractSubImageWithNegativeXLandsAtTheCorner) {
  // 4 x 2, one component: row 0 "abcd", row 1 "efgh".
  unsigned char img[] = {'a', 'b', 'c', 'd', 'e', 'f', 'g', 'h'};
  unsigned char* sub = extractSubImage(img, 4, 2, 1, -2, 0, 4, 2);
  ASSERT_NE(sub, nullptr);
  EXPECT_EQ(bytes(sub, 8), std::string("ab\0\0ef\0\0", 8));
  free(sub);
  sub = extractSubImage(img, 4, 2, 1, 1, 1, 2, 1);
  EXPECT_EQ(bytes(sub, 2), "fg");
  free(sub);
  // Entirely outside: the zeroed sub-image.
  sub = extractSubImage(img, 4, 2, 1, 10, 0, 2, 2);
  EXPECT_EQ(bytes(sub, 4), std::string(4, '\0'));
  free(sub);
  NullAllocator na;
  EXPECT_EQ(extractSubImage(img, 4, 2, 1, 0, 0, 2, 2), nullptr);
}

TEST(Utility, ExtractSubImageOfThreeComponents) {
  unsigned char img[2 * 2 * 3];
  for (int i = 0; i < 12; i++) img[i] = static_cast<unsigned char>(i);
  unsigned char* sub = extractSubImage(img, 2, 2, 3, 1, 0, 1, 2);
  EXPECT_EQ(bytes(sub, 6), bytes((const unsigned char*)"\3\4\5\x09\x0a\x0b", 6));
  free(sub);
}

TEST(Utility, PasteSubImageKeepsTheOffsetAndClips) {
  unsigned char img[4 * 3];
  memset(img, '.', sizeof img);
  unsigned char sub[] = {'A', 'B', 'C', 'D'};  // 2 x 2
  pasteSubImage(img, 4, 3, 1, sub, 2, 2, 3, 2);
  EXPECT_EQ(bytes(img, 12), "...........A");
  memset(img, '.', sizeof img);
  pasteSubImage(img, 4, 3, 1, sub, 2, 2, -1, -1);
  EXPECT_EQ(bytes(img, 12), "D...........");
  memset(img, '.', sizeof img);
  pasteSubImage(img, 4, 3, 1, sub, 2, 2, 1, 0);
  EXPECT_EQ(bytes(img, 12), ".AB..CD.....");
  pasteSubImage(img, 4, 3, 1, sub, 2, 2, 9, 9);  // nothing left after clipping
  EXPECT_EQ(bytes(img, 12), ".AB..CD.....");
}

TEST(Utility, ClampWithMinAboveMaxLeavesTheArray) {
  float f[] = {-5, 0.5f, 5};
  clampFloat(f, 3, 1, 0);
  EXPECT_EQ(f[0], -5);
  EXPECT_EQ(f[2], 5);
  clampFloat(f, 3, 0, 1);
  EXPECT_EQ(f[0], 0);
  EXPECT_EQ(f[1], 0.5f);
  EXPECT_EQ(f[2], 1);
  double d[] = {-5, 5};
  clampDouble(d, 2, 3, 2);
  EXPECT_EQ(d[0], -5);
  clampDouble(d, 2, -1, 1);
  EXPECT_EQ(d[0], -1);
  EXPECT_EQ(d[1], 1);
}

TEST(Utility, FloatToImage) {
  float f[] = {0, 1, 2, 100};
  unsigned char* img = floatToImage(f, 4, 50);
  ASSERT_NE(img, nullptr);
  EXPECT_EQ(img[0], 0);
  EXPECT_EQ(img[1], 127);  // 0.5 * 254 + 0.5
  EXPECT_EQ(img[2], 254);
  EXPECT_EQ(img[3], 255);  // above the cut: background
  free(img);
  double d[] = {-1, 1, 7};
  img = doubleToImage(d, 3, 5);
  EXPECT_EQ(img[0], 0);
  EXPECT_EQ(img[1], 254);
  EXPECT_EQ(img[2], 255);
  free(img);
}

TEST(Utility, FloatToImageScalesInSinglePrecision) {
  // The ratio is a float: 155, where the same values scaled in double precision give 154.
  float f[] = {0x1.f52492p+6f, 0x1.9c5faap+9f, 0x1.3ecd6ep+10f};
  unsigned char* img = floatToImage(f, 3, 2000);
  ASSERT_NE(img, nullptr);
  EXPECT_EQ(img[0], 0);
  EXPECT_EQ(img[1], 155);
  EXPECT_EQ(img[2], 254);
  free(img);
  double d[] = {0x1.f52492p+6, 0x1.9c5faap+9, 0x1.3ecd6ep+10};
  img = doubleToImage(d, 3, 2000);
  ASSERT_NE(img, nullptr);
  EXPECT_EQ(img[1], 154);
  free(img);
}

TEST(Utility, FloatToImageOfEqualValuesDividesByZero) {
  // max == min: (v - min) / 0 is NaN, unguarded; it comes out as 0. Values above the cut
  // still become 255.
  float f[] = {3, 3, 3, 9};
  unsigned char* img = floatToImage(f, 4, 5);
  ASSERT_NE(img, nullptr);
  EXPECT_EQ(bytes(img, 4), std::string("\0\0\0\xff", 4));
  float min, max;
  findMinMaxFloat(f, 3, &min, &max);
  EXPECT_TRUE(std::isnan((f[0] - min) / (max - min) * 254));
  free(img);
}

TEST(Utility, AllocationFailureMessages) {
  NullAllocator na;
  float f[] = {1, 2};
  double d[] = {1, 2};
  CaptureStderr();
  EXPECT_EQ(floatToImage(f, 2, 10), nullptr);
  EXPECT_EQ(doubleToImage(d, 2, 10), nullptr);
  EXPECT_EQ(floatToDouble(f, 2), nullptr);
  EXPECT_EQ(GetCapturedStderr(),
            "floatToImage : Not enough memory to allocate for dataOut!\n\n"
            "doubleToImage : Not enough memory to allocate for dataOut!\n\n"
            "floatToDouble : Not enough memory to allocate for dataOut!\n\n");
}

TEST(UtilityDeath, UpsidedownWithoutMemoryEndsTheProcess) {
  unsigned char img[6] = {1, 2, 3, 4, 5, 6};
  float depth[2] = {1, 2};
  EXPECT_EXIT(
      {
        testsupport::failAllocAfter(0);
        setAllocFunc_UTL(testsupport::failingAlloc, free);
        upsidedownImage(img, 1, 2);
      },
      testing::ExitedWithCode(1), "^upsidedownImage : Not enough memory to allocate for buf!\n\n$");
  EXPECT_EXIT(
      {
        testsupport::failAllocAfter(0);
        setAllocFunc_UTL(testsupport::failingAlloc, free);
        upsidedownDepth(depth, 1, 2);
      },
      testing::ExitedWithCode(1), "^upsidedownDepth : Not enough memory to allocate for buf!\n\n$");
}

TEST(Utility, Upsidedown) {
  unsigned char img[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};  // 1 x 3
  upsidedownImage(img, 1, 3);
  EXPECT_EQ(bytes(img, 9), bytes((const unsigned char*)"\7\x08\x09\4\5\6\1\2\3", 9));
  float d[4] = {1, 2, 3, 4};  // 2 x 2
  upsidedownDepth(d, 2, 2);
  EXPECT_EQ(d[0], 3);
  EXPECT_EQ(d[1], 4);
  EXPECT_EQ(d[2], 1);
  EXPECT_EQ(d[3], 2);
}

TEST(Utility, VhLimitObjSphereFromInsideGivesTheExitPoint) {
  double pos[3] = {0.5, 0, 0}, dir[3] = {0, 1, 0}, out[3];
  ASSERT_EQ(vhLimitObjSphere(pos, dir, 1.0, out), 1);
  EXPECT_DOUBLE_EQ(out[0], 0.5);
  EXPECT_NEAR(out[1], sqrt(0.75), 1e-12);
  EXPECT_DOUBLE_EQ(out[2], 0);
  EXPECT_NEAR(out[0] * out[0] + out[1] * out[1], 1.0, 1e-12);
  double far[3] = {0, 5, 0}, along[3] = {1, 0, 0};
  EXPECT_EQ(vhLimitObjSphere(far, along, 1.0, out), 0);
  // A direction of length 2: t is multiplied by a = 4, not divided.
  double two[3] = {2, 0, 0}, origin[3] = {0, 0, 0};
  ASSERT_EQ(vhLimitObjSphere(origin, two, 1.0, out), 1);
  // disc = 16, b = 0: t = 4 / 2 * 4 = 8, so the point is at x = 16.
  EXPECT_DOUBLE_EQ(out[0], 16);
}

TEST(Utility, FindMinMaxAndSecondMax) {
  float f[] = {3, -2, 8, 1};
  float mn, mx;
  findMinMaxFloat(f, 4, &mn, &mx);
  EXPECT_EQ(mn, -2);
  EXPECT_EQ(mx, 8);
  findMinMaxFloat(f, 0, &mn, &mx);
  EXPECT_EQ(mn, FLT_MAX);
  EXPECT_EQ(mx, -FLT_MAX);
  double d[] = {3, -2};
  double dn, dx;
  findMinMaxDouble(d, 2, &dn, &dx);
  EXPECT_EQ(dn, -2);
  EXPECT_EQ(dx, 3);
  float a[] = {1, 2, 1};
  EXPECT_EQ(findSecondMaxFloat(a, 3), 1);
  float b[] = {1, 2};
  EXPECT_EQ(findSecondMaxFloat(b, 2), -FLT_MAX);
  double c[] = {1, 2, 1};
  EXPECT_EQ(findSecondMaxDouble(c, 3), 1);
  double e[] = {1, 2};
  EXPECT_EQ(findSecondMaxDouble(e, 2), -DBL_MAX);
  float g[] = {5, 1, 4, 9, 7};
  EXPECT_EQ(findSecondMaxFloat(g, 5), 7);
}

TEST(Utility, FloatToDoubleAndNormalize) {
  float f[] = {1.5f, -2};
  double* d = floatToDouble(f, 2);
  EXPECT_EQ(d[0], 1.5);
  EXPECT_EQ(d[1], -2);
  free(d);
  float n[] = {2, 4, 6};
  normalizeFloat(n, 3);
  EXPECT_EQ(n[0], 0);
  EXPECT_EQ(n[1], 0.5f);
  EXPECT_EQ(n[2], 1);
  double m[] = {-1, 1};
  normalizeDouble(m, 2);
  EXPECT_EQ(m[0], 0);
  EXPECT_EQ(m[1], 1);
}

TEST(Utility, ColorRatioIsTheBlueMeanOnly) {
  unsigned char rgb[] = {255, 0, 0, 255, 0, 255};
  EXPECT_DOUBLE_EQ(colorRatio(rgb, 2), 0.5);
  unsigned char red[] = {255, 0, 0};
  EXPECT_DOUBLE_EQ(colorRatio(red, 1), 0.0);
}

TEST(Utility, CountData) {
  unsigned char d[] = {1, 2, 1, 1, 0};
  EXPECT_EQ(countData(d, 5, 1), 3);
  EXPECT_EQ(countData(d, 5, 9), 0);
}

TEST(Utility, PrintMat4WritesStorageOrder) {
  double m[16];
  for (int i = 0; i < 16; i++) m[i] = i;
  CaptureStdout();
  printMat4(m);
  EXPECT_EQ(GetCapturedStdout(),
            "0.000000 1.000000 2.000000 3.000000\n4.000000 5.000000 6.000000 7.000000\n"
            "8.000000 9.000000 10.000000 11.000000\n12.000000 13.000000 14.000000 15.000000\n");
}

TEST(Utility, DiffRmsAndSnr) {
  unsigned char a[] = {10, 200, 0, 100};
  unsigned char b[] = {20, 150, 0, 100};
  unsigned char* d = diffImgs(a, b, 2, 1, 2);
  ASSERT_NE(d, nullptr);
  EXPECT_EQ(bytes(d, 4), bytes((const unsigned char*)"\x0a\x32\0\0", 4));
  free(d);
  double out[2];
  ASSERT_EQ(rmsImgs(a, b, 2, 1, 2, out, 0.0), 1);
  // Channel 0: (100 + 0) / 2; channel 1: (2500 + 0) / 2.
  EXPECT_DOUBLE_EQ(out[0], sqrt(50.0));
  EXPECT_DOUBLE_EQ(out[1], sqrt(1250.0));
  // Threshold 0.1: t = 25; the pair (10, 20) and (0, 0) are skipped, the division is still by 2.
  ASSERT_EQ(rmsImgs(a, b, 2, 1, 2, out, 0.1), 1);
  EXPECT_DOUBLE_EQ(out[0], 0.0);
  EXPECT_DOUBLE_EQ(out[1], sqrt(1250.0));
  ASSERT_EQ(snrrmsImgs(a, b, 2, 1, 2, out, 0.1), 1);
  EXPECT_DOUBLE_EQ(out[1], (40000.0 + 10000.0) / 2500.0);  // no root
  EXPECT_TRUE(std::isnan(out[0]));                         // 0 / 0: nothing counted
}

TEST(Utility, ImageComparisonMessages) {
  unsigned char a[4] = {0}, b[4] = {0};
  double out[4];
  CaptureStderr();
  EXPECT_EQ(rmsImgs(nullptr, b, 1, 1, 1, out, 0), -1);
  EXPECT_EQ(rmsImgs(a, b, 1, 1, 1, nullptr, 0), -1);
  EXPECT_EQ(rmsImgs(a, b, 1, 1, 5, out, 0), -1);
  EXPECT_EQ(rmsImgs(a, b, 0, 1, 1, out, 0), -1);
  EXPECT_EQ(snrrmsImgs(a, nullptr, 1, 1, 1, out, 0), -1);
  EXPECT_EQ(snrrmsImgs(a, b, 1, -1, 1, out, 0), -1);
  EXPECT_EQ(diffImgs(nullptr, b, 1, 1, 1), nullptr);
  EXPECT_EQ(diffImgs(a, b, 1, 1, 0), nullptr);
  EXPECT_EQ(GetCapturedStderr(),
            "Err (rmsImgs): <NULL> input encountered.\n"
            "Err (rmsImgs): <NULL> input encountered.\n"
            "Err (rmsImgs): with imgW, imgH, or imgComp.\n"
            "Err (rmsImgs): with imgW, imgH, or imgComp.\n"
            "Err (rmsImgs): <NULL> input encountered.\n"
            "Err (rmsImgs): with imgW, imgH, or imgComp.\n"
            "Err (rmsImgs): <NULL> input encountered.\n"
            "Err (rmsImgs): with imgW, imgH, or imgComp.\n");
  // diffImgs takes more than four components.
  unsigned char* d = diffImgs(a, b, 1, 1, 4);
  EXPECT_NE(d, nullptr);
  free(d);
  NullAllocator na;
  CaptureStderr();
  EXPECT_EQ(diffImgs(a, b, 1, 1, 1), nullptr);
  EXPECT_EQ(GetCapturedStderr(), "Err (rmsImgs): cannot allocate memory to imgDiff.\n");
}

TEST(Utility, ExtractPath) {
  char p[512] = "data/stardata/halvane.txt";
  extractPath(p);
  EXPECT_STREQ(p, "data/stardata/");
  char q[512] = "halvane.txt";
  extractPath(q);
  EXPECT_STREQ(q, "");
}

TEST(Utility, SpanReorderAndWindowIntersect) {
  int s[2] = {5, 2};
  SpanReorder(s);
  EXPECT_EQ(s[0], 2);
  EXPECT_EQ(s[1], 5);
  SpanReorder(s);
  EXPECT_EQ(s[0], 2);
  int a[2] = {0, 10}, b[2] = {0, 4}, c[2] = {5, 20}, d[2] = {6, 8}, o1[2], o2[2];
  WindowIntersect(a, b, c, d, o1, o2);
  EXPECT_EQ(o1[0], 5);
  EXPECT_EQ(o1[1], 10);
  // b and d don't overlap: the start lies above the end.
  EXPECT_EQ(o2[0], 6);
  EXPECT_EQ(o2[1], 4);
}

TEST(Utility, GetFileSizeIsTheCommonOne) {
  testsupport::TempDir dir;
  testsupport::writeFile(dir.file("f"), "12345");
  FILE* f = fopen(dir.file("f").c_str(), "rb");
  fgetc(f);
  EXPECT_EQ(getFileSize(f), 5);
  EXPECT_EQ(ftell(f), 1);
  fclose(f);
}
