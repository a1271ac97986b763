// Writer of the constellation file: figures as HD numbers, IAU boundaries in RA/Dec, names.
#pragma once

#include <set>
#include <string>

#include "skydata/hipcat.h"

namespace skydata {

// The IAU's constellations, as many as the names file must name.
constexpr size_t kConstellations = 88;

struct ConstellationStats {
  int constellations = 0;
  int sourceSegments = 0;   // segments of the figures in the source
  int writtenSegments = 0;  // segments between stars that the star sets hold
  int boundaryBlocks = 0;
  int openBoundaries = 0;  // boundary chains that do not close
  std::set<int> figureStars;  // Hipparcos numbers of the stars named in the figures
};

// What the source must hold: the IAU's 88 constellations, each in a closed boundary. A smaller
// made-up sky states its own.
struct SkyShape {
  size_t constellations = kConstellations;
  bool closedBoundaries = true;
};

// Builds the file text from the stellarium-data tree (skycultures/western and
// data/constellation_boundaries.dat). Figure stars must have a usable parallax and an HD
// number that no other star of the sets shares; a figure line is broken at any other star.
// Returns false with a message in `err` on a missing file and on a source that falls short of
// `shape` (a cut or damaged file).
bool constellationText(const std::string& stellariumDir, const Catalog& cat, std::string& text,
                       ConstellationStats& stats, std::string& err, const SkyShape& shape = SkyShape());

}  // namespace skydata
