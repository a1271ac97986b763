// Tests of placing sky images: FITS files with a WCS and PNG images with AVM, made here with
// cfitsio and exempi, placed by velmora-place and checked against wcslib's own answer; the WCS
// written back from a quad; the sample models; and every refusal, word for word.
#include <exempi/xmp.h>
#include <fitsio.h>
#include <gtest/gtest.h>
#include <stb_image_write.h>
#include <wcs.h>
#include <wcshdr.h>

#include <cmath>
#include <cstdio>
#include <functional>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "coords/constants.h"
#include "place/avm.h"
#include "place/fitsimage.h"
#include "place/placeimage.h"
#include "place/wcsfit.h"
#include "skydata/samples.h"
#include "skydata/skymaps.h"
#include "tests/place/place_fixtures.h"
#include "tests/support/testutil.h"

namespace {

using skydata::Vec3;
using testsupport::TempDir;
using placetest::angleArcsec;
using placetest::Card;
using placetest::makeFits;
using placetest::num;
using placetest::program;
using placetest::quoted;
using placetest::str;

// The placing must agree with wcslib to this, in arcseconds.
constexpr double kAgreeArcsec = 0.01;

// wcslib's own corners of a FITS file's WCS, as galactic unit directions: the header parsed,
// set and evaluated at the outer pixel edges. Galactic axes are taken as they are.
std::vector<Vec3> wcslibCorners(const std::string& path) {
  fitsfile* f = nullptr;
  int status = 0, nkeys = 0, nreject = 0, nwcs = 0;
  char* header = nullptr;
  long axes[2] = {};
  int naxis = 0;
  fits_open_file(&f, path.c_str(), READONLY, &status);
  fits_get_img_size(f, 2, axes, &status);
  fits_get_img_dim(f, &naxis, &status);
  if (naxis == 0) {
    fits_read_key(f, TLONG, "IMAGEW", &axes[0], nullptr, &status);
    fits_read_key(f, TLONG, "IMAGEH", &axes[1], nullptr, &status);
  }
  fits_hdr2str(f, 1, nullptr, 0, &header, &nkeys, &status);
  fits_close_file(f, &status);
  wcsprm* wcs = nullptr;
  wcspih(header, nkeys, WCSHDR_all, 0, &nreject, &nwcs, &wcs);
  fits_free_memory(header, &status);
  std::vector<Vec3> out;
  if (nwcs < 1 || wcsset(wcs) != 0) return out;
  const double px[8] = {0.5, 0.5, axes[0] + 0.5, 0.5, axes[0] + 0.5, axes[1] + 0.5, 0.5, axes[1] + 0.5};
  double img[8], phi[4], theta[4], world[8];
  int stat[4];
  wcsp2s(wcs, 4, 2, px, img, phi, theta, world, stat);
  const bool galactic = std::string(wcs->ctype[0]).substr(0, 4) == "GLON";
  for (int i = 0; i < 4; ++i) {
    const Vec3 v = skydata::angToVec(world[2 * i], world[2 * i + 1]);
    out.push_back(galactic ? v : skydata::equatorialToGalactic(v));
  }
  wcsvfree(&nwcs, &wcs);
  return out;
}

// The vertices of an OBJ file, in order.
std::vector<Vec3> objVertices(const std::string& path) {
  std::ifstream in(path);
  std::string line;
  std::vector<Vec3> v;
  while (std::getline(in, line)) {
    std::istringstream ls(line);
    std::string k;
    Vec3 p;
    if (ls >> k && k == "v" && ls >> p[0] >> p[1] >> p[2]) v.push_back(p);
  }
  return v;
}

// A TAN header of an image centred near the Crab, turned by 30 degrees, east to the left.
std::vector<Card> tanCards(const std::string& projection = "TAN") {
  const double scale = 2.0 / kArcsecPerDegree * 10, rot = 30.0 * kRadiansPerDegree;
  return {str("CTYPE1", "RA---" + projection), str("CTYPE2", "DEC--" + projection), num("CRVAL1", 83.633),
          num("CRVAL2", 22.0145), num("CRPIX1", 80.5), num("CRPIX2", 60.25),
          num("CD1_1", -scale * std::cos(rot)), num("CD1_2", scale * std::sin(rot)),
          num("CD2_1", scale * std::sin(rot)), num("CD2_2", scale * std::cos(rot)), str("RADESYS", "ICRS")};
}

constexpr int kW = 200, kH = 150;

// Checks that the model next to the image is a quad whose corners lie where wcslib puts the
// image's corners.
void expectPlacedLikeWcslib(const std::string& fits, const std::string& obj) {
  const std::vector<Vec3> want = wcslibCorners(fits), got = objVertices(obj);
  ASSERT_EQ(want.size(), 4u);
  ASSERT_EQ(got.size(), 4u);
  for (int i = 0; i < 4; ++i) EXPECT_LT(angleArcsec(got[i], want[i]), kAgreeArcsec) << "corner " << i;
}

TEST(PlaceFits, CornersAgreeWithWcslibAndTheModelIsAQuadAtTheDistance) {
  TempDir dir;
  makeFits(dir.file("crab.fits"), kW, kH, tanCards());
  const auto r = testsupport::run(program() + " " + quoted(dir.file("crab.fits")) + " --distance 2000");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.err, "");
  EXPECT_EQ(r.out, "placed [" + dir.file("crab.fits") + "] at 2000 parsec: [" + dir.file("crab.obj") + "]\n");
  expectPlacedLikeWcslib(dir.file("crab.fits"), dir.file("crab.obj"));
  // Flat, square to the corners' mean direction at the distance.
  const std::vector<Vec3> v = objVertices(dir.file("crab.obj"));
  Vec3 c = {0, 0, 0};
  for (const Vec3& p : v)
    for (int k = 0; k < 3; ++k) c[k] += skydata::normalized(p)[k];
  c = skydata::normalized(c);
  for (const Vec3& p : v) EXPECT_NEAR(skydata::dot(p, c), 2000.0, 1e-6);
  const std::string obj = testsupport::readFile(dir.file("crab.obj"));
  EXPECT_NE(obj.find("# Distance: 2000 parsec\n# - unit in this model is parsec\n# - coordinate system is galactic\n\n"
                     "mtllib crab.mtl\n"),
            std::string::npos);
  EXPECT_NE(obj.find("vt 0 1\nvt 1 1\nvt 1 0\nvt 0 0\ng crab\nusemtl crab\nf 1/1 2/2 3/3 4/4\n"), std::string::npos);
  EXPECT_NE(testsupport::readFile(dir.file("crab.mtl")).find("newmtl crab\n"), std::string::npos);
  EXPECT_NE(testsupport::readFile(dir.file("crab.mtl")).find("Td modulate crab.ppm\n"), std::string::npos);
  skydata::Image tex;
  std::string err;
  ASSERT_TRUE(skydata::readPPM(dir.file("crab.ppm"), tex, err)) << err;
  EXPECT_EQ(tex.width, kW);
  EXPECT_EQ(tex.height, kH);
  // The gradient grows with x and y, and the FITS first row is the picture's bottom: the
  // texture's last row is darkest at the left, its first row brightest at the right.
  EXPECT_LT(tex.rgb[size_t(kH - 1) * kW * 3], tex.rgb[size_t(kW - 1) * 3]);
}

