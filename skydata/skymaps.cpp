// Builds the all-sky maps: reprojection onto the plate carree in galactic longitude and latitude.
#include "skydata/skymaps.h"

#include <chealpix.h>
#include <fitsio.h>
#include <stb_image.h>

#include <algorithm>
#include <cmath>
#include <cstdio>

#include "fileio/sgi.h"
#include "skydata/skymath.h"

namespace skydata {

void pixelToLb(int x, int y, int w, int h, double& l, double& b) {
  l = (x + 0.5) * 360.0 / w;
  b = 90.0 - (y + 0.5) * 180.0 / h;
}

void lbToPixel(double l, double b, int w, int h, int& x, int& y) {
  l = std::fmod(l, 360.0);
  if (l < 0) l += 360.0;
  x = std::clamp(int(std::floor(l * w / 360.0)), 0, w - 1);
  y = std::clamp(int(std::floor((90.0 - b) * h / 180.0)), 0, h - 1);
}

// Written by the project's own PNM writer (which only reads the pixels at one byte an item).
bool writePPM(const std::string& path, const Image& img, std::string& err) {
  if (write_pnm(path.c_str(), img.width, img.height, 3, const_cast<unsigned char*>(img.rgb.data())) != 0) {
    err = "cannot write [" + path + "]";
    return false;
  }
  return true;
}

bool readPPM(const std::string& path, Image& img, std::string& err) {
  FILE* f = std::fopen(path.c_str(), "rb");
  if (!f) {
    err = "cannot read [" + path + "]";
    return false;
  }
  int w = 0, h = 0, m = 0;
  char magic[3] = {0};
  const bool head = std::fscanf(f, "%2s %d %d %d", magic, &w, &h, &m) == 4 && std::string(magic) == "P6" &&
                    w > 0 && h > 0 && w <= 65536 && h <= 65536 && m == 255 && std::fgetc(f) != EOF;
  if (!head) {
    std::fclose(f);
    err = "[" + path + "] is not a P6 image of bytes";
    return false;
  }
  img.width = w;
  img.height = h;
  img.rgb.assign(size_t(w) * h * 3, 0);
  const size_t n = std::fread(img.rgb.data(), 1, img.rgb.size(), f);
  std::fclose(f);
  if (n != img.rgb.size()) {
    err = "[" + path + "] is shorter than its size";
    return false;
  }
  return true;
}

bool readImageRGB(const std::string& path, Image& img, std::string& err) {
  int w, h, c;
  unsigned char* p = stbi_load(path.c_str(), &w, &h, &c, 3);
  if (!p) {
    err = "cannot read image [" + path + "]";
    return false;
  }
  img.width = w;
  img.height = h;
  img.rgb.assign(p, p + size_t(w) * h * 3);
  stbi_image_free(p);
  return true;
}

namespace {

// Bilinear sample, wrapping in x and clamping in y; u, v in pixel units.
void sample(const Image& s, double u, double v, uint8_t out[3]) {
  u -= 0.5;
  v -= 0.5;
  const int x0 = int(std::floor(u)), y0 = int(std::floor(v));
  const double fx = u - x0, fy = v - y0;
  for (int c = 0; c < 3; ++c) {
    double acc = 0;
    for (int dy = 0; dy < 2; ++dy)
      for (int dx = 0; dx < 2; ++dx) {
        const int x = ((x0 + dx) % s.width + s.width) % s.width;
        const int y = std::clamp(y0 + dy, 0, s.height - 1);
        acc += s.rgb[(size_t(y) * s.width + x) * 3 + c] * (dx ? fx : 1 - fx) * (dy ? fy : 1 - fy);
      }
    out[c] = uint8_t(std::clamp(std::lround(acc), 0L, 255L));
  }
}

uint8_t scaleByte(double v, double lo, double hi) {
  if (!(hi > lo)) return 0;
  return uint8_t(std::clamp(std::lround(255.0 * (v - lo) / (hi - lo)), 0L, 255L));
}

double percentile(std::vector<double> v, double p) {
  if (v.empty()) return 0;
  const size_t k = std::min(v.size() - 1, size_t(p * (v.size() - 1)));
  std::nth_element(v.begin(), v.begin() + k, v.end());
  return v[k];
}

}  // namespace

Image milkyWayFromEquatorial(const Image& src, int w, int h) {
  Image out{w, h, std::vector<uint8_t>(size_t(w) * h * 3)};
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double l, b, ra, dec;
      pixelToLb(x, y, w, h, l, b);
      lbToRaDec(l, b, ra, dec);
      double u = std::fmod(90.0 - ra, 360.0);
      if (u < 0) u += 360.0;
      sample(src, u / 360.0 * src.width, (90.0 - dec) / 180.0 * src.height,
             &out.rgb[(size_t(y) * w + x) * 3]);
    }
  return out;
}

