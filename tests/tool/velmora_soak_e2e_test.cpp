// A soak of the velmora program: a long run of random input from a fixed seed (keys of the
// program's key table, drags with every modifier and button, right clicks on the picture, clicks
// in the panel), after which the process is still alive, still answers (a key changes the
// picture) and quits on q with status 0.
//
// The number of events comes from VELMORA_SOAK_EVENTS (the suite's default is small; scripts/
// soak.sh runs thousands), the seed from VELMORA_SOAK_SEED.
//
// Input left out or made harmless, and why:
// - q, Q and Esc quit: they are never sent (q is sent once, at the end, as the test's last step).
// - The panel's button row (Quit, Help, About, close-all and next-panel) is never clicked: Quit
//   ends the process. Clicks land in the panel below that row only.
// - Export (a panel button in the alignment rollout) writes the model file: the model lives in the
//   run's own temporary folder, so an export writes there and is harmless. Open and the recent
//   list reopen a model from the file panel's path; a path damaged by typed keys fails with a
//   message and the program goes on, which is part of what the soak checks.
// - No key of the program writes a file or opens a dialog; h and i only print.
#include <gtest/gtest.h>
#include <sys/types.h>

#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "tests/support/program_run.h"
#include "tests/support/testutil.h"
#include "tests/tool/velmora_driver.h"

namespace {

using e2e::Grab;
using testsupport::ProgramRun;

constexpr int kDefaultEvents = 150;
constexpr unsigned kDefaultSeed = 20021;
constexpr int kArea = 640;         // the picture's square drawing area, at the window's left
constexpr int kPanelWidth = 204;   // the panel column beside it
constexpr int kPanelTopRows = 70;  // the panel's title and button row, never clicked
constexpr int kEdge = 4;           // clicks keep this far from the edges of their region
constexpr int kDragSteps = 4;      // pointer moves of one drag
constexpr int kMaxDragStep = 60;   // pixels of one move at most
// Pauses inside one chain of xdotool commands, in seconds as xdotool's sleep takes them.
const char* kHoldSeconds = "0.03";
// After this many events the test waits for the program to draw what it was sent, so that the
// queue of events never grows far ahead of the program.
constexpr int kSettleEvery = 25;

// xdotool names of the keys sent: every key of the tool's table and the framework's, but those
// that quit. The framework's arrows change the scale.
const std::vector<std::string> kKeys = {
    "plus", "minus", "1", "2", "3", "A", "B", "D", "E", "F", "G", "L", "N", "n", "P", "p", "R", "S",
    "U", "u", "W", "X", "x", "Y", "y", "Z", "bracketleft", "bracketright", "b", "d", "f", "g", "i",
    "l", "m", "r", "s", "t", "w", "z", "braceleft", "braceright", "a", "h", "k", "c", "e", "j",
    "o", "v", "Up", "Down"};

// Modifier sets of the drags: none, each alone, and each pair.
const std::vector<std::vector<std::string>> kModifiers = {
    {}, {"shift"}, {"ctrl"}, {"alt"}, {"shift", "ctrl"}, {"shift", "alt"}, {"ctrl", "alt"}};

enum Event { kKey, kDrag, kRightClick, kPanelClick, kEventKinds };

int envInt(const char* name, int fallback) {
  const char* v = getenv(name);
  return v && *v ? atoi(v) : fallback;
}

std::string at(int x, int y) {
  return std::to_string(x) + " " + std::to_string(y);
}

// Sends random events to the run; what was sent goes to log, one line an event.
class Soak {
 public:
  Soak(ProgramRun& run, unsigned seed) : run_(run), rng_(seed) {}

  void send(std::string* log) {
    const std::string move = "mousemove --window " + run_.window() + " ";
    std::string cmd;
    switch (pick(kEventKinds)) {
      case kKey:
        cmd = "key --window " + run_.window() + " " + kKeys[pick(kKeys.size())];
        break;
      case kDrag: {
        const int button = 1 + pick(3);
        int x = inside(0, kArea), y = inside(0, kArea);
        cmd = move + at(x, y);
        const auto& mods = kModifiers[pick(kModifiers.size())];
        for (const auto& m : mods) cmd += " keydown " + m;
        cmd += " mousedown " + std::to_string(button) + " sleep " + kHoldSeconds;
        for (int i = 0; i < kDragSteps; i++) {
          x = clamp(x + pick(2 * kMaxDragStep + 1) - kMaxDragStep, 0, kArea);
          y = clamp(y + pick(2 * kMaxDragStep + 1) - kMaxDragStep, 0, kArea);
          cmd += " " + move + at(x, y) + " sleep " + kHoldSeconds;
        }
        cmd += " mouseup " + std::to_string(button);
        for (auto m = mods.rbegin(); m != mods.rend(); ++m) cmd += " keyup " + *m;
        break;
      }
      case kRightClick:
        cmd = move + at(inside(0, kArea), inside(0, kArea)) + " click 3";
        break;
      default:
        cmd = move + at(inside(kArea, kArea + kPanelWidth), inside(kPanelTopRows, kArea)) + " click 1";
        break;
    }
    log->append(cmd).append("\n");
    run_.xdo(cmd);
  }

