// Tests of the panel's slider: the parts of its track, tab position, stepping, mouse, keys,
// callbacks and limits, and the control drawn by ImGui in a frame without any X server.
#include <GL/freeglut.h>
#include <gtest/gtest.h>
#include <imgui.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <vector>

#include "viewer/glui.h"

namespace {

// Geometry of a slider of the default size, as find_slider and get_tab_x see it.
constexpr int kW = GLUI_Slider::kDefaultWidth;   // 130
constexpr int kH = GLUI_Slider::kDefaultHeight;  // 32
constexpr int kRow = kH - 5;                      // a row inside the track
constexpr int kTravel = kW - 24;                  // 106 pixels of tab travel
constexpr int kTabMax = kW - 23;                  // 107
constexpr int kLeftArrowX = 4;
constexpr int kRightArrowX = kW - 4;

// What the callback saw: the ids, and the value of the watched live variable at each call.
struct CallbackLog {
  std::vector<int> ids;
  std::vector<double> values;
  const float* watchedFloat = nullptr;
  const int* watchedInt = nullptr;
};
CallbackLog logged;

void recordCallback(int id) {
  logged.ids.push_back(id);
  if (logged.watchedFloat) logged.values.push_back(*logged.watchedFloat);
  else if (logged.watchedInt) logged.values.push_back(*logged.watchedInt);
}

class SliderTest : public ::testing::Test {
 protected:
  void SetUp() override { logged = CallbackLog{}; }
  void TearDown() override { logged = CallbackLog{}; }

  // Gives a float slider its limits, clamping its value into them.
  static void limitFloat(GLUI_Slider& s, float low, float high) { s.set_float_limits(low, high); }
};

// The leftmost pixel of the tab for the present value.
int tabLeft(const GLUI_Slider& s) { return s.get_tab_x() + 8; }

// ---------------------------------------------------------------------------------------------
// Creation

TEST_F(SliderTest, NewSliderHasTheDefaultSizeAndState) {
  float value = 0.5f;
  GLUI_Slider s("Fovy:", GLUI_LIVE_FLOAT, &value, 30, recordCallback);
  EXPECT_EQ(s.w, 130);
  EXPECT_EQ(s.h, 32);
  EXPECT_EQ(s.name, "Fovy:");
  EXPECT_EQ(s.kind, GLUI_Control::kSlider);
  EXPECT_EQ(s.id, 30);
  EXPECT_EQ(s.state, GLUI_Slider::kOutside);
  EXPECT_EQ(s.lastX, -1);
  EXPECT_EQ(s.lastY, -1);
  EXPECT_FLOAT_EQ(s.growthExp, 1.05f);
  EXPECT_EQ(s.firstCallback, 1);
  EXPECT_EQ(s.callbackCount, 0);
  EXPECT_FLOAT_EQ(s.speed, 1.0f);
  EXPECT_EQ(s.liveFloat, &value);
  EXPECT_EQ(s.liveInt, nullptr);
  EXPECT_FALSE(s.needs_idle());
}

TEST_F(SliderTest, IntSliderBindsItsInt) {
  int year = 2000;
  GLUI_Slider s("star at year:", GLUI_LIVE_INT, &year, 51, recordCallback);
  EXPECT_EQ(s.liveInt, &year);
  EXPECT_EQ(s.liveFloat, nullptr);
  EXPECT_EQ(s.dataType, GLUI_LIVE_INT);
}

TEST_F(SliderTest, OtherTypesBindNoLiveVariable) {
  char text[8] = "abc";
  GLUI_Slider s("odd", GLUI_LIVE_TEXT, text, -1, nullptr);
  EXPECT_EQ(s.liveInt, nullptr);
  EXPECT_EQ(s.liveFloat, nullptr);
  EXPECT_EQ(s.liveText, nullptr);
}

TEST_F(SliderTest, AddSliderRefusesTypesOtherThanIntAndFloat) {
  GLUI glui;
  std::string text;
  EXPECT_EQ(glui.add_slider("x", GLUI_LIVE_STRING, &text, 0, 1), nullptr);
  EXPECT_EQ(glui.add_slider("x", GLUI_LIVE_TEXT, nullptr, 0, 1), nullptr);
  EXPECT_EQ(glui.add_slider("x", GLUI_LIVE_NONE, nullptr, 0, 1), nullptr);
  EXPECT_TRUE(glui.main_panel->children.empty());
}

// A live value outside the limits at creation widens them: a maximum below it becomes the value
// + 1, a minimum above it the value - 1; inside, the limits stay.
struct WideningCase {
  const char* what;
  int type;
  float live, low, high;
  float wantLow, wantHigh;
};

TEST_F(SliderTest, LiveValueOutsideTheLimitsWidensThemAtCreation) {
  const WideningCase cases[] = {
      {"float above", GLUI_LIVE_FLOAT, 5.0f, 0.0f, 1.0f, 0.0f, 6.0f},
      {"float below", GLUI_LIVE_FLOAT, -3.0f, 0.0f, 1.0f, -4.0f, 1.0f},
      {"float inside", GLUI_LIVE_FLOAT, 0.5f, 0.0f, 1.0f, 0.0f, 1.0f},
      {"float on the edge", GLUI_LIVE_FLOAT, 1.0f, 0.0f, 1.0f, 0.0f, 1.0f},
      {"int above", GLUI_LIVE_INT, 300, 0, 100, 0, 301},
      {"int below", GLUI_LIVE_INT, -250000, -200000, 200000, -250001, 200000},
      {"int inside", GLUI_LIVE_INT, 2000, -200000, 200000, -200000, 200000},
  };
  for (const WideningCase& c : cases) {
    SCOPED_TRACE(c.what);
    GLUI glui;
    float f = c.live;
    int i = int(c.live);
    void* live = c.type == GLUI_LIVE_INT ? static_cast<void*>(&i) : static_cast<void*>(&f);
    GLUI_Slider* s = glui.add_slider("s", c.type, live, c.low, c.high, 3, recordCallback);
    ASSERT_NE(s, nullptr);
    EXPECT_TRUE(s->hasLimits);
    if (c.type == GLUI_LIVE_INT) {
      EXPECT_EQ(s->intLow, int(c.wantLow));
      EXPECT_EQ(s->intHigh, int(c.wantHigh));
      EXPECT_EQ(i, int(c.live));  // the value itself is kept
    } else {
      EXPECT_FLOAT_EQ(s->floatLow, c.wantLow);
      EXPECT_FLOAT_EQ(s->floatHigh, c.wantHigh);
      EXPECT_FLOAT_EQ(f, c.live);
    }
    EXPECT_EQ(s->glui, &glui);
    EXPECT_TRUE(logged.ids.empty());  // making a slider calls nobody back
  }
}

// ---------------------------------------------------------------------------------------------
// The parts of the track

struct PartCase {
  int x, y, part;
};

TEST_F(SliderTest, FindSliderReportsThePartsAtTheirBoundaries) {
  float value = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &value, -1, nullptr);
  limitFloat(s, 0.0f, 1.0f);
  // (0.5 * 106 + 0.5) truncated + 1 = 54: the tab takes pixels 62 to 69.
  ASSERT_EQ(s.get_tab_x(), 54);
  const PartCase cases[] = {
      {0, kRow, GLUI_Slider::kOutside},         {1, kRow, GLUI_Slider::kLeftArrow},
      {8, kRow, GLUI_Slider::kLeftArrow},       {9, kRow, GLUI_Slider::kLeftOfTab},
      {61, kRow, GLUI_Slider::kLeftOfTab},      {62, kRow, GLUI_Slider::kTab},
      {69, kRow, GLUI_Slider::kTab},            {70, kRow, GLUI_Slider::kRightOfTab},
      {122, kRow, GLUI_Slider::kRightOfTab},    {123, kRow, GLUI_Slider::kRightArrow},
      {130, kRow, GLUI_Slider::kRightArrow},    {131, kRow, GLUI_Slider::kOutside},
      {-5, kRow, GLUI_Slider::kOutside},        {65, kH - 11, GLUI_Slider::kOutside},
      {65, kH - 10, GLUI_Slider::kTab},         {65, kH + 1, GLUI_Slider::kTab},
      {65, kH + 2, GLUI_Slider::kOutside},      {4, kH - 10, GLUI_Slider::kLeftArrow},
      {4, kH + 1, GLUI_Slider::kLeftArrow},     {126, kH + 1, GLUI_Slider::kRightArrow},
      {126, kH - 11, GLUI_Slider::kOutside},    {65, 5, GLUI_Slider::kOutside},
  };
  for (const PartCase& c : cases) {
    EXPECT_EQ(s.find_slider(c.x, c.y), c.part) << "at x " << c.x << ", y " << c.y;
  }
}

