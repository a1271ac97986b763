// Numbered commands, the pop-up menu that shows some of them, help and light status.
#include <GL/freeglut.h>
#include <GL/gl.h>

#include <cstdio>
#include <cstring>

#include "fileio/common.h"
#include "movie/movierec.h"
#include "viewer/tarnwick.h"

int mainMenu = 0, generalMenu = 0, movieMenu = 0, lightMenu = 0, lightCtrlMenu = 0, lightEnableMenu = 0;

namespace {

// The movie menu's "Goto Frame" entries and the keys F1 to F10 spread at most this many
// frames evenly over a movie.
constexpr int kGotoFrameStops = 10;
// Room for every "Goto Frame" target: frame 0 and one per stop.
constexpr int kGotoFrameEntries = kGotoFrameStops + 1;

// Makes one menu current for the life of a scope, as GLUT fills and empties only the current
// menu, and puts the one that was current back at its end.
class MenuScope {
 public:
  explicit MenuScope(int menu) : previous_(glutGetMenu()) { glutSetMenu(menu); }
  ~MenuScope() {
    if (previous_) glutSetMenu(previous_);
  }
  MenuScope(const MenuScope&) = delete;
  MenuScope& operator=(const MenuScope&) = delete;

 private:
  int previous_;
};

void menuCallback(int item) {
  menuSelect(item);
}

void addFlagEntry(int flag, const char* on, const char* off, int item) {
  glutAddMenuEntry(flag ? on : off, item);
}

}  // namespace

void removeAllMenuItems() {
  int n = glutGet(GLUT_MENU_NUM_ITEMS);
  for (int i = 0; i < n; ++i) glutRemoveMenuItem(1);
}

void resetGeneralMenu() {
  if (!generalMenu) return;
  MenuScope scope(generalMenu);
  removeAllMenuItems();
  addFlagEntry(antiAliasFlag, "AntiAliasing On", "AntiAliasing Off", kMenuAntiAlias);
  addFlagEntry(showAxesFlag, "Show Axes On", "Show Axes Off", kMenuShowAxes);
  addFlagEntry(showCubesFlag, "Show Meter Cubes On", "Show Meter Cubes Off", kMenuShowMeterCubes);
  addFlagEntry(showParsecCubesFlag, "Show Parsec Cubes On", "Show Parsec Cubes Off", kMenuShowParsecCubes);
  addFlagEntry(showGalGrid, "Show Gal.Grid On", "Show Gal.Grid Off", kMenuShowGalGrid);
  addFlagEntry(showEqnGrid, "Show Eqn.Grid On", "Show Eqn.Grid Off", kMenuShowEqnGrid);
  addFlagEntry(showSphGridDetail, "Grid Detail On", "Grid Detail Off", kMenuGridDetail);
}

int gotoFrameTargets(int nFrames, int* targets) {
  int count = 0;
  targets[count++] = 0;
  int m = (nFrames < kGotoFrameStops ? nFrames : kGotoFrameStops) - 1;
  for (int k = 1; k <= m; ++k) targets[count++] = (nFrames - 1) * k / m;
  return count;
}

int functionKeyTarget(int keyNumber, int nFrames) {
  if (nFrames == 1) return 0;
  return (keyNumber - 1) * (nFrames - 1) / ((nFrames < kGotoFrameStops ? nFrames : kGotoFrameStops) - 1);
}

std::vector<MenuEntry> movieMenuEntries(int nFrames, int playing) {
  std::vector<MenuEntry> entries;
  int targets[kGotoFrameEntries];
  // Frame 0 always has its entry, even in a movie without key frames, where it leads nowhere.
  const int count = gotoFrameTargets(nFrames, targets);
  for (int i = 0; i < count; ++i) {
    char label[64];
    snprintf(label, sizeof label, "Goto Frame %d/%d", targets[i], nFrames - 1);
    entries.push_back({label, kMenuGotoFrame0 + targets[i]});
  }
  entries.push_back({"Play Movie Once", kMenuPlayOnce});
  entries.push_back({playing ? "Stop Movie Loop" : "Play Movie Loop", kMenuPlayLoop});
  entries.push_back({"Dump Frames", kMenuDumpFrames});
  entries.push_back({"Dump Screen", kMenuDumpScreen});
  entries.push_back({"Show Frame Num", kMenuShowFrameNum});
  entries.push_back({"Reload Script", kMenuReloadScript});
  return entries;
}

