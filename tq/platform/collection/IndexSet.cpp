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

// The first run that overlaps or touches a run starting at `location`.
PackedRuns::Iterator runTouching(const PackedRuns& runs, Index location) {
  return location == 0 ? runs.begin() : runs.reaching(location - 1);
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
    PackedRuns runs = other.ranges();
    settle();
    runs_ = std::move(runs);
  }
  return *this;
}

void IndexSet::mergePending() const {
  std::lock_guard<std::mutex> hold(pendingLock());
  if (!hasPending_.load(std::memory_order_relaxed)) return;
  std::sort(pending_.begin(), pending_.end(), [](const Range& a, const Range& b) { return a.location < b.location; });
  // Taken in order of location, runs that overlap or touch join as they are
  // appended.
  PackedRuns merged;
  merged.reserve(runs_.size() + pending_.size());
  auto a = runs_.begin();
  auto b = pending_.begin();
  while (a != runs_.end() || b != pending_.end()) {
    if (b == pending_.end() || (a != runs_.end() && (*a).location <= b->location)) merged.append(*a++);
    else merged.append(*b++);
  }
  merged.shrinkToFit();
  runs_ = std::move(merged);
  // Freed, not just emptied: a settled set holds nothing but its runs.
  std::vector<Range>().swap(pending_);
  hasPending_.store(false, std::memory_order_release);
}

void MutableIndexSet::removeAllIndexes() {
  settle();
  runs_ = PackedRuns();
}

IndexSet::IndexSet(Index index) {
  checkRange({index, 1}, "initWithIndex:");
  runs_.append({index, 1});
}

