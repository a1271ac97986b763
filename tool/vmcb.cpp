// The tool's mouse gestures and keys: every alignment gesture is a new alignModelMatrix, every
// viewing gesture a new modelview matrix; keys toggle what the picture shows and share their work
// with the panel through myGLUICallback.
#include "tool/vmcb.h"

#include <GL/freeglut.h>
#include <GL/gl.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "coords/phcoord.h"
#include "fileio/common.h"
#include "tool/texfile.h"
#include "tool/velmora.h"
#include "tool/vmbuild.h"
#include "tool/vmfile.h"
#include "tool/vmimage.h"
#include "tool/vmpick.h"
#include "viewer/tarnwick.h"

const char* const mouseHelpText =
    "     Mouse Control :\n"
    "     \n"
    "     1) Viewing\n"
    "        Ctrl + Left         - Rolling Ball (panning)\n"
    "        Ctrl + Shift + Left - Rotate about screen center\n"
    "        Alt  + Middle       - changing fovy\n"
    "     \n"
    "     2) Alignment (screen-based)\n"
    "        Left       - Rotate about the model center\n"
    "        Middle     - LB-translate the model\n"
    "        Left+Mid   - scaling the model in obj X/Y\n"
    "              +Alt - scaling the model in obj X/Y:\n"
    "                           about the anchor      if we have anchor\n"
    "                        or about the picked star if we have picked star\n"
    "                        or about the screen center (otherwise) \n"
    "        Left+Shift - Rotate the model about its direction\n"
    "        Left+Alt   - Rotate the model:\n"
    "                           about the anchor      if we have anchor\n"
    "                        or about the picked star if we have picked star\n"
    "                        or about the screen center (otherwise) \n"
    "     \n"
    "     3) Right - picking stars or drag the anchor\n"
    "     \n"
    "     Note: If checkbox \"is plain image?\" is enabled,\n"
    "           Input obj model is considered as a plain image\n"
    "           and object center rotation will become rotation\n"
    "           about rotation direction (Left+Shift)\n"
    "     \n"
    "     More help on keyboard control?\n";

const char* const keyboardHelpText =
    "     Keyboard Control :\n"
    "     \n"
    "     ESC/q/Q - quit\n"
    "      h      - this help menu\n"
    "     \n"
    "      a      - show axes\n"
    "      G      - show super galactic grid\n"
    "      g      - show galactic grid\n"
    "      E      - show equatorial grid\n"
    "      d      - more detail on grid\n"
    "      D      - show screen center direction\n"
    "      L      - show screen center line\n"
    "      A      - show anchor\n"
    "      l      - lock view\n"
    "      r      - reset view (look at whole model)\n"
    "      R      - restart model position\n"
    "      k/K    - show frame rate\n"
    "     \n"
    "      s      - show stars\n"
    "      S      - show constellation lines/names\n"
    "      t      - toggle textured stars\n"
    "      p/P    - show info on picked star\n"
    "      n/N    - show common names\n"
    "      +/-    - adjust star size\n"
    "      I      - information about positions (Gal.)\n"
    "      \n"
    "      z      - show model/image\n"
    "      Z      - show model/image outline\n"
    "      x/X    - show object axes\n"
    "      b/B    - show object bounding box\n"
    "      i      - show model info on screen\n"
    "      [,]    - adjust model opacity\n"
    "      u/U    - undo alignment operation\n"
    "      y/Y    - redo alignment operation\n"
    "      f      - show \"fixed\" obj model (if any)\n"
    "               (other fixed obj model are drawn with depth buffering)\n"
    "      \n"
    "      m      - panel open/close ['m' followed by f/v/t/a/s/p/m/...etc]\n"
    "      m      - panel  all close ['m' followed by -]\n"
    "     \n"
    "     {,}     - adjust mouse sensitivity\n"
    "     \n"
    "     More help on mouse control?\n";

