// Placing sky positions around the camera, shared by the constellation figures and the star
// labels: the camera position taken from the model-view matrix, and a position turned into a
// camera-relative vector in view units whose distance stops at 10^3.5 units.
#pragma once

#include <cfloat>
#include <cmath>

#include "coords/phcoord.h"

// Figures and labels stand at their true distance up to 10^3.5 view units and on that sphere
// beyond it, with no compression: so they stay in front of the far plane whatever the scale.
constexpr double kSkyPlaceMaxExponent = 3.5;

// The camera position in PHCoord for a model-view matrix m (column order) whose translation is in
// units of 10^logScale metres: minus the translation carried back through the rotation.
// Returns the position, prints nothing.
inline PHCoord cameraFromModelview(const double m[16], double logScale) {
  PHCoord c;
  c.x = -(m[12] * m[0] + m[13] * m[1] + m[14] * m[2]);
  c.y = -(m[12] * m[4] + m[13] * m[5] + m[14] * m[6]);
  c.z = -(m[12] * m[8] + m[13] * m[9] + m[14] * m[10]);
  c.s = logScale;
  return c;
}

// Scales the unit vector of an already camera-relative position v to its distance in view units,
// at most 10^3.5, and writes it to out. A vector of zero length lands on the origin.
// Returns s', the decimal exponent of that distance in view units, after the cap.
inline double placeRelative(PHCoord v, double logScale, double out[3]) {
  if (unifyPHCoord(&v) == -1) v.s = -DBL_MAX;
  double s = v.s - logScale;
  if (s > kSkyPlaceMaxExponent) s = kSkyPlaceMaxExponent;
  const double d = pow(10.0, s);
  out[0] = v.x * d;
  out[1] = v.y * d;
  out[2] = v.z * d;
  return s;
}

// The same for a position p and a camera c: p - c, then placed. Returns s'.
inline double placeOnSky(PHCoord p, PHCoord c, double logScale, double out[3]) {
  return placeRelative(subPHCoord(p, c), logScale, out);
}
