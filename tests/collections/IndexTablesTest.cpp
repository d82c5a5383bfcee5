#include <gtest/gtest.h>

#include <random>
#include <set>
#include <string>
#include <vector>

#include "fuzz/support/RangeMapModel.h"
#include "tests/collections/IntegerCollectionsTestSupport.h"
#include "tests/support/RaisedException.h"
#include "tq/collections/IndexSetExtensions.h"
#include "tq/collections/IntegerPairText.h"
#include "tq/collections/TQCountedArray.h"
#include "tq/collections/TQIndexMapTable.h"
#include "tq/collections/TQIndexSetTable.h"
#include "tq/collections/TQIntegerSet.h"
#include "tq/collections/TQRangeMap.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

std::vector<std::string> described(const Ref<Array>& maps) {
  std::vector<std::string> texts;
  for (const Id& map : *maps) texts.push_back(map->description()->utf8());
  return texts;
}

std::vector<std::string> rangeMaps(const char* source, const char* destination) {
  return described(TQRangeMap::rangeMapsFromIndexes(*Corvina::tq_indexSetWithWithUTF8String(source),
                                                    *Corvina::tq_indexSetWithWithUTF8String(destination)));
}

using Texts = std::vector<std::string>;

TEST(RangeMaps, GroupRunsAndBalanceFromTheLastMap) {
  EXPECT_EQ(rangeMaps("", ""), Texts{});
  EXPECT_EQ(rangeMaps("2,3", "3"), Texts{"{2-3} --> {3-3}"});
  EXPECT_EQ(rangeMaps("1", "5"), Texts{"{1-1} --> {5-5}"});
  EXPECT_EQ(rangeMaps("1,2,4,5", "1,2,4,5"), (Texts{"{1-2} --> {1-2}", "{4-5} --> {4-5}"}));
  // Both sides with two runs or more: leading pairs split off while both
  // sides keep two runs, so the last map holds what is left.
  EXPECT_EQ(rangeMaps("1,3,5", "2,4"), (Texts{"{1-1} --> {2-2}", "{3-3},{5-5} --> {4-4}"}));
  EXPECT_EQ(rangeMaps("1,3,5,7", "2,4,6"), (Texts{"{1-1} --> {2-2}", "{3-3} --> {4-4}", "{5-5},{7-7} --> {6-6}"}));
}

TEST(RangeMaps, TheStepForAPreviousMapWithoutSourcesMixesTheSets) {
  // The map of 3 ... 5 has sources {3, 5} and destinations {3, 4}; the map of
  // 1 before it has no sources. It receives the last destination run {3-4}
  // as its sources, and that run is taken out of the current map's sources.
  EXPECT_EQ(rangeMaps("3,5", "1,3,4"), (Texts{"{3-4} --> {1-1}", "{5-5} --> {3-4}"}));
}

TEST(RangeMaps, AgreeWithThePlainModelOnRandomSmallSets) {
  std::mt19937 random(12);
  for (int round = 0; round < 500; ++round) {
    model::Indexes S, D;
    auto source = MutableIndexSet::indexSet(), destination = MutableIndexSet::indexSet();
    int span = 4 + round % 20;
    for (int i = 0; i < span; ++i) {
      unsigned bits = random() % 4;
      if (bits & 1) S.insert(i), source->addIndex(i);
      if (bits & 2) D.insert(i), destination->addIndex(i);
    }
    ASSERT_EQ(described(TQRangeMap::rangeMapsFromIndexes(*source, *destination)), model::rangeMaps(S, D))
        << Corvina::tq_stringList(*source)->utf8() << " / " << Corvina::tq_stringList(*destination)->utf8();
  }
}

TEST(RangeMaps, DescriptionWritesMissingSetsAsEmpty) {
  TQRangeMap map;
  EXPECT_EQ(map.description()->utf8(), "{} --> {}");
  map.addSrcIndex(4);
  map.addSrcIndex(5);
  map.addDstIndex(9);
  EXPECT_EQ(map.description()->utf8(), "{4-5} --> {9-9}");
}

TEST(IndexMapTable, ReadsAndWritesEntriesWithoutMeaningZeroForAbsent) {
  TQIndexMapTable table;
  EXPECT_EQ(table.integerForKey(4), 0);
  EXPECT_EQ(table.debugRepresentation()->utf8(), "");
  table.setInteger(5, 1);
  table.setInteger(7, 3);
  table.setInteger(-2, 9);
  table.removeIntegerKey(9);
  table.removeIntegerKey(10);
  EXPECT_EQ(table.integerForKey(3), 7);
  EXPECT_EQ(table.count(), 2u);
  EXPECT_EQ(table.debugRepresentation()->utf8(), "(2)[ 1:5 3:7]");
  EXPECT_EQ(table.keysIndexSet()->allIndexes(), (std::vector<Index>{1, 3}));
  EXPECT_EQ(table.valuesIndexSet()->allIndexes(), (std::vector<Index>{5, 7}));
  EXPECT_EQ(table.allValues()->stringList()->utf8(), "5,7");

  TQIndexMapTable other;
  other.setInteger(70, 3);
  other.setInteger(-1, -4);
  table.addEntriesFromIndexMapTable(other);
  EXPECT_EQ(table.debugRepresentation()->utf8(), "(3)[ 1:5 3:70 -4:-1]");
  EXPECT_EQ(table.allKeys()->stringList()->utf8(), "1,3,18446744073709551612");
  auto copy = std::static_pointer_cast<TQIndexMapTable>(table.copy());
  table.flush();
  EXPECT_EQ(copy->count(), 3u);
  EXPECT_EQ(table.count(), 0u);
}

