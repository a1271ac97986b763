// Picking under Xvfb: a click on Sirius in a rendered frame picks HD 48915, a click on empty sky
// picks nothing, the Sun can be picked, stars too faint to show can be picked while the
// magnitude, spectral and distance selections apply, and of two stars under the cursor the
// farther one wins.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "stars/star.h"
#include "tests/stars/sky_gl_view.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

using skyview::Frame;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

constexpr int W = 512, H = 512;

std::string root() {
  return testsupport::sourceDir();
}

void clearFrame() {
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glDisable(GL_DEPTH_TEST);
}

// A frame of the stars as the tool draws them, in their file colours.
Frame drawn(StarList& list, double logScale) {
  clearFrame();
  list.drawStars(logScale, STAR_DRAW_FILE_COLOR, -1, -1);
  return Frame::read(W, H);
}

#define SKIP_WITHOUT_STARS(frame)                                                              \
  do {                                                                                         \
    if ((frame).count([&](int x, int y) { return (frame).lit(x, y); }) == 0)                   \
      GTEST_SKIP() << "drawStars draws nothing yet: picking has no named points to hit";       \
  } while (0)

// A record no pick gives, to see that a pick without a hit leaves out alone.
NODE_StarObject marker() {
  NODE_StarObject s{};
  s.HD = 777777;
  return s;
}

// One line of a .star file: a star at distance pc parsecs in the galactic direction (l, b).
std::string starLine(double l, double b, double pc, float lum, const char* spClass, float spNum, int hd) {
  double v[3];
  lbToVec(v, l, b);
  char line[300];
  snprintf(line, sizeof line, "%f %f %f 0.01 0 0 0 0 0 0 0.6 %g 1 1 1 1 %s %g V %d %d Star%d\n", v[0] * pc, v[1] * pc,
           v[2] * pc, lum, spClass, spNum, hd, hd, hd);
  return line;
}

void readFile(StarList& list, const std::string& path, int withSun = 0) {
  std::vector<char> name(path.begin(), path.end());
  name.push_back(0);
  char* names[1] = {name.data()};
  testing::internal::CaptureStderr();
  ASSERT_EQ(list.readStarFiles(1, names, withSun, true), 1);
  testing::internal::GetCapturedStderr();
}

class StarPickGL : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(W, H), 0) << "no X server for GL";
    clearFrame();
  }

  // Window position of a star for a camera at the origin, from the top-left as pickStar takes it.
  bool clickOf(const NODE_StarObject& s, double logScale, int* x, int* y) {
    double p[3], w[2];
    skyview::placedFromOrigin(s.pos, logScale, p);
    if (!skyview::project(p, w)) return false;
    *x = (int)std::floor(w[0]);
    *y = H - (int)std::floor(w[1]);
    return true;
  }
};

}  // namespace

TEST_F(StarPickGL, ClickOnSiriusInARenderedFramePicksHD48915) {
  if (!testsupport::fileExists(root() + "/data/.built")) GTEST_SKIP() << "the sky data is not built";
  StarList list;
  readFile(list, testsupport::starSetPath(6));
  NODE_StarObject sirius;
  ASSERT_EQ(list.getStarByHD(&sirius, 48915), 1);
  double dir[3] = {sirius.pos.x, sirius.pos.y, sirius.pos.z};
  // Off centre, so that nothing depends on the middle of the window.
  double aside[3] = {dir[0] + 0.05, dir[1] - 0.03, dir[2] + 0.02};
  skyview::lookFromOrigin(aside, 20, W, H);
  const double logScale = 15.0;
  const Frame f = drawn(list, logScale);
  f.save("pick-sirius-frame");
  SKIP_WITHOUT_STARS(f);

  int x, y;
  ASSERT_TRUE(clickOf(sirius, logScale, &x, &y));
  // Sirius is the bright disc round where it projects; the user clicks its middle.
  double sx = 0, sy = 0, weight = 0;
  for (int dy = -6; dy <= 6; dy++)
    for (int dx = -6; dx <= 6; dx++) {
      const int px = x + dx, py = (H - y) + dy;
      if (!f.inside(px, py)) continue;
      const unsigned char* c = f.at(px, py);
      const double b = c[0] + c[1] + c[2];
      if (b < 300) continue;
      sx += b * px, sy += b * py, weight += b;
    }
  ASSERT_GT(weight, 0) << "Sirius is not drawn where it projects";
  const int bx = (int)std::lround(sx / weight), by = (int)std::lround(sy / weight);
  EXPECT_NEAR(bx, x, 1);
  EXPECT_NEAR(by, H - y, 1);

  GLint vp[4];
  glGetIntegerv(GL_VIEWPORT, vp);
  for (int* viewport : {(int*)vp, (int*)nullptr}) {
    SCOPED_TRACE(viewport ? "given viewport" : "current viewport");
    NODE_StarObject out = marker();
    const int hits = list.pickStar(bx, H - by, logScale, &out, 1.0f, viewport);
    EXPECT_GE(hits, 1);
    EXPECT_EQ(out.HD, 48915);
    EXPECT_STREQ(out.commonName, "Sirius");
    EXPECT_EQ(out.HIC, 32349);
    EXPECT_EQ(list.pickMode, 0);
  }
  // Picking leaves the matrices as they were.
  double before[16], after[16];
  glGetDoublev(GL_PROJECTION_MATRIX, before);
  NODE_StarObject out = marker();
  list.pickStar(bx, H - by, logScale, &out, 1.0f, nullptr);
  glGetDoublev(GL_PROJECTION_MATRIX, after);
  EXPECT_EQ(memcmp(before, after, sizeof before), 0);
  GLint mode;
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  EXPECT_EQ(mode, GL_MODELVIEW);
}

