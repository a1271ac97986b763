// The tool's control panel: the controls of every rollout with their live variables, ids and
// limits, and the circle of rollouts that opens, closes and turns.
#include "tool/vmbuild.h"

#include <GL/freeglut.h>

#include <cctype>
#include <cstring>

#include "tool/velmora.h"
#include "tool/vmcb.h"
#include "tool/vmfile.h"
#include "viewer/glui.h"
#include "viewer/tarnwick.h"
#include "viewer/window_scope.h"

namespace {

// The panel's colours, 0 to 255: dark wine behind near-white.
constexpr float kBackground[3] = {90, 30, 50};
constexpr float kForeground[3] = {250, 250, 250};
// Separators above and below the title.
constexpr int kTitleSeparators = 2;

// Widths in pixels.
constexpr int kWideButton = 42;    // Quit, Help, About
constexpr int kNarrowButton = 12;  // - and m
constexpr int kRolloutWidth = 180;
constexpr int kPathEditWidth = 130;
constexpr int kFileButtonWidth = 44;
constexpr int kRecentBoxWidth = 179;
constexpr int kSpinnerWidth = 160;
constexpr int kExportEditWidth = 120;
constexpr int kExportListWidth = 163;
constexpr int kStarSliderWidth = 160;
constexpr int kPickEditWidth = 160;
constexpr int kPrintButtonWidth = 86;
constexpr int kLookButtonWidth = 75;
constexpr int kInfoRolloutWidth = 170;
constexpr int kMWControlWidth = 155;

// Speeds of the sliders and the decimal-places spinner: steps scale by them.
constexpr float kNormalSpeed = 1.0f;
constexpr float kFineSpeed = 0.2f;
constexpr float kTextureSpeed = 0.1f;
constexpr float kYearSpeed = 0.001f;
constexpr float kDecPlaceSpeed = 0.1f;

// Limits.
constexpr float kFovyMin = 0.0f, kFovyMax = 179.9f;
constexpr float kAspectMin = 0.1f, kAspectMax = 3.0f;
constexpr float kSensitivityMin = 0.001f, kSensitivityMax = 5.0f;
constexpr int kDecPlacesMin = 1, kDecPlacesMax = 7;
constexpr float kOpacityMin = 0.0f, kOpacityMax = 1.0f;
constexpr float kDistanceMin = 0.0f, kDistanceMax = 10000.0f;
constexpr float kObjScaleMin = 0.1f, kObjScaleMax = 3.0f;
constexpr float kStarSizeMin = 0.1f, kStarSizeMax = 5.0f;
constexpr int kYearMin = -200000, kYearMax = 200000;

// The star panel's texts start as this many zero bytes.
constexpr size_t kClearedTextBytes = 300;

const char* const kUnitNames[kNumExportUnits] = {
    "parsec",      "k-parsec",     "lightyear",    "meters",       "kilometers",
    "10^9 meters", "10^12 meters", "10^15 meters", "10^18 meters", "10^21 meters",
};
const char* const kCoordNames[kNumExportCoords] = {"galactic", "equatorial", "super-galactic"};
constexpr int kSliderUnits = 4;
const char* const kSliderUnitNames[kSliderUnits] = {"wavelength(m)", "frequency(Hz)", "temperature(K)",
                                                    "energy(ev)"};

GLUI_Update_CB cb() {
  return myGLUICallback;
}

// A check box that only writes its flag.
void plainCheckbox(GLUI_Control* panel, const char* label, int* live) {
  glui->add_checkbox_to_panel(panel, label, live, kNoCallback, nullptr);
}

GLUI_Slider* floatSlider(GLUI_Control* panel, const char* label, float* live, float low, float high, int id,
                         float speed) {
  GLUI_Slider* s = glui->add_slider_to_panel(panel, label, GLUI_LIVE_FLOAT, live, low, high, id,
                                             id == kNoCallback ? nullptr : cb());
  if (s) s->set_speed(speed);
  return s;
}

// An edit text on a char buffer of the star panel, centred, calling back on Enter when it has an id.
GLUI_Control* pickText(GLUI_Control* panel, const char* label, char* text, int id = kNoCallback) {
  GLUI_Control* e =
      glui->add_edittext_to_panel(panel, label, text, kPickTextSize, id, id == kNoCallback ? nullptr : cb());
  e->set_w(kPickEditWidth);
  e->set_alignment(GLUI_ALIGN_CENTER);
  return e;
}

// An edit text with its button beside it, in a row of its own.
void editWithButton(GLUI_Control* panel, const char* label, std::string* live, int editId, int editWidth,
                    const char* button, int buttonId) {
  GLUI_Control* row = glui->add_panel_to_panel(panel, "", GLUI_PANEL_NONE);
  GLUI_Control* e = glui->add_edittext_to_panel(row, label, GLUI_LIVE_STRING, live, editId,
                                                editId == kNoCallback ? nullptr : cb());
  e->set_w(editWidth);
  glui->add_column_to_panel(row, 0);
  glui->add_button_to_panel(row, button, buttonId, cb())->set_w(kFileButtonWidth);
}

bool isListedRollout(const GLUI_Control* c) {
  for (int i = 0; i < nRolloutList; i++)
    if (rolloutList[i] == c) return true;
  return false;
}

void addRollout(const char* title, char letter, void (*fill)(GLUI_Control*)) {
  glui->add_separator();
  GLUI_Control* r = glui->add_rollout(title, 0);
  r->set_w(kRolloutWidth);
  r->set_alignment(GLUI_ALIGN_CENTER);
  fill(r);
  rolloutList[nRolloutList] = r;
  rolloutChar[nRolloutList] = letter;
  nRolloutList++;
}

}  // namespace

