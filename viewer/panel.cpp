// The control panel: a GLUT sub-window beside the picture or a window of its own, drawn by Dear ImGui.
#include "viewer/panel.h"

#include <GL/freeglut.h>
#include <imgui.h>
#include <imgui_impl_glut.h>
#include <imgui_impl_opengl2.h>

#include "viewer/window_scope.h"

namespace {

// ImGui settles a change over a few frames (hover, active item, release): after every
// input event the panel draws this many more frames.
constexpr int kFramesAfterInput = 4;
// GLUT reports the wheel as buttons beyond the three real ones when no wheel callback is
// registered: 3 a step up, 4 a step down (5 and 6, a sideways wheel, are not used).
constexpr int kGlutWheelUp = 3;
constexpr int kGlutWheelDown = 4;
// ImGui's GLUT back end maps the special keys above the 256 characters in io.KeysDown.
constexpr int kSpecialKeyBase = 256;
// GLUT hands Ctrl with a letter to the keyboard callback as 1 to 26.
constexpr int kCtrlLetterFirst = 1;
constexpr int kCtrlLetterLast = 26;
// Characters below this are control codes, not text for ImGui's edit boxes.
constexpr int kFirstPrintable = 32;
// Grey behind the controls, where the build function draws no background of its own.
constexpr float kClearGrey = 0.2f;

int parentWin = 0;  // the picture's window
int panelWin = 0;   // the panel's own window: a sub-window of parentWin or a top-level one
int isSubWin = 0;
int panelW = 0;
PanelBuildFunc buildFunc = nullptr;
int pendingFrames = 0;  // panel frames still to draw
long frameCount = 0;
PanelInputQueue inputQueue;

void (*userReshape)(int, int) = nullptr;
void (*userMouse)(int, int, int, int) = nullptr;
void (*userKeyboard)(unsigned char, int, int) = nullptr;
void (*userSpecial)(int, int, int) = nullptr;

void askForFrames(int frames) {
  if (!panelWin) return;
  if (pendingFrames < frames) pendingFrames = frames;
  glutPostWindowRedisplay(panelWin);
}

// A key press that ImGui didn't take goes on to the framework, with the main window current,
// as if the key had been pressed over the picture. No WindowScope here: the key may close the
// panel, and then there is no panel window to go back to.
void offerKeyToPicture(const PanelInputEvent& key) {
  if (!parentWin) return;
  if (key.type == PanelInputEvent::kKey && userKeyboard) {
    glutSetWindow(parentWin);
    userKeyboard((unsigned char)key.code, key.x, key.y);
  } else if (key.type == PanelInputEvent::kSpecial && userSpecial) {
    glutSetWindow(parentWin);
    userSpecial(key.code, key.x, key.y);
  } else {
    return;
  }
  if (panelWin) glutSetWindow(panelWin);
}

void panelDisplay() {
  if (!panelWin) return;
  ImGuiIO& io = ImGui::GetIO();
  PanelInputEvent last{};
  int fed = inputQueue.feedOneFrame(io, &last);
  ImGui_ImplOpenGL2_NewFrame();
  ImGui_ImplGLUT_NewFrame();  // this back end starts the ImGui frame itself
  // Whether ImGui takes keys is settled when its frame starts, by what it had before: an edit
  // box made active by a click earlier in the queue takes the key.
  bool offerKey = fed > 0 && last.down &&
                  (last.type == PanelInputEvent::kKey || last.type == PanelInputEvent::kSpecial) &&
                  !io.WantCaptureKeyboard;
  ImGui::SetNextWindowPos(ImVec2(0, 0));
  ImGui::SetNextWindowSize(io.DisplaySize);
  ImGui::Begin("panel", nullptr,
               ImGuiWindowFlags_NoTitleBar | ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoMove |
                   ImGuiWindowFlags_NoCollapse | ImGuiWindowFlags_NoSavedSettings);
  int changed = buildFunc ? buildFunc() : 0;
  // A control may have closed the panel (and ImGui with it); nothing of the frame is left.
  if (!panelWin) return;
  ImGui::End();
  ImGui::Render();
  glViewport(0, 0, (int)io.DisplaySize.x, (int)io.DisplaySize.y);
  glClearColor(kClearGrey, kClearGrey, kClearGrey, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT);
  ImGui_ImplOpenGL2_RenderDrawData(ImGui::GetDrawData());
  glutSwapBuffers();
  ++frameCount;
  if (pendingFrames > 0) --pendingFrames;
  // The picture is redrawn only when the panel changed something it shows.
  if (changed && parentWin) glutPostWindowRedisplay(parentWin);
  // Posted from inside the display callback: GLUT has already taken this window's request
  // off its list, so this asks for one more frame, not for an endless loop.
  if (pendingFrames > 0 || !inputQueue.empty()) glutPostWindowRedisplay(panelWin);
  // Last: the framework's key may do anything, even end the program.
  if (offerKey) offerKeyToPicture(last);
}

void panelReshape(int w, int h) {
  ImGui_ImplGLUT_ReshapeFunc(w, h);
  askForFrames(kFramesAfterInput);
}

// Every event waits in the queue; see feedOneFrame for why.
void queueEvent(PanelInputEvent::Type type, int code, int down, int x, int y, int mods) {
  inputQueue.push(PanelInputEvent{type, code, down, x, y, mods});
  askForFrames(kFramesAfterInput);
}

void panelMouse(int button, int state, int x, int y) {
  int mods = glutGetModifiers();
  if (button == kGlutWheelUp || button == kGlutWheelDown) {
    // A wheel step comes as a press and a release; the press is the step.
    if (state == GLUT_DOWN)
      queueEvent(PanelInputEvent::kWheel, button == kGlutWheelUp ? 1 : -1, 1, x, y, mods);
    return;
  }
  if (button == GLUT_LEFT_BUTTON || button == GLUT_MIDDLE_BUTTON || button == GLUT_RIGHT_BUTTON)
    queueEvent(PanelInputEvent::kButton, button, state == GLUT_DOWN ? 1 : 0, x, y, mods);
}

// GLUT can't tell the modifiers inside a motion callback.
void panelMotion(int x, int y) {
  queueEvent(PanelInputEvent::kMove, 0, 0, x, y, PanelInputEvent::kUnknownMods);
}

// Keys go to the panel first; what it doesn't take goes on to the framework when the panel's
// frame feeds it to ImGui (see offerKeyToPicture).
void panelKeyboard(unsigned char key, int x, int y) {
  queueEvent(PanelInputEvent::kKey, key, 1, x, y, glutGetModifiers());
}

void panelKeyboardUp(unsigned char key, int x, int y) {
  queueEvent(PanelInputEvent::kKey, key, 0, x, y, glutGetModifiers());
}

void panelSpecial(int key, int x, int y) {
  queueEvent(PanelInputEvent::kSpecial, key, 1, x, y, glutGetModifiers());
}

void panelSpecialUp(int key, int x, int y) {
  queueEvent(PanelInputEvent::kSpecial, key, 0, x, y, glutGetModifiers());
}

// The main window's reshape: a sub-window panel keeps its place on the right edge first.
void mainReshape(int w, int h) {
  if (panelWin && isSubWin) {
    WindowScope onPanel(panelWin);
    int x = w - panelW;
    glutPositionWindow(x > 0 ? x : 0, 0);
    glutReshapeWindow(panelW, h > 0 ? h : 1);
  }
  if (userReshape) userReshape(w, h);
}

// The picture's mouse and keys may change variables that the panel shows without drawing the
// picture again (a key that only flips a flag of the panel). One panel frame after each such
// event keeps the controls in step; a person makes few of them, so this costs next to nothing.
// Drags and spins change values through the picture's frames instead: see
// panelAfterPictureFrame.
void mainMouse(int button, int state, int x, int y) {
  if (userMouse) userMouse(button, state, x, y);
  askForFrames(1);
}

void mainKeyboard(unsigned char key, int x, int y) {
  if (userKeyboard) userKeyboard(key, x, y);
  askForFrames(1);
}

void mainSpecial(int key, int x, int y) {
  if (userSpecial) userSpecial(key, x, y);
  askForFrames(1);
}

// ImGui and the panel's callbacks, in the panel's window, which is current.
void startImGui(int width, int height) {
  IMGUI_CHECKVERSION();
  ImGui::CreateContext();
  ImGui::GetIO().IniFilename = nullptr;
  ImGui::StyleColorsDark();
  ImGui_ImplGLUT_Init();
  ImGui_ImplOpenGL2_Init();
  ImGui_ImplGLUT_ReshapeFunc(width, height);
  glutDisplayFunc(panelDisplay);
  glutReshapeFunc(panelReshape);
  glutMouseFunc(panelMouse);
  glutMotionFunc(panelMotion);
  glutPassiveMotionFunc(panelMotion);
  glutKeyboardFunc(panelKeyboard);
  glutKeyboardUpFunc(panelKeyboardUp);
  glutSpecialFunc(panelSpecial);
  glutSpecialUpFunc(panelSpecialUp);
  inputQueue.clear();
  frameCount = 0;
  askForFrames(kFramesAfterInput);
}

// The modifier keys as GLUT told them with the event.
void applyMods(ImGuiIO& io, int mods) {
  if (mods == PanelInputEvent::kUnknownMods) return;
  io.KeyCtrl = (mods & GLUT_ACTIVE_CTRL) != 0;
  io.KeyShift = (mods & GLUT_ACTIVE_SHIFT) != 0;
  io.KeyAlt = (mods & GLUT_ACTIVE_ALT) != 0;
}

// A character key, as ImGui's GLUT back end maps it (letters count in both cases, and Ctrl
// with a letter as that letter too). The back end's own key functions can't be used here: they
// ask GLUT for the modifiers, which GLUT only knows inside its input callbacks.
void applyKey(ImGuiIO& io, int c, int down) {
  bool on = down != 0;
  if (on && c >= kFirstPrintable) io.AddInputCharacter((unsigned int)c);
  io.KeysDown[c] = on;
  if (c >= kCtrlLetterFirst && c <= kCtrlLetterLast) {
    io.KeysDown[c - kCtrlLetterFirst + 'a'] = on;
    io.KeysDown[c - kCtrlLetterFirst + 'A'] = on;
  } else if (c >= 'a' && c <= 'z') {
    io.KeysDown[c - 'a' + 'A'] = on;
  } else if (c >= 'A' && c <= 'Z') {
    io.KeysDown[c - 'A' + 'a'] = on;
  }
}

// ImGui's buttons: 0 left, 1 right, 2 middle.
int imguiButton(int glutButton) {
  switch (glutButton) {
    case GLUT_LEFT_BUTTON:
      return 0;
    case GLUT_RIGHT_BUTTON:
      return 1;
    case GLUT_MIDDLE_BUTTON:
      return 2;
    default:
      return -1;
  }
}

void applyEvent(ImGuiIO& io, const PanelInputEvent& e) {
  applyMods(io, e.mods);
  switch (e.type) {
    case PanelInputEvent::kMove:
      io.MousePos = ImVec2((float)e.x, (float)e.y);
      break;
    case PanelInputEvent::kButton: {
      io.MousePos = ImVec2((float)e.x, (float)e.y);
      int b = imguiButton(e.code);
      if (b >= 0) io.MouseDown[b] = e.down != 0;
      break;
    }
    case PanelInputEvent::kWheel:
      io.MousePos = ImVec2((float)e.x, (float)e.y);
      io.MouseWheel += (float)e.code;
      break;
    case PanelInputEvent::kKey:
      if (e.code >= 0 && e.code < kSpecialKeyBase) applyKey(io, e.code, e.down);
      break;
    case PanelInputEvent::kSpecial:
      if (e.code >= 0 && kSpecialKeyBase + e.code < IM_ARRAYSIZE(io.KeysDown))
        io.KeysDown[kSpecialKeyBase + e.code] = e.down != 0;
      break;
  }
}

}  // namespace

