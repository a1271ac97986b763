// Eigen solver for real symmetric matrices: tridiagonal reduction, then QL with implicit shifts.
#include "coords/eigen.h"

#include <cmath>
#include <cstdio>
#include <iostream>
#include <new>

namespace {

constexpr int kMaxIterations = 30;  // QL rounds per eigenvalue

}  // namespace

template <typename Real, typename Self>
int EigenSolverBase<Real, Self>::verbose = 0;

template <typename Real, typename Self>
unsigned EigenSolverBase<Real, Self>::error = 0;

template <typename Real, typename Self>
const char* const EigenSolverBase<Real, Self>::message[3] = {"invalid matrix size", "allocation failed",
                                                             "QL algorithm - exceeded maximum iterations"};

template <typename Real, typename Self>
EigenSolverBase<Real, Self>::EigenSolverBase(int inSize) : size(inSize) {
  if (size < 2) {
    Report(invalid_size);
    return;
  }
  mat = new (std::nothrow) Real*[size];
  if (mat == nullptr) {
    Report(allocation_failed);
    return;
  }
  for (int i = 0; i < size; i++) mat[i] = nullptr;  // so that the destructor can free a partial set
  for (int i = 0; i < size; i++) {
    mat[i] = new (std::nothrow) Real[size];
    if (mat[i] == nullptr) {
      Report(allocation_failed);
      return;
    }
  }
  diag = new (std::nothrow) Real[size];
  if (diag == nullptr) {
    Report(allocation_failed);
    return;
  }
  subd = new (std::nothrow) Real[size];
  if (subd == nullptr) {
    Report(allocation_failed);
    return;
  }
}

template <typename Real, typename Self>
EigenSolverBase<Real, Self>::~EigenSolverBase() {
  if (mat != nullptr) {
    for (int i = 0; i < size; i++) delete[] mat[i];
    delete[] mat;
  }
  delete[] diag;
  delete[] subd;
}

template <typename Real, typename Self>
Self& EigenSolverBase<Real, Self>::Matrix(Real** rows) {
  if (Valid()) {
    for (int r = 0; r < size; r++)
      for (int c = 0; c < size; c++) mat[r][c] = rows[r][c];
  }
  return static_cast<Self&>(*this);
}

// The runs below do nothing on an object whose construction failed: it has no arrays to work on.

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::EigenStuff2() {
  if (!Valid()) return;
  Tridiagonal2(mat, diag, subd);
  QLAlgorithm(size, diag, subd, mat);
}

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::EigenStuff3() {
  if (!Valid()) return;
  Tridiagonal3(mat, diag, subd);
  QLAlgorithm(size, diag, subd, mat);
}

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::EigenStuff4() {
  if (!Valid()) return;
  Tridiagonal4(mat, diag, subd);
  QLAlgorithm(size, diag, subd, mat);
}

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::EigenStuffN() {
  if (!Valid()) return;
  TridiagonalN(size, mat, diag, subd);
  QLAlgorithm(size, diag, subd, mat);
}

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::EigenStuff() {
  switch (size) {
    case 2:
      EigenStuff2();
      break;
    case 3:
      EigenStuff3();
      break;
    case 4:
      EigenStuff4();
      break;
    default:
      EigenStuffN();
      break;
  }
}

#define VELMORA_EIGEN_SORTED(prefix, sorter)                \
  template <typename Real, typename Self>                   \
  void EigenSolverBase<Real, Self>::prefix##EigenStuff2() { \
    if (!Valid()) return;                                   \
    EigenStuff2();                                          \
    sorter(size, diag, mat);                                \
  }                                                         \
  template <typename Real, typename Self>                   \
  void EigenSolverBase<Real, Self>::prefix##EigenStuff3() { \
    if (!Valid()) return;                                   \
    EigenStuff3();                                          \
    sorter(size, diag, mat);                                \
  }                                                         \
  template <typename Real, typename Self>                   \
  void EigenSolverBase<Real, Self>::prefix##EigenStuff4() { \
    if (!Valid()) return;                                   \
    EigenStuff4();                                          \
    sorter(size, diag, mat);                                \
  }                                                         \
  template <typename Real, typename Self>                   \
  void EigenSolverBase<Real, Self>::prefix##EigenStuffN() { \
    if (!Valid()) return;                                   \
    EigenStuffN();                                          \
    sorter(size, diag, mat);                                \
  }                                                         \
  template <typename Real, typename Self>                   \
  void EigenSolverBase<Real, Self>::prefix##EigenStuff() {  \
    if (!Valid()) return;                                   \
    EigenStuff();                                           \
    sorter(size, diag, mat);                                \
  }

