// Tests of power homogeneous coordinates.
#include "coords/phcoord.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <limits>
#include <string>

#include "coords/constants.h"

namespace {

PHCoord ph(double x, double y, double z, double s) {
  return {x, y, z, s};
}

void expectPH(const PHCoord& p, double x, double y, double z, double s, double tol = 1e-12) {
  EXPECT_NEAR(p.x, x, tol * std::max(1.0, std::fabs(x)));
  EXPECT_NEAR(p.y, y, tol * std::max(1.0, std::fabs(y)));
  EXPECT_NEAR(p.z, z, tol * std::max(1.0, std::fabs(z)));
  EXPECT_NEAR(p.s, s, tol * std::max(1.0, std::fabs(s)));
}

std::string printed(void (*fn)(FILE*, PHCoord), PHCoord p) {
  FILE* fp = std::tmpfile();
  fn(fp, p);
  std::rewind(fp);
  char buf[256] = {};
  size_t n = std::fread(buf, 1, sizeof(buf) - 1, fp);
  std::fclose(fp);
  return std::string(buf, n);
}

TEST(PHCoordTest, RecordIsFourDoublesInOrder) {
  static_assert(sizeof(PHCoord) == 4 * sizeof(double));
  PHCoord p = ph(1, 2, 3, 4);
  const double* d = &p.x;
  EXPECT_EQ(d[0], 1);
  EXPECT_EQ(d[1], 2);
  EXPECT_EQ(d[2], 3);
  EXPECT_EQ(d[3], 4);
}

TEST(PHCoordTest, PrintFormats) {
  EXPECT_EQ(printed(printPHCoord, ph(1, -2.5, 0.1234567, kParsecExponent)),
            "1.000000 -2.500000 0.123457 (16.489400)");
  EXPECT_EQ(printed(printPHCoordN, ph(0, 0, 0, -3)), "0.000000 0.000000 0.000000 (-3.000000)\n");
}

TEST(PHCoordTest, PrintToStandardOutput) {
  testing::internal::CaptureStdout();
  printPHCoord(stdout, ph(3, 4, 0, 2));
  printPHCoordN(stdout, ph(1, 0, 0, 0));
  std::fflush(stdout);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "3.000000 4.000000 0.000000 (2.000000)1.000000 0.000000 0.000000 (0.000000)\n");
}

TEST(PHCoordTest, UnifyThreeFourZero) {
  PHCoord p = ph(3, 4, 0, 2);
  EXPECT_EQ(unifyPHCoord(&p), 1);
  expectPH(p, 0.6, 0.8, 0, 2 + std::log10(5.0));
  EXPECT_NEAR(p.s, 2.69897, 1e-5);
}

TEST(PHCoordTest, UnifyZeroLeavesRecord) {
  PHCoord p = ph(0, 0, 0, 7);
  EXPECT_EQ(unifyPHCoord(&p), -1);
  EXPECT_EQ(p.x, 0);
  EXPECT_EQ(p.y, 0);
  EXPECT_EQ(p.z, 0);
  EXPECT_EQ(p.s, 7);
}

TEST(PHCoordTest, UnifyTinyMantissaIsZeroWhateverS) {
  for (double s : {-50.0, 0.0, 30.0, 300.0}) {
    PHCoord p = ph(1e-8, 0, 0, s);
    EXPECT_EQ(unifyPHCoord(&p), -1) << s;
    EXPECT_EQ(p.x, 1e-8);
    EXPECT_EQ(p.s, s);
  }
  // Stands for 1e22 metres, yet counts as zero: the test looks at the mantissa alone.
  EXPECT_EQ(lengthPHCoord(ph(1e-8, 0, 0, 30)), 0.0);
}

TEST(PHCoordTest, UnifyExactlyAtThresholdIsNotZero) {
  PHCoord p = ph(1e-7, 0, 0, 0);
  EXPECT_EQ(unifyPHCoord(&p), 1);
  expectPH(p, 1, 0, 0, -7);
}

TEST(PHCoordTest, UnifyNaNSpreads) {
  PHCoord p = ph(std::numeric_limits<double>::quiet_NaN(), 1, 0, 3);
  EXPECT_EQ(unifyPHCoord(&p), 1);
  EXPECT_TRUE(std::isnan(p.x));
  EXPECT_TRUE(std::isnan(p.y));
  EXPECT_TRUE(std::isnan(p.z));
  EXPECT_TRUE(std::isnan(p.s));
}

TEST(PHCoordTest, SameFormsStandForSamePoint) {
  EXPECT_EQ(eqnPHCoord(ph(5, 0, 0, 0), ph(0.5, 0, 0, 1)), 1);
  EXPECT_EQ(eqnPHCoord(ph(5, 0, 0, 0), ph(1, 0, 0, std::log10(5.0))), 1);
  EXPECT_NEAR(lengthPHCoord(ph(0.5, 0, 0, 1)), 5.0, 1e-12);
}

