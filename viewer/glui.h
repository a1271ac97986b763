// A panel of controls made once and drawn every panel frame by Dear ImGui: windows, panels,
// rollouts, buttons, check boxes, radio groups, edit texts, spinners, listboxes and sliders, each
// bound to a live variable of the program and calling back with its id.
//
// The controls form a tree owned by their GLUI window. A control reads its live variable every
// time it is drawn, so the panel always shows the program's values (sync_live only asks for a
// panel frame); a change made with the control is written to the live variable at once and then
// the control's callback runs with the control's id. Edit texts call back when Enter is pressed.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class GLUI;
class GLUI_Slider;

using GLUI_Update_CB = void (*)(int id);

// Live variable types, as numbers the panel-building code passes around.
enum GluiLiveType {
  GLUI_LIVE_NONE = 0,
  GLUI_LIVE_INT = 2,     // int
  GLUI_LIVE_FLOAT = 3,   // float
  GLUI_LIVE_TEXT = 4,    // char buffer of a known size
  GLUI_LIVE_STRING = 6,  // std::string
};
constexpr int GLUI_EDITTEXT_INT = GLUI_LIVE_INT;
constexpr int GLUI_EDITTEXT_FLOAT = GLUI_LIVE_FLOAT;
constexpr int GLUI_EDITTEXT_TEXT = GLUI_LIVE_TEXT;
constexpr int GLUI_EDITTEXT_STRING = GLUI_LIVE_STRING;
constexpr int GLUI_SPINNER_INT = GLUI_LIVE_INT;
constexpr int GLUI_SPINNER_FLOAT = GLUI_LIVE_FLOAT;

enum GluiAlign { GLUI_ALIGN_CENTER = 1, GLUI_ALIGN_RIGHT = 2, GLUI_ALIGN_LEFT = 3 };
enum GluiPanelType { GLUI_PANEL_NONE = 0, GLUI_PANEL_EMBOSSED = 1, GLUI_PANEL_RAISED = 2 };
// Where a sub-window panel stands in its parent window.
enum GluiSubwindowPos { GLUI_SUBWINDOW_RIGHT = 32 };
// Whether set_int_limits / set_float_limits clamp the present value into the new limits.
enum GluiLimit { GLUI_LIMIT_NONE = 0, GLUI_LIMIT_CLAMP = 1 };
// Width of the panel column beside the picture, pixels.
constexpr int kGluiPanelWidth = 204;

// One control of the tree. Every kind is this class or a subclass; what a kind doesn't use stays
// at its default.
class GLUI_Control {
 public:
  enum Kind {
    kPanel, kRollout, kColumn, kSeparator, kStaticText, kButton, kCheckbox, kRadioGroup,
    kRadioButton, kEditText, kSpinner, kListbox, kSlider,
  };
  GLUI_Control(Kind kind, const char* name, int id, GLUI_Update_CB callback);
  virtual ~GLUI_Control();
  GLUI_Control(const GLUI_Control&) = delete;
  GLUI_Control& operator=(const GLUI_Control&) = delete;

  Kind kind;
  std::string name;  // the label
  int id;            // passed to the callback; -1 for none
  GLUI_Update_CB callback;
  GLUI_Control* parent = nullptr;
  std::vector<GLUI_Control*> children;  // owned
  GLUI* glui = nullptr;                 // the window the control belongs to
  int w = 0;                            // width asked for, pixels; 0 for the kind's own width
  int alignment = GLUI_ALIGN_LEFT;
  bool enabled = true;

  // The live variable: at most one of these is set.
  int* liveInt = nullptr;
  float* liveFloat = nullptr;
  char* liveText = nullptr;
  size_t liveTextSize = 0;  // bytes of liveText, with its terminating zero
  std::string* liveString = nullptr;
  // The value of a control without a live variable.
  int intVal = 0;
  float floatVal = 0.0f;
  std::string textVal;

  // Limits of numbers (spinners, sliders, number edit texts).
  bool hasLimits = false;
  float floatLow = 0.0f, floatHigh = 0.0f;
  int intLow = 0, intHigh = 0;
  float speed = 1.0f;  // spinner: multiplier of the step

  // Rollouts and panels.
  bool isOpen = false;

