// Reachability through the source seam: the flag predicates, the strings, the
// factories' targets, and the notifier's callbacks and notification.

#include "tq/system/TQReachability.h"

#include <arpa/inet.h>
#include <gtest/gtest.h>
#include <netinet/in.h>

#include <regex>

#include "tests/support/Eventually.h"
#include "tq/platform/dispatch/NotificationCenter.h"
#include "tq/platform/dispatch/RunLoop.h"

namespace tq {
namespace {

using tq::testing::eventually;
using tq::testing::Recorder;
namespace Flag = ReachabilityFlag;

class TQReachabilityTest : public ::testing::Test {
 protected:
  Ref<TQReachability> withFlags(std::optional<std::uint32_t> flags, const std::string& host = "host.example") {
    source_->setFlags(host, flags);
    return TQReachability::reachabilityWithHostname(host);
  }
  std::shared_ptr<ManualReachabilitySource> source_ = std::make_shared<ManualReachabilitySource>();
  ScopedReachabilitySource installed_{source_};
};

TEST_F(TQReachabilityTest, PredicatesReadTheFlagsAsTheyAreWritten) {
  struct Case {
    std::uint32_t flags;
    bool reachable, onDemand, intervention, required;
  };
  const Case cases[] = {
      {0x2, true, false, false, false},   {0x7, false, false, false, true},  {0x6, true, false, false, true},
      {0x3, true, false, false, false},   {0x24, false, true, false, true},  {0x0C, false, true, false, true},
      {0x20, false, false, false, false}, {0x04, false, false, false, true}, {0x14, false, false, true, true},
      {0x10, false, false, false, false}, {0x2E, true, true, false, true},
  };
  for (const Case& c : cases) {
    auto reachability = withFlags(c.flags);
    SCOPED_TRACE(c.flags);
    EXPECT_EQ(reachability->isReachableWithFlags(c.flags), c.reachable);
    EXPECT_EQ(reachability->isReachable(), c.reachable);
    EXPECT_EQ(reachability->isConnectionOnDemand(), c.onDemand);
    EXPECT_EQ(reachability->isInterventionRequired(), c.intervention);
    EXPECT_EQ(reachability->connectionRequired(), c.required);
    EXPECT_EQ(reachability->isConnectionRequired(), c.required);
    EXPECT_EQ(reachability->isReachableViaWiFi(), (c.flags & Flag::Reachable) != 0);
    EXPECT_FALSE(reachability->isReachableViaWWAN());
    EXPECT_EQ(reachability->reachabilityFlags(), c.flags);
  }
}

TEST_F(TQReachabilityTest, StatusNeverSaysCellularAndUnreadableFlagsAnswerFalse) {
  auto reachable = withFlags(Flag::Reachable | Flag::IsDirect);
  EXPECT_EQ(reachable->currentReachabilityStatus(), ReachableViaWiFi);
  EXPECT_EQ(reachable->currentReachabilityString(), "WiFi");
  auto transient = withFlags(0x7);
  EXPECT_EQ(transient->currentReachabilityStatus(), NotReachable);
  EXPECT_EQ(transient->currentReachabilityString(), "No Connection");
  auto unreadable = withFlags(std::nullopt, "unknown.example");
  EXPECT_FALSE(unreadable->isReachable());
  EXPECT_FALSE(unreadable->isReachableViaWiFi());
  EXPECT_FALSE(unreadable->connectionRequired());
  EXPECT_FALSE(unreadable->isInterventionRequired());
  EXPECT_EQ(unreadable->reachabilityFlags(), 0u);
  EXPECT_EQ(unreadable->currentReachabilityStatus(), NotReachable);
}

TEST_F(TQReachabilityTest, TheFlagStringStartsWithXAndListsTheBitsInItsOwnOrder) {
  EXPECT_EQ(TQReachability::flagString(0), "X- -------");
  EXPECT_EQ(TQReachability::flagString(Flag::Reachable | Flag::IsLocalAddress | Flag::IsDirect), "XR -----ld");
  EXPECT_EQ(TQReachability::flagString(0x3003F), "XR ctiCDld");
  EXPECT_EQ(TQReachability::flagString(Flag::ConnectionRequired | Flag::TransientConnection), "X- ct-----");
  auto reachability = withFlags(Flag::Reachable | Flag::IsDirect);
  EXPECT_EQ(reachability->currentReachabilityFlags(), "XR ------d");
  EXPECT_TRUE(std::regex_match(reachability->description()->utf8(),
                               std::regex(R"(<TQReachability: 0x[0-9a-f]+ \(XR ------d\)>)")))
      << reachability->description()->utf8();
}

TEST_F(TQReachabilityTest, FactoriesMakeTheirTargets) {
  EXPECT_EQ(TQReachability::reachabilityForInternetConnection()->reachabilityRef().description(), "0.0.0.0");
  EXPECT_EQ(TQReachability::reachabilityForLocalWiFi()->reachabilityRef().description(), "169.254.0.0");
  EXPECT_EQ(TQReachability::reachabilityWithHostName("mail.example")->reachabilityRef().description(), "mail.example");
  EXPECT_FALSE(TQReachability::reachabilityWithHostname(""));
  EXPECT_FALSE(TQReachability::reachabilityWithAddress(nullptr));
  sockaddr unix{};
  unix.sa_family = AF_UNIX;
  EXPECT_FALSE(TQReachability::reachabilityWithAddress(&unix));
  EXPECT_TRUE(TQReachability::isIpAddress("10.0.0.1"));
  EXPECT_TRUE(TQReachability::isIpAddress("10.1")) << "inet_aton's shorter forms count";
  EXPECT_FALSE(TQReachability::isIpAddress("mail.example"));
  EXPECT_TRUE(TQReachability::reachabilityWithHostname("x")->reachableOnWWAN());
  EXPECT_EQ(TQReachability::reachabilityWithHostname("x")->reachabilitySerialQueue()->label(),
            "org.tqbasekit.reachability");
}

TEST_F(TQReachabilityTest, URLsWithAnAddressGoByAddressAndPortAndOthersByName) {
  struct Case {
    const char* url;
    const char* target;
    int port;  // -1: a name target
  };
  const Case cases[] = {
      {"https://192.0.2.7/inbox", "192.0.2.7", 443},  {"http://192.0.2.7", "192.0.2.7", 80},
      {"imap://192.0.2.7", "192.0.2.7", 80},          {"HTTPS://192.0.2.7", "192.0.2.7", 80},
      {"https://192.0.2.7:8443/", "192.0.2.7", 8443}, {"https://user@mail.example:993/", "mail.example", -1},
      {"https://[2001:db8::1]/", "2001:db8::1", -1},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.url);
    auto reachability = TQReachability::reachabilityWithURL(c.url);
    ASSERT_TRUE(reachability);
    const auto& target = reachability->reachabilityRef();
    EXPECT_EQ(target.description(), c.target);
    if (c.port >= 0) {
      ASSERT_FALSE(target.isName());
      EXPECT_EQ(ntohs(reinterpret_cast<const sockaddr_in&>(target.socketAddress()).sin_port), c.port);
    } else {
      EXPECT_TRUE(target.isName());
    }
  }
  EXPECT_FALSE(TQReachability::reachabilityWithURL("not a url"));
  EXPECT_FALSE(TQReachability::reachabilityWithURL("file:///tmp/x"));
}

TEST_F(TQReachabilityTest, ChangesCallTheBlocksOnTheQueueThenNotifyOnTheMainQueue) {
  auto reachability = withFlags(0);
  Recorder<> events;
  reachability->setReachableBlock([&](TQReachability&) { events("reachable on " + DispatchQueue::currentLabel()); });
  reachability->setUnreachableBlock([&](TQReachability&) { events("unreachable"); });
  reachability->setReachabilityBlock(
      [&](TQReachability&, std::uint32_t flags) { events("flags " + std::to_string(flags)); });
  auto token = NotificationCenter::defaultCenter()->addObserverForName(
      str("kReachabilityChangedNotification"), reachability, nullptr,
      [&](const Ref<Notification>&) { events(RunLoop::isMainThread() ? "notified on main" : "notified elsewhere"); });

  ASSERT_TRUE(reachability->startNotifier());
  EXPECT_EQ(reachability->reachabilityObject(), reachability) << "holds itself while notifying";
  ASSERT_TRUE(reachability->startNotifier());
  EXPECT_EQ(source_->watchCount("host.example"), 1u) << "a second start installs nothing";

  source_->setFlags("host.example", Flag::Reachable);
  source_->setFlags("host.example", Flag::Reachable);  // no change: nothing
  source_->setFlags("host.example", 0x7);
  ASSERT_TRUE(eventually([&] { return events.snapshot().size() >= 4; }));
  ASSERT_TRUE(RunLoop::main().runUntil([&] { return events.snapshot().size() >= 6; }, 5.0));
  auto seen = events.snapshot();
  EXPECT_EQ(std::vector<std::string>(seen.begin(), seen.begin() + 4),
            (std::vector<std::string>{"reachable on org.tqbasekit.reachability", "flags 2", "unreachable", "flags 7"}));
  EXPECT_EQ(seen[4], "notified on main");
  EXPECT_EQ(seen[5], "notified on main");

  reachability->stopNotifier();
  EXPECT_FALSE(reachability->reachabilityObject());
  EXPECT_EQ(source_->watchCount("host.example"), 0u);
  NotificationCenter::defaultCenter()->removeObserver(token);
}

TEST_F(TQReachabilityTest, AFailedStartLeavesNothingInstalled) {
  source_->setWatchFailure("cannot follow network changes");
  auto reachability = withFlags(Flag::Reachable);
  EXPECT_FALSE(reachability->startNotifier());
  EXPECT_FALSE(reachability->reachabilityObject());
}

TEST_F(TQReachabilityTest, ANotifyingObjectLivesUntilItIsStopped) {
  std::weak_ptr<TQReachability> weak;
  {
    auto reachability = withFlags(0);
    ASSERT_TRUE(reachability->startNotifier());
    weak = reachability;
  }
  auto alive = weak.lock();
  ASSERT_TRUE(alive) << "kept by its self-reference";
  alive->stopNotifier();
  alive.reset();
  EXPECT_TRUE(weak.expired());
}

}  // namespace
}  // namespace tq
