// Reader of the second star catalogue the builders consult, the one the kstars-data package
// ships: its Hipparcos-derived text catalogue (stars.dat, J2000 positions and proper motions)
// and its binary star records that carry HD numbers (namedstars.dat, unnamedstars.dat).
#pragma once

#include <string>
#include <vector>

#include "skydata/hipcat.h"

namespace skydata {

// One star of the second catalogue.
struct RefStar {
  double raDeg = 0, decDeg = 0;  // J2000 equatorial direction at epoch J2000
  double vmag = 0;               // V magnitude
  int hd = 0;                    // HD number, 0 where the file gives none
};

// Reads stars.dat, the text catalogue (columns: RA hhmmss.ss, Dec +ddmmss.s, proper motions,
// parallax, V, ...). Returns false with a message in `err` on a missing file or when fewer
// lines read than the file must hold; `out` is replaced.
bool readRefText(const std::string& path, std::vector<RefStar>& out, std::string& err);

// Reads a binary star data file of 32-byte records (RA, Dec, motions, parallax, HD, V, B-V,
// type) and appends its stars. Returns false with a message on a missing or damaged file.
bool readRefBinary(const std::string& path, std::vector<RefStar>& out, std::string& err);

// Fast stars (proper motion above kFastMasPerYear) whose catalogue position lies where the
// star stood at the Hipparcos epoch, J1991.25, rather than at J2000: those whose position moved
// on by 8.75 years of their own proper motion meets a star of the second catalogue of like
// magnitude, while the position as given meets none. Moves these to J2000 by their proper
// motion and returns their Hipparcos numbers.
constexpr double kFastMasPerYear = 200.0;
constexpr double kHipparcosEpoch = 1991.25;
constexpr double kJ2000 = 2000.0;
std::vector<int> bringFastStarsToJ2000(Catalog& cat, const std::vector<RefStar>& ref);

// Fills the HD number of every Hipparcos star that has none, from the star of the second
// catalogue that lies within a few arcseconds and is of like magnitude, when exactly one HD
// number is found there and no other star holds it. Returns the Hipparcos numbers filled.
std::vector<int> fillMissingHd(Catalog& cat, const std::vector<RefStar>& ref);

// Reads the second catalogue from <kstarsDir> (the kstars-data package's usr/share/kstars) and
// applies both mends above to `cat`, recording them in cat.movedToJ2000 and
// cat.hdFromSecondCatalogue. Returns false with a message when a file is missing or damaged;
// `cat` is then as it was.
bool applySecondCatalogue(const std::string& kstarsDir, Catalog& cat, std::string& err);

}  // namespace skydata
