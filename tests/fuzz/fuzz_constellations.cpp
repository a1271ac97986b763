// Fuzz target: the constellation file, read against the real catalogue of the brightest stars.
#include <cstdint>

#include "tests/fuzz/catalogue_fixture.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static fuzzsupport::CatalogueFixture fixture;
  StarList* stars = fixture.get();
  std::string path = fuzzsupport::writeInput("input.constell", data, size);
  if (!fuzzsupport::runGuarded([&] { stars->loadConstellations(path.c_str()); })) fixture.abandon();
  return 0;
}
