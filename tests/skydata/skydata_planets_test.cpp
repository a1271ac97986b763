// The planet table's builder: reading the orbit database's CSV file, citing its sources, and the
// fixed columns it writes, on small files made here.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "skydata/planets.h"
#include "tests/support/testutil.h"

using namespace skydata;

namespace {

const char* const kHeader =
    "NAME,STAR,HD,HIPP,PLANETDISCMETH,MSINI,MSINIREF,MSINIURL,PER,PERREF,PERURL,A,AREF,AURL,ECC,ECCREF,K,KREF,"
    "ORBURL\n";

// A row with the database's fields in the header's order.
std::string row(const std::string& name, const std::string& star, const std::string& hd, const std::string& hip,
                const std::string& method, const std::string& msini = "0.68851",
                const std::string& period = "3.52474859") {
  return name + "," + star + "," + hd + "," + hip + "," + method + "," + msini +
         ",Calculated,http://adsabs.harvard.edu/abs/2006ApJ...646..505B," + period +
         ",Knutson 2007,http://adsabs.harvard.edu/abs/2007ApJ...655..564K,0.047235,Calculated,"
         "http://adsabs.harvard.edu/abs/2006ApJ...646..505B,0,Torres 2008,84.67,Torres 2008,"
         "http://adsabs.harvard.edu/abs/2008ApJ...677.1324T\n";
}

Catalog catalogWith(int hip, int hd) {
  Catalog cat;
  HipStar h;
  h.hip = hip;
  h.hd = hd;
  cat.hip.push_back(h);
  return cat;
}

}  // namespace

TEST(SkyDataPlanets, CitationsFromReferenceAndBibliographicCode) {
  struct Case {
    std::string ref, url, want;
  };
  const Case cases[] = {
      {"Torres 2008", "http://adsabs.harvard.edu/abs/2008ApJ...677.1324T", "Torres 2008, ApJ 677, 1324"},
      {"Knutson 2007", "2007ApJ...655..564K", "Knutson 2007, ApJ 655, 564"},
      {"Calculated", "http://adsabs.harvard.edu/abs/2006ApJ...646..505B", "Calculated, ApJ 646, 505 (2006)"},
      {"Chubak 2012", "http://arxiv.org/abs/1207.6212", "Chubak 2012"},
      {"Someone 2001", "", "Someone 2001"},
      {"Odd", "2001.................", "Odd"},
  };
  for (const Case& c : cases) EXPECT_EQ(citation(c.ref, c.url), c.want) << c.url;
}

TEST(SkyDataPlanets, RowsReadWithTheirCredits) {
  testsupport::TempDir dir;
  const std::string path = dir.file("db.csv");
  testsupport::writeFile(path, std::string(kHeader) + row("HD 209458 b", "HD 209458", "209458", "108859", "RV"));
  std::vector<PlanetRow> rows;
  std::string err;
  ASSERT_TRUE(readPlanetDatabase(path, rows, err)) << err;
  ASSERT_EQ(rows.size(), 1u);
  EXPECT_EQ(rows[0].name, "HD 209458 b");
  EXPECT_EQ(rows[0].hd, 209458);
  EXPECT_EQ(rows[0].hip, 108859);
  EXPECT_EQ(rows[0].period, "3.52474859");
  EXPECT_EQ(rows[0].k, "84.67");
  EXPECT_EQ(rows[0].credits,
            "period: Knutson 2007, ApJ 655, 564; eccentricity and K: Torres 2008, ApJ 677, 1324; semi-major "
            "axis: Calculated, ApJ 646, 505 (2006); M sin i: Calculated, ApJ 646, 505 (2006)");
}

