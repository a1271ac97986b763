// Mouse, throws, spins and keys of the viewer framework, called in process.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "tests/viewer/recorder.h"
#include "viewer/tarnwick.h"

namespace {

class ViewerInput : public testing::Test {
 protected:
  void SetUp() override {
    if (!frameworkWindow()) GTEST_SKIP() << "no X server";
    glMatrixMode(GL_MODELVIEW);
    glGetDoublev(GL_MODELVIEW_MATRIX, start);
  }
  void TearDown() override {
    stopAllSpins();
    mouseButton = 0;
    mouseModifiers = 0;
  }
  double start[16];
};

// Processor time passes only while the process works: burn it.
void burnProcessorTime(double seconds) {
  double until = myTime() + seconds;
  volatile double sink = 0.0;
  while (myTime() < until)
    for (int i = 0; i < 10000; ++i) sink = sink + std::sqrt((double)i);
}

void modelview(double m[16]) {
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
}

// out = a * b, both in OpenGL order.
void mul(const double a[16], const double b[16], double out[16]) {
  for (int c = 0; c < 4; ++c)
    for (int r = 0; r < 4; ++r) {
      double s = 0;
      for (int k = 0; k < 4; ++k) s += a[k * 4 + r] * b[c * 4 + k];
      out[c * 4 + r] = s;
    }
}

void rotation(double angleDeg, double x, double y, double z, double out[16]) {
  double len = std::sqrt(x * x + y * y + z * z);
  x /= len;
  y /= len;
  z /= len;
  double a = angleDeg * kRadiansPerDegree, c = std::cos(a), s = std::sin(a), t = 1 - c;
  const double r[16] = {t * x * x + c,
                        t * x * y + s * z,
                        t * x * z - s * y,
                        0,
                        t * x * y - s * z,
                        t * y * y + c,
                        t * y * z + s * x,
                        0,
                        t * x * z + s * y,
                        t * y * z - s * x,
                        t * z * z + c,
                        0,
                        0,
                        0,
                        0,
                        1};
  for (int i = 0; i < 16; ++i) out[i] = r[i];
}

void translation(double x, double y, double z, double out[16]) {
  identity(out);
  out[12] = x;
  out[13] = y;
  out[14] = z;
}

// OpenGL keeps its matrices in single precision.
void expectMatrix(const double got[16], const double want[16], double eps = 1e-6) {
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(got[i], want[i], eps) << "element " << i;
}

// GLUT gives y from the top; the framework turns it over with winH.
int glutY(int y) {
  return winH - 1 - y;
}

int consumeMouse(int, int, int, int) {
  return 1;
}

}  // namespace

// ---- Pure parts ---------------------------------------------------------------------------

TEST(ViewerMath, FrmMatToViewReadsEyeDirectionAndUp) {
  currLogScale = 3.0;
  currFovy = 45.0;
  currAspect = 1.5;
  // Rotation with rows (0,-1,0), (0,0,1), (-1,0,0): looking along +x with z up, then the
  // eye put at (2, 5, -1) by the translation -R eye.
  const double r[3][3] = {{0, -1, 0}, {0, 0, 1}, {-1, 0, 0}};
  const double eye[3] = {2, 5, -1};
  double m[16] = {};
  for (int row = 0; row < 3; ++row) {
    for (int col = 0; col < 3; ++col) m[col * 4 + row] = r[row][col];
    m[12 + row] = -(r[row][0] * eye[0] + r[row][1] * eye[1] + r[row][2] * eye[2]);
  }
  m[15] = 1;
  View v = frmMatToView(m);
  EXPECT_NEAR(v.viewPos.x, 2, 1e-12);
  EXPECT_NEAR(v.viewPos.y, 5, 1e-12);
  EXPECT_NEAR(v.viewPos.z, -1, 1e-12);
  EXPECT_EQ(v.viewPos.s, 3.0);
  EXPECT_EQ(v.viewDir[0], 1.0);
  EXPECT_EQ(v.viewDir[1], 0.0);
  EXPECT_EQ(v.viewUp[2], 1.0);
  EXPECT_EQ(v.fovy, 45.0);
  EXPECT_EQ(v.aspect, 1.5);
  currLogScale = 0.0;
  currFovy = 60.0;
  currAspect = 1.0;
}

