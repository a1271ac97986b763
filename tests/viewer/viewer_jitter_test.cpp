// Jitter tables, the accumulation in main memory, the jittered frame and the framework's options.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <sys/resource.h>

#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tests/viewer/recorder.h"
#include "viewer/tarnwick.h"


namespace {

class JitterFrame : public testing::Test {
 protected:
  void SetUp() override {
    if (!frameworkWindow()) GTEST_SKIP() << "no X server";
  }
  void TearDown() override {
    jitterSize = 1;
    jitterPt = nullptr;
  }
};

// Pixels that are neither black nor full white in any channel.
int intermediatePixels(const unsigned char* rgb, size_t bytes) {
  int n = 0;
  for (size_t i = 0; i < bytes; i += 3)
    for (int k = 0; k < 3; ++k)
      if (rgb[i + k] != 0 && rgb[i + k] != 255) {
        ++n;
        break;
      }
  return n;
}

int litPixels(const unsigned char* rgb, size_t bytes) {
  int n = 0;
  for (size_t i = 0; i < bytes; i += 3) n += rgb[i] != 0;
  return n;
}

}  // namespace

// ---- Tables -------------------------------------------------------------------------------

TEST(JitterTables, EverySizeHasItsTableAndNoOtherSizeHasOne) {
  struct Entry {
    int n;
    const double (*table)[2];
  } const entries[] = {{2, jitter::_jitter2}, {3, jitter::_jitter3},   {4, jitter::_jitter4},
                       {5, jitter::_jitter5}, {6, jitter::_jitter6},   {8, jitter::_jitter8},
                       {9, jitter::_jitter9}, {12, jitter::_jitter12}, {16, jitter::_jitter16}};
  for (const Entry& e : entries) {
    EXPECT_EQ(getJitterPt(e.n), e.table) << e.n;
    for (int i = 0; i < e.n; ++i)
      for (int k = 0; k < 2; ++k) {
        EXPECT_GT(e.table[i][k], 0.0) << e.n << " " << i;
        EXPECT_LT(e.table[i][k], 1.0) << e.n << " " << i;
      }
  }
  for (int n : {-1, 0, 1, 7, 10, 11, 13, 15, 17, 32}) EXPECT_EQ(getJitterPt(n), nullptr) << n;
}

TEST(JitterTables, ValuesInTableOrder) {
  EXPECT_EQ(jitter::_jitter2[0][0], 0.25);
  EXPECT_EQ(jitter::_jitter2[0][1], 0.75);
  EXPECT_EQ(jitter::_jitter3[2][1], 0.4131553612);
  EXPECT_EQ(jitter::_jitter4[1][0], 0.125);
  EXPECT_EQ(jitter::_jitter5[4][1], 0.7);
  EXPECT_EQ(jitter::_jitter6[5][0], 0.202020202);
  EXPECT_EQ(jitter::_jitter8[7][1], 0.3125);
  EXPECT_EQ(jitter::_jitter9[8][1], 0.0555555555);
  EXPECT_EQ(jitter::_jitter12[11][0], 0.583333333);  // one digit short, as the table has it
  EXPECT_EQ(jitter::_jitter16[15][1], 0.8125);
}

// ---- Accumulation -------------------------------------------------------------------------

namespace {

// No arrays and no recorded size, as at the start of the process.
void freshStencil() {
  free(myStencilBufInt);
  free(myStencilBufByte);
  myStencilBufInt = nullptr;
  myStencilBufByte = nullptr;
  myStencilSize = myStencilCount = myStencilW = myStencilH = 0;
}

}  // namespace

TEST(JitterStencil, SumAndRoundedMeanWithRowsTurned) {
  freshStencil();
  initMyStencil(1, 2);
  ASSERT_EQ(myStencilSize, 6);
  const unsigned char first[6] = {0, 1, 255, 10, 20, 30};
  const unsigned char second[6] = {1, 2, 255, 11, 20, 31};
  memcpy(myStencilBufByte, first, 6);
  accumMyStencil();
  memcpy(myStencilBufByte, second, 6);
  accumMyStencil();
  EXPECT_EQ(myStencilCount, 2);
  EXPECT_EQ(myStencilBufInt[0], 1);
  EXPECT_EQ(myStencilBufInt[2], 510);
  averageMyStencil();
  // Means 0.5, 1.5, 255, 10.5, 20, 30.5 rounded half up; the two rows swapped.
  const unsigned char want[6] = {11, 20, 31, 1, 2, 255};
  for (int i = 0; i < 6; ++i) EXPECT_EQ(myStencilBufByte[i], want[i]) << i;
}

