// Finding stars without a picture: by common name, HIC and HD number, by constellation name and
// code, the label look-ups' messages, and the mean motion of the selected stars.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <string>
#include <vector>

#include "stars/star.h"
#include "tests/support/testutil.h"

using testsupport::TempDir;
using testsupport::writeFile;

namespace {

std::string root() {
  return testsupport::sourceDir();
}

// The default star set with the real constellations.
void readSky(StarList& list) {
  std::string set = testsupport::starSetPath(6);
  testing::internal::CaptureStderr();
  ASSERT_EQ(list.readStarFile(set.data(), 0, true), 1);
  ASSERT_EQ(list.loadConstellations((root() + "/data/stardata/constellation.txt").c_str()), 1);
  testing::internal::GetCapturedStderr();
}

// A record that no look-up gives, to see that a failed one leaves out alone.
NODE_StarObject marker() {
  NODE_StarObject s{};
  s.HD = 777777;
  strcpy(s.commonName, "untouched");
  return s;
}

// The principal star of the constellation of this name in list, or HD -1.
int principalHd(StarList& list, const char* name) {
  for (int i = 0; i < list.numConstellations; i++)
    if (strcmp(list.constellations[i].name, name) == 0 && list.constellations[i].principalStar)
      return list.constellations[i].principalStar->HD;
  return -1;
}

struct SmallStar {
  const char* spClass;
  float spNum;
  double vel[3];
};

// A catalogue of stars at growing distance (10, 20, ... parsecs) with the given classes and
// velocities.
std::string smallFile(const std::vector<SmallStar>& stars) {
  std::string s = "NUM_STARS " + std::to_string(stars.size()) + "\nSIZE 3.0856776 16\n";
  for (size_t i = 0; i < stars.size(); i++) {
    char line[400];
    snprintf(line, sizeof line, "%zu 0 0 0.01 %g %g %g 0 0 0 0.6 1 0.8 0.8 0.8 1 %s %g V %zu %zu S%zu\n",
             10 * (i + 1), stars[i].vel[0], stars[i].vel[1], stars[i].vel[2], stars[i].spClass,
             (double)stars[i].spNum, i + 1, i + 1, i + 1);
    s += line;
  }
  return s;
}

}  // namespace

TEST(StarLookup, SiriusByNameHicAndHd) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  readSky(list);
  NODE_StarObject s;
  for (const char* name : {"Sirius", "sirius", "SIRIUS"}) {
    SCOPED_TRACE(name);
    s = marker();
    ASSERT_EQ(list.getStarByName(&s, name), 1);
    EXPECT_EQ(s.HD, 48915);
    EXPECT_EQ(s.HIC, 32349);
  }
  s = marker();
  ASSERT_EQ(list.getStarByHIC(&s, 32349), 1);
  EXPECT_STREQ(s.commonName, "Sirius");
  EXPECT_EQ(s.HD, 48915);
  s = marker();
  ASSERT_EQ(list.getStarByHD(&s, 48915), 1);
  EXPECT_STREQ(s.commonName, "Sirius");
  EXPECT_EQ(s.HIC, 32349);
  // Sirius is one of Canis Major's figure stars, so it carries that name.
  EXPECT_STREQ(s.constellName, "Canis Major");
  EXPECT_STREQ(s.constellCode, "CMa");
}

TEST(StarLookup, UnknownNamesAndNumbersFindNothingAndLeaveTheRecord) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  readSky(list);
  struct Case {
    const char* what;
    int (*lookup)(StarList&, NODE_StarObject*);
  };
  const Case cases[] = {
      {"unknown name", [](StarList& l, NODE_StarObject* o) { return l.getStarByName(o, "Nosuchstar"); }},
      {"empty name", [](StarList& l, NODE_StarObject* o) { return l.getStarByName(o, ""); }},
      {"the mark of no name", [](StarList& l, NODE_StarObject* o) { return l.getStarByName(o, "---"); }},
      {"null name", [](StarList& l, NODE_StarObject* o) { return l.getStarByName(o, nullptr); }},
      {"a prefix of a name", [](StarList& l, NODE_StarObject* o) { return l.getStarByName(o, "Siri"); }},
      {"HIC 0", [](StarList& l, NODE_StarObject* o) { return l.getStarByHIC(o, 0); }},
      {"negative HIC", [](StarList& l, NODE_StarObject* o) { return l.getStarByHIC(o, -3); }},
      {"HIC not in the set", [](StarList& l, NODE_StarObject* o) { return l.getStarByHIC(o, 999999); }},
      {"HD not in the set", [](StarList& l, NODE_StarObject* o) { return l.getStarByHD(o, 999999999); }},
      {"unknown constellation", [](StarList& l, NODE_StarObject* o) { return l.getStarByConstellation(o, "Nowhere"); }},
      {"unknown code", [](StarList& l, NODE_StarObject* o) { return l.getStarByConstellationCode(o, "Zzz"); }},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.what);
    NODE_StarObject s = marker();
    testing::internal::CaptureStderr();
    EXPECT_EQ(k.lookup(list, &s), -1);
    // A failed search is no fault: nothing is printed.
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(s.HD, 777777);
    EXPECT_STREQ(s.commonName, "untouched");
  }
}

