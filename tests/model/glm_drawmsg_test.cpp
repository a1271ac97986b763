// Messages of drawing and texture building. This program never makes an OpenGL context: the
// calls land in the library's no-op entry points, and every case runs in a child process of its
// own, so that each once-only warning starts unprinted.
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "model/glm.h"
#include "tests/model/glm_testutil.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using glmtest::inChild;
using glmtest::readText;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

const char* kTriangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";

std::string ppm(int w, int h, unsigned char value) {
  return "P6\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n" +
         std::string(static_cast<size_t>(w) * h * 3, static_cast<char>(value));
}
std::string pgm(int w, int h, unsigned char value) {
  return "P5\n" + std::to_string(w) + " " + std::to_string(h) + "\n255\n" +
         std::string(static_cast<size_t>(w) * h, static_cast<char>(value));
}

// An uncompressed SGI image with `channels` planes of one value each.
std::string sgi(int w, int h, int channels) {
  std::string s(512, '\0');
  auto put16 = [&](int at, int v) {
    s[at] = static_cast<char>(v >> 8);
    s[at + 1] = static_cast<char>(v & 0xff);
  };
  put16(0, 474);
  s[2] = 0;  // verbatim
  s[3] = 1;  // one byte per channel
  put16(4, 3);
  put16(6, w);
  put16(8, h);
  put16(10, channels);
  s[19] = static_cast<char>(255);  // pixmax
  s += std::string(static_cast<size_t>(w) * h * channels, static_cast<char>(128));
  return s;
}

// A model whose one material has the given Td line.
std::string texturedModel(TempDir& dir, const std::string& td) {
  writeFile(dir.file("t.mtl"), "newmtl tex\n" + td + "\n");
  std::string path = dir.file("t.obj");
  writeFile(path, std::string("mtllib t.mtl\n") + kTriangle + "vt 0 0\nusemtl tex\nf 1/1 2/1 3/1\n");
  return path;
}

glmtest::ChildResult drawInChild(const std::string& path, unsigned int mode) {
  return inChild([&] {
    _GLMmodel* m = glmReadOBJQuiet(path.c_str());
    if (!m) _exit(3);
    glmDraw(m, mode);
    glmDelete(m);
  });
}

}  // namespace

TEST(GlmDrawMessages, EachDrawWarningPrintsOncePerProcess) {
  TempDir dir;
  writeFile(dir.file("bare.obj"), std::string(kTriangle) + "f 1 2 3\n");
  writeFile(dir.file("m.mtl"), "newmtl a\n");
  writeFile(dir.file("full.obj"),
            std::string("mtllib m.mtl\n") + kTriangle + "vn 0 0 1\nusemtl a\nf 1//1 2//1 3//1\n");
  auto r = inChild([&] {
    _GLMmodel* bare = glmReadOBJQuiet(dir.file("bare.obj").c_str());
    _GLMmodel* full = glmReadOBJQuiet(dir.file("full.obj").c_str());
    glmFacetNormals(full);
    unsigned int all =
        GLM_FLAT | GLM_SMOOTH | GLM_TEXTURE | GLM_COLOR | GLM_MATERIAL | GLM_ZSORT | GLM_ZSORT_NEG;
    glmDraw(bare, all);
    glmDraw(bare, all);
    glmDraw(full, GLM_FLAT | GLM_SMOOTH | GLM_COLOR | GLM_MATERIAL);
    glmDraw(full, GLM_FLAT | GLM_SMOOTH | GLM_COLOR | GLM_MATERIAL);
    glmDraw(bare, all);
  });
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.out,
            "glmDraw() warning: flat render mode requested with no facet normals defined.\n"
            "glmDraw() warning: smooth render mode requested with no normals defined.\n"
            "glmDraw() warning: texture render mode requested with no texture coordinates defined.\n"
            "glmDraw() warning: GLM_ZSORT and GLM_ZSORT_NEG render mode requested (assume GLM_ZSORT).\n"
            "glmDraw() warning: color render mode requested with no materials defined.\n"
            "glmDraw() warning: material render mode requested with no materials defined.\n"
            "glmDraw() warning: flat render mode requested (assume smooth).\n"
            "glmDraw() warning: color and material render mode requested using only material mode.\n");
  EXPECT_EQ(r.err, "");
}

