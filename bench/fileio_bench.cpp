// Benchmarks of the data files unit.
//
// EZ: a 20 MB text table of numbers is packed once into an EZ container and once into a
// .gz file (zlib's gzwrite at level 6, the same DEFLATE level). Then:
//   BM_EZ_FopenEZ        fopenEZ as the readers use it: expand into a temporary file, read it back
//   BM_EZ_ReadDeflateZip expansion into memory only
//   BM_Gzip_Dc           the gzip program, `gzip -dc file >/dev/null`, run through system()
//   BM_Gzip_Gzread       zlib's gzread in this process, into memory
// Images: a 4096 x 2048 P6 file read with read_pnm (texture reader) and readPNM.
#include <benchmark/benchmark.h>
#include <unistd.h>
#include <zlib.h>

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "fileio/entropy.h"
#include "fileio/pnm.h"
#include "fileio/sgi.h"

namespace {

constexpr size_t kEZBytes = 20u << 20;
constexpr int kImgW = 4096, kImgH = 2048;

struct Files {
  std::string folder, raw, ez, gz, pnm;
  Files() {
    char tmpl[] = "/tmp/fileio-bench-XXXXXX";
    folder = mkdtemp(tmpl);
    raw = folder + "/table.txt";
    ez = folder + "/table.ez";
    gz = folder + "/table.gz";
    pnm = folder + "/image.pnm";
    // A text table of numbers: row, a position, a magnitude and a class letter.
    std::string data;
    data.reserve(kEZBytes + 100);
    unsigned x = 1;
    char line[96];
    for (int row = 0; data.size() < kEZBytes; row++) {
      x = x * 1103515245u + 12345u;
      snprintf(line, sizeof line, "%8d %11.6f %+10.6f %6.2f %c\n", row, (x >> 8) % 3600000 / 10000.0,
               ((x >> 3) % 1800000) / 10000.0 - 90.0, (x % 2000) / 100.0 - 1.5, "OBAFGKM"[x % 7]);
      data += line;
    }
    data.resize(kEZBytes);
    FILE* f = fopen(raw.c_str(), "wb");
    fwrite(data.data(), 1, data.size(), f);
    fclose(f);
    f = fopen(ez.c_str(), "wb");
    WriteDeflateZip(f, reinterpret_cast<unsigned char*>(data.data()), static_cast<int>(data.size()));
    fclose(f);
    gzFile g = gzopen(gz.c_str(), "wb6");
    gzwrite(g, data.data(), static_cast<unsigned>(data.size()));
    gzclose(g);
    // A smooth colour gradient image.
    std::vector<unsigned char> px(static_cast<size_t>(kImgW) * kImgH * 3);
    for (int y = 0; y < kImgH; y++)
      for (int i = 0; i < kImgW; i++) {
        unsigned char* p = &px[(static_cast<size_t>(y) * kImgW + i) * 3];
        p[0] = static_cast<unsigned char>(i >> 4);
        p[1] = static_cast<unsigned char>(y >> 3);
        p[2] = static_cast<unsigned char>((i + y) & 0xff);
      }
    write_pnm(pnm.c_str(), kImgW, kImgH, 3, px.data());
  }
  ~Files() {
    for (const std::string& p : {raw, ez, gz, pnm}) unlink(p.c_str());
    rmdir(folder.c_str());
  }
};

Files& files() {
  static Files f;
  return f;
}

void BM_EZ_FopenEZ(benchmark::State& state) {
  std::vector<char> buf(1 << 16);
  files();  // made once, outside the timed loop
  for (auto _ : state) {
    FILE* f = fopenEZ(files().ez.c_str(), "rb");
    size_t total = 0, n;
    while ((n = fread(buf.data(), 1, buf.size(), f)) > 0) total += n;
    fclose(f);
    if (total != kEZBytes) state.SkipWithError("wrong size");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kEZBytes);
}
BENCHMARK(BM_EZ_FopenEZ)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_EZ_ReadDeflateZip(benchmark::State& state) {
  files();  // made once, outside the timed loop
  for (auto _ : state) {
    FILE* f = fopen(files().ez.c_str(), "rb");
    unsigned char* data = nullptr;
    int size = 0;
    ReadDeflateZip(f, &data, &size);
    fclose(f);
    free(data);
    if (size != static_cast<int>(kEZBytes)) state.SkipWithError("wrong size");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kEZBytes);
}
BENCHMARK(BM_EZ_ReadDeflateZip)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_Gzip_Dc(benchmark::State& state) {
  std::string cmd = "gzip -dc " + files().gz + " >/dev/null";
  files();  // made once, outside the timed loop
  for (auto _ : state) {
    if (system(cmd.c_str()) != 0) state.SkipWithError("gzip failed");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kEZBytes);
}
BENCHMARK(BM_Gzip_Dc)->Unit(benchmark::kMillisecond)->Iterations(5)->UseRealTime();

void BM_Gzip_Gzread(benchmark::State& state) {
  std::vector<char> buf(kEZBytes);
  files();  // made once, outside the timed loop
  for (auto _ : state) {
    gzFile g = gzopen(files().gz.c_str(), "rb");
    int n = gzread(g, buf.data(), static_cast<unsigned>(buf.size()));
    gzclose(g);
    if (n != static_cast<int>(kEZBytes)) state.SkipWithError("wrong size");
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kEZBytes);
}
BENCHMARK(BM_Gzip_Gzread)->Unit(benchmark::kMillisecond)->Iterations(5);

void BM_ReadPnm_4096x2048(benchmark::State& state) {
  files();  // made once, outside the timed loop
  for (auto _ : state) {
    int w, h, c;
    unsigned char* px = read_pnm(files().pnm.c_str(), &w, &h, &c);
    if (!px || w != kImgW || h != kImgH) state.SkipWithError("read failed");
    free(px);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kImgW * kImgH * 3);
}
BENCHMARK(BM_ReadPnm_4096x2048)->Unit(benchmark::kMillisecond)->Iterations(10);

void BM_ReadPNM_4096x2048(benchmark::State& state) {
  files();  // made once, outside the timed loop
  for (auto _ : state) {
    int w, h, m;
    unsigned char* px = nullptr;
    if (readPNM(files().pnm.c_str(), "P6", &w, &h, &m, &px) != 1) state.SkipWithError("read failed");
    free(px);
  }
  state.SetBytesProcessed(static_cast<int64_t>(state.iterations()) * kImgW * kImgH * 3);
}
BENCHMARK(BM_ReadPNM_4096x2048)->Unit(benchmark::kMillisecond)->Iterations(10);

}  // namespace

BENCHMARK_MAIN();
