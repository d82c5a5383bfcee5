// tqkit colour appearance --watch, run as its own process on a private bus
// with a settings portal of the test's own: it prints the appearance, then
// each change the portal announces.

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/FakeSettingsPortal.h"
#include "tests/support/PrivateSessionBus.h"
#include "tests/tools/TqkitTestSupport.h"

using namespace tq::testing;

using TqkitAppearanceWatch = TqkitTest;

namespace {

std::string lineOf(std::FILE* pipe) {
  char line[64] = {};
  return std::fgets(line, sizeof line, pipe) ? line : "";
}

}  // namespace

TEST_F(TqkitAppearanceWatch, PrintsTheDesktopsPreferenceAndItsChanges) {
  TQKIT_REQUIRE_BINARY();
  PrivateSessionBus bus;
  if (bus.address().empty()) GTEST_SKIP() << "dbus-daemon is not installed (scripts/setup)";
  FakeSettingsPortal portal(bus.address(), 2);
  ASSERT_TRUE(portal.ready());
  const std::string command = "DBUS_SESSION_BUS_ADDRESS=" + shellQuoted(bus.address()) + " TQ_APPEARANCE=dark " +
                              shellQuoted(binary()) + " colour appearance --watch --changes 2";
  std::FILE* pipe = ::popen(command.c_str(), "r");
  ASSERT_TRUE(pipe);
  EXPECT_EQ(lineOf(pipe), "light\n") << "the portal's preference comes before TQ_APPEARANCE";
  portal.setScheme(1);
  EXPECT_EQ(lineOf(pipe), "dark\n");
  portal.setScheme(2);
  EXPECT_EQ(lineOf(pipe), "light\n");
  EXPECT_EQ(lineOf(pipe), "") << "the second change ends the watch";
  EXPECT_EQ(::pclose(pipe), 0);
}
