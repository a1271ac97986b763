// Velocity trails and the spanning tree drawn under Xvfb: the vertices and colours GL receives
// (through feedback mode) against positions worked out here in plain metres, and the pictures read
// back: trails run back along the motion and fade, far trails keep their direction but not their
// length, error crosses, the selections, the Sun, years 0, the tree fading out between 1 and 1000
// view units, and both drawn from the real catalogue.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include "coords/phcoord.h"
#include "stars/star.h"
#include "tests/stars/sky_gl_view.h"
#include "tests/stars/star_fixtures.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

using skyview::Frame;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

constexpr int W = 256, H = 256;
constexpr double kParsec = 3.0856776e16;
constexpr double kMetresPerYearPerKmS = 1000.0 * 3.15576e7;
const float kHead[4] = {0.8f, 0.8f, 0.2f, 0.6f};
const float kTail[4] = {0.4f, 0.4f, 0.1f, 0.3f};
const float kArm[3][4] = {{0.8f, 0.2f, 0.2f, 0.6f}, {0.2f, 0.8f, 0.2f, 0.6f}, {0.2f, 0.2f, 0.8f, 0.6f}};

// One vertex as feedback mode reports it: window x, y, depth and colour.
struct FbVertex {
  double win[3];
  float rgba[4];
};
struct FbLine {
  FbVertex a, b;
};

// The lines that draw() sends through GL, after projection and clipping.
std::vector<FbLine> feedbackLines(const std::function<void()>& draw) {
  std::vector<GLfloat> buf(1 << 22);
  glFeedbackBuffer((GLsizei)buf.size(), GL_3D_COLOR, buf.data());
  glRenderMode(GL_FEEDBACK);
  draw();
  const GLint n = glRenderMode(GL_RENDER);
  EXPECT_GE(n, 0) << "feedback buffer overflow";
  std::vector<FbLine> out;
  auto vertex = [&](GLint& i) {
    FbVertex v;
    for (int k = 0; k < 3; k++) v.win[k] = buf[i++];
    for (int k = 0; k < 4; k++) v.rgba[k] = buf[i++];
    return v;
  };
  for (GLint i = 0; i < n;) {
    const GLint token = (GLint)buf[i++];
    if (token == GL_LINE_TOKEN || token == GL_LINE_RESET_TOKEN) {
      FbLine l;
      l.a = vertex(i);
      l.b = vertex(i);
      out.push_back(l);
    } else if (token == GL_POINT_TOKEN) {
      vertex(i);
    } else if (token == GL_PASS_THROUGH_TOKEN) {
      i++;
    } else {
      ADD_FAILURE() << "unexpected feedback token " << token;
      break;
    }
  }
  return out;
}

// Window position and depth of p under the current matrices.
void projectTo(const double p[3], double win[3]) {
  double mv[16], pr[16];
  GLint vp[4];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  glGetIntegerv(GL_VIEWPORT, vp);
  gluProject(p[0], p[1], p[2], mv, pr, vp, &win[0], &win[1], &win[2]);
}

// Expects the feedback vertex v at the window place of p in colour c. Trails are drawn relative to
// the camera, with the translation taken out of the model-view, and are projected so here; the
// tree is drawn in the model-view as it stands (cameraRelative false).
void expectVertex(const FbVertex& v, const double p[3], const float c[4], const std::string& what,
                  bool cameraRelative = true) {
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  glPushMatrix();
  if (cameraRelative) m[12] = m[13] = m[14] = 0;
  glLoadMatrixd(m);
  double win[3];
  projectTo(p, win);
  glPopMatrix();
  EXPECT_NEAR(v.win[0], win[0], 0.02) << what;
  EXPECT_NEAR(v.win[1], win[1], 0.02) << what;
  EXPECT_NEAR(v.win[2], win[2], 2e-6) << what;
  for (int k = 0; k < 4; k++) EXPECT_NEAR(v.rgba[k], c[k], 1e-6) << what << " channel " << k;
}

void clearFrame() {
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glDisable(GL_DEPTH_TEST);
  glDisable(GL_BLEND);
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_LINE_STIPPLE);
  glLineWidth(1.0f);
  glColor4f(1, 1, 1, 1);
}