TEST(ViewerMath, FovyIsContinuousAcrossTheJointAtOneTenth) {
  for (double d : {1e-6, -1e-6, 1e-9, -1e-9}) {
    double f = 0.1;
    updateFovyBy(&f, d);
    EXPECT_NEAR(f, 0.1, 2 * std::fabs(d)) << d;
  }
  // Linear above the joint, logarithmic below: 8 units down is a factor of e.
  double f = 0.1;
  updateFovyBy(&f, -8.0);
  EXPECT_NEAR(f, 0.1 / M_E, 1e-12);
  updateFovyBy(&f, 8.0);
  EXPECT_NEAR(f, 0.1, 1e-12);
  f = 10.0;
  updateFovyBy(&f, 5.0);
  EXPECT_NEAR(f, 15.0, 1e-12);
  f = 0.5;
  updateFovyBy(&f, -0.4);
  EXPECT_NEAR(f, 0.1, 1e-12);
}

TEST(ViewerMath, FovyStaysWithinItsBounds) {
  double f = 60.0;
  updateFovyBy(&f, 1000.0);
  EXPECT_EQ(f, 179.9);
  f = 60.0;
  updateFovyBy(&f, -1000.0);
  EXPECT_EQ(f, 1e-7);
  updateFovyBy(&f, -1.0);
  EXPECT_EQ(f, 1e-7);
}

TEST(ViewerMath, SensitivitySequence) {
  const double down[] = {0.5, 0.25, 0.125, 0.0625, 0.03125, 0.015625, 0.01, 0.01};
  double s = 1.0;
  for (double want : down) {
    s = halveSensitivity(s);
    EXPECT_EQ(s, want);
  }
  const double up[] = {0.02, 0.04, 0.08, 0.16, 0.32, 0.64, 1.28, 2.56, 5.0, 5.0};
  for (double want : up) {
    s = doubleSensitivity(s);
    EXPECT_DOUBLE_EQ(s, want);
  }
}

TEST(ViewerMath, XformLightTurnsAboutTheCentre) {
  double r[16];
  rotation(90, 0, 0, 1, r);
  float m[16];
  for (int i = 0; i < 16; ++i) m[i] = (float)r[i];
  float p[4] = {2, 1, 5, 1};
  myXformLight(m, p, 1, 1, 0);
  EXPECT_NEAR(p[0], 1, 1e-6);
  EXPECT_NEAR(p[1], 2, 1e-6);
  EXPECT_NEAR(p[2], 5, 1e-6);
  EXPECT_EQ(p[3], 1.0f);
}

// ---- Keys ---------------------------------------------------------------------------------

