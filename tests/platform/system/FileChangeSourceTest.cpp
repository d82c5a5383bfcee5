#include "tq/platform/system/FileChangeSource.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>
#include <future>

#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"

using namespace tq;
using tq::testing::eventually;
namespace fs = std::filesystem;
using Kind = FileChange::Kind;

namespace {

constexpr double kPatience = 20.0;

class Changes {
 public:
  FileChangeSource::Callback callback() {
    return [this](const std::vector<FileChange>& changes) {
      std::lock_guard lock(mutex_);
      seen_.insert(seen_.end(), changes.begin(), changes.end());
    };
  }
  bool has(const FileChange& change) const { return any([&](const FileChange& c) { return c == change; }); }
  bool eventuallyHas(const FileChange& change) const { return eventually([&] { return has(change); }, kPatience); }
  bool mentions(const std::string& name) const { return any([&](const FileChange& c) { return c.name == name; }); }

 private:
  template <class Test>
  bool any(Test test) const {
    std::lock_guard lock(mutex_);
    return std::any_of(seen_.begin(), seen_.end(), test);
  }
  mutable std::mutex mutex_;
  std::vector<FileChange> seen_;
};

class FileChangeSourceTest : public ::testing::Test {
 protected:
  std::unique_ptr<FileChangeSource::Watch> watch(Changes& changes) {
    std::string error;
    auto watch = FileChangeSource::system()->watchFolder(folder_.string(), changes.callback(), &error);
    EXPECT_TRUE(watch) << error;
    return watch;
  }
  std::string at(const std::string& name) const { return (folder_ / name).string(); }

  tq::testing::TemporaryFolder temporary_{"changes"};
  const fs::path folder_ = temporary_.path();
};

TEST_F(FileChangeSourceTest, ReportsEachChangeOfTheFolderEntriesByNameButNotTheContentsOfSubFolders) {
  fs::create_directory(folder_ / "old-sub");
  Changes changes;
  auto running = watch(changes);

  std::ofstream(at("a")) << "one";
  fs::permissions(at("a"), fs::perms::owner_read, fs::perm_options::replace);
  fs::rename(at("a"), at("b"));
  fs::remove(at("b"));
  fs::create_directory(folder_ / "sub");
  std::ofstream(folder_ / "sub/inner") << "deeper";
  std::ofstream(folder_ / "old-sub/inner") << "deeper";
  std::ofstream(at("marker")) << "last";

  ASSERT_TRUE(changes.eventuallyHas({Kind::Modified, "marker", false}));
  for (const FileChange& expected : std::vector<FileChange>{{Kind::Created, "a", false},
                                                            {Kind::Modified, "a", false},
                                                            {Kind::AttributesChanged, "a", false},
                                                            {Kind::MovedFrom, "a", false},
                                                            {Kind::MovedTo, "b", false},
                                                            {Kind::Deleted, "b", false},
                                                            {Kind::Created, "sub", true}})
    EXPECT_TRUE(changes.has(expected)) << "missing: " << int(expected.kind) << " " << expected.name;
  EXPECT_FALSE(changes.mentions("inner"));
  EXPECT_FALSE(changes.mentions("old-sub"));
}

TEST_F(FileChangeSourceTest, WatchesOfOneFolderEndIndependently) {
  Changes first, second;
  auto firstWatch = watch(first);
  auto secondWatch = watch(second);
  std::ofstream(at("both")) << "x";
  ASSERT_TRUE(first.eventuallyHas({Kind::Created, "both", false}));
  ASSERT_TRUE(second.eventuallyHas({Kind::Created, "both", false}));

  firstWatch.reset();
  std::ofstream(at("second-only")) << "x";
  EXPECT_TRUE(second.eventuallyHas({Kind::Created, "second-only", false}))
      << "ending one watch of a folder must not end the kernel's watch under the other";
  EXPECT_FALSE(first.mentions("second-only"));

  secondWatch.reset();
  Changes third;
  auto thirdWatch = watch(third);
  std::ofstream(at("third")) << "x";
  EXPECT_TRUE(third.eventuallyHas({Kind::Created, "third", false}));
}

TEST_F(FileChangeSourceTest, ACallbackMayEndItsOwnWatch) {
  std::promise<void> ended;
  std::mutex mutex;  // hands the watch to the source's thread
  std::unique_ptr<FileChangeSource::Watch> running;
  auto watch = FileChangeSource::system()->watchFolder(folder_.string(), [&](const std::vector<FileChange>&) {
    {
      std::lock_guard lock(mutex);
      if (!running) return;
      running.reset();  // ends the watch: no callback runs after this one
    }
    ended.set_value();
  });
  ASSERT_TRUE(watch);
  {
    std::lock_guard lock(mutex);
    running = std::move(watch);
  }
  std::ofstream(at("x")) << "x";  // several changes, perhaps read one at a time
  EXPECT_EQ(ended.get_future().wait_for(std::chrono::duration<double>(kPatience)), std::future_status::ready);
}

TEST_F(FileChangeSourceTest, AnOverflowingQueueAndAVanishingFolderAreReported) {
  // The reading thread is held inside this callback while the kernel's queue
  // (16384 events by default) fills up with alternating writes to two files.
  std::promise<void> release;
  std::shared_future<void> released = release.get_future().share();
  Changes changes;
  auto record = changes.callback();
  auto running = FileChangeSource::system()->watchFolder(folder_.string(), [&](const std::vector<FileChange>& seen) {
    record(seen);
    released.wait();
  });
  ASSERT_TRUE(running);
  int a = ::open(at("a").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  int b = ::open(at("b").c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0644);
  ASSERT_TRUE(a >= 0 && b >= 0);
  std::ifstream limitFile("/proc/sys/fs/inotify/max_queued_events");
  int limit = 16384;
  limitFile >> limit;
  for (int i = 0; i <= limit; ++i) {
    ASSERT_EQ(::write(a, "x", 1), 1);
    ASSERT_EQ(::write(b, "x", 1), 1);
  }
  ::close(a);
  ::close(b);
  release.set_value();
  EXPECT_TRUE(changes.eventuallyHas({Kind::Overflow, "", false}));

  fs::remove_all(folder_);
  EXPECT_TRUE(changes.eventuallyHas({Kind::FolderGone, "", false}));
}

TEST_F(FileChangeSourceTest, AFolderThatCannotBeWatchedIsAClearError) {
  std::ofstream(at("plain")) << "x";
  std::string error;
  EXPECT_FALSE(FileChangeSource::system()->watchFolder(at("plain"), [](const std::vector<FileChange>&) {}, &error));
  EXPECT_EQ(error, "cannot watch '" + at("plain") + "': Not a directory");
}

}  // namespace
