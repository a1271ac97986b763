// The control panel of the velmora program end to end, on its own X server: where it stands, its
// rollouts opened by their titles and by m and a letter, a check box and the key that shares its
// variable, undo after a drag, export by Enter and by the button, open and the recent files.
//
// Controls are found in grabs of the window by their colours: the panel's background, the title
// bars of the rollouts, the frames of boxes and the fill of buttons, each looked for in a column
// of the panel where only that kind of control reaches.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>
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

constexpr int kPanelWidth = 204;   // the panel column beside the picture, pixels
constexpr int kPictureSide = 640;  // the picture's square drawing area

struct Rgb {
  unsigned char r, g, b;
};
constexpr Rgb kPanelBackground = {90, 30, 50};
constexpr Rgb kFrame = {63, 54, 89};    // edit boxes, check boxes and list boxes
constexpr Rgb kButton = {80, 78, 130};  // buttons
// A rollout's title bar, plain, under the pointer and pressed.
constexpr Rgb kTitleBars[] = {{82, 67, 112}, {71, 126, 210}, {66, 150, 250}};
constexpr Rgb kCheckMark = {66, 150, 250};
constexpr int kCheckMarkTolerance = 40;

// A control is at least this many rows high.
constexpr int kControlRows = 15;
// Columns of the panel, from its left edge, where one kind of control is found.
constexpr int kTitleColumn = 175;       // title bars span the panel, left of the scroll bar
constexpr int kCheckColumn = 17;        // the squares of the check boxes
constexpr int kCheckLeft = 8, kCheckRight = 28;  // a check box's square spans these columns
constexpr int kButtonColumn = 30;       // buttons standing at the left (undo)
constexpr int kFieldColumn = 81;        // the boxes of "Path:", "File:", "recent:" and "ObjFile:"
constexpr int kSideButtonColumn = 160;  // buttons right of a box ("dir", "open", "Export")
constexpr int kClickColumn = 100;       // where a title bar is clicked
// The panel's ImGui window draws a border of its own at its edges.
constexpr int kBorder = 2;

// Rollouts in their first order; the Milky Way's comes last, and only with maps.
enum Rollout { kFile, kView, kStatus, kAlignment, kStar, kPicked, kMilkyWay };
constexpr size_t kRolloutsWithoutMaps = 6;
constexpr size_t kRolloutsWithMaps = 7;
constexpr int kStatusCheckBoxes = 12;
constexpr int kGalacticGridBox = 4;  // "show galactic grid (g)", counted from 0
// More rows than this between two title bars: the first one's rollout is open.
constexpr int kOpenGap = 100;

// Recent files' list: ImGui's popup lists its entries this many rows apart, the first one this
// far below the box.
constexpr int kPopupFirstRow = 12;
constexpr int kPopupRowPitch = 17;

constexpr int kBackspaces = 40;  // more than any name the tests type over
constexpr int kFileWaitMs = 10000;
constexpr int kPollMs = 100;

bool is(const unsigned char* p, Rgb c) {
  return p[0] == c.r && p[1] == c.g && p[2] == c.b;
}
bool near(const unsigned char* p, Rgb c, int tolerance) {
  return std::abs(p[0] - c.r) <= tolerance && std::abs(p[1] - c.g) <= tolerance && std::abs(p[2] - c.b) <= tolerance;
}
bool isTitleBar(const unsigned char* p) {
  for (Rgb c : kTitleBars)
    if (is(p, c)) return true;
  return false;
}

int panelLeft(const Grab& g) {
  return g.width - kPanelWidth;
}

