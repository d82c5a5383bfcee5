#pragma once
// Operations: units of work with a life cycle (ready, executing, finished,
// cancelled), dependencies that may cross queues, a queue priority and a
// quality of service. A queue starts an operation only once every dependency
// has finished; a cancelled operation no longer waits for its dependencies
// and finishes without running its work.

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/object/Object.h"

namespace tq {

class OperationQueue;

enum class OperationQueuePriority : long { VeryLow = -8, Low = -4, Normal = 0, High = 4, VeryHigh = 8 };

class Operation : public Object {
 public:
  Operation() = default;
  ~Operation() override;

  std::string className() const override { return "Operation"; }

  /// Runs the work on the calling thread: `main()` unless cancelled, then
  /// finishes. Starting an operation twice, or one whose dependencies have
  /// not finished, raises invalid-argument.
  virtual void start();
  /// The work; subclasses override it.
  virtual void main() {}
  /// Marks the operation cancelled. Running work goes on (it may check
  /// `isCancelled()`); one not yet started finishes without running.
  virtual void cancel();

  bool isCancelled() const;
  bool isExecuting() const;
  bool isFinished() const;
  /// Not started, and either cancelled or without unfinished dependencies.
  bool isReady() const;

  void addDependency(const Ref<Operation>& operation);
  void removeDependency(const Ref<Operation>& operation);
  std::vector<Ref<Operation>> dependencies() const;

  OperationQueuePriority queuePriority() const;
  void setQueuePriority(OperationQueuePriority priority);
  QualityOfService qualityOfService() const;
  void setQualityOfService(QualityOfService qos);
  Ref<String> name() const;
  void setName(Ref<String> name);
  /// Runs once the operation has finished, on a worker thread.
  std::function<void()> completionBlock() const;
  void setCompletionBlock(std::function<void()> block);

  /// Blocks until the operation has finished.
  void waitUntilFinished();

 protected:
  /// Records the end of the work: wakes waiters, releases dependents, runs
  /// the completion block.
  void finish();

  friend class OperationQueue;
  enum class State { Pending, Executing, Finished };
  void dependencyFinished();
  void notifyQueue() const;

  // Every operation's state and dependency graph live under one lock (see
  // Operation.cpp), so that a dependency finishing can never race with one
  // being added.
  State state_ = State::Pending;
  bool cancelled_ = false;
  long pendingDependencies_ = 0;
  std::vector<Ref<Operation>> dependencies_;
  std::vector<WeakRef<Object>> dependents_;
  WeakRef<Object> queue_;
  bool enqueued_ = false;       // added to a queue (guarded by the graph lock)
  bool dispatched_ = false;     // handed to a worker by its queue (queue's lock)
  std::uint64_t addOrder_ = 0;  // place among its queue's operations (queue's lock)
  OperationQueuePriority priority_ = OperationQueuePriority::Normal;
  QualityOfService qos_ = QualityOfService::Default;
  Ref<String> name_;
  std::function<void()> completion_;
};

/// An operation running one or more execution units. The first runs on the
/// operation's thread and the others on the global concurrent queue at the
/// same time; the operation finishes when all have returned.
class BlockOperation : public Operation {
 public:
  BlockOperation() = default;
  static Ref<BlockOperation> blockOperationWithBlock(std::function<void()> block);

  std::string className() const override { return "BlockOperation"; }
  /// Adding a unit once the operation has started raises invalid-argument.
  void addExecutionBlock(std::function<void()> block);
  std::size_t executionBlockCount() const;
  void main() override;

 private:
  std::vector<std::function<void()>> blocks_;
};

namespace operation_detail {
/// The lock that guards every operation's state.
std::mutex& graphMutex();
}  // namespace operation_detail

}  // namespace tq
