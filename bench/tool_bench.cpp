// Speed of the alignment tool: its start to the first frame and one full-sky frame, each against
// a floor measured in the same run.
//
// Start: the framework's set-up and the scene's start (myGLInit, which calls initScene) on the
// M51 sample and its twin with every Milky Way map and the default star set, then the first
// frame (display) and glFinish, on a window of the tool's own size: once as the process's first
// drawing, then repeated. Its floor is the bare reading of the star set and of the maps, each
// timed on its own; "ratio" is the start over their sum. The scene is deleted between starts,
// outside the time.
//
// Full sky: a renderScene of the hip.8 set with two maps cross-faded, the constellation figures
// and names and the galactic and equatorial grids, through a wide field towards the galactic
// centre, against the floor of bench/star_draw_bench.cpp: the same stars sent as plain points;
// then the same frame with one layer left out at a time, and with the maps alone and the stars alone.
//
// Needs a display (scripts/bench_tool.sh starts a private one). With VELMORA_BENCH_SHOT=path the
// full-sky frame is also written to path as a PPM picture, to be looked at. "tool_bench
// --bare-window" is no benchmark but the floor of the program's start (see main).
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <map>
#include <string>
#include <vector>

#include "bench/star_floor.h"
#include "coords/constants.h"
#include "fileio/common.h"
#include "stars/star.h"
#include "tool/texfile.h"
#include "tool/velmora.h"
#include "viewer/tarnwick.h"

namespace {

// The tool opens a square picture of this side.
constexpr int kStartSide = 640;
// The full-sky frame on the star-drawing benchmark's window, so that the two ratios compare.
constexpr int kSkyWidth = 1024;
constexpr int kSkyHeight = 768;
// Vertical field of the full-sky frame, degrees: with the 4:3 window about 157 degrees across,
// the sky side that faces the galactic centre nearly edge to edge.
constexpr double kSkyFovy = 150.0;
// The slider between the blue starlight map (440 nm) and the visible photograph (500 nm), as
// log10 of the wavelength in metres: both maps carry weight.
constexpr double kSkyWavelength = 4.7e-7;
constexpr int kStartSet = kDefaultStarSet;
constexpr int kSkySet = 8;
// Start-ups are long: a few of them give the mean.
constexpr int kStartRuns = 6;
// The argument of the start benchmark: the process's first start, or the ones after it.
constexpr int kLaterStarts = 0;
constexpr int kFirstStart = 1;
constexpr double kMinSeconds = 1.0;
constexpr int kRepeats = 3;

std::string source(const std::string& rest) {
  return std::string(VELMORA_SOURCE_DIR) + "/" + rest;
}
std::string starSetFile(int n) {
  return source("data/stardata/HIP/hip." + std::to_string(n) + ".star");
}

bool readable(const std::string& path) {
  return access(path.c_str(), R_OK) == 0;
}

// Everything the scene reads at its start, from the source folder.
bool sceneDataPresent(int set) {
  const char* files[] = {"samples/m51-misplaced.obj", "samples/m51.obj", "data/stardata/halvane.txt",
                         "Images/ALL.texture"};
  for (const char* f : files)
    if (!readable(source(f))) return false;
  return readable(starSetFile(set));
}

// Standard output and error go to /dev/null while it lives, so that the scene's progress notes
// don't mix with the results; what stdio holds is flushed on both sides of the switch.
class Silence {
 public:
  Silence() {
    fflush(stdout);
    fflush(stderr);
    out_ = dup(STDOUT_FILENO);
    err_ = dup(STDERR_FILENO);
    int null = open("/dev/null", O_WRONLY);
    if (null >= 0) {
      dup2(null, STDOUT_FILENO);
      dup2(null, STDERR_FILENO);
      close(null);
    }
  }
  ~Silence() {
    fflush(stdout);
    fflush(stderr);
    if (out_ >= 0) dup2(out_, STDOUT_FILENO), close(out_);
    if (err_ >= 0) dup2(err_, STDERR_FILENO), close(err_);
  }
  Silence(const Silence&) = delete;
  Silence& operator=(const Silence&) = delete;

