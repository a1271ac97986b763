// Unit checks of the data builders on small inputs made here: geometry, catalogue decoding and
// its faults, spectral types, colours, images and the placement of sample images.
#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "tests/support/testutil.h"
#include "skydata/constell.h"
#include "skydata/hipcat.h"
#include "skydata/refcat.h"
#include "skydata/samples.h"
#include "skydata/skymaps.h"
#include "skydata/skymath.h"
#include "skydata/starcolor.h"
#include "skydata/starfile.h"

using namespace skydata;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

double angle(const Vec3& a, const Vec3& b) {
  return std::acos(std::fmin(1.0, dot(normalized(a), normalized(b)))) / kRadiansPerDegree;
}

void put32(std::string& s, uint32_t v) {
  for (int i = 0; i < 4; ++i) s += char((v >> (8 * i)) & 0xFF);
}

// A catalogue of level 0 (20 zones) with one star in zone `zone` at the zone centre.
std::string tinyCatalog(int zone, uint32_t hip, uint8_t bv, uint8_t mag, int32_t plx) {
  std::string s;
  for (uint32_t v : {0x835f040au, 0u, 0u, 8u, 0u, uint32_t(-2000), 8000u, 256u}) put32(s, v);
  for (int z = 0; z < 20; ++z) put32(s, z == zone ? 1 : 0);
  put32(s, hip);
  put32(s, 0);
  put32(s, 0);
  s += char(bv);
  s += char(mag);
  s += '\0';
  s += '\0';
  put32(s, 0);
  put32(s, 0);
  put32(s, uint32_t(plx));
  return s;
}

}  // namespace

TEST(SkyMath, GalacticPoleAndCentreFollowTheIauDefinition) {
  double l, b, ra, dec;
  raDecToLb(192.85948, 27.12825, l, b);
  EXPECT_NEAR(b, 90.0, 1e-9);
  raDecToLb(0.0, 90.0, l, b);
  EXPECT_NEAR(l, 122.93192, 1e-7);
  EXPECT_NEAR(b, 27.12825, 1e-7);
  lbToRaDec(0.0, 0.0, ra, dec);  // the galactic centre, 17h45m37.2s -28d56m10s
  EXPECT_NEAR(ra, 266.40499, 1e-4);
  EXPECT_NEAR(dec, -28.93617, 1e-4);
}

TEST(SkyMath, RotationIsOrthonormalAndInvertible) {
  const Vec3 v = normalized(Vec3{0.3, -0.5, 0.8});
  const Vec3 g = equatorialToGalactic(v);
  EXPECT_NEAR(dot(g, g), 1.0, 1e-12);
  const Vec3 back = galacticToEquatorial(g);
  for (int k = 0; k < 3; ++k) EXPECT_NEAR(back[k], v[k], 1e-12);
}

TEST(SkyMath, AngleBetweenDirectionsIsExactForTinyAnglesAndAnyLengths) {
  EXPECT_NEAR(angleBetween({1, 0, 0}, {0, 2, 0}), kPi / 2, 1e-15);
  EXPECT_NEAR(angleBetween({3, 0, 0}, {-1, 0, 0}), kPi, 1e-15);
  // One milliarcsecond, where the arc cosine of a dot product would give 0.
  const double mas = kRadiansPerDegree / kMasPerDegree;
  EXPECT_NEAR(angleBetween({1000, 0, 0}, {std::cos(mas), std::sin(mas), 0}) / mas, 1.0, 1e-9);
}

TEST(HipCatalog, DecodesAStarAtTheCentreOfItsZone) {
  TempDir dir;
  writeFile(dir.file("c.cat"), tinyCatalog(5, 1234 | (2u << 24), 127, 128, 37921));
  std::vector<CatRecord> recs;
  std::string err;
  ASSERT_TRUE(readCatalogFile(dir.file("c.cat"), recs, err)) << err;
  ASSERT_EQ(recs.size(), 1u);
  EXPECT_EQ(recs[0].hip, 1234);
  EXPECT_EQ(recs[0].component, 2);
  EXPECT_NEAR(recs[0].vmag, (-2000 + 128 * 8000.0 / 256) / 1000.0, 1e-9);
  EXPECT_NEAR(recs[0].bv, 127 * 4.0 / 127 - 0.5, 1e-9);
  EXPECT_NEAR(recs[0].plxMas, 379.21, 1e-9);
  // Zone 5 is the triangle of corners 6, 7, 0: its centre is the normalised sum.
  const double G = (1 + std::sqrt(5.0)) / 2, bb = 1 / std::sqrt(1 + G * G), a = bb * G;
  const Vec3 c = normalized(Vec3{0 + 0 + a, -a - a - bb, bb - bb + 0});
  EXPECT_LT(angle(angToVec(recs[0].raDeg, recs[0].decDeg), c), 1e-9);
}

