// Drawing the catalogue: every star placed relative to the camera, filtered by spectral class,
// magnitude and distance, sized and coloured, and sent to GL as points grouped by size, as
// textured billboards, or as named points for picking; the distance error bars; and the setters
// of year, warp, selection ranges and local standard of rest.
#include <GL/gl.h>

#include <cfloat>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "stars/star.h"

namespace {

// Below this texture scale no star has a size; the frame is skipped whole.
constexpr double kMinTexScale = 1e-7;
// A projection so wide that a pixel spans less than this would divide by nearly nothing.
constexpr double kMinRadPerPixel = 1e-7;
// Every attribute group of fixed-function GL.
constexpr GLbitfield kAllAttribBits = 0xFFFFF;
// Point sizes are counted in half pixels.
constexpr float kPixelsPerHalfPixel = 0.5f;
// The run of points opens at one pixel.
constexpr int kStartPointSize = 2;
// Up to this many decimal orders of view units a star stands at its true distance; beyond it
// each further order counts as one kFarDecadeShare-th, which keeps every star of the sky in front
// of the far plane (10^4 view units) while keeping their order along a ray.
constexpr double kTrueDepthDecades = 3.5;
constexpr double kFarDecadeShare = 72.0;
// The two low bits of the gamma-corrected alpha are dropped.
constexpr int kAlphaKeepMask = 0xFC;
constexpr float kMaxAlphaIndex = 255.0f;
constexpr int kLastAlphaIndex = 255;
// Colour channels brightened by the intensity tuning stop at full.
constexpr float kFullChannel = 1.0f;
// The computed textures of the Airy and FFT sources have a one-texel border of their own that the
// quad leaves out: a 64th of the 64-texel image.
constexpr double kComputedTexBorder = 1.0 / 64;
// Distance error bars: their colour, the smallest error that earns one, and the decimal orders of
// view units within which they are drawn (strictly between).
constexpr float kErrorBarColor[4] = {0.8f, 0.2f, 0.2f, 0.5f};
constexpr double kMinDistErr = 0.001;
constexpr double kErrorBarNearDecades = -1.0;
constexpr double kErrorBarFarDecades = 3.5;
constexpr float kErrorBarPointSize = 2.0f;
// A new warp that differs from the old by less than this in each direction component and angle is
// the old one.
constexpr double kSphWarpSame = 1e-5;

// What the selection made of one star.
enum StarPick { kSkipped, kDrawable, kTooSmall };

// The view of one frame, read once from GL.
struct FrameView {
  double logScale;
  double v[3];  // direction of sight, unit length
  double u[3];  // up vector of the view, for billboards
  double radPerPixel;
  double aspect;
  bool sptypeOn;
  bool vmagOn;
};

int sptypeRow(char spClass) {
  switch (spClass) {
    case 'O': return SPTYPE_O;
    case 'B': return SPTYPE_B;
    case 'A': return SPTYPE_A;
    case 'F': return SPTYPE_F;
    case 'G': return SPTYPE_G;
    case 'K': return SPTYPE_K;
    case 'M': return SPTYPE_M;
    default: return SPTYPE_OTHER;
  }
}

bool isSunAt(const StarList& list, int index) {
  return list.withSun && index >= 0 && index < list.numStars && strcmp(list.stars[index].commonName, "Sun") == 0;
}

// The index range a frame covers: the distance selection's when it is on, else the whole array;
// the Sun is left out at the front when skipSun asks for it. last below first means nothing.
void starRange(const StarList& list, bool skipSun, int* first, int* last) {
  int f = 0, l = list.numStars - 1;
  if (list.param.zRangeOn) {
    f = list.zFirst;
    l = list.zLast;
  }
  // The search behind zFirst and zLast reports -1 when it strays; no index outside the array runs.
  if (f < 0) f = 0;
  if (l > list.numStars - 1) l = list.numStars - 1;
  if (skipSun && isSunAt(list, f)) f++;
  *first = f;
  *last = l;
}

// The factor that places a star whose unified distance from the camera has exponent s: its
// distance in decimal orders of view units becomes a depth in front of the far plane.
inline double placeFactor(double s, double logScale) {
  s -= logScale;
  if (s > kTrueDepthDecades) s = (s - kTrueDepthDecades) / kFarDecadeShare + kTrueDepthDecades;
  return pow(10.0, s);
}

// The star relative to the camera, unified, in distVec, as a point at the exact direction.
inline void placeStar(const PHCoord& distVec, double logScale, double out[3]) {
  double k = placeFactor(distVec.s, logScale);
  out[0] = distVec.x * k;
  out[1] = distVec.y * k;
  out[2] = distVec.z * k;
}

}  // namespace

// ---------------------------------------------------------------------------------------------
// The frame

