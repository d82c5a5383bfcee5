// Typed preferences: the ten cases and what they derive, and typed reading
// and writing by preference on either kind of defaults (the product's store
// and the user defaults), lenient booleans included.

#include <gtest/gtest.h>

#include "tests/settings/AdvancedSettingsTestSupport.h"
#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/settings/ExternalSetting.h"
#include "tq/settings/TQAdvancedSettingsManager.h"
#include "tq/settings/TQDefaultsInstancePreferences.h"
#include "tq/settings/UserDefaultsQuillmere.h"

namespace tq {
namespace {

using Case = PreferenceTypeSwift::Case;
using testing::UserDefaultsWorldTest;

Ref<Color> red() { return TQFoundation::colorFromStringRepresentation(*str("#ff0000")); }

TEST(PreferenceTypeSwiftTest, EachCaseHasTheKindOfItsRawValueAndOnlyItsOwnDefault) {
  const std::pair<PreferenceTypeSwift, std::int64_t> cases[] = {
      {PreferenceTypeSwift::string("s", "text"), 0},
      {PreferenceTypeSwift::boolean("b", true), 2},
      {PreferenceTypeSwift::integer("i", 4), 3},
      {PreferenceTypeSwift::choice("c", 1, {{1, "One"}}), 4},
      {PreferenceTypeSwift::choiceString("cs", "a", {{"a", "A"}}), 1},
      {PreferenceTypeSwift::float_("f", 0.5), 5},
      {PreferenceTypeSwift::color("k", red()), 6},
      {PreferenceTypeSwift::array("a", arr({num(1)})), 7},
      {PreferenceTypeSwift::dict("d", dict({{str("x"), num(1)}})), 8},
      {PreferenceTypeSwift::keyOnly("o"), 99},
  };
  int withString = 0, withInt = 0, withFloat = 0, withBool = 0, withColor = 0;
  for (const auto& [p, raw] : cases) {
    EXPECT_EQ(std::int64_t(p.type()), raw) << p.key()->utf8();
    EXPECT_EQ(bool(p.choiceMappings()), raw == 4) << p.key()->utf8();
    EXPECT_EQ(bool(p.choiceStringMappings()), raw == 1) << p.key()->utf8();
    withString += bool(p.defaultString());
    withInt += p.defaultInt().has_value();
    withFloat += p.defaultFloat().has_value();
    withBool += p.defaultBool().has_value();
    withColor += bool(p.defaultColor());
  }
  EXPECT_EQ(withString, 2) << "string and choiceString";
  EXPECT_EQ(withInt, 2) << "integer and choice";
  EXPECT_EQ(withFloat + withBool + withColor, 3);
  EXPECT_FALSE(cases[9].first.defaultValue());
  auto choice = PreferenceTypeSwift::choice("c", 2, {{1, "One"}, {2, "Two"}}, "Layout", TQSettingVisibility::hidden);
  EXPECT_TRUE(isEqual(choice.choiceMappings(), dict({{num(1), str("One")}, {num(2), str("Two")}})));
  EXPECT_EQ(choice.defaultInt(), 2);
  EXPECT_EQ(choice.visibility(), TQSettingVisibility::hidden);
}

TEST(PreferenceTypeSwiftTest, APreferenceMadeFromAListedSettingReadsItsDefaultIntoTheKind) {
  auto from = [](const std::string& json) {
    auto entry = cast<Dictionary>(JSON::read(json));
    return PreferenceTypeSwift::withSetting(*TQAdvSetting::initWithDictionary(*entry));
  };
  auto flag = from(R"({"key":"f","type":2,"visible":1,"default":"YES","description":"Flag"})");
  ASSERT_TRUE(flag);
  EXPECT_EQ(flag->kind(), Case::boolean);
  EXPECT_EQ(flag->defaultBool(), true);
  EXPECT_TRUE(flag->description()->isEqualToString("Flag"));
  auto choice = from(R"({"key":"c","type":4,"visible":2,"default":2,"choiceMappings":{"2":"Two"}})");
  ASSERT_TRUE(choice);
  EXPECT_EQ(choice->defaultInt(), 2);
  EXPECT_TRUE(isEqual(choice->choiceMappings(), dict({{num(2), str("Two")}})));
  EXPECT_EQ(choice->visibility(), TQSettingVisibility::hidden);
  EXPECT_FALSE(from(R"({"key":"x","type":42,"visible":1})")) << "an invalid kind makes no preference";
}

enum class DefaultsKind { Store, UserDefaults };

// The same readers and writers on the product's store and on the user
// defaults: code written against the one vocabulary takes either.
class PreferenceAccessTest : public UserDefaultsWorldTest, public ::testing::WithParamInterface<DefaultsKind> {
 protected:
  void SetUp() override {
    UserDefaultsWorldTest::SetUp();
    if (GetParam() == DefaultsKind::Store) {
      testing::nextStore() = {.path = folder.file("Defaults.plist"), .bundle = bundle};
      defaults_ = TQFoundationDefaults::create<testing::TestStore>();
    } else {
      defaults_ = Quillmere::defaultsInstance(standard());
    }
  }
  void TearDown() override {
    RunLoop::main().drain();
    _TQDefaultsFileManager::forgetManagers();
    UserDefaultsWorldTest::TearDown();
  }
  TQDefaultsInstance& defaults() { return *defaults_; }
  void store(const Id& value, const char* key) { defaults().setObject(value, *str(key)); }

