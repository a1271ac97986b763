// The panel's callback on the started scene (the M51 pair and the real catalogue) in a window on
// a private X server: field of view and aspect with and without the view lock, the star size and
// year, the star buttons and boxes, look at star, decimal places and Ra/Dec, export, open and the
// recent list.
#include <GL/freeglut.h>
#include <GL/gl.h>
#include <GL/glu.h>
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <regex>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tests/tool/tool_scene.h"
#include "tool/velmora.h"
#include "tool/vmbuild.h"
#include "tool/vmcb.h"
#include "tool/vmdraw.h"
#include "tool/vmfile.h"
#include "tool/vmpick.h"
#include "viewer/glui.h"
#include "viewer/tarnwick.h"

namespace {

constexpr int kSide = 256;
constexpr int kSiriusHD = 48915;

using testsupport::Streams;
using testsupport::streamsOf;

std::string samples() {
  return toolscene::sample("");
}

void projection(double p[16]) {
  glGetDoublev(GL_PROJECTION_MATRIX, p);
}

// Looks from the observer at the origin towards dir, with north galactic up.
void lookFromOrigin(const double dir[3]) {
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(0, 0, 0, dir[0], dir[1], dir[2], 0, 0, 1);
}

// The star's direction in eye coordinates after the whole look-at turn, as the idle spin would
// apply it step by step.
void eyeDirectionAfterTurn(const double star[3], double out[3]) {
  float m[16];
  glMatrixMode(GL_MODELVIEW);
  glGetFloatv(GL_MODELVIEW_MATRIX, m);
  glPushMatrix();
  glLoadIdentity();
  if (idleRot_aroundOrigin) glTranslatef(m[12], m[13], m[14]);
  glRotated(idleRot_angle, idleRot_nx, idleRot_ny, idleRot_nz);
  if (idleRot_aroundOrigin) glTranslatef(-m[12], -m[13], -m[14]);
  glMultMatrixf(m);
  double r[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, r);
  glPopMatrix();
  for (int i = 0; i < 3; i++) out[i] = r[i] * star[0] + r[4 + i] * star[1] + r[8 + i] * star[2];
  unify3D(out);
}

void unitStar(double d[3]) {
  d[0] = pickedStar.pos.x, d[1] = pickedStar.pos.y, d[2] = pickedStar.pos.z;
  unify3D(d);
}

class PanelCallbackGL : public testing::Test {
 protected:
  static void TearDownTestSuite() {
    if (started_) deleteScene();
    started_ = false;
    unsetenv("TOPDIR");
  }
  void SetUp() override {
    VELMORA_REQUIRE_SKY_DATA();
    int window = testsupport::openGLWindow(kSide, kSide);
    ASSERT_NE(window, 0) << "Xvfb could not be started";
    mainWindow = window;
    if (!started_) {
      Streams io;
      ASSERT_EQ(toolscene::start(kSide, toolscene::m51Pair(), &io), 0) << io.err;
      started_ = true;
    }
    ASSERT_NE(starList, nullptr);
    glutSetWindow(mainWindow);
    glViewport(0, 0, kSide, kSide);
    winW = winH = kSide;
    picked = 0;
    showAnchor = 0;
    showRaDec = 0;
    lockView = 0;
    printDecPlace = 2;
    fixAspectRatio = 0;
    currFovy = 40;
    currAspect = 1;
    idleRotView = idleRotModel = 0;
    View view = initView();
    view.fovy = currFovy;
    view.aspect = currAspect;
    resetView(&view);
    fixAspectRatio = 0;  // initView sets it
  }
  static bool started_;
};

bool PanelCallbackGL::started_ = false;

// With the view locked, moving "Fovy:" snaps the slider back and the projection stays.
TEST_F(PanelCallbackGL, FovyRefusedWhileTheViewIsLocked) {
  double before[16], after[16];
  projection(before);
  lockView = 1;
  myCurrFovy = 90;
  myGLUICallback(30);
  EXPECT_FLOAT_EQ(myCurrFovy, 40);
  EXPECT_EQ(currFovy, 40);
  projection(after);
  for (int i = 0; i < 16; i++) EXPECT_EQ(after[i], before[i]) << i;
}

// Otherwise the field of view is taken and the projection rebuilt, the gaze kept.
TEST_F(PanelCallbackGL, FovyRebuildsTheProjection) {
  double dir[3] = {0.3, 0.9, 0.2};
  lookFromOrigin(dir);
  double mv[16], p[16], mvAfter[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, mv);
  myCurrFovy = 60;
  myGLUICallback(30);
  EXPECT_EQ(currFovy, 60);
  projection(p);
  EXPECT_NEAR(p[5], 1.0 / std::tan(30 * kRadiansPerDegree), 1e-6);
  EXPECT_NEAR(p[0], p[5] / currAspect, 1e-6);
  glGetDoublev(GL_MODELVIEW_MATRIX, mvAfter);
  for (int i = 0; i < 16; i++) EXPECT_NEAR(mvAfter[i], mv[i], 1e-6) << i;
}

// The callback acts on the picture's window even when another window (the panel's) is current.
TEST_F(PanelCallbackGL, FovyActsOnTheMainWindowFromAnotherWindow) {
  static int other = 0;
  if (!other) other = glutCreateSubWindow(mainWindow, 0, 0, 16, 16);
  glutSetWindow(other);
  glMatrixMode(GL_PROJECTION);
  glLoadIdentity();
  myCurrFovy = 70;
  myGLUICallback(30);
  double p[16];
  projection(p);
  EXPECT_EQ(p[5], 1.0) << "the other window's projection is untouched";
  EXPECT_EQ(glutGetWindow(), other) << "and it is current again";
  glutSetWindow(mainWindow);
  projection(p);
  EXPECT_NEAR(p[5], 1.0 / std::tan(35 * kRadiansPerDegree), 1e-6);
}

TEST_F(PanelCallbackGL, AspectRefusedWhileTheViewIsLocked) {
  lockView = 1;
  myCurrAspect = 2.5f;
  myGLUICallback(31);
  EXPECT_FLOAT_EQ(myCurrAspect, 1.0f);
  EXPECT_EQ(currAspect, 1.0);
}

TEST_F(PanelCallbackGL, AspectFromTheSlider) {
  myCurrAspect = 2.0f;
  myGLUICallback(31);
  EXPECT_EQ(currAspect, 2.0);
  double p[16];
  projection(p);
  EXPECT_NEAR(p[0], p[5] / 2.0, 1e-6);
}

// "Fix as width/height" checked overrides the slider at the next change.
TEST_F(PanelCallbackGL, FixedAspectOverridesTheSlider) {
  fixAspectRatio = 1;
  winW = 300, winH = 200;
  myCurrAspect = 2.5f;
  myGLUICallback(31);
  EXPECT_EQ(currAspect, 1.5);
  EXPECT_FLOAT_EQ(myCurrAspect, 1.5f);
  double p[16];
  projection(p);
  EXPECT_NEAR(p[0], p[5] / 1.5, 1e-6);
  fixAspectRatio = 0;
}

TEST_F(PanelCallbackGL, StarSizeGoesToTheStarParameters) {
  starSize = 2.5f;
  myGLUICallback(50);
  EXPECT_FLOAT_EQ(static_cast<float>(starList->getStarParameter().texScale), 2.5f);
  starSize = 1.0f;
  myGLUICallback(50);
}

// The year slider on a picked star refreshes the star's position and texts.
TEST_F(PanelCallbackGL, YearOnAPickedStarFetchesItAnew) {
  const int year = starList->getStarParameter().starAtYear;
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  PHCoord before = pickedStar.pos;
  std::string x = pickStarPosXStr, l = pickStarLStr;
  starAtYear = 100000;
  myGLUICallback(51);
  EXPECT_EQ(starList->getStarParameter().starAtYear, 100000);
  EXPECT_EQ(picked, 1);
  EXPECT_EQ(pickedStar.HD, kSiriusHD);
  EXPECT_NE(pickedStar.pos.x, before.x);
  EXPECT_NE(std::string(pickStarLStr), l) << "Sirius moves by degrees in 98000 years";
  starAtYear = year;
  myGLUICallback(51);
  EXPECT_EQ(std::string(pickStarPosXStr), x);
  EXPECT_EQ(std::string(pickStarLStr), l);
}

// With the anchor alone the year changes the stars only.
TEST_F(PanelCallbackGL, YearWithTheAnchorAloneChangesOnlyTheStars) {
  const int year = starList->getStarParameter().starAtYear;
  showAnchor = 1;
  updateAnchor(kSide / 3, kSide / 4);
  ASSERT_STREQ(pickStarNameCommonStr, "anchor");
  NODE_StarObject sirius;
  ASSERT_EQ(starList->getStarByHD(&sirius, kSiriusHD), 1);
  std::string l = pickStarLStr, text = anchorText;
  PHCoord at = pickedStar.pos;
  starAtYear = 100000;
  myGLUICallback(51);
  NODE_StarObject later;
  ASSERT_EQ(starList->getStarByHD(&later, kSiriusHD), 1);
  EXPECT_NE(later.pos.x, sirius.pos.x) << "the stars moved";
  EXPECT_EQ(picked, 0);
  EXPECT_STREQ(pickStarNameCommonStr, "anchor");
  EXPECT_EQ(std::string(pickStarLStr), l);
  EXPECT_EQ(std::string(anchorText), text);
  EXPECT_EQ(pickedStar.pos.x, at.x);
  starAtYear = year;
  myGLUICallback(51);
}

// "print (console)": a newline and the star's record on standard output.
TEST_F(PanelCallbackGL, PrintWritesThePickedStar) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  FILE* f = tmpfile();
  ASSERT_NE(f, nullptr);
  starList->printStarObj(&pickedStar, f);
  long size = ftell(f);
  rewind(f);
  std::string record(static_cast<size_t>(size), '\0');
  ASSERT_EQ(fread(record.data(), 1, record.size(), f), record.size());
  fclose(f);
  ASSERT_FALSE(record.empty());
  Streams io = streamsOf([] { myGLUICallback(52); });
  EXPECT_EQ(io.out, "\n" + record);
  EXPECT_EQ(io.err, "");
}

