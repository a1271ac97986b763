// The framework as a program: the test scene under a private X server, driven by xdotool.
#include <gtest/gtest.h>
#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "coords/constants.h"
#include "tests/support/program_run.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tests/viewer/usage_text.h"
#include "viewer/tarnwick.h"

namespace {

using testsupport::TempDir;

std::string scene() {
  return testsupport::binaryDir() + "/viewer_testscene";
}

void pause(int ms) {
  testsupport::pauseMs(ms);
}

// One run of the test scene on its own X server.
class SceneRun {
 public:
  // The arguments go behind the model's name, or with argsFirst before it. With
  // viaSearchPath the program is started by its bare name, found through PATH.
  explicit SceneRun(const std::vector<std::string>& args, bool argsFirst = false, bool viaSearchPath = false)
      : run_(argvOf(args, argsFirst, viaSearchPath, stateDir_.file("state")), "viewer test scene", viaSearchPath),
        statePath_(stateDir_.file("state")) {}
  bool ok() const { return run_.ok(); }

  testsupport::RunResult xdo(const std::string& args) { return run_.xdo(args); }
  const std::string& window() { return run_.window(); }
  void key(const std::string& name) { run_.key(name); }

  // The state once the picture has been drawn at least once and the condition holds: the
  // window system may take its time to map and size the window.
  template <typename Pred>
  std::map<std::string, std::vector<double>> stateWhen(Pred pred) {
    std::map<std::string, std::vector<double>> st;
    for (int i = 0; i < 100; ++i) {
      st = state();
      if (!st["renderCount"].empty() && st["renderCount"][0] >= 1 && pred(st)) break;
      pause(100);
    }
    return st;
  }
  std::map<std::string, std::vector<double>> readyState() {
    return stateWhen([](auto&) { return true; });
  }

  // Asks the scene for its state ("w") and reads it once it is written.
  std::map<std::string, std::vector<double>> state() {
    std::map<std::string, std::vector<double>> values;
    unlink(statePath_.c_str());
    key("w");
    for (int i = 0; i < 200 && !testsupport::fileExists(statePath_); ++i) pause(50);
    std::istringstream in(testsupport::readFile(statePath_));
    std::string line;
    while (std::getline(in, line)) {
      std::istringstream words(line);
      std::string name;
      words >> name;
      double v;
      while (words >> v) values[name].push_back(v);
      if (name == "basedir") text_[name] = line.substr(8);
    }
    return values;
  }
  std::string rgbBytes() { return testsupport::readFile(statePath_ + ".rgb"); }
  const std::string& text(const std::string& name) { return text_[name]; }

  int waitExit(int seconds = 20) { return run_.waitExit(seconds); }
  std::string out() { return run_.out(); }
  std::string err() { return run_.err(); }
  double cpuSeconds() { return run_.cpuSeconds(); }
  void letCpuPass(double seconds) { run_.letCpuPass(seconds); }

 private:
  static std::vector<std::string> argvOf(const std::vector<std::string>& args, bool argsFirst, bool viaSearchPath,
                                         const std::string& statePath) {
    std::vector<std::string> all = {viaSearchPath ? std::string("viewer_testscene") : scene()};
    if (argsFirst) all.insert(all.end(), args.begin(), args.end());
    all.insert(all.end(), {"model.obj", "-state", statePath});
    if (!argsFirst) all.insert(all.end(), args.begin(), args.end());
    return all;
  }

