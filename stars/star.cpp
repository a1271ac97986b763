// StarList: construction, the defaults of the parameter record, the Sun, look-ups by index and
// HD number, and giving the catalogue back.
#include "stars/star.h"

#include <GL/gl.h>

#include <cfloat>
#include <cmath>
#include <ctime>
#include <cstdlib>
#include <cstring>

#include "coords/constants.h"
#include "fileio/common.h"
#include "fileio/sgi.h"
#include "stars/fft.h"
#include "stars/mst.h"

// ---------------------------------------------------------------------------------------------
// Construction and parameters

StarList::StarList() {
  for (int i = 0; i < STAR_NUM_BUCKETS; i++) buckets[i] = nullptr;
  init();
}

StarList::~StarList() {
  freeConstellations();
  freeBuckets();
  freeExtrasolarPlanets();
  if (mstEdges) freeFunc(mstEdges);
  if (stars) freeStarset();
  freeColorMapPtr(bvColorMap, freeFunc);
  freeSpColorMapPtr(spColorMap, freeFunc);
}

void StarList::init() {
  allocFunc = malloc;
  freeFunc = free;
  setAllocFunc_SGI(allocFunc, freeFunc);
  setAllocFunc_fft(allocFunc, freeFunc);
  setAllocFunc_MST(allocFunc, freeFunc);
  mstEdges = nullptr;
  mstNumPoints = 0;

  stars = nullptr;
  numStars = 0;
  withSun = 0;
  pickMode = 0;
  const char* names[8] = {"O", "B", "A", "F", "G", "K", "M", "Other"};
  for (int i = 0; i < 8; i++) copyText(sptypeNames[i], names[i], sizeof sptypeNames[i]);
  bvColorMap = nullptr;
  spColorMap = nullptr;

  initParameter();

  ptFaint = 0.05f;
  ptLarge = 16;
  srandom(11);
  for (int i = 0; i < 256; i++) randTable[i] = (unsigned char)(random() & 0xFF);
  resetPxMinMax();
  // The drawing code builds these tables for its GL context at its first frame; until then they
  // hold what a context without a known version string gives, so that they are never undefined.
  initLUTFor(nullptr);
  for (int i = 0; i < 256; i++) gammaTable[i] = (unsigned char)(int)(pow(i / 255.0, (double)0.4f) * 255.99);
  dLumScale = 9.7f;
  ptRescaleMode = 2;
  fixedLum = 200000.0f;
  exposureOn = 0;
  tuneOn = 0;
  for (int i = 0; i < STAR_NUM_BUCKETS; i++) {
    buckets[i] = nullptr;
    bucketCount[i] = 0;
  }
  bucketSize = 0;

  zFirst = 0;
  zLast = 0;
  sphWarpOn = 0;
  sphwarpDir[0] = 1.0;
  sphwarpDir[1] = 0.0;
  sphwarpDir[2] = 0.0;
  sphwarpAngleFrm = 90.0;
  sphwarpAngleTo = 90.0;
  sphwarpEqFunc = nullptr;

  logZRangeOn = 0;
  logScaleNear = -DBL_MAX;
  logScaleFar = DBL_MAX;
  for (int i = 0; i < 4; i++) uniformColor[i] = 1.0f;
  baseColor[0] = baseColor[1] = baseColor[2] = 0.0f;
  baseColor[3] = 1.0f;
  texId = 0;
  texDiam = 0.0;

  constellations = nullptr;
  numConstellations = 0;
  // Boundaries lie on a shell whose radius in light years is the time since 1950, at least one.
  double t = (double)time(nullptr) / kSecondsPerJulianYear + 1970 - 1950;
  if (t < 1) t = 1;
  constellLogRadius = log10(t * kMetresPerLightYear);

  planets = nullptr;
  numPlanets = 0;
}

void StarList::initParameter() {
  memset(&param, 0, sizeof param);
  param.labelScale = 1.0f;
  param.extrasolarPlanetOrbitScale = 50000.0f;
  param.zRangeMin = 10.0;
  param.zRangeMax = 25.0;
  param.vmagRangeMin = -2.0;
  param.vmagRangeMax = 10.0;
  for (int i = 0; i < 8; i++) {
    param.sptypeMin[i] = -1.0f;
    param.sptypeMax[i] = 10.0f;
    param.sptypeOn[i] = 0;
  }
  param.whichColorMap = _NO_COLOR_MAP;
  param.pxsizeTex = 4;
  param.texSize = 1.0;
  param.texScale = 1.0;
  // The magnification default is the minification filter, no legal magnification filter: a
  // parameter file has to name one.
  param.texParaMinFilter = GL_LINEAR_MIPMAP_LINEAR;
  param.texParaMagFilter = GL_LINEAR_MIPMAP_LINEAR;
  param.textureSource = 0;
  param.filterSize = param.filterExp = param.filterCutoff = param.filterOrder = 1.0f;
  param.filterRGB[0] = param.filterRGB[1] = param.filterRGB[2] = 1.0f;
  param.filterType = _STAR_FILTER_CIRCULAR;
  param.telescopeDiam = 0.1f;
  param.exposure = param.tuneIntensity = param.starScale = 1.0f;
  param.vmagMin = 10.0f;
  param.starAtYear = 1991;
  param.datasetYear = 1991;
}

StarParameter StarList::getStarParameter() {
  return param;
}

// ---------------------------------------------------------------------------------------------
// Line functions

// ---------------------------------------------------------------------------------------------
// The Sun and look-ups

NODE_StarObject StarList::getSun() {
  // Fields the Sun does not use (basePos, planets) are zero rather than undefined.
  NODE_StarObject sun{};
  sun.pos.x = sun.pos.y = sun.pos.z = 0.0;
  sun.pos.s = 11.0;
  sun.bv = 0.63f;
  sun.VMag = (float)(-26.75 - (10 - param.vmagMin));
  float distFactor = (float)pow(pow(10.0, sun.pos.s - kParsecExponent), 2);
  float magFactor = (float)pow(100.0, -sun.VMag / 5.0);
  sun.lum = (float)(distFactor * magFactor * 0.01);
  for (int i = 0; i < 4; i++) sun.rgba[i] = 0.8f;
  copyText(sun.spClass, "G", sizeof sun.spClass);
  sun.spNum = 2.0f;
  copyText(sun.spType, "V", sizeof sun.spType);
  copyText(sun.constellName, "---", sizeof sun.constellName);
  sun.constellCode[0] = 0;
  copyText(sun.commonName, "Sun", sizeof sun.commonName);
  sun.HD = 0;
  sun.HIC = 0;
  return sun;
}

void StarList::freeStarset() {
  if (!stars) return;
  for (int i = 0; i < numStars; i++)
    if (stars[i].planets) freeFunc(stars[i].planets);
  freeFunc(stars);
  stars = nullptr;
  numStars = 0;
  starsChanged();
}

int StarList::getStarByID(NODE_StarObject* out, int id) {
  if (id < 0 || id >= numStars) return -1;
  *out = stars[id];
  return 1;
}

int StarList::getStarByHD(NODE_StarObject* out, int hd) {
  for (int i = 0; i < numStars; i++)
    if (stars[i].HD == hd) {
      *out = stars[i];
      return 1;
    }
  return -1;
}

int StarList::getNumStars() {
  return withSun ? numStars - 1 : numStars;
}