TEST(HipCatalog, RefusesDamagedFilesWithoutReadingPastTheEnd) {
  TempDir dir;
  std::vector<CatRecord> recs;
  std::string err;
  const std::string good = tinyCatalog(0, 7, 10, 10, 100);
  writeFile(dir.file("short.cat"), good.substr(0, good.size() - 5));  // ends inside the record
  EXPECT_FALSE(readCatalogFile(dir.file("short.cat"), recs, err));
  EXPECT_NE(err.find("ends inside its records"), std::string::npos);
  writeFile(dir.file("head.cat"), good.substr(0, 40));  // ends inside the zone table
  EXPECT_FALSE(readCatalogFile(dir.file("head.cat"), recs, err));
  EXPECT_NE(err.find("zone table"), std::string::npos);
  std::string bad = good;
  bad[0] = 0;  // wrong magic
  writeFile(dir.file("magic.cat"), bad);
  EXPECT_FALSE(readCatalogFile(dir.file("magic.cat"), recs, err));
  EXPECT_NE(err.find("not a catalogue"), std::string::npos);
  EXPECT_FALSE(readCatalogFile(dir.file("missing.cat"), recs, err));
  EXPECT_NE(err.find("cannot open"), std::string::npos);
  std::string huge = good;
  huge[32] = char(0xFF);  // a zone count far beyond the file
  huge[35] = char(0x7F);
  writeFile(dir.file("count.cat"), huge);
  EXPECT_FALSE(readCatalogFile(dir.file("count.cat"), recs, err));
}

TEST(SpectralType, ParsesClassSubclassAndLuminosityClass) {
  auto p = parseSpectralType("A1V+DA");
  EXPECT_EQ(p.cls, "A");
  EXPECT_DOUBLE_EQ(p.num, 1);
  EXPECT_EQ(p.lum, "V");
  p = parseSpectralType("M1-M2Ia-Iab");
  EXPECT_EQ(p.cls, "M");
  EXPECT_EQ(p.lum, "I");
  p = parseSpectralType("B0.5IIIe");
  EXPECT_DOUBLE_EQ(p.num, 0.5);
  EXPECT_EQ(p.lum, "III");
  p = parseSpectralType("K5+III");  // a modifier, not a companion
  EXPECT_EQ(p.lum, "III");
  p = parseSpectralType("G8IV-V");
  EXPECT_EQ(p.lum, "IV");
  p = parseSpectralType("WC8+O9I");
  EXPECT_EQ(p.cls, "WC");
  EXPECT_DOUBLE_EQ(p.num, 8);
  EXPECT_EQ(p.lum, "");
  p = parseSpectralType("DA2");
  EXPECT_EQ(p.cls, "DA");
  EXPECT_EQ(p.lum, "");
  p = parseSpectralType("kA2hF0mA5V");
  EXPECT_EQ(p.cls, "A");
  p = parseSpectralType("");
  EXPECT_EQ(p.cls, "--");
  EXPECT_EQ(p.lum, "");
}

