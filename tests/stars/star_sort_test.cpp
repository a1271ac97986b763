// The index quicksort of one star file gives the order it has always given, equal distances
// included, on the real star sets and on ordered, reversed and tied inputs: compared with the
// plain scanning form of the same quicksort, kept here as the reference.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "stars/star.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

namespace {

// The quicksort as first written: pivot at `left` after the swap with `right`, i and j walked
// one key at a time. Quadratic on ordered input; the order it leaves is the one to keep.
void referenceQuickSort(int* idx, const NODE_StarObject* st, int left, int right) {
  auto key = [&](int i) { return st[idx[i]].pos.s; };
  while (left < right) {
    if (key(right) > key(left)) std::swap(idx[left], idx[right]);
    double pivot = key(left);
    int i = left, j = right + 1;
    for (;;) {
      do i++;
      while (i <= right && key(i) > pivot);
      do j--;
      while (j >= left && key(j) < pivot);
      if (i >= j) break;
      std::swap(idx[i], idx[j]);
    }
    std::swap(idx[left], idx[j]);
    if (j - left < right - j) {
      referenceQuickSort(idx, st, left, j - 1);
      left = j + 1;
    } else {
      referenceQuickSort(idx, st, j + 1, right);
      right = j - 1;
    }
  }
}

std::vector<NODE_StarObject> starsWithKeys(const std::vector<double>& keys) {
  std::vector<NODE_StarObject> st(keys.size());
  for (size_t i = 0; i < keys.size(); i++) {
    st[i] = NODE_StarObject{};
    st[i].pos.x = 1;
    st[i].pos.s = keys[i];
    st[i].HIC = static_cast<int>(i);  // who is who, for the order of equal keys
  }
  return st;
}

// The index after the sort, by the reference and by StarList, from the same starting index.
std::pair<std::vector<int>, std::vector<int>> bothOrders(StarList& list,
                                                         const std::vector<NODE_StarObject>& st,
                                                         std::vector<int> start, int left, int right) {
  std::vector<int> want = start;
  referenceQuickSort(want.data(), st.data(), left, right);
  int* index = static_cast<int*>(malloc(sizeof(int) * (start.empty() ? 1 : start.size())));
  std::copy(start.begin(), start.end(), index);
  list.quickSortByIndex(&index, const_cast<NODE_StarObject*>(st.data()), left, right);
  std::vector<int> got(index, index + start.size());
  free(index);
  return {want, got};
}

std::vector<int> identity(size_t n) {
  std::vector<int> v(n);
  std::iota(v.begin(), v.end(), 0);
  return v;
}

// How many positions of two orders differ; 0 is equality.
int differences(const std::vector<int>& a, const std::vector<int>& b) {
  int d = 0;
  for (size_t i = 0; i < a.size(); i++) d += a[i] != b[i];
  return d + static_cast<int>(a.size() > b.size() ? a.size() - b.size() : b.size() - a.size());
}

// The keys of the synthetic cases, n of them.
using KeyMaker = std::function<std::vector<double>(int n, std::mt19937& rng)>;

std::vector<double> ascending(int n, std::mt19937&) {
  std::vector<double> k(n);
  for (int i = 0; i < n; i++) k[i] = 15.0 + i * 1e-3;
  return k;
}
std::vector<double> descending(int n, std::mt19937& rng) {
  std::vector<double> k = ascending(n, rng);
  std::reverse(k.begin(), k.end());
  return k;
}
std::vector<double> allEqual(int n, std::mt19937&) {
  return std::vector<double>(n, 17.25);
}
// Distances rounded to a few values, as a catalogue with rounded parallaxes has them.
std::vector<double> fewValues(int n, std::mt19937& rng) {
  std::vector<double> k(n);
  for (int i = 0; i < n; i++) k[i] = 16.0 + static_cast<double>(rng() % 7) * 0.5;
  return k;
}
std::vector<double> ascendingWithTies(int n, std::mt19937& rng) {
  std::vector<double> k = fewValues(n, rng);
  for (int i = 0; i < n; i++) k[i] = 16.0 + (i / 13) * 0.01;
  return k;
}
std::vector<double> descendingWithTies(int n, std::mt19937& rng) {
  std::vector<double> k = ascendingWithTies(n, rng);
  std::reverse(k.begin(), k.end());
  return k;
}
std::vector<double> organPipe(int n, std::mt19937&) {
  std::vector<double> k(n);
  for (int i = 0; i < n; i++) k[i] = 16.0 + std::min(i, n - 1 - i) * 0.01;
  return k;
}
std::vector<double> sawTooth(int n, std::mt19937&) {
  std::vector<double> k(n);
  for (int i = 0; i < n; i++) k[i] = 16.0 + (i % 50) * 0.1;
  return k;
}
std::vector<double> shuffledWithTies(int n, std::mt19937& rng) {
  std::vector<double> k = ascendingWithTies(n, rng);
  std::shuffle(k.begin(), k.end(), rng);
  return k;
}
// NaN compares false both ways and infinities stand at the ends; the order of all of them is
// whatever the comparisons give, and must stay so.
std::vector<double> withNaNAndInfinities(int n, std::mt19937& rng) {
  std::vector<double> k = shuffledWithTies(n, rng);
  for (int i = 0; i < n; i += 17) k[i] = NAN;
  for (int i = 5; i < n; i += 29) k[i] = INFINITY;
  for (int i = 9; i < n; i += 31) k[i] = -INFINITY;
  return k;
}
std::vector<double> ascendingWithNaN(int n, std::mt19937& rng) {
  std::vector<double> k = ascending(n, rng);
  for (int i = 3; i < n; i += 101) k[i] = NAN;
  return k;
}

std::vector<double> descendingWithNaNAndInfinities(int n, std::mt19937& rng) {
  std::vector<double> k = descendingWithTies(n, rng);
  for (int i = 1; i < n; i += 37) k[i] = NAN;
  for (int i = 2; i < n; i += 41) k[i] = INFINITY;
  for (int i = 4; i < n; i += 43) k[i] = -INFINITY;
  return k;
}

struct SynthCase {
  const char* name;
  KeyMaker keys;
  bool ordered;  // lopsided enough for the sort to build its tree of keys (at 1000 keys and more)
};

const SynthCase kSynth[] = {
    {"ascending", ascending, true},
    {"descending", descending, true},
    {"all equal", allEqual, false},
    {"few values", fewValues, false},
    {"ascending with ties", ascendingWithTies, true},
    {"descending with ties", descendingWithTies, true},
    {"organ pipe", organPipe, true},
    {"saw tooth", sawTooth, false},
    {"shuffled with ties", shuffledWithTies, false},
    {"NaN and infinities", withNaNAndInfinities, false},
    {"ascending with NaN", ascendingWithNaN, true},
    {"descending with NaN and infinities", descendingWithNaNAndInfinities, true},
};

// Sizes small enough for the quadratic reference on ordered input, and the smallest ones.
constexpr int kSizes[] = {0, 1, 2, 3, 4, 5, 8, 31, 64, 100, 1000, 4000};

NODE_StarObject* readSet(StarList& list, int n, int* count) {
  std::string path = testsupport::starSetPath(n);
  NODE_StarObject* st = nullptr;
  testsupport::stderrOf([&] { st = list.readStarObj(path.c_str(), count, false); });
  return st;
}

}  // namespace

