// The panel library's windows on a private X server: a sub-window panel on the right of a GLUT
// window, its pixels and colours, clicks that reach its controls, and a panel of its own.
#include <gtest/gtest.h>  // before Xlib, whose None and Bool macros it can't abide
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <X11/Xlib.h>
#include <X11/Xutil.h>
#include <imgui.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "viewer/glui.h"
#include "viewer/panel.h"

namespace {

constexpr int kWinW = 500;
constexpr int kWinH = 320;
constexpr int kPictureW = kWinW - kGluiPanelWidth;
// Event passes to wait at most for something to show; each lets the X server and GLUT run.
constexpr int kMaxPasses = 400;
constexpr useconds_t kPassPause = 5000;
// The alignment panel's colours.
constexpr float kBackground[3] = {90, 30, 50};
constexpr float kForeground[3] = {250, 250, 250};

int pictureDraws = 0;
void drawPicture() {
  ++pictureDraws;
  glViewport(0, 0, kWinW, kWinH);
  glClearColor(0.0f, 0.0f, 1.0f, 1.0f);
  glClear(GL_COLOR_BUFFER_BIT);
  glutSwapBuffers();
}

std::vector<int> calls;
void recordCall(int id) {
  calls.push_back(id);
}
int windowInCallback = -1;  // the window current while the last recordWindow ran
void recordWindow(int id) {
  calls.push_back(id);
  windowInCallback = glutGetWindow();
}
void closePanel(int id) {
  calls.push_back(id);
  GLUI_Master.close_all();
}

// A control that notes where it was drawn, in the panel window's pixels.
class ProbeControl : public GLUI_Control {
 public:
  ProbeControl(Kind k, const char* text, int ident, GLUI_Update_CB cb) : GLUI_Control(k, text, ident, cb) {}
  int draw() override {
    int acted = GLUI_Control::draw();
    low = ImGui::GetItemRectMin();
    high = ImGui::GetItemRectMax();
    ++drawn;
    return acted;
  }
  ImVec2 low, high;
  int drawn = 0;
};

// Lets GLUT handle events until done() holds or the passes run out; returns done().
template <typename F>
bool pumpUntil(F done) {
  for (int k = 0; k < kMaxPasses && !done(); ++k) {
    glutMainLoopEvent();
    usleep(kPassPause);
  }
  return done();
}

void pumpFrames(long frames) {
  long until = panelFrameCount() + frames;
  pumpUntil([until] { return panelWindow() == 0 || panelFrameCount() >= until; });
}

struct Screen {
  int width = 0, height = 0;
  std::vector<unsigned char> rgb;  // top row first
  const unsigned char* at(int x, int y) const { return &rgb[(static_cast<size_t>(y) * width + x) * 3]; }
};

// What the X server shows at the top left of the screen, where the test window stands.
Screen grabScreen(int width, int height) {
  Screen s;
  Display* d = XOpenDisplay(nullptr);
  if (!d) return s;
  XImage* image = XGetImage(d, DefaultRootWindow(d), 0, 0, width, height, AllPlanes, ZPixmap);
  if (image) {
    s.width = width;
    s.height = height;
    s.rgb.resize(static_cast<size_t>(width) * height * 3);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x) {
        unsigned long p = XGetPixel(image, x, y);
        unsigned char* o = &s.rgb[(static_cast<size_t>(y) * width + x) * 3];
        o[0] = static_cast<unsigned char>((p & image->red_mask) >> 16);
        o[1] = static_cast<unsigned char>((p & image->green_mask) >> 8);
        o[2] = static_cast<unsigned char>(p & image->blue_mask);
      }
    XDestroyImage(image);
  }
  XCloseDisplay(d);
  return s;
}

bool isColour(const unsigned char* p, const float rgb[3]) {
  return p[0] == static_cast<int>(rgb[0]) && p[1] == static_cast<int>(rgb[1]) && p[2] == static_cast<int>(rgb[2]);
}

// A press and a release of the left button at a point of the panel, each seen by the panel in
// a frame of its own.
void clickPanelAt(ImVec2 at) {
  int x = kPictureW + static_cast<int>(at.x), y = static_cast<int>(at.y);
  std::string move = "xdotool mousemove " + std::to_string(x) + " " + std::to_string(y);
  ASSERT_EQ(testsupport::run(move).status, 0);
  pumpFrames(2);
  ASSERT_EQ(testsupport::run("xdotool mousedown 1").status, 0);
  pumpFrames(2);
  ASSERT_EQ(testsupport::run("xdotool mouseup 1").status, 0);
  pumpFrames(3);
}

