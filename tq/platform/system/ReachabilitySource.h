#pragma once
// Whether a destination can be reached over the network, as flag bits, and
// the changes of those flags: a seam. The real source asks the kernel's
// routing tables (rtnetlink): for an address, the route a connection would
// take; for the "any address" target, the default route; for a host name,
// the routes of the addresses it resolves to. Changes of links, addresses and
// routes make it read the flags again; a watcher hears only real changes,
// after the burst of kernel messages has quietened (50 ms). The
// `ManualReachabilitySource` lets a test set the flags of each target.

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace tq {

/// The flag bits, in the customary values.
namespace ReachabilityFlag {
inline constexpr std::uint32_t TransientConnection = 0x00001;
inline constexpr std::uint32_t Reachable = 0x00002;
inline constexpr std::uint32_t ConnectionRequired = 0x00004;
inline constexpr std::uint32_t ConnectionOnTraffic = 0x00008;
inline constexpr std::uint32_t InterventionRequired = 0x00010;
inline constexpr std::uint32_t ConnectionOnDemand = 0x00020;
inline constexpr std::uint32_t IsLocalAddress = 0x10000;
inline constexpr std::uint32_t IsDirect = 0x20000;
}  // namespace ReachabilityFlag

/// What is to be reached: an IPv4 or IPv6 address, or a host name.
class ReachabilityTarget {
 public:
  /// Nothing for a null address or a family other than IPv4 and IPv6.
  static std::optional<ReachabilityTarget> address(const sockaddr* address);
  /// Nothing for an empty name or one holding a NUL.
  static std::optional<ReachabilityTarget> named(const std::string& name);

  bool isName() const { return !name_.empty(); }
  const std::string& name() const { return name_; }
  const sockaddr_storage& socketAddress() const { return address_; }
  /// "192.0.2.1", "[2001:db8::1]", or the name: what tests and messages key on.
  std::string description() const;

 private:
  ReachabilityTarget() = default;
  sockaddr_storage address_{};
  std::string name_;
};

class ReachabilitySource {
 public:
  using Callback = std::function<void(std::uint32_t flags)>;

  /// A running watch; destroying it ends the watch, and no callback of it
  /// runs after the destructor returns.
  class Watch {
   public:
    virtual ~Watch() = default;
  };

  virtual ~ReachabilitySource() = default;

  /// The target's flags now; nothing when they cannot be read. A host name
  /// is resolved on a thread of the source's own, never the caller's: until
  /// its first resolution ends the flags are 0.
  virtual std::optional<std::uint32_t> flags(const ReachabilityTarget& target) const = 0;
  /// Calls `callback` on a thread of the source's own with the new flags
  /// whenever they change. Nothing, with the reason, when changes cannot be
  /// followed.
  virtual std::unique_ptr<Watch> watch(const ReachabilityTarget& target, Callback callback,
                                       std::string* error = nullptr) const = 0;

  static std::shared_ptr<const ReachabilitySource> current();
  /// Installs a source (nullptr: the real one again); answers the previous one.
  static std::shared_ptr<const ReachabilitySource> setCurrent(std::shared_ptr<const ReachabilitySource> source);
  static std::shared_ptr<const ReachabilitySource> system();
};

/// A source whose flags a test sets per target (keyed by `description()`);
/// unknown targets cannot be read. `setFlags` runs the watchers of the
/// target whose flags changed, on the test's own thread, before it returns.
class ManualReachabilitySource : public ReachabilitySource {
 public:
  std::optional<std::uint32_t> flags(const ReachabilityTarget& target) const override;
  std::unique_ptr<Watch> watch(const ReachabilityTarget& target, Callback callback,
                               std::string* error = nullptr) const override;

  void setFlags(const std::string& target, std::optional<std::uint32_t> flags);
  /// While set, every watch fails with this reason.
  void setWatchFailure(std::optional<std::string> reason);
  std::size_t watchCount(const std::string& target) const;

  struct Watcher;

 private:
  mutable std::mutex mutex_;
  std::map<std::string, std::optional<std::uint32_t>> flags_;
  mutable std::multimap<std::string, std::shared_ptr<Watcher>> watchers_;
  std::optional<std::string> failure_;
};

/// Installs a source for the lifetime of the scope.
class ScopedReachabilitySource {
 public:
  explicit ScopedReachabilitySource(std::shared_ptr<const ReachabilitySource> source)
      : previous_(ReachabilitySource::setCurrent(std::move(source))) {}
  ~ScopedReachabilitySource() { ReachabilitySource::setCurrent(previous_); }
  ScopedReachabilitySource(const ScopedReachabilitySource&) = delete;
  ScopedReachabilitySource& operator=(const ScopedReachabilitySource&) = delete;

 private:
  std::shared_ptr<const ReachabilitySource> previous_;
};

}  // namespace tq
