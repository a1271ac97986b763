// Fuzz target: the texture image readers. The input is read as a binary PNM texture and as an
// SGI image, both as it is and widened to four channels.
#include <cstdint>

#include "fileio/sgi.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = fuzzsupport::writeInput("input.img", data, size);
  for (auto reader : {read_pnm, read_sgi, read_texture}) {
    fuzzsupport::runGuarded([&] {
      int width = 0, height = 0, channels = 0;
      if (unsigned char* pixels = reader(path.c_str(), &width, &height, &channels)) ptrSGIFree(pixels);
    });
  }
  return 0;
}
