#include "tq/platform/collection/IndexSet.h"

#include <algorithm>
#include <mutex>

#include "tq/platform/object/Exception.h"
#include "tq/platform/collection/Parallel.h"
#include "tq/platform/value/String.h"

namespace tq {

namespace {

void checkRange(Range range, const char* method) {
  if (range.location >= NotFound || range.length > NotFound - range.location) {
    raise(ExceptionName::InvalidArgument, std::string("*** -[IndexSet ") + method + "]: Range " + toString(range) +
                                              " exceeds the maximum index (the not-found index - 1)");
  }
}

// The end of a caller's range, saturated instead of wrapping around when the
// length runs past the largest index.
Index endOf(Range range) {
  return range.length > ~Index(0) - range.location ? ~Index(0) : range.location + range.length;
}

// The first run whose end lies beyond `index` (it may contain the index).
std::vector<Range>::const_iterator runReaching(const std::vector<Range>& runs, Index index) {
  return std::upper_bound(runs.begin(), runs.end(), index,
                          [](Index value, const Range& run) { return value < run.end(); });
}

// Serialises merges of every set's buffer: merges are rare (a read after
// out-of-order additions), so one lock serves.
std::mutex& pendingLock() {
  static std::mutex lock;
  return lock;
}

}  // namespace

IndexSet& IndexSet::operator=(const IndexSet& other) {
  if (this != &other) {
    std::vector<Range> runs = other.ranges();
    settle();
    runs_ = std::move(runs);
  }
  return *this;
}

void IndexSet::mergePending() const {
  std::lock_guard<std::mutex> hold(pendingLock());
  if (!hasPending_.load(std::memory_order_relaxed)) return;
  std::sort(pending_.begin(), pending_.end(), [](const Range& a, const Range& b) { return a.location < b.location; });
  std::vector<Range> merged;
  merged.reserve(runs_.size() + pending_.size());
  auto take = [&merged](const Range& run) {
    // Runs that overlap or touch the last one join it.
    if (!merged.empty() && run.location <= merged.back().end()) {
      Index end = std::max(merged.back().end(), run.end());
      merged.back().length = end - merged.back().location;
    } else {
      merged.push_back(run);
    }
  };
  auto a = runs_.begin(), b = pending_.begin();
  while (a != runs_.end() || b != pending_.end()) {
    if (b == pending_.end() || (a != runs_.end() && a->location <= b->location)) take(*a++);
    else take(*b++);
  }
  runs_ = std::move(merged);
  pending_.clear();
  hasPending_.store(false, std::memory_order_release);
}

void MutableIndexSet::removeAllIndexes() {
  settle();
  runs_.clear();
}

IndexSet::IndexSet(Index index) {
  checkRange({index, 1}, "initWithIndex:");
  runs_.push_back({index, 1});
}

IndexSet::IndexSet(Range range) {
  checkRange(range, "initWithIndexesInRange:");
  if (range.length) runs_.push_back(range);
}

IndexSet::IndexSet(std::vector<Range> runs) {
  MutableIndexSet builder;
  for (const Range& run : runs) builder.addIndexesInRange(run);
  runs_ = builder.ranges();
}

bool IndexSet::isEqual(const Object& other) const {
  settle();
  const auto* set = dynamic_cast<const IndexSet*>(&other);
  return set && set->ranges() == runs_;
}

std::size_t IndexSet::hash() const {
  settle();
  return std::size_t(count());
}

Ref<String> IndexSet::description() const {
  settle();
  // "<IndexSet: 0x...>[number of indexes: N (in R ranges), indexes: (1-3 5)]"
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(this));
  std::string text = "<" + className() + ": " + address + ">[number of indexes: " + std::to_string(count()) +
                     " (in " + std::to_string(runs_.size()) + " ranges), indexes: (";
  for (std::size_t i = 0; i < runs_.size(); ++i) {
    if (i) text += " ";
    text += std::to_string(runs_[i].location);
    if (runs_[i].length > 1) text += "-" + std::to_string(runs_[i].end() - 1);
  }
  return str(text + ")]");
}

