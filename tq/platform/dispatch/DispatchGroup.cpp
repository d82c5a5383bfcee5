#include "tq/platform/dispatch/DispatchGroup.h"

#include <chrono>

#include "tq/platform/object/Exception.h"

namespace tq {

void DispatchGroup::enter() {
  std::lock_guard lock(mutex_);
  ++count_;
}

void DispatchGroup::leave() {
  std::vector<std::pair<DispatchQueueRef, DispatchWork>> ready;
  {
    std::lock_guard lock(mutex_);
    if (count_ == 0) raise(ExceptionName::InternalInconsistency, "Unbalanced leave of a dispatch group");
    if (--count_ > 0) return;
    ready.swap(notifications_);
    empty_.notify_all();
  }
  for (auto& [queue, work] : ready) queue->async(std::move(work));
}

void DispatchGroup::wait() {
  std::unique_lock lock(mutex_);
  empty_.wait(lock, [this] { return count_ == 0; });
}

bool DispatchGroup::waitFor(double seconds) {
  std::unique_lock lock(mutex_);
  return empty_.wait_for(lock, std::chrono::duration<double>(seconds < 0 ? 0 : seconds),
                         [this] { return count_ == 0; });
}

void DispatchGroup::notify(const DispatchQueueRef& queue, DispatchWork work) {
  {
    std::lock_guard lock(mutex_);
    if (count_ > 0) {
      notifications_.emplace_back(queue, std::move(work));
      return;
    }
  }
  queue->async(std::move(work));
}

void DispatchGroup::async(const DispatchQueueRef& queue, DispatchWork work) {
  enter();
  queue->async([self = shared_from_this(), work = std::move(work)] {
    work();
    self->leave();
  });
}

long DispatchGroup::count() const {
  std::lock_guard lock(mutex_);
  return count_;
}

}  // namespace tq
