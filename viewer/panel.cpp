// The control panel: a GLUT sub-window beside the picture, drawn by Dear ImGui.
#include "viewer/panel.h"

#include <GL/freeglut.h>
#include <imgui.h>
#include <imgui_impl_glut.h>
#include <imgui_impl_opengl2.h>

#include "viewer/window_scope.h"

namespace {

int parentWin = 0;
int subWin = 0;
int subWidth = 0;
PanelBuildFunc buildFunc = nullptr;
// ImGui settles a change over a few frames (hover, active item, release): after every
// input event the panel draws this many more frames.
int pendingFrames = 0;
const int framesAfterInput = 4;

void (*userReshape)(int, int) = nullptr;
void (*userMouse)(int, int, int, int) = nullptr;
void (*userKeyboard)(unsigned char, int, int) = nullptr;
void (*userSpecial)(int, int, int) = nullptr;
void (*userIdle)() = nullptr;

void askForFrames() {
  pendingFrames = framesAfterInput;
  if (subWin) glutPostWindowRedisplay(subWin);
}

void panelDisplay() {
  if (!subWin) return;
  ImGui_ImplOpenGL2_NewFrame();
  ImGui_ImplGLUT_NewFrame();  // this back end starts the ImGui frame itself
  ImGuiIO& io = ImGui::GetIO();
  ImGui::SetNextWindowPos(ImVec2(0, 0));
  ImGui::SetNextWindowSize(io.DisplaySize);
  ImGui::Begin("panel", nullptr,
               ImGuiWindowFlags_NoTitleBar | ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoMove |
                   ImGuiWindowFlags_NoCollapse | ImGuiWindowFlags_NoSavedSettings);
  int changed = buildFunc ? buildFunc() : 0;
  ImGui::End();
  ImGui::Render();
  glViewport(0, 0, (int)io.DisplaySize.x, (int)io.DisplaySize.y);
  glClearColor(0.2f, 0.2f, 0.2f, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT);
  ImGui_ImplOpenGL2_RenderDrawData(ImGui::GetDrawData());
  glutSwapBuffers();
  if (pendingFrames > 0) --pendingFrames;
  // The picture is redrawn only when the panel changed something it shows.
  if (changed && parentWin) glutPostWindowRedisplay(parentWin);
}

void panelReshape(int w, int h) {
  ImGui_ImplGLUT_ReshapeFunc(w, h);
  askForFrames();
}

void panelMouse(int button, int state, int x, int y) {
  ImGui_ImplGLUT_MouseFunc(button, state, x, y);
  askForFrames();
}

void panelMotion(int x, int y) {
  ImGui_ImplGLUT_MotionFunc(x, y);
  askForFrames();
}

// Keys go to the panel first; what it doesn't take goes on to the framework, with the
// main window current, as if the key had been pressed over the picture. No WindowScope here:
// the key may close the panel, and then there is no sub-window to go back to.
void panelKeyboard(unsigned char key, int x, int y) {
  ImGui_ImplGLUT_KeyboardFunc(key, x, y);
  askForFrames();
  if (!ImGui::GetIO().WantCaptureKeyboard && userKeyboard) {
    glutSetWindow(parentWin);
    userKeyboard(key, x, y);
    if (subWin) glutSetWindow(subWin);
  }
}

void panelKeyboardUp(unsigned char key, int x, int y) {
  ImGui_ImplGLUT_KeyboardUpFunc(key, x, y);
  askForFrames();
}

void panelSpecial(int key, int x, int y) {
  ImGui_ImplGLUT_SpecialFunc(key, x, y);
  askForFrames();
  if (!ImGui::GetIO().WantCaptureKeyboard && userSpecial) {
    glutSetWindow(parentWin);
    userSpecial(key, x, y);
    if (subWin) glutSetWindow(subWin);
  }
}

void panelSpecialUp(int key, int x, int y) {
  ImGui_ImplGLUT_SpecialUpFunc(key, x, y);
  askForFrames();
}

// The main window's reshape: the panel keeps its place on the right edge first.
void mainReshape(int w, int h) {
  if (subWin) {
    WindowScope onPanel(subWin);
    int x = w - subWidth;
    glutPositionWindow(x > 0 ? x : 0, 0);
    glutReshapeWindow(subWidth, h > 0 ? h : 1);
  }
  if (userReshape) userReshape(w, h);
}

void mainIdle() {
  if (userIdle) userIdle();
  if (subWin && pendingFrames > 0) glutPostWindowRedisplay(subWin);
}

}  // namespace

