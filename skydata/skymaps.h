// All-sky maps on the tool's sphere: plate carree in galactic longitude and latitude, longitude 0
// at the left edge growing to the right, the north galactic pole on the first (top) row, as the
// sky drawing maps texture s to longitude and t = 0 to the north pole.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "skydata/hipcat.h"

namespace skydata {

struct Image {
  int width = 0, height = 0;
  std::vector<uint8_t> rgb;  // width * height * 3, first row on top
};

// Longitude and latitude in degrees at the centre of pixel (x, y) of a map of w by h.
void pixelToLb(int x, int y, int w, int h, double& l, double& b);
// Pixel of a direction; the inverse of pixelToLb to the nearest pixel.
void lbToPixel(double l, double b, int w, int h, int& x, int& y);

bool writePPM(const std::string& path, const Image& img, std::string& err);
bool readPPM(const std::string& path, Image& img, std::string& err);

// Reads a PNG (or any image stb_image reads) as RGB.
bool readImageRGB(const std::string& path, Image& img, std::string& err);

// The visible photograph: an equirectangular J2000 equatorial image (RA growing to the left,
// u = ((90 - RA) mod 360) / 360, v = (90 - Dec) / 180) resampled bilinearly.
Image milkyWayFromEquatorial(const Image& src, int w, int h);

// A HEALPix map (RING order, galactic) from the first column of the first table of a FITS file.
bool readHealpixRing(const std::string& path, std::vector<float>& values, long& nside, std::string& err);
// Grey map of a HEALPix map: asinh of the value (mK), from the 2nd percentile to the largest.
Image healpixToMap(const std::vector<float>& values, long nside, int w, int h);

// A galactic plate carree FITS image (GLON-CAR/GLAT-CAR), shown where it covers and black elsewhere.
bool readFitsImage(const std::string& path, std::vector<float>& values, int& nx, int& ny, double crpix[2],
                   double crval[2], double cdelt[2], std::string& err);
Image carToMap(const std::vector<float>& values, int nx, int ny, const double crpix[2], const double crval[2],
               const double cdelt[2], int w, int h);

// Integrated starlight of all catalogue records in band 'B' or 'V': the summed flux
// 10^(-0.4 m) per unit solid angle of each pixel, shown on a logarithmic scale.
Image starlightMap(const std::vector<CatRecord>& all, char band, int w, int h);

// The linear surface brightness behind starlightMap, for checks.
std::vector<double> starlightFlux(const std::vector<CatRecord>& all, char band, int w, int h);

}  // namespace skydata