namespace {

// A mantissa within this of unit length squared is taken as unit length: a star's current position
// is kept unified, and unifying it again would change no more than its last bits.
constexpr double kUnitSquareTolerance = 1e-12;
// Operands of a sum further apart than this many decades are not mixed (as in addPHCoord).
constexpr double kMaxDecades = 15.0;

// unifyPHCoord, with the common case of a mantissa already of unit length answered at once.
inline int unifyQuick(PHCoord* p) {
  double sq = p->x * p->x + p->y * p->y + p->z * p->z;
  if (fabs(sq - 1.0) < kUnitSquareTolerance) return 1;
  return unifyPHCoord(p);
}

// Stars are records of several cache lines, read backwards; a frame is bound by memory unless the
// lines a star needs are asked for this many stars ahead.
constexpr int kPrefetchAhead = 16;

// Asks for the lines of a star that the selection and colouring read and write. A field may
// straddle two lines, so both of its ends are asked for.
inline void prefetchStar(const NODE_StarObject* s) {
  __builtin_prefetch(&s->pos.x, 0, 3);
  __builtin_prefetch(&s->pos.s, 0, 3);
  __builtin_prefetch(&s->cmapRgba[0], 0, 3);
  __builtin_prefetch(&s->lumMag, 0, 3);
  __builtin_prefetch(&s->curVMag, 1, 3);
}

// The camera of one frame, unified and negated once, so that a star relative to it is one sum.
struct Camera {
  PHCoord minus;  // minus the camera position, unified
  bool atOrigin;  // zero mantissa: a star relative to the camera is the star
};

Camera cameraOf(PHCoord cameraPos) {
  Camera c;
  c.minus = multPHCoord(cameraPos, -1.0);
  c.atOrigin = unifyPHCoord(&c.minus) == -1;
  return c;
}

// pos - camera, with the rules of subPHCoord: both operands unified, a zero operand or one more than
// fifteen decades shorter dropped, otherwise the sum at the smaller exponent, not unified. *unified
// tells whether the result is one of the operands, unified and not zero, so that unifying it again
// would change nothing.
inline PHCoord relativeToCamera(const PHCoord& pos, const Camera& cam, bool* unified) {
  PHCoord a = pos;
  bool aZero = unifyQuick(&a) == -1;
  *unified = !aZero;
  if (cam.atOrigin) return a;
  const PHCoord& b = cam.minus;
  *unified = true;
  if (aZero) return b;
  if (a.s > b.s + kMaxDecades) return a;
  if (b.s > a.s + kMaxDecades) return b;
  *unified = false;
  PHCoord sum;
  if (a.s > b.s) {
    double k = pow(10.0, a.s - b.s);
    sum.x = a.x * k + b.x, sum.y = a.y * k + b.y, sum.z = a.z * k + b.z, sum.s = b.s;
  } else {
    double k = pow(10.0, b.s - a.s);
    sum.x = a.x + b.x * k, sum.y = a.y + b.y * k, sum.z = a.z + b.z * k, sum.s = a.s;
  }
  return sum;
}

// Writes v into *dst unless it holds the very same bits: most frames see the magnitudes of the
// frame before, and a record left clean is one that need not go back to memory.
inline void storeUnlessSame(float* dst, float v) {
  if (memcmp(dst, &v, sizeof v) != 0) *dst = v;
}

// True if a star at (x, y, z) from the camera is in front of it (or at it).
inline bool inFront(double x, double y, double z, const FrameView& fv) {
  return !(x * fv.v[0] + y * fv.v[1] + z * fv.v[2] < 0);
}

// The first half of the selection of one star: spectral class and side of the camera. Leaves the
// star relative to the camera in distVec, and in *unified whether that is unified already. True
// if the star is in front of the camera (or at it).
inline bool selectBySide(StarList& list, const NODE_StarObject* star, const FrameView& fv, const Camera& cam,
                         PHCoord& distVec, bool* unified) {
  if (fv.sptypeOn && !list.isSptypeSelected(star->spClass[0], star->spNum)) return false;
  distVec = relativeToCamera(star->pos, cam, unified);
  return inFront(distVec.x, distVec.y, distVec.z, fv);
}

// Camera distance, magnitude and magnitude range of a star in front: unifies distVec and writes
// the magnitude into *vmag unless the distance drops the star. kMemoDrawable means the star goes
// on to be sized.
inline StarMemoState magnitudeState(StarList& list, const FrameView& fv, PHCoord& distVec, bool unified, float lumMag,
                                    float* vmag) {
  if (!unified && unifyQuick(&distVec) == -1) distVec.s = -DBL_MAX;  // at the camera
  if (list.logZRangeOn && !(list.logScaleNear <= distVec.s && distVec.s <= list.logScaleFar)) return kMemoDropped;
  *vmag = (float)list.computeVMag(lumMag, (float)distVec.s);
  if (fv.vmagOn && !((float)list.param.vmagRangeMin <= *vmag && *vmag <= (float)list.param.vmagRangeMax))
    return kMemoFaint;
  return kMemoDrawable;
}

// The second half of the selection: camera distance, magnitude and magnitude range. Unifies
// distVec, and writes the star's curVMag when it gets that far. True if the star stays.
inline bool selectByMagnitude(StarList& list, NODE_StarObject* star, const FrameView& fv, PHCoord& distVec,
                              bool unified) {
  float vmag;
  StarMemoState st = magnitudeState(list, fv, distVec, unified, star->lumMag, &vmag);
  if (st == kMemoDropped) return false;
  storeUnlessSame(&star->curVMag, vmag);
  return st == kMemoDrawable;
}

// Selection and size of one star. Leaves the star relative to the camera, unified, in distVec, and
// writes the star's curVMag when it gets that far.
inline StarPick selectStar(StarList& list, NODE_StarObject* star, int index, const FrameView& fv, const Camera& cam,
                           PHCoord& distVec, int* px, int* alpha) {
  bool unified;
  if (!selectBySide(list, star, fv, cam, distVec, &unified)) return kSkipped;
  if (!selectByMagnitude(list, star, fv, distVec, unified)) return kSkipped;
  if (list.computePXSizeAlpha(px, alpha, star->curVMag, list.param.starScale, (float)fv.radPerPixel, index) != 0)
    return kTooSmall;
  return kDrawable;
}

// A plain frame goes through its stars in runs: first the selection of a run, then the sizes of
// all of it, then colours and places, and only then the points to GL, so that the arithmetic of
// one star overlaps that of the next instead of waiting between calls into the driver.
constexpr int kRunLength = 128;

struct StarRun {
  int n;
  NODE_StarObject* star[kRunLength];
  PHCoord dist[kRunLength];
  float vmag[kRunLength];
  int px[kRunLength];
  int alpha[kRunLength];
  int tooSmall[kRunLength];
  float rgba[kRunLength][4];
  double pos[kRunLength][3];
};

// Selects the stars of the next run, from index i down to first, at most kRunLength of them;
// returns the index to go on from.
int gatherRun(StarList& list, int i, int first, const FrameView& fv, const Camera& cam, StarRun& run) {
  // Which side of the camera a star is on follows no pattern that a branch predictor could learn:
  // the stars in front are counted rather than branched to, and only they go on to the second half.
  bool unified[kRunLength];
  int end = i - kRunLength < first - 1 ? first - 1 : i - kRunLength;
  int m = 0;
  for (; i > end; i--) {
    if (i - kPrefetchAhead >= first) prefetchStar(list.stars + (i - kPrefetchAhead));
    NODE_StarObject* star = &list.stars[i];
    run.star[m] = star;
    m += selectBySide(list, star, fv, cam, run.dist[m], &unified[m]);
  }
  run.n = 0;
  for (int k = 0; k < m; k++) {
    NODE_StarObject* star = run.star[k];
    if (!selectByMagnitude(list, star, fv, run.dist[k], unified[k])) continue;
    run.star[run.n] = star;
    run.dist[run.n] = run.dist[k];
    run.vmag[run.n] = star->curVMag;
    run.n++;
  }
  return i;
}

// What colours a frame's stars, worked out once: the start of the chain and which factors follow.
struct ColorFrame {
  const float* start;
  bool chain;
  bool fileColor;
  bool colorMap;
  bool distScale;
  bool exposure;
  bool tune;
  float exposureValue;
  float tuneValue;
};

ColorFrame colorFrameOf(const StarList& list, int flags) {
  const int colouring = STAR_DRAW_FILE_COLOR | STAR_DRAW_COLORMAP | STAR_DRAW_COLOR_BIT4 | STAR_DRAW_DIST_SCALE;
  ColorFrame cf;
  cf.chain = (flags & colouring) != 0;
  cf.start = cf.chain ? list.uniformColor : list.baseColor;
  cf.fileColor = (flags & STAR_DRAW_FILE_COLOR) != 0;
  cf.colorMap = (flags & STAR_DRAW_COLORMAP) && (list.bvColorMap || list.spColorMap);
  cf.distScale = (flags & STAR_DRAW_DIST_SCALE) != 0;
  cf.exposure = list.exposureOn != 0;
  cf.tune = list.tuneOn != 0;
  cf.exposureValue = list.param.exposure;
  cf.tuneValue = list.param.tuneIntensity;
  return cf;
}

// The opacity of gamma-table row alpha, its two low bits dropped.
inline float alphaValueOf(const unsigned char* gammaTable, int alpha) {
  // The size model keeps the alpha index within the table; the bound only guards it.
  if (alpha < 0) alpha = 0;
  if (alpha > kLastAlphaIndex) alpha = kLastAlphaIndex;
  return (float)((gammaTable[alpha] & kAlphaKeepMask) / (double)kMaxAlphaIndex);
}

// The opacity of every gamma-table row, for one frame.
struct AlphaValues {
  float value[kLastAlphaIndex + 1];
  explicit AlphaValues(const unsigned char* gammaTable) {
    for (int a = 0; a <= kLastAlphaIndex; a++) value[a] = alphaValueOf(gammaTable, a);
  }
  float operator()(int alpha) const {
    return value[alpha < 0 ? 0 : (alpha > kLastAlphaIndex ? kLastAlphaIndex : alpha)];
  }
};

// The colouring chain of one star: the start colour, times each chosen factor, the opacity, then
// exposure and tuning of the colour channels.
inline void colorOf(const ColorFrame& cf, const NODE_StarObject* star, float alphaValue, float* rgba) {
  memcpy(rgba, cf.start, 4 * sizeof(float));
  if (cf.chain) {
    if (cf.fileColor)
      for (int i = 0; i < 4; i++) rgba[i] *= star->rgba[i];
    if (cf.colorMap)
      for (int i = 0; i < 4; i++) rgba[i] *= star->cmapRgba[i];
    if (cf.distScale) {
      Color c = colorMapScale(star->pos.s);
      rgba[0] *= c.r;
      rgba[1] *= c.g;
      rgba[2] *= c.b;
      rgba[3] *= c.a;
    }
  }
  rgba[3] = alphaValue;
  if (cf.exposure)
    for (int i = 0; i < 3; i++) rgba[i] = (float)pow((double)rgba[i], (double)cf.exposureValue);
  if (cf.tune)
    for (int i = 0; i < 3; i++) {
      rgba[i] *= cf.tuneValue;
      if (rgba[i] > kFullChannel) rgba[i] = kFullChannel;
    }
}

// The bucket rule: a point of the open run's size goes straight out; another waits in the bucket
// of its size; a full bucket becomes the run's size and goes out whole, with the point after it.
void emitPoint(StarList& list, int& current, int px, const float* rgba, const double* pos) {
  if (px == current) {
    glColor4fv(rgba);
    glVertex3dv(pos);
    return;
  }
  if (list.bucketCount[px] < list.bucketSize) {
    StarList::CPoint& p = list.buckets[px][list.bucketCount[px]++];
    p.pos[0] = pos[0];
    p.pos[1] = pos[1];
    p.pos[2] = pos[2];
    p.rgba[0] = rgba[0];
    p.rgba[1] = rgba[1];
    p.rgba[2] = rgba[2];
    p.rgba[3] = rgba[3];
    return;
  }
  current = px;
  glEnd();
  glPointSize(current * kPixelsPerHalfPixel);
  glBegin(GL_POINTS);
  list.dumpCPoints(list.buckets[px], list.bucketCount[px]);
  list.bucketCount[px] = 0;
  glColor4fv(rgba);
  glVertex3dv(pos);
}

// What waits in the buckets goes out, smallest size first, inside an open run which ends open.
void flushBuckets(StarList& list) {
  for (int i = 0; i < STAR_NUM_BUCKETS; i++) {
    if (list.bucketCount[i] == 0) continue;
    glEnd();
    glPointSize(i * kPixelsPerHalfPixel);
    glBegin(GL_POINTS);
    list.dumpCPoints(list.buckets[i], list.bucketCount[i]);
    list.bucketCount[i] = 0;
  }
}

// A size that the buckets cannot hold goes to the largest they do; the size model keeps within
// them, so this only guards.
int bucketIndex(int px) {
  return px < 0 ? 0 : (px > STAR_MAX_PX_SIZE ? STAR_MAX_PX_SIZE : px);
}

// ---------------------------------------------------------------------------------------------
// Frames seen from the origin, through the memo
//
// From the origin a star's place relative to the camera is its own position, so everything the
// selection, size and colour make of it depends on the star and on the frame's settings, not on
// where the view looks. A frame works a star out once, when it is in front and its entry stale,
// and the frames after it with the same key only test its side. The entries hold the very values
// the frame without them computes, so the calls to GL are the same to the last bit.

static_assert(sizeof(StarFrameKey::sqrtTable) == STAR_SQRT_TABLE_LEN, "the key holds the square-root table");
static_assert(sizeof(StarFrameKey::invSqTable) == sizeof(float) * STAR_INVSQ_TABLE_LEN,
              "the key holds the inverse-square table");
static_assert(STAR_MAX_PX_SIZE < 64, "an entry keeps the size in six bits");

StarFrameKey frameKeyOf(const StarList& list, const ColorFrame& cf, const FrameView& fv) {
  StarFrameKey k;
  k.stars = list.stars;
  k.numStars = list.numStars;
  k.starDataStamp = list.starDataStamp;
  k.logScale = fv.logScale;
  memcpy(k.start, cf.start, sizeof k.start);
  k.chain = cf.chain;
  k.fileColor = cf.fileColor;
  k.colorMap = cf.colorMap;
  k.distScale = cf.distScale;
  k.exposure = cf.exposure;
  k.tune = cf.tune;
  k.exposureValue = cf.exposureValue;
  k.tuneValue = cf.tuneValue;
  memcpy(k.gammaTable, list.gammaTable, sizeof k.gammaTable);
  k.starScale = list.param.starScale;
  k.radPerPixel = (float)fv.radPerPixel;
  k.texScale = list.param.texScale;
  k.pxMax = list.pxMax;
  memcpy(k.sqrtTable, list.sqrtTable, sizeof k.sqrtTable);
  memcpy(k.invSqTable, list.invSqTable, sizeof k.invSqTable);
  k.vmagMin = list.param.vmagMin;
  k.vmagOn = fv.vmagOn;
  k.vmagRangeMin = list.param.vmagRangeMin;
  k.vmagRangeMax = list.param.vmagRangeMax;
  k.logZRangeOn = list.logZRangeOn != 0;
  k.logScaleNear = list.logScaleNear;
  k.logScaleFar = list.logScaleFar;
  k.sptypeOn = fv.sptypeOn;
  for (int i = 0; i < STAR_NUM_SPTYPES; i++) {
    k.sptypeRowOn[i] = list.param.sptypeOn[i];
    k.sptypeMin[i] = list.param.sptypeMin[i];
    k.sptypeMax[i] = list.param.sptypeMax[i];
  }
  return k;
}

// A star that the frame must work out: where it is, and what the first half of the selection
// made of it.
struct StaleStar {
  int i;
  PHCoord dist;
  bool unified;
};

// The start of filling a stale entry, the side of the camera apart: a star that its spectral type
// drops is filled at once, dropped (false). Otherwise *st holds the star relative to the camera.
inline bool memoStart(StarList& list, int i, const FrameView& fv, const Camera& cam, StarMemoEntry& e, unsigned gen,
                      StaleStar* st) {
  const NODE_StarObject* star = &list.stars[i];
  if (fv.sptypeOn && !list.isSptypeSelected(star->spClass[0], star->spNum)) {
    e.gen = gen;
    e.state = kMemoDropped;
    return false;
  }
  st->i = i;
  st->dist = relativeToCamera(star->pos, cam, &st->unified);
  return true;
}

// The side of the camera: a star behind it gets only its place, for the side test of the frames
// after this one, and false.
inline bool memoSide(const StaleStar& st, const FrameView& fv, StarMemoEntry& e, unsigned gen) {
  if (inFront(st.dist.x, st.dist.y, st.dist.z, fv)) return true;
  e.gen = gen;
  e.state = kMemoSideOnly;
  e.x = st.dist.x, e.y = st.dist.y, e.z = st.dist.z;
  return false;
}

// The middle of filling the entry of a star in front: distance and magnitude, which goes to the
// star's curVMag as in the frame without the memo. True if the star goes on to be sized.
inline bool memoMagnitude(StarList& list, const FrameView& fv, StaleStar& st, StarMemoEntry& e, unsigned gen) {
  NODE_StarObject* star = &list.stars[st.i];
  e.gen = gen;
  e.state = magnitudeState(list, fv, st.dist, st.unified, star->lumMag, &e.vmag);
  e.x = st.dist.x, e.y = st.dist.y, e.z = st.dist.z, e.s = st.dist.s;
  if (e.state != kMemoDropped) storeUnlessSame(&star->curVMag, e.vmag);
  return e.state == kMemoDrawable;
}

// The end: size, opacity, colour and the placing factor.
inline void memoSized(const ColorFrame& cf, const NODE_StarObject* star, const AlphaValues& alphaValues,
                      double logScale, int tooSmall, int px, int alpha, StarMemoEntry& e) {
  if (tooSmall) {
    e.state = kMemoTooSmall;
    return;
  }
  // The size model gives sizes of 1 to 63 half pixels and rows of 0 to 255.
  e.px = (unsigned char)bucketIndex(px);
  e.alpha = (unsigned char)(alpha < 0 ? 0 : (alpha > kLastAlphaIndex ? kLastAlphaIndex : alpha));
  colorOf(cf, star, alphaValues(alpha), e.rgba);
  e.k = placeFactor(e.s, logScale);
}

inline void placeEntry(const StarMemoEntry& e, double pos[3]) {
  pos[0] = e.x * e.k;
  pos[1] = e.y * e.k;
  pos[2] = e.z * e.k;
}

// The points of a plain frame, in runs as drawPoints has them: the entries of the run tested for
// side, the stale ones in front worked out, their sizes together, and then the points in order.
void drawPointsThroughMemo(StarList& list, int first, int last, const FrameView& fv, const Camera& cam,
                           const ColorFrame& cf, const AlphaValues& alphaValues, int& current) {
  StarDrawMemo& memo = list.drawMemo;
  StarMemoEntry* entries = memo.entries.data();
  const unsigned gen = memo.gen;
  int front[kRunLength];
  StaleStar stale[kRunLength];
  int sized[kRunLength];
  float vmag[kRunLength];
  int px[kRunLength], alpha[kRunLength], tooSmall[kRunLength];
  for (int i = last; i >= first;) {
    int end = i - kRunLength < first - 1 ? first - 1 : i - kRunLength;
    int m = 0, ns = 0;
    for (; i > end; i--) {
      StarMemoEntry& e = entries[i];
      if (e.gen == gen) {
        if (e.state == kMemoDropped) continue;
        bool seen = inFront(e.x, e.y, e.z, fv);
        if (e.state != kMemoSideOnly) {
          front[m] = i;
          m += seen;
          continue;
        }
        if (!seen) continue;
        // A star seen only from behind so far comes into view: it is worked out below.
      }
      if (i - kPrefetchAhead >= first) prefetchStar(list.stars + (i - kPrefetchAhead));
      if (!memoStart(list, i, fv, cam, e, gen, &stale[ns])) continue;
      if (!memoSide(stale[ns], fv, e, gen)) continue;
      front[m++] = i;
      ns++;
    }
    int nz = 0;
    for (int k = 0; k < ns; k++) {
      if (!memoMagnitude(list, fv, stale[k], entries[stale[k].i], gen)) continue;
      sized[nz] = stale[k].i;
      vmag[nz] = entries[stale[k].i].vmag;
      nz++;
    }
    starPXSizesAlphas(list, vmag, nz, list.param.starScale, (float)fv.radPerPixel, px, alpha, tooSmall);
    for (int k = 0; k < nz; k++)
      memoSized(cf, &list.stars[sized[k]], alphaValues, fv.logScale, tooSmall[k], px[k], alpha[k], entries[sized[k]]);
    for (int k = 0; k < m; k++) {
      const StarMemoEntry& e = entries[front[k]];
      if (e.state != kMemoDrawable) continue;
      double pos[3];
      placeEntry(e, pos);
      emitPoint(list, current, e.px, e.rgba, pos);
    }
  }
}

// Pass one of a textured frame: the billboards, and the stars that wait for pass two noted in the
// memo and, as in the frame without it, in their records.
void drawBillboardsThroughMemo(StarList& list, int first, int last, const FrameView& fv, const Camera& cam,
                               const ColorFrame& cf, const AlphaValues& alphaValues) {
  StarDrawMemo& memo = list.drawMemo;
  StarMemoEntry* entries = memo.entries.data();
  const unsigned gen = memo.gen;
  memo.pointsAfter.clear();
  for (int i = last; i >= first; i--) {
    if (i - kPrefetchAhead >= first) __builtin_prefetch(&list.stars[i - kPrefetchAhead].pxSize, 1, 3);
    NODE_StarObject* star = &list.stars[i];
    star->pxSize = 0;
    StarMemoEntry& e = entries[i];
    if (e.gen == gen && e.state == kMemoDropped) continue;
    if (e.gen == gen && !inFront(e.x, e.y, e.z, fv)) continue;
    if (e.gen != gen || e.state == kMemoSideOnly) {
      StaleStar st;
      if (!memoStart(list, i, fv, cam, e, gen, &st)) continue;
      if (!memoSide(st, fv, e, gen)) continue;
      if (memoMagnitude(list, fv, st, e, gen)) {
        int px, alpha;
        int tooSmall = list.computePXSizeAlpha(&px, &alpha, e.vmag, list.param.starScale, (float)fv.radPerPixel, i);
        memoSized(cf, star, alphaValues, fv.logScale, tooSmall, px, alpha, e);
      }
    }
    if (e.state != kMemoDrawable) continue;
    if (e.px < list.param.pxsizeTex) {
      star->pxSize = e.px;
      star->pxAlpha = e.alpha;
      star->viewVec = PHCoord{e.x, e.y, e.z, e.s};
      memo.pointsAfter.push_back(i);  // room for every star was made when the key was taken
      continue;
    }
    double pos[3], up[3] = {fv.u[0], fv.u[1], fv.u[2]};
    float rgba[4];
    placeEntry(e, pos);
    memcpy(rgba, e.rgba, sizeof rgba);
    list.renderBillBstar(pos, up, rgba, fv.radPerPixel, e.px, fv.aspect);
  }
}

}  // namespace

