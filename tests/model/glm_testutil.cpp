// Helpers for the model library's tests: models from text and runs in a child process.
#include "tests/model/glm_testutil.h"

#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace glmtest {

ChildResult inChild(const std::function<void()>& fn) {
  testsupport::TempDir dir;
  std::string outFile = dir.file("out"), errFile = dir.file("err");
  fflush(stdout);
  fflush(stderr);
  pid_t pid = fork();
  if (pid == 0) {
    int out = open(outFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    int err = open(errFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
    dup2(out, 1);
    dup2(err, 2);
    fn();
    fflush(stdout);
    fflush(stderr);
    _exit(0);
  }
  ChildResult r;
  int raw = 0;
  if (pid > 0 && waitpid(pid, &raw, 0) == pid) {
    if (WIFEXITED(raw))
      r.status = WEXITSTATUS(raw);
    else if (WIFSIGNALED(raw))
      r.status = 128 + WTERMSIG(raw);
  }
  r.out = testsupport::readFile(outFile);
  r.err = testsupport::readFile(errFile);
  return r;
}

_GLMmodel* readText(const testsupport::TempDir& dir, const std::string& name, const std::string& text) {
  std::string path = dir.file(name);
  testsupport::writeFile(path, text);
  return glmReadOBJQuiet(path.c_str());
}

std::string peerModelDir() {
  std::string dir = testsupport::sourceDir() + "/.cache/pkgs/stellarium-data/usr/share/stellarium/models";
  return testsupport::fileExists(dir + "/951gaspra_MLfix.obj") ? dir : "";
}

}  // namespace glmtest