TEST_F(SliderTest, FindSliderFollowsTheWidth) {
  float value = 0.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &value, -1, nullptr);
  limitFloat(s, 0.0f, 1.0f);
  s.set_w(160);
  EXPECT_EQ(s.find_slider(152, kRow), GLUI_Slider::kRightOfTab);
  EXPECT_EQ(s.find_slider(153, kRow), GLUI_Slider::kRightArrow);
  EXPECT_EQ(s.find_slider(160, kRow), GLUI_Slider::kRightArrow);
  EXPECT_EQ(s.find_slider(161, kRow), GLUI_Slider::kOutside);
  // At the minimum the tab stands right after the left arrow.
  EXPECT_EQ(s.find_slider(9, kRow), GLUI_Slider::kTab);
  EXPECT_EQ(s.find_slider(16, kRow), GLUI_Slider::kTab);
  EXPECT_EQ(s.find_slider(17, kRow), GLUI_Slider::kRightOfTab);
}

// ---------------------------------------------------------------------------------------------
// Tab position

TEST_F(SliderTest, TabRunsFromOneToWidthLessTwentyThree) {
  float value = 0.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &value, -1, nullptr);
  limitFloat(s, 0.0f, 1.0f);
  EXPECT_EQ(s.get_tab_x(), 1);
  value = 1.0f;
  EXPECT_EQ(s.get_tab_x(), kTabMax);
  value = 0.25f;
  EXPECT_EQ(s.get_tab_x(), int(0.25 * kTravel + 0.5) + 1);
  // At the right end the tab's last pixel is the one before the right arrow.
  value = 1.0f;
  EXPECT_EQ(tabLeft(s) + 7, kW - 8);
}

TEST_F(SliderTest, TabPositionRoundTripsForFloatAndIntSliders) {
  float f = 0.0f;
  GLUI_Slider fs("f", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  limitFloat(fs, 0.1f, 3.0f);
  int i = 0;
  GLUI_Slider is("i", GLUI_LIVE_INT, &i, -1, nullptr);
  is.set_int_limits(-200000, 200000);
  for (int x = 1; x <= kTabMax; ++x) {
    fs.set_tab_x(x);
    EXPECT_EQ(fs.get_tab_x(), x) << "float slider, x " << x;
    is.set_tab_x(x);
    EXPECT_EQ(is.get_tab_x(), x) << "int slider, x " << x;
  }
}

TEST_F(SliderTest, SetTabXMapsPixelsOntoTheRange) {
  float f = 0.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  limitFloat(s, 0.0f, 179.9f);
  s.set_tab_x(1);
  EXPECT_FLOAT_EQ(f, 0.0f);
  s.set_tab_x(kTabMax);
  EXPECT_FLOAT_EQ(f, 179.9f);
  s.set_tab_x(54);
  EXPECT_FLOAT_EQ(f, float(53.0 / kTravel * 179.9));
  // Beyond the ends the tab stops there.
  s.set_tab_x(-40);
  EXPECT_FLOAT_EQ(f, 0.0f);
  s.set_tab_x(500);
  EXPECT_FLOAT_EQ(f, 179.9f);
}

TEST_F(SliderTest, IntSliderRoundsTheTabPlaceToTheNearestInt) {
  int i = 0;
  GLUI_Slider s("i", GLUI_LIVE_INT, &i, -1, nullptr);
  s.set_int_limits(0, 10);
  // Pixel 6: 5 / 106 * 10 = 0.47 rounds to 0; pixel 7: 0.57 rounds to 1.
  s.set_tab_x(6);
  EXPECT_EQ(i, 0);
  s.set_tab_x(7);
  EXPECT_EQ(i, 1);
  s.set_tab_x(kTabMax);
  EXPECT_EQ(i, 10);
  // Below zero too: -10 to 10, pixel 7 is -8.87, pixel 14 is -7.55.
  s.set_int_limits(-10, 10);
  s.set_tab_x(7);
  EXPECT_EQ(i, -9);
  s.set_tab_x(14);
  EXPECT_EQ(i, -8);
}

// The panels never give a slider equal limits; it still must not fall over: the tab stands at
// the left end, a place on the track means the one value there is, and an arrow moves nothing.
TEST_F(SliderTest, EqualLimitsLeaveTheTabAtTheLeftEnd) {
  float f = 2.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, recordCallback);
  limitFloat(s, 2.0f, 2.0f);
  EXPECT_EQ(s.get_tab_x(), 1);
  s.set_tab_x(60);
  EXPECT_FLOAT_EQ(f, 2.0f);
  EXPECT_EQ(s.find_slider(12, kRow), GLUI_Slider::kTab);
  s.reset_growth();
  EXPECT_FLOAT_EQ(s.growth, 0.001f);
  s.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kNoModifier);
  EXPECT_FLOAT_EQ(f, 2.0f);
  s.mouse_up_handler(kRightArrowX, kRow);
}

TEST_F(SliderTest, ANarrowSliderKeepsItsTabAtTheLeft) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  limitFloat(s, 0.0f, 1.0f);
  s.set_w(20);  // no room for the tab to travel
  EXPECT_EQ(s.get_tab_x(), 1);
  s.set_tab_x(5);
  EXPECT_FLOAT_EQ(f, 0.5f);
}

TEST_F(SliderTest, WithoutLimitsTheTabCannotSetAValue) {
  float f = 7.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  EXPECT_EQ(s.get_tab_x(), 1);
  s.set_tab_x(50);
  EXPECT_FLOAT_EQ(f, 7.5f);
}

