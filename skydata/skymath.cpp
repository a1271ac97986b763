// Sky geometry for the builders: vectors, the equatorial to galactic rotation, angle conversions.
#include "skydata/skymath.h"

#include <cmath>

#include "coords/math3D.h"

namespace skydata {

namespace {

// Rows are the galactic axes expressed in equatorial coordinates, built from the defining angles.
struct GalRotation {
  Vec3 row[3];
  GalRotation() {
    const double raP = 192.85948 * kRadiansPerDegree, decP = 27.12825 * kRadiansPerDegree,
                 lNcp = 122.93192 * kRadiansPerDegree;
    const Vec3 zG = {std::cos(decP) * std::cos(raP), std::cos(decP) * std::sin(raP), std::sin(decP)};
    // The x axis lies in the galactic plane; its direction from the node follows from lNcp:
    // the north celestial pole has galactic longitude lNcp, so the plane through both poles
    // makes the angle lNcp - 90 deg with the x axis, counted in the galactic plane.
    const Vec3 ncp = {0, 0, 1};
    const Vec3 east = normalized(cross(ncp, zG));  // galactic direction of l = lNcp - 90
    const Vec3 north = cross(zG, east);            // l = lNcp (projected pole direction)
    const double a = lNcp - kPi / 2;               // longitude of 'east'
    // x = cos(-a) east + sin(-a) north ; y = z cross x
    Vec3 x;
    for (int i = 0; i < 3; ++i) x[i] = std::cos(a) * east[i] - std::sin(a) * north[i];
    row[0] = normalized(x);
    row[2] = zG;
    row[1] = cross(zG, row[0]);
  }
};

const GalRotation& rot() {
  static const GalRotation r;
  return r;
}

}  // namespace

// The vector arithmetic is the project's own (coords/math3D); these only fit it to Vec3.
Vec3 normalized(const Vec3& v) {
  Vec3 u = v;
  unify3D(u.data());  // a zero vector stays as it is
  return u;
}

double dot(const Vec3& a, const Vec3& b) {
  return dot3D(a.data(), b.data());
}

Vec3 cross(const Vec3& a, const Vec3& b) {
  Vec3 out;
  cross3D(a.data(), b.data(), out.data());
  return out;
}

double angleBetween(const Vec3& a, const Vec3& b) {
  const Vec3 c = cross(a, b);
  return std::atan2(std::sqrt(dot(c, c)), dot(a, b));
}

Vec3 angToVec(double aDeg, double bDeg) {
  Vec3 v;
  lbToVec(v.data(), aDeg, bDeg);
  return v;
}

void vecToAng(const Vec3& v, double& aDeg, double& bDeg) {
  Vec3 u = normalized(v);
  u[2] = std::fmax(-1.0, std::fmin(1.0, u[2]));  // rounding must not take asin out of its range
  vecToLB(u.data(), aDeg, bDeg);
  if (aDeg >= 360.0) aDeg -= 360.0;  // a tiny negative angle plus 360 rounds to 360
}

Vec3 equatorialToGalactic(const Vec3& eq) {
  const GalRotation& r = rot();
  return {dot(r.row[0], eq), dot(r.row[1], eq), dot(r.row[2], eq)};
}

Vec3 galacticToEquatorial(const Vec3& g) {
  const GalRotation& r = rot();
  Vec3 out{};
  for (int i = 0; i < 3; ++i) out[i] = r.row[0][i] * g[0] + r.row[1][i] * g[1] + r.row[2][i] * g[2];
  return out;
}

void raDecToLb(double raDeg, double decDeg, double& lDeg, double& bDeg) {
  vecToAng(equatorialToGalactic(angToVec(raDeg, decDeg)), lDeg, bDeg);
}

void lbToRaDec(double lDeg, double bDeg, double& raDeg, double& decDeg) {
  vecToAng(galacticToEquatorial(angToVec(lDeg, bDeg)), raDeg, decDeg);
}

}  // namespace skydata
