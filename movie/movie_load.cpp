// Reading a movie script: definitions and keyframes after the header, then sessions and guide
// views applied over the whole list.
#include <cstring>

#include "fileio/common.h"
#include "movie/movierec.h"
#include "movie/scriptline.h"

namespace {

// Items of a definition line: "define <name> <value>".
constexpr int kDefinitionItems = 3;
// Tab stops of the definition echo: names are padded to about three tabs past "define".
constexpr int kEchoTabs = 3;
constexpr int kEchoNameBase = 6;
constexpr int kTabShift = 3;
// The echo treats the shifted length as an unsigned 29-bit number, so a name shorter than the
// base gives a huge count and no tab at all.
constexpr unsigned kTwentyNineBits = 0x1FFFFFFFu;

bool startsWith(const char* line, const char* word) {
  return std::strncmp(line, word, std::strlen(word)) == 0;
}

}  // namespace

int MovieRecord::readDefinitions(FILE* fp, int* lineNum, int quiet, int count, char* line) {
  char word[kMovieLineSize], name[kMovieLineSize];
  for (;;) {
    int got = readScriptLine(line, kMovieLineSize, fp);
    (*lineNum)++;
    if (!got) {
      if (count > 0) {
        std::fprintf(stderr, "Err: (line %d) no more keyframe to read?\n\n", *lineNum);
        return -1;
      }
      return 0;
    }
    if (isBlankLine(line) || isComment(line)) continue;
    float value = 0.0f;
    if (std::sscanf(line, "%511s %511s %f", word, name, &value) != kDefinitionItems ||
        std::strcmp(word, "define") != 0)
      return 1;  // the first keyframe line
    if (nDefinitions >= kMaxDefinitions) {
      std::fprintf(stderr, "Err: (line %d) too many definitions in script file (max:%d)\n\n", *lineNum,
                   kMaxDefinitions);
      return -1;
    }
    int slot = -1;
    for (int i = 0; i < nDefinitions; i++)
      if (std::strcmp(definitionName[i], name) == 0) slot = i;
    bool duplicate = slot >= 0;
    if (!duplicate) {
      slot = nDefinitions++;
      copyText(definitionName[slot], name, kMovieLineSize);
    }
    definitionValue[slot] = value;
    if (!quiet) {
      std::fprintf(stderr, "read definition [ %s", name);
      unsigned shifted = (static_cast<unsigned>(std::strlen(name)) - kEchoNameBase) >> kTabShift;
      long tabs = kEchoTabs - static_cast<long>(shifted & kTwentyNineBits);
      for (long i = 0; i < tabs; i++) std::fputc('\t', stderr);
      std::fprintf(stderr, "%9.4f ", static_cast<double>(value));
      std::fprintf(stderr, duplicate ? "] (duplicate)\n" : "]\n");
    }
  }
}

