// The panel library's control tree without a window: ownership, order, values, limits and
// texts, and the controls driven through Dear ImGui frames with a simulated mouse and keyboard.
#include <gtest/gtest.h>
#include <imgui.h>

#include <cstring>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "viewer/glui.h"

namespace {

// ---------------------------------------------------------------------------------------------
// Callback recording

std::vector<int> calls;
void recordCall(int id) {
  calls.push_back(id);
}

// A control that counts its destruction and its frames, and notes where it was drawn.
int destroyed = 0;
class ProbeControl : public GLUI_Control {
 public:
  explicit ProbeControl(Kind k = kButton, const char* text = "probe", int ident = -1, GLUI_Update_CB cb = nullptr)
      : GLUI_Control(k, text, ident, cb) {}
  ~ProbeControl() override { ++destroyed; }
  int draw() override {
    ++drawn;
    int acted = GLUI_Control::draw();
    low = ImGui::GetItemRectMin();
    high = ImGui::GetItemRectMax();
    return acted;
  }
  int drawn = 0;
  ImVec2 low, high;
  ImVec2 centre() const { return ImVec2((low.x + high.x) / 2, (low.y + high.y) / 2); }
  // A spinner's last part, on the right: its "+" arrow.
  ImVec2 rightEnd() const { return ImVec2(high.x - 4, (low.y + high.y) / 2); }
};

std::vector<std::string> names(const GLUI_Control* parent) {
  std::vector<std::string> out;
  for (const GLUI_Control* c : parent->children) out.push_back(c->name);
  return out;
}

// ---------------------------------------------------------------------------------------------
// The tree

TEST(GluiTree, ControlsJoinTheMainPanelOrTheirPanelInOrder) {
  GLUI g;
  GLUI_Control* sep = g.add_separator();
  GLUI_Control* text = g.add_statictext("VELMORA PANEL");
  GLUI_Control* panel = g.add_panel("", GLUI_PANEL_NONE);
  GLUI_Control* quit = g.add_button_to_panel(panel, "Quit", 10, recordCall);
  GLUI_Control* col = g.add_column_to_panel(panel, 0);
  GLUI_Control* help = g.add_button_to_panel(panel, "Help", 11, recordCall);
  GLUI_Control* roll = g.add_rollout("[F]ile Control", 0);
  GLUI_Control* inner = g.add_rollout_to_panel(roll, "1.Color Info.");

  EXPECT_EQ(names(g.main_panel), (std::vector<std::string>{"", "VELMORA PANEL", "", "[F]ile Control"}));
  EXPECT_EQ(g.main_panel->children[0], sep);
  EXPECT_EQ(g.main_panel->children[1], text);
  EXPECT_EQ(panel->children, (std::vector<GLUI_Control*>{quit, col, help}));
  EXPECT_EQ(roll->children, (std::vector<GLUI_Control*>{inner}));

  struct Row {
    GLUI_Control* c;
    GLUI_Control::Kind kind;
    GLUI_Control* parent;
    int id;
  };
  const Row rows[] = {
      {sep, GLUI_Control::kSeparator, g.main_panel, -1}, {text, GLUI_Control::kStaticText, g.main_panel, -1},
      {panel, GLUI_Control::kPanel, g.main_panel, -1},   {quit, GLUI_Control::kButton, panel, 10},
      {col, GLUI_Control::kColumn, panel, -1},           {help, GLUI_Control::kButton, panel, 11},
      {roll, GLUI_Control::kRollout, g.main_panel, -1},  {inner, GLUI_Control::kRollout, roll, -1},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.c->name);
    EXPECT_EQ(r.c->kind, r.kind);
    EXPECT_EQ(r.c->parent, r.parent);
    EXPECT_EQ(r.c->glui, &g);
    EXPECT_EQ(r.c->id, r.id);
  }
  EXPECT_EQ(g.main_panel->glui, &g);
  EXPECT_EQ(g.main_panel->parent, nullptr);
  EXPECT_EQ(quit->callback, &recordCall);
  EXPECT_FALSE(roll->isOpen);  // created closed
  EXPECT_TRUE(inner->isOpen);  // open by default
  EXPECT_EQ(panel->intVal, GLUI_PANEL_NONE);
  EXPECT_EQ(g.add_panel("framed")->intVal, GLUI_PANEL_EMBOSSED);
  EXPECT_EQ(col->intVal, 0);
  EXPECT_EQ(g.add_column()->intVal, 1);
}

TEST(GluiTree, ANullPanelMeansTheMainPanel) {
  GLUI g;
  GLUI_Control* b = g.add_button_to_panel(nullptr, "b");
  EXPECT_EQ(b->parent, g.main_panel);
}