TEST(GlmDrawMessages, ColourWithoutMaterialsWarnsOnce) {
  TempDir dir;
  writeFile(dir.file("bare.obj"), std::string(kTriangle) + "f 1 2 3\n");
  auto r = inChild([&] {
    _GLMmodel* m = glmReadOBJQuiet(dir.file("bare.obj").c_str());
    for (int i = 0; i < 3; i++) glmDraw(m, GLM_COLOR);
  });
  EXPECT_EQ(r.out, "glmDraw() warning: color render mode requested with no materials defined.\n");
}

TEST(GlmDrawMessages, FlatAndSmoothWithOnlyFacetNormalsKeepsFlatWithoutConflict) {
  TempDir dir;
  writeFile(dir.file("bare.obj"), std::string(kTriangle) + "f 1 2 3\n");
  auto r = inChild([&] {
    _GLMmodel* m = glmReadOBJQuiet(dir.file("bare.obj").c_str());
    glmFacetNormals(m);
    glmDraw(m, GLM_FLAT | GLM_SMOOTH);
  });
  EXPECT_EQ(r.out, "glmDraw() warning: smooth render mode requested with no normals defined.\n");
}

TEST(GlmDrawMessages, OpacityOutOfRangeWarnsEveryTime) {
  TempDir dir;
  writeFile(dir.file("bare.obj"), std::string(kTriangle) + "f 1 2 3\n");
  auto r = inChild([&] {
    _GLMmodel* m = glmReadOBJQuiet(dir.file("bare.obj").c_str());
    glmDrawOpacity(m, GLM_NONE, -0.5);
    glmDrawOpacity(m, GLM_NONE, 1.5);
    glmDrawOpacity(m, GLM_NONE, 0.0);
    glmDrawOpacity(m, GLM_NONE, 1.0);
  });
  EXPECT_EQ(r.out,
            "glmDrawOpacity() warning: opacity out of range [0,1]\n"
            "glmDrawOpacity() warning: opacity out of range [0,1]\n");
}

TEST(GlmDrawMessages, DrawNormalsReportsOnceInAll) {
  TempDir dir;
  writeFile(dir.file("bare.obj"), std::string(kTriangle) + "f 1 2 3\n");
  writeFile(dir.file("empty.obj"), "");
  struct Case {
    std::string file;
    unsigned int mode;
    bool nullModel;
    const char* out;
    const char* err;
  };
  const Case cases[] = {
      {"bare.obj", GLM_FLAT, true, "", "glmDrawNormals: input model is NULL.\n"},
      {"empty.obj", GLM_FLAT, false, "", "glmDrawNormals: no vertices in input model.\n"},
      {"bare.obj", GLM_FLAT | GLM_SMOOTH, false, "",
       "glmDrawNormals: contradictory mode; both GLM_FLAT and GLM_SMOOTH are on.\n"},
      {"bare.obj", GLM_FLAT, false,
       "glmDrawNormals() warning: face normals rendering requested with no facet normals defined.\n", ""},
      {"bare.obj", GLM_SMOOTH, false,
       "glmDrawNormals() warning: vertex normals rendering requested with no vertex normals defined.\n", ""},
  };
  for (const auto& c : cases) {
    auto r = inChild([&] {
      _GLMmodel* m = glmReadOBJQuiet(dir.file(c.file).c_str());
      // the first fault reports; a second, different one stays silent
      glmDrawNormals(c.nullModel ? nullptr : m, c.mode, 1.0f);
      glmDrawNormals(m, GLM_FLAT | GLM_SMOOTH, 1.0f);
      glmDrawNormals(nullptr, GLM_SMOOTH, 1.0f);
    });
    EXPECT_EQ(r.out, c.out) << c.file << " " << c.mode;
    EXPECT_EQ(r.err, c.err) << c.file << " " << c.mode;
  }
  // neither bit: no report at all, and the flag stays set for a later fault
  auto r = inChild([&] {
    glmDrawNormals(nullptr, GLM_NONE, 1.0f);
    glmDrawNormals(nullptr, GLM_FLAT, 1.0f);
  });
  EXPECT_EQ(r.err, "glmDrawNormals: input model is NULL.\n");
}

