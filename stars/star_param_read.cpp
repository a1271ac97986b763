// Reads the star parameter file: one parser per keyword, the line parser that picks them, the
// report of a bad line, the file reader, and StarList::readStarParameter, which applies the
// record that the file gave.
#include "stars/star_param_read.h"

#include <GL/gl.h>
#include <strings.h>

#include <cctype>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"

namespace {

constexpr int kLineBuf = STAR_PARAM_MAX_LINE + 1;
constexpr size_t kPathSize = sizeof(StarParameter{}.constellationFile);
// The two header lines are tested over this many characters, without regard to case.
constexpr size_t kHeaderCompare = 15;
// How much of an over-long line its report shows.
constexpr int kLongLineShown = 40;
constexpr float kPiFloat = (float)kPi;  // l and b go to radians in single precision
constexpr float kDegPerHalfTurn = 180.0f;
constexpr float kSptypeLowest = -1.0f;
constexpr float kSptypeHighest = 10.0f;
constexpr float kVmagMinLowest = -10.0f;
constexpr float kVmagMinHighest = 20.0f;
// How far apart, in km/s, the two LSR lines of one written vector can land: the rounding of six
// decimals plus single-precision angles, with a wide margin.
constexpr double kLsrSameAbsolute = 1e-5;
constexpr double kLsrSameRelative = 1e-6;

// The words of the file and the values they stand for.
struct WordValue {
  const char* word;
  int value;
};

constexpr const char* kSptypeRows[STAR_NUM_SPTYPES] = {"O", "B", "A", "F", "G", "K", "M", "Other"};

constexpr WordValue kMinFilters[] = {{"GL_LINEAR_MIPMAP_NEAREST", GL_LINEAR_MIPMAP_NEAREST},
                                     {"GL_LINEAR_MIPMAP_LINEAR", GL_LINEAR_MIPMAP_LINEAR},
                                     {"GL_NEAREST_MIPMAP_NEAREST", GL_NEAREST_MIPMAP_NEAREST},
                                     {"GL_NEAREST_MIPMAP_LINEAR", GL_NEAREST_MIPMAP_LINEAR},
                                     {"GL_NEAREST", GL_NEAREST},
                                     {"GL_LINEAR", GL_LINEAR}};
constexpr WordValue kMagFilters[] = {{"GL_NEAREST", GL_NEAREST}, {"GL_LINEAR", GL_LINEAR}};
// "buttonworth" is the file's spelling of the Butterworth filter.
constexpr WordValue kFilterTypes[] = {{"square", _STAR_FILTER_SQUARE},
                                      {"circular", _STAR_FILTER_CIRCULAR},
                                      {"buttonworth", _STAR_FILTER_BUTTERWORTH}};
constexpr WordValue kTextureSources[] = {
    {"No", STAR_TEX_NONE}, {"Airy", STAR_TEX_AIRY}, {"Gauss", STAR_TEX_GAUSS}, {"FFT", STAR_TEX_FFT}};

// Index of word in the table (exact case or not), or -1.
template <size_t N>
int findWord(const WordValue (&table)[N], const char* word, bool exactCase) {
  for (size_t i = 0; i < N; i++)
    if ((exactCase ? strcmp(table[i].word, word) : strcasecmp(table[i].word, word)) == 0) return (int)i;
  return -1;
}

const char* skipSpace(const char* s) {
  while (*s && isspace((unsigned char)*s)) s++;
  return s;
}

const char* skipWord(const char* s) {
  while (*s && !isspace((unsigned char)*s)) s++;
  return s;
}

// The text behind the keyword and the "=".
const char* valuesOf(const char* line) {
  const char* s = skipWord(skipSpace(line));
  s = skipWord(skipSpace(s));
  return skipSpace(s);
}

void firstWord(const char* v, char* word) {
  word[0] = 0;
  sscanf(v, "%511s", word);
}

// A path of the file, behind dir when there is one. False, with dst unchanged, when the whole
// path would not fit: a cut path would name another file.
bool takePath(char* dst, const char* path, const char* dir) {
  char joined[kPathSize];
  int n =
      dir ? snprintf(joined, sizeof joined, "%s/%s", dir, path) : snprintf(joined, sizeof joined, "%s", path);
  if (n < 0 || (size_t)n >= sizeof joined) return false;
  copyText(dst, joined, kPathSize);
  return true;
}

bool oneFloat(const char* v, float* out) {
  return sscanf(v, "%f", out) == 1;
}

bool inUnitRange(float x) {
  return x >= 0.0f && x <= 1.0f;  // false for NaN too
}

// A hexadecimal stipple pattern, or "off" for none.
bool stippleWord(const char* word, int* out) {
  if (strcmp(word, "off") == 0) {
    *out = 0;
    return true;
  }
  unsigned int x = 0;
  int used = 0;
  if (sscanf(word, "%x%n", &x, &used) != 1 || word[used] != 0) return false;
  *out = (int)x;
  return true;
}

// "off", or "on" min max with max not below min.
int rangeSelection(const char* v, int* on, double* min, double* max) {
  char word[kLineBuf];
  double a = 0, b = 0;
  int n = sscanf(v, "%511s %lf %lf", word, &a, &b);
  if (strcasecmp(word, "off") == 0) {
    *on = 0;
    return STAR_PARAM_LINE_OK;
  }
  if (strcasecmp(word, "on") != 0) return STAR_PARAM_LINE_BAD_INPUT;
  if (n < 3) return STAR_PARAM_LINE_NOT_ENOUGH;
  if (!(b >= a)) return STAR_PARAM_LINE_BAD_RANGE;
  *on = 1;
  *min = a;
  *max = b;
  return STAR_PARAM_LINE_OK;
}

// ---------------------------------------------------------------------------------------------
// One parser per keyword. Each gets the values behind "=" (never empty) and works on a copy
// that is kept only when it returns STAR_PARAM_LINE_OK.

int parseConstellationFile(StarParameter* p, const char* v, const char* dir) {
  char word[kLineBuf];
  firstWord(v, word);
  return takePath(p->constellationFile, word, dir) ? STAR_PARAM_LINE_OK : STAR_PARAM_LINE_BAD_INPUT;
}

int parseConstellationColors(StarParameter* p, const char* v, const char*) {
  float* l = p->constellationLineColor;
  float* b = p->constellationBoundColor;
  if (sscanf(v, "%f %f %f %f %f %f %f %f", &l[0], &l[1], &l[2], &l[3], &b[0], &b[1], &b[2], &b[3]) < 8)
    return STAR_PARAM_LINE_NOT_ENOUGH;
  p->constellationColorOn = 1;
  return STAR_PARAM_LINE_OK;
}

int parseConstellationWidth(StarParameter* p, const char* v, const char*) {
  if (sscanf(v, "%f %f", &p->constellationLineWidth, &p->constellationBoundWidth) < 2)
    return STAR_PARAM_LINE_NOT_ENOUGH;
  p->constellationWidthOn = 1;
  return STAR_PARAM_LINE_OK;
}

int parseConstellationStipple(StarParameter* p, const char* v, const char*) {
  char line[kLineBuf], bound[kLineBuf];
  if (sscanf(v, "%511s %511s", line, bound) < 2) return STAR_PARAM_LINE_NOT_ENOUGH;
  if (!stippleWord(line, &p->constellationLineStipple) || !stippleWord(bound, &p->constellationBoundStipple))
    return STAR_PARAM_LINE_BAD_INPUT;
  return STAR_PARAM_LINE_OK;
}

int parseLabelScale(StarParameter* p, const char* v, const char*) {
  return oneFloat(v, &p->labelScale) ? STAR_PARAM_LINE_OK : STAR_PARAM_LINE_BAD_INPUT;
}

int parsePlanetFile(StarParameter* p, const char* v, const char* dir) {
  char word[kLineBuf];
  firstWord(v, word);
  return takePath(p->extrasolarPlanetFile, word, dir) ? STAR_PARAM_LINE_OK : STAR_PARAM_LINE_BAD_INPUT;
}

int parsePlanetOrbitScale(StarParameter* p, const char* v, const char*) {
  return oneFloat(v, &p->extrasolarPlanetOrbitScale) ? STAR_PARAM_LINE_OK : STAR_PARAM_LINE_BAD_INPUT;
}

int parseZRange(StarParameter* p, const char* v, const char*) {
  return rangeSelection(v, &p->zRangeOn, &p->zRangeMin, &p->zRangeMax);
}

int parseVmagRange(StarParameter* p, const char* v, const char*) {
  return rangeSelection(v, &p->vmagRangeOn, &p->vmagRangeMin, &p->vmagRangeMax);
}

int parseSptype(StarParameter* p, const char* v, const char*) {
  char word[kLineBuf], row[kLineBuf];
  float min = 0, max = 0;
  int n = sscanf(v, "%511s %511s %f %f", word, row, &min, &max);
  bool on = strcasecmp(word, "on") == 0;
  if (!on && strcasecmp(word, "off") != 0) return STAR_PARAM_LINE_BAD_INPUT;
  if (n < 2) return STAR_PARAM_LINE_NOT_ENOUGH;
  int i = 0;
  while (i < STAR_NUM_SPTYPES && strcmp(kSptypeRows[i], row) != 0) i++;
  if (i == STAR_NUM_SPTYPES) return STAR_PARAM_LINE_BAD_INPUT;
  p->sptypeOn[i] = on ? 1 : 0;
  if (!on) return STAR_PARAM_LINE_OK;
  if (n < 4) return STAR_PARAM_LINE_NOT_ENOUGH;
  if (!(max >= min)) return STAR_PARAM_LINE_BAD_RANGE;
  // Bounds beyond the subclass scale are brought onto it, after the order test.
  p->sptypeMin[i] = fminf(fmaxf(min, kSptypeLowest), kSptypeHighest);
  p->sptypeMax[i] = fminf(fmaxf(max, kSptypeLowest), kSptypeHighest);
  return STAR_PARAM_LINE_OK;
}

int parseColorMap(StarParameter* p, const char* v, const char* dir) {
  char word[kLineBuf], file[kLineBuf];
  // The bounds are read in single precision, as loadColorMapBV keeps them, so that applying the
  // same file twice finds them unchanged.
  float start = 0, end = 0;
  int n = sscanf(v, "%511s %511s %f %f", word, file, &start, &end);
  if (strcasecmp(word, "no_colormap") == 0) {
    p->whichColorMap = _NO_COLOR_MAP;
  } else if (strcasecmp(word, "bv_colormap") == 0) {
    if (n < 4) return STAR_PARAM_LINE_NOT_ENOUGH;
    if (!(end >= start)) return STAR_PARAM_LINE_BAD_RANGE;
    if (!takePath(p->bvColormapFile, file, dir)) return STAR_PARAM_LINE_BAD_INPUT;
    p->bvStart = start;
    p->bvEnd = end;
    p->whichColorMap = _USE_BV_COLOR_MAP;
  } else if (strcasecmp(word, "sp_colormap") == 0) {
    if (n < 2) return STAR_PARAM_LINE_NOT_ENOUGH;
    if (!takePath(p->spColormapFile, file, dir)) return STAR_PARAM_LINE_BAD_INPUT;
    p->whichColorMap = _USE_SPECTRAL_COLOR_MAP;
  } else {
    return STAR_PARAM_LINE_BAD_INPUT;
  }
  return STAR_PARAM_LINE_OK;
}

int parsePxsizeTex(StarParameter* p, const char* v, const char*) {
  int x = atoi(v);
  if (x < 0) return STAR_PARAM_LINE_BAD_INPUT;
  p->pxsizeTex = x;
  return STAR_PARAM_LINE_OK;
}

// Words behind the number, as the writer's "(no in use)", are passed over.
int parseTexSize(StarParameter* p, const char* v, const char*) {
  double x = atof(v);
  if (!(x >= 0)) return STAR_PARAM_LINE_BAD_INPUT;
  p->texSize = x;
  return STAR_PARAM_LINE_OK;
}

int parseTexScale(StarParameter* p, const char* v, const char*) {
  double x = 0;
  if (sscanf(v, "%lf", &x) != 1 || !(x >= 0)) return STAR_PARAM_LINE_BAD_INPUT;
  p->texScale = x;
  return STAR_PARAM_LINE_OK;
}

int parseMinFilter(StarParameter* p, const char* v, const char*) {
  char word[kLineBuf];
  firstWord(v, word);
  int i = findWord(kMinFilters, word, true);
  if (i < 0) return STAR_PARAM_LINE_BAD_INPUT;
  p->texParaMinFilter = kMinFilters[i].value;
  return STAR_PARAM_LINE_OK;
}

int parseMagFilter(StarParameter* p, const char* v, const char*) {
  char word[kLineBuf];
  firstWord(v, word);
  int i = findWord(kMagFilters, word, true);
  if (i < 0) return STAR_PARAM_LINE_BAD_INPUT;
  p->texParaMagFilter = kMagFilters[i].value;
  return STAR_PARAM_LINE_OK;
}

// A value in [0,1].
int parseUnitValue(float* out, const char* v) {
  float x = 0;
  if (!oneFloat(v, &x)) return STAR_PARAM_LINE_BAD_INPUT;
  if (!inUnitRange(x)) return STAR_PARAM_LINE_BAD_RANGE;
  *out = x;
  return STAR_PARAM_LINE_OK;
}

// A value above 0 (positive) or at least 0.
int parseSignedValue(float* out, const char* v, bool zeroAllowed) {
  float x = 0;
  if (!oneFloat(v, &x) || !(zeroAllowed ? x >= 0 : x > 0)) return STAR_PARAM_LINE_BAD_INPUT;
  *out = x;
  return STAR_PARAM_LINE_OK;
}

int parseFilterSize(StarParameter* p, const char* v, const char*) {
  return parseUnitValue(&p->filterSize, v);
}

int parseFilterExp(StarParameter* p, const char* v, const char*) {
  return parseSignedValue(&p->filterExp, v, false);
}

int parseFilterCutoff(StarParameter* p, const char* v, const char*) {
  return parseUnitValue(&p->filterCutoff, v);
}

int parseFilterOrder(StarParameter* p, const char* v, const char*) {
  return parseSignedValue(&p->filterOrder, v, true);
}

int parseFilterRGB(StarParameter* p, const char* v, const char*) {
  float* c = p->filterRGB;
  if (sscanf(v, "%f %f %f", &c[0], &c[1], &c[2]) < 3) return STAR_PARAM_LINE_NOT_ENOUGH;
  if (!inUnitRange(c[0]) || !inUnitRange(c[1]) || !inUnitRange(c[2])) return STAR_PARAM_LINE_BAD_RANGE;
  return STAR_PARAM_LINE_OK;
}

int parseTelescopeDiam(StarParameter* p, const char* v, const char*) {
  return parseSignedValue(&p->telescopeDiam, v, false);
}

int parseFilterType(StarParameter* p, const char* v, const char*) {
  char word[kLineBuf];
  firstWord(v, word);
  int i = findWord(kFilterTypes, word, false);
  if (i < 0) return STAR_PARAM_LINE_BAD_INPUT;
  p->filterType = kFilterTypes[i].value;
  return STAR_PARAM_LINE_OK;
}

int parseTextureSource(StarParameter* p, const char* v, const char* dir) {
  char word[kLineBuf], file[kLineBuf];
  int n = sscanf(v, "%511s %511s", word, file);
  if (strcasecmp(word, "File") == 0) {
    if (n < 2) return STAR_PARAM_LINE_NOT_ENOUGH;
    if (!takePath(p->textureFile, file, dir)) return STAR_PARAM_LINE_BAD_INPUT;
    p->textureSource = STAR_TEX_FILE;
    return STAR_PARAM_LINE_OK;
  }
  int i = findWord(kTextureSources, word, false);
  if (i < 0) return STAR_PARAM_LINE_BAD_INPUT;
  p->textureSource = kTextureSources[i].value;
  return STAR_PARAM_LINE_OK;
}

int parseExposure(StarParameter* p, const char* v, const char*) {
  return parseSignedValue(&p->exposure, v, false);
}

int parseTuneIntensity(StarParameter* p, const char* v, const char*) {
  return parseSignedValue(&p->tuneIntensity, v, false);
}

int parseStarScale(StarParameter* p, const char* v, const char*) {
  return parseSignedValue(&p->starScale, v, false);
}

int parseVmagMin(StarParameter* p, const char* v, const char*) {
  float x = 0;
  if (!oneFloat(v, &x)) return STAR_PARAM_LINE_BAD_INPUT;
  if (!(x >= kVmagMinLowest && x <= kVmagMinHighest)) return STAR_PARAM_LINE_BAD_RANGE;
  p->vmagMin = x;
  return STAR_PARAM_LINE_OK;
}

int parseStarAtYear(StarParameter* p, const char* v, const char*) {
  p->starAtYear = atoi(v);
  return STAR_PARAM_LINE_OK;
}

int parseDatasetYear(StarParameter* p, const char* v, const char*) {
  p->datasetYear = atoi(v);
  return STAR_PARAM_LINE_OK;
}

int parseLsrKm(StarParameter* p, const char* v, const char*) {
  double* x = p->LSR;
  if (sscanf(v, "%lf %lf %lf", &x[0], &x[1], &x[2]) < 3) return STAR_PARAM_LINE_NOT_ENOUGH;
  return STAR_PARAM_LINE_OK;
}

// Galactic longitude and latitude in degrees and a speed, turned into the same vector as
// LSR_KM gives. The writer puts both lines, for one vector; this one, printed to six decimals and
// turned back in single precision, lands some millionths of a km/s beside the km/s line. When it
// says no more than that, it repeats the vector already read, and the more exact one is kept, so
// that a written file reads back to the vector it was written from. When it says more, it is an
// edit, and being the later line it wins.
int parseLsrLbSpeed(StarParameter* p, const char* v, const char*) {
  float l = 0, b = 0, speed = 0;
  if (sscanf(v, "%f %f %f", &l, &b, &speed) < 3) return STAR_PARAM_LINE_NOT_ENOUGH;
  float lr = l / kDegPerHalfTurn * kPiFloat;
  float br = b / kDegPerHalfTurn * kPiFloat;
  double lsr[3] = {speed * cos((double)br) * cos((double)lr), speed * cos((double)br) * sin((double)lr),
                   speed * sin((double)br)};
  double agree = kLsrSameAbsolute + kLsrSameRelative * fabs((double)speed);
  if (equalVec3D_Ep(lsr, p->LSR, agree)) return STAR_PARAM_LINE_OK;
  copy3D(p->LSR, lsr);
  return STAR_PARAM_LINE_OK;
}

using KeywordParser = int (*)(StarParameter* p, const char* values, const char* dir);

struct Keyword {
  const char* name;
  KeywordParser parse;
};

// In the order they are looked for.
constexpr Keyword kKeywords[] = {
    {"constellation_file", parseConstellationFile},
    {"constellation_colors", parseConstellationColors},
    {"constellation_width", parseConstellationWidth},
    {"constellation_stipple", parseConstellationStipple},
    {"label_scale", parseLabelScale},
    {"extrasolar_planet_file", parsePlanetFile},
    {"extrasolar_planet_orbit_scale", parsePlanetOrbitScale},
    {"zRange_selection", parseZRange},
    {"Vmag_Range_selection", parseVmagRange},
    {"Sptype_selection", parseSptype},
    {"color_map", parseColorMap},
    {"pxsizeTex", parsePxsizeTex},
    {"texSize", parseTexSize},
    {"texScale", parseTexScale},
    {"texParaMinFilter", parseMinFilter},
    {"texParaMagFilter", parseMagFilter},
    {"filterSize", parseFilterSize},
    {"filterExp", parseFilterExp},
    {"filterCutoff", parseFilterCutoff},
    {"filterOrder", parseFilterOrder},
    {"filterRGB", parseFilterRGB},
    {"telescopeDiam", parseTelescopeDiam},
    {"filterType", parseFilterType},
    {"texture_source", parseTextureSource},
    {"exposure", parseExposure},
    {"tuneIntensity", parseTuneIntensity},
    {"starScale", parseStarScale},
    {"vmagMin", parseVmagMin},
    {"starAtYear", parseStarAtYear},
    {"datasetAtYear", parseDatasetYear},
    {"LSR_KM", parseLsrKm},
    {"LSR_LB_SPEED", parseLsrLbSpeed},
};

const Keyword* findKeyword(const char* name) {
  for (const Keyword& k : kKeywords)
    if (strcasecmp(k.name, name) == 0) return &k;
  return nullptr;
}

// What one read of a physical line gave.
enum RawLine { RAW_LINE, RAW_TOO_LONG, RAW_BINARY, RAW_END };

// Reads one line into buf (kLineBuf bytes) without its newline. The rest of an over-long line is
// read and dropped, so that the next read starts on the next line. A last line with no newline
// counts for nothing, as the end of the file comes first.
int readRawLine(FILE* fp, char* buf) {
  int n = 0;
  bool tooLong = false, binary = false;
  for (;;) {
    int c = getc(fp);
    if (c == EOF) return RAW_END;
    if (c == '\n') break;
    if (n < STAR_PARAM_MAX_LINE) {
      if (c == 0) binary = true;
      buf[n++] = (char)c;
    } else {
      tooLong = true;
    }
  }
  buf[n] = 0;
  return tooLong ? RAW_TOO_LONG : binary ? RAW_BINARY : RAW_LINE;
}

bool headerLineIs(FILE* fp, char* buf, const char* expected) {
  return readRawLine(fp, buf) != RAW_END && strncasecmp(buf, expected, kHeaderCompare) == 0;
}

}  // namespace

