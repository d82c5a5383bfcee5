#include "tq/platform/system/FileCoordinator.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <chrono>
#include <filesystem>
#include <fstream>
#include <future>

#include "tests/support/Eventually.h"
#include "tests/support/HelperProcess.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/system/FileSystem.h"

using namespace tq;
using tq::testing::eventually;
namespace fs = std::filesystem;

namespace {

// Another process of the product: takes the lock ("read" shared, "write"
// exclusive) on PATH, creates READY while it holds it, and lets go once
// RELEASE exists.
int holdLock(const std::vector<std::string>& arguments) {
  if (arguments.size() != 4) return 2;
  const std::string& mode = arguments[0];
  const std::string& path = arguments[1];
  const std::string ready = arguments[2];
  const std::string release = arguments[3];
  auto hold = [&](const std::string&) {
    std::ofstream(ready) << "held";
    eventually([&] { return fs::exists(release); }, 60.0, std::chrono::milliseconds(5));
  };
  bool held = mode == "read" ? FileCoordinator::coordinateReading(path, hold)
                             : FileCoordinator::coordinateWriting(path, hold);
  return held ? 0 : 1;
}
const tq::testing::HelperRole holdLockRole("hold-lock", holdLock);

// How long a test lets a lock that should block prove that it blocks. A
// broken lock lets the accessor in at once, so this catches it; under heavy
// load a broken lock might go unnoticed, never a working one fail.
constexpr auto kBlockedLongEnough = std::chrono::milliseconds(300);
constexpr double kPatience = 20.0;

class FileCoordinatorTest : public ::testing::Test {
 protected:
  // Starts another process holding the lock, and waits until it does.
  pid_t otherProcessHolds(const std::string& mode) {
    pid_t pid = tq::testing::spawnHelper("hold-lock", {mode, path_, ready(), release()});
    EXPECT_GT(pid, 0);
    EXPECT_TRUE(eventually([&] { return fs::exists(ready()); }, kPatience));
    return pid;
  }
  void letOtherProcessGo(pid_t pid) {
    std::ofstream(release()) << "go";
    EXPECT_EQ(tq::testing::waitForHelper(pid), 0);
  }
  std::string ready() const { return (folder_ / "ready").string(); }
  std::string release() const { return (folder_ / "release").string(); }

  // Runs a coordination on a thread of its own; the future holds whether it
  // ran its accessor.
  using Coordination = bool (*)(const std::string&, const FileCoordinator::Accessor&, std::string*);
  static std::future<bool> onAnotherThread(Coordination coordinate, std::string path) {
    return std::async(std::launch::async, [coordinate, path] {
      bool ran = false;
      coordinate(path, [&](const std::string&) { ran = true; }, nullptr);
      return ran;
    });
  }
  static bool isStillWaiting(std::future<bool>& future) {
    return future.wait_for(kBlockedLongEnough) == std::future_status::timeout;
  }
  static bool finishes(std::future<bool>& future) {
    return future.wait_for(std::chrono::duration<double>(kPatience)) == std::future_status::ready && future.get();
  }