void StarList::drawStars(double logScale, int flags, int width, int height) {
  // The camera and the current star: kept for the process, so drawing is not re-entrant.
  static PHCoord cameraPos;
  static PHCoord distVec;
  static int lutReady = 0;

  if (param.texScale < kMinTexScale) return;

  FrameView fv;
  fv.logScale = logScale;
  double m[16], inv[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, inv);
  invert4by4(inv);
  cameraPos.x = inv[12];
  cameraPos.y = inv[13];
  cameraPos.z = inv[14];
  cameraPos.s = logScale;

  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  fv.v[0] = -m[2];
  fv.v[1] = -m[6];
  fv.v[2] = -m[10];
  unify3D(fv.v);
  fv.u[0] = m[1];
  fv.u[1] = m[5];
  fv.u[2] = m[9];

  // Positions will be camera-relative: the model-view keeps only its rotation.
  glPushMatrix();
  m[12] = m[13] = m[14] = 0.0;
  glLoadIdentity();
  glMultMatrixd(m);

  double p[16];
  glGetDoublev(GL_PROJECTION_MATRIX, p);
  if (width < 1 || height < 1) {
    GLint viewport[4];
    glGetIntegerv(GL_VIEWPORT, viewport);
    width = viewport[2];
    height = viewport[3];
  }
  fv.aspect = (p[5] / p[0]) * ((double)height / width);
  fv.radPerPixel = 1.0 / (height * 0.5 * p[5]);
  if (fv.radPerPixel < kMinRadPerPixel) fv.radPerPixel = kMinRadPerPixel;

  int current = kStartPointSize;
  glPointSize(current * kPixelsPerHalfPixel);

  glPushAttrib(kAllAttribBits);
  glEnable(GL_POINT_SMOOTH);
  glHint(GL_POINT_SMOOTH_HINT, GL_NICEST);
  glDisable(GL_CULL_FACE);
  glEnable(GL_BLEND);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_LIGHTING);
  glDepthMask(GL_FALSE);

  if (!lutReady) {
    lutReady = 1;
    initLUT();
  }
  if (param.textureSource != STAR_TEX_NONE && texId == 0) {
    if (initTexture(&texId) == -1) exit(1);
  }

  for (int i = 0; i < STAR_NUM_BUCKETS; i++) bucketCount[i] = 0;
  const Camera cam = cameraOf(cameraPos);
  fv.sptypeOn = param.sptypeRangeOn != 0;
  fv.vmagOn = param.vmagRangeOn != 0;
  const ColorFrame cf = colorFrameOf(*this, flags);
  const AlphaValues alphaValues(gammaTable);

  int first, last, px, alpha;
  float rgba[4];
  double pos[3];
  // Picking names every star by its own point, so it takes the way without the memo.
  const bool memoOn =
      drawMemoOn && !pickMode && cam.atOrigin && drawMemo.open(frameKeyOf(*this, cf, fv), numStars);
  if (pickMode) {
    // Every selected star is a named point, also one too faint to show, so that it can be picked.
    starRange(*this, false, &first, &last);
    for (int i = last; i >= first; i--) {
      if (i - kPrefetchAhead >= first) prefetchStar(stars + (i - kPrefetchAhead));
      StarPick pick = selectStar(*this, &stars[i], i, fv, cam, distVec, &px, &alpha);
      if (pick == kSkipped) continue;
      if (pick == kTooSmall) px = 1;
      placeStar(distVec, logScale, pos);
      glPointSize(px * kPixelsPerHalfPixel);
      glLoadName(i);
      glBegin(GL_POINTS);
      glVertex3dv(pos);
      glEnd();
    }
  } else if ((flags & STAR_DRAW_TEXTURED) && param.textureSource != STAR_TEX_NONE) {
    // Without a texture source there is no texture and no measured radius to size a billboard
    // with: such a frame takes the plain branch below.
    starRange(*this, true, &first, &last);
    // Pass one: billboards, added onto what is there; the smaller stars wait for pass two.
    glEnable(GL_TEXTURE_2D);
    glBindTexture(GL_TEXTURE_2D, texId);
    glTexEnvi(GL_TEXTURE_ENV, GL_TEXTURE_ENV_MODE, GL_MODULATE);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE);
    if (memoOn) {
      drawBillboardsThroughMemo(*this, first, last, fv, cam, cf, alphaValues);
    } else {
      for (int i = last; i >= first; i--) {
        if (i - kPrefetchAhead >= first) prefetchStar(stars + (i - kPrefetchAhead));
        NODE_StarObject* star = &stars[i];
        star->pxSize = 0;
        if (selectStar(*this, star, i, fv, cam, distVec, &px, &alpha) != kDrawable) continue;
        if (px < param.pxsizeTex) {
          star->pxSize = px;
          star->pxAlpha = alpha;
          star->viewVec = distVec;
          continue;
        }
        colorOf(cf, star, alphaValues(alpha), rgba);
        placeStar(distVec, logScale, pos);
        renderBillBstar(pos, fv.u, rgba, fv.radPerPixel, px, fv.aspect);
      }
    }
    // Pass two: the waiting stars as points, over the billboards.
    glDisable(GL_TEXTURE_2D);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glBegin(GL_POINTS);
    if (memoOn) {
      for (int i : drawMemo.pointsAfter) {
        const StarMemoEntry& e = drawMemo.entries[i];
        placeEntry(e, pos);
        emitPoint(*this, current, e.px, e.rgba, pos);
      }
    } else {
      for (int i = last; i >= first; i--) {
        NODE_StarObject* star = &stars[i];
        if (star->pxSize == 0) continue;
        colorOf(cf, star, alphaValues(star->pxAlpha), rgba);
        placeStar(star->viewVec, logScale, pos);
        emitPoint(*this, current, bucketIndex(star->pxSize), rgba, pos);
      }
    }
    flushBuckets(*this);
    glEnd();
  } else {
    starRange(*this, true, &first, &last);
    glBlendFunc(GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA);
    glBegin(GL_POINTS);
    if (memoOn) {
      drawPointsThroughMemo(*this, first, last, fv, cam, cf, alphaValues, current);
    } else {
      StarRun run;
      for (int i = last; i >= first;) {
        i = gatherRun(*this, i, first, fv, cam, run);
        starPXSizesAlphas(*this, run.vmag, run.n, param.starScale, (float)fv.radPerPixel, run.px, run.alpha,
                          run.tooSmall);
        for (int k = 0; k < run.n; k++) {
          if (run.tooSmall[k]) continue;
          colorOf(cf, run.star[k], alphaValues(run.alpha[k]), run.rgba[k]);
          placeStar(run.dist[k], logScale, run.pos[k]);
        }
        for (int k = 0; k < run.n; k++)
          if (!run.tooSmall[k]) emitPoint(*this, current, bucketIndex(run.px[k]), run.rgba[k], run.pos[k]);
      }
    }
    flushBuckets(*this);
    glEnd();
  }

  glPopMatrix();
  glPopAttrib();
}

