// Blind solving through astrometry.net's solve-field, run as a child process in a temporary folder.
#include "place/blindsolve.h"

#include <fcntl.h>
#include <signal.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <thread>
#include <vector>

#include "place/fitsimage.h"

namespace place {

namespace {

// solve-field's processor limit measures only its own search; by the wall clock its Python front
// end, the source extraction and a machine shared with other work add to it.
constexpr double kWallPerCpuSecond = 2.0;
constexpr double kWallStartSeconds = 20.0;
constexpr int kPollMs = 50;
// The status of a child that could not be started at all (exec failed).
constexpr int kExecFailed = 127;
// The brightest sources handed to solve-field: far more than a solve looks at.
constexpr size_t kMaxSources = 1000;
// The name of the solution files in the temporary folder: field.wcs, field.solved, field.log.
constexpr const char* kBaseName = "field";

// A folder of its own below TMPDIR (or /tmp), removed with everything in it at the end of scope.
class ScratchDir {
 public:
  ScratchDir() {
    const char* tmp = std::getenv("TMPDIR");
    std::string pattern = std::string(tmp && *tmp ? tmp : "/tmp") + "/velmora-solve-XXXXXX";
    std::vector<char> buf(pattern.begin(), pattern.end());
    buf.push_back('\0');
    if (mkdtemp(buf.data())) path_ = buf.data();
  }
  ~ScratchDir() {
    std::error_code ec;
    if (!path_.empty()) std::filesystem::remove_all(path_, ec);
  }
  ScratchDir(const ScratchDir&) = delete;
  ScratchDir& operator=(const ScratchDir&) = delete;
  const std::string& path() const { return path_; }

