#pragma once
// One watcher's callback, as the change sources hold it: delivery and the end
// of the watch exclude each other, so that once `end` returns the callback
// never runs again. A callback that ends its own watch (on the delivering
// thread, inside `deliver`) must not wait for itself: `end` then only marks
// the subscription ended.

#include <atomic>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "tq/platform/system/FileChangeSource.h"

namespace tq::detail {

class ChangeSubscription {
 public:
  explicit ChangeSubscription(FileChangeSource::Callback callback) : callback_(std::move(callback)) {}

  void deliver(const std::vector<FileChange>& changes) {
    std::lock_guard lock(mutex_);
    if (ended_.load()) return;
    delivering_.store(std::this_thread::get_id());
    struct Reset {
      std::atomic<std::thread::id>& id;
      ~Reset() { id.store(std::thread::id()); }
    } reset{delivering_};
    callback_(changes);
  }

  void end() {
    if (delivering_.load() == std::this_thread::get_id()) {
      ended_.store(true);
      return;
    }
    std::lock_guard lock(mutex_);
    ended_.store(true);
  }

 private:
  std::mutex mutex_;
  FileChangeSource::Callback callback_;
  std::atomic<bool> ended_{false};
  std::atomic<std::thread::id> delivering_{};
};

}  // namespace tq::detail
