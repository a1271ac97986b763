// The extrasolar planet table from the orbit database's CSV file: reading the rows, citing their
// sources and writing the fixed columns that the star engine reads.
#include "skydata/planets.h"

#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <sstream>

namespace skydata {

namespace {

// The columns of the star engine's table: each field ends before the next one's first column,
// and the velocity amplitude runs from column 74 to the end of the line.
constexpr int kNumberWidth = 9;
constexpr int kStarWidth = 14;
constexpr int kMassWidth = 12;
constexpr int kPeriodWidth = 13;
constexpr int kAxisWidth = 13;
constexpr int kEccWidth = 13;

// A bibliographic code: year, journal padded with dots, volume, qualifier, page, initial.
constexpr size_t kCodeLength = 19;
constexpr size_t kYearLength = 4;
constexpr size_t kJournalAt = 4, kJournalLength = 5;
constexpr size_t kVolumeAt = 9, kVolumeLength = 4;
constexpr size_t kPageAt = 14, kPageLength = 4;

std::vector<std::string> splitCsv(const std::string& line) {
  // The database writes no quoted fields: a comma always ends a value.
  std::vector<std::string> out;
  std::string field;
  std::istringstream in(line);
  while (std::getline(in, field, ',')) out.push_back(field);
  if (!line.empty() && line.back() == ',') out.push_back("");
  return out;
}

std::string undotted(const std::string& s) {
  std::string out;
  for (char c : s)
    if (c != '.') out += c;
  return out;
}

// The value right-aligned in a field of the width, with at least one blank before the next field;
// false when it doesn't fit.
bool field(std::string& line, const std::string& value, int width) {
  if (value.empty() || static_cast<int>(value.size()) > width - 1) return false;
  char buf[64];
  std::snprintf(buf, sizeof buf, "%*s ", width - 1, value.c_str());
  line += buf;
  return true;
}

}  // namespace

std::string citation(const std::string& ref, const std::string& url) {
  const size_t slash = url.rfind('/');
  const std::string code = slash == std::string::npos ? url : url.substr(slash + 1);
  if (code.size() != kCodeLength) return ref;
  const std::string journal = undotted(code.substr(kJournalAt, kJournalLength));
  const std::string volume = undotted(code.substr(kVolumeAt, kVolumeLength));
  const std::string page = undotted(code.substr(kPageAt, kPageLength));
  const std::string year = code.substr(0, kYearLength);
  if (journal.empty() || volume.empty() || page.empty()) return ref;
  // A value the database worked out itself is cited with the paper it was worked out from,
  // whose year the reference then doesn't give.
  const std::string when = ref.find(year) == std::string::npos ? " (" + year + ")" : "";
  return ref + ", " + journal + " " + volume + ", " + page + when;
}

bool readPlanetDatabase(const std::string& path, std::vector<PlanetRow>& out, std::string& err) {
  std::ifstream in(path);
  if (!in) {
    err = "cannot read [" + path + "]";
    return false;
  }
  std::string line;
  if (!std::getline(in, line)) {
    err = "[" + path + "] is empty";
    return false;
  }
  const std::vector<std::string> names = splitCsv(line);
  std::map<std::string, size_t> col;
  for (size_t i = 0; i < names.size(); ++i) col[names[i]] = i;
  static const char* const kNeeded[] = {"NAME", "STAR", "HD", "HIPP", "PLANETDISCMETH", "MSINI", "MSINIREF",
                                        "MSINIURL", "PER", "PERREF", "PERURL", "A", "AREF", "AURL", "ECC",
                                        "ECCREF", "K", "KREF", "ORBURL"};
  for (const char* n : kNeeded) {
    if (!col.count(n)) {
      err = "[" + path + "] has no column " + n;
      return false;
    }
  }
  int lineNum = 1;
  size_t before = out.size();
  while (std::getline(in, line)) {
    ++lineNum;
    if (line.empty()) continue;
    const std::vector<std::string> v = splitCsv(line);
    if (v.size() != names.size()) {
      err = "[" + path + "] line " + std::to_string(lineNum) + " has " + std::to_string(v.size()) +
            " values where the header names " + std::to_string(names.size()) + ": the file is cut or damaged";
      return false;
    }
    auto at = [&](const char* n) { return v[col[n]]; };
    PlanetRow r;
    r.name = at("NAME");
    r.star = at("STAR");
    r.hd = std::atoi(at("HD").c_str());
    r.hip = std::atoi(at("HIPP").c_str());
    r.method = at("PLANETDISCMETH");
    r.msini = at("MSINI");
    r.period = at("PER");
    r.semiMajor = at("A");
    r.ecc = at("ECC");
    r.k = at("K");
    // The eccentricity and the amplitude come from one orbit solution, which ORBURL links.
    r.credits = "period: " + citation(at("PERREF"), at("PERURL")) +
                "; eccentricity and K: " + citation(at("ECCREF"), at("ORBURL")) +
                "; semi-major axis: " + citation(at("AREF"), at("AURL")) +
                "; M sin i: " + citation(at("MSINIREF"), at("MSINIURL"));
    out.push_back(r);
  }
  if (out.size() == before) {
    err = "[" + path + "] holds no planet: the file is cut or damaged";
    return false;
  }
  return true;
}

bool planetTableText(const std::vector<PlanetRow>& rows, const Catalog& cat, std::string& text,
                     std::vector<PlanetRow>& written, std::string& err) {
  std::map<int, int> hipOfHd;
  for (const HipStar& h : cat.hip)
    if (h.hd > 0) hipOfHd.emplace(h.hd, h.hip);
  text =
      "# Extrasolar planets found by their stars' radial velocity, from the Exoplanet Orbit Database\n"
      "# (exoplanets.org) as python3-astroquery ships it; every value as the database gives it, with\n"
      "# its published source. Mass is M sin i, in Jupiter masses.\n"
      "#\n"
      "#  number star             M sin i       period (d)       a (AU)   eccentricity K (m/s)\n";
  written.clear();
  for (const PlanetRow& r : rows) {
    if (r.method != "RV") continue;
    // The star engine binds a planet to its star by HD number: a star the catalogue lacks, or
    // whose Hipparcos number there differs from the database's, gets no planet.
    auto found = hipOfHd.find(r.hd);
    if (r.hd <= 0 || found == hipOfHd.end() || found->second != r.hip) continue;
    std::string line;
    char number[32];
    std::snprintf(number, sizeof number, "%zu", written.size() + 1);
    if (!field(line, number, kNumberWidth) || !field(line, "HD" + std::to_string(r.hd), kStarWidth) ||
        !field(line, r.msini, kMassWidth) || !field(line, r.period, kPeriodWidth) ||
        !field(line, r.semiMajor, kAxisWidth) || !field(line, r.ecc, kEccWidth) || r.k.empty()) {
      err = "a value of " + r.name + " doesn't fit the planet table's columns";
      return false;
    }
    line += r.k;
    text += "# " + r.name + " (" + r.star + ", HIP " + std::to_string(r.hip) + "): " + r.credits + "\n";
    text += line + "\n";
    written.push_back(r);
  }
  if (written.empty()) {
    err = "no radial-velocity planet of the database has its star in the catalogue";
    return false;
  }
  return true;
}

}  // namespace skydata