// ---------------------------------------------------------------------------------------------
// Growth of the step

struct GrowthCase {
  const char* what;
  int type;
  bool limits;
  float low, high, value;
  float want;
};

TEST_F(SliderTest, ResetGrowthStartsFromTheRangeOrTheValue) {
  const GrowthCase cases[] = {
      {"limits, 1/800 of the range", GLUI_LIVE_FLOAT, true, 0.0f, 8.0f, 3.0f, 0.01f},
      {"limits of an int slider", GLUI_LIVE_INT, true, -200000, 200000, 0, 500.0f},
      {"no limits: sqrt of the value times 0.05", GLUI_LIVE_FLOAT, false, 0, 0, 4.0f, 0.1f},
      {"no limits: of its absolute value", GLUI_LIVE_FLOAT, false, 0, 0, -16.0f, 0.2f},
      {"no limits, int slider", GLUI_LIVE_INT, false, 0, 0, 9, 0.4f},
      {"no limits, value 0: zero becomes 0.001", GLUI_LIVE_FLOAT, false, 0, 0, 0.0f, 0.001f},
      {"equal limits: zero becomes 0.001", GLUI_LIVE_FLOAT, true, 1.0f, 1.0f, 1.0f, 0.001f},
  };
  for (const GrowthCase& c : cases) {
    SCOPED_TRACE(c.what);
    float f = c.value;
    int i = int(c.value);
    GLUI_Slider s("s", c.type, c.type == GLUI_LIVE_INT ? static_cast<void*>(&i) : static_cast<void*>(&f), -1,
                  nullptr);
    if (c.limits) s.set_float_limits(c.low, c.high);
    s.reset_growth();
    EXPECT_FLOAT_EQ(s.growth, c.want);
  }
}

TEST_F(SliderTest, IncreaseGrowthMultipliesUntilAHundredthOfTheRange) {
  float f = 50.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  limitFloat(s, 0.0f, 100.0f);
  s.reset_growth();
  EXPECT_FLOAT_EQ(s.growth, 0.125f);
  s.increase_growth();
  EXPECT_FLOAT_EQ(s.growth, 0.125f * 1.05f);
  for (int k = 0; k < 200; ++k) s.increase_growth();
  // It stops at the first step that reached 1 (100 / 100), never more than 1.05 times that.
  EXPECT_GE(s.growth, 1.0f);
  EXPECT_LT(s.growth, 1.05f);
  const float capped = s.growth;
  s.increase_growth();
  EXPECT_FLOAT_EQ(s.growth, capped);
}

TEST_F(SliderTest, WithoutLimitsTheStepDoesNotGrow) {
  float f = 4.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  s.reset_growth();
  for (int k = 0; k < 10; ++k) s.increase_growth();
  EXPECT_FLOAT_EQ(s.growth, 0.1f);
}

// ---------------------------------------------------------------------------------------------
// Stepping with the arrows and the track

// One click on the right arrow from 50 in 0 to 100: the step is 100 / 800 times 1.05, times the
// modifier's factor. Shift wins when both are held.
struct ModifierCase {
  const char* what;
  int modifier;
  double factor;
};

TEST_F(SliderTest, ShiftMovesAHundredTimesAsFarAndCtrlAHundredth) {
  const ModifierCase cases[] = {
      {"none", GLUI_Slider::kNoModifier, 1.0},
      {"shift", GLUI_Slider::kShift, 100.0},
      {"ctrl", GLUI_Slider::kCtrl, 0.01},
      {"shift and ctrl", GLUI_Slider::kShift | GLUI_Slider::kCtrl, 100.0},
  };
  const double step = 100.0 / 800.0 * 1.05;
  for (const ModifierCase& c : cases) {
    SCOPED_TRACE(c.what);
    float f = 50.0f;
    GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
    limitFloat(s, 0.0f, 100.0f);
    s.mouse_down_handler(kRightArrowX, kRow, c.modifier);
    s.mouse_up_handler(kRightArrowX, kRow);
    // Within the float's resolution at 50.
    EXPECT_NEAR(f - 50.0, step * c.factor, 1e-5);
    s.mouse_down_handler(kLeftArrowX, kRow, c.modifier);
    s.mouse_up_handler(kLeftArrowX, kRow);
    EXPECT_NEAR(f, 50.0, 1e-5);
  }
}

TEST_F(SliderTest, AFloatSliderAtSpeedPointTwoMovesAFifthAsFar) {
  float slow = 1.0f, fast = 1.0f;
  GLUI_Slider a("a", GLUI_LIVE_FLOAT, &slow, -1, nullptr);
  GLUI_Slider b("b", GLUI_LIVE_FLOAT, &fast, -1, nullptr);
  limitFloat(a, 0.1f, 3.0f);
  limitFloat(b, 0.1f, 3.0f);
  a.set_speed(0.2f);
  a.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kNoModifier);
  b.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kNoModifier);
  for (int k = 0; k < 10; ++k) {  // held: the steps grow alike
    a.idle(GLUI_Slider::kNoModifier);
    b.idle(GLUI_Slider::kNoModifier);
  }
  a.mouse_up_handler(kRightArrowX, kRow);
  b.mouse_up_handler(kRightArrowX, kRow);
  ASSERT_GT(fast, 1.0f);
  EXPECT_NEAR((slow - 1.0) / (fast - 1.0), 0.2, 1e-4);
}

struct DirectionCase {
  const char* what;
  int x;
  int sign;  // +1 up, -1 down, 0 no move
};

TEST_F(SliderTest, EachPartStepsItsWay) {
  const DirectionCase cases[] = {
      {"right arrow", kRightArrowX, 1}, {"right of the tab", 100, 1}, {"left arrow", kLeftArrowX, -1},
      {"left of the tab", 30, -1},      {"the tab", 65, 0},            {"outside", 0, 0},
  };
  for (const DirectionCase& c : cases) {
    SCOPED_TRACE(c.what);
    float f = 0.5f;
    GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
    limitFloat(s, 0.0f, 1.0f);
    ASSERT_EQ(tabLeft(s), 62);
    s.mouse_down_handler(c.x, kRow, GLUI_Slider::kNoModifier);
    if (c.sign > 0) {
      EXPECT_GT(f, 0.5f);
    } else if (c.sign < 0) {
      EXPECT_LT(f, 0.5f);
    } else {
      EXPECT_FLOAT_EQ(f, 0.5f);
    }
    EXPECT_EQ(s.needs_idle(), c.sign != 0);
    s.mouse_up_handler(c.x, kRow);
    EXPECT_FALSE(s.needs_idle());
    EXPECT_EQ(s.state, GLUI_Slider::kOutside);
  }
}

TEST_F(SliderTest, StepsStopAtTheLimits) {
  float f = 0.999f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 4, recordCallback);
  logged.watchedFloat = &f;
  limitFloat(s, 0.0f, 1.0f);
  s.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kShift);
  EXPECT_FLOAT_EQ(f, 1.0f);
  for (int k = 0; k < 5; ++k) s.idle(GLUI_Slider::kShift);
  s.mouse_up_handler(kRightArrowX, kRow);
  EXPECT_FLOAT_EQ(f, 1.0f);
  // The value stood still at the limit: one callback, for the first step.
  EXPECT_EQ(logged.ids, std::vector<int>({4}));
  EXPECT_EQ(s.callbackCount, 6);
}

