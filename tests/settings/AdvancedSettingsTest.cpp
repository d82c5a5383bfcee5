// Advanced settings: the kinds' binding raw values, settings read from a JSON
// object, the list read from the main bundle, registration, and the typed
// values of a listed setting.

#include <gtest/gtest.h>

#include "tests/settings/AdvancedSettingsTestSupport.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/TQAdvancedSettingsManager.h"

namespace tq {
namespace {

using testing::UserDefaultsWorldTest;

Ref<TQAdvSetting> settingFrom(const std::string& json) {
  auto entry = cast<Dictionary>(JSON::read(json));
  EXPECT_TRUE(entry) << json;
  return TQAdvSetting::initWithDictionary(entry ? *entry : Dictionary());
}

TEST(TQSettingTypeTest, RawValuesAreTheOnesFilesCarryNotTheCaseOrder) {
  struct Row {
    std::int64_t raw;
    TQSettingType type;
    const char* name;
  };
  const Row rows[] = {{0, TQSettingType::string, "string"},   {1, TQSettingType::choiceString, "choiceString"},
                      {2, TQSettingType::boolean, "boolean"}, {3, TQSettingType::integer, "integer"},
                      {4, TQSettingType::choice, "choice"},   {5, TQSettingType::float_, "float"},
                      {6, TQSettingType::color, "color"},     {7, TQSettingType::array, "array"},
                      {8, TQSettingType::dict, "dict"},       {99, TQSettingType::keyOnly, "keyOnly"}};
  for (const Row& row : rows) {
    EXPECT_EQ(settingTypeWithRawValue(row.raw), row.type) << row.raw;
    EXPECT_EQ(settingTypeName(row.type), row.name);
  }
  for (std::int64_t invalid : {-1, 9, 98, 100}) EXPECT_FALSE(settingTypeWithRawValue(invalid)) << invalid;
  EXPECT_EQ(settingVisibilityWithRawValue(2), TQSettingVisibility::hidden);
  EXPECT_FALSE(settingVisibilityWithRawValue(3));
  EXPECT_FALSE(settingVisibilityWithRawValue(-1));
}

TEST(TQAdvSettingTest, FieldsAreReadOnlyAlongWithATypeAndMissingTextsAreMarked) {
  auto full = settingFrom(R"({"key":"retries","type":3,"visible":2,"description":"How often","default":4})");
  EXPECT_EQ(full->type(), TQSettingType::integer);
  EXPECT_EQ(full->visibility(), TQSettingVisibility::hidden);
  EXPECT_TRUE(full->key()->isEqualToString("retries"));
  EXPECT_TRUE(full->descriptionInfo()->isEqualToString("How often"));
  EXPECT_TRUE(isEqual(full->defaultValue(), num(4)));

  auto bare = settingFrom(R"({"type":"2"})");
  EXPECT_TRUE(bare->key()->isEqualToString("[no key!!]"));
  EXPECT_TRUE(bare->descriptionInfo()->isEqualToString("[no description]"));
  EXPECT_EQ(bare->type(), TQSettingType::boolean) << "a string type reads as its integer value";
  EXPECT_EQ(bare->visibility(), TQSettingVisibility::none);
  EXPECT_FALSE(bare->defaultValue());

  auto untyped = settingFrom(R"({"key":"k","visible":1,"description":"d","default":true})");
  EXPECT_EQ(std::int64_t(untyped->type()), 99);
  EXPECT_EQ(untyped->visibility(), TQSettingVisibility::none) << "visible is read only along with a type";
  EXPECT_FALSE(untyped->descriptionInfo());
}

TEST(TQAdvSettingTest, ChoiceMappingsAreIntegerKeyedOnlyForTheIntegerChoice) {
  const char* mappings = R"("choiceMappings":{"1":"One","02":"Two","x":"Zero"})";
  auto integerChoice = settingFrom(std::string(R"({"key":"a","type":4,)") + mappings + "}");
  ASSERT_TRUE(integerChoice->choiceMappings());
  EXPECT_FALSE(integerChoice->choiceStringMappings());
  EXPECT_TRUE(isEqual(integerChoice->choiceMappings(),
                      dict({{num(1), str("One")}, {num(2), str("Two")}, {num(0), str("Zero")}})));

  auto stringChoice = settingFrom(std::string(R"({"key":"a","type":1,)") + mappings + "}");
  EXPECT_FALSE(stringChoice->choiceMappings());
  EXPECT_TRUE(isEqual(stringChoice->choiceStringMappings(),
                      dict({{str("1"), str("One")}, {str("02"), str("Two")}, {str("x"), str("Zero")}})));

  auto notADictionary = settingFrom(R"({"key":"a","type":4,"choiceMappings":["One"]})");
  EXPECT_FALSE(notADictionary->choiceMappings());
  EXPECT_FALSE(notADictionary->choiceStringMappings());
}

TEST(TQAdvancedSettingsManagerTest, ADescriptionListsOfferedSettingsAndLaterKeysWin) {
  auto listed = TQAdvancedSettingsManager::settingsInJSON(R"([
    {"key":"shown","type":0,"visible":1,"default":"first"},
    {"key":"dropped","type":0,"visible":0},
    {"key":"untyped","visible":1},
    "not an object",
    {"key":"shown","type":0,"visible":2,"default":"second"},
    {"key":"odd","type":0,"visible":7}
  ])");
  EXPECT_EQ(listed->count(), 2u);
  auto shown = cast<TQAdvSetting>(listed->objectForKey("shown"));
  ASSERT_TRUE(shown);
  EXPECT_TRUE(isEqual(shown->defaultValue(), str("second")));
  EXPECT_TRUE(listed->objectForKey("odd")) << "any visibility other than 0 is listed";
  for (const char* malformed : {"", "{", "{\"key\":\"a\",\"type\":1,\"visible\":1}", "[1, 2]", "null"}) {
    EXPECT_EQ(TQAdvancedSettingsManager::settingsInJSON(malformed)->count(), 0u) << malformed;
  }
}

class AdvancedSettingsManagerTest : public UserDefaultsWorldTest {};

TEST_F(AdvancedSettingsManagerTest, InitReadsTheMainBundlesResourceAndAnAbsentOneListsNothing) {
  EXPECT_EQ(TQAdvancedSettingsManager::init()->settingsList()->count(), 0u);
  shipDescription(R"([{"key":"retries","type":3,"visible":1,"default":3}])");
  auto list = TQAdvancedSettingsManager::init()->settingsList();
  EXPECT_EQ(list->count(), 1u);
  EXPECT_TRUE(list->objectForKey("retries"));
  shipDescription("[{\"key\": broken");
  EXPECT_EQ(TQAdvancedSettingsManager::init()->settingsList()->count(), 0u);
}

TEST_F(AdvancedSettingsManagerTest, RegisteringListsAndReplacesAndRegistersTheDefaults) {
  shipDescription(R"([{"key":"retries","type":3,"visible":1,"default":3},
                      {"key":"theme","type":0,"visible":1,"default":"light"}])");
  auto manager = TQAdvancedSettingsManager::init();
  auto before = manager->settingsList();
  auto replacement = settingFrom(R"({"key":"retries","type":3,"visible":2,"default":9})");
  auto added = settingFrom(R"({"key":"added","type":2,"visible":0,"default":true})");
  auto noDefault = settingFrom(R"({"key":"plain","type":0,"visible":1})");
  manager->registerWithSettings({replacement, added, noDefault});

