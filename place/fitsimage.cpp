// FITS images for placing: header to WCS through cfitsio and wcslib, pixels to a texture.
#include "place/fitsimage.h"

#include <fitsio.h>
#include <sys/mman.h>
#include <unistd.h>
#include <wcs.h>
#include <wcshdr.h>

#include <algorithm>
#include <cmath>

namespace place {

namespace {

// Axes read of an image's size: the picture plane and a third for colour planes or cubes.
constexpr int kMaxAxes = 3;
// Percentiles of the finite pixels that map to black and to white in the texture.
constexpr double kLowPercentile = 0.005, kHighPercentile = 0.995;
// At most this many pixels are sampled for the percentiles; a regular stride keeps them fair.
constexpr size_t kPercentileSample = 1 << 20;
constexpr int kWhite = 255;

std::string cfitsioReason(int status) {
  char text[FLEN_STATUS] = {};
  fits_get_errstatus(status, text);
  return text;
}

// Opens the first image unit of path; on failure err says why and the file is closed.
// Reserves room for n elements of a buffer about to be filled, asking for huge pages: a texture's
// buffers run to tens of megabytes, and faulting them in 4 KB at a time costs more than reading
// the pixels (on a virtual machine above all). The request is a hint; where it is refused the
// buffer simply has small pages.
template <typename T>
void reserveLarge(std::vector<T>& v, size_t n) {
  v.reserve(n);
  const uintptr_t begin = reinterpret_cast<uintptr_t>(v.data()), end = begin + n * sizeof(T);
  const uintptr_t page = uintptr_t(sysconf(_SC_PAGESIZE));
  const uintptr_t first = (begin + page - 1) / page * page;
  if (end > first) madvise(reinterpret_cast<void*>(first), end - first, MADV_HUGEPAGE);
}

fitsfile* openImage(const std::string& path, std::string& err) {
  fitsfile* f = nullptr;
  int status = 0;
  if (fits_open_image(&f, path.c_str(), READONLY, &status)) {
    err = "cannot read the FITS file [" + path + "]: " + cfitsioReason(status);
    int ignored = 0;
    if (f) fits_close_file(f, &ignored);
    return nullptr;
  }
  return f;
}

// The image of the file open, with the width and height of its first plane; nullptr with err
// set when it can't be opened or holds no plane of pixels.
fitsfile* openImagePlane(const std::string& path, long& width, long& height, std::string& err) {
  fitsfile* f = openImage(path, err);
  if (!f) return nullptr;
  int status = 0, naxis = 0, bitpix = 0;
  long naxes[kMaxAxes] = {};
  fits_get_img_param(f, kMaxAxes, &bitpix, &naxis, naxes, &status);
  if (status || naxis < 2 || naxes[0] <= 0 || naxes[1] <= 0) {
    fits_close_file(f, &status);
    err = "[" + path + "] has no pixels to show";
    return nullptr;
  }
  width = naxes[0];
  height = naxes[1];
  return f;
}

}  // namespace

bool readFitsWcs(const std::string& path, Wcs& wcs, int& width, int& height, std::string& err) {
  fitsfile* f = openImage(path, err);
  if (!f) return false;
  int status = 0, naxis = 0, bitpix = 0;
  long naxes[kMaxAxes] = {};
  fits_get_img_param(f, kMaxAxes, &bitpix, &naxis, naxes, &status);
  long w = naxis >= 2 ? naxes[0] : 0, h = naxis >= 2 ? naxes[1] : 0;
  if (naxis < 2) {
    int s1 = 0, s2 = 0;
    fits_read_key(f, TLONG, "IMAGEW", &w, nullptr, &s1);
    fits_read_key(f, TLONG, "IMAGEH", &h, nullptr, &s2);
    if (s1 || s2) w = h = 0;
  }
  char* header = nullptr;
  int nkeys = 0;
  fits_hdr2str(f, 1, nullptr, 0, &header, &nkeys, &status);
  int closeStatus = 0;
  fits_close_file(f, &closeStatus);
  if (status) {
    err = "cannot read the FITS file [" + path + "]: " + cfitsioReason(status);
    if (header) fits_free_memory(header, &closeStatus);
    return false;
  }
  if (w <= 0 || h <= 0) {
    fits_free_memory(header, &closeStatus);
    err = "[" + path + "] has no image size";
    return false;
  }
  int nreject = 0, nwcs = 0;
  wcsprm* parsed = nullptr;
  const int ps = wcspih(header, nkeys, WCSHDR_all, 0, &nreject, &nwcs, &parsed);
  fits_free_memory(header, &closeStatus);
  if (ps == 0) wcs.adoptParsed(nwcs, parsed);
  width = int(w);
  height = int(h);
  return true;
}

bool readFitsPixels(const std::string& path, std::vector<float>& values, long& width, long& height,
                    std::string& err) {
  fitsfile* f = openImagePlane(path, width, height, err);
  if (!f) return false;
  int status = 0;
  values.assign(size_t(width) * size_t(height), 0.0f);
  long first[kMaxAxes] = {1, 1, 1};
  float nan = NAN;
  int anyNull = 0;
  fits_read_pix(f, TFLOAT, first, LONGLONG(values.size()), &nan, values.data(), &anyNull, &status);
  int closeStatus = 0;
  fits_close_file(f, &closeStatus);
  if (status) {
    err = "cannot read the FITS file [" + path + "]: " + cfitsioReason(status);
    return false;
  }
  return true;
}

bool readFitsTexture(const std::string& path, skydata::Image& out, std::string& err) {
  long w = 0, h = 0;
  fitsfile* f = openImagePlane(path, w, h, err);
  if (!f) return false;
  int status = 0;
  const long factor = textureReduction(w, h);
  const long tw = (w + factor - 1) / factor, th = (h + factor - 1) / factor;
  // The mean of the finite pixels of each factor x factor block, read a band of rows at a time
  // so that the full-size image is never held: in FITS order, the first row at the bottom.
  std::vector<float> mean, band(size_t(w) * size_t(factor));
  reserveLarge(mean, size_t(tw) * size_t(th));
  mean.resize(size_t(tw) * size_t(th));
  std::vector<double> sum(static_cast<size_t>(tw));
  std::vector<int> count(static_cast<size_t>(tw));
  float nan = NAN;
  for (long by = 0; by < th && !status; ++by) {
    const long rows = std::min(factor, h - by * factor);
    long first[kMaxAxes] = {1, by * factor + 1, 1};
    int anyNull = 0;
    fits_read_pix(f, TFLOAT, first, LONGLONG(rows * w), &nan, band.data(), &anyNull, &status);
    std::fill(sum.begin(), sum.end(), 0.0);
    std::fill(count.begin(), count.end(), 0);
    for (long r = 0; r < rows; ++r) {
      const float* row = &band[size_t(r) * size_t(w)];
      for (long bx = 0, x = 0; bx < tw; ++bx) {
        const long end = std::min(w, x + factor);
        float s = 0;
        int n = 0;
        // Branch-free, so that the compiler can keep the loop in vector registers.
        for (; x < end; ++x) {
          const bool finite = std::isfinite(row[x]);
          s += finite ? row[x] : 0.0f;
          n += finite;
        }
        sum[size_t(bx)] += s;
        count[size_t(bx)] += n;
      }
    }
    for (long x = 0; x < tw; ++x)
      mean[size_t(by) * size_t(tw) + size_t(x)] =
          count[size_t(x)] ? float(sum[size_t(x)] / count[size_t(x)]) : NAN;
  }
  int closeStatus = 0;
  fits_close_file(f, &closeStatus);
  if (status) {
    err = "cannot read the FITS file [" + path + "]: " + cfitsioReason(status);
    return false;
  }
  const size_t stride = std::max<size_t>(1, mean.size() / kPercentileSample);
  std::vector<float> sample;
  reserveLarge(sample, mean.size() / stride + 1);
  for (size_t i = 0; i < mean.size(); i += stride)
    if (std::isfinite(mean[i])) sample.push_back(mean[i]);
  float lo = 0, hi = 1;
  if (!sample.empty()) {
    const size_t a = size_t(kLowPercentile * double(sample.size() - 1));
    const size_t b = size_t(kHighPercentile * double(sample.size() - 1));
    std::nth_element(sample.begin(), sample.begin() + a, sample.end());
    lo = sample[a];
    std::nth_element(sample.begin(), sample.begin() + b, sample.end());
    hi = sample[b];
  }
  const float scale = hi > lo ? float(kWhite) / (hi - lo) : 0.0f;
  out.width = int(tw);
  out.height = int(th);
  out.rgb.clear();
  reserveLarge(out.rgb, size_t(tw) * size_t(th) * 3);
  out.rgb.resize(size_t(tw) * size_t(th) * 3);
  for (long y = 0; y < th; ++y) {
    const float* row = &mean[size_t(th - 1 - y) * size_t(tw)];  // the texture's top is the FITS last row
    uint8_t* dst = &out.rgb[size_t(y) * size_t(tw) * 3];
    for (long x = 0; x < tw; ++x) {
      const float v = std::isfinite(row[x]) ? (row[x] - lo) * scale : 0.0f;
      const uint8_t g = uint8_t(std::clamp(v, 0.0f, float(kWhite)));
      dst[3 * x] = dst[3 * x + 1] = dst[3 * x + 2] = g;
    }
  }
  return true;
}

long textureReduction(long width, long height) {
  const long side = std::max(width, height);
  return std::max(1L, (side + kMaxTextureSide - 1) / kMaxTextureSide);
}

}  // namespace place