TEST_F(SliderTest, HoldingAnArrowStepsFurtherAndFurther) {
  float f = 0.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  limitFloat(s, 0.0f, 100.0f);
  s.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kNoModifier);
  float previous = f, lastStep = f;
  for (int k = 0; k < 20; ++k) {
    s.idle(GLUI_Slider::kNoModifier);
    const float step = f - previous;
    EXPECT_GT(step, lastStep * 1.04f) << "step " << k;
    lastStep = step;
    previous = f;
  }
}

// The idle repeat works only while the pointer stays on the part first pressed.
TEST_F(SliderTest, IdleRepeatsOnlyOverThePressedPart) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  limitFloat(s, 0.0f, 1.0f);
  s.mouse_down_handler(100, kRow, GLUI_Slider::kNoModifier);  // right of the tab
  ASSERT_EQ(s.state, GLUI_Slider::kRightOfTab);
  float before = f;
  s.idle(GLUI_Slider::kNoModifier);
  EXPECT_GT(f, before);
  // Moved onto the right arrow: neither the move nor idle steps.
  before = f;
  s.mouse_held_down_handler(kRightArrowX, kRow, GLUI_Slider::kNoModifier);
  s.idle(GLUI_Slider::kNoModifier);
  EXPECT_FLOAT_EQ(f, before);
  EXPECT_EQ(s.lastX, kRightArrowX);
  // Back over the part: stepping again, on the move and in idle.
  s.mouse_held_down_handler(100, kRow, GLUI_Slider::kNoModifier);
  EXPECT_GT(f, before);
  before = f;
  s.idle(GLUI_Slider::kNoModifier);
  EXPECT_GT(f, before);
  // Off the track altogether.
  before = f;
  s.mouse_held_down_handler(100, kH + 6, GLUI_Slider::kNoModifier);
  s.idle(GLUI_Slider::kNoModifier);
  EXPECT_FLOAT_EQ(f, before);
  s.mouse_up_handler(100, kH + 6);
  before = f;
  s.idle(GLUI_Slider::kNoModifier);
  EXPECT_FLOAT_EQ(f, before);
}

TEST_F(SliderTest, APressOutsideDoesNothing) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 2, recordCallback);
  limitFloat(s, 0.0f, 1.0f);
  s.mouse_down_handler(65, 3, GLUI_Slider::kShift);
  EXPECT_EQ(s.state, GLUI_Slider::kOutside);
  EXPECT_EQ(s.lastX, 65);
  EXPECT_EQ(s.lastY, 3);
  s.mouse_held_down_handler(kRightArrowX, kRow, GLUI_Slider::kShift);
  s.idle(GLUI_Slider::kShift);
  EXPECT_FLOAT_EQ(f, 0.5f);
  EXPECT_TRUE(logged.ids.empty());
  EXPECT_EQ(s.callbackCount, 0);
}

TEST_F(SliderTest, ADisabledSliderTakesNoPressAndNoKey) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 2, recordCallback);
  limitFloat(s, 0.0f, 1.0f);
  s.disable();
  s.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kNoModifier);
  EXPECT_EQ(s.state, GLUI_Slider::kOutside);
  EXPECT_EQ(s.special_handler(GLUT_KEY_RIGHT, GLUI_Slider::kNoModifier), 0);
  EXPECT_FLOAT_EQ(f, 0.5f);
  EXPECT_TRUE(logged.ids.empty());
}

// ---------------------------------------------------------------------------------------------
// Int sliders

// One click always moves an int by at least one, in its direction, at every speed and from
// values below zero as well; where the step itself is below a tenth it moves by exactly one.
struct IntClickCase {
  int start;
  float speed;
  int modifier;
};

TEST_F(SliderTest, OneClickAlwaysMovesAnInt) {
  const int starts[] = {-200000 + 5, -1234, -5, -1, 0, 1, 5, 2000, 199990};
  const float speeds[] = {1.0f, 0.1f, 0.001f};
  const int modifiers[] = {GLUI_Slider::kNoModifier, GLUI_Slider::kCtrl};
  for (int start : starts)
    for (float speed : speeds)
      for (int modifier : modifiers)
        for (int x : {kLeftArrowX, kRightArrowX}) {
          int year = start;
          GLUI_Slider s("star at year:", GLUI_LIVE_INT, &year, -1, nullptr);
          s.set_int_limits(-200000, 200000);
          s.set_speed(speed);
          s.mouse_down_handler(x, kRow, modifier);
          s.mouse_up_handler(x, kRow);
          const double step = 400000.0 / 800.0 * 1.05 * speed * (modifier == GLUI_Slider::kCtrl ? 0.01 : 1.0);
          const int moved = year - start;
          SCOPED_TRACE(::testing::Message() << "from " << start << " at speed " << speed << " modifier "
                                            << modifier << " x " << x << ": moved " << moved);
          if (x == kRightArrowX) {
            EXPECT_GE(moved, 1);
          } else {
            EXPECT_LE(moved, -1);
          }
          if (step < 0.1) {
            EXPECT_EQ(std::abs(moved), 1);
          }
        }
}

TEST_F(SliderTest, SmallIntStepsAddUpWhileHeld) {
  int year = 2000;
  GLUI_Slider s("star at year:", GLUI_LIVE_INT, &year, 51, recordCallback);
  logged.watchedInt = &year;
  s.set_int_limits(-200000, 200000);
  s.set_speed(0.001f);
  s.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kNoModifier);
  EXPECT_EQ(year, 2001);  // 2000 + 1.0 + 0.525
  double expected = 2000.0 + 1.0;
  float growth = 500.0f * 1.05f;
  expected += growth * 0.001;
  for (int k = 0; k < 10; ++k) {
    s.idle(GLUI_Slider::kNoModifier);
    growth *= 1.05f;
    expected += growth * 0.001;
  }
  s.mouse_up_handler(kRightArrowX, kRow);
  EXPECT_EQ(year, int(std::floor(expected)));
  EXPECT_GT(year, 2007);
  // A callback for each new int, none for the steps that stayed within one.
  ASSERT_FALSE(logged.values.empty());
  for (size_t k = 1; k < logged.values.size(); ++k) EXPECT_NE(logged.values[k], logged.values[k - 1]);
  EXPECT_EQ(logged.values.back(), year);
}

TEST_F(SliderTest, AnIntChangedElsewhereIsWhereTheNextStepStarts) {
  int n = 5;
  GLUI_Slider s("n", GLUI_LIVE_INT, &n, -1, nullptr);
  s.set_int_limits(0, 100);
  s.mouse_down_handler(kLeftArrowX, kRow, GLUI_Slider::kCtrl);  // 5 - 0.9 - tiny: 4
  s.mouse_up_handler(kLeftArrowX, kRow);
  EXPECT_EQ(n, 4);
  n = 50;  // the program moves it
  s.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kCtrl);
  s.mouse_up_handler(kRightArrowX, kRow);
  EXPECT_EQ(n, 51);
  EXPECT_EQ(s.get_int_val(), 51);
}

