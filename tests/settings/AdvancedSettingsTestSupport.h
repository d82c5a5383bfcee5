#pragma once
// What the advanced-settings and launch-argument tests share: a world of
// their own for the standard user defaults (a configuration folder, a main
// bundle that may ship "AdvanceSettingsInfo.json", no launch arguments) and
// an application object with nothing attached.

#include <gtest/gtest.h>

#include <fstream>
#include <string>

#include "tests/settings/SettingsTestSupport.h"
#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/object/Application.h"
#include "tq/platform/system/Environment.h"
#include "tq/settings/ApplicationDefaults.h"
#include "tq/settings/TQAdvancedSettingsApplication.h"

namespace tq::testing {

class UserDefaultsWorldTest : public ::testing::Test {
 protected:
  void SetUp() override {
    bundle = makeBundle(folder.file("Host.app"), "org.example.host");
    Bundle::setMainBundle(bundle);
    UserDefaults::setArguments({});
    UserDefaults::resetStandardUserDefaults();
    clearApplication();
  }
  void TearDown() override {
    clearApplication();
    UserDefaults::setArguments({});
    UserDefaults::resetStandardUserDefaults();
    Bundle::setMainBundle(nullptr);
  }

  /// Ships `json` as the main bundle's advanced-settings description.
  void shipDescription(const std::string& json) const {
    std::ofstream(folder.file("Host.app/Contents/Resources/AdvanceSettingsInfo.json"), std::ios::binary) << json;
  }
  static Ref<UserDefaults> standard() { return UserDefaults::standardUserDefaults(); }

  SettingsFolder folder;
  ScopedEnvironment environment{
      FixedEnvironment({{"HOME", folder.file("home")}, {"XDG_CONFIG_HOME", folder.file("config")}})};
  Ref<Bundle> bundle;

 private:
  static void clearApplication() {
    auto& application = *Application::shared();
    setAdvancedTQSettings(application, nullptr);
    setColorManager(application, nullptr);
    Defaults::setDefaultsManager(application, nullptr);
  }
};

}  // namespace tq::testing
