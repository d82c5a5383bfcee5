// tqkit reach: whether a host, an address, a URL's host or the network in
// general can be reached, as the library's reachability reads it from the
// kernel's routing tables: the flag string, the status and its text, as one
// JSON line; with --watch, a line for each change after the first.

#include <arpa/inet.h>
#include <netinet/in.h>

#include <chrono>
#include <string>
#include <thread>

#include "Command.h"
#include "EventLines.h"
#include "ValueJSON.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"
#include "tq/system/TQReachability.h"

using namespace tqkit;

namespace {

tq::Ref<tq::TQReachability> target(Arguments& arguments, bool internet, bool localWiFi) {
  auto words = arguments.positionals(internet || localWiFi ? 0 : 1, internet || localWiFi ? 0 : 1);
  if (internet && localWiFi) throw UsageException{"--internet and --local-wifi exclude each other"};
  if (internet) return tq::TQReachability::reachabilityForInternetConnection();
  if (localWiFi) return tq::TQReachability::reachabilityForLocalWiFi();
  const std::string& text = words[0];
  tq::Ref<tq::TQReachability> made;
  sockaddr_in6 in6{};
  if (text.find("://") != std::string::npos) {
    made = tq::TQReachability::reachabilityWithURL(text);
  } else if (::inet_pton(AF_INET6, text.c_str(), &in6.sin6_addr) == 1) {
    in6.sin6_family = AF_INET6;
    made = tq::TQReachability::reachabilityWithAddress(reinterpret_cast<sockaddr*>(&in6));
  } else if (tq::TQReachability::isIpAddress(text)) {
    sockaddr_in in{};
    in.sin_family = AF_INET;
    ::inet_aton(text.c_str(), &in.sin_addr);
    made = tq::TQReachability::reachabilityWithAddress(reinterpret_cast<sockaddr*>(&in));
  } else {
    made = tq::TQReachability::reachabilityWithHostname(text);
  }
  if (!made) throw FailureException{"cannot make a target of '" + text + "': not a host, address or URL with a host"};
  return made;
}

std::string line(const tq::TQReachability& reachability, std::uint32_t flags) {
  const bool reachable = reachability.isReachableWithFlags(flags);
  const long status = reachable && (flags & tq::ReachabilityFlag::Reachable) ? tq::ReachableViaWiFi : tq::NotReachable;
  return toJSON(tq::dict({{tq::str("target"), tq::str(reachability.reachabilityRef().description())},
                          {tq::str("flags"), tq::str(tq::TQReachability::flagString(flags))},
                          {tq::str("status"), tq::num(status)},
                          {tq::str("statusString"), tq::str(status == tq::ReachableViaWiFi ? "WiFi" : "No Connection")}}),
                false);
}

// A host name is resolved on the library's own thread; the first answer is
// waited for a little (an unknown name waits it out and answers unreachable).
std::uint32_t settledFlags(const tq::TQReachability& reachability) {
  std::uint32_t flags = reachability.reachabilityFlags();
  if (!reachability.reachabilityRef().isName()) return flags;
  const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(3);
  while (flags == 0 && std::chrono::steady_clock::now() < deadline) {
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    flags = reachability.reachabilityFlags();
  }
  return flags;
}

int reach(Arguments& arguments) {
  const bool watch = arguments.flag("--watch");
  const bool hasLimits = arguments.hasOption("--count") || arguments.hasOption("--timeout");
  EventLines lines(arguments);
  if (hasLimits && !watch) throw UsageException{"--count and --timeout go with --watch"};
  const bool internet = arguments.flag("--internet");
  const bool localWiFi = arguments.flag("--local-wifi");
  auto reachability = target(arguments, internet, localWiFi);
  if (!watch) {
    writeOut(arguments, line(*reachability, settledFlags(*reachability)) + "\n");
    return Success;
  }
  reachability->setReachabilityBlock(
      [&lines](tq::TQReachability& changed, std::uint32_t flags) { lines.queue(line(changed, flags)); });
  if (!reachability->startNotifier()) throw FailureException{"cannot follow network changes"};
  lines.print(line(*reachability, reachability->reachabilityFlags()));
  lines.run();
  reachability->stopNotifier();
  return Success;
}

const CommandGroup reachGroup{
    "reach",
    "tell whether a host, an address or the network can be reached",
    {
        {.name = "",
         .synopsis = "[--watch [--count N] [--timeout SECONDS]] HOST|ADDRESS|URL|--internet|--local-wifi",
         .summary = "Prints the reachability flags, the status and its text as a JSON line.",
         .run = reach,
         .description = "Reads the kernel's routes to the target: reachable when a usable route exists, d "
                        "(direct) when it needs no gateway, l when the address is this host's own. A URL goes "
                        "by its host (an IPv4 host with its port). --internet asks for the default route, "
                        "--local-wifi for the link-local network 169.254.0.0. The flag string is 'X', R, a "
                        "blank, then c t i C D l d, each '-' when unset. A host name is resolved first (up to "
                        "3 seconds). With --watch, a line follows for each change of the flags.",
         .options = {{"--watch", "prints a line for each change"},
                     {"--internet", "the network in general (0.0.0.0)"},
                     {"--local-wifi", "the link-local network (169.254.0.0)"},
                     EventCountOption,
                     EventTimeoutOption},
         .examples = {{"tqkit reach --internet", "is there a default route?"},
                      {"tqkit reach https://192.0.2.7/", "by address, port 443"},
                      {"tqkit reach --watch --count 2 mail.example.org", "waits for one change"}}},
    }};

}  // namespace