float* StarList::computeColor(NODE_StarObject* star, int flags, int alpha, float* rgba) {
  colorOf(colorFrameOf(*this, flags), star, alphaValueOf(gammaTable, alpha), rgba);
  return rgba;
}

void StarList::renderBillBstar(double* pos, double* up, float* rgba, double radPerPixel, int pxSize, double aspect) {
  glColor4fv(rgba);
  double len = length3D(pos);
  // A star at the eye has no direction to face; it would not show in any case.
  if (!(len > 0)) return;
  // pxSize counts half pixels, so a quarter of it in radians per pixel is the angular radius.
  double half = tan(pxSize * 0.25 * radPerPixel) * len / texDiam / 2.0;
  double halfW = half * aspect;

  double u[3] = {up[0], up[1], up[2]};
  unify3D(u);
  double f[3] = {pos[0] / len, pos[1] / len, pos[2] / len};
  double r[3];
  cross3D(u, f, r);
  const double basis[16] = {r[0], r[1], r[2], 0, u[0], u[1], u[2], 0, f[0], f[1], f[2], 0, 0, 0, 0, 1};

  double t0 = (param.textureSource == STAR_TEX_AIRY || param.textureSource == STAR_TEX_FFT) ? kComputedTexBorder : 0.0;
  glPushMatrix();
  glTranslated(pos[0], pos[1], pos[2]);
  glMultMatrixd(basis);
  glBegin(GL_QUAD_STRIP);
  glTexCoord2d(t0, t0);
  glVertex2d(-halfW, -half);
  glTexCoord2d(1, t0);
  glVertex2d(halfW, -half);
  glTexCoord2d(t0, 1);
  glVertex2d(-halfW, half);
  glTexCoord2d(1, 1);
  glVertex2d(halfW, half);
  glEnd();
  glPopMatrix();
}

