// Drawing models under Xvfb and reading the pixels back: every render-mode bit, opacity,
// textures, sorted drawing, display lists and normal lines.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

#include "model/glm.h"
#include "tests/model/glm_testutil.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

using glmtest::readText;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

constexpr int kSize = 64;

struct Pixel {
  int r, g, b;
};

class GlmDraw : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(kSize, kSize), 0) << "Xvfb could not be started";
    glClearColor(0, 0, 0, 1);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glDisable(GL_DEPTH_TEST);
    glDisable(GL_LIGHTING);
    glDisable(GL_BLEND);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_CULL_FACE);
    glColor4f(1, 1, 1, 1);
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    glOrtho(-1, 1, -1, 1, -10, 10);
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
  }
  // Pixel at window coordinates (x, y), bottom row 0.
  Pixel at(int x, int y) {
    glFinish();
    auto px = testsupport::readPixelsRGB(x, y, 1, 1);
    return {px[0], px[1], px[2]};
  }
  TempDir dir;
};

// Left half red (group "left", material red), right half green (group "right", material green),
// both at z = 0 with normals towards the viewer (+z) on the left and away on the right.
const char* kHalves =
    "mtllib m.mtl\n"
    "v -1 -1 0\nv 0 -1 0\nv 0 1 0\nv -1 1 0\nv 1 -1 0\nv 1 1 0\n"
    "vn 0 0 1\nvn 0 0 -1\n"
    "g left\nusemtl red\nf 1//1 2//1 3//1 4//1\n"
    "g right\nusemtl green\nf 2//2 5//2 6//2 3//2\n";
const char* kHalvesMtl = "newmtl red\nKd 1 0 0\nKa 0 0 0\nnewmtl green\nKd 0 1 0\nKa 0 0 0\n";

_GLMmodel* halves(TempDir& dir) {
  writeFile(dir.file("m.mtl"), kHalvesMtl);
  return readText(dir, "h.obj", kHalves);
}

std::string ppm(int w, int h, const std::vector<unsigned char>& rgb) {
  return "P6\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n" +
         std::string(rgb.begin(), rgb.end());
}

std::string pgm(int w, int h, const std::vector<unsigned char>& grey) {
  return "P5\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n" +
         std::string(grey.begin(), grey.end());
}

// 4 by 4: left two columns red, right two green.
std::string redGreenTexture() {
  std::vector<unsigned char> px;
  for (int y = 0; y < 4; y++)
    for (int x = 0; x < 4; x++) {
      px.push_back(x < 2 ? 255 : 0);
      px.push_back(x < 2 ? 0 : 255);
      px.push_back(0);
    }
  return ppm(4, 4, px);
}

void setupLight() {
  glEnable(GL_LIGHTING);
  glEnable(GL_LIGHT0);
  float pos[4] = {0, 0, 1, 0};
  float white[4] = {1, 1, 1, 1};
  float none[4] = {0, 0, 0, 1};
  glLightfv(GL_LIGHT0, GL_POSITION, pos);
  glLightfv(GL_LIGHT0, GL_DIFFUSE, white);
  glLightfv(GL_LIGHT0, GL_AMBIENT, none);
  glLightModelfv(GL_LIGHT_MODEL_AMBIENT, none);
  glLightModeli(GL_LIGHT_MODEL_TWO_SIDE, 0);
}

}  // namespace

TEST_F(GlmDraw, NoneDrawsInTheCurrentColour) {
  _GLMmodel* m = halves(dir);
  glColor3f(0, 0, 1);
  glmDraw(m, GLM_NONE);
  Pixel l = at(16, 32), r = at(48, 32);
  EXPECT_EQ(l.b, 255);
  EXPECT_EQ(l.r, 0);
  EXPECT_EQ(r.b, 255);
  glmDelete(m);
}

TEST_F(GlmDraw, ColourModeUsesEachGroupsDiffuse) {
  _GLMmodel* m = halves(dir);
  glmDraw(m, GLM_COLOR);
  Pixel l = at(16, 32), r = at(48, 32);
  EXPECT_EQ(l.r, 255);
  EXPECT_EQ(l.g, 0);
  EXPECT_EQ(r.r, 0);
  EXPECT_EQ(r.g, 255);
  // the attribute pop restores the current colour
  float c[4];
  glGetFloatv(GL_CURRENT_COLOR, c);
  EXPECT_FLOAT_EQ(c[0], 1.0f);
  EXPECT_FLOAT_EQ(c[1], 1.0f);
  glmDelete(m);
}