 private:
  int out_ = -1, err_ = -1;
};

// The scene's command line as the program hands it on (argv[0] left out), the texts owned here.
class SceneArgs {
 public:
  explicit SceneArgs(std::vector<std::string> items) : texts_(std::move(items)) {
    for (std::string& s : texts_) ptrs_.push_back(s.data());
    ptrs_.push_back(nullptr);
  }
  int argc() const { return (int)ptrs_.size() - 1; }
  char** argv() { return ptrs_.data(); }

 private:
  std::vector<std::string> texts_;
  std::vector<char*> ptrs_;
};

// The two windows, each with its own context: the tool's square picture for the start and the
// star-drawing benchmark's 4:3 one for the full sky. 0 without a display.
enum WindowKind { kStartWindow, kSkyWindow, kWindowKinds };

int window(WindowKind kind) {
  static int ids[kWindowKinds] = {0, 0};
  if (!ids[kStartWindow]) {
    if (!getenv("DISPLAY")) return 0;
    int argc = 1;
    char arg0[] = "tool_bench";
    char* argv[] = {arg0, nullptr};
    glutInit(&argc, argv);
    glutInitDisplayMode(GLUT_RGBA | GLUT_DOUBLE | GLUT_DEPTH);
    glutInitWindowSize(kStartSide, kStartSide);
    ids[kStartWindow] = glutCreateWindow("tool_bench start");
    glutDisplayFunc([] {});
    glutInitWindowSize(kSkyWidth, kSkyHeight);
    ids[kSkyWindow] = glutCreateWindow("tool_bench sky");
    glutDisplayFunc([] {});
    for (int i = 0; i < 5; i++) glutMainLoopEvent();
  }
  glutSetWindow(ids[kind]);
  // The framework's view functions work on its main window.
  mainWindow = ids[kind];
  fullScreen = 0;
  if (kind == kStartWindow) {
    glViewport(0, 0, kStartSide, kStartSide);
    winW = winH = kStartSide;
  } else {
    glViewport(0, 0, kSkyWidth, kSkyHeight);
    winW = kSkyWidth, winH = kSkyHeight;
  }
  return ids[kind];
}

// The program looks for its data beside itself first; here the source folder is that place.
void useSourceData() {
  copyText(basedir, (std::string(VELMORA_SOURCE_DIR) + "/").c_str(), sizeof basedir);
  setenv("TOPDIR", VELMORA_SOURCE_DIR, 1);
}

// The scene's end, and the map textures, which deleteScene leaves to the end of the process
// (the program has only one start); a benchmark that starts many times gives them back. The
// framework's hooks and flags go back to what a fresh process has (its start-up defaults), so
// that every start is a first one.
void endScene() {
  std::vector<GLuint> ids;
  for (int i = 0; i < nTexObjs; i++) ids.push_back(texObjs[i].texId);
  deleteScene();
  if (!ids.empty()) glDeleteTextures((GLsizei)ids.size(), ids.data());
  myInit();
}

double secondsSince(std::chrono::steady_clock::time_point t0) {
  return std::chrono::duration<double>(std::chrono::steady_clock::now() - t0).count();
}

// What every run reports; the csv output wants the same counters in every run, so those that
// don't apply stay 0.
struct Counters {
  double stars = 0, maps = 0, points = 0, floorMs = 0, weight1 = 0, weight2 = 0, fovy = 0, ratio = 0;
};
void report(benchmark::State& state, const Counters& c) {
  state.counters["stars"] = c.stars;
  state.counters["maps"] = c.maps;
  state.counters["points"] = c.points;
  state.counters["floor_ms"] = c.floorMs;
  state.counters["weight1"] = c.weight1;
  state.counters["weight2"] = c.weight2;
  state.counters["fovy"] = c.fovy;
  state.counters["ratio"] = c.ratio;
}

// Ends a run that can't measure, with its reason and the counters all 0.
void skip(benchmark::State& state, const char* why) {
  report(state, Counters{});
  state.SkipWithError(why);
}

// Per-run seconds of each floor, kept for the ratios of the runs that follow.
double readStarSetSeconds = 0, readMapsSeconds = 0;

// ---- Start to first frame -------------------------------------------------------------------

void BM_ReadStarSet(benchmark::State& state) {
  const int set = (int)state.range(0);
  std::string name = starSetFile(set);
  if (!readable(name)) return skip(state, "star set not built");
  double total = 0;
  int stars = 0;
  for (auto _ : state) {
    auto t0 = std::chrono::steady_clock::now();
    StarList list;
    char* names[] = {name.data()};
    Silence quiet;
    if (list.readStarFiles(1, names, 0, true) != 1) return skip(state, "star set not read");
    stars = list.getNumStars();
    total += secondsSince(t0);
  }
  if (set == kStartSet) readStarSetSeconds = total / state.iterations();
  Counters c;
  c.stars = stars;
  c.floorMs = total / state.iterations() * 1e3;
  c.ratio = 1.0;
  report(state, c);
}

void BM_ReadMaps(benchmark::State& state) {
  std::string list = source(kDefaultTexFile);
  if (!readable(list)) return skip(state, "no texture list");
  double total = 0;
  int maps = 0;
  for (auto _ : state) {
    auto t0 = std::chrono::steady_clock::now();
    int n = 0, slider = 0, status = 0;
    TexObj* objs = readTexObjs(list.c_str(), &n, &slider, &status);
    if (!objs) return skip(state, "maps not read");
    freeTexObjs(objs, n);
    maps = n;
    total += secondsSince(t0);
  }
  readMapsSeconds = total / state.iterations();
  Counters c;
  c.maps = maps;
  c.floorMs = readMapsSeconds * 1e3;
  c.ratio = 1.0;
  report(state, c);
}

bool skySceneUp = false;

// range(0) is 1 for the first start in the process: then the software renderer also builds its
// drawing code for the frame's states, as it does in a fresh program; later starts find it built.
void BM_StartToFirstFrame(benchmark::State& state) {
  if (!window(kStartWindow)) return skip(state, "no display");
  if (!sceneDataPresent(kStartSet)) return skip(state, "sky data not built");
  if (skySceneUp) {
    endScene();
    skySceneUp = false;
  }
  useSourceData();
  double total = 0;
  int stars = 0, maps = 0;
  for (auto _ : state) {
    // A fresh command line each time: the scene may move its entries.
    SceneArgs args({source("samples/m51-misplaced.obj"), source("samples/m51.obj")});
    auto t0 = std::chrono::steady_clock::now();
    {
      Silence quiet;
      myGLInit(args.argc(), args.argv());
      display();
      glFinish();
    }
    total += secondsSince(t0);
    state.PauseTiming();
    stars = starList ? starList->getNumStars() : 0;
    maps = nTexObjs;
    endScene();
    state.ResumeTiming();
  }
  double seconds = total / state.iterations();
  double floor = readStarSetSeconds + readMapsSeconds;
  Counters c;
  c.stars = stars;
  c.maps = maps;
  c.floorMs = floor * 1e3;
  c.ratio = floor > 0 ? seconds / floor : 0.0;
  report(state, c);
}

// ---- The full-sky frame ---------------------------------------------------------------------

struct Sky {
  bool ok = false;
  std::string error;
  StarFloor floor;
  double floorSeconds = 0;  // per frame
  double weights[2] = {0, 0};
};

void skyView() {
  View view = initView();
  view.viewDir[0] = 1, view.viewDir[1] = 0, view.viewDir[2] = 0;  // the galactic centre
  view.viewUp[0] = 0, view.viewUp[1] = 0, view.viewUp[2] = 1;     // the north galactic pole up
  view.fovy = kSkyFovy;
  view.aspect = (double)kSkyWidth / kSkyHeight;
  resetView(&view);
}

void skyFrame() {
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  renderScene(frameNum, -1, (unsigned int)(useMaterial | useSmooth | useTexture), currLogScale, 0);
}

void writeShot(const char* path) {
  std::vector<unsigned char> rgb((size_t)kSkyWidth * kSkyHeight * 3);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(0, 0, kSkyWidth, kSkyHeight, GL_RGB, GL_UNSIGNED_BYTE, rgb.data());
  FILE* f = fopen(path, "wb");
  if (!f) return;
  fprintf(f, "P6\n%d %d\n255\n", kSkyWidth, kSkyHeight);
  for (int y = kSkyHeight - 1; y >= 0; y--) fwrite(&rgb[(size_t)y * kSkyWidth * 3], 1, (size_t)kSkyWidth * 3, f);
  fclose(f);
}

// The scene on hip.8 with every map, switched to the full-sky picture; and the floor's points
// worked out from one such frame the way the star frame does. Set up once.
Sky& sky() {
  static Sky s;
  if (s.ok || !s.error.empty()) return s;
  auto fail = [&](const char* why) -> Sky& {
    s.error = why;
    return s;
  };
  if (!sceneDataPresent(kSkySet)) return fail("sky data not built");
  useSourceData();
  SceneArgs args({"-s" + std::to_string(kSkySet), source("samples/m51-misplaced.obj"), source("samples/m51.obj")});
  {
    Silence quiet;
    myGLInit(args.argc(), args.argv());
  }
  skySceneUp = true;
  if (!texObjs || nSliderTex < 2) return fail("no wavelength slider");
  texChoice = 2;
  tex_sliderUnit = kSliderUnitBase + kUnitWavelength;
  tex_sliderValue = (float)std::log10(kSkyWavelength);
  resetTexture(kIdTexSlider);
  s.weights[0] = sliderTexAlpha1, s.weights[1] = sliderTexAlpha2;
  if (!(sliderTexAlpha1 > 0 && sliderTexAlpha2 > 0)) return fail("maps not cross-faded");
  showConstellationLines = showConstellationNames = 1;
  showGalSphere = showEqnSphere = 1;
  skyView();

  skyFrame();
  glFinish();
  if (const char* shot = getenv("VELMORA_BENCH_SHOT")) writeShot(shot);

  // Every star in front of the eye that the frame draws, at its size and colour, as the
  // star-drawing benchmark's floor has them.
  const int flags = (useStarColorMap ? STAR_DRAW_COLORMAP : 0) | (useStarTex ? STAR_DRAW_TEXTURED : 0);
  s.floor = placeStarFloor(*starList, currLogScale, kSkyHeight, flags);
  s.ok = true;
  return s;
}

template <typename F>
double timeFrames(benchmark::State& state, F frame) {
  auto t0 = std::chrono::steady_clock::now();
  for (auto _ : state) {
    frame();
    glFinish();
  }
  return state.iterations() ? secondsSince(t0) / state.iterations() : 0;
}

void skyCounters(benchmark::State& state, const Sky& s, double ratio) {
  Counters c;
  c.stars = starList ? starList->getNumStars() : 0;
  c.maps = nTexObjs;
  c.points = (double)s.floor.numPoints;
  c.floorMs = s.floorSeconds * 1e3;
  c.weight1 = s.weights[0];
  c.weight2 = s.weights[1];
  c.fovy = kSkyFovy;
  c.ratio = ratio;
  report(state, c);
}

void BM_SkyFloor(benchmark::State& state) {
  if (!window(kSkyWindow)) return skip(state, "no display");
  Sky& s = sky();
  if (!s.ok) return skip(state, s.error.c_str());
  skyView();
  s.floorSeconds = timeFrames(state, [&] {
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    drawStarFloor(s.floor);
  });
  skyCounters(state, s, 1.0);
}

void BM_FullSkyFrame(benchmark::State& state) {
  if (!window(kSkyWindow)) return skip(state, "no display");
  Sky& s = sky();
  if (!s.ok) return skip(state, s.error.c_str());
  skyView();
  double seconds = timeFrames(state, skyFrame);
  skyCounters(state, s, s.floorSeconds > 0 ? seconds / s.floorSeconds : 0.0);
}

// The full-sky frame with one of its layers left out, to show where its time goes.
enum SkyLayer { kLayerMaps, kLayerStars, kLayerConstellations, kLayerGrids, kLayerCount };

// The switches of each layer.
int* const kLayerFlags[kLayerCount][2] = {{&texChoice, nullptr},
                                          {&showStarsFlag, nullptr},
                                          {&showConstellationLines, &showConstellationNames},
                                          {&showGalSphere, &showEqnSphere}};

// The full-sky frame with the layers for which drop says so switched off, timed; the switches are
// put back afterwards.
template <typename Drop>
void timeSkyLayers(benchmark::State& state, Drop drop) {
  if (!window(kSkyWindow)) return skip(state, "no display");
  Sky& s = sky();
  if (!s.ok) return skip(state, s.error.c_str());
  skyView();
  int kept[kLayerCount][2] = {};
  for (int layer = 0; layer < kLayerCount; layer++)
    for (int k = 0; k < 2; k++)
      if (int* f = kLayerFlags[layer][k]; f && drop(layer)) kept[layer][k] = *f, *f = 0;
  double seconds = timeFrames(state, skyFrame);
  for (int layer = 0; layer < kLayerCount; layer++)
    for (int k = 0; k < 2; k++)
      if (int* f = kLayerFlags[layer][k]; f && drop(layer)) *f = kept[layer][k];
  skyCounters(state, s, s.floorSeconds > 0 ? seconds / s.floorSeconds : 0.0);
}

void BM_FullSkyWithout(benchmark::State& state) {
  const int without = (int)state.range(0);
  timeSkyLayers(state, [&](int layer) { return layer == without; });
}

// The full-sky frame with only one of its layers: what that layer costs on its own, the frame's
// clearing and its on-screen texts included.
void BM_FullSkyOnly(benchmark::State& state) {
  const int only = (int)state.range(0);
  timeSkyLayers(state, [&](int layer) { return layer != only; });
}

}  // namespace