TEST(IndexMapTable, DictionaryRepresentationRoundTripsAndSkipsWhatItCannotRead) {
  TQIndexMapTable table;
  table.setInteger(-9223372036854775807 - 1, 9223372036854775807);
  table.setInteger(0, -3);
  auto representation = table.dictionaryRepresentation();
  EXPECT_EQ(describeUTF8(representation->objectForKey("TQIntegerMap")),
            Array({str("9223372036854775807:-9223372036854775808"), str("-3:0")}).description()->utf8());
  auto back = TQIndexMapTable::initWithDictionaryRepresentation(*representation);
  EXPECT_EQ(back->debugRepresentation()->utf8(), table.debugRepresentation()->utf8());

  auto list = Array::arrayWithObjects(
      {str("1:2"), str(" 3:4"), str("5:+6"), str("7:"), str(":8"), str("9:10:11"), str("1:3"), num(4),
       str("99999999999999999999:1"), str("-:1")});
  auto read = TQIndexMapTable::initWithDictionaryRepresentation(Dictionary{{str("TQIntegerMap"), list}});
  EXPECT_EQ(read->debugRepresentation()->utf8(), "(1)[ 1:3]");
}

TEST(IndexMapTable, ARepresentationWithoutItsListFailsTheAssertion) {
  TQ_REQUIRE_ASSERTIONS();
  testing::RecordedAssertions assertions;
  auto table = TQIndexMapTable::initWithDictionaryRepresentation(Dictionary());
  ASSERT_EQ(assertions.failures.size(), 1u);
  EXPECT_EQ(assertions.failures[0].description, "Incorrect representation");
  EXPECT_EQ(assertions.failures[0].file, "TQIndexMapTable");
  EXPECT_EQ(assertions.failures[0].line, 127);
  EXPECT_EQ(table->count(), 0u);
}

TEST(IntegerPairText, SplitsExactlyKeyColonValue) {
  std::int64_t key = 42, value = 42;
  EXPECT_TRUE(TQFoundation::splitIntoIntegerKey(String("-5:12"), &key, &value));
  EXPECT_EQ(key, -5);
  EXPECT_EQ(value, 12);
  for (const char* bad : {"", ":", "5", "5:", "a:1", "1:2 ", "1 :2", "0x1:2", "9223372036854775808:0"}) {
    EXPECT_FALSE(TQFoundation::splitIntoIntegerKey(String(bad), &key, &value)) << bad;
  }
  EXPECT_EQ(key, -5);
}

TEST(IndexSetTable, StoresSetsUnderUnsignedKeys) {
  auto table = make<TQMutableIndexSetTable>();
  table->addIndex(3, 10);
  table->addIndex(4, 10);
  table->setObject(IndexSet::indexSetWithIndex(1), 11);
  EXPECT_EQ(Corvina::tq_stringList(*table->indexSetForKey(10))->utf8(), "3,4");
  EXPECT_EQ(table->indexSetForKey(12), nullptr);
  EXPECT_EQ(testing::raisedBy([&] { table->addIndex(2, 11); }).name(), ExceptionName::UnrecognizedMessage);
  auto frozen = std::static_pointer_cast<TQIndexSetTable>(table->copy());
  table->setObjectForKeyedSubscript(nullptr, num(10u));
  table->removeObjectForInteger(11);
  EXPECT_EQ(table->count(), 0u);
  EXPECT_EQ(frozen->className(), "TQIndexSetTable");
  std::vector<std::uint64_t> keys;
  frozen->enumerateIntegersAndIndexSetsUsingBlock([&](std::uint64_t key, const Ref<IndexSet>&, bool*) { keys.push_back(key); });
  EXPECT_EQ(keys, (std::vector<std::uint64_t>{10, 11}));
  EXPECT_EQ(testing::afterAddress(table->debugDescription()), "> 0 entries");
}

TEST(IndexSetTable, SubscriptAssertsOnceOnAKeyThatIsNoNumber) {
  TQ_REQUIRE_ASSERTIONS();
  TQIndexSetTable table;
  testing::RecordedAssertions assertions;
  EXPECT_EQ(table.objectForKeyedSubscript(str("a")), nullptr);
  ASSERT_EQ(assertions.failures.size(), 1u);
  EXPECT_EQ(assertions.failures[0].file, "TQIndexSetTable");
  EXPECT_EQ(assertions.failures[0].line, 17);
}

TEST(CountedArray, KeepsAnObjectListedUntilItsLastUseGoes) {
  TQCountedArray counted;
  EXPECT_EQ(counted.array()->count(), 0u);
  counted.addObject(str("a"));
  counted.addObject(str("b"));
  counted.addObject(str("a"));
  EXPECT_EQ(counted.array()->description()->utf8(), Array({str("a"), str("b")}).description()->utf8());
  EXPECT_EQ(counted.countOfObject(str("a")), 2u);
  EXPECT_EQ(counted.countOfObject(str("z")), 0u);
  counted.removeObject(str("a"));
  EXPECT_EQ(counted.array()->count(), 2u);
  counted.removeObject(str("a"));
  EXPECT_EQ(counted.array()->description()->utf8(), Array({str("b")}).description()->utf8());

  counted.addObject(str("c"));
  counted.addObject(str("a"));
  counted.reorderObjectsUsingComparator([](const Id& x, const Id& y) {
    return std::static_pointer_cast<String>(x)->compare(*std::static_pointer_cast<String>(y));
  });
  std::string walked;
  counted.enumerateObjectsUsingBlock([&](const Id& object, Index index, Index count, bool*) {
    walked += describeUTF8(object) + std::to_string(index) + std::to_string(count) + " ";
  });
  EXPECT_EQ(walked, "a01 b11 c21 ");
}

}  // namespace
}  // namespace tq
