// The magnitude-size tables and their look-up, and the members of StarList that turn luminosity and
// distance into a point size and an opacity: magnitudes, the size grid of half pixels, the tables
// behind it, the limit setters and the buckets of deferred points.
#include "stars/starsize.h"

#include <GL/gl.h>

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "stars/star.h"

#include "coords/constants.h"

const double sizeTable[STAR_SIZE_TABLE_LEN] = {
    0.0278, 0.0556, 0.0833, 0.1111, 0.1389, 0.1667, 0.1944, 0.2222, 0.2500, 0.2778, 0.3056,
    0.3333, 0.3611, 0.3889, 0.4167, 0.4444, 0.4722, 0.5000, 0.5278, 0.5556, 0.5833, 0.6111,
    0.6389, 0.6667, 0.6944, 0.7222, 0.7500, 0.7778, 0.8056, 0.8333, 0.8611, 0.8889, 0.9167,
    0.9444, 0.9722, 1.0000, 1.0278, 1.0556, 1.0833, 1.1111, 1.1389, 1.1667, 1.1944, 1.2222,
    1.2500, 1.2778, 1.3056, 1.3333, 1.3611, 1.3889, 1.4167, 1.4444, 1.4722, 1.5000};

const double vmagTable45[STAR_SIZE_TABLE_LEN] = {
    10.7583, 8.8445, 7.7250, 6.9308, 6.3147, 5.8113,  5.3857,  5.0170,  4.6918,  4.4009, 4.1378,
    3.8976,  3.6766, 3.4719, 3.2815, 3.1033, 2.9359,  2.7781,  2.6288,  2.4872,  2.3525, 2.2240,
    2.1013,  1.9838, 1.8711, 1.7628, 1.6586, 1.5582,  1.4613,  1.3677,  1.2772,  1.1895, 1.1046,
    1.0221,  0.9421, 0.8643, 0.7887, 0.7151, 0.6433,  0.5734,  0.5053,  0.4387,  0.3738, 0.3103,
    0.2482,  0.1876, 0.1282, 0.0701, 0.0131, -0.0426, -0.0973, -0.1509, -0.2035, -0.2551};

const double vmagTable30[STAR_SIZE_TABLE_LEN] = {
    14.9428, 12.0061, 10.2882, 9.0694,  8.1240,  7.3515,  6.6984,  6.1327,  5.6336,  5.1873,  4.7835,
    4.4148,  4.0757,  3.7617,  3.4694,  3.1960,  2.9391,  2.6969,  2.4679,  2.2506,  2.0438,  1.8467,
    1.6584,  1.4781,  1.3051,  1.1390,  0.9791,  0.8250,  0.6763,  0.5327,  0.3938,  0.2593,  0.1289,
    0.0024,  -0.1204, -0.2398, -0.3558, -0.4688, -0.5789, -0.6862, -0.7908, -0.8929, -0.9926, -1.0900,
    -1.1852, -1.2783, -1.3694, -1.4586, -1.5460, -1.6316, -1.7155, -1.7977, -1.8784, -1.9576};

double lookupBinaryDescending(const double* x, const double* y, int n, double v) {
  // Not a number has no place in the table; without this the bisection below would never end.
  if (std::isnan(v)) return v;
  int lo, hi;
  if (v > x[0]) {
    lo = 0;
    hi = 1;
  } else if (v < x[n - 1]) {
    lo = n - 2;
    hi = n - 1;
  } else {
    lo = 0;
    hi = n - 1;
    while (hi - lo > 1) {
      int mid = (lo + hi) / 2;
      if (v > x[mid])
        hi = mid;
      else if (v < x[mid])
        lo = mid;
      else
        return y[mid];  // exactly on an interior row: the bisection alone would not move on
    }
  }
  double t = (v - x[lo]) / (x[hi] - x[lo]);
  return y[hi] * t + (1 - t) * y[lo];
}

namespace {

// Every star of every frame looks its size up in both tables, and a bisection there is a chain of
// branches that no predictor learns. A grid of equal magnitude slices over a table's range tells
// where the search may start, so that a look-up is a step or two; it finds the same interval as the
// bisection, and the interpolation is the same, so the sizes are the same to the last bit.
constexpr double kOrdinaryMagnitude = 1e100;

class DescendingGrid {
 public:
  static constexpr int kCells = 1024;

