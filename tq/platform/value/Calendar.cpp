#include "tq/platform/value/Calendar.h"

#include <array>
#include <climits>

#include "tq/platform/value/internal/ICUDates.h"

namespace tq {

struct Calendar::Engine {
  std::unique_ptr<icu::GregorianCalendar> calendar;
};

namespace {

/// The ICU field of each unit that maps onto one; quarter and nanosecond are
/// derived from month and millisecond.
struct UnitField {
  CalendarUnit unit;
  UCalendarDateFields field;
};
// Largest first: the order in which components are set (later fields win
// ICU's resolution of conflicting ones) and added.
constexpr std::array<UnitField, 12> UnitFields{{
    {CalendarUnitEra, UCAL_ERA},
    {CalendarUnitYear, UCAL_YEAR},
    {CalendarUnitYearForWeekOfYear, UCAL_YEAR_WOY},
    {CalendarUnitMonth, UCAL_MONTH},
    {CalendarUnitWeekOfYear, UCAL_WEEK_OF_YEAR},
    {CalendarUnitWeekOfMonth, UCAL_WEEK_OF_MONTH},
    {CalendarUnitDay, UCAL_DATE},
    {CalendarUnitWeekday, UCAL_DAY_OF_WEEK},
    {CalendarUnitWeekdayOrdinal, UCAL_DAY_OF_WEEK_IN_MONTH},
    {CalendarUnitHour, UCAL_HOUR_OF_DAY},
    {CalendarUnitMinute, UCAL_MINUTE},
    {CalendarUnitSecond, UCAL_SECOND},
}};

/// ICU counts months from 0; everything else is stored as the calendar counts.
int32_t toICU(CalendarUnit unit, std::int64_t value) {
  return int32_t(unit == CalendarUnitMonth ? value - 1 : value);
}
std::int64_t fromICU(CalendarUnit unit, int32_t value) { return unit == CalendarUnitMonth ? value + 1 : value; }

bool fitsICU(std::int64_t value) { return value > INT32_MIN + 1 && value < INT32_MAX - 1; }

Ref<Date> timeOf(icu::Calendar& calendar) {
  UErrorCode status = U_ZERO_ERROR;
  UDate time = calendar.getTime(status);
  return U_SUCCESS(status) ? detail::dateFromICU(time) : nullptr;
}

/// Sets the calendar from components after clearing it: unset fields are
/// at the start of their unit.
bool setComponents(icu::Calendar& calendar, const DateComponents& components) {
  calendar.clear();
  for (const UnitField& unitField : UnitFields) {
    const std::optional<std::int64_t>* value = components.field(unitField.unit);
    if (!*value) continue;
    if (!fitsICU(**value)) return false;
    calendar.set(unitField.field, toICU(unitField.unit, **value));
  }
  if (components.nanosecond) calendar.set(UCAL_MILLISECOND, int32_t(*components.nanosecond / 1000000));
  return true;
}

/// The start of the day after the one that starts at `dayStart` (a day may
/// start after midnight, when its midnight is skipped).
Ref<Date> nextDayStart(const Calendar& calendar, const Date& dayStart) {
  Ref<Date> next = calendar.dateByAddingUnit(CalendarUnitDay, 1, dayStart);
  return next ? calendar.startOfDayForDate(*next) : nullptr;
}

}  // namespace

std::optional<std::int64_t>* DateComponents::field(CalendarUnit unit) {
  return const_cast<std::optional<std::int64_t>*>(static_cast<const DateComponents*>(this)->field(unit));
}

const std::optional<std::int64_t>* DateComponents::field(CalendarUnit unit) const {
  switch (unit) {
    case CalendarUnitEra: return &era;
    case CalendarUnitYear: return &year;
    case CalendarUnitMonth: return &month;
    case CalendarUnitDay: return &day;
    case CalendarUnitHour: return &hour;
    case CalendarUnitMinute: return &minute;
    case CalendarUnitSecond: return &second;
    case CalendarUnitNanosecond: return &nanosecond;
    case CalendarUnitWeekday: return &weekday;
    case CalendarUnitWeekdayOrdinal: return &weekdayOrdinal;
    case CalendarUnitQuarter: return &quarter;
    case CalendarUnitWeekOfMonth: return &weekOfMonth;
    case CalendarUnitWeekOfYear: return &weekOfYear;
    case CalendarUnitYearForWeekOfYear: return &yearForWeekOfYear;
  }
  return nullptr;
}

Ref<Calendar> Calendar::currentCalendar() { return make<Calendar>(TimeZone::localTimeZone(), Locale::currentLocale()); }

Calendar::Calendar(Ref<TimeZone> zone, Ref<Locale> locale)
    : zone_(std::move(zone)), locale_(std::move(locale)), engine_(std::make_unique<Engine>()) {
  engine_->calendar = detail::makeGregorianCalendar(detail::icuZone(*zone_), detail::icuLocale(*locale_));
}

Calendar::~Calendar() = default;

Id Calendar::copy() const {
  auto copied = make<Calendar>(timeZone(), locale());
  copied->setFirstWeekday(firstWeekday());
  copied->setMinimumDaysInFirstWeek(minimumDaysInFirstWeek());
  return copied;
}

Ref<TimeZone> Calendar::timeZone() const {
  std::lock_guard lock(mutex_);
  return zone_;
}

void Calendar::setTimeZone(Ref<TimeZone> zone) {
  if (!zone) zone = TimeZone::localTimeZone();
  std::lock_guard lock(mutex_);
  zone_ = std::move(zone);
  engine_->calendar->setTimeZone(detail::icuZone(*zone_));
}

Ref<Locale> Calendar::locale() const {
  std::lock_guard lock(mutex_);
  return locale_;
}

int Calendar::firstWeekday() const {
  std::lock_guard lock(mutex_);
  UErrorCode status = U_ZERO_ERROR;
  return int(engine_->calendar->getFirstDayOfWeek(status));
}

void Calendar::setFirstWeekday(int weekday) {
  std::lock_guard lock(mutex_);
  if (weekday >= 1 && weekday <= 7) engine_->calendar->setFirstDayOfWeek(UCalendarDaysOfWeek(weekday));
}

int Calendar::minimumDaysInFirstWeek() const {
  std::lock_guard lock(mutex_);
  return engine_->calendar->getMinimalDaysInFirstWeek();
}

void Calendar::setMinimumDaysInFirstWeek(int days) {
  std::lock_guard lock(mutex_);
  if (days >= 1 && days <= 7) engine_->calendar->setMinimalDaysInFirstWeek(uint8_t(days));
}

DateComponents Calendar::components(std::uint64_t units, const Date& date) const {
  std::lock_guard lock(mutex_);
  icu::Calendar& calendar = *engine_->calendar;
  UErrorCode status = U_ZERO_ERROR;
  calendar.setTime(detail::icuDate(date), status);
  DateComponents result;
  for (const UnitField& unitField : UnitFields) {
    if (units & unitField.unit) *result.field(unitField.unit) = fromICU(unitField.unit, calendar.get(unitField.field, status));
  }
  if (units & CalendarUnitQuarter) result.quarter = calendar.get(UCAL_MONTH, status) / 3 + 1;
  if (units & CalendarUnitNanosecond) result.nanosecond = std::int64_t(calendar.get(UCAL_MILLISECOND, status)) * 1000000;
  return result;
}

std::int64_t Calendar::component(CalendarUnit unit, const Date& date) const {
  DateComponents parts = components(unit, date);
  const std::optional<std::int64_t>* value = parts.field(unit);
  return value && *value ? **value : 0;
}

Ref<Date> Calendar::dateFromComponents(const DateComponents& components) const {
  std::lock_guard lock(mutex_);
  icu::Calendar& calendar = *engine_->calendar;
  if (components.timeZone) calendar.setTimeZone(detail::icuZone(*components.timeZone));
  Ref<Date> result = setComponents(calendar, components) ? timeOf(calendar) : nullptr;
  if (components.timeZone) calendar.setTimeZone(detail::icuZone(*zone_));
  return result;
}

Ref<Date> Calendar::dateByAddingComponents(const DateComponents& components, const Date& date) const {
  std::lock_guard lock(mutex_);
  icu::Calendar& calendar = *engine_->calendar;
  UErrorCode status = U_ZERO_ERROR;
  calendar.setTime(detail::icuDate(date), status);
  for (const UnitField& unitField : UnitFields) {
    const std::optional<std::int64_t>* value = components.field(unitField.unit);
    if (!*value) continue;
    if (!fitsICU(**value)) return nullptr;
    // A weekday or its ordinal counts days and weeks when added.
    UCalendarDateFields field = unitField.unit == CalendarUnitWeekday ? UCAL_DATE
                                : unitField.unit == CalendarUnitWeekdayOrdinal ? UCAL_WEEK_OF_MONTH
                                                                                : unitField.field;
    calendar.add(field, int32_t(**value), status);
  }
  if (components.quarter && fitsICU(*components.quarter * 3)) calendar.add(UCAL_MONTH, int32_t(*components.quarter * 3), status);
  if (components.nanosecond) calendar.add(UCAL_MILLISECOND, int32_t(*components.nanosecond / 1000000), status);
  return U_SUCCESS(status) ? timeOf(calendar) : nullptr;
}

Ref<Date> Calendar::dateByAddingUnit(CalendarUnit unit, std::int64_t value, const Date& date) const {
  DateComponents components;
  if (unit == CalendarUnitNanosecond) {
    components.nanosecond = value;
  } else if (auto* field = components.field(unit)) {
    *field = value;
  } else {
    return nullptr;
  }
  return dateByAddingComponents(components, date);
}

std::int64_t Calendar::dayNumber(const Date& date) const {
  std::lock_guard lock(mutex_);
  UErrorCode status = U_ZERO_ERROR;
  engine_->calendar->setTime(detail::icuDate(date), status);
  return engine_->calendar->get(UCAL_JULIAN_DAY, status);
}

Ref<Date> Calendar::startOfDayForDate(const Date& date) const {
  DateComponents day = components(CalendarUnitEra | CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay, date);
  std::lock_guard lock(mutex_);
  icu::Calendar& calendar = *engine_->calendar;
  // A midnight that is repeated starts the day at its first occurrence.
  calendar.setRepeatedWallTimeOption(UCAL_WALLTIME_FIRST);
  Ref<Date> start = setComponents(calendar, day) ? timeOf(calendar) : nullptr;
  calendar.setRepeatedWallTimeOption(UCAL_WALLTIME_LAST);
  return start;
}

Range Calendar::rangeOfUnit(CalendarUnit smaller, CalendarUnit larger, const Date& date) const {
  std::lock_guard lock(mutex_);
  icu::Calendar& calendar = *engine_->calendar;
  UErrorCode status = U_ZERO_ERROR;
  calendar.setTime(detail::icuDate(date), status);
  UCalendarDateFields field = UCAL_DATE;
  if (smaller == CalendarUnitDay && larger == CalendarUnitYear) field = UCAL_DAY_OF_YEAR;
  else if (smaller == CalendarUnitMonth) field = UCAL_MONTH;
  else if (smaller == CalendarUnitHour) field = UCAL_HOUR_OF_DAY;
  else if (smaller == CalendarUnitMinute) field = UCAL_MINUTE;
  else if (smaller == CalendarUnitSecond) field = UCAL_SECOND;
  else if (smaller == CalendarUnitWeekday) field = UCAL_DAY_OF_WEEK;
  else if (smaller != CalendarUnitDay) return Range{NotFound, 0};
  int32_t low = calendar.getActualMinimum(field, status), high = calendar.getActualMaximum(field, status);
  if (U_FAILURE(status)) return Range{NotFound, 0};
  if (field == UCAL_MONTH) ++low, ++high;
  return Range{Index(low), Index(high - low + 1)};
}

Ref<Date> Calendar::nextDateAfterDate(const Date& date, const DateComponents& matching, std::uint64_t) const {
  // Unset units smaller than the smallest set one take their first value;
  // larger unset ones are free. Candidates are tried day by day.
  const bool anyTime = matching.hour || matching.minute || matching.second;
  const bool hoursFree = !matching.hour && (matching.minute || matching.second);
  const bool minutesFree = !matching.minute && matching.second;
  Ref<Date> day = startOfDayForDate(date);
  for (int step = 0; day && step < 400 * 366; ++step, day = nextDayStart(*this, *day)) {
    DateComponents parts = components(CalendarUnitEra | CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay |
                                          CalendarUnitWeekday, *day);
    if ((matching.era && *matching.era != *parts.era) || (matching.year && *matching.year != *parts.year) ||
        (matching.month && *matching.month != *parts.month) || (matching.day && *matching.day != *parts.day) ||
        (matching.weekday && *matching.weekday != *parts.weekday)) {
      continue;
    }
    if (!anyTime) {
      if (day->compare(date) == ComparisonResult::Descending) return day;
      continue;
    }
    const std::int64_t firstHour = hoursFree ? 0 : matching.hour.value_or(0);
    const std::int64_t firstMinute = minutesFree ? 0 : matching.minute.value_or(0);
    const std::int64_t lastHour = hoursFree ? 23 : firstHour, lastMinute = minutesFree ? 59 : firstMinute;
    for (std::int64_t hour = firstHour; hour <= lastHour; ++hour) {
      for (std::int64_t minute = firstMinute; minute <= lastMinute; ++minute) {
        DateComponents moment = parts;
        moment.weekday.reset();
        moment.hour = hour, moment.minute = minute, moment.second = matching.second.value_or(0);
        Ref<Date> candidate = dateFromComponents(moment);
        if (candidate && candidate->compare(date) == ComparisonResult::Descending) return candidate;
      }
    }
  }
  return nullptr;
}

Ref<Date> Calendar::dateBySettingHour(std::int64_t hour, std::int64_t minute, std::int64_t second, const Date& date,
                                      std::uint64_t options) const {
  DateComponents moment = components(CalendarUnitEra | CalendarUnitYear | CalendarUnitMonth | CalendarUnitDay, date);
  moment.hour = hour, moment.minute = minute, moment.second = second;
  std::lock_guard lock(mutex_);
  icu::Calendar& calendar = *engine_->calendar;
  if (options & CalendarMatchNextTime) calendar.setSkippedWallTimeOption(UCAL_WALLTIME_NEXT_VALID);
  Ref<Date> result = setComponents(calendar, moment) ? timeOf(calendar) : nullptr;
  calendar.setSkippedWallTimeOption(UCAL_WALLTIME_LAST);
  return result;
}

}  // namespace tq
