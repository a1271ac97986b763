// The alignment scene without a window: the option scan of the command line, the start's
// failures before any drawing, the model's principal frame (centre at the origin, square and
// oblong images, a model on the z axis, degenerate models), the quicksort and the undo and redo
// rings with their messages.
#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "model/glm.h"
#include "tests/support/testutil.h"
#include "tool/velmora.h"
#include "viewer/tarnwick.h"

using testsupport::TempDir;
using testsupport::writeFile;

namespace {

using Captured = testsupport::Streams;
const auto capture = testsupport::streamsOf;

// An argv built from texts; nullptr entries stand for the slots glutInit leaves empty.
class Args {
 public:
  explicit Args(std::vector<const char*> items) {
    for (const char* s : items) {
      if (s) {
        texts_.push_back(std::make_unique<std::string>(s));
        ptrs_.push_back(texts_.back()->data());
      } else {
        ptrs_.push_back(nullptr);
      }
    }
    ptrs_.push_back(nullptr);
  }
  int argc() const { return static_cast<int>(ptrs_.size()) - 1; }
  char** argv() { return ptrs_.data(); }

 private:
  std::vector<std::unique_ptr<std::string>> texts_;
  std::vector<char*> ptrs_;
};

// A model from OBJ text, read by the real reader; the caller deletes it.
_GLMmodel* modelFrom(const TempDir& dir, const std::string& name, const std::string& text) {
  std::string path = dir.file(name);
  writeFile(path, text);
  return glmReadOBJ(path.c_str());
}

std::string vertexLines(const std::vector<std::array<double, 3>>& points) {
  std::string text;
  char line[128];
  for (const auto& p : points) {
    snprintf(line, sizeof line, "v %.9f %.9f %.9f\n", p[0], p[1], p[2]);
    text += line;
  }
  return text;
}

// Reads the model, sets it up as the start of the scene does (planarity, then the frame),
// and keeps the original vertices.
struct FramedModel {
  _GLMmodel* model = nullptr;
  std::vector<float> original;  // 3 per vertex, from vertex 1
  Captured output;
  FramedModel(const TempDir& dir, const std::vector<std::array<double, 3>>& points) {
    model = modelFrom(dir, "m.obj", vertexLines(points));
    original.assign(model->vertices + 3, model->vertices + 3 * (model->numvertices + 1));
    alignModel = model;
    isObjAnImage = glmIsPlanar(model, 1e-5f);
    output = capture([&] { fixModelMatrix(model); });
  }
  ~FramedModel() {
    glmDelete(model);
    alignModel = nullptr;
  }
  const float* vertex(unsigned int i) const { return model->vertices + 3 * i; }
};

void expectVec(const double* got, double x, double y, double z, double tol, const char* what) {
  EXPECT_NEAR(got[0], x, tol) << what;
  EXPECT_NEAR(got[1], y, tol) << what;
  EXPECT_NEAR(got[2], z, tol) << what;
}

// The four corners of a square (or a w by h rectangle) in the plane x = dist, turned by angle
// degrees about the x axis, corner k at angle + 90 k for the square.
std::vector<std::array<double, 3>> turnedRectangle(double dist, double w, double h, double angleDeg) {
  double a = angleDeg * kRadiansPerDegree, c = cos(a), s = sin(a);
  std::vector<std::array<double, 3>> pts;
  const double corners[4][2] = {{w / 2, h / 2}, {-w / 2, h / 2}, {-w / 2, -h / 2}, {w / 2, -h / 2}};
  for (const auto& k : corners) pts.push_back({dist, c * k[0] - s * k[1], s * k[0] + c * k[1]});
  return pts;
}

const double kIdentity[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};

}  // namespace

// ---- Option scan ----------------------------------------------------------------------------

struct ScanCase {
  const char* name;
  std::vector<const char*> args;
  int result;
  int starSet;
  const char* texFile;
  int textureOn;
  int next;
  const char* out;
  const char* err;
};

class SceneOptionScan : public testing::TestWithParam<ScanCase> {};

