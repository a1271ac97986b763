// A star catalogue for the targets whose files point into it (constellations, planets): the real
// star set of V at most 1, read once. A reader that ends the process through the exit guard may
// leave the catalogue half changed, so such a catalogue is set aside (kept reachable, never
// freed) and the next input gets a fresh one.
#pragma once

#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

#include "stars/star.h"
#include "tests/fuzz/fuzz_support.h"

namespace fuzzsupport {

class CatalogueFixture {
 public:
  // The catalogue to read the next input against; never null. Aborts if the star set is missing.
  StarList* get() {
    if (!current_) {
      current_ = new StarList;
      std::string path = sourceDir() + "/data/stardata/HIP/hip.1.star";
      char* names[] = {path.data()};
      if (current_->readStarFiles(1, names, 1, false) != 1) {
        fprintf(stderr, "fuzz: the star set [%s] can't be read; build the sky data first\n", path.c_str());
        abort();
      }
    }
    return current_;
  }
  // Sets the current catalogue aside after a reader left it through exit.
  void abandon() {
    abandoned_.push_back(current_);
    current_ = nullptr;
  }

 private:
  StarList* current_ = nullptr;
  std::vector<StarList*> abandoned_;
};

}  // namespace fuzzsupport
