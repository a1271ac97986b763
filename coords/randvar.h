// Random numbers: the system's uniform generator and a few distribution functions.
#pragma once

// rand() / 2147483647.0. The generator isn't seeded here.
double uniformRV();
// lambda exp(-lambda x), 0 for negative x.
double exponentialRV(double lambda, double x);
// log(y) / -lambda.
double invExponentialRV(double lambda, double y);
// Density of the normal distribution.
double normalRV(double mean, double sigma, double x);
// A normal value for the probability p, from the table below. NaN for p outside 0..1.
double invNormalRV(double mean, double sigma, double p);

namespace randvar {
constexpr int kNormalRows = 67;
// The standard normal distribution to three digits: X from 0 to 3 in steps of 0.05 with five
// quantiles put in at their places, the last row being (largest double, 1.0).
extern const double X[kNormalRows];
extern const double normalValue[kNormalRows];
}  // namespace randvar
