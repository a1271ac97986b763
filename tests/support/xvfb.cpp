// Test support: a private X server for tests that open windows.
#include "tests/support/xvfb.h"

#include <GL/freeglut.h>
#include <GL/gl.h>
#include <X11/Xlib.h>
#include <fcntl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <random>

namespace testsupport {

// Display numbers are drawn at random from a high range rather than taken as the lowest free
// one: many test processes start and stop servers at once, and a number freed a moment ago is
// the one where a dying server may still remove the next one's lock and socket.
XvfbServer::XvfbServer(int width, int height) {
  std::random_device seed;
  std::mt19937 rng(seed() ^ static_cast<unsigned>(getpid()));
  std::uniform_int_distribution<int> pick(200, 5999);
  for (int attempt = 0; attempt < 20 && display_.empty(); ++attempt) {
    int number = pick(rng);
    char lock[64], socket[64], name[16];
    snprintf(lock, sizeof lock, "/tmp/.X%d-lock", number);
    snprintf(socket, sizeof socket, "/tmp/.X11-unix/X%d", number);
    snprintf(name, sizeof name, ":%d", number);
    if (access(lock, F_OK) == 0 || access(socket, F_OK) == 0) continue;
    pid_t pid = fork();
    if (pid < 0) return;
    if (pid == 0) {
      int devnull = open("/dev/null", O_RDWR);
      if (devnull >= 0) {
        dup2(devnull, 1);
        dup2(devnull, 2);
      }
      std::string screen = std::to_string(width) + "x" + std::to_string(height) + "x24";
      // -noreset: the readiness probe below is the first client, and a server that resets when
      // its last client leaves refuses connections for a moment afterwards.
      execlp("Xvfb", "Xvfb", name, "-screen", "0", screen.c_str(), "-nolisten", "tcp", "-noreset",
             "+extension", "GLX", "-ac", (char*)nullptr);
      _exit(127);
    }
    // Ready when a client gets through; gone when the server gave up (the number was taken).
    for (int tries = 0; tries < 100; ++tries) {
      if (waitpid(pid, nullptr, WNOHANG) == pid) {
        pid = -1;
        break;
      }
      if (Display* d = XOpenDisplay(name)) {
        XCloseDisplay(d);
        pid_ = pid;
        owner_ = getpid();
        display_ = name;
        break;
      }
      usleep(50000);
    }
    if (display_.empty() && pid > 0) {
      kill(pid, SIGTERM);
      waitpid(pid, nullptr, 0);
    }
  }
}

XvfbServer::~XvfbServer() {
  // A forked child (a death test, say) that exits runs this destructor too: only the process
  // that started the server stops it.
  if (pid_ > 0 && getpid() == owner_) {
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
    for (int attempt = 0; attempt < 3 && !(server && server->ok()); ++attempt)
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

void keepShotForALook(const std::string& name, const unsigned char* rgb, int width, int height, bool topRowFirst) {
  if (!getenv("VELMORA_TEST_SHOTS")) return;
  FILE* f = fopen(("/tmp/" + name + ".ppm").c_str(), "wb");
  if (!f) return;
  // A PPM holds the top row first.
  fprintf(f, "P6\n%d %d\n255\n", width, height);
  const size_t row = static_cast<size_t>(width) * 3;
  for (int k = 0; k < height; ++k) {
    const int y = topRowFirst ? k : height - 1 - k;
    if (fwrite(rgb + static_cast<size_t>(y) * row, 1, row, f) != row) break;
  }
  fclose(f);
}

}  // namespace testsupport
