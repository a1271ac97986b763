// Structure in the catalogue: velocity trails of the stars with their error crosses, and the
// minimum spanning tree of all stars, computed, saved, loaded and drawn.
#include <GL/gl.h>

#include <cfloat>
#include <cmath>
#include <cstdio>

#include "coords/math3D.h"
#include "coords/phcoord.h"
#include "stars/mst.h"
#include "stars/sky_place.h"
#include "stars/star.h"

namespace {

// What glPushAttrib keeps around both drawings: enables, depth buffer and point state (0x2102).
constexpr GLbitfield kTrailAttribBits = GL_ENABLE_BIT | GL_DEPTH_BUFFER_BIT | GL_POINT_BIT;
// The onlyHD that draws every selected star.
constexpr int kAllStars = -1;
// The head of a trail is placed as drawStars places the star itself: true distance up to 10^3.5
// view units, beyond that each further decade counts one 72nd. Tail and error cross stop at
// 10^3.5 with no compression (kSkyPlaceMaxExponent), so a far star's trail keeps its direction
// but not its length.
constexpr double kTrueDepthDecades = 3.5;
constexpr double kFarDecadeShare = 72.0;
// A trail runs from a bright head at the star to a dim tail in the past.
constexpr float kTrailHeadColor[4] = {0.8f, 0.8f, 0.2f, 0.6f};
constexpr float kTrailTailColor[4] = {0.4f, 0.4f, 0.1f, 0.3f};
// The arms of the error cross: x red, y green, z blue.
constexpr float kErrorArmColor[3][4] = {
    {0.8f, 0.2f, 0.2f, 0.6f}, {0.2f, 0.8f, 0.2f, 0.6f}, {0.2f, 0.2f, 0.8f, 0.6f}};

// A tree needs two stars.
constexpr int kMinTreeStars = 2;
// Tree coordinates are in units of 10^15 metres: the catalogue's distances, from light days to
// kiloparsecs, then stay well inside the range where squared distances are exact enough.
constexpr double kTreeUnitExponent = 15.0;
constexpr int kIntsPerEdge = 2;
// The tree's colour, and how far it shows: full up to one view unit from the origin, then fading
// to nothing at 10^3 units, beyond which edges are left out.
constexpr float kTreeColor[3] = {0.7f, 0.7f, 0.3f};
constexpr double kTreeMaxLength = 1000.0;
constexpr float kTreeFadeDecades = 3.0f;

// The unit vector of a unified p scaled to 10^s.
void scaledUnit(const PHCoord& p, double s, double out[3]) {
  const double d = pow(10.0, s);
  out[0] = p.x * d;
  out[1] = p.y * d;
  out[2] = p.z * d;
}

// The colour of one end of a tree edge at length len from the origin.
void treeEndColor(double len) {
  const float l = (float)log10(len);
  if (l < 0.0f) {
    glColor3f(kTreeColor[0], kTreeColor[1], kTreeColor[2]);
    return;
  }
  const float q = (kTreeFadeDecades - l) / kTreeFadeDecades;
  const float f = q * q;
  glColor4f(f * kTreeColor[0], f * kTreeColor[1], f * kTreeColor[2], f);
}

}  // namespace

