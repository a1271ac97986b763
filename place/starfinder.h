// Finding the stars of a picture for a blind solve: connected bright spots, ranked by their whole
// light, and the source list that solve-field reads in place of its own extraction.
#pragma once

#include <string>
#include <vector>

namespace place {

// A picture as grey values: width * height floats, the first row at the bottom (FITS order);
// not-a-number values count as background.
struct GreyImage {
  int width = 0, height = 0;
  std::vector<float> values;
};

// One source: its light-weighted centre in FITS pixels (1 at the centre of the first pixel, y
// up) and its light above the background, summed over its pixels.
struct Source {
  double x = 0, y = 0;
  double flux = 0;
};

// The bright spots of the image, brightest (most light in total) first, at most maxSources.
// A spot is a connected group of pixels (corners touching count) above the background (the
// median) by the larger of 5 noise levels (from the median absolute deviation) and a twentieth
// of the brightest pixel's height above it. Ranking by the summed light and not by the peak is
// what makes a picture solvable whose bright stars are drawn as larger discs with their cores
// clipped at white: by the peak they would all tie.
std::vector<Source> findSources(const GreyImage& image, size_t maxSources);

// The grey image of 8-bit RGB pixels stored first row on top: the channels summed, rows turned
// so that the first row is the bottom one.
GreyImage greyOfRgb(const unsigned char* rgb, int width, int height);

// Writes the sources as a FITS binary table with the columns X, Y and FLUX (an astrometry.net
// source list). Returns false with err "cannot write [<path>]: <cfitsio's reason>"; prints nothing.
bool writeSourceList(const std::string& path, const std::vector<Source>& sources, std::string& err);

}  // namespace place
