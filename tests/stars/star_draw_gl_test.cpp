// Drawing the catalogue into a window on a private X server: where stars land, how large and in
// what colour, what the filters keep out, proper motion on screen, the pick pass, billboards, the
// bucket order of points and the error bars. GL calls of the drawing code are also recorded on
// their way to the driver, so that the order of sizes and points can be checked exactly.
#include <GL/gl.h>
#include <GL/glu.h>
#include <dlfcn.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "coords/math3D.h"
#include "stars/star.h"
#include "tests/stars/star_fixtures.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

using testsupport::TempDir;
using testsupport::writeFile;

// ---------------------------------------------------------------------------------------------
// Recording GL calls. The definitions below stand in front of the driver's for this program and
// pass every call on unchanged.

namespace rec {

enum Kind { kPointSize, kBegin, kEnd, kVertex, kColor, kLoadName, kTexCoord, kGet, kPush, kPushAttrib };

struct Event {
  Kind kind;
  double v[4];
};

bool on = false;
std::vector<Event> events;

void add(Kind k, double a = 0, double b = 0, double c = 0, double d = 0) {
  if (on) events.push_back(Event{k, {a, b, c, d}});
}

void start() {
  events.clear();
  on = true;
}

void stop() {
  on = false;
}

std::vector<Event> only(std::initializer_list<Kind> kinds) {
  std::vector<Event> out;
  for (const Event& e : events)
    for (Kind k : kinds)
      if (e.kind == k) out.push_back(e);
  return out;
}

int count(Kind k, double v0) {
  int n = 0;
  for (const Event& e : events)
    if (e.kind == k && e.v[0] == v0) n++;
  return n;
}

template <typename F>
F next(const char* name) {
  return (F)dlsym(RTLD_NEXT, name);
}

}  // namespace rec

void glPointSize(GLfloat size) {
  static auto real = rec::next<void (*)(GLfloat)>("glPointSize");
  rec::add(rec::kPointSize, size);
  real(size);
}
void glBegin(GLenum mode) {
  static auto real = rec::next<void (*)(GLenum)>("glBegin");
  rec::add(rec::kBegin, mode);
  real(mode);
}
void glEnd() {
  static auto real = rec::next<void (*)()>("glEnd");
  rec::add(rec::kEnd);
  real();
}
void glVertex3dv(const GLdouble* v) {
  static auto real = rec::next<void (*)(const GLdouble*)>("glVertex3dv");
  rec::add(rec::kVertex, v[0], v[1], v[2]);
  real(v);
}
void glColor4fv(const GLfloat* c) {
  static auto real = rec::next<void (*)(const GLfloat*)>("glColor4fv");
  rec::add(rec::kColor, c[0], c[1], c[2], c[3]);
  real(c);
}
void glLoadName(GLuint name) {
  static auto real = rec::next<void (*)(GLuint)>("glLoadName");
  rec::add(rec::kLoadName, name);
  real(name);
}
void glTexCoord2d(GLdouble s, GLdouble t) {
  static auto real = rec::next<void (*)(GLdouble, GLdouble)>("glTexCoord2d");
  rec::add(rec::kTexCoord, s, t);
  real(s, t);
}
void glGetDoublev(GLenum what, GLdouble* out) {
  static auto real = rec::next<void (*)(GLenum, GLdouble*)>("glGetDoublev");
  rec::add(rec::kGet, what);
  real(what, out);
}
void glPushMatrix() {
  static auto real = rec::next<void (*)()>("glPushMatrix");
  rec::add(rec::kPush);
  real();
}
void glPushAttrib(GLbitfield bits) {
  static auto real = rec::next<void (*)(GLbitfield)>("glPushAttrib");
  rec::add(rec::kPushAttrib, bits);
  real(bits);
}

// ---------------------------------------------------------------------------------------------
// Window, views and pixels

using startest::readOne;

