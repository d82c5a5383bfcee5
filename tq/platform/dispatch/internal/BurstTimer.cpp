#include "tq/platform/dispatch/internal/BurstTimer.h"

namespace tq::detail {

void BurstTimer::configure(std::shared_ptr<const MonotonicClock> clock, double latencySeconds) {
  clock_ = std::move(clock);
  latency_ = std::chrono::duration_cast<MonotonicClock::Duration>(
      std::chrono::duration<double>(latencySeconds > 0 ? latencySeconds : 0));
}

void BurstTimer::openLocked() {
  if (open_) return;
  open_ = true;
  deadline_ = clock_->now() + latency_;
  wake_.notify_all();
}

void BurstTimer::start(std::shared_ptr<void> owner, BurstOver burstOver) {
  thread_ = std::thread([this, owner = std::move(owner), burstOver = std::move(burstOver)] { run(burstOver); });
}

void BurstTimer::run(const BurstOver& burstOver) {
  std::unique_lock lock(mutex_);
  for (;;) {
    wake_.wait(lock, [&] { return stopped_ || open_; });
    if (stopped_) return;
    const auto until = deadline_;
    sleeping_ = true;
    lock.unlock();
    clock_->sleepUntil(until);
    lock.lock();
    sleeping_ = false;
    if (stopped_) return;
    open_ = false;
    burstOver(lock);
  }
}

void BurstTimer::stop() {
  bool sleeping;
  {
    std::lock_guard lock(mutex_);
    stopped_ = true;
    sleeping = sleeping_;
  }
  wake_.notify_all();
  std::thread thread = std::move(thread_);
  if (!thread.joinable()) return;
  if (sleeping)
    thread.detach();
  else
    thread.join();
}

}  // namespace tq::detail
