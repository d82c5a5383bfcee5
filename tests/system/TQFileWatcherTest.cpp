// The file watcher and its newer interface, on the real kernel and through
// the change-source seam.

#include "tq/system/TQFileWatcher.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/system/FileChangeSource.h"
#include "tq/system/TQFileWatcherSwift.h"

namespace tq {
namespace {

using tq::testing::eventually;
using tq::testing::Recorder;
namespace fs = std::filesystem;

constexpr double kPatience = 10.0;

class RecordingDelegate : public TQFileWatcherDelegate {
 public:
  void fileChangedForWatcher(TQFileWatcher&) override { events("changed"); }
  void fileRenamedForWatcher(TQFileWatcher&) override { events("renamed"); }
  void fileDeletedForWatcher(TQFileWatcher&) override { events("deleted"); }
  std::size_t count() const { return events.snapshot().size(); }
  Recorder<> events;
};

class TQFileWatcherTest : public ::testing::Test {
 protected:
  void append(const fs::path& file, const std::string& text) { std::ofstream(file, std::ios::app) << text; }

  tq::testing::TemporaryFolder folder_{"file-watcher"};
  fs::path file_ = folder_.write("watched.txt", "first");
  std::shared_ptr<RecordingDelegate> delegate_ = std::make_shared<RecordingDelegate>();
};

TEST_F(TQFileWatcherTest, EveryEventCallsAllThreeDelegateMethodsInOrder) {
  auto watcher = TQFileWatcher::initWithDelegate(delegate_, "file://" + file_.string());
  ASSERT_TRUE(watcher->startWatchingWithError());
  EXPECT_TRUE(watcher->isWatching());
  append(file_, " more");
  ASSERT_TRUE(eventually([&] { return delegate_->count() >= 3; }, kPatience));
  auto events = delegate_->events.snapshot();
  EXPECT_EQ(std::vector<std::string>(events.begin(), events.begin() + 3),
            (std::vector<std::string>{"changed", "renamed", "deleted"}))
      << "a write calls the renamed and deleted methods too: the handler reads the mask";
  EXPECT_EQ(events.size() % 3, 0u);
  EXPECT_EQ(watcher->source()->mask(), 0x23u);
  EXPECT_EQ(watcher->callbackQueue()->label(), "org.tqbasekit.TQFoundation.FileWatcher");
  watcher->stopWatching();
}

TEST_F(TQFileWatcherTest, RenameAndDeleteAreSeenAndNothingIsReArmed) {
  auto watcher = TQFileWatcher::initWithDelegate(delegate_, file_.string());
  ASSERT_TRUE(watcher->startWatchingWithError());
  const fs::path moved = folder_.path() / "moved.txt";
  fs::rename(file_, moved);
  ASSERT_TRUE(eventually([&] { return delegate_->count() >= 3; }, kPatience)) << "a rename fires";
  // The source stays on the renamed file: a new file at the old path is not
  // watched, the old file under its new name still is.
  std::ofstream(file_) << "replacement";
  const std::size_t before = delegate_->count();
  append(moved, "x");
  ASSERT_TRUE(eventually([&] { return delegate_->count() > before; }, kPatience));
  const std::size_t afterWrite = delegate_->count();
  fs::remove(moved);
  ASSERT_TRUE(eventually([&] { return delegate_->count() > afterWrite; }, kPatience))
      << "removing the last link counts as a deletion while the descriptor is open";
  watcher->stopWatching();
}

TEST_F(TQFileWatcherTest, AMissingFileFailsWithCode500ButAnswersTrueWithoutAnErrorSlot) {
  const std::string missing = (folder_.path() / "missing").string();
  auto watcher = TQFileWatcher::initWithDelegate(delegate_, missing);
  EXPECT_TRUE(watcher->startWatchingWithError(nullptr)) << "kept: no slot, no false";
  EXPECT_FALSE(watcher->isWatching());
  EXPECT_EQ(watcher->fileDescriptor(), -1);
  Ref<Error> error;
  EXPECT_FALSE(watcher->startWatchingWithError(&error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->domain(), "TQFileWatcherErrorDomain");
  EXPECT_EQ(error->code(), 500);
  EXPECT_EQ(error->localizedDescription(), "Could not open() the watching file at: " + missing);
}

// Through the change-source seam instead of the kernel.
class TQFileWatcherSeamTest : public TQFileWatcherTest {
 protected:
  std::shared_ptr<ManualFileChangeSource> source = std::make_shared<ManualFileChangeSource>();
  ScopedFileChangeSource installed{source};
};

TEST_F(TQFileWatcherSeamTest, ASourceThatCannotBeMadeFailsWithCode501AndKeepsTheDescriptor) {
  source->setFailure("the user's limit of inotify watches is reached (fs.inotify.max_user_watches)");
  auto watcher = TQFileWatcher::initWithDelegate(delegate_, file_.string());
  Ref<Error> error;
  EXPECT_FALSE(watcher->startWatchingWithError(&error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->code(), 501);
  EXPECT_EQ(error->localizedDescription(), "Could not create source for watching file at: " + file_.string());
  EXPECT_GE(watcher->fileDescriptor(), 0) << "the descriptor stays open on this path";
  EXPECT_FALSE(watcher->isWatching());
}

TEST_F(TQFileWatcherSeamTest, ASecondStartReplacesTheSourceWithoutCancellingTheFirst) {
  auto watcher = TQFileWatcher::initWithDelegate(delegate_, file_.string());
  ASSERT_TRUE(watcher->startWatchingWithError());
  auto first = watcher->source();
  ASSERT_TRUE(watcher->startWatchingWithError());
  EXPECT_NE(watcher->source(), first);
  EXPECT_FALSE(first->isCancelled());
  // Both sources watch the file (each through its own descriptor's path).
  const std::string firstPath = "/proc/self/fd/" + std::to_string(first->fileDescriptor());
  const std::string secondPath = "/proc/self/fd/" + std::to_string(watcher->fileDescriptor());
  source->inject(firstPath, {{FileChange::Kind::Modified, "", false}});
  source->inject(secondPath, {{FileChange::Kind::Modified, "", false}});
  EXPECT_TRUE(eventually([&] { return delegate_->count() == 6; }, kPatience)) << "both sources call the delegate";
  watcher->stopWatching();
  EXPECT_FALSE(first->isCancelled()) << "stop cancels only the current source";
}

TEST_F(TQFileWatcherSeamTest, StopClosesAndClearsAndASecondStopDoesNothing) {
  auto watcher = TQFileWatcher::initWithDelegate(delegate_, file_.string());
  ASSERT_TRUE(watcher->startWatchingWithError());
  const std::string path = "/proc/self/fd/" + std::to_string(watcher->fileDescriptor());
  EXPECT_EQ(source->watchCount(path), 1u);
  watcher->stopWatching();
  EXPECT_FALSE(watcher->isWatching());
  EXPECT_EQ(watcher->fileDescriptor(), -1);
  EXPECT_FALSE(watcher->source());
  EXPECT_EQ(source->watchCount(path), 0u);
  watcher->stopWatching();
  EXPECT_EQ(source->inject(path, {{FileChange::Kind::Modified, "", false}}), 0u);
}

// ---- The newer interface ------------------------------------------------------

class SwiftDelegate : public TQSwiftWatcherDelegate {
 public:
  void fileChanged(TQFileWatcherSwift& w) override { note("changed", w); }
  void fileDeleted(TQFileWatcherSwift& w) override { note("deleted", w); }
  void fileRenamed(TQFileWatcherSwift& w) override { note("renamed", w); }
  Recorder<> events;
  std::atomic<const TQFileWatcherSwift*> seen{nullptr};

 private:
  void note(const char* what, TQFileWatcherSwift& w) {
    seen = &w;
    events(what);
  }
};

TEST_F(TQFileWatcherTest, TheWrapperForwardsEachEventWithItselfAndThrowsAFailedStart) {
  auto delegate = std::make_shared<SwiftDelegate>();
  auto wrapper = TQFileWatcherSwift::init(file_.string(), delegate);
  EXPECT_EQ(wrapper->watchedURL(), file_.string());
  wrapper->startWatching();
  EXPECT_TRUE(wrapper->isWatching());
  append(file_, "!");
  ASSERT_TRUE(eventually([&] { return delegate->events.snapshot().size() >= 3; }, kPatience));
  EXPECT_EQ(delegate->seen.load(), wrapper.get()) << "the wrapper, not the inner watcher";
  wrapper->stopWatching();
  EXPECT_FALSE(wrapper->isWatching());

  auto failing = TQFileWatcherSwift::init((folder_.path() / "none").string(), delegate);
  try {
    failing->startWatching();
    FAIL() << "a failed start throws";
  } catch (const TQFileWatcherStartError& thrown) {
    ASSERT_TRUE(thrown.error);
    EXPECT_EQ(thrown.error->code(), 500);
  }
}

TEST_F(TQFileWatcherTest, TheWrapperWithoutAnInnerWatcherDoesNothingButCannotSayIfItWatches) {
  auto wrapper = TQFileWatcherSwift::init(file_.string(), nullptr);
  wrapper->setWatcher(nullptr);
  EXPECT_NO_THROW(wrapper->startWatching());
  EXPECT_NO_THROW(wrapper->stopWatching());
  EXPECT_DEATH(wrapper->isWatching(), "Unexpectedly found nil");
}

}  // namespace
}  // namespace tq
