#pragma once
// The typed description of one setting that code declares: its key, its
// default in the setting's own type, a description for the user, a
// visibility and, for the two choice kinds, the labels of the values.
//
//   auto retries = PreferenceTypeSwift::integer("maxRetries", 3, "Fetch retries");
//   auto mode = PreferenceTypeSwift::choice("layout", 0, {{0, "Compact"}, {1, "Wide"}});
//   PreferenceTypeSwift::register_({retries, mode});  // listed with the advanced settings
//
// A plain value: copies are independent and cheap (the payload's objects are
// immutable and shared).

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Color.h"
#include "tq/platform/value/String.h"
#include "tq/settings/TQAdvanceSetting.h"

namespace tq {

class PreferenceTypeSwift {
 public:
  /// The ten cases, in their declared order (not the order of the raw values
  /// of `TQSettingType`).
  enum class Case { string, boolean, integer, choice, choiceString, float_, color, array, dict, keyOnly };
  using IntegerLabels = std::vector<std::pair<std::int64_t, std::string>>;
  using StringLabels = std::vector<std::pair<std::string, std::string>>;
  static constexpr TQSettingVisibility Visible = TQSettingVisibility::visible;

  static PreferenceTypeSwift string(std::string_view key, std::string_view defaultValue,
                                    std::string_view description = "", TQSettingVisibility visibility = Visible);
  static PreferenceTypeSwift boolean(std::string_view key, bool defaultValue, std::string_view description = "",
                                     TQSettingVisibility visibility = Visible);
  static PreferenceTypeSwift integer(std::string_view key, std::int64_t defaultValue, std::string_view description = "",
                                     TQSettingVisibility visibility = Visible);
  static PreferenceTypeSwift choice(std::string_view key, std::int64_t defaultValue, const IntegerLabels& labels,
                                    std::string_view description = "", TQSettingVisibility visibility = Visible);
  static PreferenceTypeSwift choiceString(std::string_view key, std::string_view defaultValue,
                                          const StringLabels& labels, std::string_view description = "",
                                          TQSettingVisibility visibility = Visible);
  static PreferenceTypeSwift float_(std::string_view key, double defaultValue, std::string_view description = "",
                                    TQSettingVisibility visibility = Visible);
  static PreferenceTypeSwift color(std::string_view key, Ref<Color> defaultValue, std::string_view description = "",
                                   TQSettingVisibility visibility = Visible);
  static PreferenceTypeSwift array(std::string_view key, Ref<Array> defaultValue, std::string_view description = "",
                                   TQSettingVisibility visibility = Visible);
  static PreferenceTypeSwift dict(std::string_view key, Ref<Dictionary> defaultValue, std::string_view description = "",
                                  TQSettingVisibility visibility = Visible);
  /// A key with no typed value, description or visibility (not offered).
  static PreferenceTypeSwift keyOnly(std::string_view key);

  /// The preference that describes a listed setting, with its default taken
  /// into the setting's kind as the typed readers would read it (a default
  /// "YES" of a boolean is true); nothing for a setting of an invalid kind.
  static std::optional<PreferenceTypeSwift> withSetting(const TQAdvanceSetting& setting);

  /// Lists the preferences with the application object's advanced settings
  /// (each as an `ExternalSetting`) and registers their defaults; nothing
  /// happens while the application has no advanced settings manager.
  static void register_(const std::vector<PreferenceTypeSwift>& settings);

  Case kind() const { return case_; }
  const Ref<String>& key() const { return key_; }
  // The default, each only for the cases of its kind (the choices included).
  Ref<String> defaultString() const;
  std::optional<std::int64_t> defaultInt() const;
  std::optional<double> defaultFloat() const;
  std::optional<bool> defaultBool() const;
  Ref<Color> defaultColor() const;
  /// The default of any case as an object: a string, number, colour, array or
  /// dictionary; nil for `keyOnly`.
  const Id& defaultValue() const { return default_; }
  const Ref<String>& description() const { return description_; }
  TQSettingVisibility visibility() const { return visibility_; }
  TQSettingType type() const;
  /// Integer numbers to labels for `choice`, else nil.
  Ref<Dictionary> choiceMappings() const;
  /// Strings to labels for `choiceString`, else nil.
  Ref<Dictionary> choiceStringMappings() const;

 private:
  PreferenceTypeSwift(Case kind, std::string_view key, Id defaultValue, std::string_view description,
                      TQSettingVisibility visibility, Ref<Dictionary> mappings = nullptr);

  Case case_;
  Ref<String> key_;
  Id default_;
  Ref<String> description_;
  TQSettingVisibility visibility_;
  Ref<Dictionary> mappings_;
};

}  // namespace tq
