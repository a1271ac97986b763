// The constellation reader on the real file with every star set, on small files made for each
// rule, on damaged files and without memory; giving the records back; the parameter setters.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "coords/math3D.h"
#include "fileio/entropy.h"
#include "stars/star.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using testsupport::TempDir;
using testsupport::writeFile;

namespace {

std::string root() {
  return testsupport::sourceDir();
}

std::string constellationFile() {
  return root() + "/data/stardata/constellation.txt";
}

std::string starSet(int n) {
  return testsupport::starSetPath(n);
}

int readSet(StarList& list, std::string path) {
  testing::internal::CaptureStderr();
  int r = list.readStarFile(path.data(), 0, true);
  testing::internal::GetCapturedStderr();
  return r;
}

int load(StarList& list, const std::string& file, std::string* err = nullptr) {
  testing::internal::CaptureStderr();
  int r = list.loadConstellations(file.c_str());
  std::string e = testing::internal::GetCapturedStderr();
  if (err) *err = e;
  return r;
}

// The constellation file read here on its own, with none of the reader's code.
struct FigureEntry {
  int hd;
  bool shared;
};
struct Figure {
  std::string code, name;
  std::vector<std::vector<std::pair<double, double>>> bounds;  // RA hours, Dec degrees
  std::vector<std::vector<FigureEntry>> blocks;
};

std::vector<Figure> parseFigures(const std::string& path) {
  std::vector<Figure> out;
  std::ifstream in(path);
  std::string l;
  enum { NONE, BOUND, LINE } mode = NONE;
  while (std::getline(in, l)) {
    size_t p = l.find_first_not_of(" \t\r");
    if (p == std::string::npos || l[p] == '#') continue;
    std::istringstream ss(l);
    std::string a, b;
    ss >> a >> b;
    if (a == "CONSTELLATION") {
      Figure f;
      f.code = b;
      std::string name = l.substr(18);
      name.erase(name.find_last_not_of(" \t\r") + 1);
      f.name = name;
      out.push_back(f);
    } else if (a == "BEGIN" && b == "BOUNDARY") {
      out.back().bounds.emplace_back();
      mode = BOUND;
    } else if (a == "BEGIN" && b == "LINE") {
      out.back().blocks.emplace_back();
      mode = LINE;
    } else if (a == "END") {
      mode = NONE;
    } else if (mode == BOUND) {
      out.back().bounds.back().push_back({std::stod(a), std::stod(b)});
    } else if (mode == LINE) {
      out.back().blocks.back().push_back({std::atoi(a.c_str() + 2), b == "SHARED"});
    }
  }
  return out;
}

// A small catalogue: star HD i (1..n) at a direction of its own, with luminosity lums[i-1].
std::string starFile(const std::vector<float>& lums) {
  std::string s = "NUM_STARS " + std::to_string(lums.size()) + "\nSIZE 3.0856776 16\n";
  for (size_t i = 0; i < lums.size(); i++) {
    char line[400];
    const double a = 0.3 * (double)(i + 1);
    snprintf(line, sizeof line,
             "%f %f 0.5 0.01 1 2 3 0.01 0.01 0.01 0.6 %g 0.8 0.8 0.8 1 G 2 V %d %d Star %d\n", 10 * cos(a),
             10 * sin(a), lums[i], (int)(i + 1), (int)(i + 101), (int)(i + 1));
    s += line;
  }
  return s;
}

// The catalogue of starFile with lums, read into list from dir.
void readSmall(StarList& list, const TempDir& dir, const std::vector<float>& lums = {1, 2, 3, 4, 5, 6}) {
  writeFile(dir.file("small.star"), starFile(lums));
  ASSERT_EQ(readSet(list, dir.file("small.star")), 1);
}

const NODE_Constellation* byName(StarList& list, const char* name) {
  for (int i = 0; i < list.numConstellations; i++)
    if (strcmp(list.constellations[i].name, name) == 0) return &list.constellations[i];
  return nullptr;
}

// The records as they were before a load, for comparing everything but the names a load gives.
std::vector<NODE_StarObject> snapshot(const StarList& list) {
  return std::vector<NODE_StarObject>(list.stars, list.stars + list.numStars);
}

void expectStarsKept(const StarList& list, const std::vector<NODE_StarObject>& before, NODE_StarObject* pointer) {
  ASSERT_EQ(list.stars, pointer);
  ASSERT_EQ(list.numStars, (int)before.size());
  std::set<std::string> names;
  for (int i = 0; i < list.numConstellations; i++) names.insert(list.constellations[i].name);
  for (int i = 0; i < list.numStars; i++) {
    NODE_StarObject now = list.stars[i];
    if (strcmp(now.constellName, before[i].constellName) != 0) {
      EXPECT_TRUE(names.count(now.constellName)) << "star " << i << " got the name of no constellation";
    }
    memcpy(now.constellName, before[i].constellName, sizeof now.constellName);
    memcpy(now.constellCode, before[i].constellCode, sizeof now.constellCode);
    EXPECT_EQ(memcmp(&now, &before[i], sizeof now), 0) << "star " << i << " changed";
  }
}

// An allocator that refuses only its second call: the star index of a load.
int secondCallCount = 0;
void* failSecondCall(size_t n) {
  return ++secondCallCount == 2 ? nullptr : malloc(n);
}

// a then b. Out of line: the inlined operator+ of strings draws a false overlap warning from the
// compiler.
[[gnu::noinline]] std::string join(const std::string& a, const std::string& b) {
  std::string s = a;
  s.append(b);
  return s;
}

// The bytes of a literal that may hold NULs, without its terminator.
template <size_t N>
std::string bytes(const char (&s)[N]) {
  return std::string(s, N - 1);
}

const char* kTwoFigures =
    "# two small figures\n"
    "CONSTELLATION Abc Alpha Major\n"
    "BEGIN BOUNDARY\n"
    "1.0 10.0 Abc\n"
    "2.0 10.0 Abc\n"
    "2.0 20.0 Abc\n"
    "END BOUNDARY\n"
    "BEGIN LINE\n"
    "HD1\n"
    "HD2\n"
    "HD3\n"
    "END LINE\n"
    "\n"
    "CONSTELLATION Bcd Beta\n"
    "BEGIN LINE\n"
    "HD4\n"
    "  # a comment inside a block\n"
    "HD3 SHARED\n"
    "END LINE\n"
    "BEGIN LINE\n"
    "HD5\n"
    "HD6\n"
    "END LINE\n";

}  // namespace

