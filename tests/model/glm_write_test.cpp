// Writing a model as OBJ and MTL text, reading it back, and loading it in another OBJ reader.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <cstdio>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "model/glm.h"
#include "tests/model/glm_testutil.h"
#include "tests/support/testutil.h"

using glmtest::inChild;
using glmtest::readText;
using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

const char* kModel =
    "mtllib m.mtl\n"
    "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\n"
    "vn 0 0 1\nvn 0 1 0\n"
    "vt 0 0\nvt 1 0\nvt 1 1\n"
    "g front\nusemtl red\nf 1/1/1 2/2/1 3/3/1 4/1/1\n"
    "g side\nusemtl blue\nf 1/1/2 2/2/2 5/3/2\n";
const char* kMtl = "newmtl red\nKd 1 0 0\nNs 500\nnewmtl blue\nKd 0 0 1 0.5\nTd decal sky.ppm\n";

std::vector<std::string> lines(const std::string& text) {
  std::vector<std::string> out;
  std::istringstream in(text);
  for (std::string l; std::getline(in, l);) out.push_back(l);
  return out;
}

int countPrefix(const std::string& text, const std::string& prefix) {
  int n = 0;
  for (const auto& l : lines(text))
    if (l.rfind(prefix, 0) == 0) n++;
  return n;
}

_GLMmodel* readModel(TempDir& dir) {
  writeFile(dir.file("m.mtl"), kMtl);
  return readText(dir, "a.obj", kModel);
}

// The (v, t, n) triples of a group's triangles, in order.
std::vector<std::vector<unsigned int>> groupTriangles(_GLMmodel* m, _GLMgroup* g) {
  std::vector<std::vector<unsigned int>> out;
  for (unsigned int i = 0; i < g->numtriangles; i++) {
    const _GLMtriangle& t = m->triangles[g->triangles[i]];
    std::vector<unsigned int> v;
    for (int k = 0; k < 3; k++) {
      v.push_back(t.vindices[k]);
      v.push_back(t.nindices[k]);
    }
    out.push_back(v);
  }
  return out;
}

}  // namespace

TEST(GlmWrite, RoundTripWithSmoothNormalsAndMaterials) {
  TempDir dir;
  _GLMmodel* m = readModel(dir);
  ASSERT_NE(m, nullptr);
  std::string out = dir.file("out/b.obj");
  ASSERT_EQ(system(("mkdir -p " + dir.file("out")).c_str()), 0);
  EXPECT_EQ(glmWriteOBJ(m, out.c_str(), GLM_SMOOTH | GLM_MATERIAL), 0);
  // the material file goes next to the model, under the model's mtllib name
  ASSERT_TRUE(testsupport::fileExists(dir.file("out/m.mtl")));

  _GLMmodel* b = glmReadOBJQuiet(out.c_str());
  ASSERT_NE(b, nullptr);
  EXPECT_EQ(b->numvertices, m->numvertices);
  EXPECT_EQ(b->numnormals, m->numnormals);
  EXPECT_EQ(b->numtriangles, m->numtriangles);
  EXPECT_EQ(b->numtexcoords, 0u);  // not asked for
  for (unsigned int i = 3; i < 3 * (m->numvertices + 1); i++) EXPECT_FLOAT_EQ(b->vertices[i], m->vertices[i]);
  for (unsigned int i = 3; i < 3 * (m->numnormals + 1); i++) EXPECT_FLOAT_EQ(b->normals[i], m->normals[i]);
  // same groups with the same triangles; the group list comes back in the opposite order
  std::vector<std::string> namesA, namesB;
  for (_GLMgroup* g = m->groups; g; g = g->next) namesA.push_back(g->name);
  for (_GLMgroup* g = b->groups; g; g = g->next) namesB.push_back(g->name);
  EXPECT_EQ(namesA, (std::vector<std::string>{" side", " front", "default"}));
  // written "g  side" etc.: the reader keeps the blank after the keyword again, and has its own
  // empty "default" at the end
  EXPECT_EQ(namesB, (std::vector<std::string>{" default", "  front", "  side", "default"}));
  for (_GLMgroup* g = m->groups; g; g = g->next) {
    _GLMgroup* h = glmFindGroup(b, std::string(" ").append(g->name).c_str());
    ASSERT_NE(h, nullptr) << g->name;
    EXPECT_EQ(groupTriangles(m, g), groupTriangles(b, h)) << g->name;
    EXPECT_STREQ(b->materials[h->material].name, m->materials[g->material].name);
  }
  // the written file declares the default material too, so the copy has one slot more
  ASSERT_EQ(b->nummaterials, m->nummaterials + 1);
  for (unsigned int i = 0; i < m->nummaterials; i++) {
    const _GLMmaterial& c = b->materials[i + 1];
    EXPECT_STREQ(c.name, m->materials[i].name);
    for (int k = 0; k < 4; k++) {
      EXPECT_FLOAT_EQ(c.diffuse[k], m->materials[i].diffuse[k]);
      EXPECT_FLOAT_EQ(c.ambient[k], m->materials[i].ambient[k]);
      EXPECT_FLOAT_EQ(c.specular[k], m->materials[i].specular[k]);
    }
    EXPECT_NEAR(c.shininess, m->materials[i].shininess, 1e-4);
    EXPECT_STREQ(c.texFile, m->materials[i].texFile);
    EXPECT_STREQ(c.texEnvName, m->materials[i].texEnvName);
  }
  glmDelete(b);
  glmDelete(m);
}