TEST(StarSort, SameOrderAsTheReferenceOnOrderedReversedAndTiedInputs) {
  StarList list;
  for (const SynthCase& c : kSynth) {
    for (int n : kSizes) {
      std::mt19937 rng(static_cast<unsigned>(n) * 7919u + 1u);
      std::vector<NODE_StarObject> st = starsWithKeys(c.keys(n, rng));
      auto [want, got] = bothOrders(list, st, identity(st.size()), 0, n - 1);
      EXPECT_EQ(differences(want, got), 0) << c.name << " n=" << n;
    }
  }
}

TEST(StarSort, SameOrderOnSubRangesAndFromAShuffledIndex) {
  StarList list;
  for (const SynthCase& c : kSynth) {
    std::mt19937 rng(99);
    const int n = 1500;
    std::vector<NODE_StarObject> st = starsWithKeys(c.keys(n, rng));
    // A range inside the array: the rest of the index is left as it is.
    auto [want, got] = bothOrders(list, st, identity(n), 200, 1299);
    EXPECT_EQ(differences(want, got), 0) << c.name;
    for (int i = 0; i < 200; i++) EXPECT_EQ(got[i], i) << c.name;
    // An index that isn't the identity: the sort works on whatever it is given.
    std::vector<int> start = identity(n);
    std::shuffle(start.begin(), start.end(), rng);
    auto [want2, got2] = bothOrders(list, st, start, 0, n - 1);
    EXPECT_EQ(differences(want2, got2), 0) << c.name;
    // Left not below right: nothing happens.
    auto [want3, got3] = bothOrders(list, st, start, 700, 700);
    EXPECT_EQ(got3, start) << c.name;
    auto [want4, got4] = bothOrders(list, st, start, 700, 600);
    EXPECT_EQ(got4, start) << c.name;
  }
}

