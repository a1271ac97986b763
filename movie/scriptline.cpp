// Raw line input of the script reader.
#include "movie/scriptline.h"

#include <cstring>

#include "fileio/common.h"

int readScriptLine(char* buf, int size, FILE* fp) {
  buf[0] = '\0';
  if (!std::fgets(buf, size, fp)) return 0;
  if (std::feof(fp)) return 0;
  return 1;
}

char* chompedCopy(char* buf, const char* line, int size) {
  copyText(buf, line, size);
  size_t n = std::strlen(buf);
  while (n > 0 && (buf[n - 1] == '\n' || buf[n - 1] == '\r')) buf[--n] = '\0';
  return buf;
}