// The four boxes pick by what is typed in them and fill the others.
TEST_F(PanelCallbackGL, TheFourBoxesPick) {
  struct Case {
    int id;
    char* box;
    const char* text;
  };
  const Case cases[] = {{54, pickStarNameHDStr, "48915"},
                        {55, pickStarNameHICStr, "32349"},
                        {56, pickStarNameCommonStr, "sirius"},
                        {57, pickStarConstellationStr, "Canis Major"}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.id);
    picked = 0;
    for (char* t : {pickStarNameHDStr, pickStarNameHICStr, pickStarNameCommonStr, pickStarConstellationStr})
      t[0] = '\0';
    copyText(c.box, c.text, kPickTextSize);
    myGLUICallback(c.id);
    EXPECT_EQ(picked, 1);
    EXPECT_STREQ(pickStarConstellationStr, "Canis Major");
    if (c.id != 57) {
      EXPECT_EQ(pickedStar.HD, kSiriusHD);
      EXPECT_STREQ(pickStarNameHDStr, "48915");
      EXPECT_STREQ(pickStarNameHICStr, "32349");
      EXPECT_STREQ(pickStarNameCommonStr, "Sirius");
    }
  }
}

// "look at star" with the star at the centre of the picture starts no turn.
TEST_F(PanelCallbackGL, LookAtAStarAtTheCentreDoesNothing) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  double d[3];
  unitStar(d);
  lookFromOrigin(d);
  idleRot_angle = 0;
  myGLUICallback(53);
  EXPECT_EQ(idleRotView, 0);
  EXPECT_EQ(idleRot_angle, 0.0f);
}

