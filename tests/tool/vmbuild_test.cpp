// The tool's control panel as a tree, without a window: every control of every rollout with its
// label, live variable, id, limits, speed and width, the conditional controls, and the circle of
// rollouts that the m key and the "m" and "-" buttons turn.
#include "tool/vmbuild.h"

#include <gtest/gtest.h>
#include <sys/stat.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "tests/support/testutil.h"
#include "tool/velmora.h"
#include "tool/vmcb.h"
#include "tool/vmfile.h"
#include "viewer/glui.h"
#include "viewer/tarnwick.h"

namespace {

using Kind = GLUI_Control::Kind;

// Depth first, the nth control (from 0) with this label below root.
GLUI_Control* findIn(GLUI_Control* root, const std::string& name, int* nth) {
  for (GLUI_Control* c : root->children) {
    if (c->name == name && (*nth)-- == 0) return c;
    if (GLUI_Control* inner = findIn(c, name, nth)) return inner;
  }
  return nullptr;
}
GLUI_Control* find(GLUI_Control* root, const std::string& name, int nth = 0) {
  return findIn(root, name, &nth);
}

// The labels of the controls of a kind below root, in order.
void labelsOf(GLUI_Control* root, Kind kind, std::vector<std::string>* out) {
  for (GLUI_Control* c : root->children) {
    if (c->kind == kind) out->push_back(c->name);
    labelsOf(c, kind, out);
  }
}
std::vector<std::string> labels(GLUI_Control* root, Kind kind) {
  std::vector<std::string> out;
  labelsOf(root, kind, &out);
  return out;
}

// The rollout of a letter in the present circle.
GLUI_Control* rolloutOf(char letter) {
  for (int i = 0; i < nRolloutList; i++)
    if (rolloutChar[i] == letter) return rolloutList[i];
  return nullptr;
}

// The letters of the circle in its present order, and the rollouts of the main panel as shown.
std::string letters() {
  return std::string(rolloutChar, static_cast<size_t>(nRolloutList));
}
std::string shownLetters() {
  std::string s;
  const auto& kids = glui->main_panel->children;
  for (size_t i = static_cast<size_t>(rolloutStart); i < kids.size(); i++) {
    if (kids[i]->kind != GLUI_Control::kRollout) continue;
    for (int k = 0; k < nRolloutList; k++)
      if (rolloutList[k] == kids[i]) s += rolloutChar[k];
  }
  return s;
}

// Four maps, three with wavelengths: a slider list of three.
TexObj fakeMaps[4];
TexObj* fakeSlider[3];

void giveMaps(bool withSlider) {
  const char* names[4] = {"Radio 408MHz", "H-alpha", "Optical", "X-ray"};
  const double logl[4] = {-0.134, -6.18, kNoWavelength, -9.3};
  for (int i = 0; i < 4; i++) {
    memset(&fakeMaps[i], 0, sizeof fakeMaps[i]);
    snprintf(fakeMaps[i].name, sizeof fakeMaps[i].name, "%s", names[i]);
    fakeMaps[i].logl = logl[i];
    fakeMaps[i].texId = static_cast<unsigned>(i + 1);
  }
  texObjs = fakeMaps;
  nTexObjs = 4;
  if (withSlider) {
    fakeSlider[0] = &fakeMaps[3], fakeSlider[1] = &fakeMaps[1], fakeSlider[2] = &fakeMaps[0];
    sliderTex = fakeSlider;
    nSliderTex = 3;
    tex_sliderMin = -9.3f, tex_sliderMax = -0.134f, tex_sliderValue = -6.2627f;
  } else {
    sliderTex = nullptr;
    nSliderTex = 0;
  }
}

class PanelTree : public testing::Test {
 protected:
  void SetUp() override {
    texObjs = nullptr, nTexObjs = 0, sliderTex = nullptr, nSliderTex = 0;
    nFixedModels = 0;
    currFovy = 40, currAspect = 1.25, sensitivity = 0.8;
    alignfile[0] = '\0';
    alignfile_basename[0] = '\0';
    showRaDec = 0;
    mainWindow = 0;
  }
  void TearDown() override {
    delete glui;
    glui = nullptr;
    nRolloutList = rolloutOffset = rolloutStart = 0;
    starPosLText = starPosBText = texRadioGroup = recentFilesBox = nullptr;
    textureSlider = alphaSlider = nullptr;
    texObjs = nullptr, nTexObjs = 0, sliderTex = nullptr, nSliderTex = 0;
    nFixedModels = 0;
    nRecentFiles = 0;
  }
  void build() {
    glui = new GLUI;
    buildPanelControls();
  }
};

TEST_F(PanelTree, TitleButtonsColoursAndTheSevenRollouts) {
  giveMaps(true);
  build();
  EXPECT_EQ(glui->bkgdColor[0], 90);
  EXPECT_EQ(glui->bkgdColor[1], 30);
  EXPECT_EQ(glui->bkgdColor[2], 50);
  for (float c : glui->fgColor) EXPECT_EQ(c, 250);

  const auto& kids = glui->main_panel->children;
  ASSERT_EQ(rolloutStart, 6);
  const Kind head[6] = {GLUI_Control::kSeparator, GLUI_Control::kSeparator, GLUI_Control::kStaticText,
                        GLUI_Control::kSeparator, GLUI_Control::kSeparator, GLUI_Control::kPanel};
  for (int i = 0; i < 6; i++) EXPECT_EQ(kids[static_cast<size_t>(i)]->kind, head[i]) << i;
  EXPECT_EQ(kids[2]->name, "VELMORA PANEL");
  EXPECT_EQ(kids[2]->alignment, GLUI_ALIGN_CENTER);

  struct Button {
    const char* name;
    int id;
    int width;
  };
  const Button row[] = {{"Quit", 10, 42}, {"Help", 11, 42}, {"About", 12, 42}, {"-", 13, 12}, {"m", 14, 12}};
  std::vector<GLUI_Control*> buttons;
  for (GLUI_Control* c : kids[5]->children)
    if (c->kind == GLUI_Control::kButton) buttons.push_back(c);
  ASSERT_EQ(buttons.size(), 5u);
  for (size_t i = 0; i < 5; i++) {
    EXPECT_EQ(buttons[i]->name, row[i].name);
    EXPECT_EQ(buttons[i]->id, row[i].id);
    EXPECT_EQ(buttons[i]->w, row[i].width);
    EXPECT_EQ(buttons[i]->callback, myGLUICallback);
  }
  EXPECT_EQ(labels(kids[5], GLUI_Control::kColumn).size(), 4u) << "the buttons stand in columns";

  ASSERT_EQ(nRolloutList, 7);
  EXPECT_EQ(rolloutOffset, 0);
  EXPECT_EQ(letters(), "fvtaspm");
  const char* titles[7] = {"[F]ile Control",      "[V]iew Control", "S[T]atus Control",
                           "[A]lignment Control", "[S]tar Control", "Star [P]icked or To Pick",
                           "[M]ilkyway Control"};
  ASSERT_EQ(kids.size(), static_cast<size_t>(rolloutStart + 2 * 7));
  for (int i = 0; i < 7; i++) {
    GLUI_Control* sep = kids[static_cast<size_t>(rolloutStart + 2 * i)];
    GLUI_Control* r = kids[static_cast<size_t>(rolloutStart + 2 * i + 1)];
    EXPECT_EQ(sep->kind, GLUI_Control::kSeparator);
    EXPECT_EQ(r, rolloutList[i]);
    EXPECT_EQ(r->kind, GLUI_Control::kRollout);
    EXPECT_EQ(r->name, titles[i]);
    EXPECT_FALSE(r->isOpen) << titles[i];
    EXPECT_EQ(r->w, 180);
    EXPECT_EQ(r->alignment, GLUI_ALIGN_CENTER);
  }
}

// Without a texture list there is no Milky Way rollout.
TEST_F(PanelTree, WithoutTexturesTheSeventhRolloutDoesNotExist) {
  build();
  EXPECT_EQ(nRolloutList, 6);
  EXPECT_EQ(letters(), "fvtasp");
  EXPECT_EQ(find(glui->main_panel, "[M]ilkyway Control"), nullptr);
  EXPECT_EQ(texRadioGroup, nullptr);
}

// One row of a control table: label, kind, live variable, id, limits, speed, width (0: not set).
struct Row {
  const char* label;
  Kind kind;
  void* live;
  int id;
  float low, high;
  float speed;
  int width;
  int nth = 0;  // which of the controls of that label
};

void checkRows(GLUI_Control* root, const std::vector<Row>& rows) {
  for (const Row& r : rows) {
    SCOPED_TRACE(r.label);
    GLUI_Control* c = find(root, r.label, r.nth);
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(c->kind, r.kind);
    void* live = c->liveInt     ? static_cast<void*>(c->liveInt)
                 : c->liveFloat ? static_cast<void*>(c->liveFloat)
                 : c->liveText  ? static_cast<void*>(c->liveText)
                                : static_cast<void*>(c->liveString);
    EXPECT_EQ(live, r.live);
    EXPECT_EQ(c->id, r.id);
    EXPECT_EQ(c->callback, r.id == -1 ? nullptr : myGLUICallback);
    if (r.low != r.high) {
      EXPECT_TRUE(c->hasLimits);
      EXPECT_FLOAT_EQ(c->floatLow, r.low);
      EXPECT_FLOAT_EQ(c->floatHigh, r.high);
    }
    if (r.speed != 0) {
      EXPECT_FLOAT_EQ(c->speed, r.speed);
    }
    if (r.width != 0) {
      EXPECT_EQ(c->w, r.width);
    }
  }
}

constexpr Kind kCheck = GLUI_Control::kCheckbox;
constexpr Kind kSlide = GLUI_Control::kSlider;
constexpr Kind kEdit = GLUI_Control::kEditText;
constexpr Kind kList = GLUI_Control::kListbox;
constexpr Kind kButton = GLUI_Control::kButton;
constexpr Kind kSpin = GLUI_Control::kSpinner;

TEST_F(PanelTree, FilePanel) {
  snprintf(alignfile, sizeof alignfile, "/data/models/m51.obj");
  resetAlignFile(1);
  nRecentFiles = 4;  // the list starts afresh with the panel
  recentListBoxID = 233;
  build();
  GLUI_Control* f = rolloutOf('f');
  checkRows(f, {
                   {"Path:", kEdit, &alignpath, -1, 0, 0, 0, 130},
                   {"dir", kButton, nullptr, 20, 0, 0, 0, 44},
                   {"File:", kEdit, &try_open_alignfile, -1, 0, 0, 0, 130},
                   {"open", kButton, nullptr, 21, 0, 0, 0, 44},
                   {"recent:", kList, &recentListBoxID, 230, 0, 0, 0, 179},
                   {"is plain image?", kCheck, &isObjAnImage, -1, 0, 0, 0, 0},
               });
  EXPECT_EQ(recentFilesBox, find(f, "recent:"));
  EXPECT_EQ(nRecentFiles, 1);
  EXPECT_EQ(recentListBoxID, 0);
  EXPECT_STREQ(recentPaths[0], "/data/models/");
  EXPECT_STREQ(recentFiles[0], "m51.obj");
  ASSERT_EQ(recentFilesBox->items.size(), 1u);
  EXPECT_EQ(recentFilesBox->items[0].id, 230);
  EXPECT_EQ(recentFilesBox->items[0].text, "m51.obj");
}

// The listbox follows the recent list: each entry by its file name alone, ids 230 up.
TEST_F(PanelTree, TheRecentListboxFollowsTheList) {
  build();
  EXPECT_EQ(nRecentFiles, 0);
  EXPECT_TRUE(recentFilesBox->items.empty()) << "an empty model name adds nothing";
  addRecentFile("/a/", "one.obj");
  addRecentFile("/b/", "two.obj");
  addRecentFile("/a/", "one.obj");
  ASSERT_EQ(recentFilesBox->items.size(), 2u);
  EXPECT_EQ(recentFilesBox->items[0].id, 230);
  EXPECT_EQ(recentFilesBox->items[0].text, "one.obj");
  EXPECT_EQ(recentFilesBox->items[1].id, 231);
  EXPECT_EQ(recentFilesBox->items[1].text, "two.obj");
  for (int i = 0; i < 12; i++) addRecentFile("/c/", std::to_string(i).c_str());
  ASSERT_EQ(recentFilesBox->items.size(), 9u);
  for (int i = 0; i < 9; i++) {
    EXPECT_EQ(recentFilesBox->items[static_cast<size_t>(i)].id, 230 + i);
    EXPECT_EQ(recentFilesBox->items[static_cast<size_t>(i)].text, recentFiles[i]);
  }
}

TEST_F(PanelTree, ViewPanelTakesTheFrameworkValues) {
  fixAspectRatio = 0;
  build();
  EXPECT_FLOAT_EQ(myCurrFovy, 40);
  EXPECT_FLOAT_EQ(myCurrAspect, 1.25);
  EXPECT_FLOAT_EQ(mySensitivity, 0.8f);
  checkRows(rolloutOf('v'), {
                                {"Fovy:", kSlide, &myCurrFovy, 30, 0.0f, 179.9f, 1.0f, 0},
                                {"Fix as width/height", kCheck, &fixAspectRatio, 31, 0, 0, 0, 0},
                                {"Aspect Ratio:", kSlide, &myCurrAspect, 31, 0.1f, 3.0f, 1.0f, 0},
                                {"Mouse sensitivity{,}:", kSlide, &mySensitivity, 32, 0.001f, 5.0f, 1.0f, 0},
                            });
}

TEST_F(PanelTree, StatusPanel) {
  build();
  GLUI_Control* t = rolloutOf('t');
  checkRows(t, {
                   {"super galactic axes label", kCheck, &showSGalAxesFlag, -1, 0, 0, 0, 0},
                   {"galactic axes label (a)", kCheck, &myShowAxesFlag, 41, 0, 0, 0, 0},
                   {"equatorial axes label", kCheck, &showEqnAxesFlag, -1, 0, 0, 0, 0},
                   {"show super gal. grid (G)", kCheck, &showSGalSphere, -1, 0, 0, 0, 0},
                   {"show galactic grid (g)", kCheck, &showGalSphere, -1, 0, 0, 0, 0},
                   {"show equatorial grid (E)", kCheck, &showEqnSphere, -1, 0, 0, 0, 0},
                   {"show grid detail (d)", kCheck, &gridDetail, -1, 0, 0, 0, 0},
                   {"screen center dir.(D)", kCheck, &showLookAtDir, -1, 0, 0, 0, 0},
                   {"screen center line (L)", kCheck, &showCenterLine, -1, 0, 0, 0, 0},
                   {"show Ra/Dec", kCheck, &showRaDec, 42, 0, 0, 0, 0},
                   {"show anchor (A)", kCheck, &showAnchor, -1, 0, 0, 0, 0},
                   {"lock view (l)", kCheck, &lockView, 40, 0, 0, 0, 0},
                   {"Scrn.Printout (d.p.):", kSpin, &printDecPlace, 43, 1, 7, 0.1f, 160},
               });
  // In this order, and nothing else.
  EXPECT_EQ(labels(t, kCheck),
            (std::vector<std::string>{
                "super galactic axes label", "galactic axes label (a)", "equatorial axes label",
                "show super gal. grid (G)", "show galactic grid (g)", "show equatorial grid (E)",
                "show grid detail (d)", "screen center dir.(D)", "screen center line (L)", "show Ra/Dec",
                "show anchor (A)", "lock view (l)"}));
  EXPECT_EQ(find(t, "Scrn.Printout (d.p.):")->intLow, 1);
  EXPECT_EQ(find(t, "Scrn.Printout (d.p.):")->intHigh, 7);
}

// Values typed out of range are clamped by the controls into the limits the panel gave them.
TEST_F(PanelTree, TypedValuesOutOfRangeAreClamped) {
  build();
  struct Case {
    char letter;
    const char* label;
    const char* typed;
    float* liveFloat;
    int* liveInt;
    float want;
  };
  const Case cases[] = {
      {'t', "Scrn.Printout (d.p.):", "12", nullptr, &printDecPlace, 7},
      {'t', "Scrn.Printout (d.p.):", "0", nullptr, &printDecPlace, 1},
      {'v', "Fovy:", "200", &myCurrFovy, nullptr, 179.9f},
      {'v', "Aspect Ratio:", "0.01", &myCurrAspect, nullptr, 0.1f},
      {'v', "Mouse sensitivity{,}:", "9", &mySensitivity, nullptr, 5.0f},
      {'a', "Distance", "-5", &distObjModel, nullptr, 0.0f},
      {'a', "Distance", "20000", &distObjModel, nullptr, 10000.0f},
      {'a', "opacity [,] ", "1.5", &alignModelAlpha, nullptr, 1.0f},
      {'a', "obj.space scale X ", "7", &alignModelObjScale[0], nullptr, 3.0f},
      {'s', "Star Size (+/-):", "0", &starSize, nullptr, 0.1f},
      {'s', "star at year:", "-300000", nullptr, &starAtYear, -200000},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(c.label) + " " + c.typed);
    GLUI_Control* control = find(rolloutOf(c.letter), c.label);
    ASSERT_NE(control, nullptr);
    control->set_text(c.typed);
    if (c.liveFloat) {
      EXPECT_FLOAT_EQ(*c.liveFloat, c.want);
    } else {
      EXPECT_EQ(*c.liveInt, static_cast<int>(c.want));
    }
  }
  printDecPlace = 2, alignModelAlpha = 1, alignModelObjScale[0] = 1, starSize = 1, starAtYear = 1991;
  distObjModel = 0;
}

