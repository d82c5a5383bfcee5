#pragma once
// A fixed world for date tests: the wall clock stopped at a moment, the time
// zone and the locale installed through their seams; and short ways to name
// instants and read them back as local wall times.

#include <memory>
#include <string>
#include <string_view>

#include "tq/dates/ISODates.h"
#include "tq/dates/TQDateRange.h"
#include "tq/platform/system/Clocks.h"
#include "tq/platform/system/LocaleSetting.h"
#include "tq/platform/system/TimeZoneSetting.h"
#include "tq/platform/value/DateFormatter.h"

namespace tq::testing {

/// An RFC 3339 moment ("2024-02-10T12:00:00Z", "2024-03-10T01:30:00-05:00").
inline Ref<Date> moment(std::string_view rfc3339) {
  Ref<Date> date = ISODates::FKISO8601dateFormatterUTC()->dateFromString(*str(rfc3339));
  if (!date) throw std::invalid_argument("not an RFC 3339 moment: " + std::string(rfc3339));
  return date;
}

/// The instant as "yyyy-MM-dd HH:mm:ss" in the installed zone; "nil" for nil.
inline std::string local(const Ref<Date>& date) {
  if (!date) return "nil";
  auto formatter = make<DateFormatter>();
  formatter->setLocale(Locale::localeWithLocaleIdentifier("en_US_POSIX"));
  formatter->setDateFormat("yyyy-MM-dd HH:mm:ss");
  return formatter->stringFromDate(*date)->utf8();
}

/// "START / END" in local wall times.
inline std::string span(const Ref<TQDateRange>& range) {
  return range ? local(range->startDate()) + " / " + local(range->endDate()) : "nil";
}

/// Now, the zone and the locale fixed for the scope.
class DateWorld {
 public:
  DateWorld(std::string_view now, std::string zone, std::string locale = "en_US")
      : clock_(std::make_shared<ManualClock>(moment(now)->timeIntervalSince1970())),
        zone_(std::move(zone)),
        locale_(std::move(locale)) {}

 private:
  ScopedClock<WallClock> clock_;
  ScopedTimeZone zone_;
  ScopedLocale locale_;
};

}  // namespace tq::testing
