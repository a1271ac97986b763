// Fuzz target: the spanning tree file reader.
#include <cstdint>
#include <cstdlib>

#include "stars/mst.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = fuzzsupport::writeInput("input.mst", data, size);
  fuzzsupport::runGuarded([&] {
    int n = 0;
    if (int* edges = load_MST(path.c_str(), &n)) free(edges);
  });
  return 0;
}
