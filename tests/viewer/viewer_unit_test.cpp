// Start-up, view, frame loop and menus of the viewer framework, in process.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <regex>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "fileio/common.h"
#include "model/glm.h"
#include "movie/movierec.h"
#include "tests/support/xvfb.h"
#include "tests/viewer/recorder.h"
#include "tests/viewer/usage_text.h"
#include "viewer/tarnwick.h"

// ---- The scene of this test program -------------------------------------------------------

std::vector<SceneCall> sceneCalls;
int sceneDraws = 0;

int initScene(int, char**) {
  return 0;
}

void renderScene(double frame, int nFrames, unsigned int renderMode, double logScale, int pickMode) {
  sceneCalls.push_back({frame, nFrames, renderMode, logScale, pickMode});
  if (sceneDraws == 2 && !pickMode) {
    // One thin diagonal line across the middle, drawn without smoothing.
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glDisable(GL_LINE_SMOOTH);
    glLineWidth(1.0f);
    glColor3f(1, 1, 1);
    glBegin(GL_LINES);
    glVertex3f(2, 0.8f, -0.7f);
    glVertex3f(2, -0.8f, 0.7f);
    glEnd();
    return;
  }
  if (sceneDraws && !pickMode) {
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glColor3f(1, 1, 1);
    glBegin(GL_QUADS);
    glVertex3f(2, -0.5f, -0.5f);
    glVertex3f(2, 0.5f, -0.5f);
    glVertex3f(2, 0.5f, 0.5f);
    glVertex3f(2, -0.5f, 0.5f);
    glEnd();
  }
}

void deleteScene() {}

bool frameworkWindow() {
  static int window = 0;
  if (!window) {
    window = testsupport::openGLWindow(256, 256);
    if (!window) return false;
    mainWindow = window;
  }
  glutSetWindow(window);
  resetFramework();
  return true;
}

void resetFramework() {
  myInit();
  myGLInit(0, nullptr);
  viewShearState = 0;
  showGalGrid = showEqnGrid = showSphGridDetail = 0;
  mouseButton = 0;
  mouseModifiers = 0;
  preMouse2X = -1;
  glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
  reshape(256, 256);
  View view = initView();
  resetView(&view);
  sceneCalls.clear();
  sceneDraws = 0;
  // No accumulation arrays: a size left by an earlier test would be kept (it isn't updated
  // on a new size) and overrun by a larger window's read-back.
  free(myStencilBufInt);
  free(myStencilBufByte);
  myStencilBufInt = nullptr;
  myStencilBufByte = nullptr;
  myStencilSize = myStencilCount = myStencilW = myStencilH = 0;
  jitterSize = 1;
  jitterPt = nullptr;
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}

namespace {

class ViewerFramework : public testing::Test {
 protected:
  void SetUp() override {
    if (!frameworkWindow()) GTEST_SKIP() << "no X server";
  }
};

void readMatrices(double mv[16], double pr[16]) {
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
}

}  // namespace

// ---- Start-up -----------------------------------------------------------------------------

TEST(ViewerStartUp, BaseDirKeepsTheLastSlash) {
  char out[512];
  getBaseDir("/usr/local/bin/velmora", out);
  EXPECT_STREQ(out, "/usr/local/bin/");
  getBaseDir("build/bin/velmora", out);
  EXPECT_STREQ(out, "build/bin/");
  getBaseDir("/velmora", out);
  EXPECT_STREQ(out, "/");
}

TEST(ViewerStartUp, BaseDirWithoutSlashIsDotSlash) {
  char out[512];
  getBaseDir("velmora", out);
  EXPECT_STREQ(out, "./");
}

TEST(ViewerStartUp, BaseDirOfAnOverlongPathIsCutNotOverrun) {
  std::string path(2000, 'a');
  path += "/velmora";
  char out[512 + 16];
  memset(out, 'x', sizeof out);
  getBaseDir(path.c_str(), out);
  EXPECT_EQ(strlen(out), 2u);  // no slash in the first 511 characters
  EXPECT_STREQ(out, "./");
  EXPECT_EQ(out[512], 'x');
}

TEST(ViewerStartUp, UsageTextWordForWord) {
  testing::internal::CaptureStderr();
  usage("anything");
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, kUsageText);
}

TEST(ViewerStartUp, ScreenSizeWithoutDisplayVariable) {
  const char* saved = getenv("DISPLAY");
  std::string keep = saved ? saved : "";
  unsetenv("DISPLAY");
  int w = 5, h = 5;
  testing::internal::CaptureStderr();
  int r = getScreenSize(&w, &h);
  std::string err = testing::internal::GetCapturedStderr();
  if (saved) setenv("DISPLAY", keep.c_str(), 1);
  EXPECT_EQ(r, -1);
  EXPECT_EQ(w, 0);
  EXPECT_EQ(h, 0);
  EXPECT_EQ(err, "No DISPLAY environment variable found.\n");
}

