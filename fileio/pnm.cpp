// Readers and writers of raw byte (PNM), float (PFM) and double (PDM) images.
#include "fileio/pnm.h"

#include <climits>
#include <cstdlib>
#include <cstring>

#include "fileio/common.h"

void* (*ptrPNMMalloc)(size_t) = malloc;
void (*ptrPNMFree)(void*) = free;

void setAllocFunc_PNM(void* (*mallocFunc)(size_t), void (*freeFunc)(void*)) {
  ptrPNMMalloc = mallocFunc;
  ptrPNMFree = freeFunc;
}

void pre_allocate(FILE* stream, long bytes) {
  long here = ftell(stream);
  if (fseek(stream, bytes, SEEK_CUR) != 0) fprintf(stderr, "Disk Full? Failed to fseek in write_pnm.\n\n");
  if (fseek(stream, here, SEEK_SET) != 0) fprintf(stderr, "Disaster? Failed to fseek back.\n\n");
}

namespace {

// Pixel count of a width x height image, or -1 when either is negative or the product
// doesn't fit an int.
long long pixelCount(int width, int height) {
  if (width < 0 || height < 0) return -1;
  long long n = static_cast<long long>(width) * height;
  return n > INT_MAX ? -1 : n;
}

// Opens the file and writes the type and size lines. Null (after the message) if it can't.
FILE* openForWrite(const char* path, const char* type, int width, int height) {
  FILE* fp = fopen(path, "wb");
  if (!fp) {
    printf("Can't open file [%s]!\n", path);
    return nullptr;
  }
  fprintf(fp, "%s\n", type);
  fprintf(fp, "%d %d\n", width, height);
  return fp;
}

// Writes the pixels after the header; the byte count has been checked by the caller.
int writePixels(FILE* fp, void* pixels, unsigned itemSize, long long count) {
  pre_allocate(fp, static_cast<long>(count * itemSize));
  if (count > 0) cp_fwrite(pixels, itemSize, static_cast<unsigned>(count), fp);
  fclose(fp);
  return 1;
}

// Steps 1 to 4 of every reader: open, skip the first line and the comment lines behind it,
// read width and height. Null (after the message) on failure.
FILE* openForRead(const char* path, int* width, int* height, int* fields) {
  FILE* fp = fopen(path, "r");
  if (!fp) {
    printf("Can't read file [%s]!\n", path);
    return nullptr;
  }
  int c;
  while ((c = fgetc(fp)) != EOF && c != '\n') {
  }
  while ((c = fgetc(fp)) == '#') {
    while ((c = fgetc(fp)) != EOF && c != '\n') {
    }
  }
  if (c != EOF) ungetc(c, fp);
  int w = 0, h = 0;
  int n = fscanf(fp, "%d %d", &w, &h);
  if (n >= 1) *width = w;
  if (n >= 2) *height = h;
  *fields = n < 0 ? 0 : n;
  return fp;
}

void skipLine(FILE* fp) {
  int c;
  while ((c = fgetc(fp)) != EOF && c != '\n') {
  }
}

// Checks the size read from the header against the rest of the file, so that a damaged header
// gets a message instead of an allocation of whatever it claims and a read into it, an unset
// height, or the end of the process in cp_fread for a size of 0.
bool sizeFits(FILE* fp, const char* who, int fields, int width, int height, int bytesPerPixel,
              long long* bytes) {
  long long n = pixelCount(width, height);
  if (fields < 2 || n <= 0 || n * bytesPerPixel > INT_MAX) {
    if (fields < 2)
      printf("%s : No width and height!\n", who);
    else
      printf("%s : Wrong size %d x %d!\n", who, width, height);
    return false;
  }
  *bytes = n * bytesPerPixel;
  long here = ftell(fp);
  int total = getFileSize(fp);
  if (here < 0 || total < 0 || *bytes > total - here) {
    printf("%s : Size %d x %d is larger than the file!\n", who, width, height);
    return false;
  }
  return true;
}

}  // namespace

int writePNM(const char* path, const char* type, int width, int height, int maximum, unsigned char* pixels) {
  FILE* fp = openForWrite(path, type, width, height);
  if (!fp) return -1;
  fprintf(fp, "%d\n", maximum);
  if (strcmp(type, "P6") != 0 && strcmp(type, "P5") != 0) {
    printf("writePNM : Wrong Type! Must be P6 or P5!\n");
    fclose(fp);
    return -1;
  }
  long long n = pixelCount(width, height);
  if (n < 0) {
    // A negative size would have sent cp_fwrite over a huge count of bytes.
    printf("writePNM : Wrong size %d x %d!\n", width, height);
    fclose(fp);
    return -1;
  }
  return writePixels(fp, pixels, 1, n * (strcmp(type, "P6") == 0 ? 3 : 1));
}