  TempDir stateDir_;  // before run_: the run writes into it
  testsupport::ProgramRun run_;
  std::string statePath_;
  std::map<std::string, std::string> text_;
};

// out = a * b in OpenGL order.
void mul(const double* a, const double* b, double* out) {
  for (int c = 0; c < 4; ++c)
    for (int r = 0; r < 4; ++r) {
      double s = 0;
      for (int k = 0; k < 4; ++k) s += a[k * 4 + r] * b[c * 4 + k];
      out[c * 4 + r] = s;
    }
}

// Window position of a point under the modelview, projection and viewport of a state.
void project(std::map<std::string, std::vector<double>>& st, const double p[3], int* x, int* y) {
  const auto& m = st["modelview"];
  const auto& pr = st["projection"];
  const auto& vp = st["viewport"];
  double eye[4], clip[4];
  for (int r = 0; r < 4; ++r) eye[r] = m[r] * p[0] + m[4 + r] * p[1] + m[8 + r] * p[2] + m[12 + r];
  for (int r = 0; r < 4; ++r)
    clip[r] = pr[r] * eye[0] + pr[4 + r] * eye[1] + pr[8 + r] * eye[2] + pr[12 + r] * eye[3];
  *x = (int)lround(vp[0] + (clip[0] / clip[3] + 1) * vp[2] / 2);
  *y = (int)lround(vp[1] + (clip[1] / clip[3] + 1) * vp[3] / 2);
}

// Largest value of one channel around (x, y) in a bottom-up RGB picture of width w.
int brightest(const std::string& rgb, int w, int h, int x, int y, int r, int channel) {
  int best = 0;
  for (int j = y - r; j <= y + r; ++j)
    for (int i = x - r; i <= x + r; ++i)
      if (i >= 0 && j >= 0 && i < w && j < h)
        best = std::max(best, (int)(unsigned char)rgb[((size_t)j * w + i) * 3 + channel]);
  return best;
}

#define REQUIRE_RUN(run)                          \
  if (!(run).ok()) GTEST_SKIP() << "no X server"; \
  ASSERT_FALSE((run).window().empty()) << (run).err()

}  // namespace

// ---- Usage and bad start ------------------------------------------------------------------

TEST(ViewerProgram, NoArgumentPrintsUsageAndEndsWithOne) {
  auto r = testsupport::run(scene());
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, kUsageText);
  EXPECT_EQ(r.out, "");
}

TEST(ViewerProgram, AnyFirstArgumentBeginningWithDashHOrQuestionMark) {
  for (const char* arg : {"-h", "-help", "-hx", "'-?'", "'-?whatever'"}) {
    auto r = testsupport::run(scene() + " " + arg + " model.obj");
    EXPECT_EQ(r.status, 1) << arg;
    EXPECT_EQ(r.err, kUsageText) << arg;
  }
}

TEST(ViewerProgram, NoDisplayVariableGivesAMessageAndNoCrash) {
  auto r = testsupport::run("env -u DISPLAY " + scene() + " model.obj");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("No DISPLAY environment variable found.\n", 0), 0u) << r.err;
}

TEST(ViewerProgram, DisplayThatCannotBeOpenedGivesAMessageAndNoCrash) {
  auto r = testsupport::run("DISPLAY=/nonexistent/velmora-socket:0 " + scene() + " model.obj");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("Failed to Open Display.\n", 0), 0u) << r.err;
}

TEST(ViewerProgram, SceneFailureEndsWithOne) {
  testsupport::XvfbServer server;
  if (!server.ok()) GTEST_SKIP() << "no X server";
  auto r = testsupport::run("DISPLAY=" + server.display() + " " + scene() + " model.obj -fail");
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.find("Err"), std::string::npos);  // no message of the framework's
}

// ---- Window, keys -------------------------------------------------------------------------

