// The panel seam in process, on a private X server: the panel as a window of its own, quick
// clicks and wheel steps sent by xdotool, keys typed into an edit box, and the controls following
// a variable that the picture changed.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <gtest/gtest.h>
#include <imgui.h>

#include <chrono>
#include <cstring>
#include <functional>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "viewer/panel.h"
#include "viewer/window_scope.h"

namespace {

constexpr int kPicW = 320;  // the picture's window
constexpr int kPicH = 240;
constexpr int kPanelW = 160;
constexpr int kPanelH = 300;   // the panel's own window
constexpr int kPanelGap = 20;  // between the picture and the panel's own window
constexpr int kTallLines = 80;
constexpr int kPumpRounds = 40;
constexpr int kPumpPauseMs = 5;
constexpr int kBrightBlue = 200;  // ImGui's check mark is a bright blue
const char* const kTitle = "Velmora Panel";

// What the test panel draws and what it saw while drawing.
struct PanelModel {
  int clicks = 0;
  int liveFlag = 0;    // the live variable of the check box
  int shownFlag = -1;  // its value when the panel last drew it
  float countRect[4] = {0, 0, 0, 0};
  float flagBox[3] = {0, 0, 0};  // left, top, side of the check box's square
  float nameRect[4] = {0, 0, 0, 0};
  char name[32] = "";
  int entered = 0;
  int tall = 0;
};
PanelModel model;

void rect(float* r) {
  ImVec2 a = ImGui::GetItemRectMin(), b = ImGui::GetItemRectMax();
  r[0] = a.x;
  r[1] = a.y;
  r[2] = b.x;
  r[3] = b.y;
}

int buildPanel() {
  if (ImGui::Button("Count")) ++model.clicks;
  rect(model.countRect);
  bool on = model.liveFlag != 0;
  if (ImGui::Checkbox("Live", &on)) model.liveFlag = on ? 1 : 0;
  model.shownFlag = model.liveFlag;
  ImVec2 a = ImGui::GetItemRectMin();
  model.flagBox[0] = a.x;
  model.flagBox[1] = a.y;
  model.flagBox[2] = ImGui::GetFrameHeight();
  if (ImGui::InputText("Name", model.name, sizeof model.name, ImGuiInputTextFlags_EnterReturnsTrue))
    ++model.entered;
  rect(model.nameRect);
  if (model.tall)
    for (int i = 0; i < kTallLines; ++i) ImGui::Text("line %d", i);
  return 0;
}

// What the picture's callbacks were given.
struct PictureCalls {
  std::vector<unsigned char> keys;
  std::vector<int> keyWindows;  // the current window at each key
  int presses = 0;
  int reshapes = 0;
  int lastW = 0, lastH = 0;
};
PictureCalls picture;

void pictureKey(unsigned char key, int, int) {
  picture.keys.push_back(key);
  picture.keyWindows.push_back(glutGetWindow());
  if (key == 'v') model.liveFlag = !model.liveFlag;  // as a scene's key flips a panel's flag
}
void pictureMouse(int, int state, int, int) {
  if (state == GLUT_DOWN) {
    ++picture.presses;
    model.liveFlag = !model.liveFlag;
  }
}
void pictureReshape(int w, int h) {
  ++picture.reshapes;
  picture.lastW = w;
  picture.lastH = h;
}

void pump(int rounds = kPumpRounds) {
  for (int i = 0; i < rounds; ++i) {
    glutMainLoopEvent();
    std::this_thread::sleep_for(std::chrono::milliseconds(kPumpPauseMs));
  }
}

testsupport::RunResult xdo(const std::string& args) {
  return testsupport::run("xdotool " + args);
}

// The X id of the one window with this exact name; "" if there is none.
std::string windowNamed(const std::string& name) {
  std::istringstream in(xdo("search --name '^" + name + "$'").out);
  std::string id;
  in >> id;
  return id;
}

enum class Kind { kSubWindow, kOwnWindow };

class PanelWindows : public testing::Test {
 protected:
  void SetUp() override {
    picWin = testsupport::openGLWindow(kPicW, kPicH);
    if (!picWin) GTEST_SKIP() << "no X server";
    model = PanelModel();
    picture = PictureCalls();
    glutSetWindow(picWin);
    picId = windowNamed("test");
  }
  void TearDown() override {
    if (!picWin) return;
    panelDestroy();
    glutSetWindow(picWin);
    glutReshapeFunc(nullptr);
    glutMouseFunc(nullptr);
    glutKeyboardFunc(nullptr);
    glutSpecialFunc(nullptr);
    pump(4);
  }

