// Starting the alignment scene inside a test program, as the velmora program starts it, on the
// GL window that testsupport::openGLWindow made current.
#pragma once

#include <string>
#include <vector>

#include "tests/support/testutil.h"

namespace toolscene {

// An argument vector built from texts, ending in a null pointer as main's does.
class Args {
 public:
  explicit Args(const std::vector<std::string>& items);
  int argc() const { return static_cast<int>(ptrs_.size()) - 1; }
  char** argv() { return ptrs_.data(); }

 private:
  std::vector<std::string> texts_;
  std::vector<char*> ptrs_;
};

// A file of samples/ in the source folder.
std::string sample(const std::string& name);

// Sets the framework's state as the program has it before the scene starts, on a window of
// side x side pixels: not full screen, GLUT menus, no panel, the first view, the source folder as
// the base and a top folder that doesn't exist (so only the base serves).
void prepare(int side);

// prepare(side), then initScene on items (argv[0] excluded) with both streams captured into
// *io. Returns what initScene returns.
int start(int side, const std::vector<std::string>& items, testsupport::Streams* io);

// The arguments most tests start with: no maps, the misplaced M51 and its placed twin.
std::vector<std::string> m51Pair();

}  // namespace toolscene