TEST_P(SceneOptionScan, FindsOptionsAndTheModel) {
  const ScanCase& c = GetParam();
  Args args(c.args);
  SceneOptions opt;
  int result = 0;
  Captured io = capture([&] { result = scanSceneOptions(sceneArgCount(args.argc(), args.argv()), args.argv(), &opt); });
  EXPECT_EQ(result, c.result);
  EXPECT_EQ(opt.starSet, c.starSet);
  EXPECT_STREQ(opt.texFile, c.texFile);
  EXPECT_EQ(opt.textureOn, c.textureOn);
  if (c.result == 1) {
    EXPECT_EQ(opt.next, c.next);
  }
  EXPECT_EQ(io.out, c.out);
  EXPECT_EQ(io.err, c.err);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SceneOptionScan,
    testing::Values(
        ScanCase{"ModelAlone", {"m.obj"}, 1, 6, "", 1, 0, "", ""},
        ScanCase{"StarSetSix", {"-s6", "m.obj"}, 1, 6, "", 1, 1, "Use starset 6 (-s6)\n", ""},
        ScanCase{"StarSetThree", {"-s3", "m.obj"}, 1, 3, "", 1, 1, "Use starset 3 (-s3)\n", ""},
        // Anything that begins with "-s" is a star set; "-star" is set 0, no range is checked.
        ScanCase{"StarIsSetZero", {"-star", "m.obj"}, 1, 0, "", 1, 1, "Use starset 0 (-star)\n", ""},
        ScanCase{"StarSetTwelve", {"-s12", "m.obj"}, 1, 12, "", 1, 1, "Use starset 12 (-s12)\n", ""},
        ScanCase{"TexFile", {"-tex", "f", "m.obj"}, 1, 6, "f", 1, 2, "", ""},
        ScanCase{"NoTex", {"-notex", "m.obj"}, 1, 6, "", 0, 1, "", ""},
        ScanCase{"FullScreenSteppedOver", {"-fullscreen", "m.obj"}, 1, 6, "", 1, 1, "", ""},
        ScanCase{"AllInOnePass", {"-fullscreen", "-s2", "-tex", "t", "-notex", "m.obj"}, 1, 2, "t", 0, 5,
                 "Use starset 2 (-s2)\n", ""},
        // "-notex" is the last test of a pass: "-s4" behind it needs a second pass.
        ScanCase{"SecondPass", {"-notex", "-s4", "m.obj", "ref.obj"}, 1, 4, "", 0, 2, "Use starset 4 (-s4)\n", ""},
        ScanCase{"LastStarSetWins", {"-s5", "-s7", "m.obj"}, 1, 7, "", 1, 2,
                 "Use starset 5 (-s5)\nUse starset 7 (-s7)\n", ""},
        // The model ends the scan: what follows is a reference model, options or not.
        ScanCase{"OptionBehindModel", {"m.obj", "-notex"}, 1, 6, "", 1, 0, "", ""},
        ScanCase{"Empty", {}, -1, 6, "", 1, 0, "", ""},
        ScanCase{"EndsBehindFullScreen", {"-fullscreen"}, -1, 6, "", 1, 0, "", ""},
        ScanCase{"EndsBehindStarSet", {"-s6"}, -1, 6, "", 1, 0, "Use starset 6 (-s6)\n", ""},
        ScanCase{"EndsBehindTex", {"-tex"}, -1, 6, "", 1, 0, "", "Err: no texture list file behind -tex\n"},
        ScanCase{"TexTakesTheModel", {"-tex", "m.obj"}, -1, 6, "m.obj", 1, 0, "", ""},
        ScanCase{"NoTexAlone", {"-notex"}, -1, 6, "", 0, 0, "", ""},
        // glutInit leaves nulls and stale copies behind the arguments it keeps.
        ScanCase{"NullEndsTheList", {"-notex", nullptr, "m.obj"}, -1, 6, "", 0, 0, "", ""},
        ScanCase{"NullBehindModel", {"m.obj", nullptr, "m.obj"}, 1, 6, "", 1, 0, "", ""},
        ScanCase{"NullBehindTex", {"-tex", nullptr, "m.obj"}, -1, 6, "", 1, 0, "",
                 "Err: no texture list file behind -tex\n"}),
    [](const testing::TestParamInfo<ScanCase>& info) { return std::string(info.param.name); });

