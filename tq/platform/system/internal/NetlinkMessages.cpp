#include "tq/platform/system/internal/NetlinkMessages.h"

#include <linux/netlink.h>
#include <linux/rtnetlink.h>

#include <cstring>
#include <functional>

namespace tq::detail {

namespace {

constexpr std::size_t align(std::size_t length) { return (length + 3) & ~std::size_t(3); }

template <class T>
void append(std::vector<std::uint8_t>& bytes, const T& value) {
  const auto* raw = reinterpret_cast<const std::uint8_t*>(&value);
  bytes.insert(bytes.end(), raw, raw + sizeof value);
}

std::vector<std::uint8_t> request(std::uint16_t flags, int family, std::uint32_t sequence) {
  std::vector<std::uint8_t> bytes;
  nlmsghdr header{};
  header.nlmsg_type = RTM_GETROUTE;
  header.nlmsg_flags = static_cast<std::uint16_t>(NLM_F_REQUEST | flags);
  header.nlmsg_seq = sequence;
  append(bytes, header);
  rtmsg route{};
  route.rtm_family = static_cast<std::uint8_t>(family);
  append(bytes, route);
  return bytes;
}

void finish(std::vector<std::uint8_t>& bytes) {
  auto length = static_cast<std::uint32_t>(bytes.size());
  std::memcpy(bytes.data() + offsetof(nlmsghdr, nlmsg_len), &length, sizeof length);
}

// Calls `each` with every whole message of the read (header copied out, so
// that no misaligned read happens; the payload as bytes and length). Stops
// at the first malformed header.
void forEachMessage(const std::uint8_t* data, std::size_t length,
                    const std::function<bool(const nlmsghdr&, const std::uint8_t*, std::size_t)>& each) {
  std::size_t offset = 0;
  while (length - offset >= sizeof(nlmsghdr)) {
    nlmsghdr header;
    std::memcpy(&header, data + offset, sizeof header);
    if (header.nlmsg_len < sizeof(nlmsghdr) || header.nlmsg_len > length - offset) return;
    if (!each(header, data + offset + sizeof header, header.nlmsg_len - sizeof header)) return;
    offset += align(header.nlmsg_len);
    if (offset > length) return;
  }
}

// The route's description, when the payload holds a whole rtmsg.
std::optional<RouteAnswer> routeOf(const std::uint8_t* payload, std::size_t length, std::uint8_t* dstLength = nullptr) {
  if (length < sizeof(rtmsg)) return std::nullopt;
  rtmsg route;
  std::memcpy(&route, payload, sizeof route);
  RouteAnswer answer;
  answer.outcome = RouteAnswer::Outcome::Route;
  answer.type = route.rtm_type;
  answer.linkDown = (route.rtm_flags & RTNH_F_LINKDOWN) != 0;
  if (dstLength) *dstLength = route.rtm_dst_len;
  std::size_t offset = align(sizeof route);
  while (offset <= length && length - offset >= sizeof(rtattr)) {
    rtattr attribute;
    std::memcpy(&attribute, payload + offset, sizeof attribute);
    if (attribute.rta_len < sizeof(rtattr) || attribute.rta_len > length - offset) break;
    if (attribute.rta_type == RTA_GATEWAY || attribute.rta_type == RTA_VIA) answer.hasGateway = true;
    if (attribute.rta_type == RTA_MULTIPATH) answer.hasGateway = true;  // next hops: a gateway or several
    offset += align(attribute.rta_len);
  }
  return answer;
}

std::optional<int> errorOf(const std::uint8_t* payload, std::size_t length) {
  if (length < sizeof(int)) return std::nullopt;
  int error;
  std::memcpy(&error, payload, sizeof error);
  return error < 0 ? -error : error;
}

}  // namespace

std::vector<std::uint8_t> routeRequest(int family, const std::uint8_t* address, std::size_t length,
                                       std::uint32_t sequence) {
  auto bytes = request(0, family, sequence);
  rtmsg route{};
  route.rtm_family = static_cast<std::uint8_t>(family);
  route.rtm_dst_len = static_cast<std::uint8_t>(length * 8);
  std::memcpy(bytes.data() + sizeof(nlmsghdr), &route, sizeof route);
  rtattr attribute{};
  attribute.rta_len = static_cast<unsigned short>(sizeof(rtattr) + length);
  attribute.rta_type = RTA_DST;
  append(bytes, attribute);
  bytes.insert(bytes.end(), address, address + length);
  bytes.resize(align(bytes.size()));
  finish(bytes);
  return bytes;
}

std::vector<std::uint8_t> routeDumpRequest(int family, std::uint32_t sequence) {
  auto bytes = request(NLM_F_DUMP, family, sequence);
  finish(bytes);
  return bytes;
}

RouteAnswer parseRouteReply(const std::uint8_t* data, std::size_t length, std::uint32_t sequence) {
  RouteAnswer answer;
  forEachMessage(data, length, [&](const nlmsghdr& header, const std::uint8_t* payload, std::size_t size) {
    if (header.nlmsg_seq != sequence) return true;
    if (header.nlmsg_type == NLMSG_ERROR) {
      auto error = errorOf(payload, size);
      if (!error) return false;
      if (*error == 0) return true;  // an acknowledgement
      answer = {};
      answer.outcome = RouteAnswer::Outcome::Error;
      answer.error = *error;
      return false;
    }
    if (header.nlmsg_type == RTM_NEWROUTE) {
      if (auto route = routeOf(payload, size)) answer = *route;
      return false;
    }
    return true;
  });
  return answer;
}

void scanDefaultRoutes(const std::uint8_t* data, std::size_t length, std::uint32_t sequence, DefaultRouteScan& scan) {
  forEachMessage(data, length, [&](const nlmsghdr& header, const std::uint8_t* payload, std::size_t size) {
    if (header.nlmsg_seq != sequence) return true;
    if (header.nlmsg_type == NLMSG_DONE) {
      scan.done = true;
      return false;
    }
    if (header.nlmsg_type == NLMSG_ERROR) {
      scan.done = scan.failed = true;
      return false;
    }
    if (header.nlmsg_type != RTM_NEWROUTE) return true;
    std::uint8_t dstLength = 0xff;
    auto route = routeOf(payload, size, &dstLength);
    if (!route || dstLength != 0 || route->type != RTN_UNICAST || route->linkDown) return true;
    // A direct default route (a point-to-point link) is preferred to none,
    // one through a gateway kept once seen: either way the world is reachable.
    if (!scan.defaultRoute || (scan.defaultRoute->hasGateway && !route->hasGateway)) scan.defaultRoute = route;
    return true;
  });
}

bool holdsNetworkChange(const std::uint8_t* data, std::size_t length) {
  bool change = false;
  forEachMessage(data, length, [&](const nlmsghdr& header, const std::uint8_t*, std::size_t) {
    switch (header.nlmsg_type) {
      case RTM_NEWLINK:
      case RTM_DELLINK:
      case RTM_NEWADDR:
      case RTM_DELADDR:
      case RTM_NEWROUTE:
      case RTM_DELROUTE:
        change = true;
        return false;
      default:
        return true;
    }
  });
  return change;
}

}  // namespace tq::detail
