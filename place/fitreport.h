// How well a placed or aligned image model fits the stars: stars of the catalogue marked at their
// positions in the image, and the angle between each star and where the model's WCS puts its mark.
#pragma once

#include <string>
#include <vector>

#include "place/skywcs.h"

namespace place {

// A star marked in the image: its Hipparcos number and its position in FITS pixels (1 at the
// centre of the first pixel, the first row at the bottom).
struct MarkedStar {
  int hip = 0;
  double x = 0, y = 0;
};

// Reads a list of marks, one "HIP <n> <x> <y>" a line; lines whose first non-blank is "#" and
// blank lines count for nothing. Returns false with err "cannot open [<path>]", "[<path>] line
// <n>: not \"HIP <number> <x> <y>\"" or "[<path>] marks no star". Prints nothing.
bool readMarkedStars(const std::string& path, std::vector<MarkedStar>& out, std::string& err);

// The galactic unit direction of each marked star, in the order of marks, from a star set file
// (.star: x, y, z in its first three columns, the Hipparcos number in column 21). Returns false
// with err "cannot open [<path>]" or "HIP <n> is not in [<path>]". Prints nothing.
bool markedStarDirections(const std::string& starFile, const std::vector<MarkedStar>& marks,
                          std::vector<Vec3>& out, std::string& err);

// The angle in arcseconds between each star's direction and the direction of its mark through
// wcs (one that wcsCorners accepts); a mark with no place in the projection gets -1.
std::vector<double> markResidualsArcsec(wcsprm* wcs, const std::vector<MarkedStar>& marks,
                                        const std::vector<Vec3>& directions);

// The report of the residuals: one line "HIP <n> at (<x>, <y>): <r> arcsec\n" a mark (r with two
// decimals, or "outside the projection"), then "fit residual over <k> stars: rms <r> arcsec,
// largest <r> arcsec (HIP <n>)\n" over the marks that have a place.
std::string fitReport(const std::vector<MarkedStar>& marks, const std::vector<double>& residuals);

// The WCS of the quad model at objPath (fitted to its corners, as writeWcsOfModel does) put into
// wcs. Returns false with err as writeWcsOfModel. Prints nothing.
bool wcsOfModel(const std::string& objPath, Wcs& wcs, std::string& err);

}  // namespace place
