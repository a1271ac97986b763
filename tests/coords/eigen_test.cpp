// Tests of the eigen solver against matrices with known eigenvalues and vectors.
#include "coords/eigen.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <cmath>
#include <limits>
#include <random>
#include <sstream>
#include <string>
#include <vector>

#include "tests/support/testutil.h"

namespace {

// Runs a piece of code with the working directory in a fresh temporary folder.
class InTempDir {
 public:
  InTempDir() {
    char buf[4096];
    old_ = getcwd(buf, sizeof(buf)) ? buf : ".";
    EXPECT_EQ(chdir(dir_.path().c_str()), 0);
  }
  ~InTempDir() { EXPECT_EQ(chdir(old_.c_str()), 0); }
  std::string errFile() const { return testsupport::readFile(dir_.file("eigen.err")); }
  bool errFileExists() const { return testsupport::fileExists(dir_.file("eigen.err")); }

 private:
  testsupport::TempDir dir_;
  std::string old_;
};

// Each test starts with the class-wide state as the program starts with it.
class EigenTest : public testing::Test {
 protected:
  void SetUp() override { reset(); }
  void TearDown() override { reset(); }
  static void reset() {
    mgcEigen::verbose = 0;
    mgcEigenD::verbose = 0;
    mgcEigen::error = 0;
    mgcEigenD::error = 0;
  }
};

template <typename Solver, typename Real>
void setMatrix(Solver& e, const std::vector<std::vector<double>>& a) {
  int n = static_cast<int>(a.size());
  for (int r = 0; r < n; r++)
    for (int c = 0; c < n; c++) e.Matrix(r, c) = static_cast<Real>(a[r][c]);
}

std::vector<std::vector<double>> randomSymmetric(int n, std::mt19937& gen) {
  std::uniform_real_distribution<double> dist(-5.0, 5.0);
  std::vector<std::vector<double>> a(n, std::vector<double>(n));
  for (int r = 0; r < n; r++)
    for (int c = r; c < n; c++) a[r][c] = a[c][r] = dist(gen);
  return a;
}

enum class Order { Plain, Incr, Decr };

template <typename Solver>
void runBySize(Solver& e, int n, Order how, bool numbered) {
  if (!numbered) {
    if (how == Order::Plain) e.EigenStuff();
    if (how == Order::Incr) e.IncrSortEigenStuff();
    if (how == Order::Decr) e.DecrSortEigenStuff();
    return;
  }
  switch (n) {
    case 2:
      how == Order::Plain  ? e.EigenStuff2()
      : how == Order::Incr ? e.IncrSortEigenStuff2()
                           : e.DecrSortEigenStuff2();
      break;
    case 3:
      how == Order::Plain  ? e.EigenStuff3()
      : how == Order::Incr ? e.IncrSortEigenStuff3()
                           : e.DecrSortEigenStuff3();
      break;
    case 4:
      how == Order::Plain  ? e.EigenStuff4()
      : how == Order::Incr ? e.IncrSortEigenStuff4()
                           : e.DecrSortEigenStuff4();
      break;
    default:
      how == Order::Plain  ? e.EigenStuffN()
      : how == Order::Incr ? e.IncrSortEigenStuffN()
                           : e.DecrSortEigenStuffN();
      break;
  }
}

// A v = lambda v for every column, orthonormal columns, and the order the run promised.
template <typename Solver, typename Real>
void checkSolution(int n, Order how, bool numbered, double tol, unsigned seed) {
  std::mt19937 gen(seed);
  for (int trial = 0; trial < 20; trial++) {
    auto a = randomSymmetric(n, gen);
    Solver e(n);
    setMatrix<Solver, Real>(e, a);
    runBySize(e, n, how, numbered);
    double trace = 0, sum = 0;
    for (int j = 0; j < n; j++) {
      trace += a[j][j];
      sum += e.Eigenvalue(j);
      double lambda = e.Eigenvalue(j);
      for (int r = 0; r < n; r++) {
        double av = 0;
        for (int k = 0; k < n; k++) av += a[r][k] * e.Eigenvector(k, j);
        EXPECT_NEAR(av, lambda * e.Eigenvector(r, j), tol) << "n " << n << " col " << j << " row " << r;
      }
      for (int k = 0; k < n; k++) {
        double dot = 0;
        for (int r = 0; r < n; r++) dot += e.Eigenvector(r, j) * e.Eigenvector(r, k);
        EXPECT_NEAR(dot, j == k ? 1.0 : 0.0, tol) << "n " << n << " cols " << j << "," << k;
      }
      if (j > 0 && how == Order::Incr) {
        EXPECT_LE(e.Eigenvalue(j - 1), e.Eigenvalue(j));
      }
      if (j > 0 && how == Order::Decr) {
        EXPECT_GE(e.Eigenvalue(j - 1), e.Eigenvalue(j));
      }
    }
    EXPECT_NEAR(sum, trace, tol);
  }
  EXPECT_EQ(Solver::error, 0u);
}

TEST_F(EigenTest, RandomSymmetricDouble) {
  for (int n : {2, 3, 4, 6})
    for (Order how : {Order::Plain, Order::Incr, Order::Decr})
      for (bool numbered : {false, true}) checkSolution<mgcEigenD, double>(n, how, numbered, 1e-10, 17 + n);
}

TEST_F(EigenTest, RandomSymmetricFloat) {
  for (int n : {2, 3, 4, 6})
    for (Order how : {Order::Plain, Order::Incr, Order::Decr})
      for (bool numbered : {false, true}) checkSolution<mgcEigen, float>(n, how, numbered, 2e-4, 99 + n);
}

TEST_F(EigenTest, KnownEigenvalues) {
  mgcEigenD e(3);
  double m[3][3] = {{2, -1, 0}, {-1, 2, -1}, {0, -1, 2}};
  double* rows[3] = {m[0], m[1], m[2]};
  e.Matrix(rows).IncrSortEigenStuff3();  // Matrix with rows returns the object
  EXPECT_NEAR(e.Eigenvalue(0), 2 - std::sqrt(2.0), 1e-14);
  EXPECT_NEAR(e.Eigenvalue(1), 2, 1e-14);
  EXPECT_NEAR(e.Eigenvalue(2), 2 + std::sqrt(2.0), 1e-14);
  // The middle eigenvector is (1, 0, -1) / sqrt 2, up to sign.
  EXPECT_NEAR(std::fabs(e.Eigenvector(0, 1)), std::sqrt(0.5), 1e-14);
  EXPECT_NEAR(e.Eigenvector(1, 1), 0, 1e-14);
  EXPECT_NEAR(e.Eigenvector(0, 1), -e.Eigenvector(2, 1), 1e-14);
}

TEST_F(EigenTest, MatrixFromRowsCopies) {
  mgcEigenD e(2);
  double m[2][2] = {{1, 2}, {3, 4}};
  double* rows[2] = {m[0], m[1]};
  mgcEigenD& same = e.Matrix(rows);
  EXPECT_EQ(&same, &e);
  m[0][0] = 100;  // a copy, not a reference
  EXPECT_EQ(e.Eigenvector(0, 0), 1);
  EXPECT_EQ(e.Eigenvector(1, 0), 3);
  EXPECT_EQ(e.Matrix(0, 1), 2);
}

TEST_F(EigenTest, ZeroMatrixOfSizeThree) {
  mgcEigenD e(3);
  setMatrix<mgcEigenD, double>(e, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}});
  e.IncrSortEigenStuff3();
  for (int j = 0; j < 3; j++) {
    EXPECT_EQ(e.Eigenvalue(j), 0.0);
    for (int r = 0; r < 3; r++) EXPECT_EQ(e.Eigenvector(r, j), r == j ? 1.0 : 0.0);
  }
  mgcEigenD d(3);
  setMatrix<mgcEigenD, double>(d, {{0, 0, 0}, {0, 0, 0}, {0, 0, 0}});
  d.DecrSortEigenStuff3();
  for (int j = 0; j < 3; j++)
    for (int r = 0; r < 3; r++) EXPECT_EQ(d.Eigenvector(r, j), r == j ? 1.0 : 0.0);
  EXPECT_EQ(mgcEigenD::error, 0u);
}

