// Tests of opening models and of the export, on the real samples, with an OpenGL context on a
// private X server (the first view and the export matrix are made on OpenGL's matrix stacks).
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <random>
#include <regex>
#include <sstream>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "fileio/entropy.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tool/velmora.h"
#include "tool/vmfile.h"
#include "viewer/tarnwick.h"

namespace {

namespace fs = std::filesystem;
using testsupport::readFile;
using testsupport::TempDir;
using testsupport::writeFile;

const std::string kSamples = std::string(VELMORA_SOURCE_DIR) + "/samples";
constexpr int kHeaderLines = 5;  // written-by with its date, empty, unit, coordinate system, empty

// ---- Reading exported files back ----------------------------------------------------------------

std::vector<std::string> linesOf(const std::string& text) {
  std::vector<std::string> out;
  size_t start = 0;
  while (start < text.size()) {
    size_t end = text.find('\n', start);
    if (end == std::string::npos) end = text.size() - 1;
    out.push_back(text.substr(start, end - start + 1));
    start = end + 1;
  }
  return out;
}

struct Vec {
  double x, y, z;
};

// The points of the lines beginning with `head` ("v " or "vn "), in file order.
std::vector<Vec> pointsOf(const std::string& text, const char* head) {
  std::vector<Vec> out;
  for (const std::string& line : linesOf(text)) {
    if (line.compare(0, strlen(head), head) != 0) continue;
    Vec v{};
    std::istringstream in(line.substr(strlen(head)));
    in >> v.x >> v.y >> v.z;
    out.push_back(v);
  }
  return out;
}

// Every line but "v " and "vn " lines.
std::vector<std::string> otherLines(const std::vector<std::string>& lines, size_t from) {
  std::vector<std::string> out;
  for (size_t i = from; i < lines.size(); i++)
    if (lines[i].rfind("v ", 0) != 0 && lines[i].rfind("vn ", 0) != 0) out.push_back(lines[i]);
  return out;
}

double length(const Vec& v) {
  return std::sqrt(v.x * v.x + v.y * v.y + v.z * v.z);
}

// ---- The export matrix, worked out independently in double precision ---------------------------

using Mat = std::array<double, 16>;  // row order

Mat rowsOf(const double* columns) {
  Mat m;
  for (int r = 0; r < 4; r++)
    for (int c = 0; c < 4; c++) m[4 * r + c] = columns[4 * c + r];
  return m;
}

Mat rowsOf(const float* columns) {
  double d[16];
  for (int i = 0; i < 16; i++) d[i] = columns[i];
  return rowsOf(d);
}

Mat mul(const Mat& a, const Mat& b) {
  Mat out;
  multMat(a.data(), b.data(), out.data(), 4);
  return out;
}

Mat diagonal(double x, double y, double z) {
  return Mat{x, 0, 0, 0, 0, y, 0, 0, 0, 0, z, 0, 0, 0, 0, 1};
}

Vec transformPoint(const Mat& m, const Vec& p) {
  double r[4];
  for (int i = 0; i < 4; i++) r[i] = m[4 * i] * p.x + m[4 * i + 1] * p.y + m[4 * i + 2] * p.z + m[4 * i + 3];
  return Vec{r[0] / r[3], r[1] / r[3], r[2] / r[3]};
}

// s matrix T S init in row order, from the alignment state, for distance `distance`.
Mat alignmentRows(float distance) {
  const double* t = alignModelMatrix + 12;
  const float s = distance / static_cast<float>(std::sqrt(t[0] * t[0] + t[1] * t[1] + t[2] * t[2]));
  Mat tran = diagonal(1, 1, 1);
  tran[3] = alignModelObjTran[0];
  tran[7] = alignModelObjTran[1];
  return mul(mul(mul(mul(diagonal(s, s, s), rowsOf(alignModelMatrix)), tran),
                 diagonal(alignModelObjScale[0], alignModelObjScale[1], alignModelObjScale[2])),
             rowsOf(initTranMat));
}

// The supergalactic axes in the galactic frame, from their standard definition: the pole at
// l 47.37, b 6.32, and longitude 0 at l 137.37 on the galactic equator.
Mat superGalacticRows() {
  double x[3], z[3], y[3];
  lbToVec(137.37, 0.0, x);
  lbToVec(47.37, 6.32, z);
  cross3D(z, x, y);
  return Mat{x[0], x[1], x[2], 0, y[0], y[1], y[2], 0, z[0], z[1], z[2], 0, 0, 0, 0, 1};
}

void expectNear(const Vec& got, const Vec& want, double tolerance, const std::string& what) {
  EXPECT_NEAR(got.x, want.x, tolerance) << what;
  EXPECT_NEAR(got.y, want.y, tolerance) << what;
  EXPECT_NEAR(got.z, want.z, tolerance) << what;
}

// ---- Fixture ------------------------------------------------------------------------------------

class VmFile : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(64, 64), 0) << "Xvfb could not be started";
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    nRecentFiles = 0;
  }
  void TearDown() override {
    if (alignModel) glmDelete(alignModel);
    alignModel = nullptr;
  }

  // openFile with both streams captured; returns its result.
  int open(const std::string& dir, const std::string& name, std::string* err = nullptr,
           std::string* out = nullptr) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int r = openFile(dir.c_str(), name.c_str());
    std::string e = testing::internal::GetCapturedStderr();
    std::string o = testing::internal::GetCapturedStdout();
    if (err) *err = e;
    if (out) *out = o;
    return r;
  }

  // The export as the panel's button makes it, with both streams captured.
  int exportAs(const std::string& target, int unit = kUnitKiloParsec, int coord = kCoordGalactic,
               std::string* err = nullptr, std::string* out = nullptr, float distance = -1) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int r = exportObjFile(target.c_str(), alignfile, alignModel, alignModelMatrix, initTranMat,
                          distance < 0 ? distObjModel : distance, unit, coord);
    std::string e = testing::internal::GetCapturedStderr();
    std::string o = testing::internal::GetCapturedStdout();
    if (err) *err = e;
    if (out) *out = o;
    return r;
  }
};