 private:
  std::string path_;
};

bool isExecutable(const std::string& path) {
  struct stat st;
  return stat(path.c_str(), &st) == 0 && S_ISREG(st.st_mode) && access(path.c_str(), X_OK) == 0;
}

std::string formatNumber(double v) {
  std::ostringstream s;
  s.precision(10);
  s << v;
  return s.str();
}

// Runs argv with standard input from /dev/null and both streams into logPath, in a process group
// of its own, so that a kill reaches the programs solve-field starts too. Returns the exit
// status, 128 + signal for a signal, or -1 when the wall limit ran out and the group was killed.
int runWithLimit(const std::vector<std::string>& argv, const std::string& logPath, double wallSeconds) {
  std::vector<char*> args;
  for (const std::string& a : argv) args.push_back(const_cast<char*>(a.c_str()));
  args.push_back(nullptr);
  const pid_t pid = fork();
  if (pid < 0) return kExecFailed;
  if (pid == 0) {
    setpgid(0, 0);
    const int in = open("/dev/null", O_RDONLY);
    const int log = open(logPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    if (in >= 0) dup2(in, STDIN_FILENO);
    if (log >= 0) {
      dup2(log, STDOUT_FILENO);
      dup2(log, STDERR_FILENO);
    }
    execv(args[0], args.data());
    _exit(kExecFailed);
  }
  setpgid(pid, pid);  // also here, so that the group exists before a kill, whoever runs first
  const auto end = std::chrono::steady_clock::now() + std::chrono::duration<double>(wallSeconds);
  int status = 0;
  for (;;) {
    const pid_t r = waitpid(pid, &status, WNOHANG);
    if (r == pid) break;
    if (r < 0) return kExecFailed;
    if (std::chrono::steady_clock::now() >= end) {
      kill(-pid, SIGKILL);
      waitpid(pid, &status, 0);
      return -1;
    }
    std::this_thread::sleep_for(std::chrono::milliseconds(kPollMs));
  }
  // Programs solve-field started that still run in its group have no purpose once it has ended.
  kill(-pid, SIGKILL);
  if (WIFSIGNALED(status)) return 128 + WTERMSIG(status);
  return WEXITSTATUS(status);
}

}  // namespace

double solveWallSeconds(const SolveOptions& options) {
  if (options.wallSeconds > 0) return options.wallSeconds;
  return options.cpuSeconds * kWallPerCpuSecond + kWallStartSeconds;
}

std::string findProgram(const std::string& name) {
  if (name.empty()) return "";
  if (name.find('/') != std::string::npos) return isExecutable(name) ? name : "";
  const char* path = std::getenv("PATH");
  std::istringstream dirs(path ? path : "");
  std::string dir;
  while (std::getline(dirs, dir, ':')) {
    const std::string candidate = (dir.empty() ? "." : dir) + "/" + name;
    if (isExecutable(candidate)) return candidate;
  }
  return "";
}

int countIndexFiles(const std::string& config) {
  std::ifstream in(config);
  std::string line;
  int n = 0;
  while (std::getline(in, line)) {
    std::istringstream words(line);
    std::string key, value;
    if (!(words >> key >> value)) continue;
    std::error_code ec;
    if (key == "index") {
      if (std::filesystem::is_regular_file(value, ec)) ++n;
    } else if (key == "add_path") {
      for (const auto& e : std::filesystem::directory_iterator(value, ec)) {
        const std::string file = e.path().filename().string();
        if (file.rfind("index", 0) == 0 && file.find(".fits") != std::string::npos) ++n;
      }
    }
  }
  return n;
}

bool solveBlindly(const GreyImage& image, const std::string& why, const SolveOptions& options, Wcs& wcs,
                  std::string& err) {
  const std::string program = findProgram(options.program);
  if (program.empty()) {
    err = why + ", and solve-field is not installed to solve it blindly (Debian package astrometry.net)";
    return false;
  }
  const std::string config = options.config.empty() ? kSolveFieldConfig : options.config;
  if (countIndexFiles(config) == 0) {
    err = why +
          ", and no astrometry.net index files are installed to solve it blindly (Debian package "
          "astrometry-data-tycho2-10-19-littleendian)";
    return false;
  }
  const std::vector<Source> sources = findSources(image, kMaxSources);
  if (sources.empty()) {
    err = why + ", and no stars were found in it to solve it blindly";
    return false;
  }
  ScratchDir dir;
  if (dir.path().empty()) {
    err = why + ", and no temporary folder could be made to solve it blindly in";
    return false;
  }
  const std::string base = dir.path() + "/" + kBaseName;
  const std::string list = base + "-sources.fits";
  std::string writeErr;
  if (!writeSourceList(list, sources, writeErr)) {
    err = why + ", and its stars could not be handed to solve-field: " + writeErr;
    return false;
  }
  std::vector<std::string> argv = {program,
                                   "--no-plots",
                                   "--overwrite",
                                   "--cpulimit",
                                   std::to_string(options.cpuSeconds),
                                   "--dir",
                                   dir.path(),
                                   "--temp-dir",
                                   dir.path(),
                                   "--out",
                                   kBaseName,
                                   "--new-fits",
                                   "none",
                                   "--crpix-center",
                                   "--config",
                                   config,
                                   "--width",
                                   std::to_string(image.width),
                                   "--height",
                                   std::to_string(image.height),
                                   "--x-column",
                                   "X",
                                   "--y-column",
                                   "Y",
                                   "--sort-column",
                                   "FLUX"};
  if (options.scaleLowDeg > 0 && options.scaleHighDeg > 0) {
    argv.insert(argv.end(), {"--scale-units", "degwidth", "--scale-low", formatNumber(options.scaleLowDeg),
                             "--scale-high", formatNumber(options.scaleHighDeg)});
  }
  argv.push_back(list);
  const int status = runWithLimit(argv, base + ".log", solveWallSeconds(options));
  std::error_code ec;
  const bool solved = std::filesystem::exists(base + ".solved", ec);
  if (status == -1 || (status == 0 && !solved)) {
    err = why + ", and it did not solve blindly within " + std::to_string(options.cpuSeconds) + " seconds";
    return false;
  }
  if (status != 0) {
    err = why + ", and solve-field failed on it with status " + std::to_string(status);
    return false;
  }
  std::string readErr;
  int width = 0, height = 0;
  if (!readFitsWcs(base + ".wcs", wcs, width, height, readErr)) {
    err = why + ", and solve-field failed on it with status " + std::to_string(status);
    return false;
  }
  return true;
}

}  // namespace place
