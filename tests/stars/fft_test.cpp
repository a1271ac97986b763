// The Fourier transform of the star textures: against a direct DFT in both directions, the
// centred spectrum, the round trip, the sizes it takes and refuses, and a failing allocator.
#include "tests/support/testutil.h"
#include "stars/fft.h"

#include <gtest/gtest.h>

#include <cmath>
#include <complex>
#include <cstdlib>
#include <functional>
#include <random>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "tests/support/failalloc.h"

namespace {

using Cd = std::complex<double>;

std::vector<FFTComplex> randomArray(int rows, int columns, unsigned seed) {
  std::mt19937 gen(seed);
  std::uniform_real_distribution<float> d(-1.0f, 1.0f);
  std::vector<FFTComplex> a((size_t)rows * columns);
  for (auto& c : a) c = {d(gen), d(gen)};
  return a;
}

// The forward transform as this system defines it, summed directly: kernel exp(-i ...), and the
// frequency k of a dimension of n stored at index (k + n/2) mod n.
std::vector<Cd> directForward(const std::vector<FFTComplex>& in, int rows, int columns) {
  std::vector<Cd> out((size_t)rows * columns);
  for (int kr = 0; kr < rows; kr++) {
    for (int kc = 0; kc < columns; kc++) {
      Cd sum = 0;
      for (int r = 0; r < rows; r++)
        for (int c = 0; c < columns; c++) {
          double angle = -2.0 * kPi * ((double)kr * r / rows + (double)kc * c / columns);
          sum += Cd(in[(size_t)r * columns + c].re, in[(size_t)r * columns + c].im) * std::polar(1.0, angle);
        }
      int ir = (kr + rows / 2) % rows, ic = (kc + columns / 2) % columns;
      out[(size_t)ir * columns + ic] = sum;
    }
  }
  return out;
}

// The inverse summed directly from a centred spectrum: kernel exp(+i ...), divided by the count.
std::vector<Cd> directInverse(const std::vector<FFTComplex>& in, int rows, int columns) {
  std::vector<Cd> out((size_t)rows * columns);
  for (int r = 0; r < rows; r++) {
    for (int c = 0; c < columns; c++) {
      Cd sum = 0;
      for (int ir = 0; ir < rows; ir++)
        for (int ic = 0; ic < columns; ic++) {
          int kr = (ir + rows / 2) % rows, kc = (ic + columns / 2) % columns;  // the frequency held there
          double angle = 2.0 * kPi * ((double)kr * r / rows + (double)kc * c / columns);
          sum += Cd(in[(size_t)ir * columns + ic].re, in[(size_t)ir * columns + ic].im) * std::polar(1.0, angle);
        }
      out[(size_t)r * columns + c] = sum / (double)(rows * columns);
    }
  }
  return out;
}

void expectClose(const std::vector<FFTComplex>& got, const std::vector<Cd>& want, double tol) {
  ASSERT_EQ(got.size(), want.size());
  for (size_t i = 0; i < got.size(); i++) {
    EXPECT_NEAR(got[i].re, want[i].real(), tol) << "at " << i;
    EXPECT_NEAR(got[i].im, want[i].imag(), tol) << "at " << i;
  }
}

struct Shape {
  int rows, columns;
};

const Shape kShapes[] = {{1, 1}, {1, 2}, {2, 1}, {2, 2}, {4, 4},  {8, 8},  {16, 16}, {1, 32},
                         {32, 1}, {4, 64}, {64, 2}, {64, 64}, {2, 128}, {128, 4}, {8, 256}};

class FFTShapes : public testing::TestWithParam<Shape> {};

TEST_P(FFTShapes, ForwardMatchesDirectSum) {
  Shape s = GetParam();
  auto a = randomArray(s.rows, s.columns, 7u + (unsigned)(s.rows * 1000 + s.columns));
  auto want = directForward(a, s.rows, s.columns);
  ASSERT_EQ(forward_fft(a.data(), s.rows, s.columns), 0);
  // Single-precision storage of sums of up to 16384 terms of size one.
  expectClose(a, want, 2e-5 * sqrt((double)s.rows * s.columns) * 4);
}

TEST_P(FFTShapes, InverseMatchesDirectSum) {
  Shape s = GetParam();
  auto a = randomArray(s.rows, s.columns, 11u + (unsigned)(s.rows * 1000 + s.columns));
  auto want = directInverse(a, s.rows, s.columns);
  ASSERT_EQ(inverse_fft(a.data(), s.rows, s.columns), 0);
  expectClose(a, want, 1e-5);
}

TEST_P(FFTShapes, ForwardThenInverseGivesTheInputBack) {
  Shape s = GetParam();
  auto a = randomArray(s.rows, s.columns, 13u);
  auto orig = a;
  ASSERT_EQ(forward_fft(a.data(), s.rows, s.columns), 0);
  ASSERT_EQ(inverse_fft(a.data(), s.rows, s.columns), 0);
  for (size_t i = 0; i < a.size(); i++) {
    EXPECT_NEAR(a[i].re, orig[i].re, 1e-5);
    EXPECT_NEAR(a[i].im, orig[i].im, 1e-5);
  }
}

INSTANTIATE_TEST_SUITE_P(Sizes, FFTShapes, testing::ValuesIn(kShapes), [](const testing::TestParamInfo<Shape>& i) {
  return std::to_string(i.param.rows) + "x" + std::to_string(i.param.columns);
});

TEST(FFT, ImpulseAtTheCentreGivesAFlatSpectrumOfAlternatingSign) {
  const int n = 64;
  std::vector<FFTComplex> a(n * n, FFTComplex{0.0f, 0.0f});
  a[32 * n + 32].re = 255.0f;
  ASSERT_EQ(forward_fft(a.data(), n, n), 0);
  for (int r = 0; r < n; r++)
    for (int c = 0; c < n; c++) {
      float sign = ((r + c) % 2 == 0) ? 1.0f : -1.0f;
      EXPECT_NEAR(a[r * n + c].re, sign * 255.0f, 1e-3) << r << "," << c;
      EXPECT_NEAR(a[r * n + c].im, 0.0f, 1e-3) << r << "," << c;
    }
}

TEST(FFT, ConstantGoesToZeroFrequencyAtTheMiddle) {
  const int rows = 8, columns = 16;
  std::vector<FFTComplex> a(rows * columns, FFTComplex{1.0f, 0.0f});
  ASSERT_EQ(forward_fft(a.data(), rows, columns), 0);
  for (int r = 0; r < rows; r++)
    for (int c = 0; c < columns; c++) {
      float want = (r == rows / 2 && c == columns / 2) ? (float)(rows * columns) : 0.0f;
      EXPECT_NEAR(a[r * columns + c].re, want, 1e-4);
      EXPECT_NEAR(a[r * columns + c].im, 0.0f, 1e-4);
    }
}

TEST(FFT, OneWaveLandsOnItsFrequencyWithTheForwardSign) {
  // exp(+i 2 pi 3 c / 16) has frequency +3: with the kernel exp(-i ...) it lands at 8 + 3.
  const int n = 16;
  std::vector<FFTComplex> a(n);
  for (int c = 0; c < n; c++) a[c] = {(float)cos(2 * kPi * 3 * c / n), (float)sin(2 * kPi * 3 * c / n)};
  ASSERT_EQ(forward_fft(a.data(), 1, n), 0);
  for (int c = 0; c < n; c++) {
    EXPECT_NEAR(a[c].re, c == 11 ? 16.0f : 0.0f, 1e-4) << c;
    EXPECT_NEAR(a[c].im, 0.0f, 1e-4) << c;
  }
}

// Every mix of the passes: m mod 3 of 0, 1 and 2, up to 2^16, one dimension in double precision.
class FFT842Lengths : public testing::TestWithParam<int> {};

TEST_P(FFT842Lengths, ForwardMatchesDirectSumAndInverseReturns) {
  int n = GetParam();
  std::mt19937 gen(n);
  std::uniform_real_distribution<double> d(-1.0, 1.0);
  std::vector<FFTComplexD> x(n);
  for (auto& c : x) c = {d(gen), d(gen)};
  auto orig = x;
  FFT842(0, n, x.data());
  // Check a sample of frequencies by direct sums (all of them for short lengths).
  int stride = n <= 1024 ? 1 : n / 97;
  for (int k = 0; k < n; k += stride) {
    Cd sum = 0;
    for (int j = 0; j < n; j++)
      sum += Cd(orig[j].re, orig[j].im) * std::polar(1.0, -2.0 * kPi * (double)((long long)k * j % n) / n);
    int idx = (k + n / 2) % n;
    EXPECT_NEAR(x[idx].re, sum.real(), 1e-9 * n) << "n " << n << " k " << k;
    EXPECT_NEAR(x[idx].im, sum.imag(), 1e-9 * n) << "n " << n << " k " << k;
  }
  FFT842(1, n, x.data());
  for (int j = 0; j < n; j++) {
    EXPECT_NEAR(x[j].re, orig[j].re, 1e-12 * n);
    EXPECT_NEAR(x[j].im, orig[j].im, 1e-12 * n);
  }
}

INSTANTIATE_TEST_SUITE_P(Lengths, FFT842Lengths,
                         testing::Values(1, 2, 4, 8, 16, 32, 64, 128, 256, 512, 1024, 2048, 32768, 65536));

TEST(FFTPasses, RadixEightPassOfOneBlockIsAnEightPointTransformInBitReversedOrder) {
  std::vector<FFTComplexD> x(8);
  for (int j = 0; j < 8; j++) x[j] = {j + 1.0, 0.5 * j};
  auto orig = x;
  R8TX(1, 8, 8, x.data());
  const int rev[8] = {0, 4, 2, 6, 1, 5, 3, 7};
  for (int p = 0; p < 8; p++) {
    Cd sum = 0;
    for (int j = 0; j < 8; j++) sum += Cd(orig[j].re, orig[j].im) * std::polar(1.0, 2.0 * kPi * j * p / 8);
    EXPECT_NEAR(x[rev[p]].re, sum.real(), 1e-12) << p;
    EXPECT_NEAR(x[rev[p]].im, sum.imag(), 1e-12) << p;
  }
}

TEST(FFTPasses, RadixFourAndTwoPassesWorkOnNeighbouringGroups) {
  std::vector<FFTComplexD> x = {{1, 0}, {2, 0}, {3, 0}, {4, 0}, {0, 1}, {0, 0}, {0, 0}, {0, 0}};
  R4TX(8, x.data());
  // 1 2 3 4: frequencies 0..3 with exp(+i) are 10, -2-2i, -2, -2+2i, at 0, 2, 1, 3.
  EXPECT_DOUBLE_EQ(x[0].re, 10);
  EXPECT_DOUBLE_EQ(x[1].re, -2);
  EXPECT_DOUBLE_EQ(x[1].im, 0);
  EXPECT_DOUBLE_EQ(x[2].re, -2);
  EXPECT_DOUBLE_EQ(x[2].im, -2);
  EXPECT_DOUBLE_EQ(x[3].re, -2);
  EXPECT_DOUBLE_EQ(x[3].im, 2);
  for (int i = 4; i < 8; i++) {
    EXPECT_DOUBLE_EQ(x[i].re, 0);
    EXPECT_DOUBLE_EQ(x[i].im, 1);
  }
  std::vector<FFTComplexD> y = {{1, 1}, {3, -1}, {5, 0}, {2, 0}};
  R2TX(4, y.data());
  EXPECT_DOUBLE_EQ(y[0].re, 4);
  EXPECT_DOUBLE_EQ(y[0].im, 0);
  EXPECT_DOUBLE_EQ(y[1].re, -2);
  EXPECT_DOUBLE_EQ(y[1].im, 2);
  EXPECT_DOUBLE_EQ(y[2].re, 7);
  EXPECT_DOUBLE_EQ(y[3].re, 3);
}

struct BitCase {
  int v, power, log2;
};

TEST(FFTBits, PowerOfTwoAndFastLog2) {
  const BitCase cases[] = {{-8, 0, 0},         {-1, 0, 0},     {0, 0, 0},     {1, 1, 0},     {2, 1, 1},
                           {3, 0, 1},          {4, 1, 2},      {48, 0, 5},    {64, 1, 6},    {65, 0, 6},
                           {32768, 1, 15},     {65536, 1, 16}, {1 << 30, 1, 30}, {0x7FFFFFFF, 0, 30}};
  for (const auto& c : cases) {
    EXPECT_EQ(power_of_2(c.v), c.power) << c.v;
    EXPECT_EQ(fastlog2(c.v), c.log2) << c.v;
  }
}

const char kNotPower[] = "complex_fft: input array must have dimensions a power of 2";
const char kNoStorage[] = "Insufficient storage for fft buffers";

class FFTRefusedShapes : public testing::TestWithParam<Shape> {};

TEST_P(FFTRefusedShapes, RefusedWithItsMessageAndTheArrayLeftAsItWas) {
  Shape s = GetParam();
  // Room for the shape as if it were valid, to see that nothing is touched.
  int rows = s.rows > 0 ? s.rows : 1, columns = s.columns > 0 ? s.columns : 1;
  auto a = randomArray(rows, columns, 3);
  auto orig = a;
  int fwd = 0, inv = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { fwd = forward_fft(a.data(), s.rows, s.columns); }), kNotPower);
  EXPECT_EQ(testsupport::stderrOf([&] { inv = inverse_fft(a.data(), s.rows, s.columns); }), kNotPower);
  EXPECT_EQ(fwd, -1);
  EXPECT_EQ(inv, -1);
  for (size_t i = 0; i < a.size(); i++) {
    EXPECT_EQ(a[i].re, orig[i].re);
    EXPECT_EQ(a[i].im, orig[i].im);
  }
}

