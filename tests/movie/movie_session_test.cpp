// Sessions and guide views: "Begin" and "End" lines with their messages, held aims and up
// directions, and the guides built from neighbouring keyframes.
#include <gtest/gtest.h>

#include <cmath>
#include <string>

#include "coords/math3D.h"
#include "movie/movierec.h"
#include "tests/movie/script_fixtures.h"
#include "tests/support/testutil.h"

namespace {

using moviefixtures::header;
using moviefixtures::keyFrame;
using moviefixtures::loadText;
using moviefixtures::viewAt;
using moviefixtures::viewText;

const std::string kNameList =
    "      should be [LinPos]\n"
    "             OR [SplPos]\n"
    "             OR [LinQuat]\n"
    "             OR [SplQuat]\n"
    "             OR [LinFov]\n"
    "             OR [SplFov]\n"
    "             OR [LinAspect]\n"
    "             OR [SplAspect]\n"
    "             OR [FixAtPt]\n"
    "             OR [FixHeadUp]\n";

// Three keyframes at frames 0, 10, 20 with the given session lines on each.
std::string threeKeys(const std::string& s0, const std::string& s1, const std::string& s2, const char* extra1 = "") {
  return header(3) + keyFrame(0, viewText(0, 0, 0, 0), "", s0) + keyFrame(10, viewText(10, 0, 0, 0), extra1, s1) +
         keyFrame(20, viewText(20, 5, 0, 0), "", s2);
}

struct SessionFault {
  const char* what;
  std::string s0, s1, s2;
  std::string message;
};

TEST(MovieSessionTest, FaultsOfSessionLines) {
  const SessionFault cases[] = {
      {"unknown after Begin", "Begin linpos\n", "", "",
       "Err : (line 8) unknown session name [linpos] after [Begin].\n" + kNameList},
      {"unknown after End", "", "End Nothing\n", "",
       "Err : (line 16) unknown session name [Nothing] after [End].\n" + kNameList},
      {"lone End", "End FixAtPt\n", "", "",
       "Err : (line 8) [End FixAtPt] has been encountered without [Begin FixAtPt] before!.\n"},
      {"Begin twice", "Begin LinQuat\n", "Begin LinQuat\n", "",
       "Err : (line 17) [Begin LinQuat] has been set twice here without [End] in-between!.\n"
       "       You may find your previous [Begin LinQuat] at line: KeyFrame 0.\n"},
      {"pair open", "Begin SplPos\n", "Begin LinPos\n", "End SplPos LinPos\n",
       "Err : (line 17) [Begin LinPos] and [Begin SplPos] cannot co-exist\n"
       "       You may find your [Begin SplPos] at line: KeyFrame 0.\n"},
      {"three numbers for a point", "Begin FixAtPt 1 0 0\n", "", "",
       "Err : (line 8) Need 4 numbers for fixed pt (in PHC) after [Begin FixAtPt].\n"},
      {"two numbers for up", "Begin FixHeadUp 0 1\n", "", "",
       "Err : (line 8) Need 3 numbers for fixed pt (in PHC) after [Begin FixHeadUp].\n"},
      {"open at the end", "Begin FixAtPt 1 0 0 5\n", "", "",
       "Err: [Begin FixAtPt] encountered in the line with Keyframe 0,\n"
       "     but correspond [End FixAtPt] is missing\n"},
  };
  for (const SessionFault& c : cases) {
    MovieRecord m;
    std::string err;
    EXPECT_EQ(loadText(m, threeKeys(c.s0, c.s1, c.s2), 1, &err), -1) << c.what;
    EXPECT_EQ(err, c.message) << c.what;
  }
  MovieRecord m;
  std::string err = testsupport::stderrOf([&] {
    bool open[kSessionTypeCount] = {};
    int begin[kSessionTypeCount] = {};
    EXPECT_EQ(m.readSession(nullptr, 1, 1, open, begin, 0), 0);
  });
  EXPECT_EQ(err, "Err (readSession): input line is NULL.\n");
}

TEST(MovieSessionTest, BeginAndEndOnOneKeyFrameWarnsAndStoresNothing) {
  MovieRecord m;
  std::string err;
  ASSERT_EQ(loadText(m, threeKeys("Begin LinPos\nEnd LinPos\n", "", ""), 1, &err), 1);
  EXPECT_EQ(err, "Warning : (line 9) same [Begin LinPos] and [End LinPos] here -- effect ignored.\n");
  EXPECT_EQ(m.nSessions, 0);
}

TEST(MovieSessionTest, DifferentChannelsOnOneLineAreAccepted) {
  MovieRecord m;
  ASSERT_EQ(loadText(m, threeKeys("Begin LinPos LinQuat\n", "End LinPos LinQuat\n", ""), 1, nullptr), 1);
  ASSERT_EQ(m.nSessions, 2);
  EXPECT_EQ(m.sessions[0].type, kSessionLinPos);
  EXPECT_EQ(m.sessions[1].type, kSessionLinQuat);
  EXPECT_EQ(m.sessions[0].begin, 0);
  EXPECT_EQ(m.sessions[0].end, 1);
}

TEST(MovieSessionTest, MethodSessionsAlwaysSetThePositionMethod) {
  MovieRecord m;
  ASSERT_EQ(loadText(m, threeKeys("Begin SplQuat\n", "", "End SplQuat\n"), 1, nullptr), 1);
  EXPECT_EQ(m.findNthKeyFrame(0)->interpMethod, SplQuat);  // 8 in the position field, as meant
  EXPECT_EQ(m.findNthKeyFrame(0)->interpMethodQuat, LinQuat);
  EXPECT_EQ(m.findNthKeyFrame(1)->interpMethod, SplQuat);
  EXPECT_EQ(m.findNthKeyFrame(2)->interpMethod, LinPos);  // the end keyframe isn't in the span
}

TEST(MovieSessionTest, FixHeadUpStoresAUnitVectorAndTiltsTheSight) {
  MovieRecord m;
  std::string text = header(2) + keyFrame(0, viewText(0, 0, 0, 0, "1 0 1"), "", "Begin FixHeadUp 0 0 5\n") +
                     keyFrame(10, viewText(10, 0, 0, 0, "1 0 -1"), "", "End FixHeadUp\n");
  ASSERT_EQ(loadText(m, text, 1, nullptr), 1);
  ASSERT_EQ(m.nSessions, 1);
  EXPECT_EQ(m.sessions[0].fixUp[0], 0.0);
  EXPECT_EQ(m.sessions[0].fixUp[2], 1.0);
  for (int k = 0; k < 2; k++) {
    const View& v = m.findNthKeyFrame(k)->view;
    EXPECT_NEAR(dot3D(v.viewDir, v.viewUp), 0.0, 1e-12) << k;
    EXPECT_NEAR(v.viewUp[2], 1.0, 1e-12);
    EXPECT_NEAR(v.viewDir[0], 1.0, 1e-12);
  }
  EXPECT_EQ(m.findNthKeyFrame(0)->fixHeadUpSession, 0);
  EXPECT_EQ(m.findNthKeyFrame(1)->fixHeadUpSession, -1);
  // In-between frames keep the up direction too.
  View mid;
  ASSERT_EQ(m.retrieveFrame(5.0, &mid), 1);
  EXPECT_NEAR(mid.viewUp[2], 1.0, 1e-12);
  EXPECT_NEAR(dot3D(mid.viewDir, mid.viewUp), 0.0, 1e-12);
}

TEST(MovieSessionTest, FixAtPtAimsEveryKeyFrameAndFrameAtThePoint) {
  MovieRecord m;
  // The point lies twenty decades away; the aim holds all the same.
  std::string text = header(3) + keyFrame(0, viewText(0, 0, 0, 0), "", "Begin FixAtPt 0 1 0 20\n") +
                     keyFrame(10, viewText(1, 0, 0, 0)) + keyFrame(20, viewText(2, 0, 0, 0), "", "End FixAtPt\n");
  ASSERT_EQ(loadText(m, text, 1, nullptr), 1);
  for (int k = 0; k < 3; k++) {
    const View& v = m.findNthKeyFrame(k)->view;
    EXPECT_NEAR(v.viewDir[1], 1.0, 1e-12) << k;  // the last keyframe too
  }
  EXPECT_EQ(m.findNthKeyFrame(1)->fixAtPtSession, 0);
  EXPECT_EQ(m.findNthKeyFrame(2)->fixAtPtSession, -1);
  // Near point: each frame aims at it exactly.
  MovieRecord near;
  std::string close = header(2) + keyFrame(0, viewText(0, 0, 0, 0), "", "Begin FixAtPt 5 5 0 0\n") +
                      keyFrame(10, viewText(10, 0, 0, 0), "", "End FixAtPt\n");
  ASSERT_EQ(loadText(near, close, 1, nullptr), 1);
  for (double f : {2.0, 5.0, 7.5}) {
    View v;
    ASSERT_EQ(near.retrieveFrame(f, &v), 1);
    PHCoord d = subPHCoord(PHCoord{5, 5, 0, 0}, v.viewPos);
    unifyPHCoord(&d);
    EXPECT_NEAR(v.viewDir[0], d.x, 1e-12) << f;
    EXPECT_NEAR(v.viewDir[1], d.y, 1e-12) << f;
    EXPECT_NEAR(dot3D(v.viewDir, v.viewUp), 0.0, 1e-12);
  }
}

TEST(MovieSessionTest, SessionLimit) {
  // 129 keyframes, each span with LinPos and LinQuat sessions: 256 stored; one more fails.
  auto build = [](int extraSessions) {
    std::string text = header(130);
    for (int k = 0; k < 130; k++) {
      std::string s;
      if (k > 0 && k <= 128) s += "End LinPos LinQuat\n";
      if (k < 128) s += "Begin LinPos LinQuat\n";
      if (k == 128 && extraSessions) s += "Begin LinAspect\n";
      if (k == 129 && extraSessions) s += "End LinAspect\n";
      text += keyFrame(k * 2, viewText(k, 0, 0, 0), "", s);
    }
    return text;
  };
  MovieRecord ok;
  ASSERT_EQ(loadText(ok, build(0), 1, nullptr), 1);
  EXPECT_EQ(ok.nSessions, 256);
  MovieRecord over;
  std::string err;
  EXPECT_EQ(loadText(over, build(1), 1, &err), -1);
  EXPECT_EQ(err.rfind("Err: (line ", 0), 0u);
  EXPECT_NE(err.find(") too many [Begin-End] sessions in script file (max:256)\n\n"), std::string::npos);
}

TEST(MovieSessionTest, TranslateSessionIsCaseSensitive) {
  MovieRecord m;
  EXPECT_EQ(m.translateSession("LinPos"), 0);
  EXPECT_EQ(m.translateSession("FixHeadUp"), 9);
  EXPECT_EQ(m.translateSession("linPos"), -1);
}

// ---- Guide views ---------------------------------------------------------------------------

TEST(MovieSessionTest, SingleKeyFrameHasGuidesEqualToItsView) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(3, 4), 0);
  const keyFrameNode* k = m.findNthKeyFrame(0);
  EXPECT_EQ(k->guideIn.viewPos.x, 3);
  EXPECT_EQ(k->guideOut.viewPos.y, 4);
}

