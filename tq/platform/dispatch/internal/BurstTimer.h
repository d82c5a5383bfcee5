#pragma once
// The waiting half of the change streams: the first change of a burst starts
// a wait of the latency on the monotonic clock, and when it is over the
// owner takes the burst and hands it on, on the timer's own thread. The
// owner's mutex guards the timer's state as well as the owner's batch.

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

#include "tq/platform/system/Clocks.h"

namespace tq::detail {

class BurstTimer {
 public:
  using BurstOver = std::function<void(std::unique_lock<std::mutex>& lock)>;

  explicit BurstTimer(std::mutex& mutex) : mutex_(mutex) {}

  /// Before `start`: the clock waited on and the latency.
  void configure(std::shared_ptr<const MonotonicClock> clock, double latencySeconds);
  /// With the owner's lock held: starts a burst's wait unless one is under
  /// way.
  void openLocked();
  /// With the owner's lock held: whether the owner has stopped.
  bool isStoppedLocked() const { return stopped_; }
  /// With the owner's lock held: stops taking bursts (before `stop`).
  void markStoppedLocked() { stopped_ = true; }
  /// Starts the thread. `burstOver` runs on it, with the lock held, each time
  /// a burst's wait has passed; it may let the lock go meanwhile and must
  /// hold it again when it returns. The thread keeps `owner` alive.
  void start(std::shared_ptr<void> owner, BurstOver burstOver);
  /// Stops the thread: joins it, unless it is asleep on the clock, which
  /// cannot be woken (a manual clock may never move again); it is then let
  /// go and ends when it wakes, touching only what `owner` keeps alive.
  void stop();

 private:
  void run(const BurstOver& burstOver);

  std::mutex& mutex_;
  std::shared_ptr<const MonotonicClock> clock_;
  MonotonicClock::Duration latency_{};
  std::condition_variable wake_;
  bool stopped_ = false;
  bool sleeping_ = false;
  bool open_ = false;
  MonotonicClock::TimePoint deadline_{};
  std::thread thread_;
};

}  // namespace tq::detail