void resetMovieMenu() {
  if (!movieMenu || !movieRec) return;
  MenuScope scope(movieMenu);
  removeAllMenuItems();
  for (const MenuEntry& e : movieMenuEntries(movieRec->getNFrames(), countPlay != kPlayStopped))
    glutAddMenuEntry(e.label.c_str(), e.item);
}

void resetLightCtrlMenu() {
  if (!lightCtrlMenu) return;
  MenuScope scope(lightCtrlMenu);
  removeAllMenuItems();
  for (int i = 0; i < kViewerLightCount; ++i) {
    char label[64];
    snprintf(label, sizeof label, "light %d%s", i, i == controlledLightID ? " (now)" : "");
    glutAddMenuEntry(label, kMenuControlLight0 + i);
  }
}

void resetLightEnableMenu() {
  if (!lightEnableMenu) return;
  MenuScope scope(lightEnableMenu);
  removeAllMenuItems();
  for (int i = 0; i < kViewerLightCount; ++i) {
    char label[64];
    snprintf(label, sizeof label, lightON[i] ? "light %d on" : "light %d off", i);
    glutAddMenuEntry(label, kMenuToggleLight0 + i);
  }
}

void resetLightMenu() {
  // The light menus are never made by buildMenuItems; until a scene makes them, only the
  // status line comes out.
  if (lightMenu) {
    MenuScope scope(lightMenu);
    removeAllMenuItems();
    glutAddMenuEntry(showLightDir ? "Light Dir. On" : "Light Dir. Off", kMenuLightDir);
    glutAddMenuEntry("Print Status", kMenuPrintLights);
    if (lightEnableMenu) glutAddSubMenu("Toggle", lightEnableMenu);
    if (lightCtrlMenu) glutAddSubMenu("Control", lightCtrlMenu);
  }
  resetLightCtrlMenu();
  resetLightEnableMenu();
  printLightStatus();
}

void buildMenuItems() {
  generalMenu = glutCreateMenu(menuCallback);
  resetGeneralMenu();
  if (movieRec) {
    movieMenu = glutCreateMenu(menuCallback);
    resetMovieMenu();
  }
  mainMenu = glutCreateMenu(menuCallback);
  glutAddMenuEntry("Help", kMenuHelp);
  glutAddSubMenu("General", generalMenu);
  if (movieRec) glutAddSubMenu("Movie", movieMenu);
  glutAddMenuEntry("Reset View", kMenuResetView);
  glutAddMenuEntry("Frame Rate", kMenuFrameRate);
  glutAddMenuEntry("About", kMenuAbout);
  glutAddMenuEntry("Quit", kMenuQuit);
}

int menuSelectGeneral(int item) {
  if (item < kMenuGeneralFirst || item > kMenuGeneralLast) return 0;
  switch (item) {
    case kMenuSmooth:
      useSmooth = useSmooth == kRenderSmooth ? kRenderFlat : kRenderSmooth;
      break;
    case kMenuMaterial:
      useMaterial = useMaterial == kRenderMaterial ? kRenderColor : kRenderMaterial;
      break;
    case kMenuTexture:
      useTexture = useTexture == kRenderTexture ? 0 : kRenderTexture;
      break;
    case kMenuAntiAlias:
      antiAliasFlag = !antiAliasFlag;
      if (antiAliasFlag) {
        glEnable(GL_POINT_SMOOTH);
        glEnable(GL_LINE_SMOOTH);
      } else {
        glDisable(GL_POINT_SMOOTH);
        glDisable(GL_LINE_SMOOTH);
      }
      break;
    case kMenuShowAxes:
      showAxesFlag = !showAxesFlag;
      break;
    case kMenuShowMeterCubes:
      showCubesFlag = !showCubesFlag;
      break;
    case kMenuShowParsecCubes:
      showParsecCubesFlag = !showParsecCubesFlag;
      break;
    case kMenuPolygonFill:
      glPolygonMode(GL_FRONT_AND_BACK, GL_FILL);
      break;
    case kMenuPolygonLine:
      glPolygonMode(GL_FRONT_AND_BACK, GL_LINE);
      break;
    case kMenuPolygonPoint:
      glPolygonMode(GL_FRONT_AND_BACK, GL_POINT);
      break;
    case kMenuShowGalGrid:
      showGalGrid = !showGalGrid;
      break;
    case kMenuShowEqnGrid:
      showEqnGrid = !showEqnGrid;
      break;
    case kMenuGridDetail:
      showSphGridDetail = !showSphGridDetail;
      break;
  }
  if ((item < kMenuPolygonFill || item > kMenuPolygonPoint) && useGLUTMenu) resetGeneralMenu();
  glutPostRedisplay();
  return 1;
}

