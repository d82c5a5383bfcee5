#pragma once
// The `compare:` message as an interface, so that values (strings, numbers,
// dates) can be ordered without knowing the collections that sort them.

#include "tq/platform/object/Object.h"

namespace tq {

/// -1 ascending (receiver first), 0 same, 1 descending.
enum class ComparisonResult : int { Ascending = -1, Same = 0, Descending = 1 };

/// Objects that answer `compare:`.
class Comparable {
 public:
  virtual ~Comparable() = default;
  virtual ComparisonResult compare(const Object& other) const = 0;
};

}  // namespace tq
