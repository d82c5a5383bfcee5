// The folder watcher: its configuration, start refusals, log lines and
// delivery, through the change-source and clock seams; and for real, a tree
// whose folders come and go.

#include "tq/system/TQFolderWatcher.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <set>

#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/logging/TQLogEntryPoints.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/FileChangeSource.h"
#include "tq/platform/system/FileSystem.h"

namespace tq {
namespace {

using tq::testing::eventually;
namespace fs = std::filesystem;
using Kind = FileChange::Kind;

constexpr double kPatience = 15.0;

struct Batch {
  std::vector<std::string> paths;
  std::uint64_t id = 0;
  bool mustScan = false;
};

// The batches a handler was given, from whatever thread it ran on.
class Batches : public tq::testing::Recorder<Batch> {
 public:
  TQFolderWatcher::FileChangeHandler handlerFor(TQFolderWatcher& watcher) {
    return [this, &watcher](const std::vector<std::string>& paths, std::uint64_t id) {
      (*this)({paths, id, watcher.lastBatchMustScanSubDirs()});
    };
  }
  std::vector<Batch> all() const { return snapshot(); }
  std::set<std::string> paths() const {
    std::set<std::string> seen;
    for (const auto& batch : all()) seen.insert(batch.paths.begin(), batch.paths.end());
    return seen;
  }
  bool waitFor(std::size_t count) const {
    return eventually([&] { return all().size() >= count; }, kPatience);
  }
};

class RecordingFolderDelegate : public TQFolderWatcherDelegate {
 public:
  void folderWatcherNotedChangesToPaths(TQFolderWatcher&, const std::vector<std::string>& paths) override {
    noted(paths);
  }
  tq::testing::Recorder<std::vector<std::string>> noted;
};

// ---- Through the seams -----------------------------------------------------------

class TQFolderWatcherSeamTest : public ::testing::Test {
 protected:
  // Lets the watcher's latency pass once its stream waits on the clock.
  void passLatency() {
    clock_->waitForSleepers(1);
    clock_->advance(std::chrono::milliseconds(1000));
  }
  void inject(const std::string& folder, std::vector<FileChange> changes) {
    ASSERT_EQ(source_->inject(folder, changes), 1u) << folder;
  }
  // A watcher of the root whose batches go to batches_, not yet started.
  Ref<TQFolderWatcher> withHandler(std::uint32_t flags = 25) {
    auto watcher = TQFolderWatcher::initWithDelegate(delegate_, flags, root_);
    watcher->setFileChangeHandler(batches_.handlerFor(*watcher));
    return watcher;
  }