// ---------------------------------------------------------------------------------------------
// The real file

TEST(ConstellationReader, RealFileLoadsEightyEightFiguresWhoseStarsAreInEveryStarSet) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::vector<Figure> figures = parseFigures(constellationFile());
  ASSERT_EQ(figures.size(), 88u);
  for (int n = 1; n <= 12; ++n) {
    SCOPED_TRACE("star set " + std::to_string(n));
    StarList list;
    ASSERT_EQ(readSet(list, starSet(n)), 1);
    std::string err;
    ASSERT_EQ(load(list, constellationFile(), &err), 1);
    EXPECT_EQ(err, "");
    ASSERT_EQ(list.getNumConstellations(), 88);
    EXPECT_STREQ(list.param.constellationFile, constellationFile().c_str());
    std::map<int, std::string> lastName;  // star -> the last figure naming it without SHARED
    for (int i = 0; i < 88; i++) {
      const Figure& f = figures[i];
      const NODE_Constellation& c = list.constellations[i];
      SCOPED_TRACE(f.name);
      EXPECT_EQ(std::string(c.name), f.name);
      EXPECT_EQ(std::string(c.code), f.code);
      int segments = 0;
      int principalHd = 0;
      float principalVMag = 0;
      for (const auto& block : f.blocks) {
        segments += (int)block.size() - 1;
        for (const FigureEntry& e : block) {
          NODE_StarObject s;
          ASSERT_EQ(list.getStarByHD(&s, e.hd), 1) << "figure star HD" << e.hd << " is not in the set";
          if (e.shared) continue;
          lastName[e.hd] = f.name;
          if (principalHd == 0 || principalVMag > s.VMag) {
            principalHd = e.hd;
            principalVMag = s.VMag;
          }
        }
      }
      // Every star found: every entry but the first of a block makes its segment.
      EXPECT_EQ(c.numLines, segments);
      EXPECT_EQ(c.numBounds, (int)f.bounds.size());
      ASSERT_NE(c.principalStar, nullptr);
      EXPECT_EQ(c.principalStar->HD, principalHd);
      EXPECT_STREQ(c.principalStar->constellName, c.name);
      EXPECT_STREQ(c.principalStar->constellCode, c.code);
      for (int l = 0; l < c.numLines; l++) {
        EXPECT_GE(c.lines[l][0], list.stars);
        EXPECT_LT(c.lines[l][0], list.stars + list.numStars);
        EXPECT_GE(c.lines[l][1], list.stars);
        EXPECT_LT(c.lines[l][1], list.stars + list.numStars);
      }
    }
    for (const auto& [hd, name] : lastName) {
      NODE_StarObject s;
      ASSERT_EQ(list.getStarByHD(&s, hd), 1);
      EXPECT_EQ(std::string(s.constellName), name) << "HD" << hd;
    }
  }
}

