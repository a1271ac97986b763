// The tool's mouse gestures in a GL context: each drag gives the matrix its formula says.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

#include <unistd.h>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tests/tool/tool_scene.h"
#include "tool/velmora.h"
#include "tool/texfile.h"
#include "tool/vmcb.h"
#include "viewer/tarnwick.h"

namespace {

struct Mat {
  double m[16];
};

Mat identity() {
  Mat r{};
  r.m[0] = r.m[5] = r.m[10] = r.m[15] = 1;
  return r;
}
Mat mul(const Mat& a, const Mat& b) {
  Mat r{};
  for (int c = 0; c < 4; c++)
    for (int row = 0; row < 4; row++)
      for (int k = 0; k < 4; k++) r.m[c * 4 + row] += a.m[k * 4 + row] * b.m[c * 4 + k];
  return r;
}
Mat translate(double x, double y, double z) {
  Mat r = identity();
  r.m[12] = x, r.m[13] = y, r.m[14] = z;
  return r;
}
Mat scale(double x, double y, double z) {
  Mat r = identity();
  r.m[0] = x, r.m[5] = y, r.m[10] = z;
  return r;
}
// A rotation as glRotated defines it.
Mat rotate(double deg, double x, double y, double z) {
  double len = sqrt(x * x + y * y + z * z);
  x /= len, y /= len, z /= len;
  double a = deg * kRadiansPerDegree, c = cos(a), s = sin(a), t = 1 - c;
  Mat r = identity();
  r.m[0] = t * x * x + c, r.m[4] = t * x * y - s * z, r.m[8] = t * x * z + s * y;
  r.m[1] = t * x * y + s * z, r.m[5] = t * y * y + c, r.m[9] = t * y * z - s * x;
  r.m[2] = t * x * z - s * y, r.m[6] = t * y * z + s * x, r.m[10] = t * z * z + c;
  return r;
}
Mat inverse(const Mat& a) {
  Mat r = a;
  invert4by4(r.m);
  return r;
}
Mat align() {
  Mat r;
  memcpy(r.m, alignModelMatrix, sizeof r.m);
  return r;
}

// The GL matrix stack works in single precision, so the products agree to float rounding.
void expectNear(const Mat& got, const Mat& want) {
  for (int i = 0; i < 16; i++) EXPECT_NEAR(got.m[i], want.m[i], 1e-5 * (1 + std::fabs(want.m[i]))) << i;
}

class GestureGL : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(64, 64), 0) << "Xvfb could not be started";
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    gluLookAt(0, 0, 0, 0.3, 0.9, 0.2, 0, 0, 1);
    glGetDoublev(GL_MODELVIEW_MATRIX, view.m);
    // A model 10 units out, turned a little.
    Mat start = mul(translate(2, 9, 3), rotate(20, 0.2, 1, 0.1));
    memcpy(alignModelMatrix, start.m, sizeof alignModelMatrix);
    sensitivity = 0.7;
    currFovy = 40;
    isObjAnImage = 0;
    showAnchor = 0;
    picked = 0;
    lockView = 0;
    preMouseX = 100;
    preMouseY = 100;
  }
  void drag(int button, int modifiers, int x, int y) {
    mouseButton = button;
    mouseModifiers = modifiers;
    result = myMotionCB(x, y);
  }
  Mat view;
  int result = -1;
};

TEST_F(GestureGL, LeftDragTurnsAboutTheModelCentre) {
  Mat w = mul(view, align());
  double dx = 30, dy = -40, d = 50;
  double theta = d * 0.7 * 0.5 * 40 / 90;
  Mat want = mul(mul(mul(mul(inverse(view), translate(w.m[12], w.m[13], w.m[14])), rotate(theta, -dy / d, dx / d, 0)),
                     translate(-w.m[12], -w.m[13], -w.m[14])),
                 w);
  drag(1, 0, 130, 60);
  EXPECT_EQ(result, 1);
  expectNear(align(), want);
  EXPECT_EQ(preMouseX, 130);
  EXPECT_EQ(preMouseY, 60);
  // The view itself stays.
  Mat after;
  glGetDoublev(GL_MODELVIEW_MATRIX, after.m);
  expectNear(after, view);
}