// A data line of a .star file: position in the file's unit, velocity and its errors, class, HD.
std::string starLine(double x, double y, double z, double vx, double vy, double vz, double ex, double ey, double ez,
                     const char* cls, double spNum, const char* lumClass, int hd, const char* name) {
  char buf[512];
  snprintf(buf, sizeof buf, "%.17g %.17g %.17g 0.01 %.17g %.17g %.17g %g %g %g 0.6 100 1 1 1 1 %s %g %s %d 0 %s\n", x,
           y, z, vx, vy, vz, ex, ey, ez, cls, spNum, lumClass, hd, name);
  return buf;
}

// Reads one file into list, failing the test if it doesn't load.
void readStars(StarList& list, const std::string& file, int withSun = 0) {
  ASSERT_EQ(startest::readOne(list, file, withSun), 1) << file;
}

// Plain-metre arithmetic for the expectations.
struct V3 {
  double x, y, z;
};
V3 metres(const PHCoord& p) {
  const double f = std::pow(10.0, p.s);
  return {p.x * f, p.y * f, p.z * f};
}
double len(V3 v) {
  return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}
// v in view units of 10^logScale metres, at the law of the trail's head (true up to 10^3.5, then
// every further decade a 72nd) or of its tail (a plain stop at 10^3.5).
void placeHead(V3 v, double logScale, double out[3]) {
  const double l = len(v);
  double s = std::log10(l) - logScale;
  if (s > 3.5) s = (s - 3.5) / 72 + 3.5;
  const double d = std::pow(10.0, s) / l;
  out[0] = v.x * d, out[1] = v.y * d, out[2] = v.z * d;
}
void placeTail(V3 v, double logScale, double out[3]) {
  const double l = len(v);
  if (l == 0) {
    out[0] = out[1] = out[2] = 0;
    return;
  }
  const double s = std::min(std::log10(l) - logScale, 3.5);
  const double d = std::pow(10.0, s) / l;
  out[0] = v.x * d, out[1] = v.y * d, out[2] = v.z * d;
}

// Four stars in the direction of galactic longitude 0: three some 10 pc away with their own
// motions, one a million parsecs away. HD 101 to 104; classes G2, M5, B1, K0.
std::string fourStars() {
  return "NUM_STARS 4\nSIZE 3.0856776 16\n" +
         starLine(10, 0.5, 0.3, 5, 60, -20, 0.1, 0.2, 0.3, "G", 2, "V", 101, "One") +
         starLine(12, -1.0, 0.8, -10, -30, 40, 0.3, 0.1, 0.2, "M", 5, "III", 102, "Two") +
         starLine(8, 0.6, -1.2, 0, 0, 80, 0.2, 0.2, 0.2, "B", 1, "V", 103, "Three") +
         starLine(1e6, 2e4, 1e4, 0, 3000, 0, 0.1, 0.1, 0.1, "K", 0, "III", 104, "Far");
}

class StarTrailGL : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(W, H), 0) << "no X server for GL";
    clearFrame();
    writeFile(dir.file("four.star"), fourStars());
  }

  // Camera at eye (view units) looking along galactic +x, equatorial north up, 60 degrees high.
  void lookAlongX(double eyeX = 0) {
    double north[3];
    skyview::equatorialDir(0, 90, north);
    glViewport(0, 0, W, H);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(60, (double)W / H, 0.01, 10000.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(eyeX, 0, 0, eyeX + 1, 0, 0, north[0], north[1], north[2]);
  }

  // Expected trail of star st seen from camera cam (metres), and the lines of its error cross.
  struct Expected {
    double head[3], tail[3];
    double arms[3][2][3];
  };
  Expected expected(const NODE_StarObject& st, V3 cam, double logScale, double years, int dt, double errorScale) {
    Expected e;
    const V3 p = metres(st.pos), v = metres(st.velPH);
    const V3 rel = {p.x - cam.x, p.y - cam.y, p.z - cam.z};
    placeHead(rel, logScale, e.head);
    placeTail({rel.x - v.x * years, rel.y - v.y * years, rel.z - v.z * years}, logScale, e.tail);
    const double k = dt * errorScale;
    const V3 q = {rel.x + v.x * k * st.velErr[0], rel.y + v.y * k * st.velErr[1], rel.z + v.z * k * st.velErr[2]};
    double qp[3];
    placeTail(q, logScale, qp);
    for (int a = 0; a < 3; a++) {
      const double d = qp[a] - e.head[a];
      for (int s = 0; s < 2; s++) {
        for (int c = 0; c < 3; c++) e.arms[a][s][c] = e.head[c];
        e.arms[a][s][a] += s == 0 ? d : -d;
      }
    }
    return e;
  }

  // The HD numbers whose trail heads are among the lines, in drawing order.
  std::vector<int> drawnHDs(StarList& list, const std::vector<FbLine>& lines, V3 cam, double logScale) {
    std::vector<int> out;
    double m[16];
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    glPushMatrix();
    m[12] = m[13] = m[14] = 0;
    glLoadMatrixd(m);
    for (const FbLine& l : lines) {
      for (int i = 0; i < list.numStars; i++) {
        const Expected e = expected(list.stars[i], cam, logScale, 0, 0, 0);
        double win[3];
        projectTo(e.head, win);
        if (std::hypot(win[0] - l.a.win[0], win[1] - l.a.win[1]) < 0.05) {
          out.push_back(list.stars[i].HD);
          break;
        }
      }
    }
    glPopMatrix();
    return out;
  }

  TempDir dir;
};

}  // namespace