// The projections and frames that can be placed; each agrees with wcslib.
struct FrameCase {
  const char* name;
  std::vector<Card> cards;
};

TEST(PlaceFits, EveryPlaceableProjectionAndFrameAgreesWithWcslib) {
  std::vector<FrameCase> cases;
  for (const char* p : {"TAN", "SIN", "ARC", "ZEA", "STG", "CAR", "AIT"}) cases.push_back({p, tanCards(p)});
  std::vector<Card> fk5 = tanCards();
  fk5.back() = str("RADESYS", "FK5");
  fk5.push_back(num("EQUINOX", 2000.0));
  cases.push_back({"FK5 J2000", fk5});
  std::vector<Card> gal = tanCards();
  gal[0] = str("CTYPE1", "GLON-TAN");
  gal[1] = str("CTYPE2", "GLAT-TAN");
  gal.pop_back();
  cases.push_back({"galactic", gal});
  std::vector<Card> cdelt = {str("CTYPE1", "RA---TAN"), str("CTYPE2", "DEC--TAN"), num("CRVAL1", 10.68),
                             num("CRVAL2", 41.27), num("CRPIX1", 100), num("CRPIX2", 75), num("CDELT1", -0.01),
                             num("CDELT2", 0.01), num("CROTA2", -35.0)};
  cases.push_back({"CDELT and CROTA2", cdelt});
  for (const FrameCase& c : cases) {
    TempDir dir;
    makeFits(dir.file("i.fits"), kW, kH, c.cards);
    const auto r = testsupport::run(program() + " " + quoted(dir.file("i.fits")));
    ASSERT_EQ(r.status, 0) << c.name << ": " << r.err;
    expectPlacedLikeWcslib(dir.file("i.fits"), dir.file("i.obj"));
  }
}

TEST(PlaceFits, UnitsNameTheirCommentLineAndOutNamesTheFiles) {
  const struct {
    const char* option;
    const char* line;
  } units[] = {{"pc", "# - unit in this model is parsec\n"},
               {"kpc", "# - unit in this model is k-parsec\n"},
               {"ly", "# - unit in this model is lightyear\n"},
               {"m", "# - unit in this model is meters\n"}};
  TempDir dir;
  makeFits(dir.file("i.fits"), kW, kH, tanCards());
  for (const auto& u : units) {
    const std::string out = dir.file(std::string("model-") + u.option + ".obj");
    const auto r = testsupport::run(program() + " " + quoted(dir.file("i.fits")) + " --unit " + u.option +
                                    " --distance 3.5 --out " + quoted(out));
    ASSERT_EQ(r.status, 0) << r.err;
    const std::string obj = testsupport::readFile(out);
    EXPECT_NE(obj.find(u.line), std::string::npos) << u.option;
    EXPECT_NE(obj.find(std::string("mtllib model-") + u.option + ".mtl\n"), std::string::npos);
    EXPECT_TRUE(testsupport::fileExists(dir.file(std::string("model-") + u.option + ".ppm")));
    // The unit is a label: the plane stands at 3.5 whatever it names.
    const std::vector<Vec3> v = objVertices(out);
    ASSERT_EQ(v.size(), 4u);
    EXPECT_NEAR(std::sqrt(skydata::dot(v[0], v[0])), 3.5, 1e-3);
  }
}

