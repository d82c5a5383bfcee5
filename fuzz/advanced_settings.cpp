// Fuzzes the reader of "AdvanceSettingsInfo.json" descriptions: whatever the
// text, the list holds only offered settings under their own keys, integer
// choices have integer keys, and every listed setting makes the preference
// its kind allows and answers its typed values.

#include <cstdint>
#include <string_view>

#include "fuzz/support/FuzzCheck.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/PreferenceTypeSwift.h"
#include "tq/settings/TQAdvancedSettingsManager.h"

namespace {

using tq::fuzz::check;

void checkChoices(const tq::TQAdvSetting& setting) {
  if (setting.type() != tq::TQSettingType::choice) return;
  check(!setting.choiceStringMappings());
  if (auto mappings = setting.choiceMappings()) {
    for (const auto& [key, label] : mappings->entries()) check(tq::isKindOf<tq::Number>(key));
  }
}

void checkPreference(const tq::TQAdvSetting& setting) {
  auto preference = tq::PreferenceTypeSwift::withSetting(setting);
  const bool validKind = tq::settingTypeWithRawValue(std::int64_t(setting.type())).has_value();
  check(preference.has_value() == validKind);
  if (!preference) return;
  check(preference->type() == setting.type());
  check(preference->key()->isEqual(*setting.key()));
  preference->choiceMappings();
  preference->defaultValue();
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view text(reinterpret_cast<const char*>(data), size);
  auto listed = tq::TQAdvancedSettingsManager::settingsInJSON(text);
  for (const auto& [key, object] : listed->entries()) {
    auto setting = tq::cast<tq::TQAdvSetting>(object);
    check(setting && setting->visibility() != tq::TQSettingVisibility::none);
    check(setting->key()->isEqual(*key) && setting->descriptionInfo());
    checkChoices(*setting);
    checkPreference(*setting);
    setting->integerVal();
    setting->floatVal();
    setting->boolVal();
    setting->stringVal();
    setting->colorVal();
    setting->arrayVal();
    setting->dictVal();
    setting->timeVal();
  }
  return 0;
}
