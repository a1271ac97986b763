// Tests of the vector and matrix functions.
#include "coords/math3D.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <string>
#include <utility>

#include "coords/constants.h"
#include "coords/view.h"

namespace {

std::string captureFile(void (*fn)(FILE*)) {
  FILE* fp = std::tmpfile();
  fn(fp);
  std::rewind(fp);
  std::string s;
  char buf[512];
  size_t n;
  while ((n = std::fread(buf, 1, sizeof(buf), fp)) > 0) s.append(buf, n);
  std::fclose(fp);
  return s;
}

std::string printedView(const View& v) {
  static const View* current = nullptr;
  current = &v;
  return captureFile([](FILE* fp) { printView(fp, current); });
}

View makeView(PHCoord pos) {
  View v;
  v.viewPos = pos;
  v.viewDir[0] = 0;
  v.viewDir[1] = 0;
  v.viewDir[2] = -1;
  v.viewUp[0] = 0;
  v.viewUp[1] = 1;
  v.viewUp[2] = 0;
  v.fovy = 45;
  v.aspect = 1.333333;
  return v;
}

PHCoord ph(double x, double y, double z, double s) {
  return {x, y, z, s};
}

// ---- vectors --------------------------------------------------------------------------------

TEST(Math3DTest, LengthsAndDistances) {
  double a[3] = {1, 2, 2}, b[3] = {4, 6, 2};
  EXPECT_EQ(sqrLength3D(a), 9);
  EXPECT_EQ(length3D(a), 3);
  EXPECT_EQ(dist3D(a, b), 5);
  double p[2] = {3, 4}, q[2] = {0, 0};
  EXPECT_EQ(sqrLength2D(p), 25);
  EXPECT_EQ(length2D(p), 5);
  EXPECT_EQ(dist2D(p, q), 5);
}

TEST(Math3DTest, AddMinusAddMulWithAliasedOutput) {
  double a[3] = {1, 2, 3}, b[3] = {10, 20, 30}, out[3];
  add3D(a, b, out);
  EXPECT_EQ(out[0], 11);
  EXPECT_EQ(out[2], 33);
  minus3D(a, b, out);
  EXPECT_EQ(out[1], -18);
  add_mul_3D(a, 0.5, b, a);  // out may be an input
  EXPECT_EQ(a[0], 6);
  EXPECT_EQ(a[1], 12);
  EXPECT_EQ(a[2], 18);
  double c[2] = {1, 2}, d[2] = {3, 5}, e[2];
  add2D(c, d, e);
  EXPECT_EQ(e[0], 4);
  EXPECT_EQ(e[1], 7);
  minus2D(c, d, c);
  EXPECT_EQ(c[0], -2);
  EXPECT_EQ(c[1], -3);
  add_mul_2D(c, 2, d, e);
  EXPECT_EQ(e[0], 4);
  EXPECT_EQ(e[1], 7);
}

TEST(Math3DTest, DotCrossCopy) {
  double x[3] = {1, 0, 0}, y[3] = {0, 1, 0}, z[3];
  cross3D(x, y, z);
  EXPECT_EQ(z[0], 0);
  EXPECT_EQ(z[1], 0);
  EXPECT_EQ(z[2], 1);
  EXPECT_EQ(dot3D(x, y), 0);
  double a[3] = {1, 2, 3}, b[3] = {4, 5, 6};
  EXPECT_EQ(dot3D(a, b), 32);
  double a2[2] = {1, 2}, b2[2] = {3, 4};
  EXPECT_EQ(dot2D(a2, b2), 11);
  copy3D(z, a);
  EXPECT_EQ(z[2], 3);
  copy2D(b2, a2);
  EXPECT_EQ(b2[0], 1);
  EXPECT_EQ(b2[1], 2);
}

TEST(Math3DTest, MultAndDivInPlace) {
  double v[3] = {1, 2, 3};
  mult3D(v, 2);
  EXPECT_EQ(v[2], 6);
  div3D(v, 4);
  EXPECT_EQ(v[0], 0.5);
  double w[2] = {2, 4};
  mult2D(w, -1);
  EXPECT_EQ(w[1], -4);
  div2D(w, 2);
  EXPECT_EQ(w[0], -1);
}

TEST(Math3DTest, DivByZeroIsNotTested) {
  double v[3] = {1, -1, 0};
  div3D(v, 0.0);
  EXPECT_TRUE(std::isinf(v[0]) && v[0] > 0);
  EXPECT_TRUE(std::isinf(v[1]) && v[1] < 0);
  EXPECT_TRUE(std::isnan(v[2]));
  double w[2] = {1, 0};
  div2D(w, 0.0);
  EXPECT_TRUE(std::isinf(w[0]));
  EXPECT_TRUE(std::isnan(w[1]));
}

TEST(Math3DTest, EqualVec) {
  double a[3] = {1, 2, 3}, b[3] = {1 + 1e-8, 2, 3 - 1e-8}, c[3] = {1, 2, 3 + 1e-6};
  EXPECT_EQ(equalVec3D(a, b), 1);
  EXPECT_EQ(equalVec3D(a, c), 0);
  EXPECT_EQ(equalVec3D_Ep(a, c, 1e-5), 1);
  double d[3] = {1, 2, 3.5};
  EXPECT_EQ(equalVec3D_Ep(a, d, 0.5), 1);  // "no more than" eps: equal at exactly eps
  double p[2] = {0, 0}, q[2] = {0, 2e-7};
  EXPECT_EQ(equalVec2D(p, q), 0);
  EXPECT_EQ(equalVec2D_Ep(p, q, 1e-6), 1);
  double r[2] = {5e-8, -5e-8};
  EXPECT_EQ(equalVec2D(p, r), 1);
}

TEST(Math3DTest, Unify) {
  double v[3] = {0, 3, 4};
  EXPECT_EQ(unify3D(v), 1);
  EXPECT_DOUBLE_EQ(v[1], 0.6);
  EXPECT_DOUBLE_EQ(v[2], 0.8);
  double z[3] = {0, 0, 0};
  EXPECT_EQ(unify3D(z), 0);
  EXPECT_EQ(z[0], 0);
  double w[2] = {-3, 4};
  EXPECT_EQ(unify2D(w), 1);
  EXPECT_DOUBLE_EQ(w[0], -0.6);
  double w0[2] = {0, 0};
  EXPECT_EQ(unify2D(w0), 0);
  // No tolerance: a tiny vector is still made unit.
  double t[2] = {1e-20, 0};
  EXPECT_EQ(unify2D(t), 1);
  EXPECT_DOUBLE_EQ(t[0], 1.0);
}

TEST(Math3DTest, UnifyOfVeryShortVectorWorks) {
  double v[3] = {1e-300, 0, 0};
  EXPECT_EQ(unify3D(v), 1);
  EXPECT_DOUBLE_EQ(v[0], 1.0);
  double u[3] = {6e-301, 8e-301, 0};
  EXPECT_EQ(unify3D(u), 1);
  EXPECT_NEAR(u[0], 0.6, 1e-12);
  EXPECT_NEAR(u[1], 0.8, 1e-12);
}

TEST(Math3DTest, FindNormalNotUnit) {
  double a[3] = {1, 1, 1}, b[3] = {3, 1, 1}, c[3] = {1, 4, 1}, n[3];
  findNormal3D(a, b, c, n);
  EXPECT_EQ(n[0], 0);
  EXPECT_EQ(n[1], 0);
  EXPECT_EQ(n[2], 6);
}

TEST(Math3DTest, AverageIsDirection) {
  double a[3] = {2, 0, 0}, b[3] = {0, 2, 0}, c[3] = {0, 0, 0}, out[3];
  average3D(a, b, c, out);
  EXPECT_DOUBLE_EQ(out[0], std::sqrt(0.5));
  EXPECT_DOUBLE_EQ(out[1], std::sqrt(0.5));
  EXPECT_EQ(out[2], 0);
}

TEST(Math3DTest, AverageOfZeroSumIsNaN) {
  double a[3] = {1, 0, 0}, b[3] = {-1, 0, 0}, c[3] = {0, 0, 0}, out[3];
  average3D(a, b, c, out);
  EXPECT_TRUE(std::isnan(out[0]));
  EXPECT_TRUE(std::isnan(out[1]));
  EXPECT_TRUE(std::isnan(out[2]));
}

TEST(Math3DTest, Clamp) {
  EXPECT_EQ(clamp(-0.5), 0.0);
  EXPECT_EQ(clamp(-1e300), 0.0);
  EXPECT_EQ(clamp(1.5), 1.0);
  EXPECT_EQ(clamp(0.0), 0.0);
  EXPECT_EQ(clamp(1.0), 1.0);
  EXPECT_EQ(clamp(0.25), 0.25);
}

// ---- printing -------------------------------------------------------------------------------

TEST(Math3DTest, PrintVecFormat) {
  double v[3] = {1, -0.5, 123.456789};
  testing::internal::CaptureStdout();
  printVec(v, 3);
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "1.00000 -0.50000 123.45679");
  testing::internal::CaptureStdout();
  printVec(v, 1);
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "1.00000");
}

