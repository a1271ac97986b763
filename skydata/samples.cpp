// Builds the sample models: nebula and galaxy images as textured quads placed on the sky.
#include "skydata/samples.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <sstream>

#include "skydata/quadmodel.h"
#include "skydata/skymaps.h"

namespace skydata {

bool findPlacedImage(const std::string& path, const std::string& image, PlacedImage& out, std::string& err) {
  std::ifstream in(path);
  if (!in) {
    err = "cannot read [" + path + "]";
    return false;
  }
  std::stringstream ss;
  ss << in.rdbuf();
  const std::string s = ss.str();
  const size_t at = s.find("\"imageUrl\" : \"" + image + "\"");
  if (at == std::string::npos) {
    err = "no entry for [" + image + "] in [" + path + "]";
    return false;
  }
  // The entry's braces: back to its '{', forward to its '}'.
  const size_t open = s.rfind('{', s.rfind("\"imageCredits\"", at));
  const size_t close = s.find("\n\t}", at);
  // A damaged file without the entry's braces is refused rather than cut at a wrong place.
  if (open == std::string::npos || close == std::string::npos || open > at) {
    err = "damaged entry for [" + image + "] in [" + path + "]";
    return false;
  }
  const std::string e = s.substr(open, close - open);
  const size_t wc = e.find("\"worldCoords\"");
  if (wc == std::string::npos) {
    err = "no corners for [" + image + "]";
    return false;
  }
  const char* p = e.c_str() + wc;
  p = std::strchr(p, '[');
  int got = 0;
  for (int i = 0; i < 4 && p; ++i) {
    while (*p && (*p == '[' || *p == ' ' || *p == ',')) ++p;
    char* end;
    out.corners[i][0] = std::strtod(p, &end);
    if (end == p) break;
    p = end;
    while (*p == ',' || *p == ' ') ++p;
    out.corners[i][1] = std::strtod(p, &end);
    if (end == p) break;
    p = std::strchr(end, ']');
    if (p) ++p;
    ++got;
  }
  if (got != 4) {
    err = "damaged corners for [" + image + "]";
    return false;
  }
  const size_t cr = e.find("\"imageCredits\"");
  const size_t q = e.find("hort\"", cr);
  if (q != std::string::npos) {
    const size_t a = e.find('"', e.find(':', q) + 1), b = e.find('"', a + 1);
    out.credit = e.substr(a + 1, b - a - 1);
  }
  out.image = image;
  return true;
}

const std::vector<SampleInfo>& sampleList() {
  static const std::vector<SampleInfo> list = {
      {"m51", "m51-vasey.png", "M51, the Whirlpool galaxy", 8580.0, "k-parsec",
       "8.58 +- 0.10 Mpc, tip of the red giant branch (McQuinn et al. 2016, ApJ 826, 21)",
       "Peter Vasey, Plover Hill Observatory (CREDITS.md 4.25)",
       "none of its own in CREDITS.md: the package's terms, GPL-2+"},
      {"m31", "m31.png", "M31, the Andromeda galaxy", 785.0, "k-parsec",
       "785 +- 25 kpc, tip of the red giant branch (McConnachie et al. 2005, MNRAS 356, 979)",
       "LEE ang HG731GZ (CREDITS.md 4.8)", "Creative Commons Attribution 3.0 Unported (CREDITS.md 4.8)"},
      {"m27", "m27dumont.png", "M27, the Dumbbell nebula", 405.0, "parsec",
       "405 pc, trigonometric parallax of the central star, 2.47 +- 0.16 mas (Harris et al. 2007, AJ 133, "
       "631)",
       "Stephane Dumont (CREDITS.md 4.10)", "none of its own in CREDITS.md: the package's terms, GPL-2+"},
      {"m1", "m1dumont.png", "M1, the Crab nebula", 2000.0, "parsec",
       "2.0 +- 0.5 kpc, expansion parallax (Trimble 1973, PASP 85, 579)", "Stephane Dumont (CREDITS.md 4.10)",
       "none of its own in CREDITS.md: the package's terms, GPL-2+"},
  };
  return list;
}

std::vector<Vec3> quadCorners(const PlacedImage& img, double d) {
  Vec3 dirs[kQuadCorners];
  for (int i = 0; i < kQuadCorners; ++i)
    dirs[i] = equatorialToGalactic(angToVec(img.corners[i][0], img.corners[i][1]));
  return quadOnSky(dirs, d);
}

std::vector<Vec3> misplace(const std::vector<Vec3>& pts) {
  Vec3 lo = pts[0], hi = pts[0];
  for (const Vec3& p : pts)
    for (int k = 0; k < 3; ++k) {
      lo[k] = std::fmin(lo[k], p[k]);
      hi[k] = std::fmax(hi[k], p[k]);
    }
  const Vec3 c = {(lo[0] + hi[0]) / 2, (lo[1] + hi[1]) / 2, (lo[2] + hi[2]) / 2};
  const double dist = std::sqrt(dot(c, c));
  const Vec3 dir = normalized(c);
  // Axis of the turn: tilted from the line of sight so that the image turns out of its plane too.
  const Vec3 side = normalized(cross(dir, Vec3{0, 0, 1}));
  Vec3 axis;
  for (int k = 0; k < 3; ++k) axis[k] = dir[k] * 0.8 + side[k] * 0.6;
  axis = normalized(axis);
  const double a = 25.0 * kRadiansPerDegree, ca = std::cos(a), sa = std::sin(a), scale = 1.3;
  std::vector<Vec3> out;
  for (const Vec3& p : pts) {
    const Vec3 r = {p[0] - c[0], p[1] - c[1], p[2] - c[2]};
    const Vec3 axr = cross(axis, r);
    const double ad = dot(axis, r);
    Vec3 q;
    for (int k = 0; k < 3; ++k) {
      const double rot = r[k] * ca + axr[k] * sa + axis[k] * ad * (1 - ca);
      q[k] = c[k] + scale * rot + 0.06 * dist * side[k];
    }
    out.push_back(q);
  }
  return out;
}

namespace {

std::string quadObj(const SampleInfo& s, const std::vector<Vec3>& v, const std::string& what) {
  QuadModel q;
  q.name = s.name;
  q.comments = {s.object + ": " + what, "Image " + s.image + " of the stellarium-data package, credit: " + s.credit,
                "Image licence: " + s.licence, "Distance: " + s.reference};
  q.unit = s.unit;
  q.corners = v;
  return quadObjText(q);
}

}  // namespace

bool writeImageSample(const std::string& stel, const SampleInfo& s, const std::string& dir,
                      std::string& err) {
  PlacedImage img;
  if (!findPlacedImage(stel + "/nebulae/default/textures.json", s.image, img, err)) return false;
  Image pic;
  if (!readImageRGB(stel + "/nebulae/default/" + s.image, pic, err)) return false;
  if (!writePPM(dir + "/" + s.name + ".ppm", pic, err)) return false;
  const std::string mtl = quadMtlText(s.name, "Material of the " + s.object + " sample");
  if (!writeText(dir + "/" + s.name + ".mtl", mtl, err)) return false;
  const std::vector<Vec3> v = quadCorners(img, s.distance);
  if (!writeText(dir + "/" + s.name + ".obj", quadObj(s, v, "placed by the corner coordinates of its image"),
                 err))
    return false;
  return writeText(dir + "/" + s.name + "-misplaced.obj",
                   quadObj(s, misplace(v), "deliberately moved, turned and scaled, to be aligned"), err);
}

std::vector<HipStar> pleiadesMembers(const Catalog& cat) {
  // Cluster centre (J2000) and mean proper motion of the Pleiades (van Leeuwen 2009, A&A 497, 209:
  // pmRA* 20.10, pmDec -45.39 mas/yr).
  const Vec3 centre = angToVec(56.75, 24.1167);
  std::vector<HipStar> out;
  for (const HipStar& s : cat.hip) {
    if (std::acos(std::fmin(1.0, dot(angToVec(s.raDeg, s.decDeg), centre))) > 2.0 * kRadiansPerDegree)
      continue;
    if (!s.hasPm || std::hypot(s.pmRaMasYr - 20.10, s.pmDecMasYr + 45.39) > 12.0) continue;
    if (s.plxMas < 5.0 || s.plxMas > 12.0) continue;
    out.push_back(s);
  }
  return out;
}

bool writePleiades(const Catalog& cat, const std::string& dir, std::string& err) {
  const std::vector<HipStar> members = pleiadesMembers(cat);
  std::string o =
      "# The Pleiades (M45) in three dimensions: the Hipparcos members as small octahedra at their\n"
      "# catalogue positions (distance from each star's own parallax), in the galactic frame.\n"
      "# Members: within 2 degrees of the centre, proper motion within 12 mas/yr of the cluster's\n"
      "# (van Leeuwen 2009, A&A 497, 209), parallax 5 to 12 mas. Size grows with brightness.\n"
      "# - unit in this model is parsec\n"
      "# - coordinate system is galactic\n\n"
      "mtllib pleiades.mtl\ng pleiades\nusemtl star\n";
  char buf[256];
  int base = 0;
  std::string faces;
  for (const HipStar& s : members) {
    const double d = 1000.0 / s.plxMas;
    const Vec3 p = equatorialToGalactic(angToVec(s.raDeg, s.decDeg));
    const double r = 0.15 * std::pow(10.0, -0.1 * (s.vmag - 6.0));
    std::snprintf(buf, sizeof buf, "# HIP %d, V %.2f, parallax %.2f mas\n", s.hip, s.vmag, s.plxMas);
    o += buf;
    const Vec3 offs[6] = {{r, 0, 0}, {-r, 0, 0}, {0, r, 0}, {0, -r, 0}, {0, 0, r}, {0, 0, -r}};
    for (const Vec3& q : offs) {
      std::snprintf(buf, sizeof buf, "v %.5f %.5f %.5f\n", p[0] * d + q[0], p[1] * d + q[1], p[2] * d + q[2]);
      o += buf;
    }
    const int f[8][3] = {{1, 3, 5}, {3, 2, 5}, {2, 4, 5}, {4, 1, 5},
                         {3, 1, 6}, {2, 3, 6}, {4, 2, 6}, {1, 4, 6}};
    for (auto& t : f) {
      std::snprintf(buf, sizeof buf, "f %d %d %d\n", base + t[0], base + t[1], base + t[2]);
      faces += buf;
    }
    base += 6;
  }
  o += faces;
  if (members.empty()) {
    err = "no Pleiades members found in the catalogue";
    return false;
  }
  const std::string mtl =
      "# Material of the Pleiades sample\nnewmtl star\nKa 0.2 0.3 0.5 1\nKd 0.7 0.8 1 1\n";
  return writeText(dir + "/pleiades.mtl", mtl, err) && writeText(dir + "/pleiades.obj", o, err);
}

}  // namespace skydata