TEST(GlmDrawMessages, TextureFailuresEndTheProcessAtTheFirstDraw) {
  TempDir dir;
  writeFile(dir.file("img.ppm"), ppm(4, 4, 50));
  writeFile(dir.file("small.pgm"), pgm(2, 2, 50));
  writeFile(dir.file("la.sgi"), sgi(4, 4, 2));
  struct Case {
    std::string td;
    std::string err;
  };
  const std::string d = dir.path() + "/";
  const Case cases[] = {
      {"Td modulate picture.jpg", "Err: unknown file extension in [picture.jpg]\n"},
      {"Td modulate none.ppm", "Err: reading [none.ppm] or [" + d + "none.ppm]\n"},
      {"Td modulate none.rgb", "Err: reading [none.rgb] or [" + d + "none.rgb]\n"},
      {"Td modulate la.sgi", "Err: [la.sgi] should have Luminosity or RGB or RGBA channel only\n"},
      {"Td modulate img.ppm mask.pgm", "Err: reading [mask.pgm] o [" + d + "mask.pgm]\n"},
      {"Td modulate img.ppm small.pgm", "Err: sizes of files [img.ppm] and [small.pgm] illmatch\n"},
      {"Td modulate img.ppm img.ppm", "Err: [img.ppm] should have one alpha channel only\n"},
      {"Td modulate img.ppm",
       "Err: please initialize the GLUT environment\n     before calling readObj if you want to use "
       "texture.\n"},
  };
  for (const auto& c : cases) {
    std::string path = texturedModel(dir, c.td);
    // reading never looks at the image
    _GLMmodel* m = glmReadOBJQuiet(path.c_str());
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(m->materials[1].texPending, 1);
    glmDelete(m);
    auto r = drawInChild(path, GLM_COLOR);  // any mode builds pending textures
    EXPECT_EQ(r.status, 1) << c.td;
    EXPECT_EQ(r.err, c.err) << c.td;
  }
}

TEST(GlmDrawMessages, SortArraysThatCannotBeHadLeaveTheDraw) {
  TempDir dir;
  writeFile(dir.file("bare.obj"), std::string(kTriangle) + "f 1 2 3\n");
  auto r = inChild([&] {
    _GLMmodel* m = glmReadOBJQuiet(dir.file("bare.obj").c_str());
    testsupport::failAllocAfter(0);
    glmSetPtr(testsupport::failingAlloc, free);
    glmDraw(m, GLM_ZSORT);
    glmSetPtr(malloc, free);
    printf("back\n");
  });
  EXPECT_EQ(r.status, 0);
  EXPECT_EQ(r.err, "Critical Err: failed to allocate memory (for ZSort) in GLM library.\n");
  EXPECT_EQ(r.out, "back\n");
}

TEST(GlmDrawMessages, TexturePixelsThatCannotBeHadEndTheProcess) {
  TempDir dir;
  writeFile(dir.file("img.ppm"), ppm(4, 4, 50));
  std::string path = texturedModel(dir, "Td modulate img.ppm");
  auto r = inChild([&] {
    _GLMmodel* m = glmReadOBJQuiet(path.c_str());
    testsupport::failAllocAfter(1);  // the path buffer, but not the pixels
    glmSetPtr(testsupport::failingAlloc, free);
    glmDraw(m, GLM_NONE);
  });
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Err: allocating memory\n");
}

TEST(GlmDrawMessages, ExhaustedMemoryEndsTheProcess) {
  TempDir dir;
  writeFile(dir.file("bare.obj"), std::string(kTriangle) + "f 1 2 3\n");
  for (int quiet = 0; quiet < 2; quiet++) {
    auto r = inChild([&] {
      testsupport::failAllocAfter(0);
      glmSetPtr(testsupport::failingAlloc, free);
      glmReadOBJ_actual(dir.file("bare.obj").c_str(), quiet);
    });
    EXPECT_EQ(r.status, 1);
    // the quiet reader ends without the message
    EXPECT_EQ(r.err, quiet ? "" : "Err: not enough memory!\n\n");
  }
  auto r = inChild([&] {
    _GLMmodel* m = glmReadOBJQuiet(dir.file("bare.obj").c_str());
    testsupport::failAllocAfter(0);
    glmSetPtr(testsupport::failingAlloc, free);
    glmFacetNormals(m);
  });
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Err: not enough memory!\n\n");
}

#ifndef NDEBUG
TEST(GlmDrawMessagesDeathTest, EmptyModelIsAProgrammingError) {
  _GLMmodel noVertices{};
  EXPECT_DEATH(glmDraw(nullptr, GLM_NONE), "Assertion `model' failed");
  EXPECT_DEATH(glmDrawOpacity(&noVertices, GLM_COLOR, 0.5), "Assertion `model->vertices' failed");
}
#endif
