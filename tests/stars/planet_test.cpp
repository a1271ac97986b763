// The planet table: reading it into the catalogue's planets, binding planets to real catalogue
// stars by HD number and by name, the lines that are no planets, every message with its line
// number, damaged files (short, cut, over-long, binary, out-of-range values, no memory) that leave
// the planets as they were, the orbits' seeded orientation, reloading and giving back, the
// look-ups and print-out, and the parameter file's planet keywords.
//
// The tables are test fixtures written here: planets around real stars of the catalogue, whose
// masses, periods, orbits and velocity amplitudes are made-up test values only.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "coords/randvar.h"
#include "fileio/common.h"
#include "fileio/entropy.h"
#include "stars/star.h"
#include "tests/stars/star_fixtures.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using testsupport::stderrOf;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

// HD numbers of real catalogue stars: 51 Peg (Helvetios), ups And (Titawin), 47 UMa (Chalawan)
// are in the star set of V at most 6; HD 209458 is fainter and only in the larger sets.
constexpr int kHelvetiosHD = 217014;
constexpr int kTitawinHD = 9826;
constexpr int kChalawanHD = 95128;
constexpr int kFaintHD = 209458;

// One data line in the table's fixed columns: number 0-8, star 9-22, mass 23-34, period 35-47,
// semi-major axis 48-60, eccentricity 61-73, K from 74 on.
std::string planetLine(const char* id, const char* star, const char* mass, const char* period,
                       const char* semiMajor, const char* ecc, const char* k) {
  char buf[512];
  snprintf(buf, sizeof buf, "%9s %-13s%12s%13s%13s%12s %12s", id, star, mass, period, semiMajor, ecc, k);
  return buf;
}

const char* kTableHead =
    "# Test fixture: planets around real catalogue stars; all values are made-up test values.\n"
    "#   no star           mass(MJ)    period(d)        a(AU)          e        K(m/s)\n";

// Five planets and three lines that are no planets. Line numbers: the data begin on line 3.
std::string goodTable() {
  std::string t = kTableHead;
  t += planetLine("1", "HD 217014", "0.47", "4.23", "0.052", "0.01", "55.9") + "\n";    // line 3
  t += planetLine("2", "titawin", "0.69", "4.62", "0.059", "0.02", "70.5") + "\n";      // line 4
  t += planetLine("3", "HD 9826", "1.98", "241.3", "0.83", "0.26", "66.0") + "\n";      // line 5
  t += planetLine("Number", "Star", "Mass", "Period", "Axis", "Ecc", "K") + "\n";       // line 6
  t += planetLine("4", "HD 209458", "0.69", "3.52", "0.047", "0.0", "84.0") + "\n";     // line 7
  t += planetLine("0", "HD 48915", "0.50", "10.0", "0.1", "0.1", "10.0") + "\n";        // line 8
  t += planetLine("5", "Chalawan", "2.53", "1078.0", "2.10", "0.03", "47.0") + "\n";    // line 9
  t += planetLine("6", "HD 48915", "Not a Planet", "50.0", "0.5", "0.1", "20.0") + "\n";  // line 10
  return t;
}

std::string catalogue() {
  return testsupport::starSetPath(6);
}

int starIndexByHD(const StarList& list, int hd) {
  for (int i = 0; i < list.numStars; i++)
    if (list.stars[i].HD == hd) return i;
  return -1;
}

// A list with the star set of V at most 6 read, the Sun first when asked.
class PlanetTest : public testing::Test {
 protected:
  void SetUp() override {
    VELMORA_REQUIRE_SKY_DATA();
    ASSERT_EQ(startest::readOne(list, catalogue()), 1);
  }

  // Writes the text as a file of the temporary folder and loads it; returns the result and
  // leaves the error stream's text in err.
  int load(const std::string& text, const std::string& name = "planets.txt") {
    path = dir.file(name);
    writeFile(path, text);
    int r = 0;
    err = stderrOf([&] { r = list.loadExtrasolarPlanets(path.c_str()); });
    return r;
  }

  NODE_StarObject& star(int hd) {
    int i = starIndexByHD(list, hd);
    EXPECT_GE(i, 0) << "HD " << hd << " is not in the catalogue";
    return list.stars[i < 0 ? 0 : i];
  }

  StarList list;
  TempDir dir;
  std::string path;
  std::string err;
};

// What a load must not change when it fails: the planets, every star's list and the file name.
struct PlanetState {
  NODE_ExtrasolarPlanet* planets;
  int numPlanets;
  std::vector<std::pair<int, NODE_ExtrasolarPlanet**>> starLists;
  std::string file;

  static PlanetState of(const StarList& l) {
    PlanetState s{l.planets, l.numPlanets, {}, l.param.extrasolarPlanetFile};
    for (int i = 0; i < l.numStars; i++) s.starLists.push_back({l.stars[i].nPlanets, l.stars[i].planets});
    return s;
  }
  bool operator==(const PlanetState& o) const {
    return planets == o.planets && numPlanets == o.numPlanets && starLists == o.starLists && file == o.file;
  }
};