TEST(GlmWrite, PolygonsComeBackAsTriangles) {
  TempDir dir;
  _GLMmodel* m = readModel(dir);
  std::string out = dir.file("b.obj");
  glmWriteOBJ(m, out.c_str(), GLM_NONE);
  std::string text = readFile(out);
  EXPECT_EQ(countPrefix(text, "f "), 3);
  EXPECT_NE(text.find("f 1 2 3\nf 1 3 4\n"), std::string::npos);
  EXPECT_NE(text.find("# 3 faces (triangles)\n"), std::string::npos);
  EXPECT_NE(text.find("# 3 groups\n"), std::string::npos);
  EXPECT_NE(text.find("# 5 vertices\n"), std::string::npos);
  EXPECT_EQ(text.find("mtllib"), std::string::npos);
  EXPECT_EQ(text.find("usemtl"), std::string::npos);
  glmDelete(m);
}

TEST(GlmWrite, BannerAndComment) {
  TempDir dir;
  _GLMmodel* m = readModel(dir);
  std::string out = dir.file("b.obj");
  glmWriteOBJComment(m, out.c_str(), GLM_NONE, "aligned by hand");
  auto l = lines(readFile(out));
  ASSERT_GT(l.size(), 12u);
  EXPECT_EQ(l[0], "#  ");
  EXPECT_EQ(l[1], "#  Wavefront OBJ generated by GLM library");
  EXPECT_EQ(l[2], "#  ");
  for (int i = 3; i < 7; i++) EXPECT_EQ(l[i].substr(0, 3), "#  ") << i;
  EXPECT_EQ(l[7], "#  ");
  EXPECT_EQ(l[8], "#  aligned by hand");
  EXPECT_EQ(l[9], "");
  EXPECT_EQ(l[10], "# 5 vertices");
  EXPECT_EQ(l[11], "v 0.000000 0.000000 0.000000");
  glmDelete(m);
}