TEST_F(GestureGL, ShiftDragTurnsAboutTheDirectionAndAPlainImageDoesTheSame) {
  Mat start = align();
  Mat w = mul(view, start);
  double theta2 = 30 * 0.5 * 0.3 * 0.7;
  Mat want = mul(mul(inverse(view), rotate(theta2, w.m[12], w.m[13], w.m[14])), w);
  drag(1, 1, 130, 60);
  expectNear(align(), want);
  memcpy(alignModelMatrix, start.m, sizeof start.m);
  preMouseX = 100, preMouseY = 100;
  isObjAnImage = 1;
  drag(1, 0, 130, 60);
  expectNear(align(), want);
}

TEST_F(GestureGL, MiddleDragMovesTheModelOverTheSkyAtItsDistance) {
  double before = sqrt(alignModelMatrix[12] * alignModelMatrix[12] + alignModelMatrix[13] * alignModelMatrix[13] +
                       alignModelMatrix[14] * alignModelMatrix[14]);
  Mat w = mul(view, align());
  double dx = 30, dy = -40, d = 50, theta = d * 0.7 * 0.5 * 40 / 90;
  Mat want = mul(mul(inverse(view), rotate(theta, dy / d, -dx / d, 0)), w);
  drag(2, 0, 130, 60);
  expectNear(align(), want);
  double after = sqrt(alignModelMatrix[12] * alignModelMatrix[12] + alignModelMatrix[13] * alignModelMatrix[13] +
                      alignModelMatrix[14] * alignModelMatrix[14]);
  EXPECT_NEAR(after, before, 1e-5 * before);
}

TEST_F(GestureGL, AltDragAboutTheAnchorTurnsInWorldTermsTheOtherWay) {
  showAnchor = 1;
  picked = 1;  // the anchor wins
  anchor.pos = PHCoord{0, 3, 4, 0};
  pickedStar.pos = PHCoord{1, 0, 0, 0};
  Mat w = mul(view, align());
  double theta2 = 30 * 0.5 * 0.3 * 0.7;
  Mat want = mul(mul(rotate(-theta2, 0, 0.6, 0.8), inverse(view)), w);
  drag(1, 4, 130, 60);
  expectNear(align(), want);
}

TEST_F(GestureGL, AltDragWithoutAReferenceTurnsAboutTheScreenCentre) {
  Mat w = mul(view, align());
  double theta2 = 30 * 0.5 * 0.3 * 0.7;
  Mat want = mul(mul(inverse(view), rotate(-theta2, 0, 0, 1)), w);
  drag(1, 4, 130, 60);
  expectNear(align(), want);
}

TEST_F(GestureGL, AltDragAboutThePickedStarWithoutAnchor) {
  picked = 1;
  pickedStar.pos = PHCoord{0, 0, 2, 0};
  Mat w = mul(view, align());
  double theta2 = 30 * 0.5 * 0.3 * 0.7;
  Mat want = mul(mul(rotate(-theta2, 0, 0, 1), inverse(view)), w);
  drag(1, 4, 130, 60);
  expectNear(align(), want);
  picked = 0;
}

// With both an anchor and a picked star the Alt scale's fixed point lies towards the anchor.
TEST_F(GestureGL, AltScaleFixedPointFollowsTheAnchorBeforeThePickedStar) {
  Mat start = mul(translate(0, 10, 0), rotate(90, 1, 0, 0));
  memcpy(alignModelMatrix, start.m, sizeof start.m);
  showAnchor = 1;
  picked = 1;
  anchor.pos = PHCoord{-0.2, 1, 0, 0};
  pickedStar.pos = PHCoord{0.3, 1, 0, 0};
  drag(3, 4, 130, 60);
  Mat moved = mul(align(), inverse(start));
  auto stays = [&](double x) {
    double q[4] = {x, 10, 0, 1}, r[4] = {0};
    for (int row = 0; row < 4; row++)
      for (int k = 0; k < 4; k++) r[row] += moved.m[k * 4 + row] * q[k];
    return std::fabs(r[0] - q[0]) < 1e-6 && std::fabs(r[1] - q[1]) < 1e-6 && std::fabs(r[2] - q[2]) < 1e-6;
  };
  EXPECT_TRUE(stays(-2)) << "the point towards the anchor stays";
  EXPECT_FALSE(stays(3)) << "the point towards the picked star moves";
  // Without the anchor the picked star gives the point.
  memcpy(alignModelMatrix, start.m, sizeof start.m);
  showAnchor = 0;
  preMouseX = 100, preMouseY = 100;
  drag(3, 4, 130, 60);
  moved = mul(align(), inverse(start));
  EXPECT_TRUE(stays(3));
  picked = 0;
}

