// Geometry of a model: helpers, bounds, planarity, transforms, normals, texture generators.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "model/glm.h"
#include "tests/model/glm_testutil.h"
#include "tests/support/testutil.h"

using glmtest::readText;
using testsupport::TempDir;

namespace {

std::string quadAt(double x0, double y0, double z0) {
  char buf[512];
  snprintf(buf, sizeof(buf), "v %.3f %.3f %.3f\nv %.3f %.3f %.3f\nv %.3f %.3f %.3f\nv %.3f %.3f %.3f\n", x0,
           y0, z0, x0 + 1, y0, z0, x0 + 1, y0 + 1, z0, x0, y0 + 1, z0);
  return std::string(buf) + "f 1 2 3\nf 1 3 4\n";
}

const float* V(_GLMmodel* m, unsigned int i) {
  return m->vertices + 3 * i;
}

}  // namespace

TEST(GlmGeom, VectorHelpers) {
  float u[3] = {1, 2, 3}, v[3] = {4, 5, 6}, r[3];
  EXPECT_FLOAT_EQ(glmDot(u, v), 32.0f);
  glmCross(u, v, r);
  EXPECT_FLOAT_EQ(r[0], -3.0f);
  EXPECT_FLOAT_EQ(r[1], 6.0f);
  EXPECT_FLOAT_EQ(r[2], -3.0f);
  glmMinus(v, u, r);
  EXPECT_FLOAT_EQ(r[0], 3.0f);
  glmAddMul(u, 2.0f, v, r);
  EXPECT_FLOAT_EQ(r[2], 15.0f);
  EXPECT_FLOAT_EQ(glmDist(u, v), std::sqrt(27.0f));
  EXPECT_FLOAT_EQ(glmMax(1, 2), 2.0f);
  EXPECT_FLOAT_EQ(glmAbs(-2), 2.0f);
  float z[3] = {0, 0, 0};
  glmNormalize(z);  // left alone
  EXPECT_EQ(z[0], 0.0f);
  float w[3] = {3, 0, 4};
  glmNormalize(w);
  EXPECT_FLOAT_EQ(w[2], 0.8f);
  // strictly below epsilon; with epsilon 0 nothing is equal, not even a vector to itself
  EXPECT_TRUE(glmEqual(u, u, 1e-6f));
  EXPECT_FALSE(glmEqual(u, u, 0.0f));
  float u2[3] = {1.5f, 2, 3};
  EXPECT_FALSE(glmEqual(u, u2, 0.5f));
  EXPECT_TRUE(glmEqual(u, u2, 0.51f));
}

TEST(GlmGeom, MatrixHelpers) {
  float gl[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 7, 1};  // translation, OpenGL order
  float rows[16];
  glmTranMat(rows, gl);
  EXPECT_FLOAT_EQ(rows[3], 5.0f);
  EXPECT_FLOAT_EQ(rows[7], 6.0f);
  float p[3] = {1, 1, 1};
  glmMatMult(rows, p);
  EXPECT_FLOAT_EQ(p[0], 6.0f);
  EXPECT_FLOAT_EQ(p[2], 8.0f);
  float persp[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 2};  // w = 2
  float q[3] = {2, 4, 6};
  glmMatMult(persp, q);
  EXPECT_FLOAT_EQ(q[0], 1.0f);
  EXPECT_FLOAT_EQ(q[2], 3.0f);
  float zero[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0};  // w = 0: no division
  float s[3] = {2, 4, 6};
  glmMatMult(zero, s);
  EXPECT_FLOAT_EQ(s[1], 4.0f);
}

TEST(GlmGeom, FlatImageIsPlanarWhereverItLies) {
  TempDir dir;
  for (double off : {0.0, 1e3, 1e6}) {
    _GLMmodel* m = readText(dir, "q.obj", quadAt(off, -off, off));
    ASSERT_NE(m, nullptr);
    EXPECT_EQ(glmIsPlanar(m, 1e-5f), 1) << off;
    glmDelete(m);
  }
  // a tilted plane
  _GLMmodel* m = readText(dir, "t.obj", "v 0 0 0\nv 1 0 1\nv 0 1 1\nv 1 1 2\nf 1 2 3\nf 2 4 3\n");
  EXPECT_EQ(glmIsPlanar(m, 1e-5f), 1);
  glmDelete(m);
}