// ---------------------------------------------------------------------------------------------
// Reading and binding

TEST_F(PlanetTest, ReadsTheTableAndBindsPlanetsToTheirStars) {
  ASSERT_EQ(load(goodTable()), 1);
  EXPECT_EQ(err, "");
  ASSERT_EQ(list.getNumExtrasolarPlanet(), 5);
  EXPECT_STREQ(list.param.extrasolarPlanetFile, path.c_str());

  const NODE_ExtrasolarPlanet* p = list.getExtrasolarPlanet(0);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->id, 1);
  EXPECT_STREQ(p->starName, "HD 217014");
  EXPECT_FLOAT_EQ(p->mass, 0.47f);
  EXPECT_FLOAT_EQ(p->period, 4.23f);
  EXPECT_FLOAT_EQ(p->semiMajor, 0.052f);
  EXPECT_FLOAT_EQ(p->eccentricity, 0.01f);
  EXPECT_FLOAT_EQ(p->K, 55.9f);
  EXPECT_FLOAT_EQ(p->minorRatio, sqrtf(1.0f - 0.01f * 0.01f));
  EXPECT_DOUBLE_EQ(p->logOrbit, log10((double)0.052f * 1.49e11));
  EXPECT_EQ(p->star, &star(kHelvetiosHD));
  EXPECT_STREQ(p->star->commonName, "Helvetios");

  // By name without regard to case, and by HD number: both land on ups And, in file order.
  NODE_StarObject& titawin = star(kTitawinHD);
  ASSERT_EQ(titawin.nPlanets, 2);
  EXPECT_EQ(titawin.planets[0], list.getExtrasolarPlanet(1));
  EXPECT_EQ(titawin.planets[1], list.getExtrasolarPlanet(2));
  EXPECT_STREQ(list.getExtrasolarPlanet(1)->starName, "titawin");
  EXPECT_EQ(list.getExtrasolarPlanet(1)->star, &titawin);

  EXPECT_EQ(list.getExtrasolarPlanet(4)->id, 5);
  EXPECT_EQ(list.getExtrasolarPlanet(4)->star, &star(kChalawanHD));

  // Every star without a planet has an empty list.
  int withPlanets = 0;
  for (int i = 0; i < list.numStars; i++) {
    if (list.stars[i].nPlanets == 0) {
      EXPECT_EQ(list.stars[i].planets, nullptr);
    } else {
      withPlanets++;
    }
  }
  EXPECT_EQ(withPlanets, 3);
}

// A planet of a star outside the current star set is kept with no star and counted.
TEST_F(PlanetTest, PlanetOfAStarOutsideTheSetIsKeptWithoutAStar) {
  ASSERT_EQ(starIndexByHD(list, kFaintHD), -1);
  ASSERT_EQ(load(goodTable()), 1);
  const NODE_ExtrasolarPlanet* p = list.getExtrasolarPlanet(3);
  ASSERT_NE(p, nullptr);
  EXPECT_EQ(p->id, 4);
  EXPECT_STREQ(p->starName, "HD 209458");
  EXPECT_EQ(p->star, nullptr);
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 5);

  // In the larger set the same table binds it.
  StarList big;
  ASSERT_EQ(startest::readOne(big, testsupport::starSetPath(8)), 1);
  int r = 0;
  EXPECT_EQ(stderrOf([&] { r = big.loadExtrasolarPlanets(path.c_str()); }), "");
  ASSERT_EQ(r, 1);
  ASSERT_NE(big.getExtrasolarPlanet(3)->star, nullptr);
  EXPECT_EQ(big.getExtrasolarPlanet(3)->star->HD, kFaintHD);
}

// Lines that are no data lines are passed over silently, each on its own among good lines.
TEST_F(PlanetTest, LinesThatAreNoPlanetsAreSkipped) {
  const std::string good = planetLine("1", "HD 217014", "0.47", "4.23", "0.052", "0.01", "55.9") + "\n";
  const std::vector<std::pair<const char*, std::string>> cases = {
      {"planet number 0", planetLine("0", "HD 9826", "0.69", "4.62", "0.059", "0.02", "70.5")},
      {"negative number", planetLine("-3", "HD 9826", "0.69", "4.62", "0.059", "0.02", "70.5")},
      {"title text", planetLine("Number", "Star", "Mass", "Period", "Semimajor", "Ecc", "K")},
      {"short title", "Extrasolar planets of the test table"},
      {"Not a Planet", planetLine("2", "HD 9826", "Not a Planet", "4.62", "0.059", "0.02", "70.5")},
      {"mass 0", planetLine("2", "HD 9826", "0", "4.62", "0.059", "0.02", "70.5")},
      {"negative mass", planetLine("2", "HD 9826", "-1.5", "4.62", "0.059", "0.02", "70.5")},
      {"mass with no number", planetLine("2", "HD 9826", "unknown", "4.62", "0.059", "0.02", "70.5")},
      {"blank mass in a full line", planetLine("2", "HD 9826", "", "4.62", "0.059", "0.02", "70.5")},
      {"indented comment", "    # a remark"},
      {"blank line of tabs", "\t \t"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.first);
    StarList l;
    ASSERT_EQ(startest::readOne(l, catalogue()), 1);
    std::string f = dir.file("skip.txt");
    writeFile(f, std::string(kTableHead) + good + c.second + "\n" + good);
    int r = 0;
    EXPECT_EQ(stderrOf([&] { r = l.loadExtrasolarPlanets(f.c_str()); }), "");
    EXPECT_EQ(r, 1);
    EXPECT_EQ(l.getNumExtrasolarPlanet(), 2);
  }
}