TEST(Math3DTest, PrintMatFormat) {
  static const double m[6] = {1, 2, 3, 4, 5, 6};
  std::string s = captureFile([](FILE* fp) { printMat(fp, "%.1f", m, 2, 3); });
  EXPECT_EQ(s, "1.0 2.0 3.0\n4.0 5.0 6.0\n");
  std::string t = captureFile([](FILE* fp) { printMat(fp, "[%g]", m, 3, 2); });
  EXPECT_EQ(t, "[1] [2]\n[3] [4]\n[5] [6]\n");
}

TEST(Math3DTest, PrintViewFormatExactly) {
  View v = makeView(ph(3, 4, 0, 2));
  EXPECT_EQ(printedView(v),
            "viewPos   = 3.00000 4.00000 0.00000 2.00000\n"
            "viewDir   = 0.00000 0.00000 -1.00000\n"
            "viewUp    = 0.00000 1.00000 0.00000\n"
            "fovy      = 45.00000\n"
            "aspect    = 1.33333\n");
}

TEST(Math3DTest, PrintViewUnifyAndSplitUndoEachOther) {
  // (30, 40, 0, 1) unifies to exponent 2.69897 and is written back as 3, 4 at exponent 2.
  View v = makeView(ph(30, 40, 0, 1));
  std::string s = printedView(v);
  EXPECT_EQ(s.substr(0, s.find('\n') + 1), "viewPos   = 3.00000 4.00000 0.00000 2.00000\n");
}

