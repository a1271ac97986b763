// Eigenvalues and eigenvectors of real symmetric matrices: reduction to tridiagonal form, then the
// QL algorithm with implicit shifts, with an optional sort. mgcEigen works on float, mgcEigenD on
// double; both share one template and differ in element type and the name in their messages.
#pragma once

#include <ostream>

template <typename Real, typename Self>
class EigenSolverBase {
 public:
  // A size below 2 reports invalid_size and leaves the object without arrays; a failed allocation
  // reports allocation_failed and stops there. The size is kept in both cases.
  explicit EigenSolverBase(int size);
  ~EigenSolverBase();
  EigenSolverBase(const EigenSolverBase&) = delete;
  EigenSolverBase& operator=(const EigenSolverBase&) = delete;

  Real& Matrix(int row, int col) { return mat[row][col]; }
  Self& Matrix(Real** rows);  // copies a whole matrix in
  Real Eigenvalue(int index) const { return diag[index]; }
  Real Eigenvector(int row, int col) const { return mat[row][col]; }
  int Size() const { return size; }
  bool Valid() const { return mat != nullptr && diag != nullptr && subd != nullptr; }

  // Reduction for that size (N: any), then QLAlgorithm. The numbered ones don't look at size.
  void EigenStuff2();
  void EigenStuff3();
  void EigenStuff4();
  void EigenStuffN();
  void EigenStuff();  // chooses by size
  void DecrSortEigenStuff2();
  void DecrSortEigenStuff3();
  void DecrSortEigenStuff4();
  void DecrSortEigenStuffN();
  void DecrSortEigenStuff();
  void IncrSortEigenStuff2();
  void IncrSortEigenStuff3();
  void IncrSortEigenStuff4();
  void IncrSortEigenStuffN();
  void IncrSortEigenStuff();

  static void Tridiagonal2(Real** m, Real* diag, Real* subd);
  static void Tridiagonal3(Real** m, Real* diag, Real* subd);
  static void Tridiagonal4(Real** m, Real* diag, Real* subd);
  static void TridiagonalN(int n, Real** m, Real* diag, Real* subd);
  static void QLAlgorithm(int n, Real* diag, Real* subd, Real** m);
  static void DecreasingSort(int n, Real* diag, Real** m);
  static void IncreasingSort(int n, Real* diag, Real** m);

  // Position of the highest set bit of flag, -1 for 0.
  static int Number(unsigned flag);
  // Records one error and writes "<class name>: <message>\n" to standard output when verbose is
  // set, otherwise appends it to "eigen.err" in the working directory.
  static void Report(unsigned flag);
  // Writes one such line for every recorded error bit, lowest first, then clears error.
  static void Report(std::ostream& ostr);

  static int verbose;
  static unsigned error;
  static constexpr unsigned invalid_size = 1;
  static constexpr unsigned allocation_failed = 2;
  static constexpr unsigned ql_exceeded = 4;
  static const char* const message[3];

 protected:
  int size;
  Real** mat = nullptr;  // in: the symmetric matrix; out: eigenvectors, one per column
  Real* diag = nullptr;  // out: eigenvalues
  Real* subd = nullptr;  // working storage
};

class mgcEigen : public EigenSolverBase<float, mgcEigen> {
 public:
  using EigenSolverBase::EigenSolverBase;
  static constexpr const char* className = "mgcEigen";
};

class mgcEigenD : public EigenSolverBase<double, mgcEigenD> {
 public:
  using EigenSolverBase::EigenSolverBase;
  static constexpr const char* className = "mgcEigenD";
};
