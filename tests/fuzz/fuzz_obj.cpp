// Fuzz target: the OBJ reader with its material file. The input holds the OBJ file, then,
// behind a line "#MTL", the material file, which is written as "input.mtl" beside it (the seeds
// name it with "mtllib input.mtl"); an input without that line has no material file.
//
// The reader leaves each material stream open on purpose (the process holds it until it ends).
// Over millions of inputs that would run out of descriptors and be taken for a leak, so this
// target is linked with --wrap for fopenEZ: the wrapper notes every stream opened after the
// first one of a read (the OBJ file, which the reader closes), and the target closes those
// material streams once the read is over.
#include <cstdint>
#include <cstdio>
#include <vector>

#include "model/glm.h"
#include "tests/fuzz/fuzz_support.h"

namespace {
int opened = 0;                  // streams opened through fopenEZ in the current read
std::vector<FILE*> materials;    // the material streams among them
}  // namespace

// fopenEZ(const char*, const char*) under its linker name.
extern "C" FILE* __real__Z7fopenEZPKcS0_(const char* path, const char* mode);
extern "C" FILE* __wrap__Z7fopenEZPKcS0_(const char* path, const char* mode) {
  FILE* f = __real__Z7fopenEZPKcS0_(path, mode);
  if (f && opened++ > 0) materials.push_back(f);
  return f;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  fuzzsupport::Split parts = fuzzsupport::splitAt(data, size, "\n#MTL\n");
  std::string mtl = fuzzsupport::privateDir() + "/input.mtl";
  if (!parts.found)
    remove(mtl.c_str());
  else
    fuzzsupport::writeInput("input.mtl", reinterpret_cast<const uint8_t*>(parts.second.data()), parts.second.size());
  std::string path = fuzzsupport::writeInput(
      "input.obj", reinterpret_cast<const uint8_t*>(parts.first.data()), parts.first.size());
  materials.clear();
  opened = 0;
  fuzzsupport::runGuarded(
      [&] {
        if (_GLMmodel* model = glmReadOBJ(path.c_str())) glmDelete(model);
      },
      [&] {
        for (FILE* f : materials) fclose(f);
        materials.clear();
      });
  return 0;
}