Id IndexSet::copy() const {
  settle();
  return self();
}
Id IndexSet::mutableCopy() const {
  settle();
  return make<MutableIndexSet>(runs_);
}
Id MutableIndexSet::copy() const {
  settle();
  return make<IndexSet>(runs_);
}

Index IndexSet::count() const {
  settle();
  Index total = 0;
  for (const Range& run : runs_) total += run.length;
  return total;
}

Index IndexSet::countOfIndexesInRange(Range range) const {
  settle();
  Index total = 0;
  Index end = endOf(range);
  for (auto it = runReaching(runs_, range.location); it != runs_.end() && it->location < end; ++it) {
    total += std::min(it->end(), end) - std::max(it->location, range.location);
  }
  return total;
}

bool IndexSet::containsIndex(Index index) const {
  settle();
  auto it = runReaching(runs_, index);
  return it != runs_.end() && it->location <= index;
}

bool IndexSet::containsIndexesInRange(Range range) const {
  settle();
  if (range.length == 0) return false;
  auto it = runReaching(runs_, range.location);
  return it != runs_.end() && it->location <= range.location && it->end() >= range.end();
}

bool IndexSet::containsIndexes(const IndexSet& other) const {
  settle();
  for (const Range& run : other.ranges()) {
    if (!containsIndexesInRange(run)) return false;
  }
  return true;
}

bool IndexSet::intersectsIndexesInRange(Range range) const {
  settle();
  return countOfIndexesInRange(range) > 0;
}

Index IndexSet::firstIndex() const {
  settle();
  return runs_.empty() ? NotFound : runs_.front().location;
}
Index IndexSet::lastIndex() const {
  settle();
  return runs_.empty() ? NotFound : runs_.back().end() - 1;
}

Index IndexSet::indexGreaterThanOrEqualToIndex(Index index) const {
  settle();
  auto it = runReaching(runs_, index);
  if (it == runs_.end()) return NotFound;
  return std::max(it->location, index);
}

Index IndexSet::indexGreaterThanIndex(Index index) const {
  settle();
  if (index >= NotFound - 1) return NotFound;
  return indexGreaterThanOrEqualToIndex(index + 1);
}

Index IndexSet::indexLessThanOrEqualToIndex(Index index) const {
  settle();
  auto it = runReaching(runs_, index);
  if (it != runs_.end() && it->location <= index) return index;
  if (it == runs_.begin()) return NotFound;
  return std::prev(it)->end() - 1;
}

Index IndexSet::indexLessThanIndex(Index index) const {
  settle();
  if (index == 0) return NotFound;
  return indexLessThanOrEqualToIndex(index - 1);
}

Index IndexSet::getIndexes(Index* buffer, Index capacity, Range* inOutRange) const {
  settle();
  Range range = inOutRange ? *inOutRange : Range{0, NotFound};
  Index end = endOf(range);
  Index copied = 0;
  Index next = range.location;
  for (auto it = runReaching(runs_, range.location); it != runs_.end() && it->location < end; ++it) {
    for (Index i = std::max(it->location, range.location); i < std::min(it->end(), end); ++i) {
      if (copied == capacity) {
        next = i;
        goto done;
      }
      buffer[copied++] = i;
      next = i + 1;
    }
  }
  next = end;
done:
  if (inOutRange) *inOutRange = {next, end - next};
  return copied;
}

void IndexSet::enumerateIndexesUsingBlock(const IndexVisitor& visit) const {
  settle();
  enumerateIndexesInRange({0, NotFound}, EnumerationOptions::None, visit);
}

void IndexSet::enumerateIndexesWithOptions(EnumerationOptions options, const IndexVisitor& visit) const {
  settle();
  enumerateIndexesInRange({0, NotFound}, options, visit);
}

