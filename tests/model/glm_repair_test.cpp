// Spatial queries and mesh repairs.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "model/glm.h"
#include "tests/model/glm_testutil.h"
#include "tests/support/testutil.h"

using glmtest::readText;
using testsupport::TempDir;

namespace {

const char* kCubeVertices = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\n";
// Twelve triangles wound outward.
const char* kCubeFaces =
    "f 1 4 3\nf 1 3 2\nf 5 6 7\nf 5 7 8\nf 1 2 6\nf 1 6 5\n"
    "f 4 8 7\nf 4 7 3\nf 1 5 8\nf 1 8 4\nf 2 3 7\nf 2 7 6\n";

std::string cube() {
  return std::string(kCubeVertices) + kCubeFaces;
}

// Number of triangles whose winding faces away from the centre of the unit cube.
int outward(_GLMmodel* m) {
  glmFacetNormals(m);
  int n = 0;
  for (unsigned int i = 0; i < m->numtriangles; i++) {
    const _GLMtriangle& t = m->triangles[i];
    float c[3] = {0, 0, 0};
    for (int k = 0; k < 3; k++) glmAdd(c, m->vertices + 3 * t.vindices[k], c);
    glmMult(c, 1.0f / 3.0f);
    float out[3] = {c[0] - 0.5f, c[1] - 0.5f, c[2] - 0.5f};
    if (glmDot(out, m->facetnorms + 3 * t.findex) > 0) n++;
  }
  return n;
}

}  // namespace

TEST(GlmRepair, InsideTestOfACube) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "c.obj", cube());
  float middle[3] = {0.5f, 0.5f, 0.5f}, off[3] = {0.4f, 0.6f, 0.45f};
  float outside[3] = {2.0f, 0.5f, 0.5f}, far[3] = {-3.0f, 5.0f, 0.2f};
  for (unsigned int seed = 1; seed <= 50; seed++) {
    srand(seed);
    EXPECT_EQ(glmInsideTest(m, middle), 1) << seed;
    EXPECT_EQ(glmInsideTest(m, off), 1) << seed;
    EXPECT_EQ(glmInsideTest(m, outside), 0) << seed;
    EXPECT_EQ(glmInsideTest(m, far), 0) << seed;
  }
  glmDelete(m);
}

TEST(GlmRepair, ShortestDistance) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "t.obj", "v 0 0 0\nv 4 0 0\nv 0 4 0\nf 1 2 3\n");
  float above[3] = {1, 1, 3};
  EXPECT_FLOAT_EQ(glmShortestDist(m, above), 3.0f);  // over the inside: the height
  EXPECT_NE(m->facetnorms, nullptr);                 // made on the way
  float corner[3] = {-3, -4, 0};
  EXPECT_FLOAT_EQ(glmShortestDist(m, corner), 5.0f);  // beyond a corner: the distance to it
  float cornerUp[3] = {-3, -4, 12};
  EXPECT_FLOAT_EQ(glmShortestDist(m, cornerUp), 13.0f);
  float edge[3] = {2, -3, 4};
  EXPECT_FLOAT_EQ(glmShortestDist(m, edge), 5.0f);  // beside an edge
  glmDelete(m);

  m = readText(dir, "c.obj", cube());
  float inside[3] = {0.5f, 0.5f, 0.2f};
  EXPECT_NEAR(glmShortestDist(m, inside), 0.2f, 1e-6);
  glmDelete(m);
}

TEST(GlmRepair, MinDistSegment) {
  float a[3] = {0, 0, 0}, b[3] = {2, 0, 0}, mm[3] = {0, 1, 0};
  float q1[3] = {-1, 0, 0}, q2[3] = {5, 4, 0}, q3[3] = {1, 3, 0};
  EXPECT_FLOAT_EQ(glmMinDistSegment(a, b, mm, q1), 1.0f);
  EXPECT_FLOAT_EQ(glmMinDistSegment(a, b, mm, q2), 5.0f);
  EXPECT_FLOAT_EQ(glmMinDistSegment(a, b, mm, q3), 3.0f);
}

