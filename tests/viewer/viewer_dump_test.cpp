// Frame and screen dumps of the framework: files, names, messages and their pixels.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "fileio/sgi.h"
#include "movie/movierec.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tests/viewer/recorder.h"
#include "viewer/tarnwick.h"

using testsupport::fileExists;
using testsupport::stderrOf;
using testsupport::stdoutOf;
using testsupport::TempDir;

namespace {

class FrameDump : public testing::Test {
 protected:
  void SetUp() override {
    if (!frameworkWindow()) GTEST_SKIP() << "no X server";
    // The front buffer is the window itself: it shows a frame once the window is on screen.
    for (int i = 0; i < 20; ++i) glutMainLoopEvent();
    frameNumSkip = frameNumOffset = doubleFrame = 0;
    printEnable = 0;
  }
  void TearDown() override {
    frameNumSkip = frameNumOffset = doubleFrame = 0;
    jitterSize = 1;
    jitterPt = nullptr;
    movieRec = nullptr;
    showFrameNumberFlag = 0;
    frameNum = -1.0;
  }
};

// The window's picture as the screen shows it, rows from the top.
std::vector<unsigned char> screenTopDown() {
  std::vector<unsigned char> v(256 * 256 * 3);
  glReadBuffer(GL_FRONT);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, 256, 256, GL_RGB, GL_UNSIGNED_BYTE, v.data());
  glReadBuffer(GL_BACK);
  myUpsidedownImage(v.data(), 256, 256);
  return v;
}

std::vector<unsigned char> readP6(const std::string& path, int* w, int* h) {
  int channels = 0;
  unsigned char* data = read_pnm(path.c_str(), w, h, &channels);
  std::vector<unsigned char> v;
  if (data) {
    v.assign(data, data + (size_t)*w * *h * channels);
    free(data);
  }
  return v;
}

std::string identify(const std::string& path) {
  testsupport::RunResult r = testsupport::run("identify -format '%m %w %h' '" + path + "'");
  return r.status == 0 ? r.out : "identify failed: " + r.err;
}

// Brings a frame up as a movie would: the frame number is the scene's, then a plain frame.
std::vector<double> shownFrames;
void showFrame(double frame) {
  shownFrames.push_back(frame);
  display();
}

}  // namespace

// ---- dumpScreen -----------------------------------------------------------------------------

TEST_F(FrameDump, ScreenshotMatchesTheWindowsPixels) {
  sceneDraws = 1;
  display();
  TempDir dir;
  // The frame stays in the back buffer after the swap; the front buffer of a window on this
  // X server reads back whatever the server holds for it.
  std::string path = dir.file("shot.pnm");
  std::string err = stderrOf([&] { dumpScreen(path.c_str(), GL_BACK); });
  EXPECT_EQ(err, "Screen dumped to file [" + path + "].\n");
  int w = 0, h = 0;
  std::vector<unsigned char> file = readP6(path, &w, &h);
  EXPECT_EQ(w, 256);
  EXPECT_EQ(h, 256);
  std::vector<unsigned char> window = testsupport::readPixelsRGB(0, 0, 256, 256);
  myUpsidedownImage(window.data(), 256, 256);
  ASSERT_EQ(file.size(), window.size());
  EXPECT_TRUE(file == window);
  // The square is there: white in the middle, black in the corner.
  size_t middle = (128 * 256 + 128) * 3, corner = 0;
  EXPECT_EQ(file[middle], 255);
  EXPECT_EQ(file[corner], 0);
  EXPECT_EQ(identify(path), "PPM 256 256");
  dumpScreen("/tmp/velmora-screenshot.pnm", GL_BACK);

  // From the front buffer, as the menu asks, the file holds what that buffer reads.
  std::string front = dir.file("front.pnm");
  stderrOf([&] { dumpScreen(front.c_str(), GL_FRONT); });
  EXPECT_TRUE(readP6(front, &w, &h) == screenTopDown());
}

