// Viewing interaction: mouse drags on the modelview matrix, throws and spins, keys.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>

#include <cctype>
#include <cfloat>
#include <cmath>

#include "coords/math3D.h"
#include "viewer/tarnwick.h"
#include "viewer/window_scope.h"

int mouseButton = 0;
int mouseModifiers = 0;
int preMouseX = 0, preMouseY = 0;
int preMouse2X = -1, preMouse2Y = 0;
double timeLastCallMotion = 0.0;
float idleRot_nx = 0.0f, idleRot_ny = 0.0f, idleRot_nz = 0.0f;
float idleRot_speed = 0.0f;
float idleRot_angle = 0.0f;
double idleRot_time = 0.0;
int idleRot_aroundOrigin = 0;
double idleRot_objPos[4] = {0.0, 0.0, 0.0, 1.0};

namespace {

int buttonBit(int button) {
  switch (button) {
    case GLUT_LEFT_BUTTON:
      return 1;
    case GLUT_MIDDLE_BUTTON:
      return 2;
    case GLUT_RIGHT_BUTTON:
      return 4;
    default:
      return 0;  // wheel steps and extra buttons hold nothing
  }
}

void printCurrentView() {
  double m[16], p[16];
  int viewport[4];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  glGetDoublev(GL_PROJECTION_MATRIX, p);
  glGetIntegerv(GL_VIEWPORT, viewport);
  View view = frmMatToView(m);
  fprintf(stderr, "\nCurrent View\n");
  printView(stderr, &view);
  fprintf(stderr, "Modelview:\n");
  printMat(stderr, "%7.3f", m, 4, 4);
  fprintf(stderr, "Projection:\n");
  printMat(stderr, "%7.3f", p, 4, 4);
  fprintf(stderr, "Viewport: %d %d %d %d\n", viewport[0], viewport[1], viewport[2], viewport[3]);
}

}  // namespace

void stopAllSpins() {
  idleRotModel = idleRotView = idleRotObj = 0;
}

double halveSensitivity(double s) {
  s *= 0.5;
  return s < 0.01 ? 0.01 : s;
}

double doubleSensitivity(double s) {
  s *= 2.0;
  return s > 5.0 ? 5.0 : s;
}

void mouse(int button, int state, int x, int y) {
  y = winH - y - 1;
  int bit = buttonBit(button);
  if (state == GLUT_DOWN)
    mouseButton |= bit;
  else
    mouseButton &= ~bit;
  mouseModifiers = glutGetModifiers();

  if (mouseCBFuncPtr && mouseCBFuncPtr(button, state, x, y) == 1) return;

  if (state == GLUT_DOWN) {
    stopAllSpins();
    preMouse2X = -1;
  } else {
    double dt = myTime() - timeLastCallMotion;
    if (button == GLUT_LEFT_BUTTON && mouseModifiers == 0 && mouseButton == 0 && dt < (double)0.2f &&
        countPlay == 0 && preMouse2X != -1) {
      float a = (float)((preMouse2Y - y) * sensitivity);
      float b = (float)((x - preMouse2X) * sensitivity);
      float len = sqrtf(a * a + b * b);
      if (dt <= 0.001) dt = 0.001;
      if (len > 0.0f) {
        idleRot_speed = (float)(len * 0.2 / dt / 100.0);
        if (idleRot_speed >= 1.0f) {
          idleRotView = 0;
          idleRotObj = 0;
          idleRotModel = 1;
          idleRot_nx = a / len;
          idleRot_ny = b / len;
          idleRot_nz = 0.0f;
          idleRot_time = myTime();
          idleRot_angle = FLT_MAX;
        }
      }
    }
  }
  preMouseX = x;
  preMouseY = y;
  if (showLightDirMouse) {
    showLightDirMouse = 0;
    glutPostRedisplay();
  }
}

