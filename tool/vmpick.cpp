// The tool's star picking: by name or number, by constellation, by a click in the picture, the
// anchor on empty sky, and the texts that describe the picked star or the anchor.
#include "tool/vmpick.h"

#include <GL/gl.h>
#include <GL/glu.h>
#include <strings.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "tool/velmora.h"
#include "tool/vmbuild.h"
#include "viewer/glui.h"
#include "viewer/panel.h"
#include "viewer/tarnwick.h"

namespace {

// The anchor stands this many decades beyond the view's log scale: far behind every model.
constexpr double kAnchorDecades = 3.5;
// log10 of the round parsec and light year of the print-outs, in metres.
const double kLogParsecMetres = std::log10(kMetresPerParsec);
const double kLogLightYearMetres = std::log10(kMetresPerLightYear);
// Fractions are shown as percentages.
constexpr double kPercent = 100.0;
// The names are shown up to this many bytes.
constexpr size_t kNameBytes = 300;

void setText(char* dst, const char* text) {
  copyText(dst, text, kPickTextSize);
}

void choose(const NODE_StarObject& star) {
  pickedStar = star;
  picked = 1;
  updateStarPanel();
}

}  // namespace

void computeAnglesStr(char* lText, char* bText, const double v[3]) {
  char format[16];
  snprintf(format, sizeof format, "%%.%df", printDecPlace);
  double d[3] = {v[0], v[1], v[2]};
  double l, b;
  if (showRaDec) galacticToEquatorial(d);
  vecToLB(d, l, b);
  char number[kAngleTextSize];
  snprintf(number, sizeof number, format, showRaDec ? l / kDegreesPerHour : l);
  snprintf(lText, kAngleTextSize, showRaDec ? "%sh" : "%s", number);
  snprintf(bText, kAngleTextSize, format, b);
}

void updateStarPanel() {
  char format[16], percent[24];
  snprintf(format, sizeof format, "%%.%df", printDecPlace);
  snprintf(percent, sizeof percent, "%s%%%%", format);
  NODE_StarObject& s = pickedStar;
  if (s.HD == kAnchorHD) {
    for (char* t : {pickStarNameHDStr, pickStarNameHICStr, pickStarConstellationStr, pickStarBVStr, pickStarVMagStr,
                    pickStarSpTypeStr, pickStarLumStr})
      t[0] = '\0';
    setText(pickStarNameCommonStr, "anchor");
  } else {
    snprintf(pickStarNameHDStr, kPickTextSize, "%d", s.HD);
    snprintf(pickStarNameHICStr, kPickTextSize, "%d", s.HIC);
    copyText(pickStarNameCommonStr, s.commonName, kNameBytes);
    copyText(pickStarConstellationStr, s.constellName, kNameBytes);
    snprintf(pickStarBVStr, kPickTextSize, format, s.bv);
    snprintf(pickStarVMagStr, kPickTextSize, format, s.lumMag);
    snprintf(pickStarSpTypeStr, kPickTextSize, "%s%.1f(%s)", s.spClass, s.spNum, s.spType);
    snprintf(pickStarLumStr, kPickTextSize, format, s.lum);
  }
  PHCoord p = s.pos;
  unifyPHCoord(&p);
  snprintf(pickStarPosXStr, kPickTextSize, format, p.x);
  snprintf(pickStarPosYStr, kPickTextSize, format, p.y);
  snprintf(pickStarPosZStr, kPickTextSize, format, p.z);
  snprintf(pickStarDistErrorStr, kPickTextSize, percent, s.distErr * kPercent);
  snprintf(pickStarPosScaleStr, kPickTextSize, format, p.s);
  snprintf(pickStarDistParsecStr, kPickTextSize, format, pow(10.0, p.s - kLogParsecMetres));
  snprintf(pickStarDistLightYearStr, kPickTextSize, format, pow(10.0, p.s - kLogLightYearMetres));
  char* vel[3] = {pickStarVelXStr, pickStarVelYStr, pickStarVelZStr};
  char* pec[3] = {pickStarPecVelXStr, pickStarPecVelYStr, pickStarPecVelZStr};
  double lsr[3] = {0, 0, 0};
  if (starList) {
    StarParameter param = starList->getStarParameter();
    memcpy(lsr, param.LSR, sizeof lsr);
  }
  for (int i = 0; i < 3; i++) {
    snprintf(vel[i], kPickTextSize, "%.2f +- %.2f%% km/s", s.vel[i], s.velErr[i] * kPercent);
    snprintf(pec[i], kPickTextSize, "%.2f +- %.2f%% km/s", s.vel[i] + lsr[i], s.velErr[i] * kPercent);
  }
  double v[3] = {p.x, p.y, p.z};
  char l[kAngleTextSize], b[kAngleTextSize];
  computeAnglesStr(l, b, v);
  setText(pickStarLStr, l);
  setText(pickStarBStr, b);
  syncPanel();
}

void updateAnchor(int x, int y) {
  if (x >= 0) {
    double m[16], p[16];
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    m[12] = m[13] = m[14] = 0;
    glGetDoublev(GL_PROJECTION_MATRIX, p);
    int vp[4];
    if (glui) {
      GLUI_Master.get_viewport_area(&vp[0], &vp[1], &vp[2], &vp[3]);
    } else {
      glGetIntegerv(GL_VIEWPORT, vp);
    }
    double w[3];
    if (gluUnProject(x, vp[3] - y - 1, 0, m, p, vp, &w[0], &w[1], &w[2])) {
      unify3D(w);
      anchor.pos.x = w[0], anchor.pos.y = w[1], anchor.pos.z = w[2];
      anchor.pos.s = currLogScale + kAnchorDecades;
    }
  }
  pickedStar = anchor;
  updateStarPanel();
  for (char* t : {pickStarConstellationStr, pickStarBVStr, pickStarVMagStr, pickStarSpTypeStr, pickStarLumStr})
    t[0] = '\0';
  // The two angle texts come from kAngleTextSize buffers, so both fit anchorText.
  char l[kAngleTextSize], b[kAngleTextSize];
  copyText(l, pickStarLStr, sizeof l);
  copyText(b, pickStarBStr, sizeof b);
  snprintf(anchorText, sizeof anchorText, " (%s,%s)", l, b);
}

int pickStarByName(const char* text) {
  if (!text) return 0;
  if (strcmp(text, "anchor") == 0) {
    picked = 0;
    updateAnchor(-1, -1);
    showAnchor = 1;
    return 0;
  }
  if (!starList) return 0;
  int n = atoi(text);
  NODE_StarObject star;
  for (int i = 0; i < starList->getNumStars(); i++) {
    if (starList->getStarByID(&star, i) != 1) continue;
    if (strcasecmp(star.commonName, text) == 0 || (n > 0 && (n == star.HD || n == star.HIC))) {
      choose(star);
      return 1;
    }
  }
  return 0;
}

int pickStarByConstellation(const char* text) {
  if (!text || !*text || !starList) return 0;
  NODE_StarObject star;
  if (starList->getStarByConstellation(&star, text) != 1) return 0;
  choose(star);
  return 1;
}

void pickStarByPos(int x, int y) {
  if (!starList) return;
  int vp[4];
  panelGetViewportArea(&vp[0], &vp[1], &vp[2], &vp[3]);
  if (starList->pickStar(x, y, currLogScale, &pickedStar, 1.0f, vp)) {
    picked = 1;
    updateStarPanel();
  } else {
    picked = 0;
    updateAnchor(x, y);
  }
  syncPanel();
}