TEST(StarLine, WritesTheFieldsOfTheStarFormat) {
  HipStar s;
  s.hip = 32349;
  s.raDeg = 101.28716;
  s.decDeg = -16.71612;
  s.vmag = -1.45;
  s.bv = 0.0;
  s.plxMas = 379.21;
  s.plxErrMas = 1.58;
  s.pmRaMasYr = -546.01;
  s.pmDecMasYr = -1223.07;
  s.spType = "A1V+DA";
  s.hd = 48915;
  s.name = "Sirius";
  const std::string line = starLine(s);
  double v[16];
  char cls[8], lum[8], name[64];
  float num;
  int hd, hic;
  const int n = std::sscanf(
      line.c_str(), "%lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %7s %f %7s %d %d %63s",
      &v[0], &v[1], &v[2], &v[3], &v[4], &v[5], &v[6], &v[7], &v[8], &v[9], &v[10], &v[11], &v[12], &v[13],
      &v[14], &v[15], cls, &num, lum, &hd, &hic, name);
  ASSERT_EQ(n, 22) << line;
  EXPECT_NEAR(std::sqrt(v[0] * v[0] + v[1] * v[1] + v[2] * v[2]), 1000.0 / 379.21, 1e-6);
  EXPECT_NEAR(v[3], 1.58 / 379.21, 1e-6);
  // Tangential speed: one AU per year per arcsec/yr and parsec.
  EXPECT_NEAR(std::sqrt(v[4] * v[4] + v[5] * v[5] + v[6] * v[6]), kKmPerSecondPerAuPerYear * 1.33945 * 2.637,
              0.01);
  EXPECT_NEAR(v[11], std::pow(10.0, -0.4 * (-1.45 + 5 * std::log10(379.21) - 10)), 1e-3);
  EXPECT_STREQ(cls, "A");
  EXPECT_FLOAT_EQ(num, 1);
  EXPECT_STREQ(lum, "V");
  EXPECT_EQ(hd, 48915);
  EXPECT_EQ(hic, 32349);
  EXPECT_STREQ(name, "Sirius");
  // The velocity is square to the line of sight: no radial part.
  EXPECT_NEAR(v[0] * v[4] + v[1] * v[5] + v[2] * v[6], 0.0, 1e-4);  // printed to six digits
  // Its east and north parts are those of the proper motion: Sirius moves west and south.
  const Vec3 vEq = galacticToEquatorial(Vec3{v[4], v[5], v[6]});
  const double ra = 101.28716 * kRadiansPerDegree, dec = -16.71612 * kRadiansPerDegree;
  const Vec3 east = {-std::sin(ra), std::cos(ra), 0};
  const Vec3 north = {-std::sin(dec) * std::cos(ra), -std::sin(dec) * std::sin(ra), std::cos(dec)};
  const double k = kKmPerSecondPerAuPerYear * (1000.0 / 379.21) / 1000.0;  // km/s per mas/yr at Sirius
  EXPECT_NEAR(dot(vEq, east), k * -546.01, 0.01);
  EXPECT_NEAR(dot(vEq, north), k * -1223.07, 0.01);
}

TEST(StarLine, NamesWithBlanksAndMissingParts) {
  HipStar s;
  s.hip = 87937;
  s.raDeg = 269.45;
  s.decDeg = 4.69;
  s.vmag = 9.5;
  s.plxMas = 547.45;
  s.name = "Barnard's Star";
  const std::string line = starLine(s);
  EXPECT_NE(line.find(" -- 0 V 0 87937 Barnard's Star\n"), std::string::npos) << line;
  HipStar none = s;
  none.plxMas = 0;
  EXPECT_FALSE(hasUsableParallax(none));
  EXPECT_FALSE(inSet(none, 12));
  EXPECT_TRUE(inSet(s, 10));
  EXPECT_FALSE(inSet(s, 9));
}

TEST(StarColor, BallesterosTemperatureAndBlackbodyColours) {
  EXPECT_NEAR(bvToTemperature(0.65), 5770, 150);  // the Sun
  EXPECT_NEAR(bvToTemperature(0.0), 10000, 600);
  double x, y, z;
  cieMatch(599.8, x, y, z);  // peak of the red lobe of x-bar
  EXPECT_NEAR(x,
              1.056 + 0.362 * std::exp(-0.5 * std::pow((599.8 - 442) / 26.7, 2)) -
                  0.065 * std::exp(-0.5 * std::pow((599.8 - 501.1) / 26.2, 2)),
              1e-12);
  // A blackbody of 6504 K is near the white point D65: x = 0.3127, y = 0.3290.
  blackbodyXYZ(6504, x, y, z);
  EXPECT_NEAR(x / (x + y + z), 0.3135, 0.006);
  EXPECT_NEAR(y / (x + y + z), 0.3237, 0.006);
  const RGB hot = blackbodyRGB(30000), cool = blackbodyRGB(3000);
  EXPECT_DOUBLE_EQ(hot.b, 1.0);
  EXPECT_LT(hot.r, hot.b);
  EXPECT_DOUBLE_EQ(cool.r, 1.0);
  EXPECT_LT(cool.b, cool.g);
}

