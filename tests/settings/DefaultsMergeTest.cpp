// Merging a batch of new values into the file's latest contents (the list of
// changed keys, dotted keys into stored dictionaries, removals, the change
// log), and the change set of contents brought up to date from the file.

#include <gtest/gtest.h>

#include "tests/settings/SettingsTestSupport.h"
#include "tq/platform/value/Color.h"
#include "tq/settings/DictionaryChangeSet.h"

namespace tq {
namespace {

using testing::PlatformLogRecorder;

Ref<MutableDictionary> mutableDict(std::initializer_list<Dictionary::Entry> entries) {
  return MutableDictionary::dictionaryWithDictionary(*dict(entries));
}

std::vector<std::string> keysOf(const Ref<Array>& keys) {
  std::vector<std::string> names;
  for (const auto& key : keys->storage()) names.push_back(key->description()->utf8());
  return names;
}

Ref<Array> merge(const Ref<Dictionary>& fromFile, const Ref<MutableDictionary>& contents,
                 const Ref<Dictionary>& batch) {
  return _TQDefaultsFileManager::_updateChanges(*fromFile, *contents, *batch);
}

TEST(DefaultsMergeTest, ChangedKeysStartWithTheFilesOwnChangesAndEndWithTheBatchInReverse) {
  auto contents = mutableDict({{str("a"), num(1)}, {str("b"), num(2)}});
  auto keys = merge(dict({{str("fromOther"), num(1)}, {str("b"), num(9)}}), contents,
                    dict({{str("a"), num(5)}, {str("b"), num(2)}, {str("c"), num(3)}}));
  // "b" was changed by the other process but this batch sets it to what the
  // file holds: it leaves the list and does not come back.
  EXPECT_EQ(keysOf(keys), (std::vector<std::string>{"fromOther", "c", "a"}));
  EXPECT_TRUE(contents->isEqual(*dict({{str("a"), num(5)}, {str("b"), num(2)}, {str("c"), num(3)}})));
}

TEST(DefaultsMergeTest, TheNullMarkerRemovesAndRemovingAnAbsentKeyStillCounts) {
  auto contents = mutableDict({{str("a"), num(1)}});
  auto keys = merge(Dictionary::dictionary(), contents, dict({{str("a"), Null::null()}, {str("never"), Null::null()}}));
  EXPECT_EQ(keysOf(keys), (std::vector<std::string>{"never", "a"}));
  EXPECT_EQ(contents->count(), 0u);
}

TEST(DefaultsMergeTest, ADottedKeyChangesOneEntryOfAStoredDictionary) {
  auto window = mutableDict({{str("width"), num(100)}, {str("height"), num(50)}});
  auto contents = mutableDict({{str("window"), window}});
  auto keys = merge(Dictionary::dictionary(), contents,
                    dict({{str("window.width"), num(200)}, {str("window.height"), Null::null()}}));
  EXPECT_EQ(keysOf(keys), (std::vector<std::string>{"window.height", "window.width"}));
  EXPECT_TRUE(window->isEqual(*dict({{str("width"), num(200)}})));
  EXPECT_EQ(contents->objectForKey("window.width"), nullptr) << "no flat key is made beside the dictionary";

  // The same value again is no change.
  EXPECT_EQ(merge(Dictionary::dictionary(), contents, dict({{str("window.width"), num(200)}}))->count(), 0u);
}

TEST(DefaultsMergeTest, ADottedKeyWithoutAContainerIsAPlainKeyAndOneIntoAFixedValueIsDropped) {
  auto contents = mutableDict({{str("frozen"), dict({{str("x"), num(1)}})}, {str("scalar"), num(3)}});
  auto keys = merge(Dictionary::dictionary(), contents,
                    dict({{str("loose.key"), num(1)}, {str("frozen.x"), num(2)}, {str("scalar.x"), num(2)}}));
  EXPECT_EQ(keysOf(keys), (std::vector<std::string>{"loose.key"}));
  EXPECT_TRUE(contents->objectForKey("loose.key")->isEqual(*num(1)));
  EXPECT_TRUE(contents->objectForKey("frozen")->isEqual(*dict({{str("x"), num(1)}})));
  EXPECT_TRUE(contents->objectForKey("scalar")->isEqual(*num(3)));
}

TEST(DefaultsMergeTest, ColoursAreStoredAsTheirTextForm) {
  auto contents = mutableDict({});
  merge(Dictionary::dictionary(), contents, dict({{str("tint"), Color::colorWithDeviceRed(1, 0.5, 0, 0.5)}}));
  EXPECT_TRUE(contents->objectForKey("tint")->isEqual(*str("255 127 0 50")));
}

TEST(DefaultsMergeTest, LogPreferenceChangesWritesEachPlainChangeToThePlatformLog) {
  PlatformLogRecorder log;
  auto contents = mutableDict({{str("logPreferenceChanges"), num(true)}, {str("box"), mutableDict({})}});
  merge(Dictionary::dictionary(), contents, dict({{str("answer"), num(42)}, {str("box.inner"), num(1)}}));
  EXPECT_EQ(PlatformLogRecorder::messages(),
            (std::vector<std::string>{"[logPreferenceChanges] default changed answer 42"}));

  PlatformLogRecorder quiet;
  auto silent = mutableDict({{str("logPreferenceChanges"), num(false)}});
  merge(Dictionary::dictionary(), silent, dict({{str("answer"), num(42)}}));
  EXPECT_TRUE(PlatformLogRecorder::messages().empty());
}

using TQFoundation::changesForUpdatingDictionaryWithEntries;

TEST(DictionaryChangeSetTest, RecordsChangedAndAddedKeysButNotRemovals) {
  auto receiver = mutableDict({{str("same"), num(1)}, {str("changed"), str("old")}, {str("removed"), num(2)}});
  auto entries = dict({{str("same"), num(1)}, {str("changed"), str("new")}, {str("added"), num(true)}});
  auto changes = changesForUpdatingDictionaryWithEntries(*receiver, entries.get());
  EXPECT_TRUE(changes->isEqual(*dict({{str("changed"), str("new")}, {str("added"), num(true)}})))
      << "a removal has no value to record";
  EXPECT_TRUE(receiver->isEqual(*entries));
  EXPECT_EQ(cast<MutableDictionary>(Id(changes)), nullptr) << "the answer is an immutable copy";

  EXPECT_EQ(changesForUpdatingDictionaryWithEntries(*receiver, nullptr)->count(), 0u);
  EXPECT_TRUE(receiver->isEqual(*entries)) << "nil entries change nothing";
}

TEST(DictionaryChangeSetTest, NestedMutableDictionariesAreUpdatedInPlaceOthersReplacedWhole) {
  auto inner = mutableDict({{str("x"), num(1)}, {str("deep"), mutableDict({{str("y"), num(2)}})}});
  auto frozen = dict({{str("x"), num(1)}});
  auto receiver = mutableDict({{str("outer"), inner}, {str("frozen"), frozen}, {str("scalar"), num(1)}});
  auto entries = dict({{str("outer"), dict({{str("x"), num(5)}, {str("deep"), dict({{str("y"), num(3)}})}})},
                       {str("frozen"), dict({{str("x"), num(2)}})},
                       {str("scalar"), dict({{str("x"), num(2)}})}});
  auto changes = changesForUpdatingDictionaryWithEntries(*receiver, entries.get());
  EXPECT_TRUE(changes->isEqual(*dict({{str("outer.x"), num(5)},
                                      {str("outer.deep.y"), num(3)},
                                      {str("frozen"), dict({{str("x"), num(2)}})},
                                      {str("scalar"), dict({{str("x"), num(2)}})}})));
  EXPECT_EQ(receiver->objectForKey("outer").get(), inner.get()) << "the nested dictionary itself was updated";
  EXPECT_TRUE(inner->objectForKey("x")->isEqual(*num(5)));
  EXPECT_NE(receiver->objectForKey("frozen").get(), frozen.get()) << "an immutable one is replaced";
}

}  // namespace
}  // namespace tq