TEST_F(FrameDump, ScreenshotsWithoutANameAreNumberedFromZero) {
  TempDir dir;
  char here[4096];
  ASSERT_NE(getcwd(here, sizeof here), nullptr);
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  display();
  std::string err = stderrOf([] {
    dumpScreen("", GL_FRONT);
    dumpScreen(nullptr, GL_FRONT);
  });
  EXPECT_EQ(chdir(here), 0);
  EXPECT_EQ(err, "Screen dumped to file [screen.0000.pnm].\nScreen dumped to file [screen.0001.pnm].\n");
  EXPECT_TRUE(fileExists(dir.file("screen.0000.pnm")));
  EXPECT_TRUE(fileExists(dir.file("screen.0001.pnm")));
}

TEST_F(FrameDump, ScreenshotIntoAMissingFolderSaysSoAndGoesOn) {
  TempDir dir;
  std::string path = dir.file("no/such/folder/shot.pnm");
  std::string err = stderrOf([&] { dumpScreen(path.c_str(), GL_FRONT); });
  EXPECT_EQ(err, "Faled to dump screen to file [" + path + "].\n");
  EXPECT_FALSE(fileExists(path));
}

// ---- readGLBuffer and dumpFrame -------------------------------------------------------------

TEST_F(FrameDump, ReadGLBufferGivesRowsFromTheTop) {
  sceneDraws = 1;
  display();
  std::vector<unsigned char> data(256 * 256 * 3);
  readGLBuffer(GL_FRONT, 0, 0, 256, 256, data.data());
  EXPECT_TRUE(data == screenTopDown());
  // A part of the window: rows 0 to 9 from the bottom, turned.
  std::vector<unsigned char> part(20 * 10 * 3);
  readGLBuffer(GL_FRONT, 118, 0, 20, 10, part.data());
  std::vector<unsigned char> whole = screenTopDown();
  for (int r = 0; r < 10; ++r)
    EXPECT_EQ(memcmp(&part[(size_t)r * 60], &whole[((size_t)(246 + r) * 256 + 118) * 3], 60), 0) << r;
}

TEST_F(FrameDump, NumberedFrameIsAWindowSizedP6) {
  sceneDraws = 1;
  display();
  std::vector<unsigned char> data(256 * 256 * 3);
  readGLBuffer(GL_FRONT, 0, 0, 256, 256, data.data());
  TempDir dir;
  std::string head = dir.file("frame");
  int result = 0;
  std::string out = stdoutOf([&] { result = dumpFrame(head.c_str(), 7, data.data(), true); });
  EXPECT_EQ(result, 1);
  EXPECT_EQ(out, "write frame to [" + head + ".0007.pnm]\n");
  EXPECT_EQ(identify(head + ".0007.pnm"), "PPM 256 256");
  int w = 0, h = 0;
  EXPECT_TRUE(readP6(head + ".0007.pnm", &w, &h) == data);
  std::string header = testsupport::readFile(head + ".0007.pnm").substr(0, 15);
  EXPECT_EQ(header, "P6\n256 256\n255\n");
}

TEST_F(FrameDump, WideNumbersWidenTheNameAndUnnumberedUsesTheHead) {
  std::vector<unsigned char> data(256 * 256 * 3, 40);
  TempDir dir;
  std::string head = dir.file("f");
  std::string out = stdoutOf([&] {
    dumpFrame(head.c_str(), 12345, data.data(), true);
    dumpFrame(head.c_str(), 0, data.data(), true);
    dumpFrame(dir.file("plain.pnm").c_str(), 9, data.data(), false);
  });
  EXPECT_EQ(out, "write frame to [" + head + ".12345.pnm]\nwrite frame to [" + head + ".0000.pnm]\n");
  EXPECT_TRUE(fileExists(head + ".12345.pnm"));
  EXPECT_TRUE(fileExists(head + ".0000.pnm"));
  EXPECT_EQ(identify(dir.file("plain.pnm")), "PPM 256 256");
}