TEST(GlmRepair, WeldMergesCloseVertices) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "w.obj",
                          "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1.00001 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 4 6 5\n");
  glmWeld(m, 0.001f);
  EXPECT_EQ(m->numvertices, 4u);
  EXPECT_EQ(m->triangles[1].vindices[0], 2u);
  EXPECT_EQ(m->triangles[1].vindices[1], 4u);
  EXPECT_EQ(m->triangles[1].vindices[2], 3u);
  EXPECT_FLOAT_EQ(m->vertices[3 * 4 + 1], 1.0f);
  glmDelete(m);
  m = readText(dir, "w.obj", "v 0 0 0\nv 0 0 0\nv 0 1 0\nf 1 2 3\n");
  glmWeld(m, 0.0f);  // epsilon 0: nothing is equal
  EXPECT_EQ(m->numvertices, 3u);
  glmDelete(m);
}

TEST(GlmRepair, RemoveRedundantTriangles) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "c.obj", cube());
  EXPECT_EQ(glmRemoveRedundantTri(m), 0u);
  EXPECT_EQ(m->numtriangles, 12u);
  EXPECT_EQ(m->triangles[5].vindices[1], 6u);
  EXPECT_EQ(m->groups->triangles[11], 11u);
  glmDelete(m);

  m = readText(dir, "r.obj",
               "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 0 0\ng a\nf 1 2 3\nf 1 1 3\nf 2 3 1\ng b\nf 2 4 3\nf 3 1 2\n");
  // triangle 1 repeats a vertex, triangle 3 has an edge of length 0 (vertices 2 and 4 coincide)
  EXPECT_EQ(glmRemoveRedundantTri(m), 2u);
  EXPECT_EQ(m->numtriangles, 3u);
  _GLMgroup* a = glmFindGroup(m, " a");
  _GLMgroup* b = glmFindGroup(m, " b");
  ASSERT_EQ(a->numtriangles, 2u);
  EXPECT_EQ(a->triangles[0], 0u);
  EXPECT_EQ(a->triangles[1], 1u);
  ASSERT_EQ(b->numtriangles, 1u);
  EXPECT_EQ(b->triangles[0], 2u);
  EXPECT_EQ(m->triangles[2].vindices[0], 3u);  // "f 3 1 2" moved down over the gaps
  EXPECT_EQ(glmNumTri(m), 3u);
  glmDelete(m);
}

TEST(GlmRepair, RemoveRedundantVertices) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "v.obj", "v 0 0 0\nv 9 9 9\nv 1 0 0\nv 0 1 0\nv 1 0 0\nf 1 3 4\nf 5 4 1\n");
  // vertex 5 repeats vertex 3, vertex 2 is used by no triangle
  EXPECT_EQ(glmRemoveRedundantVertex(m), 2u);
  EXPECT_EQ(m->numvertices, 3u);
  EXPECT_FLOAT_EQ(m->vertices[3 * 2 + 0], 1.0f);
  EXPECT_FLOAT_EQ(m->vertices[3 * 3 + 1], 1.0f);
  EXPECT_EQ(m->triangles[0].vindices[1], 2u);
  EXPECT_EQ(m->triangles[0].vindices[2], 3u);
  EXPECT_EQ(m->triangles[1].vindices[0], 2u);
  glmDelete(m);
}

TEST(GlmRepair, FixOrderTurnsOneReversedFace) {
  TempDir dir;
  std::string faces = kCubeFaces;
  faces.replace(faces.find("f 5 6 7\nf 5 7 8\n"), 16, "f 5 7 6\nf 5 8 7\n");  // top face turned in
  _GLMmodel* m = readText(dir, "c.obj", std::string(kCubeVertices) + faces);
  EXPECT_EQ(outward(m), 10);
  glmFixOrder(m);
  EXPECT_EQ(outward(m), 12);
  glmDelete(m);
}

TEST(GlmRepair, FixOrderTurnsACubeInsideOut) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "c.obj", cube());
  glmReverseWinding(m);
  EXPECT_EQ(outward(m), 0);
  glmFixOrder(m);
  EXPECT_EQ(outward(m), 12);
  glmDelete(m);
}

