// The minimum spanning tree: find_MST against a plain O(n^2) Prim's algorithm on random point sets
// and on the real star sets, the shape of its trees (n - 1 distinct edges, each a new vertex and
// its neighbour, two points give (1, 0), points at one place), the tree file written and read
// back, damaged files of every kind, every message, the allocation failures, and the StarList
// operations that build, save and load the tree.
#include <gtest/gtest.h>

#include <algorithm>
#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <numeric>
#include <random>
#include <set>
#include <string>
#include <utility>
#include <vector>

#include "coords/phcoord.h"
#include "stars/mst.h"
#include "stars/star.h"
#include "tests/stars/star_fixtures.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

using testsupport::stderrOf;
using testsupport::TempDir;
using testsupport::writeFile;

namespace {

using Edge = std::pair<int, int>;

double dist(const std::vector<double>& pts, int dim, int a, int b) {
  double s = 0;
  for (int k = 0; k < dim; k++) {
    const double d = pts[(size_t)a * dim + k] - pts[(size_t)b * dim + k];
    s += d * d;
  }
  return std::sqrt(s);
}

// Prim's algorithm as in any textbook, with true distances: the reference tree and its length.
double referenceTreeLength(const std::vector<double>& pts, int n, int dim, std::set<Edge>* edges = nullptr) {
  std::vector<double> best(n, INFINITY);
  std::vector<int> from(n, -1);
  std::vector<bool> in(n, false);
  best[0] = 0;
  double total = 0;
  for (int round = 0; round < n; round++) {
    int v = -1;
    for (int i = 0; i < n; i++)
      if (!in[i] && (v < 0 || best[i] < best[v])) v = i;
    in[v] = true;
    if (from[v] >= 0) {
      total += best[v];
      if (edges) edges->insert({std::min(v, from[v]), std::max(v, from[v])});
    }
    for (int i = 0; i < n; i++) {
      if (in[i]) continue;
      const double d = dist(pts, dim, v, i);
      if (d < best[i]) {
        best[i] = d;
        from[i] = v;
      }
    }
  }
  return total;
}

// Checks that edges is a spanning tree of n points as find_MST makes it: n - 1 edges, each
// (a vertex new to the tree, a vertex already in it), so that every vertex but 0 comes first
// exactly once and no edge repeats. Returns the length.
double checkTree(const int* edges, int n, const std::vector<double>& pts, int dim) {
  std::vector<bool> in(n, false);
  in[0] = true;
  std::set<Edge> seen;
  double total = 0;
  for (int k = 0; k < n - 1; k++) {
    const int a = edges[2 * k], b = edges[2 * k + 1];
    EXPECT_GE(a, 1) << "edge " << k;
    EXPECT_LT(a, n) << "edge " << k;
    EXPECT_GE(b, 0) << "edge " << k;
    EXPECT_LT(b, n) << "edge " << k;
    if (a < 0 || a >= n || b < 0 || b >= n) return NAN;
    EXPECT_FALSE(in[a]) << "vertex " << a << " joins twice, edge " << k;
    EXPECT_TRUE(in[b]) << "edge " << k << " hangs on vertex " << b << ", not yet in the tree";
    EXPECT_TRUE(seen.insert({std::min(a, b), std::max(a, b)}).second) << "edge " << k << " repeats";
    in[a] = true;
    total += dist(pts, dim, a, b);
  }
  for (int i = 0; i < n; i++) EXPECT_TRUE(in[i]) << "vertex " << i << " left out";
  return total;
}

std::vector<double> randomPoints(unsigned seed, int n, int dim, double spread) {
  std::mt19937 rng(seed);
  std::uniform_real_distribution<double> u(-spread, spread);
  std::vector<double> pts((size_t)n * dim);
  for (double& v : pts) v = u(rng);
  return pts;
}

std::vector<Edge> edgeList(const int* edges, int n) {
  std::vector<Edge> out;
  for (int k = 0; k < n - 1; k++) out.push_back({edges[2 * k], edges[2 * k + 1]});
  return out;
}

// The MST module's allocator back at the standard pair, whatever a test did to it.
class Mst : public testing::Test {
 protected:
  void TearDown() override {
    testsupport::failAllocAfter(-1);
    setAllocFunc_MST(malloc, free);
  }
  TempDir dir;
};

}  // namespace

