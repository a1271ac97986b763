// Vector and matrix functions on plain arrays of doubles.
#include "coords/math3D.h"

#include <sys/resource.h>

#include <cmath>
#include <cstdint>

#include "coords/constants.h"

namespace {

constexpr double kEqualEps = 1e-7;
constexpr double kParallelEps = 1e-7;

// Gauss-Jordan on a working copy with an identity alongside. The pivot of column i is the last
// later row whose element beats the diagonal element, not the largest: this choice is kept.
template <typename T>
int invert4by4T(T m[16]) {
  T a[16];
  T inv[16];
  for (int k = 0; k < 16; k++) {
    a[k] = m[k];
    inv[k] = (k % 5 == 0) ? T(1) : T(0);
  }
  for (int i = 0; i < 4; i++) {
    int pivot = i;
    for (int j = i + 1; j < 4; j++) {
      if (std::fabs(a[j * 4 + i]) > std::fabs(a[i * 4 + i])) pivot = j;
    }
    if (pivot != i) {
      for (int k = 0; k < 4; k++) {
        T t = a[i * 4 + k];
        a[i * 4 + k] = a[pivot * 4 + k];
        a[pivot * 4 + k] = t;
        t = inv[i * 4 + k];
        inv[i * 4 + k] = inv[pivot * 4 + k];
        inv[pivot * 4 + k] = t;
      }
    }
    T p = a[i * 4 + i];
    if (p == T(0)) return 0;
    for (int k = 0; k < 4; k++) {
      a[i * 4 + k] /= p;
      inv[i * 4 + k] /= p;
    }
    for (int j = 0; j < 4; j++) {
      if (j == i) continue;
      T f = a[j * 4 + i];
      for (int k = 0; k < 4; k++) {
        a[j * 4 + k] -= f * a[i * 4 + k];
        inv[j * 4 + k] -= f * inv[i * 4 + k];
      }
    }
  }
  for (int k = 0; k < 16; k++) m[k] = inv[k];
  return 1;
}

}  // namespace

double dist2D(const double a[2], const double b[2]) {
  double d[2];
  minus2D(a, b, d);
  return length2D(d);
}

double dist3D(const double a[3], const double b[3]) {
  double d[3];
  minus3D(a, b, d);
  return length3D(d);
}

double sqrLength2D(const double v[2]) {
  return v[0] * v[0] + v[1] * v[1];
}
double sqrLength3D(const double v[3]) {
  return v[0] * v[0] + v[1] * v[1] + v[2] * v[2];
}
double length2D(const double v[2]) {
  return std::sqrt(sqrLength2D(v));
}
double length3D(const double v[3]) {
  return std::sqrt(sqrLength3D(v));
}

void minus2D(const double a[2], const double b[2], double out[2]) {
  out[0] = a[0] - b[0];
  out[1] = a[1] - b[1];
}

void minus3D(const double a[3], const double b[3], double out[3]) {
  out[0] = a[0] - b[0];
  out[1] = a[1] - b[1];
  out[2] = a[2] - b[2];
}

void add2D(const double a[2], const double b[2], double out[2]) {
  out[0] = a[0] + b[0];
  out[1] = a[1] + b[1];
}

void add3D(const double a[3], const double b[3], double out[3]) {
  out[0] = a[0] + b[0];
  out[1] = a[1] + b[1];
  out[2] = a[2] + b[2];
}

void add_mul_2D(const double a[2], double s, const double b[2], double out[2]) {
  out[0] = a[0] + s * b[0];
  out[1] = a[1] + s * b[1];
}

void add_mul_3D(const double a[3], double s, const double b[3], double out[3]) {
  out[0] = a[0] + s * b[0];
  out[1] = a[1] + s * b[1];
  out[2] = a[2] + s * b[2];
}

double dot2D(const double a[2], const double b[2]) {
  return a[0] * b[0] + a[1] * b[1];
}
double dot3D(const double a[3], const double b[3]) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

