// Helpers for the model library's tests: models from text, and a function run in a child
// process with both of its streams captured.
#pragma once

#include <functional>
#include <string>

#include "model/glm.h"
#include "tests/support/testutil.h"

namespace glmtest {

struct ChildResult {
  int status = -1;  // exit status, or 128 + signal
  std::string out;
  std::string err;
};

// Runs fn in a forked child, which exits with 0 when fn returns. Both streams are captured.
ChildResult inChild(const std::function<void()>& fn);

// Writes `text` as `name` into dir and reads it with glmReadOBJQuiet.
_GLMmodel* readText(const testsupport::TempDir& dir, const std::string& name, const std::string& text);

// The folder of real OBJ models from the stellarium-data package, or "" when it isn't unpacked.
std::string peerModelDir();

}  // namespace glmtest