TEST_F(EigenTest, Tridiagonal3ZeroCornerPath) {
  double m[3][3] = {{1, 2, 0}, {2, 3, 4}, {0, 4, 5}};
  double* rows[3] = {m[0], m[1], m[2]};
  double diag[3], subd[3];
  mgcEigenD::Tridiagonal3(rows, diag, subd);
  EXPECT_EQ(diag[0], 1);
  EXPECT_EQ(diag[1], 3);
  EXPECT_EQ(diag[2], 5);
  EXPECT_EQ(subd[0], 2);
  EXPECT_EQ(subd[1], 4);
  EXPECT_EQ(subd[2], 0);
  for (int r = 0; r < 3; r++)
    for (int c = 0; c < 3; c++) EXPECT_EQ(m[r][c], r == c ? 1.0 : 0.0);
}

TEST_F(EigenTest, Tridiagonal3Reflection) {
  double m[3][3] = {{1, 3, 4}, {3, 2, 1}, {4, 1, 6}};
  double* rows[3] = {m[0], m[1], m[2]};
  double diag[3], subd[3];
  mgcEigenD::Tridiagonal3(rows, diag, subd);
  // ell = 5, b = 0.6, c = 0.8, q = 2 * 0.6 * 1 + 0.8 * (6 - 2) = 4.4
  EXPECT_DOUBLE_EQ(diag[0], 1);
  EXPECT_DOUBLE_EQ(diag[1], 2 + 0.8 * 4.4);
  EXPECT_DOUBLE_EQ(diag[2], 6 - 0.8 * 4.4);
  EXPECT_DOUBLE_EQ(subd[0], 5);
  EXPECT_DOUBLE_EQ(subd[1], 1 - 0.6 * 4.4);
  EXPECT_EQ(subd[2], 0);
  EXPECT_DOUBLE_EQ(m[1][1], 0.6);
  EXPECT_DOUBLE_EQ(m[1][2], 0.8);
  EXPECT_DOUBLE_EQ(m[2][1], 0.8);
  EXPECT_DOUBLE_EQ(m[2][2], -0.6);
  EXPECT_EQ(m[0][0], 1);
  EXPECT_EQ(m[0][1], 0);
  EXPECT_EQ(m[2][0], 0);
}

