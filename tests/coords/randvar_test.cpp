// Tests of the random generator and its distributions.
#include "coords/randvar.h"

#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdlib>

#include "coords/constants.h"

namespace {

using randvar::kNormalRows;
using randvar::normalValue;
using randvar::X;

double phi(double x) {
  return 0.5 * (1.0 + std::erf(x / std::sqrt(2.0)));
}

TEST(RandvarTest, UniformIsRandOverIntMax) {
  std::srand(1234);
  int r1 = std::rand();
  int r2 = std::rand();
  std::srand(1234);
  EXPECT_EQ(uniformRV(), r1 / 2147483647.0);
  EXPECT_EQ(uniformRV(), r2 / 2147483647.0);
}

TEST(RandvarTest, UniformStaysInUnitIntervalAndRepeatsWithSeed) {
  std::srand(7);
  double first[50];
  for (double& v : first) {
    v = uniformRV();
    EXPECT_GE(v, 0.0);
    EXPECT_LE(v, 1.0);
  }
  std::srand(7);
  for (double v : first) EXPECT_EQ(uniformRV(), v);
}

TEST(RandvarTest, ExponentialDensity) {
  EXPECT_DOUBLE_EQ(exponentialRV(2.0, 0.0), 2.0);
  EXPECT_DOUBLE_EQ(exponentialRV(2.0, 1.0), 2.0 * std::exp(-2.0));
  EXPECT_EQ(exponentialRV(2.0, -0.001), 0.0);
}

TEST(RandvarTest, InverseExponential) {
  EXPECT_DOUBLE_EQ(invExponentialRV(2.0, std::exp(-4.0)), 2.0);
  EXPECT_EQ(invExponentialRV(3.0, 1.0), 0.0);
}

TEST(RandvarTest, NormalDensity) {
  EXPECT_NEAR(normalRV(0, 1, 0), 1.0 / std::sqrt(2 * kPi), 1e-10);
  EXPECT_DOUBLE_EQ(normalRV(0, 1, 0), 1.0 / std::sqrt(6.283185307));
  EXPECT_NEAR(normalRV(5, 2, 7), std::exp(-0.5) / (2 * std::sqrt(2 * kPi)), 1e-10);
  EXPECT_DOUBLE_EQ(normalRV(5, 2, 3), normalRV(5, 2, 7));
}

TEST(RandvarTest, TableShape) {
  EXPECT_EQ(kNormalRows, 67);
  EXPECT_EQ(X[0], 0.0);
  EXPECT_EQ(normalValue[0], 0.5);
  EXPECT_EQ(X[kNormalRows - 1], DBL_MAX);
  EXPECT_EQ(normalValue[kNormalRows - 1], 1.0);
  for (int i = 1; i < kNormalRows; i++) {
    EXPECT_GT(X[i], X[i - 1]) << i;
    EXPECT_GE(normalValue[i], normalValue[i - 1]) << i;
  }
}

TEST(RandvarTest, TableRowsAreNormalAtThreeDigits) {
  int grid = 0;
  for (int i = 0; i < kNormalRows - 1; i++) {
    double steps = X[i] / 0.05;
    if (std::fabs(steps - std::round(steps)) < 1e-9) grid++;
    EXPECT_NEAR(normalValue[i], phi(X[i]), 0.0005 + 1e-12) << "row " << i << " x " << X[i];
    EXPECT_DOUBLE_EQ(normalValue[i], std::round(normalValue[i] * 1000) / 1000) << i;
  }
  EXPECT_EQ(grid, 61);  // 0.0 to 3.0 in steps of 0.05
}

TEST(RandvarTest, TableKnownRows) {
  auto valueAt = [](double x) {
    for (int i = 0; i < kNormalRows; i++)
      if (X[i] == x) return normalValue[i];
    return -1.0;
  };
  EXPECT_EQ(valueAt(1.0), 0.841);
  EXPECT_EQ(valueAt(2.0), 0.977);
  EXPECT_EQ(valueAt(3.0), 0.999);
  EXPECT_EQ(valueAt(1.282), 0.9);
  EXPECT_EQ(valueAt(1.645), 0.95);
  EXPECT_EQ(valueAt(1.96), 0.975);
  EXPECT_EQ(valueAt(2.326), 0.99);
  EXPECT_EQ(valueAt(2.576), 0.995);
}

TEST(RandvarTest, InvNormalAtRows) {
  EXPECT_EQ(invNormalRV(0, 1, 0.5), 0.0);
  EXPECT_DOUBLE_EQ(invNormalRV(0, 1, 0.975), 1.96);
  EXPECT_DOUBLE_EQ(invNormalRV(0, 1, 0.9), 1.282);
  EXPECT_DOUBLE_EQ(invNormalRV(0, 1, 0.841), 1.0);
  EXPECT_DOUBLE_EQ(invNormalRV(10, 2, 0.95), 10 + 2 * 1.645);
}

TEST(RandvarTest, InvNormalLowerHalfIsMirrored) {
  EXPECT_DOUBLE_EQ(invNormalRV(0, 1, 0.025), -1.96);
  EXPECT_DOUBLE_EQ(invNormalRV(3, 0.5, 0.1), 3 - 0.5 * invNormalRV(0, 1, 0.9));
}

TEST(RandvarTest, InvNormalInterpolatesLinearly) {
  // 0.6 lies between the rows (0.25, 0.599) and (0.3, 0.618).
  double expected = 0.25 + (0.6 - 0.599) / (0.618 - 0.599) * 0.05;
  EXPECT_NEAR(invNormalRV(0, 1, 0.6), expected, 1e-12);
  // Close to the true quantile as far as three digits allow.
  for (double p : {0.55, 0.7, 0.8, 0.9, 0.99}) {
    double x = invNormalRV(0, 1, p);
    EXPECT_NEAR(phi(x), p, 0.002) << p;
  }
}

TEST(RandvarTest, InvNormalAboveTableIsHuge) {
  // Between (3, 0.999) and the last row the line climbs to the largest double.
  EXPECT_GT(invNormalRV(0, 1, 0.9995), 1e300);
}

TEST(RandvarTest, InvNormalOutsideProbabilityRangeIsNaN) {
  EXPECT_TRUE(std::isnan(invNormalRV(0, 1, 1.5)));
  EXPECT_TRUE(std::isnan(invNormalRV(0, 1, -0.2)));
  EXPECT_TRUE(std::isnan(invNormalRV(0, 1, std::nan(""))));
}

}  // namespace
