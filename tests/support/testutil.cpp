// Test support: temporary folders, files and running programs.
#include "tests/support/testutil.h"

#include <gtest/gtest.h>

#include <sys/wait.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>

namespace testsupport {

TempDir::TempDir() {
  char pattern[] = "/tmp/velmora-test-XXXXXX";
  char* made = mkdtemp(pattern);
  path_ = made ? made : "/tmp";
}

TempDir::~TempDir() {
  if (path_ != "/tmp") {
    std::error_code ec;
    std::filesystem::remove_all(path_, ec);
  }
}

void writeFile(const std::string& path, const std::string& bytes) {
  std::ofstream out(path, std::ios::binary);
  out.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

std::string readFile(const std::string& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream s;
  s << in.rdbuf();
  return s.str();
}

bool fileExists(const std::string& path) {
  return std::filesystem::exists(path);
}

RunResult run(const std::string& commandLine) {
  TempDir dir;
  std::string outFile = dir.file("out"), errFile = dir.file("err");
  std::string full = "( " + commandLine + " ) </dev/null >" + outFile + " 2>" + errFile;
  int raw = std::system(full.c_str());
  RunResult r;
  if (raw != -1) {
    if (WIFEXITED(raw))
      r.status = WEXITSTATUS(raw);
    else if (WIFSIGNALED(raw))
      r.status = 128 + WTERMSIG(raw);
  }
  r.out = readFile(outFile);
  r.err = readFile(errFile);
  return r;
}

#ifndef VELMORA_BINARY_DIR
#define VELMORA_BINARY_DIR "."
#endif
#ifndef VELMORA_SOURCE_DIR
#define VELMORA_SOURCE_DIR "."
#endif

std::string binaryDir() {
  return std::string(VELMORA_BINARY_DIR) + "/bin";
}
std::string sourceDir() {
  return VELMORA_SOURCE_DIR;
}

bool skyDataBuilt() {
  return fileExists(sourceDir() + "/data/.built");
}

std::string starSetPath(int n) {
  return sourceDir() + "/data/stardata/HIP/hip." + std::to_string(n) + ".star";
}

std::string stderrOf(const std::function<void()>& f) {
  testing::internal::CaptureStderr();
  f();
  return testing::internal::GetCapturedStderr();
}

std::string stdoutOf(const std::function<void()>& f) {
  testing::internal::CaptureStdout();
  f();
  return testing::internal::GetCapturedStdout();
}

Streams streamsOf(const std::function<void()>& f) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  f();
  Streams s;
  s.out = testing::internal::GetCapturedStdout();
  s.err = testing::internal::GetCapturedStderr();
  return s;
}

}  // namespace testsupport