const std::vector<Row>& alignmentRows() {
  static const std::vector<Row> rows = {
      {"undo(u)", kButton, nullptr, 15, 0, 0, 0, 0},
      {"redo(y)", kButton, nullptr, 16, 0, 0, 0, 0},
      {"Show Align.Model (z)", kCheck, &showAlignModel, -1, 0, 0, 0, 0},
      {"Show Outline (Z)", kCheck, &showAlignModelOutline, -1, 0, 0, 0, 0},
      {"Show 3D Normal (B)", kCheck, &showAlignModelNormal, -1, 0, 0, 0, 0},
      {"Show Object Axes (x/X)", kCheck, &showAlignModelAxes, -1, 0, 0, 0, 0},
      {"Show Bounding Box (b)", kCheck, &showAlignModelBBox, -1, 0, 0, 0, 0},
      {"Show Model Info (i)", kCheck, &showAlignModelInfo, -1, 0, 0, 0, 0},
      {"opacity [,] ", kSlide, &alignModelAlpha, -1, 0, 1, 0.2f, 0},
      {"ObjFile:", kEdit, &objFileExport, 70, 0, 0, 0, 120},
      {"Export", kButton, nullptr, 70, 0, 0, 0, 44},
      {"Export WCS + AVM (image)", kCheck, &exportImageWcs, 730, 0, 0, 0, 0},
      {"Distance", kSpin, &distObjModel, -1, 0, 10000, 0, 0},
      {"Unit:", kList, &unitObjModel, -1, 0, 0, 0, 163},
      {"Coordinate:", kList, &coordObjModel, -1, 0, 0, 0, 163},
      {"obj.space scale X ", kSlide, &alignModelObjScale[0], -1, 0.1f, 3.0f, 0.2f, 0},
      {"obj.space scale Y ", kSlide, &alignModelObjScale[1], -1, 0.1f, 3.0f, 0.2f, 0},
      {"obj.space scale Z ", kSlide, &alignModelObjScale[2], -1, 0.1f, 3.0f, 0.2f, 0},
  };
  return rows;
}