namespace {

constexpr int kSide = 256;
constexpr int kLit = 40;  // a channel above this counts as light

int indexWhere(const StarList& list, const std::function<bool(const NODE_StarObject&)>& pred) {
  for (int i = 0; i < list.numStars; i++)
    if (pred(list.stars[i])) return i;
  return -1;
}

class StarDrawGL : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(kSide, kSide), 0);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glColor4f(1, 1, 1, 1);
    glPointSize(1.0f);
    clear();
  }

  static void clear() {
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  }

  // A camera at eye (view units), looking along dir.
  static void view(double fovy, const double eye[3], const double dir[3], const double up[3]) {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(fovy, 1.0, 0.01, 10000.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(eye[0], eye[1], eye[2], eye[0] + dir[0], eye[1] + dir[1], eye[2] + dir[2], up[0], up[1], up[2]);
  }

  static void viewFromOrigin(double fovy, const double dir[3]) {
    const double eye[3] = {0, 0, 0};
    double up[3] = {0, 0, 1};
    if (fabs(dir[2]) > 0.9 * length3D(dir)) up[0] = 1, up[2] = 0;
    view(fovy, eye, dir, up);
  }

  // Window coordinates of a point in the current view units, as GL projects it.
  static void project(const double p[3], double* wx, double* wy) {
    double mv[16], pr[16], wz;
    GLint vp[4];
    glGetDoublev(GL_MODELVIEW_MATRIX, mv);
    glGetDoublev(GL_PROJECTION_MATRIX, pr);
    glGetIntegerv(GL_VIEWPORT, vp);
    gluProject(p[0], p[1], p[2], mv, pr, vp, wx, wy, &wz);
  }

  static void unproject(double wx, double wy, double out[3]) {
    double mv[16], pr[16];
    GLint vp[4];
    glGetDoublev(GL_MODELVIEW_MATRIX, mv);
    glGetDoublev(GL_PROJECTION_MATRIX, pr);
    glGetIntegerv(GL_VIEWPORT, vp);
    double nx, ny, nz, fx, fy, fz;
    gluUnProject(wx, wy, 0.0, mv, pr, vp, &nx, &ny, &nz);
    gluUnProject(wx, wy, 1.0, mv, pr, vp, &fx, &fy, &fz);
    out[0] = fx - nx, out[1] = fy - ny, out[2] = fz - nz;
    unify3D(out);
  }

  static double radPerPixel() {
    double p[16];
    glGetDoublev(GL_PROJECTION_MATRIX, p);
    return 1.0 / (kSide * 0.5 * p[5]);
  }

  struct Picture {
    std::vector<unsigned char> px;
    const unsigned char* at(int x, int y) const { return &px[((size_t)y * kSide + x) * 3]; }
    int brightest(int x, int y) const {
      if (x < 0 || y < 0 || x >= kSide || y >= kSide) return 0;
      const unsigned char* p = at(x, y);
      return std::max(p[0], std::max(p[1], p[2]));
    }
    bool lit(int x, int y) const { return brightest(x, y) > kLit; }
    // Lit pixels within radius r of (cx, cy), and their centroid.
    int litAround(double cx, double cy, int r, double* mx = nullptr, double* my = nullptr) const {
      int n = 0;
      double sx = 0, sy = 0;
      for (int y = (int)cy - r; y <= (int)cy + r; y++)
        for (int x = (int)cx - r; x <= (int)cx + r; x++)
          if (lit(x, y)) n++, sx += x, sy += y;
      if (mx && n) *mx = sx / n;
      if (my && n) *my = sy / n;
      return n;
    }
    int litTotal() const { return litAround(kSide / 2, kSide / 2, kSide); }
  };

  // The picture as drawn; also written to /tmp for a look when VELMORA_TEST_SHOTS is set.
  static Picture shot(const char* name) {
    glFinish();
    Picture p{testsupport::readPixelsRGB(0, 0, kSide, kSide)};
    testsupport::keepShotForALook(std::string("star_draw_") + name, p.px.data(), kSide, kSide);
    return p;
  }

  // One anti-aliased point of px half pixels in colour rgb with alpha a, blended over black as the
  // star drawing blends, in direction dir from the eye.
  static Picture reference(int px, const float* rgb, float a, const double dir[3]) {
    clear();
    glPushAttrib(GL_ALL_ATTRIB_BITS);
    glEnable(GL_POINT_SMOOTH);
    glHint(GL_POINT_SMOOTH_HINT, GL_NICEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glPointSize(px * 0.5f);
    glBegin(GL_POINTS);
    glColor4f(rgb[0], rgb[1], rgb[2], a);
    glVertex3d(dir[0] * 10, dir[1] * 10, dir[2] * 10);
    glEnd();
    glPopAttrib();
    return shot("reference");
  }

  static void unitOf(const PHCoord& p, double out[3]) {
    out[0] = p.x, out[1] = p.y, out[2] = p.z;
    unify3D(out);
  }
};

// A GL texture of one colour, full opacity, with no mipmaps.
GLuint whiteTexture() {
  std::vector<unsigned char> texels(64 * 64 * 4, 255);
  GLuint tex = 0;
  glGenTextures(1, &tex);
  glBindTexture(GL_TEXTURE_2D, tex);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGBA, 64, 64, 0, GL_RGBA, GL_UNSIGNED_BYTE, texels.data());
  glBindTexture(GL_TEXTURE_2D, 0);
  return tex;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// Place, size, colour

TEST_F(StarDrawGL, StarLightsThePixelItsDirectionProjectsTo) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  int sirius = indexWhere(list, [](const NODE_StarObject& s) { return s.HD == 48915; });
  ASSERT_GE(sirius, 0);
  double dir[3];
  unitOf(list.stars[sirius].pos, dir);
  // Looking a little beside it, so that it does not sit on the centre.
  double off[3] = {dir[0] + 0.05, dir[1] - 0.03, dir[2] + 0.02};
  viewFromOrigin(20, off);
  list.drawStars(16, 4, -1, -1);
  Picture p = shot("direction");
  double wx, wy, cx = 0, cy = 0;
  project(dir, &wx, &wy);
  ASSERT_TRUE(wx > 10 && wx < kSide - 10 && wy > 10 && wy < kSide - 10);
  EXPECT_TRUE(p.lit((int)wx, (int)wy));
  ASSERT_GT(p.litAround(wx, wy, 12, &cx, &cy), 0);
  EXPECT_NEAR(cx, wx - 0.5, 1.0);
  EXPECT_NEAR(cy, wy - 0.5, 1.0);

  // From a camera away from the origin the star stands where its position, seen from there,
  // projects: 10^16 m units, the camera 3 units out along y.
  clear();
  const double eye[3] = {0, 3, 0};
  const double up[3] = {0, 0, 1};
  double pos[3];
  phCoordToPos3D(list.stars[sirius].pos, 16, pos);
  double toward[3] = {pos[0] - eye[0] + 0.4, pos[1] - eye[1], pos[2] - eye[2]};
  view(20, eye, toward, up);
  list.drawStars(16, 4, kSide, kSide);
  Picture q = shot("direction_moved");
  project(pos, &wx, &wy);
  ASSERT_TRUE(wx > 10 && wx < kSide - 10 && wy > 10 && wy < kSide - 10);
  ASSERT_GT(q.litAround(wx, wy, 12, &cx, &cy), 0);
  EXPECT_NEAR(cx, wx - 0.5, 1.0);
  EXPECT_NEAR(cy, wy - 0.5, 1.0);
  // The same direction from the origin is elsewhere by now.
  double fromOrigin[3] = {pos[0] + eye[0], pos[1] + eye[1], pos[2] + eye[2]};
  double ox, oy;
  project(fromOrigin, &ox, &oy);
  EXPECT_GT(hypot(ox - wx, oy - wy), 20);
}

TEST_F(StarDrawGL, BrighterStarIsLarger) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  int lit[2];
  const int hd[2] = {48915, 61421};  // Sirius, magnitude -1.5; Procyon, 0.4
  for (int k = 0; k < 2; k++) {
    int i = indexWhere(list, [&](const NODE_StarObject& s) { return s.HD == hd[k]; });
    ASSERT_GE(i, 0);
    double dir[3];
    unitOf(list.stars[i].pos, dir);
    clear();
    viewFromOrigin(60, dir);  // wide enough for both to stay below the largest size
    list.drawStars(16, 4, -1, -1);
    Picture p = shot(k == 0 ? "sirius" : "procyon");
    lit[k] = p.litAround(kSide / 2, kSide / 2, 14);
    // The point is as wide as its size says: px half pixels across.
    int px, alpha;
    ASSERT_EQ(list.computePXSizeAlpha(&px, &alpha, list.stars[i].curVMag, 1.0f, (float)radPerPixel(), i), 0);
    double r = px / 4.0;
    EXPECT_LT(px, 32);
    EXPECT_NEAR(lit[k], M_PI * r * r, M_PI * r * r * 0.35 + 6) << "size " << px;
  }
  EXPECT_GT(lit[0], lit[1] * 2);
}

