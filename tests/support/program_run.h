// Test support: one program run on its own private X server, found by its window title and
// driven with xdotool.
#pragma once

#include <sys/types.h>

#include <memory>
#include <string>
#include <vector>

#include "tests/support/testutil.h"
#include "tests/support/xvfb.h"

namespace testsupport {

class ProgramRun {
 public:
  // argv[0] is the program: a path, or with searchPath a bare name found through PATH with the
  // build's bin folder put in front. The program's standard output and error go to files of
  // the run's own folder. Starts at once; extraEnv entries are "NAME=value". windowName is a
  // regular expression, as xdotool search --name takes it.
  ProgramRun(std::vector<std::string> argv, std::string windowName, bool searchPath = false,
             std::vector<std::string> extraEnv = {}, int width = 1280, int height = 1024);
  ~ProgramRun();
  ProgramRun(const ProgramRun&) = delete;
  ProgramRun& operator=(const ProgramRun&) = delete;

  bool ok() const { return server_ && pid_ > 0; }
  const std::string& display() const;
  const TempDir& dir() const { return dir_; }

  // xdotool with these arguments on this run's display.
  RunResult xdo(const std::string& args);
  // The window's id, once a window with the title exists; "" if none comes. On a machine shared
  // with other test runs a fresh server now and then can't be reached by the time the program
  // starts; the program then ends at once, and the run is started anew on another server.
  const std::string& window();
  // A key (xdotool's key names) sent to the window.
  void key(const std::string& name);

  // Waits for the end and returns the exit status (128 + signal); -1 if the program is still
  // running after the time given.
  int waitExit(int seconds = 20);
  std::string out() const;
  std::string err() const;
  pid_t pid() const { return pid_; }

  // Processor seconds the program has used so far, and a wait for it to use this many more.
  double cpuSeconds() const;
  void letCpuPass(double seconds);

 private:
  void launch();
  void stop();

  std::vector<std::string> argv_;
  std::string windowName_;
  bool searchPath_;
  std::vector<std::string> extraEnv_;
  int width_, height_;
  std::unique_ptr<XvfbServer> server_;
  TempDir dir_;
  std::string window_;
  pid_t pid_ = -1;
  int status_ = -1;
};

// Sleeps this many milliseconds.
void pauseMs(int ms);

}  // namespace testsupport