// Without anchor or star the screen centre gives the fixed point: here the eye looks straight at
// the model's plane, so its point on the line of sight stays.
TEST_F(GestureGL, AltScaleFixedPointOnTheScreenCentre) {
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(0, 0, 0, 0.2, 1, 0, 0, 0, 1);
  glGetDoublev(GL_MODELVIEW_MATRIX, view.m);
  Mat start = mul(translate(0, 10, 0), rotate(90, 1, 0, 0));
  memcpy(alignModelMatrix, start.m, sizeof start.m);
  std::string err = testsupport::stderrOf([&] { drag(3, 4, 160, 30); });
  EXPECT_EQ(err, "");
  EXPECT_EQ(result, 1);
  Mat moved = mul(align(), inverse(start));
  double q[4] = {2, 10, 0, 1}, r[4] = {0};
  for (int row = 0; row < 4; row++)
    for (int k = 0; k < 4; k++) r[row] += moved.m[k * 4 + row] * q[k];
  for (int k = 0; k < 3; k++) EXPECT_NEAR(r[k], q[k], 1e-6) << k;
}

// Every other combination is a viewing gesture that does nothing but consume the event.
TEST_F(GestureGL, OtherCombinationsAreConsumedWithoutEffect) {
  struct Row {
    int button, modifiers;
  };
  const Row rows[] = {{2, 1}, {2, 2}, {3, 1}, {3, 2}, {1, 5}, {4, 1}, {4, 2}, {1, 3 | 4}, {3, 5}};
  Mat start = align();
  for (const Row& r : rows) {
    SCOPED_TRACE(std::to_string(r.button) + "/" + std::to_string(r.modifiers));
    drag(r.button, r.modifiers, 130, 60);
    EXPECT_EQ(result, 1);
    expectNear(align(), start);
    Mat after;
    glGetDoublev(GL_MODELVIEW_MATRIX, after.m);
    expectNear(after, view);
  }
}

TEST_F(GestureGL, CtrlShiftDragTurnsTheViewAboutTheScreenCentre) {
  Mat want = mul(rotate(30 * 0.7 * 0.5 * 0.3 * 0.7, 0, 0, 1), view);
  drag(1, 3, 130, 60);
  EXPECT_EQ(result, 1);
  Mat after;
  glGetDoublev(GL_MODELVIEW_MATRIX, after.m);
  expectNear(after, want);
  EXPECT_EQ(preMouse2X, 100);
  EXPECT_EQ(preMouse2Y, 100);
  EXPECT_EQ(preMouseY, 60);
  // A vertical drag does not turn it.
  preMouseX = 100, preMouseY = 100;
  drag(1, 3, 100, 60);
  glGetDoublev(GL_MODELVIEW_MATRIX, after.m);
  expectNear(after, want);
}

TEST_F(GestureGL, StepsAccumulateFromEachPreviousPosition) {
  Mat once = align();
  drag(2, 0, 110, 100);
  drag(2, 0, 120, 100);
  Mat twoSteps = align();
  memcpy(alignModelMatrix, once.m, sizeof once.m);
  preMouseX = 100, preMouseY = 100;
  drag(2, 0, 120, 100);
  expectNear(twoSteps, align());
}

TEST_F(GestureGL, ScaleActsInTheModelsOwnXAndYAndNeverBelowATenth) {
  Mat w = mul(view, align());
  Mat want = mul(mul(inverse(view), w), scale((float)(1 + 30 / 50.0 * 0.7), (float)(1 - 40 / 50.0 * 0.7), 1));
  drag(3, 0, 130, 60);
  expectNear(align(), want);
  // A drag of 1000 pixels to the left in one step: factor 0.1, not a negative scale.
  sensitivity = 1.0;
  Mat start = align();
  w = mul(view, start);
  preMouseX = 1100, preMouseY = 60;
  drag(3, 0, 100, 60);
  expectNear(align(), mul(mul(inverse(view), w), scale(0.1f, 1, 1)));
}

