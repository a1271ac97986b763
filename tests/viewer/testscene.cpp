// A small scene for driving the viewer framework from tests.
//
//   viewer_testscene <name> [options]
//     -state FILE   key "w" writes the framework's state to FILE and the picture to FILE.rgb
//     -fail         initScene returns -1
//     -holdidle     the idle hook consumes idle calls while a mouse button is held
//     -menu N       menuSelect(N) once the scene is up (repeatable)
//     -eye X Y Z    start view from (X, Y, Z) towards the origin, up (0, 0, 1)
//     -fovy F       field of view of the start view
//     -panel        a panel beside the picture with a "Show axes" check box
//     -helphook     a help hook that prints "scene help" and lets the framework go on
//     -quad         draws a white square in front of the eye
// The picture file holds the viewport's RGB bytes, bottom row first.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <imgui.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fileio/common.h"
#include "viewer/panel.h"
#include "viewer/tarnwick.h"

namespace {

std::string statePath;
int holdIdle = 0;
int drawQuad = 0;
int renderCount = 0;
int pickCount = 0;
int dumping = 0;
int panelChanges = 0;
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
  fprintf(f, "useSubGLUI %d\nfullScreen %d\n", useSubGLUI, fullScreen);
  fprintf(f, "maxW %d\nmaxH %d\n", maxW, maxH);
  fprintf(f, "objArgc %d\n", objArgc);
  fprintf(f, "basedir %s\n", basedir);
  fprintf(f, "initWinW %d\ninitWinH %d\ninitUseSubGLUI %d\n", initWinW, initWinH, initUseSubGLUI);
  fprintf(f, "title %s\n", titleStr);
  fclose(f);
  rename(tmp.c_str(), statePath.c_str());
}

int sceneKey(unsigned char key, int, int) {
  if (key == 'w') {
    writeState();
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

int buildPanel() {
  ImGui::Text("test panel");
  bool axes = showAxesFlag != 0;
  int changed = 0;
  if (ImGui::Checkbox("Show axes", &axes)) {
    showAxesFlag = axes ? 1 : 0;
    ++panelChanges;
    changed = 1;
  }
  return changed;
}

const int kPanelWidth = 160;

void createPanel() {
  panelCreate(mainWindow, kPanelWidth, buildPanel);
  glutSetWindow(mainWindow);
  glutReshapeWindow(winW + kPanelWidth, winH);
}

}  // namespace

int initScene(int argc, char** argv) {
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
      useSubGLUI = 1;
      gluiCreatePtr = createPanel;
    } else if (a == "-helphook") {
      helpMenuFuncPtr = sceneHelp;
    } else if (a == "-quad") {
      drawQuad = 1;
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

void renderScene(double, int, unsigned int, double, int pickMode) {
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
}

void deleteScene() {
  fprintf(stdout, "scene deleted\n");
}