// --- trails -------------------------------------------------------------------------------------

TEST_F(StarTrailGL, TrailsRunBackAlongTheMotionAndFade) {
  StarList list;
  readStars(list, dir.file("four.star"));
  lookAlongX();
  const double logScale = 16.0, years = 2e4;
  const auto lines = feedbackLines([&] { list.drawVelocityTrail(logScale, years, 0, 1.0, -1); });
  ASSERT_EQ(lines.size(), 4u);
  // All in view, so that no line is clipped.
  for (const FbLine& l : lines)
    for (const FbVertex* v : {&l.a, &l.b}) {
      EXPECT_GT(v->win[0], 2);
      EXPECT_LT(v->win[0], W - 2);
      EXPECT_GT(v->win[1], 2);
      EXPECT_LT(v->win[1], H - 2);
    }
  // Far stars first: the array from its last index down.
  for (int n = 0; n < 4; n++) {
    const NODE_StarObject& st = list.stars[3 - n];
    const Expected e = expected(st, {0, 0, 0}, logScale, years, 0, 0);
    expectVertex(lines[n].a, e.head, kHead, "head of HD " + std::to_string(st.HD));
    expectVertex(lines[n].b, e.tail, kTail, "tail of HD " + std::to_string(st.HD));
  }

  list.drawVelocityTrail(logScale, years, 0, 1.0, -1);
  const Frame f = Frame::read(W, H);
  f.save("trail-four");
  // Along each near star's trail: lit all the way, bright at the head and dim at the tail.
  for (int i = 0; i < 3; i++) {
    const FbLine& l = lines[3 - i];
    const double dx = l.b.win[0] - l.a.win[0], dy = l.b.win[1] - l.a.win[1];
    ASSERT_GT(std::hypot(dx, dy), 15) << "HD " << list.stars[i].HD;
    int lit = 0, all = 0;
    for (double t = 0.05; t <= 0.95; t += 0.05, all++)
      lit += f.anyNear(l.a.win[0] + t * dx, l.a.win[1] + t * dy, 1, [&](int x, int y) { return f.lit(x, y); });
    EXPECT_EQ(lit, all) << "HD " << list.stars[i].HD;
    auto brightest = [&](double t) {
      int r = 0;
      const int cx = (int)std::lround(l.a.win[0] + t * dx), cy = (int)std::lround(l.a.win[1] + t * dy);
      for (int y = cy - 1; y <= cy + 1; y++)
        for (int x = cx - 1; x <= cx + 1; x++)
          if (f.inside(x, y)) r = std::max(r, (int)f.at(x, y)[0]);
      return r;
    };
    // The neighbourhood of a sample reaches a pixel or two along the line: that much of the fade.
    const double slack = 4 + 0.4 * 255 * 2.0 / std::hypot(dx, dy);
    EXPECT_NEAR(brightest(0.03), 0.8 * 255 - 0.03 * 0.4 * 255, slack);
    EXPECT_NEAR(brightest(0.97), 0.4 * 255 + 0.03 * 0.4 * 255, slack);
    // Yellow: red and green alike, blue a quarter.
    const int cx = (int)std::lround(l.a.win[0] + 0.5 * dx), cy = (int)std::lround(l.a.win[1] + 0.5 * dy);
    bool found = false;
    for (int y = cy - 1; y <= cy + 1 && !found; y++)
      for (int x = cx - 1; x <= cx + 1 && !found; x++)
        if (f.at(x, y)[0] > 140) {
          found = true;
          EXPECT_NEAR(f.at(x, y)[1], f.at(x, y)[0], 2);
          EXPECT_NEAR(f.at(x, y)[2], f.at(x, y)[0] / 4.0, 3);
        }
    EXPECT_TRUE(found);
  }
  // Nothing but the trails: every lit pixel lies on one of them.
  int stray = 0;
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) {
      if (!f.lit(x, y)) continue;
      bool near = false;
      for (const FbLine& l : lines) {
        const double a[2] = {l.a.win[0], l.a.win[1]}, b[2] = {l.b.win[0], l.b.win[1]};
        if (skyview::distToSegment(x + 0.5, y + 0.5, a, b) < 2.0) near = true;
      }
      stray += near ? 0 : 1;
    }
  EXPECT_EQ(stray, 0);
}