TEST(ViewerStartUp, ScreenSizeOfADisplayThatCannotBeOpened) {
  const char* saved = getenv("DISPLAY");
  std::string keep = saved ? saved : "";
  setenv("DISPLAY", "/nonexistent/velmora-socket:0", 1);
  int w = 5, h = 5;
  testing::internal::CaptureStderr();
  int r = getScreenSize(&w, &h);
  std::string err = testing::internal::GetCapturedStderr();
  if (saved)
    setenv("DISPLAY", keep.c_str(), 1);
  else
    unsetenv("DISPLAY");
  EXPECT_EQ(r, -1);
  EXPECT_EQ(w, 0);
  EXPECT_EQ(h, 0);
  EXPECT_EQ(err, "Failed to Open Display.\n");
}

TEST_F(ViewerFramework, ScreenSizeOfTheTestServer) {
  int w = 0, h = 0;
  EXPECT_EQ(getScreenSize(&w, &h), 1);
  EXPECT_EQ(w, 1280);
  EXPECT_EQ(h, 1024);
}

TEST_F(ViewerFramework, StartValuesOfTheTables) {
  EXPECT_EQ(useGLUTMenu, 1);
  EXPECT_EQ(useSubGLUI, 0);
  EXPECT_EQ(mouseCBFuncPtr, nullptr);
  EXPECT_EQ(gluiCreatePtr, nullptr);
  EXPECT_EQ(countPlay, 0);
  EXPECT_EQ(frameRateFlag, 0);
  EXPECT_EQ(sensitivity, 1.0);
  EXPECT_EQ(printEnable, 0);
  EXPECT_EQ(askForPick, 0);
  EXPECT_EQ(frameNum, -1.0);
  EXPECT_EQ(controlledLightID, 0);
  EXPECT_EQ(lightON[0], 1);
  for (int i = 1; i < 8; ++i) EXPECT_EQ(lightON[i], 0);
  for (int i = 0; i < 8; ++i) {
    EXPECT_FLOAT_EQ(lightPosition[i][2], 2.0f);
    EXPECT_FLOAT_EQ(lightPosition[i][3], 1.0f);
    EXPECT_FLOAT_EQ(lightAmbient[i][0], 0.1f);
    EXPECT_FLOAT_EQ(lightAmbient[i][3], 1.0f);
    EXPECT_FLOAT_EQ(lightDiffuse[i][1], 1.0f);
    EXPECT_FLOAT_EQ(lightSpecular[i][2], 1.0f);
  }
  EXPECT_FLOAT_EQ(lightmat[0], 1.0f);
  EXPECT_FLOAT_EQ(lightmat[1], 0.0f);
  EXPECT_EQ(antiAliasFlag, 1);
  EXPECT_TRUE(glIsEnabled(GL_LINE_SMOOTH));
  EXPECT_TRUE(glIsEnabled(GL_NORMALIZE));
  EXPECT_TRUE(glIsEnabled(GL_LIGHT0));
  EXPECT_FALSE(glIsEnabled(GL_LIGHT1));
  EXPECT_EQ(powercubeAlpha, 1.0f);
  EXPECT_EQ(useSmooth, kRenderSmooth);
  EXPECT_EQ(useMaterial, kRenderMaterial);
  EXPECT_EQ(useTexture, kRenderTexture);
  EXPECT_EQ(fixAspectRatio, 1);
  EXPECT_EQ(jitterSize, 1);
  float position[4];
  glGetLightfv(GL_LIGHT0, GL_POSITION, position);
  EXPECT_FLOAT_EQ(position[2], 2.0f);  // in eye coordinates: set under an identity
}

// ---- The view -----------------------------------------------------------------------------

TEST_F(ViewerFramework, DefaultViewLooksAlongXWithZUp) {
  View view = initView();
  EXPECT_EQ(view.viewPos.x, 0.0);
  EXPECT_EQ(view.viewPos.s, 0.0);
  EXPECT_EQ(view.viewDir[0], 1.0);
  EXPECT_EQ(view.viewUp[2], 1.0);
  EXPECT_EQ(view.fovy, 60.0);
  EXPECT_EQ(view.aspect, 1.0);
}

TEST_F(ViewerFramework, ResetViewMatricesHaveTheFixedPlanes) {
  const double nearPlane = 0.009999999776482582;
  EXPECT_EQ(viewNearPlane, nearPlane);
  View view = initView();
  view.aspect = 2.0;
  view.fovy = 50.0;
  resetView(&view);
  double mv[16], pr[16];
  readMatrices(mv, pr);
  double f = 1.0 / tan(25.0 * kRadiansPerDegree);
  EXPECT_NEAR(pr[0], f / 2.0, 1e-6);
  EXPECT_NEAR(pr[5], f, 1e-6);
  // OpenGL keeps its matrices in single precision.
  EXPECT_NEAR(pr[10], (10000.0 + nearPlane) / (nearPlane - 10000.0), 1e-6);
  EXPECT_NEAR(pr[14], 2.0 * 10000.0 * nearPlane / (nearPlane - 10000.0), 1e-8);
  EXPECT_EQ(pr[11], -1.0);
  // Eye at the origin looking along +x with z up: the rows are (0,-1,0), (0,0,1), (-1,0,0).
  const double expected[16] = {0, 0, -1, 0, -1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 0, 1};
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(mv[i], expected[i], 1e-7) << i;
  EXPECT_EQ(currFovy, 50.0);
  EXPECT_EQ(currAspect, 2.0);
  EXPECT_EQ(currLogScale, 0.0);
}

