// Checks on the sky data as scripts/data.sh built it: known stars, counts per set against the
// source catalogue, the constellation file, the maps and the sample models. Every test is
// skipped with a message when the data has not been built (the packages could not be fetched).
#include <gtest/gtest.h>

#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/testutil.h"
#include "skydata/hipcat.h"
#include "skydata/refcat.h"
#include "skydata/samples.h"
#include "skydata/skymaps.h"
#include "skydata/skymath.h"
#include "skydata/starcolor.h"
#include "skydata/starfile.h"

using namespace skydata;

namespace {

std::string root() {
  return testsupport::sourceDir();
}
std::string stellarium() {
  return root() + "/.cache/pkgs/stellarium-data/usr/share/stellarium";
}

// One data line of a .star file, parsed here on its own.
struct Line {
  double x, y, z, distErr, vel[3], bv, lum;
  std::string cls, lumCls, name;
  double num;
  int hd, hic;
};

struct StarFile {
  int declared = -1;
  double factor = 0, exponent = 0;
  std::vector<Line> lines;
  std::map<int, size_t> byHic;
};

// Parses one data line with strtod: quick enough for the 117,000 lines of the full set.
bool parseLine(const char* p, Line& s) {
  double v[16];
  char* end;
  for (double& x : v) {
    x = std::strtod(p, &end);
    if (end == p) return false;
    p = end;
  }
  s.x = v[0];
  s.y = v[1];
  s.z = v[2];
  s.distErr = v[3];
  for (int k = 0; k < 3; ++k) s.vel[k] = v[4 + k];
  s.bv = v[10];
  s.lum = v[11];
  for (int k = 12; k < 16; ++k)
    if (!(v[k] >= 0 && v[k] <= 1)) return false;
  auto token = [&](std::string& t) {
    while (*p == ' ') ++p;
    const char* e = p;
    while (*e && *e != ' ' && *e != '\n') ++e;
    t.assign(p, e);
    p = e;
    return !t.empty();
  };
  if (!token(s.cls)) return false;
  s.num = std::strtod(p, &end);
  if (end == p) return false;
  p = end;
  if (!token(s.lumCls)) return false;
  s.hd = int(std::strtol(p, &end, 10));
  if (end == p) return false;
  p = end;
  s.hic = int(std::strtol(p, &end, 10));
  if (end == p) return false;
  p = end;
  while (*p == ' ') ++p;
  s.name = p;
  while (!s.name.empty() && (s.name.back() == '\n' || s.name.back() == ' ')) s.name.pop_back();
  return !s.name.empty();
}

StarFile readStarFile(int n) {
  StarFile f;
  const std::string path = testsupport::starSetPath(n);
  FILE* in = std::fopen(path.c_str(), "r");
  EXPECT_NE(in, nullptr) << path;
  if (!in) return f;
  char buf[512];
  EXPECT_EQ(std::fscanf(in, "NUM_STARS %d\nSIZE %lf %lf\n", &f.declared, &f.factor, &f.exponent), 3);
  std::string firstBad;
  f.lines.reserve(f.declared > 0 ? f.declared : 0);
  while (std::fgets(buf, sizeof buf, in)) {
    if (buf[0] == '#' || buf[0] == '\n') continue;
    Line s;
    const bool ok =
        parseLine(buf, s) && s.distErr >= 0 && s.num >= 0 && s.num <= 10 &&
        (s.lumCls == "I" || s.lumCls == "II" || s.lumCls == "III" || s.lumCls == "IV" || s.lumCls == "V");
    if (!ok) {
      if (firstBad.empty()) firstBad = buf;
      continue;
    }
    f.byHic[s.hic] = f.lines.size();
    f.lines.push_back(std::move(s));
  }
  std::fclose(in);
  EXPECT_EQ(firstBad, "") << "a data line of " << path << " does not hold the 22 fields in range";
  return f;
}

const StarFile& fullSet() {
  static const StarFile f = readStarFile(12);
  return f;
}

const Catalog& source() {
  static Catalog cat;
  static bool loaded = false;
  if (!loaded) {
    std::string err;
    loaded = loadCatalog(stellarium(), cat, err);
    EXPECT_TRUE(loaded) << err;
  }
  return cat;
}

// The catalogue with the mends the builder makes from the second catalogue, as the star sets
// were written from it.
const Catalog& mended() {
  static Catalog cat;
  static bool loaded = false;
  if (!loaded) {
    std::string err;
    cat = source();
    loaded = applySecondCatalogue(root() + "/.cache/pkgs/kstars-data/usr/share/kstars", cat, err);
    EXPECT_TRUE(loaded) << err;
  }
  return cat;
}

// Galactic l, b of a J2000 direction by the closed formulas with the IAU constants, independent
// of the builders' rotation matrix.
void iauLb(double ra, double dec, double& l, double& b) {
  const double aG = 192.85948 * kRadiansPerDegree, dG = 27.12825 * kRadiansPerDegree, lN = 122.93192 * kRadiansPerDegree;
  ra *= kRadiansPerDegree;
  dec *= kRadiansPerDegree;
  b = std::asin(std::sin(dec) * std::sin(dG) + std::cos(dec) * std::cos(dG) * std::cos(ra - aG));
  l = lN - std::atan2(std::cos(dec) * std::sin(ra - aG),
                      std::sin(dec) * std::cos(dG) - std::cos(dec) * std::sin(dG) * std::cos(ra - aG));
  l = std::fmod(l / kRadiansPerDegree + 360.0, 360.0);
  b /= kRadiansPerDegree;
}

Image map(const std::string& name) {
  Image img;
  std::string err;
  EXPECT_TRUE(readPPM(root() + "/Images/" + name, img, err)) << err;
  return img;
}

double px(const Image& m, int x, int y) {
  return m.rgb[(size_t(y) * m.width + x) * 3 + 1];
}

// Latitude of the row with the largest mean.
double brightestRowB(const Image& m) {
  int best = 0;
  double bestV = -1;
  for (int y = 0; y < m.height; ++y) {
    double s = 0;
    for (int x = 0; x < m.width; ++x) s += px(m, x, y);
    if (s > bestV) {
      bestV = s;
      best = y;
    }
  }
  double l, b;
  pixelToLb(0, best, m.width, m.height, l, b);
  return b;
}

// Longitude of the centre of the brightest stretch, `width` degrees wide, of the band |b| < 5.
double brightestLongitude(const Image& m, double width) {
  std::vector<double> col(m.width, 0);
  for (int y = 0; y < m.height; ++y) {
    double l, b;
    pixelToLb(0, y, m.width, m.height, l, b);
    if (std::fabs(b) >= 5) continue;
    for (int x = 0; x < m.width; ++x) col[x] += px(m, x, y);
  }
  const int win = int(m.width * width / 360);
  double bestV = -1, bestL = 0;
  for (int x = 0; x < m.width; ++x) {
    double s = 0;
    for (int k = -win / 2; k <= win / 2; ++k) s += col[(x + k + m.width) % m.width];
    if (s > bestV) {
      bestV = s;
      double l, b;
      pixelToLb(x, 0, m.width, m.height, l, b);
      bestL = l;
    }
  }
  return bestL > 180 ? bestL - 360 : bestL;
}

struct Obj {
  std::vector<Vec3> v;
  std::string mtllib;
  int faces = 0;
};

Obj readObj(const std::string& path) {
  Obj o;
  std::ifstream in(path);
  EXPECT_TRUE(in) << path;
  std::string l;
  while (std::getline(in, l)) {
    std::istringstream ss(l);
    std::string k;
    ss >> k;
    if (k == "v") {
      Vec3 p;
      ss >> p[0] >> p[1] >> p[2];
      o.v.push_back(p);
    } else if (k == "mtllib") {
      ss >> o.mtllib;
    } else if (k == "f") {
      ++o.faces;
    }
  }
  return o;
}

Vec3 boxCentre(const std::vector<Vec3>& v) {
  Vec3 lo = v[0], hi = v[0];
  for (const Vec3& p : v)
    for (int k = 0; k < 3; ++k) {
      lo[k] = std::fmin(lo[k], p[k]);
      hi[k] = std::fmax(hi[k], p[k]);
    }
  return {(lo[0] + hi[0]) / 2, (lo[1] + hi[1]) / 2, (lo[2] + hi[2]) / 2};
}

double angleDeg(const Vec3& a, const Vec3& b) {
  return std::acos(std::fmin(1.0, dot(normalized(a), normalized(b)))) / kRadiansPerDegree;
}

}  // namespace