  auto list = manager->settingsList();
  EXPECT_EQ(list->count(), 4u) << "registration lists a setting whatever its visibility";
  EXPECT_EQ(list->objectForKey("retries"), Id(replacement));
  EXPECT_EQ(before->count(), 2u) << "an earlier snapshot does not change";
  EXPECT_EQ(standard()->integerForKey(*str("retries")), 9);
  EXPECT_TRUE(standard()->boolForKey(*str("added")));
  EXPECT_FALSE(standard()->objectForKey(*str("theme"))) << "only registered settings reach the user defaults";
  EXPECT_FALSE(standard()->objectForKey(*str("plain")));
}

TEST_F(AdvancedSettingsManagerTest, TheValueIsTheUserDefaultsOneElseTheDefault) {
  auto setting = settingFrom(R"({"key":"theme","type":0,"visible":1,"default":"light"})");
  EXPECT_TRUE(isEqual(setting->value(), str("light")));
  standard()->setObjectForKey(str("dark"), *str("theme"));
  EXPECT_TRUE(isEqual(setting->value(), str("dark")));
  UserDefaults::setArguments({"-theme", "contrast"});
  UserDefaults::resetStandardUserDefaults();
  EXPECT_TRUE(isEqual(setting->value(), str("contrast"))) << "a launch argument comes first";
}

