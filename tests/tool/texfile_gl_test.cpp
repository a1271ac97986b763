// The Milky Way maps as OpenGL textures, under a private X server: scaling to powers of two,
// mipmaps and texture parameters, the real maps drawn and read back, and the cross-fade
// weights of the real list.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tool/texfile.h"

using testing::internal::CaptureStderr;
using testing::internal::GetCapturedStderr;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

constexpr int kMapWidth = 1024, kMapHeight = 512;  // the size of the real maps
constexpr int kTexPathSize = 512;

double storedLogl(const char* text) {
  return log10(static_cast<double>(strtof(text, nullptr)));
}

class TexFileGL : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(kMapWidth, kMapHeight), 0) << "Xvfb could not be started";
    while (glGetError() != GL_NO_ERROR) {
    }
  }
  void TearDown() override {
    freeTexObjs(texObjs, nTexObjs);
    texObjs = nullptr;
    nTexObjs = 0;
    free(sliderTex);
    sliderTex = nullptr;
    nSliderTex = 0;
    tex_sliderUnit = kSliderUnitBase;
    updateTexSliderUnit();
  }

  // Reads the real list below the source tree and makes its textures.
  void loadRealMaps() {
    char texFile[kTexPathSize] = "";
    CaptureStderr();
    ASSERT_EQ(readMWTexture(texFile, testsupport::sourceDir().c_str()), 1);
    GetCapturedStderr();
    ASSERT_EQ(nTexObjs, 6);
    ASSERT_EQ(bindTexObjs(texObjs, nTexObjs), 1);
  }

  static GLint levelParameter(GLuint tex, int level, GLenum name) {
    glBindTexture(GL_TEXTURE_2D, tex);
    GLint v = -1;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, level, name, &v);
    return v;
  }
  static GLint parameter(GLuint tex, GLenum name) {
    glBindTexture(GL_TEXTURE_2D, tex);
    GLint v = -1;
    glGetTexParameteriv(GL_TEXTURE_2D, name, &v);
    return v;
  }

  TempDir dir;
};

// One entry, as the list reader leaves it, with a malloc'ed image of w x h pixels filled by
// colour(x, y, channel).
template <typename F>
TexObj entry(int w, int h, int comp, F colour) {
  TexObj obj;
  memset(&obj, 0, sizeof obj);
  obj.width = w;
  obj.height = h;
  obj.comp = comp;
  obj.logl = kNoWavelength;
  obj.image = static_cast<unsigned char*>(malloc(static_cast<size_t>(w * h * comp) + 1));
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x)
      for (int c = 0; c < comp; ++c) obj.image[(y * w + x) * comp + c] = colour(x, y, c);
  return obj;
}

TEST_F(TexFileGL, ImageOf1000By500IsScaledTo1024By512WithMipmaps) {
  // Left half red, right half blue.
  TexObj obj = entry(
      1000, 500, 3, [](int x, int, int c) -> unsigned char { return (x < 500 ? c == 0 : c == 2) ? 255 : 0; });
  ASSERT_EQ(bindTexObjs(&obj, 1), 1);
  EXPECT_EQ(obj.width, 1024);
  EXPECT_EQ(obj.height, 512);
  EXPECT_EQ(obj.comp, 3);
  ASSERT_NE(obj.texId, 0u);
  const unsigned char* left = obj.image + (100 * 1024 + 10) * 3;
  const unsigned char* right = obj.image + (400 * 1024 + 1000) * 3;
  EXPECT_EQ(left[0], 255);
  EXPECT_EQ(left[2], 0);
  EXPECT_EQ(right[0], 0);
  EXPECT_EQ(right[2], 255);

  // Every level of the mipmap chain is there, down to one texel.
  const int widths[] = {1024, 512, 256, 128, 64, 32, 16, 8, 4, 2, 1};
  for (int level = 0; level <= 10; ++level) {
    EXPECT_EQ(levelParameter(obj.texId, level, GL_TEXTURE_WIDTH), widths[level]) << level;
    EXPECT_EQ(levelParameter(obj.texId, level, GL_TEXTURE_HEIGHT), std::max(widths[level] / 2, 1)) << level;
  }
  EXPECT_EQ(parameter(obj.texId, GL_TEXTURE_WRAP_S), GL_REPEAT);
  EXPECT_EQ(parameter(obj.texId, GL_TEXTURE_WRAP_T), GL_REPEAT);
  EXPECT_EQ(parameter(obj.texId, GL_TEXTURE_MIN_FILTER), GL_LINEAR_MIPMAP_LINEAR);
  EXPECT_EQ(parameter(obj.texId, GL_TEXTURE_MAG_FILTER), GL_LINEAR);
  GLint env = -1;
  glGetTexEnviv(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, &env);
  EXPECT_EQ(env, GL_DECAL);
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
  GLuint id = obj.texId;
  glDeleteTextures(1, &id);
  free(obj.image);
}

