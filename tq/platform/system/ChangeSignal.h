#pragma once
// A list of handlers that a service of the outside world calls when what it
// answers may have changed (the appearance, the keyboard layout). Handlers run
// on whatever thread learned of the change; each is called outside the lock,
// so a handler may add or remove handlers, and one removed before its turn
// is not called.

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <vector>

namespace tq {

class ChangeSignal {
 public:
  using Handler = std::function<void()>;

  /// Adds a handler; answers the number that `remove` takes (never 0).
  std::uint64_t add(Handler handler);
  /// Removes a handler; unknown numbers are ignored.
  void remove(std::uint64_t token);
  /// Calls every handler present when the call began and still present.
  void emit() const;
  std::size_t count() const;

 private:
  struct Entry {
    std::uint64_t token;
    std::shared_ptr<Handler> handler;
  };
  bool present(std::uint64_t token) const;

  mutable std::mutex mutex_;
  std::vector<Entry> entries_;
  std::uint64_t next_ = 1;
};

}  // namespace tq