VELMORA_EIGEN_SORTED(DecrSort, DecreasingSort)
VELMORA_EIGEN_SORTED(IncrSort, IncreasingSort)
#undef VELMORA_EIGEN_SORTED

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::Tridiagonal2(Real** m, Real* diag, Real* subd) {
  diag[0] = m[0][0];
  diag[1] = m[1][1];
  subd[0] = m[0][1];
  subd[1] = 0;
  m[0][0] = 1;
  m[0][1] = 0;
  m[1][0] = 0;
  m[1][1] = 1;
}

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::Tridiagonal3(Real** m, Real* diag, Real* subd) {
  Real a = m[0][0], b = m[0][1], c = m[0][2];
  Real d = m[1][1], e = m[1][2];
  Real f = m[2][2];
  diag[0] = a;
  subd[2] = 0;
  if (c != 0) {
    Real ell = std::sqrt(b * b + c * c);
    b /= ell;
    c /= ell;
    Real q = 2 * b * e + c * (f - d);
    diag[1] = d + c * q;
    diag[2] = f - c * q;
    subd[0] = ell;
    subd[1] = e - b * q;
    m[0][0] = 1;
    m[0][1] = 0;
    m[0][2] = 0;
    m[1][0] = 0;
    m[1][1] = b;
    m[1][2] = c;
    m[2][0] = 0;
    m[2][1] = c;
    m[2][2] = -b;
  } else {
    diag[1] = d;
    diag[2] = f;
    subd[0] = b;
    subd[1] = e;
    m[0][0] = 1;
    m[0][1] = 0;
    m[0][2] = 0;
    m[1][0] = 0;
    m[1][1] = 1;
    m[1][2] = 0;
    m[2][0] = 0;
    m[2][1] = 0;
    m[2][2] = 1;
  }
}

// The same Householder reduction as TridiagonalN, at size 4.
template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::Tridiagonal4(Real** m, Real* diag, Real* subd) {
  TridiagonalN(4, m, diag, subd);
}

// Householder reduction of the lower triangle from the last row upward; each row is scaled by the
// sum of its absolute values, and a row whose scale is 0 is skipped. The transformations are
// accumulated in m. On return subd[i] couples diag[i] and diag[i + 1], and subd[n - 1] is 0.
template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::TridiagonalN(int n, Real** m, Real* diag, Real* subd) {
  for (int i0 = n - 1, i3 = n - 2; i0 >= 1; i0--, i3--) {
    Real h = 0, scale = 0;
    if (i3 > 0) {
      for (int i2 = 0; i2 <= i3; i2++) scale += std::fabs(m[i0][i2]);
      if (scale == 0) {
        subd[i0] = m[i0][i3];
      } else {
        Real invScale = 1 / scale;
        for (int i2 = 0; i2 <= i3; i2++) {
          m[i0][i2] *= invScale;
          h += m[i0][i2] * m[i0][i2];
        }
        Real f = m[i0][i3];
        Real g = std::sqrt(h);
        if (f > 0) g = -g;  // the reflection takes the sign opposite to the element beside the diagonal
        subd[i0] = scale * g;
        h -= f * g;
        m[i0][i3] = f - g;
        f = 0;
        Real invH = 1 / h;
        for (int i1 = 0; i1 <= i3; i1++) {
          m[i1][i0] = m[i0][i1] * invH;
          g = 0;
          for (int i2 = 0; i2 <= i1; i2++) g += m[i1][i2] * m[i0][i2];
          for (int i2 = i1 + 1; i2 <= i3; i2++) g += m[i2][i1] * m[i0][i2];
          subd[i1] = g * invH;
          f += subd[i1] * m[i0][i1];
        }
        Real halfFdivH = Real(0.5) * f * invH;
        for (int i1 = 0; i1 <= i3; i1++) {
          f = m[i0][i1];
          g = subd[i1] - halfFdivH * f;
          subd[i1] = g;
          for (int i2 = 0; i2 <= i1; i2++) m[i1][i2] -= f * subd[i2] + g * m[i0][i2];
        }
      }
    } else {
      subd[i0] = m[i0][i3];
    }
    diag[i0] = h;
  }

  diag[0] = 0;
  subd[0] = 0;
  for (int i0 = 0, i3 = -1; i0 <= n - 1; i0++, i3++) {
    if (diag[i0] != 0) {
      for (int i1 = 0; i1 <= i3; i1++) {
        Real sum = 0;
        for (int i2 = 0; i2 <= i3; i2++) sum += m[i0][i2] * m[i2][i1];
        for (int i2 = 0; i2 <= i3; i2++) m[i2][i1] -= sum * m[i2][i0];
      }
    }
    diag[i0] = m[i0][i0];
    m[i0][i0] = 1;
    for (int i1 = 0; i1 <= i3; i1++) {
      m[i1][i0] = 0;
      m[i0][i1] = 0;
    }
  }

  for (int i0 = 1, i3 = 0; i0 < n; i0++, i3++) subd[i3] = subd[i0];
  subd[n - 1] = 0;
}

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::QLAlgorithm(int n, Real* diag, Real* subd, Real** m) {
  for (int ell = 0; ell < n; ell++) {
    int iter;
    for (iter = 0; iter < kMaxIterations; iter++) {
      int mm;
      for (mm = ell; mm <= n - 2; mm++) {
        Real dd = std::fabs(diag[mm]) + std::fabs(diag[mm + 1]);
        if (std::fabs(subd[mm]) + dd == dd) break;
      }
      if (mm == ell) break;

      Real g = (diag[ell + 1] - diag[ell]) / (2 * subd[ell]);
      Real r = std::sqrt(g * g + 1);
      if (g < 0)
        g = diag[mm] - diag[ell] + subd[ell] / (g - r);
      else
        g = diag[mm] - diag[ell] + subd[ell] / (g + r);
      Real s = 1, c = 1, p = 0;
      for (int i = mm - 1; i >= ell; i--) {
        Real f = s * subd[i];
        Real b = c * subd[i];
        if (std::fabs(f) >= std::fabs(g)) {
          c = g / f;
          r = std::sqrt(c * c + 1);
          subd[i + 1] = f * r;
          s = 1 / r;
          c *= s;
        } else {
          s = f / g;
          r = std::sqrt(s * s + 1);
          subd[i + 1] = g * r;
          c = 1 / r;
          s *= c;
        }
        g = diag[i + 1] - p;
        r = (diag[i] - g) * s + 2 * b * c;
        p = s * r;
        diag[i + 1] = g + p;
        g = c * r - b;
        for (int k = 0; k < n; k++) {
          f = m[k][i + 1];
          m[k][i + 1] = s * m[k][i] + c * f;
          m[k][i] = c * m[k][i] - s * f;
        }
      }
      diag[ell] -= p;
      subd[ell] = g;
      subd[mm] = 0;
    }
    if (iter == kMaxIterations) {
      Report(ql_exceeded);
      return;
    }
  }
}