// --- AVM ---

struct AvmTag {
  const char* prop;
  std::vector<std::string> items;  // one item: a simple property; more: an ordered array
};

std::string fmt(double v) {
  char b[64];
  std::snprintf(b, sizeof b, "%.17g", v);
  return b;
}

void writePng(const std::string& path, int w, int h) {
  std::vector<unsigned char> px(size_t(w) * h * 3);
  for (size_t i = 0; i < px.size(); ++i) px[i] = static_cast<unsigned char>(i % 251);
  ASSERT_NE(stbi_write_png(path.c_str(), w, h, 3, px.data(), w * 3), 0);
}

// Tags the image at path with the properties, through exempi, in the AVM namespace (or a
// foreign one for a packet without AVM).
void tagImage(const std::string& path, const std::vector<AvmTag>& tags, const char* ns = place::kAvmNamespace) {
  xmp_init();
  xmp_register_namespace(place::kAvmNamespace, "avm", nullptr);
  XmpFilePtr f = xmp_files_open_new(path.c_str(), XMP_OPEN_FORUPDATE);
  ASSERT_NE(f, nullptr);
  XmpPtr x = xmp_new_empty();
  for (const AvmTag& t : tags) {
    if (t.items.size() == 1)
      xmp_set_property(x, ns, t.prop, t.items[0].c_str(), 0);
    else
      for (const std::string& i : t.items) xmp_append_array_item(x, ns, t.prop, XMP_PROP_ARRAY_IS_ORDERED, i.c_str(), 0);
  }
  ASSERT_TRUE(xmp_files_can_put_xmp(f, x));
  ASSERT_TRUE(xmp_files_put_xmp(f, x));
  ASSERT_TRUE(xmp_files_close(f, XMP_CLOSE_SAFEUPDATE));
  xmp_files_free(f);
  xmp_free(x);
}

// The AVM of the CDELT/CROTA2 header above, and that header.
std::vector<AvmTag> avmTags() {
  return {{"Spatial.CoordinateFrame", {"ICRS"}},
          {"Spatial.Equinox", {"J2000"}},
          {"Spatial.CoordsystemProjection", {"TAN"}},
          {"Spatial.ReferenceValue", {"10.68", "41.27"}},
          {"Spatial.ReferencePixel", {"100", "75"}},
          {"Spatial.Scale", {"-0.01", "0.01"}},
          {"Spatial.Rotation", {"-35"}}};
}
std::vector<Card> avmEquivalentCards() {
  return {str("CTYPE1", "RA---TAN"), str("CTYPE2", "DEC--TAN"), num("CRVAL1", 10.68), num("CRVAL2", 41.27),
          num("CRPIX1", 100),        num("CRPIX2", 75),         num("CDELT1", -0.01),  num("CDELT2", 0.01),
          num("CROTA2", -35.0),      str("RADESYS", "ICRS")};
}

void expectSameQuad(const std::string& a, const std::string& b) {
  const std::vector<Vec3> va = objVertices(a), vb = objVertices(b);
  ASSERT_EQ(va.size(), 4u);
  ASSERT_EQ(vb.size(), 4u);
  for (int i = 0; i < 4; ++i)
    for (int k = 0; k < 3; ++k) EXPECT_NEAR(va[i][k], vb[i][k], 1e-9) << i << " " << k;
}

TEST(PlaceAvm, ATaggedPngGivesTheSameQuadAsTheEquivalentFits) {
  TempDir dir;
  writePng(dir.file("m31.png"), kW, kH);
  tagImage(dir.file("m31.png"), avmTags());
  makeFits(dir.file("m31f.fits"), kW, kH, avmEquivalentCards());
  const auto r = testsupport::run(program() + " " + quoted(dir.file("m31.png")) + " --distance 785 --unit kpc");
  ASSERT_EQ(r.status, 0) << r.err;
  EXPECT_EQ(r.out, "placed [" + dir.file("m31.png") + "] at 785 k-parsec: [" + dir.file("m31.obj") + "]\n");
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("m31f.fits")) + " --distance 785 --unit kpc").status, 0);
  expectSameQuad(dir.file("m31.obj"), dir.file("m31f.obj"));
  expectPlacedLikeWcslib(dir.file("m31f.fits"), dir.file("m31.obj"));
  EXPECT_NE(testsupport::readFile(dir.file("m31.obj")).find("# m31.png: placed by the AVM of its image\n"),
            std::string::npos);
  skydata::Image tex;
  std::string err;
  ASSERT_TRUE(skydata::readPPM(dir.file("m31.ppm"), tex, err)) << err;
  EXPECT_EQ(tex.width, kW);
  EXPECT_EQ(tex.rgb[5], 5);  // the PNG's pixels, first row on top as they were
}

