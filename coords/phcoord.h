// Power homogeneous coordinates: a position is a mantissa vector (x, y, z) times ten to the power s,
// in metres. One arithmetic serves from a metre to the largest distances on the sky.
#pragma once

#include <cstdio>

// The value stands for (x, y, z) * 10^s. Any values are legal; one position has many forms.
// A mantissa shorter than 1e-7 counts as the zero vector, whatever s is.
struct PHCoord {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
  double s = 0.0;
};

// Writes "%f %f %f (%f)" with x, y, z, s; printPHCoordN adds a line end.
void printPHCoord(FILE* fp, PHCoord p);
void printPHCoordN(FILE* fp, PHCoord p);

// Makes the mantissa unit length and moves its length into s. Returns 1, or -1 when the
// coordinate is zero (mantissa shorter than 1e-7), in which case p is left as it was.
int unifyPHCoord(PHCoord* p);

// Re-expresses p at the exponent target. Returns 1, or -1 when the rescaled mantissa no longer
// fits a single-precision float (the change stands all the same). A zero mantissa only takes target.
int normalizePHCoord(PHCoord* p, double target);

// a + b. Both are unified; an operand more than fifteen decades shorter than the other is dropped;
// otherwise the sum is taken at the smaller exponent and is not unified.
PHCoord addPHCoord(PHCoord a, PHCoord b);
// a - b, i.e. addPHCoord(a, multPHCoord(b, -1.0)).
PHCoord subPHCoord(PHCoord a, PHCoord b);
// Mantissa times k; s stays.
PHCoord multPHCoord(PHCoord p, double k);
// The length as a plain value: 0.0 for zero, otherwise 10^s of the unified form.
double lengthPHCoord(PHCoord p);
// 1 when the difference is zero relative to the shorter operand, else 0.
int eqnPHCoord(PHCoord a, PHCoord b);

// Coordinates in a frame whose unit is 10^scale: out = (x, y, z) * 10^(s - scale).
void phCoordToPos3D(PHCoord p, double scale, double out[3]);
// (pos[0], pos[1], pos[2], scale) as it is, not unified.
PHCoord pos3DToPHCoord(const double pos[3], double scale);