TEST_F(FrameDump, EmptyHeadWritesNothing) {
  std::vector<unsigned char> data(256 * 256 * 3);
  for (const char* head : {"", (const char*)nullptr}) {
    int result = 0;
    std::string err = stderrOf([&] { result = dumpFrame(head, 1, data.data(), true); });
    EXPECT_EQ(err, "Err (dumpFrame): header is null.\n");
    EXPECT_EQ(result, -1);
  }
  EXPECT_FALSE(fileExists(".0001.pnm"));
}

TEST_F(FrameDump, FrameIntoAMissingFolderEndsTheProcessWithItsMessage) {
  std::vector<unsigned char> data(256 * 256 * 3);
  // A fixed name: the death test's child runs this body again and must find the same one.
  const std::string head = "/tmp/velmora-no-such-folder-for-frames/frame";
  ASSERT_FALSE(fileExists("/tmp/velmora-no-such-folder-for-frames"));
  // A forked child would share the window\'s X connection and close it on exit.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        dumpFrame(head.c_str(), 3, data.data(), true);
        exit(0);
      },
      testing::ExitedWithCode(1), testing::Eq("Err : writing to [" + head + ".0003.pnm]\n"));
}

// ---- The frame loop of a movie dump ---------------------------------------------------------

TEST_F(FrameDump, HundredFramesGiveHundredFilesTheLastFromFrame99) {
  TempDir dir;
  snprintf(movieFileHead, sizeof movieFileHead, "%s", dir.file("m").c_str());
  frameNumOffset = 5;
  shownFrames.clear();
  std::string out = stdoutOf([] { dumpMovieFrames(1, 100, showFrame); });
  ASSERT_EQ(shownFrames.size(), 100u);
  EXPECT_EQ(shownFrames.front(), 0.0);
  EXPECT_EQ(shownFrames.back(), 99.0);
  EXPECT_TRUE(fileExists(dir.file("m.0005.pnm")));
  EXPECT_TRUE(fileExists(dir.file("m.0104.pnm")));
  EXPECT_FALSE(fileExists(dir.file("m.0105.pnm")));
  EXPECT_EQ(frameNum, 100.0);
}

TEST_F(FrameDump, DoubledHundredFramesGive199FilesTheLastFromFrame99) {
  TempDir dir;
  snprintf(movieFileHead, sizeof movieFileHead, "%s", dir.file("d").c_str());
  doubleFrame = 1;
  shownFrames.clear();
  stdoutOf([] { dumpMovieFrames(1, 100, showFrame); });
  ASSERT_EQ(shownFrames.size(), 199u);
  EXPECT_EQ(shownFrames[1], 0.5);
  EXPECT_EQ(shownFrames.back(), 99.0);
  EXPECT_TRUE(fileExists(dir.file("d.0198.pnm")));
  EXPECT_FALSE(fileExists(dir.file("d.0199.pnm")));
}

TEST_F(FrameDump, SkipOf3DoubledStartsAtFrame1WithFileNumberOffsetPlus3) {
  TempDir dir;
  snprintf(movieFileHead, sizeof movieFileHead, "%s", dir.file("s").c_str());
  doubleFrame = 1;
  frameNumSkip = 3;
  frameNumOffset = 10;
  shownFrames.clear();
  std::string err;
  std::string out = stdoutOf([&] { err = stderrOf([] { dumpMovieFrames(0, 3, showFrame); }); });
  ASSERT_FALSE(shownFrames.empty());
  EXPECT_EQ(shownFrames.front(), 1.0);
  EXPECT_EQ(shownFrames.size(), 3u);  // 1.0, 1.5, 2.0
  EXPECT_TRUE(fileExists(dir.file("s.0013.pnm")));
  EXPECT_TRUE(fileExists(dir.file("s.0015.pnm")));
  EXPECT_EQ(err,
            "- dumping to [13] ... done.\n"
            "- dumping to [14] ... done.\n"
            "- dumping to [15] ... done.\n");
}