TEST(PHCoordTest, NormalizeKeepsPosition) {
  PHCoord p = ph(1, 2, 3, 5);
  EXPECT_EQ(normalizePHCoord(&p, 3), 1);
  expectPH(p, 100, 200, 300, 3);
}

TEST(PHCoordTest, NormalizeBeyondFloatRangeWarnsButRescales) {
  PHCoord p = ph(1, 0, 0, 40);
  EXPECT_EQ(normalizePHCoord(&p, 0), -1);
  EXPECT_NEAR(p.x, 1e40, 1e28);
  EXPECT_EQ(p.s, 0);
  PHCoord q = ph(1, 0, 0, 40);
  EXPECT_EQ(normalizePHCoord(&q, 2), 1);  // 38 is below log10(FLT_MAX) = 38.53
  EXPECT_NEAR(q.x, 1e38, 1e26);
  PHCoord r = ph(1, 0, 0, 38.6);
  EXPECT_EQ(normalizePHCoord(&r, 0), -1);
  PHCoord t = ph(1, 0, 0, 38.5);
  EXPECT_EQ(normalizePHCoord(&t, 0), 1);
}

TEST(PHCoordTest, NormalizeZeroOnlyTakesTarget) {
  PHCoord p = ph(0, 0, 0, 40);
  EXPECT_EQ(normalizePHCoord(&p, 0), 1);
  expectPH(p, 0, 0, 0, 0);
  PHCoord q = ph(1e-8, 2e-8, 0, 40);
  EXPECT_EQ(normalizePHCoord(&q, -3), 1);
  EXPECT_EQ(q.x, 1e-8);
  EXPECT_EQ(q.y, 2e-8);
  EXPECT_EQ(q.s, -3);
}

TEST(PHCoordTest, AddAtSmallerExponentNotUnified) {
  PHCoord r = addPHCoord(ph(1, 0, 0, 0), ph(1, 0, 0, 1));
  expectPH(r, 11, 0, 0, 0);
  // Order does not matter for the exponent chosen.
  PHCoord r2 = addPHCoord(ph(1, 0, 0, 1), ph(1, 0, 0, 0));
  expectPH(r2, 11, 0, 0, 0);
}

TEST(PHCoordTest, AddEqualExponents) {
  PHCoord r = addPHCoord(ph(3, 0, 0, 0), ph(0, 4, 0, 0));
  // Both unified to length 1: (1, 0, 0, log 3) and (0, 1, 0, log 4); b is brought to a's exponent.
  EXPECT_NEAR(r.s, std::log10(3.0), 1e-12);
  EXPECT_NEAR(r.x, 1.0, 1e-12);
  EXPECT_NEAR(r.y, 4.0 / 3.0, 1e-12);
  EXPECT_NEAR(lengthPHCoord(r), 5.0, 1e-12);
}

TEST(PHCoordTest, AddDropsOperandMoreThanFifteenDecadesShorter) {
  PHCoord r = addPHCoord(ph(1, 0, 0, 0), ph(2, 0, 0, 15));
  expectPH(r, 1, 0, 0, 15 + std::log10(2.0));
  EXPECT_NEAR(r.s, 15.30103, 1e-5);
  PHCoord r2 = addPHCoord(ph(2, 0, 0, 15), ph(1, 0, 0, 0));
  expectPH(r2, 1, 0, 0, 15 + std::log10(2.0));
}

TEST(PHCoordTest, AddExactlyFifteenApartIsKept) {
  PHCoord r = addPHCoord(ph(1, 0, 0, 0), ph(1, 0, 0, 15));
  EXPECT_EQ(r.s, 0);
  EXPECT_EQ(r.x, 1e15 + 1);
  EXPECT_EQ(r.y, 0);
  EXPECT_EQ(r.z, 0);
}

TEST(PHCoordTest, AddTwoZerosReturnsSecondUnchanged) {
  PHCoord r = addPHCoord(ph(0, 0, 0, 3), ph(1e-9, 0, 0, 9));
  EXPECT_EQ(r.x, 1e-9);
  EXPECT_EQ(r.y, 0);
  EXPECT_EQ(r.z, 0);
  EXPECT_EQ(r.s, 9);
}

TEST(PHCoordTest, AddWithOneZeroReturnsOtherUnified) {
  PHCoord r = addPHCoord(ph(0, 0, 0, 3), ph(0, 3, 4, 1));
  expectPH(r, 0, 0.6, 0.8, 1 + std::log10(5.0));
  PHCoord r2 = addPHCoord(ph(0, 6, 8, 1), ph(0, 0, 0, 40));
  expectPH(r2, 0, 0.6, 0.8, 2);
}

