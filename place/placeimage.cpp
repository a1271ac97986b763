// Placing a sky image as a textured quad, and writing the WCS of a placed or aligned quad.
#include "place/placeimage.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "coords/constants.h"
#include "place/avm.h"
#include "place/fitsimage.h"
#include "skydata/quadmodel.h"
#include "skydata/skymath.h"

namespace place {

namespace {

enum class Kind { Missing, Fits, Png, Jpeg, Other };

// Leading bytes that tell the formats apart.
constexpr char kFitsMagic[] = "SIMPLE  =";
constexpr unsigned char kPngMagic[] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr unsigned char kJpegMagic[] = {0xff, 0xd8, 0xff};
constexpr size_t kMagicBytes = 16;

Kind kindOf(const std::string& path) {
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return Kind::Missing;
  unsigned char head[kMagicBytes] = {};
  const size_t n = std::fread(head, 1, sizeof head, f);
  std::fclose(f);
  if (n >= sizeof kFitsMagic - 1 && std::memcmp(head, kFitsMagic, sizeof kFitsMagic - 1) == 0) return Kind::Fits;
  if (n >= sizeof kPngMagic && std::memcmp(head, kPngMagic, sizeof kPngMagic) == 0) return Kind::Png;
  if (n >= sizeof kJpegMagic && std::memcmp(head, kJpegMagic, sizeof kJpegMagic) == 0) return Kind::Jpeg;
  return Kind::Other;
}

std::string baseName(const std::string& path) {
  const size_t s = path.rfind('/');
  return s == std::string::npos ? path : path.substr(s + 1);
}

// path without its last extension, if the last component has one.
std::string withoutExtension(const std::string& path) {
  const size_t dot = path.rfind('.'), slash = path.rfind('/');
  if (dot == std::string::npos || (slash != std::string::npos && dot < slash)) return path;
  return path.substr(0, dot);
}

bool endsWith(const std::string& s, const char* tail) {
  const size_t n = std::strlen(tail);
  return s.size() >= n && s.compare(s.size() - n, n, tail) == 0;
}

}  // namespace

const PlaceUnit* findUnit(const std::string& option) {
  static const PlaceUnit units[] = {
      {"pc", "parsec"}, {"kpc", "k-parsec"}, {"ly", "lightyear"}, {"m", "meters"}};
  for (const PlaceUnit& u : units)
    if (option == u.option) return &u;
  return nullptr;
}

bool locateImage(const std::string& path, SkyQuad& quad, skydata::Image* texture, std::string& err,
                 const SolveOptions* solve, PlacedBy* by) {
  const Kind kind = kindOf(path);
  if (kind == Kind::Missing) {
    err = "cannot open [" + path + "]";
    return false;
  }
  if (kind == Kind::Other) {
    err = "[" + path + "] is neither a FITS, a PNG nor a JPEG image";
    return false;
  }
  Wcs wcs;
  if (by) *by = kind == Kind::Fits ? PlacedBy::Wcs : PlacedBy::Avm;
  if (kind == Kind::Fits) {
    int w = 0, h = 0;
    if (!readFitsWcs(path, wcs, w, h, err)) return false;
    if (!wcsCorners(wcs.get(), path, w, h, quad, err)) {
      if (!solve || err != "[" + path + "] has no WCS") return false;
      Wcs solved;
      const std::string why = err;
      GreyImage grey;
      long fw = 0, fh = 0;
      if (!readFitsPixels(path, grey.values, fw, fh, err)) return false;
      grey.width = int(fw);
      grey.height = int(fh);
      if (!solveBlindly(grey, why, *solve, solved, err)) return false;
      if (!wcsCorners(solved.get(), path, w, h, quad, err)) return false;
      if (by) *by = PlacedBy::BlindSolve;
    }
    return !texture || readFitsTexture(path, *texture, err);
  }
  skydata::Image pixels;
  std::string why;
  if (!skydata::readImageRGB(path, pixels, why)) {
    err = "cannot read the pixels of [" + path + "]";
    return false;
  }
  if (!readAvmFile(path, pixels.width, pixels.height, wcs, err)) {
    if (!solve || err != "[" + path + "] has no AVM") return false;
    const std::string why = err;
    if (!solveBlindly(greyOfRgb(pixels.rgb.data(), pixels.width, pixels.height), why, *solve, wcs, err))
      return false;
    if (by) *by = PlacedBy::BlindSolve;
  }
  if (!wcsCorners(wcs.get(), path, pixels.width, pixels.height, quad, err)) return false;
  if (texture) *texture = std::move(pixels);
  return true;
}

namespace {

// Writes the quad of the picture at path with its corners in the directions given, at the
// options' distance: <stem>.ppm, <stem>.mtl and last the model. source says what placed it.
bool writePlacedModel(const std::string& path, const SkyQuad& quad, const skydata::Image& texture,
                      const PlaceOptions& options, const std::string& source, std::string& objPath,
                      std::string& err) {
  const PlaceUnit* unit = findUnit(options.unit);
  objPath = options.out.empty() ? withoutExtension(path) + ".obj" : options.out;
  const std::string stem = withoutExtension(objPath);
  const std::string name = baseName(stem);
  skydata::QuadModel q;
  q.name = name;
  char distance[64];
  std::snprintf(distance, sizeof distance, "%.10g", options.distance);
  q.comments = {
      baseName(path) + ": " + source,
      "Image " + path + ", " + std::to_string(quad.width) + " x " + std::to_string(quad.height) + " pixels",
      std::string("Distance: ") + distance + " " + unit->name};
  q.unit = unit->name;
  q.corners = skydata::quadOnSky(quad.corners, options.distance);
  // Twelve significant digits: the quad may be small and near, and its corners must keep their
  // directions to far below an arcsecond.
  q.vertexFormat = "v %.12g %.12g %.12g\n";
  if (!skydata::writePPM(stem + ".ppm", texture, err) ||
      !skydata::writeText(stem + ".mtl", skydata::quadMtlText(name, "Material of the placed image " + baseName(path)),
                          err) ||
      !skydata::writeText(objPath, skydata::quadObjText(q), err)) {
    err = "cannot write [" + objPath + "] with its material and texture";
    return false;
  }
  return true;
}

}  // namespace

bool isSkyImage(const std::string& path) {
  const Kind kind = kindOf(path);
  return kind == Kind::Fits || kind == Kind::Png || kind == Kind::Jpeg;
}

bool placeImage(const std::string& path, const PlaceOptions& options, std::string& objPath,
                std::string& err) {
  if (!findUnit(options.unit)) {
    err = "unknown unit [" + options.unit + "]";
    return false;
  }
  SkyQuad quad;
  skydata::Image texture;
  PlacedBy by = PlacedBy::Wcs;
  if (!locateImage(path, quad, &texture, err, options.solve ? &options.solveOptions : nullptr, &by))
    return false;
  const char* source = by == PlacedBy::Wcs   ? "placed by the WCS of its image"
                       : by == PlacedBy::Avm ? "placed by the AVM of its image"
                                             : "placed by a blind solve of its stars (astrometry.net)";
  return writePlacedModel(path, quad, texture, options, source, objPath, err);
}

bool placeImageFacing(const std::string& path, const Vec3& look, const Vec3& up, double heightDeg,
                      const PlaceOptions& options, std::string& objPath, std::string& err) {
  if (!findUnit(options.unit)) {
    err = "unknown unit [" + options.unit + "]";
    return false;
  }
  skydata::Image texture;
  if (kindOf(path) == Kind::Fits) {
    if (!readFitsTexture(path, texture, err)) return false;
  } else {
    std::string why;
    if (!skydata::readImageRGB(path, texture, why)) {
      err = "cannot read the pixels of [" + path + "]";
      return false;
    }
  }
  SkyQuad quad;
  quad.width = texture.width;
  quad.height = texture.height;
  const Vec3 l = skydata::normalized(look);
  // up made square to the line of sight; right as the screen has it.
  const double along = skydata::dot(up, l);
  const Vec3 u = skydata::normalized({up[0] - along * l[0], up[1] - along * l[1], up[2] - along * l[2]});
  const Vec3 r = skydata::cross(l, u);
  const double halfH = std::tan(0.5 * heightDeg * kRadiansPerDegree);
  const double halfW = halfH * texture.width / std::max(1, texture.height);
  // Bottom left, bottom right, top right, top left.
  const double sx[skydata::kQuadCorners] = {-1, 1, 1, -1}, sy[skydata::kQuadCorners] = {-1, -1, 1, 1};
  for (int i = 0; i < skydata::kQuadCorners; ++i)
    for (int k = 0; k < 3; ++k) quad.corners[i][k] = l[k] + sx[i] * halfW * r[k] + sy[i] * halfH * u[k];
  for (Vec3& c : quad.corners) c = skydata::normalized(c);
  return writePlacedModel(path, quad, texture, options, "not placed on the sky: shown facing the view",
                          objPath, err);
}

namespace {

// The gnomonic WCS through the corners of the quad model at objPath, its residual, and the note
// that the written files carry about the fit.
bool fitModel(const std::string& objPath, TanWcs& t, FitResidual& residual, std::string& note,
              std::string& err) {
  QuadFile q;
  if (!readQuadFile(objPath, q, err)) return false;
  if (!fitTanWcs(q.icrs, q.width, q.height, t)) {
    err = "[" + objPath + "] has corners in a line, which no WCS fits";
    return false;
  }
  residual = wcsResidual(q, t);
  char text[256];
  std::snprintf(
      text, sizeof text,
      "Fitted to the corners of %s: residual %.4f arcsec at the corners, %.4f arcsec inside the quad",
      baseName(objPath).c_str(), residual.cornersArcsec, residual.insideArcsec);
  note = text;
  return true;
}

}  // namespace

bool writeWcsOfModel(const std::string& fitsPath, const std::string& objPath, std::string& sidecarPath,
                     FitResidual& residual, std::string& err) {
  TanWcs t;
  std::string note;
  if (!fitModel(objPath, t, residual, note, err)) return false;
  const bool fitsName = endsWith(fitsPath, ".fits") || endsWith(fitsPath, ".fit") || endsWith(fitsPath, ".fts");
  sidecarPath = (fitsName ? withoutExtension(fitsPath) : fitsPath) + ".xmp";
  return writeWcsFits(fitsPath, t, {note}, err) && writeAvmSidecar(sidecarPath, t, note, err);
}

bool writeAvmOfModel(const std::string& xmpPath, const std::string& objPath, FitResidual& residual,
                     std::string& err) {
  TanWcs t;
  std::string note;
  return fitModel(objPath, t, residual, note, err) && writeAvmSidecar(xmpPath, t, note, err);
}

}  // namespace place