void IndexSet::enumerateIndexesInRange(Range range, EnumerationOptions options, const IndexVisitor& visit) const {
  settle();
  std::vector<Range> clipped;
  enumerateRangesInRange(range, EnumerationOptions::None, [&](Range run, bool*) { clipped.push_back(run); });
  if (has(options, EnumerationOptions::Concurrent)) {
    std::vector<Index> positions;
    for (const Range& run : clipped) {
      for (Index i = run.location; i < run.end(); ++i) positions.push_back(i);
    }
    if (has(options, EnumerationOptions::Reverse)) std::reverse(positions.begin(), positions.end());
    parallelForEach(positions, [&](Index i, bool* stop) { visit(i, stop); });
    return;
  }
  bool stop = false;
  if (has(options, EnumerationOptions::Reverse)) {
    for (auto run = clipped.rbegin(); run != clipped.rend(); ++run) {
      for (Index i = run->end(); i-- > run->location;) {
        visit(i, &stop);
        if (stop) return;
      }
    }
    return;
  }
  for (const Range& run : clipped) {
    for (Index i = run.location; i < run.end(); ++i) {
      visit(i, &stop);
      if (stop) return;
    }
  }
}

void IndexSet::enumerateRangesUsingBlock(const RangeVisitor& visit) const {
  settle();
  enumerateRangesInRange({0, NotFound}, EnumerationOptions::None, visit);
}

void IndexSet::enumerateRangesWithOptions(EnumerationOptions options, const RangeVisitor& visit) const {
  settle();
  enumerateRangesInRange({0, NotFound}, options, visit);
}

void IndexSet::enumerateRangesInRange(Range range, EnumerationOptions options, const RangeVisitor& visit) const {
  settle();
  std::vector<Range> clipped;
  Index end = endOf(range);
  for (auto it = runReaching(runs_, range.location); it != runs_.end() && it->location < end; ++it) {
    Index from = std::max(it->location, range.location), to = std::min(it->end(), end);
    clipped.push_back({from, to - from});
  }
  if (has(options, EnumerationOptions::Reverse)) std::reverse(clipped.begin(), clipped.end());
  bool stop = false;
  for (const Range& run : clipped) {
    visit(run, &stop);
    if (stop) return;
  }
}

Index IndexSet::indexPassingTest(const IndexTest& test) const {
  settle();
  return indexWithOptions(EnumerationOptions::None, test);
}

Index IndexSet::indexWithOptions(EnumerationOptions options, const IndexTest& test) const {
  settle();
  Index found = NotFound;
  std::mutex lock;
  enumerateIndexesWithOptions(options, [&](Index i, bool* stop) {
    if (test(i, stop)) {
      std::lock_guard<std::mutex> guard(lock);
      if (found == NotFound || i < found) found = i;
      *stop = true;
    }
  });
  return found;
}

Ref<IndexSet> IndexSet::indexesPassingTest(const IndexTest& test) const {
  settle();
  return indexesWithOptions(EnumerationOptions::None, test);
}

Ref<IndexSet> IndexSet::indexesWithOptions(EnumerationOptions options, const IndexTest& test) const {
  settle();
  auto passing = make<MutableIndexSet>();
  std::mutex lock;
  enumerateIndexesWithOptions(options, [&](Index i, bool* stop) {
    if (test(i, stop)) {
      std::lock_guard<std::mutex> guard(lock);
      passing->addIndex(i);
    }
  });
  return passing;
}

Ref<IndexSet> IndexSet::unionWithIndexSet(const IndexSet& other) const {
  settle();
  auto result = make<MutableIndexSet>(runs_);
  result->addIndexes(other);
  return make<IndexSet>(result->ranges());
}

Ref<IndexSet> IndexSet::intersectionWithIndexSet(const IndexSet& other) const {
  settle();
  std::vector<Range> common;
  const std::vector<Range>& mine = runs_;
  const std::vector<Range>& theirs = other.ranges();
  auto a = mine.begin(), b = theirs.begin();
  while (a != mine.end() && b != theirs.end()) {
    Index from = std::max(a->location, b->location), to = std::min(a->end(), b->end());
    if (from < to) common.push_back({from, to - from});
    if (a->end() < b->end()) ++a; else ++b;
  }
  auto result = make<IndexSet>();
  result->runs_ = std::move(common);
  return result;
}

