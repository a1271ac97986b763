// Star colours from physics: B-V to effective temperature, blackbody spectra through the
// CIE 1931 colour matching functions, and the sRGB encoding.
#pragma once

#include <string>
#include <vector>

namespace skydata {

// Effective temperature in kelvin of a star of colour index B-V, by the relation of
// Ballesteros (2012, EPL 97, 34008): T = 4600 (1/(0.92 bv + 1.7) + 1/(0.92 bv + 0.62)).
double bvToTemperature(double bv);

// CIE 1931 2-degree colour matching functions by the multi-lobe piecewise Gaussian fit of
// Wyman, Sloan and Shirley (2013, JCGT 2(2), 1-11); lambda in nanometres.
void cieMatch(double lambdaNm, double& xbar, double& ybar, double& zbar);

// XYZ of a blackbody of temperature T, integrated from 360 to 830 nm, up to a common factor.
void blackbodyXYZ(double kelvin, double& X, double& Y, double& Z);

struct RGB {
  double r = 0, g = 0, b = 0;
};

// sRGB (IEC 61966-2-1) colour of a blackbody: linear RGB from XYZ by the standard matrix,
// negative channels clipped to 0, scaled so that the largest channel is 1, then gamma encoded.
RGB blackbodyRGB(double kelvin);

// One entry of the spectral colour map.
struct SpectralTemp {
  const char* type;  // "B5(V)"
  double kelvin;
};

// Effective temperatures of main-sequence spectral types at whole subtypes: O3 to O9 from the
// observational O-dwarf scale of Martins, Schaerer & Hillier (2005, A&A 436, 1049) rounded to
// 100 K, B0 to M9 from the mean dwarf sequence of Pecaut & Mamajek (2013, ApJS 208, 9).
const std::vector<SpectralTemp>& dwarfTemperatureScale();

// The text of the colour map files.
std::string bvColorMapText(int entries, double bvStart, double bvEnd);
std::string spectralColorMapText();

}  // namespace skydata
