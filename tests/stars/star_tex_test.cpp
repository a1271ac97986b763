// Star textures without a window: the Airy, Gauss and FFT profiles against their closed forms,
// file textures from real and damaged files, the half-light radius, the alpha mask, the blur,
// nearPower2, the setters and every message.
#include "stars/star_tex.h"

#include <gtest/gtest.h>

#include <GL/gl.h>

#include <algorithm>
#include <cmath>
#include <complex>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "stars/fft.h"
#include "stars/star.h"
#include "tests/stars/tex_fixtures.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using testsupport::TempDir;
using testsupport::writeFile;

namespace {

constexpr int N = kStarTexSide;

// Pixel (column x, row y) of a 64 x 64 texture.
const unsigned char* px(const unsigned char* t, int x, int y) {
  return t + (y * N + x) * 4;
}

unsigned char truncByte(double v) {
  if (!(v > 0)) return 0;
  if (v >= 255) return 255;
  return (unsigned char)(int)v;
}

// Frees a texture with the list's own release.
struct Tex {
  StarList& list;
  unsigned char* data;
  ~Tex() {
    if (data) list.freeFunc(data);
  }
};

// ---------------------------------------------------------------------------------------------
// airy

TEST(Airy, CentreIsTheFiniteLimitAndNegativeAnglesCountAsTheSmallest) {
  const double d = 0.1, lambda = 5e-7;
  double q = d / lambda;
  double centre = kPi * q * q / 4;  // J1(t)/t -> 1/2
  EXPECT_NEAR(airy(0.0, d, lambda), centre, centre * 1e-12);
  EXPECT_TRUE(std::isfinite(airy(0.0, d, lambda)));
  EXPECT_EQ(airy(-1e-3, d, lambda), airy(1e-12, d, lambda));
  EXPECT_EQ(airy(-5.0, d, lambda), airy(0.0, d, lambda));
  EXPECT_EQ(airy(1e-13, d, lambda), airy(1e-12, d, lambda));
}

TEST(Airy, MatchesTheBesselClosedForm) {
  const double d = 0.1, lambda = 4.35e-7;
  double q = d / lambda;
  // J1(1), J1(2) and the first zero of J1, to sixteen digits.
  const double j1of1 = 0.4400505857449335, j1of2 = 0.5767248077568734, firstZero = 3.8317059702075125;
  double at1 = kPi * q * q * j1of1 * j1of1;
  double at2 = kPi * q * q * (j1of2 / 2) * (j1of2 / 2);
  EXPECT_NEAR(airy(1.0 / (kPi * q), d, lambda), at1, at1 * 1e-12);
  EXPECT_NEAR(airy(2.0 / (kPi * q), d, lambda), at2, at2 * 1e-12);
  // The first dark ring, at 1.22 lambda / D.
  EXPECT_LT(airy(firstZero / (kPi * q), d, lambda), airy(0, d, lambda) * 1e-20);
  EXPECT_NEAR(firstZero / (kPi * q), 1.21966989 * lambda / d, 1e-14);
  // A negative angle is no mirror image: it counts as the centre.
  EXPECT_EQ(airy(-2e-6, d, lambda), airy(0, d, lambda));
}

// ---------------------------------------------------------------------------------------------
// Computed textures

TEST(AiryTexture, PeakIs255AtRow32Column32AndBlueIsTheBrightest) {
  StarList list;
  int w = 0, h = 0;
  Tex t{list, list.initAiryTexture(&w, &h, 1.0f, 1.0f, 0.1f)};
  ASSERT_NE(t.data, nullptr);
  EXPECT_EQ(w, 64);
  EXPECT_EQ(h, 64);
  const unsigned char* c = px(t.data, 32, 32);
  // The peak grows with (D / lambda)^2: red and green are (435/650)^2 and (435/542.5)^2 of blue.
  EXPECT_EQ(c[2], 255);
  EXPECT_EQ(c[0], 114);
  EXPECT_EQ(c[1], 163);
  EXPECT_EQ(c[3], (114 + 163 + 255) / 3);
  for (int y = 0; y < N; y++)
    for (int x = 0; x < N; x++)
      if (x != 32 || y != 32) {
        EXPECT_LT(px(t.data, x, y)[2], 255) << x << "," << y;
      }
}

TEST(AiryTexture, EveryPixelFollowsTheProfile) {
  struct Case {
    float size, cutoff, diam;
  };
  const Case cases[] = {{1.0f, 1.0f, 0.1f}, {0.0f, 1.0f, 0.1f}, {0.5f, 0.3f, 0.2f}, {0.2f, 0.05f, 0.05f}};
  const double wavelengths[3] = {6.5e-07, 5.425e-07, 4.35e-07};
  for (const auto& k : cases) {
    StarList list;
    int w, h;
    Tex t{list, list.initAiryTexture(&w, &h, k.size, k.cutoff, k.diam)};
    std::vector<double> v(N * N * 3);
    double largest = 0;
    for (int y = 0; y < N; y++)
      for (int x = 0; x < N; x++) {
        float dx = (float)(x - 32), dy = (float)(y - 32);
        double angle = sqrt((double)(dx * dx + dy * dy)) / 32 * 3e-6 * (2.0 * k.size + 1.0);
        for (int c = 0; c < 3; c++) {
          v[(y * N + x) * 3 + c] = airy(angle, k.diam, wavelengths[c]);
          largest = std::max(largest, v[(y * N + x) * 3 + c]);
        }
      }
    int differ = 0;
    for (int p = 0; p < N * N; p++) {
      int sum = 0;
      for (int c = 0; c < 3; c++) {
        double r = v[p * 3 + c] / largest;
        unsigned char b = truncByte(r > k.cutoff ? 255.0 : r / k.cutoff * 255.0);
        sum += b;
        if (t.data[p * 4 + c] != b) differ++;
      }
      if (t.data[p * 4 + 3] != sum / 3) differ++;
    }
    EXPECT_EQ(differ, 0) << "size " << k.size << " cutoff " << k.cutoff;
  }
}

TEST(AiryTexture, SizeWidensTheSpanAndCutoffSaturatesTheCore) {
  StarList list;
  int w, h;
  // At size 1 the half-width spans 9 microradians: blue's first dark ring (5.31 urad) lies at
  // 18.9 pixels; at size 0 (3 urad) beyond the edge.
  Tex wide{list, list.initAiryTexture(&w, &h, 1.0f, 1.0f, 0.1f)};
  Tex narrow{list, list.initAiryTexture(&w, &h, 0.0f, 1.0f, 0.1f)};
  EXPECT_EQ(px(wide.data, 51, 32)[2], 0);
  EXPECT_EQ(px(wide.data, 32, 13)[2], 0);
  EXPECT_GT(px(wide.data, 42, 32)[2], 60);
  EXPECT_GT(px(narrow.data, 51, 32)[2], 0);
  for (int d = 1; d < 18; d++) EXPECT_LE(px(narrow.data, 32 + d, 32)[2], px(narrow.data, 31 + d, 32)[2]);
  // Symmetric about the centre pixel.
  for (int d = 1; d < 32; d++) {
    EXPECT_EQ(px(wide.data, 32 + d, 32)[0], px(wide.data, 32 - d, 32)[0]);
    EXPECT_EQ(px(wide.data, 32, 32 + d)[1], px(wide.data, 32, 32 - d)[1]);
  }
  Tex bright{list, list.initAiryTexture(&w, &h, 1.0f, 0.25f, 0.1f)};
  // Everything above a quarter of the peak saturates: the centre's three channels all.
  const unsigned char* c = px(bright.data, 32, 32);
  EXPECT_EQ(c[0], 255);
  EXPECT_EQ(c[1], 255);
  EXPECT_EQ(c[2], 255);
  EXPECT_EQ(c[3], 255);
}

TEST(GaussTexture, NoPixelOf255AtCutoff1Size1TheFourCentralOnesAre254) {
  StarList list;
  int w = 0, h = 0;
  Tex t{list, list.initGaussTexture(&w, &h, 1.0f, 1.0f)};
  ASSERT_NE(t.data, nullptr);
  EXPECT_EQ(w, 64);
  EXPECT_EQ(h, 64);
  int highest = 0;
  for (int i = 0; i < N * N * 4; i++) highest = std::max(highest, (int)t.data[i]);
  EXPECT_EQ(highest, 254);
  for (int y : {31, 32})
    for (int x : {31, 32})
      for (int c = 0; c < 4; c++) EXPECT_EQ(px(t.data, x, y)[c], 254) << x << "," << y << " " << c;
}

TEST(GaussTexture, EveryPixelFollowsTheClosedForm) {
  struct Case {
    float size, cutoff;
  };
  const Case cases[] = {{1.0f, 1.0f}, {0.5f, 0.8f}, {0.25f, 0.5f}, {0.1f, 1.0f}, {0.0f, 1.0f}, {1.0f, 0.0f}};
  for (const auto& k : cases) {
    StarList list;
    int w, h;
    Tex t{list, list.initGaussTexture(&w, &h, k.size, k.cutoff)};
    double sigma = (double)k.size * 64, limit = (double)k.cutoff * 255;
    int differ = 0;
    for (int y = 0; y < N; y++)
      for (int x = 0; x < N; x++) {
        double dy = y + 0.5 - 32, dx = x + 0.5 - 32;
        double g = exp(-(dx * dx + dy * dy) / (sigma * sigma)) * 255;
        g = g <= limit ? g / limit * 255 : 255;
        unsigned char b = truncByte(g);
        for (int c = 0; c < 4; c++)
          if (px(t.data, x, y)[c] != b) differ++;
      }
    EXPECT_EQ(differ, 0) << "size " << k.size << " cutoff " << k.cutoff;
  }
  // Size 0 is a point smaller than a pixel: all black. Cutoff 0 saturates all but the zeros.
  StarList list;
  int w, h;
  Tex point{list, list.initGaussTexture(&w, &h, 0.0f, 1.0f)};
  for (int i = 0; i < N * N * 4; i++) ASSERT_EQ(point.data[i], 0);
  Tex flat{list, list.initGaussTexture(&w, &h, 1.0f, 0.0f)};
  for (int i = 0; i < N * N * 4; i++) ASSERT_EQ(flat.data[i], 255);
}

// The FFT texture summed directly: the forward transform of the centred impulse is 255 (-1)^(i+j);
// times the filter and transformed back that is a sum of waves about the centre.
std::vector<double> directFFTPower(double (*filter)(double dx, double dy, double radius, double order),
                                   double radius, double order) {
  std::vector<double> cosT(N), sinT(N);
  for (int m = 0; m < N; m++) {
    cosT[m] = cos(2 * kPi * m / N);
    sinT[m] = sin(2 * kPi * m / N);
  }
  std::vector<double> f(N * N);
  for (int j = 0; j < N; j++)
    for (int i = 0; i < N; i++) f[j * N + i] = filter(i - 32, j - 32, radius, order);
  std::vector<double> power(N * N);
  for (int y = 0; y < N; y++)
    for (int x = 0; x < N; x++) {
      double re = 0, im = 0;
      for (int j = 0; j < N; j++)
        for (int i = 0; i < N; i++) {
          double fv = f[j * N + i];
          if (fv == 0) continue;
          int m = (((i - 32) * (x - 32) + (j - 32) * (y - 32)) % N + N) % N;
          re += fv * cosT[m];
          im += fv * sinT[m];
        }
      re *= 255.0 / (N * N);
      im *= 255.0 / (N * N);
      power[y * N + x] = re * re + im * im;
    }
  return power;
}

double circular(double dx, double dy, double radius, double) {
  return std::clamp(radius - sqrt(dx * dx + dy * dy), 0.0, 1.0);
}
double square(double dx, double dy, double radius, double) {
  return (fabs(dx) < radius && fabs(dy) < radius) ? 1.0 : 0.0;
}
double butterworth(double dx, double dy, double radius, double order) {
  return 1.0 / (1.0 + 0.414 * pow(sqrt(dx * dx + dy * dy) / radius, 2 * order));
}

TEST(FFTTexture, CircularFilterAtSize1CoversR32AndPeaksAtTheMiddle) {
  StarList list;
  int w = 0, h = 0;
  const float white[3] = {1, 1, 1};
  unsigned char* data = nullptr;
  EXPECT_EQ(testsupport::stdoutOf([&] { data = list.initFFTTexture(&w, &h, 1.0f, 1.0f, 1.0f, 1.0f, white, _STAR_FILTER_CIRCULAR); }),
            "fft texture (_FILTER_CIRCULAR)!\n");
  Tex t{list, data};
  ASSERT_NE(t.data, nullptr);
  EXPECT_EQ(w, 64);
  EXPECT_EQ(h, 64);
  const unsigned char* c = px(t.data, 32, 32);
  EXPECT_EQ(c[0], 255);
  EXPECT_EQ(c[1], 255);
  EXPECT_EQ(c[2], 255);
  for (int y = 0; y < N; y++)
    for (int x = 0; x < N; x++) {
      EXPECT_EQ(px(t.data, x, y)[3], 255);
      if (x != 32 || y != 32) {
        EXPECT_LT(px(t.data, x, y)[0], 255) << x << "," << y;
      }
    }
  // A disc of radius 32 is the whole aperture: its far field is a narrow Airy-like core with
  // a dark ring, about 64 / (32 * 2) * 1.22 = 1.2 pixels out, fainter than a tenth of the peak.
  EXPECT_LT(px(t.data, 33, 32)[0], 128);
  EXPECT_LT(px(t.data, 34, 32)[0], 26);
}

struct FFTCase {
  int type;
  const char* message;
  double (*filter)(double, double, double, double);
  float size, exponent, cutoff, order;
};

class FFTTextureClosedForm : public testing::TestWithParam<FFTCase> {};

TEST_P(FFTTextureClosedForm, EveryPixelFollowsTheDirectSum) {
  FFTCase k = GetParam();
  StarList list;
  int w, h;
  const float rgb[3] = {1.0f, 0.5f, 0.25f};
  unsigned char* data = nullptr;
  EXPECT_EQ(testsupport::stdoutOf([&] { data = list.initFFTTexture(&w, &h, k.size, k.exponent, k.cutoff, k.order, rgb, k.type); }),
            k.message);
  Tex t{list, data};
  auto power = directFFTPower(k.filter, (double)k.size * 32, k.order);
  double m = *std::max_element(power.begin(), power.end()) * k.cutoff;
  int farOff = 0;
  for (int p = 0; p < N * N; p++) {
    double b = truncByte(255.0 * pow(std::min(power[p], m) / m, k.exponent));
    // The transform stores single precision, so a value at a truncation step may land one lower
    // or higher; the colour channels scale the same byte.
    if (fabs(t.data[p * 4] - b) > 1) farOff++;
    EXPECT_EQ(t.data[p * 4 + 1], truncByte(t.data[p * 4] * 0.5));
    EXPECT_EQ(t.data[p * 4 + 2], truncByte(t.data[p * 4] * 0.25));
    EXPECT_EQ(t.data[p * 4 + 3], 255);
  }
  EXPECT_EQ(farOff, 0);
}

const FFTCase kFFTCases[] = {
    {_STAR_FILTER_CIRCULAR, "fft texture (_FILTER_CIRCULAR)!\n", circular, 1.0f, 1.0f, 1.0f, 1.0f},
    {_STAR_FILTER_CIRCULAR, "fft texture (_FILTER_CIRCULAR)!\n", circular, 0.3f, 0.5f, 0.8f, 1.0f},
    {_STAR_FILTER_SQUARE, "fft texture (_FILTER_SQUARE)!\n", square, 0.25f, 1.0f, 1.0f, 1.0f},
    {_STAR_FILTER_SQUARE, "fft texture (_FILTER_SQUARE)!\n", square, 1.0f, 2.0f, 0.5f, 1.0f},
    {_STAR_FILTER_BUTTERWORTH, "fft texture (_FILTER_BUTTERWORTH)!\n", butterworth, 0.2f, 1.0f, 1.0f, 2.0f},
    {_STAR_FILTER_BUTTERWORTH, "fft texture (_FILTER_BUTTERWORTH)!\n", butterworth, 0.5f, 0.7f, 0.6f, 0.0f},
};

INSTANTIATE_TEST_SUITE_P(Filters, FFTTextureClosedForm, testing::ValuesIn(kFFTCases),
                         [](const testing::TestParamInfo<FFTCase>& i) { return "case" + std::to_string(i.index); });

TEST(FFTTexture, CutoffZeroDividesByZeroUnguardedAndComesOutBlack) {
  StarList list;
  int w, h;
  const float white[3] = {1, 1, 1};
  unsigned char* data = nullptr;
  std::string err = testsupport::stderrOf([&] {
    testsupport::stdoutOf([&] { data = list.initFFTTexture(&w, &h, 1.0f, 1.0f, 0.0f, 1.0f, white, _STAR_FILTER_CIRCULAR); });
  });
  EXPECT_EQ(err, "");
  Tex t{list, data};
  ASSERT_NE(t.data, nullptr);
  for (int p = 0; p < N * N; p++) {
    EXPECT_EQ(t.data[p * 4], 0);
    EXPECT_EQ(t.data[p * 4 + 3], 255);
  }
}

TEST(FFTTexture, AnUnknownFilterTypeLeavesTheFilterAtZeroAndWritesNothing) {
  StarList list;
  int w, h;
  const float white[3] = {1, 1, 1};
  unsigned char* data = nullptr;
  EXPECT_EQ(testsupport::stdoutOf([&] { data = list.initFFTTexture(&w, &h, 1.0f, 1.0f, 1.0f, 1.0f, white, 7); }), "");
  Tex t{list, data};
  for (int p = 0; p < N * N; p++) {
    EXPECT_EQ(t.data[p * 4], 0);
    EXPECT_EQ(t.data[p * 4 + 3], 255);
  }
}

TEST(FFTTexture, AFailedTransformIsNotLookedAt) {
  // The texture's own array is had; both transforms then fail for want of a stage buffer. The
  // impulse times the filter's centre stays an impulse: one lit pixel.
  StarList list;
  list.allocFunc = testsupport::failingAlloc;
  testsupport::FailAllocScope scope(1);
  int w, h;
  const float white[3] = {1, 1, 1};
  unsigned char* data = nullptr;
  std::string err = testsupport::stderrOf([&] {
    testsupport::stdoutOf([&] { data = list.initFFTTexture(&w, &h, 1.0f, 1.0f, 1.0f, 1.0f, white, _STAR_FILTER_CIRCULAR); });
  });
  EXPECT_EQ(err, "Insufficient storage for fft buffersInsufficient storage for fft buffers");
  Tex t{list, data};
  ASSERT_NE(t.data, nullptr);
  for (int y = 0; y < N; y++)
    for (int x = 0; x < N; x++) EXPECT_EQ(px(t.data, x, y)[0], (x == 32 && y == 32) ? 255 : 0);
  setAllocFunc_fft(malloc, free);
}

TEST(ComputedTextureDeathTest, NoMemoryForTheResultEndsTheProcess) {
  const float white[3] = {1, 1, 1};
  const char* kMessage = "^Err : allocate memory for texture!\n$";
  auto run = [&](int which) {
    StarList list;
    list.allocFunc = testsupport::failingAlloc;
    testsupport::failAllocAfter(0);
    int w, h;
    if (which == 0) list.initAiryTexture(&w, &h, 1, 1, 0.1f);
    if (which == 1) list.initGaussTexture(&w, &h, 1, 1);
    if (which == 2) list.initFFTTexture(&w, &h, 1, 1, 1, 1, white, _STAR_FILTER_CIRCULAR);
    exit(0);
  };
  EXPECT_EXIT(run(0), testing::ExitedWithCode(1), kMessage);
  EXPECT_EXIT(run(1), testing::ExitedWithCode(1), kMessage);
  EXPECT_EXIT(run(2), testing::ExitedWithCode(1), kMessage);
}

// ---------------------------------------------------------------------------------------------
// File textures

class FileTexture : public testing::Test {
 protected:
  TempDir dir;
  StarList list;
  std::string put(const std::string& name, const std::string& bytes) {
    std::string path = dir.file(name);
    writeFile(path, bytes);
    return path;
  }
  unsigned char* load(const std::string& path, int* w, int* h, std::string* err) {
    copyTextInto(path);
    unsigned char* data = nullptr;
    *err = testsupport::stderrOf([&] { data = list.initFileTexture(w, h); });
    return data;
  }
  void copyTextInto(const std::string& path) {
    ASSERT_LT(path.size(), sizeof list.param.textureFile);
    strcpy(list.param.textureFile, path.c_str());
  }
  void TearDown() override { testsupport::failAllocAfter(-1); }
};

TEST_F(FileTexture, ThreeChannelsFromARealFileGetAlphaFromTheirLength) {
  std::string path = testsupport::sourceDir() + "/samples/m1.ppm";
  std::string bytes = testsupport::readFile(path);
  const std::string header = "P6\n512 512\n255\n";
  ASSERT_EQ(bytes.substr(0, header.size()), header);
  int w = 0, h = 0;
  std::string err;
  Tex t{list, load(path, &w, &h, &err)};
  ASSERT_NE(t.data, nullptr);
  EXPECT_EQ(err, "");
  EXPECT_EQ(w, 512);
  EXPECT_EQ(h, 512);
  const unsigned char* in = (const unsigned char*)bytes.data() + header.size();
  int differ = 0;
  for (int p = 0; p < 512 * 512; p++) {
    int r = in[p * 3], g = in[p * 3 + 1], b = in[p * 3 + 2];
    unsigned char a = truncByte(sqrt((double)(r * r + g * g + b * b)));
    if (t.data[p * 4] != r || t.data[p * 4 + 1] != g || t.data[p * 4 + 2] != b || t.data[p * 4 + 3] != a) differ++;
  }
  EXPECT_EQ(differ, 0);
}

TEST_F(FileTexture, FourChannelSGIIsCopiedAsItIs) {
  auto pixel = [](int x, int y, int c) { return (unsigned char)(x * 7 + y * 13 + c * 50); };
  std::string path = put("star.rgba", texfixtures::sgiImage(16, 8, 4, pixel));
  int w = 0, h = 0;
  std::string err;
  Tex t{list, load(path, &w, &h, &err)};
  ASSERT_NE(t.data, nullptr);
  EXPECT_EQ(err, "");
  EXPECT_EQ(w, 16);
  EXPECT_EQ(h, 8);
  for (int y = 0; y < 8; y++)
    for (int x = 0; x < 16; x++)
      for (int c = 0; c < 4; c++) EXPECT_EQ(t.data[(y * 16 + x) * 4 + c], pixel(x, y, c));
}

TEST_F(FileTexture, ThreeChannelSGIGetsAlphaClampedAt255) {
  auto pixel = [](int x, int y, int c) { return (unsigned char)(c == 0 ? x * 30 : (c == 1 ? y * 30 : 200)); };
  std::string path = put("star.rgb", texfixtures::sgiImage(8, 8, 3, pixel));
  int w = 0, h = 0;
  std::string err;
  Tex t{list, load(path, &w, &h, &err)};
  ASSERT_NE(t.data, nullptr);
  for (int y = 0; y < 8; y++)
    for (int x = 0; x < 8; x++) {
      int r = x * 30, g = y * 30, b = 200;
      const unsigned char* p = t.data + (y * 8 + x) * 4;
      EXPECT_EQ(p[0], r);
      EXPECT_EQ(p[1], g);
      EXPECT_EQ(p[2], b);
      EXPECT_EQ(p[3], std::min(255, (int)sqrt((double)(r * r + g * g + b * b))));
    }
  EXPECT_EQ(t.data[3], 200);                  // (0, 0, 200)
  EXPECT_EQ(t.data[(1 * 8 + 1) * 4 + 3], 204);  // (30, 30, 200): 204.45
  EXPECT_EQ(t.data[(7 * 8 + 7) * 4 + 3], 255);  // (210, 210, 200): 358, clamped
}

struct BadFile {
  const char* name;
  std::string bytes;
  const char* messageFormat;  // %s for the path
};

TEST_F(FileTexture, BadFilesFailWithTheirMessages) {
  auto grey = [](int, int, int) { return (unsigned char)100; };
  const BadFile cases[] = {
      {"missing.ppm", "", "Err : reading [%s]\n"},
      {"text.ppm", "no image\n", "Err : reading [%s]\n"},
      {"empty.ppm", "P6\n0 0\n255\n", "Err : reading [%s]\n"},
      {"twolines.ppm", "P6\n4\n4\n255\n", "Err : reading [%s]\n"},
      {"grey.pgm", texfixtures::pnmImage(8, 8, 1, grey),
       "ERR : texFile [%s] should have three or four channels\n\n"},
      {"two.la", texfixtures::sgiImage(8, 8, 2, grey), "ERR : texFile [%s] should have three or four channels\n\n"},
      {"one.bw", texfixtures::sgiImage(8, 8, 1, grey), "ERR : texFile [%s] should have three or four channels\n\n"},
  };
  for (const auto& c : cases) {
    std::string path = dir.file(c.name);
    if (std::string(c.name) != "missing.ppm") writeFile(path, c.bytes);
    int w = -5, h = -5;
    std::string err;
    unsigned char* data = load(path, &w, &h, &err);
    char want[1024];
    snprintf(want, sizeof want, c.messageFormat, path.c_str());
    EXPECT_EQ(data, nullptr) << c.name;
    EXPECT_EQ(err, want) << c.name;
    EXPECT_EQ(w, -5) << c.name;  // the out sizes are written only with a result
  }
}

TEST_F(FileTexture, NoMemoryForTheArrayOrItsCopyFailsWithTheirMessages) {
  auto pixel = [](int x, int y, int c) { return (unsigned char)(x + y + c); };
  std::string rgb = put("a.ppm", texfixtures::pnmImage(8, 8, 3, pixel));
  std::string rgba = put("a.rgba", texfixtures::sgiImage(8, 8, 4, pixel));
  std::string odd = put("odd.ppm", texfixtures::pnmImage(12, 8, 3, pixel));
  list.allocFunc = testsupport::failingAlloc;
  struct Case {
    std::string path;
    int okCalls;
    const char* message;
  };
  const Case cases[] = {
      {rgb, 0, "ERR : cannot allocate memory for star texture.\n\n"},
      {rgba, 0, "ERR : cannot allocate memory for star texture.\n\n"},
      {rgba, 1, "Err: StarList::initFileTexture : Can't allocate memory.\n"},
      {odd, 1, "ERR : cannot allocate memory for star texture.\n\n"},  // the scaled array
  };
  for (const auto& c : cases) {
    testsupport::failAllocAfter(c.okCalls);
    int w, h;
    std::string err;
    EXPECT_EQ(load(c.path, &w, &h, &err), nullptr) << c.path;
    EXPECT_EQ(err, c.message) << c.path;
  }
}

TEST(InitTexture, WithoutAGLContextNoNameCanBeMade) {
  StarList list;
  list.param.textureSource = STAR_TEX_GAUSS;
  unsigned int name = 0;
  int rc = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { rc = list.initTexture(&name); }), "Err : cannot generate texture name!\n\n");
  EXPECT_EQ(rc, -1);
  EXPECT_EQ(name, 0u);
}

