// Reading OBJ and MTL text into a model record.
#include <dirent.h>
#include <gtest/gtest.h>

#include <cstring>
#include <string>

#include "fileio/entropy.h"
#include "model/glm.h"
#include "tests/model/glm_testutil.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using glmtest::inChild;
using glmtest::readText;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

const char* kQuad =
    "v 0 0 0\n"
    "v 1 0 0\n"
    "v 1 1 0\n"
    "v 0 1 0\n";

std::string groupNames(_GLMmodel* m) {
  std::string s;
  for (_GLMgroup* g = m->groups; g; g = g->next) s.append("[").append(g->name).append("]");
  return s;
}

int openDescriptors() {
  int n = 0;
  DIR* d = opendir("/proc/self/fd");
  while (d && readdir(d)) n++;
  if (d) closedir(d);
  return n;
}

}  // namespace

TEST(GlmRead, CountsAndOneBasedArrays) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "a.obj",
                          std::string(kQuad) +
                              "vn 0 0 1\nvt 0 0\nvt 1 0\nvt 1 1\n# comment\ns 1\no thing\n"
                              "f 1/1/1 2/2/1 3/3/1\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->numvertices, 4u);
  EXPECT_EQ(m->numnormals, 1u);
  EXPECT_EQ(m->numtexcoords, 3u);
  EXPECT_EQ(m->numtriangles, 1u);
  EXPECT_EQ(m->numfacetnorms, 0u);
  EXPECT_EQ(m->facetnorms, nullptr);
  EXPECT_EQ(m->centroidsValid, 0);
  EXPECT_FLOAT_EQ(m->vertices[3 * 2 + 0], 1.0f);  // vertex 2 is (1, 0, 0)
  EXPECT_FLOAT_EQ(m->vertices[3 * 3 + 1], 1.0f);
  EXPECT_FLOAT_EQ(m->normals[3 * 1 + 2], 1.0f);
  EXPECT_FLOAT_EQ(m->texcoords[2 * 3 + 0], 1.0f);
  EXPECT_EQ(m->triangles[0].vindices[2], 3u);
  EXPECT_EQ(m->triangles[0].tindices[1], 2u);
  EXPECT_EQ(m->triangles[0].nindices[0], 1u);
  EXPECT_STREQ(m->pathname, dir.file("a.obj").c_str());
  EXPECT_EQ(m->mtllibname, nullptr);
  glmDelete(m);
}

TEST(GlmRead, NoGroupLineGivesDefaultWithEveryTriangle) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "a.obj", std::string(kQuad) + "f 1 2 3\nf 1 3 4\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->numgroups, 1u);
  EXPECT_STREQ(m->groups->name, "default");
  EXPECT_EQ(m->groups->numtriangles, 2u);
  EXPECT_EQ(m->groups->triangles[1], 1u);
  EXPECT_EQ(glmNumTri(m), 2u);
  glmDelete(m);
}

TEST(GlmRead, SameGroupTwiceIsReusedAndListRunsBackwards) {
  TempDir dir;
  _GLMmodel* m =
      readText(dir, "a.obj", std::string(kQuad) + "g a\nf 1 2 3\ng b\nf 1 3 4\ng a\nf 2 3 4\nf 1 2 4\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->numgroups, 3u);
  // names keep the blank that follows the keyword
  EXPECT_EQ(groupNames(m), "[ b][ a][default]");
  _GLMgroup* a = glmFindGroup(m, " a");
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->numtriangles, 3u);
  EXPECT_EQ(a->triangles[0], 0u);
  EXPECT_EQ(a->triangles[1], 2u);
  EXPECT_EQ(a->triangles[2], 3u);
  EXPECT_EQ(glmFindGroup(m, "a"), nullptr);  // exact comparison
  EXPECT_EQ(glmFindGroup(m, "default")->numtriangles, 0u);
  glmDelete(m);
}

TEST(GlmRead, GroupNameKeepsInnerBlanks) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "a.obj", std::string(kQuad) + "g head  and   hat\nf 1 2 3\n");
  ASSERT_NE(m, nullptr);
  EXPECT_STREQ(m->groups->name, " head  and   hat");
  glmDelete(m);
}

