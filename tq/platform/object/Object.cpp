#include "tq/platform/object/Object.h"

#include <cstdio>
#include <functional>
#include <tuple>
#include <vector>

#include "tq/platform/object/Assert.h"

#include "tq/platform/object/Exception.h"

namespace tq {

std::size_t Object::hash() const { return std::hash<const void*>()(this); }

Id Object::copy() const { raiseUnrecognizedMessage(this, "copyWithZone:"); }

Id Object::mutableCopy() const { raiseUnrecognizedMessage(this, "mutableCopyWithZone:"); }

Id Object::self() const { return std::const_pointer_cast<Object>(shared_from_this()); }

bool isEqual(const Object* a, const Object* b) {
  if (a == b) return true;
  if (!a || !b) return false;
  return a->isEqual(*b);
}

namespace {

struct Walking {
  RecursionScope::Walk walk;
  const Object* object;
  const Object* other;
  bool operator==(const Walking&) const = default;
};

// Walks in progress on this thread, innermost last. Nesting is as deep as the
// collections are, so a linear search costs little.
thread_local std::vector<Walking> walksInProgress;

}  // namespace

RecursionScope::RecursionScope(Walk walk, const Object* object, const Object* other) {
  Walking current{walk, object, other};
  for (const Walking& w : walksInProgress) {
    if (w == current) {
      reentered_ = true;
      break;
    }
  }
  if (!reentered_) {
    walksInProgress.push_back(current);
    return;
  }
  if (walk == Walk::Description) {
    TQ_ASSERT(false, "description of a collection that contains itself");
  } else {
    TQ_ASSERT(false, "equality of a collection that contains itself");
  }
}

RecursionScope::~RecursionScope() {
  if (!reentered_) walksInProgress.pop_back();
}


}  // namespace tq
