#pragma once
// The main run loop: the queue of work that the library delivers "on the main
// thread". The library has no loop of its own; the host drains this one on
// its main thread, either by running it (`run`, `runUntil`) or by watching
// `fileDescriptor()` in its own event loop and calling `drain()` whenever the
// descriptor becomes readable. See docs/host-integration.md.

#include <cstddef>
#include <deque>
#include <functional>
#include <mutex>

namespace tq {

class RunLoop {
 public:
  /// The process's main run loop (created on first use, never destroyed).
  static RunLoop& main();
  /// True on the process's main thread (the thread whose id is the process id).
  static bool isMainThread();

  /// Queues work; it runs on the next drain, after the work queued before it.
  void perform(std::function<void()> work);

  /// Readable while work is pending. Never closed; do not read from it.
  int fileDescriptor() const { return eventFd_; }
  /// Runs the work queued so far (work queued while draining waits for the
  /// next drain, so a host's loop is never starved). Answers how many ran.
  /// Work that raises ends the drain with its exception; the work after it
  /// stays queued for the next drain.
  std::size_t drain();
  /// Pending work items.
  std::size_t pendingCount() const;

  /// Drains until `stop()` is called.
  void run();
  /// Drains until `condition` holds (checked after each drain) or `seconds`
  /// have passed; answers whether the condition held.
  bool runUntil(const std::function<bool()>& condition, double seconds);
  /// Drains for `seconds`.
  void runFor(double seconds);
  /// Makes `run()` return after its current drain. Any thread may call it.
  void stop();

 private:
  RunLoop();
  void waitForWork(double seconds);

  int eventFd_ = -1;
  mutable std::mutex mutex_;
  std::deque<std::function<void()>> queue_;
  bool stopRequested_ = false;
};

}  // namespace tq