int writePFM(const char* path, const char* type, int width, int height, float scale, float* pixels) {
  FILE* fp = openForWrite(path, type, width, height);
  if (!fp) return -1;
  if (strcmp(type, "PF") != 0) {
    printf("writePFM : Wrong Type! Must be PF!\n");
    fclose(fp);
    return -1;
  }
  fprintf(fp, "%f\n", scale);
  long long n = pixelCount(width, height);
  if (n < 0) {
    printf("writePFM : Wrong size %d x %d!\n", width, height);
    fclose(fp);
    return -1;
  }
  return writePixels(fp, pixels, 4, n);
}

int writePDM(const char* path, const char* type, int width, int height, double scale, double* pixels) {
  FILE* fp = openForWrite(path, type, width, height);
  if (!fp) return -1;
  if (strcmp(type, "PD") != 0) {
    printf("writePDM : Wrong Type! Must be PD!\n");
    fclose(fp);
    return -1;
  }
  fprintf(fp, "%f\n", static_cast<float>(scale));  // the scale line has a float's precision
  long long n = pixelCount(width, height);
  if (n < 0) {
    printf("writePDM : Wrong size %d x %d!\n", width, height);
    fclose(fp);
    return -1;
  }
  return writePixels(fp, pixels, 8, n);
}

int readPNM(const char* path, const char* type, int* width, int* height, int* maximum,
            unsigned char** pixels) {
  int fields = 0;
  FILE* fp = openForRead(path, width, height, &fields);
  if (!fp) return -1;
  fscanf(fp, "%d", maximum);
  skipLine(fp);
  if (strcmp(type, "P6") != 0 && strcmp(type, "P5") != 0) {
    printf("readPNM : Wrong Type! Must be P6 or P5!\n");
    fclose(fp);
    return -1;
  }
  long long bytes = 0;
  if (!sizeFits(fp, "readPNM", fields, *width, *height, strcmp(type, "P6") == 0 ? 3 : 1, &bytes)) {
    fclose(fp);
    return -1;
  }
  unsigned char* buf = static_cast<unsigned char*>(ptrPNMMalloc(static_cast<size_t>(bytes)));
  if (!buf) {  // tested, so that nothing is read into a null pointer
    fclose(fp);
    return -1;
  }
  // One item of the whole image's size: a full read reverses the bytes of the whole image.
  // This is how the reader has always been; it is not the writer's inverse.
  cp_fread(buf, static_cast<unsigned>(bytes), 1, fp);
  *pixels = buf;
  fclose(fp);
  return 1;
}

namespace {

// readPFM and readPDM: test the type, read the scale, then elemSize items of
// width x height bytes each, so each slice has its bytes reversed.
template <typename T>
int readFloatImage(const char* path, const char* type, const char* want, const char* typeMessage,
                   const char* who, int* width, int* height, T* scale, T** pixels) {
  int fields = 0;
  FILE* fp = openForRead(path, width, height, &fields);
  if (!fp) return -1;
  if (strcmp(type, want) != 0) {
    printf("%s", typeMessage);
    fclose(fp);
    return -1;
  }
  float s = 0;
  if (fscanf(fp, "%f", &s) == 1) *scale = static_cast<T>(s);
  skipLine(fp);
  long long bytes = 0;
  if (!sizeFits(fp, who, fields, *width, *height, sizeof(T), &bytes)) {
    fclose(fp);
    return -1;
  }
  T* buf = static_cast<T*>(ptrPNMMalloc(static_cast<size_t>(bytes)));
  if (!buf) {  // tested, so that nothing is read into a null pointer
    fclose(fp);
    return -1;
  }
  cp_fread(buf, static_cast<unsigned>(bytes / sizeof(T)), sizeof(T), fp);
  *pixels = buf;
  fclose(fp);
  return 1;
}

}  // namespace

int readPFM(const char* path, const char* type, int* width, int* height, float* scale, float** pixels) {
  return readFloatImage<float>(path, type, "PF", "writePFM : Wrong Type! Must be PF!\n", "readPFM", width,
                               height, scale, pixels);
}

int readPDM(const char* path, const char* type, int* width, int* height, double* scale, double** pixels) {
  return readFloatImage<double>(path, type, "PD", "writePDM : Wrong Type! Must be PD!\n", "readPDM", width,
                                height, scale, pixels);
}