  tq::testing::TemporaryFolder temporary_{"coordinator"};
  const fs::path folder_ = temporary_.path();
  const std::string path_ = (folder_ / "settings.plist").string();
};

TEST_F(FileCoordinatorTest, AnotherProcessReadingAdmitsReadersAndWritingExcludesAllUntilItEndsOrIsKilled) {
  pid_t other = otherProcessHolds("read");
  auto reader = onAnotherThread(&FileCoordinator::coordinateReading, path_);
  EXPECT_TRUE(finishes(reader)) << "a second reader gets in while the other process still reads";
  auto writer = onAnotherThread(&FileCoordinator::coordinateWriting, path_);
  EXPECT_TRUE(isStillWaiting(writer));
  letOtherProcessGo(other);
  EXPECT_TRUE(finishes(writer));

  fs::remove(ready());
  fs::remove(release());
  other = otherProcessHolds("write");
  reader = onAnotherThread(&FileCoordinator::coordinateReading, path_);
  writer = onAnotherThread(&FileCoordinator::coordinateReadingThenWriting, path_);
  EXPECT_TRUE(isStillWaiting(reader));
  EXPECT_TRUE(isStillWaiting(writer));
  ::kill(other, SIGKILL);
  EXPECT_EQ(tq::testing::waitForHelper(other), -SIGKILL);
  EXPECT_TRUE(finishes(reader)) << "the kernel lets a killed holder's lock go";
  EXPECT_TRUE(finishes(writer));
}

TEST_F(FileCoordinatorTest, NestedCoordinationRunsAtOnceAWriteUnderAReadIsRefusedAndEveryHoldIsLetGo) {
  std::vector<std::string> ran;
  std::string error;
  bool outer = FileCoordinator::coordinateReadingThenWriting(path_, [&](const std::string& path) {
    ran.push_back("read-then-write " + path);
    FileCoordinator::coordinateReading(path_, [&](const std::string&) {
      ran.push_back("read");
      bool wrote = FileCoordinator::coordinateWriting(path_, [&](const std::string&) { ran.push_back("write under read"); });
      if (!wrote) ran.push_back("write refused");
    });
    FileCoordinator::coordinateWriting(path_, [&](const std::string&) { ran.push_back("write"); });
  });
  // The outer hold is exclusive, so a nested write under the nested read is
  // still covered by it and runs.
  EXPECT_TRUE(outer);
  EXPECT_EQ(ran, (std::vector<std::string>{"read-then-write " + path_, "read", "write under read", "write"}))
      << ::testing::PrintToString(ran);

  ran.clear();
  FileCoordinator::coordinateReading(path_, [&](const std::string&) {
    bool wrote = FileCoordinator::coordinateWriting(path_, [&](const std::string&) { ran.push_back("write"); },
                                                    &error);
    ran.push_back(wrote ? "wrote" : "refused");
  });
  EXPECT_EQ(ran, (std::vector<std::string>{"refused"}));
  EXPECT_NE(error.find("inside a coordinated read"), std::string::npos) << error;

  EXPECT_THROW(FileCoordinator::coordinateWriting(path_, [](const std::string&) { throw std::runtime_error("x"); }),
               std::runtime_error);
  auto afterwards = onAnotherThread(&FileCoordinator::coordinateWriting, path_);
  EXPECT_TRUE(finishes(afterwards)) << "every nested hold, and the one whose accessor threw, was let go";
}

TEST_F(FileCoordinatorTest, WithoutALockTheAccessorNeverRunsAndTheErrorSaysWhy) {
  bool ran = false;
  auto accessor = [&](const std::string&) { ran = true; };
  std::string error;
  const std::string missing = (folder_ / "no/such/folder/settings.plist").string();
  EXPECT_FALSE(FileCoordinator::coordinateReading(missing, accessor, &error));
  EXPECT_NE(error.find(missing), std::string::npos) << error;
  EXPECT_NE(error.find("No such file or directory"), std::string::npos) << error;

  // A folder no lock file can be made in, even by the superuser.
  error.clear();
  EXPECT_FALSE(FileCoordinator::coordinateWriting("/proc/self/settings.plist", accessor, &error));
  EXPECT_NE(error.find("cannot open the lock file"), std::string::npos) << error;

  EXPECT_FALSE(ran);
}

// A hold on one thread keeps out another thread of the process, here one that
// names the file through a link.
TEST_F(FileCoordinatorTest, ALinkIsCoordinatedWithTheFileItNamesAndThreadsExcludeEachOther) {
  fs::create_directories(folder_ / "real");
  fs::create_directory_symlink(folder_ / "real", folder_ / "linked-folder");
  fs::create_symlink(folder_ / "linked-folder/settings.plist", folder_ / "link.plist");  // dangling until written
  const std::string target = (folder_ / "real/settings.plist").string();

  std::string seen;
  EXPECT_TRUE(FileCoordinator::coordinateWriting((folder_ / "link.plist").string(), [&](const std::string& path) {
    seen = path;
    FileSystem::current()->writeFileAtomically(path, "contents");
  }));
  EXPECT_EQ(seen, target);
  EXPECT_EQ(FileCoordinator::resolvedPath((folder_ / "link.plist").string()), target);
  EXPECT_EQ(FileCoordinator::lockFilePath((folder_ / "link.plist").string()),
            (folder_ / "real/.settings.plist.lock").string());
  EXPECT_TRUE(fs::is_symlink(folder_ / "link.plist")) << "the link stays; the file it names was written";
  EXPECT_TRUE(fs::exists(folder_ / "real/.settings.plist.lock")) << "the lock file stays for the next process";

  std::promise<void> holding, release;
  auto holder = std::async(std::launch::async, [&] {
    return FileCoordinator::coordinateWriting(target, [&](const std::string&) {
      holding.set_value();
      release.get_future().wait();
    });
  });
  holding.get_future().wait();
  auto throughLink = onAnotherThread(&FileCoordinator::coordinateReading, (folder_ / "link.plist").string());
  EXPECT_TRUE(isStillWaiting(throughLink));
  release.set_value();
  EXPECT_TRUE(holder.get());
  EXPECT_TRUE(finishes(throughLink));
}

TEST_F(FileCoordinatorTest, AccessorsGetPathsAsTheInstalledFileSystemNamesThem) {
  fs::create_directories(folder_ / "root/conf/real");
  fs::create_directory_symlink("real", folder_ / "root/conf/linked");
  ScopedFileSystem rooted(std::make_shared<RootedFileSystem>((folder_ / "root").string()));

  std::string seen;
  EXPECT_TRUE(FileCoordinator::coordinateReadingThenWriting("/conf/linked/a.plist", [&](const std::string& path) {
    seen = path;
    FileSystem::current()->writeFileAtomically(path, "rooted");
  }));
  EXPECT_EQ(seen, "/conf/real/a.plist");
  EXPECT_EQ(FileCoordinator::lockFilePath("/conf/linked/a.plist"), "/conf/real/.a.plist.lock");
  std::ifstream written(folder_ / "root/conf/real/a.plist");
  EXPECT_EQ(std::string(std::istreambuf_iterator<char>(written), {}), "rooted");
  EXPECT_TRUE(fs::exists(folder_ / "root/conf/real/.a.plist.lock"));
}

}  // namespace