TEST(ConstellationReader, BoundaryPointsLieOnTheShellInGalacticAxes) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::vector<Figure> figures = parseFigures(constellationFile());
  StarList list;
  ASSERT_EQ(readSet(list, starSet(6)), 1);
  ASSERT_EQ(load(list, constellationFile()), 1);
  for (int i = 0; i < 88; i++) {
    const NODE_Constellation& c = list.constellations[i];
    for (int k = 0; k < c.numBounds; k++) {
      ASSERT_EQ(c.boundCounts[k], (int)figures[i].bounds[k].size());
      for (int j = 0; j < c.boundCounts[k]; j++) {
        const PHCoord& p = c.boundPoints[k][j];
        EXPECT_EQ(p.s, list.constellLogRadius);
        // Turned back to equatorial axes the point gives the file's right ascension and declination.
        double v[3] = {p.x, p.y, p.z};
        EXPECT_NEAR(length3D(v), 1.0, 1e-12);
        galacticToEquatorial(v);
        double l, b;
        vecToLB(v, l, b);
        const auto [ra, dec] = figures[i].bounds[k][j];
        EXPECT_NEAR(b, dec, 1e-9);
        if (std::fabs(dec) < 89.9) {
          double dl = std::fabs(l / 15.0 - ra);
          EXPECT_NEAR(std::min(dl, 24.0 - dl), 0.0, 1e-9) << ra << " " << dec;
        }
      }
    }
  }
  const NODE_Constellation* ori = byName(list, "Orion");
  ASSERT_NE(ori, nullptr);
  EXPECT_STREQ(ori->code, "Ori");
  EXPECT_GE(ori->numBounds, 1);
}

TEST(ConstellationReader, ShellRadiusIsTheTimeSince1950InLightYears) {
  StarList list;
  const double t = (double)time(nullptr) / 3.15576e7 + 1970 - 1950;
  EXPECT_NEAR(list.constellLogRadius, std::log10(t * 9.461e15), 1e-6);
}

TEST(ConstellationReader, PackedFileReadsTheSameAsPlainText) {
  VELMORA_REQUIRE_SKY_DATA();
  TempDir dir;
  const std::string packed = dir.file("constellation.ez");
  FILE* in = fopen(constellationFile().c_str(), "rb");
  FILE* out = fopen(packed.c_str(), "wb");
  ASSERT_TRUE(in && out);
  PackFromFile(out, in);
  fclose(in);
  fclose(out);
  StarList plain, ez;
  ASSERT_EQ(readSet(plain, starSet(6)), 1);
  ASSERT_EQ(readSet(ez, starSet(6)), 1);
  ASSERT_EQ(load(plain, constellationFile()), 1);
  std::string err;
  ASSERT_EQ(load(ez, packed, &err), 1);
  EXPECT_EQ(err, "");
  ASSERT_EQ(ez.numConstellations, 88);
  for (int i = 0; i < 88; i++) {
    EXPECT_STREQ(ez.constellations[i].name, plain.constellations[i].name);
    EXPECT_EQ(ez.constellations[i].numLines, plain.constellations[i].numLines);
    EXPECT_EQ(ez.constellations[i].numBounds, plain.constellations[i].numBounds);
    EXPECT_EQ(ez.constellations[i].principalStar->HD, plain.constellations[i].principalStar->HD);
  }
}

// ---------------------------------------------------------------------------------------------
// Rules of the format, on small files

TEST(ConstellationReader, SmallFileGivesFiguresBoundariesNamesAndPrincipalStars) {
  TempDir dir;
  StarList list;
  readSmall(list, dir);
  writeFile(dir.file("c.txt"), kTwoFigures);
  std::string err;
  ASSERT_EQ(load(list, dir.file("c.txt"), &err), 1);
  EXPECT_EQ(err, "");
  ASSERT_EQ(list.getNumConstellations(), 2);
  const NODE_Constellation& a = list.constellations[0];
  const NODE_Constellation& b = list.constellations[1];
  EXPECT_STREQ(a.name, "Alpha Major");
  EXPECT_STREQ(a.code, "Abc");
  EXPECT_EQ(a.numBounds, 1);
  EXPECT_EQ(a.boundCounts[0], 3);
  EXPECT_EQ(a.numLines, 2);
  NODE_StarObject s[7];
  for (int hd = 1; hd <= 6; hd++) ASSERT_EQ(list.getStarByHD(&s[hd], hd), 1);
  auto ptr = [&](int hd) {
    for (int i = 0; i < list.numStars; i++)
      if (list.stars[i].HD == hd) return &list.stars[i];
    return (NODE_StarObject*)nullptr;
  };
  EXPECT_EQ(a.lines[0][0], ptr(1));
  EXPECT_EQ(a.lines[0][1], ptr(2));
  EXPECT_EQ(a.lines[1][0], ptr(2));
  EXPECT_EQ(a.lines[1][1], ptr(3));
  // The most luminous star has the smallest VMag: HD3 in the first, HD6 in the second; HD3 is
  // SHARED in the second and can't become its principal star.
  ASSERT_NE(a.principalStar, nullptr);
  EXPECT_EQ(a.principalStar->HD, 3);
  EXPECT_STREQ(a.principalStar->constellName, "Alpha Major");
  EXPECT_STREQ(a.principalStar->constellCode, "Abc");
  EXPECT_STREQ(b.name, "Beta");
  EXPECT_EQ(b.numBounds, 0);  // no boundary block is fine
  EXPECT_EQ(b.boundPoints, nullptr);
  EXPECT_EQ(b.numLines, 2);   // 4-3 and 5-6
  EXPECT_EQ(b.lines[0][0], ptr(4));
  EXPECT_EQ(b.lines[0][1], ptr(3));
  ASSERT_NE(b.principalStar, nullptr);
  EXPECT_EQ(b.principalStar->HD, 6);
  // Names: a SHARED star keeps the name of its own figure.
  EXPECT_STREQ(s[1].constellName, "Alpha Major");
  EXPECT_STREQ(s[3].constellName, "Alpha Major");
  EXPECT_STREQ(s[3].constellCode, "Abc");
  EXPECT_STREQ(s[4].constellName, "Beta");
  EXPECT_STREQ(s[6].constellCode, "Bcd");
}

