// The panel's input queue fed to a real ImGui, without any window: quick clicks, wheel steps,
// keys and modifiers reach ImGui one press or release per frame, in order.
#include "viewer/panel.h"

#include <GL/freeglut.h>
#include <gtest/gtest.h>
#include <imgui.h>
#include <imgui_impl_glut.h>

#include <functional>
#include <string>
#include <vector>

namespace {

constexpr float kDisplayW = 200.0f;
constexpr float kDisplayH = 150.0f;
constexpr float kFrameSeconds = 1.0f / 60.0f;
constexpr int kSpecialKeyBase = 256;  // where ImGui's GLUT back end puts the special keys
constexpr int kEnter = 13;
constexpr int kCtrlA = 1;  // GLUT's code for Ctrl with "a"

using Event = PanelInputEvent;

Event move(int x, int y) {
  return Event{Event::kMove, 0, 0, x, y, Event::kUnknownMods};
}
Event button(int b, int down, int x, int y, int mods = 0) {
  return Event{Event::kButton, b, down, x, y, mods};
}
Event wheel(int step, int x, int y) {
  return Event{Event::kWheel, step, 1, x, y, 0};
}
Event key(int code, int down, int mods = 0) {
  return Event{Event::kKey, code, down, 0, 0, mods};
}
Event special(int code, int down) {
  return Event{Event::kSpecial, code, down, 0, 0, 0};
}

// A headless ImGui: one full-size window like the panel's, drawn by a function of the test.
class PanelQueue : public testing::Test {
 protected:
  void SetUp() override {
    ImGui::CreateContext();
    ImGuiIO& io = ImGui::GetIO();
    io.IniFilename = nullptr;
    io.DisplaySize = ImVec2(kDisplayW, kDisplayH);
    unsigned char* pixels;
    int w, h;
    io.Fonts->GetTexDataAsRGBA32(&pixels, &w, &h);
    ImGui_ImplGLUT_Init();  // the back end's key map; it touches no window
  }
  void TearDown() override { ImGui::DestroyContext(); }

  // One panel frame: the queue's share of events, then the build.
  void frame(const std::function<void()>& build) {
    ImGuiIO& io = ImGui::GetIO();
    queue.feedOneFrame(io);
    io.DeltaTime = kFrameSeconds;
    ImGui::NewFrame();
    ImGui::SetNextWindowPos(ImVec2(0, 0));
    ImGui::SetNextWindowSize(io.DisplaySize);
    ImGui::Begin("panel", nullptr,
                 ImGuiWindowFlags_NoTitleBar | ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoMove);
    build();
    ImGui::End();
    ImGui::Render();
  }
  // Frames until the queue is empty, and one more, as the panel draws them.
  int drain(const std::function<void()>& build) {
    int frames = 0;
    do {
      frame(build);
      ++frames;
    } while (!queue.empty());
    frame(build);
    return frames + 1;
  }

  PanelInputQueue queue;
};

// A button near the top; its centre after the first frame.
struct CountButton {
  int presses = 0;
  ImVec2 centre{0, 0};
  void build() {
    if (ImGui::Button("Count")) ++presses;
    ImVec2 a = ImGui::GetItemRectMin(), b = ImGui::GetItemRectMax();
    centre = ImVec2((a.x + b.x) / 2, (a.y + b.y) / 2);
  }
};

}  // namespace

TEST_F(PanelQueue, APressAndReleaseQueuedTogetherAreOneClick) {
  CountButton b;
  auto build = [&] { b.build(); };
  frame(build);
  int x = (int)b.centre.x, y = (int)b.centre.y;
  queue.push(move(x, y));
  queue.push(button(GLUT_LEFT_BUTTON, 1, x, y));
  queue.push(button(GLUT_LEFT_BUTTON, 0, x, y));
  drain(build);
  EXPECT_EQ(b.presses, 1);
}

