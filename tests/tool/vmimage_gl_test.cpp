// Opening sky pictures through the tool's open function: a FITS file with a WCS is placed where
// it belongs, a picture that can't be placed stands facing the view at the screen centre with the
// reason, and a picture whose pixels can't be read is refused.
#include <gtest/gtest.h>
#include <stb_image_write.h>

#include <cmath>
#include <cstdio>
#include <string>
#include <vector>

#include "coords/math3D.h"
#include "place/blindsolve.h"
#include "place/fitsimage.h"
#include "place/placeimage.h"
#include "skydata/skymath.h"
#include "tests/place/place_fixtures.h"
#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"
#include "tool/velmora.h"
#include "tool/vmcb.h"
#include "tool/vmfile.h"
#include "tool/vmimage.h"

namespace {

using testsupport::TempDir;

constexpr int kW = 120, kH = 80;
constexpr double kCrvalRa = 83.633, kCrvalDec = 22.0145;  // near the Crab
constexpr double kDegPerPixel = 0.01;
// The model's middle lies within this of the direction it was put in, in degrees.
constexpr double kDirectionDeg = 0.05;

// A FITS image with a plain TAN WCS centred on the reference point.
std::string tanFits(const TempDir& dir) {
  const std::string path = dir.file("crab.fits");
  std::vector<float> px(size_t(kW) * kH);
  for (size_t i = 0; i < px.size(); ++i) px[i] = float(i % kW);
  placetest::writeFits(path, kW, kH, px,
                       {placetest::str("CTYPE1", "RA---TAN"), placetest::str("CTYPE2", "DEC--TAN"),
                        placetest::str("RADESYS", "ICRS"), placetest::num("CRVAL1", kCrvalRa),
                        placetest::num("CRVAL2", kCrvalDec), placetest::num("CRPIX1", kW / 2.0 + 0.5),
                        placetest::num("CRPIX2", kH / 2.0 + 0.5), placetest::num("CDELT1", -kDegPerPixel),
                        placetest::num("CDELT2", kDegPerPixel)});
  return path;
}

double angleDeg(const skydata::Vec3& a, const skydata::Vec3& b) {
  return skydata::angleBetween(a, b) * kDegreesPerRadian;
}

class VmImage : public testing::Test {
 protected:
  void SetUp() override {
    ASSERT_NE(testsupport::openGLWindow(64, 64), 0) << "Xvfb could not be started";
    glMatrixMode(GL_MODELVIEW);
    glLoadIdentity();
    nRecentFiles = 0;
    distObjModel = 0;
    unitObjModel = int(kUnitBase) + int(kUnitParsec);
  }
  void TearDown() override {
    if (alignModel) glmDelete(alignModel);
    alignModel = nullptr;
  }
  int open(const std::string& dir, const std::string& name, std::string* err, std::string* out) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    int r = openFile(dir.c_str(), name.c_str());
    *err = testing::internal::GetCapturedStderr();
    *out = testing::internal::GetCapturedStdout();
    return r;
  }
  // The model's middle as the file had it, a galactic direction.
  static skydata::Vec3 modelDirection() {
    return {alignModelCenter[0], alignModelCenter[1], alignModelCenter[2]};
  }
};

TEST_F(VmImage, AFitsImageWithAWcsIsPlacedWhereItBelongsAndOpened) {
  TempDir dir;
  tanFits(dir);
  std::string err, out;
  ASSERT_EQ(open(dir.path(), "crab.fits", &err, &out), 1) << err;
  const std::string model = alignfile;
  EXPECT_EQ(model.substr(model.size() - std::string("/crab.obj").size()), "/crab.obj");
  EXPECT_NE(model.find("/velmora-open-"), std::string::npos) << model;
  EXPECT_EQ(out.substr(0, out.find('\n') + 1),
            "placed [" + dir.file("crab.fits") + "] on the sky: [" + model + "]\n");
  EXPECT_EQ(err, "Try to read [" + model + "] (please wait) ... okay.\n");
  ASSERT_NE(alignModel, nullptr);
  EXPECT_EQ(alignModel->numvertices, 4u);
  EXPECT_EQ(isObjAnImage, 1);
  EXPECT_NE(testsupport::readFile(model).find("# crab.fits: placed by the WCS of its image\n"),
            std::string::npos);
  EXPECT_LT(angleDeg(modelDirection(), skydata::equatorialToGalactic(skydata::angToVec(kCrvalRa, kCrvalDec))),
            kDirectionDeg);
  ASSERT_EQ(nRecentFiles, 1);
  EXPECT_STREQ(recentFiles[0], "crab.obj");
  // Placed at the distance of 1 where the panel holds none.
  EXPECT_NEAR(length3D(alignModelCenter), 1.0, 1e-3);
}