TEST_F(TexFileGL, SizesGoToTheNearerPowerOfTwo) {
  struct {
    int w, h, w2, h2;
  } cases[] = {
      {48, 49, 32, 64},  // 48 is as near 32 as 64: a tie goes down
      {64, 64, 64, 64}, {3, 1, 2, 1}, {6, 5, 4, 4}, {7, 13, 8, 16}, {1, 300, 1, 256}, {1001, 3, 1024, 2},
  };
  for (const auto& c : cases) {
    TexObj obj = entry(c.w, c.h, 3, [](int x, int y, int) { return static_cast<unsigned char>(x + y); });
    unsigned char* before = obj.image;
    ASSERT_EQ(bindTexObjs(&obj, 1), 1);
    EXPECT_EQ(obj.width, c.w2) << c.w << "x" << c.h;
    EXPECT_EQ(obj.height, c.h2) << c.w << "x" << c.h;
    EXPECT_EQ(obj.image == before, c.w == c.w2 && c.h == c.h2);  // untouched when already a power
    EXPECT_EQ(levelParameter(obj.texId, 0, GL_TEXTURE_WIDTH), c.w2);
    EXPECT_EQ(levelParameter(obj.texId, 0, GL_TEXTURE_HEIGHT), c.h2);
    GLuint id = obj.texId;
    glDeleteTextures(1, &id);
    free(obj.image);
  }
}

TEST_F(TexFileGL, GreyMapIsUploadedAsRGB) {
  // A P5 map of 4 x 2 grey levels, through the list reader.
  std::string pgm = "P5\n4 2\n255\n";
  const unsigned char grey[] = {0, 30, 60, 90, 120, 150, 180, 250};
  pgm.append(reinterpret_cast<const char*>(grey), sizeof grey);
  writeFile(dir.file("g.pgm"), pgm);
  writeFile(dir.file("list"), "g.pgm Grey\n");
  int n, slider, status;
  TexObj* objs = readTexObjs(dir.file("list").c_str(), &n, &slider, &status);
  ASSERT_NE(objs, nullptr);
  EXPECT_EQ(objs[0].comp, 1);
  ASSERT_EQ(bindTexObjs(objs, n), 1);
  EXPECT_EQ(objs[0].comp, 3);
  EXPECT_EQ(objs[0].width, 4);
  EXPECT_EQ(objs[0].height, 2);
  std::vector<unsigned char> texels(4 * 2 * 3);
  glBindTexture(GL_TEXTURE_2D, objs[0].texId);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGB, GL_UNSIGNED_BYTE, texels.data());
  for (int p = 0; p < 8; ++p)
    for (int c = 0; c < 3; ++c) EXPECT_EQ(texels[p * 3 + c], grey[p]) << p << " " << c;
  GLuint id = objs[0].texId;
  glDeleteTextures(1, &id);
  freeTexObjs(objs, n);
}