namespace {

// Buttons and modifiers as the framework keeps them.
constexpr int kLeft = 1, kMiddle = 2, kRight = 4, kLeftMiddle = kLeft | kMiddle;
constexpr int kShift = 1, kCtrl = 2, kAlt = 4;
constexpr int kRightButton = 2;  // GLUT's number of the right button
constexpr int kPress = 0;

// Degrees of turn per pixel of drag: a drag across the picture turns by about the field of view.
constexpr double kTurnPerFovy = 0.5 / 90.0;
constexpr double kSpinPerPixel = 0.5 * 0.3;
// Scale per pixel of drag, and the smallest factor of one step.
constexpr double kPixelsPerScale = 50.0;
constexpr float kMinScaleStep = 0.1f;
// o.z times e.z above this: the line of sight meets the model's plane behind the observer.
constexpr double kNoForwardHit = 1e-7;

// Key limits.
constexpr float kStarSizeStep = 1.1f, kStarSizeMax = 5.0f, kStarSizeMin = 0.1f;
constexpr float kAlphaStep = 0.02f;
constexpr double kSensitivityStep = 1.1, kSensitivityMax = 5.0, kSensitivityMin = 0.01;
constexpr unsigned char kFirstKey = '+', kLastKey = '}';

// The panel may be the current window when its controls call back.
void redisplay() {
  myGlutPostRedisplay(mainWindow);
}

void toggle(int& flag) {
  flag = 1 - flag;
}

// The modelview of the frame in which the gesture happens.
void currentView(double v[16]) {
  glGetDoublev(GL_MODELVIEW_MATRIX, v);
}

// alignModelMatrix = (the product the caller builds on the modelview stack), read back.
template <typename Build>
void setAlignFrom(Build build) {
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  build();
  glGetDoublev(GL_MODELVIEW_MATRIX, alignModelMatrix);
  glPopMatrix();
}

void unit(double v[3]) {
  double len = sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]);
  if (len > 0) v[0] /= len, v[1] /= len, v[2] /= len;
}

// The fixed point of the Alt scale: where the line from the observer towards the anchor, the
// picked star or the screen centre meets the model's own z = 0 plane. false when there is none.
bool altScaleFixedPoint(const double view[16], double q[3]) {
  double r[3];
  if (showAnchor) {
    r[0] = anchor.pos.x, r[1] = anchor.pos.y, r[2] = anchor.pos.z;
  } else if (picked) {
    r[0] = pickedStar.pos.x, r[1] = pickedStar.pos.y, r[2] = pickedStar.pos.z;
  } else {
    r[0] = -view[2], r[1] = -view[6], r[2] = -view[10];
  }
  unit(r);
  double rows[16];
  memcpy(rows, alignModelMatrix, sizeof rows);
  invert4by4(rows);
  transposeMat(rows, 4);
  double o[3] = {0, 0, 0};
  matMultVertexd(rows, o);
  matMultVertexd(rows, r);
  double e[3] = {r[0] - o[0], r[1] - o[1], r[2] - o[2]};
  if (o[2] * e[2] > kNoForwardHit) {
    fprintf(stderr, "The reference point (anchor or picked star) does not make sense.\n");
    return false;
  }
  double t = -o[2] / e[2];
  for (int k = 0; k < 3; k++) q[k] = o[k] + t * e[k];
  return true;
}

bool isAlignmentGesture() {
  int m = mouseModifiers, b = mouseButton;
  if (m == 0 && (b == kLeft || b == kMiddle || b == kLeftMiddle)) return true;
  if ((m == kShift || m == kAlt) && b == kLeft) return true;
  return m == kAlt && b == kLeftMiddle;
}