void cross3D(const double a[3], const double b[3], double out[3]) {
  out[0] = a[1] * b[2] - a[2] * b[1];
  out[1] = a[2] * b[0] - a[0] * b[2];
  out[2] = a[0] * b[1] - a[1] * b[0];
}

void copy2D(double dst[2], const double src[2]) {
  dst[0] = src[0];
  dst[1] = src[1];
}

void copy3D(double dst[3], const double src[3]) {
  dst[0] = src[0];
  dst[1] = src[1];
  dst[2] = src[2];
}

void mult2D(double v[2], double s) {
  v[0] *= s;
  v[1] *= s;
}

void mult3D(double v[3], double s) {
  v[0] *= s;
  v[1] *= s;
  v[2] *= s;
}

void div2D(double v[2], double s) {
  v[0] /= s;
  v[1] /= s;
}

void div3D(double v[3], double s) {
  v[0] /= s;
  v[1] /= s;
  v[2] /= s;
}

int equalVec2D_Ep(const double a[2], const double b[2], double eps) {
  return (std::fabs(a[0] - b[0]) <= eps && std::fabs(a[1] - b[1]) <= eps) ? 1 : 0;
}

int equalVec3D_Ep(const double a[3], const double b[3], double eps) {
  return (std::fabs(a[0] - b[0]) <= eps && std::fabs(a[1] - b[1]) <= eps && std::fabs(a[2] - b[2]) <= eps)
             ? 1
             : 0;
}

int equalVec2D(const double a[2], const double b[2]) {
  return equalVec2D_Ep(a, b, kEqualEps);
}
int equalVec3D(const double a[3], const double b[3]) {
  return equalVec3D_Ep(a, b, kEqualEps);
}

int unify2D(double v[2]) {
  double len = std::hypot(v[0], v[1]);
  if (len == 0.0) return 0;
  div2D(v, len);
  return 1;
}

int unify3D(double v[3]) {
  // The squared length of a vector near 1e-300 underflows to 0, so the length is taken with hypot.
  double len = std::hypot(v[0], v[1], v[2]);
  if (len == 0.0) return 0;
  div3D(v, len);
  return 1;
}

void findNormal3D(const double a[3], const double b[3], const double c[3], double out[3]) {
  double ab[3], ac[3];
  minus3D(b, a, ab);
  minus3D(c, a, ac);
  cross3D(ab, ac, out);
}

void average3D(const double a[3], const double b[3], const double c[3], double out[3]) {
  double sum[3];
  add3D(a, b, sum);
  add3D(sum, c, sum);
  double len = length3D(sum);
  copy3D(out, sum);
  div3D(out, len);
}

double clamp(double v) {
  if (v < 0.0) return 0.0;
  if (v > 1.0) return 1.0;
  return v;
}

void printVec(const double* v, int n) {
  for (int i = 0; i < n; i++) std::printf(i == 0 ? "%7.5f" : " %7.5f", v[i]);
}

void printMat(FILE* fp, const char* format, const double* m, int rows, int cols) {
  for (int i = 0; i < rows; i++) {
    for (int j = 0; j < cols; j++) {
      if (j > 0) std::fputc(' ', fp);
      std::fprintf(fp, format, m[i * cols + j]);
    }
    std::fputc('\n', fp);
  }
}

void rotate2D(double out[2], const double in[2], double angle) {
  double c = std::cos(angle), s = std::sin(angle);
  double x = in[0], y = in[1];
  out[0] = c * x - s * y;
  out[1] = s * x + c * y;
}

void rotate3D_3(double v[3], const double axis[3], double angle) {
  double k[3];
  copy3D(k, axis);
  unify3D(k);
  double c = std::cos(angle), s = std::sin(angle);
  double kxv[3];
  cross3D(k, v, kxv);
  double kv = dot3D(k, v);
  for (int i = 0; i < 3; i++) v[i] = v[i] * c + kxv[i] * s + k[i] * kv * (1.0 - c);
}

