// The main run loop: work waits for the host's drain, on the main thread.

#include <poll.h>

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/dispatch/RunLoop.h"

namespace tq {
namespace {

using namespace std::chrono_literals;

bool readable(int fd) {
  pollfd pfd{fd, POLLIN, 0};
  return ::poll(&pfd, 1, 0) == 1;
}

class RunLoopTest : public ::testing::Test {
 protected:
  void SetUp() override { RunLoop::main().drain(); }
};

TEST_F(RunLoopTest, WorkWaitsForTheDrainAndTheDescriptorSignalsIt) {
  auto& loop = RunLoop::main();
  ASSERT_TRUE(RunLoop::isMainThread());
  EXPECT_FALSE(readable(loop.fileDescriptor()));
  std::atomic<bool> ran{false};
  bool onMain = false;
  std::thread([&] {
    EXPECT_FALSE(RunLoop::isMainThread());
    DispatchQueue::main()->async([&] {
      onMain = RunLoop::isMainThread();
      ran = true;
    });
  }).join();
  EXPECT_FALSE(ran.load());
  EXPECT_TRUE(readable(loop.fileDescriptor()));
  EXPECT_EQ(loop.drain(), 1u);
  EXPECT_TRUE(ran.load());
  EXPECT_TRUE(onMain);
  EXPECT_FALSE(readable(loop.fileDescriptor()));
}

TEST_F(RunLoopTest, WorkQueuedDuringADrainWaitsForTheNextOne) {
  auto& loop = RunLoop::main();
  int order = 0, first = 0, second = 0;
  loop.perform([&] {
    first = ++order;
    loop.perform([&] { second = ++order; });
  });
  EXPECT_EQ(loop.drain(), 1u);
  EXPECT_EQ(first, 1);
  EXPECT_EQ(second, 0);
  EXPECT_TRUE(readable(loop.fileDescriptor()));
  EXPECT_EQ(loop.drain(), 1u);
  EXPECT_EQ(second, 2);
}

TEST_F(RunLoopTest, WorkThatRaisesEndsTheDrainAndKeepsTheRestQueued) {
  auto& loop = RunLoop::main();
  std::vector<int> ran;
  loop.perform([&] { ran.push_back(1); });
  loop.perform([] { throw std::runtime_error("host sees this"); });
  loop.perform([&] { ran.push_back(3); });
  loop.perform([&] { ran.push_back(4); });
  EXPECT_THROW(loop.drain(), std::runtime_error);
  EXPECT_EQ(ran, (std::vector<int>{1}));
  EXPECT_TRUE(readable(loop.fileDescriptor()));
  EXPECT_EQ(loop.drain(), 2u);
  EXPECT_EQ(ran, (std::vector<int>{1, 3, 4}));
}

TEST_F(RunLoopTest, RunUntilStopsAtTheConditionOrTheDeadline) {
  auto& loop = RunLoop::main();
  std::atomic<bool> flag{false};
  std::thread([&] {
    std::this_thread::sleep_for(10ms);
    DispatchQueue::main()->async([&] { flag = true; });
  }).detach();
  EXPECT_TRUE(loop.runUntil([&] { return flag.load(); }, 5));
  auto start = std::chrono::steady_clock::now();
  EXPECT_FALSE(loop.runUntil([] { return false; }, 0.05));
  EXPECT_GE(std::chrono::steady_clock::now() - start, 50ms);
}

TEST_F(RunLoopTest, StopFromAnotherThreadEndsRun) {
  auto& loop = RunLoop::main();
  std::atomic<int> ran{0};
  std::thread other([&] {
    for (int i = 0; i < 5; ++i) DispatchQueue::main()->async([&] { ++ran; });
    std::this_thread::sleep_for(20ms);
    loop.stop();
  });
  loop.run();
  other.join();
  EXPECT_EQ(ran.load(), 5);
}

}  // namespace
}  // namespace tq
