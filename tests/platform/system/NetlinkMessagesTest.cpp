// The rtnetlink messages of the reachability source: requests as the kernel
// expects them, and replies read safely, whatever bytes come.

#include "tq/platform/system/internal/NetlinkMessages.h"

#include <gtest/gtest.h>
#include <linux/netlink.h>
#include <linux/rtnetlink.h>
#include <sys/socket.h>

#include <cerrno>
#include <cstring>

namespace tq::detail {
namespace {

using Bytes = std::vector<std::uint8_t>;

// One message: header, payload, and attributes (type and bytes), aligned.
Bytes message(std::uint16_t type, std::uint32_t sequence, const Bytes& payload,
              const std::vector<std::pair<std::uint16_t, Bytes>>& attributes = {}) {
  Bytes body = payload;
  body.resize(NLMSG_ALIGN(body.size()));
  for (const auto& [attributeType, value] : attributes) {
    rtattr attribute{static_cast<unsigned short>(RTA_LENGTH(value.size())), attributeType};
    const auto* raw = reinterpret_cast<const std::uint8_t*>(&attribute);
    body.insert(body.end(), raw, raw + sizeof attribute);
    body.insert(body.end(), value.begin(), value.end());
    body.resize(RTA_ALIGN(body.size()));
  }
  nlmsghdr header{static_cast<std::uint32_t>(NLMSG_HDRLEN + body.size()), type, 0, sequence, 0};
  Bytes bytes(reinterpret_cast<const std::uint8_t*>(&header), reinterpret_cast<const std::uint8_t*>(&header) + sizeof header);
  bytes.insert(bytes.end(), body.begin(), body.end());
  return bytes;
}

Bytes route(std::uint8_t type, std::uint8_t dstLength = 32, std::uint32_t flags = 0) {
  rtmsg r{};
  r.rtm_family = AF_INET;
  r.rtm_type = type;
  r.rtm_dst_len = dstLength;
  r.rtm_flags = flags;
  return Bytes(reinterpret_cast<const std::uint8_t*>(&r), reinterpret_cast<const std::uint8_t*>(&r) + sizeof r);
}

Bytes errorPayload(int error) {
  nlmsgerr e{};
  e.error = -error;
  return Bytes(reinterpret_cast<const std::uint8_t*>(&e), reinterpret_cast<const std::uint8_t*>(&e) + sizeof e);
}

Bytes joined(std::initializer_list<Bytes> parts) {
  Bytes all;
  for (const auto& part : parts) all.insert(all.end(), part.begin(), part.end());
  return all;
}

const Bytes kGateway{10, 0, 0, 1};

TEST(NetlinkMessagesTest, ARouteRequestCarriesTheDestinationAsAnAttribute) {
  const std::uint8_t address[4] = {192, 0, 2, 1};
  Bytes request = routeRequest(AF_INET, address, 4, 77);
  ASSERT_EQ(request.size(), NLMSG_HDRLEN + NLMSG_ALIGN(sizeof(rtmsg)) + RTA_LENGTH(4));
  nlmsghdr header;
  std::memcpy(&header, request.data(), sizeof header);
  EXPECT_EQ(header.nlmsg_len, request.size());
  EXPECT_EQ(header.nlmsg_type, RTM_GETROUTE);
  EXPECT_EQ(header.nlmsg_flags, NLM_F_REQUEST);
  EXPECT_EQ(header.nlmsg_seq, 77u);
  rtmsg r;
  std::memcpy(&r, request.data() + NLMSG_HDRLEN, sizeof r);
  EXPECT_EQ(r.rtm_dst_len, 32);
  EXPECT_EQ(0, std::memcmp(request.data() + request.size() - 4, address, 4));
  nlmsghdr dump;
  Bytes dumpRequest = routeDumpRequest(AF_INET6, 3);
  std::memcpy(&dump, dumpRequest.data(), sizeof dump);
  EXPECT_EQ(dump.nlmsg_flags, NLM_F_REQUEST | NLM_F_DUMP);
}

TEST(NetlinkMessagesTest, RepliesAreReadForTheirSequenceOnly) {
  struct Case {
    const char* name;
    Bytes reply;
    RouteAnswer::Outcome outcome;
    std::uint8_t type;
    bool gateway;
    int error;
  };
  const Case cases[] = {
      {"direct", message(RTM_NEWROUTE, 5, route(RTN_UNICAST)), RouteAnswer::Outcome::Route, RTN_UNICAST, false, 0},
      {"gateway", message(RTM_NEWROUTE, 5, route(RTN_UNICAST), {{RTA_OIF, {2, 0, 0, 0}}, {RTA_GATEWAY, kGateway}}),
       RouteAnswer::Outcome::Route, RTN_UNICAST, true, 0},
      {"local", message(RTM_NEWROUTE, 5, route(RTN_LOCAL)), RouteAnswer::Outcome::Route, RTN_LOCAL, false, 0},
      {"unreachable", message(NLMSG_ERROR, 5, errorPayload(ENETUNREACH)), RouteAnswer::Outcome::Error, 0, false,
       ENETUNREACH},
      {"other sequence first", joined({message(RTM_NEWROUTE, 4, route(RTN_LOCAL)), message(RTM_NEWROUTE, 5, route(RTN_UNICAST))}),
       RouteAnswer::Outcome::Route, RTN_UNICAST, false, 0},
      {"other sequence only", message(RTM_NEWROUTE, 6, route(RTN_UNICAST)), RouteAnswer::Outcome::Incomplete, 0, false, 0},
      {"acknowledgement", message(NLMSG_ERROR, 5, errorPayload(0)), RouteAnswer::Outcome::Incomplete, 0, false, 0},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    RouteAnswer answer = parseRouteReply(c.reply.data(), c.reply.size(), 5);
    EXPECT_EQ(answer.outcome, c.outcome);
    EXPECT_EQ(answer.type, c.type);
    EXPECT_EQ(answer.hasGateway, c.gateway);
    EXPECT_EQ(answer.error, c.error);
  }
}

TEST(NetlinkMessagesTest, MalformedBytesGiveNothingUsable) {
  Bytes good = message(RTM_NEWROUTE, 5, route(RTN_UNICAST), {{RTA_GATEWAY, kGateway}});
  for (std::size_t cut = 0; cut < good.size(); ++cut) {
    RouteAnswer answer = parseRouteReply(good.data(), cut, 5);
    EXPECT_NE(answer.outcome, RouteAnswer::Outcome::Error) << cut;
  }
  Bytes lying = good;
  lying[0] = 0xff;  // a length beyond the read
  EXPECT_EQ(parseRouteReply(lying.data(), lying.size(), 5).outcome, RouteAnswer::Outcome::Incomplete);
  Bytes badAttribute = good;
  badAttribute[NLMSG_HDRLEN + NLMSG_ALIGN(sizeof(rtmsg))] = 200;  // the attribute claims more than there is
  RouteAnswer answer = parseRouteReply(badAttribute.data(), badAttribute.size(), 5);
  EXPECT_FALSE(answer.hasGateway);
}

TEST(NetlinkMessagesTest, DumpsFindAUsableDefaultRouteAndTheirEnd) {
  DefaultRouteScan scan;
  Bytes first = joined({message(RTM_NEWROUTE, 9, route(RTN_UNICAST, 24)),
                        message(RTM_NEWROUTE, 9, route(RTN_UNICAST, 0, RTNH_F_LINKDOWN), {{RTA_GATEWAY, kGateway}}),
                        message(RTM_NEWROUTE, 9, route(RTN_UNREACHABLE, 0))});
  scanDefaultRoutes(first.data(), first.size(), 9, scan);
  EXPECT_FALSE(scan.done);
  EXPECT_FALSE(scan.defaultRoute) << "a route to a network, a dead link and an unreachable one do not count";
  Bytes second = joined({message(RTM_NEWROUTE, 9, route(RTN_UNICAST, 0), {{RTA_GATEWAY, kGateway}}),
                         message(NLMSG_DONE, 9, {0, 0, 0, 0})});
  scanDefaultRoutes(second.data(), second.size(), 9, scan);
  EXPECT_TRUE(scan.done);
  EXPECT_FALSE(scan.failed);
  ASSERT_TRUE(scan.defaultRoute);
  EXPECT_TRUE(scan.defaultRoute->hasGateway);

  DefaultRouteScan failed;
  Bytes error = message(NLMSG_ERROR, 9, errorPayload(EPERM));
  scanDefaultRoutes(error.data(), error.size(), 9, failed);
  EXPECT_TRUE(failed.done && failed.failed);
}

TEST(NetlinkMessagesTest, ChangesOfLinksAddressesAndRoutesAreTold) {
  for (std::uint16_t type : {RTM_NEWLINK, RTM_DELLINK, RTM_NEWADDR, RTM_DELADDR, RTM_NEWROUTE, RTM_DELROUTE}) {
    Bytes bytes = joined({message(RTM_NEWNEIGH, 0, {}), message(type, 0, {})});
    EXPECT_TRUE(holdsNetworkChange(bytes.data(), bytes.size())) << type;
  }
  Bytes neighbour = message(RTM_NEWNEIGH, 0, {});
  EXPECT_FALSE(holdsNetworkChange(neighbour.data(), neighbour.size()));
  EXPECT_FALSE(holdsNetworkChange(neighbour.data(), 3));
}

}  // namespace
}  // namespace tq::detail