TEST_F(PlanetTest, OrbitsAreSeededAndTheSameInEveryLoad) {
  ASSERT_EQ(load(goodTable()), 1);
  std::vector<NODE_ExtrasolarPlanet> first(list.planets, list.planets + list.numPlanets);

  // The random sequence seeded with 2002: an angle, then axes drawn in the unit ball.
  srand(2002);
  for (const NODE_ExtrasolarPlanet& p : first) {
    double angle = uniformRV() * 360.0;
    double axis[3], len;
    do {
      for (double& a : axis) a = 2 * uniformRV() - 1;
      len = sqrt(axis[0] * axis[0] + axis[1] * axis[1] + axis[2] * axis[2]);
    } while (len > 1);
    EXPECT_DOUBLE_EQ(p.orbitAngle, angle);
    for (int k = 0; k < 3; k++) EXPECT_DOUBLE_EQ(p.orbitAxis[k], axis[k] / len);
    EXPECT_GE(p.orbitAngle, 0.0);
    EXPECT_LT(p.orbitAngle, 360.0);
    EXPECT_NEAR(p.orbitAxis[0] * p.orbitAxis[0] + p.orbitAxis[1] * p.orbitAxis[1] + p.orbitAxis[2] * p.orbitAxis[2],
                1.0, 1e-12);
  }

  // Another load, after the sequence was disturbed, and a load in another object.
  srand(7);
  for (int i = 0; i < 11; i++) (void)rand();
  ASSERT_EQ(stderrOf([&] { EXPECT_EQ(list.loadExtrasolarPlanets(path.c_str()), 1); }), "");
  StarList other;
  ASSERT_EQ(startest::readOne(other, catalogue()), 1);
  ASSERT_EQ(stderrOf([&] { EXPECT_EQ(other.loadExtrasolarPlanets(path.c_str()), 1); }), "");
  for (const StarList* l : {&list, &other}) {
    ASSERT_EQ(l->numPlanets, (int)first.size());
    for (size_t i = 0; i < first.size(); i++) {
      EXPECT_EQ(l->planets[i].orbitAngle, first[i].orbitAngle);
      for (int k = 0; k < 3; k++) EXPECT_EQ(l->planets[i].orbitAxis[k], first[i].orbitAxis[k]);
    }
  }
}

TEST_F(PlanetTest, EccentricityZeroIsACircle) {
  std::string t = std::string(kTableHead) + planetLine("1", "HD 217014", "0.47", "4.23", "0.052", "0", "55.9") + "\n";
  ASSERT_EQ(load(t), 1);
  EXPECT_EQ(list.getExtrasolarPlanet(0)->eccentricity, 0.0f);
  EXPECT_EQ(list.getExtrasolarPlanet(0)->minorRatio, 1.0f);
}

// With the Sun in the catalogue the search starts at it: a table naming "Sun" binds to it.
TEST(PlanetSun, ATableNamingTheSunBindsToIt) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  ASSERT_EQ(startest::readOne(list, catalogue(), 1), 1);
  ASSERT_STREQ(list.stars[0].commonName, "Sun");
  TempDir dir;
  std::string f = dir.file("sun.txt");
  writeFile(f, std::string(kTableHead) + planetLine("1", "Sun", "1.0", "4332.6", "5.20", "0.049", "12.4") +
                   "\n" + planetLine("2", "SUN", "0.30", "10759", "9.55", "0.057", "2.75") + "\n");
  int r = 0;
  EXPECT_EQ(stderrOf([&] { r = list.loadExtrasolarPlanets(f.c_str()); }), "");
  ASSERT_EQ(r, 1);
  EXPECT_EQ(list.stars[0].nPlanets, 2);
  EXPECT_EQ(list.getExtrasolarPlanet(0)->star, &list.stars[0]);
  EXPECT_EQ(list.getExtrasolarPlanet(1)->star, &list.stars[0]);
}