TEST_F(PanelQueue, TheSameEventsGivenInOneFrameAreLost) {
  // Why the queue exists: ImGui alone sees no click when both arrive before one frame.
  CountButton b;
  auto build = [&] { b.build(); };
  frame(build);
  ImGuiIO& io = ImGui::GetIO();
  io.MousePos = b.centre;
  io.MouseDown[0] = true;
  io.MouseDown[0] = false;
  frame(build);
  frame(build);
  EXPECT_EQ(b.presses, 0);
}

TEST_F(PanelQueue, SeveralQuickClicksAllCount) {
  CountButton b;
  auto build = [&] { b.build(); };
  frame(build);
  int x = (int)b.centre.x, y = (int)b.centre.y;
  for (int i = 0; i < 3; ++i) {
    queue.push(button(GLUT_LEFT_BUTTON, 1, x, y));
    queue.push(button(GLUT_LEFT_BUTTON, 0, x, y));
  }
  drain(build);
  EXPECT_EQ(b.presses, 3);
}

TEST_F(PanelQueue, AClickBesideTheButtonIsNoPress) {
  CountButton b;
  auto build = [&] { b.build(); };
  frame(build);
  queue.push(button(GLUT_LEFT_BUTTON, 1, (int)kDisplayW - 5, (int)kDisplayH - 5));
  queue.push(button(GLUT_LEFT_BUTTON, 0, (int)kDisplayW - 5, (int)kDisplayH - 5));
  drain(build);
  EXPECT_EQ(b.presses, 0);
}

TEST_F(PanelQueue, APressThatMovesOffTheButtonBeforeItsReleaseIsNoPress) {
  // Order is kept: the release lands where the pointer went, not where the press was.
  CountButton b;
  auto build = [&] { b.build(); };
  frame(build);
  int x = (int)b.centre.x, y = (int)b.centre.y;
  queue.push(button(GLUT_LEFT_BUTTON, 1, x, y));
  queue.push(move((int)kDisplayW - 5, (int)kDisplayH - 5));
  queue.push(button(GLUT_LEFT_BUTTON, 0, (int)kDisplayW - 5, (int)kDisplayH - 5));
  drain(build);
  EXPECT_EQ(b.presses, 0);
}

TEST_F(PanelQueue, EachFrameGetsTheMovesUpToOnePressOrReleaseOrWheelStep) {
  ImGuiIO& io = ImGui::GetIO();
  queue.push(move(1, 1));
  queue.push(button(GLUT_LEFT_BUTTON, 1, 2, 2));
  queue.push(move(3, 3));
  queue.push(button(GLUT_LEFT_BUTTON, 0, 4, 4));
  queue.push(wheel(1, 5, 5));
  queue.push(wheel(1, 6, 6));
  queue.push(key('x', 1));
  queue.push(key('x', 0));
  queue.push(move(9, 9));
  const struct {
    int fed;
    float x;
    int down;
  } frames[] = {{2, 2, 1}, {2, 4, 0}, {1, 5, 0}, {1, 6, 0}, {1, 6, 0}, {1, 6, 0}, {1, 9, 0}, {0, 9, 0}};
  for (const auto& f : frames) {
    EXPECT_EQ(queue.feedOneFrame(io), f.fed);
    EXPECT_EQ(io.MousePos.x, f.x);
    EXPECT_EQ(io.MouseDown[0], f.down != 0);
  }
  EXPECT_TRUE(queue.empty());
}

TEST_F(PanelQueue, MovesInARowKeepOnlyTheLastPosition) {
  for (int i = 0; i < 100; ++i) EXPECT_EQ(queue.push(move(i, 2 * i)), 1);
  EXPECT_EQ(queue.size(), 1u);
  ImGuiIO& io = ImGui::GetIO();
  EXPECT_EQ(queue.feedOneFrame(io), 1);
  EXPECT_EQ(io.MousePos.x, 99);
  EXPECT_EQ(io.MousePos.y, 198);
}