TEST_F(FrameDump, DumpedFrameIsWhatTheScreenShowedAndJitterDumpsTheAverage) {
  TempDir dir;
  snprintf(movieFileHead, sizeof movieFileHead, "%s", dir.file("j").c_str());
  sceneDraws = 2;
  printEnable = 1;
  shownFrames.clear();
  std::string out = stdoutOf([] { dumpMovieFrames(1, 1, showFrame); });
  EXPECT_EQ(out, "Dump Frame 0 + 0\nwrite frame to [" + dir.file("j.0000.pnm") + "]\n");
  int w = 0, h = 0;
  // The frame just swapped, which the back buffer still holds; the line is in it.
  std::vector<unsigned char> shown = testsupport::readPixelsRGB(0, 0, 256, 256);
  myUpsidedownImage(shown.data(), 256, 256);
  std::vector<unsigned char> dumped = readP6(dir.file("j.0000.pnm"), &w, &h);
  EXPECT_TRUE(dumped == shown);
  size_t lit = 0;
  for (unsigned char b : dumped) lit += b == 255;
  EXPECT_GT(lit, 100u * 3);

  jitterSize = 4;
  jitterPt = getJitterPt(4);
  frameNumOffset = 1;
  stdoutOf([] { dumpMovieFrames(1, 1, showFrame); });
  std::vector<unsigned char> average = readP6(dir.file("j.0001.pnm"), &w, &h);
  ASSERT_EQ(average.size(), (size_t)256 * 256 * 3);
  EXPECT_EQ(memcmp(average.data(), myStencilBufByte, average.size()), 0);
  EXPECT_EQ(identify(dir.file("j.0001.pnm")), "PPM 256 256");
}

TEST_F(FrameDump, WithoutAMovieNothingIsDumped) {
  movieRec = nullptr;
  TempDir dir;
  snprintf(movieFileHead, sizeof movieFileHead, "%s", dir.file("n").c_str());
  std::string all = stdoutOf([] { dumpMovie(0); }) + stderrOf([] { dumpMovie(0); });
  EXPECT_EQ(all, "");
  EXPECT_FALSE(fileExists(dir.file("n.0000.pnm")));
  EXPECT_EQ(menuSelectMovie(kMenuDumpScreen), 0);
}

TEST_F(FrameDump, DumpOnStartWaitsForASecondOfUserTimeThenEndsWithStatus1) {
  justDump = 0;
  dumpOnStartIfDue();  // nothing to do
  justDump = 1;
  getStartTime = 1;
  startTime = 1e12;  // the first frame in the future: not due
  dumpOnStartIfDue();
  justDump = 0;
  // A forked child would share the window\'s X connection and close it on exit.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        justDump = 1;
        getStartTime = 1;
        startTime = -10.0;
        printEnable = 1;
        dumpOnStartIfDue();
        exit(0);
      },
      testing::ExitedWithCode(1), testing::Eq("dump movie is done!\n\n"));
}

// ---- The frame number overlay ---------------------------------------------------------------

struct LabelCase {
  double frame;
  int nFrames, doubled;
  double offset;
  const char* text;
};

TEST(FrameNumberLabel, PlainDoubledAndKeyFrames) {
  const LabelCase cases[] = {
      {0.0, 10, 0, 0.0, "Frame 0/9 (*)"},         {3.0, 10, 0, 0.5, "Frame 3/9"},
      {3.7, 10, 0, 0.7, "Frame 3/9"},             {1.5, 10, 1, 0.25, "Frame 1.5/18"},
      {4.0, 10, 1, 0.0, "Frame 4.0/18 (*)"},      {2.0, 5, 0, 5e-8, "Frame 2/4 (*)"},
      {2.0, 5, 0, -5e-8, "Frame 2/4 (*)"},        {2.0, 5, 0, 2e-7, "Frame 2/4"},
      {123456.0, 200000, 0, 0.3, "Frame 123456/199999"},
  };
  for (const LabelCase& c : cases) {
    char text[128];
    frameNumLabel(text, sizeof text, c.frame, c.nFrames, c.doubled, c.offset);
    EXPECT_STREQ(text, c.text);
  }
}

