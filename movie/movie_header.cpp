// The header reader of movie scripts: title, separator, resolution, methods, keyframe count.
#include <cstring>

#include "movie/movie_report.h"
#include "movie/movierec.h"
#include "movie/scriptline.h"

namespace {

// Items of the resolution line: "resolution : <w> x <h>".
constexpr int kResolutionItems = 5;
// Items of the count line: "nKeyFrames : <n>".
constexpr int kCountItems = 3;

}  // namespace

int MovieRecord::readHeader(FILE* fp, int* lineNum, int quiet, int* count) {
  char line[kMovieLineSize];
  char word[kMovieLineSize], colon[kMovieLineSize], cross[kMovieLineSize];

  *lineNum = 1;
  if (!readScriptLine(line, kMovieLineSize, fp) || std::strcmp(line, "Movie Script\n") != 0) {
    std::fprintf(stderr, "Err : (line %d) Wrong/Missing script header [Movie Script]\n\n", *lineNum);
    return -1;
  }
  *lineNum = 2;
  if (!readScriptLine(line, kMovieLineSize, fp) || !isSeparatorLine(line)) {
    std::fprintf(stderr, "Err : (line %d) should be ----- after header [Movie Script]\n\n", *lineNum);
    return -1;
  }

  // resolution : <winW> x <winH>
  if (!getValidLine(line, kMovieLineSize, fp, lineNum, false)) return -1;
  int w = 0, h = 0;
  int items = std::sscanf(line, "%511s %511s %d %511s %d", word, colon, &w, cross, &h);
  if (items < 1 || std::strcmp(word, "resolution") != 0) {
    std::fprintf(stderr, "Err : (line %d) missing identifier [resolution]\n\n", *lineNum);
    return -1;
  }
  if (items != kResolutionItems || std::strcmp(colon, ":") != 0 || std::strcmp(cross, "x") != 0) {
    std::fprintf(stderr, "Err : (line %d) format should be [resolution : <winW> x <winH>]\n\n", *lineNum);
    return -1;
  }
  if (w < 1 || h < 1) {
    std::fprintf(stderr, "Err : (line %d) Non-positive window sizes [%d x %d]\n\n", *lineNum, w, h);
    return -1;
  }
  winW = w;
  winH = h;

  // interp : <words>
  if (!getValidLine(line, kMovieLineSize, fp, lineNum, false)) return -1;
  char* save = nullptr;
  char* token = strtok_r(line, kScriptDelimiters, &save);
  if (!token || std::strcmp(token, "interp") != 0) {
    std::fprintf(stderr, "Err : (line %d) missing identifier [interp]\n\n", *lineNum);
    return -1;
  }
  token = strtok_r(nullptr, kScriptDelimiters, &save);
  if (!token || std::strcmp(token, ":") != 0) {
    std::fprintf(stderr, "Err : (line %d) missing token [:] after [interp]\n\n", *lineNum);
    return -1;
  }
  interpMethod = LinPos;
  interpMethodQuat = LinQuat;
  interpMethodFovy = LinFov;
  interpMethodAspect = LinAspect;
  int* channels[4] = {&interpMethod, &interpMethodQuat, &interpMethodFovy, &interpMethodAspect};
  while ((token = strtok_r(nullptr, kScriptDelimiters, &save)) != nullptr) {
    int found = -1;
    for (int i = 0; i < kInterpWordCount; i++)
      if (std::strcmp(token, kInterpWords[i]) == 0) found = i;
    if (found < 0) {
      reportUndefinedInterp(*lineNum, token);
      return -1;
    }
    *channels[found / 2] = kInterpWordMethods[found];
  }

  // nKeyFrames : <n>   ("nFrames" means the same)
  if (!getValidLine(line, kMovieLineSize, fp, lineNum, false)) return -1;
  int n = 0;
  items = std::sscanf(line, "%511s %511s %d", word, colon, &n);
  if (items < kCountItems) {
    std::fprintf(stderr, "Err : (line %d) the format should be [nKeyFrames : <# of keyframes>]\n\n", *lineNum);
    return -1;
  }
  if (std::strcmp(word, "nFrames") != 0 && std::strcmp(word, "nKeyFrames") != 0) {
    std::fprintf(stderr, "Err : (line %d) missing identifier [nFrames/nKeyFrames]\n\n", *lineNum);
    return -1;
  }
  if (std::strcmp(colon, ":") != 0) {
    std::fprintf(stderr, "Err : (line %d) the format should be [nKeyFrames : <# of keyframes>]\n\n", *lineNum);
    return -1;
  }
  if (n < 0) {
    std::fprintf(stderr, "Err : (line %d) number of keyframes should be positive\n\n", *lineNum);
    return -1;
  }
  *count = n;

  if (!quiet) {
    const int methods[4] = {interpMethod, interpMethodQuat, interpMethodFovy, interpMethodAspect};
    if (!echoScriptHeader(*lineNum, winW, winH, methods, n)) return -1;
  }
  return 1;
}
