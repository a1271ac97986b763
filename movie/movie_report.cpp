// The reader's longer messages: the valid interpolation words and the header echo.
#include "movie/movie_report.h"

#include <cstdio>

#include "coords/view.h"

const char* const kInterpWords[kInterpWordCount] = {"linear",      "spline",      "linear-quat",
                                                    "spline-quat", "linear-fovy", "spline-fovy",
                                                    "linear-aspect-ratio", "spline-aspect-ratio"};
const int kInterpWordMethods[kInterpWordCount] = {LinPos, SplPos, LinQuat, SplQuat,
                                                  LinFov, SplFov, LinAspect, SplAspect};

namespace {

// The record's field names, for the message on a broken method, by channel.
const char* const kMethodFields[4] = {"interpMethod", "interpMethodQuat", "interpMethodFovy",
                                      "interpMethodAspect"};

}  // namespace

void reportUndefinedInterp(int lineNum, const char* word) {
  std::fprintf(stderr, "Err : (line %d) undefined interpolation method [%s]\n", lineNum, word);
  std::fprintf(stderr, "      valid interp method should be:\n");
  for (const char* valid : kInterpWords) std::fprintf(stderr, "        - [%s]\n", valid);
}

int echoScriptHeader(int lineNum, int winW, int winH, const int methods[4], int nKeyFrames) {
  std::fprintf(stderr, "\n");
  std::fprintf(stderr, "resolution : %d x %d\n", winW, winH);
  std::fprintf(stderr, "interp     :");
  for (int channel = 0; channel < 4; channel++) {
    // The two words of a channel stand at 2 * channel (linear) and 2 * channel + 1 (spline).
    int word = -1;
    if (methods[channel] == kInterpWordMethods[2 * channel]) word = 2 * channel;
    if (methods[channel] == kInterpWordMethods[2 * channel + 1]) word = 2 * channel + 1;
    if (word < 0) {
      // The text names saveFile, as it always has.
      std::fprintf(stderr, "Err (line %d) (MovieRecord::saveFile): something's wrong with the %s.\n\n", lineNum,
                   kMethodFields[channel]);
      return 0;
    }
    std::fprintf(stderr, " %s", kInterpWords[word]);
  }
  std::fprintf(stderr, "\n");
  std::fprintf(stderr, "nFrames    : %d\n", nKeyFrames);
  std::fprintf(stderr, "\n");
  return 1;
}
