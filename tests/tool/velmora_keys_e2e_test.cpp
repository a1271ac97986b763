// Every key of the alignment tool sent to the velmora program, with what each one does to the
// window's pixels.
//
// Start state of the runs: the two Milky Way maps blended by the slider (key 3; the list's
// first map, shown at start-up, is black away from the galactic centre); a grey flat rectangle (the model, drawn in the neutral fill) of 16 by
// 10 degrees centred on Sirius at 1000 parsec, with outward normals at its corners; a smaller
// red rectangle (the reference model) at half the distance, half of it beside the model to the
// east, so that f and F act; the Milky Way maps loaded (no -notex) so that 1, 2, 3, w and W act.
// Before the table runs, a right click on bare model surface moves the (hidden) anchor there so
// that A shows it in the picture, and a right click on Sirius picks it so that p, P, n and N
// act. d is tried with the galactic grid shown.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "tests/support/program_run.h"
#include "tests/support/testutil.h"
#include "tests/tool/velmora_driver.h"

namespace {

using e2e::Grab;
using e2e::grabStable;
using e2e::grabUntil;
using e2e::Point;
using testsupport::ProgramRun;

constexpr int kSiriusHD = 48915;
constexpr int kStarSet = 6;
constexpr int kArea = 640;  // the drawing area is kArea pixels square, at the window's left
constexpr unsigned char kModelGrey[3] = {128, 128, 128};
constexpr int kGreyTolerance = 1;
// A click lands on empty sky where a square this many pixels around the point is all model grey.
constexpr int kBareHalf = 12;
// Sirius' disc: pixels this bright near the centre.
constexpr int kBright = 240;
constexpr int kSiriusSearch = 15;

// Pixels that differ in the drawing area, the panel beside it left out.
long changed(const Grab& a, const Grab& b) {
  if (a.width != b.width || a.height != b.height) return static_cast<long>(kArea) * kArea;
  long n = 0;
  for (int y = 0; y < std::min(kArea, a.height); ++y)
    for (int x = 0; x < std::min(kArea, a.width); ++x)
      if (memcmp(a.at(x, y), b.at(x, y), 3) != 0) ++n;
  return n;
}

// The centre of Sirius' bright disc near the window centre.
bool siriusPoint(const Grab& g, Point* out) {
  double sx = 0, sy = 0;
  long n = 0;
  for (int y = kArea / 2 - kSiriusSearch; y <= kArea / 2 + kSiriusSearch; ++y)
    for (int x = kArea / 2 - kSiriusSearch; x <= kArea / 2 + kSiriusSearch; ++x) {
      const unsigned char* p = g.at(x, y);
      if (p[0] >= kBright && p[1] >= kBright && p[2] >= kBright) sx += x, sy += y, ++n;
    }
  if (!n) return false;
  *out = {static_cast<int>(std::lround(sx / n)), static_cast<int>(std::lround(sy / n))};
  return true;
}

// The scene of the file comment, written into dir; returns the model's path ("" on failure).
std::string writeScene(const testsupport::TempDir& dir, std::string* reference) {
  e2e::Vec sirius;
  if (!e2e::starDirection(kSiriusHD, kStarSet, &sirius)) return "";
  e2e::Rectangle model;
  model.centre = sirius;
  model.rgb[0] = 1, model.rgb[1] = 0, model.rgb[2] = 0;
  model.normals = true;
  const std::string path = dir.file("sirius-field.obj");
  if (!e2e::writeRectangle(path, model)) return "";
  // Half the size at half the distance would cover the same sky; moved east by its own width, half
  // of it stands beside the model.
  e2e::Rectangle ref;
  ref.centre = sirius;
  ref.distance = model.distance / 2;
  ref.halfWidthDeg = model.halfWidthDeg / 2;
  ref.halfHeightDeg = model.halfHeightDeg / 2;
  std::vector<e2e::Vec> corners = e2e::rectangleCorners(model);
  // East is from corner 0 to corner 1 of the model.
  e2e::Vec east;
  for (int i = 0; i < 3; ++i) east.v[i] = corners[1].v[i] - corners[0].v[i];
  for (int i = 0; i < 3; ++i) ref.centre.v[i] = sirius.v[i] * model.distance + east.v[i] * 0.5;
  ref.rgb[0] = 1, ref.rgb[1] = 0, ref.rgb[2] = 0;
  *reference = dir.file("reference.obj");
  if (!e2e::writeRectangle(*reference, ref)) return "";
  return path;
}

// One program run on the scene, with Sirius picked and the anchor moved onto the model.
class KeysRun {
 public:
  KeysRun() {
    model_ = writeScene(dir_, &reference_);
    if (model_.empty()) return;
    run_ = std::make_unique<ProgramRun>(std::vector<std::string>{e2e::velmora(), model_, reference_},
                                        e2e::titleOf(model_));
  }
  bool started() { return run_ && !run_->window().empty(); }
  ProgramRun& run() { return *run_; }

