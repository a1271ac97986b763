// Renders the built all-sky maps on the sky sphere as the tool draws it (a quad strip of 18
// bands of 10 degrees, texture s growing with galactic longitude from 0 at l = 0, t = 0 at the
// north pole, seen from inside) and reads pixels back, to check the maps' orientation.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "skydata/skymaps.h"
#include "skydata/skymath.h"

using namespace skydata;

namespace {

const int kSize = 64;

void drawSphere() {
  glBegin(GL_QUAD_STRIP);
  for (int i = 0; i < 18; ++i) {
    const float b = i * 0.17453294f - 1.5707964f, b2 = b + 0.17453294f;
    for (int j = 0; j <= 36; ++j) {
      const float l = j * 0.17453294f;
      const float cl = (j == 0 || j == 36) ? 1.0f : std::cos(l),
                  sl = (j == 0 || j == 36) ? 0.0f : std::sin(l);
      const float s = j / 36.0f;
      glTexCoord2f(s, 1.0f - (i + 1) / 18.0f);
      glVertex3f(1000 * std::cos(b2) * cl, 1000 * std::cos(b2) * sl, 1000 * std::sin(b2));
      glTexCoord2f(s, 1.0f - i / 18.0f);
      glVertex3f(1000 * std::cos(b) * cl, 1000 * std::cos(b) * sl, 1000 * std::sin(b));
    }
  }
  glEnd();
}

// Mean green of the centre 4x4 pixels when looking from the origin towards (l, b).
double renderAt(double l, double b) {
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(4.0, 1.0, 0.01, 10000.0);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  const Vec3 d = angToVec(l, b);
  gluLookAt(0, 0, 0, d[0], d[1], d[2], 0, 0, 1);
  drawSphere();
  glFinish();
  const auto px = testsupport::readPixelsRGB(kSize / 2 - 2, kSize / 2 - 2, 4, 4);
  double s = 0;
  for (int i = 0; i < 16; ++i) s += px[i * 3 + 1];
  return s / 16;
}

double mapAt(const Image& m, double l, double b) {
  int x, y;
  lbToPixel(l, b, m.width, m.height, x, y);
  double s = 0;
  for (int dy = -1; dy <= 1; ++dy)
    for (int dx = -1; dx <= 1; ++dx)
      s += m.rgb[((size_t(y + dy) * m.width) + (x + dx + m.width) % m.width) * 3 + 1];
  return s / 9;
}

}  // namespace

TEST(SkyDataRender, MapsShowOnTheSphereWhereTheirLongitudeAndLatitudeSay) {
  const std::string path = testsupport::sourceDir() + "/Images/milkyway.ppm";
  if (!testsupport::fileExists(testsupport::sourceDir() + "/data/.built"))
    GTEST_SKIP()
        << "the sky data is not built (scripts/data.sh could not fetch the packages); nothing to check";
  Image m;
  std::string err;
  ASSERT_TRUE(readPPM(path, m, err)) << err;
  ASSERT_NE(testsupport::openGLWindow(kSize, kSize), 0) << "Xvfb could not be started";
  GLuint tex;
  glGenTextures(1, &tex);
  glBindTexture(GL_TEXTURE_2D, tex);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, GL_LINEAR);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, GL_REPEAT);
  glTexParameteri(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, GL_REPEAT);
  glTexImage2D(GL_TEXTURE_2D, 0, GL_RGB, m.width, m.height, 0, GL_RGB, GL_UNSIGNED_BYTE, m.rgb.data());
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_DECAL);
  glEnable(GL_TEXTURE_2D);
  glEnable(GL_CULL_FACE);
  glCullFace(GL_FRONT);
  glDisable(GL_DEPTH_TEST);
  // Directions on and off the plane, on both sides of the centre; the Large Magellanic Cloud and
  // its mirror images tell a flipped map.
  const double dirs[][2] = {{280.5, -32.9}, {79.5, -32.9}, {280.5, 32.9}, {5, 3},   {-30, -2},
                            {30, 2},        {120, -5},     {200, 15},     {315, 0}, {60, 45}};
  for (const auto& d : dirs) {
    SCOPED_TRACE(std::to_string(d[0]) + " " + std::to_string(d[1]));
    EXPECT_NEAR(renderAt(d[0], d[1]), mapAt(m, d[0], d[1]), 12.0);
  }
  EXPECT_GT(renderAt(280.5, -32.9), renderAt(79.5, -32.9) + 20);
  EXPECT_GT(renderAt(280.5, -32.9), renderAt(280.5, 32.9) + 20);
  glDeleteTextures(1, &tex);
}