void alignmentGesture(int x, int y) {
  double dx = x - preMouseX, dy = y - preMouseY;
  double view[16], inv[16], w[16];
  currentView(view);
  memcpy(inv, view, sizeof inv);
  invert4by4(inv);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glMultMatrixd(alignModelMatrix);
  glGetDoublev(GL_MODELVIEW_MATRIX, w);
  glPopMatrix();
  const double c[3] = {w[12], w[13], w[14]};
  // The framework drops motion without a change of position, so d is never 0 here.
  double d = sqrt(dx * dx + dy * dy);
  double theta1 = d * sensitivity * kTurnPerFovy * currFovy;
  double theta2 = dx * kSpinPerPixel * sensitivity;
  int b = mouseButton, m = mouseModifiers;

  if (b == kLeft && m == 0 && !isObjAnImage) {
    setAlignFrom([&] {
      glMultMatrixd(inv);
      glTranslated(c[0], c[1], c[2]);
      glRotated(theta1, -dy / d, dx / d, 0);
      glTranslated(-c[0], -c[1], -c[2]);
      glMultMatrixd(w);
    });
  } else if (b == kLeft && (m == kShift || m == 0)) {
    setAlignFrom([&] {
      glMultMatrixd(inv);
      glRotated(theta2, c[0], c[1], c[2]);
      glMultMatrixd(w);
    });
  } else if (b == kLeft && m == kAlt) {
    // About the anchor or the picked star the turn stands in world terms, outside the view, and
    // turns the other way from the turn about the screen centre, as it always has.
    double a[3] = {0, 0, 1};
    bool world = showAnchor || picked;
    if (showAnchor)
      a[0] = anchor.pos.x, a[1] = anchor.pos.y, a[2] = anchor.pos.z;
    else if (picked)
      a[0] = pickedStar.pos.x, a[1] = pickedStar.pos.y, a[2] = pickedStar.pos.z;
    unit(a);
    setAlignFrom([&] {
      if (world) {
        glRotated(-theta2, a[0], a[1], a[2]);
        glMultMatrixd(inv);
      } else {
        glMultMatrixd(inv);
        glRotated(-theta2, 0, 0, 1);
      }
      glMultMatrixd(w);
    });
  } else if (b == kMiddle && m == 0) {
    setAlignFrom([&] {
      glMultMatrixd(inv);
      glRotated(theta1, dy / d, -dx / d, 0);
      glMultMatrixd(w);
    });
  } else if (b == kLeftMiddle) {
    float sx = (float)(1 + dx / kPixelsPerScale * sensitivity);
    float sy = (float)(1 + dy / kPixelsPerScale * sensitivity);
    if (sx < kMinScaleStep) sx = kMinScaleStep;
    if (sy < kMinScaleStep) sy = kMinScaleStep;
    if (m == 0) {
      setAlignFrom([&] {
        glMultMatrixd(inv);
        glMultMatrixd(w);
        glScaled(sx, sy, 1);
      });
    } else {
      double q[3];
      if (altScaleFixedPoint(view, q)) {
        setAlignFrom([&] {
          glMultMatrixd(inv);
          glMultMatrixd(w);
          glTranslated(q[0], q[1], q[2]);
          glScaled(sx, sy, 1);
          glTranslated(-q[0], -q[1], -q[2]);
        });
      }
    }
  }
  preMouseX = x;
  preMouseY = y;
  redisplay();
}

// Returns 0 only for Alt with the middle button: the framework changes the field of view.
int viewingGesture(int x, int y) {
  if (lockView) return 1;
  int b = mouseButton, m = mouseModifiers;
  if (b == kMiddle && m == kAlt) return 0;
  // The offsets come scaled by the sensitivity, and the turns scale by it again: it enters
  // squared, as the tool has always had it.
  double dx = (x - preMouseX) * sensitivity, dy = (y - preMouseY) * sensitivity;
  bool acted = false;
  if (b == kLeft && m == kCtrl) {
    double d = sqrt(dx * dx + dy * dy);
    if (d > 0) {
      double v[16];
      currentView(v);
      double theta = d * sensitivity * kTurnPerFovy * currFovy;
      glMatrixMode(GL_MODELVIEW);
      glLoadIdentity();
      glTranslated(v[12], v[13], v[14]);
      glRotated(theta, -dy / d, dx / d, 0);
      glTranslated(-v[12], -v[13], -v[14]);
      glMultMatrixd(v);
    }
    acted = true;
  } else if (b == kLeft && m == (kCtrl | kShift)) {
    if (dx != 0) {
      double v[16];
      currentView(v);
      glMatrixMode(GL_MODELVIEW);
      glLoadIdentity();
      glRotated(dx * kSpinPerPixel * sensitivity, 0, 0, 1);
      glMultMatrixd(v);
    }
    acted = true;
  }
  if (acted) {
    preMouse2X = preMouseX;
    preMouse2Y = preMouseY;
    preMouseX = x;
    preMouseY = y;
    redisplay();
  }
  return 1;
}

