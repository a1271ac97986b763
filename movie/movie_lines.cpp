// The line parser of movie scripts: line classes, valid lines, value lines, views, factors and
// the tokens behind a keyframe's number.
#include <cctype>
#include <cstdlib>
#include <cstring>

#include "coords/math3D.h"
#include "movie/movierec.h"
#include "movie/scriptline.h"

namespace {

// Largest level factor; the message states the range as it always has, [0.0,0.0].
constexpr double kMaxLevel = 10.0;
constexpr double kMinLevel = 0.0;

// The items of a view, in file order.
enum ViewItem { kViewPosValues = 4, kVectorValues = 3, kScalarValues = 1 };

}  // namespace

int MovieRecord::isComment(const char* line) {
  while (*line && std::isspace(static_cast<unsigned char>(*line))) line++;
  return *line == '#' ? 1 : 0;
}

int MovieRecord::isBlankLine(const char* line) {
  for (; *line; line++)
    if (!std::isspace(static_cast<unsigned char>(*line))) return 0;
  return 1;
}

int MovieRecord::isSeparatorLine(const char* line) {
  if (line[0] != '-') return 0;
  size_t n = std::strlen(line);
  // Every character but the last (normally the line end) is a dash or white space.
  for (size_t i = 0; i + 1 < n; i++)
    if (line[i] != '-' && !std::isspace(static_cast<unsigned char>(line[i]))) return 0;
  return 1;
}

int MovieRecord::getValidLine(char* buf, int size, FILE* fp, int* lineNum, bool eofIsFine) {
  for (;;) {
    int got = readScriptLine(buf, size, fp);
    (*lineNum)++;
    if (!got) {
      if (!eofIsFine) std::fprintf(stderr, "Err : (line %d) Encounter EOF without the data.\n", *lineNum);
      return 0;
    }
    if (!isBlankLine(buf) && !isComment(buf)) return 1;
  }
}

int MovieRecord::readValues(FILE* fp, int* lineNum, const char* name, const char* otherName, int count, int quiet,
                            double* values) {
  char line[kMovieLineSize];
  if (!getValidLine(line, kMovieLineSize, fp, lineNum, false)) return 0;
  char* save = nullptr;
  char* word = strtok_r(line, kScriptDelimiters, &save);
  const char* found = word ? word : "";
  bool match = word && (std::strcmp(word, name) == 0 || (otherName && std::strcmp(word, otherName) == 0));
  if (!match) {
    if (otherName)
      std::fprintf(stderr, "Err : (line %d) should have identifier [%s] OR [%s] but found [%s].\n", *lineNum, name,
                   otherName, found);
    else
      std::fprintf(stderr, "Err : (line %d) should have identifier [%s] but found [%s].\n", *lineNum, name, found);
    return 0;
  }
  char* equals = strtok_r(nullptr, kScriptDelimiters, &save);
  if (!equals || std::strcmp(equals, "=") != 0) {
    if (otherName)
      std::fprintf(stderr, "Err : (line %d) missing [=] after [%s] OR [%s].\n", *lineNum, name, otherName);
    else
      std::fprintf(stderr, "Err : (line %d) missing [=] after [%s].\n", *lineNum, name);
    return 0;
  }
  for (int i = 0; i < count; i++) {
    char* token = strtok_r(nullptr, kScriptDelimiters, &save);
    if (!token || std::sscanf(token, "%lf", &values[i]) != 1) {
      if (otherName)
        std::fprintf(stderr, "Err : (line %d) missing the argument %d after [%s] or [%s].\n", *lineNum, i + 1, name,
                     otherName);
      else
        std::fprintf(stderr, "Err : (line %d) missing the argument %d after [%s].\n", *lineNum, i + 1, name);
      return 0;
    }
  }
  if (!quiet) {
    std::fprintf(stderr, "\t%s\t=", found);
    for (int i = 0; i < count; i++) std::fprintf(stderr, " %f", values[i]);
    std::fprintf(stderr, "\n");
  }
  return 1;
}

