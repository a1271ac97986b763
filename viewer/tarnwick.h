// The viewer framework: one window, one view, one scene plugged in at link time.
//
// The framework keeps its state in plain file-level variables that the scene reads and
// writes directly. A scene supplies initScene, renderScene and deleteScene, and may fill in
// the hooks below while initScene runs; a hook that returns 1 has consumed its event.
#pragma once

#include <cstdio>
#include <string>
#include <vector>

#include "coords/phcoord.h"
#include "coords/view.h"

class MovieRecord;
struct Camera;

// Sizes of the framework's fixed text buffers: paths, and the title and about texts.
constexpr int kViewerPathSize = 512;
constexpr int kViewerTitleSize = 1024;
// OpenGL's fixed-function lights, GL_LIGHT0 to GL_LIGHT7.
constexpr int kViewerLightCount = 8;

// ---- Menu items ---------------------------------------------------------------------------
// The framework's commands, all through menuSelect: the pop-up menu shows some, the keys
// call others by the same numbers. The numbers are fixed: scenes reach the commands by them.
enum MenuItem {
  // Main menu
  kMenuHelp = 11,
  kMenuResetView = 12,
  kMenuFrameRate = 13,
  kMenuAbout = 14,
  kMenuQuit = 15,
  // General (menuSelectGeneral): the first three are on keys only, 108 to 110 are unused
  kMenuSmooth = 101,    // useSmooth between smooth and flat
  kMenuMaterial = 102,  // useMaterial between material and colour
  kMenuTexture = 103,   // useTexture on and off
  kMenuAntiAlias = 104,
  kMenuShowAxes = 105,
  kMenuShowMeterCubes = 106,
  kMenuShowParsecCubes = 107,
  kMenuPolygonFill = 108,
  kMenuPolygonLine = 109,
  kMenuPolygonPoint = 110,
  kMenuShowGalGrid = 111,
  kMenuShowEqnGrid = 112,
  kMenuGridDetail = 113,
  kMenuGeneralFirst = kMenuSmooth,
  kMenuGeneralLast = kMenuGridDetail,
  // Lights (menuSelectLight); the per-light items are the first one plus the light number
  kMenuLightDir = 201,
  kMenuPrintLights = 202,
  kMenuControlLight0 = 2000,
  kMenuToggleLight0 = 2100,
  // Movie (menuSelectMovie); "Goto Frame" items are the first one plus the frame number
  kMenuPlayOnce = 300,
  kMenuPlayLoop = 301,
  kMenuDumpFrames = 302,
  kMenuDumpScreen = 303,
  kMenuShowFrameNum = 304,
  kMenuReloadScript = 305,
  kMenuGotoFrame0 = 3000,
};

// The bits of the render mode word that the framework hands to renderScene: useSmooth,
// useMaterial and useTexture each hold one of them or 0, and the word is their sum. They
// are the model library's drawing bits, so that a scene can pass the word on to it.
enum RenderModeBit {
  kRenderFlat = 1,
  kRenderSmooth = 2,
  kRenderTexture = 4,
  kRenderColor = 8,
  kRenderMaterial = 16,
};

// ---- Supplied by the scene -------------------------------------------------------------
int initScene(int argc, char** argv);
void renderScene(double frameNum, int nFrames, unsigned int renderMode, double logScale, int pickMode);
void deleteScene();

// ---- Hooks and flags of the scene contract ------------------------------------------------
extern int (*mouseCBFuncPtr)(int button, int state, int x, int y);
extern int (*motionCBFuncPtr)(int x, int y);
extern int (*passiveCBFuncPtr)(int x, int y);  // result unused
extern int (*keyboardCBFuncPtr)(unsigned char key, int x, int y);
extern int (*specKeyCBFuncPtr)(int key, int x, int y);
extern int (*idleCBFuncPtr)(void);
extern int (*helpMenuFuncPtr)(FILE* stream);
extern void (*gluiCreatePtr)(void);

extern int useGLUTMenu;
extern int useSubGLUI;
extern int winW, winH;
extern char titleStr[kViewerTitleSize];
extern char aboutStr[kViewerTitleSize];

// ---- Framework state ----------------------------------------------------------------------
extern char basedir[kViewerPathSize];
extern char scpFile[kViewerPathSize];
extern int objArgc;
extern char** objArgv;
extern MovieRecord* movieRec;
extern int countPlay;
extern double currLogScale;
extern int frameRateFlag;
extern double frameRate;
extern int getStartTime;
extern double startTime;
extern int idleRotModel, idleRotView, idleRotObj;
extern double sensitivity;
extern int printEnable;
extern int askForPick;
extern double frameNum;
extern int jitterSize;
extern const double (*jitterPt)[2];
extern int fullScreen;
extern int maxW, maxH;
extern int mainWindow;
extern double currFovy, currAspect;
extern int fixAspectRatio;
extern int viewShearState;
extern int controlledLightID;
extern int lightON[kViewerLightCount];
extern int showLightDir, showLightDirMouse;
extern float lightPosition[kViewerLightCount][4];
extern float lightAmbient[kViewerLightCount][4];
extern float lightDiffuse[kViewerLightCount][4];
extern float lightSpecular[kViewerLightCount][4];
extern float lightmat[16];
extern int antiAliasFlag;
extern int showFrameNumberFlag, showAxesFlag, showCubesFlag, showParsecCubesFlag;
extern int showGalGrid, showEqnGrid, showSphGridDetail;
extern float powercubeAlpha;
extern int useSmooth, useMaterial, useTexture;
extern int justDump, frameNumSkip, frameNumOffset, doubleFrame;
extern char movieFileHead[kViewerPathSize];
extern int numCameras, currCamera;
extern Camera* cameras;
extern char cameraFile[kViewerPathSize];

