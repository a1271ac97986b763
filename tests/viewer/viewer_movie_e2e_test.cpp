// A movie script played by the test scene as a program on its own X server: frames dumped on
// start, where the marker lands in them, and the movie keys.
#include <gtest/gtest.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include "fileio/sgi.h"
#include "tests/movie/script_fixtures.h"
#include "tests/support/program_run.h"
#include "tests/support/testutil.h"

namespace {

using testsupport::TempDir;

// The movie: key frames at 0, 4 and 8 with the eye at (0, 0, 10), (3, 0, 10) and (3, 2, 10)
// metres, looking down the z axis with a field of view of 45 degrees, 320 x 240 unless said.
constexpr int kWidth = 320, kHeight = 240;
constexpr int kFrames = 9;
constexpr double kFovy = 45.0;
constexpr double kEyeDistance = 10.0;
// Half the side of the test scene's marker, in metres.
constexpr double kMarkerHalfSide = 0.5;

std::string threeKeyFrameScript(int w = kWidth, int h = kHeight) {
  const double aspect = (double)w / h;
  auto view = [&](double x, double y) {
    return moviefixtures::viewText(x, y, kEyeDistance, 0, "0 0 -1", "0 1 0", kFovy, aspect);
  };
  return moviefixtures::header(3, "linear", w, h) + moviefixtures::keyFrame(0, view(0, 0)) +
         moviefixtures::keyFrame(4, view(3, 0)) + moviefixtures::keyFrame(8, view(3, 2));
}

// Where the eye stands at a frame: straight lines between the key frames.
void eyeAt(double frame, double* x, double* y) {
  if (frame <= 4.0) {
    *x = 3.0 * frame / 4.0;
    *y = 0.0;
  } else {
    *x = 3.0;
    *y = 2.0 * (frame - 4.0) / 4.0;
  }
}

// The middle of the marker (the square about the world's origin) in a frame of a w x h movie,
// in pixels from the top left corner, as the perspective of the frame's view puts it, and the
// marker's side in pixels.
void expectedMarker(double frame, int w, int h, double* cx, double* cy, double* side) {
  double ex, ey;
  eyeAt(frame, &ex, &ey);
  const double t = std::tan(kFovy / 2.0 * M_PI / 180.0);
  const double aspect = (double)w / h;
  *cx = w / 2.0 * (1.0 - ex / (kEyeDistance * t * aspect)) - 0.5;
  *cy = h / 2.0 * (1.0 + ey / (kEyeDistance * t)) - 0.5;
  *side = 2.0 * kMarkerHalfSide / (kEyeDistance * t) * h / 2.0;
}

struct Marker {
  int pixels = 0;
  double cx = 0, cy = 0;
};

// The white pixels of a dumped frame (rows from the top) and their middle.
Marker findMarker(const std::vector<unsigned char>& rgb, int w, int h) {
  Marker m;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      const unsigned char* p = &rgb[((size_t)y * w + x) * 3];
      if (p[0] > 128 && p[1] > 128 && p[2] > 128) {
        ++m.pixels;
        m.cx += x;
        m.cy += y;
      }
    }
  if (m.pixels) {
    m.cx /= m.pixels;
    m.cy /= m.pixels;
  }
  return m;
}

std::vector<unsigned char> readFrame(const std::string& path, int* w, int* h, int* channels) {
  unsigned char* data = read_pnm(path.c_str(), w, h, channels);
  std::vector<unsigned char> v;
  if (data) {
    v.assign(data, data + (size_t)*w * *h * *channels);
    free(data);
  }
  return v;
}

std::vector<std::string> filesIn(const std::string& dir) {
  std::vector<std::string> names;
  for (const auto& e : std::filesystem::directory_iterator(dir)) names.push_back(e.path().filename().string());
  std::sort(names.begin(), names.end());
  return names;
}

std::string scene() {
  return testsupport::binaryDir() + "/viewer_testscene";
}

class MovieProgram : public testing::Test {
 protected:
  void SetUp() override {
    script_ = dir_.file("three.scp");
    testsupport::writeFile(script_, threeKeyFrameScript());
    frames_ = dir_.file("frames");
    std::filesystem::create_directory(frames_);
  }
  TempDir dir_;
  std::string script_, frames_;
};

