#pragma once
// One advanced setting described by an entry of the host's
// "AdvanceSettingsInfo.json":
//
//   {"key": "maxRetries", "type": 3, "visible": 1, "default": 3,
//    "description": "How often a failed fetch is tried again"}
//
// Its current value is the standard user defaults' value for the key, else
// the default the entry gives; the typed readers take that value as it is
// and never convert between kinds (a string "3" is no integer here).

#include <cstdint>

#include "tq/platform/value/Date.h"
#include "tq/settings/TQAdvanceSetting.h"

namespace tq {

class TQAdvSetting : public TQAdvanceSetting {
 public:
  /// Text that stands in for a missing "key" and a missing "description".
  static constexpr const char* NoKeyMarker = "[no key!!]";
  static constexpr const char* NoDescriptionMarker = "[no description]";

  /// A setting from one JSON object. Without "type" it is key-only (99) with
  /// visibility 0, which the manager drops. "choiceMappings" become integer
  /// keyed for type 4 (each key's integer value) and stay string keyed for
  /// any other type. A "key" or "description" that is not a string counts as
  /// missing.
  static Ref<TQAdvSetting> initWithDictionary(const Dictionary& entry);

  std::string className() const override { return "TQAdvSetting"; }
  Ref<String> description() const override;

  /// The raw kind as read: it may lie outside the list of kinds.
  TQSettingType type() const override { return TQSettingType(type_); }
  /// The raw visibility as read: it may lie outside 0 to 2.
  TQSettingVisibility visibility() const override { return TQSettingVisibility(visibility_); }
  Ref<String> key() const override { return key_; }
  Ref<String> descriptionInfo() const override { return descriptionInfo_; }
  Id defaultValue() const override { return defaultValue_; }
  Ref<Dictionary> choiceMappings() const override { return choiceMappings_; }
  Ref<Dictionary> choiceStringMappings() const override { return choiceStringMappings_; }

  /// The standard user defaults' value for the key, else the default.
  Id value() const;
  std::int64_t integerVal() const override;
  double floatVal() const override;
  bool boolVal() const override;
  Id stringVal() const override;
  /// A string value read as a colour text; nil for anything else.
  Ref<Color> colorVal() const override;
  Ref<Array> arrayVal() const override;
  Ref<Dictionary> dictVal() const override;
  /// Seconds from now: "past" and "future" reach the most distant past and
  /// future dates, other strings and the null marker give 0, numbers their
  /// value. Values with no number in them (collections) give 0 as well.
  TimeInterval timeVal() const;

  TQAdvSetting() = default;

 private:
  std::int64_t type_ = 99;
  std::int64_t visibility_ = 0;
  Ref<String> key_;
  Ref<String> descriptionInfo_;
  Id defaultValue_;
  Ref<Dictionary> choiceMappings_;
  Ref<Dictionary> choiceStringMappings_;
};

}  // namespace tq
