// Fixed cameras read from a camera file, and the matrices they put over the current view.
//
// A camera has no position: it looks out of the current eye point in its own direction, with
// either a symmetric field of view or an off-axis frustum given by two corner directions.
//
//   NUM-CAMERAS <count>                     first line, keyword in any case
//   resolution = <width> <height>           then per camera, in this order
//   viewDir    = <x> <y> <z>
//   viewUp     = <x> <y> <z>
//   fovy       = <degrees>                  either fovy and aspect ...
//   aspect     = <width over height>
//   corner1    = <x> <y> <z>                ... or the left-top corner and
//   <any word> = <x> <y> <z>                the right-bottom one
//   name       = <text to the end of the line>
//
// Behind the first line, comment lines ("#" first non-space character) and blank lines are
// skipped. Keywords are compared without regard to case, and "=" is a token of its own.
#pragma once

#include <cstddef>
#include <cstdio>

// Size of a camera's name field, with its terminating zero.
constexpr int kCameraNameSize = 32;
// Size of the line buffer of the reader: longer lines are read in pieces.
constexpr int kCameraLineSize = 512;
// Resolution of a camera that the file hasn't set yet, in pixels.
constexpr int kCameraDefaultWidth = 720;
constexpr int kCameraDefaultHeight = 540;

struct Camera {
  double viewDir[3];     // direction of sight in view (eye) coordinates, not normalised
  double viewUp[3];      // up direction in view coordinates, not normalised
  int resolution[2];     // width and height in pixels
  double projMat[16];    // projection matrix, column by column as OpenGL takes it
  double viewMat[16];    // rotation from eye into camera coordinates, same layout
  char name[kCameraNameSize];
  int id;                // the caller's first id plus the index in the array
  bool useFovy;          // true: fovy and aspect hold; false: corner holds
  double fovy;           // vertical field of view in degrees
  double aspect;         // width over height
  double corner[2][3];   // directions to the left-top and right-bottom corners (view coordinates)
};

// The allocator pair of this module; the standard pair until setAllocFunc_Camera.
extern void* (*ptrCameraMalloc)(size_t);
extern void (*ptrCameraFree)(void*);
void setAllocFunc_Camera(void* (*mallocFunc)(size_t), void (*freeFunc)(void*));

// Reads the camera file at path and builds every camera's matrices for the clipping planes
// nearPlane and farPlane; ids run from firstId. Returns the array, which the caller owns and
// gives back with freeCameras, with *count set; on any failure it prints one "Err
// (readCameras): ..." message (or the corner message of constructMat) on standard error,
// sets *count to 0 (once the header was read) and returns nullptr. Never exits.
// The array holds one record more than *count, left at the defaults, so that printCamera of
// the last corner camera shows defined memory.
Camera* readCameras(const char* path, int* count, double nearPlane, double farPlane, int firstId);

// Gives back an array of readCameras through ptrCameraFree; null does nothing.
void freeCameras(Camera* cameras);

// Writes one camera to stream: "# Camera <id>", resolution, viewDir, viewUp, then fovy and
// aspect, or four corner lines, then the name and an empty line. A corner camera's third and
// fourth corner lines show the record behind it in its array (its viewDir and viewUp), so the
// camera must stand in an array from readCameras.
void printCamera(FILE* stream, const Camera* camera);

// Puts camera's projection over the projection stack and its rotation over the current
// modelview, one push on each stack; the matrix mode is left as it was.
void pushCamera(const Camera* camera);
// Pops the projection and the modelview stack once each; the matrix mode is left as it was.
void popCamera();

// Fills viewMat and projMat of camera from its fields for the given planes. Returns 1, or 0
// after "Err (compute matrices): corner<i> point [...] of camera <number> is out of viewing
// direction." on standard error when a corner doesn't lie ahead of the camera.
int constructMat(Camera* camera, double nearPlane, double farPlane, int number);

// The line classes and line reading of the camera file.
namespace camerafile {
// 1 if the first character that isn't white space is "#", else 0.
int isCommentLine(const char* line);
// 1 if the first character is "-" and every character before the last is "-" or white space.
int isSeparatorLine(const char* line);
// 1 if every character is white space (also for the empty line), else 0.
int isEmptyLine(const char* line);
// Reads lines of at most size - 1 characters into buffer, adding 1 to *lineNo for each, until
// one is neither a comment nor empty: returns 1. At end of file (also right after a last line
// without a line end) it prints "Err (readCameras): not enough information in file (EOF
// encountered)." on standard error and returns 0.
int getValidLine(char* buffer, int size, FILE* stream, int* lineNo);
}  // namespace camerafile