TEST(Math3DTest, PrintViewNegativeExponentTruncatesTowardZero) {
  // Unit x at s = -2.5: whole exponent -2, mantissa 10^-0.5 = 0.316.
  View v = makeView(ph(1, 0, 0, -2.5));
  std::string s = printedView(v);
  EXPECT_EQ(s.substr(0, s.find('\n') + 1), "viewPos   = 0.31623 0.00000 0.00000 -2.00000\n");
  View w = makeView(ph(0, 0, 0.5, -2.19897000433602));  // unifies to s = -2.5 as well
  std::string t = printedView(w);
  EXPECT_EQ(t.substr(0, t.find('\n') + 1), "viewPos   = 0.00000 0.00000 0.31623 -2.00000\n");
}

TEST(Math3DTest, PrintViewZeroPositionKeepsExponent) {
  View v = makeView(ph(0, 0, 0, 7.5));
  std::string s = printedView(v);
  // The zero copy keeps s = 7.5: whole 7, and the zero mantissa times 10^0.5 stays zero.
  EXPECT_EQ(s.substr(0, s.find('\n') + 1), "viewPos   = 0.00000 0.00000 0.00000 7.00000\n");
}

TEST(Math3DTest, PrintViewToStandardOutput) {
  View v = makeView(ph(1, 0, 0, kParsecExponent));
  testing::internal::CaptureStdout();
  printView(stdout, &v);
  std::fflush(stdout);
  std::string s = testing::internal::GetCapturedStdout();
  EXPECT_EQ(s.substr(0, s.find('\n') + 1), "viewPos   = 3.08603 0.00000 0.00000 16.00000\n");
}

// ---- rotations and matrices -----------------------------------------------------------------

TEST(Math3DTest, Rotate2DAnticlockwise) {
  double in[2] = {1, 0}, out[2];
  rotate2D(out, in, kPi / 2);
  EXPECT_NEAR(out[0], 0, 1e-15);
  EXPECT_NEAR(out[1], 1, 1e-15);
  rotate2D(in, in, kPi);  // in place
  EXPECT_NEAR(in[0], -1, 1e-15);
  EXPECT_NEAR(in[1], 0, 1e-15);
}