TEST(SkyDataFiles, KnownStarsArePlacedAndMeasuredAsPublished) {
  VELMORA_REQUIRE_SKY_DATA();
  struct Known {
    const char* what;
    int hip;
    double ra, dec;      // J2000 (ICRS), published
    double l, b;         // published galactic coordinates; NAN where only the J2000 position is used
    double plx, plxErr;  // published parallax, mas
    double v, bv;        // Hipparcos V and B-V
    double vTol, bvTol;
  };
  // Parallaxes: van Leeuwen 2007 (Sirius, Vega, Polaris, Betelgeuse), ESA 1997 (alpha Cen A),
  // Gaia DR2 (Barnard's star), as the package carries them. The package's V and B-V of alpha Cen A
  // (0.10, 0.60) differ from the Hipparcos values (-0.01, 0.71) by more than its quantisation:
  // that star is compared with a tolerance of 0.15.
  const Known known[] = {
      {"Sirius", 32349, 101.287155, -16.716116, 227.2303, -8.8903, 379.21, 1.58, -1.44, 0.009, 0.05, 0.035},
      {"Vega", 91262, 279.234735, 38.783689, 67.4482, 19.2373, 130.23, 0.36, 0.03, -0.001, 0.05, 0.035},
      {"Polaris", 11767, 37.954561, 89.264109, 123.2805, 26.4614, 7.54, 0.11, 1.97, 0.636, 0.05, 0.035},
      {"Betelgeuse", 27989, 88.792939, 7.407064, 199.7872, -8.9586, 6.55, 0.83, 0.45, 1.500, 0.05, 0.035},
      {"Rigil Kentaurus", 71683, 219.902058, -60.833993, NAN, NAN, 742.12, 1.40, -0.01, 0.710, 0.15, 0.15},
      {"Barnard's Star", 87937, 269.452075, 4.693391, 31.0087, 14.0626, 547.45, 0.29, 9.54, 1.570, 0.05,
       0.035},
  };
  const StarFile& f = fullSet();
  const Catalog& cat = source();
  for (const Known& k : known) {
    SCOPED_TRACE(k.what);
    auto it = f.byHic.find(k.hip);
    ASSERT_NE(it, f.byHic.end());
    const Line& s = f.lines[it->second];
    EXPECT_EQ(s.name, k.what);
    double l, b;
    vecToAng(Vec3{s.x, s.y, s.z}, l, b);
    double pl, pb;
    iauLb(k.ra, k.dec, pl, pb);
    EXPECT_NEAR(l, pl, 0.01);
    EXPECT_NEAR(b, pb, 0.01);
    if (!std::isnan(k.l)) {
      EXPECT_NEAR(l, k.l, 0.01);
      EXPECT_NEAR(b, k.b, 0.01);
    }
    const double d = std::sqrt(s.x * s.x + s.y * s.y + s.z * s.z);  // parsecs, the file's SIZE unit
    const double dPub = 1000.0 / k.plx, dErr = dPub * k.plxErr / k.plx;
    EXPECT_NEAR(d, dPub, dErr);
    EXPECT_NEAR(s.distErr, k.plxErr / k.plx, 0.01);
    EXPECT_NEAR(s.bv, k.bv, k.bvTol);
    // V from the luminosity and the distance: lum 1 is absolute magnitude 0.
    const double v = -2.5 * std::log10(s.lum) + 5 * std::log10(d) - 5;
    EXPECT_NEAR(v, k.v, k.vTol);
    const int i = findHip(cat, k.hip);
    ASSERT_GE(i, 0);
    EXPECT_NEAR(v, cat.hip[i].vmag, 0.002);
  }
  EXPECT_EQ(f.lines[f.byHic.at(32349)].hd, 48915);
  EXPECT_EQ(f.lines[f.byHic.at(87937)].hd, 0);  // Barnard's star has no HD number
  EXPECT_DOUBLE_EQ(f.factor, kParsecMantissa);
  EXPECT_DOUBLE_EQ(f.exponent, kParsecPower);
}

