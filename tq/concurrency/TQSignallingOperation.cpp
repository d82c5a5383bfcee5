#include "tq/concurrency/TQSignallingOperation.h"

#include "tq/platform/object/Assert.h"
#include "tq/platform/dispatch/OperationQueue.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/value/String.h"
#include "tq/platform/object/AssertionPlaces.h"

namespace tq {

Ref<TQSignallingOperation> TQSignallingOperation::newWithBlock(TQOperationWork work) {
  auto operation = make<TQSignallingOperation>();
  // The unit holds the operation weakly: the operation owns the unit.
  WeakRef<TQSignallingOperation> weak = operation;
  operation->addExecutionBlock([weak, work = std::move(work)] {
    auto self = weak.lock();
    if (!self) return;
    TQ_ASSERT_PLACE(self->canBeExecutedOnMain() || !RunLoop::isMainThread(),
                    AssertionPlaces::SignallingOperationOnMainThread,
                    "Execution block should not be occuring on main thread");
    auto semaphore = DispatchSemaphore::create(0);
    self->setOpSema(semaphore);
    work(self);
    semaphore->wait();
  });
  return operation;
}

bool TQSignallingOperation::canBeExecutedOnMain() const {
  std::lock_guard lock(propertyMutex_);
  return canBeExecutedOnMain_;
}

void TQSignallingOperation::setCanBeExecutedOnMain(bool value) {
  std::lock_guard lock(propertyMutex_);
  canBeExecutedOnMain_ = value;
}

DispatchSemaphoreRef TQSignallingOperation::opSema() const {
  std::lock_guard lock(propertyMutex_);
  return opSema_;
}

void TQSignallingOperation::setOpSema(DispatchSemaphoreRef semaphore) {
  std::lock_guard lock(propertyMutex_);
  opSema_ = std::move(semaphore);
}

void TQSignallingOperation::signal() {
  if (auto semaphore = opSema()) semaphore->signal();
}

void TQSignallingOperation::abort() {
  if (auto queue = OperationQueue::currentQueue()) queue->cancelAllOperations();
  signal();
}

Ref<String> TQSignallingOperation::debugDescription() const {
  auto operationName = name();
  return str(describeUTF8(this) + " " + (operationName ? operationName->utf8() : std::string("(null)")));
}

}  // namespace tq