TEST_F(ViewerFramework, ResetViewPutsTheEyeAtUnitDistance) {
  View view = initView();
  view.viewPos = PHCoord{3, 4, 0, 2};
  view.viewDir[0] = 0;
  view.viewDir[1] = 0;
  view.viewDir[2] = -1;
  view.viewUp[0] = 0;
  view.viewUp[1] = 1;
  view.viewUp[2] = 0;
  resetView(&view);
  EXPECT_NEAR(currLogScale, 2.0 + log10(5.0), 1e-12);
  double mv[16], pr[16];
  readMatrices(mv, pr);
  View back = frmMatToView(mv);
  EXPECT_NEAR(back.viewPos.x, 0.6, 1e-7);
  EXPECT_NEAR(back.viewPos.y, 0.8, 1e-7);
  EXPECT_NEAR(back.viewPos.z, 0.0, 1e-7);
  EXPECT_EQ(back.viewPos.s, currLogScale);
  EXPECT_NEAR(back.viewDir[2], -1.0, 1e-7);
  EXPECT_NEAR(back.viewUp[1], 1.0, 1e-7);
}

TEST_F(ViewerFramework, ResetViewOfAZeroPositionKeepsItsExponent) {
  View view = initView();
  view.viewPos = PHCoord{0, 0, 0, 7};
  resetView(&view);
  EXPECT_EQ(currLogScale, 7.0);
}

TEST_F(ViewerFramework, ShearedViewsPrintTheirLineAndZoomIntoAQuarter) {
  const char* lines[4] = {"sheared view (zoom to left-top)\n", "sheared view (zoom to right-top)\n",
                          "sheared view (zoom to left-bottom)\n", "sheared view (zoom to right-bottom)\n"};
  const double nearPlane = 0.009999999776482582;
  double hh = tan(60.0 * kRadiansPerDegree / 2.0) * nearPlane, hw = hh;
  const double lrbt[4][4] = {{-hw, 0, 0, hh}, {0, hw, 0, hh}, {-hw, 0, -hh, 0}, {0, hw, -hh, 0}};
  for (int state = 1; state <= 4; ++state) {
    viewShearState = state;
    View view = initView();
    testing::internal::CaptureStdout();
    resetView(&view);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), lines[state - 1]);
    double mv[16], pr[16];
    readMatrices(mv, pr);
    const double* b = lrbt[state - 1];
    EXPECT_NEAR(pr[0], 2 * nearPlane / (b[1] - b[0]), 1e-6);
    EXPECT_NEAR(pr[8], (b[1] + b[0]) / (b[1] - b[0]), 1e-9);
    EXPECT_NEAR(pr[9], (b[3] + b[2]) / (b[3] - b[2]), 1e-9);
  }
  viewShearState = 0;
}

TEST_F(ViewerFramework, ReshapeFollowsTheWindowShape) {
  reshape(200, 100);
  EXPECT_EQ(winW, 200);
  EXPECT_EQ(winH, 100);
  EXPECT_EQ(currAspect, 2.0);
  int vp[4];
  glGetIntegerv(GL_VIEWPORT, vp);
  EXPECT_EQ(vp[2], 200);
  EXPECT_EQ(vp[3], 100);
  double pr[16], mv[16];
  readMatrices(mv, pr);
  EXPECT_NEAR(pr[5] / pr[0], 2.0, 1e-9);
  reshape(256, 256);
}

TEST_F(ViewerFramework, ReshapeIgnoresTheShearedView) {
  viewShearState = 1;
  View view = initView();
  testing::internal::CaptureStdout();
  resetView(&view);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "sheared view (zoom to left-top)\n");
  double mv[16], pr[16];
  readMatrices(mv, pr);
  EXPECT_LT(pr[8], -0.5);  // the frustum lies off centre
  reshape(256, 256);
  readMatrices(mv, pr);
  EXPECT_EQ(pr[8], 0.0);  // a plain perspective again
  EXPECT_EQ(pr[9], 0.0);
  EXPECT_NEAR(pr[5], 1.0 / tan(30.0 * kRadiansPerDegree), 1e-6);
  viewShearState = 0;
}

// ---- Frame loop ---------------------------------------------------------------------------