TEST_F(EigenTest, Tridiagonal2) {
  double m[2][2] = {{1, 7}, {7, 3}};
  double* rows[2] = {m[0], m[1]};
  double diag[2], subd[2];
  mgcEigenD::Tridiagonal2(rows, diag, subd);
  EXPECT_EQ(diag[0], 1);
  EXPECT_EQ(diag[1], 3);
  EXPECT_EQ(subd[0], 7);
  EXPECT_EQ(subd[1], 0);
  EXPECT_EQ(m[0][0], 1);
  EXPECT_EQ(m[0][1], 0);
  EXPECT_EQ(m[1][0], 0);
  EXPECT_EQ(m[1][1], 1);
}

// Q^T A Q must be the tridiagonal matrix of diag and subd.
TEST_F(EigenTest, TridiagonalNAndFourReduce) {
  std::mt19937 gen(5);
  for (int n : {4, 5, 6}) {
    auto a = randomSymmetric(n, gen);
    std::vector<std::vector<double>> q = a;
    std::vector<double*> rows(n);
    for (int r = 0; r < n; r++) rows[r] = q[r].data();
    std::vector<double> diag(n), subd(n);
    if (n == 4)
      mgcEigenD::Tridiagonal4(rows.data(), diag.data(), subd.data());
    else
      mgcEigenD::TridiagonalN(n, rows.data(), diag.data(), subd.data());
    EXPECT_EQ(subd[n - 1], 0);
    for (int i = 0; i < n; i++)
      for (int j = 0; j < n; j++) {
        double t = 0;
        for (int k = 0; k < n; k++)
          for (int l = 0; l < n; l++) t += q[k][i] * a[k][l] * q[l][j];
        double expect = 0;
        if (i == j) expect = diag[i];
        if (j == i + 1) expect = subd[i];
        if (i == j + 1) expect = subd[j];
        EXPECT_NEAR(t, expect, 1e-10) << n << " " << i << " " << j;
      }
  }
}

