#include "tq/platform/collection/IndexSet.h"

#include <gtest/gtest.h>

#include <random>
#include <set>
#include <vector>

#include "tests/support/RaisedException.h"
#include "tq/platform/object/Exception.h"

using namespace tq;
using tq::testing::raisedBy;

namespace {

// {2-4, 8-9, 20}
Ref<MutableIndexSet> sample() {
  auto set = MutableIndexSet::indexSet();
  set->addIndexesInRange({2, 3});
  set->addIndexesInRange({8, 2});
  set->addIndex(20);
  return set;
}

std::vector<Range> runsOf(const IndexSet& set) { return set.ranges().toVector(); }

}  // namespace

TEST(IndexSetSearch, NeighboursAroundRuns) {
  auto set = sample();
  EXPECT_EQ(set->firstIndex(), 2u);
  EXPECT_EQ(set->lastIndex(), 20u);
  EXPECT_EQ(set->indexGreaterThanIndex(0), 2u);
  EXPECT_EQ(set->indexGreaterThanIndex(2), 3u);
  EXPECT_EQ(set->indexGreaterThanIndex(4), 8u);
  EXPECT_EQ(set->indexGreaterThanIndex(20), NotFound);
  EXPECT_EQ(set->indexGreaterThanOrEqualToIndex(5), 8u);
  EXPECT_EQ(set->indexGreaterThanOrEqualToIndex(9), 9u);
  EXPECT_EQ(set->indexLessThanIndex(8), 4u);
  EXPECT_EQ(set->indexLessThanIndex(9), 8u);
  EXPECT_EQ(set->indexLessThanIndex(2), NotFound);
  EXPECT_EQ(set->indexLessThanIndex(0), NotFound);
  EXPECT_EQ(set->indexLessThanOrEqualToIndex(6), 4u);
  EXPECT_EQ(set->indexLessThanOrEqualToIndex(1000), 20u);
  EXPECT_EQ(set->indexGreaterThanIndex(NotFound - 1), NotFound);
  EXPECT_EQ(IndexSet().firstIndex(), NotFound);
  EXPECT_EQ(IndexSet().lastIndex(), NotFound);
  EXPECT_EQ(IndexSet().indexLessThanOrEqualToIndex(5), NotFound);
}

TEST(IndexSetSearch, MembershipAndCounts) {
  auto set = sample();
  EXPECT_EQ(set->count(), 6u);
  EXPECT_TRUE(set->containsIndex(4));
  EXPECT_FALSE(set->containsIndex(5));
  EXPECT_TRUE(set->containsIndexesInRange({2, 3}));
  EXPECT_FALSE(set->containsIndexesInRange({3, 3}));
  EXPECT_EQ(set->countOfIndexesInRange({3, 6}), 3u);
  EXPECT_TRUE(set->intersectsIndexesInRange({9, 100}));
  EXPECT_FALSE(set->intersectsIndexesInRange({10, 10}));
  EXPECT_TRUE(set->containsIndexes(IndexSet(std::vector<Range>{{3, 1}, {20, 1}})));
  EXPECT_FALSE(set->containsIndexes(IndexSet(std::vector<Range>{{3, 1}, {21, 1}})));
}

TEST(IndexSetGetIndexes, CopiesInPiecesAndNarrowsTheRange) {
  auto set = sample();
  Index buffer[4];
  Range range{3, 100};
  EXPECT_EQ(set->getIndexes(buffer, 4, &range), 4u);
  EXPECT_EQ(std::vector<Index>(buffer, buffer + 4), (std::vector<Index>{3, 4, 8, 9}));
  EXPECT_TRUE(range.location >= 10 && range.location <= 20) << "what is left starts after the last index copied";
  EXPECT_EQ(range.end(), 103u);
  EXPECT_EQ(set->getIndexes(buffer, 4, &range), 1u);
  EXPECT_EQ(buffer[0], 20u);
  EXPECT_EQ(range, (Range{103, 0}));
  EXPECT_EQ(set->getIndexes(buffer, 4, &range), 0u);
  EXPECT_EQ(set->getIndexes(buffer, 2, nullptr), 2u) << "no range: from the start";
  EXPECT_EQ(buffer[1], 3u);
}

