// Planet orbits drawn under Xvfb and read back: the ellipse around its star with the star at a
// focus, its size from the orbit scale, a circle centred on the star for eccentricity 0, the
// angular size kept when the star stands on the sphere of 10^3.5 view units, the true size kept
// when the camera moves, the labels, every orbit of a star, and planets without a star never drawn.
//
// The tables are test fixtures: planets around real catalogue stars with made-up test values.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <array>
#include <cstdio>
#include <string>
#include <vector>

#include "stars/star.h"
#include "tests/stars/sky_gl_view.h"
#include "tests/stars/star_fixtures.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

using skyview::Frame;
using testsupport::stderrOf;

namespace {

constexpr int W = 512, H = 512;
// A field of 2 degrees: the orbits are made tens of pixels large through the orbit scale.
constexpr double kFovy = 2.0;
constexpr double kLogScale = 16.0;
constexpr int kHelvetiosHD = 217014;
constexpr int kTitawinHD = 9826;

std::string planetLine(const char* id, const char* star, const char* mass, const char* period,
                       const char* semiMajor, const char* ecc, const char* k) {
  char buf[512];
  snprintf(buf, sizeof buf, "%9s %-13s%12s%13s%13s%12s %12s\n", id, star, mass, period, semiMajor, ecc, k);
  return buf;
}

// Test fixture table, made-up values: two planets of 51 Peg (Helvetios), one eccentric; two of
// ups And (Titawin); one of HD 209458, which the star set of V at most 6 does not hold.
std::string table() {
  return std::string("# Test fixture: made-up test values only.\n") +
         planetLine("1", "HD 217014", "0.47", "365.0", "1.0", "0.6", "55.9") +
         planetLine("2", "Helvetios", "0.30", "1000.0", "2.0", "0", "20.0") +
         planetLine("3", "HD 9826", "0.69", "4.62", "0.8", "0.2", "70.5") +
         planetLine("4", "HD 9826", "1.98", "241.3", "1.5", "0.3", "66.0") +
         planetLine("5", "HD 209458", "0.69", "3.52", "1.0", "0.1", "84.0");
}

// v turned by angle degrees about the unit axis k, right-handed as glRotated turns.
void rotate(const double v[3], double angle, const double k[3], double out[3]) {
  const double t = angle * M_PI / 180, c = cos(t), s = sin(t);
  const double kv = k[0] * v[0] + k[1] * v[1] + k[2] * v[2];
  const double cross[3] = {k[1] * v[2] - k[2] * v[1], k[2] * v[0] - k[0] * v[2], k[0] * v[1] - k[1] * v[0]};
  for (int i = 0; i < 3; i++) out[i] = v[i] * c + cross[i] * s + k[i] * kv * (1 - c);
}

struct Box {
  int minX = 1 << 30, maxX = -1, minY = 1 << 30, maxY = -1, n = 0;
  double cx = 0, cy = 0;  // centroid
};
Box boxOf(const Frame& f) {
  Box b;
  for (int y = 0; y < f.h; y++)
    for (int x = 0; x < f.w; x++)
      if (f.lit(x, y)) {
        b.minX = std::min(b.minX, x);
        b.maxX = std::max(b.maxX, x);
        b.minY = std::min(b.minY, y);
        b.maxY = std::max(b.maxY, y);
        b.cx += x;
        b.cy += y;
        b.n++;
      }
  if (b.n) {
    b.cx /= b.n;
    b.cy /= b.n;
  }
  return b;
}

class PlanetGL : public testing::Test {
 protected:
  static StarList* sky;
  static std::string dir;

  static void SetUpTestSuite() {
    if (!testsupport::skyDataBuilt()) return;
    sky = new StarList;
    static testsupport::TempDir tmp;
    dir = tmp.path();
    testsupport::writeFile(tmp.file("planets.txt"), table());
    int a = startest::readOne(*sky, testsupport::starSetPath(6));
    testing::internal::CaptureStderr();
    int b = sky->loadExtrasolarPlanets(tmp.file("planets.txt").c_str());
    testing::internal::GetCapturedStderr();
    if (a != 1 || b != 1) {
      delete sky;
      sky = nullptr;
    }
  }
  static void TearDownTestSuite() {
    delete sky;
    sky = nullptr;
  }

  void SetUp() override {
    VELMORA_REQUIRE_SKY_DATA();
    ASSERT_NE(sky, nullptr) << "the star set or the planet table did not load";
    ASSERT_NE(testsupport::openGLWindow(W, H), 0) << "no X server for GL";
    sky->param.labelScale = 1.0f;
    sky->param.extrasolarPlanetOrbitScale = 50000.0f;
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_BLEND);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glLineWidth(1.0f);
    glColor4f(1, 1, 1, 1);
  }

