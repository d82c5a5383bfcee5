#include "tq/settings/TQSettingType.h"

namespace tq {

std::optional<TQSettingType> settingTypeWithRawValue(std::int64_t rawValue) {
  if ((rawValue >= 0 && rawValue <= 8) || rawValue == 99) return TQSettingType(rawValue);
  return std::nullopt;
}

std::optional<TQSettingVisibility> settingVisibilityWithRawValue(std::int64_t rawValue) {
  if (rawValue >= 0 && rawValue <= 2) return TQSettingVisibility(rawValue);
  return std::nullopt;
}

std::string_view settingTypeName(TQSettingType type) {
  switch (type) {
    case TQSettingType::string:
      return "string";
    case TQSettingType::choiceString:
      return "choiceString";
    case TQSettingType::boolean:
      return "boolean";
    case TQSettingType::integer:
      return "integer";
    case TQSettingType::choice:
      return "choice";
    case TQSettingType::float_:
      return "float";
    case TQSettingType::color:
      return "color";
    case TQSettingType::array:
      return "array";
    case TQSettingType::dict:
      return "dict";
    case TQSettingType::keyOnly:
      return "keyOnly";
  }
  return "invalid";
}

std::string_view settingVisibilityName(TQSettingVisibility visibility) {
  switch (visibility) {
    case TQSettingVisibility::none:
      return "none";
    case TQSettingVisibility::visible:
      return "visible";
    case TQSettingVisibility::hidden:
      return "hidden";
  }
  return "invalid";
}

}  // namespace tq
