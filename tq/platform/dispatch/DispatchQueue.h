#pragma once
// Dispatch-style queues: serial and concurrent queues, the global concurrent
// queues, the main queue, delayed work and one-time initialisation.
//
// Work runs on a shared pool of worker threads that grows while every worker
// is busy (work that blocks, such as an operation waiting to be signalled,
// must not starve the rest) and shrinks again when threads stay idle. A
// serial queue drains its items on one worker at a time, in order; a
// concurrent queue hands each item to the pool, and a barrier item waits for
// everything before it and holds back everything after it.
//
// An exception that escapes a work item:
// - `sync` and `barrierSync` rethrow it in the calling thread, after the
//   item has finished, and the queue goes on with the next item;
// - an item of the main queue is run by `RunLoop::drain`, which rethrows it
//   to the host after putting the items that followed back at the front;
// - an item submitted with `async` (or `after`) on any other queue has no
//   caller to receive it: it ends the process through std::terminate, as any
//   exception leaving a thread does, and the logger's uncaught-exception
//   hook records it first. Work that may raise catches inside the item.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>

namespace tq {

using DispatchWork = std::function<void()>;

/// Quality-of-service classes. The values are the customary ones, so that
/// numbers stored by callers keep their meaning.
enum class QualityOfService : long {
  UserInteractive = 0x21,
  UserInitiated = 0x19,
  Utility = 0x11,
  Background = 0x09,
  Default = -1,
};

/// Priorities of the global concurrent queues.
enum class DispatchQueuePriority : long { High = 2, Default = 0, Low = -2, Background = -32768 };

/// The prefix of every queue label and per-thread key the library makes.
inline constexpr const char* LibraryDomainPrefix = "org.tqbasekit";

class DispatchQueue : public std::enable_shared_from_this<DispatchQueue> {
 public:
  enum class Kind { Serial, Concurrent, Main };

  static std::shared_ptr<DispatchQueue> createSerial(std::string label);
  static std::shared_ptr<DispatchQueue> createConcurrent(std::string label);
  /// The shared concurrent queue of a priority (never released).
  static std::shared_ptr<DispatchQueue> global(DispatchQueuePriority priority = DispatchQueuePriority::Default);
  static std::shared_ptr<DispatchQueue> global(QualityOfService qos);
  /// Work submitted here runs when the host drains the main run loop.
  static std::shared_ptr<DispatchQueue> main();

  DispatchQueue(Kind kind, std::string label);
  ~DispatchQueue();
  DispatchQueue(const DispatchQueue&) = delete;
  DispatchQueue& operator=(const DispatchQueue&) = delete;

  const std::string& label() const { return label_; }
  Kind kind() const { return kind_; }

  void async(DispatchWork work);
  /// Runs the work on the queue and returns when it has run. Calling it from
  /// the queue's own work deadlocks.
  void sync(DispatchWork work);
  /// On a concurrent queue: runs alone, after everything submitted before it
  /// and before everything submitted after it. On a serial queue the same as
  /// `async`.
  void barrierAsync(DispatchWork work);
  void barrierSync(DispatchWork work);
  /// Submits the work after `seconds` (clamped at 0).
  void after(double seconds, DispatchWork work);

  /// The label of the queue whose work the calling thread runs ("" if none).
  static std::string currentLabel();

 private:
  struct Item {
    DispatchWork work;
    bool barrier = false;
  };
  void submit(Item item);
  void scheduleLocked(std::unique_lock<std::mutex>& lock);
  void drainSerial();
  void finishConcurrent(bool barrier);

  Kind kind_;
  std::string label_;
  std::mutex mutex_;
  struct State;
  std::unique_ptr<State> state_;
};

using DispatchQueueRef = std::shared_ptr<DispatchQueue>;

/// One-time initialisation: the counterpart of a once token.
using DispatchOnce = std::once_flag;
template <class F>
void dispatchOnce(DispatchOnce& token, F&& body) {
  std::call_once(token, std::forward<F>(body));
}

namespace dispatch_detail {
/// Runs work on the shared worker pool (no queue, no ordering).
void submitToPool(DispatchWork work);
/// Calls `work` once `seconds` have passed, from the timer thread; the work
/// must be short (it normally submits to a queue).
void callAfter(double seconds, DispatchWork work);
/// Number of pool threads alive (for tests of the pool's growth).
std::size_t poolThreadCount();
}  // namespace dispatch_detail

}  // namespace tq