// Rows from..to of a column, as runs of at least kControlRows rows whose pixel passes the test. A
// text may cross the column: runs kTextGap rows apart or closer are one control.
struct Band {
  int top, bottom;  // first and last row
  int middle() const { return (top + bottom) / 2; }
};
constexpr int kTextGap = 2;
template <typename Test>
std::vector<Band> bands(const Grab& g, int x, int from, int to, Test test) {
  std::vector<Band> runs;
  int start = -1;
  to = std::min(to, g.height);
  for (int y = std::max(from, 0); y <= to; ++y) {
    bool in = y < to && test(g.at(x, y));
    if (in && start < 0) start = y;
    if (!in && start >= 0) {
      if (!runs.empty() && start - runs.back().bottom - 1 <= kTextGap)
        runs.back().bottom = y - 1;
      else
        runs.push_back({start, y - 1});
      start = -1;
    }
  }
  std::vector<Band> out;
  for (const Band& b : runs)
    if (b.bottom - b.top + 1 >= kControlRows) out.push_back(b);
  return out;
}
std::vector<Band> titleBars(const Grab& g) {
  if (g.empty()) return {};
  return bands(g, panelLeft(g) + kTitleColumn, 0, g.height, isTitleBar);
}
// Controls of one colour in a column of the panel, between two rows.
std::vector<Band> controls(const Grab& g, int column, Rgb colour, int from, int to) {
  return bands(g, panelLeft(g) + column, from, to, [&](const unsigned char* p) { return is(p, colour); });
}

// The rows of an open rollout's controls: from its title bar to the next one, or to the bottom of
// the window when the rollout runs past it.
int rolloutEnd(const Grab& g, const std::vector<Band>& bars, size_t r) {
  return r + 1 < bars.size() ? bars[r + 1].top : g.height;
}

// The check boxes between two rows; the one under the pointer is drawn in the buttons' colour.
std::vector<Band> checkBoxes(const Grab& g, int from, int to) {
  return bands(g, panelLeft(g) + kCheckColumn, from, to,
               [](const unsigned char* p) { return is(p, kFrame) || is(p, kButton); });
}

// Pixels of the picture's drawing area that differ.
long pictureChanges(const Grab& a, const Grab& b) {
  if (a.width != b.width || a.height != b.height) return 1;
  long n = 0;
  for (int y = 0; y < a.height; ++y)
    for (int x = 0; x < panelLeft(a); ++x)
      if (memcmp(a.at(x, y), b.at(x, y), 3) != 0) ++n;
  return n;
}

// Pixels of the check mark's colour in a check box.
long checkMarkPixels(const Grab& g, const Band& box) {
  long n = 0;
  for (int y = box.top; y <= box.bottom; ++y)
    for (int x = panelLeft(g) + kCheckLeft; x < panelLeft(g) + kCheckRight; ++x)
      if (near(g.at(x, y), kCheckMark, kCheckMarkTolerance)) ++n;
  return n;
}

// Title bars whose rollouts are open: more than kOpenGap rows before the next bar; the last bar
// when controls stand below it.
std::vector<int> openRollouts(const Grab& g) {
  std::vector<Band> bars = titleBars(g);
  std::vector<int> open;
  for (size_t k = 0; k + 1 < bars.size(); ++k)
    if (bars[k + 1].top - bars[k].bottom > kOpenGap) open.push_back(static_cast<int>(k));
  if (!bars.empty()) {
    auto control = [](const unsigned char* p) { return is(p, kFrame) || is(p, kButton); };
    for (int column : {kCheckColumn, kButtonColumn, kFieldColumn})
      if (!bands(g, panelLeft(g) + column, bars.back().bottom, g.height, control).empty()) {
        open.push_back(static_cast<int>(bars.size()) - 1);
        break;
      }
  }
  return open;
}

// Lit pixels of the picture above its information lines: where the model's image shows.
constexpr int kTextRows = 560;  // the information lines stand below this
constexpr int kLit = 60;
constexpr long kModelShown = 5000;
long modelPixels(const Grab& g) {
  long n = 0;
  for (int y = 0; y < std::min(kTextRows, g.height); ++y)
    for (int x = 0; x < panelLeft(g); ++x) {
      const unsigned char* q = g.at(x, y);
      if (q[0] + q[1] + q[2] >= 3 * kLit) ++n;
    }
  return n;
}

