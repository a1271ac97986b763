// Camera files: the reader, the writer of one camera, the matrices and their push and pop.
#include "coords/camera.h"

#include <GL/gl.h>
#include <strings.h>

#include <cctype>
#include <cmath>
#include <cstdlib>
#include <cstring>

#include "coords/constants.h"
#include "coords/math3D.h"
#include "fileio/common.h"

void* (*ptrCameraMalloc)(size_t) = malloc;
void (*ptrCameraFree)(void*) = free;

void setAllocFunc_Camera(void* (*mallocFunc)(size_t), void (*freeFunc)(void*)) {
  ptrCameraMalloc = mallocFunc;
  ptrCameraFree = freeFunc;
}

namespace {

// Every camera takes six lines, and a line that counts holds at least one character and its
// line end: a file can't hold more cameras than this many bytes each. A damaged count is thus
// never allowed to ask for more records than the file could fill.
constexpr long kMinBytesPerCamera = 12;

constexpr const char* kPrefix = "Err (readCameras): ";

void setDefaults(Camera* camera, int id) {
  memset(camera, 0, sizeof *camera);
  camera->viewDir[2] = -1.0;
  camera->viewUp[1] = 1.0;
  camera->resolution[0] = kCameraDefaultWidth;
  camera->resolution[1] = kCameraDefaultHeight;
  identity(camera->projMat);
  identity(camera->viewMat);
  copyText(camera->name, "default view", sizeof camera->name);
  camera->id = id;
  camera->useFovy = true;
}

// The "=" is only looked for when the line has a second token.
bool missingEquals(int items, const char* token) {
  return items >= 2 && strcmp(token, "=") != 0;
}

bool isSpaceOrControl(char c) {
  unsigned char u = (unsigned char)c;
  return isspace(u) || iscntrl(u);
}

// The name: all the text two characters behind the first "=", without white space or
// control characters at either end. The field holds at most kCameraNameSize - 1 characters;
// a longer name is cut there rather than written past the field.
void copyName(const char* line, char* name) {
  const char* begin = strchr(line, '=');
  if (!begin) {
    name[0] = '\0';
    return;
  }
  begin += 2;
  const char* end = line + strlen(line);
  if (begin > end) begin = end;
  while (begin < end && isSpaceOrControl(*begin)) ++begin;
  while (end > begin && isSpaceOrControl(end[-1])) --end;
  size_t length = (size_t)(end - begin);
  if (length > (size_t)kCameraNameSize - 1) length = (size_t)kCameraNameSize - 1;
  memcpy(name, begin, length);
  name[length] = '\0';
}

// Reads the camera's six lines into camera. Returns true, or false after its message.
bool readOneCamera(FILE* fp, Camera* camera, int* lineNo) {
  char line[kCameraLineSize];
  char word[kCameraLineSize], equals[kCameraLineSize];

  // Resolution.
  if (!camerafile::getValidLine(line, sizeof line, fp, lineNo)) return false;
  int width = 0, height = 0;
  int n = sscanf(line, "%s %s %d %d", word, equals, &width, &height);
  if (n < 1 || strcasecmp(word, "resolution") != 0) {
    fprintf(stderr, "%s(line %d) missing [resolution].\n\n", kPrefix, *lineNo);
    return false;
  }
  if (missingEquals(n, equals)) {
    fprintf(stderr, "%s(line %d) missing [=] after resolution.\n\n", kPrefix, *lineNo);
    return false;
  }
  if (n < 4) {
    fprintf(stderr, "%s(line %d) not enough resolution data.\n\n", kPrefix, *lineNo);
    return false;
  }
  if (width <= 0 || height <= 0) {
    fprintf(stderr, "%s(line %d) resolution should be positive.\n\n", kPrefix, *lineNo);
    return false;
  }
  camera->resolution[0] = width;
  camera->resolution[1] = height;

  // Direction of sight and up direction, in single precision.
  struct {
    const char* keyword;
    const char* what;
    double* target;
  } const directions[2] = {{"viewDir", "viewing", camera->viewDir}, {"viewUp", "viewup", camera->viewUp}};
  for (const auto& d : directions) {
    if (!camerafile::getValidLine(line, sizeof line, fp, lineNo)) return false;
    float v[3] = {0.0f, 0.0f, 0.0f};
    n = sscanf(line, "%s %s %f %f %f", word, equals, &v[0], &v[1], &v[2]);
    if (n < 1 || strcasecmp(word, d.keyword) != 0) {
      fprintf(stderr, "%s(line %d) missing [%s].\n\n", kPrefix, *lineNo, d.keyword);
      return false;
    }
    if (missingEquals(n, equals)) {
      fprintf(stderr, "%s(line %d) missing [=] after %s.\n\n", kPrefix, *lineNo, d.keyword);
      return false;
    }
    if (n < 5) {
      fprintf(stderr, "%s(line %d) not enough %s direction data.\n\n", kPrefix, *lineNo, d.what);
      return false;
    }
    for (int k = 0; k < 3; ++k) d.target[k] = v[k];
  }

  // Either fovy and aspect, or two corners: the first word of this line decides.
  if (!camerafile::getValidLine(line, sizeof line, fp, lineNo)) return false;
  n = sscanf(line, "%s", word);
  if (n >= 1 && strcasecmp(word, "fovy") == 0) {
    camera->useFovy = true;
    double fovy = 0.0;
    n = sscanf(line, "%s %s %lf", word, equals, &fovy);
    if (missingEquals(n, equals)) {
      fprintf(stderr, "%s(line %d) missing [=] after fovy.\n\n", kPrefix, *lineNo);
      return false;
    }
    if (n < 3) {
      fprintf(stderr, "%s(line %d) missing fovy data.\n\n", kPrefix, *lineNo);
      return false;
    }
    if (!(fovy > 0.0)) {
      fprintf(stderr, "%s(line %d) fovy should be positive.\n\n", kPrefix, *lineNo);
      return false;
    }
    camera->fovy = fovy;

    if (!camerafile::getValidLine(line, sizeof line, fp, lineNo)) return false;
    double aspect = 0.0;
    n = sscanf(line, "%s %s %lf", word, equals, &aspect);
    if (n < 1 || strcasecmp(word, "aspect") != 0) {
      fprintf(stderr, "%s(line %d) missing [aspect].\n\n", kPrefix, *lineNo);
      return false;
    }
    if (missingEquals(n, equals)) {
      fprintf(stderr, "%s(line %d) missing [=] after aspect.\n\n", kPrefix, *lineNo);
      return false;
    }
    if (n < 3) {
      fprintf(stderr, "%s(line %d) missing aspect ratio.\n\n", kPrefix, *lineNo);
      return false;
    }
    if (!(aspect > 0.0)) {
      fprintf(stderr, "%s(line %d) aspect ratio should be positive.\n\n", kPrefix, *lineNo);
      return false;
    }
    camera->aspect = aspect;
  } else if (n >= 1 && strcasecmp(word, "corner1") == 0) {
    camera->useFovy = false;
    for (int i = 0; i < 2; ++i) {
      // The second corner's line is already the next one; its first word isn't looked at.
      if (i == 1 && !camerafile::getValidLine(line, sizeof line, fp, lineNo)) return false;
      double c[3] = {0.0, 0.0, 0.0};
      n = sscanf(line, "%s %s %lf %lf %lf", word, equals, &c[0], &c[1], &c[2]);
      if (missingEquals(n, equals)) {
        fprintf(stderr, "%s(line %d) missing [=] after corner%d.\n\n", kPrefix, *lineNo, i + 1);
        return false;
      }
      if (n < 5) {
        fprintf(stderr, "%s(line %d) missing corner%d data.\n\n", kPrefix, *lineNo, i + 1);
        return false;
      }
      copy3D(camera->corner[i], c);
    }
  } else {
    fprintf(stderr, "%s(line %d) missing fovy OR corner1.\n\n", kPrefix, *lineNo);
    return false;
  }

  // The name, which may hold blanks.
  if (!camerafile::getValidLine(line, sizeof line, fp, lineNo)) return false;
  char first[kCameraLineSize];
  n = sscanf(line, "%s %s %s", word, equals, first);
  if (n < 1 || strcasecmp(word, "name") != 0) {
    fprintf(stderr, "%s(line %d) missing [name].\n\n", kPrefix, *lineNo);
    return false;
  }
  if (missingEquals(n, equals)) {
    fprintf(stderr, "%s(line %d) missing [=] after name.\n\n", kPrefix, *lineNo);
    return false;
  }
  if (n < 3) {
    fprintf(stderr, "%s(line %d) missing name.\n\n", kPrefix, *lineNo);
    return false;
  }
  copyName(line, camera->name);
  return true;
}

}  // namespace