TEST(ConstellationReader, PrincipalStarIsReplacedOnlyByAStrictlyBrighterOne) {
  TempDir dir;
  StarList list;
  readSmall(list, dir, {5, 5, 2, 9});
  writeFile(dir.file("c.txt"),
            "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD1\nHD2\nHD3\nEND LINE\n"
            "CONSTELLATION Bcd Beta\nBEGIN LINE\nHD4 SHARED\nHD3\nEND LINE\n");
  ASSERT_EQ(load(list, dir.file("c.txt")), 1);
  EXPECT_EQ(list.constellations[0].principalStar->HD, 1);  // HD2 ties with HD1 and doesn't replace it
  EXPECT_EQ(list.constellations[1].principalStar->HD, 3);  // the brighter HD4 is SHARED
}

TEST(ConstellationReader, PrincipalStarIsACopyTakenAtLoadWhileLinesFollowTheCatalogue) {
  TempDir dir;
  StarList list;
  readSmall(list, dir);
  writeFile(dir.file("c.txt"), kTwoFigures);
  ASSERT_EQ(load(list, dir.file("c.txt")), 1);
  const NODE_Constellation& a = list.constellations[0];
  NODE_StarObject* hd3 = a.lines[1][1];
  ASSERT_EQ(hd3->HD, 3);
  const PHCoord was = a.principalStar->pos;
  hd3->pos.x += 0.5;
  EXPECT_EQ(a.principalStar->pos.x, was.x);
  EXPECT_EQ(a.lines[1][1]->pos.x, was.x + 0.5);
}

TEST(ConstellationReader, LineBlockOfOneEntryNamesTheStarAndMayMakeItPrincipal) {
  TempDir dir;
  StarList list;
  readSmall(list, dir);
  writeFile(dir.file("c.txt"), "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD2\nEND LINE\n");
  ASSERT_EQ(load(list, dir.file("c.txt")), 1);
  EXPECT_EQ(list.constellations[0].numLines, 0);
  EXPECT_EQ(list.constellations[0].lines, nullptr);
  ASSERT_NE(list.constellations[0].principalStar, nullptr);
  EXPECT_EQ(list.constellations[0].principalStar->HD, 2);
  NODE_StarObject s;
  ASSERT_EQ(list.getStarByHD(&s, 2), 1);
  EXPECT_STREQ(s.constellName, "Alpha");
  EXPECT_STREQ(s.constellCode, "Abc");
}

TEST(ConstellationReader, LastBlockMayEndAtTheEndOfTheFile) {
  TempDir dir;
  StarList list;
  readSmall(list, dir);
  const std::string body = "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD1\nHD2\nEND LINE\n";
  for (const std::string& tail : {std::string(""), std::string("\n# trailing comment\n\n")}) {
    writeFile(dir.file("c.txt"), body + tail);
    std::string err;
    ASSERT_EQ(load(list, dir.file("c.txt"), &err), 1) << err;
    EXPECT_EQ(err, "");
    EXPECT_EQ(list.constellations[0].numLines, 1);
  }
}

TEST(ConstellationReader, UnknownStarIsPassedOverAndBreaksTheChainOnBothSides) {
  TempDir dir;
  StarList list;
  readSmall(list, dir);
  writeFile(dir.file("c.txt"), "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD1\nHD2\nHD999\nHD3\nHD4\nHD5\nEND LINE\n");
  std::string err;
  ASSERT_EQ(load(list, dir.file("c.txt"), &err), 1);
  EXPECT_EQ(err, "");  // silently
  const NODE_Constellation& c = list.constellations[0];
  ASSERT_EQ(c.numLines, 3);  // 1-2, 3-4, 4-5; neither 2-999 nor 999-3
  EXPECT_EQ(c.lines[0][0]->HD, 1);
  EXPECT_EQ(c.lines[0][1]->HD, 2);
  EXPECT_EQ(c.lines[1][0]->HD, 3);
  EXPECT_EQ(c.lines[1][1]->HD, 4);
  EXPECT_EQ(c.lines[2][0]->HD, 4);
  EXPECT_EQ(c.lines[2][1]->HD, 5);
}