TEST_F(PanelQueue, AFullQueueRefusesMoreAndStaysAsItWas) {
  for (size_t i = 0; i < PanelInputQueue::kCapacity; ++i)
    ASSERT_EQ(queue.push(button(GLUT_LEFT_BUTTON, (int)(i % 2 == 0), 1, 1)), 1);
  EXPECT_EQ(queue.push(button(GLUT_LEFT_BUTTON, 1, 1, 1)), 0);
  EXPECT_EQ(queue.push(move(7, 7)), 0);
  EXPECT_EQ(queue.size(), PanelInputQueue::kCapacity);
  // Fed one a frame, it empties again.
  ImGuiIO& io = ImGui::GetIO();
  for (size_t i = 0; i < PanelInputQueue::kCapacity; ++i) ASSERT_EQ(queue.feedOneFrame(io), 1);
  EXPECT_TRUE(queue.empty());
  EXPECT_EQ(queue.push(move(7, 7)), 1);
}

TEST_F(PanelQueue, GlutButtonsBecomeImGuisLeftRightAndMiddle) {
  const struct {
    int glutButton;
    int imguiButton;
  } cases[] = {{GLUT_LEFT_BUTTON, 0}, {GLUT_RIGHT_BUTTON, 1}, {GLUT_MIDDLE_BUTTON, 2}};
  ImGuiIO& io = ImGui::GetIO();
  for (const auto& c : cases) {
    queue.push(button(c.glutButton, 1, 10, 20));
    queue.feedOneFrame(io);
    for (int b = 0; b < 3; ++b) EXPECT_EQ(io.MouseDown[b], b == c.imguiButton) << c.glutButton;
    EXPECT_EQ(io.MousePos.x, 10);
    EXPECT_EQ(io.MousePos.y, 20);
    queue.push(button(c.glutButton, 0, 10, 20));
    queue.feedOneFrame(io);
    EXPECT_FALSE(io.MouseDown[c.imguiButton]);
  }
}

TEST_F(PanelQueue, WheelStepsScrollAnOverflowingWindowOneStepAFrame) {
  ImVec2 top(0, 0);
  auto build = [&] {
    ImGui::Text("first");
    top = ImGui::GetItemRectMin();
    for (int i = 0; i < 100; ++i) ImGui::Text("line %d", i);
  };
  frame(build);
  float start = top.y;
  queue.push(wheel(-1, 50, 50));  // a step down: the content moves up
  frame(build);
  float oneStep = start - top.y;
  EXPECT_GT(oneStep, 0.0f);
  queue.push(wheel(-1, 50, 50));
  queue.push(wheel(-1, 50, 50));
  EXPECT_EQ(drain(build), 3);
  EXPECT_FLOAT_EQ(top.y, start - 3 * oneStep);
  queue.push(wheel(1, 50, 50));
  drain(build);
  EXPECT_FLOAT_EQ(top.y, start - 2 * oneStep);
  // Steps up past the top stop there.
  for (int i = 0; i < 5; ++i) queue.push(wheel(1, 50, 50));
  drain(build);
  EXPECT_FLOAT_EQ(top.y, start);
}

TEST_F(PanelQueue, WheelOutsideTheWindowScrollsNothing) {
  ImVec2 top(0, 0);
  auto build = [&] {
    ImGui::Text("first");
    top = ImGui::GetItemRectMin();
    for (int i = 0; i < 100; ++i) ImGui::Text("line %d", i);
  };
  frame(build);
  float start = top.y;
  queue.push(wheel(-1, (int)kDisplayW + 50, 50));
  drain(build);
  EXPECT_EQ(top.y, start);
}

TEST_F(PanelQueue, TypedTextAndAQuickEnterReachAnEditBox) {
  char text[32] = "";
  int entered = 0;
  auto build = [&] {
    ImGui::SetKeyboardFocusHere();
    if (ImGui::InputText("name", text, sizeof text, ImGuiInputTextFlags_EnterReturnsTrue)) ++entered;
  };
  frame(build);  // asks for the focus
  frame(build);  // the box takes it
  for (char c : std::string("Vega")) {
    queue.push(key(c, 1));
    queue.push(key(c, 0));
  }
  queue.push(key(kEnter, 1));
  queue.push(key(kEnter, 0));
  drain(build);
  EXPECT_STREQ(text, "Vega");
  EXPECT_EQ(entered, 1);
}

