// Fuzz target: the star catalogue reader. The input is one .star file, read into a fresh
// catalogue with the Sun in front, as the program reads its star set.
#include <cstdint>

#include "stars/star.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = fuzzsupport::writeInput("input.star", data, size);
  fuzzsupport::runGuarded([&] {
    StarList* stars = new StarList;
    char* names[] = {path.data()};
    stars->readStarFiles(1, names, 1, false);
    delete stars;
  });
  return 0;
}
