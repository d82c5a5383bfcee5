#pragma once
// An ordered list of distinct objects, in the order of their first use, with
// a use count per object: an object stays listed until every use is removed.
// Every operation but the enumeration holds the array's monitor.

#include <functional>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/collection/Sorting.h"

namespace tq {

class TQCountedArray : public Object {
 public:
  using CountedVisitor = std::function<void(const Id& object, Index index, Index count, bool* stop)>;

  std::string className() const override { return "TQCountedArray"; }

  void addObject(const Id& object);
  /// One use fewer; the object leaves the list with its last use.
  void removeObject(const Id& object);
  /// 0 when never added.
  Index countOfObject(const Id& object) const;
  /// A copy of the list.
  Ref<Array> array() const;
  /// Without the monitor, over the list in order.
  void enumerateObjectsUsingBlock(const CountedVisitor& visit) const;
  /// Sorts the list when it holds two objects or more.
  void reorderObjectsUsingComparator(const Comparator& comparator);

  /// Nil until first used.
  const Ref<MutableArray>& _orderedObjects_() const { return orderedObjects_; }
  const Ref<CountedSet>& _countedSet_() const { return countedSet_; }

 private:
  Ref<MutableArray> orderedObjects_;
  Ref<CountedSet> countedSet_;
};

}  // namespace tq
