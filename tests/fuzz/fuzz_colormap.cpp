// Fuzz target: the two colour map readers. The input is read both as a colour-index ramp and as
// a spectral-type table, so one corpus serves both. A loader that fails is meant to leave what it
// had allocated unreleased (only the caller knows the release that goes with its allocator), so
// after a failed load the target marks that memory as given up instead of reporting a leak.
#include <cstdint>

#include "stars/colormap.h"
#include "tests/fuzz/fuzz_support.h"

namespace {
// The range of the colour index the program's ramp spans.
constexpr float kRampStart = -0.4f;
constexpr float kRampEnd = 2.0f;
// A colour looked up in each map that loads: the Sun's colour index, and its sub-class.
constexpr float kProbeIndex = 0.65f;
constexpr float kProbeSubclass = 2.0f;
}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  std::string path = fuzzsupport::writeInput("input.cmap", data, size);
  bool loaded = false;
  auto afterFailure = [&] {
    if (!loaded) fuzzsupport::giveUpHeldAllocations();
  };
  fuzzsupport::runGuarded(
      [&] {
        ColorMap* ramp = loadColorMap(path.c_str(), kRampStart, kRampEnd);
        loaded = ramp != nullptr;
        if (ramp) {
          getColor(ramp, kProbeIndex);
          freeColorMap(ramp);
        }
      },
      afterFailure);
  fuzzsupport::runGuarded(
      [&] {
        SpColorMap* table = loadSpColorMap(path.c_str());
        loaded = table != nullptr;
        if (table) {
          getSpColor(table, "G2", kProbeSubclass, "V");
          freeSpColorMap(table);
        }
      },
      afterFailure);
  return 0;
}