TEST(MovieSessionTest, EndFormAtTheEndsAndForRepeatedPositions) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(0, 0), 0);
  m.recordKeyFrame(viewAt(6, 0), 9);
  const keyFrameNode* first = m.findNthKeyFrame(0);
  const keyFrameNode* last = m.findNthKeyFrame(1);
  // V = P3 - P1 = (6, 0, 0); handles of a sixth of it.
  EXPECT_NEAR(lengthPHCoord(subPHCoord(first->guideOut.viewPos, PHCoord{1, 0, 0, 0})), 0.0, 1e-12);
  EXPECT_NEAR(lengthPHCoord(subPHCoord(last->guideIn.viewPos, PHCoord{5, 0, 0, 0})), 0.0, 1e-12);
  // Two keyframes at one position in the middle: the end form with the outer neighbours.
  MovieRecord r;
  r.recordKeyFrame(viewAt(0, 0), 0);
  r.recordKeyFrame(viewAt(6, 0), 9);
  r.recordKeyFrame(viewAt(6, 0), 9);
  r.recordKeyFrame(viewAt(12, 0), 9);
  const keyFrameNode* k1 = r.findNthKeyFrame(1);
  EXPECT_NEAR(lengthPHCoord(subPHCoord(k1->guideIn.viewPos, PHCoord{5, 0, 0, 0})), 0.0, 1e-12);
  EXPECT_NEAR(lengthPHCoord(subPHCoord(k1->guideOut.viewPos, PHCoord{7, 0, 0, 0})), 0.0, 1e-12);
}