TEST_F(ViewerFramework, PlainFrameHandsTheRenderModeAndScale) {
  display();
  ASSERT_EQ(sceneCalls.size(), 1u);
  EXPECT_EQ(sceneCalls[0].frameNum, -1.0);
  EXPECT_EQ(sceneCalls[0].nFrames, -1);
  EXPECT_EQ(sceneCalls[0].renderMode, (unsigned int)(kRenderMaterial | kRenderSmooth | kRenderTexture));
  EXPECT_EQ(sceneCalls[0].logScale, currLogScale);
  EXPECT_EQ(sceneCalls[0].pickMode, 0);
  menuSelect(kMenuSmooth);
  menuSelect(kMenuMaterial);
  menuSelect(kMenuTexture);
  display();
  EXPECT_EQ(sceneCalls.back().renderMode, (unsigned int)(kRenderColor | kRenderFlat));
  EXPECT_EQ(frameNum, -1.0);
}

namespace {
int litPixels(const std::vector<unsigned char>& rgb) {
  int n = 0;
  for (unsigned char c : rgb)
    if (c) ++n;
  return n;
}
}  // namespace

TEST_F(ViewerFramework, PickRequestTakesAFrameOfItsOwn) {
  // The overlays are on: a pick pass draws none of them either.
  sceneDraws = 1;
  showGalGrid = 1;
  showAxesFlag = 1;
  showCubesFlag = 1;
  showLightDir = 1;
  glClearColor(0, 0, 0, 0);
  glDrawBuffer(GL_BACK);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  askForPick = 1;
  display();
  ASSERT_EQ(sceneCalls.size(), 1u);
  EXPECT_EQ(sceneCalls[0].pickMode, 1);
  EXPECT_EQ(askForPick, 0);
  // Nothing was drawn and the buffers weren't swapped: the back buffer is still clear.
  EXPECT_EQ(litPixels(testsupport::readPixelsRGB(0, 0, 256, 256)), 0);
  // The next frame is the normal one, with the scene and the overlays.
  glDrawBuffer(GL_BACK);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  drawFrame(0, 0);
  EXPECT_GT(litPixels(testsupport::readPixelsRGB(0, 0, 256, 256)), 1000);
  display();
  ASSERT_EQ(sceneCalls.size(), 3u);
  EXPECT_EQ(sceneCalls[1].pickMode, 0);
  EXPECT_EQ(sceneCalls[2].pickMode, 0);
  EXPECT_EQ(frameNum, -1.0);
  showGalGrid = showAxesFlag = showCubesFlag = showLightDir = 0;
}

TEST_F(ViewerFramework, GLErrorReportWordForWord) {
  while (glGetError() != GL_NO_ERROR) {
  }
  testing::internal::CaptureStderr();
  reportGLError();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  glEnable(0x7fff);  // not a capability: an invalid enum
  testing::internal::CaptureStderr();
  reportGLError();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "OpenGL Error: [invalid enumerant]\n");
  glEnable(0x7fff);
  EXPECT_EQ(testGLError(), GL_INVALID_ENUM);
  EXPECT_EQ(testGLError(), GL_NO_ERROR);
}

namespace {
int idleCalls = 0;
int consumeIdle() {
  ++idleCalls;
  return 1;
}
int passIdle() {
  ++idleCalls;
  return 0;
}
}  // namespace

TEST_F(ViewerFramework, IdleHookThatReturnsOneEndsTheIdleCall) {
  double before[16], after[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, before);
  idleCalls = 0;
  idleCBFuncPtr = consumeIdle;
  preMouse2X = 50;
  idleRotModel = 1;
  idleRot_nx = 1.0f;
  idleRot_ny = 0.0f;
  idleRot_speed = 1e6f;
  idleRot_time = 0.0;  // a long time ago: any step would turn the model
  idle();
  EXPECT_EQ(idleCalls, 1);
  glGetDoublev(GL_MODELVIEW_MATRIX, after);
  for (int i = 0; i < 16; ++i) EXPECT_EQ(after[i], before[i]) << i;
  EXPECT_EQ(preMouse2X, 50);
  // A hook that lets the framework go on: the spin steps.
  idleCBFuncPtr = passIdle;
  idle();
  EXPECT_EQ(idleCalls, 2);
  glGetDoublev(GL_MODELVIEW_MATRIX, after);
  double diff = 0;
  for (int i = 0; i < 16; ++i) diff += std::fabs(after[i] - before[i]);
  EXPECT_GT(diff, 1e-6);
  // Nothing spinning: the mouse's last position no longer counts for a throw.
  idleRotModel = 0;
  idle();
  EXPECT_EQ(preMouse2X, -1);
  idleCBFuncPtr = nullptr;
}

TEST_F(ViewerFramework, SceneStartsWithLightAndTextureOnAndLeavesNothingBehind) {
  display();
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  drawFrame(0, 0);
  EXPECT_FALSE(glIsEnabled(GL_LIGHTING));
  EXPECT_FALSE(glIsEnabled(GL_TEXTURE_2D));
}