TEST(GlmRead, FacesBeforeFirstGroupLineGoToTheHeadGroupWithoutOverflow) {
  TempDir dir;
  // Pass 1 counts these three faces for "default"; pass 2 stores them into the head group "x",
  // whose array was sized for one triangle.
  _GLMmodel* m = readText(dir, "a.obj", std::string(kQuad) + "f 1 2 3\nf 1 3 4\nf 2 3 4\ng x\nf 1 2 4\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->numtriangles, 4u);
  _GLMgroup* x = glmFindGroup(m, " x");
  ASSERT_NE(x, nullptr);
  EXPECT_EQ(x->numtriangles, 4u);
  for (unsigned int i = 0; i < 4; i++) EXPECT_EQ(x->triangles[i], i);
  EXPECT_EQ(glmFindGroup(m, "default")->numtriangles, 0u);
  glmDelete(m);
}

TEST(GlmRead, PolygonBecomesAFan) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "a.obj", std::string(kQuad) + "v 0 2 0\nf 1 2 3 4 5\n");
  ASSERT_NE(m, nullptr);
  ASSERT_EQ(m->numtriangles, 3u);
  unsigned int want[3][3] = {{1, 2, 3}, {1, 3, 4}, {1, 4, 5}};
  for (int t = 0; t < 3; t++)
    for (int k = 0; k < 3; k++) EXPECT_EQ(m->triangles[t].vindices[k], want[t][k]) << t << "," << k;
  glmDelete(m);
}

TEST(GlmRead, FanCarriesEveryIndexKind) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "a.obj",
                          std::string(kQuad) +
                              "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\nvn 0 0 1\nvn 0 0 -1\n"
                              "f 1/1/1 2/2/2 3/3/1 4/4/2\n");
  ASSERT_NE(m, nullptr);
  ASSERT_EQ(m->numtriangles, 2u);
  const _GLMtriangle& t = m->triangles[1];
  EXPECT_EQ(t.vindices[0], 1u);
  EXPECT_EQ(t.vindices[1], 3u);
  EXPECT_EQ(t.vindices[2], 4u);
  EXPECT_EQ(t.tindices[0], 1u);
  EXPECT_EQ(t.tindices[1], 3u);
  EXPECT_EQ(t.tindices[2], 4u);
  EXPECT_EQ(t.nindices[0], 1u);
  EXPECT_EQ(t.nindices[1], 1u);
  EXPECT_EQ(t.nindices[2], 2u);
  glmDelete(m);
}

TEST(GlmRead, VertexNormalFormLeavesTextureIndicesAlone) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "a.obj",
                          "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 2 2\n"
                          "vn 0 0 1\nvn 0 1 0\nvn 1 0 0\nvn 0 0 -1\nvn 0 -1 0\nvn -1 0 0\n"
                          "f 1//2 3//4 5//6\n");
  ASSERT_NE(m, nullptr);
  const _GLMtriangle& t = m->triangles[0];
  EXPECT_EQ(t.vindices[0], 1u);
  EXPECT_EQ(t.vindices[1], 3u);
  EXPECT_EQ(t.vindices[2], 5u);
  EXPECT_EQ(t.nindices[0], 2u);
  EXPECT_EQ(t.nindices[1], 4u);
  EXPECT_EQ(t.nindices[2], 6u);
  // not given by the face: left as the (zero-filling) allocation gave them, slot 0 is free
  EXPECT_EQ(t.tindices[0], 0u);
  EXPECT_EQ(m->texcoords, nullptr);
  glmDelete(m);
}

TEST(GlmRead, VertexTextureForm) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "a.obj", std::string(kQuad) + "vt 0 0\nvt 1 0\nvt 1 1\nf 1/3 2/2 3/1\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->triangles[0].tindices[0], 3u);
  EXPECT_EQ(m->triangles[0].tindices[2], 1u);
  EXPECT_EQ(m->triangles[0].vindices[1], 2u);
  glmDelete(m);
}

TEST(GlmRead, TailOfALongSkippedLineIsReadAsNewWords) {
  TempDir dir;
  // After a skipped keyword such as "o", one read takes 127 characters; the rest of the line is
  // tokenized. (A comment line is the exception: it is skipped whole, see obj_hostile_test.)
  std::string named = "o " + std::string(126, 'x') + " v 7 8 9\n";
  _GLMmodel* m = readText(dir, "a.obj", std::string(kQuad) + named + "f 1 2 3\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->numvertices, 5u);
  EXPECT_FLOAT_EQ(m->vertices[3 * 5 + 0], 7.0f);
  EXPECT_FLOAT_EQ(m->vertices[3 * 5 + 2], 9.0f);
  glmDelete(m);
}

TEST(GlmRead, FourthVertexComponentDoesNotDisturbTheNextLine) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "a.obj", "v 0 0 0 1\nv 1 0 0 1\nv 1 1 0 1\nvt 0.5 0.5 0\nf 1 2 3\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->numvertices, 3u);
  EXPECT_EQ(m->numtexcoords, 1u);
  EXPECT_EQ(m->numtriangles, 1u);
  EXPECT_FLOAT_EQ(m->vertices[3 * 3 + 1], 1.0f);
  glmDelete(m);
}

