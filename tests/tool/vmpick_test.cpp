// Picking stars by name, number and constellation on the real catalogue, the word "anchor", and
// the texts that describe a picked star or the anchor; all without a window.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "fileio/common.h"
#include "stars/star.h"
#include "tests/stars/star_fixtures.h"
#include "tests/support/testutil.h"
#include "tool/velmora.h"
#include "tool/vmpick.h"
#include "viewer/tarnwick.h"

namespace {

constexpr int kSiriusHD = 48915;
constexpr int kSiriusHIC = 32349;
constexpr double kLogScale = 15.0;

using testsupport::Streams;
using testsupport::streamsOf;

// The catalogue of stars to magnitude 6 with the Sun at index 0, and the constellation figures
// that name the stars' constellations, as the tool has them after its start.
class Pick : public testing::Test {
 protected:
  static void SetUpTestSuite() {
    if (!testsupport::skyDataBuilt()) return;
    list_ = new StarList;
    startest::readOne(*list_, testsupport::starSetPath(6), 1);
    std::string figures = testsupport::sourceDir() + "/data/stardata/constellation.txt";
    testsupport::stdoutOf([&] { list_->loadConstellations(figures.c_str()); });
  }
  static void TearDownTestSuite() {
    delete list_;
    list_ = nullptr;
  }
  void SetUp() override {
    VELMORA_REQUIRE_SKY_DATA();
    ASSERT_GT(list_->getNumStars(), 1000);
    starList = list_;
    picked = 0;
    showAnchor = 0;
    showRaDec = 0;
    printDecPlace = 2;
    currLogScale = kLogScale;
    pickedStar = NODE_StarObject{};
    anchor = NODE_StarObject{};
    anchor.HD = kAnchorHD;
    anchor.pos = PHCoord{1, 0, 0, kLogScale};
    copyText(anchorText, " (0,0)", sizeof anchorText);
    for (char* t : allTexts()) t[0] = '\0';
  }
  void TearDown() override { starList = nullptr; }

  static std::vector<char*> allTexts() {
    return {pickStarNameHDStr,     pickStarNameHICStr,    pickStarNameCommonStr,    pickStarConstellationStr,
            pickStarBVStr,         pickStarVMagStr,       pickStarSpTypeStr,        pickStarLumStr,
            pickStarPosXStr,       pickStarPosYStr,       pickStarPosZStr,          pickStarDistErrorStr,
            pickStarPosScaleStr,   pickStarDistParsecStr, pickStarDistLightYearStr, pickStarVelXStr,
            pickStarVelYStr,       pickStarVelZStr,       pickStarPecVelXStr,       pickStarPecVelYStr,
            pickStarPecVelZStr,    pickStarLStr,          pickStarBStr};
  }
  static std::vector<std::string> snapshot() {
    std::vector<std::string> s;
    for (char* t : allTexts()) s.emplace_back(t);
    return s;
  }

