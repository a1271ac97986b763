// Fast Fourier transform of the star textures: two-dimensional, in place, by rows then columns,
// each a radix-8, 4, 2 decimation-in-frequency transform in double precision.
#include "stars/fft.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>

#include "coords/constants.h"

namespace {

void* (*fftMalloc)(size_t) = malloc;
void (*fftFree)(void*) = free;

// The array being transformed and the one row or column copied out of it. Module-wide, which is
// why the transform isn't re-entrant.
FFTComplex* bigBuff = nullptr;
FFTComplexD* stageBuff = nullptr;

constexpr int kDirForward = 0;
constexpr int kDirInverse = 1;
constexpr int kRadix8 = 8;
constexpr int kRadix4 = 4;
constexpr int kRadix2 = 2;
constexpr int kBitsPerRadix8 = 3;

// Position of frequency p among the outputs of one butterfly: its bits reversed. Writing the
// outputs so makes the order of the whole result plain bit reversal, whatever the mix of radices.
constexpr int kBitRev8[kRadix8] = {0, 4, 2, 6, 1, 5, 3, 7};
constexpr int kBitRev4[kRadix4] = {0, 2, 1, 3};

// exp(+i 2 pi q / 8) for q = 0..7.
constexpr double kHalfRoot2 = 0.70710678118654752440;  // sqrt(1/2)
constexpr FFTComplexD kRoot8[kRadix8] = {{1.0, 0.0},          {kHalfRoot2, kHalfRoot2},   {0.0, 1.0},
                                     {-kHalfRoot2, kHalfRoot2}, {-1.0, 0.0},      {-kHalfRoot2, -kHalfRoot2},
                                     {0.0, -1.0},         {kHalfRoot2, -kHalfRoot2}};

FFTComplexD mul(FFTComplexD a, FFTComplexD b) {
  return {a.re * b.re - a.im * b.im, a.re * b.im + a.im * b.re};
}

// exp(+i 2 pi num / den)
FFTComplexD unitRoot(long num, long den) {
  double angle = 2.0 * kPi * (double)num / (double)den;
  return {cos(angle), sin(angle)};
}

void conjugate(int n, FFTComplexD* x) {
  for (int i = 0; i < n; i++) x[i].im = -x[i].im;
}

// Exchanges the first and second halves of the array, element by element.
void swapHalves(int n, FFTComplexD* x) {
  int half = n / 2;
  for (int i = 0; i < half; i++) {
    FFTComplexD t = x[i];
    x[i] = x[i + half];
    x[i + half] = t;
  }
}

// Puts element i at the index whose m bits are those of i reversed.
void bitReverse(int n, int m, FFTComplexD* x) {
  for (int i = 0; i < n; i++) {
    int r = 0;
    for (int b = 0; b < m; b++)
      if (i & (1 << b)) r |= 1 << (m - 1 - b);
    if (i < r) {
      FFTComplexD t = x[i];
      x[i] = x[r];
      x[r] = t;
    }
  }
}

}  // namespace

void setAllocFunc_fft(void* (*allocFunc)(size_t), void (*freeFunc)(void*)) {
  fftMalloc = allocFunc;
  fftFree = freeFunc;
}

int power_of_2(int v) {
  if (v <= 0) return 0;
  return (v & (v - 1)) == 0 ? 1 : 0;
}

int fastlog2(int v) {
  int m = 0;
  while (v > 1) {
    v >>= 1;
    m++;
  }
  return m;
}

void R2TX(int n, FFTComplexD* x) {
  for (int k = 0; k + 1 < n; k += kRadix2) {
    FFTComplexD a = x[k], b = x[k + 1];
    x[k] = {a.re + b.re, a.im + b.im};
    x[k + 1] = {a.re - b.re, a.im - b.im};
  }
}

void R4TX(int n, FFTComplexD* x) {
  for (int k = 0; k + kRadix4 - 1 < n; k += kRadix4) {
    FFTComplexD in[kRadix4] = {x[k], x[k + 1], x[k + 2], x[k + 3]};
    for (int p = 0; p < kRadix4; p++) {
      FFTComplexD sum = {0.0, 0.0};
      for (int j = 0; j < kRadix4; j++) {
        // exp(+i 2 pi j p / 4) is the eighth root of index 2 j p
        FFTComplexD t = mul(in[j], kRoot8[(2 * j * p) % kRadix8]);
        sum.re += t.re;
        sum.im += t.im;
      }
      x[k + kBitRev4[p]] = sum;
    }
  }
}

