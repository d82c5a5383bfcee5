// Following a growing file line by line: pieces of lines wait for their line
// break, and a file that is truncated or replaced is read again from its
// start, with the restart reported.

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tq/platform/system/LineFollower.h"

namespace tq {
namespace {

namespace fs = std::filesystem;

class LineFollowerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    static int counter = 0;
    folder_ = fs::temp_directory_path() /
              ("tq-line-follower-" + std::to_string(::getpid()) + "-" + std::to_string(++counter));
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    path_ = (folder_ / "followed.log").string();
  }
  void TearDown() override { fs::remove_all(folder_); }

  // Writes as a writer does: appended, or the file started anew.
  void append(const std::string& bytes) { std::ofstream(path_, std::ios::binary | std::ios::app) << bytes; }
  void rewrite(const std::string& bytes) { std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes; }
  // A new file made next to the old one and renamed over it.
  void replace(const std::string& bytes) {
    const std::string fresh = path_ + ".new";
    std::ofstream(fresh, std::ios::binary) << bytes;
    ASSERT_EQ(std::rename(fresh.c_str(), path_.c_str()), 0);
  }

  fs::path folder_;
  std::string path_;
};

TEST_F(LineFollowerTest, AppendsInPiecesComeOutAsWholeLines) {
  append("");
  LineFollower follower(path_);
  ASSERT_TRUE(follower.open());
  EXPECT_EQ(follower.readAppended().text, "");

  append("first li");
  EXPECT_EQ(follower.readAppended().text, "") << "a piece of a line waits";
  append("ne\nsecond");
  LineFollower::Lines lines = follower.readAppended();
  EXPECT_EQ(lines.text, "first line\n");
  EXPECT_FALSE(lines.restarted);
  append(" line\r\nthird line\nfou");
  EXPECT_EQ(follower.readAppended().text, "second line\r\nthird line\n") << "a carriage return stays";
  append("rth\n");
  EXPECT_EQ(follower.readAppended().text, "fourth\n");
  EXPECT_EQ(follower.readAppended().text, "") << "nothing new";
}

TEST_F(LineFollowerTest, ACharacterCutByTheReadWaitsWithItsLine) {
  append("caf\xC3");
  LineFollower follower(path_);
  EXPECT_EQ(follower.readAppended().text, "") << "the first read opens the file";
  append("\xA9\n");
  EXPECT_EQ(follower.readAppended().text, "caf\xC3\xA9\n");
}

TEST_F(LineFollowerTest, TheUnfinishedLastLineCanBeTakenAndReadingGoesOnAfterIt) {
  append("one\ntwo\nthree without end");
  LineFollower follower(path_);
  EXPECT_EQ(follower.readAppended().text, "one\ntwo\n");
  EXPECT_EQ(follower.takeUnfinishedLine(), "three without end");
  EXPECT_EQ(follower.takeUnfinishedLine(), "") << "taken once";
  append("\nfour\n");
  EXPECT_EQ(follower.readAppended().text, "\nfour\n");
}

TEST_F(LineFollowerTest, SkippingToTheEndHandsOnNothingWrittenSoFar) {
  append("old\nunfinished");
  LineFollower follower(path_);
  ASSERT_TRUE(follower.open());
  follower.skipToEnd();
  append(" rest\nnew\n");
  EXPECT_EQ(follower.readAppended().text, " rest\nnew\n") << "the unfinished line was skipped with the rest";
}

TEST_F(LineFollowerTest, ATruncatedFileIsReadAgainFromItsStart) {
  append("a long first line\nsecond line\npartial");
  LineFollower follower(path_);
  EXPECT_EQ(follower.readAppended().text, "a long first line\nsecond line\n");
  rewrite("new\nnext");
  LineFollower::Lines lines = follower.readAppended();
  EXPECT_TRUE(lines.restarted);
  EXPECT_EQ(lines.text, "new\n") << "the old file's unfinished line is dropped";
  append("\n");
  lines = follower.readAppended();
  EXPECT_FALSE(lines.restarted) << "reported once";
  EXPECT_EQ(lines.text, "next\n");
}

