// tqkit advanced: the list with values read through the add-on's layers
// (launch arguments after --, the user defaults of the bundle, a shared
// defaults file), typed writes that refuse a wrong kind, and resets.

#include <gtest/gtest.h>

#include <optional>

#include "tests/tools/TqkitTestSupport.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/system/Environment.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/TQDefaultsFileManager.h"

namespace tq {
namespace {

using testing::runInProcess;

constexpr const char* kDescription = R"([
  {"key": "retries", "type": 3, "visible": 1, "default": 3, "description": "Fetch retries"},
  {"key": "verbose", "type": 2, "visible": 1, "default": false, "description": "Log more"},
  {"key": "layout", "type": 4, "visible": 2, "default": 0, "description": "Layout",
   "choiceMappings": {"0": "Compact", "1": "Wide"}},
  {"key": "quote", "type": 1, "visible": 1, "default": "bar", "choiceMappings": {"bar": "Bar", "angle": "Angle"}},
  {"key": "accent", "type": 6, "visible": 1, "default": "#3366cc"},
  {"key": "ratio", "type": 5, "visible": 1, "default": 0.5},
  {"key": "folders", "type": 7, "visible": 1, "default": []},
  {"key": "options", "type": 8, "visible": 1, "default": {}},
  {"key": "marker", "type": 99, "visible": 1},
  {"key": "retired", "type": 2, "visible": 0, "default": true}
])";

class TqkitAdvancedTest : public testing::TqkitTest {
 protected:
  void SetUp() override {
    TqkitTest::SetUp();
    // The folder exists only now, so the world that names it comes now too.
    environment_.emplace(FixedEnvironment({{"HOME", path("home")}, {"XDG_CONFIG_HOME", path("config")}}));
    bundle_ = makeBundle("AddOn.bundle", kDescription);
    UserDefaults::setArguments({});
    UserDefaults::resetStandardUserDefaults();
  }
  void TearDown() override {
    _TQDefaultsFileManager::forgetManagers();
    Bundle::setMainBundle(nullptr);
    UserDefaults::setArguments({});
    UserDefaults::resetStandardUserDefaults();
    environment_.reset();
    TqkitTest::TearDown();
  }

  std::string makeBundle(const std::string& name, const std::string& description) {
    std::filesystem::create_directories(path(name + "/Contents/Resources"));
    write(name + "/Contents/Info.plist",
          "<plist><dict><key>CFBundleIdentifier</key><string>org.example.addon</string></dict></plist>");
    if (!description.empty()) write(name + "/Contents/Resources/AdvanceSettingsInfo.json", description);
    return path(name);
  }
  testing::InProcessResult run(std::vector<std::string> words) {
    words.insert(words.begin() + 2, {"--bundle", bundle_});
    return runInProcess(words);
  }
  /// The user defaults file of the bundle's identifier.
  Ref<Dictionary> userDefaultsFile() {
    return cast<Dictionary>(PropertyList::readFile(path("config/org.example.addon.plist")));
  }
  Ref<Array> listed(std::vector<std::string> extra = {}) {
    std::vector<std::string> words{"advanced", "list", "--json"};
    words.insert(words.end(), extra.begin(), extra.end());
    auto result = run(words);
    EXPECT_EQ(result.status, 0) << result.err;
    return cast<Array>(JSON::read(result.out));
  }
  Id field(const Ref<Array>& rows, const std::string& key, const char* name) {
    for (const Id& row : *rows) {
      auto entry = cast<Dictionary>(row);
      if (isEqual(entry->objectForKey("key"), str(key))) return entry->objectForKey(name);
    }
    ADD_FAILURE() << key << " is not listed";
    return nullptr;
  }

  std::optional<ScopedEnvironment> environment_;
  std::string bundle_;
};