// The export of a plain file through E = identity: a matrix that only moves by (1, 0, 0) and an
// initial matrix that moves back, at distance 1.
int exportIdentity(const std::string& target, const std::string& source, std::string* err = nullptr) {
  const double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1};
  const float init[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 1};
  alignModelObjScale[0] = alignModelObjScale[1] = alignModelObjScale[2] = 1;
  alignModelObjTran[0] = alignModelObjTran[1] = 0;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  int r = exportObjFile(target.c_str(), source.c_str(), nullptr, matrix, init, 1.0f, 0, 0);
  std::string e = testing::internal::GetCapturedStderr();
  testing::internal::GetCapturedStdout();
  if (err) *err = e;
  return r;
}

// A closed, non-planar mesh with normals, far from the origin: an octahedron at (60, 40, 20).
std::string octahedron(const char* lineEnd = "\n") {
  std::string e = lineEnd;
  return "# octahedron" + e + "g solid" + e + "v 61 40 20" + e + "v 59 40 20" + e + "v 60 41.5 20" + e +
         "v 60 38.5 20" + e + "v 60 40 22" + e + "v 60 40 18" + e + "vn 1 0 0" + e + "vn 0 1 0" + e +
         "vn 0 0 1" + e + "vt 0.5 0.5" + e + "f 1//1 3//2 5//3" + e + "f 3//2 2//1 5//3" + e +
         "f 2//1 4//2 5//3" + e + "f 4//2 1//1 5//3" + e + "f 3//2 1//1 6//3" + e + "f 2//1 3//2 6//3" + e +
         "f 4//2 2//1 6//3" + e + "f 1//1 4//2 6//3" + e;
}

// ---- Opening --------------------------------------------------------------------------------------

TEST_F(VmFile, OpeningAnImageSetsTheStateUp) {
  recentListBoxID = kRecentListBase + 3;
  nUndo = 5;
  nRedo = 2;
  std::string err;
  ASSERT_EQ(open(kSamples, "m51.obj", &err), 1);
  const std::string path = kSamples + "/m51.obj";
  EXPECT_EQ(err, "Try to read [" + path + "] (please wait) ... okay.\n");
  ASSERT_NE(alignModel, nullptr);
  EXPECT_EQ(alignModel->numvertices, 4u);
  EXPECT_EQ(isObjAnImage, 1);
  EXPECT_EQ(showAlignModelOutline, 0);
  EXPECT_EQ(nUndo, 0);
  EXPECT_EQ(nRedo, 0);
  EXPECT_STREQ(alignfile, path.c_str());
  EXPECT_STREQ(alignfile_basename, "m51.obj");
  EXPECT_EQ(alignpath, kSamples + "/");
  EXPECT_EQ(try_open_alignfile, "m51.obj");
  EXPECT_FLOAT_EQ(distObjModel, static_cast<float>(length3D(alignModelCenter)));
  // the middle of the image's box, as the file's corners give it
  EXPECT_NEAR(alignModelCenter[0], (-767.654757 + -843.703632) / 2, 1e-3);
  EXPECT_STREQ(titleStr, ("Velmora tool 1.2 [" + path + "]").c_str());
  const float white[4] = {1, 1, 1, 1};
  for (int i = 0; i < 4; i++) EXPECT_EQ(orig_modelColor[i], white[i]);
  ASSERT_EQ(nRecentFiles, 1);
  EXPECT_STREQ(recentPaths[0], kSamples.c_str());
  EXPECT_STREQ(recentFiles[0], "m51.obj");
  EXPECT_EQ(recentListBoxID, 0);
}

TEST_F(VmFile, OpeningAMeshShowsItsOutline) {
  ASSERT_EQ(open(kSamples + "/", "pleiades.obj"), 1);
  EXPECT_STREQ(alignfile, (kSamples + "/pleiades.obj").c_str());  // no second slash
  EXPECT_EQ(alignModel->numvertices, 240u);
  EXPECT_EQ(isObjAnImage, 0);
  EXPECT_EQ(showAlignModelOutline, 1);
  EXPECT_FLOAT_EQ(orig_modelColor[0], 0.7f);
  EXPECT_FLOAT_EQ(orig_modelColor[1], 0.8f);
  EXPECT_FLOAT_EQ(orig_modelColor[2], 1.0f);
}

TEST_F(VmFile, AModelWithoutMaterialFileGetsADefaultOne) {
  TempDir dir;
  writeFile(dir.file("plain.obj"), octahedron());
  std::string err;
  ASSERT_EQ(open(dir.path(), "plain.obj", &err), 1) << err;
  ASSERT_EQ(alignModel->nummaterials, 1u);
  EXPECT_FLOAT_EQ(orig_modelColor[0], 0.8f);
  EXPECT_FLOAT_EQ(orig_modelColor[3], 1.0f);
  // and it can be drawn with its material
  glmDraw(alignModel, GLM_SMOOTH | GLM_MATERIAL);
  EXPECT_EQ(glGetError(), static_cast<GLenum>(GL_NO_ERROR));
}