TEST_F(TexFileGL, DamagedImagesBindWithoutHarm) {
  // A header that promises no pixels, and a file cut a little short: neither may bring the upload
  // down, and the pixels the file lacks are black.
  writeFile(dir.file("empty.ppm"), "P6\n0 0\n255\n");
  writeFile(dir.file("short.ppm"), "P6\n500 300\n255\nabc");
  writeFile(dir.file("list"), "empty.ppm\nshort.ppm\n");
  int n, slider, status;
  TexObj* objs = readTexObjs(dir.file("list").c_str(), &n, &slider, &status);
  ASSERT_NE(objs, nullptr);
  ASSERT_EQ(n, 2);
  EXPECT_EQ(memcmp(objs[1].image, "abc", 3), 0);
  EXPECT_EQ(std::count(objs[1].image + 3, objs[1].image + 500 * 300 * 3, 0), 500 * 300 * 3 - 3);
  CaptureStderr();
  int result = bindTexObjs(objs, n);
  std::string err = GetCapturedStderr();
  EXPECT_EQ(result, 1) << err;
  EXPECT_EQ(objs[1].width, 512);
  EXPECT_EQ(levelParameter(objs[1].texId, 0, GL_TEXTURE_WIDTH), 512);
  EXPECT_EQ(levelParameter(objs[1].texId, 0, GL_TEXTURE_HEIGHT), 256);
  freeTexObjs(objs, n);
}

TEST_F(TexFileGL, AHeaderFarBeyondTheFileFailsTheListBeforeAnyUpload) {
  // 1000 x 500 pixels need 1.5 MB; three bytes are far too few, and nothing is allocated for them.
  writeFile(dir.file("claims.ppm"), "P6\n1000 500\n255\nabc");
  writeFile(dir.file("list"), "claims.ppm\n");
  int n = -1, slider = -1, status = -1;
  CaptureStderr();
  TexObj* objs = readTexObjs(dir.file("list").c_str(), &n, &slider, &status);
  const std::string err = GetCapturedStderr();
  EXPECT_EQ(objs, nullptr);
  // The name as given isn't found from here; the one in the list's directory is, and refused.
  EXPECT_EQ(err, "read_pnm : Size 1000 x 500 x 3 is larger than the file [" + dir.file("claims.ppm") + "]!\n"
                 "\nErr (readTextureListFile) : reading [claims.ppm] or [" + dir.file("claims.ppm") + "]\n");
}

TEST_F(TexFileGL, RealMapsLoadAndBind) {
  loadRealMaps();
  for (int i = 0; i < nTexObjs; ++i) {
    ASSERT_NE(texObjs[i].texId, 0u) << i;
    for (int j = 0; j < i; ++j) EXPECT_NE(texObjs[i].texId, texObjs[j].texId);
    EXPECT_EQ(texObjs[i].width, kMapWidth);
    EXPECT_EQ(texObjs[i].height, kMapHeight);
    EXPECT_EQ(levelParameter(texObjs[i].texId, 0, GL_TEXTURE_WIDTH), kMapWidth);
    EXPECT_EQ(levelParameter(texObjs[i].texId, 3, GL_TEXTURE_WIDTH), kMapWidth / 8);
    EXPECT_EQ(levelParameter(texObjs[i].texId, 3, GL_TEXTURE_HEIGHT), kMapHeight / 8);
  }
  // The upload holds the file's pixels unchanged, and the pixels stay in memory.
  const TexObj& visible = texObjs[2];
  ASSERT_STREQ(visible.name, "Visible");
  std::vector<unsigned char> texels(kMapWidth * kMapHeight * 3);
  glBindTexture(GL_TEXTURE_2D, visible.texId);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGB, GL_UNSIGNED_BYTE, texels.data());
  EXPECT_EQ(memcmp(texels.data(), visible.image, texels.size()), 0);
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(TexFileGL, RealMapDrawsAsTheFileHoldsIt) {
  loadRealMaps();
  const TexObj& visible = texObjs[2];
  glViewport(0, 0, kMapWidth, kMapHeight);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(0, 1, 0, 1, -1, 1);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glDisable(GL_DEPTH_TEST);
  glDisable(GL_LIGHTING);
  glDisable(GL_BLEND);
  glClearColor(1, 0, 1, 1);
  glClear(GL_COLOR_BUFFER_BIT);
  glEnable(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, visible.texId);
  glColor3f(1, 0, 1);  // GL_DECAL with an RGB texture shows the texture alone
  // The file's first row, the north galactic pole, at the top of the window.
  glBegin(GL_QUADS);
  glTexCoord2f(0, 1);
  glVertex2f(0, 0);
  glTexCoord2f(1, 1);
  glVertex2f(1, 0);
  glTexCoord2f(1, 0);
  glVertex2f(1, 1);
  glTexCoord2f(0, 0);
  glVertex2f(0, 1);
  glEnd();
  glDisable(GL_TEXTURE_2D);
  glFinish();
  std::vector<unsigned char> px = testsupport::readPixelsRGB(0, 0, kMapWidth, kMapHeight);
  ASSERT_EQ(px.size(), static_cast<size_t>(kMapWidth * kMapHeight * 3));

  testsupport::keepShotForALook("texfile_gl_visible", px.data(), kMapWidth, kMapHeight);
  int worst = 0;
  for (int y = 0; y < kMapHeight; y += 7)
    for (int x = 0; x < kMapWidth; x += 5) {
      const unsigned char* drawn = &px[(static_cast<size_t>(y) * kMapWidth + x) * 3];
      const unsigned char* file =
          &visible.image[(static_cast<size_t>(kMapHeight - 1 - y) * kMapWidth + x) * 3];
      for (int c = 0; c < 3; ++c) worst = std::max(worst, std::abs(drawn[c] - file[c]));
    }
  EXPECT_LE(worst, 2);
}