  // The panel of this kind, drawn and settled, with the picture's window current.
  void makePanel(Kind kind) {
    int id = kind == Kind::kSubWindow ? panelCreate(picWin, kPanelW, buildPanel)
                                      : panelCreateWindow(kTitle, kPanelW, kPanelH, buildPanel);
    EXPECT_NE(id, 0);
    if (kind == Kind::kOwnWindow) {
      // Beside the picture, not over it: there is no window manager to place it.
      WindowScope onPanel(id);
      glutPositionWindow(kPicW + kPanelGap, 0);
    }
    pump();
    glutSetWindow(picWin);  // drawing the panel left its window current
  }
  // xdotool's window and offset for a point of the panel.
  std::string pointAt(Kind kind, float x, float y) {
    if (kind == Kind::kSubWindow)
      return "--window " + picId + " " + std::to_string((int)x + kPicW - kPanelW) + " " +
             std::to_string((int)y);
    return "--window " + windowNamed(kTitle) + " " + std::to_string((int)x) + " " + std::to_string((int)y);
  }

  // Pixels of the check box's square that are the check mark's blue, in the panel as the X
  // server shows it (ImageMagick's grab of the window, top row first).
  int checkMarkPixels(Kind kind) {
    testsupport::TempDir dir;
    std::string file = dir.file("grab.rgb");
    std::string id = kind == Kind::kSubWindow ? picId : windowNamed(kTitle);
    EXPECT_EQ(testsupport::run("import -window " + id + " -depth 8 rgb:" + file).status, 0);
    std::string px = testsupport::readFile(file);
    int w = kind == Kind::kSubWindow ? kPicW : kPanelW;
    int dx = kind == Kind::kSubWindow ? kPicW - kPanelW : 0;
    int count = 0;
    int x0 = (int)model.flagBox[0], top = (int)model.flagBox[1], side = (int)model.flagBox[2];
    for (int y = top; y < top + side; ++y)
      for (int x = x0; x < x0 + side; ++x) {
        size_t at = ((size_t)y * w + x + dx) * 3;
        if (at + 2 < px.size() && (unsigned char)px[at + 2] > kBrightBlue) ++count;
      }
    return count;
  }

  int picWin = 0;
  std::string picId;
};

// The same, for each kind of panel.
class PanelSeam : public PanelWindows, public testing::WithParamInterface<Kind> {};

std::string kindName(const testing::TestParamInfo<Kind>& info) {
  return info.param == Kind::kSubWindow ? "SubWindow" : "OwnWindow";
}

}  // namespace

// ---- A window of its own ------------------------------------------------------------------

TEST_F(PanelWindows, OwnWindowStandsApartWithItsTitleAndSize) {
  int initW = glutGet(GLUT_INIT_WINDOW_WIDTH), initH = glutGet(GLUT_INIT_WINDOW_HEIGHT);
  int id = panelCreateWindow(kTitle, kPanelW, kPanelH, buildPanel);
  ASSERT_NE(id, 0);
  EXPECT_EQ(glutGetWindow(), picWin);  // the picture's window is current again
  EXPECT_EQ(panelWindow(), id);
  EXPECT_EQ(panelIsSubWindow(), 0);
  EXPECT_EQ(panelWidth(), kPanelW);
  // Later windows get GLUT's sizes as they were.
  EXPECT_EQ(glutGet(GLUT_INIT_WINDOW_WIDTH), initW);
  EXPECT_EQ(glutGet(GLUT_INIT_WINDOW_HEIGHT), initH);
  pump();
  {
    WindowScope onPanel(id);
    EXPECT_EQ(glutGet(GLUT_WINDOW_PARENT), 0);
    EXPECT_EQ(glutGet(GLUT_WINDOW_WIDTH), kPanelW);
    EXPECT_EQ(glutGet(GLUT_WINDOW_HEIGHT), kPanelH);
  }
  std::string x = windowNamed(kTitle);
  ASSERT_FALSE(x.empty());
  EXPECT_NE(testsupport::run("xwininfo -children -id " + x).out.find("(the root window)"), std::string::npos);
  // The picture keeps its whole window.
  int vx = -1, vy = -1, vw = -1, vh = -1;
  panelGetViewportArea(&vx, &vy, &vw, &vh);
  EXPECT_EQ(vx, 0);
  EXPECT_EQ(vy, 0);
  EXPECT_EQ(vw, kPicW);
  EXPECT_EQ(vh, kPicH);
  // Asked from inside the panel's window, the answer is the same.
  {
    WindowScope onPanel(id);
    panelGetViewportArea(&vx, &vy, &vw, &vh);
    EXPECT_EQ(vw, kPicW);
    EXPECT_EQ(vh, kPicH);
  }
}

