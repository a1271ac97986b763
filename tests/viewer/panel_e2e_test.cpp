// The framework's panel as a user meets it: the test scene with its panel under a private X
// server, driven with xdotool and looked at with ImageMagick's grab of the windows.
#include <gtest/gtest.h>

#include <cstdio>
#include <iterator>
#include <map>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/program_run.h"
#include "tests/support/testutil.h"

namespace {

using testsupport::TempDir;

constexpr int kScreenW = 1280;  // the test server's screen
constexpr int kScreenH = 1024;
constexpr int kPictureSize = 256;  // the scene's drawing area beside its panel
constexpr int kPanelW = 160;       // the scene's panel
constexpr int kPanelWindowH = 300;
constexpr int kBrightBlue = 200;  // ImGui's check mark is a bright blue
constexpr int kSettleMs = 600;    // for the program to take events in and draw
const char* const kPanelTitle = "Velmora Panel";

using State = std::map<std::string, std::vector<double>>;

// A grab of the panel: RGB bytes, top row first, and where panel point (x, y) lies in it:
// (x - left, y - top).
struct Grab {
  int width = 0, height = 0;
  int left = 0, top = 0;
  std::string rgb;
};

// One run of the test scene with its panel.
class PanelRun {
 public:
  PanelRun(const std::vector<std::string>& args, bool argsFirst)
      : run_(argvOf(args, argsFirst, dir_.file("state")), "viewer test scene"),
        statePath_(dir_.file("state")) {}
  bool ok() const { return run_.ok(); }
  const std::string& window() { return run_.window(); }
  testsupport::RunResult xdo(const std::string& args) { return run_.xdo(args); }
  std::string xwininfo(const std::string& args) {
    return testsupport::run("DISPLAY=" + run_.display() + " xwininfo " + args).out;
  }
  void key(const std::string& name) { run_.key(name); }
  int waitExit() { return run_.waitExit(); }
  std::string err() const { return run_.err(); }

  // The scene's state ("w"), once the picture has been drawn and the panel has placed its
  // controls.
  State state() {
    State st;
    for (int attempt = 0; attempt < 100; ++attempt) {
      st = readState();
      if (!st["renderCount"].empty() && st["renderCount"][0] >= 1 && !st["countRect"].empty() &&
          st["countRect"][2] > 0)
        break;
      testsupport::pauseMs(100);
    }
    return st;
  }

  // The panel's own window; "" while it has none.
  std::string panelWindow() {
    std::string id;
    for (int i = 0; i < 50 && id.empty(); ++i) {
      std::istringstream in(xdo(std::string("search --name '^") + kPanelTitle + "$'").out);
      in >> id;
      if (id.empty()) testsupport::pauseMs(100);
    }
    return id;
  }

