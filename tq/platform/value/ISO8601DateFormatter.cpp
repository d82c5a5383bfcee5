#include "tq/platform/value/ISO8601DateFormatter.h"

#include <unicode/smpdtfmt.h>

#include "tq/platform/value/internal/ICUDates.h"

namespace tq {

struct ISO8601DateFormatter::Engine {
  std::string zoneName;
  std::uint64_t options = 0;
  std::unique_ptr<icu::SimpleDateFormat> format;
};

namespace {

std::string datePattern(std::uint64_t options) {
  const std::string dash = (options & ISO8601WithDashSeparatorInDate) ? "-" : "";
  std::string pattern;
  auto append = [&](const std::string& part) { pattern += (pattern.empty() ? "" : dash) + part; };
  if (options & ISO8601WithWeekOfYear) {
    if (options & ISO8601WithYear) append("YYYY");
    append("'W'ww");
    if (options & ISO8601WithDay) append("e");
    return pattern;
  }
  if (options & ISO8601WithYear) append("yyyy");
  if (options & ISO8601WithMonth) append("MM");
  if (options & ISO8601WithDay) append((options & ISO8601WithMonth) ? "dd" : "DDD");
  return pattern;
}

std::string timePattern(std::uint64_t options) {
  if (!(options & ISO8601WithTime)) return "";
  const std::string colon = (options & ISO8601WithColonSeparatorInTime) ? ":" : "";
  return "HH" + colon + "mm" + colon + "ss" + ((options & ISO8601WithFractionalSeconds) ? ".SSS" : "");
}

}  // namespace

ISO8601DateFormatter::ISO8601DateFormatter() : zone_(TimeZone::timeZoneWithAbbreviation("GMT")) {}
ISO8601DateFormatter::~ISO8601DateFormatter() = default;

void ISO8601DateFormatter::setTimeZone(Ref<TimeZone> zone) { zone_ = std::move(zone); }
void ISO8601DateFormatter::setFormatOptions(std::uint64_t options) { options_ = options; }

std::string ISO8601DateFormatter::pattern() const {
  std::string date = datePattern(options_), time = timePattern(options_);
  std::string pattern = date;
  if (!date.empty() && !time.empty()) pattern += (options_ & ISO8601WithSpaceBetweenDateAndTime) ? " " : "'T'";
  pattern += time;
  // The long forms write the seconds of an offset that has them (local mean
  // time before 1900), so that every text written reads back as its instant.
  if (options_ & ISO8601WithTimeZone) pattern += (options_ & ISO8601WithColonSeparatorInTimeZone) ? "XXXXX" : "XXXX";
  return pattern;
}

ISO8601DateFormatter::Engine& ISO8601DateFormatter::engine() const {
  Ref<TimeZone> zone = zone_ ? zone_ : TimeZone::localTimeZone();
  if (engine_ && engine_->zoneName == zone->name() && engine_->options == options_) return *engine_;
  auto built = std::make_unique<Engine>();
  built->zoneName = zone->name();
  built->options = options_;
  UErrorCode status = U_ZERO_ERROR;
  icu::Locale posix("en_US_POSIX");
  built->format = std::make_unique<icu::SimpleDateFormat>(icu::UnicodeString::fromUTF8(pattern()), posix, status);
  // ISO 8601 weeks: Monday first, and the first week is the one with four
  // days of the new year.
  std::unique_ptr<icu::GregorianCalendar> calendar = detail::makeGregorianCalendar(detail::icuZone(*zone), posix);
  calendar->setFirstDayOfWeek(UCAL_MONDAY);
  calendar->setMinimalDaysInFirstWeek(4);
  built->format->adoptCalendar(calendar.release());
  detail::makeStrict(*built->format);
  engine_ = std::move(built);
  return *engine_;
}

void ISO8601DateFormatter::appendUTF8StringFromDate(const Date& date, std::string& out) const {
  icu::UnicodeString text;
  engine().format->format(detail::icuDate(date), text);
  text.toUTF8String(out);
}

Ref<String> ISO8601DateFormatter::stringFromDate(const Date& date) const {
  std::string text;
  appendUTF8StringFromDate(date, text);
  return str(text);
}

Ref<Date> ISO8601DateFormatter::dateFromString(const String& text) const {
  icu::UnicodeString source = detail::icuString(text);
  icu::ParsePosition position(0);
  UDate date = engine().format->parse(source, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != source.length()) return nullptr;
  return detail::dateFromICU(date);
}

}  // namespace tq