TEST_F(VmFile, AFailedOpenKeepsTheOldModel) {
  ASSERT_EQ(open(kSamples, "m51.obj"), 1);
  _GLMmodel* before = alignModel;
  double matrix[16];
  memcpy(matrix, alignModelMatrix, sizeof matrix);
  alignModelMatrix[12] += 1;  // an alignment in progress
  nUndo = 4;
  TempDir dir;
  writeFile(dir.file("bad.obj"), "v 1 2 3\nvx 1\n");
  std::string err;
  EXPECT_EQ(open(dir.path(), "bad.obj", &err), -1);
  EXPECT_EQ(err, "Try to read [" + dir.file("bad.obj") + "] (please wait) ... failed to read.\nErr : [" +
                     dir.file("bad.obj") + "]: unknown token [vx]\n");
  EXPECT_EQ(open(dir.path(), "missing.obj"), -1);
  EXPECT_EQ(alignModel, before);
  EXPECT_EQ(alignModelMatrix[12], matrix[12] + 1);
  EXPECT_EQ(nUndo, 4);
  EXPECT_STREQ(alignfile, (kSamples + "/m51.obj").c_str());
  EXPECT_EQ(nRecentFiles, 1);
}

TEST_F(VmFile, ReopeningFromTheRecentList) {
  for (const char* name : {"m1.obj", "m27.obj", "m31.obj", "m51.obj"}) ASSERT_EQ(open(kSamples, name), 1);
  auto order = [] {
    std::string s;
    for (int i = 0; i < nRecentFiles; i++) s += std::string(recentFiles[i]) + " ";
    return s;
  };
  ASSERT_EQ(order(), "m51.obj m31.obj m27.obj m1.obj ");
  testing::internal::CaptureStderr();
  openRecentFile(0);
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, "Try to read [" + kSamples + "/m51.obj] (please wait) ... okay.\n");
  EXPECT_EQ(order(), "m51.obj m31.obj m27.obj m1.obj ");
  testing::internal::CaptureStderr();
  openRecentFile(3);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(order(), "m1.obj m51.obj m31.obj m27.obj ");
  EXPECT_STREQ(alignfile_basename, "m1.obj");
}

TEST_F(VmFile, DamagedFilesNeverBringTheToolDown) {
  TempDir dir;
  std::mt19937 random(20031125);
  for (int i = 0; i < 12; i++) {
    std::string junk(2000 + i * 300, '\0');
    for (char& c : junk) c = static_cast<char>(random() & 0xff);
    // some with words the reader knows at the start of lines
    if (i % 3 == 1) junk = "v 1 2 3\nv 4 5 6\nv 7 8 10\nf 1 2 3\n" + junk;
    if (i % 3 == 2) junk += "\nf 1 2 99999\n";
    const std::string name = "junk" + std::to_string(i) + ".obj";
    writeFile(dir.file(name), junk);
    int r = open(dir.path(), name);
    EXPECT_TRUE(r == 1 || r == -1);
  }
  // and the tool can still open a real model
  EXPECT_EQ(open(kSamples, "m1.obj"), 1);
}

// ---- Export: what an unmoved model gives back ---------------------------------------------------------

class UnmovedExport : public VmFile, public testing::WithParamInterface<const char*> {};

TEST_P(UnmovedExport, GivesTheFilesOwnCoordinatesBack) {
  ASSERT_EQ(open(kSamples, GetParam()), 1);
  TempDir dir;
  std::string err, out;
  ASSERT_EQ(exportAs(dir.file("out.obj"), kUnitKiloParsec, kCoordGalactic, &err, &out), 1) << err;
  EXPECT_EQ(err, "");
  EXPECT_EQ(out, "export obj file to [" + dir.file("out.obj") + "] ... okay\n");
  const std::string source = readFile(alignfile), exported = readFile(dir.file("out.obj"));
  std::vector<Vec> want = pointsOf(source, "v "), got = pointsOf(exported, "v ");
  ASSERT_EQ(got.size(), want.size());
  ASSERT_GT(got.size(), 0u);
  for (size_t i = 0; i < got.size(); i++)
    expectNear(got[i], want[i], 2e-6 * length(want[i]) + 1e-6, "vertex " + std::to_string(i + 1));
  // everything else passes byte for byte
  EXPECT_EQ(otherLines(linesOf(exported), kHeaderLines), otherLines(linesOf(source), 0));
}

INSTANTIATE_TEST_SUITE_P(Samples, UnmovedExport,
                         testing::Values("m1.obj", "m27.obj", "m31.obj", "m51.obj", "m51-misplaced.obj",
                                         "pleiades.obj"),
                         [](const testing::TestParamInfo<const char*>& info) {
                           std::string n = info.param;
                           for (char& c : n)
                             if (!isalnum(static_cast<unsigned char>(c))) c = '_';
                           return n;
                         });

// ---- Export: the header -----------------------------------------------------------------------------

struct HeaderCase {
  int unit, coord;
  std::string unitLine, coordLine;
};

void PrintTo(const HeaderCase& c, std::ostream* os) {
  *os << c.unit << "/" << c.coord;
}

class ExportHeader : public VmFile, public testing::WithParamInterface<HeaderCase> {};

