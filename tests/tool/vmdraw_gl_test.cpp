// The tool's picture under a private X server: the Milky Way sphere's orientation against the real
// visible map, the order of the layers, every switch, the markers, the info lines and boxes, and
// the model hiding nothing that follows it.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tool/texfile.h"
#include "tool/velmora.h"
#include "tool/vmdraw.h"
#include "tool/vmfile.h"
#include "viewer/tarnwick.h"

namespace {

constexpr int kSide = 512;
constexpr int kPathSize = 512;

// The map file itself, read here on its own: a binary PPM, top row first.
struct Map {
  int width = 0, height = 0;
  std::vector<unsigned char> rgb;
  // Mean red, green and blue of the 3x3 pixels around galactic l, b (degrees).
  void at(double l, double b, double out[3]) const {
    l = std::fmod(std::fmod(l, 360.0) + 360.0, 360.0);
    int col = (int)std::lround(l / 360.0 * width - 0.5);
    int row = (int)std::lround((90.0 - b) / 180.0 * height - 0.5);
    out[0] = out[1] = out[2] = 0;
    for (int dr = -1; dr <= 1; dr++)
      for (int dc = -1; dc <= 1; dc++) {
        int r = std::min(std::max(row + dr, 0), height - 1);
        int c = ((col + dc) % width + width) % width;
        for (int k = 0; k < 3; k++) out[k] += rgb[3 * (r * width + c) + k] / 9.0;
      }
  }
};

Map readMap(const std::string& path) {
  Map m;
  FILE* f = fopen(path.c_str(), "rb");
  if (!f) return m;
  int maxval = 0;
  if (fscanf(f, "P6 %d %d %d", &m.width, &m.height, &maxval) == 3 && maxval == 255) {
    fgetc(f);
    m.rgb.resize(3 * m.width * m.height);
    if (fread(m.rgb.data(), 1, m.rgb.size(), f) != m.rgb.size()) m.rgb.clear();
  }
  fclose(f);
  return m;
}

class VmDrawGL : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(kSide, kSide), 0) << "Xvfb could not be started";
    glViewport(0, 0, kSide, kSide);
  }
  void TearDown() override {
    freeTexObjs(texObjs, nTexObjs);
    texObjs = nullptr;
    nTexObjs = 0;
    free(sliderTex);
    sliderTex = nullptr;
    nSliderTex = 0;
    texChoice = 0;
  }
  // Loads the real maps and shows the one of the given name alone, at full intensity.
  void showMap(const char* name) {
    char texFile[kPathSize] = "";
    testsupport::stderrOf([&] { ASSERT_EQ(readMWTexture(texFile, testsupport::sourceDir().c_str()), 1); });
    ASSERT_EQ(bindTexObjs(texObjs, nTexObjs), 1);
    int index = -1;
    for (int i = 0; i < nTexObjs; i++)
      if (strcmp(texObjs[i].name, name) == 0) index = i;
    ASSERT_GE(index, 0) << name;
    texChoice = 1;
    showWhichTexture = kTexListBase + index;
    sliderTexAlpha = 1.0f;
  }
  // Camera at the observer looking towards galactic l, b with the north galactic pole up.
  static void lookAt(double l, double b, double fovy) {
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(fovy, 1.0, 1.0, 5000.0);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    double lr = l * kRadiansPerDegree, br = b * kRadiansPerDegree;
    gluLookAt(0, 0, 0, cos(br) * cos(lr), cos(br) * sin(lr), sin(br), 0, 0, 1);
  }
  // The pixel (bottom row first) where the direction l, b lands.
  static bool project(double l, double b, int* x, int* y) {
    double m[16], p[16];
    int vp[4];
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    glGetDoublev(GL_PROJECTION_MATRIX, p);
    glGetIntegerv(GL_VIEWPORT, vp);
    double lr = l * kRadiansPerDegree, br = b * kRadiansPerDegree, wx, wy, wz;
    if (!gluProject(100 * cos(br) * cos(lr), 100 * cos(br) * sin(lr), 100 * sin(br), m, p, vp, &wx, &wy, &wz))
      return false;
    *x = (int)wx, *y = (int)wy;
    return wx >= 0 && wx < kSide && wy >= 0 && wy < kSide;
  }
};