void R8TX(int nxtlt, int n, int length, FFTComplexD* x) {
  for (int block = 0; block + length <= n; block += length) {
    for (int k = 0; k < nxtlt; k++) {
      FFTComplexD in[kRadix8];
      for (int j = 0; j < kRadix8; j++) in[j] = x[block + k + j * nxtlt];
      for (int p = 0; p < kRadix8; p++) {
        FFTComplexD sum = {0.0, 0.0};
        for (int j = 0; j < kRadix8; j++) {
          FFTComplexD t = mul(in[j], kRoot8[(j * p) % kRadix8]);
          sum.re += t.re;
          sum.im += t.im;
        }
        x[block + k + kBitRev8[p] * nxtlt] = mul(sum, unitRoot((long)k * p, length));
      }
    }
  }
}

void FFT842(int direction, int n, FFTComplexD* x) {
  int m = fastlog2(n);
  if (direction == kDirForward)
    conjugate(n, x);
  else
    swapHalves(n, x);  // the spectrum comes centred; the passes want zero frequency first

  int passes8 = m / kBitsPerRadix8;
  for (int pass = 1; pass <= passes8; pass++) {
    int nxtlt = 1 << (m - kBitsPerRadix8 * pass);
    R8TX(nxtlt, n, nxtlt * kRadix8, x);
  }
  switch (m % kBitsPerRadix8) {
    case 1:
      R2TX(n, x);
      break;
    case 2:
      R4TX(n, x);
      break;
    default:
      break;
  }
  bitReverse(n, m, x);

  if (direction == kDirForward) {
    // Conjugating before and after turns the passes' exp(+i) kernel into exp(-i); the swap
    // centres zero frequency.
    swapHalves(n, x);
    conjugate(n, x);
  } else {
    double scale = 1.0 / n;
    for (int i = 0; i < n; i++) {
      x[i].re *= scale;
      x[i].im *= scale;
    }
  }
}

int fft(FFTComplex* buf, int rows, int columns, int direction) {
  if (!power_of_2(rows) || !power_of_2(columns)) {
    fprintf(stderr, "complex_fft: input array must have dimensions a power of 2");
    return -1;
  }
  int longest = rows > columns ? rows : columns;
  stageBuff = static_cast<FFTComplexD*>(fftMalloc(sizeof(FFTComplexD) * (size_t)longest));
  if (!stageBuff) {
    fprintf(stderr, "Insufficient storage for fft buffers");
    return -1;
  }
  bigBuff = buf;
  if (columns > 1) {
    for (int r = 0; r < rows; r++) {
      FFTComplex* row = bigBuff + (size_t)r * columns;
      for (int c = 0; c < columns; c++) stageBuff[c] = {row[c].re, row[c].im};
      FFT842(direction, columns, stageBuff);
      for (int c = 0; c < columns; c++) row[c] = {(float)stageBuff[c].re, (float)stageBuff[c].im};
    }
  }
  if (rows > 1) {
    for (int c = 0; c < columns; c++) {
      for (int r = 0; r < rows; r++) {
        FFTComplex v = bigBuff[(size_t)r * columns + c];
        stageBuff[r] = {v.re, v.im};
      }
      FFT842(direction, rows, stageBuff);
      for (int r = 0; r < rows; r++)
        bigBuff[(size_t)r * columns + c] = {(float)stageBuff[r].re, (float)stageBuff[r].im};
    }
  }
  fftFree(stageBuff);
  stageBuff = nullptr;
  bigBuff = nullptr;
  return 0;
}

int forward_fft(FFTComplex* buf, int rows, int columns) {
  return fft(buf, rows, columns, kDirForward);
}

int inverse_fft(FFTComplex* buf, int rows, int columns) {
  return fft(buf, rows, columns, kDirInverse);
}
