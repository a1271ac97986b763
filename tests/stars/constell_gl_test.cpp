// Constellations and labels drawn under Xvfb and read back: Orion's figure lines run between its
// stars, boundaries go at large scales while lines and names stay, names end at their cube,
// stipples and widths, billboard text alignment, star labels, the anchor cross, the error bar,
// and labels of far stars on the sphere of 10^3.5 view units.
#include <GL/gl.h>
#include <GL/glu.h>
#include <GL/glut.h>
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstring>
#include <string>

#include "stars/star.h"
#include "tests/stars/sky_gl_view.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

using skyview::Frame;

namespace {

constexpr int W = 512, H = 512;
const float kRed[4] = {1, 0, 0, 1};
const float kGreen[4] = {0, 1, 0, 1};

std::string root() {
  return testsupport::sourceDir();
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

// Pixels per unit of length at distance d straight ahead, for a vertical field of fovy degrees.
double pixelsPerUnit(double fovy, double d) {
  return (H / 2.0) / std::tan(fovy / 2 * M_PI / 180) / d;
}

// Width of a text in stroke units as the billboard text measures it.
double strokeWidth(const char* text) {
  double w = 0;
  for (const char* p = text; *p; p++) w += glutStrokeWidth(GLUT_STROKE_MONO_ROMAN, *p == ' ' ? '-' : *p);
  return w;
}

struct Box {
  int minX = 1 << 30, maxX = -1, minY = 1 << 30, maxY = -1, n = 0;
};
template <class Pred>
Box boxOf(const Frame& f, Pred pred) {
  Box b;
  for (int y = 0; y < f.h; y++)
    for (int x = 0; x < f.w; x++)
      if (pred(x, y)) {
        b.minX = std::min(b.minX, x);
        b.maxX = std::max(b.maxX, x);
        b.minY = std::min(b.minY, y);
        b.maxY = std::max(b.maxY, y);
        b.n++;
      }
  return b;
}

class ConstellGL : public testing::Test {
 protected:
  static StarList* sky;

  static void SetUpTestSuite() {
    if (!testsupport::fileExists(root() + "/data/.built")) return;
    sky = new StarList;
    std::string set = testsupport::starSetPath(6);
    testing::internal::CaptureStderr();
    int a = sky->readStarFile(set.data(), 0, true);
    int b = sky->loadConstellations((root() + "/data/stardata/constellation.txt").c_str());
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
    if (!testsupport::fileExists(root() + "/data/.built")) GTEST_SKIP() << "the sky data is not built";
    ASSERT_NE(sky, nullptr) << "the star set or the constellation file did not load";
    ASSERT_NE(testsupport::openGLWindow(W, H), 0) << "no X server for GL";
    sky->param.constellationColorOn = 0;
    sky->param.constellationWidthOn = 0;
    sky->param.constellationLineStipple = 0;
    sky->param.constellationBoundStipple = 0;
    sky->param.labelScale = 1.0f;
    testing::internal::CaptureStderr();
    ASSERT_EQ(sky->setConstellationColors(kRed, kGreen), 1);
    ASSERT_EQ(testing::internal::GetCapturedStderr(), "");
    clearFrame();
  }

  const NODE_Constellation* constellation(const char* name) {
    for (int i = 0; i < sky->numConstellations; i++)
      if (strcmp(sky->constellations[i].name, name) == 0) return &sky->constellations[i];
    return nullptr;
  }

  int starIndex(int hd) {
    for (int i = 0; i < sky->numStars; i++)
      if (sky->stars[i].HD == hd) return i;
    return -1;
  }

  // Looks at Orion from the origin.
  void lookAtOrion(double zNear = 0.01, double zFar = 10000.0) {
    double dir[3];
    skyview::equatorialDir(5.55, 3.0, dir);
    skyview::lookFromOrigin(dir, 50, W, H, zNear, zFar);
  }

  // Orion's segments on the screen at logScale: pairs of window positions of both ends in front.
  std::vector<std::array<double, 4>> orionSegments(double logScale) {
    std::vector<std::array<double, 4>> out;
    const NODE_Constellation* ori = constellation("Orion");
    for (int l = 0; l < ori->numLines; l++) {
      double a[3], b[3], wa[2], wb[2];
      skyview::placedFromOrigin(ori->lines[l][0]->pos, logScale, a);
      skyview::placedFromOrigin(ori->lines[l][1]->pos, logScale, b);
      if (skyview::project(a, wa) && skyview::project(b, wb)) out.push_back({wa[0], wa[1], wb[0], wb[1]});
    }
    return out;
  }

  // Lit samples along the inner part of each on-screen segment of at least 8 pixels, and how many
  // samples there were.
  template <class Pred>
  std::pair<int, int> samplesAlong(const Frame& f, const std::vector<std::array<double, 4>>& segs, Pred pred,
                                   double step, int radius) {
    int lit = 0, all = 0;
    for (const auto& s : segs) {
      const double len = std::hypot(s[2] - s[0], s[3] - s[1]);
      if (len < 8 || !f.inside((int)s[0], (int)s[1]) || !f.inside((int)s[2], (int)s[3])) continue;
      for (double t = 0.15; t <= 0.85; t += step / len) {
        const double x = s[0] + t * (s[2] - s[0]), y = s[1] + t * (s[3] - s[1]);
        all++;
        lit += f.anyNear(x, y, radius, pred) ? 1 : 0;
      }
    }
    return {lit, all};
  }
};

StarList* ConstellGL::sky = nullptr;

}  // namespace

TEST_F(ConstellGL, OrionsFigureLinesRunBetweenItsStars) {
  lookAtOrion();
  const double logScale = 15.0;
  sky->drawConstellations(logScale, 1, 0, 0, (char*)"Orion");
  const Frame f = Frame::read(W, H);
  f.save("constell-orion-lines");
  const auto segs = orionSegments(logScale);
  ASSERT_GE(segs.size(), 20u);
  auto red = [&](int x, int y) { return f.red(x, y); };
  // Every sample along every segment between two stars on the screen is red ...
  const auto [lit, all] = samplesAlong(f, segs, red, 4.0, 1);
  EXPECT_GE(all, 100);
  EXPECT_EQ(lit, all);
  // ... and every red pixel belongs to one of Orion's segments.
  int stray = 0;
  for (int y = 0; y < H; y++)
    for (int x = 0; x < W; x++) {
      if (!f.red(x, y)) continue;
      double best = 1e9;
      for (const auto& s : segs) {
        const double a[2] = {s[0], s[1]}, b[2] = {s[2], s[3]};
        best = std::min(best, skyview::distToSegment(x, y, a, b));
      }
      stray += best > 2.0 ? 1 : 0;
    }
  EXPECT_EQ(stray, 0);
  EXPECT_GT(f.count(red), 300);
}

TEST_F(ConstellGL, OnlyTheNamedConstellationIsDrawn) {
  lookAtOrion();
  struct Case {
    const char* only;
    bool some;
  };
  int orionOnly = 0, all = 0;
  for (const Case& k : {Case{"Orion", true}, Case{nullptr, true}, Case{"Nowhere", false}, Case{"orion", false}}) {
    SCOPED_TRACE(k.only ? k.only : "(all)");
    clearFrame();
    sky->drawConstellations(15.0, 1, 1, 1, (char*)k.only);
    const Frame f = Frame::read(W, H);
    const int n = f.count([&](int x, int y) { return f.lit(x, y); });
    EXPECT_EQ(n > 0, k.some);
    if (k.only && strcmp(k.only, "Orion") == 0) orionOnly = n;
    if (!k.only) {
      all = n;
      f.save("constell-all-around-orion");
    }
  }
  // Taurus, Gemini, Monoceros, Eridanus and Lepus stand in the same field.
  EXPECT_GT(all, orionOnly * 2);
}

TEST_F(ConstellGL, BoundariesVanishFourDecadesBeyondTheirShellWhileLinesAndNamesStay) {
  const double radius = sky->constellLogRadius;
  struct Case {
    double logScale;
    bool bounds;
  };
  for (const Case& k : {Case{15.0, true}, Case{radius + 3.99, true}, Case{radius + 4.0, false},
                        Case{radius + 6.0, false}}) {
    SCOPED_TRACE(k.logScale);
    clearFrame();
    // Far out the figures stand a few thousandths of a unit away: a near plane to match.
    lookAtOrion(1e-9, 10.0);
    if (k.logScale == 15.0) lookAtOrion();
    sky->drawConstellations(k.logScale, 0, 0, 1, (char*)"Orion");
    Frame f = Frame::read(W, H);
    const int green = f.count([&](int x, int y) { return f.green(x, y); });
    EXPECT_EQ(green > 0, k.bounds) << green;
    if (k.logScale == 15.0) {
      f.save("constell-orion-bounds");
      // The green pixels run along Orion's boundary.
      const NODE_Constellation* ori = constellation("Orion");
      std::vector<std::array<double, 4>> edges;
      for (int b = 0; b < ori->numBounds; b++)
        for (int j = 0; j < ori->boundCounts[b]; j++) {
          double p[3], q[3], wp[2], wq[2];
          skyview::placedFromOrigin(ori->boundPoints[b][j], 15.0, p);
          skyview::placedFromOrigin(ori->boundPoints[b][(j + 1) % ori->boundCounts[b]], 15.0, q);
          if (skyview::project(p, wp) && skyview::project(q, wq)) edges.push_back({wp[0], wp[1], wq[0], wq[1]});
        }
      auto isGreen = [&](int x, int y) { return f.green(x, y); };
      const auto [lit, all] = samplesAlong(f, edges, isGreen, 3.0, 1);
      EXPECT_GE(all, 50);
      EXPECT_EQ(lit, all);
    }
    // Lines and names are drawn at every scale.
    clearFrame();
    sky->drawConstellations(k.logScale, 1, 1, 1, (char*)"Orion");
    f = Frame::read(W, H);
    EXPECT_GT(f.count([&](int x, int y) { return f.red(x, y); }), 100);
    EXPECT_EQ(f.count([&](int x, int y) { return f.green(x, y); }) > 0, k.bounds);
  }
}

TEST_F(ConstellGL, NameIsRightAlignedAndEndsAtItsCube) {
  lookAtOrion();
  testing::internal::CaptureStderr();
  ASSERT_EQ(sky->setLabelScale(3.0f), 1);
  testing::internal::GetCapturedStderr();
  sky->drawConstellations(15.0, 0, 1, 0, (char*)"Orion");
  const Frame f = Frame::read(W, H);
  f.save("constell-orion-name");
  const NODE_Constellation* ori = constellation("Orion");
  ASSERT_NE(ori->principalStar, nullptr);
  double p[3], w[2];
  skyview::placedFromOrigin(ori->principalStar->pos, 15.0, p);
  ASSERT_TRUE(skyview::project(p, w));
  const double d = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  const double cube = 3.0 * d / 100;  // labelScale x 10^s' / 100
  const double ppu = pixelsPerUnit(50, d);
  const double textPx = strokeWidth("Orion ") * 0.012 * cube * ppu;
  const Box b = boxOf(f, [&](int x, int y) { return f.red(x, y); });
  ASSERT_GT(b.n, 50);
  // The cube stands round the star in the sky's axes: seen askew it reaches between half its
  // edge and half its diagonal from the star.
  const double halfEdge = cube / 2 * ppu, halfDiagonal = cube * std::sqrt(3.0) / 2 * ppu;
  EXPECT_GE(b.maxX, w[0] + halfEdge - 1);
  EXPECT_LE(b.maxX, w[0] + halfDiagonal + 1);
  EXPECT_GE(b.minY, w[1] - halfDiagonal - 1);
  EXPECT_LE(b.minY, w[1] - halfEdge + 1);
  // The text runs to the left and ends at the cube's centre: above the cube, where only the
  // tall letters are, nothing lies right of the star.
  EXPECT_NEAR(b.minX, w[0] - textPx, 0.1 * textPx);
  const Box letters = boxOf(f, [&](int x, int y) { return f.red(x, y) && y > w[1] + halfDiagonal + 1; });
  ASSERT_GT(letters.n, 10);
  EXPECT_LE(letters.maxX, w[0] + 1);
}

TEST_F(ConstellGL, StippleBreaksTheLines) {
  lookAtOrion();
  auto red = [](const Frame& f) { return [&f](int x, int y) { return f.red(x, y); }; };
  sky->drawConstellations(15.0, 1, 0, 0, (char*)"Orion");
  const Frame solid = Frame::read(W, H);
  testing::internal::CaptureStderr();
  ASSERT_EQ(sky->setConstellationStipple(0x00FF, 0), 1);
  testing::internal::GetCapturedStderr();
  clearFrame();
  sky->drawConstellations(15.0, 1, 0, 0, (char*)"Orion");
  const Frame dashed = Frame::read(W, H);
  dashed.save("constell-orion-stipple");
  const auto segs = orionSegments(15.0);
  const auto [litSolid, all] = samplesAlong(solid, segs, red(solid), 1.0, 1);
  const auto [litDashed, all2] = samplesAlong(dashed, segs, red(dashed), 1.0, 1);
  ASSERT_EQ(all, all2);
  EXPECT_EQ(litSolid, all);
  // Eight pixels on, eight off: about ten of sixteen samples see a lit pixel within one.
  EXPECT_GT(litDashed, all * 0.45);
  EXPECT_LT(litDashed, all * 0.8);
  // Names are never stippled.
  clearFrame();
  sky->drawConstellations(15.0, 0, 1, 0, (char*)"Orion");
  const Frame names = Frame::read(W, H);
  clearFrame();
  testing::internal::CaptureStderr();
  ASSERT_EQ(sky->setConstellationStipple(0, 0), 1);
  testing::internal::GetCapturedStderr();
  sky->drawConstellations(15.0, 0, 1, 0, (char*)"Orion");
  const Frame namesSolid = Frame::read(W, H);
  EXPECT_EQ(names.px, namesSolid.px);
}

TEST_F(ConstellGL, LineWidthsComeFromTheGLRange) {
  GLfloat range[2];
  glGetFloatv(GL_LINE_WIDTH_RANGE, range);
  char msg[200];
  snprintf(msg, sizeof msg, "Err (setConstellationLineWidth): inLineWidth out of range [%f,%f]\n", range[0], range[1]);
  testing::internal::CaptureStderr();
  EXPECT_EQ(sky->setConstellationLineWidth(range[1] + 1, 1.0f), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), msg);
  snprintf(msg, sizeof msg, "Err (setConstellationLineWidth): inBoundWidth out of range [%f,%f]\n", range[0], range[1]);
  testing::internal::CaptureStderr();
  EXPECT_EQ(sky->setConstellationLineWidth(1.0f, range[1] * 2), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), msg);

  lookAtOrion();
  sky->drawConstellations(15.0, 1, 0, 0, (char*)"Orion");
  const Frame thin = Frame::read(W, H);
  testing::internal::CaptureStderr();
  ASSERT_EQ(sky->setConstellationLineWidth(4.0f, 1.0f), 1);
  ASSERT_EQ(testing::internal::GetCapturedStderr(), "");
  clearFrame();
  sky->drawConstellations(15.0, 1, 0, 0, (char*)"Orion");
  const Frame thick = Frame::read(W, H);
  thick.save("constell-orion-wide");
  EXPECT_GT(thick.count([&](int x, int y) { return thick.red(x, y); }),
            3 * thin.count([&](int x, int y) { return thin.red(x, y); }));
  sky->param.constellationWidthOn = 0;
  glLineWidth(1.0f);
}

