#pragma once
// The library's operation queue: a final operation that runs after
// everything added to the queue, barrier blocks that split the queue into
// ordered phases, queues that own themselves until they have finished, and
// signalling operations.

#include <functional>
#include <mutex>
#include <vector>

#include "tq/concurrency/TQSignallingOperation.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/dispatch/OperationQueue.h"

namespace tq {

/// A plain queue with that name, quality of service and one operation at a
/// time.
Ref<OperationQueue> newSerialQueueWithName(Ref<String> name, QualityOfService qualityOfService);

class TQOperationQueue : public OperationQueue {
 public:
  using Setup = std::function<void(const Ref<TQOperationQueue>&)>;

  TQOperationQueue() = default;
  std::string className() const override { return "TQOperationQueue"; }

  /// A suspended queue whose final operation runs `finalBlock`; add
  /// operations, then call `start`.
  static Ref<TQOperationQueue> newWithFinalBlock(std::function<void()> finalBlock);
  /// A queue that owns itself until its final operation has run; `setup` adds
  /// the operations, and the queue starts when this returns.
  static Ref<TQOperationQueue> newWithSetup(Setup setup);
  /// As above; the final operation runs `completion` first.
  static Ref<TQOperationQueue> newWithSetup(Setup setup, std::function<void()> andStartWithCompletion);
  static Ref<TQOperationQueue> withSetup(Setup setup, std::function<void()> andStartWithCompletion);
  /// Would call itself without end; reports that as an assertion failure
  /// instead and answers nil.
  static Ref<TQOperationQueue> withSetup(Setup setup);

  Ref<Operation> finalOperation() const;
  void setFinalOperation(const Ref<Operation>& operation);
  Ref<UUID> uuid() const;
  void setUuid(Ref<UUID> uuid);
  /// The barriers not yet started, oldest first.
  Ref<Array> barriers() const;

  /// Makes the operation wait for the latest barrier and the final operation
  /// wait for it, then queues it.
  void addOperation(const Ref<Operation>& operation) override;
  void addOperationWithBlock(std::function<void()> block) override;
  /// Runs `block` after every operation queued now (except the final one and
  /// other barriers) and before every operation added later. The final
  /// operation does not wait for a barrier.
  void addBarrierBlock(std::function<void()> block);
  Ref<TQSignallingOperation> addSignallingOperationWithBlock(TQOperationWork work);
  Ref<TQSignallingOperation> addTask(TQOperationWork work);
  Ref<TQSignallingOperation> addOperationWithAsyncBlock(TQAsyncWork work);
  Ref<TQSignallingOperation> addOperationWithDescription(Ref<String> description, TQAsyncWork block);
  /// A signalling operation on the main queue that the final operation waits
  /// for; its work must signal before returning or the main thread blocks.
  Ref<TQSignallingOperation> addMainQueueOperationWithBlock(TQOperationWork work);
  Ref<TQSignallingOperation> addMainQueueOperationWithDependencies(const std::vector<Ref<Operation>>& dependencies,
                                                                   TQOperationWork block);
  /// Lifts the suspension.
  void start();

  /// The queue's own recursive monitor.
  std::recursive_mutex& monitor() const { return monitor_; }

 private:
  static Ref<TQOperationQueue> makeSelfOwning(Setup setup, std::function<void()> completion);
  static Ref<TQSignallingOperation> makeAsyncOperation(TQAsyncWork work);

  mutable std::recursive_mutex monitor_;
  mutable std::mutex propertyMutex_;
  WeakRef<Operation> finalOperation_;
  Ref<UUID> uuid_;
  Ref<Array> barriers_;
};

}  // namespace tq