TEST_F(GestureGL, AltScaleWithTheReferenceBehindSaysSoAndLeavesTheMatrix) {
  // The model's plane faces the observer; a reference pointing away from it has no forward hit.
  Mat start = translate(0, 10, 0);
  start = mul(start, rotate(90, 1, 0, 0));
  memcpy(alignModelMatrix, start.m, sizeof start.m);
  showAnchor = 1;
  anchor.pos = PHCoord{0, -1, 0, 0};
  std::string err = testsupport::stderrOf([&] { drag(3, 4, 130, 60); });
  EXPECT_EQ(err, "The reference point (anchor or picked star) does not make sense.\n");
  expectNear(align(), start);
  // Towards the model the fixed point is on its plane, and that point stays where it was.
  anchor.pos = PHCoord{0.1, 1, 0, 0};
  preMouseX = 100, preMouseY = 100;
  Mat before = align();
  drag(3, 4, 130, 60);
  EXPECT_EQ(result, 1);
  double q[4] = {0.1 * 10, 10, 0, 1};  // where the line meets the plane y = 10
  // The new matrix times the old one's inverse leaves the fixed point where it was.
  Mat scaledBack = mul(align(), inverse(before));
  double moved[4] = {0};
  for (int r = 0; r < 4; r++)
    for (int k = 0; k < 4; k++) moved[r] += scaledBack.m[k * 4 + r] * q[k];
  for (int k = 0; k < 3; k++) EXPECT_NEAR(moved[k], q[k], 1e-6) << k;
}

TEST_F(GestureGL, ViewingGesturesAreLockedButAlignmentIsNot) {
  lockView = 1;
  drag(1, 2, 130, 60);  // Ctrl + Left: rolling ball
  EXPECT_EQ(result, 1);
  Mat after;
  glGetDoublev(GL_MODELVIEW_MATRIX, after.m);
  expectNear(after, view);
  Mat start = align();
  drag(2, 0, 140, 90);
  bool changed = memcmp(start.m, alignModelMatrix, sizeof start.m) != 0;
  EXPECT_TRUE(changed);
  lockView = 0;
}

TEST_F(GestureGL, CtrlDragTurnsTheViewWithTheSensitivitySquared) {
  double dx = 30 * 0.7, dy = -40 * 0.7, d = sqrt(dx * dx + dy * dy);
  double theta = d * 0.7 * 0.5 * 40 / 90;
  Mat want = mul(mul(mul(translate(view.m[12], view.m[13], view.m[14]), rotate(theta, -dy / d, dx / d, 0)),
                     translate(-view.m[12], -view.m[13], -view.m[14])),
                 view);
  drag(1, 2, 130, 60);
  Mat after;
  glGetDoublev(GL_MODELVIEW_MATRIX, after.m);
  expectNear(after, want);
  EXPECT_EQ(preMouse2X, 100);
  EXPECT_EQ(preMouseX, 130);
}

TEST_F(GestureGL, AltMiddleIsLeftToTheFramework) {
  drag(2, 4, 130, 60);
  EXPECT_EQ(result, 0);
}

// Every press stores the matrix first; 33 drags leave 32 undo steps.
TEST_F(GestureGL, ThirtyThreeDragsLeaveThirtyTwoUndoSteps) {
  resetAlign();
  Mat first = align();
  for (int i = 0; i < 33; i++) {
    myMouseCB(0, 0, 100, 100);
    preMouseX = 100, preMouseY = 100;
    drag(2, 0, 110, 100);
  }
  EXPECT_EQ(nUndo, 32);
  for (int i = 0; i < 32; i++) myKeyCB('u', 0, 0);
  EXPECT_EQ(nUndo, 0);
  bool same = memcmp(first.m, alignModelMatrix, sizeof first.m) == 0;
  EXPECT_FALSE(same) << "the first state is gone";
}

// A plain right press asks for a pick at the pixel counted from the bottom.
TEST_F(GestureGL, RightPressAsksForAPick) {
  mouseModifiers = 0;
  askForPick = 0;
  myMouseCB(2, 0, 10, 20);
  EXPECT_EQ(askForPick, 1);
  EXPECT_EQ(pickAtX, 10);
  EXPECT_EQ(pickAtY, 64 - 20);
  askForPick = 0;
}

}  // namespace