// ---------------------------------------------------------------------------------------------
// Half-light radius, mask, blur, nearPower2

std::vector<unsigned char> blank(int w, int h) {
  return std::vector<unsigned char>((size_t)w * h * 4, 0);
}

TEST(IntenDiam, ASingleLitPixelAtTheCentreGivesAVerySmallRadius) {
  StarList list;
  auto t = blank(64, 64);
  for (int c = 0; c < 4; c++) t[(32 * 64 + 32) * 4 + c] = 255;
  float r = list.computeIntenDiamTex(t.data(), 64, 64, 4, 0.5);
  EXPECT_LT(r, 0.03f);
  EXPECT_GT(r, 0.0f);
}

TEST(IntenDiam, AUniformTextureHoldsHalfItsLightInsideAnAreaOfOneHalf) {
  StarList list;
  auto t = std::vector<unsigned char>(64 * 64 * 4, 200);
  float r = list.computeIntenDiamTex(t.data(), 64, 64, 4, 0.5);
  EXPECT_NEAR(r, sqrt(0.5 / kPi), 1.0 / 64);
}

// The radius found by sorting the pixels by distance and summing until half the light.
double sortedHalfLight(const unsigned char* t, int w, int h, int channels, double fraction) {
  std::vector<std::pair<double, double>> pix;
  double total = 0;
  for (int y = 0; y < h; y++)
    for (int x = 0; x < w; x++) {
      double u = (x - (w - 1) / 2.0) / w, v = (y - (h - 1) / 2.0) / h;
      double s = 0;
      for (int c = 0; c < channels; c++) s += t[(y * w + x) * channels + c];
      s /= channels;
      pix.push_back({sqrt(u * u + v * v), s});
      total += s;
    }
  std::sort(pix.begin(), pix.end());
  double sum = 0;
  for (auto& p : pix) {
    sum += p.second;
    if (sum > fraction * total) return p.first;
  }
  return pix.back().first;
}

