#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <filesystem>
#include <fstream>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/system/FileSystem.h"

using namespace tq;
namespace fs = std::filesystem;

namespace {

class FileSystemTest : public ::testing::Test {
 protected:
  tq::testing::TemporaryFolder temporary_{"fs"};
  const fs::path root_ = temporary_.path();
};

TEST_F(FileSystemTest, RootedPathsLandBelowTheRoot) {
  auto rooted = std::make_shared<RootedFileSystem>(root_.string() + "/");
  EXPECT_EQ(rooted->resolve("/etc/os-release"), root_.string() + "/etc/os-release");
  EXPECT_EQ(rooted->resolve("relative/file"), "relative/file");

  ScopedFileSystem installed(rooted);
  auto fileSystem = FileSystem::current();
  ASSERT_TRUE(fileSystem->createDirectories("/etc/deep/er"));
  ASSERT_TRUE(fileSystem->writeFileAtomically("/etc/os-release", "NAME=Test\n"));
  EXPECT_TRUE(fs::is_directory(root_ / "etc/deep/er"));
  EXPECT_EQ(fileSystem->readFile("/etc/os-release"), "NAME=Test\n");
  EXPECT_EQ(fileSystem->contentsOfDirectory("/etc"), (std::vector<std::string>{"deep", "os-release"}));
  FileSystem::Status status = fileSystem->status("/etc/os-release");
  EXPECT_TRUE(status.exists && status.isRegularFile && !status.isDirectory);
  EXPECT_EQ(status.size, 10u);
  EXPECT_TRUE(fileSystem->moveItem("/etc/os-release", "/etc/moved"));
  EXPECT_FALSE(fileSystem->status("/etc/os-release").exists);
  EXPECT_TRUE(fileSystem->removeItem("/etc/moved"));
  EXPECT_TRUE(fileSystem->removeItem("/etc/moved")) << "nothing left at the path is success";
}

TEST_F(FileSystemTest, FailuresSayWhy) {
  auto fileSystem = FileSystem::system();
  std::error_code error;
  EXPECT_EQ(fileSystem->readFile((root_ / "missing").string(), &error), std::nullopt);
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
  EXPECT_EQ(fileSystem->contentsOfDirectory((root_ / "missing").string(), &error), std::nullopt);
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
  EXPECT_FALSE(fileSystem->writeFileAtomically((root_ / "no/folder/file").string(), "x", &error));
  EXPECT_EQ(error, std::errc::no_such_file_or_directory);
  std::ofstream(root_ / "plain") << "x";
  EXPECT_FALSE(fileSystem->createDirectories((root_ / "plain/sub").string(), &error));
  EXPECT_TRUE(error);
}

TEST_F(FileSystemTest, AtomicWriteReplacesWholeWithOrdinaryPermissionsAndLeavesNoTemporaryFile) {
  auto fileSystem = FileSystem::system();
  const std::string path = (root_ / "settings.plist").string();
  ASSERT_TRUE(fileSystem->writeFileAtomically(path, "old contents that are longer"));
  mode_t previous = ::umask(027);
  bool written = fileSystem->writeFileAtomically(path, "new");
  ::umask(previous);
  ASSERT_TRUE(written);
  EXPECT_EQ(fileSystem->readFile(path), "new");
  EXPECT_EQ(fileSystem->contentsOfDirectory(root_.string()), (std::vector<std::string>{"settings.plist"}));
  struct stat info {};
  ASSERT_EQ(::stat(path.c_str(), &info), 0);
  // The mask is read once per process (here by the first write), so the file
  // gets the mask the process had then, never 0600 from the temporary file.
  EXPECT_EQ(info.st_mode & 0777, 0666u & ~previous);
}

}  // namespace
