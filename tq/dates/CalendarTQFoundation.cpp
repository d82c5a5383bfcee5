#include "tq/dates/CalendarTQFoundation.h"

#include <cmath>

#include "tq/platform/value/DateFormatter.h"

namespace tq::TQFoundation {

namespace {

constexpr std::uint64_t DayUnits = CalendarUnitEra | CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay;
constexpr std::uint64_t MinuteUnits = DayUnits | CalendarUnitHour | CalendarUnitMinute;
/// 1970-01-01 in the Julian day count of `Calendar::dayNumber`.
constexpr std::int64_t ReferenceDayNumber = 2440588;

/// The components a unit range keeps of its date.
std::uint64_t unitsKeptFor(std::uint64_t unit) {
  switch (unit) {
    case CalendarUnitYear: return CalendarUnitEra | CalendarUnitYear;
    case CalendarUnitMonth: return CalendarUnitEra | CalendarUnitYear | CalendarUnitMonth;
    case CalendarUnitHour: return DayUnits | CalendarUnitHour;
    case CalendarUnitMinute: return MinuteUnits;
    case CalendarUnitSecond: return MinuteUnits | CalendarUnitSecond;
    default: return DayUnits;
  }
}

/// The end one second before `unit` after `start` begins; nil when the unit
/// cannot be added (not a calendar unit).
Ref<Date> inclusiveEnd(const Calendar& calendar, CalendarUnit unit, const Ref<Date>& start) {
  if (!start) return nullptr;
  Ref<Date> next = calendar.dateByAddingUnit(unit, 1, *start);
  return next ? next->dateByAddingTimeInterval(-1) : nullptr;
}

/// The instant the components name once `unit` is one more (the start of the
/// next day or minute), read in the calendar's own zone.
Ref<Date> startOfNext(const Calendar& calendar, DateComponents components, CalendarUnit unit) {
  components.timeZone = calendar.timeZone();
  components.setValue(components.field(unit)->value_or(0) + 1, unit);
  return calendar.dateFromComponents(components);
}

Ref<Date> startOf(const Calendar& calendar, DateComponents components) {
  components.timeZone = calendar.timeZone();
  return calendar.dateFromComponents(components);
}

}  // namespace

Ref<Date> dateWithYear(const Calendar& calendar, std::int64_t year, std::int64_t month, std::int64_t day) {
  DateComponents components;
  components.era = 1, components.year = year, components.month = month, components.day = day;
  components.hour = 0, components.minute = 0, components.second = 0, components.nanosecond = 0;
  return calendar.dateFromComponents(components);
}

Ref<Date> referenceDate(const Calendar& calendar) { return dateWithYear(calendar, 1970, 1, 1); }

std::int64_t numberOfDaysBetweendDate(const Calendar& calendar, const Date& date, const Date& andDate) {
  return calendar.dayNumber(andDate) - calendar.dayNumber(date);
}

std::int64_t daysSinceReferenceForDate(const Calendar& calendar, const Date& date) {
  constexpr std::int64_t Cap = 9223372036854775806;
  return std::min(calendar.dayNumber(date) - ReferenceDayNumber, Cap);
}

DateComponents TQyearMonthDayComponentsForDate(const Calendar& calendar, const Date& date) {
  DateComponents components = calendar.components(CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay, date);
  components.hour = 0, components.minute = 0, components.second = 0;
  return components;
}

DateComponents TQyearMonthDayHoursMinutesComponentsForDate(const Calendar& calendar, const Date& date) {
  DateComponents components = calendar.components(
      CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay | CalendarUnitHour | CalendarUnitMinute, date);
  components.second = 0;
  return components;
}

Ref<TQDateRange> TQrangeForUnitGranularity(const Calendar& calendar, std::uint64_t unit, const Date& ofDate) {
  if (unit == CalendarUnitWeekday) {
    // The week instead: the Sunday of the date's week-of-year, whatever
    // weekday the locale starts its weeks on. The week is named with its own
    // year: with the calendar year, the first days of January (in the last
    // week of December) and the last of December (in week 1) resolve to a
    // week a year away.
    DateComponents week =
        calendar.components(CalendarUnitEra | CalendarUnitYearForWeekOfYear | CalendarUnitWeekOfYear, ofDate);
    week.weekday = 1;
    Ref<Date> start = calendar.dateFromComponents(week);
    return make<TQDateRange>(start, inclusiveEnd(calendar, CalendarUnitWeekOfYear, start));
  }
  Ref<Date> start = calendar.dateFromComponents(calendar.components(unitsKeptFor(unit), ofDate));
  return make<TQDateRange>(start, inclusiveEnd(calendar, CalendarUnit(unit), start));
}

Ref<TQDateRange> TQrangeContainingMoment(const Calendar& calendar, const Date& moment) {
  DateComponents day = calendar.components(DayUnits, moment);
  return make<TQDateRange>(startOf(calendar, day), startOfNext(calendar, day, CalendarUnitDay));
}

Ref<TQDateRange> TQrangeForMinutesBetweenStartMoment(const Calendar& calendar, const Date& startMoment,
                                                     const Date& endMoment) {
  return make<TQDateRange>(startOf(calendar, calendar.components(MinuteUnits, startMoment)),
                           startOfNext(calendar, calendar.components(MinuteUnits, endMoment), CalendarUnitMinute));
}

Ref<TQDateRange> TQrangeForDaysBetweenStartMoment(const Calendar& calendar, const Date& startMoment,
                                                  const Date& endMoment) {
  return make<TQDateRange>(startOf(calendar, calendar.components(DayUnits, startMoment)),
                           startOfNext(calendar, calendar.components(DayUnits, endMoment), CalendarUnitDay));
}

bool isDateOnOrBeforeNow(const Calendar&, const Date& date) {
  // Gregorian seconds are the same in every zone: compare whole seconds.
  return std::floor(date.timeIntervalSince1970()) <= std::floor(Date::now() + TimeIntervalSince1970);
}

Ref<Date> dateBySettingTime(const Calendar& calendar, const String& time, const Date& ofDate, std::uint64_t options) {
  DateFormatter formatter;
  formatter.setTimeZone(calendar.timeZone());
  for (const char* pattern : {"hh:mm:ss a", "HH:mm:ss", "hh:mm a", "HH:mm"}) {
    formatter.setDateFormat(pattern);
    Ref<Date> parsed = formatter.dateFromString(time);
    if (!parsed) continue;
    DateComponents clock = calendar.components(CalendarUnitHour | CalendarUnitMinute, *parsed);
    return calendar.dateBySettingHour(*clock.hour, *clock.minute, 0, ofDate, options);
  }
  return Date::date();
}

}  // namespace tq::TQFoundation