TEST_F(ViewerFramework, FrameRatePrintGoesToStandardError) {
  menuSelect(kMenuFrameRate);
  EXPECT_EQ(frameRateFlag, 1);
  testing::internal::CaptureStderr();
  display();
  std::string err = testing::internal::GetCapturedStderr();
  // Processor time only: a frame that took none gives infinity, printed as it is.
  EXPECT_TRUE(std::regex_match(err, std::regex("FrameRate = (inf|[0-9]+\\.[0-9]{6}) Hz\n"))) << err;
  menuSelect(kMenuFrameRate);
  EXPECT_EQ(frameRateFlag, 0);
}

TEST_F(ViewerFramework, LightDirectionIsDrawnFromTheModelOrigin) {
  showLightDir = 1;
  lightPosition[0][0] = 0.0f;
  lightPosition[0][1] = 0.0f;
  lightPosition[0][2] = -2.0f;
  // Looking along -z in eye coordinates, the light straight ahead: the wire cube around it
  // is drawn in the middle of the picture in (0, 0.8, 0.8).
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  drawFrame(0, 0);
  auto pixels = testsupport::readPixelsRGB(0, 0, 256, 256);
  int cyan = 0;
  for (size_t i = 0; i < pixels.size(); i += 3)
    if (pixels[i] < 40 && pixels[i + 1] > 120 && pixels[i + 2] > 120) ++cyan;
  EXPECT_GT(cyan, 20);
  showLightDir = 0;
  lightPosition[0][2] = 2.0f;
}

// ---- Menus --------------------------------------------------------------------------------

namespace {

const char* kHelpText =
    "Mouse :\n"
    " left        - Rolling Ball (model)\n"
    "  with ALT   - Rolling Ball (at viewPt)\n"
    "  with SHIFT - Rotation about center (at viewPt)\n"
    " middle      - xy translate (model)\n"
    "  with ALT   - changing fovy\n"
    " left+mid    - xz translate (model)\n"
    "  with CTRL  - light position\n"
    " RIGHT       - popup menu\n"
    "\n"
    "Keyboard :\n"
    " 'a'     - show axes\n"
    " 'b'     - show power cubes (meters)\n"
    " 'B'     - show power cubes (parsec)\n"
    " 'i'     - information about positions\n"
    " 't'     - control texture\n"
    " 's'     - show constellation\n"
    " 'm'     - use colormap\n"
    " 'g'     - anti-aliasing\n"
    " '}'     - increase mouse sensitivity\n"
    " '{'     - decrease mouse sensitivity\n"
    " 'p'     - reset current view\n"
    " 'k'     - show frame rate\n"
    " 'h'     - this help\n"
    " Insert  - dump screen\n"
    " 'upArrow   - scaling (currLogScale)\n"
    " 'downArrow - scaling (currLogScale)\n"
    " ESC/'q' - quit\n";

int helpGoesOn(FILE* stream) {
  fprintf(stream, "scene help\n");
  return 0;
}

int helpEnds(FILE* stream) {
  fprintf(stream, "scene help only\n");
  return 1;
}

}  // namespace

TEST_F(ViewerFramework, HelpTextWordForWord) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(menuHelp(), 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kHelpText);
  // Key "h" and the Help item give the same.
  testing::internal::CaptureStderr();
  keyboard('h', 0, 0);
  menuSelect(kMenuHelp);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string(kHelpText) + kHelpText);
}

TEST_F(ViewerFramework, HelpTextWithAMovieWordForWord) {
  // Help only asks whether a movie exists; one without key frames is enough here.
  static MovieRecord emptyMovie;
  movieRec = &emptyMovie;
  std::string text = kHelpText;
  std::string withMovie = text;
  withMovie.insert(withMovie.find(" RIGHT       - popup menu\n"), " CTRL+left   - movie advancing\n");
  const std::string movieKeys =
      " 'x'     - play movie\n"
      " 'c'     - dump movie\n"
      " 'r'     - reload script file\n"
      " 'n'     - show frame number\n"
      " 'F1-10' - goto frame\n"
      " '<-'    - next frame\n"
      " '->'    - previous frame\n"
      " 'pgup'  - next keyframe\n"
      " 'pgdn'  - prev keyframe\n"
      " 'home'  - advance 5 frame\n"
      " 'end'   - go back 5 frame\n";
  size_t at = withMovie.find(" 'upArrow");
  std::string stopped = withMovie, playing = withMovie;
  stopped.insert(at, " 'z'     - play movie (loop)\n" + movieKeys);
  playing.insert(at, " 'z'     - stop movie (loop)\n" + movieKeys);
  testing::internal::CaptureStderr();
  menuHelp();
  std::string gotStopped = testing::internal::GetCapturedStderr();
  countPlay = 2147483647;
  testing::internal::CaptureStderr();
  menuHelp();
  std::string gotPlaying = testing::internal::GetCapturedStderr();
  countPlay = 0;
  movieRec = nullptr;
  EXPECT_EQ(gotStopped, stopped);
  EXPECT_EQ(gotPlaying, playing);
}