TEST_F(PanelTree, AlignmentPanelWithoutFixedModels) {
  build();
  GLUI_Control* a = rolloutOf('a');
  checkRows(a, alignmentRows());
  EXPECT_EQ(find(a, "Show Fixed model (f)"), nullptr);
  EXPECT_EQ(find(a, "Fixed model behind (F)"), nullptr);
  EXPECT_EQ(find(a, "opacity(fixed)"), nullptr);

  GLUI_Control* unit = find(a, "Unit:");
  const char* units[10] = {"parsec",      "k-parsec",     "lightyear",    "meters",       "kilometers",
                           "10^9 meters", "10^12 meters", "10^15 meters", "10^18 meters", "10^21 meters"};
  ASSERT_EQ(unit->items.size(), 10u);
  for (int i = 0; i < 10; i++) {
    EXPECT_EQ(unit->items[static_cast<size_t>(i)].id, 710 + i);
    EXPECT_EQ(unit->items[static_cast<size_t>(i)].text, units[i]);
  }
  GLUI_Control* coord = find(a, "Coordinate:");
  const char* coords[3] = {"galactic", "equatorial", "super-galactic"};
  ASSERT_EQ(coord->items.size(), 3u);
  for (int i = 0; i < 3; i++) {
    EXPECT_EQ(coord->items[static_cast<size_t>(i)].id, 720 + i);
    EXPECT_EQ(coord->items[static_cast<size_t>(i)].text, coords[i]);
  }
}

