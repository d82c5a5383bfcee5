// Dispatch-group and await helpers, thread flags, call stacks, exception
// capture.

#include <atomic>
#include <cstdint>
#include <cstdio>
#include <chrono>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "tq/concurrency/TQDispatchGroup.h"
#include "tq/concurrency/ThreadHelpers.h"
#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/dispatch/DispatchSemaphore.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/collection/ThreadDictionary.h"

namespace tq {
namespace {

using namespace std::chrono_literals;

TEST(TQDispatchGroupTest, AwaitReturnsOnlyAfterTheLastDone) {
  std::atomic<int> finished{0};
  std::vector<std::thread> workers;
  TQDispatchGroup::await([&](const Ref<TQDispatchGroup>& group) {
    for (int i = 0; i < 3; ++i) {
      group->performTask()([&, i](TQDispatchGroup::Done done) {
        workers.emplace_back([&, i, done] {
          std::this_thread::sleep_for(std::chrono::milliseconds(5 * (i + 1)));
          ++finished;
          done();
        });
      });
    }
  });
  EXPECT_EQ(finished.load(), 3);
  for (auto& w : workers) w.join();
}

TEST(TQDispatchGroupTest, RunCallsTheCompletionOnceEvenWithoutTasks) {
  std::atomic<int> calls{0};
  DispatchSemaphore called;
  std::string label;
  TQDispatchGroup::run([](const Ref<TQDispatchGroup>&) {},
                       [&] {
                         label = DispatchQueue::currentLabel();
                         ++calls;
                         called.signal();
                       });
  ASSERT_TRUE(called.waitFor(5));
  std::this_thread::sleep_for(10ms);
  EXPECT_EQ(calls.load(), 1);
  EXPECT_EQ(label, DispatchQueue::global(DispatchQueuePriority::Default)->label());
}

TEST(TQDispatchGroupTest, RunWaitsForItsTasksBeforeTheCompletion) {
  std::atomic<bool> taskDone{false};
  DispatchSemaphore called;
  bool sawTask = false;
  std::thread worker;
  TQDispatchGroup::run(
      [&](const Ref<TQDispatchGroup>& group) {
        group->performTask()([&](TQDispatchGroup::Done done) {
          worker = std::thread([&, done] {
            std::this_thread::sleep_for(10ms);
            taskDone = true;
            done();
          });
        });
      },
      [&] {
        sawTask = taskDone.load();
        called.signal();
      });
  ASSERT_TRUE(called.waitFor(5));
  EXPECT_TRUE(sawTask);
  worker.join();
}

TEST(TQAwaitTest, BlocksUntilDone) {
  std::atomic<bool> done{false};
  std::thread worker;
  TQAwait::for_([&](std::function<void()> finish) {
    worker = std::thread([&, finish] {
      std::this_thread::sleep_for(10ms);
      done = true;
      finish();
    });
  });
  EXPECT_TRUE(done.load());
  worker.join();
}

TEST(ThreadFlagTest, FlagsAreASetPerThreadAndTheEntryGoesWithTheLastFlag) {
  auto key = str(threadFlagsKey());
  EXPECT_EQ(threadFlagsKey(), "org.tqbasekitthreadFlags");
  set_tq_threadFlag(str("busy"), true);
  set_tq_threadFlag(str("busy"), true);
  set_tq_threadFlag(str("quiet"), true);
  EXPECT_TRUE(_tq_threadFlag(str("busy")));
  bool seenElsewhere = true;
  std::thread([&] { seenElsewhere = _tq_threadFlag(str("busy")); }).join();
  EXPECT_FALSE(seenElsewhere);
  set_tq_threadFlag(str("busy"), false);
  EXPECT_FALSE(_tq_threadFlag(str("busy")));
  EXPECT_NE(threadDictionary().objectForKey(key), nullptr);
  set_tq_threadFlag(str("quiet"), false);
  EXPECT_EQ(threadDictionary().objectForKey(key), nullptr);
  set_tq_threadFlag(str("never-set"), false);
  EXPECT_FALSE(_tq_threadFlag(str("never-set")));
}

TEST(CallStackTest, SymbolMethodsAnswerEmptyArrays) {
  EXPECT_EQ(TQabbreviatedCallStackSymbols()->count(), 0u);
  EXPECT_EQ(TQcallStackSymbolsForFrameCount(5)->count(), 0u);
  EXPECT_EQ(TQcallStackSymbolsForFrameCount(1000)->count(), 0u);
}

TEST(CallStackTest, KeepsOnlyAddOnFramesAfterTheFirst) {
  std::vector<std::string> lines = {
      "0   Corvina  0x0000000100001000 selfFrame + 12",
      "1   libc.so  0x00007f0000001000 start + 4",
      "2   Corvina  0x0000000100002000 -[Sync run] + 40",
      "3   Corvina-without-address",
  };
  auto kept = detail::filterAddOnFrames(lines);
  ASSERT_EQ(kept->count(), 1u);
  EXPECT_EQ(describeUTF8(kept->objectAtIndex(0)), lines[2]);
  EXPECT_EQ(detail::filterAddOnFrames({lines[0]})->count(), 1u) << "a single line is kept";
  EXPECT_FALSE(detail::currentStackLines().empty());
  EXPECT_EQ(TQcallStack()->count(), 0u) << "no add-on frames in this process";
}

// Answers the stack lines as seen from here, and where this function returns
// to in its caller.
[[gnu::noinline]] std::vector<std::string> stackLinesFromHere(void** returnAddress) {
  *returnAddress = __builtin_return_address(0);
  std::vector<std::string> lines = detail::currentStackLines();
  asm volatile("");  // no tail call: this frame stays on the stack
  return lines;
}

TEST(CallStackTest, StackLinesStartAtTheCallersFrame) {
  void* returnAddress = nullptr;
  std::vector<std::string> lines = stackLinesFromHere(&returnAddress);
  ASSERT_GE(lines.size(), 2u);
  // Line 0 is stackLinesFromHere itself; line 1 is this test, at the place
  // stackLinesFromHere returns to. Were the capturing function's own frame
  // kept, this test would be line 2, and TQcallStack's filter would drop the
  // capturing frame instead of TQcallStack's own.
  char address[32];
  std::snprintf(address, sizeof address, "0x%016llx", static_cast<unsigned long long>(
                                                           reinterpret_cast<std::uintptr_t>(returnAddress)));
  EXPECT_EQ(lines[0].rfind("0   ", 0), 0u) << lines[0];
  EXPECT_NE(lines[1].find(address), std::string::npos) << lines[1] << " should be at " << address;
}

TEST(CallStackTest, StackLinesTakeTheLayoutTheFilterExpects) {
  using detail::stackLine;
  std::string addOn = stackLine(2, "/usr/lib/mail/libCorvina.so(_ZN4Sync3runEv+0x1c) [0x7f0000001234]");
  EXPECT_EQ(addOn, "2   libCorvina.so                       0x00007f0000001234 Sync::run() + 28");
  EXPECT_EQ(stackLine(0, "./host(+0x10) [0x55aa]"),
            "0   host                                0x00000000000055aa ??? + 16");
  // The frame number before the module is what lets an add-on frame match.
  EXPECT_EQ(detail::filterAddOnFrames({"0   self", addOn})->count(), 1u);
}

TEST(CatchExceptionTest, TurnsLibraryExceptionsIntoErrors) {
  Ref<Error> error;
  EXPECT_TRUE(catchException([] {}, &error));
  EXPECT_EQ(error, nullptr);
  EXPECT_FALSE(catchException([] { raise(ExceptionName::Range, "out"); }, &error));
  ASSERT_NE(error, nullptr);
  EXPECT_EQ(error->domain(), ExceptionName::Range);
  EXPECT_EQ(error->code(), 0);
  EXPECT_THROW(catchException([] { throw std::runtime_error("other"); }, &error), std::runtime_error);
  EXPECT_EQ(debugLogKey(*error), nullptr);
}

}  // namespace
}  // namespace tq