Ref<IndexSet> IndexSet::minusIndexSet(const IndexSet& other) const {
  settle();
  auto result = make<MutableIndexSet>(runs_);
  result->removeIndexes(other);
  return make<IndexSet>(result->ranges());
}

std::vector<Index> IndexSet::allIndexes() const {
  settle();
  std::vector<Index> all;
  all.reserve(count());
  for (const Range& run : runs_) {
    for (Index i = run.location; i < run.end(); ++i) all.push_back(i);
  }
  return all;
}

void MutableIndexSet::addIndexesInRange(Range range) {
  checkRange(range, "addIndexesInRange:");
  if (range.length == 0) return;
  if (!runs_.empty() && range.end() < runs_.back().location) {
    // Before the last run: buffered, so that random order does not shift
    // the vector for every index.
    bool full;
    {
      std::lock_guard<std::mutex> hold(pendingLock());
      pending_.push_back(range);
      hasPending_.store(true, std::memory_order_release);
      full = pending_.size() >= std::max<std::size_t>(64, runs_.size() / 4);
    }
    if (full) mergePending();
    return;
  }
  settle();
  // Runs that touch or overlap the new one merge with it.
  auto first = std::lower_bound(runs_.begin(), runs_.end(), range.location,
                                [](const Range& run, Index value) { return run.end() < value; });
  auto last = first;
  Index from = range.location, to = range.end();
  while (last != runs_.end() && last->location <= to) {
    from = std::min(from, last->location);
    to = std::max(to, last->end());
    ++last;
  }
  first = runs_.erase(first, last);
  runs_.insert(first, Range{from, to - from});
}

void MutableIndexSet::addIndexes(const IndexSet& other) {
  settle();
  // A copy of the runs: `other` may be this set, whose runs change underneath.
  std::vector<Range> runs = other.ranges();
  for (const Range& run : runs) addIndexesInRange(run);
}

void MutableIndexSet::removeIndexesInRange(Range range) {
  settle();
  if (range.length == 0 || range.location >= NotFound) return;
  Index cut = std::min(endOf(range), NotFound);
  std::vector<Range> kept;
  kept.reserve(runs_.size() + 1);
  for (const Range& run : runs_) {
    if (run.end() <= range.location || run.location >= cut) {
      kept.push_back(run);
      continue;
    }
    if (run.location < range.location) kept.push_back({run.location, range.location - run.location});
    if (run.end() > cut) kept.push_back({cut, run.end() - cut});
  }
  runs_ = std::move(kept);
}

void MutableIndexSet::removeIndexes(const IndexSet& other) {
  settle();
  std::vector<Range> runs = other.ranges();
  for (const Range& run : runs) removeIndexesInRange(run);
}

void MutableIndexSet::shiftIndexesStartingAtIndex(Index index, std::int64_t delta) {
  settle();
  if (delta == 0) return;
  std::vector<Range> moved;
  std::vector<Range> kept;
  for (const Range& run : runs_) {
    if (run.end() <= index) {
      kept.push_back(run);
    } else if (run.location >= index) {
      moved.push_back(run);
    } else {
      kept.push_back({run.location, index - run.location});
      moved.push_back({index, run.end() - index});
    }
  }
  if (delta < 0) {
    // Shifting down deletes the indexes in [index + delta, index).
    Index gap = Index(0) - Index(delta);  // no overflow for the most negative delta
    Index floor = index >= gap ? index - gap : 0;
    runs_ = kept;
    removeIndexesInRange({floor, index - floor});
    for (Range run : moved) {
      // Indexes that would go below zero are dropped.
      if (run.end() <= gap) continue;
      Index start = run.location >= gap ? run.location - gap : 0;
      Index end = run.end() - gap;
      if (end > start) addIndexesInRange({start, end - start});
    }
    return;
  }
  runs_ = kept;
  for (Range run : moved) {
    Index start = run.location + Index(delta);
    if (start >= NotFound) continue;
    Index end = std::min(run.end() + Index(delta), NotFound);
    addIndexesInRange({start, end - start});
  }
}

}  // namespace tq