  NODE_StarObject* star(int hd) {
    for (int i = 0; i < sky->numStars; i++)
      if (sky->stars[i].HD == hd) return &sky->stars[i];
    return nullptr;
  }

  // The camera at the origin, looking at the star.
  void lookAt(const NODE_StarObject* s) {
    PHCoord p = s->pos;
    unifyPHCoord(&p);
    const double dir3[3] = {p.x, p.y, p.z};
    skyview::lookFromOrigin(dir3, kFovy, W, H);
  }

  // Sets the orbit scale so that the planet's drawn semi-major axis spans the given part of the
  // field's half height, for a camera at the origin.
  void scaleOrbitTo(const NODE_ExtrasolarPlanet* p, double partOfHalfField) {
    const double angle = partOfHalfField * tan(kFovy / 2 * M_PI / 180);
    sky->param.extrasolarPlanetOrbitScale = (float)(angle / (0.8 * pow(10.0, p->logOrbit - p->star->pos.s)));
  }

  // The 36 corners of the orbit, worked out here on their own: a loop in the y-z plane
  // with the star at a focus, turned by the planet's angle and axis and moved to the star's place,
  // in window pixels, for a camera at camPos (view units) whose model-view matrix is current.
  std::vector<std::array<double, 2>> expectedOrbit(const NODE_ExtrasolarPlanet* p, double logScale,
                                                   const double camPos[3] = nullptr) {
    PHCoord cam{0, 0, 0, logScale};
    if (camPos) cam = PHCoord{camPos[0], camPos[1], camPos[2], logScale};
    PHCoord v = subPHCoord(p->star->pos, cam);
    unifyPHCoord(&v);
    const double sPrime = std::min(v.s - logScale, 3.5);
    const double R = sky->param.extrasolarPlanetOrbitScale * pow(10.0, p->logOrbit - v.s + sPrime);
    const double a = R * (double)0.8f;
    const double d = pow(10.0, sPrime);
    // The orbit is drawn with the translation of the matrix cleared: around the camera.
    double place[3] = {v.x * d, v.y * d, v.z * d};
    if (camPos)
      for (int i = 0; i < 3; i++) place[i] += camPos[i];
    std::vector<std::array<double, 2>> out;
    for (int i = 0; i < 36; i++) {
      const double t = i * 10.0 * M_PI / 180;
      const double q[3] = {0, a * cos(t) + p->eccentricity * a, a * p->minorRatio * sin(t)};
      double r[3], world[3], win[2];
      rotate(q, p->orbitAngle, p->orbitAxis, r);
      for (int k = 0; k < 3; k++) world[k] = place[k] + r[k];
      EXPECT_TRUE(skyview::project(world, win));
      out.push_back({win[0], win[1]});
    }
    return out;
  }

  // Every lit pixel lies on the expected loop, and every corner of the loop is lit.
  void expectOrbit(const Frame& f, const std::vector<std::array<double, 2>>& loop) {
    int stray = 0, lit = 0;
    for (int y = 0; y < H; y++)
      for (int x = 0; x < W; x++) {
        if (!f.lit(x, y)) continue;
        lit++;
        double best = 1e9;
        for (size_t i = 0; i < loop.size(); i++) {
          const double a[2] = {loop[i][0], loop[i][1]};
          const double b[2] = {loop[(i + 1) % loop.size()][0], loop[(i + 1) % loop.size()][1]};
          best = std::min(best, skyview::distToSegment(x + 0.5, y + 0.5, a, b));
        }
        stray += best > 1.5 ? 1 : 0;
      }
    EXPECT_EQ(stray, 0);
    EXPECT_GT(lit, 100);
    int unlit = 0;
    for (const auto& c : loop) unlit += f.anyNear(c[0] - 0.5, c[1] - 0.5, 1, [&](int x, int y) { return f.lit(x, y); }) ? 0 : 1;
    EXPECT_EQ(unlit, 0);
  }

  // The star's window position for a camera at the origin.
  std::array<double, 2> starOnScreen(const NODE_StarObject* s, double logScale) {
    double p[3], win[2];
    skyview::placedFromOrigin(s->pos, logScale, p);
    EXPECT_TRUE(skyview::project(p, win));
    return {win[0], win[1]};
  }
};

StarList* PlanetGL::sky = nullptr;
std::string PlanetGL::dir;

}  // namespace