TEST_F(PanelTree, AlignmentPanelWithFixedModels) {
  nFixedModels = 1;
  build();
  GLUI_Control* a = rolloutOf('a');
  checkRows(a, alignmentRows());
  checkRows(a, {
                   {"Show Fixed model (f)", kCheck, &showFixedModels, -1, 0, 0, 0, 0},
                   {"Fixed model behind (F)", kCheck, &showFixedBehind, -1, 0, 0, 0, 0},
                   {"opacity(fixed)", kSlide, &alignFixedModelAlpha, -1, 0, 1, 0.2f, 0},
               });
  EXPECT_EQ(labels(a, kCheck), (std::vector<std::string>{"Show Align.Model (z)", "Show Outline (Z)",
                                                         "Show 3D Normal (B)", "Show Object Axes (x/X)",
                                                         "Show Bounding Box (b)", "Show Model Info (i)",
                                                         "Show Fixed model (f)", "Fixed model behind (F)",
                                                         "Export WCS + AVM (image)"}));
  EXPECT_EQ(labels(a, kSlide),
            (std::vector<std::string>{"opacity [,] ", "opacity(fixed)", "obj.space scale X ",
                                      "obj.space scale Y ", "obj.space scale Z "}));
}

TEST_F(PanelTree, StarPanel) {
  starSize = 1.0f;
  starAtYear = 1991;
  build();
  GLUI_Control* s = rolloutOf('s');
  checkRows(s, {
                   {"Star Size (+/-):", kSlide, &starSize, 50, 0.1f, 5.0f, 0.2f, 160},
                   {"star at year:", kSlide, &starAtYear, 51, -200000, 200000, 0.001f, 160},
                   {"show stars(s)", kCheck, &showStarsFlag, -1, 0, 0, 0, 0},
                   {"show color map", kCheck, &useStarColorMap, -1, 0, 0, 0, 0},
                   {"show textured stars (t)", kCheck, &useStarTex, -1, 0, 0, 0, 0},
                   {"constellation line (S)", kCheck, &showConstellationLines, -1, 0, 0, 0, 0},
                   {"constellation name (S)", kCheck, &showConstellationNames, -1, 0, 0, 0, 0},
                   {"constellation bound", kCheck, &showConstellationBounds, -1, 0, 0, 0, 0},
                   {"(show picked only)", kCheck, &showConstellationPickedOnly, -1, 0, 0, 0, 0},
                   {"show common name (n)", kCheck, &showCommonName, -1, 0, 0, 0, 0},
               });
  EXPECT_EQ(static_cast<GLUI_Slider*>(find(s, "star at year:"))->dataType, GLUI_LIVE_INT);
  EXPECT_EQ(static_cast<GLUI_Slider*>(find(s, "Star Size (+/-):"))->dataType, GLUI_LIVE_FLOAT);
  EXPECT_EQ(find(s, "(show picked only)")->alignment, GLUI_ALIGN_CENTER);
}