  static StarList* list_;
};

StarList* Pick::list_ = nullptr;

// A made-up record whose every text is known.
NODE_StarObject testStar() {
  NODE_StarObject s{};
  s.pos = PHCoord{0.6, 0.8, 0.0, 17.0};
  s.distErr = 0.125f;
  s.HD = 1234;
  s.HIC = 567;
  copyText(s.commonName, "Testar", sizeof s.commonName);
  copyText(s.constellName, "Orion", sizeof s.constellName);
  copyText(s.constellCode, "Ori", sizeof s.constellCode);
  s.bv = 0.65f;
  s.lumMag = -1.25f;
  copyText(s.spClass, "G", sizeof s.spClass);
  s.spNum = 2.0f;
  copyText(s.spType, "V", sizeof s.spType);
  s.lum = 3.5f;
  s.vel[0] = 10.0, s.vel[1] = -20.5, s.vel[2] = 0.25;
  s.velErr[0] = 0.1, s.velErr[1] = 0.02, s.velErr[2] = 0.5;
  return s;
}

struct NameCase {
  const char* text;
  int hd;  // the HD number of the star it picks
};

TEST_F(Pick, ANameWithoutRegardToCaseOrEitherNumberPicksTheStar) {
  const NameCase cases[] = {
      {"Sirius", kSiriusHD},   {"sirius", kSiriusHD},  {"SIRIUS", kSiriusHD},
      {"48915", kSiriusHD},    {"32349", kSiriusHD},   // the HD and the HIC number, in any box
      {"48915abc", kSiriusHD},                          // digits followed by letters: their number
      {"Sun", 0},                                       // the Sun, first in the catalogue
  };
  for (const NameCase& c : cases) {
    picked = 0;
    Streams io = streamsOf([&] { EXPECT_EQ(pickStarByName(c.text), 1) << c.text; });
    EXPECT_EQ(io.out, "") << c.text;
    EXPECT_EQ(io.err, "") << c.text;
    EXPECT_EQ(picked, 1) << c.text;
    EXPECT_EQ(pickedStar.HD, c.hd) << c.text;
  }
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  EXPECT_STREQ(pickStarNameHDStr, "48915");
  EXPECT_STREQ(pickStarNameHICStr, "32349");
  EXPECT_STREQ(pickStarNameCommonStr, "Sirius");
  EXPECT_STREQ(pickStarConstellationStr, "Canis Major");
  // Sirius stands 2.64 parsecs or 8.6 light years away.
  EXPECT_STREQ(pickStarDistParsecStr, "2.64");
  EXPECT_STREQ(pickStarDistLightYearStr, "8.60");
}

// A number is tried against both catalogues, and the first star in the catalogue's order wins.
TEST_F(Pick, ANumberPicksTheFirstStarWithItAsHdOrHic) {
  NODE_StarObject a, b;
  int found = 0, n = list_->getNumStars();
  for (int i = 0; i < n && !found; i++) {
    list_->getStarByID(&a, i);
    if (a.HIC <= 0) continue;
    for (int j = i + 1; j < n; j++) {
      list_->getStarByID(&b, j);
      if (b.HD == a.HIC) {
        found = 1;
        break;
      }
    }
  }
  ASSERT_EQ(found, 1) << "some HIC number is also a later star's HD number";
  std::string text = std::to_string(a.HIC);
  ASSERT_EQ(pickStarByName(text.c_str()), 1);
  EXPECT_EQ(pickedStar.HD, a.HD) << text;
  EXPECT_EQ(pickedStar.HIC, a.HIC) << text;
}

// Texts whose number isn't above 0 are names only: the Sun's HD and HIC 0 don't match "0".
TEST_F(Pick, AFailedSearchChangesNothingAndSaysNothing) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  std::vector<std::string> before = snapshot();
  for (const char* text : {"0", "00", "-48915", "Anchor", "ANCHOR", "anchor ", "no such star", "", "Siriu"}) {
    Streams io = streamsOf([&] { EXPECT_EQ(pickStarByName(text), 0) << '"' << text << '"'; });
    EXPECT_EQ(io.out, "") << text;
    EXPECT_EQ(io.err, "") << text;
    EXPECT_EQ(picked, 1) << text;
    EXPECT_EQ(pickedStar.HD, kSiriusHD) << text;
    EXPECT_EQ(snapshot(), before) << text;
  }
  EXPECT_EQ(pickStarByName(nullptr), 0);
  EXPECT_EQ(pickedStar.HD, kSiriusHD);
  EXPECT_EQ(showAnchor, 0);
}

TEST_F(Pick, TheWordAnchorShowsTheAnchorWhereItStands) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  anchor.pos = PHCoord{0, 1, 0, kLogScale + 3.5};
  EXPECT_EQ(pickStarByName("anchor"), 0);
  EXPECT_EQ(picked, 0);
  EXPECT_EQ(showAnchor, 1);
  EXPECT_EQ(anchor.pos.x, 0.0);
  EXPECT_EQ(anchor.pos.y, 1.0);
  EXPECT_EQ(anchor.pos.s, kLogScale + 3.5);
  EXPECT_EQ(pickedStar.HD, kAnchorHD);
  EXPECT_EQ(pickedStar.pos.y, 1.0);
  for (char* t : {pickStarNameHDStr, pickStarNameHICStr, pickStarConstellationStr, pickStarBVStr, pickStarVMagStr,
                  pickStarSpTypeStr, pickStarLumStr})
    EXPECT_STREQ(t, "");
  EXPECT_STREQ(pickStarNameCommonStr, "anchor");
  EXPECT_STREQ(pickStarLStr, "90.00");
  EXPECT_STREQ(pickStarBStr, "0.00");
  EXPECT_STREQ(anchorText, " (90.00,0.00)");
}

TEST_F(Pick, TheWordAnchorNeedsNoCatalogue) {
  starList = nullptr;
  EXPECT_EQ(pickStarByName("Sirius"), 0);
  EXPECT_EQ(picked, 0);
  EXPECT_EQ(pickStarByName("anchor"), 0);
  EXPECT_EQ(showAnchor, 1);
  EXPECT_STREQ(pickStarNameCommonStr, "anchor");
  EXPECT_STREQ(anchorText, " (0.00,0.00)");
  EXPECT_EQ(pickStarByConstellation("Orion"), 0);
}

