#pragma once
// The kinds and visibilities of advanced settings. Their raw values are what
// "AdvanceSettingsInfo.json" files carry, so they are fixed: the numbering
// does not follow the order of the preference cases (1 is the string choice,
// 2 the boolean) and must stay so, or files already shipped would change
// meaning.

#include <cstdint>
#include <optional>
#include <string_view>

namespace tq {

/// The kind of an advanced setting. A value read from a file may hold a raw
/// value outside the list; `settingTypeWithRawValue` tells the valid ones.
enum class TQSettingType : std::int64_t {
  string = 0,
  choiceString = 1,  // a string chosen from labelled strings
  boolean = 2,
  integer = 3,
  choice = 4,  // an integer chosen from labelled integers
  float_ = 5,
  color = 6,
  array = 7,
  dict = 8,
  keyOnly = 99,  // a key with no typed value
};

/// Who is offered a setting. `none` settings are never listed. `visible`
/// ones are meant for every user of an advanced list; `hidden` ones are
/// listed too, but a user interface shows them only when asked for
/// everything (support staff reading them out to a user).
enum class TQSettingVisibility : std::int64_t {
  none = 0,
  visible = 1,
  hidden = 2,
};

/// The kind with this raw value, or nothing for a raw value outside the list.
std::optional<TQSettingType> settingTypeWithRawValue(std::int64_t rawValue);
/// The visibility with this raw value (0, 1 or 2), or nothing.
std::optional<TQSettingVisibility> settingVisibilityWithRawValue(std::int64_t rawValue);

/// The case name of a kind ("choiceString", "float"), or "invalid".
std::string_view settingTypeName(TQSettingType type);
/// "none", "visible", "hidden", or "invalid".
std::string_view settingVisibilityName(TQSettingVisibility visibility);

}  // namespace tq