TEST_F(VmImage, ThePanelsDistanceAndUnitPlaceThePicture) {
  TempDir dir;
  tanFits(dir);
  distObjModel = 250;
  unitObjModel = int(kUnitBase) + int(kUnitLightYear);
  std::string err, out;
  ASSERT_EQ(open(dir.path(), "crab.fits", &err, &out), 1) << err;
  EXPECT_NEAR(length3D(alignModelCenter), 250.0, 0.25);
  EXPECT_NE(testsupport::readFile(alignfile).find("# - unit in this model is lightyear\n"),
            std::string::npos);
}

TEST_F(VmImage, APictureThatCannotBePlacedStandsFacingTheViewWithTheReason) {
  TempDir dir;
  const std::string png = dir.file("blank.png");
  std::vector<unsigned char> black(size_t(kW) * kH * 3, 0);
  ASSERT_NE(stbi_write_png(png.c_str(), kW, kH, 3, black.data(), kW * 3), 0);
  // The view looks along -z of the galactic frame (the modelview is the identity), 40 degrees high.
  myCurrFovy = 40;
  std::string err, out;
  ASSERT_EQ(open(dir.path(), "blank.png", &err, &out), 1) << err;
  const std::string model = alignfile;
  std::string why = "[" + png + "] has no AVM, and ";
  if (place::findProgram("solve-field").empty())
    why += "solve-field is not installed to solve it blindly (Debian package astrometry.net)";
  else if (place::countIndexFiles(place::kSolveFieldConfig) == 0)
    why +=
        "no astrometry.net index files are installed to solve it blindly (Debian package "
        "astrometry-data-tycho2-10-19-littleendian)";
  else
    why += "no stars were found in it to solve it blindly";
  EXPECT_EQ(err, "Err : " + why + "; it opens at the screen centre, facing the view\nTry to read [" + model +
                     "] (please wait) ... okay.\n");
  ASSERT_NE(alignModel, nullptr);
  EXPECT_EQ(isObjAnImage, 1);
  EXPECT_LT(angleDeg(modelDirection(), {0, 0, -1}), 1e-6);
  EXPECT_NE(testsupport::readFile(model).find("# blank.png: not placed on the sky: shown facing the view\n"),
            std::string::npos);
  // Half the field high, as wide as the picture's shape: the top edge 10 degrees above the centre.
  // The corners as the file has them, before the model was put into its own frame.
  std::vector<place::Vec3> v;
  const std::string text = testsupport::readFile(model);
  size_t at = 0;
  while ((at = text.find("\nv ", at)) != std::string::npos) {
    place::Vec3 p;
    sscanf(text.c_str() + at + 3, "%lf %lf %lf", &p[0], &p[1], &p[2]);
    v.push_back(p);
    ++at;
  }
  ASSERT_EQ(v.size(), 4u);
  // Bottom left and top left: y is the view's up, x its right.
  EXPECT_NEAR(std::atan2(v[3][1], -v[3][2]) * kDegreesPerRadian, 10.0, 1e-6);
  EXPECT_NEAR(std::atan2(v[0][1], -v[0][2]) * kDegreesPerRadian, -10.0, 1e-6);
  EXPECT_NEAR(v[1][0] / -v[1][2], std::tan(10.0 * kRadiansPerDegree) * kW / kH, 1e-9);
  EXPECT_LT(v[0][0], 0);
}