TEST(PlaceAvm, CdMatrixAndASmallerCopyOfTheReferenceDimensionGiveTheSameQuad) {
  TempDir dir;
  makeFits(dir.file("ref.fits"), kW, kH, avmEquivalentCards());
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("ref.fits"))).status, 0);
  // The CD matrix of CDELT (-0.01, 0.01) turned by -35 degrees; the Scale is then ignored.
  const double a = -35.0 * kRadiansPerDegree, s1 = -0.01, s2 = 0.01;
  std::vector<AvmTag> cd = avmTags();
  cd[5] = {"Spatial.Scale", {"9", "9"}};
  cd.push_back({"Spatial.CDMatrix",
                {fmt(s1 * std::cos(a)), fmt(-s2 * std::sin(a)), fmt(s1 * std::sin(a)), fmt(s2 * std::cos(a))}});
  writePng(dir.file("cd.png"), kW, kH);
  tagImage(dir.file("cd.png"), cd);
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("cd.png"))).status, 0);
  expectSameQuad(dir.file("cd.obj"), dir.file("ref.obj"));
  // A copy at half the size of the image the values were made for lies where the full one does.
  std::vector<AvmTag> half = avmTags();
  half.push_back({"Spatial.ReferenceDimension", {std::to_string(kW), std::to_string(kH)}});
  writePng(dir.file("half.png"), kW / 2, kH / 2);
  tagImage(dir.file("half.png"), half);
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("half.png"))).status, 0);
  expectSameQuad(dir.file("half.obj"), dir.file("ref.obj"));
}

// --- the WCS written back ---

TEST(PlaceWcsOut, PlaceWriteTheWcsAndReadItBackGivesTheCornersAgain) {
  for (const auto& cards : {tanCards(), avmEquivalentCards(), tanCards("SIN")}) {
    TempDir dir;
    makeFits(dir.file("i.fits"), kW, kH, cards);
    ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("i.fits")) + " --distance 0.5").status, 0);
    const auto r = testsupport::run(program() + " --wcs-out " + quoted(dir.file("w.fits")) + " " +
                                    quoted(dir.file("i.obj")));
    ASSERT_EQ(r.status, 0) << r.err;
    EXPECT_EQ(r.out.substr(0, r.out.find('\n') + 1), "wrote the WCS of [" + dir.file("i.obj") + "] to [" +
                                                         dir.file("w.fits") + "] and [" + dir.file("w.xmp") + "]\n");
    EXPECT_EQ(r.out.find("fit residual: 0.0000 arcsec at the corners, "), r.out.find('\n') + 1) << r.out;
    const std::vector<Vec3> orig = wcslibCorners(dir.file("i.fits")), back = wcslibCorners(dir.file("w.fits"));
    ASSERT_EQ(back.size(), 4u);
    for (int i = 0; i < 4; ++i) EXPECT_LT(angleArcsec(back[i], orig[i]), kAgreeArcsec) << i;
    // The AVM sidecar says the same.
    place::Wcs wcs;
    std::string err;
    ASSERT_TRUE(place::readAvmPacket(testsupport::readFile(dir.file("w.xmp")), "w.xmp", kW, kH, wcs, err)) << err;
    place::SkyQuad q;
    ASSERT_TRUE(place::wcsCorners(wcs.get(), "w.xmp", kW, kH, q, err)) << err;
    for (int i = 0; i < 4; ++i) EXPECT_LT(angleArcsec(q.corners[i], orig[i]), kAgreeArcsec) << i;
    const std::string xmp = testsupport::readFile(dir.file("w.xmp"));
    EXPECT_NE(xmp.find("Fitted to the corners of i.obj: residual 0.0000 arcsec at the corners"), std::string::npos);
  }
}

TEST(PlaceWcsOut, AnAlignedQuadInTheExportsEquatorialSystemGivesItsOwnCorners) {
  TempDir dir;
  makeFits(dir.file("i.fits"), kW, kH, tanCards());
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("i.fits"))).status, 0);
  // The same corners written in equatorial axes, with the export's header lines.
  std::string text = testsupport::readFile(dir.file("i.obj"));
  std::ostringstream eq;
  eq << "# written by program \"velmora 1.2\" Thu Jan  1 00:00:00 1970\n\n"
     << "# - unit in this model is parsec\n# - coordinate system is equatorial\n\nmtllib i.mtl\n";
  for (const Vec3& p : objVertices(dir.file("i.obj"))) {
    const Vec3 e = skydata::galacticToEquatorial(p);
    char b[128];
    std::snprintf(b, sizeof b, "v %.12f %.12f %.12f\n", e[0], e[1], e[2]);
    eq << b;
  }
  eq << "vt 0 1\nvt 1 1\nvt 1 0\nvt 0 0\ng i\nusemtl i\nf 1/1 2/2 3/3 4/4\n";
  testsupport::writeFile(dir.file("eq.obj"), eq.str());
  const auto r = testsupport::run(program() + " --wcs-out " + quoted(dir.file("eq.fits")) + " " + quoted(dir.file("eq.obj")));
  ASSERT_EQ(r.status, 0) << r.err;
  const std::vector<Vec3> orig = wcslibCorners(dir.file("i.fits")), back = wcslibCorners(dir.file("eq.fits"));
  ASSERT_EQ(back.size(), 4u);
  for (int i = 0; i < 4; ++i) EXPECT_LT(angleArcsec(back[i], orig[i]), kAgreeArcsec) << i;
}