TEST_F(EigenTest, Tridiagonal4MatchesN) {
  std::mt19937 gen(11);
  auto a = randomSymmetric(4, gen);
  auto b = a;
  double *ra[4], *rb[4];
  for (int r = 0; r < 4; r++) {
    ra[r] = a[r].data();
    rb[r] = b[r].data();
  }
  double d1[4], s1[4], d2[4], s2[4];
  mgcEigenD::Tridiagonal4(ra, d1, s1);
  mgcEigenD::TridiagonalN(4, rb, d2, s2);
  for (int i = 0; i < 4; i++) {
    EXPECT_EQ(d1[i], d2[i]);
    EXPECT_EQ(s1[i], s2[i]);
    for (int j = 0; j < 4; j++) EXPECT_EQ(a[i][j], b[i][j]);
  }
}

TEST_F(EigenTest, ZeroScaleRowIsSkipped) {
  // The last two rows have nothing left of the diagonal: their scale is 0 and the reduction
  // passes them by. Eigenvalues and vectors are still right.
  mgcEigenD e(4);
  setMatrix<mgcEigenD, double>(e, {{4, 1, 0, 0}, {1, 3, 0, 0}, {0, 0, 2, 0}, {0, 0, 0, 1}});
  e.IncrSortEigenStuff4();
  double s = std::sqrt(5.0);
  EXPECT_NEAR(e.Eigenvalue(0), 1, 1e-14);
  EXPECT_NEAR(e.Eigenvalue(1), 2, 1e-14);
  EXPECT_NEAR(e.Eigenvalue(2), (7 - s) / 2, 1e-14);
  EXPECT_NEAR(e.Eigenvalue(3), (7 + s) / 2, 1e-14);
  EXPECT_NEAR(std::fabs(e.Eigenvector(3, 0)), 1, 1e-14);
  EXPECT_NEAR(std::fabs(e.Eigenvector(2, 1)), 1, 1e-14);
}

TEST_F(EigenTest, DiagonalMatrixKeepsColumnsSortedWithValues) {
  mgcEigenD e(3);
  setMatrix<mgcEigenD, double>(e, {{5, 0, 0}, {0, -1, 0}, {0, 0, 3}});
  e.IncrSortEigenStuff3();
  EXPECT_EQ(e.Eigenvalue(0), -1);
  EXPECT_EQ(e.Eigenvalue(1), 3);
  EXPECT_EQ(e.Eigenvalue(2), 5);
  // Each value carries its own unit column along.
  int axisOf[3] = {1, 2, 0};
  for (int j = 0; j < 3; j++)
    for (int r = 0; r < 3; r++) EXPECT_EQ(e.Eigenvector(r, j), r == axisOf[j] ? 1.0 : 0.0);

  mgcEigenD d(3);
  setMatrix<mgcEigenD, double>(d, {{5, 0, 0}, {0, -1, 0}, {0, 0, 3}});
  d.DecrSortEigenStuff3();
  int axisDecr[3] = {0, 2, 1};
  for (int j = 0; j < 3; j++)
    for (int r = 0; r < 3; r++) EXPECT_EQ(d.Eigenvector(r, j), r == axisDecr[j] ? 1.0 : 0.0);

  mgcEigenD u(3);
  setMatrix<mgcEigenD, double>(u, {{5, 0, 0}, {0, -1, 0}, {0, 0, 3}});
  u.EigenStuff3();  // unsorted: the columns stay where they are
  EXPECT_EQ(u.Eigenvalue(0), 5);
  EXPECT_EQ(u.Eigenvalue(1), -1);
  EXPECT_EQ(u.Eigenvalue(2), 3);
  for (int j = 0; j < 3; j++)
    for (int r = 0; r < 3; r++) EXPECT_EQ(u.Eigenvector(r, j), r == j ? 1.0 : 0.0);
}

