// The extrasolar planet table: radial-velocity planets of a published orbit database, written in
// the star engine's fixed columns with each value's published source in a comment.
#pragma once

#include <string>
#include <vector>

#include "skydata/hipcat.h"

namespace skydata {

// One planet as the database gives it: the values are kept as the text the source wrote, so that
// the table carries them over to the digit.
struct PlanetRow {
  std::string name;       // the planet, "HD 209458 b"
  std::string star;       // its star, "HD 209458"
  int hd = 0;             // the star's HD number, 0 for none
  int hip = 0;            // the star's Hipparcos number, 0 for none
  std::string method;     // how it was found: "RV", "Transit", ...
  std::string msini;      // M sin i in Jupiter masses
  std::string period;     // days
  std::string semiMajor;  // astronomical units
  std::string ecc;        // eccentricity
  std::string k;          // velocity amplitude, m/s
  std::string credits;    // the published sources of the values, one line
};

// Reads the rows of the orbit database's CSV file (a header line of column names, then a line a
// planet). False with a message in `err` when the file can't be read, lacks a column the table
// needs or holds no planet; rows read before the fault stay in `out`.
bool readPlanetDatabase(const std::string& path, std::vector<PlanetRow>& out, std::string& err);

// "Torres 2008, ApJ 677, 1324" from a reference "Torres 2008" and its bibliographic code
// "2008ApJ...677.1324T" (or a link ending in one), with the code's year added in brackets when the
// reference doesn't name it ("Calculated, ApJ 646, 505 (2006)"); the reference alone when there
// is no code.
std::string citation(const std::string& ref, const std::string& url);

// The planet table of the radial-velocity planets whose star the catalogue holds by HD number.
// False with a message in `err` when none is left or a value doesn't fit its column. `written`
// gets the planets written, in the table's order.
bool planetTableText(const std::vector<PlanetRow>& rows, const Catalog& cat, std::string& text,
                     std::vector<PlanetRow>& written, std::string& err);

}  // namespace skydata
