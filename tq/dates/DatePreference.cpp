#include "tq/dates/DatePreference.h"

#include <cstdio>

#include "tq/dates/internal/DateStrings.h"
#include "tq/platform/value/Calendar.h"
#include "tq/platform/value/Format.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {

std::int64_t integerFor(const Dictionary& dictionary, std::string_view key) {
  Id value = dictionary.objectForKey(key);
  if (auto number = cast<Number>(value)) return number->integerValue();
  if (auto text = cast<String>(value)) return text->integerValue();
  return 0;
}

bool boolFor(const Dictionary& dictionary, std::string_view key) {
  Id value = dictionary.objectForKey(key);
  if (auto number = cast<Number>(value)) return number->boolValue();
  if (auto text = cast<String>(value)) return text->boolValue();
  return false;
}

/// The components of now kept by every form: seconds are dropped.
DateComponents nowToTheMinute(const Calendar& calendar) {
  return calendar.components(CalendarUnitEra | CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay |
                                 CalendarUnitHour | CalendarUnitMinute,
                             *Date::date());
}

/// Adds an unsigned amount to a component; amounts beyond 64-bit signed
/// range make the component unrepresentable, which the calendar refuses.
void addAmount(DateComponents& components, CalendarUnit unit, std::uint64_t amount) {
  std::optional<std::int64_t>& field = *components.field(unit);
  field = amount > std::uint64_t(INT32_MAX) ? std::int64_t(INT64_MAX) : *field + std::int64_t(amount);
}

std::string formatted(std::string_view key, unsigned long long amount) {
  char text[96];
  std::snprintf(text, sizeof text, std::string(detail::dateString(key)).c_str(), amount);
  return text;
}

std::string withTime(const std::string& label, std::uint64_t hour, std::uint64_t minute) {
  char text[160];
  std::snprintf(text, sizeof text, std::string(detail::dateString("DatePreference.AtTime")).c_str(), label.c_str(),
                (unsigned long long)hour, (unsigned long long)minute);
  return text;
}

}  // namespace

Ref<DatePreference> DatePreference::initWithDictionaryRepresentation(const Dictionary& dictionary) {
  auto preference = make<DatePreference>();
  preference->datePreferenceType = std::int16_t(integerFor(dictionary, "presetType"));
  preference->relativeDateType = std::int16_t(integerFor(dictionary, "relativeDateType"));
  preference->relativeTimeType = std::int16_t(integerFor(dictionary, "relativeTimeType"));
  preference->offsetDayAmount = std::uint64_t(integerFor(dictionary, "offsetDayAmount"));
  preference->offsetTimeAmount = std::uint64_t(integerFor(dictionary, "offsetTime"));
  preference->offsetHasTimeComponent = boolFor(dictionary, "offsetHasTimeComponent");
  preference->atHour = std::uint64_t(integerFor(dictionary, "atHour"));
  preference->atMinute = std::uint64_t(integerFor(dictionary, "atMinute"));
  preference->customLabel = cast<String>(dictionary.objectForKey("customLabel"));
  return preference;
}

Ref<Dictionary> DatePreference::dictionaryRepresentation() const {
  auto dictionary = make<MutableDictionary>();
  dictionary->setObject(num(datePreferenceType), str("presetType"));
  if (datePreferenceType == PresetDay) {
    dictionary->setObject(num(relativeDateType), str("relativeDateType"));
    if (relativeDateType == InDays) dictionary->setObject(Number::numberWithUnsignedInteger(offsetDayAmount), str("offsetDayAmount"));
    if (offsetHasTimeComponent) {
      dictionary->setObject(Number::numberWithBool(true), str("offsetHasTimeComponent"));
      dictionary->setObject(Number::numberWithUnsignedInteger(atHour), str("atHour"));
      dictionary->setObject(Number::numberWithUnsignedInteger(atMinute), str("atMinute"));
    }
  } else {
    dictionary->setObject(num(relativeTimeType), str("relativeTimeType"));
    dictionary->setObject(Number::numberWithUnsignedInteger(offsetTimeAmount), str("offsetTime"));
  }
  if (customLabel) dictionary->setObject(customLabel, str("customLabel"));
  return cast<Dictionary>(dictionary->copy());
}

