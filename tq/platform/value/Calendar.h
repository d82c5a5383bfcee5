#pragma once
// Gregorian calendar arithmetic in a time zone and a locale: splitting a
// date into components, building a date from components (overflowing values
// roll over into the next unit), adding units, the start of a day, the next
// date that matches some components, and week numbers with the locale's
// first weekday. Wall times that a daylight-saving change skips are read
// with the offset before the change (02:30 on a spring-forward night is
// 03:30); wall times it repeats are read as the later of the two.

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>

#include "tq/platform/object/Object.h"
#include "tq/platform/object/Range.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/Locale.h"
#include "tq/platform/value/TimeZone.h"

namespace tq {

/// Calendar units, with the values the stored settings and the date
/// helpers use; combined as flags.
enum CalendarUnit : std::uint64_t {
  CalendarUnitEra = 2,
  CalendarUnitYear = 4,
  CalendarUnitMonth = 8,
  CalendarUnitDay = 16,
  CalendarUnitHour = 32,
  CalendarUnitMinute = 64,
  CalendarUnitSecond = 128,
  CalendarUnitWeekday = 512,
  CalendarUnitWeekdayOrdinal = 1024,
  CalendarUnitQuarter = 2048,
  CalendarUnitWeekOfMonth = 4096,
  CalendarUnitWeekOfYear = 8192,
  CalendarUnitYearForWeekOfYear = 16384,
  CalendarUnitNanosecond = 32768,
};

/// Options of the searches and of the setters.
enum CalendarOptions : std::uint64_t {
  CalendarWrapComponents = 1,
  CalendarMatchStrictly = 2,
  CalendarSearchBackwards = 4,
  CalendarMatchPreviousTimePreservingSmallerUnits = 256,
  CalendarMatchNextTimePreservingSmallerUnits = 512,
  CalendarMatchNextTime = 1024,
  CalendarMatchFirst = 4096,
  CalendarMatchLast = 8192,
};

/// Components of a date; unset ones are left to the calendar (the start of
/// the larger unit).
struct DateComponents {
  std::optional<std::int64_t> era, year, month, day, hour, minute, second, nanosecond, weekday, weekdayOrdinal,
      quarter, weekOfMonth, weekOfYear, yearForWeekOfYear;
  /// When set, the components are read in this zone instead of the calendar's.
  Ref<TimeZone> timeZone;

  /// The field of one unit (nullptr for a combination or an unknown unit).
  std::optional<std::int64_t>* field(CalendarUnit unit);
  const std::optional<std::int64_t>* field(CalendarUnit unit) const;
  void setValue(std::int64_t value, CalendarUnit unit) {
    if (auto* f = field(unit)) *f = value;
  }
};

class Calendar : public Object {
 public:
  /// A new Gregorian calendar in the current locale and the local zone (as the
  /// seams give them now).
  static Ref<Calendar> currentCalendar();
  Calendar(Ref<TimeZone> zone, Ref<Locale> locale);
  ~Calendar() override;

  std::string className() const override { return "Calendar"; }
  Id copy() const override;

  Ref<TimeZone> timeZone() const;
  void setTimeZone(Ref<TimeZone> zone);
  Ref<Locale> locale() const;
  /// 1 Sunday ... 7 Saturday; the locale's unless set.
  int firstWeekday() const;
  void setFirstWeekday(int weekday);
  int minimumDaysInFirstWeek() const;
  void setMinimumDaysInFirstWeek(int days);

  /// The components named by `units` (flags of CalendarUnit).
  DateComponents components(std::uint64_t units, const Date& date) const;
  /// One component.
  std::int64_t component(CalendarUnit unit, const Date& date) const;
  /// The date the components name; nil when they name none.
  Ref<Date> dateFromComponents(const DateComponents& components) const;
  /// The date with each set component added, largest unit first; nil when
  /// the result is out of range.
  Ref<Date> dateByAddingComponents(const DateComponents& components, const Date& date) const;
  Ref<Date> dateByAddingUnit(CalendarUnit unit, std::int64_t value, const Date& date) const;
  /// The number of the date's day in a count of days that runs through every
  /// calendar (the Julian day number: 1970-01-01 is 2440588), in the
  /// calendar's zone. Day counts between dates are differences of these.
  std::int64_t dayNumber(const Date& date) const;
  /// The first instant of the date's day (the first that exists there).
  Ref<Date> startOfDayForDate(const Date& date) const;
  /// The range of values `smaller` takes within the `larger` unit that holds
  /// the date (days of the month: location 1, length 28 to 31).
  Range rangeOfUnit(CalendarUnit smaller, CalendarUnit larger, const Date& date) const;
  /// The first date after `date` whose components match the given ones (the
  /// smaller unset ones at their start). Nil when none is found within 400
  /// years. Searches forward only; the options choose nothing else here.
  Ref<Date> nextDateAfterDate(const Date& date, const DateComponents& matching, std::uint64_t options) const;
  /// The date's day at that time; with CalendarMatchNextTime, a time that the
  /// day skips gives the next time that exists.
  Ref<Date> dateBySettingHour(std::int64_t hour, std::int64_t minute, std::int64_t second, const Date& date,
                              std::uint64_t options) const;

  struct Engine;

 private:
  mutable std::mutex mutex_;
  Ref<TimeZone> zone_;
  Ref<Locale> locale_;
  std::unique_ptr<Engine> engine_;
};

}  // namespace tq
