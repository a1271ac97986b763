// Driving the velmora program end to end: grabs of its window, drags, clicks and colour centroids.
#include "tests/tool/velmora_driver.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "coords/constants.h"
#include "stars/star.h"
#include "tests/support/testutil.h"

namespace e2e {

namespace {

// A button held this long before the pointer moves and after it stops, so that the program sees
// press, motion and release as separate events.
constexpr int kHoldMs = 100;
// Time between two steps of a drag.
constexpr int kStepMs = 120;
// Time between two grabs while waiting for the picture to settle.
constexpr int kSettleStepMs = 60;
// The picture has settled when this many grabs in a row equal the one before: one pair of equal
// grabs can both fall inside a frame that takes longer than a step on a loaded machine.
constexpr int kEqualGrabsToSettle = 2;
constexpr int kMaxColour = 255;

std::string moveTo(const std::string& window, Point p) {
  return "mousemove --window " + window + " " + std::to_string(p.first) + " " + std::to_string(p.second);
}

// Reads the next number of a PPM header, skipping blanks and comments; -1 at a fault.
long headerNumber(const std::string& bytes, size_t& i) {
  while (i < bytes.size()) {
    if (bytes[i] == '#') {
      while (i < bytes.size() && bytes[i] != '\n') ++i;
    } else if (isspace(static_cast<unsigned char>(bytes[i]))) {
      ++i;
    } else {
      break;
    }
  }
  if (i >= bytes.size() || !isdigit(static_cast<unsigned char>(bytes[i]))) return -1;
  long v = 0;
  while (i < bytes.size() && isdigit(static_cast<unsigned char>(bytes[i]))) v = v * 10 + (bytes[i++] - '0');
  return v;
}

}  // namespace

std::string velmora() {
  return testsupport::binaryDir() + "/velmora";
}

std::string sample(const std::string& name) {
  return testsupport::sourceDir() + "/samples/" + name;
}

std::string titleOf(const std::string& model) {
  std::string pattern = "^Velmora tool 1\\.2 \\[";
  for (char c : model) {
    if (std::string(".[]()*+?^$|\\").find(c) != std::string::npos) pattern += '\\';
    pattern += c;
  }
  return pattern + "\\]$";
}

long Grab::differingPixels(const Grab& o) const {
  if (width != o.width || height != o.height || rgb.size() != o.rgb.size()) return static_cast<long>(width) * height;
  long n = 0;
  for (size_t i = 0; i < rgb.size(); i += 3)
    if (memcmp(&rgb[i], &o.rgb[i], 3) != 0) ++n;
  return n;
}

Grab grab(testsupport::ProgramRun& run) {
  Grab g;
  const std::string file = run.dir().file("grab.ppm");
  testsupport::run("DISPLAY=" + run.display() + " import -window " + run.window() + " -depth 8 ppm:" + file);
  const std::string bytes = testsupport::readFile(file);
  if (bytes.size() < 2 || bytes[0] != 'P' || bytes[1] != '6') return g;
  size_t i = 2;
  long w = headerNumber(bytes, i), h = headerNumber(bytes, i), maxval = headerNumber(bytes, i);
  if (w <= 0 || h <= 0 || maxval != kMaxColour || i >= bytes.size()) return g;
  ++i;  // the one blank behind the header
  const size_t size = static_cast<size_t>(w) * h * 3;
  if (bytes.size() - i < size) return g;
  // Without a window manager the window stands at -1,-1: the server has no pixels for its first
  // row and column. They are put back in black, so that the grab's pixels have the window's
  // coordinates, as xdotool's pointer moves take them.
  const std::string where = run.xdo("getwindowgeometry --shell " + run.window()).out;
  int left = 0, top = 0;
  size_t xAt = where.find("X="), yAt = where.find("Y=");
  if (xAt != std::string::npos) left = std::max(0, -atoi(where.c_str() + xAt + 2));
  if (yAt != std::string::npos) top = std::max(0, -atoi(where.c_str() + yAt + 2));
  g.width = static_cast<int>(w) + left;
  g.height = static_cast<int>(h) + top;
  g.rgb.assign(static_cast<size_t>(g.width) * g.height * 3, 0);
  for (long y = 0; y < h; ++y)
    memcpy(&g.rgb[3 * (static_cast<size_t>(y + top) * g.width + left)], &bytes[i + 3 * static_cast<size_t>(y * w)],
           3 * static_cast<size_t>(w));
  return g;
}

Grab grabStable(testsupport::ProgramRun& run, int maxMs, int firstPauseMs) {
  testsupport::pauseMs(firstPauseMs);
  Grab last = grab(run);
  int equalInARow = 0;
  for (int waited = 0; waited < maxMs; waited += kSettleStepMs) {
    testsupport::pauseMs(kSettleStepMs);
    Grab next = grab(run);
    equalInARow = !next.empty() && next == last ? equalInARow + 1 : 0;
    if (equalInARow == kEqualGrabsToSettle) return next;
    last = std::move(next);
  }
  return last;
}

bool writePPM(const Grab& g, const std::string& path) {
  FILE* f = fopen(path.c_str(), "wb");
  if (!f) return false;
  fprintf(f, "P6\n%d %d\n255\n", g.width, g.height);
  bool ok = fwrite(g.rgb.data(), 1, g.rgb.size(), f) == g.rgb.size();
  return fclose(f) == 0 && ok;
}

void keepShot(const Grab& g, const std::string& name) {
  if (getenv("VELMORA_TEST_SHOTS")) writePPM(g, "/tmp/" + name);
}

void drag(testsupport::ProgramRun& run, int button, std::initializer_list<Point> points,
          const std::vector<std::string>& modifiers) {
  const std::string w = run.window();
  const std::string b = std::to_string(button);
  auto it = points.begin();
  run.xdo(moveTo(w, *it));
  for (const auto& m : modifiers) run.xdo("keydown " + m);
  run.xdo("mousedown " + b);
  testsupport::pauseMs(kHoldMs);
  for (++it; it != points.end(); ++it) {
    run.xdo(moveTo(w, *it));
    testsupport::pauseMs(kStepMs);
  }
  testsupport::pauseMs(kHoldMs);
  run.xdo("mouseup " + b);
  for (auto m = modifiers.rbegin(); m != modifiers.rend(); ++m) run.xdo("keyup " + *m);
}

void askForFrame(testsupport::ProgramRun& run) {
  run.key("braceleft braceright");
}

void click(testsupport::ProgramRun& run, int button, Point at, int holdMs) {
  const std::string b = std::to_string(button);
  run.xdo(moveTo(run.window(), at) + " mousedown " + b);
  testsupport::pauseMs(holdMs);
  run.xdo("mouseup " + b);
}

void rightClick(testsupport::ProgramRun& run, Point at, int holdMs) {
  click(run, 3, at, holdMs);
}

Centroid centroidOf(const Grab& g, const unsigned char rgb[3], int tolerance, int x0, int y0, int x1, int y1) {
  Centroid c;
  if (x1 < 0 || x1 > g.width) x1 = g.width;
  if (y1 < 0 || y1 > g.height) y1 = g.height;
  double sx = 0, sy = 0;
  for (int y = y0; y < y1; ++y)
    for (int x = x0; x < x1; ++x) {
      const unsigned char* p = g.at(x, y);
      if (abs(p[0] - rgb[0]) <= tolerance && abs(p[1] - rgb[1]) <= tolerance && abs(p[2] - rgb[2]) <= tolerance) {
        sx += x, sy += y;
        ++c.count;
      }
    }
  if (c.count) c.x = sx / c.count, c.y = sy / c.count;
  return c;
}

bool barePoint(const Grab& g, const unsigned char rgb[3], int tolerance, int half, int x0, int y0, int x1, int y1,
               Point* out) {
  constexpr int kStep = 4;
  for (int y = std::max(y0, half); y < std::min(y1, g.height - half); y += kStep)
    for (int x = std::max(x0, half); x < std::min(x1, g.width - half); x += kStep) {
      Centroid c = centroidOf(g, rgb, tolerance, x - half, y - half, x + half + 1, y + half + 1);
      if (c.count == static_cast<long>(2 * half + 1) * (2 * half + 1)) {
        *out = {x, y};
        return true;
      }
    }
  return false;
}

}  // namespace e2e