TEST_F(EigenTest, EqualEigenvaluesKeepIterationOrder) {
  // diag(1, 2, 2): the decreasing sort finds the first 2 (column 1) for the front; a later equal
  // value never wins, so column 1 stays before column 2.
  mgcEigenD d(3);
  setMatrix<mgcEigenD, double>(d, {{1, 0, 0}, {0, 2, 0}, {0, 0, 2}});
  d.DecrSortEigenStuff3();
  EXPECT_EQ(d.Eigenvalue(0), 2);
  EXPECT_EQ(d.Eigenvalue(1), 2);
  EXPECT_EQ(d.Eigenvalue(2), 1);
  EXPECT_EQ(d.Eigenvector(1, 0), 1);
  EXPECT_EQ(d.Eigenvector(2, 1), 1);
  EXPECT_EQ(d.Eigenvector(0, 2), 1);

  mgcEigenD i(3);
  setMatrix<mgcEigenD, double>(i, {{2, 0, 0}, {0, 2, 0}, {0, 0, 1}});
  i.IncrSortEigenStuff3();
  // 1 comes to the front by a swap with column 0; the two 2s then stand as (column 1, column 0)
  // and are not swapped back, as neither is strictly smaller.
  EXPECT_EQ(i.Eigenvector(2, 0), 1);
  EXPECT_EQ(i.Eigenvector(1, 1), 1);
  EXPECT_EQ(i.Eigenvector(0, 2), 1);
}

TEST_F(EigenTest, SortsDirectly) {
  double m[3][3] = {{1, 2, 3}, {4, 5, 6}, {7, 8, 9}};
  double* rows[3] = {m[0], m[1], m[2]};
  double diag[3] = {3, 1, 3};
  mgcEigenD::IncreasingSort(3, diag, rows);
  EXPECT_EQ(diag[0], 1);
  EXPECT_EQ(diag[1], 3);
  EXPECT_EQ(diag[2], 3);
  EXPECT_EQ(m[0][0], 2);  // columns swapped with the values
  EXPECT_EQ(m[0][1], 1);
  EXPECT_EQ(m[0][2], 3);
  EXPECT_EQ(m[2][0], 8);
  mgcEigenD::DecreasingSort(3, diag, rows);
  // (1, 3, 3): the first 3 comes to the front, then the second 3 beats the 1.
  EXPECT_EQ(diag[0], 3);
  EXPECT_EQ(diag[1], 3);
  EXPECT_EQ(diag[2], 1);
  EXPECT_EQ(m[0][0], 1);
  EXPECT_EQ(m[0][1], 3);
  EXPECT_EQ(m[0][2], 2);
}

TEST_F(EigenTest, FloatSolverAtSizeThree) {
  mgcEigen e(3);
  setMatrix<mgcEigen, float>(e, {{2, 1, 0}, {1, 2, 0}, {0, 0, 7}});
  e.DecrSortEigenStuff();
  EXPECT_NEAR(e.Eigenvalue(0), 7, 1e-5);
  EXPECT_NEAR(e.Eigenvalue(1), 3, 1e-5);
  EXPECT_NEAR(e.Eigenvalue(2), 1, 1e-5);
}

TEST_F(EigenTest, NumberIsHighestBit) {
  EXPECT_EQ(mgcEigenD::Number(0), -1);
  EXPECT_EQ(mgcEigenD::Number(1), 0);
  EXPECT_EQ(mgcEigenD::Number(2), 1);
  EXPECT_EQ(mgcEigenD::Number(3), 1);
  EXPECT_EQ(mgcEigenD::Number(4), 2);
  EXPECT_EQ(mgcEigenD::Number(7), 2);
  EXPECT_EQ(mgcEigen::Number(0x80000000u), 31);
}

TEST_F(EigenTest, ClassWideMembers) {
  EXPECT_EQ(mgcEigenD::invalid_size, 1u);
  EXPECT_EQ(mgcEigenD::allocation_failed, 2u);
  EXPECT_EQ(mgcEigenD::ql_exceeded, 4u);
  EXPECT_STREQ(mgcEigenD::message[0], "invalid matrix size");
  EXPECT_STREQ(mgcEigenD::message[1], "allocation failed");
  EXPECT_STREQ(mgcEigenD::message[2], "QL algorithm - exceeded maximum iterations");
  EXPECT_STREQ(mgcEigen::message[2], "QL algorithm - exceeded maximum iterations");
}