TEST(SkyDataFiles, CountsPerSetMatchTheSource) {
  VELMORA_REQUIRE_SKY_DATA();
  const Catalog& cat = mended();
  EXPECT_EQ(cat.all.size(), 129592u + 48019u);
  EXPECT_EQ(cat.recordsWithHip, 129592);
  EXPECT_EQ(cat.hip.size(), 118215u);
  // Figure stars of the constellation file: in every set.
  std::set<int> figureHd;
  {
    std::ifstream in(root() + "/data/stardata/constellation.txt");
    std::string l;
    while (std::getline(in, l))
      if (l.rfind("HD", 0) == 0) figureHd.insert(std::atoi(l.c_str() + 2));
  }
  int usable = 0;
  for (const HipStar& s : cat.hip) usable += s.plxMas > 0;
  EXPECT_EQ(usable, 117403);
  for (int n = 1; n <= 12; ++n) {
    SCOPED_TRACE(n);
    int expected = 0;
    for (const HipStar& s : cat.hip)
      if (s.plxMas > 0 && (n == 12 || s.vmag <= n || (s.hd > 0 && figureHd.count(s.hd)))) ++expected;
    const StarFile f = readStarFile(n);
    EXPECT_EQ(f.declared, expected);
    EXPECT_EQ(int(f.lines.size()), expected);
    EXPECT_EQ(f.byHic.size(), f.lines.size());  // one line per Hipparcos number
    std::set<int> hd;
    for (const Line& s : f.lines) hd.insert(s.hd);
    for (int h : figureHd) EXPECT_TRUE(hd.count(h)) << "figure star HD" << h << " missing from set " << n;
  }
  EXPECT_EQ(fullSet().declared, usable);
}

TEST(SkyDataFiles, ConstellationFileHasTheEightyEightFiguresBoundariesAndNames) {
  VELMORA_REQUIRE_SKY_DATA();
  std::ifstream in(root() + "/data/stardata/constellation.txt");
  ASSERT_TRUE(in);
  std::string l;
  int constellations = 0, boundaryPoints = 0, lineEntries = 0;
  std::string block;
  std::set<std::string> codes;
  std::map<int, int> hdCount;
  for (const Line& s : fullSet().lines) ++hdCount[s.hd];
  while (std::getline(in, l)) {
    if (l.empty() || l[0] == '#') continue;
    if (l.rfind("CONSTELLATION ", 0) == 0) {
      ++constellations;
      EXPECT_EQ(l[17], ' ');
      EXPECT_GT(l.size(), 18u);  // the name starts at column 18
      codes.insert(l.substr(14, 3));
      EXPECT_TRUE(block.empty());
    } else if (l == "BEGIN BOUNDARY" || l == "BEGIN LINE") {
      block = l;
    } else if (l == "END BOUNDARY" || l == "END LINE") {
      block.clear();
    } else if (block == "BEGIN BOUNDARY") {
      double ra, dec;
      char tag[16];
      ASSERT_EQ(std::sscanf(l.c_str(), "%lf %lf %15s", &ra, &dec, tag), 3) << l;
      EXPECT_TRUE(ra >= 0 && ra <= 24 && dec >= -90 && dec <= 90) << l;
      ++boundaryPoints;
    } else if (block == "BEGIN LINE") {
      int hd;
      char shared[16] = "";
      const int n = std::sscanf(l.c_str(), "HD%d %15s", &hd, shared);
      ASSERT_GE(n, 1) << l;
      if (n == 2) {
        EXPECT_STREQ(shared, "SHARED");
      }
      EXPECT_EQ(hdCount[hd], 1) << "HD" << hd << " must name exactly one star";
      ++lineEntries;
    } else {
      ADD_FAILURE() << "unexpected line [" << l << "]";
    }
  }
  EXPECT_EQ(constellations, 88);
  EXPECT_EQ(codes.size(), 88u);
  EXPECT_GT(boundaryPoints, 1000);
  EXPECT_GT(lineEntries, 676);
}

