// One whole process that opens a file through fopenEZ and reads it to its end, as every reader
// of the system does: ez_read_run FILE. Prints the byte count; status 1 if it can't be opened.
#include <cstdio>

#include "fileio/entropy.h"

namespace {
constexpr size_t kReadBytes = 65536;
}

int main(int argc, char** argv) {
  if (argc != 2) {
    fprintf(stderr, "Usage: ez_read_run FILE\n");
    return 2;
  }
  FILE* f = fopenEZ(argv[1], "rb");
  if (!f) return 1;
  static char buf[kReadBytes];
  long total = 0;
  size_t n;
  while ((n = fread(buf, 1, sizeof buf, f)) > 0) total += static_cast<long>(n);
  fclose(f);
  printf("%ld\n", total);
  return 0;
}