// --- distances ----------------------------------------------------------------------------------

TEST_F(Mst, DistancesAreSquaredAndTheThreeDimensionalCaseAgrees) {
  double a[5] = {1, 2, 3, 4, 5}, b[5] = {4, 6, 3, -1, 5};
  EXPECT_EQ(distanceFunc(a, b, 1), 9.0);
  EXPECT_EQ(distanceFunc(a, b, 2), 25.0);
  EXPECT_EQ(distanceFunc(a, b, 3), 25.0);
  EXPECT_EQ(distanceFunc(a, b, 5), 50.0);
  EXPECT_EQ(distanceFunc3(a, b), 25.0);
  EXPECT_EQ(distanceFunc(a, a, 5), 0.0);
  const auto pts = randomPoints(7, 200, 3, 1e3);
  for (int i = 0; i + 1 < 200; i++) {
    double* p = const_cast<double*>(&pts[3 * i]);
    EXPECT_EQ(distanceFunc3(p, p + 3), distanceFunc(p, p + 3, 3));
  }
}

// --- tree shape ---------------------------------------------------------------------------------

TEST_F(Mst, TwoPointsGiveTheSingleEdgeOneZero) {
  struct Case {
    int dim;
    std::vector<double> pts;
  } cases[] = {
      {3, {0, 0, 0, 1, 2, 3}},
      {3, {5, 5, 5, 5, 5, 5}},  // at one place
      {1, {4, -4}},
      {2, {1, 1, 1, 1}},
      {4, {1, 2, 3, 4, 0, 0, 0, 0}},
  };
  for (auto& c : cases) {
    int* e = find_MST(c.pts.data(), 2, c.dim);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(e[0], 1) << "dim " << c.dim;
    EXPECT_EQ(e[1], 0) << "dim " << c.dim;
    free(e);
  }
}

TEST_F(Mst, FewerThanTwoPointsOrNoPointsOrNoDimensionGiveNoTree) {
  double p[6] = {0, 0, 0, 1, 1, 1};
  EXPECT_EQ(find_MST(p, 1, 3), nullptr);
  EXPECT_EQ(find_MST(p, 0, 3), nullptr);
  EXPECT_EQ(find_MST(p, -4, 3), nullptr);
  EXPECT_EQ(find_MST(nullptr, 2, 3), nullptr);
  EXPECT_EQ(find_MST(p, 2, 0), nullptr);
  EXPECT_EQ(stderrOf([&] { find_MST(p, 1, 3); }), "");
}

TEST_F(Mst, RandomSetsGiveTheReferenceTree) {
  // Sizes, dimensions and seeds; with random coordinates all distances differ, so the tree is
  // unique and must be the reference's edge for edge.
  const int sizes[] = {2, 3, 4, 5, 10, 57, 200, 701};
  const int dims[] = {1, 2, 3, 5};
  unsigned seed = 1;
  for (int n : sizes) {
    for (int dim : dims) {
      SCOPED_TRACE("n " + std::to_string(n) + " dim " + std::to_string(dim));
      auto pts = randomPoints(seed++, n, dim, 100.0);
      int* e = find_MST(pts.data(), n, dim);
      ASSERT_NE(e, nullptr);
      const double got = checkTree(e, n, pts, dim);
      std::set<Edge> want;
      const double ref = referenceTreeLength(pts, n, dim, &want);
      EXPECT_NEAR(got, ref, 1e-9 * (1 + ref));
      std::set<Edge> have;
      for (auto [a, b] : edgeList(e, n)) have.insert({std::min(a, b), std::max(a, b)});
      EXPECT_EQ(have, want);
      free(e);
    }
  }
}