  // The panel's pixels as the X server shows them: grabbed from its own window, or from the
  // main window for a sub-window on its right.
  Grab panelPixels(bool ownWindow) {
    Grab g;
    std::string id = ownWindow ? panelWindow() : window();
    std::string file = dir_.file("grab.ppm");
    testsupport::run("DISPLAY=" + run_.display() + " import -window " + id + " -depth 8 ppm:" + file);
    std::istringstream in(testsupport::readFile(file));
    std::string magic;
    int maxValue = 0;
    in >> magic >> g.width >> g.height >> maxValue;
    in.get();  // the one white space before the pixels
    g.rgb.assign(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
    // A window partly off the screen (GLUT's default place is -1, -1) is grabbed without that
    // part: the grab's first pixel is the window's first one on the screen.
    std::string where = xdo("getwindowgeometry " + id).out;
    int x = 0, y = 0;
    size_t at = where.find("Position: ");
    if (at != std::string::npos) sscanf(where.c_str() + at, "Position: %d,%d", &x, &y);
    g.left = (x < 0 ? -x : 0) - (ownWindow ? 0 : kPictureSize);
    g.top = y < 0 ? -y : 0;
    return g;
  }

 private:
  static std::vector<std::string> argvOf(const std::vector<std::string>& args, bool argsFirst,
                                         const std::string& statePath) {
    std::vector<std::string> all = {testsupport::binaryDir() + "/viewer_testscene"};
    if (argsFirst) all.insert(all.end(), args.begin(), args.end());
    all.insert(all.end(), {"model.obj", "-state", statePath});
    if (!argsFirst) all.insert(all.end(), args.begin(), args.end());
    return all;
  }

  State readState() {
    State values;
    unlink(statePath_.c_str());
    key("w");
    for (int i = 0; i < 200 && !testsupport::fileExists(statePath_); ++i) testsupport::pauseMs(50);
    std::istringstream in(testsupport::readFile(statePath_));
    std::string line;
    while (std::getline(in, line)) {
      std::istringstream words(line);
      std::string name;
      words >> name;
      double v;
      while (words >> v) values[name].push_back(v);
    }
    return values;
  }

  TempDir dir_;  // before run_: the run writes into it
  testsupport::ProgramRun run_;
  std::string statePath_;
};

// Pixels of a check box's square (left, top, side in the state) that are the check mark's blue.
int checkMarkPixels(const Grab& g, const std::vector<double>& box) {
  int count = 0;
  int x0 = (int)box[0], top = (int)box[1], side = (int)box[2];
  for (int y = top; y < top + side; ++y)
    for (int x = x0; x < x0 + side; ++x) {
      int gx = x - g.left, gy = y - g.top;
      if (gx < 0 || gy < 0 || gx >= g.width || gy >= g.height) continue;
      size_t at = ((size_t)gy * g.width + gx) * 3;
      if (at + 2 < g.rgb.size() && (unsigned char)g.rgb[at + 2] > kBrightBlue) ++count;
    }
  return count;
}

// xdotool's words for the centre of the "Count" button of a state, in the window given.
std::string countButton(State& st, const std::string& window, int dx) {
  const auto& r = st["countRect"];
  return "--window " + window + " " + std::to_string((int)(r[0] + r[2]) / 2 + dx) + " " +
         std::to_string((int)(r[1] + r[3]) / 2);
}

#define REQUIRE_RUN(run)                          \
  if (!(run).ok()) GTEST_SKIP() << "no X server"; \
  ASSERT_FALSE((run).window().empty()) << (run).err()

}  // namespace

// ---- Full-screen mode: a window of its own -------------------------------------------------

TEST(PanelProgram, InFullScreenModeThePanelIsAWindowOfItsOwn) {
  PanelRun run({"-fullscreen", "-panel"}, true);
  REQUIRE_RUN(run);
  State st = run.state();
  for (int i = 0; i < 50 && (st["viewport"].size() != 4 || st["viewport"][2] != kScreenW); ++i) {
    testsupport::pauseMs(100);
    st = run.state();
  }
  // The picture has the whole screen; the panel isn't inside it.
  ASSERT_EQ(st["viewport"].size(), 4u);
  EXPECT_EQ(st["viewport"][0], 0);
  EXPECT_EQ(st["viewport"][1], 0);
  EXPECT_EQ(st["viewport"][2], kScreenW);
  EXPECT_EQ(st["viewport"][3], kScreenH);
  EXPECT_EQ(st["useSubGLUI"][0], 0);
  EXPECT_EQ(st["panelIsSubWindow"][0], 0);
  EXPECT_EQ(st["panelWidth"][0], kPanelW);
  EXPECT_NE(st["panelWindow"][0], 0);

  std::string panel = run.panelWindow();
  ASSERT_FALSE(panel.empty()) << "no window named \"Velmora Panel\"";
  auto info = run.xdo("getwindowgeometry " + panel);
  EXPECT_NE(info.out.find("Geometry: " + std::to_string(kPanelW) + "x" + std::to_string(kPanelWindowH)),
            std::string::npos)
      << info.out;
  EXPECT_EQ(run.xdo("getwindowname " + panel).out, std::string(kPanelTitle) + "\n");
  // A top-level window: its parent is the root, and the picture's window has no children.
  auto panelTree = run.xwininfo("-children -id " + panel);
  EXPECT_NE(panelTree.find("(the root window)"), std::string::npos) << panelTree;
  auto pictureTree = run.xwininfo("-children -id " + run.window());
  EXPECT_NE(pictureTree.find("0 children."), std::string::npos) << pictureTree;

  // Its controls work: a quick click on "Count" is counted.
  ASSERT_EQ(run.xdo("mousemove " + countButton(st, panel, 0) + " click 1").status, 0);
  testsupport::pauseMs(kSettleMs);
  EXPECT_EQ(run.state()["panelClicks"][0], 1);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

TEST(PanelProgram, InAWindowThePanelStandsOnTheRightOfThePicture) {
  PanelRun run({"-panel"}, false);
  REQUIRE_RUN(run);
  State st = run.state();
  EXPECT_EQ(st["useSubGLUI"][0], 1);
  EXPECT_EQ(st["panelIsSubWindow"][0], 1);
  ASSERT_EQ(st["viewport"].size(), 4u);
  EXPECT_EQ(st["viewport"][2], kPictureSize);
  EXPECT_EQ(st["viewport"][3], kPictureSize);
  EXPECT_EQ(run.panelWindow(), "") << "a panel window of its own beside the sub-window";
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

// ---- Quick clicks --------------------------------------------------------------------------

TEST(PanelProgram, QuickClicksOnAPanelButtonAllCount) {
  PanelRun run({"-panel"}, false);
  REQUIRE_RUN(run);
  State st = run.state();
  const std::string at = countButton(st, run.window(), kPictureSize);
  // xdotool's click sends the press and the release at once: both reach the program in one
  // pass of its event loop.
  ASSERT_EQ(run.xdo("mousemove " + at + " click 1").status, 0);
  testsupport::pauseMs(kSettleMs);
  EXPECT_EQ(run.state()["panelClicks"][0], 1);
  ASSERT_EQ(run.xdo("mousemove " + at + " click --repeat 3 --delay 1 1").status, 0);
  testsupport::pauseMs(kSettleMs);
  EXPECT_EQ(run.state()["panelClicks"][0], 4);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

TEST(PanelProgram, AQuickClickOnACheckBoxChangesThePicture) {
  PanelRun run({"-panel"}, false);
  REQUIRE_RUN(run);
  State st = run.state();
  double renders = st["renderCount"][0];
  const auto& box = st["axesBox"];
  std::string at = "--window " + run.window() + " " +
                   std::to_string((int)(box[0] + box[2] / 2) + kPictureSize) + " " +
                   std::to_string((int)(box[1] + box[2] / 2));
  ASSERT_EQ(run.xdo("mousemove " + at + " click 1").status, 0);
  testsupport::pauseMs(kSettleMs);
  st = run.state();
  EXPECT_EQ(st["showAxesFlag"][0], 1);
  EXPECT_EQ(st["panelChanges"][0], 1);
  EXPECT_GT(st["renderCount"][0], renders) << "the picture wasn't drawn again";
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

// ---- The wheel -----------------------------------------------------------------------------

TEST(PanelProgram, TheWheelScrollsAnOverflowingPanel) {
  PanelRun run({"-panel", "-tallpanel"}, false);
  REQUIRE_RUN(run);
  State st = run.state();
  double top = st["countRect"][1];
  const std::string at = "--window " + run.window() + " " + std::to_string(kPictureSize + kPanelW / 2) + " " +
                         std::to_string(kPictureSize / 2);
  ASSERT_EQ(run.xdo("mousemove " + at + " click 5").status, 0);  // a step down
  testsupport::pauseMs(kSettleMs);
  double oneStep = top - run.state()["countRect"][1];
  EXPECT_GT(oneStep, 0) << "the wheel didn't scroll the panel";
  ASSERT_EQ(run.xdo("mousemove " + at + " click --repeat 2 --delay 1 5").status, 0);
  testsupport::pauseMs(kSettleMs);
  EXPECT_EQ(run.state()["countRect"][1], top - 3 * oneStep);
  ASSERT_EQ(run.xdo("mousemove " + at + " click --repeat 5 --delay 1 4").status,
            0);  // back up, and past the top
  testsupport::pauseMs(kSettleMs);
  EXPECT_EQ(run.state()["countRect"][1], top);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

// ---- Controls follow their live variables --------------------------------------------------

struct SyncCase {
  const char* name;
  std::vector<std::string> args;
  bool argsFirst;
  bool ownWindow;
};

class PanelFollows : public testing::TestWithParam<SyncCase> {};

TEST_P(PanelFollows, AKeyOverThePictureShowsInThePanelWithoutAPanelEvent) {
  const SyncCase& c = GetParam();
  PanelRun run(c.args, c.argsFirst);
  REQUIRE_RUN(run);
  State st = run.state();
  // The keys go to the picture's window by its id, wherever the panel stands.
  if (c.ownWindow) {
    ASSERT_FALSE(run.panelWindow().empty());
  }
  Grab before = run.panelPixels(c.ownWindow);
  EXPECT_EQ(checkMarkPixels(before, st["axesBox"]), 0);
  EXPECT_EQ(checkMarkPixels(before, st["sceneBox"]), 0);

  // "a": the framework's key flips showAxesFlag and draws the picture again.
  run.key("a");
  testsupport::pauseMs(kSettleMs);
  Grab afterA = run.panelPixels(c.ownWindow);
  EXPECT_GT(checkMarkPixels(afterA, st["axesBox"]), 0) << "Show axes isn't ticked";
  EXPECT_EQ(checkMarkPixels(afterA, st["sceneBox"]), 0);

  // "v": the scene's key flips its flag and draws no picture.
  double renders = run.state()["renderCount"][0];
  run.key("v");
  testsupport::pauseMs(kSettleMs);
  Grab afterV = run.panelPixels(c.ownWindow);
  EXPECT_GT(checkMarkPixels(afterV, st["sceneBox"]), 0) << "Scene flag isn't ticked";
  st = run.state();
  EXPECT_EQ(st["sceneFlag"][0], 1);
  EXPECT_EQ(st["showAxesFlag"][0], 1);
  EXPECT_EQ(st["renderCount"][0], renders) << "the picture was drawn for a key that needs no picture";
  EXPECT_EQ(st["panelClicks"][0], 0);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

INSTANTIATE_TEST_SUITE_P(Panels, PanelFollows,
                         testing::Values(SyncCase{"SubWindow", {"-panel"}, false, false},
                                         SyncCase{"OwnWindow", {"-fullscreen", "-panel"}, true, true}),
                         [](const testing::TestParamInfo<SyncCase>& info) {
                           return std::string(info.param.name);
                         });

// Its own main: the framework's library, which this program links, holds one too.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