TEST_P(ExportHeader, LinesWordForWord) {
  const HeaderCase& c = GetParam();
  ASSERT_EQ(open(kSamples, "m27.obj"), 1);
  TempDir dir;
  ASSERT_EQ(exportAs(dir.file("out.obj"), c.unit, c.coord), 1);
  const std::string text = readFile(dir.file("out.obj"));
  // asctime's own newline, then an empty line
  const std::regex written(
      "# written by program \"velmora 1\\.2\" (Sun|Mon|Tue|Wed|Thu|Fri|Sat) "
      "(Jan|Feb|Mar|Apr|May|Jun|Jul|Aug|Sep|Oct|Nov|Dec) [ 123][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9] "
      "[0-9]{4}\n\n");
  std::smatch m;
  ASSERT_TRUE(std::regex_search(text, m, written, std::regex_constants::match_continuous))
      << text.substr(0, 80);
  const std::string rest = text.substr(m.length());
  const std::string head = c.unitLine + c.coordLine + "\n";
  EXPECT_EQ(rest.substr(0, head.size()), head);
  // the source's own first line follows
  EXPECT_EQ(rest.substr(head.size(), 10), "# M27, the");
}

INSTANTIATE_TEST_SUITE_P(
    Codes, ExportHeader,
    testing::Values(
        HeaderCase{0, 0, "# - unit in this model is parsec\n", "# - coordinate system is galactic\n"},
        HeaderCase{1, 1, "# - unit in this model is k-parsec\n", "# - coordinate system is equatorial\n"},
        HeaderCase{2, 2, "# - unit in this model is lightyear\n",
                   "# - coordinate system is super galactic\n"},
        HeaderCase{3, 0, "# - unit in this model is meters\n", "# - coordinate system is galactic\n"},
        HeaderCase{4, 0, "# - unit in this model is kilometers\n", "# - coordinate system is galactic\n"},
        HeaderCase{5, 0, "# - unit in this model is 10^9 meters\n", "# - coordinate system is galactic\n"},
        HeaderCase{6, 0, "# - unit in this model is 10^12 meters\n", "# - coordinate system is galactic\n"},
        HeaderCase{7, 0, "# - unit in this model is 10^15 meters\n", "# - coordinate system is galactic\n"},
        HeaderCase{8, 0, "# - unit in this model is 10^18 meters\n", "# - coordinate system is galactic\n"},
        HeaderCase{9, 0, "# - unit in this model is 10^21 meters\n", "# - coordinate system is galactic\n"},
        // codes outside the tables write no line
        HeaderCase{10, 0, "", "# - coordinate system is galactic\n"}, HeaderCase{-1, 3, "", ""},
        HeaderCase{0, -1, "# - unit in this model is parsec\n", ""}),
    [](const testing::TestParamInfo<HeaderCase>& info) { return "Case" + std::to_string(info.index); });

// ---- Export: the matrix ----------------------------------------------------------------------------

TEST_F(VmFile, DoubledDistanceDoublesEveryDistance) {
  ASSERT_EQ(open(kSamples, "pleiades.obj"), 1);
  TempDir dir;
  ASSERT_EQ(exportAs(dir.file("near.obj")), 1);
  ASSERT_EQ(exportAs(dir.file("far.obj"), kUnitParsec, kCoordGalactic, nullptr, nullptr, 2 * distObjModel),
            1);
  std::vector<Vec> near = pointsOf(readFile(dir.file("near.obj")), "v "),
                   far = pointsOf(readFile(dir.file("far.obj")), "v ");
  ASSERT_EQ(near.size(), 240u);
  ASSERT_EQ(far.size(), near.size());
  for (size_t i = 0; i < near.size(); i++) {
    EXPECT_NEAR(length(far[i]), 2 * length(near[i]), 4e-6 * length(near[i])) << i;
    expectNear(far[i], Vec{2 * near[i].x, 2 * near[i].y, 2 * near[i].z}, 4e-6 * length(near[i]), "direction");
  }
}

TEST_F(VmFile, EquatorialExportAgreesWithTheCoordinateLibrary) {
  ASSERT_EQ(open(kSamples, "pleiades.obj"), 1);
  TempDir dir;
  ASSERT_EQ(exportAs(dir.file("eq.obj"), kUnitParsec, kCoordEquatorial), 1);
  std::vector<Vec> source = pointsOf(readFile(alignfile), "v "),
                   got = pointsOf(readFile(dir.file("eq.obj")), "v ");
  ASSERT_EQ(got.size(), source.size());
  for (size_t i = 0; i < got.size(); i++) {
    double p[3] = {source[i].x, source[i].y, source[i].z};
    galacticToEquatorial(p);
    expectNear(got[i], Vec{p[0], p[1], p[2]}, 3e-6 * length(source[i]), "vertex " + std::to_string(i + 1));
  }
  // the cluster lies at right ascension 3h 47m, declination +24 degrees
  double l, b, c[3] = {0, 0, 0};
  for (const Vec& v : got) {
    c[0] += v.x;
    c[1] += v.y;
    c[2] += v.z;
  }
  vecTolb(c, l, b);
  EXPECT_NEAR(l / 15.0, 3.78, 0.05);
  EXPECT_NEAR(b, 24.1, 0.3);
}