void StarList::dumpCPoints(CPoint* points, int n) {
  for (int i = 0; i < n; i++) {
    glColor4fv(points[i].rgba);
    glVertex3dv(points[i].pos);
  }
}

void StarList::drawStarsErrors(double logScale) {
  glColor4fv(kErrorBarColor);
  int first, last;
  starRange(*this, true, &first, &last);
  glPushAttrib(kAllAttribBits);
  glDisable(GL_TEXTURE_2D);
  glDisable(GL_LIGHTING);
  glPointSize(kErrorBarPointSize);
  const bool sptypeOn = param.sptypeRangeOn != 0, vmagOn = param.vmagRangeOn != 0;
  glBegin(GL_LINES);
  for (int i = last; i >= first; i--) {
    const NODE_StarObject& star = stars[i];
    if (star.distErr < kMinDistErr) continue;
    if (sptypeOn && !isSptypeSelected(star.spClass[0], star.spNum)) continue;
    // The magnitude is the one the last frame saw.
    if (vmagOn && !(param.vmagRangeMin <= star.curVMag && star.curVMag <= param.vmagRangeMax)) continue;
    // No camera here: the bar stands in the caller's space, around the origin.
    PHCoord p = star.pos;
    p.s -= logScale;
    if (unifyPHCoord(&p) == -1) p.s = -DBL_MAX;
    if (!(kErrorBarNearDecades < p.s && p.s < kErrorBarFarDecades)) continue;
    double d = pow(10.0, p.s);
    double nearEnd[3] = {0.0, 0.0, 0.0};
    if (star.distErr < 1) {
      nearEnd[0] = p.x * (1 - star.distErr) * d;
      nearEnd[1] = p.y * (1 - star.distErr) * d;
      nearEnd[2] = p.z * (1 - star.distErr) * d;
    }
    double farEnd[3] = {p.x * (1 + star.distErr) * d, p.y * (1 + star.distErr) * d, p.z * (1 + star.distErr) * d};
    glVertex3dv(nearEnd);
    glVertex3dv(farEnd);
  }
  glEnd();
  glPopAttrib();
}