TEST_F(Pick, ByConstellationTakesItsPrincipalStar) {
  struct Case {
    const char* text;
    const char* name;
  };
  // A query matches as the start of any word of the name.
  const Case cases[] = {{"Canis Major", "Canis Major"}, {"canis", "Canis Major"}, {"major", "Canis Major"},
                        {"ORI", "Orion"},               {"minor", "Canis Minor"}};
  for (const Case& c : cases) {
    picked = 0;
    NODE_StarObject principal;
    ASSERT_EQ(list_->getStarByConstellation(&principal, c.text), 1) << c.text;
    Streams io = streamsOf([&] { EXPECT_EQ(pickStarByConstellation(c.text), 1) << c.text; });
    EXPECT_EQ(io.out + io.err, "") << c.text;
    EXPECT_EQ(picked, 1) << c.text;
    EXPECT_EQ(pickedStar.HD, principal.HD) << c.text;
    EXPECT_STREQ(pickedStar.constellName, c.name) << c.text;
    EXPECT_STREQ(pickStarConstellationStr, c.name) << c.text;
    EXPECT_EQ(std::string(pickStarNameHDStr), std::to_string(principal.HD)) << c.text;
  }
}

TEST_F(Pick, ByConstellationWithoutAMatchChangesNothing) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  std::vector<std::string> before = snapshot();
  for (const char* text : {"", "Xyzzy", "Canis Majorette"}) {
    Streams io = streamsOf([&] { EXPECT_EQ(pickStarByConstellation(text), 0) << '"' << text << '"'; });
    EXPECT_EQ(io.out + io.err, "") << text;
    EXPECT_EQ(picked, 1);
    EXPECT_EQ(pickedStar.HD, kSiriusHD);
    EXPECT_EQ(snapshot(), before);
  }
  EXPECT_EQ(pickStarByConstellation(nullptr), 0);
  EXPECT_EQ(pickedStar.HD, kSiriusHD);
}

TEST_F(Pick, TheTextsOfAPickedStar) {
  const double lsr[3] = {1.5, -2.0, 3.0};
  ASSERT_EQ(list_->setLSR(lsr), 1);
  pickedStar = testStar();
  updateStarPanel();
  const double none[3] = {0, 0, 0};
  list_->setLSR(none);
  EXPECT_STREQ(pickStarNameHDStr, "1234");
  EXPECT_STREQ(pickStarNameHICStr, "567");
  EXPECT_STREQ(pickStarNameCommonStr, "Testar");
  EXPECT_STREQ(pickStarConstellationStr, "Orion");
  EXPECT_STREQ(pickStarBVStr, "0.65");
  EXPECT_STREQ(pickStarVMagStr, "-1.25");
  EXPECT_STREQ(pickStarSpTypeStr, "G2.0(V)");
  EXPECT_STREQ(pickStarLumStr, "3.50");
  EXPECT_STREQ(pickStarPosXStr, "0.60");
  EXPECT_STREQ(pickStarPosYStr, "0.80");
  EXPECT_STREQ(pickStarPosZStr, "0.00");
  EXPECT_STREQ(pickStarDistErrorStr, "12.50%");
  EXPECT_STREQ(pickStarPosScaleStr, "17.00");
  EXPECT_STREQ(pickStarDistParsecStr, "3.24");
  EXPECT_STREQ(pickStarDistLightYearStr, "10.57");
  EXPECT_STREQ(pickStarVelXStr, "10.00 +- 10.00% km/s");
  EXPECT_STREQ(pickStarVelYStr, "-20.50 +- 2.00% km/s");
  EXPECT_STREQ(pickStarVelZStr, "0.25 +- 50.00% km/s");
  // Peculiar velocity: the Sun's own motion added.
  EXPECT_STREQ(pickStarPecVelXStr, "11.50 +- 10.00% km/s");
  EXPECT_STREQ(pickStarPecVelYStr, "-22.50 +- 2.00% km/s");
  EXPECT_STREQ(pickStarPecVelZStr, "3.25 +- 50.00% km/s");
  EXPECT_STREQ(pickStarLStr, "53.13");
  EXPECT_STREQ(pickStarBStr, "0.00");
}

