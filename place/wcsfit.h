// From an aligned quad model back to a WCS: the quad's corners and image size read from its OBJ,
// the gnomonic WCS through them, and how far that WCS is from the model.
#pragma once

#include <string>

#include "place/tanwcs.h"

namespace place {

// The image quad of a model file, its corners in ICRS unit directions in the order of SkyQuad,
// the vertices as the file has them and the face's corner order, which fixes the diagonal that
// splits the quad into its two triangles.
struct QuadFile {
  int width = 0, height = 0;              // of the texture, in pixels
  Vec3 icrs[skydata::kQuadCorners] = {};  // unit directions, bottom left first
  Vec3 points[skydata::kQuadCorners] = {};  // the same corners as positions, in the file's unit
  int faceOrder[skydata::kQuadCorners] = {};  // corner (0 bottom left .. 3 top left) of each face corner
  bool equatorial = false;  // points are equatorial (the export's choice), else galactic
};

// Reads a quad model: four `v` lines, four `vt` lines at the texture's corners, one face of four
// corners with texture indices, its `mtllib` whose `Td` texture (PNM) gives the image size, and the
// coordinate line of the export ("galactic", "equatorial"; galactic where there is none).
// Returns false with err:
//   "cannot open [<path>]"
//   "[<path>] is not a quad of four corners with texture coordinates"
//   "[<path>] is in the super galactic system, which has no WCS here"
//   "cannot read the texture of [<path>], which gives the image size"
// Prints nothing.
bool readQuadFile(const std::string& path, QuadFile& out, std::string& err);

// The gnomonic WCS whose projection of the image's pixel corners falls on the four directions:
// any four directions in general position have one. CRVAL is the tangent point that makes the
// map from pixels to the projection plane linear. Returns false if the corners are degenerate
// (three in a line).
bool fitTanWcs(const Vec3 icrs[skydata::kQuadCorners], int width, int height, TanWcs& out);

// How far the WCS is from the model, in arcseconds: the largest angle between a corner's
// direction and where the WCS puts that corner, and the largest over a grid inside the quad
// between where the model shows a pixel (each of its two triangles carries the texture
// linearly) and where the WCS puts it.
struct FitResidual {
  double cornersArcsec = 0;
  double insideArcsec = 0;
};
FitResidual wcsResidual(const QuadFile& q, const TanWcs& t);

}  // namespace place