  DescendingGrid(const double* x, const double* y, int n) : x_(x), y_(y), n_(n) {
    scale_ = kCells / (x[0] - x[n - 1]);
    int i = 0;
    for (int c = 0; c < kCells; c++) {
      double top = x[0] - c / scale_;  // the largest magnitude of the slice
      while (i < n - 2 && x[i + 1] >= top) i++;
      start_[c] = static_cast<unsigned char>(i);
    }
  }

  double lookup(double v) const {
    // Outside the table, and not a number, as the bisection has them.
    if (!(v <= x_[0] && v >= x_[n_ - 1])) return lookupBinaryDescending(x_, y_, n_, v);
    int c = static_cast<int>((x_[0] - v) * scale_);
    if (c > kCells - 1) c = kCells - 1;
    int lo = start_[c];
    // Rounding of the slice may put the start one row off either way: x[lo] >= v >= x[lo + 1].
    while (lo > 0 && x_[lo] < v) lo--;
    while (lo < n_ - 2 && x_[lo + 1] > v) lo++;
    int hi = lo + 1;
    double t = (v - x_[lo]) / (x_[hi] - x_[lo]);
    return y_[hi] * t + (1 - t) * y_[lo];
  }

 private:
  const double* x_;
  const double* y_;
  int n_;
  double scale_;
  unsigned char start_[kCells];
};

const DescendingGrid& grid45() {
  static const DescendingGrid g(vmagTable45, sizeTable, STAR_SIZE_TABLE_LEN);
  return g;
}
const DescendingGrid& grid30() {
  static const DescendingGrid g(vmagTable30, sizeTable, STAR_SIZE_TABLE_LEN);
  return g;
}

// The diameter of starDiameter with its two grids at hand, so that a loop over many stars looks
// them up once.
inline double diameterOf(const DescendingGrid& g45, const DescendingGrid& g30, double vmag, double vmagLimit,
                         double blend) {
  if (vmag > vmagLimit) return 0.0;
  // A blend of exactly 1 or 0 weighs the other table by zero, and a diameter of an ordinary
  // magnitude is finite, so it adds nothing and isn't looked up. Far outside the tables the
  // extrapolation may overflow, and zero times that is not a number: those go the whole way.
  bool ordinary = std::fabs(vmag) < kOrdinaryMagnitude;
  double d45 = ordinary && blend == 0.0 ? 0.0 : g45.lookup(vmag);
  double d30 = ordinary && blend == 1.0 ? 0.0 : g30.lookup(vmag);
  return (d45 * blend + (1 - blend) * d30) / 180 * kPi;
}

// What the size of a star depends on besides its magnitude: the same for every star of a frame.
struct SizeFrame {
  const DescendingGrid& g45;
  const DescendingGrid& g30;
  float starScale;
  float radPerPixel;
  double texScale;
  int pxMax;
  const unsigned char* sqrtTable;
  const float* invSqTable;
};

SizeFrame sizeFrameOf(const StarList& list, float starScale, float radPerPixel) {
  return SizeFrame{grid45(), grid30(), starScale, radPerPixel, list.param.texScale, list.pxMax, list.sqrtTable,
                   list.invSqTable};
}

// The size and opacity of a star of magnitude vmag; 1 when it is too small to show (pxSize then 0,
// alpha untouched), else 0.
inline int pxSizeAlphaOf(const SizeFrame& f, int* pxSize, int* alpha, float vmag) {
  float d = (float)(float)diameterOf(f.g45, f.g30, vmag, 10.0, f.starScale) / f.radPerPixel;
  if (d < 0.001) {
    *pxSize = 0;
    return 1;
  }
  float h = (float)(d * 2 * f.texScale);
  float area = h * h - 1;
  // A degenerate size (a star at the camera has magnitude minus infinity) ends as the smallest
  // point with no opacity: invisible and harmless.
  if (std::isnan(area)) {
    *pxSize = f.sqrtTable[0];
    *alpha = 0;
    return 0;
  }
  // A disc too large for a 32-bit area, or for the shift below, belongs at the cap.
  if (area >= 8388608.0f) {
    *pxSize = 32;
    *alpha = 255;
    return 0;
  }
  int q = (int)area;
  int w = q << 8;
  if (w < 0 || w >= f.pxMax) {
    *pxSize = 32;
    *alpha = 255;
    return 0;
  }
  // With ptLarge 32 or more a size can reach past the square-root table, the inverse-square table
  // and the buckets, which hold sizes up to 63: such a star gets the largest size they hold.
  if (q >= STAR_MAX_PX_SIZE * STAR_MAX_PX_SIZE) {
    *pxSize = STAR_MAX_PX_SIZE;
    *alpha = 255;
    return 0;
  }
  int p = f.sqrtTable[q];
  *pxSize = p;
  *alpha = (int)(w * f.invSqTable[p]);
  return 0;
}

}  // namespace

