// Start-up, the view and the frame loop of the viewer framework.
#include "viewer/tarnwick.h"

#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <X11/Xlib.h>
#include <sys/resource.h>

#include <cmath>
#include <cstdlib>
#include <cstring>

#include "coords/camera.h"
#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "movie/movierec.h"
#include "viewer/event_wait.h"
#include "viewer/panel.h"
#include "viewer/window_scope.h"

// ---- Hooks and flags ----------------------------------------------------------------------
int (*mouseCBFuncPtr)(int, int, int, int) = nullptr;
int (*motionCBFuncPtr)(int, int) = nullptr;
int (*passiveCBFuncPtr)(int, int) = nullptr;
int (*keyboardCBFuncPtr)(unsigned char, int, int) = nullptr;
int (*specKeyCBFuncPtr)(int, int, int) = nullptr;
int (*idleCBFuncPtr)(void) = nullptr;
int (*helpMenuFuncPtr)(FILE*) = nullptr;
void (*gluiCreatePtr)(void) = nullptr;

int useGLUTMenu = 1;
int useSubGLUI = 0;
int winW = 256, winH = 256;
char titleStr[kViewerTitleSize] = "tarnwick 1.0";
char aboutStr[kViewerTitleSize] = "";

// ---- Framework state ----------------------------------------------------------------------
char basedir[kViewerPathSize] = "";
char scpFile[kViewerPathSize] = "";
int objArgc = 0;
char** objArgv = nullptr;
MovieRecord* movieRec = nullptr;
int countPlay = 0;
double currLogScale = 0.0;
int frameRateFlag = 0;
double frameRate = 0.0;
int getStartTime = 0;
double startTime = 0.0;
int idleRotModel = 0, idleRotView = 0, idleRotObj = 0;
double sensitivity = 1.0;
int printEnable = 0;
int askForPick = 0;
double frameNum = -1.0;
int jitterSize = 1;
const double (*jitterPt)[2] = nullptr;
int fullScreen = 0;
int maxW = 0, maxH = 0;
int mainWindow = 0;
double currFovy = 60.0, currAspect = 1.0;
int fixAspectRatio = 1;
int viewShearState = 0;
int controlledLightID = 0;
int lightON[kViewerLightCount] = {1, 0, 0, 0, 0, 0, 0, 0};
int showLightDir = 0, showLightDirMouse = 0;
float lightPosition[kViewerLightCount][4];
float lightAmbient[kViewerLightCount][4];
float lightDiffuse[kViewerLightCount][4];
float lightSpecular[kViewerLightCount][4];
float lightmat[16];
int antiAliasFlag = 1;
int showFrameNumberFlag = 0, showAxesFlag = 0, showCubesFlag = 0, showParsecCubesFlag = 0;
int showGalGrid = 0, showEqnGrid = 0, showSphGridDetail = 0;
float powercubeAlpha = 1.0f;
int useSmooth = kRenderSmooth, useMaterial = kRenderMaterial, useTexture = kRenderTexture;
int justDump = 0, frameNumSkip = 0, frameNumOffset = 0, doubleFrame = 0;
char movieFileHead[kViewerPathSize] = "";
int numCameras = 0, currCamera = 0;
Camera* cameras = nullptr;
char cameraFile[kViewerPathSize] = "";

const double viewNearPlane = (double)0.01f;
const double viewFarPlane = 10000.0;

namespace {

// How long idle waits for an event when nothing moves: short enough that a redisplay posted
// without an event (a panel callback's, say) is drawn at once to the eye.
constexpr int kIdleWaitMs = 10;
// The window's width and height without a movie, in pixels.
constexpr int kDefaultWindowSize = 256;

const char kAboutText[] =
    "tarnwick 1.0\n"
    "  a viewer framework for one scene\n"
    "  by the Velmora developers, 2026";

double userSeconds() {
  rusage usage;
  getrusage(RUSAGE_SELF, &usage);
  return usage.ru_utime.tv_sec + usage.ru_utime.tv_usec * 1e-6;
}

}  // namespace

// ---- Start-up -----------------------------------------------------------------------------

