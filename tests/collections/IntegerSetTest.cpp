#include "tq/collections/TQIntegerSet.h"

#include <gtest/gtest.h>

#include <vector>

#include "tests/collections/IntegerCollectionsTestSupport.h"
#include "tests/support/RaisedException.h"
#include "tq/collections/TQIntegerSetTable.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

using Integer = TQIntegerSet::Integer;
using V = std::vector<Integer>;
using testing::afterAddress;
constexpr Integer S = TQIntegerSet::SubsetSpan;  // 2^63 - 1
constexpr Integer Max = ~Integer(0);

V integersOf(const TQIntegerSet& set) {
  V all;
  set.enumerateIntegersUsingBlock([&](Integer n, bool*) { all.push_back(n); });
  return all;
}

Ref<TQMutableIntegerSet> setOf(const V& integers) {
  auto set = TQMutableIntegerSet::integerSet();
  for (Integer n : integers) set->addInteger(n);
  return set;
}

TEST(IntegerSetSubsets, EachIntegerLandsInItsSubsetAndRoundTrips) {
  struct Case {
    Integer integer;
    std::size_t subset;
    Index index;
  } cases[] = {{0, 0, 0}, {S - 1, 0, S - 1}, {S, 1, 0}, {2 * S - 1, 1, S - 1}, {Max - 1, 2, 0}, {Max, 2, 1}};
  auto set = TQMutableIntegerSet::integerSet();
  for (const Case& c : cases) {
    set->addInteger(c.integer);
    EXPECT_TRUE(set->subset(c.subset).containsIndex(c.index)) << c.integer;
    EXPECT_TRUE(set->containsInteger(c.integer)) << c.integer;
  }
  EXPECT_EQ(integersOf(*set), (V{0, S - 1, S, 2 * S - 1, Max - 1, Max}));
  EXPECT_EQ(set->count(), 6u);
  EXPECT_EQ(set->firstInteger(), 0u);
  EXPECT_EQ(set->lastInteger(), Max);
}

TEST(IntegerSetNeighbours, SearchAcrossSubsetsAndAnswerZeroForNone) {
  auto empty = TQIntegerSet::integerSet();
  EXPECT_EQ(empty->firstInteger(), 0u);
  EXPECT_EQ(empty->lastInteger(), 0u);
  EXPECT_EQ(empty->integerLessThanInteger(5), 0u);

  auto set = setOf({5, Integer(1) << 63});
  EXPECT_EQ(set->integerGreaterThanInteger(S - 1), Integer(1) << 63);
  EXPECT_EQ(set->indexGreaterThanOrEqualToindex(6), Integer(1) << 63);
  EXPECT_EQ(set->integerLessThanInteger(Max), Integer(1) << 63);
  EXPECT_EQ(set->integerLessThanInteger(Integer(1) << 63), 5u);
  EXPECT_EQ(set->indexLessThanOrEqualToIndex(5), 5u);
  EXPECT_EQ(set->integerGreaterThanInteger(Integer(1) << 63), 0u);
  EXPECT_EQ(set->integerLessThanInteger(5), 0u);
}

TEST(IntegerSetTexts, StringListsAndDescriptions) {
  auto set = setOf({7, 3, 1, 2});
  EXPECT_EQ(set->stringList()->utf8(), "1,2,3,7");
  EXPECT_EQ(set->stringListWithDelimiter(String(" | "))->utf8(), "1 | 2 | 3 | 7");
  EXPECT_EQ(TQIntegerSet::integerSet()->stringList()->utf8(), "");
  EXPECT_EQ(set->description()->utf8().substr(0, 16), "<TQMutableIntege");
  EXPECT_EQ(afterAddress(set->description()), "> 4 integers in 2 ranges: (1-3,7)");
  EXPECT_EQ(afterAddress(TQIntegerSet::integerSet()->description()), "> 0 integers in 0 ranges: ()");
  EXPECT_EQ(afterAddress(setOf({Max})->description()), "> 1 integer in 1 range: (18446744073709551615)");
  // A run across the subset boundary is two ranges.
  EXPECT_EQ(afterAddress(setOf({S - 1, S})->description()),
            "> 2 integers in 2 ranges: (9223372036854775806,9223372036854775807)");
}

