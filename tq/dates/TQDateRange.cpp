#include "tq/dates/TQDateRange.h"

#include <functional>
#include <unordered_map>

#include "tq/dates/CalendarTQFoundation.h"
#include "tq/platform/value/DateFormatter.h"

namespace tq {

namespace {

constexpr std::uint64_t DayUnits = CalendarUnitEra | CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay;
constexpr std::uint64_t MinuteUnits = DayUnits | CalendarUnitHour | CalendarUnitMinute;

/// The instant the components name, with `unit` moved by `step` first.
Ref<Date> fromComponents(const Calendar& calendar, DateComponents components, CalendarUnit unit, std::int64_t step) {
  if (step) components.setValue(components.field(unit)->value_or(0) + step, unit);
  return calendar.dateFromComponents(components);
}

Ref<Date> oneSecondBefore(const Ref<Date>& date) { return date ? date->dateByAddingTimeInterval(-1) : nullptr; }

std::uint64_t wholeSeconds(const Ref<Date>& date) {
  if (!date) return 0;
  double seconds = date->timeIntervalSince1970();
  // Before 1970 (or beyond 64 bits) the value means nothing; it must at least
  // not be undefined behaviour.
  if (!(seconds > -9.2e18 && seconds < 9.2e18)) return 0;
  return std::uint64_t(std::int64_t(seconds));
}

/// The range of `unit` that holds now moved by `step` of `stepUnit`.
Ref<TQDateRange> unitRangeAround(CalendarUnit unit, CalendarUnit stepUnit, std::int64_t step) {
  Ref<Calendar> calendar = Calendar::currentCalendar();
  Ref<Date> moment = Date::date();
  if (step) moment = calendar->dateByAddingUnit(stepUnit, step, *moment);
  return TQFoundation::TQrangeForUnitGranularity(*calendar, unit, *moment);
}

Ref<TQDateRange> pastDue() {
  Ref<Calendar> calendar = Calendar::currentCalendar();
  Ref<Date> yesterday = calendar->dateByAddingUnit(CalendarUnitDay, -1, *Date::date());
  return TQDateRange::rangeForDaysBetweenStartDate(TQFoundation::referenceDate(*calendar), yesterday,
                                                   TQDateRangeIncludeEndUnit);
}

Ref<TQDateRange> future() {
  Ref<Calendar> calendar = Calendar::currentCalendar();
  Ref<Date> tomorrow = calendar->dateByAddingUnit(CalendarUnitDay, 1, *Date::date());
  return TQDateRange::rangeForDaysBetweenStartDate(tomorrow, Date::distantFuture(), TQDateRangeIncludeEndUnit);
}

const std::unordered_map<std::string_view, std::function<Ref<TQDateRange>()>>& relativeRanges() {
  static const std::unordered_map<std::string_view, std::function<Ref<TQDateRange>()>> ranges{
      {"TODAY", [] { return unitRangeAround(CalendarUnitDay, CalendarUnitDay, 0); }},
      {"TOMORROW", [] { return unitRangeAround(CalendarUnitDay, CalendarUnitDay, 1); }},
      {"YESTERDAY", [] { return unitRangeAround(CalendarUnitDay, CalendarUnitDay, -1); }},
      {"PASTDUE", pastDue},
      {"LAST_WEEK", [] { return unitRangeAround(CalendarUnitWeekday, CalendarUnitWeekOfYear, -1); }},
      {"THIS_WEEK", [] { return unitRangeAround(CalendarUnitWeekday, CalendarUnitWeekOfYear, 0); }},
      {"NEXT_WEEK", [] { return unitRangeAround(CalendarUnitWeekday, CalendarUnitWeekOfYear, 1); }},
      {"LAST_MONTH", [] { return unitRangeAround(CalendarUnitMonth, CalendarUnitMonth, -1); }},
      {"THIS_MONTH", [] { return unitRangeAround(CalendarUnitMonth, CalendarUnitMonth, 0); }},
      {"NEXT_MONTH", [] { return unitRangeAround(CalendarUnitMonth, CalendarUnitMonth, 1); }},
      {"FUTURE", future},
  };
  return ranges;
}

}  // namespace

Ref<TQDateRange> TQDateRange::rangeForDayContainingDate(const Date& date) {
  Ref<Calendar> calendar = Calendar::currentCalendar();
  DateComponents day = calendar->components(DayUnits, date);
  return make<TQDateRange>(fromComponents(*calendar, day, CalendarUnitDay, 0),
                           fromComponents(*calendar, day, CalendarUnitDay, 1));
}

Ref<TQDateRange> TQDateRange::rangeForDayContainingDate(const Date& date, const TimeZone& inTimeZone) {
  Ref<Calendar> calendar = Calendar::currentCalendar();
  calendar->setTimeZone(cast<TimeZone>(inTimeZone.copy()));
  DateComponents day = calendar->components(DayUnits, date);
  day.timeZone = calendar->timeZone();
  return make<TQDateRange>(fromComponents(*calendar, day, CalendarUnitDay, 0),
                           fromComponents(*calendar, day, CalendarUnitDay, 1));
}

Ref<TQDateRange> TQDateRange::rangeForMinutesBetweenStartDate(const Date& startDate, const Date& endDate,
                                                              std::uint64_t options) {
  Ref<Calendar> calendar = Calendar::currentCalendar();
  const std::int64_t extra = (options & TQDateRangeIncludeEndUnit) ? 1 : 0;
  return make<TQDateRange>(
      fromComponents(*calendar, calendar->components(MinuteUnits, startDate), CalendarUnitMinute, 0),
      oneSecondBefore(fromComponents(*calendar, calendar->components(MinuteUnits, endDate), CalendarUnitMinute, extra)));
}

Ref<TQDateRange> TQDateRange::rangeForDaysBetweenStartDate(const Ref<Date>& startDate, const Ref<Date>& endDate,
                                                           std::uint64_t options) {
  Ref<Calendar> calendar = Calendar::currentCalendar();
  Ref<Date> now = Date::date();
  const std::int64_t extra = (options & TQDateRangeIncludeEndUnit) ? 1 : 0;
  return make<TQDateRange>(
      fromComponents(*calendar, calendar->components(DayUnits, startDate ? *startDate : *now), CalendarUnitDay, 0),
      oneSecondBefore(
          fromComponents(*calendar, calendar->components(DayUnits, endDate ? *endDate : *now), CalendarUnitDay, extra)));
}

Ref<TQDateRange> TQDateRange::dateRangeForRelativeDateRangeIdentifier(std::string_view identifier) {
  auto found = relativeRanges().find(identifier);
  if (found == relativeRanges().end()) return nullptr;
  Ref<TQDateRange> range = found->second();
  range->setIdentifier(str(identifier));
  return range;
}

Ref<TQDateRange> TQDateRange::dateRangeForRelativeDateRangeIdentifier(const String& identifier) {
  return dateRangeForRelativeDateRangeIdentifier(identifier.utf8());
}

Ref<String> TQDateRange::identifier() const {
  std::lock_guard lock(identifierMutex_);
  return identifier_;
}

void TQDateRange::setIdentifier(Ref<String> identifier) {
  std::lock_guard lock(identifierMutex_);
  identifier_ = std::move(identifier);
}

bool TQDateRange::containsTimeInterval(double secondsSince1970) const {
  return startDate_ && endDate_ && startDate_->timeIntervalSince1970() <= secondsSince1970 &&
         secondsSince1970 <= endDate_->timeIntervalSince1970();
}

std::int64_t TQDateRange::startDaysSinceReferenceDate() const {
  if (!startDate_) return 0;
  return TQFoundation::daysSinceReferenceForDate(*Calendar::currentCalendar(), *startDate_);
}

// Counted from the start date, as the stored ranges have always been.
std::int64_t TQDateRange::endDaysSinceReferenceDate() const { return startDaysSinceReferenceDate(); }

std::uint64_t TQDateRange::startSecondsSince1970() const { return wholeSeconds(startDate_); }
std::uint64_t TQDateRange::endSecondsSince1970() const { return wholeSeconds(endDate_); }

Ref<String> TQDateRange::description() const {
  thread_local const Ref<DateFormatter> formatter = [] {
    auto made = make<DateFormatter>();
    made->setLocale(Locale::localeWithLocaleIdentifier("en_US_POSIX"));
    made->setDateFormat("yyyy-MM-dd HH:mm:ss Z");
    return made;
  }();
  auto text = [&](const Ref<Date>& date) { return date ? formatter->stringFromDate(*date)->utf8() : "(null)"; };
  return str(text(startDate_) + " - " + text(endDate_));
}

}  // namespace tq
