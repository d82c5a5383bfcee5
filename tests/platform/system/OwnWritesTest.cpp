#include "tq/platform/system/OwnWrites.h"

#include <gtest/gtest.h>
#include <unistd.h>

#include <filesystem>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/system/FileSystem.h"

using namespace tq;
namespace fs = std::filesystem;

namespace {

class OwnWritesTest : public ::testing::Test {
 protected:
  std::string at(const std::string& name) const { return (folder_ / name).string(); }
  void weWrite(const std::string& name) { ASSERT_TRUE(FileSystem::system()->writeFileAtomically(at(name), "ours")); }

  tq::testing::TemporaryFolder temporary_{"own"};
  const fs::path folder_ = temporary_.path();
};

// Which of our files are still ours once another process replaces, edits or
// deletes them is pinned through the file event stream
// (DeterministicStreamTest.LeavesOutOnlyThePathsWhoseFileIsStillOurOwnReplacement).

TEST_F(OwnWritesTest, OnlyFoldersSomeoneWatchesAreRemembered) {
  const std::size_t before = OwnWrites::count();
  weWrite("unwatched.plist");
  EXPECT_FALSE(OwnWrites::isOwnFile(at("unwatched.plist")));
  EXPECT_EQ(OwnWrites::count(), before);
  {
    OwnWrites::Interest interest(folder_.string());
    OwnWrites::Interest second(folder_.string());
    ASSERT_TRUE(interest.isActive());
    weWrite("watched.plist");
    EXPECT_EQ(OwnWrites::count(), before + 1);
    second = OwnWrites::Interest();
    EXPECT_TRUE(OwnWrites::isOwnFile(at("watched.plist"))) << "one interest remains";
  }
  EXPECT_EQ(OwnWrites::count(), before) << "the last interest's end lets the files go";
  EXPECT_FALSE(OwnWrites::isOwnFile(at("watched.plist")));
  EXPECT_FALSE(OwnWrites::Interest(at("missing")).isActive());
}

TEST_F(OwnWritesTest, AFolderIsKnownByIdentityWhateverItsSpelling) {
  fs::create_directory_symlink(folder_, folder_.string() + "-link");
  OwnWrites::Interest interest(folder_.string() + "-link/");
  weWrite("settings.plist");
  EXPECT_TRUE(OwnWrites::isOwnFile(folder_.string() + "-link/settings.plist"));
  EXPECT_TRUE(OwnWrites::isOwnFile(folder_.string() + "//settings.plist"));
  fs::remove(folder_.string() + "-link");
}

TEST_F(OwnWritesTest, TheOldestFileIsForgottenBeyondTheCapacity) {
  OwnWrites::Interest interest(folder_.string());
  for (std::size_t i = 0; i <= OwnWrites::kCapacity; ++i) weWrite("file" + std::to_string(i));
  EXPECT_FALSE(OwnWrites::isOwnFile(at("file0")));
  EXPECT_TRUE(OwnWrites::isOwnFile(at("file1")));
  EXPECT_TRUE(OwnWrites::isOwnFile(at("file" + std::to_string(OwnWrites::kCapacity))));
  EXPECT_LE(OwnWrites::count(), OwnWrites::kCapacity);
}

TEST(OwnWritesNames, TemporaryFilesOfAtomicReplacementsAreKnownByTheirSuffix) {
  EXPECT_TRUE(OwnWrites::isTemporaryName("settings.plist.tq-Ab3xYz"));
  EXPECT_FALSE(OwnWrites::isTemporaryName("settings.plist"));
  EXPECT_FALSE(OwnWrites::isTemporaryName(".tq-Ab3xYz")) << "the temporary of no file";
  EXPECT_FALSE(OwnWrites::isTemporaryName("settings.plist.tq-Ab3xYz.bak"));
}

}  // namespace