TEST_F(VmImage, APictureWhosePixelsCannotBeReadIsRefusedAndTheModelStays) {
  TempDir dir;
  testsupport::writeFile(dir.file("cut.jpg"), std::string("\xff\xd8\xff\xe0", 4));
  std::string err, out;
  ASSERT_EQ(open(dir.path(), "crab-first.fits", &err, &out), -1);  // nothing there: the old refusal
  EXPECT_EQ(err, "Try to read [" + dir.file("crab-first.fits") + "] (please wait) ... failed to open.\n");
  tanFits(dir);
  ASSERT_EQ(open(dir.path(), "crab.fits", &err, &out), 1);
  _GLMmodel* before = alignModel;
  EXPECT_EQ(open(dir.path(), "cut.jpg", &err, &out), -1);
  EXPECT_EQ(err, "Err : cannot read the pixels of [" + dir.file("cut.jpg") + "]\n");
  EXPECT_EQ(alignModel, before);
  ASSERT_EQ(nRecentFiles, 1);
}

// The export of an image model with the WCS choice on: the FITS header and the AVM sidecar of
// the exported corners, with the fit's residual in the message.
TEST_F(VmImage, ExportingAnImageModelWithTheChoiceWritesItsWcsAndAvm) {
  TempDir dir;
  tanFits(dir);
  std::string err, out;
  ASSERT_EQ(open(dir.path(), "crab.fits", &err, &out), 1) << err;
  alignModelObjScale[0] = alignModelObjScale[1] = alignModelObjScale[2] = 1;
  alignModelObjTran[0] = alignModelObjTran[1] = 0;
  coordObjModel = int(kCoordBase) + int(kCoordGalactic);
  objFileExport = "aligned.obj";
  const std::string target = alignpath + "/aligned.obj";
  const std::string stem = alignpath + "/aligned";

  exportImageWcs = 0;
  testing::internal::CaptureStdout();
  myGLUICallback(kIdExport);
  testing::internal::GetCapturedStdout();
  EXPECT_FALSE(testsupport::fileExists(stem + ".fits"));

  exportImageWcs = 1;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  myGLUICallback(kIdExport);
  out = testing::internal::GetCapturedStdout();
  err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, "");
  const std::string said = "export obj file to [" + target + "] ... okay\nwrote the WCS of [" + target +
                           "] to [" + stem + ".fits] and [" + stem +
                           ".xmp]: fit residual 0.0000 arcsec at the corners, ";
  EXPECT_EQ(out.substr(0, said.size()), said) << out;
  EXPECT_EQ(out.substr(out.size() - std::string(" arcsec inside the quad\n").size()),
            " arcsec inside the quad\n");
  // The centre of the picture is where the FITS file's WCS put it.
  place::Wcs wcs;
  int w = 0, h = 0;
  ASSERT_TRUE(place::readFitsWcs(stem + ".fits", wcs, w, h, err)) << err;
  EXPECT_EQ(w, kW);
  EXPECT_EQ(h, kH);
  double ra = 0, dec = 0;
  ASSERT_TRUE(place::wcsPixelToRaDec(wcs.get(), kW / 2.0 + 0.5, kH / 2.0 + 0.5, ra, dec));
  EXPECT_NEAR(ra, kCrvalRa, 1e-4);
  EXPECT_NEAR(dec, kCrvalDec, 1e-4);
  EXPECT_NE(testsupport::readFile(stem + ".xmp").find("Spatial.ReferenceValue"), std::string::npos);
  exportImageWcs = 0;
}

TEST_F(VmImage, AMeshHasNoWcsToExport) {
  TempDir dir;
  testsupport::writeFile(dir.file("tetra.obj"),
                         "v 10 0 0\nv 10 1 0\nv 10 0 1\nv 11 0.3 0.3\nf 1 2 3\nf 1 2 4\nf 2 3 4\nf 1 3 4\n");
  std::string err, out;
  ASSERT_EQ(open(dir.path(), "tetra.obj", &err, &out), 1) << err;
  ASSERT_EQ(isObjAnImage, 0);
  objFileExport = "tetra-out.obj";
  exportImageWcs = 1;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  myGLUICallback(kIdExport);
  testing::internal::GetCapturedStdout();
  err = testing::internal::GetCapturedStderr();
  EXPECT_EQ(err, "Err : [" + alignpath + "/tetra-out.obj] is not an image model, so it has no WCS\n");
  EXPECT_FALSE(testsupport::fileExists(dir.file("tetra-out.fits")));
  exportImageWcs = 0;
}

}  // namespace