TEST(SceneArgCount, StopsAtARepeatedPointer) {
  // What glutInit leaves of "-display :1 -notex m.obj" with the scene's old count of 4: the two
  // kept arguments moved forward, their old slots still point at them.
  char display[] = "-display", name[] = ":1", notex[] = "-notex", model[] = "m.obj";
  char* argv[] = {display, name, notex, model, nullptr};
  argv[0] = notex;
  argv[1] = model;
  EXPECT_EQ(sceneArgCount(4, argv), 2);
  SceneOptions opt;
  ASSERT_EQ(scanSceneOptions(sceneArgCount(4, argv), argv, &opt), 1);
  EXPECT_EQ(opt.next, 1);
  EXPECT_EQ(opt.textureOn, 0);
  // Equal texts in separate storage are separate arguments.
  char a[] = "ref.obj", b[] = "ref.obj";
  char* twice[] = {model, a, b, nullptr};
  EXPECT_EQ(sceneArgCount(3, twice), 3);
}

TEST(SceneArgCount, StopsAtTheFirstNullOrAtArgc) {
  Args a({"a", "b", nullptr, "c"});
  EXPECT_EQ(sceneArgCount(a.argc(), a.argv()), 2);
  EXPECT_EQ(sceneArgCount(1, a.argv()), 1);
  EXPECT_EQ(sceneArgCount(0, a.argv()), 0);
  EXPECT_EQ(sceneArgCount(3, nullptr), 0);
  Args b({nullptr, "x"});
  EXPECT_EQ(sceneArgCount(b.argc(), b.argv()), 0);
}

// ---- Start failures before anything is drawn --------------------------------------------------

TEST(SceneStart, NoModelBehindTheOptionsReturnsMinusOneSilently) {
  for (auto items : std::vector<std::vector<const char*>>{
           {"-notex"}, {}, {"-fullscreen"}, {"-notex", nullptr, "stale.obj"}, {"-tex", "list"}}) {
    Args args(items);
    int result = 0;
    Captured io = capture([&] { result = initScene(args.argc(), args.argv()); });
    EXPECT_EQ(result, -1) << items.size();
    EXPECT_EQ(io.out, "");
    EXPECT_EQ(io.err, "");
    EXPECT_EQ(alignModel, nullptr);
  }
}

TEST(SceneStartDeathTest, NoTexAloneEndsTheProcessWithStatusOneAndNoMessage) {
  // The framework ends the process with status 1 on -1 and adds nothing of its own.
  EXPECT_EXIT(
      {
        Args args({"-notex"});
        if (initScene(args.argc(), args.argv()) == -1) exit(1);
        exit(0);
      },
      testing::ExitedWithCode(1), "^$");
}

TEST(SceneStartDeathTest, UnreadableModelEndsWithItsPath) {
  TempDir dir;
  std::string missing = dir.file("missing.obj");
  Args args({"-notex", missing.c_str()});
  EXPECT_EXIT(initScene(args.argc(), args.argv()), testing::ExitedWithCode(1),
              "glmReadOBJ\\(\\) failed: can't open objfile \"" + missing + "\".\nErr: failed to read \\[" +
                  missing + "\\]\n$");
}

TEST(SceneStartDeathTest, ModelPathTooLongForItsBufferIsRefused) {
  std::string longPath = "/tmp/" + std::string(600, 'x') + ".obj";
  Args args({"-notex", longPath.c_str()});
  EXPECT_EXIT(initScene(args.argc(), args.argv()), testing::ExitedWithCode(1),
              "^Err: failed to read \\[/tmp/x+\\.obj\\]\n$");
}

TEST(SceneStartDeathTest, UnreadableReferenceModelEndsWithItsPath) {
  TempDir dir;
  std::string model = dir.file("m.obj");
  writeFile(model, vertexLines({{10, 1, 1}, {10, -1, 1}, {10, -1, -1}}));
  std::string missing = dir.file("ref.obj");
  Args args({"-notex", model.c_str(), missing.c_str()});
  EXPECT_EXIT(
      initScene(args.argc(), args.argv()),
      testing::ExitedWithCode(1),
      "glmReadOBJ\\(\\) failed: can't open objfile \"" + missing + "\".\nErr: failed to read \\[" + missing +
          "\\]\n$");
}

