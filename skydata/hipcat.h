// Reader of the binary star catalogue that the stellarium-data package ships
// (stars_<n>_0v0_8.cat, type 0 records) with its text companions: proper motions, parallax
// errors, the HD cross-identification, spectral types and proper names.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace skydata {

// One record of the binary catalogue.
struct CatRecord {
  int hip = 0;                   // Hipparcos number, 0 for a star without one (Tycho stars)
  int component = 0;             // index into the component list, 0 for none
  double raDeg = 0, decDeg = 0;  // J2000 equatorial direction
  double vmag = 0;               // V magnitude
  double bv = 0;                 // B-V colour index
  double plxMas = 0;             // parallax in milliarcseconds, 0 or negative when unknown
  int spIndex = 0;               // index into the spectral type list, 0 for none
};

// Reads one catalogue file and appends its records. Returns false with a message in `err`
// on a missing or damaged file; records read before the fault stay appended.
bool readCatalogFile(const std::string& path, std::vector<CatRecord>& out, std::string& err);

// A Hipparcos star with everything the builders need.
struct HipStar {
  int hip = 0;
  double raDeg = 0, decDeg = 0;
  double vmag = 0, bv = 0;
  double plxMas = 0, plxErrMas = 0;
  double pmRaMasYr = 0, pmDecMasYr = 0;  // pmRA is pmRA*cos(Dec)
  bool hasPm = false;
  std::string spType;  // as the catalogue gives it, may be empty
  int hd = 0;
  std::string name;  // proper name, empty if none
};

// The whole catalogue of a stellarium-data tree (the folder holding stars/default and
// skycultures/western): one star per Hipparcos number (the brightest component where a number
// is shared), in order of Hipparcos number, with all records (Tycho stars included) in `all`.
struct Catalog {
  std::vector<HipStar> hip;
  std::vector<CatRecord> all;
  int recordsWithHip = 0;
};

bool loadCatalog(const std::string& stellariumDir, Catalog& cat, std::string& err);

// Index of a Hipparcos number in cat.hip, or -1.
int findHip(const Catalog& cat, int hip);

}  // namespace skydata