// Otherwise the view turns, in one and a half seconds, until the star stands at the centre.
TEST_F(PanelCallbackGL, LookAtStarTurnsTheViewOntoIt) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  double d[3];
  unitStar(d);
  const double away[3] = {d[0] + 0.3, d[1] - 0.2, d[2] + 0.25};
  lookFromOrigin(away);
  idleRotModel = 1;
  myGLUICallback(53);
  EXPECT_EQ(idleRotView, 1);
  EXPECT_EQ(idleRotModel, 0);
  EXPECT_EQ(idleRot_aroundOrigin, 0);
  EXPECT_EQ(idleRot_nz, 0.0f);
  double g[3] = {away[0], away[1], away[2]};
  unify3D(g);
  EXPECT_NEAR(idleRot_angle, std::acos(dot3D(g, d)) * kDegreesPerRadian, 1e-4);
  EXPECT_NEAR(idleRot_speed, idleRot_angle / 1.5, 1e-4);
  double e[3];
  eyeDirectionAfterTurn(d, e);
  EXPECT_NEAR(e[0], 0, 1e-5);
  EXPECT_NEAR(e[1], 0, 1e-5);
  EXPECT_NEAR(e[2], -1, 1e-5);
  idleRotView = 0;
}

// From outside, looking back at the origin, the turn goes about the origin towards the star's
// direction.
TEST_F(PanelCallbackGL, LookAtStarFromOutsideTurnsAboutTheOrigin) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  double d[3];
  unitStar(d);
  glMatrixMode(GL_MODELVIEW);
  glLoadIdentity();
  gluLookAt(0, -100, 0, 0, 0, 0, 0, 0, 1);
  myGLUICallback(53);
  EXPECT_EQ(idleRotView, 1);
  EXPECT_EQ(idleRot_aroundOrigin, 1);
  EXPECT_NEAR(idleRot_angle, std::acos(d[1]) * kDegreesPerRadian, 1e-4);
  double e[3];
  eyeDirectionAfterTurn(d, e);
  EXPECT_NEAR(e[0], 0, 1e-5);
  EXPECT_NEAR(e[1], 0, 1e-5);
  EXPECT_NEAR(e[2], -1, 1e-5);
  idleRotView = 0;
}