// A velmora run on copies of two samples in a folder of its own, so that export and open write
// and read there: the misplaced M51 with its twin as the reference, and the misplaced M1 to open.
class PanelRun {
 public:
  explicit PanelRun(bool maps) {
    for (const char* f : {"m51-misplaced.obj", "m51.obj", "m51.mtl", "m51.ppm", "m1-misplaced.obj", "m1.mtl", "m1.ppm"})
      std::filesystem::copy_file(e2e::sample(f), dir_.file(f));
    model_ = dir_.file("m51-misplaced.obj");
    std::vector<std::string> argv = {e2e::velmora()};
    if (!maps) argv.push_back("-notex");
    argv.push_back(model_);
    argv.push_back(dir_.file("m51.obj"));
    run_ = std::make_unique<ProgramRun>(argv, e2e::titleOf(model_));
  }
  bool started() { return !run_->window().empty(); }
  ProgramRun& run() { return *run_; }
  const testsupport::TempDir& dir() const { return dir_; }

  // The panel settled with this many title bars.
  Grab settled(size_t rollouts) {
    return grabUntil(*run_, [&](const Grab& g) { return titleBars(g).size() == rollouts; });
  }
  // A click on a point of the panel; the next grab waits for the test.
  void clickPanel(const Grab& g, int column, int row) { e2e::click(*run_, 1, {panelLeft(g) + column, row}); }
  // Opens a closed rollout by its title and returns the panel once it shows the rollout open.
  Grab open(const Grab& g, Rollout r) {
    clickPanel(g, kClickColumn, titleBars(g)[r].middle());
    return grabUntil(*run_, [&](const Grab& now) {
      std::vector<int> o = openRollouts(now);
      return std::find(o.begin(), o.end(), static_cast<int>(r)) != o.end();
    });
  }
  // Keys typed where the pointer is: over the panel, into the box clicked last.
  void type(const std::string& text) { run_->xdo("type --delay 30 '" + text + "'"); }
  void keys(const std::string& names) { run_->xdo("key --delay 30 " + names); }
  void clearBox() {
    keys("End");
    std::string back;
    for (int i = 0; i < kBackspaces; ++i) back += " BackSpace";
    keys(back);
  }
  std::string title() {
    std::string t = run_->xdo("getwindowname " + run_->window()).out;
    while (!t.empty() && (t.back() == '\n' || t.back() == '\r')) t.pop_back();
    return t;
  }
  bool waitForTitleEnding(const std::string& end) {
    for (int waited = 0; waited < kFileWaitMs; waited += kPollMs) {
      std::string t = title();
      if (t.size() >= end.size() && t.compare(t.size() - end.size(), end.size(), end) == 0) return true;
      testsupport::pauseMs(kPollMs);
    }
    return false;
  }

 private:
  testsupport::TempDir dir_;
  std::string model_;
  std::unique_ptr<ProgramRun> run_;
};

#define START_PANEL_RUN(name, maps)          \
  VELMORA_REQUIRE_SKY_DATA();                \
  PanelRun name(maps);                       \
  ASSERT_TRUE(name.started()) << name.run().err()

bool waitForFile(const std::string& path) {
  for (int waited = 0; waited < kFileWaitMs; waited += kPollMs) {
    if (testsupport::fileExists(path)) return true;
    testsupport::pauseMs(kPollMs);
  }
  return false;
}

// The "v" lines of an OBJ file, three numbers each.
std::vector<std::vector<double>> vertices(const std::string& text) {
  std::vector<std::vector<double>> out;
  std::istringstream in(text);
  std::string line;
  while (std::getline(in, line)) {
    if (line.rfind("v ", 0) != 0) continue;
    std::istringstream words(line.substr(2));
    std::vector<double> v(3);
    words >> v[0] >> v[1] >> v[2];
    out.push_back(v);
  }
  return out;
}

