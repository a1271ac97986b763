// The built sky data read with the project's own readers: every star set with the star engine's
// reader, the colour maps with the colour map loaders, and every sample with the model reader.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <sstream>
#include <string>

#include "coords/constants.h"
#include "model/glm.h"
#include "stars/colormap.h"
#include "stars/star.h"
#include "tests/support/testutil.h"

namespace {

std::string root() {
  return testsupport::sourceDir();
}

int declaredCount(const std::string& path) {
  FILE* f = std::fopen(path.c_str(), "r");
  int n = -1;
  if (f) {
    if (std::fscanf(f, "NUM_STARS %d", &n) != 1) n = -1;
    std::fclose(f);
  }
  return n;
}

}  // namespace

TEST(SkyDataReaders, EveryStarSetReadsWithTheStarReader) {
  VELMORA_REQUIRE_SKY_DATA();
  for (int n = 1; n <= 12; ++n) {
    SCOPED_TRACE(n);
    std::string path = testsupport::starSetPath(n);
    StarList list;
    testing::internal::CaptureStderr();
    const int r = list.readStarFile(path.data(), 0, false);
    const std::string err = testing::internal::GetCapturedStderr();
    ASSERT_EQ(r, 1) << err;
    EXPECT_EQ(list.getNumStars(), declaredCount(path));
    char note[600];
    std::snprintf(note, sizeof note, "%5d star objects from [%s]\n", declaredCount(path), path.c_str());
    EXPECT_EQ(err, note);  // nothing but the count: no line is refused
    if (n == 6) {
      NODE_StarObject s;
      ASSERT_EQ(list.getStarByHD(&s, 48915), 1);  // Sirius
      EXPECT_STREQ(s.commonName, "Sirius");
      EXPECT_EQ(s.HIC, 32349);
      EXPECT_STREQ(s.spClass, "A");
      EXPECT_STREQ(s.spType, "V");
      // pos.s is log10 of the distance in metres: 2.637 pc.
      EXPECT_NEAR(s.pos.s, std::log10(1000.0 / 379.21 * kParsecMantissa) + kParsecPower, 1e-4);
      ASSERT_EQ(list.getStarByHD(&s, 128620), 1);
      EXPECT_STREQ(s.commonName, "Rigil Kentaurus");
    }
  }
}

TEST(SkyDataReaders, ColourMapsLoadWithTheColourMapReaders) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string bvPath = root() + "/data/stardata/bv_colormap.txt";
  ColorMap* bv = loadColorMap(bvPath.c_str(), -0.4f, 2.0f);
  ASSERT_NE(bv, nullptr);
  EXPECT_EQ(bv->nEntries, 256);
  const Color hot = getColor(bv, -0.3f), cool = getColor(bv, 1.8f);
  EXPECT_GT(hot.b, hot.r);
  EXPECT_GT(cool.r, cool.b);
  freeColorMap(bv);
  const std::string spPath = root() + "/data/stardata/sp_colormap.txt";
  testing::internal::CaptureStderr();
  SpColorMap* sp = loadSpColorMap(spPath.c_str());
  EXPECT_EQ(testing::internal::GetCapturedStderr(), "");
  ASSERT_NE(sp, nullptr);
  const Color g2 = getSpColor(sp, "G", 2.0f, "V");
  EXPECT_EQ(colorEqual(g2, Color{0, 1, 0, 1}), 0);  // found in the table
  const Color m5 = getSpColor(sp, "M", 5.0f, "V"), b0 = getSpColor(sp, "B", 0.0f, "V");
  EXPECT_GT(m5.r, m5.b);
  EXPECT_GT(b0.b, b0.r);
  freeSpColorMap(sp);
}

