#pragma once
// Assertion failures recorded instead of raised, for tests of what a call
// does when a handler lets it go on (as a build with assertions off would).
// Include it from the repository root as "tests/support/RecordedAssertions.h".

#include <vector>

#include "tq/platform/object/Assert.h"

/// Skips a test that needs the library's assertions when they are compiled out.
#if defined(TQ_BLOCK_ASSERTIONS) && TQ_BLOCK_ASSERTIONS
#define TQ_REQUIRE_ASSERTIONS() GTEST_SKIP() << "assertions are compiled out"
#else
#define TQ_REQUIRE_ASSERTIONS() (void)0
#endif

namespace tq::testing {

/// While it lives, every assertion failure is kept in `failures` and the
/// failing call goes on; the handler before it is restored at its end.
class RecordedAssertions {
 public:
  RecordedAssertions() {
    previous_ = setAssertionHandler([this](const AssertionFailure& failure) { failures.push_back(failure); });
  }
  ~RecordedAssertions() { setAssertionHandler(previous_); }
  RecordedAssertions(const RecordedAssertions&) = delete;
  RecordedAssertions& operator=(const RecordedAssertions&) = delete;

  std::vector<AssertionFailure> failures;

 private:
  AssertionHandler previous_;
};

}  // namespace tq::testing
