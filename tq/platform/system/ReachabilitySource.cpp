#include "tq/platform/system/ReachabilitySource.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstring>
#include <vector>

#include "tq/platform/system/internal/CurrentService.h"
#include "tq/platform/system/internal/ManualWatch.h"
#include "tq/platform/system/internal/NetlinkReachability.h"

namespace tq {

std::optional<ReachabilityTarget> ReachabilityTarget::address(const sockaddr* address) {
  if (!address) return std::nullopt;
  ReachabilityTarget target;
  if (address->sa_family == AF_INET) {
    std::memcpy(&target.address_, address, sizeof(sockaddr_in));
  } else if (address->sa_family == AF_INET6) {
    std::memcpy(&target.address_, address, sizeof(sockaddr_in6));
  } else {
    return std::nullopt;
  }
  return target;
}

std::optional<ReachabilityTarget> ReachabilityTarget::named(const std::string& name) {
  if (name.empty() || name.find('\0') != std::string::npos) return std::nullopt;
  ReachabilityTarget target;
  target.name_ = name;
  return target;
}

std::string ReachabilityTarget::description() const {
  if (isName()) return name_;
  char text[INET6_ADDRSTRLEN] = {};
  if (address_.ss_family == AF_INET) {
    ::inet_ntop(AF_INET, &reinterpret_cast<const sockaddr_in&>(address_).sin_addr, text, sizeof text);
    return text;
  }
  ::inet_ntop(AF_INET6, &reinterpret_cast<const sockaddr_in6&>(address_).sin6_addr, text, sizeof text);
  return "[" + std::string(text) + "]";
}

namespace {

detail::CurrentService<ReachabilitySource>& installed() {
  static detail::CurrentService<ReachabilitySource> state(detail::makeNetlinkReachabilitySource());
  return state;
}

}  // namespace

std::shared_ptr<const ReachabilitySource> ReachabilitySource::current() { return installed().get(); }
std::shared_ptr<const ReachabilitySource> ReachabilitySource::setCurrent(
    std::shared_ptr<const ReachabilitySource> source) {
  return installed().set(std::move(source));
}
std::shared_ptr<const ReachabilitySource> ReachabilitySource::system() { return installed().real(); }

// ---- The manual source ------------------------------------------------------

struct ManualReachabilitySource::Watcher {
  explicit Watcher(Callback callback) : callback(std::move(callback)) {}
  std::mutex mutex;  // delivery and the end of the watch exclude each other
  Callback callback;
  bool ended = false;

  void end() {
    std::lock_guard lock(mutex);
    ended = true;
  }
};

using ManualReachabilityWatch = detail::ManualWatch<ReachabilitySource::Watch, ManualReachabilitySource::Watcher>;

std::optional<std::uint32_t> ManualReachabilitySource::flags(const ReachabilityTarget& target) const {
  std::lock_guard lock(mutex_);
  auto found = flags_.find(target.description());
  return found == flags_.end() ? std::nullopt : found->second;
}

std::unique_ptr<ReachabilitySource::Watch> ManualReachabilitySource::watch(const ReachabilityTarget& target,
                                                                           Callback callback,
                                                                           std::string* error) const {
  std::lock_guard lock(mutex_);
  if (failure_) {
    if (error) *error = *failure_;
    return nullptr;
  }
  auto entry = watchers_.emplace(target.description(), std::make_shared<Watcher>(std::move(callback)));
  return std::make_unique<ManualReachabilityWatch>(mutex_, watchers_, entry);
}

void ManualReachabilitySource::setFlags(const std::string& target, std::optional<std::uint32_t> flags) {
  std::vector<std::shared_ptr<Watcher>> toCall;
  {
    std::lock_guard lock(mutex_);
    auto& stored = flags_[target];
    const std::uint32_t before = stored.value_or(0);
    stored = flags;
    if (before == flags.value_or(0)) return;  // only real changes are reported
    auto [first, last] = watchers_.equal_range(target);
    for (auto entry = first; entry != last; ++entry) toCall.push_back(entry->second);
  }
  for (const auto& watcher : toCall) {
    std::lock_guard lock(watcher->mutex);
    if (!watcher->ended) watcher->callback(flags.value_or(0));
  }
}

void ManualReachabilitySource::setWatchFailure(std::optional<std::string> reason) {
  std::lock_guard lock(mutex_);
  failure_ = std::move(reason);
}

std::size_t ManualReachabilitySource::watchCount(const std::string& target) const {
  std::lock_guard lock(mutex_);
  return watchers_.count(target);
}

}  // namespace tq