TEST_F(ConstellGL, BillboardTextIsAlignedAndFacesTheViewer) {
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(-W / 2.0, W / 2.0, -H / 2.0, H / 2.0, -1000, 1000);
  glMatrixMode(GL_MODELVIEW);
  const float size = 0.5f;
  const double width = strokeWidth("MMMM") * size;
  const double cx = W / 2.0;
  struct Case {
    int align;
    double turn;  // degrees about the vertical axis: the text stays square to the viewer
    double left, right;
  };
  const Case cases[] = {
      {STAR_TEXT_ALIGN_LEFT, 0, cx, cx + width},
      {STAR_TEXT_ALIGN_RIGHT, 0, cx - width, cx},
      {STAR_TEXT_ALIGN_CENTRE, 0, cx - width / 2, cx + width / 2},
      {STAR_TEXT_ALIGN_LEFT, 70, cx, cx + width},
      {STAR_TEXT_ALIGN_RIGHT, -50, cx - width, cx},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.align * 1000 + k.turn);
    clearFrame();
    glLoadIdentity();
    glRotated(k.turn, 0, 1, 0);
    StarList::drawBillboardText("MMMM", size, k.align);
    const Frame f = Frame::read(W, H);
    if (k.align == STAR_TEXT_ALIGN_CENTRE) f.save("billboard-centre");
    const Box b = boxOf(f, [&](int x, int y) { return f.lit(x, y); });
    ASSERT_GT(b.n, 100);
    // Glyphs keep a little room at the sides of their cells.
    EXPECT_GE(b.minX, k.left - 1);
    EXPECT_LE(b.maxX, k.right + 1);
    EXPECT_LT(b.minX, k.left + 0.2 * width / 4);
    EXPECT_GT(b.maxX, k.right - 0.2 * width / 4);
    EXPECT_GE(b.minY, H / 2 - 1);  // standing on the origin
  }
}

