// A small scene for driving the viewer framework from tests.
//
//   viewer_testscene <name> [options]
//     -state FILE   key "w" writes the framework's state to FILE and the picture to FILE.rgb
//     -fail         initScene returns -1
//     -holdidle     the idle hook consumes idle calls while a mouse button is held
//     -menu N       menuSelect(N) once the scene is up (repeatable)
//     -eye X Y Z    start view from (X, Y, Z) towards the origin, up (0, 0, 1)
//     -fovy F       field of view of the start view
//     -panel        a panel beside the picture (in full-screen mode a window of its own,
//                   "Velmora Panel") with a "Show axes" check box, a "Scene flag" check box
//                   that the key "v" flips without drawing the picture, and a "Count" button
//     -tallpanel    with -panel: lines enough under the controls for the panel to overflow
//     -helphook     a help hook that prints "scene help" and lets the framework go on
//     -quad         draws a white square in front of the eye
//     -script FILE  plays the movie script FILE: the framework loads it as at start-up, takes
//                   its window size and starts at its frame 0
//     -marker       draws a white square of 1 metre at the world's origin, in the z = 0 plane
//     -jitter N, -dump HEAD OFFSET, -dumpSkip HEAD OFFSET SKIP, -double
//                   the framework's own options (getOption); they must stand together.
//                   A script of another size than 256 x 256 grows the window after its first
//                   frame, which the jittered frame's buffers don't follow: keep jitter to
//                   scripts of that size
// The picture file holds the viewport's RGB bytes, bottom row first.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <imgui.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "coords/phcoord.h"
#include "fileio/common.h"
#include "movie/movierec.h"
#include "viewer/panel.h"
#include "viewer/tarnwick.h"