TEST_F(TexFileGL, CrossFadeOfTheRealList) {
  loadRealMaps();
  ASSERT_EQ(nSliderTex, 6);
  // The start, about 546 nm, lies between the visible photograph (500 nm) and starlight in V
  // (550 nm), much nearer the latter.
  resetTexture(kIdTexSlider);
  double lo = storedLogl("5.0e-07"), hi = storedLogl("5.5e-07");
  EXPECT_EQ(sliderTexID1, texObjs[2].texId);
  EXPECT_EQ(sliderTexID2, texObjs[3].texId);
  EXPECT_FLOAT_EQ(sliderTexAlpha1, static_cast<float>((hi - -6.2627f) / (hi - lo)));
  EXPECT_FLOAT_EQ(sliderTexAlpha2, 1 - sliderTexAlpha1);
  EXPECT_NEAR(sliderTexAlpha1, 0.074, 0.001);

  // At the slider's top end the last map stands alone.
  tex_sliderValue = tex_sliderMax;
  sliderTexID2 = 0;
  resetTexture(kIdTexSlider);
  EXPECT_EQ(sliderTexID1, texObjs[5].texId);
  EXPECT_EQ(sliderTexAlpha1, 1.0f);
  EXPECT_EQ(sliderTexAlpha2, 0.0f);
  EXPECT_EQ(sliderTexID2, 0u);  // left as it was

  // At each map's own wavelength that map carries (nearly) all the weight, in every unit.
  for (int unit = kUnitWavelength; unit <= kUnitEnergy; ++unit) {
    tex_sliderUnit = kSliderUnitBase + unit;
    updateTexSliderUnit();
    for (int i = 0; i < nSliderTex; ++i) {
      tex_sliderValue = convertSliderUnit(kUnitWavelength, unit, static_cast<float>(sliderTex[i]->logl));
      resetTexture(kIdTexSlider);
      float weight = (sliderTexID1 == sliderTex[i]->texId ? sliderTexAlpha1 : 0) +
                     (sliderTexID2 == sliderTex[i]->texId ? sliderTexAlpha2 : 0);
      EXPECT_NEAR(weight, 1.0f, 1e-4) << "unit " << unit << " map " << i;
    }
  }

  // Beyond the long end, too.
  tex_sliderUnit = kSliderUnitBase;
  updateTexSliderUnit();
  tex_sliderValue = -2.0f;
  resetTexture(kIdTexSlider);
  EXPECT_EQ(sliderTexID1, texObjs[5].texId);
  EXPECT_EQ(sliderTexAlpha1, 1.0f);
  EXPECT_EQ(sliderTexAlpha2, 0.0f);
}

}  // namespace
