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

// Where a map has no data: a dim blue-grey, apart from every value of the data, which is shown
// in pure greys (zero black), so that the sky beyond a partial survey is not taken for a dark one.
constexpr uint8_t kNoDataRGB[3] = {24, 24, 40};

// A galactic plate carree FITS image (GLON-CAR/GLAT-CAR), shown in greys where it covers and in
// kNoDataRGB elsewhere.
bool readFitsImage(const std::string& path, std::vector<float>& values, int& nx, int& ny, double crpix[2],
                   double crval[2], double cdelt[2], std::string& err);
Image carToMap(const std::vector<float>& values, int nx, int ny, const double crpix[2], const double crval[2],
               const double cdelt[2], int w, int h);

// Integrated starlight of all catalogue records in band 'B' or 'V': the summed flux
// 10^(-0.4 m) per unit solid angle of each pixel, smoothed with a Gaussian beam of
// kStarlightBeamFwhmDeg and shown on a logarithmic scale. Per-pixel sums of single stars look
// like salt and pepper; the beam, 1 degree across at half maximum, is about three pixels of the
// 1024 by 512 map (0.35 degree), the least that spreads each star over its neighbours so that
// the map shows the light of a region rather than which pixel a star fell in.
constexpr double kStarlightBeamFwhmDeg = 1.0;
Image starlightMap(const std::vector<CatRecord>& all, char band, int w, int h);

// A Gaussian's full width at half maximum in standard deviations, 2 sqrt(2 ln 2); the beam is
// cut off this many standard deviations out.
constexpr double kFwhmPerSigma = 2.3548200450309493;
constexpr double kBeamReachSigmas = 3.0;

// A surface brightness map smoothed on the sphere by a Gaussian beam of fwhmDeg: along latitude
// by sharing each row's light among its neighbours, along longitude by a circular convolution
// as wide in pixels as the row's pixels are narrow. The total light (sum of density times
// cos b) is kept. Returns the new map; `density` is not changed.
std::vector<double> smoothOnSphere(const std::vector<double>& density, int w, int h, double fwhmDeg);

// The picture of a surface brightness map: log10 of the lit pixels from their 1st to their
// 99.95th percentile, every lit pixel at least 1.
Image starlightImage(const std::vector<double>& flux, int w, int h);

// The linear surface brightness behind starlightMap, for checks.
std::vector<double> starlightFlux(const std::vector<CatRecord>& all, char band, int w, int h);

}  // namespace skydata