TEST(GluiTree, LiveVariablesAreBoundByType) {
  GLUI g;
  int i = 3;
  float f = 2.5f;
  char text[16] = "abc";
  std::string s = "str";
  GLUI_Control* ei = g.add_edittext("i", GLUI_EDITTEXT_INT, &i);
  GLUI_Control* ef = g.add_edittext("f", GLUI_EDITTEXT_FLOAT, &f);
  GLUI_Control* et = g.add_edittext_to_panel(g.main_panel, "t", text, sizeof text);
  GLUI_Control* es = g.add_edittext("s", GLUI_EDITTEXT_STRING, &s);
  GLUI_Control* si = g.add_spinner("si", GLUI_SPINNER_INT, &i, 43, recordCall);
  GLUI_Control* sf = g.add_spinner("sf", GLUI_SPINNER_FLOAT, &f);
  GLUI_Control* cb = g.add_checkbox("c", &i);
  GLUI_Control* lb = g.add_listbox("l", &i);
  GLUI_Control* rg = g.add_radiogroup(&i);
  EXPECT_EQ(ei->liveInt, &i);
  EXPECT_EQ(ef->liveFloat, &f);
  EXPECT_EQ(et->liveText, text);
  EXPECT_EQ(et->liveTextSize, sizeof text);
  EXPECT_EQ(es->liveString, &s);
  EXPECT_EQ(si->liveInt, &i);
  EXPECT_EQ(si->kind, GLUI_Control::kSpinner);
  EXPECT_EQ(si->id, 43);
  EXPECT_EQ(sf->liveFloat, &f);
  EXPECT_EQ(cb->liveInt, &i);
  EXPECT_EQ(lb->liveInt, &i);
  EXPECT_EQ(rg->liveInt, &i);
  EXPECT_EQ(et->get_text(), "abc");
  EXPECT_EQ(ei->get_text(), "3");
  EXPECT_EQ(ef->get_text(), "2.5");
  EXPECT_EQ(es->get_text(), "str");
}

// A control without a live variable keeps its value itself, of the type it was made with.
TEST(GluiTree, WithoutALiveVariableTheControlHoldsItsValue) {
  GLUI g;
  GLUI_Control* n = g.add_edittext("n", GLUI_EDITTEXT_FLOAT);
  n->set_float_val(1.25f);
  EXPECT_FLOAT_EQ(n->get_float_val(), 1.25f);
  EXPECT_EQ(n->get_text(), "1.25");
  GLUI_Control* t = g.add_edittext("t", GLUI_EDITTEXT_TEXT);
  t->set_text("hello");
  EXPECT_EQ(t->get_text(), "hello");
  GLUI_Control* c = g.add_checkbox("c");
  c->set_int_val(1);
  EXPECT_EQ(c->get_int_val(), 1);
  GLUI_Control* s = g.add_spinner("s", GLUI_SPINNER_INT);
  s->set_int_val(7);
  EXPECT_EQ(s->get_text(), "7");
}

// ---------------------------------------------------------------------------------------------
// Ownership

TEST(GluiOwnership, TheWindowFreesEveryControlOfItsTree) {
  destroyed = 0;
  {
    GLUI g;
    GLUI_Control* roll = g.add_rollout("r");
    g.add_control(roll, new ProbeControl);
    g.add_control(g.main_panel, new ProbeControl);
    GLUI_Control* panel = g.add_panel_to_panel(roll, "p");
    g.add_control(panel, new ProbeControl);
  }
  EXPECT_EQ(destroyed, 3);
}

TEST(GluiOwnership, ARemovedControlBelongsToTheCaller) {
  destroyed = 0;
  GLUI_Control* kept = nullptr;
  {
    GLUI g;
    g.add_control(g.main_panel, new ProbeControl);
    kept = g.remove_control(g.main_panel, 0);
    ASSERT_NE(kept, nullptr);
    EXPECT_EQ(kept->parent, nullptr);
    EXPECT_TRUE(g.main_panel->children.empty());
  }
  EXPECT_EQ(destroyed, 0);
  delete kept;
  EXPECT_EQ(destroyed, 1);
}

// ---------------------------------------------------------------------------------------------
// Moving controls: how the rollouts are rotated

TEST(GluiOrder, RemoveAndAddRotateTheChildren) {
  GLUI g;
  for (const char* n : {"title", "a", "b", "c"}) g.add_rollout(n, 0);
  // Rotate the three rollouts by one: take "a" out and put it back last.
  GLUI_Control* a = g.remove_control(g.main_panel, 1);
  ASSERT_NE(a, nullptr);
  EXPECT_EQ(a->name, "a");
  EXPECT_EQ(names(g.main_panel), (std::vector<std::string>{"title", "b", "c"}));
  g.add_control(g.main_panel, a);
  EXPECT_EQ(names(g.main_panel), (std::vector<std::string>{"title", "b", "c", "a"}));
  EXPECT_EQ(a->parent, g.main_panel);
  EXPECT_EQ(a->glui, &g);
}

TEST(GluiOrder, RemoveOutsideTheChildrenGivesNothing) {
  GLUI g;
  g.add_separator();
  for (int index : {-1, 1, 5}) {
    SCOPED_TRACE(index);
    EXPECT_EQ(g.remove_control(g.main_panel, index), nullptr);
    EXPECT_EQ(g.main_panel->children.size(), 1u);
  }
  EXPECT_EQ(g.remove_control(nullptr, 0), nullptr);
}

TEST(GluiOrder, AddingAControlThatStandsElsewhereMovesIt) {
  GLUI g;
  GLUI_Control* p1 = g.add_panel("p1");
  GLUI_Control* p2 = g.add_panel("p2");
  GLUI_Control* b = g.add_button_to_panel(p1, "b");
  g.add_control(p2, b);
  EXPECT_TRUE(p1->children.empty());
  EXPECT_EQ(p2->children, (std::vector<GLUI_Control*>{b}));
  EXPECT_EQ(b->parent, p2);
  g.add_control(p2, nullptr);  // nothing to add
  g.add_control(nullptr, b);   // nowhere to add it: it stays
  g.add_control(p2, p2);       // not into itself
  EXPECT_EQ(p2->children, (std::vector<GLUI_Control*>{b}));
}

TEST(GluiOrder, AControlMovedToAnotherWindowBelongsToIt) {
  GLUI g1, g2;
  GLUI_Control* roll = g1.add_rollout("r");
  GLUI_Control* b = g1.add_button_to_panel(roll, "b");
  GLUI_Control* moved = g1.remove_control(g1.main_panel, 0);
  g2.add_control(g2.main_panel, moved);
  EXPECT_EQ(roll->glui, &g2);
  EXPECT_EQ(b->glui, &g2);
}