// ---- The input queue ------------------------------------------------------------------------

int PanelInputQueue::push(const PanelInputEvent& event) {
  if (event.type == PanelInputEvent::kMove && !events_.empty() &&
      events_.back().type == PanelInputEvent::kMove) {
    events_.back() = event;
    return 1;
  }
  if (events_.size() >= kCapacity) return 0;
  events_.push_back(event);
  return 1;
}

// ImGui 1.86 looks at the buttons and keys once a frame, when the frame starts: a press and
// its release given in one frame look like no press at all, and a quick click is lost. So a
// frame gets the pointer's moves up to the next press, release or wheel step, and that one
// event; the rest waits for the following frames.
int PanelInputQueue::feedOneFrame(ImGuiIO& io, PanelInputEvent* last) {
  int fed = 0;
  while (!events_.empty()) {
    PanelInputEvent e = events_.front();
    events_.pop_front();
    applyEvent(io, e);
    ++fed;
    if (last) *last = e;
    if (e.type != PanelInputEvent::kMove) break;
  }
  return fed;
}

// ---- The panel ------------------------------------------------------------------------------

int panelCreate(int parentWindow, int width, PanelBuildFunc build) {
  if (panelWin) return 0;
  parentWin = parentWindow;
  panelW = width;
  isSubWin = 1;
  buildFunc = build;
  // Made from the parent; the window that was current before is current again at the end
  // (the parent, if it was that one or none was).
  WindowScope onParent(parentWin);
  int w = glutGet(GLUT_WINDOW_WIDTH);
  int h = glutGet(GLUT_WINDOW_HEIGHT);
  panelWin = glutCreateSubWindow(parentWin, w > width ? w - width : 0, 0, width, h > 0 ? h : 1);
  startImGui(width, h > 0 ? h : 1);
  // The main window's reshape has to move the panel from now on.
  if (parentWin) {
    glutSetWindow(parentWin);
    glutReshapeFunc(mainReshape);
  }
  return panelWin;
}