TEST_F(StarTrailGL, AFarStarsTrailKeepsItsDirectionButNotItsLength) {
  StarList list;
  readStars(list, dir.file("four.star"));
  lookAlongX();
  const double logScale = 16.0, years = 1e4;
  const auto lines = feedbackLines([&] { list.drawVelocityTrail(logScale, years, 0, 1.0, 104); });
  ASSERT_EQ(lines.size(), 1u);
  const NODE_StarObject& far = list.stars[3];
  ASSERT_EQ(far.HD, 104);
  const Expected e = expected(far, {0, 0, 0}, logScale, years, 0, 0);
  expectVertex(lines[0].a, e.head, kHead, "head");
  expectVertex(lines[0].b, e.tail, kTail, "tail");
  // The head stands where drawStars puts the star, 10^(3.5 + 2.99/72) units away; the tail stops
  // at 10^3.5 on the ray to where the star was.
  const double headLen = std::sqrt(e.head[0] * e.head[0] + e.head[1] * e.head[1] + e.head[2] * e.head[2]);
  const double tailLen = std::sqrt(e.tail[0] * e.tail[0] + e.tail[1] * e.tail[1] + e.tail[2] * e.tail[2]);
  EXPECT_NEAR(std::log10(headLen), 3.5 + (std::log10(1e6 * kParsec) - 16 - 3.5) / 72, 1e-4);
  EXPECT_NEAR(std::log10(tailLen), 3.5, 1e-12);
  const V3 was = {metres(far.pos).x, metres(far.pos).y - 3000 * kMetresPerYearPerKmS * years, metres(far.pos).z};
  EXPECT_NEAR(e.tail[1] / e.tail[0], was.y / was.x, 1e-12);
  // So the line is a short radial stroke, however far the star moved.
  EXPECT_LT(std::hypot(lines[0].a.win[0] - lines[0].b.win[0], lines[0].a.win[1] - lines[0].b.win[1]), 0.5);
}

TEST_F(StarTrailGL, NoYearsGiveLinesOfNoLength) {
  StarList list;
  readStars(list, dir.file("four.star"));
  lookAlongX();
  const auto lines = feedbackLines([&] { list.drawVelocityTrail(16.0, 0.0, 0, 1.0, -1); });
  ASSERT_EQ(lines.size(), 4u);
  for (const FbLine& l : lines) {
    for (int k = 0; k < 2; k++) EXPECT_DOUBLE_EQ(l.a.win[k], l.b.win[k]);
    for (int k = 0; k < 4; k++) {
      EXPECT_FLOAT_EQ(l.a.rgba[k], kHead[k]);
      EXPECT_FLOAT_EQ(l.b.rgba[k], kTail[k]);
    }
  }
  // Within 10^3.5 view units head and tail are one point; beyond, the head is compressed and the
  // tail stopped at 10^3.5, so the far star's line keeps a length along its line of sight.
  for (int n = 1; n < 4; n++) EXPECT_DOUBLE_EQ(lines[n].a.win[2], lines[n].b.win[2]) << "line " << n;
  EXPECT_GT(lines[0].a.win[2], lines[0].b.win[2]) << "the far star's head lies behind its tail";
}