TEST(GlmGeom, SolidIsNotPlanar) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "t.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 2 3\nf 1 2 4\n");
  EXPECT_EQ(glmIsPlanar(m, 1e-5f), 0);
  glmDelete(m);
  // slightly bent: the sine of the angle decides, against the tolerance
  m = readText(dir, "b.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0.001\nf 1 2 3\n");
  EXPECT_EQ(glmIsPlanar(m, 1e-5f), 0);
  EXPECT_EQ(glmIsPlanar(m, 1e-3f), 1);
  glmDelete(m);
}

TEST(GlmGeom, ThreeVerticesArePlanarWithoutTest) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "t.obj", "v 0 0 0\nv 0 0 0\nv 0 0 0\nf 1 2 3\n");
  EXPECT_EQ(glmIsPlanar(m, 0.0f), 1);
  glmDelete(m);
}

TEST(GlmGeom, VertexEqualToTheFirstPasses) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "t.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 0\nv 2 2 0\nf 1 2 3\n");
  EXPECT_EQ(glmIsPlanar(m, 1e-5f), 1);
  glmDelete(m);
}

TEST(GlmGeom, CollinearStartCountsAsPlanar) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "t.obj", "v 0 0 0\nv 1 0 0\nv 2 0 0\nv 0 0 5\nf 1 2 4\n");
  EXPECT_EQ(glmIsPlanar(m, 1e-5f), 1);  // the normal is zero, so every dot product is 0
  glmDelete(m);
}

TEST(GlmGeom, BoundsDimensionsAndUnitize) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "c.obj", "v 1 1 1\nv 3 3 3\nv 1 3 2\nf 1 2 3\n");
  float x[2], y[2], z[2], d[3];
  glmBoundBox(m, x, y, z);
  EXPECT_FLOAT_EQ(x[0], 1.0f);
  EXPECT_FLOAT_EQ(x[1], 3.0f);
  EXPECT_FLOAT_EQ(z[1], 3.0f);
  glmDimensions(m, d);  // sums of absolute values, not differences
  EXPECT_FLOAT_EQ(d[0], 4.0f);
  EXPECT_FLOAT_EQ(d[2], 4.0f);
  EXPECT_FLOAT_EQ(glmUnitize(m), 0.5f);
  glmBoundBox(m, x, y, z);
  EXPECT_FLOAT_EQ(x[0], -0.5f);
  EXPECT_FLOAT_EQ(x[1], 0.5f);
  EXPECT_FLOAT_EQ(y[0], -0.5f);
  EXPECT_FLOAT_EQ(z[1], 0.5f);
  glmDelete(m);
}

TEST(GlmGeom, ToOriginScaleAndUnitSphere) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "c.obj", "v 2 0 0\nv 4 0 0\nv 2 2 0\nf 1 2 3\n");
  glmToOrigin(m);
  EXPECT_FLOAT_EQ(V(m, 1)[0], -1.0f);
  EXPECT_FLOAT_EQ(V(m, 2)[0], 1.0f);
  EXPECT_FLOAT_EQ(V(m, 3)[1], 1.0f);
  glmScale(m, 3.0f);
  EXPECT_FLOAT_EQ(V(m, 2)[0], 3.0f);
  float f = glmUnitSphere(m);
  EXPECT_NEAR(f, 1.0f / std::sqrt(18.0f), 1e-6);
  EXPECT_NEAR(glmLength(V(m, 1)), 1.0f, 1e-6);
  glmDelete(m);
}

