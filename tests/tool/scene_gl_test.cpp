// The alignment scene in a window on a private X server: the start on the M51 sample pair with
// the real catalogue, parameter file and Milky Way maps, the search of the two data roots and its
// messages, the first view that frames the model, and the release of everything at the end.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>
#include <unistd.h>

#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "model/glm.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tests/tool/tool_scene.h"
#include "tool/velmora.h"
#include "viewer/tarnwick.h"

using testsupport::TempDir;
using testsupport::writeFile;

namespace {

constexpr int kWindowSize = 256;
const char* kNoTop = "/nonexistent-velmora-top";
const char* kNoBase = "/nonexistent-velmora-base/";

using Captured = testsupport::Streams;
using testsupport::streamsOf;
using toolscene::Args;

std::string src() {
  return testsupport::sourceDir();
}
std::string modelPath() {
  return src() + "/samples/m51-misplaced.obj";
}
std::string referencePath() {
  return src() + "/samples/m51.obj";
}

void setBaseDir(const std::string& dir) {
  copyText(basedir, dir.c_str(), sizeof basedir);
}

int countOf(const std::string& text, const std::string& piece) {
  int n = 0;
  for (size_t at = text.find(piece); at != std::string::npos; at = text.find(piece, at + 1)) ++n;
  return n;
}


class SceneGL : public testing::Test {
 protected:
  void SetUp() override {
    if (!testsupport::openGLWindow(kWindowSize, kWindowSize)) GTEST_SKIP() << "no X server";
    toolscene::prepare(kWindowSize);
  }
  void TearDown() override {
    deleteScene();
    unsetenv("TOPDIR");
    fullScreen = 0;
  }
  int start(const std::vector<std::string>& items, Captured* io) {
    Args args(items);
    int result = 0;
    *io = streamsOf([&] { result = initScene(args.argc(), args.argv()); });
    return result;
  }
};

}  // namespace