TEST(GlmRepair, FixOrderHandlesSeparatePieces) {
  TempDir dir;
  // two cubes, the second one shifted and wholly inside out
  std::string text = cube();
  text += "v 3 0 0\nv 4 0 0\nv 4 1 0\nv 3 1 0\nv 3 0 1\nv 4 0 1\nv 4 1 1\nv 3 1 1\n";
  std::string faces = kCubeFaces;
  std::string shifted;
  for (size_t i = 0; i < faces.size();) {
    size_t end = faces.find('\n', i);
    int a, b, c;
    sscanf(faces.c_str() + i, "f %d %d %d", &a, &b, &c);
    shifted +=
        "f " + std::to_string(a + 8) + " " + std::to_string(c + 8) + " " + std::to_string(b + 8) + "\n";
    i = end + 1;
  }
  _GLMmodel* m = readText(dir, "c2.obj", text + shifted);
  glmFixOrder(m);
  // every triangle faces out of its own cube
  glmFacetNormals(m);
  for (unsigned int i = 0; i < m->numtriangles; i++) {
    const _GLMtriangle& t = m->triangles[i];
    float c[3] = {0, 0, 0};
    for (int k = 0; k < 3; k++) glmAdd(c, m->vertices + 3 * t.vindices[k], c);
    glmMult(c, 1.0f / 3.0f);
    float centre = i < 12 ? 0.5f : 3.5f;
    float out[3] = {c[0] - centre, c[1] - 0.5f, c[2] - 0.5f};
    EXPECT_GT(glmDot(out, m->facetnorms + 3 * t.findex), 0) << i;
  }
  glmDelete(m);
}

TEST(GlmRepair, FixOrderMakesAStripConsistent) {
  TempDir dir;
  // a flat strip of 2000 triangles, every other one wound the wrong way
  std::string text;
  const int n = 1001;
  for (int i = 0; i < n; i++) text += "v " + std::to_string(i) + " 0 0\nv " + std::to_string(i) + " 1 0\n";
  for (int i = 0; i + 1 < n; i++) {
    int a = 2 * i + 1, b = 2 * i + 2, c = 2 * i + 3, d = 2 * i + 4;
    text += "f " + std::to_string(a) + " " + std::to_string(c) + " " + std::to_string(b) + "\n";
    text += "f " + std::to_string(b) + " " + std::to_string(d) + " " + std::to_string(c) + "\n";
  }
  _GLMmodel* m = readText(dir, "s.obj", text);
  ASSERT_NE(m, nullptr);
  glmFacetNormals(m);
  int up = 0;
  for (unsigned int i = 0; i < m->numtriangles; i++) up += m->facetnorms[3 * (i + 1) + 2] > 0;
  EXPECT_EQ(up, 1000);
  glmFixOrder(m);
  glmFacetNormals(m);
  // a flat piece has no outside: all follow the first triangle, which faces +z
  for (unsigned int i = 0; i < m->numtriangles; i++) EXPECT_GT(m->facetnorms[3 * (i + 1) + 2], 0) << i;
  glmDelete(m);
}

#ifndef NDEBUG
TEST(GlmRepairDeathTest, QueriesNameTheirEmptyArgument) {
  float p[3] = {0, 0, 0};
  float corners[12] = {0, 0, 0, 0, 0, 0, 1, 0, 0, 0, 1, 0};
  _GLMmodel noVertices{};
  _GLMmodel noTriangles{};
  noTriangles.vertices = corners;
  noTriangles.numvertices = 3;
  TempDir dir;
  _GLMmodel* m = readText(dir, "t.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  ASSERT_NE(m, nullptr);
  EXPECT_DEATH(glmInsideTest(nullptr, p), "Assertion `model' failed");
  EXPECT_DEATH(glmInsideTest(&noVertices, p), "Assertion `model->vertices' failed");
  EXPECT_DEATH(glmInsideTest(&noTriangles, p), "Assertion `model->triangles' failed");
  EXPECT_DEATH(glmInsideTest(m, nullptr), "Assertion `testPoint' failed");
  EXPECT_DEATH(glmShortestDist(nullptr, p), "Assertion `model' failed");
  EXPECT_DEATH(glmShortestDist(&noVertices, p), "Assertion `model->vertices' failed");
  EXPECT_DEATH(glmShortestDist(&noTriangles, p), "Assertion `model->triangles' failed");
  EXPECT_DEATH(glmShortestDist(m, nullptr), "Assertion `testPoint' failed");
  glmDelete(m);
}
#endif