TEST_F(StarDrawGL, ColourIsTheColourMapsColour) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  std::string map = testsupport::sourceDir() + "/data/stardata/bv_colormap.txt";
  ASSERT_EQ(list.loadColorMapBV(map.c_str(), -0.4f, 2.0f), 1);
  struct Case {
    int hd;
    const char* name;
  };
  for (Case c : {Case{48915, "Sirius"}, Case{39801, "Betelgeuse"}, Case{61421, "Procyon"}}) {
    SCOPED_TRACE(c.name);
    int i = indexWhere(list, [&](const NODE_StarObject& s) { return s.HD == c.hd; });
    ASSERT_GE(i, 0);
    const NODE_StarObject& s = list.stars[i];
    double dir[3];
    unitOf(s.pos, dir);
    clear();
    viewFromOrigin(20, dir);
    list.drawStars(16, STAR_DRAW_COLORMAP, -1, -1);
    Picture p = shot(c.name);
    int px, alpha;
    ASSERT_EQ(list.computePXSizeAlpha(&px, &alpha, s.curVMag, 1.0f, (float)radPerPixel(), i), 0);
    float a = (list.gammaTable[alpha] & 0xFC) / 255.0f;
    // The reference: one point of that size in the map's colour, drawn the same way.
    Picture ref = reference(px, s.cmapRgba, a, dir);
    for (int k = 0; k < 3; k++) EXPECT_NEAR(p.at(kSide / 2, kSide / 2)[k], ref.at(kSide / 2, kSide / 2)[k], 2) << k;
    EXPECT_GT(p.brightest(kSide / 2, kSide / 2), 100);
    // The file colour is another colour.
    clear();
    list.drawStars(16, STAR_DRAW_FILE_COLOR, -1, -1);
    Picture f = shot("file_colour");
    Picture fref = reference(px, s.rgba, a, dir);
    for (int k = 0; k < 3; k++) EXPECT_NEAR(f.at(kSide / 2, kSide / 2)[k], fref.at(kSide / 2, kSide / 2)[k], 2) << k;
  }
  // Without a colouring bit a star is the base colour, black: nothing shows.
  clear();
  list.drawStars(16, 0, -1, -1);
  EXPECT_EQ(shot("black").litTotal(), 0);
}

// ---------------------------------------------------------------------------------------------
// Filters

TEST_F(StarDrawGL, FilteredOutStarsAreAbsent) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  int sirius = indexWhere(list, [](const NODE_StarObject& s) { return s.HD == 48915; });
  ASSERT_GE(sirius, 0);
  ASSERT_STREQ(list.stars[sirius].spClass, "A");  // A1, 2.64 pc = 10^16.91 m, magnitude -1.46
  double dir[3];
  unitOf(list.stars[sirius].pos, dir);
  struct Case {
    const char* what;
    std::function<void(StarList&)> set;
    bool shows;
  };
  const std::vector<Case> cases = {
      {"no filter", [](StarList&) {}, true},
      {"magnitude range around it", [](StarList& l) { l.setVMagRangeOn(-2, 0); }, true},
      {"magnitude range fainter", [](StarList& l) { l.setVMagRangeOn(0, 10); }, false},
      {"magnitude range brighter", [](StarList& l) { l.setVMagRangeOn(-5, -1.5); }, false},
      {"distance range around it", [](StarList& l) { l.setZRangeOn(16.8, 17.0); }, true},
      {"distance range beyond it", [](StarList& l) { l.setZRangeOn(17.0, 25.0); }, false},
      {"distance range before it", [](StarList& l) { l.setZRangeOn(10.0, 16.9); }, false},
      {"spectral row A with its number", [](StarList& l) { l.setSptypeRangeOn(SPTYPE_A, 0, 2); }, true},
      {"spectral row A without its number", [](StarList& l) { l.setSptypeRangeOn(SPTYPE_A, 2, 9); }, false},
      {"spectral row of another class", [](StarList& l) { l.setSptypeRangeOn(SPTYPE_B, 2, 9); }, true},
      {"spectral row switched off again",
       [](StarList& l) {
         l.setSptypeRangeOn(SPTYPE_A, 2, 9);
         l.setSptypeRangeAllOff();
       },
       true},
      {"camera distance gate around it",
       [](StarList& l) {
         l.setZRange(16.8, 17.0);
         l.logZRangeOn = 1;
       },
       true},
      {"camera distance gate beyond it",
       [](StarList& l) {
         l.setZRange(17.0, 18.0);
         l.logZRangeOn = 1;
       },
       false},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    StarList fresh;
    ASSERT_EQ(readOne(fresh, testsupport::starSetPath(1)), 1);
    c.set(fresh);
    clear();
    viewFromOrigin(20, dir);
    fresh.drawStars(16, 4, -1, -1);
    Picture p = shot("filter");
    EXPECT_EQ(p.lit(kSide / 2, kSide / 2), c.shows);
  }
}

TEST_F(StarDrawGL, MagnitudeFilterFollowsTheCameraDistanceFilterDoesNot) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  int sirius = indexWhere(list, [](const NODE_StarObject& s) { return s.HD == 48915; });
  ASSERT_GE(sirius, 0);
  double pos[3];
  phCoordToPos3D(list.stars[sirius].pos, 16, pos);
  const double up[3] = {0, 0, 1};
  const double origin[3] = {0, 0, 0};
  // A tenth of the way from Sirius, it is five magnitudes brighter.
  const double nearby[3] = {pos[0] * 0.9, pos[1] * 0.9, pos[2] * 0.9};
  for (bool magnitude : {true, false}) {
    SCOPED_TRACE(magnitude ? "magnitude" : "distance");
    StarList l;
    ASSERT_EQ(readOne(l, testsupport::starSetPath(1)), 1);
    if (magnitude)
      l.setVMagRangeOn(-3, 3);
    else
      l.setZRangeOn(16.8, 17.0);
    bool shows[2];
    float vmag[2];
    for (int k = 0; k < 2; k++) {
      const double* eye = k == 0 ? origin : nearby;
      double dir[3] = {pos[0] - eye[0], pos[1] - eye[1], pos[2] - eye[2]};
      clear();
      view(20, eye, dir, up);
      l.drawStars(16, 4, -1, -1);
      shows[k] = shot("camera_filter").lit(kSide / 2, kSide / 2);
      vmag[k] = l.stars[sirius].curVMag;
    }
    EXPECT_NEAR(vmag[0] - vmag[1], 5.0, 0.01);
    EXPECT_TRUE(shows[0]);
    EXPECT_EQ(shows[1], !magnitude);
  }
}

// ---------------------------------------------------------------------------------------------
// Proper motion

