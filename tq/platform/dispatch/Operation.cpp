#include "tq/platform/dispatch/Operation.h"

#include <algorithm>
#include <mutex>

#include "tq/platform/dispatch/DispatchGroup.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/dispatch/OperationQueue.h"
#include "tq/platform/value/String.h"

namespace tq {

namespace operation_detail {
std::mutex& graphMutex() {
  static std::mutex* mutex = new std::mutex;
  return *mutex;
}
namespace {
std::condition_variable& finishedCondition() {
  static auto* condition = new std::condition_variable;
  return *condition;
}
}  // namespace
}  // namespace operation_detail

using operation_detail::graphMutex;

Operation::~Operation() = default;

bool Operation::isCancelled() const {
  std::lock_guard lock(graphMutex());
  return cancelled_;
}

bool Operation::isExecuting() const {
  std::lock_guard lock(graphMutex());
  return state_ == State::Executing;
}

bool Operation::isFinished() const {
  std::lock_guard lock(graphMutex());
  return state_ == State::Finished;
}

bool Operation::isReady() const {
  std::lock_guard lock(graphMutex());
  return state_ == State::Pending && (cancelled_ || pendingDependencies_ == 0);
}

void Operation::start() {
  bool cancelled;
  {
    std::lock_guard lock(graphMutex());
    if (state_ != State::Pending) {
      raise(ExceptionName::InvalidArgument,
            "*** -[" + className() + " start]: receiver is already executing or finished");
    }
    if (!cancelled_ && pendingDependencies_ > 0) {
      raise(ExceptionName::InvalidArgument, "*** -[" + className() + " start]: receiver is not yet ready to execute");
    }
    state_ = State::Executing;
    cancelled = cancelled_;
  }
  if (!cancelled) main();
  finish();
}

void Operation::finish() {
  std::vector<WeakRef<Object>> dependents;
  std::function<void()> completion;
  {
    std::lock_guard lock(graphMutex());
    if (state_ == State::Finished) return;
    state_ = State::Finished;
    dependents.swap(dependents_);
    completion = completion_;
    operation_detail::finishedCondition().notify_all();
  }
  for (auto& weak : dependents) {
    if (auto dependent = std::static_pointer_cast<Operation>(weak.lock())) dependent->dependencyFinished();
  }
  if (completion) DispatchQueue::global()->async(std::move(completion));
}

void Operation::dependencyFinished() {
  bool ready;
  {
    std::lock_guard lock(graphMutex());
    --pendingDependencies_;
    ready = state_ == State::Pending && pendingDependencies_ == 0;
  }
  if (ready) notifyQueue();
}

void Operation::notifyQueue() const {
  Ref<Object> queue;
  {
    std::lock_guard lock(graphMutex());
    queue = queue_.lock();
  }
  if (queue) std::static_pointer_cast<OperationQueue>(queue)->scheduleOperations();
}

void Operation::cancel() {
  {
    std::lock_guard lock(graphMutex());
    if (cancelled_ || state_ == State::Finished) return;
    cancelled_ = true;
  }
  notifyQueue();
}

void Operation::addDependency(const Ref<Operation>& operation) {
  if (!operation) return;
  if (operation.get() == this)
    raise(ExceptionName::InvalidArgument,
          "*** -[" + className() + " addDependency:]: an operation cannot depend on itself");
  std::lock_guard lock(graphMutex());
  if (std::find(dependencies_.begin(), dependencies_.end(), operation) != dependencies_.end()) return;
  dependencies_.push_back(operation);
  if (operation->state_ != State::Finished) {
    ++pendingDependencies_;
    operation->dependents_.push_back(weak_from_this());
  }
}

void Operation::removeDependency(const Ref<Operation>& operation) {
  bool ready = false;
  {
    std::lock_guard lock(graphMutex());
    auto it = std::find(dependencies_.begin(), dependencies_.end(), operation);
    if (it == dependencies_.end()) return;
    dependencies_.erase(it);
    if (operation->state_ != State::Finished) {
      --pendingDependencies_;
      auto& list = operation->dependents_;
      list.erase(
          std::remove_if(list.begin(), list.end(), [this](const WeakRef<Object>& w) { return w.lock().get() == this; }),
          list.end());
      ready = state_ == State::Pending && pendingDependencies_ == 0;
    }
  }
  if (ready) notifyQueue();
}

std::vector<Ref<Operation>> Operation::dependencies() const {
  std::lock_guard lock(graphMutex());
  return dependencies_;
}

OperationQueuePriority Operation::queuePriority() const {
  std::lock_guard lock(graphMutex());
  return priority_;
}

void Operation::setQueuePriority(OperationQueuePriority priority) {
  // Values between the named levels snap to the nearest lower one, so a
  // priority computed by arithmetic still lands on a level.
  long p = long(priority);
  long snapped = p >= 8 ? 8 : p >= 4 ? 4 : p >= 0 ? 0 : p >= -4 ? -4 : -8;
  Ref<Object> queue;
  {
    std::lock_guard lock(graphMutex());
    if (priority_ == OperationQueuePriority(snapped)) return;
    priority_ = OperationQueuePriority(snapped);
    if (state_ == State::Pending) queue = queue_.lock();
  }
  // Still waiting in a queue: it takes its new place there.
  if (queue) std::static_pointer_cast<OperationQueue>(queue)->queuePriorityChanged(selfAs<Operation>());
}

QualityOfService Operation::qualityOfService() const {
  std::lock_guard lock(graphMutex());
  return qos_;
}

void Operation::setQualityOfService(QualityOfService qos) {
  std::lock_guard lock(graphMutex());
  qos_ = qos;
}

Ref<String> Operation::name() const {
  std::lock_guard lock(graphMutex());
  return name_;
}

void Operation::setName(Ref<String> name) {
  std::lock_guard lock(graphMutex());
  name_ = std::move(name);
}

std::function<void()> Operation::completionBlock() const {
  std::lock_guard lock(graphMutex());
  return completion_;
}

void Operation::setCompletionBlock(std::function<void()> block) {
  std::lock_guard lock(graphMutex());
  completion_ = std::move(block);
}

void Operation::waitUntilFinished() {
  std::unique_lock lock(graphMutex());
  operation_detail::finishedCondition().wait(lock, [this] { return state_ == State::Finished; });
}

Ref<BlockOperation> BlockOperation::blockOperationWithBlock(std::function<void()> block) {
  auto op = make<BlockOperation>();
  op->addExecutionBlock(std::move(block));
  return op;
}

void BlockOperation::addExecutionBlock(std::function<void()> block) {
  std::lock_guard lock(graphMutex());
  if (state_ != State::Pending) {
    raise(ExceptionName::InvalidArgument,
          "*** -[" + className() +
              " addExecutionBlock:]: blocks cannot be added after the operation has started executing or finished");
  }
  blocks_.push_back(std::move(block));
}

std::size_t BlockOperation::executionBlockCount() const {
  std::lock_guard lock(graphMutex());
  return blocks_.size();
}

void BlockOperation::main() {
  std::vector<std::function<void()>> blocks;
  {
    std::lock_guard lock(graphMutex());
    blocks = blocks_;
  }
  if (blocks.empty()) return;
  DispatchGroupRef group;
  if (blocks.size() > 1) {
    group = DispatchGroup::create();
    for (std::size_t i = 1; i < blocks.size(); ++i) group->async(DispatchQueue::global(), blocks[i]);
  }
  blocks[0]();
  if (group) group->wait();
}

}  // namespace tq