int MovieRecord::readView(FILE* fp, int* lineNum, int quiet, View* view) {
  double v[kViewPosValues];
  if (!readValues(fp, lineNum, "viewPos", nullptr, kViewPosValues, quiet, v)) return 0;
  view->viewPos = PHCoord{v[0], v[1], v[2], v[3]};

  if (!readValues(fp, lineNum, "viewDir", "viewVec", kVectorValues, quiet, view->viewDir)) return 0;
  if (!unify3D(view->viewDir)) {
    std::fprintf(stderr, "Err : (line %d) viewDir should be a non-zero vector.\n", *lineNum);
    return 0;
  }
  if (!readValues(fp, lineNum, "viewUp", "upVec", kVectorValues, quiet, view->viewUp)) return 0;
  if (!unify3D(view->viewUp)) {
    std::fprintf(stderr, "Err : (line %d) viewUp should be a non-zero vector.\n", *lineNum);
    return 0;
  }
  if (!readValues(fp, lineNum, "fovy", "viewFOV", kScalarValues, quiet, &view->fovy)) return 0;
  // Written as "not above" so that a NaN is refused too.
  if (!(view->fovy > 0.0)) {
    std::fprintf(stderr, "Err : (line %d) fovy should be positive.\n", *lineNum);
    return 0;
  }
  if (!readValues(fp, lineNum, "aspect", nullptr, kScalarValues, quiet, &view->aspect)) return 0;
  if (!(view->aspect > 0.0)) {
    std::fprintf(stderr, "Err : (line %d) aspect ratio should be positive.\n", *lineNum);
    return 0;
  }
  return 1;
}

int MovieRecord::readFactor(const char* levelArg, double* level, const char* inArg, double* in, const char* outArg,
                            double* out, const char* factorName, int lineNum, int quiet) {
  if (!levelArg || !inArg || !outArg) {
    std::fprintf(stderr, "Err : (line %d) failed to read 3 arguments after [%s].\n", lineNum, factorName);
    return 0;
  }
  // atof: a word that isn't a number counts as 0.
  double l = std::atof(levelArg), i = std::atof(inArg), o = std::atof(outArg);
  if (!(l >= kMinLevel && l <= kMaxLevel)) {
    std::fprintf(stderr, "Err : (line %d) level-factor (1st arg. of %s) ranges [%.1f,%.1f]\n", lineNum, factorName,
                 kMinLevel, kMinLevel);
    return 0;
  }
  if (!(i > 0.0)) {
    std::fprintf(stderr, "Err : (line %d) in-factor (2nd arg. of %s) should be positive\n", lineNum, factorName);
    return 0;
  }
  if (!(o > 0.0)) {
    std::fprintf(stderr, "Err : (line %d) out-factor (3rd arg. of %s) should be positive\n", lineNum, factorName);
    return 0;
  }
  *level = l;
  *in = i;
  *out = o;
  if (!quiet) std::fprintf(stderr, "\t-> %s %f %f %f\n", factorName, l, i, o);
  return 1;
}

int MovieRecord::readKeyFrameSubIDs(keyFrameNode* node, const char* line, int lineNum, int quiet) {
  char copy[kMovieLineSize];
  std::snprintf(copy, sizeof copy, "%s", line);
  char* save = nullptr;
  // "KeyFrame" and its number are read already.
  char* token = strtok_r(copy, kScriptDelimiters, &save);
  if (token) token = strtok_r(nullptr, kScriptDelimiters, &save);
  if (token) token = strtok_r(nullptr, kScriptDelimiters, &save);
  for (; token && !isComment(token); token = strtok_r(nullptr, kScriptDelimiters, &save)) {
    if (std::strcmp(token, "Break") == 0) {
      node->breakFlag = 1;
      continue;
    }
    double *level = nullptr, *in = nullptr, *out = nullptr;
    if (std::strcmp(token, "FPos") == 0) {
      level = &node->posLevel, in = &node->posIn, out = &node->posOut;
    } else if (std::strcmp(token, "FQuat") == 0) {
      level = &node->quatLevel, in = &node->quatIn, out = &node->quatOut;
    } else if (std::strcmp(token, "FFov") == 0) {
      level = &node->fovLevel, in = &node->fovIn, out = &node->fovOut;
    } else if (std::strcmp(token, "FAspect") == 0) {
      level = &node->aspectLevel, in = &node->aspectIn, out = &node->aspectOut;
    } else {
      std::fprintf(stderr, "Err : (line %d) unknown identifiers [%s] after [KeyFrame %%d].\n", lineNum, token);
      std::fprintf(stderr, "       valid subID are [Break],\n");
      std::fprintf(stderr, "                       [FPos],\n");
      std::fprintf(stderr, "                       [FQuat],\n");
      std::fprintf(stderr, "                       [FFov],\n");
      std::fprintf(stderr, "                    OR [FAspect].\n");
      return 0;
    }
    char name[kMovieLineSize];
    std::snprintf(name, sizeof name, "%s", token);
    char* a = strtok_r(nullptr, kScriptDelimiters, &save);
    char* b = a ? strtok_r(nullptr, kScriptDelimiters, &save) : nullptr;
    char* c = b ? strtok_r(nullptr, kScriptDelimiters, &save) : nullptr;
    if (!readFactor(a, level, b, in, c, out, name, lineNum, quiet)) return 0;
  }
  return 1;
}