// The first star in array order wins, for numbers and names alike; HD 0, "HD" alone and "---",
// the catalogue's marks of no number and no name, name no star.
TEST(PlanetBinding, FirstMatchWinsAndMarksOfAbsenceNameNoStar) {
  TempDir dir;
  // Test catalogue: three stars; the nearer two share HD 1234 and the name "Twin".
  std::string starFile = dir.file("twins.star");
  writeFile(starFile,
            "NUM_STARS 3\nSIZE 3.0856776 16\n"
            "1 0 0 0.01 0 0 0 0 0 0 0.6 1 1 1 1 1 G 2 V 1234 1 Twin\n"
            "2 0 0 0.01 0 0 0 0 0 0 0.6 1 1 1 1 1 G 2 V 1234 2 twin\n"
            "3 0 0 0.01 0 0 0 0 0 0 0.6 1 1 1 1 1 G 2 V 0 3\n");
  StarList list;
  ASSERT_EQ(startest::readOne(list, starFile), 1);
  ASSERT_EQ(list.numStars, 3);
  ASSERT_STREQ(list.stars[2].commonName, "---");
  std::string f = dir.file("p.txt");
  writeFile(f, std::string(kTableHead) + planetLine("1", "HD1234", "1", "10", "0.1", "0.1", "10") + "\n" +
                   planetLine("2", "TWIN", "1", "10", "0.1", "0.1", "10") + "\n" +
                   planetLine("3", "HD 0", "1", "10", "0.1", "0.1", "10") + "\n" +
                   planetLine("4", "HD", "1", "10", "0.1", "0.1", "10") + "\n" +
                   planetLine("5", "---", "1", "10", "0.1", "0.1", "10") + "\n");
  int r = 0;
  EXPECT_EQ(stderrOf([&] { r = list.loadExtrasolarPlanets(f.c_str()); }), "");
  ASSERT_EQ(r, 1);
  EXPECT_EQ(list.stars[0].nPlanets, 2);
  EXPECT_EQ(list.stars[1].nPlanets, 0);
  EXPECT_EQ(list.stars[2].nPlanets, 0);
  for (int i = 2; i < 5; i++) EXPECT_EQ(list.getExtrasolarPlanet(i)->star, nullptr) << i;
}

// A catalogue that is not read yet binds nothing, but keeps every planet.
TEST(PlanetBinding, NoCatalogueKeepsPlanetsWithoutStars) {
  StarList list;
  TempDir dir;
  std::string f = dir.file("p.txt");
  writeFile(f, std::string(kTableHead) + planetLine("1", "HD 217014", "0.47", "4.23", "0.052", "0.01", "55.9") + "\n");
  int r = 0;
  EXPECT_EQ(stderrOf([&] { r = list.loadExtrasolarPlanets(f.c_str()); }), "");
  ASSERT_EQ(r, 1);
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 1);
  EXPECT_EQ(list.getExtrasolarPlanet(0)->star, nullptr);
}

// A table of comments only, or an empty file, is a table of no planets.
TEST_F(PlanetTest, EmptyTableHasNoPlanets) {
  ASSERT_EQ(load(goodTable()), 1);
  for (const std::string& text : {std::string(kTableHead), std::string()}) {
    ASSERT_EQ(load(text, "empty.txt"), 1);
    EXPECT_EQ(err, "");
    EXPECT_EQ(list.getNumExtrasolarPlanet(), 0);
    EXPECT_EQ(list.getExtrasolarPlanet(0), nullptr);
    EXPECT_EQ(star(kTitawinHD).nPlanets, 0);
    EXPECT_EQ(star(kTitawinHD).planets, nullptr);
  }
}

TEST_F(PlanetTest, CrLfLinesAndALastLineWithoutNewlineAreRead) {
  std::string t = std::string(kTableHead) + planetLine("1", "HD 217014", "0.47", "4.23", "0.052", "0.01", "55.9") +
                  "\r\n" + planetLine("2", "HD 9826", "0.69", "4.62", "0.059", "0.02", "70.5");
  ASSERT_EQ(load(t), 1);
  EXPECT_EQ(err, "");
  ASSERT_EQ(list.getNumExtrasolarPlanet(), 2);
  EXPECT_FLOAT_EQ(list.getExtrasolarPlanet(0)->K, 55.9f);
  EXPECT_FLOAT_EQ(list.getExtrasolarPlanet(1)->K, 70.5f);
}

// A table packed in the EZ container reads the same as the plain text.
TEST_F(PlanetTest, PackedTableReadsTheSame) {
  std::string text = goodTable();
  std::string packed = dir.file("planets.ez");
  FILE* fp = fopen(packed.c_str(), "wb");
  ASSERT_NE(fp, nullptr);
  WriteDeflateZip(fp, (unsigned char*)text.data(), (int)text.size());
  fclose(fp);
  int r = 0;
  EXPECT_EQ(stderrOf([&] { r = list.loadExtrasolarPlanets(packed.c_str()); }), "");
  ASSERT_EQ(r, 1);
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 5);
  EXPECT_EQ(star(kTitawinHD).nPlanets, 2);
}

