// Drawing a camera path: the positions of its frames, the path of its orientations, and single
// cameras as wire figures, in OpenGL immediate mode.
#include <GL/gl.h>

#include <cmath>
#include <initializer_list>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "movie/movierec.h"

namespace {

// Each "nothing to draw" warning is written this many times in a run, no more.
constexpr int kWarningsPerRun = 5;
// Stipple of the guide handles.
constexpr GLint kStippleFactor = 3;
constexpr GLushort kStipplePattern = 0xAAAA;
// Points of the orientation path are this much larger than the current point size.
constexpr float kPointGrowth = 2.0f;
// Cube sizes: a break on the orientation path, a break camera, the marks of held sessions.
constexpr double kQuatBreakCube = 0.03;
constexpr double kBreakCube = 0.4;
constexpr double kSessionCube = 0.3;
constexpr double kFixPtDistance = 1.5;
constexpr double kOffsetZero = 1e-7;
// drawFrame's flag bits.
enum FrameFlags { kFlagBackAxis = 1, kFlagUpAxis = 2, kFlagRightAxis = 4, kFlagFrustum = 8 };
constexpr int kFlagsAllAxes = 7;
constexpr int kFlagsAllAxesFrustum = 15;

void colour(double r, double g, double b) { glColor3d(r, g, b); }

void vertexOfQuat(const double q[4]) { glVertex3d(q[1], q[2], q[3]); }

// A wire cube of the given side centred at (x, y, z) of the current frame.
void cubeAt(double x, double y, double z, double side) {
  glPushMatrix();
  glTranslated(x, y, z);
  glScaled(side, side, side);
  MovieRecord::drawUnitCube();
  glPopMatrix();
}

// The quaternion of a frame, on the side of the one before it.
void frameQuat(const MovieRecord& m, int frame, const double before[4], double q[4]) {
  View v;
  m.retrieveFrame(static_cast<double>(frame), &v);
  frmViewToQuat(&v, q);
  if (innerProduct4(q, before) < 0.0) flip(q);
}

}  // namespace

void MovieRecord::drawMoviePath(double scale) const {
  static int warnings = kWarningsPerRun;
  if (nKeyFrames < 2) {
    if (warnings > 0) {
      warnings--;
      std::fprintf(stderr, "Warning (drawMoviePath): no frame to draw.\n");
    }
    return;
  }
  for (const keyFrameNode* node = keyFrames; node && node->next; node = node->next) {
    // Only the two position methods are drawn; a span marked by another session isn't.
    if (node->interpMethod == LinPos)
      drawLinearPos(node, node->next, scale);
    else if (node->interpMethod == SplPos)
      drawSplinePos(node, node->next, scale);
  }
}

void MovieRecord::drawLinearPos(const keyFrameNode* p1, const keyFrameNode* p2, double scale) const {
  double a[3], b[3];
  phCoordToPos3D(p1->view.viewPos, scale, a);
  phCoordToPos3D(p2->view.viewPos, scale, b);
  colour(1, 0.8, 0);
  glBegin(GL_LINE_STRIP);
  glVertex3dv(a);
  glVertex3dv(b);
  glEnd();
  // Every frame of the movie is a red dot.
  colour(0.8, 0, 0);
  glBegin(GL_POINTS);
  glVertex3dv(a);
  for (int i = 1; i <= p2->nFrameFrm; i++) {
    double u = static_cast<double>(i) / (p2->nFrameFrm + 1);
    double p[3];
    for (int k = 0; k < 3; k++) p[k] = (1.0 - u) * a[k] + u * b[k];
    glVertex3dv(p);
  }
  if (!p2->next) glVertex3dv(b);
  glEnd();
}