TEST(IntenDiam, BisectionAgreesWithSortedSumsForTheComputedProfiles) {
  StarList list;
  const float white[3] = {1, 1, 1};
  int w, h;
  std::vector<unsigned char*> textures;
  textures.push_back(list.initGaussTexture(&w, &h, 0.25f, 1.0f));
  textures.push_back(list.initGaussTexture(&w, &h, 0.1f, 0.5f));
  textures.push_back(list.initAiryTexture(&w, &h, 0.5f, 1.0f, 0.1f));
  testsupport::stdoutOf([&] { textures.push_back(list.initFFTTexture(&w, &h, 0.3f, 1.0f, 1.0f, 1.0f, white, _STAR_FILTER_SQUARE)); });
  for (unsigned char* t : textures) {
    for (double fraction : {0.5, 0.8}) {
      float r = list.computeIntenDiamTex(t, 64, 64, 4, fraction);
      EXPECT_NEAR(r, sortedHalfLight(t, 64, 64, 4, fraction), 1.5 / 64) << fraction;
    }
    list.freeFunc(t);
  }
  // Three channels a pixel and a non-square texture.
  std::vector<unsigned char> rect(32 * 16 * 3, 0);
  for (int y = 6; y < 10; y++)
    for (int x = 12; x < 20; x++)
      for (int c = 0; c < 3; c++) rect[(y * 32 + x) * 3 + c] = 90;
  float r = list.computeIntenDiamTex(rect.data(), 32, 16, 3, 0.5);
  EXPECT_NEAR(r, sortedHalfLight(rect.data(), 32, 16, 3, 0.5), 1.5 / 32);
}

