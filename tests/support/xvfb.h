// Test support: a private X server for tests that open windows.
#pragma once

#include <sys/types.h>

#include <string>
#include <vector>

namespace testsupport {

// Starts Xvfb on a free display number drawn at random, and stops it again
// in the destructor. Each server is the test's own: nothing else draws on it.
class XvfbServer {
 public:
  explicit XvfbServer(int width = 1280, int height = 1024);
  ~XvfbServer();
  XvfbServer(const XvfbServer&) = delete;
  XvfbServer& operator=(const XvfbServer&) = delete;

  bool ok() const { return pid_ > 0 && !display_.empty(); }
  const std::string& display() const { return display_; }  // ":NN"

 private:
  pid_t pid_ = -1;
  pid_t owner_ = -1;
  std::string display_;
};

// One server for the whole test process, started on first use and stopped at exit.
// Sets DISPLAY to it. Returns the display name, or "" when Xvfb cannot start.
const std::string& sharedDisplay();

// Opens (once per process) a GLUT window of the given size on the shared display and
// makes its context current. Later calls resize the window. Returns the GLUT window id,
// or 0 when no display could be had.
int openGLWindow(int width, int height, unsigned int glutMode = 0);

// Reads back the colour buffer as RGB bytes, bottom row first (as OpenGL gives it).
std::vector<unsigned char> readPixelsRGB(int x, int y, int width, int height);

// A picture to look at, as /tmp/<name>.ppm, only when VELMORA_TEST_SHOTS is set: a run of the
// suite leaves no pictures behind unless they are asked for. rgb holds width x height RGB bytes,
// bottom row first as OpenGL reads them, or top row first when topRowFirst. Prints nothing.
void keepShotForALook(const std::string& name, const unsigned char* rgb, int width, int height,
                      bool topRowFirst = false);

}  // namespace testsupport
