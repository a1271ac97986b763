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

// Reads the whole of a file into `bytes` (replacing what was there). False when it can't be
// opened; prints nothing.
bool readFileBytes(const std::string& path, std::vector<unsigned char>& bytes);

// Reads one catalogue file and appends its records. Returns false with a message in `err`
// on a missing or damaged file; records read before the fault stay appended.
bool readCatalogFile(const std::string& path, std::vector<CatRecord>& out, std::string& err);

// Where a star's parallax comes from. The package's documentation names the Hipparcos
// catalogue alone, but its parallax file tells the two sources apart: the Hipparcos new
// reduction (van Leeuwen 2007, A&A 474, 653) states errors to 0.01 mas, Gaia DR2 (Gaia
// Collaboration, Brown et al. 2018, A&A 616, A1) to 0.0001 mas, as hip_plx_err.dat writes
// them (Proxima 0.2030, Barnard's star 0.2899, where the new reduction has 1.3 for alpha Cen A
// and 1.58 for Sirius, too bright for Gaia DR2).
enum class ParallaxSource { Unknown, Hipparcos2007, GaiaDR2 };
constexpr size_t kGaiaErrorDecimals = 4;
// The source of a parallax error as the file writes it, e.g. "0.0606" or "1.58".
ParallaxSource parallaxSourceOf(const std::string& errText);

// A Hipparcos star with everything the builders need.
struct HipStar {
  int hip = 0;
  double raDeg = 0, decDeg = 0;
  double vmag = 0, bv = 0;
  double plxMas = 0, plxErrMas = 0;
  ParallaxSource plxSource = ParallaxSource::Unknown;
  double pmRaMasYr = 0, pmDecMasYr = 0;  // pmRA is pmRA*cos(Dec)
  bool hasPm = false;
  std::string spType;  // as the catalogue gives it, may be empty
  int hd = 0;
  std::string name;  // proper name, empty if none
  int components = 1;  // records of the catalogue whose light the star holds
};

// The whole catalogue of a stellarium-data tree (the folder holding stars/default and
// skycultures/western): one star per Hipparcos number (where records share a number, at the
// brightest one's position with the summed light of all), in order of Hipparcos number, with
// all records (Tycho stars included) in `all`.
struct Catalog {
  std::vector<HipStar> hip;
  std::vector<CatRecord> all;
  int recordsWithHip = 0;
  // Mends from the second catalogue: fast stars brought from J1991.25 to J2000, and stars whose
  // HD number comes from there (Hipparcos numbers, in catalogue order).
  std::vector<int> movedToJ2000;
  std::vector<int> hdFromSecondCatalogue;
};

// Reads the catalogue. Returns false with a message in `err` on a missing file, and on a
// companion that covers fewer stars than the least share below (a cut or damaged file).
constexpr double kLeastPmShare = 0.99;
constexpr double kLeastPlxErrShare = 0.99;
constexpr double kLeastHdShare = 0.80;
constexpr double kLeastSpShare = 0.97;
constexpr int kLeastNamedStars = 600;
bool loadCatalog(const std::string& stellariumDir, Catalog& cat, std::string& err);

// Flux relative to magnitude 0 of a magnitude, and back: m = -2.5 log10(F).
constexpr double kMagnitudeFactor = 0.4;
double magnitudeToFlux(double mag);
double fluxToMagnitude(double flux);

// Index of a Hipparcos number in cat.hip, or -1.
int findHip(const Catalog& cat, int hip);

}  // namespace skydata