TEST(IntensityAt, IsTheMeanOfTheGivenNumberOfBytes) {
  const unsigned char p[4] = {10, 20, 60, 255};
  EXPECT_FLOAT_EQ(intensityAt(p, 1), 10.0f);
  EXPECT_FLOAT_EQ(intensityAt(p, 3), 30.0f);
  EXPECT_FLOAT_EQ(intensityAt(p, 4), 86.25f);
}

TEST(MaskTexture, AlphaRampsBetweenTheBounds) {
  struct Case {
    unsigned char r, g, b;
    int alpha;
  };
  const Case cases[] = {
      {31, 31, 31, 0},       {32, 32, 32, 0},     {33, 33, 33, 1},   {127, 127, 127, 127}, {223, 223, 223, 255},
      {224, 224, 224, 255},  {255, 255, 255, 255}, {0, 0, 0, 0},     {0, 0, 96, 0},        {0, 0, 97, 0},
      {0, 0, 98, 1},         {60, 0, 0, 0},        {255, 255, 200, 255},
  };
  for (int channels : {3, 4}) {  // the channels argument doesn't act
    std::vector<unsigned char> t;
    for (const auto& c : cases) t.insert(t.end(), {c.r, c.g, c.b, 77});
    maskTexture(t.data(), (int)(sizeof cases / sizeof cases[0]), 1, channels, 32, 223);
    for (size_t i = 0; i < sizeof cases / sizeof cases[0]; i++) {
      EXPECT_EQ(t[i * 4 + 3], cases[i].alpha) << (int)cases[i].r << "," << (int)cases[i].g << "," << (int)cases[i].b;
      EXPECT_EQ(t[i * 4], cases[i].r);  // colours untouched
    }
  }
  // (m - low) * 255 / (high - low) + 0.5, truncated.
  for (int m = 32; m <= 223; m++) {
    unsigned char g = (unsigned char)m;
    unsigned char p[4] = {g, g, g, 0};
    maskTexture(p, 1, 1, 4, 32, 223);
    EXPECT_EQ(p[3], (int)((m - 32) * (255.0 / 191) + 0.5)) << m;
  }
}