TEST(GlmWrite, FaceFormsFollowTheMode) {
  TempDir dir;
  _GLMmodel* m = readModel(dir);
  glmFacetNormals(m);
  struct Case {
    unsigned int mode;
    const char* firstFace;
    const char* normalsHeader;
  };
  const Case cases[] = {
      {GLM_SMOOTH | GLM_TEXTURE, "f 1/1/1 2/2/1 3/3/1", "# 2 vertex normals"},
      {GLM_SMOOTH, "f 1//1 2//1 3//1", "# 2 vertex normals"},
      {GLM_FLAT | GLM_TEXTURE, "f 1/1/1 2/2/1 3/3/1", "# 3 face normals"},
      {GLM_FLAT, "f 1//1 2//1 3//1", "# 3 face normals"},
      {GLM_TEXTURE, "f 1/1 2/2 3/3", nullptr},
      {GLM_NONE, "f 1 2 3", nullptr},
  };
  for (const auto& c : cases) {
    std::string out = dir.file("f.obj");
    testing::internal::CaptureStdout();
    glmWriteOBJ(m, out.c_str(), c.mode);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    std::string text = readFile(out);
    EXPECT_NE(text.find(std::string("g  front\n") + c.firstFace + "\n"), std::string::npos) << c.mode << text;
    if (c.normalsHeader)
      EXPECT_NE(text.find(c.normalsHeader), std::string::npos) << c.mode;
    else
      EXPECT_EQ(countPrefix(text, "vn "), 0) << c.mode;
    EXPECT_EQ(countPrefix(text, "vt "), (c.mode & GLM_TEXTURE) ? 3 : 0) << c.mode;
  }
  // flat faces carry the facet index at all three corners; the side triangle is facet 3
  glmWriteOBJ(m, dir.file("f.obj").c_str(), GLM_FLAT);
  std::string text = readFile(dir.file("f.obj"));
  EXPECT_NE(text.find("f 1//3 2//3 5//3\n"), std::string::npos);
  EXPECT_EQ(countPrefix(text, "vn "), static_cast<int>(m->numfacetnorms));
  glmDelete(m);
}

TEST(GlmWrite, WarningsClearTheirBitsEveryTime) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "p.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  std::string out = dir.file("w.obj");
  const char* all =
      "glmWriteOBJ() warning: flat normal output requested with no facet normals defined.\n"
      "glmWriteOBJ() warning: smooth normal output requested with no normals defined.\n"
      "glmWriteOBJ() warning: texture coordinate output requested with no texture coordinates defined.\n"
      "glmWriteOBJ() warning: color output requested with no colors (materials) defined.\n"
      "glmWriteOBJ() warning: material output requested with no materials defined.\n";
  for (int round = 0; round < 2; round++) {
    testing::internal::CaptureStdout();
    EXPECT_EQ(glmWriteOBJ(m, out.c_str(), GLM_FLAT | GLM_SMOOTH | GLM_TEXTURE | GLM_COLOR | GLM_MATERIAL), 0);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), all);
  }
  EXPECT_EQ(countPrefix(readFile(out), "vn "), 0);
  glmDelete(m);

  m = readModel(dir);
  glmFacetNormals(m);
  testing::internal::CaptureStdout();
  glmWriteOBJ(m, out.c_str(), GLM_FLAT | GLM_SMOOTH | GLM_COLOR | GLM_MATERIAL);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "glmWriteOBJ() warning: flat normal output requested and smooth normal output requested (using "
            "smooth).\n"
            "glmWriteOBJ() warning: color and material output requested outputting only materials.\n");
  std::string text = readFile(out);
  EXPECT_NE(text.find("# 2 vertex normals"), std::string::npos);
  EXPECT_NE(text.find("usemtl red"), std::string::npos);
  glmDelete(m);
}

TEST(GlmWrite, SmoothOnAModelWithOnlyFacetNormalsWritesNoNormals) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "p.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  glmFacetNormals(m);
  testing::internal::CaptureStdout();
  glmWriteOBJ(m, dir.file("w.obj").c_str(), GLM_SMOOTH);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "glmWriteOBJ() warning: smooth normal output requested with no normals defined.\n");
  std::string text = readFile(dir.file("w.obj"));
  EXPECT_EQ(countPrefix(text, "vn "), 0);
  EXPECT_NE(text.find("f 1 2 3\n"), std::string::npos);
  glmDelete(m);
}

