// The failing allocator of the tests.
#include "tests/support/failalloc.h"

#include <cstdlib>

namespace testsupport {

namespace {
// The budget outlives each call: it is what a test sets before handing the allocator over.
int okLeft = -1;
int calls = 0;
}  // namespace

void failAllocAfter(int okCalls) {
  okLeft = okCalls;
  calls = 0;
}

void* failingAlloc(size_t bytes) {
  calls++;
  if (okLeft == 0) return nullptr;
  if (okLeft > 0) okLeft--;
  return malloc(bytes);
}

int failingAllocCalls() {
  return calls;
}

}  // namespace testsupport