int parseStarParameterLine(StarParameter* p, const char* line, const char* dir) {
  char keyword[kLineBuf], sign[kLineBuf], first[kLineBuf];
  int n = sscanf(line, "%511s %511s %511s", keyword, sign, first);
  if (n < 2) return STAR_PARAM_LINE_NOT_ENOUGH;
  if (strcmp(sign, "=") != 0) return STAR_PARAM_LINE_NO_EQUALS;
  const Keyword* k = findKeyword(keyword);
  if (!k) return STAR_PARAM_LINE_UNKNOWN;
  if (n == 2) return STAR_PARAM_LINE_OK;  // "keyword =" keeps the value it had
  StarParameter work = *p;
  int result = k->parse(&work, valuesOf(line), dir);
  if (result == STAR_PARAM_LINE_OK) *p = work;
  return result;
}

void reportStarParameterLine(int result, int lineNo, const char* line) {
  char keyword[kLineBuf];
  switch (result) {
    case STAR_PARAM_LINE_NOT_ENOUGH:
      fprintf(stderr,
              "Err(StarList::readStarParameter): (line %d)\n\tnot enough input argument in line [%s]\n",
              lineNo, line);
      break;
    case STAR_PARAM_LINE_NO_EQUALS:
      fprintf(stderr,
              "Err(StarList::readStarParameter): (line %d)\n\tinvalid data line format in line [%s]\n",
              lineNo, line);
      break;
    case STAR_PARAM_LINE_BAD_RANGE:
      fprintf(stderr, "Err(StarList::readStarParameter): (line %d)\n\tinvalid data range in line [%s]\n",
              lineNo, line);
      break;
    case STAR_PARAM_LINE_BAD_INPUT:
      fprintf(stderr, "Err(StarList::readStarParameter): (line %d)\n\tinvalid data input in line [%s]\n",
              lineNo, line);
      break;
    case STAR_PARAM_LINE_UNKNOWN:
      firstWord(line, keyword);
      fprintf(stderr, "Err(StarList::readStarParameter): (line %d)\n\tunknown identifier [%s] in line [%s]\n",
              lineNo, keyword, line);
      break;
    case STAR_PARAM_LINE_TOO_LONG:
      fprintf(
          stderr,
          "Err(StarList::readStarParameter): (line %d)\n\tline longer than %d characters in line [%.*s...]\n",
          lineNo, STAR_PARAM_MAX_LINE, kLongLineShown, line);
      break;
    default:
      break;
  }
}