// ---- Principal frame --------------------------------------------------------------------------

TEST(SceneFrame, ModelAtTheOriginLooksAlongXWarnsAndStillGetsAFrame) {
  TempDir dir;
  // Longest along x: seen along x that extent vanishes, and y becomes the long axis.
  FramedModel f(dir, {{-10, -2, -1}, {10, -2, -1}, {10, 2, -1}, {-10, 2, -1},
                      {-10, -2, 1}, {10, -2, 1}, {10, 2, 1}, {-10, 2, 1}});
  EXPECT_EQ(f.output.out, "\nWarning: input model locates exactly at the origin!!!\n\n");
  EXPECT_EQ(f.output.err, "");
  expectVec(alignModelCenter, 0, 0, 0, 0, "centre");
  expectVec(alignModelUpVec, 0, 0, 1, 1e-9, "up");
  EXPECT_NEAR(std::fabs(alignModelMatrix[1]), 1.0, 1e-9) << "side along y";
  EXPECT_NEAR(alignModelMatrix[0], 0.0, 1e-9);
  EXPECT_NEAR(alignModelMatrix[2], 0.0, 1e-9);
}

TEST(SceneFrame, ValueElevenIsNeverWritten) {
  TempDir dir;
  alignModelMatrix[11] = 0.5;
  {
    FramedModel f(dir, {{100, 3, 40}, {104, -2, 41}, {101, 5, 47}, {99, 1, 38}, {102, 0, 44}});
    EXPECT_EQ(alignModelMatrix[11], 0.5);
    EXPECT_EQ(alignModelMatrix_Backup[11], 0.5);
  }
  alignModelMatrix[11] = 0.0;
}

TEST(SceneFrame, MatrixCarriesTheStoredModelBackToTheFile) {
  TempDir dir;
  alignModelMatrix[11] = 0.0;  // as a fresh process has it
  FramedModel f(dir, {{100, 3, 40}, {104, -2, 41}, {101, 5, 47}, {99, 1, 38}, {102, 0, 44}});
  EXPECT_EQ(f.output.out, "");
  EXPECT_EQ(alignModelMatrix[11], 0.0);
  // The third column loses its z; the fourth column is the centre of the box.
  EXPECT_EQ(alignModelMatrix[10], 0.0);
  double normal[3];
  cross3D(alignModelMatrix, alignModelUpVec, normal);
  EXPECT_GT(std::fabs(normal[2]), 0.1) << "the z that value 10 lost";
  expectVec(alignModelMatrix + 12, 101.5, 1.5, 42.5, 1e-6, "centre");
  expectVec(alignModelCenter, 101.5, 1.5, 42.5, 1e-6, "alignModelCenter");
  EXPECT_EQ(alignModelMatrix[3], 0.0);
  EXPECT_EQ(alignModelMatrix[7], 0.0);
  EXPECT_EQ(alignModelMatrix[15], 1.0);
  EXPECT_EQ(memcmp(alignModelMatrix, alignModelMatrix_Backup, sizeof alignModelMatrix), 0);
  EXPECT_GT(alignModelUpVec[2], 0.0);
  EXPECT_NEAR(length3D(alignModelUpVec), 1.0, 1e-9);
  for (float s : alignModelObjScale) EXPECT_EQ(s, 1.0f);
  for (float t : alignModelObjTran) EXPECT_EQ(t, 0.0f);
  // Each stored vertex taken through the matrix is the vertex of the file.
  for (unsigned int i = 1; i <= f.model->numvertices; ++i) {
    const float* q = f.vertex(i);
    for (int k = 0; k < 3; ++k) {
      double p = alignModelMatrix[k] * q[0] + alignModelMatrix[4 + k] * q[1] + alignModelMatrix[8 + k] * q[2] +
                 alignModelMatrix[12 + k];
      EXPECT_NEAR(p, f.original[3 * (i - 1) + k], 1e-3) << "vertex " << i << " axis " << k;
    }
  }
  // The ranges are those of the stored model, around its own origin.
  float rx[2], ry[2], rz[2];
  glmBoundBox(f.model, rx, ry, rz);
  EXPECT_EQ(alignModelRangeX[0], rx[0]);
  EXPECT_EQ(alignModelRangeX[1], rx[1]);
  EXPECT_EQ(alignModelRangeY[0], ry[0]);
  EXPECT_EQ(alignModelRangeZ[1], rz[1]);
}

