// Minimum spanning tree of a point set (Prim's algorithm for dense graphs, distances computed when
// needed) and the reading and writing of its text file.
#include "stars/mst.h"

#include <cerrno>
#include <cfloat>
#include <climits>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "fileio/common.h"

namespace {

void* (*mstMalloc)(size_t) = malloc;
void (*mstFree)(void*) = free;

// A tree needs two points at least: with fewer there is no edge to store.
constexpr int kMinPoints = 2;
// Each edge is two vertex indices.
constexpr int kIntsPerEdge = 2;
// The first line of a tree file is read into a buffer of this size.
constexpr int kHeaderSize = 1024;
// The word that opens a tree file; readers don't test it.
constexpr const char* kFileWord = "MST-FILE";
// The shortest edge a file can hold is a digit, a blank, a digit and a line end: "0 1\n". The last
// edge may go without its line end.
constexpr long long kMinBytesPerEdge = 4;
// An integer token longer than this is no vertex index of any tree.
constexpr int kMaxTokenChars = 32;

// The two distance laws as types, so that the loop of Prim's algorithm is compiled once for each
// and the choice is made once per tree, not per distance.
struct DistanceN {
  int dim;
  double operator()(double* points, int a, int b) const {
    return distanceFunc(points + (size_t)a * dim, points + (size_t)b * dim, dim);
  }
};
struct Distance3 {
  double operator()(double* points, int a, int b) const {
    return distanceFunc3(points + (size_t)a * 3, points + (size_t)b * 3);
  }
};

// The first vertex still outside the tree, or -1.
int firstOutside(const unsigned char* outside, int n) {
  for (int i = 1; i < n; i++)
    if (outside[i]) return i;
  return -1;
}

// Prim's algorithm on the work arrays, which the caller has allocated; fills edges.
template <class Distance>
void primTree(double* points, int n, Distance dist, int* edges, double* best, int* nearest, unsigned char* outside) {
  for (int i = 0; i < n; i++) {
    best[i] = dist(points, 0, i);
    nearest[i] = 0;
    outside[i] = 1;
  }
  outside[0] = 0;

  // The first vertex to join is the nearest one not at vertex 0's own place, so that the first
  // edge has a length.
  int v = 0;
  double first = DBL_MAX;
  for (int i = 1; i < n; i++) {
    if (best[i] > 0.0 && best[i] < first) {
      first = best[i];
      v = i;
    }
  }
  // When every point stands where vertex 0 does (or no distance can be told), vertex 0 would be
  // "added" again, giving the loop (0, 0) and leaving a vertex out; vertex 1 joins instead.
  if (v == 0) v = 1;

  for (int k = 0; k < n - 2; k++) {
    edges[kIntsPerEdge * k] = v;
    edges[kIntsPerEdge * k + 1] = nearest[v];
    outside[v] = 0;
    double min = DBL_MAX;
    int next = -1;
    for (int i = 1; i < n; i++) {
      if (!outside[i]) continue;
      const double d = dist(points, v, i);
      if (d < best[i]) {
        best[i] = d;
        nearest[i] = v;
      }
      // Strictly below: of equal distances the lowest index wins.
      if (best[i] < min) {
        min = best[i];
        next = i;
      }
    }
    // Distances that overflow to infinity or come out NaN win no comparison; the tree must still
    // grow by one vertex each round.
    v = next >= 0 ? next : firstOutside(outside, n);
  }
  edges[kIntsPerEdge * (n - 2)] = v;
  edges[kIntsPerEdge * (n - 2) + 1] = nearest[v];
  outside[v] = 0;
}

// Reads the next white-space-separated token of fp as an integer. Returns 1 with the value in
// *value and the token as written in text (kMaxTokenChars + 1 bytes); 0 at the end of the file or
// when the token is no integer (or longer than any index). A value beyond long long comes back as
// LLONG_MAX or LLONG_MIN, with text keeping its digits.
int readInteger(FILE* fp, long long* value, char* text) {
  int c;
  do {
    c = getc(fp);
  } while (c != EOF && (c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f'));
  if (c == EOF) return 0;
  int len = 0;
  while (c != EOF && !(c == ' ' || c == '\t' || c == '\n' || c == '\r' || c == '\v' || c == '\f')) {
    if (len >= kMaxTokenChars) return 0;
    text[len++] = (char)c;
    c = getc(fp);
  }
  text[len] = '\0';
  char* end = nullptr;
  errno = 0;
  *value = strtoll(text, &end, 10);
  return end != text && *end == '\0' ? 1 : 0;
}

// The number of whole edges the rest of fp could hold at most, or -1 when its size can't be told
// (a pipe). The position is kept.
long long edgeCapacity(FILE* fp) {
  const off_t here = ftello(fp);
  if (here < 0 || fseeko(fp, 0, SEEK_END) != 0) return -1;
  const off_t end = ftello(fp);
  if (fseeko(fp, here, SEEK_SET) != 0 || end < here) return -1;
  return ((long long)(end - here) + 1) / kMinBytesPerEdge;
}

// The header: "MST-FILE <n> points". Returns the number of points, or -1 after its message.
// The word and the last token are not tested, as the files of any writer may differ there.
int readHeader(FILE* fp, const char* path) {
  char line[kHeaderSize];
  if (!fgets(line, sizeof line, fp)) {
    fprintf(stderr, "Err (load_MST): no number of points on the first line of [%s].\n", path);
    return -1;
  }
  // A first line longer than the buffer: the rest of it is no edge.
  if (!strchr(line, '\n')) {
    int c;
    while ((c = getc(fp)) != EOF && c != '\n') {
    }
  }
  char word[kHeaderSize], count[kHeaderSize];
  if (sscanf(line, "%1023s %1023s", word, count) != 2) {
    fprintf(stderr, "Err (load_MST): no number of points on the first line of [%s].\n", path);
    return -1;
  }
  char* end = nullptr;
  errno = 0;
  const long long n = strtoll(count, &end, 10);
  if (end == count || (*end != '\0')) {
    fprintf(stderr, "Err (load_MST): no number of points on the first line of [%s].\n", path);
    return -1;
  }
  // A count that is no int, or that makes no tree.
  if (errno == ERANGE || n < kMinPoints || n > INT_MAX) {
    fprintf(stderr, "Err (load_MST): number of points [%s] in [%s] out of range [%d,%d]\n", count, path, kMinPoints,
            INT_MAX);
    return -1;
  }
  return (int)n;
}

}  // namespace

void setAllocFunc_MST(void* (*allocFunc)(size_t), void (*freeFunc)(void*)) {
  mstMalloc = allocFunc;
  mstFree = freeFunc;
}

double distanceFunc(double* a, double* b, int dim) {
  double sum = 0.0;
  for (int i = 0; i < dim; i++) {
    const double d = a[i] - b[i];
    sum += d * d;
  }
  return sum;
}

double distanceFunc3(double* a, double* b) {
  const double dx = a[0] - b[0];
  const double dy = a[1] - b[1];
  const double dz = a[2] - b[2];
  return dx * dx + dy * dy + dz * dz;
}

int* find_MST(double* points, int n, int dim) {
  // The tree of fewer than two points has no edge; the bare algorithm would write its "last edge"
  // into an array of no size.
  if (!points || n < kMinPoints || dim < 1) return nullptr;
  const size_t count = (size_t)n;
  int* edges = (int*)mstMalloc((count - 1) * kIntsPerEdge * sizeof(int));
  double* best = edges ? (double*)mstMalloc(count * sizeof(double)) : nullptr;
  int* nearest = best ? (int*)mstMalloc(count * sizeof(int)) : nullptr;
  unsigned char* outside = nearest ? (unsigned char*)mstMalloc(count) : nullptr;
  if (!outside) {
    if (nearest) mstFree(nearest);
    if (best) mstFree(best);
    if (edges) mstFree(edges);
    return nullptr;
  }

  if (dim == 3)
    primTree(points, n, Distance3{}, edges, best, nearest, outside);
  else
    primTree(points, n, DistanceN{dim}, edges, best, nearest, outside);

  mstFree(outside);
  mstFree(nearest);
  mstFree(best);
  return edges;
}

int save_MST(const char* path, int* edges, int n) {
  if (!path) path = "";
  if (!edges || n < kMinPoints) {
    fprintf(stderr, "Err (save_MST): no tree of [%d] points to write to [%s]\n", n, path);
    return -1;
  }
  FILE* fp = fopen(path, "w");
  if (!fp) {
    fprintf(stderr, "Err (save_MST): opening file [%s]\n", path);
    return -1;
  }
  bool ok = fprintf(fp, "%s %d points\n", kFileWord, n) > 0;
  for (int k = 0; ok && k < n - 1; k++)
    ok = fprintf(fp, "%d %d\n", edges[kIntsPerEdge * k], edges[kIntsPerEdge * k + 1]) > 0;
  ok = !ferror(fp) && ok;
  // A full disk often shows only when the buffer goes out.
  if (fclose(fp) != 0) ok = false;
  if (!ok) {
    fprintf(stderr, "Err (save_MST): writing file [%s]\n", path);
    return -1;
  }
  return 1;
}

int* load_MST(const char* path, int* n) {
  if (!path) path = "";
  FILE* fp = fopen(path, "r");
  if (!fp) {
    fprintf(stderr, "Err (load_MST): opening file [%s].\n", path);
    return nullptr;
  }
  const int points = readHeader(fp, path);
  if (points < 0) {
    fclose(fp);
    return nullptr;
  }
  const int expected = points - 1;

  // A count the file can't hold would ask for up to 16 GB the reader could never fill. Such a
  // file is read into one scratch edge instead; it ends early and is reported just the same.
  const long long capacity = edgeCapacity(fp);
  int* edges = nullptr;
  int scratch[kIntsPerEdge];
  if (capacity < 0 || expected <= capacity) {
    edges = (int*)mstMalloc((size_t)expected * kIntsPerEdge * sizeof(int));
    if (!edges) {
      fprintf(stderr, "Err (load_MST): allocating memory to edges.\n");
      fclose(fp);
      return nullptr;
    }
  }

  for (int k = 0; k < expected; k++) {
    long long a, b;
    char textA[kMaxTokenChars + 1], textB[kMaxTokenChars + 1];
    if (!readInteger(fp, &a, textA) || !readInteger(fp, &b, textB)) {
      fprintf(stderr, "Err (load_MST): not enough edges in [%s] (%d/%d edges read).\n", path, k, expected);
      if (edges) mstFree(edges);
      fclose(fp);
      return nullptr;
    }
    const long long v[kIntsPerEdge] = {a, b};
    const char* text[kIntsPerEdge] = {textA, textB};
    int* slot = edges ? edges + (size_t)kIntsPerEdge * k : scratch;
    for (int e = 0; e < kIntsPerEdge; e++) {
      if (v[e] < 0 || v[e] > expected) {
        // The value as a number where it is one, the digits as written where it overflows.
        char shown[kMaxTokenChars + 1];
        if (v[e] == LLONG_MAX || v[e] == LLONG_MIN)
          copyText(shown, text[e], sizeof shown);
        else
          snprintf(shown, sizeof shown, "%lld", v[e]);
        fprintf(stderr, "Err (load_MST): there is a vertex [%s] in [%s], which out of range [0,%d]\n", shown, path,
                expected);
        if (edges) mstFree(edges);
        fclose(fp);
        return nullptr;
      }
      slot[e] = (int)v[e];
    }
  }
  fclose(fp);
  if (!edges) {
    // A file too short for its count runs out of edges above, unless it grew while it was read.
    fprintf(stderr, "Err (load_MST): [%s] changed while it was read.\n", path);
    return nullptr;
  }
  if (n) *n = points;
  return edges;
}
