// Image and depth-map utilities: scaling to bytes, differences and error measures.
#include "fileio/utility.h"

#include <GL/glu.h>
#include <GL/glut.h>

#include <cfloat>
#include <climits>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <limits>

void* (*ptrUTLMalloc)(size_t) = malloc;
void (*ptrUTLFree)(void*) = free;

void setAllocFunc_UTL(void* (*mallocFunc)(size_t), void (*freeFunc)(void*)) {
  ptrUTLMalloc = mallocFunc;
  ptrUTLFree = freeFunc;
}

namespace {

void* utlAlloc(long long bytes) {
  if (bytes < 0) return nullptr;
  return ptrUTLMalloc(static_cast<size_t>(bytes ? bytes : 1));
}

// Swaps rows top to bottom, rowBytes bytes each.
void flipRows(unsigned char* data, int height, size_t rowBytes, const char* message) {
  unsigned char* buf = static_cast<unsigned char*>(utlAlloc(static_cast<long long>(rowBytes)));
  if (!buf) {
    fprintf(stderr, "%s", message);
    exit(1);
  }
  for (int top = 0, bottom = height - 1; top < bottom; top++, bottom--) {
    memcpy(buf, data + top * rowBytes, rowBytes);
    memcpy(data + top * rowBytes, data + bottom * rowBytes, rowBytes);
    memcpy(data + bottom * rowBytes, buf, rowBytes);
  }
  ptrUTLFree(buf);
}

}  // namespace

void upsidedownImage(unsigned char* image, int width, int height) {
  flipRows(image, height, static_cast<size_t>(width < 0 ? 0 : width) * 3,
           "upsidedownImage : Not enough memory to allocate for buf!\n\n");
}

void upsidedownDepth(float* depth, int width, int height) {
  flipRows(reinterpret_cast<unsigned char*>(depth), height, static_cast<size_t>(width < 0 ? 0 : width) * 4,
           "upsidedownDepth : Not enough memory to allocate for buf!\n\n");
}

unsigned char* readImage(GLenum buffer, int x, int y, int width, int height) {
  if (x < 0 || y < 0 || width < 0 || height < 0) {
    GLint vp[4];
    glGetIntegerv(GL_VIEWPORT, vp);
    x = 0;
    y = 0;
    width = vp[2];
    height = vp[3];
  }
  unsigned char* img = static_cast<unsigned char*>(utlAlloc(3LL * width * height));
  if (!img) {
    fprintf(stderr, "readImg : Not enough memory to allocate for img!\n\n");
    return nullptr;
  }
  glReadBuffer(buffer);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadPixels(x, y, width, height, GL_RGB, GL_UNSIGNED_BYTE, img);
  upsidedownImage(img, width, height);
  return img;
}

