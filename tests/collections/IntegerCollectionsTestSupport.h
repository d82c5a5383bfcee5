#pragma once
// Shared helpers of the integer-collection tests.

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/support/RecordedAssertions.h"
#include "tq/platform/collection/IndexSet.h"

namespace tq::testing {

/// The indexes of a set, ascending.
inline std::vector<Index> indexesOf(const IndexSet& set) { return set.allIndexes(); }

/// A description from the '>' that closes its "<Class: 0x...>" head on.
inline std::string afterAddress(const Ref<String>& description) {
  const std::string text = description->utf8();
  return text.substr(text.find('>'));
}

}  // namespace tq::testing