void addFilePanel(GLUI_Control* rollout) {
  editWithButton(rollout, "Path:", &alignpath, kNoCallback, kPathEditWidth, "dir", kIdDir);
  editWithButton(rollout, "File:", &try_open_alignfile, kNoCallback, kPathEditWidth, "open", kIdOpen);
  recentFilesBox = glui->add_listbox_to_panel(rollout, "recent:", &recentListBoxID, kRecentListBase, cb());
  recentFilesBox->set_w(kRecentBoxWidth);
  // The list starts afresh with the model in hand; addRecentFile fills the box.
  nRecentFiles = 0;
  recentListBoxID = 0;
  if (alignfile[0]) addRecentFile(alignpath.c_str(), alignfile_basename);
  plainCheckbox(rollout, "is plain image?", &isObjAnImage);
}

void addViewPanel(GLUI_Control* rollout) {
  myCurrFovy = static_cast<float>(currFovy);
  myCurrAspect = static_cast<float>(currAspect);
  mySensitivity = static_cast<float>(sensitivity);
  floatSlider(rollout, "Fovy:", &myCurrFovy, kFovyMin, kFovyMax, kIdFovy, kNormalSpeed);
  glui->add_checkbox_to_panel(rollout, "Fix as width/height", &fixAspectRatio, kIdAspect, cb());
  floatSlider(rollout, "Aspect Ratio:", &myCurrAspect, kAspectMin, kAspectMax, kIdAspect, kNormalSpeed);
  floatSlider(rollout, "Mouse sensitivity{,}:", &mySensitivity, kSensitivityMin, kSensitivityMax,
              kIdSensitivity, kNormalSpeed);
}