TEST(GlmWrite, MaterialFileText) {
  TempDir dir;
  _GLMmodel* m = readModel(dir);
  ASSERT_EQ(system(("mkdir -p " + dir.file("o")).c_str()), 0);
  glmWriteOBJ(m, dir.file("o/x.obj").c_str(), GLM_MATERIAL);
  auto l = lines(readFile(dir.file("o/m.mtl")));
  ASSERT_GT(l.size(), 20u);
  EXPECT_EQ(l[0], "#  ");
  EXPECT_EQ(l[1], "#  Wavefront MTL generated by GLM library");
  EXPECT_EQ(l[2], "#  ");
  EXPECT_EQ(l[3], "#  GLM library");
  EXPECT_EQ(l[7], "#  ");
  EXPECT_EQ(l[8], "");
  EXPECT_EQ(l[9], "newmtl default");
  EXPECT_EQ(l[10], "Ka 0.200000 0.200000 0.200000 1.000000");
  EXPECT_EQ(l[11], "Kd 0.800000 0.800000 0.800000 1.000000");
  EXPECT_EQ(l[12], "Ks 0.000000 0.000000 0.000000 1.000000");
  EXPECT_EQ(l[13], "Ns 507.812500");  // 65 / 128 * 1000
  EXPECT_EQ(l[14], "");
  EXPECT_EQ(l[15], "newmtl red");
  EXPECT_EQ(l[19], "Ns 500.000000");
  std::string text = readFile(dir.file("o/m.mtl"));
  EXPECT_NE(
      text.find("newmtl blue\nKa 0.200000 0.200000 0.200000 1.000000\nKd 0.000000 0.000000 1.000000 "
                "0.500000\nKs 0.000000 0.000000 0.000000 1.000000\nNs 507.812500\nTd decal sky.ppm\n\n"),
      std::string::npos)
      << text;
  glmDelete(m);
}

TEST(GlmWrite, AlphaFileIsWrittenWithTheTexture) {
  TempDir dir;
  writeFile(dir.file("m.mtl"), "newmtl a\nTd replace sky.ppm mask.pgm\n");
  _GLMmodel* m = readText(dir, "a.obj", "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nusemtl a\nf 1 2 3\n");
  ASSERT_EQ(system(("mkdir -p " + dir.file("o")).c_str()), 0);
  glmWriteOBJ(m, dir.file("o/x.obj").c_str(), GLM_MATERIAL);
  EXPECT_NE(readFile(dir.file("o/m.mtl")).find("Td replace sky.ppm mask.pgm\n"), std::string::npos);
  glmDelete(m);
}

TEST(GlmWrite, StreamFormsLeaveTheStreamOpenAndNameTheMaterialFileAlone) {
  TempDir dir;
  _GLMmodel* m = readModel(dir);
  char cwd[4096];
  ASSERT_NE(getcwd(cwd, sizeof(cwd)), nullptr);
  std::string sub = dir.file("cwd");
  ASSERT_EQ(system(("mkdir -p " + sub).c_str()), 0);
  ASSERT_EQ(chdir(sub.c_str()), 0);
  FILE* f = fopen(dir.file("s.obj").c_str(), "w");
  EXPECT_EQ(glmWriteOBJStreamComment(m, f, GLM_MATERIAL, "streamed"), 0);
  EXPECT_EQ(fputs("# still open\n", f) >= 0, true);
  fclose(f);
  ASSERT_EQ(chdir(cwd), 0);
  // no file name to take a directory from: the material file lands by its name alone
  EXPECT_TRUE(testsupport::fileExists(sub + "/m.mtl"));
  std::string text = readFile(dir.file("s.obj"));
  EXPECT_NE(text.find("#  streamed\n\nmtllib m.mtl\n\n"), std::string::npos);
  EXPECT_NE(text.find("# still open\n"), std::string::npos);
  FILE* g = fopen(dir.file("t.obj").c_str(), "w");
  glmWriteOBJStream(m, g, GLM_NONE);
  fclose(g);
  EXPECT_NE(readFile(dir.file("t.obj")).find("f 1 2 5\n"), std::string::npos);
  glmDelete(m);
}