TEST(SceneFrame, SquareImageTakesItsUpFromItsTwoHighestCorners) {
  TempDir dir;
  // Corners at 30, 120, 210 and 300 degrees around the line of sight: the highest two are those
  // at 120 and 30 degrees, so up points at 75 degrees, between them.
  std::vector<std::array<double, 3>> pts;
  for (int k = 0; k < 4; ++k) {
    double a = (30.0 + 90.0 * k) * kRadiansPerDegree;
    pts.push_back({100.0, cos(a), sin(a)});
  }
  FramedModel f(dir, pts);
  ASSERT_EQ(isObjAnImage, 1);
  double a = 75.0 * kRadiansPerDegree;
  expectVec(alignModelUpVec, 0, cos(a), sin(a), 1e-5, "up");
  // side = up x line of sight
  expectVec(alignModelMatrix, 0, sin(a), -cos(a), 1e-5, "side");
}

TEST(SceneFrame, SquareWithoutImageFlagTakesTheEigenvectors) {
  TempDir dir;
  std::vector<std::array<double, 3>> pts;
  for (int k = 0; k < 4; ++k) {
    double a = (30.0 + 90.0 * k) * kRadiansPerDegree;
    pts.push_back({100.0, cos(a), sin(a)});
  }
  _GLMmodel* model = modelFrom(dir, "m.obj", vertexLines(pts));
  alignModel = model;
  isObjAnImage = 0;
  capture([&] { fixModelMatrix(model); });
  double a = 75.0 * kRadiansPerDegree, corner[3] = {0, cos(a), sin(a)};
  EXPECT_LT(std::fabs(dot3D(alignModelUpVec, corner)), 0.99);
  glmDelete(model);
  alignModel = nullptr;
}

TEST(SceneFrame, OblongImageTakesTheEigenvectorAxes) {
  TempDir dir;
  // 4 by 1, its long side turned 30 degrees up from y.
  FramedModel f(dir, turnedRectangle(100.0, 4.0, 1.0, 30.0));
  ASSERT_EQ(isObjAnImage, 1);
  double a = 30.0 * kRadiansPerDegree;
  expectVec(alignModelUpVec, 0, -sin(a), cos(a), 1e-6, "up");
  EXPECT_NEAR(std::fabs(dot3D(alignModelMatrix, std::array<double, 3>{0, cos(a), sin(a)}.data())), 1.0, 1e-6)
      << "side along the long edge";
}

TEST(SceneFrame, FiveVerticesNeverTakeTheSquarePath) {
  TempDir dir;
  std::vector<std::array<double, 3>> pts;
  for (int k = 0; k < 4; ++k) {
    double a = (30.0 + 90.0 * k) * kRadiansPerDegree;
    pts.push_back({100.0, cos(a), sin(a)});
  }
  pts.push_back({100.0, 0.0, 0.0});  // the middle: as square as before, one vertex more
  FramedModel f(dir, pts);
  ASSERT_EQ(isObjAnImage, 1);
  double a = 75.0 * kRadiansPerDegree, corner[3] = {0, cos(a), sin(a)};
  EXPECT_LT(std::fabs(dot3D(alignModelUpVec, corner)), 0.99);
  EXPECT_NEAR(alignModelUpVec[0], 0.0, 1e-9) << "still at right angles to the line of sight";
  EXPECT_NEAR(length3D(alignModelUpVec), 1.0, 1e-9);
}

