// Star textures in a GL context: what initTexture uploads reads back as the buffer it built,
// textures are replaced without leaking, setters drop them, file textures are scaled to powers
// of two, and a billboard drawn with the texture shows the profile in its pixels.
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include "stars/star.h"
#include "stars/star_tex.h"
#include "tests/stars/tex_fixtures.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

using testsupport::TempDir;
using testsupport::writeFile;

namespace {

constexpr int kWin = 128;

// The bytes of level 0 of the bound texture, with its size.
std::vector<unsigned char> readTexture(unsigned int name, int* w, int* h) {
  glBindTexture(GL_TEXTURE_2D, name);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_WIDTH, w);
  glGetTexLevelParameteriv(GL_TEXTURE_2D, 0, GL_TEXTURE_HEIGHT, h);
  std::vector<unsigned char> out((size_t)*w * *h * 4);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glGetTexImage(GL_TEXTURE_2D, 0, GL_RGBA, GL_UNSIGNED_BYTE, out.data());
  return out;
}

class StarTexGL : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(kWin, kWin), 0);
    while (glGetError() != GL_NO_ERROR) {
    }
  }
  void TearDown() override {
    if (list.texId) glDeleteTextures(1, &list.texId);
    list.texId = 0;
  }
  StarList list;
  TempDir dir;

  // What initTexture should have uploaded: the source's buffer, masked; and its half-light radius.
  std::vector<unsigned char> expected(int* w, int* h, double* diam) {
    unsigned char* a = nullptr;
    const StarParameter& p = list.param;
    testsupport::stdoutOf([&] {
      switch (p.textureSource) {
        case STAR_TEX_AIRY:
          a = list.initAiryTexture(w, h, p.filterSize, p.filterCutoff, p.telescopeDiam);
          break;
        case STAR_TEX_GAUSS:
          a = list.initGaussTexture(w, h, p.filterSize, p.filterCutoff);
          break;
        case STAR_TEX_FFT:
          a = list.initFFTTexture(w, h, p.filterSize, p.filterExp, p.filterCutoff, p.filterOrder, p.filterRGB,
                                  p.filterType);
          break;
        default:
          a = list.initFileTexture(w, h);
      }
    });
    if (!a) return {};
    *diam = list.computeIntenDiamTex(a, *w, *h, 4, 0.5);
    maskTexture(a, *w, *h, 4, kStarTexMaskLow, kStarTexMaskHigh);
    std::vector<unsigned char> out(a, a + (size_t)*w * *h * 4);
    list.freeFunc(a);
    return out;
  }

  void expectUploadMatches(const char* what) {
    int w = 0, h = 0;
    double diam = 0;
    auto want = expected(&w, &h, &diam);
    ASSERT_FALSE(want.empty()) << what;
    int rc = 0;
    testsupport::stdoutOf([&] { rc = list.initTexture(&list.texId); });
    ASSERT_EQ(rc, 1) << what;
    ASSERT_NE(list.texId, 0u) << what;
    EXPECT_TRUE(glIsTexture(list.texId)) << what;
    EXPECT_EQ(list.texDiam, diam) << what;
    int tw = 0, th = 0;
    auto got = readTexture(list.texId, &tw, &th);
    EXPECT_EQ(tw, w) << what;
    EXPECT_EQ(th, h) << what;
    ASSERT_EQ(got.size(), want.size()) << what;
    EXPECT_TRUE(got == want) << what;
    GLint v = 0;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_S, &v);
    EXPECT_EQ(v, GL_REPEAT) << what;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_WRAP_T, &v);
    EXPECT_EQ(v, GL_REPEAT) << what;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &v);
    EXPECT_EQ(v, list.param.texParaMinFilter) << what;
    glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &v);
    EXPECT_EQ(v, list.param.texParaMagFilter) << what;
    // The mipmaps are there: level 1 has half the size.
    GLint w1 = 0;
    glGetTexLevelParameteriv(GL_TEXTURE_2D, 1, GL_TEXTURE_WIDTH, &w1);
    EXPECT_EQ(w1, w > 1 ? w / 2 : 1) << what;
    EXPECT_EQ(glGetError(), (GLenum)GL_NO_ERROR) << what;
  }
};

TEST_F(StarTexGL, EachComputedSourceUploadsItsMaskedBuffer) {
  ASSERT_EQ(list.setStarTextureParaFilter(GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR), 1);
  ASSERT_EQ(list.setStarTextureAiry(1.0f, 1.0f, 0.1f), 1);
  expectUploadMatches("airy");
  ASSERT_EQ(list.setStarTextureGauss(0.5f, 0.8f), 1);  // the catalogue's parameter file
  expectUploadMatches("gauss");
  const float rgb[3] = {1.0f, 0.8f, 0.6f};
  ASSERT_EQ(list.setStarTextureFFT(0.4f, 0.5f, 0.9f, 2.0f, rgb, _STAR_FILTER_BUTTERWORTH), 1);
  ASSERT_EQ(list.setStarTextureParaFilter(GL_NEAREST, GL_NEAREST), 1);
  expectUploadMatches("fft");
}