TEST_F(StarDrawGL, BarnardsStarMovesOnScreenByItsVelocity) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(10)), 1);
  int b = indexWhere(list, [](const NODE_StarObject& s) { return s.HIC == 87937; });
  ASSERT_GE(b, 0);
  const NODE_StarObject& s = list.stars[b];
  // Independent of the drawing code: where the catalogue puts it now and in 10,000 years.
  double then[3], later[3];
  const double metresPerYear = 1000 * 3.15576e7;
  for (int k = 0; k < 3; k++) {
    then[k] = (k == 0 ? s.basePos.x : k == 1 ? s.basePos.y : s.basePos.z) * pow(10.0, s.basePos.s);
    later[k] = then[k] + s.vel[k] * metresPerYear * 10000;
  }
  unify3D(then);
  unify3D(later);
  const double expected = acos(dot3D(then, later));
  // Only Barnard's star passes a gate on the camera distance around its own, in both years.
  ASSERT_EQ(list.setZRange(16.70, 16.85), 1);
  list.logZRangeOn = 1;
  // Ten magnitudes brighter on screen, to be a few pixels wide.
  list.setVMagMin(20);
  double mid[3] = {then[0] + later[0], then[1] + later[1], then[2] + later[2]};
  double seen[2][3];
  for (int k = 0; k < 2; k++) {
    list.setStarAtYear(k == 0 ? 1991 : 11991);
    int inGate = 0;
    for (int i = 0; i < list.numStars; i++)
      if (list.stars[i].pos.s >= 16.70 && list.stars[i].pos.s <= 16.85) inGate++;
    ASSERT_EQ(inGate, 1);
    clear();
    viewFromOrigin(60, mid);
    list.drawStars(16, 4, -1, -1);
    Picture p = shot(k == 0 ? "barnard_1991" : "barnard_11991");
    double wx, wy, cx = 0, cy = 0;
    project(k == 0 ? then : later, &wx, &wy);
    ASSERT_GT(p.litTotal(), 0);
    ASSERT_EQ(p.litAround(wx, wy, 10, &cx, &cy), p.litTotal());  // nothing else lit
    EXPECT_NEAR(cx, wx - 0.5, 1.0);
    EXPECT_NEAR(cy, wy - 0.5, 1.0);
    unproject(cx + 0.5, cy + 0.5, seen[k]);
  }
  EXPECT_NEAR(expected * 180 / M_PI, 26.6, 0.1);
  EXPECT_NEAR(acos(dot3D(seen[0], seen[1])), expected, 0.25 * M_PI / 180);
}

// ---------------------------------------------------------------------------------------------
// Picking

TEST_F(StarDrawGL, PickPassDrawsEveryStarAtLeastOnePixel) {
  TempDir dir;
  std::string f = dir.file("faint.star");
  // Nine stars 10^17 m ahead, far too faint to show (luminosity 10^-6).
  std::string text = "NUM_STARS 9\nSIZE 1 17\n";
  for (int i = 0; i < 9; i++) {
    char line[128];
    snprintf(line, sizeof line, "%f %f -1 0 0 0 0 0 0 0 0.6 1e-6\n", (i % 3 - 1) * 0.2, (i / 3 - 1) * 0.2);
    text += line;
  }
  writeFile(f, text);
  StarList list;
  ASSERT_EQ(readOne(list, f), 1);
  const double ahead[3] = {0, 0, -1};
  viewFromOrigin(45, ahead);
  // Drawn, none shows.
  rec::start();
  list.drawStars(16, 4, -1, -1);
  rec::stop();
  EXPECT_EQ(rec::only({rec::kVertex}).size(), 0u);
  EXPECT_EQ(shot("faint").litTotal(), 0);
  // In the pick pass each is a named point of one half pixel, and lights its pixel.
  list.pickMode = 1;
  rec::start();
  list.drawStars(16, 4, -1, -1);
  rec::stop();
  Picture p = shot("faint_pick");
  for (int i = 0; i < 9; i++) {
    SCOPED_TRACE(i);
    EXPECT_EQ(rec::count(rec::kLoadName, i), 1);
    double pos[3];
    phCoordToPos3D(list.stars[i].pos, 16, pos);
    double wx, wy;
    project(pos, &wx, &wy);
    EXPECT_GE(p.litAround(wx, wy, 1), 1);
  }
  EXPECT_EQ(rec::count(rec::kPointSize, 0.5), 9);
  EXPECT_EQ(rec::only({rec::kColor}).size(), 0u);  // no colour of its own
  // In selection mode each star is one hit with its index as name.
  GLuint buffer[1024];
  glSelectBuffer(1024, buffer);
  glRenderMode(GL_SELECT);
  glInitNames();
  glPushName(0);
  list.drawStars(16, 4, -1, -1);
  int hits = glRenderMode(GL_RENDER);
  list.pickMode = 0;
  ASSERT_EQ(hits, 9);
  std::vector<int> seen(9, 0);
  for (int h = 0, at = 0; h < hits; h++) {
    ASSERT_EQ(buffer[at], 1u);
    seen[buffer[at + 3]]++;
    at += 4;
  }
  for (int i = 0; i < 9; i++) EXPECT_EQ(seen[i], 1);
}

TEST_F(StarDrawGL, PickingCanReturnTheSunDrawingSkipsIt) {
  TempDir dir;
  std::string f = dir.file("one.star");
  writeFile(f, "NUM_STARS 1\nSIZE 1 17\n0 0 -1 0 0 0 0 0 0 0 0.6 1\n");
  StarList list;
  ASSERT_EQ(readOne(list, f, 1), 1);
  ASSERT_STREQ(list.stars[0].commonName, "Sun");
  // 10^12 m from the Sun, in units of 10^11 m, looking at it; the star lies behind it.
  const double eye[3] = {0, 0, 10}, ahead[3] = {0, 0, -1}, up[3] = {0, 1, 0};
  view(45, eye, ahead, up);
  list.pickMode = 1;
  GLuint buffer[1024];
  glSelectBuffer(1024, buffer);
  glRenderMode(GL_SELECT);
  glInitNames();
  glPushName(0);
  list.drawStars(11, 0, -1, -1);
  int hits = glRenderMode(GL_RENDER);
  list.pickMode = 0;
  ASSERT_EQ(hits, 2);
  EXPECT_TRUE(buffer[3] == 0 || buffer[7] == 0);
  // Drawing leaves the Sun out: only the star is a point.
  rec::start();
  list.drawStars(11, 4, -1, -1);
  rec::stop();
  std::vector<rec::Event> v = rec::only({rec::kVertex});
  ASSERT_EQ(v.size(), 1u);
  EXPECT_LT(v[0].v[2], -1000);  // 10^17 m at 10^11 m a unit, compressed
}

// ---------------------------------------------------------------------------------------------
// Placing