bool readHealpixRing(const std::string& path, std::vector<float>& values, long& nside, std::string& err) {
  fitsfile* f = nullptr;
  int status = 0;
  if (fits_open_table(&f, path.c_str(), READONLY, &status)) {
    err = "cannot open FITS table [" + path + "]";
    return false;
  }
  char ordering[80] = "";
  long rows = 0;
  int repeatCol = 0;
  long repeat = 0, width = 0;
  int typecode = 0;
  fits_read_key(f, TLONG, "NSIDE", &nside, nullptr, &status);
  fits_read_key(f, TSTRING, "ORDERING", ordering, nullptr, &status);
  fits_get_num_rows(f, &rows, &status);
  fits_get_coltype(f, 1, &typecode, &repeat, &width, &status);
  (void)repeatCol;
  if (status || nside <= 0 || nside > 8192 || std::string(ordering).rfind("RING", 0) != 0 ||
      rows * repeat != nside2npix(nside)) {
    fits_close_file(f, &status);
    err = "[" + path + "] is not a HEALPix map in RING order";
    return false;
  }
  values.assign(size_t(nside2npix(nside)), 0.f);
  int anynul = 0;
  fits_read_col(f, TFLOAT, 1, 1, 1, values.size(), nullptr, values.data(), &anynul, &status);
  int st2 = 0;
  fits_close_file(f, &st2);
  if (status) {
    err = "cannot read the map of [" + path + "]";
    return false;
  }
  return true;
}

Image healpixToMap(const std::vector<float>& values, long nside, int w, int h) {
  std::vector<double> raw(size_t(w) * h);
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double l, b;
      pixelToLb(x, y, w, h, l, b);
      long ip = 0;
      ang2pix_ring(nside, (90.0 - b) * kRadiansPerDegree, l * kRadiansPerDegree, &ip);
      raw[size_t(y) * w + x] = std::asinh(values[size_t(ip)]);
    }
  // Up to the largest value, so that the brightest part of the plane stays distinct.
  const double lo = percentile(raw, 0.02), hi = *std::max_element(raw.begin(), raw.end());
  Image out{w, h, std::vector<uint8_t>(size_t(w) * h * 3)};
  for (size_t i = 0; i < raw.size(); ++i) {
    const uint8_t v = scaleByte(raw[i], lo, hi);
    out.rgb[i * 3] = out.rgb[i * 3 + 1] = out.rgb[i * 3 + 2] = v;
  }
  return out;
}