// ---------------------------------------------------------------------------------------------
// Values and limits

TEST(GluiLimits, SettersClampToTheLimits) {
  GLUI g;
  int i = 0;
  float f = 0;
  GLUI_Control* ci = g.add_spinner("d.p.", GLUI_SPINNER_INT, &i);
  GLUI_Control* cf = g.add_spinner("Distance", GLUI_SPINNER_FLOAT, &f);
  ci->set_int_limits(1, 7);
  cf->set_float_limits(0.0f, 10000.0f);
  struct IntRow {
    int in, want;
  };
  for (IntRow r : {IntRow{0, 1}, {1, 1}, {4, 4}, {7, 7}, {8, 7}, {-100, 1}}) {
    ci->set_int_val(r.in);
    EXPECT_EQ(i, r.want) << r.in;
  }
  struct FloatRow {
    float in, want;
  };
  for (FloatRow r : {FloatRow{-1.0f, 0.0f}, {0.0f, 0.0f}, {123.5f, 123.5f}, {10000.0f, 10000.0f}, {1e9f, 10000.0f}}) {
    cf->set_float_val(r.in);
    EXPECT_FLOAT_EQ(f, r.want) << r.in;
  }
  // The other setter goes through the same limits.
  ci->set_float_val(9.5f);
  EXPECT_EQ(i, 7);
  cf->set_int_val(-3);
  EXPECT_FLOAT_EQ(f, 0.0f);
}

TEST(GluiLimits, ClampingLimitsBringThePresentValueIn) {
  GLUI g;
  int i = 12;
  float f = -4.0f;
  g.add_spinner("i", GLUI_SPINNER_INT, &i)->set_int_limits(1, 7, GLUI_LIMIT_CLAMP);
  g.add_spinner("f", GLUI_SPINNER_FLOAT, &f)->set_float_limits(0.1f, 3.0f);  // clamping by default
  EXPECT_EQ(i, 7);
  EXPECT_FLOAT_EQ(f, 0.1f);
  int j = 12;
  GLUI_Control* c = g.add_spinner("j", GLUI_SPINNER_INT, &j);
  c->set_int_limits(1, 7, GLUI_LIMIT_NONE);
  EXPECT_EQ(j, 12);  // left as it is
  c->set_int_val(12);
  EXPECT_EQ(j, 7);  // but later values are kept inside
}

TEST(GluiLimits, AnIntControlKeepsTheFloatItWasSetTo) {
  GLUI g;
  int i = 5;
  GLUI_Control* c = g.add_edittext("i", GLUI_EDITTEXT_INT, &i);
  c->set_float_val(4.1f);
  EXPECT_EQ(i, 4);  // truncated
  EXPECT_FLOAT_EQ(c->get_float_val(), 4.1f);
  c->set_float_val(c->get_float_val() + 0.4f);
  c->set_float_val(c->get_float_val() + 0.4f);
  EXPECT_EQ(i, 4);
  c->set_float_val(c->get_float_val() + 0.4f);
  EXPECT_EQ(i, 5);  // small steps add up
  i = 9;            // the program's own change wins over the kept float
  EXPECT_FLOAT_EQ(c->get_float_val(), 9.0f);
}

TEST(GluiLimits, AFloatControlGivesItsValueAsATruncatedInt) {
  GLUI g;
  float f = 2.75f;
  GLUI_Control* c = g.add_spinner("f", GLUI_SPINNER_FLOAT, &f);
  EXPECT_EQ(c->get_int_val(), 2);
  c->set_int_val(6);
  EXPECT_FLOAT_EQ(f, 6.0f);
}

TEST(GluiLimits, SpeedIsKept) {
  GLUI g;
  GLUI_Control* c = g.add_spinner("s", GLUI_SPINNER_INT);
  EXPECT_FLOAT_EQ(c->speed, 1.0f);
  c->set_speed(0.1f);
  EXPECT_FLOAT_EQ(c->speed, 0.1f);
}

// ---------------------------------------------------------------------------------------------
// Texts

TEST(GluiText, SetTextIntoABufferIsCutAndNeverOverflows) {
  GLUI g;
  struct Guarded {
    char text[8];
    char canary[8];
  } buf;
  memset(&buf, 'x', sizeof buf);
  buf.text[0] = '\0';
  GLUI_Control* c = g.add_edittext_to_panel(g.main_panel, "File:", buf.text, sizeof buf.text);
  c->set_text("a much longer name.obj");
  EXPECT_STREQ(buf.text, "a much ");  // seven characters and the zero
  EXPECT_EQ(std::string(buf.canary, sizeof buf.canary), std::string(8, 'x'));
  EXPECT_EQ(c->get_text(), "a much ");
  c->set_text("m51.obj");
  EXPECT_STREQ(buf.text, "m51.obj");
  c->set_text(nullptr);
  EXPECT_STREQ(buf.text, "");
}

TEST(GluiText, ABufferOfUnknownSizeIsNeverWritten) {
  GLUI g;
  char text[4] = "abc";
  GLUI_Control* c = g.add_edittext("t", GLUI_EDITTEXT_TEXT, text);
  EXPECT_EQ(c->liveTextSize, 0u);
  c->set_text("longer than the buffer");
  EXPECT_STREQ(text, "abc");
  EXPECT_EQ(c->get_text(), "");  // nothing can be read safely either
  c->liveTextSize = sizeof text;
  EXPECT_EQ(c->get_text(), "abc");
}