TEST_F(ConstellGL, StarLabelStandsToTheRightOfTheStar) {
  const int sirius = starIndex(48915);
  ASSERT_GE(sirius, 0);
  const NODE_StarObject& s = sky->stars[sirius];
  double dir[3] = {s.pos.x, s.pos.y, s.pos.z};
  skyview::lookFromOrigin(dir, 60, W, H);
  const double logScale = 15.0;
  double p[3], w[2];
  skyview::placedFromOrigin(s.pos, logScale, p);
  ASSERT_TRUE(skyview::project(p, w));
  const double d = std::sqrt(p[0] * p[0] + p[1] * p[1] + p[2] * p[2]);
  const double ppu = pixelsPerUnit(60, d);
  const double cube = d / 75;

  struct Case {
    int labelType;
    const char* text;  // null: nothing drawn
    bool noConstellation;
  };
  const Case cases[] = {
      {1, " Sirius (Canis Major CMa)", false},
      {2, " HD48915 (Canis Major CMa)", false},
      {1, " Sirius", true},
      {2, " HD48915", true},
      {0, nullptr, false},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.text ? k.text : "(none)");
    clearFrame();
    NODE_StarObject star = s;
    if (k.noConstellation) strcpy(star.constellName, "---");
    sky->drawLabelOfStar(&star, logScale, k.labelType, 0);
    // The label leaves lighting and texturing on, whatever they were.
    EXPECT_TRUE(glIsEnabled(GL_LIGHTING));
    EXPECT_TRUE(glIsEnabled(GL_TEXTURE_2D));
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    const Frame f = Frame::read(W, H);
    const Box b = boxOf(f, [&](int x, int y) { return f.lit(x, y); });
    if (!k.text) {
      EXPECT_EQ(b.n, 0);
      continue;
    }
    if (k.labelType == 1 && !k.noConstellation) f.save("label-sirius");
    const double textPx = strokeWidth(k.text) * 0.008 * cube * ppu;
    const double halfEdge = cube / 2 * ppu, halfDiagonal = cube * std::sqrt(3.0) / 2 * ppu;
    EXPECT_GE(b.minX, w[0] - halfDiagonal - 1);
    EXPECT_LE(b.minX, w[0] - halfEdge + 1);
    EXPECT_GE(b.minY, w[1] - halfDiagonal - 1);
    EXPECT_LE(b.minY, w[1] - halfEdge + 1);
    // Glyphs keep a little room at the sides of their cells.
    const double charPx = textPx / strlen(k.text);
    EXPECT_LE(b.maxX, w[0] + textPx + 1);
    EXPECT_GT(b.maxX, w[0] + textPx - 0.5 * charPx);
    // Left-aligned from the star: what the text adds to the cube alone lies right of the star,
    // behind the blank it begins with.
    clearFrame();
    sky->drawLabelOfStar(&star, logScale, " ", 0);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    const Frame cubeOnly = Frame::read(W, H);
    const Box letters = boxOf(f, [&](int x, int y) { return f.lit(x, y) && !cubeOnly.lit(x, y); });
    ASSERT_GT(letters.n, 10);
    EXPECT_GE(letters.minX, w[0] + 0.6 * charPx);
    EXPECT_LT(letters.minX, w[0] + 1.4 * charPx);
  }
  // The same through the index.
  clearFrame();
  sky->drawLabelOfStar(sirius, logScale, 1, 0);
  const Frame byIndex = Frame::read(W, H);
  clearFrame();
  sky->drawLabelOfStar(&sky->stars[sirius], logScale, " Sirius (Canis Major CMa)", 0);
  const Frame byText = Frame::read(W, H);
  EXPECT_EQ(byIndex.px, byText.px);
  // A label type that is none draws nothing and leaves the state alone.
  clearFrame();
  sky->drawLabelOfStar(sirius, logScale, 5, 0);
  EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
  const Frame none = Frame::read(W, H);
  EXPECT_EQ(none.count([&](int x, int y) { return none.lit(x, y); }), 0);
}

