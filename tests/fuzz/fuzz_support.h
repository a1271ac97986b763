// What every fuzz target shares: the input as a file in a private folder under /dev/shm, and a
// guard that lets a reader end the process with exit() without the fuzzer counting it a crash.
//
// Some readers end the process with exit(1) on input they can't read (an unknown OBJ keyword, a
// missing material file, a file that isn't a container, no memory). For a fuzz target that is a
// normal end of one input, not a finding. The targets are linked with -Wl,--wrap=exit, so every
// call of exit() in the project's libraries comes to __wrap_exit in fuzz_support.cpp. Inside
// runGuarded it jumps back to the guard instead of ending the process; outside it passes the
// call on to the real exit (libFuzzer's own exits go that way). Before jumping back it does what
// the end of the process would have done for the reader: every allocation the reader made and
// still held is marked for LeakSanitizer as given up (the process would have dropped it), and
// every file descriptor the reader left open is closed. An exit with a status other than 1 is a
// finding: the readers end only with 1, so the guard aborts.
//
// A reader that returns normally is checked for descriptors it left open: that is a leak the
// process would keep for as long as it runs, and the guard aborts with a message naming it.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

namespace fuzzsupport {

// Runs body under the exit guard. Returns true when body returned, false when it called
// exit(1). Aborts (a finding) on another exit status or on a descriptor left open by a body
// that returned. Not re-entrant. afterReturn, when given, runs after body has returned and
// before the check for descriptors: it gives back what the reader is meant to keep.
bool runGuarded(const std::function<void()>& body, const std::function<void()>& afterReturn = {});

// From afterReturn only: marks every allocation of the call that body still holds as given up,
// for a reader that is meant to leave what it allocated unreleased when it fails.
void giveUpHeldAllocations();

// The private folder of this process under /dev/shm, made on first use and removed with
// everything in it when the process ends. Its path ends without a '/'.
const std::string& privateDir();

// Writes bytes to privateDir()/name, replacing what was there, and returns the full path.
// Aborts if the file can't be written (the fuzzer can't go on without it).
std::string writeInput(const std::string& name, const uint8_t* data, size_t size);

// The part of data before the first occurrence of separator, and the part after it; with no
// separator, all of data is first and second is empty. Used by targets that read two files.
struct Split {
  std::string first;
  std::string second;
  bool found = false;  // the separator was there
};
Split splitAt(const uint8_t* data, size_t size, const std::string& separator);

// The source tree, for real data files the targets need beside their input (a catalogue to
// bind constellations and planets to).
std::string sourceDir();

}  // namespace fuzzsupport