void motion(int x, int y) {
  y = winH - y - 1;
  if (x == preMouseX && y == preMouseY) return;
  timeLastCallMotion = myTime();
  if (motionCBFuncPtr && motionCBFuncPtr(x, y) == 1) return;

  glMatrixMode(GL_MODELVIEW);
  double dx = (x - preMouseX) * sensitivity;
  double dy = (y - preMouseY) * sensitivity;
  preMouse2X = preMouseX;
  preMouse2Y = preMouseY;
  preMouseX = x;
  preMouseY = y;

  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  const double move = 0.01 * currFovy / 90.0;
  const bool alt = (mouseModifiers & GLUT_ACTIVE_ALT) != 0;
  const bool shift = (mouseModifiers & GLUT_ACTIVE_SHIFT) != 0;

  if (mouseButton == 2) {
    if (!alt) {
      glLoadIdentity();
      glTranslated(dx * move, dy * move, 0.0);
      glMultMatrixd(m);
    } else {
      updateFovyBy(&currFovy, (dx - dy) * 10.0 / winH);
      View view = frmMatToView(m);
      resetView(&view);
    }
  } else if (mouseButton == 3) {
    glLoadIdentity();
    glTranslated(dx * move, 0.0, -dy * move);
    glMultMatrixd(m);
  } else if (mouseButton == 1) {
    const bool control = (mouseModifiers & GLUT_ACTIVE_CTRL) != 0;
    if (control && movieRec) {
      // The drag runs the movie along instead of turning the view.
      if (dx > 0.0)
        specKey(GLUT_KEY_RIGHT, x, y);
      else if (dx < 0.0)
        specKey(GLUT_KEY_LEFT, x, y);
    } else if (alt || !shift) {
      double axis[3] = {-dy, dx, 0.0};
      double len = sqrt(axis[0] * axis[0] + axis[1] * axis[1]);
      if (len > 0.0) {
        double angle = len * 0.5 * currFovy / 90.0;
        glLoadIdentity();
        if (!alt) glTranslated(m[12], m[13], m[14]);
        glRotated(angle, axis[0] / len, axis[1] / len, 0.0);
        if (!alt) glTranslated(-m[12], -m[13], -m[14]);
        glMultMatrixd(m);
      }
    } else if (dx != 0.0) {
      glLoadIdentity();
      glRotated(dx * 0.5 * 0.3, 0.0, 0.0, 1.0);
      glMultMatrixd(m);
    }
  }
  glutPostRedisplay();
}

void passive(int x, int y) {
  if (passiveCBFuncPtr) passiveCBFuncPtr(x, y);
}

void keyboard(unsigned char key, int x, int y) {
  // The panel may deliver events while its own window is current.
  WindowScope onMain(mainWindow);
  if (keyboardCBFuncPtr && keyboardCBFuncPtr(key, x, y) == 1) return;
  if (key == 'B') {  // the one key where the case counts
    menuSelect(kMenuShowParsecCubes);
    return;
  }
  switch (tolower(key)) {
    case 27:
    case 'q':
      menuSelect(kMenuQuit);
      break;
    case 'a':
      menuSelect(kMenuShowAxes);
      break;
    case 'b':
      menuSelect(kMenuShowMeterCubes);
      break;
    case 'g':
      menuSelect(kMenuAntiAlias);
      break;
    case 'h':
      menuHelp();
      break;
    case 'i':
      printCurrentView();
      break;
    case 'k':
      menuSelect(kMenuFrameRate);
      break;
    case 'm':
      menuSelect(kMenuMaterial);
      break;
    case 'p':
      menuSelect(kMenuResetView);
      break;
    case 's':
      menuSelect(kMenuSmooth);
      break;
    case 't':
      menuSelect(kMenuTexture);
      break;
    case '{':
      sensitivity = halveSensitivity(sensitivity);
      if (printEnable) fprintf(stderr, "sensitivity = %f\n", sensitivity);
      break;
    case '}':
      sensitivity = doubleSensitivity(sensitivity);
      if (printEnable) fprintf(stderr, "sensitivity = %f\n", sensitivity);
      break;
    case 'n':
      if (movieRec) menuSelect(kMenuShowFrameNum);
      break;
    case '<':
      if (movieRec) specKey(GLUT_KEY_LEFT, x, y);
      break;
    case '>':
      if (movieRec) specKey(GLUT_KEY_RIGHT, x, y);
      break;
    case 'r':
      if (movieRec) menuSelect(kMenuReloadScript);
      break;
    case 'x':
      if (movieRec) menuSelect(kMenuPlayOnce);
      break;
    case 'z':
      if (movieRec) menuSelect(kMenuPlayLoop);
      break;
    default:
      // "c" stands in the help text as dumping a movie, but no command ever hung on it.
      break;
  }
}

