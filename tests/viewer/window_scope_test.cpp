// The window switch of the framework: WindowScope, and the panel calls that rely on it.
#include "viewer/window_scope.h"

#include <GL/freeglut.h>
#include <gtest/gtest.h>

#include <string>

#include "tests/viewer/recorder.h"
#include "viewer/panel.h"
#include "viewer/tarnwick.h"

namespace {

constexpr int kSubSize = 32;
constexpr int kPanelWidth = 64;
constexpr int kWindowSize = 256;  // the framework window of this test program

class WindowSwitch : public testing::Test {
 protected:
  void SetUp() override {
    if (!frameworkWindow()) GTEST_SKIP() << "no X server";
    glutSetWindow(mainWindow);
  }
};

// A second window to switch between; the test that makes it destroys it.
int makeSubWindow() {
  int sub = glutCreateSubWindow(mainWindow, 0, 0, kSubSize, kSubSize);
  glutSetWindow(mainWindow);
  return sub;
}

}  // namespace

TEST_F(WindowSwitch, TargetIsCurrentInsideAndThePreviousWindowAfter) {
  int sub = makeSubWindow();
  {
    WindowScope onSub(sub);
    EXPECT_EQ(glutGetWindow(), sub);
  }
  EXPECT_EQ(glutGetWindow(), mainWindow);
  glutDestroyWindow(sub);
  glutSetWindow(mainWindow);
}

TEST_F(WindowSwitch, TargetZeroChangesNothing) {
  {
    WindowScope none(0);
    EXPECT_EQ(glutGetWindow(), mainWindow);
  }
  EXPECT_EQ(glutGetWindow(), mainWindow);
}

TEST_F(WindowSwitch, ScopesNestAndUnwindInOrder) {
  int sub = makeSubWindow();
  {
    WindowScope onSub(sub);
    {
      WindowScope onMain(mainWindow);
      EXPECT_EQ(glutGetWindow(), mainWindow);
    }
    EXPECT_EQ(glutGetWindow(), sub);
  }
  EXPECT_EQ(glutGetWindow(), mainWindow);
  glutDestroyWindow(sub);
  glutSetWindow(mainWindow);
}

TEST_F(WindowSwitch, ATargetThatWasCurrentMayBeDestroyedInside) {
  int sub = makeSubWindow();
  glutSetWindow(sub);
  testing::internal::CaptureStderr();
  {
    WindowScope onSub(sub);
    glutDestroyWindow(sub);
  }
  // No attempt to make the destroyed window current again: GLUT would warn about it.
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  glutSetWindow(mainWindow);
}

TEST_F(WindowSwitch, PanelCallsLeaveTheCurrentWindowAsTheyFoundIt) {
  reshape(kWindowSize, kWindowSize);
  int sub = panelCreate(mainWindow, kPanelWidth, nullptr);
  ASSERT_NE(sub, 0);
  EXPECT_EQ(panelWindow(), sub);
  EXPECT_EQ(glutGetWindow(), mainWindow);
  EXPECT_EQ(panelCreate(mainWindow, kPanelWidth, nullptr), 0);  // one panel only

  // Asked while the panel is current, the area is still the parent's, less the panel.
  glutSetWindow(sub);
  int x = -1, y = -1, w = -1, h = -1;
  panelGetViewportArea(&x, &y, &w, &h);
  EXPECT_EQ(glutGetWindow(), sub);
  EXPECT_EQ(x, 0);
  EXPECT_EQ(y, 0);
  EXPECT_EQ(w, kWindowSize - kPanelWidth);
  EXPECT_EQ(h, kWindowSize);

  // Destroyed while it is current: the panel's window is gone, and nothing is warned about.
  testing::internal::CaptureStderr();
  panelDestroy();
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  EXPECT_EQ(panelWindow(), 0);
  EXPECT_EQ(panelWidth(), 0);

  // The main window's size callback goes back to GLUT's own for the tests that follow.
  glutSetWindow(mainWindow);
  glutReshapeFunc(nullptr);
}

TEST_F(WindowSwitch, PanelCreatedFromAnotherWindowGivesThatOneBack) {
  int other = makeSubWindow();
  glutSetWindow(other);
  int sub = panelCreate(mainWindow, kPanelWidth, nullptr);
  ASSERT_NE(sub, 0);
  EXPECT_EQ(glutGetWindow(), other);
  panelDestroy();
  EXPECT_EQ(glutGetWindow(), other);
  glutDestroyWindow(other);
  glutSetWindow(mainWindow);
  glutReshapeFunc(nullptr);
}