TEST(Math3DTest, Rotate3DRightHandAxisUntouched) {
  double v[3] = {1, 0, 0};
  double axis[3] = {0, 0, 5};
  rotate3D_3(v, axis, kPi / 2);
  EXPECT_NEAR(v[0], 0, 1e-15);
  EXPECT_NEAR(v[1], 1, 1e-15);
  EXPECT_NEAR(v[2], 0, 1e-15);
  EXPECT_EQ(axis[2], 5);  // copied and made unit, not changed
  double w[3] = {1, 2, 3};
  double diag[3] = {1, 1, 1};
  rotate3D_3(w, diag, 2 * kPi / 3);  // a third of a turn about (1,1,1) cycles the axes
  EXPECT_NEAR(w[0], 3, 1e-12);
  EXPECT_NEAR(w[1], 1, 1e-12);
  EXPECT_NEAR(w[2], 2, 1e-12);
}

TEST(Math3DTest, TransposeAndMultiply) {
  double m[9] = {1, 2, 3, 4, 5, 6, 7, 8, 9};
  transposeMat(m, 3);
  double t[9] = {1, 4, 7, 2, 5, 8, 3, 6, 9};
  for (int i = 0; i < 9; i++) EXPECT_EQ(m[i], t[i]);
  double a[4] = {1, 2, 3, 4}, b[4] = {0, 1, 1, 0}, out[4];
  multMat(a, b, out, 2);
  EXPECT_EQ(out[0], 2);
  EXPECT_EQ(out[1], 1);
  EXPECT_EQ(out[2], 4);
  EXPECT_EQ(out[3], 3);
}

TEST(Math3DTest, Identity) {
  double m[16];
  float f[16];
  identity(m);
  identityf(f);
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) {
      EXPECT_EQ(m[i * 4 + j], i == j ? 1.0 : 0.0);
      EXPECT_EQ(f[i * 4 + j], i == j ? 1.0f : 0.0f);
    }
}

TEST(Math3DTest, Invert4by4) {
  double m[16] = {2, 0, 0, 1, 0, 3, 0, 2, 0, 0, 4, 3, 0, 0, 0, 1};
  double orig[16];
  for (int i = 0; i < 16; i++) orig[i] = m[i];
  ASSERT_EQ(invert4by4(m), 1);
  double prod[16];
  multMat(orig, m, prod, 4);
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) EXPECT_NEAR(prod[i * 4 + j], i == j ? 1.0 : 0.0, 1e-14);
}

TEST(Math3DTest, Invert4by4NeedsPivoting) {
  // A zero on the first diagonal: only a row swap makes it invertible.
  double m[16] = {0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0};
  double orig[16];
  for (int i = 0; i < 16; i++) orig[i] = m[i];
  ASSERT_EQ(invert4by4(m), 1);
  double prod[16];
  multMat(orig, m, prod, 4);
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) EXPECT_NEAR(prod[i * 4 + j], i == j ? 1.0 : 0.0, 1e-15);
}

// The same elimination written out with either pivot rule, for comparison: the last later row
// whose element beats the diagonal element, or the largest.
template <typename T>
void referenceInvert(T a[16], bool lastBeatingDiagonal) {
  T w[16], inv[16];
  for (int k = 0; k < 16; k++) {
    w[k] = a[k];
    inv[k] = (k % 5 == 0) ? T(1) : T(0);
  }
  for (int i = 0; i < 4; i++) {
    int piv = i;
    for (int j = i + 1; j < 4; j++) {
      T against = lastBeatingDiagonal ? std::fabs(w[i * 4 + i]) : std::fabs(w[piv * 4 + i]);
      if (std::fabs(w[j * 4 + i]) > against) piv = j;
    }
    for (int k = 0; k < 4; k++) {
      std::swap(w[i * 4 + k], w[piv * 4 + k]);
      std::swap(inv[i * 4 + k], inv[piv * 4 + k]);
    }
    T p = w[i * 4 + i];
    for (int k = 0; k < 4; k++) {
      w[i * 4 + k] /= p;
      inv[i * 4 + k] /= p;
    }
    for (int j = 0; j < 4; j++) {
      if (j == i) continue;
      T f = w[j * 4 + i];
      for (int k = 0; k < 4; k++) {
        w[j * 4 + k] -= f * w[i * 4 + k];
        inv[j * 4 + k] -= f * inv[i * 4 + k];
      }
    }
  }
  for (int k = 0; k < 16; k++) a[k] = inv[k];
}

