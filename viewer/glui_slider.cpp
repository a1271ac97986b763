// The panel library's slider: an edit text with a track, stepping by growing amounts.
//
// The value lives in the control's live variable (or intVal / floatVal without one). An int
// slider steps a double, stepVal, of which the int shown is the floor: a slow step (speed 0.001,
// or Ctrl) then still adds up while an arrow is held, and the first move of a press (+1.0 up,
// -0.9 down) makes every single click move the int, below zero as well as above; a click whose
// own step is under a tenth moves it by exactly one.
#include "viewer/glui.h"

#include <GL/freeglut.h>
#include <imgui.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>

namespace {

// Track geometry in control coordinates (x from the control's left, y from its top), pixels.
constexpr int kTrackTopAboveH = 10;    // the track's top row is h - 10
constexpr int kTrackHitBelowH = 1;     // presses count down to row h + 1
constexpr int kTrackDrawBelowH = 3;    // the track is drawn down to row h + 3
constexpr int kArrowWidth = 8;         // each arrow takes the last 8 pixels at its end
constexpr int kTabWidth = 8;           // the tab stands from get_tab_x() + 8 for 8 pixels
constexpr int kTabTravelMargin = 24;   // the tab's left edge travels over w - 24 pixels
constexpr int kTabRightmostFromW = 23; // ... ending at w - 23
constexpr int kKeyPressRowAboveH = 5;  // where an arrow key presses the track
constexpr int kArrowKeyInset = 4;      // ... and how far in from each end
constexpr int kEditToTrackGap = 3;     // rows between the edit box and the track, at least
constexpr float kMinEditWidth = 40.0f; // the number box never narrower than this

// Stepping.
constexpr float kGrowthRangeDivisor = 800.0f;  // the first step: this part of the range
constexpr float kGrowthCapDivisor = 100.0f;    // steps stop growing at this part of the range
constexpr float kFreeFloatGrowthScale = 0.05f; // without limits: sqrt(|value|) times this
constexpr float kFreeIntGrowth = 0.4f;         // without limits, an int slider
constexpr float kMinGrowth = 0.001f;           // a step of 0 becomes this
constexpr float kShiftFactor = 100.0f;
constexpr float kCtrlFactor = 0.01f;
constexpr double kIntFirstMoveUp = 1.0;
constexpr double kIntFirstMoveDown = -0.9;

// Drawing: greys as fractions of full white.
constexpr float kHalftoneGrey = 0.706f;
constexpr float kHalftoneGreyDisabled = 0.627f;
constexpr float kPressedDarken = 0.5f;
constexpr float kRaisedGrey = 0.75f;      // arrows and tab
constexpr float kBorderLight = 0.95f;     // lit edge of raised and sunken shapes
constexpr float kBorderDark = 0.25f;      // shadowed edge
constexpr float kArrowInkGrey = 0.0f;     // the arrow heads
constexpr float kArrowInkDisabled = 0.45f;
constexpr float kColourScale = 255.0f;  // the panel's colours are 0 to 255
constexpr int kNumberTextSize = 64;
constexpr int kIdNameSize = 40;

// The slider that takes the arrow keys: the one last pressed, until a click elsewhere. Only
// ever compared, never followed.
const GLUI_Slider* keyFocus = nullptr;

bool isInt(const GLUI_Slider& s) { return s.dataType == GLUI_LIVE_INT; }
double lowLimit(const GLUI_Slider& s) { return isInt(s) ? s.intLow : s.floatLow; }
double highLimit(const GLUI_Slider& s) { return isInt(s) ? s.intHigh : s.floatHigh; }
int intValue(const GLUI_Slider& s) { return s.liveInt ? *s.liveInt : s.intVal; }
float floatValue(const GLUI_Slider& s) { return s.liveFloat ? *s.liveFloat : s.floatVal; }

// The value as shown: the int or the float.
double shownValue(const GLUI_Slider& s) { return isInt(s) ? intValue(s) : floatValue(s); }

// The value that steps move: for an int slider its stepVal, taken afresh from the int when
// someone else has changed that since.
double stepValue(GLUI_Slider& s) {
  if (!isInt(s)) return floatValue(s);
  const int v = intValue(s);
  if (std::floor(s.stepVal) != v) s.stepVal = v;
  return s.stepVal;
}

// Writes v, clamped to the limits, to the live variable (or the control's own value).
void setValue(GLUI_Slider& s, double v) {
  if (!std::isfinite(v)) return;
  if (s.hasLimits) v = std::clamp(v, lowLimit(s), highLimit(s));
  if (isInt(s)) {
    v = std::clamp(v, double(INT_MIN), double(INT_MAX));
    s.stepVal = v;
    const int iv = int(std::floor(v));
    if (s.liveInt) *s.liveInt = iv;
    s.intVal = iv;  // the control's own values mirror each other, as every number control's do
    s.floatVal = float(v);
  } else {
    const float fv = float(v);
    if (s.liveFloat) *s.liveFloat = fv;
    s.floatVal = fv;
    s.intVal = int(fv);
  }
}

// +1 for the parts right of the tab, -1 for those left of it, 0 for the tab and outside.
int directionOf(int part) {
  if (part == GLUI_Slider::kRightArrow || part == GLUI_Slider::kRightOfTab) return 1;
  if (part == GLUI_Slider::kLeftArrow || part == GLUI_Slider::kLeftOfTab) return -1;
  return 0;
}

// Asks the panel for another frame, so that the picture of the control follows its value and a
// held arrow keeps stepping. Nothing to ask outside a panel.
void redraw(const GLUI_Slider& s) {
  if (s.glui) s.glui->sync_live();
}

void setCursor(ImGuiMouseCursor cursor) {
  if (ImGui::GetCurrentContext()) ImGui::SetMouseCursor(cursor);
}

ImU32 grey(float level, float alpha = 1.0f) {
  return ImGui::ColorConvertFloat4ToU32(ImVec4(level, level, level, alpha));
}

// The colour of the window the control stands in: its panel's background, or ImGui's own.
ImU32 windowColour(const GLUI_Slider& s) {
  if (s.glui) {
    const float* c = s.glui->bkgdColor;
    return ImGui::ColorConvertFloat4ToU32(
        ImVec4(c[0] / kColourScale, c[1] / kColourScale, c[2] / kColourScale, 1.0f));
  }
  const ImVec4 bg = ImGui::GetStyleColorVec4(ImGuiCol_WindowBg);
  return ImGui::ColorConvertFloat4ToU32(ImVec4(bg.x, bg.y, bg.z, 1.0f));
}

// Fills the pixels x0..x1, y0..y1 (inclusive, control coordinates) of the control at origin.
void fillPixels(ImDrawList* dl, ImVec2 origin, int x0, int y0, int x1, int y1, ImU32 col) {
  if (x1 < x0 || y1 < y0) return;
  dl->AddRectFilled(ImVec2(origin.x + x0, origin.y + y0), ImVec2(origin.x + x1 + 1, origin.y + y1 + 1), col);
}

// A box with a lit top-left and a shadowed bottom-right edge (raised), or the reverse (sunken).
void drawBevel(ImDrawList* dl, ImVec2 o, int x0, int y0, int x1, int y1, bool raised) {
  const ImU32 topLeft = grey(raised ? kBorderLight : kBorderDark);
  const ImU32 bottomRight = grey(raised ? kBorderDark : kBorderLight);
  fillPixels(dl, o, x0, y0, x1, y0, topLeft);
  fillPixels(dl, o, x0, y0, x0, y1, topLeft);
  fillPixels(dl, o, x0, y1, x1, y1, bottomRight);
  fillPixels(dl, o, x1, y0, x1, y1, bottomRight);
}

// The halftone of the track: every other pixel, in a checker, between x0 and x1.
void drawHalftone(ImDrawList* dl, ImVec2 o, int x0, int y0, int x1, int y1, ImU32 col) {
  for (int y = y0; y <= y1; ++y)
    for (int x = x0 + ((x0 + y) & 1); x <= x1; x += 2) fillPixels(dl, o, x, y, x, y, col);
}

// One arrow button at x0..x1, its head pointing left (dir -1) or right (+1).
void drawArrow(ImDrawList* dl, ImVec2 o, int x0, int y0, int x1, int y1, int dir, bool pressed, bool enabled) {
  fillPixels(dl, o, x0, y0, x1, y1, grey(kRaisedGrey * (pressed ? kPressedDarken : 1.0f)));
  drawBevel(dl, o, x0, y0, x1, y1, !pressed);
  const float cy = o.y + (y0 + y1 + 1) * 0.5f;
  const float half = (y1 - y0) * 0.25f;
  const float left = o.x + x0 + 2.0f, right = o.x + x1 - 1.0f;
  const ImU32 ink = grey(enabled ? kArrowInkGrey : kArrowInkDisabled);
  if (dir < 0)
    dl->AddTriangleFilled(ImVec2(left, cy), ImVec2(right, cy - half), ImVec2(right, cy + half), ink);
  else
    dl->AddTriangleFilled(ImVec2(right, cy), ImVec2(left, cy + half), ImVec2(left, cy - half), ink);
}

// The focus outline: a dotted line, one pixel on and one off, round x0..x1, y0..y1.
void drawDottedOutline(ImDrawList* dl, ImVec2 o, int x0, int y0, int x1, int y1, ImU32 col) {
  for (int x = x0; x <= x1; x += 2) {
    fillPixels(dl, o, x, y0, x, y0, col);
    fillPixels(dl, o, x, y1, x, y1, col);
  }
  for (int y = y0; y <= y1; y += 2) {
    fillPixels(dl, o, x0, y, x0, y, col);
    fillPixels(dl, o, x1, y, x1, y, col);
  }
}

}  // namespace