TEST(ApplyBlur, AveragesRandomBlocksAndSaysWhere) {
  std::vector<unsigned char> t(16 * 12 * 3);
  for (size_t i = 0; i < t.size(); i++) t[i] = (unsigned char)(i * 37 % 251);
  auto before = t;
  srand(5);
  std::string out = testsupport::stdoutOf([&] { applyBlur(t.data(), 16, 12, 3, 4); });
  // Four reports of two lines each, the fourth mean 0 for three channels.
  int cx, cy, ww, hh, m0, m1, m2, m3, used;
  const char* s = out.c_str();
  for (int n = 0; n < 4; n++) {
    ASSERT_EQ(sscanf(s, "cx,cy = %d,%d (%d x %d)\n%n", &cx, &cy, &ww, &hh, &used), 4) << s;
    char line[64];
    snprintf(line, sizeof line, "cx,cy = %d,%d (16 x 12)\n", cx, cy);
    EXPECT_EQ(std::string(s, used), line);
    EXPECT_GE(cx, 1);
    EXPECT_LE(cx, 14);
    EXPECT_GE(cy, 1);
    EXPECT_LE(cy, 10);
    s += used;
    ASSERT_EQ(sscanf(s, "meanValue = (%d,%d,%d,%d)\n%n", &m0, &m1, &m2, &m3, &used), 4) << s;
    snprintf(line, sizeof line, "meanValue = (%d,%d,%d,%d)\n", m0, m1, m2, m3);
    EXPECT_EQ(std::string(s, used), line);
    EXPECT_EQ(m3, 0);
    s += used;
  }
  EXPECT_EQ(*s, '\0');
  // The last block is all its mean.
  int means[3] = {m0, m1, m2};
  for (int y = cy - 1; y <= cy + 1; y++)
    for (int x = cx - 1; x <= cx + 1; x++)
      for (int c = 0; c < 3; c++) EXPECT_EQ(t[(y * 16 + x) * 3 + c], means[c]);
}

