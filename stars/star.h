// The star engine: StarList owns the star catalogue (an array sorted by distance, nearest first),
// the display parameters of the stars and the brightness and size model that turns a star's
// luminosity and distance into a point size and an opacity.
//
// Catalogue coordinates are galactic, with the observer (the Sun) at the origin: x towards
// longitude 0, y towards longitude 90, z towards the north galactic pole.
#pragma once

#include <cstddef>
#include <cstdio>

#include "coords/phcoord.h"
#include "stars/colormap.h"
#include "stars/starsize.h"

struct NODE_ExtrasolarPlanet;

// One star. Plain record, copied whole between arrays and to callers.
struct NODE_StarObject {
  PHCoord basePos;   // at the dataset year: file x, y, z times the SIZE factor, s the SIZE exponent
  PHCoord pos;       // current position, unified; pos.s as read is the sort key
  float distErr;     // fractional error of the distance, never negative
  double vel[3];     // km/s
  double velErr[3];  // fractional error of each component
  float bv;          // colour index B-V
  float lum;         // luminosity; 1 is absolute magnitude 0
  float rgba[4];     // file colour, each in [0,1]
  int HD;
  int HIC;
  char commonName[32];
  char constellName[32];
  char constellCode[4];
  char spClass[4];  // first two characters of the file's token
  float spNum;      // spectral subclass in [0,10]
  char spType[12];  // luminosity class "I" .. "V"
  float VMag;       // magnitude seen from the origin, computed at reading
  float cmapRgba[4];
  float lumMag;   // absolute magnitude, -2.5 log10(lum)
  float ptLum;    // lum over the rescale normaliser
  PHCoord velPH;  // metres per year, local standard of rest added; s = 0
  int nPlanets;
  NODE_ExtrasolarPlanet** planets;  // owned by the catalogue's record; copies alias it
  // Per-frame scratch of the drawing code, not set at reading.
  int pxSize;
  int pxAlpha;
  PHCoord viewVec;
  float curVMag;
};

// One extrasolar planet, bound to its star by pointer.
struct NODE_ExtrasolarPlanet {
  int id;
  char starName[32];
  float mass;       // Jupiter masses
  float period;     // days
  float semiMajor;  // astronomical units
  float eccentricity;
  float K;  // velocity amplitude, m/s
  float minorRatio;
  double logOrbit;
  double orbitAngle;
  double orbitAxis[3];
  NODE_StarObject* star;
};

// Writes "Planet %d", the star's HD number if it has a star, and the orbit.
void printPlanet(NODE_ExtrasolarPlanet* planet, FILE* fp);

constexpr int _NO_COLOR_MAP = 0;
constexpr int _USE_BV_COLOR_MAP = 1;
constexpr int _USE_SPECTRAL_COLOR_MAP = 2;

constexpr int _STAR_FILTER_SQUARE = 1;
constexpr int _STAR_FILTER_CIRCULAR = 2;
constexpr int _STAR_FILTER_BUTTERWORTH = 3;

// All that a user can tune about the stars. Plain record, copied by value.
struct StarParameter {
  char constellationFile[512];
  unsigned char constellationColorOn;
  float constellationLineColor[4];
  float constellationBoundColor[4];
  unsigned char constellationWidthOn;
  float constellationLineWidth;
  float constellationBoundWidth;
  int constellationLineStipple;  // 16-bit pattern, 0 = off
  int constellationBoundStipple;
  float labelScale;
  char extrasolarPlanetFile[512];
  float extrasolarPlanetOrbitScale;
  int zRangeOn;
  double zRangeMin, zRangeMax;
  int vmagRangeOn;
  double vmagRangeMin, vmagRangeMax;
  int sptypeRangeOn;
  float sptypeMin[8], sptypeMax[8];
  int sptypeOn[8];
  char spColormapFile[512];
  char bvColormapFile[512];
  double bvStart, bvEnd;
  int whichColorMap;  // _NO_COLOR_MAP, _USE_BV_COLOR_MAP, _USE_SPECTRAL_COLOR_MAP
  int pxsizeTex;
  double texSize;
  double texScale;
  int texParaMinFilter, texParaMagFilter;
  int textureSource;  // No 0, Airy 1, Gauss 2, FFT 3, File 4
  char textureFile[512];
  float filterSize, filterExp, filterCutoff, filterOrder;
  float filterRGB[3];
  int filterType;
  float telescopeDiam;
  float exposure, tuneIntensity, starScale;
  float vmagMin;
  int starAtYear, datasetYear;
  double LSR[3];  // km/s
};

constexpr int STAR_NUM_BUCKETS = 64;
constexpr int STAR_SQRT_TABLE_LEN = 4096;
constexpr int STAR_INVSQ_TABLE_LEN = 64;
// Largest point size, in half pixels, that the look-up tables and the buckets hold.
constexpr int STAR_MAX_PX_SIZE = 63;

using StarAllocFunc = void* (*)(size_t);
using StarFreeFunc = void (*)(void*);