TEST(GluiText, GetTextReadsAnUnterminatedBufferOnlyToItsSize) {
  GLUI g;
  char text[4] = {'a', 'b', 'c', 'd'};
  GLUI_Control* c = g.add_edittext_to_panel(g.main_panel, "t", text, sizeof text);
  EXPECT_EQ(c->get_text(), "abcd");
}

TEST(GluiText, AStringGrowsToTheText) {
  GLUI g;
  std::string s;
  GLUI_Control* c = g.add_edittext("HD number:", GLUI_EDITTEXT_STRING, &s, 54, recordCall);
  std::string longText(1000, 'q');
  c->set_text(longText.c_str());
  EXPECT_EQ(s, longText);
}

TEST(GluiText, NumberFieldsReadTheTextAsTheirNumber) {
  GLUI g;
  int i = 0;
  float f = 0;
  GLUI_Control* ci = g.add_edittext("i", GLUI_EDITTEXT_INT, &i);
  GLUI_Control* cf = g.add_edittext("f", GLUI_EDITTEXT_FLOAT, &f);
  ci->set_int_limits(-5, 5);
  ci->set_text("3");
  EXPECT_EQ(i, 3);
  ci->set_text("99");
  EXPECT_EQ(i, 5);
  ci->set_text("junk");
  EXPECT_EQ(i, 0);
  cf->set_text("1.5e3");
  EXPECT_FLOAT_EQ(f, 1500.0f);
  cf->set_text("nan");  // not a number: the value stays
  EXPECT_FLOAT_EQ(f, 1500.0f);
}

TEST(GluiText, AStaticTextsTextIsItsLabel) {
  GLUI g;
  GLUI_Control* t = g.add_statictext("[pick by right mouse click]");
  EXPECT_EQ(t->get_text(), "[pick by right mouse click]");
  t->set_text("(1,2)");
  EXPECT_EQ(t->name, "(1,2)");
  t->set_name("Eqn. RA:");
  EXPECT_EQ(t->get_text(), "Eqn. RA:");
}

// ---------------------------------------------------------------------------------------------
// Listboxes and radio groups

TEST(GluiItems, ListboxEntriesAreAddedAndDeletedById) {
  GLUI g;
  int unit = 710;
  GLUI_Control* lb = g.add_listbox("Unit:", &unit);
  const char* units[] = {"parsec", "k-parsec", "lightyear"};
  for (int k = 0; k < 3; ++k) EXPECT_EQ(lb->add_item(710 + k, units[k]), 1);
  ASSERT_EQ(lb->items.size(), 3u);
  EXPECT_EQ(lb->items[1].id, 711);
  EXPECT_EQ(lb->items[1].text, "k-parsec");
  EXPECT_EQ(lb->delete_item(711), 1);
  EXPECT_EQ(lb->delete_item(711), 0);
  EXPECT_EQ(lb->delete_item(999), 0);
  ASSERT_EQ(lb->items.size(), 2u);
  EXPECT_EQ(lb->items[0].text, "parsec");
  EXPECT_EQ(lb->items[1].text, "lightyear");
  EXPECT_EQ(unit, 710);  // the live value isn't touched
}

TEST(GluiItems, DeleteItemTakesOneEntryOfARepeatedId) {
  GLUI g;
  GLUI_Control* lb = g.add_listbox("recent:");
  lb->add_item(230, "first");
  lb->add_item(230, "second");
  EXPECT_EQ(lb->delete_item(230), 1);
  ASSERT_EQ(lb->items.size(), 1u);
  EXPECT_EQ(lb->items[0].text, "second");
}

TEST(GluiItems, RadioButtonsAreNumberedFromZeroInOrder) {
  GLUI g;
  int choice = 0;
  GLUI_Control* rg = g.add_radiogroup(&choice, 60, recordCall);
  const char* labels[] = {"[1] no texture", "[2] texture selection", "[3] texture slider"};
  for (int k = 0; k < 3; ++k) {
    GLUI_Control* b = g.add_radiobutton_to_group(rg, labels[k]);
    ASSERT_NE(b, nullptr);
    EXPECT_EQ(b->kind, GLUI_Control::kRadioButton);
    EXPECT_EQ(b->parent, rg);
    EXPECT_EQ(b->intVal, k);
    EXPECT_EQ(b->name, labels[k]);
    EXPECT_EQ(rg->items[static_cast<size_t>(k)].id, k);
  }
  EXPECT_EQ(g.add_radiobutton_to_group(nullptr, "x"), nullptr);
  EXPECT_EQ(g.add_radiobutton_to_group(g.add_panel("p"), "x"), nullptr);
}

// ---------------------------------------------------------------------------------------------
// Rollouts, callbacks, widths

TEST(GluiMisc, RolloutsOpenAndClose) {
  GLUI g;
  GLUI_Control* r = g.add_rollout("[S]tar Control", 0);
  r->open();
  EXPECT_TRUE(r->isOpen);
  r->close();
  EXPECT_FALSE(r->isOpen);
}

TEST(GluiMisc, ExecuteCallbackPassesTheId) {
  GLUI g;
  calls.clear();
  g.add_button("Export", 70, recordCall)->execute_callback();
  g.add_button("no callback", 71)->execute_callback();
  EXPECT_EQ(calls, (std::vector<int>{70}));
}

TEST(GluiMisc, WidthAlignmentAndEnabling) {
  GLUI g;
  GLUI_Control* b = g.add_button("Quit", 10);
  b->set_w(42);
  EXPECT_EQ(b->w, 42);
  b->set_w(-5);
  EXPECT_EQ(b->w, 0);
  b->set_alignment(GLUI_ALIGN_CENTER);
  EXPECT_EQ(b->alignment, GLUI_ALIGN_CENTER);
  b->set_alignment(77);  // unknown: kept as it was
  EXPECT_EQ(b->alignment, GLUI_ALIGN_CENTER);
  b->disable();
  EXPECT_FALSE(b->enabled);
  b->enable();
  EXPECT_TRUE(b->enabled);
}