// Looking towards the galactic centre, what is drawn at each direction is the map's own pixel
// there, and fits it far better than the map turned left for right or upside down.
TEST_F(VmDrawGL, TheMilkyWaySphereShowsTheMapWhereItsLongitudeAndLatitudeSay) {
  VELMORA_REQUIRE_SKY_DATA();
  Map map = readMap(testsupport::sourceDir() + "/Images/milkyway.ppm");
  ASSERT_FALSE(map.rgb.empty());
  showMap("Visible");
  lookAt(0, 0, 80);
  glClearColor(0, 0, 0, 0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  drawMilkyway();
  std::vector<unsigned char> px = testsupport::readPixelsRGB(0, 0, kSide, kSide);

  double right = 0, mirrored = 0, flipped = 0, brightness = 0;
  int n = 0;
  for (double l = -30; l <= 30; l += 5)
    for (double b = -20; b <= 20; b += 4) {
      int x, y;
      ASSERT_TRUE(project(l, b, &x, &y)) << l << " " << b;
      double want[3], mirror[3], flip[3];
      map.at(l, b, want);
      map.at(-l, b, mirror);
      map.at(l, -b, flip);
      for (int k = 0; k < 3; k++) {
        double got = px[3 * (y * kSide + x) + k];
        right += std::fabs(got - want[k]);
        mirrored += std::fabs(got - mirror[k]);
        flipped += std::fabs(got - flip[k]);
        brightness += got;
      }
      n++;
    }
  EXPECT_GT(brightness / (3 * n), 20.0) << "the galactic centre region is bright in the visible map";
  EXPECT_LT(right / (3 * n), 12.0);
  EXPECT_LT(right, 0.5 * mirrored);
  EXPECT_LT(right, 0.5 * flipped);

  // The galactic centre lands at the middle of the picture.
  int x, y;
  ASSERT_TRUE(project(0, 0, &x, &y));
  EXPECT_NEAR(x, kSide / 2, 1);
  EXPECT_NEAR(y, kSide / 2, 1);
  // VELMORA_TEST_SHOTS=1 keeps the picture for a look.
  if (getenv("VELMORA_TEST_SHOTS"))
    testsupport::writeFile(
        "/tmp/vmdraw_milkyway.ppm",
        "P6 " + std::to_string(kSide) + " " + std::to_string(kSide) + " 255\n" + [&] {
          std::string rows;
          for (int r = kSide - 1; r >= 0; r--) rows.append((const char*)&px[3 * r * kSide], 3 * kSide);
          return rows;
        }());
}

// Without maps, or with the choice "none", the sphere isn't drawn.
TEST_F(VmDrawGL, NoMapChosenDrawsNoSphere) {
  VELMORA_REQUIRE_SKY_DATA();
  showMap("Visible");
  texChoice = 0;
  lookAt(0, 0, 80);
  glClear(GL_COLOR_BUFFER_BIT);
  drawMilkyway();
  std::vector<unsigned char> px = testsupport::readPixelsRGB(0, 0, kSide, kSide);
  for (unsigned char c : px) ASSERT_EQ(c, 0);
}

// The two info lines, in galactic and in equatorial terms, with the chosen number of decimals.
TEST(VmDrawInfo, DirectionLinesSayWhereTheModelAndTheScreenLook) {
  struct Case {
    double v[3];
    bool model;
    int radec, places;
    const char* want;
  };
  const Case cases[] = {
      {{1, 0, 0}, true, 0, 2, "model centered at Gal.(l,b) (0.00,0.00)"},
      {{0, -2, 0}, false, 0, 2, "screen centered at Gal.(l,b) (270.00,0.00)"},
      {{0, 0, 1}, true, 0, 1, "model centered at Gal.(l,b) (0.0,90.0)"},
      {{0, 1, 1}, false, 0, 3, "screen centered at Gal.(l,b) (90.000,45.000)"},
  };
  for (const Case& c : cases) {
    showRaDec = c.radec;
    printDecPlace = c.places;
    char text[256];
    formatDirectionInfo(c.v, c.model, text, sizeof text);
    EXPECT_STREQ(text, c.want);
  }
  // The galactic centre is at RA 17h45.6m, Dec -28.94 in the system's turn of axes.
  showRaDec = 1;
  printDecPlace = 2;
  char text[256];
  double centre[3] = {1, 0, 0};
  formatDirectionInfo(centre, true, text, sizeof text);
  double ra = 0, dec = 0;
  ASSERT_EQ(sscanf(text, "model centered at Eqn.(Ra/Dec) (%lfh,%lf)", &ra, &dec), 2) << text;
  EXPECT_NEAR(ra, 17.76, 0.02);
  EXPECT_NEAR(dec, -28.94, 0.05);
  showRaDec = 0;
}

// Each overlay switch draws where it should on an otherwise black sky, and nothing without it.
TEST_F(VmDrawGL, EachOverlaySwitchChangesItsOwnPixels) {
  struct Case {
    const char* what;
    int* flag;
    int x0, y0, x1, y1;  // the region, in pixels from the lower left, that must light up
  };
  picked = 1;
  pickedStar = NODE_StarObject();
  pickedStar.HD = 1;
  pickedStar.pos.x = -1;  // behind the camera: its marker stays out of the picture
  copyText(pickStarBVStr, "0.65", kPickTextSize);
  const Case cases[] = {
      {"centre line", &showCenterLine, kSide / 4, kSide / 2 - 2, 3 * kSide / 4, kSide / 2 + 2},
      // The flat texts count y from the top of the picture.
      {"view locked", &lockView, 0, 9 * kSide / 10, kSide / 3, kSide},
      {"star info", &showStarInfo, 0, 4 * kSide / 5, kSide / 3, kSide},
      {"look-at line", &showLookAtDir, 0, 0, kSide, kSide / 10},
  };
  int* all[] = {&showCenterLine, &lockView, &showStarInfo, &showLookAtDir, &showAlignModelInfo, &showAnchor};
  for (const Case& c : cases) {
    for (int* f : all) *f = 0;
    *c.flag = 1;
    lookAt(0, 0, 60);
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    drawSky(0, 0.0);
    std::vector<unsigned char> px = testsupport::readPixelsRGB(0, 0, kSide, kSide);
    int lit = 0;
    for (int y = c.y0; y < c.y1; y++)
      for (int x = c.x0; x < c.x1; x++) lit += px[3 * (y * kSide + x)] > 0;
    EXPECT_GT(lit, 10) << c.what;
  }
  for (int* f : all) *f = 0;
  lookAt(0, 0, 60);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  picked = 0;
  drawSky(0, 0.0);
  std::vector<unsigned char> px = testsupport::readPixelsRGB(0, 0, kSide, kSide);
  for (unsigned char v : px) ASSERT_EQ(v, 0) << "all overlays off draws nothing";
  showStarInfo = 1;
}

// The marker labels: HD number or common name, with the constellation when the star has one.
TEST(VmDrawInfo, MarkerLabelsFollowTheConstellationAndTheCommonNameSwitch) {
  struct Case {
    const char* constell;
    int common;
    const char* want;
  };
  const Case cases[] = {
      {"-", 0, " HD48915"},
      {"-", 1, " Sirius"},
      {"Canis Major", 0, " HD48915 (Canis Major)"},
      {"Canis Major", 1, " Sirius (Canis Major)"},
  };
  NODE_StarObject star;
  star.HD = 48915;
  copyText(star.commonName, "Sirius", sizeof star.commonName);
  for (const Case& c : cases) {
    copyText(star.constellName, c.constell, sizeof star.constellName);
    showCommonName = c.common;
    char label[128];
    formatMarkerLabel(star, label, sizeof label);
    EXPECT_STREQ(label, c.want);
  }
  showCommonName = 1;
}

// The info box's lines, lowest first; none for no pick or the anchor's copy; higher when locked.
TEST(VmDrawInfo, StarInfoLinesAndWhereTheBoxStands) {
  copyText(pickStarBVStr, "0.65", kPickTextSize);
  copyText(pickStarSpTypeStr, "G2V", kPickTextSize);
  copyText(pickStarLStr, "12.5", kPickTextSize);
  copyText(pickStarBStr, "-3.25", kPickTextSize);
  copyText(pickStarDistParsecStr, "2.64", kPickTextSize);
  copyText(pickStarDistLightYearStr, "8.6", kPickTextSize);
  char lines[kStarInfoLines][kStarInfoLineSize];
  float y = 0;
  picked = 0;
  EXPECT_EQ(starInfoLines(lines, &y), 0);
  picked = 1;
  pickedStar.HD = kAnchorHD;
  EXPECT_EQ(starInfoLines(lines, &y), 0) << "the anchor's copy shows no box";
  pickedStar.HD = 48915;
  lockView = 0;
  showRaDec = 0;
  ASSERT_EQ(starInfoLines(lines, &y), kStarInfoLines);
  EXPECT_FLOAT_EQ(y, 0.05f);
  const char* gal[] = {"BV: 0.65",     "Sp: G2V",           "Gal L: 12.5",
                       "Gal B: -3.25", "Dist: 2.64 parsec", "Dist: 8.6 ly"};
  for (int i = 0; i < kStarInfoLines; i++) EXPECT_STREQ(lines[i], gal[i]);
  lockView = 1;
  showRaDec = 1;
  ASSERT_EQ(starInfoLines(lines, &y), kStarInfoLines);
  EXPECT_FLOAT_EQ(y, 0.12f) << "clears [View Locked]";
  EXPECT_STREQ(lines[2], "RA: 12.5");
  EXPECT_STREQ(lines[3], "Dec: -3.25");
  lockView = 0;
  showRaDec = 0;
  picked = 0;
}

// Two maps cross-faded: with the second weight 0 only the first map's pass is drawn, and the
// picture is that of the first map alone; a second weight above 0 adds the other map over it.
TEST_F(VmDrawGL, CrossFadeWithSecondWeightZeroDrawsTheFirstMapOnly) {
  VELMORA_REQUIRE_SKY_DATA();
  showMap("Visible");
  ASSERT_GE(nTexObjs, 2);
  lookAt(0, 0, 80);
  auto frame = [] {
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    drawMilkyway();
    return testsupport::readPixelsRGB(0, 0, kSide, kSide);
  };
  std::vector<unsigned char> single = frame();
  int index = showWhichTexture - kTexListBase;
  int other = index == 0 ? 1 : 0;
  texChoice = 2;
  sliderTexID1 = texObjs[index].texId;
  sliderTexID2 = texObjs[other].texId;
  sliderTexAlpha1 = 1.0f;
  sliderTexAlpha2 = 0.0f;
  EXPECT_EQ(frame(), single);
  sliderTexAlpha2 = 1.0f;
  std::vector<unsigned char> both = frame();
  long brighter = 0;
  for (size_t i = 0; i < both.size(); i++) brighter += both[i] > single[i];
  EXPECT_GT(brighter, 1000) << "the second map is added over the first";
}

}  // namespace

