#include "tq/platform/system/internal/NetlinkReachability.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <netdb.h>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <map>
#include <thread>
#include <vector>

#include "tq/platform/system/internal/NetlinkMessages.h"

namespace tq::detail {

namespace {

namespace Flag = ReachabilityFlag;
using Clock = std::chrono::steady_clock;

// Changes come in bursts (a link going down takes its addresses and routes
// with it): the flags are read at the first message, and once more when the
// burst has ended (the kernel quiet this long, or at the latest kMaxDelay
// after the first read) if more came.
constexpr int kQuietMilliseconds = 5;
constexpr auto kMaxDelay = std::chrono::milliseconds(100);
// Names are resolved again when their addresses are older than this.
constexpr auto kNameLifetime = std::chrono::seconds(30);

class NetlinkSocket {
 public:
  explicit NetlinkSocket(std::uint32_t groups = 0) {
    fd_ = ::socket(AF_NETLINK, SOCK_RAW | SOCK_CLOEXEC, NETLINK_ROUTE);
    if (fd_ < 0) return;
    sockaddr_nl local{};
    local.nl_family = AF_NETLINK;
    local.nl_groups = groups;
    timeval timeout{1, 0};  // the kernel answers at once; this only guards against a lost reply
    ::setsockopt(fd_, SOL_SOCKET, SO_RCVTIMEO, &timeout, sizeof timeout);
    if (::bind(fd_, reinterpret_cast<sockaddr*>(&local), sizeof local) != 0) close();
  }
  ~NetlinkSocket() { close(); }
  NetlinkSocket(const NetlinkSocket&) = delete;
  NetlinkSocket& operator=(const NetlinkSocket&) = delete;

  int fd() const { return fd_; }
  bool send(const std::vector<std::uint8_t>& message) const {
    sockaddr_nl kernel{};
    kernel.nl_family = AF_NETLINK;
    return ::sendto(fd_, message.data(), message.size(), 0, reinterpret_cast<sockaddr*>(&kernel), sizeof kernel) ==
           static_cast<ssize_t>(message.size());
  }
  /// One datagram; -1 on failure (errno set).
  ssize_t receive(std::vector<std::uint8_t>& buffer) const {
    for (;;) {
      ssize_t length = ::recv(fd_, buffer.data(), buffer.size(), 0);
      if (length < 0 && errno == EINTR) continue;
      return length;
    }
  }