TEST(ConstellationReader, CodeOfOtherThanThreeLettersShiftsWhereTheNameBegins) {
  struct Case {
    const char* header;
    const char* code;
    const char* name;
  };
  const Case cases[] = {
      {"CONSTELLATION Abc Name", "Abc", "Name"},
      {"CONSTELLATION Ab Name", "Ab", "ame"},
      {"CONSTELLATION Abcd Name", "Abc", " Name"},
      {"CONSTELLATION Abc Name With Blanks (and more)   ", "Abc", "Name With Blanks (and more)"},
      {"CONSTELLATION Abc A name far longer than thirty-one letters", "Abc", "A name far longer than thirty-o"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.header);
    TempDir dir;
    StarList list;
    readSmall(list, dir);
    writeFile(dir.file("c.txt"), std::string(k.header) + "\nBEGIN LINE\nHD1\nEND LINE\n");
    ASSERT_EQ(load(list, dir.file("c.txt")), 1);
    EXPECT_STREQ(list.constellations[0].code, k.code);
    EXPECT_STREQ(list.constellations[0].name, k.name);
    NODE_StarObject s;
    ASSERT_EQ(list.getStarByHD(&s, 1), 1);
    EXPECT_STREQ(s.constellName, k.name);
    EXPECT_STREQ(s.constellCode, k.code);
  }
}

TEST(ConstellationReader, SecondLoadReplacesTheFirstAndStarsKeepEarlierNames) {
  TempDir dir;
  StarList list;
  readSmall(list, dir);
  writeFile(dir.file("a.txt"), kTwoFigures);
  writeFile(dir.file("b.txt"), "CONSTELLATION Gam Gamma\nBEGIN LINE\nHD2\nHD1\nEND LINE\n");
  ASSERT_EQ(load(list, dir.file("a.txt")), 1);
  ASSERT_EQ(load(list, dir.file("b.txt")), 1);
  ASSERT_EQ(list.getNumConstellations(), 1);
  EXPECT_STREQ(list.constellations[0].name, "Gamma");
  EXPECT_STREQ(list.param.constellationFile, dir.file("b.txt").c_str());
  NODE_StarObject s;
  ASSERT_EQ(list.getStarByHD(&s, 1), 1);
  EXPECT_STREQ(s.constellName, "Gamma");
  ASSERT_EQ(list.getStarByHD(&s, 6), 1);
  EXPECT_STREQ(s.constellName, "Beta");  // kept from the first load
}

TEST(ConstellationReader, FreeGivesEverythingBackAndMayBeCalledAgain) {
  TempDir dir;
  StarList list;
  readSmall(list, dir);
  writeFile(dir.file("c.txt"), kTwoFigures);
  ASSERT_EQ(load(list, dir.file("c.txt")), 1);
  list.freeConstellations();
  EXPECT_EQ(list.constellations, nullptr);
  EXPECT_EQ(list.getNumConstellations(), 0);
  list.freeConstellations();
  // Loading again after a free, and the destructor gives that back too.
  ASSERT_EQ(load(list, dir.file("c.txt")), 1);
  EXPECT_EQ(list.getNumConstellations(), 2);
}

TEST(ConstellationReader, FileWithoutConstellationsLoadsNothing) {
  TempDir dir;
  StarList list;
  readSmall(list, dir);
  writeFile(dir.file("c.txt"), "# nothing but comments\n\n   \n");
  std::string err;
  EXPECT_EQ(load(list, dir.file("c.txt"), &err), 1);
  EXPECT_EQ(err, "");
  EXPECT_EQ(list.getNumConstellations(), 0);
}

// ---------------------------------------------------------------------------------------------
// Failures

TEST(ConstellationReader, FileThatDoesNotOpenIsReportedAndTheEarlierFiguresStay) {
  TempDir dir;
  StarList list;
  readSmall(list, dir);
  writeFile(dir.file("c.txt"), kTwoFigures);
  ASSERT_EQ(load(list, dir.file("c.txt")), 1);
  NODE_Constellation* before = list.constellations;
  std::string err;
  EXPECT_EQ(load(list, dir.file("missing.txt"), &err), -1);
  EXPECT_EQ(err, "ERR : reading [" + dir.file("missing.txt") + "]\n");
  EXPECT_EQ(list.constellations, before);
  EXPECT_EQ(list.getNumConstellations(), 2);
  EXPECT_STREQ(list.param.constellationFile, dir.file("c.txt").c_str());
}