// ---------------------------------------------------------------------------------------------
// Sliders as the window makes them

TEST(GluiSliders, LimitsWidenToTakeInTheLiveValue) {
  GLUI g;
  struct Row {
    const char* what;
    float value, low, high, wantLow, wantHigh;
  };
  const Row rows[] = {
      {"inside", 1.0f, 0.1f, 3.0f, 0.1f, 3.0f},
      {"above the maximum", 7.5f, 0.1f, 3.0f, 0.1f, 8.5f},
      {"below the minimum", -2.0f, 0.0f, 1.0f, -3.0f, 1.0f},
      {"on the maximum", 3.0f, 0.1f, 3.0f, 0.1f, 3.0f},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(r.what);
    float v = r.value;
    GLUI_Slider* s = g.add_slider("Fovy:", GLUI_LIVE_FLOAT, &v, r.low, r.high, 30, recordCall);
    ASSERT_NE(s, nullptr);
    EXPECT_TRUE(s->hasLimits);
    EXPECT_FLOAT_EQ(s->floatLow, r.wantLow);
    EXPECT_FLOAT_EQ(s->floatHigh, r.wantHigh);
    EXPECT_FLOAT_EQ(v, r.value);  // the value stays
    EXPECT_EQ(s->parent, g.main_panel);
    EXPECT_EQ(s->glui, &g);
    EXPECT_EQ(s->id, 30);
    EXPECT_EQ(s->liveFloat, &v);
  }
}

TEST(GluiSliders, IntSlidersWidenTheirIntLimits) {
  GLUI g;
  GLUI_Control* panel = g.add_rollout("[S]tar Control");
  int year = 250000;
  GLUI_Slider* s = g.add_slider_to_panel(panel, "star at year:", GLUI_LIVE_INT, &year, -200000, 200000, 51);
  ASSERT_NE(s, nullptr);
  EXPECT_EQ(s->parent, panel);
  EXPECT_EQ(s->intLow, -200000);
  EXPECT_EQ(s->intHigh, 250001);
  EXPECT_EQ(year, 250000);
  int low = -300000;
  GLUI_Slider* t = g.add_slider_to_panel(panel, "y", GLUI_LIVE_INT, &low, -200000, 200000);
  EXPECT_EQ(t->intLow, -300001);
  EXPECT_EQ(t->intHigh, 200000);
}

TEST(GluiSliders, OnlyIntAndFloatMakeASlider) {
  GLUI g;
  char text[8] = "";
  std::string s;
  EXPECT_EQ(g.add_slider("t", GLUI_LIVE_TEXT, text, 0, 1), nullptr);
  EXPECT_EQ(g.add_slider("s", GLUI_LIVE_STRING, &s, 0, 1), nullptr);
  EXPECT_EQ(g.add_slider("n", GLUI_LIVE_NONE, nullptr, 0, 1), nullptr);
  EXPECT_TRUE(g.main_panel->children.empty());
}

// ---------------------------------------------------------------------------------------------
// Driving the controls through ImGui frames, without a window

constexpr int kEnterKey = 13;  // our index of Enter in ImGui's key array
constexpr float kPanelHeight = 600.0f;

class GluiFrames : public ::testing::Test {
 protected:
  void SetUp() override {
    context_ = ImGui::CreateContext();
    ImGuiIO& io = ImGui::GetIO();
    io.IniFilename = nullptr;
    io.DisplaySize = ImVec2(static_cast<float>(kGluiPanelWidth), kPanelHeight);
    io.DeltaTime = 1.0f / 60.0f;
    io.KeyMap[ImGuiKey_Enter] = kEnterKey;
    io.Fonts->Build();
    io.MousePos = ImVec2(-1, -1);
    calls.clear();
  }
  void TearDown() override { ImGui::DestroyContext(context_); }

  // One panel frame: the panel window as the framework opens it, with the tree drawn in it.
  int frame() {
    ImGui::NewFrame();
    ImGui::SetNextWindowPos(ImVec2(0, 0));
    ImGui::SetNextWindowSize(ImGui::GetIO().DisplaySize);
    ImGui::Begin("panel", nullptr,
                 ImGuiWindowFlags_NoTitleBar | ImGuiWindowFlags_NoResize | ImGuiWindowFlags_NoMove |
                     ImGuiWindowFlags_NoSavedSettings);
    int acted = glui.draw();
    ImGui::End();
    ImGui::Render();
    return acted;
  }
  // Vertices drawn into the panel window last frame: grows with every glyph and mark shown.
  int panelVertices() {
    ImDrawData* data = ImGui::GetDrawData();
    int n = 0;
    for (int k = 0; k < data->CmdListsCount; ++k) n += data->CmdLists[k]->VtxBuffer.Size;
    return n;
  }
  // A press and a release in frames of their own, as a hand makes them. Returns whether any
  // of the frames reported an action.
  int click(ImVec2 at) {
    ImGuiIO& io = ImGui::GetIO();
    io.MousePos = at;
    int acted = frame();
    io.MouseDown[0] = true;
    acted |= frame();
    io.MouseDown[0] = false;
    acted |= frame();
    return acted;
  }
  int type(const char* text) {
    ImGui::GetIO().AddInputCharactersUTF8(text);
    return frame();
  }
  int enter() {
    ImGuiIO& io = ImGui::GetIO();
    io.KeysDown[kEnterKey] = true;
    int acted = frame();
    io.KeysDown[kEnterKey] = false;
    acted |= frame();
    return acted;
  }
  ProbeControl* probe(GLUI_Control* into, GLUI_Control::Kind kind, const char* name, int id = -1) {
    auto* p = new ProbeControl(kind, name, id, recordCall);
    glui.add_control(into ? into : glui.main_panel, p);
    return p;
  }

