// Driving the velmora program end to end: its paths, grabs of its window, drags with and without
// modifier keys, right clicks, and where a colour lies in a grab.
#pragma once

#include <chrono>
#include <initializer_list>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#include "tests/support/program_run.h"

namespace e2e {

// The program as the build made it, and a sample model of the source folder.
std::string velmora();
std::string sample(const std::string& name);

// The window title for the model path as given, as a regular expression for xdotool: the
// brackets and dots of the title are escaped.
std::string titleOf(const std::string& model);

// The window's pixels as the X server holds them: RGB bytes, top row first, in window coordinates. Empty when the grab
// failed.
struct Grab {
  int width = 0, height = 0;
  std::vector<unsigned char> rgb;

  bool empty() const { return rgb.empty(); }
  const unsigned char* at(int x, int y) const { return &rgb[3 * (static_cast<size_t>(y) * width + x)]; }
  bool operator==(const Grab& o) const { return width == o.width && height == o.height && rgb == o.rgb; }
  bool operator!=(const Grab& o) const { return !(*this == o); }
  // How many pixels differ from o (all of them when the sizes differ).
  long differingPixels(const Grab& o) const;
};

// What a failed comparison of grabs shows: the size, not the bytes.
inline void PrintTo(const Grab& g, std::ostream* os) {
  *os << "grab of " << g.width << "x" << g.height << " pixels";
}

// One grab of the window now, with ImageMagick's import. Prints nothing; never exits.
Grab grab(testsupport::ProgramRun& run);

// Grabs until three grabs in a row are equal, that is until the frames asked for by the last events
// are drawn, and returns the last one. Gives up after maxMs milliseconds and returns the last grab
// then. firstPauseMs lets the program see the events sent just before.
Grab grabStable(testsupport::ProgramRun& run, int maxMs = 10000, int firstPauseMs = 150);
// Grabs until the picture passes the test (a frame that was asked for may take a while to show,
// longer on a slow build than grabStable's settling), then until it holds still; gives up after
// maxMs and returns the last grab.
template <typename Test>
Grab grabUntil(testsupport::ProgramRun& run, Test test, int maxMs = 10000) {
  constexpr int kStepMs = 100;
  const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(maxMs);
  for (;;) {
    Grab g = grabStable(run, maxMs, 0);
    if ((!g.empty() && test(g)) || std::chrono::steady_clock::now() >= end) return g;
    testsupport::pauseMs(kStepMs);
  }
}

// Writes the grab as a binary PPM (for a look at it when a test fails). Returns true on success.
bool writePPM(const Grab& g, const std::string& path);
// Writes the grab to /tmp/<name> for a look, only when VELMORA_TEST_SHOTS is set; a test run
// otherwise leaves nothing behind outside its own folder.
void keepShot(const Grab& g, const std::string& name);

// A window point, x to the right and y down from the top left corner, as xdotool takes it.
using Point = std::pair<int, int>;

// A drag with the button (1 left, 2 middle, 3 right) through the window points given, a step at a
// time, the button held a moment at both ends. modifiers are xdotool key names ("shift", "alt")
// held down around the whole drag; they go through the X server's own keyboard, so that the button
// events carry them and glutGetModifiers sees them.
void drag(testsupport::ProgramRun& run, int button, std::initializer_list<Point> points,
          const std::vector<std::string>& modifiers = {});

// Asks for a frame without changing the picture: { and } each redisplay and change nothing but
// the mouse sensitivity, by a factor 1.1 down and up again.
void askForFrame(testsupport::ProgramRun& run);

// A click of the button (1 left, 3 right) at the window point, held holdMs milliseconds; the
// pointer stays there.
void click(testsupport::ProgramRun& run, int button, Point at, int holdMs = 150);
// A click of the right button at the window point, held holdMs milliseconds.
void rightClick(testsupport::ProgramRun& run, Point at, int holdMs = 150);

// The mean position of the pixels whose colour lies within tolerance of rgb in every channel,
// inside the rectangle [x0, x1) x [y0, y1) (the whole grab by default), and their number.
struct Centroid {
  double x = 0, y = 0;
  long count = 0;
};
Centroid centroidOf(const Grab& g, const unsigned char rgb[3], int tolerance = 0, int x0 = 0, int y0 = 0,
                    int x1 = -1, int y1 = -1);

// A point inside [x0, x1) x [y0, y1) around which a square of half side half holds only pixels
// within tolerance of rgb: a place with nothing drawn over that colour. false if there is none.
bool barePoint(const Grab& g, const unsigned char rgb[3], int tolerance, int half, int x0, int y0, int x1, int y1,
               Point* out);

// A vector in the galactic frame of the sky: a direction or a position in parsec.
struct Vec {
  double v[3] = {0, 0, 0};
};

// The direction of the star with this HD number in the star set of the given number, with the
// star parameters of the data folder applied as the program applies them (the positions moved to
// the parameters' year). false when the data can't be read; prints what the star reader prints.
bool starDirection(int hd, int starSet, Vec* out);

// A flat rectangle seen face on from the observer: its centre at distance (parsec, the model's
// unit) in the direction centre, half extents given in degrees, the width along the sky's east
// (centre cross galactic north) and the height towards the galactic north. bend moves the third
// corner towards the observer by that fraction of the distance, so that the model is no plain
// image any more. The .mtl beside it gives the colour rgb (0 to 1). With normals, each corner
// gets a normal pointing outwards from the centre along the sky, so that drawn normals stand out
// beside the corners. Writes objPath and the .mtl of the same name; true on success.
struct Rectangle {
  Vec centre;
  double distance = 1000;
  double halfWidthDeg = 8, halfHeightDeg = 5;
  double rgb[3] = {1, 0, 0};
  double bend = 0;
  bool normals = false;
};
bool writeRectangle(const std::string& objPath, const Rectangle& r);
// The rectangle's corners in the order written.
std::vector<Vec> rectangleCorners(const Rectangle& r);

// The first view of the program for a model of these vertices: it looks from the observer along
// the mean vertex, with up along up, and a field of view of 2.2 times the widest angle between a
// vertex and that mean. Returns the window point (x right, y down, pixel centres at .5) of the
// direction d in a square drawing area of side pixels.
struct FirstView {
  Vec look, up;
  double fovyDeg = 0;
};
FirstView firstViewOf(const std::vector<Vec>& vertices, const Vec& up);
void project(const FirstView& view, const Vec& d, int side, double* x, double* y);

}  // namespace e2e
