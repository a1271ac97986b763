// A movie script in the framework: start-up, play steps, frame keys, movie menu and dumps.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>
#include <unistd.h>
#include <string>
#include <utility>
#include <vector>

#include "fileio/common.h"
#include "movie/movierec.h"
#include "tests/movie/script_fixtures.h"
#include "tests/support/testutil.h"
#include "tests/viewer/recorder.h"
#include "viewer/tarnwick.h"

using testsupport::fileExists;
using testsupport::stderrOf;
using testsupport::stdoutOf;
using testsupport::TempDir;

namespace {

// A script of one key frame per entry of frames (its frame number), each a view from
// (i, 0, 10) metres down the z axis with a field of view of 30 + 5 i degrees, so that every
// frame of the path has a view of its own.
std::string scriptOf(const std::vector<int>& frames, int w = 256, int h = 256) {
  std::string text = moviefixtures::header((int)frames.size(), "linear", w, h);
  for (size_t i = 0; i < frames.size(); ++i)
    text += moviefixtures::keyFrame(frames[i], moviefixtures::viewText((double)i, 0, 10, 0, "0 0 -1", "0 1 0",
                                                                       30.0 + 5.0 * (double)i));
  return text;
}

// The frame numbers of the plain frames and of the pick passes drawn since the last clear.
std::vector<double> framesDrawn(int pickMode = 0) {
  std::vector<double> frames;
  for (const SceneCall& c : sceneCalls)
    if (c.pickMode == pickMode) frames.push_back(c.frameNum);
  return frames;
}

class MovieInFramework : public testing::Test {
 protected:
  void SetUp() override {
    if (!frameworkWindow()) GTEST_SKIP() << "no X server";
    countPlay = 0;
    doubleFrame = 0;
  }
  void TearDown() override {
    delete movieRec;
    movieRec = nullptr;
    scpFile[0] = '\0';
    countPlay = 0;
    doubleFrame = 0;
    frameNum = -1.0;
    askForPick = 0;
    showFrameNumberFlag = 0;
    frameNumSkip = frameNumOffset = 0;
    movieFileHead[0] = '\0';
    viewShearState = 0;
    mouseButton = mouseModifiers = 0;
  }

  // Starts as the program does with scpFile set: myInit loads the script, myGLInit shows its
  // first frame.
  void start(const std::string& text) {
    path_ = dir_.file("movie.scp");
    testsupport::writeFile(path_, text);
    copyText(scpFile, path_.c_str(), sizeof scpFile);
    myInit();
    ASSERT_NE(movieRec, nullptr);
    myGLInit(0, nullptr);
    reshape(256, 256);
    sceneCalls.clear();
  }

  // The view of the frame on show is the one resetView made of the movie's frame.
  void expectViewOfFrame(double frame) {
    View view;
    ASSERT_EQ(movieRec->retrieveFrame(frame, &view), 1) << frame;
    EXPECT_DOUBLE_EQ(currFovy, view.fovy) << frame;
  }

  const std::string& path() const { return path_; }
  const TempDir& dir() const { return dir_; }

 private:
  TempDir dir_;
  std::string path_;
};

}  // namespace

// ---- Start-up -------------------------------------------------------------------------------

TEST_F(MovieInFramework, StartUpLoadsTheScriptTakesItsSizeAndShowsFrameZero) {
  start(scriptOf({0, 4, 8}, 320, 240));
  EXPECT_EQ(movieRec->getNKeyFrames(), 3);
  EXPECT_EQ(winW, 256);  // reshape has given the window's size back
  myInit();  // once more, as at start-up: the size is the script's
  EXPECT_EQ(winW, 320);
  EXPECT_EQ(winH, 240);
  EXPECT_EQ(frameNum, 0.0);
  expectViewOfFrame(0.0);
  EXPECT_EQ(currFovy, 30.0);
  // The frame hands the movie's frame count to the scene.
  display();
  ASSERT_EQ(sceneCalls.size(), 1u);
  EXPECT_EQ(sceneCalls[0].nFrames, 9);
  EXPECT_EQ(sceneCalls[0].frameNum, 0.0);
}