TEST(SkyDataPlanets, DamagedDatabasesAreRefusedWithTheirFault) {
  testsupport::TempDir dir;
  const std::string path = dir.file("db.csv");
  const std::string good = row("HD 209458 b", "HD 209458", "209458", "108859", "RV");
  struct Case {
    std::string text, message;
  };
  const Case cases[] = {
      {"", "[" + path + "] is empty"},
      {"NAME,STAR\n" + good, "[" + path + "] has no column HD"},
      {kHeader, "[" + path + "] holds no planet: the file is cut or damaged"},
      {kHeader + good.substr(0, 40) + "\n",
       "[" + path + "] line 2 has 6 values where the header names 19: the file is cut or damaged"},
  };
  for (const Case& c : cases) {
    testsupport::writeFile(path, c.text);
    std::vector<PlanetRow> rows;
    std::string err;
    EXPECT_FALSE(readPlanetDatabase(path, rows, err));
    EXPECT_EQ(err, c.message);
  }
  std::vector<PlanetRow> rows;
  std::string err;
  EXPECT_FALSE(readPlanetDatabase(dir.file("none.csv"), rows, err));
  EXPECT_EQ(err, "cannot read [" + dir.file("none.csv") + "]");
}

TEST(SkyDataPlanets, TableHoldsTheRadialVelocityPlanetsOfCatalogueStarsInFixedColumns) {
  testsupport::TempDir dir;
  const std::string path = dir.file("db.csv");
  testsupport::writeFile(path, std::string(kHeader) + row("HD 209458 b", "HD 209458", "209458", "108859", "RV") +
                                   row("Transit b", "HD 209458", "209458", "108859", "Transit") +
                                   row("Elsewhere b", "HD 1", "1", "2", "RV") +
                                   row("Mismatch b", "HD 209458", "209458", "99", "RV"));
  std::vector<PlanetRow> rows;
  std::string err;
  ASSERT_TRUE(readPlanetDatabase(path, rows, err)) << err;
  std::string text;
  std::vector<PlanetRow> written;
  ASSERT_TRUE(planetTableText(rows, catalogWith(108859, 209458), text, written, err)) << err;
  ASSERT_EQ(written.size(), 1u);
  EXPECT_EQ(written[0].name, "HD 209458 b");
  const std::string line = "       1      HD209458     0.68851   3.52474859     0.047235            0 84.67\n";
  EXPECT_NE(text.find("\n# HD 209458 b (HD 209458, HIP 108859): period: Knutson 2007"), std::string::npos);
  ASSERT_NE(text.find(line), std::string::npos) << text;
  // The columns the star engine reads: number 0-8, star 9-22, mass 23-34, period 35-47,
  // semi-major axis 48-60, eccentricity 61-73, K from 74.
  // Each value ends a blank before the next field.
  EXPECT_EQ(line.substr(0, 9), "       1 ");
  EXPECT_EQ(line.substr(9, 14), "     HD209458 ");
  EXPECT_EQ(line.substr(23, 12), "    0.68851 ");
  EXPECT_EQ(line.substr(35, 13), "  3.52474859 ");
  EXPECT_EQ(line.substr(48, 13), "    0.047235 ");
  EXPECT_EQ(line.substr(61, 13), "           0 ");
  EXPECT_EQ(line.substr(74), "84.67\n");
}

TEST(SkyDataPlanets, NoPlanetLeftOrAValueTooWideStopsTheTable) {
  std::string text, err;
  std::vector<PlanetRow> written;
  PlanetRow r;
  r.name = "HD 209458 b";
  r.hd = 209458;
  r.hip = 108859;
  r.method = "RV";
  r.msini = "0.68851";
  r.period = "3.52474859";
  r.semiMajor = "0.047235";
  r.ecc = "0";
  r.k = "84.67";
  EXPECT_FALSE(planetTableText({r}, catalogWith(1, 2), text, written, err));
  EXPECT_EQ(err, "no radial-velocity planet of the database has its star in the catalogue");
  r.period = "3.524748590000001";
  EXPECT_FALSE(planetTableText({r}, catalogWith(108859, 209458), text, written, err));
  EXPECT_EQ(err, "a value of HD 209458 b doesn't fit the planet table's columns");
}