// Each floor runs before what is measured against it, so that the ratio has it. The floors and
// frames are short: each is run kRepeats times and the median reported, which steadies them on a
// shared machine. Besides the wall time each run reports the processor time of the whole process,
// the software renderer's threads included, which others' load disturbs less. The first start
// must be the process's first drawing: the floors before it draw nothing.
BENCHMARK(BM_ReadStarSet)->Arg(kStartSet)->Unit(benchmark::kMillisecond)->MinTime(kMinSeconds)->UseRealTime()->MeasureProcessCPUTime()
    ->Repetitions(kRepeats)->ReportAggregatesOnly(true);
BENCHMARK(BM_ReadMaps)->Unit(benchmark::kMillisecond)->MinTime(kMinSeconds)->UseRealTime()->MeasureProcessCPUTime()
    ->Repetitions(kRepeats)->ReportAggregatesOnly(true);
BENCHMARK(BM_StartToFirstFrame)->Arg(kFirstStart)->Unit(benchmark::kMillisecond)->Iterations(1)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(BM_StartToFirstFrame)->Arg(kLaterStarts)->Unit(benchmark::kMillisecond)->Iterations(kStartRuns)->UseRealTime()->MeasureProcessCPUTime();
BENCHMARK(BM_SkyFloor)->Arg(kSkySet)->Unit(benchmark::kMillisecond)->MinTime(kMinSeconds)->UseRealTime()->MeasureProcessCPUTime()
    ->Repetitions(kRepeats)->ReportAggregatesOnly(true);
