#include "AdvancedSettingValues.h"

#include <charconv>
#include <cmath>
#include <cstdlib>

#include "Command.h"
#include "ValueJSON.h"
#include "tq/colour/ColorTQFoundation.h"
#include "tq/platform/archive/JSON.h"
#include "tq/platform/collection/Sorting.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/TQDefaultsInstancePreferences.h"

namespace tqkit {

namespace {

using Case = tq::PreferenceTypeSwift::Case;

[[noreturn]] void refuse(const std::string& text, const std::string& allowed) {
  throw FailureException{"'" + text + "' is not " + allowed};
}

std::optional<std::int64_t> wholeNumber(const std::string& text) {
  std::int64_t value = 0;
  auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc() || end != text.data() + text.size() || text.empty()) return std::nullopt;
  return value;
}

bool booleanFrom(const std::string& text) {
  auto lower = tq::str(text)->lowercaseString()->utf8();
  if (lower == "yes" || lower == "true" || lower == "1") return true;
  if (lower == "no" || lower == "false" || lower == "0") return false;
  refuse(text, "a boolean (yes, no, true, false, 1 or 0)");
}

double realFrom(const std::string& text) {
  char* end = nullptr;
  const double value = std::strtod(text.c_str(), &end);
  if (text.empty() || *end != '\0' || !std::isfinite(value)) refuse(text, "a number (such as 0.5)");
  return value;
}

// A choice's labels in the order of their values (all numbers or all strings).
std::vector<std::pair<tq::Id, tq::Id>> sortedLabels(const tq::Ref<tq::Dictionary>& mappings) {
  std::vector<std::pair<tq::Id, tq::Id>> labels;
  if (!mappings) return labels;
  for (const auto& [value, label] : mappings->entries()) labels.emplace_back(value, label);
  std::stable_sort(labels.begin(), labels.end(), [](const auto& a, const auto& b) {
    return tq::compareSelector(*a.first, *b.first) == tq::ComparisonResult::Ascending;
  });
  return labels;
}

tq::Ref<tq::Dictionary> labelsOf(const tq::PreferenceTypeSwift& preference) {
  auto integers = preference.choiceMappings();
  return integers ? integers : preference.choiceStringMappings();
}

// A choice takes one of its values, or one of its labels.
tq::Id choiceFrom(const tq::PreferenceTypeSwift& preference, const std::string& text, const tq::Id& asValue) {
  auto labels = labelsOf(preference);
  if (!labels || labels->count() == 0) {
    if (!asValue) refuse(text, "an integer (a whole number such as 3)");
    return asValue;
  }
  if (asValue && labels->objectForKey(asValue)) return asValue;
  for (const auto& [value, label] : labels->entries()) {
    if (auto name = tq::cast<tq::String>(label); name && name->isEqualToString(text)) return value;
  }
  refuse(text, "one of its choices (" + choiceLabels(preference) + ")");
}

tq::Id collectionFrom(const std::string& text, bool wantArray) {
  tq::Id value = tq::JSON::read(text);
  if (wantArray ? tq::isKindOf<tq::Array>(value) : tq::isKindOf<tq::Dictionary>(value)) {
    if (!holdsNull(value)) return value;
  }
  refuse(text, wantArray ? "a JSON array without null (such as [\"a\", 2])"
                         : "a JSON object without null (such as {\"a\": 2})");
}

}  // namespace

