// Reads the packaged binary star catalogue into the builders' star records.
#include "skydata/hipcat.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <map>

#include "skydata/skymath.h"

namespace skydata {

namespace {

uint32_t rd32(const unsigned char* p) {
  return p[0] | (p[1] << 8) | (p[2] << 16) | (uint32_t(p[3]) << 24);
}

struct Zone {
  Vec3 c, axis0, axis1;
};

// The zones are the triangles of an icosahedron, subdivided `level` times.
std::vector<Zone> makeZones(int level, double& scale) {
  const double G = (1 + std::sqrt(5.0)) / 2, b = 1 / std::sqrt(1 + G * G), a = b * G;
  const Vec3 corners[12] = {{a, -b, 0}, {a, b, 0},   {-a, b, 0}, {-a, -b, 0}, {0, a, -b}, {0, a, b},
                            {0, -a, b}, {0, -a, -b}, {-b, 0, a}, {b, 0, a},   {b, 0, -a}, {-b, 0, -a}};
  const int tri[20][3] = {{1, 0, 10}, {0, 1, 9},  {0, 9, 6},   {9, 8, 6},   {0, 7, 10},
                          {6, 7, 0},  {7, 6, 3},  {6, 8, 3},   {11, 10, 7}, {7, 3, 11},
                          {3, 2, 11}, {2, 3, 8},  {10, 11, 4}, {2, 4, 11},  {5, 4, 2},
                          {2, 8, 5},  {4, 1, 10}, {4, 5, 1},   {5, 9, 1},   {8, 9, 5}};
  struct T {
    Vec3 c[3];
  };
  std::vector<T> tris;
  for (auto& t : tri) tris.push_back({{corners[t[0]], corners[t[1]], corners[t[2]]}});
  auto add = [](const Vec3& p, const Vec3& q) {
    return normalized(Vec3{p[0] + q[0], p[1] + q[1], p[2] + q[2]});
  };
  for (int l = 0; l < level; ++l) {
    std::vector<T> next;
    next.reserve(tris.size() * 4);
    for (const T& t : tris) {
      const Vec3 e0 = add(t.c[1], t.c[2]), e1 = add(t.c[2], t.c[0]), e2 = add(t.c[0], t.c[1]);
      next.push_back({{t.c[0], e2, e1}});
      next.push_back({{e2, t.c[1], e0}});
      next.push_back({{e1, e0, t.c[2]}});
      next.push_back({{e0, e1, e2}});
    }
    tris.swap(next);
  }
  std::vector<Zone> zones;
  double maxM = 0;
  for (const T& t : tris) {
    Zone z;
    z.c = normalized(Vec3{t.c[0][0] + t.c[1][0] + t.c[2][0], t.c[0][1] + t.c[1][1] + t.c[2][1],
                          t.c[0][2] + t.c[1][2] + t.c[2][2]});
    z.axis0 = normalized(cross(Vec3{0, 0, 1}, z.c));
    z.axis1 = cross(z.c, z.axis0);
    for (const Vec3& k : t.c) {
      const Vec3 d = {k[0] - z.c[0], k[1] - z.c[1], k[2] - z.c[2]};
      const double m0 = dot(d, z.axis0), m1 = dot(d, z.axis1);
      const double h = std::sqrt(1 - m0 * m0 - m1 * m1);
      maxM = std::max({maxM, std::fabs(m0) / h, std::fabs(m1) / h});
    }
    zones.push_back(z);
  }
  scale = maxM / 2147483647.0;
  return zones;
}

std::vector<std::string> readLines(const std::string& path) {
  std::vector<std::string> lines;
  std::ifstream in(path);
  std::string s;
  while (std::getline(in, s)) lines.push_back(s);
  return lines;
}

}  // namespace

bool readFileBytes(const std::string& path, std::vector<unsigned char>& bytes) {
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) return false;
  bytes.clear();
  unsigned char chunk[65536];
  size_t n;
  while ((n = std::fread(chunk, 1, sizeof chunk, f)) > 0) bytes.insert(bytes.end(), chunk, chunk + n);
  std::fclose(f);
  return true;
}

