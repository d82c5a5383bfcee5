#include "tq/concurrency/TQOperationQueue.h"

#include <algorithm>

#include "tq/platform/object/Assert.h"
#include "tq/platform/value/String.h"

namespace tq {

Ref<OperationQueue> newSerialQueueWithName(Ref<String> name, QualityOfService qualityOfService) {
  auto queue = make<OperationQueue>();
  queue->setName(std::move(name));
  queue->setQualityOfService(qualityOfService);
  queue->setMaxConcurrentOperationCount(1);
  return queue;
}

Ref<TQOperationQueue> TQOperationQueue::newWithFinalBlock(std::function<void()> finalBlock) {
  auto queue = make<TQOperationQueue>();
  queue->setSuspended(true);
  queue->setUuid(make<UUID>());
  auto final = BlockOperation::blockOperationWithBlock(std::move(finalBlock));
  queue->addOperation(final);
  queue->setFinalOperation(final);
  return queue;
}

Ref<TQOperationQueue> TQOperationQueue::makeSelfOwning(Setup setup, std::function<void()> completion) {
  auto queue = make<TQOperationQueue>();
  queue->setSuspended(true);
  queue->setUuid(make<UUID>());
  // The slot is the only owner once the caller lets go; the final operation
  // empties it, which releases the queue after the last operation.
  auto slot = std::make_shared<Ref<TQOperationQueue>>(queue);
  auto final = BlockOperation::blockOperationWithBlock([slot, completion = std::move(completion)] {
    if (completion) completion();
    slot->reset();
  });
  queue->addOperation(final);
  queue->setFinalOperation(final);
  if (setup) setup(queue);
  queue->setSuspended(false);
  return queue;
}

Ref<TQOperationQueue> TQOperationQueue::newWithSetup(Setup setup) { return makeSelfOwning(std::move(setup), nullptr); }

Ref<TQOperationQueue> TQOperationQueue::newWithSetup(Setup setup, std::function<void()> andStartWithCompletion) {
  return makeSelfOwning(std::move(setup), std::move(andStartWithCompletion));
}

Ref<TQOperationQueue> TQOperationQueue::withSetup(Setup setup, std::function<void()> andStartWithCompletion) {
  return newWithSetup(std::move(setup), std::move(andStartWithCompletion));
}

Ref<TQOperationQueue> TQOperationQueue::withSetup(Setup setup) {
  // This factory forwards to itself and so never returns; report that
  // instead of recursing until the stack runs out.
  TQ_ASSERT(false, "+[TQOperationQueue withSetup:] calls itself without end and can never return a queue");
  return nullptr;
}

Ref<Operation> TQOperationQueue::finalOperation() const {
  std::lock_guard lock(propertyMutex_);
  return finalOperation_.lock();
}

void TQOperationQueue::setFinalOperation(const Ref<Operation>& operation) {
  std::lock_guard lock(propertyMutex_);
  finalOperation_ = operation;
}

Ref<UUID> TQOperationQueue::uuid() const {
  std::lock_guard lock(propertyMutex_);
  return uuid_;
}

void TQOperationQueue::setUuid(Ref<UUID> uuid) {
  std::lock_guard lock(propertyMutex_);
  uuid_ = std::move(uuid);
}

Ref<Array> TQOperationQueue::barriers() const {
  std::lock_guard lock(propertyMutex_);
  return barriers_;
}

void TQOperationQueue::addOperation(const Ref<Operation>& operation) {
  {
    std::lock_guard lock(monitor_);
    if (auto current = barriers(); current && current->count() > 0) {
      operation->addDependency(std::static_pointer_cast<Operation>(current->lastObject()));
    }
  }
  if (auto final = finalOperation(); final && final != operation) final->addDependency(operation);
  OperationQueue::addOperation(operation);
}

void TQOperationQueue::addOperationWithBlock(std::function<void()> block) {
  addOperation(BlockOperation::blockOperationWithBlock(std::move(block)));
}

void TQOperationQueue::addBarrierBlock(std::function<void()> block) {
  std::lock_guard lock(monitor_);
  auto barrier = make<BlockOperation>();
  WeakRef<BlockOperation> weakBarrier = barrier;
  WeakRef<TQOperationQueue> weakQueue = selfAs<TQOperationQueue>();
  barrier->addExecutionBlock([weakBarrier, weakQueue, block = std::move(block)] {
    // The barrier leaves the list before its work runs, so operations added
    // by the work itself do not wait for it.
    auto self = weakBarrier.lock();
    if (auto queue = weakQueue.lock()) {
      std::lock_guard inner(queue->monitor_);
      Array::Storage remaining;
      if (auto current = queue->barriers()) {
        for (const auto& b : *current) {
          if (b.get() != self.get()) remaining.push_back(b);
        }
      }
      std::lock_guard props(queue->propertyMutex_);
      queue->barriers_ = Array::arrayWithObjects(std::move(remaining));
    }
    if (block) block();
  });
  barrier->setName(str(UUID().UUIDString()));
  barrier->setQueuePriority(OperationQueuePriority::VeryHigh);

  Array::Storage list;
  if (auto current = barriers()) list.assign(current->begin(), current->end());
  list.push_back(barrier);
  auto updated = Array::arrayWithObjects(list);
  {
    std::lock_guard props(propertyMutex_);
    barriers_ = updated;
  }
  auto final = finalOperation();
  for (const auto& op : operations()) {
    if (op == final) continue;
    if (std::any_of(list.begin(), list.end(), [&](const Id& b) { return b.get() == op.get(); })) continue;
    barrier->addDependency(op);
  }
  // Straight to the plain queue: the final operation must not wait for the
  // barrier, and the barrier reaches earlier barriers only through the
  // operations it waits for.
  OperationQueue::addOperation(barrier);
}

Ref<TQSignallingOperation> TQOperationQueue::addSignallingOperationWithBlock(TQOperationWork work) {
  auto operation = TQSignallingOperation::newWithBlock(std::move(work));
  addOperation(operation);
  return operation;
}

Ref<TQSignallingOperation> TQOperationQueue::addTask(TQOperationWork work) {
  return addSignallingOperationWithBlock(std::move(work));
}

Ref<TQSignallingOperation> TQOperationQueue::makeAsyncOperation(TQAsyncWork work) {
  return TQSignallingOperation::newWithBlock([work = std::move(work)](const Ref<TQSignallingOperation>& op) {
    WeakRef<TQSignallingOperation> weak = op;
    work([weak] {
      if (auto strong = weak.lock()) strong->signal();
    });
  });
}

Ref<TQSignallingOperation> TQOperationQueue::addOperationWithAsyncBlock(TQAsyncWork work) {
  auto operation = makeAsyncOperation(std::move(work));
  addOperation(operation);
  return operation;
}

Ref<TQSignallingOperation> TQOperationQueue::addOperationWithDescription(Ref<String> description, TQAsyncWork block) {
  auto operation = makeAsyncOperation(std::move(block));
  operation->setName(std::move(description));
  addOperation(operation);
  return operation;
}

Ref<TQSignallingOperation> TQOperationQueue::addMainQueueOperationWithBlock(TQOperationWork work) {
  return addMainQueueOperationWithDependencies({}, std::move(work));
}

Ref<TQSignallingOperation> TQOperationQueue::addMainQueueOperationWithDependencies(
    const std::vector<Ref<Operation>>& dependencies, TQOperationWork block) {
  auto operation = TQSignallingOperation::newWithBlock(std::move(block));
  operation->setCanBeExecutedOnMain(true);
  if (auto final = finalOperation()) final->addDependency(operation);
  for (const auto& dependency : dependencies) operation->addDependency(dependency);
  OperationQueue::mainQueue()->addOperation(operation);
  return operation;
}

void TQOperationQueue::start() { setSuspended(false); }

}  // namespace tq
