// Reading movie scripts: the header, definitions, keyframes, factors and views, every message
// with its line number, and damaged files of every kind.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "movie/movierec.h"
#include "tests/movie/script_fixtures.h"
#include "tests/support/testutil.h"

namespace {

using moviefixtures::header;
using moviefixtures::keyFrame;
using moviefixtures::loadText;
using moviefixtures::viewText;

std::string view0() { return viewText(0, 0, 0, 0); }
std::string view1() { return viewText(1, 0, 0, 0); }
// Two keyframes: lines 7 to 14 and 15 to 22.
std::string twoKeys() { return header(2) + keyFrame(0, view0()) + keyFrame(10, view1()); }

std::string replaced(std::string text, const std::string& from, const std::string& to) {
  size_t at = text.find(from);
  EXPECT_NE(at, std::string::npos) << from;
  if (at != std::string::npos) text.replace(at, from.size(), to);
  return text;
}

const std::string kKeyFrameSubIdList =
    "       valid subID are [Break],\n"
    "                       [FPos],\n"
    "                       [FQuat],\n"
    "                       [FFov],\n"
    "                    OR [FAspect].\n";

const std::string kInterpList =
    "      valid interp method should be:\n"
    "        - [linear]\n"
    "        - [spline]\n"
    "        - [linear-quat]\n"
    "        - [spline-quat]\n"
    "        - [linear-fovy]\n"
    "        - [spline-fovy]\n"
    "        - [linear-aspect-ratio]\n"
    "        - [spline-aspect-ratio]\n";

struct Damaged {
  const char* what;
  std::string text;
  std::string message;
};

// Each damaged script fails with exactly its message, whatever part of the file is hit.
TEST(MovieReadTest, DamagedScriptsGiveTheirMessageWithTheLine) {
  const std::string good = twoKeys();
  const std::vector<Damaged> cases = {
      {"empty file", "", "Err : (line 1) Wrong/Missing script header [Movie Script]\n\n"},
      {"wrong title", replaced(good, "Movie Script", "Movie script"),
       "Err : (line 1) Wrong/Missing script header [Movie Script]\n\n"},
      {"binary junk", std::string("\x7f" "ELF\x02\x01\x01\x00\x00\x00\xff\xfe\n", 14),
       "Err : (line 1) Wrong/Missing script header [Movie Script]\n\n"},
      {"title only", "Movie Script\n", "Err : (line 2) should be ----- after header [Movie Script]\n\n"},
      {"no separator", replaced(good, "------------\n", "============\n"),
       "Err : (line 2) should be ----- after header [Movie Script]\n\n"},
      {"resolution word", replaced(good, "resolution :", "resolutio :"),
       "Err : (line 3) missing identifier [resolution]\n\n"},
      {"resolution by", replaced(good, "320 x 240", "320 by 240"),
       "Err : (line 3) format should be [resolution : <winW> x <winH>]\n\n"},
      {"resolution short", replaced(good, "320 x 240", "320 x"),
       "Err : (line 3) format should be [resolution : <winW> x <winH>]\n\n"},
      {"resolution zero", replaced(good, "320 x 240", "0 x 240"),
       "Err : (line 3) Non-positive window sizes [0 x 240]\n\n"},
      {"interp word", replaced(good, "interp : linear", "interpolation : linear"),
       "Err : (line 4) missing identifier [interp]\n\n"},
      {"interp colon", replaced(good, "interp : linear", "interp linear"),
       "Err : (line 4) missing token [:] after [interp]\n\n"},
      {"interp unknown", replaced(good, "interp : linear", "interp : linear cubic"),
       "Err : (line 4) undefined interpolation method [cubic]\n" + kInterpList},
      {"count short", replaced(good, "nKeyFrames : 2", "nKeyFrames :"),
       "Err : (line 5) the format should be [nKeyFrames : <# of keyframes>]\n\n"},
      {"count word", replaced(good, "nKeyFrames : 2", "frames : 2"),
       "Err : (line 5) missing identifier [nFrames/nKeyFrames]\n\n"},
      {"count colon", replaced(good, "nKeyFrames : 2", "nKeyFrames = 2"),
       "Err : (line 5) the format should be [nKeyFrames : <# of keyframes>]\n\n"},
      {"count negative", replaced(good, "nKeyFrames : 2", "nKeyFrames : -1"),
       "Err : (line 5) number of keyframes should be positive\n\n"},
      {"header alone", header(2), "Err: (line 7) no more keyframe to read?\n\n"},
      {"keyframe word", replaced(good, "KeyFrame 0", "Keyframe 0"),
       "Err : (line 7) Wrong keyframe header [Keyframe]\n"},
      {"keyframe number", replaced(good, "KeyFrame 0", "KeyFrame x"),
       "Err : (line 7) Missing frame number after [KeyFrame]\n"},
      {"same frame", replaced(good, "KeyFrame 10", "KeyFrame 0"), "Err : (line 15) incorrect frame number.\n"},
      {"negative frame", replaced(good, "KeyFrame 0", "KeyFrame -1"), "Err : (line 7) incorrect frame number.\n"},
      {"sub id", replaced(good, "KeyFrame 0", "KeyFrame 0 Bogus"),
       "Err : (line 7) unknown identifiers [Bogus] after [KeyFrame %d].\n" + kKeyFrameSubIdList},
      {"factor short", replaced(good, "KeyFrame 0", "KeyFrame 0 FPos 1 1"),
       "Err : (line 7) failed to read 3 arguments after [FPos].\n"},
      {"level high", replaced(good, "KeyFrame 0", "KeyFrame 0 FPos 10.5 1 1"),
       "Err : (line 7) level-factor (1st arg. of FPos) ranges [0.0,0.0]\n"},
      {"level low", replaced(good, "KeyFrame 0", "KeyFrame 0 FAspect -0.5 1 1"),
       "Err : (line 7) level-factor (1st arg. of FAspect) ranges [0.0,0.0]\n"},
      {"in zero", replaced(good, "KeyFrame 0", "KeyFrame 0 FQuat 0 0 1"),
       "Err : (line 7) in-factor (2nd arg. of FQuat) should be positive\n"},
      {"out negative", replaced(good, "KeyFrame 0", "KeyFrame 0 FFov 0 1 -1"),
       "Err : (line 7) out-factor (3rd arg. of FFov) should be positive\n"},
      {"session word", replaced(good, "KeyFrame 0\n", "KeyFrame 0\nStart LinPos\n"),
       "Err : (line 8) unknown identifier [Start] encountered.\n      should be [-----] OR [Begin] OR [End].\n"},
      {"session junk", replaced(good, "KeyFrame 0\n", std::string("KeyFrame 0\n\x01\x02\xff\n")),
       "Err : (line 8) unknown identifier [\x01\x02\xff] encountered.\n"
       "      should be [-----] OR [Begin] OR [End].\n"},
      {"open session", replaced(good, "KeyFrame 0\n", "KeyFrame 0\nBegin SplPos\n"),
       "Err: [Begin SplPos] encountered in the line with Keyframe 0,\n     but correspond [End SplPos] is missing\n"},
      {"viewPos word", replaced(good, "viewPos = 0", "viewPosition = 0"),
       "Err : (line 9) should have identifier [viewPos] but found [viewPosition].\n"},
      {"viewPos short", replaced(good, "viewPos = 0 0 0 0", "viewPos = 0 0 0"),
       "Err : (line 9) missing the argument 4 after [viewPos].\n"},
      {"viewPos equals", replaced(good, "viewPos = 0", "viewPos 0"), "Err : (line 9) missing [=] after [viewPos].\n"},
      {"viewDir word", replaced(good, "viewDir", "lookAt"),
       "Err : (line 10) should have identifier [viewDir] OR [viewVec] but found [lookAt].\n"},
      {"viewDir equals", replaced(good, "viewDir =", "viewDir"),
       "Err : (line 10) missing [=] after [viewDir] OR [viewVec].\n"},
      {"viewDir zero", replaced(good, "viewDir = 0 0 -1", "viewDir = 0 0 0"),
       "Err : (line 10) viewDir should be a non-zero vector.\n"},
      {"viewUp zero", replaced(good, "viewUp = 0 1 0", "viewUp = 0 0 0"),
       "Err : (line 11) viewUp should be a non-zero vector.\n"},
      {"viewUp short", replaced(good, "viewUp = 0 1 0", "viewUp = 0 1"),
       "Err : (line 11) missing the argument 3 after [viewUp] or [upVec].\n"},
      {"fovy zero", replaced(good, "fovy = 45", "fovy = 0"), "Err : (line 12) fovy should be positive.\n"},
      {"fovy missing", replaced(good, "fovy = 45", "fovy ="),
       "Err : (line 12) missing the argument 1 after [fovy] or [viewFOV].\n"},
      {"aspect negative", replaced(good, "aspect = 1", "aspect = -1"),
       "Err : (line 13) aspect ratio should be positive.\n"},
      {"stray line", replaced(good, "KeyFrame 10", "Junk\nKeyFrame 10"),
       "Err : (line 15) unknown identifier in [Junk].\n"},
      {"cut after first", header(2) + keyFrame(0, view0()), "Err : (line 15) Encounter EOF without the data.\n"},
      {"cut in view", header(2) + "KeyFrame 0\n-----------\nviewPos = 0 0 0 0\n",
       "Err : (line 10) Encounter EOF without the data.\n"},
      {"last line unended", good.substr(0, good.size() - 2), "Err : (line 21) Encounter EOF without the data.\n"},
      {"NUL in a line", replaced(good, "viewPos = 0 0 0 0", std::string("viewPos = 0 0\0 0 0", 19)),
       "Err : (line 9) missing the argument 3 after [viewPos].\n"},
  };
  for (const Damaged& c : cases) {
    MovieRecord m;
    std::string err;
    EXPECT_EQ(loadText(m, c.text, 1, &err), -1) << c.what;
    EXPECT_EQ(err, c.message) << c.what;
  }
}

TEST(MovieReadTest, EveryTruncationAndByteFlipFailsCleanly) {
  // A fuzz-like sweep: the script cut at every byte, and every byte replaced by junk. Each load
  // ends, and a failure says so in an "Err" line.
  const std::string good = header(2) + keyFrame(0, view0(), " Break FPos 0.5 1 1", "Begin SplPos\n") +
                           keyFrame(10, view1(), "", "End SplPos\n") + "GuideFrame In\n" + view0();
  const char junk[] = {'\0', '\xff', 'x', '-', '#', '\n', ' '};
  std::vector<std::string> damaged;
  for (size_t cut = 0; cut < good.size(); cut++) damaged.push_back(good.substr(0, cut));
  for (size_t at = 0; at < good.size(); at++)
    for (char j : junk) {
      std::string d = good;
      d[at] = j;
      damaged.push_back(d);
    }
  for (const std::string& text : damaged) {
    MovieRecord m;
    std::string err;
    int r = loadText(m, text, 1, &err);
    ASSERT_TRUE(r == 1 || r == -1);
    if (r == -1) {
      ASSERT_TRUE(err.rfind("Err", 0) == 0) << err << "\n---\n" << text;
    }
    // What was linked is whole: every frame of it can be retrieved.
    View v;
    for (int f = 0; f < m.getNFrames(); f++) ASSERT_EQ(m.retrieveFrame(static_cast<double>(f), &v), 1);
  }
}

TEST(MovieReadTest, OverlongLinesAreReadInPieces) {
  std::string longLine = "KeyFrame 0";
  while (longLine.size() < 600) longLine += " Break";
  MovieRecord m;
  std::string err;
  EXPECT_EQ(loadText(m, replaced(twoKeys(), "KeyFrame 0", longLine), 1, &err), -1);
  // A line is read 511 characters at a time: the cut falls inside a word, which is unknown.
  EXPECT_EQ(err, "Err : (line 7) unknown identifiers [Br] after [KeyFrame %d].\n" + kKeyFrameSubIdList);
}

TEST(MovieReadTest, ZeroKeyFramesWarnsAndSucceeds) {
  MovieRecord m;
  std::string err;
  EXPECT_EQ(loadText(m, header(0), 1, &err), 1);
  EXPECT_EQ(err, "warning: no keyframe in the scp file.\n");
  EXPECT_EQ(m.getNKeyFrames(), 0);
  // And the list that was there stays as it was.
  ASSERT_EQ(loadText(m, twoKeys(), 1, nullptr), 1);
  EXPECT_EQ(loadText(m, header(0) + "KeyFrame 20\n", 1, &err), 1);
  EXPECT_EQ(m.getNKeyFrames(), 2);
}

TEST(MovieReadTest, NFramesWordMeansKeyFrameCount) {
  MovieRecord m;
  std::string text = replaced(twoKeys(), "nKeyFrames : 2", "nFrames : 2");
  ASSERT_EQ(loadText(m, text, 1, nullptr), 1);
  EXPECT_EQ(m.getNKeyFrames(), 2);
  int w = 0, h = 0;
  m.getWindowSize(&w, &h);
  EXPECT_EQ(w, 320);
  EXPECT_EQ(h, 240);
}

TEST(MovieReadTest, HeaderEchoAndProgress) {
  MovieRecord m;
  std::string err;
  std::string text = replaced(twoKeys(), "interp : linear", "interp : spline linear-quat spline-fovy");
  ASSERT_EQ(loadText(m, text, 0, &err), 1);
  EXPECT_NE(err.find("\nresolution : 320 x 240\n"
                     "interp     : spline linear-quat spline-fovy linear-aspect-ratio\n"
                     "nFrames    : 2\n\n"),
            std::string::npos)
      << err;
  EXPECT_NE(err.find("Reading 2 keyframes ......\n    reading keyframe 0 (frame 0)\n"), std::string::npos);
  EXPECT_NE(err.find("\tviewPos\t= 0.000000 0.000000 0.000000 0.000000\n"), std::string::npos);
  EXPECT_NE(err.find("    reading keyframe 1 (frame 10)\n"), std::string::npos);
  EXPECT_EQ(err.substr(err.size() - 9), "finished\n");
  EXPECT_EQ(m.interpMethod, SplPos);
  EXPECT_EQ(m.interpMethodQuat, LinQuat);
  EXPECT_EQ(m.interpMethodFovy, SplFov);
  EXPECT_EQ(m.interpMethodAspect, LinAspect);
  // The last word of a channel wins.
  MovieRecord n;
  ASSERT_EQ(loadText(n, replaced(twoKeys(), "interp : linear", "interp : spline linear"), 1, nullptr), 1);
  EXPECT_EQ(n.interpMethod, LinPos);
}

TEST(MovieReadTest, FirstKeyFrameNumberTenKeepsItsGap) {
  MovieRecord m;
  ASSERT_EQ(loadText(m, header(1) + keyFrame(10, view0()), 1, nullptr), 1);
  EXPECT_EQ(m.findNthKeyFrame(0)->nFrameFrm, 10);
  testsupport::TempDir dir;
  testsupport::stderrOf([&] { m.saveFile(dir.file("out.scp").c_str()); });
  EXPECT_NE(testsupport::readFile(dir.file("out.scp")).find("KeyFrame 10\n"), std::string::npos);
}

TEST(MovieReadTest, BreakAndFactorsStopAtAComment) {
  MovieRecord m;
  std::string err;
  ASSERT_EQ(loadText(m, replaced(twoKeys(), "KeyFrame 0", "KeyFrame 0 Break FPos 10 2 3 # FQuat nonsense"), 0,
                     &err),
            1);
  keyFrameNode* k = m.findNthKeyFrame(0);
  EXPECT_EQ(k->breakFlag, 1);
  EXPECT_EQ(k->posLevel, 10);
  EXPECT_EQ(k->posIn, 2);
  EXPECT_EQ(k->posOut, 3);
  EXPECT_EQ(k->quatIn, 1);
  EXPECT_NE(err.find("\t-> FPos 10.000000 2.000000 3.000000\n"), std::string::npos);
}

TEST(MovieReadTest, FactorsThatArentNumbersCountAsZero) {
  MovieRecord m;
  std::string err;
  EXPECT_EQ(loadText(m, replaced(twoKeys(), "KeyFrame 0", "KeyFrame 0 FPos abc 1 1"), 1, &err), 1);
  EXPECT_EQ(m.findNthKeyFrame(0)->posLevel, 0.0);
}

TEST(MovieReadTest, OldWordsAreReadAndVectorsMadeUnit) {
  MovieRecord m;
  std::string text = replaced(replaced(replaced(twoKeys(), "viewDir = 0 0 -1", "viewVec = 0 0 -4"), "viewUp",
                                       "upVec"),
                              "fovy", "viewFOV");
  ASSERT_EQ(loadText(m, text, 1, nullptr), 1);
  EXPECT_EQ(m.findNthKeyFrame(0)->view.viewDir[2], -1.0);
  EXPECT_EQ(m.findNthKeyFrame(0)->view.fovy, 45.0);
  testsupport::TempDir dir;
  testsupport::stderrOf([&] { m.saveFile(dir.file("out.scp").c_str()); });
  std::string saved = testsupport::readFile(dir.file("out.scp"));
  EXPECT_EQ(saved.find("viewVec"), std::string::npos);
  EXPECT_EQ(saved.find("upVec"), std::string::npos);
  EXPECT_NE(saved.find("viewDir   = 0.00000 0.00000 -1.00000\n"), std::string::npos);
}

TEST(MovieReadTest, AfterTheLastKeyFrameReadingEnds) {
  MovieRecord m;
  std::string err;
  std::string text = twoKeys() + "whatever comes here\n" + keyFrame(20, view0());
  EXPECT_EQ(loadText(m, text, 1, &err), 1);
  EXPECT_EQ(err, "");
  EXPECT_EQ(m.getNKeyFrames(), 2);
  // A keyframe too many is ignored: the count says when to stop.
  MovieRecord n;
  EXPECT_EQ(loadText(n, twoKeys() + keyFrame(20, view0()), 1, &err), 1);
  EXPECT_EQ(err, "");
  EXPECT_EQ(n.getNKeyFrames(), 2);
}

TEST(MovieReadTest, GuideFramesByTheScript) {
  MovieRecord m;
  std::string err;
  std::string text = header(2) + keyFrame(0, view0()) + "GuideFrame Out\n" + viewText(0, 5, 0, 0) +
                     keyFrame(10, view1()) + "GuideFrame In\n" + viewText(2, 5, 0, 0);
  ASSERT_EQ(loadText(m, text, 0, &err), 1);
  EXPECT_NE(err.find("\t[GuideFrame Out]\n"), std::string::npos);
  EXPECT_NE(err.find("\t[GuideFrame In]\n"), std::string::npos);
  EXPECT_TRUE(m.findNthKeyFrame(0)->guideOutByUser);
  EXPECT_FALSE(m.findNthKeyFrame(0)->guideInByUser);
  EXPECT_EQ(m.findNthKeyFrame(0)->guideOut.viewPos.y, 5.0);
  EXPECT_EQ(m.findNthKeyFrame(1)->guideIn.viewPos.x, 2.0);
}

TEST(MovieReadTest, DefinitionsAddOverwriteAndEcho) {
  MovieRecord m;
  std::string err;
  std::string text = header(1) + "define speed 2.5\ndefine a 1\ndefine averyveryverylongname 3\n"
                     "# a comment\n\ndefine speed 4\ndefine speedy 5\n" + keyFrame(0, view0());
  ASSERT_EQ(loadText(m, text, 0, &err), 1);
  // Names shorter than six characters get no tab at all: the shifted count wraps.
  EXPECT_NE(err.find("read definition [ speed   2.5000 ]\n"), std::string::npos) << err;
  EXPECT_NE(err.find("read definition [ speedy\t\t\t   5.0000 ]\n"), std::string::npos) << err;
  EXPECT_NE(err.find("read definition [ a   1.0000 ]\n"), std::string::npos);
  EXPECT_NE(err.find("read definition [ averyveryverylongname\t\t   3.0000 ]\n"), std::string::npos);
  EXPECT_NE(err.find("read definition [ speed   4.0000 ] (duplicate)\n"), std::string::npos);
  double v = 0;
  EXPECT_EQ(m.queryDef("speed", &v), 1);
  EXPECT_EQ(v, 4.0);
  EXPECT_EQ(m.nDefinitions, 4);
  err = testsupport::stderrOf([&] { EXPECT_EQ(m.queryDef("none", &v), 0); });
  EXPECT_EQ(err, "Warning: cannot find definition [none]\n");
  err = testsupport::stderrOf([&] { m.printDef(); });
  EXPECT_EQ(err, "definitions[speed=4.000000]\ndefinitions[a=1.000000]\ndefinitions[averyveryverylongname=3.000000]\n"
            "definitions[speedy=5.000000]\n");
}

TEST(MovieReadTest, DefinitionValuesAreSinglePrecision) {
  MovieRecord m;
  ASSERT_EQ(loadText(m, header(1) + "define third 0.1\n" + keyFrame(0, view0()), 1, nullptr), 1);
  double v = 0;
  m.queryDef("third", &v);
  EXPECT_EQ(v, static_cast<double>(0.1f));
}

TEST(MovieReadTest, DefinitionLimit) {
  std::string defs256, defs257;
  for (int i = 0; i < 256; i++) defs256 += "define d" + std::to_string(i) + " 1\n";
  defs257 = defs256 + "define d256 1\n";
  MovieRecord ok;
  EXPECT_EQ(loadText(ok, header(1) + defs256 + keyFrame(0, view0()), 1, nullptr), 1);
  EXPECT_EQ(ok.nDefinitions, 256);
  MovieRecord tooMany;
  std::string err;
  EXPECT_EQ(loadText(tooMany, header(1) + defs257 + keyFrame(0, view0()), 1, &err), -1);
  EXPECT_EQ(err, "Err: (line 263) too many definitions in script file (max:256)\n\n");
  // An overwrite of a known name is no new definition.
  MovieRecord again;
  EXPECT_EQ(loadText(again, header(1) + defs256 + "define d0 2\n" + keyFrame(0, view0()), 1, nullptr), -1);
}

TEST(MovieReadTest, ShortDefineIsAWrongKeyFrameHeader) {
  MovieRecord m;
  std::string err;
  EXPECT_EQ(loadText(m, header(1) + "define lonely\n" + keyFrame(0, view0()), 1, &err), -1);
  EXPECT_EQ(err, "Err : (line 7) Wrong keyframe header [define]\n");
}

TEST(MovieReadTest, AppendingCountsFromTheTailIndex) {
  MovieRecord m;
  ASSERT_EQ(loadText(m, twoKeys(), 1, nullptr), 1);
  // The tail's index is 1 (its frame is 10): a first frame of 5 leaves a gap of 3.
  ASSERT_EQ(loadText(m, header(1) + keyFrame(5, viewText(2, 0, 0, 0)), 1, nullptr), 1);
  EXPECT_EQ(m.getNKeyFrames(), 3);
  EXPECT_EQ(m.findNthKeyFrame(2)->nFrameFrm, 3);
  EXPECT_EQ(m.findNthKeyFrame(2)->id, 2);
  std::string err;
  EXPECT_EQ(loadText(m, header(1) + keyFrame(2, view0()), 1, &err), -1);
  EXPECT_EQ(err, "Err : (line 7) incorrect frame number.\n");
}

TEST(MovieReadTest, FailedLoadKeepsWhatWasLinked) {
  MovieRecord m;
  std::string text = header(3) + keyFrame(0, view0()) + keyFrame(10, view1()) + "KeyFrame 20\n-----------\n";
  EXPECT_EQ(loadText(m, text, 1, nullptr), -1);
  EXPECT_EQ(m.getNKeyFrames(), 2);
}

TEST(MovieReadTest, MissingFile) {
  MovieRecord m;
  std::string err = testsupport::stderrOf([&] { EXPECT_EQ(m.loadFile("/nonexistent/x.scp", 1), -1); });
  EXPECT_EQ(err, "");
  err = testsupport::stderrOf([&] { EXPECT_EQ(m.loadFile("/nonexistent/x.scp", 0), -1); });
  EXPECT_EQ(err, "Err : cannot open movie script [/nonexistent/x.scp]\n");
}

TEST(MovieReadTest, LineClasses) {
  EXPECT_EQ(MovieRecord::isComment("  # x\n"), 1);
  EXPECT_EQ(MovieRecord::isComment("   \n"), 0);
  EXPECT_EQ(MovieRecord::isComment("x # y\n"), 0);
  EXPECT_EQ(MovieRecord::isBlankLine(""), 1);
  EXPECT_EQ(MovieRecord::isBlankLine(" \t\r\n"), 1);
  EXPECT_EQ(MovieRecord::isBlankLine(" a\n"), 0);
  EXPECT_EQ(MovieRecord::isSeparatorLine("-----------\n"), 1);
  EXPECT_EQ(MovieRecord::isSeparatorLine("- - -\n"), 1);
  EXPECT_EQ(MovieRecord::isSeparatorLine("-\n"), 1);
  EXPECT_EQ(MovieRecord::isSeparatorLine(" ---\n"), 0);
  EXPECT_EQ(MovieRecord::isSeparatorLine("--x-\n"), 0);
  EXPECT_EQ(MovieRecord::isSeparatorLine("---x"), 1);  // the last character isn't looked at
}

}  // namespace