// ---- Line classes -------------------------------------------------------------------------

namespace camerafile {

int isCommentLine(const char* line) {
  while (*line && isspace((unsigned char)*line)) ++line;
  return *line == '#' ? 1 : 0;
}

int isSeparatorLine(const char* line) {
  if (line[0] != '-') return 0;
  size_t length = strlen(line);
  for (size_t i = 0; i + 1 < length; ++i)
    if (line[i] != '-' && !isspace((unsigned char)line[i])) return 0;
  return 1;
}

int isEmptyLine(const char* line) {
  for (; *line; ++line)
    if (!isspace((unsigned char)*line)) return 0;
  return 1;
}

int getValidLine(char* buffer, int size, FILE* stream, int* lineNo) {
  for (;;) {
    // End of file is noticed right after the read, so a last line without its line end
    // counts as the end.
    char* got = fgets(buffer, size, stream);
    ++*lineNo;
    if (!got || feof(stream)) {
      fprintf(stderr, "Err (readCameras): not enough information in file (EOF encountered).\n\n");
      return 0;
    }
    if (!isCommentLine(buffer) && !isEmptyLine(buffer)) return 1;
  }
}

}  // namespace camerafile

// ---- Reading ------------------------------------------------------------------------------

Camera* readCameras(const char* path, int* count, double nearPlane, double farPlane, int firstId) {
  if (!path) {
    fprintf(stderr, "Err (readCameras): missing filename!\n\n");
    return nullptr;
  }
  FILE* fp = fopen(path, "r");
  if (!fp) {
    fprintf(stderr, "Err (readCameras): cannot read [%s]\n", path);
    return nullptr;
  }

  int lineNo = 1;
  char line[kCameraLineSize];
  char word[kCameraLineSize];
  int declared = 0;
  if (!fgets(line, sizeof line, fp) || sscanf(line, "%s %d", word, &declared) != 2 ||
      strcasecmp(word, "NUM-CAMERAS") != 0) {
    fprintf(stderr, "Err (readCameras): (line %d) missing camera file identifier!\n\n", lineNo);
    fclose(fp);
    return nullptr;
  }
  if (declared < 1) {
    fprintf(stderr, "Err (readCameras): (line %d) no camera to read!\n\n", lineNo);
    fclose(fp);
    return nullptr;
  }

  // Records the file could fill, plus the spare one behind the last (see printCamera).
  long records = declared;
  int bytes = getFileSize(fp);
  if (bytes >= 0 && records > bytes / kMinBytesPerCamera + 1) records = bytes / kMinBytesPerCamera + 1;
  Camera* cameras = static_cast<Camera*>(ptrCameraMalloc(sizeof(Camera) * (size_t)(records + 1)));
  if (!cameras) {
    fprintf(stderr, "Err (readCameras): memory allocation failure!\n\n");
    fclose(fp);
    return nullptr;
  }
  *count = declared;
  for (long i = 0; i <= records; ++i) setDefaults(&cameras[i], firstId + (int)i);

  for (int i = 0; i < declared; ++i) {
    // A count larger than the file could hold has met an error or the end before this.
    bool ok = i < records && readOneCamera(fp, &cameras[i], &lineNo) &&
              constructMat(&cameras[i], nearPlane, farPlane, i + 1) != 0;
    if (!ok) {
      fclose(fp);
      ptrCameraFree(cameras);
      *count = 0;
      return nullptr;
    }
  }
  fclose(fp);
  return cameras;
}

