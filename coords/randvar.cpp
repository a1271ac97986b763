// The uniform random generator and the distributions built on it.
#include "coords/randvar.h"

#include <cfloat>
#include <cmath>
#include <cstdlib>

namespace randvar {

// The standard normal distribution function at three digits, from the error function:
// normalValue[i] = 0.5 (1 + erf(X[i] / sqrt(2))) rounded to 0.001, with the common quantiles
// 1.282, 1.645, 1.96, 2.326 and 2.576 put in at their places.
const double X[kNormalRows] = {0.0,  0.05, 0.1,   0.15, 0.2,  0.25, 0.3,    0.35, 0.4,   0.45, 0.5,   0.55,
                               0.6,  0.65, 0.7,   0.75, 0.8,  0.85, 0.9,    0.95, 1.0,   1.05, 1.1,   1.15,
                               1.2,  1.25, 1.282, 1.3,  1.35, 1.4,  1.45,   1.5,  1.55,  1.6,  1.645, 1.65,
                               1.7,  1.75, 1.8,   1.85, 1.9,  1.95, 1.96,   2.0,  2.05,  2.1,  2.15,  2.2,
                               2.25, 2.3,  2.326, 2.35, 2.4,  2.45, 2.5,    2.55, 2.576, 2.6,  2.65,  2.7,
                               2.75, 2.8,  2.85,  2.9,  2.95, 3.0,  DBL_MAX};

const double normalValue[kNormalRows] = {
    0.5,   0.52,  0.54,  0.56,  0.579, 0.599, 0.618, 0.637, 0.655, 0.674, 0.691, 0.709, 0.726, 0.742,
    0.758, 0.773, 0.788, 0.802, 0.816, 0.829, 0.841, 0.853, 0.864, 0.875, 0.885, 0.894, 0.9,   0.903,
    0.911, 0.919, 0.926, 0.933, 0.939, 0.945, 0.95,  0.951, 0.955, 0.96,  0.964, 0.968, 0.971, 0.974,
    0.975, 0.977, 0.98,  0.982, 0.984, 0.986, 0.988, 0.989, 0.99,  0.991, 0.992, 0.993, 0.994, 0.995,
    0.995, 0.995, 0.996, 0.997, 0.997, 0.997, 0.998, 0.998, 0.998, 0.999, 1.0};

}  // namespace randvar

double uniformRV() {
  return std::rand() / 2147483647.0;
}

double exponentialRV(double lambda, double x) {
  if (x < 0.0) return 0.0;
  return lambda * std::exp(-lambda * x);
}

double invExponentialRV(double lambda, double y) {
  return std::log(y) / -lambda;
}

double normalRV(double mean, double sigma, double x) {
  double d = x - mean;
  return std::exp(-d * d / (2.0 * sigma * sigma)) / (sigma * std::sqrt(6.283185307));
}

double invNormalRV(double mean, double sigma, double p) {
  using randvar::normalValue;
  using randvar::X;
  // Outside 0..1 (or NaN) no row would be found and the search would run past the table; such a
  // p has no normal value, so the answer is NaN.
  if (!(p >= 0.0 && p <= 1.0)) return std::nan("");
  bool lower = false;
  if (p < 0.5) {
    p = 1.0 - p;
    lower = true;
  }
  int i = 1;
  while (i < randvar::kNormalRows - 1 && normalValue[i] < p) i++;
  double w = (p - normalValue[i - 1]) / (normalValue[i] - normalValue[i - 1]);
  double x = X[i - 1] + w * (X[i] - X[i - 1]);
  if (lower) x = -x;
  return x * sigma + mean;
}
