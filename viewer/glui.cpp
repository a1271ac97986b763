// The panel library's controls drawn with Dear ImGui: the control tree, its values and limits,
// and the windows that show it (the slider's own methods live in glui_slider.cpp).
#include "viewer/glui.h"

#include <GL/freeglut.h>
#include <imgui.h>
#include <imgui_stdlib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fileio/common.h"
#include "viewer/panel.h"
#include "viewer/window_scope.h"

GLUI_Master_Object GLUI_Master;

namespace {

// Counts changes of any control tree. A callback may rearrange the panel while it is being
// drawn (the rollouts rotate when "m" is pressed): drawing stops for that frame as soon as the
// count moves, and the next frame shows the new order.
unsigned long treeChanges = 0;
// Set while the panel window draws its tree, when closing it must wait for the end of the frame.
bool drawingPanel = false;
bool closeAsked = false;

// Height of a panel that stands in a window of its own; the panel's content scrolls in it
// when the open rollouts need more.
constexpr int kGluiWindowHeight = 720;
// Colours are given as 0 to 255, ImGui takes 0 to 1.
constexpr float kColourScale = 255.0f;
// A spinner's step is this fraction of its range, as a held arrow's first step.
constexpr float kSpinnerRangeSteps = 800.0f;
// Without limits the step grows with the value: sqrt(|value|) times this...
constexpr float kSpinnerValueStep = 0.05f;
// ...and never falls to zero.
constexpr float kSpinnerMinStep = 0.001f;
// The fast step (Ctrl held) is this many steps.
constexpr float kSpinnerFastFactor = 100.0f;
// The narrowest entry field that still takes a number, pixels.
constexpr float kMinFieldWidth = 30.0f;
// Gap between a framed panel's border and its content, pixels.
constexpr float kPanelFrameGap = 2.0f;
// Bytes of a number written as text ("%d" or "%g").
constexpr size_t kNumberTextSize = 64;
// How floats are written for editing and by get_text.
constexpr const char* kFloatFormat = "%g";

ImVec4 colourOf(const float rgb[3]) {
  return ImVec4(rgb[0] / kColourScale, rgb[1] / kColourScale, rgb[2] / kColourScale, 1.0f);
}

// Moves the cursor so that an item of this width stands centred or on the right, as the
// control asks; left-aligned items and items wider than the room stay where they are.
void alignItem(const GLUI_Control& c, float width) {
  if (c.alignment != GLUI_ALIGN_CENTER && c.alignment != GLUI_ALIGN_RIGHT) return;
  float room = ImGui::GetContentRegionAvail().x;
  if (width >= room) return;
  float shift = c.alignment == GLUI_ALIGN_CENTER ? (room - width) * 0.5f : room - width;
  ImGui::SetCursorPosX(ImGui::GetCursorPosX() + shift);
}

// Columns being drawn around the present control. A column is as wide as what stands in it,
// so there the width asked for counts as it is, and a field without one gets a width of its own.
int columnDepth = 0;
constexpr float kFieldWidthInColumn = 100.0f;

// The width a labelled field takes in all: the width asked for, or all the room there is.
float fieldWidth(const GLUI_Control& c) {
  if (columnDepth > 0) return c.w > 0 ? static_cast<float>(c.w) : kFieldWidthInColumn;
  float room = ImGui::GetContentRegionAvail().x;
  return c.w > 0 ? std::min(static_cast<float>(c.w), room) : room;
}

// Draws the label on the left of a field, as the panel library does, and sets the width of
// the field that follows it on the same line. A label too long to leave the field its least
// width (arrows included) stands on a line of its own above it.
void labelAndWidth(const GLUI_Control& c, float leastField = kMinFieldWidth) {
  float total = fieldWidth(c);
  alignItem(c, total);
  float field = total;
  if (!c.name.empty()) {
    float spacing = ImGui::GetStyle().ItemInnerSpacing.x;
    float beside = total - ImGui::CalcTextSize(c.name.c_str()).x - spacing;
    ImGui::AlignTextToFramePadding();
    ImGui::TextUnformatted(c.name.c_str());
    if (beside >= leastField) {
      ImGui::SameLine(0.0f, spacing);
      field = beside;
    } else {
      alignItem(c, total);
    }
  }
  ImGui::SetNextItemWidth(std::max(field, leastField));
}

// The least width of a spinner's field: a number and its two arrows.
float spinnerLeastWidth() {
  return kMinFieldWidth + 2 * (ImGui::GetFrameHeight() + ImGui::GetStyle().ItemInnerSpacing.x);
}

bool isIntValued(const GLUI_Control& c) {
  return c.liveInt != nullptr;
}

// The step of a spinner's arrows: a fraction of its range, or with no range one that grows
// with the value, scaled by the spinner's speed. An int spinner always moves at least one.
float spinnerStep(const GLUI_Control& c) {
  float step = c.hasLimits ? (c.floatHigh - c.floatLow) / kSpinnerRangeSteps
                           : std::sqrt(std::fabs(c.get_float_val())) * kSpinnerValueStep;
  if (step == 0.0f) step = kSpinnerMinStep;
  return step * c.speed;
}

// Points a control without a live variable at its own value, so that drawing and the value
// calls need only one path. The type says which of the values it holds.
void bindLive(GLUI_Control* c, int liveType, void* live) {
  switch (liveType) {
    case GLUI_LIVE_INT:
      c->liveInt = live ? static_cast<int*>(live) : &c->intVal;
      break;
    case GLUI_LIVE_FLOAT:
      c->liveFloat = live ? static_cast<float*>(live) : &c->floatVal;
      break;
    case GLUI_LIVE_TEXT:
      if (live) {
        c->liveText = static_cast<char*>(live);  // its size comes from the caller
      } else {
        c->liveString = &c->textVal;
      }
      break;
    default:  // a string, or a type the library doesn't know: kept as text
      c->liveString = live && liveType == GLUI_LIVE_STRING ? static_cast<std::string*>(live) : &c->textVal;
      break;
  }
}

// Gives a control and all below it to a window.
void setWindow(GLUI_Control* c, GLUI* glui) {
  c->glui = glui;
  for (GLUI_Control* child : c->children) setWindow(child, glui);
}

// Brings the present value into the limits: a live number through the setters, a control
// without one (a slider may hold its value itself) in both its int and its float.
void clampToLimits(GLUI_Control& c) {
  if (c.liveInt) {
    c.set_int_val(c.get_int_val());
  } else if (c.liveFloat) {
    c.set_float_val(c.get_float_val());
  } else {
    c.intVal = std::clamp(c.intVal, std::min(c.intLow, c.intHigh), std::max(c.intLow, c.intHigh));
    c.floatVal = std::clamp(c.floatVal, std::min(c.floatLow, c.floatHigh), std::max(c.floatLow, c.floatHigh));
  }
}

// The panel's build function. A control's callback that closes the panel is carried out once
// the tree is drawn: until then the controls and ImGui are still in use.
int drawPanelWindow() {
  if (!GLUI_Master.glui) return 0;
  drawingPanel = true;
  int acted = GLUI_Master.glui->draw();
  drawingPanel = false;
  if (closeAsked) {
    closeAsked = false;
    GLUI_Master.close_all();
  }
  return acted;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// The control

GLUI_Control::GLUI_Control(Kind k, const char* text, int ident, GLUI_Update_CB cb)
    : kind(k), name(text ? text : ""), id(ident), callback(cb) {}

GLUI_Control::~GLUI_Control() {
  for (GLUI_Control* child : children) delete child;
}

void GLUI_Control::set_name(const char* text) {
  name = text ? text : "";
}

void GLUI_Control::set_w(int width) {
  w = width > 0 ? width : 0;
}

void GLUI_Control::set_alignment(int align) {
  if (align == GLUI_ALIGN_CENTER || align == GLUI_ALIGN_RIGHT || align == GLUI_ALIGN_LEFT) alignment = align;
}

void GLUI_Control::enable() {
  enabled = true;
}

void GLUI_Control::disable() {
  enabled = false;
}

// Both kinds of limit are kept, so that an int control may be given float limits and the
// other way round, as the panel library allows.
void GLUI_Control::set_int_limits(int low, int high, int limitType) {
  hasLimits = true;
  intLow = low;
  intHigh = high;
  floatLow = static_cast<float>(low);
  floatHigh = static_cast<float>(high);
  if (limitType == GLUI_LIMIT_CLAMP) clampToLimits(*this);
}

void GLUI_Control::set_float_limits(float low, float high, int limitType) {
  hasLimits = true;
  floatLow = low;
  floatHigh = high;
  intLow = static_cast<int>(low);
  intHigh = static_cast<int>(high);
  if (limitType == GLUI_LIMIT_CLAMP) clampToLimits(*this);
}

void GLUI_Control::set_speed(float s) {
  speed = s;
}

int GLUI_Control::get_int_val() const {
  if (liveInt) return *liveInt;
  if (liveFloat) return static_cast<int>(*liveFloat);
  return intVal;
}

// An int control keeps the float it was last set to beside its int, as the panel library's
// number fields do, so that steps smaller than one add up (a slider's held arrow); once the
// program has changed the int, the int is the value.
float GLUI_Control::get_float_val() const {
  if (liveFloat) return *liveFloat;
  if (liveInt) return static_cast<int>(floatVal) == *liveInt ? floatVal : static_cast<float>(*liveInt);
  return floatVal;
}

void GLUI_Control::set_int_val(int v) {
  if (hasLimits) v = std::clamp(v, std::min(intLow, intHigh), std::max(intLow, intHigh));
  intVal = v;
  floatVal = static_cast<float>(v);
  if (liveInt) *liveInt = v;
  if (liveFloat) *liveFloat = static_cast<float>(v);
}

void GLUI_Control::set_float_val(float v) {
  if (std::isnan(v)) return;  // nothing sensible to store
  if (hasLimits) v = std::clamp(v, std::min(floatLow, floatHigh), std::max(floatLow, floatHigh));
  floatVal = v;
  intVal = static_cast<int>(v);  // truncated, as the panel library mirrors it
  if (liveFloat) *liveFloat = v;
  if (liveInt) *liveInt = intVal;
}

std::string GLUI_Control::get_text() const {
  if (liveText) return std::string(liveText, strnlen(liveText, liveTextSize));
  if (liveString) return *liveString;
  char number[kNumberTextSize];
  if (liveInt) {
    snprintf(number, sizeof number, "%d", *liveInt);
    return number;
  }
  if (liveFloat) {
    snprintf(number, sizeof number, kFloatFormat, static_cast<double>(*liveFloat));
    return number;
  }
  if (kind == kStaticText) return name;
  return textVal;
}

// A number field reads the text as its number; a static text shows it as its label.
void GLUI_Control::set_text(const char* text) {
  if (!text) text = "";
  if (liveText) {
    copyText(liveText, text, liveTextSize);  // cut to the buffer; a size of 0 takes nothing
  } else if (liveString) {
    *liveString = text;
  } else if (liveInt) {
    set_int_val(static_cast<int>(strtol(text, nullptr, 10)));
  } else if (liveFloat) {
    set_float_val(strtof(text, nullptr));
  } else if (kind == kStaticText) {
    name = text;
  } else {
    textVal = text;
  }
}

void GLUI_Control::open() {
  isOpen = true;
}

void GLUI_Control::close() {
  isOpen = false;
}

int GLUI_Control::add_item(int itemId, const char* text) {
  items.push_back(Item{itemId, text ? text : ""});
  return 1;
}

int GLUI_Control::delete_item(int itemId) {
  auto it = std::find_if(items.begin(), items.end(), [itemId](const Item& item) { return item.id == itemId; });
  if (it == items.end()) return 0;
  items.erase(it);
  return 1;
}

void GLUI_Control::execute_callback() {
  if (!callback) return;
  // A callback acts on the picture (its matrices, its redisplay, a model opened into it), while
  // the panel's frame has the panel's window current: the picture's window is made current for
  // the callback and the panel's put back after it. A callback that closes the panel only asks
  // for it (see drawPanelWindow), so the panel's window still exists to go back to.
  const int picture = glui ? glui->mainGfxWindow : 0;
  if (picture > 0 && glutGet(GLUT_INIT_STATE)) {
    WindowScope onPicture(picture);
    callback(id);
  } else {
    callback(id);
  }
}

namespace {

// Draws the children of a panel or rollout; a column control starts a new column (a table
// cell) for the children after it. Returns 1 if any child acted.
int drawChildren(GLUI_Control& c) {
  int acted = 0;
  int columns = 1;
  bool bar = false;
  for (GLUI_Control* child : c.children) {
    if (child->kind == GLUI_Control::kColumn) {
      ++columns;
      bar = bar || child->intVal != 0;
    }
  }
  // ImGui's tables hold at most this many columns; further column breaks start a new row.
  constexpr int kMostColumns = 64;
  columns = std::min(columns, kMostColumns);
  bool table = columns > 1 &&
               ImGui::BeginTable("columns", columns,
                                 ImGuiTableFlags_SizingFixedFit | (bar ? ImGuiTableFlags_BordersInnerV : 0));
  if (table) {
    ImGui::TableNextColumn();
    ++columnDepth;
  }
  const unsigned long changesBefore = treeChanges;
  for (size_t k = 0; k < c.children.size(); ++k) {
    GLUI_Control* child = c.children[k];
    if (child->kind == GLUI_Control::kColumn) {
      if (table) ImGui::TableNextColumn();
      continue;
    }
    ImGui::PushID(child);
    if (child->draw()) acted = 1;
    ImGui::PopID();
    if (treeChanges != changesBefore) {  // rearranged by a callback: the rest waits a frame
      panelSync();
      break;
    }
  }
  if (table) {
    --columnDepth;
    ImGui::EndTable();
  }
  return acted;
}

int drawPanel(GLUI_Control& c) {
  // The root panel of a window is neither framed nor grouped.
  if (!c.parent) return drawChildren(c);
  bool framed = c.intVal != GLUI_PANEL_NONE;
  ImGui::BeginGroup();
  if (framed) ImGui::Indent(kPanelFrameGap);
  if (!c.name.empty()) ImGui::TextUnformatted(c.name.c_str());
  int acted = drawChildren(c);
  if (framed) ImGui::Unindent(kPanelFrameGap);
  ImGui::EndGroup();
  if (framed) {
    ImVec2 low = ImGui::GetItemRectMin(), high = ImGui::GetItemRectMax();
    ImGui::GetWindowDrawList()->AddRect(ImVec2(low.x - kPanelFrameGap, low.y - kPanelFrameGap),
                                        ImVec2(high.x + kPanelFrameGap, high.y + kPanelFrameGap),
                                        ImGui::GetColorU32(ImGuiCol_Border));
  }
  return acted;
}

int drawRollout(GLUI_Control& c) {
  // The open state lives in the control, so that open(), close() and the program's own
  // rearranging decide it; the header only reports a click.
  ImGui::SetNextItemOpen(c.isOpen, ImGuiCond_Always);
  bool open = ImGui::CollapsingHeader(c.name.c_str());
  c.isOpen = open;
  if (!open) return 0;
  bool nested = c.parent && c.parent->parent;
  if (nested) ImGui::Indent();
  int acted = drawChildren(c);
  if (nested) ImGui::Unindent();
  return acted;
}

void drawStaticText(const GLUI_Control& c) {
  alignItem(c, ImGui::CalcTextSize(c.name.c_str()).x);
  ImGui::TextUnformatted(c.name.c_str());
}

int drawButton(GLUI_Control& c) {
  ImVec2 size(static_cast<float>(c.w), 0.0f);
  float width = c.w > 0 ? size.x : ImGui::CalcTextSize(c.name.c_str()).x + 2 * ImGui::GetStyle().FramePadding.x;
  alignItem(c, width);
  if (!ImGui::Button(c.name.c_str(), size)) return 0;
  c.execute_callback();
  return 1;
}

int drawCheckbox(GLUI_Control& c) {
  float box = ImGui::GetFrameHeight() + ImGui::GetStyle().ItemInnerSpacing.x;
  alignItem(c, box + ImGui::CalcTextSize(c.name.c_str()).x);
  bool checked = c.get_int_val() != 0;
  if (!ImGui::Checkbox(c.name.c_str(), &checked)) return 0;
  c.set_int_val(checked ? 1 : 0);
  c.execute_callback();
  return 1;
}

// A click calls back even on the button already chosen, as the panel library does.
int drawRadioGroup(GLUI_Control& c) {
  int acted = 0;
  int value = c.get_int_val();
  for (GLUI_Control* button : c.children) {
    if (button->kind != GLUI_Control::kRadioButton) continue;
    ImGui::PushID(button);
    if (ImGui::RadioButton(button->name.c_str(), value == button->intVal)) {
      c.set_int_val(button->intVal);
      value = button->intVal;
      acted = 1;
    }
    ImGui::PopID();
  }
  if (acted) c.execute_callback();
  return acted;
}

// Text fields change their live text as they are typed in and act on Enter; number fields take
// the typed number on Enter, clamped to their limits.
int drawEditText(GLUI_Control& c) {
  labelAndWidth(c);
  const ImGuiInputTextFlags enter = ImGuiInputTextFlags_EnterReturnsTrue;
  bool entered = false;
  if (c.liveText) {
    if (c.liveTextSize == 0) {  // no size known: shown, never written
      ImGui::TextUnformatted(c.liveText);
      return 0;
    }
    entered = ImGui::InputText("##text", c.liveText, c.liveTextSize, enter);
  } else if (c.liveString) {
    entered = ImGui::InputText("##text", c.liveString, enter);
  } else if (isIntValued(c)) {
    int v = c.get_int_val();
    entered = ImGui::InputScalar("##number", ImGuiDataType_S32, &v, nullptr, nullptr, "%d", enter);
    if (entered) c.set_int_val(v);
  } else {
    float v = c.get_float_val();
    entered = ImGui::InputScalar("##number", ImGuiDataType_Float, &v, nullptr, nullptr, kFloatFormat, enter);
    if (entered) c.set_float_val(v);
  }
  if (!entered) return 0;
  c.execute_callback();
  return 1;
}

// A number field with arrows; both the arrows and a typed number (on Enter) act.
int drawSpinner(GLUI_Control& c) {
  labelAndWidth(c, spinnerLeastWidth());
  const ImGuiInputTextFlags enter = ImGuiInputTextFlags_EnterReturnsTrue;
  bool changed = false;
  if (isIntValued(c)) {
    int v = c.get_int_val();
    int step = std::max(1, static_cast<int>(std::lround(spinnerStep(c))));
    int fast = static_cast<int>(step * kSpinnerFastFactor);
    changed = ImGui::InputScalar("##number", ImGuiDataType_S32, &v, &step, &fast, "%d", enter);
    if (changed) c.set_int_val(v);
  } else {
    float v = c.get_float_val();
    float step = spinnerStep(c);
    float fast = step * kSpinnerFastFactor;
    changed = ImGui::InputScalar("##number", ImGuiDataType_Float, &v, &step, &fast, kFloatFormat, enter);
    if (changed) c.set_float_val(v);
  }
  if (!changed) return 0;
  c.execute_callback();
  return 1;
}

int drawListbox(GLUI_Control& c) {
  labelAndWidth(c);
  int chosen = c.get_int_val();
  const char* preview = "";
  for (const GLUI_Control::Item& item : c.items)
    if (item.id == chosen) preview = item.text.c_str();
  int acted = 0;
  if (ImGui::BeginCombo("##list", preview)) {
    for (size_t i = 0; i < c.items.size(); ++i) {
      ImGui::PushID(static_cast<int>(i));
      int itemId = c.items[i].id;
      if (ImGui::Selectable(c.items[i].text.c_str(), itemId == chosen)) {
        c.set_int_val(itemId);
        acted = 1;
      }
      ImGui::PopID();
    }
    ImGui::EndCombo();
  }
  // The entries may be gone now (a callback may rebuild the list): call back after the loop.
  if (acted) c.execute_callback();
  return acted;
}

}  // namespace

// The slider draws itself (glui_slider.cpp); a plain control of the slider kind is shown as a
// spinner.
int GLUI_Control::draw() {
  // Kept aside: a callback may enable or disable the control while it is drawn.
  const bool disabled = !enabled;
  if (disabled) ImGui::BeginDisabled();
  int acted = 0;
  switch (kind) {
    case kPanel: acted = drawPanel(*this); break;
    case kRollout: acted = drawRollout(*this); break;
    case kColumn: break;  // a place in its panel's layout, see drawChildren
    case kSeparator: ImGui::Separator(); break;
    case kStaticText: drawStaticText(*this); break;
    case kButton: acted = drawButton(*this); break;
    case kCheckbox: acted = drawCheckbox(*this); break;
    case kRadioGroup: acted = drawRadioGroup(*this); break;
    case kRadioButton: break;  // drawn by its group
    case kEditText: acted = drawEditText(*this); break;
    case kSpinner:
    case kSlider: acted = drawSpinner(*this); break;
    case kListbox: acted = drawListbox(*this); break;
  }
  if (disabled) ImGui::EndDisabled();
  return acted;
}

// ---------------------------------------------------------------------------------------------
// The window

GLUI::GLUI() : main_panel(new GLUI_Control(GLUI_Control::kPanel, "", -1, nullptr)) {
  main_panel->glui = this;
  main_panel->intVal = GLUI_PANEL_NONE;
}

GLUI::~GLUI() {
  delete main_panel;
  if (GLUI_Master.glui == this) GLUI_Master.glui = nullptr;
}

namespace {

// Makes a control a child of panel (the main panel when none is given) in glui's tree.
template <typename T>
T* attach(GLUI* glui, GLUI_Control* panel, T* c) {
  if (!panel) panel = glui->main_panel;
  glui->add_control(panel, c);
  return c;
}

GLUI_Control* makeControl(GLUI_Control::Kind kind, const char* name, int id, GLUI_Update_CB cb) {
  return new GLUI_Control(kind, name, id, cb);
}

}  // namespace

GLUI_Control* GLUI::add_separator() {
  return add_separator_to_panel(main_panel);
}
GLUI_Control* GLUI::add_separator_to_panel(GLUI_Control* panel) {
  return attach(this, panel, makeControl(GLUI_Control::kSeparator, "", -1, nullptr));
}

GLUI_Control* GLUI::add_statictext(const char* text) {
  return add_statictext_to_panel(main_panel, text);
}
GLUI_Control* GLUI::add_statictext_to_panel(GLUI_Control* panel, const char* text) {
  return attach(this, panel, makeControl(GLUI_Control::kStaticText, text, -1, nullptr));
}

GLUI_Control* GLUI::add_button(const char* name, int id, GLUI_Update_CB cb) {
  return add_button_to_panel(main_panel, name, id, cb);
}
GLUI_Control* GLUI::add_button_to_panel(GLUI_Control* panel, const char* name, int id, GLUI_Update_CB cb) {
  return attach(this, panel, makeControl(GLUI_Control::kButton, name, id, cb));
}

GLUI_Control* GLUI::add_checkbox(const char* name, int* live, int id, GLUI_Update_CB cb) {
  return add_checkbox_to_panel(main_panel, name, live, id, cb);
}
GLUI_Control* GLUI::add_checkbox_to_panel(GLUI_Control* panel, const char* name, int* live, int id,
                                          GLUI_Update_CB cb) {
  GLUI_Control* c = makeControl(GLUI_Control::kCheckbox, name, id, cb);
  bindLive(c, GLUI_LIVE_INT, live);
  return attach(this, panel, c);
}

GLUI_Control* GLUI::add_edittext(const char* name, int liveType, void* live, int id, GLUI_Update_CB cb) {
  return add_edittext_to_panel(main_panel, name, liveType, live, id, cb);
}
GLUI_Control* GLUI::add_edittext_to_panel(GLUI_Control* panel, const char* name, int liveType, void* live, int id,
                                          GLUI_Update_CB cb) {
  GLUI_Control* c = makeControl(GLUI_Control::kEditText, name, id, cb);
  bindLive(c, liveType, live);
  return attach(this, panel, c);
}
GLUI_Control* GLUI::add_edittext_to_panel(GLUI_Control* panel, const char* name, char* text, size_t size, int id,
                                          GLUI_Update_CB cb) {
  GLUI_Control* c = makeControl(GLUI_Control::kEditText, name, id, cb);
  bindLive(c, GLUI_LIVE_TEXT, text);
  if (text) c->liveTextSize = size;
  return attach(this, panel, c);
}

// A spinner holds a number: anything but an int is a float.
GLUI_Control* GLUI::add_spinner(const char* name, int liveType, void* live, int id, GLUI_Update_CB cb) {
  return add_spinner_to_panel(main_panel, name, liveType, live, id, cb);
}
GLUI_Control* GLUI::add_spinner_to_panel(GLUI_Control* panel, const char* name, int liveType, void* live, int id,
                                         GLUI_Update_CB cb) {
  GLUI_Control* c = makeControl(GLUI_Control::kSpinner, name, id, cb);
  bindLive(c, liveType == GLUI_SPINNER_INT ? GLUI_LIVE_INT : GLUI_LIVE_FLOAT, live);
  return attach(this, panel, c);
}

GLUI_Control* GLUI::add_listbox(const char* name, int* live, int id, GLUI_Update_CB cb) {
  return add_listbox_to_panel(main_panel, name, live, id, cb);
}
GLUI_Control* GLUI::add_listbox_to_panel(GLUI_Control* panel, const char* name, int* live, int id,
                                         GLUI_Update_CB cb) {
  GLUI_Control* c = makeControl(GLUI_Control::kListbox, name, id, cb);
  bindLive(c, GLUI_LIVE_INT, live);
  return attach(this, panel, c);
}

GLUI_Control* GLUI::add_radiogroup(int* live, int id, GLUI_Update_CB cb) {
  return add_radiogroup_to_panel(main_panel, live, id, cb);
}
GLUI_Control* GLUI::add_radiogroup_to_panel(GLUI_Control* panel, int* live, int id, GLUI_Update_CB cb) {
  GLUI_Control* c = makeControl(GLUI_Control::kRadioGroup, "", id, cb);
  bindLive(c, GLUI_LIVE_INT, live);
  return attach(this, panel, c);
}

// The button's number is kept as its value and as an entry of the group.
GLUI_Control* GLUI::add_radiobutton_to_group(GLUI_Control* group, const char* name) {
  if (!group || group->kind != GLUI_Control::kRadioGroup) return nullptr;
  int number = static_cast<int>(group->items.size());
  GLUI_Control* button = makeControl(GLUI_Control::kRadioButton, name, group->id, nullptr);
  button->intVal = number;
  button->floatVal = static_cast<float>(number);
  group->add_item(number, name);
  add_control(group, button);
  return button;
}

GLUI_Control* GLUI::add_rollout(const char* name, int open) {
  return add_rollout_to_panel(main_panel, name, open);
}
GLUI_Control* GLUI::add_rollout_to_panel(GLUI_Control* panel, const char* name, int open) {
  GLUI_Control* c = makeControl(GLUI_Control::kRollout, name, -1, nullptr);
  c->isOpen = open != 0;
  return attach(this, panel, c);
}

// A panel's type is kept as its value, as the panel library does.
GLUI_Control* GLUI::add_panel(const char* name, int type) {
  return add_panel_to_panel(main_panel, name, type);
}
GLUI_Control* GLUI::add_panel_to_panel(GLUI_Control* panel, const char* name, int type) {
  GLUI_Control* c = makeControl(GLUI_Control::kPanel, name, -1, nullptr);
  c->intVal = type;
  return attach(this, panel, c);
}

// Whether the column draws its bar is kept as its value.
GLUI_Control* GLUI::add_column(int drawBar) {
  return add_column_to_panel(main_panel, drawBar);
}
GLUI_Control* GLUI::add_column_to_panel(GLUI_Control* panel, int drawBar) {
  GLUI_Control* c = makeControl(GLUI_Control::kColumn, "", -1, nullptr);
  c->intVal = drawBar;
  return attach(this, panel, c);
}

GLUI_Slider* GLUI::add_slider(const char* name, int dataType, void* live, float low, float high, int id,
                              GLUI_Update_CB cb) {
  return add_slider_to_panel(main_panel, name, dataType, live, low, high, id, cb);
}

// The limits widen to take in the live value: a maximum below it becomes the value + 1, a
// minimum above it the value - 1. Then the value is clamped into them.
GLUI_Slider* GLUI::add_slider_to_panel(GLUI_Control* panel, const char* name, int dataType, void* live, float low,
                                       float high, int id, GLUI_Update_CB cb) {
  if (dataType != GLUI_LIVE_INT && dataType != GLUI_LIVE_FLOAT) return nullptr;
  auto* s = new GLUI_Slider(name, dataType, live, id, cb);
  attach(this, panel, s);
  if (dataType == GLUI_LIVE_INT) {
    int value = s->get_int_val();
    int intHigh = static_cast<int>(high), intLow = static_cast<int>(low);
    if (intHigh < value) intHigh = value + 1;
    if (intLow > value) intLow = value - 1;
    s->set_int_limits(intLow, intHigh, GLUI_LIMIT_CLAMP);
  } else {
    float value = s->get_float_val();
    if (high < value) high = value + 1.0f;
    if (low > value) low = value - 1.0f;
    s->set_float_limits(low, high, GLUI_LIMIT_CLAMP);
  }
  return s;
}

GLUI_Control* GLUI::remove_control(GLUI_Control* parent, int index) {
  if (!parent || index < 0 || index >= static_cast<int>(parent->children.size())) return nullptr;
  GLUI_Control* c = parent->children[static_cast<size_t>(index)];
  parent->children.erase(parent->children.begin() + index);
  c->parent = nullptr;
  ++treeChanges;
  return c;
}

// A control still standing elsewhere in a tree is taken out there first, so that no control
// has two owners.
void GLUI::add_control(GLUI_Control* parent, GLUI_Control* control) {
  if (!parent || !control || control == parent) return;
  if (GLUI_Control* old = control->parent) {
    auto& siblings = old->children;
    siblings.erase(std::remove(siblings.begin(), siblings.end(), control), siblings.end());
  }
  parent->children.push_back(control);
  control->parent = parent;
  ++treeChanges;
  setWindow(control, parent->glui ? parent->glui : this);
}

void GLUI::set_main_gfx_window(int window) {
  mainGfxWindow = window;
}

void GLUI::sync_live() {
  panelSync();
}

// The window's colours are laid over ImGui's own: the background as a rectangle under every
// control, the text colour for all the controls' texts.
int GLUI::draw() {
  // The whole window, out to its edges: the content's own clipping would leave a rim of ImGui's
  // colour.
  ImVec2 pos = ImGui::GetWindowPos(), size = ImGui::GetWindowSize();
  ImVec2 end(pos.x + size.x, pos.y + size.y);
  ImDrawList* list = ImGui::GetWindowDrawList();
  list->PushClipRect(pos, end, false);
  list->AddRectFilled(pos, end, ImGui::GetColorU32(colourOf(bkgdColor)));
  list->PopClipRect();
  ImGui::PushStyleColor(ImGuiCol_Text, colourOf(fgColor));
  ImGui::PushID(main_panel);
  int acted = main_panel->draw();
  ImGui::PopID();
  ImGui::PopStyleColor();
  // The panel's own window posts its parent's redraw; a window of its own has no parent,
  // so the picture is asked for here.
  if (acted && mainGfxWindow > 0 && glutGet(GLUT_INIT_STATE)) glutPostWindowRedisplay(mainGfxWindow);
  return acted;
}

// ---------------------------------------------------------------------------------------------
// The master

GLUI* GLUI_Master_Object::create_glui_subwindow(int window, int /*position: always the right*/) {
  if (glui) return nullptr;  // one panel window at a time
  auto* made = new GLUI;
  glui = made;
  int sub = panelCreate(window, kGluiPanelWidth, drawPanelWindow);
  if (!sub) {
    delete made;  // clears glui
    return nullptr;
  }
  made->glutWindow = sub;
  return made;
}

GLUI* GLUI_Master_Object::create_glui(const char* name, int /*flags*/, int x, int y) {
  if (glui) return nullptr;
  auto* made = new GLUI;
  glui = made;
  int win = panelCreateWindow(name ? name : "", kGluiPanelWidth, kGluiWindowHeight, drawPanelWindow);
  if (!win) {
    delete made;
    return nullptr;
  }
  made->glutWindow = win;
  if (x >= 0 && y >= 0) {
    WindowScope onPanel(win);
    glutPositionWindow(x, y);
  }
  return made;
}

void GLUI_Master_Object::get_viewport_area(int* x, int* y, int* w, int* h) {
  panelGetViewportArea(x, y, w, h);
}

void GLUI_Master_Object::close_all() {
  if (drawingPanel) {
    closeAsked = true;
    return;
  }
  panelDestroy();
  delete glui;  // clears glui
  glui = nullptr;
}
