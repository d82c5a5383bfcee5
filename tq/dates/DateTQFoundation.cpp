#include "tq/dates/DateTQFoundation.h"

#include "tq/dates/ISODates.h"

namespace tq::TQFoundation {

Ref<String> tq_ISO8601String(const Date& date) { return ISODates::FKISO8601dateFormatter()->stringFromDate(date); }

Ref<Date> dateWithISO8601String(const Ref<String>& text) {
  if (!text) return nullptr;
  return ISODates::FKISO8601dateFormatter()->dateFromString(*text);
}

TimeInterval lapsedTime(const Date& date) { return -date.timeIntervalSinceDate(Date(Date::now())); }

}  // namespace tq::TQFoundation