TEST(StarColor, MapTextsHaveTheirCountsAndSources) {
  const std::string bv = bvColorMapText(16, -0.4, 2.0);
  EXPECT_NE(bv.find("Ballesteros"), std::string::npos);
  EXPECT_NE(bv.find("Wyman"), std::string::npos);
  EXPECT_NE(bv.find("\n16\n"), std::string::npos);
  const std::string sp = spectralColorMapText();
  EXPECT_NE(sp.find("Pecaut"), std::string::npos);
  EXPECT_NE(sp.find("\nG2(V) "), std::string::npos);
  EXPECT_NE(sp.find("Martins, Schaerer & Hillier (2005, A&A 436, 1049)"), std::string::npos);
  // The temperature scale falls from O to M.
  const auto& scale = dwarfTemperatureScale();
  for (size_t i = 1; i < scale.size(); ++i) EXPECT_LT(scale[i].kelvin, scale[i - 1].kelvin) << scale[i].type;
}

TEST(StarColor, TemperatureScaleHoldsThePublishedAnchors) {
  std::map<std::string, double> t;
  for (const SpectralTemp& e : dwarfTemperatureScale()) t[e.type] = e.kelvin;
  EXPECT_EQ(t.size(), 67u);  // O3 to O9, then B0 to M9
  // O dwarfs: the observational scale of Martins et al. (2005), 44852 K at O3 falling by 1995 K
  // per subtype, rounded to 100 K.
  const char* oTypes[] = {"O3(V)", "O4(V)", "O5(V)", "O6(V)", "O7(V)", "O8(V)", "O9(V)"};
  for (int k = 0; k < 7; ++k) EXPECT_NEAR(t[oTypes[k]], 44852 - 1995 * k, 50) << oTypes[k];
  EXPECT_DOUBLE_EQ(t["B0(V)"], 31400);
  EXPECT_DOUBLE_EQ(t["A0(V)"], 9700);
  EXPECT_DOUBLE_EQ(t["F0(V)"], 7220);
  EXPECT_DOUBLE_EQ(t["G2(V)"], 5770);  // the Sun: 5772 K nominal (IAU 2015 B3)
  EXPECT_DOUBLE_EQ(t["K0(V)"], 5270);
  EXPECT_DOUBLE_EQ(t["M0(V)"], 3850);
  EXPECT_DOUBLE_EQ(t["M9(V)"], 2380);
  // The spectral map's colour of a type is that of its blackbody.
  const std::string sp = spectralColorMapText();
  const size_t at = sp.find("\nG2(V) ");
  ASSERT_NE(at, std::string::npos);
  int r, g, b;
  ASSERT_EQ(std::sscanf(sp.c_str() + at + 8, "%*f %*f %d %d %d", &r, &g, &b), 3);
  const RGB sun = blackbodyRGB(5770);
  EXPECT_EQ(r, int(std::lround(sun.r * 255)));
  EXPECT_EQ(g, int(std::lround(sun.g * 255)));
  EXPECT_EQ(b, int(std::lround(sun.b * 255)));
}

TEST(SkyMaps, PixelsMapLongitudeToTheRightAndTheNorthPoleToTheTop) {
  double l, b;
  pixelToLb(0, 0, 1024, 512, l, b);
  EXPECT_NEAR(l, 0.17578125, 1e-9);
  EXPECT_NEAR(b, 90 - 0.17578125, 1e-9);
  pixelToLb(1023, 511, 1024, 512, l, b);
  EXPECT_NEAR(l, 360 - 0.17578125, 1e-9);
  EXPECT_NEAR(b, -90 + 0.17578125, 1e-9);
  int x, y;
  lbToPixel(-10, 0, 1024, 512, x, y);
  EXPECT_EQ(x, int(350.0 * 1024 / 360));
  EXPECT_EQ(y, 256);
}

TEST(SkyMaps, PpmRoundTripAndDamagedFiles) {
  TempDir dir;
  Image img{2, 1, {1, 2, 3, 4, 5, 6}};
  std::string err;
  ASSERT_TRUE(writePPM(dir.file("a.ppm"), img, err));
  EXPECT_EQ(testsupport::readFile(dir.file("a.ppm")), std::string("P6\n2 1\n255\n\1\2\3\4\5\6", 17));
  Image back;
  ASSERT_TRUE(readPPM(dir.file("a.ppm"), back, err));
  EXPECT_EQ(back.rgb, img.rgb);
  writeFile(dir.file("short.ppm"), "P6\n4 4\n255\nabc");
  EXPECT_FALSE(readPPM(dir.file("short.ppm"), back, err));
  EXPECT_NE(err.find("shorter"), std::string::npos);
  writeFile(dir.file("p3.ppm"), "P3\n1 1\n255\n1 2 3\n");
  EXPECT_FALSE(readPPM(dir.file("p3.ppm"), back, err));
}

