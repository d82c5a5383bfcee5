#pragma once
// Shared helpers of the ordered-dictionary tests.

#include <gtest/gtest.h>

#include <string>

#include "tests/support/RaisedException.h"
#include "tests/support/RecordedAssertions.h"
#include "tq/collections/TQMutableOrderedDictionary.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

namespace tq::testing {

/// Keys or objects rendered and joined: "a,b,c".
inline std::string joined(const Array& list) {
  std::string text;
  for (const Id& element : list) {
    if (!text.empty()) text += ",";
    text += describeUTF8(element);
  }
  return text;
}
inline std::string keysOf(const TQOrderedDictionary& d) { return joined(*d.allKeys()); }
inline std::string objectsOf(const TQOrderedDictionary& d) { return joined(*d.allObjects()); }

/// Keys "a", "b", ... paired with 1, 2, ...
inline Ref<TQMutableOrderedDictionary> lettered(int count) {
  auto d = TQMutableOrderedDictionary::orderedDictionary();
  for (int i = 0; i < count; ++i) d->addObject(num(i + 1), str(std::string(1, char('a' + i))));
  return d;
}

/// Every key maps to the object at its index, and the lists are in step.
inline ::testing::AssertionResult isConsistent(const TQOrderedDictionary& d) {
  if (d.allKeys()->count() != d.allObjects()->count()) return ::testing::AssertionFailure() << "list lengths differ";
  if (d.dictionary()->count() != d.count()) return ::testing::AssertionFailure() << "map size differs";
  for (Index i = 0; i < d.count(); ++i) {
    if (d.objectForKey(d.keyAtIndex(i)).get() != d.objectAtIndex(i).get()) {
      return ::testing::AssertionFailure() << "pair " << i << " out of step";
    }
  }
  return ::testing::AssertionSuccess();
}

}  // namespace tq::testing