BENCHMARK(BM_FullSkyFrame)->Arg(kSkySet)->Unit(benchmark::kMillisecond)->MinTime(kMinSeconds)->UseRealTime()->MeasureProcessCPUTime()
    ->Repetitions(kRepeats)->ReportAggregatesOnly(true);
BENCHMARK(BM_FullSkyWithout)->DenseRange(kLayerMaps, kLayerGrids)->Unit(benchmark::kMillisecond)->MinTime(kMinSeconds)
    ->UseRealTime()->MeasureProcessCPUTime()->Repetitions(kRepeats)->ReportAggregatesOnly(true);
BENCHMARK(BM_FullSkyOnly)->DenseRange(kLayerMaps, kLayerStars)->Unit(benchmark::kMillisecond)->MinTime(kMinSeconds)
    ->UseRealTime()->MeasureProcessCPUTime()->Repetitions(kRepeats)->ReportAggregatesOnly(true);

// The floor of the program's own start, run by scripts/bench_tool.sh as "tool_bench
// --bare-window": a GLUT program that opens a window of the tool's size, draws one grey frame
// and waits to be ended. Prints nothing; returns only if the window system ends the loop.
namespace {

constexpr float kBareGrey = 0.5f;

int bareWindow(int argc, char** argv) {
  glutInit(&argc, argv);
  glutInitDisplayMode(GLUT_RGBA | GLUT_DOUBLE | GLUT_DEPTH);
  glutInitWindowSize(kStartSide, kStartSide);
  glutCreateWindow("tool_bench bare window");
  glutDisplayFunc([] {
    glClearColor(kBareGrey, kBareGrey, kBareGrey, 1.0f);
    glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
    glutSwapBuffers();
  });
  glutMainLoop();
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc > 1 && strcmp(argv[1], "--bare-window") == 0) return bareWindow(argc, argv);
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  return 0;
}