TEST(SkyDataFiles, StarParametersAndColourMapsNameRealFiles) {
  VELMORA_REQUIRE_SKY_DATA();
  const std::string p = testsupport::readFile(root() + "/data/stardata/halvane.txt");
  EXPECT_EQ(p.rfind("Star Parameters\n---------------\n", 0), 0u);
  EXPECT_NE(p.find("constellation_file    = data/stardata/constellation.txt\n"), std::string::npos);
  EXPECT_NE(p.find("color_map = bv_colormap data/stardata/bv_colormap.txt -0.4 2.0\n"), std::string::npos);
  EXPECT_NE(p.find("texParaMagFilter = GL_LINEAR\n"), std::string::npos);
  EXPECT_EQ(p.back(), '\n');  // the last line counts only with its newline
  const std::string bv = testsupport::readFile(root() + "/data/stardata/bv_colormap.txt");
  std::istringstream ss(bv);
  std::string l;
  int count = -1, entries = 0;
  while (std::getline(ss, l)) {
    if (l.empty() || l[0] == '#') continue;
    if (count < 0) {
      count = std::atoi(l.c_str());
      continue;
    }
    float c[4];
    ASSERT_EQ(std::sscanf(l.c_str(), "%f %f %f %f", &c[0], &c[1], &c[2], &c[3]), 4);
    for (float v : c) EXPECT_TRUE(v >= 0 && v <= 1);
    ++entries;
  }
  EXPECT_EQ(count, 256);
  EXPECT_EQ(entries, 256);
  const std::string sp = testsupport::readFile(root() + "/data/stardata/sp_colormap.txt");
  std::istringstream s2(sp);
  int spEntries = 0;
  while (std::getline(s2, l)) {
    if (l.empty() || l[0] == '#') continue;
    char type[16];
    float a, b;
    int r, g, bl;
    ASSERT_EQ(std::sscanf(l.c_str(), "%15s %f %f %d %d %d", type, &a, &b, &r, &g, &bl), 6) << l;
    EXPECT_NE(std::string(type).find("(V)"), std::string::npos);
    ++spEntries;
  }
  EXPECT_GT(spEntries, 60);
  EXPECT_TRUE(testsupport::fileExists(root() + "/data/SOURCES.md"));
  const std::string src = testsupport::readFile(root() + "/data/SOURCES.md");
  for (const char* s : {"Hipparcos", "WMAP", "Fermi", "Mellinger", "GPL-2+", "public domain"})
    EXPECT_NE(src.find(s), std::string::npos) << s;
  // Each sample's row holds its licence, then its credit line, in the columns of the header.
  EXPECT_NE(src.find("| Output | Source | Package | Licence | Credit |\n"), std::string::npos);
  for (const SampleInfo& s : sampleList()) {
    SCOPED_TRACE(s.name);
    const size_t row = src.find("| `samples/" + s.name + ".obj`");
    ASSERT_NE(row, std::string::npos);
    const std::string line = src.substr(row, src.find('\n', row) - row);
    EXPECT_NE(line.find("| " + s.licence + " | " + s.credit + " |"), std::string::npos) << line;
  }
  EXPECT_NE(
      src.find("| Creative Commons Attribution 3.0 Unported (CREDITS.md 4.8) | LEE ang HG731GZ (CREDITS.md "
               "4.8) |"),
      std::string::npos);
}

TEST(SkyDataFiles, TextureListNamesEveryMapWithDistinctWavelengths) {
  VELMORA_REQUIRE_SKY_DATA();
  std::ifstream in(root() + "/Images/ALL.texture");
  std::string l;
  bool slider = false;
  std::set<double> wl;
  int entries = 0;
  while (std::getline(in, l)) {
    if (l.empty() || l[0] == '#') continue;
    if (l.rfind("USE_WAVELENGTH_SLIDER", 0) == 0) {
      slider = true;
      continue;
    }
    char file[256], name[256];
    float w;
    ASSERT_EQ(std::sscanf(l.c_str(), "%255s %255s %f", file, name, &w), 3) << l;
    const Image m = map(file);
    EXPECT_EQ(m.width, 1024);
    EXPECT_EQ(m.height, 512);
    wl.insert(w);
    ++entries;
  }
  EXPECT_TRUE(slider);
  EXPECT_EQ(entries, 6);
  EXPECT_EQ(wl.size(), 6u);  // equal wavelengths would turn the slider off
}

TEST(SkyDataFiles, GalacticPlaneAndCentreLieWhereTheSphereMapsThem) {
  VELMORA_REQUIRE_SKY_DATA();
  for (const char* name :
       {"wmap_V.ppm", "wmap_W.ppm", "starlight_V.ppm", "starlight_B.ppm", "milkyway.ppm"}) {
    SCOPED_TRACE(name);
    const Image m = map(name);
    EXPECT_NEAR(brightestRowB(m), 0.0, 3.0);
  }
  // The inner Galaxy, |l| < 30, is the brightest part of the plane; at a single pixel the WMAP
  // maps peak in Cygnus (l = 80), which the 60-degree window shows as the second place.
  for (const char* name : {"wmap_V.ppm", "wmap_W.ppm"}) {
    SCOPED_TRACE(name);
    EXPECT_NEAR(brightestLongitude(map(name), 60.0), 0.0, 10.0);
  }
  EXPECT_NEAR(brightestLongitude(map("wmap_V.ppm"), 3.0), 80.0, 5.0);
  // In the photograph the brightest stretch is the Sagittarius-Scorpius part of the plane, just
  // west of the centre; the Large Magellanic Cloud (l 280.5, b -32.9) tells a mirrored map.
  const Image photo = map("milkyway.ppm");
  EXPECT_NEAR(brightestLongitude(photo, 60.0), -10.0, 10.0);
  auto at = [&](double l, double b) {
    int x, y;
    lbToPixel(l, b, photo.width, photo.height, x, y);
    double s = 0;
    for (int dy = -2; dy <= 2; ++dy)
      for (int dx = -2; dx <= 2; ++dx) s += px(photo, (x + dx + photo.width) % photo.width, y + dy);
    return s;
  };
  EXPECT_GT(at(280.5, -32.9), 2 * at(79.5, -32.9));
  EXPECT_GT(at(280.5, -32.9), 2 * at(280.5, 32.9));
  // The gamma-ray counts cover |l| <= 20, |b| <= 10 only; beyond, the map's no-data colour.
  const Image f = map("fermi.ppm");
  int x, y;
  lbToPixel(0.0, 0.0, f.width, f.height, x, y);
  EXPECT_GT(px(f, x, y), 100);
  for (const auto& [l, b] : {std::pair{180.0, 0.0}, std::pair{0.0, 15.0}, std::pair{25.0, 0.0}}) {
    lbToPixel(l, b, f.width, f.height, x, y);
    for (int c = 0; c < 3; ++c) EXPECT_EQ(f.rgb[(size_t(y) * f.width + x) * 3 + c], kNoDataRGB[c]) << l << " " << b;
  }
}