TEST(ConstellationReader, DamagedFilesGetAClearMessageAndKeepTheCatalogue) {
  struct Case {
    const char* what;
    std::string text;
    std::string message;
    int built;  // constellations complete before the fault
  };
  const std::string good = "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD1\nHD2\nEND LINE\n";
  const Case cases[] = {
      {"unknown keyword behind a figure", join(good, "FOO BAR\n"), "Err (line 6): invalid data\n[FOO BAR]\n", 1},
      {"unknown keyword before the boundaries", "CONSTELLATION Abc Alpha\nBEGIN BOUNDS\n1 2 Abc\n",
       "Err (line 2): invalid data\n[BEGIN BOUNDS]\n", 0},
      {"keyword in the wrong case", "CONSTELLATION Abc Alpha\nbegin line\nHD1\nEND LINE\n",
       "Err (line 2): invalid data\n[begin line]\n", 0},
      {"point with two values", "CONSTELLATION Abc Alpha\nBEGIN BOUNDARY\n1.0 2.0\nEND BOUNDARY\nBEGIN LINE\n",
       "Err (line 3): invalid data\n[1.0 2.0]\n", 0},
      {"point with four values", "CONSTELLATION Abc Alpha\nBEGIN BOUNDARY\n1.0 2.0 Abc 4\nEND BOUNDARY\n",
       "Err (line 3): invalid data\n[1.0 2.0 Abc 4]\n", 0},
      {"point that is no number", "CONSTELLATION Abc Alpha\nBEGIN BOUNDARY\n1.0 north Abc\nEND BOUNDARY\n",
       "Err (line 3): invalid data\n[1.0 north Abc]\n", 0},
      {"header without name", "CONSTELLATION Abc\nBEGIN LINE\nHD1\nEND LINE\n",
       "Err (line 1): invalid data\n[CONSTELLATION Abc]\n", 0},
      {"later header without name", join(good, "CONSTELLATION Bcd\nBEGIN LINE\nHD3\nEND LINE\n"),
       "Err (line 6): invalid data\n[CONSTELLATION Bcd]\n", 1},
      {"no identifier first", join("# comment\nBEGIN LINE\nHD1\nEND LINE\n", good),
       "Err (line 2): missing identifier [CONSTELLATION]\n", 0},
      {"no line block before the next figure", join("CONSTELLATION Abc Alpha\n", good),
       "Err (line 2): invalid data\n[CONSTELLATION Abc Alpha]\n", 0},
      {"no line block at the end", "CONSTELLATION Abc Alpha\nBEGIN BOUNDARY\n1 2 Abc\nEND BOUNDARY\n",
       "Err (line 4): not enough data\n", 0},
      {"file ends in a boundary block", "CONSTELLATION Abc Alpha\nBEGIN BOUNDARY\n1 2 Abc\n2 2 Abc\n",
       "Err (line 4): not enough data\n", 0},
      {"file ends in a line block", join(good, "CONSTELLATION Bcd Beta\nBEGIN LINE\nHD3\n# done\n"),
       "Err (line 9): not enough data\n", 1},
      {"truncated last line", join(good, "CONSTELLATION Bcd Beta\nBEGIN LINE\nHD3\nEND LI"),
       "Err (line 9): not enough data\n", 1},
      {"entry with a foreign word", "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD1\nHD2 ALONE\nEND LINE\n",
       "Err (line 4): invalid data\n[HD2 ALONE]\n", 0},
      {"entry with three words", "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD1 SHARED x\nEND LINE\n",
       "Err (line 3): invalid data\n[HD1 SHARED x]\n", 0},
      {"entry of another catalogue", "CONSTELLATION Abc Alpha\nBEGIN LINE\nHIP1\nEND LINE\n",
       "Err (line 3): invalid data\n[HIP1]\n", 0},
      {"entry without number", "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD\nEND LINE\n",
       "Err (line 3): invalid data\n[HD]\n", 0},
      {"entry with letters", "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD12a\nEND LINE\n",
       "Err (line 3): invalid data\n[HD12a]\n", 0},
      {"stray end of boundary", "CONSTELLATION Abc Alpha\nEND BOUNDARY\nBEGIN LINE\nHD1\nEND LINE\n",
       "Err (line 2): invalid data\n[END BOUNDARY]\n", 0},
      {"line block left open", "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD1\nBEGIN LINE\nHD2\nEND LINE\n",
       "Err (line 4): invalid data\n[BEGIN LINE]\n", 0},
      {"picture bytes", bytes("\x89PNG\r\n\x1a\n\0\0\0\rIHDR\0\0\0\x10"),
       "Err (line 1): missing identifier [CONSTELLATION]\n", 0},
      {"binary behind a figure", join(good, bytes("\x01\x02\xfe junk\x7f\n\0\0\xff\n")),
       "Err (line 6): invalid data\n[\x01\x02\xfe junk\x7f]\n", 1},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.what);
    TempDir dir;
    StarList list;
    readSmall(list, dir);
    const std::vector<NODE_StarObject> before = snapshot(list);
    NODE_StarObject* pointer = list.stars;
    writeFile(dir.file("c.txt"), k.text);
    std::string err;
    EXPECT_EQ(load(list, dir.file("c.txt"), &err), -1);
    EXPECT_EQ(err, k.message);
    expectStarsKept(list, before, pointer);
    // What was built before the fault stays.
    for (int i = 0; i < k.built; i++) {
      EXPECT_STREQ(list.constellations[i].name, "Alpha");
      EXPECT_EQ(list.constellations[i].numLines, 1);
    }
  }
}

TEST(ConstellationReader, RandomBytesNeitherHangNorCrash) {
  std::mt19937 rng(7);
  for (int round = 0; round < 20; round++) {
    SCOPED_TRACE(round);
    std::string junk(4096 + round * 997, '\0');
    for (char& c : junk) c = (char)(rng() & 0xFF);
    // Half of them behind a valid start, so that the damage meets the block reader.
    if (round % 2) junk = "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD1\n" + junk;
    TempDir dir;
    StarList list;
    readSmall(list, dir);
    const std::vector<NODE_StarObject> before = snapshot(list);
    writeFile(dir.file("c.txt"), junk);
    std::string err;
    EXPECT_EQ(load(list, dir.file("c.txt"), &err), -1);
    EXPECT_EQ(err.rfind("Err (line ", 0), 0u) << err;
    expectStarsKept(list, before, list.stars);
    list.freeConstellations();
  }
}