TEST_F(VmFile, SuperGalacticExportAgreesWithTheAxes) {
  ASSERT_EQ(open(kSamples, "m31.obj"), 1);
  TempDir dir;
  ASSERT_EQ(exportAs(dir.file("sg.obj"), kUnitKiloParsec, kCoordSuperGalactic), 1);
  const Mat sg = superGalacticRows();
  std::vector<Vec> source = pointsOf(readFile(alignfile), "v "),
                   got = pointsOf(readFile(dir.file("sg.obj")), "v ");
  ASSERT_EQ(got.size(), 4u);
  for (size_t i = 0; i < got.size(); i++)
    expectNear(got[i], transformPoint(sg, source[i]), 3e-6 * length(source[i]),
               "vertex " + std::to_string(i + 1));
}

TEST_F(VmFile, ScaleSlidersAndObjectTranslationEnterTheVertices) {
  ASSERT_EQ(open(kSamples, "pleiades.obj"), 1);
  alignModelObjScale[0] = 2.0f;
  alignModelObjScale[1] = 0.5f;
  alignModelObjScale[2] = 1.5f;
  alignModelObjTran[0] = 0.75f;
  alignModelObjTran[1] = -1.25f;
  TempDir dir;
  ASSERT_EQ(exportAs(dir.file("out.obj")), 1);
  const Mat e = alignmentRows(distObjModel);
  std::vector<Vec> source = pointsOf(readFile(alignfile), "v "),
                   got = pointsOf(readFile(dir.file("out.obj")), "v ");
  ASSERT_EQ(got.size(), source.size());
  double moved = 0;
  for (size_t i = 0; i < got.size(); i++) {
    Vec want = transformPoint(e, source[i]);
    expectNear(got[i], want, 3e-6 * length(source[i]), "vertex " + std::to_string(i + 1));
    moved = std::max(moved, std::fabs(want.x - source[i].x) + std::fabs(want.y - source[i].y));
  }
  EXPECT_GT(moved, 1.0);  // the sliders really moved the vertices
  alignModelObjScale[0] = alignModelObjScale[1] = alignModelObjScale[2] = 1;
  alignModelObjTran[0] = alignModelObjTran[1] = 0;
}

// The alignment turned about the sky's z axis: E is then that turn alone, and the normals get
// the opposite turn, being taken through the inverse of E.
TEST_F(VmFile, NormalsAfterAPureRotationTurnTheOtherWay) {
  TempDir dir;
  writeFile(dir.file("octa.obj"), octahedron());
  ASSERT_EQ(open(dir.path(), "octa.obj"), 1);
  const double angle = 30 * kRadiansPerDegree;
  const Mat turn{std::cos(angle),
                 -std::sin(angle),
                 0,
                 0,
                 std::sin(angle),
                 std::cos(angle),
                 0,
                 0,
                 0,
                 0,
                 1,
                 0,
                 0,
                 0,
                 0,
                 1};
  Mat rows = mul(turn, rowsOf(alignModelMatrix));
  for (int r = 0; r < 4; r++)
    for (int c = 0; c < 4; c++) alignModelMatrix[4 * c + r] = rows[4 * r + c];
  ASSERT_EQ(exportAs(dir.file("out.obj")), 1);
  const std::string text = readFile(dir.file("out.obj"));
  std::vector<Vec> source = pointsOf(readFile(alignfile), "v "), got = pointsOf(text, "v ");
  for (size_t i = 0; i < got.size(); i++) expectNear(got[i], transformPoint(turn, source[i]), 1e-4, "vertex");
  std::vector<Vec> normals = pointsOf(text, "vn ");
  ASSERT_EQ(normals.size(), 3u);
  const double c = std::cos(angle), s = std::sin(angle);
  expectNear(normals[0], Vec{c, -s, 0}, 1e-4, "x normal");  // turned by -30 degrees
  expectNear(normals[1], Vec{s, c, 0}, 1e-4, "y normal");
  expectNear(normals[2], Vec{0, 0, 1}, 1e-4, "z normal");
  for (const std::string& line : linesOf(text)) {
    if (line.rfind("vn ", 0) == 0) {
      EXPECT_TRUE(std::regex_match(line, std::regex("vn( +-?[0-9]\\.[0-9]{8}){3}\n"))) << line;
    }
  }
}

TEST_F(VmFile, NormalsOfAnEquatorialExportTakeTheInverseTurn) {
  TempDir dir;
  writeFile(dir.file("octa.obj"), octahedron());
  ASSERT_EQ(open(dir.path(), "octa.obj"), 1);
  ASSERT_EQ(exportAs(dir.file("out.obj"), kUnitParsec, kCoordEquatorial), 1);
  std::vector<Vec> normals = pointsOf(readFile(dir.file("out.obj")), "vn ");
  ASSERT_EQ(normals.size(), 3u);
  for (int i = 0; i < 3; i++) {
    double n[3] = {i == 0 ? 1.0 : 0.0, i == 1 ? 1.0 : 0.0, i == 2 ? 1.0 : 0.0};
    equatorialToGalactic(n);
    expectNear(normals[i], Vec{n[0], n[1], n[2]}, 1e-4, "normal " + std::to_string(i));
  }
}