TEST(SkyMaps, StarlightLandsOnThePixelOfTheStar) {
  std::vector<CatRecord> recs(1);
  recs[0].raDeg = 101.28716;  // Sirius: l 227.23, b -8.89
  recs[0].decDeg = -16.71612;
  recs[0].vmag = -1.45;
  recs[0].bv = 0.0;
  const std::vector<double> f = starlightFlux(recs, 'V', 360, 180);
  int x, y;
  lbToPixel(227.2303, -8.8903, 360, 180, x, y);
  EXPECT_NEAR(f[y * 360 + x], std::pow(10.0, 0.4 * 1.45) / std::cos((90 - (y + 0.5)) * kRadiansPerDegree),
              1e-9);
  double sum = 0;
  for (double v : f) sum += v;
  EXPECT_NEAR(sum, f[y * 360 + x], 1e-12);
}

TEST(Samples, ReadsCornersFromTheLooseJsonAndPlacesAFlatQuad) {
  TempDir dir;
  writeFile(dir.file("t.json"),
            "{\n\t\"subTiles\" : [\n\t{\n\t\t\"imageCredits\" : {\"short\" : \"Someone\"},\n"
            "\t\t\"imageUrl\" : \"x.png\",\n"
            "\t\t\"worldCoords\" : [[[10.5, -.5], [9.5,-.5], [9.5, .5], [10.5,.5]]],\n"
            "\t\t\"textureCoords\" : [[[0,0], [1,0], [1,1], [0,1]]]\n\t}\n\t]\n}\n");
  PlacedImage img;
  std::string err;
  ASSERT_TRUE(findPlacedImage(dir.file("t.json"), "x.png", img, err)) << err;
  EXPECT_DOUBLE_EQ(img.corners[0][0], 10.5);
  EXPECT_DOUBLE_EQ(img.corners[0][1], -0.5);
  EXPECT_DOUBLE_EQ(img.corners[3][1], 0.5);
  EXPECT_EQ(img.credit, "Someone");
  EXPECT_FALSE(findPlacedImage(dir.file("t.json"), "y.png", img, err));
  EXPECT_EQ(err, "no entry for [y.png] in [" + dir.file("t.json") + "]");
  // An entry cut off before its end, or with no opening brace, is refused.
  writeFile(dir.file("cut.json"),
            "\"imageCredits\" : {},\n\"imageUrl\" : \"x.png\",\n\"worldCoords\" : [[[1, 2]");
  EXPECT_FALSE(findPlacedImage(dir.file("cut.json"), "x.png", img, err));
  EXPECT_EQ(err, "damaged entry for [x.png] in [" + dir.file("cut.json") + "]");
  const std::vector<Vec3> q = quadCorners(img, 100.0);
  // Flat: the normal of three corners is square to the fourth edge.
  Vec3 e1, e2, e3;
  for (int k = 0; k < 3; ++k) {
    e1[k] = q[1][k] - q[0][k];
    e2[k] = q[2][k] - q[0][k];
    e3[k] = q[3][k] - q[0][k];
  }
  EXPECT_NEAR(dot(normalized(cross(e1, e2)), e3), 0.0, 1e-9);
  Vec3 c = {0, 0, 0};
  for (auto& p : q)
    for (int k = 0; k < 3; ++k) c[k] += p[k] / 4;
  EXPECT_LT(angle(c, equatorialToGalactic(angToVec(10.0, 0.0))), 1e-3);
  // The misplaced twin: same size of list, moved and scaled.
  const std::vector<Vec3> m = misplace(q);
  ASSERT_EQ(m.size(), 4u);
  Vec3 mc = {0, 0, 0};
  for (auto& p : m)
    for (int k = 0; k < 3; ++k) mc[k] += p[k] / 4;
  EXPECT_GT(angle(mc, c), 2.0);
  EXPECT_NEAR(std::sqrt(dot(Vec3{m[1][0] - m[0][0], m[1][1] - m[0][1], m[1][2] - m[0][2]},
                            Vec3{m[1][0] - m[0][0], m[1][1] - m[0][1], m[1][2] - m[0][2]})),
              1.3 * std::sqrt(dot(e1, e1)), 1e-9);
}

