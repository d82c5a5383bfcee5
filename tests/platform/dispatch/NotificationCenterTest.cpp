// Notifications: matching by name and sender, delivery queue, removal.

#include <atomic>
#include <thread>

#include <gtest/gtest.h>

#include "tq/platform/dispatch/NotificationCenter.h"
#include "tq/platform/dispatch/RunLoop.h"

namespace tq {
namespace {

TEST(NotificationCenterTest, DeliversByNameAndSenderUntilRemoved) {
  auto center = make<NotificationCenter>();
  auto sender = str("sender");
  auto other = str("sender");  // equal, but another object
  int byName = 0, bySender = 0, all = 0;
  auto t1 = center->addObserverForName(str("Changed"), nullptr, nullptr, [&](auto&) { ++byName; });
  auto t2 = center->addObserverForName(str("Changed"), sender, nullptr, [&](auto& n) {
    EXPECT_EQ(n->object(), sender);
    ++bySender;
  });
  auto t3 = center->addObserverForName(nullptr, nullptr, nullptr, [&](auto&) { ++all; });
  center->postNotificationName(str("Changed"), sender);
  center->postNotificationName(str("Changed"), other);
  center->postNotificationName(str("Other"), sender);
  EXPECT_EQ(byName, 2);
  EXPECT_EQ(bySender, 1);
  EXPECT_EQ(all, 3);
  center->removeObserver(t1);
  center->removeObserver(t3, str("Unrelated"), nullptr);
  center->postNotificationName(str("Changed"), sender);
  EXPECT_EQ(byName, 2);
  EXPECT_EQ(bySender, 2);
  EXPECT_EQ(all, 4);
  center->removeObserver(t2);
  center->removeObserver(t3);
}

TEST(NotificationCenterTest, ObserverOfAReleasedSenderIgnoresPostsWithoutASender) {
  auto center = make<NotificationCenter>();
  int calls = 0;
  auto sender = str("short-lived");
  auto token = center->addObserverForName(str("Changed"), sender, nullptr, [&](auto&) { ++calls; });
  sender.reset();
  center->postNotificationName(str("Changed"), nullptr);
  EXPECT_EQ(calls, 0);
  center->removeObserver(token);
}

TEST(NotificationCenterTest, DeliversOnTheObserversQueue) {
  auto center = make<NotificationCenter>();
  RunLoop::main().drain();
  std::atomic<bool> onMain{false}, delivered{false};
  Ref<Dictionary> info;
  auto token = center->addObserverForName(str("Ping"), nullptr, OperationQueue::mainQueue(), [&](auto& n) {
    info = n->userInfo();
    onMain = RunLoop::isMainThread();
    delivered = true;
  });
  auto payload = make<Dictionary>();
  std::thread([&] { center->postNotificationName(str("Ping"), nullptr, payload); }).join();
  EXPECT_FALSE(delivered.load());
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return delivered.load(); }, 5));
  EXPECT_TRUE(onMain.load());
  EXPECT_EQ(info, payload);
  center->removeObserver(token);
}

}  // namespace
}  // namespace tq