TEST(PlaceWcsOut, AQuadThatIsNoParallelogramStatesHowFarItsInsideIsFromTheWcs) {
  // A quad whose right edge is shortened: the two triangles carry the texture differently from
  // any projection, and the residual inside says by how much; the corners still fit exactly.
  TempDir dir;
  makeFits(dir.file("i.fits"), kW, kH, tanCards());
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("i.fits"))).status, 0);
  std::vector<Vec3> v = objVertices(dir.file("i.obj"));
  Vec3 mid;
  for (int k = 0; k < 3; ++k) mid[k] = (v[1][k] + v[2][k]) / 2;
  for (int k = 0; k < 3; ++k) v[1][k] = mid[k] + 0.5 * (v[1][k] - mid[k]), v[2][k] = mid[k] + 0.5 * (v[2][k] - mid[k]);
  std::ostringstream o;
  o << "mtllib i.mtl\n";
  for (const Vec3& p : v) o << "v " << fmt(p[0]) << " " << fmt(p[1]) << " " << fmt(p[2]) << "\n";
  o << "vt 0 1\nvt 1 1\nvt 1 0\nvt 0 0\nf 1/1 2/2 3/3 4/4\n";
  testsupport::writeFile(dir.file("k.obj"), o.str());
  place::QuadFile q;
  std::string err;
  ASSERT_TRUE(place::readQuadFile(dir.file("k.obj"), q, err)) << err;
  place::TanWcs t;
  ASSERT_TRUE(place::fitTanWcs(q.icrs, q.width, q.height, t));
  const place::FitResidual r = place::wcsResidual(q, t);
  EXPECT_LT(r.cornersArcsec, kAgreeArcsec);
  EXPECT_GT(r.insideArcsec, 1.0);
}

// --- the samples ---

std::string stellarium() {
  return testsupport::sourceDir() + "/.cache/pkgs/stellarium-data/usr/share/stellarium";
}

TEST(PlaceSamples, SamplesPlacedFromAnEquivalentWcsLandWhereTheSamplesLie) {
  VELMORA_REQUIRE_SKY_DATA();
  for (const skydata::SampleInfo& s : skydata::sampleList()) {
    SCOPED_TRACE(s.name);
    skydata::PlacedImage img;
    std::string err;
    ASSERT_TRUE(skydata::findPlacedImage(stellarium() + "/nebulae/default/textures.json", s.image, img, err)) << err;
    skydata::Image tex;
    const std::string sampleDir = testsupport::sourceDir() + "/samples/";
    ASSERT_TRUE(skydata::readPPM(sampleDir + s.name + ".ppm", tex, err)) << err;
    // The WCS through the sample's corner RA/Dec, written as a FITS image of the texture's size.
    Vec3 icrs[4];
    for (int i = 0; i < 4; ++i) icrs[i] = skydata::angToVec(img.corners[i][0], img.corners[i][1]);
    place::TanWcs t;
    ASSERT_TRUE(place::fitTanWcs(icrs, tex.width, tex.height, t));
    TempDir dir;
    makeFits(dir.file(s.name + ".fits"), tex.width, tex.height,
             {str("CTYPE1", "RA---TAN"), str("CTYPE2", "DEC--TAN"), str("RADESYS", "ICRS"),
              num("CRVAL1", t.crval[0]), num("CRVAL2", t.crval[1]), num("CRPIX1", t.crpix[0]),
              num("CRPIX2", t.crpix[1]), num("CD1_1", t.cd[0][0]), num("CD1_2", t.cd[0][1]),
              num("CD2_1", t.cd[1][0]), num("CD2_2", t.cd[1][1])});
    const char* unit = s.unit == "parsec" ? "pc" : "kpc";
    const auto r = testsupport::run(program() + " " + quoted(dir.file(s.name + ".fits")) + " --distance " +
                                    fmt(s.distance) + " --unit " + unit);
    ASSERT_EQ(r.status, 0) << r.err;
    const std::vector<Vec3> placed = objVertices(dir.file(s.name + ".obj")),
                            sample = objVertices(sampleDir + s.name + ".obj");
    ASSERT_EQ(placed.size(), 4u);
    ASSERT_EQ(sample.size(), 4u);
    // The sample file keeps six decimals.
    for (int i = 0; i < 4; ++i)
      for (int k = 0; k < 3; ++k) EXPECT_NEAR(placed[i][k], sample[i][k], 2e-6) << i << " " << k;
  }
}

// --- refusals ---

struct BadCase {
  const char* name;
  std::function<std::string(const TempDir&)> make;  // makes the input, returns its path
  std::function<std::string(const std::string&)> message;
};

