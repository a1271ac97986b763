// Magnitude against apparent size: the constant tables of the brightness model and the free
// functions that read them.
#pragma once

// Number of rows in each table.
constexpr int STAR_SIZE_TABLE_LEN = 54;

// Angular diameter in degrees of row i: (i + 1) / 36, to four decimals (0.0278 .. 1.5000).
extern const double sizeTable[STAR_SIZE_TABLE_LEN];
// Apparent magnitude of each row, descending, for the steeper (45) and the flatter (30) slope.
extern const double vmagTable45[STAR_SIZE_TABLE_LEN];
extern const double vmagTable30[STAR_SIZE_TABLE_LEN];

// Angular diameter in radians of a star of magnitude vmag: 0 above vmagLimit, otherwise the blend
// blend * d45 + (1 - blend) * d30 of the two tables' diameters. blend above 1 extrapolates.
double starDiameter(double vmag, double vmagLimit, double blend);

class StarList;

// The point sizes and opacities of n stars of one frame at once: for each k, exactly what
// list.computePXSizeAlpha(&pxSize[k], &alpha[k], vmag[k], starScale, radPerPixel, ...) gives, its
// return value in tooSmall[k] (1: too small to show, alpha[k] then unset). A frame sizes its stars
// in runs, so that the work of one star overlaps that of the next. The caller owns the arrays;
// prints nothing.
void starPXSizesAlphas(const StarList& list, const float* vmag, int n, float starScale, float radPerPixel,
                       int* pxSize, int* alpha, int* tooSmall);

// Linear interpolation of y at v in the strictly descending table x of n rows; both ends
// extrapolate their end segment.
double lookupBinaryDescending(const double* x, const double* y, int n, double v);