TEST(IndexSetEnumeration, RangesAreClippedAndReversible) {
  auto set = sample();
  std::vector<Range> seen;
  set->enumerateRangesInRange({3, 6}, EnumerationOptions::None, [&](Range r, bool*) { seen.push_back(r); });
  EXPECT_EQ(seen, (std::vector<Range>{{3, 2}, {8, 1}}));
  seen.clear();
  set->enumerateRangesWithOptions(EnumerationOptions::Reverse, [&](Range r, bool* stop) {
    seen.push_back(r);
    *stop = r.location == 8;
  });
  EXPECT_EQ(seen, (std::vector<Range>{{20, 1}, {8, 2}}));
  std::vector<Index> indexes;
  set->enumerateIndexesInRange({4, 5}, EnumerationOptions::Reverse, [&](Index i, bool*) { indexes.push_back(i); });
  EXPECT_EQ(indexes, (std::vector<Index>{8, 4}));
  EXPECT_EQ(set->indexPassingTest([](Index i, bool*) { return i > 5; }), 8u);
  EXPECT_TRUE(set->indexesPassingTest([](Index i, bool*) { return i % 2 == 0; })
                  ->isEqualToIndexSet(IndexSet(std::vector<Range>{{2, 1}, {4, 1}, {8, 1}, {20, 1}})));
}

TEST(IndexSetAlgebra, UnionIntersectionMinus) {
  auto a = sample();
  IndexSet b(std::vector<Range>{{0, 3}, {9, 12}});
  EXPECT_EQ(runsOf(*a->unionWithIndexSet(b)), (std::vector<Range>{{0, 5}, {8, 13}}));
  EXPECT_EQ(runsOf(*a->intersectionWithIndexSet(b)), (std::vector<Range>{{2, 1}, {9, 1}, {20, 1}}));
  EXPECT_EQ(runsOf(*a->minusIndexSet(b)), (std::vector<Range>{{3, 2}, {8, 1}}));
  EXPECT_EQ(a->intersectionWithIndexSet(IndexSet())->count(), 0u);
  EXPECT_TRUE(a->minusIndexSet(*a)->isEqualToIndexSet(IndexSet()));
}

TEST(MutableIndexSetEditing, AdjacentRunsMergeAndRemovalsSplit) {
  auto set = MutableIndexSet::indexSet();
  set->addIndexesInRange({1, 2});
  set->addIndexesInRange({5, 1});
  set->addIndexesInRange({3, 2});
  EXPECT_EQ(runsOf(*set), (std::vector<Range>{{1, 5}})) << "touching runs join";
  set->addIndex(0);
  set->addIndexesInRange({2, 2});
  EXPECT_EQ(runsOf(*set), (std::vector<Range>{{0, 6}}));
  set->removeIndexesInRange({2, 2});
  EXPECT_EQ(runsOf(*set), (std::vector<Range>{{0, 2}, {4, 2}}));
  set->removeIndexesInRange({1, UINT64_MAX});
  EXPECT_EQ(runsOf(*set), (std::vector<Range>{{0, 1}})) << "a length past every index removes everything after";
  set->addIndexesInRange({10, 0});
  EXPECT_EQ(set->count(), 1u);
}

TEST(MutableIndexSetEditing, ShiftUp) {
  auto set = sample();
  set->shiftIndexesStartingAtIndex(3, 2);
  EXPECT_EQ(runsOf(*set), (std::vector<Range>{{2, 1}, {5, 2}, {10, 2}, {22, 1}})) << "the run at 3 splits";
  set->shiftIndexesStartingAtIndex(NotFound - 10, 5);
  EXPECT_EQ(set->count(), 6u);
  auto top = MutableIndexSet::indexSet();
  top->addIndex(NotFound - 3);
  top->shiftIndexesStartingAtIndex(0, 5);
  EXPECT_EQ(top->count(), 0u) << "indexes pushed past the maximum are dropped";
}

