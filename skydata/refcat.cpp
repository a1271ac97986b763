// Reader of the second star catalogue (kstars-data) and the two mends it serves: the epoch of
// fast stars and the HD numbers the first cross-identification lacks.
#include "skydata/refcat.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <map>
#include <set>

#include "skydata/skymath.h"

namespace skydata {

namespace {

// The text catalogue holds one line per star; fewer than this is a damaged or cut file.
constexpr size_t kRefTextMinStars = 125000;
// A match: within this distance and this difference in V (the two catalogues round V apart,
// and a double star's V may be the pair's in one and a component's in the other).
constexpr double kMatchArcsec = 3.0;
// A star is taken to stand at the old epoch when the moved position lies at least this many
// times nearer its match than the position as given: a star of 200 mas/yr moves only 1.75"
// in the 8.75 years, less than a match's reach, so the nearer of the two decides.
constexpr double kEpochPreference = 2.0;
// The old positions are not all at exactly J1991.25 (some lag by 8.2 to 8.5 years of motion):
// the reach of the moved position grows by this part of the shift.
constexpr double kEpochSlack = 0.08;
constexpr double kMatchMag = 1.0;
// Binary file layout: a 124-byte description, the byte-order mark, a version, the field table,
// then the index of sky cells (id, offset, count) and the 32-byte records.
constexpr size_t kDescBytes = 124;
constexpr size_t kFieldBytes = 16;
constexpr size_t kIndexEntryBytes = 12;
constexpr size_t kRecordBytes = 32;
constexpr uint16_t kByteOrderMark = 0x4B53;
constexpr double kRaScale = 1e6;   // hours
constexpr double kDecScale = 1e5;  // degrees
constexpr double kMagScale = 100;

uint32_t le32(const unsigned char* p) {
  return p[0] | (p[1] << 8) | (p[2] << 16) | (uint32_t(p[3]) << 24);
}

// Stars of the second catalogue in bands of declination, for lookups near a direction.
class RefIndex {
 public:
  explicit RefIndex(const std::vector<RefStar>& ref) : ref_(ref) {
    for (size_t i = 0; i < ref.size(); ++i) bands_[band(ref[i].decDeg)].push_back(i);
  }
  // Stars within `reach` arcseconds of (ra, dec) and within kMatchMag of v (at most a band's
  // width: reaches are a few arcseconds).
  // Distance in arcseconds to the nearest star of like magnitude, or a value above kMatchArcsec
  // when none is in reach.
  double nearest(double ra, double dec, double v, double reach = kMatchArcsec) const {
    const Vec3 p = angToVec(ra, dec);
    double best = 2 * reach;
    for (const RefStar* r : near(ra, dec, v, reach)) {
      const double c = std::fmin(1.0, dot(p, angToVec(r->raDeg, r->decDeg)));
      best = std::fmin(best, std::acos(c) / kRadiansPerDegree * kArcsecPerDegree);
    }
    return best;
  }
  std::vector<const RefStar*> near(double ra, double dec, double v, double reach = kMatchArcsec) const {
    std::vector<const RefStar*> out;
    const Vec3 p = angToVec(ra, dec);
    const double cosMax = std::cos(reach / kArcsecPerDegree * kRadiansPerDegree);
    for (int b = band(dec) - 1; b <= band(dec) + 1; ++b) {
      auto it = bands_.find(b);
      if (it == bands_.end()) continue;
      for (size_t i : it->second) {
        const RefStar& r = ref_[i];
        if (std::fabs(r.vmag - v) > kMatchMag) continue;
        if (dot(p, angToVec(r.raDeg, r.decDeg)) >= cosMax) out.push_back(&r);
      }
    }
    return out;
  }