bool readFitsImage(const std::string& path, std::vector<float>& values, int& nx, int& ny, double crpix[2],
                   double crval[2], double cdelt[2], std::string& err) {
  fitsfile* f = nullptr;
  int status = 0;
  if (fits_open_image(&f, path.c_str(), READONLY, &status)) {
    err = "cannot open FITS image [" + path + "]";
    return false;
  }
  int naxis = 0;
  long dims[2] = {0, 0};
  char ctype1[80] = "", ctype2[80] = "";
  fits_get_img_dim(f, &naxis, &status);
  fits_get_img_size(f, 2, dims, &status);
  fits_read_key(f, TSTRING, "CTYPE1", ctype1, nullptr, &status);
  fits_read_key(f, TSTRING, "CTYPE2", ctype2, nullptr, &status);
  fits_read_key(f, TDOUBLE, "CRPIX1", &crpix[0], nullptr, &status);
  fits_read_key(f, TDOUBLE, "CRPIX2", &crpix[1], nullptr, &status);
  fits_read_key(f, TDOUBLE, "CRVAL1", &crval[0], nullptr, &status);
  fits_read_key(f, TDOUBLE, "CRVAL2", &crval[1], nullptr, &status);
  fits_read_key(f, TDOUBLE, "CDELT1", &cdelt[0], nullptr, &status);
  fits_read_key(f, TDOUBLE, "CDELT2", &cdelt[1], nullptr, &status);
  if (status || naxis != 2 || dims[0] <= 0 || dims[1] <= 0 || dims[0] > 100000 || dims[1] > 100000 ||
      std::string(ctype1) != "GLON-CAR" || std::string(ctype2) != "GLAT-CAR" || cdelt[0] == 0 ||
      cdelt[1] == 0) {
    int st2 = 0;
    fits_close_file(f, &st2);
    err = "[" + path + "] is not a galactic plate carree image";
    return false;
  }
  nx = int(dims[0]);
  ny = int(dims[1]);
  values.assign(size_t(nx) * ny, 0.f);
  long first[2] = {1, 1};
  int anynul = 0;
  fits_read_pix(f, TFLOAT, first, values.size(), nullptr, values.data(), &anynul, &status);
  int st2 = 0;
  fits_close_file(f, &st2);
  if (status) {
    err = "cannot read the pixels of [" + path + "]";
    return false;
  }
  return true;
}

Image carToMap(const std::vector<float>& values, int nx, int ny, const double crpix[2], const double crval[2],
               const double cdelt[2], int w, int h) {
  std::vector<double> raw(size_t(w) * h, -1.0);
  std::vector<double> inside;
  for (int y = 0; y < h; ++y)
    for (int x = 0; x < w; ++x) {
      double l, b;
      pixelToLb(x, y, w, h, l, b);
      double dl = l - crval[0];
      dl = std::remainder(dl, 360.0);
      // FITS pixel numbers start at 1 at the centre of the first pixel.
      const double px = crpix[0] + dl / cdelt[0] - 1.0, py = crpix[1] + (b - crval[1]) / cdelt[1] - 1.0;
      const long ix = std::lround(px), iy = std::lround(py);
      if (ix < 0 || iy < 0 || ix >= nx || iy >= ny) continue;
      const double v = std::sqrt(std::max(0.f, values[size_t(iy) * nx + ix]));
      raw[size_t(y) * w + x] = v;
      inside.push_back(v);
    }
  const double hi = percentile(inside, 0.995);
  Image out{w, h, std::vector<uint8_t>(size_t(w) * h * 3, 0)};
  for (size_t i = 0; i < raw.size(); ++i) {
    if (raw[i] < 0) {
      for (int c = 0; c < 3; ++c) out.rgb[i * 3 + c] = kNoDataRGB[c];
      continue;
    }
    const uint8_t v = scaleByte(raw[i], 0, hi);
    out.rgb[i * 3] = out.rgb[i * 3 + 1] = out.rgb[i * 3 + 2] = v;
  }
  return out;
}

std::vector<double> starlightFlux(const std::vector<CatRecord>& all, char band, int w, int h) {
  std::vector<double> flux(size_t(w) * h, 0.0);
  for (const CatRecord& r : all) {
    double l, b;
    raDecToLb(r.raDeg, r.decDeg, l, b);
    int x, y;
    lbToPixel(l, b, w, h, x, y);
    const double m = band == 'B' ? r.vmag + r.bv : r.vmag;
    flux[size_t(y) * w + x] += std::pow(10.0, -0.4 * m);
  }
  // Per unit solid angle: a pixel's area goes with the cosine of its latitude.
  for (int y = 0; y < h; ++y) {
    double l, b;
    pixelToLb(0, y, w, h, l, b);
    const double area = std::cos(b * kRadiansPerDegree);
    for (int x = 0; x < w; ++x) flux[size_t(y) * w + x] /= area;
  }
  return flux;
}

