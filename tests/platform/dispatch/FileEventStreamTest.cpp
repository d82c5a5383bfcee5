#include "tq/platform/dispatch/FileEventStream.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>

#include "tests/support/Eventually.h"
#include "tests/support/HelperProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/FileChangeSource.h"
#include "tq/platform/system/FileSystem.h"

using namespace tq;
namespace fs = std::filesystem;
using Kind = FileChange::Kind;
using namespace std::chrono_literals;

namespace {

// Another process of the product replacing files atomically: PATH CONTENTS,
// any number of pairs, one after another.
int writeAtomically(const std::vector<std::string>& arguments) {
  for (std::size_t i = 0; i + 1 < arguments.size(); i += 2)
    if (!FileSystem::system()->writeFileAtomically(arguments[i], arguments[i + 1])) return 1;
  return arguments.size() % 2 == 0 ? 0 : 2;
}
const tq::testing::HelperRole writeAtomicallyRole("write-atomically", writeAtomically);

void anotherProcessWrites(const std::vector<std::string>& pathsAndContents) {
  pid_t pid = tq::testing::spawnHelper("write-atomically", pathsAndContents);
  ASSERT_GT(pid, 0);
  ASSERT_EQ(tq::testing::waitForHelper(pid), 0);
}

constexpr double kPatience = 20.0;

class StreamTest : public ::testing::Test {
 protected:
  void SetUp() override { RunLoop::main().drain(); }
  void TearDown() override {
    stream_.reset();
    RunLoop::main().drain();
  }

  void start(double latency, std::string folder = {}, FileEventStream::Handler handler = {}) {
    if (!handler) handler = [this](const FileEvents& events) { batches_.push_back(events); };
    std::string error;
    stream_ = FileEventStream::create(folder.empty() ? folder_.string() : folder, latency, handler, RunLoop::main(),
                                      &error);
    ASSERT_TRUE(stream_) << error;
  }
  bool deliveredBatches(std::size_t count) {
    return RunLoop::main().runUntil([&] { return batches_.size() >= count; }, kPatience);
  }
  std::string at(const std::string& name) const { return (folder_ / name).string(); }
  static std::vector<std::string> paths(const FileEvents& events) { return events.paths; }

  tq::testing::TemporaryFolder temporary_{"stream"};
  const fs::path folder_ = temporary_.path();
  std::unique_ptr<FileEventStream> stream_;
  std::vector<FileEvents> batches_;
};

// Grouping, latency, overflow and shutdown, with changes handed over by the
// test and time that moves only when the test moves it.
class DeterministicStreamTest : public StreamTest {
 protected:
  void changes(std::vector<FileChange> list) { ASSERT_EQ(source_->inject(folder_.string(), list), 1u); }
  // Moves the clock on once the stream waits out its burst.
  void afterWaiting(std::chrono::milliseconds elapsed) {
    clock_->waitForSleepers(1);
    clock_->advance(elapsed);
  }
  // Our own atomic write, and its rename as the kernel reports it.
  void weWrite(const std::string& name, const std::string& contents) {
    ASSERT_TRUE(FileSystem::current()->writeFileAtomically(at(name), contents));
    changes({{Kind::Created, name + ".tq-a1B2c3"},
             {Kind::Modified, name + ".tq-a1B2c3"},
             {Kind::MovedFrom, name + ".tq-a1B2c3"},
             {Kind::MovedTo, name}});
  }
  // Another process's atomic write: a file renamed over the name.
  void theyWrite(const std::string& name, const std::string& contents) {
    std::ofstream(at("theirs.tmp")) << contents;
    fs::rename(at("theirs.tmp"), at(name));
    changes({{Kind::Created, "theirs.tmp"}, {Kind::MovedFrom, "theirs.tmp"}, {Kind::MovedTo, name}});
  }

