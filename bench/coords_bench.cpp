// Costs of the per-star coordinate arithmetic and of the 3 by 3 eigen solve.
#include <benchmark/benchmark.h>

#include <cmath>

#include "coords/constants.h"
#include "coords/eigen.h"
#include "coords/math3D.h"
#include "coords/phcoord.h"

namespace {

PHCoord ph(double x, double y, double z, double s) {
  return {x, y, z, s};
}

void BM_PlainAdd3D(benchmark::State& state) {
  double a[3] = {1.5, -2.0, 0.25}, b[3] = {0.5, 0.125, 3.0}, out[3];
  for (auto _ : state) {
    benchmark::DoNotOptimize(a);
    add3D(a, b, out);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_PlainAdd3D);

void BM_UnifyPHCoord(benchmark::State& state) {
  PHCoord p = ph(3, 4, 12, kParsecExponent);
  for (auto _ : state) {
    PHCoord q = p;
    benchmark::DoNotOptimize(q);
    benchmark::DoNotOptimize(unifyPHCoord(&q));
    benchmark::DoNotOptimize(q);
  }
}
BENCHMARK(BM_UnifyPHCoord);

void BM_SubPHCoord(benchmark::State& state) {
  PHCoord star = ph(0.3, -0.7, 0.2, 18.1), eye = ph(1, 0, 0, kParsecExponent);
  for (auto _ : state) {
    benchmark::DoNotOptimize(star);
    PHCoord d = subPHCoord(star, eye);
    benchmark::DoNotOptimize(d);
  }
}
BENCHMARK(BM_SubPHCoord);

void BM_StarToPos3D(benchmark::State& state) {
  // What a drawer does per star: camera-relative difference, unify, and into the drawing frame.
  PHCoord star = ph(0.3, -0.7, 0.2, 18.1), eye = ph(1, 0, 0, kParsecExponent);
  double out[3];
  for (auto _ : state) {
    benchmark::DoNotOptimize(star);
    PHCoord d = subPHCoord(star, eye);
    unifyPHCoord(&d);
    phCoordToPos3D(d, 16.0, out);
    benchmark::DoNotOptimize(out);
  }
}
BENCHMARK(BM_StarToPos3D);

void BM_Invert4by4(benchmark::State& state) {
  const double m[16] = {2, 0.1, 0.3, 1, 0.2, 3, 0.4, 2, 0.5, 0.1, 4, 3, 0, 0, 0, 1};
  double w[16];
  for (auto _ : state) {
    for (int i = 0; i < 16; i++) w[i] = m[i];
    benchmark::DoNotOptimize(invert4by4(w));
    benchmark::DoNotOptimize(w);
  }
}
BENCHMARK(BM_Invert4by4);

void BM_EigenD3(benchmark::State& state) {
  mgcEigenD e(3);
  const double m[3][3] = {{4, 1, 0.5}, {1, 3, 0.25}, {0.5, 0.25, 2}};
  for (auto _ : state) {
    for (int r = 0; r < 3; r++)
      for (int c = 0; c < 3; c++) e.Matrix(r, c) = m[r][c];
    e.IncrSortEigenStuff3();
    benchmark::DoNotOptimize(e.Eigenvalue(0));
  }
}
BENCHMARK(BM_EigenD3);

void BM_EigenD6(benchmark::State& state) {
  mgcEigenD e(6);
  for (auto _ : state) {
    for (int r = 0; r < 6; r++)
      for (int c = 0; c < 6; c++) e.Matrix(r, c) = 1.0 / (1 + r + c) + (r == c ? 1.0 : 0.0);
    e.IncrSortEigenStuff();
    benchmark::DoNotOptimize(e.Eigenvalue(0));
  }
}
BENCHMARK(BM_EigenD6);

}  // namespace

BENCHMARK_MAIN();
