// velmora-place: puts a sky image on the sky as a model from its WCS or AVM, or by a blind solve;
// writes the WCS or AVM of a placed or aligned image model, and reports how marked stars fit it.
#include <unistd.h>

#include <climits>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <vector>

#include "place/fitreport.h"
#include "place/placeimage.h"

namespace {

const char* const kUsage =
    "Usage: velmora-place IMAGE [--distance D] [--unit pc|kpc|ly|m] [--out MODEL.obj]\n"
    "                     [--solve-seconds N] [--scale-low DEG --scale-high DEG] [--solve-config FILE]\n"
    "                     [--no-solve]\n"
    "       velmora-place --wcs-out FILE.fits MODEL.obj\n"
    "       velmora-place --avm-out FILE.xmp MODEL.obj\n"
    "       velmora-place --fit STARS.txt MODEL.obj [--stars FILE.star]\n";

// A day: longer than any blind solve of a wide field needs, short enough to stay an int of
// seconds through the wall limit's arithmetic.
constexpr int kMaxSolveSeconds = 86400;

int usage() {
  std::fputs(kUsage, stderr);
  return 1;
}

int fail(const std::string& err) {
  std::fprintf(stderr, "Err : %s\n", err.c_str());
  return 1;
}

// A positive number of the option's value, or false.
bool positive(const std::string& v, double& out) {
  char* end = nullptr;
  out = std::strtod(v.c_str(), &end);
  return end != v.c_str() && *end == '\0' && std::isfinite(out) && out > 0;
}

int wcsOut(const std::string& fitsPath, const std::string& objPath) {
  std::string sidecar, err;
  place::FitResidual r;
  if (!place::writeWcsOfModel(fitsPath, objPath, sidecar, r, err)) return fail(err);
  std::printf("wrote the WCS of [%s] to [%s] and [%s]\n", objPath.c_str(), fitsPath.c_str(), sidecar.c_str());
  std::printf("fit residual: %.4f arcsec at the corners, %.4f arcsec inside the quad\n", r.cornersArcsec,
              r.insideArcsec);
  return 0;
}

int avmOut(const std::string& xmpPath, const std::string& objPath) {
  std::string err;
  place::FitResidual r;
  if (!place::writeAvmOfModel(xmpPath, objPath, r, err)) return fail(err);
  std::printf("wrote the AVM of [%s] to [%s]\n", objPath.c_str(), xmpPath.c_str());
  std::printf("fit residual: %.4f arcsec at the corners, %.4f arcsec inside the quad\n", r.cornersArcsec,
              r.insideArcsec);
  return 0;
}

// The full star set beside the program: build/bin/data links to the sky data.
std::string defaultStarFile() {
  char exe[PATH_MAX] = "";
  const ssize_t n = readlink("/proc/self/exe", exe, sizeof exe - 1);
  std::string dir = n > 0 ? std::string(exe, size_t(n)) : std::string(".");
  dir = dir.substr(0, dir.rfind('/') == std::string::npos ? 0 : dir.rfind('/'));
  return (dir.empty() ? std::string(".") : dir) + "/data/stardata/HIP/hip.12.star";
}

int fitOut(const std::string& marksPath, const std::string& objPath, const std::string& starFile) {
  std::string err;
  std::vector<place::MarkedStar> marks;
  std::vector<place::Vec3> directions;
  place::Wcs wcs;
  if (!place::readMarkedStars(marksPath, marks, err) || !place::wcsOfModel(objPath, wcs, err) ||
      !place::markedStarDirections(starFile, marks, directions, err))
    return fail(err);
  std::fputs(place::fitReport(marks, place::markResidualsArcsec(wcs.get(), marks, directions)).c_str(),
             stdout);
  return 0;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc >= 2 && std::strcmp(argv[1], "--wcs-out") == 0) {
    if (argc != 4) return usage();
    return wcsOut(argv[2], argv[3]);
  }
  if (argc >= 2 && std::strcmp(argv[1], "--fit") == 0) {
    if (argc == 4) return fitOut(argv[2], argv[3], defaultStarFile());
    if (argc == 6 && std::strcmp(argv[4], "--stars") == 0) return fitOut(argv[2], argv[3], argv[5]);
    return usage();
  }
  if (argc >= 2 && std::strcmp(argv[1], "--avm-out") == 0) {
    if (argc != 4) return usage();
    return avmOut(argv[2], argv[3]);
  }
  std::string image;
  place::PlaceOptions options;
  for (int i = 1; i < argc; ++i) {
    const std::string a = argv[i];
    const bool hasValue = i + 1 < argc;
    if (a == "--no-solve") {
      options.solve = false;
    } else if (a == "--solve-seconds" || a == "--scale-low" || a == "--scale-high") {
      if (!hasValue) return usage();
      const std::string v = argv[++i];
      double value = 0;
      if (a == "--solve-seconds") {
        if (!positive(v, value) || value != std::floor(value) || value > kMaxSolveSeconds)
          return fail("the solve time must be a whole number of seconds from 1 to " +
                      std::to_string(kMaxSolveSeconds) + ", not [" + v + "]");
        options.solveOptions.cpuSeconds = static_cast<int>(value);
      } else {
        if (!positive(v, value))
          return fail("the image width must be a positive number of degrees, not [" + v + "]");
        (a == "--scale-low" ? options.solveOptions.scaleLowDeg : options.solveOptions.scaleHighDeg) = value;
      }
    } else if (a == "--distance" || a == "--unit" || a == "--out" || a == "--solve-config") {
      if (!hasValue) return usage();
      const std::string v = argv[++i];
      if (a == "--distance") {
        char* end = nullptr;
        options.distance = std::strtod(v.c_str(), &end);
        if (end == v.c_str() || *end != '\0' || !std::isfinite(options.distance) || options.distance <= 0)
          return fail("the distance must be a positive number, not [" + v + "]");
      } else if (a == "--unit") {
        if (!place::findUnit(v)) return fail("unknown unit [" + v + "]");
        options.unit = v;
      } else if (a == "--solve-config") {
        options.solveOptions.config = v;
      } else {
        options.out = v;
      }
    } else if (a.size() > 1 && a[0] == '-') {
      return usage();
    } else if (image.empty()) {
      image = a;
    } else {
      return usage();
    }
  }
  if (image.empty()) return usage();
  const place::SolveOptions& so = options.solveOptions;
  if ((so.scaleLowDeg > 0) != (so.scaleHighDeg > 0) || so.scaleLowDeg > so.scaleHighDeg)
    return fail("--scale-low and --scale-high go together, the low one not above the high one");
  std::string objPath, err;
  if (!place::placeImage(image, options, objPath, err)) return fail(err);
  std::printf("placed [%s] at %g %s: [%s]\n", image.c_str(), options.distance, place::findUnit(options.unit)->name,
              objPath.c_str());
  return 0;
}