void freeCameras(Camera* cameras) {
  if (cameras) ptrCameraFree(cameras);
}

// ---- Matrices -----------------------------------------------------------------------------

int constructMat(Camera* camera, double nearPlane, double farPlane, int number) {
  // No unit length and no orthogonalising: the file's vectors make the frame as they stand.
  double z[3], y[3], x[3];
  for (int k = 0; k < 3; ++k) z[k] = -camera->viewDir[k];
  copy3D(y, camera->viewUp);
  cross3D(y, z, x);

  double* v = camera->viewMat;
  for (int k = 0; k < 3; ++k) {
    v[4 * k + 0] = x[k];
    v[4 * k + 1] = y[k];
    v[4 * k + 2] = z[k];
    v[4 * k + 3] = 0.0;
  }
  v[12] = v[13] = v[14] = 0.0;
  v[15] = 1.0;

  double* p = camera->projMat;
  for (int k = 0; k < 16; ++k) p[k] = 0.0;
  const double depth = nearPlane - farPlane;
  p[10] = (nearPlane + farPlane) / depth;
  p[11] = -1.0;
  p[14] = 2.0 * nearPlane * farPlane / depth;

  if (camera->useFovy) {
    double f = 1.0 / tan(camera->fovy / 2.0 * kRadiansPerDegree);
    p[0] = f / camera->aspect;
    p[5] = f;
    return 1;
  }

  double d[3];
  copy3D(d, camera->viewDir);
  unify3D(d);
  double onNear[2][3];
  for (int i = 0; i < 2; ++i) {
    double c[3];
    copy3D(c, camera->corner[i]);
    unify3D(c);
    double along = dot3D(c, d);
    if (!(along > 0.0)) {
      fprintf(stderr, "Err (compute matrices): corner%d point [%f %f %f] of camera %d is out of viewing direction.\n",
              i, camera->corner[i][0], camera->corner[i][1], camera->corner[i][2], number);
      return 0;
    }
    mult3D(c, nearPlane / along);
    copy3D(onNear[i], c);
  }
  // corner1 is the left top, the second the right bottom.
  double x0 = dot3D(onNear[0], x), y0 = dot3D(onNear[0], y);
  double x1 = dot3D(onNear[1], x), y1 = dot3D(onNear[1], y);
  p[0] = 2.0 * nearPlane / (x1 - x0);
  p[5] = 2.0 * nearPlane / (y0 - y1);
  p[8] = (x1 + x0) / (x1 - x0);
  p[9] = (y0 + y1) / (y0 - y1);
  return 1;
}

