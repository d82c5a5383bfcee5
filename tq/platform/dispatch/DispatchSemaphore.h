#pragma once
// A counting semaphore with the dispatch semantics: `signal` raises the
// count and wakes one waiter; `wait` lowers it, blocking while it is zero.

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>

namespace tq {

class DispatchSemaphore {
 public:
  explicit DispatchSemaphore(long value = 0) : count_(value) {}
  static std::shared_ptr<DispatchSemaphore> create(long value = 0) {
    return std::make_shared<DispatchSemaphore>(value);
  }

  /// Answers whether a waiter was woken (the dispatch convention).
  bool signal();
  /// Waits without a time limit.
  void wait();
  /// Waits at most `seconds`; answers true on success, false on time-out.
  bool waitFor(double seconds);
  long value() const;

 private:
  mutable std::mutex mutex_;
  std::condition_variable available_;
  long count_;
  long waiters_ = 0;
};

using DispatchSemaphoreRef = std::shared_ptr<DispatchSemaphore>;

}  // namespace tq