GLUI_Slider::GLUI_Slider(const char* name, int type, void* live, int id, GLUI_Update_CB callback)
    : GLUI_Control(kSlider, name, id, callback), dataType(type) {
  w = kDefaultWidth;
  speed = 1.0f;
  // Only the two number types are sliders; any other type binds no live variable.
  if (dataType == GLUI_LIVE_INT) liveInt = static_cast<int*>(live);
  else if (dataType == GLUI_LIVE_FLOAT) liveFloat = static_cast<float*>(live);
  stepVal = intValue(*this);
}

int GLUI_Slider::find_slider(int x, int y) const {
  if (y < h - kTrackTopAboveH || y > h + kTrackHitBelowH || x < 1 || x > w) return kOutside;
  if (x <= kArrowWidth) return kLeftArrow;
  if (x > w - kArrowWidth) return kRightArrow;
  const int tab = get_tab_x();
  if (x < tab + kArrowWidth) return kLeftOfTab;
  if (x < tab + kArrowWidth + kTabWidth) return kTab;
  return kRightOfTab;
}

int GLUI_Slider::get_tab_x() const {
  const double low = lowLimit(*this), high = highLimit(*this);
  const int travel = w - kTabTravelMargin;
  // Equal limits leave the tab's place open; it then stands at the left end.
  if (!(high > low) || travel <= 0) return 1;
  const int x = int((shownValue(*this) - low) / (high - low) * travel + 0.5) + 1;
  return std::clamp(x, 1, w - kTabRightmostFromW);
}