TEST_F(GlmDraw, MaterialModeWithSmoothNormals) {
  _GLMmodel* m = halves(dir);
  setupLight();
  glmDraw(m, GLM_MATERIAL | GLM_SMOOTH);
  Pixel l = at(16, 32), r = at(48, 32);
  // the left normals face the light: full red; the right ones face away: dark
  EXPECT_GT(l.r, 240);
  EXPECT_LT(l.g, 10);
  EXPECT_LT(r.g, 10);
  glDisable(GL_LIGHTING);
  glmDelete(m);
}

TEST_F(GlmDraw, MaterialModeWithFlatNormals) {
  _GLMmodel* m = halves(dir);
  glmFacetNormals(m);  // both halves wind towards the viewer: facet normals +z
  setupLight();
  glmDraw(m, GLM_MATERIAL | GLM_FLAT);
  EXPECT_GT(at(16, 32).r, 240);
  EXPECT_GT(at(48, 32).g, 240);
  glClear(GL_COLOR_BUFFER_BIT);
  glmFlipFaceNormals(m);
  glmDraw(m, GLM_MATERIAL | GLM_FLAT);
  EXPECT_LT(at(16, 32).r, 10);
  EXPECT_LT(at(48, 32).g, 10);
  glDisable(GL_LIGHTING);
  glmDelete(m);
}

TEST_F(GlmDraw, OpacityScalesAlphaOrAllComponents) {
  writeFile(dir.file("w.mtl"), "newmtl white\nKd 1 1 1 1\n");
  _GLMmodel* m = readText(dir, "w.obj",
                          "mtllib w.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nusemtl white\nf 1 2 3 4\n");
  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  // (1, 1, 1, 0.5) over black: half grey
  glmDrawOpacity(m, GLM_COLOR, 0.5);
  EXPECT_NEAR(at(32, 32).r, 128, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  // (0.5, 0.5, 0.5, 0.5) over black: a quarter
  glmDrawOpacity(m, GLM_COLOR | GLM_PREMULTIPLY, 0.5);
  EXPECT_NEAR(at(32, 32).r, 64, 1);
  glDisable(GL_BLEND);
  glClear(GL_COLOR_BUFFER_BIT);
  // opacity 0 is a draw, not a skip
  glmDrawOpacity(m, GLM_COLOR, 0.0);
  EXPECT_EQ(at(32, 32).r, 255);
  glmDelete(m);
}

TEST_F(GlmDraw, MaterialModeScalesByOpacity) {
  writeFile(dir.file("w.mtl"), "newmtl white\nKd 1 1 1 1\nKa 0 0 0\n");
  _GLMmodel* m = readText(dir, "w.obj",
                          "mtllib w.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nvn 0 0 1\nusemtl white\n"
                          "f 1//1 2//1 3//1 4//1\n");
  setupLight();
  glmDrawOpacity(m, GLM_MATERIAL | GLM_SMOOTH | GLM_PREMULTIPLY, 0.5);
  EXPECT_NEAR(at(32, 32).r, 128, 2);
  glDisable(GL_LIGHTING);
  glmDelete(m);
}

TEST_F(GlmDraw, TextureModeMapsTheImage) {
  writeFile(dir.file("rg.ppm"), redGreenTexture());
  writeFile(dir.file("t.mtl"), "newmtl tex\nTd replace rg.ppm\n");
  _GLMmodel* m = readText(dir, "t.obj",
                          "mtllib t.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\n"
                          "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nusemtl tex\nf 1/1 2/2 3/3 4/4\n");
  EXPECT_EQ(glmAnyTexture(m), 1);  // pending
  glmDraw(m, GLM_TEXTURE);
  EXPECT_EQ(m->materials[1].texPending, 0);
  EXPECT_NE(m->materials[1].texId, 0u);
  EXPECT_EQ(m->materials[1].texEnv, GL_REPLACE);
  EXPECT_EQ(glmAnyTexture(m), 1);  // built, with texture coordinates
  Pixel l = at(16, 32), r = at(48, 32);
  EXPECT_EQ(l.r, 255);
  EXPECT_EQ(l.g, 0);
  EXPECT_EQ(r.r, 0);
  EXPECT_EQ(r.g, 255);
  EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));  // restored by the attribute pop
  // without the texture bit, the plain colour
  glClear(GL_COLOR_BUFFER_BIT);
  glColor3f(0, 0, 1);
  glmDraw(m, GLM_NONE);
  EXPECT_EQ(at(16, 32).b, 255);
  EXPECT_EQ(at(16, 32).r, 0);
  glmDelete(m);
}