void transposeMat(double* m, int n) {
  for (int i = 0; i < n; i++) {
    for (int j = i + 1; j < n; j++) {
      double t = m[i * n + j];
      m[i * n + j] = m[j * n + i];
      m[j * n + i] = t;
    }
  }
}

void multMat(const double* a, const double* b, double* out, int n) {
  for (int i = 0; i < n; i++) {
    for (int j = 0; j < n; j++) {
      double sum = 0.0;
      for (int k = 0; k < n; k++) sum += a[i * n + k] * b[k * n + j];
      out[i * n + j] = sum;
    }
  }
}

void identity(double m[16]) {
  for (int k = 0; k < 16; k++) m[k] = (k % 5 == 0) ? 1.0 : 0.0;
}

void identityf(float m[16]) {
  for (int k = 0; k < 16; k++) m[k] = (k % 5 == 0) ? 1.0f : 0.0f;
}

int invert4by4(double m[16]) {
  return invert4by4T(m);
}
int invert4by4f(float m[16]) {
  return invert4by4T(m);
}

int invertMat(double* m, int n) {
  for (int k = 0; k < n; k++) {
    double d = 1.0 / m[k * n + k];  // a zero diagonal gives infinities; there is no test
    m[k * n + k] = d;
    for (int i = 0; i < n; i++) {
      if (i != k) m[i * n + k] *= d;
    }
    for (int i = 0; i < n; i++) {
      if (i == k) continue;
      for (int j = 0; j < n; j++) {
        if (j == k) continue;
        m[i * n + j] -= m[i * n + k] * m[k * n + j];
      }
    }
    for (int j = 0; j < n; j++) {
      if (j != k) m[k * n + j] *= -d;
    }
  }
  return 0;
}

double myTime() {
  struct rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return static_cast<double>(usage.ru_utime.tv_sec) + static_cast<double>(usage.ru_utime.tv_usec) * 1e-6 +
         static_cast<double>(usage.ru_stime.tv_sec) + static_cast<double>(usage.ru_stime.tv_usec) * 1e-6;
}

void printView(FILE* fp, const View* view) {
  PHCoord p = view->viewPos;
  unifyPHCoord(&p);  // a zero coordinate keeps its exponent
  // Truncation toward zero as a 32-bit integer; an exponent beyond that range (or NaN) would be
  // undefined to convert, so it is limited first.
  double s = p.s;
  int32_t whole = 0;
  if (std::isnan(s))
    whole = 0;
  else if (s >= 2147483647.0)
    whole = INT32_MAX;
  else if (s <= -2147483648.0)
    whole = INT32_MIN;
  else
    whole = static_cast<int32_t>(s);
  double frac = s - whole;
  double k = std::pow(10.0, frac);
  p.x *= k;
  p.y *= k;
  p.z *= k;
  p.s = whole;
  std::fprintf(fp, "viewPos   = %2.5f %2.5f %2.5f %2.5f\n", p.x, p.y, p.z, p.s);
  std::fprintf(fp, "viewDir   = %2.5f %2.5f %2.5f\n", view->viewDir[0], view->viewDir[1], view->viewDir[2]);
  std::fprintf(fp, "viewUp    = %2.5f %2.5f %2.5f\n", view->viewUp[0], view->viewUp[1], view->viewUp[2]);
  std::fprintf(fp, "fovy      = %2.5f\n", view->fovy);
  std::fprintf(fp, "aspect    = %2.5f\n", view->aspect);
}

void lbToVec(double v[3], double l, double b) {
  double lr = l * kRadiansPerDegree;
  double br = b * kRadiansPerDegree;
  v[0] = std::cos(lr) * std::cos(br);
  v[1] = std::sin(lr) * std::cos(br);
  v[2] = std::sin(br);
}

