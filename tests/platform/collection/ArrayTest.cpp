#include "tq/platform/collection/Array.h"

#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <vector>

#include "tests/support/RaisedException.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"

using namespace tq;
using tq::testing::raisedBy;

namespace {

Ref<Array> numbers(std::initializer_list<int> values) {
  Array::Storage objects;
  for (int v : values) objects.push_back(num(v));
  return make<Array>(std::move(objects));
}

ComparisonResult byValue(const Id& a, const Id& b) { return compareSelector(*a, *b); }

}  // namespace

TEST(ArrayRanges, FailuresNameTheMethodAndTheBounds) {
  auto list = numbers({1, 2, 3});
  const std::pair<std::function<void()>, std::string> failures[] = {
      {[&] { list->objectAtIndex(3); }, "*** -[Array objectAtIndex:]: index 3 beyond bounds [0 .. 2]"},
      {[] { Array::array()->objectAtIndex(0); }, "*** -[Array objectAtIndex:]: index 0 beyond bounds for empty array"},
      {[&] {
         list->subarrayWithRange({2, 2});
       },
       "*** -[Array subarrayWithRange:]: range {2, 2} extends beyond bounds [0 .. 2]"},
      {[] {
         Array::array()->subarrayWithRange({0, 1});
       },
       "*** -[Array subarrayWithRange:]: range {0, 1} extends beyond bounds for empty array"},
      {[&] {
         list->objectsAtIndexes(IndexSet({1, 3}));
       },
       "*** -[Array objectsAtIndexes:]: index 3 in index set beyond bounds [0 .. 2]"}};
  for (const auto& [call, reason] : failures) {
    Exception e = raisedBy(call);
    EXPECT_EQ(e.name(), ExceptionName::Range) << reason;
    EXPECT_EQ(e.reason(), reason);
  }
  // A range whose end wraps around is out of bounds.
  EXPECT_EQ(raisedBy([&] { list->indexOfObject(num(1), Range{1, UINT64_MAX}); }).name(), ExceptionName::Range);
  EXPECT_TRUE(list->subarrayWithRange({1, 2})->isEqualToArray(*numbers({2, 3})));
  EXPECT_TRUE(list->objectsAtIndexes(IndexSet(std::vector<Range>{{0, 1}, {2, 1}}))->isEqualToArray(*numbers({1, 3})));
}

TEST(MutableArrayEditing, NilAndRangeFailures) {
  auto list = MutableArray::array();
  Exception nil = raisedBy([&] { list->insertObject(nullptr, 0); });
  EXPECT_EQ(nil.name(), ExceptionName::InvalidArgument);
  EXPECT_EQ(nil.reason(), "*** -[MutableArray insertObject:atIndex:]: object cannot be nil");
  EXPECT_EQ(raisedBy([&] { list->addObject(nullptr); }).name(), ExceptionName::InvalidArgument);
  EXPECT_EQ(raisedBy([&] { list->insertObject(num(1), 1); }).reason(),
            "*** -[MutableArray insertObject:atIndex:]: index 1 beyond bounds for empty array");
  list->insertObject(num(2), 0);
  list->insertObject(num(1), 0);
  list->setObject(num(3), 2);
  EXPECT_TRUE(list->isEqualToArray(*numbers({1, 2, 3})));
  EXPECT_EQ(raisedBy([&] { list->removeObjectAtIndex(3); }).reason(),
            "*** -[MutableArray removeObjectAtIndex:]: index 3 beyond bounds [0 .. 2]");
  EXPECT_EQ(raisedBy([&] { list->replaceObjectAtIndex(0, nullptr); }).name(), ExceptionName::InvalidArgument);
  EXPECT_EQ(raisedBy([&] { make<Array>(Array::Storage{num(1), nullptr}); }).name(), ExceptionName::InvalidArgument);
}

