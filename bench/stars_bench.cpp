// Reading and sorting a 120,000-star .star file, plain and EZ-packed; and the sort of 160,000
// stars already in distance order against the same stars shuffled, with their ratio.
#include <benchmark/benchmark.h>
#include <unistd.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <random>
#include <string>
#include <vector>

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

// 160,000 stars with distances rounded as a catalogue has them (ties included), either in
// distance order, nearest first, as a catalogue written out by this program is, or shuffled.
constexpr int kOrderedStars = 160000;

std::vector<NODE_StarObject> orderedStars(bool shuffled) {
  std::mt19937 rng(11);
  std::uniform_real_distribution<double> logDist(16.0, 19.5);
  std::vector<NODE_StarObject> st(kOrderedStars);
  for (NODE_StarObject& s : st) {
    s = NODE_StarObject{};
    s.pos.x = 1;
    s.pos.s = std::round(logDist(rng) * 1e4) / 1e4;
  }
  std::sort(st.begin(), st.end(),
            [](const NODE_StarObject& a, const NODE_StarObject& b) { return a.pos.s < b.pos.s; });
  if (shuffled) std::shuffle(st.begin(), st.end(), rng);
  return st;
}

// Seconds of one sortStarObjs of a copy of the stars.
double sortSeconds(StarList& list, const std::vector<NODE_StarObject>& base) {
  int n = static_cast<int>(base.size());
  NODE_StarObject* copy = (NODE_StarObject*)malloc(sizeof(NODE_StarObject) * n);
  std::copy(base.begin(), base.end(), copy);
  auto t0 = std::chrono::steady_clock::now();
  list.sortStarObjs(&copy, n);
  auto t1 = std::chrono::steady_clock::now();
  benchmark::DoNotOptimize(copy[0].pos.s);
  free(copy);
  return std::chrono::duration<double>(t1 - t0).count();
}

void sortOrderedOrShuffled(benchmark::State& state, bool shuffled) {
  StarList list;
  std::vector<NODE_StarObject> base = orderedStars(shuffled);
  for (auto _ : state) state.SetIterationTime(sortSeconds(list, base));
  state.SetItemsProcessed(state.iterations() * kOrderedStars);
}

void BM_SortInDistanceOrder(benchmark::State& state) {
  sortOrderedOrShuffled(state, false);
}
void BM_SortShuffled(benchmark::State& state) {
  sortOrderedOrShuffled(state, true);
}

// Both in turn; the counter "ordered/shuffled" is the ratio of their times, near 1 where the
// order of the input doesn't matter (it was about 170 when ordered input was quadratic).
void BM_SortOrderedOverShuffled(benchmark::State& state) {
  StarList list;
  std::vector<NODE_StarObject> ordered = orderedStars(false), shuffled = orderedStars(true);
  double tOrdered = 0, tShuffled = 0;
  for (auto _ : state) {
    double a = sortSeconds(list, ordered), b = sortSeconds(list, shuffled);
    tOrdered += a;
    tShuffled += b;
    state.SetIterationTime(a + b);
  }
  state.counters["ordered/shuffled"] = tShuffled > 0 ? tOrdered / tShuffled : 0;
}

}  // namespace

BENCHMARK(BM_ReadSortPlain)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_ReadSortEZ)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortOnly)->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortInDistanceOrder)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortShuffled)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(BM_SortOrderedOverShuffled)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
