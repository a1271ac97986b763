// Fuzz target: the extrasolar planet table, bound to the real catalogue of the brightest stars;
// the planets are given back after each input, so that tables don't pile up.
#include <cstdint>

#include "tests/fuzz/catalogue_fixture.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  static fuzzsupport::CatalogueFixture fixture;
  StarList* stars = fixture.get();
  std::string path = fuzzsupport::writeInput("input.planets", data, size);
  bool returned = fuzzsupport::runGuarded([&] {
    stars->loadExtrasolarPlanets(path.c_str());
    stars->freeExtrasolarPlanets();
  });
  if (!returned) fixture.abandon();
  return 0;
}