ImVec2 centreOf(const ProbeControl* c) {
  return ImVec2((c->low.x + c->high.x) / 2, (c->low.y + c->high.y) / 2);
}

class GluiWindow : public ::testing::Test {
 protected:
  void SetUp() override {
    window = testsupport::openGLWindow(kWinW, kWinH);
    if (!window) GTEST_SKIP() << "no X server for the panel";
    glutDisplayFunc(drawPicture);
    calls.clear();
  }
  void TearDown() override {
    GLUI_Master.close_all();
    if (window) {
      glutSetWindow(window);
      glutReshapeFunc(nullptr);
    }
  }
  int window = 0;
};

TEST_F(GluiWindow, TheSubWindowStandsOnTheRightAndTheViewportExcludesIt) {
  GLUI* g = GLUI_Master.create_glui_subwindow(window, GLUI_SUBWINDOW_RIGHT);
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(GLUI_Master.glui, g);
  EXPECT_EQ(g->get_glut_window_id(), panelWindow());
  EXPECT_NE(g->get_glut_window_id(), 0);
  EXPECT_EQ(GLUI_Master.create_glui_subwindow(window, GLUI_SUBWINDOW_RIGHT), nullptr);  // only one
  for (int k = 0; k < 3; ++k) {
    g->bkgdColor[k] = kBackground[k];
    g->fgColor[k] = kForeground[k];
  }
  g->add_separator();
  g->add_statictext("VELMORA PANEL")->set_alignment(GLUI_ALIGN_CENTER);
  g->add_separator();
  GLUI_Control* row = g->add_panel("", GLUI_PANEL_NONE);
  g->add_button_to_panel(row, "Quit", 10, recordCall)->set_w(42);
  g->add_column_to_panel(row, 0);
  g->add_button_to_panel(row, "Help", 11, recordCall)->set_w(42);
  g->add_column_to_panel(row, 0);
  g->add_button_to_panel(row, "About", 12, recordCall)->set_w(42);
  GLUI_Control* roll = g->add_rollout("[S]tar Control", 1);
  int stars = 0;
  g->add_checkbox_to_panel(roll, "show stars(s)", &stars, 7, recordCall);
  float size = 1.0f;
  g->add_spinner_to_panel(roll, "Distance", GLUI_SPINNER_FLOAT, &size)->set_float_limits(0, 10000);
  g->set_main_gfx_window(window);
  glutSetWindow(window);
  glutPostRedisplay();
  pumpFrames(5);
  pumpUntil([] { return pictureDraws > 0; });

  int x, y, w, h;
  GLUI_Master.get_viewport_area(&x, &y, &w, &h);
  EXPECT_EQ(x, 0);
  EXPECT_EQ(y, 0);
  EXPECT_EQ(w, kPictureW);
  EXPECT_EQ(h, kWinH);

  Screen s = grabScreen(kWinW, kWinH);
  ASSERT_EQ(s.width, kWinW);
  testsupport::keepShotForALook("glui_gl_subwindow", s.rgb.data(), s.width, s.height, true);
  const float blue[3] = {0, 0, 255};
  // The bottom rows stand below every control: picture on the left, panel colour on the right.
  for (int row = kWinH - 20; row < kWinH; row += 5) {
    for (int col = 0; col < kWinW; ++col) {
      const unsigned char* p = s.at(col, row);
      if (col < kPictureW) {
        ASSERT_TRUE(isColour(p, blue)) << col << "," << row;
      } else {
        ASSERT_TRUE(isColour(p, kBackground)) << col << "," << row << ": " << int(p[0]) << " " << int(p[1]) << " "
                                              << int(p[2]);
      }
    }
  }
  // The title's letters are in the text colour, and only inside the panel.
  int lettersInPanel = 0, lettersInPicture = 0;
  for (int row = 0; row < 60; ++row)
    for (int col = 0; col < kWinW; ++col)
      if (isColour(s.at(col, row), kForeground)) ++(col < kPictureW ? lettersInPicture : lettersInPanel);
  EXPECT_GT(lettersInPanel, 20);
  EXPECT_EQ(lettersInPicture, 0);
}