// An export of the unmoved model holds the file's own vertices and says its unit and frame.
void expectExportOfTheUnmovedModel(const std::string& exported, const std::string& source) {
  // The unit list starts at parsec; the source's own k-parsec comment is copied further down.
  EXPECT_NE(exported.find("# - unit in this model is parsec\n"), std::string::npos) << exported;
  EXPECT_NE(exported.find("# - coordinate system is galactic"), std::string::npos) << exported;
  auto got = vertices(exported), want = vertices(source);
  ASSERT_EQ(got.size(), want.size());
  constexpr double kRelative = 1e-5;
  for (size_t i = 0; i < want.size(); ++i)
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(got[i][k], want[i][k], kRelative * std::fabs(want[i][k])) << i << "," << k;
}

// ---------------------------------------------------------------------------------------------

// The panel takes the window's right kPanelWidth columns and the picture the square beside it:
// below the title bars the panel shows nothing but its own colour, so the picture is not drawn
// under it, and the model, centred in the picture, stands in the middle of the square.
TEST(VelmoraPanel, StandsOnTheRightWithThePictureBesideIt) {
  START_PANEL_RUN(p, true);
  Grab g = p.settled(kRolloutsWithMaps);
  std::vector<Band> bars = titleBars(g);
  ASSERT_EQ(bars.size(), kRolloutsWithMaps);
  EXPECT_EQ(panelLeft(g), kPictureSide);
  EXPECT_TRUE(openRollouts(g).empty());
  long foreign = 0;
  for (int y = bars.back().bottom + kControlRows; y < g.height - kBorder; ++y)
    for (int x = panelLeft(g) + kBorder; x < g.width - kBorder; ++x)
      if (!is(g.at(x, y), kPanelBackground)) ++foreign;
  EXPECT_EQ(foreign, 0);
  // The M51 image is the brightest thing in the picture's upper part; its middle is the square's.
  constexpr int kBright = 120;
  double sx = 0;
  long n = 0;
  for (int y = 0; y < kTextRows; ++y)
    for (int x = 0; x < panelLeft(g); ++x) {
      const unsigned char* q = g.at(x, y);
      if (q[0] + q[1] + q[2] >= 3 * kBright) sx += x, ++n;
    }
  ASSERT_GT(n, 0);
  constexpr double kCentreTolerance = 40;
  EXPECT_NEAR(sx / n, kPictureSide / 2.0, kCentreTolerance);
  e2e::keepShot(g, "velmora_panel_whole.ppm");
  p.run().key("q");
  EXPECT_EQ(p.run().waitExit(), 0);
}

// A title opens its rollout and closes it again; m and the rollout's letter bring it to the top,
// opened, and the same keys close it.
TEST(VelmoraPanel, RolloutsOpenByTheirTitlesAndByMAndTheirLetter) {
  START_PANEL_RUN(p, false);
  Grab start = p.settled(kRolloutsWithoutMaps);
  std::vector<Band> bars0 = titleBars(start);
  ASSERT_EQ(bars0.size(), kRolloutsWithoutMaps);

  Grab opened = p.open(start, kStatus);
  std::vector<Band> bars1 = titleBars(opened);
  ASSERT_EQ(bars1.size(), kRolloutsWithoutMaps);
  EXPECT_EQ(openRollouts(opened), std::vector<int>{kStatus});
  EXPECT_EQ(checkBoxes(opened, bars1[kStatus].bottom, rolloutEnd(opened, bars1, kStatus)).size(),
            static_cast<size_t>(kStatusCheckBoxes));

  p.clickPanel(opened, kClickColumn, bars1[kStatus].middle());
  Grab closed = grabUntil(p.run(), [&](const Grab& g) { return openRollouts(g).empty(); });
  std::vector<Band> bars2 = titleBars(closed);
  ASSERT_EQ(bars2.size(), bars0.size());
  for (size_t k = 0; k < bars0.size(); ++k) EXPECT_EQ(bars2[k].top, bars0[k].top) << k;

  // m t: the status rollout stands first now, open, with its check boxes under it.
  p.run().key("m");
  p.run().key("t");
  Grab top = grabUntil(p.run(), [&](const Grab& g) { return openRollouts(g) == std::vector<int>{0}; });
  std::vector<Band> bars3 = titleBars(top);
  ASSERT_EQ(openRollouts(top), std::vector<int>{0});
  EXPECT_EQ(checkBoxes(top, bars3[0].bottom, rolloutEnd(top, bars3, 0)).size(),
            static_cast<size_t>(kStatusCheckBoxes));
  p.run().key("m");
  p.run().key("t");
  Grab again = grabUntil(p.run(), [&](const Grab& g) { return openRollouts(g).empty(); });
  EXPECT_TRUE(openRollouts(again).empty());
  p.run().key("q");
  EXPECT_EQ(p.run().waitExit(), 0);
}