// Column 0 holds 1 on the diagonal, 10 in row 1 and 2 in row 2: both beat the diagonal, and the
// last of them (row 2) is taken although row 1 is larger. Dividing by 2 instead of 10 shows in the
// last bits of the result.
template <typename T>
void checkPivotRule(int (*invert)(T*)) {
  const T m[16] = {T(1), T(0.3), T(0.7), T(0.1), T(10), T(0.9), T(0.2), T(0.6),
                   T(2), T(0.4), T(0.5), T(0.8), T(0),  T(0),   T(0),   T(1)};
  T mine[16], lastRule[16], largestRule[16];
  for (int i = 0; i < 16; i++) mine[i] = lastRule[i] = largestRule[i] = m[i];
  ASSERT_EQ(invert(mine), 1);
  referenceInvert(lastRule, true);
  referenceInvert(largestRule, false);
  bool differ = false;
  for (int i = 0; i < 16; i++) {
    EXPECT_EQ(mine[i], lastRule[i]) << i;
    if (largestRule[i] != lastRule[i]) differ = true;
  }
  EXPECT_TRUE(differ) << "the matrix does not tell the two pivot rules apart";
}

TEST(Math3DTest, Invert4by4PivotIsLastRowBeatingDiagonalNotLargest) {
  checkPivotRule<double>(invert4by4);
  checkPivotRule<float>(invert4by4f);
}

TEST(Math3DTest, Invert4by4SingularLeavesMatrix) {
  double m[16] = {1, 2, 3, 4, 2, 4, 6, 8, 0, 0, 1, 0, 0, 0, 0, 1};
  double before[16];
  for (int i = 0; i < 16; i++) before[i] = m[i];
  EXPECT_EQ(invert4by4(m), 0);
  for (int i = 0; i < 16; i++) EXPECT_EQ(m[i], before[i]);
}

TEST(Math3DTest, Invert4by4fZeroColumnReturnsZeroAndLeavesMatrix) {
  float m[16] = {1, 0, 2, 3, 4, 0, 5, 6, 7, 0, 8, 9, 1, 0, 1, 1};
  float before[16];
  for (int i = 0; i < 16; i++) before[i] = m[i];
  EXPECT_EQ(invert4by4f(m), 0);
  for (int i = 0; i < 16; i++) EXPECT_EQ(m[i], before[i]);
}

TEST(Math3DTest, Invert4by4fInverts) {
  float m[16] = {4, 1, 0, 0, 1, 3, 1, 0, 0, 1, 2, 1, 0, 0, 1, 5};
  float inv[16];
  for (int i = 0; i < 16; i++) inv[i] = m[i];
  ASSERT_EQ(invert4by4f(inv), 1);
  for (int i = 0; i < 4; i++)
    for (int j = 0; j < 4; j++) {
      float sum = 0;
      for (int k = 0; k < 4; k++) sum += m[i * 4 + k] * inv[k * 4 + j];
      EXPECT_NEAR(sum, i == j ? 1.0f : 0.0f, 1e-5f);
    }
}

TEST(Math3DTest, InvertMatInvertsAndReturnsZero) {
  double m[9] = {4, 1, 2, 1, 3, 0, 2, 0, 5};
  double orig[9];
  for (int i = 0; i < 9; i++) orig[i] = m[i];
  EXPECT_EQ(invertMat(m, 3), 0);  // 0 even on success
  double prod[9];
  multMat(orig, m, prod, 3);
  for (int i = 0; i < 3; i++)
    for (int j = 0; j < 3; j++) EXPECT_NEAR(prod[i * 3 + j], i == j ? 1.0 : 0.0, 1e-14);
}