// The fixed clipping planes: the near plane is the single-precision 0.01.
extern const double viewNearPlane;
extern const double viewFarPlane;

// ---- Interaction state --------------------------------------------------------------------
extern int mouseButton;     // bit 0 left, bit 1 middle, bit 2 right
extern int mouseModifiers;  // 1 shift, 2 control, 4 alt
extern int preMouseX, preMouseY;
extern int preMouse2X, preMouse2Y;
extern double timeLastCallMotion;
extern float idleRot_nx, idleRot_ny, idleRot_nz;
extern float idleRot_speed;
extern float idleRot_angle;
extern double idleRot_time;
extern int idleRot_aroundOrigin;
extern double idleRot_objPos[4];  // x, y, z and the scale they are multiplied by

// ---- Menu handles -------------------------------------------------------------------------
extern int mainMenu, generalMenu, movieMenu, lightMenu, lightCtrlMenu, lightEnableMenu;

// ---- Start-up (tarnwick.cpp) --------------------------------------------------------------
int tarnwickMain(int argc, char** argv);  // the body of main
// The directory part of path with its "/", or "./" without one, into out, a buffer of
// kViewerPathSize owned by the caller; an overlong path is cut. Prints nothing.
void getBaseDir(const char* path, char* out);
int getScreenSize(int* width, int* height);
void myInit();
void myGLInit(int argc, char** argv);
View initView();
void resetView(View* view);
void usage(const char* unused);
[[noreturn]] void myExit(int status);

// ---- Frame loop (tarnwick.cpp) ------------------------------------------------------------
void display();
void drawFrame(int pickMode, int jitterPass);
void reshape(int width, int height);
void idle();
void reportGLError();
int testGLError();

// ---- Interaction (tarnwick_input.cpp) -----------------------------------------------------
void mouse(int button, int state, int x, int y);
void motion(int x, int y);
void passive(int x, int y);
void keyboard(unsigned char key, int x, int y);
void specKey(int key, int x, int y);
View frmMatToView(const double* m);
void updateFovyBy(double* fovy, double delta);
void glRemoveTranslate();
void myXformLight(const float* m, float* position, float cx, float cy, float cz);
void stopAllSpins();
void idleSpin();  // one step of the running spin mode, from idle
double halveSensitivity(double s);
double doubleSensitivity(double s);

// ---- Menus (tarnwick_menu.cpp) ------------------------------------------------------------
void buildMenuItems();
int menuSelect(int item);
int menuSelectGeneral(int item);
int menuSelectLight(int item);
int menuSelectMovie(int item);
void resetGeneralMenu();
void resetMovieMenu();
void resetLightMenu();
void resetLightCtrlMenu();
void resetLightEnableMenu();
void removeAllMenuItems();
void printLightStatus();
int menuHelp();
void myMessageBox(const char* text, int unused);
// Frames that the "Goto Frame" entries of a movie with nFrames frames lead to; returns
// their number (at most 11) and fills targets.
int gotoFrameTargets(int nFrames, int* targets);
// Frame that F1 to F10 (keyNumber 1 to 10) lead to in a movie of nFrames frames.
int functionKeyTarget(int keyNumber, int nFrames);

// ---- Scale cubes, grids and text (tarnwick_draw.cpp) --------------------------------------
void drawAxes(int withLabels, const char* prefix, float textSize);
void drawUnitCube(int power, float alpha, const char* unit);
void drawPowerCubes();
void drawParsecCubes();
void drawBillboardText(const char* text, float scale, int alignment, int padChars);
void draw3DText(const char* text, float scale, int alignment, int padChars);
void draw2DRectAt(float x, float y, float width, float height, const float* fill, int outline,
                  const float* outlineColour);
void draw2DTextAt(const char* text, float x, float y, float scale, int alignment, int padChars);
void myGlutWireSphere(float radius, int slices, int stacks);
void drawSphereGrid(int gridType, int detail);

// The pure parts of the drawings, for those who need the numbers without drawing.
// Alphas of the 15, 5 and 2.5 degree spheres of a grid with line alpha a at a field of view;
// a sphere that isn't drawn has its "drawn" flag at 0.
struct GridSphereAlphas {
  int drawn[3];
  float alpha[3];
};
GridSphereAlphas gridSphereAlphas(double fovy, float a);
// Powers of ten and alphas of the cubes that drawPowerCubes (offset 0) or drawParsecCubes
// (offset kParsecExponent) shows for a viewer exponent s; returns their number (at most 7).
int powerCubeChoice(double s, double offset, int* powers, float* alphas);
// The crossing labels that drawSphereGrid adds with detail on, at a field of view; the
// first colour or the faded second one.
struct GridLabel {
  double lon;
  double lat;
  std::string text;
  int firstColour;
};
std::vector<GridLabel> sphereGridCrossingLabels(int gridType, double fovy);