  Ref<TQDefaultsInstance> defaults_;
};

TEST_P(PreferenceAccessTest, BooleansAreReadLeniently) {
  auto flag = PreferenceTypeSwift::boolean("flag", false);
  struct Row {
    Id stored;
    bool expected;
  };
  const Row rows[] = {{str("YES"), true}, {str("yes"), true}, {str("True"), true}, {str("1"), true}, {str("no"), false},
                      {str("2"), false},  {str("y"), false},  {str(""), false},    {num(2), true},   {num(0), false},
                      {num(true), true},  {arr({}), false},   {dict({}), false}};
  for (const Row& row : rows) {
    store(row.stored, "flag");
    EXPECT_EQ(boolForPref(defaults(), flag), row.expected) << row.stored->description()->utf8();
  }
  removeDefault(defaults(), flag);
  EXPECT_EQ(boolForPref(defaults(), flag), false) << "the default when nothing is stored";
  EXPECT_EQ(boolForPref(defaults(), PreferenceTypeSwift::boolean("flag", true)), true);
  EXPECT_FALSE(boolForPref(defaults(), PreferenceTypeSwift::integer("flag", 1))) << "no boolean default to give";
}

TEST_P(PreferenceAccessTest, AStoredValueOfTheWantedTypeWinsElseTheDefaultOfThatKind) {
  auto retries = PreferenceTypeSwift::integer("retries", 3);
  EXPECT_EQ(integerForPref(defaults(), retries), 3);
  store(num(5), "retries");
  EXPECT_EQ(integerForPref(defaults(), retries), 5);
  store(num(5.0), "retries");
  EXPECT_EQ(integerForPref(defaults(), retries), 5) << "a real without fraction is an integer";
  store(num(5.5), "retries");
  EXPECT_EQ(integerForPref(defaults(), retries), 3) << "a value of another type reads as missing";
  EXPECT_DOUBLE_EQ(floatForPref(defaults(), retries).value_or(-1), 5.5);
  store(str("5"), "retries");
  EXPECT_EQ(integerForPref(defaults(), retries), 3);
  EXPECT_FALSE(floatForPref(defaults(), retries)) << "an integer preference has no float default";
  EXPECT_TRUE(isEqual(stringForPref(defaults(), retries), str("5")));

  auto theme = PreferenceTypeSwift::string("theme", "light");
  EXPECT_TRUE(isEqual(stringForPref(defaults(), theme), str("light")));
  EXPECT_FALSE(integerForPref(defaults(), theme));
  EXPECT_TRUE(isEqual(objectForPref(defaults(), theme), str("light")));
  EXPECT_FALSE(objectForPref(defaults(), PreferenceTypeSwift::keyOnly("theme")));

  auto layout = PreferenceTypeSwift::choice("layout", 1, {{1, "One"}, {2, "Two"}});
  EXPECT_EQ(integerForPref(defaults(), layout), 1) << "a choice gives its integer default";
}

TEST_P(PreferenceAccessTest, CollectionsAndColoursReadTheirKindAndColoursAreStoredAsText) {
  auto tags = PreferenceTypeSwift::array("tags", arr({str("a")}));
  EXPECT_TRUE(isEqual(arrayForPref(defaults(), tags), arr({str("a")})));
  setArrayForPref(defaults(), arr({str("b"), str("c")}), tags);
  EXPECT_TRUE(isEqual(arrayForPref(defaults(), tags), arr({str("b"), str("c")})));
  EXPECT_FALSE(arrayForPref(defaults(), PreferenceTypeSwift::string("other", "x")));

  auto options = PreferenceTypeSwift::dict("options", dict({{str("k"), num(1)}}));
  setDictionaryForPref(defaults(), dict({{str("z"), num(2)}}), options);
  EXPECT_TRUE(isEqual(dictionaryForPref(defaults(), options), dict({{str("z"), num(2)}})));

  auto accent = PreferenceTypeSwift::color("accent", red());
  EXPECT_TRUE(isEqual(colorForPref(defaults(), accent), red()));
  auto blue = TQFoundation::colorFromStringRepresentation(*str("#0000ff"));
  setColorForPref(defaults(), blue, accent);
  EXPECT_TRUE(isKindOf<String>(defaults().objectForKey(*str("accent")))) << "kept as its text form";
  EXPECT_DOUBLE_EQ(colorForPref(defaults(), accent)->blueComponent(), 1.0);
  store(str("not a colour"), "accent");
  EXPECT_TRUE(isEqual(colorForPref(defaults(), accent), red()));
}

TEST_P(PreferenceAccessTest, WritersCallTheTypedSetterAndNilRemoves) {
  auto retries = PreferenceTypeSwift::integer("retries", 3);
  auto flag = PreferenceTypeSwift::boolean("flag", false);
  auto ratio = PreferenceTypeSwift::float_("ratio", 0.25);
  auto name = PreferenceTypeSwift::string("name", "");
  setIntegerForPref(defaults(), 8, retries);
  setBoolForPref(defaults(), true, flag);
  setFloatForPref(defaults(), 0.5, ratio);
  setStringForPref(defaults(), str("Ann"), name);
  EXPECT_TRUE(isEqual(defaults().objectForKey(*str("retries")), num(8)));
  EXPECT_TRUE(isEqual(defaults().objectForKey(*str("flag")), num(true)));
  EXPECT_TRUE(isEqual(defaults().objectForKey(*str("ratio")), num(0.5)));
  EXPECT_TRUE(isEqual(defaults().objectForKey(*str("name")), str("Ann")));

  setIntegerForPref(defaults(), std::nullopt, retries);
  setBoolForPref(defaults(), std::nullopt, flag);
  setStringForPref(defaults(), nullptr, name);
  setObjectForPref(defaults(), nullptr, ratio);
  for (const char* key : {"retries", "flag", "ratio", "name"}) EXPECT_FALSE(defaults().objectForKey(*str(key))) << key;
}

INSTANTIATE_TEST_SUITE_P(EitherDefaults, PreferenceAccessTest,
                         ::testing::Values(DefaultsKind::Store, DefaultsKind::UserDefaults),
                         [](const auto& info) { return info.param == DefaultsKind::Store ? "Store" : "UserDefaults"; });

class ExternalSettingTest : public UserDefaultsWorldTest {};

TEST_F(ExternalSettingTest, RegisteredPreferencesAreListedAndReadTheApplicationsDefaults) {
  shipDescription(R"([{"key":"fromFile","type":0,"visible":1,"default":"x"}])");
  auto layout = PreferenceTypeSwift::choice("layout", 2, {{1, "One"}, {2, "Two"}}, "Layout");
  PreferenceTypeSwift::register_({layout});  // no manager yet: nothing to list with
  EXPECT_FALSE(standard()->objectForKey(*str("layout")));

  setAdvancedTQSettings(*Application::shared(), TQAdvancedSettingsManager::init());
  PreferenceTypeSwift::register_({layout, PreferenceTypeSwift::boolean("beta", true)});
  auto list = advancedTQSettings(*Application::shared())->settingsList();
  EXPECT_EQ(list->count(), 3u);
  auto setting = cast<ExternalSetting>(list->objectForKey("layout"));
  ASSERT_TRUE(setting);
  EXPECT_EQ(setting->type(), TQSettingType::choice);
  EXPECT_TRUE(setting->descriptionInfo()->isEqualToString("Layout"));
  EXPECT_EQ(setting->integerVal(), 2) << "the registered default";
  standard()->setInteger(1, *str("layout"));
  EXPECT_EQ(setting->integerVal(), 1) << "the standard user defaults while the host set nothing";
  EXPECT_FALSE(setting->stringVal()) << "an integer preference has no string";
  EXPECT_TRUE(standard()->boolForKey(*str("beta")));
}

}  // namespace
}  // namespace tq