TEST_F(StarDrawGL, DistanceIsTrueUpTo3Point5DecadesThenCompressed) {
  TempDir dir;
  std::string f = dir.file("far.star");
  // 10^17, 10^19.5, 10^20 and 10^26 m straight ahead, all bright.
  writeFile(f,
            "NUM_STARS 4\nSIZE 1 16\n0 0 -10 0 0 0 0 0 0 0 0.6 1e20\n0 0 -3162.2776601683795 0 0 0 0 0 0 0 0.6 1e20\n"
            "0 0 -10000 0 0 0 0 0 0 0 0.6 1e20\n0 0 -1e10 0 0 0 0 0 0 0 0.6 1e20\n");
  StarList list;
  ASSERT_EQ(readOne(list, f), 1);
  const double ahead[3] = {0, 0, -1};
  viewFromOrigin(45, ahead);
  rec::start();
  list.drawStars(16, 4, -1, -1);
  rec::stop();
  std::vector<rec::Event> v = rec::only({rec::kVertex});
  ASSERT_EQ(v.size(), 4u);
  std::vector<double> depth;
  for (const rec::Event& e : v) {
    EXPECT_NEAR(e.v[0], 0, 1e-9);
    EXPECT_NEAR(e.v[1], 0, 1e-9);
    depth.push_back(-e.v[2]);
  }
  std::sort(depth.begin(), depth.end());
  EXPECT_NEAR(depth[0], 10.0, 1e-9);
  EXPECT_NEAR(log10(depth[1]), 3.5, 1e-9);
  EXPECT_NEAR(log10(depth[2]), 3.5 + 0.5 / 72, 1e-9);
  EXPECT_NEAR(log10(depth[3]), 3.5 + 6.5 / 72, 1e-9);
  // The farthest is still in front of the far plane and shows.
  EXPECT_TRUE(shot("far").lit(kSide / 2, kSide / 2));
}

TEST_F(StarDrawGL, StarAtTheCameraIsInvisibleAndHarmless) {
  TempDir dir;
  std::string f = dir.file("here.star");
  writeFile(f, "NUM_STARS 2\nSIZE 1 16\n1 0 0 0 0 0 0 0 0 0 0.6 1\n3 0 0 0 0 0 0 0 0 0 0.6 100\n");
  StarList list;
  ASSERT_EQ(readOne(list, f), 1);
  // The camera stands on the first star, looking at the second.
  const double eye[3] = {1, 0, 0}, dir3[3] = {1, 0, 0}, up[3] = {0, 0, 1};
  view(45, eye, dir3, up);
  rec::start();
  list.drawStars(16, 4, -1, -1);
  rec::stop();
  EXPECT_EQ(list.stars[0].curVMag, -INFINITY);
  std::vector<rec::Event> ev = rec::only({rec::kPointSize, rec::kVertex, rec::kColor});
  // It is a point of one half pixel at the eye with alpha 0.
  bool found = false;
  for (size_t k = 0; k + 2 < ev.size(); k++) {
    if (ev[k].kind == rec::kPointSize && ev[k].v[0] == 0.5f && ev[k + 1].kind == rec::kColor &&
        ev[k + 2].kind == rec::kVertex) {
      found = true;
      EXPECT_EQ(ev[k + 1].v[3], 0.0);
      EXPECT_EQ(ev[k + 2].v[0], 0.0);
      EXPECT_EQ(ev[k + 2].v[1], 0.0);
      EXPECT_EQ(ev[k + 2].v[2], 0.0);
    }
  }
  EXPECT_TRUE(found);
  // The other star shows; nothing is lit but it.
  Picture p = shot("at_camera");
  EXPECT_TRUE(p.lit(kSide / 2, kSide / 2));
  EXPECT_EQ(p.litAround(kSide / 2, kSide / 2, 20), p.litTotal());
}

// ---------------------------------------------------------------------------------------------
// Buckets

TEST_F(StarDrawGL, PointsGoOutByTheBucketRule) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  ASSERT_EQ(list.bucketSize, list.numStars / 20);
  const double dir[3] = {-0.5, -0.6, 0.1};
  viewFromOrigin(100, dir);
  list.setVMagMin(13);  // larger stars, so that many sizes fill their buckets
  rec::start();
  list.drawStars(16, 4, -1, -1);
  rec::stop();
  // The same frame worked out here: stars from last to first, in front of the camera.
  double v[3] = {dir[0], dir[1], dir[2]};
  unify3D(v);
  const float rpp = (float)radPerPixel();
  std::vector<rec::Event> expected;
  std::vector<std::vector<std::array<double, 3>>> bucket(64);
  int c = 2;
  auto out = [&](const std::array<double, 3>& p) { expected.push_back(rec::Event{rec::kVertex, {p[0], p[1], p[2], 0}}); };
  int drawn = 0;
  for (int i = list.numStars - 1; i >= 0; i--) {
    const NODE_StarObject& s = list.stars[i];
    if (s.pos.x * v[0] + s.pos.y * v[1] + s.pos.z * v[2] < 0) continue;
    int px, alpha;
    if (list.computePXSizeAlpha(&px, &alpha, s.curVMag, 1.0f, rpp, i) != 0) continue;
    drawn++;
    double k = pow(10.0, s.pos.s - 16 > 3.5 ? (s.pos.s - 16 - 3.5) / 72 + 3.5 : s.pos.s - 16);
    std::array<double, 3> p = {s.pos.x * k, s.pos.y * k, s.pos.z * k};
    if (px == c) {
      out(p);
    } else if ((int)bucket[px].size() < list.bucketSize) {
      bucket[px].push_back(p);
    } else {
      c = px;
      expected.push_back(rec::Event{rec::kPointSize, {c * 0.5, 0, 0, 0}});
      for (auto& q : bucket[px]) out(q);
      bucket[px].clear();
      out(p);
    }
  }
  for (int i = 0; i < 64; i++) {
    if (bucket[i].empty()) continue;
    expected.push_back(rec::Event{rec::kPointSize, {i * 0.5, 0, 0, 0}});
    for (auto& q : bucket[i]) out(q);
  }
  std::vector<rec::Event> got = rec::only({rec::kPointSize, rec::kVertex});
  ASSERT_FALSE(got.empty());
  EXPECT_EQ(got[0].v[0], 1.0);  // the run opens at one pixel
  got.erase(got.begin());
  ASSERT_GT(drawn, 200);
  ASSERT_EQ(got.size(), expected.size());
  int sizeChanges = 0;
  for (size_t k = 0; k < got.size(); k++) {
    SCOPED_TRACE(k);
    ASSERT_EQ(got[k].kind, expected[k].kind);
    if (got[k].kind == rec::kPointSize) sizeChanges++;
    for (int j = 0; j < 3; j++) EXPECT_NEAR(got[k].v[j], expected[k].v[j], 1e-9 * (1 + fabs(expected[k].v[j])));
  }
  // A full bucket did go out inside the loop at least once, and sizes changed far less often than
  // there are points.
  EXPECT_GT(sizeChanges, 0);
  EXPECT_LT(sizeChanges * 5, drawn);
  EXPECT_EQ(rec::only({rec::kColor}).size(), (size_t)drawn);
}