TEST_F(PlanetGL, EccentricOrbitIsTheEllipseWithItsStarAtAFocus) {
  const NODE_StarObject* s = star(kHelvetiosHD);
  ASSERT_NE(s, nullptr);
  ASSERT_EQ(s->nPlanets, 2);
  const NODE_ExtrasolarPlanet* p = s->planets[0];
  ASSERT_FLOAT_EQ(p->eccentricity, 0.6f);
  lookAt(s);
  scaleOrbitTo(p, 0.4);
  sky->drawPlanet(p, kLogScale, 0);
  const Frame f = Frame::read(W, H);
  f.save("planet-eccentric");
  const auto loop = expectedOrbit(p, kLogScale);
  expectOrbit(f, loop);

  // The star stands at a focus: off the drawn loop's centre by e times half the major axis (a
  // small field projects nearly affinely, which keeps that ratio on the screen).
  const auto st = starOnScreen(s, kLogScale);
  const Box b = boxOf(f);
  const double centreX = (b.minX + b.maxX) / 2.0 + 0.5, centreY = (b.minY + b.maxY) / 2.0 + 0.5;
  const double halfMajor = std::hypot(loop[0][0] - loop[18][0], loop[0][1] - loop[18][1]) / 2;
  EXPECT_GT(halfMajor, 30.0);
  EXPECT_NEAR(std::hypot(centreX - st[0], centreY - st[1]), 0.6 * halfMajor, 1.5);
}

TEST_F(PlanetGL, CircularOrbitIsCentredOnTheStar) {
  const NODE_StarObject* s = star(kHelvetiosHD);
  const NODE_ExtrasolarPlanet* p = s->planets[1];
  ASSERT_EQ(p->eccentricity, 0.0f);
  ASSERT_EQ(p->minorRatio, 1.0f);
  lookAt(s);
  scaleOrbitTo(p, 0.5);
  sky->drawPlanet(p, kLogScale, 0);
  const Frame f = Frame::read(W, H);
  f.save("planet-circle");
  expectOrbit(f, expectedOrbit(p, kLogScale));
  const Box b = boxOf(f);
  const auto st = starOnScreen(s, kLogScale);
  EXPECT_NEAR((b.minX + b.maxX) / 2.0 + 0.5, st[0], 1.0);
  EXPECT_NEAR((b.minY + b.maxY) / 2.0 + 0.5, st[1], 1.0);
  // The farthest lit pixel is the drawn radius: the scale made it half the field's half height.
  double farthest = 0;
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++)
      if (f.lit(x, y)) farthest = std::max(farthest, std::hypot(x + 0.5 - st[0], y + 0.5 - st[1]));
  EXPECT_NEAR(farthest, 0.5 * (H / 2.0), 1.5);
}

// The orbit scale enlarges the orbit in proportion.
TEST_F(PlanetGL, OrbitScaleSetsTheSize) {
  const NODE_StarObject* s = star(kHelvetiosHD);
  const NODE_ExtrasolarPlanet* p = s->planets[1];
  lookAt(s);
  std::vector<int> widths;
  for (float scale : {8000.0f, 16000.0f}) {
    glClear(GL_COLOR_BUFFER_BIT);
    sky->param.extrasolarPlanetOrbitScale = scale;
    sky->drawPlanet(p, kLogScale, 0);
    const Frame f = Frame::read(W, H);
    expectOrbit(f, expectedOrbit(p, kLogScale));
    const Box b = boxOf(f);
    widths.push_back(std::max(b.maxX - b.minX, b.maxY - b.minY));
  }
  EXPECT_NEAR(widths[1], 2.0 * widths[0], 2.0);
}

// Beyond 10^3.5 view units the star stands on that sphere, and the orbit keeps its angle.
TEST_F(PlanetGL, AngularSizeIsKeptOnTheFarSphere) {
  const NODE_StarObject* s = star(kHelvetiosHD);
  const NODE_ExtrasolarPlanet* p = s->planets[1];
  lookAt(s);
  scaleOrbitTo(p, 0.5);
  ASSERT_LT(s->pos.s - kLogScale, 3.5);
  const double farScale = s->pos.s - 5.0;  // 10^5 units away: on the sphere of 10^3.5
  std::vector<Frame> frames;
  for (double logScale : {kLogScale, farScale}) {
    glClear(GL_COLOR_BUFFER_BIT);
    sky->drawPlanet(p, logScale, 0);
    frames.push_back(Frame::read(W, H));
    expectOrbit(frames.back(), expectedOrbit(p, logScale));
  }
  frames[1].save("planet-far-sphere");
  const Box a = boxOf(frames[0]), b = boxOf(frames[1]);
  EXPECT_NEAR(a.minX, b.minX, 1);
  EXPECT_NEAR(a.maxX, b.maxX, 1);
  EXPECT_NEAR(a.minY, b.minY, 1);
  EXPECT_NEAR(a.maxY, b.maxY, 1);
}