// A star typed as its HD number counts as a choice for look at star.
TEST_F(PanelCallbackGL, LookAtStarWithATypedNumberAlone) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  picked = 0;
  ASSERT_STREQ(pickStarNameHDStr, "48915");
  const double away[3] = {1, 0, 0};
  lookFromOrigin(away);
  Streams io = streamsOf([] { myGLUICallback(53); });
  EXPECT_EQ(io.out, "");
  EXPECT_EQ(idleRotView, 1);
  idleRotView = 0;
}

// Decimal places 1 to 7 apply to every number text of the star panel and to the anchor's text.
TEST_F(PanelCallbackGL, DecimalPlacesApplyToAllStarTexts) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  showAnchor = 1;
  for (int dp = 1; dp <= 7; dp++) {
    SCOPED_TRACE(dp);
    printDecPlace = dp;
    myGLUICallback(43);
    const std::string digits = "\\.[0-9]{" + std::to_string(dp) + "}";
    const std::regex number("-?[0-9]+" + digits);
    const std::regex percent("-?[0-9]+" + digits + "%");
    for (const char* t :
         {pickStarBVStr, pickStarVMagStr, pickStarLumStr, pickStarPosXStr, pickStarPosYStr, pickStarPosZStr,
          pickStarPosScaleStr, pickStarDistParsecStr, pickStarDistLightYearStr, pickStarLStr, pickStarBStr})
      EXPECT_TRUE(std::regex_match(t, number)) << t;
    EXPECT_TRUE(std::regex_match(pickStarDistErrorStr, percent)) << pickStarDistErrorStr;
    const std::regex anchorForm(" \\(-?[0-9]+" + digits + ",-?[0-9]+" + digits + "\\)");
    EXPECT_TRUE(std::regex_match(anchorText, anchorForm)) << anchorText;
    // The position lines on the picture too.
    const double v[3] = {0.3, 0.9, 0.2};
    char line[256];
    formatDirectionInfo(v, true, line, sizeof line);
    const std::regex lineForm("model centered at Gal\\.\\(l,b\\) \\(-?[0-9]+" + digits + ",-?[0-9]+" +
                              digits + "\\)");
    EXPECT_TRUE(std::regex_match(line, lineForm)) << line;
  }
  // The anchor alone: its own texts follow too.
  picked = 0;
  pickStarNameHDStr[0] = '\0';
  printDecPlace = 4;
  myGLUICallback(43);
  EXPECT_STREQ(pickStarNameCommonStr, "anchor");
  EXPECT_TRUE(std::regex_match(pickStarLStr, std::regex("[0-9]+\\.[0-9]{4}"))) << pickStarLStr;
  EXPECT_EQ(std::string(anchorText), std::string(" (") + pickStarLStr + "," + pickStarBStr + ")");
}