TEST_F(Mst, PointsOnAGridWithManyTiesGiveATreeOfTheReferenceLength) {
  // A 6 x 6 x 6 grid: every edge of a tree can be 1 long, and ties are everywhere.
  std::vector<double> pts;
  for (int x = 0; x < 6; x++)
    for (int y = 0; y < 6; y++)
      for (int z = 0; z < 6; z++) pts.insert(pts.end(), {(double)x, (double)y, (double)z});
  const int n = 216;
  int* e = find_MST(pts.data(), n, 3);
  ASSERT_NE(e, nullptr);
  EXPECT_DOUBLE_EQ(checkTree(e, n, pts, 3), 215.0);
  EXPECT_DOUBLE_EQ(referenceTreeLength(pts, n, 3), 215.0);
  free(e);
}

TEST_F(Mst, EqualDistancesKeepTheLowestIndex) {
  // Vertices 1 and 2 lie at the same distance from 0 on either side; 3 and 4 the same from 1.
  std::vector<double> pts = {0, 0, 0, 1, 0, 0, -1, 0, 0, 1, 5, 0, 1, -5, 0};
  int* e = find_MST(pts.data(), 5, 3);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(edgeList(e, 5), (std::vector<Edge>{{1, 0}, {2, 0}, {3, 1}, {4, 1}}));
  free(e);
}

TEST_F(Mst, PointsAtOnePlaceAreJoinedByEdgesOfNoLengthButNotFirst) {
  struct Case {
    const char* what;
    std::vector<double> pts;
    std::vector<Edge> want;
  } cases[] = {
      // Vertex 2 stands where vertex 0 does: the first edge goes to the nearest point that has a
      // distance (1), and 2 joins 0 after it, by an edge of no length.
      {"twin of vertex 0", {0, 0, 0, 5, 0, 0, 0, 0, 0}, {{1, 0}, {2, 0}}},
      {"twin of vertex 0 listed first", {0, 0, 0, 0, 0, 0, 3, 0, 0, 7, 0, 0}, {{2, 0}, {1, 0}, {3, 2}}},
      // Vertices 1 and 3 stand together away from 0.
      {"twins elsewhere", {0, 0, 0, 2, 0, 0, 9, 0, 0, 2, 0, 0}, {{1, 0}, {3, 1}, {2, 1}}},
      // Every point where vertex 0 is: still a tree, every edge of no length, in index order.
      {"all at one place", {4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4, 4}, {{1, 0}, {2, 0}, {3, 0}}},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.what);
    const int n = (int)c.pts.size() / 3;
    int* e = find_MST(c.pts.data(), n, 3);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(edgeList(e, n), c.want);
    checkTree(e, n, c.pts, 3);
    free(e);
  }
}

TEST_F(Mst, DistancesBeyondTheDoubleRangeStillGiveATree) {
  // Squares of 1e200 overflow to infinity and NaN compares false: no distance is ever "best", yet
  // each round must add a vertex.
  std::vector<double> big = {0, 0, 0, 1e200, 0, 0, -1e200, 0, 0, 0, 1e200, 0};
  std::vector<double> nan = {0, 0, 0, NAN, 0, 0, 1, 0, 0, 2, NAN, 0};
  for (auto* pts : {&big, &nan}) {
    int* e = find_MST(pts->data(), 4, 3);
    ASSERT_NE(e, nullptr);
    std::vector<bool> in(4, false);
    in[0] = true;
    for (int k = 0; k < 3; k++) {
      EXPECT_FALSE(in[e[2 * k]]);
      EXPECT_TRUE(in[e[2 * k + 1]]);
      in[e[2 * k]] = true;
    }
    free(e);
  }
}

