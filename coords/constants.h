// Physical and mathematical constants, each stated once for the whole system.
#pragma once

constexpr double kPi = 3.141592653589793;
// Degrees and radians, one into the other.
constexpr double kRadiansPerDegree = kPi / 180.0;
constexpr double kDegreesPerRadian = 180.0 / kPi;
// Arc seconds and milliarcseconds in a degree, and degrees in an hour of right ascension.
constexpr double kArcsecPerDegree = 3600.0;
constexpr double kMasPerArcsec = 1000.0;
constexpr double kMasPerDegree = kArcsecPerDegree * kMasPerArcsec;
constexpr double kDegreesPerHour = 15.0;
// Decimal exponent of one parsec in metres: 10^16.4894 m.
constexpr double kParsecExponent = 16.4894;
// The round parsec and light year of the print-outs, in metres.
constexpr double kMetresPerParsec = 3.086e16;
constexpr double kMetresPerLightYear = 9.461e15;
// The parsec to eight figures as the star files state their unit on the SIZE line, a
// mantissa and a power of ten: 3.0856776 x 10^16 m.
constexpr double kParsecMantissa = 3.0856776;
constexpr int kParsecPower = 16;
// The astronomical unit as the planet tables' orbit sizes are turned into metres: the round
// 1.49 x 10^11 m, which fixes where every orbit is drawn.
constexpr double kMetresPerAstronomicalUnit = 1.49e11;
// A Julian year in seconds.
constexpr double kSecondsPerJulianYear = 3.15576e7;
// One astronomical unit per Julian year in km/s: the tangential speed of a star at one
// parsec whose proper motion is one arcsecond per year.
constexpr double kKmPerSecondPerAuPerYear = 4.740470;
// The three constants that turn a wavelength L in metres into the other spectral quantities:
// frequency c / L (metres per second), temperature c2 / L (the second radiation constant, metre
// kelvin) and photon energy hc / L (electronvolt metres).
constexpr double kSpeedOfLight = 2.99792e8;
constexpr double kSecondRadiationConstant = 0.0143878;
constexpr double kPlanckTimesLightEvMetres = 1.239817567e-6;