TEST_F(ViewerInput, SensitivityKeys) {
  testing::internal::CaptureStderr();
  keyboard('{', 0, 0);
  EXPECT_EQ(sensitivity, 0.5);
  keyboard('}', 0, 0);
  keyboard('}', 0, 0);
  EXPECT_EQ(sensitivity, 2.0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");  // printEnable is 0
  printEnable = 1;
  testing::internal::CaptureStderr();
  keyboard('{', 0, 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "sensitivity = 1.000000\n");
  printEnable = 0;
}

TEST_F(ViewerInput, LetterKeysReachTheirMenuItems) {
  keyboard('a', 0, 0);
  EXPECT_EQ(showAxesFlag, 1);
  keyboard('A', 0, 0);  // folded to "a"
  EXPECT_EQ(showAxesFlag, 0);
  keyboard('b', 0, 0);
  EXPECT_EQ(showCubesFlag, 1);
  EXPECT_EQ(showParsecCubesFlag, 0);
  keyboard('B', 0, 0);  // the one key where the case counts
  EXPECT_EQ(showParsecCubesFlag, 1);
  EXPECT_EQ(showCubesFlag, 1);
  keyboard('g', 0, 0);
  EXPECT_EQ(antiAliasFlag, 0);
  keyboard('k', 0, 0);
  EXPECT_EQ(frameRateFlag, 1);
  keyboard('m', 0, 0);
  EXPECT_EQ(useMaterial, kRenderColor);
  keyboard('s', 0, 0);
  EXPECT_EQ(useSmooth, kRenderFlat);
  keyboard('T', 0, 0);
  EXPECT_EQ(useTexture, 0);
  // "c" is in the help text but does nothing; the movie keys do nothing without a movie.
  for (unsigned char k : {'c', '<', '>', 'n', 'r', 'x', 'z'}) keyboard(k, 0, 0);
  EXPECT_EQ(countPlay, 0);
  EXPECT_EQ(frameNum, -1.0);
}

namespace {
int keysSeen = 0;
unsigned char lastKey = 0;
int consumeKeys(unsigned char key, int, int) {
  ++keysSeen;
  lastKey = key;
  return 1;
}
int passKeys(unsigned char key, int, int) {
  ++keysSeen;
  lastKey = key;
  return 0;
}
}  // namespace

TEST_F(ViewerInput, KeyboardHookSeesTheKeyUnfoldedAndMayConsumeIt) {
  keyboardCBFuncPtr = consumeKeys;
  keysSeen = 0;
  keyboard('A', 0, 0);
  EXPECT_EQ(lastKey, 'A');
  EXPECT_EQ(showAxesFlag, 0);
  keyboardCBFuncPtr = passKeys;
  keyboard('A', 0, 0);
  EXPECT_EQ(showAxesFlag, 1);
  EXPECT_EQ(keysSeen, 2);
  keyboardCBFuncPtr = nullptr;
}

TEST_F(ViewerInput, InfoKeyPrintsTheView) {
  testing::internal::CaptureStderr();
  keyboard('i', 0, 0);
  std::string err = testing::internal::GetCapturedStderr();
  // The whole text, its parts in their order: the view, both matrices and the viewport.
  double m[16], p[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  glGetDoublev(GL_PROJECTION_MATRIX, p);
  View view = frmMatToView(m);
  char* text = nullptr;
  size_t size = 0;
  FILE* expected = open_memstream(&text, &size);
  ASSERT_NE(expected, nullptr);
  fprintf(expected, "\nCurrent View\n");
  printView(expected, &view);
  fprintf(expected, "Modelview:\n");
  printMat(expected, "%7.3f", m, 4, 4);
  fprintf(expected, "Projection:\n");
  printMat(expected, "%7.3f", p, 4, 4);
  fprintf(expected, "Viewport: 0 0 256 256\n");
  fclose(expected);
  EXPECT_EQ(err, std::string(text, size));
  free(text);
  EXPECT_EQ(err.rfind("\nCurrent View\nviewPos   = ", 0), 0u) << err;
  EXPECT_NE(err.find("viewDir   = 1.00000 "), std::string::npos) << err;
  EXPECT_NE(err.find("viewUp    = 0.00000 0.00000 1.00000\n"), std::string::npos);
  EXPECT_NE(err.find("fovy      = 60.00000\naspect    = 1.00000\nModelview:\n"), std::string::npos);
  // The matrix goes out as OpenGL keeps it, a column to a line.
  EXPECT_NE(err.find("Modelview:\n  0.000   0.000  -1.000   0.000\n -1.000   0.000   0.000   0.000\n"),
            std::string::npos)
      << err;
  EXPECT_NE(err.find("Projection:\n"), std::string::npos);
  EXPECT_NE(err.find("Viewport: 0 0 256 256\n"), std::string::npos);
}

TEST_F(ViewerInput, ArrowKeysUpAndDownChangeTheLogScale) {
  specKey(GLUT_KEY_UP, 0, 0);
  EXPECT_NEAR(currLogScale, 0.02, 1e-15);
  specKey(GLUT_KEY_DOWN, 0, 0);
  specKey(GLUT_KEY_DOWN, 0, 0);
  EXPECT_NEAR(currLogScale, -0.02, 1e-15);
  printEnable = 1;
  testing::internal::CaptureStderr();
  specKey(GLUT_KEY_UP, 0, 0);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "currLogScale = 0.000000\n");
  printEnable = 0;
  // Movie keys do nothing without a movie.
  specKey(GLUT_KEY_F12, 0, 0);
  EXPECT_EQ(viewShearState, 0);
  specKey(GLUT_KEY_RIGHT, 0, 0);
  EXPECT_EQ(frameNum, -1.0);
}

namespace {
int specKeysSeen = 0;
int consumeSpecKeys(int, int, int) {
  ++specKeysSeen;
  return 1;
}
int passSpecKeys(int, int, int) {
  ++specKeysSeen;
  return 0;
}
int passiveX = -1, passiveY = -1;
int seePassive(int x, int y) {
  passiveX = x;
  passiveY = y;
  return 1;
}
}  // namespace

TEST_F(ViewerInput, SpecialKeyHookComesFirstAndMayConsumeTheKey) {
  specKeysSeen = 0;
  specKeyCBFuncPtr = consumeSpecKeys;
  specKey(GLUT_KEY_UP, 0, 0);
  EXPECT_EQ(currLogScale, 0.0);
  specKeyCBFuncPtr = passSpecKeys;
  specKey(GLUT_KEY_UP, 0, 0);
  EXPECT_NEAR(currLogScale, 0.02, 1e-15);
  EXPECT_EQ(specKeysSeen, 2);
  specKeyCBFuncPtr = nullptr;
}

TEST_F(ViewerInput, PassiveMotionGoesToItsHookAsItCame) {
  passive(10, 20);  // no hook: nothing happens
  passiveCBFuncPtr = seePassive;
  passive(12, 34);
  EXPECT_EQ(passiveX, 12);
  EXPECT_EQ(passiveY, 34);  // not turned over
  passiveCBFuncPtr = nullptr;
  double got[16];
  modelview(got);
  expectMatrix(got, start);
}

// ---- Drags --------------------------------------------------------------------------------

TEST_F(ViewerInput, LeftDragRollsTheBallAboutTheModelOrigin) {
  // A model origin away from the eye, so that the framing translations matter.
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  glTranslated(0.5, -0.25, -3.0);
  double m0[16];
  modelview(m0);
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  motion(130, glutY(140));  // dx 30, dy 40 -> axis (-40, 30, 0), length 50
  double got[16], t[16], r[16], tn[16], a[16], b[16], want[16];
  modelview(got);
  rotation(50 * 0.5 * 60.0 / 90.0, -40, 30, 0, r);
  translation(0.5, -0.25, -3.0, t);
  translation(-0.5, 0.25, 3.0, tn);
  mul(t, r, a);
  mul(a, tn, b);
  mul(b, m0, want);
  expectMatrix(got, want);
  EXPECT_EQ(preMouse2X, 100);
  EXPECT_EQ(preMouseX, 130);
  EXPECT_EQ(preMouseY, 140);
}

TEST_F(ViewerInput, ControlLeftDragWithoutAMovieRollsTheBall) {
  glLoadIdentity();
  glTranslated(0.5, -0.25, -3.0);
  double m0[16];
  modelview(m0);
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  mouseModifiers = GLUT_ACTIVE_CTRL;
  motion(100, glutY(90));  // dy -10 -> axis (10, 0, 0), about the model's origin
  double got[16], t[16], r[16], tn[16], a[16], b[16], want[16];
  modelview(got);
  rotation(10 * 0.5 * 60.0 / 90.0, 1, 0, 0, r);
  translation(0.5, -0.25, -3.0, t);
  translation(-0.5, 0.25, 3.0, tn);
  mul(t, r, a);
  mul(a, tn, b);
  mul(b, m0, want);
  expectMatrix(got, want);
  EXPECT_EQ(frameNum, -1.0);
}

TEST_F(ViewerInput, MouseEventClearsTheLightLineOfTheMouse) {
  showLightDirMouse = 1;
  mouseCBFuncPtr = consumeMouse;
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  EXPECT_EQ(showLightDirMouse, 1);  // the scene took the event
  mouseCBFuncPtr = nullptr;
  mouse(GLUT_LEFT_BUTTON, GLUT_UP, 100, glutY(100));
  EXPECT_EQ(showLightDirMouse, 0);
  EXPECT_EQ(mouseButton, 0);
}

TEST_F(ViewerInput, AltLeftDragRollsAboutTheEye) {
  glLoadIdentity();
  glTranslated(0.5, -0.25, -3.0);
  double m0[16];
  modelview(m0);
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  mouseModifiers = GLUT_ACTIVE_ALT;
  motion(100, glutY(90));  // dy -10 -> axis (10, 0, 0)
  double got[16], r[16], want[16];
  modelview(got);
  rotation(10 * 0.5 * 60.0 / 90.0, 1, 0, 0, r);
  mul(r, m0, want);
  expectMatrix(got, want);
}

TEST_F(ViewerInput, ShiftLeftDragTurnsAboutTheLineOfSight) {
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  mouseModifiers = GLUT_ACTIVE_SHIFT;
  motion(120, glutY(150));
  double got[16], r[16], want[16];
  modelview(got);
  rotation(20 * 0.5 * 0.3, 0, 0, 1, r);
  mul(r, start, want);
  expectMatrix(got, want);
  // No sideways movement: no turn.
  motion(120, glutY(170));
  double again[16];
  modelview(again);
  expectMatrix(again, got);
}

TEST_F(ViewerInput, MiddleDragTranslatesInXY) {
  mouse(GLUT_MIDDLE_BUTTON, GLUT_DOWN, 100, glutY(100));
  motion(110, glutY(95));
  double got[16], t[16], want[16];
  modelview(got);
  const double k = 0.01 * 60.0 / 90.0;
  translation(10 * k, -5 * k, 0, t);
  mul(t, start, want);
  expectMatrix(got, want);
}

TEST_F(ViewerInput, LeftAndMiddleDragTranslatesInXZ) {
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  mouse(GLUT_MIDDLE_BUTTON, GLUT_DOWN, 100, glutY(100));
  EXPECT_EQ(mouseButton, 3);
  motion(110, glutY(120));
  double got[16], t[16], want[16];
  modelview(got);
  const double k = 0.01 * 60.0 / 90.0;
  translation(10 * k, 0, -20 * k, t);
  mul(t, start, want);
  expectMatrix(got, want);
}

TEST_F(ViewerInput, AltMiddleDragChangesTheFieldOfView) {
  mouse(GLUT_MIDDLE_BUTTON, GLUT_DOWN, 100, glutY(100));
  mouseModifiers = GLUT_ACTIVE_ALT;
  motion(164, glutY(100));  // dx 64: fovy grows by 64 * 10 / 256
  EXPECT_NEAR(currFovy, 62.5, 1e-12);
  double got[16];
  modelview(got);
  expectMatrix(got, start);
  double pr[16];
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  EXPECT_NEAR(pr[5], 1.0 / tan(62.5 / 2 * kRadiansPerDegree), 1e-6);
}

TEST_F(ViewerInput, SensitivityScalesTheDrag) {
  sensitivity = 0.5;
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  motion(160, glutY(100));  // dx 60 counts as 30
  double got[16], r[16], want[16];
  modelview(got);
  rotation(30 * 0.5 * 60.0 / 90.0, 0, 1, 0, r);
  mul(r, start, want);
  expectMatrix(got, want);
}

TEST_F(ViewerInput, RightButtonAndUnmovedPointerChangeNothing) {
  mouse(GLUT_RIGHT_BUTTON, GLUT_DOWN, 100, glutY(100));
  motion(150, glutY(120));
  double got[16];
  modelview(got);
  expectMatrix(got, start);
  mouse(GLUT_RIGHT_BUTTON, GLUT_UP, 150, glutY(120));
  double before = timeLastCallMotion;
  burnProcessorTime(0.01);
  motion(150, glutY(120));  // same place: nothing at all
  EXPECT_EQ(timeLastCallMotion, before);
}

namespace {
int motionHookCalls = 0;
int mouseHookY = -1;
int consumeMotion(int, int) {
  ++motionHookCalls;
  return 1;
}
int seeMouse(int, int, int, int y) {
  mouseHookY = y;
  return 0;
}
}  // namespace

TEST_F(ViewerInput, HooksGetFlippedYAndMayConsumeMotion) {
  mouseCBFuncPtr = seeMouse;
  motionCBFuncPtr = consumeMotion;
  motionHookCalls = 0;
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, 10);
  EXPECT_EQ(mouseHookY, 256 - 10 - 1);
  motion(150, 10);
  EXPECT_EQ(motionHookCalls, 1);
  double got[16];
  modelview(got);
  expectMatrix(got, start);
  mouseCBFuncPtr = nullptr;
  motionCBFuncPtr = nullptr;
}