bool readCatalogFile(const std::string& path, std::vector<CatRecord>& out, std::string& err) {
  std::vector<unsigned char> buf;
  if (!readFileBytes(path, buf)) {
    err = "cannot open [" + path + "]";
    return false;
  }
  if (buf.size() < 32) {
    err = "[" + path + "] is too short for a catalogue header";
    return false;
  }
  const uint32_t magic = rd32(&buf[0]), type = rd32(&buf[4]);
  const int level = int(rd32(&buf[16]));
  const int32_t magMin = int32_t(rd32(&buf[20]));
  const int32_t magRange = int32_t(rd32(&buf[24]));
  const int32_t magSteps = int32_t(rd32(&buf[28]));
  if (magic != 0x835f040a || type != 0 || level < 0 || level > 8 || magSteps <= 0) {
    err = "[" + path + "] is not a catalogue of type 0 records";
    return false;
  }
  double scale = 0;
  const std::vector<Zone> zones = makeZones(level, scale);
  size_t pos = 32;
  // The zone counts and the records must lie inside the file: a damaged count stops the read.
  if (buf.size() < pos + 4 * zones.size()) {
    err = "[" + path + "] ends inside the zone table";
    return false;
  }
  std::vector<uint32_t> counts(zones.size());
  for (size_t z = 0; z < zones.size(); ++z, pos += 4) counts[z] = rd32(&buf[pos]);
  for (size_t z = 0; z < zones.size(); ++z) {
    const Zone& zn = zones[z];
    for (uint32_t i = 0; i < counts[z]; ++i, pos += 28) {
      if (pos + 28 > buf.size()) {
        err = "[" + path + "] ends inside its records";
        return false;
      }
      const unsigned char* p = &buf[pos];
      CatRecord r;
      const uint32_t id = rd32(p);
      r.hip = int(id & 0xFFFFFF);
      r.component = int(id >> 24);
      const double x0 = int32_t(rd32(p + 4)), x1 = int32_t(rd32(p + 8));
      Vec3 d;
      for (int k = 0; k < 3; ++k) d[k] = zn.c[k] + scale * (x0 * zn.axis0[k] + x1 * zn.axis1[k]);
      vecToAng(d, r.raDeg, r.decDeg);
      r.bv = p[12] * 4.0 / 127.0 - 0.5;
      r.vmag = (magMin + double(p[13]) * magRange / magSteps) / 1000.0;
      r.spIndex = p[14] | (p[15] << 8);
      r.plxMas = int32_t(rd32(p + 24)) / 100.0;
      out.push_back(r);
    }
  }
  return true;
}

