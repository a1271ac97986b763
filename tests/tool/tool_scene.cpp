// Starting the alignment scene inside a test program.
#include "tests/tool/tool_scene.h"

#include <cstdlib>

#include "coords/view.h"
#include "fileio/common.h"
#include "tool/velmora.h"
#include "viewer/tarnwick.h"

namespace toolscene {

namespace {
// The top folder is looked at before the base: one that doesn't exist keeps the tests on the
// data of the source folder.
const char* const kNoTop = "/nonexistent-velmora-top";
}  // namespace

Args::Args(const std::vector<std::string>& items) : texts_(items) {
  for (auto& s : texts_) ptrs_.push_back(s.data());
  ptrs_.push_back(nullptr);
}

std::string sample(const std::string& name) {
  return testsupport::sourceDir() + "/samples/" + name;
}

void prepare(int side) {
  fullScreen = 0;
  winW = winH = side;
  useGLUTMenu = 1;
  useSubGLUI = 0;
  View view = initView();
  resetView(&view);
  copyText(basedir, (testsupport::sourceDir() + "/").c_str(), sizeof basedir);
  setenv("TOPDIR", kNoTop, 1);
}

int start(int side, const std::vector<std::string>& items, testsupport::Streams* io) {
  prepare(side);
  Args args(items);
  int result = -1;
  *io = testsupport::streamsOf([&] { result = initScene(args.argc(), args.argv()); });
  return result;
}

std::vector<std::string> m51Pair() {
  return {"-notex", sample("m51-misplaced.obj"), sample("m51.obj")};
}

}  // namespace toolscene