std::vector<double> smoothOnSphere(const std::vector<double>& density, int w, int h, double fwhmDeg) {
  const double sigmaDeg = fwhmDeg / kFwhmPerSigma, pixelDeg = 180.0 / h;
  // Along latitude: each row's light (density times the row's area, which goes with cos b) is
  // shared among the rows within reach, then turned back into a density;
  // what would fall beyond a pole stays in its row. The light is kept to the last bit of rounding.
  std::vector<double> cosB(h);
  for (int y = 0; y < h; ++y) {
    double l, b;
    pixelToLb(0, y, w, h, l, b);
    cosB[y] = std::cos(b * kRadiansPerDegree);
  }
  const int reachY = int(std::ceil(kBeamReachSigmas * sigmaDeg / pixelDeg));
  std::vector<double> weightY(2 * reachY + 1);
  for (int k = -reachY; k <= reachY; ++k) weightY[k + reachY] = std::exp(-0.5 * std::pow(k * pixelDeg / sigmaDeg, 2));
  std::vector<double> light(size_t(w) * h, 0.0);
  for (int y = 0; y < h; ++y) {
    // A row receives by the beam's weight times its area: the beam spreads light over solid
    // angle, and the rows near a pole hold little of it.
    double sum = 0;
    for (int k = -reachY; k <= reachY; ++k)
      if (y + k >= 0 && y + k < h) sum += weightY[k + reachY] * cosB[y + k];
    for (int k = -reachY; k <= reachY; ++k) {
      if (y + k < 0 || y + k >= h) continue;
      const double share = weightY[k + reachY] * cosB[y + k] / sum;
      for (int x = 0; x < w; ++x) light[size_t(y + k) * w + x] += share * density[size_t(y) * w + x] * cosB[y];
    }
  }
  // Along longitude: a circular convolution of each row, with the beam as wide in pixels as the
  // row's pixels are narrow (1 / cos b); a beam wider than the row spreads the row evenly.
  std::vector<double> out(size_t(w) * h, 0.0);
  std::vector<double> weightX;
  for (int y = 0; y < h; ++y) {
    const double sigmaX = sigmaDeg / (pixelDeg * cosB[y]);
    const int reachX = int(std::ceil(kBeamReachSigmas * sigmaX));
    const double* in = &light[size_t(y) * w];
    double* row = &out[size_t(y) * w];
    if (2 * reachX + 1 >= w) {
      double sum = 0;
      for (int x = 0; x < w; ++x) sum += in[x];
      for (int x = 0; x < w; ++x) row[x] = sum / w / cosB[y];
      continue;
    }
    weightX.assign(2 * reachX + 1, 0.0);
    double sum = 0;
    for (int k = -reachX; k <= reachX; ++k) sum += weightX[k + reachX] = std::exp(-0.5 * std::pow(k / sigmaX, 2));
    for (int x = 0; x < w; ++x) {
      if (in[x] == 0) continue;
      for (int k = -reachX; k <= reachX; ++k) row[(x + k + w) % w] += in[x] * weightX[k + reachX] / sum;
    }
    for (int x = 0; x < w; ++x) row[x] /= cosB[y];
  }
  return out;
}

Image starlightImage(const std::vector<double>& flux, int w, int h) {
  std::vector<double> lit;
  for (double f : flux)
    if (f > 0) lit.push_back(std::log10(f));
  const double lo = percentile(lit, 0.01), hi = percentile(lit, 0.9995);
  Image out{w, h, std::vector<uint8_t>(size_t(w) * h * 3, 0)};
  for (size_t i = 0; i < flux.size(); ++i) {
    if (flux[i] <= 0) continue;
    // Lit pixels start at 1, so that every star shows.
    const uint8_t v = std::max<uint8_t>(1, scaleByte(std::log10(flux[i]), lo, hi));
    out.rgb[i * 3] = out.rgb[i * 3 + 1] = out.rgb[i * 3 + 2] = v;
  }
  return out;
}

Image starlightMap(const std::vector<CatRecord>& all, char band, int w, int h) {
  return starlightImage(smoothOnSphere(starlightFlux(all, band, w, h), w, h, kStarlightBeamFwhmDeg), w, h);
}

}  // namespace skydata