TEST(PHCoordTest, AddFarApartDoesNotOverflow) {
  PHCoord r = addPHCoord(ph(1, 0, 0, 300), ph(0, 1, 0, -300));
  expectPH(r, 1, 0, 0, 300);
  PHCoord sum = addPHCoord(ph(1, 0, 0, 300), ph(0, 1, 0, 290));
  EXPECT_TRUE(std::isfinite(sum.x));
  EXPECT_EQ(sum.s, 290);
  EXPECT_NEAR(sum.x, 1e10, 1e-2);
}

TEST(PHCoordTest, SubFromItselfIsZeroAndEqual) {
  PHCoord a = ph(1.5, -2, 7, 12.3);
  PHCoord d = subPHCoord(a, a);
  EXPECT_EQ(d.x, 0);
  EXPECT_EQ(d.y, 0);
  EXPECT_EQ(d.z, 0);
  PHCoord ua = a;
  unifyPHCoord(&ua);
  EXPECT_NEAR(d.s, ua.s, 1e-12);
  EXPECT_EQ(eqnPHCoord(a, a), 1);
}

TEST(PHCoordTest, SubDropsMuchSmallerOperand) {
  PHCoord r = subPHCoord(ph(0, 0, 2, 20), ph(1, 0, 0, 0));
  expectPH(r, 0, 0, 1, 20 + std::log10(2.0));
  PHCoord r2 = subPHCoord(ph(1, 0, 0, 0), ph(0, 0, 2, 20));
  expectPH(r2, 0, 0, -1, 20 + std::log10(2.0));
}

TEST(PHCoordTest, MultByZeroKeepsExponent) {
  PHCoord p = multPHCoord(ph(1, 2, 3, 8), 0.0);
  EXPECT_EQ(p.x, 0);
  EXPECT_EQ(p.s, 8);
  EXPECT_EQ(unifyPHCoord(&p), -1);
  EXPECT_EQ(p.s, 8);
}

TEST(PHCoordTest, MultNegatesAndScalesMantissaOnly) {
  PHCoord p = multPHCoord(ph(1, 2, 3, 8), -2.0);
  expectPH(p, -2, -4, -6, 8);
}

TEST(PHCoordTest, Length) {
  EXPECT_EQ(lengthPHCoord(ph(0, 0, 0, 5)), 0.0);
  EXPECT_NEAR(lengthPHCoord(ph(0, 3, 4, 0)), 5.0, 5.0 * 4 * std::numeric_limits<double>::epsilon());
  EXPECT_NEAR(lengthPHCoord(ph(1, 0, 0, kParsecExponent)), std::pow(10.0, kParsecExponent), 1e4);
  EXPECT_TRUE(std::isinf(lengthPHCoord(ph(1, 0, 0, 400))));
}

TEST(PHCoordTest, EqualityTolerance) {
  EXPECT_EQ(eqnPHCoord(ph(0, 0, 0, 3), ph(0, 0, 0, -20)), 1);  // two zeros, any exponents
  EXPECT_EQ(eqnPHCoord(ph(0, 0, 0, 3), ph(1, 0, 0, -20)), 0);  // zero and non-zero
  EXPECT_EQ(eqnPHCoord(ph(1, 0, 0, 0), ph(1 + 1e-8, 0, 0, 0)), 1);
  EXPECT_EQ(eqnPHCoord(ph(1, 0, 0, 0), ph(1 + 1e-6, 0, 0, 0)), 0);
  // Relative to the shorter operand: at 1e10 metres a difference of 1e-8 of a metre unit vector
  // counts as nothing; more than fifteen decades apart is never equal.
  EXPECT_EQ(eqnPHCoord(ph(1, 0, 0, 10), ph(1, 0, 0, 10.00000000001)), 1);
  EXPECT_EQ(eqnPHCoord(ph(1, 0, 0, 20), ph(1, 0, 0, 0)), 0);
}

TEST(PHCoordTest, ToPos3D) {
  double out[3];
  phCoordToPos3D(ph(1, 2, 3, 5), 4, out);
  EXPECT_NEAR(out[0], 10, 1e-12);
  EXPECT_NEAR(out[1], 20, 1e-12);
  EXPECT_NEAR(out[2], 30, 1e-12);
  phCoordToPos3D(ph(1, 0, 0, 0), 400, out);  // no guard: the tiny factor underflows to 0
  EXPECT_EQ(out[0], 0.0);
}

TEST(PHCoordTest, FromPos3DAsItIs) {
  double pos[3] = {3, 4, 0};
  PHCoord p = pos3DToPHCoord(pos, -2);
  EXPECT_EQ(p.x, 3);
  EXPECT_EQ(p.y, 4);
  EXPECT_EQ(p.z, 0);
  EXPECT_EQ(p.s, -2);
}

}  // namespace
