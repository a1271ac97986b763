// Vector and matrix functions on plain arrays: vectors are arrays of 2 or 3 doubles, matrices are
// blocks of doubles in row order (m[i * n + j] is row i, column j). Results go through an output
// pointer, which may be one of the inputs unless said otherwise.
#pragma once

#include <cstdio>

#include "coords/view.h"

double dist2D(const double a[2], const double b[2]);
double dist3D(const double a[3], const double b[3]);
double sqrLength2D(const double v[2]);
double sqrLength3D(const double v[3]);
double length2D(const double v[2]);
double length3D(const double v[3]);
void minus2D(const double a[2], const double b[2], double out[2]);  // a - b
void minus3D(const double a[3], const double b[3], double out[3]);
void add2D(const double a[2], const double b[2], double out[2]);  // a + b
void add3D(const double a[3], const double b[3], double out[3]);
void add_mul_2D(const double a[2], double s, const double b[2], double out[2]);  // a + s b
void add_mul_3D(const double a[3], double s, const double b[3], double out[3]);
double dot2D(const double a[2], const double b[2]);
double dot3D(const double a[3], const double b[3]);
// a x b; out must differ from both.
void cross3D(const double a[3], const double b[3], double out[3]);
void copy2D(double dst[2], const double src[2]);
void copy3D(double dst[3], const double src[3]);
void mult2D(double v[2], double s);  // in place
void mult3D(double v[3], double s);
void div2D(double v[2], double s);  // in place, s is not tested
void div3D(double v[3], double s);
// 1 if every component differs by no more than eps, else 0.
int equalVec2D_Ep(const double a[2], const double b[2], double eps);
int equalVec3D_Ep(const double a[3], const double b[3], double eps);
int equalVec2D(const double a[2], const double b[2]);  // eps 1e-7
int equalVec3D(const double a[3], const double b[3]);
// Unit length in place: 1, or 0 with v unchanged when its length is exactly 0.
int unify2D(double v[2]);
int unify3D(double v[3]);
// (b - a) x (c - a), not made unit.
void findNormal3D(const double a[3], const double b[3], const double c[3], double out[3]);
// (a + b + c) / |a + b + c|: a direction, not a mean. A zero sum gives NaN.
void average3D(const double a[3], const double b[3], const double c[3], double out[3]);
// The value limited to 0..1.
double clamp(double v);
// Standard output: "%7.5f", then " %7.5f" for the others, no line end.
void printVec(const double* v, int n);
// Each row: the format for each element, one blank between, a line end after the row.
void printMat(FILE* fp, const char* format, const double* m, int rows, int cols);
// Anticlockwise rotation by angle radians.
void rotate2D(double out[2], const double in[2], double angle);
// v turned in place about axis by angle radians, right-hand rule. axis is not changed.
void rotate3D_3(double v[3], const double axis[3], double angle);
void transposeMat(double* m, int n);  // n by n, in place
// out[i][j] = sum over k of a[i][k] b[k][j]; out must differ from both.
void multMat(const double* a, const double* b, double* out, int n);
void identity(double m[16]);
void identityf(float m[16]);
// In place: 1, or 0 with the matrix unchanged when it is singular.
int invert4by4(double m[16]);
int invert4by4f(float m[16]);
// In place, without pivoting; returns 0 always.
int invertMat(double* m, int n);

// User plus system processor seconds of the process (not the wall clock).
double myTime();

// Writes the five lines "viewPos   = ...", "viewDir   = ...", "viewUp    = ...", "fovy      = ...",
// "aspect    = ..." with the position at a whole exponent.
void printView(FILE* fp, const View* view);

// Longitude and latitude in degrees to a unit vector, and back (l in [0, 360), b in [-90, 90]).
void lbToVec(double v[3], double l, double b);
void vecToLB(const double v[3], double& l, double& b);

// The turn between the catalogue's galactic axes and J2000 equatorial axes, one set of angles
// for the whole system: galactic to equatorial is about z by -0.574761, about x by 1.097501 and
// about z by -1.346376 radians (rotate3D_3, each on the result of the last); the other way is
// the exact inverse. These rounded angles put a position up to about 40 arc seconds away from
// the IAU transformation; every place that shows or reads equatorial coordinates uses the same
// turn, so the picture, the boundaries and the reports agree with each other.
void galacticToEquatorial(double v[3]);
void equatorialToGalactic(double v[3]);

// Ray against triangle a, b, c: the ray parameter t of the hit, or -1.0. normal comes back facing
// against the ray, not made unit. Hits exactly on an edge or corner don't count.
double hitTriangle(const double a[3], const double b[3], const double c[3], const double origin[3],
                   const double dir[3], double hit[3], double normal[3]);
// Ray against sphere: t of the nearer hit, or -1.0. An origin inside the sphere never hits.
double hitSphere(const double centre[3], double radius, const double origin[3], const double dir[3],
                 double hit[3], double normal[3]);
// 1 anticlockwise, 0 clockwise, -1 collinear or b or c equal to a.
int anticlockwise2D(const double a[2], const double b[2], const double c[2]);
int areParallelVec2D(const double a[2], const double b[2]);
// Cross-multiplied test: vectors with a zero component in b report as parallel.
int areParallelVec3D(const double a[3], const double b[3]);
