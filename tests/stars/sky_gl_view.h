// Test helpers for pictures of the sky: a camera at the origin looking at a direction given in
// equatorial hours and degrees, where a star lands on the screen, reading and saving frames.
#pragma once

#include <GL/gl.h>
#include <GL/glu.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "coords/math3D.h"
#include "coords/phcoord.h"
#include "tests/support/xvfb.h"

namespace skyview {

// The galactic unit vector of right ascension ra (hours) and declination dec (degrees).
inline void equatorialDir(double ra, double dec, double v[3]) {
  lbToVec(v, ra * 15.0, dec);
  equatorialToGalactic(v);
}

// Viewport w x h, perspective of fovy degrees, eye at the origin looking along dir with
// equatorial north up. The near and far planes are the tool's unless given.
inline void lookFromOrigin(const double dir[3], double fovy, int w, int h, double zNear = 0.01,
                           double zFar = 10000.0) {
  double north[3];
  equatorialDir(0, 90, north);
  glViewport(0, 0, w, h);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(fovy, (double)w / h, zNear, zFar);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(0, 0, 0, dir[0], dir[1], dir[2], north[0], north[1], north[2]);
}

// Window position (x right, y up, in pixels) of the point p under the current matrices; false if
// it lies behind the eye.
inline bool project(const double p[3], double win[2]) {
  double mv[16], pr[16], z;
  GLint vp[4];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  glGetIntegerv(GL_VIEWPORT, vp);
  // In front: the eye-space z is negative.
  const double ez = mv[2] * p[0] + mv[6] * p[1] + mv[10] * p[2] + mv[14];
  if (ez >= 0) return false;
  gluProject(p[0], p[1], p[2], mv, pr, vp, &win[0], &win[1], &z);
  return true;
}

// Where a position stands for a camera at the origin: its direction at 10^min(s - logScale, 3.5).
inline void placedFromOrigin(PHCoord p, double logScale, double out[3]) {
  unifyPHCoord(&p);
  const double d = std::pow(10.0, std::min(p.s - logScale, 3.5));
  out[0] = p.x * d;
  out[1] = p.y * d;
  out[2] = p.z * d;
}

// A frame of w x h RGB bytes, bottom row first.
struct Frame {
  int w = 0, h = 0;
  std::vector<unsigned char> px;
  static Frame read(int w, int h) {
    Frame f;
    f.w = w;
    f.h = h;
    f.px = testsupport::readPixelsRGB(0, 0, w, h);
    return f;
  }
  const unsigned char* at(int x, int y) const { return &px[((size_t)y * w + x) * 3]; }
  bool inside(int x, int y) const { return x >= 0 && y >= 0 && x < w && y < h; }
  bool lit(int x, int y) const {
    if (!inside(x, y)) return false;
    const unsigned char* c = at(x, y);
    return c[0] > 40 || c[1] > 40 || c[2] > 40;
  }
  // Red, green or blue well above the other two.
  bool red(int x, int y) const { return inside(x, y) && at(x, y)[0] > 100 && at(x, y)[1] < 60 && at(x, y)[2] < 60; }
  bool green(int x, int y) const { return inside(x, y) && at(x, y)[1] > 100 && at(x, y)[0] < 60 && at(x, y)[2] < 60; }
  template <class Pred>
  bool anyNear(double x, double y, int r, Pred pred) const {
    const int cx = (int)std::lround(x), cy = (int)std::lround(y);
    for (int dy = -r; dy <= r; dy++)
      for (int dx = -r; dx <= r; dx++)
        if (pred(cx + dx, cy + dy)) return true;
    return false;
  }
  template <class Pred>
  int count(Pred pred) const {
    int n = 0;
    for (int y = 0; y < h; y++)
      for (int x = 0; x < w; x++) n += pred(x, y) ? 1 : 0;
    return n;
  }
  // Saved as a PPM, top row first, when VELMORA_SAVE_FRAMES names a folder: for looking at.
  void save(const std::string& name) const {
    const char* dir = std::getenv("VELMORA_SAVE_FRAMES");
    if (!dir) return;
    FILE* f = std::fopen((std::string(dir) + "/" + name + ".ppm").c_str(), "wb");
    if (!f) return;
    std::fprintf(f, "P6\n%d %d\n255\n", w, h);
    for (int y = h - 1; y >= 0; y--) std::fwrite(at(0, y), 3, (size_t)w, f);
    std::fclose(f);
  }
};

// Distance of (x, y) from the segment a-b, in pixels.
inline double distToSegment(double x, double y, const double a[2], const double b[2]) {
  const double dx = b[0] - a[0], dy = b[1] - a[1];
  const double len2 = dx * dx + dy * dy;
  double t = len2 > 0 ? ((x - a[0]) * dx + (y - a[1]) * dy) / len2 : 0;
  t = t < 0 ? 0 : (t > 1 ? 1 : t);
  const double px = a[0] + t * dx - x, py = a[1] + t * dy - y;
  return std::sqrt(px * px + py * py);
}

}  // namespace skyview