// "show Ra/Dec" turns the picked star's angles into right ascension in hours and declination.
TEST_F(PanelCallbackGL, RaDecRewritesThePickedStarsAngles) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  std::string l = pickStarLStr;
  showRaDec = 1;
  myGLUICallback(42);
  std::string ra = pickStarLStr;
  ASSERT_FALSE(ra.empty());
  EXPECT_EQ(ra.back(), 'h');
  EXPECT_NEAR(atof(ra.c_str()), 6.75, 0.02);
  EXPECT_NEAR(atof(pickStarBStr), -16.72, 0.05);
  showRaDec = 0;
  myGLUICallback(42);
  EXPECT_EQ(std::string(pickStarLStr), l);
}

// Export: to alignpath/objFileExport, then onto the recent list, also when it fails.
TEST_F(PanelCallbackGL, ExportWritesTheFileAndListsIt) {
  testsupport::TempDir dir;
  const std::string savedPath = alignpath;
  alignpath = dir.path();
  objFileExport = "aligned.obj";
  const std::string target = dir.path() + "/aligned.obj";
  Streams io = streamsOf([] { myGLUICallback(70); });
  EXPECT_EQ(io.out, "export obj file to [" + target + "] ... okay\n");
  EXPECT_EQ(io.err, "");
  std::string text = testsupport::readFile(target);
  EXPECT_EQ(text.rfind("# written by program", 0), 0u) << text.substr(0, 80);
  EXPECT_NE(text.find("\nv "), std::string::npos);
  EXPECT_STREQ(recentPaths[0], dir.path().c_str());
  EXPECT_STREQ(recentFiles[0], "aligned.obj");
  alignpath = savedPath;
}

// An export to a missing directory says so, writes nothing and is listed all the same.
TEST_F(PanelCallbackGL, ExportToAMissingDirectory) {
  testsupport::TempDir dir;
  const std::string savedPath = alignpath;
  alignpath = dir.path() + "/missing";
  objFileExport = "aligned.obj";
  const std::string target = alignpath + "/aligned.obj";
  const std::string source = testsupport::readFile(alignfile);
  Streams io = streamsOf([] { myGLUICallback(70); });
  EXPECT_EQ(io.out, "export obj file to [" + target + "] ... ");
  EXPECT_EQ(io.err, "Err (exportObjFile): cannot open objfile [" + target + "]\n");
  EXPECT_FALSE(testsupport::fileExists(target));
  EXPECT_EQ(testsupport::readFile(alignfile), source) << "the source is untouched";
  EXPECT_STREQ(recentPaths[0], alignpath.c_str());
  EXPECT_STREQ(recentFiles[0], "aligned.obj");
  alignpath = savedPath;
}

// "open" reads the model named in the two boxes; the recent list opens an earlier one again.
TEST_F(PanelCallbackGL, OpenAndTheRecentList) {
  alignpath = samples();
  try_open_alignfile = "m27-misplaced.obj";
  Streams io = streamsOf([] { myGLUICallback(21); });
  EXPECT_EQ(io.err, "Try to read [" + samples() + "m27-misplaced.obj] (please wait) ... okay.\n");
  EXPECT_EQ(std::string(alignfile), samples() + "m27-misplaced.obj");
  alignpath = samples();
  try_open_alignfile = "m51-misplaced.obj";
  io = streamsOf([] { myGLUICallback(21); });
  EXPECT_EQ(std::string(alignfile), samples() + "m51-misplaced.obj");
  ASSERT_STREQ(recentFiles[1], "m27-misplaced.obj");
  recentListBoxID = 231;
  io = streamsOf([] { myGLUICallback(230); });
  EXPECT_EQ(io.err, "Try to read [" + samples() + "m27-misplaced.obj] (please wait) ... okay.\n");
  EXPECT_EQ(std::string(alignfile), samples() + "m27-misplaced.obj");
  EXPECT_EQ(recentListBoxID, 0) << "no entry chosen after an open";
  // Back to the scene's own model for the tests after this one.
  alignpath = samples();
  try_open_alignfile = "m51-misplaced.obj";
  io = streamsOf([] { myGLUICallback(21); });
  EXPECT_EQ(std::string(alignfile), samples() + "m51-misplaced.obj");
}

}  // namespace
