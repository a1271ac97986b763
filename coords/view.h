// One complete camera state, copied by value.
#pragma once

#include "coords/phcoord.h"

struct View {
  PHCoord viewPos;         // the eye
  double viewDir[3] = {};  // direction of sight, kept unit length by those who set it
  double viewUp[3] = {};   // kept unit length, not necessarily perpendicular to viewDir
  double fovy = 0.0;       // vertical field of view in degrees
  double aspect = 0.0;     // width over height
};

// Blending of views: conversion to and from unit quaternions, and the linear and cubic Bezier
// forms for position, orientation, field of view and aspect. A quaternion is an array of four
// doubles, scalar first (w, x, y, z); it is the rotation that carries the identity frame to the
// camera frame whose axes are right, up and back (back = -viewDir). Nothing here allocates.

// Interpolation methods, one bit per channel. Each test in viewInterp names only the linear
// value: any other value means the spline.
enum ViewInterpMethod {
  LinPos = 1,
  SplPos = 2,
  LinQuat = 4,
  SplQuat = 8,
  LinFov = 16,
  SplFov = 32,
  LinAspect = 64,
  SplAspect = 128,
};

// Blends the keyframes p0 and p3 with their inner guide views p1 and p2 at t. Position and
// orientation run on t; field of view and aspect run on t too unless one of them is a spline,
// in which case both run on the parameter where the timing Bezier of lengths reaches
// (lengths[3] - lengths[0]) * t. Writes all channels of out.
void viewInterp(const View* p0, const View* p1, const View* p2, const View* p3, const double lengths[4],
                double t, int posMethod, int quatMethod, int fovMethod, int aspectMethod, View* out);

// Position channel: out->viewPos only. Blended on the PHCoord mantissas, never in metres, so the
// blend holds across any range of scales. A non-zero separateScale asks for a mode that doesn't
// exist: the first ten calls of each function in a run write a two-line notice to standard error,
// then the blend goes on as usual.
void linearInterpPos(const View* p0, const View* p1, double t, View* out, int separateScale);
void splineInterpPos(const View* p0, const View* p1, const View* p2, const View* p3, double t, View* out,
                     int separateScale);
// Orientation channel: out->viewDir and out->viewUp only, blended on the unit quaternion sphere.
void linearInterpQuat(const View* p0, const View* p1, double t, View* out);
void splineInterpQuat(const View* p0, const View* p1, const View* p2, const View* p3, double t, View* out);
// Plain number channels: out->fovy / out->aspect only.
void linearInterpFovy(const View* p0, const View* p1, double t, View* out);
void linearInterpAspect(const View* p0, const View* p1, double t, View* out);
void splineInterpFovy(const View* p0, const View* p1, const View* p2, const View* p3, double t, View* out);
void splineInterpAspect(const View* p0, const View* p1, const View* p2, const View* p3, double t, View* out);

// The orthonormal camera frame: dir = viewDir, right = dir x viewUp, up = right x dir, each unit
// length. A viewUp parallel to viewDir gives zero vectors.
void findViewFrame(const View* view, double dir[3], double up[3], double right[3]);
// The view's orientation as a unit quaternion.
void frmViewToQuat(const View* view, double q[4]);
// The two vectors of a quaternion's camera frame, each unit length.
void frmQuatToView(const double q[4], double viewDir[3], double viewUp[3]);
// Camera-to-world matrix in OpenGL column order: columns right, up, back, and the position at
// the given scale (the decimal exponent of one unit in metres).
void frmViewToTranMat(const View* view, double scale, double m[16]);

void flip(double q[4]);                                             // all four negated
void inverseQuat(double q[4]);                                      // x, y, z negated, w stays
void multQuat(const double a[4], const double b[4], double out[4]);  // a b, unit length; out may be a or b
void scaleQuat(double q[4], double k);                              // rotation angle times k
void copyQuat(double dst[4], const double src[4]);
double innerProduct4(const double a[4], const double b[4]);
// Unit length in place; an all-zero vector (length exactly 0) stays as it is.
void unify4D(double v[4]);

// Cubic Bezier of plain values, of 3-vectors, of positions (the mantissa weights summed pairwise,
// (b0 + b1) + (b2 + b3), so each pair lines up its own scales first) and of quaternions (de
// Casteljau with slerp).
double BezierValue(double b0, double b1, double b2, double b3, double t);
void BezierPosition(const double b0[3], const double b1[3], const double b2[3], const double b3[3], double t,
                    double out[3]);
PHCoord BezierPHCoord(PHCoord b0, PHCoord b1, PHCoord b2, PHCoord b3, double t);
void BezierQuat(const double b0[4], const double b1[4], const double b2[4], const double b3[4], double t,
                double out[4]);
// The parameter in [0, 1] where BezierValue(b0..b3) reaches target, by bisection to an absolute
// 1e-5. Returns 0 when target equals b0 and 1 when it equals b1 (the second control value, as
// meant). A target below b0 or above b3 writes "ERR in searchLocalT\n" to standard error and
// returns 0 or 1. The curve is taken to rise; the caller ensures that.
double searchLocalT(double b0, double b1, double b2, double b3, double target);
// Spherical blend of q0 and q1 at t with spin extra half turns, the shorter way round; out is
// unit length and may not be q0 or q1.
void slerp(const double q0[4], const double q1[4], double t, int spin, double out[4]);
