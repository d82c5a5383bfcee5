// The defaults file manager in one process: the 5-second cache, pending
// writes laid over reads, batches flushed on the main run loop, changes read
// from the file and announced, and failures that lose nothing.

#include <gtest/gtest.h>

#include <thread>

#include "tests/settings/SettingsTestSupport.h"
#include "tests/support/Eventually.h"
#include "tq/platform/collection/KeyValueObserving.h"
#include "tq/platform/system/FileChangeSource.h"

namespace tq {
namespace {

using testing::PlatformLogRecorder;
using testing::SettingsTest;
using testing::TestStore;

using TQDefaultsFileManagerTest = SettingsTest;

TEST_F(TQDefaultsFileManagerTest, ReadsComeFromMemoryForFiveSecondsThenFromTheFile) {
  auto store = makeStore();
  store->setInteger(1, "level");
  writeFile(dict({{str("level"), num(2)}, {str("defaultVersions"), dict({})}}));
  auto servedBefore = _TQDefaultsFileManager::cachedReadCount();
  EXPECT_EQ(store->integerForKey("level"), 1);
  EXPECT_EQ(_TQDefaultsFileManager::cachedReadCount(), servedBefore + 1);

  auto observer = make<testing::Announcements>();
  addObserver(store, observer, *str("level"), KeyValueObservingOptions::Prior, nullptr);
  expireCache();
  EXPECT_EQ(store->integerForKey("level"), 2);
  EXPECT_EQ(_TQDefaultsFileManager::cachedReadCount(), 0u) << "a disk read starts the count again";
  EXPECT_EQ(observer->heard, (std::vector<std::string>{"will level", "did level"}));
  removeObserver(store, observer, *str("level"));

  writeFile(dict({{str("level"), num(3)}}));
  EXPECT_EQ(store->integerForKey("level"), 2);
  store->refresh();
  EXPECT_EQ(store->integerForKey("level"), 3) << "refresh sends the next read to the disk";
}

TEST_F(TQDefaultsFileManagerTest, WritesFromOtherThreadsWaitAsOneBatchForTheMainRunLoop) {
  auto store = makeStore();
  std::thread writer([&] {
    store->setInteger(1, "first");
    store->setInteger(2, "second");
    store->removeDefaultForKey("first");
  });
  writer.join();
  auto manager = store->_manager_();
  EXPECT_EQ(manager->_pendingChanges_()->count(), 2u);
  EXPECT_EQ(fileContents()->objectForKey("second"), nullptr) << "not flushed yet";
  EXPECT_EQ(store->integerForKey("second"), 2) << "pending values are laid over reads";
  EXPECT_EQ(store->defaultForKey("first"), nullptr) << "a pending removal hides the key";

  store->notified.clear();
  RunLoop::main().drain();
  EXPECT_TRUE(fileContents()->objectForKey("second")->isEqual(*num(2)));
  EXPECT_EQ(manager->_pendingChanges_()->count(), 0u);
  ASSERT_EQ(store->notified.size(), 1u) << "one flush for the batch";
  auto keys = cast<Array>(store->notified[0]);
  ASSERT_NE(keys, nullptr);
  EXPECT_TRUE(keys->containsObject(str("second")));
  EXPECT_TRUE(keys->containsObject(str("first")));
}

// A read within the cache finds one value without copying the contents; it
// must still answer what a lookup by key path in the laid-over contents
// answers: a pending value replaces a whole top-level entry, and a pending
// dotted key is an entry of its own until the flush merges it.
TEST_F(TQDefaultsFileManagerTest, ReadsByKeyPathSeePendingValuesAsTopLevelEntries) {
  writeFile(dict({{str("colours"), dict({{str("accent"), str("blue")}})},
                  {str("gone"), str("stored")},
                  {str("defaultVersions"), dict({})}}));
  auto store = makeStore();
  ASSERT_TRUE(store->defaultForKey("gone"));
  std::thread writer([&] {
    store->removeDefaultForKey("gone");
    store->setDictionary(dict({{str("accent"), str("green")}}), "palette");
    store->setString(str("red"), "colours.accent");
  });
  writer.join();
  ASSERT_EQ(store->_manager_()->_pendingChanges_()->count(), 3u) << "still pending";
  EXPECT_EQ(store->defaultForKey("gone"), nullptr) << "a pending removal hides the stored value";
  EXPECT_TRUE(store->stringForKey("palette.accent") && store->stringForKey("palette.accent")->isEqualToString("green"))
      << "a path runs on into a pending dictionary";
  EXPECT_TRUE(store->stringForKey("colours.accent") && store->stringForKey("colours.accent")->isEqualToString("blue"))
      << "a pending dotted key is not yet an entry of the stored dictionary";
  EXPECT_EQ(store->defaultForKey("colours.missing"), nullptr);

  RunLoop::main().drain();
  EXPECT_TRUE(store->stringForKey("colours.accent") && store->stringForKey("colours.accent")->isEqualToString("red"))
      << "the flush merged it into the stored dictionary";
  EXPECT_EQ(store->defaultForKey("gone"), nullptr);
}

TEST_F(TQDefaultsFileManagerTest, AWriteOnTheMainThreadIsFlushedAtOnceAndMergedIntoTheLatestFile) {
  auto store = makeStore();
  writeFile(dict({{str("fromOther"), str("kept")}, {str("defaultVersions"), dict({})}}));
  store->setString(str("mine"), "own");
  auto contents = fileContents();
  EXPECT_TRUE(contents->objectForKey("own")->isEqual(*str("mine")));
  EXPECT_TRUE(contents->objectForKey("fromOther")->isEqual(*str("kept"))) << "merged, not overwritten";
}

TEST_F(TQDefaultsFileManagerTest, ADottedKeyChangesADictionaryThisProcessStoredAndNotTheCallersOwn) {
  auto store = makeStore();
  store->setDictionary(dict({{str("width"), num(100)}}), "window");
  auto callers = MutableDictionary::dictionaryWithDictionary(*dict({{str("x"), num(1)}}));
  store->setDictionary(callers, "origin");
  store->setInteger(200, "window.width");
  store->setInteger(5, "origin.x");
  auto contents = fileContents();
  ASSERT_NE(contents, nullptr);
  EXPECT_TRUE(contents->objectForKey("window")->isEqual(*dict({{str("width"), num(200)}})));
  EXPECT_TRUE(contents->objectForKey("origin")->isEqual(*dict({{str("x"), num(5)}})));
  EXPECT_TRUE(callers->isEqual(*dict({{str("x"), num(1)}}))) << "the caller's dictionary was changed";
}

TEST_F(TQDefaultsFileManagerTest, AnotherProcesssChangeIsAnnouncedButItsRemovalsAreNot) {
  auto store = makeStore();
  store->setInteger(1, "gone");
  auto observer = make<testing::Announcements>();
  addObserver(store, observer, *str("changed"), KeyValueObservingOptions::Prior, nullptr);
  store->notified.clear();

  writeFile(dict({{str("changed"), num(7)}, {str("defaultVersions"), dict({})}}));
  store->_manager_()->defaultsWereExternallyChanged();
  EXPECT_EQ(observer->heard, (std::vector<std::string>{"will changed", "did changed"}));
  ASSERT_EQ(store->notified.size(), 1u);
  EXPECT_TRUE(store->notified[0]->isEqual(*dict({{str("changed"), num(7)}})));
  EXPECT_EQ(store->defaultForKey("gone"), nullptr) << "the removal is applied, though not announced";

  store->notified.clear();
  store->_manager_()->defaultsWereExternallyChanged();
  EXPECT_TRUE(store->notified.empty()) << "nothing new, nothing announced";
  removeObserver(store, observer, *str("changed"));
}

// A file system that refuses to replace files, as a full disk does.
class RefusingWrites : public FileSystem {
 public:
  bool writeFileAtomically(const std::string&, std::string_view, std::error_code* error) const override {
    if (error) *error = std::make_error_code(std::errc::no_space_on_device);
    return false;
  }
};

TEST_F(TQDefaultsFileManagerTest, AFailedWriteIsReportedAndItsChangesStayPendingUntilTheNextFlush) {
  auto store = makeStore();
  PlatformLogRecorder log;
  {
    ScopedFileSystem full(std::make_shared<RefusingWrites>());
    store->setInteger(5, "kept");
  }
  ASSERT_EQ(PlatformLogRecorder::messages().size(), 1u);
  EXPECT_EQ(PlatformLogRecorder::messages()[0],
            "Error writing the defaults data to: \u2018file://" + folder.file("Defaults.plist") + "\u2019.");
  EXPECT_EQ(store->integerForKey("kept"), 5) << "still visible in this process";
  EXPECT_EQ(fileContents()->objectForKey("kept"), nullptr);

  store->setInteger(6, "next");
  EXPECT_TRUE(fileContents()->objectForKey("kept")->isEqual(*num(5)));
  EXPECT_TRUE(fileContents()->objectForKey("next")->isEqual(*num(6)));
}

TEST_F(TQDefaultsFileManagerTest, AFileWithNoContentsRefusesTheFlushAndKeepsTheChangesPending) {
  PlatformLogRecorder log;
  auto manager = _TQDefaultsFileManager::initWithPathToDefaults(*str(folder.file("Empty.plist")));
  manager->_updateDefaults(dict({{str("key"), num(1)}}));
  EXPECT_EQ(PlatformLogRecorder::messages(), (std::vector<std::string>{"Defaults is empty -- this should not happen"}));
  EXPECT_EQ(manager->_pendingChanges_()->count(), 1u);
  EXPECT_FALSE(std::filesystem::exists(folder.file("Empty.plist")));
}

TEST_F(TQDefaultsFileManagerTest, AFolderThatCannotBeMadeIsReportedAndTheManagerGoesOn) {
  PlatformLogRecorder log;
  ASSERT_TRUE(FileSystem::system()->writeFileAtomically(folder.file("plain"), "not a folder"));
  auto manager = _TQDefaultsFileManager::initWithPathToDefaults(*str(folder.file("plain/sub/Defaults.plist")));
  ASSERT_NE(manager, nullptr);
  ASSERT_FALSE(PlatformLogRecorder::messages().empty());
  EXPECT_EQ(PlatformLogRecorder::messages()[0],
            "Error creating the defaults folder location: \u2018" + folder.file("plain/sub") + "\u2019.");
  EXPECT_EQ(manager->defaultsDictionary()->count(), 0u);
}

TEST_F(TQDefaultsFileManagerTest, CoordinationThatCannotBeHadIsReportedAndNothingIsLost) {
  auto store = makeStore();
  store->setInteger(1, "before");
  auto manager = store->_manager_();
  std::filesystem::remove_all(folder.path());  // no folder: no lock file can be made
  PlatformLogRecorder log;
  expireCache();
  EXPECT_EQ(store->integerForKey("before"), 1) << "the contents read before stay usable";
  store->setInteger(2, "after");
  manager->_writeDefaultsToFile(*dict({{str("whole"), num(1)}}));
  const auto& messages = PlatformLogRecorder::messages();
  const std::string file = folder.file("Defaults.plist");
  ASSERT_GE(messages.size(), 3u);
  EXPECT_EQ(messages[0], "Error coordinating the reading of the defaults file at \u2018" + file + "\u2019.");
  EXPECT_EQ(messages[1].rfind("There was an error with the update file coordination: \u2018", 0), 0u) << messages[1];
  EXPECT_EQ(messages.back(), "Error coordinating the writing of the defaults file at \u2018" + file + "\u2019.");
  EXPECT_EQ(store->integerForKey("after"), 2) << "the failed batch stays pending";

  std::filesystem::create_directories(folder.path());
  store->setInteger(3, "later");
  EXPECT_TRUE(fileContents()->objectForKey("after")->isEqual(*num(2)));
}

// The change stream under the test's control: events handed over by hand,
// and a clock that moves only when told.
class ScriptedEventsTest : public SettingsTest {
 protected:
  /// Moves time on and drains the main run loop until `heard` holds.
  bool waitUntil(const std::function<bool()>& heard) {
    return testing::eventually(
        [&] {
          monotonic->advance(std::chrono::milliseconds(500));
          RunLoop::main().drain();
          return heard();
        },
        20.0, std::chrono::milliseconds(5));
  }
  void inject(std::vector<FileChange> changes) { source->inject(folder.path(), changes); }