  std::shared_ptr<ManualFileChangeSource> source_ = std::make_shared<ManualFileChangeSource>();
  std::shared_ptr<ManualClock> clock_ = std::make_shared<ManualClock>();
  ScopedFileChangeSource installedSource_{source_};  // both go after the stream, which goes in TearDown
  ScopedClock<MonotonicClock> installedClock_{clock_};
};

TEST_F(DeterministicStreamTest, GroupsABurstUntilTheLatencyHasPassedAndSaysWhenEventsMayHaveBeenMissed) {
  start(1.0);
  changes({{Kind::Modified, "a"}});
  afterWaiting(600ms);
  changes({{Kind::Created, "b"}, {Kind::Modified, "a"}});
  clock_->advance(399ms);
  RunLoop::main().drain();
  EXPECT_TRUE(batches_.empty()) << "the wait runs from the first change of the burst";
  EXPECT_EQ(clock_->sleepers(), 1);

  clock_->advance(1ms);
  ASSERT_TRUE(deliveredBatches(1));
  EXPECT_EQ(paths(batches_[0]), (std::vector<std::string>{at("a"), at("b")}));
  EXPECT_FALSE(batches_[0].mayHaveMissedEvents);

  changes({{Kind::Deleted, "c"}, {Kind::Overflow, ""}});
  afterWaiting(1000ms);
  ASSERT_TRUE(deliveredBatches(2));
  EXPECT_EQ(paths(batches_[1]), (std::vector<std::string>{at("c")}));
  EXPECT_TRUE(batches_[1].mayHaveMissedEvents) << "the kernel's queue overflowed";

  changes({{Kind::FolderGone, ""}});
  afterWaiting(1s);
  ASSERT_TRUE(deliveredBatches(3));
  EXPECT_TRUE(batches_[2].paths.empty());
  EXPECT_TRUE(batches_[2].mayHaveMissedEvents);
  EXPECT_EQ(batches_.size(), 3u);
}

TEST_F(DeterministicStreamTest, PathsAreNamedAsTheCallerNamedTheFolderAndAHandlerMayDestroyItsOwnStream) {
  fs::create_directories(folder_ / "root/conf");
  ScopedFileSystem rooted(std::make_shared<RootedFileSystem>((folder_ / "root").string()));
  start(0.5, "/conf/", [this](const FileEvents& events) {
    batches_.push_back(events);
    stream_.reset();
  });
  EXPECT_EQ(stream_->folder(), "/conf");
  const std::string kernelFolder = (folder_ / "root/conf").string();
  EXPECT_EQ(source_->watchCount(kernelFolder), 1u) << "the kernel is given the rooted folder";
  source_->inject(kernelFolder, {{Kind::MovedTo, "a.plist"}});
  afterWaiting(500ms);
  ASSERT_TRUE(deliveredBatches(1));
  EXPECT_EQ(paths(batches_[0]), (std::vector<std::string>{"/conf/a.plist"}));
  EXPECT_FALSE(stream_);
  EXPECT_EQ(source_->watchCount(kernelFolder), 0u);
}

TEST_F(DeterministicStreamTest, LeavesOutOnlyThePathsWhoseFileIsStillOurOwnReplacement) {
  start(1.0);
  weWrite("ours.plist", "ours");
  // Another process replaces the file before our rename's batch goes out.
  weWrite("raced.plist", "ours");
  theyWrite("raced.plist", "theirs");
  // Our write lands after theirs: it read their file under the lock and
  // merged it, so what is at the path is what this process has.
  theyWrite("merged.plist", "theirs");
  weWrite("merged.plist", "theirs and ours");
  // Our file, changed in place by someone else or deleted.
  weWrite("edited.plist", "ours");
  std::ofstream(at("edited.plist"), std::ios::app) << " and an edit in place";
  changes({{Kind::Modified, "edited.plist"}});
  weWrite("deleted.plist", "ours");
  fs::remove(at("deleted.plist"));
  changes({{Kind::Deleted, "deleted.plist"}});

  afterWaiting(1s);
  ASSERT_TRUE(deliveredBatches(1));
  EXPECT_EQ(paths(batches_[0]),
            (std::vector<std::string>{at("raced.plist"), at("theirs.tmp"), at("edited.plist"), at("deleted.plist")}))
      << "no temporary file of ours, no ours.plist, no merged.plist";
}

TEST_F(DeterministicStreamTest, ABatchQueuedOnTheRunLoopIsDroppedWhenTheStreamGoes) {
  start(1.0);
  changes({{Kind::Modified, "a"}});
  afterWaiting(1s);
  ASSERT_TRUE(tq::testing::eventually([] { return RunLoop::main().pendingCount() > 0; }, kPatience));
  stream_.reset();
  RunLoop::main().drain();
  EXPECT_TRUE(batches_.empty());
}

TEST_F(DeterministicStreamTest, AStreamWaitingOutABurstStopsAtOnceAndDeliversNothingLater) {
  start(1.0);
  changes({{Kind::Modified, "a"}});
  clock_->waitForSleepers(1);
  auto stopped = std::async(std::launch::async, [&] { stream_.reset(); });
  ASSERT_EQ(stopped.wait_for(std::chrono::duration<double>(kPatience)), std::future_status::ready)
      << "the destructor must not wait for a clock that may never move";
  EXPECT_EQ(source_->watchCount(folder_.string()), 0u);
  clock_->advance(2s);
  ASSERT_TRUE(tq::testing::eventually([&] { return clock_->sleepers() == 0; }, kPatience));
  RunLoop::main().runFor(0.05);
  EXPECT_TRUE(batches_.empty());
}

// The same against the kernel: inotify, real renames by real processes, the
// system clock.
using KernelStreamTest = StreamTest;

bool anyBatchMentions(const std::vector<FileEvents>& batches, const std::string& text) {
  for (const FileEvents& events : batches)
    for (const std::string& path : events.paths)
      if (path.find(text) != std::string::npos) return true;
  return false;
}

TEST_F(KernelStreamTest, ReportsAnotherProcesssAtomicWritesAfterTheLatencyButNeverOurs) {
  const double latency = 0.3;
  const auto started = std::chrono::steady_clock::now();
  start(latency);
  anotherProcessWrites({at("theirs.plist"), "1", at("theirs.plist"), "2", at("theirs.plist"), "3"});
  ASSERT_TRUE(deliveredBatches(1));
  EXPECT_GE(std::chrono::duration<double>(std::chrono::steady_clock::now() - started).count(), latency);
  RunLoop::main().runFor(2 * latency);
  // One burst makes one batch unless the machine is so slow that the three
  // writes spread over more than the latency; none names a temporary file.
  EXPECT_LE(batches_.size(), 3u);
  for (const FileEvents& events : batches_) {
    EXPECT_EQ(paths(events), (std::vector<std::string>{at("theirs.plist")}));
    EXPECT_FALSE(events.mayHaveMissedEvents);
  }

  for (const char* contents : {"1", "2", "3"})
    ASSERT_TRUE(FileSystem::current()->writeFileAtomically(at("settings.plist"), contents));
  anotherProcessWrites({at("marker"), "after ours"});
  // Changes come in order: once the marker is in, ours have been judged.
  ASSERT_TRUE(RunLoop::main().runUntil([&] { return anyBatchMentions(batches_, "marker"); }, kPatience));
  EXPECT_FALSE(anyBatchMentions(batches_, "settings.plist"));
  anotherProcessWrites({at("settings.plist"), "theirs"});
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return anyBatchMentions(batches_, "settings.plist"); }, kPatience));
}

TEST_F(KernelStreamTest, AMissingFolderGivesNoStreamAndTheReason) {
  std::string error;
  EXPECT_FALSE(FileEventStream::create(at("missing"), 1.0, [](const FileEvents&) {}, RunLoop::main(), &error));
  EXPECT_EQ(error, "cannot watch '" + at("missing") + "': No such file or directory");
}

}  // namespace