TEST(MutableIndexSetEditing, ShiftDownDeletesTheGap) {
  auto set = MutableIndexSet::indexSet();
  set->addIndexesInRange({1, 10});
  set->shiftIndexesStartingAtIndex(5, -2);
  EXPECT_EQ(runsOf(*set), (std::vector<Range>{{1, 8}}));
  auto parts = MutableIndexSet::indexSet();
  parts->addIndexesInRange({0, 4});
  parts->addIndexesInRange({6, 2});
  parts->shiftIndexesStartingAtIndex(6, -2);
  EXPECT_EQ(runsOf(*parts), (std::vector<Range>{{0, 6}})) << "the moved run meets the kept one";
  auto low = MutableIndexSet::indexSet();
  low->addIndexesInRange({2, 2});
  low->addIndexesInRange({7, 4});
  low->shiftIndexesStartingAtIndex(2, -9);
  EXPECT_EQ(runsOf(*low), (std::vector<Range>{{0, 2}})) << "indexes that would go below zero are dropped";
}

TEST(IndexSetBounds, TheMaximumIndexIsOneBelowNotFound) {
  auto set = MutableIndexSet::indexSet();
  set->addIndex(NotFound - 1);
  EXPECT_EQ(set->lastIndex(), NotFound - 1);
  EXPECT_EQ(raisedBy([&] { set->addIndex(NotFound); }).name(), ExceptionName::InvalidArgument);
  EXPECT_THROW(IndexSet(Range{NotFound - 1, 2}), Exception);
  EXPECT_THROW(IndexSet(Range{5, UINT64_MAX}), Exception);
  EXPECT_NO_THROW(IndexSet(Range{0, NotFound}));
  EXPECT_EQ(IndexSet(Range{0, NotFound}).count(), NotFound);
}

TEST(IndexSetObject, DescriptionEqualityCopies) {
  auto set = sample();
  std::string text = describeUTF8(set);
  EXPECT_EQ(text.substr(text.find('>')), ">[number of indexes: 6 (in 3 ranges), indexes: (2-4 8-9 20)]");
  IndexSet same(std::vector<Range>{{20, 1}, {8, 2}, {2, 3}});
  EXPECT_TRUE(isEqual(set, make<IndexSet>(same)));
  EXPECT_EQ(set->hash(), same.hash());
  Id frozen = set->copy();
  EXPECT_FALSE(isKindOf<MutableIndexSet>(frozen));
  set->removeAllIndexes();
  EXPECT_EQ(cast<IndexSet>(frozen)->count(), 6u);
  auto changeable = cast<MutableIndexSet>(cast<IndexSet>(frozen)->mutableCopy());
  ASSERT_TRUE(changeable);
  changeable->addIndex(0);
  EXPECT_EQ(cast<IndexSet>(frozen)->count(), 6u);
}

TEST(MutableIndexSetEditing, TheSetItselfAsArgument) {
  auto set = sample();
  set->addIndexes(*set);
  EXPECT_EQ(runsOf(*set), (std::vector<Range>{{2, 3}, {8, 2}, {20, 1}}));
  set->removeIndexes(*set);
  EXPECT_EQ(set->count(), 0u);
}

// Additions out of order are buffered and merged at the next read; every
// kind of read must see them, whatever mixes of runs they make.
TEST(MutableIndexSetBuffering, RandomAdditionsMatchASortedModelAtEveryRead) {
  std::mt19937_64 random(5);
  for (int round = 0; round < 20; ++round) {
    MutableIndexSet set;
    std::set<Index> model;
    for (int i = 0; i < 3000; ++i) {
      Index at = random() % 5000, length = 1 + random() % 3;
      set.addIndexesInRange({at, length});
      for (Index k = at; k < at + length; ++k) model.insert(k);
      if (random() % 200 == 0) {
        Index probe = random() % 5000;
        ASSERT_EQ(set.containsIndex(probe), model.count(probe) != 0);
        auto next = model.upper_bound(probe);
        ASSERT_EQ(set.indexGreaterThanIndex(probe), next == model.end() ? NotFound : *next);
      }
      if (random() % 500 == 0) set.removeIndex(*model.begin()), model.erase(model.begin());
    }
    ASSERT_EQ(set.count(), model.size());
    ASSERT_EQ(set.allIndexes(), std::vector<Index>(model.begin(), model.end()));
    for (std::size_t r = 1; r < set.ranges().size(); ++r) {
      ASSERT_LT(set.ranges()[r - 1].end(), set.ranges()[r].location) << "runs must stay disjoint and apart";
    }
    IndexSet copy(set);
    ASSERT_TRUE(copy.isEqualToIndexSet(set));
  }
}