// ---------------------------------------------------------------------------------------------
// Billboards

TEST_F(StarDrawGL, BrightStarsBecomeBillboardsTheRestPointsAfterThem) {
  TempDir dir;
  std::string f = dir.file("mixed.star");
  // Ahead at 10^17 m: a bright star, two faint ones, one too faint to show.
  writeFile(f,
            "NUM_STARS 4\nSIZE 1 17\n0 0 -1 0 0 0 0 0 0 0 0.6 1000\n0.3 0 -1 0 0 0 0 0 0 0 0.6 0.0016\n"
            "-0.3 0 -1 0 0 0 0 0 0 0 0.6 0.0002\n0 0.3 -1 0 0 0 0 0 0 0 0.6 1e-6\n");
  StarList list;
  ASSERT_EQ(readOne(list, f), 1);
  list.param.textureSource = STAR_TEX_GAUSS;
  list.texId = whiteTexture();
  list.texDiam = 0.125;
  const double ahead[3] = {0, 0, -1};
  viewFromOrigin(45, ahead);
  rec::start();
  list.drawStars(16, STAR_DRAW_TEXTURED | STAR_DRAW_COLOR_BIT4, -1, -1);
  rec::stop();
  Picture p = shot("billboards");
  const float rpp = (float)radPerPixel();
  int bright = -1, deferred = 0, none = 0;
  for (int i = 0; i < list.numStars; i++) {
    const NODE_StarObject& s = list.stars[i];
    int px, alpha;
    int r = list.computePXSizeAlpha(&px, &alpha, s.curVMag, 1.0f, rpp, i);
    if (r != 0) {
      none++;
      EXPECT_EQ(s.pxSize, 0);  // nothing left for pass two
    } else if (px >= list.param.pxsizeTex) {
      bright = i;
      EXPECT_EQ(s.pxSize, 0);
    } else {
      deferred++;
      EXPECT_EQ(s.pxSize, px);
      EXPECT_EQ(s.pxAlpha, alpha);
      EXPECT_NEAR(s.viewVec.x * s.viewVec.x + s.viewVec.y * s.viewVec.y + s.viewVec.z * s.viewVec.z, 1.0, 1e-12);
    }
  }
  ASSERT_GE(bright, 0);
  EXPECT_EQ(deferred, 2);
  EXPECT_EQ(none, 1);
  // One quad strip, then one run of points, with the deferred stars in it in the colour of their
  // stored alpha.
  std::vector<rec::Event> begins = rec::only({rec::kBegin});
  ASSERT_GE(begins.size(), 2u);
  EXPECT_EQ(begins[0].v[0], GL_QUAD_STRIP);
  for (size_t k = 1; k < begins.size(); k++) EXPECT_EQ(begins[k].v[0], GL_POINTS);
  std::vector<rec::Event> colours = rec::only({rec::kColor});
  ASSERT_EQ(colours.size(), 3u);  // the billboard's and two points'
  std::vector<rec::Event> vertices = rec::only({rec::kVertex});
  ASSERT_EQ(vertices.size(), 2u);
  for (int i = 0; i < list.numStars; i++) {
    const NODE_StarObject& s = list.stars[i];
    if (s.pxSize == 0) continue;
    float rgba[4];
    list.computeColor(&list.stars[i], 4, s.pxAlpha, rgba);
    bool matched = false;
    for (size_t k = 1; k < colours.size(); k++)
      if (colours[k].v[3] == rgba[3] && fabs(vertices[k - 1].v[0] - s.viewVec.x * pow(10.0, s.viewVec.s - 16)) < 1e-9) matched = true;
    EXPECT_TRUE(matched) << "star " << i;
  }
  // The billboard: texture corners from 0 to 1, a square tan(px/4 rad-per-pixel) x distance /
  // texDiam wide: 2 x px/4 / texDiam pixels across.
  std::vector<rec::Event> tc = rec::only({rec::kTexCoord});
  ASSERT_EQ(tc.size(), 4u);
  EXPECT_EQ(tc[0].v[0], 0.0);
  EXPECT_EQ(tc[0].v[1], 0.0);
  EXPECT_EQ(tc[3].v[0], 1.0);
  int px, alpha;
  list.computePXSizeAlpha(&px, &alpha, list.stars[bright].curVMag, 1.0f, rpp, bright);
  double side = tan(px * 0.25 * rpp) / list.texDiam / rpp;
  int row = kSide / 2, width = 0;
  for (int x = 0; x < kSide; x++)
    if (p.brightest(x, row) > 200) width++;
  EXPECT_NEAR(width, side, 2.0);
  int column = 0;
  for (int y = 0; y < kSide; y++)
    if (p.brightest(kSide / 2, y) > 200) column++;
  EXPECT_NEAR(column, side, 2.0);
  glDeleteTextures(1, &list.texId);
}

TEST_F(StarDrawGL, NoDeferringWithPxsizeTexZero) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  list.param.textureSource = STAR_TEX_GAUSS;
  list.texId = whiteTexture();
  list.texDiam = 0.125;
  ASSERT_EQ(list.setPXsizeTex(0), 1);
  const double dir[3] = {-0.5, -0.6, 0.1};
  viewFromOrigin(90, dir);
  rec::start();
  list.drawStars(16, STAR_DRAW_TEXTURED | STAR_DRAW_COLOR_BIT4, -1, -1);
  rec::stop();
  shot("pxsizetex0");
  // Every star that has a size is a billboard, the invisible ones (size 1, alpha 0) too.
  const float rpp = (float)radPerPixel();
  int drawable = 0, invisible = 0;
  for (int i = 0; i < list.numStars; i++) {
    EXPECT_EQ(list.stars[i].pxSize, 0);
    const NODE_StarObject& s = list.stars[i];
    if (s.pos.x * dir[0] + s.pos.y * dir[1] + s.pos.z * dir[2] < 0) continue;
    int px, alpha;
    if (list.computePXSizeAlpha(&px, &alpha, s.curVMag, 1.0f, rpp, i) != 0) continue;
    drawable++;
    if (px == 1 && alpha == 0) invisible++;
  }
  EXPECT_GT(invisible, 0);
  EXPECT_EQ(rec::count(rec::kBegin, GL_QUAD_STRIP), drawable);
  EXPECT_EQ(rec::only({rec::kVertex}).size(), 0u);
  glDeleteTextures(1, &list.texId);
}

