// Keyframe movie scripts: the record of a camera path, its reader and writer, sessions and guide
// frames, frame retrieval, path length, path drawing and retimed export.
//
// A MovieRecord owns a doubly linked list of keyframes, each a View with guide views and
// interpolation factors. Messages go to standard error as single lines; "Err" messages are never
// silenced. Operations return 1 for success and -1 (or 0 where said) for failure; nothing here
// exits the process or throws.
#pragma once

#include <cstddef>
#include <cstdio>

#include "coords/view.h"

// Every text line of a script is read into a buffer of this size.
constexpr int kMovieLineSize = 512;
constexpr int kMaxDefinitions = 256;
constexpr int kMaxSessions = 256;
constexpr int kSessionTypeCount = 10;
constexpr int kSessionNameSize = 32;
// Window size of a new record, in pixels.
constexpr int kDefaultMovieWindowSize = 256;

// Session types, indices into MovieRecord::sessionName. The eight method types have the bit
// value 1 << type (LinPos ... SplAspect); a pair differs in the lowest bit.
enum MovieSessionType {
  kSessionLinPos = 0,
  kSessionSplPos = 1,
  kSessionLinQuat = 2,
  kSessionSplQuat = 3,
  kSessionLinFov = 4,
  kSessionSplFov = 5,
  kSessionLinAspect = 6,
  kSessionSplAspect = 7,
  kSessionFixAtPt = 8,    // the camera looks at a fixed point
  kSessionFixHeadUp = 9,  // the camera keeps a fixed up direction
};
// The first type that isn't an interpolation method.
constexpr int kSessionMethodCount = kSessionFixAtPt;

// One closed "Begin" ... "End" range of keyframes.
struct sessionRec {
  int type = 0;   // MovieSessionType
  int begin = 0;  // keyframe index of the "Begin" line
  int end = 0;    // keyframe index of the "End" line
  PHCoord fixPt;  // the point a FixAtPt session looks at, metres
  double fixUp[3] = {};  // unit up vector of a FixHeadUp session, world frame
};

// One keyframe. Factors: level blends a handle aligned with the local turn (0) with the
// Catmull-Rom handle (1); in and out scale the handles before and behind the keyframe.
struct keyFrameNode {
  int id = 0;          // index in the list, from 0
  View view;           // the keyframe's camera
  int nFrameFrm = 0;   // in-between frames from the previous keyframe to this one
  double posLevel = 0.0, posIn = 1.0, posOut = 1.0;
  double quatLevel = 0.0, quatIn = 1.0, quatOut = 1.0;  // quatLevel is kept but doesn't act
  double fovLevel = 0.0, fovIn = 1.0, fovOut = 1.0;
  double aspectLevel = 0.0, aspectIn = 1.0, aspectOut = 1.0;
  int breakFlag = 0;   // 1: the path's continuity breaks here
  View guideIn;        // inner control view before the keyframe
  View guideOut;       // inner control view behind it
  bool guideInByUser = false;   // guideIn came from the script and stays
  bool guideOutByUser = false;
  // Methods of the span from this keyframe to the next (ViewInterpMethod values).
  int interpMethod = LinPos;
  int interpMethodQuat = LinQuat;
  int interpMethodFovy = LinFov;
  int interpMethodAspect = LinAspect;
  int fixAtPtSession = -1;    // index in sessions of the FixAtPt over the span behind, or -1
  int fixHeadUpSession = -1;  // likewise for FixHeadUp
  keyFrameNode* prev = nullptr;
  keyFrameNode* next = nullptr;
};

class MovieRecord {
 public:
  // 256 by 256, all methods linear, the standard allocator (also handed to the PNM and image
  // utility modules), no keyframes, definitions or sessions.
  MovieRecord();
  // Deletes keyframe 0 until none are left.
  ~MovieRecord();
  MovieRecord(const MovieRecord&) = delete;
  MovieRecord& operator=(const MovieRecord&) = delete;

  // ---- Script files ---------------------------------------------------------------------
  // Reads a script and appends its keyframes. Progress goes to standard error unless quiet;
  // failures always, naming the line. Returns 1, or -1 at the first fault (what was linked
  // stays linked).
  int loadFile(const char* path, int quiet);
  // Writes the whole record as a script. Returns 1, or -1 when the file can't be opened or a
  // method field is broken (a partial file is then left behind).
  int saveFile(const char* path);

  int getNKeyFrames() const { return nKeyFrames; }
  void getWindowSize(int* width, int* height) const;
  // 1 and the value of a definition, or 0 with "Warning: cannot find definition [%s]\n".
  int queryDef(const char* name, double* value) const;
  // One line "definitions[%s=%f]\n" on standard error per definition.
  void printDef() const;

