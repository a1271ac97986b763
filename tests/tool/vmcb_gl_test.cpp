// The tool's mouse gestures in a GL context: each drag gives the matrix its formula says.
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tool/velmora.h"
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
