// A gnomonic (TAN) WCS in ICRS, as the placement writes it out: the record, the wcslib form of
// it, and the FITS header file that carries it.
#pragma once

#include <string>
#include <vector>

#include "place/skywcs.h"

namespace place {

// CRVAL in ICRS degrees, CRPIX in FITS pixels (1 at the centre of the first pixel, the first
// row at the bottom), CD in degrees per pixel; the image is width by height pixels.
struct TanWcs {
  double crval[2] = {};
  double crpix[2] = {};
  double cd[2][2] = {};
  int width = 0, height = 0;
};

// Fills wcs with the two-axis RA---TAN / DEC--TAN form of t. Returns the wcsprm, owned by wcs.
wcsprm* tanToWcs(const TanWcs& t, Wcs& wcs);

// Writes t as a FITS file of one header without pixels (NAXIS 0), with the image size in IMAGEW
// and IMAGEH and each of comments as a COMMENT card. An existing file is replaced. Returns false
// with err "cannot write [<path>]: <cfitsio's reason>" on failure; prints nothing.
bool writeWcsFits(const std::string& path, const TanWcs& t, const std::vector<std::string>& comments,
                  std::string& err);

}  // namespace place