TEST_F(SceneGL, StartsOnTheM51PairWithTheRealData) {
  Captured io;
  ASSERT_EQ(start({"-notex", modelPath(), referencePath()}, &io), 0) << io.err;
  const std::string tried = "Try Reading star file : [" + src() + "//data/stardata/HIP/hip.6.star]\n";
  EXPECT_EQ(countOf(io.out, tried), 1) << io.out;
  EXPECT_EQ(countOf(io.out, "Try Reading star file : "), 1) << "the first root served";
  EXPECT_EQ(io.err.find("Err"), std::string::npos) << io.err;

  // The catalogue and the parameter file (which moves the stars to the year 2000 and names the
  // constellations).
  ASSERT_NE(starList, nullptr);
  EXPECT_GT(starList->getNumStars(), 1000);
  EXPECT_EQ(starList->getStarParameter().starAtYear, 2000);
  EXPECT_EQ(starAtYear, 2000);
  EXPECT_EQ(starSize, 1.0f);
  EXPECT_GT(starList->getNumConstellations(), 0);
  EXPECT_EQ(mySensitivity, static_cast<float>(sensitivity));
  EXPECT_STREQ(topdir, kNoTop);

  // The model and its reference.
  EXPECT_EQ(std::string(alignfile), modelPath());
  EXPECT_STREQ(alignfile_basename, "m51-misplaced.obj");
  EXPECT_EQ(isObjAnImage, 1);
  EXPECT_EQ(showAlignModelOutline, 0);
  for (float c : orig_modelColor) EXPECT_EQ(c, 1.0f);
  EXPECT_NEAR(distObjModel, length3D(alignModelCenter), 1e-2);
  EXPECT_GT(distObjModel, 8000.0f);
  EXPECT_EQ(unitObjModel, kUnitBase);
  EXPECT_EQ(coordObjModel, kCoordBase);
  EXPECT_EQ(objFileExport, "");
  EXPECT_EQ(alignModelAlpha, 1.0f);
  EXPECT_EQ(nUndo, 0);
  EXPECT_EQ(nRedo, 0);
  ASSERT_EQ(nFixedModels, 1);
  ASSERT_NE(fixedModels, nullptr);
  ASSERT_NE(fixedModels[0], nullptr);
  EXPECT_EQ(fixedModels[0]->numvertices, 4u);
  EXPECT_FLOAT_EQ(fixedModels[0]->vertices[3], -767.654757f) << "reference models stay as read";
  EXPECT_EQ(showFixedModels, 1);
  EXPECT_EQ(showFixedBehind, 1);

  // Switches.
  const int zeros[] = {showSGalSphere, showGalSphere, showEqnSphere, gridDetail, showSGalAxesFlag,
                       showEqnAxesFlag, showCenterLine, lockView, showRaDec, showAnchor,
                       showConstellationNames, showConstellationLines, showConstellationBounds,
                       showConstellationPickedOnly, showAlignModelNormal, showAlignModelAxes, showAlignModelBBox,
                       textureOn};
  for (int v : zeros) EXPECT_EQ(v, 0);
  const int ones[] = {showLookAtDir,  showStarsFlag, useStarColorMap,   useStarTex,
                      showCommonName, showStarInfo,  showAlignModelInfo, showAlignModel};
  for (int v : ones) EXPECT_EQ(v, 1);
  EXPECT_EQ(printDecPlace, 2);
  EXPECT_EQ(anchor.HD, kAnchorHD);
  EXPECT_EQ(anchor.pos.x, 1.0);
  EXPECT_EQ(anchor.pos.y, 0.0);
  EXPECT_EQ(anchor.pos.z, 0.0);
  EXPECT_EQ(anchor.pos.s, currLogScale);
  EXPECT_STREQ(anchorText, " (0,0)");

  // Texts and the contract with the framework.
  EXPECT_EQ(std::string(titleStr), "Velmora tool 1.2 [" + modelPath() + "]");
  EXPECT_STREQ(aboutStr,
               "Multispectral Velmora Tool (version 1.2)\n"
               "\n"
               "Rule:\n"
               " a time to search and a time to give up,\n"
               " a time to keep and a time to throw away\n"
               "Ecclesiastes 3:6\n"
               "\n"
               "by the Velmora developers\n"
               "velmora@example.org\n"
               "- 11/25/2003");
  EXPECT_EQ(useGLUTMenu, 0);
  EXPECT_EQ(useSubGLUI, 1);
  EXPECT_EQ(winW, 640);
  EXPECT_EQ(winH, 640);
}