TEST(ApplyBlur, TheMeanIsTheBlocksAverageWithinTheNoise) {
  // One blur of a flat grey of 100: 100 + 0.5 + a noise in [-4, 4), truncated.
  srand(9);
  for (int n = 0; n < 50; n++) {
    std::vector<unsigned char> t(8 * 8 * 4, 100);
    testsupport::stdoutOf([&] { applyBlur(t.data(), 8, 8, 4, 1); });
    int changed = 0;
    for (unsigned char v : t) {
      EXPECT_GE(v, 96);
      EXPECT_LE(v, 104);
      if (v != 100) changed++;
    }
    EXPECT_LE(changed, 9 * 4);
  }
  // Too small a texture has no inner block: left alone, nothing written.
  std::vector<unsigned char> tiny(2 * 2 * 4, 9);
  EXPECT_EQ(testsupport::stdoutOf([&] { applyBlur(tiny.data(), 2, 2, 4, 3); }), "");
  for (unsigned char v : tiny) EXPECT_EQ(v, 9);
}

TEST(NearPower2, NearestWithTiesGoingDown) {
  struct Case {
    unsigned v, want;
  };
  const Case cases[] = {{48, 32},  {49, 64},    {64, 64},         {0, 1},           {1, 1},
                        {2, 2},    {3, 2},      {5, 4},           {6, 4},           {7, 8},
                        {96, 64},  {97, 128},   {1000, 1024},     {0x7FFFFFFFu, 0x80000000u},
                        {0x80000000u, 0x80000000u}, {0xFFFFFFFFu, 0x80000000u}};
  for (const auto& c : cases) EXPECT_EQ(nearPower2(c.v), c.want) << c.v;
}

// ---------------------------------------------------------------------------------------------
// Setters

struct Refusal {
  const char* what;
  std::function<int(StarList&)> call;
  const char* message;
};

const float kGoodRGB[3] = {1.0f, 0.5f, 0.0f};
const float kBadRGB[3] = {1.0f, 1.5f, 0.0f};
const float kNegRGB[3] = {-0.1f, 0.5f, 0.0f};
const float kNaN = NAN;

const char kFileTexSize[] = "Err (setStarTextureFile) : inTexSize should be positive.\n\n";
const char kFileNull[] = "Err (setStarTextureFile) : inTexFile is NULL.\n\n";
const char kFFTSize[] = "Err (setStarTextureFFT) : inFilterSize should be [0,1].\n\n";
const char kFFTExp[] = "Err (setStarTextureFFT) : inFilterExp should be positive.\n\n";
const char kFFTCutoff[] = "Err (setStarTextureFFT) : inFilterCutoff should be [0,1].\n\n";
const char kFFTRGB[] = "Err (setStarTextureFFT) : inFilterRGB's values should be [0,1].\n\n";
const char kFFTOrder[] = "Err (setStarTextureFFT) : inFilterOrder should be positive.\n\n";
const char kFFTType[] =
    "Err (setStarTextureFFT) : inFilterType should be _STAR_FILTER_CIRCULAR, _STAR_FILTER_SQUARE, or "
    "_STAR_FILTER_BUTTERWORTH.\n\n";
