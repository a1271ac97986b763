// Writing movie scripts and the retimed export: the exact text, byte-identical round trips,
// the lost FixHeadUp, broken method fields, and paths at uniform and variable speed.
#include <gtest/gtest.h>

#include <cmath>
#include <string>
#include <vector>

#include "movie/movierec.h"
#include "tests/movie/script_fixtures.h"
#include "tests/support/testutil.h"

namespace {

using moviefixtures::header;
using moviefixtures::keyFrame;
using moviefixtures::viewAt;
using moviefixtures::loadText;
using moviefixtures::viewText;
using testsupport::readFile;
using testsupport::stderrOf;

std::string saveToText(MovieRecord& m, const testsupport::TempDir& dir, const std::string& name) {
  std::string path = dir.file(name);
  int r = 0;
  std::string err = stderrOf([&] { r = m.saveFile(path.c_str()); });
  EXPECT_EQ(r, 1);
  EXPECT_EQ(err, "saving script file [" + path + "]...\nfinished\n");
  return readFile(path);
}

TEST(MovieWriteTest, ExactTextOfASavedScript) {
  MovieRecord m;
  std::string text = header(2) + "define speed 2\n" +
                     keyFrame(0, viewText(1, 0, 0, 2), " Break FPos 0.5 1 2",
                              "Begin FixAtPt 1 2 3 4 SplQuat\n") +
                     "GuideFrame Out\n" + viewText(0, 1, 0, 0) +
                     keyFrame(5, viewText(0, 1, 0, 0, "1 0 0"), "", "End FixAtPt SplQuat\n");
  ASSERT_EQ(loadText(m, text, 1, nullptr), 1);
  testsupport::TempDir dir;
  std::string saved = saveToText(m, dir, "a.scp");
  const std::string block = "#####################################\n";
  const std::string expected =
      "Movie Script\n------------\n\n\n" + block + "# Header\n" + block + "\n" +
      "resolution : 320 x 240\n"
      "interp     : linear\n"
      "nKeyFrames : 2\n\n\n" +
      block + "# Definition session\n" + block + "\n" +
      "define speed\t\t\t\t\t   2.0000\n\n\n" + block + "# KeyFrames\n" + block + "\n" +
      "KeyFrame 0 Break FPos 0.50 1.00 2.00\n"
      "Begin FixAtPt 1.000 2.000 3.000 4.000\n"
      "Begin SplQuat\n"
      "-----------\n"
      // The keyframe turned to face the held point, far beyond it.
      "viewPos   = 1.00000 0.00000 0.00000 2.00000\n"
      "viewDir   = 0.26478 0.53490 0.80235\n"
      "viewUp    = -0.16763 0.84491 -0.50796\n"
      "fovy      = 45.00000\n"
      "aspect    = 1.00000\n"
      "\n"
      "GuideFrame Out\n"
      "viewPos   = 0.00000 1.00000 0.00000 0.00000\n"
      "viewDir   = 0.00000 0.00000 -1.00000\n"
      "viewUp    = 0.00000 1.00000 0.00000\n"
      "fovy      = 45.00000\n"
      "aspect    = 1.00000\n"
      "\n"
      "KeyFrame 5\n"
      "End FixAtPt\n"
      "End SplQuat\n"
      "-----------\n";
  EXPECT_EQ(saved.substr(0, expected.size()), expected) << saved;
}

TEST(MovieWriteTest, WrittenReadAndWrittenAgainIsIdentical) {
  const std::string scripts[] = {
      header(4, "spline spline-quat spline-fovy spline-aspect-ratio") + "define a 1.5\ndefine bee 2\n" +
          keyFrame(0, viewText(0.5, 0.25, 0, 17.3, "1 2 3", "0 0 1", 30, 1.3333), " FQuat 0.25 2 1.5") +
          keyFrame(7, viewText(-3, 1, 2, -4, "0 -1 0", "1 0 0", 12.5, 0.75), " Break FAspect 3 1 1",
                   "Begin LinPos FixAtPt 1 1 1 25\n") +
          "GuideFrame In\n" + viewText(1, 1, 1, 1) + "GuideFrame Out\n" + viewText(2, 2, 2, 2) +
          keyFrame(19, viewText(4, 4, 4, 30)) +
          keyFrame(40, viewText(1, 0, 0, 0, "0 0 1", "0 1 0", 90, 2), " FFov 10 0.5 0.5",
                   "End LinPos FixAtPt\n"),
      header(1) + keyFrame(3, viewText(1, 2, 3, 4)),
      header(0),
  };
  for (const std::string& script : scripts) {
    MovieRecord first;
    ASSERT_EQ(loadText(first, script, 1, nullptr), 1);
    testsupport::TempDir dir;
    std::string a = saveToText(first, dir, "a.scp");
    MovieRecord second;
    ASSERT_EQ(loadText(second, a, 1, nullptr), 1);
    std::string b = saveToText(second, dir, "b.scp");
    EXPECT_EQ(a, b);
    EXPECT_EQ(second.getNFrames(), first.getNFrames());
  }
}

TEST(MovieWriteTest, AllLinearWritesTheOneWord) {
  MovieRecord m;
  ASSERT_EQ(loadText(m, header(1, "linear linear-quat linear-fovy linear-aspect-ratio") +
                            keyFrame(0, viewText(0, 0, 0, 0)),
                     1, nullptr),
            1);
  testsupport::TempDir dir;
  std::string saved = saveToText(m, dir, "a.scp");
  EXPECT_NE(saved.find("\ninterp     : linear\n"), std::string::npos);
  MovieRecord back;
  ASSERT_EQ(loadText(back, saved, 1, nullptr), 1);
  EXPECT_EQ(back.interpMethod, LinPos);
  EXPECT_EQ(back.interpMethodQuat, LinQuat);
  EXPECT_EQ(back.interpMethodFovy, LinFov);
  EXPECT_EQ(back.interpMethodAspect, LinAspect);
}

TEST(MovieWriteTest, FixHeadUpDoesNotSurviveASave) {
  MovieRecord m;
  std::string text = header(2) + keyFrame(0, viewText(0, 0, 0, 0), "", "Begin FixHeadUp 0 1 0\n") +
                     keyFrame(5, viewText(1, 0, 0, 0), "", "End FixHeadUp\n");
  ASSERT_EQ(loadText(m, text, 1, nullptr), 1);
  testsupport::TempDir dir;
  std::string saved = saveToText(m, dir, "a.scp");
  EXPECT_NE(saved.find("\nBegin FixHeadUp\n"), std::string::npos);
  MovieRecord back;
  std::string err;
  EXPECT_EQ(loadText(back, saved, 1, &err), -1);
  EXPECT_EQ(err, "Err : (line 25) Need 3 numbers for fixed pt (in PHC) after [Begin FixHeadUp].\n");
}

TEST(MovieWriteTest, BrokenMethodFieldStopsTheSave) {
  const char* fields[4] = {"interpMethod", "interpMethodQuat", "interpMethodFovy", "interpMethodAspect"};
  for (int i = 0; i < 4; i++) {
    MovieRecord m;
    int* channel[4] = {&m.interpMethod, &m.interpMethodQuat, &m.interpMethodFovy, &m.interpMethodAspect};
    *channel[i] = 3;
    testsupport::TempDir dir;
    std::string path = dir.file("bad.scp");
    std::string err = stderrOf([&] { EXPECT_EQ(m.saveFile(path.c_str()), -1); });
    EXPECT_EQ(err, "saving script file [" + path + "]...\nErr (MovieRecord::saveFile): something's wrong with the " +
                       fields[i] + ".\n\n");
    EXPECT_EQ(readFile(path).rfind("Movie Script\n", 0), 0u);  // a partial file stays
  }
}

TEST(MovieWriteTest, UnwritablePath) {
  MovieRecord m;
  std::string err = stderrOf([&] { EXPECT_EQ(m.saveFile("/nonexistent/dir/x.scp"), -1); });
  EXPECT_EQ(err, "saving script file [/nonexistent/dir/x.scp]...\n");
  err = stderrOf([&] { EXPECT_EQ(m.outputUniformSpeedPath("/nonexistent/dir/x.scp", 0), -1); });
  EXPECT_EQ(err, "saving script file [/nonexistent/dir/x.scp]...\n");
  const double speed[1] = {1};
  err = stderrOf([&] { EXPECT_EQ(m.outputVariableSpeedPath("/nonexistent/dir/x.scp", speed, 0), -1); });
  EXPECT_EQ(err, "saving script file [/nonexistent/dir/x.scp]...\n");
}

// ---- Retimed export ------------------------------------------------------------------------

TEST(MovieWriteTest, SingleKeyFrameExport) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(1, 2), 0);
  testsupport::TempDir dir;
  std::string path = dir.file("u.scp");
  std::string err = stderrOf([&] { EXPECT_EQ(m.outputUniformSpeedPath(path.c_str(), 0), 1); });
  EXPECT_EQ(err, "saving script file [" + path + "]...\nfinished\n");  // no lengths
  MovieRecord back;
  ASSERT_EQ(back.loadFile(path.c_str(), 1), 1);
  EXPECT_EQ(back.getNKeyFrames(), 1);
  std::string text = readFile(path);
  EXPECT_NE(text.find("\nnKeyFrames : 1\n"), std::string::npos);
  EXPECT_NE(text.find("\nKeyFrame 0\n"), std::string::npos);
}

