// Builds the constellation file: figures as HD numbers, IAU boundaries and names.
#include "skydata/constell.h"

#include <algorithm>
#include <cctype>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <map>
#include <set>
#include <sstream>
#include <vector>

#include "skydata/starfile.h"

namespace skydata {

namespace {

struct Pt {
  double ra, dec;
};

bool samePt(const Pt& a, const Pt& b) {
  return std::fabs(a.ra - b.ra) < 1e-6 && std::fabs(a.dec - b.dec) < 1e-6;
}

std::string upper(std::string s) {
  for (char& c : s) c = char(std::toupper(static_cast<unsigned char>(c)));
  return s;
}

}  // namespace

bool constellationText(const std::string& dir, const Catalog& cat, std::string& text, ConstellationStats& st,
                       std::string& err, const SkyShape& shape) {
  const std::string sc = dir + "/skycultures/western/";
  // Names, in the order of the names file.
  std::vector<std::pair<std::string, std::string>> names;  // code, English name
  {
    std::ifstream in(sc + "constellation_names.eng.fab");
    if (!in) {
      err = "cannot read [" + sc + "constellation_names.eng.fab]";
      return false;
    }
    std::string l;
    while (std::getline(in, l)) {
      if (l.empty() || l[0] == '#') continue;
      const size_t a = l.find("_(\""), b = l.rfind("\")");
      std::string code = l.substr(0, l.find_first_of(" \t"));
      if (code.size() != 3 || a == std::string::npos || b == std::string::npos || b <= a + 3) continue;
      names.push_back({code, l.substr(a + 3, b - a - 3)});
    }
  }
  if (names.size() != shape.constellations) {
    err = "[" + sc + "constellation_names.eng.fab] names " + std::to_string(names.size()) +
          " constellations where the sky has " + std::to_string(shape.constellations) +
          ": the file is cut or damaged";
    return false;
  }
  // Figures: code -> list of segments (HIP pairs).
  std::map<std::string, std::vector<std::pair<int, int>>> figures;
  {
    std::ifstream in(sc + "constellationship.fab");
    if (!in) {
      err = "cannot read [" + sc + "constellationship.fab]";
      return false;
    }
    std::string l;
    int lineNo = 0;
    while (std::getline(in, l)) {
      ++lineNo;
      std::istringstream ss(l);
      std::string code;
      int n;
      if (!(ss >> code >> n)) continue;
      for (int i = 0; i < n; ++i) {
        int a, b;
        if (!(ss >> a >> b)) {
          err = "[" + sc + "constellationship.fab] line " + std::to_string(lineNo) + ": the figure of " + code +
                " declares " + std::to_string(n) + " segments and gives " + std::to_string(i) +
                ": the file is cut or damaged";
          return false;
        }
        figures[code].push_back({a, b});
        ++st.sourceSegments;
      }
    }
    if (figures.size() != shape.constellations) {
      err = "[" + sc + "constellationship.fab] draws " + std::to_string(figures.size()) +
            " constellations where the sky has " + std::to_string(shape.constellations) +
            ": the file is cut or damaged";
      return false;
    }
  }
  // Bayer and Flamsteed designations tell which constellation a star belongs to.
  std::map<int, std::string> home;
  {
    std::ifstream in(dir + "/stars/default/name.fab");
    std::string l;
    while (std::getline(in, l)) {
      int hip;
      char des[128];
      if (std::sscanf(l.c_str(), " %d|%127s", &hip, des) == 2) {
        std::string d = des;
        const size_t u = d.rfind('_');
        if (u != std::string::npos && !home.count(hip)) home[hip] = upper(d.substr(u + 1, 3));
      }
    }
  }
  // HD numbers held by exactly one star of the sets.
  std::map<int, int> hdCount;
  for (const HipStar& s : cat.hip)
    if (hasUsableParallax(s) && s.hd > 0) ++hdCount[s.hd];
  auto usableHd = [&](int hip) -> int {
    const int i = findHip(cat, hip);
    if (i < 0) return 0;
    const HipStar& s = cat.hip[i];
    if (!hasUsableParallax(s) || s.hd <= 0 || hdCount[s.hd] != 1) return 0;
    return s.hd;
  };
  // The first constellation, in the order of the codes, whose figure uses a star: the home of a
  // shared star that has no designation naming one of its figures.
  std::map<int, std::string> firstUse;
  for (auto& [code, segs] : figures)
    for (auto& [a, b] : segs) {
      firstUse.emplace(a, code);
      firstUse.emplace(b, code);
    }
  std::map<int, std::set<std::string>> usedBy;
  for (auto& [code, segs] : figures)
    for (auto& [a, b] : segs) {
      usedBy[a].insert(code);
      usedBy[b].insert(code);
    }
  auto isShared = [&](int hip, const std::string& code) {
    if (usedBy[hip].size() < 2) return false;
    auto h = home.find(hip);
    if (h != home.end()) {
      for (const std::string& c : usedBy[hip])
        if (upper(c) == h->second) return upper(code) != h->second;
    }
    return firstUse[hip] != code;
  };

  // Boundaries: segments of two constellations each, joined into loops per constellation.
  std::map<std::string, std::vector<std::vector<Pt>>> bsegs;
  {
    std::ifstream in(dir + "/data/constellation_boundaries.dat");
    if (!in) {
      err = "cannot read [" + dir + "/data/constellation_boundaries.dat]";
      return false;
    }
    int n;
    while (in >> n) {
      if (n < 2 || n > 10000) {
        err = "damaged boundary file";
        return false;
      }
      std::vector<Pt> pts(n);
      for (auto& p : pts) in >> p.ra >> p.dec;
      int k;
      std::string c1, c2;
      in >> k >> c1 >> c2;
      if (!in) {
        err = "damaged boundary file";
        return false;
      }
      for (std::string c : {c1, c2}) {
        if (c.rfind("SER", 0) == 0) c = "SER";
        bsegs[c].push_back(pts);
      }
    }
  }

  int openChains = 0;
  std::ostringstream out;
  out << "# The 88 constellations: figures of the western sky culture of the stellarium-data package,\n"
         "# with stars given by HD number through the Hipparcos cross-identification (and, where it\n"
         "# has none, the kstars-data catalogue's HD number at the star's place), boundaries of\n"
         "# the IAU (Delporte 1930, J2000 coordinates) in right ascension (hours) and declination\n"
         "# (degrees), joined into closed loops per constellation.\n"
         "# A figure line is broken where a star has no HD number of its own or no usable parallax.\n"
         "# SHARED marks a star that belongs to a neighbouring constellation.\n";
  char buf[256];
  for (auto& [code, eng] : names) {
    ++st.constellations;
    out << "\nCONSTELLATION " << code << " " << eng << "\n";
    // Boundaries.
    std::vector<std::vector<Pt>> segs = bsegs[upper(code)];
    if (segs.empty()) {
      err = "[" + dir + "/data/constellation_boundaries.dat] gives no boundary for " + code +
            ": the file is cut or damaged";
      return false;
    }
    std::vector<bool> used(segs.size(), false);
    for (size_t s = 0; s < segs.size(); ++s) {
      if (used[s]) continue;
      used[s] = true;
      std::vector<Pt> chain = segs[s];
      bool grown = true;
      while (grown && !samePt(chain.front(), chain.back())) {
        grown = false;
        for (size_t t = 0; t < segs.size(); ++t) {
          if (used[t]) continue;
          if (samePt(segs[t].front(), chain.back())) {
            chain.insert(chain.end(), segs[t].begin() + 1, segs[t].end());
          } else if (samePt(segs[t].back(), chain.back())) {
            chain.insert(chain.end(), segs[t].rbegin() + 1, segs[t].rend());
          } else {
            continue;
          }
          used[t] = true;
          grown = true;
          break;
        }
      }
      std::vector<Pt> loop = chain;
      if (!samePt(loop.front(), loop.back())) {
        ++openChains;
        if (shape.closedBoundaries) {
          err = "[" + dir + "/data/constellation_boundaries.dat] leaves the boundary of " + code +
                " open: the file is cut or damaged";
          return false;
        }
      }
      if (samePt(loop.front(), loop.back())) {
        loop.pop_back();
      } else {
        // An open chain is drawn out and back, so that closing the loop adds no false line.
        for (size_t i = chain.size() - 1; i-- > 1;) loop.push_back(chain[i]);
      }
      out << "BEGIN BOUNDARY\n";
      for (const Pt& p : loop) {
        std::snprintf(buf, sizeof buf, "%.7f %.7f %s\n", p.ra, p.dec, code.c_str());
        out << buf;
      }
      out << "END BOUNDARY\n";
      ++st.boundaryBlocks;
    }
    // Figures: polylines of consecutive segments, broken at stars that can't be named.
    std::vector<std::vector<int>> polys;
    for (auto& [a, b] : figures[code]) {
      const int ha = usableHd(a), hb = usableHd(b);
      if (!ha || !hb) continue;
      ++st.writtenSegments;
      st.figureStars.insert(a);
      st.figureStars.insert(b);
      if (!polys.empty() && polys.back().back() == a) {
        polys.back().push_back(b);
      } else {
        polys.push_back({a, b});
      }
    }
    if (polys.empty()) {
      err = "constellation " + code + " has no figure star in the sets";
      return false;
    }
    for (auto& poly : polys) {
      out << "BEGIN LINE\n";
      for (int hip : poly) out << "HD" << usableHd(hip) << (isShared(hip, code) ? " SHARED" : "") << "\n";
      out << "END LINE\n";
    }
  }
  st.openBoundaries = openChains;
  text = out.str();
  return true;
}

}  // namespace skydata