 private:
  void close() {
    if (fd_ >= 0) ::close(fd_);
    fd_ = -1;
  }
  int fd_ = -1;
};

std::uint32_t nextSequence() {
  static std::atomic<std::uint32_t> sequence{1};
  return sequence++;
}

std::uint32_t flagsOfRoute(const RouteAnswer& answer) {
  if (answer.outcome != RouteAnswer::Outcome::Route) return 0;  // the kernel knows no way there
  if (answer.type == RTN_LOCAL) return Flag::Reachable | Flag::IsLocalAddress | Flag::IsDirect;
  if (answer.type != RTN_UNICAST || answer.linkDown) return 0;
  return Flag::Reachable | (answer.hasGateway ? 0 : Flag::IsDirect);
}

std::optional<std::uint32_t> lookUpRoute(int family, const std::uint8_t* address, std::size_t length) {
  NetlinkSocket socket;
  const std::uint32_t sequence = nextSequence();
  if (socket.fd() < 0 || !socket.send(routeRequest(family, address, length, sequence))) return std::nullopt;
  std::vector<std::uint8_t> buffer(32 * 1024);
  for (;;) {
    ssize_t received = socket.receive(buffer);
    if (received <= 0) return std::nullopt;
    RouteAnswer answer = parseRouteReply(buffer.data(), std::size_t(received), sequence);
    if (answer.outcome != RouteAnswer::Outcome::Incomplete) return flagsOfRoute(answer);
  }
}

// "Anywhere": reachable when a usable default route exists.
std::optional<std::uint32_t> lookUpDefaultRoute(int family) {
  NetlinkSocket socket;
  const std::uint32_t sequence = nextSequence();
  if (socket.fd() < 0 || !socket.send(routeDumpRequest(family, sequence))) return std::nullopt;
  std::vector<std::uint8_t> buffer(64 * 1024);
  DefaultRouteScan scan;
  while (!scan.done) {
    ssize_t received = socket.receive(buffer);
    if (received <= 0) return std::nullopt;
    scanDefaultRoutes(buffer.data(), std::size_t(received), sequence, scan);
  }
  if (scan.failed) return std::nullopt;
  return scan.defaultRoute ? flagsOfRoute(*scan.defaultRoute) : 0;
}

std::optional<std::uint32_t> addressFlags(const sockaddr_storage& address) {
  if (address.ss_family == AF_INET) {
    const auto& in = reinterpret_cast<const sockaddr_in&>(address);
    if (in.sin_addr.s_addr == htonl(INADDR_ANY)) return lookUpDefaultRoute(AF_INET);
    return lookUpRoute(AF_INET, reinterpret_cast<const std::uint8_t*>(&in.sin_addr), 4);
  }
  const auto& in6 = reinterpret_cast<const sockaddr_in6&>(address);
  if (IN6_IS_ADDR_UNSPECIFIED(&in6.sin6_addr)) return lookUpDefaultRoute(AF_INET6);
  return lookUpRoute(AF_INET6, reinterpret_cast<const std::uint8_t*>(&in6.sin6_addr), 16);
}

std::vector<sockaddr_storage> resolve(const std::string& name) {
  addrinfo hints{};
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  std::vector<sockaddr_storage> addresses;
  if (::getaddrinfo(name.c_str(), nullptr, &hints, &found) != 0) return addresses;
  for (addrinfo* each = found; each; each = each->ai_next) {
    if (each->ai_family != AF_INET && each->ai_family != AF_INET6) continue;
    sockaddr_storage address{};
    std::memcpy(&address, each->ai_addr, each->ai_addrlen);
    addresses.push_back(address);
  }
  ::freeaddrinfo(found);
  return addresses;
}

// The best flags among a name's addresses: the first reachable one's.
std::uint32_t flagsOfAddresses(const std::vector<sockaddr_storage>& addresses) {
  for (const auto& address : addresses) {
    auto flags = addressFlags(address);
    if (flags && (*flags & Flag::Reachable)) return *flags;
  }
  return 0;
}

// The addresses of host names, resolved off the callers' threads.
class NameCache {
 public:
  static NameCache& shared() {
    static NameCache* cache = new NameCache;  // resolver threads may outlive any caller
    return *cache;
  }

  /// The addresses known now (none before the first resolution), starting a
  /// resolution in the background when they are missing or old.
  std::optional<std::vector<sockaddr_storage>> known(const std::string& name) {
    std::lock_guard lock(mutex_);
    Entry& entry = entries_[name];
    if (!entry.resolving && (!entry.resolved || Clock::now() - entry.when > kNameLifetime)) {
      entry.resolving = true;
      std::thread([this, name] { store(name, resolve(name)); }).detach();
    }
    if (!entry.resolved) return std::nullopt;
    return entry.addresses;
  }

  /// Resolves now, on the calling thread (a watcher's own).
  std::vector<sockaddr_storage> resolveNow(const std::string& name) {
    auto addresses = resolve(name);
    store(name, addresses, false);
    return addresses;
  }