class StarList {
 public:
  // One deferred point of the drawing code.
  struct CPoint {
    double pos[3];
    float rgba[4];
  };

  StarList();
  ~StarList();
  StarList(const StarList&) = delete;
  StarList& operator=(const StarList&) = delete;

  // Clears the catalogue members and sets every default; seeds the random table.
  void init();
  void initParameter();
  StarParameter getStarParameter();

  // --- catalogue ---------------------------------------------------------------------------
  int readStarFiles(int n, char** names);
  // Builds the catalogue from n files, nearest star first; with withSun the Sun comes first.
  // 1, or -1 on any failure. quiet silences only the failures a caller expects while trying
  // several locations (a file that does not open, a file that is not a star file).
  int readStarFiles(int n, char** names, int withSun, bool quiet);
  int readStarFile(char* name);
  int readStarFile(char* name, int withSun, bool quiet);
  // Reads one .star file into a new array; null on failure, with the reason on standard error.
  NODE_StarObject* readStarObj(const char* file, int* count, bool quiet);
  void sortStarObjs(NODE_StarObject** array, int n);
  void quickSortByIndex(int** index, NODE_StarObject* stars, int left, int right);
  void mergeStarObjs(NODE_StarObject** a, int* na, NODE_StarObject* b, int nb);
  int binSearchStarObj(double logScale, NODE_StarObject* stars, int n);
  NODE_StarObject getSun();
  void freeStarset();
  int getStarByID(NODE_StarObject* out, int id);
  int getStarByHD(NODE_StarObject* out, int hd);
  int getNumStars();
  void printStarObj(NODE_StarObject* star, FILE* fp);
  void printStarObjs(NODE_StarObject* stars, int n, FILE* fp);

  // Line functions of the star engine's readers.
  static void chomp(char* line);
  static int isComment(char* line);
  static int isBlankLine(char* line);
  // Next line that is neither comment nor blank, counting every line read: 0 with the line in buf,
  // 1 at end of file. A last line without a newline counts as end of file.
  static int getValidLine(FILE* fp, char* buf, int* lineNo);

  // --- derived star data -------------------------------------------------------------------
  void resetColor();
  void resetVelocity(int refresh);
  void resetCoord();
  void resetZRange();
  double sphwarpEq(double angle);

  // Colour maps of the stars.
  int loadColorMapBV(const char* file, float start, float end);
  int loadColorMapSpType(const char* file);
  int setWhichColorMap(int which);

  // --- brightness and size -----------------------------------------------------------------
  double computeVMag(float lumMag, float logDist);
  // 0 if the star is to be drawn (size in half pixels, alpha index 0..255), 1 if too small.
  int computePXSizeAlpha(int* pxSize, int* alpha, float vmag, float starScale, float radPerPixel,
                         int starIndex);
  int computePXSizeAlphaOld(int* pxSize, int* alpha, int brightness, int starIndex, int faintPx,
                            int faintAlpha);
  // Fills sqrtTable, invSqTable and lutMode for the current GL context.
  void initLUT();
  // The same for a given GL version string (null when there is none).
  void initLUTFor(const char* glVersion);
  void resetPtSize();
  void resetPxMinMax();
  void freeBuckets();
  void resetBucketSize();

  int setPtFaint(float inPtFaint);
  int setPtLarge(int inPtLarge);
  int setPXsizeTex(int inPtsizeTex);
  int setStarScale(float inStarScale);
  int setExposure(float inExposure);
  int setTuneIntensity(float inTuneIntensity);
  int setVMagMin(float inVMagMin);
  int ptSizeRescaleHint(int mode, float inFixedLum);
  void adjustLumScale(float delta);
  void setDLumScale(float value);

  // --- state -------------------------------------------------------------------------------
  StarParameter param;

  StarAllocFunc allocFunc;
  StarFreeFunc freeFunc;
  NODE_StarObject* stars;
  int numStars;  // counts the Sun if there is one
  int withSun;
  int pickMode;
  char sptypeNames[8][32];

  ColorMap* bvColorMap;
  SpColorMap* spColorMap;

  // Brightness and size model.
  float ptFaint;
  int ptLarge;
  int pxMin, pxMax;
  unsigned char randTable[256];
  unsigned char threshTable[256];
  unsigned char sqrtTable[STAR_SQRT_TABLE_LEN];
  float invSqTable[STAR_INVSQ_TABLE_LEN];
  int lutMode;
  unsigned char gammaTable[256];
  float dLumScale;
  int ptRescaleMode;
  float fixedLum;
  int exposureOn, tuneOn;
  CPoint* buckets[STAR_NUM_BUCKETS];
  int bucketCount[STAR_NUM_BUCKETS];
  int bucketSize;

  // Selection range and position of the stars.
  int zFirst, zLast;
  int sphWarpOn;
  double sphwarpDir[3];
  double sphwarpAngleFrm, sphwarpAngleTo;
  double (*sphwarpEqFunc)(double, double, double);

  // Planets bound to the stars.
  NODE_ExtrasolarPlanet* planets;
  int numPlanets;
};