// The second key after m: a panel letter, or - to close them all. A digit from 1 up to the
// number of rollouts goes on as its place counted from 0, which no panel letter is, so it
// finds nothing; that is how the key has always behaved.
int panelKey(unsigned char key) {
  if (key == '-') {
    closeAllRollouts();
    return 1;
  }
  int letter = key;
  if (key >= '1' && key <= '0' + nRolloutList) letter = key - '1';
  return rotatePanelsTo(letter);
}

// The texture radio group's buttons: no texture, one map, the slider.
constexpr int kTexChoiceOne = 1, kTexChoiceSlider = 2;
// The look-at turn lasts this many seconds of processor time; smaller turns don't start.
constexpr double kLookAtSeconds = 1.5;
constexpr double kLookAtLeastDegrees = 1e-5;

// Whether the star panel describes something: a picked star, a typed HD number or the anchor.
bool hasChoice() {
  return showAnchor || picked || pickStarNameHDStr[0];
}

// The pick functions rewrite the very texts they are given: they get a copy.
void pickAgain(const char* name) {
  char text[kPickTextSize];
  copyText(text, name, sizeof text);
  pickStarByName(text);
}

void rewriteAnchorText() {
  double v[3] = {anchor.pos.x, anchor.pos.y, anchor.pos.z};
  unify3D(v);
  char l[kAngleTextSize], b[kAngleTextSize];
  computeAnglesStr(l, b, v);
  snprintf(anchorText, sizeof anchorText, " (%s,%s)", l, b);
}

// "dir": the path as typed goes to the shell unquoted, so that patterns and the like work; the
// listing reports its own failures.
void listDirectory() {
  fprintf(stderr, "\nDirectory [%s]\n\n", alignpath.c_str());
  fflush(stderr);
  fflush(stdout);
  std::string command = "ls -al " + alignpath;
  int status = system(command.c_str());
  (void)status;
}

// The view of the main window as the framework holds it, in a View.
View mainView() {
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  return frmMatToView(m);
}

// "Fovy:". Returns 0 when the locked view refuses it (the slider snaps back).
bool changeFovy() {
  if (lockView) {
    myCurrFovy = static_cast<float>(currFovy);
    syncPanel();
    return false;
  }
  currFovy = myCurrFovy;
  View view = mainView();
  resetView(&view);
  return true;
}

// "Aspect Ratio:" and "Fix as width/height". Returns 0 when the locked view refuses it.
bool changeAspect() {
  if (lockView) {
    myCurrAspect = static_cast<float>(currAspect);
    syncPanel();
    return false;
  }
  View view = mainView();
  if (!fixAspectRatio) {
    currAspect = myCurrAspect;
  } else {
    // The window's own shape wins over the slider.
    currAspect = static_cast<double>(winW) / winH;
    myCurrAspect = static_cast<float>(currAspect);
    syncPanel();
  }
  view.aspect = currAspect;
  resetView(&view);
  return true;
}

// Radians between two unit vectors; rounding can't take the cosine past 1.
double angleBetween(const double a[3], const double b[3]) {
  return std::acos(std::fmax(-1.0, std::fmin(1.0, dot3D(a, b))));
}