TEST(SkyDataFiles, BrightStarsFallOnBrightPixelsOfTheStarlightMaps) {
  VELMORA_REQUIRE_SKY_DATA();
  const Image v = map("starlight_V.ppm"), b = map("starlight_B.ppm");
  int checked = 0;
  for (const Line& s : fullSet().lines) {
    const double d = std::sqrt(s.x * s.x + s.y * s.y + s.z * s.z);
    const double mag = -2.5 * std::log10(s.lum) + 5 * std::log10(d) - 5;
    if (mag > 1.5) continue;
    double l, bb;
    vecToAng(Vec3{s.x, s.y, s.z}, l, bb);
    int x, y;
    lbToPixel(l, bb, v.width, v.height, x, y);
    EXPECT_GE(px(v, x, y), 200) << s.name;
    EXPECT_GE(px(b, x, y), 180) << s.name;
    ++checked;
  }
  EXPECT_GE(checked, 15);
}

TEST(SkyDataFiles, SampleImagesLieInThePublishedDirectionsOfTheirObjects) {
  VELMORA_REQUIRE_SKY_DATA();
  struct Pub {
    const char* name;
    double ra, dec;    // J2000 position of the object (SIMBAD)
    double dist;       // in the model's unit
    const char* unit;  // the unit as the header names it
  };
  const Pub pub[] = {
      {"m51", 202.469575, 47.195258, 8580.0, "k-parsec"},  // 13 29 52.698 +47 11 42.93
      {"m31", 10.684708, 41.268750, 785.0, "k-parsec"},    // 00 42 44.33 +41 16 07.5
      {"m27", 299.901417, 22.721139, 405.0, "parsec"},     // 19 59 36.34 +22 43 16.1
      {"m1", 83.633083, 22.014500, 2000.0, "parsec"},      // 05 34 31.94 +22 00 52.2
  };
  for (const Pub& p : pub) {
    SCOPED_TRACE(p.name);
    const Obj o = readObj(root() + "/samples/" + std::string(p.name) + ".obj");
    ASSERT_EQ(o.v.size(), 4u);
    // The header names the unit of the distance and the frame, as the tool's export does.
    const std::string text = testsupport::readFile(root() + "/samples/" + std::string(p.name) + ".obj");
    EXPECT_NE(text.find(std::string("# - unit in this model is ") + p.unit +
                        "\n# - coordinate system is galactic\n"),
              std::string::npos);
    EXPECT_EQ(o.faces, 1);
    const Vec3 c = boxCentre(o.v);
    EXPECT_LT(angleDeg(c, equatorialToGalactic(angToVec(p.ra, p.dec))), 0.1);
    EXPECT_NEAR(std::sqrt(dot(c, c)), p.dist, p.dist * 1e-3);
    // Orientation: vertex i lies in the direction of corner i of the package's textures.json,
    // and carries the texture corner of that corner with t turned over, since the first row of
    // a PNM file (its top) reaches OpenGL as t = 0.
    std::string image;
    for (const SampleInfo& s : sampleList())
      if (s.name == p.name) image = s.image;
    PlacedImage placed;
    std::string jsonErr;
    ASSERT_TRUE(findPlacedImage(stellarium() + "/nebulae/default/textures.json", image, placed, jsonErr))
        << jsonErr;
    for (int i = 0; i < 4; ++i)
      EXPECT_LT(angleDeg(o.v[i], equatorialToGalactic(angToVec(placed.corners[i][0], placed.corners[i][1]))),
                1e-4)
          << i;
    EXPECT_NE(text.find("vt 0 1\nvt 1 1\nvt 1 0\nvt 0 0\n"), std::string::npos);
    EXPECT_NE(text.find("f 1/1 2/2 3/3 4/4\n"), std::string::npos);
    // The bottom-left corner (texture corner (0,0)) is the south-east one: north up, east left.
    EXPECT_LT(placed.corners[0][1], placed.corners[3][1]);
    const Obj m = readObj(root() + "/samples/" + std::string(p.name) + "-misplaced.obj");
    ASSERT_EQ(m.v.size(), 4u);
    EXPECT_GT(angleDeg(boxCentre(m.v), c), 1.0);
    EXPECT_EQ(m.mtllib, o.mtllib);
    const std::string mtl = testsupport::readFile(root() + "/samples/" + o.mtllib);
    EXPECT_NE(mtl.find("Td modulate " + std::string(p.name) + ".ppm\n"), std::string::npos);
    Image tex;
    std::string err;
    ASSERT_TRUE(readPPM(root() + "/samples/" + std::string(p.name) + ".ppm", tex, err)) << err;
    EXPECT_EQ(tex.width & (tex.width - 1), 0);  // powers of two: no rescaling at upload
    EXPECT_EQ(tex.height & (tex.height - 1), 0);
  }
}

TEST(SkyDataFiles, PleiadesModelHoldsTheClusterMembersAtTheirCatalogueDistances) {
  VELMORA_REQUIRE_SKY_DATA();
  const Obj o = readObj(root() + "/samples/pleiades.obj");
  ASSERT_GT(o.v.size(), 0u);
  EXPECT_EQ(o.v.size() % 6, 0u);
  EXPECT_EQ(o.faces, int(o.v.size() / 6 * 8));
  const size_t members = o.v.size() / 6;
  EXPECT_GE(members, 40u);
  EXPECT_EQ(members, pleiadesMembers(source()).size());
  // Alcyone (eta Tau, HIP 17702) is a member.
  bool alcyone = false;
  for (const HipStar& s : pleiadesMembers(source())) alcyone |= s.hip == 17702;
  EXPECT_TRUE(alcyone);
  Vec3 c = {0, 0, 0};
  for (const Vec3& p : o.v)
    for (int k = 0; k < 3; ++k) c[k] += p[k] / o.v.size();
  // The cluster: 03 47 00 +24 07 (J2000), about 120 to 136 pc.
  EXPECT_LT(angleDeg(c, equatorialToGalactic(angToVec(56.75, 24.1167))), 1.0);
  EXPECT_GT(std::sqrt(dot(c, c)), 110.0);
  EXPECT_LT(std::sqrt(dot(c, c)), 140.0);
}