void getBaseDir(const char* path, char* out) {
  // An overlong path is cut rather than written past the end of the caller's buffer.
  copyText(out, path, kViewerPathSize);
  char* slash = strrchr(out, '/');
  if (slash)
    slash[1] = '\0';
  else
    copyText(out, "./", kViewerPathSize);
}

int getScreenSize(int* width, int* height) {
  *width = 0;
  *height = 0;
  const char* name = getenv("DISPLAY");
  if (!name) {
    fprintf(stderr, "No DISPLAY environment variable found.\n");
    return -1;
  }
  Display* display = XOpenDisplay(name);
  if (!display) {
    fprintf(stderr, "Failed to Open Display.\n");
    return -1;
  }
  int screen = DefaultScreen(display);
  *width = DisplayWidth(display, screen);
  *height = DisplayHeight(display, screen);
  XCloseDisplay(display);
  return 1;
}

void usage(const char*) {
  fprintf(stderr,
          "\n\n"
          "Usage: velmora <options> <obj model> <list of other obj model(s)>\n"
          "\n"
          "  <options> can be:\n"
          "    -s1 to -s8  : VMag star to show (default: -s6 and up to 8)\n"
          "    -tex <file> : specifiy particular All.texture for Milky Way textures\n"
          "                  (default: Images/ALL.texture)\n"
          "    -notex      : no Milky Way texture\n"
          "    -fullscreen : to set fullscreen mode\n"
          "    -h or -?    : this help menu\n"
          "\n"
          "  <obj model> is the obj model to align against the sky\n"
          "\n"
          "  <list of other obj model(s)>\n"
          "     allows users to specify more obj models as fixed objects\n"
          "     on the sky for alignment reference\n"
          "\n");
}

void myInit() {
  movieRec = nullptr;
  if (scpFile[0]) {
    movieRec = new MovieRecord;
    if (movieRec->loadFile(scpFile, 1) == -1) {
      fprintf(stderr, "Err : in movie script [%s]!\n\n", scpFile);
      exit(1);
    }
    // A movie is made at the size its script names, so its dumped frames have that size.
    movieRec->getWindowSize(&winW, &winH);
  } else {
    winW = kDefaultWindowSize;
    winH = kDefaultWindowSize;
  }
  countPlay = 0;
  currLogScale = 0.0;
  frameRateFlag = 0;
  idleRotModel = idleRotView = idleRotObj = 0;
  sensitivity = 1.0;
  printEnable = 0;
  askForPick = 0;
  mouseCBFuncPtr = nullptr;
  motionCBFuncPtr = nullptr;
  passiveCBFuncPtr = nullptr;
  keyboardCBFuncPtr = nullptr;
  specKeyCBFuncPtr = nullptr;
  idleCBFuncPtr = nullptr;
  helpMenuFuncPtr = nullptr;
  gluiCreatePtr = nullptr;
  useGLUTMenu = 1;
  useSubGLUI = 0;
}

View initView() {
  View view;
  view.viewPos = PHCoord{0.0, 0.0, 0.0, 0.0};
  view.viewDir[0] = 1.0;
  view.viewDir[1] = 0.0;
  view.viewDir[2] = 0.0;
  view.viewUp[0] = 0.0;
  view.viewUp[1] = 0.0;
  view.viewUp[2] = 1.0;
  view.fovy = 60.0;
  if (useSubGLUI && gluiCreatePtr) {
    int x, y, w, h;
    panelGetViewportArea(&x, &y, &w, &h);
    view.aspect = (double)w / h;
  } else {
    view.aspect = (double)winW / winH;
  }
  fixAspectRatio = 1;
  return view;
}

