// The one failing allocator of the tests. Every module with buffers takes an allocator pair;
// tests hand it failingAlloc and free to see each allocation failure handled.
#pragma once

#include <cstddef>

namespace testsupport {

// The next okCalls allocations succeed (through malloc), every later one returns null.
// A negative okCalls never fails. Also resets the call count.
void failAllocAfter(int okCalls);
// The allocator itself, with the signature of malloc.
void* failingAlloc(size_t bytes);
// How many times failingAlloc was called since the last failAllocAfter.
int failingAllocCalls();

// Sets failAllocAfter for the life of a scope and makes it never fail again at its end.
class FailAllocScope {
 public:
  explicit FailAllocScope(int okCalls) { failAllocAfter(okCalls); }
  ~FailAllocScope() { failAllocAfter(-1); }
  FailAllocScope(const FailAllocScope&) = delete;
  FailAllocScope& operator=(const FailAllocScope&) = delete;
};

}  // namespace testsupport