TEST_F(StarTrailGL, ErrorCrossesShowTheVelocityErrorOverTheYearsBetween) {
  StarList list;
  readStars(list, dir.file("four.star"));
  lookAlongX();
  const double logScale = 16.0, years = 1e4, errorScale = 50.0;
  // No years between the dataset and the view: no cross, whatever showError says.
  ASSERT_EQ(list.param.starAtYear, list.param.datasetYear);
  EXPECT_EQ(feedbackLines([&] { list.drawVelocityTrail(logScale, years, 1, errorScale, -1); }).size(), 4u);

  const int dt = 2000;
  list.setStarAtYear(list.param.datasetYear + dt);
  const auto lines = feedbackLines([&] { list.drawVelocityTrail(logScale, years, 1, errorScale, -1); });
  ASSERT_EQ(lines.size(), 16u);
  for (int n = 0; n < 4; n++) {
    const NODE_StarObject& st = list.stars[3 - n];
    const std::string who = "HD " + std::to_string(st.HD);
    const Expected e = expected(st, {0, 0, 0}, logScale, years, dt, errorScale);
    expectVertex(lines[4 * n].a, e.head, kHead, who + " head");
    expectVertex(lines[4 * n].b, e.tail, kTail, who + " tail");
    for (int a = 0; a < 3; a++) {
      expectVertex(lines[4 * n + 1 + a].a, e.arms[a][0], kArm[a], who + " arm " + std::to_string(a) + "+");
      expectVertex(lines[4 * n + 1 + a].b, e.arms[a][1], kArm[a], who + " arm " + std::to_string(a) + "-");
    }
  }
  // Without showError only the trails.
  EXPECT_EQ(feedbackLines([&] { list.drawVelocityTrail(logScale, years, 0, errorScale, -1); }).size(), 4u);

  // The picture: green and blue arms about the head of HD 101, whose motion has y and z parts (the
  // red x arm points at the camera).
  list.drawVelocityTrail(logScale, years, 1, errorScale, 101);
  const Frame f = Frame::read(W, H);
  f.save("trail-error-cross");
  auto colourAlong = [&](const FbLine& l, int channel) {
    int hits = 0;
    for (double t = 0.1; t <= 0.9; t += 0.1) {
      const int x = (int)std::lround(l.a.win[0] + t * (l.b.win[0] - l.a.win[0]));
      const int y = (int)std::lround(l.a.win[1] + t * (l.b.win[1] - l.a.win[1]));
      bool hit = false;
      for (int yy = y - 1; yy <= y + 1; yy++)
        for (int xx = x - 1; xx <= x + 1; xx++)
          if (f.inside(xx, yy) && f.at(xx, yy)[channel] > 150 && f.at(xx, yy)[(channel + 1) % 3] < 80) hit = true;
      hits += hit;
    }
    return hits;
  };
  // HD 101 is array index 1, drawn next to last: its trail and arms are lines 8 to 11.
  ASSERT_EQ(list.stars[1].HD, 101);
  int armsSeen = 0;
  for (int a = 0; a < 3; a++) {
    const FbLine& arm = lines[9 + a];
    if (std::hypot(arm.a.win[0] - arm.b.win[0], arm.a.win[1] - arm.b.win[1]) < 10) continue;  // seen end on
    armsSeen++;
    EXPECT_GE(colourAlong(arm, a), 7) << "arm " << a;
  }
  EXPECT_EQ(armsSeen, 2);
}

TEST_F(StarTrailGL, TheSelectionsChooseTheStars) {
  StarList list;
  readStars(list, dir.file("four.star"));
  lookAlongX();
  const double logScale = 16.0;
  // curVMag is the last drawStars' apparent magnitude; set here as that would.
  const float vmag[4] = {1.0f, 2.0f, 3.0f, 4.0f};
  for (int i = 0; i < 4; i++) list.stars[i].curVMag = vmag[i];
  ASSERT_EQ(list.stars[0].HD, 103);
  ASSERT_EQ(list.stars[1].HD, 101);
  ASSERT_EQ(list.stars[2].HD, 102);
  ASSERT_EQ(list.stars[3].HD, 104);

  struct Case {
    const char* what;
    std::function<void(StarList&)> select;
    int onlyHD;
    std::vector<int> hds;
  };
  const Case cases[] = {
      {"all", [](StarList&) {}, -1, {104, 102, 101, 103}},
      {"one star", [](StarList&) {}, 102, {102}},
      {"a star not there", [](StarList&) {}, 999, {}},
      {"HD 0 is a number like any", [](StarList&) {}, 0, {}},
      // 10 pc is 10^17.489 m, 12 pc 10^17.568 m, 8 pc 10^17.392 m.
      {"distance range", [](StarList& l) { l.setZRangeOn(17.45, 17.6); }, -1, {102, 101}},
      {"distance range and one star", [](StarList& l) { l.setZRangeOn(17.45, 17.6); }, 103, {}},
      {"spectral range", [](StarList& l) { l.setSptypeRangeOn(SPTYPE_G, 0, 1); }, -1, {104, 102, 103}},
      {"spectral range keeping the star", [](StarList& l) { l.setSptypeRangeOn(SPTYPE_G, 1, 3); }, -1,
       {104, 102, 101, 103}},
      {"magnitude range", [](StarList& l) { l.setVMagRangeOn(1.5, 3.5); }, -1, {102, 101}},
      {"magnitude bounds are inclusive", [](StarList& l) { l.setVMagRangeOn(1.0, 3.0); }, -1, {102, 101, 103}},
      {"all three", [](StarList& l) {
         l.setZRangeOn(17.0, 23.0);
         l.setVMagRangeOn(1.5, 4.5);
         l.setSptypeRangeOn(SPTYPE_K, 5, 9);
       },
       -1, {102, 101}},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.what);
    list.setZRangeOff();
    list.setVMagRangeOff();
    list.setSptypeRangeAllOff();
    c.select(list);
    const auto lines = feedbackLines([&] { list.drawVelocityTrail(logScale, 1e4, 0, 1.0, c.onlyHD); });
    EXPECT_EQ(drawnHDs(list, lines, {0, 0, 0}, logScale), c.hds);
    EXPECT_EQ(lines.size(), c.hds.size());
  }
}