void GLUI_Slider::set_tab_x(int x) {
  const double low = lowLimit(*this), high = highLimit(*this);
  const int travel = w - kTabTravelMargin;
  if (travel <= 0 || !hasLimits) return;  // no track to map a place onto
  x = std::clamp(x, 1, w - kTabRightmostFromW);
  const double f = double(x - 1) / travel;
  double v = low + f * (high - low);
  if (isInt(*this)) v = std::clamp(std::floor(v + 0.5), low, high);
  setValue(*this, v);
}

void GLUI_Slider::reset_growth() {
  if (hasLimits)
    growth = float((highLimit(*this) - lowLimit(*this)) / kGrowthRangeDivisor);
  else if (isInt(*this))
    growth = kFreeIntGrowth;
  else
    growth = std::sqrt(std::fabs(floatValue(*this))) * kFreeFloatGrowthScale;
  if (growth == 0.0f) growth = kMinGrowth;
}

void GLUI_Slider::increase_growth() {
  // The stored limits count even without hasLimits, so a slider without limits keeps its step.
  if (growth < float((highLimit(*this) - lowLimit(*this)) / kGrowthCapDivisor)) growth *= growthExp;
}

void GLUI_Slider::do_click(int modifier) {
  const int direction = directionOf(state);
  increase_growth();
  float factor = 1.0f;
  if (modifier & kShift) factor = kShiftFactor;
  else if (modifier & kCtrl) factor = kCtrlFactor;
  const float delta = growth * float(direction) * factor * speed;
  setValue(*this, stepValue(*this) + delta);
  if (delta != 0.0f) redraw(*this);
  ++callbackCount;
  do_callbacks();
}

void GLUI_Slider::do_callbacks() {
  if (isInt(*this)) {
    const int v = intValue(*this);
    if (!firstCallback && v == lastIntVal) return;
    execute_callback();
    lastIntVal = v;
  } else {
    const float v = floatValue(*this);
    if (!firstCallback && v == lastFloatVal) return;
    execute_callback();
    lastFloatVal = v;
  }
  firstCallback = 0;
}