 private:
  struct Entry {
    std::vector<sockaddr_storage> addresses;
    bool resolved = false;
    bool resolving = false;
    Clock::time_point when{};
  };
  void store(const std::string& name, std::vector<sockaddr_storage> addresses, bool background = true) {
    std::lock_guard lock(mutex_);
    Entry& entry = entries_[name];
    entry.addresses = std::move(addresses);
    entry.resolved = true;
    entry.when = Clock::now();
    if (background) entry.resolving = false;
  }
  std::mutex mutex_;
  std::map<std::string, Entry> entries_;
};

std::optional<std::uint32_t> currentFlags(const ReachabilityTarget& target) {
  if (!target.isName()) return addressFlags(target.socketAddress());
  auto addresses = NameCache::shared().known(target.name());
  return addresses ? flagsOfAddresses(*addresses) : 0;
}

// One watch: a socket on the change groups, and a thread that reads it and
// reports the flags when they changed.
class NetlinkWatch : public ReachabilitySource::Watch {
 public:
  NetlinkWatch(ReachabilityTarget target, ReachabilitySource::Callback callback, std::uint32_t initial)
      : target_(std::move(target)),
        callback_(std::move(callback)),
        socket_(RTMGRP_LINK | RTMGRP_IPV4_IFADDR | RTMGRP_IPV4_ROUTE | RTMGRP_IPV6_IFADDR | RTMGRP_IPV6_ROUTE),
        stop_(::eventfd(0, EFD_CLOEXEC)),
        last_(initial) {}
  ~NetlinkWatch() override {
    if (thread_.joinable()) {
      std::uint64_t one = 1;
      ssize_t written = ::write(stop_, &one, sizeof one);
      (void)written;
      thread_.join();
    }
    if (stop_ >= 0) ::close(stop_);
  }

  bool start(std::string* error) {
    if (socket_.fd() < 0 || stop_ < 0) {
      if (error) *error = std::string("cannot follow network changes: ") + std::strerror(errno);
      return false;
    }
    thread_ = std::thread([this] { run(); });
    return true;
  }

 private:
  void run() {
    // A name's first resolution may change what callers were told (0 until
    // then), so the flags are read once at the start.
    evaluate();
    std::vector<std::uint8_t> buffer(64 * 1024);
    for (;;) {
      if (waitForChange(buffer, -1) < 0) return;
      // The first change is answered at once (with whatever else is already
      // queued); the rest of its burst is waited out and read once more.
      int changed;
      while ((changed = waitForChange(buffer, 0)) == 1) {
      }
      if (changed < 0) return;
      evaluate();
      bool more = false;
      const auto latest = Clock::now() + kMaxDelay;
      while (Clock::now() < latest && (changed = waitForChange(buffer, kQuietMilliseconds)) == 1) more = true;
      if (changed < 0) return;
      if (more) evaluate();
    }
  }

  // 1 when a change (or a lost message) came, 0 on time-out, -1 when stopped.
  int waitForChange(std::vector<std::uint8_t>& buffer, int timeoutMilliseconds) {
    pollfd fds[2] = {{socket_.fd(), POLLIN, 0}, {stop_, POLLIN, 0}};
    for (;;) {
      int ready = ::poll(fds, 2, timeoutMilliseconds);
      if (ready < 0 && errno == EINTR) continue;
      if (ready < 0 || (fds[1].revents & POLLIN)) return -1;
      if (ready == 0) return 0;
      ssize_t received = ::recv(socket_.fd(), buffer.data(), buffer.size(), MSG_DONTWAIT);
      if (received < 0 && errno == ENOBUFS) return 1;  // messages were lost: read the flags again
      if (received > 0 && holdsNetworkChange(buffer.data(), std::size_t(received))) return 1;
    }
  }

  void evaluate() {
    std::uint32_t flags;
    if (target_.isName()) {
      flags = flagsOfAddresses(NameCache::shared().resolveNow(target_.name()));
    } else {
      flags = addressFlags(target_.socketAddress()).value_or(0);
    }
    if (flags == last_) return;
    last_ = flags;
    callback_(flags);
  }

  ReachabilityTarget target_;
  ReachabilitySource::Callback callback_;
  NetlinkSocket socket_;
  int stop_;
  std::uint32_t last_;
  std::thread thread_;
};

class NetlinkReachabilitySource : public ReachabilitySource {
 public:
  std::optional<std::uint32_t> flags(const ReachabilityTarget& target) const override {
    return currentFlags(target);
  }
  std::unique_ptr<Watch> watch(const ReachabilityTarget& target, Callback callback,
                               std::string* error) const override {
    auto watch = std::make_unique<NetlinkWatch>(target, std::move(callback), currentFlags(target).value_or(0));
    if (!watch->start(error)) return nullptr;
    return watch;
  }
};

}  // namespace

std::shared_ptr<const ReachabilitySource> makeNetlinkReachabilitySource() {
  return std::make_shared<NetlinkReachabilitySource>();
}

}  // namespace tq::detail
