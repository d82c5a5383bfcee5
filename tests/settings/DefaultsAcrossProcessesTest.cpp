// Two processes of one product on one defaults file, with the real kernel:
// another process's change is announced here within about a second, while
// this process's own writes are not announced back to it. (Many writers at
// once are the storm test's.)
//
// The other processes are this test program again, running the disabled
// test DefaultsChild.DISABLED_WritesKeys with its orders in the environment.

#include <gtest/gtest.h>

#include <cstdlib>

#include "tests/settings/ChildTestProcess.h"
#include "tests/settings/SettingsTestSupport.h"
#include "tests/support/Eventually.h"

namespace tq {
namespace {

using testing::SettingsTest;
using testing::TestStore;

// Starts this program as a writer of `count` keys "<prefix>0".. into `file`.
pid_t startWriter(const std::string& file, const std::string& prefix, int count) {
  return testing::startChildTest("DefaultsChild.DISABLED_WritesKeys", {{"TQ_CHILD_FILE", file},
                                                                       {"TQ_CHILD_PREFIX", prefix},
                                                                       {"TQ_CHILD_COUNT", std::to_string(count)}});
}

bool finishedWell(pid_t pid) { return testing::waitForChild(pid, 60.0) == 0; }

// What a writer process does: set its keys (key i holds i + 1) one by one on its main thread,
// each one flushed into the shared file at once.
TEST(DefaultsChild, DISABLED_WritesKeys) {
  const char* file = std::getenv("TQ_CHILD_FILE");
  const char* prefix = std::getenv("TQ_CHILD_PREFIX");
  const char* count = std::getenv("TQ_CHILD_COUNT");
  ASSERT_TRUE(file && prefix && count);
  auto store = testing::childStoreOnFile(file);
  for (int i = 0; i < std::atoi(count); ++i) store->setInteger(i + 1, *str(prefix + std::to_string(i)));
}

using DefaultsAcrossProcessesTest = SettingsTest;

TEST_F(DefaultsAcrossProcessesTest, AnotherProcesssWriteIsAnnouncedHereAndOurOwnIsNot) {
  auto store = makeStore();
  ASSERT_TRUE(store->_manager_()->isWatching());
  auto externalAnnouncements = [&] {
    int count = 0;
    for (const auto& changes : store->notified) count += cast<Dictionary>(changes) ? 1 : 0;
    return count;
  };
  store->setInteger(1, "own");
  RunLoop::main().runFor(2.5);
  EXPECT_EQ(externalAnnouncements(), 0) << "this process's own write came back as another's";

  pid_t writer = startWriter(folder.file("Defaults.plist"), "remote", 1);
  ASSERT_GT(writer, 0);
  ASSERT_TRUE(finishedWell(writer));
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return externalAnnouncements() > 0; }, 15.0));
  EXPECT_EQ(store->integerForKey("remote0"), 1);
  bool announced = false;
  for (const auto& changes : store->notified) {
    if (auto dictionary = cast<Dictionary>(changes)) announced = announced || dictionary->objectForKey("remote0");
  }
  EXPECT_TRUE(announced);
}

}  // namespace
}  // namespace tq