// The gestures and keys on a real sample: the misplaced M51 image with its reference, the real
// catalogue and, where asked for, the Milky Way maps, set up by the scene's own start.
namespace {

constexpr int kSceneSide = 256;

using toolscene::Args;
using toolscene::sample;

// The middle of the model's lit pixels when it is drawn as a white quad the way the sky drawing
// places it; x = -1 when none is in the picture. The picture is kept as shot for a look.
void modelCentre(const char* shot, double* cx, double* cy) {
  glViewport(0, 0, kSceneSide, kSceneSide);
  glClearColor(0, 0, 0, 0);
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_DEPTH_TEST);
  glMatrixMode(GL_MODELVIEW);
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
  std::vector<unsigned char> rgb = testsupport::readPixelsRGB(0, 0, kSceneSide, kSceneSide);
  testsupport::keepShotForALook(shot, rgb.data(), kSceneSide, kSceneSide);
  double sx = 0, sy = 0;
  long n = 0;
  for (int y = 0; y < kSceneSide; ++y)
    for (int x = 0; x < kSceneSide; ++x)
      if (rgb[(static_cast<size_t>(y) * kSceneSide + x) * 3] > 128) sx += x, sy += y, ++n;
  *cx = n ? sx / n : -1;
  *cy = n ? sy / n : -1;
}

class SceneKeysGL : public testing::Test {
 protected:
  void SetUp() override {
    VELMORA_REQUIRE_SKY_DATA();
    ASSERT_NE(testsupport::openGLWindow(kSceneSide, kSceneSide), 0) << "Xvfb could not be started";
    toolscene::prepare(kSceneSide);
  }
  void TearDown() override {
    deleteScene();
    unsetenv("TOPDIR");
    sensitivity = 1.0;
    lockView = 0;
    picked = 0;
    showAnchor = 0;
    idleRotModel = 0;
  }
  // Starts the scene on the M51 pair; the maps only when withMaps.
  void start(bool withMaps) {
    std::vector<std::string> items;
    if (!withMaps) items.push_back("-notex");
    items.push_back(sample("m51-misplaced.obj"));
    items.push_back(sample("m51.obj"));
    Args args(items);
    int result = -1;
    testsupport::stdoutOf([&] { testsupport::stderrOf([&] { result = initScene(args.argc(), args.argv()); }); });
    ASSERT_EQ(result, 0);
    ASSERT_NE(alignModel, nullptr);
    glViewport(0, 0, kSceneSide, kSceneSide);
    glMatrixMode(GL_MODELVIEW);
    glGetDoublev(GL_MODELVIEW_MATRIX, firstView.m);
    sensitivity = 1.0;
    preMouseX = preMouseY = kSceneSide / 2;
  }
  int press(int button, int modifiers, int x, int y) {
    mouseModifiers = modifiers;
    return myMouseCB(button, 0, x, y);
  }
  int dragTo(int buttonMask, int modifiers, int x, int y) {
    mouseButton = buttonMask;
    mouseModifiers = modifiers;
    return myMotionCB(x, y);
  }
  Mat modelview() {
    Mat m;
    glGetDoublev(GL_MODELVIEW_MATRIX, m.m);
    return m;
  }
  Mat firstView;
};

TEST_F(SceneKeysGL, TheStartSetsTheHooks) {
  start(false);
  EXPECT_EQ(mouseCBFuncPtr, &myMouseCB);
  EXPECT_EQ(motionCBFuncPtr, &myMotionCB);
  EXPECT_EQ(keyboardCBFuncPtr, &myKeyCB);
  EXPECT_EQ(helpMenuFuncPtr, &myHelpMenu);
  std::string err = testsupport::stderrOf([] { EXPECT_EQ(helpMenuFuncPtr(stderr), 1); });
  EXPECT_EQ(err, "\n\n" + std::string(mouseHelpText) + "\n\n" + keyboardHelpText + "\n\n");
}

// The sample is a plain image: a plain left drag turns it about its direction, as shift does.
TEST_F(SceneKeysGL, APlainImageTurnsAboutItsDirectionUnderAPlainLeftDrag) {
  start(false);
  ASSERT_EQ(isObjAnImage, 1);
  Mat start0 = align();
  press(0, 0, 128, 128);
  EXPECT_EQ(dragTo(1, 0, 160, 140), 1);
  Mat plain = align();
  memcpy(alignModelMatrix, start0.m, sizeof start0.m);
  preMouseX = preMouseY = 128;
  dragTo(1, 1, 160, 140);
  expectNear(align(), plain);
  Mat w = mul(firstView, start0);
  expectNear(plain, mul(mul(inverse(firstView), rotate(32 * 0.5 * 0.3, w.m[12], w.m[13], w.m[14])), w));
  // Its centre keeps its place on the screen.
  double x0, y0, x1, y1;
  memcpy(alignModelMatrix, start0.m, sizeof start0.m);
  modelCentre("vmcb_gl_start", &x0, &y0);
  memcpy(alignModelMatrix, plain.m, sizeof plain.m);
  modelCentre("vmcb_gl_turned", &x1, &y1);
  EXPECT_NEAR(x1, x0, 1.0);
  EXPECT_NEAR(y1, y0, 1.0);
}