TEST_F(GlmDraw, ColourModeAlsoBuildsPendingTextures) {
  writeFile(dir.file("rg.ppm"), redGreenTexture());
  writeFile(dir.file("t.mtl"), "newmtl tex\nKd 0 0 1\nTd modulate rg.ppm\n");
  _GLMmodel* m = readText(dir, "t.obj", "mtllib t.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nusemtl tex\nf 1 2 3\n");
  glmDraw(m, GLM_COLOR);
  EXPECT_NE(m->materials[1].texId, 0u);
  EXPECT_EQ(m->materials[1].texPending, 0);
  EXPECT_EQ(m->materials[1].texEnv, GL_MODULATE);
  EXPECT_EQ(glmAnyTexture(m), 0);  // built, but the model has no texture coordinates
  glmDelete(m);
}

TEST_F(GlmDraw, AlphaFileMakesRGBA) {
  std::vector<unsigned char> white(4 * 4 * 3, 255), mask;
  for (int y = 0; y < 4; y++)
    for (int x = 0; x < 4; x++) mask.push_back(x < 2 ? 0 : 255);
  writeFile(dir.file("white.ppm"), ppm(4, 4, white));
  writeFile(dir.file("mask.pgm"), pgm(4, 4, mask));
  writeFile(dir.file("t.mtl"), "newmtl tex\nTd replace white.ppm mask.pgm\n");
  _GLMmodel* m = readText(dir, "t.obj",
                          "mtllib t.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\n"
                          "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nusemtl tex\nf 1/1 2/2 3/3 4/4\n");
  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  glmDraw(m, GLM_TEXTURE);
  glDisable(GL_BLEND);
  EXPECT_EQ(at(16, 32).r, 0);    // alpha 0: the black background
  EXPECT_EQ(at(48, 32).r, 255);  // alpha 255: white
  glmDelete(m);
}

TEST_F(GlmDraw, LuminanceImageWithAlpha) {
  std::vector<unsigned char> grey(4 * 4, 200), mask(4 * 4, 255);
  writeFile(dir.file("g.pgm"), pgm(4, 4, grey));
  writeFile(dir.file("mask.pgm"), pgm(4, 4, mask));
  writeFile(dir.file("t.mtl"), "newmtl tex\nTd REPLACE g.pgm mask.pgm\n");  // the word in any case
  _GLMmodel* m = readText(dir, "t.obj",
                          "mtllib t.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\n"
                          "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nusemtl tex\nf 1/1 2/2 3/3 4/4\n");
  glmDraw(m, GLM_TEXTURE);
  EXPECT_NEAR(at(32, 32).r, 200, 1);
  EXPECT_NEAR(at(32, 32).b, 200, 1);
  glmDelete(m);
}

TEST_F(GlmDraw, ImagesAreScaledToNearPowersOfTwo) {
  struct Case {
    int w, h;
    const char* message;
  };
  const Case cases[] = {{300, 200, "- call gluScaleImage : 300x200 to 256x256\n- done.\n"},
                        {384, 64, "- call gluScaleImage : 384x64 to 256x64\n- done.\n"},
                        {64, 64, ""}};
  for (const auto& c : cases) {
    std::vector<unsigned char> px(static_cast<size_t>(c.w) * c.h * 3, 90);
    writeFile(dir.file("s.ppm"), ppm(c.w, c.h, px));
    writeFile(dir.file("t.mtl"), "newmtl tex\nTd replace s.ppm\n");
    _GLMmodel* m = readText(dir, "t.obj",
                            "mtllib t.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\n"
                            "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nusemtl tex\nf 1/1 2/2 3/3 4/4\n");
    testing::internal::CaptureStdout();
    glmDraw(m, GLM_TEXTURE);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), c.message);
    EXPECT_NEAR(at(32, 32).g, 90, 1);
    glBindTexture(GL_TEXTURE_2D, m->materials[1].texId);
    GLint w = 0, h = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, &w);
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, &h);
    EXPECT_EQ(w, nearPower2(c.w));
    EXPECT_EQ(h, nearPower2(c.h));
    GLint minFilter = 0, magFilter = 0;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &minFilter);
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &magFilter);
    EXPECT_EQ(minFilter, GL_LINEAR_MIPMAP_LINEAR);
    EXPECT_EQ(magFilter, GL_LINEAR);  // the mipmap filters are refused for magnification
    glBindTexture(GL_TEXTURE_2D, 0);
    glmDelete(m);
  }
}