TEST_F(Mst, EveryAllocationFailureGivesNullAndLeaksNothing) {
  // Result, best distances, nearest vertices, outside flags: four allocations, each may fail.
  auto pts = randomPoints(3, 50, 3, 10);
  setAllocFunc_MST(testsupport::failingAlloc, free);
  for (int ok = 0; ok < 4; ok++) {
    testsupport::FailAllocScope scope(ok);
    std::string err = stderrOf([&] { EXPECT_EQ(find_MST(pts.data(), 50, 3), nullptr) << ok; });
    EXPECT_EQ(err, "");
    EXPECT_EQ(testsupport::failingAllocCalls(), ok + 1) << "no allocation after the first failure";
  }
  testsupport::FailAllocScope scope(4);
  int* e = find_MST(pts.data(), 50, 3);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(testsupport::failingAllocCalls(), 4);
  free(e);
}

// --- the real catalogue ------------------------------------------------------------------------

TEST_F(Mst, RealStarSetsGiveTreesOfTheReferenceLength) {
  VELMORA_REQUIRE_SKY_DATA();
  for (int set = 1; set <= 6; set++) {
    SCOPED_TRACE("hip." + std::to_string(set));
    StarList list;
    ASSERT_EQ(startest::readOne(list, testsupport::starSetPath(set)), 1);
    const int n = list.numStars;
    ASSERT_GT(n, 600);
    std::vector<double> pts((size_t)n * 3);
    for (int i = 0; i < n; i++) phCoordToPos3D(list.stars[i].pos, 15.0, &pts[3 * (size_t)i]);
    ASSERT_EQ(stderrOf([&] { EXPECT_EQ(list.buildMST(nullptr), 1); }), "");
    ASSERT_NE(list.mstEdges, nullptr);
    const double got = checkTree(list.mstEdges, n, pts, 3);
    const double ref = referenceTreeLength(pts, n, 3);
    EXPECT_NEAR(got, ref, 1e-9 * ref);
    // The stand-alone finder on the same points gives the very same tree.
    int* e = find_MST(pts.data(), n, 3);
    ASSERT_NE(e, nullptr);
    EXPECT_EQ(edgeList(e, n), edgeList(list.mstEdges, n));
    free(e);
  }
}

TEST_F(Mst, TheSunJoinsTheTreeOfItsStarSet) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  ASSERT_EQ(startest::readOne(list, testsupport::starSetPath(1), 1), 1);
  ASSERT_STREQ(list.stars[0].commonName, "Sun");
  ASSERT_EQ(list.buildMST(nullptr), 1);
  const int n = list.numStars;
  std::vector<double> pts((size_t)n * 3);
  for (int i = 0; i < n; i++) phCoordToPos3D(list.stars[i].pos, 15.0, &pts[3 * (size_t)i]);
  const double ref = referenceTreeLength(pts, n, 3);
  EXPECT_NEAR(checkTree(list.mstEdges, n, pts, 3), ref, 1e-9 * ref);
}

// --- the file -----------------------------------------------------------------------------------

TEST_F(Mst, TheTreeIsWrittenAndReadBack) {
  std::vector<double> pts = {0, 0, 0, 1, 0, 0, 3, 0, 0, 1, 2, 0};
  int* e = find_MST(pts.data(), 4, 3);
  ASSERT_NE(e, nullptr);
  const std::string path = dir.file("tree.mst");
  ASSERT_EQ(stderrOf([&] { EXPECT_EQ(save_MST(path.c_str(), e, 4), 1); }), "");
  EXPECT_EQ(testsupport::readFile(path), "MST-FILE 4 points\n1 0\n2 1\n3 1\n");
  int n = 0;
  int* back = load_MST(path.c_str(), &n);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(n, 4);
  EXPECT_EQ(edgeList(back, 4), edgeList(e, 4));
  free(back);
  free(e);

  // A big random tree too.
  auto many = randomPoints(11, 3000, 3, 1e4);
  e = find_MST(many.data(), 3000, 3);
  ASSERT_EQ(save_MST(path.c_str(), e, 3000), 1);
  back = load_MST(path.c_str(), &n);
  ASSERT_NE(back, nullptr);
  EXPECT_EQ(n, 3000);
  EXPECT_EQ(edgeList(back, 3000), edgeList(e, 3000));
  free(back);
  free(e);
}