TEST(MovieSessionTest, CollinearEvenlySpacedAtLevelZeroHandlesLieOnTheLine) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(0, 0), 0);
  m.recordKeyFrame(viewAt(1, 0), 9);
  m.recordKeyFrame(viewAt(2, 0), 9);
  const keyFrameNode* k = m.findNthKeyFrame(1);
  // N is zero, T is A's vector (towards P1), W of unit length: handles half a unit each way.
  EXPECT_NEAR(k->guideIn.viewPos.x * std::pow(10, k->guideIn.viewPos.s), 0.5, 1e-12);
  EXPECT_NEAR(k->guideOut.viewPos.x * std::pow(10, k->guideOut.viewPos.s), 1.5, 1e-12);
  EXPECT_NEAR(k->guideIn.viewPos.y, 0.0, 1e-12);
}

TEST(MovieSessionTest, LevelOneGivesTheClassicTangent) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(0, 0), 0);
  m.recordKeyFrame(viewAt(3, 3), 9);
  m.recordKeyFrame(viewAt(6, 0), 9);
  keyFrameNode* k = m.findNthKeyFrame(1);
  k->posLevel = 1.0;
  m.updateGuideView(k);
  double in[3], out[3];
  phCoordToPos3D(k->guideIn.viewPos, 0, in);
  phCoordToPos3D(k->guideOut.viewPos, 0, out);
  EXPECT_NEAR(in[0], 2.0, 1e-12);
  EXPECT_NEAR(in[1], 3.0, 1e-12);
  EXPECT_NEAR(out[0], 4.0, 1e-12);
}

