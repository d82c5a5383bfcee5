#pragma once
// A span of time between two instants, used to filter items by date: the day
// that holds a date, whole days or minutes between two dates, and the named
// relative spans ("TODAY", "LAST_WEEK", "PASTDUE" ...) that a search or rule
// stores by identifier. Everything is computed in the current calendar (the
// current locale's first weekday, the local zone).

#include <cstdint>
#include <mutex>
#include <string>

#include "tq/platform/object/Object.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/String.h"
#include "tq/platform/value/TimeZone.h"

namespace tq {

/// The "between" constructors' option: the end day or minute is included whole.
inline constexpr std::uint64_t TQDateRangeIncludeEndUnit = 1;

class TQDateRange : public Object {
 public:
  TQDateRange(Ref<Date> startDate, Ref<Date> endDate) : startDate_(std::move(startDate)), endDate_(std::move(endDate)) {}

  /// From 00:00 of the date's day to 00:00 of the next day (exclusive end),
  /// in the local zone, or in `zone`.
  static Ref<TQDateRange> rangeForDayContainingDate(const Date& date);
  static Ref<TQDateRange> rangeForDayContainingDate(const Date& date, const TimeZone& inTimeZone);
  /// From the start of the start date's minute to one second before the
  /// minute after the end date's (option 1) or before the end date's own
  /// minute (option 0). Without options: option 1.
  static Ref<TQDateRange> rangeForMinutesBetweenStartDate(const Date& startDate, const Date& endDate,
                                                          std::uint64_t options = TQDateRangeIncludeEndUnit);
  /// From 00:00 of the start date's day to 23:59:59 of the end date's day
  /// (option 1) or of the day before it (option 0); a nil date counts as now.
  static Ref<TQDateRange> rangeForDaysBetweenStartDate(const Ref<Date>& startDate, const Ref<Date>& endDate,
                                                       std::uint64_t options = TQDateRangeIncludeEndUnit);
  /// The range an identifier ("TODAY", "TOMORROW", "YESTERDAY", "PASTDUE",
  /// "LAST_WEEK", "THIS_WEEK", "NEXT_WEEK", "LAST_MONTH", "THIS_MONTH",
  /// "NEXT_MONTH", "FUTURE"; exactly so, upper case) stands for now, with
  /// `identifier` set; nil for any other text.
  static Ref<TQDateRange> dateRangeForRelativeDateRangeIdentifier(const String& identifier);
  static Ref<TQDateRange> dateRangeForRelativeDateRangeIdentifier(std::string_view identifier);

  Ref<Date> startDate() const { return startDate_; }
  void setStartDate(Ref<Date> date) { startDate_ = std::move(date); }
  Ref<Date> endDate() const { return endDate_; }
  void setEndDate(Ref<Date> date) { endDate_ = std::move(date); }
  /// Read and written under the range's lock.
  Ref<String> identifier() const;
  void setIdentifier(Ref<String> identifier);
  /// Stored for callers; no constructor sets it.
  std::uint64_t calendarUnit() const { return calendarUnit_; }
  void setCalendarUnit(std::uint64_t unit) { calendarUnit_ = unit; }

  /// Whether start <= t <= end, t in seconds since 1970.
  bool containsTimeInterval(double secondsSince1970) const;
  /// Whole days from 1970-01-01 to the start date's day (current calendar).
  std::int64_t startDaysSinceReferenceDate() const;
  /// The same count, taken from the start date as well: the end date is
  /// never looked at.
  std::int64_t endDaysSinceReferenceDate() const;
  /// Seconds since 1970 with the fraction dropped; meaningless before 1970.
  std::uint64_t startSecondsSince1970() const;
  std::uint64_t endSecondsSince1970() const;

  /// "START - END", each "yyyy-MM-dd HH:mm:ss Z" in the local zone.
  Ref<String> description() const override;
  std::string className() const override { return "TQDateRange"; }

 private:
  Ref<Date> startDate_;
  Ref<Date> endDate_;
  mutable std::mutex identifierMutex_;
  Ref<String> identifier_;
  std::uint64_t calendarUnit_ = 0;
};

}  // namespace tq