// A middle drag to the right slides the model to the right over the sky, as far as the formula
// says: theta1 = d * 0.5 * fovy / 90 degrees, here with the sensitivity 1.
TEST_F(SceneKeysGL, MiddleDragSlidesTheModelWithTheMouse) {
  start(false);
  double x0, y0, x1, y1;
  modelCentre("vmcb_gl_before_slide", &x0, &y0);
  ASSERT_GE(x0, 0);
  Mat before = align();
  press(1, 0, 128, 128);
  dragTo(2, 0, 138, 128);  // small enough to keep the whole model in the picture
  modelCentre("vmcb_gl_after_slide", &x1, &y1);
  // The model's origin turns about the observer's vertical by theta1, to the right.
  double degrees = 10 * 0.5 * currFovy / 90;
  Mat w0 = mul(firstView, before), w1 = mul(firstView, align());
  double turn = std::atan2(w1.m[12], -w1.m[14]) - std::atan2(w0.m[12], -w0.m[14]);
  EXPECT_NEAR(turn / kRadiansPerDegree, degrees, 1e-4);
  EXPECT_NEAR(w1.m[13], w0.m[13], 1e-6 * std::fabs(w0.m[14]));
  // In the picture the model went right by about that angle's pixels and stayed at its height.
  double pixels = std::tan(degrees * kRadiansPerDegree) / std::tan(currFovy / 2 * kRadiansPerDegree) * kSceneSide / 2;
  EXPECT_NEAR(x1 - x0, pixels, 0.1 * pixels);
  EXPECT_NEAR(y1, y0, 1.0);
  expectNear(modelview(), firstView);
}

// Every press stores the matrix as it stood: 33 drags leave 32 steps, u and y walk them, R
// goes back to the first matrix and r to the first view.
TEST_F(SceneKeysGL, DragsUndoRedoAndTheTwoResets) {
  start(false);
  Mat first = align();
  std::vector<Mat> states;
  for (int i = 0; i < 33; i++) {
    states.push_back(align());
    EXPECT_EQ(press(0, 0, 128, 128), 0);
    preMouseX = preMouseY = 128;
    dragTo(2, 0, 128 + 3 + i % 5, 128 - 2);
  }
  EXPECT_EQ(nUndo, 32);
  Mat last = align();
  EXPECT_EQ(myKeyCB('u', 0, 0), 1);
  expectNear(align(), states[32]);
  EXPECT_EQ(myKeyCB('U', 0, 0), 1);
  expectNear(align(), states[31]);
  EXPECT_EQ(myKeyCB('y', 0, 0), 1);
  EXPECT_EQ(myKeyCB('Y', 0, 0), 1);
  expectNear(align(), last);
  for (int i = 0; i < 32; i++) myKeyCB('u', 0, 0);
  expectNear(align(), states[1]);
  EXPECT_EQ(testsupport::stderrOf([] { myKeyCB('u', 0, 0); }), "no alignment operation to undo\n");

  EXPECT_EQ(myKeyCB('R', 0, 0), 0);
  expectNear(align(), first);
  Mat backup;
  memcpy(backup.m, alignModelMatrix_Backup, sizeof backup.m);
  expectNear(backup, first);

  // A turn of the view, then r: the first view again, and the framework sees the key too.
  press(0, 2, 128, 128);
  dragTo(1, 2, 150, 100);
  bool turned = memcmp(modelview().m, firstView.m, sizeof firstView.m) != 0;
  EXPECT_TRUE(turned);
  EXPECT_EQ(myKeyCB('r', 0, 0), 0);
  expectNear(modelview(), firstView);
}