  // Line classes of the reader.
  static int isComment(const char* line);
  static int isSeparatorLine(const char* line);
  static int isBlankLine(const char* line);
  // Reads lines of at most size - 1 characters into buf, counting each in *lineNum, up to the
  // first that is neither blank nor comment: 1. At end of file 0, with "Err : (line %d) Encounter
  // EOF without the data.\n" unless eofIsFine. A last line without a line end counts as the end.
  static int getValidLine(char* buf, int size, FILE* fp, int* lineNum, bool eofIsFine);
  // "<name> = v1 ... vcount" (or the other name) on the next valid line. 1, or 0 with a message.
  static int readValues(FILE* fp, int* lineNum, const char* name, const char* otherName, int count, int quiet,
                        double* values);
  // The five lines of a view; the two vectors made unit length. 1, or 0 with a message.
  static int readView(FILE* fp, int* lineNum, int quiet, View* view);
  // Level, in and out of one channel from three tokens (null when missing). 1, or 0.
  static int readFactor(const char* levelArg, double* level, const char* inArg, double* in, const char* outArg,
                        double* out, const char* factorName, int lineNum, int quiet);
  // The tokens behind "KeyFrame <n>": Break, FPos, FQuat, FFov, FAspect. 1, or 0.
  static int readKeyFrameSubIDs(keyFrameNode* node, const char* line, int lineNum, int quiet);

  // The writer's pieces: the non-default factor groups, the definition block, and the "Begin"
  // and "End" lines of a keyframe.
  void printFactor(FILE* fp, const keyFrameNode* node) const;
  void printDefinitons(FILE* fp) const;
  void printSession(FILE* fp, int keyFrame) const;

  // ---- Sessions and guide frames ----------------------------------------------------------
  // Index of a session name (case counts), or -1.
  int translateSession(const char* name) const;
  // One "Begin" or "End" line of keyframe current. open and begin are the reader's marks.
  // 1, or 0 with a message.
  int readSession(const char* line, int lineNum, int quiet, bool open[kSessionTypeCount],
                  int begin[kSessionTypeCount], int current);
  // Applies the sessions over the node to it: methods, the aim at a point, the up direction.
  void updateKeyFrameBySession(keyFrameNode* node);
  // Applies the node's held aim and up direction to an in-between frame of its span.
  void updateViewBySession(const keyFrameNode* node, View* view) const;
  // Rebuilds the guide views of a node that the script didn't give; null does nothing.
  void updateGuideView(keyFrameNode* node);
  // Guides of p2 from its neighbours p1 and p3: which 1 guideIn, 2 guideOut, 3 both.
  void updateGuideViewKernel(keyFrameNode* p1, keyFrameNode* p2, keyFrameNode* p3, int which);

  // ---- Frames ---------------------------------------------------------------------------
  // Frames of the path (0 when empty) and the last frame number.
  int getNFrames() const;
  int getLastFrameID() const { return getNFrames() - 1; }
  int getNKeyFrameFrm(int keyFrame) const;
  keyFrameNode* findNthKeyFrame(int n) const;
  // The node on standard error. 1, or -1 when out of range.
  int queryKeyFrame(int keyFrame) const;
  // Frame number to keyframe and offset in [0, 1) and back. 1, or -1.
  int convertFrameNum(double frame, int* keyFrame, double* offset) const;
  int convertKeyFrame(int keyFrame, double offset, double* frame) const;
  // The view of a frame: keyframes exactly, in-betweens by viewInterp. 1, or -1.
  // The framework's play step and movie dump turn frameNum into a View here and apply it
  // with resetView; getNFrames bounds the play.
  int retrieveFrame(double frame, View* view) const;
  int retrieveFrame(int keyFrame, double offset, View* view) const;
  // Guide values of a plain number x1 with neighbours x0 and x2; which 1 left, 2 right, 3 both.
  static void splineValue(double x0, double x1, double x2, double level, double a, double b, double* left,
                          double* right, int which);