int StarList::isSptypeSelected(char spClass, float spNum) {
  int row = sptypeRow(spClass);
  // A class without a range of its own stays in.
  if (!param.sptypeOn[row]) return 1;
  return param.sptypeMin[row] <= spNum && spNum <= param.sptypeMax[row] ? 1 : 0;
}

// ---------------------------------------------------------------------------------------------
// Year, warp, selection and standard of rest

void StarList::setStarAtYear(int year) {
  param.starAtYear = year;
  resetCoord();
}

int StarList::getStarAtYear() {
  return param.starAtYear;
}

void StarList::setDatasetYear(int year) {
  param.datasetYear = year;
  resetCoord();
}

int StarList::getDatasetYear() {
  return param.datasetYear;
}

void StarList::enableSphWarp() {
  sphWarpOn = 1;
  resetCoord();
}

void StarList::disableSphWarp() {
  sphWarpOn = 0;
  resetCoord();
}

int StarList::setSphWarp(const double* dir, double angleFrm, double angleTo) {
  // Written as "not inside" so that a value that is not a number is refused too.
  if (!(angleFrm >= 0 && angleFrm <= kPi)) {
    fprintf(stderr, "Err (StarList::setSphWarp): inSphwarpAngleFrm is out of range [0,pi].\n");
    return -1;
  }
  if (!(angleTo >= 0 && angleTo <= kPi)) {
    fprintf(stderr, "Err (StarList::setSphWarp): inSphwarpAngleTo is out of range [0,pi].\n");
    return -1;
  }
  double d[3] = {0.0, 0.0, 0.0};
  if (dir) copy3D(d, dir);
  if (!dir || !unify3D(d) || !std::isfinite(d[0] + d[1] + d[2])) {
    fprintf(stderr, "Err (StarList::setSphWarp): inSphwarpDir is not a valid direction.\n");
    return -1;
  }
  if (equalVec3D_Ep(d, sphwarpDir, kSphWarpSame) && fabs(angleFrm - sphwarpAngleFrm) < kSphWarpSame &&
      fabs(angleTo - sphwarpAngleTo) < kSphWarpSame)
    return 1;
  copy3D(sphwarpDir, d);
  sphwarpAngleFrm = angleFrm;
  sphwarpAngleTo = angleTo;
  if (sphWarpOn) resetCoord();
  return 1;
}

