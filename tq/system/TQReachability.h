#pragma once
// TQReachability: whether a host, an address or the network in general can
// be reached, from the flag bits of the reachability source (the kernel's
// routing tables on Linux), and its changes, reported through three
// callbacks on the object's own serial queue and then the notification
// "kReachabilityChangedNotification" on the main queue.
//
// A desktop has no cellular path: the "via WWAN" answers are fixed (never
// reachable that way), and the flag string starts with 'X'. While notifying,
// the object holds itself (`reachabilityObject`) and lives until
// `stopNotifier`.

#include <sys/socket.h>

#include <cstdint>
#include <functional>
#include <mutex>
#include <optional>
#include <string>

#include "tq/platform/dispatch/DispatchQueue.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/system/ReachabilitySource.h"

namespace tq {

enum NetworkStatus : long { NotReachable = 0, ReachableViaWWAN = 1, ReachableViaWiFi = 2 };

inline constexpr const char* kReachabilityChangedNotification = "kReachabilityChangedNotification";

class TQReachability : public Object {
 public:
  using StatusBlock = std::function<void(TQReachability& reachability)>;
  using FlagsBlock = std::function<void(TQReachability& reachability, std::uint32_t flags)>;

  /// Nil for an empty name.
  static Ref<TQReachability> reachabilityWithHostname(const std::string& hostname);
  static Ref<TQReachability> reachabilityWithHostName(const std::string& hostname);
  /// Nil for a null address or a family other than IPv4 and IPv6.
  static Ref<TQReachability> reachabilityWithAddress(const sockaddr* address);
  /// 0.0.0.0: the network in general.
  static Ref<TQReachability> reachabilityForInternetConnection();
  /// 169.254.0.0: the link-local network.
  static Ref<TQReachability> reachabilityForLocalWiFi();
  /// A dotted IPv4 host goes by address and port (443 for "https", else 80,
  /// unless the URL names one); any other host by name. Nil without a host.
  static Ref<TQReachability> reachabilityWithURL(const std::string& url);
  static bool isIpAddress(const std::string& text);
  static Ref<TQReachability> initWithReachabilityRef(ReachabilityTarget target);
  ~TQReachability() override;
  std::string className() const override { return "TQReachability"; }

  bool startNotifier();
  void stopNotifier();

  bool isReachableWithFlags(std::uint32_t flags) const;
  bool isReachable() const;
  bool isReachableViaWWAN() const;
  bool isReachableViaWiFi() const;
  bool connectionRequired() const;
  bool isConnectionRequired() const;
  bool isConnectionOnDemand() const;
  bool isInterventionRequired() const;
  NetworkStatus currentReachabilityStatus() const;
  std::uint32_t reachabilityFlags() const;
  std::string currentReachabilityString() const;
  std::string currentReachabilityFlags() const;
  /// The flag string of any flags.
  static std::string flagString(std::uint32_t flags);
  /// The delivery of a change, on the serial queue.
  void reachabilityChanged(std::uint32_t flags);
  Ref<String> description() const override;

  const ReachabilityTarget& reachabilityRef() const { return target_; }
  const DispatchQueueRef& reachabilitySerialQueue() const { return queue_; }
  Id reachabilityObject() const;
  StatusBlock reachableBlock() const;
  void setReachableBlock(StatusBlock block);
  StatusBlock unreachableBlock() const;
  void setUnreachableBlock(StatusBlock block);
  FlagsBlock reachabilityBlock() const;
  void setReachabilityBlock(FlagsBlock block);
  bool reachableOnWWAN() const { return reachableOnWWAN_; }
  void setReachableOnWWAN(bool value) { reachableOnWWAN_ = value; }

  explicit TQReachability(ReachabilityTarget target);

 private:
  /// The flags now, read fresh; nothing when they cannot be read.
  std::optional<std::uint32_t> flagsNow() const;

  ReachabilityTarget target_;
  DispatchQueueRef queue_;
  mutable std::mutex mutex_;
  Id reachabilityObject_;
  std::unique_ptr<ReachabilitySource::Watch> watch_;
  StatusBlock reachableBlock_;
  StatusBlock unreachableBlock_;
  FlagsBlock reachabilityBlock_;
  bool reachableOnWWAN_ = true;
};

}  // namespace tq