TEST_F(StarPickGL, ClickOnEmptySkyReturnsZeroAndLeavesTheRecord) {
  if (!testsupport::fileExists(root() + "/data/.built")) GTEST_SKIP() << "the sky data is not built";
  StarList list;
  readFile(list, testsupport::starSetPath(6));
  NODE_StarObject sirius;
  ASSERT_EQ(list.getStarByHD(&sirius, 48915), 1);
  double dir[3] = {sirius.pos.x, sirius.pos.y, sirius.pos.z};
  skyview::lookFromOrigin(dir, 20, W, H);
  const double logScale = 15.0;
  // A pixel at least 15 pixels from every star in front.
  std::vector<std::pair<double, double>> at;
  for (int i = 0; i < list.numStars; i++) {
    double p[3], w[2];
    skyview::placedFromOrigin(list.stars[i].pos, logScale, p);
    if (skyview::project(p, w)) at.push_back({w[0], w[1]});
  }
  int ex = -1, ey = -1;
  for (int y = 20; y < H - 20 && ex < 0; y += 7)
    for (int x = 20; x < W - 20 && ex < 0; x += 7) {
      bool clear = true;
      for (const auto& [sx, sy] : at) clear = clear && std::hypot(sx - x, sy - y) > 15;
      if (clear) ex = x, ey = y;
    }
  ASSERT_GE(ex, 0);
  const Frame f = drawn(list, logScale);
  EXPECT_FALSE(f.anyNear(ex, ey, 5, [&](int x, int y) { return f.lit(x, y); }));
  NODE_StarObject out = marker();
  EXPECT_EQ(list.pickStar(ex, H - ey, logScale, &out, 1.0f, nullptr), 0);
  EXPECT_EQ(out.HD, 777777);
  EXPECT_EQ(list.pickMode, 0);
}

TEST_F(StarPickGL, TheSunCanBePicked) {
  StarList list;
  testing::internal::CaptureStderr();
  ASSERT_EQ(list.readStarFiles(0, nullptr, 1, true), 1);  // the Sun alone
  testing::internal::GetCapturedStderr();
  // Five units of 10^11 m above the Sun, looking at it.
  const double logScale = 11.0;
  glViewport(0, 0, W, H);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(30, 1, 0.01, 10000);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(0, 0, 5, 0, 0, 0, 0, 1, 0);
  const Frame f = drawn(list, logScale);
  f.save("pick-sun-frame");
  NODE_StarObject out = marker();
  const int hits = list.pickStar(W / 2, H / 2, logScale, &out, 1.0f, nullptr);
  if (hits == 0 && f.count([&](int x, int y) { return f.lit(x, y); }) == 0)
    GTEST_SKIP() << "drawStars draws nothing yet: picking has no named points to hit";
  EXPECT_EQ(hits, 1);
  EXPECT_STREQ(out.commonName, "Sun");
  EXPECT_EQ(out.HD, 0);
}