TEST_F(SliderTest, AnIntSliderWithoutALiveVariableKeepsItsOwnValue) {
  GLUI_Slider s("n", GLUI_LIVE_INT, nullptr, -1, nullptr);
  s.set_int_limits(0, 10);
  s.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kNoModifier);
  s.mouse_up_handler(kRightArrowX, kRow);
  EXPECT_EQ(s.intVal, 1);
  EXPECT_EQ(s.get_int_val(), 1);
}

// ---------------------------------------------------------------------------------------------
// Dragging the tab

TEST_F(SliderTest, DraggingTheTabMovesItWithThePointer) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 9, recordCallback);
  logged.watchedFloat = &f;
  limitFloat(s, 0.0f, 1.0f);
  const int grab = tabLeft(s) + 3;
  s.mouse_down_handler(grab, kRow, GLUI_Slider::kNoModifier);
  EXPECT_EQ(s.state, GLUI_Slider::kTab);
  EXPECT_EQ(s.tabGrabX, 3);
  EXPECT_FALSE(s.needs_idle());
  EXPECT_FLOAT_EQ(f, 0.5f);  // a press on the tab moves nothing
  EXPECT_TRUE(logged.ids.empty());
  s.mouse_held_down_handler(grab + 20, kRow, GLUI_Slider::kNoModifier);
  EXPECT_EQ(s.get_tab_x(), 54 + 20);
  EXPECT_FLOAT_EQ(f, float(73.0 / kTravel));
  // The drag goes on off the track, and past the end the tab stops there.
  s.mouse_held_down_handler(grab + 30, kH + 40, GLUI_Slider::kNoModifier);
  EXPECT_EQ(s.get_tab_x(), 54 + 30);
  s.mouse_held_down_handler(grab + 300, kRow, GLUI_Slider::kNoModifier);
  EXPECT_FLOAT_EQ(f, 1.0f);
  EXPECT_EQ(s.get_tab_x(), kTabMax);
  s.idle(GLUI_Slider::kNoModifier);  // the tab needs no idle
  EXPECT_FLOAT_EQ(f, 1.0f);
  s.mouse_up_handler(grab + 300, kRow);
  EXPECT_EQ(s.state, GLUI_Slider::kOutside);
  EXPECT_EQ(logged.ids, std::vector<int>({9, 9, 9}));
  EXPECT_FLOAT_EQ(float(logged.values.back()), 1.0f);
}

TEST_F(SliderTest, ADragEndingAtItsStartValueSendsNoFurtherCallback) {
  float f = float(53.0 / kTravel);  // on a pixel: the tab stands at 54
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 9, recordCallback);
  logged.watchedFloat = &f;
  limitFloat(s, 0.0f, 1.0f);
  ASSERT_EQ(s.get_tab_x(), 54);
  // The value has been passed on once already.
  s.do_callbacks();
  ASSERT_EQ(logged.ids.size(), 1u);
  const int grab = tabLeft(s) + 2;
  // A drag that wanders about without leaving the value calls nobody.
  s.mouse_down_handler(grab, kRow, GLUI_Slider::kNoModifier);
  s.mouse_held_down_handler(grab, kRow - 3, GLUI_Slider::kNoModifier);
  s.mouse_held_down_handler(grab, kH + 20, GLUI_Slider::kNoModifier);
  s.mouse_held_down_handler(grab, kRow, GLUI_Slider::kNoModifier);
  s.mouse_up_handler(grab, kRow);
  EXPECT_EQ(logged.ids.size(), 1u);
  EXPECT_FLOAT_EQ(f, float(53.0 / kTravel));
  // Away and back: a callback for each value, and none at the release.
  s.mouse_down_handler(grab, kRow, GLUI_Slider::kNoModifier);
  s.mouse_held_down_handler(grab + 10, kRow, GLUI_Slider::kNoModifier);
  s.mouse_held_down_handler(grab + 10, kRow + 1, GLUI_Slider::kNoModifier);
  s.mouse_held_down_handler(grab, kRow, GLUI_Slider::kNoModifier);
  s.mouse_held_down_handler(grab, kRow, GLUI_Slider::kNoModifier);
  s.mouse_up_handler(grab, kRow);
  EXPECT_EQ(logged.ids.size(), 3u);
  EXPECT_FLOAT_EQ(float(logged.values.back()), float(53.0 / kTravel));
  EXPECT_FLOAT_EQ(s.lastFloatVal, float(53.0 / kTravel));
}

TEST_F(SliderTest, DraggingAnIntSliderGivesWholeNumbers) {
  int n = 0;
  GLUI_Slider s("n", GLUI_LIVE_INT, &n, -1, nullptr);
  s.set_int_limits(0, 10);
  s.mouse_down_handler(10, kRow, GLUI_Slider::kNoModifier);
  ASSERT_EQ(s.state, GLUI_Slider::kTab);
  s.mouse_held_down_handler(10 + 53, kRow, GLUI_Slider::kNoModifier);  // halfway: 5
  EXPECT_EQ(n, 5);
  s.mouse_up_handler(63, kRow);
}

// ---------------------------------------------------------------------------------------------
// Callbacks

TEST_F(SliderTest, TheFirstCallbackIsAlwaysSentThenOnlyNewValues) {
  float f = 0.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 12, recordCallback);
  ASSERT_FLOAT_EQ(s.lastFloatVal, 0.0f);
  s.do_callbacks();  // equal to the last value, but the first
  EXPECT_EQ(logged.ids, std::vector<int>({12}));
  EXPECT_EQ(s.firstCallback, 0);
  s.do_callbacks();
  EXPECT_EQ(logged.ids.size(), 1u);
  f = 0.25f;
  s.do_callbacks();
  EXPECT_EQ(logged.ids.size(), 2u);
  EXPECT_FLOAT_EQ(s.lastFloatVal, 0.25f);
  s.do_callbacks();
  EXPECT_EQ(logged.ids.size(), 2u);
}

TEST_F(SliderTest, IntCallbacksCompareTheInt) {
  int n = 3;
  GLUI_Slider s("n", GLUI_LIVE_INT, &n, 13, recordCallback);
  s.do_callbacks();
  s.do_callbacks();
  EXPECT_EQ(logged.ids.size(), 1u);
  EXPECT_EQ(s.lastIntVal, 3);
  n = 4;
  s.do_callbacks();
  EXPECT_EQ(logged.ids.size(), 2u);
  EXPECT_EQ(s.lastIntVal, 4);
}

TEST_F(SliderTest, EveryStepCountsButOnlyChangesCallBack) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 5, recordCallback);
  limitFloat(s, 0.0f, 1.0f);
  s.state = GLUI_Slider::kTab;  // a step with no direction
  s.reset_growth();
  s.do_click(GLUI_Slider::kNoModifier);
  s.do_click(GLUI_Slider::kNoModifier);
  EXPECT_EQ(s.callbackCount, 2);
  EXPECT_EQ(logged.ids.size(), 1u);  // the first only
  EXPECT_FLOAT_EQ(f, 0.5f);
  s.state = GLUI_Slider::kRightArrow;
  s.do_click(GLUI_Slider::kNoModifier);
  EXPECT_EQ(s.callbackCount, 3);
  EXPECT_EQ(logged.ids.size(), 2u);
}