TEST(SkyDataBuilder, MissingPackagesGiveAClearErrorAndStatusOne) {
  TempDir dir;
  const std::string bin = testsupport::binaryDir() + "/velmora-skydata";
  testsupport::RunResult r = testsupport::run(bin + " --pkgs " + dir.file("none") + " --out " + dir.path());
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err.rfind("Err: velmora-skydata: cannot open [" + dir.file("none"), 0), 0u) << r.err;
  EXPECT_FALSE(testsupport::fileExists(dir.file("data/stardata/HIP/hip.1.star")));
  r = testsupport::run(bin);
  EXPECT_EQ(r.status, 2);
  EXPECT_EQ(r.err, "usage: velmora-skydata --pkgs <unpacked packages> --out <data root>\n");
}

namespace {

// A small tree in the layout of the stellarium-data package, with made-up figures and boundaries.
void writeSkyTree(TempDir& dir, const std::string& figures) {
  const std::string sc = dir.path() + "/skycultures/western";
  ASSERT_EQ(
      std::system(("mkdir -p " + sc + " " + dir.path() + "/stars/default " + dir.path() + "/data").c_str()),
      0);
  writeFile(sc + "/constellation_names.eng.fab",
            "Aaa\t\"Aaa\"\t_(\"First One\")\nBbb\t\"Bbb\"\t_(\"Second\")\n");
  writeFile(sc + "/constellationship.fab", figures);
  writeFile(dir.path() + "/stars/default/name.fab", "3|alpha_Bbb\n");
  writeFile(dir.path() + "/data/constellation_boundaries.dat",
            "2 1.0 10.0 2.0 10.0 2 AAA BBB\n3 2.0 10.0 2.0 20.0 1.0 20.0 2 AAA CCC\n2 1.0 20.0 1.0 10.0 2 "
            "AAA DDD\n");
}

// The made-up sky: two constellations, the second's boundary left open.
const SkyShape kSmallSky{2, false};

Catalog smallCatalog() {
  Catalog cat;
  for (int hip = 1; hip <= 7; ++hip) {
    HipStar s;
    s.hip = hip;
    s.hd = hip == 6 ? 0 : 100 + hip;  // star 6 has no HD number
    s.plxMas = 10;
    cat.hip.push_back(s);
  }
  return cat;
}

}  // namespace

TEST(Constellations, FiguresBoundariesAndSharedStarsAsTheReaderTakesThem) {
  TempDir dir;
  writeSkyTree(dir, "Aaa 3 1 2 2 3 5 6\nBbb 2 3 4 4 7\n");
  std::string text, err;
  ConstellationStats st;
  ASSERT_TRUE(constellationText(dir.path(), smallCatalog(), text, st, err, kSmallSky)) << err;
  // The name starts at column 18; a star with no HD number breaks its segment off; star 3 is
  // named alpha Bbb, so it is SHARED in the figure of Aaa only; the three boundary pieces of Aaa
  // close into one loop, and the one open piece of Bbb is drawn out and back.
  const std::string body = text.substr(text.find("\nCONSTELLATION") + 1);
  EXPECT_EQ(body,
            "CONSTELLATION Aaa First One\n"
            "BEGIN BOUNDARY\n1.0000000 10.0000000 Aaa\n2.0000000 10.0000000 Aaa\n2.0000000 20.0000000 Aaa\n"
            "1.0000000 20.0000000 Aaa\nEND BOUNDARY\n"
            "BEGIN LINE\nHD101\nHD102\nHD103 SHARED\nEND LINE\n"
            "\nCONSTELLATION Bbb Second\n"
            "BEGIN BOUNDARY\n1.0000000 10.0000000 Bbb\n2.0000000 10.0000000 Bbb\nEND BOUNDARY\n"
            "BEGIN LINE\nHD103\nHD104\nHD107\nEND LINE\n");
  EXPECT_EQ(st.constellations, 2);
  EXPECT_EQ(st.sourceSegments, 5);
  EXPECT_EQ(st.writtenSegments, 4);
  EXPECT_EQ(st.boundaryBlocks, 2);
  EXPECT_EQ(st.figureStars, (std::set<int>{1, 2, 3, 4, 7}));
}

