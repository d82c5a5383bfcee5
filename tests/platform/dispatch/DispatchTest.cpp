// Dispatch queues, groups, semaphores and sources.

#include <fcntl.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <latch>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Eventually.h"
#include "tests/support/RaisedException.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/dispatch/DispatchGroup.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/dispatch/DispatchSemaphore.h"
#include "tq/platform/dispatch/DispatchSource.h"
#include "tq/platform/object/Exception.h"

namespace tq {
namespace {

using namespace std::chrono_literals;

using testing::eventually;

TEST(DispatchQueueTest, SerialQueueKeepsEachProducersOrderAndNeverOverlaps) {
  auto queue = DispatchQueue::createSerial("test.serial");
  std::mutex m;
  std::vector<std::vector<int>> seen(4);
  std::atomic<int> active{0}, maxActive{0};
  std::vector<std::thread> producers;
  for (int p = 0; p < 4; ++p) {
    producers.emplace_back([&, p] {
      for (int i = 0; i < 500; ++i) {
        queue->async([&, p, i] {
          int now = ++active;
          maxActive = std::max(maxActive.load(), now);
          {
            std::lock_guard lock(m);
            seen[p].push_back(i);
          }
          --active;
        });
      }
    });
  }
  for (auto& t : producers) t.join();
  queue->sync([] {});
  EXPECT_EQ(maxActive.load(), 1);
  for (auto& list : seen) {
    ASSERT_EQ(list.size(), 500u);
    for (int i = 0; i < 500; ++i) EXPECT_EQ(list[i], i);
  }
}

TEST(DispatchQueueTest, ConcurrentQueueRunsItemsAtTheSameTime) {
  auto queue = DispatchQueue::createConcurrent("test.concurrent");
  // Each item waits for all the others: only possible when they overlap.
  std::latch together(4);
  auto group = DispatchGroup::create();
  for (int i = 0; i < 4; ++i) group->async(queue, [&] { together.arrive_and_wait(); });
  EXPECT_TRUE(group->waitFor(10));
}

TEST(DispatchQueueTest, BarrierWaitsForEarlierItemsAndHoldsBackLaterOnes) {
  auto queue = DispatchQueue::createConcurrent("test.barrier");
  testing::Recorder<> record;
  for (int i = 0; i < 3; ++i) {
    queue->async([&] {
      std::this_thread::sleep_for(20ms);
      record("before");
    });
  }
  queue->barrierAsync([&] { record("barrier"); });
  for (int i = 0; i < 3; ++i) queue->async([&] { record("after"); });
  queue->barrierSync([] {});
  EXPECT_EQ(record.snapshot(),
            (std::vector<std::string>{"before", "before", "before", "barrier", "after", "after", "after"}));
}

TEST(DispatchQueueTest, SyncRethrowsAndLabelsAreVisibleInsideWork) {
  auto queue = DispatchQueue::createSerial("org.example.label");
  std::string label;
  queue->sync([&] { label = DispatchQueue::currentLabel(); });
  EXPECT_EQ(label, "org.example.label");
  EXPECT_EQ(DispatchQueue::currentLabel(), "");
  EXPECT_THROW(queue->sync([] { raise(ExceptionName::Range, "boom"); }), Exception);
}

TEST(DispatchQueueTest, AfterWaitsAtLeastTheDelay) {
  auto queue = DispatchQueue::createSerial("test.after");
  auto start = std::chrono::steady_clock::now();
  DispatchSemaphore done;
  std::chrono::steady_clock::time_point ran;
  queue->after(0.05, [&] {
    ran = std::chrono::steady_clock::now();
    done.signal();
  });
  ASSERT_TRUE(done.waitFor(5));
  EXPECT_GE(ran - start, 50ms);
}

TEST(DispatchQueueTest, BlockingWorkDoesNotStarveThePool) {
  // Forty items that all wait for each other: a fixed pool smaller than
  // that would never finish.
  std::latch together(40);
  auto group = DispatchGroup::create();
  for (int i = 0; i < 40; ++i) group->async(DispatchQueue::global(), [&] { together.arrive_and_wait(); });
  EXPECT_TRUE(group->waitFor(20));
}

TEST(DispatchGroupTest, WaitTimesOutUntilTheLastLeaveAndNotifyRunsOnce) {
  auto group = DispatchGroup::create();
  group->enter();
  group->enter();
  std::atomic<int> notified{0};
  group->notify(DispatchQueue::global(), [&] { ++notified; });
  EXPECT_FALSE(group->waitFor(0.02));
  group->leave();
  EXPECT_FALSE(group->waitFor(0.02));
  EXPECT_EQ(notified.load(), 0);
  group->leave();
  EXPECT_TRUE(group->waitFor(1));
  EXPECT_TRUE(eventually([&] { return notified.load() == 1; }));
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(notified.load(), 1);
}

TEST(DispatchGroupTest, NotifyOnAnEmptyGroupRunsAtOnceAndUnbalancedLeaveRaises) {
  auto group = DispatchGroup::create();
  DispatchSemaphore ran;
  group->notify(DispatchQueue::global(), [&] { ran.signal(); });
  EXPECT_TRUE(ran.waitFor(5));
  EXPECT_EQ(testing::raisedBy([&] { group->leave(); }).name(), ExceptionName::InternalInconsistency);
}

TEST(DispatchSemaphoreTest, CountsSignalsAndTimesOut) {
  DispatchSemaphore semaphore(0);
  EXPECT_FALSE(semaphore.waitFor(0.01));
  semaphore.signal();
  semaphore.signal();
  EXPECT_TRUE(semaphore.waitFor(0));
  EXPECT_TRUE(semaphore.waitFor(0));
  EXPECT_FALSE(semaphore.waitFor(0));
  std::thread signaller([&] {
    std::this_thread::sleep_for(10ms);
    semaphore.signal();
  });
  semaphore.wait();
  signaller.join();
  EXPECT_EQ(semaphore.value(), 0);
}

TEST(DispatchOnceTest, RunsTheBodyOnceAcrossThreads) {
  DispatchOnce token;
  std::atomic<int> runs{0};
  std::vector<std::thread> threads;
  for (int i = 0; i < 8; ++i) threads.emplace_back([&] { dispatchOnce(token, [&] { ++runs; }); });
  for (auto& t : threads) t.join();
  EXPECT_EQ(runs.load(), 1);
}

TEST(DispatchSourceTest, TimerRepeatsUntilCancelledAndRunsTheCancelHandlerOnce) {
  auto queue = DispatchQueue::createSerial("test.timer");
  std::atomic<int> fired{0}, cancelled{0};
  auto timer = DispatchSource::makeTimer(0.005, queue, [&] { ++fired; });
  timer->setCancelHandler([&] { ++cancelled; });
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(fired.load(), 0) << "a source starts suspended";
  timer->resume();
  EXPECT_TRUE(eventually([&] { return fired.load() >= 3; }));
  timer->cancel();
  timer->cancel();
  queue->sync([] {});
  int afterCancel = fired.load();
  std::this_thread::sleep_for(30ms);
  queue->sync([] {});
  EXPECT_EQ(fired.load(), afterCancel);
  EXPECT_EQ(cancelled.load(), 1);
}

TEST(DispatchSourceTest, ReadSourceFiresForPipeData) {
  int fds[2];
  ASSERT_EQ(::pipe(fds), 0);
  auto queue = DispatchQueue::createSerial("test.read");
  std::mutex m;
  std::string received;
  auto source = DispatchSource::makeRead(fds[0], queue, [&] {
    char buffer[64];
    ssize_t n = ::read(fds[0], buffer, sizeof buffer);
    std::lock_guard lock(m);
    if (n > 0) received.append(buffer, std::size_t(n));
  });
  auto receivedIs = [&](const char* text) {
    return eventually([&] {
      std::lock_guard lock(m);
      return received == text;
    });
  };
  source->resume();
  ASSERT_EQ(::write(fds[1], "abc", 3), 3);
  EXPECT_TRUE(receivedIs("abc"));
  ASSERT_EQ(::write(fds[1], "de", 2), 2);
  EXPECT_TRUE(receivedIs("abcde"));
  source->cancel();
  ::close(fds[1]);
  ::close(fds[0]);
}

TEST(DispatchSourceTest, ReadSourceOnARegularFileFiresWhenTheFileGrows) {
  testing::TemporaryFolder folder("read-source");
  const auto path = folder.path() / "growing";
  FILE* writer = std::fopen(path.c_str(), "w");
  ASSERT_NE(writer, nullptr);
  int fd = ::open(path.c_str(), O_RDONLY);
  auto queue = DispatchQueue::createSerial("test.file");
  std::atomic<int> fired{0};
  std::string received;
  auto source = DispatchSource::makeRead(fd, queue, [&] {
    char buffer[64];
    ssize_t n;
    while ((n = ::read(fd, buffer, sizeof buffer)) > 0) received.append(buffer, std::size_t(n));
    ++fired;
  });
  source->resume();
  std::this_thread::sleep_for(60ms);
  EXPECT_EQ(fired.load(), 0) << "an unchanged file is not readable news";
  std::fputs("line\n", writer);
  std::fflush(writer);
  EXPECT_TRUE(eventually([&] { return fired.load() == 1; }));
  queue->sync([&] { EXPECT_EQ(received, "line\n"); });
  source->cancel();
  ::close(fd);
  std::fclose(writer);
}

}  // namespace
}  // namespace tq