void addStatusPanel(GLUI_Control* rollout) {
  plainCheckbox(rollout, "super galactic axes label", &showSGalAxesFlag);
  glui->add_checkbox_to_panel(rollout, "galactic axes label (a)", &myShowAxesFlag, kIdAxes, cb());
  plainCheckbox(rollout, "equatorial axes label", &showEqnAxesFlag);
  plainCheckbox(rollout, "show super gal. grid (G)", &showSGalSphere);
  plainCheckbox(rollout, "show galactic grid (g)", &showGalSphere);
  plainCheckbox(rollout, "show equatorial grid (E)", &showEqnSphere);
  plainCheckbox(rollout, "show grid detail (d)", &gridDetail);
  plainCheckbox(rollout, "screen center dir.(D)", &showLookAtDir);
  plainCheckbox(rollout, "screen center line (L)", &showCenterLine);
  glui->add_checkbox_to_panel(rollout, "show Ra/Dec", &showRaDec, kIdRaDec, cb());
  plainCheckbox(rollout, "show anchor (A)", &showAnchor);
  glui->add_checkbox_to_panel(rollout, "lock view (l)", &lockView, kIdLockView, cb());
  GLUI_Control* s = glui->add_spinner_to_panel(rollout, "Scrn.Printout (d.p.):", GLUI_SPINNER_INT,
                                               &printDecPlace, kIdDecPlaces, cb());
  s->set_int_limits(kDecPlacesMin, kDecPlacesMax);
  s->set_speed(kDecPlaceSpeed);
  s->set_w(kSpinnerWidth);
}

void addAlignmentObjPanel(GLUI_Control* rollout) {
  glui->add_button_to_panel(rollout, "undo(u)", kIdUndo, cb());
  glui->add_button_to_panel(rollout, "redo(y)", kIdRedo, cb());
  plainCheckbox(rollout, "Show Align.Model (z)", &showAlignModel);
  plainCheckbox(rollout, "Show Outline (Z)", &showAlignModelOutline);
  plainCheckbox(rollout, "Show 3D Normal (B)", &showAlignModelNormal);
  plainCheckbox(rollout, "Show Object Axes (x/X)", &showAlignModelAxes);
  plainCheckbox(rollout, "Show Bounding Box (b)", &showAlignModelBBox);
  plainCheckbox(rollout, "Show Model Info (i)", &showAlignModelInfo);
  if (nFixedModels) {
    plainCheckbox(rollout, "Show Fixed model (f)", &showFixedModels);
    plainCheckbox(rollout, "Fixed model behind (F)", &showFixedBehind);
  }
  floatSlider(rollout, "opacity [,] ", &alignModelAlpha, kOpacityMin, kOpacityMax, kNoCallback, kFineSpeed);
  if (nFixedModels)
    floatSlider(rollout, "opacity(fixed)", &alignFixedModelAlpha, kOpacityMin, kOpacityMax, kNoCallback,
                kFineSpeed);
  editWithButton(rollout, "ObjFile:", &objFileExport, kIdExport, kExportEditWidth, "Export", kIdExport);
  glui->add_checkbox_to_panel(rollout, "Export WCS + AVM (image)", &exportImageWcs, kIdExportWcs, cb());
  GLUI_Control* d = glui->add_spinner_to_panel(rollout, "Distance", GLUI_SPINNER_FLOAT, &distObjModel);
  d->set_float_limits(kDistanceMin, kDistanceMax);
  GLUI_Control* unit = glui->add_listbox_to_panel(rollout, "Unit:", &unitObjModel);
  unit->set_w(kExportListWidth);
  for (int i = 0; i < kNumExportUnits; i++) unit->add_item(kUnitBase + i, kUnitNames[i]);
  GLUI_Control* coord = glui->add_listbox_to_panel(rollout, "Coordinate:", &coordObjModel);
  coord->set_w(kExportListWidth);
  for (int i = 0; i < kNumExportCoords; i++) coord->add_item(kCoordBase + i, kCoordNames[i]);
  floatSlider(rollout, "obj.space scale X ", &alignModelObjScale[0], kObjScaleMin, kObjScaleMax, kNoCallback,
              kFineSpeed);
  floatSlider(rollout, "obj.space scale Y ", &alignModelObjScale[1], kObjScaleMin, kObjScaleMax, kNoCallback,
              kFineSpeed);
  floatSlider(rollout, "obj.space scale Z ", &alignModelObjScale[2], kObjScaleMin, kObjScaleMax, kNoCallback,
              kFineSpeed);
}

