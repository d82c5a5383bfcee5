#include "tq/dates/DateTransformers.h"

#include <functional>

#include "tq/platform/value/Calendar.h"

namespace tq {

namespace {

/// The one "yyyy-MM-dd" formatter of the process, used under its lock:
/// bindings may transform from any thread.
Ref<Date> withDayFormatter(const std::function<Ref<Date>(DateFormatter&)>& use) {
  static std::mutex mutex;
  static const Ref<DateFormatter> formatter = [] {
    auto made = make<DateFormatter>();
    made->setDateFormat("yyyy-MM-dd");
    return made;
  }();
  std::lock_guard lock(mutex);
  return use(*formatter);
}

}  // namespace

Id TQDateStringToDateTransformer::transformedValue(const Id& value) const {
  auto text = cast<String>(value);
  Ref<Date> date = text ? withDayFormatter([&](DateFormatter& f) { return f.dateFromString(*text); }) : nullptr;
  return date ? date : Date::date();
}

Id TQDateStringToDateTransformer::reverseTransformedValue(const Id& value) const {
  auto date = cast<Date>(value);
  if (!date) return nullptr;
  Ref<String> text;
  withDayFormatter([&](DateFormatter& f) {
    text = f.stringFromDate(*date);
    return nullptr;
  });
  return text;
}

Id TQTimeStringToDateTransformer::transformedValue(const Id& value) const {
  auto text = cast<String>(value);
  if (!text) return Date::date();
  Ref<Calendar> calendar = Calendar::currentCalendar();
  DateFormatter formatter;
  for (const char* pattern : {"hh:mm a", "HH:mm"}) {
    formatter.setDateFormat(pattern);
    Ref<Date> parsed = formatter.dateFromString(*text);
    if (!parsed) continue;
    DateComponents clock = calendar->components(CalendarUnitHour | CalendarUnitMinute, *parsed);
    Ref<Date> day = calendar->dateBySettingHour(*clock.hour, *clock.minute, 0, Date(0), CalendarMatchNextTime);
    return day ? day : Date::date();
  }
  return Date::date();
}

Id TQTimeStringToDateTransformer::reverseTransformedValue(const Id& value) const {
  auto date = cast<Date>(value);
  if (!date) return nullptr;
  std::lock_guard lock(mutex_);
  if (!reverseFormatter_) {
    reverseFormatter_ = make<DateFormatter>();
    reverseFormatter_->setDateFormat("HH:mm");
  }
  return reverseFormatter_->stringFromDate(*date);
}

}  // namespace tq