TEST_F(MovieInFramework, WithoutAScriptThereIsNoMovieAndTheWindowIs256Square) {
  scpFile[0] = '\0';
  myInit();
  EXPECT_EQ(movieRec, nullptr);
  EXPECT_EQ(winW, 256);
  EXPECT_EQ(winH, 256);
  myGLInit(0, nullptr);
  EXPECT_EQ(frameNum, -1.0);
  display();
  ASSERT_FALSE(sceneCalls.empty());
  EXPECT_EQ(sceneCalls.back().nFrames, -1);
  EXPECT_EQ(sceneCalls.back().frameNum, -1.0);
}

// A script that doesn't load ends the start with status 1 and the loader's own line first.
struct BadScript {
  const char* name;
  const char* text;  // null: no file at all
};

TEST_F(MovieInFramework, ABadScriptEndsTheStartWithStatus1) {
  const BadScript cases[] = {
      {"/tmp/velmora-movie-missing.scp", nullptr},
      {"/tmp/velmora-movie-broken.scp", "Movie Script\n------------\nresolution : 320 x 240\nnonsense here\n"},
      {"/tmp/velmora-movie-short.scp", "Movie Script\n------------\nresolution : 320 x 240\ninterp : linear\n"
                                       "nKeyFrames : 2\n\nKeyFrame 0\n-----------\n"},
  };
  // A forked child would share the window's X connection and close it on exit.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  for (const BadScript& c : cases) {
    if (c.text)
      testsupport::writeFile(c.name, c.text);
    else
      unlink(c.name);
    // What the loader says of this file, then the framework's line.
    std::string loader;
    if (c.text) {
      MovieRecord trial;
      loader = stderrOf([&] { EXPECT_EQ(trial.loadFile(c.name, 1), -1); });
      EXPECT_NE(loader, "") << c.name;
    }
    const std::string expected = loader + "Err : in movie script [" + std::string(c.name) + "]!\n\n";
    EXPECT_EXIT(
        {
          copyText(scpFile, c.name, sizeof scpFile);
          myInit();
          exit(0);
        },
        testing::ExitedWithCode(1), testing::Eq(expected))
        << c.name;
  }
}

TEST_F(MovieInFramework, MyExitDeletesTheMovieAndEnds) {
  start(scriptOf({0, 4}));
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        myExit(0);
      },
      testing::ExitedWithCode(0), testing::Eq(""));
}

// ---- Playing ----------------------------------------------------------------------------------

TEST_F(MovieInFramework, PlayOnceShowsEveryFrameAndStopsOnTheLast) {
  start(scriptOf({0, 2, 4}));
  frameNum = 3.0;
  EXPECT_EQ(menuSelect(kMenuPlayOnce), 1);
  EXPECT_EQ(countPlay, kPlayOnce);
  EXPECT_EQ(frameNum, 0.0);
  for (int i = 1; i <= 4; ++i) {
    idle();
    EXPECT_EQ(frameNum, i);
    expectViewOfFrame(i);
  }
  EXPECT_EQ(countPlay, kPlayOnce);
  EXPECT_EQ(framesDrawn(), (std::vector<double>{1, 2, 3, 4}));
  // Past the last frame the play is used up: it rests there and draws nothing more.
  idle();
  EXPECT_EQ(countPlay, kPlayStopped);
  EXPECT_EQ(frameNum, 4.0);
  expectViewOfFrame(4.0);
  idle();
  EXPECT_EQ(framesDrawn().size(), 4u);
}

TEST_F(MovieInFramework, AOneFrameMoviePlayedOnceStopsAtOnceAtFrameZero) {
  start(scriptOf({0}));
  ASSERT_EQ(movieRec->getNFrames(), 1);
  menuSelect(kMenuPlayOnce);
  ASSERT_EQ(countPlay, kPlayOnce);
  idle();
  EXPECT_EQ(countPlay, kPlayStopped);
  EXPECT_EQ(frameNum, 0.0);
  EXPECT_TRUE(framesDrawn().empty());
}