TEST_F(GlmDraw, SetTextureReplacesTheImage) {
  writeFile(dir.file("rg.ppm"), redGreenTexture());
  std::vector<unsigned char> blue;
  for (int i = 0; i < 16; i++) blue.insert(blue.end(), {0, 0, 255});
  writeFile(dir.file("blue.ppm"), ppm(4, 4, blue));
  writeFile(dir.file("t.mtl"), "newmtl tex\nTd replace rg.ppm\n");
  _GLMmodel* m =
      readText(dir, "t.obj",
               "mtllib t.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nvt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n"
               "usemtl tex\nf 1/1 2/2 3/3 4/4\n");
  ASSERT_NE(m, nullptr);
  glmDraw(m, GLM_TEXTURE);
  EXPECT_EQ(at(16, 32).r, 255);
  // the file is tried as given first, then in the directory of the mtllib name ("" here)
  EXPECT_EQ(glmSetTexture(m, "tex", dir.file("blue.ppm").c_str(), nullptr, GL_DECAL), 0);
  EXPECT_EQ(m->materials[1].texEnv, GL_DECAL);
  glClear(GL_COLOR_BUFFER_BIT);
  glmDraw(m, GLM_TEXTURE);
  EXPECT_EQ(at(16, 32).b, 255);
  EXPECT_EQ(at(16, 32).r, 0);
  glmDelete(m);
}

namespace {
// Two squares in one group, seen along -z from the origin: the near one (z = -1, red part of
// the texture) first in the file, the far one (z = -2, green part) second.
_GLMmodel* layered(TempDir& dir) {
  writeFile(dir.file("rg.ppm"), redGreenTexture());
  writeFile(dir.file("t.mtl"), "newmtl tex\nTd replace rg.ppm\n");
  return readText(dir, "z.obj",
                  "mtllib t.mtl\n"
                  "v -1 -1 -1\nv 1 -1 -1\nv 1 1 -1\nv -1 1 -1\n"
                  "v -1 -1 -2\nv 1 -1 -2\nv 1 1 -2\nv -1 1 -2\n"
                  "vt 0.25 0.5\nvt 0.75 0.5\n"
                  "usemtl tex\nf 1/1 2/1 3/1 4/1\nf 5/2 6/2 7/2 8/2\n");
}
}  // namespace

TEST_F(GlmDraw, UnsortedDrawsInFileOrder) {
  _GLMmodel* m = layered(dir);
  glmDraw(m, GLM_TEXTURE);
  EXPECT_EQ(at(32, 32).g, 255);  // the far square, drawn last, covers the near one
  EXPECT_EQ(m->groups->sortKeys, nullptr);
  EXPECT_EQ(m->centroidsValid, 0);
  glmDelete(m);
}

TEST_F(GlmDraw, ZSortDrawsTheFarthestFirst) {
  _GLMmodel* m = layered(dir);
  glmDraw(m, GLM_TEXTURE | GLM_ZSORT);
  EXPECT_EQ(at(32, 32).r, 255);
  EXPECT_EQ(at(32, 32).g, 0);
  ASSERT_NE(m->groups->sortKeys, nullptr);
  ASSERT_NE(m->groups->sortedTriangles, nullptr);
  EXPECT_EQ(m->centroidsValid, 1);
  // keys are squared distances in rising order: near triangles (z = -1) first
  EXPECT_LT(m->groups->sortKeys[0], m->groups->sortKeys[3]);
  EXPECT_LT(m->groups->sortedTriangles[0], 2u);
  glClear(GL_COLOR_BUFFER_BIT);
  glmDraw(m, GLM_TEXTURE | GLM_ZSORT_NEG);
  EXPECT_EQ(at(32, 32).g, 255);
  EXPECT_EQ(at(32, 32).r, 0);
  glClear(GL_COLOR_BUFFER_BIT);
  testing::internal::CaptureStdout();
  glmDraw(m, GLM_TEXTURE | GLM_ZSORT | GLM_ZSORT_NEG);  // behaves as GLM_ZSORT
  testing::internal::GetCapturedStdout();
  EXPECT_EQ(at(32, 32).r, 255);
  glmDelete(m);
}