TEST(JitterStencil, ANewSumStartsOverTheOldOne) {
  freshStencil();
  initMyStencil(1, 1);
  memset(myStencilBufByte, 200, 3);
  accumMyStencil();
  initMyStencil(1, 1);
  EXPECT_EQ(myStencilCount, 0);
  memset(myStencilBufByte, 10, 3);
  accumMyStencil();
  EXPECT_EQ(myStencilBufInt[0], 10);
}

TEST(JitterStencil, ALargerWindowKeepsTheFirstSize) {
  freshStencil();
  initMyStencil(2, 2);
  int size = myStencilSize;
  initMyStencil(3, 3);
  EXPECT_EQ(myStencilSize, size);  // not updated, as the path is meant for one fixed size
  EXPECT_EQ(myStencilW, 3);
  EXPECT_EQ(myStencilH, 3);
  EXPECT_NE(myStencilBufInt, nullptr);
  EXPECT_NE(myStencilBufByte, nullptr);
}

TEST(JitterStencil, FailedAllocationEndsTheProcess) {
#if defined(__SANITIZE_ADDRESS__)
  GTEST_SKIP() << "an address space limit doesn't work with the sanitizer";
#else
  // A forked child would share the window\'s X connection and close it on exit.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        // A fresh size, far beyond what the address space limit lets malloc give.
        freshStencil();
        rlimit limit{};
        limit.rlim_cur = limit.rlim_max = 1ul << 30;
        setrlimit(RLIMIT_AS, &limit);
        initMyStencil(30000, 20000);
        // Both arrays were had: nothing to report here, so the test can tell.
        exit(0);
      },
      testing::ExitedWithCode(1), "^Critical Err: failed to allocate memory for our own stencil buffer.\n$");
#endif
}

// ---- Turning a picture upside down ----------------------------------------------------------

std::vector<unsigned char> pattern(int w, int h) {
  std::vector<unsigned char> v((size_t)w * h * 3);
  for (size_t i = 0; i < v.size(); ++i) v[i] = (unsigned char)(i * 7 + i / 3);
  return v;
}

std::vector<unsigned char> turnedByHand(const std::vector<unsigned char>& v, int w, int h) {
  std::vector<unsigned char> out(v.size());
  for (int r = 0; r < h; ++r) memcpy(&out[(size_t)r * w * 3], &v[(size_t)(h - 1 - r) * w * 3], (size_t)w * 3);
  return out;
}

TEST(JitterFlip, OddHeightKeepsTheMiddleRowAndEveryWidthTurnsAlike) {
  struct Size {
    int w, h;
  } const sizes[] = {{1, 1}, {4, 3}, {5, 4}, {2048, 3}, {2049, 3}, {3000, 5}};
  for (const Size& s : sizes) {
    std::vector<unsigned char> v = pattern(s.w, s.h);
    std::vector<unsigned char> want = turnedByHand(v, s.w, s.h);
    myUpsidedownImage(v.data(), s.w, s.h);
    EXPECT_EQ(v, want) << s.w << "x" << s.h;
  }
  std::vector<unsigned char> v = pattern(3, 3), before = v;
  myUpsidedownImage(v.data(), 3, 3);
  EXPECT_EQ(memcmp(&v[9], &before[9], 9), 0);  // the middle row stays
}

// ---- The jittered frame ---------------------------------------------------------------------

TEST_F(JitterFrame, DiagonalLineGetsIntermediateGreysOnlyWhenJittered) {
  sceneDraws = 2;
  jitterSize = 1;
  display();
  std::vector<unsigned char> plain = testsupport::readPixelsRGB(0, 0, 256, 256);
  glReadBuffer(GL_BACK);
  ASSERT_GT(litPixels(plain.data(), plain.size()), 100);
  EXPECT_EQ(intermediatePixels(plain.data(), plain.size()), 0);

  jitterSize = 4;
  jitterPt = getJitterPt(4);
  sceneCalls.clear();
  display();
  EXPECT_EQ(sceneCalls.size(), 4u);  // one scene call per pass
  ASSERT_EQ(myStencilW, 256);
  ASSERT_EQ(myStencilH, 256);
  const size_t bytes = 256 * 256 * 3;
  int greys = intermediatePixels(myStencilBufByte, bytes);
  EXPECT_GT(greys, 100);
  // For a look at the pictures.
  testsupport::keepShotForALook("velmora-jitter-plain", plain.data(), 256, 256);
  testsupport::keepShotForALook("velmora-jitter-average", myStencilBufByte, 256, 256, true);
  // The projection is put back after the passes.
  double pr[16];
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  jitterSize = 1;
  display();
  double pr2[16];
  glGetDoublev(GL_PROJECTION_MATRIX, pr2);
  for (int k = 0; k < 16; ++k) EXPECT_EQ(pr[k], pr2[k]) << k;
}

