#include "tq/platform/dispatch/RunLoop.h"

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <cstdint>
#include <system_error>

namespace tq {

RunLoop& RunLoop::main() {
  static RunLoop* loop = new RunLoop;
  return *loop;
}

bool RunLoop::isMainThread() { return static_cast<pid_t>(::syscall(SYS_gettid)) == ::getpid(); }

RunLoop::RunLoop() {
  eventFd_ = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
  if (eventFd_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
}

void RunLoop::perform(std::function<void()> work) {
  bool wasEmpty;
  {
    std::lock_guard lock(mutex_);
    wasEmpty = queue_.empty();
    queue_.push_back(std::move(work));
  }
  // One wake-up per empty-to-pending transition: the drain resets the
  // counter and takes everything queued up to then.
  if (wasEmpty) {
    std::uint64_t one = 1;
    ssize_t written = ::write(eventFd_, &one, sizeof one);
    (void)written;  // only EAGAIN at counter overflow, which still leaves it readable
  }
}

std::size_t RunLoop::drain() {
  std::deque<std::function<void()>> batch;
  {
    std::lock_guard lock(mutex_);
    std::uint64_t value;
    ssize_t readBytes = ::read(eventFd_, &value, sizeof value);
    (void)readBytes;
    batch.swap(queue_);
  }
  for (std::size_t i = 0; i < batch.size(); ++i) {
    try {
      batch[i]();
    } catch (...) {
      // The work that raised has run; what followed it goes back to the
      // front of the queue, in order, for the next drain, and the host sees
      // the exception.
      bool wake;
      {
        std::lock_guard lock(mutex_);
        queue_.insert(queue_.begin(), std::make_move_iterator(batch.begin() + std::ptrdiff_t(i) + 1),
                      std::make_move_iterator(batch.end()));
        wake = !queue_.empty();
      }
      if (wake) {
        std::uint64_t one = 1;
        ssize_t written = ::write(eventFd_, &one, sizeof one);
        (void)written;
      }
      throw;
    }
    batch[i] = nullptr;
  }
  return batch.size();
}

std::size_t RunLoop::pendingCount() const {
  std::lock_guard lock(mutex_);
  return queue_.size();
}

void RunLoop::waitForWork(double seconds) {
  if (seconds < 0) seconds = 0;
  pollfd pfd{eventFd_, POLLIN, 0};
  int ms = seconds > 86400 ? 86400000 : static_cast<int>(seconds * 1000.0 + 0.999);
  ::poll(&pfd, 1, ms);
}

void RunLoop::run() {
  for (;;) {
    {
      std::lock_guard lock(mutex_);
      if (stopRequested_) {
        stopRequested_ = false;
        return;
      }
    }
    drain();
    waitForWork(0.1);
  }
}

void RunLoop::stop() {
  {
    std::lock_guard lock(mutex_);
    stopRequested_ = true;
  }
  perform([] {});
}

bool RunLoop::runUntil(const std::function<bool()>& condition, double seconds) {
  using Clock = std::chrono::steady_clock;
  auto deadline = Clock::now() + std::chrono::duration_cast<Clock::duration>(std::chrono::duration<double>(seconds));
  for (;;) {
    drain();
    if (condition && condition()) return true;
    auto left = std::chrono::duration<double>(deadline - Clock::now()).count();
    if (left <= 0) return false;
    // Conditions may change without main-thread work (another thread sets a
    // flag), so wake up now and then even when nothing is queued.
    waitForWork(left < 0.01 ? left : 0.01);
  }
}

void RunLoop::runFor(double seconds) { runUntil(nullptr, seconds); }

}  // namespace tq
