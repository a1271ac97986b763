// StarList: construction, the star parameter record, the .star reader, sorting and merging into one
// catalogue, look-ups and print-outs, and the quantities derived from the catalogue (map colours,
// velocities, current positions, the distance selection).
#include "stars/star.h"

#include <GL/gl.h>

#include <cctype>
#include <cfloat>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <utility>

#include "coords/math3D.h"
#include "fileio/common.h"
#include "fileio/entropy.h"
#include "fileio/sgi.h"

namespace {

// The field counts a data line may have: it can stop early only at these places.
bool allowedFieldCount(int n) {
  switch (n) {
    case 3:
    case 4:
    case 7:
    case 10:
    case 11:
    case 12:
    case 16:
    case 17:
    case 18:
    case 19:
    case 20:
    case 21:
    case 22:
      return true;
    default:
      return false;
  }
}

bool knownSpType(const char* t) {
  return strcmp(t, "I") == 0 || strcmp(t, "II") == 0 || strcmp(t, "III") == 0 || strcmp(t, "IV") == 0 ||
         strcmp(t, "V") == 0;
}

// Copies at most size - 1 characters and always terminates.
void copyText(char* dst, const char* src, size_t size) {
  size_t n = strnlen(src, size - 1);
  memcpy(dst, src, n);
  dst[n] = 0;
}

// The name column: everything behind 21 white-space-separated tokens of the raw line.
const char* nameColumn(const char* line) {
  const char* p = line;
  for (int t = 0; t < 21; t++) {
    while (*p && isspace((unsigned char)*p)) p++;
    while (*p && !isspace((unsigned char)*p)) p++;
  }
  while (*p && isspace((unsigned char)*p)) p++;
  return p;
}

constexpr double kPi = 3.141592653589793;

}  // namespace

void printPlanet(NODE_ExtrasolarPlanet* planet, FILE* fp) {
  fprintf(fp, "Planet %d", planet->id);
  if (planet->star)
    fprintf(fp, " (star: HD%d)\n", planet->star->HD);
  else
    fprintf(fp, "\n");
  fprintf(fp, "mass:         %.2f of Jupiter\n", planet->mass);
  fprintf(fp, "semimajor R:  %.2f A.U.\n", planet->semiMajor);
  fprintf(fp, "period:       %.2f days\n", planet->period);
  fprintf(fp, "eccentricity: %.2f\n", planet->eccentricity);
  fprintf(fp, "K:            %.2f m/s\n", planet->K);
}

// ---------------------------------------------------------------------------------------------
// Construction and parameters

StarList::StarList() {
  for (int i = 0; i < STAR_NUM_BUCKETS; i++) buckets[i] = nullptr;
  init();
}

StarList::~StarList() {
  freeBuckets();
  if (stars) freeStarset();
  freeColorMapPtr(bvColorMap, freeFunc);
  freeSpColorMapPtr(spColorMap, freeFunc);
}

