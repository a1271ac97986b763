// View interpolation: views to and from quaternions, and the linear and Bezier blends of
// position, orientation, field of view and aspect.
#include "coords/view.h"

#include <cmath>
#include <cstdio>

#include "coords/constants.h"
#include "coords/math3D.h"

namespace {

// Quaternions closer than this (1 - cos of the half angle) are blended on the straight line,
// where the sine of the angle would vanish.
constexpr double kSlerpLinearLimit = 1e-7;
// searchLocalT stops when the curve is this close to its target, in the units of the control
// values (frame numbers where it is used).
constexpr double kSearchTolerance = 1e-5;
// Notices of the missing separate-scale mode, per function and run.
constexpr int kSeparateScaleNotices = 10;

void separateScaleNotice(int* remaining) {
  if (*remaining <= 0) return;
  (*remaining)--;
  // Both position functions name linearInterpPos: the notice is one text.
  std::fprintf(stderr, "(linearInterpPos): Sorry... separateScale is not implemented here yet.\n");
  std::fprintf(stderr, "                   I will do this as if it is not separateScale.\n");
}

// The four cubic Bernstein weights at t.
void bezierWeights(double t, double w[4]) {
  double u = 1.0 - t;
  w[0] = u * u * u;
  w[1] = 3.0 * t * u * u;
  w[2] = 3.0 * t * t * u;
  w[3] = t * t * t;
}

}  // namespace

void viewInterp(const View* p0, const View* p1, const View* p2, const View* p3, const double lengths[4],
                double t, int posMethod, int quatMethod, int fovMethod, int aspectMethod, View* out) {
  double local = t;
  // Field of view and aspect follow the frame timing of the span; position and orientation don't.
  if (fovMethod == SplFov || aspectMethod == SplAspect)
    local = searchLocalT(lengths[0], lengths[1], lengths[2], lengths[3], (lengths[3] - lengths[0]) * t);

  if (posMethod == LinPos)
    linearInterpPos(p0, p3, t, out, 0);
  else
    splineInterpPos(p0, p1, p2, p3, t, out, 0);

  if (quatMethod == LinQuat)
    linearInterpQuat(p0, p3, t, out);
  else
    splineInterpQuat(p0, p1, p2, p3, t, out);

  if (fovMethod == LinFov)
    linearInterpFovy(p0, p3, local, out);
  else
    splineInterpFovy(p0, p1, p2, p3, local, out);

  if (aspectMethod == LinAspect)
    linearInterpAspect(p0, p3, local, out);
  else
    splineInterpAspect(p0, p1, p2, p3, local, out);
}

void linearInterpPos(const View* p0, const View* p1, double t, View* out, int separateScale) {
  static int notices = kSeparateScaleNotices;
  if (separateScale) separateScaleNotice(&notices);
  out->viewPos = addPHCoord(multPHCoord(p0->viewPos, 1.0 - t), multPHCoord(p1->viewPos, t));
}

void splineInterpPos(const View* p0, const View* p1, const View* p2, const View* p3, double t, View* out,
                     int separateScale) {
  static int notices = kSeparateScaleNotices;
  if (separateScale) separateScaleNotice(&notices);
  out->viewPos = BezierPHCoord(p0->viewPos, p1->viewPos, p2->viewPos, p3->viewPos, t);
}

void linearInterpQuat(const View* p0, const View* p1, double t, View* out) {
  double q0[4], q1[4], r[4];
  frmViewToQuat(p0, q0);
  frmViewToQuat(p1, q1);
  if (innerProduct4(q0, q1) < 0.0) flip(q1);
  slerp(q0, q1, t, 0, r);
  frmQuatToView(r, out->viewDir, out->viewUp);
}

void splineInterpQuat(const View* p0, const View* p1, const View* p2, const View* p3, double t, View* out) {
  double q0[4], q1[4], q2[4], q3[4], r[4];
  frmViewToQuat(p0, q0);
  frmViewToQuat(p1, q1);
  frmViewToQuat(p2, q2);
  frmViewToQuat(p3, q3);
  // One continuous chain: each quaternion on the side of the one before it.
  if (innerProduct4(q0, q1) < 0.0) flip(q1);
  if (innerProduct4(q1, q2) < 0.0) flip(q2);
  if (innerProduct4(q2, q3) < 0.0) flip(q3);
  BezierQuat(q0, q1, q2, q3, t, r);
  frmQuatToView(r, out->viewDir, out->viewUp);
}

