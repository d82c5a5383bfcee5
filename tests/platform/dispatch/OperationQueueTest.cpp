// Operation queues: readiness, dependencies across queues, priorities,
// suspension, cancellation, the current queue and the main queue.

#include <atomic>
#include <chrono>
#include <latch>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Eventually.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/dispatch/DispatchSemaphore.h"
#include "tq/platform/dispatch/OperationQueue.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/object/Exception.h"

namespace tq {
namespace {

using namespace std::chrono_literals;

using Recorder = testing::Recorder<>;
using testing::eventually;

Ref<BlockOperation> op(std::function<void()> work) { return BlockOperation::blockOperationWithBlock(std::move(work)); }

TEST(OperationQueueTest, SerialQueueRunsOperationsInTheOrderAdded) {
  auto queue = make<OperationQueue>();
  queue->setMaxConcurrentOperationCount(1);
  Recorder record;
  for (int i = 0; i < 50; ++i) queue->addOperationWithBlock([&, i] { record(std::to_string(i)); });
  queue->waitUntilAllOperationsAreFinished();
  auto events = record.snapshot();
  ASSERT_EQ(events.size(), 50u);
  for (int i = 0; i < 50; ++i) EXPECT_EQ(events[i], std::to_string(i));
  EXPECT_EQ(queue->operationCount(), 0u);
}

TEST(OperationQueueTest, DependencyInAnotherQueueHoldsTheOperationBack) {
  auto first = make<OperationQueue>();
  auto second = make<OperationQueue>();
  first->setSuspended(true);
  Recorder record;
  auto a = op([&] { record("a"); });
  auto b = op([&] { record("b"); });
  b->addDependency(a);
  second->addOperation(b);
  first->addOperation(a);
  std::this_thread::sleep_for(30ms);
  EXPECT_TRUE(record.snapshot().empty());
  EXPECT_FALSE(b->isReady());
  first->setSuspended(false);
  b->waitUntilFinished();
  EXPECT_EQ(record.snapshot(), (std::vector<std::string>{"a", "b"}));
  EXPECT_TRUE(a->isFinished());
}

// A one-at-a-time queue, held while a test fills it.
class HeldSerialQueueTest : public ::testing::Test {
 protected:
  void SetUp() override {
    queue_->setMaxConcurrentOperationCount(1);
    queue_->setSuspended(true);
  }
  Ref<BlockOperation> add(std::string name, OperationQueuePriority priority = OperationQueuePriority::Normal) {
    auto o = op([this, name] { record_(name); });
    o->setQueuePriority(priority);
    queue_->addOperation(o);
    return o;
  }
  std::vector<std::string> runAll() {
    queue_->setSuspended(false);
    queue_->waitUntilAllOperationsAreFinished();
    return record_.snapshot();
  }
  Ref<OperationQueue> queue_ = make<OperationQueue>();
  Recorder record_;
};

TEST_F(HeldSerialQueueTest, HigherQueuePriorityStartsFirstAndEqualsKeepTheirOrder) {
  add("normal1");
  add("low", OperationQueuePriority::Low);
  add("veryHigh", OperationQueuePriority::VeryHigh);
  add("normal2");
  add("high", OperationQueuePriority::High);
  EXPECT_EQ(runAll(), (std::vector<std::string>{"veryHigh", "high", "normal1", "normal2", "low"}));
}

TEST_F(HeldSerialQueueTest, PriorityChangedWhileWaitingTakesEffect) {
  auto a = add("a"), b = add("b"), c = add("c"), d = add("d");
  a->setQueuePriority(OperationQueuePriority::Low);
  d->setQueuePriority(OperationQueuePriority::VeryHigh);
  c->setQueuePriority(OperationQueuePriority::High);
  c->setQueuePriority(OperationQueuePriority::Normal);  // back among equals, in the order added
  EXPECT_EQ(runAll(), (std::vector<std::string>{"d", "b", "c", "a"}));
}

TEST(OperationQueueTest, MaxConcurrentCountLimitsOverlap) {
  auto queue = make<OperationQueue>();
  queue->setMaxConcurrentOperationCount(2);
  std::atomic<int> active{0}, maxActive{0};
  for (int i = 0; i < 12; ++i) {
    queue->addOperationWithBlock([&] {
      int now = ++active;
      int seen = maxActive.load();
      while (now > seen && !maxActive.compare_exchange_weak(seen, now)) {
      }
      std::this_thread::sleep_for(3ms);
      --active;
    });
  }
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_EQ(maxActive.load(), 2);
}

TEST(OperationQueueTest, CancelledOperationsFinishWithoutRunningOrWaiting) {
  auto queue = make<OperationQueue>();
  auto blocker = op([] {});
  auto never = make<OperationQueue>();
  never->setSuspended(true);
  never->addOperation(blocker);  // never runs: the dependency stays unfinished
  std::atomic<bool> ran{false};
  auto waiting = op([&] { ran = true; });
  waiting->addDependency(blocker);
  bool completed = false;
  DispatchSemaphore completion;
  waiting->setCompletionBlock([&] {
    completed = true;
    completion.signal();
  });
  queue->addOperation(waiting);
  EXPECT_EQ(queue->operations().size(), 1u);
  queue->cancelAllOperations();
  waiting->waitUntilFinished();
  EXPECT_TRUE(waiting->isCancelled());
  EXPECT_FALSE(ran.load());
  ASSERT_TRUE(completion.waitFor(5));
  EXPECT_TRUE(completed);
  never->cancelAllOperations();
  never->setSuspended(false);
  never->waitUntilAllOperationsAreFinished();
}

TEST_F(HeldSerialQueueTest, OperationsListsTheUnfinishedInOrderAndCurrentQueueIsTheRunner) {
  auto a = add("a");
  Ref<OperationQueue> seen;
  auto b = op([&] { seen = OperationQueue::currentQueue(); });
  queue_->addOperation(b);
  auto listed = queue_->operations();
  ASSERT_EQ(listed.size(), 2u);
  EXPECT_EQ(listed[0], a);
  EXPECT_EQ(listed[1], b);
  EXPECT_EQ(queue_->operationsArray()->count(), 2u);
  runAll();
  EXPECT_EQ(seen, queue_);
  EXPECT_EQ(OperationQueue::currentQueue(), nullptr);
}

TEST_F(HeldSerialQueueTest, AddingTwiceOrStartingEarlyRaises) {
  auto a = add("a");
  EXPECT_THROW(queue_->addOperation(a), Exception);
  auto b = op([] {});
  b->addDependency(a);
  EXPECT_THROW(b->start(), Exception);
  runAll();
  b->start();
  EXPECT_TRUE(b->isFinished());
  EXPECT_THROW(b->start(), Exception);
}

TEST(OperationQueueTest, BlockOperationRunsItsExecutionUnitsTogether) {
  // Three units that wait for each other finish only when they overlap.
  std::latch together(3);
  auto operation = op([&] { together.arrive_and_wait(); });
  operation->addExecutionBlock([&] { together.arrive_and_wait(); });
  operation->addExecutionBlock([&] { together.arrive_and_wait(); });
  EXPECT_EQ(operation->executionBlockCount(), 3u);
  auto queue = make<OperationQueue>();
  queue->addOperation(operation);
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(operation->isFinished());
  EXPECT_THROW(operation->addExecutionBlock([] {}), Exception);
}

TEST(OperationQueueTest, MainQueueOperationsRunOnTheMainThreadWhenDrained) {
  RunLoop::main().drain();
  std::atomic<bool> onMain{false};
  Ref<OperationQueue> current;
  auto operation = op([&] {
    onMain = RunLoop::isMainThread();
    current = OperationQueue::currentQueue();
  });
  std::thread([&] { OperationQueue::mainQueue()->addOperation(operation); }).join();
  EXPECT_FALSE(operation->isFinished());
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return operation->isFinished(); }, 5));
  EXPECT_TRUE(onMain.load());
  EXPECT_EQ(current, OperationQueue::mainQueue());
}

