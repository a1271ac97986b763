// Drawing the planets' orbits: each an ellipse with the star at a focus, standing where the camera
// sees the star and enlarged by the orbit scale so that it keeps its true angular size times that
// scale at any distance, with the star's label beside it on request.
#include <GL/gl.h>

#include <cfloat>
#include <cmath>
#include <cstdio>

#include "stars/sky_place.h"
#include "stars/star.h"

namespace {

// The orbit is a loop of this many points, ten degrees apart.
constexpr int kOrbitPoints = 36;
constexpr double kOrbitStep = 0.17453292519943295;
// Orbits are drawn at this part of their radius: the float 0.8, widened as it stands, which is how
// the orbits have always been drawn.
constexpr float kOrbitRadiusFactor = 0.8f;
// The label is sized by a cube of labelScale times 1/75 of the star's distance in view units, the
// text 0.008 of that cube per stroke unit, as star labels are.
constexpr double kLabelCubeDivisor = 75.0;
constexpr double kLabelTextScale = 0.008;
// Room for " <name> (<constellation> <code>)".
constexpr int kLabelSize = 128;
// A label of this type names the star by its common name, of the other by its HD number.
constexpr int kLabelByName = 1;
constexpr int kLabelByHD = 2;

// The label text of a planet's star for labelType 1 or 2 into text; false for any other type,
// which draws no label.
bool labelText(const NODE_StarObject* star, int labelType, char* text, size_t size) {
  // A constellation name beginning with "-" ("---") is no constellation.
  const bool inConstellation = star->constellName[0] != '-';
  if (labelType == kLabelByName) {
    if (inConstellation)
      snprintf(text, size, " %s (%s %s)", star->commonName, star->constellName, star->constellCode);
    else
      snprintf(text, size, " %s", star->commonName);
    return true;
  }
  if (labelType == kLabelByHD) {
    if (inConstellation)
      snprintf(text, size, " HD%d (%s %s)", star->HD, star->constellName, star->constellCode);
    else
      snprintf(text, size, " HD%d", star->HD);
    return true;
  }
  return false;
}

}  // namespace

void drawOrbit(double a, double minorRatio, double eccentricity) {
  // The unit circle in the y-z plane, built once.
  static double circle[kOrbitPoints][3];
  static bool built = false;
  if (!built) {
    for (int i = 0; i < kOrbitPoints; i++) {
      const double t = i * kOrbitStep;
      circle[i][0] = 0.0;
      circle[i][1] = cos(t);
      circle[i][2] = sin(t);
    }
    built = true;
  }
  glPushMatrix();
  // The centre moves e a along the major axis, which puts the origin, the star, at a focus.
  glTranslated(0.0, eccentricity * a, 0.0);
  glScaled(a, a, a * minorRatio);
  glBegin(GL_LINE_LOOP);
  for (int i = 0; i < kOrbitPoints; i++) glVertex3dv(circle[i]);
  glEnd();
  glPopMatrix();
}

void StarList::drawPlanetOfStar(int starID, double logScale, int labelType) {
  if (!stars || starID < 0 || starID >= numStars) {
    fprintf(stderr, "Err (drawPlanetOfStar): starID out of range\n");
    return;
  }
  drawPlanetOfStar(&stars[starID], logScale, labelType);
}

void StarList::drawPlanetOfStar(const NODE_StarObject* star, double logScale, int labelType) {
  if (!star) {
    fprintf(stderr, "Err (drawPlanetOfStar): input parameter starobj is NULL\n");
    return;
  }
  if (!star->planets) return;
  for (int i = 0; i < star->nPlanets; i++) drawPlanet(star->planets[i], logScale, labelType);
}

void StarList::drawPlanet(int planetID, double logScale, int labelType) {
  if (!planets || planetID < 0 || planetID >= numPlanets) {
    fprintf(stderr, "Err (drawPlanet): planetID out of range\n");
    return;
  }
  drawPlanet(&planets[planetID], logScale, labelType);
}

void StarList::drawPlanet(const NODE_ExtrasolarPlanet* planet, double logScale, int labelType) {
  if (!planet) {
    fprintf(stderr, "Err (drawPlanet): input parameter planet is NULL\n");
    return;
  }
  // A planet of a star outside the catalogue has no place on the sky.
  if (!planet->star) return;
  drawPlanetActual(planet, logScale, labelType);
}

void StarList::drawAllPlanets(double logScale, int labelType) {
  for (int i = 0; i < numPlanets && planets; i++) drawPlanet(&planets[i], logScale, labelType);
}

void StarList::drawPlanetActual(const NODE_ExtrasolarPlanet* planet, double logScale, int labelType) {
  if (!planet || !planet->star) return;
  const NODE_StarObject* star = planet->star;

  glPushMatrix();
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  const PHCoord cam = cameraFromModelview(m, logScale);
  PHCoord v = subPHCoord(star->pos, cam);
  const bool atStar = unifyPHCoord(&v) == -1;
  if (atStar) v.s = -DBL_MAX;
  // The star stands at its distance in view units up to 10^3.5, and on that sphere beyond.
  double s = v.s - logScale;
  if (s > kSkyPlaceMaxExponent) s = kSkyPlaceMaxExponent;
  const double d = pow(10.0, s);
  const double place[3] = {v.x * d, v.y * d, v.z * d};
  // The orbit's angular size as a decimal exponent, carried to where the star is drawn, so that
  // the ellipse keeps its true angular size times the orbit scale. A camera at the star itself
  // has no angle to keep: the orbit then has its true size times the scale.
  const double sizeExponent = atStar ? planet->logOrbit - logScale : (planet->logOrbit - v.s) + s;
  const double radius = param.extrasolarPlanetOrbitScale * pow(10.0, sizeExponent);
  const double labelCube = param.labelScale * d / kLabelCubeDivisor;

  m[12] = m[13] = m[14] = 0.0;
  glLoadIdentity();
  glMultMatrixd(m);
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);

  glPushMatrix();
  glTranslated(place[0], place[1], place[2]);
  glPushMatrix();
  glRotated(planet->orbitAngle, planet->orbitAxis[0], planet->orbitAxis[1], planet->orbitAxis[2]);
  drawOrbit(radius * (double)kOrbitRadiusFactor, planet->minorRatio, planet->eccentricity);
  glPopMatrix();
  char text[kLabelSize];
  if (labelText(star, labelType, text, sizeof text))
    drawBillboardText(text, (float)(kLabelTextScale * labelCube), STAR_TEXT_ALIGN_LEFT);
  glPopMatrix();

  // Both come back on, whatever they were before.
  glEnable(GL_LIGHTING);
  glEnable(GL_TEXTURE_2D);
  glPopMatrix();
}
