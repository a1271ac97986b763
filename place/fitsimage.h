// FITS images for placing: the WCS of the first image unit, its size, and its pixels as an
// 8-bit texture.
#pragma once

#include <string>

#include "place/skywcs.h"
#include "skydata/skymaps.h"

namespace place {

// Reads the header of the first unit of path that holds an image (the primary one, or the first
// image extension) and parses its WCS into wcs. The size is NAXIS1 by NAXIS2, or, for a header
// with no pixels, IMAGEW by IMAGEH. Returns false with err when the file isn't a FITS file
// cfitsio can read ("cannot read the FITS file [<path>]: <cfitsio's reason>") or gives no size
// ("[<path>] has no image size"). A header without WCS keywords leaves wcs empty; wcsCorners
// states that. Prints nothing.
bool readFitsWcs(const std::string& path, Wcs& wcs, int& width, int& height, std::string& err);

// A texture is at most this many pixels on a side: a larger image is area-averaged.
inline constexpr long kMaxTextureSide = 2048;

// Reads the first plane of the image of path as a grey texture, first row on top (the FITS first
// row is the bottom of the picture). An image larger than kMaxTextureSide on a side is reduced by
// the whole factor textureReduction gives, each texture pixel the mean of the finite pixels of
// its block (the blocks of the last column and row may be cut short by the image's edge). The
// grey is scaled linearly from the 0.5th to the 99.5th percentile of the (reduced) finite
// pixels. Returns false with err "[<path>] has no pixels to show" for a header without data, or
// the read failure. Prints nothing.
bool readFitsTexture(const std::string& path, skydata::Image& out, std::string& err);

// The whole factor by which an image of width by height pixels is reduced to fit within
// kMaxTextureSide: 1 for one that fits.
long textureReduction(long width, long height);

// The pixels alone, as floats in file order: the floor that placing a FITS image is measured
// against. Returns false with err on failure.
bool readFitsPixels(const std::string& path, std::vector<float>& values, long& width, long& height,
                    std::string& err);

}  // namespace place