TEST_F(PanelTree, StarPickPanelClearsItsTextsAndBindsEveryBox) {
  snprintf(pickStarNameHDStr, kPickTextSize, "%s", "116658");
  snprintf(pickStarPecVelZStr, kPickTextSize, "%s", "1.00 +- 2.00% km/s");
  build();
  for (size_t i = 0; i < 300; i++) {
    ASSERT_EQ(pickStarNameHDStr[i], 0) << i;
    ASSERT_EQ(pickStarPecVelZStr[i], 0) << i;
  }
  GLUI_Control* p = rolloutOf('p');
  checkRows(p, {
                   {"show star info.(p)", kCheck, &showStarInfo, -1, 0, 0, 0, 0},
                   {"print (console)", kButton, nullptr, 52, 0, 0, 0, 86},
                   {"look at star", kButton, nullptr, 53, 0, 0, 0, 75},
                   {"HD number:", kEdit, pickStarNameHDStr, 54, 0, 0, 0, 160},
                   {"HIC number:", kEdit, pickStarNameHICStr, 55, 0, 0, 0, 160},
                   {"Common name:", kEdit, pickStarNameCommonStr, 56, 0, 0, 0, 160},
                   {"Constellation:", kEdit, pickStarConstellationStr, 57, 0, 0, 0, 160},
                   {"BV:", kEdit, pickStarBVStr, -1, 0, 0, 0, 160},
                   {"Abs.VMag:", kEdit, pickStarVMagStr, -1, 0, 0, 0, 160},
                   {"SpType:", kEdit, pickStarSpTypeStr, -1, 0, 0, 0, 160},
                   {"Luminosity:", kEdit, pickStarLumStr, -1, 0, 0, 0, 160},
                   {"Position X:", kEdit, pickStarPosXStr, -1, 0, 0, 0, 160},
                   {"Position Y:", kEdit, pickStarPosYStr, -1, 0, 0, 0, 160},
                   {"Position Z:", kEdit, pickStarPosZStr, -1, 0, 0, 0, 160},
                   {"Dist % Err:", kEdit, pickStarDistErrorStr, -1, 0, 0, 0, 160},
                   {"Galactic l:", kEdit, pickStarLStr, -1, 0, 0, 0, 160},
                   {"Galactic b:", kEdit, pickStarBStr, -1, 0, 0, 0, 160},
                   {"log10 scale (m):", kEdit, pickStarPosScaleStr, -1, 0, 0, 0, 160},
                   {"dist(parsec):", kEdit, pickStarDistParsecStr, -1, 0, 0, 0, 160},
                   {"dist(lightyear):", kEdit, pickStarDistLightYearStr, -1, 0, 0, 0, 160},
                   {"vel. X:", kEdit, pickStarVelXStr, -1, 0, 0, 0, 160, 0},
                   {"vel. Y:", kEdit, pickStarVelYStr, -1, 0, 0, 0, 160, 0},
                   {"vel. Z:", kEdit, pickStarVelZStr, -1, 0, 0, 0, 160, 0},
                   {"vel. X:", kEdit, pickStarPecVelXStr, -1, 0, 0, 0, 160, 1},
                   {"vel. Y:", kEdit, pickStarPecVelYStr, -1, 0, 0, 0, 160, 1},
                   {"vel. Z:", kEdit, pickStarPecVelZStr, -1, 0, 0, 0, 160, 1},
               });
  EXPECT_EQ(find(p, "HD number:")->liveTextSize, static_cast<size_t>(kPickTextSize));
  EXPECT_EQ(find(p, "HD number:")->alignment, GLUI_ALIGN_CENTER);
  EXPECT_EQ(starPosLText, find(p, "Galactic l:"));
  EXPECT_EQ(starPosBText, find(p, "Galactic b:"));

  // The three nested rollouts, closed, 170 wide, with their boxes.
  const char* groups[3] = {"1.Color Info.", "2.Position Info.", "3.Velocity Info."};
  const std::vector<std::vector<std::string>> boxes = {
      {"BV:", "Abs.VMag:", "SpType:", "Luminosity:"},
      {"Position X:", "Position Y:", "Position Z:", "Dist % Err:", "Galactic l:", "Galactic b:",
       "log10 scale (m):", "dist(parsec):", "dist(lightyear):"},
      {"vel. X:", "vel. Y:", "vel. Z:", "vel. X:", "vel. Y:", "vel. Z:"}};
  for (int g = 0; g < 3; g++) {
    GLUI_Control* r = find(p, groups[g]);
    ASSERT_NE(r, nullptr) << groups[g];
    EXPECT_EQ(r->kind, GLUI_Control::kRollout);
    EXPECT_EQ(r->w, 170);
    EXPECT_FALSE(r->isOpen);
    EXPECT_EQ(labels(r, kEdit), boxes[static_cast<size_t>(g)]);
  }
  EXPECT_EQ(labels(find(p, "3.Velocity Info."), GLUI_Control::kStaticText),
            (std::vector<std::string>{"[Space Velocity w.r.t. Sun]", "[Peculiar Velocity w.r.t. LSR]"}));
  // The panel ends with the hint.
  EXPECT_EQ(p->children.back()->kind, GLUI_Control::kStaticText);
  EXPECT_EQ(p->children.back()->name, "[pick by right mouse click]");
}

TEST_F(PanelTree, MilkyWayPanelWithTheSlider) {
  giveMaps(true);
  build();
  GLUI_Control* m = rolloutOf('m');
  ASSERT_NE(texRadioGroup, nullptr);
  EXPECT_EQ(texRadioGroup->liveInt, &texChoice);
  EXPECT_EQ(texRadioGroup->id, 60);
  EXPECT_EQ(texRadioGroup->alignment, GLUI_ALIGN_LEFT);
  EXPECT_EQ(labels(texRadioGroup, GLUI_Control::kRadioButton),
            (std::vector<std::string>{"[1] no texture", "[2] texture selection", "[3] texture slider"}));
  checkRows(m, {
                   {"select:", kList, &showWhichTexture, 610, 0, 0, 0, 155},
                   {"slider at (log10)", kSlide, &tex_sliderValue, 62, -9.3f, -0.134f, 0.1f, 155},
                   {"Unit:", kList, &tex_sliderUnit, 63, 0, 0, 0, 0},
                   {"MW Intensity (w/W)", kSlide, &sliderTexAlpha, -1, 0, 1, 0.1f, 155},
               });
  GLUI_Control* select = find(m, "select:");
  ASSERT_EQ(select->items.size(), 4u);
  for (int i = 0; i < 4; i++) {
    EXPECT_EQ(select->items[static_cast<size_t>(i)].id, 610 + i);
    EXPECT_EQ(select->items[static_cast<size_t>(i)].text, fakeMaps[i].name);
  }
  GLUI_Control* unit = find(m, "Unit:");
  const char* units[4] = {"wavelength(m)", "frequency(Hz)", "temperature(K)", "energy(ev)"};
  ASSERT_EQ(unit->items.size(), 4u);
  for (int i = 0; i < 4; i++) {
    EXPECT_EQ(unit->items[static_cast<size_t>(i)].id, 63 + i);
    EXPECT_EQ(unit->items[static_cast<size_t>(i)].text, units[i]);
  }
  EXPECT_EQ(textureSlider, find(m, "slider at (log10)"));
  EXPECT_EQ(alphaSlider, find(m, "MW Intensity (w/W)"));
}

TEST_F(PanelTree, MilkyWayPanelWithoutTheSlider) {
  giveMaps(false);
  build();
  GLUI_Control* m = rolloutOf('m');
  EXPECT_EQ(labels(texRadioGroup, GLUI_Control::kRadioButton),
            (std::vector<std::string>{"[1] no texture", "[2] texture selection"}));
  EXPECT_EQ(find(m, "slider at (log10)"), nullptr);
  EXPECT_EQ(find(m, "Unit:"), nullptr);
  EXPECT_EQ(textureSlider, nullptr);
  EXPECT_EQ(alphaSlider, find(m, "MW Intensity (w/W)"));
}