// ---- Throws and spins ---------------------------------------------------------------------

TEST_F(ViewerInput, QuickReleaseThrowsASpin) {
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  motion(130, glutY(100));
  motion(170, glutY(100));
  mouse(GLUT_LEFT_BUTTON, GLUT_UP, 170, glutY(100));
  ASSERT_EQ(idleRotModel, 1);
  EXPECT_EQ(idleRotView, 0);
  EXPECT_EQ(idleRotObj, 0);
  // a = preMouse2Y - y = 0, b = x - preMouse2X = 40.
  EXPECT_FLOAT_EQ(idleRot_nx, 0.0f);
  EXPECT_FLOAT_EQ(idleRot_ny, 1.0f);
  EXPECT_EQ(idleRot_nz, 0.0f);
  EXPECT_EQ(idleRot_angle, FLT_MAX);
  EXPECT_GE(idleRot_speed, 1.0f);
  // 40 pixels times 0.2 over at least a thousandth of a second, by 100.
  EXPECT_LE(idleRot_speed, (float)(40 * 0.2 / 0.001 / 100.0));
  // The spin turns the model about its origin in idle.
  double before[16];
  modelview(before);
  burnProcessorTime(0.05);
  idle();
  double after[16];
  modelview(after);
  double diff = 0;
  for (int i = 0; i < 16; ++i) diff += std::fabs(after[i] - before[i]);
  EXPECT_GT(diff, 1e-6);
  // A press stops it at once, and that press's release can't start a new one.
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 170, glutY(100));
  EXPECT_EQ(idleRotModel, 0);
  EXPECT_EQ(preMouse2X, -1);
  mouse(GLUT_LEFT_BUTTON, GLUT_UP, 170, glutY(100));
  EXPECT_EQ(idleRotModel, 0);
}

