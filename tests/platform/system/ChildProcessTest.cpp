// Running a program to its end: input in, output and error out, the ways it
// can end, and a time-out that takes the whole process group with it.

#include <gtest/gtest.h>
#include <signal.h>

#include <chrono>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/system/ChildProcess.h"

namespace tq {
namespace {

ChildProcessResult shell(const std::string& script, std::optional<std::string> input = std::nullopt,
                         double timeout = 0) {
  ChildProcessRequest request;
  request.executable = "/bin/sh";
  request.arguments = {"-c", script};
  request.input = std::move(input);
  request.timeout = timeout;
  return ChildProcess::run(request);
}

TEST(ChildProcessTest, FeedsInputAndCollectsBothStreams) {
  // More than a pipe holds, both ways, so that neither side may wait for the other.
  const std::string big(300'000, 'x');
  auto result = shell("cat; echo done >&2", big);
  EXPECT_TRUE(result.succeeded());
  EXPECT_EQ(result.output, big);
  EXPECT_EQ(result.error, "done\n");
}

TEST(ChildProcessTest, ReportsHowTheChildEnded) {
  auto exited = shell("exit 3");
  EXPECT_EQ(exited.exitStatus, 3);
  EXPECT_FALSE(exited.succeeded());
  auto killed = shell("kill -TERM $$");
  EXPECT_EQ(killed.signal, SIGTERM);
  EXPECT_EQ(killed.exitStatus, -1);
  ChildProcessRequest missing;
  missing.executable = "/no/such/program";
  EXPECT_EQ(ChildProcess::run(missing).startError, ENOENT);
  ChildProcessRequest byName;
  byName.executable = "true";
  EXPECT_TRUE(ChildProcess::run(byName).succeeded());
}

TEST(ChildProcessTest, ATimeOutStopsTheChildAndEverythingItStarted) {
  testing::TemporaryFolder folder("child");
  const std::string marker = folder.string() + "/grandchild";
  const auto start = std::chrono::steady_clock::now();
  // The grandchild would write its marker after two seconds if it survived.
  auto result = shell("(sleep 2; touch " + marker + ") & sleep 30", std::nullopt, 0.3);
  EXPECT_TRUE(result.timedOut);
  EXPECT_EQ(result.signal, SIGTERM);
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
  ::sleep(3);
  EXPECT_FALSE(std::filesystem::exists(marker));
}

TEST(ChildProcessTest, WhatTheChildLeftRunningEndsWithIt) {
  const auto start = std::chrono::steady_clock::now();
  // The background sleep holds standard output open; the call still returns
  // when the shell exits.
  auto result = shell("sleep 30 & echo started");
  EXPECT_TRUE(result.succeeded());
  EXPECT_EQ(result.output, "started\n");
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

}  // namespace
}  // namespace tq