TEST_F(JitterFrame, EveryPassIsShiftedBySubPixelsNotMore) {
  // The square's edges move by less than a pixel: the lit area of the average differs from
  // the plain one's only along the edges.
  sceneDraws = 1;
  display();
  std::vector<unsigned char> plain = testsupport::readPixelsRGB(0, 0, 256, 256);
  myUpsidedownImage(plain.data(), 256, 256);
  jitterSize = 16;
  jitterPt = getJitterPt(16);
  display();
  int differing = 0;
  for (size_t i = 0; i < plain.size(); i += 3)
    if (abs((int)plain[i] - (int)myStencilBufByte[i]) > 0) ++differing;
  EXPECT_GT(differing, 0);
  EXPECT_LT(differing, 2 * 4 * 66);  // at most the square's four edges, two pixels wide
}

// ---- Options --------------------------------------------------------------------------------

namespace {

struct Args {
  std::vector<std::string> words;
  std::vector<char*> argv;
  explicit Args(std::vector<std::string> w) : words(std::move(w)) {
    for (auto& s : words) argv.push_back(s.data());
    argv.push_back(nullptr);
  }
  int argc() const { return (int)words.size(); }
};

}  // namespace

TEST(FrameworkOptions, ResetsItsStateAndStopsAtTheFirstOtherArgument) {
  justDump = fullScreen = doubleFrame = 1;
  numCameras = currCamera = 0;
  jitterSize = 9;
  Args a({"prog", "model.obj"});
  int index = 1;
  EXPECT_EQ(getOption(a.argc(), a.argv.data(), &index), 0);
  EXPECT_EQ(index, 1);
  EXPECT_EQ(justDump, 0);
  EXPECT_EQ(fullScreen, 0);
  EXPECT_EQ(doubleFrame, 0);
  EXPECT_EQ(jitterSize, 1);
  EXPECT_EQ(cameras, nullptr);
  EXPECT_STREQ(cameraFile, "");
}

TEST(FrameworkOptions, EveryOptionTakesItsArguments) {
  Args a({"prog", "-jitter", "8", "-double", "-fullscreen", "-dumpSkip", "/tmp/frames", "12", "3", "model.obj"});
  int index = 1;
  getStartTime = 1;
  EXPECT_EQ(getOption(a.argc(), a.argv.data(), &index), 0);
  EXPECT_EQ(index, 9);
  EXPECT_EQ(jitterSize, 8);
  EXPECT_EQ(jitterPt, jitter::_jitter8);
  EXPECT_EQ(doubleFrame, 1);
  EXPECT_EQ(fullScreen, 1);
  EXPECT_STREQ(movieFileHead, "/tmp/frames");
  EXPECT_EQ(frameNumOffset, 12);
  EXPECT_EQ(frameNumSkip, 3);
  EXPECT_EQ(justDump, 1);
  EXPECT_EQ(getStartTime, 0);

  Args b({"prog", "-dump", "head", "0"});
  index = 1;
  getOption(b.argc(), b.argv.data(), &index);
  EXPECT_EQ(index, 4);
  EXPECT_STREQ(movieFileHead, "head");
  EXPECT_EQ(frameNumOffset, 0);
  EXPECT_EQ(frameNumSkip, 0);
  EXPECT_EQ(justDump, 1);
  EXPECT_EQ(jitterSize, 1);
  jitterSize = 1;
  jitterPt = nullptr;
  justDump = 0;
}

struct BadOption {
  std::vector<std::string> words;
  const char* message;
};

TEST(FrameworkOptions, EveryBadOptionPrintsItsMessageAndTheUsage) {
  const BadOption cases[] = {
      {{"prog", "-jitter"}, "\nErr: not enough argument after -jitter\n"},
      {{"prog", "-jitter", "7"}, "\nErr: jitterSize not supported!\n\n"},
      {{"prog", "-jitter", "x"}, "\nErr: jitterSize not supported!\n\n"},
      {{"prog", "-dump", "head"}, "\nErr: not enough argument after -dump\n"},
      {{"prog", "-dump"}, "\nErr: not enough argument after -dump\n"},
      {{"prog", "-dump", "head", "-1"}, "\nErr: frameNumOffset must be non-negative!\n"},
      {{"prog", "-dumpSkip", "head"}, "\nErr: not enough argument after -dumpSkip\n"},
      {{"prog", "-dumpSkip", "head", "-2", "1"}, "\nErr: frameNumOffset must be non-negative!\n"},
      {{"prog", "-dumpSkip", "head", "2"}, "\nErr: not enough argument <frameNumSkip> after -dumpSkip\n"},
  };
  for (const BadOption& c : cases) {
    Args a(c.words);
    std::string usage = testsupport::stderrOf([] { ::usage("prog"); });
    // A forked child would share the window\'s X connection and close it on exit.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
          int index = 1;
          getOption(a.argc(), a.argv.data(), &index);
        },
        testing::ExitedWithCode(1), testing::Eq(std::string(c.message) + usage))
        << c.words.back();
  }
}
