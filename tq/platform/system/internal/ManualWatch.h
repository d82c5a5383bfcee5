#pragma once
// The watch that the manual substitutes of the seams hand out: an entry in
// the substitute's table of watchers, taken out when the watch is destroyed,
// after which the watcher is ended (so that no callback of it runs again).

#include <map>
#include <memory>
#include <mutex>
#include <string>

namespace tq::detail {

template <class WatchBase, class Watcher>
class ManualWatch : public WatchBase {
 public:
  using Watchers = std::multimap<std::string, std::shared_ptr<Watcher>>;
  ManualWatch(std::mutex& mutex, Watchers& watchers, typename Watchers::iterator entry)
      : mutex_(mutex), watchers_(watchers), entry_(entry) {}
  ~ManualWatch() override {
    auto watcher = entry_->second;
    {
      std::lock_guard lock(mutex_);
      watchers_.erase(entry_);
    }
    watcher->end();
  }

 private:
  std::mutex& mutex_;
  Watchers& watchers_;
  typename Watchers::iterator entry_;
};

}  // namespace tq::detail