// Every kind of control in one panel, as the alignment panels use them; the picture is saved for a
// look by eye, and the text of the lowest control must show.
TEST_F(GluiWindow, EveryKindOfControlIsDrawn) {
  constexpr int kTallH = 640;
  ASSERT_EQ(testsupport::openGLWindow(kWinW, kTallH), window);
  GLUI* g = GLUI_Master.create_glui_subwindow(window, GLUI_SUBWINDOW_RIGHT);
  ASSERT_NE(g, nullptr);
  for (int k = 0; k < 3; ++k) {
    g->bkgdColor[k] = kBackground[k];
    g->fgColor[k] = kForeground[k];
  }
  char path[512] = "/work/samples";
  int recent = 230, plain = 1, unit = 711, texChoice = 1, places = 3;
  float fovy = 45.0f;
  std::string hd = "8890", velX = "1.00 +- 2.00% km/s";
  GLUI_Control* file = g->add_rollout("[F]ile Control", 1);
  GLUI_Control* row = g->add_panel_to_panel(file, "", GLUI_PANEL_NONE);
  g->add_edittext_to_panel(row, "Path:", path, sizeof path)->set_w(130);
  g->add_column_to_panel(row, 0);
  g->add_button_to_panel(row, "dir", 20, recordCall)->set_w(44);
  GLUI_Control* list = g->add_listbox_to_panel(file, "recent:", &recent, 230, recordCall);
  list->add_item(230, "m51.obj");
  g->add_checkbox_to_panel(file, "is plain image?", &plain);
  GLUI_Control* align = g->add_rollout("[A]lignment Control", 1);
  GLUI_Control* units = g->add_listbox_to_panel(align, "Unit:", &unit);
  units->add_item(710, "parsec");
  units->add_item(711, "k-parsec");
  g->add_spinner_to_panel(align, "Scrn.Printout (d.p.):", GLUI_SPINNER_INT, &places)->set_int_limits(1, 7);
  g->add_slider_to_panel(align, "Fovy:", GLUI_LIVE_FLOAT, &fovy, 0.0f, 179.9f, 30, recordCall);
  GLUI_Control* pick = g->add_rollout("Star [P]icked or To Pick", 1);
  GLUI_Control* hdText = g->add_edittext_to_panel(pick, "HD number:", GLUI_EDITTEXT_STRING, &hd, 54);
  hdText->set_w(160);
  hdText->set_alignment(GLUI_ALIGN_CENTER);
  GLUI_Control* vel = g->add_rollout_to_panel(pick, "3.Velocity Info.", 1);
  g->add_statictext_to_panel(vel, "[Space Velocity w.r.t. Sun]");
  g->add_edittext_to_panel(vel, "vel. X:", GLUI_EDITTEXT_STRING, &velX);
  GLUI_Control* framed = g->add_panel("Milky Way", GLUI_PANEL_EMBOSSED);
  GLUI_Control* radio = g->add_radiogroup_to_panel(framed, &texChoice, 60, recordCall);
  g->add_radiobutton_to_group(radio, "[1] no texture");
  g->add_radiobutton_to_group(radio, "[2] texture selection");
  g->add_statictext("[pick by right mouse click]");
  pumpFrames(6);

  Screen s = grabScreen(kWinW, kTallH);
  ASSERT_EQ(s.width, kWinW);
  testsupport::keepShotForALook("glui_gl_every_kind", s.rgb.data(), s.width, s.height, true);
  // The last text stands somewhere below the middle: everything above it was laid out.
  int lowestText = -1;
  for (int y = 0; y < kTallH; ++y)
    for (int x = kPictureW; x < kWinW; ++x)
      if (isColour(s.at(x, y), kForeground)) lowestText = y;
  EXPECT_GT(lowestText, kTallH / 2);
  EXPECT_LT(lowestText, kTallH - 1);
  GLUI_Master.close_all();
  testsupport::openGLWindow(kWinW, kWinH);
}