void StarList::init() {
  allocFunc = malloc;
  freeFunc = free;
  setAllocFunc_SGI(allocFunc, freeFunc);
  // The spanning-tree and FFT units take the same pair once they exist.

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

void StarList::chomp(char* line) {
  size_t n = strlen(line);
  while (n > 0 && isspace((unsigned char)line[n - 1])) line[--n] = 0;
}

int StarList::isComment(char* line) {
  while (*line && isspace((unsigned char)*line)) line++;
  return *line == '#' ? 1 : 0;
}

int StarList::isBlankLine(char* line) {
  for (; *line; line++)
    if (!isspace((unsigned char)*line)) return 0;
  return 1;
}

int StarList::getValidLine(FILE* fp, char* buf, int* lineNo) {
  for (;;) {
    if (!fgets(buf, 512, fp)) return 1;
    (*lineNo)++;
    if (!strchr(buf, '\n') && feof(fp)) return 1;
    if (!isComment(buf) && !isBlankLine(buf)) return 0;
  }
}

// ---------------------------------------------------------------------------------------------
// Reading

NODE_StarObject* StarList::readStarObj(const char* file, int* count, bool quiet) {
  FILE* fp = fopenEZ(file, "rb");
  if (!fp) {
    if (!quiet) fprintf(stderr, "Err : can't read file [%s]!\n\n", file);
    return nullptr;
  }
  char buf[512];
  char word[512];
  int lineNo = 1;

  // Line 1: NUM_STARS <count>. An empty file reads as an empty line.
  if (!fgets(buf, sizeof buf, fp)) buf[0] = 0;
  int n = 0;
  int k = sscanf(buf, "%511s %d", word, &n);
  if (k < 1 || strcmp(word, "NUM_STARS") != 0) {
    if (!quiet) {
      fprintf(stderr, "Error : Line %d in [%s]\n", lineNo, file);
      fprintf(stderr, "\tIdentifier [NUM_STARS] missing, is it a .star file?\n\n");
    }
    fclose(fp);
    return nullptr;
  }
  if (k < 2) {
    if (!quiet) {
      fprintf(stderr, "Error : Line %d in [%s]\n", lineNo, file);
      fprintf(stderr, "\tNot enough data!\n");
    }
    fclose(fp);
    return nullptr;
  }
  if (n < 0) {
    fprintf(stderr, "Error : Line %d in [%s]\n", lineNo, file);
    fprintf(stderr, "\tThe number of stars [%d] is negative!\n\n", n);
    fclose(fp);
    return nullptr;
  }

  // Line 2: SIZE <factor> <exponent>. Both numbers are needed: without them every position
  // would be multiplied by undefined values.
  lineNo = 2;
  if (!fgets(buf, sizeof buf, fp)) buf[0] = 0;
  float factor = 0, exponent = 0;
  k = sscanf(buf, "%511s %f %f", word, &factor, &exponent);
  if (k < 1 || strcmp(word, "SIZE") != 0) {
    fprintf(stderr, "Error : Line %d in [%s]\n", lineNo, file);
    fprintf(stderr, "\tIdentifier [SIZE] missing, is it a .star file?\n\n");
    fclose(fp);
    return nullptr;
  }
  if (k < 3) {
    fprintf(stderr, "Error : Line %d in [%s]\n", lineNo, file);
    fprintf(stderr, "\tNot enough data!\n");
    fclose(fp);
    return nullptr;
  }

  // Every record needs a line of at least one character and, but for the last, its line end. A
  // count that the rest of the file can't hold is refused before the array is taken, so that a
  // damaged count never asks for an absurd amount of memory.
  long here = ftell(fp);
  long size = getFileSize(fp);
  if (here >= 0 && size >= 0 && (long long)n * 2 - 1 > (long long)(size - here)) {
    fprintf(stderr, "Error : Line %d in [%s]\n", 1, file);
    fprintf(stderr, "\tThe file can't hold the %d star records that NUM_STARS promises!\n\n", n);
    fclose(fp);
    return nullptr;
  }

  size_t bytes = sizeof(NODE_StarObject) * (size_t)n;
  NODE_StarObject* obj = (NODE_StarObject*)allocFunc(n > 0 ? bytes : sizeof(NODE_StarObject));
  if (!obj) {
    fprintf(stderr, "Error (StarList::readStarObj) allocating memory [%zu] to obj.\n", bytes);
    fclose(fp);
    return nullptr;
  }

  // On any fault below the file is closed and the partly filled array given back.
  auto fail = [&]() -> NODE_StarObject* {
    fclose(fp);
    freeFunc(obj);
    return nullptr;
  };

  for (int i = 0; i < n; i++) {
    // Skip comments and blank lines. The file must hold all the records that line 1 promises: a
    // file that ends early is refused here, where a loop without an end-of-file test would repeat
    // the last line, or never come back.
    do {
      if (!fgets(buf, sizeof buf, fp)) {
        fprintf(stderr, "Error : Line %d in [%s]\n", lineNo, file);
        fprintf(stderr, "\tThe file ends after %d of the %d star records that NUM_STARS promises!\n\n", i, n);
        return fail();
      }
      lineNo++;
    } while (isComment(buf) || isBlankLine(buf));

    double d[10] = {0};
    float f[6] = {0};
    char cls[512], type[512], name[512];
    float spNum = 0;
    int hd = 0, hic = 0;
    k = sscanf(buf, "%lf %lf %lf %lf %lf %lf %lf %lf %lf %lf %f %f %f %f %f %f %511s %f %511s %d %d %511s",
               &d[0], &d[1], &d[2], &d[3], &d[4], &d[5], &d[6], &d[7], &d[8], &d[9], &f[0], &f[1], &f[2],
               &f[3], &f[4], &f[5], cls, &spNum, type, &hd, &hic, name);
    if (!allowedFieldCount(k)) {
      fprintf(stderr, "Error : Line %d in [%s]:\n\t[%s]\n", lineNo, file, buf);
      fprintf(stderr, "\tThis data line is of invalid data format!\n\n");
      return fail();
    }

    NODE_StarObject s{};
    s.basePos.x = d[0] * factor;
    s.basePos.y = d[1] * factor;
    s.basePos.z = d[2] * factor;
    s.basePos.s = exponent;
    s.pos = s.basePos;

    if (k >= 4) {
      s.distErr = (float)d[3];
      if (s.distErr < 0) {
        fprintf(stderr, "Error : Line %d in [%s]:\n\t[%s]\n", lineNo, file, buf);
        fprintf(stderr, "\tpercentage error in distance should be non-negative.\n");
        return fail();
      }
    }
    if (k >= 7)
      for (int j = 0; j < 3; j++) s.vel[j] = d[4 + j];
    if (k >= 10)
      for (int j = 0; j < 3; j++) s.velErr[j] = d[7 + j];
    if (k >= 11) s.bv = f[0];
    if (k >= 12) s.lum = f[1];

    for (int j = 0; j < 4; j++) s.rgba[j] = 0.8f;
    if (k >= 16) {
      static const char* channel[4] = {"Red", "Green", "Blue", "Alpha"};
      for (int j = 0; j < 4; j++) {
        s.rgba[j] = f[2 + j];
        if (s.rgba[j] < 0 || s.rgba[j] > 1) {
          fprintf(stderr, "Error : Line %d in [%s]\n", lineNo, file);
          fprintf(stderr, "\tThe %s Channel is out of range [0,1]\n\n", channel[j]);
          return fail();
        }
      }
    }

    copyText(s.spClass, k >= 17 ? cls : "---", k >= 17 ? 3 : sizeof s.spClass);
    if (k >= 18) {
      s.spNum = spNum;
      if (spNum < 0 || spNum > 10) {
        fprintf(stderr, "Err (line %d): spectral number [%f] out of range [0,10] :\n\t[%s]", lineNo, spNum,
                buf);
        return fail();
      }
    }
    copyText(s.spType, k >= 19 ? type : "---", sizeof s.spType);
    if (k >= 19 && !knownSpType(s.spType)) {
      fprintf(stderr, "Err (line %d): undefined spectral sequence [I,II,III,IV,V] :\n\t[%s]", lineNo,
              s.spType);
      return fail();
    }
    if (k >= 20) s.HD = hd;
    if (k >= 21) s.HIC = hic;
    if (k >= 22) {
      // The name may hold blanks: it is the rest of the raw line. A name of 32 characters or more
      // is cut to the 31 that the field can hold with its terminating zero.
      char rest[512];
      copyText(rest, nameColumn(buf), sizeof rest);
      chomp(rest);
      copyText(s.commonName, rest, sizeof s.commonName);
    } else {
      copyText(s.commonName, "---", sizeof s.commonName);
    }
    copyText(s.constellName, "---", sizeof s.constellName);
    copyText(s.constellCode, "---", sizeof s.constellCode);

    unifyPHCoord(&s.pos);
    // The second argument is the SIZE exponent, not this star's distance. lum 0 gives an infinite
    // magnitude, which is kept.
    s.VMag = k >= 4 ? (float)computeVMag((float)(-2.5 * log10(s.lum)), (float)s.basePos.s) : 0.0f;
    s.nPlanets = 0;
    s.planets = nullptr;
    obj[i] = s;
  }
  fclose(fp);
  *count = n;
  return obj;
}

int StarList::readStarFiles(int n, char** names) {
  return readStarFiles(n, names, 0, false);
}

int StarList::readStarFiles(int n, char** names, int inWithSun, bool quiet) {
  // The new catalogue is built aside and takes the place of the old one only when every file has
  // been read, so that a failure leaves the catalogue as it was. The old array is not given back.
  NODE_StarObject* cat = nullptr;
  int numCat = 0;
  if (inWithSun) {
    cat = (NODE_StarObject*)allocFunc(sizeof(NODE_StarObject));
    if (!cat) {
      fprintf(stderr, "Err: StarList::readStarFiles : Can't allocate memory.\n");
      return -1;
    }
    cat[0] = getSun();
    numCat = 1;
  }
  for (int f = 0; f < n; f++) {
    int count = 0;
    NODE_StarObject* arr = readStarObj(names[f], &count, quiet);
    if (!arr) {
      if (cat) freeFunc(cat);
      return -1;
    }
    fprintf(stderr, "%5d star objects from [%s]\n", count, names[f]);
    sortStarObjs(&arr, count);
    if (numCat != 0) {
      mergeStarObjs(&cat, &numCat, arr, count);
      freeFunc(arr);
    } else {
      if (cat) freeFunc(cat);
      cat = arr;
      numCat = count;
    }
  }
  withSun = inWithSun;
  stars = cat;
  numStars = numCat;

  if (bvColorMap || spColorMap) resetColor();
  resetVelocity(0);
  resetPtSize();
  resetCoord();
  resetZRange();
  resetPxMinMax();
  resetBucketSize();
  for (int i = 0; i < numStars; i++) stars[i].lumMag = (float)(-2.5 * log10(stars[i].lum));
  return 1;
}

int StarList::readStarFile(char* name) {
  return readStarFiles(1, &name, 0, false);
}

int StarList::readStarFile(char* name, int inWithSun, bool quiet) {
  return readStarFiles(1, &name, inWithSun, quiet);
}

// ---------------------------------------------------------------------------------------------
// Sorting and merging

void StarList::sortStarObjs(NODE_StarObject** array, int n) {
  size_t slots = n > 0 ? (size_t)n : 1;
  int* index = (int*)allocFunc(sizeof(int) * slots);
  NODE_StarObject* out = (NODE_StarObject*)allocFunc(sizeof(NODE_StarObject) * slots);
  if (!index || !out) {
    fprintf(stderr, "Error allocating memory to outObj (sortStarObj)\n");
    exit(1);
  }
  for (int i = 0; i < n; i++) index[i] = i;
  quickSortByIndex(&index, *array, 0, n - 1);
  // The index is descending by distance: copied in reverse, the array is nearest first.
  for (int i = 0; i < n; i++) out[i] = (*array)[index[n - 1 - i]];
  freeFunc(index);
  freeFunc(*array);
  *array = out;
}

void StarList::quickSortByIndex(int** index, NODE_StarObject* st, int left, int right) {
  int* idx = *index;
  auto key = [&](int i) { return st[idx[i]].pos.s; };
  // The two ranges of a partition are independent; the smaller one is sorted by recursion and
  // the larger one by the loop, so that the stack stays shallow on any input.
  while (left < right) {
    if (key(right) > key(left)) std::swap(idx[left], idx[right]);
    double pivot = key(left);
    int i = left, j = right + 1;
    for (;;) {
      do i++;
      while (i <= right && key(i) > pivot);
      do j--;
      while (j >= left && key(j) < pivot);
      if (i >= j) break;
      std::swap(idx[i], idx[j]);
    }
    std::swap(idx[left], idx[j]);
    if (j - left < right - j) {
      quickSortByIndex(index, st, left, j - 1);
      left = j + 1;
    } else {
      quickSortByIndex(index, st, j + 1, right);
      right = j - 1;
    }
  }
}

void StarList::mergeStarObjs(NODE_StarObject** a, int* na, NODE_StarObject* b, int nb) {
  int total = *na + nb;
  NODE_StarObject* out = (NODE_StarObject*)allocFunc(sizeof(NODE_StarObject) * (total > 0 ? total : 1));
  if (!out) {
    fprintf(stderr, "Error allocating memory to outObj (mergeStarObj)\n");
    exit(1);
  }
  NODE_StarObject* cat = *a;
  int ia = 0, ib = 0, k = 0;
  while (ia < *na && ib < nb) {
    // Ties go to the new file.
    if (b[ib].pos.s > cat[ia].pos.s)
      out[k++] = cat[ia++];
    else
      out[k++] = b[ib++];
  }
  while (ia < *na) out[k++] = cat[ia++];
  while (ib < nb) out[k++] = b[ib++];
  if (cat) freeFunc(cat);
  *a = out;
  *na = total;
}

int StarList::binSearchStarObj(double logScale, NODE_StarObject* st, int n) {
  long pos = n / 2;
  long step = pos;
  while (pos >= 0 && pos <= n - 1) {
    if (step > 1) step /= 2;
    if (logScale >= st[pos].pos.s && pos != n - 1) {
      pos += step;
      continue;
    }
    if (pos == 0) break;
    if (st[pos - 1].pos.s <= logScale) break;
    pos -= step;
  }
  if (pos < 0 || pos > n - 1) {
    fprintf(stderr, "Error index found %li\n", pos);
    return -1;
  }
  return (int)pos;
}

// ---------------------------------------------------------------------------------------------
// The Sun and look-ups

NODE_StarObject StarList::getSun() {
  // Fields the Sun does not use (basePos, planets) are zero rather than undefined.
  NODE_StarObject sun{};
  sun.pos.x = sun.pos.y = sun.pos.z = 0.0;
  sun.pos.s = 11.0;
  sun.bv = 0.63f;
  sun.VMag = (float)(-26.75 - (10 - param.vmagMin));
  float distFactor = (float)pow(pow(10.0, sun.pos.s - 16.4894), 2);
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

// ---------------------------------------------------------------------------------------------
// Print-out

void StarList::printStarObj(NODE_StarObject* star, FILE* fp) {
  fprintf(fp, "name      : HD(%d) HIC(%d) CommonName(%s)\n", star->HD, star->HIC, star->commonName);
  if (star->constellName[0] == 0)
    fprintf(fp, "constell. : none\n");
  else
    fprintf(fp, "constell. : %s (%s)\n", star->constellName, star->constellCode);

  PHCoord p = star->pos;
  unifyPHCoord(&p);
  fprintf(fp, "position  : %8.4f %8.4f %8.4f x 10e(%8.4f) meters\n", p.x, p.y, p.z, p.s);

  double eq[3] = {p.x, p.y, p.z};
  galacticToEquatorial(eq);
  double dec = asin(eq[2]) * 180.0 / kPi;
  double ra = atan2(eq[1], eq[0]) * 180.0 / kPi;
  if (ra < 0) ra += 360.0;
  fprintf(fp, "RA,DEC    : %8.4fH %8.4f\n", ra / 15.0, dec);

  double l = atan2(p.y, p.x) * 180.0 / kPi;
  double b = asin(p.z) * 180.0 / kPi;
  if (l < 0) l += 360.0;
  fprintf(fp, "l,b       : %8.4f %8.4f\n", l, b);

  double d = pow(10.0, p.s);
  double e = d * star->distErr;
  fprintf(fp, "distance  : %8.4e +- %8.4e meters\n", d, e);
  fprintf(fp, "distance  : %8.4e +- %8.4e kilometers\n", d / 1000, e / 1000);
  fprintf(fp, "distance  : %8.4f +- %8.4f parsecs\n", d / 3.086e16, e / 3.086e16);
  fprintf(fp, "distance  : %8.4f +- %8.4f lightyears\n", d / 9.461e15, e / 9.461e15);
  fprintf(fp, "%%err dist : %8.4f%% (percentage error in distance)\n", star->distErr * 100);

  static const char* velName[3] = {"velX     :", "velY     :", "velZ     :"};
  static const char* relName[3] = {"velX-LSRX:", "velY-LSRY:", "velZ-LSRZ:"};
  for (int i = 0; i < 3; i++)
    fprintf(fp, "%s %8.4f +- %8.4f km/s\n", velName[i], star->vel[i], star->vel[i] * star->velErr[i]);
  for (int i = 0; i < 3; i++)
    fprintf(fp, "%s %8.4f +- %8.4f km/s\n", relName[i], star->vel[i] - param.LSR[i],
            star->vel[i] * star->velErr[i]);
  // The velocity errors are printed as they stand, not multiplied by 100.
  fprintf(fp, "%%err vel  : %8.4f%% %8.4f%% %8.4f%% (percentage errors in velocity)\n", star->velErr[0],
          star->velErr[1], star->velErr[2]);
  fprintf(fp, "b-v       : %8.4f\n", star->bv);
  fprintf(fp, "lum       : %8.4f\n", star->lum);
  fprintf(fp, "abs.VMag  : %8.4f\n", star->VMag);
  const float* c = star->cmapRgba;
  if (param.whichColorMap == _USE_BV_COLOR_MAP)
    fprintf(fp, "bv-rgba   : %8.4f %8.4f %8.4f %8.4f\n", c[0], c[1], c[2], c[3]);
  else if (param.whichColorMap == _USE_SPECTRAL_COLOR_MAP)
    fprintf(fp, "sp-rgba   : %8.4f %8.4f %8.4f %8.4f\n", c[0], c[1], c[2], c[3]);
  fprintf(fp, "spectral  : class(%s) num(%f) type(%s)\n", star->spClass, star->spNum, star->spType);
  if (star->nPlanets != 0) {
    fprintf(fp, "#. planet : %d\n", star->nPlanets);
    for (int i = 0; i < star->nPlanets; i++) printPlanet(star->planets[i], fp);
  }
}

void StarList::printStarObjs(NODE_StarObject* st, int n, FILE* fp) {
  for (int i = 0; i < n; i++) printStarObj(&st[i], fp);
}

// ---------------------------------------------------------------------------------------------
// Derived star data

void StarList::resetColor() {
  if (param.whichColorMap == _USE_BV_COLOR_MAP && bvColorMap) {
    for (int i = 0; i < numStars; i++) {
      Color c = getColor(bvColorMap, stars[i].bv);
      float* o = stars[i].cmapRgba;
      o[0] = c.r, o[1] = c.g, o[2] = c.b, o[3] = c.a;
    }
  } else if (param.whichColorMap == _USE_SPECTRAL_COLOR_MAP && spColorMap) {
    const Color green{0.0f, 1.0f, 0.0f, 1.0f};
    auto colorOf = [&](int i) {
      const float* o = stars[i].cmapRgba;
      return Color{o[0], o[1], o[2], o[3]};
    };
    for (int i = 0; i < numStars; i++) {
      Color c = getSpColor(spColorMap, stars[i].spClass, stars[i].spNum, stars[i].spType);
      float* o = stars[i].cmapRgba;
      o[0] = c.r, o[1] = c.g, o[2] = c.b, o[3] = c.a;
    }
    // A type the table lacks takes the colour of another star. The search is meant to find the
    // star nearest in B-V, but its best distance is never lowered, so the last other star in
    // array order that has a colour (and a B-V distance below DBL_MAX) supplies it. This is kept as
    // it is. Searching from the end and taking the first such star gives that same star at once.
    for (int i = 0; i < numStars; i++) {
      if (!colorEqual(colorOf(i), green)) continue;
      const double best = DBL_MAX;
      int found = -1;
      for (int j = numStars - 1; j >= 0 && found < 0; j--) {
        if (j == i || colorEqual(colorOf(j), green)) continue;
        if (fabs(stars[j].bv - stars[i].bv) < best) found = j;
      }
      if (found >= 0) memcpy(stars[i].cmapRgba, stars[found].cmapRgba, sizeof stars[i].cmapRgba);
    }
  }
}

void StarList::resetVelocity(int refresh) {
  for (int i = 0; i < numStars; i++) {
    NODE_StarObject& s = stars[i];
    s.velPH.x = (s.vel[0] + param.LSR[0]) * 1000 * 3.15576e7;
    s.velPH.y = (s.vel[1] + param.LSR[1]) * 1000 * 3.15576e7;
    s.velPH.z = (s.vel[2] + param.LSR[2]) * 1000 * 3.15576e7;
    s.velPH.s = 0;
  }
  if (refresh) resetCoord();
}

double StarList::sphwarpEq(double angle) {
  if (sphwarpEqFunc) return sphwarpEqFunc(angle, sphwarpAngleFrm, sphwarpAngleTo);
  double a = angle / sphwarpAngleFrm * sphwarpAngleTo;
  return a > kPi ? kPi : a;
}

void StarList::resetCoord() {
  int first = 0;
  if (withSun && numStars > 0 && strcmp(stars[0].commonName, "Sun") == 0) first = 1;
  int dt = param.starAtYear - param.datasetYear;
  for (int i = first; i < numStars; i++) {
    NODE_StarObject& s = stars[i];
    s.pos = addPHCoord(s.basePos, multPHCoord(s.velPH, dt));
    unifyPHCoord(&s.pos);
    if (sphWarpOn) {
      double p[3] = {s.pos.x, s.pos.y, s.pos.z};
      double c = dot3D(p, sphwarpDir);
      // Rounding can push the cosine of two unit vectors just past 1.
      c = c > 1 ? 1 : (c < -1 ? -1 : c);
      double angle = acos(c);
      if (angle > 1e-7) {
        double a = sphwarpEq(angle);
        double cr[3], t[3];
        cross3D(sphwarpDir, p, cr);
        cross3D(cr, sphwarpDir, t);
        unify3D(t);
        for (int j = 0; j < 3; j++) p[j] = t[j] * sin(a) + sphwarpDir[j] * cos(a);
        unify3D(p);
        s.pos.x = p[0];
        s.pos.y = p[1];
        s.pos.z = p[2];
      }
    }
  }
  if (param.zRangeOn) resetZRange();
}

void StarList::resetZRange() {
  // An empty catalogue has an empty range; the search has nothing to look at.
  if (numStars <= 0) {
    zFirst = 0;
    zLast = -1;
    return;
  }
  zFirst = binSearchStarObj(param.zRangeMin, stars, numStars);
  zLast = binSearchStarObj(param.zRangeMax, stars, numStars);
  if (zLast >= 0 && stars[zLast].pos.s > param.zRangeMax) zLast--;
}

int StarList::loadColorMapBV(const char* file, float start, float end) {
  ColorMap* map = loadColorMapPtr(file, start, end, allocFunc);
  if (!map) {
    fprintf(stderr, "Err: (loadColorMapBV) failed to load colormap [%s]\n", file);
    return -1;
  }
  freeColorMapPtr(bvColorMap, freeFunc);
  bvColorMap = map;
  param.whichColorMap = _USE_BV_COLOR_MAP;
  param.bvStart = start;
  param.bvEnd = end;
  copyText(param.bvColormapFile, file, sizeof param.bvColormapFile);
  resetColor();
  return 1;
}

int StarList::loadColorMapSpType(const char* file) {
  SpColorMap* map = loadSpColorMapPtr(file, allocFunc);
  if (!map) {
    fprintf(stderr, "Err: (loadColorMapSpType) failed to load colormap [%s]\n", file);
    return -1;
  }
  freeSpColorMapPtr(spColorMap, freeFunc);
  spColorMap = map;
  param.whichColorMap = _USE_SPECTRAL_COLOR_MAP;
  copyText(param.spColormapFile, file, sizeof param.spColormapFile);
  resetColor();
  return 1;
}

int StarList::setWhichColorMap(int which) {
  switch (which) {
    case _NO_COLOR_MAP:
      break;
    case _USE_BV_COLOR_MAP:
      if (!bvColorMap) {
        fprintf(stderr, "Err: please call loadColorMapBV to setup the BV colormap first.\n");
        return -1;
      }
      break;
    case _USE_SPECTRAL_COLOR_MAP:
      // The spectral value is accepted on the strength of a loaded BV map; this stays so.
      if (!bvColorMap) {
        fprintf(stderr, "Err: please call loadColorMapSpType to setup the SpType colormap first.\n");
        return -1;
      }
      break;
    default:
      fprintf(stderr, "Err: unknown parameter for setWhichColorMap\n");
      fprintf(stderr, "     input should be _NO_COLOR_MAP, _USE_BV_COLOR_MAP, or _USE_SPECTRAL_COLOR_MAP)\n");
      return -1;
  }
  param.whichColorMap = which;
  return 1;
}
