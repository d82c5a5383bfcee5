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

std::vector<Range> runsOf(const IndexSet& set) { return set.ranges(); }

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