bool loadCatalog(const std::string& dir, Catalog& cat, std::string& err) {
  const std::string stars = dir + "/stars/default/";
  cat = Catalog();
  for (int i = 0; i < 3; ++i) {
    if (!readCatalogFile(stars + "stars_" + std::to_string(i) + "_0v0_8.cat", cat.all, err)) return false;
  }
  std::vector<std::string> sp = readLines(stars + "stars_hip_sp_0v0_4.cat");
  if (sp.empty()) {
    err = "cannot read [" + stars + "stars_hip_sp_0v0_4.cat]";
    return false;
  }
  // One star per Hipparcos number. Where the number has several records (the components of a
  // double or multiple star, or a companion the reduction split off), the star shines with their
  // summed light: V and B from the summed fluxes, B-V from those sums. It stands where its
  // brightest record stands, the primary that figures and names point at.
  struct Light {
    const CatRecord* brightest = nullptr;
    double fluxV = 0, fluxB = 0;
    int records = 0;
  };
  std::map<int, Light> light;
  for (const CatRecord& r : cat.all) {
    if (r.hip == 0) continue;
    ++cat.recordsWithHip;
    Light& l = light[r.hip];
    if (!l.brightest || r.vmag < l.brightest->vmag) l.brightest = &r;
    l.fluxV += magnitudeToFlux(r.vmag);
    l.fluxB += magnitudeToFlux(r.vmag + r.bv);
    ++l.records;
  }
  for (auto& [hip, l] : light) {
    const CatRecord* r = l.brightest;
    HipStar s;
    s.hip = hip;
    s.raDeg = r->raDeg;
    s.decDeg = r->decDeg;
    s.vmag = r->vmag;
    s.bv = r->bv;
    s.components = l.records;
    if (l.records > 1) {
      s.vmag = fluxToMagnitude(l.fluxV);
      s.bv = fluxToMagnitude(l.fluxB) - s.vmag;
    }
    s.plxMas = r->plxMas;
    if (r->spIndex > 0 && size_t(r->spIndex) < sp.size()) s.spType = sp[r->spIndex];
    cat.hip.push_back(s);
  }
  // Every record's spectral index points into the list: a shorter list is a cut file.
  int highestSp = 0;
  for (const CatRecord& r : cat.all) highestSp = std::max(highestSp, r.spIndex);
  if (size_t(highestSp) >= sp.size()) {
    err = "[" + stars + "stars_hip_sp_0v0_4.cat] lists " + std::to_string(sp.size()) +
          " spectral types where the catalogue's records point at type " + std::to_string(highestSp) +
          ": the file is cut or damaged";
    return false;
  }
  auto eachDataLine = [&](const std::string& path, auto fn) {
    std::ifstream in(path);
    if (!in) return false;
    std::string line;
    while (std::getline(in, line)) {
      if (line.empty() || line[0] == '#') continue;
      fn(line);
    }
    return true;
  };
  bool ok = eachDataLine(stars + "hip_pm.dat", [&](const std::string& l) {
    int hip;
    double a, b;
    if (std::sscanf(l.c_str(), "%d %lf %lf", &hip, &a, &b) == 3) {
      const int i = findHip(cat, hip);
      if (i >= 0) {
        cat.hip[i].pmRaMasYr = a;
        cat.hip[i].pmDecMasYr = b;
        cat.hip[i].hasPm = true;
      }
    }
  });
  ok = ok && eachDataLine(stars + "hip_plx_err.dat", [&](const std::string& l) {
         int hip;
         double e;
         char text[32];
         if (std::sscanf(l.c_str(), "%d %lf", &hip, &e) == 2 && std::sscanf(l.c_str(), "%*d %31s", text) == 1) {
           const int i = findHip(cat, hip);
           if (i >= 0) {
             cat.hip[i].plxErrMas = e;
             cat.hip[i].plxSource = parallaxSourceOf(text);
           }
         }
       });
  // cross-id.dat: HIP, an empty column, SAO, HD, HR, separated by tabs; any of the last three
  // may be empty.
  ok = ok && eachDataLine(stars + "cross-id.dat", [&](const std::string& l) {
         size_t start = 0;
         std::string cols[4];
         for (int c = 0; c < 4; ++c) {
           const size_t tab = l.find('\t', start);
           cols[c] = l.substr(start, tab == std::string::npos ? std::string::npos : tab - start);
           if (tab == std::string::npos) break;
           start = tab + 1;
         }
         const int hip = std::atoi(cols[0].c_str());
         const int hd = std::atoi(cols[3].c_str());
         const int i = findHip(cat, hip);
         if (i >= 0 && hd > 0 && cat.hip[i].hd == 0) cat.hip[i].hd = hd;
       });
  ok = ok && eachDataLine(dir + "/skycultures/western/star_names.fab", [&](const std::string& l) {
         int hip;
         char name[128];
         if (std::sscanf(l.c_str(), " %d|_(\"%127[^\"]\")", &hip, name) == 2) {
           const int i = findHip(cat, hip);
           if (i >= 0 && cat.hip[i].name.empty()) cat.hip[i].name = name;
         }
       });
  if (!ok) {
    err = "cannot read the text companions of the catalogue under [" + stars + "]";
    return false;
  }
  // Each companion covers nearly every Hipparcos star (proper motions 99.8%, parallax errors
  // 99.6%, HD numbers 83.7%, spectral types 98.0%, proper names 664 stars): a file that covers
  // clearly fewer is cut or damaged, and the data built from it would be silently poorer.
  int pm = 0, plxErr = 0, hd = 0, spType = 0, named = 0;
  for (const HipStar& h : cat.hip) {
    pm += h.hasPm;
    plxErr += h.plxErrMas > 0;
    hd += h.hd > 0;
    spType += !h.spType.empty();
    named += !h.name.empty();
  }
  const int total = int(cat.hip.size());
  struct Share {
    const char* file;
    const char* what;
    int count;
    double least;
  };
  const Share shares[] = {{"hip_pm.dat", "proper motions", pm, kLeastPmShare},
                          {"hip_plx_err.dat", "parallax errors", plxErr, kLeastPlxErrShare},
                          {"cross-id.dat", "HD numbers", hd, kLeastHdShare},
                          {"stars_hip_sp_0v0_4.cat", "spectral types", spType, kLeastSpShare}};
  for (const Share& sh : shares) {
    if (sh.count >= sh.least * total) continue;
    err = "[" + stars + sh.file + "] gives " + sh.what + " for " + std::to_string(sh.count) + " of " +
          std::to_string(total) + " Hipparcos stars, fewer than the " + std::to_string(int(sh.least * 100)) +
          "% it must: the file is cut or damaged";
    return false;
  }
  if (named < kLeastNamedStars) {
    err = "[" + dir + "/skycultures/western/star_names.fab] names " + std::to_string(named) +
          " Hipparcos stars, fewer than the " + std::to_string(kLeastNamedStars) +
          " it must: the file is cut or damaged";
    return false;
  }
  return true;
}

ParallaxSource parallaxSourceOf(const std::string& errText) {
  const size_t dot = errText.find('.');
  const size_t decimals = dot == std::string::npos ? 0 : errText.size() - dot - 1;
  return decimals >= kGaiaErrorDecimals ? ParallaxSource::GaiaDR2 : ParallaxSource::Hipparcos2007;
}

double magnitudeToFlux(double mag) {
  return std::pow(10.0, -kMagnitudeFactor * mag);
}

double fluxToMagnitude(double flux) {
  return -std::log10(flux) / kMagnitudeFactor;
}

int findHip(const Catalog& cat, int hip) {
  auto it = std::lower_bound(cat.hip.begin(), cat.hip.end(), hip,
                             [](const HipStar& s, int h) { return s.hip < h; });
  if (it == cat.hip.end() || it->hip != hip) return -1;
  return int(it - cat.hip.begin());
}

}  // namespace skydata