TEST_F(StarTrailGL, TheSunIsNotSkippedAndTheCameraNeedNotBeAtTheOrigin) {
  StarList list;
  readStars(list, dir.file("four.star"), 1);
  ASSERT_STREQ(list.stars[0].commonName, "Sun");
  const double lsr[3] = {0, 30, 10};
  ASSERT_EQ(list.setLSR(lsr), 1);
  const double logScale = 16.0, years = 1e4;
  // Five parsecs behind the Sun, on the far side from the stars.
  const double eye = -5 * kParsec / 1e16;
  lookAlongX(eye);
  const V3 cam = {eye * 1e16, 0, 0};
  const auto lines = feedbackLines([&] { list.drawVelocityTrail(logScale, years, 0, 1.0, -1); });
  ASSERT_EQ(lines.size(), 5u);
  for (int n = 0; n < 5; n++) {
    const NODE_StarObject& st = list.stars[4 - n];
    const Expected e = expected(st, cam, logScale, years, 0, 0);
    expectVertex(lines[n].a, e.head, kHead, std::string(st.commonName) + " head");
    expectVertex(lines[n].b, e.tail, kTail, std::string(st.commonName) + " tail");
  }
  // The Sun's own trail runs from it, straight ahead, back along the standard of rest's motion.
  EXPECT_NEAR(lines[4].a.win[0], W / 2.0, 0.02);
  EXPECT_NEAR(lines[4].a.win[1], H / 2.0, 0.02);
  EXPECT_GT(std::hypot(lines[4].b.win[0] - W / 2.0, lines[4].b.win[1] - H / 2.0), 10);
}

TEST_F(StarTrailGL, DrawingLeavesTheGLStateAsItWas) {
  StarList list;
  readStars(list, dir.file("four.star"));
  ASSERT_EQ(list.buildMST(nullptr), 1);
  lookAlongX(-3.0);
  double before[16], after[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, before);
  glEnable(GL_LIGHTING);
  glEnable(GL_TEXTURE_2D);
  glDepthMask(GL_TRUE);
  list.drawVelocityTrail(16.0, 1e4, 1, 10.0, -1);
  list.drawMST(16.0, 0);
  glGetDoublev(GL_MODELVIEW_MATRIX, after);
  for (int i = 0; i < 16; i++) EXPECT_EQ(after[i], before[i]) << i;
  EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
  EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
  GLboolean mask = GL_FALSE;
  glGetBooleanv(GL_DEPTH_WRITEMASK, &mask);
  EXPECT_EQ(mask, GL_TRUE);
  EXPECT_EQ(glGetError(), (GLenum)GL_NO_ERROR);
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
}