// A camera that moves halfway to the star sees the orbit, which keeps its true size times the
// scale, twice as large.
TEST_F(PlanetGL, CameraHalfwayToTheStarSeesItTwiceAsLarge) {
  const NODE_StarObject* s = star(kHelvetiosHD);
  const NODE_ExtrasolarPlanet* p = s->planets[1];
  lookAt(s);
  scaleOrbitTo(p, 0.25);
  sky->drawPlanet(p, kLogScale, 0);
  const Box a = boxOf(Frame::read(W, H));

  glClear(GL_COLOR_BUFFER_BIT);
  double halfway[3];
  skyview::placedFromOrigin(s->pos, kLogScale, halfway);
  for (double& c : halfway) c /= 2;
  glMatrixMode(GL_MODELVIEW);
  glTranslated(-halfway[0], -halfway[1], -halfway[2]);
  sky->drawPlanet(p, kLogScale, 0);
  const Frame f = Frame::read(W, H);
  f.save("planet-halfway");
  expectOrbit(f, expectedOrbit(p, kLogScale, halfway));
  const Box b = boxOf(f);
  EXPECT_NEAR(b.maxX - b.minX, 2.0 * (a.maxX - a.minX), 3.0);
  EXPECT_NEAR(b.maxY - b.minY, 2.0 * (a.maxY - a.minY), 3.0);
}

// Labels 1 and 2 write the star's name or number beside it, starting at the star; other types
// write nothing.
TEST_F(PlanetGL, LabelsBesideTheStar) {
  const NODE_StarObject* s = star(kHelvetiosHD);
  const NODE_ExtrasolarPlanet* p = s->planets[1];
  lookAt(s);
  // A small orbit and a label of a few tens of pixels.
  scaleOrbitTo(p, 0.05);
  sky->param.labelScale = 0.05f;
  const auto st = starOnScreen(s, kLogScale);
  std::vector<Box> boxes;
  for (int type : {0, 1, 2, 3, -1}) {
    glClear(GL_COLOR_BUFFER_BIT);
    sky->drawPlanet(p, kLogScale, type);
    const Frame f = Frame::read(W, H);
    f.save("planet-label-" + std::to_string(type));
    boxes.push_back(boxOf(f));
  }
  const int orbitRight = boxes[0].maxX;
  EXPECT_LT(orbitRight - st[0], 15);
  for (int k : {3, 4}) {
    EXPECT_EQ(boxes[k].n, boxes[0].n);
    EXPECT_EQ(boxes[k].maxX, boxes[0].maxX);
  }
  // The name " Helvetios" and the number " HD217014" run to the right of the star.
  for (int k : {1, 2}) {
    EXPECT_GT(boxes[k].maxX, orbitRight + 40) << k;
    EXPECT_GT(boxes[k].n, boxes[0].n + 50) << k;
    EXPECT_GE(boxes[k].minX, boxes[0].minX - 1) << k;
  }
  // The number is a character shorter than the name.
  EXPECT_LT(boxes[2].maxX, boxes[1].maxX);
}

// All orbits of a star: both of ups And, the same picture as drawing each of them.
TEST_F(PlanetGL, EveryOrbitOfAStar) {
  NODE_StarObject* s = star(kTitawinHD);
  ASSERT_EQ(s->nPlanets, 2);
  lookAt(s);
  scaleOrbitTo(s->planets[1], 0.6);
  int id = (int)(s - sky->stars);
  EXPECT_EQ(stderrOf([&] { sky->drawPlanetOfStar(id, kLogScale, 0); }), "");
  const Frame all = Frame::read(W, H);
  all.save("planet-star-all");
  glClear(GL_COLOR_BUFFER_BIT);
  sky->drawPlanet(s->planets[0], kLogScale, 0);
  sky->drawPlanet(s->planets[1], kLogScale, 0);
  const Frame each = Frame::read(W, H);
  EXPECT_EQ(all.px, each.px);
  EXPECT_GT(boxOf(all).n, 200);
  // A copy of the record draws the same.
  glClear(GL_COLOR_BUFFER_BIT);
  NODE_StarObject copy = *s;
  sky->drawPlanetOfStar(&copy, kLogScale, 0);
  EXPECT_EQ(Frame::read(W, H).px, all.px);
}