void pushCamera(const Camera* camera) {
  GLint mode;
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadMatrixd(camera->projMat);
  glMatrixMode(GL_MODELVIEW);
  double m[16];
  glGetDoublev(GL_MODELVIEW_MATRIX, m);
  glPushMatrix();
  glLoadMatrixd(camera->viewMat);
  glMultMatrixd(m);
  glMatrixMode((GLenum)mode);
}

void popCamera() {
  GLint mode;
  glGetIntegerv(GL_MATRIX_MODE, &mode);
  glMatrixMode(GL_PROJECTION);
  glPopMatrix();
  glMatrixMode(GL_MODELVIEW);
  glPopMatrix();
  glMatrixMode((GLenum)mode);
}

// ---- Writing ------------------------------------------------------------------------------

void printCamera(FILE* stream, const Camera* camera) {
  fprintf(stream, "# Camera %d\n", camera->id);
  fprintf(stream, "resolution = %d %d\n", camera->resolution[0], camera->resolution[1]);
  fprintf(stream, "viewDir    = %9.6f %9.6f %9.6f\n", camera->viewDir[0], camera->viewDir[1], camera->viewDir[2]);
  fprintf(stream, "viewUp     = %9.6f %9.6f %9.6f\n", camera->viewUp[0], camera->viewUp[1], camera->viewUp[2]);
  if (camera->useFovy) {
    fprintf(stream, "fovy       = %9.6f\n", camera->fovy);
    fprintf(stream, "aspect     = %9.6f\n", camera->aspect);
  } else {
    // Four corner lines from a record of two: the last two show the next record's first six
    // doubles, its viewDir and viewUp.
    const double* corners[4] = {camera->corner[0], camera->corner[1], camera[1].viewDir, camera[1].viewUp};
    for (int i = 0; i < 4; ++i)
      fprintf(stream, "corner%d    = %9.6f %9.6f %9.6f\n", i + 1, corners[i][0], corners[i][1], corners[i][2]);
  }
  fprintf(stream, "name       = %s\n", camera->name);
  fprintf(stream, "\n");
}