// Every dumped file, checked against the frame it comes from.
void expectFrames(const std::string& folder, const std::string& name, int firstNumber,
                  const std::vector<double>& frames, int width = kWidth, int height = kHeight) {
  std::vector<std::string> expectedNames;
  for (size_t i = 0; i < frames.size(); ++i) {
    char file[64];
    snprintf(file, sizeof file, "%s.%04d.pnm", name.c_str(), firstNumber + (int)i);
    expectedNames.push_back(file);
  }
  ASSERT_EQ(filesIn(folder), expectedNames);
  for (size_t i = 0; i < frames.size(); ++i) {
    int w = 0, h = 0, channels = 0;
    std::vector<unsigned char> rgb = readFrame(folder + "/" + expectedNames[i], &w, &h, &channels);
    ASSERT_EQ(w, width) << expectedNames[i];
    ASSERT_EQ(h, height) << expectedNames[i];
    ASSERT_EQ(channels, 3);
    Marker m = findMarker(rgb, w, h);
    double cx, cy, side;
    expectedMarker(frames[i], w, h, &cx, &cy, &side);
    // A square of one metre from about ten metres: some 30 pixels a side.
    EXPECT_GT(m.pixels, 0.8 * side * side) << expectedNames[i];
    EXPECT_LT(m.pixels, 1.2 * side * side) << expectedNames[i];
    EXPECT_NEAR(m.cx, cx, 1.0) << expectedNames[i] << " frame " << frames[i];
    EXPECT_NEAR(m.cy, cy, 1.0) << expectedNames[i] << " frame " << frames[i];
  }
}

}  // namespace

TEST_F(MovieProgram, DumpOnStartWritesEveryFrameWithTheMarkerWhereTheViewsPutIt) {
  const std::string head = frames_ + "/shot";
  testsupport::ProgramRun run({scene(), "model.obj", "-script", script_, "-marker", "-dump", head, "0"},
                              "viewer test scene");
  ASSERT_TRUE(run.ok());
  // A good dump ends with status 1 all the same.
  EXPECT_EQ(run.waitExit(120), 1);
  EXPECT_EQ(run.err(), "");
  std::string lines;
  for (int i = 0; i < kFrames; ++i) {
    char line[600];
    snprintf(line, sizeof line, "write frame to [%s.%04d.pnm]\n", head.c_str(), i);
    lines += line;
  }
  EXPECT_NE(run.out().find(lines), std::string::npos) << run.out();
  expectFrames(frames_, "shot", 0, {0, 1, 2, 3, 4, 5, 6, 7, 8});
  testsupport::RunResult id = testsupport::run("identify -format '%m %w %h' '" + head + ".0004.pnm'");
  EXPECT_EQ(id.status, 0);
  EXPECT_EQ(id.out, "PPM 320 240");
  // For a look at a frame when something is wrong.
  testsupport::run("cp '" + head + ".0006.pnm' /tmp/velmora-movie-frame.0006.pnm");
}

TEST_F(MovieProgram, DoubledFramesWithASkipStartAtFrameOneNumberedFromOffsetPlusSkip) {
  const std::string head = frames_ + "/half";
  testsupport::ProgramRun run(
      {scene(), "model.obj", "-script", script_, "-marker", "-double", "-dumpSkip", head, "100", "3"},
      "viewer test scene");
  ASSERT_TRUE(run.ok());
  EXPECT_EQ(run.waitExit(120), 1);
  // Skipping three files of half frames starts at frame 1.0; the half step behind frame 8 isn't
  // dumped.
  std::vector<double> frames;
  for (double f = 1.0; f <= 8.0; f += 0.5) frames.push_back(f);
  expectFrames(frames_, "half", 103, frames);
}