// "look at star": starts the idle turn of the view that brings the picked star (or the anchor)
// to the centre of the picture. Returns 0 when the locked view refuses it, with no redisplay.
bool lookAtStar() {
  if (lockView) {
    fprintf(stderr, "Screen locked.\n");
    return false;
  }
  if (!picked && !pickStarNameHDStr[0]) {
    printf("Please pick a star and press the button again.\n");
    return true;
  }
  View view = mainView();
  double g[3], u[3];
  copy3D(g, view.viewDir);
  copy3D(u, view.viewUp);
  unify3D(g);
  unify3D(u);
  PHCoord eye = view.viewPos;
  unifyPHCoord(&eye);
  double e[3] = {eye.x, eye.y, eye.z};
  unify3D(e);
  // Looking back at the origin from outside, the turn goes about the origin and aims at the
  // star's direction; otherwise it turns the eye towards the star where it stands.
  int aroundOrigin = angleBetween(g, e) > kPi - currFovy / 2 * kRadiansPerDegree;
  PHCoord to = aroundOrigin ? pickedStar.pos : subPHCoord(pickedStar.pos, view.viewPos);
  double d[3] = {to.x, to.y, to.z};
  unify3D(d);
  double a = angleBetween(g, d) * kDegreesPerRadian;
  if (a > kLookAtLeastDegrees) {
    double p[3], s[3];
    add_mul_3D(d, -dot3D(d, g), g, p);
    unify3D(p);
    cross3D(g, u, s);
    idleRot_nx = static_cast<float>(-dot3D(p, u));
    idleRot_ny = static_cast<float>(dot3D(p, s));
    idleRot_nz = 0;
    idleRotModel = 0;
    idleRotView = 0;
    idleRot_angle = static_cast<float>(a);
    idleRot_speed = static_cast<float>(a / kLookAtSeconds);
    idleRot_time = myTime();
    idleRot_aroundOrigin = aroundOrigin;
    idleRotView = 1;
  }
  return true;
}

// "Export" and Enter in "ObjFile:": the aligned model to alignpath/objFileExport, which joins the
// recent list whatever the export's outcome, so that it can be opened again.
void exportModel() {
  std::string target = alignpath + "/" + objFileExport;
  const int written = exportObjFile(target.c_str(), alignfile, alignModel, alignModelMatrix, initTranMat,
                                    distObjModel, unitObjModel - kUnitBase, coordObjModel - kCoordBase);
  if (written == 1 && exportImageWcs) exportWcsOfImage(target);
  addRecentFile(alignpath.c_str(), objFileExport.c_str());
}

}  // namespace

int myMouseCB(int button, int state, int x, int y) {
  if (state != kPress) return 0;
  saveAlign();
  if (button == kRightButton && mouseModifiers == 0) {
    askForPick = 1;
    pickAtX = x;
    pickAtY = glutGet(GLUT_WINDOW_HEIGHT) - y;
    redisplay();
  }
  return 0;
}

int myMotionCB(int x, int y) {
  if (!picked && mouseButton == kRight && mouseModifiers == 0) {
    preMouseX = x;
    preMouseY = y;
    updateAnchor(x, glutGet(GLUT_WINDOW_HEIGHT) - y - 1);
    syncPanel();
    redisplay();
    return 1;
  }
  if (isAlignmentGesture()) {
    alignmentGesture(x, y);
    return 1;
  }
  return viewingGesture(x, y);
}

int myHelpMenu(FILE* stream) {
  fprintf(stream, "\n\n%s\n\n%s\n\n", mouseHelpText, keyboardHelpText);
  return 1;
}