TEST_F(MovieInFramework, DoubledFramesShowTheLastFrameAndEndOneStepLater) {
  start(scriptOf({0, 4}));
  doubleFrame = 1;
  menuSelect(kMenuPlayOnce);
  for (int i = 0; i < 8; ++i) idle();
  // The eighth half step lands exactly on frame 4, which isn't past the end: it is shown.
  EXPECT_EQ(frameNum, 4.0);
  EXPECT_EQ(countPlay, kPlayOnce);
  EXPECT_EQ(framesDrawn(), (std::vector<double>{0.5, 1, 1.5, 2, 2.5, 3, 3.5, 4}));
  expectViewOfFrame(4.0);
  idle();
  EXPECT_EQ(countPlay, kPlayStopped);
  EXPECT_EQ(frameNum, 4.0);
  EXPECT_EQ(framesDrawn().size(), 8u);
}

TEST_F(MovieInFramework, ALoopStartsAgainAtFrameZeroAndCountsDown) {
  start(scriptOf({0, 2}));
  EXPECT_EQ(menuSelect(kMenuPlayLoop), 1);
  EXPECT_EQ(countPlay, kPlayLoop);
  frameNum = 2.0;
  idle();
  EXPECT_EQ(frameNum, 0.0);
  EXPECT_EQ(countPlay, kPlayLoop - 1);
  expectViewOfFrame(0.0);
  EXPECT_EQ(framesDrawn(), (std::vector<double>{0.0}));
  // The same item stops the loop where it stands.
  idle();
  menuSelect(kMenuPlayLoop);
  EXPECT_EQ(countPlay, kPlayStopped);
  EXPECT_EQ(frameNum, 1.0);
  idle();
  EXPECT_EQ(frameNum, 1.0);
}

TEST_F(MovieInFramework, PlayOnceWhilePlayingStopsWhereItStandsAndThenStartsAtZero) {
  start(scriptOf({0, 6}));
  menuSelect(kMenuPlayOnce);
  idle();
  idle();
  ASSERT_EQ(frameNum, 2.0);
  menuSelect(kMenuPlayOnce);
  EXPECT_EQ(countPlay, kPlayStopped);
  EXPECT_EQ(frameNum, 2.0);
  menuSelect(kMenuPlayOnce);
  EXPECT_EQ(countPlay, kPlayOnce);
  EXPECT_EQ(frameNum, 0.0);
}

TEST_F(MovieInFramework, PlayItemsStopSpinsAndAPlayingMovieAllowsNoThrow) {
  start(scriptOf({0, 6}));
  idleRotModel = 1;
  menuSelect(kMenuPlayOnce);
  EXPECT_EQ(idleRotModel, 0);
  // A quick flick while the movie plays starts no spin.
  ASSERT_NE(countPlay, kPlayStopped);
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, 255 - 100);
  motion(130, 255 - 100);
  motion(170, 255 - 100);
  mouse(GLUT_LEFT_BUTTON, GLUT_UP, 170, 255 - 100);
  EXPECT_EQ(idleRotModel, 0);
  menuSelect(kMenuPlayOnce);
  idleRotView = 1;
  menuSelect(kMenuPlayLoop);
  EXPECT_EQ(idleRotView, 0);
  // Stopped, the same flick throws.
  menuSelect(kMenuPlayLoop);
  ASSERT_EQ(countPlay, kPlayStopped);
  mouse(GLUT_LEFT_BUTTON, GLUT_DOWN, 100, 255 - 100);
  motion(130, 255 - 100);
  motion(170, 255 - 100);
  mouse(GLUT_LEFT_BUTTON, GLUT_UP, 170, 255 - 100);
  EXPECT_EQ(idleRotModel, 1);
  stopAllSpins();
}

TEST_F(MovieInFramework, APickRequestAndAPlayStepOnOneFrame) {
  start(scriptOf({0, 4}));
  menuSelect(kMenuPlayOnce);
  askForPick = 1;
  idle();
  // The step's display is the pick pass: it draws nothing.
  EXPECT_EQ(framesDrawn(1), (std::vector<double>{1.0}));
  EXPECT_TRUE(framesDrawn(0).empty());
  EXPECT_EQ(askForPick, 0);
  idle();
  EXPECT_EQ(framesDrawn(0), (std::vector<double>{2.0}));
  EXPECT_EQ(framesDrawn(1).size(), 1u);
}