TEST(StarLookup, ByConstellationNameMatchesAPrefixOfAnyWord) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  readSky(list);
  struct Case {
    const char* query;
    const char* constellation;  // null: no match
  };
  const Case cases[] = {
      {"Orion", "Orion"},
      {"orion", "Orion"},
      {"ORI", "Orion"},
      {"urs", "Ursa Major"},       // first word; Ursa Major comes before Ursa Minor
      {"maj", "Canis Major"},      // second word; Canis Major comes before Ursa Major
      {"Ursa Mi", "Ursa Minor"},   // the word runs to the end of the name
      {"minor", "Canis Minor"},
      {"venatici", "Canes Venatici"},
      {"venaticix", nullptr},      // longer than the rest of the name
      {"Ursa Majorx", nullptr},
      {"Orionx", nullptr},
      {"berenices", "Coma Berenices"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.query);
    NODE_StarObject s = marker();
    if (!k.constellation) {
      EXPECT_EQ(list.getStarByConstellation(&s, k.query), -1);
      EXPECT_EQ(s.HD, 777777);
      continue;
    }
    ASSERT_EQ(list.getStarByConstellation(&s, k.query), 1);
    EXPECT_EQ(s.HD, principalHd(list, k.constellation));
    EXPECT_STREQ(s.constellName, k.constellation);
  }
}

TEST(StarLookup, ByCodeMatchesOverAtMostThreeLetters) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  readSky(list);
  struct Case {
    const char* query;
    const char* constellation;
  };
  const Case cases[] = {
      {"Ori", "Orion"}, {"ori", "Orion"},  {"CMa", "Canis Major"}, {"cmaXYZ", "Canis Major"},
      {"CMi", "Canis Minor"}, {"Cm", "Canis Major"}, {"", "Aquila"},  // the first with a principal star
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.query);
    NODE_StarObject s = marker();
    ASSERT_EQ(list.getStarByConstellationCode(&s, k.query), 1);
    EXPECT_EQ(s.HD, principalHd(list, k.constellation));
    EXPECT_STREQ(s.constellName, k.constellation);
  }
}