TEST_F(Mst, TheWordIsNotTestedAndAnyWhiteSpaceSeparates) {
  const std::string path = dir.file("t");
  writeFile(path, "TREE 3 stars\n1 0   2\n\n\n 0\n");
  int n = 0;
  int* e = load_MST(path.c_str(), &n);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(n, 3);
  EXPECT_EQ(edgeList(e, 3), (std::vector<Edge>{{1, 0}, {2, 0}}));
  free(e);
}

TEST_F(Mst, ExactlyTheEdgesLoadAndOneTooFewIsCounted) {
  const std::string path = dir.file("t");
  writeFile(path, "MST-FILE 5 points\n1 0\n2 1\n3 0\n4 3\n");
  int n = 0;
  int* e = load_MST(path.c_str(), &n);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(n, 5);
  free(e);
  writeFile(path, "MST-FILE 5 points\n1 0\n2 1\n3 0\n");
  n = -7;
  std::string err = stderrOf([&] { EXPECT_EQ(load_MST(path.c_str(), &n), nullptr); });
  EXPECT_EQ(err, "Err (load_MST): not enough edges in [" + path + "] (3/4 edges read).\n");
  EXPECT_EQ(n, -7) << "the count is written only with a tree";
}

TEST_F(Mst, DamagedFilesGiveOneClearMessage) {
  const std::string p = dir.file("bad.mst");
  const std::string in = " in [" + p + "]";
  struct Case {
    const char* what;
    std::string bytes;
    std::string message;
  } cases[] = {
      {"empty", "", "Err (load_MST): no number of points on the first line of [" + p + "].\n"},
      {"no count", "MST-FILE\n1 0\n", "Err (load_MST): no number of points on the first line of [" + p + "].\n"},
      {"count not a number", "MST-FILE x points\n", "Err (load_MST): no number of points on the first line of [" + p + "].\n"},
      {"count with junk", "MST-FILE 3x points\n", "Err (load_MST): no number of points on the first line of [" + p + "].\n"},
      {"one point", "MST-FILE 1 points\n", "Err (load_MST): number of points [1]" + in + " out of range [2,2147483647]\n"},
      {"no points", "MST-FILE 0 points\n", "Err (load_MST): number of points [0]" + in + " out of range [2,2147483647]\n"},
      {"negative count", "MST-FILE -5 points\n1 0\n", "Err (load_MST): number of points [-5]" + in + " out of range [2,2147483647]\n"},
      {"count beyond int", "MST-FILE 2147483648 points\n", "Err (load_MST): number of points [2147483648]" + in + " out of range [2,2147483647]\n"},
      {"huge count", "MST-FILE 99999999999999999999999 points\n",
       "Err (load_MST): number of points [99999999999999999999999]" + in + " out of range [2,2147483647]\n"},
      {"truncated in an edge", "MST-FILE 4 points\n1 0\n2 0\n3", "Err (load_MST): not enough edges" + in + " (2/3 edges read).\n"},
      {"truncated in the header", "MST-FILE 4 poi", "Err (load_MST): not enough edges" + in + " (0/3 edges read).\n"},
      {"first vertex too big", "MST-FILE 4 points\n1 0\n4 0\n3 0\n",
       "Err (load_MST): there is a vertex [4]" + in + ", which out of range [0,3]\n"},
      {"second vertex negative", "MST-FILE 4 points\n1 -1\n",
       "Err (load_MST): there is a vertex [-1]" + in + ", which out of range [0,3]\n"},
      {"first vertex tested first", "MST-FILE 4 points\n1 0\n7 -1\n",
       "Err (load_MST): there is a vertex [7]" + in + ", which out of range [0,3]\n"},
      {"vertex beyond int", "MST-FILE 4 points\n1 4294967297\n",
       "Err (load_MST): there is a vertex [4294967297]" + in + ", which out of range [0,3]\n"},
      {"vertex beyond long long", "MST-FILE 4 points\n1 0\n99999999999999999999999 0\n",
       "Err (load_MST): there is a vertex [99999999999999999999999]" + in + ", which out of range [0,3]\n"},
      {"vertex not a number", "MST-FILE 4 points\n1 0\n2 zero\n", "Err (load_MST): not enough edges" + in + " (1/3 edges read).\n"},
      {"vertex with junk", "MST-FILE 4 points\n1 0\n2 0x1\n", "Err (load_MST): not enough edges" + in + " (1/3 edges read).\n"},
      {"binary after the header", std::string("MST-FILE 4 points\n\x01\x02\0\xff\xfe", 23),
       "Err (load_MST): not enough edges" + in + " (0/3 edges read).\n"},
      {"binary header", std::string("\x7f" "ELF\x02\x01\x01\0\0\0\0", 11),
       "Err (load_MST): no number of points on the first line of [" + p + "].\n"},
      {"count the file can't hold", "MST-FILE 2000000000 points\n1 0\n2 1\n",
       "Err (load_MST): not enough edges" + in + " (2/1999999999 edges read).\n"},
      {"largest count", "MST-FILE 2147483647 points\n1 0\n",
       "Err (load_MST): not enough edges" + in + " (1/2147483646 edges read).\n"},
  };
  for (auto& c : cases) {
    SCOPED_TRACE(c.what);
    writeFile(p, c.bytes);
    // Counting allocator: the files that can't hold their count take no memory at all.
    setAllocFunc_MST(testsupport::failingAlloc, free);
    testsupport::failAllocAfter(-1);
    int n = -3;
    std::string err = stderrOf([&] { EXPECT_EQ(load_MST(p.c_str(), &n), nullptr); });
    EXPECT_EQ(err, c.message);
    EXPECT_EQ(n, -3);
    if (std::string(c.what).find("count") != std::string::npos && c.message.find("edges read") != std::string::npos) {
      EXPECT_EQ(testsupport::failingAllocCalls(), 0);
    }
  }
}