TEST(StarSort, WithoutMemoryForTheScanTreeTheOrderIsTheSame) {
  // The tree of the fast scans (three blocks) comes from the list's allocator; when it can't be
  // had, the scans walk key by key and give the same order.
  StarList list;
  list.allocFunc = testsupport::failingAlloc;
  for (const SynthCase& c : kSynth) {
    std::mt19937 rng(5);
    std::vector<NODE_StarObject> st = starsWithKeys(c.keys(3000, rng));
    for (int ok : {0, 1, 2, 3, 5, -1}) {
      testsupport::FailAllocScope scope(ok);
      auto [want, got] = bothOrders(list, st, identity(st.size()), 0, 2999);
      EXPECT_EQ(differences(want, got), 0) << c.name << " ok=" << ok;
      // Ordered input asks for a tree; each attempt asks for its three blocks.
      if (c.ordered) {
        EXPECT_GE(testsupport::failingAllocCalls(), 3) << c.name << " ok=" << ok;
      }
      EXPECT_EQ(testsupport::failingAllocCalls() % 3, 0) << c.name;
    }
  }
  list.allocFunc = malloc;
}

TEST(StarSort, SameOrderAsTheReferenceOnEveryRealStarSet) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  for (int set = 1; set <= 12; set++) {
    int n = 0;
    NODE_StarObject* st = readSet(list, set, &n);
    ASSERT_NE(st, nullptr) << set;
    ASSERT_GT(n, 0);
    std::vector<NODE_StarObject> stars(st, st + n);
    free(st);
    // In the order of the file, which is not the order of distance.
    auto [want, got] = bothOrders(list, stars, identity(n), 0, n - 1);
    EXPECT_EQ(differences(want, got), 0) << "hip." << set;
    // The real distances have ties: the order among them is what is being kept.
    std::vector<double> keys;
    for (const NODE_StarObject& s : stars) keys.push_back(s.pos.s);
    std::sort(keys.begin(), keys.end());
    int ties = 0;
    for (size_t i = 1; i < keys.size(); i++) ties += keys[i] == keys[i - 1];
    if (set == 12) {
      EXPECT_GT(ties, 0);
    }
    // The whole record sort: the records in reverse index order, nearest first.
    NODE_StarObject* arr = static_cast<NODE_StarObject*>(malloc(sizeof(NODE_StarObject) * n));
    std::copy(stars.begin(), stars.end(), arr);
    list.sortStarObjs(&arr, n);
    int wrong = 0;
    for (int i = 0; i < n; i++)
      wrong += arr[i].HIC != stars[want[n - 1 - i]].HIC || arr[i].pos.s != stars[want[n - 1 - i]].pos.s;
    EXPECT_EQ(wrong, 0) << "hip." << set;
    free(arr);
  }
}

