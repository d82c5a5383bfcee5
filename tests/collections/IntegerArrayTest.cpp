#include "tq/collections/TQIntegerArray.h"

#include <gtest/gtest.h>

#include <cstring>
#include <thread>
#include <vector>

#include "tests/collections/IntegerCollectionsTestSupport.h"
#include "tests/support/RaisedException.h"
#include "tq/collections/TQIntegerArrayTable.h"
#include "tq/collections/TQIntegerKeyDictionary.h"
#include "tq/collections/TQIntegerSet.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

TEST(IntegerArray, PacksEightNativeBytesPerElementAndIgnoresTrailingBytes) {
  auto array = make<TQMutableIntegerArray>();
  EXPECT_EQ(array->count(), 0u);
  array->addInteger(-1);
  array->addInteger(5);
  EXPECT_EQ(array->integerAtIndex(0), -1);
  EXPECT_EQ(array->integerAtIndex(1), 5);
  auto storage = array->storage();
  ASSERT_EQ(storage->length(), 16u);
  std::int64_t second;
  std::memcpy(&second, storage->bytes() + 8, 8);
  EXPECT_EQ(second, 5);

  std::vector<std::uint8_t> bytes(storage->bytes(), storage->bytes() + 16);
  bytes.insert(bytes.end(), {1, 2, 3});
  TQIntegerArray read(Data(bytes.data(), bytes.size()));
  EXPECT_EQ(read.count(), 2u);
  auto beyond = testing::raisedBy([&] { read.integerAtIndex(2); });
  EXPECT_EQ(beyond.name(), ExceptionName::Range);
  EXPECT_EQ(beyond.reason(), "*** -[TQIntegerArray integerAtIndex:]: range {16, 8} exceeds data length 19");
}

TEST(IntegerArray, EnumerationSeesAppendsAndStops) {
  auto array = make<TQMutableIntegerArray>();
  for (std::int64_t n : {4, 4, 9}) array->addInteger(n);
  std::vector<std::int64_t> seen;
  array->enumerateIntegersUsingBlock([&](std::int64_t n, Index i, bool* stop) {
    seen.push_back(n);
    if (i == 0) array->addInteger(2);  // read again after each call
    *stop = n == 2;
  });
  EXPECT_EQ(seen, (std::vector<std::int64_t>{4, 4, 9, 2}));
  EXPECT_EQ(array->indexSet()->allIndexes(), (std::vector<Index>{2, 4, 9}));
  array->addInteger(-1);
  EXPECT_TRUE(array->integerSet()->containsInteger(~std::uint64_t(0)));
  EXPECT_EQ(testing::raisedBy([&] { array->indexSet(); }).name(), ExceptionName::InvalidArgument);
}

TEST(IntegerArray, ConcurrentAppendsAreAllKept) {
  auto array = make<TQMutableIntegerArray>();
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      for (int i = 0; i < 1000; ++i) array->addInteger(i);
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(array->count(), 4000u);
}

TEST(IntegerArrayTable, AppendsUnderOneKeyAndDescribesDistinctElements) {
  TQIntegerArrayTable table;
  table.addInteger(7, -3);
  table.addInteger(2, -3);
  table.addInteger(7, -3);
  table.addInteger(1, 4);
  EXPECT_EQ(table.integerArrayAtIndex(-3)->count(), 3u);
  EXPECT_EQ(table.integerArrayAtIndex(5), nullptr);
  EXPECT_EQ(table.description()->utf8().substr(0, 21), "<TQIntegerArrayTable ");
  EXPECT_EQ(testing::afterAddress(table.description()), ">\n\t -3 = 2,7\n\t 4 = 1");
  std::vector<std::int64_t> keys;
  table.enumerateIntegerKeysAndArraysWithBlock([&](std::int64_t key, const Ref<TQMutableIntegerArray>&, bool*) {
    keys.push_back(key);
  });
  EXPECT_EQ(keys, (std::vector<std::int64_t>{-3, 4}));
  table.flush();
  EXPECT_EQ(table.integerArrayAtIndex(-3), nullptr);
}

TEST(IntegerKeyDictionary, StoresRemovesAndListsKeysOverTheWholeRange) {
  auto dictionary = make<TQMutableIntegerKeyDictionary>();
  const std::uint64_t top = std::uint64_t(1) << 63;
  dictionary->setObject(str("one"), 1);
  dictionary->setObject(str("two"), 2);
  dictionary->setObject(str("top"), top);
  EXPECT_TRUE(dictionary->objectForInteger(top)->isEqual(*str("top")));
  EXPECT_TRUE(dictionary->objectForKeyedSubscript(num(2))->isEqual(*str("two")));
  EXPECT_EQ(dictionary->allKeys()->stringList()->utf8(), "1,2,9223372036854775808");
  EXPECT_EQ(dictionary->allValues()->count(), 3u);

  dictionary->setObjectForKeyedSubscript(nullptr, num(2u));
  dictionary->removeObjectForInteger(99);
  EXPECT_EQ(dictionary->count(), 2u);
  EXPECT_EQ(testing::afterAddress(dictionary->debugDescription()), "> 2 entries");

  auto frozen = std::static_pointer_cast<TQIntegerKeyDictionary>(dictionary->copy());
  dictionary->removeAllObjects();
  EXPECT_EQ(frozen->className(), "TQIntegerKeyDictionary");
  EXPECT_EQ(frozen->count(), 2u);
  EXPECT_EQ(dictionary->count(), 0u);
}

TEST(IntegerKeyDictionary, EnumerationWalksASnapshotThatTheCallbackMayEdit) {
  auto dictionary = make<TQMutableIntegerKeyDictionary>();
  for (std::uint64_t k : {5u, 6u, 7u}) dictionary->setObject(num(k), k);
  std::vector<std::uint64_t> seen;
  dictionary->enumerateIntegersAndObjectsUsingBlock([&](std::uint64_t key, const Id&, bool* stop) {
    seen.push_back(key);
    dictionary->removeObjectForInteger(7);
    *stop = key == 6;
  });
  EXPECT_EQ(seen, (std::vector<std::uint64_t>{5, 6}));
  EXPECT_EQ(dictionary->count(), 2u);
}

TEST(IntegerKeyDictionary, AssertsOnNonNumberKeysAndNilObjects) {
  TQ_REQUIRE_ASSERTIONS();
  auto dictionary = make<TQMutableIntegerKeyDictionary>();
  testing::RecordedAssertions assertions;
  EXPECT_EQ(dictionary->objectForKeyedSubscript(str("1")), nullptr);
  dictionary->setObject(nullptr, 3);
  ASSERT_EQ(assertions.failures.size(), 2u);
  EXPECT_EQ(assertions.failures[0].description,
            "Invalid parameter not satisfying: [key isKindOfClass:[NSNumber class]]");
  EXPECT_EQ(assertions.failures[0].line, 40);
  EXPECT_EQ(assertions.failures[1].description, "Invalid parameter not satisfying: object");
  EXPECT_EQ(assertions.failures[1].file, "TQIntegerKeyDictionary");
  EXPECT_EQ(assertions.failures[1].line, 120);
  EXPECT_EQ(dictionary->count(), 0u);
}

}  // namespace
}  // namespace tq
