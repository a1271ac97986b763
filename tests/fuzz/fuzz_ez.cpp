// Fuzz target: the EZ container. The input is opened through fopenEZ, which expands a container
// into a temporary file and hands any other file through as it is; the result is read to its end.
#include <cstdint>
#include <cstdio>

#include "fileio/entropy.h"
#include "tests/fuzz/fuzz_support.h"

namespace {
constexpr size_t kReadBlock = 4096;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = fuzzsupport::writeInput("input.ez", data, size);
  fuzzsupport::runGuarded([&] {
    if (FILE* f = fopenEZ(path.c_str(), "rb")) {
      char block[kReadBlock];
      while (fread(block, 1, sizeof block, f) == sizeof block) {
      }
      fclose(f);
    }
  });
  return 0;
}
