// Sky geometry shared by the data builders: vectors, the equatorial to galactic rotation,
// and conversions between directions and angles.
#pragma once

#include <array>

#include "coords/constants.h"  // kPi and the degree: the builders' angles are the project's own

namespace skydata {

using Vec3 = std::array<double, 3>;

Vec3 normalized(const Vec3& v);
double dot(const Vec3& a, const Vec3& b);
Vec3 cross(const Vec3& a, const Vec3& b);
// The angle between two directions of any lengths, in radians, in [0, pi]; exact for tiny angles,
// where the arc cosine of a dot product is not.
double angleBetween(const Vec3& a, const Vec3& b);

// Unit vector towards longitude-like angle a and latitude-like angle b, both in degrees:
// (cos a cos b, sin a cos b, sin b).
Vec3 angToVec(double aDeg, double bDeg);
// The reverse; a in [0,360), b in [-90,90].
void vecToAng(const Vec3& v, double& aDeg, double& bDeg);

// The galactic frame of the tool: x towards l = 0, b = 0, y towards l = 90, z towards the north
// galactic pole. The rotation from ICRS/J2000 equatorial axes follows the IAU definition as
// adopted by the Hipparcos catalogue (ESA SP-1200, vol. 1, sec. 1.5.3): north galactic pole at
// RA 192.85948, Dec 27.12825, and the north celestial pole at galactic longitude 122.93192.
Vec3 equatorialToGalactic(const Vec3& eq);
Vec3 galacticToEquatorial(const Vec3& gal);

// Galactic l, b in degrees of an equatorial direction given in degrees.
void raDecToLb(double raDeg, double decDeg, double& lDeg, double& bDeg);
void lbToRaDec(double lDeg, double bDeg, double& raDeg, double& decDeg);

}  // namespace skydata
