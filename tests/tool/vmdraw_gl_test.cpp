// The tool's picture under a private X server: the Milky Way sphere's orientation against the real
// visible map, the info lines, and the model hiding nothing that follows it.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tool/texfile.h"
#include "tool/velmora.h"
#include "tool/vmdraw.h"

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
    testsupport::writeFile("/tmp/vmdraw_milkyway.ppm",
                         "P6 " + std::to_string(kSide) + " " + std::to_string(kSide) + " 255\n" +
                             [&] {
                               std::string rows;
                               for (int r = kSide - 1; r >= 0; r--)
                                 rows.append((const char*)&px[3 * r * kSide], 3 * kSide);
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

}  // namespace