void linearInterpFovy(const View* p0, const View* p1, double t, View* out) {
  out->fovy = (1.0 - t) * p0->fovy + t * p1->fovy;
}

void linearInterpAspect(const View* p0, const View* p1, double t, View* out) {
  out->aspect = (1.0 - t) * p0->aspect + t * p1->aspect;
}

void splineInterpFovy(const View* p0, const View* p1, const View* p2, const View* p3, double t, View* out) {
  out->fovy = BezierValue(p0->fovy, p1->fovy, p2->fovy, p3->fovy, t);
}

void splineInterpAspect(const View* p0, const View* p1, const View* p2, const View* p3, double t, View* out) {
  out->aspect = BezierValue(p0->aspect, p1->aspect, p2->aspect, p3->aspect, t);
}

void findViewFrame(const View* view, double dir[3], double up[3], double right[3]) {
  copy3D(dir, view->viewDir);
  unify3D(dir);
  cross3D(dir, view->viewUp, right);
  unify3D(right);
  cross3D(right, dir, up);
  unify3D(up);
}

void frmViewToQuat(const View* view, double q[4]) {
  double dir[3], up[3], right[3], back[3];
  findViewFrame(view, dir, up, right);
  back[0] = -dir[0];
  back[1] = -dir[1];
  back[2] = -dir[2];
  const double* R = right;
  const double* U = up;
  const double* B = back;
  // The largest of the four squares gives the best-conditioned division.
  double trial[4] = {(1.0 + R[0] + U[1] + B[2]) / 4.0, (1.0 + R[0] - U[1] - B[2]) / 4.0,
                     (1.0 - R[0] + U[1] - B[2]) / 4.0, (1.0 - R[0] - U[1] + B[2]) / 4.0};
  int largest = 0;
  for (int i = 1; i < 4; i++)
    if (trial[i] > trial[largest]) largest = i;
  double m = std::sqrt(trial[largest]);
  double d = 4.0 * m;
  switch (largest) {
    case 0:
      q[0] = m;
      q[1] = (U[2] - B[1]) / d;
      q[2] = (B[0] - R[2]) / d;
      q[3] = (R[1] - U[0]) / d;
      break;
    case 1:
      q[1] = m;
      q[0] = (U[2] - B[1]) / d;
      q[2] = (U[0] + R[1]) / d;
      q[3] = (B[0] + R[2]) / d;
      break;
    case 2:
      q[2] = m;
      q[0] = (B[0] - R[2]) / d;
      q[1] = (U[0] + R[1]) / d;
      q[3] = (B[1] + U[2]) / d;
      break;
    default:
      q[3] = m;
      q[0] = (R[1] - U[0]) / d;
      q[1] = (B[0] + R[2]) / d;
      q[2] = (B[1] + U[2]) / d;
      break;
  }
  unify4D(q);
}

void frmQuatToView(const double q[4], double viewDir[3], double viewUp[3]) {
  double w = q[0], x = q[1], y = q[2], z = q[3];
  double back[3] = {2 * x * z + 2 * w * y, 2 * y * z - 2 * w * x, w * w - x * x - y * y + z * z};
  viewDir[0] = -back[0];
  viewDir[1] = -back[1];
  viewDir[2] = -back[2];
  unify3D(viewDir);
  viewUp[0] = 2 * x * y - 2 * w * z;
  viewUp[1] = w * w - x * x + y * y - z * z;
  viewUp[2] = 2 * y * z + 2 * w * x;
  unify3D(viewUp);
}

void frmViewToTranMat(const View* view, double scale, double m[16]) {
  double dir[3], up[3], right[3], pos[3];
  findViewFrame(view, dir, up, right);
  phCoordToPos3D(view->viewPos, scale, pos);
  for (int i = 0; i < 3; i++) {
    m[i] = right[i];
    m[4 + i] = up[i];
    m[8 + i] = -dir[i];
    m[12 + i] = pos[i];
  }
  m[3] = m[7] = m[11] = 0.0;
  m[15] = 1.0;
}

void flip(double q[4]) {
  for (int i = 0; i < 4; i++) q[i] = -q[i];
}

void inverseQuat(double q[4]) {
  q[1] = -q[1];
  q[2] = -q[2];
  q[3] = -q[3];
}

