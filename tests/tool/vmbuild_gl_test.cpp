// The tool's control panel in real windows on a private X server: the sub-window beside the
// picture that widens the main window, the window of its own, the panel drawn in its colours with
// the rollouts that the m key opens, and a callback from the panel acting on the picture.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tool/velmora.h"
#include "tool/vmbuild.h"
#include "tool/vmcb.h"
#include "viewer/glui.h"
#include "viewer/panel.h"
#include "viewer/tarnwick.h"

namespace {

constexpr int kSide = 256;
// Frames enough for ImGui to settle a change (hover, open, layout).
constexpr int kSettleFrames = 8;

void pump(int frames = kSettleFrames) {
  for (int i = 0; i < frames; i++) {
    if (panelWindow()) glutPostWindowRedisplay(panelWindow());
    glutMainLoopEvent();
  }
}

int widthOf(int window) {
  int current = glutGetWindow();
  glutSetWindow(window);
  int w = glutGet(GLUT_WINDOW_WIDTH);
  glutSetWindow(current);
  return w;
}

struct Picture {
  int w = 0, h = 0;
  std::vector<unsigned char> rgb;  // bottom row first
  int count(unsigned char r, unsigned char g, unsigned char b, int tolerance) const {
    int n = 0;
    for (size_t i = 0; i + 2 < rgb.size(); i += 3)
      if (std::abs(rgb[i] - r) <= tolerance && std::abs(rgb[i + 1] - g) <= tolerance &&
          std::abs(rgb[i + 2] - b) <= tolerance)
        n++;
    return n;
  }
  // Pixels brighter than 200 in every channel: the panel's text.
  int bright() const {
    int n = 0;
    for (size_t i = 0; i + 2 < rgb.size(); i += 3)
      if (rgb[i] > 200 && rgb[i + 1] > 200 && rgb[i + 2] > 200) n++;
    return n;
  }
  // Rows (from the top) that hold any text pixel.
  int lowestTextRow() const {
    for (int y = 0; y < h; y++)
      for (int x = 0; x < w; x++) {
        const unsigned char* p = &rgb[(static_cast<size_t>(y) * w + x) * 3];
        if (p[0] > 200 && p[1] > 200 && p[2] > 200) return h - 1 - y;
      }
    return -1;
  }
  void save(const std::string& name) const { testsupport::keepShotForALook(name, rgb.data(), w, h); }
};

// What the panel shows now, as the X server has it: the main window ("test") grabbed with
// ImageMagick, the panel's columns cut from its right.
Picture panelPicture() {
  pump();
  glFinish();
  testsupport::TempDir dir;
  const std::string file = dir.file("grab.rgb");
  const std::string display = "DISPLAY=" + testsupport::sharedDisplay() + " ";
  std::string id = testsupport::run(display + "xdotool search --name '^test$' | head -n 1").out;
  while (!id.empty() && (id.back() == '\n' || id.back() == ' ')) id.pop_back();
  testsupport::run(display + "import -window " + id + " -depth 8 rgb:" + file);
  const std::string all = testsupport::readFile(file);
  Picture p;
  const int mainW = widthOf(mainWindow);
  p.w = kGluiPanelWidth;
  p.h = mainW > 0 ? static_cast<int>(all.size() / 3 / static_cast<size_t>(mainW)) : 0;
  p.rgb.resize(static_cast<size_t>(p.w) * p.h * 3);
  // Bottom row first, as OpenGL reads.
  for (int row = 0; row < p.h; row++)
    memcpy(&p.rgb[static_cast<size_t>(p.h - 1 - row) * p.w * 3],
           &all[(static_cast<size_t>(row) * mainW + static_cast<size_t>(mainW - p.w)) * 3],
           static_cast<size_t>(p.w) * 3);
  return p;
}

class PanelWindow : public testing::Test {
 protected:
  void SetUp() override {
    int window = testsupport::openGLWindow(kSide, kSide);
    ASSERT_NE(window, 0) << "Xvfb could not be started";
    mainWindow = window;
    winW = winH = kSide;
    texObjs = nullptr, nTexObjs = 0, sliderTex = nullptr, nSliderTex = 0, nFixedModels = 0;
    alignfile[0] = '\0';
    currFovy = 40, currAspect = 1, sensitivity = 1;
    lockView = 0;
  }
  void TearDown() override {
    GLUI_Master.close_all();
    glui = nullptr;
    nRolloutList = rolloutOffset = rolloutStart = 0;
    starPosLText = starPosBText = texRadioGroup = recentFilesBox = nullptr;
    textureSlider = alphaSlider = nullptr;
    nRecentFiles = 0;
    useSubGLUI = 0;
    glutSetWindow(mainWindow);
    glutReshapeWindow(kSide, kSide);
    pump(3);
  }
};

// Beside the picture: a sub-window of the panel's width on the right, the main window widened by
// it, the picture's part unchanged.
TEST_F(PanelWindow, SubWindowBesideThePictureWidensTheMainWindow) {
  useSubGLUI = 1;
  myGLUICreate();
  ASSERT_NE(glui, nullptr);
  EXPECT_EQ(GLUI_Master.glui, glui);
  EXPECT_NE(glui->glutWindow, 0);
  EXPECT_EQ(glui->glutWindow, panelWindow());
  EXPECT_EQ(panelIsSubWindow(), 1);
  EXPECT_EQ(glui->mainGfxWindow, mainWindow);
  EXPECT_EQ(nRolloutList, 6);
  pump();
  EXPECT_EQ(widthOf(mainWindow), kSide + kGluiPanelWidth);
  EXPECT_EQ(widthOf(panelWindow()), kGluiPanelWidth);
  int x, y, w, h;
  GLUI_Master.get_viewport_area(&x, &y, &w, &h);
  EXPECT_EQ(w, kSide);
  EXPECT_EQ(h, kSide);
}

// A window of its own ("Velmora Panel") leaves the main window's size alone.
TEST_F(PanelWindow, WindowOfItsOwn) {
  useSubGLUI = 0;
  myGLUICreate();
  ASSERT_NE(glui, nullptr);
  EXPECT_NE(panelWindow(), 0);
  EXPECT_EQ(panelIsSubWindow(), 0);
  pump();
  EXPECT_EQ(widthOf(mainWindow), kSide);
  std::string display = testsupport::sharedDisplay();
  testsupport::RunResult r =
      testsupport::run("DISPLAY=" + display + " xdotool search --name '^Velmora Panel$'");
  EXPECT_EQ(r.status, 0) << r.err;
  EXPECT_FALSE(r.out.empty()) << "a window titled Velmora Panel exists";
}

// The panel is drawn in its own colours: the dark wine background and near-white text. m p opens
// the star panel at the top, which makes the column longer; m - closes everything again.
TEST_F(PanelWindow, DrawnInItsColoursWithRolloutsOpenedByKeys) {
  useSubGLUI = 1;
  myGLUICreate();
  ASSERT_NE(glui, nullptr);
  Picture closed = panelPicture();
  closed.save("vmbuild-panel-closed");
  const int area = closed.w * closed.h;
  ASSERT_GT(area, 0);
  EXPECT_GT(closed.count(90, 30, 50, 2), area / 4) << "the background colour covers the panel";
  EXPECT_GT(closed.bright(), 200) << "texts in the foreground colour";
  const int closedBottom = closed.lowestTextRow();

  EXPECT_EQ(myKeyCB('m', 0, 0), 1);
  EXPECT_EQ(myKeyCB('p', 0, 0), 1);
  Picture open = panelPicture();
  open.save("vmbuild-panel-star-open");
  EXPECT_GT(open.lowestTextRow(), closedBottom) << "the open star panel reaches further down";
  EXPECT_GT(open.bright(), closed.bright());

  EXPECT_EQ(myKeyCB('m', 0, 0), 1);
  EXPECT_EQ(myKeyCB('-', 0, 0), 1);
  Picture again = panelPicture();
  EXPECT_EQ(again.lowestTextRow(), closedBottom);
}

// A control calls back while the panel's window is current; the picture's window is the one that
// changes, and the panel's stays current.
TEST_F(PanelWindow, ACallbackFromThePanelActsOnThePicture) {
  useSubGLUI = 1;
  myGLUICreate();
  ASSERT_NE(glui, nullptr);
  pump();
  glutSetWindow(panelWindow());
  myCurrFovy = 50;
  myGLUICallback(30);
  EXPECT_EQ(glutGetWindow(), panelWindow());
  EXPECT_EQ(currFovy, 50);
  glutSetWindow(mainWindow);
  double p[16];
  glGetDoublev(GL_PROJECTION_MATRIX, p);
  EXPECT_NEAR(p[5], 1.0 / std::tan(25 * kRadiansPerDegree), 1e-6);
}

// The main test window's X id, for xdotool.
std::string mainWindowId() {
  const std::string display = "DISPLAY=" + testsupport::sharedDisplay() + " ";
  std::string id = testsupport::run(display + "xdotool search --name '^test$' | head -n 1").out;
  while (!id.empty() && (id.back() == '\n' || id.back() == ' ')) id.pop_back();
  return id;
}

// A click of the left button at x, y of the main window, held over a few panel frames, as a
// hand does.
void clickAt(int x, int y) {
  const std::string xdo = "DISPLAY=" + testsupport::sharedDisplay() + " xdotool ";
  testsupport::run(xdo + "mousemove --window " + mainWindowId() + " " + std::to_string(x) + " " +
                   std::to_string(y));
  pump();
  testsupport::run(xdo + "mousedown 1");
  pump();
  testsupport::run(xdo + "mouseup 1");
  pump();
}

// The buttons of the panel reach the callback with their ids: "m" turns the circle, a rollout's
// header opens it, "-" closes them all. Places as the panel lays itself out: the button row 51
// pixels down, "m" 183 and "-" 163 pixels into the panel; rollout headers every 27 pixels from 80.
TEST_F(PanelWindow, ClicksOnTheButtonsReachTheCallback) {
  useSubGLUI = 1;
  myGLUICreate();
  ASSERT_NE(glui, nullptr);
  pump();
  const int left = kSide;  // the panel's left edge in the main window
  clickAt(left + 183, 51);
  EXPECT_EQ(rolloutOffset, 1) << "the m button";
  clickAt(left + 60, 80);
  EXPECT_TRUE(rolloutList[1]->isOpen) << "the header on top is the view rollout's now";
  clickAt(left + 163, 51);
  for (int i = 0; i < nRolloutList; i++) EXPECT_FALSE(rolloutList[i]->isOpen) << i;
}

// The redisplay asked for a window other than the current one leaves the current one current.
TEST_F(PanelWindow, RedisplayOfAnotherWindowKeepsTheCurrentOne) {
  useSubGLUI = 1;
  myGLUICreate();
  ASSERT_NE(glui, nullptr);
  glutSetWindow(panelWindow());
  myGlutPostRedisplay(mainWindow);
  EXPECT_EQ(glutGetWindow(), panelWindow());
  myGlutPostRedisplay(0);
  EXPECT_EQ(glutGetWindow(), panelWindow());
  glutSetWindow(mainWindow);
}

}  // namespace