TEST(IntegerSetParser, ReadsSingleNumbersOverTheWholeRange) {
  EXPECT_EQ(integersOf(*TQIntegerSet::integerSetWithStringList(String("3, 1,2"))), (V{1, 2, 3}));
  EXPECT_EQ(integersOf(*TQIntegerSet::integerSetWithStringList(String("18446744073709551615,9"))), (V{9, Max}));
  EXPECT_EQ(integersOf(*TQMutableIntegerSet::integerSetWithStringList(String("4,"))), (V{0, 4}));
  EXPECT_TRUE(setOf({1, 2})->isEqualToIntegersInString(String("2 1")));
}

TEST(IntegerSetParser, ReportsTheEndlessLoopOnARangeOrASign) {
  TQ_REQUIRE_ASSERTIONS();
  testing::RecordedAssertions assertions;
  auto set = TQMutableIntegerSet::integerSetWithStringList(String("1-3"));
  ASSERT_EQ(assertions.failures.size(), 1u);
  EXPECT_EQ(assertions.failures[0].description, "integerSetWithStringList: loops without end on the character '-'");
  EXPECT_EQ(integersOf(*set), (V{0, 1}));
}

TEST(IntegerSetConstruction, SpansCopiesAndNumberLists) {
  EXPECT_EQ(TQIntegerSet::integerSetWithIntegersFrom(5, 3)->count(), 0u);
  EXPECT_EQ(integersOf(*TQIntegerSet::integerSetWithIntegersFrom(S - 2, S)), (V{S - 2, S - 1, S}));
  EXPECT_EQ(integersOf(*TQIntegerSet::integerSetWithIntegersFrom(Max - 1, Max)), (V{Max - 1, Max}));
  EXPECT_EQ(integersOf(*TQIntegerSet::integerSetWithNumberArray(Array{num(Max), num(4)})), (V{4, Max}));
  auto original = setOf({1, S});
  auto copy = std::static_pointer_cast<TQIntegerSet>(original->copy());
  original->addInteger(9);
  EXPECT_EQ(integersOf(*copy), (V{1, S}));
  EXPECT_EQ(copy->className(), "TQIntegerSet");
  EXPECT_EQ(std::static_pointer_cast<TQIntegerSet>(copy->mutableCopy())->className(), "TQMutableIntegerSet");
  EXPECT_EQ(integersOf(*TQIntegerSet::integerSetWithInteger(Max - 1)), (V{Max - 1}));
}

TEST(IntegerSetConstruction, TheLargestIntegerFailsTheSingleIntegerConstructors) {
  TQ_REQUIRE_ASSERTIONS();
  struct Case {
    std::function<void()> make;
    const char* condition;
    int line;
  } cases[] = {
      {[] { TQIntegerSet::integerSetWithInteger(Max); }, "index<NSUIntegerMax", 51},
      {[] { TQIntegerSet::initWithInteger(Max); }, "anInteger<NSUIntegerMax", 74},
      {[] { TQMutableIntegerSet::initWithInteger(Max); }, "index<NSUIntegerMax", 485},
  };
  for (const Case& c : cases) {
    testing::RecordedAssertions assertions;
    c.make();
    ASSERT_EQ(assertions.failures.size(), 1u) << c.line;
    EXPECT_EQ(assertions.failures[0].description, std::string("Invalid parameter not satisfying: ") + c.condition);
    EXPECT_EQ(assertions.failures[0].file, "TQIntegerSet");
    EXPECT_EQ(assertions.failures[0].line, c.line);
  }
}