int StarList::setSphWarpEq(double (*fn)(double, double, double)) {
  if (!fn) return -1;
  sphwarpEqFunc = fn;
  return 1;
}

int StarList::setZRangeOn(double minZ, double maxZ) {
  if (!(minZ <= maxZ)) {
    fprintf(stderr, "Err(setZRangeOn) : inMinZ > inMaxZ\n\n");
    return -1;
  }
  param.zRangeMin = minZ;
  param.zRangeMax = maxZ;
  param.zRangeOn = 1;
  resetZRange();
  return 1;
}

void StarList::setZRangeOff() {
  param.zRangeOn = 0;
}

int StarList::setVMagRangeOn(double minVMag, double maxVMag) {
  if (!(minVMag <= maxVMag)) {
    fprintf(stderr, "Err(setVMagRangeOn) : inMinVMag > inMaxVMag\n\n");
    return -1;
  }
  param.vmagRangeMin = minVMag;
  param.vmagRangeMax = maxVMag;
  param.vmagRangeOn = 1;
  return 1;
}

void StarList::setVMagRangeOff() {
  param.vmagRangeOn = 0;
}

int StarList::setSptypeRangeOn(Sptype type, double min, double max) {
  if ((int)type < SPTYPE_O || (int)type >= STAR_NUM_SPTYPES) {
    fprintf(stderr, "Err(setSptypeRangeOn) : sptype out of range\n\n");
    return -1;
  }
  if (!(min <= max)) {
    fprintf(stderr, "Err(setSptypeRangeOn) : rangeMin should be <= rangeMax\n\n");
    return -1;
  }
  param.sptypeOn[type] = 1;
  param.sptypeMin[type] = (float)min;
  param.sptypeMax[type] = (float)max;
  param.sptypeRangeOn = 1;
  return 1;
}