TEST_F(TqkitAdvancedTest, ListsOfferedSettingsSortedWithKindsVisibilitiesAndChoiceLabels) {
  auto result = run({"advanced", "list"});
  ASSERT_EQ(result.status, 0) << result.err;
  EXPECT_EQ(result.out.find("retired"), std::string::npos) << "visibility 0 is not offered";
  EXPECT_NE(result.out.find("0=Compact, 1=Wide"), std::string::npos) << result.out;
  EXPECT_NE(result.out.find("angle=Angle, bar=Bar"), std::string::npos) << result.out;
  EXPECT_LT(result.out.find("\naccent"), result.out.find("\nverbose"));
  EXPECT_EQ(result.out.rfind("KEY", 0), 0u);

  auto rows = listed();
  ASSERT_TRUE(rows);
  EXPECT_EQ(rows->count(), 9u);
  EXPECT_TRUE(isEqual(field(rows, "layout", "kind"), str("choice")));
  EXPECT_TRUE(isEqual(field(rows, "layout", "type"), num(4)));
  EXPECT_TRUE(isEqual(field(rows, "layout", "visibility"), num(2)));
  EXPECT_TRUE(
      isEqual(field(rows, "layout", "choices"), arr({dict({{str("value"), num(0)}, {str("label"), str("Compact")}}),
                                                     dict({{str("value"), num(1)}, {str("label"), str("Wide")}})})));
  EXPECT_TRUE(isEqual(field(rows, "quote", "description"), str("[no description]")));
  EXPECT_TRUE(isEqual(field(rows, "marker", "kind"), str("keyOnly")));
}

TEST_F(TqkitAdvancedTest, CurrentValuesComeFromLaunchArgumentsThenTheUserDefaultsThenTheDefault) {
  EXPECT_EQ(run({"advanced", "set", "retries", "7"}).status, 0);
  auto rows = listed({"--", "-verbose", "YES", "-quote", "angle", "-retries", "9"});
  ASSERT_TRUE(rows);
  EXPECT_TRUE(isEqual(field(rows, "verbose", "current"), num(true))) << "a launch argument read leniently";
  EXPECT_TRUE(isEqual(field(rows, "quote", "current"), str("angle")));
  EXPECT_TRUE(isEqual(field(rows, "retries", "current"), num(3)))
      << "a text launch argument is no integer, so the default applies over the stored 7";
  rows = listed();
  EXPECT_TRUE(isEqual(field(rows, "retries", "current"), num(7)));
  EXPECT_TRUE(isEqual(field(rows, "verbose", "current"), num(false)));
  EXPECT_TRUE(isEqual(field(rows, "accent", "current"), str("51 102 204 100")));
}

TEST_F(TqkitAdvancedTest, SetStoresEachKindTypedChoicesTakeALabelOrAValueAndResetRemoves) {
  struct Row {
    const char* key;
    const char* text;
    Id stored;
  };
  const Row rows[] = {
      {"retries", "-2", num(-2)},
      {"verbose", "Yes", num(true)},
      {"layout", "Wide", num(1)},
      {"quote", "angle", str("angle")},
      {"accent", "red", str("255 0 0 100")},
      {"ratio", "0.25", num(0.25)},
      {"folders", "[\"Junk\", 2]", arr({str("Junk"), num(2)})},
      {"options", "{\"a\": true}", dict({{str("a"), num(true)}})},
  };
  for (const Row& row : rows) {
    auto result = run({"advanced", "set", row.key, row.text});
    EXPECT_EQ(result.status, 0) << row.key << ": " << result.err;
  }
  auto stored = userDefaultsFile();
  ASSERT_TRUE(stored);
  for (const Row& row : rows) {
    EXPECT_TRUE(isEqual(stored->objectForKey(row.key), row.stored)) << row.key;
  }
  EXPECT_EQ(run({"advanced", "set", "layout", "0"}).status, 0);
  EXPECT_TRUE(isEqual(field(listed(), "layout", "current"), num(0)));
  ASSERT_EQ(run({"advanced", "reset", "quote"}).status, 0);
  EXPECT_TRUE(isEqual(field(listed(), "quote", "current"), str("bar"))) << "the default again";
  EXPECT_FALSE(userDefaultsFile()->objectForKey("quote"));
}

