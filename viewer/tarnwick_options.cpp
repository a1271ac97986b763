// The framework's own command-line options: jitter, frame dumps, doubled frames, full screen.
#include <cstdlib>
#include <cstring>

#include "fileio/common.h"
#include "viewer/tarnwick.h"

namespace {

[[noreturn]] void refuse(const char* message, const char* option, const char* program) {
  fprintf(stderr, message, option);
  usage(program);
  exit(1);
}

// "-dump head offset": the head and the offset of the file names, and the dump on start.
void takeDumpArguments(int argc, char** argv, int at, const char* program) {
  if (at + 2 >= argc) refuse("\nErr: not enough argument after %s\n", argv[at], program);
  copyText(movieFileHead, argv[at + 1], sizeof movieFileHead);
  frameNumOffset = atoi(argv[at + 2]);
  if (frameNumOffset < 0) refuse("\nErr: frameNumOffset must be non-negative!\n", "", program);
  frameNumSkip = 0;
  justDump = 1;
  getStartTime = 0;
}

}  // namespace

int getOption(int argc, char** argv, int* index) {
  justDump = 0;
  fullScreen = 0;
  doubleFrame = 0;
  numCameras = 0;
  currCamera = 0;
  jitterSize = 1;
  cameras = nullptr;
  cameraFile[0] = '\0';
  const char* program = argc > 0 ? argv[0] : "";

  while (*index < argc) {
    int at = *index;
    const char* option = argv[at];
    if (strcmp(option, "-jitter") == 0) {
      if (at + 1 >= argc) refuse("\nErr: not enough argument after %s\n", option, program);
      jitterSize = atoi(argv[at + 1]);
      jitterPt = getJitterPt(jitterSize);
      if (!jitterPt) refuse("\nErr: jitterSize not supported!\n\n", "", program);
      *index += 2;
    } else if (strcmp(option, "-dump") == 0) {
      takeDumpArguments(argc, argv, at, program);
      *index += 3;
    } else if (strcmp(option, "-dumpSkip") == 0) {
      takeDumpArguments(argc, argv, at, program);
      if (at + 3 >= argc) refuse("\nErr: not enough argument <frameNumSkip> after %s\n", option, program);
      frameNumSkip = atoi(argv[at + 3]);
      *index += 4;
    } else if (strcmp(option, "-double") == 0) {
      doubleFrame = 1;
      *index += 1;
    } else if (strcmp(option, "-fullscreen") == 0) {
      fullScreen = 1;
      *index += 1;
    } else {
      break;
    }
  }

  if (currCamera < 0 || currCamera > numCameras) {
    fprintf(stderr, "\nErr: startcamera ranges [0,n] where n is the number of cameras in .cam file\n");
    usage(program);
    exit(1);
  }
  return currCamera;
}