TEST(Math3DTest, InvertMatZeroDiagonalGivesNonFiniteWithoutTest) {
  double m[4] = {0, 1, 1, 0};  // invertible, but there is no pivoting
  EXPECT_EQ(invertMat(m, 2), 0);
  bool nonFinite = false;
  for (double v : m)
    if (!std::isfinite(v)) nonFinite = true;
  EXPECT_TRUE(nonFinite);
}

// ---- time -----------------------------------------------------------------------------------

TEST(Math3DTest, MyTimeGrowsWithProcessorWork) {
  double t0 = myTime();
  EXPECT_GE(t0, 0.0);
  volatile double sink = 0;
  double t1 = t0;
  // Work until the processor clock has visibly moved; getrusage counts in ticks.
  for (long round = 0; round < 2000 && t1 <= t0; round++) {
    for (int i = 0; i < 200000; i++) sink = sink + std::sqrt(static_cast<double>(i));
    t1 = myTime();
  }
  EXPECT_GT(t1, t0);
}

TEST(Math3DTest, MyTimeIsNotWallClock) {
  double t0 = myTime();
  struct timespec ts = {0, 200000000};  // sleeping costs no processor time
  nanosleep(&ts, nullptr);
  EXPECT_LT(myTime() - t0, 0.1);
}

// ---- longitude and latitude -----------------------------------------------------------------

TEST(Math3DTest, VecToLB) {
  double v[3] = {0, -1, 0};
  double l = -1, b = -1;
  vecToLB(v, l, b);
  EXPECT_NEAR(l, 270, 1e-12);
  EXPECT_NEAR(b, 0, 1e-12);
  double n[3] = {0, 0, 2};  // made unit first
  vecToLB(n, l, b);
  EXPECT_NEAR(b, 90, 1e-12);
  double x[3] = {3, 0, 0};
  vecToLB(x, l, b);
  EXPECT_EQ(l, 0);
  EXPECT_EQ(b, 0);
  double s[3] = {-1, 0, -1};
  vecToLB(s, l, b);
  EXPECT_NEAR(l, 180, 1e-12);
  EXPECT_NEAR(b, -45, 1e-12);
}

TEST(Math3DTest, LBToVec) {
  double v[3];
  lbToVec(v, 90, 0);
  EXPECT_NEAR(v[0], 0, 1e-15);
  EXPECT_NEAR(v[1], 1, 1e-15);
  EXPECT_NEAR(v[2], 0, 1e-15);
  lbToVec(v, 0, 90);
  EXPECT_NEAR(v[2], 1, 1e-15);
  for (double l : {0.0, 33.0, 179.0, 300.0})
    for (double b : {-80.0, -10.0, 0.0, 45.0}) {
      double l2, b2;
      lbToVec(v, l, b);
      EXPECT_NEAR(length3D(v), 1.0, 1e-15);
      vecToLB(v, l2, b2);
      EXPECT_NEAR(l2, l, 1e-10);
      EXPECT_NEAR(b2, b, 1e-10);
    }
}

// ---- rays -----------------------------------------------------------------------------------

TEST(Math3DTest, HitTriangleInside) {
  double a[3] = {0, 0, 5}, b[3] = {4, 0, 5}, c[3] = {0, 4, 5};
  double origin[3] = {1, 1, 0}, dir[3] = {0, 0, 2}, hit[3], normal[3];
  double t = hitTriangle(a, b, c, origin, dir, hit, normal);
  EXPECT_DOUBLE_EQ(t, 2.5);
  EXPECT_DOUBLE_EQ(hit[0], 1);
  EXPECT_DOUBLE_EQ(hit[1], 1);
  EXPECT_DOUBLE_EQ(hit[2], 5);
  // (b - a) x (c - a) = (0, 0, 16) faces along the ray and is turned against it, not made unit.
  EXPECT_EQ(normal[0], 0);
  EXPECT_EQ(normal[1], 0);
  EXPECT_EQ(normal[2], -16);
}

TEST(Math3DTest, HitTriangleNormalAlreadyFacingStays) {
  double a[3] = {0, 0, 5}, b[3] = {0, 4, 5}, c[3] = {4, 0, 5};
  double origin[3] = {1, 1, 0}, dir[3] = {0, 0, 1}, hit[3], normal[3];
  EXPECT_DOUBLE_EQ(hitTriangle(a, b, c, origin, dir, hit, normal), 5);
  EXPECT_EQ(normal[2], -16);
}