TEST_F(TqkitAdvancedTest, AWronglyTypedValueIsRefusedWithTheAllowedFormsAndNothingIsStored) {
  struct Row {
    const char* key;
    const char* text;
    const char* allowed;
  };
  const Row rows[] = {
      {"retries", "3.5", "'3.5' is not an integer (a whole number such as 3)"},
      {"verbose", "maybe", "'maybe' is not a boolean (yes, no, true, false, 1 or 0)"},
      {"layout", "Huge", "'Huge' is not one of its choices (0=Compact, 1=Wide)"},
      {"layout", "7", "'7' is not one of its choices (0=Compact, 1=Wide)"},
      {"quote", "Bars", "'Bars' is not one of its choices (angle=Angle, bar=Bar)"},
      {"accent", "no colour", "'no colour' is not a colour"},
      {"ratio", "nan", "'nan' is not a number (such as 0.5)"},
      {"folders", "{}", "'{}' is not a JSON array without null"},
      {"marker", "x", "the setting is key-only and takes no value"},
  };
  for (const Row& row : rows) {
    auto result = run({"advanced", "set", row.key, row.text});
    EXPECT_EQ(result.status, 1) << row.key;
    const std::string expected = std::string("tqkit: advanced set: cannot set '") + row.key + "': " + row.allowed;
    EXPECT_EQ(result.err.rfind(expected, 0), 0u) << result.err;
  }
  EXPECT_FALSE(userDefaultsFile()) << "nothing was written";
}

TEST_F(TqkitAdvancedTest, TheSharedDefaultsFileIsMergedIntoAndResetRemovesTheKey) {
  const std::string file = path("Defaults.plist");
  PropertyList::writeFile(dict({{str("kept"), str("by another process")}}).get(), file, PropertyListFormat::XML);
  ASSERT_EQ(run({"advanced", "set", "--defaults", file, "retries", "5"}).status, 0);
  auto contents = cast<Dictionary>(PropertyList::readFile(file));
  EXPECT_TRUE(isEqual(contents, dict({{str("kept"), str("by another process")}, {str("retries"), num(5)}})));
  EXPECT_TRUE(isEqual(field(listed({"--defaults", file}), "retries", "current"), num(5)));
  EXPECT_FALSE(userDefaultsFile()) << "the user defaults are left alone";

  ASSERT_EQ(run({"advanced", "reset", "--defaults", file, "retries"}).status, 0);
  EXPECT_TRUE(isEqual(PropertyList::readFile(file), dict({{str("kept"), str("by another process")}})));

  auto missing = run({"advanced", "reset", "--defaults", path("none.plist"), "retries"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_NE(missing.err.find("No such file"), std::string::npos) << missing.err;
}

TEST_F(TqkitAdvancedTest, BundlesWithoutAUsableDescriptionAndUnknownKeysFail) {
  struct Row {
    std::string bundle;
    std::vector<std::string> words;
    int status;
    std::string message;
  };
  const Row rows[] = {
      {makeBundle("Bare.bundle", ""), {"list"}, 1, "has no AdvanceSettingsInfo.json"},
      {makeBundle("Broken.bundle", "[{\"key\": "), {"list"}, 1, "cannot read '"},
      {makeBundle("Object.bundle", "{}"), {"list"}, 1, "not a JSON array of settings"},
      {path("nowhere"), {"list"}, 1, "cannot open bundle '"},
      {bundle_, {"set", "retired", "yes"}, 1, "no advanced setting 'retired' in '"},
      {makeBundle("Bare2.bundle", ""), {"list", "extra"}, 2, "too many arguments"},
  };
  for (const Row& row : rows) {
    std::vector<std::string> words{"advanced", row.words[0], "--bundle", row.bundle};
    words.insert(words.end(), row.words.begin() + 1, row.words.end());
    auto result = runInProcess(words);
    EXPECT_EQ(result.status, row.status) << row.bundle;
    EXPECT_NE(result.err.find(row.message), std::string::npos) << result.err;
  }
}

TEST_F(TqkitAdvancedTest, TheBinaryListsTheSampleBundleWithLaunchArguments) {
  TQKIT_REQUIRE_BINARY();
  const std::string sample = std::string(TQ_SOURCE_DIR) + "/samples/SampleAddOn.bundle";
  auto result = runBinary("advanced list --json --bundle " + testing::shellQuoted(sample) + " -- -verboseFetchLog YES");
  ASSERT_EQ(result.status, 0) << result.err;
  auto rows = cast<Array>(JSON::read(result.out));
  ASSERT_TRUE(rows) << result.out;
  EXPECT_TRUE(isEqual(field(rows, "verboseFetchLog", "current"), num(true)));
}

}  // namespace
}  // namespace tq