// ---------------------------------------------------------------------------------------------
// Faults: each message word for word with its line, and the planets as they were

TEST_F(PlanetTest, FileThatDoesNotOpen) {
  ASSERT_EQ(load(goodTable()), 1);
  PlanetState before = PlanetState::of(list);
  std::string missing = dir.file("missing.txt");
  int r = 0;
  EXPECT_EQ(stderrOf([&] { r = list.loadExtrasolarPlanets(missing.c_str()); }), "ERR : reading [" + missing + "]\n");
  EXPECT_EQ(r, -1);
  EXPECT_EQ(stderrOf([&] { r = list.loadExtrasolarPlanets(nullptr); }), "ERR : reading [(null)]\n");
  EXPECT_EQ(r, -1);
  // A folder opens but cannot be read.
  EXPECT_EQ(stderrOf([&] { r = list.loadExtrasolarPlanets(dir.path().c_str()); }),
            "ERR : reading [" + dir.path() + "]\n");
  EXPECT_EQ(r, -1);
  EXPECT_TRUE(PlanetState::of(list) == before);
}

struct BadTable {
  const char* what;
  std::string text;
  std::string message;
};

std::string lineMessage(int line, const std::string& what) {
  return "Err(StarList::loadExtrasolarPlanets): (line " + std::to_string(line) + ")\n\t" + what + "\n";
}

std::string notEnough(int line, const std::string& text) {
  return lineMessage(line, "not enough input argument in line [" + text + "]");
}

std::vector<BadTable> badTables() {
  const std::string good = planetLine("1", "HD 217014", "0.47", "4.23", "0.052", "0.01", "55.9") + "\n";
  const std::string head = std::string(kTableHead) + good;  // the bad line is line 4
  auto bad = [&](const char* mass, const char* period, const char* a, const char* e, const char* k) {
    return head + planetLine("2", "HD 9826", mass, period, a, e, k) + "\n" + good;
  };
  const std::string cut = planetLine("2", "HD 9826", "0.69", "4.62", "0.059", "0.02", "70.5").substr(0, 46);
  const std::string cutBeforeMass = planetLine("2", "HD 9826", "0.69", "4.62", "0.059", "0.02", "70.5").substr(0, 20);
  // Long enough, but the name and the numbers run together into too few tokens.
  const std::string fewTokens = "        2 HD9826        0.69         4.62        0.059         0.02;70.5;x";
  // Seven tokens, but the line ends before column 73.
  const std::string shortLine = "2 HD9826 0.69 4.62 0.059 0.02 70.5";
  // The line ends in the eccentricity column: long enough, seven tokens, K absent.
  const std::string noK = planetLine("2", "HD 9826", "0.69", "4.62", "0.059", "0.02 x", "").substr(0, 73);
  return {
      {"cut in the period column", head + cut + "\n" + good, notEnough(4, cut)},
      {"cut before the mass column", head + cutBeforeMass + "\n" + good, notEnough(4, "        2 HD 9826")},
      {"too few tokens", head + fewTokens + "\n" + good, notEnough(4, fewTokens)},
      {"shorter than 73 characters", head + shortLine + "\n" + good, notEnough(4, shortLine)},
      {"file cut inside its last line", head + cut, notEnough(4, cut)},
      {"mass not a number", bad("nan", "4.62", "0.059", "0.02", "70.5"), lineMessage(4, "mass of planet should be positive.")},
      {"mass 1e7", bad("1e7", "4.62", "0.059", "0.02", "70.5"), lineMessage(4, "mass of planet is exceptionally large.")},
      {"mass infinite", bad("1e60", "4.62", "0.059", "0.02", "70.5"), lineMessage(4, "mass of planet is exceptionally large.")},
      {"period 0", bad("0.69", "0", "0.059", "0.02", "70.5"), lineMessage(4, "orbiting period of planet should be positive.")},
      {"period negative", bad("0.69", "-4.62", "0.059", "0.02", "70.5"), lineMessage(4, "orbiting period of planet should be positive.")},
      {"period no number", bad("0.69", "n/a", "0.059", "0.02", "70.5"), lineMessage(4, "orbiting period of planet should be positive.")},
      {"period 1e7", bad("0.69", "10000000", "0.059", "0.02", "70.5"), lineMessage(4, "orbiting period is exceptionally large.")},
      {"axis 0", bad("0.69", "4.62", "0", "0.02", "70.5"), lineMessage(4, "orbiting radius of planet should be positive.")},
      {"axis 1e8", bad("0.69", "4.62", "1e8", "0.02", "70.5"), lineMessage(4, "orbiting radius is exceptionally large.")},
      {"eccentricity negative", bad("0.69", "4.62", "0.059", "-0.1", "70.5"), lineMessage(4, "eccentricity of planet should be within [0,1).")},
      {"eccentricity 1", bad("0.69", "4.62", "0.059", "1.0", "70.5"), lineMessage(4, "eccentricity of planet should be within [0,1).")},
      {"eccentricity nan", bad("0.69", "4.62", "0.059", "nan", "70.5"), lineMessage(4, "eccentricity of planet should be within [0,1).")},
      {"K 0", bad("0.69", "4.62", "0.059", "0.02", "0"), lineMessage(4, "K (m/s) of planet should be positive.")},
      {"K negative", bad("0.69", "4.62", "0.059", "0.02", "-70.5"), lineMessage(4, "K (m/s) of planet should be positive.")},
      {"K column absent", head + noK + "\n" + good, lineMessage(4, "K (m/s) of planet should be positive.")},
      {"line longer than the buffer", head + planetLine("2", "HD 9826", "0.69", "4.62", "0.059", "0.02", "70.5") +
                                          std::string(600, '7') + "\n" + good,
       lineMessage(4, "line longer than 511 characters")},
      {"NUL bytes", head + std::string("  2 HD\0\0\0 9826", 15) + "\n" + good,
       lineMessage(4, "unreadable (binary) characters in line")},
      {"binary in a comment", head + "# \x01\x02\x03\n" + good, lineMessage(4, "unreadable (binary) characters in line")},
  };
}

