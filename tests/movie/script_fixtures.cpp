// Scripts for the movie tests.
#include "tests/movie/script_fixtures.h"

#include <cstdio>

#include "tests/support/testutil.h"

namespace moviefixtures {

std::string viewText(double x, double y, double z, double s, const char* dir, const char* up, double fovy,
                     double aspect) {
  char buf[512];
  std::snprintf(buf, sizeof buf,
                "viewPos = %g %g %g %g\nviewDir = %s\nviewUp = %s\nfovy = %g\naspect = %g\n", x, y, z, s, dir,
                up, fovy, aspect);
  return buf;
}

std::string header(int count, const char* interp, int w, int h) {
  return "Movie Script\n------------\nresolution : " + std::to_string(w) + " x " + std::to_string(h) +
         "\ninterp : " + interp + "\nnKeyFrames : " + std::to_string(count) + "\n\n";
}

std::string keyFrame(int frame, const std::string& view, const std::string& extra, const std::string& sessions) {
  return "KeyFrame " + std::to_string(frame) + extra + "\n" + sessions + "-----------\n" + view + "\n";
}

int loadText(MovieRecord& m, const std::string& text, int quiet, std::string* err) {
  testsupport::TempDir dir;
  std::string path = dir.file("movie.scp");
  testsupport::writeFile(path, text);
  int result = 0;
  std::string e = testsupport::stderrOf([&] { result = m.loadFile(path.c_str(), quiet); });
  if (err) *err = e;
  return result;
}

View viewAt(double x, double y) {
  View v;
  v.viewPos = PHCoord{x, y, 0, 0};
  v.viewDir[2] = -1;
  v.viewUp[1] = 1;
  v.fovy = 45;
  v.aspect = 1;
  return v;
}

}  // namespace moviefixtures
