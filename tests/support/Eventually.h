#pragma once
// Helpers of the tests that watch work done on other threads or in other
// processes: waiting for a condition with a time limit, and recording events
// from several threads in the order they happen. Include it from the
// repository root as "tests/support/Eventually.h".

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace tq::testing {

/// Asks `condition` until it holds or `seconds` have passed, pausing
/// `interval` between two questions (longer for a costly question, such as
/// one that runs a command); answers the last answer.
inline bool eventually(const std::function<bool()>& condition, double seconds = 5.0,
                       std::chrono::milliseconds interval = std::chrono::milliseconds(1)) {
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::duration<double>(seconds);
  while (std::chrono::steady_clock::now() < deadline) {
    if (condition()) return true;
    std::this_thread::sleep_for(interval);
  }
  return condition();
}

/// Events recorded from any thread, in the order they were recorded.
template <class Event = std::string>
class Recorder {
 public:
  void operator()(Event event) {
    std::lock_guard lock(mutex_);
    events_.push_back(std::move(event));
  }
  /// A copy of the events so far.
  std::vector<Event> snapshot() const {
    std::lock_guard lock(mutex_);
    return events_;
  }
  /// The position of the first such event; the count of events when there
  /// is none (so it compares after every recorded position).
  std::size_t indexOf(const Event& event) const {
    std::lock_guard lock(mutex_);
    return std::size_t(std::find(events_.begin(), events_.end(), event) - events_.begin());
  }

 private:
  mutable std::mutex mutex_;
  std::vector<Event> events_;
};

}  // namespace tq::testing