TEST_F(ViewerFramework, SceneHelpComesFirst) {
  helpMenuFuncPtr = helpGoesOn;
  testing::internal::CaptureStderr();
  menuHelp();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), std::string("scene help\n\n") + kHelpText);
  helpMenuFuncPtr = helpEnds;
  testing::internal::CaptureStderr();
  EXPECT_EQ(menuHelp(), 1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "scene help only\n");
  helpMenuFuncPtr = nullptr;
}

TEST_F(ViewerFramework, GeneralItemsTurnTheirFlagsOver) {
  struct Item {
    int item;
    int* flag;
  } items[] = {{kMenuShowAxes, &showAxesFlag},
               {kMenuShowMeterCubes, &showCubesFlag},
               {kMenuShowParsecCubes, &showParsecCubesFlag},
               {kMenuShowGalGrid, &showGalGrid},
               {kMenuShowEqnGrid, &showEqnGrid},
               {kMenuGridDetail, &showSphGridDetail}};
  for (const Item& it : items) {
    int before = *it.flag;
    EXPECT_EQ(menuSelectGeneral(it.item), 1);
    EXPECT_EQ(*it.flag, !before) << it.item;
    menuSelect(it.item);
    EXPECT_EQ(*it.flag, before) << it.item;
  }
  EXPECT_EQ(menuSelectGeneral(kMenuGeneralFirst - 1), 0);
  EXPECT_EQ(menuSelectGeneral(kMenuGeneralLast + 1), 0);
  menuSelect(kMenuAntiAlias);
  EXPECT_EQ(antiAliasFlag, 0);
  EXPECT_FALSE(glIsEnabled(GL_LINE_SMOOTH));
  EXPECT_FALSE(glIsEnabled(GL_POINT_SMOOTH));
  menuSelect(kMenuAntiAlias);
  EXPECT_EQ(antiAliasFlag, 1);
  EXPECT_TRUE(glIsEnabled(GL_LINE_SMOOTH));
}

TEST_F(ViewerFramework, RenderModeItemsSwitchBetweenTheirTwoValues) {
  menuSelect(kMenuSmooth);
  EXPECT_EQ(useSmooth, kRenderFlat);
  menuSelect(kMenuSmooth);
  EXPECT_EQ(useSmooth, kRenderSmooth);
  menuSelect(kMenuMaterial);
  EXPECT_EQ(useMaterial, kRenderColor);
  menuSelect(kMenuMaterial);
  EXPECT_EQ(useMaterial, kRenderMaterial);
  menuSelect(kMenuTexture);
  EXPECT_EQ(useTexture, 0);
  menuSelect(kMenuTexture);
  EXPECT_EQ(useTexture, kRenderTexture);
}

TEST_F(ViewerFramework, PolygonModeItems) {
  int mode[2];
  menuSelect(kMenuPolygonLine);
  glGetIntegerv(GL_POLYGON_MODE, mode);
  EXPECT_EQ(mode[0], GL_LINE);
  EXPECT_EQ(mode[1], GL_LINE);
  menuSelect(kMenuPolygonPoint);
  glGetIntegerv(GL_POLYGON_MODE, mode);
  EXPECT_EQ(mode[0], GL_POINT);
  menuSelect(kMenuPolygonFill);
  glGetIntegerv(GL_POLYGON_MODE, mode);
  EXPECT_EQ(mode[0], GL_FILL);
}

TEST_F(ViewerFramework, ResetViewItemStopsSpinsAndGoesToTheDefaultView) {
  glMatrixMode(GL_MODELVIEW);
  glRotated(30, 1, 0, 0);
  glTranslated(1, 2, 3);
  idleRotModel = 1;
  menuSelect(kMenuResetView);
  EXPECT_EQ(idleRotModel, 0);
  double mv[16], pr[16];
  readMatrices(mv, pr);
  View view = frmMatToView(mv);
  EXPECT_NEAR(view.viewPos.x, 0.0, 1e-7);
  EXPECT_NEAR(view.viewDir[0], 1.0, 1e-7);
  EXPECT_NEAR(view.viewUp[2], 1.0, 1e-7);
  EXPECT_EQ(currFovy, 60.0);
}

TEST_F(ViewerFramework, AboutPrintsOnlyWithPrintEnable) {
  testing::internal::CaptureStderr();
  menuSelect(kMenuAbout);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  printEnable = 1;
  copyText(titleStr, "T", sizeof titleStr);
  copyText(aboutStr, "A", sizeof aboutStr);
  testing::internal::CaptureStderr();
  menuSelect(kMenuAbout);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "\nT\n\nA\n");
  printEnable = 0;
}

TEST_F(ViewerFramework, LightStatusWordForWord) {
  testing::internal::CaptureStderr();
  printLightStatus();
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "\n  Light control ID: 0 turned ON.\n"
            "  Lights: 0(on), 1(off), 2(off), 3(off), 4(off), 5(off), 6(off), 7(off)\n\n");
}