TEST_F(SliderTest, ASliderWithoutCallbackStillSteps) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  limitFloat(s, 0.0f, 1.0f);
  s.mouse_down_handler(kRightArrowX, kRow, GLUI_Slider::kNoModifier);
  s.mouse_up_handler(kRightArrowX, kRow);
  EXPECT_GT(f, 0.5f);
  EXPECT_EQ(s.firstCallback, 0);
  EXPECT_FLOAT_EQ(s.lastFloatVal, f);
}

// ---------------------------------------------------------------------------------------------
// Keys

TEST_F(SliderTest, ArrowKeysActAsAClickOnTheArrows) {
  float f = 50.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 8, recordCallback);
  limitFloat(s, 0.0f, 100.0f);
  const double step = 100.0 / 800.0 * 1.05;
  EXPECT_EQ(s.special_handler(GLUT_KEY_RIGHT, GLUI_Slider::kNoModifier), 1);
  EXPECT_NEAR(f, 50.0 + step, 1e-4);
  EXPECT_EQ(s.state, GLUI_Slider::kOutside);  // pressed and released
  EXPECT_EQ(s.special_handler(GLUT_KEY_LEFT, GLUI_Slider::kNoModifier), 1);
  EXPECT_NEAR(f, 50.0, 1e-4);
  EXPECT_EQ(s.special_handler(GLUT_KEY_LEFT, GLUI_Slider::kShift), 1);
  EXPECT_NEAR(f, 50.0 - 100.0 * step, 1e-3);
  EXPECT_EQ(logged.ids, std::vector<int>({8, 8, 8}));
}

TEST_F(SliderTest, ArrowKeysOnAnIntSliderMoveByOne) {
  int n = 5;
  GLUI_Slider s("n", GLUI_LIVE_INT, &n, -1, nullptr);
  s.set_int_limits(-10, 10);
  s.special_handler(GLUT_KEY_LEFT, GLUI_Slider::kNoModifier);
  EXPECT_EQ(n, 4);
  s.special_handler(GLUT_KEY_RIGHT, GLUI_Slider::kNoModifier);
  EXPECT_EQ(n, 5);
}

struct KeyCase {
  const char* what;
  int key;
  int taken;
};

TEST_F(SliderTest, HomeAndEndAreTakenAndDoNothingOtherKeysAreLeft) {
  const KeyCase cases[] = {
      {"Home", GLUT_KEY_HOME, 1},     {"End", GLUT_KEY_END, 1},         {"Up", GLUT_KEY_UP, 0},
      {"Down", GLUT_KEY_DOWN, 0},     {"Page Up", GLUT_KEY_PAGE_UP, 0}, {"F1", GLUT_KEY_F1, 0},
  };
  for (const KeyCase& c : cases) {
    SCOPED_TRACE(c.what);
    float f = 0.5f;
    GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 8, recordCallback);
    limitFloat(s, 0.0f, 1.0f);
    EXPECT_EQ(s.special_handler(c.key, GLUI_Slider::kNoModifier), c.taken);
    EXPECT_FLOAT_EQ(f, 0.5f);
    EXPECT_EQ(s.callbackCount, 0);
    EXPECT_TRUE(logged.ids.empty());
  }
}

// ---------------------------------------------------------------------------------------------
// Drawn by ImGui, without X: a context with a font, frames with the mouse set between them.

class SliderDrawTest : public SliderTest {
 protected:
  static constexpr int kLeftKeyIndex = 256 + GLUT_KEY_LEFT;
  static constexpr int kRightKeyIndex = 256 + GLUT_KEY_RIGHT;
  static constexpr int kEnterKeyIndex = 13;

  void SetUp() override {
    SliderTest::SetUp();
    ImGui::CreateContext();
    ImGuiIO& io = ImGui::GetIO();
    io.DisplaySize = ImVec2(300, 200);
    io.DeltaTime = 1.0f / 60.0f;
    io.IniFilename = nullptr;
    unsigned char* pixels = nullptr;
    int width = 0, height = 0;
    io.Fonts->GetTexDataAsRGBA32(&pixels, &width, &height);
    io.KeyMap[ImGuiKey_LeftArrow] = kLeftKeyIndex;
    io.KeyMap[ImGuiKey_RightArrow] = kRightKeyIndex;
    io.KeyMap[ImGuiKey_Enter] = kEnterKeyIndex;
  }
  void TearDown() override {
    ImGui::DestroyContext();
    SliderTest::TearDown();
  }

  // One frame with the slider in a window; returns what draw returned and keeps the
  // control's origin on the screen and the window's draw list's colours.
  int frame(GLUI_Control& c) {
    ImGui::NewFrame();
    ImGui::SetNextWindowPos(ImVec2(0, 0));
    ImGui::SetNextWindowSize(ImGui::GetIO().DisplaySize);
    ImGui::Begin("panel", nullptr, ImGuiWindowFlags_NoTitleBar | ImGuiWindowFlags_NoMove);
    origin = ImGui::GetCursorScreenPos();
    const int result = c.draw();
    colours.clear();
    vertices.clear();
    for (const ImDrawVert& v : ImGui::GetWindowDrawList()->VtxBuffer) {
      colours.push_back(v.col);
      vertices.push_back(v);
    }
    ImGui::End();
    ImGui::Render();
    return result;
  }
  // Puts the mouse at control coordinates (x, y).
  void mouseAt(int x, int y) {
    ImGui::GetIO().MousePos = ImVec2(origin.x + x + 0.5f, origin.y + y + 0.5f);
  }
  int typeAndEnter(GLUI_Slider& s, const char* typed);
  bool drawnIn(unsigned r, unsigned g, unsigned b) const {
    const ImU32 want = IM_COL32(r, g, b, 255);
    for (ImU32 c : colours)
      if (c == want) return true;
    return false;
  }

  ImVec2 origin;
  std::vector<ImU32> colours;
  std::vector<ImDrawVert> vertices;
};

TEST_F(SliderDrawTest, HoldingTheRightArrowStepsEveryFrameAndCallsBack) {
  float f = 1.0f;
  GLUI_Slider s("Aspect Ratio:", GLUI_LIVE_FLOAT, &f, 31, recordCallback);
  logged.watchedFloat = &f;
  s.set_float_limits(0.1f, 3.0f);
  ImGuiIO& io = ImGui::GetIO();
  EXPECT_EQ(frame(s), 0);
  mouseAt(kRightArrowX, kRow);
  EXPECT_EQ(frame(s), 0);  // hovering moves nothing
  io.MouseDown[0] = true;
  std::vector<float> seen;
  for (int k = 0; k < 5; ++k) {
    EXPECT_EQ(frame(s), 1) << "frame " << k;
    seen.push_back(f);
  }
  EXPECT_EQ(s.state, GLUI_Slider::kRightArrow);
  io.MouseDown[0] = false;
  EXPECT_EQ(frame(s), 0);
  EXPECT_EQ(s.state, GLUI_Slider::kOutside);
  EXPECT_EQ(frame(s), 0);
  for (size_t k = 1; k < seen.size(); ++k) EXPECT_GT(seen[k], seen[k - 1]);
  EXPECT_GT(f, 1.0f);
  EXPECT_EQ(logged.ids, std::vector<int>(5, 31));
  EXPECT_FLOAT_EQ(float(logged.values.back()), f);
}

