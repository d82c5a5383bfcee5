// The desktop's colour-scheme preference over a real D-Bus bus: a private
// dbus-daemon with a small settings portal of the test's own. The answer
// follows the portal's signal, and a change reaches controllers as the
// library's notification on the main queue.

#include <gtest/gtest.h>

#include "tests/colour/RecordingController.h"
#include "tests/support/FakeSettingsPortal.h"
#include "tests/support/PrivateSessionBus.h"
#include "tq/colour/TQAppearanceChangeObserver.h"
#include "tq/colour/TQDynamicColor.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/system/Environment.h"
#include "tq/platform/system/PortalAppearance.h"

using namespace tq;
using namespace tq::testing;

namespace {

#define REQUIRE_BUS(bus)                                                                       \
  if ((bus).address().empty()) GTEST_SKIP() << "dbus-daemon is not installed (scripts/setup)"; \
  static_assert(true)

}  // namespace

TEST(AppearancePortal, ReadsTheSchemeFromEitherVersionAndFollowsItsSignal) {
  PrivateSessionBus bus;
  REQUIRE_BUS(bus);
  for (bool firstVersion : {false, true}) {
    FakeSettingsPortal portal(bus.address(), 1, firstVersion);
    ASSERT_TRUE(portal.ready());
    int changes = 0;
    std::string error;
    auto appearance = PortalAppearance::connect(bus.address(), [&] { ++changes; }, 2.0, &error);
    ASSERT_TRUE(appearance) << error;
    EXPECT_EQ(appearance->scheme(), PortalAppearance::Scheme::PreferDark) << "first version: " << firstVersion;
    EXPECT_EQ(appearance->isDark(), std::optional<bool>(true));
    portal.announceUnrelatedSetting();
    portal.setScheme(2);
    EXPECT_TRUE(RunLoop::main().runUntil([&] { return appearance->isDark() == std::optional<bool>(false); }, 5.0));
    EXPECT_EQ(changes, 1) << "the accent colour is no change of scheme";
    portal.setScheme(0);
    EXPECT_TRUE(RunLoop::main().runUntil([&] { return !appearance->isDark(); }, 5.0)) << "no preference";
  }
}

TEST(AppearancePortal, WithoutAPortalTheEnvironmentDecidesUntilThePortalSpeaks) {
  PrivateSessionBus bus;
  REQUIRE_BUS(bus);
  std::string error;
  auto appearance = PortalAppearance::connect(bus.address(), nullptr, 0.5, &error);
  ASSERT_TRUE(appearance) << error;
  EXPECT_EQ(appearance->scheme(), PortalAppearance::Scheme::Unknown);
  DesktopAppearance chain(appearance);
  {
    ScopedEnvironment environment(FixedEnvironment({{"TQ_APPEARANCE", "dark"}}));
    EXPECT_TRUE(chain.isDark());
  }
  FakeSettingsPortal portal(bus.address(), 1);
  ASSERT_TRUE(portal.ready());
  portal.setScheme(2);
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return appearance->scheme() == PortalAppearance::Scheme::PreferLight; }, 5.0));
  ScopedEnvironment environment(FixedEnvironment({{"TQ_APPEARANCE", "dark"}}));
  EXPECT_FALSE(chain.isDark()) << "a stated preference comes before the environment";

  EXPECT_FALSE(PortalAppearance::connect("unix:path=/nonexistent/bus", nullptr, 0.5, &error));
  EXPECT_NE(error.find("cannot reach the bus"), std::string::npos) << error;
}

TEST(AppearancePortal, TheSystemChainAnnouncesChangesToControllersOnTheMainQueue) {
  PrivateSessionBus bus;
  REQUIRE_BUS(bus);
  FakeSettingsPortal portal(bus.address(), 2);
  ASSERT_TRUE(portal.ready());
  ScopedEnvironment environment(
      FixedEnvironment({{"DBUS_SESSION_BUS_ADDRESS", bus.address()}, {"TQ_APPEARANCE", "dark"}}));
  ASSERT_EQ(Appearance::current(), Appearance::system());
  auto color = TQDynamicColor::tagWindowBackgroundColor();
  double components[4];
  color->getComponents(components);
  EXPECT_DOUBLE_EQ(components[0], 0.837) << "the portal prefers light, whatever the environment says";

  // Dropping controllers that are gone is the observer's own affair, tested
  // with a fixed appearance; here only the portal's signal must reach it.
  RunLoop::main().runFor(0.05);
  auto controller = make<RecordingController>();
  TQFoundation::observeAppearanceChanges(controller);
  portal.setScheme(1);
  EXPECT_TRUE(RunLoop::main().runUntil([&] { return !controller->calls.empty(); }, 5.0));
  EXPECT_EQ(controller->calls, std::vector<bool>{true});
  color->getComponents(components);
  EXPECT_DOUBLE_EQ(components[0], 0.1) << "the same colour object now resolves dark";
}