TEST_F(Mst, AFirstLineLongerThanItsBufferIsPassedOver) {
  const std::string p = dir.file("long.mst");
  writeFile(p, "MST-FILE 3 points" + std::string(3000, ' ') + "and more\n1 0\n2 0\n");
  int n = 0;
  int* e = load_MST(p.c_str(), &n);
  ASSERT_NE(e, nullptr);
  EXPECT_EQ(n, 3);
  EXPECT_EQ(edgeList(e, 3), (std::vector<Edge>{{1, 0}, {2, 0}}));
  free(e);
}

TEST_F(Mst, EveryPrefixAndRandomJunkNeitherCrashesNorHangs) {
  std::vector<double> pts = randomPoints(5, 40, 3, 10);
  int* e = find_MST(pts.data(), 40, 3);
  const std::string good = dir.file("good.mst"), p = dir.file("cut.mst");
  ASSERT_EQ(save_MST(good.c_str(), e, 40), 1);
  free(e);
  const std::string whole = testsupport::readFile(good);
  const size_t lastNumber = whole.rfind(' ') + 1;
  for (size_t len = 0; len < whole.size(); len++) {
    writeFile(p, whole.substr(0, len));
    int n = 0;
    std::string err;
    int* got = nullptr;
    err = stderrOf([&] { got = load_MST(p.c_str(), &n); });
    // A file cut inside its last number still holds every edge and loads (with that number cut
    // short, as nothing marks where a number ends but the file's end); cut anywhere before, it
    // lacks an edge.
    if (len > lastNumber) {
      EXPECT_NE(got, nullptr);
      EXPECT_EQ(err, "");
    } else {
      EXPECT_EQ(got, nullptr) << len;
      EXPECT_EQ(err.rfind("Err (load_MST): ", 0), 0u) << err;
      EXPECT_EQ(err.find('\n'), err.size() - 1) << err;
    }
    free(got);
  }
  std::mt19937 rng(2024);
  for (int round = 0; round < 300; round++) {
    std::string junk(rng() % 400, '\0');
    for (char& c : junk) c = (char)(rng() % 256);
    // Half of them behind a good header.
    if (round % 2) junk = "MST-FILE " + std::to_string(2 + rng() % 100) + " points\n" + junk;
    writeFile(p, junk);
    int n = 0;
    int* got = nullptr;
    std::string err = stderrOf([&] { got = load_MST(p.c_str(), &n); });
    if (got) {
      for (int k = 0; k < 2 * (n - 1); k++) EXPECT_TRUE(got[k] >= 0 && got[k] < n);
      free(got);
    } else {
      EXPECT_EQ(err.rfind("Err (load_MST): ", 0), 0u) << err;
    }
  }
}