  // ---- Editing ----------------------------------------------------------------------------
  // Appends a keyframe frames after the tail. 1, or -1 with a message when allocation fails.
  int recordKeyFrame(const View& view, int frames);
  int deleteKeyFrame(int keyFrame);
  int updateKeyFrameView(int keyFrame, const View* view);
  int updateKeyFrameFrm(int keyFrame, int frames);
  // Sets one default method (1, 2, 4, 8, ..., 128); existing nodes keep theirs. 1, or -1.
  int setInterpolation(int method);
  // Set or read a channel's three factors; guides aren't rebuilt. 1, or -1 (0 for getters).
  int updateFactorPos(int keyFrame, double level, double in, double out);
  int updateFactorQuat(int keyFrame, double level, double in, double out);
  int updateFactorFOV(int keyFrame, double level, double in, double out);
  int updateFactorAspect(int keyFrame, double level, double in, double out);
  int getFactorPos(int keyFrame, double* level, double* in, double* out) const;
  int getFactorQuat(int keyFrame, double* level, double* in, double* out) const;
  int getFactorFOV(int keyFrame, double* level, double* in, double* out) const;
  int getFactorAspect(int keyFrame, double* level, double* in, double* out) const;

  // ---- Path length ------------------------------------------------------------------------
  // Length of the span behind keyFrame between two offsets, in units of 10^scale metres. 0 with
  // a message on a bad argument; -1.0 for an unknown default position method.
  double computeLength(int keyFrame, double offset1, double offset2, double scale) const;
  // Arc length of a Bezier stretch between t0 and t1 (points p0, p1, chord their distance).
  static double splineLength(const double b0[3], const double b1[3], const double b2[3], const double b3[3],
                             double t0, double t1, const double p0[3], const double p1[3], double chord);
  // The view at a given distance along the span behind keyFrame.
  View binSearchView(int keyFrame, double length, double scale) const;

  // ---- Drawing (a current GL context is required) -----------------------------------------
  void drawMoviePath(double scale) const;
  void drawLinearPos(const keyFrameNode* p1, const keyFrameNode* p2, double scale) const;
  void drawSplinePos(const keyFrameNode* p1, const keyFrameNode* p2, double scale) const;
  void drawQuatMoviePath(double frame, double unused) const;
  void drawFrame(double frame, float size, double scale, int flags, unsigned texture) const;
  void drawFrame(int keyFrame, double offset, float size, double scale, int flags, unsigned texture) const;
  static void drawUnitCube();

  // ---- Retimed export -----------------------------------------------------------------------
  // Writes a script whose keyframes are every frame of this path, spaced evenly (or by a speed
  // per output frame) along its length in metres; doubleFrames makes 2n - 1 of them. 1, or -1
  // when the file can't be opened.
  int outputUniformSpeedPath(const char* path, int doubleFrames);
  int outputVariableSpeedPath(const char* path, const double* speed, int doubleFrames);

  // ---- The record ---------------------------------------------------------------------------
  int winW = kDefaultMovieWindowSize;  // window size of the movie, pixels
  int winH = kDefaultMovieWindowSize;
  keyFrameNode* keyFrames = nullptr;   // head of the list
  int nKeyFrames = 0;
  int interpMethod = LinPos;           // default methods of new keyframes
  int interpMethodQuat = LinQuat;
  int interpMethodFovy = LinFov;
  int interpMethodAspect = LinAspect;
  void* (*allocFunc)(size_t) = nullptr;  // nodes and scratch arrays come from this pair
  void (*freeFunc)(void*) = nullptr;
  int nDefinitions = 0;
  char definitionName[kMaxDefinitions][kMovieLineSize] = {};
  double definitionValue[kMaxDefinitions] = {};
  sessionRec sessions[kMaxSessions];   // closed sessions, in the order of their "End" lines
  int nSessions = 0;
  char sessionName[kSessionTypeCount][kSessionNameSize] = {};

 private:
  // A node with the defaults and this record's methods, from allocFunc; null on failure.
  keyFrameNode* newNode() const;
  // The tail node, or null.
  keyFrameNode* tailNode() const;
  // The header lines up to the keyframe count; the count in *count. 1, or -1.
  int readHeader(FILE* fp, int* lineNum, int quiet, int* count);
  // The definition lines; leaves the first other line in line. 1, 0 at a clean end, -1.
  int readDefinitions(FILE* fp, int* lineNum, int quiet, int count, char* line);
  // One keyframe from its "KeyFrame" line in line; leaves the next keyframe's line there.
  int readKeyFrame(FILE* fp, int* lineNum, int quiet, bool last, int* prevFrame, bool open[],
                   int begin[], char* line);
  // The head of a retimed export: header with n keyframes ("nFrames" or "nKeyFrames"),
  // definitions and the keyframe block's title. Returns 1.
  int writeHead(FILE* fp, int n, bool nFramesWord) const;
  // The path's length up to each keyframe, 0 at the first, with each span's length and the totals
  // for n output frames printed on standard error. An array of nKeyFrames doubles from allocFunc,
  // which the caller frees with freeFunc; null when it can't be had.
  double* cumulativeLengths(int n) const;
};