TEST(GlmWrite, OpenFailures) {
  TempDir dir;
  _GLMmodel* m = readModel(dir);
  std::string bad = dir.file("no/such/dir/x.obj");
  testing::internal::CaptureStderr();
  EXPECT_EQ(glmWriteOBJ(m, bad.c_str(), GLM_NONE), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "glmWriteOBJ() failed: can't open file \"" + bad + "\" to write.\n");
  auto r = inChild([&] { glmWriteMTL(m, bad.c_str(), "m.mtl"); });
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "glmWriteMTL() failed: can't open file \"" + dir.file("no/such/dir/m.mtl") + "\".\n");
  glmDelete(m);
}

#ifndef NDEBUG
TEST(GlmWriteDeathTest, EmptyModel) {
  EXPECT_DEATH(glmWriteOBJ(nullptr, "/dev/null", 0), "Assertion `model' failed");
}
#endif

TEST(GlmWrite, AnotherReaderLoadsTheWrittenModel) {
  if (system("command -v assimp >/dev/null 2>&1") != 0)
    GTEST_SKIP() << "assimp (assimp-utils) is not installed";
  TempDir dir;
  // a small closed mesh where vertex i always comes with normal i, so that a reader which merges
  // identical corners ends with one vertex per position
  std::string text;
  const int rings = 6, segments = 8;
  for (int r = 0; r <= rings; r++)
    for (int s = 0; s < segments; s++) {
      double th = kPi * r / rings, ph = 2 * kPi * s / segments;
      char buf[128];
      snprintf(buf, sizeof(buf), "v %.6f %.6f %.6f\n", std::sin(th) * std::cos(ph) + 0.001 * r,
               std::sin(th) * std::sin(ph) + 0.001 * s, std::cos(th));
      text += buf;
    }
  for (int r = 0; r < rings; r++)
    for (int s = 0; s < segments; s++) {
      int a = r * segments + s + 1, b = r * segments + (s + 1) % segments + 1;
      int c = a + segments, d = b + segments;
      text += "f " + std::to_string(a) + " " + std::to_string(c) + " " + std::to_string(d) + " " +
              std::to_string(b) + "\n";
    }
  _GLMmodel* m = readText(dir, "sphere.obj", text);
  ASSERT_NE(m, nullptr);
  glmFacetNormals(m);
  glmVertexNormals(m, 180.0f);
  std::string out = dir.file("written.obj");
  ASSERT_EQ(glmWriteOBJ(m, out.c_str(), GLM_SMOOTH), 0);
  auto r = testsupport::run("assimp info " + out);
  ASSERT_EQ(r.status, 0) << r.err;
  std::smatch match;
  ASSERT_TRUE(std::regex_search(r.out, match, std::regex("Faces: +([0-9]+)"))) << r.out;
  EXPECT_EQ(std::stoul(match[1]), m->numtriangles);
  ASSERT_TRUE(std::regex_search(r.out, match, std::regex("Vertices: +([0-9]+)"))) << r.out;
  EXPECT_EQ(std::stoul(match[1]), m->numvertices);
  float x[2], y[2], z[2];
  glmBoundBox(m, x, y, z);
  ASSERT_TRUE(
      std::regex_search(r.out, match, std::regex("Minimum point +\\(([-0-9.]+) ([-0-9.]+) ([-0-9.]+)\\)")));
  EXPECT_NEAR(std::stod(match[1]), x[0], 1e-5);
  EXPECT_NEAR(std::stod(match[3]), z[0], 1e-5);
  glmDelete(m);
}