Ref<Date> DatePreference::dateRelativeToNow() const {
  Ref<Calendar> calendar = Calendar::currentCalendar();
  DateComponents moment = nowToTheMinute(*calendar);
  if (datePreferenceType == OffsetFromNow) {
    if (relativeTimeType == OffsetMinutes) addAmount(moment, CalendarUnitMinute, offsetTimeAmount);
    if (relativeTimeType == OffsetHours) addAmount(moment, CalendarUnitHour, offsetTimeAmount);
    if (relativeTimeType == OffsetDays) {
      addAmount(moment, CalendarUnitDay, offsetTimeAmount);
      if (offsetHasTimeComponent) moment.hour = std::int64_t(atHour), moment.minute = std::int64_t(atMinute);
    }
  } else if (datePreferenceType == PresetDay) {
    moment.hour = std::int64_t(atHour), moment.minute = std::int64_t(atMinute);
    if (relativeDateType == Tomorrow) *moment.day += 1;
    if (relativeDateType == InDays) addAmount(moment, CalendarUnitDay, offsetDayAmount);
    if (relativeDateType >= NextSunday && relativeDateType <= NextSaturday) {
      // Found by the calendar's search and answered at the start of that day,
      // without the chosen time.
      DateComponents weekday;
      weekday.weekday = relativeDateType - 10;
      return calendar->nextDateAfterDate(*Date::date(), weekday, CalendarMatchNextTime);
    }
    if (relativeDateType == FirstOfNextMonth) *moment.month += 1, moment.day = 1;
    if (relativeDateType == LastOfThisMonth) {
      moment.day = std::int64_t(calendar->rangeOfUnit(CalendarUnitDay, CalendarUnitMonth, *Date::date()).length);
    }
  }
  return calendar->dateFromComponents(moment);
}

Ref<Date> DatePreference::pickerTime() const {
  Ref<Calendar> calendar = Calendar::currentCalendar();
  DateComponents today = calendar->components(CalendarUnitEra | CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay,
                                              *Date::date());
  today.hour = std::int64_t(atHour), today.minute = std::int64_t(atMinute);
  return calendar->dateFromComponents(today);
}

void DatePreference::setPickerTime(const Date& date) {
  DateComponents clock = Calendar::currentCalendar()->components(CalendarUnitHour | CalendarUnitMinute, date);
  atHour = std::uint64_t(*clock.hour);
  atMinute = std::uint64_t(*clock.minute);
}

Ref<String> DatePreference::shortLabel() const {
  if (customLabel && customLabel->length() > 0) return customLabel;
  const auto amount = [](std::uint64_t n, std::string_view one, std::string_view many) {
    return n == 1 ? std::string(detail::dateString(one)) : formatted(many, n);
  };
  if (datePreferenceType == OffsetFromNow) {
    if (relativeTimeType == OffsetMinutes) return str(amount(offsetTimeAmount, "DatePreference.InOneMinute", "DatePreference.InMinutes"));
    if (relativeTimeType == OffsetHours) return str(amount(offsetTimeAmount, "DatePreference.InOneHour", "DatePreference.InHours"));
    if (relativeTimeType == OffsetDays) {
      std::string days = amount(offsetTimeAmount, "DatePreference.InOneDay", "DatePreference.InDays");
      return str(offsetHasTimeComponent ? withTime(days, atHour, atMinute) : days);
    }
    return str(detail::dateString("DatePreference.Now"));
  }
  if (datePreferenceType != PresetDay) return str(detail::dateString("DatePreference.Now"));
  if (relativeDateType >= NextSunday && relativeDateType <= NextSaturday) {
    return str(detail::dateString("DatePreference.Next" + std::to_string(relativeDateType - 10)));
  }
  std::string day = relativeDateType == Tomorrow           ? std::string(detail::dateString("DatePreference.Tomorrow"))
                    : relativeDateType == InDays           ? amount(offsetDayAmount, "DatePreference.InOneDay", "DatePreference.InDays")
                    : relativeDateType == FirstOfNextMonth ? std::string(detail::dateString("DatePreference.FirstOfNextMonth"))
                    : relativeDateType == LastOfThisMonth  ? std::string(detail::dateString("DatePreference.LastOfThisMonth"))
                                                           : std::string(detail::dateString("DatePreference.Today"));
  return str(atHour || atMinute ? withTime(day, atHour, atMinute) : day);
}

Ref<String> DatePreference::description() const { return dictionaryRepresentation()->description(); }

}  // namespace tq