// ---- Menu items -------------------------------------------------------------------------------

TEST_F(MovieInFramework, GotoFrameItemsShowTheirFrameAndOthersDoNothing) {
  start(scriptOf({0, 5, 9}));
  ASSERT_EQ(movieRec->getNFrames(), 10);
  for (int frame : {9, 3, 0, 5}) {
    EXPECT_EQ(menuSelect(kMenuGotoFrame0 + frame), 1);
    EXPECT_EQ(frameNum, frame);
    expectViewOfFrame(frame);
  }
  EXPECT_EQ(menuSelectMovie(kMenuGotoFrame0 + 10), 0);
  EXPECT_EQ(frameNum, 5.0);
  // Reset view goes back to the view of the frame on show, after the mouse has moved it.
  glMatrixMode(GL_MODELVIEW);
  glRotated(20, 0, 1, 0);
  updateFovyBy(&currFovy, 10.0);
  menuSelect(kMenuResetView);
  expectViewOfFrame(5.0);
  // The movie's menu is built with the main menu.
  movieMenu = 0;
  buildMenuItems();
  EXPECT_NE(movieMenu, 0);
}

TEST_F(MovieInFramework, DumpFramesReadsTheHeadAndOffsetFromStandardInput) {
  start(scriptOf({0, 2}));
  const std::string answers = dir().file("answers.txt");
  const std::string head = dir().file("menu");
  testsupport::writeFile(answers, head + "\n7\n");
  ASSERT_NE(freopen(answers.c_str(), "r", stdin), nullptr);
  countPlay = kPlayLoop;
  std::string err;
  std::string out = stdoutOf([&] { err = stderrOf([] { EXPECT_EQ(menuSelect(kMenuDumpFrames), 1); }); });
  EXPECT_NE(freopen("/dev/null", "r", stdin), nullptr);
  EXPECT_EQ(err, "\nInput Frame's File Header (enter \"c\" to cancel) : \nInput Frame Number Offset : ");
  EXPECT_EQ(countPlay, kPlayStopped);
  EXPECT_EQ(out, "write frame to [" + head + ".0007.pnm]\nwrite frame to [" + head +
                     ".0008.pnm]\nwrite frame to [" + head + ".0009.pnm]\n");
  EXPECT_FALSE(fileExists(head + ".0010.pnm"));
  EXPECT_EQ(framesDrawn(), (std::vector<double>{0, 1, 2}));
}

TEST_F(MovieInFramework, ReloadTakesTheChangedScriptAndKeepsTheFrameWithinIt) {
  start(scriptOf({0, 4, 9}));
  frameNum = 8.0;
  countPlay = kPlayOnce;
  testsupport::writeFile(path(), scriptOf({0, 3}));
  std::string out = stdoutOf([] { EXPECT_EQ(menuSelect(kMenuReloadScript), 1); });
  EXPECT_EQ(out, "loading script file [" + path() + "]...\n");
  EXPECT_EQ(countPlay, kPlayStopped);
  EXPECT_EQ(movieRec->getNKeyFrames(), 2);
  EXPECT_EQ(movieRec->getNFrames(), 4);
  EXPECT_EQ(frameNum, 3.0);
  expectViewOfFrame(3.0);
  EXPECT_EQ(currFovy, 35.0);
}

TEST_F(MovieInFramework, ReloadOfABrokenScriptKeepsTheRunningMovie) {
  start(scriptOf({0, 4, 9}));
  frameNum = 6.0;
  countPlay = kPlayLoop;
  const std::string broken = "Movie Script\n------------\nresolution : 256 x 256\ninterp : linear\nnKeyFrames : 2\n\n";
  testsupport::writeFile(path(), broken);
  MovieRecord trial;
  std::string loader = stderrOf([&] { EXPECT_EQ(trial.loadFile(path().c_str(), 1), -1); });
  EXPECT_NE(loader, "");
  int result = -1;
  testsupport::Streams s = testsupport::streamsOf([&] { result = menuSelectMovie(kMenuReloadScript); });
  EXPECT_EQ(result, 0);
  EXPECT_EQ(s.out, "loading script file [" + path() + "]...\n");
  EXPECT_EQ(s.err, loader + "Err: failed to read [" + path() + "]\n");
  EXPECT_EQ(countPlay, kPlayStopped);
  EXPECT_EQ(movieRec->getNKeyFrames(), 3);
  EXPECT_EQ(movieRec->getNFrames(), 10);
  EXPECT_EQ(frameNum, 6.0);
  // The key "r" does the same.
  s = testsupport::streamsOf([] { keyboard('r', 0, 0); });
  EXPECT_EQ(s.err, loader + "Err: failed to read [" + path() + "]\n");
  EXPECT_EQ(movieRec->getNKeyFrames(), 3);
}

