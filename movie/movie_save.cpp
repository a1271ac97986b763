// Writing a movie script: header, definitions, keyframes with their factors, sessions and the
// guide views the script gave.
#include <cmath>
#include <cstring>

#include "coords/math3D.h"
#include "movie/movierec.h"

namespace {

// A factor group is written only when it differs from the defaults by more than this.
constexpr double kFactorTolerance = 1e-7;
// Tab stops of a definition line: names are padded to about five tabs past "define".
constexpr int kDefineTabs = 5;
constexpr int kTabShift = 3;

void commentBlock(FILE* fp, const char* title) {
  std::fprintf(fp, "#####################################\n");
  std::fprintf(fp, "# %s\n", title);
  std::fprintf(fp, "#####################################\n");
  std::fprintf(fp, "\n");
}

bool isDefault(double level, double in, double out) {
  return std::fabs(in - 1.0) <= kFactorTolerance && std::fabs(out - 1.0) <= kFactorTolerance &&
         std::fabs(level) <= kFactorTolerance;
}

}  // namespace

void MovieRecord::printFactor(FILE* fp, const keyFrameNode* node) const {
  struct Group {
    const char* name;
    double level, in, out;
  };
  const Group groups[4] = {{"FPos", node->posLevel, node->posIn, node->posOut},
                           {"FQuat", node->quatLevel, node->quatIn, node->quatOut},
                           {"FFov", node->fovLevel, node->fovIn, node->fovOut},
                           {"FAspect", node->aspectLevel, node->aspectIn, node->aspectOut}};
  for (const Group& g : groups)
    if (!isDefault(g.level, g.in, g.out)) std::fprintf(fp, " %s %.2f %.2f %.2f", g.name, g.level, g.in, g.out);
}

void MovieRecord::printDefinitons(FILE* fp) const {
  commentBlock(fp, "Definition session");
  for (int i = 0; i < nDefinitions; i++) {
    std::fprintf(fp, "define %s", definitionName[i]);
    long tabs = kDefineTabs - static_cast<long>((std::strlen(definitionName[i]) - 1) >> kTabShift);
    for (long t = 0; t < tabs; t++) std::fputc('\t', fp);
    std::fprintf(fp, "%9.4f\n", definitionValue[i]);
  }
  std::fprintf(fp, "\n\n");
}

void MovieRecord::printSession(FILE* fp, int keyFrame) const {
  for (int i = 0; i < nSessions; i++) {
    const sessionRec& s = sessions[i];
    if (s.begin != keyFrame) continue;
    if (s.type == kSessionFixAtPt)
      std::fprintf(fp, "Begin %s %.3f %.3f %.3f %.3f\n", sessionName[s.type], s.fixPt.x, s.fixPt.y, s.fixPt.z,
                   s.fixPt.s);
    else
      // A FixHeadUp session goes out without its vector, so it can't be read back; left so.
      std::fprintf(fp, "Begin %s\n", sessionName[s.type]);
  }
  for (int i = 0; i < nSessions; i++)
    if (sessions[i].end == keyFrame) std::fprintf(fp, "End %s\n", sessionName[sessions[i].type]);
}

int MovieRecord::saveFile(const char* path) {
  std::fprintf(stderr, "saving script file [%s]...\n", path);
  FILE* fp = std::fopen(path, "w");
  if (!fp) return -1;

  std::fprintf(fp, "Movie Script\n------------\n\n\n");
  commentBlock(fp, "Header");
  std::fprintf(fp, "resolution : %d x %d\n", winW, winH);
  std::fprintf(fp, "interp     :");
  struct Channel {
    int value, linear, spline;
    const char* linearWord;  // null: the linear word isn't written
    const char* splineWord;
    const char* field;
  };
  const Channel channels[4] = {
      {interpMethod, LinPos, SplPos, "linear", "spline", "interpMethod"},
      {interpMethodQuat, LinQuat, SplQuat, nullptr, "spline-quat", "interpMethodQuat"},
      {interpMethodFovy, LinFov, SplFov, nullptr, "spline-fovy", "interpMethodFovy"},
      {interpMethodAspect, LinAspect, SplAspect, nullptr, "spline-aspect-ratio", "interpMethodAspect"}};
  for (const Channel& c : channels) {
    if (c.value == c.linear) {
      if (c.linearWord) std::fprintf(fp, " %s", c.linearWord);
    } else if (c.value == c.spline) {
      std::fprintf(fp, " %s", c.splineWord);
    } else {
      std::fprintf(stderr, "Err (MovieRecord::saveFile): something's wrong with the %s.\n\n", c.field);
      std::fclose(fp);
      return -1;
    }
  }
  std::fprintf(fp, "\n");
  std::fprintf(fp, "nKeyFrames : %d\n\n\n", nKeyFrames);

  printDefinitons(fp);
  commentBlock(fp, "KeyFrames");

  int frame = -1;
  int index = 0;
  for (const keyFrameNode* node = keyFrames; node; node = node->next, index++) {
    frame += node->nFrameFrm + 1;
    std::fprintf(fp, "KeyFrame %d", frame);
    if (node->breakFlag) std::fprintf(fp, " Break");
    printFactor(fp, node);
    std::fprintf(fp, "\n");
    printSession(fp, index);
    std::fprintf(fp, "-----------\n");
    printView(fp, &node->view);
    std::fprintf(fp, "\n");
    if (node->guideInByUser) {
      std::fprintf(fp, "GuideFrame In\n");
      printView(fp, &node->guideIn);
      std::fprintf(fp, "\n");
    }
    if (node->guideOutByUser) {
      std::fprintf(fp, "GuideFrame Out\n");
      printView(fp, &node->guideOut);
      std::fprintf(fp, "\n");
    }
  }
  std::fclose(fp);
  std::fprintf(stderr, "finished\n");
  return 1;
}