void addStarPanel(GLUI_Control* rollout) {
  GLUI_Slider* size = floatSlider(rollout, "Star Size (+/-):", &starSize, kStarSizeMin, kStarSizeMax,
                                  kIdStarSize, kFineSpeed);
  if (size) size->set_w(kStarSliderWidth);
  GLUI_Slider* year = glui->add_slider_to_panel(rollout, "star at year:", GLUI_LIVE_INT, &starAtYear,
                                                static_cast<float>(kYearMin), static_cast<float>(kYearMax),
                                                kIdStarAtYear, cb());
  if (year) {
    year->set_speed(kYearSpeed);
    year->set_w(kStarSliderWidth);
  }
  plainCheckbox(rollout, "show stars(s)", &showStarsFlag);
  plainCheckbox(rollout, "show color map", &useStarColorMap);
  plainCheckbox(rollout, "show textured stars (t)", &useStarTex);
  plainCheckbox(rollout, "constellation line (S)", &showConstellationLines);
  plainCheckbox(rollout, "constellation name (S)", &showConstellationNames);
  plainCheckbox(rollout, "constellation bound", &showConstellationBounds);
  glui->add_checkbox_to_panel(rollout, "(show picked only)", &showConstellationPickedOnly)
      ->set_alignment(GLUI_ALIGN_CENTER);
  plainCheckbox(rollout, "show common name (n)", &showCommonName);
}

void addStarPickPanel(GLUI_Control* rollout) {
  for (char* t : {pickStarNameHDStr,
                  pickStarNameHICStr,
                  pickStarNameCommonStr,
                  pickStarConstellationStr,
                  pickStarBVStr,
                  pickStarVMagStr,
                  pickStarSpTypeStr,
                  pickStarLumStr,
                  pickStarPosXStr,
                  pickStarPosYStr,
                  pickStarPosZStr,
                  pickStarDistErrorStr,
                  pickStarPosScaleStr,
                  pickStarDistParsecStr,
                  pickStarDistLightYearStr,
                  pickStarVelXStr,
                  pickStarVelYStr,
                  pickStarVelZStr,
                  pickStarPecVelXStr,
                  pickStarPecVelYStr,
                  pickStarPecVelZStr,
                  pickStarLStr,
                  pickStarBStr})
    memset(t, 0, kClearedTextBytes);

  plainCheckbox(rollout, "show star info.(p)", &showStarInfo);
  GLUI_Control* buttons = glui->add_panel_to_panel(rollout, "", GLUI_PANEL_NONE);
  glui->add_button_to_panel(buttons, "print (console)", kIdPrintStar, cb())->set_w(kPrintButtonWidth);
  glui->add_column_to_panel(buttons, 0);
  glui->add_button_to_panel(buttons, "look at star", kIdLookAtStar, cb())->set_w(kLookButtonWidth);

  pickText(rollout, "HD number:", pickStarNameHDStr, kIdPickHD);
  pickText(rollout, "HIC number:", pickStarNameHICStr, kIdPickHIC);
  pickText(rollout, "Common name:", pickStarNameCommonStr, kIdPickCommon);
  pickText(rollout, "Constellation:", pickStarConstellationStr, kIdPickConstellation);

  GLUI_Control* color = glui->add_rollout_to_panel(rollout, "1.Color Info.", 0);
  color->set_w(kInfoRolloutWidth);
  pickText(color, "BV:", pickStarBVStr);
  pickText(color, "Abs.VMag:", pickStarVMagStr);
  pickText(color, "SpType:", pickStarSpTypeStr);
  pickText(color, "Luminosity:", pickStarLumStr);

  GLUI_Control* position = glui->add_rollout_to_panel(rollout, "2.Position Info.", 0);
  position->set_w(kInfoRolloutWidth);
  pickText(position, "Position X:", pickStarPosXStr);
  pickText(position, "Position Y:", pickStarPosYStr);
  pickText(position, "Position Z:", pickStarPosZStr);
  pickText(position, "Dist % Err:", pickStarDistErrorStr);
  starPosLText = pickText(position, "Galactic l:", pickStarLStr);
  starPosBText = pickText(position, "Galactic b:", pickStarBStr);
  pickText(position, "log10 scale (m):", pickStarPosScaleStr);
  pickText(position, "dist(parsec):", pickStarDistParsecStr);
  pickText(position, "dist(lightyear):", pickStarDistLightYearStr);
  // A switch of Ra/Dec before the panel existed still shows.
  relabelStarPosTexts();

  GLUI_Control* velocity = glui->add_rollout_to_panel(rollout, "3.Velocity Info.", 0);
  velocity->set_w(kInfoRolloutWidth);
  glui->add_statictext_to_panel(velocity, "[Space Velocity w.r.t. Sun]");
  pickText(velocity, "vel. X:", pickStarVelXStr);
  pickText(velocity, "vel. Y:", pickStarVelYStr);
  pickText(velocity, "vel. Z:", pickStarVelZStr);
  glui->add_statictext_to_panel(velocity, "[Peculiar Velocity w.r.t. LSR]");
  pickText(velocity, "vel. X:", pickStarPecVelXStr);
  pickText(velocity, "vel. Y:", pickStarPecVelYStr);
  pickText(velocity, "vel. Z:", pickStarPecVelZStr);

  glui->add_statictext_to_panel(rollout, "[pick by right mouse click]");
}

