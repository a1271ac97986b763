// Sorting the records of one star file by distance: the index quicksort and the move of the
// records into that order within their own array, nearest star first.
//
// The quicksort takes the key at `left` (after the swap with `right`) as its pivot, which on a
// file already in distance order peels off one or two records a partition and scans the rest
// each time: quadratic. Its results, the order of equal keys included, are what every catalogue
// has been built with, so the algorithm stays step for step as it is; only its two scans, the
// runs of i upwards and of j downwards, may jump straight to where they stop, found in a tree
// of the keys' minima and maxima. A partition makes at most as many swaps as its smaller side
// holds, so the swaps and stops of the whole sort stay near n log n, each at the cost of a
// walk through the tree. On shuffled input the plain walks are quicker than keeping a tree, so
// a tree is built only for a range that comes out of a run of lopsided partitions, and serves
// that range and all the ranges within it. Between two fair partitions, which at least halve a
// range, stand fewer than kLopsidedRun walked lopsided ones, so the walks stay near n log n.
#include <cmath>
#include <cstdlib>
#include <utility>

#include "stars/star.h"

namespace {

// The widest tree: a power of two whose double still fits an int.
constexpr int kMaxTreeLeaves = 1 << 29;

// The keys of positions 0..n-1 of an index range, with the least and the greatest key and
// whether a NaN is among them for every span of positions. Stops of the scans are defined by
// the quicksort's own comparisons: i stops at a key that isn't greater than the pivot (a NaN
// included), j at one that isn't less.
class KeyTree {
 public:
  // Takes its arrays from allocFunc, to be given back by release() through freeFunc; false,
  // with nothing held, if there is no memory. keyAt(p) gives the key of position p.
  template <typename KeyAt>
  bool build(int n, KeyAt keyAt, void* (*allocFunc)(size_t), void (*freeFunc)(void*)) {
    free_ = freeFunc;
    if (n > kMaxTreeLeaves) return false;  // its width would pass an int; walked instead
    size_ = 1;
    while (size_ < n) size_ *= 2;
    lo_ = static_cast<double*>(allocFunc(sizeof(double) * 2 * size_));
    hi_ = static_cast<double*>(allocFunc(sizeof(double) * 2 * size_));
    nan_ = static_cast<unsigned char*>(allocFunc(2 * static_cast<size_t>(size_)));
    if (!lo_ || !hi_ || !nan_) {
      release();
      return false;
    }
    for (int p = 0; p < size_; p++) leaf(size_ + p, p < n ? keyAt(p) : 0.0, p < n);
    for (int v = size_ - 1; v >= 1; v--) pull(v);
    return true;
  }

  void release() {
    if (lo_) free_(lo_);
    if (hi_) free_(hi_);
    if (nan_) free_(nan_);
    lo_ = hi_ = nullptr;
    nan_ = nullptr;
  }

  void set(int p, double key) {
    int v = size_ + p;
    leaf(v, key, true);
    for (v /= 2; v >= 1; v /= 2) pull(v);
  }

  // First position in from..to whose key isn't greater than pivot (not NaN); to + 1 if none.
  int firstNotAbove(int from, int to, double pivot) const {
    int p = descendFirst(1, 0, size_ - 1, from, to, pivot);
    return p < 0 ? to + 1 : p;
  }

  // Last position in from..to whose key isn't less than pivot (not NaN); from - 1 if none.
  int lastNotBelow(int from, int to, double pivot) const {
    int p = descendLast(1, 0, size_ - 1, from, to, pivot);
    return p < 0 ? from - 1 : p;
  }

 private:
  // A NaN key is kept out of the minimum and maximum and flagged instead: it compares false
  // both ways, so it stops both scans. Positions past n (the tree's width is a power of two)
  // lie outside every range asked about; they hold the neutral values.
  void leaf(int v, double key, bool used) {
    bool isNan = used && std::isnan(key);
    nan_[v] = isNan ? 1 : 0;
    lo_[v] = (!used || isNan) ? INFINITY : key;
    hi_[v] = (!used || isNan) ? -INFINITY : key;
  }

  void pull(int v) {
    lo_[v] = std::fmin(lo_[2 * v], lo_[2 * v + 1]);
    hi_[v] = std::fmax(hi_[2 * v], hi_[2 * v + 1]);
    nan_[v] = nan_[2 * v] | nan_[2 * v + 1];
  }

  int descendFirst(int v, int l, int r, int from, int to, double pivot) const {
    if (r < from || l > to) return -1;
    if (!(nan_[v] || lo_[v] <= pivot)) return -1;
    if (l == r) return l;
    int mid = (l + r) / 2;
    int p = descendFirst(2 * v, l, mid, from, to, pivot);
    return p >= 0 ? p : descendFirst(2 * v + 1, mid + 1, r, from, to, pivot);
  }

  int descendLast(int v, int l, int r, int from, int to, double pivot) const {
    if (r < from || l > to) return -1;
    if (!(nan_[v] || hi_[v] >= pivot)) return -1;
    if (l == r) return l;
    int mid = (l + r) / 2;
    int p = descendLast(2 * v + 1, mid + 1, r, from, to, pivot);
    return p >= 0 ? p : descendLast(2 * v, l, mid, from, to, pivot);
  }

