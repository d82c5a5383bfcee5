#include <gtest/gtest.h>

#include <cstdlib>

#include "tq/platform/system/Environment.h"
#include "tq/platform/system/UserFolders.h"

using namespace tq;

namespace {

TEST(EnvironmentSeam, InstalledEnvironmentHidesTheProcessOneUntilTheScopeEnds) {
  ::setenv("TQ_ENVIRONMENT_PROBE", "process", 1);
  {
    ScopedEnvironment fixed(FixedEnvironment({{"TQ_ENVIRONMENT_PROBE", "fixed"}, {"EMPTY", ""}}));
    EXPECT_EQ(environmentVariable("TQ_ENVIRONMENT_PROBE"), "fixed");
    EXPECT_EQ(environmentVariable("EMPTY"), "") << "an empty value is still a value";
    EXPECT_EQ(environmentVariable("PATH"), std::nullopt) << "nothing else is set";
    {
      ScopedEnvironment nested(FixedEnvironment{});
      EXPECT_EQ(environmentVariable("TQ_ENVIRONMENT_PROBE"), std::nullopt);
    }
    EXPECT_EQ(environmentVariable("TQ_ENVIRONMENT_PROBE"), "fixed");
  }
  EXPECT_EQ(environmentVariable("TQ_ENVIRONMENT_PROBE"), "process");
  ::unsetenv("TQ_ENVIRONMENT_PROBE");
  EXPECT_EQ(environmentVariable("TQ_ENVIRONMENT_PROBE"), std::nullopt) << "the process environment is read live";
}

TEST(EnvironmentSeam, WithSetsAndRemovesOnACopy) {
  const FixedEnvironment base({{"A", "1"}, {"B", "2"}});
  FixedEnvironment changed = base.with("A", "one").with("B", std::nullopt);
  EXPECT_EQ(changed.variable("A"), "one");
  EXPECT_EQ(changed.variable("B"), std::nullopt);
  EXPECT_EQ(base.variable("A"), "1");
  EXPECT_EQ(base.variable("B"), "2");
}

TEST(UserFoldersResolution, DefaultsBelowHome) {
  UserFolders folders = UserFolders::resolve(FixedEnvironment({{"HOME", "/home/ann"}}));
  EXPECT_EQ(folders.dataHome, "/home/ann/.local/share");
  EXPECT_EQ(folders.configHome, "/home/ann/.config");
  EXPECT_EQ(folders.cacheHome, "/home/ann/.cache");
  EXPECT_EQ(folders.stateHome, "/home/ann/.local/state");
  EXPECT_EQ(folders.runtimeDir, "");
  EXPECT_EQ(folders.dataDirs, (std::vector<std::string>{"/usr/local/share", "/usr/share"}));
  EXPECT_EQ(folders.configDirs, (std::vector<std::string>{"/etc/xdg"}));
  EXPECT_EQ(folders.dataSearchPath(),
            (std::vector<std::string>{"/home/ann/.local/share", "/usr/local/share", "/usr/share"}));
}

TEST(UserFoldersResolution, RelativeAndEmptyValuesAreIgnored) {
  UserFolders folders = UserFolders::resolve(FixedEnvironment({{"HOME", "/h"},
                                                               {"XDG_DATA_HOME", "relative"},
                                                               {"XDG_CONFIG_HOME", ""},
                                                               {"XDG_CACHE_HOME", "/c"},
                                                               {"XDG_RUNTIME_DIR", "run"},
                                                               {"XDG_DATA_DIRS", "/a:rel::/b/"},
                                                               {"XDG_CONFIG_DIRS", ""}}));
  EXPECT_EQ(folders.dataHome, "/h/.local/share");
  EXPECT_EQ(folders.configHome, "/h/.config");
  EXPECT_EQ(folders.cacheHome, "/c");
  EXPECT_EQ(folders.runtimeDir, "");
  EXPECT_EQ(folders.dataDirs, (std::vector<std::string>{"/a", "/b/"}));
  EXPECT_EQ(folders.configDirs, (std::vector<std::string>{"/etc/xdg"}));
}

TEST(UserFoldersResolution, NoHomeMeansNoUserFolders) {
  UserFolders folders = UserFolders::resolve(FixedEnvironment({{"HOME", "not/absolute"}}));
  EXPECT_EQ(folders.home, "");
  EXPECT_EQ(folders.dataHome, "");
  EXPECT_EQ(folders.dataSearchPath(), (std::vector<std::string>{"/usr/local/share", "/usr/share"}));
}

TEST(UserFoldersResolution, CurrentFollowsTheInstalledEnvironment) {
  {
    ScopedEnvironment first(FixedEnvironment({{"HOME", "/first"}}));
    EXPECT_EQ(UserFolders::current().dataHome, "/first/.local/share");
    ScopedEnvironment second(FixedEnvironment({{"XDG_DATA_HOME", "/second"}}));
    EXPECT_EQ(UserFolders::current().dataHome, "/second");
  }
  EXPECT_EQ(UserFolders::current().dataHome, UserFolders::resolve(*Environment::process()).dataHome);
}

}  // namespace