  // Listboxes and radio groups: the entries, each with the value the live int takes.
  struct Item {
    int id;
    std::string text;
  };
  std::vector<Item> items;

  void set_name(const char* text);
  void set_w(int width);
  void set_alignment(int align);
  void enable();
  void disable();
  void set_int_limits(int low, int high, int limitType = GLUI_LIMIT_CLAMP);
  void set_float_limits(float low, float high, int limitType = GLUI_LIMIT_CLAMP);
  void set_speed(float s);
  int get_int_val() const;
  float get_float_val() const;
  void set_int_val(int v);      // clamped to the limits; written to the live variable
  void set_float_val(float v);  // likewise
  std::string get_text() const;
  void set_text(const char* text);  // bounded by the live buffer's size
  // Rollouts.
  void open();
  void close();
  // Listboxes: an entry whose value is itemId. delete_item returns 1 if there was one.
  int add_item(int itemId, const char* text);
  int delete_item(int itemId);
  // Runs the callback with the id, if there is one.
  void execute_callback();

  // Draws the control (and its children) with ImGui, inside the panel window. Returns 1 when the
  // user changed a value or pressed the control this frame.
  virtual int draw();
};

// The range slider of the panel library: an edit text with a track under it, stepping by growing
// amounts while an arrow is held, with Shift 100 times and Ctrl a hundredth as far.
class GLUI_Slider : public GLUI_Control {
 public:
  GLUI_Slider(const char* name, int dataType, void* live, int id, GLUI_Update_CB callback);
  // The parts of the track, as find_slider reports them.
  enum Part { kOutside = 0, kRightArrow = 1, kLeftArrow = 2, kTab = 4, kRightOfTab = 5, kLeftOfTab = 6 };
  static constexpr int kDefaultWidth = 130;
  static constexpr int kDefaultHeight = 32;
  static constexpr float kGrowthExp = 1.05f;

  int state = kOutside;
  int lastX = -1, lastY = -1;
  int tabGrabX = 0;
  float growth = 0.0f;
  float growthExp = kGrowthExp;
  int dataType;  // GLUI_LIVE_INT or GLUI_LIVE_FLOAT
  int callbackCount = 0;
  int lastIntVal = 0;
  float lastFloatVal = 0.0f;
  int firstCallback = 1;
  int h = kDefaultHeight;  // control height; the track runs from y = h - 10 to h + 1
  // An int slider's value with the fraction its steps have gathered: the int shown is its floor,
  // so that slow steps add up while an arrow is held.
  double stepVal = 0.0;

  // Modifier keys as the mouse and key handlers are told them.
  enum Modifier { kNoModifier = 0, kShift = 1, kCtrl = 2 };

  int find_slider(int x, int y) const;
  int get_tab_x() const;
  void set_tab_x(int x);
  void do_click(int modifier);
  void do_callbacks();
  void reset_growth();
  void increase_growth();
  // The control interface, in control coordinates (x from the control's left, y from its top).
  void mouse_down_handler(int x, int y, int modifier);
  void mouse_held_down_handler(int x, int y, int modifier);
  void mouse_up_handler(int x, int y);
  // GLUT special keys: Left and Right act as a click on the arrows; Home and End are taken and do
  // nothing. Returns 1 if the key was taken.
  int special_handler(int key, int modifier);
  bool needs_idle() const;
  void idle(int modifier);
  int draw() override;
};

// A panel window: the sub-window beside the picture or a window of its own.
class GLUI {
 public:
  GLUI();
  ~GLUI();
  GLUI(const GLUI&) = delete;
  GLUI& operator=(const GLUI&) = delete;

  GLUI_Control* main_panel;  // owned root of the control tree
  int glutWindow = 0;        // the window the panel draws in (0 until shown)
  int mainGfxWindow = 0;     // the picture's window, redrawn after a control acted
  float bkgdColor[3] = {0, 0, 0};  // 0 to 255
  float fgColor[3] = {255, 255, 255};

