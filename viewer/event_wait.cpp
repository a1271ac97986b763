// Waiting for the window system's next event instead of spinning in the idle callback.
#include "viewer/event_wait.h"

#include <GL/glx.h>
#include <X11/Xlib.h>
#include <sys/select.h>

namespace {
constexpr int kMillisecondsPerSecond = 1000;
constexpr int kMicrosecondsPerMillisecond = 1000;
}  // namespace

void waitForWindowEvent(int maxMs) {
  Display* dpy = glXGetCurrentDisplay();
  if (!dpy) return;
  // Events Xlib has already read from the socket would never wake the select below.
  if (XPending(dpy) > 0) return;
  int fd = ConnectionNumber(dpy);
  fd_set readable;
  FD_ZERO(&readable);
  FD_SET(fd, &readable);
  timeval timeout{maxMs / kMillisecondsPerSecond, (maxMs % kMillisecondsPerSecond) * kMicrosecondsPerMillisecond};
  select(fd + 1, &readable, nullptr, nullptr, &timeout);
}