TEST(SkyDataFiles, SpectralTemperatureScaleAgreesWithTheColoursOfTheCatalogueDwarfs) {
  VELMORA_REQUIRE_SKY_DATA();
  // For the main-sequence types from A0 to K9 the temperature of the map's scale and the
  // Ballesteros temperature of the median B-V of the catalogue's stars of that type agree within
  // 6 %; hotter stars are reddened and cooler ones leave the range of the B-V relation.
  std::map<std::string, std::vector<double>> bv;
  for (const HipStar& s : source().hip) {
    const SpectralParts p = parseSpectralType(s.spType);
    if (p.lum != "V" || p.num != std::floor(p.num)) continue;
    bv[p.cls + std::to_string(int(p.num)) + "(V)"].push_back(s.bv);
  }
  int compared = 0;
  bool inRange = false;
  for (const SpectralTemp& t : dwarfTemperatureScale()) {
    const std::string type = t.type;
    if (type == "A0(V)") inRange = true;
    if (inRange) {
      std::vector<double>& v = bv[type];
      ASSERT_GE(v.size(), 10u) << type;
      std::nth_element(v.begin(), v.begin() + v.size() / 2, v.end());
      EXPECT_NEAR(bvToTemperature(v[v.size() / 2]) / t.kelvin, 1.0, 0.06) << type;
      ++compared;
    }
    if (type == "K9(V)") inRange = false;
  }
  EXPECT_EQ(compared, 40);
}

TEST(SkyDataFiles, FastStarsStandAtTheirJ2000Positions) {
  VELMORA_REQUIRE_SKY_DATA();
  // Published J2000 positions (ICRS, epoch J2000; SIMBAD, from Gaia DR3 astrometry). The package
  // gave these stars where they stood at J1991.25, 36" to 62" short of these.
  struct Fast {
    const char* what;
    int hip;
    double ra, dec;  // degrees
  };
  const Fast fast[] = {
      {"61 Cyg A", 104214, 316.7247483, 38.7494161},      // 21 06 53.9396 +38 44 57.898
      {"Lacaille 9352", 114046, 346.4668154, -35.8530692},  // 23 05 52.0357 -35 51 11.049
      {"Groombridge 1830", 57939, 178.2448679, 37.7186778},  // 11 52 58.7683 +37 43 07.240
  };
  // The old positions sit at 8.2 to 8.5 years of motion from J2000 rather than 8.75: up to
  // 0.55 years of the fastest star's 7"/yr is left, under 4".
  constexpr double kToleranceArcsec = 4.5;
  const StarFile& f = fullSet();
  const Catalog& cat = source();
  for (const Fast& k : fast) {
    SCOPED_TRACE(k.what);
    auto it = f.byHic.find(k.hip);
    ASSERT_NE(it, f.byHic.end());
    const Line& s = f.lines[it->second];
    const Vec3 eq = galacticToEquatorial(normalized(Vec3{s.x, s.y, s.z}));
    const double sep = angleDeg(eq, angToVec(k.ra, k.dec)) * 3600.0;
    EXPECT_LT(sep, kToleranceArcsec);
    // And where the package's own position and motion put it after 8.75 years.
    const int i = findHip(cat, k.hip);
    ASSERT_GE(i, 0);
    const HipStar& h = cat.hip[i];
    const double years = kJ2000 - kHipparcosEpoch;
    const double moved = std::hypot(h.pmRaMasYr, h.pmDecMasYr) * years / 1000.0;
    const double fromSource = angleDeg(eq, angToVec(h.raDeg, h.decDeg)) * 3600.0;
    EXPECT_NEAR(fromSource, moved, 0.01);
    EXPECT_GT(fromSource, 30.0);
  }
  // Barnard's star already stood at J2000 (17 57 48.498 +04 41 36.21, SIMBAD) and stays there.
  const Line& b = f.lines[f.byHic.at(87937)];
  const Vec3 eq = galacticToEquatorial(normalized(Vec3{b.x, b.y, b.z}));
  EXPECT_LT(angleDeg(eq, angToVec(269.4520750, 4.6933917)) * 3600.0, 1.0);
  // The header names the stars moved.
  std::ifstream in(testsupport::starSetPath(1));
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(text.find("# Brought from J1991.25 to J2000: HIP 473,"), std::string::npos);
  EXPECT_NE(text.find(" HIP 104214,"), std::string::npos);
  EXPECT_NE(text.find(" HIP 114046,"), std::string::npos);
  EXPECT_EQ(text.find(" HIP 87937,"), std::string::npos);
}

