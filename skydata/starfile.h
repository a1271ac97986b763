// Writers of the star sets (.star files) from the Hipparcos stars of the catalogue.
#pragma once

#include <set>
#include <string>
#include <vector>

#include "skydata/hipcat.h"

namespace skydata {

// Class, subclass and luminosity class of a spectral type text such as "A1V+DA", "M1-M2Ia-Iab",
// "B0.5IIIe" or "kA2hF0". `cls` is "--" when no class can be read; `lum` is empty when the type
// names no luminosity class of I to V (subdwarfs, white dwarfs and bare types).
struct SpectralParts {
  std::string cls;
  double num = 0;
  std::string lum;
};
SpectralParts parseSpectralType(const std::string& sp);

// A star of a usable parallax: only these go into the sets.
bool hasUsableParallax(const HipStar& s);

// The data line of one star: galactic position in parsecs, distance error, velocity from the
// proper motion, B-V, luminosity, colour, spectrum, HD, HIC (= Hipparcos number) and name.
std::string starLine(const HipStar& s);

// The stars of set n (1 to 12): usable parallax and V at most n; set 12 holds every star with a
// usable parallax whatever its V.
bool inSet(const HipStar& s, int n);

// Comment lines crediting the parallaxes of the stars with a usable one: how many come from
// Gaia DR2 and how many from the Hipparcos new reduction.
std::string parallaxCreditText(const Catalog& cat);

// Comment lines "# <title>: HIP 1, HIP 2." naming a list of Hipparcos numbers, wrapped at
// kCommentWidth characters (the readers take lines of 512 bytes); "none." for an empty list.
constexpr size_t kCommentWidth = 96;
std::string hipCommentLines(const std::string& title, const std::vector<int>& hip);

// Writes <dir>/hip.<n>.star for n = 1..12: the stars of inSet, and in every set also the stars
// of usable parallax whose Hipparcos number is in `figureStars`, so that the constellation
// figures are whole whichever set is shown. Returns false with a message on a write failure.
bool writeStarSets(const Catalog& cat, const std::set<int>& figureStars, const std::string& dir,
                   std::string& err);

}  // namespace skydata
