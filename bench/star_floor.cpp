// The floor of a star frame: plain smooth points at the stars' sizes and colours.
#include "bench/star_floor.h"

#include <GL/gl.h>

#include <cmath>

namespace {
// Beyond this many decades past the eye's scale, depth is squeezed into a share of a decade
// each, as the star drawing does, so that far stars stay inside the far plane.
constexpr double kTrueDepthDecades = 3.5;
constexpr double kFarDecadeShare = 72.0;
// Point sizes are kept in half pixels.
constexpr float kPixelsPerSizeStep = 0.5f;
}  // namespace

StarFloor placeStarFloor(StarList& list, double logScale, int heightPixels, int flags) {
  StarFloor floor;
  double p[16];
  glGetDoublev(GL_PROJECTION_MATRIX, p);
  const float radPerPixel = static_cast<float>(1.0 / (heightPixels * 0.5 * p[5]));
  for (int i = list.numStars - 1; i >= 0; i--) {
    NODE_StarObject& star = list.stars[i];
    if (star.pos.x <= 0) continue;  // behind the eye
    int px, alpha;
    if (list.computePXSizeAlpha(&px, &alpha, star.curVMag, list.param.starScale, radPerPixel, i) != 0) continue;
    StarList::CPoint c;
    double sp = star.pos.s - logScale;
    if (sp > kTrueDepthDecades) sp = (sp - kTrueDepthDecades) / kFarDecadeShare + kTrueDepthDecades;
    const double k = std::pow(10.0, sp);
    c.pos[0] = star.pos.x * k, c.pos[1] = star.pos.y * k, c.pos[2] = star.pos.z * k;
    list.computeColor(&star, flags, alpha, c.rgba);
    floor.points[px].push_back(c);
    floor.numPoints++;
  }
  return floor;
}

void drawStarFloor(const StarFloor& floor) {
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  glPushMatrix();
  m[12] = m[13] = m[14] = 0;
  glLoadMatrixd(m);
  glPushAttrib(GL_ALL_ATTRIB_BITS);
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
  glEnable(GL_POINT_SMOOTH);
  glHint(GL_POINT_SMOOTH_HINT, GL_NICEST);
  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  glDepthMask(GL_FALSE);
  for (const auto& [px, pts] : floor.points) {
    glPointSize(px * kPixelsPerSizeStep);
    glBegin(GL_POINTS);
    for (const StarList::CPoint& c : pts) {
      glColor4fv(c.rgba);
      glVertex3dv(c.pos);
    }
    glEnd();
  }
  glPopAttrib();
  glPopMatrix();
}
