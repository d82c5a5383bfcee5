#include "tq/platform/dispatch/DispatchSemaphore.h"

#include <chrono>

namespace tq {

bool DispatchSemaphore::signal() {
  std::lock_guard lock(mutex_);
  ++count_;
  if (waiters_ > 0) {
    available_.notify_one();
    return true;
  }
  return false;
}

void DispatchSemaphore::wait() {
  std::unique_lock lock(mutex_);
  ++waiters_;
  available_.wait(lock, [this] { return count_ > 0; });
  --waiters_;
  --count_;
}

bool DispatchSemaphore::waitFor(double seconds) {
  std::unique_lock lock(mutex_);
  ++waiters_;
  bool ok = available_.wait_for(lock, std::chrono::duration<double>(seconds < 0 ? 0 : seconds),
                                [this] { return count_ > 0; });
  --waiters_;
  if (ok) --count_;
  return ok;
}

long DispatchSemaphore::value() const {
  std::lock_guard lock(mutex_);
  return count_;
}

}  // namespace tq