void specKey(int key, int x, int y) {
  // The panel may deliver events while its own window is current.
  WindowScope onMain(mainWindow);
  if (specKeyCBFuncPtr && specKeyCBFuncPtr(key, x, y) == 1) return;
  // F1 to F12, the arrows left and right, page, home, end and insert act on a movie only.
  if (movieSpecKey(key)) return;
  if (movieRec && key == GLUT_KEY_INSERT) menuSelect(kMenuDumpScreen);
  if (key == GLUT_KEY_UP || key == GLUT_KEY_DOWN) {
    currLogScale += key == GLUT_KEY_UP ? 0.02 : -0.02;
    glutPostRedisplay();
    if (printEnable) fprintf(stderr, "currLogScale = %f\n", currLogScale);
  }
}

View frmMatToView(const double* m) {
  View view;
  const double t[3] = {m[12], m[13], m[14]};
  view.viewPos.x = -(t[0] * m[0] + t[1] * m[1] + t[2] * m[2]);
  view.viewPos.y = -(t[0] * m[4] + t[1] * m[5] + t[2] * m[6]);
  view.viewPos.z = -(t[0] * m[8] + t[1] * m[9] + t[2] * m[10]);
  view.viewPos.s = currLogScale;
  view.viewDir[0] = -m[2];
  view.viewDir[1] = -m[6];
  view.viewDir[2] = -m[10];
  view.viewUp[0] = m[1];
  view.viewUp[1] = m[5];
  view.viewUp[2] = m[9];
  view.fovy = currFovy;
  view.aspect = currAspect;
  return view;
}

void updateFovyBy(double* fovy, double delta) {
  double u = *fovy > 0.1 ? *fovy - 0.1 : 8.0 * log(*fovy / 0.1);
  u += delta;
  if (u > 0.0) {
    *fovy = u + 0.1;
    if (*fovy > 179.9) *fovy = 179.9;
  } else {
    *fovy = 0.1 * exp(u / 8.0);
    if (*fovy < 1e-7) *fovy = 1e-7;
  }
}

void glRemoveTranslate() {
  // The picture's modelview, whichever window is current.
  WindowScope onMain(mainWindow);
  double m[16];
  glMatrixMode(GL_MODELVIEW);
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  m[12] = m[13] = m[14] = 0.0;
  glLoadMatrixd(m);
}

void myXformLight(const float* m, float* position, float cx, float cy, float cz) {
  const float p[3] = {position[0] - cx, position[1] - cy, position[2] - cz};
  const float c[3] = {cx, cy, cz};
  for (int i = 0; i < 3; ++i) position[i] = m[i] * p[0] + m[4 + i] * p[1] + m[8 + i] * p[2] + c[i];
}

void idleSpin() {
  if (!(idleRotModel || idleRotView || idleRotObj)) {
    // The mouse's last speed is no throw once the program has gone idle.
    if (preMouse2X != -1) preMouse2X = -1;
    return;
  }
  glMatrixMode(GL_MODELVIEW);
  double t = myTime();
  float m[16];
  glGetFloatv(GL_MODELVIEW_MATRIX, m);
  if (idleRotModel) {
    glLoadIdentity();
    glTranslatef(m[12], m[13], m[14]);
    glRotated(idleRot_speed * (t - idleRot_time), idleRot_nx, idleRot_ny, 0.0);
    glTranslatef(-m[12], -m[13], -m[14]);
    glMultMatrixf(m);
    glutPostRedisplay();
  } else if (idleRotView) {
    if (idleRot_angle > 0.0f) {
      double step = idleRot_speed * (t - idleRot_time);
      if (step > idleRot_angle) step = idleRot_angle;
      glLoadIdentity();
      if (idleRot_aroundOrigin) glTranslatef(m[12], m[13], m[14]);
      glRotated(step, idleRot_nx, idleRot_ny, idleRot_nz);
      if (idleRot_aroundOrigin) glTranslatef(-m[12], -m[13], -m[14]);
      glMultMatrixf(m);
      idleRot_angle -= (float)step;
      glutPostRedisplay();
    }
    if (idleRot_angle <= 0.0f) idleRotView = 0;
  } else {
    double p[3];
    for (int i = 0; i < 3; ++i)
      p[i] = (m[i] * idleRot_objPos[0] + m[4 + i] * idleRot_objPos[1] + m[8 + i] * idleRot_objPos[2]) *
                 idleRot_objPos[3] +
             m[12 + i];
    glLoadIdentity();
    glTranslated(p[0], p[1], p[2]);
    glRotated(idleRot_speed * (t - idleRot_time), idleRot_nx, idleRot_ny, 0.0);
    glTranslated(-p[0], -p[1], -p[2]);
    glMultMatrixf(m);
    glutPostRedisplay();
  }
  idleRot_time = t;
}
