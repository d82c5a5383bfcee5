// Vnode dispatch sources on the real kernel: the events of one file as bits,
// merged while the handler runs, and their watch sharing the kernel's one
// watch per inode with folder watchers.

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/dispatch/DispatchSource.h"
#include "tq/platform/system/FileChangeSource.h"

namespace tq {
namespace {

using tq::testing::eventually;
namespace fs = std::filesystem;
namespace V = DispatchVnode;

constexpr double kPatience = 10.0;

class VnodeSourceTest : public ::testing::Test {
 protected:
  void TearDown() override {
    if (source_) source_->cancel();
    if (fd_ >= 0) ::close(fd_);
  }
  void watch(const fs::path& path, unsigned long mask, std::function<void()> extra = nullptr) {
    fd_ = ::open(path.c_str(), O_PATH | O_CLOEXEC);
    ASSERT_GE(fd_, 0);
    source_ = DispatchSource::makeVnode(fd_, mask, DispatchQueue::createSerial("vnode"), [this, extra] {
      std::lock_guard lock(mutex_);
      seen_ |= source_->data();
      ++calls_;
      if (extra) extra();
    });
    ASSERT_TRUE(source_);
    source_->resume();
  }
  unsigned long seen() {
    std::lock_guard lock(mutex_);
    return seen_;
  }
  bool eventuallySeen(unsigned long bits) {
    return eventually([&] { return (seen() & bits) == bits; }, kPatience);
  }

  tq::testing::TemporaryFolder folder_{"vnode"};
  fs::path file_ = folder_.write("file", "x");
  int fd_ = -1;
  DispatchSourceRef source_;
  std::mutex mutex_;
  unsigned long seen_ = 0;
  int calls_ = 0;
};

TEST_F(VnodeSourceTest, WritesRenamesAndTheLastLinkGoingAreTheirBitsWithinTheMask) {
  watch(file_, V::Write | V::Rename | V::Delete | V::Link);
  std::ofstream(file_, std::ios::app) << "more";
  EXPECT_TRUE(eventuallySeen(V::Write));
  fs::rename(file_, folder_.path() / "moved");
  EXPECT_TRUE(eventuallySeen(V::Rename));
  fs::remove(folder_.path() / "moved");
  EXPECT_TRUE(eventuallySeen(V::Delete | V::Link)) << "the file is still open: its link count tells";
  EXPECT_EQ(seen() & V::Attrib, 0u) << "outside the mask";
}

TEST_F(VnodeSourceTest, EventsDuringTheHandlerAreMergedIntoOneLaterCall) {
  std::mutex gate;
  gate.lock();
  std::atomic<bool> entered{false};
  watch(file_, V::Write | V::Rename, [&] {
    entered = true;
    std::lock_guard wait(gate);
  });
  std::ofstream(file_, std::ios::app) << "1";
  ASSERT_TRUE(eventually([&] { return entered.load(); }, kPatience));
  for (int i = 0; i < 5; ++i) std::ofstream(file_, std::ios::app) << i;
  fs::rename(file_, folder_.path() / "moved");
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  gate.unlock();
  ASSERT_TRUE(eventuallySeen(V::Write | V::Rename));
  std::this_thread::sleep_for(std::chrono::milliseconds(200));
  std::lock_guard lock(mutex_);
  EXPECT_EQ(calls_, 2) << "one call for the first write, one for all that came while it ran";
}

TEST_F(VnodeSourceTest, AFileWatchOnAFolderDoesNotNarrowTheFolderWatch) {
  std::vector<FileChange> changes;
  std::mutex changesMutex;
  auto folderWatch = FileChangeSource::system()->watchFolder(folder_.string(), [&](const std::vector<FileChange>& c) {
    std::lock_guard lock(changesMutex);
    changes.insert(changes.end(), c.begin(), c.end());
  });
  ASSERT_TRUE(folderWatch);
  watch(folder_.path(), V::Write | V::Rename | V::Delete);
  folder_.write("new-entry", "y");
  EXPECT_TRUE(eventually([&] {
    std::lock_guard lock(changesMutex);
    return std::any_of(changes.begin(), changes.end(), [](const FileChange& c) { return c.name == "new-entry"; });
  }, kPatience));
}

TEST_F(VnodeSourceTest, ABadDescriptorMakesNoSource) {
  std::string error;
  EXPECT_FALSE(DispatchSource::makeVnode(-1, V::Write, DispatchQueue::createSerial("v"), [] {}, &error));
  EXPECT_FALSE(error.empty());
}

}  // namespace
}  // namespace tq
