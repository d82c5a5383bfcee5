#include "tq/platform/OperationQueue.h"

#include <algorithm>

#include "tq/platform/Array.h"
#include "tq/platform/Exception.h"
#include "tq/platform/RunLoop.h"
#include "tq/platform/String.h"

namespace tq {
namespace {

// An unlimited queue still goes through the worker pool; this cap keeps a
// flood of blocking operations from starting hundreds of threads.
constexpr long kDefaultWidth = 64;

thread_local OperationQueue* currentOperationQueue = nullptr;

struct CurrentOperationQueueScope {
  OperationQueue* saved;
  explicit CurrentOperationQueueScope(OperationQueue* queue) : saved(currentOperationQueue) {
    currentOperationQueue = queue;
  }
  ~CurrentOperationQueueScope() { currentOperationQueue = saved; }
};

}  // namespace

using operation_detail::graphMutex;

OperationQueue::~OperationQueue() {
  // Waiting operations are dropped; detach them so that a dependency
  // finishing later does not reach for this queue.
  std::lock_guard lock(graphMutex());
  for (auto& op : operations_) op->queue_.reset();
}

Ref<OperationQueue> OperationQueue::mainQueue() {
  static auto* queue = new Ref<OperationQueue>([] {
    auto q = make<OperationQueue>();
    q->main_ = true;
    q->maxConcurrent_ = 1;
    q->name_ = str("main");
    return q;
  }());
  return *queue;
}

Ref<OperationQueue> OperationQueue::currentQueue() {
  if (!currentOperationQueue) return nullptr;
  return currentOperationQueue->selfAs<OperationQueue>();
}

void OperationQueue::addOperation(const Ref<Operation>& operation) {
  if (!operation) raiseNilArgument("OperationQueue", "addOperation:", "operation");
  {
    std::lock_guard graph(graphMutex());
    if (operation->enqueued_) {
      raise(ExceptionName::InvalidArgument,
            "*** -[OperationQueue addOperation:]: operation is already enqueued on a queue");
    }
    if (operation->state_ != Operation::State::Pending) {
      raise(ExceptionName::InvalidArgument,
            "*** -[OperationQueue addOperation:]: operation is finished or executing and cannot be enqueued");
    }
    operation->enqueued_ = true;
    operation->queue_ = weak_from_this();
  }
  {
    std::lock_guard lock(mutex_);
    operations_.push_back(operation);
  }
  scheduleOperations();
}

void OperationQueue::addOperations(const std::vector<Ref<Operation>>& operations, bool waitUntilFinished) {
  for (const auto& op : operations) OperationQueue::addOperation(op);
  if (waitUntilFinished) {
    for (const auto& op : operations) op->waitUntilFinished();
  }
}

void OperationQueue::addOperationWithBlock(std::function<void()> block) {
  addOperation(BlockOperation::blockOperationWithBlock(std::move(block)));
}

std::vector<Ref<Operation>> OperationQueue::operations() const {
  std::lock_guard lock(mutex_);
  return operations_;
}

Ref<Array> OperationQueue::operationsArray() const {
  Array::Storage objects;
  for (auto& op : operations()) objects.push_back(op);
  return Array::arrayWithObjects(std::move(objects));
}

std::size_t OperationQueue::operationCount() const {
  std::lock_guard lock(mutex_);
  return operations_.size();
}

long OperationQueue::maxConcurrentOperationCount() const {
  std::lock_guard lock(mutex_);
  return maxConcurrent_;
}

void OperationQueue::setMaxConcurrentOperationCount(long count) {
  if (count < -1)
    raise(ExceptionName::InvalidArgument, "*** -[OperationQueue setMaxConcurrentOperationCount:]: count (" +
                                              std::to_string(count) + ") cannot be negative");
  {
    std::lock_guard lock(mutex_);
    maxConcurrent_ = count;
  }
  scheduleOperations();
}

bool OperationQueue::isSuspended() const {
  std::lock_guard lock(mutex_);
  return suspended_;
}

void OperationQueue::setSuspended(bool suspended) {
  {
    std::lock_guard lock(mutex_);
    suspended_ = suspended;
  }
  if (!suspended) scheduleOperations();
}

Ref<String> OperationQueue::name() const {
  std::lock_guard lock(mutex_);
  return name_;
}

void OperationQueue::setName(Ref<String> name) {
  std::lock_guard lock(mutex_);
  name_ = std::move(name);
}

QualityOfService OperationQueue::qualityOfService() const {
  std::lock_guard lock(mutex_);
  return qos_;
}

void OperationQueue::setQualityOfService(QualityOfService qos) {
  std::lock_guard lock(mutex_);
  qos_ = qos;
}

void OperationQueue::cancelAllOperations() {
  for (auto& op : operations()) op->cancel();
}

void OperationQueue::waitUntilAllOperationsAreFinished() {
  std::unique_lock lock(mutex_);
  emptied_.wait(lock, [this] { return operations_.empty(); });
}

void OperationQueue::scheduleOperations() {
  std::vector<Ref<Operation>> launch;
  {
    std::lock_guard lock(mutex_);
    if (suspended_) return;
    long width = maxConcurrent_ < 0 ? kDefaultWidth : maxConcurrent_;
    std::lock_guard graph(graphMutex());
    while (running_ < width) {
      // Highest priority among the ready operations; the earliest added wins
      // a tie, which keeps a serial queue in order.
      Operation* best = nullptr;
      std::size_t bestIndex = 0;
      for (std::size_t i = 0; i < operations_.size(); ++i) {
        Operation* op = operations_[i].get();
        if (op->dispatched_ || op->state_ != Operation::State::Pending) continue;
        if (!op->cancelled_ && op->pendingDependencies_ > 0) continue;
        if (!best || long(op->priority_) > long(best->priority_)) {
          best = op;
          bestIndex = i;
        }
      }
      if (!best) break;
      best->dispatched_ = true;
      ++running_;
      launch.push_back(operations_[bestIndex]);
    }
  }
  for (auto& op : launch) runOperation(op);
}

void OperationQueue::runOperation(const Ref<Operation>& operation) {
  auto self = selfAs<OperationQueue>();
  auto task = [self, operation] {
    {
      CurrentOperationQueueScope scope(self.get());
      operation->start();
    }
    self->operationDidFinish(operation);
  };
  if (main_) {
    RunLoop::main().perform(std::move(task));
  } else {
    dispatch_detail::submitToPool(std::move(task));
  }
}

void OperationQueue::operationDidFinish(const Ref<Operation>& operation) {
  {
    std::lock_guard lock(mutex_);
    --running_;
    auto it = std::find(operations_.begin(), operations_.end(), operation);
    if (it != operations_.end()) operations_.erase(it);
    if (operations_.empty()) emptied_.notify_all();
  }
  {
    std::lock_guard graph(graphMutex());
    operation->queue_.reset();
  }
  scheduleOperations();
}

}  // namespace tq