TEST(GlmGeom, TransformMovesVerticesAndTurnsNormals) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "c.obj", "v 1 0 0\nv 0 1 0\nv 0 0 1\nvn 1 1 0\nf 1//1 2//1 3//1\n");
  glmFacetNormals(m);
  // scale x by 2, then translate by (10, 0, 0); OpenGL column order
  float mat[16] = {2, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 10, 0, 0, 1};
  glmTransform(m, mat);
  EXPECT_FLOAT_EQ(V(m, 1)[0], 12.0f);
  EXPECT_FLOAT_EQ(V(m, 2)[0], 10.0f);
  EXPECT_FLOAT_EQ(V(m, 2)[1], 1.0f);
  // normals go through the inverse transpose: (1, 1, 0) becomes (0.5, 1, 0), made unit
  const float* n = m->normals + 3;
  EXPECT_NEAR(n[0], 0.5f / std::sqrt(1.25f), 1e-6);
  EXPECT_NEAR(n[1], 1.0f / std::sqrt(1.25f), 1e-6);
  EXPECT_NEAR(n[2], 0.0f, 1e-6);
  // the facet normal (1, 1, 1)/sqrt 3 becomes (0.5, 1, 1) made unit, still the face's normal
  const float* f = m->facetnorms + 3;
  EXPECT_NEAR(f[0], 0.5f / 1.5f, 1e-6);
  EXPECT_NEAR(f[1], 1.0f / 1.5f, 1e-6);
  glmDelete(m);
}

TEST(GlmGeom, ReverseWindingAndFlips) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "c.obj",
                          "v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nvn 0 1 0\nvn 1 0 0\nvt 0 0\nvt 1 0\nvt 0 1\n"
                          "f 1/1/1 2/2/2 3/3/3\n");
  glmFacetNormals(m);
  glmReverseWinding(m);
  const _GLMtriangle& t = m->triangles[0];
  EXPECT_EQ(t.vindices[0], 3u);
  EXPECT_EQ(t.vindices[2], 1u);
  EXPECT_EQ(t.nindices[0], 3u);
  EXPECT_EQ(t.tindices[2], 1u);
  EXPECT_FLOAT_EQ(m->normals[3 + 2], -1.0f);
  EXPECT_FLOAT_EQ(m->facetnorms[3 + 2], -1.0f);
  EXPECT_TRUE(std::signbit(m->facetnorms[3 + 0]));  // -0 after the negation
  glmFlipFaceNormals(m);
  EXPECT_FLOAT_EQ(m->facetnorms[3 + 2], 1.0f);
  EXPECT_FALSE(std::signbit(m->facetnorms[3 + 0]));  // the sign bit flips, also of a zero
  glmFlipNormals(m);
  EXPECT_FLOAT_EQ(m->normals[3 + 2], 1.0f);
  EXPECT_FLOAT_EQ(m->facetnorms[3 + 2], -1.0f);
  glmFlipVertexNormals(m);
  EXPECT_FLOAT_EQ(m->normals[3 + 2], -1.0f);
  glmDelete(m);
}

TEST(GlmGeom, FacetNormals) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "c.obj", "v 0 0 0\nv 2 0 0\nv 0 2 0\nv 0 0 2\nf 1 2 3\nf 1 4 2\n");
  glmFacetNormals(m);
  EXPECT_EQ(m->numfacetnorms, 2u);
  EXPECT_EQ(m->triangles[0].findex, 1u);
  EXPECT_EQ(m->triangles[1].findex, 2u);
  EXPECT_FLOAT_EQ(m->facetnorms[3 + 2], 1.0f);
  EXPECT_FLOAT_EQ(m->facetnorms[6 + 1], 1.0f);  // (0,0,2) x (2,0,0) = (0,4,0)
  glmDelete(m);
}