// In general the inverse's translation is added to a normal before it is made unit length.
TEST_F(VmFile, NormalsGoThroughTheWholeInverse) {
  TempDir dir;
  writeFile(dir.file("octa.obj"), octahedron());
  ASSERT_EQ(open(dir.path(), "octa.obj"), 1);
  alignModelObjScale[0] = 3.0f;
  alignModelObjTran[1] = 0.5f;
  ASSERT_EQ(exportAs(dir.file("out.obj"), kUnitParsec, kCoordGalactic, nullptr, nullptr, 2 * distObjModel),
            1);
  Mat inverse = alignmentRows(2 * distObjModel);
  ASSERT_EQ(invert4by4(inverse.data()), 1);
  std::vector<Vec> normals = pointsOf(readFile(dir.file("out.obj")), "vn ");
  ASSERT_EQ(normals.size(), 3u);
  for (int i = 0; i < 3; i++) {
    Vec want = transformPoint(inverse, Vec{i == 0 ? 1.0 : 0.0, i == 1 ? 1.0 : 0.0, i == 2 ? 1.0 : 0.0});
    const double l = length(want);
    expectNear(normals[i], Vec{want.x / l, want.y / l, want.z / l}, 1e-4, "normal " + std::to_string(i));
  }
  alignModelObjScale[0] = 1;
  alignModelObjTran[1] = 0;
}

TEST_F(VmFile, AModelAtTheOriginHasNoScale) {
  TempDir dir;
  writeFile(dir.file("centred.obj"), "v -1 -1 -1\nv 1 -1 -1\nv 0 1 -1\nv 0 0 1\nf 1 2 3\nf 1 2 4\n");
  std::string out;
  ASSERT_EQ(open(dir.path(), "centred.obj", nullptr, &out), 1);
  EXPECT_NE(out.find("\nWarning: input model locates exactly at the origin!!!\n\n"), std::string::npos);
  EXPECT_EQ(distObjModel, 0.0f);
  ASSERT_EQ(exportAs(dir.file("out.obj")), 1);
  // 0 / 0: the vertices come out as NaN
  int lines = 0;
  for (const std::string& line : linesOf(readFile(dir.file("out.obj"))))
    if (line.rfind("v ", 0) == 0) {
      lines++;
      EXPECT_NE(line.find("nan"), std::string::npos) << line;
    }
  EXPECT_EQ(lines, 4);
}

// ---- Export: lines -----------------------------------------------------------------------------------

TEST_F(VmFile, CrlfStaysOnCopiedLinesOnly) {
  TempDir dir;
  writeFile(dir.file("crlf.obj"), octahedron("\r\n"));
  ASSERT_EQ(exportIdentity(dir.file("out.obj"), dir.file("crlf.obj")), 1);
  std::vector<std::string> lines = linesOf(readFile(dir.file("out.obj")));
  ASSERT_EQ(lines.size(), kHeaderLines + 20u);
  for (size_t i = kHeaderLines; i < lines.size(); i++) {
    const bool vertex = lines[i].rfind("v ", 0) == 0 || lines[i].rfind("vn ", 0) == 0;
    const bool crlf = lines[i].size() >= 2 && lines[i][lines[i].size() - 2] == '\r';
    EXPECT_EQ(crlf, !vertex) << lines[i];
  }
  EXPECT_EQ(lines[kHeaderLines + 2], "v 61.00000000 40.00000000 20.00000000\n");
  EXPECT_EQ(lines[kHeaderLines + 8], "vn  1.00000000  0.00000000  0.00000000\n");
  EXPECT_EQ(lines[kHeaderLines + 11], "vt 0.5 0.5\r\n");
  EXPECT_EQ(lines[kHeaderLines + 12], "f 1//1 3//2 5//3\r\n");
}

struct LineCase {
  const char* name;
  std::string in;
  std::string out;
};

void PrintTo(const LineCase& c, std::ostream* os) {
  *os << c.name;
}

class ExportLine : public VmFile, public testing::WithParamInterface<LineCase> {};

TEST_P(ExportLine, IsWrittenSo) {
  TempDir dir;
  writeFile(dir.file("in.obj"), GetParam().in);
  std::string err;
  ASSERT_EQ(exportIdentity(dir.file("out.obj"), dir.file("in.obj"), &err), 1) << err;
  const std::string text = readFile(dir.file("out.obj"));
  size_t body = 0;
  for (int i = 0; i < kHeaderLines; i++) body = text.find('\n', body) + 1;
  EXPECT_EQ(text.substr(body), GetParam().out);
}

const std::string kLongComment = "# " + std::string(600, 'c') + "\n";
// 511 characters reach the first piece: "v 1 2 3" and blanks; the rest is a piece of its own.
const std::string kLongVertex = "v 1 2 3" + std::string(600, ' ') + "4\n";
const std::string kLongVertexOut =
    "v  1.00000000  2.00000000  3.00000000\n" + std::string(600 - (511 - 7), ' ') + "4\n";

INSTANTIATE_TEST_SUITE_P(
    Lines, ExportLine,
    testing::Values(
        LineCase{"ColourAndWAreLost", "v 1 2 3 0.5 0.25 1\nv 1 2 3 1.0\n",
                 "v  1.00000000  2.00000000  3.00000000\nv  1.00000000  2.00000000  3.00000000\n"},
        LineCase{"TabAfterTheKeywordPasses", "v\t1 2 3\n", "v\t1 2 3\n"},
        LineCase{"BlanksBeforeTheKeywordPass", "  v 1 2 3\n", "  v 1 2 3\n"},
        LineCase{"TooFewNumbersPass", "v 1 2\nvn x y z\n", "v 1 2\nvn x y z\n"},
        // single precision, printed with eight decimals
        LineCase{"NormalIsMadeUnit", "vn 0 3 4\n", "vn  0.00000000  0.60000002  0.80000001\n"},
        LineCase{"NegativeAndLarge", "v -1234.5 0.000000001 99999\n",
                 "v -1234.50000000  0.00000000 99999.00000000\n"},
        LineCase{"OtherLinesPassAsTheyAre", "vt 0.1 0.2\ng a b\nusemtl x\nmtllib y.mtl\nf 1 2 3\ns off\n",
                 "vt 0.1 0.2\ng a b\nusemtl x\nmtllib y.mtl\nf 1 2 3\ns off\n"},
        LineCase{"NoLineEndAtTheEnd", "f 1 2 3", "f 1 2 3"},
        LineCase{"BytesZeroPass", std::string("# a\0b\n\x01\xff\n", 10),
                 std::string("# a\0b\n\x01\xff\n", 10)},
        LineCase{"ALongCommentIsWhole", kLongComment, kLongComment},
        LineCase{"ALongVertexLineIsSplit", kLongVertex, kLongVertexOut}, LineCase{"EmptySource", "", ""}),
    [](const testing::TestParamInfo<LineCase>& info) { return std::string(info.param.name); });