// ---- The packed encoding ----------------------------------------------------
// Runs are kept 8 bytes each in blocks with a 64-bit base; a run too long or
// too far from its block's base for 32 bits changes the layout. These cases
// sit on those edges.

namespace {

constexpr Index Bit32 = Index(1) << 32;

// A plain model of the same set: sorted runs, normalised after every change.
class RunModel {
 public:
  void add(Range range) {
    if (range.length) runs_.push_back(range);
    normalise();
  }
  void remove(Range range) {
    Index cut = range.length > NotFound - range.location ? NotFound : range.end();
    std::vector<Range> kept;
    for (Range run : runs_) {
      if (run.end() <= range.location || run.location >= cut) {
        kept.push_back(run);
        continue;
      }
      if (run.location < range.location) kept.push_back({run.location, range.location - run.location});
      if (run.end() > cut) kept.push_back({cut, run.end() - cut});
    }
    runs_ = kept;
  }
  // Indexes at or above `index` move by `delta`; moving down deletes what is
  // passed over, and what leaves [0, NotFound) is dropped.
  void shift(Index index, std::int64_t delta) {
    std::vector<Range> moved;
    std::vector<Range> kept;
    for (Range run : runs_) {
      if (run.end() <= index) kept.push_back(run);
      else if (run.location >= index) moved.push_back(run);
      else kept.push_back({run.location, index - run.location}), moved.push_back({index, run.end() - index});
    }
    runs_ = kept;
    if (delta < 0) {
      Index gap = Index(-delta);
      Index floor = index >= gap ? index - gap : 0;
      remove({floor, index - floor});
      for (Range run : moved) {
        if (run.end() <= gap) continue;
        Index start = run.location >= gap ? run.location - gap : 0;
        runs_.push_back({start, run.end() - gap - start});
      }
    } else {
      for (Range run : moved) {
        Index start = run.location + Index(delta);
        if (start >= NotFound) continue;
        runs_.push_back({start, std::min(run.end() + Index(delta), NotFound) - start});
      }
    }
    normalise();
  }
  const std::vector<Range>& runs() const { return runs_; }
  bool contains(Index index) const {
    for (Range run : runs_) {
      if (run.contains(index)) return true;
    }
    return false;
  }
  Index greaterThan(Index index) const {
    for (Range run : runs_) {
      if (run.end() > index + 1) return std::max(run.location, index + 1);
    }
    return NotFound;
  }
  Index lessThan(Index index) const {
    Index found = NotFound;
    for (Range run : runs_) {
      if (run.location < index) found = std::min(run.end(), index) - 1;
    }
    return found;
  }

 private:
  void normalise() {
    std::sort(runs_.begin(), runs_.end(), [](Range a, Range b) { return a.location < b.location; });
    std::vector<Range> joined;
    for (Range run : runs_) {
      if (!joined.empty() && run.location <= joined.back().end()) {
        joined.back().length = std::max(joined.back().end(), run.end()) - joined.back().location;
      } else {
        joined.push_back(run);
      }
    }
    runs_ = joined;
  }
  std::vector<Range> runs_;
};

// Locations near the encoding's edges: 32-bit offsets from 0 and from a
// far base, the subset boundary at the top, and a dense window for runs
// enough to fill several blocks.
Index landmark(std::mt19937_64& random) {
  static const Index anchors[] = {0, Bit32, 3 * Bit32, 5 * Bit32 + 12345, NotFound - 4 * Bit32, NotFound - 64};
  Index anchor = anchors[random() % std::size(anchors)];
  Index jitter = random() % 600;
  if (random() % 3 == 0) jitter += random() % (Bit32 + 1000);
  return std::min(anchor + jitter, NotFound - 1);
}

Index lengthFor(Index location, std::mt19937_64& random) {
  Index room = NotFound - location;
  Index length;
  switch (random() % 5) {
    case 0: length = Bit32 - 2 + random() % 4; break;  // either side of the widest slot
    case 1: length = random() % (Bit32 * 4); break;
    default: length = 1 + random() % 4; break;
  }
  return std::min(length, room);
}

void expectSameAsModel(const IndexSet& set, const RunModel& model, std::mt19937_64& random) {
  ASSERT_EQ(runsOf(set), model.runs());
  Index total = 0;
  for (Range run : model.runs()) total += run.length;
  ASSERT_EQ(set.count(), total);
  // Probes on every run's edges and on landmarks.
  std::vector<Index> probes;
  for (Range run : model.runs()) {
    probes.insert(probes.end(), {run.location - (run.location > 0), run.location, run.end() - 1, run.end()});
  }
  for (int i = 0; i < 20; ++i) probes.push_back(landmark(random));
  for (Index probe : probes) {
    if (probe >= NotFound) continue;
    ASSERT_EQ(set.containsIndex(probe), model.contains(probe)) << probe;
    ASSERT_EQ(set.indexGreaterThanIndex(probe), model.greaterThan(probe)) << probe;
    ASSERT_EQ(set.indexLessThanIndex(probe), model.lessThan(probe)) << probe;
  }
}

}  // namespace