TEST_F(ViewerInput, SlowReleaseStartsNoSpin) {
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  motion(130, glutY(100));
  motion(170, glutY(100));
  burnProcessorTime(0.25);
  mouse(GLUT_LEFT_BUTTON, GLUT_UP, 170, glutY(100));
  EXPECT_EQ(idleRotModel, 0);
}

TEST_F(ViewerInput, ReleaseAfterAnIdleCallStartsNoSpin) {
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  motion(170, glutY(100));
  idle();
  EXPECT_EQ(preMouse2X, -1);
  mouse(GLUT_LEFT_BUTTON, GLUT_UP, 170, glutY(100));
  EXPECT_EQ(idleRotModel, 0);
}

TEST_F(ViewerInput, TooSlowAThrowStartsNothing) {
  idleRot_speed = -1.0f;  // the release computes it anew
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  motion(101, glutY(100));
  burnProcessorTime(0.1);  // 1 pixel in 0.1 s: 0.02 degrees per second
  mouse(GLUT_LEFT_BUTTON, GLUT_UP, 101, glutY(100));
  EXPECT_EQ(idleRotModel, 0);
  EXPECT_LT(idleRot_speed, 1.0f);
  EXPECT_GT(idleRot_speed, 0.0f);
  EXPECT_LE(idleRot_speed, (float)(1 * 0.2 / 0.1 / 100.0));
}