TEST_F(ViewerFramework, LightItems) {
  testing::internal::CaptureStderr();
  EXPECT_EQ(menuSelectLight(kMenuControlLight0 + 3), 1);
  std::string err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(controlledLightID, 3);
  EXPECT_EQ(lightON[3], 1);
  EXPECT_TRUE(glIsEnabled(GL_LIGHT3));
  // The light menus aren't built, but the status line comes out with every rebuild.
  EXPECT_EQ(err,
            "\n  Light control ID: 3 turned ON.\n"
            "  Lights: 0(on), 1(off), 2(off), 3(on), 4(off), 5(off), 6(off), 7(off)\n\n");
  testing::internal::CaptureStderr();
  menuSelect(kMenuToggleLight0 + 3);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(lightON[3], 0);
  EXPECT_FALSE(glIsEnabled(GL_LIGHT3));
  testing::internal::CaptureStderr();
  menuSelect(kMenuLightDir);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(showLightDir, 1);
  testing::internal::CaptureStderr();
  menuSelect(kMenuLightDir);
  testing::internal::GetCapturedStderr();
  EXPECT_EQ(showLightDir, 0);
  EXPECT_EQ(menuSelectLight(kMenuControlLight0 + kViewerLightCount), 0);
  EXPECT_EQ(menuSelectLight(kMenuPrintLights + 1), 0);
}

TEST_F(ViewerFramework, ControlledLightIsTurnedOnWithANoteOnlyWithPrintEnable) {
  printEnable = 1;
  useGLUTMenu = 0;
  testing::internal::CaptureStderr();
  menuSelect(kMenuControlLight0 + 5);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Turn on the light you want to control automatically\n");
  EXPECT_EQ(lightON[5], 1);
  printEnable = 0;
}

TEST_F(ViewerFramework, PrintLightsAsSourceText) {
  lightON[2] = 1;
  lightPosition[2][0] = 1.5f;
  testing::internal::CaptureStderr();
  EXPECT_EQ(menuSelectLight(kMenuPrintLights), 1);
  std::string err = testing::internal::GetCapturedStderr();
  std::string expected =
      "    glEnable(GL_LIGHT0+0);\n"
      "    lightPosition[0][0] = 0.000000;\n"
      "    lightPosition[0][1] = 0.000000;\n"
      "    lightPosition[0][2] = 2.000000;\n"
      "    lightPosition[0][3] = 1.000000;\n"
      "    glLightfv(GL_LIGHT0 + lgt,GL_POSITION,lightPosition[lgt]);\n"
      "    glDisable(GL_LIGHT0+1);\n"
      "    glEnable(GL_LIGHT0+2);\n"
      "    lightPosition[2][0] = 1.500000;\n"
      "    lightPosition[2][1] = 0.000000;\n"
      "    lightPosition[2][2] = 2.000000;\n"
      "    lightPosition[2][3] = 1.000000;\n"
      "    glLightfv(GL_LIGHT2 + lgt,GL_POSITION,lightPosition[lgt]);\n"
      "    glDisable(GL_LIGHT0+3);\n"
      "    glDisable(GL_LIGHT0+4);\n"
      "    glDisable(GL_LIGHT0+5);\n"
      "    glDisable(GL_LIGHT0+6);\n"
      "    glDisable(GL_LIGHT0+7);\n"
      "\n";
  EXPECT_EQ(err, expected);
  lightON[2] = 0;
  lightPosition[2][0] = 0.0f;
}

namespace {
void noMenuAction(int) {}
int menuEntries(int menu) {
  glutSetMenu(menu);
  return glutGet(GLUT_MENU_NUM_ITEMS);
}
}  // namespace

TEST_F(ViewerFramework, MenusHoldTheirEntriesAndAreRebuiltInPlace) {
  buildMenuItems();
  ASSERT_NE(mainMenu, 0);
  ASSERT_NE(generalMenu, 0);
  // Help, General, Reset View, Frame Rate, About, Quit; no Movie without a movie.
  EXPECT_EQ(menuEntries(mainMenu), 6);
  EXPECT_EQ(menuEntries(generalMenu), 7);
  // A general item rebuilds its menu: the old entries go, the same number come back.
  menuSelect(kMenuShowAxes);
  menuSelect(kMenuGridDetail);
  EXPECT_EQ(menuEntries(generalMenu), 7);
  menuSelect(kMenuShowAxes);
  menuSelect(kMenuGridDetail);
  // The light menus are no part of the tree; a scene that makes them gets them filled.
  lightEnableMenu = glutCreateMenu(noMenuAction);
  lightCtrlMenu = glutCreateMenu(noMenuAction);
  lightMenu = glutCreateMenu(noMenuAction);
  testing::internal::CaptureStderr();
  resetLightMenu();
  menuSelect(kMenuToggleLight0 + 1);
  menuSelect(kMenuToggleLight0 + 1);
  std::string err = testing::internal::GetCapturedStderr();
  const std::string status =
      "\n  Light control ID: 0 turned ON.\n"
      "  Lights: 0(on), 1(off), 2(off), 3(off), 4(off), 5(off), 6(off), 7(off)\n\n";
  const std::string status1 =
      "\n  Light control ID: 0 turned ON.\n"
      "  Lights: 0(on), 1(on), 2(off), 3(off), 4(off), 5(off), 6(off), 7(off)\n\n";
  EXPECT_EQ(err, status + status1 + status);
  // "Light Dir.", "Print Status", "Toggle", "Control"; eight lights in each submenu.
  EXPECT_EQ(menuEntries(lightMenu), 4);
  EXPECT_EQ(menuEntries(lightCtrlMenu), 8);
  EXPECT_EQ(menuEntries(lightEnableMenu), 8);
  for (int* menu : {&lightMenu, &lightCtrlMenu, &lightEnableMenu, &mainMenu, &generalMenu}) {
    glutDestroyMenu(*menu);
    *menu = 0;
  }
}

