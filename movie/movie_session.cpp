// Sessions of a movie script: the "Begin" and "End" lines and their effect on keyframes and on
// the frames between them.
#include <cstdlib>
#include <cstring>

#include "coords/math3D.h"
#include "movie/movierec.h"
#include "movie/scriptline.h"

namespace {

// Numbers behind "Begin FixAtPt" (x, y, z, s) and "Begin FixHeadUp" (x, y, z).
constexpr int kFixPtNumbers = 4;
constexpr int kFixUpNumbers = 3;

// The point and up vector of the open FixAtPt and FixHeadUp; only one of each can be open.
PHCoord localFixAtPt;
double localFixHeadup[3];

bool isMethodType(int type) { return type >= 0 && type < kSessionMethodCount; }

}  // namespace

int MovieRecord::translateSession(const char* name) const {
  for (int i = 0; i < kSessionTypeCount; i++)
    if (std::strcmp(name, sessionName[i]) == 0) return i;
  return -1;
}

int MovieRecord::readSession(const char* line, int lineNum, int quiet, bool open[kSessionTypeCount],
                             int begin[kSessionTypeCount], int current) {
  (void)quiet;  // sessions are read without an echo
  if (!line) {
    std::fprintf(stderr, "Err (readSession): input line is NULL.\n");
    return 0;
  }
  char copy[kMovieLineSize];
  std::snprintf(copy, sizeof copy, "%s", line);
  char* save = nullptr;
  char* first = strtok_r(copy, kScriptDelimiters, &save);
  bool isBegin = first && std::strcmp(first, "Begin") == 0;
  bool isEnd = first && std::strcmp(first, "End") == 0;
  if (!isBegin && !isEnd) {
    std::fprintf(stderr, "Err : (line %d) unknown identifier [%s] encountered.\n", lineNum, first ? first : "");
    std::fprintf(stderr, "      should be [-----] OR [Begin] OR [End].\n");
    return 0;
  }
  const char* kind = isBegin ? "Begin" : "End";

  for (char* name = strtok_r(nullptr, kScriptDelimiters, &save); name;
       name = strtok_r(nullptr, kScriptDelimiters, &save)) {
    int type = translateSession(name);
    if (type < 0) {
      std::fprintf(stderr, "Err : (line %d) unknown session name [%s] after [%s].\n", lineNum, name, kind);
      std::fprintf(stderr, "      should be [%s]", sessionName[0]);
      for (int i = 1; i < kSessionTypeCount; i++) std::fprintf(stderr, "\n             OR [%s]", sessionName[i]);
      std::fprintf(stderr, "\n");
      return 0;
    }
    if (isBegin && open[type]) {
      double frame = 0.0;
      convertKeyFrame(begin[type], 0.0, &frame);
      std::fprintf(stderr, "Err : (line %d) [Begin %s] has been set twice here without [End] in-between!.\n",
                   lineNum, name);
      std::fprintf(stderr, "       You may find your previous [Begin %s] at line: KeyFrame %.0f.\n", name, frame);
      return 0;
    }
    if (isEnd && !open[type]) {
      std::fprintf(stderr, "Err : (line %d) [End %s] has been encountered without [Begin %s] before!.\n", lineNum,
                   name, name);
      return 0;
    }
    open[type] = !open[type];

    if (isEnd) {
      if (begin[type] == current) {
        std::fprintf(stderr, "Warning : (line %d) same [Begin %s] and [End %s] here -- effect ignored.\n", lineNum,
                     name, name);
        continue;
      }
      if (nSessions >= kMaxSessions) {
        std::fprintf(stderr, "Err: (line %d) too many [Begin-End] sessions in script file (max:%d)\n\n", lineNum,
                     kMaxSessions);
        return 0;
      }
      sessionRec& s = sessions[nSessions++];
      s = sessionRec();
      s.type = type;
      s.begin = begin[type];
      s.end = current;
      if (type == kSessionFixAtPt) s.fixPt = localFixAtPt;
      if (type == kSessionFixHeadUp) copy3D(s.fixUp, localFixHeadup);
      continue;
    }

    begin[type] = current;
    if (isMethodType(type)) {
      int partner = type ^ 1;
      if (open[partner]) {  // both of a pair open at once
        double frame = 0.0;
        convertKeyFrame(begin[partner], 0.0, &frame);
        std::fprintf(stderr, "Err : (line %d) [Begin %s] and [Begin %s] cannot co-exist\n", lineNum, name,
                     sessionName[partner]);
        std::fprintf(stderr, "       You may find your [Begin %s] at line: KeyFrame %.0f.\n", sessionName[partner],
                     frame);
        return 0;
      }
    }
    if (type == kSessionFixAtPt) {
      double v[kFixPtNumbers];
      for (int i = 0; i < kFixPtNumbers; i++) {
        char* token = strtok_r(nullptr, kScriptDelimiters, &save);
        if (!token) {
          std::fprintf(stderr, "Err : (line %d) Need 4 numbers for fixed pt (in PHC) after [Begin %s].\n", lineNum,
                       name);
          return 0;
        }
        v[i] = std::atof(token);
      }
      localFixAtPt = PHCoord{v[0], v[1], v[2], v[3]};
    }
    if (type == kSessionFixHeadUp) {
      for (int i = 0; i < kFixUpNumbers; i++) {
        char* token = strtok_r(nullptr, kScriptDelimiters, &save);
        if (!token) {
          std::fprintf(stderr, "Err : (line %d) Need 3 numbers for fixed pt (in PHC) after [Begin %s].\n", lineNum,
                       name);
          return 0;
        }
        localFixHeadup[i] = std::atof(token);
      }
      unify3D(localFixHeadup);
    }
  }
  return 1;
}