TEST(StarSort, RealStarSetsInDistanceOrderAndReversedGiveTheReferenceOrder) {
  VELMORA_REQUIRE_SKY_DATA();
  // The real sets sorted, as a catalogue already in distance order comes: the reference is
  // quadratic there, so the sets of up to a few thousand stars are compared whole.
  StarList list;
  for (int set = 1; set <= 6; set++) {
    int n = 0;
    NODE_StarObject* st = readSet(list, set, &n);
    ASSERT_NE(st, nullptr) << set;
    list.sortStarObjs(&st, n);  // nearest first: ascending, the slow case
    std::vector<NODE_StarObject> stars(st, st + n);
    free(st);
    for (NODE_StarObject& s : stars) s.HIC = static_cast<int>(&s - stars.data());
    auto [want, got] = bothOrders(list, stars, identity(n), 0, n - 1);
    EXPECT_EQ(differences(want, got), 0) << "hip." << set << " ascending";
    std::reverse(stars.begin(), stars.end());
    auto [want2, got2] = bothOrders(list, stars, identity(n), 0, n - 1);
    EXPECT_EQ(differences(want2, got2), 0) << "hip." << set << " descending";
  }
}

TEST(StarSort, LargestSetInDistanceOrderIsSortedDescending) {
  VELMORA_REQUIRE_SKY_DATA();
  // The largest set, already in distance order (the order that made the sort quadratic): the
  // index comes out descending by distance, and is a permutation.
  StarList list;
  int n = 0;
  NODE_StarObject* st = readSet(list, 12, &n);
  ASSERT_NE(st, nullptr);
  list.sortStarObjs(&st, n);
  std::vector<NODE_StarObject> stars(st, st + n);
  free(st);
  std::vector<int> index = identity(n);
  int* raw = index.data();
  list.quickSortByIndex(&raw, stars.data(), 0, n - 1);
  int unordered = 0;
  for (int i = 1; i < n; i++) unordered += stars[index[i - 1]].pos.s < stars[index[i]].pos.s;
  EXPECT_EQ(unordered, 0);
  std::vector<int> seen(n, 0);
  for (int i : index) seen[i]++;
  EXPECT_EQ(std::count(seen.begin(), seen.end(), 1), n);
}

// The records land in the reverse of the index order the reference sort gives, each one whole
// and in the block it came in, whatever cycles the permutation has.
TEST(StarSort, RecordsMoveInPlaceIntoTheReverseIndexOrder) {
  StarList list;
  for (const SynthCase& c : kSynth) {
    for (int n : kSizes) {
      std::mt19937 rng(static_cast<unsigned>(n) * 104729u + 3u);
      std::vector<NODE_StarObject> st = starsWithKeys(c.keys(n, rng));
      for (int i = 0; i < n; i++) st[i].HD = i * 3 + 1;  // a second field that travels along
      std::vector<int> idx = identity(st.size());
      if (n > 1) referenceQuickSort(idx.data(), st.data(), 0, n - 1);
      size_t slots = n > 0 ? static_cast<size_t>(n) : 1;
      auto* a = static_cast<NODE_StarObject*>(malloc(sizeof(NODE_StarObject) * slots));
      for (int i = 0; i < n; i++) a[i] = st[i];
      NODE_StarObject* before = a;
      list.sortStarObjs(&a, n);
      EXPECT_EQ(a, before) << c.name << " n=" << n;
      int wrong = 0;
      for (int i = 0; i < n; i++) {
        const NODE_StarObject& want = st[idx[n - 1 - i]];
        if (a[i].HIC != want.HIC || a[i].HD != want.HD) wrong++;
      }
      EXPECT_EQ(wrong, 0) << c.name << " n=" << n;
      free(a);
    }
  }
}
