// Fuzzes the readers of rtnetlink replies and broadcasts: any bytes, read as
// a route reply, a route dump and a change broadcast, must be read without
// reading outside them, and answer something consistent.

#include <cstdint>
#include <cstring>

#include "tq/platform/system/internal/NetlinkMessages.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  using tq::detail::RouteAnswer;
  // The reply the kernel's own sequence numbers would match: the first
  // message's, when there is one.
  std::uint32_t sequence = 0;
  if (size >= 12) std::memcpy(&sequence, data + 8, sizeof sequence);
  RouteAnswer answer = tq::detail::parseRouteReply(data, size, sequence);
  if (answer.outcome != RouteAnswer::Outcome::Error && answer.error != 0) __builtin_trap();
  if (answer.outcome == RouteAnswer::Outcome::Error && answer.error == 0) __builtin_trap();
  tq::detail::DefaultRouteScan scan;
  tq::detail::scanDefaultRoutes(data, size, sequence, scan);
  if (scan.failed && !scan.done) __builtin_trap();
  if (scan.defaultRoute && scan.defaultRoute->outcome != RouteAnswer::Outcome::Route) __builtin_trap();
  tq::detail::holdsNetworkChange(data, size);
  return 0;
}