double starDiameter(double vmag, double vmagLimit, double blend) {
  return diameterOf(grid45(), grid30(), vmag, vmagLimit, blend);
}

void starPXSizesAlphas(const StarList& list, const float* vmag, int n, float starScale, float radPerPixel,
                       int* pxSize, int* alpha, int* tooSmall) {
  const SizeFrame f = sizeFrameOf(list, starScale, radPerPixel);
  for (int k = 0; k < n; k++) tooSmall[k] = pxSizeAlphaOf(f, &pxSize[k], &alpha[k], vmag[k]);
}

// ---------------------------------------------------------------------------------------------
// StarList: the brightness and size model

double StarList::computeVMag(float lumMag, float logDist) {
  return ((float)(logDist - kParsecExponent) - 1.0) * 5 + lumMag + (10 - param.vmagMin);
}

int StarList::computePXSizeAlpha(int* pxSize, int* alpha, float vmag, float starScale, float radPerPixel,
                                 int /*starIndex*/) {
  return pxSizeAlphaOf(sizeFrameOf(*this, starScale, radPerPixel), pxSize, alpha, vmag);
}

int StarList::computePXSizeAlphaOld(int* pxSize, int* alpha, int brightness, int starIndex, int faintPx,
                                    int faintAlpha) {
  if (brightness <= pxMin) {
    if (brightness <= threshTable[(starIndex * (starIndex + 1)) & 255]) return 1;
    *pxSize = faintPx;
    *alpha = faintAlpha;
  } else if (brightness >= pxMax) {
    *pxSize = 2 * ptLarge;
    *alpha = 255;
  } else {
    int idx = brightness >> 8;
    // The table holds 4096 rows; brightness below pxMax keeps within it only for ptLarge below 32.
    if (idx > STAR_SQRT_TABLE_LEN - 1) idx = STAR_SQRT_TABLE_LEN - 1;
    *pxSize = sqrtTable[idx];
    *alpha = *pxSize < STAR_INVSQ_TABLE_LEN ? (int)(brightness * invSqTable[*pxSize]) : 255;
  }
  if (*pxSize < 1 || *pxSize > 63 || *alpha < 1 || *alpha > 255) {
    *pxSize = 63;
    *alpha = 255;
  }
  return 0;
}

void StarList::initLUT() {
  const GLubyte* version = glGetString(GL_VERSION);
  initLUTFor(version ? (const char*)version : nullptr);
}

void StarList::initLUTFor(const char* glVersion) {
  lutMode = -1;
  if (glVersion && (strncmp(glVersion, "CRIME", 5) == 0 || strncmp(glVersion, "IR", 2) == 0 ||
                    strncmp(glVersion, "1.3.0", 5) == 0))
    lutMode = 0;
  for (int i = 0; i < STAR_SQRT_TABLE_LEN; i++) sqrtTable[i] = (unsigned char)ceil(sqrt((double)(i + 1)));
  invSqTable[0] = 1.0f;
  for (int n = 1; n < STAR_INVSQ_TABLE_LEN; n++) invSqTable[n] = 1.0f / (n * n);
  if (lutMode < 0) invSqTable[1] = 0.25f;
}

void StarList::resetPxMinMax() {
  pxMin = (int)(ptFaint * 1024.0);
  pxMax = ptLarge * ptLarge * 1024;
  for (int i = 0; i < 256; i++) threshTable[i] = (unsigned char)(int)(randTable[i] * ptFaint);
}