TEST(IndexSetPackedRuns, EditsNearThe32BitEdgesMatchAModel) {
  for (unsigned seed = 1; seed <= 40; ++seed) {
    std::mt19937_64 random(seed);
    MutableIndexSet set;
    RunModel model;
    for (int step = 0; step < 300; ++step) {
      Index location = landmark(random);
      Index length = lengthFor(location, random);
      switch (random() % 8) {
        case 0:
          set.removeIndexesInRange({location, length});
          model.remove({location, length});
          break;
        case 1: {
          auto delta = std::int64_t(random() % (2 * Bit32)) - std::int64_t(Bit32);
          if (random() % 4 == 0) delta = delta < 0 ? -std::int64_t(random() % 8) - 1 : std::int64_t(random() % 8) + 1;
          set.shiftIndexesStartingAtIndex(location, delta);
          model.shift(location, delta);
          break;
        }
        default:
          set.addIndexesInRange({location, length});
          model.add({location, length});
      }
      if (step % 25 == 24) {
        SCOPED_TRACE("seed " + std::to_string(seed) + " step " + std::to_string(step));
        expectSameAsModel(set, model, random);
        if (::testing::Test::HasFatalFailure()) return;
      }
    }
    IndexSet copy(set);
    EXPECT_TRUE(copy.isEqualToIndexSet(set));
  }
}

TEST(IndexSetPackedRuns, BlocksFillSplitAndJoin) {
  // 1,000 runs three apart: several full blocks.
  MutableIndexSet set;
  for (Index i = 0; i < 1000; ++i) set.addIndexesInRange({i * 3, 2});
  ASSERT_EQ(set.ranges().size(), 1000u);
  // Walking forward and back crosses every block edge.
  const PackedRuns& runs = set.ranges();
  Index position = 0;
  for (Range run : runs) ASSERT_EQ(run, (Range{position++ * 3, 2}));
  position = 1000;
  for (auto it = runs.end(); it != runs.begin();) ASSERT_EQ(*--it, (Range{--position * 3, 2}));
  EXPECT_EQ(runs[PackedRuns::BlockCapacity], (Range{PackedRuns::BlockCapacity * 3, 2}));
  // Filling the gap at a block's last run joins it with the next block's first.
  Index edge = PackedRuns::BlockCapacity - 1;
  set.addIndex(edge * 3 + 2);
  EXPECT_EQ(set.ranges().size(), 999u);
  EXPECT_TRUE(set.containsIndexesInRange({edge * 3, 5}));
  // Removing the joined run's first index shortens it in place.
  set.removeIndexesInRange({edge * 3, 1});
  EXPECT_FALSE(set.containsIndex(edge * 3));
  EXPECT_TRUE(set.containsIndexesInRange({edge * 3 + 1, 4}));
  EXPECT_EQ(set.ranges().size(), 999u);
  // Splitting a full block's last run pushes its upper part over the edge.
  set.removeIndex(edge * 3 + 3);
  ASSERT_EQ(set.ranges().size(), 1000u);
  EXPECT_EQ(set.ranges()[edge], (Range{edge * 3 + 1, 2}));
  EXPECT_EQ(set.ranges()[edge + 1], (Range{edge * 3 + 4, 1}));
  EXPECT_EQ(set.indexGreaterThanIndex(edge * 3 + 2), edge * 3 + 4);
  // One run over everything joins every block into one.
  set.addIndexesInRange({1, 2998});
  EXPECT_EQ(runsOf(set), (std::vector<Range>{{0, 2999}}));
}