TEST_F(EigenTest, ReportVerboseWritesEachBitToStandardOutput) {
  mgcEigenD::verbose = 1;
  mgcEigen::verbose = 1;
  InTempDir dir;
  testing::internal::CaptureStdout();
  mgcEigenD::Report(mgcEigenD::invalid_size);
  mgcEigenD::Report(mgcEigenD::allocation_failed);
  mgcEigenD::Report(mgcEigenD::ql_exceeded);
  mgcEigen::Report(mgcEigen::ql_exceeded);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "mgcEigenD: invalid matrix size\n"
            "mgcEigenD: allocation failed\n"
            "mgcEigenD: QL algorithm - exceeded maximum iterations\n"
            "mgcEigen: QL algorithm - exceeded maximum iterations\n");
  EXPECT_FALSE(dir.errFileExists());
  EXPECT_EQ(mgcEigenD::error, 7u);
  EXPECT_EQ(mgcEigen::error, 4u);  // each class keeps its own record
}

TEST_F(EigenTest, ReportQuietAppendsToEigenErr) {
  InTempDir dir;
  testsupport::writeFile("eigen.err", "earlier line\n");
  testing::internal::CaptureStdout();
  mgcEigenD::Report(mgcEigenD::invalid_size);
  mgcEigenD::Report(mgcEigenD::allocation_failed);
  mgcEigen::Report(mgcEigen::ql_exceeded);
  mgcEigenD::Report(mgcEigenD::ql_exceeded);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(dir.errFile(),
            "earlier line\n"
            "mgcEigenD: invalid matrix size\n"
            "mgcEigenD: allocation failed\n"
            "mgcEigen: QL algorithm - exceeded maximum iterations\n"
            "mgcEigenD: QL algorithm - exceeded maximum iterations\n");
}

TEST_F(EigenTest, ReportOfSeveralBitsNamesTheHighest) {
  mgcEigenD::verbose = 1;
  testing::internal::CaptureStdout();
  mgcEigenD::Report(mgcEigenD::invalid_size | mgcEigenD::ql_exceeded);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "mgcEigenD: QL algorithm - exceeded maximum iterations\n");
  EXPECT_EQ(mgcEigenD::error, 5u);
}

TEST_F(EigenTest, ReportOfUnknownFlagWritesNothing) {
  mgcEigenD::verbose = 1;
  testing::internal::CaptureStdout();
  mgcEigenD::Report(0u);
  mgcEigenD::Report(8u);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(mgcEigenD::error, 8u);
  std::ostringstream out;
  mgcEigenD::Report(out);  // only the three known bits have words
  EXPECT_EQ(out.str(), "");
  EXPECT_EQ(mgcEigenD::error, 0u);
}

TEST_F(EigenTest, ReportToStreamListsBitsFromLowestAndClears) {
  mgcEigenD::verbose = 1;
  testing::internal::CaptureStdout();
  mgcEigenD::Report(mgcEigenD::ql_exceeded);
  mgcEigenD::Report(mgcEigenD::invalid_size);
  mgcEigenD::Report(mgcEigenD::ql_exceeded);
  testing::internal::GetCapturedStdout();
  std::ostringstream out;
  mgcEigenD::Report(out);
  EXPECT_EQ(out.str(),
            "mgcEigenD: invalid matrix size\n"
            "mgcEigenD: QL algorithm - exceeded maximum iterations\n");
  EXPECT_EQ(mgcEigenD::error, 0u);
  std::ostringstream again;
  mgcEigenD::Report(again);
  EXPECT_EQ(again.str(), "");
}

TEST_F(EigenTest, ReportEachBitToStream) {
  for (unsigned bit : {1u, 2u, 4u}) {
    mgcEigen::error = bit;
    std::ostringstream out;
    mgcEigen::Report(out);
    EXPECT_EQ(out.str(), std::string("mgcEigen: ") + mgcEigen::message[mgcEigen::Number(bit)] + "\n");
    EXPECT_EQ(mgcEigen::error, 0u);
  }
}

