// Frame retrieval, editing and path length: frame numbers and offsets, the view of any frame,
// the keyframe list's operations and the length of a span.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>

#include "coords/math3D.h"
#include "movie/movierec.h"
#include "tests/movie/script_fixtures.h"
#include "tests/support/testutil.h"

namespace {

using moviefixtures::header;
using moviefixtures::keyFrame;
using moviefixtures::loadText;
using moviefixtures::viewText;
using testsupport::stderrOf;

View at(double x, double y, double fovy = 45) {
  View v;
  v.viewPos = PHCoord{x, y, 0, 0};
  v.viewDir[2] = -1;
  v.viewUp[1] = 1;
  v.fovy = fovy;
  v.aspect = 1;
  return v;
}

bool sameBytes(const View& a, const View& b) { return std::memcmp(&a, &b, sizeof(View)) == 0; }

double xOf(const View& v) { return v.viewPos.x * std::pow(10.0, v.viewPos.s); }

TEST(MovieFramesTest, EmptyList) {
  MovieRecord m;
  View v;
  EXPECT_EQ(m.getNFrames(), 0);
  EXPECT_EQ(m.getLastFrameID(), -1);
  EXPECT_EQ(m.retrieveFrame(0.0, &v), -1);
  EXPECT_EQ(m.retrieveFrame(0, 0.0, &v), -1);
  EXPECT_EQ(m.deleteKeyFrame(0), -1);
  EXPECT_EQ(m.findNthKeyFrame(0), nullptr);
  EXPECT_EQ(m.getNKeyFrameFrm(0), 0);
}

TEST(MovieFramesTest, OneKeyFrame) {
  MovieRecord m;
  m.recordKeyFrame(at(3, 0), 7);
  EXPECT_EQ(m.findNthKeyFrame(0)->nFrameFrm, 0);  // the first gap doesn't count
  EXPECT_EQ(m.getNFrames(), 1);
  View v;
  EXPECT_EQ(m.retrieveFrame(0.0, &v), 1);
  EXPECT_TRUE(sameBytes(v, m.findNthKeyFrame(0)->view));
  EXPECT_EQ(m.retrieveFrame(0.5, &v), -1);
}

TEST(MovieFramesTest, FramesAndOffsets) {
  MovieRecord m;
  m.recordKeyFrame(at(0, 0), 0);
  m.recordKeyFrame(at(10, 0), 9);
  EXPECT_EQ(m.getNFrames(), 11);
  EXPECT_EQ(m.getNKeyFrameFrm(1), 9);
  int k = -1;
  double off = -1;
  EXPECT_EQ(m.convertFrameNum(10, &k, &off), 1);
  EXPECT_EQ(k, 1);
  EXPECT_EQ(off, 0.0);
  EXPECT_EQ(m.convertFrameNum(5, &k, &off), 1);
  EXPECT_EQ(k, 0);
  EXPECT_EQ(off, 0.5);
  EXPECT_EQ(m.convertFrameNum(10.5, &k, &off), -1);
  EXPECT_EQ(m.convertFrameNum(-0.5, &k, &off), -1);
  double f = -1;
  // The two aren't inverses inside a span: offset 0.5 is frame 4.5, not 5.
  EXPECT_EQ(m.convertKeyFrame(0, 0.5, &f), 1);
  EXPECT_EQ(f, 4.5);
  EXPECT_EQ(m.convertKeyFrame(1, 0.0, &f), 1);
  EXPECT_EQ(f, 10.0);
  EXPECT_EQ(m.convertKeyFrame(1, 0.5, &f), -1);
  EXPECT_EQ(m.convertKeyFrame(0, 1.5, &f), -1);
  EXPECT_EQ(m.convertKeyFrame(2, 0.0, &f), -1);
  View v;
  EXPECT_EQ(m.retrieveFrame(1, 0.5, &v), -1);
  EXPECT_EQ(m.retrieveFrame(0, -0.1, &v), -1);
  EXPECT_EQ(m.retrieveFrame(0, 0.9999995, &v), 1);
  EXPECT_TRUE(sameBytes(v, m.findNthKeyFrame(1)->view));
}

// A script with every kind of span: spline methods, a break, factors, held sessions.
std::string richScript() {
  return header(4, "spline spline-quat spline-fovy spline-aspect-ratio") +
         keyFrame(0, viewText(0, 0, 0, 0, "0 0 -1", "0 1 0", 30, 1), " FPos 0.5 1 2") +
         keyFrame(8, viewText(5, 2, 0, 3, "1 0 -1", "0 1 0", 50, 1.5), " FFov 1 1 1", "Begin FixHeadUp 0 1 0\n") +
         keyFrame(20, viewText(1, 1, 1, 6, "1 1 0", "0 0 1", 20, 2), " Break", "End FixHeadUp\n") +
         keyFrame(25, viewText(2, 0, 0, 6, "0 1 0", "0 0 1", 40, 1));
}

TEST(MovieFramesTest, KeyFramesAreExactAndInBetweensLieOnTheBlend) {
  MovieRecord m;
  ASSERT_EQ(loadText(m, richScript(), 1, nullptr), 1);
  ASSERT_EQ(m.getNFrames(), 26);
  const int keyFrameNumbers[4] = {0, 8, 20, 25};
  for (int k = 0; k < 4; k++) {
    View v;
    ASSERT_EQ(m.retrieveFrame(static_cast<double>(keyFrameNumbers[k]), &v), 1);
    EXPECT_TRUE(sameBytes(v, m.findNthKeyFrame(k)->view)) << k;
  }
  // Frame 12 lies in span 1 (frames 8 to 20) at offset 4 / 12: the blend of the two keyframes
  // with their guides, the timing curve of the frames and the held up vector.
  View got;
  ASSERT_EQ(m.retrieveFrame(12.0, &got), 1);
  const keyFrameNode* p1 = m.findNthKeyFrame(1);
  const keyFrameNode* p2 = m.findNthKeyFrame(2);
  double c1 = 0, c2 = 0, unused = 0;
  // p1 has a previous keyframe 8 frames back; p2 is a break, so the curve ends at its frame.
  MovieRecord::splineValue(-8, 0, 12, p1->posLevel, p1->posOut, p1->posIn, &unused, &c1, 2);
  MovieRecord::splineValue(0, 12, 12, p2->posLevel, p2->posOut, p2->posIn, &c2, &unused, 1);
  const double lengths[4] = {0, c1, c2, 12};
  View want;
  viewInterp(&p1->view, &p1->guideOut, &p2->guideIn, &p2->view, lengths, 4.0 / 12.0, p1->interpMethod,
             p1->interpMethodQuat, p1->interpMethodFovy, p1->interpMethodAspect, &want);
  m.updateViewBySession(p1, &want);
  EXPECT_TRUE(sameBytes(got, want));
  // The held up vector stands on the frame.
  EXPECT_NEAR(got.viewUp[1], 1.0, 1e-12);
  // Every frame of the script gives a view with unit vectors.
  for (int f = 0; f < m.getNFrames(); f++) {
    View v;
    ASSERT_EQ(m.retrieveFrame(static_cast<double>(f), &v), 1);
    EXPECT_NEAR(length3D(v.viewDir), 1.0, 1e-9) << f;
    EXPECT_GT(v.fovy, 0.0);
  }
}

TEST(MovieFramesTest, LinearSpanIsTheStraightBlend) {
  MovieRecord m;
  m.recordKeyFrame(at(0, 0, 30), 0);
  m.recordKeyFrame(at(10, 0, 50), 9);
  View v;
  ASSERT_EQ(m.retrieveFrame(4.0, &v), 1);
  EXPECT_NEAR(xOf(v), 4.0, 1e-12);
  EXPECT_NEAR(v.fovy, 38.0, 1e-12);
}

TEST(MovieFramesTest, SplineValueBranches) {
  double l = 0, r = 0;
  MovieRecord::splineValue(0, 0, 12, 0, 1, 2, &l, &r, 3);  // no left neighbour
  EXPECT_EQ(l, 0.0);
  EXPECT_EQ(r, 4.0);
  MovieRecord::splineValue(-6, 0, 0, 0, 3, 1, &l, &r, 3);  // no right neighbour
  EXPECT_EQ(l, -3.0);
  EXPECT_EQ(r, 0.0);
  MovieRecord::splineValue(-2, 0, 4, 0, 1, 1, &l, &r, 3);  // level 0: half the nearer distance
  EXPECT_EQ(l, -1.0);
  EXPECT_EQ(r, 1.0);
  MovieRecord::splineValue(-2, 0, 4, 1, 1, 1, &l, &r, 3);  // level 1: a sixth of the whole
  EXPECT_EQ(l, -1.0);
  EXPECT_EQ(r, 1.0);
  l = r = 99;
  MovieRecord::splineValue(-2, 0, 4, 1, 1, 1, &l, &r, 1);
  EXPECT_EQ(r, 99);
  MovieRecord::splineValue(-2, 0, 4, 1, 1, 1, &l, &r, 2);
  EXPECT_EQ(l, -1.0);
}

TEST(MovieFramesTest, Editing) {
  MovieRecord m;
  m.recordKeyFrame(at(0, 0), 0);
  m.recordKeyFrame(at(1, 0), 4);
  m.recordKeyFrame(at(2, 0), 9);
  EXPECT_EQ(m.getNFrames(), 16);
  EXPECT_EQ(m.updateKeyFrameFrm(1, 0), 1);  // neighbours with nothing between
  EXPECT_EQ(m.getNFrames(), 12);
  EXPECT_EQ(m.updateKeyFrameFrm(1, -1), -1);
  EXPECT_EQ(m.updateKeyFrameFrm(5, 1), -1);
  View moved = at(1, 5);
  EXPECT_EQ(m.updateKeyFrameView(1, &moved), 1);
  EXPECT_EQ(m.findNthKeyFrame(1)->view.viewPos.y, 5.0);
  EXPECT_EQ(m.updateKeyFrameView(1, nullptr), -1);
  // Deleting the first keyframe: the path starts at the next one, shorter by its gap.
  EXPECT_EQ(m.deleteKeyFrame(0), 1);
  EXPECT_EQ(m.getNKeyFrames(), 2);
  EXPECT_EQ(m.findNthKeyFrame(0)->nFrameFrm, 0);
  EXPECT_EQ(m.findNthKeyFrame(0)->id, 0);
  EXPECT_EQ(m.findNthKeyFrame(1)->id, 1);
  EXPECT_EQ(m.getNFrames(), 11);
  EXPECT_EQ(m.deleteKeyFrame(2), -1);
  EXPECT_EQ(m.setInterpolation(3), -1);
  EXPECT_EQ(m.setInterpolation(SplQuat), 1);
  EXPECT_EQ(m.interpMethodQuat, SplQuat);
  EXPECT_EQ(m.findNthKeyFrame(0)->interpMethodQuat, LinQuat);  // existing nodes keep theirs
  double l = 0, i = 0, o = 0;
  EXPECT_EQ(m.updateFactorFOV(1, 0.5, 2, 3), 1);
  EXPECT_EQ(m.getFactorFOV(1, &l, &i, &o), 1);
  EXPECT_EQ(l, 0.5);
  EXPECT_EQ(o, 3);
  EXPECT_EQ(m.updateFactorPos(9, 0, 1, 1), -1);
  EXPECT_EQ(m.getFactorAspect(9, &l, &i, &o), 0);
  EXPECT_EQ(m.updateFactorQuat(0, 1, 1, 1), 1);
  EXPECT_EQ(m.updateFactorAspect(0, 1, 1, 1), 1);
  EXPECT_EQ(m.getFactorPos(0, &l, &i, &o), 1);
  EXPECT_EQ(m.getFactorQuat(0, &l, &i, &o), 1);
  EXPECT_EQ(l, 1.0);
}

TEST(MovieFramesTest, DeletingInASessionKeepsItsNumbers) {
  MovieRecord m;
  std::string text = header(3) + keyFrame(0, viewText(0, 0, 0, 0), "", "Begin SplPos\n") +
                     keyFrame(10, viewText(1, 0, 0, 0)) + keyFrame(20, viewText(2, 0, 0, 0), "", "End SplPos\n");
  ASSERT_EQ(loadText(m, text, 1, nullptr), 1);
  ASSERT_EQ(m.deleteKeyFrame(1), 1);
  EXPECT_EQ(m.sessions[0].begin, 0);
  EXPECT_EQ(m.sessions[0].end, 2);
}

TEST(MovieFramesTest, QueryKeyFrame) {
  MovieRecord m;
  m.recordKeyFrame(at(1, 0), 0);
  m.findNthKeyFrame(0)->breakFlag = 1;
  m.findNthKeyFrame(0)->guideOutByUser = true;
  std::string err = stderrOf([&] { EXPECT_EQ(m.queryKeyFrame(0), 1); });
  const std::string view =
      "viewPos   = 1.00000 0.00000 0.00000 0.00000\n"
      "viewDir   = 0.00000 0.00000 -1.00000\n"
      "viewUp    = 0.00000 1.00000 0.00000\n"
      "fovy      = 45.00000\n"
      "aspect    = 1.00000\n";
  EXPECT_EQ(err, "KeyFrame 0 Break\n-----------\n" + view + "nFrameFrm  = 0\n\nGuideFrame In\n" + view +
                     "GuideFrame Out (from user's SCP)\n" + view);
  EXPECT_EQ(m.queryKeyFrame(1), -1);
}

// ---- Path length ---------------------------------------------------------------------------

TEST(MovieFramesTest, LengthMessages) {
  MovieRecord m;
  m.recordKeyFrame(at(0, 0), 0);
  m.recordKeyFrame(at(6, 0), 9);
  std::string err = stderrOf([&] { EXPECT_EQ(m.computeLength(1, 0, 1, 0), 0.0); });
  EXPECT_EQ(err, "Err : computeLength (keyFrameID is out of range [0,1-1])\n\n");
  err = stderrOf([&] { EXPECT_EQ(m.computeLength(-1, 0, 1, 0), 0.0); });
  EXPECT_EQ(err, "Err : computeLength (keyFrameID is out of range [0,-1-1])\n\n");
  err = stderrOf([&] { EXPECT_EQ(m.computeLength(0, 1.5, 1, 0), 0.0); });
  EXPECT_EQ(err, "Err : computeLength (offset1 is out of range [0,1])\n\n");
  err = stderrOf([&] { EXPECT_EQ(m.computeLength(0, 0, -0.5, 0), 0.0); });
  EXPECT_EQ(err, "Err : computeLength (offset2 is out of range [0,1])\n\n");
  EXPECT_EQ(m.computeLength(0, 0.3, 0.3, 0), 0.0);
}

TEST(MovieFramesTest, LinearLengthRunsBetweenTheGuides) {
  MovieRecord m;
  m.recordKeyFrame(at(0, 0), 0);
  m.recordKeyFrame(at(6, 0), 9);
  // The guides stand at 1 and 5: the linear measure takes their distance, 4, as meant.
  EXPECT_NEAR(m.computeLength(0, 0, 1, 0), 4.0, 1e-12);
  EXPECT_NEAR(m.computeLength(0, 0.5, 0.25, 0), 1.0, 1e-12);
  EXPECT_NEAR(m.computeLength(0, 0.25, 0.5, 0), 1.0, 1e-12);
  // In units of 10 m.
  EXPECT_NEAR(m.computeLength(0, 0, 1, 1), 0.4, 1e-12);
  m.interpMethod = 77;
  EXPECT_EQ(m.computeLength(0, 0, 1, 0), -1.0);
}

TEST(MovieFramesTest, SplineLengthIsTheArc) {
  MovieRecord m;
  m.setInterpolation(SplPos);
  m.recordKeyFrame(at(0, 0), 0);
  m.recordKeyFrame(at(6, 0), 9);
  EXPECT_NEAR(m.computeLength(0, 0, 1, 0), 6.0, 6e-3);
  // A quarter circle drawn by a Bezier: about pi / 2 for radius 1.
  const double k = 0.5522847498;
  double b0[3] = {1, 0, 0}, b1[3] = {1, k, 0}, b2[3] = {k, 1, 0}, b3[3] = {0, 1, 0};
  double len = MovieRecord::splineLength(b0, b1, b2, b3, 0, 1, b0, b3, dist3D(b0, b3));
  EXPECT_NEAR(len, 3.141592653589793 / 2, 2e-3);
  // A span that ends where it starts measures 0.
  MovieRecord loop;
  loop.setInterpolation(SplPos);
  loop.recordKeyFrame(at(0, 0), 0);
  loop.recordKeyFrame(at(0, 0), 9);
  EXPECT_EQ(loop.computeLength(0, 0, 1, 0), 0.0);
}

TEST(MovieFramesTest, BinSearchViewFindsTheDistance) {
  MovieRecord m;
  m.setInterpolation(SplPos);
  m.recordKeyFrame(at(0, 0), 0);
  m.recordKeyFrame(at(6, 0), 9);
  View v = m.binSearchView(0, 3.0, 0);
  EXPECT_NEAR(xOf(v), 3.0, 1e-2);
  double len = m.computeLength(0, 0, 0.5, 0);
  EXPECT_NEAR(len, 3.0, 6e-3);  // the middle of a symmetric span
}

}  // namespace