TEST(SceneFrame, ModelOnTheZAxisKeepsTheSingularMatrixUninverted) {
  TempDir dir;
  alignModelMatrix[11] = 0.0;
  // Seen along z, up and side lie in the x, y plane; the normal is along z and value 10 wipes it.
  FramedModel f(dir, {{3, 1, 100}, {-3, 1, 100}, {-3, -1, 100}, {3, -1, 100.5}});
  EXPECT_EQ(alignModelUpVec[2], 0.0);
  EXPECT_EQ(alignModelMatrix[8], 0.0);
  EXPECT_EQ(alignModelMatrix[9], 0.0);
  EXPECT_EQ(alignModelMatrix[10], 0.0);
  // The inversion failed and left the rounded matrix itself, which was applied to the vertices.
  for (int i = 0; i < 16; ++i) EXPECT_EQ(initTranMat[i], static_cast<float>(alignModelMatrix[i])) << i;
  for (unsigned int i = 1; i <= f.model->numvertices; ++i) {
    const float* p = &f.original[3 * (i - 1)];
    for (int k = 0; k < 3; ++k) {
      float q = initTranMat[k] * p[0] + initTranMat[4 + k] * p[1] + initTranMat[8 + k] * p[2] + initTranMat[12 + k];
      EXPECT_FLOAT_EQ(f.vertex(i)[k], q) << "vertex " << i << " axis " << k;
    }
  }
}

struct DegenerateCase {
  const char* name;
  std::vector<std::array<double, 3>> points;
  const char* out;
};

class SceneDegenerate : public testing::TestWithParam<DegenerateCase> {};

TEST_P(SceneDegenerate, WarnsAndGoesOn) {
  TempDir dir;
  FramedModel f(dir, GetParam().points);
  EXPECT_EQ(f.output.out, GetParam().out);
  EXPECT_EQ(f.output.err, "");
  EXPECT_NEAR(length3D(alignModelUpVec), 1.0, 1e-9);
  EXPECT_EQ(alignModelMatrix[15], 1.0);
}

INSTANTIATE_TEST_SUITE_P(
    Table, SceneDegenerate,
    testing::Values(
        DegenerateCase{"NoVertex", {},
                       "\nWarning: input model has no vertex!!!\n\n"
                       "\nWarning: input model locates exactly at the origin!!!\n\n"},
        DegenerateCase{"SinglePoint", {{5, 6, 7}}, "\nWarning: input model is a degenerated single point!!!\n\n"},
        DegenerateCase{"SingleLine", {{5, 6, 7}, {5, 8, 7}},
                       "\nWarning: input model is a degenerated single line!!!\n\n"},
        DegenerateCase{"LineThroughTheOrigin", {{-1, 0, 0}, {1, 0, 0}},
                       "\nWarning: input model is a degenerated single line!!!\n\n"
                       "\nWarning: input model locates exactly at the origin!!!\n\n"},
        DegenerateCase{"Triangle", {{5, 6, 7}, {5, 8, 7}, {5, 6, 9}}, ""}),
    [](const testing::TestParamInfo<DegenerateCase>& info) { return std::string(info.param.name); });

TEST(SceneMaterial, ModelWithoutMaterialGetsTheDefaultOne) {
  TempDir dir;
  _GLMmodel* model = modelFrom(dir, "bare.obj", vertexLines({{1, 2, 3}, {2, 2, 3}, {1, 3, 3}}) + "f 1 2 3\n");
  ASSERT_NE(model, nullptr);
  ASSERT_EQ(model->nummaterials, 0u);
  EXPECT_EQ(giveDefaultMaterial(model), 1);
  ASSERT_EQ(model->nummaterials, 1u);
  EXPECT_EQ(model->groups->material, 0u);
  EXPECT_FLOAT_EQ(model->materials[0].diffuse[0], 0.8f);
  EXPECT_FLOAT_EQ(model->materials[0].diffuse[3], 1.0f);
  EXPECT_EQ(giveDefaultMaterial(model), 0);
  EXPECT_EQ(model->nummaterials, 1u);
  glmDelete(model);
}

// ---- Sorting and sums -------------------------------------------------------------------------

TEST(SceneDotN, SumsInDoubleAndRoundsToFloat) {
  const double a[3] = {1.0, 1e-10, 3.0};
  const double b[3] = {1.0, 1.0, 0.0};
  EXPECT_EQ(dotN(a, b, 2), 1.0f);  // 1.0000000001 has no float of its own
  EXPECT_EQ(dotN(a, a, 3), 10.0f);
  EXPECT_EQ(dotN(a, b, 0), 0.0f);
  const double c[2] = {0.1, 0.2};
  EXPECT_EQ(dotN(c, c, 2), static_cast<float>(0.1 * 0.1 + 0.2 * 0.2));
}