  tq::testing::TemporaryFolder folder_{"folder-watcher"};
  const std::string root_ = folder_.string();
  std::shared_ptr<ManualFileChangeSource> source_ = std::make_shared<ManualFileChangeSource>();
  ScopedFileChangeSource installedSource_{source_};
  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  ScopedClock<MonotonicClock> installedClock_{clock_};
  std::shared_ptr<RecordingFolderDelegate> delegate_ = std::make_shared<RecordingFolderDelegate>();
  Batches batches_;
};

TEST_F(TQFolderWatcherSeamTest, FlagsAlwaysCarryBitOneAndTheQueueHasItsLabel) {
  EXPECT_EQ(TQFolderWatcher::initWithDelegate(delegate_, root_)->streamFlags(), 25u);
  EXPECT_EQ(TQFolderWatcher::initWithDelegate(delegate_, 0, root_)->streamFlags(), 1u);
  EXPECT_EQ(TQFolderWatcher::initWithDelegate(delegate_, 0x10, root_)->streamFlags(), 0x11u);
  auto watcher = TQFolderWatcher::initWithDelegate(delegate_, root_);
  EXPECT_EQ(watcher->callbackQueue()->label(), "org.tqbsekit.folderWatcherQueue");
  EXPECT_EQ(watcher->latestEventId(), 0u) << "no stream yet";
}

TEST_F(TQFolderWatcherSeamTest, StartRefusesNoPathAndAFileButAcceptsAMissingPath) {
  Ref<Error> untouched = Error::withDescription("before", 1, "x");
  Ref<Error> slot = untouched;
  EXPECT_FALSE(TQFolderWatcher::initWithDelegate(delegate_, std::nullopt)->startWatchingWithError(&slot));
  const std::string file = folder_.write("plain.txt", "x").string();
  EXPECT_FALSE(TQFolderWatcher::initWithDelegate(delegate_, file)->startWatchingWithError(&slot));
  EXPECT_EQ(slot, untouched) << "the error slot is never written";
  auto missing = TQFolderWatcher::initWithDelegate(delegate_, root_ + "/not/yet");
  EXPECT_TRUE(missing->startWatchingWithError());
  EXPECT_EQ(source_->watchCount(root_), 1u) << "the nearest existing folder waits for it";
  missing->stopWatching();
}

TEST_F(TQFolderWatcherSeamTest, ARunningWatcherIsNotStartedAgain) {
  auto watcher = TQFolderWatcher::initWithDelegate(delegate_, root_);
  ASSERT_TRUE(watcher->startWatchingWithError());
  ASSERT_TRUE(watcher->startWatchingWithError());
  EXPECT_EQ(source_->watchCount(root_), 1u);
  watcher->stopWatching();
  EXPECT_EQ(source_->watchCount(root_), 0u);
}

TEST_F(TQFolderWatcherSeamTest, TheHandlerTakesPrecedenceOverTheDelegate) {
  auto watcher = withHandler();
  ASSERT_TRUE(watcher->startWatchingWithError());
  const auto before = watcher->latestEventId();
  inject(root_, {{Kind::Created, "a.txt", false}, {Kind::Modified, "a.txt", false}, {Kind::Created, "b", false}});
  passLatency();
  ASSERT_TRUE(batches_.waitFor(1));
  auto batch = batches_.all()[0];
  EXPECT_EQ(std::set<std::string>(batch.paths.begin(), batch.paths.end()),
            (std::set<std::string>{root_ + "/a.txt", root_ + "/b"}))
      << "each path once";
  EXPECT_EQ(batch.paths.size(), 2u);
  EXPECT_GT(batch.id, before);
  EXPECT_EQ(batch.id, watcher->latestEventId());
  EXPECT_FALSE(batch.mustScan);
  EXPECT_EQ(delegate_->noted.snapshot().size(), 0u);

  watcher->setFileChangeHandler(nullptr);
  inject(root_, {{Kind::Deleted, "a.txt", false}});
  passLatency();
  ASSERT_TRUE(eventually([&] { return delegate_->noted.snapshot().size() == 1; }, kPatience));
  EXPECT_EQ(delegate_->noted.snapshot()[0], std::vector<std::string>{root_ + "/a.txt"});
  EXPECT_GT(watcher->latestEventId(), batch.id) << "ids increase";
  watcher->stopWatching();
}

TEST_F(TQFolderWatcherSeamTest, WithoutFileEventsTheFolderOfTheChangeIsReported) {
  fs::create_directory(folder_.path() / "sub");
  auto watcher = withHandler(kFSEventStreamCreateFlagIgnoreSelf);
  ASSERT_TRUE(watcher->startWatchingWithError());
  inject(root_ + "/sub", {{Kind::Created, "x", false}, {Kind::Created, "y", false}});
  inject(root_, {{Kind::Modified, "z", false}});
  passLatency();
  ASSERT_TRUE(batches_.waitFor(1));
  EXPECT_EQ(batches_.paths(), (std::set<std::string>{root_, root_ + "/sub"}));
  watcher->stopWatching();
}

TEST_F(TQFolderWatcherSeamTest, OverflowAndResumingReportTheRootForARescan) {
  auto watcher = withHandler();
  ASSERT_TRUE(watcher->startWatchingSinceEventId(42));
  EXPECT_EQ(watcher->latestEventId(), 42u) << "the id given, until something is delivered";
  passLatency();
  ASSERT_TRUE(batches_.waitFor(1)) << "an id from the past: the kernel keeps no history, so rescan";
  EXPECT_EQ(batches_.all()[0].paths, std::vector<std::string>{root_});
  EXPECT_TRUE(batches_.all()[0].mustScan);

  inject(root_, {{Kind::Created, "seen", false}, {Kind::Overflow, "", false}});
  passLatency();
  ASSERT_TRUE(batches_.waitFor(2));
  auto overflow = batches_.all()[1];
  EXPECT_EQ(std::set<std::string>(overflow.paths.begin(), overflow.paths.end()),
            (std::set<std::string>{root_, root_ + "/seen"}));
  EXPECT_TRUE(overflow.mustScan);
  watcher->stopWatching();
}

TEST_F(TQFolderWatcherSeamTest, StopClearsThePathAndTheIdAndDropsAQueuedBatch) {
  auto watcher = withHandler();
  auto held = DispatchQueue::createSerial("held");
  watcher->setCallbackQueue(held);
  ASSERT_TRUE(watcher->startWatchingWithError());
  std::mutex gate;
  gate.lock();
  held->async([&] { std::lock_guard wait(gate); });  // keeps the batch queued
  inject(root_, {{Kind::Created, "late", false}});
  passLatency();
  // Once the stream waits out a second burst, the first is on the queue. A
  // change that lands while the first burst is being taken joins it instead,
  // so changes keep coming until one opens a burst of its own.
  ASSERT_TRUE(eventually([&] { return clock_->sleepers() == 0; })) << "the first burst's wait never ended";
  for (int attempt = 0; clock_->sleepers() == 0; ++attempt) {
    ASSERT_LT(attempt, 1000) << "no second burst was ever opened";
    inject(root_, {{Kind::Created, "later" + std::to_string(attempt), false}});
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  watcher->stopWatching();
  gate.unlock();
  held->sync([] {});
  EXPECT_TRUE(batches_.all().empty()) << "no handler runs after stop";
  EXPECT_EQ(watcher->latestEventId(), 0u);
  EXPECT_FALSE(watcher->watchedPath());
  EXPECT_FALSE(watcher->startWatchingWithError()) << "a stopped watcher needs a path again";
}

TEST_F(TQFolderWatcherSeamTest, StartAndStopWriteTheirLinesThroughTheLogger) {
  tq::testing::TemporaryFolder logs{"folder-watcher-log"};
  const auto logPath = logs.path() / "pluginConsole.log";
  auto logger = TQLogger::initWithLogFileURL(logPath.string(), {});
  auto application = Application::shared();
  setLogger(*application, logger);
  auto watcher = TQFolderWatcher::initWithDelegate(delegate_, root_);
  ASSERT_TRUE(watcher->startWatchingWithError());
  watcher->stopWatching();
  source_->setFailure("the user's limit of inotify watches is reached (fs.inotify.max_user_watches)");
  watcher->setWatchedPath(root_);
  EXPECT_FALSE(watcher->startWatchingWithError());
  setLogger(*application, nullptr);
  logger->flush();
  std::ifstream file(logPath);
  std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  const std::string start = "[TQS_TQFolderWatcher] -[TQFolderWatcher startWatchingSinceEventId:error:]:";
  EXPECT_NE(text.find(start + "79\n\t\tstarting up Sync Folder Watcher for Path: " + root_), std::string::npos) << text;
  EXPECT_NE(text.find(start + "109\n\t\tSuccessfully set up SyncFolder Listener"), std::string::npos) << text;
  EXPECT_NE(text.find("[TQS_TQFolderWatcher] -[TQFolderWatcher stopWatching]:134\n\t\tstopWatching"), std::string::npos)
      << text;
  EXPECT_NE(text.find(start + "103\n\t\tFailed to start the SyncFolder Listener"), std::string::npos) << text;
}

// ---- On the real kernel ----------------------------------------------------------

class TQFolderWatcherKernelTest : public ::testing::Test {
 protected:
  Ref<TQFolderWatcher> start(const std::string& root) {
    auto watcher = TQFolderWatcher::initWithDelegate(std::weak_ptr<TQFolderWatcherDelegate>(), 25, root);
    watcher->setFileChangeHandler(batches_.handlerFor(*watcher));
    EXPECT_TRUE(watcher->startWatchingWithError());
    return watcher;
  }
  bool eventuallySeen(const std::string& path) {
    return eventually([&] { return batches_.paths().count(path) > 0; }, kPatience, std::chrono::milliseconds(20));
  }

  tq::testing::TemporaryFolder folder_{"folder-watcher-kernel"};
  const std::string root_ = folder_.string();
  Batches batches_;
};

TEST_F(TQFolderWatcherKernelTest, FoldersMadeLaterAreWatchedAndWhatTheyHeldIsReported) {
  folder_.write("old/inner/file.txt", "x");
  auto watcher = start(root_);
  EXPECT_EQ(watcher->watchedFolderCount(), 3u);
  folder_.write("old/inner/file.txt", "changed");
  // A whole branch made at once: the inner files may come before the new
  // folders are watched, and are reported all the same.
  folder_.write("new/deeper/made.txt", "y");
  EXPECT_TRUE(eventuallySeen(root_ + "/old/inner/file.txt"));
  EXPECT_TRUE(eventuallySeen(root_ + "/new/deeper/made.txt"));
  EXPECT_TRUE(eventually([&] { return watcher->watchedFolderCount() == 5; }, kPatience));
  folder_.write("new/deeper/later.txt", "z");
  EXPECT_TRUE(eventuallySeen(root_ + "/new/deeper/later.txt"));
  fs::rename(folder_.path() / "new", folder_.path() / "renamed");
  folder_.write("renamed/deeper/after.txt", "w");
  EXPECT_TRUE(eventuallySeen(root_ + "/renamed/deeper/after.txt")) << "paths follow a renamed folder";
  fs::remove_all(folder_.path() / "old");
  EXPECT_TRUE(eventually([&] { return watcher->watchedFolderCount() == 3; }, kPatience));
  watcher->stopWatching();
}

TEST_F(TQFolderWatcherKernelTest, IgnoreSelfLeavesOutThisProcessReplacementsOnly) {
  auto watcher = start(root_);
  ASSERT_TRUE(FileSystem::current()->writeFileAtomically(root_ + "/own.plist", "<plist/>"));
  std::ofstream(root_ + "/theirs.txt") << "x";
  ASSERT_TRUE(eventuallySeen(root_ + "/theirs.txt"));
  auto seen = batches_.paths();
  EXPECT_EQ(seen.count(root_ + "/own.plist"), 0u);
  for (const auto& path : seen) EXPECT_EQ(path.find(".tq-"), std::string::npos) << path;
  watcher->stopWatching();
}

TEST_F(TQFolderWatcherKernelTest, FoldersDeletedAndMadeAgainAtOnceAreWatchedAgain) {
  fs::create_directories(folder_.path() / "root" / "sub");
  const std::string root = root_ + "/root";
  auto watcher = start(root);
  // Within one latency, so that the new folders (which the file system may
  // give the old inode numbers) come before anything is delivered.
  fs::remove_all(folder_.path() / "root" / "sub");
  fs::create_directory(folder_.path() / "root" / "sub");
  fs::remove_all(root);
  fs::create_directories(folder_.path() / "root" / "sub");
  ASSERT_TRUE(eventually([&] { return !batches_.all().empty() && batches_.all().back().mustScan; }, kPatience));
  folder_.write("root/sub/after.txt", "x");
  folder_.write("root/top.txt", "x");
  EXPECT_TRUE(eventuallySeen(root + "/sub/after.txt"));
  EXPECT_TRUE(eventuallySeen(root + "/top.txt"));
  watcher->stopWatching();
}

TEST_F(TQFolderWatcherKernelTest, TheRootGoingAwayAndComingBackAsksForARescan) {
  fs::create_directory(folder_.path() / "root");
  const std::string root = root_ + "/root";
  auto watcher = start(root);
  fs::remove(root);
  ASSERT_TRUE(eventually([&] { return !batches_.all().empty() && batches_.all().back().mustScan; }, kPatience));
  const auto before = batches_.all().size();
  fs::create_directory(root);
  ASSERT_TRUE(eventually([&] { return batches_.all().size() > before && batches_.all().back().mustScan; }, kPatience));
  folder_.write("root/back.txt", "x");
  EXPECT_TRUE(eventuallySeen(root + "/back.txt")) << "watched again once it is back";
  watcher->stopWatching();
}

}  // namespace
}  // namespace tq