  GLUI glui;
  ImGuiContext* context_ = nullptr;
};

TEST_F(GluiFrames, AClickOnACheckboxTogglesItsIntAndCallsBack) {
  int flag = 0;
  GLUI_Control* c = glui.add_checkbox("lock view (l)", &flag, 40, recordCall);
  frame();
  // The only control: its box is the first item of the window.
  ImVec2 box = ImGui::GetStyle().WindowPadding;
  ImVec2 at(box.x + 5, box.y + 5);
  EXPECT_EQ(click(at), 1);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(calls, (std::vector<int>{40}));
  EXPECT_EQ(click(at), 1);
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(calls, (std::vector<int>{40, 40}));
  EXPECT_EQ(frame(), 0);  // no click, no action
  c->disable();
  EXPECT_EQ(click(at), 0);  // a disabled control takes no clicks
  EXPECT_EQ(flag, 0);
  EXPECT_EQ(calls.size(), 2u);
}

TEST_F(GluiFrames, ACheckboxShowsTheProgramsValueInTheNextFrame) {
  int flag = 0;
  glui.add_checkbox("show stars(s)", &flag);
  frame();
  int unchecked = panelVertices();
  flag = 1;  // the program changes it (a key, say)
  frame();
  EXPECT_GT(panelVertices(), unchecked);  // the check mark is drawn
  flag = 0;
  frame();
  EXPECT_EQ(panelVertices(), unchecked);
}

TEST_F(GluiFrames, ALiveTextChangedByTheProgramShowsInTheNextFrame) {
  std::string hd = "12";
  glui.add_edittext("HD number:", GLUI_EDITTEXT_STRING, &hd, 54, recordCall);
  frame();
  int before = panelVertices();
  hd = "123456";
  frame();
  EXPECT_EQ(panelVertices(), before + 4 * 4);  // four glyphs more, four vertices each
}

TEST_F(GluiFrames, EnterInAnEditTextCallsBackTypingAloneDoesNot) {
  char name[32] = "";
  ProbeControl* field = probe(nullptr, GLUI_Control::kEditText, "File:", 70);
  field->liveText = name;
  field->liveTextSize = sizeof name;
  frame();
  EXPECT_EQ(click(field->centre()), 0);  // the field takes the focus
  EXPECT_EQ(type("m51.obj"), 0);
  EXPECT_STREQ(name, "m51.obj");  // the live text follows the typing...
  EXPECT_TRUE(calls.empty());    // ...but nothing acts before Enter
  EXPECT_EQ(enter(), 1);
  EXPECT_EQ(calls, (std::vector<int>{70}));
  EXPECT_STREQ(name, "m51.obj");
}

TEST_F(GluiFrames, TypingIntoABufferStopsAtItsEnd) {
  struct Guarded {
    char text[6];
    char canary[4];
  } buf;
  memset(&buf, 'x', sizeof buf);
  buf.text[0] = '\0';
  ProbeControl* field = probe(nullptr, GLUI_Control::kEditText, "Path:", 21);
  field->liveText = buf.text;
  field->liveTextSize = sizeof buf.text;
  frame();
  click(field->centre());
  type("/a/very/long/path");
  enter();
  EXPECT_STREQ(buf.text, "/a/ve");
  EXPECT_EQ(std::string(buf.canary, sizeof buf.canary), "xxxx");
}

TEST_F(GluiFrames, ATypedNumberIsClampedToTheLimitsOnEnter) {
  int places = 3;
  ProbeControl* field = probe(nullptr, GLUI_Control::kEditText, "d.p.:", 43);
  field->liveInt = &places;
  field->set_int_limits(1, 7);
  frame();
  click(field->centre());
  // Select what is there and type over it.
  ImGuiIO& io = ImGui::GetIO();
  io.KeyCtrl = true;
  io.KeyMap[ImGuiKey_A] = 'A';
  io.KeysDown['A'] = true;
  frame();
  io.KeysDown['A'] = false;
  io.KeyCtrl = false;
  frame();
  type("42");
  EXPECT_EQ(places, 3);  // not before Enter
  EXPECT_TRUE(calls.empty());
  EXPECT_EQ(enter(), 1);
  EXPECT_EQ(places, 7);
  EXPECT_EQ(calls, (std::vector<int>{43}));
}

TEST_F(GluiFrames, ASpinnersArrowsStepAndStopAtTheLimits) {
  int places = 6;
  ProbeControl* s = probe(nullptr, GLUI_Control::kSpinner, "Scrn.Printout (d.p.):", 43);
  s->liveInt = &places;
  s->set_int_limits(1, 7);
  s->set_speed(0.1f);
  frame();
  // The label is too long to leave room beside it: the field stands under it, whole.
  EXPECT_FLOAT_EQ(s->low.x, ImGui::GetStyle().WindowPadding.x);
  EXPECT_LE(s->high.x, kGluiPanelWidth - ImGui::GetStyle().WindowPadding.x);
  EXPECT_EQ(click(s->rightEnd()), 1);
  EXPECT_EQ(places, 7);
  EXPECT_EQ(click(s->rightEnd()), 1);
  EXPECT_EQ(places, 7);  // held at the top
  EXPECT_EQ(calls, (std::vector<int>{43, 43}));
}

