// The builder on cut inputs: a copy of the unpacked packages with one file cut short must stop
// with a message naming the file and what it falls short of, and write no star set.
#include <gtest/gtest.h>

#include <string>

#include "tests/support/testutil.h"

namespace {

const std::string kStel = "stellarium-data/usr/share/stellarium/";
const std::string kStars = kStel + "stars/default/";
const std::string kWestern = kStel + "skycultures/western/";
const std::string kKstars = "kstars-data/usr/share/kstars/";
const std::string kPlanetDb =
    "python3-astroquery/usr/lib/python3/dist-packages/astroquery/exoplanet_orbit_database/tests/data/";

struct Cut {
  std::string file;     // below the packages' folder
  std::string how;      // shell filter that cuts the file: reads the whole, writes the part
  std::string message;  // what follows "Err: velmora-skydata: [<packages>/<file>] "
};

// Runs the builder on the packages with `cut.file` cut; returns its standard error.
testsupport::RunResult buildWithCut(const testsupport::TempDir& dir, const Cut& cut) {
  const std::string real = testsupport::sourceDir() + "/.cache/pkgs";
  const std::string pkgs = dir.file("pkgs");
  // A tree of links to the real files, but for the one cut.
  EXPECT_EQ(testsupport::run("cp -as " + real + " " + pkgs).status, 0);
  const std::string target = pkgs + "/" + cut.file;
  EXPECT_EQ(testsupport::run("rm " + target + " && " + cut.how + " < " + real + "/" + cut.file + " > " + target)
                .status,
            0);
  return testsupport::run(testsupport::binaryDir() + "/velmora-skydata --pkgs " + pkgs + " --out " +
                          dir.file("out"));
}

// The first half of the lines of a file.
const std::string kHalf = "awk '{ l[NR] = $0 } END { for (i = 1; i <= NR / 2; ++i) print l[i] }'";
// The first half of the bytes of a file.
const std::string kHalfBytes = "python3 -c 'import sys; b = sys.stdin.buffer.read(); sys.stdout.buffer.write(b[:len(b) // 2])'";

}  // namespace

TEST(SkyDataTruncated, EveryCutInputStopsTheBuildWithItsShortfall) {
  VELMORA_REQUIRE_SKY_DATA();
  const Cut cuts[] = {
      {kWestern + "constellation_names.eng.fab", kHalf,
       "names 44 constellations where the sky has 88: the file is cut or damaged"},
      {kWestern + "constellationship.fab", kHalf,
       "draws 45 constellations where the sky has 88: the file is cut or damaged"},
      {kWestern + "constellationship.fab", "head -c 1000",
       "line 14: the figure of Cap declares 9 segments and gives 1: the file is cut or damaged"},
      {kStel + "data/constellation_boundaries.dat", kHalf,
       "leaves the boundary of Aql open: the file is cut or damaged"},
      {kStars + "hip_pm.dat", kHalf,
       "gives proper motions for 58976 of 118215 Hipparcos stars, fewer than the 99% it must: the file is "
       "cut or damaged"},
      {kStars + "hip_plx_err.dat", kHalf,
       "gives parallax errors for 58851 of 118215 Hipparcos stars, fewer than the 99% it must: the file is "
       "cut or damaged"},
      {kStars + "cross-id.dat", kHalf,
       "gives HD numbers for 49525 of 118215 Hipparcos stars, fewer than the 80% it must: the file is cut or "
       "damaged"},
      {kStars + "stars_hip_sp_0v0_4.cat", kHalf,
       "lists 3471 spectral types where the catalogue's records point at type 6941: the file is cut or damaged"},
      {kWestern + "star_names.fab", kHalf,
       "names 332 Hipparcos stars, fewer than the 600 it must: the file is cut or damaged"},
      {kKstars + "stars.dat", kHalf,
       "holds 62985 stars where it must hold at least 125000: the file is cut or damaged"},
      {kKstars + "unnamedstars.dat", kHalfBytes, "is not a star data file of 32-byte records"},
      {kStars + "stars_2_0v0_8.cat", kHalfBytes, "ends inside its records"},
      {kPlanetDb + "exoplanet_orbit_database.csv", kHalf, "holds no planet: the file is cut or damaged"},
      {kPlanetDb + "exoplanet_orbit_database.csv", "head -c 4000",
       "line 2 has 111 values where the header names 314: the file is cut or damaged"},
  };
  for (const Cut& cut : cuts) {
    SCOPED_TRACE(cut.file);
    testsupport::TempDir dir;
    const testsupport::RunResult r = buildWithCut(dir, cut);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, "Err: velmora-skydata: [" + dir.file("pkgs/" + cut.file) + "] " + cut.message + "\n");
    EXPECT_FALSE(testsupport::fileExists(dir.file("out/data/stardata/HIP/hip.1.star")));
  }
}