void resetView(View* view) {
  WindowScope onMain(mainWindow);

  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  double halfHeight = tan(view->fovy * kRadiansPerDegree / 2.0) * viewNearPlane;
  double halfWidth = halfHeight * view->aspect;
  switch (viewShearState) {
    case 1:
      printf("sheared view (zoom to left-top)\n");
      glFrustum(-halfWidth, 0, 0, halfHeight, viewNearPlane, viewFarPlane);
      break;
    case 2:
      printf("sheared view (zoom to right-top)\n");
      glFrustum(0, halfWidth, 0, halfHeight, viewNearPlane, viewFarPlane);
      break;
    case 3:
      printf("sheared view (zoom to left-bottom)\n");
      glFrustum(-halfWidth, 0, -halfHeight, 0, viewNearPlane, viewFarPlane);
      break;
    case 4:
      printf("sheared view (zoom to right-bottom)\n");
      glFrustum(0, halfWidth, -halfHeight, 0, viewNearPlane, viewFarPlane);
      break;
    default:
      gluPerspective(view->fovy, view->aspect, viewNearPlane, viewFarPlane);
      break;
  }
  currFovy = view->fovy;
  currAspect = view->aspect;

  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  PHCoord eye = view->viewPos;
  if (unifyPHCoord(&eye) == 1)
    currLogScale = eye.s;
  else
    currLogScale = view->viewPos.s;
  gluLookAt(eye.x, eye.y, eye.z, eye.x + view->viewDir[0], eye.y + view->viewDir[1], eye.z + view->viewDir[2],
            view->viewUp[0], view->viewUp[1], view->viewUp[2]);
  glFlush();
}

void myGLInit(int argc, char** argv) {
  glEnable(GL_LIGHTING);
  glEnable(GL_LIGHT0);
  controlledLightID = 0;
  lightON[0] = 1;
  for (int i = 1; i < kViewerLightCount; ++i) {
    glDisable(GL_LIGHT0 + i);
    lightON[i] = 0;
  }
  showLightDir = 0;
  showLightDirMouse = 0;

  glLightModeli(GL_LIGHT_MODEL_COLOR_CONTROL, GL_SEPARATE_SPECULAR_COLOR);
  if (glGetError() != GL_INVALID_ENUM && glGetError() != GL_NO_ERROR) printf("OpenGL error.\n");
  glLightModeli(GL_LIGHT_MODEL_LOCAL_VIEWER, GL_FALSE);

  for (int i = 0; i < kViewerLightCount; ++i) {
    const float position[4] = {0.0f, 0.0f, 2.0f, 1.0f};
    for (int k = 0; k < 4; ++k) {
      lightPosition[i][k] = position[k];
      lightAmbient[i][k] = k < 3 ? 0.1f : 1.0f;
      lightDiffuse[i][k] = 1.0f;
      lightSpecular[i][k] = 1.0f;
    }
  }

  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  glGetFloatv(GL_MODELVIEW_MATRIX, lightmat);
  glPopMatrix();

  glEnable(GL_DEPTH_TEST);
  glEnable(GL_BLEND);
  glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
  glHint(GL_POINT_SMOOTH_HINT, GL_NICEST);
  glHint(GL_LINE_SMOOTH_HINT, GL_NICEST);
  glEnable(GL_POINT_SMOOTH);
  glEnable(GL_LINE_SMOOTH);
  antiAliasFlag = 1;
  glEnable(GL_NORMALIZE);
  glClearColor(0.0f, 0.0f, 0.0f, 0.0f);
  if (jitterSize > 1) glClearAccum(0.0f, 0.0f, 0.0f, 0.0f);

  // A movie starts at its first frame; without one there is no frame to count.
  View view;
  if (movieRec && movieRec->retrieveFrame(0.0, &view) == 1) {
    frameNum = 0.0;
  } else {
    view = initView();
    frameNum = movieRec ? 0.0 : -1.0;
  }
  resetView(&view);

  showFrameNumberFlag = showAxesFlag = showCubesFlag = showParsecCubesFlag = 0;
  powercubeAlpha = 1.0f;
  useSmooth = kRenderSmooth;
  useMaterial = kRenderMaterial;
  useTexture = kRenderTexture;

  if (initScene(argc, argv) == -1) exit(1);

  // After the scene, so that it may change the tables; with an identity, so that the
  // positions are in eye coordinates.
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  for (int i = 0; i < kViewerLightCount; ++i) {
    glLightfv(GL_LIGHT0 + i, GL_POSITION, lightPosition[i]);
    glLightfv(GL_LIGHT0 + i, GL_AMBIENT, lightAmbient[i]);
    glLightfv(GL_LIGHT0 + i, GL_DIFFUSE, lightDiffuse[i]);
    glLightfv(GL_LIGHT0 + i, GL_SPECULAR, lightSpecular[i]);
  }
  glPopMatrix();
}

