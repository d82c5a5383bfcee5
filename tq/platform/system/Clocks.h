#pragma once
// The two clocks of the outside world as seams: the wall clock (what time it
// is, which jumps when the user or NTP sets it) and the monotonic clock (how
// much time has passed, for latencies, timeouts and coalescing). Hosts and
// tests install their own; `ManualClock` is one that moves only when told,
// so that code waiting on time can be tested without sleeping.

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>

namespace tq {

class WallClock {
 public:
  virtual ~WallClock() = default;
  /// Seconds since 1970-01-01 00:00:00 UTC.
  virtual double secondsSince1970() const = 0;

  /// The clock the library reads: the system's unless one was installed.
  static std::shared_ptr<const WallClock> current();
  /// Installs a clock (nullptr: the system's again); answers the previous one.
  static std::shared_ptr<const WallClock> setCurrent(std::shared_ptr<const WallClock> clock);
  static std::shared_ptr<const WallClock> system();
};

class MonotonicClock {
 public:
  using TimePoint = std::chrono::steady_clock::time_point;
  using Duration = std::chrono::steady_clock::duration;

  virtual ~MonotonicClock() = default;
  virtual TimePoint now() const = 0;
  /// Blocks the calling thread until `now()` has reached the deadline.
  virtual void sleepUntil(TimePoint deadline) const = 0;
  void sleepFor(Duration duration) const { sleepUntil(now() + duration); }

  static std::shared_ptr<const MonotonicClock> current();
  static std::shared_ptr<const MonotonicClock> setCurrent(std::shared_ptr<const MonotonicClock> clock);
  static std::shared_ptr<const MonotonicClock> system();
};

/// A wall and monotonic clock that stands still until `advance` or
/// `setSecondsSince1970` moves it; threads sleeping on it wake when the time
/// they wait for has come.
class ManualClock : public WallClock, public MonotonicClock {
 public:
  explicit ManualClock(double secondsSince1970 = 0) : wall_(secondsSince1970) {}

  double secondsSince1970() const override;
  TimePoint now() const override;
  void sleepUntil(TimePoint deadline) const override;

  /// Moves both clocks forward and wakes the sleepers whose time has come.
  void advance(Duration duration);
  /// Sets the wall clock alone (as a user changing the time does); the
  /// monotonic clock does not move.
  void setSecondsSince1970(double seconds);
  /// How many threads are sleeping on the clock now: a test advances once
  /// the code under test has gone to sleep.
  int sleepers() const;
  /// Blocks until at least `count` threads sleep on the clock.
  void waitForSleepers(int count) const;

 private:
  mutable std::mutex mutex_;
  mutable std::condition_variable moved_;
  double wall_;
  Duration elapsed_{};
  mutable int sleepers_ = 0;
};

/// Installs a clock for the lifetime of the scope: the form tests use.
template <class Clock>
class ScopedClock {
 public:
  explicit ScopedClock(std::shared_ptr<const Clock> clock) : previous_(Clock::setCurrent(std::move(clock))) {}
  ~ScopedClock() { Clock::setCurrent(previous_); }
  ScopedClock(const ScopedClock&) = delete;
  ScopedClock& operator=(const ScopedClock&) = delete;

 private:
  std::shared_ptr<const Clock> previous_;
};

}  // namespace tq
