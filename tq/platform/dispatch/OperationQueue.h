#pragma once
// Operation queues: run operations once they are ready, highest queue
// priority first (in the order added among equals), at most
// `maxConcurrentOperationCount` at a time, nothing while suspended.
//
// A queue lives as long as someone holds it or one of its operations is
// running; operations still waiting in a queue that is released are dropped.
// Operations of the main queue run on the main run loop.
//
// An operation's queue priority may change until it starts. A worker that
// finishes an operation goes straight on with the next one that may start,
// so a busy serial queue costs no thread hand-over per operation.

#include <array>
#include <condition_variable>
#include <deque>
#include <mutex>
#include <vector>

#include "tq/platform/dispatch/Operation.h"

namespace tq {

class Array;

class OperationQueue : public Object {
 public:
  static constexpr long DefaultMaxConcurrentOperationCount = -1;

  OperationQueue() = default;
  ~OperationQueue() override;
  std::string className() const override { return "OperationQueue"; }

  /// The queue whose operations run on the main run loop (max. 1 at a time).
  static Ref<OperationQueue> mainQueue();
  /// The queue running the calling thread's operation; nil elsewhere.
  static Ref<OperationQueue> currentQueue();

  /// Adding an operation that is already in a queue, executing or finished
  /// raises invalid-argument.
  virtual void addOperation(const Ref<Operation>& operation);
  void addOperations(const std::vector<Ref<Operation>>& operations, bool waitUntilFinished);
  virtual void addOperationWithBlock(std::function<void()> block);

  /// The operations not yet finished, in the order they were added.
  std::vector<Ref<Operation>> operations() const;
  Ref<Array> operationsArray() const;
  std::size_t operationCount() const;

  long maxConcurrentOperationCount() const;
  void setMaxConcurrentOperationCount(long count);
  bool isSuspended() const;
  void setSuspended(bool suspended);
  Ref<String> name() const;
  void setName(Ref<String> name);
  QualityOfService qualityOfService() const;
  void setQualityOfService(QualityOfService qos);

  /// Cancels every operation in the queue.
  void cancelAllOperations();
  /// Blocks until the queue holds no operation.
  void waitUntilAllOperationsAreFinished();

  /// Starts every operation that may start now. Called by the queue itself
  /// and by operations whose readiness changed.
  void scheduleOperations();
  /// Moves a waiting operation to the place its new queue priority gives it
  /// (among equals, the order added). Called by the operation.
  void queuePriorityChanged(const Ref<Operation>& operation);

 private:
  void runOperation(Ref<Operation> operation);
  /// Bookkeeping after an operation; answers the next operation for the
  /// same worker to run (already counted as running), if any.
  Ref<Operation> operationDidFinish(const Ref<Operation>& operation);
  /// Takes up to `limit` operations that may start now (queue lock held).
  std::vector<Ref<Operation>> takeReadyLocked(long limit);
  long widthLocked() const;

  mutable std::mutex mutex_;
  std::condition_variable emptied_;
  std::vector<Ref<Operation>> operations_;  // unfinished, in the order added
  // Not yet started, by priority (very high first), in the order added.
  std::array<std::deque<Ref<Operation>>, 5> waiting_;
  long running_ = 0;
  std::uint64_t nextAddOrder_ = 0;
  long maxConcurrent_ = DefaultMaxConcurrentOperationCount;
  bool suspended_ = false;
  bool main_ = false;
  Ref<String> name_;
  QualityOfService qos_ = QualityOfService::Default;
};

}  // namespace tq