TEST_F(PlanetTest, DamagedTablesGiveTheirMessageAndChangeNothing) {
  ASSERT_EQ(load(goodTable()), 1);
  const PlanetState before = PlanetState::of(list);
  const NODE_ExtrasolarPlanet firstPlanet = *list.getExtrasolarPlanet(0);
  for (const BadTable& c : badTables()) {
    SCOPED_TRACE(c.what);
    EXPECT_EQ(load(c.text, "bad.txt"), -1);
    EXPECT_EQ(err, c.message);
    EXPECT_TRUE(PlanetState::of(list) == before);
    EXPECT_EQ(memcmp(list.getExtrasolarPlanet(0), &firstPlanet, sizeof firstPlanet), 0);
  }
}

// Random bytes, with a few newlines among them: refused with a message, never a crash or a hang.
TEST_F(PlanetTest, BinaryJunkIsRefused) {
  ASSERT_EQ(load(goodTable()), 1);
  const PlanetState before = PlanetState::of(list);
  std::string junk;
  unsigned seed = 12345;
  for (int i = 0; i < 100000; i++) {
    seed = seed * 1103515245u + 12345u;
    junk += (char)(seed >> 16);
  }
  EXPECT_EQ(load(junk, "junk.bin"), -1);
  EXPECT_NE(err.find("Err(StarList::loadExtrasolarPlanets): (line "), std::string::npos) << err;
  EXPECT_NE(err.find(")\n\tunreadable (binary) characters in line\n"), std::string::npos) << err;
  EXPECT_TRUE(PlanetState::of(list) == before);
}

// Lines are held in 512-byte buffers: 511 characters are a line, 512 are too many.
TEST_F(PlanetTest, LongestLineThatFits) {
  std::string line = planetLine("1", "HD 217014", "0.47", "4.23", "0.052", "0.01", "55.9");
  std::string fits = line + std::string(511 - line.size() - 1, ' ') + "x";
  ASSERT_EQ(fits.size(), 511u);
  ASSERT_EQ(load(std::string(kTableHead) + fits + "\n"), 1);
  EXPECT_EQ(err, "");
  EXPECT_FLOAT_EQ(list.getExtrasolarPlanet(0)->K, 55.9f);
  ASSERT_EQ(load(std::string(kTableHead) + fits + "y\n"), -1);
  EXPECT_EQ(err, lineMessage(3, "line longer than 511 characters"));
}

// An over-long comment line is a comment all the same.
TEST_F(PlanetTest, OverLongCommentIsPassedOver) {
  std::string t = "# " + std::string(2000, 'c') + "\n" + goodTable();
  ASSERT_EQ(load(t), 1);
  EXPECT_EQ(err, "");
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 5);
}

// Every allocation of a load may fail: the message, -1, and the planets as they were.
TEST_F(PlanetTest, NoMemoryAtEveryAllocation) {
  ASSERT_EQ(load(goodTable()), 1);
  const PlanetState before = PlanetState::of(list);
  list.allocFunc = testsupport::failingAlloc;
  int calls = 0;
  {
    testsupport::FailAllocScope never(-1);
    ASSERT_EQ(load(goodTable(), "again.txt"), 1);
    calls = testsupport::failingAllocCalls();
  }
  // Finder tables, counts, planet array, the list array, three stars' lists and the retired block.
  EXPECT_EQ(calls, 9);
  const PlanetState reloaded = PlanetState::of(list);
  for (int k = 0; k < calls; k++) {
    SCOPED_TRACE(k);
    testsupport::FailAllocScope scope(k);
    EXPECT_EQ(load(goodTable(), "third.txt"), -1);
    EXPECT_EQ(err, "Err(StarList::loadExtrasolarPlanets): failed to allocate memory\n");
    EXPECT_TRUE(PlanetState::of(list) == reloaded);
  }
  EXPECT_FALSE(PlanetState::of(list) == before);
  list.allocFunc = malloc;
}