TEST(StarLookup, WordsBeginBehindBlanksBracketsDashesDotsAndDoubleSlashes) {
  TempDir dir;
  StarList list;
  writeFile(dir.file("s.star"), smallFile({{"G", 2, {0, 0, 0}}, {"G", 2, {0, 0, 0}}, {"G", 2, {0, 0, 0}},
                                           {"G", 2, {0, 0, 0}}, {"G", 2, {0, 0, 0}}}));
  std::string path = dir.file("s.star");
  testing::internal::CaptureStderr();
  ASSERT_EQ(list.readStarFile(path.data(), 0, true), 1);
  testing::internal::GetCapturedStderr();
  // Principal stars: HD1 .. HD4 in turn; "Lonely" has only an unknown star and so none.
  writeFile(dir.file("c.txt"),
            "CONSTELLATION Aaa Alpha-Beta\nBEGIN LINE\nHD1\nEND LINE\n"
            "CONSTELLATION Bbb Gamma (Delta) Eps.Zeta\nBEGIN LINE\nHD2\nEND LINE\n"
            "CONSTELLATION Ccc Foo//Bar Baz\nBEGIN LINE\nHD3\nEND LINE\n"
            "CONSTELLATION Ddd Lonely Star\nBEGIN LINE\nHD999\nEND LINE\n"
            "CONSTELLATION Eee Lonelier\nBEGIN LINE\nHD4\nEND LINE\n");
  testing::internal::CaptureStderr();
  ASSERT_EQ(list.loadConstellations(dir.file("c.txt").c_str()), 1);
  ASSERT_EQ(testing::internal::GetCapturedStderr(), "");
  struct Case {
    const char* query;
    int hd;  // -1: no match
  };
  const Case cases[] = {
      {"alpha-b", 1},  {"beta", -1},   // a name without blanks is tested as a whole only
      {"gamma", 2},    {"(delta", 2},  {"delta", 2},  {"eps", 2},
      {"eps.z", 2},    {"zeta", -1},   // no blank behind "Eps.Zeta": the search of the name ends
      {"foo", 3},      {"/bar", 3},    {"bar", -1},   {"baz", 3},
      {"lonel", 4},    // Lonely Star has no principal star: the search goes on to Lonelier
      {"lonely", -1},
      {"star", -1},    {"lonelier", 4},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.query);
    NODE_StarObject s = marker();
    EXPECT_EQ(list.getStarByConstellation(&s, k.query), k.hd > 0 ? 1 : -1);
    EXPECT_EQ(s.HD, k.hd > 0 ? k.hd : 777777);
  }
  NODE_StarObject s = marker();
  EXPECT_EQ(list.getStarByConstellationCode(&s, "Ddd"), -1);  // a code without principal star
  EXPECT_EQ(list.getStarByConstellationCode(&s, "eee"), 1);
  EXPECT_EQ(s.HD, 4);
}

TEST(StarLabels, BadStarIdsAndNullInputAreReported) {
  TempDir dir;
  StarList list;
  writeFile(dir.file("s.star"), smallFile({{"G", 2, {0, 0, 0}}, {"K", 1, {0, 0, 0}}}));
  std::string path = dir.file("s.star");
  testing::internal::CaptureStderr();
  ASSERT_EQ(list.readStarFile(path.data(), 0, true), 1);
  testing::internal::GetCapturedStderr();
  struct Case {
    const char* what;
    void (*draw)(StarList&);
    const char* message;
  };
  const Case cases[] = {
      {"negative id, label type", [](StarList& l) { l.drawLabelOfStar(-1, 0.0, 1, 0); },
       "Err (drawLabelOfStar): starID out of range\n"},
      {"id past the end, label type", [](StarList& l) { l.drawLabelOfStar(2, 0.0, 1, 0); },
       "Err (drawLabelOfStar): starID out of range\n"},
      {"negative id, text", [](StarList& l) { l.drawLabelOfStar(-1, 0.0, "x", 0); },
       "Err (drawLabelOfStar): starID out of range\n"},
      {"id past the end, text", [](StarList& l) { l.drawLabelOfStar(2, 0.0, "x", 0); },
       "Err (drawLabelOfStar): starID out of range\n"},
      {"null star, text", [](StarList& l) { l.drawLabelOfStar((const NODE_StarObject*)nullptr, 0.0, "x", 0); },
       "Err (drawLabelOfStar): NULL input parameter\n"},
      {"null text", [](StarList& l) { l.drawLabelOfStar(&l.stars[0], 0.0, (const char*)nullptr, 0); },
       "Err (drawLabelOfStar): NULL input parameter\n"},
      {"null star, label type", [](StarList& l) { l.drawLabelOfStar((const NODE_StarObject*)nullptr, 0.0, 1, 0); },
       "Err (drawLabelOfStar): NULL input parameter\n"},
      {"label type without text", [](StarList& l) { l.drawLabelOfStar(&l.stars[0], 0.0, 3, 0); }, ""},
      {"label type 7", [](StarList& l) { l.drawLabelOfStar(1, 0.0, 7, 0); }, ""},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.what);
    testing::internal::CaptureStderr();
    k.draw(list);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), k.message);
  }
}