int menuSelectLight(int item) {
  if (item >= kMenuToggleLight0 && item < kMenuToggleLight0 + kViewerLightCount) {
    int light = item - kMenuToggleLight0;
    lightON[light] = !lightON[light];
    if (lightON[light])
      glEnable(GL_LIGHT0 + light);
    else
      glDisable(GL_LIGHT0 + light);
  } else if (item >= kMenuControlLight0 && item < kMenuControlLight0 + kViewerLightCount) {
    controlledLightID = item - kMenuControlLight0;
    if (!lightON[controlledLightID]) {
      lightON[controlledLightID] = 1;
      glEnable(GL_LIGHT0 + controlledLightID);
      if (printEnable) fprintf(stderr, "Turn on the light you want to control automatically\n");
    }
  } else if (item == kMenuPrintLights) {
    for (int i = 0; i < kViewerLightCount; ++i) {
      if (lightON[i]) {
        fprintf(stderr, "    glEnable(GL_LIGHT0+%d);\n", i);
        for (int k = 0; k < 4; ++k)
          fprintf(stderr, "    lightPosition[%d][%d] = %f;\n", i, k, lightPosition[i][k]);
        fprintf(stderr, "    glLightfv(GL_LIGHT%d + lgt,GL_POSITION,lightPosition[lgt]);\n", i);
      } else {
        fprintf(stderr, "    glDisable(GL_LIGHT0+%d);\n", i);
      }
    }
    fprintf(stderr, "\n");
    return 1;
  } else if (item == kMenuLightDir) {
    showLightDir = !showLightDir;
  } else {
    return 0;
  }
  if (useGLUTMenu) resetLightMenu();
  glutPostRedisplay();
  return 1;
}

int menuSelectMovie(int item) {
  if (!movieRec) return 0;
  if (item >= kMenuGotoFrame0 && item < kMenuGotoFrame0 + movieRec->getNFrames()) {
    const double frame = item - kMenuGotoFrame0;
    setMovieView(frame);
    frameNum = frame;
    glutPostRedisplay();
    return 1;
  }
  switch (item) {
    case kMenuPlayOnce:
      stopAllSpins();
      // A second press stops the play where it stands; the next starts from the beginning.
      if (countPlay == kPlayStopped) {
        frameNum = 0.0;
        countPlay = kPlayOnce;
      } else {
        countPlay = kPlayStopped;
      }
      return 1;
    case kMenuPlayLoop:
      stopAllSpins();
      countPlay = countPlay == kPlayStopped ? kPlayLoop : kPlayStopped;
      if (useGLUTMenu) resetMovieMenu();
      return 1;
    case kMenuReloadScript:
      stopAllSpins();
      countPlay = kPlayStopped;
      return reloadMovieScript();
    case kMenuDumpFrames: {
      stopAllSpins();
      countPlay = 0;
      fprintf(stderr, "\nInput Frame's File Header (enter \"c\" to cancel) : ");
      char head[kViewerPathSize];
      // One word, bounded by the buffer; nothing read leaves the head as it was.
      if (scanf("%511s", head) == 1) copyText(movieFileHead, head, sizeof movieFileHead);
      if (strcmp(movieFileHead, "c") == 0) {
        fprintf(stderr, "- cancelled.\n");
        return 1;
      }
      fprintf(stderr, "\nInput Frame Number Offset : ");
      if (scanf("%d", &frameNumOffset) != 1) frameNumOffset = 0;
      dumpMovie(1);
      return 1;
    }
    case kMenuDumpScreen:
      dumpScreen("", GL_FRONT);
      return 1;
    case kMenuShowFrameNum:
      showFrameNumberFlag = !showFrameNumberFlag;
      glutPostRedisplay();
      return 1;
    default:
      return 0;
  }
}

