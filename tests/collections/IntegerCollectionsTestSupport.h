#pragma once
// Shared helpers of the integer-collection tests.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/object/Assert.h"

#if defined(TQ_BLOCK_ASSERTIONS) && TQ_BLOCK_ASSERTIONS
#define TQ_REQUIRE_ASSERTIONS() GTEST_SKIP() << "assertions are compiled out"
#else
#define TQ_REQUIRE_ASSERTIONS() (void)0
#endif

namespace tq::testing {

/// Collects assertion reports of the calling thread instead of raising.
class CollectedAssertions {
 public:
  CollectedAssertions() : previous_(setAssertionHandler([this](const AssertionFailure& f) { reports.push_back(f); })) {}
  ~CollectedAssertions() { setAssertionHandler(previous_); }
  std::vector<AssertionFailure> reports;

 private:
  AssertionHandler previous_;
};

/// The indexes of a set, ascending.
inline std::vector<Index> indexesOf(const IndexSet& set) { return set.allIndexes(); }

}  // namespace tq::testing
