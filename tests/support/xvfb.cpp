#include "tests/support/xvfb.h"

#include <GL/freeglut.h>
#include <GL/gl.h>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <memory>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace testsupport {

XvfbServer::XvfbServer(int width, int height) {
  int fds[2];
  if (pipe(fds) != 0) return;
  pid_t pid = fork();
  if (pid < 0) {
    close(fds[0]);
    close(fds[1]);
    return;
  }
  if (pid == 0) {
    close(fds[0]);
    int devnull = open("/dev/null", O_RDWR);
    if (devnull >= 0) {
      dup2(devnull, 1);
      dup2(devnull, 2);
    }
    std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
    std::string fd = std::to_string(fds[1]);
    execlp("Xvfb", "Xvfb", "-displayfd", fd.c_str(), "-screen", "0", screen.c_str(), "-nolisten", "tcp",
           "+extension", "GLX", "-ac", (char*)nullptr);
    _exit(127);
  }
  close(fds[1]);
  pid_ = pid;
  std::string number;
  // Xvfb writes the display number and a newline once it accepts connections.
  for (int waited = 0; waited < 200; ++waited) {
    pollfd p{fds[0], POLLIN, 0};
    if (poll(&p, 1, 100) > 0) {
      char c;
      ssize_t n = read(fds[0], &c, 1);
      if (n <= 0) break;
      if (c == '\n') break;
      number += c;
    }
  }
  close(fds[0]);
  if (number.empty()) {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
    pid_ = -1;
    return;
  }
  display_ = ":" + number;
}

XvfbServer::~XvfbServer() {
  if (pid_ > 0) {
    kill(pid_, SIGTERM);
    waitpid(pid_, nullptr, 0);
  }
}

const std::string& sharedDisplay() {
  static std::unique_ptr<XvfbServer> server;
  static std::string name;
  static bool tried = false;
  if (!tried) {
    tried = true;
    server = std::make_unique<XvfbServer>();
    if (server->ok()) {
      name = server->display();
      setenv("DISPLAY", name.c_str(), 1);
      // The server goes when the process does; the static's destructor stops it.
    }
  }
  return name;
}

int openGLWindow(int width, int height, unsigned int glutMode) {
  static int window = 0;
  if (window == 0) {
    if (sharedDisplay().empty()) return 0;
    int argc = 1;
    char arg0[] = "test";
    char* argv[] = {arg0, nullptr};
    glutInit(&argc, argv);
    if (glutMode == 0) glutMode = GLUT_RGBA | GLUT_DOUBLE | GLUT_DEPTH | GLUT_ACCUM;
    glutInitDisplayMode(glutMode);
    glutInitWindowSize(width, height);
    glutInitWindowPosition(0, 0);
    glutSetOption(GLUT_ACTION_ON_WINDOW_CLOSE, GLUT_ACTION_CONTINUE_EXECUTION);
    window = glutCreateWindow("test");
    glutDisplayFunc([] {});
  } else {
    glutSetWindow(window);
    glutReshapeWindow(width, height);
  }
  // Let the window appear at its size before anything is drawn.
  for (int i = 0; i < 5; ++i) glutMainLoopEvent();
  glViewport(0, 0, width, height);
  return window;
}

std::vector<unsigned char> readPixelsRGB(int x, int y, int width, int height) {
  std::vector<unsigned char> pixels(static_cast<size_t>(width) * height * 3);
  glPixelStorei(GL_PACK_ALIGNMENT, 1);
  glReadBuffer(GL_BACK);
  glReadPixels(x, y, width, height, GL_RGB, GL_UNSIGNED_BYTE, pixels.data());
  return pixels;
}

}  // namespace testsupport
