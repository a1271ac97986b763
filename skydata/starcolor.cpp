// Star colours from B-V through temperature and blackbody spectra.
#include "skydata/starcolor.h"

#include <algorithm>
#include <cmath>
#include <cstdio>

namespace skydata {

double bvToTemperature(double bv) {
  return 4600.0 * (1.0 / (0.92 * bv + 1.7) + 1.0 / (0.92 * bv + 0.62));
}

namespace {

double lobe(double x, double mu, double s1, double s2) {
  const double t = (x - mu) / (x < mu ? s1 : s2);
  return std::exp(-0.5 * t * t);
}

double encode(double c) {
  c = std::clamp(c, 0.0, 1.0);
  return c <= 0.0031308 ? 12.92 * c : 1.055 * std::pow(c, 1.0 / 2.4) - 0.055;
}

}  // namespace

void cieMatch(double l, double& xbar, double& ybar, double& zbar) {
  xbar = 1.056 * lobe(l, 599.8, 37.9, 31.0) + 0.362 * lobe(l, 442.0, 16.0, 26.7) -
         0.065 * lobe(l, 501.1, 20.4, 26.2);
  ybar = 0.821 * lobe(l, 568.8, 46.9, 40.5) + 0.286 * lobe(l, 530.9, 16.3, 31.1);
  zbar = 1.217 * lobe(l, 437.0, 11.8, 36.0) + 0.681 * lobe(l, 459.0, 26.0, 13.8);
}

void blackbodyXYZ(double T, double& X, double& Y, double& Z) {
  const double h = 6.62607015e-34, c = 2.99792458e8, k = 1.380649e-23;
  X = Y = Z = 0;
  for (double l = 360.0; l <= 830.0; l += 1.0) {
    const double m = l * 1e-9;
    const double B = 2 * h * c * c / (m * m * m * m * m) / std::expm1(h * c / (m * k * T));
    double xb, yb, zb;
    cieMatch(l, xb, yb, zb);
    X += B * xb;
    Y += B * yb;
    Z += B * zb;
  }
}

RGB blackbodyRGB(double T) {
  double X, Y, Z;
  blackbodyXYZ(T, X, Y, Z);
  double r = 3.2406 * X - 1.5372 * Y - 0.4986 * Z;
  double g = -0.9689 * X + 1.8758 * Y + 0.0415 * Z;
  double b = 0.0557 * X - 0.2040 * Y + 1.0570 * Z;
  r = std::max(r, 0.0);
  g = std::max(g, 0.0);
  b = std::max(b, 0.0);
  const double m = std::max({r, g, b});
  if (m <= 0) return {};
  return {encode(r / m), encode(g / m), encode(b / m)};
}

const std::vector<SpectralTemp>& dwarfTemperatureScale() {
  static const std::vector<SpectralTemp> scale = {
      {"O3(V)", 44900}, {"O4(V)", 42900}, {"O5(V)", 40900}, {"O6(V)", 38900}, {"O7(V)", 36900},
      {"O8(V)", 34900}, {"O9(V)", 32900}, {"B0(V)", 31400}, {"B1(V)", 26000}, {"B2(V)", 20600},
      {"B3(V)", 17000}, {"B4(V)", 16400}, {"B5(V)", 15700}, {"B6(V)", 14500}, {"B7(V)", 14000},
      {"B8(V)", 12300}, {"B9(V)", 10700}, {"A0(V)", 9700},  {"A1(V)", 9300},  {"A2(V)", 8800},
      {"A3(V)", 8600},  {"A4(V)", 8250},  {"A5(V)", 8100},  {"A6(V)", 7910},  {"A7(V)", 7760},
      {"A8(V)", 7590},  {"A9(V)", 7400},  {"F0(V)", 7220},  {"F1(V)", 7020},  {"F2(V)", 6820},
      {"F3(V)", 6750},  {"F4(V)", 6670},  {"F5(V)", 6550},  {"F6(V)", 6350},  {"F7(V)", 6280},
      {"F8(V)", 6180},  {"F9(V)", 6050},  {"G0(V)", 5930},  {"G1(V)", 5860},  {"G2(V)", 5770},
      {"G3(V)", 5720},  {"G4(V)", 5680},  {"G5(V)", 5660},  {"G6(V)", 5600},  {"G7(V)", 5550},
      {"G8(V)", 5480},  {"G9(V)", 5380},  {"K0(V)", 5270},  {"K1(V)", 5170},  {"K2(V)", 5100},
      {"K3(V)", 4830},  {"K4(V)", 4600},  {"K5(V)", 4440},  {"K6(V)", 4300},  {"K7(V)", 4100},
      {"K8(V)", 3990},  {"K9(V)", 3930},  {"M0(V)", 3850},  {"M1(V)", 3660},  {"M2(V)", 3560},
      {"M3(V)", 3430},  {"M4(V)", 3210},  {"M5(V)", 3060},  {"M6(V)", 2810},  {"M7(V)", 2680},
      {"M8(V)", 2570},  {"M9(V)", 2380}};
  return scale;
}

std::string bvColorMapText(int n, double bvStart, double bvEnd) {
  std::string s;
  char line[256];
  s += "# Star colour by colour index B-V, from ";
  std::snprintf(line, sizeof line, "%.2f to %.2f in %d even steps.\n", bvStart, bvEnd, n);
  s += line;
  s += "# Each B-V is turned into an effective temperature by the relation of Ballesteros (2012,\n"
       "# EPL 97, 34008), T = 4600 (1/(0.92 BV + 1.7) + 1/(0.92 BV + 0.62)); the blackbody\n"
       "# spectrum of that temperature is integrated from 360 to 830 nm against the CIE 1931\n"
       "# 2-degree colour matching functions, in the multi-lobe Gaussian form of Wyman, Sloan and\n"
       "# Shirley (2013, JCGT 2(2)); XYZ goes to linear sRGB by the matrix of IEC 61966-2-1,\n"
       "# negative channels are clipped, the brightest channel is scaled to 1, and the sRGB\n"
       "# transfer function is applied. Columns: red green blue alpha.\n";
  std::snprintf(line, sizeof line, "%d\n", n);
  s += line;
  for (int i = 0; i < n; ++i) {
    const double bv = bvStart + (bvEnd - bvStart) * i / (n - 1);
    const RGB c = blackbodyRGB(bvToTemperature(bv));
    std::snprintf(line, sizeof line, "%.4f %.4f %.4f 1.0\n", c.r, c.g, c.b);
    s += line;
  }
  return s;
}

std::string spectralColorMapText() {
  std::string s =
      "# Star colour by spectral type, for main-sequence (V) stars at whole subtypes. Each type\n"
      "# is given an effective temperature: O3 to O9 from the observational scale of O dwarfs of\n"
      "# Martins, Schaerer & Hillier (2005, A&A 436, 1049), rounded to 100 K; B0 to M9 from the\n"
      "# mean dwarf sequence of Pecaut & Mamajek (2013, ApJS 208, 9, with its online extension\n"
      "# by E. Mamajek), transcribed at whole subtypes. Scales of other authors differ by a few\n"
      "# per cent or more, most for the O and the latest M types. The colour is that of a\n"
      "# blackbody of that temperature, through the CIE 1931 2-degree colour matching functions\n"
      "# (multi-lobe Gaussian fit of Wyman, Sloan and Shirley 2013, JCGT 2(2)) into linear sRGB\n"
      "# by the matrix of IEC 61966-2-1, negative channels clipped, the brightest channel scaled\n"
      "# to 1, then the sRGB transfer function. No star's measured colour enters the table.\n"
      "# Columns: type(luminosity class), CIE x and y chromaticity, red green blue (0-255).\n";
  char line[256];
  for (const SpectralTemp& e : dwarfTemperatureScale()) {
    double X, Y, Z;
    blackbodyXYZ(e.kelvin, X, Y, Z);
    const RGB c = blackbodyRGB(e.kelvin);
    std::snprintf(line, sizeof line, "%-7s %.4f %.4f %3d %3d %3d\n", e.type, X / (X + Y + Z), Y / (X + Y + Z),
                  int(std::lround(c.r * 255)), int(std::lround(c.g * 255)), int(std::lround(c.b * 255)));
    s += line;
  }
  return s;
}

}  // namespace skydata
