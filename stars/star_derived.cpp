// Quantities derived from the catalogue once per change, not per frame: colour-map colours,
// velocities in metres per year, current positions (proper motion and spherical warp), and the
// index range of the distance selection.
#include "stars/star.h"

#include <cfloat>
#include <cmath>
#include <cstring>

#include "coords/constants.h"
#include "coords/math3D.h"

// ---------------------------------------------------------------------------------------------
// Derived star data

void StarList::resetColor() {
  starsChanged();
  if (param.whichColorMap == _USE_BV_COLOR_MAP && bvColorMap) {
    for (int i = 0; i < numStars; i++) {
      Color c = getColor(bvColorMap, stars[i].bv);
      float* o = stars[i].cmapRgba;
      o[0] = c.r, o[1] = c.g, o[2] = c.b, o[3] = c.a;
    }
  } else if (param.whichColorMap == _USE_SPECTRAL_COLOR_MAP && spColorMap) {
    const Color green{0.0f, 1.0f, 0.0f, 1.0f};
    auto colorOf = [&](int i) {
      const float* o = stars[i].cmapRgba;
      return Color{o[0], o[1], o[2], o[3]};
    };
    for (int i = 0; i < numStars; i++) {
      Color c = getSpColor(spColorMap, stars[i].spClass, stars[i].spNum, stars[i].spType);
      float* o = stars[i].cmapRgba;
      o[0] = c.r, o[1] = c.g, o[2] = c.b, o[3] = c.a;
    }
    // A type the table lacks takes the colour of another star. The search is meant to find the
    // star nearest in B-V, but its best distance is never lowered, so the last other star in
    // array order that has a colour (and a B-V distance below DBL_MAX) supplies it. This is kept as
    // it is. Searching from the end and taking the first such star gives that same star at once.
    for (int i = 0; i < numStars; i++) {
      if (!colorEqual(colorOf(i), green)) continue;
      const double best = DBL_MAX;
      int found = -1;
      for (int j = numStars - 1; j >= 0 && found < 0; j--) {
        if (j == i || colorEqual(colorOf(j), green)) continue;
        if (fabs(stars[j].bv - stars[i].bv) < best) found = j;
      }
      if (found >= 0) memcpy(stars[i].cmapRgba, stars[found].cmapRgba, sizeof stars[i].cmapRgba);
    }
  }
}

void StarList::resetVelocity(int refresh) {
  for (int i = 0; i < numStars; i++) {
    NODE_StarObject& s = stars[i];
    s.velPH.x = (s.vel[0] + param.LSR[0]) * 1000 * kSecondsPerJulianYear;
    s.velPH.y = (s.vel[1] + param.LSR[1]) * 1000 * kSecondsPerJulianYear;
    s.velPH.z = (s.vel[2] + param.LSR[2]) * 1000 * kSecondsPerJulianYear;
    s.velPH.s = 0;
  }
  if (refresh) resetCoord();
}

double StarList::sphwarpEq(double angle) {
  if (sphwarpEqFunc) return sphwarpEqFunc(angle, sphwarpAngleFrm, sphwarpAngleTo);
  double a = angle / sphwarpAngleFrm * sphwarpAngleTo;
  return a > kPi ? kPi : a;
}

void StarList::resetCoord() {
  starsChanged();
  int first = 0;
  if (withSun && numStars > 0 && strcmp(stars[0].commonName, "Sun") == 0) first = 1;
  int dt = param.starAtYear - param.datasetYear;
  for (int i = first; i < numStars; i++) {
    NODE_StarObject& s = stars[i];
    s.pos = addPHCoord(s.basePos, multPHCoord(s.velPH, dt));
    unifyPHCoord(&s.pos);
    if (sphWarpOn) {
      double p[3] = {s.pos.x, s.pos.y, s.pos.z};
      double c = dot3D(p, sphwarpDir);
      // Rounding can push the cosine of two unit vectors just past 1.
      c = c > 1 ? 1 : (c < -1 ? -1 : c);
      double angle = acos(c);
      if (angle > 1e-7) {
        double a = sphwarpEq(angle);
        double cr[3], t[3];
        cross3D(sphwarpDir, p, cr);
        cross3D(cr, sphwarpDir, t);
        unify3D(t);
        for (int j = 0; j < 3; j++) p[j] = t[j] * sin(a) + sphwarpDir[j] * cos(a);
        unify3D(p);
        s.pos.x = p[0];
        s.pos.y = p[1];
        s.pos.z = p[2];
      }
    }
  }
  if (param.zRangeOn) resetZRange();
}

void StarList::resetZRange() {
  // An empty catalogue has an empty range; the search has nothing to look at.
  if (numStars <= 0) {
    zFirst = 0;
    zLast = -1;
    return;
  }
  zFirst = binSearchStarObj(param.zRangeMin, stars, numStars);
  zLast = binSearchStarObj(param.zRangeMax, stars, numStars);
  if (zLast >= 0 && stars[zLast].pos.s > param.zRangeMax) zLast--;
}