TEST_F(SceneGL, FirstViewLooksAtTheModelAndFramesIt) {
  Captured io;
  ASSERT_EQ(start({"-notex", modelPath()}, &io), 0) << io.err;
  EXPECT_GT(myCurrFovy, 0.0f);
  EXPECT_LT(myCurrFovy, 5.0f) << "M51 is small on the sky";
  EXPECT_EQ(currFovy, static_cast<double>(myCurrFovy));

  // The eye at the origin looks along the model's direction with the model's up.
  double mv[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  double dir[3] = {alignModelCenter[0], alignModelCenter[1], alignModelCenter[2]};
  unify3D(dir);
  double forward[3] = {-mv[2], -mv[6], -mv[10]};
  EXPECT_GT(dot3D(forward, dir), 0.99999);
  EXPECT_NEAR(mv[12], 0.0, 1e-12);
  EXPECT_NEAR(mv[13], 0.0, 1e-12);
  EXPECT_NEAR(mv[14], 0.0, 1e-12);
  double upRow[3] = {mv[1], mv[5], mv[9]};
  EXPECT_GT(dot3D(upRow, alignModelUpVec), 0.9999);
  // The model's side axis (its long axis, here a diagonal of the almost square image) runs
  // across the picture.
  double rightRow[3] = {mv[0], mv[4], mv[8]};
  EXPECT_GT(std::fabs(dot3D(rightRow, alignModelMatrix)), 0.9999);
  double pr[16];
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  EXPECT_NEAR(pr[5], 1.0 / tan(currFovy / 2.0 * kRadiansPerDegree), 1e-6 * pr[5]);

  // Drawn as the sky drawing places it, the model sits in the middle with room around it.
  glViewport(0, 0, kWindowSize, kWindowSize);
  glClearColor(0, 0, 0, 0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_DEPTH_TEST);
  glPushMatrix();
  glMultMatrixd(alignModelMatrix);
  glTranslatef(alignModelObjTran[0], alignModelObjTran[1], 0.0f);
  glScalef(alignModelObjScale[0], alignModelObjScale[1], alignModelObjScale[2]);
  glColor3f(1, 1, 1);
  glBegin(GL_QUADS);
  for (unsigned int i = 1; i <= alignModel->numvertices; ++i) glVertex3fv(alignModel->vertices + 3 * i);
  glEnd();
  glPopMatrix();
  glFinish();
  std::vector<unsigned char> rgb = testsupport::readPixelsRGB(0, 0, kWindowSize, kWindowSize);
  testsupport::keepShotForALook("scene_gl_first_view", rgb.data(), kWindowSize, kWindowSize);
  int minX = kWindowSize, maxX = -1, minY = kWindowSize, maxY = -1;
  for (int y = 0; y < kWindowSize; ++y)
    for (int x = 0; x < kWindowSize; ++x)
      if (rgb[(static_cast<size_t>(y) * kWindowSize + x) * 3] > 128) {
        minX = std::min(minX, x);
        maxX = std::max(maxX, x);
        minY = std::min(minY, y);
        maxY = std::max(maxY, y);
      }
  ASSERT_GE(maxX, 0) << "the model is in the picture";
  EXPECT_GT(minX, 0);
  EXPECT_GT(minY, 0);
  EXPECT_LT(maxX, kWindowSize - 1);
  EXPECT_LT(maxY, kWindowSize - 1);
  EXPECT_NEAR((minX + maxX) / 2.0, kWindowSize / 2.0, 3.0);
  EXPECT_NEAR((minY + maxY) / 2.0, kWindowSize / 2.0, 3.0);
  // The field is 2.2 times the widest angle: the model's diagonal spans about 2 / 2.2 of the
  // picture's height, the square's sides about that over the square root of 2.
  EXPECT_GT(maxX - minX, kWindowSize / 3);
}

TEST_F(SceneGL, ReadsTheMilkyWayMapsUnlessToldNotTo) {
  Captured io;
  ASSERT_EQ(start({modelPath()}, &io), 0) << io.err;
  EXPECT_EQ(textureOn, 1);
  EXPECT_GT(nTexObjs, 0);
  ASSERT_NE(texObjs, nullptr);
  EXPECT_NE(texObjs[0].texId, 0u) << "bound as a texture";
  EXPECT_EQ(texChoice, 1);
  EXPECT_NE(io.err.find("reading texture images ["), std::string::npos) << io.err;
}

TEST_F(SceneGL, FallsBackToTopdir) {
  setBaseDir(kNoBase);
  setenv("TOPDIR", src().c_str(), 1);
  Captured io;
  ASSERT_EQ(start({"-notex", modelPath()}, &io), 0) << io.err;
  const std::string first = std::string("Try Reading star file : [") + kNoBase + "/data/stardata/HIP/hip.6.star]\n";
  const std::string second = "Try Reading star file : [" + src() + "/data/stardata/HIP/hip.6.star]\n";
  size_t a = io.out.find(first), b = io.out.find(second);
  ASSERT_NE(a, std::string::npos) << io.out;
  ASSERT_NE(b, std::string::npos) << io.out;
  EXPECT_LT(a, b);
  EXPECT_EQ(starList->getStarParameter().starAtYear, 2000) << "the parameters from topdir too";
}

struct RootFailure {
  const char* name;
  std::vector<std::string> options;
  const char* base;  // nullptr: the source tree
  const char* top;   // nullptr: TOPDIR unset
  int set;
};

class SceneRoots : public SceneGL, public testing::WithParamInterface<RootFailure> {};

TEST_P(SceneRoots, CatalogueFoundNowhere) {
  const RootFailure& c = GetParam();
  std::string base = c.base ? c.base : src() + "/";
  std::string top = c.top ? c.top : "../..";
  setBaseDir(base);
  if (c.top)
    setenv("TOPDIR", c.top, 1);
  else
    unsetenv("TOPDIR");
  std::vector<std::string> items = c.options;
  items.push_back(modelPath());
  Captured io;
  EXPECT_EQ(start(items, &io), -1);
  std::string file = "data/stardata/HIP/hip." + std::to_string(c.set) + ".star";
  std::string expectOut = (c.set == 0 ? "Use starset 0 (-star)\n" : "");
  expectOut += "Try Reading star file : [" + base + "/" + file + "]\n";
  expectOut += "Try Reading star file : [" + top + "/" + file + "]\n";
  EXPECT_EQ(io.out, expectOut);
  EXPECT_EQ(io.err, "Err: failed to open [data/stardata/HIP/hip] or [" + top + "/" + file + "]\n");
}

INSTANTIATE_TEST_SUITE_P(Table, SceneRoots,
                         testing::Values(RootFailure{"WrongBaseAndTop", {"-notex"}, kNoBase, kNoTop, 6},
                                         RootFailure{"TopDefault", {"-notex"}, kNoBase, nullptr, 6},
                                         RootFailure{"StarIsSetZero", {"-notex", "-star"}, nullptr, kNoTop, 0}),
                         [](const testing::TestParamInfo<RootFailure>& info) { return std::string(info.param.name); });

TEST_F(SceneGL, ParameterFileFoundNowhere) {
  TempDir root;
  std::filesystem::create_directories(root.path() + "/data/stardata/HIP");
  std::filesystem::create_symlink(src() + "/data/stardata/HIP/hip.1.star",
                                  root.path() + "/data/stardata/HIP/hip.6.star");
  setBaseDir(root.path() + "/");
  Captured io;
  EXPECT_EQ(start({"-notex", modelPath()}, &io), -1);
  EXPECT_EQ(io.out, "Try Reading star file : [" + root.path() + "//data/stardata/HIP/hip.6.star]\n");
  // The catalogue's reader reports what it read; the failure is the last line.
  const std::string failure =
      std::string("Err: failed to read [data/stardata/halvane.txt] or [") + kNoTop + "/data/stardata/halvane.txt]\n";
  ASSERT_GE(io.err.size(), failure.size());
  EXPECT_EQ(io.err.substr(io.err.size() - failure.size()), failure);
  EXPECT_EQ(countOf(io.err, "Err"), 1) << io.err;
}

TEST_F(SceneGL, FullScreenKeepsTheWindowAndDropsThePanelFromTheWindow) {
  fullScreen = 1;
  winW = 1279;
  winH = 1023;
  Captured io;
  ASSERT_EQ(start({"-notex", modelPath()}, &io), 0) << io.err;
  EXPECT_EQ(useSubGLUI, 0);
  EXPECT_EQ(winW, 1279);
  EXPECT_EQ(winH, 1023);
}

TEST_F(SceneGL, DeleteSceneFreesEverything) {
  Captured io;
  ASSERT_EQ(start({modelPath(), referencePath(), referencePath()}, &io), 0) << io.err;
  ASSERT_EQ(nFixedModels, 2);
  deleteScene();
  EXPECT_EQ(starList, nullptr);
  EXPECT_EQ(alignModel, nullptr);
  EXPECT_EQ(fixedModels, nullptr);
  EXPECT_EQ(nFixedModels, 0);
  EXPECT_EQ(texObjs, nullptr);
  EXPECT_EQ(nTexObjs, 0);
  EXPECT_EQ(sliderTex, nullptr);
  deleteScene();  // nothing left: harmless
#if defined(__SANITIZE_ADDRESS__)
  // With the sanitizer's leak detection on, whatever the scene still held would show here.
  EXPECT_EQ(__lsan_do_recoverable_leak_check(), 0);
#endif
}

// ---- The first view's field of view ---------------------------------------------------------

namespace {

void frameModelAt(const TempDir& dir, double half, _GLMmodel** out) {
  char text[512];
  snprintf(text, sizeof text, "v 1 %f %f\nv 1 %f %f\nv 1 %f %f\nv 1 %f %f\n", half, half, -half, half, -half,
           -half, half, -half);
  writeFile(dir.file("wide.obj"), text);
  _GLMmodel* model = glmReadOBJ(dir.file("wide.obj").c_str());
  alignModel = model;
  isObjAnImage = glmIsPlanar(model, 1e-5f);
  streamsOf([&] { fixModelMatrix(model); });
  *out = model;
}

}  // namespace

TEST_F(SceneGL, FieldBeyondOneHundredSeventyKeepsTheOldField) {
  TempDir dir;
  _GLMmodel* model = nullptr;
  // Corners 80 degrees off the direction: 2.2 times that is 176 degrees.
  frameModelAt(dir, 4.0, &model);
  currFovy = 45.0;
  fixInitView();
  double widest = atan(sqrt(32.0));
  EXPECT_NEAR(myCurrFovy, widest * 2.2 * kDegreesPerRadian, 1e-3);
  EXPECT_GT(myCurrFovy, 170.0f);
  EXPECT_EQ(currFovy, 45.0);
  double pr[16];
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  EXPECT_NEAR(pr[5], 1.0 / tan(22.5 * kRadiansPerDegree), 1e-6);
  glmDelete(model);
  alignModel = nullptr;
}

TEST_F(SceneGL, FieldUpToOneHundredSeventyIsTaken) {
  TempDir dir;
  _GLMmodel* model = nullptr;
  // Corners 76.7 degrees off: 168.8 degrees.
  frameModelAt(dir, 3.0, &model);
  currFovy = 45.0;
  fixInitView();
  EXPECT_NEAR(myCurrFovy, atan(sqrt(18.0)) * 2.2 * kDegreesPerRadian, 1e-3);
  EXPECT_EQ(currFovy, static_cast<double>(myCurrFovy));
  glmDelete(model);
  alignModel = nullptr;
}

// ---- Through the framework ------------------------------------------------------------------

TEST_F(SceneGL, NoTexAloneEndsTheProcessWithStatusOneAndNoMessage) {
  // The child starts afresh (its own server and window) rather than sharing this one's.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  Args args({"-notex"});
  EXPECT_EXIT(
      {
        myGLInit(args.argc(), args.argv());
        exit(0);
      },
      testing::ExitedWithCode(1), "^$");
}

namespace {

constexpr int kSceneStarted = 7;
constexpr int kWrongArguments = 8;

// As the framework starts: the scene gets the count from before glutInit, which takes
// "-display NAME", put in at position where, out of the list. Ends the process with
// kSceneStarted when the scene took the right model and reference, else kWrongArguments.
[[noreturn]] void startWithDisplayAt(int where) {
  const std::string& display = testsupport::sharedDisplay();
  if (display.empty()) exit(kWrongArguments);
  std::vector<std::string> items = {"velmora", "-notex", modelPath(), referencePath()};
  items.insert(items.begin() + where, {"-display", display});
  Args args(items);
  int argc = args.argc();
  char** argv = args.argv();
  const int sceneArgc = argc - 1;
  glutInit(&argc, argv);
  glutInitDisplayMode(GLUT_RGBA | GLUT_DOUBLE | GLUT_DEPTH);
  glutCreateWindow("");
  setBaseDir(src() + "/");
  int result = initScene(sceneArgc, argv + 1);
  bool right = result == 0 && std::string(alignfile) == modelPath() && nFixedModels == 1 &&
               std::string(fixedModels[0]->pathname) == referencePath() && textureOn == 0;
  deleteScene();
  exit(right ? kSceneStarted : kWrongArguments);
}

}  // namespace

TEST(SceneGlutArguments, WindowSystemArgumentsNeverBecomeModels) {
  // The child runs the real glutInit in a process of its own.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (int where = 1; where <= 4; ++where)
    EXPECT_EXIT(startWithDisplayAt(where), testing::ExitedWithCode(kSceneStarted), "") << "\"-display\" at " << where;
}
