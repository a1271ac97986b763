// The .star reader: a header reader, a line parser and one reporter; merging the sorted files
// into one catalogue; the line functions of the star engine's readers.
#include "stars/star.h"

#include <cmath>
#include <cstdarg>
#include <cstdlib>
#include <cstring>

#include "fileio/common.h"
#include "fileio/entropy.h"
#include "stars/star_fields.h"

// ---------------------------------------------------------------------------------------------
// Line functions

namespace {

// White space as isspace has it in the C locale, which the program never leaves; tested inline
// because every character of a catalogue passes here several times.
inline bool isSpaceChar(char c) {
  return c == ' ' || (c >= '\t' && c <= '\r');
}

}  // namespace

void StarList::chomp(char* line) {
  size_t n = strlen(line);
  while (n > 0 && isSpaceChar(line[n - 1])) line[--n] = 0;
}

int StarList::isComment(char* line) {
  while (*line && isSpaceChar(*line)) line++;
  return *line == '#' ? 1 : 0;
}

int StarList::isBlankLine(char* line) {
  for (; *line; line++)
    if (!isSpaceChar(*line)) return 0;
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


namespace {

// The field counts a data line may have: it can stop early only at these places.
bool allowedFieldCount(int n) {
  switch (n) {
    case 3: case 4: case 7: case 10: case 11: case 12:
    case 16: case 17: case 18: case 19: case 20: case 21: case 22:
      return true;
    default:
      return false;
  }
}

bool knownSpType(const char* t) {
  return strcmp(t, "I") == 0 || strcmp(t, "II") == 0 || strcmp(t, "III") == 0 || strcmp(t, "IV") == 0 ||
         strcmp(t, "V") == 0;
}

// The name column: everything behind 21 white-space-separated tokens of the raw line.
const char* nameColumn(const char* line) {
  const char* p = line;
  for (int t = 0; t < 21; t++) {
    while (*p && isSpaceChar(*p)) p++;
    while (*p && !isSpaceChar(*p)) p++;
  }
  while (*p && isSpaceChar(*p)) p++;
  return p;
}

// The reader's one reporter, on standard error. With a file name the report opens with
// "Error : Line <n> in [<file>]", followed by the raw line when one is given; the detail, a
// printf format, follows as it stands. Without a file name only the detail is printed.
void reportStarFile(const char* file, int lineNo, const char* line, const char* detail, ...) {
  if (file && line)
    fprintf(stderr, "Error : Line %d in [%s]:\n\t[%s]\n", lineNo, file, line);
  else if (file)
    fprintf(stderr, "Error : Line %d in [%s]\n", lineNo, file);
  va_list args;
  va_start(args, detail);
  vfprintf(stderr, detail, args);
  va_end(args);
}

// What the two header lines give.
struct StarFileHeader {
  int count;
  float factor, exponent;
};

// Reads "NUM_STARS <count>" and "SIZE <factor> <exponent>". False after a report; quiet silences
// only the faults of line 1 that mean "not a star file".
bool readStarHeader(FILE* fp, const char* file, bool quiet, StarFileHeader* h) {
  char buf[512], word[512];
  // An empty file reads as an empty line.
  if (!fgets(buf, sizeof buf, fp)) buf[0] = 0;
  int k = sscanf(buf, "%511s %d", word, &h->count);
  if (k < 1 || strcmp(word, "NUM_STARS") != 0) {
    if (!quiet) reportStarFile(file, 1, nullptr, "\tIdentifier [NUM_STARS] missing, is it a .star file?\n\n");
    return false;
  }
  if (k < 2) {
    if (!quiet) reportStarFile(file, 1, nullptr, "\tNot enough data!\n");
    return false;
  }
  if (h->count < 0) {
    reportStarFile(file, 1, nullptr, "\tThe number of stars [%d] is negative!\n\n", h->count);
    return false;
  }
  // Both numbers of SIZE are needed: without them every position would be multiplied by
  // undefined values.
  if (!fgets(buf, sizeof buf, fp)) buf[0] = 0;
  k = sscanf(buf, "%511s %f %f", word, &h->factor, &h->exponent);
  if (k < 1 || strcmp(word, "SIZE") != 0) {
    reportStarFile(file, 2, nullptr, "\tIdentifier [SIZE] missing, is it a .star file?\n\n");
    return false;
  }
  if (k < 3) {
    reportStarFile(file, 2, nullptr, "\tNot enough data!\n");
    return false;
  }
  // Every record needs a line of at least one character and, but for the last, its line end. A
  // count that the rest of the file can't hold is refused before the array is taken, so that a
  // damaged count never asks for an absurd amount of memory.
  long here = ftell(fp);
  long size = getFileSize(fp);
  if (here >= 0 && size >= 0 && (long long)h->count * 2 - 1 > (long long)(size - here)) {
    reportStarFile(file, 1, nullptr, "\tThe file can't hold the %d star records that NUM_STARS promises!\n\n",
                   h->count);
    return false;
  }
  return true;
}

}  // namespace

// Parses one data line into out. False after a report.
bool StarList::parseStarLine(char* buf, const char* file, int lineNo, float factor, float exponent,
                             NODE_StarObject* out) {
  StarFields fields;
  for (double& v : fields.d) v = 0;
  for (float& v : fields.f) v = 0;
  fields.spNum = 0;
  fields.hd = fields.hic = 0;
  int k = scanStarFields(buf, &fields);
  if (!allowedFieldCount(k)) {
    reportStarFile(file, lineNo, buf, "\tThis data line is of invalid data format!\n\n");
    return false;
  }
  const double* d = fields.d;
  const float* f = fields.f;
  const char* cls = fields.cls;
  const char* type = fields.type;
  float spNum = fields.spNum;

  // The record is filled where it stands in the array: no copy of it is made.
  NODE_StarObject& s = *out;
  s = NODE_StarObject{};
  s.basePos.x = d[0] * factor;
  s.basePos.y = d[1] * factor;
  s.basePos.z = d[2] * factor;
  s.basePos.s = exponent;
  s.pos = s.basePos;

  if (k >= 4) {
    s.distErr = (float)d[3];
    if (s.distErr < 0) {
      reportStarFile(file, lineNo, buf, "\tpercentage error in distance should be non-negative.\n");
      return false;
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
        reportStarFile(file, lineNo, nullptr, "\tThe %s Channel is out of range [0,1]\n\n", channel[j]);
        return false;
      }
    }
  }

  copyText(s.spClass, k >= 17 ? cls : "---", k >= 17 ? 3 : sizeof s.spClass);
  if (k >= 18) {
    s.spNum = spNum;
    if (spNum < 0 || spNum > 10) {
      reportStarFile(nullptr, lineNo, nullptr, "Err (line %d): spectral number [%f] out of range [0,10] :\n\t[%s]",
                     lineNo, spNum, buf);
      return false;
    }
  }
  copyText(s.spType, k >= 19 ? type : "---", sizeof s.spType);
  if (k >= 19 && !knownSpType(s.spType)) {
    reportStarFile(nullptr, lineNo, nullptr, "Err (line %d): undefined spectral sequence [I,II,III,IV,V] :\n\t[%s]",
                   lineNo, s.spType);
    return false;
  }
  if (k >= 20) s.HD = fields.hd;
  if (k >= 21) s.HIC = fields.hic;
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
  return true;
}