void myGLUICallback(int id) {
  switch (id) {
    case kIdQuit:
      menuSelect(kMenuQuit);
      break;
    case kIdHelp:
      menuSelect(kMenuHelp);
      break;
    case kIdAbout:
      menuSelect(kMenuAbout);
      break;
    case kIdCloseAll:
      closeAllRollouts();
      break;
    case kIdNextPanel:
      rotatePanelsOffset(1);
      break;
    case kIdUndo:
      undoAlign();
      break;
    case kIdRedo:
      redoAlign();
      break;
    case kIdDir:
      listDirectory();
      break;
    case kIdOpen:
      openFile(alignpath.c_str(), try_open_alignfile.c_str());
      break;
    case kIdFovy:
      if (!changeFovy()) return;
      break;
    case kIdAspect:
      if (!changeAspect()) return;
      break;
    case kIdSensitivity:
      sensitivity = mySensitivity;
      break;
    case kIdLockView:
      if (lockView && idleRotModel) idleRotModel = 0;
      break;
    case kIdAxes:
      showAxesFlag = myShowAxesFlag;
      break;
    case kIdRaDec:
      relabelStarPosTexts();
      if (hasChoice()) {
        if (!picked)
          updateAnchor(-1, -1);
        else
          updateStarPanel();
        syncPanel();
      }
      break;
    case kIdDecPlaces:
      if (hasChoice()) {
        if (!picked) {
          updateAnchor(-1, -1);
        } else {
          updateStarPanel();
          if (showAnchor) rewriteAnchorText();
        }
      }
      syncPanel();
      break;
    case kIdStarSize:
      if (starList) starList->setStarTextureScale(starSize);
      break;
    case kIdStarAtYear:
      if (starList) starList->setStarAtYear(starAtYear);
      if (picked || pickStarNameHDStr[0]) pickAgain(pickStarNameHDStr);
      break;
    case kIdPrintStar:
      if (picked || pickStarNameHDStr[0]) {
        printf("\n");
        if (starList) starList->printStarObj(&pickedStar, stdout);
      } else {
        printf("Please pick a star and press the button again.\n");
      }
      break;
    case kIdLookAtStar:
      if (!lookAtStar()) return;
      break;
    case kIdPickHD:
      pickAgain(pickStarNameHDStr);
      syncPanel();
      break;
    case kIdPickHIC:
      pickAgain(pickStarNameHICStr);
      syncPanel();
      break;
    case kIdPickCommon:
      pickAgain(pickStarNameCommonStr);
      syncPanel();
      break;
    case kIdPickConstellation: {
      char text[kPickTextSize];
      copyText(text, pickStarConstellationStr, sizeof text);
      pickStarByConstellation(text);
      syncPanel();
      break;
    }
    case kIdTexChoice:
      if (texChoice == kTexChoiceOne) resetTexture(kTexListBase);
      if (texChoice == kTexChoiceSlider) resetTexture(kIdTexSlider);
      break;
    case kIdTexSlider:
      // Touching the slider switches to slider mode.
      texChoice = kTexChoiceSlider;
      resetTexture(kIdTexSlider);
      break;
    case kSliderUnitBase:
      updateTexSliderUnit();
      texChoice = kTexChoiceSlider;
      resetTexture(kIdTexSlider);
      break;
    case kIdRedisplay:
      break;
    case kIdExport:
      exportModel();
      break;
    case kIdExportWcs:
      // The choice takes effect at the next export; nothing to draw anew.
      break;
    case kRecentListBase:
      openRecentFile(recentListBoxID - kRecentListBase);
      break;
    case kTexListBase:
      // Choosing a map switches to single-map mode, the texture on.
      texChoice = kTexChoiceOne;
      resetTexture(kTexListBase);
      break;
    default:
      return;
  }
  redisplay();
}