IndexSet::IndexSet(Range range) {
  checkRange(range, "initWithIndexesInRange:");
  runs_.append(range);
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
  bool first = true;
  for (Range run : runs_) {
    if (!first) text += " ";
    first = false;
    text += std::to_string(run.location);
    if (run.length > 1) text += "-" + std::to_string(run.end() - 1);
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

std::size_t IndexSet::storageBytes() const {
  settle();
  return runs_.heapBytes() + pending_.capacity() * sizeof(Range);
}

Index IndexSet::count() const {
  settle();
  Index total = 0;
  for (Range run : runs_) total += run.length;
  return total;
}

Index IndexSet::countOfIndexesInRange(Range range) const {
  settle();
  Index total = 0;
  Index end = endOf(range);
  for (auto it = runs_.reaching(range.location); it != runs_.end(); ++it) {
    Range run = *it;
    if (run.location >= end) break;
    total += std::min(run.end(), end) - std::max(run.location, range.location);
  }
  return total;
}

bool IndexSet::containsIndex(Index index) const {
  settle();
  return runs_.contains(index);
}

bool IndexSet::containsIndexesInRange(Range range) const {
  settle();
  if (range.length == 0) return false;
  auto it = runs_.reaching(range.location);
  if (it == runs_.end()) return false;
  Range run = *it;
  return run.location <= range.location && run.end() >= range.end();
}

bool IndexSet::containsIndexes(const IndexSet& other) const {
  settle();
  for (Range run : other.ranges()) {
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
  auto it = runs_.reaching(index);
  if (it == runs_.end()) return NotFound;
  return std::max((*it).location, index);
}

Index IndexSet::indexGreaterThanIndex(Index index) const {
  settle();
  if (index >= NotFound - 1) return NotFound;
  return indexGreaterThanOrEqualToIndex(index + 1);
}

Index IndexSet::indexLessThanOrEqualToIndex(Index index) const {
  settle();
  auto it = runs_.reaching(index);
  if (it != runs_.end() && (*it).location <= index) return index;
  if (it == runs_.begin()) return NotFound;
  return (*--it).end() - 1;
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
  for (auto it = runs_.reaching(range.location); it != runs_.end() && (*it).location < end; ++it) {
    Range run = *it;
    for (Index i = std::max(run.location, range.location); i < std::min(run.end(), end); ++i) {
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
  for (auto it = runs_.reaching(range.location); it != runs_.end(); ++it) {
    Range run = *it;
    if (run.location >= end) break;
    Index from = std::max(run.location, range.location), to = std::min(run.end(), end);
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
  auto result = make<IndexSet>();
  const PackedRuns& theirs = other.ranges();
  auto a = runs_.begin(), b = theirs.begin();
  while (a != runs_.end() && b != theirs.end()) {
    Range mine = *a, their = *b;
    Index from = std::max(mine.location, their.location), to = std::min(mine.end(), their.end());
    if (from < to) result->runs_.append({from, to - from});
    if (mine.end() < their.end()) ++a; else ++b;
  }
  result->runs_.shrinkToFit();
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
  for (Range run : runs_) {
    for (Index i = run.location; i < run.end(); ++i) all.push_back(i);
  }
  return all;
}

void MutableIndexSet::addIndexesInRange(Range range) {
  checkRange(range, "addIndexesInRange:");
  if (range.length == 0) return;
  if (!runs_.empty() && range.end() < runs_.back().location) {
    // Before the last run: buffered, so that random order does not rebuild
    // the runs for every index.
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
  // The new run reaches the last run or lies beyond it. At or after the last
  // run's start (appends in order), it joins or follows it; further back, it
  // takes in every run from the first it touches to the last.
  if (runs_.empty() || range.location >= runs_.back().location) {
    runs_.append(range);
    return;
  }
  auto first = runTouching(runs_, range.location);
  Index from = std::min(range.location, (*first).location);
  Index to = std::max(range.end(), runs_.back().end());
  runs_.truncate(first.position());
  runs_.append({from, to - from});
}

void MutableIndexSet::addIndexes(const IndexSet& other) {
  settle();
  // A copy of the runs: `other` may be this set, whose runs change underneath.
  PackedRuns runs = other.ranges();
  for (Range run : runs) addIndexesInRange(run);
}

void MutableIndexSet::removeIndexesInRange(Range range) {
  settle();
  if (range.length == 0 || range.location >= NotFound) return;
  Index cut = std::min(endOf(range), NotFound);
  auto first = runs_.reaching(range.location);
  if (first == runs_.end() || (*first).location >= cut) return;
  // The runs before `first` stay as they are; the rest is appended again
  // without the removed indexes.
  std::vector<Range> tail(first, runs_.end());
  runs_.truncate(first.position());
  for (Range run : tail) {
    if (run.location >= cut) {
      runs_.append(run);
      continue;
    }
    if (run.location < range.location) runs_.append({run.location, range.location - run.location});
    if (run.end() > cut) runs_.append({cut, run.end() - cut});
  }
}

void MutableIndexSet::removeIndexes(const IndexSet& other) {
  settle();
  PackedRuns runs = other.ranges();
  for (Range run : runs) removeIndexesInRange(run);
}

void MutableIndexSet::shiftIndexesStartingAtIndex(Index index, std::int64_t delta) {
  settle();
  if (delta == 0) return;
  // The runs that end at or below `index` stay; the rest move (a run across
  // `index` leaves its lower part behind).
  auto first = runs_.reaching(index);
  std::vector<Range> moved(first, runs_.end());
  runs_.truncate(first.position());
  if (!moved.empty() && moved.front().location < index) {
    runs_.append({moved.front().location, index - moved.front().location});
    moved.front() = {index, moved.front().end() - index};
  }
  if (delta < 0) {
    // Shifting down deletes the indexes in [index + delta, index).
    Index gap = Index(0) - Index(delta);  // no overflow for the most negative delta
    Index floor = index >= gap ? index - gap : 0;
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
  for (Range run : moved) {
    Index start = run.location + Index(delta);
    if (start >= NotFound) continue;
    Index end = std::min(run.end() + Index(delta), NotFound);
    addIndexesInRange({start, end - start});
  }
}

}  // namespace tq