TEST_F(ConstellGL, AnchorIsACrossWithItsTextBeside) {
  glViewport(0, 0, W, H);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(20, 1, 0.01, 10000);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();  // looking down -z with y up: the cross's x and y arms lie in the screen
  const double logScale = 15.0;
  NODE_StarObject anchor{};
  anchor.HD = -2;
  anchor.pos = PHCoord{0, 0, -1, logScale + 2};  // 100 units ahead
  sky->drawLabelOfStar(&anchor, logScale, "anchor", 0);
  const Frame f = Frame::read(W, H);
  f.save("label-anchor");
  const double arm = 100.0 / 75 / 2 * pixelsPerUnit(20, 100);
  const double cx = W / 2.0, cy = H / 2.0;
  auto lit = [&](int x, int y) { return f.lit(x, y); };
  for (double t : {-0.8, -0.4, 0.4, 0.8}) {
    EXPECT_TRUE(f.anyNear(cx + t * arm, cy, 1, lit)) << t;
    EXPECT_TRUE(f.anyNear(cx, cy + t * arm, 1, lit)) << t;
  }
  // Nothing beyond the arms to the left or below; the text begins at the cross and runs right.
  const Box b = boxOf(f, lit);
  EXPECT_NEAR(b.minX, cx - arm, 2.0);
  EXPECT_NEAR(b.minY, cy - arm, 2.0);
  const double textPx = strokeWidth("anchor") * 0.008 * (100.0 / 75) * pixelsPerUnit(20, 100);
  EXPECT_LE(b.maxX, cx + textPx + 1);
  EXPECT_GT(b.maxX, cx + textPx - 0.5 * textPx / 6);
  // An anchor without text is not drawn as one.
  clearFrame();
  sky->drawLabelOfStar(&anchor, logScale, "", 0);
  const Frame empty = Frame::read(W, H);
  EXPECT_EQ(empty.count([&](int x, int y) { return empty.lit(x, y); }), 0);
}