TEST(GlmRead, AFailingNumberReadLeavesTheValueAsItStood) {
  TempDir dir;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  // "oops" ends the read of vertex 2 after x, and is then dispatched as a word of its own (and
  // skipped with the rest of its line). In the faces a failing corner read keeps the values of
  // the corner before: "f 1 2" ends as (1, 2, 2), and "x" ends the fan of the last line.
  _GLMmodel* m = readText(dir, "a.obj",
                          "v 0 0 0\nv 1 oops 7\nv 1 1 0\nv 0 1 0\n"
                          "vt 0 0\nvt 1 1\nvn 0 0 1\nvn 0 1 0\n"
                          "f 1 2\nf 1/1/1 2/2/2 3\nf 1 2 x 3 4\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  ASSERT_NE(m, nullptr);
  EXPECT_FLOAT_EQ(m->vertices[3 * 2 + 0], 1.0f);
  EXPECT_FLOAT_EQ(m->vertices[3 * 2 + 1], 0.0f);
  EXPECT_FLOAT_EQ(m->vertices[3 * 2 + 2], 0.0f);
  EXPECT_FLOAT_EQ(m->vertices[3 * 3 + 1], 1.0f);
  ASSERT_EQ(m->numtriangles, 3u);
  const unsigned int want[3][3] = {{1, 2, 2}, {1, 2, 3}, {1, 2, 2}};
  for (int t = 0; t < 3; t++)
    for (int k = 0; k < 3; k++) EXPECT_EQ(m->triangles[t].vindices[k], want[t][k]) << t << "," << k;
  // "3" gives one field of "%d/%d/%d": texture and normal stay those of corner 2
  EXPECT_EQ(m->triangles[1].tindices[2], 2u);
  EXPECT_EQ(m->triangles[1].nindices[2], 2u);
  glmDelete(m);
}

TEST(GlmRead, UnknownVertexKeywordEndsTheProcessInPassOne) {
  TempDir dir;
  std::string path = dir.file("vp.obj");
  writeFile(path, std::string(kQuad) + "vp 0 0\nf 1 2 3\n");
  auto r = inChild([&] { glmReadOBJ(path.c_str()); });
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.out, "glmFirstPass(): Unknown token \"vp\".\n");
  EXPECT_EQ(r.err, "");
}

TEST(GlmRead, MissingFileFailsWithMessageOrSilently) {
  TempDir dir;
  std::string path = dir.file("none.obj");
  testing::internal::CaptureStderr();
  EXPECT_EQ(glmReadOBJ(path.c_str()), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "glmReadOBJ() failed: can't open objfile \"" + path + "\".\n");
  testing::internal::CaptureStderr();
  testing::internal::CaptureStdout();
  EXPECT_EQ(glmReadOBJQuiet(path.c_str()), nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
}

TEST(GlmRead, NameWithoutObjEndingWarnsAndReads) {
  TempDir dir;
  std::string path = dir.file("model.txt");
  writeFile(path, std::string(kQuad) + "f 1 2 3\n");
  testing::internal::CaptureStderr();
  _GLMmodel* m = glmReadOBJ(path.c_str());
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "Warning: glmReadOBJ() : input file does not end with .obj\n\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->numtriangles, 1u);
  glmDelete(m);
  testing::internal::CaptureStderr();
  m = glmReadOBJQuiet(path.c_str());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  ASSERT_NE(m, nullptr);
  glmDelete(m);
}

TEST(GlmRead, EZPackedModelReadsTheSame) {
  TempDir dir;
  std::string text = std::string(kQuad) + "f 1 2 3 4\n";
  writeFile(dir.file("plain.obj"), text);
  FILE* in = fopen(dir.file("plain.obj").c_str(), "rb");
  FILE* out = fopen(dir.file("packed.obj").c_str(), "wb");
  ASSERT_TRUE(in && out);
  PackFromFile(out, in);
  fclose(in);
  fclose(out);
  ASSERT_EQ(testsupport::readFile(dir.file("packed.obj")).substr(0, 2), "EZ");
  _GLMmodel* m = glmReadOBJQuiet(dir.file("packed.obj").c_str());
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->numvertices, 4u);
  EXPECT_EQ(m->numtriangles, 2u);
  EXPECT_FLOAT_EQ(m->vertices[3 * 3 + 1], 1.0f);
  glmDelete(m);
}