TEST_F(StarTexGL, FileTexturesUploadAsReadAndMasked) {
  ASSERT_EQ(list.setStarTextureParaFilter(GL_LINEAR, GL_LINEAR), 1);
  ASSERT_EQ(list.setStarTextureFile((testsupport::sourceDir() + "/samples/m27.ppm").c_str(), 1.0), 1);
  expectUploadMatches("m27.ppm");
  auto pixel = [](int x, int y, int c) { return (unsigned char)(c == 3 ? 17 : x * 8 + y * 3 + c * 40); };
  std::string path = dir.file("star.rgba");
  writeFile(path, texfixtures::sgiImage(32, 16, 4, pixel));
  ASSERT_EQ(list.setStarTextureFile(path.c_str(), 1.0), 1);
  expectUploadMatches("star.rgba");
  // The file's own alpha is overwritten by the mask.
  int w, h;
  auto got = readTexture(list.texId, &w, &h);
  int m = (int)((0 + 40 + 80) / 3.0f + 0.5f);  // pixel (0, 0): 40 grey levels
  EXPECT_EQ(got[3], (int)((m - 32) * (255.0 / 191) + 0.5));
}

TEST_F(StarTexGL, OddSizedFilesAreScaledToTheNearestPowersOfTwo) {
  // 48 x 80 goes to 32 x 64 (48 lies nearer 32 than 64; 80 is a tie and goes down).
  ASSERT_EQ(list.setStarTextureParaFilter(GL_LINEAR_MIPMAP_NEAREST, GL_NEAREST), 1);
  auto flat = [](int, int, int c) { return (unsigned char)(c == 0 ? 200 : c == 1 ? 120 : c == 2 ? 40 : 255); };
  std::string path = dir.file("odd.rgba");
  writeFile(path, texfixtures::sgiImage(48, 80, 4, flat));
  strcpy(list.param.textureFile, path.c_str());
  int w = 0, h = 0;
  unsigned char* a = list.initFileTexture(&w, &h);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(w, 32);
  EXPECT_EQ(h, 64);
  for (int p = 0; p < w * h; p++) {
    ASSERT_EQ(a[p * 4], 200) << p;
    ASSERT_EQ(a[p * 4 + 1], 120) << p;
    ASSERT_EQ(a[p * 4 + 2], 40) << p;
    ASSERT_EQ(a[p * 4 + 3], 255) << p;
  }
  list.freeFunc(a);
  list.param.textureSource = STAR_TEX_FILE;
  expectUploadMatches("odd.rgba");

  // Three channels of odd size are scaled as if the four-byte pixels had three: the picture comes
  // out garbled but of the right size, and nothing is read or written past the arrays.
  auto ramp = [](int x, int y, int c) { return (unsigned char)(x * 20 + y + c); };
  std::string odd3 = dir.file("odd3.ppm");
  writeFile(odd3, texfixtures::pnmImage(13, 7, 3, ramp));
  strcpy(list.param.textureFile, odd3.c_str());
  a = list.initFileTexture(&w, &h);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(w, 16);
  EXPECT_EQ(h, 8);
  list.freeFunc(a);
  expectUploadMatches("odd3.ppm");
}

TEST_F(StarTexGL, TheDefaultMagnificationFilterIsNoneAndGLRefusesIt) {
  // Both defaults are GL_LINEAR_MIPMAP_LINEAR, which magnification doesn't take: GL keeps its
  // own GL_LINEAR and notes an invalid enum. A parameter file names a legal one.
  EXPECT_EQ(list.param.texParaMagFilter, GL_LINEAR_MIPMAP_LINEAR);
  list.param.textureSource = STAR_TEX_GAUSS;
  ASSERT_EQ(list.initTexture(&list.texId), 1);
  EXPECT_EQ(glGetError(), (GLenum)GL_INVALID_ENUM);
  EXPECT_EQ(glGetError(), (GLenum)GL_NO_ERROR);
  GLint v = 0;
  glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MAG_FILTER, &v);
  EXPECT_EQ(v, GL_LINEAR);
  glGetTexParameteriv(GL_TEXTURE_2D, GL_TEXTURE_MIN_FILTER, &v);
  EXPECT_EQ(v, GL_LINEAR_MIPMAP_LINEAR);
}