TEST_F(ConstellGL, ErrorBarRunsAlongTheLineOfSightInTheCallersSpace) {
  const int sirius = starIndex(48915);
  ASSERT_GE(sirius, 0);
  const NODE_StarObject& s = sky->stars[sirius];
  ASSERT_GT(s.distErr, 0.001f);
  // The star 100 units out; the eye 2 units beside it, looking at it across the line of sight.
  const double logScale = s.pos.s - 2.0;
  double u[3] = {s.pos.x, s.pos.y, s.pos.z}, z[3] = {0, 0, 1}, side[3];
  cross3D(u, z, side);
  unify3D(side);
  double at[3], eye[3];
  for (int i = 0; i < 3; i++) {
    at[i] = 100 * u[i];
    eye[i] = at[i] + 2 * side[i];
  }
  glViewport(0, 0, W, H);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(60, 1, 0.01, 10000);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(eye[0], eye[1], eye[2], at[0], at[1], at[2], u[0], u[1], u[2]);
  double nearEnd[3], farEnd[3], wn[2], wf[2];
  for (int i = 0; i < 3; i++) {
    nearEnd[i] = at[i] * (1 - s.distErr);
    farEnd[i] = at[i] * (1 + s.distErr);
  }
  ASSERT_TRUE(skyview::project(nearEnd, wn));
  ASSERT_TRUE(skyview::project(farEnd, wf));
  ASSERT_GT(std::hypot(wf[0] - wn[0], wf[1] - wn[1]), 100);

  for (int showError : {1, 0}) {
    SCOPED_TRACE(showError);
    clearFrame();
    sky->drawLabelOfStar(sirius, logScale, 1, showError);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    const Frame f = Frame::read(W, H);
    if (showError) f.save("label-error-bar");
    auto red = [&](int x, int y) { return f.red(x, y); };
    int lit = 0;
    for (double t : {0.0, 0.1, 0.25, 0.75, 0.9, 1.0})
      lit += f.anyNear(wn[0] + t * (wf[0] - wn[0]), wn[1] + t * (wf[1] - wn[1]), 1, red) ? 1 : 0;
    EXPECT_EQ(lit, showError ? 6 : 0);
    if (showError) {
      // Points of four pixels at both ends.
      EXPECT_GE(f.count([&](int x, int y) { return red(x, y) && std::hypot(x - wn[0], y - wn[1]) < 3; }), 4);
      EXPECT_GE(f.count([&](int x, int y) { return red(x, y) && std::hypot(x - wf[0], y - wf[1]) < 3; }), 4);
    }
  }
}

