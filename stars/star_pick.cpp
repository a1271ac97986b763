// Finding stars: picking under a window position through GL selection, look-ups by constellation,
// HIC number and common name, the labels that stand beside a star in the sky, and the mean motion
// of the selected stars.
#include <GL/gl.h>
#include <GL/glu.h>
#include <GL/glut.h>
#include <strings.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "coords/math3D.h"
#include "stars/sky_place.h"
#include "stars/star.h"

namespace {

// Entries of the selection buffer; a hit takes 4 of them with the one name a star carries.
constexpr int kSelectBufferSize = 1024;
// The pick square is this many pixels wide per unit of size.
constexpr double kPickPixelsPerSize = 5.0;
// A hit's minimum depth divided by this in integer arithmetic gives its depth class 0, 1 or 2.
constexpr GLuint kDepthClassDivisor = 0x7FFFFFFF;
// Entries of a hit record before its names: names count, minimum and maximum depth.
constexpr int kHitHeader = 3;
// A code has three letters.
constexpr size_t kCodeLetters = 3;
// The HD number that marks the tool's anchor point, not a star.
constexpr int kAnchorHD = -2;
// Label cube: labelScale times 1/75 of its distance; the text 0.008 of the cube per stroke unit.
constexpr double kLabelCubeDivisor = 75.0;
constexpr double kLabelTextScale = 0.008;
// Error bars are drawn for distance errors above this fraction, for stars between 10^-1 and
// 10^3.5 view units.
constexpr float kMinDrawnDistErr = 0.001f;
constexpr double kErrorBarMinExponent = -1.0;
constexpr float kErrorBarColor[3] = {0.8f, 0.2f, 0.2f};
constexpr float kErrorBarEndSize = 4.0f;
constexpr float kDefaultPointSize = 1.0f;
// Room for the longest label: " HD<number> (<name> <code>)".
constexpr int kLabelSize = 128;

// Where the next word of a constellation name begins: one past the first blank, "(", "-", "."
// or "//" of w. Null when no blank follows, which ends the search of the name.
const char* nextWord(const char* w) {
  if (!strchr(w, ' ')) return nullptr;
  const char* cut[5] = {strchr(w, ' '), strchr(w, '('), strchr(w, '-'), strchr(w, '.'), strstr(w, "//")};
  const char* first = nullptr;
  for (const char* c : cut)
    if (c && (!first || c < first)) first = c;
  return first + 1;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Picking

int StarList::pickStar(int x, int y, double logScale, NODE_StarObject* out, float size, int* viewport) {
  pickMode = 1;
  GLint vp[4];
  if (viewport)
    for (int i = 0; i < 4; i++) vp[i] = viewport[i];
  else
    glGetIntegerv(GL_VIEWPORT, vp);

  GLuint buffer[kSelectBufferSize];
  glSelectBuffer(kSelectBufferSize, buffer);
  glRenderMode(GL_SELECT);
  glInitNames();
  glPushName(0);

  glMatrixMode(GL_PROJECTION);
  GLdouble projection[16];
  glGetDoublev(GL_PROJECTION_MATRIX, projection);
  glPushMatrix();
  glLoadIdentity();
  gluPickMatrix(x, vp[3] - y, size * kPickPixelsPerSize, size * kPickPixelsPerSize, vp);
  glMultMatrixd(projection);
  glMatrixMode(GL_MODELVIEW);

  // Each selected star is one named point; a negative height makes drawStars read the viewport.
  drawStars(logScale, 0, vp[2], -1);

  glMatrixMode(GL_PROJECTION);
  glPopMatrix();
  glMatrixMode(GL_MODELVIEW);
  glPopName();
  glFlush();
  const int hits = glRenderMode(GL_RENDER);

  // The depth is only a coarse class: among hits of one class the first stays, and as stars are
  // drawn from far to near that is the farthest star in the square.
  float best = FLT_MAX;
  long picked = -1;
  int at = 0;
  for (int h = 0; h < hits && at + kHitHeader <= kSelectBufferSize; h++) {
    const GLuint names = buffer[at];
    const float z = (float)(buffer[at + 1] / kDepthClassDivisor);
    if (z < best && names > 0 && at + kHitHeader < kSelectBufferSize) {
      best = z;
      picked = buffer[at + kHitHeader];
    }
    at += kHitHeader + (int)names;
  }
  pickMode = 0;
  // An overflowing buffer gives a negative count and nothing to scan: out is left alone then.
  if (hits != 0 && out && picked >= 0 && picked < numStars) *out = stars[picked];
  return hits;
}

// ---------------------------------------------------------------------------------------------
// Look-ups

int StarList::getStarByConstellation(NODE_StarObject* out, const char* name) {
  if (!out || !name) return -1;
  const size_t n = strlen(name);
  for (int i = 0; i < numConstellations; i++) {
    const NODE_Constellation& c = constellations[i];
    // The query matches as a prefix of any word; w runs to the end of the name.
    for (const char* w = c.name; w; w = nextWord(w)) {
      if (strlen(w) >= n && strncasecmp(w, name, n) == 0) {
        if (c.principalStar) {
          *out = *c.principalStar;
          return 1;
        }
        break;  // a constellation without a principal star has nothing to give
      }
    }
  }
  return -1;
}

int StarList::getStarByConstellationCode(NODE_StarObject* out, const char* code) {
  if (!out || !code) return -1;
  const size_t n = strlen(code) < kCodeLetters ? strlen(code) : kCodeLetters;
  for (int i = 0; i < numConstellations; i++) {
    const NODE_Constellation& c = constellations[i];
    if (strncasecmp(c.code, code, n) == 0 && c.principalStar) {
      *out = *c.principalStar;
      return 1;
    }
  }
  return -1;
}

int StarList::getStarByHIC(NODE_StarObject* out, int hic) {
  // 0 stands for a star without a HIC number.
  if (!out || hic <= 0) return -1;
  for (int i = 0; i < numStars; i++)
    if (stars[i].HIC == hic) {
      *out = stars[i];
      return 1;
    }
  return -1;
}

int StarList::getStarByName(NODE_StarObject* out, const char* name) {
  if (!out || !name || !name[0] || strcmp(name, "---") == 0) return -1;
  for (int i = 0; i < numStars; i++)
    if (strcasecmp(stars[i].commonName, name) == 0) {
      *out = stars[i];
      return 1;
    }
  return -1;
}

// ---------------------------------------------------------------------------------------------
// Labels

void StarList::drawLabelOfStar(int starID, double logScale, int labelType, int showError) {
  if (starID < 0 || starID >= numStars) {
    fprintf(stderr, "Err (drawLabelOfStar): starID out of range\n");
    return;
  }
  drawLabelOfStar(&stars[starID], logScale, labelType, showError);
}

void StarList::drawLabelOfStar(const NODE_StarObject* star, double logScale, int labelType, int showError) {
  if (!star) {
    fprintf(stderr, "Err (drawLabelOfStar): NULL input parameter\n");
    return;
  }
  // A name beginning with "-" ("---") is no constellation.
  const bool inConstellation = star->constellName[0] != '-';
  char text[kLabelSize];
  switch (labelType) {
    case 0:
      text[0] = 0;
      break;
    case 1:
      if (inConstellation)
        snprintf(text, sizeof text, " %s (%s %s)", star->commonName, star->constellName, star->constellCode);
      else
        snprintf(text, sizeof text, " %s", star->commonName);
      break;
    case 2:
      if (inConstellation)
        snprintf(text, sizeof text, " HD%d (%s %s)", star->HD, star->constellName, star->constellCode);
      else
        snprintf(text, sizeof text, " HD%d", star->HD);
      break;
    default:
      return;
  }
  drawLabelOfStar(star, logScale, text, showError);
}

void StarList::drawLabelOfStar(int starID, double logScale, const char* text, int showError) {
  if (starID < 0 || starID >= numStars) {
    fprintf(stderr, "Err (drawLabelOfStar): starID out of range\n");
    return;
  }
  drawLabelOfStar(&stars[starID], logScale, text, showError);
}

void StarList::drawLabelOfStar(const NODE_StarObject* star, double logScale, const char* text, int showError) {
  if (!star || !text) {
    fprintf(stderr, "Err (drawLabelOfStar): NULL input parameter\n");
    return;
  }
  glPushMatrix();
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  const PHCoord cam = cameraFromModelview(m, logScale);
  double v[3];
  const double s = placeOnSky(star->pos, cam, logScale, v);
  const double L = param.labelScale * pow(10.0, s) / kLabelCubeDivisor;

  m[12] = m[13] = m[14] = 0.0;
  glLoadIdentity();
  glMultMatrixd(m);
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);

  if (star->HD == kAnchorHD && text[0]) {
    // The anchor is a cross of the three axes, with its text beside it.
    glTranslated(v[0], v[1], v[2]);
    glBegin(GL_LINES);
    for (int axis = 0; axis < 3; axis++) {
      double a[3] = {0, 0, 0}, b[3] = {0, 0, 0};
      a[axis] = -L / 2;
      b[axis] = L / 2;
      glVertex3dv(a);
      glVertex3dv(b);
    }
    glEnd();
    drawBillboardText(text, (float)(kLabelTextScale * L), STAR_TEXT_ALIGN_LEFT);
  } else {
    if (text[0]) {
      glPushMatrix();
      glTranslated(v[0], v[1], v[2]);
      glutWireCube(L);
      drawBillboardText(text, (float)(kLabelTextScale * L), STAR_TEXT_ALIGN_LEFT);
      glPopMatrix();
    }
    if (showError && star->distErr > kMinDrawnDistErr) {
      // The bar stands in the caller's space, from the origin with no camera.
      PHCoord p = star->pos;
      p.s -= logScale;
      if (unifyPHCoord(&p) == -1) p.s = -DBL_MAX;
      if (p.s > kErrorBarMinExponent && p.s < kSkyPlaceMaxExponent) {
        const double d = pow(10.0, p.s);
        const double unit[3] = {p.x, p.y, p.z};
        double nearEnd[3] = {0, 0, 0}, farEnd[3];
        if (star->distErr < 1.0f)
          for (int i = 0; i < 3; i++) nearEnd[i] = unit[i] * (1 - star->distErr) * d;
        for (int i = 0; i < 3; i++) farEnd[i] = unit[i] * (1 + star->distErr) * d;
        glPopMatrix();
        glColor3fv(kErrorBarColor);
        glBegin(GL_LINES);
        glVertex3dv(nearEnd);
        glVertex3dv(farEnd);
        glEnd();
        glPointSize(kErrorBarEndSize);
        glBegin(GL_POINTS);
        glVertex3dv(nearEnd);
        glVertex3dv(farEnd);
        glEnd();
        glPointSize(kDefaultPointSize);
        glPushMatrix();
      }
    }
  }

  // Both come back on, whatever they were before.
  glEnable(GL_LIGHTING);
  glEnable(GL_TEXTURE_2D);
  glPopMatrix();
}

// ---------------------------------------------------------------------------------------------
// Mean motion

int StarList::computeAvgVelocity(int useVMagRange, int useZRange, int useSptypeRange, double* avgVel) {
  if (!avgVel) return 0;
  avgVel[0] = avgVel[1] = avgVel[2] = 0.0;
  int first = 0, last = numStars - 1;
  if (useZRange && param.zRangeOn) {
    first = zFirst;
    last = zLast;
  }
  if (withSun && first == 0) first = 1;
  // A range left from an earlier catalogue never reaches past this one.
  if (first < 0) first = 0;
  if (last > numStars - 1) last = numStars - 1;
  int count = 0;
  for (int i = last; i >= first; i--) {
    const NODE_StarObject& s = stars[i];
    if (useSptypeRange && param.sptypeRangeOn && !isSptypeSelected(s.spClass[0], s.spNum)) continue;
    // The magnitude is the one of the last frame drawn.
    if (useVMagRange && param.vmagRangeOn && (s.curVMag < param.vmagRangeMin || s.curVMag > param.vmagRangeMax))
      continue;
    for (int k = 0; k < 3; k++) avgVel[k] += s.vel[k];
    count++;
  }
  if (count > 0)
    for (int k = 0; k < 3; k++) avgVel[k] /= count;
  return count;
}
