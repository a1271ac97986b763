// The movie record itself: construction, release, and the definitions offered to scenes.
#include "movie/movierec.h"

#include <cstdlib>
#include <cstring>
#include <new>

#include "fileio/common.h"
#include "fileio/pnm.h"
#include "fileio/utility.h"

namespace {

// Names of the session types, by index.
const char* const kSessionNames[kSessionTypeCount] = {"LinPos",    "SplPos",    "LinQuat", "SplQuat",
                                                      "LinFov",    "SplFov",    "LinAspect",
                                                      "SplAspect", "FixAtPt",   "FixHeadUp"};

}  // namespace

MovieRecord::MovieRecord() {
  allocFunc = std::malloc;
  freeFunc = std::free;
  // Images saved along with a movie use the same pair.
  setAllocFunc_PNM(allocFunc, freeFunc);
  setAllocFunc_UTL(allocFunc, freeFunc);
  for (int i = 0; i < kSessionTypeCount; i++) copyText(sessionName[i], kSessionNames[i], kSessionNameSize);
}

MovieRecord::~MovieRecord() {
  while (keyFrames) deleteKeyFrame(0);
}

void MovieRecord::getWindowSize(int* width, int* height) const {
  *width = winW;
  *height = winH;
}

int MovieRecord::queryDef(const char* name, double* value) const {
  for (int i = 0; i < nDefinitions; i++) {
    if (std::strcmp(definitionName[i], name) == 0) {
      *value = definitionValue[i];
      return 1;
    }
  }
  std::fprintf(stderr, "Warning: cannot find definition [%s]\n", name);
  return 0;
}

void MovieRecord::printDef() const {
  for (int i = 0; i < nDefinitions; i++)
    std::fprintf(stderr, "definitions[%s=%f]\n", definitionName[i], definitionValue[i]);
}

keyFrameNode* MovieRecord::newNode() const {
  void* memory = allocFunc(sizeof(keyFrameNode));
  if (!memory) return nullptr;
  keyFrameNode* node = new (memory) keyFrameNode();
  node->interpMethod = interpMethod;
  node->interpMethodQuat = interpMethodQuat;
  node->interpMethodFovy = interpMethodFovy;
  node->interpMethodAspect = interpMethodAspect;
  return node;
}

keyFrameNode* MovieRecord::tailNode() const {
  keyFrameNode* node = keyFrames;
  while (node && node->next) node = node->next;
  return node;
}