int panelCreate(int parentWindow, int width, PanelBuildFunc build) {
  if (subWin) return 0;
  parentWin = parentWindow;
  subWidth = width;
  buildFunc = build;
  // Made from the parent; the window that was current before is current again at the end
  // (the parent, if it was that one or none was).
  WindowScope onParent(parentWin);
  int w = glutGet(GLUT_WINDOW_WIDTH);
  int h = glutGet(GLUT_WINDOW_HEIGHT);
  subWin = glutCreateSubWindow(parentWin, w > width ? w - width : 0, 0, width, h > 0 ? h : 1);
  IMGUI_CHECKVERSION();
  ImGui::CreateContext();
  ImGui::GetIO().IniFilename = nullptr;
  ImGui::StyleColorsDark();
  ImGui_ImplGLUT_Init();
  ImGui_ImplOpenGL2_Init();
  ImGui_ImplGLUT_ReshapeFunc(width, h > 0 ? h : 1);
  glutDisplayFunc(panelDisplay);
  glutReshapeFunc(panelReshape);
  glutMouseFunc(panelMouse);
  glutMotionFunc(panelMotion);
  glutPassiveMotionFunc(panelMotion);
  glutKeyboardFunc(panelKeyboard);
  glutKeyboardUpFunc(panelKeyboardUp);
  glutSpecialFunc(panelSpecial);
  glutSpecialUpFunc(panelSpecialUp);
  askForFrames();
  // The main window's reshape has to move the panel from now on.
  if (parentWin) {
    glutSetWindow(parentWin);
    glutReshapeFunc(mainReshape);
  }
  return subWin;
}

void panelDestroy() {
  if (!subWin) return;
  {
    WindowScope onPanel(subWin);
    ImGui_ImplOpenGL2_Shutdown();
    ImGui_ImplGLUT_Shutdown();
    ImGui::DestroyContext();
    glutDestroyWindow(subWin);
  }
  subWin = 0;
  subWidth = 0;
  buildFunc = nullptr;
}

int panelWindow() {
  return subWin;
}
int panelWidth() {
  return subWin ? subWidth : 0;
}

void panelGetViewportArea(int* x, int* y, int* width, int* height) {
  int w = 0, h = 0;
  if (parentWin || glutGetWindow()) {
    WindowScope onParent(parentWin);  // without a panel: the current window
    w = glutGet(GLUT_WINDOW_WIDTH);
    h = glutGet(GLUT_WINDOW_HEIGHT);
  }
  w -= panelWidth();
  *x = 0;
  *y = 0;
  *width = w > 0 ? w : 0;
  *height = h;
}

void panelSync() {
  askForFrames();
}

void panelSetReshapeFunc(void (*func)(int, int)) {
  userReshape = func;
  glutReshapeFunc(mainReshape);
}

void panelSetMouseFunc(void (*func)(int, int, int, int)) {
  userMouse = func;
  glutMouseFunc(func);
}

void panelSetKeyboardFunc(void (*func)(unsigned char, int, int)) {
  userKeyboard = func;
  glutKeyboardFunc(func);
}

void panelSetSpecialFunc(void (*func)(int, int, int)) {
  userSpecial = func;
  glutSpecialFunc(func);
}

void panelSetIdleFunc(void (*func)()) {
  userIdle = func;
  glutIdleFunc(mainIdle);
}