// ---- Materials ----

TEST(GlmRead, WithoutMtllibEveryUsemtlGivesTheDefault) {
  TempDir dir;
  testing::internal::CaptureStdout();
  _GLMmodel* m = readText(dir, "a.obj", std::string(kQuad) + "g a\nusemtl red\nf 1 2 3\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "glmFindMaterial():  can't find material \"red\".\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->nummaterials, 0u);
  EXPECT_EQ(m->materials, nullptr);
  EXPECT_EQ(m->groups->material, 0u);
  glmDelete(m);
}

TEST(GlmRead, MaterialsDefaultsColoursAndShininess) {
  TempDir dir;
  writeFile(dir.file("m.mtl"),
            "# materials\n"
            "newmtl red\nKd 1 0 0\nKa 0.1 0.2 0.3 0.4\nNs 1000\n"
            "newmtl half\nKd 1 0 0 0.5\nNs 500\nKs 0.5\n"
            "newmtl plain\n");
  testing::internal::CaptureStdout();
  _GLMmodel* m =
      readText(dir, "a.obj",
               std::string("mtllib m.mtl\n") + kQuad +
                   "usemtl red\nf 1 2 3\ng b\nusemtl half\nf 1 3 4\ng c\nusemtl nothere\nf 2 3 4\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "glmFindMaterial():  can't find material \"nothere\".\n");
  ASSERT_NE(m, nullptr);
  ASSERT_EQ(m->nummaterials, 4u);
  EXPECT_STREQ(m->mtllibname, "m.mtl");
  const _GLMmaterial* mat = m->materials;
  EXPECT_STREQ(mat[0].name, "default");
  EXPECT_FLOAT_EQ(mat[0].diffuse[0], 0.8f);
  EXPECT_FLOAT_EQ(mat[0].ambient[2], 0.2f);
  EXPECT_FLOAT_EQ(mat[0].specular[3], 1.0f);
  EXPECT_FLOAT_EQ(mat[0].shininess, 65.0f);
  EXPECT_EQ(mat[0].texEnv, GL_MODULATE);
  EXPECT_EQ(mat[0].texId, 0u);
  EXPECT_STREQ(mat[1].name, "red");
  EXPECT_FLOAT_EQ(mat[1].diffuse[0], 1.0f);
  EXPECT_FLOAT_EQ(mat[1].diffuse[1], 0.0f);
  EXPECT_FLOAT_EQ(mat[1].diffuse[3], 1.0f);  // three values force alpha 1
  EXPECT_FLOAT_EQ(mat[1].ambient[3], 0.4f);
  EXPECT_FLOAT_EQ(mat[1].shininess, 128.0f);  // Ns 1000
  EXPECT_FLOAT_EQ(mat[2].diffuse[3], 0.5f);
  EXPECT_FLOAT_EQ(mat[2].shininess, 64.0f);  // Ns 500
  // fewer values set what they can and leave the rest
  EXPECT_FLOAT_EQ(mat[2].specular[0], 0.5f);
  EXPECT_FLOAT_EQ(mat[2].specular[1], 0.0f);
  EXPECT_FLOAT_EQ(mat[2].specular[3], 1.0f);
  EXPECT_STREQ(mat[3].name, "plain");
  EXPECT_FLOAT_EQ(mat[3].diffuse[1], 0.8f);  // declared, sets nothing: behaves as the default
  // groups: c (unknown material: 0), b (half). The usemtl before the first g went to the head
  // group of pass 2, which is c, not default: default keeps material 0.
  EXPECT_EQ(groupNames(m), "[ c][ b][default]");
  EXPECT_EQ(m->groups->material, 0u);
  EXPECT_EQ(m->groups->next->material, 2u);
  EXPECT_EQ(m->groups->next->next->material, 0u);
  glmDelete(m);
}

TEST(GlmRead, NewGroupTakesTheCurrentMaterial) {
  TempDir dir;
  writeFile(dir.file("m.mtl"), "newmtl red\nKd 1 0 0\n");
  _GLMmodel* m = readText(dir, "a.obj", std::string("mtllib m.mtl\n") + kQuad + "usemtl red\ng a\nf 1 2 3\n");
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(glmFindGroup(m, " a")->material, 1u);
  glmDelete(m);
}

TEST(GlmRead, EveryWordBeginningWithNIsTheShininess) {
  TempDir dir;
  writeFile(dir.file("m.mtl"), "newmtl a\nNs 1000\nNi 250\n");
  _GLMmodel* m = readText(dir, "a.obj", std::string("mtllib m.mtl\n") + kQuad);
  ASSERT_NE(m, nullptr);
  EXPECT_FLOAT_EQ(m->materials[1].shininess, 32.0f);
  glmDelete(m);
}

TEST(GlmRead, KeywordsBeforeFirstNewmtlChangeTheDefault) {
  TempDir dir;
  writeFile(dir.file("m.mtl"), "Kd 0 0 1\nNs 0\nnewmtl a\n");
  _GLMmodel* m = readText(dir, "a.obj", std::string("mtllib m.mtl\n") + kQuad);
  ASSERT_NE(m, nullptr);
  EXPECT_FLOAT_EQ(m->materials[0].diffuse[2], 1.0f);
  EXPECT_FLOAT_EQ(m->materials[0].diffuse[0], 0.0f);
  EXPECT_FLOAT_EQ(m->materials[0].shininess, 0.0f);
  EXPECT_FLOAT_EQ(m->materials[1].diffuse[0], 0.8f);
  glmDelete(m);
}

TEST(GlmRead, TextureLinesArePendingUntilTheFirstDraw) {
  TempDir dir;
  writeFile(dir.file("m.mtl"),
            "newmtl a\nTd modulate picture.ppm mask.pgm\n"
            "newmtl b\nTd decal other.sgi\n"
            "newmtl c\nTd modulate picture.jpg\n");
  _GLMmodel* m = readText(dir, "a.obj", std::string("mtllib m.mtl\n") + kQuad);
  ASSERT_NE(m, nullptr);
  const _GLMmaterial* mat = m->materials;
  EXPECT_EQ(mat[1].texPending, 1);
  EXPECT_STREQ(mat[1].texEnvName, "modulate");
  EXPECT_STREQ(mat[1].texFile, "picture.ppm");
  EXPECT_STREQ(mat[1].texAlphaFile, "mask.pgm");
  EXPECT_EQ(std::string(mat[1].texDir), dir.path() + "/");
  EXPECT_EQ(mat[1].texId, 0u);
  EXPECT_STREQ(mat[2].texEnvName, "decal");
  EXPECT_STREQ(mat[2].texAlphaFile, "");
  // an unknown extension isn't looked at while reading; it fails at the first draw
  EXPECT_EQ(mat[3].texPending, 1);
  EXPECT_STREQ(mat[3].texFile, "picture.jpg");
  EXPECT_EQ(mat[0].texPending, 0);
  glmDelete(m);
}

TEST(GlmRead, TransparencyLineNamesNoTexture) {
  TempDir dir;
  writeFile(dir.file("m.mtl"), "newmtl a\nTr 1.000000\nKd 1 1 1\n");
  _GLMmodel* m = readText(dir, "a.obj", std::string("mtllib m.mtl\n") + kQuad);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(m->materials[1].texPending, 0);
  EXPECT_STREQ(m->materials[1].texFile, "");
  EXPECT_FLOAT_EQ(m->materials[1].diffuse[0], 1.0f);
  glmDelete(m);
}

TEST(GlmRead, MaterialNamesUpTo511Characters) {
  TempDir dir;
  std::string name(511, 'n');
  writeFile(dir.file("m.mtl"), "newmtl " + name + "\nKd 0 1 0\n");
  _GLMmodel* m = readText(dir, "a.obj", std::string("mtllib m.mtl\n") + kQuad);
  ASSERT_NE(m, nullptr);
  EXPECT_EQ(std::string(m->materials[1].name), name);
  glmDelete(m);
}

TEST(GlmRead, SecondMtllibReadsOverTheFirst) {
  TempDir dir;
  writeFile(dir.file("one.mtl"), "newmtl a\nnewmtl b\n");
  writeFile(dir.file("two.mtl"), "newmtl c\n");
  _GLMmodel* m = readText(dir, "a.obj", std::string("mtllib one.mtl\nmtllib two.mtl\n") + kQuad);
  ASSERT_NE(m, nullptr);
  EXPECT_STREQ(m->mtllibname, "two.mtl");
  ASSERT_EQ(m->nummaterials, 2u);
  EXPECT_STREQ(m->materials[1].name, "c");
  glmDelete(m);
}

TEST(GlmRead, MaterialFileIsTakenRelativeToTheModel) {
  TempDir dir;
  writeFile(dir.file("m.mtl"), "newmtl a\n");
  _GLMmodel* m = readText(dir, "a.obj", std::string("mtllib m.mtl extra words\n") + kQuad);
  ASSERT_NE(m, nullptr);
  EXPECT_STREQ(m->mtllibname, "m.mtl");
  EXPECT_EQ(m->nummaterials, 2u);
  glmDelete(m);
}

TEST(GlmRead, MaterialStreamStaysOpen) {
  TempDir dir;
  writeFile(dir.file("m.mtl"), "newmtl a\n");
  writeFile(dir.file("a.obj"), std::string("mtllib m.mtl\n") + kQuad);
  int before = openDescriptors();
  _GLMmodel* m = glmReadOBJQuiet(dir.file("a.obj").c_str());
  ASSERT_NE(m, nullptr);
  glmDelete(m);
  EXPECT_EQ(openDescriptors(), before + 1);
}

TEST(GlmRead, MissingMaterialFileEndsTheProcess) {
  TempDir dir;
  std::string path = dir.file("a.obj");
  writeFile(path, std::string("mtllib missing.mtl\n") + kQuad);
  auto r = inChild([&] { glmReadOBJ(path.c_str()); });
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "glmReadMTL() failed: can't open material file \"" + dir.path() + "/missing.mtl\".\n");
  EXPECT_EQ(r.out, "");
}

// ---- Small helpers, allocator, release ----

TEST(GlmRead, DirNameAndStrDup) {
  char* d = glmDirName("/a/b/c.obj");
  EXPECT_STREQ(d, "/a/b/");
  ptrFree(d);
  d = glmDirName("c.obj");
  EXPECT_STREQ(d, "");
  ptrFree(d);
  char* s = glmStrDup("text");
  EXPECT_STREQ(s, "text");
  ptrFree(s);
}

TEST(GlmRead, AddGroupReturnsTheExistingGroup) {
  TempDir dir;
  _GLMmodel* m = readText(dir, "a.obj", std::string(kQuad) + "f 1 2 3\n");
  ASSERT_NE(m, nullptr);
  _GLMgroup* g = glmAddGroup(m, "default");
  EXPECT_EQ(g, m->groups);
  EXPECT_EQ(m->numgroups, 1u);
  _GLMgroup* n = glmAddGroup(m, "new");
  EXPECT_EQ(m->groups, n);
  EXPECT_EQ(m->numgroups, 2u);
  EXPECT_EQ(n->numtriangles, 0u);
  EXPECT_EQ(n->triangles, nullptr);
  EXPECT_EQ(n->sortKeys, nullptr);
  glmDelete(m);
}

namespace {
// The release half of the pair: the shared allocator counts the blocks given, this the ones
// given back.
int freedBlocks = 0;
void countingFree(void* p) {
  freedBlocks++;
  free(p);
}
}  // namespace

TEST(GlmRead, EveryBlockGoesThroughTheAllocatorPair) {
  TempDir dir;
  writeFile(dir.file("m.mtl"), "newmtl a\n");
  testsupport::FailAllocScope never(-1);
  freedBlocks = 0;
  glmSetPtr(testsupport::failingAlloc, countingFree);
  _GLMmodel* m = readText(dir, "a.obj", std::string("mtllib m.mtl\n") + kQuad + "g a\nf 1 2 3 4\n");
  ASSERT_NE(m, nullptr);
  glmFacetNormals(m);
  glmVertexNormals(m, 90.0f);
  EXPECT_GT(testsupport::failingAllocCalls(), 8);
  glmDelete(m);
  glmSetPtr(malloc, free);
  EXPECT_EQ(freedBlocks, testsupport::failingAllocCalls());
}

#ifndef NDEBUG
TEST(GlmReadDeathTest, EmptyModelIsAProgrammingError) {
  EXPECT_DEATH(glmDelete(nullptr), "Assertion `model' failed");
  EXPECT_DEATH(glmFindGroup(nullptr, "x"), "Assertion `model' failed");
}
#endif