TEST_F(Mst, MissingFilesAndFoldersAreReported) {
  int n = 0;
  const std::string missing = dir.file("none.mst");
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(load_MST(missing.c_str(), &n), nullptr); }),
            "Err (load_MST): opening file [" + missing + "].\n");
  // A folder opens for reading but gives no line.
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(load_MST(dir.path().c_str(), &n), nullptr); }),
            "Err (load_MST): no number of points on the first line of [" + dir.path() + "].\n");
}

TEST_F(Mst, NoMemoryForTheEdgesIsReported) {
  const std::string p = dir.file("t");
  writeFile(p, "MST-FILE 3 points\n1 0\n2 0\n");
  setAllocFunc_MST(testsupport::failingAlloc, free);
  testsupport::FailAllocScope scope(0);
  int n = 0;
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(load_MST(p.c_str(), &n), nullptr); }),
            "Err (load_MST): allocating memory to edges.\n");
}

TEST_F(Mst, SaveReportsFilesThatCantBeWrittenAndTreesThatArent) {
  int edges[4] = {1, 0, 2, 0};
  const std::string noFolder = dir.file("no/such/folder/t.mst");
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(save_MST(noFolder.c_str(), edges, 3), -1); }),
            "Err (save_MST): opening file [" + noFolder + "]\n");
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(save_MST("/dev/full", edges, 3), -1); }),
            "Err (save_MST): writing file [/dev/full]\n");
  const std::string p = dir.file("t");
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(save_MST(p.c_str(), nullptr, 3), -1); }),
            "Err (save_MST): no tree of [3] points to write to [" + p + "]\n");
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(save_MST(p.c_str(), edges, 1), -1); }),
            "Err (save_MST): no tree of [1] points to write to [" + p + "]\n");
  EXPECT_FALSE(testsupport::fileExists(p));
}

// --- StarList -----------------------------------------------------------------------------------

TEST_F(Mst, BuildNeedsTwoStars) {
  StarList empty;
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(empty.buildMST(nullptr), -1); }), "");
  EXPECT_EQ(empty.mstEdges, nullptr);
  StarList sun;
  ASSERT_EQ(sun.readStarFiles(0, nullptr, 1, true), 1);
  ASSERT_EQ(sun.numStars, 1);
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(sun.buildMST(nullptr), -1); }), "");
  EXPECT_EQ(sun.mstEdges, nullptr);
}

TEST_F(Mst, BuildSavesAndLoadGivesTheSameTree) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  ASSERT_EQ(startest::readOne(list, testsupport::starSetPath(2)), 1);
  const int n = list.numStars;
  const std::string path = dir.file("hip2.mst");
  std::vector<char> name(path.begin(), path.end());
  name.push_back('\0');
  ASSERT_EQ(stderrOf([&] { EXPECT_EQ(list.buildMST(name.data()), 1); }), "");
  const std::vector<Edge> built = edgeList(list.mstEdges, n);
  const std::string text = testsupport::readFile(path);
  EXPECT_EQ(text.substr(0, text.find('\n') + 1), "MST-FILE " + std::to_string(n) + " points\n");
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), n);

  // A second build gives the first tree back and makes the same one.
  ASSERT_EQ(list.buildMST(nullptr), 1);
  EXPECT_EQ(edgeList(list.mstEdges, n), built);

  StarList other;
  ASSERT_EQ(startest::readOne(other, testsupport::starSetPath(2)), 1);
  ASSERT_EQ(stderrOf([&] { EXPECT_EQ(other.loadMST(path.c_str()), 1); }), "");
  EXPECT_EQ(edgeList(other.mstEdges, n), built);
  // Loading again replaces the tree.
  ASSERT_EQ(other.loadMST(path.c_str()), 1);
  EXPECT_EQ(edgeList(other.mstEdges, n), built);
}