TEST_F(GluiFrames, AFloatSpinnerStepsByItsRangeAndSpeed) {
  float distance = 100.0f;
  ProbeControl* s = probe(nullptr, GLUI_Control::kSpinner, "Distance");
  s->liveFloat = &distance;
  s->set_float_limits(0.0f, 8000.0f);
  frame();
  click(s->rightEnd());
  EXPECT_FLOAT_EQ(distance, 110.0f);  // a step is an 800th of the range
  s->set_speed(0.5f);
  click(s->rightEnd());
  EXPECT_FLOAT_EQ(distance, 115.0f);
}

TEST_F(GluiFrames, AListboxChoiceSetsTheLiveIdAndCallsBack) {
  int coord = 720;
  ProbeControl* lb = probe(nullptr, GLUI_Control::kListbox, "Coordinate:", 230);
  lb->liveInt = &coord;
  lb->add_item(720, "galactic");
  lb->add_item(721, "equatorial");
  lb->add_item(722, "super-galactic");
  frame();
  ImVec2 comboLow = lb->low, comboHigh = lb->high;
  EXPECT_EQ(click(lb->centre()), 0);  // opens the list
  // The list opens under the box, one entry a line.
  const ImGuiStyle& style = ImGui::GetStyle();
  float line = ImGui::GetFontSize() + style.ItemSpacing.y;
  ImVec2 third(comboLow.x + 20, comboHigh.y + style.WindowPadding.y + 2 * line + ImGui::GetFontSize() / 2);
  EXPECT_EQ(click(third), 1);
  EXPECT_EQ(coord, 722);
  EXPECT_EQ(calls, (std::vector<int>{230}));
}

TEST_F(GluiFrames, ARadioClickChoosesTheButtonsNumber) {
  int texChoice = 0;
  GLUI_Control* rg = glui.add_radiogroup(&texChoice, 60, recordCall);
  glui.add_radiobutton_to_group(rg, "[1] no texture");
  glui.add_radiobutton_to_group(rg, "[2] texture selection");
  glui.add_radiobutton_to_group(rg, "[3] texture slider");
  frame();
  const ImGuiStyle& style = ImGui::GetStyle();
  float line = ImGui::GetFrameHeight() + style.ItemSpacing.y;
  ImVec2 third(style.WindowPadding.x + 5, style.WindowPadding.y + 2 * line + 5);
  EXPECT_EQ(click(third), 1);
  EXPECT_EQ(texChoice, 2);
  EXPECT_EQ(calls, (std::vector<int>{60}));
}

TEST_F(GluiFrames, AButtonCallsBackWithItsId) {
  ProbeControl* b = probe(nullptr, GLUI_Control::kButton, "Export", 70);
  b->set_w(44);
  frame();
  EXPECT_FLOAT_EQ(b->high.x - b->low.x, 44.0f);
  EXPECT_EQ(click(b->centre()), 1);
  EXPECT_EQ(calls, (std::vector<int>{70}));
}

TEST_F(GluiFrames, ARolloutOpensAndClosesAndShowsItsChildrenOnlyWhenOpen) {
  GLUI_Control* r = glui.add_rollout("[F]ile Control", 0);
  ProbeControl* inside = probe(r, GLUI_Control::kButton, "dir", 20);
  frame();
  EXPECT_EQ(inside->drawn, 0);
  ImVec2 header(ImGui::GetStyle().WindowPadding.x + 20, ImGui::GetStyle().WindowPadding.y + 5);
  EXPECT_EQ(click(header), 0);  // opening acts on no value
  EXPECT_TRUE(r->isOpen);
  int drawnOpen = inside->drawn;
  frame();
  EXPECT_EQ(inside->drawn, drawnOpen + 1);
  click(header);
  EXPECT_FALSE(r->isOpen);
  int drawnClosed = inside->drawn;
  frame();
  EXPECT_EQ(inside->drawn, drawnClosed);
  r->open();  // the program opens it
  frame();
  EXPECT_EQ(inside->drawn, drawnClosed + 1);
  EXPECT_TRUE(calls.empty());
}

TEST_F(GluiFrames, MovedRolloutsAreDrawnInTheirNewOrder) {
  GLUI_Control* a = glui.add_rollout("a", 1);
  GLUI_Control* b = glui.add_rollout("b", 1);
  ProbeControl* inA = probe(a, GLUI_Control::kButton, "in a");
  ProbeControl* inB = probe(b, GLUI_Control::kButton, "in b");
  frame();
  EXPECT_LT(inA->low.y, inB->low.y);
  glui.add_control(glui.main_panel, glui.remove_control(glui.main_panel, 0));
  frame();
  EXPECT_GT(inA->low.y, inB->low.y);
}

// The panel's "m" button rotates the rollouts from its own callback, in the middle of a frame.
GLUI* rotating = nullptr;
void rotateFirstRollout(int id) {
  calls.push_back(id);
  GLUI_Control* first = rotating->remove_control(rotating->main_panel, 1);
  rotating->add_control(rotating->main_panel, first);
}

TEST_F(GluiFrames, ACallbackMayRearrangeThePanelWhileItIsDrawn) {
  rotating = &glui;
  ProbeControl* m = probe(nullptr, GLUI_Control::kButton, "m", 14);
  m->callback = rotateFirstRollout;
  GLUI_Control* a = glui.add_rollout("a", 1);
  GLUI_Control* b = glui.add_rollout("b", 1);
  ProbeControl* inA = probe(a, GLUI_Control::kButton, "in a");
  ProbeControl* inB = probe(b, GLUI_Control::kButton, "in b");
  frame();
  EXPECT_LT(inA->low.y, inB->low.y);
  EXPECT_EQ(click(m->centre()), 1);
  EXPECT_EQ(calls, (std::vector<int>{14}));
  EXPECT_EQ(names(glui.main_panel), (std::vector<std::string>{"m", "b", "a"}));
  int aDrawn = inA->drawn, bDrawn = inB->drawn;
  frame();
  EXPECT_EQ(inA->drawn, aDrawn + 1);  // each drawn once a frame in the new order
  EXPECT_EQ(inB->drawn, bDrawn + 1);
  EXPECT_GT(inA->low.y, inB->low.y);
}