// ---- Keys -------------------------------------------------------------------------------------

struct FrameKeyCase {
  int key;
  double from;
  int doubled;
  double to;
};

TEST_F(MovieInFramework, FrameKeysMoveTheFrameWithinThePath) {
  // Key frames at 0, 3 and 8: nine frames.
  start(scriptOf({0, 3, 8}));
  const FrameKeyCase cases[] = {
      {GLUT_KEY_LEFT, 2, 0, 1},       {GLUT_KEY_LEFT, 0, 0, 0},        {GLUT_KEY_LEFT, 1, 1, 0.5},
      {GLUT_KEY_LEFT, 0.5, 1, 0},     {GLUT_KEY_RIGHT, 2, 0, 3},       {GLUT_KEY_RIGHT, 8, 0, 8},
      {GLUT_KEY_RIGHT, 7.5, 1, 8},    {GLUT_KEY_RIGHT, 8, 1, 8},       {GLUT_KEY_HOME, 1, 0, 6},
      {GLUT_KEY_HOME, 4, 0, 8},       {GLUT_KEY_END, 7, 0, 2},         {GLUT_KEY_END, 3, 0, 0},
      {GLUT_KEY_PAGE_UP, 0, 0, 3},    {GLUT_KEY_PAGE_UP, 1.5, 1, 3},   {GLUT_KEY_PAGE_UP, 3, 0, 8},
      {GLUT_KEY_PAGE_UP, 8, 0, 8},    {GLUT_KEY_PAGE_DOWN, 8, 0, 3},   {GLUT_KEY_PAGE_DOWN, 5, 0, 3},
      {GLUT_KEY_PAGE_DOWN, 3, 0, 0},  {GLUT_KEY_PAGE_DOWN, 2, 0, 0},   {GLUT_KEY_PAGE_DOWN, 0, 0, 0},
  };
  for (const FrameKeyCase& c : cases) {
    frameNum = c.from;
    doubleFrame = c.doubled;
    idleRotModel = 1;
    specKey(c.key, 0, 0);
    EXPECT_EQ(frameNum, c.to) << "key " << c.key << " from " << c.from;
    EXPECT_EQ(idleRotModel, 0) << "key " << c.key;
    expectViewOfFrame(c.to);
  }
}

TEST_F(MovieInFramework, FunctionKeysGoToTheirFrameAndPastTheEndDoNothing) {
  // Five frames: F1 to F5 lead to 0 to 4, F6 to F10 past the end.
  start(scriptOf({0, 4}));
  for (int k = 1; k <= 10; ++k) {
    frameNum = 2.0;
    specKey(GLUT_KEY_F1 + k - 1, 0, 0);
    EXPECT_EQ(frameNum, k <= 5 ? k - 1.0 : 2.0) << "F" << k;
  }
}

TEST_F(MovieInFramework, F11AndF12StepTheShearedViewRoundAndKeepTheView) {
  start(scriptOf({0, 4}));
  viewShearState = 0;
  stdoutOf([] { specKey(GLUT_KEY_F12, 0, 0); });
  EXPECT_EQ(viewShearState, 1);
  std::string out = stdoutOf([] { specKey(GLUT_KEY_F11, 0, 0); });
  EXPECT_EQ(viewShearState, 0);
  EXPECT_EQ(out, "");
  out = stdoutOf([] { specKey(GLUT_KEY_F11, 0, 0); });
  EXPECT_EQ(viewShearState, 4);
  EXPECT_EQ(out, "sheared view (zoom to right-bottom)\n");
  expectViewOfFrame(0.0);
}