// The numbers are fixed: keys and scenes reach the commands by them.
TEST(ViewerMenus, ItemNumbers) {
  const struct {
    int item;
    int number;
  } items[] = {
      {kMenuHelp, 11},
      {kMenuResetView, 12},
      {kMenuFrameRate, 13},
      {kMenuAbout, 14},
      {kMenuQuit, 15},
      {kMenuSmooth, 101},
      {kMenuMaterial, 102},
      {kMenuTexture, 103},
      {kMenuAntiAlias, 104},
      {kMenuShowAxes, 105},
      {kMenuShowMeterCubes, 106},
      {kMenuShowParsecCubes, 107},
      {kMenuPolygonFill, 108},
      {kMenuPolygonLine, 109},
      {kMenuPolygonPoint, 110},
      {kMenuShowGalGrid, 111},
      {kMenuShowEqnGrid, 112},
      {kMenuGridDetail, 113},
      {kMenuGeneralFirst, 101},
      {kMenuGeneralLast, 113},
      {kMenuLightDir, 201},
      {kMenuPrintLights, 202},
      {kMenuControlLight0, 2000},
      {kMenuToggleLight0, 2100},
      {kMenuPlayOnce, 300},
      {kMenuPlayLoop, 301},
      {kMenuDumpFrames, 302},
      {kMenuDumpScreen, 303},
      {kMenuShowFrameNum, 304},
      {kMenuReloadScript, 305},
      {kMenuGotoFrame0, 3000},
  };
  for (const auto& it : items) EXPECT_EQ(it.item, it.number);
  EXPECT_EQ(kViewerLightCount, 8);
}

// The render mode word goes on to the model library unchanged: the bits are its own.
constexpr unsigned int bit(RenderModeBit b) {
  return static_cast<unsigned int>(b);
}
static_assert(bit(kRenderFlat) == GLM_FLAT && bit(kRenderSmooth) == GLM_SMOOTH &&
              bit(kRenderTexture) == GLM_TEXTURE && bit(kRenderColor) == GLM_COLOR &&
              bit(kRenderMaterial) == GLM_MATERIAL);

TEST(ViewerMenus, MessageBoxWritesOneLine) {
  testing::internal::CaptureStderr();
  myMessageBox("hello", 3);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "hello\n");
}

TEST(ViewerMenus, MovieItemsAreNotTheirsWithoutAMovie) {
  EXPECT_EQ(menuSelectMovie(kMenuPlayOnce), 0);
  EXPECT_EQ(menuSelectMovie(kMenuGotoFrame0), 0);
}

TEST(ViewerMenus, GotoFrameEntries) {
  int t[11];
  int n = gotoFrameTargets(5, t);
  ASSERT_EQ(n, 5);
  for (int i = 0; i < 5; ++i) EXPECT_EQ(t[i], i);
  n = gotoFrameTargets(100, t);
  ASSERT_EQ(n, 10);
  const int expected[10] = {0, 11, 22, 33, 44, 55, 66, 77, 88, 99};
  for (int i = 0; i < 10; ++i) EXPECT_EQ(t[i], expected[i]);
}

TEST(ViewerMenus, FunctionKeysPastTheLastFrameOfAShortMovie) {
  EXPECT_EQ(functionKeyTarget(1, 1), 0);
  EXPECT_EQ(functionKeyTarget(10, 1), 0);
  EXPECT_EQ(functionKeyTarget(1, 5), 0);
  EXPECT_EQ(functionKeyTarget(5, 5), 4);
  EXPECT_EQ(functionKeyTarget(6, 5), 5);  // past the end: the menu item does nothing
  EXPECT_EQ(functionKeyTarget(10, 5), 9);
  EXPECT_EQ(functionKeyTarget(10, 100), 99);
  EXPECT_EQ(functionKeyTarget(2, 100), 11);
}