TEST(ViewerProgram, WindowOpensAndQuitEndsWithZero) {
  SceneRun run({});
  REQUIRE_RUN(run);
  auto st = run.readyState();
  ASSERT_EQ(st["viewport"].size(), 4u);
  EXPECT_EQ(st["viewport"][2], 256);
  EXPECT_EQ(st["viewport"][3], 256);
  EXPECT_EQ(st["winW"][0], 256);
  EXPECT_EQ(st["frameNum"][0], -1.0);
  EXPECT_EQ(st["fullScreen"][0], 0);
  EXPECT_EQ(st["maxW"][0], 1280);
  EXPECT_EQ(st["maxH"][0], 1024);
  EXPECT_EQ(st["objArgc"][0], 3);  // model.obj -state FILE
  EXPECT_GE(st["renderCount"][0], 1);
  EXPECT_EQ(run.text("basedir"), testsupport::binaryDir() + "/");
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
  // The test server's pointer has more than three buttons (the wheel counts): the program
  // warns, and works all the same. myExit has the scene clean up.
  EXPECT_EQ(run.out(), "warning: 3 buttons mouse is prefered for this application.\n\nscene deleted\n");
}

TEST(ViewerProgram, EscapeEndsWithZero) {
  SceneRun run({});
  REQUIRE_RUN(run);
  run.readyState();
  run.key("Escape");
  EXPECT_EQ(run.waitExit(), 0);
}

TEST(ViewerProgram, CapitalQQuitsToo) {
  SceneRun run({});
  REQUIRE_RUN(run);
  run.readyState();
  run.key("Q");
  EXPECT_EQ(run.waitExit(), 0);
}

TEST(ViewerProgram, InfoKeyPrintsTheView) {
  SceneRun run({});
  REQUIRE_RUN(run);
  run.readyState();
  run.key("i");
  run.state();
  run.key("q");
  ASSERT_EQ(run.waitExit(), 0);
  std::string err = run.err();
  size_t at = err.find("\nCurrent View\nviewPos   = ");
  ASSERT_NE(at, std::string::npos) << err;
  std::string rest = err.substr(at);
  EXPECT_NE(rest.find("\nfovy      = 60.00000\naspect    = 1.00000\nModelview:\n"), std::string::npos)
      << rest;
  EXPECT_NE(rest.find("\nProjection:\n"), std::string::npos);
  EXPECT_NE(rest.find("\nViewport: 0 0 256 256\n"), std::string::npos);
}

TEST(ViewerProgram, SensitivityKeys) {
  SceneRun run({});
  REQUIRE_RUN(run);
  run.readyState();
  run.key("braceleft");
  EXPECT_EQ(run.state()["sensitivity"][0], 0.5);
  run.key("braceright");
  run.key("braceright");
  EXPECT_EQ(run.state()["sensitivity"][0], 2.0);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
  EXPECT_EQ(run.err().find("sensitivity"), std::string::npos);  // printEnable stays 0
}