TEST_F(PanelQueue, KeysCarryTheirModifiersAndMovesLeaveThemAlone) {
  ImGuiIO& io = ImGui::GetIO();
  const struct {
    int mods;
    bool ctrl, shift, alt;
  } cases[] = {
      {0, false, false, false},
      {GLUT_ACTIVE_CTRL, true, false, false},
      {GLUT_ACTIVE_SHIFT, false, true, false},
      {GLUT_ACTIVE_ALT, false, false, true},
      {GLUT_ACTIVE_CTRL | GLUT_ACTIVE_SHIFT | GLUT_ACTIVE_ALT, true, true, true},
  };
  for (const auto& c : cases) {
    queue.push(key('x', 1, c.mods));
    queue.feedOneFrame(io);
    queue.push(move(1, 1));
    queue.feedOneFrame(io);
    EXPECT_EQ(io.KeyCtrl, c.ctrl) << c.mods;
    EXPECT_EQ(io.KeyShift, c.shift) << c.mods;
    EXPECT_EQ(io.KeyAlt, c.alt) << c.mods;
  }
  // A click with Shift held tells ImGui too.
  queue.push(button(GLUT_LEFT_BUTTON, 1, 1, 1, GLUT_ACTIVE_SHIFT));
  queue.feedOneFrame(io);
  EXPECT_TRUE(io.KeyShift);
}

TEST_F(PanelQueue, KeysAreMappedAsImGuisGlutBackEndMapsThem) {
  ImGuiIO& io = ImGui::GetIO();
  const struct {
    Event e;
    std::vector<int> down;  // io.KeysDown entries that the press sets
  } cases[] = {
      {key('a', 1), {'a', 'A'}},
      {key('Q', 1), {'Q', 'q'}},
      {key(kCtrlA, 1, GLUT_ACTIVE_CTRL), {kCtrlA, 'a', 'A'}},
      {key(kEnter, 1), {kEnter}},
      {key('5', 1), {'5'}},
      {special(GLUT_KEY_LEFT, 1), {kSpecialKeyBase + GLUT_KEY_LEFT}},
      {special(GLUT_KEY_HOME, 1), {kSpecialKeyBase + GLUT_KEY_HOME}},
  };
  for (const auto& c : cases) {
    queue.push(c.e);
    queue.feedOneFrame(io);
    for (int k : c.down) EXPECT_TRUE(io.KeysDown[k]) << c.e.code << " " << k;
    Event up = c.e;
    up.down = 0;
    queue.push(up);
    queue.feedOneFrame(io);
    for (int k : c.down) EXPECT_FALSE(io.KeysDown[k]) << c.e.code << " " << k;
  }
  // The GLUT back end's key map says which entries ImGui reads for its named keys.
  EXPECT_EQ(io.KeyMap[ImGuiKey_Enter], kEnter);
  EXPECT_EQ(io.KeyMap[ImGuiKey_LeftArrow], kSpecialKeyBase + GLUT_KEY_LEFT);
}

TEST_F(PanelQueue, ControlCodesAreNoText) {
  char text[32] = "";
  auto build = [&] {
    ImGui::SetKeyboardFocusHere();
    ImGui::InputText("name", text, sizeof text);
  };
  frame(build);
  frame(build);
  queue.push(key(kCtrlA, 1, GLUT_ACTIVE_CTRL));
  queue.push(key(kCtrlA, 0, GLUT_ACTIVE_CTRL));
  queue.push(key('b', 1));
  queue.push(key('b', 0));
  drain(build);
  EXPECT_STREQ(text, "b");
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
