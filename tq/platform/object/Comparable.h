#pragma once
// The `compare:` message as an interface, so that values (strings, numbers,
// dates) can be ordered without knowing the collections that sort them.

#include "tq/platform/object/Object.h"

namespace tq {

/// Objects that answer `compare:`.
class Comparable {
 public:
  virtual ~Comparable() = default;
  virtual ComparisonResult compare(const Object& other) const = 0;
};

}  // namespace tq
