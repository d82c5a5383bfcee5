// The time-zone and locale seams: what the system's settings read from the
// environment, and that installed settings replace them.

#include <gtest/gtest.h>

#include "tq/platform/system/Environment.h"
#include "tq/platform/system/LocaleSetting.h"
#include "tq/platform/system/TimeZoneSetting.h"

namespace tq {
namespace {

TEST(DateSettingsTest, SystemZoneReadsTZWithoutItsPrefixes) {
  struct Case {
    const char* tz;
    const char* expected;
  };
  for (const Case& c : {Case{"Europe/Paris", "Europe/Paris"}, Case{":America/New_York", "America/New_York"},
                        Case{"/usr/share/zoneinfo/Asia/Tokyo", "Asia/Tokyo"}, Case{":", "UTC"}, Case{"UTC", "UTC"}}) {
    ScopedEnvironment environment(std::make_shared<FixedEnvironment>(FixedEnvironment{{"TZ", c.tz}}));
    EXPECT_EQ(TimeZoneSetting::system()->identifier(), c.expected) << c.tz;
  }
  // Without TZ, the machine's zone: some name, never empty.
  ScopedEnvironment none(std::make_shared<FixedEnvironment>());
  EXPECT_FALSE(TimeZoneSetting::system()->identifier().empty());
}

TEST(DateSettingsTest, SystemLocaleTakesTheFirstSetVariableWithoutEncoding) {
  struct Case {
    FixedEnvironment environment;
    const char* expected;
  };
  const Case cases[] = {
      {FixedEnvironment{{"LANG", "de_DE.UTF-8"}}, "de_DE"},
      {FixedEnvironment{{"LANG", "de_DE.UTF-8"}, {"LC_TIME", "fr_CA.UTF-8@x"}}, "fr_CA"},
      {FixedEnvironment{{"LC_ALL", "pt_BR"}, {"LC_TIME", "fr_CA"}}, "pt_BR"},
      {FixedEnvironment{{"LC_ALL", ""}, {"LANG", "ja_JP.eucJP"}}, "ja_JP"},
      {FixedEnvironment{{"LANG", "C.UTF-8"}}, "en_US_POSIX"},
      {FixedEnvironment{{"LANG", "POSIX"}}, "en_US_POSIX"},
      {FixedEnvironment{}, "en_US_POSIX"},
  };
  for (const Case& c : cases) {
    ScopedEnvironment environment(std::make_shared<FixedEnvironment>(c.environment));
    EXPECT_EQ(LocaleSetting::system()->identifier(), c.expected);
  }
}

TEST(DateSettingsTest, InstalledSettingsReplaceTheSystemsUntilTheScopeEnds) {
  const std::string zone = TimeZoneSetting::current()->identifier();
  const std::string locale = LocaleSetting::current()->identifier();
  {
    ScopedTimeZone fixedZone("Pacific/Chatham");
    ScopedLocale fixedLocale("sv_SE");
    EXPECT_EQ(TimeZoneSetting::current()->identifier(), "Pacific/Chatham");
    EXPECT_EQ(LocaleSetting::current()->identifier(), "sv_SE");
  }
  EXPECT_EQ(TimeZoneSetting::current()->identifier(), zone);
  EXPECT_EQ(LocaleSetting::current()->identifier(), locale);
}

}  // namespace
}  // namespace tq