// The model reader expands an EZ-packed model, but the export reads the source plainly: the
// packed bytes are copied as text, behind the header.
TEST_F(VmFile, APackedModelIsCopiedAsItsBytes) {
  TempDir dir;
  fs::copy_file(kSamples + "/m27.mtl", dir.file("m27.mtl"));
  fs::create_symlink(kSamples + "/m27.ppm", dir.file("m27.ppm"));
  std::string text = readFile(kSamples + "/m27.obj");
  FILE* packed = fopen(dir.file("m27.obj").c_str(), "wb");
  ASSERT_NE(packed, nullptr);
  WriteDeflateZip(packed, reinterpret_cast<unsigned char*>(text.data()), static_cast<int>(text.size()));
  fclose(packed);
  const std::string bytes = readFile(dir.file("m27.obj"));
  ASSERT_EQ(bytes.substr(0, 2), "EZ");
  ASSERT_EQ(open(dir.path(), "m27.obj"), 1);
  EXPECT_EQ(alignModel->numvertices, 4u);
  ASSERT_EQ(exportAs(dir.file("out.obj")), 1);
  const std::string exported = readFile(dir.file("out.obj"));
  size_t body = 0;
  for (int i = 0; i < kHeaderLines; i++) body = exported.find('\n', body) + 1;
  // no piece of the packed bytes looks like a vertex line, so all of them pass unchanged
  ASSERT_EQ(bytes.find("\nv "), std::string::npos);
  ASSERT_EQ(bytes.find("\nvn "), std::string::npos);
  EXPECT_EQ(exported.substr(body), bytes);
}

// ---- Export: the target ------------------------------------------------------------------------------

TEST_F(VmFile, ExportOverTheSource) {
  TempDir dir;
  for (const char* f : {"m51.obj", "m51.mtl"}) fs::copy_file(kSamples + "/" + f, dir.file(f));
  fs::create_symlink(kSamples + "/m51.ppm", dir.file("m51.ppm"));
  chmod(dir.file("m51.obj").c_str(), 0640);
  const std::string original = readFile(dir.file("m51.obj"));
  ASSERT_EQ(open(dir.path(), "m51.obj"), 1);
  ASSERT_EQ(exportAs(alignfile), 1);
  const std::string first = readFile(alignfile);
  std::vector<std::string> lines = linesOf(first);
  EXPECT_EQ(otherLines(lines, kHeaderLines), otherLines(linesOf(original), 0));
  struct stat st;
  ASSERT_EQ(stat(alignfile, &st), 0);
  EXPECT_EQ(st.st_mode & 07777, 0640u);

  // a second export puts its header above the first one's
  alignModelMatrix[12] *= 1.0;  // nothing moved
  ASSERT_EQ(exportAs(alignfile, kUnitParsec, kCoordEquatorial), 1);
  std::vector<std::string> twice = linesOf(readFile(alignfile));
  ASSERT_GT(twice.size(), 2u * kHeaderLines);
  EXPECT_EQ(twice[0].rfind("# written by program \"velmora 1.2\" ", 0), 0u);
  EXPECT_EQ(twice[1], "\n");
  EXPECT_EQ(twice[2], "# - unit in this model is parsec\n");
  EXPECT_EQ(twice[3], "# - coordinate system is equatorial\n");
  EXPECT_EQ(twice[4], "\n");
  EXPECT_EQ(twice[5], lines[0]);
  EXPECT_EQ(twice[6], "\n");
  EXPECT_EQ(twice[7], "# - unit in this model is k-parsec\n");
  EXPECT_EQ(twice[8], "# - coordinate system is galactic\n");
  EXPECT_EQ(twice[9], "\n");
  EXPECT_EQ(twice[10], lines[kHeaderLines]);
  // nothing is left beside it
  int files = 0;
  for (const auto& entry : fs::directory_iterator(dir.path())) {
    (void)entry;
    files++;
  }
  EXPECT_EQ(files, 3);
}

TEST_F(VmFile, TheExportReplacesTheFileInOneStep) {
  TempDir dir;
  writeFile(dir.file("in.obj"), "v 1 2 3\n");
  writeFile(dir.file("out.obj"), "old contents\n");
  // a reader that had the old file open still reads it whole
  FILE* reader = fopen(dir.file("out.obj").c_str(), "r");
  ASSERT_NE(reader, nullptr);
  ASSERT_EQ(exportIdentity(dir.file("out.obj"), dir.file("in.obj")), 1);
  char buf[64] = "";
  ASSERT_NE(fgets(buf, sizeof buf, reader), nullptr);
  fclose(reader);
  EXPECT_STREQ(buf, "old contents\n");
  EXPECT_NE(readFile(dir.file("out.obj")).find("v  1.00000000  2.00000000  3.00000000\n"), std::string::npos);
}