TEST_F(MovieInFramework, MovieLettersAndTheControlDrag) {
  start(scriptOf({0, 6}));
  frameNum = 3.0;
  keyboard('<', 0, 0);
  EXPECT_EQ(frameNum, 2.0);
  keyboard('>', 0, 0);
  keyboard('>', 0, 0);
  EXPECT_EQ(frameNum, 4.0);
  keyboard('x', 0, 0);
  EXPECT_EQ(countPlay, kPlayOnce);
  EXPECT_EQ(frameNum, 0.0);
  keyboard('X', 0, 0);  // folded to small letters
  EXPECT_EQ(countPlay, kPlayStopped);
  keyboard('z', 0, 0);
  EXPECT_EQ(countPlay, kPlayLoop);
  keyboard('Z', 0, 0);
  EXPECT_EQ(countPlay, kPlayStopped);
  // "c" stands in the help text only.
  frameNum = 2.0;
  std::string all = stdoutOf([] { keyboard('c', 0, 0); }) + stderrOf([] { keyboard('c', 0, 0); });
  EXPECT_EQ(all, "");
  EXPECT_EQ(frameNum, 2.0);

  // A left drag with control runs the movie along by the direction of the move.
  double before[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, before);
  mouseButton = 1;
  mouseModifiers = GLUT_ACTIVE_CTRL;
  preMouseX = 100;
  preMouseY = 100;
  motion(110, 255 - 100);
  EXPECT_EQ(frameNum, 3.0);
  motion(90, 255 - 100);
  EXPECT_EQ(frameNum, 2.0);
  motion(90, 255 - 120);  // no sideways move: no step
  EXPECT_EQ(frameNum, 2.0);
}

TEST_F(MovieInFramework, WithoutAMovieTheMovieKeysDoNothing) {
  myInit();
  ASSERT_EQ(movieRec, nullptr);
  frameNum = -1.0;
  for (unsigned char key : {'<', '>', 'x', 'z', 'r'}) keyboard(key, 0, 0);
  for (int key : {GLUT_KEY_LEFT, GLUT_KEY_RIGHT, GLUT_KEY_HOME, GLUT_KEY_END, GLUT_KEY_PAGE_UP, GLUT_KEY_F1,
                  GLUT_KEY_F12})
    specKey(key, 0, 0);
  EXPECT_EQ(frameNum, -1.0);
  EXPECT_EQ(countPlay, kPlayStopped);
  EXPECT_EQ(viewShearState, 0);
  EXPECT_EQ(menuSelectMovie(kMenuPlayOnce), 0);
}

// ---- Dumping the movie -------------------------------------------------------------------------

TEST_F(MovieInFramework, HundredFramesDumpToHundredPaddedFilesTheLastFromFrame99) {
  start(scriptOf({0, 99}));
  ASSERT_EQ(movieRec->getNFrames(), 100);
  copyText(movieFileHead, dir().file("h").c_str(), sizeof movieFileHead);
  std::string out = stdoutOf([] { dumpMovie(1); });
  EXPECT_EQ(framesDrawn().size(), 100u);
  EXPECT_EQ(framesDrawn().back(), 99.0);
  EXPECT_TRUE(fileExists(dir().file("h.0000.pnm")));
  EXPECT_TRUE(fileExists(dir().file("h.0099.pnm")));
  EXPECT_FALSE(fileExists(dir().file("h.0100.pnm")));
  const std::string last = "write frame to [" + dir().file("h.0099.pnm") + "]\n";
  ASSERT_GE(out.size(), last.size());
  EXPECT_EQ(out.substr(out.size() - last.size()), last);

  // Doubled: 199 files, the half step behind frame 99 left out; wide numbers widen the name.
  doubleFrame = 1;
  frameNumOffset = 9900;
  sceneCalls.clear();
  stdoutOf([] { dumpMovie(1); });
  EXPECT_EQ(framesDrawn().size(), 199u);
  EXPECT_EQ(framesDrawn()[1], 0.5);
  EXPECT_EQ(framesDrawn().back(), 99.0);
  EXPECT_TRUE(fileExists(dir().file("h.9900.pnm")));
  EXPECT_TRUE(fileExists(dir().file("h.10098.pnm")));
  EXPECT_FALSE(fileExists(dir().file("h.10099.pnm")));
}

