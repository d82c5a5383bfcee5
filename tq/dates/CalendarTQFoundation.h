#pragma once
// Date and calendar helpers: day counts, the components of a day, ranges of
// a calendar unit, of a day and of minutes, and setting a time of day from
// text. Each is computed in the given calendar and its time zone.
//
// Two conventions for where a range ends, both on purpose: the ranges of a
// calendar unit end one second before the next unit (inclusive end), the day
// and minute ranges at the start of the next day or minute (exclusive end).

#include <cstdint>

#include "tq/dates/TQDateRange.h"
#include "tq/platform/value/Calendar.h"

namespace tq::TQFoundation {

/// Era 1, the year, month and day, 00:00:00.000.
Ref<Date> dateWithYear(const Calendar& calendar, std::int64_t year, std::int64_t month, std::int64_t day);
/// 1970-01-01 00:00:00 in the calendar.
Ref<Date> referenceDate(const Calendar& calendar);
/// Whole days from the start of the first date's day to the start of the
/// second's (negative when the second is earlier).
std::int64_t numberOfDaysBetweendDate(const Calendar& calendar, const Date& date, const Date& andDate);
/// Whole days from `referenceDate` to the start of the date's day, at most
/// 9223372036854775806.
std::int64_t daysSinceReferenceForDate(const Calendar& calendar, const Date& date);
/// Year, month and day, with hour, minute and second 0.
DateComponents TQyearMonthDayComponentsForDate(const Calendar& calendar, const Date& date);
/// Year, month, day, hour and minute, with second 0.
DateComponents TQyearMonthDayHoursMinutesComponentsForDate(const Calendar& calendar, const Date& date);

/// The unit (a CalendarUnit value) that holds the date, to one second before
/// the next: year, month, day, hour, minute, second; the weekday unit (512)
/// gives the week that starts on the Sunday of the date's week-of-year. Any
/// other unit starts at the start of the day and lasts one of that unit.
Ref<TQDateRange> TQrangeForUnitGranularity(const Calendar& calendar, std::uint64_t unit, const Date& ofDate);
/// The date's day, to the start of the next day.
Ref<TQDateRange> TQrangeContainingMoment(const Calendar& calendar, const Date& moment);
/// The start moment's minute to the start of the minute after the end
/// moment's.
Ref<TQDateRange> TQrangeForMinutesBetweenStartMoment(const Calendar& calendar, const Date& startMoment,
                                                     const Date& endMoment);
/// The start moment's day to the start of the day after the end moment's.
Ref<TQDateRange> TQrangeForDaysBetweenStartMoment(const Calendar& calendar, const Date& startMoment,
                                                  const Date& endMoment);
/// True unless the date is later than now, compared to the second.
bool isDateOnOrBeforeNow(const Calendar& calendar, const Date& date);
/// The date with its time of day read from a text in the current locale
/// ("7:30 PM", "19:30:00", "19:30"), seconds 0. A text that reads as no
/// time gives now, not the date.
Ref<Date> dateBySettingTime(const Calendar& calendar, const String& time, const Date& ofDate, std::uint64_t options);

}  // namespace tq::TQFoundation