void addMWPanel(GLUI_Control* rollout) {
  texRadioGroup = glui->add_radiogroup_to_panel(rollout, &texChoice, kIdTexChoice, cb());
  texRadioGroup->set_alignment(GLUI_ALIGN_LEFT);
  glui->add_radiobutton_to_group(texRadioGroup, "[1] no texture");
  glui->add_radiobutton_to_group(texRadioGroup, "[2] texture selection");
  if (nSliderTex) glui->add_radiobutton_to_group(texRadioGroup, "[3] texture slider");

  GLUI_Control* select =
      glui->add_listbox_to_panel(rollout, "select:", &showWhichTexture, kTexListBase, cb());
  select->set_w(kMWControlWidth);
  for (int i = 0; i < nTexObjs; i++) select->add_item(kTexListBase + i, texObjs[i].name);

  textureSlider = nullptr;
  if (nSliderTex) {
    textureSlider = floatSlider(rollout, "slider at (log10)", &tex_sliderValue, tex_sliderMin, tex_sliderMax,
                                kIdTexSlider, kTextureSpeed);
    if (textureSlider) textureSlider->set_w(kMWControlWidth);
    GLUI_Control* unit = glui->add_listbox_to_panel(rollout, "Unit:", &tex_sliderUnit, kSliderUnitBase, cb());
    for (int i = 0; i < kSliderUnits; i++) unit->add_item(kSliderUnitBase + i, kSliderUnitNames[i]);
  }
  alphaSlider = floatSlider(rollout, "MW Intensity (w/W)", &sliderTexAlpha, kOpacityMin, kOpacityMax,
                            kNoCallback, kTextureSpeed);
  if (alphaSlider) alphaSlider->set_w(kMWControlWidth);
}