TEST(SkyDataReaders, EverySampleReadsWithTheModelReader) {
  VELMORA_REQUIRE_SKY_DATA();
  for (const char* name : {"m51", "m51-misplaced", "m31", "m31-misplaced", "m27", "m27-misplaced", "m1",
                           "m1-misplaced", "pleiades"}) {
    SCOPED_TRACE(name);
    const std::string path = root() + "/samples/" + name + ".obj";
    testing::internal::CaptureStderr();
    testing::internal::CaptureStdout();
    _GLMmodel* m = glmReadOBJ(path.c_str());
    const std::string out = testing::internal::GetCapturedStdout();
    const std::string err = testing::internal::GetCapturedStderr();
    ASSERT_NE(m, nullptr) << err;
    EXPECT_EQ(out, "");  // no unknown material, no unknown token
    EXPECT_EQ(err, "");
    EXPECT_GE(m->nummaterials, 2u);
    if (std::strcmp(name, "pleiades") == 0) {
      EXPECT_EQ(m->numtriangles, m->numvertices / 6 * 8);
      EXPECT_EQ(glmIsPlanar(m, 1e-5f), 0);
    } else {
      EXPECT_EQ(m->numvertices, 4u);
      EXPECT_EQ(m->numtriangles, 2u);
      EXPECT_EQ(m->numtexcoords, 4u);
      EXPECT_NE(glmIsPlanar(m, 1e-5f), 0);  // handled as an image by the tool
      // The material carries the texture: a PNM next to the model.
      const _GLMmaterial& mat = m->materials[m->groups->material];
      EXPECT_EQ(mat.texPending, 1);
      EXPECT_TRUE(testsupport::fileExists(std::string(mat.texDir) + mat.texFile)) << mat.texFile;
    }
    glmDelete(m);
  }
}

namespace {

// The Hipparcos number of a star among the names that the exoplanet archive gives it (a source of
// its own, apart from the orbit database the planet table is built from); 0 if none.
int archiveHipNumber(const std::string& aliasFile) {
  std::istringstream in(testsupport::readFile(aliasFile));
  std::string line;
  while (std::getline(in, line))
    if (line.rfind("HIP ", 0) == 0) return std::atoi(line.c_str() + 4);
  return 0;
}

}  // namespace

TEST(SkyDataReaders, ThePlanetTableLoadsWithTheStarParametersAndBindsToTheArchivesStar) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  testing::internal::CaptureStderr();
  ASSERT_EQ(list.readStarFile(testsupport::starSetPath(8).data(), 0, false), 1);
  const std::string params = root() + "/data/stardata/halvane.txt";
  const int r = list.readStarParameter(params.c_str(), root().c_str(), true);
  const std::string err = testing::internal::GetCapturedStderr();
  ASSERT_EQ(r, 1) << err;
  ASSERT_EQ(list.getNumExtrasolarPlanet(), 1);
  const NODE_ExtrasolarPlanet* p = list.getExtrasolarPlanet(0);
  ASSERT_NE(p->star, nullptr);
  EXPECT_STREQ(p->starName, "HD209458");
  EXPECT_EQ(p->star->HD, 209458);
  const std::string alias = root() +
                            "/.cache/pkgs/python3-astroquery/usr/lib/python3/dist-packages/astroquery/ipac/nexsci/"
                            "nasa_exoplanet_archive/tests/data/aliastable_expect_3.txt";
  ASSERT_TRUE(testsupport::fileExists(alias));
  EXPECT_EQ(p->star->HIC, archiveHipNumber(alias));
  EXPECT_EQ(p->star->HIC, 108859);
  // The database's values to the last digit it gives, as floats.
  EXPECT_EQ(p->period, 3.52474859f);
  EXPECT_EQ(p->K, 84.67f);
  EXPECT_EQ(p->eccentricity, 0.0f);
  EXPECT_EQ(p->minorRatio, 1.0f);
  // Kepler's third law ties period and orbit to the star's mass: a^3 / P^2 in astronomical units
  // and years gives solar masses, against the 1.131 of the star's own mass estimate (Takeda 2007).
  constexpr double kDaysPerJulianYear = 365.25;
  constexpr double kStarMassSolar = 1.131;
  const double years = p->period / kDaysPerJulianYear;
  const double a = p->semiMajor;
  EXPECT_NEAR(a * a * a / (years * years), kStarMassSolar, 0.01 * kStarMassSolar);
}