// A right press asks for a pick at the pixel counted from the top; with a modifier it doesn't,
// and every press still stores the matrix.
TEST_F(SceneKeysGL, RightPressAsksForAPickAndEveryPressSaves) {
  start(false);
  resetAlign();
  askForPick = 0;
  EXPECT_EQ(press(2, 0, 40, 200), 0);
  EXPECT_EQ(askForPick, 1);
  EXPECT_EQ(pickAtX, 40);
  EXPECT_EQ(pickAtY, kSceneSide - 200);
  EXPECT_EQ(nUndo, 1);
  askForPick = 0;
  alignModelMatrix[12] += 1;
  EXPECT_EQ(press(2, 1, 40, 200), 0);
  EXPECT_EQ(askForPick, 0);
  EXPECT_EQ(nUndo, 2);
  // A release stores nothing.
  alignModelMatrix[12] += 1;
  EXPECT_EQ(myMouseCB(0, 1, 40, 200), 0);
  EXPECT_EQ(nUndo, 2);
}

// A right drag without a picked star takes the anchor along to the direction under the mouse;
// with a picked star it does nothing.
TEST_F(SceneKeysGL, RightDragMovesTheAnchorUnlessAStarIsPicked) {
  start(false);
  picked = 0;
  EXPECT_EQ(dragTo(4, 0, kSceneSide / 2, kSceneSide / 2), 1);
  EXPECT_EQ(preMouseX, kSceneSide / 2);
  Mat v = modelview();
  double centre[3] = {-v.m[2], -v.m[6], -v.m[10]};
  EXPECT_NEAR(anchor.pos.x, centre[0], 0.01);
  EXPECT_NEAR(anchor.pos.y, centre[1], 0.01);
  EXPECT_NEAR(anchor.pos.z, centre[2], 0.01);
  EXPECT_EQ(pickedStar.HD, kAnchorHD);

  ASSERT_NE(anchorText[0], '\0');
  std::string text = anchorText;
  PHCoord before = anchor.pos;
  picked = 1;
  EXPECT_EQ(dragTo(4, 0, 10, 10), 1);
  EXPECT_EQ(anchor.pos.x, before.x);
  EXPECT_EQ(anchor.pos.y, before.y);
  EXPECT_EQ(anchorText, text);
  picked = 0;
}

// l locks the view against the mouse and stops a spinning model; alignment goes on.
TEST_F(SceneKeysGL, LockViewKey) {
  start(false);
  idleRotModel = 1;
  EXPECT_EQ(myKeyCB('l', 0, 0), 1);
  EXPECT_EQ(lockView, 1);
  EXPECT_EQ(idleRotModel, 0);
  EXPECT_EQ(dragTo(1, 2, 170, 90), 1);
  EXPECT_EQ(dragTo(1, 3, 170, 90), 1);
  expectNear(modelview(), firstView);
  EXPECT_EQ(dragTo(2, 4, 170, 90), 1) << "the field of view is locked too";
  Mat start0 = align();
  dragTo(2, 0, 100, 90);
  bool moved = memcmp(start0.m, alignModelMatrix, sizeof start0.m) != 0;
  EXPECT_TRUE(moved);
  EXPECT_EQ(myKeyCB('l', 0, 0), 1);
  EXPECT_EQ(lockView, 0);
  idleRotModel = 1;
  myKeyCB('l', 0, 0);
  EXPECT_EQ(idleRotModel, 0);
  myKeyCB('l', 0, 0);
  idleRotModel = 0;
}

// Star size goes to the star engine through the callback.
TEST_F(SceneKeysGL, StarSizeKeysReachTheStars) {
  start(false);
  starSize = 1.0f;
  EXPECT_EQ(myKeyCB('+', 0, 0), 1);
  EXPECT_FLOAT_EQ(starSize, 1.1f);
  EXPECT_FLOAT_EQ(starList->getStarParameter().texScale, 1.1f);
  EXPECT_EQ(myKeyCB('-', 0, 0), 1);
  EXPECT_EQ(myKeyCB('-', 0, 0), 1);
  EXPECT_FLOAT_EQ(starList->getStarParameter().texScale, starSize);
  EXPECT_NEAR(starSize, 1.0f / 1.1f, 1e-6);
}

