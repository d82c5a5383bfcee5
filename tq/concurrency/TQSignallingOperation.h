#pragma once
// An operation whose work may finish asynchronously: the work receives the
// operation and calls `signal` (or `abort`) when it is done, and the
// operation keeps its queue slot until then.

#include <functional>
#include <mutex>

#include "tq/platform/dispatch/DispatchSemaphore.h"
#include "tq/platform/dispatch/Operation.h"

namespace tq {

class TQSignallingOperation;

/// Work that receives the operation running it; it must eventually call
/// `signal` or `abort` on it.
using TQOperationWork = std::function<void(const Ref<TQSignallingOperation>&)>;
/// Work that receives a "done" callback; calling it signals the operation.
using TQAsyncWork = std::function<void(std::function<void()> done)>;

class TQSignallingOperation : public BlockOperation {
 public:
  TQSignallingOperation() = default;
  std::string className() const override { return "TQSignallingOperation"; }

  /// The operation with one execution unit that runs `work` and then waits
  /// for the signal.
  static Ref<TQSignallingOperation> newWithBlock(TQOperationWork work);

  bool canBeExecutedOnMain() const;
  void setCanBeExecutedOnMain(bool value);
  /// The semaphore the execution waits on; nil before the work has started.
  DispatchSemaphoreRef opSema() const;
  void setOpSema(DispatchSemaphoreRef semaphore);

  /// Signals the semaphore once, if the work has started; otherwise the
  /// signal is lost.
  void signal();
  /// Cancels every operation of the queue running the caller (none when the
  /// caller runs on no operation queue), then signals.
  void abort();
  /// The description, a blank and the name ("(null)" without one).
  Ref<String> debugDescription() const;

 private:
  mutable std::mutex propertyMutex_;
  bool canBeExecutedOnMain_ = false;
  DispatchSemaphoreRef opSema_;
};

}  // namespace tq