  GLUI_Control* add_separator();
  GLUI_Control* add_separator_to_panel(GLUI_Control* panel);
  GLUI_Control* add_statictext(const char* text);
  GLUI_Control* add_statictext_to_panel(GLUI_Control* panel, const char* text);
  GLUI_Control* add_button(const char* name, int id = -1, GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_button_to_panel(GLUI_Control* panel, const char* name, int id = -1, GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_checkbox(const char* name, int* live = nullptr, int id = -1, GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_checkbox_to_panel(GLUI_Control* panel, const char* name, int* live = nullptr, int id = -1,
                                      GLUI_Update_CB cb = nullptr);
  // live is an int*, float*, char* (text: give its size with liveTextSize afterwards, or use the
  // overload below) or std::string*, as liveType says.
  GLUI_Control* add_edittext(const char* name, int liveType, void* live = nullptr, int id = -1,
                             GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_edittext_to_panel(GLUI_Control* panel, const char* name, int liveType, void* live = nullptr,
                                      int id = -1, GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_edittext_to_panel(GLUI_Control* panel, const char* name, char* text, size_t size, int id = -1,
                                      GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_spinner(const char* name, int liveType, void* live = nullptr, int id = -1,
                            GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_spinner_to_panel(GLUI_Control* panel, const char* name, int liveType, void* live = nullptr,
                                     int id = -1, GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_listbox(const char* name, int* live = nullptr, int id = -1, GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_listbox_to_panel(GLUI_Control* panel, const char* name, int* live = nullptr, int id = -1,
                                     GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_radiogroup(int* live = nullptr, int id = -1, GLUI_Update_CB cb = nullptr);
  GLUI_Control* add_radiogroup_to_panel(GLUI_Control* panel, int* live = nullptr, int id = -1,
                                        GLUI_Update_CB cb = nullptr);
  // The buttons of a group are numbered 0 up in the order they are added.
  GLUI_Control* add_radiobutton_to_group(GLUI_Control* group, const char* name);
  GLUI_Control* add_rollout(const char* name, int open = 1);
  GLUI_Control* add_rollout_to_panel(GLUI_Control* panel, const char* name, int open = 1);
  GLUI_Control* add_panel(const char* name, int type = GLUI_PANEL_EMBOSSED);
  GLUI_Control* add_panel_to_panel(GLUI_Control* panel, const char* name, int type = GLUI_PANEL_EMBOSSED);
  GLUI_Control* add_column(int drawBar = 1);
  GLUI_Control* add_column_to_panel(GLUI_Control* panel, int drawBar = 1);
  // A slider of dataType GLUI_LIVE_INT or GLUI_LIVE_FLOAT bound to live, with limits that widen
  // to take in the live value; nullptr for any other type.
  GLUI_Slider* add_slider(const char* name, int dataType, void* live, float low, float high, int id = -1,
                          GLUI_Update_CB cb = nullptr);
  GLUI_Slider* add_slider_to_panel(GLUI_Control* panel, const char* name, int dataType, void* live, float low,
                                   float high, int id = -1, GLUI_Update_CB cb = nullptr);

  // Takes child number index out of parent's children and returns it (now owned by the caller),
  // or nullptr if there is no such child.
  GLUI_Control* remove_control(GLUI_Control* parent, int index);
  // Puts control in as parent's last child; parent owns it again.
  void add_control(GLUI_Control* parent, GLUI_Control* control);

  void set_main_gfx_window(int window);
  int get_glut_window_id() const { return glutWindow; }
  // Asks for a panel frame, so that every control shows its live variable now.
  void sync_live();
  // Draws the whole tree into the current ImGui window; returns 1 when a control acted.
  int draw();
};

// The panel library's master: makes panel windows and says where the picture may draw.
class GLUI_Master_Object {
 public:
  // A sub-window of window on its right (GLUI_SUBWINDOW_RIGHT), kGluiPanelWidth wide.
  GLUI* create_glui_subwindow(int window, int position);
  // A top-level window of its own with this title.
  GLUI* create_glui(const char* name, int flags = 0, int x = -1, int y = -1);
  // The part of the main window that is left to the picture (all of it without a panel).
  void get_viewport_area(int* x, int* y, int* w, int* h);
  // Closes the panel window and frees its controls. Harmless without one. Called from a
  // control's callback, it waits until the panel's frame is drawn.
  void close_all();
  GLUI* glui = nullptr;  // the one panel window, owned
};
extern GLUI_Master_Object GLUI_Master;