 private:
  // Bands a tenth of a degree wide: far wider than a match.
  static int band(double dec) { return int(std::floor(dec * 10)); }
  const std::vector<RefStar>& ref_;
  std::map<int, std::vector<size_t>> bands_;
};

// The position a proper motion (mas/yr, RA's times cos Dec) gives after `years`.
void move(double& ra, double& dec, double pmRa, double pmDec, double years) {
  const double r = ra * kRadiansPerDegree, d = dec * kRadiansPerDegree;
  const Vec3 p = angToVec(ra, dec);
  const Vec3 east = {-std::sin(r), std::cos(r), 0};
  const Vec3 north = {-std::sin(d) * std::cos(r), -std::sin(d) * std::sin(r), std::cos(d)};
  const double k = years / kMasPerDegree * kRadiansPerDegree;
  Vec3 q;
  for (int i = 0; i < 3; ++i) q[i] = p[i] + k * (pmRa * east[i] + pmDec * north[i]);
  vecToAng(normalized(q), ra, dec);
}

}  // namespace

bool readRefText(const std::string& path, std::vector<RefStar>& out, std::string& err) {
  std::ifstream in(path);
  if (!in) {
    err = "cannot read [" + path + "]";
    return false;
  }
  out.clear();
  std::string l;
  while (std::getline(in, l)) {
    if (l.empty() || l[0] == '#') continue;
    int rh, rm, dd, dm;
    double rs, ds, pmRa, pmDec, plx, v;
    char sign;
    // hhmmss.ss sddmmss.s, then motions, parallax and V in fixed columns.
    if (std::sscanf(l.c_str(), "%2d%2d%5lf %c%2d%2d%4lf%9lf%9lf%7lf%5lf", &rh, &rm, &rs, &sign, &dd, &dm, &ds,
                    &pmRa, &pmDec, &plx, &v) != 11)
      continue;
    RefStar s;
    s.raDeg = (rh + rm / 60.0 + rs / kArcsecPerDegree) * kDegreesPerHour;
    s.decDeg = (sign == '-' ? -1 : 1) * (dd + dm / 60.0 + ds / kArcsecPerDegree);
    s.vmag = v;
    out.push_back(s);
  }
  if (out.size() < kRefTextMinStars) {
    err = "[" + path + "] holds " + std::to_string(out.size()) + " stars where it must hold at least " +
          std::to_string(kRefTextMinStars) + ": the file is cut or damaged";
    return false;
  }
  return true;
}

bool readRefBinary(const std::string& path, std::vector<RefStar>& out, std::string& err) {
  std::vector<unsigned char> b;
  if (!readFileBytes(path, b)) {
    err = "cannot read [" + path + "]";
    return false;
  }
  const std::string damaged = "[" + path + "] is not a star data file of 32-byte records";
  size_t p = kDescBytes;
  if (b.size() < p + 5 || (b[p] | (b[p + 1] << 8)) != kByteOrderMark) {
    err = damaged;
    return false;
  }
  const size_t fields = b[p + 3] | (b[p + 4] << 8);
  p += 5 + fields * kFieldBytes;
  if (b.size() < p + 4) {
    err = damaged;
    return false;
  }
  const size_t cells = le32(&b[p]);
  p += 4;
  if (cells == 0 || b.size() < p + cells * kIndexEntryBytes) {
    err = damaged;
    return false;
  }
  size_t start = SIZE_MAX, records = 0;
  for (size_t c = 0; c < cells; ++c) {
    const unsigned char* e = &b[p + c * kIndexEntryBytes];
    start = std::min<size_t>(start, le32(e + 4));
    records += le32(e + 8);
  }
  // The records follow the index and fill the file to its end.
  if (start < p + cells * kIndexEntryBytes || start + records * kRecordBytes != b.size()) {
    err = damaged;
    return false;
  }
  for (size_t i = 0; i < records; ++i) {
    const unsigned char* r = &b[start + i * kRecordBytes];
    RefStar s;
    s.raDeg = int32_t(le32(r)) / kRaScale * kDegreesPerHour;
    s.decDeg = int32_t(le32(r + 4)) / kDecScale;
    s.hd = int32_t(le32(r + 20));
    s.vmag = int16_t(r[24] | (r[25] << 8)) / kMagScale;
    out.push_back(s);
  }
  return true;
}

std::vector<int> bringFastStarsToJ2000(Catalog& cat, const std::vector<RefStar>& ref) {
  const RefIndex index(ref);
  std::vector<int> moved;
  for (HipStar& s : cat.hip) {
    if (!s.hasPm || std::hypot(s.pmRaMasYr, s.pmDecMasYr) <= kFastMasPerYear) continue;
    double ra = s.raDeg, dec = s.decDeg;
    const double years = kJ2000 - kHipparcosEpoch;
    const double shift = std::hypot(s.pmRaMasYr, s.pmDecMasYr) * years / kMasPerArcsec;
    const double reach = kMatchArcsec + kEpochSlack * shift;
    move(ra, dec, s.pmRaMasYr, s.pmDecMasYr, years);
    const double asGiven = index.nearest(s.raDeg, s.decDeg, s.vmag, reach);
    const double atJ2000 = index.nearest(ra, dec, s.vmag, reach);
    if (atJ2000 > reach || atJ2000 * kEpochPreference > asGiven) continue;
    s.raDeg = ra;
    s.decDeg = dec;
    moved.push_back(s.hip);
  }
  return moved;
}

std::vector<int> fillMissingHd(Catalog& cat, const std::vector<RefStar>& ref) {
  std::vector<RefStar> withHd;
  for (const RefStar& r : ref)
    if (r.hd > 0) withHd.push_back(r);
  const RefIndex index(withHd);
  // An HD number another star already holds is that star's (a wide pair's primary, found
  // within reach of its companion): it is not given twice.
  std::set<int> held;
  for (const HipStar& s : cat.hip)
    if (s.hd > 0) held.insert(s.hd);
  std::vector<int> filled;
  for (HipStar& s : cat.hip) {
    if (s.hd > 0) continue;
    std::set<int> hd;
    for (const RefStar* r : index.near(s.raDeg, s.decDeg, s.vmag)) hd.insert(r->hd);
    if (hd.size() != 1 || held.count(*hd.begin())) continue;
    s.hd = *hd.begin();
    filled.push_back(s.hip);
  }
  return filled;
}

bool applySecondCatalogue(const std::string& kstarsDir, Catalog& cat, std::string& err) {
  std::vector<RefStar> ref, refHd;
  if (!readRefText(kstarsDir + "/stars.dat", ref, err)) return false;
  for (const char* f : {"/namedstars.dat", "/unnamedstars.dat"})
    if (!readRefBinary(kstarsDir + f, refHd, err)) return false;
  cat.movedToJ2000 = bringFastStarsToJ2000(cat, ref);
  cat.hdFromSecondCatalogue = fillMissingHd(cat, refHd);
  return true;
}

}  // namespace skydata
