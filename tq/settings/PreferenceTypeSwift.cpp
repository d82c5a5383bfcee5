#include "tq/settings/PreferenceTypeSwift.h"

#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/object/Application.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/ExternalSetting.h"
#include "tq/settings/TQAdvancedSettingsApplication.h"
#include "tq/settings/internal/LenientValues.h"

namespace tq {

namespace {

Ref<Dictionary> integerLabels(const PreferenceTypeSwift::IntegerLabels& labels) {
  auto mappings = MutableDictionary::dictionary();
  for (const auto& [value, label] : labels) mappings->setObject(str(label), num(value));
  return cast<Dictionary>(mappings->copy());
}

Ref<Dictionary> stringLabels(const PreferenceTypeSwift::StringLabels& labels) {
  auto mappings = MutableDictionary::dictionary();
  for (const auto& [value, label] : labels) mappings->setObject(str(label), str(value));
  return cast<Dictionary>(mappings->copy());
}

std::string utf8Of(const Ref<String>& text) { return text ? text->utf8() : std::string(); }

}  // namespace

PreferenceTypeSwift::PreferenceTypeSwift(Case kind, std::string_view key, Id defaultValue, std::string_view description,
                                         TQSettingVisibility visibility, Ref<Dictionary> mappings)
    : case_(kind),
      key_(str(key)),
      default_(std::move(defaultValue)),
      description_(str(description)),
      visibility_(visibility),
      mappings_(std::move(mappings)) {}

PreferenceTypeSwift PreferenceTypeSwift::string(std::string_view key, std::string_view defaultValue,
                                                std::string_view description, TQSettingVisibility visibility) {
  return {Case::string, key, str(defaultValue), description, visibility};
}
PreferenceTypeSwift PreferenceTypeSwift::boolean(std::string_view key, bool defaultValue, std::string_view description,
                                                 TQSettingVisibility visibility) {
  return {Case::boolean, key, num(defaultValue), description, visibility};
}
PreferenceTypeSwift PreferenceTypeSwift::integer(std::string_view key, std::int64_t defaultValue,
                                                 std::string_view description, TQSettingVisibility visibility) {
  return {Case::integer, key, num(defaultValue), description, visibility};
}
PreferenceTypeSwift PreferenceTypeSwift::choice(std::string_view key, std::int64_t defaultValue,
                                                const IntegerLabels& labels, std::string_view description,
                                                TQSettingVisibility visibility) {
  return {Case::choice, key, num(defaultValue), description, visibility, integerLabels(labels)};
}
PreferenceTypeSwift PreferenceTypeSwift::choiceString(std::string_view key, std::string_view defaultValue,
                                                      const StringLabels& labels, std::string_view description,
                                                      TQSettingVisibility visibility) {
  return {Case::choiceString, key, str(defaultValue), description, visibility, stringLabels(labels)};
}
PreferenceTypeSwift PreferenceTypeSwift::float_(std::string_view key, double defaultValue, std::string_view description,
                                                TQSettingVisibility visibility) {
  return {Case::float_, key, num(defaultValue), description, visibility};
}
PreferenceTypeSwift PreferenceTypeSwift::color(std::string_view key, Ref<Color> defaultValue,
                                               std::string_view description, TQSettingVisibility visibility) {
  return {Case::color, key, std::move(defaultValue), description, visibility};
}
PreferenceTypeSwift PreferenceTypeSwift::array(std::string_view key, Ref<Array> defaultValue,
                                               std::string_view description, TQSettingVisibility visibility) {
  return {Case::array, key, defaultValue ? defaultValue->copy() : nullptr, description, visibility};
}
PreferenceTypeSwift PreferenceTypeSwift::dict(std::string_view key, Ref<Dictionary> defaultValue,
                                              std::string_view description, TQSettingVisibility visibility) {
  return {Case::dict, key, defaultValue ? defaultValue->copy() : nullptr, description, visibility};
}
PreferenceTypeSwift PreferenceTypeSwift::keyOnly(std::string_view key) {
  return {Case::keyOnly, key, nullptr, "", TQSettingVisibility::none};
}

std::optional<PreferenceTypeSwift> PreferenceTypeSwift::withSetting(const TQAdvanceSetting& setting) {
  auto type = settingTypeWithRawValue(std::int64_t(setting.type()));
  if (!type) return std::nullopt;
  const std::string key = utf8Of(setting.key());
  const std::string about = utf8Of(setting.descriptionInfo());
  const Id given = setting.defaultValue();
  const auto visibility = setting.visibility();
  auto text = [&] { return cast<String>(given) ? cast<String>(given)->utf8() : std::string(); };
  switch (*type) {
    case TQSettingType::string:
      return string(key, text(), about, visibility);
    case TQSettingType::choiceString: {
      PreferenceTypeSwift made{Case::choiceString, key, str(text()), about, visibility, setting.choiceStringMappings()};
      return made;
    }
    case TQSettingType::boolean:
      return boolean(key, detail::lenientBoolValue(given), about, visibility);
    case TQSettingType::integer:
      return integer(key, detail::exactIntegerValue(given).value_or(0), about, visibility);
    case TQSettingType::choice: {
      PreferenceTypeSwift made{Case::choice, key,        num(detail::exactIntegerValue(given).value_or(0)),
                               about,        visibility, setting.choiceMappings()};
      return made;
    }
    case TQSettingType::float_:
      return float_(key, detail::realValue(given).value_or(0.0), about, visibility);
    case TQSettingType::color:
      return color(key,
                   cast<String>(given) ? TQFoundation::colorFromStringRepresentation(*cast<String>(given)) : nullptr,
                   about, visibility);
    case TQSettingType::array:
      return array(key, cast<Array>(given), about, visibility);
    case TQSettingType::dict:
      return dict(key, cast<Dictionary>(given), about, visibility);
    case TQSettingType::keyOnly: {
      PreferenceTypeSwift made{Case::keyOnly, key, nullptr, about, visibility};
      return made;
    }
  }
  return std::nullopt;
}

void PreferenceTypeSwift::register_(const std::vector<PreferenceTypeSwift>& settings) {
  auto manager = advancedTQSettings(*Application::shared());
  if (!manager) return;
  std::vector<Ref<TQAdvanceSetting>> external;
  for (const auto& preference : settings) external.push_back(make<ExternalSetting>(preference));
  manager->registerWithSettings(external);
}

Ref<String> PreferenceTypeSwift::defaultString() const {
  return case_ == Case::string || case_ == Case::choiceString ? cast<String>(default_) : nullptr;
}

std::optional<std::int64_t> PreferenceTypeSwift::defaultInt() const {
  if (case_ != Case::integer && case_ != Case::choice) return std::nullopt;
  return detail::exactIntegerValue(default_);
}

std::optional<double> PreferenceTypeSwift::defaultFloat() const {
  if (case_ != Case::float_) return std::nullopt;
  return detail::realValue(default_);
}

std::optional<bool> PreferenceTypeSwift::defaultBool() const {
  if (case_ != Case::boolean) return std::nullopt;
  return detail::lenientBoolValue(default_);
}

Ref<Color> PreferenceTypeSwift::defaultColor() const { return case_ == Case::color ? cast<Color>(default_) : nullptr; }

TQSettingType PreferenceTypeSwift::type() const {
  switch (case_) {
    case Case::string:
      return TQSettingType::string;
    case Case::boolean:
      return TQSettingType::boolean;
    case Case::integer:
      return TQSettingType::integer;
    case Case::choice:
      return TQSettingType::choice;
    case Case::choiceString:
      return TQSettingType::choiceString;
    case Case::float_:
      return TQSettingType::float_;
    case Case::color:
      return TQSettingType::color;
    case Case::array:
      return TQSettingType::array;
    case Case::dict:
      return TQSettingType::dict;
    case Case::keyOnly:
      return TQSettingType::keyOnly;
  }
  return TQSettingType::keyOnly;
}

Ref<Dictionary> PreferenceTypeSwift::choiceMappings() const { return case_ == Case::choice ? mappings_ : nullptr; }

Ref<Dictionary> PreferenceTypeSwift::choiceStringMappings() const {
  return case_ == Case::choiceString ? mappings_ : nullptr;
}

}  // namespace tq
