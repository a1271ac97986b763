// Fuzz target: the texture list. The input is the list; beside it lie two small images it can
// name, "sky.ppm" (colour) and "sky.pgm" (grey), so that entries read real pixels.
#include <cstdint>

#include "tool/texfile.h"
#include "tests/fuzz/fuzz_support.h"

namespace {

void writeImages() {
  static bool written = false;
  if (written) return;
  const char colour[] = "P6\n2 2\n255\n\x10\x20\x30\x40\x50\x60\x70\x80\x90\xa0\xb0\xc0";
  const char grey[] = "P5\n2 1\n255\n\x11\x22";
  fuzzsupport::writeInput("sky.ppm", reinterpret_cast<const uint8_t*>(colour), sizeof colour - 1);
  fuzzsupport::writeInput("sky.pgm", reinterpret_cast<const uint8_t*>(grey), sizeof grey - 1);
  written = true;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  writeImages();
  std::string path = fuzzsupport::writeInput("input.texture", data, size);
  fuzzsupport::runGuarded([&] {
    int nTex = 0, nSlider = 0, status = 0;
    if (TexObj* objs = readTexObjs(path.c_str(), &nTex, &nSlider, &status)) {
      int nList = 0;
      if (TexObj** list = genSliderList(objs, nTex, &nList)) free(list);
      freeTexObjs(objs, nTex);
    }
  });
  return 0;
}