TEST_F(FrameDump, FrameNumberIsMagentaInTheLowerLeftAndLeavesTheMatrices) {
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  double mv[16], pr[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  frameNum = 12.0;
  glDisable(GL_DEPTH_TEST);
  glDisable(GL_LIGHTING);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_BLEND);
  drawFrameNumber(100, 0.0);
  glEnable(GL_DEPTH_TEST);
  glEnable(GL_BLEND);
  glFinish();
  std::vector<unsigned char> px = testsupport::readPixelsRGB(0, 0, 256, 256);
  int lowerLeft = 0, elsewhere = 0;
  for (int y = 0; y < 256; ++y)
    for (int x = 0; x < 256; ++x) {
      const unsigned char* p = &px[((size_t)y * 256 + x) * 3];
      if (p[0] == 0 && p[1] == 0 && p[2] == 0) continue;
      // Smoothed lines blend their edges: only the full colour is counted as the text's.
      if (x < 200 && y < 40)
        lowerLeft += p[0] == 255 && p[1] == 102 && p[2] == 255;
      else
        ++elsewhere;
    }
  testsupport::keepShotForALook("velmora-frame-number", px.data(), 256, 256);
  EXPECT_GT(lowerLeft, 50);
  EXPECT_EQ(elsewhere, 0);
  double mv2[16], pr2[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv2);
  glGetDoublev(GL_PROJECTION_MATRIX, pr2);
  for (int k = 0; k < 16; ++k) {
    EXPECT_EQ(mv2[k], mv[k]);
    EXPECT_EQ(pr2[k], pr[k]);
  }
}

// ---- Menu items and keys of a loaded movie --------------------------------------------------

// A movie without key frames: loaded, but with no frame to go to.
MovieRecord emptyMovie;

TEST_F(FrameDump, MenuDumpScreenAndFrameNumberFlagWithAMovie) {
  movieRec = &emptyMovie;
  TempDir dir;
  char here[4096];
  ASSERT_NE(getcwd(here, sizeof here), nullptr);
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  display();
  std::string err = stderrOf([] { EXPECT_EQ(menuSelect(kMenuDumpScreen), 1); });
  std::string keyErr = stderrOf([] { specKey(GLUT_KEY_INSERT, 0, 0); });
  EXPECT_EQ(chdir(here), 0);
  EXPECT_NE(err.find("Screen dumped to file [screen."), std::string::npos) << err;
  EXPECT_NE(keyErr.find("Screen dumped to file [screen."), std::string::npos) << keyErr;
  showFrameNumberFlag = 0;
  EXPECT_EQ(menuSelectMovie(kMenuShowFrameNum), 1);
  EXPECT_EQ(showFrameNumberFlag, 1);
  keyboard('n', 0, 0);
  EXPECT_EQ(showFrameNumberFlag, 0);
  movieRec = nullptr;
  keyboard('n', 0, 0);  // without a movie the key does nothing
  EXPECT_EQ(showFrameNumberFlag, 0);
}

TEST_F(FrameDump, MenuDumpFramesAsksForTheHeadAndCancelsOnC) {
  movieRec = &emptyMovie;
  // A fixed name: the death test's child runs this body again and must find the same one.
  const std::string input = "/tmp/velmora-dump-frames-answers.txt";
  testsupport::writeFile(input, "c\n");
  // A forked child would share the window\'s X connection and close it on exit.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        if (!freopen(input.c_str(), "r", stdin)) exit(2);
        int r = menuSelectMovie(kMenuDumpFrames);
        fflush(stderr);
        exit(r == 1 && countPlay == 0 ? 3 : 4);
      },
      testing::ExitedWithCode(3),
      testing::Eq("\nInput Frame's File Header (enter \"c\" to cancel) : - cancelled.\n"));
}