void myExit(int status) {
  delete movieRec;
  movieRec = nullptr;
  if (cameras) freeCameras(cameras);
  deleteScene();
  panelDestroy();
  exit(status);
}

int tarnwickMain(int argc, char** argv) {
  scpFile[0] = '\0';
  getBaseDir(argv[0], basedir);
  if (argc < 2 || strncmp(argv[1], "-h", 2) == 0 || strncmp(argv[1], "-?", 2) == 0) {
    usage(argv[0]);
    exit(1);
  }
  fullScreen = 0;
  // Every round compares argument 1: a "-fullscreen" further on doesn't count here.
  for (int i = 1; i < argc; ++i)
    if (strcmp(argv[1], "-fullscreen") == 0) fullScreen = 1;

  objArgv = argv + 1;
  objArgc = argc - 1;
  jitterSize = 1;
  copyText(titleStr, "tarnwick 1.0", sizeof titleStr);
  copyText(aboutStr, kAboutText, sizeof aboutStr);

  myInit();
  getScreenSize(&maxW, &maxH);

  glutInit(&argc, argv);
  unsigned int mode = GLUT_RGBA | GLUT_DOUBLE | GLUT_DEPTH;
  if (jitterSize != 1) mode |= GLUT_ACCUM;
  glutInitDisplayMode(mode);
  if (fullScreen) {
    winW = maxW - 1;
    winH = maxH - 1;
  } else {
    glutInitWindowSize(winW, winH);
  }
  mainWindow = glutCreateWindow("");
  if (fullScreen) useSubGLUI = 0;

  myGLInit(objArgc, objArgv);

  if (!glutDeviceGet(GLUT_HAS_MOUSE) || glutDeviceGet(GLUT_NUM_MOUSE_BUTTONS) != 3)
    printf("warning: 3 buttons mouse is prefered for this application.\n\n");

  glutSetWindowTitle(titleStr);
  if (!gluiCreatePtr && useSubGLUI) glutReshapeWindow(winW, winH);
  if (gluiCreatePtr) gluiCreatePtr();
  if (fullScreen) {
    // GLUT carries out a size asked for before the switch (the panel hook sizes the window)
    // after it, which would undo full screen: the pending size becomes the screen's first.
    if (maxW > 0 && maxH > 0) glutReshapeWindow(maxW, maxH);
    glutFullScreen();
    useSubGLUI = 0;
  }

  glutSetWindow(mainWindow);
  glutDisplayFunc(display);
  if (gluiCreatePtr) {
    panelSetReshapeFunc(reshape);
    panelSetMouseFunc(mouse);
    panelSetKeyboardFunc(keyboard);
    panelSetSpecialFunc(specKey);
    panelSetIdleFunc(idle);
  } else {
    glutReshapeFunc(reshape);
    glutMouseFunc(mouse);
    glutKeyboardFunc(keyboard);
    glutSpecialFunc(specKey);
    glutIdleFunc(idle);
  }
  glutMotionFunc(motion);
  glutPassiveMotionFunc(passive);

  if (useGLUTMenu) {
    buildMenuItems();
    glutAttachMenu(GLUT_RIGHT_BUTTON);
  }
  glutMainLoop();
  return 0;
}

// ---- Frame loop ---------------------------------------------------------------------------

void display() {
  if (askForPick) {
    drawFrame(1, 0);
    askForPick = 0;
    panelAfterPictureFrame();  // a pick may change what the panel shows
    return;
  }
  if (getStartTime == 0) {
    startTime = userSeconds();
    getStartTime = 1;
  }
  if (jitterSize != 1) {
    displayJitteredFrame();
    panelAfterPictureFrame();
    return;
  }
  glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
  double before = frameRateFlag ? userSeconds() : 0.0;
  drawFrame(0, 0);
  if (frameRateFlag) {
    // Processor time only; a difference of 0 gives infinity, which is printed as it is.
    frameRate = 1.0 / (userSeconds() - before);
    fprintf(stderr, "FrameRate = %f Hz\n", frameRate);
  }
  glFlush();
  glutSwapBuffers();
  // The frame's events and the scene may have changed values that the panel's controls show.
  panelAfterPictureFrame();
}

