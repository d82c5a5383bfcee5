#include "tq/collections/IndexSetExtensions.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tests/collections/IntegerCollectionsTestSupport.h"
#include "tests/support/RaisedException.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

using namespace Corvina;
using testing::indexesOf;
using V = std::vector<Index>;

std::string utf8(const Ref<String>& text) { return text->utf8(); }
std::string bytes(const Ref<Data>& data) { return std::string(reinterpret_cast<const char*>(data->bytes()), data->length()); }

TEST(IndexSetListParser, ReadsNumbersBetweenCommasAndSpacesAndAddsZeroForATrailingSeparator) {
  struct Case {
    const char* text;
    V expected;
  } cases[] = {
      {"3, 1,2", {1, 2, 3}},   {"1,2,", {0, 1, 2}},  {"", {}},         {"  7\n,\t8 ", {7, 8}},
      {"1,,2", {1, 2}},        {",", {0}},           {"+4", {4}},      {"9223372036854775806", {9223372036854775806ull}},
  };
  for (const Case& c : cases) EXPECT_EQ(indexesOf(*tq_indexSetWithStringList(c.text)), c.expected) << c.text;
}

TEST(IndexSetListParser, ReportsTheEndlessLoopOnAnUnexpectedCharacterAndAnswersWhatItRead) {
  TQ_REQUIRE_ASSERTIONS();
  testing::RecordedAssertions assertions;
  auto set = tq_indexSetWithStringList("5,x,6");
  ASSERT_EQ(assertions.failures.size(), 1u);
  EXPECT_EQ(assertions.failures[0].description, "tq_indexSetWithStringList: loops without end on the character 'x'");
  // The one 0 that the first idle round added stays, as the loop would add it.
  EXPECT_EQ(indexesOf(*set), (V{0, 5}));
}

TEST(IndexSetListParser, RaisesByDefaultOnTheLoopAndOnNegativeNumbers) {
  TQ_REQUIRE_ASSERTIONS();
  EXPECT_EQ(testing::raisedBy([] { tq_indexSetWithStringList("1-3"); }).name(), ExceptionName::InvalidArgument);
  auto loop = testing::raisedBy([] { tq_indexSetWithStringList("a"); });
  EXPECT_EQ(loop.name(), ExceptionName::InternalInconsistency);
  EXPECT_EQ(loop.reason(), "tq_indexSetWithStringList: loops without end on the character 'a'");
}

TEST(IndexSetCStringParser, KeepsOneToBelowNotFoundDropsZerosAndStopsAtTwentyOneDigits) {
  struct Case {
    const char* text;
    V expected;
  } cases[] = {
      {"12,0,5", {5, 12}},
      {"007,8", {7, 8}},
      {"0", {}},
      {"", {}},
      {"1a2,b3", {3, 12}},
      {"9223372036854775805", {9223372036854775805ull}},
      {"9223372036854775806", {}},
      {"123456789012345678901,3", {}},
      {"4,123456789012345678901,3", {4}},
      {"00000000000000000000000000000,6", {6}},
  };
  for (const Case& c : cases) EXPECT_EQ(indexesOf(*tq_indexSetWithWithUTF8String(c.text)), c.expected) << c.text;
  EXPECT_EQ(tq_indexSetWithWithUTF8String(nullptr)->count(), 0u);
}

TEST(IndexSetBuilders, ArgumentListsNumbersTextsAndSpans) {
  EXPECT_EQ(indexesOf(*tq_indexSetWithIntList({3, 1, 0, 9})), (V{1, 3}));
  EXPECT_EQ(indexesOf(*tq_indexSetWithIntList({3, 0xFFFFFFFFu, 9})), (V{3}));
  EXPECT_EQ(indexesOf(*tq_indexSetWithIntList({0, 4})), V{});
  EXPECT_EQ(indexesOf(*tq_indexSetWithIntList({0xFFFFFFFFu, 2, 0})), (V{2, 0xFFFFFFFFu}));
  EXPECT_EQ(indexesOf(*tq_indexSetWithNumberArray(Array{num(4), num(2), str("7")})), (V{2, 4, 7}));
  EXPECT_EQ(indexesOf(*tq_indexSetWithStringArray(Array{str("12abc"), str("abc")})), (V{0, 12}));
  EXPECT_EQ(indexesOf(*tq_indexSetWithNumberSet(Set{num(8), num(1u)})), (V{1, 8}));
  EXPECT_EQ(indexesOf(*tq_indexSetWithIndexesFrom(3, 5)), (V{3, 4, 5}));
  EXPECT_EQ(tq_indexSetWithIndexesFrom(3, 2)->count(), 0u);
  EXPECT_EQ(testing::raisedBy([] { tq_indexSetWithNumberArray(Array{make<Data>()}); }).name(),
            ExceptionName::UnrecognizedMessage);
}

TEST(IndexSetAlgebra, OptionalRemovalAnswersNilForNothingLeft) {
  auto one = IndexSet::indexSetWithIndex(4);
  EXPECT_EQ(tq_optionalIndexSetByRemovingIndex(4, one), nullptr);
  EXPECT_EQ(tq_optionalIndexSetByRemovingIndex(4, nullptr), nullptr);
  EXPECT_EQ(indexesOf(*tq_optionalIndexSetByRemovingIndex(5, one)), (V{4}));
  EXPECT_EQ(indexesOf(*tq_setByAddingIndex(2, nullptr)), (V{2}));
  EXPECT_EQ(indexesOf(*tq_setByAddingIndex(*one, 2)), (V{2, 4}));
  EXPECT_EQ(indexesOf(*one), (V{4}));
}

