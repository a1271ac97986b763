// Print-outs of a star and of a planet, in the units a reader of the report expects.
#include "stars/star.h"

#include <cmath>

#include "coords/constants.h"
#include "coords/math3D.h"

void printPlanet(NODE_ExtrasolarPlanet* planet, FILE* fp) {
  fprintf(fp, "Planet %d", planet->id);
  if (planet->star)
    fprintf(fp, " (star: HD%d)\n", planet->star->HD);
  else
    fprintf(fp, "\n");
  fprintf(fp, "mass:         %.2f of Jupiter\n", planet->mass);
  fprintf(fp, "semimajor R:  %.2f A.U.\n", planet->semiMajor);
  fprintf(fp, "period:       %.2f days\n", planet->period);
  fprintf(fp, "eccentricity: %.2f\n", planet->eccentricity);
  fprintf(fp, "K:            %.2f m/s\n", planet->K);
}

// ---------------------------------------------------------------------------------------------
// Print-out

void StarList::printStarObj(NODE_StarObject* star, FILE* fp) {
  fprintf(fp, "name      : HD(%d) HIC(%d) CommonName(%s)\n", star->HD, star->HIC, star->commonName);
  if (star->constellName[0] == 0)
    fprintf(fp, "constell. : none\n");
  else
    fprintf(fp, "constell. : %s (%s)\n", star->constellName, star->constellCode);

  PHCoord p = star->pos;
  unifyPHCoord(&p);
  fprintf(fp, "position  : %8.4f %8.4f %8.4f x 10e(%8.4f) meters\n", p.x, p.y, p.z, p.s);

  double eq[3] = {p.x, p.y, p.z};
  galacticToEquatorial(eq);
  double dec = asin(eq[2]) * 180.0 / kPi;
  double ra = atan2(eq[1], eq[0]) * 180.0 / kPi;
  if (ra < 0) ra += 360.0;
  fprintf(fp, "RA,DEC    : %8.4fH %8.4f\n", ra / 15.0, dec);

  double l = atan2(p.y, p.x) * 180.0 / kPi;
  double b = asin(p.z) * 180.0 / kPi;
  if (l < 0) l += 360.0;
  fprintf(fp, "l,b       : %8.4f %8.4f\n", l, b);

  double d = pow(10.0, p.s);
  double e = d * star->distErr;
  fprintf(fp, "distance  : %8.4e +- %8.4e meters\n", d, e);
  fprintf(fp, "distance  : %8.4e +- %8.4e kilometers\n", d / 1000, e / 1000);
  fprintf(fp, "distance  : %8.4f +- %8.4f parsecs\n", d / kMetresPerParsec, e / kMetresPerParsec);
  fprintf(fp, "distance  : %8.4f +- %8.4f lightyears\n", d / kMetresPerLightYear, e / kMetresPerLightYear);
  fprintf(fp, "%%err dist : %8.4f%% (percentage error in distance)\n", star->distErr * 100);

  static const char* velName[3] = {"velX     :", "velY     :", "velZ     :"};
  static const char* relName[3] = {"velX-LSRX:", "velY-LSRY:", "velZ-LSRZ:"};
  for (int i = 0; i < 3; i++)
    fprintf(fp, "%s %8.4f +- %8.4f km/s\n", velName[i], star->vel[i], star->vel[i] * star->velErr[i]);
  for (int i = 0; i < 3; i++)
    fprintf(fp, "%s %8.4f +- %8.4f km/s\n", relName[i], star->vel[i] - param.LSR[i],
            star->vel[i] * star->velErr[i]);
  // The velocity errors are printed as they stand, not multiplied by 100.
  fprintf(fp, "%%err vel  : %8.4f%% %8.4f%% %8.4f%% (percentage errors in velocity)\n", star->velErr[0],
          star->velErr[1], star->velErr[2]);
  fprintf(fp, "b-v       : %8.4f\n", star->bv);
  fprintf(fp, "lum       : %8.4f\n", star->lum);
  fprintf(fp, "abs.VMag  : %8.4f\n", star->VMag);
  const float* c = star->cmapRgba;
  if (param.whichColorMap == _USE_BV_COLOR_MAP)
    fprintf(fp, "bv-rgba   : %8.4f %8.4f %8.4f %8.4f\n", c[0], c[1], c[2], c[3]);
  else if (param.whichColorMap == _USE_SPECTRAL_COLOR_MAP)
    fprintf(fp, "sp-rgba   : %8.4f %8.4f %8.4f %8.4f\n", c[0], c[1], c[2], c[3]);
  fprintf(fp, "spectral  : class(%s) num(%f) type(%s)\n", star->spClass, star->spNum, star->spType);
  if (star->nPlanets != 0) {
    fprintf(fp, "#. planet : %d\n", star->nPlanets);
    for (int i = 0; i < star->nPlanets; i++) printPlanet(star->planets[i], fp);
  }
}

void StarList::printStarObjs(NODE_StarObject* st, int n, FILE* fp) {
  for (int i = 0; i < n; i++) printStarObj(&st[i], fp);
}