std::string fitsWith(const TempDir& d, const std::vector<Card>& cards) {
  makeFits(d.file("bad.fits"), kW, kH, cards);
  return d.file("bad.fits");
}

std::string pngWith(const TempDir& d, const std::vector<AvmTag>& tags, const char* ns = place::kAvmNamespace) {
  writePng(d.file("bad.png"), kW, kH);
  if (!tags.empty()) tagImage(d.file("bad.png"), tags, ns);
  return d.file("bad.png");
}

std::vector<AvmTag> without(const char* prop) {
  std::vector<AvmTag> t;
  for (const AvmTag& a : avmTags())
    if (std::string(a.prop) != prop) t.push_back(a);
  return t;
}

std::vector<AvmTag> replaced(const AvmTag& with) {
  std::vector<AvmTag> t = without(with.prop);
  t.push_back(with);
  return t;
}

std::vector<Card> withCard(std::vector<Card> cards, const Card& c) {
  for (Card& x : cards)
    if (x.key == c.key) {
      x = c;
      return cards;
    }
  cards.push_back(c);
  return cards;
}

TEST(PlaceRefusals, EachBadImageIsRefusedWithItsMessageAndNoModel) {
  const std::vector<BadCase> cases = {
      {"missing file", [](const TempDir& d) { return d.file("none.fits"); },
       [](const std::string& p) { return "Err : cannot open [" + p + "]\n"; }},
      {"not an image",
       [](const TempDir& d) {
         testsupport::writeFile(d.file("notes.txt"), "just words\n");
         return d.file("notes.txt");
       },
       [](const std::string& p) { return "Err : [" + p + "] is neither a FITS, a PNG nor a JPEG image\n"; }},
      {"FITS cut short",
       [](const TempDir& d) {
         makeFits(d.file("cut.fits"), kW, kH, tanCards());
         testsupport::writeFile(d.file("cut.fits"), testsupport::readFile(d.file("cut.fits")).substr(0, 1000));
         return d.file("cut.fits");
       },
       [](const std::string& p) {
         return "Err : cannot read the FITS file [" + p + "]: error reading from FITS file\n";
       }},
      {"no WCS", [](const TempDir& d) { return fitsWith(d, {}); },
       [](const std::string& p) { return "Err : [" + p + "] has no WCS\n"; }},
      {"linear axes only",
       [](const TempDir& d) { return fitsWith(d, {str("CTYPE1", "PIXEL"), str("CTYPE2", "PIXEL")}); },
       [](const std::string& p) { return "Err : [" + p + "] has no WCS\n"; }},
      {"unknown projection", [](const TempDir& d) { return fitsWith(d, tanCards("XYZ")); },
       [](const std::string& p) { return "Err : [" + p + "] uses projection XYZ, which is not known\n"; }},
      {"singular CD matrix",
       [](const TempDir& d) {
         std::vector<Card> c = tanCards();
         for (const char* k : {"CD1_1", "CD1_2", "CD2_1", "CD2_2"}) c = withCard(c, num(k, 0.0));
         return fitsWith(d, c);
       },
       [](const std::string& p) { return "Err : [" + p + "] has a broken WCS: Linear transformation matrix is singular\n"; }},
      {"right ascension without declination",
       [](const TempDir& d) { return fitsWith(d, withCard(tanCards(), str("CTYPE2", "PIXEL"))); },
       [](const std::string& p) { return "Err : [" + p + "] has a broken WCS: Unmatched celestial axes\n"; }},
      {"FK4", [](const TempDir& d) { return fitsWith(d, withCard(withCard(tanCards(), str("RADESYS", "FK4")), num("EQUINOX", 1950))); },
       [](const std::string& p) { return "Err : [" + p + "] is in the FK4 B1950 frame, which cannot be placed\n"; }},
      {"FK5 of another equinox",
       [](const TempDir& d) { return fitsWith(d, withCard(withCard(tanCards(), str("RADESYS", "FK5")), num("EQUINOX", 1975))); },
       [](const std::string& p) { return "Err : [" + p + "] is in the FK5 J1975 frame, which cannot be placed\n"; }},
      {"ecliptic",
       [](const TempDir& d) {
         return fitsWith(d, withCard(withCard(tanCards(), str("CTYPE1", "ELON-TAN")), str("CTYPE2", "ELAT-TAN")));
       },
       [](const std::string& p) { return "Err : [" + p + "] is in the ecliptic frame, which cannot be placed\n"; }},
      {"corner beyond the projection",
       [](const TempDir& d) {
         std::vector<Card> c = {str("CTYPE1", "RA---SIN"), str("CTYPE2", "DEC--SIN"), num("CRVAL1", 0),
                                num("CRVAL2", 0), num("CRPIX1", 100), num("CRPIX2", 75), num("CDELT1", -1),
                                num("CDELT2", 1)};
         return fitsWith(d, c);
       },
       [](const std::string& p) { return "Err : [" + p + "] has a corner outside its projection\n"; }},
      {"PNG without XMP", [](const TempDir& d) { return pngWith(d, {}); },
       [](const std::string& p) { return "Err : [" + p + "] has no AVM\n"; }},
      {"PNG with XMP but no AVM",
       [](const TempDir& d) { return pngWith(d, {{"title", {"a picture"}}}, "http://purl.org/dc/elements/1.1/"); },
       [](const std::string& p) { return "Err : [" + p + "] has no AVM\n"; }},
      {"AVM without reference pixel", [](const TempDir& d) { return pngWith(d, without("Spatial.ReferencePixel")); },
       [](const std::string& p) { return "Err : [" + p + "] has an incomplete AVM: no Spatial.ReferencePixel\n"; }},
      {"AVM without reference value", [](const TempDir& d) { return pngWith(d, without("Spatial.ReferenceValue")); },
       [](const std::string& p) { return "Err : [" + p + "] has an incomplete AVM: no Spatial.ReferenceValue\n"; }},
      {"AVM without scale or CD matrix", [](const TempDir& d) { return pngWith(d, without("Spatial.Scale")); },
       [](const std::string& p) { return "Err : [" + p + "] has an incomplete AVM: no Spatial.Scale\n"; }},
      {"AVM scale not numbers",
       [](const TempDir& d) { return pngWith(d, replaced({"Spatial.Scale", {"small", "0.01"}})); },
       [](const std::string& p) { return "Err : [" + p + "] has a broken AVM: Spatial.Scale is not a pair of numbers\n"; }},
      {"AVM reference value of three",
       [](const TempDir& d) { return pngWith(d, replaced({"Spatial.ReferenceValue", {"1", "2", "3"}})); },
       [](const std::string& p) {
         return "Err : [" + p + "] has a broken AVM: Spatial.ReferenceValue is not a pair of numbers\n";
       }},
      {"AVM rotation not a number",
       [](const TempDir& d) { return pngWith(d, replaced({"Spatial.Rotation", {"left"}})); },
       [](const std::string& p) { return "Err : [" + p + "] has a broken AVM: Spatial.Rotation is not one number\n"; }},
      {"AVM unknown frame",
       [](const TempDir& d) { return pngWith(d, replaced({"Spatial.CoordinateFrame", {"MOON"}})); },
       [](const std::string& p) {
         return "Err : [" + p + "] has a broken AVM: Spatial.CoordinateFrame is not ICRS, FK5, FK4, GAL, ECL or SGAL\n";
       }},
      {"AVM unknown projection",
       [](const TempDir& d) { return pngWith(d, replaced({"Spatial.CoordsystemProjection", {"XYZ"}})); },
       [](const std::string& p) { return "Err : [" + p + "] uses projection XYZ, which is not known\n"; }},
      {"AVM zero scale",
       [](const TempDir& d) { return pngWith(d, replaced({"Spatial.Scale", {"0", "0"}})); },
       [](const std::string& p) {
         return "Err : [" + p + "] has a broken WCS: Singular transformation matrix, CDELT1 is zero\n";
       }},
      {"AVM in FK4",
       [](const TempDir& d) {
         std::vector<AvmTag> t = replaced({"Spatial.CoordinateFrame", {"FK4"}});
         t = [&] {
           std::vector<AvmTag> u;
           for (const AvmTag& a : t)
             if (std::string(a.prop) != "Spatial.Equinox") u.push_back(a);
           u.push_back({"Spatial.Equinox", {"B1950"}});
           return u;
         }();
         return pngWith(d, t);
       },
       [](const std::string& p) { return "Err : [" + p + "] is in the FK4 B1950 frame, which cannot be placed\n"; }},
      {"AVM supergalactic",
       [](const TempDir& d) { return pngWith(d, replaced({"Spatial.CoordinateFrame", {"SGAL"}})); },
       [](const std::string& p) { return "Err : [" + p + "] is in the supergalactic frame, which cannot be placed\n"; }},
      {"JPEG cut after its marker",
       [](const TempDir& d) {
         testsupport::writeFile(d.file("cut.jpg"), std::string("\xff\xd8\xff\xe0", 4));
         return d.file("cut.jpg");
       },
       [](const std::string& p) { return "Err : cannot read the pixels of [" + p + "]\n"; }},
  };
  for (const BadCase& c : cases) {
    SCOPED_TRACE(c.name);
    TempDir dir;
    const std::string path = c.make(dir);
    // Without solving: these images are refused for what they lack (the blind solve has tests of its own).
    const auto r = testsupport::run("timeout 60 " + program() + " " + quoted(path) + " --no-solve --out " +
                                    quoted(dir.file("model.obj")));
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, c.message(path));
    EXPECT_EQ(r.out, "");
    EXPECT_FALSE(testsupport::fileExists(dir.file("model.obj")));
    EXPECT_FALSE(testsupport::fileExists(dir.file("model.ppm")));
  }
}

