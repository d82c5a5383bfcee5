#include "tq/platform/system/Clocks.h"

#include <thread>

#include "tq/platform/system/internal/CurrentService.h"

namespace tq {

namespace {

class SystemWallClock : public WallClock {
 public:
  double secondsSince1970() const override {
    using namespace std::chrono;
    return duration<double>(system_clock::now().time_since_epoch()).count();
  }
};

class SystemMonotonicClock : public MonotonicClock {
 public:
  TimePoint now() const override { return std::chrono::steady_clock::now(); }
  void sleepUntil(TimePoint deadline) const override { std::this_thread::sleep_until(deadline); }
};

detail::CurrentService<WallClock>& wallClocks() {
  static detail::CurrentService<WallClock> clocks(std::make_shared<SystemWallClock>());
  return clocks;
}

detail::CurrentService<MonotonicClock>& monotonicClocks() {
  static detail::CurrentService<MonotonicClock> clocks(std::make_shared<SystemMonotonicClock>());
  return clocks;
}

}  // namespace

std::shared_ptr<const WallClock> WallClock::current() { return wallClocks().get(); }
std::shared_ptr<const WallClock> WallClock::setCurrent(std::shared_ptr<const WallClock> clock) {
  return wallClocks().set(std::move(clock));
}
std::shared_ptr<const WallClock> WallClock::system() { return wallClocks().real(); }

std::shared_ptr<const MonotonicClock> MonotonicClock::current() { return monotonicClocks().get(); }
std::shared_ptr<const MonotonicClock> MonotonicClock::setCurrent(std::shared_ptr<const MonotonicClock> clock) {
  return monotonicClocks().set(std::move(clock));
}
std::shared_ptr<const MonotonicClock> MonotonicClock::system() { return monotonicClocks().real(); }

double ManualClock::secondsSince1970() const {
  std::lock_guard lock(mutex_);
  return wall_;
}

MonotonicClock::TimePoint ManualClock::now() const {
  std::lock_guard lock(mutex_);
  return TimePoint(elapsed_);
}

void ManualClock::sleepUntil(TimePoint deadline) const {
  std::unique_lock lock(mutex_);
  ++sleepers_;
  moved_.notify_all();  // a test waiting for a sleeper learns of this one
  moved_.wait(lock, [&] { return TimePoint(elapsed_) >= deadline; });
  --sleepers_;
}

void ManualClock::advance(Duration duration) {
  {
    std::lock_guard lock(mutex_);
    elapsed_ += duration;
    wall_ += std::chrono::duration<double>(duration).count();
  }
  moved_.notify_all();
}

void ManualClock::setSecondsSince1970(double seconds) {
  std::lock_guard lock(mutex_);
  wall_ = seconds;
}

void ManualClock::waitForSleepers(int count) const {
  std::unique_lock lock(mutex_);
  moved_.wait(lock, [&] { return sleepers_ >= count; });
}

int ManualClock::sleepers() const {
  std::lock_guard lock(mutex_);
  return sleepers_;
}

}  // namespace tq