TEST(IndexSetAlgebra, IntersectionAndRemovalWhicheverSetIsSmaller) {
  auto small = tq_indexSetWithStringList("2,5,9");
  auto large = tq_indexSetWithIndexesFrom(4, 100);
  EXPECT_EQ(indexesOf(*tq_setByIntersectingIndexSet(*small, large)), (V{5, 9}));
  EXPECT_EQ(indexesOf(*tq_setByIntersectingIndexSet(*large, small)), (V{5, 9}));
  EXPECT_EQ(tq_setByIntersectingIndexSet(*large, nullptr)->count(), 0u);
  EXPECT_EQ(indexesOf(*tq_setByRemovingIndexSet(*small, large)), (V{2}));
  EXPECT_EQ(indexesOf(*tq_setByRemovingIndexSet(*small, nullptr)), (V{2, 5, 9}));
  EXPECT_EQ(indexesOf(*tq_setByRemovingIndexesInString(*small, String("9, 2"))), (V{5}));

  auto edited = MutableIndexSet::indexSet();
  tq_unionIndexSet(*edited, small);
  tq_unionIndexSet(*edited, nullptr);
  tq_intersectIndexSet(*edited, tq_indexSetWithStringList("5,9,11"));
  EXPECT_EQ(indexesOf(*edited), (V{5, 9}));
  tq_intersectIndexSet(*edited, nullptr);
  EXPECT_EQ(edited->count(), 0u);
}

TEST(IndexSetTexts, CommaListsJsonArraysAndRunTexts) {
  auto set = tq_indexSetWithStringList("1,2,3,7");
  auto empty = make<IndexSet>();
  EXPECT_EQ(utf8(tq_stringList(*set)), "1,2,3,7");
  EXPECT_EQ(utf8(tq_stringList(*empty)), "");
  EXPECT_EQ(bytes(tq_jsonArray(*set)), "[1,2,3,7]");
  EXPECT_EQ(bytes(tq_jsonArray(*empty)), "[]");
  EXPECT_EQ(utf8(rangeDescription(*set)), "{1-3},{7-7}");
  EXPECT_EQ(utf8(rangeDescription(*empty)), "{}");
  EXPECT_EQ(utf8(tq_stringList(*IndexSet::indexSetWithIndex(NotFound - 1))), "9223372036854775806");
}

TEST(IndexSetTexts, LineBreaksBeforeEveryNthIndexTheFirstIncluded) {
  auto set = tq_indexSetWithIndexesFrom(1, 5);
  EXPECT_EQ(utf8(tq_stringListWithReturnInterval(*set, 2)), "\n1,2,\n3,4,\n5");
  EXPECT_EQ(utf8(tq_stringListWithReturnInterval(*set, 1)), "\n1,\n2,\n3,\n4,\n5");
  for (std::int64_t below : {0, -3}) EXPECT_EQ(utf8(tq_stringListWithReturnInterval(*set, below)), "1,2,3,4,5");
}

TEST(IndexSetTexts, NumberAndTextCollections) {
  auto set = tq_indexSetWithStringList("10,2");
  EXPECT_EQ(tq_stringArray(*set)->description()->utf8(), Array({str("2"), str("10")}).description()->utf8());
  EXPECT_TRUE(tq_stringSet(*set)->isEqual(Set{str("10"), str("2")}));
  EXPECT_TRUE(tq_numberSet(*set)->isEqual(Set{num(2u), num(10u)}));
}

TEST(IndexSetBatches, EveryBatchButTheLastIsFull) {
  auto described = [](const Ref<MutableArray>& batches) {
    std::string text;
    for (const Id& batch : *batches) text += "[" + utf8(tq_stringList(*std::static_pointer_cast<IndexSet>(batch))) + "]";
    return text;
  };
  auto set = tq_indexSetWithIndexesFrom(1, 5);
  EXPECT_EQ(described(tq_indexSetsWithBatchSize(*set, 2)), "[1,2][3,4][5]");
  EXPECT_EQ(described(tq_indexSetsWithBatchSize(*set, 5)), "[1,2,3,4,5]");
  EXPECT_EQ(described(tq_indexSetsWithBatchSize(*set, 0)), "[1][2][3][4][5]");
  EXPECT_EQ(described(tq_indexSetsWithBatchSize(*tq_indexSetWithStringList("1,2,8,9,10"), 3)), "[1,2,8][9,10]");
  EXPECT_EQ(tq_indexSetsWithBatchSize(IndexSet(), 3)->count(), 0u);
}

TEST(IndexSetRuns, CountFirstAndLast) {
  auto set = tq_indexSetWithStringList("1,2,3,7,9,10");
  EXPECT_EQ(rangeCount(*set), 3u);
  EXPECT_EQ(firstRange(*set), (Range{1, 3}));
  EXPECT_EQ(lastRange(*set), (Range{9, 2}));
  EXPECT_EQ(firstRange(IndexSet()), (Range{NotFound, 0}));
  EXPECT_EQ(lastRange(IndexSet()), (Range{NotFound, 0}));
}

}  // namespace
}  // namespace tq