// The anchor's copy shows its position but no catalogue texts.
TEST_F(Pick, TheTextsOfTheAnchorsCopy) {
  for (char* t : allTexts()) copyText(t, "old", kPickTextSize);
  pickedStar = testStar();
  pickedStar.HD = kAnchorHD;
  updateStarPanel();
  for (char* t : {pickStarNameHDStr, pickStarNameHICStr, pickStarConstellationStr, pickStarBVStr, pickStarVMagStr,
                  pickStarSpTypeStr, pickStarLumStr})
    EXPECT_STREQ(t, "");
  EXPECT_STREQ(pickStarNameCommonStr, "anchor");
  EXPECT_STREQ(pickStarPosXStr, "0.60");
  EXPECT_STREQ(pickStarPosScaleStr, "17.00");
  EXPECT_STREQ(pickStarLStr, "53.13");
}

TEST_F(Pick, DecimalPlacesOneToSevenApplyToEveryText) {
  struct Case {
    int places;
    const char *x, *l, *parsec, *err;
  };
  const Case cases[] = {
      {1, "0.6", "53.1", "3.2", "12.5%"},
      {2, "0.60", "53.13", "3.24", "12.50%"},
      {3, "0.600", "53.130", "3.240", "12.500%"},
      {4, "0.6000", "53.1301", "3.2404", "12.5000%"},
      {5, "0.60000", "53.13010", "3.24044", "12.50000%"},
      {6, "0.600000", "53.130102", "3.240441", "12.500000%"},
      {7, "0.6000000", "53.1301024", "3.2404407", "12.5000000%"},
  };
  for (const Case& c : cases) {
    printDecPlace = c.places;
    pickedStar = testStar();
    updateStarPanel();
    EXPECT_STREQ(pickStarPosXStr, c.x) << c.places;
    EXPECT_STREQ(pickStarLStr, c.l) << c.places;
    EXPECT_STREQ(pickStarDistParsecStr, c.parsec) << c.places;
    EXPECT_STREQ(pickStarDistErrorStr, c.err) << c.places;
    // The velocities keep their two places.
    EXPECT_STREQ(pickStarVelXStr, "10.00 +- 10.00% km/s") << c.places;
  }
}

TEST_F(Pick, AnglesInGalacticAndEquatorialTerms) {
  struct Case {
    int raDec, places;
    double v[3];
    const char *l, *b;
  };
  const Case cases[] = {
      {0, 2, {0, 1, 0}, "90.00", "0.00"},
      {0, 2, {0, -2, 0}, "270.00", "0.00"},  // any length; l from 0 to 360
      {0, 1, {0, 0, 1}, "0.0", "90.0"},
      {0, 3, {1, 0, -1}, "0.000", "-45.000"},
      // The galactic centre at right ascension 17h46m, declination -28.94 degrees, and the north
      // galactic pole at 12h51m, +27.13 degrees; the system's one rounded turn between the two
      // frames stays within 40 arc seconds of that, so the last places differ a little.
      {1, 1, {1, 0, 0}, "17.8h", "-28.9"},
      {1, 3, {1, 0, 0}, "17.761h", "-28.939"},
      {1, 2, {0, 0, 1}, "12.86h", "27.12"},
  };
  for (const Case& c : cases) {
    showRaDec = c.raDec;
    printDecPlace = c.places;
    char l[kAngleTextSize], b[kAngleTextSize];
    computeAnglesStr(l, b, c.v);
    EXPECT_STREQ(l, c.l) << c.v[0] << " " << c.v[1] << " " << c.v[2];
    EXPECT_STREQ(b, c.b) << c.v[0] << " " << c.v[1] << " " << c.v[2];
  }
}

// With a negative x the anchor stays; it still becomes the picked record and gets its text.
TEST_F(Pick, UpdateAnchorWithANegativeXOnlyRefreshesTheTexts) {
  ASSERT_EQ(pickStarByName("Sirius"), 1);
  showRaDec = 1;
  printDecPlace = 1;
  updateAnchor(-1, -1);
  EXPECT_EQ(picked, 1) << "updateAnchor leaves the flag to its callers";
  EXPECT_EQ(pickedStar.HD, kAnchorHD);
  EXPECT_EQ(anchor.pos.x, 1.0);
  EXPECT_EQ(anchor.pos.s, kLogScale);
  EXPECT_STREQ(pickStarNameCommonStr, "anchor");
  EXPECT_STREQ(pickStarNameHDStr, "");
  EXPECT_STREQ(pickStarLStr, "17.8h");
  EXPECT_STREQ(pickStarBStr, "-28.9");
  EXPECT_STREQ(anchorText, " (17.8h,-28.9)");
}

}  // namespace