TEST(ConstellationReader, EveryAllocationFailureIsReported) {
  struct Case {
    const char* what;
    const char* text;
    int okCalls;
    std::string message;
  };
  // Allocations in order: the array, the star index of the load, then per figure the boundary
  // arrays, each boundary's points, the segments and the principal star.
  const char* withBounds =
      "CONSTELLATION Abc Alpha\nBEGIN BOUNDARY\n1 2 Abc\n2 2 Abc\nEND BOUNDARY\nBEGIN LINE\nHD1\nHD2\nEND LINE\n";
  const char* noBounds = "CONSTELLATION Abc Alpha\nBEGIN LINE\nHD1\nHD2\nEND LINE\n";
  const Case cases[] = {
      {"array", noBounds, 0, "Err: Failed to allocate memory for constellation.\n\n"},
      {"boundary arrays", withBounds, 2, "Err: Failed to allocate memory for constellation boundaries.\n\n"},
      {"second boundary array", withBounds, 3, "Err: Failed to allocate memory for constellation boundaries.\n\n"},
      {"boundary points", withBounds, 4, "Err: failed to allocate memory.\n\n"},
      {"segments", noBounds, 2, "Err: Failed to allocate memory for constellation lines.\n\n"},
      {"principal star", noBounds, 3, "Err: failed to allocate memory.\n\n"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.what);
    TempDir dir;
    StarList list;
    readSmall(list, dir);
    writeFile(dir.file("c.txt"), k.text);
    list.allocFunc = testsupport::failingAlloc;
    std::string err;
    {
      testsupport::FailAllocScope scope(k.okCalls);
      EXPECT_EQ(load(list, dir.file("c.txt"), &err), -1);
    }
    EXPECT_EQ(err, k.message);
    if (k.okCalls == 0) {
      EXPECT_EQ(list.numConstellations, 0);
      EXPECT_EQ(list.constellations, nullptr);
    } else {
      ASSERT_EQ(list.numConstellations, 1);
      EXPECT_STREQ(list.constellations[0].name, "Alpha");
      if (strstr(k.what, "boundary arrays") || strstr(k.what, "second")) {
        EXPECT_EQ(list.constellations[0].numBounds, 0);
      }
      if (strcmp(k.what, "segments") == 0) {
        EXPECT_EQ(list.constellations[0].numLines, 0);
      }
    }
    // Everything taken is given back through the pair (the test build's leak check sees it).
  }
  // With the star index refused the load searches straight through and gives the same figures.
  TempDir dir;
  StarList indexed, straight;
  readSmall(indexed, dir);
  readSmall(straight, dir);
  writeFile(dir.file("c.txt"), kTwoFigures);
  ASSERT_EQ(load(indexed, dir.file("c.txt")), 1);
  straight.allocFunc = failSecondCall;
  secondCallCount = 0;
  std::string err;
  ASSERT_EQ(load(straight, dir.file("c.txt"), &err), 1);
  EXPECT_GE(secondCallCount, 2);
  EXPECT_EQ(err, "");
  ASSERT_EQ(straight.numConstellations, 2);
  for (int i = 0; i < 2; i++) {
    EXPECT_EQ(straight.constellations[i].numLines, indexed.constellations[i].numLines);
    for (int l = 0; l < straight.constellations[i].numLines; l++)
      for (int e = 0; e < 2; e++)
        EXPECT_EQ(straight.constellations[i].lines[l][e]->HD, indexed.constellations[i].lines[l][e]->HD);
    EXPECT_EQ(straight.constellations[i].principalStar->HD, indexed.constellations[i].principalStar->HD);
  }
}

// ---------------------------------------------------------------------------------------------
// Setters