// ---------------------------------------------------------------------------------------------
// Reloading, giving back, look-ups and the print-out

TEST_F(PlanetTest, ReloadReplacesTheTableAndKeepsCopiesReadable) {
  ASSERT_EQ(load(goodTable()), 1);
  NODE_StarObject copy;
  ASSERT_EQ(list.getStarByHD(&copy, kTitawinHD), 1);
  ASSERT_EQ(copy.nPlanets, 2);

  std::string t = std::string(kTableHead) + planetLine("7", "HD 48915", "0.01", "100.0", "0.5", "0.5", "1.5") + "\n";
  ASSERT_EQ(load(t, "second.txt"), 1);
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 1);
  EXPECT_EQ(star(kTitawinHD).nPlanets, 0);
  EXPECT_EQ(star(kTitawinHD).planets, nullptr);
  EXPECT_EQ(star(48915).nPlanets, 1);
  EXPECT_EQ(list.getExtrasolarPlanet(0)->star, &star(48915));
  EXPECT_STREQ(list.param.extrasolarPlanetFile, path.c_str());
  // The copy taken before still reads its planets: the earlier arrays live on.
  EXPECT_EQ(copy.planets[1]->id, 3);
  EXPECT_FLOAT_EQ(copy.planets[1]->mass, 1.98f);

  list.freeExtrasolarPlanets();
  EXPECT_EQ(list.planets, nullptr);
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 0);
  EXPECT_EQ(star(48915).nPlanets, 0);
  EXPECT_EQ(star(48915).planets, nullptr);
  EXPECT_EQ(list.retiredPlanetBlocks, nullptr);
  list.freeExtrasolarPlanets();  // again: nothing left to give back
  EXPECT_EQ(list.getExtrasolarPlanet(0), nullptr);
}

TEST_F(PlanetTest, LookUpByIndex) {
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 0);
  EXPECT_EQ(list.getExtrasolarPlanet(0), nullptr);
  ASSERT_EQ(load(goodTable()), 1);
  for (int i : {-1, 5, 1000}) EXPECT_EQ(list.getExtrasolarPlanet(i), nullptr) << i;
  for (int i = 0; i < 5; i++) EXPECT_EQ(list.getExtrasolarPlanet(i), &list.planets[i]);
}

TEST_F(PlanetTest, PrintOutOfAPlanetAndOfItsStar) {
  ASSERT_EQ(load(goodTable()), 1);
  TempDir out;
  std::string f = out.file("print.txt");
  FILE* fp = fopen(f.c_str(), "w");
  ASSERT_NE(fp, nullptr);
  printPlanet(list.getExtrasolarPlanet(2), fp);
  printPlanet(list.getExtrasolarPlanet(3), fp);
  fclose(fp);
  EXPECT_EQ(testsupport::readFile(f),
            "Planet 3 (star: HD9826)\n"
            "mass:         1.98 of Jupiter\n"
            "semimajor R:  0.83 A.U.\n"
            "period:       241.30 days\n"
            "eccentricity: 0.26\n"
            "K:            66.00 m/s\n"
            "Planet 4\n"
            "mass:         0.69 of Jupiter\n"
            "semimajor R:  0.05 A.U.\n"
            "period:       3.52 days\n"
            "eccentricity: 0.00\n"
            "K:            84.00 m/s\n");

  fp = fopen(f.c_str(), "w");
  ASSERT_NE(fp, nullptr);
  list.printStarObj(&star(kTitawinHD), fp);
  fclose(fp);
  std::string report = testsupport::readFile(f);
  const std::string tail =
      "#. planet : 2\n"
      "Planet 2 (star: HD9826)\n"
      "mass:         0.69 of Jupiter\n"
      "semimajor R:  0.06 A.U.\n"
      "period:       4.62 days\n"
      "eccentricity: 0.02\n"
      "K:            70.50 m/s\n"
      "Planet 3 (star: HD9826)\n"
      "mass:         1.98 of Jupiter\n"
      "semimajor R:  0.83 A.U.\n"
      "period:       241.30 days\n"
      "eccentricity: 0.26\n"
      "K:            66.00 m/s\n";
  ASSERT_GE(report.size(), tail.size());
  EXPECT_EQ(report.substr(report.size() - tail.size()), tail);
}

