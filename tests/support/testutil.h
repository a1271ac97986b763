// Test support: temporary folders, files and running programs.
#pragma once

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

// Where the build puts the executables (velmora, ezpack, the data builders).
std::string binaryDir();
std::string sourceDir();

}  // namespace testsupport