float* readDepth() {
  GLint vp[4];
  GLdouble proj[16];
  GLdouble model[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
  glGetIntegerv(GL_VIEWPORT, vp);
  glGetDoublev(GL_PROJECTION_MATRIX, proj);
  int w = vp[2], h = vp[3];
  float* depth = static_cast<float*>(utlAlloc(4LL * w * h));
  if (!depth) {
    fprintf(stderr, "readDepth : Not enough memory to allocate for depth!\n\n");
    return nullptr;
  }
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glDepthRange(0, 1);
  glReadPixels(0, 0, w, h, GL_DEPTH_COMPONENT, GL_FLOAT, depth);
  upsidedownDepth(depth, w, h);
  for (int y = 0; y < h; y++) {
    for (int x = 0; x < w; x++) {
      float* d = depth + static_cast<size_t>(y) * w + x;
      GLdouble ox = 0, oy = 0, oz = 0;
      if (gluUnProject(x, h - y - 1, *d, model, proj, vp, &ox, &oy, &oz) == GL_FALSE)
        fprintf(stderr, "False Return from gluUnProject!\n");
      *d = static_cast<float>(sqrt(ox * ox + oy * oy + oz * oz));
    }
  }
  return depth;
}

float* readRawDepth(float zNear, float zFar) {
  GLint vp[4];
  glGetIntegerv(GL_VIEWPORT, vp);
  int w = vp[2], h = vp[3];
  float* depth = static_cast<float*>(utlAlloc(4LL * w * h));
  if (!depth) {
    fprintf(stderr, "readRawDepth : Not enough memory to allocate for depth!\n\n");
    return nullptr;
  }
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glDepthRange(zNear, zFar);
  glReadPixels(0, 0, w, h, GL_DEPTH_COMPONENT, GL_FLOAT, depth);
  upsidedownDepth(depth, w, h);
  return depth;
}

int writeRawDepth(float* depth, int width, int height, float zNear, float zFar) {
  GLint vp[4];
  glGetIntegerv(GL_VIEWPORT, vp);
  if (width != vp[2] || height != vp[3]) {
    fprintf(stderr, "writeRawDepth : size of depth map doesn't match current window size!\n\n");
    return -1;
  }
  float* flipped = static_cast<float*>(utlAlloc(4LL * width * height));
  if (!flipped) {
    fprintf(stderr, "writeRawDepth : Not enough memory to allocate for depth!\n\n");
    return -1;
  }
  memcpy(flipped, depth, sizeof(float) * width * height);
  upsidedownDepth(flipped, width, height);
  glPushAttrib(GL_ALL_ATTRIB_BITS);
  glMatrixMode(GL_PROJECTION);
  glPushMatrix();
  glLoadIdentity();
  gluOrtho2D(0, width, 0, height);
  glMatrixMode(GL_MODELVIEW);
  glPushMatrix();
  glLoadIdentity();
  glDepthRange(zNear, zFar);
  glEnable(GL_DEPTH_TEST);
  glDepthFunc(GL_ALWAYS);
  glDepthMask(GL_TRUE);
  glColorMask(GL_FALSE, GL_FALSE, GL_FALSE, GL_FALSE);
  glPixelStorei(GL_UNPACK_ALIGNMENT, 1);
  glRasterPos2i(0, 0);
  glDrawPixels(width, height, GL_DEPTH_COMPONENT, GL_FLOAT, flipped);
  glPopMatrix();
  glMatrixMode(GL_PROJECTION);
  glPopMatrix();
  glMatrixMode(GL_MODELVIEW);
  glPopAttrib();
  ptrUTLFree(flipped);
  return 1;
}

unsigned char* extractSubImage(unsigned char* image, int width, int height, int comps, int x, int y,
                               int subWidth, int subHeight) {
  unsigned char* sub =
      static_cast<unsigned char*>(utlAlloc(static_cast<long long>(subWidth) * subHeight * comps));
  if (!sub) return nullptr;
  if (subWidth > 0 && subHeight > 0 && comps > 0)
    memset(sub, 0, static_cast<size_t>(subWidth) * subHeight * comps);
  int x0 = x > 0 ? x : 0;
  int x1 = width - 1 < subWidth + x - 1 ? width - 1 : subWidth + x - 1;
  int y0 = y > 0 ? y : 0;
  int y1 = height - 1 < subHeight + y - 1 ? height - 1 : subHeight + y - 1;
  int w = x1 - x0 + 1;
  if (w < 1 || y1 < y0 || comps < 1) return sub;
  // The clipped rectangle lands at the sub-image's top-left corner.
  for (int row = y0; row <= y1; row++) {
    memcpy(sub + static_cast<size_t>(row - y0) * subWidth * comps,
           image + (static_cast<size_t>(row) * width + x0) * comps, static_cast<size_t>(w) * comps);
  }
  return sub;
}

void pasteSubImage(unsigned char* image, int width, int height, int comps, unsigned char* sub, int subWidth,
                   int subHeight, int x, int y) {
  int x0 = x > 0 ? x : 0;
  int x1 = width - 1 < subWidth + x - 1 ? width - 1 : subWidth + x - 1;
  int y0 = y > 0 ? y : 0;
  int y1 = height - 1 < subHeight + y - 1 ? height - 1 : subHeight + y - 1;
  if (x1 < x0 || y1 < y0 || comps < 1) return;
  for (int row = y0; row <= y1; row++) {
    memcpy(image + (static_cast<size_t>(row) * width + x0) * comps,
           sub + (static_cast<size_t>(row - y) * subWidth + (x0 - x)) * comps,
           static_cast<size_t>(x1 - x0 + 1) * comps);
  }
}

int vhLimitObjSphere(double pos[3], double dir[3], double radius, double out[3]) {
  double a = dir[0] * dir[0] + dir[1] * dir[1] + dir[2] * dir[2];
  double b = 2 * (pos[0] * dir[0] + pos[1] * dir[1] + pos[2] * dir[2]);
  double c = pos[0] * pos[0] + pos[1] * pos[1] + pos[2] * pos[2] - radius * radius;
  double disc = b * b - 4 * a * c;
  if (disc < 0) return 0;
  // Multiplied by a, not divided: the routine is meant for unit directions.
  double t = (sqrt(disc) - b) / 2 * a;
  for (int i = 0; i < 3; i++) out[i] = pos[i] + t * dir[i];
  return 1;
}

namespace {

template <typename T>
void findMinMax(T* data, int count, T* min, T* max) {
  T lo = std::numeric_limits<T>::max(), hi = std::numeric_limits<T>::lowest();
  for (int i = 0; i < count; i++) {
    if (data[i] < lo) lo = data[i];
    if (data[i] > hi) hi = data[i];
  }
  *min = lo;
  *max = hi;
}

template <typename T>
T findSecondMax(T* data, int count) {
  T top = std::numeric_limits<T>::lowest(), second = std::numeric_limits<T>::lowest();
  for (int i = 0; i < count; i++) {
    T v = data[i];
    if (v > top) top = v;
    if (v > second && v < top) second = v;
  }
  return second;
}

template <typename T>
unsigned char* toImage(T* data, int count, T cut, const char* message) {
  T min = std::numeric_limits<T>::max(), max = std::numeric_limits<T>::lowest();
  for (int i = 0; i < count; i++) {
    if (data[i] < min) min = data[i];
    if (data[i] > max && data[i] < cut) max = data[i];
  }
  unsigned char* out = static_cast<unsigned char*>(utlAlloc(count));
  if (!out) {
    fprintf(stderr, "%s", message);
    return nullptr;
  }
  for (int i = 0; i < count; i++) {
    if (data[i] <= max) {
      // The ratio is formed in the data's own precision, the rounding half in double.
      // Equal values below cut give max == min: the division by zero stays unguarded and
      // yields NaN. Only its conversion is pinned down, to the 0 that the x86 conversion's
      // "integer indefinite" value truncates to, as converting NaN to int is undefined.
      T ratio = (data[i] - min) / (max - min) * 254;
      double scaled = static_cast<double>(ratio) + 0.5;
      out[i] = std::isnan(scaled) ? 0 : static_cast<unsigned char>(static_cast<int>(scaled));
    } else
      out[i] = 255;
  }
  return out;
}

template <typename T>
void clampData(T* data, int count, T min, T max) {
  if (min > max) return;
  for (int i = 0; i < count; i++) {
    if (data[i] < min) data[i] = min;
    if (data[i] > max) data[i] = max;
  }
}

template <typename T>
void normalizeData(T* data, int count) {
  T min, max;
  findMinMax(data, count, &min, &max);
  for (int i = 0; i < count; i++) data[i] = (data[i] - min) / (max - min);
}

}  // namespace

void findMinMaxFloat(float* data, int count, float* min, float* max) {
  findMinMax(data, count, min, max);
}
void findMinMaxDouble(double* data, int count, double* min, double* max) {
  findMinMax(data, count, min, max);
}
float findSecondMaxFloat(float* data, int count) {
  return findSecondMax(data, count);
}
double findSecondMaxDouble(double* data, int count) {
  return findSecondMax(data, count);
}

unsigned char* floatToImage(float* data, int count, float cut) {
  return toImage(data, count, cut, "floatToImage : Not enough memory to allocate for dataOut!\n\n");
}

unsigned char* doubleToImage(double* data, int count, double cut) {
  return toImage(data, count, cut, "doubleToImage : Not enough memory to allocate for dataOut!\n\n");
}

double* floatToDouble(float* data, int count) {
  double* out = static_cast<double*>(utlAlloc(8LL * count));
  if (!out) {
    fprintf(stderr, "floatToDouble : Not enough memory to allocate for dataOut!\n\n");
    return nullptr;
  }
  for (int i = 0; i < count; i++) out[i] = data[i];
  return out;
}

void clampFloat(float* data, int count, float min, float max) {
  clampData(data, count, min, max);
}
void clampDouble(double* data, int count, double min, double max) {
  clampData(data, count, min, max);
}
void normalizeFloat(float* data, int count) {
  normalizeData(data, count);
}
void normalizeDouble(double* data, int count) {
  normalizeData(data, count);
}

double colorRatio(unsigned char* rgb, int count) {
  double red = 0, blue = 0;
  for (int i = 0; i < count; i++) {
    red += rgb[3 * i] / 255.0;
    blue += rgb[3 * i + 2] / 255.0;
  }
  (void)red;  // formed and left out: the result is the blue sum over the count
  return blue / count;
}

int countData(unsigned char* data, int count, unsigned char value) {
  int n = 0;
  for (int i = 0; i < count; i++)
    if (data[i] == value) n++;
  return n;
}

int binSearch(int* data, int count, int key) {
  if (count < 1) return -1;  // no element to look at: data[0] and data[-1] aren't read
  if (key <= data[0]) return 0;
  if (key > data[count - 1]) return -1;
  int hi = count - 1, lo = 0, mid = count / 2, step = (count / 2) / 2;
  while (hi - lo > 1) {
    // mid is kept inside lo..hi, so the probe never steps out of the array.
    if (mid < lo) mid = lo;
    if (mid > hi) mid = hi;
    if (data[mid] == key) return mid;
    if (data[mid] > key) {
      hi = mid;
      mid = hi - step;
    } else {
      lo = mid;
      mid = lo + step;
    }
    if (step >= 2) step /= 2;
  }
  return hi;
}

void printMat4(double* m) {
  for (int i = 0; i < 4; i++) printf("%f %f %f %f\n", m[4 * i], m[4 * i + 1], m[4 * i + 2], m[4 * i + 3]);
}

unsigned char* diffImgs(unsigned char* a, unsigned char* b, int width, int height, int comps) {
  if (!a || !b) {
    fprintf(stderr, "Err (rmsImgs): <NULL> input encountered.\n");
    return nullptr;
  }
  if (comps < 1 || width < 1 || height < 1) {
    fprintf(stderr, "Err (rmsImgs): with imgW, imgH, or imgComp.\n");
    return nullptr;
  }
  long long n = static_cast<long long>(width) * height * comps;
  unsigned char* out = static_cast<unsigned char*>(utlAlloc(n));
  if (!out) {
    fprintf(stderr, "Err (rmsImgs): cannot allocate memory to imgDiff.\n");
    return nullptr;
  }
  for (long long i = 0; i < n; i++) out[i] = static_cast<unsigned char>(abs(int(a[i]) - int(b[i])));
  return out;
}

namespace {

bool checkImgs(unsigned char* a, unsigned char* b, int width, int height, int comps, double* out) {
  if (!a || !b || !out) {
    fprintf(stderr, "Err (rmsImgs): <NULL> input encountered.\n");
    return false;
  }
  if (comps < 1 || comps > 4 || width < 1 || height < 1) {
    fprintf(stderr, "Err (rmsImgs): with imgW, imgH, or imgComp.\n");
    return false;
  }
  return true;
}

}  // namespace

int rmsImgs(unsigned char* a, unsigned char* b, int width, int height, int comps, double* out,
            double threshold) {
  if (!checkImgs(a, b, width, height, comps, out)) return -1;
  int t = static_cast<int>(threshold * 255);
  double sum[4] = {0, 0, 0, 0};
  long long n = static_cast<long long>(width) * height;
  for (long long p = 0; p < n; p++) {
    for (int c = 0; c < comps; c++) {
      int va = a[p * comps + c], vb = b[p * comps + c];
      if (va <= t && vb <= t) continue;
      sum[c] += double(va - vb) * (va - vb);
    }
  }
  for (int c = 0; c < comps; c++) out[c] = sqrt(sum[c] / n);
  return 1;
}

int snrrmsImgs(unsigned char* a, unsigned char* b, int width, int height, int comps, double* out,
               double threshold) {
  if (!checkImgs(a, b, width, height, comps, out)) return -1;
  int t = static_cast<int>(threshold * 255);
  double signal[4] = {0, 0, 0, 0}, noise[4] = {0, 0, 0, 0};
  long long n = static_cast<long long>(width) * height;
  for (long long p = 0; p < n; p++) {
    for (int c = 0; c < comps; c++) {
      int va = a[p * comps + c], vb = b[p * comps + c];
      if (va <= t && vb <= t) continue;
      signal[c] += double(va) * va;
      noise[c] += double(va - vb) * (va - vb);
    }
  }
  for (int c = 0; c < comps; c++) out[c] = signal[c] / noise[c];
  return 1;
}

void bitmap_output(int x, int y, const char* string, void* font) {
  glRasterPos2f(static_cast<float>(x), static_cast<float>(y));
  for (const char* p = string; *p; p++) glutBitmapCharacter(font, *p);
}

void extractPath(char* path) {
  char* slash = strrchr(path, '/');
  if (slash)
    slash[1] = '\0';
  else
    path[0] = '\0';
}

void SpanReorder(int* span) {
  if (span[0] > span[1]) {
    int t = span[0];
    span[0] = span[1];
    span[1] = t;
  }
}

void WindowIntersect(int* a, int* b, int* c, int* d, int* out1, int* out2) {
  out1[0] = a[0] > c[0] ? a[0] : c[0];
  out1[1] = a[1] < c[1] ? a[1] : c[1];
  out2[0] = b[0] > d[0] ? b[0] : d[0];
  out2[1] = b[1] < d[1] ? b[1] : d[1];
}