TEST(ConstellationSetters, ColoursAreTestedInPairsAndTheFlagGoesOnEvenOnRefusal) {
  struct Case {
    const char* what;
    float line[4];
    float bound[4];
    int result;
    std::string message;
  };
  const float nan = std::nanf("");
  const Case cases[] = {
      {"all in range", {0.1f, 0.2f, 0.3f, 0.4f}, {0, 1, 0.5f, 1}, 1, ""},
      {"line red above one", {1.5f, 0.2f, 0.3f, 0.4f}, {0, 1, 0.5f, 1}, -1,
       "Err (setConstellationColors): the (0)th component of inLineColor out of range [0,1]\n"},
      {"bound alpha below zero", {0.1f, 0.2f, 0.3f, 0.4f}, {0, 1, 0.5f, -0.1f}, -1,
       "Err (setConstellationColors): the (3)th component of inBoundColor out of range [0,1]\n"},
      {"pairs: bound green before line blue", {0.1f, 0.2f, 2.0f, 0.4f}, {0, 1.1f, 0.5f, 1}, -1,
       "Err (setConstellationColors): the (1)th component of inBoundColor out of range [0,1]\n"},
      {"not a number", {0.1f, nan, 0.3f, 0.4f}, {0, 1, 0.5f, 1}, -1,
       "Err (setConstellationColors): the (1)th component of inLineColor out of range [0,1]\n"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.what);
    StarList list;
    const StarParameter before = list.param;
    testing::internal::CaptureStderr();
    EXPECT_EQ(list.setConstellationColors(k.line, k.bound), k.result);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), k.message);
    EXPECT_EQ(list.param.constellationColorOn, 1);
    const float* wantLine = k.result == 1 ? k.line : before.constellationLineColor;
    const float* wantBound = k.result == 1 ? k.bound : before.constellationBoundColor;
    EXPECT_EQ(memcmp(list.param.constellationLineColor, wantLine, sizeof(float) * 4), 0);
    EXPECT_EQ(memcmp(list.param.constellationBoundColor, wantBound, sizeof(float) * 4), 0);
  }
  StarList list;
  testing::internal::CaptureStderr();
  EXPECT_EQ(list.setConstellationColors(nullptr, nullptr), -1);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "Err (setConstellationColors): NULL input parameter\n");
}

TEST(ConstellationSetters, WidthsOutsideTheRangeAreRefused) {
  // No GL context in this program: the range is the stand-in one.
  struct Case {
    float line, bound;
    int result;
    std::string message;
  };
  const Case cases[] = {
      {1.0f, 10.0f, 1, ""},
      {2.5f, 3.0f, 1, ""},
      {0.5f, 2.0f, -1, "Err (setConstellationLineWidth): inLineWidth out of range [1.000000,10.000000]\n"},
      {2.0f, 10.5f, -1, "Err (setConstellationLineWidth): inBoundWidth out of range [1.000000,10.000000]\n"},
      {11.0f, 0.0f, -1, "Err (setConstellationLineWidth): inLineWidth out of range [1.000000,10.000000]\n"},
      {std::nanf(""), 2.0f, -1, "Err (setConstellationLineWidth): inLineWidth out of range [1.000000,10.000000]\n"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.line);
    StarList list;
    list.param.constellationLineWidth = 7.0f;
    list.param.constellationBoundWidth = 8.0f;
    testing::internal::CaptureStderr();
    EXPECT_EQ(list.setConstellationLineWidth(k.line, k.bound), k.result);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), k.message);
    EXPECT_EQ(list.param.constellationWidthOn, 1);
    EXPECT_EQ(list.param.constellationLineWidth, k.result == 1 ? k.line : 7.0f);
    EXPECT_EQ(list.param.constellationBoundWidth, k.result == 1 ? k.bound : 8.0f);
  }
}

TEST(ConstellationSetters, StipplesAreSixteenBitPatterns) {
  struct Case {
    int line, bound, result;
    std::string message;
  };
  const Case cases[] = {
      {0, 0xFFFF, 1, ""},
      {0xAAAA, 0, 1, ""},
      {-1, 0, -1, "Err (setConstellationStipple): inLineStipple out of range [0,0xFFFF]\n"},
      {0x10000, 0, -1, "Err (setConstellationStipple): inLineStipple out of range [0,0xFFFF]\n"},
      {0xF0F0, 0x10000, -1, "Err (setConstellationStipple): inBoundStipple out of range [0,0xFFFF]\n"},
      {-5, -5, -1, "Err (setConstellationStipple): inLineStipple out of range [0,0xFFFF]\n"},
  };
  for (const Case& k : cases) {
    SCOPED_TRACE(k.line);
    StarList list;
    list.param.constellationLineStipple = 0x1234;
    list.param.constellationBoundStipple = 0x4321;
    testing::internal::CaptureStderr();
    EXPECT_EQ(list.setConstellationStipple(k.line, k.bound), k.result);
    EXPECT_EQ(testing::internal::GetCapturedStderr(), k.message);
    EXPECT_EQ(list.param.constellationLineStipple, k.result == 1 ? k.line : 0x1234);
    EXPECT_EQ(list.param.constellationBoundStipple, k.result == 1 ? k.bound : 0x4321);
  }
}

TEST(ConstellationSetters, LabelScaleMustNotBeNegative) {
  struct Case {
    float value;
    int result;
  };
  const Case cases[] = {{0.0f, 1}, {2.5f, 1}, {-0.001f, -1}, {std::nanf(""), -1}};
  for (const Case& k : cases) {
    SCOPED_TRACE(k.value);
    StarList list;
    EXPECT_EQ(list.param.labelScale, 1.0f);
    testing::internal::CaptureStderr();
    EXPECT_EQ(list.setLabelScale(k.value), k.result);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              k.result == 1 ? "" : "Err (setLabelScale): inLabelScale should be non-negative\n");
    EXPECT_EQ(list.param.labelScale, k.result == 1 ? k.value : 1.0f);
  }
}