TEST(MovieWriteTest, UniformSpeedSpacesFramesEvenly) {
  MovieRecord m;
  m.setInterpolation(SplPos);
  m.recordKeyFrame(viewAt(0, 0), 0);
  m.recordKeyFrame(viewAt(1, 0), 2);   // a short span with many frames
  m.recordKeyFrame(viewAt(10, 0), 2);  // a long one with few
  testsupport::TempDir dir;
  std::string path = dir.file("u.scp");
  std::string err = stderrOf([&] { EXPECT_EQ(m.outputUniformSpeedPath(path.c_str(), 0), 1); });
  EXPECT_NE(err.find("length( 0) = "), std::string::npos);
  EXPECT_NE(err.find("length( 1) = "), std::string::npos);
  EXPECT_NE(err.find("total nodes  = 7\n"), std::string::npos);
  EXPECT_NE(err.find("Dump frame 5\n"), std::string::npos);
  MovieRecord back;
  ASSERT_EQ(back.loadFile(path.c_str(), 1), 1);
  ASSERT_EQ(back.getNKeyFrames(), 7);
  EXPECT_EQ(back.interpMethod, LinPos);
  // Consecutive frames stand (nearly) the same distance apart along the path.
  std::vector<double> xs;
  for (int k = 0; k < 7; k++) {
    const PHCoord& p = back.findNthKeyFrame(k)->view.viewPos;
    xs.push_back(p.x * std::pow(10.0, p.s));
  }
  double total = m.computeLength(0, 0, 1, 0) + m.computeLength(1, 0, 1, 0);
  for (int k = 1; k < 7; k++) EXPECT_NEAR(xs[k] - xs[k - 1], total / 6, 2e-2) << k;
}

