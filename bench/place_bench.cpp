// Benchmarks of placing a sky image.
//
// A 4096 x 4096 FITS image of floats with a TAN WCS is made once with cfitsio. Then:
//   BM_ReadPixelsOnly   the floor: cfitsio reads the pixels into floats, nothing else
//   BM_LocateOnly       the header's WCS parsed by wcslib and the corners found, no pixels
//   BM_PlaceImage       the whole placing: WCS, corners, pixels to an 8-bit texture (area-averaged
//                       to 2048 x 2048), and the model, material and 12 MB P6 texture written
//
//   build/bin/place_bench --benchmark_repetitions=5 --benchmark_report_aggregates_only=true
// gives the README's figure (the medians of processor time).
#include <benchmark/benchmark.h>
#include <fitsio.h>
#include <unistd.h>

#include <cstdio>
#include <string>
#include <vector>

#include "place/fitsimage.h"
#include "place/placeimage.h"

namespace {

constexpr int kSide = 4096;

struct Files {
  std::string folder, fits;
  Files() {
    char tmpl[] = "/tmp/place-bench-XXXXXX";
    folder = mkdtemp(tmpl);
    fits = folder + "/big.fits";
    fitsfile* f = nullptr;
    int status = 0;
    long axes[2] = {kSide, kSide};
    fits_create_file(&f, fits.c_str(), &status);
    fits_create_img(f, FLOAT_IMG, 2, axes, &status);
    fits_update_key_str(f, "CTYPE1", "RA---TAN", nullptr, &status);
    fits_update_key_str(f, "CTYPE2", "DEC--TAN", nullptr, &status);
    const double crval1 = 83.633, crval2 = 22.0145, crpix = kSide / 2.0, scale = 1.0 / 3600;
    fits_update_key_dbl(f, "CRVAL1", crval1, -15, nullptr, &status);
    fits_update_key_dbl(f, "CRVAL2", crval2, -15, nullptr, &status);
    fits_update_key_dbl(f, "CRPIX1", crpix, -15, nullptr, &status);
    fits_update_key_dbl(f, "CRPIX2", crpix, -15, nullptr, &status);
    fits_update_key_dbl(f, "CDELT1", -scale, -15, nullptr, &status);
    fits_update_key_dbl(f, "CDELT2", scale, -15, nullptr, &status);
    std::vector<float> row(kSide);
    for (long y = 1; y <= kSide; ++y) {
      for (int x = 0; x < kSide; ++x) row[x] = float((x * 7 + y * 13) % 1000);
      long first[2] = {1, y};
      fits_write_pix(f, TFLOAT, first, kSide, row.data(), &status);
    }
    fits_close_file(f, &status);
    if (status) std::fprintf(stderr, "cannot make [%s]\n", fits.c_str());
  }
  ~Files() {
    for (const char* n : {"/big.fits", "/big.obj", "/big.mtl", "/big.ppm"}) std::remove((folder + n).c_str());
    rmdir(folder.c_str());
  }
};

const Files& files() {
  static const Files f;
  return f;
}

void BM_ReadPixelsOnly(benchmark::State& state) {
  std::vector<float> v;
  long w = 0, h = 0;
  std::string err;
  for (auto _ : state) {
    if (!place::readFitsPixels(files().fits, v, w, h, err)) state.SkipWithError(err.c_str());
    benchmark::DoNotOptimize(v.data());
  }
  state.SetBytesProcessed(int64_t(state.iterations()) * kSide * kSide * int64_t(sizeof(float)));
}
BENCHMARK(BM_ReadPixelsOnly)->Unit(benchmark::kMillisecond);

void BM_LocateOnly(benchmark::State& state) {
  place::SkyQuad q;
  std::string err;
  for (auto _ : state) {
    if (!place::locateImage(files().fits, q, nullptr, err)) state.SkipWithError(err.c_str());
    benchmark::DoNotOptimize(q.corners[0][0]);
  }
}
BENCHMARK(BM_LocateOnly)->Unit(benchmark::kMillisecond);

void BM_PlaceImage(benchmark::State& state) {
  place::PlaceOptions o;
  o.distance = 2000;
  std::string obj, err;
  for (auto _ : state)
    if (!place::placeImage(files().fits, o, obj, err)) state.SkipWithError(err.c_str());
  state.SetBytesProcessed(int64_t(state.iterations()) * kSide * kSide * int64_t(sizeof(float)));
}
BENCHMARK(BM_PlaceImage)->Unit(benchmark::kMillisecond);

}  // namespace

BENCHMARK_MAIN();