TEST_F(GlmDraw, ZSortFollowsTheViewer) {
  _GLMmodel* m = layered(dir);
  // turn round: looking along +z from z = -3, the square at z = -2 is now the near one
  glLoadIdentity();
  glRotatef(180, 0, 1, 0);
  glTranslatef(0, 0, 3);
  glmDraw(m, GLM_TEXTURE | GLM_ZSORT);
  EXPECT_EQ(at(32, 32).g, 255);
  glLoadIdentity();
  glmDelete(m);
}

TEST_F(GlmDraw, CentroidsStayThoseOfTheFirstSortedDraw) {
  _GLMmodel* m = layered(dir);
  glmDraw(m, GLM_TEXTURE | GLM_ZSORT);
  float before = m->triangles[0].centroid[2];
  EXPECT_NEAR(before, -1.0f, 1e-6);
  EXPECT_NEAR(m->groups->centroid[2], -1.5f, 1e-6);
  glmScale(m, 10.0f);
  glmDraw(m, GLM_TEXTURE | GLM_ZSORT);
  EXPECT_EQ(m->triangles[0].centroid[2], before);  // nothing clears the flag
  glmDelete(m);
}

TEST_F(GlmDraw, EmptyDefaultGroupIsSkipped) {
  _GLMmodel* m = halves(dir);
  ASSERT_STREQ(m->groups->next->next->name, "default");
  EXPECT_EQ(m->groups->next->next->numtriangles, 0u);
  glmDraw(m, GLM_COLOR);
  EXPECT_EQ(at(16, 32).r, 255);
  // a sorted draw makes the sort arrays of the groups it draws, and none for the empty one
  glmDraw(m, GLM_COLOR | GLM_ZSORT);
  EXPECT_NE(m->groups->sortKeys, nullptr);
  EXPECT_NE(m->groups->next->sortKeys, nullptr);
  EXPECT_EQ(m->groups->next->next->sortKeys, nullptr);
  EXPECT_EQ(m->groups->next->next->sortedTriangles, nullptr);
  glmDelete(m);
}

TEST_F(GlmDraw, FlatAndSmoothWithOnlyFacetNormalsDrawsFlat) {
  writeFile(dir.file("w.mtl"), "newmtl white\nKd 1 1 1 1\nKa 0 0 0\n");
  _GLMmodel* m = readText(dir, "w.obj",
                          "mtllib w.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nusemtl white\nf 1 2 3 4\n");
  ASSERT_NE(m, nullptr);
  glmFacetNormals(m);
  glmFlipFaceNormals(m);  // the facet normals now face away from the light
  setupLight();
  glNormal3f(0, 0, 1);  // the current normal faces the light
  // GLM_SMOOTH goes for want of vertex normals, so GLM_FLAT stays: the facet normals are sent
  testing::internal::CaptureStdout();
  glmDraw(m, GLM_MATERIAL | GLM_FLAT | GLM_SMOOTH);
  std::string out = testing::internal::GetCapturedStdout();
  EXPECT_EQ(out.find("assume smooth"), std::string::npos) << out;
  EXPECT_LT(at(32, 32).r, 10);
  // without a normal bit the square takes the current normal and is lit
  glClear(GL_COLOR_BUFFER_BIT);
  glmDraw(m, GLM_MATERIAL);
  EXPECT_GT(at(32, 32).r, 240);
  glDisable(GL_LIGHTING);
  glmDelete(m);
}

TEST_F(GlmDraw, DisplayListDrawsTheSame) {
  _GLMmodel* m = halves(dir);
  GLuint list = glmList(m, GLM_COLOR);
  EXPECT_NE(list, 0u);
  EXPECT_EQ(at(16, 32).r, 0);  // compiled, not drawn
  glCallList(list);
  EXPECT_EQ(at(16, 32).r, 255);
  EXPECT_EQ(at(48, 32).g, 255);
  glDeleteLists(list, 1);
  glmDelete(m);
}

