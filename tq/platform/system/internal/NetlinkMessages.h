#pragma once
// The rtnetlink messages the reachability source sends and reads. Replies
// and broadcasts are bytes from outside the process: every reader here
// checks every length before it looks, and answers "nothing usable" for
// anything malformed (a fuzz target holds it to that).

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

namespace tq::detail {

/// What a route lookup said about one destination.
struct RouteAnswer {
  enum class Outcome { Route, Error, Incomplete };
  Outcome outcome = Outcome::Incomplete;
  int error = 0;         // with Error: the errno the kernel gave (positive)
  std::uint8_t type = 0; // with Route: RTN_UNICAST, RTN_LOCAL, RTN_UNREACHABLE ...
  bool hasGateway = false;
  bool linkDown = false;  // the route's device has no carrier
};

/// An RTM_GETROUTE request for one address (4 or 16 bytes, by family).
std::vector<std::uint8_t> routeRequest(int family, const std::uint8_t* address, std::size_t length,
                                       std::uint32_t sequence);
/// An RTM_GETROUTE dump request for the routes of a family.
std::vector<std::uint8_t> routeDumpRequest(int family, std::uint32_t sequence);

/// The answer to the request numbered `sequence` in the bytes of one read.
RouteAnswer parseRouteReply(const std::uint8_t* data, std::size_t length, std::uint32_t sequence);

/// What one read of a route dump held: the best default route seen, and
/// whether the dump ended (or failed) with it.
struct DefaultRouteScan {
  bool done = false;
  bool failed = false;
  std::optional<RouteAnswer> defaultRoute;  // a usable (unicast) route to everywhere
};
void scanDefaultRoutes(const std::uint8_t* data, std::size_t length, std::uint32_t sequence, DefaultRouteScan& scan);

/// Whether the bytes of one read from the change groups hold a change of a
/// link, an address or a route.
bool holdsNetworkChange(const std::uint8_t* data, std::size_t length);

}  // namespace tq::detail