TEST(IndexSetPackedRuns, RunsBeyond32BitsKeepTheirLengthAndPlace) {
  MutableIndexSet set;
  set.addIndexesInRange({5, Bit32 - 1});  // the longest narrow run
  set.addIndexesInRange({Bit32 + 10, Bit32});  // one too long: a wide block
  set.addIndexesInRange({3 * Bit32, 1});  // far from the first base
  set.addIndexesInRange({NotFound - Bit32 * 2, Bit32 * 2});  // up to the largest index
  EXPECT_EQ(runsOf(set), (std::vector<Range>{
                             {5, Bit32 - 1}, {Bit32 + 10, Bit32}, {3 * Bit32, 1}, {NotFound - Bit32 * 2, Bit32 * 2}}));
  EXPECT_TRUE(set.containsIndex(Bit32 + 3));
  EXPECT_FALSE(set.containsIndex(Bit32 + 4));
  EXPECT_EQ(set.indexGreaterThanIndex(Bit32 + 4), Bit32 + 10);
  EXPECT_EQ(set.indexLessThanIndex(3 * Bit32), 2 * Bit32 + 9);
  EXPECT_EQ(set.lastIndex(), NotFound - 1);
  // A narrow run that grows past 32 bits moves to a wide block and back.
  MutableIndexSet growing;
  growing.addIndexesInRange({7, 10});
  growing.addIndexesInRange({17, Bit32});
  EXPECT_EQ(runsOf(growing), (std::vector<Range>{{7, Bit32 + 10}}));
  growing.addIndexesInRange({Bit32 + 100, 1});
  growing.removeIndexesInRange({20, Bit32 - 10});
  EXPECT_EQ(runsOf(growing), (std::vector<Range>{{7, 13}, {Bit32 + 10, 7}, {Bit32 + 100, 1}}));
  // Shifting up past a 32-bit offset, then back down over the gap.
  growing.shiftIndexesStartingAtIndex(Bit32, std::int64_t(Bit32) * 3);
  EXPECT_EQ(runsOf(growing), (std::vector<Range>{{7, 13}, {4 * Bit32 + 10, 7}, {4 * Bit32 + 100, 1}}));
  growing.shiftIndexesStartingAtIndex(4 * Bit32, -std::int64_t(4 * Bit32 - 20));
  EXPECT_EQ(runsOf(growing), (std::vector<Range>{{7, 13}, {30, 7}, {120, 1}}));
}

TEST(IndexSetPackedRuns, StorageIsEightBytesARunAndTheBufferIsFreed) {
  // 1,000 runs of message numbers: 8 blocks of at most 128.
  constexpr std::size_t exact = 1000 * 8 + 8 * 16;
  std::mt19937_64 random(9);
  std::vector<Index> starts;
  for (Index i = 0; i < 999; ++i) starts.push_back(1 + i * 4000);
  std::shuffle(starts.begin(), starts.end(), random);
  // The last run first, so that every other one goes through the buffer.
  MutableIndexSet set;
  set.addIndexesInRange({1 + 999 * 4000, 1000});
  for (Index start : starts) set.addIndexesInRange({start, 1000});
  EXPECT_EQ(set.storageBytes(), exact) << "the merge leaves the runs packed and the buffer freed";
  EXPECT_EQ(set.ranges().size(), 1000u);
  // Appended in order, the storage grows by small steps, not by doubling.
  MutableIndexSet appended;
  for (Index i = 0; i < 1000; ++i) {
    for (Index n = 0; n < 1000; n += 100) appended.addIndexesInRange({1 + i * 4000 + n, 100});
  }
  EXPECT_TRUE(appended.isEqualToIndexSet(set));
  EXPECT_GE(appended.storageBytes(), exact);
  EXPECT_LE(appended.storageBytes(), exact + exact / 8 + 16 * 16);
  EXPECT_EQ(IndexSet(set).storageBytes(), exact) << "a copy holds no spare room";
  EXPECT_EQ(IndexSet().storageBytes(), 0u);
}