TEST_F(ViewerInput, NoThrowWithAModifierOrAnotherButtonHeld) {
  mouse(GLUT_MIDDLE_BUTTON, GLUT_DOWN, 100, glutY(100));
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, glutY(100));
  motion(170, glutY(100));
  mouse(GLUT_LEFT_BUTTON, GLUT_UP, 170, glutY(100));
  EXPECT_EQ(idleRotModel, 0);
  mouse(GLUT_MIDDLE_BUTTON, GLUT_UP, 170, glutY(100));
  EXPECT_EQ(idleRotModel, 0);  // the middle button throws nothing
}

TEST_F(ViewerInput, ViewSpinRunsOutItsAngle) {
  idleRotView = 1;
  idleRot_nx = 0;
  idleRot_ny = 0;
  idleRot_nz = 1;
  idleRot_speed = 1e6f;
  idleRot_angle = 30.0f;
  idleRot_aroundOrigin = 0;
  idleRot_time = myTime();
  burnProcessorTime(0.01);
  idle();
  EXPECT_EQ(idleRotView, 0);
  EXPECT_LE(idleRot_angle, 0.0f);
  double got[16], r[16], want[16];
  modelview(got);
  rotation(30, 0, 0, 1, r);
  mul(r, start, want);
  expectMatrix(got, want, 1e-6);
}