// drawAllPlanets draws every planet with a star; the one of the star outside the set never shows.
TEST_F(PlanetGL, PlanetWithoutAStarIsNeverDrawn) {
  const NODE_ExtrasolarPlanet* lonely = sky->getExtrasolarPlanet(4);
  ASSERT_NE(lonely, nullptr);
  ASSERT_EQ(lonely->star, nullptr);
  // Look where HD 209458 would be (RA 22h03m, Dec +18.9).
  double dir3[3];
  skyview::equatorialDir(22.063, 18.88, dir3);
  skyview::lookFromOrigin(dir3, 30.0, W, H);
  sky->param.extrasolarPlanetOrbitScale = 1e9f;
  EXPECT_EQ(stderrOf([&] { sky->drawPlanet(4, kLogScale, 1); }), "");
  EXPECT_EQ(boxOf(Frame::read(W, H)).n, 0);

  // All planets: the four bound ones are there and nothing else.
  lookAt(star(kHelvetiosHD));
  scaleOrbitTo(star(kHelvetiosHD)->planets[1], 0.4);
  sky->drawAllPlanets(kLogScale, 0);
  const Frame all = Frame::read(W, H);
  glClear(GL_COLOR_BUFFER_BIT);
  for (int i = 0; i < 4; i++) sky->drawPlanet(i, kLogScale, 0);
  EXPECT_EQ(Frame::read(W, H).px, all.px);
  EXPECT_GT(boxOf(all).n, 100);
}

// The drawing leaves the matrices as they were and lighting and texturing switched on.
TEST_F(PlanetGL, LeavesMatricesAndSwitchesOn) {
  const NODE_StarObject* s = star(kHelvetiosHD);
  lookAt(s);
  double before[16], after[16];
  GLint depthBefore = 0, depthAfter = 0;
  glGetDoublev(GL_MODELVIEW_MATRIX, before);
  glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &depthBefore);
  sky->drawPlanetOfStar(s, kLogScale, 1);
  glGetDoublev(GL_MODELVIEW_MATRIX, after);
  glGetIntegerv(GL_MODELVIEW_STACK_DEPTH, &depthAfter);
  EXPECT_EQ(depthAfter, depthBefore);
  for (int i = 0; i < 16; i++) EXPECT_EQ(after[i], before[i]) << i;
  EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
  EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
  EXPECT_EQ(glGetError(), (GLenum)GL_NO_ERROR);
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
}

// drawOrbit on its own: a loop in the y-z plane, semi-major axis a along y, the origin at a focus.
TEST_F(PlanetGL, DrawOrbitAlone) {
  glViewport(0, 0, W, H);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(-2, 2, -2, 2, -2, 2);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  // Look along -x: y to the right, z up.
  gluLookAt(1, 0, 0, 0, 0, 0, 0, 0, 1);
  drawOrbit(1.5, 0.6, 0.8);
  const Frame f = Frame::read(W, H);
  f.save("planet-draworbit");
  const Box b = boxOf(f);
  // Pixels per unit: 128. y runs from -1.5 + 1.2 = -0.3 to 1.5 + 1.2 = 2.7 (cut at 2), z within
  // +-0.9. Looking along -x puts +y on the right of the screen.
  const double ppu = W / 4.0;
  EXPECT_NEAR(b.minX + 0.5, W / 2.0 - 0.3 * ppu, 1.5);
  EXPECT_GE(b.maxX, W - 2);
  EXPECT_NEAR(b.maxY + 0.5, H / 2.0 + 0.9 * ppu, 1.5);
  EXPECT_NEAR(b.minY + 0.5, H / 2.0 - 0.9 * ppu, 1.5);

  // Eccentricity 0 seen face on: a circle of radius a round the origin.
  glClear(GL_COLOR_BUFFER_BIT);
  drawOrbit(1.0, 1.0, 0.0);
  const Frame c = Frame::read(W, H);
  c.save("planet-draworbit-circle");
  int off = 0, lit = 0;
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) {
      if (!c.lit(x, y)) continue;
      lit++;
      const double r = std::hypot(x + 0.5 - W / 2.0, y + 0.5 - H / 2.0);
      // The chords of ten degrees lie at most a (1 - cos 5 degrees), half a pixel, inside.
      off += (r > ppu + 1.0 || r < ppu - 1.5) ? 1 : 0;
    }
  EXPECT_GT(lit, 600);
  EXPECT_EQ(off, 0);
  const Box cb = boxOf(c);
  EXPECT_NEAR((cb.minX + cb.maxX) / 2.0 + 0.5, W / 2.0, 1.0);
  EXPECT_NEAR((cb.minY + cb.maxY) / 2.0 + 0.5, H / 2.0, 1.0);
}
