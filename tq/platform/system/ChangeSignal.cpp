#include "tq/platform/system/ChangeSignal.h"

#include <algorithm>

namespace tq {

std::uint64_t ChangeSignal::add(Handler handler) {
  std::lock_guard lock(mutex_);
  const std::uint64_t token = next_++;
  entries_.push_back({token, std::make_shared<Handler>(std::move(handler))});
  return token;
}

void ChangeSignal::remove(std::uint64_t token) {
  std::lock_guard lock(mutex_);
  std::erase_if(entries_, [token](const Entry& entry) { return entry.token == token; });
}

bool ChangeSignal::present(std::uint64_t token) const {
  std::lock_guard lock(mutex_);
  return std::any_of(entries_.begin(), entries_.end(), [token](const Entry& each) { return each.token == token; });
}

void ChangeSignal::emit() const {
  std::vector<Entry> snapshot;
  {
    std::lock_guard lock(mutex_);
    snapshot = entries_;
  }
  for (const Entry& entry : snapshot) {
    if (present(entry.token)) (*entry.handler)();
  }
}

std::size_t ChangeSignal::count() const {
  std::lock_guard lock(mutex_);
  return entries_.size();
}

}  // namespace tq
