// Writes the star sets (.star files) from the catalogue's Hipparcos stars.
#include "skydata/starfile.h"

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "skydata/skymath.h"
#include "skydata/starcolor.h"

namespace skydata {

SpectralParts parseSpectralType(const std::string& sp) {
  SpectralParts p;
  p.cls = "--";
  size_t i = 0;
  // Lower-case prefixes (sd, d, g, k...) carry no class: skip to the first capital letter.
  while (i < sp.size() && !std::isupper(static_cast<unsigned char>(sp[i]))) ++i;
  if (i >= sp.size()) return p;
  // Wolf-Rayet (WN, WC), carbon (C), S, and white dwarf (DA, DB...) classes take two letters.
  std::string cls(1, sp[i++]);
  if ((cls == "W" || cls == "D") && i < sp.size() && std::isupper(static_cast<unsigned char>(sp[i])))
    cls += sp[i++];
  p.cls = cls;
  // Subclass: digits with an optional decimal part.
  size_t j = i;
  while (j < sp.size() && (std::isdigit(static_cast<unsigned char>(sp[j])) || sp[j] == '.')) ++j;
  if (j > i) {
    p.num = std::atof(sp.substr(i, j - i).c_str());
    if (p.num < 0) p.num = 0;
    if (p.num > 10) p.num = 10;
  }
  if (cls.size() == 2 && cls[0] == 'D') return p;  // white dwarfs have no class of I to V
  // Luminosity class: the first run of the roman letters I and V after the subclass.
  for (size_t k = j; k < sp.size(); ++k) {
    if (sp[k] == 'I' || sp[k] == 'V') {
      size_t e = k;
      while (e < sp.size() && (sp[e] == 'I' || sp[e] == 'V')) ++e;
      const std::string r = sp.substr(k, e - k);
      if (r == "I" || r == "II" || r == "III" || r == "IV" || r == "V") p.lum = r;
      return p;
    }
    // A companion's type ("A1V+DA") is not this star's; "K5+III" is a modifier.
    if (sp[k] == '+' && k + 1 < sp.size() && std::strchr("OBAFGKMWDCS", sp[k + 1])) break;
  }
  return p;
}

bool hasUsableParallax(const HipStar& s) {
  return s.plxMas > 0;
}

bool inSet(const HipStar& s, int n) {
  return hasUsableParallax(s) && (n >= 12 || s.vmag <= n);
}

std::string starLine(const HipStar& s) {
  const double dPc = 1000.0 / s.plxMas;
  const Vec3 eq = angToVec(s.raDeg, s.decDeg);
  const Vec3 g = equatorialToGalactic(eq);
  const double distErr = s.plxErrMas > 0 ? s.plxErrMas / s.plxMas : 0.0;
  // Tangential velocity: one arcsecond per year at one parsec is one AU per year.
  const double ra = s.raDeg * kRadiansPerDegree, dec = s.decDeg * kRadiansPerDegree;
  const Vec3 east = {-std::sin(ra), std::cos(ra), 0};
  const Vec3 north = {-std::sin(dec) * std::cos(ra), -std::sin(dec) * std::sin(ra), std::cos(dec)};
  const double k = kKmPerSecondPerAuPerYear * dPc / 1000.0;
  Vec3 vEq;
  for (int i = 0; i < 3; ++i) vEq[i] = k * (s.pmRaMasYr * east[i] + s.pmDecMasYr * north[i]);
  const Vec3 v = equatorialToGalactic(vEq);
  const double absMag = s.vmag + 5.0 * std::log10(s.plxMas) - 10.0;
  const double lum = std::pow(10.0, -0.4 * absMag);
  const RGB c = blackbodyRGB(bvToTemperature(s.bv));
  const SpectralParts sp = parseSpectralType(s.spType);
  std::string name = s.name.empty() ? "---" : s.name;
  if (name.size() > 31) name.resize(31);
  char line[512];
  std::snprintf(
      line, sizeof line,
      "%.9g %.9g %.9g %.5g %.6g %.6g %.6g %.5g %.5g %.5g %.3f %.6g %.3f %.3f %.3f 1 %s %g %s %d %d %s\n",
      g[0] * dPc, g[1] * dPc, g[2] * dPc, distErr, v[0], v[1], v[2], distErr, distErr, distErr, s.bv, lum,
      c.r, c.g, c.b, sp.cls.c_str(), sp.num, sp.lum.empty() ? "V" : sp.lum.c_str(), s.hd, s.hip,
      name.c_str());
  return line;
}

static const char* kHeader =
    "# Hipparcos stars as seen from the Sun, built from the star catalogue of the stellarium-data\n"
    "# package (ESA Hipparcos and Tycho catalogues, 1997).\n"
    "# Frame: galactic, x towards l = 0, b = 0, y towards l = 90, z towards the north galactic pole,\n"
    "# from J2000 positions by the IAU rotation (north galactic pole at RA 192.85948, Dec 27.12825).\n"
    "# SIZE: the unit of x, y, z is the parsec (3.0856776e16 m); positions from parallax, d = 1/plx.\n"
    "# Column 4: fractional distance error, the parallax error over the parallax.\n"
    "# Columns 5-7: velocity in km/s from the proper motion and the distance alone: the radial\n"
    "# velocity is not in these sources, so the velocity is the tangential one; columns 8-10 its\n"
    "# fractional errors, taken as the distance error.\n"
    "# Column 11: B-V; column 12: luminosity, 1 at absolute V magnitude 0, from V and the parallax\n"
    "# without extinction; columns 13-16: blackbody colour of the B-V temperature (Ballesteros 2012).\n"
    "# Columns 17-19: spectral class ('--' when the catalogue gives none), subclass, luminosity\n"
    "# class; where the type names no class of I to V, V is written, as the line needs the column.\n"
    "# Column 20: HD number (0 when none), 21: Hipparcos number, 22: proper name ('---' when none).\n"
    "# Stars without a positive parallax have no distance and are left out of every set.\n"
    "# Where several records share a Hipparcos number (the components of a double or multiple\n"
    "# star), one star stands for them at the brightest one's position with their summed light:\n"
    "# V from the summed V fluxes, B-V from the summed B and V fluxes. Components with Hipparcos\n"
    "# numbers of their own (alpha Cen A and B) stay apart.\n"
    "# Positions are for J2000.\n"
    "# Fast stars (proper motion above 200 mas/yr) that the package left at the Hipparcos epoch,\n"
    "# J1991.25, are brought to J2000 by 8.75 years of their proper motion; they are found by the\n"
    "# J2000 positions of the kstars-data package's Hipparcos-derived catalogue, which reaches\n"
    "# V 9.0: fainter fast stars stand as the package gives them, Proxima Centauri (HIP 70890)\n"
    "# among them at J1991.25.\n";

std::string parallaxCreditText(const Catalog& cat) {
  int gaia = 0, hip2007 = 0, unknown = 0;
  for (const HipStar& s : cat.hip) {
    if (!hasUsableParallax(s)) continue;
    gaia += s.plxSource == ParallaxSource::GaiaDR2;
    hip2007 += s.plxSource == ParallaxSource::Hipparcos2007;
    unknown += s.plxSource == ParallaxSource::Unknown;
  }
  char text[512];
  std::snprintf(text, sizeof text,
                "# Parallaxes of the full set: %d from Gaia DR2 (Gaia Collaboration, Brown et al. 2018,\n"
                "# A&A 616, A1), %d from the Hipparcos new reduction (van Leeuwen 2007, A&A 474, 653), told\n"
                "# apart by the precision of their errors in the package's hip_plx_err.dat; %d without an\n"
                "# error there, of a source the package does not tell.\n",
                gaia, hip2007, unknown);
  return text;
}

std::string hipCommentLines(const std::string& title, const std::vector<int>& hip) {
  std::string out, line = "# ";
  line += title;
  line += ':';
  if (hip.empty()) return line + " none.\n";
  for (size_t i = 0; i < hip.size(); ++i) {
    std::string item = " HIP ";
    item += std::to_string(hip[i]);
    item += i + 1 < hip.size() ? ',' : '.';
    if (line.size() + item.size() > kCommentWidth) {
      out += line;
      out += '\n';
      line.assign(1, '#');
    }
    line += item;
  }
  out += line;
  out += '\n';
  return out;
}

bool writeStarSets(const Catalog& cat, const std::set<int>& figureStars, const std::string& dir,
                   std::string& err) {
  auto member = [&](const HipStar& s, int n) {
    return inSet(s, n) || (hasUsableParallax(s) && figureStars.count(s.hip) > 0);
  };
  std::vector<std::string> lines(cat.hip.size());
  for (size_t i = 0; i < cat.hip.size(); ++i)
    if (hasUsableParallax(cat.hip[i])) lines[i] = starLine(cat.hip[i]);
  for (int n = 1; n <= 12; ++n) {
    const std::string path = dir + "/hip." + std::to_string(n) + ".star";
    FILE* f = std::fopen(path.c_str(), "w");
    if (!f) {
      err = "cannot write [" + path + "]";
      return false;
    }
    int count = 0;
    int extra = 0;
    for (const HipStar& s : cat.hip) {
      count += member(s, n);
      extra += member(s, n) && !inSet(s, n);
    }
    std::fprintf(f, "NUM_STARS %d\nSIZE %.7f %d\n", count, kParsecMantissa, kParsecPower);
    std::fputs(kHeader, f);
    std::fputs(hipCommentLines("Brought from J1991.25 to J2000", cat.movedToJ2000).c_str(), f);
    std::fputs(parallaxCreditText(cat).c_str(), f);
    if (n < 12)
      std::fprintf(
          f,
          "# This set: the %d stars with V at most %d, and %d fainter stars of the constellation figures.\n",
          count - extra, n, extra);
    else
      std::fprintf(f, "# This set: all %d stars with a usable parallax.\n", count);
    for (size_t i = 0; i < cat.hip.size(); ++i)
      if (member(cat.hip[i], n)) std::fputs(lines[i].c_str(), f);
    if (std::fclose(f) != 0) {
      err = "cannot write [" + path + "]";
      return false;
    }
  }
  return true;
}

}  // namespace skydata