const Shape kRefused[] = {{48, 64}, {64, 48}, {0, 64}, {64, 0}, {3, 4}, {-64, 64}, {64, 96}, {6, 6}};

INSTANTIATE_TEST_SUITE_P(Sizes, FFTRefusedShapes, testing::ValuesIn(kRefused),
                         [](const testing::TestParamInfo<Shape>& i) { return "case" + std::to_string(i.index); });

class FFTAlloc : public testing::Test {
 protected:
  void SetUp() override { setAllocFunc_fft(testsupport::failingAlloc, free); }
  void TearDown() override {
    testsupport::failAllocAfter(-1);
    setAllocFunc_fft(malloc, free);
  }
};

TEST_F(FFTAlloc, NoStageBufferFailsWithItsMessageAndLeavesTheArray) {
  auto a = randomArray(16, 8, 5);
  auto orig = a;
  testsupport::failAllocAfter(0);
  int rc = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { rc = forward_fft(a.data(), 16, 8); }), kNoStorage);
  EXPECT_EQ(rc, -1);
  EXPECT_EQ(testsupport::stderrOf([&] { rc = inverse_fft(a.data(), 16, 8); }), kNoStorage);
  EXPECT_EQ(rc, -1);
  for (size_t i = 0; i < a.size(); i++) {
    EXPECT_EQ(a[i].re, orig[i].re);
    EXPECT_EQ(a[i].im, orig[i].im);
  }
}

TEST_F(FFTAlloc, OneStageBufferThroughThePairPerTransform) {
  auto a = randomArray(16, 8, 5);
  testsupport::failAllocAfter(1);
  EXPECT_EQ(testsupport::stderrOf([&] { EXPECT_EQ(forward_fft(a.data(), 16, 8), 0); }), "");
  EXPECT_EQ(testsupport::failingAllocCalls(), 1);
  // A refused size asks for nothing.
  testsupport::failAllocAfter(-1);
  testsupport::stderrOf([&] { forward_fft(a.data(), 12, 8); });
  EXPECT_EQ(testsupport::failingAllocCalls(), 0);
}

}  // namespace