int myKeyCB(unsigned char key, int, int) {
  // Whether the key just before was m: this key then names a panel.
  static int waitForSecondKey = 0;
  if (waitForSecondKey) {
    waitForSecondKey = 0;
    return panelKey(key);
  }
  if (key < kFirstKey || key > kLastKey) return 0;
  bool show = true;  // ask for a new frame at once
  int result = 1;
  switch (key) {
    case '+':
      starSize *= kStarSizeStep;
      if (starSize >= kStarSizeMax) starSize = kStarSizeMax;
      myGLUICallback(kIdStarSize);
      show = false;
      break;
    case '-':
      starSize /= kStarSizeStep;
      if (starSize <= kStarSizeMin) starSize = kStarSizeMin;
      myGLUICallback(kIdStarSize);
      show = false;
      break;
    case '1':
      if (texObjs) texChoice = 0;
      break;
    case '2':
      if (texObjs) texChoice = 1, resetTexture(kTexListBase);
      break;
    case '3':
      if (texObjs && nSliderTex) texChoice = 2, resetTexture(kIdTexSlider);
      break;
    case 'A': toggle(showAnchor); break;
    case 'B': toggle(showAlignModelNormal), show = false; break;
    case 'D': toggle(showLookAtDir); break;
    case 'E': toggle(showEqnSphere); break;
    case 'F':
      if (nFixedModels) toggle(showFixedBehind);
      show = false;
      break;
    case 'G': toggle(showSGalSphere); break;
    case 'L': toggle(showCenterLine); break;
    case 'N':
    case 'n': toggle(showCommonName); break;
    case 'P':
    case 'p': toggle(showStarInfo); break;
    case 'R':
      memcpy(alignModelMatrix, alignModelMatrix_Backup, sizeof alignModelMatrix);
      result = 0;  // the framework's R runs too
      break;
    case 'S':
      // (1,1) -> (0,1) -> (0,0) -> (1,0) -> (1,1)
      if (showConstellationLines && showConstellationNames)
        showConstellationLines = 0;
      else if (!showConstellationLines && showConstellationNames)
        showConstellationNames = 0;
      else if (!showConstellationLines && !showConstellationNames)
        showConstellationLines = 1;
      else
        showConstellationNames = 1;
      break;
    case 'U':
    case 'u': myGLUICallback(kIdUndo), show = false; break;
    case 'W':
      if (texObjs) sliderTexAlpha = std::fmin(sliderTexAlpha + kAlphaStep, 1.0f);
      show = false;
      break;
    case 'X':
    case 'x': toggle(showAlignModelAxes), show = false; break;
    case 'Y':
    case 'y': myGLUICallback(kIdRedo), show = false; break;
    case 'Z': toggle(showAlignModelOutline), show = false; break;
    case '[': alignModelAlpha = std::fmax(alignModelAlpha - kAlphaStep, 0.0f), show = false; break;
    case ']': alignModelAlpha = std::fmin(alignModelAlpha + kAlphaStep, 1.0f), show = false; break;
    case 'b': toggle(showAlignModelBBox), show = false; break;
    case 'd': toggle(gridDetail); break;
    case 'f':
      if (nFixedModels) toggle(showFixedModels);
      show = false;
      break;
    case 'g': toggle(showGalSphere); break;
    case 'i': toggle(showAlignModelInfo), show = false; break;
    case 'l':
      toggle(lockView);
      myGLUICallback(kIdLockView);
      break;
    case 'm':
      waitForSecondKey = 1;
      show = false;
      break;
    case 'r':
      fixInitView();
      result = 0;  // the framework's r runs too
      break;
    case 's': toggle(showStarsFlag); break;
    case 't': toggle(useStarTex); break;
    case 'w':
      if (texObjs) sliderTexAlpha = std::fmax(sliderTexAlpha - kAlphaStep, 0.0f);
      show = false;
      break;
    case 'z': toggle(showAlignModel), show = false; break;
    case '{':
      sensitivity /= kSensitivityStep;
      if (sensitivity <= kSensitivityMin) sensitivity = kSensitivityMin;
      mySensitivity = (float)sensitivity;
      break;
    case '}':
      sensitivity *= kSensitivityStep;
      if (sensitivity >= kSensitivityMax) sensitivity = kSensitivityMax;
      mySensitivity = (float)sensitivity;
      break;
    default:
      return 0;
  }
  syncPanel();
  if (show) redisplay();
  return result;
}