TEST_F(GlmDraw, NormalLines) {
  // a triangle in the plane x = 0, facing +x: its normal lines run across the picture. The
  // y values put the lines on pixel centres (rows 24, 40 and 56).
  _GLMmodel* m = readText(
      dir, "n.obj", "v 0 -0.234375 -0.5\nv 0 0.765625 -0.5\nv 0 0.265625 0.5\nvn 1 0 0\nf 1//1 2//1 3//1\n");
  glmFacetNormals(m);
  glColor3f(1, 1, 1);
  glmDrawNormals(m, GLM_FLAT, 0.8f);
  // from the centroid (0, 0.265625) to (0.8, 0.265625): pixels x 32..57 on row 40
  EXPECT_EQ(at(45, 40).r, 255);
  EXPECT_EQ(at(20, 40).r, 0);
  EXPECT_EQ(at(61, 40).r, 0);
  EXPECT_EQ(m->centroidsValid, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glmDrawNormals(m, GLM_SMOOTH, 0.5f);
  // from each corner along +x to x = 0.5 (pixel 48)
  EXPECT_EQ(at(40, 56).r, 255);
  EXPECT_EQ(at(40, 24).r, 255);
  EXPECT_EQ(at(60, 56).r, 0);
  glClear(GL_COLOR_BUFFER_BIT);
  glmDrawNormals(m, GLM_NONE, 0.5f);  // neither bit: nothing
  EXPECT_EQ(at(40, 56).r, 0);
  glmDelete(m);
}

TEST_F(GlmDraw, DiffuseColourSetters) {
  _GLMmodel* m = halves(dir);
  glmSetDiffuseColor4(m, 1, 0, 0, 1, 1);
  glmDraw(m, GLM_COLOR);
  EXPECT_EQ(at(16, 32).b, 255);
  EXPECT_EQ(at(16, 32).r, 0);
  float yellow[4] = {1, 1, 0, 1};
  glmSetDiffuseColor(m, -1, yellow);
  glmDraw(m, GLM_COLOR);
  EXPECT_EQ(at(48, 32).r, 255);
  EXPECT_EQ(at(48, 32).g, 255);
  EXPECT_FLOAT_EQ(m->materials[0].diffuse[1], 1.0f);
  testing::internal::CaptureStderr();
  glmSetDiffuseColor4(m, 3, 0, 0, 0, 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Err: materialID is out of range.\n");
  EXPECT_FLOAT_EQ(m->materials[2].diffuse[0], 1.0f);
  glmDelete(m);
}

TEST_F(GlmDraw, ExistQueries) {
  _GLMmodel* m = halves(dir);
  EXPECT_EQ(glmExistVertexNormal(m), 1);
  EXPECT_EQ(glmExistFacetNormal(m), 0);
  EXPECT_EQ(glmExistTexCoord(m), 0);
  EXPECT_EQ(glmExistMaterial(m), 1);
  EXPECT_EQ(glmAnyTexture(m), 0);
  glmFacetNormals(m);
  EXPECT_EQ(glmExistFacetNormal(m), 1);
  glmDelete(m);
  m = readText(dir, "p.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  EXPECT_EQ(glmExistMaterial(m), 0);
  EXPECT_EQ(glmExistVertexNormal(m), 0);
  glmDelete(m);
}

TEST_F(GlmDraw, ColourModeWithoutMaterialsDrawsTheCurrentColour) {
  _GLMmodel* m = readText(dir, "p.obj", "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nf 1 2 3 4\n");
  glColor3f(0, 1, 1);
  testing::internal::CaptureStdout();
  glmDraw(m, GLM_COLOR);
  testing::internal::GetCapturedStdout();  // the once-only warning; its text is checked elsewhere
  EXPECT_EQ(at(32, 32).g, 255);
  EXPECT_EQ(at(32, 32).b, 255);
  EXPECT_EQ(at(32, 32).r, 0);
  glmDelete(m);
}

TEST_F(GlmDraw, UnknownEnvironmentWordEndsTheProcess) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  writeFile(dir.file("rg.ppm"), redGreenTexture());
  writeFile(dir.file("t.mtl"), "newmtl tex\nTd sparkle rg.ppm\n");
  _GLMmodel* m = readText(dir, "t.obj", "mtllib t.mtl\nv -1 -1 0\nv 1 -1 0\nv 1 1 0\nusemtl tex\nf 1 2 3\n");
  ASSERT_NE(m, nullptr);
  // The child ends inside the draw; it removes its own copy of the folder on the way out.
  static std::string childDir;
  childDir = dir.path();
  EXPECT_EXIT(
      {
        atexit([] { std::filesystem::remove_all(childDir); });
        glmDraw(m, GLM_COLOR);
      },
      testing::ExitedWithCode(1), "^Err: unknown texEnv parameter \\[sparkle\\]\n$");
  glmDelete(m);
}