namespace e2e {

namespace {

// The program's first view is this many times as wide as the model's widest angle.
constexpr double kFovyPerAngle = 2.2;

Vec sum(const Vec& a, const Vec& b, double f = 1) {
  Vec r;
  for (int i = 0; i < 3; ++i) r.v[i] = a.v[i] + f * b.v[i];
  return r;
}
double dot(const Vec& a, const Vec& b) {
  return a.v[0] * b.v[0] + a.v[1] * b.v[1] + a.v[2] * b.v[2];
}
Vec cross(const Vec& a, const Vec& b) {
  Vec r;
  r.v[0] = a.v[1] * b.v[2] - a.v[2] * b.v[1];
  r.v[1] = a.v[2] * b.v[0] - a.v[0] * b.v[2];
  r.v[2] = a.v[0] * b.v[1] - a.v[1] * b.v[0];
  return r;
}
Vec unit(const Vec& a) {
  double n = std::sqrt(dot(a, a));
  Vec r;
  for (int i = 0; i < 3; ++i) r.v[i] = a.v[i] / n;
  return r;
}

// The rectangle's frame on the sky: m towards its centre, east and north across the line of sight.
void skyFrame(const Vec& centre, Vec* m, Vec* east, Vec* north) {
  *m = unit(centre);
  Vec pole;
  pole.v[2] = 1;
  *north = unit(sum(pole, *m, -dot(pole, *m)));
  *east = cross(*m, *north);
}

}  // namespace

bool starDirection(int hd, int starSet, Vec* out) {
  StarList list;
  std::string file = testsupport::starSetPath(starSet);
  char* name = file.data();
  if (list.readStarFiles(1, &name, 0, false) != 1) return false;
  const std::string root = testsupport::sourceDir() + "/";
  const std::string param = root + "data/stardata/halvane.txt";
  if (list.readStarParameter(param.c_str(), root.c_str(), false) != 1) return false;
  NODE_StarObject star;
  if (list.getStarByHD(&star, hd) != 1) return false;
  out->v[0] = star.pos.x, out->v[1] = star.pos.y, out->v[2] = star.pos.z;
  *out = unit(*out);
  return true;
}

std::vector<Vec> rectangleCorners(const Rectangle& r) {
  Vec m, east, north;
  skyFrame(r.centre, &m, &east, &north);
  const double w = std::tan(r.halfWidthDeg * kRadiansPerDegree) * r.distance;
  const double h = std::tan(r.halfHeightDeg * kRadiansPerDegree) * r.distance;
  const double corner[4][2] = {{-w, -h}, {w, -h}, {w, h}, {-w, h}};
  std::vector<Vec> out;
  for (int k = 0; k < 4; ++k) {
    Vec p = sum(sum(sum(Vec{}, m, r.distance), east, corner[k][0]), north, corner[k][1]);
    out.push_back(p);
  }
  // The bent corner comes nearer along its own line of sight.
  if (r.bend != 0) out[2] = sum(out[2], unit(out[2]), -r.bend * r.distance);
  return out;
}

bool writeRectangle(const std::string& objPath, const Rectangle& r) {
  std::string base = objPath.substr(0, objPath.rfind('.'));
  std::string mtl = base + ".mtl";
  std::string mtlName = mtl.substr(mtl.rfind('/') + 1);
  char line[256];
  snprintf(line, sizeof line, "newmtl plain\nKa %g %g %g\nKd %g %g %g\nKs 0 0 0\n", r.rgb[0], r.rgb[1], r.rgb[2],
           r.rgb[0], r.rgb[1], r.rgb[2]);
  testsupport::writeFile(mtl, line);
  std::string obj =
      "# a flat rectangle on the sky\n"
      "# - unit in this model is parsec\n"
      "# - coordinate system is galactic\n"
      "mtllib " + mtlName + "\n";
  std::vector<Vec> corners = rectangleCorners(r);
  for (const Vec& c : corners) {
    snprintf(line, sizeof line, "v %.6f %.6f %.6f\n", c.v[0], c.v[1], c.v[2]);
    obj += line;
  }
  Vec m = unit(r.centre);
  if (r.normals) {
    for (const Vec& c : corners) {
      Vec out = unit(sum(unit(c), m, -1));
      snprintf(line, sizeof line, "vn %.6f %.6f %.6f\n", out.v[0], out.v[1], out.v[2]);
      obj += line;
    }
  }
  obj += "usemtl plain\n";
  if (r.bend != 0)
    obj += r.normals ? "f 1//1 2//2 3//3\nf 1//1 3//3 4//4\n" : "f 1 2 3\nf 1 3 4\n";
  else
    obj += r.normals ? "f 1//1 2//2 3//3 4//4\n" : "f 1 2 3 4\n";
  testsupport::writeFile(objPath, obj);
  return testsupport::readFile(objPath) == obj;
}

FirstView firstViewOf(const std::vector<Vec>& vertices, const Vec& up) {
  FirstView view;
  Vec total;
  for (const Vec& v : vertices) total = sum(total, v);
  view.look = unit(total);
  double widest = 0;
  for (const Vec& v : vertices) widest = std::max(widest, std::acos(std::min(1.0, dot(unit(v), view.look))));
  view.fovyDeg = widest * kFovyPerAngle * kDegreesPerRadian;
  view.up = unit(sum(up, view.look, -dot(up, view.look)));
  return view;
}

void project(const FirstView& view, const Vec& d, int side, double* x, double* y) {
  const Vec right = cross(view.look, view.up);
  const double depth = dot(d, view.look);
  const double scale = 1.0 / std::tan(view.fovyDeg * 0.5 * kRadiansPerDegree);
  const double nx = dot(d, right) / depth * scale, ny = dot(d, view.up) / depth * scale;
  *x = (nx + 1) * 0.5 * side;
  *y = (1 - ny) * 0.5 * side;
}

}  // namespace e2e