TEST(Math3DTest, HitTriangleMissesOutside) {
  double a[3] = {0, 0, 5}, b[3] = {4, 0, 5}, c[3] = {0, 4, 5};
  double origin[3] = {3, 3, 0}, dir[3] = {0, 0, 1}, hit[3], normal[3];
  EXPECT_EQ(hitTriangle(a, b, c, origin, dir, hit, normal), -1.0);
}

TEST(Math3DTest, HitTriangleEdgeAndCornerDoNotCount) {
  double a[3] = {0, 0, 5}, b[3] = {4, 0, 5}, c[3] = {0, 4, 5};
  double hit[3], normal[3], dir[3] = {0, 0, 1};
  double onEdge[3] = {2, 0, 0};
  EXPECT_EQ(hitTriangle(a, b, c, onEdge, dir, hit, normal), -1.0);
  double onHypotenuse[3] = {2, 2, 0};
  EXPECT_EQ(hitTriangle(a, b, c, onHypotenuse, dir, hit, normal), -1.0);
  double onCorner[3] = {0, 0, 0};
  EXPECT_EQ(hitTriangle(a, b, c, onCorner, dir, hit, normal), -1.0);
  double justInside[3] = {2, 1e-9, 0};
  EXPECT_DOUBLE_EQ(hitTriangle(a, b, c, justInside, dir, hit, normal), 5.0);
}

TEST(Math3DTest, HitTriangleBehindIsSortedOut) {
  double a[3] = {0, 0, -5}, b[3] = {4, 0, -5}, c[3] = {0, 4, -5};
  double origin[3] = {1, 1, 0}, dir[3] = {0, 0, 1}, hit[3], normal[3];
  EXPECT_EQ(hitTriangle(a, b, c, origin, dir, hit, normal), -1.0);
}

TEST(Math3DTest, HitTriangleBehindWithOneCornerInFrontGivesNegativeT) {
  // The plane lies behind the origin at the hit point, but corner c leans forward past it.
  double a[3] = {0, 0, -1}, b[3] = {4, 0, -1}, c[3] = {0, 4, 3};
  double origin[3] = {1, 0.5, 0}, dir[3] = {0, 0, 1}, hit[3], normal[3];
  double t = hitTriangle(a, b, c, origin, dir, hit, normal);
  EXPECT_LT(t, 0.0);
  EXPECT_NE(t, -1.0);
  EXPECT_DOUBLE_EQ(t, -0.5);
  EXPECT_DOUBLE_EQ(hit[2], -0.5);
}

TEST(Math3DTest, HitSphereFromOutside) {
  double centre[3] = {0, 0, 10}, origin[3] = {0, 0, 0}, dir[3] = {0, 0, 2}, hit[3], normal[3];
  double t = hitSphere(centre, 3, origin, dir, hit, normal);
  EXPECT_DOUBLE_EQ(t, 3.5);  // dir needn't be unit
  EXPECT_DOUBLE_EQ(hit[2], 7);
  EXPECT_DOUBLE_EQ(normal[0], 0);
  EXPECT_DOUBLE_EQ(normal[2], -1);
}

TEST(Math3DTest, HitSphereMisses) {
  double centre[3] = {5, 0, 10}, origin[3] = {0, 0, 0}, dir[3] = {0, 0, 1}, hit[3], normal[3];
  EXPECT_EQ(hitSphere(centre, 3, origin, dir, hit, normal), -1.0);
  double behind[3] = {0, 0, -10};
  EXPECT_EQ(hitSphere(behind, 3, origin, dir, hit, normal), -1.0);
}

TEST(Math3DTest, HitSphereFromInsideNeverHits) {
  double centre[3] = {0, 0, 0}, origin[3] = {0.5, 0, 0}, dir[3] = {1, 0, 0}, hit[3], normal[3];
  EXPECT_EQ(hitSphere(centre, 3, origin, dir, hit, normal), -1.0);
  double atCentre[3] = {0, 0, 0};
  EXPECT_EQ(hitSphere(centre, 3, atCentre, dir, hit, normal), -1.0);
}