namespace {

constexpr double kWideFovy = 60.0;

// The whole scene as the program starts it: the misplaced M51 image, the real catalogue and
// parameter file, and the real Milky Way maps; each frame drawn by drawSky on a black clear.
class VmDrawScene : public testing::Test {
 protected:
  void SetUp() override {
    VELMORA_REQUIRE_SKY_DATA();
    ASSERT_NE(testsupport::openGLWindow(kSide, kSide), 0) << "Xvfb could not be started";
    glViewport(0, 0, kSide, kSide);
    fullScreen = 0;
    View view = initView();
    resetView(&view);
    std::string base = testsupport::sourceDir() + "/";
    copyText(basedir, base.c_str(), sizeof basedir);
    setenv("TOPDIR", "/nonexistent-velmora-top", 1);
    std::string model = testsupport::sourceDir() + "/samples/m51-misplaced.obj";
    std::vector<char*> argv = {model.data(), nullptr};
    int result = -1;
    testsupport::stderrOf([&] { testsupport::stdoutOf([&] { result = initScene(1, argv.data()); }); });
    ASSERT_EQ(result, 0);
    ASSERT_NE(texObjs, nullptr) << "the Milky Way maps were read";
    ASSERT_NE(starList, nullptr);
    // The framework's drawing state (myGLInit), square picture.
    glEnable(GL_DEPTH_TEST);
    glEnable(GL_BLEND);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glEnable(GL_LINE_SMOOTH);
    currAspect = 1.0;
    fixInitView();
    // Everything but the model off; each test turns on what it looks at.
    texChoice = 0;
    showStarsFlag = showLookAtDir = showAlignModelInfo = showStarInfo = 0;
    picked = showAnchor = 0;
  }
  void TearDown() override {
    deleteScene();
    starList = nullptr;
    alignModel = nullptr;
    texObjs = nullptr;
    nTexObjs = 0;
    sliderTex = nullptr;
    nSliderTex = 0;
    unsetenv("TOPDIR");
  }
  static std::vector<unsigned char> frame() {
    glClearColor(0, 0, 0, 0);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    drawSky(0, currLogScale);
    return testsupport::readPixelsRGB(0, 0, kSide, kSide);
  }
  static int lit(const std::vector<unsigned char>& px) {
    int n = 0;
    for (size_t i = 0; i < px.size(); i += 3) n += px[i] || px[i + 1] || px[i + 2];
    return n;
  }
  static int differing(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b) {
    int n = 0;
    for (size_t i = 0; i < a.size(); i += 3)
      n += a[i] != b[i] || a[i + 1] != b[i + 1] || a[i + 2] != b[i + 2];
    return n;
  }
  static const unsigned char* pixel(const std::vector<unsigned char>& px, int x, int y) {
    return &px[3 * (y * kSide + x)];
  }
  // Window pixel of the world direction v as the current matrices put it.
  static bool project(const double v[3], int* x, int* y) {
    double m[16], p[16], wx, wy, wz;
    int vp[4];
    glGetDoublev(GL_MODELVIEW_MATRIX, m);
    glGetDoublev(GL_PROJECTION_MATRIX, p);
    glGetIntegerv(GL_VIEWPORT, vp);
    if (!gluProject(v[0], v[1], v[2], m, p, vp, &wx, &wy, &wz) || wz > 1) return false;
    *x = (int)wx, *y = (int)wy;
    return wx >= 0 && wx < kSide && wy >= 0 && wy < kSide;
  }
  // Turns the whole alignment about the observer, as a turn about a sky axis does, so that the
  // model's centre goes to the unit direction dir; then frames it anew.
  static void turnModelTo(const double dir[3]) {
    double from[3] = {alignModelMatrix[12], alignModelMatrix[13], alignModelMatrix[14]};
    unify3D(from);
    double axis[3];
    cross3D(from, dir, axis);
    unify3D(axis);
    double angle = std::acos(from[0] * dir[0] + from[1] * dir[1] + from[2] * dir[2]) / kRadiansPerDegree;
    glMatrixMode(GL_MODELVIEW);
    glPushMatrix();
    glLoadIdentity();
    glRotated(angle, axis[0], axis[1], axis[2]);
    glMultMatrixd(alignModelMatrix);
    glGetDoublev(GL_MODELVIEW_MATRIX, alignModelMatrix);
    glPopMatrix();
    fixInitView();
  }
  static void save(const char* name, const std::vector<unsigned char>& px) {
    if (!getenv("VELMORA_TEST_SHOTS")) return;
    std::string rows;
    for (int r = kSide - 1; r >= 0; r--) rows.append((const char*)&px[3 * r * kSide], 3 * kSide);
    testsupport::writeFile(std::string("/tmp/") + name + ".ppm",
                           "P6 " + std::to_string(kSide) + " " + std::to_string(kSide) + " 255\n" + rows);
  }
};

// The Milky Way lies behind the model: with the model turned onto the bright galactic centre,
// where the opaque model stands the picture is the model's whether the map is shown or not.
TEST_F(VmDrawScene, TheMilkyWayIsBehindTheModel) {
  const double centre[3] = {1, 0, 0};
  turnModelTo(centre);
  std::vector<unsigned char> model = frame();
  texChoice = 1;
  int visible = -1;
  for (int i = 0; i < nTexObjs; i++)
    if (strcmp(texObjs[i].name, "Visible") == 0) visible = i;
  ASSERT_GE(visible, 0);
  showWhichTexture = kTexListBase + visible;
  sliderTexAlpha = 1.0f;
  std::vector<unsigned char> both = frame();
  save("vmdraw_model_on_milkyway", both);
  showAlignModel = 0;
  std::vector<unsigned char> sky = frame();
  showAlignModel = 1;

  int c = kSide / 2;
  EXPECT_GT(lit(model), kSide * kSide / 20) << "the model fills part of the first view";
  int covered = 0, same = 0;
  for (int y = c - 20; y < c + 20; y++)
    for (int x = c - 20; x < c + 20; x++) {
      const unsigned char* m = pixel(model, x, y);
      if (!(m[0] || m[1] || m[2])) continue;
      covered++;
      same += memcmp(m, pixel(both, x, y), 3) == 0;
    }
  ASSERT_GT(covered, 1000);
  EXPECT_EQ(same, covered) << "no map shows through the opaque model";
  EXPECT_GT(differing(both, sky), 1000) << "the model hides the map where it stands";
  EXPECT_GT(lit(sky), 1000) << "without the model the map fills the view";
}

// The model hides nothing that follows it: with the model moved over Sirius, the star is drawn
// over the model, as bright as it is on the empty sky.
TEST_F(VmDrawScene, StarsAreDrawnOverTheModel) {
  NODE_StarObject sirius;
  ASSERT_EQ(starList->getStarByHD(&sirius, 48915), 1);
  double dir[3] = {sirius.pos.x, sirius.pos.y, sirius.pos.z};
  unify3D(dir);
  turnModelTo(dir);
  int x, y;
  ASSERT_TRUE(project(dir, &x, &y));

  std::vector<unsigned char> model = frame();
  showStarsFlag = 1;
  std::vector<unsigned char> over = frame();
  save("vmdraw_sirius_over_model", over);
  showAlignModel = 0;
  std::vector<unsigned char> alone = frame();
  showAlignModel = 1;

  const unsigned char* m = pixel(model, x, y);
  const unsigned char* o = pixel(over, x, y);
  const unsigned char* a = pixel(alone, x, y);
  EXPECT_TRUE(m[0] || m[1] || m[2]) << "the model covers Sirius' pixel";
  EXPECT_GT(o[0] + o[1] + o[2], m[0] + m[1] + m[2] + 150) << "the star shows over the model";
  for (int k = 0; k < 3; k++) EXPECT_GE(o[k], a[k]) << "at least as bright as on the empty sky";
}

// Each switch of the scene draws something that isn't there without it. The view looks at the
// model; the axes, whose lines run out from the eye, show their labels where the view looks
// along their x axis.
TEST_F(VmDrawScene, EachSwitchChangesThePicture) {
  struct Case {
    const char* what;
    int* flag;
    double l, b;  // where to look, or l > 360 for the first view on the model
    int atLeast;  // pixels that must change
  };
  const Case cases[] = {
      {"model", &showAlignModel, 999, 0, 5000},
      {"outline", &showAlignModelOutline, 999, 0, 200},
      {"box", &showAlignModelBBox, 999, 0, 200},
      {"model axes", &showAlignModelAxes, 999, 0, 100},
      {"model info line", &showAlignModelInfo, 999, 0, 200},
      {"look-at line", &showLookAtDir, 999, 0, 200},
      {"centre line", &showCenterLine, 999, 0, 200},
      {"view locked", &lockView, 999, 0, 200},
      {"stars", &showStarsFlag, 205, -17, 100},  // Orion
      {"constellation lines", &showConstellationLines, 205, -17, 100},
      {"constellation names", &showConstellationNames, 205, -17, 50},
      {"constellation bounds", &showConstellationBounds, 205, -17, 100},
      {"galactic grid", &showGalSphere, 999, 0, 200},
      {"equatorial grid", &showEqnSphere, 999, 0, 200},
      {"supergalactic grid", &showSGalSphere, 999, 0, 200},
      {"supergalactic axes", &showSGalAxesFlag, 137.4, 0, 20},
      {"equatorial axes", &showEqnAxesFlag, 96.34, -60.19, 20},
  };
  int* all[] = {
      &showAlignModel,     &showAlignModelOutline,  &showAlignModelBBox,     &showAlignModelAxes,
      &showAlignModelInfo, &showLookAtDir,          &showCenterLine,         &lockView,
      &showStarsFlag,      &showConstellationLines, &showConstellationNames, &showConstellationBounds,
      &showGalSphere,      &showEqnSphere,          &showSGalSphere,         &showSGalAxesFlag,
      &showEqnAxesFlag};
  for (const Case& c : cases) {
    for (int* f : all) *f = 0;
    if (c.l > 360) {
      fixInitView();
    } else {
      double v[3];
      lbToVec(c.l, c.b, v);
      glMatrixMode(GL_PROJECTION);
      glLoadIdentity();
      currFovy = kWideFovy;
      gluPerspective(currFovy, 1, 0.01, 10000);
      glMatrixMode(GL_MODELVIEW);
      glLoadIdentity();
      gluLookAt(0, 0, 0, v[0], v[1], v[2], 0, 0, 1);
    }
    std::vector<unsigned char> off = frame();
    *c.flag = 1;
    std::vector<unsigned char> on = frame();
    save((std::string("vmdraw_switch_") + std::to_string(&c - cases)).c_str(), on);
    EXPECT_GE(differing(on, off), c.atLeast) << c.what;
  }
  for (int* f : all) *f = 0;
}

// A model without normals says so on every frame that asks for them.
TEST_F(VmDrawScene, NormalsAskedOfAModelWithoutThemAreReportedEveryFrame) {
  showAlignModelNormal = 1;
  std::string out = testsupport::stdoutOf([] {
    frame();
    frame();
  });
  EXPECT_EQ(out,
            "No Vertex/Face normal in the input obj file.\nNo Vertex/Face normal in the input obj file.\n");
  showAlignModelNormal = 0;
  EXPECT_EQ(testsupport::stdoutOf([] { frame(); }), "");
}

// Alpha exactly 0 skips the model but not its outline, which then has alpha 0: with blending off
// the outline shows in its own colour and nothing of the fill; with blending on nothing shows.
TEST_F(VmDrawScene, AlphaZeroSkipsTheModelButDrawsItsOutlineAtAlphaZero) {
  alignModelAlpha = 0.0f;
  showAlignModelOutline = 1;
  glDisable(GL_BLEND);
  std::vector<unsigned char> px = frame();
  save("vmdraw_alpha0_outline", px);
  int yellow = 0, other = 0;
  for (size_t i = 0; i < px.size(); i += 3) {
    if (!(px[i] || px[i + 1] || px[i + 2])) continue;
    bool isYellow = px[i] > 150 && px[i + 1] > 150 && px[i + 2] < 0.6 * px[i];
    (isYellow ? yellow : other)++;
  }
  EXPECT_GT(yellow, 200) << "the outline is drawn";
  EXPECT_LT(other, yellow / 10) << "the fill is not";
  glEnable(GL_BLEND);
  EXPECT_EQ(lit(frame()), 0) << "blended, an outline of alpha 0 leaves no trace";
}

// At 0.999 and above the model takes the opaque path, with no blend set-up; below, it is blended.
TEST_F(VmDrawScene, AlphaFrom0Point999IsDrawnOpaque) {
  struct Case {
    float alpha;
    GLint blendSource;
  };
  const Case cases[] = {
      {1.0f, GL_ONE}, {0.9995f, GL_ONE}, {0.999f, GL_ONE}, {0.998f, GL_SRC_ALPHA}, {0.5f, GL_SRC_ALPHA}};
  for (const Case& c : cases) {
    alignModelAlpha = c.alpha;
    glBlendFunc(GL_ONE, GL_ZERO);
    frame();
    GLint source = 0;
    glGetIntegerv(GL_BLEND_SRC_RGB, &source);
    EXPECT_EQ(source, c.blendSource) << c.alpha;
  }
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  alignModelAlpha = 1.0f;
}

// The markers, looking at the anchor's place (galactic x) with nothing else shown.
class VmDrawMarkers : public VmDrawScene {
 protected:
  void SetUp() override {
    VmDrawScene::SetUp();
    if (IsSkipped() || HasFatalFailure()) return;
    showAlignModel = showAlignModelOutline = 0;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(kWideFovy, 1, 0.01, 10000);
    currFovy = kWideFovy;
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    // Seen corner-on, the cube's edges and the cross's arms run the same ways from the centre.
    const double d = 1 / std::sqrt(3.0);
    anchor.pos = PHCoord{d, d, d, currLogScale};
    gluLookAt(0, 0, 0, d, d, d, 0, 0, 1);
    star = NODE_StarObject();
    star.pos = anchor.pos;
    star.HD = 48915;
    copyText(star.commonName, "Sirius", sizeof star.commonName);
    copyText(star.constellName, "-", sizeof star.constellName);
  }
  // Bounding box (x0, y0, x1, y1) of the lit pixels; x0 > x1 when none.
  static void bounds(const std::vector<unsigned char>& px, int box[4]) {
    box[0] = box[1] = kSide, box[2] = box[3] = -1;
    for (int y = 0; y < kSide; y++)
      for (int x = 0; x < kSide; x++) {
        const unsigned char* p = pixel(px, x, y);
        if (!(p[0] || p[1] || p[2])) continue;
        box[0] = std::min(box[0], x), box[1] = std::min(box[1], y);
        box[2] = std::max(box[2], x), box[3] = std::max(box[3], y);
      }
  }
  NODE_StarObject star;
};

// Anchor shown and star picked at once: both markers are drawn, the star's first, so where they
// meet the anchor's colour is on top.
TEST_F(VmDrawMarkers, AnchorAndPickedStarAreBothMarkedTheStarFirst) {
  pickedStar = star;
  picked = 1;
  std::vector<unsigned char> starOnly = frame();
  picked = 0;
  showAnchor = 1;
  std::vector<unsigned char> anchorOnly = frame();
  picked = 1;
  std::vector<unsigned char> both = frame();
  save("vmdraw_markers_both", both);
  ASSERT_GT(lit(starOnly), 50);
  ASSERT_GT(lit(anchorOnly), 20);
  int overlap = 0, anchorOnTop = 0, starKept = 0, starPixels = 0;
  // The cube is grey, the cross yellow: blue tells them apart.
  for (int y = 0; y < kSide; y++)
    for (int x = 0; x < kSide; x++) {
      const unsigned char* s = pixel(starOnly, x, y);
      const unsigned char* a = pixel(anchorOnly, x, y);
      const unsigned char* b = pixel(both, x, y);
      bool sLit = s[0] || s[1] || s[2], aLit = a[0] || a[1] || a[2];
      if (sLit && !aLit) {
        starPixels++;
        starKept += memcmp(s, b, 3) == 0;
      }
      // Where both are bright the later one decides.
      if (a[0] > 150 && s[0] > 150 && s[2] > a[2] + 60) {
        overlap++;
        anchorOnTop += std::abs(b[2] - a[2]) < std::abs(b[2] - s[2]);
      }
    }
  EXPECT_EQ(starKept, starPixels) << "the star's marker is all there";
  ASSERT_GT(overlap, 4) << "the cross runs along the cube's edges";
  EXPECT_GT(anchorOnTop, overlap * 9 / 10) << "the anchor is drawn after the star";
}

// The anchor's copy as the picked record: a cross without a label and no info box; the anchor
// itself carries its text.
TEST_F(VmDrawMarkers, TheAnchorsCopyIsACrossWithoutLabelOrBox) {
  showStarInfo = 1;
  pickedStar = anchor;
  picked = 1;
  std::vector<unsigned char> copy = frame();
  picked = 0;
  showAnchor = 1;
  copyText(anchorText, " (0.00,0.00)", sizeof anchorText);
  std::vector<unsigned char> itself = frame();
  save("vmdraw_anchor_copy", copy);
  save("vmdraw_anchor_itself", itself);
  int c[4], a[4];
  bounds(copy, c);
  bounds(itself, a);
  ASSERT_LE(c[0], c[2]) << "the cross is drawn";
  int w = c[2] - c[0], h = c[3] - c[1];
  EXPECT_NEAR(w, h, 3) << "only the cross: as wide as high";
  EXPECT_NEAR((c[0] + c[2]) / 2, kSide / 2, 2);
  EXPECT_NEAR((c[1] + c[3]) / 2, kSide / 2, 2);
  EXPECT_GT(a[2] - a[0], 3 * w) << "the anchor itself has its text beside the cross";
  // No box: the upper left corner stays clear.
  for (int y = kSide * 3 / 4; y < kSide; y++)
    for (int x = 0; x < kSide / 3; x++) ASSERT_EQ(pixel(copy, x, y)[0], 0) << x << "," << y;
}

// A star exactly at the observer's position gets a marker of size 0: nothing to see.
TEST_F(VmDrawMarkers, AStarAtTheObserverHasAMarkerOfSizeZero) {
  star.pos = PHCoord{0, 0, 0, currLogScale};
  pickedStar = star;
  picked = 1;
  EXPECT_LE(lit(frame()), 1);
  // The same star a little away has a marker of its true size.
  pickedStar.pos = anchor.pos;
  EXPECT_GT(lit(frame()), 50);
}

// The picked star's box under "[View Locked]": the box moves down the picture by 0.07 of its
// height so that the text stays clear.
TEST_F(VmDrawMarkers, WithTheViewLockedTheInfoBoxClearsTheText) {
  pickedStar = star;
  picked = 1;
  showStarInfo = 1;
  auto topOfBox = [](const std::vector<unsigned char>& px) {
    // The box's border: the first bright grey row from the top in a column right of the texts.
    int x = (int)(0.28 * kSide);
    for (int y = kSide - 1; y >= 0; y--) {
      const unsigned char* p = pixel(px, x, y);
      if (p[0] > 100 && p[1] > 100 && p[2] > 100) return kSide - 1 - y;
    }
    return -1;
  };
  std::vector<unsigned char> unlocked = frame();
  lockView = 1;
  std::vector<unsigned char> locked = frame();
  save("vmdraw_box_locked", locked);
  lockView = 0;
  int a = topOfBox(unlocked), b = topOfBox(locked);
  ASSERT_GE(a, 0);
  EXPECT_NEAR(a, 0.02 * kSide, 2);
  EXPECT_NEAR(b, 0.09 * kSide, 2);
  // "[View Locked]" stands clear above the box.
  int text = 0;
  for (int y = kSide - b + 2; y < kSide; y++)
    for (int x = 0; x < kSide / 3; x++) text += pixel(locked, x, y)[0] > 150;
  EXPECT_GT(text, 50);
}

}  // namespace