void StarList::drawVelocityTrail(double logScale, double years, int showError, double errorScale, int onlyHD) {
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  const PHCoord cam = cameraFromModelview(m, logScale);

  // Positions go out camera-relative, so only the rotation stays in the model-view.
  glPushMatrix();
  m[12] = m[13] = m[14] = 0.0;
  glLoadIdentity();
  glMultMatrixd(m);
  glPushAttrib(kTrailAttribBits);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_LIGHTING);
  glDepthMask(GL_FALSE);

  int first = 0, last = numStars - 1;
  if (param.zRangeOn) {
    first = zFirst;
    last = zLast;
  }
  // The range comes from a search that reports a failure as -1; the array bounds hold regardless.
  if (first < 0) first = 0;
  if (last > numStars - 1) last = numStars - 1;
  const int dt = param.starAtYear - param.datasetYear;
  const float vmagMin = (float)param.vmagRangeMin;
  const float vmagMax = (float)param.vmagRangeMax;

  glBegin(GL_LINES);
  for (int i = last; i >= first; i--) {
    const NODE_StarObject& star = stars[i];
    if (param.sptypeRangeOn && !isSptypeSelected(star.spClass[0], star.spNum)) continue;
    if (onlyHD != kAllStars && star.HD != onlyHD) continue;
    if (param.vmagRangeOn && (star.curVMag < vmagMin || star.curVMag > vmagMax)) continue;

    const PHCoord rel = subPHCoord(star.pos, cam);
    PHCoord p = rel;
    if (unifyPHCoord(&p) == -1) p.s = -DBL_MAX;
    PHCoord t = addPHCoord(p, multPHCoord(star.velPH, -years));
    if (unifyPHCoord(&t) == -1) t.s = -DBL_MAX;

    double head[3], tail[3];
    double s = p.s - logScale;
    if (s > kTrueDepthDecades) s = (s - kTrueDepthDecades) / kFarDecadeShare + kTrueDepthDecades;
    scaledUnit(p, s, head);
    s = t.s - logScale;
    if (s > kSkyPlaceMaxExponent) s = kSkyPlaceMaxExponent;
    scaledUnit(t, s, tail);

    glColor4fv(kTrailHeadColor);
    glVertex3dv(head);
    glColor4fv(kTrailTailColor);
    glVertex3dv(tail);

    // With no years between the dataset and the view there is no error to show.
    if (showError && dt != 0) {
      PHCoord e = multPHCoord(star.velPH, dt * errorScale);
      e.x *= star.velErr[0];
      e.y *= star.velErr[1];
      e.z *= star.velErr[2];
      double q[3], d[3];
      placeRelative(addPHCoord(rel, e), logScale, q);
      for (int k = 0; k < 3; k++) d[k] = q[k] - head[k];
      for (int axis = 0; axis < 3; axis++) {
        double a[3], b[3];
        copy3D(a, head);
        copy3D(b, head);
        a[axis] += d[axis];
        b[axis] -= d[axis];
        glColor4fv(kErrorArmColor[axis]);
        glVertex3dv(a);
        glVertex3dv(b);
      }
    }
  }
  glEnd();
  glPopMatrix();
  glPopAttrib();
}

int StarList::buildMST(char* saveFile) {
  // One star has no tree (and the tree finder refuses it).
  if (numStars < kMinTreeStars) return -1;
  if (mstEdges) {
    freeFunc(mstEdges);
    mstEdges = nullptr;
  }
  mstNumPoints = 0;

  double* points = (double*)allocFunc(sizeof(double) * 3 * (size_t)numStars);
  if (!points) {
    fprintf(stderr, "Err: StarList::buildMST : Can't allocate memory.\n");
    return -1;
  }
  for (int i = 0; i < numStars; i++) phCoordToPos3D(stars[i].pos, kTreeUnitExponent, points + 3 * (size_t)i);

  setAllocFunc_MST(allocFunc, freeFunc);
  mstEdges = find_MST(points, numStars, 3);
  freeFunc(points);
  // With two stars at least, the finder fails only for want of memory.
  if (!mstEdges) {
    fprintf(stderr, "Err: StarList::buildMST : Can't allocate memory.\n");
    return -1;
  }
  mstNumPoints = numStars;
  // A file that can't be written has said so; the tree stands all the same.
  if (saveFile) save_MST(saveFile, mstEdges, numStars);
  return 1;
}

int StarList::loadMST(const char* file) {
  setAllocFunc_MST(allocFunc, freeFunc);
  int n = 0;
  int* edges = load_MST(file, &n);
  if (!edges) return -1;
  // The earlier tree goes back in either case: nothing else refers to it.
  if (mstEdges) freeFunc(mstEdges);
  mstEdges = nullptr;
  mstNumPoints = 0;
  if (n != numStars) {
    fprintf(stderr, "Err (loadMST): number of points in [%s] does not match the number points I have.\n",
            file ? file : "");
    freeFunc(edges);
    return -1;
  }
  mstEdges = edges;
  mstNumPoints = n;
  return 1;
}

void StarList::drawMST(double logScale, int /*ignored*/) {
  // A tree made for another catalogue (read since) would index past either array.
  if (!mstEdges || mstNumPoints != numStars) return;

  glPushAttrib(kTrailAttribBits);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_LIGHTING);
  glDepthMask(GL_FALSE);
  glColor3f(kTreeColor[0], kTreeColor[1], kTreeColor[2]);
  glBegin(GL_LINES);
  for (int k = 0; k < numStars - 1; k++) {
    double a[3], b[3];
    phCoordToPos3D(stars[mstEdges[kIntsPerEdge * k]].pos, logScale, a);
    phCoordToPos3D(stars[mstEdges[kIntsPerEdge * k + 1]].pos, logScale, b);
    const double la = length3D(a), lb = length3D(b);
    if (la > kTreeMaxLength || lb > kTreeMaxLength) continue;
    treeEndColor(la);
    glVertex3dv(a);
    treeEndColor(lb);
    glVertex3dv(b);
  }
  glEnd();
  glPopAttrib();
}