TEST_F(StarTexGL, ATwoChannelFileFailsAndInitTextureGivesMinusOne) {
  std::string path = dir.file("two.la");
  writeFile(path, texfixtures::sgiImage(8, 8, 2, [](int, int, int) { return (unsigned char)9; }));
  ASSERT_EQ(list.setStarTextureFile(path.c_str(), 1.0), 1);
  int rc = 0;
  EXPECT_EQ(testsupport::stderrOf([&] { rc = list.initTexture(&list.texId); }),
            "ERR : texFile [" + path + "] should have three or four channels\n\n");
  EXPECT_EQ(rc, -1);
  // A missing file likewise.
  ASSERT_EQ(list.setStarTextureFile(dir.file("none.ppm").c_str(), 1.0), 1);
  EXPECT_EQ(testsupport::stderrOf([&] { rc = list.initTexture(&list.texId); }), "Err : reading [" + dir.file("none.ppm") + "]\n");
  EXPECT_EQ(rc, -1);
}

TEST_F(StarTexGL, RepeatingInitTextureDeletesTheOldTextureFirst) {
  ASSERT_EQ(list.setStarTextureGauss(0.3f, 1.0f), 1);
  std::vector<unsigned int> names;
  for (int i = 0; i < 6; i++) {
    ASSERT_EQ(list.initTexture(&list.texId), 1);
    names.push_back(list.texId);
  }
  for (unsigned int n : names)
    if (n != list.texId) {
      EXPECT_FALSE(glIsTexture(n)) << n;
    }
  EXPECT_TRUE(glIsTexture(list.texId));
}

TEST_F(StarTexGL, OnlyAnAcceptedSourceSetterDropsTheTextureForARebuild) {
  ASSERT_EQ(list.setStarTextureAiry(0.5f, 1.0f, 0.1f), 1);
  ASSERT_EQ(list.initTexture(&list.texId), 1);
  unsigned int built = list.texId;
  // Refusals, filters and scale leave the texture standing.
  testsupport::stderrOf([&] { EXPECT_EQ(list.setStarTextureGauss(2.0f, 1.0f), -1); });
  testsupport::stderrOf([&] { EXPECT_EQ(list.setStarTextureFile("", 1.0), -1); });
  EXPECT_EQ(list.setStarTextureParaFilter(GL_NEAREST, GL_NEAREST), 1);
  EXPECT_EQ(list.setStarTextureScale(2.0), 1);
  EXPECT_EQ(list.texId, built);
  EXPECT_TRUE(glIsTexture(built));
  // Each accepted source setter gives it back to GL and clears the name.
  const float rgb[3] = {1, 1, 1};
  std::vector<std::function<int()>> setters = {
      [&] { return list.setStarTextureGauss(0.5f, 1.0f); },
      [&] { return list.setStarTextureAiry(0.5f, 1.0f, 0.1f); },
      [&] { return list.setStarTextureFFT(0.5f, 1.0f, 1.0f, 1.0f, rgb, _STAR_FILTER_SQUARE); },
      [&] { return list.setStarTextureFile("samples/m1.ppm", 1.0); },
  };
  for (auto& set : setters) {
    list.param.textureSource = STAR_TEX_GAUSS;
    ASSERT_EQ(list.initTexture(&list.texId), 1);
    built = list.texId;
    ASSERT_TRUE(glIsTexture(built));
    EXPECT_EQ(set(), 1);
    EXPECT_EQ(list.texId, 0u);
    EXPECT_FALSE(glIsTexture(built));
  }
}

TEST_F(StarTexGL, APutBackParameterRecordRebuildsOnlyWhenTheTextureValuesChange) {
  ASSERT_EQ(list.setStarTextureParaFilter(GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR), 1);
  ASSERT_EQ(list.setStarTextureGauss(0.5f, 0.8f), 1);
  ASSERT_EQ(list.initTexture(&list.texId), 1);
  unsigned int built = list.texId;
  StarParameter p = list.getStarParameter();
  // The same values, or other values than the texture's, keep it.
  ASSERT_EQ(list.setStarParameter(p), 1);
  p.texScale = 3.0;
  p.telescopeDiam = 0.4f;  // no Airy source: not looked at
  ASSERT_EQ(list.setStarParameter(p), 1);
  EXPECT_EQ(list.texId, built);
  EXPECT_TRUE(glIsTexture(built));
  // A new Gaussian size drops it; the next build makes the new profile.
  p.filterSize = 0.25f;
  ASSERT_EQ(list.setStarParameter(p), 1);
  EXPECT_EQ(list.texId, 0u);
  EXPECT_FALSE(glIsTexture(built));
  expectUploadMatches("gauss 0.25");
}