int StarList::setSptypeRangeOff(Sptype type) {
  if ((int)type < SPTYPE_O || (int)type >= STAR_NUM_SPTYPES) {
    // The same text as the on-setter's.
    fprintf(stderr, "Err(setSptypeRangeOn) : sptype out of range\n\n");
    return -1;
  }
  param.sptypeOn[type] = 0;
  param.sptypeRangeOn = 0;
  for (int i = 0; i < STAR_NUM_SPTYPES; i++)
    if (param.sptypeOn[i]) param.sptypeRangeOn = 1;
  return 1;
}

void StarList::setSptypeRangeAllOn() {
  param.sptypeRangeOn = 1;
}

void StarList::setSptypeRangeAllOff() {
  param.sptypeRangeOn = 0;
}

int StarList::setZRange(double inLogScaleNear, double inLogScaleFar) {
  if (!(inLogScaleNear <= inLogScaleFar)) {
    fprintf(stderr, "Err (StarList::setZRange): inLogScaleNear should be smaller than inLogScaleFar\n\n");
    return -1;
  }
  logScaleNear = inLogScaleNear;
  logScaleFar = inLogScaleFar;
  return 1;
}

int StarList::setLSR(const double* lsr) {
  if (!lsr) {
    fprintf(stderr, "Err (setLSR)  : inLSR input is NULL.\n\n");
    return -1;
  }
  copy3D(param.LSR, lsr);
  resetVelocity(1);
  return 1;
}
