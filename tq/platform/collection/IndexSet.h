#pragma once
// Sets of indexes kept as sorted, disjoint, non-adjacent runs. Indexes are
// below the not-found index (2^63 - 1).
//
// The runs are packed (PackedRuns): 8 bytes a run in blocks with a 64-bit
// base, so a set of message numbers costs half of what plain ranges would,
// and look-ups stay binary searches over fixed-width entries.
//
// A mutable set takes runs that land before its last one into a side buffer
// instead of rebuilding its runs for each; the buffer is sorted and merged in
// one pass when the set is next read, or when it has grown to a quarter of
// the runs, and is freed after the merge. Adding n indexes in random order
// thus costs O(n log n) rather than O(n^2), while appends in order stay O(1).

#include <atomic>
#include <functional>
#include <utility>
#include <vector>

#include "tq/platform/object/Object.h"
#include "tq/platform/object/Range.h"
#include "tq/platform/collection/PackedRuns.h"
#include "tq/platform/collection/Sorting.h"

namespace tq {

class IndexSet : public Object {
 public:
  IndexSet() = default;
  IndexSet(const IndexSet& other) : Object(), runs_(other.ranges()) {}
  IndexSet& operator=(const IndexSet& other);
  explicit IndexSet(Index index);
  explicit IndexSet(Range range);
  explicit IndexSet(std::vector<Range> runs);
  /// A copy of another set's runs.
  explicit IndexSet(const PackedRuns& runs) : runs_(runs) {}
  /// Takes runs that were built for it (no copy).
  explicit IndexSet(PackedRuns&& runs) : runs_(std::move(runs)) {}

  static Ref<IndexSet> indexSet() { return make<IndexSet>(); }
  static Ref<IndexSet> indexSetWithIndex(Index index) { return make<IndexSet>(index); }
  static Ref<IndexSet> indexSetWithIndexesInRange(Range range) { return make<IndexSet>(range); }

  // Object
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  Ref<String> description() const override;
  std::string className() const override { return "IndexSet"; }
  Id copy() const override;
  Id mutableCopy() const override;

  bool isEqualToIndexSet(const IndexSet& other) const { return ranges() == other.ranges(); }
  Index count() const;
  Index countOfIndexesInRange(Range range) const;
  bool containsIndex(Index index) const;
  bool containsIndexesInRange(Range range) const;
  bool containsIndexes(const IndexSet& other) const;
  bool intersectsIndexesInRange(Range range) const;

  /// The not-found index when there is none.
  Index firstIndex() const;
  Index lastIndex() const;
  Index indexGreaterThanIndex(Index index) const;
  Index indexGreaterThanOrEqualToIndex(Index index) const;
  Index indexLessThanIndex(Index index) const;
  Index indexLessThanOrEqualToIndex(Index index) const;

  /// Copies up to `capacity` indexes from `*inOutRange` (nil: everything) into
  /// `buffer`; narrows the range to what is left; answers how many.
  Index getIndexes(Index* buffer, Index capacity, Range* inOutRange) const;

  using IndexVisitor = std::function<void(Index index, bool* stop)>;
  using RangeVisitor = std::function<void(Range range, bool* stop)>;
  using IndexTest = std::function<bool(Index index, bool* stop)>;
  void enumerateIndexesUsingBlock(const IndexVisitor& visit) const;
  void enumerateIndexesWithOptions(EnumerationOptions options, const IndexVisitor& visit) const;
  void enumerateIndexesInRange(Range range, EnumerationOptions options, const IndexVisitor& visit) const;
  void enumerateRangesUsingBlock(const RangeVisitor& visit) const;
  void enumerateRangesWithOptions(EnumerationOptions options, const RangeVisitor& visit) const;
  /// Runs clipped to `range`.
  void enumerateRangesInRange(Range range, EnumerationOptions options, const RangeVisitor& visit) const;
  Index indexPassingTest(const IndexTest& test) const;
  Index indexWithOptions(EnumerationOptions options, const IndexTest& test) const;
  Ref<IndexSet> indexesPassingTest(const IndexTest& test) const;
  Ref<IndexSet> indexesWithOptions(EnumerationOptions options, const IndexTest& test) const;

  // Set algebra, each a new set.
  Ref<IndexSet> unionWithIndexSet(const IndexSet& other) const;
  Ref<IndexSet> intersectionWithIndexSet(const IndexSet& other) const;
  Ref<IndexSet> minusIndexSet(const IndexSet& other) const;

  /// The runs, ascending. A view of the set's own storage: iterating yields
  /// each run as a Range; `toVector()` makes a copy.
  const PackedRuns& ranges() const {
    settle();
    return runs_;
  }
  /// Heap bytes the set holds for its runs (reserved capacity included), after
  /// merging its buffer.
  std::size_t storageBytes() const;
  /// Every index, ascending (for small sets).
  std::vector<Index> allIndexes() const;

 protected:
  /// Merges the runs buffered by a mutable set into `runs_`. Every read goes
  /// through it; it is cheap when nothing is buffered.
  void settle() const {
    if (hasPending_.load(std::memory_order_acquire)) mergePending();
  }
  void mergePending() const;

  // Mutable so that a read can merge the buffer: the set's value does not
  // change by it. Merging is serialised, so concurrent readers stay safe.
  mutable PackedRuns runs_;
  mutable std::vector<Range> pending_;
  mutable std::atomic<bool> hasPending_{false};
};

class MutableIndexSet : public IndexSet {
 public:
  using IndexSet::IndexSet;
  static Ref<MutableIndexSet> indexSet() { return make<MutableIndexSet>(); }

  std::string className() const override { return "MutableIndexSet"; }
  Id copy() const override;

  void addIndex(Index index) { addIndexesInRange({index, 1}); }
  void addIndexesInRange(Range range);
  void addIndexes(const IndexSet& other);
  void removeIndex(Index index) { removeIndexesInRange({index, 1}); }
  void removeIndexesInRange(Range range);
  void removeIndexes(const IndexSet& other);
  void removeAllIndexes();
  /// Moves every index at or above `index` by `delta`; a negative shift
  /// deletes the indexes it moves over.
  void shiftIndexesStartingAtIndex(Index index, std::int64_t delta);
};

}  // namespace tq
