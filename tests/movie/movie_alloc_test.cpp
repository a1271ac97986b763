// Allocation failures of the movie record: the reader's tables and nodes, and recorded keyframes.
#include <gtest/gtest.h>

#include <cstdlib>
#include <string>

#include "movie/movierec.h"
#include "tests/movie/script_fixtures.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

namespace {

using moviefixtures::header;
using moviefixtures::keyFrame;
using moviefixtures::loadText;
using moviefixtures::viewText;

std::string threeKeys() {
  return header(3) + keyFrame(0, viewText(0, 0, 0, 0)) + keyFrame(5, viewText(1, 0, 0, 0)) +
         keyFrame(9, viewText(2, 0, 0, 0));
}

TEST(MovieAllocTest, ReaderFailsAtEachAllocationWithTheLine) {
  // The table first (line 7, where the keyframes begin), then one node per keyframe.
  struct Case {
    int okCalls;
    int line;
    int linked;
  };
  const Case cases[] = {{0, 7, 0}, {1, 7, 0}, {2, 15, 1}, {3, 23, 2}};
  for (const Case& c : cases) {
    MovieRecord m;
    m.allocFunc = testsupport::failingAlloc;
    m.freeFunc = std::free;
    testsupport::FailAllocScope scope(c.okCalls);
    std::string err;
    EXPECT_EQ(loadText(m, threeKeys(), 1, &err), -1) << c.okCalls;
    EXPECT_EQ(err, "Err : (line " + std::to_string(c.line) +
                       ") MovieRecord::loadRecord : Can't allocate memory for KeyFrames!\n")
        << c.okCalls;
    EXPECT_EQ(m.getNKeyFrames(), c.linked);
  }
  MovieRecord m;
  m.allocFunc = testsupport::failingAlloc;
  testsupport::FailAllocScope scope(4);
  EXPECT_EQ(loadText(m, threeKeys(), 1, nullptr), 1);
  EXPECT_EQ(testsupport::failingAllocCalls(), 4);
}

TEST(MovieAllocTest, RecordKeyFrameFails) {
  MovieRecord m;
  m.allocFunc = testsupport::failingAlloc;
  testsupport::FailAllocScope scope(1);
  View v;
  v.viewDir[2] = -1;
  v.viewUp[1] = 1;
  EXPECT_EQ(m.recordKeyFrame(v, 0), 1);
  std::string err = testsupport::stderrOf([&] { EXPECT_EQ(m.recordKeyFrame(v, 3), -1); });
  EXPECT_EQ(err, "Err : MovieRecord::recordKeyFrame : Can't allocate memory for KeyFrames!\n");
  EXPECT_EQ(m.getNKeyFrames(), 1);
  EXPECT_EQ(m.getNFrames(), 1);
}

TEST(MovieAllocTest, ExportWithoutMemoryReturnsFailure) {
  MovieRecord m;
  View a, b;
  a.viewDir[2] = b.viewDir[2] = -1;
  a.viewUp[1] = b.viewUp[1] = 1;
  a.fovy = b.fovy = 45;
  a.aspect = b.aspect = 1;
  b.viewPos.x = 5;
  m.recordKeyFrame(a, 0);
  m.recordKeyFrame(b, 4);
  m.allocFunc = testsupport::failingAlloc;
  testsupport::FailAllocScope scope(0);
  testsupport::TempDir dir;
  std::string err = testsupport::stderrOf([&] {
    EXPECT_EQ(m.outputUniformSpeedPath(dir.file("u.scp").c_str(), 0), -1);
    const double speed[6] = {1, 1, 1, 1, 1, 1};
    EXPECT_EQ(m.outputVariableSpeedPath(dir.file("v.scp").c_str(), speed, 0), -1);
  });
  EXPECT_EQ(err, "saving script file [" + dir.file("u.scp") + "]...\n");
}

}  // namespace