TEST(StarVelocity, MeanOfTheSelectedStars) {
  TempDir dir;
  StarList list;
  // Nearest first: S1 .. S4 at 10 .. 40 pc.
  writeFile(dir.file("s.star"), smallFile({{"G", 2, {10, 0, 0}},
                                           {"K", 5, {0, 20, 0}},
                                           {"G", 8, {0, 0, 30}},
                                           {"M", 1, {4, 4, 4}}}));
  std::string path = dir.file("s.star");
  testing::internal::CaptureStderr();
  ASSERT_EQ(list.readStarFile(path.data(), 0, true), 1);
  testing::internal::GetCapturedStderr();
  for (int i = 0; i < 4; i++) list.stars[i].curVMag = (float)(i + 1);  // as the last frame left them

  double v[3] = {9, 9, 9};
  EXPECT_EQ(list.computeAvgVelocity(1, 1, 1, v), 4);  // no range is on: every star
  EXPECT_DOUBLE_EQ(v[0], 14.0 / 4);
  EXPECT_DOUBLE_EQ(v[1], 24.0 / 4);
  EXPECT_DOUBLE_EQ(v[2], 34.0 / 4);

  // Magnitude range, only when asked for and on.
  list.param.vmagRangeOn = 1;
  list.param.vmagRangeMin = 2.0;
  list.param.vmagRangeMax = 3.0;
  EXPECT_EQ(list.computeAvgVelocity(0, 0, 0, v), 4);
  EXPECT_EQ(list.computeAvgVelocity(1, 0, 0, v), 2);
  EXPECT_DOUBLE_EQ(v[0], 0.0);
  EXPECT_DOUBLE_EQ(v[1], 10.0);
  EXPECT_DOUBLE_EQ(v[2], 15.0);
  list.param.vmagRangeOn = 0;

  // The distance range is the index range zFirst .. zLast.
  list.param.zRangeOn = 1;
  list.zFirst = 2;
  list.zLast = 3;
  EXPECT_EQ(list.computeAvgVelocity(0, 1, 0, v), 2);
  EXPECT_DOUBLE_EQ(v[2], 17.0);
  EXPECT_EQ(list.computeAvgVelocity(0, 0, 0, v), 4);
  list.param.zRangeOn = 0;

  // The spectral selection is what isSptypeSelected says, only when asked for and on.
  list.param.sptypeRangeOn = 1;
  list.param.sptypeOn[SPTYPE_G] = 1;
  list.param.sptypeMin[SPTYPE_G] = 0;
  list.param.sptypeMax[SPTYPE_G] = 5;
  int expected = 0;
  double sum[3] = {0, 0, 0};
  for (int i = 0; i < 4; i++)
    if (list.isSptypeSelected(list.stars[i].spClass[0], list.stars[i].spNum)) {
      expected++;
      for (int k = 0; k < 3; k++) sum[k] += list.stars[i].vel[k];
    }
  EXPECT_EQ(list.computeAvgVelocity(0, 0, 1, v), expected);
  for (int k = 0; k < 3; k++) EXPECT_DOUBLE_EQ(v[k], sum[k] / expected);
  EXPECT_EQ(list.computeAvgVelocity(0, 0, 0, v), 4);

  // Nothing selected: the count is 0 and the mean stays at zero.
  list.param.sptypeRangeOn = 0;
  list.param.vmagRangeOn = 1;
  list.param.vmagRangeMin = 50;
  list.param.vmagRangeMax = 60;
  v[0] = v[1] = v[2] = 5;
  EXPECT_EQ(list.computeAvgVelocity(1, 0, 0, v), 0);
  EXPECT_EQ(v[0], 0.0);
  EXPECT_EQ(v[1], 0.0);
  EXPECT_EQ(v[2], 0.0);
}

TEST(StarVelocity, TheSunIsLeftOut) {
  TempDir dir;
  StarList list;
  writeFile(dir.file("s.star"), smallFile({{"G", 2, {10, 0, 0}}, {"K", 5, {0, 20, 0}}}));
  std::vector<std::string> files = {dir.file("s.star")};
  char* names[1] = {files[0].data()};
  testing::internal::CaptureStderr();
  ASSERT_EQ(list.readStarFiles(1, names, 1, true), 1);
  testing::internal::GetCapturedStderr();
  ASSERT_STREQ(list.stars[0].commonName, "Sun");
  list.stars[0].vel[0] = 1000;  // would show if it were counted
  double v[3];
  EXPECT_EQ(list.computeAvgVelocity(0, 0, 0, v), 2);
  EXPECT_DOUBLE_EQ(v[0], 5.0);
  EXPECT_DOUBLE_EQ(v[1], 10.0);
}