TEST_F(ViewerInput, ViewSpinAroundTheOriginIsFramedByTheTranslation) {
  glLoadIdentity();
  glTranslated(1, 0, -5);
  double m0[16];
  modelview(m0);
  idleRotView = 1;
  idleRot_nx = 0;
  idleRot_ny = 1;
  idleRot_nz = 0;
  idleRot_speed = 1e6f;
  idleRot_angle = 20.0f;
  idleRot_aroundOrigin = 1;
  idleRot_time = myTime();
  burnProcessorTime(0.01);
  idle();
  idleRot_aroundOrigin = 0;
  EXPECT_EQ(idleRotView, 0);
  double got[16], t[16], r[16], tn[16], a[16], b[16], want[16];
  modelview(got);
  translation(1, 0, -5, t);
  rotation(20, 0, 1, 0, r);
  translation(-1, 0, 5, tn);
  mul(t, r, a);
  mul(a, tn, b);
  mul(b, m0, want);
  expectMatrix(got, want, 1e-5);
  // The model's origin stays where it was in eye coordinates.
  EXPECT_NEAR(got[12], 1, 1e-5);
  EXPECT_NEAR(got[14], -5, 1e-5);
}

TEST_F(ViewerInput, ObjectSpinKeepsItsPointFixed) {
  glLoadIdentity();
  glTranslated(0, 0, -5);
  idleRotObj = 1;
  idleRot_nx = 0;
  idleRot_ny = 1;
  idleRot_speed = 100.0f;
  idleRot_objPos[0] = 1;
  idleRot_objPos[1] = 0;
  idleRot_objPos[2] = 0;
  idleRot_objPos[3] = 2;  // the point (2, 0, 0) of the model
  idleRot_time = myTime();
  burnProcessorTime(0.05);
  idle();
  double m[16];
  modelview(m);
  // The model point (2, 0, 0) stays at eye (2, 0, -5).
  EXPECT_NEAR(m[0] * 2 + m[12], 2, 1e-6);
  EXPECT_NEAR(m[1] * 2 + m[13], 0, 1e-6);
  EXPECT_NEAR(m[2] * 2 + m[14], -5, 1e-6);
  EXPECT_LT(m[0], 1.0 - 1e-9);  // and the model did turn
  idleRot_objPos[3] = 1;
}

TEST_F(ViewerInput, RemoveTranslateKeepsTheRotation) {
  glLoadIdentity();
  glRotated(20, 1, 2, 3);
  glTranslated(4, 5, 6);
  double before[16];
  modelview(before);
  glRemoveTranslate();
  double after[16];
  modelview(after);
  for (int i = 0; i < 12; ++i) EXPECT_EQ(after[i], before[i]);
  EXPECT_EQ(after[12], 0.0);
  EXPECT_EQ(after[13], 0.0);
  EXPECT_EQ(after[14], 0.0);
}