void disableCaller(int id) {
  calls.push_back(id);
  if (rotating) rotating->main_panel->children[0]->disable();
}

TEST_F(GluiFrames, ACallbackMayDisableItsOwnControl) {
  rotating = &glui;
  int flag = 0;
  ProbeControl* box = probe(nullptr, GLUI_Control::kCheckbox, "show anchor (A)", 5);
  box->liveInt = &flag;
  box->callback = disableCaller;
  frame();
  EXPECT_EQ(click(box->centre()), 1);  // ImGui's disabled stack stays balanced
  EXPECT_FALSE(box->enabled);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(click(box->centre()), 0);
  EXPECT_EQ(flag, 1);
  EXPECT_EQ(calls, (std::vector<int>{5}));
}

TEST_F(GluiFrames, ColumnsStandSideBySide) {
  GLUI_Control* panel = glui.add_panel("", GLUI_PANEL_NONE);
  ProbeControl* quit = probe(panel, GLUI_Control::kButton, "Quit", 10);
  ProbeControl* also = probe(panel, GLUI_Control::kButton, "under Quit", 9);
  glui.add_column_to_panel(panel, 0);
  ProbeControl* help = probe(panel, GLUI_Control::kButton, "Help", 11);
  glui.add_column_to_panel(panel, 0);
  ProbeControl* about = probe(panel, GLUI_Control::kButton, "About", 12);
  frame();
  frame();  // the columns take their widths from the first frame
  EXPECT_FLOAT_EQ(help->low.y, quit->low.y);
  EXPECT_FLOAT_EQ(about->low.y, quit->low.y);
  EXPECT_GT(also->low.y, quit->low.y);  // a column holds its controls one under the other
  EXPECT_FLOAT_EQ(also->low.x, quit->low.x);
  EXPECT_GT(help->low.x, also->high.x);
  EXPECT_GT(about->low.x, help->high.x);
  EXPECT_EQ(click(help->centre()), 1);
  EXPECT_EQ(calls, (std::vector<int>{11}));
}

TEST_F(GluiFrames, MoreColumnsThanImGuiHoldsStartNewRows) {
  GLUI_Control* panel = glui.add_panel("", GLUI_PANEL_NONE);
  ProbeControl* first = probe(panel, GLUI_Control::kButton, "first");
  for (int k = 0; k < 70; ++k) glui.add_column_to_panel(panel, 1);
  ProbeControl* last = probe(panel, GLUI_Control::kButton, "last");
  frame();
  frame();
  EXPECT_EQ(first->drawn, 2);
  EXPECT_EQ(last->drawn, 2);
  EXPECT_GT(last->low.y, first->low.y);
}

TEST_F(GluiFrames, AFieldInAColumnKeepsTheWidthAskedFor) {
  char path[64] = "/work/samples";
  GLUI_Control* panel = glui.add_panel("", GLUI_PANEL_NONE);
  ProbeControl* field = probe(panel, GLUI_Control::kEditText, "Path:");
  field->liveText = path;
  field->liveTextSize = sizeof path;
  field->set_w(130);
  glui.add_column_to_panel(panel, 0);
  ProbeControl* dir = probe(panel, GLUI_Control::kButton, "dir", 20);
  dir->set_w(44);
  frame();
  frame();
  float left = ImGui::GetStyle().WindowPadding.x;
  EXPECT_FLOAT_EQ(field->high.x - left, 130.0f);  // label and field together
  EXPECT_FLOAT_EQ(dir->low.y, field->low.y);
  EXPECT_GT(dir->low.x, field->high.x);
  EXPECT_FLOAT_EQ(dir->high.x - dir->low.x, 44.0f);
}

TEST_F(GluiFrames, EqualLabelsDoNotClash) {
  std::string x1, x2;
  ProbeControl* a = probe(nullptr, GLUI_Control::kEditText, "vel. X:");
  a->liveString = &x1;
  ProbeControl* b = probe(nullptr, GLUI_Control::kEditText, "vel. X:");
  b->liveString = &x2;
  frame();
  click(b->centre());
  type("7");
  EXPECT_EQ(x1, "");
  EXPECT_EQ(x2, "7");
}

TEST_F(GluiFrames, ACentredStaticTextStandsInTheMiddle) {
  ProbeControl* t = probe(nullptr, GLUI_Control::kStaticText, "VELMORA PANEL");
  t->set_alignment(GLUI_ALIGN_CENTER);
  ProbeControl* left = probe(nullptr, GLUI_Control::kStaticText, "VELMORA PANEL");
  frame();
  float room = kGluiPanelWidth - 2 * ImGui::GetStyle().WindowPadding.x;
  float middle = (t->low.x + t->high.x) / 2;
  EXPECT_NEAR(middle, ImGui::GetStyle().WindowPadding.x + room / 2, 1.0);
  EXPECT_FLOAT_EQ(left->low.x, ImGui::GetStyle().WindowPadding.x);
}

TEST_F(GluiFrames, SyncLiveWithoutAPanelIsHarmless) {
  glui.sync_live();
  EXPECT_EQ(frame(), 0);
}

}  // namespace

// The framework's own main lives in the viewer library; this program brings its own, so that the
// framework (and a scene) stay out of it.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
