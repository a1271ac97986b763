// Test support: a program on its own X server, driven by xdotool.
#include "tests/support/program_run.h"

#include <signal.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <thread>

namespace testsupport {

void pauseMs(int ms) {
  std::this_thread::sleep_for(std::chrono::milliseconds(ms));
}

ProgramRun::ProgramRun(std::vector<std::string> argv, std::string windowName, bool searchPath,
                       std::vector<std::string> extraEnv, int width, int height)
    : argv_(std::move(argv)),
      windowName_(std::move(windowName)),
      searchPath_(searchPath),
      extraEnv_(std::move(extraEnv)),
      width_(width),
      height_(height) {
  launch();
}

ProgramRun::~ProgramRun() {
  stop();
}

const std::string& ProgramRun::display() const {
  static const std::string none;
  return server_ ? server_->display() : none;
}

RunResult ProgramRun::xdo(const std::string& args) {
  return run("DISPLAY=" + display() + " xdotool " + args);
}

const std::string& ProgramRun::window() {
  for (int attempt = 0; attempt < 3 && window_.empty() && ok(); ++attempt) {
    for (int i = 0; i < 300 && window_.empty(); ++i) {
      auto r = xdo("search --name '" + windowName_ + "'");
      std::istringstream in(r.out);
      in >> window_;
      if (!window_.empty()) break;
      int st;
      if (waitpid(pid_, &st, WNOHANG) == pid_) {
        pid_ = -1;
        break;
      }
      pauseMs(100);
    }
    if (window_.empty()) {
      stop();
      launch();
    }
  }
  return window_;
}

void ProgramRun::key(const std::string& name) {
  xdo("key --window " + window() + " " + name);
}

int ProgramRun::waitExit(int seconds) {
  if (status_ >= 0) return status_;
  for (int i = 0; i < seconds * 20 && pid_ > 0; ++i) {
    int st;
    if (waitpid(pid_, &st, WNOHANG) == pid_) {
      status_ = WIFEXITED(st) ? WEXITSTATUS(st) : 128 + WTERMSIG(st);
      return status_;
    }
    pauseMs(50);
  }
  return -1;
}

std::string ProgramRun::out() const {
  return readFile(dir_.file("out"));
}

std::string ProgramRun::err() const {
  return readFile(dir_.file("err"));
}

double ProgramRun::cpuSeconds() const {
  std::ifstream in("/proc/" + std::to_string(pid_) + "/stat");
  std::string all((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
  size_t close = all.rfind(')');
  if (close == std::string::npos) return 0;
  // Fields 14 and 15 of the line are user and system time in clock ticks.
  std::istringstream fields(all.substr(close + 2));
  std::string f;
  double utime = 0, stime = 0;
  for (int i = 3; i <= 15 && fields >> f; ++i) {
    if (i == 14) utime = atof(f.c_str());
    if (i == 15) stime = atof(f.c_str());
  }
  return (utime + stime) / sysconf(_SC_CLK_TCK);
}

void ProgramRun::letCpuPass(double seconds) {
  double start = cpuSeconds();
  for (int i = 0; i < 600 && cpuSeconds() - start < seconds; ++i) pauseMs(50);
}

void ProgramRun::launch() {
  // Display :0 is the one other programs reach for: a server there is kept aside, so that the
  // next one gets another number, and dropped once a good one runs.
  std::vector<std::unique_ptr<XvfbServer>> aside;
  for (int attempt = 0; attempt < 4; ++attempt) {
    server_ = std::make_unique<XvfbServer>(width_, height_);
    if (server_->ok() && server_->display() != ":0" &&
        run("DISPLAY=" + server_->display() + " xdotool getdisplaygeometry").status == 0)
      break;
    aside.push_back(std::move(server_));
  }
  if (!server_) return;
  pid_ = fork();
  if (pid_ == 0) {
    setenv("DISPLAY", server_->display().c_str(), 1);
    for (const auto& e : extraEnv_) putenv(const_cast<char*>(e.c_str()));
    if (searchPath_) {
      const char* path = getenv("PATH");
      setenv("PATH", (binaryDir() + ":" + (path ? path : "/usr/bin:/bin")).c_str(), 1);
    }
    if (!freopen(dir_.file("out").c_str(), "w", stdout)) _exit(126);
    if (!freopen(dir_.file("err").c_str(), "w", stderr)) _exit(126);
    std::vector<char*> argv;
    for (auto& a : argv_) argv.push_back(const_cast<char*>(a.c_str()));
    argv.push_back(nullptr);
    execvp(argv[0], argv.data());
    _exit(127);
  }
}

void ProgramRun::stop() {
  if (pid_ > 0 && status_ < 0) {
    kill(pid_, SIGKILL);
    waitpid(pid_, nullptr, 0);
  }
  pid_ = -1;
  server_.reset();
}

}  // namespace testsupport
