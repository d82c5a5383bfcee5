#include "tq/platform/system/Appearance.h"

#include <gtest/gtest.h>

#include "tq/platform/system/Environment.h"

using namespace tq;

TEST(AppearanceSeam, SystemAnswerComesFromTheEnvironmentAtEachCall) {
  auto system = Appearance::system();
  const std::pair<const char*, bool> cases[] = {{"dark", true}, {"Dark", true},     {"light", false}, {"LIGHT", false},
                                                {"", false},    {"darkish", false}, {" dark", false}};
  for (const auto& [value, dark] : cases) {
    ScopedEnvironment environment(FixedEnvironment({{"TQ_APPEARANCE", value}}));
    EXPECT_EQ(system->isDark(), dark) << "'" << value << "'";
  }
  ScopedEnvironment unset(FixedEnvironment{});
  EXPECT_FALSE(system->isDark()) << "light when nothing says otherwise";
}

TEST(AppearanceSeam, AnInstalledAnswerWinsUntilTheScopeEnds) {
  ScopedEnvironment environment(FixedEnvironment({{"TQ_APPEARANCE", "dark"}}));
  EXPECT_TRUE(isDarkAppearance());
  {
    ScopedAppearance light(FixedAppearance::light());
    EXPECT_FALSE(isDarkAppearance());
    EXPECT_TRUE(Appearance::system()->isDark()) << "the system answer is still there to be asked";
    {
      ScopedAppearance dark(FixedAppearance::dark());
      EXPECT_TRUE(isDarkAppearance());
    }
    EXPECT_FALSE(isDarkAppearance());
  }
  EXPECT_TRUE(isDarkAppearance());
  EXPECT_EQ(Appearance::current(), Appearance::system());
}