TEST_F(StarDrawGL, TexturedFlagWithoutTextureSourceDrawsPoints) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  ASSERT_EQ(list.param.textureSource, STAR_TEX_NONE);
  const double dir[3] = {-0.5, -0.6, 0.1};
  viewFromOrigin(90, dir);
  rec::start();
  list.drawStars(16, STAR_DRAW_TEXTURED | STAR_DRAW_COLOR_BIT4, -1, -1);
  rec::stop();
  EXPECT_EQ(list.texId, 0u);
  EXPECT_EQ(rec::count(rec::kBegin, GL_QUAD_STRIP), 0);
  EXPECT_GT(rec::only({rec::kVertex}).size(), 100u);
}

TEST_F(StarDrawGL, BillboardTextureBorderOfComputedSources) {
  StarList list;
  list.texDiam = 0.5;
  double pos[3] = {0, 0, -10}, up[3] = {0, 2, 0};
  float rgba[4] = {1, 1, 1, 1};
  struct Case {
    int source;
    double t0;
  };
  for (Case c : {Case{STAR_TEX_AIRY, 1.0 / 64}, Case{STAR_TEX_GAUSS, 0}, Case{STAR_TEX_FFT, 1.0 / 64},
                 Case{STAR_TEX_FILE, 0}}) {
    SCOPED_TRACE(c.source);
    list.param.textureSource = c.source;
    rec::start();
    list.renderBillBstar(pos, up, rgba, 0.01, 8, 2.0);
    rec::stop();
    std::vector<rec::Event> tc = rec::only({rec::kTexCoord});
    ASSERT_EQ(tc.size(), 4u);
    const double want[4][2] = {{c.t0, c.t0}, {1, c.t0}, {c.t0, 1}, {1, 1}};
    for (int k = 0; k < 4; k++) {
      EXPECT_EQ(tc[k].v[0], want[k][0]);
      EXPECT_EQ(tc[k].v[1], want[k][1]);
    }
    EXPECT_EQ(rec::count(rec::kBegin, GL_QUAD_STRIP), 1);
  }
}

// ---------------------------------------------------------------------------------------------
// Frame bounds and state

TEST_F(StarDrawGL, NothingAtAllBelowTheSmallestTextureScale) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  list.param.texScale = 0.9e-7;
  rec::start();
  list.drawStars(16, 4, -1, -1);
  rec::stop();
  EXPECT_TRUE(rec::events.empty());
  list.param.texScale = 1e-7;  // the bound itself draws
  rec::start();
  list.drawStars(16, 4, -1, -1);
  rec::stop();
  EXPECT_FALSE(rec::events.empty());
  EXPECT_EQ(rec::count(rec::kPushAttrib, 0xFFFFF), 1);
}

TEST_F(StarDrawGL, StateAndMatricesComeBack) {
  StarList list;
  ASSERT_EQ(readOne(list, testsupport::starSetPath(1)), 1);
  const double dir[3] = {1, 0.2, 0.1};
  viewFromOrigin(60, dir);
  glTranslated(1, 2, 3);
  double before[16], after[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, before);
  glBlendFunc(GL_ONE, GL_ZERO);
  list.drawStars(16, 4, -1, -1);
  glGetDoublev(GL_MODELVIEW_MATRIX, after);
  for (int k = 0; k < 16; k++) EXPECT_EQ(before[k], after[k]);
  EXPECT_FALSE(glIsEnabled(GL_BLEND));
  EXPECT_FALSE(glIsEnabled(GL_POINT_SMOOTH));
  GLboolean mask;
  glGetBooleanv(GL_DEPTH_WRITEMASK, &mask);
  EXPECT_TRUE(mask);
  GLint src;
  glGetIntegerv(GL_BLEND_SRC, &src);
  EXPECT_EQ(src, GL_ONE);
  GLint mode;
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  EXPECT_EQ(mode, GL_MODELVIEW);
  EXPECT_EQ(glGetError(), (GLenum)GL_NO_ERROR);
}

// ---------------------------------------------------------------------------------------------
// Error bars

TEST_F(StarDrawGL, DistanceErrorBars) {
  TempDir dir;
  std::string f = dir.file("err.star");
  // In 10^16 m units: 100 units with 10 %, 50 with none, 20 with 150 %, 10^4 (too far) with 10 %,
  // 0.05 (too near) with 10 %.
  writeFile(f,
            "NUM_STARS 5\nSIZE 1 16\n100 0 0 0.1\n0 50 0 0\n0 0 20 1.5\n10000 0 0 0.1\n0.05 0 0 0.1\n");
  StarList list;
  ASSERT_EQ(readOne(list, f, 1), 1);
  rec::start();
  list.drawStarsErrors(16);
  rec::stop();
  std::vector<rec::Event> c = rec::only({rec::kColor});
  ASSERT_EQ(c.size(), 1u);
  EXPECT_FLOAT_EQ((float)c[0].v[0], 0.8f);
  EXPECT_FLOAT_EQ((float)c[0].v[3], 0.5f);
  std::vector<rec::Event> v = rec::only({rec::kVertex});
  ASSERT_EQ(v.size(), 4u);
  // From last to first: the 100 unit star, then the 20 unit one.
  // The error is a float.
  EXPECT_NEAR(v[0].v[0], 90, 1e-5);
  EXPECT_NEAR(v[1].v[0], 110, 1e-5);
  EXPECT_EQ(v[2].v[2], 0.0);  // an error of 100 % or more starts at the origin
  EXPECT_NEAR(v[3].v[2], 50, 1e-9);
  EXPECT_EQ(rec::count(rec::kBegin, GL_LINES), 1);
  // The spectral selection applies: no class is "Other", and a range on it leaves them out.
  ASSERT_EQ(list.setSptypeRangeOn(SPTYPE_OTHER, 5, 6), 1);
  rec::start();
  list.drawStarsErrors(16);
  rec::stop();
  EXPECT_EQ(rec::only({rec::kVertex}).size(), 0u);
}

// ---------------------------------------------------------------------------------------------
// Frames seen from the origin, through the memo