void MovieRecord::updateKeyFrameBySession(keyFrameNode* node) {
  const int id = node->id;
  for (int i = 0; i < nSessions; i++) {
    const sessionRec& s = sessions[i];
    if (s.begin <= id && id < s.end && isMethodType(s.type)) {
      // Always the position field, whatever the channel: any session in force other than LinPos
      // makes the span's position a spline, and the later session in the list wins.
      node->interpMethod = 1 << s.type;
    }
    if (!(s.begin <= id && id <= s.end)) continue;
    double t[3];
    if (s.type == kSessionFixAtPt) {
      if (id < s.end) node->fixAtPtSession = i;
      PHCoord d = subPHCoord(s.fixPt, node->view.viewPos);
      unifyPHCoord(&d);
      node->view.viewDir[0] = d.x;
      node->view.viewDir[1] = d.y;
      node->view.viewDir[2] = d.z;
      cross3D(node->view.viewDir, node->view.viewUp, t);
      cross3D(t, node->view.viewDir, node->view.viewUp);
      unify3D(node->view.viewUp);
    } else if (s.type == kSessionFixHeadUp) {
      if (id < s.end) node->fixHeadUpSession = i;
      copy3D(node->view.viewUp, s.fixUp);
      cross3D(node->view.viewDir, node->view.viewUp, t);
      if (node->fixAtPtSession == -1) {
        // Nothing to look at: the sight tilts to be perpendicular to the up vector.
        cross3D(node->view.viewUp, t, node->view.viewDir);
        unify3D(node->view.viewDir);
      } else {
        // A point is held: the sight stays on it and the up vector gives way.
        cross3D(t, node->view.viewDir, node->view.viewUp);
        unify3D(node->view.viewUp);
      }
    }
  }
}

void MovieRecord::updateViewBySession(const keyFrameNode* node, View* view) const {
  double t[3];
  if (node->fixHeadUpSession >= 0) {
    copy3D(view->viewUp, node->view.viewUp);
    cross3D(view->viewDir, view->viewUp, t);
    cross3D(view->viewUp, t, view->viewDir);
    unify3D(view->viewDir);
  }
  if (node->fixAtPtSession >= 0) {
    // Subtracted in PHCoord: the aim holds at any distance from the point.
    PHCoord d = subPHCoord(sessions[node->fixAtPtSession].fixPt, view->viewPos);
    unifyPHCoord(&d);
    view->viewDir[0] = d.x;
    view->viewDir[1] = d.y;
    view->viewDir[2] = d.z;
    cross3D(view->viewDir, view->viewUp, t);
    cross3D(t, view->viewDir, view->viewUp);
    unify3D(view->viewUp);
  }
}