void MovieRecord::drawSplinePos(const keyFrameNode* p1, const keyFrameNode* p2, double scale) const {
  double b0[3], b1[3], b2[3], b3[3], p[3];
  phCoordToPos3D(p1->view.viewPos, scale, b0);
  phCoordToPos3D(p1->guideOut.viewPos, scale, b1);
  phCoordToPos3D(p2->guideIn.viewPos, scale, b2);
  phCoordToPos3D(p2->view.viewPos, scale, b3);
  const int steps = p2->nFrameFrm + 1;
  colour(1, 0.8, 0);
  glBegin(GL_LINE_STRIP);
  for (int i = 0; i <= steps; i++) {
    BezierPosition(b0, b1, b2, b3, static_cast<double>(i) / steps, p);
    glVertex3dv(p);
  }
  glEnd();
  glBegin(GL_POINTS);
  colour(0, 0.8, 0);
  glVertex3dv(b2);
  colour(0.4, 0.4, 0.8);
  glVertex3dv(b1);
  colour(0.4, 0.4, 0.4);
  glVertex3dv(b0);
  colour(0.8, 0, 0);
  for (int i = 1; i < steps; i++) {
    BezierPosition(b0, b1, b2, b3, static_cast<double>(i) / steps, p);
    glVertex3dv(p);
  }
  colour(0.4, 0.4, 0.4);
  glVertex3dv(b3);
  glEnd();
  glEnable(GL_LINE_STIPPLE);
  glLineStipple(kStippleFactor, kStipplePattern);
  glBegin(GL_LINES);
  if (p1->prev) {
    colour(0, 0.8, 0);
    glVertex3dv(b0);
    glVertex3dv(b1);
  }
  // The pair is b1 and b2, tested on p2's next: drawn as it has always been.
  if (p2->next) {
    colour(0.4, 0.4, 0.8);
    glVertex3dv(b1);
    glVertex3dv(b2);
  }
  glEnd();
  glDisable(GL_LINE_STIPPLE);
}

void MovieRecord::drawQuatMoviePath(double frame, double unused) const {
  (void)unused;
  static int warnings = kWarningsPerRun;
  if (nKeyFrames < 2) {
    if (warnings > 0) {
      warnings--;
      std::fprintf(stderr, "Warning (drawQuatMoviePath): no frame to draw.\n");
    }
    return;
  }
  const int highlight = static_cast<int>(frame) + 1;
  const int nFrames = getNFrames();
  double before[4] = {1, 0, 0, 0};
  double q[4];

  colour(1, 0.8, 0);
  glBegin(GL_LINE_STRIP);
  for (int f = 0; f < nFrames; f++) {
    frameQuat(*this, f, before, q);
    vertexOfQuat(q);
    copyQuat(before, q);
  }
  glEnd();

  GLfloat pointSize = 1.0f;
  glGetFloatv(GL_POINT_SIZE, &pointSize);
  colour(0.8, 0, 0);
  glLineStipple(kStippleFactor, kStipplePattern);
  int running = 0;
  before[0] = 1;
  before[1] = before[2] = before[3] = 0;
  for (const keyFrameNode* node = keyFrames; node; node = node->next) {
    frameQuat(*this, running, before, q);
    copyQuat(before, q);
    running++;
    if (node->breakFlag) {
      colour(0.8, 0.8, 0.4);
      cubeAt(q[1], q[2], q[3], kQuatBreakCube);
    }
    glPointSize(pointSize + kPointGrowth);
    if (running == highlight)
      colour(0.9, 0.3, 0.3);
    else
      colour(0.8, 0.8, 0.8);
    glBegin(GL_POINTS);
    vertexOfQuat(q);
    glEnd();
    glPointSize(pointSize);
    // The guides of spline spans, each on the keyframe's side.
    const View* guides[2] = {(node->prev && node->prev->interpMethodQuat == SplQuat) ? &node->guideIn : nullptr,
                             (node->next && node->interpMethodQuat == SplQuat) ? &node->guideOut : nullptr};
    const double guideColour[2][3] = {{0, 0.8, 0}, {0.4, 0.4, 0.8}};
    for (int g = 0; g < 2; g++) {
      if (!guides[g]) continue;
      double gq[4];
      frmViewToQuat(guides[g], gq);
      if (innerProduct4(gq, q) < 0.0) flip(gq);
      colour(guideColour[g][0], guideColour[g][1], guideColour[g][2]);
      glEnable(GL_LINE_STIPPLE);
      glBegin(GL_LINES);
      vertexOfQuat(gq);
      vertexOfQuat(q);
      glEnd();
      glDisable(GL_LINE_STIPPLE);
      glBegin(GL_POINTS);
      vertexOfQuat(gq);
      glEnd();
    }
    if (!node->next) break;
    for (int i = 0; i < node->next->nFrameFrm; i++) {
      frameQuat(*this, running, before, q);
      copyQuat(before, q);
      running++;
      if (running == highlight) {
        glPointSize(pointSize + kPointGrowth);
        colour(0.9, 0.3, 0.3);
      } else {
        colour(0.4, 0.4, 0.4);
      }
      glBegin(GL_POINTS);
      vertexOfQuat(q);
      glEnd();
      glPointSize(pointSize);
    }
  }
}

void MovieRecord::drawFrame(double frame, float size, double scale, int flags, unsigned texture) const {
  int keyFrame = 0;
  double offset = 0.0;
  if (convertFrameNum(frame, &keyFrame, &offset) == 1) drawFrame(keyFrame, offset, size, scale, flags, texture);
}