TEST(GlmGeom, VertexNormalsAverageWithinTheCreaseAngle) {
  TempDir dir;
  // two triangles folded by 90 degrees along the edge 1-2
  const char* fold = "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 0 0 1\nf 1 2 3\nf 2 1 4\n";
  _GLMmodel* m = readText(dir, "f.obj", fold);
  glmFacetNormals(m);
  glmVertexNormals(m, 120.0f);
  EXPECT_FLOAT_EQ(m->smoothAngle, 120.0f);
  // vertices 1 and 2 average both faces; 3 and 4 have one face each
  EXPECT_EQ(m->numnormals, 4u);
  const _GLMtriangle& t = m->triangles[0];
  const float* n1 = m->normals + 3 * t.nindices[0];
  EXPECT_NEAR(n1[0], 0.0f, 1e-6);  // faces +z and +y averaged
  EXPECT_NEAR(n1[1], std::sqrt(0.5f), 1e-6);
  EXPECT_NEAR(n1[2], std::sqrt(0.5f), 1e-6);
  EXPECT_EQ(m->triangles[1].nindices[1], t.nindices[0]);  // vertex 1 shares its normal
  glmDelete(m);

  m = readText(dir, "f.obj", fold);
  glmFacetNormals(m);
  glmVertexNormals(m, 45.0f);
  // the crease splits vertices 1 and 2: each face keeps its own normal there
  EXPECT_EQ(m->numnormals, 6u);
  const float* a = m->normals + 3 * m->triangles[0].nindices[0];
  const float* b = m->normals + 3 * m->triangles[1].nindices[1];
  EXPECT_NE(m->triangles[0].nindices[0], m->triangles[1].nindices[1]);
  EXPECT_NEAR(glmDot(a, b), 0.0f, 1e-6);
  glmDelete(m);
}

TEST(GlmGeom, VertexNormalsReportAVertexWithoutTriangle) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "f.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 5 5 5\nf 1 2 3\n");
  glmFacetNormals(m);
  testing::internal::CaptureStderr();
  glmVertexNormals(m, 90.0f);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "glmVertexNormals(): vertex w/o a triangle\n");
  EXPECT_EQ(m->numnormals, 3u);
  glmDelete(m);
}

TEST(GlmGeom, VertexNormalsNeedFacetNormals) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "f.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  // an array without entries counts as missing
  m->facetnorms = static_cast<float*>(ptrMalloc(3 * sizeof(float)));
  m->numfacetnorms = 0;
  testing::internal::CaptureStderr();
  glmVertexNormals(m, 90.0f);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Err (glmVertexNormals): missing face normals for vertex normal computation.\n");
  EXPECT_EQ(m->normals, nullptr);
  glmDelete(m);
}

#ifndef NDEBUG
TEST(GlmGeomDeathTest, AssertionsNameTheirPointer) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "f.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  EXPECT_DEATH(glmVertexNormals(m, 90.0f), "Assertion `model->facetnorms' failed");
  EXPECT_DEATH(glmSpheremapTexture(m), "Assertion `model->normals' failed");
  float d[3];
  EXPECT_DEATH(glmBoundBox(m, nullptr, d, d), "Assertion `rangeX' failed");
  EXPECT_DEATH(glmBoundBox(m, d, nullptr, d), "Assertion `rangeY' failed");
  EXPECT_DEATH(glmBoundBox(m, d, d, nullptr), "Assertion `rangeZ' failed");
  EXPECT_DEATH(glmDimensions(m, nullptr), "Assertion `dimensions' failed");
  // a model without materials can't take a texture
  EXPECT_DEATH(glmSetTexture(m, "a", "x.ppm", nullptr, GL_MODULATE), "Assertion `model->materials' failed");
  EXPECT_DEATH(glmSetTexture(nullptr, "a", "x.ppm", nullptr, GL_MODULATE), "Assertion `model' failed");
  glmDelete(m);

  _GLMmodel bare{};  // no vertices
  EXPECT_DEATH(glmBoundBox(nullptr, d, d, d), "Assertion `model' failed");
  EXPECT_DEATH(glmBoundBox(&bare, d, d, d), "Assertion `model->vertices' failed");
  EXPECT_DEATH(glmFacetNormals(nullptr), "Assertion `model' failed");
  EXPECT_DEATH(glmFacetNormals(&bare), "Assertion `model->vertices' failed");
}
#endif