TEST_P(PanelSeam, OnlyOnePanelOfEitherKind) {
  makePanel(GetParam());
  EXPECT_EQ(panelCreate(picWin, kPanelW, buildPanel), 0);
  EXPECT_EQ(panelCreateWindow(kTitle, kPanelW, kPanelH, buildPanel), 0);
  EXPECT_EQ(panelIsSubWindow(), GetParam() == Kind::kSubWindow ? 1 : 0);
}

TEST_P(PanelSeam, ThePicturesReshapeMovesOnlyASubWindow) {
  makePanel(GetParam());
  panelSetReshapeFunc(pictureReshape);
  constexpr int kNewW = 400, kNewH = 200;
  glutReshapeWindow(kNewW, kNewH);
  pump();
  EXPECT_GE(picture.reshapes, 1);
  EXPECT_EQ(picture.lastW, kNewW);
  EXPECT_EQ(picture.lastH, kNewH);
  int x, y, w, h;
  panelGetViewportArea(&x, &y, &w, &h);
  {
    WindowScope onPanel(panelWindow());
    if (GetParam() == Kind::kSubWindow) {
      EXPECT_EQ(glutGet(GLUT_WINDOW_X), kNewW - kPanelW);
      EXPECT_EQ(glutGet(GLUT_WINDOW_HEIGHT), kNewH);
      EXPECT_EQ(w, kNewW - kPanelW);
    } else {
      EXPECT_EQ(glutGet(GLUT_WINDOW_WIDTH), kPanelW);
      EXPECT_EQ(glutGet(GLUT_WINDOW_HEIGHT), kPanelH);
      EXPECT_EQ(w, kNewW);
    }
  }
  EXPECT_EQ(h, kNewH);
  glutReshapeWindow(kPicW, kPicH);
  pump();
}

TEST_P(PanelSeam, DestroyedThePanelLeavesThePictureItsWholeWindow) {
  makePanel(GetParam());
  panelDestroy();
  pump();
  EXPECT_EQ(panelWindow(), 0);
  EXPECT_EQ(panelIsSubWindow(), 0);
  EXPECT_EQ(panelFrameCount(), 0);
  EXPECT_EQ(windowNamed(kTitle), "");
  int x, y, w, h;
  panelGetViewportArea(&x, &y, &w, &h);
  EXPECT_EQ(w, kPicW);
  EXPECT_EQ(h, kPicH);
  // A second panel can be made after the first has gone.
  EXPECT_NE(panelCreateWindow(kTitle, kPanelW, kPanelH, buildPanel), 0);
}

// ---- Quick clicks and the wheel -----------------------------------------------------------

TEST_P(PanelSeam, QuickClicksOfXdotoolAllCount) {
  makePanel(GetParam());
  float cx = (model.countRect[0] + model.countRect[2]) / 2,
        cy = (model.countRect[1] + model.countRect[3]) / 2;
  // xdotool has sent everything before the panel sees any of it: each press and its release
  // reach the program in one pass of GLUT's event loop.
  ASSERT_EQ(xdo("mousemove " + pointAt(GetParam(), cx, cy) + " click 1").status, 0);
  pump();
  EXPECT_EQ(model.clicks, 1);
  ASSERT_EQ(xdo("mousemove " + pointAt(GetParam(), cx, cy) + " click --repeat 3 --delay 1 1").status, 0);
  pump();
  EXPECT_EQ(model.clicks, 4);
  // A click beside the button counts nothing.
  ASSERT_EQ(xdo("mousemove " + pointAt(GetParam(), cx, model.countRect[3] + 60) + " click 1").status, 0);
  pump();
  EXPECT_EQ(model.clicks, 4);
}

TEST_P(PanelSeam, TheWheelScrollsAnOverflowingPanel) {
  model.tall = 1;
  makePanel(GetParam());
  float top = model.countRect[1];
  std::string at = pointAt(GetParam(), kPanelW / 2, kPicH / 2);
  ASSERT_EQ(xdo("mousemove " + at + " click 5").status, 0);  // a step down
  pump();
  float oneStep = top - model.countRect[1];
  EXPECT_GT(oneStep, 0.0f) << "the wheel didn't scroll the panel";
  ASSERT_EQ(xdo("mousemove " + at + " click --repeat 3 --delay 1 5").status, 0);
  pump();
  EXPECT_FLOAT_EQ(model.countRect[1], top - 4 * oneStep);
  ASSERT_EQ(xdo("mousemove " + at + " click --repeat 2 --delay 1 4").status, 0);  // two up
  pump();
  EXPECT_FLOAT_EQ(model.countRect[1], top - 2 * oneStep);
  // Steps up past the top stop there.
  ASSERT_EQ(xdo("mousemove " + at + " click --repeat 5 --delay 1 4").status, 0);
  pump();
  EXPECT_FLOAT_EQ(model.countRect[1], top);
}