TEST_F(GluiWindow, AClickInThePanelReachesTheControlAndThePicture) {
  GLUI* g = GLUI_Master.create_glui_subwindow(window, GLUI_SUBWINDOW_RIGHT);
  ASSERT_NE(g, nullptr);
  int stars = 0;
  auto* box = new ProbeControl(GLUI_Control::kCheckbox, "show stars(s)", 7, recordCall);
  box->liveInt = &stars;
  g->add_control(g->main_panel, box);
  g->set_main_gfx_window(window);
  pumpUntil([box] { return box->drawn > 0; });
  ASSERT_GT(box->drawn, 0);
  int drawsBefore = pictureDraws;
  clickPanelAt(centreOf(box));
  EXPECT_EQ(stars, 1);
  EXPECT_EQ(calls, (std::vector<int>{7}));
  pumpUntil([drawsBefore] { return pictureDraws > drawsBefore; });
  EXPECT_GT(pictureDraws, drawsBefore);  // the picture is drawn again after the change
  // The program changes it back; the panel follows once asked to.
  stars = 0;
  g->sync_live();
  clickPanelAt(centreOf(box));
  EXPECT_EQ(stars, 1);
}

// A click is handled while the panel draws, its window current; the callback acts on the
// picture, so it runs with the picture's window current, and the panel's is current again after.
TEST_F(GluiWindow, ACallbackRunsWithThePicturesWindowCurrent) {
  GLUI* g = GLUI_Master.create_glui_subwindow(window, GLUI_SUBWINDOW_RIGHT);
  ASSERT_NE(g, nullptr);
  auto* button = new ProbeControl(GLUI_Control::kButton, "open", 21, recordWindow);
  g->add_control(g->main_panel, button);
  g->set_main_gfx_window(window);
  pumpUntil([button] { return button->drawn > 0; });
  windowInCallback = -1;
  clickPanelAt(centreOf(button));
  EXPECT_EQ(calls, (std::vector<int>{21}));
  EXPECT_EQ(windowInCallback, window);
  // Called from the panel's window with no picture named, the callback runs where it is called.
  g->set_main_gfx_window(0);
  glutSetWindow(panelWindow());
  button->execute_callback();
  EXPECT_EQ(windowInCallback, panelWindow());
  g->set_main_gfx_window(window);
  button->execute_callback();
  EXPECT_EQ(windowInCallback, window);
  EXPECT_EQ(glutGetWindow(), panelWindow()) << "the panel's window is current again";
}

TEST_F(GluiWindow, ACallbackMayCloseThePanel) {
  GLUI* g = GLUI_Master.create_glui_subwindow(window, GLUI_SUBWINDOW_RIGHT);
  ASSERT_NE(g, nullptr);
  auto* quit = new ProbeControl(GLUI_Control::kButton, "Quit", 10, closePanel);
  g->add_control(g->main_panel, quit);
  g->add_statictext("after the button");
  pumpUntil([quit] { return quit->drawn > 0; });
  ImVec2 at = centreOf(quit);
  clickPanelAt(at);
  EXPECT_EQ(calls, (std::vector<int>{10}));
  EXPECT_EQ(GLUI_Master.glui, nullptr);
  EXPECT_EQ(panelWindow(), 0);
  int x, y, w, h;
  glutSetWindow(window);
  GLUI_Master.get_viewport_area(&x, &y, &w, &h);
  EXPECT_EQ(w, kWinW);  // the picture has the whole window again
  GLUI_Master.close_all();  // harmless a second time
}

TEST_F(GluiWindow, APanelOfItsOwnLeavesThePictureTheWholeWindow) {
  glutSetWindow(window);
  GLUI* g = GLUI_Master.create_glui("Velmora Panel", 0, 600, 40);
  ASSERT_NE(g, nullptr);
  EXPECT_EQ(g->get_glut_window_id(), panelWindow());
  EXPECT_EQ(panelIsSubWindow(), 0);
  EXPECT_EQ(glutGetWindow(), window);  // the picture's window is current again
  g->add_statictext("VELMORA PANEL");
  pumpFrames(3);
  int x, y, w, h;
  GLUI_Master.get_viewport_area(&x, &y, &w, &h);
  EXPECT_EQ(w, kWinW);
  EXPECT_EQ(h, kWinH);
  {
    glutSetWindow(g->get_glut_window_id());
    EXPECT_EQ(glutGet(GLUT_WINDOW_WIDTH), kGluiPanelWidth);
    glutSetWindow(window);
  }
  GLUI_Master.close_all();
  EXPECT_EQ(GLUI_Master.glui, nullptr);
  EXPECT_EQ(panelWindow(), 0);
}

}  // namespace

// The framework's own main lives in the viewer library; this program brings its own.
int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