int MovieRecord::readKeyFrame(FILE* fp, int* lineNum, int quiet, bool last, int* prevFrame, bool open[],
                              int begin[], char* line) {
  keyFrameNode* node = newNode();
  if (!node) {
    std::fprintf(stderr, "Err : (line %d) MovieRecord::loadRecord : Can't allocate memory for KeyFrames!\n",
                 *lineNum);
    return -1;
  }
  // A node that fails before it is linked goes back at once: nothing half-read stays around.
  auto fail = [&]() {
    freeFunc(node);
    return -1;
  };

  char word[kMovieLineSize];
  int frame = 0;
  int items = std::sscanf(line, "%511s %d", word, &frame);
  if (items < 1 || std::strcmp(word, "KeyFrame") != 0) {
    char shown[kMovieLineSize];
    std::fprintf(stderr, "Err : (line %d) Wrong keyframe header [%s]\n", *lineNum,
                 items < 1 ? chompedCopy(shown, line, kMovieLineSize) : word);
    return fail();
  }
  if (items < 2) {
    std::fprintf(stderr, "Err : (line %d) Missing frame number after [KeyFrame]\n", *lineNum);
    return fail();
  }
  if (frame <= *prevFrame) {
    std::fprintf(stderr, "Err : (line %d) incorrect frame number.\n", *lineNum);
    return fail();
  }
  node->nFrameFrm = frame - *prevFrame - 1;
  *prevFrame = frame;
  if (!quiet) std::fprintf(stderr, "    reading keyframe %d (frame %d)\n", nKeyFrames, frame);
  if (!readKeyFrameSubIDs(node, line, *lineNum, quiet)) return fail();

  // Session lines up to the separator.
  for (;;) {
    if (!getValidLine(line, kMovieLineSize, fp, lineNum, false)) return fail();
    if (isSeparatorLine(line)) break;
    if (!readSession(line, *lineNum, quiet, open, begin, nKeyFrames)) return fail();
  }

  if (!readView(fp, lineNum, quiet, &node->view)) return fail();
  node->guideIn = node->view;
  node->guideOut = node->view;

  // Optional guide frames; the next "KeyFrame" line stays in line for the caller.
  line[0] = '\0';
  for (;;) {
    if (!getValidLine(line, kMovieLineSize, fp, lineNum, last)) {
      if (!last) return fail();
      line[0] = '\0';
      break;
    }
    if (startsWith(line, "KeyFrame")) break;
    if (startsWith(line, "GuideFrame In")) {
      if (!quiet) std::fprintf(stderr, "\t[GuideFrame In]\n");
      if (!readView(fp, lineNum, quiet, &node->guideIn)) return fail();
      node->guideInByUser = true;
    } else if (startsWith(line, "GuideFrame Out")) {
      if (!quiet) std::fprintf(stderr, "\t[GuideFrame Out]\n");
      if (!readView(fp, lineNum, quiet, &node->guideOut)) return fail();
      node->guideOutByUser = true;
    } else if (last) {
      break;  // whatever follows the last keyframe is not read
    } else {
      char shown[kMovieLineSize];
      std::fprintf(stderr, "Err : (line %d) unknown identifier in [%s].\n", *lineNum,
                   chompedCopy(shown, line, kMovieLineSize));
      return fail();
    }
  }

  keyFrameNode* tail = tailNode();
  if (tail) {
    tail->next = node;
    node->prev = tail;
  } else {
    keyFrames = node;
  }
  node->id = nKeyFrames++;
  return 1;
}

int MovieRecord::loadFile(const char* path, int quiet) {
  FILE* fp = std::fopen(path, "r");
  if (!fp) {
    if (!quiet) std::fprintf(stderr, "Err : cannot open movie script [%s]\n", path);
    return -1;
  }
  int lineNum = 0;
  int count = 0;
  char line[kMovieLineSize];
  auto fail = [&]() {
    std::fclose(fp);
    return -1;
  };

  if (readHeader(fp, &lineNum, quiet, &count) != 1) return fail();
  int defs = readDefinitions(fp, &lineNum, quiet, count, line);
  if (defs < 0) return fail();
  if (!quiet) std::fprintf(stderr, "\n");
  if (count == 0) {
    std::fprintf(stderr, "warning: no keyframe in the scp file.\n");
    std::fclose(fp);
    return 1;
  }
  if (!quiet) std::fprintf(stderr, "Reading %d keyframes ......\n", count);

  // The reader keeps a table of the nodes it reads; its allocation is the first to fail.
  void* table = allocFunc(sizeof(keyFrameNode*) * static_cast<size_t>(count));
  if (!table) {
    std::fprintf(stderr, "Err : (line %d) MovieRecord::loadRecord : Can't allocate memory for KeyFrames!\n",
                 lineNum);
    return fail();
  }
  keyFrameNode** nodes = static_cast<keyFrameNode**>(table);
  auto failAll = [&]() {
    freeFunc(table);
    return fail();
  };

  // Appending: frame numbers continue from the tail's index (not its frame number).
  keyFrameNode* tail = tailNode();
  int prevFrame = tail ? tail->id : -1;
  bool open[kSessionTypeCount] = {};
  int begin[kSessionTypeCount] = {};
  nSessions = 0;

  for (int i = 0; i < count; i++) {
    if (readKeyFrame(fp, &lineNum, quiet, i == count - 1, &prevFrame, open, begin, line) != 1) return failAll();
    nodes[i] = tailNode();
  }

  for (int type = 0; type < kSessionTypeCount; type++) {
    if (!open[type]) continue;
    double frame = 0.0;
    convertKeyFrame(begin[type], 0.0, &frame);
    std::fprintf(stderr, "Err: [Begin %s] encountered in the line with Keyframe %.0f,\n", sessionName[type], frame);
    std::fprintf(stderr, "     but correspond [End %s] is missing\n", sessionName[type]);
    return failAll();
  }

  // Sessions and guides need the whole list: applied last, from head to tail.
  for (keyFrameNode* node = keyFrames; node; node = node->next) {
    updateKeyFrameBySession(node);
    updateGuideView(node);
  }
  freeFunc(table);
  std::fclose(fp);
  if (!quiet) std::fprintf(stderr, "finished\n");
  return 1;
}
