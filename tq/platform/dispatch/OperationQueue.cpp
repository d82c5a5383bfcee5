#include "tq/platform/dispatch/OperationQueue.h"

#include <algorithm>

#include "tq/platform/collection/Array.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/value/String.h"

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

namespace {
std::size_t bucketOf(OperationQueuePriority priority) {
  switch (priority) {
    case OperationQueuePriority::VeryHigh:
      return 0;
    case OperationQueuePriority::High:
      return 1;
    case OperationQueuePriority::Normal:
      return 2;
    case OperationQueuePriority::Low:
      return 3;
    default:
      return 4;
  }
}
}  // namespace

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
    operation->addOrder_ = nextAddOrder_++;
    operations_.push_back(operation);
    waiting_[bucketOf(operation->queuePriority())].push_back(operation);
  }
  scheduleOperations();
}

void OperationQueue::queuePriorityChanged(const Ref<Operation>& operation) {
  std::lock_guard lock(mutex_);
  OperationQueuePriority priority;
  {
    std::lock_guard graph(graphMutex());
    if (operation->state_ != Operation::State::Pending || operation->dispatched_) return;
    priority = operation->priority_;
  }
  auto& target = waiting_[bucketOf(priority)];
  for (auto& bucket : waiting_) {
    auto it = std::find(bucket.begin(), bucket.end(), operation);
    if (it == bucket.end()) continue;
    if (&bucket == &target) return;
    bucket.erase(it);
    auto place = std::upper_bound(target.begin(), target.end(), operation->addOrder_,
                                  [](std::uint64_t order, const Ref<Operation>& o) { return order < o->addOrder_; });
    target.insert(place, operation);
    return;
  }
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

long OperationQueue::widthLocked() const { return maxConcurrent_ < 0 ? kDefaultWidth : maxConcurrent_; }

std::vector<Ref<Operation>> OperationQueue::takeReadyLocked(long limit) {
  std::vector<Ref<Operation>> taken;
  if (suspended_ || limit <= 0) return taken;
  std::lock_guard graph(graphMutex());
  // Highest priority first; within a priority, the earliest added, which
  // keeps a serial queue in order.
  for (auto& bucket : waiting_) {
    for (auto it = bucket.begin(); it != bucket.end() && long(taken.size()) < limit;) {
      Operation* op = it->get();
      if (op->state_ != Operation::State::Pending) {
        it = bucket.erase(it);  // started by hand meanwhile: not the queue's to run
      } else if (op->cancelled_ || op->pendingDependencies_ == 0) {
        op->dispatched_ = true;
        taken.push_back(std::move(*it));
        it = bucket.erase(it);
      } else {
        ++it;
      }
    }
    if (long(taken.size()) >= limit) break;
  }
  return taken;
}

void OperationQueue::scheduleOperations() {
  std::vector<Ref<Operation>> launch;
  {
    std::lock_guard lock(mutex_);
    launch = takeReadyLocked(widthLocked() - running_);
    running_ += long(launch.size());
  }
  for (auto& op : launch) runOperation(std::move(op));
}

void OperationQueue::runOperation(Ref<Operation> operation) {
  auto self = selfAs<OperationQueue>();
  if (main_) {
    RunLoop::main().perform([self, operation] {
      // An operation that raises (the exception reaches the host's drain)
      // still frees its slot, so the main queue goes on with the others.
      struct Release {
        const Ref<OperationQueue>& queue;
        const Ref<Operation>& operation;
        ~Release() {
          if (auto next = queue->operationDidFinish(operation)) queue->runOperation(std::move(next));
        }
      } release{self, operation};
      CurrentOperationQueueScope scope(self.get());
      operation->start();
    });
    return;
  }
  dispatch_detail::submitToPool([self, operation = std::move(operation)]() mutable {
    CurrentOperationQueueScope scope(self.get());
    while (operation) {
      operation->start();
      operation = self->operationDidFinish(operation);
    }
  });
}

Ref<Operation> OperationQueue::operationDidFinish(const Ref<Operation>& operation) {
  {
    std::lock_guard graph(graphMutex());
    operation->queue_.reset();
  }
  std::vector<Ref<Operation>> launch;
  {
    std::lock_guard lock(mutex_);
    --running_;
    auto it = std::find(operations_.begin(), operations_.end(), operation);
    if (it != operations_.end()) operations_.erase(it);
    if (operations_.empty()) emptied_.notify_all();
    launch = takeReadyLocked(widthLocked() - running_);
    running_ += long(launch.size());
  }
  if (launch.empty()) return nullptr;
  Ref<Operation> next = std::move(launch.front());
  for (std::size_t i = 1; i < launch.size(); ++i) runOperation(std::move(launch[i]));
  return next;
}

}  // namespace tq