TEST_F(Mst, BuildStillGivesTheTreeWhenTheFileCantBeWritten) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  ASSERT_EQ(startest::readOne(list, testsupport::starSetPath(1)), 1);
  std::string bad = dir.file("no/folder/t.mst");
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(list.buildMST(bad.data()), 1); }),
            "Err (save_MST): opening file [" + bad + "]\n");
  EXPECT_NE(list.mstEdges, nullptr);
}

TEST_F(Mst, LoadRefusesATreeOfAnotherSize) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  ASSERT_EQ(startest::readOne(list, testsupport::starSetPath(1)), 1);
  ASSERT_EQ(list.buildMST(nullptr), 1);
  const std::string p = dir.file("small.mst");
  writeFile(p, "MST-FILE 3 points\n1 0\n2 0\n");
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(list.loadMST(p.c_str()), -1); }),
            "Err (loadMST): number of points in [" + p + "] does not match the number points I have.\n");
  EXPECT_EQ(list.mstEdges, nullptr);

  // A file that doesn't load leaves the tree as it was.
  ASSERT_EQ(list.buildMST(nullptr), 1);
  int* before = list.mstEdges;
  const std::string missing = dir.file("none.mst");
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(list.loadMST(missing.c_str()), -1); }),
            "Err (load_MST): opening file [" + missing + "].\n");
  EXPECT_EQ(list.mstEdges, before);
  writeFile(p, "MST-FILE " + std::to_string(list.numStars) + " points\n1 0\n");
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(list.loadMST(p.c_str()), -1); }),
            "Err (load_MST): not enough edges in [" + p + "] (1/" + std::to_string(list.numStars - 1) +
                " edges read).\n");
  EXPECT_EQ(list.mstEdges, before);
}

TEST_F(Mst, BuildReportsEveryAllocationFailure) {
  VELMORA_REQUIRE_SKY_DATA();
  StarList list;
  ASSERT_EQ(startest::readOne(list, testsupport::starSetPath(1)), 1);
  list.allocFunc = testsupport::failingAlloc;
  // The points, then the tree and the three work arrays of the finder.
  for (int ok = 0; ok < 5; ok++) {
    SCOPED_TRACE(ok);
    testsupport::FailAllocScope scope(ok);
    EXPECT_EQ(stderrOf([&] { EXPECT_EQ(list.buildMST(nullptr), -1); }),
              "Err: StarList::buildMST : Can't allocate memory.\n");
    EXPECT_EQ(list.mstEdges, nullptr);
  }
  testsupport::FailAllocScope scope(5);
  EXPECT_EQ(list.buildMST(nullptr), 1);
  EXPECT_NE(list.mstEdges, nullptr);
  EXPECT_EQ(testsupport::failingAllocCalls(), 5);
}

TEST_F(Mst, LoadTakesItsArrayFromTheListsAllocator) {
  const std::string p = dir.file("t");
  writeFile(p, "MST-FILE 2 points\n1 0\n");
  StarList list;
  list.allocFunc = testsupport::failingAlloc;
  testsupport::FailAllocScope scope(0);
  EXPECT_EQ(stderrOf([&] { EXPECT_EQ(list.loadMST(p.c_str()), -1); }),
            "Err (load_MST): allocating memory to edges.\n");
  EXPECT_EQ(testsupport::failingAllocCalls(), 1);
}