struct SortCase {
  std::vector<double> keys;
};

class SceneQSort : public testing::TestWithParam<SortCase> {};

TEST_P(SceneQSort, SortsKeysUpwardWithTheirLabels) {
  std::vector<double> keys = GetParam().keys;
  const std::vector<double> original = keys;
  const int n = static_cast<int>(keys.size());
  std::vector<int> labels(n);
  for (int i = 0; i < n; ++i) labels[i] = i;
  q_sort(labels.data(), keys.data(), 0, n - 1, n);
  for (int i = 0; i + 1 < n; ++i) EXPECT_LE(keys[i], keys[i + 1]) << i;
  std::vector<int> seen(n, 0);
  for (int i = 0; i < n; ++i) {
    EXPECT_EQ(keys[i], original[labels[i]]) << i;
    seen[labels[i]]++;
  }
  for (int i = 0; i < n; ++i) EXPECT_EQ(seen[i], 1) << i;
}

INSTANTIATE_TEST_SUITE_P(Table, SceneQSort,
                         testing::Values(SortCase{{0.5, -0.866, -0.5, 0.866}}, SortCase{{4, 3, 2, 1}},
                                         SortCase{{1, 2, 3, 4}}, SortCase{{2, 2, 2, 2}}, SortCase{{1, 3, 1, 3, 2}},
                                         SortCase{{7}}, SortCase{{-1e300, 1e300, 0, -0.0, 5, 5, -5, 3, 9, 1}}));

TEST(SceneQSort, SwapMovesKeyAndLabelTogether) {
  int labels[3] = {10, 11, 12};
  double keys[3] = {0.1, 0.2, 0.3};
  mySwap(labels, keys, 0, 2);
  EXPECT_EQ(labels[0], 12);
  EXPECT_EQ(labels[2], 10);
  EXPECT_EQ(keys[0], 0.3);
  EXPECT_EQ(keys[2], 0.1);
  EXPECT_EQ(labels[1], 11);
}

// ---- Undo and redo --------------------------------------------------------------------------

namespace {

// A matrix that differs from every other one made with another n.
void markMatrix(double* m, int n) {
  memcpy(m, kIdentity, sizeof kIdentity);
  m[12] = n;
  m[13] = 1000 + n;
}

class SceneRings : public testing::Test {
 protected:
  void SetUp() override {
    // Rings as a fresh process has them: all slots zero.
    memset(alignModelMatrix_undo, 0, sizeof alignModelMatrix_undo);
    memset(alignModelMatrix_redo, 0, sizeof alignModelMatrix_redo);
    resetAlign();
    markMatrix(alignModelMatrix, 0);
  }
  void TearDown() override {
    memcpy(alignModelMatrix, kIdentity, sizeof kIdentity);
    resetAlign();
  }
  // A press, then a drag that leaves the matrix marked n.
  void drag(int n) {
    saveAlign();
    markMatrix(alignModelMatrix, n);
  }
  double at() const { return alignModelMatrix[12]; }
};

}  // namespace

TEST_F(SceneRings, ThirtyThreeDragsLeaveThirtyTwoUndoSteps) {
  for (int i = 1; i <= 33; ++i) drag(i);
  EXPECT_EQ(nUndo, 32);
  EXPECT_EQ(undoIndex, 33 % 32);
  for (int i = 32; i >= 1; --i) {
    undoAlign();
    EXPECT_EQ(at(), i);
  }
  EXPECT_EQ(nUndo, 0);
  EXPECT_EQ(nRedo, 32);
  // The first state (0) is gone.
  Captured io = capture([] { undoAlign(); });
  EXPECT_EQ(io.err, "no alignment operation to undo\n");
  EXPECT_EQ(at(), 1);
  for (int i = 2; i <= 33; ++i) {
    redoAlign();
    EXPECT_EQ(at(), i);
  }
  EXPECT_EQ(nRedo, 0);
}

