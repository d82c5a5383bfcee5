#include "tq/system/TQReachability.h"

#include <arpa/inet.h>
#include <netinet/in.h>

#include <cstdio>

#include "tq/platform/dispatch/NotificationCenter.h"
#include "tq/platform/value/String.h"
#include "tq/system/internal/FileURL.h"

namespace tq {

namespace F = ReachabilityFlag;

namespace {

Ref<TQReachability> withTarget(const std::optional<ReachabilityTarget>& target) {
  return target ? TQReachability::initWithReachabilityRef(*target) : nullptr;
}

Ref<TQReachability> withIPv4(in_addr_t address, in_port_t port) {
  sockaddr_in in{};
  in.sin_family = AF_INET;
  in.sin_port = port;
  in.sin_addr.s_addr = address;
  return TQReachability::reachabilityWithAddress(reinterpret_cast<const sockaddr*>(&in));
}

}  // namespace

TQReachability::TQReachability(ReachabilityTarget target)
    : target_(std::move(target)),
      queue_(DispatchQueue::createSerial(std::string(LibraryDomainPrefix) + ".reachability")) {}

Ref<TQReachability> TQReachability::initWithReachabilityRef(ReachabilityTarget target) {
  return make<TQReachability>(std::move(target));
}

TQReachability::~TQReachability() { stopNotifier(); }

Ref<TQReachability> TQReachability::reachabilityWithHostname(const std::string& hostname) {
  return withTarget(ReachabilityTarget::named(hostname));
}

Ref<TQReachability> TQReachability::reachabilityWithHostName(const std::string& hostname) {
  return reachabilityWithHostname(hostname);
}

Ref<TQReachability> TQReachability::reachabilityWithAddress(const sockaddr* address) {
  return withTarget(ReachabilityTarget::address(address));
}

Ref<TQReachability> TQReachability::reachabilityForInternetConnection() { return withIPv4(htonl(INADDR_ANY), 0); }

Ref<TQReachability> TQReachability::reachabilityForLocalWiFi() {
  return withIPv4(htonl(0xA9FE0000), 0);  // 169.254.0.0
}

Ref<TQReachability> TQReachability::reachabilityWithURL(const std::string& url) {
  auto parts = detail::urlParts(url);
  if (!parts) return nullptr;
  if (!isIpAddress(parts->host)) return reachabilityWithHostname(parts->host);
  int port = parts->port ? *parts->port : (parts->scheme == "https" ? 443 : 80);
  return withIPv4(::inet_addr(parts->host.c_str()), htons(static_cast<std::uint16_t>(port)));
}

bool TQReachability::isIpAddress(const std::string& text) {
  in_addr address{};
  return ::inet_aton(text.c_str(), &address) == 1;
}

bool TQReachability::startNotifier() {
  std::lock_guard lock(mutex_);
  if (reachabilityObject_.get() == this) return true;  // already running
  // The callback holds the object weakly: it is the self-reference that
  // keeps a notifying object alive, not the callback.
  std::weak_ptr<TQReachability> weak = selfAs<TQReachability>();
  DispatchQueueRef queue = queue_;
  watch_ = ReachabilitySource::current()->watch(target_, [weak, queue](std::uint32_t flags) {
    queue->async([weak, flags] {
      if (auto self = weak.lock()) self->reachabilityChanged(flags);
    });
  });
  if (!watch_) {
    reachabilityObject_ = nullptr;
    return false;
  }
  reachabilityObject_ = self();
  return true;
}

void TQReachability::stopNotifier() {
  std::unique_ptr<ReachabilitySource::Watch> watch;
  Id self;
  {
    std::lock_guard lock(mutex_);
    watch = std::move(watch_);
    self = std::move(reachabilityObject_);  // let go outside the lock: it may be the last reference
  }
}

void TQReachability::reachabilityChanged(std::uint32_t flags) {
  auto self = selfAs<TQReachability>();
  if (isReachableWithFlags(flags)) {
    if (auto block = reachableBlock()) block(*this);
  } else {
    if (auto block = unreachableBlock()) block(*this);
  }
  if (auto block = reachabilityBlock()) block(*this, flags);
  DispatchQueue::main()->async([self] {
    NotificationCenter::defaultCenter()->postNotificationName(str(kReachabilityChangedNotification), self);
  });
}

std::optional<std::uint32_t> TQReachability::flagsNow() const { return ReachabilitySource::current()->flags(target_); }

bool TQReachability::isReachableWithFlags(std::uint32_t flags) const {
  if (!(flags & F::Reachable)) return false;
  const std::uint32_t both = F::ConnectionRequired | F::TransientConnection;
  return (flags & both) != both;
}

bool TQReachability::isReachable() const {
  auto flags = flagsNow();
  return flags && isReachableWithFlags(*flags);
}

bool TQReachability::isReachableViaWWAN() const { return false; }

bool TQReachability::isReachableViaWiFi() const {
  auto flags = flagsNow();
  return flags && (*flags & F::Reachable);
}

bool TQReachability::connectionRequired() const {
  auto flags = flagsNow();
  return flags && (*flags & F::ConnectionRequired);
}

bool TQReachability::isConnectionRequired() const { return connectionRequired(); }

bool TQReachability::isConnectionOnDemand() const {
  auto flags = flagsNow();
  return flags && (*flags & F::ConnectionRequired) && (*flags & (F::ConnectionOnTraffic | F::ConnectionOnDemand));
}

bool TQReachability::isInterventionRequired() const {
  auto flags = flagsNow();
  return flags && (*flags & F::ConnectionRequired) && (*flags & F::InterventionRequired);
}

NetworkStatus TQReachability::currentReachabilityStatus() const {
  if (!isReachable()) return NotReachable;
  return isReachableViaWiFi() ? ReachableViaWiFi : NotReachable;
}

std::uint32_t TQReachability::reachabilityFlags() const { return flagsNow().value_or(0); }

std::string TQReachability::currentReachabilityString() const {
  // The keys double as the English texts: with no translation in the main
  // bundle's default table, a key reads as itself.
  switch (currentReachabilityStatus()) {
    case ReachableViaWiFi: return "WiFi";
    case ReachableViaWWAN: return "Cellular";
    default: return "No Connection";
  }
}

std::string TQReachability::flagString(std::uint32_t flags) {
  auto bit = [flags](std::uint32_t mask, char letter) { return (flags & mask) ? letter : '-'; };
  char text[16];
  std::snprintf(text, sizeof text, "%c%c %c%c%c%c%c%c%c", 'X', bit(F::Reachable, 'R'), bit(F::ConnectionRequired, 'c'),
                bit(F::TransientConnection, 't'), bit(F::InterventionRequired, 'i'), bit(F::ConnectionOnTraffic, 'C'),
                bit(F::ConnectionOnDemand, 'D'), bit(F::IsLocalAddress, 'l'), bit(F::IsDirect, 'd'));
  return text;
}

std::string TQReachability::currentReachabilityFlags() const { return flagString(reachabilityFlags()); }

Ref<String> TQReachability::description() const {
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(this));
  return str("<" + className() + ": " + address + " (" + currentReachabilityFlags() + ")>");
}

Id TQReachability::reachabilityObject() const {
  std::lock_guard lock(mutex_);
  return reachabilityObject_;
}
TQReachability::StatusBlock TQReachability::reachableBlock() const {
  std::lock_guard lock(mutex_);
  return reachableBlock_;
}
void TQReachability::setReachableBlock(StatusBlock block) {
  std::lock_guard lock(mutex_);
  reachableBlock_ = std::move(block);
}
TQReachability::StatusBlock TQReachability::unreachableBlock() const {
  std::lock_guard lock(mutex_);
  return unreachableBlock_;
}
void TQReachability::setUnreachableBlock(StatusBlock block) {
  std::lock_guard lock(mutex_);
  unreachableBlock_ = std::move(block);
}
TQReachability::FlagsBlock TQReachability::reachabilityBlock() const {
  std::lock_guard lock(mutex_);
  return reachabilityBlock_;
}
void TQReachability::setReachabilityBlock(FlagsBlock block) {
  std::lock_guard lock(mutex_);
  reachabilityBlock_ = std::move(block);
}

}  // namespace tq
