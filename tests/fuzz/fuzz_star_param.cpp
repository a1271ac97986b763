// Fuzz target: the star parameter file. The input is read line by line onto the default
// parameters, with paths taken relative to the input's folder, as the program reads it.
#include <cstdint>

#include "stars/star.h"
#include "stars/star_param_read.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static StarList defaults;
  static const StarParameter start = defaults.getStarParameter();
  std::string path = fuzzsupport::writeInput("input.param", data, size);
  fuzzsupport::runGuarded([&] {
    StarParameter p = start;
    parseStarParameterFile(path.c_str(), fuzzsupport::privateDir().c_str(), false, &p);
  });
  return 0;
}