int menuSelect(int item) {
  if (menuSelectGeneral(item)) return 1;
  if (menuSelectLight(item)) return 1;
  if (movieRec && menuSelectMovie(item)) return 1;
  switch (item) {
    case kMenuHelp:
      menuHelp();
      break;
    case kMenuResetView: {
      stopAllSpins();
      // With a movie the view goes back to the frame on show.
      if (setMovieView(frameNum) != 1) {
        View view = initView();
        resetView(&view);
      }
      glutPostRedisplay();
      break;
    }
    case kMenuFrameRate:
      frameRateFlag = !frameRateFlag;
      glutPostRedisplay();
      break;
    case kMenuAbout:
      if (printEnable) {
        fprintf(stderr, "\n");
        fprintf(stderr, "%s\n\n", titleStr);
        fprintf(stderr, "%s\n", aboutStr);
      }
      break;
    case kMenuQuit:
      myExit(0);
  }
  return 0;
}

void printLightStatus() {
  auto state = [](int i) { return lightON[i] ? "on" : "off"; };
  fprintf(stderr, "\n");
  fprintf(stderr, "  Light control ID: %d turned ON.\n", controlledLightID);
  fprintf(stderr, "  Lights: 0(%s), 1(%s), 2(%s), 3(%s), 4(%s), 5(%s), 6(%s), 7(%s)\n", state(0), state(1),
          state(2), state(3), state(4), state(5), state(6), state(7));
  fprintf(stderr, "\n");
}

int menuHelp() {
  FILE* out = stderr;
  if (helpMenuFuncPtr) {
    if (helpMenuFuncPtr(out) == 1) return 1;
    fprintf(out, "\n");
  }
  const bool movie = movieRec != nullptr;
  fprintf(out, "Mouse :\n");
  fprintf(out, " left        - Rolling Ball (model)\n");
  fprintf(out, "  with ALT   - Rolling Ball (at viewPt)\n");
  fprintf(out, "  with SHIFT - Rotation about center (at viewPt)\n");
  fprintf(out, " middle      - xy translate (model)\n");
  fprintf(out, "  with ALT   - changing fovy\n");
  fprintf(out, " left+mid    - xz translate (model)\n");
  fprintf(out, "  with CTRL  - light position\n");
  if (movie) fprintf(out, " CTRL+left   - movie advancing\n");
  fprintf(out, " RIGHT       - popup menu\n");
  fprintf(out, "\n");
  fprintf(out, "Keyboard :\n");
  fprintf(out, " 'a'     - show axes\n");
  fprintf(out, " 'b'     - show power cubes (meters)\n");
  fprintf(out, " 'B'     - show power cubes (parsec)\n");
  fprintf(out, " 'i'     - information about positions\n");
  fprintf(out, " 't'     - control texture\n");
  fprintf(out, " 's'     - show constellation\n");
  fprintf(out, " 'm'     - use colormap\n");
  fprintf(out, " 'g'     - anti-aliasing\n");
  fprintf(out, " '}'     - increase mouse sensitivity\n");
  fprintf(out, " '{'     - decrease mouse sensitivity\n");
  fprintf(out, " 'p'     - reset current view\n");
  fprintf(out, " 'k'     - show frame rate\n");
  fprintf(out, " 'h'     - this help\n");
  fprintf(out, " Insert  - dump screen\n");
  if (movie) {
    if (countPlay)
      fprintf(out, " 'z'     - stop movie (loop)\n");
    else
      fprintf(out, " 'z'     - play movie (loop)\n");
    fprintf(out, " 'x'     - play movie\n");
    fprintf(out, " 'c'     - dump movie\n");
    fprintf(out, " 'r'     - reload script file\n");
    fprintf(out, " 'n'     - show frame number\n");
    fprintf(out, " 'F1-10' - goto frame\n");
    fprintf(out, " '<-'    - next frame\n");
    fprintf(out, " '->'    - previous frame\n");
    fprintf(out, " 'pgup'  - next keyframe\n");
    fprintf(out, " 'pgdn'  - prev keyframe\n");
    fprintf(out, " 'home'  - advance 5 frame\n");
    fprintf(out, " 'end'   - go back 5 frame\n");
  }
  fprintf(out, " 'upArrow   - scaling (currLogScale)\n");
  fprintf(out, " 'downArrow - scaling (currLogScale)\n");
  fprintf(out, " ESC/'q' - quit\n");
  return 0;
}

void myMessageBox(const char* text, int) {
  fprintf(stderr, "%s\n", text);
}