TEST(ViewerProgram, FullscreenAsFirstArgumentFillsTheScreen) {
  // The scene asks for a panel inside the window; full screen mode keeps that off.
  SceneRun run({"-fullscreen", "-panel"}, true);
  REQUIRE_RUN(run);
  auto st = run.stateWhen([](auto& v) { return v["viewport"].size() == 4 && v["viewport"][2] == 1280; });
  EXPECT_EQ(st["fullScreen"][0], 1);
  // The scene starts with one less than the screen in each direction, and no panel inside.
  EXPECT_EQ(st["initWinW"][0], 1279);
  EXPECT_EQ(st["initWinH"][0], 1023);
  EXPECT_EQ(st["initUseSubGLUI"][0], 0);
  EXPECT_EQ(st["useSubGLUI"][0], 0);
  EXPECT_EQ(st["viewport"][2], 1280);
  EXPECT_EQ(st["viewport"][3], 1024);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

TEST(ViewerProgram, StartedThroughTheSearchPathItsBaseDirIsDotSlash) {
  SceneRun run({}, false, true);
  REQUIRE_RUN(run);
  run.readyState();
  EXPECT_EQ(run.text("basedir"), "./");
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

TEST(ViewerProgram, FullscreenFurtherOnOpensANormalWindowWithItsPanel) {
  SceneRun run({"-fullscreen", "-panel"});
  REQUIRE_RUN(run);
  auto st = run.stateWhen([](auto& v) { return v["viewport"].size() == 4 && v["viewport"][2] == 256; });
  EXPECT_EQ(st["fullScreen"][0], 0);
  EXPECT_EQ(st["initWinW"][0], 256);
  EXPECT_EQ(st["initWinH"][0], 256);
  EXPECT_EQ(st["useSubGLUI"][0], 1);
  EXPECT_EQ(st["viewport"][2], 256);
  EXPECT_EQ(st["viewport"][3], 256);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

// ---- Mouse --------------------------------------------------------------------------------

TEST(ViewerProgram, LeftDragRotatesTheModelAndASlowReleaseStartsNoSpin) {
  SceneRun run({"-holdidle"});
  REQUIRE_RUN(run);
  auto before = run.readyState();
  const std::string w = run.window();
  run.xdo("mousemove --window " + w + " 60 128 mousedown 1");
  pause(200);
  run.xdo("mousemove --window " + w + " 150 128");  // 90 pixels to the right
  pause(200);
  run.letCpuPass(0.5);  // well over the throw's limit of 0.2 processor seconds
  run.xdo("mouseup 1");
  pause(300);
  auto after = run.state();
  EXPECT_EQ(after["idleRotModel"][0], 0);
  // 90 pixels at fovy 60: 90 * 0.5 * 60 / 90 = 30 degrees about the eye's y axis, about the
  // model's origin (here the eye itself).
  const double a = 30.0 * kRadiansPerDegree;
  const double r[16] = {cos(a), 0, -sin(a), 0, 0, 1, 0, 0, sin(a), 0, cos(a), 0, 0, 0, 0, 1};
  double want[16];
  mul(r, before["modelview"].data(), want);
  ASSERT_EQ(after["modelview"].size(), 16u);
  for (int i = 0; i < 16; ++i) EXPECT_NEAR(after["modelview"][i], want[i], 1e-5) << i;
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

TEST(ViewerProgram, QuickThrowStartsASpin) {
  SceneRun run({"-holdidle"});
  REQUIRE_RUN(run);
  run.readyState();
  const std::string w = run.window();
  run.xdo("mousemove --window " + w + " 40 128 mousedown 1");
  pause(200);
  // The last movement and the release in one go: far under 0.2 processor seconds.
  run.xdo("mousemove --window " + w + " 80 128 mousemove --window " + w + " 160 128 mouseup 1");
  pause(300);
  auto first = run.state();
  EXPECT_EQ(first["idleRotModel"][0], 1);
  run.letCpuPass(0.1);
  auto second = run.state();
  EXPECT_EQ(second["idleRotModel"][0], 1);
  double diff = 0;
  for (int i = 0; i < 16; ++i) diff += std::fabs(second["modelview"][i] - first["modelview"][i]);
  EXPECT_GT(diff, 1e-4);  // still turning
  // A press stops it.
  run.xdo("mousedown 1");
  pause(300);
  run.xdo("mouseup 1");
  pause(300);
  EXPECT_EQ(run.state()["idleRotModel"][0], 0);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

// ---- Pixels -------------------------------------------------------------------------------

TEST(ViewerProgram, AxesAppearWhereTheyMust) {
  SceneRun run({"-eye", "-3", "-2", "1.5", "-menu", std::to_string(kMenuShowAxes)});
  REQUIRE_RUN(run);
  auto st = run.readyState();
  std::string rgb = run.rgbBytes();
  ASSERT_EQ(rgb.size(), 256u * 256u * 3u);
  const double mid[3][3] = {{0.5, 0, 0}, {0, 0.5, 0}, {0, 0, 0.5}};
  for (int axis = 0; axis < 3; ++axis) {
    int x, y;
    project(st, mid[axis], &x, &y);
    EXPECT_GT(brightest(rgb, 256, 256, x, y, 1, axis), 100) << "axis " << axis << " at " << x << "," << y;
  }
  // Key "a" takes them away again.
  run.key("a");
  st = run.state();
  rgb = run.rgbBytes();
  int x, y;
  project(st, mid[0], &x, &y);
  EXPECT_EQ(brightest(rgb, 256, 256, x, y, 1, 0), 0);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

TEST(ViewerProgram, GalacticGridAppearsWhereItMust) {
  SceneRun run({"-menu", std::to_string(kMenuShowGalGrid)});
  REQUIRE_RUN(run);
  auto st = run.readyState();
  std::string rgb = run.rgbBytes();
  ASSERT_EQ(rgb.size(), 256u * 256u * 3u);
  auto sky = [](double lon, double lat, double* p) {
    double l = lon * kRadiansPerDegree, b = lat * kRadiansPerDegree;
    p[0] = 1000 * cos(l) * cos(b);
    p[1] = 1000 * sin(l) * cos(b);
    p[2] = 1000 * sin(b);
  };
  double p[3];
  int x, y;
  for (double lon : {-15.0, 15.0}) {
    sky(lon, 7.5, p);  // on a meridian of the 15-degree grid
    project(st, p, &x, &y);
    EXPECT_GT(brightest(rgb, 256, 256, x, y, 2, 1), 30) << lon;
  }
  sky(7.5, 7.5, p);  // between the lines
  project(st, p, &x, &y);
  EXPECT_EQ(brightest(rgb, 256, 256, x, y, 2, 1), 0);
  run.key("q");
  EXPECT_EQ(run.waitExit(), 0);
}

// ---- The panel ----------------------------------------------------------------------------

TEST(ViewerProgram, PanelBesideThePictureTakesEventsFirst) {
  SceneRun run({"-panel"});
  REQUIRE_RUN(run);
  const std::string w = run.window();
  auto st = run.stateWhen([](auto& v) { return v["viewport"].size() == 4 && v["viewport"][2] == 256; });
  pause(500);  // let the start settle: no more pictures are on their way
  st = run.state();
  // The picture keeps its 256 by 256; the panel stands on its right.
  EXPECT_EQ(st["viewport"][0], 0);
  EXPECT_EQ(st["viewport"][2], 256);
  EXPECT_EQ(st["viewport"][3], 256);
  EXPECT_EQ(st["winW"][0], 256);
  EXPECT_EQ(st["useSubGLUI"][0], 1);
  double renders = st["renderCount"][0];

  // A press and release on an empty part of the panel: the panel redraws, the picture doesn't.
  run.xdo("mousemove --window " + w + " 330 200 mousedown 1");
  pause(300);
  run.xdo("mouseup 1");
  pause(500);
  st = run.state();
  EXPECT_EQ(st["renderCount"][0], renders);
  EXPECT_EQ(st["panelChanges"][0], 0);

  // The check box: the value changes and the picture is redrawn once.
  run.xdo("mousemove --window " + w + " 270 36 mousedown 1");
  pause(300);
  run.xdo("mouseup 1");
  pause(500);
  st = run.state();
  EXPECT_EQ(st["showAxesFlag"][0], 1);
  EXPECT_EQ(st["panelChanges"][0], 1);
  EXPECT_EQ(st["renderCount"][0], renders + 1);

  // A key the panel doesn't want goes on to the framework: "a" over the panel.
  run.xdo("mousemove --window " + w + " 330 200 key a");
  pause(300);
  st = run.state();
  EXPECT_EQ(st["showAxesFlag"][0], 0);
  // Reset view ("p") takes its aspect from the area left to the picture, not the window.
  run.xdo("mousemove --window " + w + " 100 100 key p");
  pause(300);
  st = run.state();
  EXPECT_EQ(st["currAspect"][0], 1.0);
  EXPECT_EQ(st["frameNum"][0], -1.0);  // no movie: it stays so for the whole run
  run.xdo("mousemove --window " + w + " 330 200 key q");
  EXPECT_EQ(run.waitExit(), 0);
}