// The draw functions' messages for bad indices and null records (the pictures are in
// planet_gl_test; these print before anything is drawn).
TEST_F(PlanetTest, DrawFunctionsRefuseBadArguments) {
  ASSERT_EQ(load(goodTable()), 1);
  for (int id : {-1, list.numStars})
    EXPECT_EQ(stderrOf([&] { list.drawPlanetOfStar(id, 16.0, 0); }), "Err (drawPlanetOfStar): starID out of range\n");
  EXPECT_EQ(stderrOf([&] { list.drawPlanetOfStar((const NODE_StarObject*)nullptr, 16.0, 0); }),
            "Err (drawPlanetOfStar): input parameter starobj is NULL\n");
  for (int id : {-1, 5})
    EXPECT_EQ(stderrOf([&] { list.drawPlanet(id, 16.0, 0); }), "Err (drawPlanet): planetID out of range\n");
  EXPECT_EQ(stderrOf([&] { list.drawPlanet((const NODE_ExtrasolarPlanet*)nullptr, 16.0, 0); }),
            "Err (drawPlanet): input parameter planet is NULL\n");
  // A star with no planets and a planet with no star draw nothing and say nothing.
  EXPECT_EQ(stderrOf([&] { list.drawPlanetOfStar(0, 16.0, 0); }), "");
  EXPECT_EQ(stderrOf([&] { list.drawPlanet(3, 16.0, 0); }), "");
}

// ---------------------------------------------------------------------------------------------
// The parameter file's planet keywords

TEST_F(PlanetTest, ParameterFileLoadsTheNamedTable) {
  writeFile(dir.file("planets.txt"), goodTable());
  std::string param = dir.file("param.txt");
  writeFile(param,
            "Star Parameters\n---------------\n"
            "extrasolar_planet_file        = planets.txt\n"
            "extrasolar_planet_orbit_scale = 20000\n"
            "texParaMagFilter = GL_LINEAR\n");
  int r = 0;
  EXPECT_EQ(stderrOf([&] { r = list.readStarParameter(param.c_str(), dir.path().c_str(), false); }), "");
  EXPECT_EQ(r, 1);
  EXPECT_STREQ(list.param.extrasolarPlanetFile, dir.file("planets.txt").c_str());
  EXPECT_EQ(list.param.extrasolarPlanetOrbitScale, 20000.0f);
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 5);
  EXPECT_EQ(star(kTitawinHD).nPlanets, 2);

  // The same file again does not reload: the planets stay where they are.
  NODE_ExtrasolarPlanet* planets = list.planets;
  EXPECT_EQ(stderrOf([&] { r = list.readStarParameter(param.c_str(), dir.path().c_str(), false); }), "");
  EXPECT_EQ(list.planets, planets);
}

// A table that fails stops the applying at its step: the read still returns 1, as it does
// whatever the applying gives, but nothing behind the step is taken over.
TEST_F(PlanetTest, ParameterFileWithABadTableStopsAtThePlanets) {
  std::string param = dir.file("param.txt");
  writeFile(param,
            "Star Parameters\n---------------\n"
            "label_scale = 2.5\n"
            "extrasolar_planet_file        = nowhere.txt\n"
            "extrasolar_planet_orbit_scale = 20000\n"
            "pxsizeTex = 9\n"
            "texParaMagFilter = GL_LINEAR\n");
  int r = 0;
  EXPECT_EQ(stderrOf([&] { r = list.readStarParameter(param.c_str(), dir.path().c_str(), false); }),
            "ERR : reading [" + dir.file("nowhere.txt") + "]\n");
  EXPECT_EQ(r, 1);
  EXPECT_EQ(list.param.labelScale, 2.5f);  // a step before
  EXPECT_STREQ(list.param.extrasolarPlanetFile, "");
  EXPECT_EQ(list.param.extrasolarPlanetOrbitScale, 50000.0f);
  EXPECT_EQ(list.param.pxsizeTex, 4);
  EXPECT_EQ(list.getNumExtrasolarPlanet(), 0);

  // setStarParameter says -1 for the same record.
  StarParameter p = list.getStarParameter();
  copyText(p.extrasolarPlanetFile, dir.file("nowhere.txt").c_str(), sizeof p.extrasolarPlanetFile);
  EXPECT_EQ(stderrOf([&] { r = list.setStarParameter(p); }), "ERR : reading [" + dir.file("nowhere.txt") + "]\n");
  EXPECT_EQ(r, -1);

  // A damaged table gives its own message at the step.
  writeFile(dir.file("nowhere.txt"),
            std::string(kTableHead) + planetLine("1", "HD 9826", "0.69", "4.62", "0.059", "1.5", "70.5") + "\n");
  EXPECT_EQ(stderrOf([&] { r = list.setStarParameter(p); }),
            lineMessage(3, "eccentricity of planet should be within [0,1)."));
  EXPECT_EQ(r, -1);
  EXPECT_STREQ(list.param.extrasolarPlanetFile, "");
}

}  // namespace