void GLUI_Slider::mouse_down_handler(int x, int y, int modifier) {
  if (!enabled) return;
  lastX = x;
  lastY = y;
  state = find_slider(x, y);
  if (state == kOutside) return;
  if (state == kTab) {
    tabGrabX = x - (get_tab_x() + kArrowWidth);
    setCursor(ImGuiMouseCursor_ResizeEW);
    return;
  }
  reset_growth();
  redraw(*this);
  if (isInt(*this))
    setValue(*this, stepValue(*this) + (directionOf(state) > 0 ? kIntFirstMoveUp : kIntFirstMoveDown));
  do_click(modifier);
}

void GLUI_Slider::mouse_held_down_handler(int x, int y, int modifier) {
  if (state == kOutside) return;
  lastX = x;
  lastY = y;
  if (state == kTab) {
    set_tab_x(x - tabGrabX - kArrowWidth);
    redraw(*this);
    do_callbacks();
    return;
  }
  if (find_slider(x, y) == state) do_click(modifier);
}

void GLUI_Slider::mouse_up_handler(int x, int y) {
  lastX = x;
  lastY = y;
  state = kOutside;
  setCursor(ImGuiMouseCursor_Arrow);
  redraw(*this);
}

int GLUI_Slider::special_handler(int key, int modifier) {
  if (!enabled) return 0;
  const int row = h - kKeyPressRowAboveH;
  switch (key) {
    case GLUT_KEY_LEFT:
      mouse_down_handler(kArrowKeyInset, row, modifier);
      mouse_up_handler(kArrowKeyInset, row);
      return 1;
    case GLUT_KEY_RIGHT:
      mouse_down_handler(w - kArrowKeyInset, row, modifier);
      mouse_up_handler(w - kArrowKeyInset, row);
      return 1;
    case GLUT_KEY_HOME:
    case GLUT_KEY_END:
      return 1;  // taken, so that they don't move the view behind the panel; they do nothing
    default:
      return 0;
  }
}

bool GLUI_Slider::needs_idle() const { return directionOf(state) != 0; }

void GLUI_Slider::idle(int modifier) {
  if (needs_idle() && find_slider(lastX, lastY) == state) do_click(modifier);
}

