// What a frame seen from the origin works out for each star that does not depend on the direction
// of view: kept from frame to frame, so that a view that only turns redoes the side test of each
// star and sends the points, and nothing else.
#pragma once

#include <cstdint>
#include <vector>

// What the selection made of a star, apart from the side of the camera it is on.
enum StarMemoState : unsigned char {
  kMemoDropped = 0,   // left out by spectral type or camera distance, curVMag untouched
  kMemoFaint = 1,     // left out by the magnitude range, curVMag written
  kMemoTooSmall = 2,  // too small to show, curVMag written
  kMemoDrawable = 3,
  kMemoSideOnly = 4,  // only x, y, z are filled: the star was behind the camera when last seen
};

// One star's entry: a cache line.
struct alignas(64) StarMemoEntry {
  double x, y, z, s;  // the star relative to the camera, unified (the side test reads x, y, z)
  double k;           // 10 to the placed depth: the point sent is (x, y, z) times k
  float rgba[4];      // colour of the point or billboard
  float vmag;         // apparent magnitude, the star's curVMag
  uint32_t gen : 15;    // generation of the key it was filled under; any other is stale
  uint32_t px : 6;      // size in half pixels (1 to 63), when drawable
  uint32_t state : 3;   // StarMemoState
  uint32_t alpha : 8;   // row of the gamma table, when drawable
};
static_assert(sizeof(StarMemoEntry) == 64, "a memo entry is one cache line");

// Everything outside the star records that the entries depend on. Two frames with equal keys
// give every star the same entry.
struct StarFrameKey {
  const void* stars = nullptr;
  int numStars = 0;
  unsigned long starDataStamp = 0;
  double logScale = 0;
  // The colouring chain.
  float start[4] = {};
  bool chain = false, fileColor = false, colorMap = false, distScale = false, exposure = false, tune = false;
  float exposureValue = 0, tuneValue = 0;
  unsigned char gammaTable[256] = {};
  // The size model.
  float starScale = 0, radPerPixel = 0;
  double texScale = 0;
  int pxMax = 0;
  unsigned char sqrtTable[4096] = {};
  float invSqTable[64] = {};
  // The selections that do not depend on the side of the camera.
  float vmagMin = 0;
  bool vmagOn = false;
  double vmagRangeMin = 0, vmagRangeMax = 0;
  bool logZRangeOn = false;
  double logScaleNear = 0, logScaleFar = 0;
  bool sptypeOn = false;
  int sptypeRowOn[8] = {};
  float sptypeMin[8] = {}, sptypeMax[8] = {};

  // A value that is not a number makes two keys unequal, and the entries are worked out anew.
  bool operator==(const StarFrameKey&) const = default;
};

// The entries of the last frames, one per star of the array, and the key they were filled under.
struct StarDrawMemo {
  std::vector<StarMemoEntry> entries;
  StarFrameKey key;
  // The generation of the key, 1 to kLastGen; 0 marks an entry never filled.
  static constexpr unsigned kLastGen = (1u << 15) - 1;
  unsigned gen = 0;
  // The stars of a textured frame that wait for its second pass, nearest last; kept so that a
  // frame does not allocate.
  std::vector<int> pointsAfter;

  // Takes the key of a new frame: a different one makes every entry stale. False when there is
  // no memory for the entries (the frame then does without).
  bool open(const StarFrameKey& k, int numStars);
};