  // Shows the blended maps, then right clicks on bare model surface and on Sirius. Returns "" or
  // what went wrong.
  std::string pickSirius() {
    run_->key("3");
    Grab start = grabStable(*run_);
    if (start.empty()) return "no grab of the window";
    Point bare, sirius;
    if (!e2e::barePoint(start, kModelGrey, kGreyTolerance, kBareHalf, kArea / 6, kArea / 4, kArea / 2, 3 * kArea / 4, &bare)) return "no bare model surface to click";
    if (!siriusPoint(start, &sirius)) return "Sirius is not drawn at the centre";
    e2e::rightClick(*run_, bare);
    Grab afterAnchor = grabStable(*run_);
    if (afterAnchor != start) return "a click on empty sky with the anchor hidden changed the picture";
    e2e::rightClick(*run_, sirius);
    // The pick pass draws nothing: the marker shows with the next frame.
    askForFrame();
    Grab picked = grabStable(*run_);
    if (changed(picked, start) == 0) return "the click on Sirius showed no marker";
    return "";
  }

  void askForFrame() { e2e::askForFrame(*run_); }

 private:
  testsupport::TempDir dir_;
  std::string model_, reference_;
  std::unique_ptr<ProgramRun> run_;
};

// How a key shows.
enum class Shows {
  kAtOnce,     // a new frame at once, with the change
  kNextFrame,  // no frame of its own: the change shows in the next frame asked for by another key
  kNothing,    // the picture stays, also in the next frame
};

struct KeyRow {
  const char* keys;    // xdotool key names, sent in one go
  Shows shows;
  const char* back;    // keys that bring the start picture back ("" none needed)
  const char* effect;  // what the key does, for the messages
};

// xdotool's names of the keys.
const KeyRow kKeyTable[] = {
    {"plus", Shows::kAtOnce, "minus", "star size times 1.1, redrawn by the callback"},
    {"minus", Shows::kAtOnce, "plus", "star size divided by 1.1, redrawn by the callback"},
    {"1", Shows::kAtOnce, "3", "no Milky Way map"},
    {"2", Shows::kAtOnce, "3", "the one map of the list's first entry, black away from the galactic centre"},
    {"3", Shows::kNothing, "", "the two maps blended by the slider, as at the start"},
    {"A", Shows::kAtOnce, "A", "anchor shown where the click on empty sky left it"},
    {"B", Shows::kNextFrame, "B", "model normals at the corners"},
    {"D", Shows::kAtOnce, "D", "screen centre direction text hidden"},
    {"E", Shows::kAtOnce, "E", "equatorial grid"},
    {"F", Shows::kNextFrame, "F", "reference model keeps its depth and hides the model behind it"},
    {"G", Shows::kAtOnce, "G", "supergalactic grid"},
    {"L", Shows::kAtOnce, "L", "screen centre lines"},
    {"N", Shows::kAtOnce, "N", "HD number instead of the common name in the marker's label"},
    {"n", Shows::kAtOnce, "n", "HD number instead of the common name in the marker's label"},
    {"P", Shows::kAtOnce, "P", "picked star's info box hidden"},
    {"p", Shows::kAtOnce, "p", "picked star's info box hidden"},
    {"S", Shows::kAtOnce, "S S S", "constellation lines; four presses come back"},
    {"W", Shows::kNextFrame, "w", "Milky Way brighter by 0.02"},
    {"w", Shows::kNextFrame, "W", "Milky Way dimmer by 0.02"},
    {"X", Shows::kNextFrame, "X", "model axes"},
    {"x", Shows::kNextFrame, "x", "model axes"},
    {"Z", Shows::kNextFrame, "Z", "model outline"},
    {"bracketleft", Shows::kNextFrame, "bracketright", "model opacity 0.98"},
    {"bracketright", Shows::kNothing, "", "model opacity stays at its cap 1"},
    {"b", Shows::kNextFrame, "b", "model bounding box"},
    {"g", Shows::kAtOnce, "g", "galactic grid"},
    {"g d", Shows::kAtOnce, "d g", "labels at the galactic grid's crossings"},
    {"f", Shows::kNextFrame, "f", "reference model hidden"},
    {"i", Shows::kNextFrame, "i", "model info text hidden"},
    {"l", Shows::kAtOnce, "l", "view locked: its text, and the info box moves up"},
    {"s", Shows::kAtOnce, "s", "stars hidden"},
    {"t", Shows::kAtOnce, "t", "bright stars without their texture"},
    {"z", Shows::kNextFrame, "z", "model hidden"},
    {"m minus", Shows::kNothing, "", "m then - closes the panels and is consumed: no star size change"},
    {"braceleft", Shows::kNothing, "braceright", "sensitivity down; seen through drags below"},
    {"braceright", Shows::kNothing, "braceleft", "sensitivity up; seen through drags below"},
};

// Each row from the start picture: the change as its Redisplay column says, and the start picture
// again after the keys that undo it. The table goes in parts, each part a program run of its own,
// so that the parts can run side by side.
constexpr int kTableParts = 3;

class VelmoraKeyTable : public testing::TestWithParam<int> {};

TEST_P(VelmoraKeyTable, EveryToggleKeyChangesThePictureAsItsRedisplaySaysAndComesBack) {
  VELMORA_REQUIRE_SKY_DATA();
  const int rows = static_cast<int>(std::size(kKeyTable));
  const int from = rows * GetParam() / kTableParts, to = rows * (GetParam() + 1) / kTableParts;
  KeysRun k;
  ASSERT_TRUE(k.started()) << k.run().err();
  ASSERT_EQ(k.pickSirius(), "");
  ProgramRun& run = k.run();
  const Grab start = grabStable(run);
  e2e::writePPM(start, run.dir().file("start.ppm"));
  for (int r = from; r < to; ++r) {
    const KeyRow& row = kKeyTable[r];
    SCOPED_TRACE(std::string("keys \"") + row.keys + "\": " + row.effect);
    auto differs = [&](const Grab& g) { return changed(g, start) > 0; };
    auto same = [&](const Grab& g) { return changed(g, start) == 0; };
    run.key(row.keys);
    Grab now;
    if (row.shows == Shows::kAtOnce) {
      now = grabUntil(run, differs);
      EXPECT_GT(changed(now, start), 0) << "no change at once";
    } else {
      now = grabStable(run);
      EXPECT_EQ(changed(now, start), 0) << "the picture changed without a frame of its own";
      k.askForFrame();
      if (row.shows == Shows::kNextFrame) {
        now = grabUntil(run, differs);
        EXPECT_GT(changed(now, start), 0) << "no change in the next frame";
      } else {
        now = grabStable(run);
        EXPECT_EQ(changed(now, start), 0) << "a change although the key has no visible effect";
      }
    }
    e2e::writePPM(now, run.dir().file(std::string("after-") + row.keys + ".ppm"));
    if (*row.back) run.key(row.back);
    if (row.shows != Shows::kAtOnce) k.askForFrame();
    Grab back = grabUntil(run, same);
    EXPECT_EQ(changed(back, start), 0) << "\"" << row.back << "\" did not bring the start picture back";
    if (changed(back, start) != 0) {
      // The rows after this one need the start picture: stop here.
      e2e::keepShot(back, "velmora_keys_back.ppm");
      e2e::keepShot(start, "velmora_keys_start.ppm");
      break;
    }
  }
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

INSTANTIATE_TEST_SUITE_P(Parts, VelmoraKeyTable, testing::Range(0, kTableParts));

// m then a letter that names no panel falls through to the framework: m then i prints the view
// on standard error (the framework's i), and the scene's i (hide the model info) does not happen.
// i alone is the scene's and prints nothing.
TEST(VelmoraKeys, MThenALetterOfNoPanelFallsThroughToTheFramework) {
  VELMORA_REQUIRE_SKY_DATA();
  KeysRun k;
  ASSERT_TRUE(k.started()) << k.run().err();
  ProgramRun& run = k.run();
  const Grab start = grabStable(run);
  run.key("i");
  k.askForFrame();
  EXPECT_GT(changed(grabStable(run), start), 0) << "i did not hide the model info";
  run.key("i");
  k.askForFrame();
  EXPECT_EQ(changed(grabStable(run), start), 0);
  EXPECT_EQ(run.err().find("Current View"), std::string::npos) << run.err();
  run.key("m i");
  k.askForFrame();
  EXPECT_EQ(changed(grabStable(run), start), 0) << "the scene's i acted behind m";
  EXPECT_NE(run.err().find("\nCurrent View\n"), std::string::npos) << run.err();
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

// The grey model's centre in the drawing area.
e2e::Centroid modelCentre(const Grab& g) {
  return e2e::centroidOf(g, kModelGrey, kGreyTolerance, 0, 0, kArea, kArea);
}

// A middle drag of this many pixels to the right, from the centre.
constexpr int kDragPixels = 10;
void middleDrag(ProgramRun& run) {
  e2e::drag(run, 2, {{kArea / 2, kArea / 2}, {kArea / 2 + kDragPixels, kArea / 2}});
}
// The sensitivity keys step by this factor; the framework's own keys would double and halve.
constexpr double kSensitivityStep = 1.1;
constexpr double kRatioTolerance = 0.03;
constexpr double kCentreTolerance = 3.0;

// u, U, y and Y undo and redo a drag; R puts the model back (and the framework, which sees R too,
// has nothing to do without a movie); { and } change how far the same drag moves the model by a
// factor 1.1, not the framework's 2; r looks at the whole model again after the view was turned
// with Ctrl and after the model was moved.
TEST(VelmoraKeys, UndoRedoRestartSensitivityAndResetViewThroughDrags) {
  VELMORA_REQUIRE_SKY_DATA();
  KeysRun k;
  ASSERT_TRUE(k.started()) << k.run().err();
  ProgramRun& run = k.run();
  // Each step waits for the picture it expects (or, after a drag, for the model to have moved), not
  // just for two equal grabs: under load a frame can take longer than the settling step.
  auto same = [](const Grab& want) { return [&want](const Grab& g) { return changed(g, want) == 0; }; };
  const Grab start = grabUntil(run, [](const Grab& g) { return modelCentre(g).count > kArea * kArea / 10; });
  const e2e::Centroid c0 = modelCentre(start);
  ASSERT_GT(c0.count, kArea * kArea / 10) << "the model is not in the picture";
  EXPECT_NEAR(c0.x, kArea / 2.0, kCentreTolerance);
  EXPECT_NEAR(c0.y, kArea / 2.0, kCentreTolerance);
  // The model's centre has gone right by more than this many pixels.
  auto movedBy = [&c0](double pixels) {
    return [&c0, pixels](const Grab& g) { return modelCentre(g).x - c0.x > pixels; };
  };

  middleDrag(run);
  const Grab moved = grabUntil(run, movedBy(kDragPixels));
  const double shift = modelCentre(moved).x - c0.x;
  EXPECT_GT(shift, kDragPixels) << "the middle drag did not move the model with the pointer";
  struct Step {
    const char* key;
    const Grab* expected;
  } steps[] = {{"u", &start}, {"y", &moved}, {"U", &start}, {"Y", &moved}, {"u", &start}, {"y", &moved}};
  for (const Step& s : steps) {
    run.key(s.key);
    EXPECT_EQ(changed(grabUntil(run, same(*s.expected)), *s.expected), 0) << "after " << s.key;
  }
  run.key("R");
  EXPECT_EQ(changed(grabUntil(run, same(start)), start), 0) << "R did not restart the model position";

  // A drag is one motion of the pointer, so any frame with the model moved is the drag's last.
  run.key("braceright");
  middleDrag(run);
  const double up = modelCentre(grabUntil(run, movedBy(shift / 2))).x - c0.x;
  EXPECT_NEAR(up / shift, kSensitivityStep, kRatioTolerance) << up << " against " << shift;
  run.key("R");
  run.key("braceleft braceleft");
  middleDrag(run);
  const double down = modelCentre(grabUntil(run, movedBy(shift / 2))).x - c0.x;
  EXPECT_NEAR(down / shift, 1 / kSensitivityStep, kRatioTolerance) << down << " against " << shift;
  run.key("R");
  run.key("braceright");
  EXPECT_EQ(changed(grabUntil(run, same(start)), start), 0);

  // Ctrl with the left button turns the view, not the model; r looks at the model as at the start.
  e2e::drag(run, 1, {{kArea / 2, kArea / 2}, {kArea / 2 + 30, kArea / 2 + 10}}, {"ctrl"});
  EXPECT_GT(changed(grabUntil(run, [&start](const Grab& g) { return changed(g, start) > 0; }), start), 0)
      << "the Ctrl drag did not turn the view";
  run.key("r");
  EXPECT_EQ(changed(grabUntil(run, same(start)), start), 0) << "r did not bring the first view back";

  // After a move of the model, r centres the picture on it again.
  middleDrag(run);
  middleDrag(run);
  EXPECT_GT(modelCentre(grabUntil(run, movedBy(shift * 1.5))).x - c0.x, kDragPixels);
  run.key("r");
  const e2e::Centroid again = modelCentre(grabUntil(run, [](const Grab& g) {
    const e2e::Centroid c = modelCentre(g);
    return fabs(c.x - kArea / 2.0) <= kCentreTolerance && fabs(c.y - kArea / 2.0) <= kCentreTolerance;
  }));
  EXPECT_NEAR(again.x, kArea / 2.0, kCentreTolerance);
  EXPECT_NEAR(again.y, kArea / 2.0, kCentreTolerance);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

}  // namespace
