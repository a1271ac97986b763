// Reading and sorting a 120,000-star .star file, plain and EZ-packed.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>

#include "fileio/entropy.h"
#include "stars/star.h"

namespace {

constexpr int kStars = 120000;

// A synthetic catalogue of full 22-column lines, in no particular order of distance, written once
// per process into a plain file and an EZ-packed one.
struct Files {
  std::string plain, packed;
  long plainBytes = 0;
  Files() {
    char dirTemplate[] = "/tmp/stars_bench_XXXXXX";
    std::string dir = mkdtemp(dirTemplate);
    plain = dir + "/bench.star";
    packed = dir + "/bench_ez.star";
    std::mt19937 rng(7);
    std::uniform_real_distribution<double> u(-1.0, 1.0), pc(1.0, 500.0), lum(0.001, 1000.0);
    static const char* classes[] = {"O5", "B2", "A0", "F5", "G2", "K1", "M3"};
    static const char* types[] = {"I", "II", "III", "IV", "V"};
    std::string text = "NUM_STARS " + std::to_string(kStars) + "\nSIZE 3.0856776 16\n# x y z in parsecs\n";
    char line[512];
    for (int i = 0; i < kStars; i++) {
      double x = u(rng), y = u(rng), z = u(rng), r = pc(rng);
      snprintf(
          line, sizeof line,
          "%.6f %.6f %.6f 0.05 %.2f %.2f %.2f 0.1 0.1 0.1 %.3f %.4f 0.9 0.9 1.0 1.0 %s %d %s %d %d Star %d\n",
          x * r, y * r, z * r, u(rng) * 40, u(rng) * 40, u(rng) * 40, u(rng) + 0.6, lum(rng), classes[i % 7],
          i % 10, types[i % 5], 100000 + i, i + 1, i);
      text += line;
    }
    plainBytes = (long)text.size();
    FILE* fp = fopen(plain.c_str(), "wb");
    fwrite(text.data(), 1, text.size(), fp);
    fclose(fp);
    fp = fopen(packed.c_str(), "wb");
    WriteDeflateZip(fp, (unsigned char*)text.data(), (int)text.size());
    fclose(fp);
  }
  ~Files() {
    std::string dir = plain.substr(0, plain.rfind('/'));
    remove(plain.c_str());
    remove(packed.c_str());
    rmdir(dir.c_str());
  }
};

Files& files() {
  static Files f;
  return f;
}

void readAndSort(benchmark::State& state, const std::string& path) {
  StarList list;
  for (auto _ : state) {
    int n = 0;
    NODE_StarObject* stars = list.readStarObj(path.c_str(), &n, false);
    if (!stars || n != kStars) {
      state.SkipWithError("read failed");
      break;
    }
    list.sortStarObjs(&stars, n);
    benchmark::DoNotOptimize(stars[0].pos.s);
    free(stars);
  }
  state.SetItemsProcessed(state.iterations() * kStars);
  state.SetBytesProcessed(state.iterations() * files().plainBytes);
}

void BM_ReadSortPlain(benchmark::State& state) {
  readAndSort(state, files().plain);
}
void BM_ReadSortEZ(benchmark::State& state) {
  readAndSort(state, files().packed);
}

// The sort alone, on records already in memory.
void BM_SortOnly(benchmark::State& state) {
  StarList list;
  int n = 0;
  NODE_StarObject* base = list.readStarObj(files().plain.c_str(), &n, false);
  for (auto _ : state) {
    state.PauseTiming();
    NODE_StarObject* copy = (NODE_StarObject*)malloc(sizeof(NODE_StarObject) * n);
    for (int i = 0; i < n; i++) copy[i] = base[i];
    state.ResumeTiming();
    list.sortStarObjs(&copy, n);
    benchmark::DoNotOptimize(copy[0].pos.s);
    free(copy);
  }
  free(base);
  state.SetItemsProcessed(state.iterations() * n);
}

}  // namespace

BENCHMARK(BM_ReadSortPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadSortEZ)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortOnly)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