TEST(MovieSessionTest, HandleTakesTheNearerNeighboursScale) {
  MovieRecord m;
  View a = viewAt(0.01, 0), b = viewAt(1, 0), c = viewAt(0, 1e6);
  m.recordKeyFrame(a, 0);
  m.recordKeyFrame(b, 9);
  m.recordKeyFrame(c, 9);
  const keyFrameNode* k = m.findNthKeyFrame(1);
  double d = lengthPHCoord(subPHCoord(k->guideIn.viewPos, b.viewPos));
  // Half the distance to the nearer neighbour (0.99 m), not of the far one.
  EXPECT_NEAR(d, 0.495, 1e-9);
}

TEST(MovieSessionTest, ScriptGuideStaysAndTheOtherSideIsComputed) {
  MovieRecord m;
  std::string text = header(3) + keyFrame(0, viewText(0, 0, 0, 0)) + keyFrame(10, viewText(1, 0, 0, 0)) +
                     "GuideFrame In\n" + viewText(0.5, 7, 0, 0) + keyFrame(20, viewText(2, 0, 0, 0));
  ASSERT_EQ(loadText(m, text, 1, nullptr), 1);
  const keyFrameNode* k = m.findNthKeyFrame(1);
  EXPECT_EQ(k->guideIn.viewPos.y, 7.0);
  EXPECT_NEAR(k->guideOut.viewPos.x * std::pow(10, k->guideOut.viewPos.s), 1.5, 1e-12);
  // Rebuilding doesn't touch it either.
  keyFrameNode* kk = m.findNthKeyFrame(1);
  m.updateGuideView(kk);
  EXPECT_EQ(kk->guideIn.viewPos.y, 7.0);
}

TEST(MovieSessionTest, OrientationGuidesTurnASixthOfTheWholeTurn) {
  MovieRecord m;
  View a = viewAt(0, 0), b = viewAt(1, 0), c = viewAt(2, 0);
  // Turn about y: -z, then half way, then +x.
  b.viewDir[0] = 1;
  b.viewDir[2] = -1;
  unify3D(b.viewDir);
  c.viewDir[0] = 1;
  c.viewDir[2] = 0;
  m.recordKeyFrame(a, 0);
  m.recordKeyFrame(b, 9);
  m.recordKeyFrame(c, 9);
  const keyFrameNode* k = m.findNthKeyFrame(1);
  // The whole turn is 90 degrees; a sixth of it is 15 degrees either side of 45.
  double angleOut = std::atan2(k->guideOut.viewDir[0], -k->guideOut.viewDir[2]) * 180 / 3.141592653589793;
  double angleIn = std::atan2(k->guideIn.viewDir[0], -k->guideIn.viewDir[2]) * 180 / 3.141592653589793;
  EXPECT_NEAR(angleOut, 60.0, 1e-9);
  EXPECT_NEAR(angleIn, 30.0, 1e-9);
}

TEST(MovieSessionTest, KernelWithANullNeighbourOnlyComplains) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(0, 0), 0);
  std::string err = testsupport::stderrOf([&] { m.updateGuideViewKernel(nullptr, m.keyFrames, nullptr, 3); });
  EXPECT_EQ(err,
            "Err: Big problem in your code!!!\n"
            "     because p2 should not be at the end or at the front!!!\n"
            "     so... you will have segmentation fault very soon...\n");
}

}  // namespace