const char kAirySize[] = "Err (setStarTextureAiry) : inFilterSize should be [0,1].\n\n";
const char kAiryCutoff[] = "Err (setStarTextureAiry) : inFilterCutoff should be [0,1].\n\n";
const char kAiryDiam[] = "Err (setStarTextureAiry) : inTelescopeDiam should be positive.\n\n";
const char kGaussCutoff[] = "Err (setStarTextureGauss) : inFilterCutoff should be [0,1].\n\n";
const char kMinFilter[] =
    "Err (setStarTextureParaFilter) : inTexParaMinFilter should take values GL_NEAREST, GL_LINEAR, etc.\n\n";
const char kMagFilter[] =
    "Err (setStarTextureParaFilter) : inTexParaMagFilter should take values GL_NEAREST or GL_LINEAR.\n\n";
const char kScale[] = "Err (setStarTextureScale) : inTexScale should be non-negative.\n\n";

TEST(TextureSetters, RefuseBadValuesWithTheirMessagesAndLeaveEverythingAsItWas) {
  const Refusal cases[] = {
      {"file size 0", [](StarList& l) { return l.setStarTextureFile("a.ppm", 0.0); }, kFileTexSize},
      {"file size -1", [](StarList& l) { return l.setStarTextureFile("a.ppm", -1.0); }, kFileTexSize},
      {"file size NaN", [](StarList& l) { return l.setStarTextureFile("a.ppm", kNaN); }, kFileTexSize},
      {"file size before file", [](StarList& l) { return l.setStarTextureFile(nullptr, 0.0); }, kFileTexSize},
      {"file null", [](StarList& l) { return l.setStarTextureFile(nullptr, 1.0); }, kFileNull},
      {"file empty", [](StarList& l) { return l.setStarTextureFile("", 1.0); }, kFileNull},
      {"fft size -", [](StarList& l) { return l.setStarTextureFFT(-0.01f, 1, 1, 1, kGoodRGB, 2); }, kFFTSize},
      {"fft size +", [](StarList& l) { return l.setStarTextureFFT(1.01f, 1, 1, 1, kGoodRGB, 2); }, kFFTSize},
      {"fft size NaN", [](StarList& l) { return l.setStarTextureFFT(kNaN, 1, 1, 1, kGoodRGB, 2); }, kFFTSize},
      {"fft exp 0", [](StarList& l) { return l.setStarTextureFFT(1, 0, 1, 1, kGoodRGB, 2); }, kFFTExp},
      {"fft exp -", [](StarList& l) { return l.setStarTextureFFT(1, -2, 1, 1, kGoodRGB, 2); }, kFFTExp},
      {"fft cutoff -", [](StarList& l) { return l.setStarTextureFFT(1, 1, -0.5f, 1, kGoodRGB, 2); }, kFFTCutoff},
      {"fft cutoff +", [](StarList& l) { return l.setStarTextureFFT(1, 1, 2, 1, kGoodRGB, 2); }, kFFTCutoff},
      {"fft rgb >1", [](StarList& l) { return l.setStarTextureFFT(1, 1, 1, 1, kBadRGB, 2); }, kFFTRGB},
      {"fft rgb <0", [](StarList& l) { return l.setStarTextureFFT(1, 1, 1, 1, kNegRGB, 2); }, kFFTRGB},
      {"fft rgb null", [](StarList& l) { return l.setStarTextureFFT(1, 1, 1, 1, nullptr, 2); }, kFFTRGB},
      {"fft order -", [](StarList& l) { return l.setStarTextureFFT(1, 1, 1, -1, kGoodRGB, 2); }, kFFTOrder},
      {"fft type 0", [](StarList& l) { return l.setStarTextureFFT(1, 1, 1, 1, kGoodRGB, 0); }, kFFTType},
      {"fft type 4", [](StarList& l) { return l.setStarTextureFFT(1, 1, 1, 1, kGoodRGB, 4); }, kFFTType},
      // Tested in the order size, exp, cutoff, rgb, order, type: the first fault speaks.
      {"fft order of tests 1", [](StarList& l) { return l.setStarTextureFFT(2, 0, 2, -1, kBadRGB, 9); }, kFFTSize},
      {"fft order of tests 2", [](StarList& l) { return l.setStarTextureFFT(1, 0, 2, -1, kBadRGB, 9); }, kFFTExp},
      {"fft order of tests 3", [](StarList& l) { return l.setStarTextureFFT(1, 1, 2, -1, kBadRGB, 9); }, kFFTCutoff},
      {"fft order of tests 4", [](StarList& l) { return l.setStarTextureFFT(1, 1, 1, -1, kBadRGB, 9); }, kFFTRGB},
      {"fft order of tests 5", [](StarList& l) { return l.setStarTextureFFT(1, 1, 1, -1, kGoodRGB, 9); }, kFFTOrder},
      {"airy size", [](StarList& l) { return l.setStarTextureAiry(-1, 1, 0.1f); }, kAirySize},
      {"airy cutoff", [](StarList& l) { return l.setStarTextureAiry(1, 1.5f, 0.1f); }, kAiryCutoff},
      {"airy diam 0", [](StarList& l) { return l.setStarTextureAiry(1, 1, 0); }, kAiryDiam},
      {"airy diam -", [](StarList& l) { return l.setStarTextureAiry(1, 1, -0.1f); }, kAiryDiam},
      {"airy size first", [](StarList& l) { return l.setStarTextureAiry(2, 2, 0); }, kAirySize},
      // The Gaussian's size is refused with the Airy text, as it stands.
      {"gauss size", [](StarList& l) { return l.setStarTextureGauss(1.5f, 1); }, kAirySize},
      {"gauss size NaN", [](StarList& l) { return l.setStarTextureGauss(kNaN, 1); }, kAirySize},
      {"gauss cutoff", [](StarList& l) { return l.setStarTextureGauss(0.5f, -0.1f); }, kGaussCutoff},
      {"min filter", [](StarList& l) { return l.setStarTextureParaFilter(GL_REPEAT, GL_LINEAR); }, kMinFilter},
      {"min filter 0", [](StarList& l) { return l.setStarTextureParaFilter(0, GL_LINEAR); }, kMinFilter},
      {"mag mipmap",
       [](StarList& l) { return l.setStarTextureParaFilter(GL_LINEAR, GL_LINEAR_MIPMAP_LINEAR); }, kMagFilter},
      {"mag other", [](StarList& l) { return l.setStarTextureParaFilter(GL_NEAREST, GL_CLAMP); }, kMagFilter},
      {"scale -", [](StarList& l) { return l.setStarTextureScale(-0.001); }, kScale},
      {"scale NaN", [](StarList& l) { return l.setStarTextureScale(kNaN); }, kScale},
  };
  for (const auto& c : cases) {
    StarList list;
    list.texId = 4242;  // a texture that must survive a refusal
    StarParameter before;
    memcpy(&before, &list.param, sizeof before);
    int rc = 0;
    EXPECT_EQ(testsupport::stderrOf([&] { rc = c.call(list); }), c.message) << c.what;
    EXPECT_EQ(rc, -1) << c.what;
    EXPECT_EQ(memcmp(&before, &list.param, sizeof before), 0) << c.what;
    EXPECT_EQ(list.texId, 4242u) << c.what;
  }
}