int panelCreateWindow(const char* title, int width, int height, PanelBuildFunc build) {
  if (panelWin) return 0;
  int previous = glutGetWindow();
  parentWin = previous;
  panelW = width;
  isSubWin = 0;
  buildFunc = build;
  // GLUT's initial size and position serve every window made after them: the panel's are set
  // for its own window only, and GLUT's place for a new window (-1, -1) is the default one.
  int initW = glutGet(GLUT_INIT_WINDOW_WIDTH);
  int initH = glutGet(GLUT_INIT_WINDOW_HEIGHT);
  int initX = glutGet(GLUT_INIT_WINDOW_X);
  int initY = glutGet(GLUT_INIT_WINDOW_Y);
  glutInitWindowSize(width, height);
  glutInitWindowPosition(-1, -1);
  panelWin = glutCreateWindow(title);
  glutInitWindowSize(initW, initH);
  glutInitWindowPosition(initX, initY);
  startImGui(width, height);
  if (previous) glutSetWindow(previous);
  return panelWin;
}

void panelDestroy() {
  if (!panelWin) return;
  {
    WindowScope onPanel(panelWin);
    ImGui_ImplOpenGL2_Shutdown();
    ImGui_ImplGLUT_Shutdown();
    ImGui::DestroyContext();
    glutDestroyWindow(panelWin);
  }
  panelWin = 0;
  parentWin = 0;
  panelW = 0;
  isSubWin = 0;
  buildFunc = nullptr;
  pendingFrames = 0;
  frameCount = 0;
  inputQueue.clear();
}