void vecToLB(const double v[3], double& l, double& b) {
  double u[3];
  copy3D(u, v);
  unify3D(u);
  b = std::asin(u[2]) * kDegreesPerRadian;
  l = std::atan2(u[1], u[0]) * kDegreesPerRadian;
  if (l < 0.0) l += 360.0;
}

void galacticToEquatorial(double v[3]) {
  const double zAxis[3] = {0, 0, 1}, xAxis[3] = {1, 0, 0};
  rotate3D_3(v, zAxis, -0.574761);
  rotate3D_3(v, xAxis, 1.097501);
  rotate3D_3(v, zAxis, -1.346376);
}

void equatorialToGalactic(double v[3]) {
  const double zAxis[3] = {0, 0, 1}, xAxis[3] = {1, 0, 0};
  rotate3D_3(v, zAxis, 1.346376);
  rotate3D_3(v, xAxis, -1.097501);
  rotate3D_3(v, zAxis, 0.574761);
}

double hitTriangle(const double a[3], const double b[3], const double c[3], const double origin[3],
                   const double dir[3], double hit[3], double normal[3]) {
  double oa[3], ob[3], oc[3];
  minus3D(a, origin, oa);
  minus3D(b, origin, ob);
  minus3D(c, origin, oc);
  if (dot3D(dir, oa) <= 0.0 && dot3D(dir, ob) <= 0.0 && dot3D(dir, oc) <= 0.0) return -1.0;

  findNormal3D(a, b, c, normal);
  double nd = dot3D(normal, dir);
  double t = dot3D(normal, oa) / nd;
  if (!(nd < 0.0)) mult3D(normal, -1.0);
  add_mul_3D(origin, t, dir, hit);

  double ha[3], hb[3], hc[3], ba[3], cb[3], ac[3];
  double c0[3], c1[3], c2[3];
  minus3D(hit, a, ha);
  minus3D(b, a, ba);
  minus3D(hit, b, hb);
  minus3D(c, b, cb);
  minus3D(hit, c, hc);
  minus3D(a, c, ac);
  cross3D(ha, ba, c0);
  cross3D(hb, cb, c1);
  cross3D(hc, ac, c2);
  if (dot3D(c0, c1) > 0.0 && dot3D(c1, c2) > 0.0 && dot3D(c2, c0) > 0.0) return t;
  return -1.0;
}

double hitSphere(const double centre[3], double radius, const double origin[3], const double dir[3],
                 double hit[3], double normal[3]) {
  double oc[3];
  minus3D(origin, centre, oc);
  double qa = sqrLength3D(dir);
  double qb = 2.0 * dot3D(dir, oc);
  double qc = sqrLength3D(oc) - radius * radius;
  double disc = qb * qb - 4.0 * qa * qc;
  if (disc < 0.0) return -1.0;
  double root = std::sqrt(disc);
  double t1 = (root - qb) / (2.0 * qa);
  double t2 = (-qb - root) / (2.0 * qa);
  if (!(t1 > 0.0 && t2 > 0.0)) return -1.0;
  double t = (t1 < t2) ? t1 : t2;
  add_mul_3D(origin, t, dir, hit);
  minus3D(hit, centre, normal);
  unify3D(normal);
  return t;
}

int anticlockwise2D(const double a[2], const double b[2], const double c[2]) {
  double z = (b[0] - a[0]) * (c[1] - a[1]) - (b[1] - a[1]) * (c[0] - a[0]);
  if (z > 0.0) return 1;
  if (z < 0.0) return 0;
  return -1;
}

int areParallelVec2D(const double a[2], const double b[2]) {
  return std::fabs(a[0] * b[1] - a[1] * b[0]) < kParallelEps ? 1 : 0;
}

int areParallelVec3D(const double a[3], const double b[3]) {
  double p = a[0] * b[1] * b[2];
  double q = a[1] * b[2] * b[0];
  double r = a[2] * b[0] * b[1];
  return (std::fabs(p - q) < kParallelEps && std::fabs(q - r) < kParallelEps) ? 1 : 0;
}