TEST(TextureSetters, AiryStoresSetsSizeSixAndSourceAndDropsTheTexture) {
  StarList list;
  list.texId = 99;
  EXPECT_EQ(testsupport::stderrOf([&] { EXPECT_EQ(list.setStarTextureAiry(0.0f, 1.0f, 0.3f), 1); }), "");
  EXPECT_EQ(list.texId, 0u);
  EXPECT_EQ(list.param.texSize, 6.0);
  EXPECT_EQ(list.param.filterSize, 0.0f);
  EXPECT_EQ(list.param.filterCutoff, 1.0f);
  EXPECT_EQ(list.param.telescopeDiam, 0.3f);
  EXPECT_EQ(list.param.textureSource, STAR_TEX_AIRY);
}

TEST(TextureSetters, GaussStoresSetsSizeSixAndSource) {
  StarList list;
  list.texId = 99;
  EXPECT_EQ(list.setStarTextureGauss(0.5f, 0.8f), 1);
  EXPECT_EQ(list.texId, 0u);
  EXPECT_EQ(list.param.texSize, 6.0);
  EXPECT_EQ(list.param.filterSize, 0.5f);
  EXPECT_EQ(list.param.filterCutoff, 0.8f);
  EXPECT_EQ(list.param.textureSource, STAR_TEX_GAUSS);
  // Only size and cutoff: the other filter values stay.
  EXPECT_EQ(list.param.telescopeDiam, 0.1f);
  EXPECT_EQ(list.param.filterType, _STAR_FILTER_CIRCULAR);
}

TEST(TextureSetters, FFTStoresEverythingSetsSizeThreeAndSource) {
  StarList list;
  list.texId = 99;
  EXPECT_EQ(list.setStarTextureFFT(1.0f, 0.25f, 0.0f, 0.0f, kGoodRGB, _STAR_FILTER_BUTTERWORTH), 1);
  EXPECT_EQ(list.texId, 0u);
  EXPECT_EQ(list.param.texSize, 3.0);
  EXPECT_EQ(list.param.filterSize, 1.0f);
  EXPECT_EQ(list.param.filterExp, 0.25f);
  EXPECT_EQ(list.param.filterCutoff, 0.0f);
  EXPECT_EQ(list.param.filterOrder, 0.0f);
  EXPECT_EQ(list.param.filterRGB[0], 1.0f);
  EXPECT_EQ(list.param.filterRGB[1], 0.5f);
  EXPECT_EQ(list.param.filterRGB[2], 0.0f);
  EXPECT_EQ(list.param.filterType, _STAR_FILTER_BUTTERWORTH);
  EXPECT_EQ(list.param.textureSource, STAR_TEX_FFT);
  for (int type : {_STAR_FILTER_SQUARE, _STAR_FILTER_CIRCULAR}) {
    EXPECT_EQ(list.setStarTextureFFT(0.5f, 1, 1, 1, kGoodRGB, type), 1);
    EXPECT_EQ(list.param.filterType, type);
  }
}

TEST(TextureSetters, FileStoresNameAndSizeAndSource) {
  StarList list;
  list.texId = 99;
  EXPECT_EQ(list.setStarTextureFile("Images/star.ppm", 2.5), 1);
  EXPECT_EQ(list.texId, 0u);
  EXPECT_STREQ(list.param.textureFile, "Images/star.ppm");
  EXPECT_EQ(list.param.texSize, 2.5);
  EXPECT_EQ(list.param.textureSource, STAR_TEX_FILE);
  // A path longer than the field is cut to 511 characters.
  std::string longName(700, 'x');
  EXPECT_EQ(list.setStarTextureFile(longName.c_str(), 1.0), 1);
  EXPECT_EQ(strlen(list.param.textureFile), 511u);
}

TEST(TextureSetters, FiltersAndScaleAreStoredWithoutTouchingTheTexture) {
  const int mins[] = {GL_NEAREST,
                      GL_LINEAR,
                      GL_NEAREST_MIPMAP_NEAREST,
                      GL_LINEAR_MIPMAP_NEAREST,
                      GL_NEAREST_MIPMAP_LINEAR,
                      GL_LINEAR_MIPMAP_LINEAR};
  StarList list;
  list.texId = 77;
  for (int minF : mins)
    for (int magF : {GL_NEAREST, GL_LINEAR}) {
      EXPECT_EQ(list.setStarTextureParaFilter(minF, magF), 1);
      EXPECT_EQ(list.param.texParaMinFilter, minF);
      EXPECT_EQ(list.param.texParaMagFilter, magF);
    }
  EXPECT_EQ(list.setStarTextureScale(0.0), 1);
  EXPECT_EQ(list.param.texScale, 0.0);
  EXPECT_EQ(list.setStarTextureScale(3.5), 1);
  EXPECT_EQ(list.param.texScale, 3.5);
  EXPECT_EQ(list.texId, 77u);
  list.texId = 0;
}

TEST(TextureSetters, BoundsAreInclusive) {
  StarList list;
  const float zero[3] = {0, 0, 0}, one[3] = {1, 1, 1};
  EXPECT_EQ(list.setStarTextureAiry(0, 0, 1e-6f), 1);
  EXPECT_EQ(list.setStarTextureAiry(1, 1, 10), 1);
  EXPECT_EQ(list.setStarTextureGauss(0, 0), 1);
  EXPECT_EQ(list.setStarTextureGauss(1, 1), 1);
  EXPECT_EQ(list.setStarTextureFFT(0, 1e-6f, 0, 0, zero, 1), 1);
  EXPECT_EQ(list.setStarTextureFFT(1, 100, 1, 50, one, 3), 1);
  EXPECT_EQ(list.setStarTextureFile("x", 1e-9), 1);
}

}  // namespace
