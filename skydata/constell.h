// Writer of the constellation file: figures as HD numbers, IAU boundaries in RA/Dec, names.
#pragma once

#include <set>
#include <string>

#include "skydata/hipcat.h"

namespace skydata {

struct ConstellationStats {
  int constellations = 0;
  int sourceSegments = 0;   // segments of the figures in the source
  int writtenSegments = 0;  // segments between stars that the star sets hold
  int boundaryBlocks = 0;
  std::set<int> figureStars;  // Hipparcos numbers of the stars named in the figures
};

// Builds the file text from the stellarium-data tree (skycultures/western and
// data/constellation_boundaries.dat). Figure stars must have a usable parallax and an HD
// number that no other star of the sets shares; a figure line is broken at any other star.
bool constellationText(const std::string& stellariumDir, const Catalog& cat, std::string& text,
                       ConstellationStats& stats, std::string& err);

}  // namespace skydata