void multQuat(const double a[4], const double b[4], double out[4]) {
  double av[3] = {a[1], a[2], a[3]};
  double bv[3] = {b[1], b[2], b[3]};
  double c[3];
  cross3D(av, bv, c);
  double r[4];
  r[0] = a[0] * b[0] - dot3D(av, bv);
  for (int i = 0; i < 3; i++) r[i + 1] = c[i] + b[0] * av[i] + a[0] * bv[i];
  unify4D(r);
  copyQuat(out, r);
}

void scaleQuat(double q[4], double k) {
  double theta = std::acos(q[0]);
  double sinTheta = std::sin(theta);
  if (sinTheta == 0.0) return;  // no turn to scale (the identity gives exactly 0)
  for (int i = 1; i < 4; i++) q[i] /= sinTheta;
  theta *= k;
  double s = std::sin(theta);
  for (int i = 1; i < 4; i++) q[i] *= s;
  q[0] = std::cos(theta);
  unify4D(q);
}

void copyQuat(double dst[4], const double src[4]) {
  for (int i = 0; i < 4; i++) dst[i] = src[i];
}

double innerProduct4(const double a[4], const double b[4]) {
  return a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
}

void unify4D(double v[4]) {
  double len = std::sqrt(innerProduct4(v, v));
  if (len == 0.0) return;  // exact test: unlike positions there is no tolerance here
  for (int i = 0; i < 4; i++) v[i] /= len;
}

double BezierValue(double b0, double b1, double b2, double b3, double t) {
  double w[4];
  bezierWeights(t, w);
  return w[0] * b0 + w[1] * b1 + w[2] * b2 + w[3] * b3;
}

void BezierPosition(const double b0[3], const double b1[3], const double b2[3], const double b3[3], double t,
                    double out[3]) {
  for (int i = 0; i < 3; i++) out[i] = BezierValue(b0[i], b1[i], b2[i], b3[i], t);
}

PHCoord BezierPHCoord(PHCoord b0, PHCoord b1, PHCoord b2, PHCoord b3, double t) {
  double w[4];
  bezierWeights(t, w);
  PHCoord m0 = multPHCoord(b0, w[0]);
  PHCoord m1 = multPHCoord(b1, w[1]);
  PHCoord m2 = multPHCoord(b2, w[2]);
  PHCoord m3 = multPHCoord(b3, w[3]);
  // Each side sums its own scale range first; the fifteen-decade rule acts on the halves last.
  return addPHCoord(addPHCoord(m0, m1), addPHCoord(m2, m3));
}

void BezierQuat(const double b0[4], const double b1[4], const double b2[4], const double b3[4], double t,
                double out[4]) {
  double a[4], b[4], c[4], d[4], e[4];
  slerp(b0, b1, t, 0, a);
  slerp(b1, b2, t, 0, b);
  slerp(b2, b3, t, 0, c);
  slerp(a, b, t, 0, d);
  slerp(b, c, t, 0, e);
  slerp(d, e, t, 0, out);
}

double searchLocalT(double b0, double b1, double b2, double b3, double target) {
  if (target == b0) return 0.0;
  // Compared with the second control value, not the last: kept for curves whose guide value
  // meets the target.
  if (target == b1) return 1.0;
  if (target < b0 || target > b3) {
    std::fprintf(stderr, "ERR in searchLocalT\n");
    return target < b0 ? 0.0 : 1.0;
  }
  double lo = 0.0, hi = 1.0, mid = 0.0, v = 0.0;
  do {
    mid = (lo + hi) / 2.0;
    v = BezierValue(b0, b1, b2, b3, mid);
    if (v > target)
      hi = mid;
    else
      lo = mid;
  } while (std::fabs(v - target) > kSearchTolerance);
  return mid;
}

void slerp(const double q0[4], const double q1[4], double t, int spin, double out[4]) {
  double c = innerProduct4(q0, q1);
  bool flipped = false;
  if (c < 0.0) {
    c = -c;
    flipped = true;
  }
  double beta, alpha;
  if (1.0 - c < kSlerpLinearLimit) {
    beta = 1.0 - t;
    alpha = t;
  } else {
    double omega = std::acos(c);
    double phi = omega + spin * kPi;
    double sinOmega = std::sin(omega);
    beta = std::sin(omega - t * phi) / sinOmega;
    alpha = std::sin(t * phi) / sinOmega;
  }
  if (flipped) alpha = -alpha;
  for (int i = 0; i < 4; i++) out[i] = beta * q0[i] + alpha * q1[i];
  unify4D(out);
}