int GLUI_Slider::draw() {
  if (!ImGui::GetCurrentContext()) return 0;
  const double before = shownValue(*this);
  ImGuiIO& io = ImGui::GetIO();
  const int modifier = (io.KeyShift ? kShift : kNoModifier) | (io.KeyCtrl ? kCtrl : kNoModifier);

  // The object's name in the panel library, "Slider: %p", serves as its ImGui id.
  char idName[kIdNameSize];
  std::snprintf(idName, sizeof idName, "Slider: %p", static_cast<void*>(this));
  ImGui::PushID(idName);
  ImGui::BeginGroup();
  ImVec2 origin = ImGui::GetCursorScreenPos();
  origin = ImVec2(std::floor(origin.x), std::floor(origin.y));
  // The track hangs under the edit box; a larger font pushes it down.
  h = std::max(int(kDefaultHeight), int(std::ceil(ImGui::GetFrameHeight())) + kEditToTrackGap + kTrackTopAboveH);

  ImGui::BeginDisabled(!enabled);
  // The label and the number.
  ImGui::AlignTextToFramePadding();
  ImGui::TextUnformatted(name.c_str());
  ImGui::SameLine();
  ImGui::SetNextItemWidth(std::max(kMinEditWidth, origin.x + w + 1 - ImGui::GetCursorScreenPos().x));
  char text[kNumberTextSize];
  if (isInt(*this)) std::snprintf(text, sizeof text, "%d", intValue(*this));
  else std::snprintf(text, sizeof text, "%g", double(floatValue(*this)));
  const ImGuiInputTextFlags flags = ImGuiInputTextFlags_EnterReturnsTrue | ImGuiInputTextFlags_AutoSelectAll |
                                    (isInt(*this) ? ImGuiInputTextFlags_CharsDecimal
                                                  : ImGuiInputTextFlags_CharsScientific);
  if (ImGui::InputText("##number", text, sizeof text, flags)) {
    // A number typed and entered moves the tab like a drag would; anything else is ignored
    // and the box shows the value again.
    char* end = nullptr;
    errno = 0;
    const double typed = std::strtod(text, &end);
    if (end != text && errno == 0 && std::isfinite(typed)) {
      setValue(*this, isInt(*this) ? std::round(typed) : typed);
      redraw(*this);
      do_callbacks();
    }
  }
  const bool editing = ImGui::IsItemActive();
  if (editing && keyFocus == this) keyFocus = nullptr;

  // The track, as a button of ImGui's so that a press on it doesn't move the window.
  const int top = h - kTrackTopAboveH, bottom = h + kTrackDrawBelowH;
  ImGui::SetCursorScreenPos(ImVec2(origin.x, origin.y + top));
  ImGui::InvisibleButton("##track", ImVec2(float(w + 1), float(bottom - top + 1)));
  const int mx = int(std::floor(io.MousePos.x - origin.x));
  const int my = int(std::floor(io.MousePos.y - origin.y));
  if (ImGui::IsItemActivated()) {
    mouse_down_handler(mx, my, modifier);
    if (state != kOutside) keyFocus = this;
  } else if (ImGui::IsItemActive()) {
    // A move is GLUT's motion (held); a still mouse is its idle: both step once a frame.
    if (mx != lastX || my != lastY) mouse_held_down_handler(mx, my, modifier);
    else idle(modifier);
  }
  if (ImGui::IsItemDeactivated()) mouse_up_handler(mx, my);
  if (state == kTab) ImGui::SetMouseCursor(ImGuiMouseCursor_ResizeEW);
  if (keyFocus == this && ImGui::IsMouseClicked(ImGuiMouseButton_Left) && !ImGui::IsItemActivated())
    keyFocus = nullptr;
  if (!enabled && keyFocus == this) keyFocus = nullptr;

  // Arrow keys step the slider that was pressed last; the panel then keeps them from the picture.
  if (keyFocus == this && !editing) {
    const ImGuiKey keys[] = {ImGuiKey_LeftArrow, ImGuiKey_RightArrow, ImGuiKey_Home, ImGuiKey_End};
    const int glutKeys[] = {GLUT_KEY_LEFT, GLUT_KEY_RIGHT, GLUT_KEY_HOME, GLUT_KEY_END};
    for (size_t i = 0; i < sizeof keys / sizeof keys[0]; ++i) {
      const int index = ImGui::GetKeyIndex(keys[i]);
      if (index >= 0 && index < int(sizeof io.KeysDown / sizeof io.KeysDown[0]) && ImGui::IsKeyPressed(index))
        special_handler(glutKeys[i], modifier);
    }
    ImGui::CaptureKeyboardFromApp(true);
  }
  ImGui::EndDisabled();

  // The picture of the track: sunken, in the window's colour, halftone between the arrows,
  // an arrow at each end and the raised tab; the pressed part darker.
  ImDrawList* dl = ImGui::GetWindowDrawList();
  fillPixels(dl, origin, 1, top, w, bottom, windowColour(*this));
  drawBevel(dl, origin, 1, top, w, bottom, false);
  const float tone = enabled ? kHalftoneGrey : kHalftoneGreyDisabled;
  const int tab = get_tab_x();
  const int tabLeft = tab + kArrowWidth, tabRight = tabLeft + kTabWidth - 1;
  const int inLeft = 1 + kArrowWidth, inRight = w - kArrowWidth, inTop = top + 1, inBottom = bottom - 1;
  drawHalftone(dl, origin, inLeft, inTop, tabLeft - 1, inBottom,
               grey(tone * (state == kLeftOfTab ? kPressedDarken : 1.0f)));
  drawHalftone(dl, origin, tabRight + 1, inTop, inRight, inBottom,
               grey(tone * (state == kRightOfTab ? kPressedDarken : 1.0f)));
  drawArrow(dl, origin, 1, top, kArrowWidth, bottom, -1, state == kLeftArrow, enabled);
  drawArrow(dl, origin, w - kArrowWidth + 1, top, w, bottom, 1, state == kRightArrow, enabled);
  fillPixels(dl, origin, tabLeft, top, tabRight, bottom,
             grey(kRaisedGrey * (state == kTab ? kPressedDarken : 1.0f)));
  drawBevel(dl, origin, tabLeft, top, tabRight, bottom, true);
  if (keyFocus == this)
    drawDottedOutline(dl, origin, 0, top - 1, w + 1, bottom + 1, ImGui::GetColorU32(ImGuiCol_Text));
  ImGui::EndGroup();
  ImGui::PopID();

  // A held arrow steps once a frame, so it needs frames to keep coming.
  if (needs_idle()) redraw(*this);
  return shownValue(*this) != before ? 1 : 0;
}