TEST(OperationQueueTest, MainQueueGoesOnAfterAnOperationRaises) {
  RunLoop::main().drain();
  auto failing = op([] { raise(ExceptionName::InternalInconsistency, "failed on main"); });
  std::atomic<bool> nextRan{false};
  auto next = op([&] { nextRan = true; });
  OperationQueue::mainQueue()->addOperation(failing);
  OperationQueue::mainQueue()->addOperation(next);
  EXPECT_THROW(RunLoop::main().drain(), Exception) << "the host's drain sees the exception";
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return next->isFinished(); }, 5));
  EXPECT_TRUE(nextRan.load());
}

TEST(OperationQueueTest, ReleasedQueueFinishesTheRunningOperation) {
  DispatchSemaphore started, release;
  std::atomic<bool> finished{false};
  WeakRef<OperationQueue> weak;
  {
    auto queue = make<OperationQueue>();
    weak = queue;
    queue->addOperationWithBlock([&] {
      started.signal();
      release.wait();
      finished = true;
    });
    ASSERT_TRUE(started.waitFor(5));
  }
  EXPECT_FALSE(weak.expired()) << "a running operation keeps its queue";
  release.signal();
  EXPECT_TRUE(eventually([&] { return weak.expired(); }, 1.0, 2ms));
  EXPECT_TRUE(finished.load());
}

}  // namespace
}  // namespace tq
