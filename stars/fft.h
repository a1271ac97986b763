// Fast Fourier transform of two-dimensional arrays of single-precision complex numbers: every
// row and then every column goes through a radix-8, 4, 2 decimation-in-frequency transform.
//
// Conventions of the whole system:
//   forward_fft   kernel exp(-i 2 pi k n / N); zero frequency ends up at index N/2 of each
//                 dimension, so a spectrum comes out centred.
//   inverse_fft   undoes that shift, kernel exp(+i 2 pi k n / N), divides by N, so that forward
//                 then inverse gives the input back.
// The stage buffer is module-wide scratch: the transform isn't re-entrant.
#pragma once

#include <cstddef>

// One complex number of the caller's arrays: real part, then imaginary part.
struct FFTComplex {
  float re;
  float im;
};

// The double-precision form used inside one row or column.
struct FFTComplexD {
  double re;
  double im;
};

// Sets the allocator pair of the stage buffer; it starts as malloc and free.
// Returns nothing, prints nothing.
void setAllocFunc_fft(void* (*allocFunc)(size_t), void (*freeFunc)(void*));

// Transform buf (rows x columns complex numbers, row-major) in place; the caller keeps the
// buffer. 0 on success. -1 if a size isn't a power of two, after
// "complex_fft: input array must have dimensions a power of 2" (no line end) on standard error;
// -1 if the stage buffer can't be had, after "Insufficient storage for fft buffers" (no line end).
// The array is untouched on failure. Neither exits.
int forward_fft(FFTComplex* buf, int rows, int columns);
int inverse_fft(FFTComplex* buf, int rows, int columns);

// The body of both: direction 0 forward, 1 inverse. Same result and messages as above.
int fft(FFTComplex* buf, int rows, int columns, int direction);

// One-dimensional transform of n complex doubles in place, n a power of two (not checked);
// direction 0 forward with the spectrum centred, 1 inverse of that. Prints nothing.
void FFT842(int direction, int n, FFTComplexD* x);

// The passes of FFT842, all with the kernel exp(+i ...); each writes its outputs in bit-reversed
// order within the butterfly, so that one bit reversal at the end sorts the whole result.
// R8TX: one radix-8 pass over n numbers, in blocks of length, with span nxtlt = length / 8 and
// the twiddle factors of the block.
void R8TX(int nxtlt, int n, int length, FFTComplexD* x);
// R4TX, R2TX: the last pass, on neighbouring groups of four or two, without twiddle factors.
void R4TX(int n, FFTComplexD* x);
void R2TX(int n, FFTComplexD* x);

// 1 if v has exactly one bit set (a positive power of two), else 0.
int power_of_2(int v);
// Index of the highest set bit of v; 0 for v of 1 or less.
int fastlog2(int v);
