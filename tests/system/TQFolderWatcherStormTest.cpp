// A storm on the real kernel: 50,000 files created, renamed and deleted in a
// tree of 1,000 folders while a folder watcher watches it. Nothing may be
// lost: every path changed is delivered at least once, or the watched root
// is reported for a rescan. One run makes the kernel's queue overflow on
// purpose: the process's inotify reading thread is paused (a test hook) while
// the storm goes on, so that the kernel's queue (16,384 events by default, a
// system-wide setting only root can lower) fills up; the root must then be
// reported for a rescan, and folders made during the overflow must be watched
// afterwards.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <set>

#include "tests/support/Eventually.h"
#include "tests/support/FileStorm.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/system/internal/InotifySource.h"
#include "tq/system/TQFolderWatcher.h"

namespace tq {
namespace {

using tq::testing::eventually;
namespace fs = std::filesystem;

constexpr int kTopFolders = 10;
constexpr int kFolders = 1000;
constexpr int kFiles = 50000;
constexpr double kPatience = 60.0;

class Delivered {
 public:
  void add(const std::vector<std::string>& paths, bool mustScan) {
    std::lock_guard lock(mutex_);
    for (const auto& path : paths) paths_.insert(path);
    rescans_ += mustScan ? 1 : 0;
  }
  std::size_t missing(const std::vector<std::string>& expected) {
    std::lock_guard lock(mutex_);
    std::size_t count = 0;
    for (const auto& path : expected) count += paths_.count(path) ? 0 : 1;
    return count;
  }
  int rescans() {
    std::lock_guard lock(mutex_);
    return rescans_;
  }

 private:
  std::mutex mutex_;
  std::set<std::string> paths_;
  int rescans_ = 0;
};

class TQFolderWatcherStormTest : public ::testing::Test {
 protected:
  void SetUp() override {
    for (int top = 0; top < kTopFolders; ++top) {
      const std::string topFolder = root_ + "/d" + std::to_string(top);
      fs::create_directory(topFolder);
      folders_.push_back(topFolder);
      for (int sub = 0; sub < kFolders / kTopFolders - 1; ++sub) {
        folders_.push_back(topFolder + "/s" + std::to_string(sub));
        fs::create_directory(folders_.back());
      }
    }
    ASSERT_EQ(folders_.size(), std::size_t(kFolders));
    watcher_ = TQFolderWatcher::initWithDelegate(std::weak_ptr<TQFolderWatcherDelegate>(), root_);
    TQFolderWatcher* watcher = watcher_.get();
    watcher_->setFileChangeHandler([this, watcher](const std::vector<std::string>& paths, std::uint64_t) {
      delivered_.add(paths, watcher->lastBatchMustScanSubDirs());
    });
    ASSERT_TRUE(watcher_->startWatchingWithError());
    ASSERT_EQ(watcher_->watchedFolderCount(), std::size_t(kFolders + 1));
  }
  void TearDown() override {
    tq::detail::setInotifyReadingPaused(false);
    watcher_->stopWatching();
  }

  std::vector<std::string> storm(int first, int last) { return tq::testing::fileStorm(folders_, first, last); }

  bool nothingLost(const std::vector<std::string>& changed) {
    return eventually([&] { return delivered_.rescans() > 0 || delivered_.missing(changed) == 0; }, kPatience,
                      std::chrono::milliseconds(200));
  }

  tq::testing::TemporaryFolder folder_{"storm"};
  const std::string root_ = folder_.string();
  std::vector<std::string> folders_;
  Ref<TQFolderWatcher> watcher_;
  Delivered delivered_;
};

TEST_F(TQFolderWatcherStormTest, EveryChangedPathIsDeliveredOrTheRootIsFlagged) {
  auto changed = storm(0, kFiles);
  ASSERT_TRUE(nothingLost(changed)) << delivered_.missing(changed) << " of " << changed.size() << " paths missing";
  if (delivered_.rescans() > 0) {
    EXPECT_TRUE(delivered_.missing({root_}) == 0) << "a rescan names the root";
  } else {
    EXPECT_EQ(delivered_.missing(changed), 0u);
  }
}

TEST_F(TQFolderWatcherStormTest, AnOverflowFlagsTheRootAndTheTreeIsWatchedAgainAfterIt) {
  tq::detail::setInotifyReadingPaused(true);
  storm(0, 10000);  // 30,000 events: more than the kernel's queue holds
  fs::create_directories(root_ + "/made-during/inner");
  tq::detail::setInotifyReadingPaused(false);
  ASSERT_TRUE(eventually([&] { return delivered_.rescans() > 0; }, kPatience, std::chrono::milliseconds(100)))
      << "the overflow must be reported";
  EXPECT_TRUE(delivered_.missing({root_}) == 0);
  ASSERT_TRUE(eventually([&] { return watcher_->watchedFolderCount() == std::size_t(kFolders + 3); }, kPatience))
      << "folders made while events were lost are found by the walk after the overflow";
  const std::string after = root_ + "/made-during/inner/after.txt";
  int fd = ::open(after.c_str(), O_CREAT | O_WRONLY | O_CLOEXEC, 0644);
  ASSERT_GE(fd, 0);
  ::close(fd);
  EXPECT_TRUE(eventually([&] { return delivered_.missing({after}) == 0; }, kPatience, std::chrono::milliseconds(50)));
}

}  // namespace
}  // namespace tq