TEST_F(MovieProgram, JitteredFramesDumpTheAverageOfThePasses) {
  // A square window: the first frame already has the movie's size, which the jittered frame
  // keeps.
  testsupport::writeFile(script_, threeKeyFrameScript(256, 256));
  const std::string head = frames_ + "/soft";
  testsupport::ProgramRun run(
      {scene(), "model.obj", "-script", script_, "-marker", "-jitter", "4", "-dump", head, "0"},
      "viewer test scene");
  ASSERT_TRUE(run.ok());
  EXPECT_EQ(run.waitExit(120), 1);
  expectFrames(frames_, "soft", 0, {0, 1, 2, 3, 4, 5, 6, 7, 8}, 256, 256);
  // The average of four passes shifted by fractions of a pixel softens the marker's edges where
  // they fall between pixels (at frame 0 they don't): greys between black and white.
  int w = 0, h = 0, channels = 0;
  std::vector<unsigned char> rgb = readFrame(head + ".0001.pnm", &w, &h, &channels);
  int greys = 0;
  for (size_t i = 0; i < rgb.size(); i += 3) greys += rgb[i] > 20 && rgb[i] < 235;
  EXPECT_GT(greys, 20);
  testsupport::run("cp '" + head + ".0005.pnm' /tmp/velmora-movie-jittered.0005.pnm");
}

TEST_F(MovieProgram, ADumpIntoAMissingFolderEndsWithItsMessageAndStatus1) {
  const std::string head = dir_.file("no/such/folder/f");
  testsupport::ProgramRun run({scene(), "model.obj", "-script", script_, "-dump", head, "0"}, "viewer test scene");
  ASSERT_TRUE(run.ok());
  EXPECT_EQ(run.waitExit(120), 1);
  EXPECT_EQ(run.err(), "Err : writing to [" + head + ".0000.pnm]\n");
  EXPECT_FALSE(std::filesystem::exists(dir_.file("no")));
}

TEST_F(MovieProgram, KeysPlayOnceLoopAndQuit) {
  const std::string state = dir_.file("state");
  testsupport::ProgramRun run({scene(), "model.obj", "-script", script_, "-marker", "-state", state},
                              "viewer test scene");
  ASSERT_TRUE(run.ok());
  ASSERT_NE(run.window(), "");
  // The scene writes its state on "w".
  auto readState = [&]() {
    std::map<std::string, double> values;
    unlink(state.c_str());
    run.key("w");
    for (int i = 0; i < 200 && !testsupport::fileExists(state); ++i) testsupport::pauseMs(50);
    std::istringstream in(testsupport::readFile(state));
    std::string name;
    double v;
    std::string line;
    while (std::getline(in, line)) {
      std::istringstream words(line);
      if (words >> name >> v) values[name] = v;
    }
    return values;
  };
  // The window system carries out the script's window size in its own time.
  std::map<std::string, double> st;
  for (int i = 0; i < 100; ++i) {
    st = readState();
    if (st["winW"] == kWidth && st["winH"] == kHeight) break;
    testsupport::pauseMs(100);
  }
  EXPECT_EQ(st["initWinW"], kWidth);
  EXPECT_EQ(st["initWinH"], kHeight);
  EXPECT_EQ(st["movieLoaded"], 1);
  EXPECT_EQ(st["frameNum"], 0);
  EXPECT_EQ(st["nFrames"], kFrames);
  EXPECT_EQ(st["winW"], kWidth);
  EXPECT_EQ(st["winH"], kHeight);

  run.key("x");
  for (int i = 0; i < 100; ++i) {
    st = readState();
    if (st["countPlay"] == 0 && st["frameNum"] == kFrames - 1) break;
    testsupport::pauseMs(100);
  }
  EXPECT_EQ(st["countPlay"], 0);
  EXPECT_EQ(st["frameNum"], kFrames - 1);

  run.key("z");
  st = readState();
  EXPECT_GT(st["countPlay"], 1);
  run.key("z");
  st = readState();
  EXPECT_EQ(st["countPlay"], 0);
  // F1 to the first frame, home five on, "<" one back, page up and down between key frames.
  const std::pair<const char*, double> steps[] = {
      {"F1", 0}, {"Home", 5}, {"less", 4}, {"Prior", 8}, {"Next", 4}, {"greater", 5}, {"End", 0},
  };
  for (const auto& [key, frame] : steps) {
    run.key(key);
    st = readState();
    EXPECT_EQ(st["frameNum"], frame) << key;
  }

  run.key("Escape");
  EXPECT_EQ(run.waitExit(20), 0);
  EXPECT_NE(run.out().find("scene deleted\n"), std::string::npos);
}