TEST_P(PanelSeam, AWheelOverAPanelThatFitsMovesNothing) {
  makePanel(GetParam());
  float top = model.countRect[1];
  ASSERT_EQ(xdo("mousemove " + pointAt(GetParam(), kPanelW / 2, kPicH / 2) + " click 5").status, 0);
  pump();
  EXPECT_EQ(model.countRect[1], top);
}

// ---- Keys ---------------------------------------------------------------------------------

TEST_P(PanelSeam, TextAndAQuickEnterReachAnEditBoxAndNotThePicture) {
  makePanel(GetParam());
  panelSetKeyboardFunc(pictureKey);
  float cx = (model.nameRect[0] + model.nameRect[2]) / 2, cy = (model.nameRect[1] + model.nameRect[3]) / 2;
  // Typed at once behind the click that makes the box active: the keys wait in the queue
  // behind the click, and the box has them all.
  ASSERT_EQ(xdo("mousemove " + pointAt(GetParam(), cx, cy) + " click 1 type --delay 1 Vega").status, 0);
  ASSERT_EQ(xdo("key Return").status, 0);
  pump();
  EXPECT_STREQ(model.name, "Vega");
  EXPECT_EQ(model.entered, 1);
  // The edit box had the keys: none went on to the picture.
  EXPECT_TRUE(picture.keys.empty());
}

TEST_P(PanelSeam, KeysThePanelDoesNotTakeGoToThePictureWithItsWindowCurrent) {
  makePanel(GetParam());
  panelSetKeyboardFunc(pictureKey);
  // The pointer over the panel, no edit box active.
  ASSERT_EQ(xdo("mousemove " + pointAt(GetParam(), kPanelW / 2, kPicH - 10) + " key x").status, 0);
  pump();
  ASSERT_EQ(picture.keys.size(), 1u);
  EXPECT_EQ(picture.keys[0], 'x');
  EXPECT_EQ(picture.keyWindows[0], picWin);
}

// ---- Controls follow their live variables --------------------------------------------------

TEST_P(PanelSeam, APictureFrameBringsTheControlsUpToDate) {
  makePanel(GetParam());
  EXPECT_EQ(model.shownFlag, 0);
  EXPECT_EQ(checkMarkPixels(GetParam()), 0);
  long frames = panelFrameCount();
  model.liveFlag = 1;  // changed by the program, no event of the panel's
  pump();
  EXPECT_EQ(panelFrameCount(), frames) << "the panel drew without being asked";
  EXPECT_EQ(model.shownFlag, 0);
  panelAfterPictureFrame();
  pump();
  EXPECT_EQ(panelFrameCount(), frames + 1);  // one frame, no more
  EXPECT_EQ(model.shownFlag, 1);
  EXPECT_GT(checkMarkPixels(GetParam()), 0) << "the check mark is not on show";
}

TEST_P(PanelSeam, AKeyOverThePictureBringsTheControlsUpToDate) {
  makePanel(GetParam());
  panelSetKeyboardFunc(pictureKey);
  ASSERT_EQ(xdo("mousemove --window " + picId + " 20 20 key v").status, 0);
  pump();
  ASSERT_EQ(picture.keys.size(), 1u);
  EXPECT_EQ(model.liveFlag, 1);
  EXPECT_EQ(model.shownFlag, 1);
  EXPECT_GT(checkMarkPixels(GetParam()), 0);
}

TEST_P(PanelSeam, AClickOnThePictureBringsTheControlsUpToDate) {
  makePanel(GetParam());
  panelSetMouseFunc(pictureMouse);
  ASSERT_EQ(xdo("mousemove --window " + picId + " 20 20 click 1").status, 0);
  pump();
  EXPECT_EQ(picture.presses, 1);
  EXPECT_EQ(model.shownFlag, 1);
  EXPECT_GT(checkMarkPixels(GetParam()), 0);
}

INSTANTIATE_TEST_SUITE_P(Kinds, PanelSeam, testing::Values(Kind::kSubWindow, Kind::kOwnWindow), kindName);

TEST(PanelSeamWithoutPanel, SyncCallsAreHarmless) {
  if (!testsupport::openGLWindow(kPicW, kPicH)) GTEST_SKIP() << "no X server";
  panelSync();
  panelAfterPictureFrame();
  EXPECT_EQ(panelFrameCount(), 0);
  EXPECT_EQ(panelWindow(), 0);
}

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