TEST_F(LineFollowerTest, ReplacementByRenameIsFollowedFromTheNewFilesStart) {
  append("first launch\n");
  LineFollower follower(path_);
  EXPECT_EQ(follower.readAppended().text, "first launch\n");
  // Longer than the old file, so that only the new inode tells.
  replace("second launch, a longer line than before\nand more\n");
  LineFollower::Lines lines = follower.readAppended();
  EXPECT_TRUE(lines.restarted);
  EXPECT_EQ(lines.text, "second launch, a longer line than before\nand more\n");
  append("appended to the new file\n");
  lines = follower.readAppended();
  EXPECT_FALSE(lines.restarted);
  EXPECT_EQ(lines.text, "appended to the new file\n");
}

TEST_F(LineFollowerTest, ARemovedAndRecreatedFileIsANewFile) {
  append("old\n");
  LineFollower follower(path_);
  EXPECT_EQ(follower.readAppended().text, "old\n");
  // The descriptor keeps the old file alive, so the new one cannot get its
  // inode back.
  fs::remove(path_);
  EXPECT_EQ(follower.readAppended().text, "") << "a path that names nothing replaces nothing";
  append("recreated\n");
  LineFollower::Lines lines = follower.readAppended();
  EXPECT_TRUE(lines.restarted);
  EXPECT_EQ(lines.text, "recreated\n");
}

TEST_F(LineFollowerTest, IgnoringReplacementStaysOnTheFileOpenedFirst) {
  append("first\n");
  LineFollower follower(path_, LineFollower::Replacement::Ignore);
  EXPECT_EQ(follower.readAppended().text, "first\n");
  // The old file stays reachable, as a writer's open descriptor keeps it.
  const std::string kept = path_ + ".kept";
  ASSERT_EQ(::link(path_.c_str(), kept.c_str()), 0);
  replace("someone else's file\n");
  std::ofstream(kept, std::ios::binary | std::ios::app) << "second\n";
  LineFollower::Lines lines = follower.readAppended();
  EXPECT_FALSE(lines.restarted);
  EXPECT_EQ(lines.text, "second\n");
  // Truncation of the followed file itself still starts over.
  std::ofstream(kept, std::ios::binary | std::ios::trunc) << "x\n";
  lines = follower.readAppended();
  EXPECT_TRUE(lines.restarted);
  EXPECT_EQ(lines.text, "x\n");
}

TEST_F(LineFollowerTest, AMissingFileIsNoErrorAndIsReadOnceItAppears) {
  LineFollower follower(path_);
  EXPECT_FALSE(follower.open());
  EXPECT_FALSE(follower.isOpen());
  EXPECT_EQ(follower.fileDescriptor(), -1);
  LineFollower::Lines lines = follower.readAppended();
  EXPECT_EQ(lines.text, "");
  EXPECT_FALSE(lines.restarted);
  append("now here\n");
  lines = follower.readAppended();
  EXPECT_TRUE(follower.isOpen());
  EXPECT_EQ(lines.text, "now here\n");
  EXPECT_FALSE(lines.restarted) << "the first file is no restart";
}

TEST_F(LineFollowerTest, ClosingForgetsTheUnfinishedLineAndReopeningStartsAgain) {
  append("one\ntw");
  LineFollower follower(path_);
  EXPECT_EQ(follower.readAppended().text, "one\n");
  follower.close();
  EXPECT_FALSE(follower.isOpen());
  EXPECT_EQ(follower.takeUnfinishedLine(), "");
  append("o\n");
  LineFollower::Lines lines = follower.readAppended();
  EXPECT_FALSE(lines.restarted);
  EXPECT_EQ(lines.text, "one\ntwo\n");
}

}  // namespace
}  // namespace tq
