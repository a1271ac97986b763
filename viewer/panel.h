// The control panel beside the picture: a GLUT sub-window on the right of the main
// window, or a top-level window of its own, drawn by Dear ImGui with its GLUT and OpenGL2
// back ends.
//
// The framework registers its main-window callbacks through the panelSet...Func functions
// rather than directly with GLUT. The panel then keeps its sub-window glued to the right
// edge when the main window changes size, offers the keys that it doesn't use itself to the
// framework, redraws itself after the picture's events and frames (so that its controls follow
// variables that the picture changed), and tells the framework which part of the window is left
// to the picture. Without a panel all of this passes straight through to GLUT.
//
// Input reaches ImGui through a queue: GLUT may deliver a press and its release in one pass of
// its event loop, and ImGui sees only the state of the buttons when a frame starts, so the two
// would cancel out. The panel feeds ImGui one press, release or wheel step per frame instead and
// draws frames until the queue is empty. A key goes on to the framework in the frame that feeds
// it to ImGui, if ImGui doesn't take it then: a key typed right after a click into an edit box
// belongs to the box, however fast it follows.
#pragma once

#include <cstddef>
#include <deque>

struct ImGuiIO;

// What the panel draws, once per panel frame, between ImGui's Begin and End of one
// window that fills the panel's window. A result of 1 means that a value the picture depends
// on has changed: only then is the picture redrawn.
using PanelBuildFunc = int (*)();

// Makes the sub-window of the given width on the right of parentWindow and sets ImGui up
// in it. Returns the sub-window's id; 0 if a panel exists already.
int panelCreate(int parentWindow, int width, PanelBuildFunc build);
// Makes a top-level window of its own with this title and size for the panel (used where the
// panel can't stand beside the picture, e.g. in full-screen mode) and sets ImGui up in it.
// Returns the window's id; 0 if a panel exists already. The picture then keeps its whole window.
// The window that is current at the call is taken for the picture's; it is current again at the
// end. GLUT's initial window size and position for later windows are left as they were.
int panelCreateWindow(const char* title, int width, int height, PanelBuildFunc build);
// Closes ImGui and the panel's window. Harmless without a panel.
void panelDestroy();
int panelWindow();       // 0 without a panel
int panelWidth();        // 0 without a panel
int panelIsSubWindow();  // 1 for a panel inside the picture's window, 0 otherwise

// The part of the parent window left to the picture: all of it without a panel, or with a panel
// in a window of its own.
void panelGetViewportArea(int* x, int* y, int* width, int* height);

// Asks for a few panel frames, e.g. after the program changed values that the panel shows.
// Harmless (does nothing) without a panel, so callers need not ask first.
void panelSync();
// Tells the panel that the picture has been drawn: the panel draws one frame of its own, so
// that its controls show what the picture's events and frame changed. The framework's display
// calls it; harmless without a panel.
void panelAfterPictureFrame();
// Panel frames drawn since the panel was made (0 without one): lets callers see that a frame
// was drawn.
long panelFrameCount();
// 1 while the panel still has frames to draw or input to feed (it redraws itself until then).
int panelWantsFrames();

// Callback registration for the main window, in place of the GLUT calls of the same name.
void panelSetReshapeFunc(void (*func)(int width, int height));
void panelSetMouseFunc(void (*func)(int button, int state, int x, int y));
void panelSetKeyboardFunc(void (*func)(unsigned char key, int x, int y));
void panelSetSpecialFunc(void (*func)(int key, int x, int y));
void panelSetIdleFunc(void (*func)());

// ---- The input queue ------------------------------------------------------------------------

// One input event of the panel's window on its way from GLUT to ImGui.
struct PanelInputEvent {
  enum Type {
    kMove,     // the pointer moved to (x, y)
    kButton,   // code: GLUT_LEFT_BUTTON, GLUT_MIDDLE_BUTTON or GLUT_RIGHT_BUTTON
    kWheel,    // code: +1 a step up (away from the user), -1 a step down
    kKey,      // code: the character GLUT gives the keyboard callback
    kSpecial,  // code: a GLUT_KEY_... value
  };
  Type type;
  int code;
  int down;  // buttons and keys: 1 pressed, 0 released
  int x, y;  // pointer position in the panel's window, pixels from the top left
  int mods;  // GLUT_ACTIVE_... bits at the event; kUnknownMods where GLUT can't tell (moves)
  static constexpr int kUnknownMods = -1;
};

// The events not yet seen by ImGui, oldest first. Plain data: no GLUT, no window.
class PanelInputQueue {
 public:
  // More events than this waiting at once means the panel isn't drawing at all; further ones
  // are dropped rather than kept without bound.
  static constexpr size_t kCapacity = 1024;

  // Adds an event at the end. A move right behind another move replaces it (only the last
  // position matters). Returns 0, keeping the queue as it was, when it is full; else 1.
  int push(const PanelInputEvent& event);
  // Feeds ImGui's io the events of one frame: the oldest events up to and including the first
  // press, release or wheel step, so that ImGui sees each of them in a frame of its own. Call
  // it before ImGui's NewFrame. Returns the number of events fed; with last given and at least
  // one event fed, *last is the last of them.
  int feedOneFrame(ImGuiIO& io, PanelInputEvent* last = nullptr);
  bool empty() const { return events_.empty(); }
  size_t size() const { return events_.size(); }
  void clear() { events_.clear(); }

 private:
  std::deque<PanelInputEvent> events_;
};