// Draws a billboard filling the window with the star texture, white, without blending; returns
// the pixels (RGB, bottom row first).
std::vector<unsigned char> drawBillboard(StarList& list) {
  glViewport(0, 0, kWin, kWin);
  glClearColor(0, 0, 0, 1);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  glOrtho(-1, 1, -1, 1, -10, 10);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glDisable(GL_BLEND);
  glDisable(GL_DEPTH_TEST);
  glEnable(GL_TEXTURE_2D);
  glBindTexture(GL_TEXTURE_2D, list.texId);
  glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
  // Half-size 1 at distance 1: tan(px / 4 * radPerPixel) = 2 texDiam.
  const int pxSize = 8;
  double radPerPixel = atan(2.0 * list.texDiam) / (pxSize * 0.25);
  double pos[3] = {0, 0, -1}, up[3] = {0, 1, 0};
  float white[4] = {1, 1, 1, 1};
  list.renderBillBstar(pos, up, white, radPerPixel, pxSize, 1.0);
  glDisable(GL_TEXTURE_2D);
  glFinish();
  return testsupport::readPixelsRGB(0, 0, kWin, kWin);
}

TEST_F(StarTexGL, ABillboardShowsTheProfileInItsPixels) {
  // Nearest filtering and a window of twice the texture's size: each texel is 2 x 2 pixels.
  ASSERT_EQ(list.setStarTextureParaFilter(GL_NEAREST, GL_NEAREST), 1);
  ASSERT_EQ(list.setStarTextureGauss(0.25f, 1.0f), 1);
  ASSERT_EQ(list.initTexture(&list.texId), 1);
  int w, h;
  auto tex = readTexture(list.texId, &w, &h);
  ASSERT_EQ(w, 64);
  auto pix = drawBillboard(list);
  testsupport::keepShotForALook("velmora_star_gauss", pix.data(), kWin, kWin);
  bool anyLight = false;
  for (unsigned char v : pix) anyLight = anyLight || v != 0;
  ASSERT_TRUE(anyLight) << "the billboard left no trace";
  // Right points to -x as the billboard faces away down -z, so columns come mirrored; texture
  // row 0 is at the bottom.
  int differ = 0;
  for (int y = 0; y < kWin; y++)
    for (int x = 0; x < kWin; x++)
      for (int c = 0; c < 3; c++)
        if (pix[((size_t)y * kWin + x) * 3 + c] != tex[((size_t)(y / 2) * 64 + (63 - x / 2)) * 4 + c]) differ++;
  EXPECT_EQ(differ, 0);
  // The profile: brightest in the middle, falling off along a row and a column to black.
  auto at = [&](int x, int y) { return (int)pix[((size_t)y * kWin + x) * 3]; };
  EXPECT_EQ(at(63, 63), 254);
  for (int x = 64; x < kWin - 2; x += 2) EXPECT_GE(at(x, 64), at(x + 2, 64)) << x;
  for (int y = 64; y < kWin - 2; y += 2) EXPECT_GE(at(64, y), at(64, y + 2)) << y;
  // At the edge, 31.5 texels out with sigma 16, exp(-3.88) of 255 is left; the corners are black.
  EXPECT_EQ(at(0, 64), 5);
  EXPECT_EQ(at(64, kWin - 1), 5);
  EXPECT_EQ(at(0, 0), 0);
  EXPECT_EQ(at(kWin - 1, kWin - 1), 0);
}

TEST_F(StarTexGL, AiryAndFFTBillboardsForTheEye) {
  // Smooth filtering, saved for a look; the centre is bright and the corners dark.
  ASSERT_EQ(list.setStarTextureParaFilter(GL_LINEAR_MIPMAP_LINEAR, GL_LINEAR), 1);
  ASSERT_EQ(list.setStarTextureAiry(1.0f, 0.5f, 0.1f), 1);
  ASSERT_EQ(list.initTexture(&list.texId), 1);
  auto airyPix = drawBillboard(list);
  testsupport::keepShotForALook("velmora_star_airy", airyPix.data(), kWin, kWin);
  const float rgb[3] = {1.0f, 0.9f, 0.7f};
  ASSERT_EQ(list.setStarTextureFFT(0.25f, 0.5f, 0.8f, 1.0f, rgb, _STAR_FILTER_SQUARE), 1);
  testsupport::stdoutOf([&] { ASSERT_EQ(list.initTexture(&list.texId), 1); });
  auto fftPix = drawBillboard(list);
  testsupport::keepShotForALook("velmora_star_fft", fftPix.data(), kWin, kWin);
  for (auto* pix : {&airyPix, &fftPix}) {
    auto at = [&](int x, int y, int c) { return (int)(*pix)[((size_t)y * kWin + x) * 3 + c]; };
    EXPECT_GT(at(64, 64, 0), 200);
    EXPECT_LT(at(2, 2, 0), 40);
    EXPECT_LT(at(kWin - 3, kWin - 3, 0), 40);
  }
}

}  // namespace