// ---- The circle of rollouts ----------------------------------------------------------------

TEST(PanelCircle, WithoutRolloutsNothingTurns) {
  ASSERT_EQ(nRolloutList, 0);
  rotatePanelsOffset(1);
  rotatePanelsOffset(-3);
  EXPECT_EQ(rolloutOffset, 0);
  for (int letter : {int{'f'}, int{'p'}, int{'M'}, 0, int{'-'}})
    EXPECT_EQ(rotatePanelsTo(letter), 0) << letter;
  closeAllRollouts();
  resetPanels();
}

class Circle : public PanelTree {
 protected:
  void SetUp() override {
    PanelTree::SetUp();
    giveMaps(true);
    build();
  }
};

TEST_F(Circle, OffsetTurnsTheShownOrderAndWraps) {
  const size_t children = glui->main_panel->children.size();
  rotatePanelsOffset(1);
  EXPECT_EQ(rolloutOffset, 1);
  EXPECT_EQ(shownLetters(), "vtaspmf");
  EXPECT_EQ(letters(), "fvtaspm") << "the circle itself stays";
  EXPECT_EQ(glui->main_panel->children.size(), children) << "one separator before each rollout, no more";
  rotatePanelsOffset(-3);
  EXPECT_EQ(rolloutOffset, 5);
  EXPECT_EQ(shownLetters(), "pmfvtas");
  rotatePanelsOffset(9);
  EXPECT_EQ(rolloutOffset, 0);
  EXPECT_EQ(shownLetters(), "fvtaspm");
  // Separator, rollout, separator, rollout...
  const auto& kids = glui->main_panel->children;
  for (size_t i = static_cast<size_t>(rolloutStart); i < kids.size(); i++)
    EXPECT_EQ(kids[i]->kind, (i - rolloutStart) % 2 ? GLUI_Control::kRollout : GLUI_Control::kSeparator) << i;
}

TEST_F(Circle, ResetPanelsKeepsTheHeadOfThePanel) {
  std::vector<GLUI_Control*> head(glui->main_panel->children.begin(),
                                  glui->main_panel->children.begin() + rolloutStart);
  rolloutOffset = 3;
  resetPanels();
  EXPECT_EQ(std::vector<GLUI_Control*>(glui->main_panel->children.begin(),
                                       glui->main_panel->children.begin() + rolloutStart),
            head);
  EXPECT_EQ(shownLetters(), "aspmfvt");
}

// m p brings the star panel to the top, opened; the same keys again close it.
TEST_F(Circle, TheSameLetterOpensAtTheTopThenCloses) {
  EXPECT_EQ(myKeyCB('m', 0, 0), 1);
  EXPECT_EQ(myKeyCB('p', 0, 0), 1);
  EXPECT_EQ(letters(), "pfvtasm");
  EXPECT_EQ(shownLetters(), "pfvtasm");
  EXPECT_TRUE(rolloutList[0]->isOpen);
  EXPECT_EQ(rolloutList[0]->name, "Star [P]icked or To Pick");
  EXPECT_EQ(myKeyCB('m', 0, 0), 1);
  EXPECT_EQ(myKeyCB('p', 0, 0), 1);
  EXPECT_FALSE(rolloutList[0]->isOpen);
  EXPECT_EQ(letters(), "pfvtasm") << "closing moves nothing";
}

// The one just behind the top comes to the front; all the others move one step on.
TEST_F(Circle, TheRolloutJustBehindTheTopComesToTheFront) {
  rotatePanelsOffset(2);  // top: t
  ASSERT_EQ(shownLetters(), "taspmfv");
  EXPECT_EQ(rotatePanelsTo('v'), 1);
  EXPECT_EQ(rolloutOffset, 2);
  EXPECT_EQ(letters(), "mfvtasp");
  EXPECT_EQ(shownLetters(), "vtaspmf") << "the same circle, with v in front";
  EXPECT_TRUE(rolloutOf('v')->isOpen);
  EXPECT_EQ(rolloutList[2]->name, "[V]iew Control");
}

// The move walks the circle from the top to the old place, wrapping past the end.
TEST_F(Circle, AMoveAcrossTheEndOfTheList) {
  rotatePanelsOffset(5);  // top: p
  EXPECT_EQ(rotatePanelsTo('v'), 1);
  EXPECT_EQ(letters(), "mftasvp");
  EXPECT_EQ(shownLetters(), "vpmftas");
  EXPECT_EQ(rolloutList[5]->name, "[V]iew Control");
  // Titles and letters moved together.
  for (int i = 0; i < nRolloutList; i++) {
    std::string title = rolloutList[i]->name;
    std::string lower;
    for (char c : title) lower += static_cast<char>(tolower(c));
    EXPECT_NE(lower.find(std::string("[") + rolloutChar[i] + "]"), std::string::npos) << title;
  }
}

TEST_F(Circle, TheRolloutAtTheTopOpensWhereItStands) {
  EXPECT_EQ(rotatePanelsTo('f'), 1);
  EXPECT_EQ(letters(), "fvtaspm");
  EXPECT_TRUE(rolloutOf('f')->isOpen);
  for (char c : std::string("vtaspm")) EXPECT_FALSE(rolloutOf(c)->isOpen) << c;
}

TEST_F(Circle, CapitalsAreLoweredAndUnknownLettersFindNothing) {
  EXPECT_EQ(rotatePanelsTo('S'), 1);
  EXPECT_TRUE(rolloutOf('s')->isOpen);
  EXPECT_EQ(rotatePanelsTo('z'), 0);
  EXPECT_EQ(rotatePanelsTo('Z'), 0);
  EXPECT_EQ(rotatePanelsTo(0), 0);
  EXPECT_EQ(letters(), "sfvtapm");
}

// Two rollouts of one letter: the later one counts.
TEST_F(Circle, TheLastMatchWins) {
  rolloutChar[1] = 'a';  // the view rollout now answers to a as well
  EXPECT_EQ(rotatePanelsTo('a'), 1);
  EXPECT_EQ(rolloutList[0]->name, "[A]lignment Control");
  EXPECT_TRUE(rolloutList[0]->isOpen);
  EXPECT_EQ(rolloutList[2]->name, "[V]iew Control");
  EXPECT_FALSE(rolloutList[2]->isOpen);
}

