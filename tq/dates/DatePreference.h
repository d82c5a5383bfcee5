#pragma once
// A setting that names a moment relative to when it is read: a preset day
// (today, tomorrow, in N days, the next given weekday, the first of next
// month, the last of this month) at a chosen time, or an offset from now in
// minutes, hours or days. Stored in a defaults store as a dictionary; the
// concrete date is computed on demand, in the local zone.

#include <cstdint>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/String.h"

namespace tq {

class DatePreference : public Object {
 public:
  /// `datePreferenceType`: a preset day at a time, or an offset from now.
  static constexpr std::int16_t PresetDay = 0;
  static constexpr std::int16_t OffsetFromNow = 1;
  /// `relativeTimeType` of an offset.
  static constexpr std::int16_t OffsetMinutes = 0;
  static constexpr std::int16_t OffsetHours = 1;
  static constexpr std::int16_t OffsetDays = 2;
  /// `relativeDateType` of a preset day (11 to 17: the next weekday value - 10,
  /// 1 Sunday ... 7 Saturday).
  static constexpr std::int16_t Today = 0;
  static constexpr std::int16_t Tomorrow = 1;
  static constexpr std::int16_t InDays = 2;
  static constexpr std::int16_t NextSunday = 11;
  static constexpr std::int16_t NextSaturday = 17;
  static constexpr std::int16_t FirstOfNextMonth = 101;
  static constexpr std::int16_t LastOfThisMonth = 102;

  /// Tomorrow at 00:00, no label.
  DatePreference() = default;
  /// Every key read if present ("presetType", "relativeDateType",
  /// "relativeTimeType", "offsetDayAmount", "offsetTime",
  /// "offsetHasTimeComponent", "atHour", "atMinute", "customLabel");
  /// integers by their integer value, the flag by its boolean value; a missing
  /// key gives 0, false or nil (so no "presetType" is today at 00:00).
  static Ref<DatePreference> initWithDictionaryRepresentation(const Dictionary& dictionary);
  /// The stored form. A preset day keeps its clock time only when
  /// `offsetHasTimeComponent` is set (and then reads back at that time); an
  /// offset keeps only its unit and amount.
  Ref<Dictionary> dictionaryRepresentation() const;

  /// The concrete date now (see the class comment); nil when an amount is
  /// too large for the calendar.
  Ref<Date> dateRelativeToNow() const;
  /// Today at `atHour`:`atMinute`, local time.
  Ref<Date> pickerTime() const;
  /// Takes the date's hour and minute (local time) into `atHour` and `atMinute`.
  void setPickerTime(const Date& date);
  /// A short description for menus: the custom label when there is one, else
  /// "Tomorrow at 09:30", "In 3 days", "Next Tuesday", "In 2 hours" ...
  Ref<String> shortLabel() const;

  std::int16_t datePreferenceType = PresetDay;
  std::int16_t relativeDateType = Tomorrow;
  std::int16_t relativeTimeType = OffsetMinutes;
  std::uint64_t offsetDayAmount = 0;
  std::uint64_t offsetTimeAmount = 0;
  bool offsetHasTimeComponent = false;
  std::uint64_t atHour = 0;
  std::uint64_t atMinute = 0;
  Ref<String> customLabel;

  std::string className() const override { return "DatePreference"; }
  Ref<String> description() const override;
};

}  // namespace tq