  int size_ = 1;
  void (*free_)(void*) = free;
  double* lo_ = nullptr;
  double* hi_ = nullptr;
  unsigned char* nan_ = nullptr;
};

// A partition whose smaller side holds less than 1/kLopsided of the range is lopsided; after
// kLopsidedRun of them in a row the range gets a tree. A shuffled range sees one with a chance
// of 1/8, three in a row with 1/512.
constexpr int kLopsided = 16;
constexpr int kLopsidedRun = 3;
// Ranges smaller than this are always walked key by key: a tree doesn't pay for itself there.
constexpr int kTreeMinRange = 256;

}  // namespace

void StarList::sortStarObjs(NODE_StarObject** array, int n) {
  size_t slots = n > 0 ? (size_t)n : 1;
  int* index = (int*)allocFunc(sizeof(int) * slots);
  if (!index) {
    fprintf(stderr, "Error allocating memory to outObj (sortStarObj)\n");
    exit(1);
  }
  for (int i = 0; i < n; i++) index[i] = i;
  quickSortByIndex(&index, *array, 0, n - 1);
  // The index is descending by distance: read in reverse, slot i takes record index[n - 1 - i].
  // The records are moved in place along the cycles of that permutation, so each moves once and
  // the file's array is the only one; a slot that has its record is marked with -1.
  NODE_StarObject* a = *array;
  auto source = [&](int i) { return index[n - 1 - i]; };
  auto markDone = [&](int i) { index[n - 1 - i] = -1; };
  for (int start = 0; start < n; start++) {
    if (source(start) < 0) continue;
    if (source(start) == start) {
      markDone(start);
      continue;
    }
    NODE_StarObject held = a[start];
    int to = start;
    for (;;) {
      int from = source(to);
      markDone(to);
      if (from == start) {
        a[to] = held;
        break;
      }
      a[to] = a[from];
      to = from;
    }
  }
  freeFunc(index);
}

void StarList::quickSortByIndex(int** index, NODE_StarObject* st, int left, int right) {
  if (left >= right) return;
  int* idx = *index;
  auto key = [&](int i) { return st[idx[i]].pos.s; };

  // At most one tree at a time, over the range [treeLo, treeHi]; `fast` while it is held.
  KeyTree tree;
  bool fast = false;
  int treeLo = 0, treeHi = -1;
  auto dropTree = [&]() {
    if (fast) tree.release();
    fast = false;
    treeHi = treeLo - 1;
  };

  auto swapAt = [&](int a, int b) {
    std::swap(idx[a], idx[b]);
    if (fast) {
      tree.set(a - treeLo, key(a));
      tree.set(b - treeLo, key(b));
    }
  };
  // i runs up from `from` while it is not past `to` and key(i) is strictly greater than the
  // pivot. A NaN pivot stops it at once: nothing is greater than a NaN.
  auto scanUp = [&](int from, int to, double pivot) {
    if (from > to || std::isnan(pivot)) return from;
    if (fast) return treeLo + tree.firstNotAbove(from - treeLo, to - treeLo, pivot);
    int i = from;
    while (i <= to && key(i) > pivot) i++;
    return i;
  };
  // j runs down from `from` while it is not below `to` and key(j) is strictly less than it.
  auto scanDown = [&](int from, int to, double pivot) {
    if (from < to || std::isnan(pivot)) return from;
    if (fast) return treeLo + tree.lastNotBelow(to - treeLo, from - treeLo, pivot);
    int j = from;
    while (j >= to && key(j) < pivot) j--;
    return j;
  };

  // The ranges of a partition are independent, so the order in which they are taken changes
  // nothing. They wait on a stack, the smaller one on top, which keeps the stack within
  // log2 n ranges whatever the input; a depth of 64 is more than an int's range can need.
  // `lopsided` counts the lopsided partitions in a row that a range came out of, the larger
  // side each time: the sign of ordered input, rare by chance on shuffled input.
  struct Range {
    int lo, hi;
    int lopsided;
  };
  constexpr int kMaxPending = 64;
  Range ranges[kMaxPending];
  int pending = 0;
  ranges[pending++] = {left, right, 0};
  while (pending > 0) {
    Range r = ranges[--pending];
    if (r.lo >= r.hi) continue;
    // Every range inside the tree's was stacked above anything outside it: the first range
    // outside means the tree's range is done.
    bool inTree = r.lo >= treeLo && r.hi <= treeHi;
    if (!inTree) dropTree();
    if (!inTree && r.lopsided >= kLopsidedRun && r.hi - r.lo + 1 >= kTreeMinRange) {
      // Without memory for it the scans walk key by key: slower, the same result.
      fast = tree.build(
          r.hi - r.lo + 1, [&](int p) { return key(r.lo + p); }, allocFunc, freeFunc);
      if (fast) {
        treeLo = r.lo;
        treeHi = r.hi;
      }
    }
    int lo = r.lo, hi = r.hi;
    if (key(hi) > key(lo)) swapAt(lo, hi);
    double pivot = key(lo);
    int i = lo, j = hi + 1;
    for (;;) {
      i = scanUp(i + 1, hi, pivot);
      j = scanDown(j - 1, lo, pivot);
      if (i >= j) break;
      swapAt(i, j);
    }
    swapAt(lo, j);
    Range below{lo, j - 1, 0}, above{j + 1, hi, 0};
    if (j - lo < hi - j) std::swap(below, above);  // the smaller range goes on top
    // `below` is now the larger side; a lopsided partition adds to its count, a fair one
    // clears it.
    int smaller = above.hi - above.lo + 1;
    below.lopsided = smaller < (hi - lo + 1) / kLopsided ? r.lopsided + 1 : 0;
    ranges[pending++] = below;
    ranges[pending++] = above;
  }
  dropTree();
}