TEST_F(ConstellGL, LabelOfAFarStarStandsOnTheSphereOfTenToThreeAndAHalfUnits) {
  const int sirius = starIndex(48915);
  ASSERT_GE(sirius, 0);
  const NODE_StarObject& s = sky->stars[sirius];
  const double logScale = 12.0;
  ASSERT_GT(s.pos.s - logScale, 3.5);
  double dir[3] = {s.pos.x, s.pos.y, s.pos.z};
  // A near plane far out, so that the depth buffer resolves a unit at 3000.
  skyview::lookFromOrigin(dir, 10, W, H, 100.0, 10000.0);
  glEnable(GL_DEPTH_TEST);
  glDepthMask(GL_TRUE);
  glClear(GL_DEPTH_BUFFER_BIT);
  sky->drawLabelOfStar(sirius, logScale, " ", 0);  // the cube alone
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
  const Frame f = Frame::read(W, H);
  f.save("label-far-cube");
  const double R = std::pow(10.0, 3.5), half = R / 75 / 2;
  const double cx = W / 2.0, cy = H / 2.0;
  // The cube is centred on the star's direction.
  const Box b = boxOf(f, [&](int x, int y) { return f.lit(x, y); });
  ASSERT_GT(b.n, 50);
  EXPECT_NEAR((b.minX + b.maxX + 1) / 2.0, cx, 1.5);
  EXPECT_NEAR((b.minY + b.maxY + 1) / 2.0, cy, 1.5);
  EXPECT_GT(b.maxX - b.minX, 2 * half / R * pixelsPerUnit(10, 1.0) - 2);
  // Its centre lies on the sphere of radius 10^3.5: the nearest corner stands ahead of the eye by
  // 10^3.5 less half an edge times the sum of the view direction's cosines in the sky's axes.
  // The star itself would stand further out, at 10^(3.5 + (s' - 3.5) / 72), by the compression
  // of the star drawing.
  std::vector<float> depth((size_t)W * H);
  glReadPixels(0, 0, W, H, GL_DEPTH_COMPONENT, GL_FLOAT, depth.data());
  size_t nearest = 0;
  for (size_t i = 1; i < depth.size(); i++)
    if (depth[i] < depth[nearest]) nearest = i;
  ASSERT_LT(depth[nearest], 1.0f);
  double mv[16], pr[16], p[3];
  GLint vp[4];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  glGetIntegerv(GL_VIEWPORT, vp);
  gluUnProject((double)(nearest % W) + 0.5, (double)(nearest / W) + 0.5, depth[nearest], mv, pr, vp, &p[0],
               &p[1], &p[2]);
  unify3D(dir);
  const double ahead = p[0] * dir[0] + p[1] * dir[1] + p[2] * dir[2];
  const double corner = half * (std::fabs(dir[0]) + std::fabs(dir[1]) + std::fabs(dir[2]));
  EXPECT_NEAR(ahead, R - corner, 2.0);
  EXPECT_LT(R + corner, std::pow(10.0, 3.5 + (s.pos.s - logScale - 3.5) / 72) - 100);
  glDisable(GL_DEPTH_TEST);
}
