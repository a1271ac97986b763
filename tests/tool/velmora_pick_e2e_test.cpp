// Picking Sirius with the right button in the velmora program, and the alignment drags about the
// model and about the picked star, judged by the window's pixels.
//
// The models are flat rectangles written in the test's folder, at 1000 parsec, placed by the
// catalogue's own Sirius: so the program's first view, which looks along the model's mean vertex
// with the model's short axis (galactic north) up, puts Sirius at a pixel known beforehand. The
// model is drawn in the neutral grey fill whatever its material says; -notex keeps the sky black.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "stars/star.h"
#include "tests/support/program_run.h"
#include "tests/support/testutil.h"
#include "tests/tool/velmora_driver.h"

namespace {

using e2e::Centroid;
using e2e::Grab;
using e2e::grabStable;
using e2e::Point;
using e2e::Vec;
using testsupport::ProgramRun;

constexpr int kSiriusHD = 48915;
constexpr int kStarSet = 6;
constexpr int kArea = 640;  // the drawing area, square, at the window's left
constexpr unsigned char kModelGrey[3] = {128, 128, 128};
constexpr int kGreyTolerance = 1;
// The pick square of a right click is 5 pixels wide, centred on the pointer.
constexpr double kPickHalf = 2.5;
// Sirius' disc: the pixels around its pixel within kDiscTop of the brightest (sum of the three
// channels), which must reach kBright.
constexpr int kBright = 600;
constexpr int kDiscTop = 30;
constexpr int kDiscSearch = 10;
// The marker and label of the picked star stand within this box around it.
constexpr int kMarkerBox = 60;
// The picked star's info box in the upper left corner: the screen texts count from the top.
constexpr int kInfoRight = static_cast<int>(0.3 * kArea), kInfoBottom = static_cast<int>(0.25 * kArea);
constexpr double kPixelTolerance = 1.5;

Vec siriusOrFail() {
  Vec sirius;
  EXPECT_TRUE(e2e::starDirection(kSiriusHD, kStarSet, &sirius));
  return sirius;
}

// A direction turned from d towards galactic north by deg degrees.
Vec northOf(const Vec& d, double deg) {
  Vec pole;
  pole.v[2] = 1;
  double along = d.v[2];
  Vec north;
  double n = 0;
  for (int i = 0; i < 3; ++i) north.v[i] = pole.v[i] - along * d.v[i], n += north.v[i] * north.v[i];
  n = std::sqrt(n);
  const double a = deg * kRadiansPerDegree;
  Vec out;
  for (int i = 0; i < 3; ++i) out.v[i] = std::cos(a) * d.v[i] + std::sin(a) * north.v[i] / n;
  return out;
}

Vec galacticNorth() {
  Vec pole;
  pole.v[2] = 1;
  return pole;
}

long changedIn(const Grab& a, const Grab& b, int x0, int y0, int x1, int y1) {
  long n = 0;
  for (int y = std::max(0, y0); y < std::min(y1, a.height); ++y)
    for (int x = std::max(0, x0); x < std::min(x1, a.width); ++x)
      if (memcmp(a.at(x, y), b.at(x, y), 3) != 0) ++n;
  return n;
}
long changed(const Grab& a, const Grab& b) {
  if (a.width != b.width || a.height != b.height) return static_cast<long>(kArea) * kArea;
  return changedIn(a, b, 0, 0, kArea, kArea);
}

Centroid modelCentre(const Grab& g) {
  return e2e::centroidOf(g, kModelGrey, kGreyTolerance, 0, 0, kArea, kArea);
}

// The centre of the brightest pixels within kDiscSearch of (x, y): a star's disc. count 0 when
// all is dark there.
Centroid discAt(const Grab& g, double x, double y) {
  const int cx = static_cast<int>(x), cy = static_cast<int>(y);
  int brightest = 0;
  for (int py = cy - kDiscSearch; py <= cy + kDiscSearch; ++py)
    for (int px = cx - kDiscSearch; px <= cx + kDiscSearch; ++px) {
      const unsigned char* p = g.at(px, py);
      brightest = std::max(brightest, p[0] + p[1] + p[2]);
    }
  Centroid c;
  if (brightest < kBright) return c;
  double sx = 0, sy = 0;
  for (int py = cy - kDiscSearch; py <= cy + kDiscSearch; ++py)
    for (int px = cx - kDiscSearch; px <= cx + kDiscSearch; ++px) {
      const unsigned char* p = g.at(px, py);
      if (p[0] + p[1] + p[2] >= brightest - kDiscTop) sx += px, sy += py, ++c.count;
    }
  c.x = sx / c.count, c.y = sy / c.count;
  return c;
}

// The stars of the catalogue, as the program has them, whose direction falls into the pick
// square around the window point in the first view.
std::vector<int> starsInPickSquare(const e2e::FirstView& view, double px, double py) {
  StarList list;
  std::string file = testsupport::starSetPath(kStarSet);
  char* name = file.data();
  std::vector<int> found;
  testing::internal::CaptureStderr();
  bool ok = list.readStarFiles(1, &name, 0, false) == 1;
  const std::string root = testsupport::sourceDir() + "/";
  const std::string param = root + "data/stardata/halvane.txt";
  ok = ok && list.readStarParameter(param.c_str(), root.c_str(), false) == 1;
  testing::internal::GetCapturedStderr();
  EXPECT_TRUE(ok);
  NODE_StarObject star;
  for (int i = 0; i < list.getNumStars(); ++i) {
    if (list.getStarByID(&star, i) != 1) continue;
    Vec d;
    d.v[0] = star.pos.x, d.v[1] = star.pos.y, d.v[2] = star.pos.z;
    if (d.v[0] * view.look.v[0] + d.v[1] * view.look.v[1] + d.v[2] * view.look.v[2] <= 0) continue;
    double x, y;
    e2e::project(view, d, kArea, &x, &y);
    if (std::fabs(x - px) <= kPickHalf && std::fabs(y - py) <= kPickHalf) found.push_back(star.HD);
  }
  return found;
}

// The orientation of the grey pixels' long axis on the screen, in degrees.
double modelAngle(const Grab& g) {
  Centroid c = modelCentre(g);
  double sxx = 0, syy = 0, sxy = 0;
  for (int y = 0; y < kArea; ++y)
    for (int x = 0; x < kArea; ++x) {
      const unsigned char* p = g.at(x, y);
      if (std::abs(p[0] - kModelGrey[0]) > kGreyTolerance || std::abs(p[1] - kModelGrey[1]) > kGreyTolerance ||
          std::abs(p[2] - kModelGrey[2]) > kGreyTolerance)
        continue;
      const double dx = x - c.x, dy = y - c.y;
      sxx += dx * dx, syy += dy * dy, sxy += dx * dy;
    }
  return 0.5 * std::atan2(2 * sxy, sxx - syy) * kDegreesPerRadian;
}

double distance(double ax, double ay, double bx, double by) {
  return std::hypot(ax - bx, ay - by);
}

// A right click on Sirius, at the window centre where the first view puts it, picks it: its
// marker and label appear there and its info box in the corner; no other star of the catalogue
// falls into the pick square. A right click on empty sky clears the pick: the very picture of the
// start comes back, the anchor it moves being hidden.
TEST(VelmoraPick, ARightClickPicksSiriusAndOneOnEmptySkyClearsThePick) {
  VELMORA_REQUIRE_SKY_DATA();
  testsupport::TempDir dir;
  e2e::Rectangle model;
  model.centre = siriusOrFail();
  const std::string path = dir.file("sirius.obj");
  ASSERT_TRUE(e2e::writeRectangle(path, model));

  const e2e::FirstView view = e2e::firstViewOf(e2e::rectangleCorners(model), galacticNorth());
  double sx, sy;
  e2e::project(view, model.centre, kArea, &sx, &sy);
  EXPECT_NEAR(sx, kArea / 2.0, kPixelTolerance);
  EXPECT_NEAR(sy, kArea / 2.0, kPixelTolerance);
  EXPECT_EQ(starsInPickSquare(view, sx, sy), std::vector<int>{kSiriusHD});

  ProgramRun run({e2e::velmora(), "-notex", path}, e2e::titleOf(path));
  ASSERT_FALSE(run.window().empty()) << run.err();
  const Grab start = grabStable(run);
  e2e::keepShot(start, "velmora_pick_start.ppm");
  const Centroid disc = discAt(start, sx, sy);
  ASSERT_GT(disc.count, 0) << "Sirius is not drawn at " << sx << "," << sy;
  EXPECT_NEAR(disc.x + 0.5, sx, kPixelTolerance);
  EXPECT_NEAR(disc.y + 0.5, sy, kPixelTolerance);

  e2e::rightClick(run, {static_cast<int>(sx), static_cast<int>(sy)});
  // The pick pass draws nothing and leaves the picture as it was; the next frame shows the pick.
  EXPECT_EQ(changed(grabStable(run), start), 0) << "the pick pass drew";
  e2e::askForFrame(run);
  const Grab picked = grabStable(run);
  e2e::keepShot(picked, "velmora_pick_picked.ppm");
  const int px = static_cast<int>(sx), py = static_cast<int>(sy);
  EXPECT_GT(changedIn(picked, start, px - kMarkerBox, py - kMarkerBox, px + kMarkerBox, py + kMarkerBox), 0)
      << "no marker at Sirius";
  EXPECT_GT(changedIn(picked, start, 0, 0, kInfoRight, kInfoBottom), 0) << "no info box";
  // n shows the label by HD number: the label near Sirius changes, so the marker is Sirius'.
  run.key("n");
  const Grab byNumber = grabStable(run);
  EXPECT_GT(changedIn(byNumber, picked, px, py - kMarkerBox, kArea, py + kMarkerBox), 0);
  run.key("n");
  EXPECT_EQ(changed(grabStable(run), picked), 0);

  Point bare;
  ASSERT_TRUE(e2e::barePoint(picked, kModelGrey, kGreyTolerance, 12, kArea / 6, kArea / 4, kArea / 2,
                             3 * kArea / 4, &bare));
  e2e::rightClick(run, bare);
  e2e::askForFrame(run);
  EXPECT_EQ(changed(grabStable(run), start), 0) << "the marker or the info box stayed";
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

// The model 6 degrees north of Sirius, a little bent so that it is no plain image, Sirius picked
// below it. Each drag is undone with u to the very picture before it, and y brings it again.
TEST(VelmoraPick, DragsAboutTheModelItsDirectionAndThePickedStar) {
  VELMORA_REQUIRE_SKY_DATA();
  testsupport::TempDir dir;
  const Vec sirius = siriusOrFail();
  e2e::Rectangle model;
  model.centre = northOf(sirius, 6.0);
  model.halfWidthDeg = 8;
  model.halfHeightDeg = 4;
  model.bend = 0.02;
  const std::string path = dir.file("north-of-sirius.obj");
  ASSERT_TRUE(e2e::writeRectangle(path, model));
  const e2e::FirstView view = e2e::firstViewOf(e2e::rectangleCorners(model), galacticNorth());
  double sx, sy;
  e2e::project(view, sirius, kArea, &sx, &sy);
  ASSERT_GT(sy, kArea / 2 + 100) << "Sirius should stand well below the model";
  ASSERT_LT(sy, kArea - 20);

  ProgramRun run({e2e::velmora(), "-notex", path}, e2e::titleOf(path));
  ASSERT_FALSE(run.window().empty()) << run.err();
  const Grab start = grabStable(run);
  e2e::keepShot(start, "velmora_pick_north.ppm");
  const Centroid disc = discAt(start, sx, sy);
  ASSERT_GT(disc.count, 0) << "Sirius is not drawn at " << sx << "," << sy;
  const double starX = disc.x + 0.5, starY = disc.y + 0.5;
  e2e::rightClick(run, {static_cast<int>(starX), static_cast<int>(starY)});
  e2e::askForFrame(run);
  const Grab base = grabStable(run);
  ASSERT_GT(changed(base, start), 0) << "no pick";
  e2e::keepShot(base, "velmora_pick_base.ppm");
  const Centroid c0 = modelCentre(base);
  ASSERT_GT(c0.count, kArea * kArea / 20);
  const double angle0 = modelAngle(base);

  // u gives the picture before the drag back, y the drag again.
  auto undoRedo = [&](const Grab& dragged, const char* what) {
    run.key("u");
    EXPECT_EQ(changed(grabStable(run), base), 0) << "u after " << what;
    run.key("y");
    EXPECT_EQ(changed(grabStable(run), dragged), 0) << "y after " << what;
    run.key("u");
    EXPECT_EQ(changed(grabStable(run), base), 0) << "u again after " << what;
  };

  // Shift and left: the model turns about its own direction, 0.15 degree per pixel, in place.
  e2e::drag(run, 1, {{200, 320}, {250, 320}, {300, 320}}, {"shift"});
  Grab g = grabStable(run);
  Centroid c = modelCentre(g);
  EXPECT_NEAR(c.x, c0.x, 2.0);
  EXPECT_NEAR(c.y, c0.y, 2.0);
  EXPECT_NEAR(std::fabs(modelAngle(g) - angle0), 15.0, 2.0);
  EXPECT_NEAR(static_cast<double>(c.count) / c0.count, 1.0, 0.03) << "a turn in the picture plane keeps the area";
  undoRedo(g, "the Shift drag");

  // Left alone: the model tilts about its centre, across the drag: shorter on the screen, in place.
  e2e::drag(run, 1, {{320, 170}, {320, 270}, {320, 370}, {320, 470}});
  g = grabStable(run);
  c = modelCentre(g);
  EXPECT_NEAR(c.x, c0.x, 6.0);
  EXPECT_NEAR(c.y, c0.y, 6.0);
  EXPECT_LT(static_cast<double>(c.count) / c0.count, 0.92) << "the tilt did not foreshorten the model";
  undoRedo(g, "the left drag");

  // Middle: the model slides over the sky with the pointer.
  e2e::drag(run, 2, {{320, 320}, {330, 320}});
  g = grabStable(run);
  c = modelCentre(g);
  EXPECT_GT(c.x - c0.x, 25.0);
  EXPECT_LT(c.x - c0.x, 45.0);
  EXPECT_NEAR(c.y, c0.y, 2.0);
  undoRedo(g, "the middle drag");

  // Alt and left with Sirius picked: the model turns about Sirius' direction, so its centre keeps
  // its distance to Sirius' pixel while it leaves the window centre.
  const double r0 = distance(c0.x, c0.y, starX, starY);
  e2e::drag(run, 1, {{200, 320}, {230, 320}, {260, 320}}, {"alt"});
  g = grabStable(run);
  e2e::keepShot(g, "velmora_pick_alt.ppm");
  c = modelCentre(g);
  EXPECT_NEAR(distance(c.x, c.y, starX, starY), r0, 3.0);
  EXPECT_GT(distance(c.x, c.y, c0.x, c0.y), 20.0) << "the model did not turn about Sirius";
  undoRedo(g, "the Alt drag");

  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

}  // namespace