TEST_F(EigenTest, ConstructorBelowTwoReportsInvalidSize) {
  InTempDir dir;
  for (int n : {1, 0, -3}) {
    mgcEigenD e(n);
    EXPECT_EQ(e.Size(), n);  // the size is kept
    EXPECT_FALSE(e.Valid());
    e.IncrSortEigenStuff();  // nothing to work on: does nothing
    e.EigenStuffN();
  }
  EXPECT_EQ(dir.errFile(),
            "mgcEigenD: invalid matrix size\n"
            "mgcEigenD: invalid matrix size\n"
            "mgcEigenD: invalid matrix size\n");
  EXPECT_EQ(mgcEigenD::error, mgcEigenD::invalid_size);
}

TEST_F(EigenTest, ConstructorBelowTwoVerbose) {
  mgcEigen::verbose = 1;
  testing::internal::CaptureStdout();
  {
    mgcEigen e(1);
    EXPECT_FALSE(e.Valid());
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "mgcEigen: invalid matrix size\n");
}

TEST_F(EigenTest, ConstructorOfGoodSizeReportsNothing) {
  InTempDir dir;
  mgcEigenD e(2);
  EXPECT_TRUE(e.Valid());
  EXPECT_FALSE(dir.errFileExists());
  EXPECT_EQ(mgcEigenD::error, 0u);
}

// A NaN never passes the test for a negligible subdiagonal, so the iteration runs out.
TEST_F(EigenTest, QLIterationLimitReportedToEigenErr) {
  InTempDir dir;
  mgcEigenD e(3);
  setMatrix<mgcEigenD, double>(e, {{1, 2, 3}, {2, 4, 5}, {3, 5, std::numeric_limits<double>::quiet_NaN()}});
  e.IncrSortEigenStuff3();
  EXPECT_EQ(dir.errFile(), "mgcEigenD: QL algorithm - exceeded maximum iterations\n");
  EXPECT_EQ(mgcEigenD::error, mgcEigenD::ql_exceeded);
}

TEST_F(EigenTest, QLIterationLimitVerbose) {
  mgcEigen::verbose = 1;
  mgcEigen e(4);
  setMatrix<mgcEigen, float>(e, {{1, 2, 3, 4}, {2, 1, 0, 0}, {3, 0, std::nanf(""), 1}, {4, 0, 1, 2}});
  testing::internal::CaptureStdout();
  e.EigenStuff();
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "mgcEigen: QL algorithm - exceeded maximum iterations\n");
  EXPECT_EQ(mgcEigen::error, mgcEigen::ql_exceeded);
}

TEST_F(EigenTest, QLStopsAtFirstEigenvalueThatRunsOut) {
  // Called directly: one report, however many eigenvalues are left.
  mgcEigenD::verbose = 1;
  double m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
  double* rows[3] = {m[0], m[1], m[2]};
  double diag[3] = {std::nan(""), 1, 2};
  double subd[3] = {1, 1, 0};
  testing::internal::CaptureStdout();
  mgcEigenD::QLAlgorithm(3, diag, subd, rows);
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "mgcEigenD: QL algorithm - exceeded maximum iterations\n");
}

TEST_F(EigenTest, QLOnTridiagonalInput) {
  double m[2][2] = {{1, 0}, {0, 1}};
  double* rows[2] = {m[0], m[1]};
  double diag[2] = {2, 2};
  double subd[2] = {1, 0};
  mgcEigenD::QLAlgorithm(2, diag, subd, rows);
  mgcEigenD::IncreasingSort(2, diag, rows);
  EXPECT_NEAR(diag[0], 1, 1e-15);
  EXPECT_NEAR(diag[1], 3, 1e-15);
  EXPECT_NEAR(std::fabs(m[0][0]), std::sqrt(0.5), 1e-15);
  EXPECT_NEAR(m[0][0], -m[1][0], 1e-15);
}

}  // namespace