void drawFrame(int pickMode, int jitterPass) {
  int nFrames = movieRec ? movieRec->getNFrames() : -1;
  unsigned int renderMode = (unsigned int)(useMaterial | useSmooth | useTexture);
  cameraFrameBegin(jitterPass);
  glMatrixMode(GL_MODELVIEW);
  if (pickMode) {
    // The pick pass leaves the camera's matrices on the stacks.
    glPushMatrix();
    renderScene(frameNum, nFrames, renderMode, currLogScale, 1);
    glPopMatrix();
    return;
  }
  if (showGalGrid) drawSphereGrid(2, showSphGridDetail);
  if (showEqnGrid) drawSphereGrid(1, showSphGridDetail);

  glDisable(GL_TEXTURE_2D);
  glDisable(GL_LIGHTING);
  glPushAttrib(GL_ALL_ATTRIB_BITS);
  glEnable(GL_TEXTURE_2D);
  glEnable(GL_LIGHTING);
  glPushMatrix();
  renderScene(frameNum, nFrames, renderMode, currLogScale, 0);
  glMatrixMode(GL_MODELVIEW);
  glPopMatrix();
  glPopAttrib();

  if (showAxesFlag) drawAxes(1, "G", 1.0f);
  if (showCubesFlag) drawPowerCubes();
  if (showParsecCubesFlag) drawParsecCubes();

  if (showLightDir || showLightDirMouse) {
    float m[16];
    glGetFloatv(GL_MODELVIEW_MATRIX, m);
    glPushMatrix();
    glLoadIdentity();
    glLineWidth(3.0f);
    glColor3f(0.7f, 0.7f, 0.0f);
    const float* light = lightPosition[controlledLightID];
    glBegin(GL_LINES);
    glVertex3f(m[12], m[13], m[14]);
    glVertex3f(light[0], light[1], light[2]);
    glEnd();
    glLineWidth(1.0f);
    glTranslatef(light[0], light[1], light[2]);
    glColor3f(0.0f, 0.8f, 0.8f);
    glutWireCube(0.1);
    glPopMatrix();
  }
  if (showFrameNumberFlag) {
    glDisable(GL_DEPTH_TEST);
    showFrameNum();
    glEnable(GL_DEPTH_TEST);
  }
  cameraFrameEnd(jitterPass);
}

void reshape(int width, int height) {
  WindowScope onMain(mainWindow);
  if (gluiCreatePtr && useSubGLUI) {
    int x, y, w, h;
    panelGetViewportArea(&x, &y, &w, &h);
    glViewport(x, y, w, h);
    glutPostRedisplay();
    winW = w;
    winH = h;
  } else {
    glViewport(0, 0, width, height);
    winW = width;
    winH = height;
  }
  if (fixAspectRatio) {
    currAspect = (double)winW / winH;
    glMatrixMode(GL_PROJECTION);
    glLoadIdentity();
    gluPerspective(currFovy, currAspect, viewNearPlane, viewFarPlane);
    glMatrixMode(GL_MODELVIEW);
  }
}

void idle() {
  if (gluiCreatePtr) glutSetWindow(mainWindow);
  if (idleCBFuncPtr && idleCBFuncPtr() == 1) return;
  dumpOnStartIfDue();
  playMovieStep();
  idleSpin();
  // With nothing turning and no panel frames to come, wait for the next event a moment rather than
  // come straight back: GLUT calls idle in a loop, and a still picture would take a whole core.
  // Idle is still called between events, so the spin's time and the throw's rule see it as before.
  // A playing movie has a frame to show in every call, and the dump on start counts user time,
  // which a wait doesn't spend: neither of them waits.
  const bool busy = idleRotModel || idleRotView || idleRotObj || panelWantsFrames() ||
                    (movieRec && countPlay != kPlayStopped) || justDump;
  if (!busy) waitForWindowEvent(kIdleWaitMs);
}

void reportGLError() {
  GLenum error = glGetError();
  if (error != GL_NO_ERROR) fprintf(stderr, "OpenGL Error: [%s]\n", (const char*)gluErrorString(error));
}

int testGLError() {
  return (int)glGetError();
}
