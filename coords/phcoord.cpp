// Power homogeneous coordinates: arithmetic, scaling and conversion of mantissa-and-power positions.
#include "coords/phcoord.h"

#include <cmath>

namespace {

// A mantissa shorter than this is the zero vector.
constexpr double kZeroLength = 1e-7;
// log10 of the largest float, 3.4028234663852886e38.
const double kLogFloatMax = std::log10(3.4028234663852886e38);
// Operands further apart than this many decades are not mixed.
constexpr double kMaxDecades = 15.0;

double mantissaLength(const PHCoord& p) {
  return std::sqrt(p.x * p.x + p.y * p.y + p.z * p.z);
}

}  // namespace

void printPHCoord(FILE* fp, PHCoord p) {
  std::fprintf(fp, "%f %f %f (%f)", p.x, p.y, p.z, p.s);
}

void printPHCoordN(FILE* fp, PHCoord p) {
  std::fprintf(fp, "%f %f %f (%f)\n", p.x, p.y, p.z, p.s);
}

int unifyPHCoord(PHCoord* p) {
  double len = mantissaLength(*p);
  // Strict: a length of exactly 1e-7 is not zero. A NaN is not shorter either and spreads.
  if (len < kZeroLength) return -1;
  p->s += std::log10(len);
  p->x /= len;
  p->y /= len;
  p->z /= len;
  return 1;
}

int normalizePHCoord(PHCoord* p, double target) {
  double len = mantissaLength(*p);
  if (len < kZeroLength) {
    p->s = target;
    return 1;
  }
  double trueLog = std::log10(len) + p->s;
  double factor = std::pow(10.0, p->s - target);
  p->s = target;
  p->x *= factor;
  p->y *= factor;
  p->z *= factor;
  // -1 only warns that the mantissa went beyond float range; the rescaling stands.
  return (trueLog - target > kLogFloatMax) ? -1 : 1;
}

PHCoord addPHCoord(PHCoord a, PHCoord b) {
  int aFlag = unifyPHCoord(&a);
  int bFlag = unifyPHCoord(&b);
  if (aFlag == -1) return b;
  if (bFlag == -1) return a;
  if (a.s > b.s + kMaxDecades) return a;
  if (b.s > a.s + kMaxDecades) return b;
  // Both at the smaller exponent: the shorter stays of length 1, the longer at most 1e15.
  if (a.s > b.s)
    normalizePHCoord(&a, b.s);
  else
    normalizePHCoord(&b, a.s);
  PHCoord sum;
  sum.x = a.x + b.x;
  sum.y = a.y + b.y;
  sum.z = a.z + b.z;
  sum.s = a.s;
  return sum;
}

PHCoord subPHCoord(PHCoord a, PHCoord b) {
  return addPHCoord(a, multPHCoord(b, -1.0));
}

PHCoord multPHCoord(PHCoord p, double k) {
  p.x *= k;
  p.y *= k;
  p.z *= k;
  return p;
}

double lengthPHCoord(PHCoord p) {
  if (unifyPHCoord(&p) == -1) return 0.0;
  return std::pow(10.0, p.s);
}

int eqnPHCoord(PHCoord a, PHCoord b) {
  PHCoord d = subPHCoord(a, b);
  return unifyPHCoord(&d) == -1 ? 1 : 0;
}

void phCoordToPos3D(PHCoord p, double scale, double out[3]) {
  double factor = std::pow(10.0, p.s - scale);
  out[0] = p.x * factor;
  out[1] = p.y * factor;
  out[2] = p.z * factor;
}

PHCoord pos3DToPHCoord(const double pos[3], double scale) {
  PHCoord p;
  p.x = pos[0];
  p.y = pos[1];
  p.z = pos[2];
  p.s = scale;
  return p;
}