// "show galactic grid (g)" draws the grid; the key g clears the same variable, and the box follows
// it without an event of its own.
TEST(VelmoraPanel, ACheckBoxChangesThePictureAndFollowsItsKey) {
  START_PANEL_RUN(p, false);
  Grab start = p.settled(kRolloutsWithoutMaps);
  Grab opened = p.open(start, kStatus);
  std::vector<Band> bars = titleBars(opened);
  ASSERT_GT(bars.size(), static_cast<size_t>(kStatus));
  std::vector<Band> boxes = checkBoxes(opened, bars[kStatus].bottom, rolloutEnd(opened, bars, kStatus));
  ASSERT_EQ(boxes.size(), static_cast<size_t>(kStatusCheckBoxes));
  const Band grid = boxes[kGalacticGridBox];
  EXPECT_EQ(checkMarkPixels(opened, grid), 0);

  p.clickPanel(opened, kCheckColumn, grid.middle());
  Grab on = grabUntil(p.run(), [&](const Grab& g) { return pictureChanges(g, opened) > 0; });
  EXPECT_GT(pictureChanges(on, opened), 0) << "the grid was not drawn";
  EXPECT_GT(checkMarkPixels(on, grid), 0) << "the box shows no check mark";

  p.run().key("g");
  Grab off = grabUntil(p.run(), [&](const Grab& g) { return pictureChanges(g, opened) == 0; });
  EXPECT_EQ(pictureChanges(off, opened), 0) << "g did not take the grid away again";
  Grab box = grabUntil(p.run(), [&](const Grab& g) { return checkMarkPixels(g, grid) == 0; });
  EXPECT_EQ(checkMarkPixels(box, grid), 0) << "the box did not follow the key";
  p.run().key("q");
  EXPECT_EQ(p.run().waitExit(), 0);
}

// "undo(u)" after a middle drag gives the very same picture back.
TEST(VelmoraPanel, UndoAfterADragRestoresThePicture) {
  START_PANEL_RUN(p, false);
  Grab start = p.settled(kRolloutsWithoutMaps);
  Grab opened = p.open(start, kAlignment);
  std::vector<Band> bars = titleBars(opened);
  ASSERT_GT(bars.size(), static_cast<size_t>(kAlignment));
  std::vector<Band> buttons =
      controls(opened, kButtonColumn, kButton, bars[kAlignment].bottom, rolloutEnd(opened, bars, kAlignment));
  ASSERT_GE(buttons.size(), 2u);  // undo(u), redo(y)
  e2e::drag(p.run(), 2, {{320, 320}, {360, 340}, {400, 360}});
  Grab moved = grabUntil(p.run(), [&](const Grab& g) { return pictureChanges(g, opened) > 0; });
  ASSERT_GT(pictureChanges(moved, opened), 0) << "the drag moved nothing";
  p.clickPanel(opened, kButtonColumn, buttons[0].middle());
  Grab undone = grabUntil(p.run(), [&](const Grab& g) { return pictureChanges(g, opened) == 0; });
  EXPECT_EQ(pictureChanges(undone, opened), 0) << "undo did not restore the picture";
  p.run().key("q");
  EXPECT_EQ(p.run().waitExit(), 0);
}

