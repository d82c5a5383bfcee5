#pragma once
// Assertion failures recorded instead of raised, for tests of what a call
// does when a handler lets it go on (as a build with assertions off would).
// Include it from the repository root as "tests/support/RecordedAssertions.h".

#include <vector>

#include "tests/support/RequireAssertions.h"
#include "tq/platform/object/Assert.h"

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