TEST_F(StarTrailGL, RealStarsTrailBackAlongTheirMotion) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  readStars(list, testsupport::starSetPath(6));
  double dir[3];
  skyview::equatorialDir(5.55, 3.0, dir);  // Orion
  skyview::lookFromOrigin(dir, 50, W, H);
  const double logScale = 16.0, years = 3e5;

  // Betelgeuse alone, where its own motion puts it.
  int betelgeuse = -1;
  for (int i = 0; i < list.numStars; i++)
    if (list.stars[i].HD == 39801) betelgeuse = i;
  ASSERT_GE(betelgeuse, 0);
  auto lines = feedbackLines([&] { list.drawVelocityTrail(logScale, years, 0, 1.0, 39801); });
  ASSERT_EQ(lines.size(), 1u);
  const Expected e = expected(list.stars[betelgeuse], {0, 0, 0}, logScale, years, 0, 0);
  expectVertex(lines[0].a, e.head, kHead, "Betelgeuse head");
  expectVertex(lines[0].b, e.tail, kTail, "Betelgeuse tail");

  // All of them: every trail in view of some length is drawn along its whole length.
  clearFrame();
  list.drawVelocityTrail(logScale, years, 0, 1.0, -1);
  const Frame f = Frame::read(W, H);
  f.save("trail-orion-hip6");
  lines = feedbackLines([&] { list.drawVelocityTrail(logScale, years, 0, 1.0, -1); });
  int lit = 0, all = 0, long_ = 0;
  for (const FbLine& l : lines) {
    const double dx = l.b.win[0] - l.a.win[0], dy = l.b.win[1] - l.a.win[1], length = std::hypot(dx, dy);
    if (length < 10) continue;
    long_++;
    for (double t = 0.2; t <= 0.8; t += 3.0 / length, all++)
      lit += f.anyNear(l.a.win[0] + t * dx, l.a.win[1] + t * dy, 1, [&](int x, int y) { return f.lit(x, y); });
  }
  EXPECT_GE(long_, 20);
  EXPECT_EQ(lit, all);
}

// --- the spanning tree --------------------------------------------------------------------------