// A name typed into "ObjFile:" exports on Enter, and "Export" exports again, into the model's
// folder; the unmoved model comes out with the file's own vertices, its unit and its frame.
TEST(VelmoraPanel, ExportByEnterAndByTheButton) {
  START_PANEL_RUN(p, false);
  Grab start = p.settled(kRolloutsWithoutMaps);
  Grab opened = p.open(start, kAlignment);
  std::vector<Band> bars = titleBars(opened);
  ASSERT_GT(bars.size(), static_cast<size_t>(kAlignment));
  const int from = bars[kAlignment].bottom, to = rolloutEnd(opened, bars, kAlignment);
  std::vector<Band> boxes = controls(opened, kFieldColumn, kFrame, from, to);
  std::vector<Band> buttons = controls(opened, kSideButtonColumn, kButton, from, to);
  ASSERT_FALSE(boxes.empty());
  ASSERT_FALSE(buttons.empty());
  const std::string source = testsupport::readFile(p.dir().file("m51-misplaced.obj"));
  const std::string target = p.dir().file("out.obj");

  p.clickPanel(opened, kFieldColumn, boxes[0].middle());
  p.type("out.obj");
  p.keys("Return");
  ASSERT_TRUE(waitForFile(target)) << p.run().err();
  testsupport::pauseMs(kPollMs);  // the file is renamed into place whole
  expectExportOfTheUnmovedModel(testsupport::readFile(target), source);

  std::filesystem::remove(target);
  p.clickPanel(opened, kSideButtonColumn, buttons[0].middle());
  ASSERT_TRUE(waitForFile(target)) << p.run().err();
  testsupport::pauseMs(kPollMs);
  expectExportOfTheUnmovedModel(testsupport::readFile(target), source);
  p.run().key("q");
  EXPECT_EQ(p.run().waitExit(), 0);
}

// "open" loads the file named in "File:" from "Path:", and "recent:" brings the first model back.
TEST(VelmoraPanel, OpenAnotherModelAndReopenTheFirstFromTheRecentList) {
  START_PANEL_RUN(p, false);
  Grab start = p.settled(kRolloutsWithoutMaps);
  Grab opened = p.open(start, kFile);
  std::vector<Band> bars = titleBars(opened);
  ASSERT_GT(bars.size(), static_cast<size_t>(kFile));
  const int from = bars[kFile].bottom, to = rolloutEnd(opened, bars, kFile);
  std::vector<Band> boxes = controls(opened, kFieldColumn, kFrame, from, to);    // Path, File, recent
  std::vector<Band> buttons = controls(opened, kSideButtonColumn, kButton, from, to);  // dir, open
  ASSERT_EQ(boxes.size(), 3u);
  ASSERT_EQ(buttons.size(), 2u);

  p.clickPanel(opened, kFieldColumn, boxes[1].middle());
  p.clearBox();
  p.type("m1-misplaced.obj");
  p.clickPanel(opened, kSideButtonColumn, buttons[1].middle());
  EXPECT_TRUE(p.waitForTitleEnding("m1-misplaced.obj]")) << p.title() << "\n" << p.run().err();
  // The new model is looked at whole: its image fills the picture's upper part.
  Grab other = grabUntil(p.run(), [&](const Grab& g) { return modelPixels(g) > kModelShown; });
  EXPECT_GT(pictureChanges(other, opened), 0) << "the picture still shows the first model";
  EXPECT_GT(modelPixels(other), kModelShown) << "the view does not look at the opened model";

  // The list holds the model just opened, then the first one.
  p.clickPanel(opened, kFieldColumn, boxes[2].middle());
  Grab popup = grabStable(p.run());
  e2e::keepShot(popup, "velmora_panel_recent.ppm");
  p.clickPanel(opened, kFieldColumn, boxes[2].bottom + kPopupFirstRow + kPopupRowPitch);
  EXPECT_TRUE(p.waitForTitleEnding("m51-misplaced.obj]")) << p.title() << "\n" << p.run().err();
  p.run().key("q");
  EXPECT_EQ(p.run().waitExit(), 0);
}

}  // namespace