tq::Id advancedValueFromText(const tq::PreferenceTypeSwift& preference, const std::string& text) {
  switch (preference.kind()) {
    case Case::string:
      return tq::str(text);
    case Case::choiceString:
      return choiceFrom(preference, text, tq::str(text));
    case Case::boolean:
      return tq::num(booleanFrom(text));
    case Case::integer: {
      auto value = wholeNumber(text);
      if (!value) refuse(text, "an integer (a whole number such as 3)");
      return tq::num(*value);
    }
    case Case::choice: {
      auto value = wholeNumber(text);
      return choiceFrom(preference, text, value ? tq::Id(tq::num(*value)) : nullptr);
    }
    case Case::float_:
      return tq::num(realFrom(text));
    case Case::color: {
      if (auto colour = tq::TQFoundation::colorFromStringRepresentation(*tq::str(text))) return colour;
      refuse(text, "a colour (a name such as red, #rrggbb, rgb(r, g, b) or the Json form \"r g b a\")");
    }
    case Case::array:
      return collectionFrom(text, true);
    case Case::dict:
      return collectionFrom(text, false);
    case Case::keyOnly:
      break;
  }
  throw FailureException{"the setting is key-only and takes no value"};
}

void writeAdvancedValue(tq::TQDefaultsInstance& defaults, const tq::PreferenceTypeSwift& preference,
                        const tq::Id& value) {
  if (!value) return removeDefault(defaults, preference);
  switch (preference.kind()) {
    case Case::string:
    case Case::choiceString:
      return setStringForPref(defaults, tq::cast<tq::String>(value), preference);
    case Case::boolean:
      return setBoolForPref(defaults, tq::cast<tq::Number>(value)->boolValue(), preference);
    case Case::integer:
    case Case::choice:
      return setIntegerForPref(defaults, tq::cast<tq::Number>(value)->integerValue(), preference);
    case Case::float_:
      return setFloatForPref(defaults, tq::cast<tq::Number>(value)->doubleValue(), preference);
    case Case::color:
      return setColorForPref(defaults, tq::cast<tq::Color>(value), preference);
    case Case::array:
      return setArrayForPref(defaults, tq::cast<tq::Array>(value), preference);
    case Case::dict:
      return setDictionaryForPref(defaults, tq::cast<tq::Dictionary>(value), preference);
    case Case::keyOnly:
      return setObjectForPref(defaults, value, preference);
  }
}

tq::Id readAdvancedValue(tq::TQDefaultsInstance& defaults, const tq::PreferenceTypeSwift& preference) {
  switch (preference.kind()) {
    case Case::string:
    case Case::choiceString:
      return stringForPref(defaults, preference);
    case Case::boolean: {
      auto value = boolForPref(defaults, preference);
      return value ? tq::Id(tq::num(*value)) : nullptr;
    }
    case Case::integer:
    case Case::choice: {
      auto value = integerForPref(defaults, preference);
      return value ? tq::Id(tq::num(*value)) : nullptr;
    }
    case Case::float_: {
      auto value = floatForPref(defaults, preference);
      return value ? tq::Id(tq::num(*value)) : nullptr;
    }
    case Case::color:
      return colorForPref(defaults, preference);
    case Case::array:
      return arrayForPref(defaults, preference);
    case Case::dict:
      return anyKeyDictionaryForPref(defaults, preference);
    case Case::keyOnly:
      return objectForPref(defaults, preference);
  }
  return nullptr;
}

tq::Id storedForm(const tq::Id& value) {
  if (auto colour = tq::cast<tq::Color>(value)) return tq::TQFoundation::jsonStringRepresentation(*colour);
  return value;
}

std::string shownValue(const tq::Id& value) {
  if (!value) return "";
  if (auto text = tq::cast<tq::String>(storedForm(value))) return text->utf8();
  return toJSON(value, false);
}

std::string choiceLabels(const tq::PreferenceTypeSwift& preference) {
  std::string shown;
  for (const auto& [value, label] : sortedLabels(labelsOf(preference))) {
    if (!shown.empty()) shown += ", ";
    shown += shownValue(value) + "=" + shownValue(label);
  }
  return shown;
}

tq::Id choiceLabelsObject(const tq::PreferenceTypeSwift& preference) {
  auto labels = labelsOf(preference);
  if (!labels) return nullptr;
  auto list = tq::MutableArray::array();
  for (const auto& [value, label] : sortedLabels(labels)) {
    list->addObject(tq::dict({{tq::str("value"), value}, {tq::str("label"), label}}));
  }
  return list;
}

}  // namespace tqkit