TEST(IntegerSetEquality, ComparesSubsetsButNotHashes) {
  auto immutable = TQIntegerSet::integerSetWithStringList(String("1,2"));
  auto mutableSet = setOf({2, 1});
  EXPECT_TRUE(immutable->isEqual(*mutableSet));
  EXPECT_TRUE(mutableSet->isEqualTo(*immutable));
  EXPECT_FALSE(immutable->isEqual(*IndexSet::indexSetWithIndexesInRange({1, 2})));
  EXPECT_FALSE(immutable->isEqual(*setOf({1, 2, S})));
  // Equal sets keep their identity hashes.
  EXPECT_NE(immutable->hash(), mutableSet->hash());
}

TEST(IntegerSetQueries, SubsetZeroTestsNumbersAndDerivedSets) {
  auto set = setOf({1, 2, 8, Integer(1) << 63});
  EXPECT_EQ(set->indexSet()->allIndexes(), (std::vector<Index>{1, 2, 8}));
  EXPECT_EQ(set->integerPassingTest([](Integer n, bool*) { return n > 2; }), 8u);
  EXPECT_EQ(set->integerPassingTest([](Integer, bool*) { return false; }), 0u);
  EXPECT_EQ(integersOf(*set->integersPassingTest([](Integer n, bool*) { return n % 2 == 0; })),
            (V{2, 8, Integer(1) << 63}));
  EXPECT_TRUE(set->numberSet()->isEqual(Set{num(1u), num(2u), num(8u), num(Integer(1) << 63)}));
  EXPECT_EQ(set->integerSetsWithBatchSize(2), nullptr);
  auto other = setOf({2, 3, Integer(1) << 63});
  EXPECT_EQ(integersOf(*set->integerSetByIntersectingIntegers(*other)), (V{2, Integer(1) << 63}));
  EXPECT_EQ(integersOf(*set->integerSetByRemovingIntegers(*other)), (V{1, 8}));
  EXPECT_EQ(integersOf(*set->integerSetByRemovingIntegersInString(String("8, 1"))), (V{2, Integer(1) << 63}));
  EXPECT_TRUE(set->containsIntegers(*setOf({1, Integer(1) << 63})));
  EXPECT_FALSE(set->containsIntegers(*setOf({1, Max})));
}

TEST(IntegerSetEnumeration, TheStopFlagEndsEveryRemainingSubset) {
  auto set = setOf({1, S, Max});
  V seen;
  set->enumerateIndexesUsingBlock([&](Integer n, bool* stop) {
    seen.push_back(n);
    *stop = n == S;
  });
  EXPECT_EQ(seen, (V{1, S}));
}

TEST(IntegerSetEditing, SetOperationsPerSubset) {
  auto set = setOf({1, 2, 3, S, Max});
  set->removeInteger(2);
  set->removeIntegers(*setOf({3, Max}));
  EXPECT_EQ(integersOf(*set), (V{1, S}));
  set->addIntegers(*setOf({7, Max - 1}));
  set->intersectIntegerSet(*setOf({1, 7, Max - 1, 5}));
  EXPECT_EQ(integersOf(*set), (V{1, 7, Max - 1}));
  set->unionIntegerSet(*setOf({0}));
  EXPECT_EQ(integersOf(*set), (V{0, 1, 7, Max - 1}));
  set->removeAllIntegers();
  EXPECT_EQ(set->count(), 0u);
  set->setSubsets(*Array::arrayWithObjects({IndexSet::indexSetWithIndex(4), make<IndexSet>(), IndexSet::indexSetWithIndex(1)}));
  EXPECT_EQ(integersOf(*set), (V{4, Max}));
  set->addInteger(5);
  EXPECT_EQ(set->count(), 3u);
}

TEST(IntegerSetTables, AddIntegerMakesTheSetOnFirstUse) {
  auto table = make<TQMutableIntegerSetTable>();
  table->addInteger(3, 10);
  table->addInteger(Max, 10);
  EXPECT_EQ(integersOf(*table->integerSetForKey(10)), (V{3, Max}));
  EXPECT_EQ(table->integerSetForKey(11), nullptr);
  EXPECT_EQ(table->count(), 1u);
}

}  // namespace
}  // namespace tq