TEST(PlaceRefusals, BadCommandLinesAndBadModelsForTheWcsAreRefused) {
  TempDir dir;
  makeFits(dir.file("i.fits"), kW, kH, tanCards());
  const std::string usage =
      "Usage: velmora-place IMAGE [--distance D] [--unit pc|kpc|ly|m] [--out MODEL.obj]\n"
      "                     [--solve-seconds N] [--scale-low DEG --scale-high DEG] [--solve-config FILE]\n"
      "                     [--no-solve]\n"
      "       velmora-place --wcs-out FILE.fits MODEL.obj\n"
      "       velmora-place --avm-out FILE.xmp MODEL.obj\n"
      "       velmora-place --fit STARS.txt MODEL.obj [--stars FILE.star]\n";
  const std::string img = quoted(dir.file("i.fits"));
  testsupport::writeFile(dir.file("tri.obj"), "v 0 0 1\nv 1 0 1\nv 0 1 1\nvt 0 0\nvt 1 0\nvt 0 1\nf 1/1 2/2 3/3\n");
  testsupport::writeFile(dir.file("sg.obj"), "# - coordinate system is super galactic\nv 0 0 1\n");
  testsupport::writeFile(dir.file("notex.obj"),
                         "mtllib gone.mtl\nv 1 0 0\nv 1 1e-3 0\nv 1 1e-3 1e-3\nv 1 0 1e-3\n"
                         "vt 0 1\nvt 1 1\nvt 1 0\nvt 0 0\nf 1/1 2/2 3/3 4/4\n");
  testsupport::writeFile(dir.file("line.ppm"), "P6\n4 4\n255\n" + std::string(48, '\0'));
  testsupport::writeFile(dir.file("line.mtl"), "newmtl line\nTd modulate line.ppm\n");
  testsupport::writeFile(dir.file("line.obj"),
                         "mtllib line.mtl\nv 1 0 0\nv 1 1e-3 0\nv 1 2e-3 0\nv 1 3e-3 0\n"
                         "vt 0 1\nvt 1 1\nvt 1 0\nvt 0 0\nf 1/1 2/2 3/3 4/4\n");
  const struct {
    std::string args, err;
  } cases[] = {
      {"", usage},
      {img + " " + img, usage},
      {img + " --colour red", usage},
      {img + " --distance", usage},
      {"--wcs-out " + quoted(dir.file("w.fits")), usage},
      {img + " --distance -3", "Err : the distance must be a positive number, not [-3]\n"},
      {img + " --distance far", "Err : the distance must be a positive number, not [far]\n"},
      {img + " --unit au", "Err : unknown unit [au]\n"},
      {"--wcs-out " + quoted(dir.file("w.fits")) + " " + quoted(dir.file("none.obj")),
       "Err : cannot open [" + dir.file("none.obj") + "]\n"},
      {"--wcs-out " + quoted(dir.file("w.fits")) + " " + quoted(dir.file("tri.obj")),
       "Err : [" + dir.file("tri.obj") + "] is not a quad of four corners with texture coordinates\n"},
      {"--wcs-out " + quoted(dir.file("w.fits")) + " " + quoted(testsupport::sourceDir() + "/samples/pleiades.obj"),
       "Err : [" + testsupport::sourceDir() + "/samples/pleiades.obj] is not a quad of four corners with texture "
       "coordinates\n"},
      {"--wcs-out " + quoted(dir.file("w.fits")) + " " + quoted(dir.file("sg.obj")),
       "Err : [" + dir.file("sg.obj") + "] is in the super galactic system, which has no WCS here\n"},
      {"--wcs-out " + quoted(dir.file("w.fits")) + " " + quoted(dir.file("notex.obj")),
       "Err : cannot read the texture of [" + dir.file("notex.obj") + "], which gives the image size\n"},
      {"--wcs-out " + quoted(dir.file("w.fits")) + " " + quoted(dir.file("line.obj")),
       "Err : [" + dir.file("line.obj") + "] has corners in a line, which no WCS fits\n"},
      {"--wcs-out " + quoted(dir.file("no/such/dir/w.fits")) + " " + quoted(dir.file("notex.obj")),
       "Err : cannot read the texture of [" + dir.file("notex.obj") + "], which gives the image size\n"},
  };
  for (const auto& c : cases) {
    SCOPED_TRACE(c.args);
    const auto r = testsupport::run("timeout 60 " + program() + " " + c.args);
    EXPECT_EQ(r.status, 1);
    EXPECT_EQ(r.err, c.err);
    EXPECT_EQ(r.out, "");
  }
  EXPECT_FALSE(testsupport::fileExists(dir.file("w.fits")));
  EXPECT_FALSE(testsupport::fileExists(dir.file("i.obj")));
}

TEST(PlaceRefusals, AWcsThatCannotBeWrittenSaysWhere) {
  TempDir dir;
  makeFits(dir.file("i.fits"), kW, kH, tanCards());
  ASSERT_EQ(testsupport::run(program() + " " + quoted(dir.file("i.fits"))).status, 0);
  const std::string target = dir.file("no/such/dir/w.fits");
  const auto r = testsupport::run(program() + " --wcs-out " + quoted(target) + " " + quoted(dir.file("i.obj")));
  EXPECT_EQ(r.status, 1);
  EXPECT_EQ(r.err, "Err : cannot write [" + target + "]: couldn't create the named file\n");
}

}  // namespace