void StarList::resetPtSize() {
  float norm;
  if (ptRescaleMode == 1) {
    norm = 0;
    for (int i = 0; i < numStars; i++)
      if (stars[i].lum > norm) norm = stars[i].lum;
  } else if (ptRescaleMode == 2) {
    norm = fixedLum;
  } else {
    fprintf(stderr, "Err : resetPtSize() : something's wrong!\n\n");
    exit(1);
  }
  for (int i = 0; i < numStars; i++) stars[i].ptLum = stars[i].lum / norm;
}

void StarList::freeBuckets() {
  for (int i = 0; i < STAR_NUM_BUCKETS; i++)
    if (buckets[i]) freeFunc(buckets[i]);
}

void StarList::resetBucketSize() {
  freeBuckets();
  bucketSize = numStars / 20;
  if (bucketSize > 256) bucketSize = 256;
  if (bucketSize < 16) bucketSize = 16;
  for (int i = 0; i < STAR_NUM_BUCKETS; i++) {
    buckets[i] = (CPoint*)allocFunc(sizeof(CPoint) * bucketSize);
    if (!buckets[i]) {
      fprintf(stderr, "Err : allocating memory for buckets!\n\n");
      exit(1);
    }
    bucketCount[i] = 0;
  }
}

int StarList::setPtFaint(float inPtFaint) {
  if (inPtFaint < 0 || inPtFaint > 1) {
    fprintf(stderr, "Err (setPtFaint) : inPtFaint out of range [0,1]\n\n");
    return -1;
  }
  ptFaint = inPtFaint;
  resetPxMinMax();
  return 1;
}

int StarList::setPtLarge(int inPtLarge) {
  if (inPtLarge <= 0) {
    fprintf(stderr, "Err (setPtLarge) : inPtLarge should be positive.\n\n");
    return -1;
  }
  ptLarge = inPtLarge > 64 ? 64 : inPtLarge;
  resetPxMinMax();
  return 1;
}

int StarList::setPXsizeTex(int inPtsizeTex) {
  if (inPtsizeTex < 0) {
    fprintf(stderr, "Err (setPXsizeTex) : inPtsizeTex should be non-negative.\n\n");
    return -1;
  }
  param.pxsizeTex = inPtsizeTex > 64 ? 64 : inPtsizeTex;
  return 1;
}

int StarList::setStarScale(float inStarScale) {
  if (inStarScale <= 0) {
    fprintf(stderr, "Err (setStarScale) : inStarScale should be positive.\n\n");
    return -1;
  }
  param.starScale = inStarScale;
  return 1;
}

int StarList::setExposure(float inExposure) {
  if (inExposure <= 0) {
    fprintf(stderr, "Err (setExposure) : inExposure should be positive.\n\n");
    return -1;
  }
  param.exposure = inExposure;
  exposureOn = fabs(inExposure - 1.0) >= 1e-5 ? 1 : 0;
  return 1;
}

int StarList::setTuneIntensity(float inTuneIntensity) {
  if (inTuneIntensity <= 0) {
    fprintf(stderr, "Err (setTuneIntensity)  : inTuneIntensity should be positive.\n\n");
    return -1;
  }
  param.tuneIntensity = inTuneIntensity;
  tuneOn = fabs(inTuneIntensity - 1.0) >= 1e-5 ? 1 : 0;
  return 1;
}

int StarList::setVMagMin(float inVMagMin) {
  if (inVMagMin < -10 || inVMagMin > 20) {
    fprintf(stderr, "Err (setVMagMin) : inVMagMin should be reasonable range [-10,20].\n\n");
    inVMagMin = inVMagMin < -10 ? -10 : 20;
  }
  param.vmagMin = inVMagMin;
  return 1;
}

int StarList::ptSizeRescaleHint(int mode, float inFixedLum) {
  if (mode != 1 && mode != 2) {
    fprintf(stderr, "Err : ptSizeRescaleHint() : unknown flag!\n\n");
    return -1;
  }
  if (mode == 2 && inFixedLum <= 0) {
    fprintf(stderr, "Err : ptSizeRescaleHint() : fixedLum should be positive!\n\n");
    return -1;
  }
  ptRescaleMode = mode;
  fixedLum = inFixedLum;
  return 1;
}

void StarList::adjustLumScale(float delta) {
  dLumScale += delta;
}

void StarList::setDLumScale(float value) {
  dLumScale = value + 9.7;
}