TEST_F(AdvancedSettingsManagerTest, TypedValuesTakeOnlyTheirOwnKindAndOtherwiseReadNeutral) {
  struct Row {
    const char* json;
    std::int64_t integer;
    double real;
    bool flag;
    Id text;
  };
  const Row rows[] = {
      {"7", 7, 7.0, true, str("7")},          {"2.5", 2, 2.5, true, str("2.5")},
      {"true", 1, 1.0, true, str("1")},       {"\"12\"", 0, 0.0, false, str("12")},
      {"\"YES\"", 0, 0.0, false, str("YES")}, {"[1]", 0, 0.0, false, arr({num(1)})},
  };
  for (const Row& row : rows) {
    auto setting = settingFrom(std::string(R"({"key":"v","type":3,"visible":1,"default":)") + row.json + "}");
    EXPECT_EQ(setting->integerVal(), row.integer) << row.json;
    EXPECT_DOUBLE_EQ(setting->floatVal(), row.real) << row.json;
    EXPECT_EQ(setting->boolVal(), row.flag) << row.json;
    EXPECT_TRUE(isEqual(setting->stringVal(), row.text)) << row.json;
    EXPECT_EQ(setting->arrayVal()->count(), row.json[0] == '[' ? 1u : 0u) << row.json;
    EXPECT_EQ(setting->dictVal()->count(), 0u) << row.json;
  }
  auto colour = settingFrom(R"({"key":"c","type":6,"visible":1,"default":"#ff0000"})");
  ASSERT_TRUE(colour->colorVal());
  EXPECT_DOUBLE_EQ(colour->colorVal()->redComponent(), 1.0);
  EXPECT_FALSE(settingFrom(R"({"key":"c","type":6,"visible":1,"default":5})")->colorVal());
  EXPECT_FALSE(settingFrom(R"({"key":"c","type":6,"visible":1})")->stringVal());
}

TEST_F(AdvancedSettingsManagerTest, TimeValReachesTheDistantDatesAndReadsNumbers) {
  auto clock = std::make_shared<ManualClock>(1.7e9);
  ScopedClock<WallClock> fixed{clock};
  auto timeOf = [](const std::string& json) {
    return settingFrom(R"({"key":"t","type":5,"visible":1,"default":)" + json + "}")->timeVal();
  };
  const double now = Date::now();
  EXPECT_DOUBLE_EQ(timeOf("\"future\""), Date::distantFuture()->timeIntervalSinceReferenceDate() - now);
  EXPECT_DOUBLE_EQ(timeOf("\"past\""), Date::distantPast()->timeIntervalSinceReferenceDate() - now);
  EXPECT_GT(timeOf("\"future\""), 6e10);
  for (const char* zero : {"\"Future\"", "\"\"", "null", "[3]"}) EXPECT_EQ(timeOf(zero), 0) << zero;
  EXPECT_DOUBLE_EQ(timeOf("90.5"), 90.5);
}

}  // namespace
}  // namespace tq