TEST(MovieWriteTest, DoubleFramesMakeTwiceMinusOne) {
  MovieRecord m;
  m.recordKeyFrame(viewAt(0, 0), 0);
  m.recordKeyFrame(viewAt(10, 0), 9);  // 11 frames
  testsupport::TempDir dir;
  std::string path = dir.file("d.scp");
  stderrOf([&] { EXPECT_EQ(m.outputUniformSpeedPath(path.c_str(), 1), 1); });
  MovieRecord back;
  ASSERT_EQ(back.loadFile(path.c_str(), 1), 1);
  EXPECT_EQ(back.getNKeyFrames(), 21);
  EXPECT_EQ(back.getNFrames(), 21);  // numbered 0 to 20 in steps of 1
  for (int k = 1; k < 21; k++) EXPECT_EQ(back.findNthKeyFrame(k)->nFrameFrm, 0);
}

TEST(MovieWriteTest, EqualSpeedsGiveTheUniformPath) {
  MovieRecord m;
  m.setInterpolation(SplPos);
  m.recordKeyFrame(viewAt(0, 0), 0);
  m.recordKeyFrame(viewAt(3, 4), 3);
  m.recordKeyFrame(viewAt(10, 0), 5);
  testsupport::TempDir dir;
  std::string u = dir.file("u.scp"), v = dir.file("v.scp");
  const std::vector<double> speed(m.getNFrames(), 2.5);
  std::string err;
  stderrOf([&] { EXPECT_EQ(m.outputUniformSpeedPath(u.c_str(), 0), 1); });
  err = stderrOf([&] { EXPECT_EQ(m.outputVariableSpeedPath(v.c_str(), speed.data(), 0), 1); });
  EXPECT_NE(err.find("Dump frame 1 (speed 2.500000 and length "), std::string::npos);
  std::string a = readFile(u), b = readFile(v);
  // The same frames; only the count line differs in its word.
  EXPECT_NE(b.find("\nnFrames    : 11\n"), std::string::npos);
  b.replace(b.find("nFrames    : 11"), 15, "nKeyFrames : 11");
  EXPECT_EQ(a, b);
}

TEST(MovieWriteTest, VariableSpeedSlowsWhereTheSpeedIsLow) {
  MovieRecord m;
  m.setInterpolation(SplPos);
  m.recordKeyFrame(viewAt(0, 0), 0);
  m.recordKeyFrame(viewAt(9, 0), 8);  // 10 frames
  std::vector<double> speed = {1, 1, 1, 1, 1, 3, 3, 3, 3, 3};
  testsupport::TempDir dir;
  std::string path = dir.file("v.scp");
  stderrOf([&] { EXPECT_EQ(m.outputVariableSpeedPath(path.c_str(), speed.data(), 0), 1); });
  MovieRecord back;
  ASSERT_EQ(back.loadFile(path.c_str(), 1), 1);
  auto x = [&](int k) {
    const PHCoord& p = back.findNthKeyFrame(k)->view.viewPos;
    return p.x * std::pow(10.0, p.s);
  };
  EXPECT_LT(x(2) - x(1), x(8) - x(7));
  EXPECT_NEAR(x(9), 9.0, 1e-9);  // the last keyframe exactly
}

}  // namespace
