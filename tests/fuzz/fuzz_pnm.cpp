// Fuzz target: the PNM, PFM and PDM readers. The first two bytes of the input, the file's own
// type line, choose the reader and the type it is asked for ("P5" and "P6" the byte image,
// "PF" the float one, "PD" the double one; anything else goes to the byte reader as "P6").
#include <cstdint>
#include <cstring>

#include "fileio/pnm.h"
#include "tests/fuzz/fuzz_support.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = fuzzsupport::writeInput("input.pnm", data, size);
  char type[3] = {'P', '6', '\0'};
  if (size >= 2 && data[0] == 'P' && strchr("56FD", data[1]) && data[1]) type[1] = static_cast<char>(data[1]);
  fuzzsupport::runGuarded([&] {
    int width = 0, height = 0;
    if (type[1] == 'F') {
      float scale = 0;
      float* pixels = nullptr;
      if (readPFM(path.c_str(), type, &width, &height, &scale, &pixels) == 1) ptrPNMFree(pixels);
    } else if (type[1] == 'D') {
      double scale = 0;
      double* pixels = nullptr;
      if (readPDM(path.c_str(), type, &width, &height, &scale, &pixels) == 1) ptrPNMFree(pixels);
    } else {
      int maximum = 0;
      unsigned char* pixels = nullptr;
      if (readPNM(path.c_str(), type, &width, &height, &maximum, &pixels) == 1) ptrPNMFree(pixels);
    }
  });
  return 0;
}