TEST_F(SliderDrawTest, ShiftHeldInImGuiMakesTheStepAHundredTimesLarger) {
  float f = 50.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  s.set_float_limits(0.0f, 100.0f);
  ImGuiIO& io = ImGui::GetIO();
  frame(s);
  mouseAt(kLeftArrowX, kRow);
  io.KeyShift = true;
  frame(s);
  io.MouseDown[0] = true;
  frame(s);
  EXPECT_NEAR(f, 50.0 - 100.0 * (100.0 / 800.0 * 1.05), 1e-3);
  io.MouseDown[0] = false;
  io.KeyShift = false;
  frame(s);
}

TEST_F(SliderDrawTest, DraggingTheTabInImGui) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 21, recordCallback);
  s.set_float_limits(0.0f, 1.0f);
  ImGuiIO& io = ImGui::GetIO();
  frame(s);
  const int grab = tabLeft(s) + 4;
  mouseAt(grab, kRow);
  frame(s);
  io.MouseDown[0] = true;
  frame(s);
  EXPECT_EQ(s.state, GLUI_Slider::kTab);
  frame(s);  // held still: nothing moves
  EXPECT_FLOAT_EQ(f, 0.5f);
  EXPECT_TRUE(logged.ids.empty());
  mouseAt(grab - 30, kRow + 20);  // off the track, still dragging
  EXPECT_EQ(frame(s), 1);
  EXPECT_EQ(s.get_tab_x(), 54 - 30);
  io.MouseDown[0] = false;
  frame(s);
  EXPECT_EQ(s.state, GLUI_Slider::kOutside);
  EXPECT_EQ(logged.ids, std::vector<int>({21}));
}

TEST_F(SliderDrawTest, ANumberTypedAndEnteredMovesTheValueClamped) {
  float f = 1.0f;
  GLUI_Slider s("Fovy:", GLUI_LIVE_FLOAT, &f, 30, recordCallback);
  logged.watchedFloat = &f;
  s.set_float_limits(0.0f, 179.9f);
  ImGuiIO& io = ImGui::GetIO();
  frame(s);
  for (const char* typed : {"45.5", "500"}) {
    SCOPED_TRACE(typed);
    // Click into the number box on the right of the first row (Enter leaves it each time).
    mouseAt(s.w - 10, 8);
    frame(s);
    io.MouseDown[0] = true;
    frame(s);
    io.MouseDown[0] = false;
    frame(s);
    io.KeyCtrl = true;  // select all that is there
    io.KeysDown[int('A')] = true;
    io.KeyMap[ImGuiKey_A] = 'A';
    frame(s);
    io.KeysDown[int('A')] = false;
    io.KeyCtrl = false;
    frame(s);
    for (const char* p = typed; *p; ++p) io.AddInputCharacter(static_cast<unsigned>(*p));
    frame(s);
    io.KeysDown[kEnterKeyIndex] = true;
    const int result = frame(s);
    io.KeysDown[kEnterKeyIndex] = false;
    EXPECT_EQ(result, 1);
    frame(s);
  }
  EXPECT_FLOAT_EQ(f, 179.9f);  // 500 clamped
  ASSERT_EQ(logged.values.size(), 2u);
  EXPECT_FLOAT_EQ(float(logged.values[0]), 45.5f);
  EXPECT_FLOAT_EQ(float(logged.values[1]), 179.9f);
  EXPECT_EQ(s.get_tab_x(), kTabMax);
}

// Types text into the number box of s and presses Enter; returns what draw returned then.
int SliderDrawTest::typeAndEnter(GLUI_Slider& s, const char* typed) {
  ImGuiIO& io = ImGui::GetIO();
  mouseAt(s.w - 10, 8);
  frame(s);
  io.MouseDown[0] = true;
  frame(s);
  io.MouseDown[0] = false;
  frame(s);
  io.KeyCtrl = true;
  io.KeysDown[int('A')] = true;
  io.KeyMap[ImGuiKey_A] = 'A';
  frame(s);
  io.KeysDown[int('A')] = false;
  io.KeyCtrl = false;
  frame(s);
  for (const char* p = typed; *p; ++p) io.AddInputCharacter(static_cast<unsigned>(*p));
  frame(s);
  io.KeysDown[kEnterKeyIndex] = true;
  const int result = frame(s);
  io.KeysDown[kEnterKeyIndex] = false;
  frame(s);
  return result;
}

TEST_F(SliderDrawTest, ANumberTypedIntoAnIntSliderIsRounded) {
  int year = 2000;
  GLUI_Slider s("star at year:", GLUI_LIVE_INT, &year, 51, recordCallback);
  s.set_int_limits(-200000, 200000);
  frame(s);
  EXPECT_EQ(typeAndEnter(s, "-1234.6"), 1);
  EXPECT_EQ(year, -1235);
  EXPECT_EQ(typeAndEnter(s, "-300000"), 1);
  EXPECT_EQ(year, -200000);
  EXPECT_EQ(logged.ids, std::vector<int>({51, 51}));
}

TEST_F(SliderDrawTest, TextThatIsNoNumberLeavesTheValue) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 3, recordCallback);
  s.set_float_limits(0.0f, 1.0f);
  frame(s);
  for (const char* typed : {"-", "e", "1e999", "-e"}) {
    SCOPED_TRACE(typed);
    EXPECT_EQ(typeAndEnter(s, typed), 0);
    EXPECT_FLOAT_EQ(f, 0.5f);
    EXPECT_TRUE(logged.ids.empty());
  }
  EXPECT_TRUE(logged.ids.empty());
  // Entering the value it already has passes it on once, as the first callback.
  EXPECT_EQ(typeAndEnter(s, "0.5"), 0);
  EXPECT_EQ(logged.ids, std::vector<int>({3}));
  EXPECT_EQ(typeAndEnter(s, "0.5"), 0);
  EXPECT_EQ(logged.ids.size(), 1u);
}

