#include "tq/platform/collection/Dictionary.h"

#include <gtest/gtest.h>

#include "tests/support/RaisedException.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"

using namespace tq;
using tq::testing::raisedBy;

TEST(DictionaryKeys, AMutableKeyIsCopiedOnInsertion) {
  auto key = make<MutableString>(std::string_view("name"));
  auto map = MutableDictionary::dictionary();
  map->setObject(num(1), key);
  key->appendUTF8("-changed");
  EXPECT_TRUE(isEqual(map->objectForKey("name"), num(1))) << "the stored key kept its text";
  EXPECT_EQ(map->objectForKey(key), nullptr);
  Id stored = map->allKeys()->firstObject();
  EXPECT_NE(stored.get(), key.get());
  EXPECT_FALSE(isKindOf<MutableString>(stored));
  auto immutable = str("fixed");
  map->setObject(num(2), immutable);
  EXPECT_EQ(map->allKeys()->lastObject().get(), immutable.get()) << "an immutable key is kept as it is";
}

TEST(DictionaryKeys, NilKeysAndObjectsAreRefused) {
  auto map = MutableDictionary::dictionary();
  Exception e = raisedBy([&] { map->setObject(num(1), nullptr); });
  EXPECT_EQ(e.name(), ExceptionName::InvalidArgument);
  EXPECT_EQ(e.reason(), "*** -[MutableDictionary setObject:forKey:]: key cannot be nil");
  EXPECT_THROW(map->setObject(nullptr, str("k")), Exception);
  EXPECT_THROW(map->removeObjectForKey(nullptr), Exception);
  map->setObject(num(1), str("k"));
  map->setObjectForKeyedSubscript(nullptr, str("k"));
  EXPECT_EQ(map->count(), 0u) << "a nil object through the subscript removes the key";
  EXPECT_EQ(map->objectForKey(Id()), nullptr);
}

TEST(DictionaryOrder, InsertionOrderSurvivesReplacementAndRemoval) {
  auto map = MutableDictionary::dictionary();
  for (const char* k : {"c", "a", "b"}) map->setObject(str(k), str(k));
  map->setObject(num(9), str("a"));
  EXPECT_TRUE(map->allKeys()->isEqualToArray(*arr({str("c"), str("a"), str("b")}))) << "replacing keeps the place";
  EXPECT_TRUE(isEqual(map->objectForKey("a"), num(9)));
  map->removeObjectForKey(str("c"));
  map->setObject(num(0), str("c"));
  EXPECT_TRUE(map->allKeys()->isEqualToArray(*arr({str("a"), str("b"), str("c")})));
  EXPECT_TRUE(map->allValues()->isEqualToArray(*arr({num(9), str("b"), num(0)})));
  EXPECT_EQ(describeUTF8(map), "{\n    a = 9;\n    b = b;\n    c = 0;\n}");
}

TEST(DictionaryOrder, ManyRemovalsCompactWithoutLosingEntries) {
  auto map = MutableDictionary::dictionary();
  for (int i = 0; i < 1000; ++i) map->setObject(num(i * 10), num(i));
  for (int i = 0; i < 1000; ++i) {
    if (i % 10) map->removeObjectForKey(num(i));
  }
  map->removeObjectForKey(num(5000));  // absent: nothing happens
  EXPECT_EQ(map->count(), 100u);
  bool right = true;
  Index position = 0;
  map->enumerateKeysAndObjectsUsingBlock([&](const Id& key, const Id& object, bool*) {
    auto k = cast<Number>(key)->integerValue();
    right = right && k == std::int64_t(position * 10) && cast<Number>(object)->integerValue() == k * 10;
    ++position;
  });
  EXPECT_TRUE(right);
  EXPECT_EQ(position, 100u);
  for (int i = 0; i < 1000; i += 10) right = right && isEqual(map->objectForKey(num(i)), num(i * 10));
  EXPECT_TRUE(right) << "lookups after compaction";
  EXPECT_EQ(map->objectForKey(num(11)), nullptr);
  map->setObject(str("new"), str("tail"));
  EXPECT_TRUE(isEqual(map->allKeys()->lastObject(), str("tail")));
}

TEST(DictionaryEquality, ByEntriesWhateverTheOrder) {
  auto a = dict({{str("x"), num(1)}, {str("y"), arr({num(2)})}});
  auto b = dict({{str("y"), arr({num(2.0)})}, {str("x"), num(true)}});
  EXPECT_TRUE(isEqual(a, b));
  EXPECT_EQ(a->hash(), b->hash());
  EXPECT_FALSE(isEqual(a, dict({{str("x"), num(1)}})));
  EXPECT_FALSE(isEqual(a, dict({{str("x"), num(1)}, {str("z"), arr({num(2)})}})));
  EXPECT_FALSE(isEqual(a, dict({{str("x"), num(2)}, {str("y"), arr({num(2)})}})));
  EXPECT_TRUE(isEqual(dict({{str("k"), num(1)}, {str("k"), num(2)}})->objectForKey("k"), num(2)))
      << "a repeated key keeps the last object";
}

TEST(DictionaryCopies, FollowTheCollectionRules) {
  auto map = dict({{str("a"), num(1)}});
  EXPECT_EQ(map->copy().get(), map.get());
  auto changeable = cast<MutableDictionary>(map->mutableCopy());
  ASSERT_TRUE(changeable);
  changeable->setObject(num(2), str("b"));
  EXPECT_EQ(map->count(), 1u);
  Id frozen = changeable->copy();
  EXPECT_FALSE(isKindOf<MutableDictionary>(frozen));
  changeable->removeAllObjects();
  EXPECT_EQ(cast<Dictionary>(frozen)->count(), 2u);
  changeable->setDictionary(*cast<Dictionary>(frozen));
  changeable->addEntriesFromDictionary(*dict({{str("a"), num(5)}, {str("c"), num(3)}}));
  EXPECT_TRUE(changeable->allValues()->isEqualToArray(*arr({num(5), num(2), num(3)})));
}

TEST(DictionaryQueries, KeysForObjectsSortingAndPairing) {
  auto map = dict({{str("a"), num(3)}, {str("b"), num(1)}, {str("c"), num(3)}});
  EXPECT_TRUE(map->allKeysForObject(num(3))->isEqualToArray(*arr({str("a"), str("c")})));
  auto sorted = map->keysSortedByValueUsingComparator([](const Id& x, const Id& y) { return compareSelector(*x, *y); });
  EXPECT_TRUE(sorted->isEqualToArray(*arr({str("b"), str("a"), str("c")})));
  auto marker = Null::null();
  EXPECT_TRUE(map->objectsForKeys(*arr({str("b"), str("zz")}), marker)->isEqualToArray(*arr({num(1), marker})));
  auto paired = Dictionary::dictionaryWithObjects(*arr({num(1), num(2), num(3)}), *arr({str("x"), str("y")}));
  EXPECT_EQ(paired->count(), 2u);
  EXPECT_TRUE(isEqual(paired->objectForKey("y"), num(2)));
}
