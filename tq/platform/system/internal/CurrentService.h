#pragma once
// The one pattern behind every seam of the system room: a real service made
// once, and an installed substitute that replaces it for the whole process
// until it is taken away. Read from any thread.

#include <atomic>
#include <memory>
#include <mutex>

namespace tq::detail {

template <class Service>
class CurrentService {
 public:
  explicit CurrentService(std::shared_ptr<const Service> real) : real_(std::move(real)) {}

  std::shared_ptr<const Service> get() const {
    // The common case, nothing installed, takes no lock: services are read on
    // hot paths (a settings read consults the clock).
    if (!substituted_.load(std::memory_order_acquire)) return real_;
    std::lock_guard lock(mutex_);
    return installed_ ? installed_ : real_;
  }

  /// Installs a substitute (nullptr or the real service: the real one again)
  /// and answers the service it replaces.
  std::shared_ptr<const Service> set(std::shared_ptr<const Service> service) {
    std::lock_guard lock(mutex_);
    auto previous = installed_ ? installed_ : real_;
    installed_ = service == real_ ? nullptr : std::move(service);
    substituted_.store(installed_ != nullptr, std::memory_order_release);
    generation_.fetch_add(1, std::memory_order_release);
    return previous;
  }

  const std::shared_ptr<const Service>& real() const { return real_; }
  /// Counts installations, for values derived from the service.
  unsigned long generation() const { return generation_.load(std::memory_order_acquire); }

 private:
  mutable std::mutex mutex_;
  const std::shared_ptr<const Service> real_;
  std::shared_ptr<const Service> installed_;
  std::atomic<bool> substituted_{false};
  std::atomic<unsigned long> generation_{0};
};

}  // namespace tq::detail
