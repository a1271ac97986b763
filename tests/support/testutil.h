// Test support: temporary folders, files and running programs.
#pragma once

#include <functional>
#include <string>

namespace testsupport {

// A fresh folder below /tmp, removed with everything in it by the destructor.
class TempDir {
 public:
  TempDir();
  ~TempDir();
  TempDir(const TempDir&) = delete;
  TempDir& operator=(const TempDir&) = delete;
  const std::string& path() const { return path_; }
  std::string file(const std::string& name) const { return path_ + "/" + name; }

 private:
  std::string path_;
};

void writeFile(const std::string& path, const std::string& bytes);
std::string readFile(const std::string& path);  // "" when missing
bool fileExists(const std::string& path);

struct RunResult {
  int status = -1;  // exit status, or 128 + signal
  std::string out;
  std::string err;
};

// Runs a shell command line, with standard input from /dev/null, and captures both streams.
RunResult run(const std::string& commandLine);

// What f writes on standard error / standard output while it runs (GoogleTest's capture).
std::string stderrOf(const std::function<void()>& f);
std::string stdoutOf(const std::function<void()>& f);
// Both streams of f at once.
struct Streams {
  std::string out, err;
};
Streams streamsOf(const std::function<void()>& f);

// Where the build puts the executables (velmora, ezpack, the data builders).
std::string binaryDir();
std::string sourceDir();

// The sky data that scripts/data.sh builds in the source folder.
bool skyDataBuilt();               // true once the build finished (data/.built exists)
std::string starSetPath(int n);    // the star set of V at most n: data/stardata/HIP/hip.<n>.star

}  // namespace testsupport

// Skips the test, with the reason, where the sky data could not be built.
#define VELMORA_REQUIRE_SKY_DATA()                                                                 \
  do {                                                                                             \
    if (!testsupport::skyDataBuilt()) {                                                            \
      GTEST_SKIP() << "the sky data is not built (scripts/data.sh could not fetch the packages); " \
                      "nothing to check";                                                          \
    }                                                                                              \
  } while (0)

namespace testsupport {

}  // namespace testsupport
