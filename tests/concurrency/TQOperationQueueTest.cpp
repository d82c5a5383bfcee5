// The library's operation queue: final operations, barriers, self-owning
// queues and signalling operations.

#include <atomic>
#include <chrono>
#include <mutex>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Eventually.h"
#include "tests/support/RaisedException.h"
#include "tests/support/RecordedAssertions.h"
#include "tq/concurrency/TQOperationQueue.h"
#include "tq/platform/dispatch/DispatchSemaphore.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/String.h"

namespace tq {
namespace {

using namespace std::chrono_literals;

using Recorder = testing::Recorder<>;
using testing::eventually;
using testing::raisedBy;

TEST(TQOperationQueueTest, FinalBlockQueueWaitsForStartThenRunsEverythingBeforeTheFinalWork) {
  Recorder record;
  DispatchSemaphore finalRan;
  auto queue = TQOperationQueue::newWithFinalBlock([&] {
    record("final");
    finalRan.signal();
  });
  EXPECT_TRUE(queue->isSuspended());
  ASSERT_NE(queue->uuid(), nullptr);
  EXPECT_FALSE(queue->uuid()->isEqual(*TQOperationQueue::newWithSetup(nullptr)->uuid())) << "each queue its own";
  queue->addOperationWithBlock([&] {
    std::this_thread::sleep_for(10ms);
    record("one");
  });
  queue->addOperationWithBlock([&] { record("two"); });
  std::this_thread::sleep_for(30ms);
  EXPECT_TRUE(record.snapshot().empty());
  EXPECT_EQ(queue->finalOperation()->dependencies().size(), 2u);
  queue->start();
  ASSERT_TRUE(finalRan.waitFor(5));
  auto events = record.snapshot();
  ASSERT_EQ(events.size(), 3u);
  EXPECT_EQ(events.back(), "final");
  // Held weakly: gone once the queue has let go of it.
  EXPECT_TRUE(eventually([&] { return queue->finalOperation() == nullptr; }));
}

TEST(TQOperationQueueTest, BarrierSeparatesTheOperationsBeforeAndAfterIt) {
  Recorder record;
  auto queue = make<TQOperationQueue>();
  for (int i = 0; i < 3; ++i) {
    queue->addOperationWithBlock([&, i] {
      std::this_thread::sleep_for(5ms);
      record("before" + std::to_string(i));
    });
  }
  queue->addBarrierBlock([&] {
    record("barrier-start");
    std::this_thread::sleep_for(20ms);
    record("barrier-end");
  });
  for (int i = 0; i < 3; ++i) queue->addOperationWithBlock([&, i] { record("after" + std::to_string(i)); });
  queue->waitUntilAllOperationsAreFinished();
  std::size_t start = record.indexOf("barrier-start"), end = record.indexOf("barrier-end");
  for (int i = 0; i < 3; ++i) {
    EXPECT_LT(record.indexOf("before" + std::to_string(i)), start);
    EXPECT_GT(record.indexOf("after" + std::to_string(i)), end);
  }
  EXPECT_EQ(queue->barriers()->count(), 0u) << "a barrier leaves the list when it starts";
}

TEST(TQOperationQueueTest, SecondBarrierWaitsForTheQueuedOperationsNotTheFirstBarrier) {
  auto queue = make<TQOperationQueue>();
  queue->setSuspended(true);
  auto a = BlockOperation::blockOperationWithBlock([] {});
  queue->addOperation(a);
  queue->addBarrierBlock([] {});
  auto b = BlockOperation::blockOperationWithBlock([] {});
  queue->addOperation(b);
  queue->addBarrierBlock([] {});
  auto barriers = queue->barriers();
  ASSERT_EQ(barriers->count(), 2u);
  auto first = std::static_pointer_cast<Operation>(barriers->objectAtIndex(0));
  auto second = std::static_pointer_cast<Operation>(barriers->objectAtIndex(1));
  EXPECT_EQ(first->queuePriority(), OperationQueuePriority::VeryHigh);
  ASSERT_NE(first->name(), nullptr);
  EXPECT_EQ(first->name()->length(), 36u);
  EXPECT_EQ(first->dependencies(), (std::vector<Ref<Operation>>{a}));
  EXPECT_EQ(second->dependencies(), (std::vector<Ref<Operation>>{a, b}));
  EXPECT_EQ(b->dependencies(), (std::vector<Ref<Operation>>{first}));
  queue->setSuspended(false);
  queue->waitUntilAllOperationsAreFinished();
}

TEST(TQOperationQueueTest, BarrierAddedLastCanRunAlongsideTheFinalOperation) {
  std::atomic<bool> finalRan{false};
  std::atomic<bool> barrierSawFinal{false};
  auto queue = TQOperationQueue::newWithFinalBlock([&] { finalRan = true; });
  queue->addOperationWithBlock([] {});
  // The barrier waits for the final work: it only finishes because the final
  // operation is not made to wait for it.
  queue->addBarrierBlock([&] { barrierSawFinal = eventually([&] { return finalRan.load(); }, 5); });
  auto final = queue->finalOperation();
  for (const auto& dependency : final->dependencies()) EXPECT_EQ(dependency->name(), nullptr);
  queue->start();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(barrierSawFinal.load());
}

TEST(TQOperationQueueTest, SelfOwningQueueRunsItsSetupThenReleasesItself) {
  Recorder record;
  DispatchSemaphore completed;
  WeakRef<TQOperationQueue> weak;
  {
    auto queue = TQOperationQueue::newWithSetup(
        [&](const Ref<TQOperationQueue>& q) {
          q->addOperationWithBlock([&] { record("a"); });
          q->addOperationWithBlock([&] { record("b"); });
          std::this_thread::sleep_for(10ms);
          record("setup-done");
        },
        [&] {
          record("completion");
          completed.signal();
        });
    weak = queue;
    EXPECT_FALSE(queue->isSuspended());
  }
  ASSERT_TRUE(completed.waitFor(5));
  EXPECT_TRUE(eventually([&] { return weak.expired(); }));
  auto events = record.snapshot();
  ASSERT_EQ(events.size(), 4u);
  EXPECT_EQ(events[0], "setup-done") << "operations wait for the end of setup";
  EXPECT_EQ(events[3], "completion");
}

TEST(TQOperationQueueTest, WithSetupAloneReportsItsEndlessRecursion) {
  Exception e = raisedBy([] { TQOperationQueue::withSetup([](const Ref<TQOperationQueue>&) {}); });
  EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency);
  EXPECT_NE(e.reason().find("without end"), std::string::npos);
}

TEST(TQOperationQueueTest, SignallingOperationFinishesWhenSignalled) {
  auto queue = make<TQOperationQueue>();
  queue->setMaxConcurrentOperationCount(1);
  auto immediate = queue->addSignallingOperationWithBlock([](const Ref<TQSignallingOperation>& op) { op->signal(); });
  immediate->waitUntilFinished();

  Ref<TQSignallingOperation> held;
  std::mutex m;
  auto stuck = queue->addTask([&](const Ref<TQSignallingOperation>& op) {
    std::lock_guard lock(m);
    held = op;
  });
  std::atomic<bool> nextRan{false};
  queue->addOperationWithBlock([&] { nextRan = true; });
  std::this_thread::sleep_for(50ms);
  EXPECT_TRUE(stuck->isExecuting());
  EXPECT_FALSE(nextRan.load()) << "an unsignalled operation keeps the serial queue busy";
  {
    std::lock_guard lock(m);
    ASSERT_NE(held, nullptr);
  }
  held->signal();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(nextRan.load());
}

TEST(TQOperationQueueTest, SignalsBeforeTheWorkStartsAreLost) {
  std::atomic<bool> workStarted{false};
  auto op = TQSignallingOperation::newWithBlock([&](const Ref<TQSignallingOperation>&) { workStarted = true; });
  EXPECT_EQ(op->opSema(), nullptr);
  op->signal();
  auto queue = make<OperationQueue>();
  queue->addOperation(op);
  ASSERT_TRUE(eventually([&] { return workStarted.load(); }));
  std::this_thread::sleep_for(20ms);
  EXPECT_FALSE(op->isFinished());
  op->signal();
  op->waitUntilFinished();
}

TEST(TQOperationQueueTest, AsyncBlockIsDoneFromAnotherThread) {
  auto queue = make<TQOperationQueue>();
  std::thread worker;
  auto op = queue->addOperationWithDescription(str("fetch"), [&](std::function<void()> done) {
    worker = std::thread([done] {
      std::this_thread::sleep_for(10ms);
      done();
    });
  });
  EXPECT_EQ(op->name()->utf8(), "fetch");
  op->waitUntilFinished();
  worker.join();
  auto plain = queue->addOperationWithAsyncBlock([](std::function<void()> done) { done(); });
  plain->waitUntilFinished();
}

TEST(TQOperationQueueTest, MainThreadExecutionFailsUnlessAllowed) {
  ASSERT_TRUE(RunLoop::isMainThread());
  auto forbidden = TQSignallingOperation::newWithBlock([](const Ref<TQSignallingOperation>& op) { op->signal(); });
  EXPECT_EQ(raisedBy([&] { forbidden->start(); }).reason(), "Execution block should not be occuring on main thread");
  {
    testing::RecordedAssertions recorded;
    auto reported = TQSignallingOperation::newWithBlock([](const Ref<TQSignallingOperation>& op) { op->signal(); });
    reported->start();
    ASSERT_EQ(recorded.failures.size(), 1u);
    EXPECT_EQ(recorded.failures[0].file, "TQSignallingOperation");
    EXPECT_EQ(recorded.failures[0].line, 35);
    EXPECT_TRUE(reported->isFinished()) << "with a handler that returns, execution goes on";
  }

  auto allowed = TQSignallingOperation::newWithBlock([](const Ref<TQSignallingOperation>& op) { op->signal(); });
  allowed->setCanBeExecutedOnMain(true);
  allowed->start();
  EXPECT_TRUE(allowed->isFinished());
}

TEST(TQOperationQueueTest, AbortCancelsTheRestOfItsOwnQueue) {
  auto queue = make<TQOperationQueue>();
  queue->setMaxConcurrentOperationCount(1);
  queue->setSuspended(true);
  auto other = make<OperationQueue>();
  other->setSuspended(true);
  std::atomic<bool> laterRan{false}, otherRan{false};
  auto aborting = queue->addTask([](const Ref<TQSignallingOperation>& op) { op->abort(); });
  auto later = BlockOperation::blockOperationWithBlock([&] { laterRan = true; });
  queue->addOperation(later);
  auto elsewhere = BlockOperation::blockOperationWithBlock([&] { otherRan = true; });
  other->addOperation(elsewhere);
  queue->start();
  queue->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(aborting->isFinished());
  EXPECT_TRUE(later->isCancelled());
  EXPECT_FALSE(laterRan.load());
  EXPECT_FALSE(elsewhere->isCancelled());
  other->setSuspended(false);
  other->waitUntilAllOperationsAreFinished();
  EXPECT_TRUE(otherRan.load());
}

TEST(TQOperationQueueTest, AbortOutsideAnyQueueOnlySignals) {
  auto op = TQSignallingOperation::newWithBlock([](const Ref<TQSignallingOperation>&) {});
  std::thread runner([&] { op->start(); });
  ASSERT_TRUE(eventually([&] { return op->opSema() != nullptr; }));
  op->abort();
  runner.join();
  EXPECT_TRUE(op->isFinished());
  EXPECT_FALSE(op->isCancelled());
}

TEST(TQOperationQueueTest, DebugDescriptionEndsWithTheName) {
  auto op = TQSignallingOperation::newWithBlock([](const Ref<TQSignallingOperation>&) {});
  std::string unnamed = op->debugDescription()->utf8();
  EXPECT_EQ(unnamed.substr(unnamed.size() - 7), " (null)");
  EXPECT_EQ(unnamed.rfind("<TQSignallingOperation: 0x", 0), 0u);
  op->setName(str("x"));
  std::string named = op->debugDescription()->utf8();
  EXPECT_EQ(named.substr(named.size() - 2), " x");
}

TEST(TQOperationQueueTest, MainQueueOperationHoldsBackTheFinalOperation) {
  RunLoop::main().drain();
  std::atomic<bool> finalRan{false};
  auto queue = TQOperationQueue::newWithFinalBlock([&] { finalRan = true; });
  auto before = BlockOperation::blockOperationWithBlock([] {});
  std::atomic<bool> onMain{false};
  auto mainOp = queue->addMainQueueOperationWithDependencies({before}, [&](const Ref<TQSignallingOperation>& op) {
    onMain = RunLoop::isMainThread();
    op->signal();
  });
  EXPECT_TRUE(mainOp->canBeExecutedOnMain());
  queue->addOperation(before);
  queue->start();
  std::this_thread::sleep_for(30ms);
  EXPECT_FALSE(finalRan.load()) << "the final operation waits for the main-queue operation";
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return finalRan.load(); }, 5));
  EXPECT_TRUE(onMain.load());
}

}  // namespace
}  // namespace tq