TEST_F(Circle, CloseAllRolloutsButtonAndKeys) {
  for (int i = 0; i < nRolloutList; i++) rolloutList[i]->open();
  myGLUICallback(13);
  for (int i = 0; i < nRolloutList; i++) EXPECT_FALSE(rolloutList[i]->isOpen) << i;
  for (int i = 0; i < nRolloutList; i++) rolloutList[i]->open();
  EXPECT_EQ(myKeyCB('m', 0, 0), 1);
  EXPECT_EQ(myKeyCB('-', 0, 0), 1);
  for (int i = 0; i < nRolloutList; i++) EXPECT_FALSE(rolloutList[i]->isOpen) << i;
}

TEST_F(Circle, TheMButtonTurnsByOne) {
  myGLUICallback(14);
  EXPECT_EQ(rolloutOffset, 1);
  EXPECT_EQ(shownLetters(), "vtaspmf");
  for (int i = 0; i < 6; i++) myGLUICallback(14);
  EXPECT_EQ(rolloutOffset, 0);
}

// m followed by a capital looks for the small letter; m m finds the Milky Way panel here.
TEST_F(Circle, MPrefixLetters) {
  struct Case {
    unsigned char second;
    int result;
    char opened;  // 0: none
  };
  const Case cases[] = {{'Z', 0, 0}, {'T', 1, 't'}, {'m', 1, 'm'}, {'~', 0, 0}, {'1', 0, 0}, {'7', 0, 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(std::string(1, static_cast<char>(c.second)));
    closeAllRollouts();
    EXPECT_EQ(myKeyCB('m', 0, 0), 1);
    EXPECT_EQ(myKeyCB(c.second, 0, 0), c.result);
    for (int i = 0; i < nRolloutList; i++)
      EXPECT_EQ(rolloutList[i]->isOpen, rolloutChar[i] == c.opened) << rolloutChar[i];
  }
}

// Without textures the seventh rollout is missing, so m m finds nothing and the framework gets
// the key.
TEST_F(PanelTree, WithoutTexturesMThenMGoesToTheFramework) {
  build();
  EXPECT_EQ(myKeyCB('m', 0, 0), 1);
  EXPECT_EQ(myKeyCB('m', 0, 0), 0);
  EXPECT_EQ(myKeyCB('m', 0, 0), 1);
  EXPECT_EQ(myKeyCB('a', 0, 0), 1) << "the alignment panel";
  EXPECT_TRUE(rolloutOf('a')->isOpen);
}

// ---- Callback ids that need no window ------------------------------------------------------

// Switching "show Ra/Dec" relabels the two angle boxes, and back.
TEST_F(PanelTree, RaDecRelabelsTheAngleBoxes) {
  build();
  showAnchor = 0, picked = 0;
  pickStarNameHDStr[0] = '\0';
  showRaDec = 1;
  myGLUICallback(42);
  EXPECT_EQ(starPosLText->name, "Eqn. RA:");
  EXPECT_EQ(starPosBText->name, "Eqn. DEC:");
  showRaDec = 0;
  myGLUICallback(42);
  EXPECT_EQ(starPosLText->name, "Galactic l:");
  EXPECT_EQ(starPosBText->name, "Galactic b:");
}

// A panel built while Ra/Dec is on starts with the equatorial labels.
TEST_F(PanelTree, APanelBuiltWithRaDecOnShowsTheEquatorialLabels) {
  showRaDec = 1;
  build();
  EXPECT_EQ(starPosLText->name, "Eqn. RA:");
  EXPECT_EQ(starPosBText->name, "Eqn. DEC:");
  showRaDec = 0;
}

TEST_F(PanelTree, SimpleMirrors) {
  build();
  mySensitivity = 2.5f;
  myGLUICallback(32);
  EXPECT_EQ(sensitivity, 2.5);
  int axes = showAxesFlag;
  myShowAxesFlag = 1 - axes;
  myGLUICallback(41);
  EXPECT_EQ(showAxesFlag, 1 - axes);
  showAxesFlag = axes;
  sensitivity = 1.0;
  // Locking the view stops a model spin, and only then.
  idleRotModel = 1;
  lockView = 0;
  myGLUICallback(40);
  EXPECT_EQ(idleRotModel, 1);
  lockView = 1;
  myGLUICallback(40);
  EXPECT_EQ(idleRotModel, 0);
  lockView = 0;
}

TEST(PanelCallback, UnknownIdsDoNothing) {
  int fovy = static_cast<int>(currFovy);
  for (int id : {-1, 0, 17, 22, 33, 44, 58, 61, 65, 71, 231, 611, 710, 9999}) {
    std::string out = testsupport::stdoutOf([&] {
      std::string err = testsupport::stderrOf([&] { myGLUICallback(id); });
      EXPECT_EQ(err, "") << id;
    });
    EXPECT_EQ(out, "") << id;
  }
  EXPECT_EQ(static_cast<int>(currFovy), fovy);
}

// "print (console)" and "look at star" without a choice ask for one; look at star on a locked
// view refuses first.
TEST(PanelCallback, StarButtonsWithoutAStar) {
  picked = 0;
  pickStarNameHDStr[0] = '\0';
  lockView = 0;
  EXPECT_EQ(testsupport::stdoutOf([] { myGLUICallback(52); }),
            "Please pick a star and press the button again.\n");
  EXPECT_EQ(testsupport::stdoutOf([] { myGLUICallback(53); }),
            "Please pick a star and press the button again.\n");
  lockView = 1;
  idleRotView = 0;
  std::string out;
  EXPECT_EQ(testsupport::stderrOf([&] { out = testsupport::stdoutOf([] { myGLUICallback(53); }); }),
            "Screen locked.\n");
  EXPECT_EQ(out, "");
  EXPECT_EQ(idleRotView, 0);
  lockView = 0;
}

// "dir" lists the path through the shell as typed, unquoted: a second command in it runs too.
TEST(PanelCallback, DirRunsItsCommandThroughTheShell) {
  testsupport::TempDir dir;
  testsupport::writeFile(dir.file("model.obj"), "v 0 0 0\n");
  const std::string marker = dir.file("marker");
  alignpath = dir.path() + "; echo ran > " + marker;
  std::string out;
  std::string err = testsupport::stderrOf([&] { out = testsupport::stdoutOf([] { myGLUICallback(20); }); });
  EXPECT_EQ(err.substr(0, ("\nDirectory [" + alignpath + "]\n\n").size()),
            "\nDirectory [" + alignpath + "]\n\n");
  EXPECT_EQ(testsupport::readFile(marker), "ran\n") << "the part behind ; ran as a command of its own";
  // The listing itself went to the process's standard output, which the shell shares.
  EXPECT_NE(out.find("model.obj"), std::string::npos) << out;
  alignpath.clear();
}

// A path with a blank is two arguments to ls, as the shell splits it.
TEST(PanelCallback, DirPathIsSplitByTheShell) {
  testsupport::TempDir dir;
  ASSERT_EQ(mkdir(dir.file("a").c_str(), 0755), 0);
  testsupport::writeFile(dir.file("a/inside-a"), "");
  alignpath = dir.file("a") + " " + dir.file("missing");
  std::string out;
  std::string err = testsupport::stderrOf([&] { out = testsupport::stdoutOf([] { myGLUICallback(20); }); });
  EXPECT_NE(out.find("inside-a"), std::string::npos) << out;
  EXPECT_NE(err.find("missing"), std::string::npos) << "ls complains about the second word: " << err;
  alignpath.clear();
}

// "open" with an empty file name and the recent list out of range give their messages only.
TEST(PanelCallback, OpenWithoutANameAndARecentEntryOutOfRange) {
  alignpath = "/some/dir";
  try_open_alignfile.clear();
  EXPECT_EQ(testsupport::stderrOf([] { myGLUICallback(21); }), "Err : cannot open [/some/dir/<null>]\n");
  nRecentFiles = 0;
  recentListBoxID = 0;
  EXPECT_EQ(testsupport::stderrOf([] { myGLUICallback(230); }),
            "Err(openRecentFile): input argument (entry) is out of range!\n");
  alignpath.clear();
}

// Help and About go to the framework's menu commands.
TEST(PanelCallback, HelpAndAbout) {
  helpMenuFuncPtr = myHelpMenu;
  EXPECT_EQ(testsupport::stderrOf([] { myGLUICallback(11); }),
            "\n\n" + std::string(mouseHelpText) + "\n\n" + keyboardHelpText + "\n\n");
  helpMenuFuncPtr = nullptr;
  printEnable = 1;
  snprintf(titleStr, sizeof titleStr, "%s", "Velmora tool 1.2 [x.obj]");
  snprintf(aboutStr, sizeof aboutStr, "%s", "about text");
  EXPECT_EQ(testsupport::stderrOf([] { myGLUICallback(12); }), "\nVelmora tool 1.2 [x.obj]\n\nabout text\n");
}

TEST(PanelCallbackDeath, QuitEndsTheProcessWithStatusZero) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(myGLUICallback(10), testing::ExitedWithCode(0), "");
}

