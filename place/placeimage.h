// Placing a sky image as a model: from a FITS file's WCS or a PNG or JPEG's AVM to a textured quad
// at a distance in the galactic frame; and from a quad model back to a WCS file and AVM sidecar.
#pragma once

#include <string>

#include "place/blindsolve.h"
#include "place/skywcs.h"
#include "place/wcsfit.h"
#include "skydata/skymaps.h"

namespace place {

// The units a placed model may be written in, with the names its unit comment line uses.
struct PlaceUnit {
  const char* option;  // "pc", "kpc", "ly", "m"
  const char* name;    // "parsec", "k-parsec", "lightyear", "meters"
};
// The unit of the option word, or an empty pointer for an unknown word.
const PlaceUnit* findUnit(const std::string& option);

struct PlaceOptions {
  double distance = 1.0;   // of the quad's plane from the observer, in `unit`
  std::string unit = "pc";  // option word of findUnit
  std::string out;          // the model file; "" puts <image stem>.obj beside the image
  bool solve = true;        // an image with no WCS or AVM is solved blindly, else refused
  SolveOptions solveOptions;
};

// What put an image on the sky.
enum class PlacedBy { Wcs, Avm, BlindSolve };

// Finds where the image at path lies: its WCS for a FITS file, its AVM for a PNG or JPEG. With a
// texture to fill, also reads the pixels, first row on top. Returns false with err, the text
// that follows "Err : " (see wcsCorners, readFitsWcs, readAvmFile, and):
//   "cannot open [<path>]"
//   "[<path>] is neither a FITS, a PNG nor a JPEG image"
//   "cannot read the pixels of [<path>]"
// With solve given, an image that has no WCS (FITS) or no AVM (PNG, JPEG) is solved blindly
// (solveBlindly, whose failures err then carries); without it, it is refused. by, if given, gets
// what placed the image. Prints nothing.
bool locateImage(const std::string& path, SkyQuad& quad, skydata::Image* texture, std::string& err,
                 const SolveOptions* solve = nullptr, PlacedBy* by = nullptr);

// Places the image at path and writes the model <stem>.obj with <stem>.mtl and the texture
// <stem>.ppm beside it. The corners lie in the directions of the image's corners, on the plane
// square to their mean direction at the distance. objPath gets the model's path. Returns false
// with err as locateImage, "unknown unit [<word>]", or "cannot write [<objPath>] with its material
// and texture"; the model is written last, so a model file never stands without its texture.
// With options.solve, an image without metadata is solved blindly first (see locateImage).
// Prints nothing.
bool placeImage(const std::string& path, const PlaceOptions& options, std::string& objPath, std::string& err);

// Whether the file at path is a FITS, PNG or JPEG image, by its first bytes.
bool isSkyImage(const std::string& path);

// Writes the picture at path as placeImage does, but facing the direction look (galactic, any
// length) with up towards up, heightDeg of sky high and as wide as the picture's shape makes it:
// for a picture that can't be placed on the sky. Returns false with err "unknown unit [<word>]",
// "cannot read the pixels of [<path>]", readFitsTexture's failures, or the write failure of
// placeImage. Prints nothing.
bool placeImageFacing(const std::string& path, const Vec3& look, const Vec3& up, double heightDeg,
                      const PlaceOptions& options, std::string& objPath, std::string& err);

// Fits a gnomonic WCS to the quad model at objPath and writes it as the FITS header file
// fitsPath and the AVM sidecar beside it (sidecarPath: the name with its .fits, .fit or .fts
// ending, or else with ".xmp" added). residual gets the fit's residual. Returns false with err as
// readQuadFile, "[<path>] has corners in a line, which no WCS fits", or the writers' failures.
// Prints nothing.
bool writeWcsOfModel(const std::string& fitsPath, const std::string& objPath, std::string& sidecarPath,
                     FitResidual& residual, std::string& err);

// The AVM alone: fits as writeWcsOfModel and writes the XMP sidecar xmpPath. Returns false with
// err as writeWcsOfModel. Prints nothing.
bool writeAvmOfModel(const std::string& xmpPath, const std::string& objPath, FitResidual& residual,
                     std::string& err);

}  // namespace place
