// Finding stars as connected bright spots and writing them as a source list.
#include "place/starfinder.h"

#include <fitsio.h>

#include <algorithm>
#include <cmath>
#include <cstdint>

namespace place {

namespace {

// A detection stands this many noise levels above the background...
constexpr double kDetectNoiseLevels = 5.0;
// ... and at least this fraction of the brightest pixel's height above the background, which is
// what counts in a rendered picture whose background has no noise at all.
constexpr double kDetectFractionOfPeak = 0.05;
// The median absolute deviation of Gaussian noise times this is its standard deviation.
constexpr double kMadToSigma = 1.4826;
// Pixels sampled for the background and noise estimates.
constexpr size_t kStatSample = 200000;

double median(std::vector<float>& v) {
  if (v.empty()) return 0;
  const size_t mid = v.size() / 2;
  std::nth_element(v.begin(), v.begin() + static_cast<long>(mid), v.end());
  return v[mid];
}

}  // namespace

GreyImage greyOfRgb(const unsigned char* rgb, int width, int height) {
  GreyImage g;
  g.width = width;
  g.height = height;
  g.values.resize(size_t(width) * size_t(height));
  for (int row = 0; row < height; ++row) {
    const unsigned char* src = rgb + size_t(row) * size_t(width) * 3;
    float* dst = &g.values[size_t(height - 1 - row) * size_t(width)];
    for (int x = 0; x < width; ++x)
      dst[x] = float(src[3 * x]) + float(src[3 * x + 1]) + float(src[3 * x + 2]);
  }
  return g;
}

std::vector<Source> findSources(const GreyImage& image, size_t maxSources) {
  const int w = image.width, h = image.height;
  const std::vector<float>& v = image.values;
  std::vector<Source> out;
  if (w <= 0 || h <= 0 || v.size() != size_t(w) * size_t(h)) return out;
  std::vector<float> sample;
  const size_t stride = std::max<size_t>(1, v.size() / kStatSample);
  float peak = -INFINITY;
  for (size_t i = 0; i < v.size(); ++i) {
    if (!std::isfinite(v[i])) continue;
    peak = std::max(peak, v[i]);
    if (i % stride == 0) sample.push_back(v[i]);
  }
  if (sample.empty()) return out;
  const double background = median(sample);
  for (float& s : sample) s = std::fabs(s - float(background));
  const double noise = kMadToSigma * median(sample);
  const double threshold =
      background + std::max(kDetectNoiseLevels * noise, kDetectFractionOfPeak * (double(peak) - background));
  if (!(double(peak) > threshold)) return out;

  std::vector<uint8_t> seen(v.size(), 0);
  std::vector<size_t> stack;
  for (size_t start = 0; start < v.size(); ++start) {
    if (seen[start] || !(double(v[start]) > threshold)) continue;
    seen[start] = 1;
    stack.push_back(start);
    double flux = 0, sx = 0, sy = 0;
    while (!stack.empty()) {
      const size_t i = stack.back();
      stack.pop_back();
      const int x = int(i % size_t(w)), y = int(i / size_t(w));
      const double light = double(v[i]) - background;
      flux += light;
      sx += light * x;
      sy += light * y;
      for (int dy = -1; dy <= 1; ++dy)
        for (int dx = -1; dx <= 1; ++dx) {
          const int nx = x + dx, ny = y + dy;
          if (nx < 0 || ny < 0 || nx >= w || ny >= h) continue;
          const size_t j = size_t(ny) * size_t(w) + size_t(nx);
          if (!seen[j] && double(v[j]) > threshold) {
            seen[j] = 1;
            stack.push_back(j);
          }
        }
    }
    // FITS pixel numbers count from 1 at the first pixel's centre.
    out.push_back({sx / flux + 1.0, sy / flux + 1.0, flux});
  }
  std::sort(out.begin(), out.end(), [](const Source& a, const Source& b) { return a.flux > b.flux; });
  if (out.size() > maxSources) out.resize(maxSources);
  return out;
}

bool writeSourceList(const std::string& path, const std::vector<Source>& sources, std::string& err) {
  fitsfile* f = nullptr;
  int status = 0;
  char ttype[3][8] = {"X", "Y", "FLUX"};
  char tform[3][8] = {"1D", "1D", "1D"};
  char* types[3] = {ttype[0], ttype[1], ttype[2]};
  char* forms[3] = {tform[0], tform[1], tform[2]};
  fits_create_file(&f, ("!" + path).c_str(), &status);
  fits_create_tbl(f, BINARY_TBL, LONGLONG(sources.size()), 3, types, forms, nullptr, "SOURCES", &status);
  std::vector<double> col(sources.size());
  for (int c = 0; c < 3; ++c) {
    for (size_t i = 0; i < sources.size(); ++i)
      col[i] = c == 0 ? sources[i].x : c == 1 ? sources[i].y : sources[i].flux;
    if (!col.empty()) fits_write_col(f, TDOUBLE, c + 1, 1, 1, LONGLONG(col.size()), col.data(), &status);
  }
  int closeStatus = 0;
  if (f) fits_close_file(f, &closeStatus);
  if (status || closeStatus) {
    char reason[FLEN_STATUS] = "";
    fits_get_errstatus(status ? status : closeStatus, reason);
    err = "cannot write [" + path + "]: " + reason;
    return false;
  }
  return true;
}

}  // namespace place