// ---- Texture controls on a list in memory --------------------------------------------------

class TextureCallbacks : public PanelTree {
 protected:
  void SetUp() override {
    PanelTree::SetUp();
    giveMaps(true);
    build();
    tex_sliderUnit = kSliderUnitBase;
    texChoice = 0;
  }
};

// Choosing a map while "[1] no texture" is chosen turns the texture on, in single-map mode.
TEST_F(TextureCallbacks, ChoosingAMapTurnsTheTextureOn) {
  showWhichTexture = 612;
  myGLUICallback(610);
  EXPECT_EQ(texChoice, 1);
  EXPECT_EQ(showWhichTexture, 612);
}

// Touching the slider switches to slider mode and cross-fades the two maps around its value.
TEST_F(TextureCallbacks, TouchingTheSliderSwitchesToSliderMode) {
  tex_sliderValue = -3.0f;
  myGLUICallback(62);
  EXPECT_EQ(texChoice, 2);
  EXPECT_EQ(sliderTexID1, 2u) << "H-alpha below";
  EXPECT_EQ(sliderTexID2, 1u) << "radio above";
  EXPECT_NEAR(sliderTexAlpha1, (-0.134 - -3.0) / (-0.134 - -6.18), 1e-5);
  EXPECT_NEAR(sliderTexAlpha1 + sliderTexAlpha2, 1.0, 1e-6);
}

// The radio group: 1 a single map, 2 the slider, 0 nothing to set up.
TEST_F(TextureCallbacks, RadioGroup) {
  tex_sliderValue = -9.3f;
  texChoice = 2;
  myGLUICallback(60);
  EXPECT_EQ(sliderTexID1, 4u);
  EXPECT_EQ(sliderTexID2, 2u);
  EXPECT_NEAR(sliderTexAlpha1, 1.0, 1e-6);
  sliderTexID1 = sliderTexID2 = 0;
  texChoice = 1;
  myGLUICallback(60);
  texChoice = 0;
  myGLUICallback(60);
  EXPECT_EQ(sliderTexID1, 0u) << "single map and none leave the cross-fade alone";
}

// The unit listbox converts the slider, limits included, and switches to slider mode.
TEST_F(TextureCallbacks, UnitListboxConvertsTheSlider) {
  tex_sliderValue = -6.0f;               // a micrometre
  tex_sliderUnit = kSliderUnitBase + 1;  // frequency
  myGLUICallback(63);
  EXPECT_EQ(texChoice, 2);
  EXPECT_NEAR(tex_sliderValue, std::log10(299792458.0 / 1e-6), 1e-4);
  EXPECT_NEAR(tex_sliderMin, std::log10(299792458.0 / std::pow(10.0, -0.134)), 1e-4);
  EXPECT_NEAR(tex_sliderMax, std::log10(299792458.0 / std::pow(10.0, -9.3)), 1e-4);
  EXPECT_FLOAT_EQ(textureSlider->floatLow, tex_sliderMin);
  EXPECT_FLOAT_EQ(textureSlider->floatHigh, tex_sliderMax);
  EXPECT_NEAR(tex_sliderValue, std::log10(299792458.0 / 1e-6), 1e-4) << "the new limits kept the value";
  // The cross-fade still stands at one micrometre: between H-alpha and the radio map.
  EXPECT_EQ(sliderTexID1, 2u);
  EXPECT_EQ(sliderTexID2, 1u);
  tex_sliderUnit = kSliderUnitBase;
  myGLUICallback(63);
  EXPECT_NEAR(tex_sliderValue, -6.0, 1e-4);
  EXPECT_FLOAT_EQ(textureSlider->floatLow, tex_sliderMin);
  EXPECT_NEAR(tex_sliderMin, -9.3, 1e-4);
}

}  // namespace
