// The viewer framework: one window, one view, one scene plugged in at link time.
//
// The framework keeps its state in plain file-level variables that the scene reads and
// writes directly. A scene supplies initScene, renderScene and deleteScene, and may fill in
// the hooks below while initScene runs; a hook that returns 1 has consumed its event.
#pragma once

#include <cstdint>
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

// The play states of a movie, as values of countPlay: the plays still to run.
enum MoviePlay {
  kPlayStopped = 0,
  kPlayOnce = 1,
  kPlayLoop = 2147483647,  // a loop counts down from the largest int, which nobody lives to see end
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
// The framework's start values. With a non-empty scpFile it first makes movieRec and loads the
// script into it; a script that fails prints "Err : in movie script [<scpFile>]!" (and a blank
// line) on standard error and exits with status 1. winW and winH then come from the movie's
// window size, or are 256 by 256 without one. Clears the scene's hooks.
void myInit();
void myGLInit(int argc, char** argv);
View initView();
void resetView(View* view);
void usage(const char* unused);
// Deletes movieRec and the cameras, runs deleteScene and exits with status.
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
// One entry of a pop-up menu: its label and the item it sends.
struct MenuEntry {
  std::string label;
  int item;
};
// The entries of the movie menu for a movie of nFrames frames, playing (countPlay not 0) or
// not: the "Goto Frame" entries, then the movie commands.
std::vector<MenuEntry> movieMenuEntries(int nFrames, int playing);
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

// ---- Movie play and frame stepping (tarnwick_movie.cpp) -----------------------------------
// Makes the movie's view of frame the current view (resetView). Returns 1, or -1 with the view
// left as it was when there is no movie or no such frame. Draws nothing.
int setMovieView(double frame);
// One step of a playing movie, from idle: frameNum moves on by one frame (half a frame with
// doubleFrame); past the last frame a play is used up, and the last one stops there without
// drawing, while a further one starts again at frame 0. The step's view is applied and display
// called directly. Nothing while countPlay is 0 or without a movie.
void playMovieStep();
// The movie keys of specKey: F1 to F10, F11 and F12, the left and right arrows, page up and
// down, home and end. Returns 1 if key was one of them and a movie is loaded, else 0.
int movieSpecKey(int key);
// The frame that page up (next key frame) or page down (the key frame before) leads to from
// frame; returns 1, or 0 when there is none and the frame stays.
int nextKeyFrame(double frame, double* target);
int previousKeyFrame(double frame, double* target);
// Loads scpFile again into movieRec after a trial load has found it good, and shows the frame
// that frameNum held, at most the new last one. A bad script prints "Err: failed to read
// [<scpFile>]" on standard error, keeps the running movie and returns 0; else 1.
int reloadMovieScript();

// ---- Options of the framework (tarnwick_options.cpp) --------------------------------------
// Parses "-jitter size", "-dump head offset", "-dumpSkip head offset skip", "-double" and
// "-fullscreen" from argv[*index] on, while an argument matches, and leaves *index at the
// first one that doesn't. First sets justDump, fullScreen, doubleFrame, numCameras and
// currCamera to 0, jitterSize to 1 and cameras and cameraFile to empty. A bad or missing
// value prints its "\nErr: ..." message and the usage on standard error and exits with
// status 1. Returns currCamera.
int getOption(int argc, char** argv, int* index);

// ---- Jitter and the accumulation in main memory (tarnwick_jitter.cpp) ---------------------
// The jitter tables: n sub-pixel offsets (x, y) each, in pixels, all within 0 to 1.
namespace jitter {
extern const double _jitter2[2][2];
extern const double _jitter3[3][2];
extern const double _jitter4[4][2];
extern const double _jitter5[5][2];
extern const double _jitter6[6][2];
extern const double _jitter8[8][2];
extern const double _jitter9[9][2];
extern const double _jitter12[12][2];
extern const double _jitter16[16][2];
}  // namespace jitter
// The table of that many points, or nullptr for a size without one.
const double (*getJitterPt(int size))[2];

// The accumulation buffer of the jittered frame: one running sum per colour byte, and one
// RGB picture (read-back, and at the end the average, rows from the top). Owned here.
extern int32_t* myStencilBufInt;
extern unsigned char* myStencilBufByte;
extern int myStencilCount;  // pictures summed so far
extern int myStencilSize;   // colour bytes the arrays were made for
extern int myStencilW, myStencilH;  // picture size in pixels
// Makes the arrays for a width x height picture if there are none, and starts a new sum.
// A different size frees the arrays, which are then made again at the size they had: the
// recorded size isn't updated. Exits with status 1 after "Critical Err: failed to allocate
// memory for our own stencil buffer." on standard error if an allocation fails.
void initMyStencil(int width, int height);
// Adds myStencilBufByte to the running sum (the first picture replaces it).
void accumMyStencil();
// The rounded mean of the sum into myStencilBufByte, rows turned top to bottom.
void averageMyStencil();
// Swaps the rows of an RGB picture, in place. Rows wider than 2048 pixels take an allocated
// row buffer; if that fails it prints "myUpsidedownImage : Not enough memory to allocate for
// buf!" on standard error and exits with status 1.
void myUpsidedownImage(unsigned char* data, int width, int height);
// One jittered frame in place of the plain one: jitterSize passes, each a sub-pixel shift of
// the frustum, summed in main memory; shows the last pass, keeps the average for a dump.
void displayJitteredFrame();

// ---- Cameras of a camera file in the frame (tarnwick_camera.cpp) ---------------------------
// Put the camera of currCamera (counted from 1, 0 for none) over the view at the start of
// drawFrame and take it off at the end; in a jitter pass the jitter frustum stays in force.
void cameraFrameBegin(int jitterPass);
void cameraFrameEnd(int jitterPass);

// ---- Frame and screen dumps (tarnwick_dump.cpp) -------------------------------------------
// RGB bytes of buffer (GL_FRONT, GL_BACK) in the rectangle into data, which the caller owns
// and sizes width x height x 3; rows from the top.
void readGLBuffer(unsigned int buffer, int x, int y, int width, int height, unsigned char* data);
// Writes a winW x winH binary P6 picture (data, rows from the top) to "<head>.<number>.pnm"
// ("write frame to [...]" on standard output) or, not numbered, to head itself. Returns 1;
// an empty head prints "Err (dumpFrame): header is null." on standard error, writes nothing
// and returns -1; a failed write prints "Err : writing to [...]" and exits with status 1.
int dumpFrame(const char* head, int number, unsigned char* data, bool numbered);
// Every frame of the movie, from frameNumSkip on, to "<movieFileHead>.<n>.pnm" files at the
// window's size: each frame is shown (display called directly) and read back. Progress on
// standard error unless quiet; a failed write exits with status 1 (see dumpFrame). Nothing
// without a movie.
void dumpMovie(int quiet);
// The frame loop of dumpMovie for a path of nFrames frames: showFrame brings frame number f
// onto the screen. Returns without doing anything else (and without switching back to the
// window that was current) after "Err: failed to allocate buffer for movie making." on
// standard error if the picture buffer can't be had.
void dumpMovieFrames(int quiet, int nFrames, void (*showFrame)(double frame));
// The main window's viewport from buffer to name, or to "screen.<n>.pnm" numbered from 0 when
// name is empty; says on standard error whether the file was written. Never exits.
void dumpScreen(const char* name, unsigned int buffer);
// The dump on start: with justDump set, once more than a second of user time has passed since
// the first frame, dumps the movie and exits with status 1.
void dumpOnStartIfDue();
// The text of the frame number overlay for frame of a path of nFrames frames, into out; a
// keyOffset (the frame's distance from its key frame) of almost 0 marks a key frame.
void frameNumLabel(char* out, size_t size, double frame, int nFrames, int doubleFrame, double keyOffset);
// Draws that text for frameNum in the lower left corner of the picture, in the current
// colour's place magenta; matrices and matrix mode as before.
void drawFrameNumber(int nFrames, double keyOffset);
// The frame number overlay of a movie; nothing without one.
void showFrameNum();