TEST_F(MovieInFramework, SkipOf3WithDoubledFramesStartsAtFrame1) {
  start(scriptOf({0, 4}));
  copyText(movieFileHead, dir().file("s").c_str(), sizeof movieFileHead);
  doubleFrame = 1;
  frameNumSkip = 3;
  frameNumOffset = 20;
  std::string err;
  stdoutOf([&] { err = stderrOf([] { dumpMovie(0); }); });
  ASSERT_FALSE(framesDrawn().empty());
  EXPECT_EQ(framesDrawn().front(), 1.0);
  EXPECT_EQ(framesDrawn().size(), 7u);  // 1.0 to 4.0 in half steps
  EXPECT_TRUE(fileExists(dir().file("s.0023.pnm")));
  EXPECT_TRUE(fileExists(dir().file("s.0029.pnm")));
  EXPECT_FALSE(fileExists(dir().file("s.0030.pnm")));
  EXPECT_EQ(err.substr(0, 27), "- dumping to [23] ... done.");
}

TEST_F(MovieInFramework, FrameNumberOverlayMarksKeyFrames) {
  start(scriptOf({0, 4}));
  showFrameNumberFlag = 1;
  // Magenta pixels of the overlay in the picture of a frame.
  auto overlayPixels = [](double frame) {
    frameNum = frame;
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    drawFrame(0, 0);
    glFinish();
    std::vector<unsigned char> px(256 * 256 * 3);
    glReadBuffer(GL_BACK);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, 256, 256, GL_RGB, GL_UNSIGNED_BYTE, px.data());
    int n = 0;
    for (size_t i = 0; i < px.size(); i += 3) n += px[i] > 128 && px[i + 1] < 160 && px[i + 2] > 128;
    return n;
  };
  int key = overlayPixels(4.0);    // "Frame 4/4 (*)"
  int plain = overlayPixels(2.0);  // "Frame 2/4"
  EXPECT_GT(plain, 30);
  EXPECT_GT(key, plain + 10);
}

// ---- The movie menu's entries -----------------------------------------------------------------

struct MenuCase {
  int nFrames;
  int playing;
  std::vector<std::pair<std::string, int>> gotoEntries;
};

TEST(MovieMenu, GotoFrameEntriesThenTheCommandsWithTheLoopLabelOfThePlayState) {
  const MenuCase cases[] = {
      {1, 0, {{"Goto Frame 0/0", 3000}}},
      {5, 0, {{"Goto Frame 0/4", 3000}, {"Goto Frame 1/4", 3001}, {"Goto Frame 2/4", 3002},
              {"Goto Frame 3/4", 3003}, {"Goto Frame 4/4", 3004}}},
      {100, 1, {{"Goto Frame 0/99", 3000}, {"Goto Frame 11/99", 3011}, {"Goto Frame 22/99", 3022},
                {"Goto Frame 33/99", 3033}, {"Goto Frame 44/99", 3044}, {"Goto Frame 55/99", 3055},
                {"Goto Frame 66/99", 3066}, {"Goto Frame 77/99", 3077}, {"Goto Frame 88/99", 3088},
                {"Goto Frame 99/99", 3099}}},
      {0, 1, {{"Goto Frame 0/-1", 3000}}},  // a script without key frames
  };
  for (const MenuCase& c : cases) {
    std::vector<std::pair<std::string, int>> expected = c.gotoEntries;
    expected.insert(expected.end(), {{"Play Movie Once", 300},
                                     {c.playing ? "Stop Movie Loop" : "Play Movie Loop", 301},
                                     {"Dump Frames", 302},
                                     {"Dump Screen", 303},
                                     {"Show Frame Num", 304},
                                     {"Reload Script", 305}});
    std::vector<std::pair<std::string, int>> got;
    for (const MenuEntry& e : movieMenuEntries(c.nFrames, c.playing)) got.push_back({e.label, e.item});
    EXPECT_EQ(got, expected) << c.nFrames << " frames";
  }
}