  std::shared_ptr<ManualFileChangeSource> source = std::make_shared<ManualFileChangeSource>();
  ScopedFileChangeSource events{source};
  std::shared_ptr<ManualClock> monotonic = std::make_shared<ManualClock>();
  ScopedClock<MonotonicClock> streamClock{monotonic};
};

TEST_F(ScriptedEventsTest, AnOverflowOfTheKernelQueueMakesEveryManagerOfTheFolderReadAgain) {
  auto store = makeStore();
  auto other = makeStore("Other.plist");
  ASSERT_EQ(source->watchCount(folder.path()), 2u);
  store->notified.clear();
  other->notified.clear();

  writeFile(dict({{str("changed"), num(1)}, {str("defaultVersions"), dict({})}}));
  writeFile(dict({{str("changedToo"), num(2)}, {str("defaultVersions"), dict({})}}), "Other.plist");
  inject({FileChange{FileChange::Kind::Overflow, "", false}});
  EXPECT_TRUE(waitUntil([&] { return !store->notified.empty() && !other->notified.empty(); }));
  EXPECT_TRUE(store->notified[0]->isEqual(*dict({{str("changed"), num(1)}})));
  EXPECT_TRUE(other->notified[0]->isEqual(*dict({{str("changedToo"), num(2)}})));
}

TEST_F(ScriptedEventsTest, AnEventOnTheFileReachesItsManagerAfterTheLatencyAndOthersAreIgnored) {
  auto store = makeStore();
  store->notified.clear();
  writeFile(dict({{str("remote"), num(7)}, {str("defaultVersions"), dict({})}}));
  inject({FileChange{FileChange::Kind::MovedTo, "unrelated.txt", false},
          FileChange{FileChange::Kind::MovedTo, "Defaults.plist", false}});
  RunLoop::main().drain();
  EXPECT_TRUE(store->notified.empty()) << "nothing before the latency has passed";
  EXPECT_TRUE(waitUntil([&] { return !store->notified.empty(); }));
  EXPECT_TRUE(store->notified[0]->isEqual(*dict({{str("remote"), num(7)}})));
}

}  // namespace
}  // namespace tq