TEST_F(SliderDrawTest, ArrowKeysStepTheSliderLastPressed) {
  float f = 50.0f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, 6, recordCallback);
  s.set_float_limits(0.0f, 100.0f);
  ImGuiIO& io = ImGui::GetIO();
  frame(s);
  // Keys before any press belong to somebody else.
  io.KeysDown[kRightKeyIndex] = true;
  frame(s);
  io.KeysDown[kRightKeyIndex] = false;
  frame(s);
  EXPECT_FLOAT_EQ(f, 50.0f);
  // A press on the tab gives the slider the keys, and a dotted outline.
  mouseAt(tabLeft(s) + 2, kRow);
  frame(s);
  io.MouseDown[0] = true;
  frame(s);
  io.MouseDown[0] = false;
  frame(s);
  EXPECT_FLOAT_EQ(f, 50.0f);
  io.KeysDown[kRightKeyIndex] = true;
  frame(s);
  io.KeysDown[kRightKeyIndex] = false;
  frame(s);
  EXPECT_NEAR(f, 50.0 + 100.0 / 800.0 * 1.05, 1e-4);
  EXPECT_TRUE(io.WantCaptureKeyboard);
  io.KeysDown[kLeftKeyIndex] = true;
  frame(s);
  io.KeysDown[kLeftKeyIndex] = false;
  frame(s);
  EXPECT_NEAR(f, 50.0, 1e-4);
  // A click elsewhere takes the keys away again.
  mouseAt(s.w + 40, 150);
  frame(s);
  io.MouseDown[0] = true;
  frame(s);
  io.MouseDown[0] = false;
  frame(s);
  io.KeysDown[kRightKeyIndex] = true;
  frame(s);
  io.KeysDown[kRightKeyIndex] = false;
  frame(s);
  EXPECT_NEAR(f, 50.0, 1e-4);
}

TEST_F(SliderDrawTest, TheHalftoneIsGreyAndDarkerWherePressed) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  s.set_float_limits(0.0f, 1.0f);
  frame(s);
  // 0.706 enabled, 0.627 disabled, of 255.
  EXPECT_TRUE(drawnIn(180, 180, 180));
  EXPECT_FALSE(drawnIn(160, 160, 160));
  EXPECT_FALSE(drawnIn(90, 90, 90));
  // Held right of the tab: that part's halftone is half as bright.
  ImGuiIO& io = ImGui::GetIO();
  mouseAt(100, kRow);
  frame(s);
  io.MouseDown[0] = true;
  frame(s);
  EXPECT_TRUE(drawnIn(90, 90, 90));
  EXPECT_TRUE(drawnIn(180, 180, 180));  // the part left of the tab isn't pressed
  io.MouseDown[0] = false;
  frame(s);
  EXPECT_FALSE(drawnIn(90, 90, 90));
  s.disable();
  frame(s);
  EXPECT_TRUE(drawnIn(160, 160, 160));
  EXPECT_FALSE(drawnIn(180, 180, 180));
}

// The raised grey (0.75) of the tab stands where find_slider finds the tab: between the arrows
// only the tab's eight pixels, over the track's rows h - 10 to h + 3.
TEST_F(SliderDrawTest, TheTabIsDrawnWhereItIsFound) {
  for (float value : {0.0f, 0.3f, 1.0f}) {
    SCOPED_TRACE(value);
    float f = value;
    GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
    s.set_float_limits(0.0f, 1.0f);
    frame(s);
    // Filled rectangles of that grey, four vertices each; the two at the ends are the arrows.
    const ImU32 raised = IM_COL32(191, 191, 191, 255);
    float low = 1e9f, high = -1e9f, top = 1e9f, bottom = -1e9f;
    int tabs = 0;
    for (size_t i = 0; i + 3 < vertices.size();) {
      bool quad = true;
      for (size_t k = i; k < i + 4; ++k) quad = quad && vertices[k].col == raised;
      if (!quad) {
        ++i;
        continue;
      }
      float x0 = 1e9f, x1 = -1e9f, y0 = 1e9f, y1 = -1e9f;
      for (size_t k = i; k < i + 4; ++k) {
        x0 = std::min(x0, vertices[k].pos.x - origin.x);
        x1 = std::max(x1, vertices[k].pos.x - origin.x);
        y0 = std::min(y0, vertices[k].pos.y - origin.y);
        y1 = std::max(y1, vertices[k].pos.y - origin.y);
      }
      i += 4;
      if (x0 == 1.0f || x1 == float(kW + 1)) continue;  // an arrow
      ++tabs;
      low = x0;
      high = x1;
      top = y0;
      bottom = y1;
    }
    EXPECT_EQ(tabs, 1);
    EXPECT_FLOAT_EQ(low, float(tabLeft(s)));
    EXPECT_FLOAT_EQ(high, float(tabLeft(s) + 8));
    EXPECT_FLOAT_EQ(top, float(kH - 10));
    EXPECT_FLOAT_EQ(bottom, float(kH + 4));
    EXPECT_EQ(s.find_slider(int(low), kRow), GLUI_Slider::kTab);
    EXPECT_EQ(s.find_slider(int(high) - 1, kRow), GLUI_Slider::kTab);
  }
}

TEST_F(SliderDrawTest, ADisabledSliderIgnoresTheMouse) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, recordCallback);
  s.set_float_limits(0.0f, 1.0f);
  s.disable();
  ImGuiIO& io = ImGui::GetIO();
  frame(s);
  mouseAt(kRightArrowX, kRow);
  frame(s);
  io.MouseDown[0] = true;
  EXPECT_EQ(frame(s), 0);
  EXPECT_EQ(frame(s), 0);
  io.MouseDown[0] = false;
  frame(s);
  EXPECT_FLOAT_EQ(f, 0.5f);
  EXPECT_TRUE(logged.ids.empty());
}

TEST_F(SliderDrawTest, TheControlShowsAValueChangedByTheProgram) {
  float f = 0.5f;
  GLUI_Slider s("s", GLUI_LIVE_FLOAT, &f, -1, nullptr);
  s.set_float_limits(0.0f, 1.0f);
  frame(s);
  f = 0.25f;
  EXPECT_EQ(frame(s), 0);  // the program's own change is no act of the control
  EXPECT_EQ(s.get_tab_x(), int(0.25 * kTravel + 0.5) + 1);
}

TEST_F(SliderDrawTest, ASliderInAPanelWindowIsDrawnThroughTheTree) {
  GLUI glui;
  float f = 0.5f;
  GLUI_Slider* s = glui.add_slider("opacity [,] ", GLUI_LIVE_FLOAT, &f, 0.0f, 1.0f, 44, recordCallback);
  ASSERT_NE(s, nullptr);
  s->set_speed(0.2f);
  ImGuiIO& io = ImGui::GetIO();
  frame(*glui.main_panel);
  const ImVec2 panelOrigin = origin;
  // Find the slider below the panel's origin by its track: try rows until the right arrow answers.
  bool pressed = false;
  for (int dy = 0; dy < 80 && !pressed; ++dy) {
    io.MousePos = ImVec2(panelOrigin.x + kRightArrowX + 0.5f, panelOrigin.y + dy + 0.5f);
    frame(*glui.main_panel);
    io.MouseDown[0] = true;
    frame(*glui.main_panel);
    io.MouseDown[0] = false;
    frame(*glui.main_panel);
    pressed = f > 0.5f;
  }
  ASSERT_TRUE(pressed);
  EXPECT_NEAR(f, 0.5 + 1.0 / 800.0 * 1.05 * 0.2, 1e-5);
  EXPECT_EQ(logged.ids, std::vector<int>({44}));
}

}  // namespace

// The framework's main lives in the viewer library; this program brings its own, so that the
// framework and a scene stay out of it.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