TEST(Math3DTest, HitSphereOnSurfaceLookingInward) {
  double centre[3] = {0, 0, 0}, origin[3] = {2, 0, 0}, dir[3] = {-1, 0, 0}, hit[3], normal[3];
  EXPECT_EQ(hitSphere(centre, 2, origin, dir, hit, normal), -1.0);
}

TEST(Math3DTest, HitSphereTangentCounts) {
  double centre[3] = {0, 0, 0}, origin[3] = {-5, 1, 0}, dir[3] = {1, 0, 0}, hit[3], normal[3];
  double t = hitSphere(centre, 1, origin, dir, hit, normal);
  EXPECT_DOUBLE_EQ(t, 5);
  EXPECT_DOUBLE_EQ(normal[1], 1);
}

TEST(Math3DTest, Anticlockwise) {
  double a[2] = {0, 0}, b[2] = {1, 0}, c[2] = {0, 1};
  EXPECT_EQ(anticlockwise2D(a, b, c), 1);
  EXPECT_EQ(anticlockwise2D(a, c, b), 0);
  double d[2] = {2, 0};
  EXPECT_EQ(anticlockwise2D(a, b, d), -1);  // collinear
  EXPECT_EQ(anticlockwise2D(a, a, c), -1);  // b on a
  EXPECT_EQ(anticlockwise2D(a, b, a), -1);  // c on a
}

TEST(Math3DTest, Parallel2D) {
  double a[2] = {1, 2}, b[2] = {-2, -4}, c[2] = {1, 2.001};
  EXPECT_EQ(areParallelVec2D(a, b), 1);
  EXPECT_EQ(areParallelVec2D(a, c), 0);
  double d[2] = {1, 2 + 1e-8};
  EXPECT_EQ(areParallelVec2D(a, d), 1);
}

TEST(Math3DTest, Parallel3DCrossMultiplied) {
  double a[3] = {1, 2, 3}, b[3] = {2, 4, 6}, c[3] = {1, 2, 4};
  EXPECT_EQ(areParallelVec3D(a, b), 1);
  EXPECT_EQ(areParallelVec3D(a, c), 0);
}

TEST(Math3DTest, Parallel3DZeroComponentReportsParallel) {
  // x and y are perpendicular, but a zero in b makes all three products zero.
  double x[3] = {1, 0, 0}, y[3] = {0, 1, 0};
  EXPECT_EQ(areParallelVec3D(x, y), 1);
  double a[3] = {5, -3, 7}, b[3] = {0, 0, 1};
  EXPECT_EQ(areParallelVec3D(a, b), 1);
  // Two vectors in the xy plane: every product holds a zero z.
  double c[3] = {5, -3, 0}, d[3] = {1, 2, 0};
  EXPECT_EQ(areParallelVec3D(c, d), 1);
  // The test is the formula itself: with b.z = 0 only a.z b.x b.y is left, here 14.
  double e[3] = {5, -3, 7};
  EXPECT_EQ(areParallelVec3D(e, d), 0);
}

}  // namespace

// The galactic pole lies at J2000 RA 192.85948, Dec 27.12825 and the galactic centre at
// RA 266.40499, Dec -28.93617 (IAU definition); the system's rounded turn lands within
// 40 arc seconds of both, and its two directions undo each other.
TEST(FrameTurn, GalacticToEquatorialMatchesThePoles) {
  auto sepDeg = [](const double a[3], const double b[3]) {
    return std::acos(std::min(1.0, dot3D(a, b))) * kDegreesPerRadian;
  };
  double pole[3] = {0, 0, 1}, want[3];
  galacticToEquatorial(pole);
  lbToVec(want, 192.85948, 27.12825);
  EXPECT_LT(sepDeg(pole, want), 0.0111);
  double centre[3] = {1, 0, 0};
  galacticToEquatorial(centre);
  lbToVec(want, 266.40499, -28.93617);
  EXPECT_LT(sepDeg(centre, want), 0.0111);
  double v[3] = {0.3, -0.5, 0.81}, w[3];
  unify3D(v);
  copy3D(w, v);
  galacticToEquatorial(w);
  equatorialToGalactic(w);
  EXPECT_NEAR(w[0], v[0], 1e-12);
  EXPECT_NEAR(w[1], v[1], 1e-12);
  EXPECT_NEAR(w[2], v[2], 1e-12);
}