namespace {

std::string statePath;
int holdIdle = 0;
int drawQuad = 0;
int drawMarker = 0;
int lastNFrames = 0;  // what renderScene was last told of the movie
int renderCount = 0;
int pickCount = 0;
int dumping = 0;
int panelChanges = 0;
int panelClicks = 0;  // presses of the panel's "Count" button
int sceneFlag = 0;    // flipped by "v" over the picture, shown by the panel
int tallPanel = 0;
// Where the panel last drew its controls, in its window's pixels from the top left: the
// "Count" button's corners, and the two check boxes' squares (left, top, side).
float countRect[4] = {0, 0, 0, 0};
float axesBox[3] = {0, 0, 0};
float sceneBox[3] = {0, 0, 0};
// What the scene found when it started.
int initWinW = 0, initWinH = 0, initUseSubGLUI = -1;

void writeState() {
  if (statePath.empty()) return;
  glutSetWindow(mainWindow);
  double mv[16], pr[16];
  int vp[4];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  glGetDoublev(GL_PROJECTION_MATRIX, pr);
  glGetIntegerv(GL_VIEWPORT, vp);

  // The picture, drawn afresh into the back buffer and read from there.
  dumping = 1;
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  drawFrame(0, 0);
  glFinish();
  dumping = 0;
  std::vector<unsigned char> pixels((size_t)vp[2] * vp[3] * 3);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadBuffer(GL_BACK);
  glReadPixels(vp[0], vp[1], vp[2], vp[3], GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
  std::string rgbTmp = statePath + ".rgb.tmp";
  FILE* f = fopen(rgbTmp.c_str(), "wb");
  if (f) {
    fwrite(pixels.data(), 1, pixels.size(), f);
    fclose(f);
    rename(rgbTmp.c_str(), (statePath + ".rgb").c_str());
  }

  std::string tmp = statePath + ".tmp";
  f = fopen(tmp.c_str(), "w");
  if (!f) return;
  fprintf(f, "modelview");
  for (double v : mv) fprintf(f, " %.17g", v);
  fprintf(f, "\nprojection");
  for (double v : pr) fprintf(f, " %.17g", v);
  fprintf(f, "\nviewport %d %d %d %d\n", vp[0], vp[1], vp[2], vp[3]);
  fprintf(f, "idleRotModel %d\n", idleRotModel);
  fprintf(f, "sensitivity %.17g\n", sensitivity);
  fprintf(f, "currFovy %.17g\n", currFovy);
  fprintf(f, "currAspect %.17g\n", currAspect);
  fprintf(f, "currLogScale %.17g\n", currLogScale);
  fprintf(f, "winW %d\nwinH %d\n", winW, winH);
  fprintf(f, "showAxesFlag %d\n", showAxesFlag);
  fprintf(f, "frameNum %.17g\n", frameNum);
  fprintf(f, "renderCount %d\npickCount %d\n", renderCount, pickCount);
  fprintf(f, "panelChanges %d\n", panelChanges);
  fprintf(f, "panelClicks %d\nsceneFlag %d\n", panelClicks, sceneFlag);
  fprintf(f, "panelWindow %d\npanelIsSubWindow %d\npanelWidth %d\n", panelWindow(), panelIsSubWindow(),
          panelWidth());
  fprintf(f, "countRect %g %g %g %g\n", countRect[0], countRect[1], countRect[2], countRect[3]);
  fprintf(f, "axesBox %g %g %g\n", axesBox[0], axesBox[1], axesBox[2]);
  fprintf(f, "sceneBox %g %g %g\n", sceneBox[0], sceneBox[1], sceneBox[2]);
  fprintf(f, "useSubGLUI %d\nfullScreen %d\n", useSubGLUI, fullScreen);
  fprintf(f, "maxW %d\nmaxH %d\n", maxW, maxH);
  fprintf(f, "objArgc %d\n", objArgc);
  fprintf(f, "basedir %s\n", basedir);
  fprintf(f, "initWinW %d\ninitWinH %d\ninitUseSubGLUI %d\n", initWinW, initWinH, initUseSubGLUI);
  fprintf(f, "title %s\n", titleStr);
  fprintf(f, "countPlay %d\nnFrames %d\nmovieLoaded %d\n", countPlay, lastNFrames, movieRec ? 1 : 0);
  fprintf(f, "justDump %d\ndoubleFrame %d\njitterSize %d\n", justDump, doubleFrame, jitterSize);
  fclose(f);
  rename(tmp.c_str(), statePath.c_str());
}

int sceneKey(unsigned char key, int, int) {
  if (key == 'w') {
    writeState();
    return 1;
  }
  if (key == 'v') {  // no redisplay: only the panel shows the flag
    sceneFlag = !sceneFlag;
    return 1;
  }
  return 0;
}

int sceneIdle() {
  return holdIdle && mouseButton != 0 ? 1 : 0;
}

int sceneHelp(FILE* stream) {
  fprintf(stream, "scene help\n");
  return 0;
}

// The square of the check box just drawn: left, top, side.
void recordBox(float* box) {
  ImVec2 min = ImGui::GetItemRectMin();
  box[0] = min.x;
  box[1] = min.y;
  box[2] = ImGui::GetFrameHeight();
}

constexpr int kTallPanelLines = 80;

int buildPanel() {
  ImGui::Text("test panel");
  bool axes = showAxesFlag != 0;
  int changed = 0;
  if (ImGui::Checkbox("Show axes", &axes)) {
    showAxesFlag = axes ? 1 : 0;
    ++panelChanges;
    changed = 1;
  }
  recordBox(axesBox);
  bool flag = sceneFlag != 0;
  if (ImGui::Checkbox("Scene flag", &flag)) sceneFlag = flag ? 1 : 0;
  recordBox(sceneBox);
  if (ImGui::Button("Count")) ++panelClicks;
  ImVec2 min = ImGui::GetItemRectMin(), max = ImGui::GetItemRectMax();
  countRect[0] = min.x;
  countRect[1] = min.y;
  countRect[2] = max.x;
  countRect[3] = max.y;
  if (tallPanel)
    for (int i = 0; i < kTallPanelLines; ++i) ImGui::Text("line %d", i);
  return changed;
}

const int kPanelWidth = 160;
const int kPanelWindowHeight = 300;  // the panel's own window, in full-screen mode

void createPanel() {
  if (!useSubGLUI) {
    // Full-screen mode: the picture keeps the whole screen, the panel stands apart.
    panelCreateWindow("Velmora Panel", kPanelWidth, kPanelWindowHeight, buildPanel);
    return;
  }
  panelCreate(mainWindow, kPanelWidth, buildPanel);
  glutSetWindow(mainWindow);
  glutReshapeWindow(winW + kPanelWidth, winH);
}

// Half the side of the marker square, in metres.
constexpr double kMarkerHalfSide = 0.5;

// The framework's main empties scpFile before myInit, which is where a script is loaded; a
// scene that brings one runs the framework's start values again with it, before it sets any
// hook, and shows the movie's first frame in a window of the movie's size.
void startMovie(const char* script) {
  copyText(scpFile, script, sizeof scpFile);
  myInit();
  frameNum = 0.0;
  setMovieView(frameNum);
  glutReshapeWindow(winW, winH);
  // The first frame may come before the window system has carried out the new size; it is
  // drawn at that size all the same, as the jittered frame keeps the size it starts with.
  glViewport(0, 0, winW, winH);
}

bool isFrameworkOption(const std::string& a) {
  return a == "-jitter" || a == "-dump" || a == "-dumpSkip" || a == "-double";
}

}  // namespace

int initScene(int argc, char** argv) {
  for (int i = 1; i + 1 < argc; ++i)
    if (std::string(argv[i]) == "-script") startMovie(argv[i + 1]);
  initWinW = winW;
  initWinH = winH;
  initUseSubGLUI = useSubGLUI;
  std::vector<int> items;
  int useEye = 0;
  double eye[3] = {0, 0, 0};
  double fovy = 0.0;
  for (int i = 1; i < argc; ++i) {
    std::string a = argv[i];
    if (a == "-state" && i + 1 < argc) {
      statePath = argv[++i];
    } else if (a == "-fail") {
      return -1;
    } else if (a == "-holdidle") {
      holdIdle = 1;
    } else if (a == "-menu" && i + 1 < argc) {
      items.push_back(atoi(argv[++i]));
    } else if (a == "-eye" && i + 3 < argc) {
      useEye = 1;
      for (int k = 0; k < 3; ++k) eye[k] = atof(argv[++i]);
    } else if (a == "-fovy" && i + 1 < argc) {
      fovy = atof(argv[++i]);
    } else if (a == "-panel") {
      // As the alignment scene does: a panel inside the window unless in full-screen mode.
      useSubGLUI = fullScreen ? 0 : 1;
      gluiCreatePtr = createPanel;
    } else if (a == "-tallpanel") {
      tallPanel = 1;
    } else if (a == "-helphook") {
      helpMenuFuncPtr = sceneHelp;
    } else if (a == "-quad") {
      drawQuad = 1;
    } else if (a == "-marker") {
      drawMarker = 1;
    } else if (a == "-script") {
      ++i;  // loaded above
    } else if (isFrameworkOption(a)) {
      int at = i;
      getOption(argc, argv, &at);
      i = at - 1;
    }
  }
  copyText(titleStr, "viewer test scene", sizeof titleStr);
  keyboardCBFuncPtr = sceneKey;
  idleCBFuncPtr = sceneIdle;
  if (useEye || fovy > 0.0) {
    View view = initView();
    if (useEye) {
      view.viewPos = PHCoord{eye[0], eye[1], eye[2], 0.0};
      double len = sqrt(eye[0] * eye[0] + eye[1] * eye[1] + eye[2] * eye[2]);
      for (int k = 0; k < 3; ++k) view.viewDir[k] = -eye[k] / len;
    }
    if (fovy > 0.0) view.fovy = fovy;
    resetView(&view);
  }
  for (int item : items) menuSelect(item);
  return 0;
}

void renderScene(double, int nFrames, unsigned int, double logScale, int pickMode) {
  lastNFrames = nFrames;
  if (pickMode) {
    ++pickCount;
    return;
  }
  if (!dumping) ++renderCount;
  if (drawQuad) {
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glColor3f(1, 1, 1);
    glBegin(GL_QUADS);
    glVertex3f(2, -0.5f, -0.5f);
    glVertex3f(2, 0.5f, -0.5f);
    glVertex3f(2, 0.5f, 0.5f);
    glVertex3f(2, -0.5f, 0.5f);
    glEnd();
  }
  if (drawMarker) {
    // Metres in the unit the framework draws in.
    const double h = kMarkerHalfSide * pow(10.0, -logScale);
    glDisable(GL_LIGHTING);
    glDisable(GL_TEXTURE_2D);
    glColor3f(1, 1, 1);
    glBegin(GL_QUADS);
    glVertex3d(-h, -h, 0);
    glVertex3d(h, -h, 0);
    glVertex3d(h, h, 0);
    glVertex3d(-h, h, 0);
    glEnd();
  }
}

void deleteScene() {
  fprintf(stdout, "scene deleted\n");
}