TEST(GlmGeom, LinearTexture) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "f.obj", "v -1 0 -1\nv 1 0 -1\nv 1 0 1\nf 1 2 3\n");
  glmLinearTexture(m);
  ASSERT_EQ(m->numtexcoords, 3u);
  // dimensions are 2, 0, 2: s = 1; pairs from x and z
  EXPECT_FLOAT_EQ(m->texcoords[2 * 1 + 0], 0.0f);
  EXPECT_FLOAT_EQ(m->texcoords[2 * 1 + 1], 0.0f);
  EXPECT_FLOAT_EQ(m->texcoords[2 * 3 + 0], 1.0f);
  EXPECT_FLOAT_EQ(m->texcoords[2 * 3 + 1], 1.0f);
  EXPECT_EQ(m->triangles[0].tindices[1], 2u);
  glmDelete(m);
}

TEST(GlmGeom, SpheremapTexture) {
  TempDir dir;
  _GLMmodel* m =
      readText(dir, "f.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nvn 1 0 0\nvn 0 1 0\nf 1//1 2//2 3//3\n");
  glmSpheremapTexture(m);
  ASSERT_EQ(m->numtexcoords, 3u);
  // (0, 0, 1): x and y are 0, so phi = 1.5707964 and theta = 1.5707961
  EXPECT_NEAR(m->texcoords[2], 1.5707961f / static_cast<float>(kPi), 1e-7);
  EXPECT_NEAR(m->texcoords[3], 1.5707964f / static_cast<float>(kPi), 1e-7);
  // (1, 0, 0): r is 0
  EXPECT_EQ(m->texcoords[4], 0.0f);
  EXPECT_EQ(m->texcoords[5], 0.0f);
  // (0, 1, 0): theta = asin(1) + pi/2 = pi, phi = pi/2
  EXPECT_NEAR(m->texcoords[6], 1.0f, 1e-6);
  EXPECT_NEAR(m->texcoords[7], 0.5f, 1e-6);
  EXPECT_EQ(m->triangles[0].tindices[2], 3u);
  glmDelete(m);
}

TEST(GlmGeom, SetTextureRefusesBadArguments) {
  TempDir dir;
  testsupport::writeFile(dir.file("m.mtl"), "newmtl a\n");
  _GLMmodel* m = readText(dir, "f.obj", "mtllib m.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(glmSetTexture(m, "a", "x.ppm", nullptr, 12345), 1280);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Err (glmSetTexture) : invalid envType (see gltexenv)!\n");
  testing::internal::CaptureStdout();
  EXPECT_EQ(glmSetTexture(m, "zz", "x.ppm", nullptr, GL_MODULATE), 1);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "Err (glmSetTexture) : material name [zz] not found in model!\n");
  glmDelete(m);
}

TEST(GlmGeom, NearPowerOfTwo) {
  EXPECT_EQ(nearPower2(300), 256);  // 44 from 256, 212 from 512
  EXPECT_EQ(nearPower2(200), 256);  // 56 from 256, 72 from 128
  EXPECT_EQ(nearPower2(384), 256);  // the midway point goes down
  EXPECT_EQ(nearPower2(385), 512);
  EXPECT_EQ(nearPower2(256), 256);
  EXPECT_EQ(nearPower2(1), 1);
}

TEST(GlmGeom, ParallelSortsOrderKeysAndIds) {
  void (*sorts[])(float*, unsigned int*, unsigned int) = {glm_heapSort, glm_insertionSort, glm_shellSort,
                                                          glm_quickSort};
  for (auto sort : sorts) {
    for (unsigned int n : {0u, 1u, 2u, 3u, 7u, 100u, 1001u}) {
      std::vector<float> keys(n);
      std::vector<unsigned int> ids(n);
      unsigned int seed = n * 2654435761u + 1;
      for (unsigned int i = 0; i < n; i++) {
        seed = seed * 1103515245u + 12345u;
        keys[i] = static_cast<float>((seed >> 8) % 50);  // with repeats
        ids[i] = i;
      }
      std::vector<float> original = keys;
      sort(keys.data(), ids.data(), n);
      for (unsigned int i = 1; i < n; i++) EXPECT_LE(keys[i - 1], keys[i]) << n << " at " << i;
      // ids travel with their keys
      for (unsigned int i = 0; i < n; i++) EXPECT_EQ(original[ids[i]], keys[i]);
    }
  }
}
