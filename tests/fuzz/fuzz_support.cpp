// The exit guard of the fuzz targets and their input files (see fuzz_support.h for why).
#include "tests/fuzz/fuzz_support.h"

#include <fcntl.h>
#include <poll.h>
#include <sanitizer/allocator_interface.h>
#include <sanitizer/lsan_interface.h>
#include <sys/stat.h>
#include <unistd.h>

#include <bitset>
#include <csetjmp>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>

extern "C" void __real_exit(int status);
extern "C" void __wrap_exit(int status);

namespace fuzzsupport {
namespace {

// The status with which the readers end the process on a fatal fault.
constexpr int kFatalStatus = 1;

// Descriptors looked at when the guard compares what is open; far above what a reader opens.
constexpr int kMaxFd = 1024;

// Allocations of one guarded call still held, in an open-addressing table of pointers that is
// never cleared: an entry belongs to the current call only if it carries the call's number, so
// starting a call costs nothing. Tombstones (ptr 0, current call) keep probe chains whole.
constexpr size_t kTableBits = 20;
constexpr size_t kTableSize = size_t{1} << kTableBits;
constexpr size_t kTableMask = kTableSize - 1;
constexpr size_t kTableFill = kTableSize / 4 * 3;  // beyond this, tracking stops for the call

struct Slot {
  uintptr_t ptr;
  uint64_t call;
};
Slot table[kTableSize];
size_t usedSlots[kTableFill];  // the slots filled in this call, so that a scan needs no full pass
uint64_t callNumber = 0;
size_t used = 0;
bool tracking = false;
bool overflowed = false;

size_t hashOf(uintptr_t p) {
  return static_cast<size_t>((p >> 4) * 0x9E3779B97F4A7C15ull >> (64 - kTableBits));
}

void onMalloc(const volatile void* ptr, size_t) {
  if (!tracking || !ptr) return;
  if (used >= kTableFill) {
    overflowed = true;
    return;
  }
  uintptr_t p = reinterpret_cast<uintptr_t>(ptr);
  for (size_t i = hashOf(p);; i = (i + 1) & kTableMask) {
    if (table[i].call != callNumber) {
      table[i] = Slot{p, callNumber};
      usedSlots[used++] = i;
      return;
    }
  }
}

void onFree(const volatile void* ptr) {
  if (!tracking || !ptr) return;
  uintptr_t p = reinterpret_cast<uintptr_t>(ptr);
  for (size_t i = hashOf(p); table[i].call == callNumber; i = (i + 1) & kTableMask) {
    if (table[i].ptr == p) {
      table[i].ptr = 0;  // tombstone: counted in used until the next call
      return;
    }
  }
}

}  // namespace

// What the process would have given up at exit: everything still held from this call.
void giveUpHeldAllocations() {
  for (size_t k = 0; k < used; k++) {
    const Slot& slot = table[usedSlots[k]];
    if (slot.call == callNumber && slot.ptr) __lsan_ignore_object(reinterpret_cast<void*>(slot.ptr));
  }
  if (overflowed) fprintf(stderr, "fuzz guard: more allocations than tracked; a leak report may follow\n");
}

namespace {

// The descriptors open now, in one poll(): a closed one answers POLLNVAL. Taken around every
// call, as the sanitizers' symbolizer may open pipes between calls.
std::bitset<kMaxFd> openDescriptors() {
  static pollfd fds[kMaxFd];
  for (int fd = 0; fd < kMaxFd; fd++) fds[fd] = pollfd{fd, 0, 0};
  poll(fds, kMaxFd, 0);
  std::bitset<kMaxFd> open;
  for (int fd = 0; fd < kMaxFd; fd++)
    if (!(fds[fd].revents & POLLNVAL)) open.set(static_cast<size_t>(fd));
  return open;
}

// What descriptor fd leads to, for the report of one left open.
std::string targetOf(int fd) {
  char link[64], target[256] = "";
  snprintf(link, sizeof link, "/proc/self/fd/%d", fd);
  ssize_t n = readlink(link, target, sizeof target - 1);
  if (n > 0) target[n] = '\0';
  return target;
}

std::bitset<kMaxFd> openBefore;
bool guarded = false;
int exitStatus = 0;
sigjmp_buf exitJump;

void removePrivateDir() {
  std::error_code ignored;
  std::filesystem::remove_all(privateDir(), ignored);
}

}  // namespace

bool runGuarded(const std::function<void()>& body, const std::function<void()>& afterReturn) {
  static bool hooked = false;
  if (!hooked) {
    __sanitizer_install_malloc_and_free_hooks(onMalloc, onFree);
    hooked = true;
  }
  openBefore = openDescriptors();
  callNumber++;
  used = 0;
  overflowed = false;
  guarded = true;
  tracking = true;
  if (sigsetjmp(exitJump, 0) != 0) {
    tracking = false;
    guarded = false;
    if (exitStatus != kFatalStatus) {
      fprintf(stderr, "fuzz guard: the reader ended the process with status %d, not %d\n", exitStatus,
                      kFatalStatus);
      abort();
    }
    giveUpHeldAllocations();
    std::bitset<kMaxFd> now = openDescriptors();
    for (int fd = 0; fd < kMaxFd; fd++)
      if (now.test(static_cast<size_t>(fd)) && !openBefore.test(static_cast<size_t>(fd))) close(fd);
    return false;
  }
  body();
  tracking = false;
  guarded = false;
  if (afterReturn) afterReturn();
  std::bitset<kMaxFd> left = openDescriptors() & ~openBefore;
  for (int fd = 0; fd < kMaxFd; fd++) {
    if (!left.test(static_cast<size_t>(fd))) continue;
    fprintf(stderr, "fuzz guard: the reader returned with file descriptor %d left open (%s)\n", fd,
            targetOf(fd).c_str());
    abort();
  }
  return true;
}

const std::string& privateDir() {
  static const std::string dir = [] {
    std::string d = "/dev/shm/velmora-fuzz-" + std::to_string(getpid());
    if (mkdir(d.c_str(), 0700) != 0 && errno != EEXIST) {
      fprintf(stderr, "fuzz: can't make [%s]: %s\n", d.c_str(), strerror(errno));
      abort();
    }
    return d;
  }();
  static const bool cleanup = [] { return atexit(removePrivateDir) == 0; }();
  (void)cleanup;
  return dir;
}

std::string writeInput(const std::string& name, const uint8_t* data, size_t size) {
  std::string path = privateDir() + "/" + name;
  FILE* f = fopen(path.c_str(), "wb");
  if (!f || (size > 0 && fwrite(data, 1, size, f) != size) || fclose(f) != 0) {
    fprintf(stderr, "fuzz: can't write [%s]\n", path.c_str());
    abort();
  }
  return path;
}

Split splitAt(const uint8_t* data, size_t size, const std::string& separator) {
  std::string all(reinterpret_cast<const char*>(data), size);
  size_t at = all.find(separator);
  if (at == std::string::npos) return Split{all, "", false};
  return Split{all.substr(0, at), all.substr(at + separator.size()), true};
}

std::string sourceDir() {
  return VELMORA_SOURCE_DIR;
}

}  // namespace fuzzsupport

// Every exit() of the project's code comes here (the targets link with --wrap=exit).
extern "C" void __wrap_exit(int status) {
  if (fuzzsupport::guarded) {
    fuzzsupport::exitStatus = status;
    siglongjmp(fuzzsupport::exitJump, 1);
  }
  __real_exit(status);
  __builtin_unreachable();
}