 private:
  int pick(size_t n) { return static_cast<int>(rng_() % n); }
  int inside(int lo, int hi) { return lo + kEdge + pick(static_cast<size_t>(hi - lo - 2 * kEdge)); }
  static int clamp(int v, int lo, int hi) { return v < lo + kEdge ? lo + kEdge : v > hi - kEdge ? hi - kEdge : v; }

  ProgramRun& run_;
  std::mt19937 rng_;
};

// Whether the process runs: neither gone nor a zombie waiting to be reaped (kill would still
// reach a zombie).
bool running(pid_t pid) {
  std::string stat = testsupport::readFile("/proc/" + std::to_string(pid) + "/stat");
  size_t close = stat.rfind(')');
  return close != std::string::npos && close + 2 < stat.size() && stat[close + 2] != 'Z';
}

// Pixels that differ in the picture, the panel left out.
long changedInPicture(const Grab& a, const Grab& b) {
  if (a.width != b.width || a.height != b.height) return static_cast<long>(kArea) * kArea;
  long n = 0;
  for (int y = 0; y < kArea && y < a.height; ++y)
    for (int x = 0; x < kArea && x < a.width; ++x)
      if (memcmp(a.at(x, y), b.at(x, y), 3) != 0) ++n;
  return n;
}

TEST(VelmoraSoak, RandomInputLeavesTheProgramAliveAnsweringAndQuittingCleanly) {
  VELMORA_REQUIRE_SKY_DATA();
  const int events = envInt("VELMORA_SOAK_EVENTS", kDefaultEvents);
  const unsigned seed = static_cast<unsigned>(envInt("VELMORA_SOAK_SEED", kDefaultSeed));

  testsupport::TempDir dir;
  e2e::Rectangle model;
  model.centre.v[0] = 1;  // towards the galactic centre, where the sky is full
  model.normals = true;
  const std::string path = dir.file("soak.obj");
  ASSERT_TRUE(e2e::writeRectangle(path, model));
  ProgramRun run({e2e::velmora(), path}, e2e::titleOf(path));
  ASSERT_FALSE(run.window().empty()) << run.err();

  std::string log;
  Soak soak(run, seed);
  for (int i = 0; i < events; i++) {
    soak.send(&log);
    if ((i + 1) % kSettleEvery == 0) e2e::grabStable(run);
    ASSERT_TRUE(running(run.pid())) << "the program ended after event " << i + 1 << " of seed " << seed
                                     << "; the events sent:\n" << log << run.err();
  }
  testsupport::writeFile(dir.file("events.txt"), log);

  // Focus back on the picture (a typed key may have gone to an edit box of the panel): a click on
  // it without a move. A last m may wait for a panel letter: } takes that place (and names no
  // panel), { after it is the sensitivity step back, or one step down; neither changes the picture.
  e2e::click(run, 1, {kArea / 2, kArea / 2});
  run.key("braceright");
  run.key("braceleft");
  ASSERT_TRUE(running(run.pid())) << "the program ended; the events sent:\n" << log << run.err();
  const Grab before = e2e::grabStable(run);
  ASSERT_FALSE(before.empty());
  run.key("g");
  const Grab toggled = e2e::grabUntil(run, [&](const Grab& g) { return changedInPicture(g, before) > 0; });
  e2e::keepShot(before, "velmora_soak_before.ppm");
  e2e::keepShot(toggled, "velmora_soak_toggled.ppm");
  EXPECT_GT(changedInPicture(toggled, before), 0) << "g did not change the picture after the soak";
  run.key("g");

  run.key("q");
  EXPECT_EQ(run.waitExit(), 0) << run.err();
}

}  // namespace