namespace {

// With showConstellationPickedOnly only the picked star's figure is drawn, and none without a pick.
TEST_F(VmDrawScene, OnlyThePickedStarsConstellationIsDrawnWhenAsked) {
  double v[3];
  lbToVec(205, -17, v);  // Orion and its neighbours
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  currFovy = kWideFovy;
  gluPerspective(currFovy, 1, 0.01, 10000);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(0, 0, 0, v[0], v[1], v[2], 0, 0, 1);
  showAlignModel = 0;
  std::vector<unsigned char> none = frame();
  showConstellationLines = 1;
  std::vector<unsigned char> all = frame();
  NODE_StarObject betelgeuse;
  ASSERT_EQ(starList->getStarByHD(&betelgeuse, 39801), 1);
  ASSERT_NE(std::string(betelgeuse.constellName).find("Orion"), std::string::npos) << betelgeuse.constellName;
  pickedStar = betelgeuse;
  showConstellationPickedOnly = 1;
  picked = 0;
  EXPECT_EQ(differing(frame(), none), 0) << "no pick, no figure";
  picked = 1;
  // The picked star's marker is drawn too; it is the same with and without the figure.
  showConstellationLines = 0;
  std::vector<unsigned char> marker = frame();
  showConstellationLines = 1;
  std::vector<unsigned char> orion = frame();
  save("vmdraw_orion_only", orion);
  int own = differing(orion, marker), every = differing(all, none);
  EXPECT_GT(own, 100) << "Orion's figure";
  EXPECT_LT(own, every / 2) << "and not the others";
  showConstellationPickedOnly = 0;
  showConstellationLines = 0;
}

// A pick pass draws nothing and hands the pixel to the pick: on empty sky the anchor moves there.
TEST_F(VmDrawScene, APickPassOnlyPicks) {
  showStarsFlag = 1;
  showLookAtDir = 1;
  picked = 1;
  pickedStar = anchor;
  pickAtX = 10;
  pickAtY = 10;
  PHCoord before = anchor.pos;
  glClearColor(0, 0, 0, 0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  testsupport::stdoutOf([] { renderScene(0, 0, 0, currLogScale, 1); });
  EXPECT_EQ(lit(testsupport::readPixelsRGB(0, 0, kSide, kSide)), 0);
  EXPECT_EQ(picked, 0) << "no star at the corner of the first view";
  EXPECT_NE(anchor.pos.x, before.x) << "the anchor moved to the corner";
}

// After a frame the panel's mirrors hold the framework's field of view (a difference within 1e-5
// counts as none), its axes switch and, only while the aspect is fixed, its aspect.
TEST_F(VmDrawScene, AFrameCopiesTheFrameworksValuesToThePanelsMirrors) {
  struct Case {
    double fovy;
    float fovyMirror, wantFovy;
    int fixAspect;
    float wantAspect;
    int axes;
  };
  const Case cases[] = {
      {33.0, 0.0f, 33.0f, 0, 0.25f, 1},
      {10.000001, 10.0f, 10.0f, 1, 1.5f, 0},
      {10.0001, 10.0f, 10.0001f, 0, 0.25f, 0},
  };
  for (const Case& c : cases) {
    currFovy = c.fovy;
    myCurrFovy = c.fovyMirror;
    currAspect = 1.5;
    myCurrAspect = 0.25f;
    fixAspectRatio = c.fixAspect;
    showAxesFlag = c.axes;
    myShowAxesFlag = 1 - c.axes;
    renderScene(0, 0, 0, currLogScale, 0);
    EXPECT_FLOAT_EQ(myCurrFovy, c.wantFovy) << c.fovy;
    EXPECT_FLOAT_EQ(myCurrAspect, c.wantAspect) << c.fovy;
    EXPECT_EQ(myShowAxesFlag, c.axes) << c.fovy;
  }
  fixAspectRatio = 0;
  showAxesFlag = 0;
}

// A reference model is drawn where its file puts it, at its shared opacity; at opacity 0 or with
// the switch off it isn't drawn.
TEST_F(VmDrawScene, TheReferenceModelStandsWhereItsFilePutsIt) {
  deleteScene();
  std::string model = testsupport::sourceDir() + "/samples/m51-misplaced.obj";
  std::string reference = testsupport::sourceDir() + "/samples/m51.obj";
  std::vector<char*> argv = {model.data(), reference.data(), nullptr};
  int result = -1;
  testsupport::stderrOf([&] { testsupport::stdoutOf([&] { result = initScene(2, argv.data()); }); });
  ASSERT_EQ(result, 0);
  ASSERT_EQ(nFixedModels, 1);
  texChoice = 0;
  showStarsFlag = showLookAtDir = showAlignModelInfo = showStarInfo = 0;
  showAlignModel = showAlignModelOutline = 0;
  // Look at the middle of the reference's corners.
  const _GLMmodel* ref = fixedModels[0];
  double mid[3] = {0, 0, 0};
  for (unsigned int i = 1; i <= ref->numvertices; i++)
    for (int k = 0; k < 3; k++) mid[k] += ref->vertices[3 * i + k] / ref->numvertices;
  unify3D(mid);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(0, 0, 0, mid[0], mid[1], mid[2], 0, 0, 1);
  struct Case {
    int show;
    float alpha;
    bool drawn;
  };
  const Case cases[] = {{1, 1.0f, true}, {1, 0.5f, true}, {1, 0.0f, false}, {0, 1.0f, false}};
  for (const Case& c : cases) {
    showFixedModels = c.show;
    alignFixedModelAlpha = c.alpha;
    std::vector<unsigned char> px = frame();
    const unsigned char* p = pixel(px, kSide / 2, kSide / 2);
    EXPECT_EQ(p[0] + p[1] + p[2] > 0, c.drawn) << c.show << " " << c.alpha;
  }
}

}  // namespace

namespace {

// A reference model nearer than the model under alignment hides it only while showFixedBehind is
// clear; with it set the reference is a backdrop and the aligned model is drawn over it.
TEST_F(VmDrawScene, AReferenceModelHidesTheAlignedModelOnlyWhenNotKeptBehind) {
  deleteScene();
  std::string model = testsupport::sourceDir() + "/samples/m51-misplaced.obj";
  std::string reference = testsupport::sourceDir() + "/samples/m51.obj";
  std::vector<char*> argv = {model.data(), reference.data(), nullptr};
  int result = -1;
  testsupport::stderrOf([&] { testsupport::stdoutOf([&] { result = initScene(2, argv.data()); }); });
  ASSERT_EQ(result, 0);
  ASSERT_EQ(nFixedModels, 1);
  texChoice = 0;
  showStarsFlag = showLookAtDir = showAlignModelInfo = showStarInfo = 0;
  showAlignModelOutline = 0;
  // The reference brought to half its distance (the same size on the sky), the aligned model
  // turned onto it.
  _GLMmodel* ref = fixedModels[0];
  double mid[3] = {0, 0, 0};
  for (unsigned int i = 1; i <= ref->numvertices; i++)
    for (int k = 0; k < 3; k++) {
      ref->vertices[3 * i + k] *= 0.5f;
      mid[k] += ref->vertices[3 * i + k];
    }
  unify3D(mid);
  turnModelTo(mid);
  alignModelObjScale[0] = alignModelObjScale[1] = 0.5f;  // wholly inside the reference's picture
  showAlignModel = 0;
  std::vector<unsigned char> refOnly = frame();
  showFixedModels = 0;
  showAlignModel = 1;
  std::vector<unsigned char> alignedOnly = frame();
  showFixedModels = 1;
  showFixedBehind = 0;
  std::vector<unsigned char> byDepth = frame();
  showFixedBehind = 1;
  std::vector<unsigned char> behind = frame();
  save("vmdraw_reference_by_depth", byDepth);
  save("vmdraw_reference_behind", behind);
  int c = kSide / 2;
  EXPECT_EQ(memcmp(pixel(byDepth, c, c), pixel(refOnly, c, c), 3), 0)
      << "the nearer reference hides the model";
  EXPECT_EQ(memcmp(pixel(behind, c, c), pixel(alignedOnly, c, c), 3), 0) << "kept behind, it hides nothing";
  EXPECT_NE(memcmp(pixel(refOnly, c, c), pixel(alignedOnly, c, c), 3), 0) << "the two differ there";
}

}  // namespace
