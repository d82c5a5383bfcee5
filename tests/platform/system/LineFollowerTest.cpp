// Following a growing file line by line: pieces of lines wait for their line
// break, and a file that is truncated or replaced is read again from its
// start, with the restart reported.

#include <unistd.h>

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/system/LineFollower.h"

namespace tq {
namespace {

namespace fs = std::filesystem;

// The next read hands on `text` and tells of no restart.
::testing::AssertionResult readsOn(LineFollower& follower, const std::string& text) {
  LineFollower::Lines lines = follower.readAppended();
  if (lines.restarted) return ::testing::AssertionFailure() << "restarted with \"" << lines.text << "\"";
  if (lines.text != text) return ::testing::AssertionFailure() << "read \"" << lines.text << "\"";
  return ::testing::AssertionSuccess();
}

// The next read tells of a restart and hands on `text`, from the file's start.
::testing::AssertionResult restartsWith(LineFollower& follower, const std::string& text) {
  LineFollower::Lines lines = follower.readAppended();
  if (!lines.restarted) return ::testing::AssertionFailure() << "no restart; read \"" << lines.text << "\"";
  if (lines.text != text) return ::testing::AssertionFailure() << "restarted with \"" << lines.text << "\"";
  return ::testing::AssertionSuccess();
}

class LineFollowerTest : public ::testing::Test {
 protected:
  // Writes as a writer does: appended, or the file started anew.
  void append(const std::string& bytes) { std::ofstream(path_, std::ios::binary | std::ios::app) << bytes; }
  void rewrite(const std::string& bytes) { std::ofstream(path_, std::ios::binary | std::ios::trunc) << bytes; }
  // A new file made next to the old one and renamed over it.
  void replace(const std::string& bytes) {
    const std::string fresh = path_ + ".new";
    std::ofstream(fresh, std::ios::binary) << bytes;
    ASSERT_EQ(std::rename(fresh.c_str(), path_.c_str()), 0);
  }

  tq::testing::TemporaryFolder folder_{"line-follower"};
  const std::string path_ = (folder_.path() / "followed.log").string();
};

TEST_F(LineFollowerTest, AppendsInPiecesComeOutAsWholeLines) {
  append("");
  LineFollower follower(path_);
  ASSERT_TRUE(follower.open());
  EXPECT_TRUE(readsOn(follower, ""));

  append("first li");
  EXPECT_TRUE(readsOn(follower, "")) << "a piece of a line waits";
  append("ne\nsecond");
  EXPECT_TRUE(readsOn(follower, "first line\n"));
  append(" line\r\nthird line\nfou");
  EXPECT_TRUE(readsOn(follower, "second line\r\nthird line\n")) << "a carriage return stays";
  append("rth\n");
  EXPECT_TRUE(readsOn(follower, "fourth\n"));
  EXPECT_TRUE(readsOn(follower, "")) << "nothing new";
}

TEST_F(LineFollowerTest, TheUnfinishedLastLineCanBeTakenAndReadingGoesOnAfterIt) {
  append("one\ntwo\nthree without end");
  LineFollower follower(path_);
  EXPECT_TRUE(readsOn(follower, "one\ntwo\n"));
  EXPECT_EQ(follower.takeUnfinishedLine(), "three without end");
  EXPECT_EQ(follower.takeUnfinishedLine(), "") << "taken once";
  append("\nfour\n");
  EXPECT_TRUE(readsOn(follower, "\nfour\n"));
}

TEST_F(LineFollowerTest, SkippingToTheEndHandsOnNothingWrittenSoFar) {
  append("old\nunfinished");
  LineFollower follower(path_);
  ASSERT_TRUE(follower.open());
  follower.skipToEnd();
  append(" rest\nnew\n");
  EXPECT_TRUE(readsOn(follower, " rest\nnew\n")) << "the unfinished line was skipped with the rest";
}

TEST_F(LineFollowerTest, ATruncatedFileIsReadAgainFromItsStart) {
  append("a long first line\nsecond line\npartial");
  LineFollower follower(path_);
  EXPECT_TRUE(readsOn(follower, "a long first line\nsecond line\n"));
  rewrite("new\nnext");
  EXPECT_TRUE(restartsWith(follower, "new\n")) << "the old file's unfinished line is dropped";
  append("\n");
  EXPECT_TRUE(readsOn(follower, "next\n")) << "reported once";
}

TEST_F(LineFollowerTest, ReplacementByRenameIsFollowedFromTheNewFilesStart) {
  append("first launch\n");
  LineFollower follower(path_);
  EXPECT_TRUE(readsOn(follower, "first launch\n"));
  // Longer than the old file, so that only the new inode tells.
  replace("second launch, a longer line than before\nand more\n");
  EXPECT_TRUE(restartsWith(follower, "second launch, a longer line than before\nand more\n"));
  append("appended to the new file\n");
  EXPECT_TRUE(readsOn(follower, "appended to the new file\n"));
}

TEST_F(LineFollowerTest, ARemovedAndRecreatedFileIsANewFile) {
  append("old\n");
  LineFollower follower(path_);
  EXPECT_TRUE(readsOn(follower, "old\n"));
  // The descriptor keeps the old file alive, so the new one cannot get its
  // inode back.
  fs::remove(path_);
  EXPECT_TRUE(readsOn(follower, "")) << "a path that names nothing replaces nothing";
  append("recreated\n");
  EXPECT_TRUE(restartsWith(follower, "recreated\n"));
}

TEST_F(LineFollowerTest, IgnoringReplacementStaysOnTheFileOpenedFirst) {
  append("first\n");
  LineFollower follower(path_, LineFollower::Replacement::Ignore);
  EXPECT_TRUE(readsOn(follower, "first\n"));
  // The old file stays reachable, as a writer's open descriptor keeps it.
  const std::string kept = path_ + ".kept";
  ASSERT_EQ(::link(path_.c_str(), kept.c_str()), 0);
  replace("someone else's file\n");
  std::ofstream(kept, std::ios::binary | std::ios::app) << "second\n";
  EXPECT_TRUE(readsOn(follower, "second\n"));
  // Truncation of the followed file itself still starts over.
  std::ofstream(kept, std::ios::binary | std::ios::trunc) << "x\n";
  EXPECT_TRUE(restartsWith(follower, "x\n"));
}

TEST_F(LineFollowerTest, AMissingFileIsNoErrorAndIsReadOnceItAppears) {
  LineFollower follower(path_);
  EXPECT_FALSE(follower.open());
  EXPECT_FALSE(follower.isOpen());
  EXPECT_EQ(follower.fileDescriptor(), -1);
  EXPECT_TRUE(readsOn(follower, ""));
  append("now here\n");
  EXPECT_TRUE(readsOn(follower, "now here\n")) << "the first file is no restart";
  EXPECT_TRUE(follower.isOpen());
}

TEST_F(LineFollowerTest, ClosingForgetsTheUnfinishedLineAndReopeningStartsAgain) {
  append("one\ntw");
  LineFollower follower(path_);
  EXPECT_TRUE(readsOn(follower, "one\n"));
  follower.close();
  EXPECT_FALSE(follower.isOpen());
  EXPECT_EQ(follower.takeUnfinishedLine(), "");
  append("o\n");
  EXPECT_TRUE(readsOn(follower, "one\ntwo\n"));
}

}  // namespace
}  // namespace tq
