// Byte order and stream routines shared by every binary format.
#include "fileio/common.h"

#include <climits>
#include <cstdlib>
#include <cstring>

void SwapByte(void* data, unsigned size, unsigned count) {
  if (size < 2) return;
  unsigned char* p = static_cast<unsigned char*>(data);
  for (unsigned i = 0; i < count; i++, p += size) {
    for (unsigned a = 0, b = size - 1; a < b; a++, b--) {
      unsigned char t = p[a];
      p[a] = p[b];
      p[b] = t;
    }
  }
}

size_t cp_fread(void* buffer, unsigned size, unsigned count, FILE* stream) {
  if (size < 1) {
    fprintf(stderr, "[cp_fread]: fread size < 1\n");
    exit(1);
  }
  size_t n = fread(buffer, size, count, stream);
  SwapByte(buffer, size, static_cast<unsigned>(n));
  return n;
}

size_t cp_fwrite(void* buffer, unsigned size, unsigned count, FILE* stream) {
  if (size < 1) {
    fprintf(stderr, "[cp_fwrite]: fwrite size < 1\n");
    exit(1);
  }
  SwapByte(buffer, size, count);
  size_t n = fwrite(buffer, size, count, stream);
  SwapByte(buffer, size, count);
  return n;
}

int getFileSize(FILE* stream) {
  long here = ftell(stream);
  if (here < 0) return -1;
  if (fseek(stream, 0, SEEK_END) != 0) return -1;
  long end = ftell(stream);
  if (fseek(stream, here, SEEK_SET) != 0) return -1;
  if (end < 0 || end > INT_MAX) return -1;  // a size an int can't hold is no size
  return static_cast<int>(end);
}

void copyText(char* dst, const char* src, size_t size) {
  if (size == 0) return;
  size_t n = strnlen(src, size - 1);
  memcpy(dst, src, n);
  dst[n] = 0;
}