namespace {

// Two lists of the same stars and settings: one draws through its memo, the other works every
// star out in every frame.
struct TwinLists {
  StarList memo, plain;
  bool read(int set) {
    plain.drawMemoOn = false;
    return readOne(memo, testsupport::starSetPath(set)) == 1 && readOne(plain, testsupport::starSetPath(set)) == 1;
  }
  void both(const std::function<void(StarList&)>& change) {
    change(memo);
    change(plain);
  }
};

// The recorded calls of one frame of list.
std::vector<rec::Event> frameCalls(StarList& list, double logScale, int flags) {
  rec::start();
  list.drawStars(logScale, flags, -1, -1);
  rec::stop();
  return rec::events;
}

// Equal to the last bit: the calls, their values, and what the frame leaves in the records.
void expectSameFrame(TwinLists& t, double logScale, int flags) {
  std::vector<rec::Event> a = frameCalls(t.memo, logScale, flags);
  std::vector<rec::Event> b = frameCalls(t.plain, logScale, flags);
  ASSERT_EQ(a.size(), b.size());
  ASSERT_GT(a.size(), 20u);
  for (size_t k = 0; k < a.size(); k++) {
    ASSERT_EQ(a[k].kind, b[k].kind) << "call " << k;
    ASSERT_EQ(memcmp(a[k].v, b[k].v, sizeof a[k].v), 0) << "call " << k;
  }
  ASSERT_EQ(t.memo.numStars, t.plain.numStars);
  for (int i = 0; i < t.memo.numStars; i++) {
    const NODE_StarObject& m = t.memo.stars[i];
    const NODE_StarObject& p = t.plain.stars[i];
    ASSERT_EQ(memcmp(&m.curVMag, &p.curVMag, sizeof m.curVMag), 0) << "star " << i;
    ASSERT_EQ(m.pxSize, p.pxSize) << "star " << i;
    if (p.pxSize == 0) continue;
    ASSERT_EQ(m.pxAlpha, p.pxAlpha) << "star " << i;
    ASSERT_EQ(memcmp(&m.viewVec, &p.viewVec, sizeof m.viewVec), 0) << "star " << i;
  }
}

// Directions of a view that turns about the sky, so that stars come into it from behind.
const double kTurns[][3] = {{1, 0, 0}, {0.6, 0.8, 0}, {-0.5, 0.5, 0.3}, {-1, -0.1, -0.2}, {0.1, -0.9, 0.6},
                            {1, 0, 0}};

}  // namespace

TEST_F(StarDrawGL, FramesThroughTheMemoAreTheFramesWithout) {
  std::string map = testsupport::sourceDir() + "/data/stardata/bv_colormap.txt";
  struct Case {
    const char* name;
    int flags;
    std::function<void(StarList&)> set;
  };
  const Case cases[] = {
      {"points in colour-map colours", STAR_DRAW_COLORMAP, [](StarList&) {}},
      {"file colours, distance scale, exposure and tuning",
       STAR_DRAW_FILE_COLOR | STAR_DRAW_DIST_SCALE,
       [](StarList& l) {
         l.setExposure(0.7f);
         l.setTuneIntensity(1.3f);
       }},
      {"magnitude and spectral ranges, stars of 12th magnitude drawn larger", STAR_DRAW_COLORMAP,
       [](StarList& l) {
         l.setVMagMin(13);
         l.setVMagRangeOn(-2, 5.5);
         l.setSptypeRangeOn(SPTYPE_K, 0, 5);
       }},
      {"a distance range and the Sun skipped", STAR_DRAW_COLORMAP, [](StarList& l) { l.setZRangeOn(16.5, 18); }},
      {"billboards and the points after them", STAR_DRAW_TEXTURED | STAR_DRAW_COLORMAP,
       [](StarList& l) {
         l.param.textureSource = STAR_TEX_GAUSS;
         l.texId = whiteTexture();
         l.texDiam = 0.125;
         l.setVMagMin(13);
       }},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TwinLists t;
    ASSERT_TRUE(t.read(2));
    t.both([&](StarList& l) {
      ASSERT_EQ(l.loadColorMapBV(map.c_str(), -0.4f, 2.0f), 1);
      c.set(l);
    });
    for (const auto& dir : kTurns) {
      viewFromOrigin(60, dir);
      expectSameFrame(t, 16, c.flags);
    }
    // The memo was used: every star of the range has its entry, in front or behind.
    const StarList& m = t.memo;
    const int first = m.param.zRangeOn ? m.zFirst : 0, last = m.param.zRangeOn ? m.zLast : m.numStars - 1;
    ASSERT_GT(last - first, 50);
    int filled = 0;
    for (const StarMemoEntry& e : m.drawMemo.entries) filled += e.gen == m.drawMemo.gen;
    EXPECT_EQ(filled, last - first + 1);
  }
}

TEST_F(StarDrawGL, AChangeBetweenFramesIsSeenByTheFrameAfterIt) {
  std::string map = testsupport::sourceDir() + "/data/stardata/bv_colormap.txt";
  struct Case {
    const char* name;
    std::function<void(StarList&)> change;
    double logScale;
    double fovy;
  };
  const Case cases[] = {
      {"nothing", [](StarList&) {}, 16, 60},
      {"the year of the stars", [](StarList& l) { l.setStarAtYear(500000); }, 16, 60},
      {"the scale of the view", [](StarList&) {}, 16.5, 60},
      {"the field of view", [](StarList&) {}, 16, 20},
      {"the star scale", [](StarList& l) { l.setStarScale(2.5f); }, 16, 60},
      {"the faintest magnitude", [](StarList& l) { l.setVMagMin(12); }, 16, 60},
      {"the magnitude range", [](StarList& l) { l.setVMagRangeOn(0, 4); }, 16, 60},
      {"a spectral range", [](StarList& l) { l.setSptypeRangeOn(SPTYPE_G, 2, 8); }, 16, 60},
      {"the exposure", [](StarList& l) { l.setExposure(1.8f); }, 16, 60},
      {"the colour map", [](StarList& l) { l.setWhichColorMap(_NO_COLOR_MAP); }, 16, 60},
      {"the gamma table", [](StarList& l) { l.gammaTable[200] ^= 0x40; }, 16, 60},
      {"a record changed by hand, and said so",
       [](StarList& l) {
         for (int i = 1; i < l.numStars; i += 3) l.stars[i].lumMag -= 2;
         l.starsChanged();
       },
       16, 60},
  };
  const double dir[3] = {-0.3, 0.9, 0.2};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    TwinLists t;
    ASSERT_TRUE(t.read(2));
    t.both([&](StarList& l) { ASSERT_EQ(l.loadColorMapBV(map.c_str(), -0.4f, 2.0f), 1); });
    viewFromOrigin(60, dir);
    expectSameFrame(t, 16, STAR_DRAW_COLORMAP);
    t.both(c.change);
    viewFromOrigin(c.fovy, dir);
    expectSameFrame(t, c.logScale, STAR_DRAW_COLORMAP);
  }
}

TEST_F(StarDrawGL, ACameraAwayFromTheOriginWorksEveryStarOut) {
  TwinLists t;
  ASSERT_TRUE(t.read(1));
  const double eye[3] = {0.5, -0.2, 0.1}, dir[3] = {1, 0.2, 0}, up[3] = {0, 0, 1};
  view(60, eye, dir, up);
  expectSameFrame(t, 16, STAR_DRAW_COLORMAP);
  EXPECT_TRUE(t.memo.drawMemo.entries.empty());
  EXPECT_EQ(t.memo.drawMemo.gen, 0u);
}
