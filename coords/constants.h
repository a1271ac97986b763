// Physical and mathematical constants, each stated once for the whole system.
#pragma once

constexpr double kPi = 3.141592653589793;
// Decimal exponent of one parsec in metres: 10^16.4894 m.
constexpr double kParsecExponent = 16.4894;
// The round parsec and light year of the print-outs, in metres.
constexpr double kMetresPerParsec = 3.086e16;
constexpr double kMetresPerLightYear = 9.461e15;
// A Julian year in seconds.
constexpr double kSecondsPerJulianYear = 3.15576e7;
