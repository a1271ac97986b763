// One frame of the sky: drawStars of the hip.8 and hip.12 star sets on a 1024 x 768 window, each
// against a floor measured in the same run, the same stars sent as plain immediate-mode points
// with the same sizes and colours and nothing else. The counter "ratio" is drawStars over floor.
// The frames are those of a view that stays at the origin, as the tool's does while it turns;
// BM_DrawStarsChanged times the frame after a change, which works every star out again.
// Needs a display (the script scripts/bench_stars.sh starts a private one).
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <benchmark/benchmark.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <string>
#include <vector>

#include "bench/star_floor.h"
#include "stars/star.h"

namespace {

constexpr int kWidth = 1024;
constexpr int kHeight = 768;
constexpr double kFovy = 45.0;
constexpr double kNear = 0.01;
constexpr double kFar = 10000.0;
constexpr double kLogScale = 16.0;  // view units of 10^16 m
// Colouring as the tool has it with its colour-map option on.
constexpr int kFlags = STAR_DRAW_COLORMAP;

bool openWindow() {
  static int window = 0;
  if (window) return true;
  if (!getenv("DISPLAY")) return false;
  int argc = 1;
  char arg0[] = "star_draw_bench";
  char* argv[] = {arg0, nullptr};
  glutInit(&argc, argv);
  glutInitDisplayMode(GLUT_RGBA | GLUT_DOUBLE | GLUT_DEPTH);
  glutInitWindowSize(kWidth, kHeight);
  window = glutCreateWindow("star_draw_bench");
  glutDisplayFunc([] {});
  for (int i = 0; i < 5; i++) glutMainLoopEvent();
  glViewport(0, 0, kWidth, kHeight);
  return true;
}

// The tool's view: the eye at the origin, here looking towards the galactic centre.
void setView() {
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  gluPerspective(kFovy, (double)kWidth / kHeight, kNear, kFar);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(0, 0, 0, 1, 0, 0, 0, 0, 1);
}

struct StarSet {
  StarList list;
  bool ok = false;
  StarFloor floor;
};

StarSet& starSet(int n) {
  static std::map<int, StarSet> sets;
  StarSet& s = sets[n];
  if (s.ok) return s;
  std::string name = std::string(VELMORA_SOURCE_DIR) + "/data/stardata/HIP/hip." + std::to_string(n) + ".star";
  std::string map = std::string(VELMORA_SOURCE_DIR) + "/data/stardata/bv_colormap.txt";
  char* names[] = {name.data()};
  if (s.list.readStarFiles(1, names, 0, true) != 1) return s;
  if (s.list.loadColorMapBV(map.c_str(), -0.4f, 2.0f) != 1) return s;
  // The frame once, to know every star's apparent magnitude; then the floor's points worked out
  // the way the frame does.
  setView();
  s.list.drawStars(kLogScale, kFlags, -1, -1);
  s.floor = placeStarFloor(s.list, kLogScale, kHeight, kFlags);
  s.ok = true;
  return s;
}

// One frame, cleared first and finished on the renderer; its wall time in seconds.
template <typename F>
double timeFrame(F frame) {
  auto t0 = std::chrono::steady_clock::now();
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  frame();
  glFinish();
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// Floor frames and star frames in turn, so that both see the machine as it is at that moment: on
// a shared machine the speed of a few seconds ago is not that of now. Counters: the two times per
// frame in milliseconds and their ratio.
template <typename F>
void floorAndFrames(benchmark::State& state, F frame) {
  if (!openWindow()) return state.SkipWithError("no display");
  StarSet& s = starSet((int)state.range(0));
  if (!s.ok) return state.SkipWithError("star set not read");
  setView();
  double floorSum = 0, frameSum = 0;
  for (auto _ : state) {
    floorSum += timeFrame([&] { drawStarFloor(s.floor); });
    frameSum += timeFrame([&] { frame(s.list); });
  }
  const double n = state.iterations() ? (double)state.iterations() : 1.0;
  state.counters["stars"] = (double)s.list.numStars;
  state.counters["points"] = (double)s.floor.numPoints;
  state.counters["floor_ms"] = floorSum / n * 1e3;
  state.counters["frame_ms"] = frameSum / n * 1e3;
  state.counters["ratio"] = floorSum > 0 ? frameSum / floorSum : 0.0;
}

void BM_DrawStars(benchmark::State& state) {
  floorAndFrames(state, [](StarList& list) { list.drawStars(kLogScale, kFlags, -1, -1); });
}

// The same frame after a change of the stars before each one, so that none of the last frame's
// work is kept: the frame of a view that moves away from the origin or changes scale or field.
void BM_DrawStarsChanged(benchmark::State& state) {
  floorAndFrames(state, [](StarList& list) {
    list.starsChanged();
    list.drawStars(kLogScale, kFlags, -1, -1);
  });
}

// The frame with the memo switched off: every star worked out, nothing kept for the next frame.
void BM_DrawStarsNoMemo(benchmark::State& state) {
  floorAndFrames(state, [](StarList& list) {
    list.drawMemoOn = false;
    list.drawStars(kLogScale, kFlags, -1, -1);
    list.drawMemoOn = true;
  });
}

}  // namespace

BENCHMARK(BM_DrawStars)->Arg(8)->Unit(benchmark::kMillisecond)->MinTime(4.0);
BENCHMARK(BM_DrawStarsChanged)->Arg(8)->Unit(benchmark::kMillisecond)->MinTime(4.0);
BENCHMARK(BM_DrawStarsNoMemo)->Arg(8)->Unit(benchmark::kMillisecond)->MinTime(4.0);
BENCHMARK(BM_DrawStars)->Arg(12)->Unit(benchmark::kMillisecond)->MinTime(4.0);
BENCHMARK(BM_DrawStarsChanged)->Arg(12)->Unit(benchmark::kMillisecond)->MinTime(4.0);
BENCHMARK(BM_DrawStarsNoMemo)->Arg(12)->Unit(benchmark::kMillisecond)->MinTime(4.0);
BENCHMARK_MAIN();