TEST(SkyDataFiles, MultipleStarsShineWithTheSummedLightOfTheirComponents) {
  VELMORA_REQUIRE_SKY_DATA();
  const StarFile& f = fullSet();
  const Line& castor = f.lines[f.byHic.at(36850)];
  const double d = std::sqrt(castor.x * castor.x + castor.y * castor.y + castor.z * castor.z);
  const double v = -2.5 * std::log10(castor.lum) + 5 * std::log10(d) - 5;
  // Castor, A and B together: V = 1.58 (ESA 1997, The Hipparcos Catalogue, ESA SP-1200, HIP 36850,
  // field H5). The package's two records are quantised to 0.05 mag; A alone is 1.90.
  EXPECT_NEAR(v, 1.58, 0.05);
  EXPECT_EQ(castor.name, "Castor");
  // Each star of several records: V from their summed V fluxes, B-V from their summed B and V.
  const Catalog& cat = source();
  std::map<int, std::vector<const CatRecord*>> records;
  for (const CatRecord& r : cat.all)
    if (r.hip) records[r.hip].push_back(&r);
  int multiple = 0;
  for (const HipStar& s : cat.hip) {
    const auto& rs = records.at(s.hip);
    EXPECT_EQ(s.components, int(rs.size()));
    if (rs.size() < 2) continue;
    ++multiple;
    double fv = 0, fb = 0, brightest = 99;
    for (const CatRecord* r : rs) {
      fv += std::pow(10.0, -0.4 * r->vmag);
      fb += std::pow(10.0, -0.4 * (r->vmag + r->bv));
      brightest = std::fmin(brightest, r->vmag);
    }
    const double vSum = -2.5 * std::log10(fv);
    ASSERT_NEAR(s.vmag, vSum, 1e-9) << s.hip;
    ASSERT_NEAR(s.bv, -2.5 * std::log10(fb) - vSum, 1e-9) << s.hip;
    ASSERT_LT(s.vmag, brightest) << s.hip;
  }
  EXPECT_EQ(multiple, 11236);
  // Acrux and Arcturus (whose second record is a companion the reduction split off) too.
  for (int hip : {60718, 69673}) {
    const int i = findHip(cat, hip);
    ASSERT_GE(i, 0);
    EXPECT_EQ(cat.hip[i].components, 2) << hip;
  }
}

