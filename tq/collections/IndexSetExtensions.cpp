// The set algebra, batches and run queries of the index-set extensions.

#include "tq/collections/IndexSetExtensions.h"

#include <algorithm>

namespace tq::Corvina {

namespace {

Ref<IndexSet> frozen(const IndexSet& set) { return make<IndexSet>(set.ranges()); }

// The runs of `small` that `large` also holds, found by asking `large` for its
// runs inside each run of `small`: the cost follows the smaller set.
Ref<IndexSet> commonWalkingSmaller(const IndexSet& small, const IndexSet& large) {
  std::vector<Range> common;
  for (const Range& run : small.ranges()) {
    large.enumerateRangesInRange(run, EnumerationOptions::None, [&](Range part, bool*) { common.push_back(part); });
  }
  return make<IndexSet>(std::move(common));
}

}  // namespace

Ref<IndexSet> tq_optionalIndexSetByRemovingIndex(Index index, const Ref<IndexSet>& from) {
  MutableIndexSet set(from ? from->ranges() : PackedRuns());
  set.removeIndex(index);
  if (set.count() == 0) return nullptr;
  return frozen(set);
}

Ref<IndexSet> tq_setByAddingIndex(Index index, const Ref<IndexSet>& to) {
  MutableIndexSet set(to ? to->ranges() : PackedRuns());
  set.addIndex(index);
  return frozen(set);
}

Ref<IndexSet> tq_setByAddingIndex(const IndexSet& set, Index index) {
  MutableIndexSet copy(set.ranges());
  copy.addIndex(index);
  return frozen(copy);
}

Ref<IndexSet> tq_setByIntersectingIndexSet(const IndexSet& set, const Ref<IndexSet>& other) {
  if (!other || other->ranges().empty()) return make<IndexSet>();
  if (other->count() >= set.count()) return commonWalkingSmaller(set, *other);
  return commonWalkingSmaller(*other, set);
}

Ref<IndexSet> tq_setByRemovingIndexSet(const IndexSet& set, const Ref<IndexSet>& other) {
  if (!other || other->ranges().empty()) return frozen(set);
  return set.minusIndexSet(*other);
}

Ref<IndexSet> tq_setByRemovingIndexesInString(const IndexSet& set, const String& text) {
  return tq_setByRemovingIndexSet(set, tq_indexSetWithStringList(text));
}

Ref<MutableArray> tq_indexSetsWithBatchSize(const IndexSet& set, Index size) {
  auto batches = MutableArray::array();
  auto current = MutableIndexSet::indexSet();
  batches->addObject(current);
  // A batch is full at `size` indexes; size 0 counts as full after each one.
  Index room = std::max<Index>(size, 1);
  for (const Range& run : set.ranges()) {
    Index at = run.location;
    while (at < run.end()) {
      Index take = std::min(run.end() - at, room - current->count());
      current->addIndexesInRange({at, take});
      at += take;
      if (current->count() >= room) {
        current = MutableIndexSet::indexSet();
        batches->addObject(current);
      }
    }
  }
  while (batches->count() > 0 && std::static_pointer_cast<IndexSet>(batches->lastObject())->count() == 0) {
    batches->removeLastObject();
  }
  return batches;
}

void tq_unionIndexSet(MutableIndexSet& set, const Ref<IndexSet>& other) {
  if (other) set.addIndexes(*other);
}

void tq_intersectIndexSet(MutableIndexSet& set, const Ref<IndexSet>& other) {
  if (!other) {
    set.removeAllIndexes();
    return;
  }
  auto common = set.intersectionWithIndexSet(*other);
  set.removeAllIndexes();
  set.addIndexes(*common);
}

Index rangeCount(const IndexSet& set) { return set.ranges().size(); }

Range firstRange(const IndexSet& set) {
  return set.ranges().empty() ? Range{NotFound, 0} : set.ranges().front();
}

Range lastRange(const IndexSet& set) { return set.ranges().empty() ? Range{NotFound, 0} : set.ranges().back(); }

}  // namespace tq::Corvina