TEST_F(VmFile, ALinkedTargetStaysALink) {
  TempDir dir;
  writeFile(dir.file("in.obj"), "v 1 2 3\n");
  writeFile(dir.file("real.obj"), "old\n");
  fs::create_symlink("real.obj", dir.file("link.obj"));
  ASSERT_EQ(exportIdentity(dir.file("link.obj"), dir.file("in.obj")), 1);
  EXPECT_TRUE(fs::is_symlink(dir.file("link.obj")));
  EXPECT_NE(readFile(dir.file("real.obj")).find("v  1.00000000"), std::string::npos);
}

TEST_F(VmFile, ATargetThatCannotBeOpened) {
  TempDir dir;
  writeFile(dir.file("in.obj"), "v 1 2 3\n");
  fs::create_directory(dir.file("folder.obj"));
  for (const std::string& target : {dir.file("folder.obj"), dir.file("no/such/dir/out.obj")}) {
    std::string err;
    EXPECT_EQ(exportIdentity(target, dir.file("in.obj"), &err), -1);
    EXPECT_EQ(err, "Err (exportObjFile): cannot open objfile [" + target + "]\n");
  }
  EXPECT_EQ(readFile(dir.file("in.obj")), "v 1 2 3\n");
  EXPECT_TRUE(fs::is_directory(dir.file("folder.obj")));
}

// A file size limit makes the writing fail part way, as a full disk would: the old target and
// the source stay whole, and no half-written file is left.
TEST_F(VmFile, AFailingCopyLeavesTheOldTargetWhole) {
  TempDir dir;
  fs::copy_file(kSamples + "/pleiades.obj", dir.file("pleiades.obj"));
  fs::copy_file(kSamples + "/pleiades.mtl", dir.file("pleiades.mtl"));
  const std::string oldTarget = "# an earlier export\n" + std::string(200, '#') + "\n";
  writeFile(dir.file("out.obj"), oldTarget);
  const std::string source = readFile(dir.file("pleiades.obj"));
  for (const std::string& target : {dir.file("out.obj"), dir.file("pleiades.obj")}) {
    fflush(stdout);
    fflush(stderr);
    pid_t child = fork();
    ASSERT_NE(child, -1);
    const std::string errFile = dir.path() + ".err";
    if (child == 0) {
      if (!freopen(errFile.c_str(), "w", stderr) || !freopen("/dev/null", "w", stdout)) _exit(2);
      signal(SIGXFSZ, SIG_IGN);
      struct rlimit limit = {4096, 4096};
      setrlimit(RLIMIT_FSIZE, &limit);
      const double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 0, 0, 1};
      const float init[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, -1, 0, 0, 1};
      int r =
          exportObjFile(target.c_str(), dir.file("pleiades.obj").c_str(), nullptr, matrix, init, 1.0f, 0, 0);
      fflush(stderr);
      _exit(r == -1 ? 0 : 1);
    }
    int status = 0;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0) << "the export should have failed";
    EXPECT_EQ(readFile(errFile), "Sorry... buffer is full. Failed to write tmp file.\n");
    fs::remove(errFile);
    EXPECT_EQ(readFile(dir.file("out.obj")), oldTarget);
    EXPECT_EQ(readFile(dir.file("pleiades.obj")), source);
    int files = 0;
    for (const auto& entry : fs::directory_iterator(dir.path())) {
      (void)entry;
      files++;
    }
    EXPECT_EQ(files, 3);
  }
}

// ---- A peer reads the export ---------------------------------------------------------------------------

struct PeerCounts {
  long vertices = -1, faces = -1;
};

PeerCounts peerCounts(const std::string& file) {
  testsupport::RunResult r = testsupport::run("assimp info '" + file + "'");
  PeerCounts c;
  std::smatch m;
  if (std::regex_search(r.out, m, std::regex("\nVertices: +([0-9]+)"))) c.vertices = std::stol(m[1]);
  if (std::regex_search(r.out, m, std::regex("\nFaces: +([0-9]+)"))) c.faces = std::stol(m[1]);
  return c;
}

TEST_F(VmFile, APeerReadsTheExport) {
  if (testsupport::run("command -v assimp").status != 0) GTEST_SKIP() << "assimp is not installed";
  for (const char* sample : {"pleiades", "m51", "m1"}) {
    TempDir dir;
    const std::string obj = std::string(sample) + ".obj", mtl = std::string(sample) + ".mtl";
    fs::copy_file(kSamples + "/" + mtl, dir.file(mtl));
    ASSERT_EQ(open(kSamples, obj), 1);
    alignModelObjScale[0] = 1.5f;  // moved a little, and in equatorial coordinates
    ASSERT_EQ(exportAs(dir.file(obj), kUnitParsec, kCoordEquatorial), 1);
    alignModelObjScale[0] = 1;
    PeerCounts want = peerCounts(kSamples + "/" + obj), got = peerCounts(dir.file(obj));
    EXPECT_GT(want.vertices, 0) << sample;
    EXPECT_GT(want.faces, 0) << sample;
    EXPECT_EQ(got.vertices, want.vertices) << sample;
    EXPECT_EQ(got.faces, want.faces) << sample;
  }
}

}  // namespace