TEST(SkyDataFiles, ParallaxesAreCreditedToTheMissionsTheyComeFrom) {
  VELMORA_REQUIRE_SKY_DATA();
  const StarFile& f = fullSet();
  // Published parallaxes and errors: Barnard's star 547.4506 +- 0.2899 mas (Gaia DR2, Gaia
  // Collaboration 2018, source 4472832130942575872); Sirius 379.21 +- 1.58 mas (van Leeuwen 2007,
  // too bright for Gaia DR2).
  struct Plx {
    int hip;
    double plx, err;
    ParallaxSource source;
  };
  const Plx known[] = {{87937, 547.4506, 0.2899, ParallaxSource::GaiaDR2},
                       {32349, 379.21, 1.58, ParallaxSource::Hipparcos2007}};
  const Catalog& cat = source();
  for (const Plx& k : known) {
    SCOPED_TRACE(k.hip);
    const Line& s = f.lines[f.byHic.at(k.hip)];
    EXPECT_NEAR(s.distErr, k.err / k.plx, 1e-5);
    EXPECT_EQ(cat.hip[findHip(cat, k.hip)].plxSource, k.source);
  }
  EXPECT_EQ(parallaxSourceOf("0.0606"), ParallaxSource::GaiaDR2);
  EXPECT_EQ(parallaxSourceOf("1.58"), ParallaxSource::Hipparcos2007);
  EXPECT_EQ(parallaxSourceOf("1.3"), ParallaxSource::Hipparcos2007);
  int gaia = 0, hip2007 = 0, unknown = 0;
  for (const HipStar& s : cat.hip) {
    if (s.plxMas <= 0) continue;
    gaia += s.plxSource == ParallaxSource::GaiaDR2;
    hip2007 += s.plxSource == ParallaxSource::Hipparcos2007;
    unknown += s.plxSource == ParallaxSource::Unknown;
  }
  EXPECT_EQ(gaia, 108643);
  EXPECT_EQ(hip2007, 8545);
  EXPECT_EQ(unknown, 215);
  const std::string credit =
      "# Parallaxes of the full set: 108643 from Gaia DR2 (Gaia Collaboration, Brown et al. 2018,\n"
      "# A&A 616, A1), 8545 from the Hipparcos new reduction (van Leeuwen 2007, A&A 474, 653), told\n"
      "# apart by the precision of their errors in the package's hip_plx_err.dat; 215 without an\n"
      "# error there, of a source the package does not tell.\n";
  for (int n : {1, 12}) {
    std::ifstream in(testsupport::starSetPath(n));
    std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    EXPECT_NE(text.find(credit), std::string::npos) << n;
    EXPECT_EQ(text.find("Gaia DR2 for a few nearby stars"), std::string::npos) << n;
  }
  std::ifstream in(root() + "/data/SOURCES.md");
  std::string sources((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(sources.find("parallaxes: 108643 from Gaia DR2 (Gaia Collaboration, Brown et al. 2018, A&A 616, A1) "
                         "and 8545 from the Hipparcos new reduction (van Leeuwen 2007, A&A 474, 653)"),
            std::string::npos);
}

TEST(SkyDataFiles, AlbireoHeadsCygnusWithTheHdNumberOfTheSecondCatalogue) {
  VELMORA_REQUIRE_SKY_DATA();
  // The package's cross-identification gives Albireo (HIP 95947) no HD number; the second
  // catalogue's does: HD 183912 (beta1 Cyg, Henry Draper Catalogue; SIMBAD).
  EXPECT_EQ(source().hip[findHip(source(), 95947)].hd, 0);
  const Catalog& cat = mended();
  EXPECT_EQ(cat.hip[findHip(cat, 95947)].hd, 183912);
  EXPECT_EQ(cat.hdFromSecondCatalogue.size(), 19u);
  // Every HD number filled is one the package's cross-identification gives no other star.
  std::map<int, int> hdCount;
  for (const HipStar& s : source().hip)
    if (s.hd > 0) ++hdCount[s.hd];
  for (int hip : cat.hdFromSecondCatalogue) EXPECT_EQ(hdCount.count(cat.hip[findHip(cat, hip)].hd), 0u) << hip;
  // Cygnus's figure: the line from Sadr (HD 194093) through eta Cyg (HD 188947) ends at Albireo.
  std::ifstream in(root() + "/data/stardata/constellation.txt");
  std::string l, figure;
  bool cyg = false;
  while (std::getline(in, l)) {
    if (l.rfind("CONSTELLATION ", 0) == 0) cyg = l == "CONSTELLATION Cyg Cygnus";
    if (cyg && l.rfind("HD", 0) == 0) figure += l + " ";
    if (cyg && l == "END LINE") figure += "| ";
  }
  EXPECT_NE(figure.find("HD194093 HD188947 HD183912 | "), std::string::npos) << figure;
  // Albireo is in every star set, the brightest included, as a figure star.
  for (int n = 1; n <= 12; ++n) {
    const StarFile f = readStarFile(n);
    auto it = f.byHic.find(95947);
    ASSERT_NE(it, f.byHic.end()) << n;
    EXPECT_EQ(f.lines[it->second].hd, 183912);
    EXPECT_EQ(f.lines[it->second].name, "Albireo");
  }
}

TEST(SkyDataFiles, GammaRayMapMarksTheSkyItDoesNotCoverApartFromZeroCounts) {
  VELMORA_REQUIRE_SKY_DATA();
  // The Fermi-LAT counts of the package cover |l| <= 20, |b| <= 10.
  const Image m = map("fermi.ppm");
  ASSERT_EQ(m.width, 1024);
  int outside = 0, outsideMarked = 0, inside = 0, insideMarked = 0, insideGrey = 0, insideBlack = 0;
  for (int y = 0; y < m.height; ++y)
    for (int x = 0; x < m.width; ++x) {
      double l, b;
      pixelToLb(x, y, m.width, m.height, l, b);
      if (l > 180) l -= 360;
      const uint8_t* p = &m.rgb[(size_t(y) * m.width + x) * 3];
      const bool marked = p[0] == 24 && p[1] == 24 && p[2] == 40;
      // Leave the pixels on the edge of the covered box to either side.
      const bool in = std::fabs(l) < 19.8 && std::fabs(b) < 9.8, out = std::fabs(l) > 20.2 || std::fabs(b) > 10.2;
      if (out) {
        ++outside;
        outsideMarked += marked;
      } else if (in) {
        ++inside;
        insideMarked += marked;
        insideGrey += p[0] == p[1] && p[1] == p[2];
        insideBlack += p[0] == 0 && p[1] == 0 && p[2] == 0;
      }
    }
  EXPECT_EQ(outsideMarked, outside);
  EXPECT_EQ(insideMarked, 0);
  EXPECT_EQ(insideGrey, inside);
  EXPECT_GT(inside, 6000);
  // Pixels without a count stay black, told apart from the sky without data.
  EXPECT_GT(insideBlack, 0);
  // The texture list says what the colours mean.
  std::ifstream in(root() + "/Images/ALL.texture");
  std::string text((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  EXPECT_NE(text.find("# elsewhere there is no data, shown as a dim blue-grey (24 24 40) apart from any count; "
                      "10 GeV.\n"),
            std::string::npos);
}

TEST(SkyDataFiles, StarlightMapsAreSmoothedByTheirBeamKeepingTheLight) {
  VELMORA_REQUIRE_SKY_DATA();
  // Mean difference of horizontally neighbouring pixels, away from the poles' stretched rows.
  auto contrast = [](const Image& m) {
    double sum = 0;
    long n = 0;
    for (int y = m.height / 6; y < m.height * 5 / 6; ++y)
      for (int x = 0; x < m.width; ++x, ++n) sum += std::fabs(px(m, (x + 1) % m.width, y) - px(m, x, y));
    return sum / double(n);
  };
  for (const char band : {'B', 'V'}) {
    SCOPED_TRACE(band);
    const Image built = map(std::string("starlight_") + band + ".ppm");
    const std::vector<double> raw = starlightFlux(source().all, band, built.width, built.height);
    const Image perPixel = starlightImage(raw, built.width, built.height);
    const double before = contrast(perPixel), after = contrast(built);
    EXPECT_GT(before, 20.0);
    EXPECT_LT(after, before / 4) << before << " " << after;
    // The light kept: the sum of surface brightness times each pixel's area (cos b).
    const std::vector<double> smooth =
        smoothOnSphere(raw, built.width, built.height, kStarlightBeamFwhmDeg);
    double total0 = 0, total1 = 0;
    for (int y = 0; y < built.height; ++y) {
      double l, b;
      pixelToLb(0, y, built.width, built.height, l, b);
      const double area = std::cos(b * kRadiansPerDegree);
      for (int x = 0; x < built.width; ++x) {
        total0 += raw[size_t(y) * built.width + x] * area;
        total1 += smooth[size_t(y) * built.width + x] * area;
      }
    }
    EXPECT_NEAR(total1 / total0, 1.0, 1e-12);
    // The built map is the smoothed one.
    EXPECT_EQ(starlightImage(smooth, built.width, built.height).rgb, built.rgb);
  }
  // A single star spreads to the beam: half its peak about 0.5 degree (1.4 pixels) from it.
  std::vector<double> one(1024 * 512, 0.0);
  one[size_t(256) * 1024 + 100] = 1.0;
  const std::vector<double> spread = smoothOnSphere(one, 1024, 512, kStarlightBeamFwhmDeg);
  const double peak = spread[size_t(256) * 1024 + 100];
  EXPECT_GT(spread[size_t(256) * 1024 + 101], 0.5 * peak);
  EXPECT_LT(spread[size_t(256) * 1024 + 102], 0.5 * peak);
  EXPECT_GT(spread[size_t(257) * 1024 + 100], 0.5 * peak);
  EXPECT_LT(spread[size_t(258) * 1024 + 100], 0.5 * peak);
}
