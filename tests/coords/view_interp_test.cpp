// Blending of views: quaternion conversions, slerp, the Bezier forms and viewInterp's channels.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "coords/view.h"
#include "tests/support/testutil.h"

namespace {

using testsupport::stderrOf;

constexpr double kTight = 1e-12;
constexpr double kLoose = 1e-9;

View makeView(double x, double s, double dx, double dy, double dz, double ux, double uy, double uz,
              double fovy, double aspect) {
  View v;
  v.viewPos.x = x;
  v.viewPos.s = s;
  v.viewDir[0] = dx;
  v.viewDir[1] = dy;
  v.viewDir[2] = dz;
  unify3D(v.viewDir);
  v.viewUp[0] = ux;
  v.viewUp[1] = uy;
  v.viewUp[2] = uz;
  unify3D(v.viewUp);
  v.fovy = fovy;
  v.aspect = aspect;
  return v;
}

View lookingDownZ() { return makeView(0, 0, 0, 0, -1, 0, 1, 0, 45, 1); }

void expectVec3(const double* a, const double* b, double eps) {
  for (int i = 0; i < 3; i++) EXPECT_NEAR(a[i], b[i], eps) << "component " << i;
}

TEST(ViewInterpTest, MethodBitValues) {
  EXPECT_EQ(LinPos, 1);
  EXPECT_EQ(SplPos, 2);
  EXPECT_EQ(LinQuat, 4);
  EXPECT_EQ(SplQuat, 8);
  EXPECT_EQ(LinFov, 16);
  EXPECT_EQ(SplFov, 32);
  EXPECT_EQ(LinAspect, 64);
  EXPECT_EQ(SplAspect, 128);
}

TEST(ViewInterpTest, DownMinusZWithUpYIsIdentityQuaternion) {
  View v = lookingDownZ();
  double q[4];
  frmViewToQuat(&v, q);
  EXPECT_DOUBLE_EQ(q[0], 1.0);
  EXPECT_DOUBLE_EQ(q[1], 0.0);
  EXPECT_DOUBLE_EQ(q[2], 0.0);
  EXPECT_DOUBLE_EQ(q[3], 0.0);
}

// Round trips through the quaternion; each row chooses a different largest trial square.
struct RoundTrip {
  double dir[3];
  double up[3];
};

TEST(ViewInterpTest, QuaternionRoundTripGivesDirAndPerpendicularUp) {
  const RoundTrip cases[] = {
      {{0, 0, -1}, {0, 1, 0}},   // w largest
      {{0, 0, 1}, {0, -1, 0}},   // x largest (half turn about x)
      {{0, 0, 1}, {0, 1, 0}},    // y largest
      {{0, 0, -1}, {0, -1, 0}},  // z largest
      {{1, 2, 3}, {0, 0, 1}},    // up not perpendicular: comes back perpendicular
      {{-0.3, 0.9, 0.1}, {0.2, 0.1, 0.9}},
  };
  for (const RoundTrip& c : cases) {
    View v = makeView(0, 0, c.dir[0], c.dir[1], c.dir[2], c.up[0], c.up[1], c.up[2], 45, 1);
    double q[4], dir[3], up[3];
    frmViewToQuat(&v, q);
    EXPECT_NEAR(std::sqrt(innerProduct4(q, q)), 1.0, kTight);
    frmQuatToView(q, dir, up);
    expectVec3(dir, v.viewDir, kLoose);
    double fdir[3], fup[3], fright[3];
    findViewFrame(&v, fdir, fup, fright);
    expectVec3(up, fup, kLoose);
    EXPECT_NEAR(dot3D(dir, up), 0.0, kLoose);
  }
}

TEST(ViewInterpTest, FlipKeepsTheRotation) {
  View v = makeView(0, 0, 1, -2, 0.5, 0.3, 0.1, 1, 45, 1);
  double q[4], dirA[3], upA[3], dirB[3], upB[3];
  frmViewToQuat(&v, q);
  frmQuatToView(q, dirA, upA);
  flip(q);
  frmQuatToView(q, dirB, upB);
  expectVec3(dirA, dirB, kTight);
  expectVec3(upA, upB, kTight);
}

TEST(ViewInterpTest, InverseQuatNegatesVectorPart) {
  double q[4] = {0.5, 0.5, -0.5, 0.5};
  inverseQuat(q);
  EXPECT_EQ(q[0], 0.5);
  EXPECT_EQ(q[1], -0.5);
  EXPECT_EQ(q[2], 0.5);
  EXPECT_EQ(q[3], -0.5);
}

TEST(ViewInterpTest, SlerpOfItselfIsLinearAndGivesItBack) {
  double q[4] = {0.5, 0.5, 0.5, 0.5};
  for (double t : {0.0, 0.3, 1.0}) {
    double out[4];
    slerp(q, q, t, 0, out);
    for (int i = 0; i < 4; i++) EXPECT_NEAR(out[i], q[i], kTight);
  }
}

TEST(ViewInterpTest, SlerpWithNegatedQuaternionKeepsTheRotation) {
  double q[4] = {std::cos(0.4), std::sin(0.4), 0, 0};
  double m[4] = {-q[0], -q[1], -q[2], -q[3]};
  for (double t : {0.0, 0.25, 0.5, 0.75, 1.0}) {
    double out[4];
    slerp(q, m, t, 0, out);
    EXPECT_NEAR(std::fabs(innerProduct4(out, q)), 1.0, kLoose) << "t " << t;
  }
}

TEST(ViewInterpTest, SlerpHalfWayIsHalfTheAngle) {
  double a[4] = {1, 0, 0, 0};
  double b[4] = {std::cos(0.5), 0, 0, std::sin(0.5)};
  double out[4];
  slerp(a, b, 0.5, 0, out);
  EXPECT_NEAR(out[0], std::cos(0.25), kTight);
  EXPECT_NEAR(out[3], std::sin(0.25), kTight);
  // One extra spin runs the long way: at t = 1 the far side of b, the same rotation.
  slerp(a, b, 1.0, 1, out);
  EXPECT_NEAR(std::fabs(innerProduct4(out, b)), 1.0, kLoose);
}

TEST(ViewInterpTest, ScaleQuatOnIdentityDoesNothing) {
  double q[4] = {1, 0, 0, 0};
  scaleQuat(q, 3.0);
  EXPECT_EQ(q[0], 1.0);
  EXPECT_EQ(q[1], 0.0);
  EXPECT_EQ(q[2], 0.0);
  EXPECT_EQ(q[3], 0.0);
}

TEST(ViewInterpTest, ScaleQuatMultipliesTheAngle) {
  double q[4] = {std::cos(0.3), 0, std::sin(0.3), 0};
  scaleQuat(q, 0.5);
  EXPECT_NEAR(q[0], std::cos(0.15), kTight);
  EXPECT_NEAR(q[2], std::sin(0.15), kTight);
}

TEST(ViewInterpTest, MultQuatComposesTurns) {
  double a[4] = {std::cos(0.1), 0, 0, std::sin(0.1)};
  double b[4] = {std::cos(0.2), 0, 0, std::sin(0.2)};
  double out[4];
  multQuat(a, b, out);
  EXPECT_NEAR(out[0], std::cos(0.3), kTight);
  EXPECT_NEAR(out[3], std::sin(0.3), kTight);
  multQuat(a, b, a);  // the output may be an input
  EXPECT_NEAR(a[3], std::sin(0.3), kTight);
}

TEST(ViewInterpTest, Unify4DLeavesZeroAlone) {
  double z[4] = {0, 0, 0, 0};
  unify4D(z);
  for (double v : z) EXPECT_EQ(v, 0.0);
  double v[4] = {2, 0, 0, 0};
  unify4D(v);
  EXPECT_EQ(v[0], 1.0);
  double c[4];
  copyQuat(c, v);
  EXPECT_EQ(c[0], 1.0);
}

TEST(ViewInterpTest, BezierValueAndPosition) {
  EXPECT_DOUBLE_EQ(BezierValue(0, 1, 2, 3, 0.5), 1.5);
  EXPECT_DOUBLE_EQ(BezierValue(0, 0, 0, 8, 0.5), 1.0);
  EXPECT_DOUBLE_EQ(BezierValue(2, 7, -3, 5, 0.0), 2.0);
  EXPECT_DOUBLE_EQ(BezierValue(2, 7, -3, 5, 1.0), 5.0);
  double b0[3] = {0, 0, 0}, b1[3] = {1, 0, 0}, b2[3] = {2, 0, 0}, b3[3] = {3, 6, 0}, out[3];
  BezierPosition(b0, b1, b2, b3, 0.5, out);
  EXPECT_DOUBLE_EQ(out[0], 1.5);
  EXPECT_DOUBLE_EQ(out[1], 0.75);
}

TEST(ViewInterpTest, BezierPHCoordSpansManyDecades) {
  // From one metre to 1e20 metres: the far end dominates without overflow, in metres correct.
  PHCoord a{1, 0, 0, 0}, b{1, 0, 0, 0}, c{1, 0, 0, 20}, d{1, 0, 0, 20};
  PHCoord mid = BezierPHCoord(a, b, c, d, 0.5);
  EXPECT_NEAR(lengthPHCoord(mid) / 1e20, 0.5, 1e-12);
  PHCoord start = BezierPHCoord(a, b, c, d, 0.0);
  EXPECT_NEAR(lengthPHCoord(start), 1.0, 1e-12);
}

TEST(ViewInterpTest, BezierQuatEndsAtTheKeys) {
  double b0[4] = {1, 0, 0, 0};
  double b3[4] = {std::cos(0.6), std::sin(0.6), 0, 0};
  double b1[4], b2[4], out[4];
  slerp(b0, b3, 1.0 / 3.0, 0, b1);
  slerp(b0, b3, 2.0 / 3.0, 0, b2);
  BezierQuat(b0, b1, b2, b3, 0.0, out);
  for (int i = 0; i < 4; i++) EXPECT_NEAR(out[i], b0[i], kTight);
  BezierQuat(b0, b1, b2, b3, 1.0, out);
  for (int i = 0; i < 4; i++) EXPECT_NEAR(out[i], b3[i], kTight);
  BezierQuat(b0, b1, b2, b3, 0.5, out);  // evenly spaced controls: the middle turn
  EXPECT_NEAR(out[0], std::cos(0.3), 1e-9);
}

TEST(ViewInterpTest, SearchLocalTFindsTheParameter) {
  double t = searchLocalT(0, 1, 2, 3, 1.5);
  EXPECT_NEAR(BezierValue(0, 1, 2, 3, t), 1.5, 1e-5);
  EXPECT_EQ(searchLocalT(0, 1, 2, 3, 0.0), 0.0);
  // The target meeting the second control value gives 1, as the comparison is meant.
  EXPECT_EQ(searchLocalT(0, 1, 2, 3, 1.0), 1.0);
  std::string err = stderrOf([] { EXPECT_EQ(searchLocalT(0, 1, 2, 3, 3.5), 1.0); });
  EXPECT_EQ(err, "ERR in searchLocalT\n");
  err = stderrOf([] { EXPECT_EQ(searchLocalT(0, 1, 2, 3, -0.5), 0.0); });
  EXPECT_EQ(err, "ERR in searchLocalT\n");
}

TEST(ViewInterpTest, FindViewFrameAndTranMat) {
  View v = makeView(2, 1, 0, 0, -1, 0, 1, 0, 45, 1);
  double m[16];
  frmViewToTranMat(&v, 0.0, m);
  const double expected[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 20, 0, 0, 1};
  for (int i = 0; i < 16; i++) EXPECT_NEAR(m[i], expected[i], kTight) << i;
}

TEST(ViewInterpTest, LinearChannels) {
  View a = makeView(0, 0, 0, 0, -1, 0, 1, 0, 30, 1.0);
  View b = makeView(10, 0, 1, 0, 0, 0, 1, 0, 60, 2.0);
  View out;
  linearInterpPos(&a, &b, 0.25, &out, 0);
  EXPECT_NEAR(lengthPHCoord(out.viewPos), 2.5, kTight);
  linearInterpFovy(&a, &b, 0.25, &out);
  EXPECT_DOUBLE_EQ(out.fovy, 37.5);
  linearInterpAspect(&a, &b, 0.5, &out);
  EXPECT_DOUBLE_EQ(out.aspect, 1.5);
  linearInterpQuat(&a, &b, 0.5, &out);
  // Half way between looking down -z and +x, about the up axis.
  const double halfway[3] = {std::sqrt(0.5), 0, -std::sqrt(0.5)};
  expectVec3(out.viewDir, halfway, kLoose);
  const double up[3] = {0, 1, 0};
  expectVec3(out.viewUp, up, kLoose);
}

TEST(ViewInterpTest, SplineFovAndAspectAreBezierOfTheFour) {
  View v[4];
  const double fov[4] = {10, 40, 20, 30};
  for (int i = 0; i < 4; i++) {
    v[i] = lookingDownZ();
    v[i].fovy = fov[i];
    v[i].aspect = fov[i] / 10;
  }
  View out;
  splineInterpFovy(&v[0], &v[1], &v[2], &v[3], 0.3, &out);
  EXPECT_DOUBLE_EQ(out.fovy, BezierValue(10, 40, 20, 30, 0.3));
  splineInterpAspect(&v[0], &v[1], &v[2], &v[3], 0.3, &out);
  EXPECT_DOUBLE_EQ(out.aspect, BezierValue(1, 4, 2, 3, 0.3));
}

TEST(ViewInterpTest, SeparateScaleWarnsTenTimesPerFunction) {
  View a = lookingDownZ(), b = lookingDownZ(), out;
  const std::string notice =
      "(linearInterpPos): Sorry... separateScale is not implemented here yet.\n"
      "                   I will do this as if it is not separateScale.\n";
  std::string err = stderrOf([&] {
    for (int i = 0; i < 12; i++) linearInterpPos(&a, &b, 0.5, &out, 1);
  });
  std::string ten;
  for (int i = 0; i < 10; i++) ten += notice;
  EXPECT_EQ(err, ten);
  // The spline's own counter, with the same words naming linearInterpPos.
  err = stderrOf([&] {
    for (int i = 0; i < 11; i++) splineInterpPos(&a, &a, &b, &b, 0.5, &out, 1);
  });
  EXPECT_EQ(err, ten);
  err = stderrOf([&] { linearInterpPos(&a, &b, 0.5, &out, 1); });
  EXPECT_EQ(err, "");
}

TEST(ViewInterpTest, AllLinearNeverSearchesSoLengthsMayBeAnything) {
  View a = makeView(0, 0, 0, 0, -1, 0, 1, 0, 30, 1.0);
  View b = makeView(4, 0, 0, 0, -1, 0, 1, 0, 50, 3.0);
  const double nonsense[4] = {100, -5, 7, -200};
  View out;
  std::string err = stderrOf([&] { viewInterp(&a, &a, &b, &b, nonsense, 0.5, LinPos, LinQuat, LinFov, LinAspect, &out); });
  EXPECT_EQ(err, "");
  EXPECT_DOUBLE_EQ(out.fovy, 40);
  EXPECT_DOUBLE_EQ(out.aspect, 2.0);
  EXPECT_NEAR(lengthPHCoord(out.viewPos), 2.0, kTight);
}

TEST(ViewInterpTest, SplAspectWithLinFovRunsBothOnTheSearchedParameter) {
  View v[4];
  for (int i = 0; i < 4; i++) {
    v[i] = lookingDownZ();
    v[i].viewPos.x = i;  // evenly spaced: position at t is 3t
    v[i].fovy = 10 + 10 * i;
    v[i].aspect = 1 + i;
  }
  // A timing curve that lingers at the start: the searched parameter differs from t.
  const double lengths[4] = {0, 0.1, 0.2, 10};
  const double t = 0.5;
  double local = searchLocalT(0, 0.1, 0.2, 10, 10 * t);
  ASSERT_GT(std::fabs(local - t), 0.05);
  View out;
  viewInterp(&v[0], &v[1], &v[2], &v[3], lengths, t, SplPos, LinQuat, LinFov, SplAspect, &out);
  EXPECT_NEAR(out.fovy, (1 - local) * 10 + local * 40, kTight);
  EXPECT_NEAR(out.aspect, BezierValue(1, 2, 3, 4, local), kTight);
  EXPECT_NEAR(lengthPHCoord(out.viewPos), 1.5, kTight);  // position on t
}

TEST(ViewInterpTest, OnlyTheLinearValueMeansLinear) {
  // Any method value other than the linear one blends with the spline, even an unnamed one.
  View v[4];
  for (int i = 0; i < 4; i++) {
    v[i] = lookingDownZ();
    v[i].viewPos.x = (i == 1 || i == 2) ? 10 : 0;
  }
  const double lengths[4] = {0, 1, 2, 3};
  View lin, spl;
  viewInterp(&v[0], &v[1], &v[2], &v[3], lengths, 0.5, LinPos, LinQuat, LinFov, LinAspect, &lin);
  viewInterp(&v[0], &v[1], &v[2], &v[3], lengths, 0.5, 999, LinQuat, LinFov, LinAspect, &spl);
  EXPECT_NEAR(lengthPHCoord(lin.viewPos), 0.0, kTight);
  EXPECT_NEAR(lengthPHCoord(spl.viewPos), 7.5, kTight);
}

TEST(ViewInterpTest, SplineQuatChainIsMadeContinuous) {
  View a = lookingDownZ();
  View b = makeView(0, 0, 1, 0, -1, 0, 1, 0, 45, 1);
  View out1, out2;
  splineInterpQuat(&a, &a, &b, &b, 0.5, &out1);
  // The same views: the sign of a stored quaternion never matters, so the result is the same.
  linearInterpQuat(&a, &b, 0.5, &out2);
  expectVec3(out1.viewDir, out2.viewDir, 1e-9);
}

}  // namespace