TEST(Constellations, AnHdNumberOfTwoStarsIsNotUsedAndAnEmptyFigureIsRefused) {
  TempDir dir;
  writeSkyTree(dir, "Aaa 2 1 2 3 4\nBbb 1 5 6\n");
  Catalog cat = smallCatalog();
  cat.hip[0].hd = 102;  // stars 1 and 2 share HD 102: the reader would find the first only
  std::string text, err;
  ConstellationStats st;
  EXPECT_FALSE(constellationText(dir.path(), cat, text, st, err, kSmallSky));
  EXPECT_EQ(err, "constellation Bbb has no figure star in the sets");
  EXPECT_EQ(st.writtenSegments, 1);  // of Aaa only the segment from star 3 to star 4
  EXPECT_EQ(st.figureStars, (std::set<int>{3, 4}));
}

TEST(SecondCatalogue, MovesOnlyTheFastStarsFoundAtTheOldEpochAndFillsOnlyFreeHdNumbers) {
  Catalog cat;
  auto star = [](int hip, double ra, double dec, double pmRa, double pmDec, int hd) {
    HipStar s;
    s.hip = hip;
    s.raDeg = ra;
    s.decDeg = dec;
    s.vmag = 5;
    s.pmRaMasYr = pmRa;
    s.pmDecMasYr = pmDec;
    s.hasPm = true;
    s.hd = hd;
    return s;
  };
  // 1: fast, at the old epoch (the second catalogue has it 8.75 years on: 5 arcsec/yr north).
  // 2: fast, already at J2000. 3: slow, left alone whatever the second catalogue says.
  cat.hip = {star(1, 10, 20, 0, 5000, 0), star(2, 50, -30, 0, 3000, 101), star(3, 90, 0, 100, 0, 0)};
  const double aheadDeg = 5.0 * (kJ2000 - kHipparcosEpoch) / 3600.0;
  std::vector<RefStar> ref = {{10, 20 + aheadDeg, 5.1, 0}, {50, -30, 5.0, 0}, {90.01, 0, 5.0, 0}};
  EXPECT_EQ(bringFastStarsToJ2000(cat, ref), std::vector<int>{1});
  EXPECT_NEAR(cat.hip[0].decDeg, 20 + aheadDeg, 1e-9);
  EXPECT_NEAR(cat.hip[0].raDeg, 10, 1e-9);
  EXPECT_EQ(cat.hip[1].decDeg, -30);
  EXPECT_EQ(cat.hip[2].raDeg, 90);
  // HD numbers: star 1 gets the one at its place; star 3 none, as the number there is star 2's.
  const std::vector<RefStar> hd = {{10, 20 + aheadDeg, 5.2, 777}, {90, 0, 5.0, 101}};
  EXPECT_EQ(fillMissingHd(cat, hd), std::vector<int>{1});
  EXPECT_EQ(cat.hip[0].hd, 777);
  EXPECT_EQ(cat.hip[2].hd, 0);
  // A star too faint for a record nearby is not matched.
  Catalog faint;
  faint.hip = {star(4, 10, 20, 0, 0, 0)};
  faint.hip[0].vmag = 8;
  EXPECT_TRUE(fillMissingHd(faint, hd).empty());
}

TEST(SecondCatalogue, DamagedFilesAreRefusedWithTheirNames) {
  TempDir dir;
  std::vector<RefStar> out;
  std::string err;
  EXPECT_FALSE(readRefText(dir.file("none.dat"), out, err));
  EXPECT_EQ(err, "cannot read [" + dir.file("none.dat") + "]");
  writeFile(dir.file("short.dat"),
            "# header\n064508.92 -164258.0 -000546.0-001223.100379.2 -1.4400.01A0 1            , alp CMa, Sirius\n");
  EXPECT_FALSE(readRefText(dir.file("short.dat"), out, err));
  EXPECT_EQ(err, "[" + dir.file("short.dat") +
                     "] holds 1 stars where it must hold at least 125000: the file is cut or damaged");
  ASSERT_EQ(out.size(), 1u);
  EXPECT_NEAR(out[0].raDeg, (6 + 45 / 60.0 + 8.92 / 3600) * 15, 1e-9);
  EXPECT_NEAR(out[0].decDeg, -(16 + 42 / 60.0 + 58.0 / 3600), 1e-9);
  EXPECT_NEAR(out[0].vmag, -1.44, 1e-9);
  writeFile(dir.file("bin.dat"), std::string(200, 'x'));
  EXPECT_FALSE(readRefBinary(dir.file("bin.dat"), out, err));
  EXPECT_EQ(err, "[" + dir.file("bin.dat") + "] is not a star data file of 32-byte records");
}