TEST(MutableArrayEditing, RemovalsAndExchange) {
  auto list = make<MutableArray>(numbers({0, 1, 2, 3, 4, 5, 1})->storage());
  list->removeObjectsAtIndexes(IndexSet(std::vector<Range>{{0, 2}, {4, 1}}));
  EXPECT_TRUE(list->isEqualToArray(*numbers({2, 3, 5, 1})));
  list->removeObject(num(1.0));
  list->exchangeObjectAtIndex(0, 2);
  EXPECT_TRUE(list->isEqualToArray(*numbers({5, 3, 2})));
  list->removeLastObject();
  EXPECT_EQ(list->count(), 2u);
  EXPECT_EQ(raisedBy([&] { MutableArray::array()->removeLastObject(); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { list->removeObjectsAtIndexes(IndexSet(5)); }).name(), ExceptionName::Range);
  EXPECT_EQ(list->count(), 2u);
}

TEST(ArraySearch, BinarySearchOptions) {
  auto sorted = numbers({1, 3, 3, 3, 7});
  Range all{0, sorted->count()};
  using O = BinarySearchingOptions;
  EXPECT_EQ(sorted->indexOfObject(num(3), all, O::FirstEqual, byValue), 1u);
  EXPECT_EQ(sorted->indexOfObject(num(3), all, O::LastEqual, byValue), 3u);
  Index any = sorted->indexOfObject(num(3), all, O::None, byValue);
  EXPECT_TRUE(any >= 1 && any <= 3);
  EXPECT_EQ(sorted->indexOfObject(num(4), all, O::None, byValue), NotFound);
  EXPECT_EQ(sorted->indexOfObject(num(4), all, O::InsertionIndex, byValue), 4u);
  EXPECT_EQ(sorted->indexOfObject(num(3), all, O::InsertionIndex | O::FirstEqual, byValue), 1u);
  EXPECT_EQ(sorted->indexOfObject(num(3), all, O::InsertionIndex | O::LastEqual, byValue), 4u);
  EXPECT_EQ(sorted->indexOfObject(num(9), all, O::InsertionIndex, byValue), 5u);
  EXPECT_EQ(sorted->indexOfObject(num(0), all, O::InsertionIndex | O::LastEqual, byValue), 0u);
  EXPECT_EQ(sorted->indexOfObject(num(3), {4, 1}, O::FirstEqual, byValue), NotFound) << "only the given range";
  EXPECT_EQ(raisedBy([&] { sorted->indexOfObject(num(3), all, O::FirstEqual | O::LastEqual, byValue); }).name(),
            ExceptionName::InvalidArgument);
  EXPECT_EQ(raisedBy([&] { sorted->indexOfObject(num(3), {3, 3}, O::None, byValue); }).name(), ExceptionName::Range);
}

TEST(ArraySearch, LinearSearches) {
  auto a = str("a");
  auto list = make<Array>(Array::Storage{a, num(1), str("a"), num(2)});
  EXPECT_EQ(list->indexOfObject(str("a")), 0u);
  EXPECT_EQ(list->indexOfObject(str("a"), Range{1, 3}), 2u);
  EXPECT_EQ(list->indexOfObjectIdenticalTo(list->objectAtIndex(2)), 2u);
  EXPECT_EQ(list->indexOfObjectIdenticalTo(str("a")), NotFound);
  EXPECT_EQ(list->indexOfObjectPassingTest([](const Id& o, Index, bool*) { return isKindOf<Number>(o); }), 1u);
  auto passing = list->indexesOfObjectsPassingTest([](const Id& o, Index, bool*) { return isKindOf<String>(o); });
  EXPECT_TRUE(passing->isEqualToIndexSet(IndexSet(std::vector<Range>{{0, 1}, {2, 1}})));
  EXPECT_TRUE(isEqual(list->firstObjectCommonWithArray(*numbers({2, 1})), num(1)));
}

TEST(ArraySorting, SortsAreStable) {
  // Pairs (key, original position); sort by key only.
  Array::Storage pairs;
  for (int i = 0; i < 40; ++i) pairs.push_back(arr({num(i % 4), num(i)}));
  auto list = make<Array>(pairs);
  auto byKey = [](const Id& a, const Id& b) {
    return compareSelector(*cast<Array>(a)->objectAtIndex(0), *cast<Array>(b)->objectAtIndex(0));
  };
  auto sorted = list->sortedArrayUsingComparator(byKey);
  // Key by key, and within a key in the original order.
  for (Index i = 0; i < 40; ++i)
    EXPECT_TRUE(isEqual(cast<Array>(sorted->objectAtIndex(i))->objectAtIndex(1), num(int(i / 10 + i % 10 * 4)))) << i;
  auto descending = numbers({2, 9, 4})->sortedArrayUsingDescriptors({make<SortDescriptor>(nullptr, false)});
  EXPECT_TRUE(descending->isEqualToArray(*numbers({9, 4, 2})));
  auto words = arr({str("b"), str("C"), str("a")})->sortedArrayUsingSelector(caseInsensitiveCompareSelector);
  EXPECT_TRUE(words->isEqualToArray(*arr({str("a"), str("b"), str("C")})));
}

TEST(ArrayEnumeration, ConcurrentVisitsEveryIndexExactlyOnce) {
  Array::Storage objects;
  for (int i = 0; i < 2000; ++i) objects.push_back(num(i));
  auto list = make<Array>(std::move(objects));
  std::vector<std::atomic<int>> visits(list->count());
  std::atomic<bool> matches{true};
  list->enumerateObjectsWithOptions(EnumerationOptions::Concurrent, [&](const Id& o, Index i, bool*) {
    visits[i].fetch_add(1);
    if (cast<Number>(o)->integerValue() != std::int64_t(i)) matches = false;
  });
  int wrong = 0;
  for (auto& count : visits) wrong += count.load() != 1;
  EXPECT_EQ(wrong, 0);
  EXPECT_TRUE(matches);
  std::atomic<int> atIndexes{0};
  list->enumerateObjectsAtIndexes(IndexSet({10, 100}), EnumerationOptions::Concurrent | EnumerationOptions::Reverse,
                                  [&](const Id&, Index i, bool*) { atIndexes += int(i); });
  EXPECT_EQ(atIndexes.load(), (10 + 109) * 100 / 2);
}

TEST(ArrayEnumeration, ReverseOrderAndStop) {
  auto list = numbers({1, 2, 3, 4});
  std::vector<Index> seen;
  list->enumerateObjectsWithOptions(EnumerationOptions::Reverse, [&](const Id&, Index i, bool* stop) {
    seen.push_back(i);
    if (i == 2) *stop = true;
  });
  EXPECT_EQ(seen, (std::vector<Index>{3, 2}));
  auto reverse = list->reverseObjectEnumerator();
  EXPECT_TRUE(isEqual(reverse->nextObject(), num(4)));
  EXPECT_TRUE(reverse->allObjects()->isEqualToArray(*numbers({3, 2, 1})));
  EXPECT_EQ(reverse->nextObject(), nullptr);
  EXPECT_EQ(list->indexOfObjectWithOptions(EnumerationOptions::Reverse,
                                           [](const Id& o, Index, bool*) { return cast<Number>(o)->intValue() < 3; }),
            1u);
}

TEST(ArrayObject, DescriptionEqualityAndCopies) {
  EXPECT_EQ(describeUTF8(arr({str("a"), num(1)})), "(\n    a,\n    1\n)");
  EXPECT_EQ(describeUTF8(Array::array()), "(\n)");
  EXPECT_TRUE(isEqual(numbers({1, 2}), arr({num(1.0), num(2u)})));
  EXPECT_EQ(numbers({1, 2})->hash(), arr({num(1.0), num(2u)})->hash());
  auto list = numbers({1});
  EXPECT_EQ(list->copy().get(), list.get());
  auto mutableList = cast<MutableArray>(list->mutableCopy());
  ASSERT_TRUE(mutableList);
  mutableList->addObject(num(2));
  EXPECT_EQ(list->count(), 1u);
  Id frozen = mutableList->copy();
  EXPECT_FALSE(isKindOf<MutableArray>(frozen));
  mutableList->removeAllObjects();
  EXPECT_EQ(cast<Array>(frozen)->count(), 2u);
}

TEST(ArrayKeyValues, ValuesLineUpWithTheElementsAndDescriptorsSortByThem) {
  auto people = arr({dict({{str("name"), str("Cy")}, {str("age"), num(40)}}), dict({{str("name"), str("Al")}}),
                     dict({{str("name"), str("Bo")}, {str("age"), num(30)}})});
  auto ages = people->valueForKey(*str("age"));
  EXPECT_TRUE(ages->isEqualToArray(*arr({num(40), Null::null(), num(30)}))) << "a missing value is the null marker";
  auto byAge = people->sortedArrayUsingDescriptors({SortDescriptor::sortDescriptorWithKey(str("age"), true)});
  EXPECT_TRUE(byAge->valueForKey(*str("name"))->isEqualToArray(*arr({str("Al"), str("Bo"), str("Cy")})))
      << "nil sorts first";
  auto byNameDescending =
      people->sortedArrayUsingDescriptors({SortDescriptor::sortDescriptorWithKey(str("name"), false)});
  EXPECT_TRUE(isEqual(byNameDescending->valueForKey(*str("name"))->firstObject(), str("Cy")));
  EXPECT_EQ(raisedBy([] { arr({num(1)})->valueForKey(*str("age")); }).name(), ExceptionName::UnrecognizedMessage);
}

TEST(MutableArrayEditing, TheArrayItselfAsArgument) {
  auto list = make<MutableArray>(numbers({1, 2, 3})->storage());
  list->addObjectsFromArray(*list);
  EXPECT_TRUE(list->isEqualToArray(*numbers({1, 2, 3, 1, 2, 3})));
  auto letters = make<MutableArray>(Array::Storage{str("a"), str("b"), str("a"), str("b")});
  letters->removeObject(letters->objectAtIndex(0));
  EXPECT_TRUE(letters->isEqualToArray(*arr({str("b"), str("b")})))
      << "the element passed by reference is not overwritten while removing";
}