// The reference model keys work once there is a reference model.
TEST_F(SceneKeysGL, ReferenceModelKeys) {
  start(false);
  ASSERT_EQ(nFixedModels, 1);
  struct Row {
    unsigned char key;
    int* flag;
  };
  for (const Row& r : {Row{'f', &showFixedModels}, Row{'F', &showFixedBehind}}) {
    int before = *r.flag;
    EXPECT_EQ(myKeyCB(r.key, 0, 0), 1);
    EXPECT_EQ(*r.flag, 1 - before);
    EXPECT_EQ(myKeyCB(r.key, 0, 0), 1);
    EXPECT_EQ(*r.flag, before);
  }
}

// Frames drawn in the window since the counter was last cleared.
int framesDrawn = 0;

// Lets GLUT handle what is pending (the window's own exposure and resizing) until three rounds
// in a row draw nothing, so that a frame counted afterwards was asked for by the key.
void settleWindow() {
  constexpr int kQuietRounds = 3, kMaxRounds = 200;
  constexpr useconds_t kRoundPause = 10000;
  int quiet = 0;
  for (int round = 0; round < kMaxRounds && quiet < kQuietRounds; ++round) {
    int before = framesDrawn;
    glutMainLoopEvent();
    quiet = framesDrawn == before ? quiet + 1 : 0;
    usleep(kRoundPause);
  }
}

// The key table's Redisplay column: the keys marked yes, and those whose callback redisplays,
// ask for a frame at once; the others wait for the next frame something else asks for.
TEST_F(SceneKeysGL, KeysAskForANewFrameAsTheTableSays) {
  start(false);
  mainWindow = glutGetWindow();
  glutDisplayFunc([] { ++framesDrawn; });
  struct Row {
    unsigned char key;
    bool frame;
  };
  const Row rows[] = {
      {'+', true},  {'-', true},  {'1', true},  {'2', true},  {'3', true},  {'A', true},  {'B', false},
      {'D', true},  {'E', true},  {'F', false}, {'G', true},  {'L', true},  {'N', true},  {'n', true},
      {'P', true},  {'p', true},  {'R', true},  {'S', true},  {'U', true},  {'u', true},  {'W', false},
      {'X', false}, {'x', false}, {'Y', true},  {'y', true},  {'Z', false}, {'[', false}, {']', false},
      {'b', false}, {'d', true},  {'f', false}, {'g', true},  {'i', false}, {'l', true},  {'m', false},
      {'r', true},  {'s', true},  {'t', true},  {'w', false}, {'z', false}, {'{', true},  {'}', true},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(std::string(1, static_cast<char>(r.key)));
    settleWindow();
    framesDrawn = 0;
    testsupport::stderrOf([&] { myKeyCB(r.key, 0, 0); });
    glutMainLoopEvent();
    EXPECT_EQ(framesDrawn > 0, r.frame);
    if (r.key == 'm') myKeyCB('-', 0, 0);  // the key after m names a panel: take it away
  }
  glutDisplayFunc([] {});
  mainWindow = 0;
}

// The map keys with the Milky Way maps read: 1 none, 2 the chosen map, 3 the slider, w and W the
// slider's intensity within 0 and 1.
TEST_F(SceneKeysGL, MapKeys) {
  start(true);
  ASSERT_NE(texObjs, nullptr);
  ASSERT_GT(nSliderTex, 0);
  EXPECT_EQ(myKeyCB('1', 0, 0), 1);
  EXPECT_EQ(texChoice, 0);
  EXPECT_EQ(myKeyCB('3', 0, 0), 1);
  EXPECT_EQ(texChoice, 2);
  EXPECT_NE(sliderTexID1, 0u);
  EXPECT_EQ(myKeyCB('2', 0, 0), 1);
  EXPECT_EQ(texChoice, 1);
  sliderTexAlpha = 0.99f;
  EXPECT_EQ(myKeyCB('W', 0, 0), 1);
  EXPECT_EQ(sliderTexAlpha, 1.0f);
  EXPECT_EQ(myKeyCB('W', 0, 0), 1);
  EXPECT_EQ(sliderTexAlpha, 1.0f);
  EXPECT_EQ(myKeyCB('w', 0, 0), 1);
  EXPECT_FLOAT_EQ(sliderTexAlpha, 0.98f);
  sliderTexAlpha = 0.01f;
  myKeyCB('w', 0, 0);
  EXPECT_EQ(sliderTexAlpha, 0.0f);
  myKeyCB('w', 0, 0);
  EXPECT_EQ(sliderTexAlpha, 0.0f);
}

}  // namespace