// Selection sorts: a later value must be strictly smaller (larger) to win, so the earliest of equal
// values stays first. Values and matrix columns are swapped together.
template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::DecreasingSort(int n, Real* diag, Real** m) {
  for (int i0 = 0; i0 <= n - 2; i0++) {
    int i1 = i0;
    Real best = diag[i1];
    for (int i2 = i0 + 1; i2 < n; i2++) {
      if (diag[i2] > best) {
        i1 = i2;
        best = diag[i1];
      }
    }
    if (i1 != i0) {
      diag[i1] = diag[i0];
      diag[i0] = best;
      for (int r = 0; r < n; r++) {
        Real t = m[r][i0];
        m[r][i0] = m[r][i1];
        m[r][i1] = t;
      }
    }
  }
}

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::IncreasingSort(int n, Real* diag, Real** m) {
  for (int i0 = 0; i0 <= n - 2; i0++) {
    int i1 = i0;
    Real best = diag[i1];
    for (int i2 = i0 + 1; i2 < n; i2++) {
      if (diag[i2] < best) {
        i1 = i2;
        best = diag[i1];
      }
    }
    if (i1 != i0) {
      diag[i1] = diag[i0];
      diag[i0] = best;
      for (int r = 0; r < n; r++) {
        Real t = m[r][i0];
        m[r][i0] = m[r][i1];
        m[r][i1] = t;
      }
    }
  }
}

template <typename Real, typename Self>
int EigenSolverBase<Real, Self>::Number(unsigned flag) {
  int n = -1;
  for (int bit = 0; bit < 32; bit++) {
    if (flag & (1u << bit)) n = bit;
  }
  return n;
}

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::Report(unsigned flag) {
  error |= flag;
  int n = Number(flag);
  // Only the three known bits have a message; any other flag would index past the list.
  if (n < 0 || n > 2) return;
  if (verbose) {
    std::printf("%s: %s\n", Self::className, message[n]);
    std::fflush(stdout);
  } else {
    FILE* fp = std::fopen("eigen.err", "a");
    if (fp == nullptr) return;
    std::fprintf(fp, "%s: %s\n", Self::className, message[n]);
    std::fclose(fp);
  }
}

template <typename Real, typename Self>
void EigenSolverBase<Real, Self>::Report(std::ostream& ostr) {
  for (int bit = 0; bit < 3; bit++) {
    if (error & (1u << bit)) ostr << Self::className << ": " << message[bit] << '\n';
  }
  error = 0;
}

template class EigenSolverBase<float, mgcEigen>;
template class EigenSolverBase<double, mgcEigenD>;