TEST_F(SceneRings, PressWithoutDragAfterADragStoresTheMovedMatrix) {
  drag(1);
  saveAlign();  // a click: nothing moves
  EXPECT_EQ(nUndo, 2);
  undoAlign();
  EXPECT_EQ(at(), 1) << "one undo changes nothing on the screen";
  undoAlign();
  EXPECT_EQ(at(), 0);
}

TEST_F(SceneRings, RepeatedPressStoresNothing) {
  saveAlign();
  saveAlign();
  saveAlign();
  EXPECT_EQ(nUndo, 1);
  EXPECT_EQ(undoIndex, 1);
}

TEST_F(SceneRings, PressAfterUndoThatDiffersFromTheNewestSlotClearsRedo) {
  drag(1);
  drag(2);
  undoAlign();
  EXPECT_EQ(at(), 1);
  EXPECT_EQ(nRedo, 1);
  saveAlign();  // matrix 1 against slot holding 0
  EXPECT_EQ(nRedo, 0);
  EXPECT_EQ(nUndo, 2);
  Captured io = capture([] { redoAlign(); });
  EXPECT_EQ(io.err, "no alignment operation to redo\n");
  EXPECT_EQ(at(), 1);
}

TEST_F(SceneRings, UndoAndRedoOnEmptyRingsSayItAndChangeNothing) {
  Captured u = capture([] { undoAlign(); });
  EXPECT_EQ(u.out, "");
  EXPECT_EQ(u.err, "no alignment operation to undo\n");
  Captured r = capture([] { redoAlign(); });
  EXPECT_EQ(r.out, "");
  EXPECT_EQ(r.err, "no alignment operation to redo\n");
  EXPECT_EQ(at(), 0);
  EXPECT_EQ(nUndo, 0);
  EXPECT_EQ(nRedo, 0);
  EXPECT_EQ(undoIndex, 0);
  EXPECT_EQ(redoIndex, 0);
}

TEST_F(SceneRings, RedoKeepsTheRestOfTheRedoRingAndUndoTheRestOfTheUndoRing) {
  drag(1);
  drag(2);
  drag(3);
  undoAlign();
  undoAlign();
  EXPECT_EQ(nUndo, 1);
  EXPECT_EQ(nRedo, 2);
  redoAlign();
  EXPECT_EQ(at(), 2);
  EXPECT_EQ(nRedo, 1);
  EXPECT_EQ(nUndo, 2);
}

TEST_F(SceneRings, EmptyRingStillComparesWithWhatItsLastSlotHolds) {
  markMatrix(alignModelMatrix_undo[kAlignRingSize - 1], 0);
  saveAlign();
  EXPECT_EQ(nUndo, 0) << "the matrix equals the stale slot";
  markMatrix(alignModelMatrix, 5);
  saveAlign();
  EXPECT_EQ(nUndo, 1);
}

TEST_F(SceneRings, ResetEmptiesTheCountsAndKeepsTheSlots) {
  drag(1);
  drag(2);
  undoAlign();
  resetAlign();
  EXPECT_EQ(nUndo, 0);
  EXPECT_EQ(nRedo, 0);
  EXPECT_EQ(undoIndex, 0);
  EXPECT_EQ(redoIndex, 0);
  EXPECT_EQ(alignModelMatrix_undo[0][12], 0);
  EXPECT_EQ(alignModelMatrix_redo[0][12], 2);
}

TEST(SceneRingPrimitives, PushWrapsAndPopDoesNotLookAtTheCount) {
  static double ring[kAlignRingSize][16];
  int index = kAlignRingSize - 1, count = kAlignRingSize;
  double m[16];
  markMatrix(m, 7);
  pushMat(ring, m, &index, &count);
  EXPECT_EQ(index, 0);
  EXPECT_EQ(count, kAlignRingSize);
  EXPECT_EQ(ring[kAlignRingSize - 1][12], 7);
  index = 0;
  count = 0;
  double out[16];
  popMat(ring, out, &index, &count);
  EXPECT_EQ(index, kAlignRingSize - 1);
  EXPECT_EQ(count, -1);
  EXPECT_EQ(out[12], 7);
  EXPECT_EQ(out[13], 1007);
}
