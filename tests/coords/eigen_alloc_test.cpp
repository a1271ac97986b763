// The constructor's behaviour when memory runs out. The solver takes no allocator pair: this
// program replaces the array forms of the global operator new, and the nothrow form goes
// through the tests' failing allocator, so that a chosen allocation fails.
#include <gtest/gtest.h>
#include <unistd.h>

#include <cstdlib>
#include <new>
#include <string>

#include "coords/eigen.h"
#include "tests/support/failalloc.h"
#include "tests/support/testutil.h"

void* operator new[](std::size_t n) {
  void* p = std::malloc(n ? n : 1);
  if (p == nullptr) throw std::bad_alloc();
  return p;
}

void* operator new[](std::size_t n, const std::nothrow_t&) noexcept {
  return testsupport::failingAlloc(n ? n : 1);
}

void operator delete[](void* p) noexcept {
  std::free(p);
}
void operator delete[](void* p, std::size_t) noexcept {
  std::free(p);
}
void operator delete[](void* p, const std::nothrow_t&) noexcept {
  std::free(p);
}

namespace {

// The nothrow array allocations made so far in a FailAllocScope.
int nothrowCount() {
  return testsupport::failingAllocCalls();
}

class EigenAllocTest : public testing::Test {
 protected:
  void SetUp() override {
    mgcEigenD::verbose = 1;
    mgcEigen::verbose = 1;
    mgcEigenD::error = 0;
    mgcEigen::error = 0;
  }
  void TearDown() override {
    mgcEigenD::verbose = 0;
    mgcEigen::verbose = 0;
  }
};

// For size 3 the allocations are: the row pointers, three rows, the diagonal, the subdiagonal.
TEST_F(EigenAllocTest, EachFailingAllocationIsReportedOnce) {
  for (int at = 0; at < 6; at++) {
    mgcEigenD::error = 0;
    testing::internal::CaptureStdout();
    {
      testsupport::FailAllocScope guard(at);
      mgcEigenD e(3);
      EXPECT_FALSE(e.Valid()) << at;
      EXPECT_EQ(e.Size(), 3);
      e.IncrSortEigenStuff3();  // no arrays: nothing happens
      EXPECT_EQ(nothrowCount(), at + 1) << "the constructor stops at the failure";
    }  // the destructor frees what was made
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "mgcEigenD: allocation failed\n") << at;
    EXPECT_EQ(mgcEigenD::error, mgcEigenD::allocation_failed);
  }
}

TEST_F(EigenAllocTest, FloatSolverNamesItself) {
  testing::internal::CaptureStdout();
  {
    testsupport::FailAllocScope guard(2);
    mgcEigen e(2);
    EXPECT_FALSE(e.Valid());
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "mgcEigen: allocation failed\n");
}

TEST_F(EigenAllocTest, NoFailureNoReport) {
  testing::internal::CaptureStdout();
  {
    testsupport::FailAllocScope guard(-1);
    mgcEigenD e(3);
    EXPECT_TRUE(e.Valid());
    EXPECT_EQ(nothrowCount(), 6);
  }
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
  EXPECT_EQ(mgcEigenD::error, 0u);
}

TEST_F(EigenAllocTest, QuietFailureGoesToEigenErr) {
  mgcEigenD::verbose = 0;
  testsupport::TempDir dir;
  char old[4096];
  ASSERT_NE(getcwd(old, sizeof(old)), nullptr);
  ASSERT_EQ(chdir(dir.path().c_str()), 0);
  {
    testsupport::FailAllocScope guard(4);
    mgcEigenD e(3);
  }
  ASSERT_EQ(chdir(old), 0);
  EXPECT_EQ(testsupport::readFile(dir.file("eigen.err")), "mgcEigenD: allocation failed\n");
}

}  // namespace
