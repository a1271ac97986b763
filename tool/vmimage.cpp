// Sky pictures opened in the tool: placed through the placing library, or shown facing the view.
#include "tool/vmimage.h"

#include <GL/gl.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <vector>

#include "place/placeimage.h"
#include "tool/velmora.h"
#include "tool/vmfile.h"

namespace {

// The stand-in quad is this fraction of the field of view high.
constexpr double kFacingFractionOfField = 0.5;
// Its height when no view has been made yet, in degrees.
constexpr double kFacingDefaultDeg = 20.0;

// The folders made for opened pictures, removed when the process ends.
std::vector<std::string>& madeFolders() {
  static std::vector<std::string> folders;
  return folders;
}

void removeMadeFolders() {
  for (const std::string& d : madeFolders()) {
    std::error_code ec;
    std::filesystem::remove_all(d, ec);
  }
}

// A fresh folder for one picture's model, or "" when none can be made.
std::string freshFolder() {
  const char* tmp = std::getenv("TMPDIR");
  std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/velmora-open-XXXXXX";
  std::vector<char> buf(pattern.begin(), pattern.end());
  buf.push_back('\0');
  if (!mkdtemp(buf.data())) return "";
  if (madeFolders().empty()) std::atexit(removeMadeFolders);
  madeFolders().push_back(buf.data());
  return buf.data();
}

std::string stemOf(const std::string& path) {
  const size_t slash = path.rfind('/');
  std::string name = slash == std::string::npos ? path : path.substr(slash + 1);
  const size_t dot = name.rfind('.');
  return dot == std::string::npos || dot == 0 ? name : name.substr(0, dot);
}

// The option word of placeImage for the panel's unit, parsec for the units it doesn't write.
const char* unitWord(int code) {
  switch (code) {
    case kUnitKiloParsec:
      return "kpc";
    case kUnitLightYear:
      return "ly";
    case kUnitMeter:
      return "m";
    default:
      return "pc";
  }
}

}  // namespace

ImageOpen modelOfImage(const std::string& path, std::string& modelPath) {
  if (!place::isSkyImage(path)) return ImageOpen::NotAnImage;
  const std::string folder = freshFolder();
  if (folder.empty()) {
    fprintf(stderr, "Err : cannot make a folder for the model of [%s]\n", path.c_str());
    return ImageOpen::Failed;
  }
  place::PlaceOptions options;
  options.distance = distObjModel > 0 ? distObjModel : 1.0;
  options.unit = unitWord(unitObjModel - kUnitBase);
  options.out = folder + "/" + stemOf(path) + ".obj";
  std::string err;
  if (place::placeImage(path, options, modelPath, err)) {
    printf("placed [%s] on the sky: [%s]\n", path.c_str(), modelPath.c_str());
    return ImageOpen::Placed;
  }
  // The view's line of sight and up in the galactic frame: the rows of the modelview rotation.
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  const place::Vec3 look = {-m[2], -m[6], -m[10]}, up = {m[1], m[5], m[9]};
  const double height = myCurrFovy > 0 ? kFacingFractionOfField * myCurrFovy : kFacingDefaultDeg;
  std::string facingErr;
  if (!place::placeImageFacing(path, look, up, height, options, modelPath, facingErr)) {
    fprintf(stderr, "Err : %s\n", facingErr.c_str());
    return ImageOpen::Failed;
  }
  fprintf(stderr, "Err : %s; it opens at the screen centre, facing the view\n", err.c_str());
  return ImageOpen::AtScreenCentre;
}

int exportWcsOfImage(const std::string& objPath) {
  if (!isObjAnImage) {
    fprintf(stderr, "Err : [%s] is not an image model, so it has no WCS\n", objPath.c_str());
    return -1;
  }
  const size_t dot = objPath.rfind('.'), slash = objPath.rfind('/');
  const bool hasExtension = dot != std::string::npos && (slash == std::string::npos || dot > slash);
  const std::string fits = (hasExtension ? objPath.substr(0, dot) : objPath) + ".fits";
  std::string sidecar, err;
  place::FitResidual r;
  if (!place::writeWcsOfModel(fits, objPath, sidecar, r, err)) {
    fprintf(stderr, "Err : %s\n", err.c_str());
    return -1;
  }
  printf(
      "wrote the WCS of [%s] to [%s] and [%s]: fit residual %.4f arcsec at the corners, %.4f arcsec inside "
      "the quad\n",
      objPath.c_str(), fits.c_str(), sidecar.c_str(), r.cornersArcsec, r.insideArcsec);
  return 1;
}
