// The change set of a dictionary brought up to date from entries read from a
// file: what it records, what it changes in place, and the removals it keeps
// quiet about.

#include <gtest/gtest.h>

#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"
#include "tq/settings/DictionaryChangeSet.h"

namespace tq {
namespace {

using TQFoundation::changesForUpdatingDictionaryWithEntries;

Ref<MutableDictionary> mutableDict(std::initializer_list<Dictionary::Entry> entries) {
  return MutableDictionary::dictionaryWithDictionary(*dict(entries));
}

TEST(DictionaryChangeSetTest, NilEntriesChangeNothing) {
  auto receiver = mutableDict({{str("a"), num(1)}});
  auto changes = changesForUpdatingDictionaryWithEntries(*receiver, nullptr);
  EXPECT_EQ(changes->count(), 0u);
  EXPECT_TRUE(receiver->isEqual(*dict({{str("a"), num(1)}})));
}

TEST(DictionaryChangeSetTest, RecordsChangedAndAddedKeysAndTakesTheirValues) {
  auto receiver = mutableDict({{str("same"), num(1)}, {str("changed"), str("old")}});
  auto entries = dict({{str("same"), num(1)}, {str("changed"), str("new")}, {str("added"), num(true)}});
  auto changes = changesForUpdatingDictionaryWithEntries(*receiver, entries.get());
  EXPECT_TRUE(changes->isEqual(*dict({{str("changed"), str("new")}, {str("added"), num(true)}})));
  EXPECT_TRUE(receiver->isEqual(*entries));
  EXPECT_EQ(cast<MutableDictionary>(Id(changes)), nullptr) << "the answer is an immutable copy";
}

TEST(DictionaryChangeSetTest, RemovedKeysLeaveTheReceiverButNotTheChangeSet) {
  auto receiver = mutableDict({{str("kept"), num(1)}, {str("removed"), num(2)}});
  auto changes = changesForUpdatingDictionaryWithEntries(*receiver, dict({{str("kept"), num(1)}}).get());
  EXPECT_EQ(changes->count(), 0u) << "a removal has no value to record";
  EXPECT_EQ(receiver->objectForKey("removed"), nullptr);
  EXPECT_EQ(receiver->count(), 1u);
}

TEST(DictionaryChangeSetTest, NestedMutableDictionariesAreUpdatedInPlaceUnderDottedKeys) {
  auto inner = mutableDict({{str("x"), num(1)}, {str("deep"), mutableDict({{str("y"), num(2)}})}});
  auto receiver = mutableDict({{str("outer"), inner}});
  auto entries = dict({{str("outer"), dict({{str("x"), num(5)}, {str("deep"), dict({{str("y"), num(3)}})}})}});
  auto changes = changesForUpdatingDictionaryWithEntries(*receiver, entries.get());
  EXPECT_TRUE(changes->isEqual(*dict({{str("outer.x"), num(5)}, {str("outer.deep.y"), num(3)}})));
  EXPECT_EQ(receiver->objectForKey("outer").get(), inner.get()) << "the nested dictionary itself was updated";
  EXPECT_TRUE(inner->objectForKey("x")->isEqual(*num(5)));
}

TEST(DictionaryChangeSetTest, ImmutableOrNonDictionaryValuesAreReplacedWhole) {
  auto frozen = dict({{str("x"), num(1)}});
  auto receiver = mutableDict({{str("frozen"), frozen}, {str("scalar"), num(1)}});
  auto entries = dict({{str("frozen"), dict({{str("x"), num(2)}})}, {str("scalar"), dict({{str("x"), num(2)}})}});
  auto changes = changesForUpdatingDictionaryWithEntries(*receiver, entries.get());
  EXPECT_TRUE(changes->isEqual(*entries));
  EXPECT_NE(receiver->objectForKey("frozen").get(), frozen.get());
}

}  // namespace
}  // namespace tq