int panelWindow() {
  return panelWin;
}
int panelWidth() {
  return panelWin ? panelW : 0;
}
int panelIsSubWindow() {
  return panelWin ? isSubWin : 0;
}

void panelGetViewportArea(int* x, int* y, int* width, int* height) {
  int w = 0, h = 0;
  if (parentWin || glutGetWindow()) {
    WindowScope onParent(parentWin);  // without a panel: the current window
    w = glutGet(GLUT_WINDOW_WIDTH);
    h = glutGet(GLUT_WINDOW_HEIGHT);
  }
  if (panelIsSubWindow()) w -= panelW;
  *x = 0;
  *y = 0;
  *width = w > 0 ? w : 0;
  *height = h;
}

void panelSync() {
  askForFrames(kFramesAfterInput);
}

// One panel frame per picture frame. The panel can't tell by itself whether a live variable
// changed: only the build function knows them, and it reads them while drawing. But the picture
// is drawn only after something changed, and a panel frame costs a small share of the picture
// it follows, so drawing the panel then is the cheap way to keep every control in step.
void panelAfterPictureFrame() {
  askForFrames(1);
}

long panelFrameCount() {
  return panelWin ? frameCount : 0;
}

void panelSetReshapeFunc(void (*func)(int, int)) {
  userReshape = func;
  WindowScope onPicture(parentWin);  // without a panel: the current window
  glutReshapeFunc(mainReshape);
}

void panelSetMouseFunc(void (*func)(int, int, int, int)) {
  userMouse = func;
  WindowScope onPicture(parentWin);  // without a panel: the current window
  glutMouseFunc(mainMouse);
}

void panelSetKeyboardFunc(void (*func)(unsigned char, int, int)) {
  userKeyboard = func;
  WindowScope onPicture(parentWin);  // without a panel: the current window
  glutKeyboardFunc(mainKeyboard);
}

void panelSetSpecialFunc(void (*func)(int, int, int)) {
  userSpecial = func;
  WindowScope onPicture(parentWin);  // without a panel: the current window
  glutSpecialFunc(mainSpecial);
}

int panelWantsFrames() {
  return panelWin && (pendingFrames > 0 || !inputQueue.empty()) ? 1 : 0;
}

void panelSetIdleFunc(void (*func)()) {
  glutIdleFunc(func);
}