namespace {

// Stars in units of 10^16 m, in front of a camera at the origin looking down -z: a pair within
// one unit, a pair near 10 units, one near 100, and one beyond 1000.
std::string treeStars() {
  const double p[6][3] = {{0.2, 0, -0.5}, {0.2, 0.15, -0.6}, {4, 0, -9}, {5, 1, -9}, {40, 0, -90}, {400, 0, -1500}};
  std::string s = "NUM_STARS 6\nSIZE 1 16\n";
  for (int i = 0; i < 6; i++)
    s += starLine(p[i][0], p[i][1], p[i][2], 0, 0, 0, 0, 0, 0, "G", 2, "V", 201 + i, "T");
  return s;
}

// The colour of a tree edge's end at length l view units.
void treeColour(double l, float out[4]) {
  const float lg = (float)std::log10(l);
  if (lg < 0) {
    out[0] = 0.7f, out[1] = 0.7f, out[2] = 0.3f, out[3] = 1.0f;
    return;
  }
  const float f = ((3 - lg) / 3) * ((3 - lg) / 3);
  out[0] = f * 0.7f, out[1] = f * 0.7f, out[2] = f * 0.3f, out[3] = f;
}

void lookDownZ() {
  glViewport(0, 0, W, H);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(60, (double)W / H, 0.01, 10000.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
}

}  // namespace

TEST_F(StarTrailGL, TheTreeFadesOutBetweenOneAndAThousandUnits) {
  writeFile(dir.file("tree.star"), treeStars());
  StarList list;
  readStars(list, dir.file("tree.star"));
  ASSERT_EQ(list.buildMST(nullptr), 1);
  lookDownZ();
  const double logScale = 16.0;
  const auto lines = feedbackLines([&] { list.drawMST(logScale, 0); });
  std::vector<std::pair<int, int>> kept;
  for (int k = 0; k < list.numStars - 1; k++) {
    double a[3], b[3];
    phCoordToPos3D(list.stars[list.mstEdges[2 * k]].pos, logScale, a);
    phCoordToPos3D(list.stars[list.mstEdges[2 * k + 1]].pos, logScale, b);
    if (std::hypot(a[0], a[1], a[2]) > 1000 || std::hypot(b[0], b[1], b[2]) > 1000) continue;
    kept.push_back({list.mstEdges[2 * k], list.mstEdges[2 * k + 1]});
  }
  // The star 1552 units away is in the tree but its edge is left out.
  ASSERT_EQ(kept.size(), 4u);
  ASSERT_EQ(lines.size(), kept.size());
  for (size_t k = 0; k < kept.size(); k++) {
    for (int e = 0; e < 2; e++) {
      const NODE_StarObject& st = list.stars[e == 0 ? kept[k].first : kept[k].second];
      double p[3];
      phCoordToPos3D(st.pos, logScale, p);
      float c[4];
      treeColour(std::hypot(p[0], p[1], p[2]), c);
      expectVertex(e == 0 ? lines[k].a : lines[k].b, p, c, "edge " + std::to_string(k) + " end " + std::to_string(e),
                   false);
    }
  }
  // The near pair is in full colour; the edge out to 100 units is faint at its far end.
  bool sawFull = false, sawFaint = false;
  for (const FbLine& l : lines) {
    sawFull = sawFull || (l.a.rgba[3] == 1.0f && l.b.rgba[3] == 1.0f);
    sawFaint = sawFaint || l.a.rgba[3] < 0.12f || l.b.rgba[3] < 0.12f;
  }
  EXPECT_TRUE(sawFull);
  EXPECT_TRUE(sawFaint);

  // The integer has no effect.
  const auto again = feedbackLines([&] { list.drawMST(logScale, 12345); });
  ASSERT_EQ(again.size(), lines.size());
  for (size_t k = 0; k < lines.size(); k++)
    for (int c = 0; c < 3; c++) {
      EXPECT_EQ(again[k].a.win[c], lines[k].a.win[c]);
      EXPECT_EQ(again[k].b.win[c], lines[k].b.win[c]);
    }

  // At a scale 10^3.5 times larger everything is within a unit, all in full colour; the camera
  // steps back a unit to see it, which changes nothing of the fading, as that goes by the
  // distance from the origin.
  glTranslated(0, 0, -1);
  const auto close = feedbackLines([&] { list.drawMST(logScale + 3.5, 0); });
  ASSERT_EQ(close.size(), 5u);
  for (const FbLine& l : close) {
    EXPECT_FLOAT_EQ(l.a.rgba[0], 0.7f);
    EXPECT_FLOAT_EQ(l.b.rgba[3], 1.0f);
  }
}

TEST_F(StarTrailGL, NoTreeOrATreeOfAnotherCatalogueDrawsNothing) {
  writeFile(dir.file("tree.star"), treeStars());
  StarList list;
  readStars(list, dir.file("tree.star"));
  lookDownZ();
  EXPECT_TRUE(feedbackLines([&] { list.drawMST(16.0, 0); }).empty());
  ASSERT_EQ(list.buildMST(nullptr), 1);
  EXPECT_FALSE(feedbackLines([&] { list.drawMST(16.0, 0); }).empty());
  // The catalogue read anew, with fewer stars: the old tree would index past it.
  list.freeStarset();
  readStars(list, dir.file("four.star"));
  EXPECT_TRUE(feedbackLines([&] { list.drawMST(16.0, 0); }).empty());
}

TEST_F(StarTrailGL, TheTreeOfTheRealCatalogueIsDrawn) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  readStars(list, testsupport::starSetPath(6));
  ASSERT_EQ(list.buildMST(nullptr), 1);
  double dir[3];
  skyview::equatorialDir(5.55, 3.0, dir);  // Orion
  skyview::lookFromOrigin(dir, 50, W, H);
  // One view unit is 10^18.5 m, about 100 pc: the stars within it show in full colour, those out
  // to 1000 units fade.
  const double logScale = 18.5;
  list.drawMST(logScale, 0);
  const Frame f = Frame::read(W, H);
  f.save("mst-orion-hip6");
  const auto lines = feedbackLines([&] { list.drawMST(logScale, 0); });
  int lit = 0, all = 0, long_ = 0;
  for (const FbLine& l : lines) {
    const double dx = l.b.win[0] - l.a.win[0], dy = l.b.win[1] - l.a.win[1], length = std::hypot(dx, dy);
    if (length < 10 || std::min(l.a.rgba[3], l.b.rgba[3]) < 0.2f) continue;
    long_++;
    for (double t = 0.2; t <= 0.8; t += 3.0 / length, all++)
      lit += f.anyNear(l.a.win[0] + t * dx, l.a.win[1] + t * dy, 1, [&](int x, int y) {
        if (!f.inside(x, y)) return false;
        const unsigned char* c = f.at(x, y);
        return c[0] > 25 && std::abs(c[0] - c[1]) < 4 && c[2] < c[0];
      });
  }
  EXPECT_GE(long_, 20);
  EXPECT_EQ(lit, all);
}
