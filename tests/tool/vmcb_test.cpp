// The tool's key table and help texts, without a window.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/testutil.h"
#include "tool/velmora.h"
#include "tool/vmcb.h"
#include "viewer/tarnwick.h"

namespace {

// Each toggle key flips its flag and back, and says it consumed the key.
TEST(ToolKeys, TogglesFlipTheirFlags) {
  struct Row {
    unsigned char key;
    int* flag;
  };
  const Row rows[] = {
      {'A', &showAnchor},          {'B', &showAlignModelNormal}, {'D', &showLookAtDir},
      {'E', &showEqnSphere},       {'G', &showSGalSphere},       {'L', &showCenterLine},
      {'N', &showCommonName},      {'n', &showCommonName},       {'P', &showStarInfo},
      {'p', &showStarInfo},        {'X', &showAlignModelAxes},   {'x', &showAlignModelAxes},
      {'Z', &showAlignModelOutline}, {'b', &showAlignModelBBox}, {'d', &gridDetail},
      {'g', &showGalSphere},       {'i', &showAlignModelInfo},   {'s', &showStarsFlag},
      {'t', &useStarTex},          {'z', &showAlignModel},
  };
  for (const Row& r : rows) {
    SCOPED_TRACE(std::string(1, (char)r.key));
    int before = *r.flag;
    EXPECT_EQ(myKeyCB(r.key, 0, 0), 1);
    EXPECT_EQ(*r.flag, 1 - before);
    EXPECT_EQ(myKeyCB(r.key, 0, 0), 1);
    EXPECT_EQ(*r.flag, before);
  }
}

TEST(ToolKeys, KeysOutsideTheTableGoToTheFramework) {
  for (unsigned char key : {(unsigned char)'*', (unsigned char)'~', (unsigned char)27, (unsigned char)'a',
                            (unsigned char)'h', (unsigned char)'k', (unsigned char)'K', (unsigned char)'I',
                            (unsigned char)'q', (unsigned char)'Q', (unsigned char)'C'})
    EXPECT_EQ(myKeyCB(key, 0, 0), 0) << (int)key;
}

TEST(ToolKeys, SFourTimesComesBackToTheStartingPair) {
  showConstellationLines = 1;
  showConstellationNames = 1;
  const int want[4][2] = {{0, 1}, {0, 0}, {1, 0}, {1, 1}};
  for (const auto& w : want) {
    EXPECT_EQ(myKeyCB('S', 0, 0), 1);
    EXPECT_EQ(showConstellationLines, w[0]);
    EXPECT_EQ(showConstellationNames, w[1]);
  }
}

TEST(ToolKeys, ModelOpacityStaysBetweenZeroAndOne) {
  alignModelAlpha = 0.01f;
  myKeyCB('[', 0, 0);
  EXPECT_EQ(alignModelAlpha, 0.0f);
  myKeyCB('[', 0, 0);
  EXPECT_EQ(alignModelAlpha, 0.0f);
  alignModelAlpha = 0.99f;
  myKeyCB(']', 0, 0);
  EXPECT_EQ(alignModelAlpha, 1.0f);
}

TEST(ToolKeys, StarSizeAndSensitivityKeepToTheirBounds) {
  starSize = 4.8f;
  myKeyCB('+', 0, 0);
  EXPECT_EQ(starSize, 5.0f);
  starSize = 0.105f;
  myKeyCB('-', 0, 0);
  EXPECT_EQ(starSize, 0.1f);
  sensitivity = 4.9;
  myKeyCB('}', 0, 0);
  EXPECT_EQ(sensitivity, 5.0);
  EXPECT_EQ(mySensitivity, 5.0f);
  sensitivity = 0.0105;
  myKeyCB('{', 0, 0);
  EXPECT_EQ(sensitivity, 0.01);
  EXPECT_EQ(mySensitivity, 0.01f);
  sensitivity = 1.0;
}

// Without maps or reference models their keys are consumed and change nothing.
TEST(ToolKeys, MapAndReferenceKeysAreHarmlessWithoutThem) {
  ASSERT_EQ(texObjs, nullptr);
  ASSERT_EQ(nFixedModels, 0);
  texChoice = 0;
  float alpha = sliderTexAlpha;
  for (unsigned char key : {'1', '2', '3', 'w', 'W', 'f', 'F'}) EXPECT_EQ(myKeyCB(key, 0, 0), 1) << key;
  EXPECT_EQ(texChoice, 0);
  EXPECT_EQ(sliderTexAlpha, alpha);
  EXPECT_EQ(showFixedModels, 1);
  EXPECT_EQ(showFixedBehind, 1);
}

// R puts the first matrix back and still lets the framework see the key.
TEST(ToolKeys, CapitalRRestoresTheFirstMatrix) {
  for (int i = 0; i < 16; i++) alignModelMatrix_Backup[i] = i, alignModelMatrix[i] = -i;
  EXPECT_EQ(myKeyCB('R', 0, 0), 0);
  EXPECT_EQ(memcmp(alignModelMatrix, alignModelMatrix_Backup, sizeof alignModelMatrix), 0);
}

// u and y undo and redo through the callback, with the ring's messages when it is empty.
TEST(ToolKeys, UndoAndRedoKeys) {
  resetAlign();
  EXPECT_EQ(testsupport::stderrOf([] { EXPECT_EQ(myKeyCB('u', 0, 0), 1); }), "no alignment operation to undo\n");
  EXPECT_EQ(testsupport::stderrOf([] { EXPECT_EQ(myKeyCB('Y', 0, 0), 1); }), "no alignment operation to redo\n");
  for (int i = 0; i < 16; i++) alignModelMatrix[i] = i == 0 ? 1 : 0;
  saveAlign();
  alignModelMatrix[0] = 2;
  EXPECT_EQ(myKeyCB('U', 0, 0), 1);
  EXPECT_EQ(alignModelMatrix[0], 1);
  EXPECT_EQ(myKeyCB('y', 0, 0), 1);
  EXPECT_EQ(alignModelMatrix[0], 2);
}

// m takes the next key as a panel letter; without panels no letter matches and the key goes on
// to the framework, and the key after that is an ordinary key again.
TEST(ToolKeys, MPrefixNamesAPanel) {
  EXPECT_EQ(myKeyCB('m', 0, 0), 1);
  int before = showStarsFlag;
  EXPECT_EQ(myKeyCB('s', 0, 0), 0);
  EXPECT_EQ(showStarsFlag, before);
  EXPECT_EQ(myKeyCB('s', 0, 0), 1);
  EXPECT_EQ(showStarsFlag, 1 - before);
  myKeyCB('s', 0, 0);
}

// m then - closes all panels and is consumed; a capital, a digit or a key outside the table
// after m is a panel letter too, and with no panel to match goes on to the framework.
TEST(ToolKeys, MPrefixSecondKeys) {
  float size = starSize;
  EXPECT_EQ(myKeyCB('m', 0, 0), 1);
  EXPECT_EQ(myKeyCB('-', 0, 0), 1);
  EXPECT_EQ(starSize, size) << "the - after m is no star size key";
  for (unsigned char second : {(unsigned char)'Z', (unsigned char)'1', (unsigned char)'0', (unsigned char)'~',
                               (unsigned char)'m'}) {
    EXPECT_EQ(myKeyCB('m', 0, 0), 1);
    int outline = showAlignModelOutline;
    EXPECT_EQ(myKeyCB(second, 0, 0), 0) << second;
    EXPECT_EQ(showAlignModelOutline, outline);
  }
  // The prefix holds for one key only: Z is the outline key again.
  int outline = showAlignModelOutline;
  EXPECT_EQ(myKeyCB('Z', 0, 0), 1);
  EXPECT_EQ(showAlignModelOutline, 1 - outline);
  myKeyCB('Z', 0, 0);
}

std::string joined(const std::vector<std::string>& lines) {
  std::string text;
  for (const std::string& l : lines) text += l + "\n";
  return text;
}

TEST(ToolHelp, MouseTextWordForWord) {
  const std::vector<std::string> lines = {
      "     Mouse Control :",
      "     ",
      "     1) Viewing",
      "        Ctrl + Left         - Rolling Ball (panning)",
      "        Ctrl + Shift + Left - Rotate about screen center",
      "        Alt  + Middle       - changing fovy",
      "     ",
      "     2) Alignment (screen-based)",
      "        Left       - Rotate about the model center",
      "        Middle     - LB-translate the model",
      "        Left+Mid   - scaling the model in obj X/Y",
      "              +Alt - scaling the model in obj X/Y:",
      "                           about the anchor      if we have anchor",
      "                        or about the picked star if we have picked star",
      "                        or about the screen center (otherwise) ",
      "        Left+Shift - Rotate the model about its direction",
      "        Left+Alt   - Rotate the model:",
      "                           about the anchor      if we have anchor",
      "                        or about the picked star if we have picked star",
      "                        or about the screen center (otherwise) ",
      "     ",
      "     3) Right - picking stars or drag the anchor",
      "     ",
      "     Note: If checkbox \"is plain image?\" is enabled,",
      "           Input obj model is considered as a plain image",
      "           and object center rotation will become rotation",
      "           about rotation direction (Left+Shift)",
      "     ",
      "     More help on keyboard control?",
  };
  EXPECT_EQ(std::string(mouseHelpText), joined(lines));
}

TEST(ToolHelp, KeyboardTextWordForWord) {
  const std::vector<std::string> lines = {
      "     Keyboard Control :",
      "     ",
      "     ESC/q/Q - quit",
      "      h      - this help menu",
      "     ",
      "      a      - show axes",
      "      G      - show super galactic grid",
      "      g      - show galactic grid",
      "      E      - show equatorial grid",
      "      d      - more detail on grid",
      "      D      - show screen center direction",
      "      L      - show screen center line",
      "      A      - show anchor",
      "      l      - lock view",
      "      r      - reset view (look at whole model)",
      "      R      - restart model position",
      "      k/K    - show frame rate",
      "     ",
      "      s      - show stars",
      "      S      - show constellation lines/names",
      "      t      - toggle textured stars",
      "      p/P    - show info on picked star",
      "      n/N    - show common names",
      "      +/-    - adjust star size",
      "      I      - information about positions (Gal.)",
      "      ",
      "      z      - show model/image",
      "      Z      - show model/image outline",
      "      x/X    - show object axes",
      "      b/B    - show object bounding box",
      "      i      - show model info on screen",
      "      [,]    - adjust model opacity",
      "      u/U    - undo alignment operation",
      "      y/Y    - redo alignment operation",
      "      f      - show \"fixed\" obj model (if any)",
      "               (other fixed obj model are drawn with depth buffering)",
      "      ",
      "      m      - panel open/close ['m' followed by f/v/t/a/s/p/m/...etc]",
      "      m      - panel  all close ['m' followed by -]",
      "     ",
      "     {,}     - adjust mouse sensitivity",
      "     ",
      "     More help on mouse control?",
  };
  EXPECT_EQ(std::string(keyboardHelpText), joined(lines));
}

// The help key writes two newlines, the mouse text, two newlines, the keyboard text and two
// newlines, on the stream the framework gives (standard error).
TEST(ToolHelp, HelpMenuWritesBothTexts) {
  std::string err = testsupport::stderrOf([] { EXPECT_EQ(myHelpMenu(stderr), 1); });
  EXPECT_EQ(err, "\n\n" + std::string(mouseHelpText) + "\n\n" + keyboardHelpText + "\n\n");
}

}  // namespace