void MovieRecord::drawFrame(int keyFrame, double offset, float size, double scale, int flags,
                            unsigned texture) const {
  if (flags == 0) return;
  View view;
  if (retrieveFrame(keyFrame, offset, &view) != 1) return;
  const keyFrameNode* node = findNthKeyFrame(keyFrame);
  double dir[3], up[3], right[3];
  findViewFrame(&view, dir, up, right);
  const double m[16] = {right[0], right[1], right[2], 0, up[0], up[1], up[2], 0,
                        -dir[0],  -dir[1],  -dir[2],  0, 0,     0,     0,     1};
  double pos[3];
  phCoordToPos3D(view.viewPos, scale, pos);
  glPushMatrix();
  glTranslated(pos[0], pos[1], pos[2]);
  glMultMatrixd(m);
  // A camera near the origin of the frame shrinks with its distance.
  const double len = length3D(pos);
  if (len < 1.0) glScaled(len, len, len);

  const double s = size;
  if (offset < kOffsetZero && node->breakFlag) {
    colour(0.8, 0.8, 0.4);
    cubeAt(0, 0, 0, s * kBreakCube);
  }
  if (node->fixAtPtSession != -1) {
    colour(0, 0, 0.8);
    cubeAt(0, 0, -kFixPtDistance * s, s * kSessionCube);
    glBegin(GL_LINES);
    glVertex3d(0, 0, 0);
    glVertex3d(0, 0, -kFixPtDistance * s);
    glEnd();
  }
  if (node->fixHeadUpSession != -1) {
    colour(0, 0.8, 0);
    cubeAt(0, s, 0, s * kSessionCube);
  }
  glBegin(GL_LINES);
  if (flags & kFlagRightAxis) {
    colour(0.8, 0, 0);
    glVertex3d(0, 0, 0);
    glVertex3d(s, 0, 0);
  }
  if (flags & kFlagUpAxis) {
    colour(0, 0.8, 0);
    glVertex3d(0, 0, 0);
    glVertex3d(0, s, 0);
  }
  if (flags == kFlagsAllAxes || flags == kFlagsAllAxesFrustum) {
    colour(0, 0, 0.8);
    glVertex3d(0, 0, 0);
    glVertex3d(0, 0, s);
  }
  if (flags == kFlagBackAxis) {
    colour(0, 0, 0.8);
    glVertex3d(0, 0, 0);
    glVertex3d(0, 0, -s);
  }
  glEnd();
  if (flags & kFlagFrustum) {
    const double h = s * std::tan(view.fovy / 2.0 * kRadiansPerDegree);
    const double w = h * view.aspect;
    colour(0.7, 0.7, 0.7);
    glBegin(GL_LINE_STRIP);
    glVertex3d(w, -h, -s);
    glVertex3d(w, h, -s);
    glVertex3d(-w, h, -s);
    glVertex3d(-w, -h, -s);
    glVertex3d(w, -h, -s);
    glVertex3d(0, 0, 0);
    glVertex3d(-w, h, -s);
    glVertex3d(-w, -h, -s);
    glVertex3d(0, 0, 0);
    glVertex3d(w, h, -s);
    glEnd();
    if (glIsTexture(texture)) {
      // The frame's film picture on its image plane.
      colour(1, 1, 1);
      glEnable(GL_TEXTURE_2D);
      glBindTexture(GL_TEXTURE_2D, texture);
      glBegin(GL_QUAD_STRIP);
      glTexCoord2d(0, 1);
      glVertex3d(-w, -h, -s);
      glTexCoord2d(1, 1);
      glVertex3d(w, -h, -s);
      glTexCoord2d(0, 0);
      glVertex3d(-w, h, -s);
      glTexCoord2d(1, 0);
      glVertex3d(w, h, -s);
      glEnd();
      glDisable(GL_TEXTURE_2D);
    }
  }
  glPopMatrix();
}

void MovieRecord::drawUnitCube() {
  const double corners[4][2] = {{0.5, 0.5}, {0.5, -0.5}, {-0.5, -0.5}, {-0.5, 0.5}};
  for (double z : {0.5, -0.5}) {
    glBegin(GL_LINE_LOOP);
    for (const auto& c : corners) glVertex3d(c[0], c[1], z);
    glEnd();
  }
  glBegin(GL_LINES);
  for (const auto& c : corners) {
    glVertex3d(c[0], c[1], 0.5);
    glVertex3d(c[0], c[1], -0.5);
  }
  glEnd();
}