NODE_StarObject* StarList::readStarObj(const char* file, int* count, bool quiet) {
  FILE* fp = fopenEZ(file, "rb");
  if (!fp) {
    if (!quiet) fprintf(stderr, "Err : can't read file [%s]!\n\n", file);
    return nullptr;
  }
  StarFileHeader h{};
  if (!readStarHeader(fp, file, quiet, &h)) {
    fclose(fp);
    return nullptr;
  }
  int n = h.count;
  size_t bytes = sizeof(NODE_StarObject) * (size_t)n;
  NODE_StarObject* obj = (NODE_StarObject*)allocFunc(n > 0 ? bytes : sizeof(NODE_StarObject));
  if (!obj) {
    fprintf(stderr, "Error (StarList::readStarObj) allocating memory [%zu] to obj.\n", bytes);
    fclose(fp);
    return nullptr;
  }

  char buf[512];
  int lineNo = 2;
  bool ok = true;
  for (int i = 0; ok && i < n; i++) {
    // Skip comments and blank lines. The file must hold all the records that line 1 promises: a
    // file that ends early is refused here, where a loop without an end-of-file test would repeat
    // the last line, or never come back.
    do {
      if (!fgets(buf, sizeof buf, fp)) {
        reportStarFile(file, lineNo, nullptr,
                       "\tThe file ends after %d of the %d star records that NUM_STARS promises!\n\n", i, n);
        ok = false;
        break;
      }
      lineNo++;
    } while (isComment(buf) || isBlankLine(buf));
    if (ok) ok = parseStarLine(buf, file, lineNo, h.factor, h.exponent, &obj[i]);
  }
  fclose(fp);
  // On any fault the partly filled array is given back.
  if (!ok) {
    freeFunc(obj);
    return nullptr;
  }
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
  starsChanged();
  return 1;
}

int StarList::readStarFile(char* name) {
  return readStarFiles(1, &name, 0, false);
}

int StarList::readStarFile(char* name, int inWithSun, bool quiet) {
  return readStarFiles(1, &name, inWithSun, quiet);
}

// ---------------------------------------------------------------------------------------------
// Merging (the sort of one file is in star_sort.cpp)

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