TEST_F(StarPickGL, FaintStarsCanBePickedWhileTheSelectionsApply) {
  TempDir dir;
  // HD 1: faint, nearest (index 0), class G2; HD 2: bright, 3 degrees away, farther.
  writeFile(dir.file("s.star"), "NUM_STARS 2\nSIZE 3.0856776 16\n" + starLine(40, 10, 10, 1e-9f, "G", 2, 1) +
                                    starLine(43, 10, 20, 1e4f, "K", 1, 2));
  StarList list;
  readFile(list, dir.file("s.star"));
  ASSERT_EQ(list.stars[0].HD, 1);
  double look[3];
  lbToVec(look, 41.5, 10);
  skyview::lookFromOrigin(look, 20, W, H);
  const double logScale = 15.0;
  const Frame f = drawn(list, logScale);
  f.save("pick-faint-frame");
  SKIP_WITHOUT_STARS(f);
  int fx, fy, bx, by;
  ASSERT_TRUE(clickOf(list.stars[0], logScale, &fx, &fy));
  ASSERT_TRUE(clickOf(list.stars[1], logScale, &bx, &by));
  // The faint one isn't seen, the bright one is.
  EXPECT_FALSE(f.anyNear(fx, H - fy, 3, [&](int x, int y) { return f.lit(x, y); }));
  EXPECT_TRUE(f.anyNear(bx, H - by, 2, [&](int x, int y) { return f.lit(x, y); }));

  struct Case {
    const char* what;
    void (*select)(StarList&);
    int hits;
  };
  const Case cases[] = {
      {"no selection", [](StarList&) {}, 1},
      {"magnitude range without it",
       [](StarList& l) {
         l.param.vmagRangeOn = 1;
         l.param.vmagRangeMin = -30;
         l.param.vmagRangeMax = 5;
       },
       0},
      {"magnitude range with it",
       [](StarList& l) {
         l.param.vmagRangeOn = 1;
         l.param.vmagRangeMin = -30;
         l.param.vmagRangeMax = 1000;
       },
       1},
      {"spectral range without it",
       [](StarList& l) {
         l.param.sptypeRangeOn = 1;
         l.param.sptypeOn[SPTYPE_G] = 1;
         l.param.sptypeMin[SPTYPE_G] = 5;
         l.param.sptypeMax[SPTYPE_G] = 10;
       },
       0},
      {"spectral range with it",
       [](StarList& l) {
         l.param.sptypeRangeOn = 1;
         l.param.sptypeOn[SPTYPE_G] = 1;
         l.param.sptypeMin[SPTYPE_G] = 0;
         l.param.sptypeMax[SPTYPE_G] = 5;
       },
       1},
      {"distance range without it",
       [](StarList& l) {
         l.param.zRangeOn = 1;
         l.zFirst = 1;
         l.zLast = 1;
       },
       0},
      {"distance range with it",
       [](StarList& l) {
         l.param.zRangeOn = 1;
         l.zFirst = 0;
         l.zLast = 1;
       },
       1},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.what);
    StarParameter saved = list.param;
    k.select(list);
    NODE_StarObject out = marker();
    EXPECT_EQ(list.pickStar(fx, fy, logScale, &out, 1.0f, nullptr), k.hits);
    EXPECT_EQ(out.HD, k.hits ? 1 : 777777);
    list.param = saved;
    list.zFirst = 0;
    list.zLast = list.numStars - 1;
  }
}

TEST_F(StarPickGL, OfTwoStarsUnderTheCursorTheFartherWins) {
  TempDir dir;
  // Both in one direction, at 10 and 100 parsecs: the far one is drawn first and keeps its place.
  writeFile(dir.file("s.star"), "NUM_STARS 3\nSIZE 3.0856776 16\n" + starLine(100, -20, 10, 50, "G", 2, 1) +
                                    starLine(100, -20, 100, 50, "G", 2, 2) + starLine(90, -20, 30, 50, "G", 2, 3));
  StarList list;
  readFile(list, dir.file("s.star"));
  double look[3];
  lbToVec(look, 99, -20);
  skyview::lookFromOrigin(look, 20, W, H);
  const double logScale = 15.0;
  const Frame f = drawn(list, logScale);
  SKIP_WITHOUT_STARS(f);
  int x, y;
  ASSERT_TRUE(clickOf(list.stars[0], logScale, &x, &y));
  NODE_StarObject out = marker();
  EXPECT_EQ(list.pickStar(x, y, logScale, &out, 1.0f, nullptr), 2);
  EXPECT_EQ(out.HD, 2);
}