int parseStarParameterFile(const char* fileName, const char* dir, bool quiet, StarParameter* p) {
  if (!fileName) {
    if (!quiet) fprintf(stderr, "Err: (NULL) input for readStarParameter\n");
    return -1;
  }
  FILE* fp = fopen(fileName, "r");
  if (!fp) {
    if (!quiet) fprintf(stderr, "Err: fail to open [%s] in readStarParameter\n", fileName);
    return -1;
  }
  char buf[kLineBuf];
  if (!headerLineIs(fp, buf, "Star Parameters") || !headerLineIs(fp, buf, "---------------")) {
    if (!quiet) fprintf(stderr, "Err: invalid header in star parameter file [%s]\n", fileName);
    fclose(fp);
    return -1;
  }
  StarParameter work = *p;
  int lineNo = 2;  // the header's two lines count
  for (;;) {
    int raw = readRawLine(fp, buf);
    if (raw == RAW_END) break;
    lineNo++;
    StarList::chomp(buf);
    // A comment may run on as long as it likes.
    if (StarList::isComment(buf)) continue;
    int result = STAR_PARAM_LINE_OK;
    if (raw == RAW_TOO_LONG)
      result = STAR_PARAM_LINE_TOO_LONG;
    else if (raw == RAW_BINARY)
      result = STAR_PARAM_LINE_BAD_INPUT;
    else if (!StarList::isBlankLine(buf))
      result = parseStarParameterLine(&work, buf, dir);
    if (result != STAR_PARAM_LINE_OK) {
      reportStarParameterLine(result, lineNo, buf);
      fclose(fp);
      return -1;
    }
  }
  fclose(fp);
  *p = work;
  return 1;
}

int StarList::readStarParameter(const char* fileName, const char* dir, bool quiet) {
  StarParameter work = param;
  if (parseStarParameterFile(fileName, dir, quiet, &work) != 1) return -1;
  // The file was read; what applying it gives has its own messages and does not change this result.
  setStarParameter(work);
  return 1;
}
