// velmora-skydata: builds every data file velmora reads from the unpacked Debian packages.
//   velmora-skydata --pkgs <.cache/pkgs> --out <repository root>
// writes data/stardata/..., Images/..., samples/... and data/SOURCES.md under the root.
#include <sys/stat.h>

#include <cstdio>
#include <cstring>
#include <string>

#include "skydata/constell.h"
#include "skydata/hipcat.h"
#include "skydata/planets.h"
#include "skydata/refcat.h"
#include "skydata/samples.h"
#include "skydata/skymaps.h"
#include "skydata/sources.h"
#include "skydata/starcolor.h"
#include "skydata/starfile.h"

using namespace skydata;

namespace {

int fail(const std::string& msg) {
  std::fprintf(stderr, "Err: velmora-skydata: %s\n", msg.c_str());
  return 1;
}

bool makeDirs(const std::string& path) {
  std::string cur;
  for (size_t i = 0; i <= path.size(); ++i) {
    if (i == path.size() || path[i] == '/') {
      if (!cur.empty()) mkdir(cur.c_str(), 0755);
    }
    if (i < path.size()) cur += path[i];
  }
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISDIR(st.st_mode);
}

bool writeText(const std::string& path, const std::string& text) {
  FILE* f = std::fopen(path.c_str(), "w");
  if (!f) return false;
  std::fputs(text.c_str(), f);
  return std::fclose(f) == 0;
}

}  // namespace

int main(int argc, char** argv) {
  std::string pkgs, out;
  for (int i = 1; i + 1 < argc; i += 2) {
    if (!std::strcmp(argv[i], "--pkgs")) pkgs = argv[i + 1];
    if (!std::strcmp(argv[i], "--out")) out = argv[i + 1];
  }
  if (pkgs.empty() || out.empty()) {
    std::fprintf(stderr, "usage: velmora-skydata --pkgs <unpacked packages> --out <data root>\n");
    return 2;
  }
  const std::string stel = pkgs + "/stellarium-data/usr/share/stellarium";
  const std::string wmapDir = pkgs + "/healpy-data/usr/share/healpy/test/data/";
  const std::string fermi =
      pkgs + "/python3-photutils/usr/lib/python3/dist-packages/photutils/datasets/data/fermi_counts.fits.gz";
  const std::string kstars = pkgs + "/kstars-data/usr/share/kstars";
  const std::string stardata = out + "/data/stardata", images = out + "/Images", samples = out + "/samples";
  if (!makeDirs(stardata + "/HIP") || !makeDirs(images) || !makeDirs(samples))
    return fail("cannot make the output folders under [" + out + "]");
  std::string err;

  Catalog cat;
  if (!loadCatalog(stel, cat, err)) return fail(err);
  std::printf("catalogue: %zu records, %zu Hipparcos stars\n", cat.all.size(), cat.hip.size());

  // The second catalogue: J2000 positions to find the fast stars left at the Hipparcos epoch,
  // and HD numbers where the first cross-identification has none.
  if (!applySecondCatalogue(kstars, cat, err)) return fail(err);
  std::printf("second catalogue: %zu fast stars moved to J2000, %zu HD numbers filled\n",
              cat.movedToJ2000.size(), cat.hdFromSecondCatalogue.size());

  // The planet table is made before anything is written: a damaged database stops the build
  // with the other damaged inputs.
  const std::string planetDb = pkgs + "/python3-astroquery/usr/lib/python3/dist-packages/astroquery/"
                                     "exoplanet_orbit_database/tests/data/exoplanet_orbit_database.csv";
  std::vector<PlanetRow> planetRows, planetsWritten;
  std::string planetText;
  if (!readPlanetDatabase(planetDb, planetRows, err)) return fail(err);
  if (!planetTableText(planetRows, cat, planetText, planetsWritten, err)) return fail(err);

  std::string text;
  ConstellationStats cs;
  if (!constellationText(stel, cat, text, cs, err)) return fail(err);
  if (!writeText(stardata + "/constellation.txt", text)) return fail("cannot write the constellation file");
  std::printf("constellations: %d, %d of %d figure segments, %d boundary loops, %d open\n", cs.constellations,
              cs.writtenSegments, cs.sourceSegments, cs.boundaryBlocks, cs.openBoundaries);
  if (!writeStarSets(cat, cs.figureStars, stardata + "/HIP", err)) return fail(err);

  if (!writeText(stardata + "/planets.txt", planetText)) return fail("cannot write the planet table");
  std::printf("planets: %zu of %zu in the database\n", planetsWritten.size(), planetRows.size());

  if (!writeText(stardata + "/bv_colormap.txt", bvColorMapText(256, -0.4, 2.0)) ||
      !writeText(stardata + "/sp_colormap.txt", spectralColorMapText()) ||
      !writeText(stardata + "/halvane.txt", starParameterText()))
    return fail("cannot write the colour maps or the star parameters");

  // All-sky maps, 1024 by 512 (powers of two: no rescaling at upload).
  const int W = 1024, H = 512;
  Image src;
  if (!readImageRGB(stel + "/textures/milkyway.png", src, err)) return fail(err);
  if (!writePPM(images + "/milkyway.ppm", milkyWayFromEquatorial(src, W, H), err)) return fail(err);
  if (!writePPM(images + "/starlight_B.ppm", starlightMap(cat.all, 'B', W, H), err)) return fail(err);
  if (!writePPM(images + "/starlight_V.ppm", starlightMap(cat.all, 'V', W, H), err)) return fail(err);
  for (const char* band : {"V", "W"}) {
    std::vector<float> v;
    long nside = 0;
    const std::string path = wmapDir + "wmap_band_iqumap_r9_7yr_" + band + "_v4_udgraded32.fits";
    if (!readHealpixRing(path, v, nside, err)) return fail(err);
    if (!writePPM(images + "/wmap_" + band + ".ppm", healpixToMap(v, nside, W, H), err)) return fail(err);
  }
  {
    std::vector<float> v;
    int nx, ny;
    double crpix[2], crval[2], cdelt[2];
    if (!readFitsImage(fermi, v, nx, ny, crpix, crval, cdelt, err)) return fail(err);
    if (!writePPM(images + "/fermi.ppm", carToMap(v, nx, ny, crpix, crval, cdelt, W, H), err))
      return fail(err);
  }
  if (!writeText(images + "/ALL.texture", textureListText())) return fail("cannot write the texture list");

  for (const SampleInfo& s : sampleList())
    if (!writeImageSample(stel, s, samples, err)) return fail(err);
  if (!writePleiades(cat, samples, err)) return fail(err);
  // The folder is generated: keep it out of version control.
  if (!writeText(samples + "/.gitignore", "*\n")) return fail("cannot write [" + samples + "/.gitignore]");

  if (!writeText(out + "/data/SOURCES.md", sourcesText(cat, planetsWritten))) return fail("cannot write data/SOURCES.md");
  std::printf("sky data written under [%s]\n", out.c_str());
  return 0;
}