void buildPanelControls() {
  glui->bkgdColor[0] = kBackground[0], glui->bkgdColor[1] = kBackground[1],
  glui->bkgdColor[2] = kBackground[2];
  glui->fgColor[0] = kForeground[0], glui->fgColor[1] = kForeground[1], glui->fgColor[2] = kForeground[2];
  for (int i = 0; i < kTitleSeparators; i++) glui->add_separator();
  glui->add_statictext("VELMORA PANEL")->set_alignment(GLUI_ALIGN_CENTER);
  for (int i = 0; i < kTitleSeparators; i++) glui->add_separator();

  GLUI_Control* buttons = glui->add_panel("", GLUI_PANEL_NONE);
  struct Button {
    const char* name;
    int id;
    int width;
  };
  const Button row[] = {{"Quit", kIdQuit, kWideButton},
                        {"Help", kIdHelp, kWideButton},
                        {"About", kIdAbout, kWideButton},
                        {"-", kIdCloseAll, kNarrowButton},
                        {"m", kIdNextPanel, kNarrowButton}};
  bool first = true;
  for (const Button& b : row) {
    if (!first) glui->add_column_to_panel(buttons, 0);
    first = false;
    glui->add_button_to_panel(buttons, b.name, b.id, cb())->set_w(b.width);
  }

  rolloutStart = static_cast<int>(glui->main_panel->children.size());
  nRolloutList = 0;
  rolloutOffset = 0;
  addRollout("[F]ile Control", 'f', addFilePanel);
  addRollout("[V]iew Control", 'v', addViewPanel);
  addRollout("S[T]atus Control", 't', addStatusPanel);
  addRollout("[A]lignment Control", 'a', addAlignmentObjPanel);
  addRollout("[S]tar Control", 's', addStarPanel);
  addRollout("Star [P]icked or To Pick", 'p', addStarPickPanel);
  if (texObjs) addRollout("[M]ilkyway Control", 'm', addMWPanel);
}

void myGLUICreate() {
  if (useSubGLUI)
    glui = GLUI_Master.create_glui_subwindow(mainWindow, GLUI_SUBWINDOW_RIGHT);
  else
    glui = GLUI_Master.create_glui("Velmora Panel");
  if (!glui) return;
  buildPanelControls();
  glui->set_main_gfx_window(mainWindow);
  if (useSubGLUI && mainWindow) {
    WindowScope onMain(mainWindow);
    glutReshapeWindow(winW + kGluiPanelWidth, winH);
  }
}

void closeAllRollouts() {
  for (int i = 0; i < nRolloutList; i++) rolloutList[i]->close();
}

void resetPanels() {
  if (!glui) return;
  GLUI_Control* root = glui->main_panel;
  while (static_cast<int>(root->children.size()) > rolloutStart) {
    GLUI_Control* c = glui->remove_control(root, rolloutStart);
    if (!c) break;
    // The rollouts come back below; the separators between them are made anew.
    if (!isListedRollout(c)) delete c;
  }
  for (int k = 0; k < nRolloutList; k++) {
    glui->add_separator();
    glui->add_control(root, rolloutList[(rolloutOffset + k) % nRolloutList]);
  }
}

void rotatePanelsOffset(int delta) {
  if (nRolloutList == 0) return;
  rolloutOffset = ((rolloutOffset + delta) % nRolloutList + nRolloutList) % nRolloutList;
  resetPanels();
}

int rotatePanelsTo(int letter) {
  if (nRolloutList == 0) return 0;
  if (letter >= 'A' && letter <= 'Z') letter = tolower(letter);
  int found = -1;
  for (int i = 0; i < nRolloutList; i++)
    if (rolloutChar[i] == letter) found = i;
  if (found < 0) return 0;
  GLUI_Control* r = rolloutList[found];
  if (r->isOpen) {
    r->close();
    return 1;
  }
  if (found != rolloutOffset) {
    // Walk back from its old place to rolloutOffset, moving each one step on in the circle.
    char c = rolloutChar[found];
    int i = found;
    while (i != rolloutOffset) {
      int before = (i + nRolloutList - 1) % nRolloutList;
      rolloutList[i] = rolloutList[before];
      rolloutChar[i] = rolloutChar[before];
      i = before;
    }
    rolloutList[rolloutOffset] = r;
    rolloutChar[rolloutOffset] = c;
  }
  resetPanels();
  rolloutList[rolloutOffset]->open();
  return 1;
}

void myGlutPostRedisplay(int window) {
  if (!window) return;
  WindowScope onTarget(window);
  glutPostRedisplay();
}

void syncPanel() {
  if (glui) glui->sync_live();
}

void relabelStarPosTexts() {
  if (!starPosLText || !starPosBText) return;
  starPosLText->set_name(showRaDec ? "Eqn. RA:" : "Galactic l:");
  starPosBText->set_name(showRaDec ? "Eqn. DEC:" : "Galactic b:");
}
