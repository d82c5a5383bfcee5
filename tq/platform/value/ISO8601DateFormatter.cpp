#include "tq/platform/value/ISO8601DateFormatter.h"

#include <unicode/smpdtfmt.h>

#include <cmath>

#include "tq/platform/system/TimeZoneSetting.h"
#include "tq/platform/value/internal/ICUDates.h"

namespace tq {

struct ISO8601DateFormatter::Engine {
  // What the engine was made for: the formatter's own zone, or the name the
  // zone seam gave when the formatter follows the local zone.
  Ref<TimeZone> ownZone;
  std::string localName;
  std::uint64_t options = 0;
  Ref<TimeZone> zone;
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

/// Days since 1970-01-01 to the proleptic Gregorian year, month and day (the
/// well-known civil-from-days computation, exact for every day).
void civilFromDays(std::int64_t days, std::int64_t& year, int& month, int& day) {
  days += 719468;
  const std::int64_t era = (days >= 0 ? days : days - 146096) / 146097;
  const std::int64_t dayOfEra = days - era * 146097;
  const std::int64_t yearOfEra = (dayOfEra - dayOfEra / 1460 + dayOfEra / 36524 - dayOfEra / 146096) / 365;
  const std::int64_t dayOfYear = dayOfEra - (365 * yearOfEra + yearOfEra / 4 - yearOfEra / 100);
  const std::int64_t monthIndex = (5 * dayOfYear + 2) / 153;
  day = int(dayOfYear - (153 * monthIndex + 2) / 5 + 1);
  month = int(monthIndex < 10 ? monthIndex + 3 : monthIndex - 9);
  year = yearOfEra + era * 400 + (month <= 2);
}

void appendDigits(std::string& out, std::int64_t value, int width) {
  char digits[8];
  for (int i = width - 1; i >= 0; --i, value /= 10) digits[i] = char('0' + value % 10);
  out.append(digits, std::size_t(width));
}

/// The internet date-time form written directly: the same text as the
/// pattern "yyyy-MM-dd'T'HH:mm:ss[.SSS]XXXXX" in a proleptic Gregorian
/// calendar, without the pattern machinery, which costs most of the time of
/// a stamp. False (nothing written) for a year outside 0000-9999, which the
/// pattern writes in its own way.
bool appendInternetDateTime(UDate millisecondsSince1970, const icu::TimeZone& zone, bool fractional, std::string& out) {
  if (!(millisecondsSince1970 > -6.3e13 && millisecondsSince1970 < 2.5e14)) return false;
  int32_t raw = 0, dst = 0;
  UErrorCode status = U_ZERO_ERROR;
  const std::int64_t millis = std::int64_t(std::floor(millisecondsSince1970));
  zone.getOffset(double(millis), false, raw, dst, status);
  if (U_FAILURE(status)) return false;
  const std::int64_t offset = raw + dst, local = millis + offset;
  std::int64_t days = local / 86400000;
  if (local % 86400000 < 0) --days;
  const std::int64_t inDay = local - days * 86400000;
  std::int64_t year;
  int month, day;
  civilFromDays(days, year, month, day);
  if (year < 0 || year > 9999) return false;
  appendDigits(out, year, 4), out += '-', appendDigits(out, month, 2), out += '-', appendDigits(out, day, 2);
  out += 'T', appendDigits(out, inDay / 3600000, 2), out += ':', appendDigits(out, inDay / 60000 % 60, 2);
  out += ':', appendDigits(out, inDay / 1000 % 60, 2);
  if (fractional) out += '.', appendDigits(out, inDay % 1000, 3);
  if (offset == 0) {
    out += 'Z';
    return true;
  }
  const std::int64_t seconds = (offset < 0 ? -offset : offset) / 1000;
  out += offset < 0 ? '-' : '+', appendDigits(out, seconds / 3600, 2), out += ':', appendDigits(out, seconds / 60 % 60, 2);
  if (seconds % 60) out += ':', appendDigits(out, seconds % 60, 2);
  return true;
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
  // Following the local zone, the seam's name is compared first: looking the
  // zone up again at every date would cost more than writing it.
  std::string localName = zone_ ? std::string() : TimeZoneSetting::current()->identifier();
  if (engine_ && engine_->options == options_ && engine_->ownZone == zone_ && engine_->localName == localName) {
    return *engine_;
  }
  Ref<TimeZone> zone = zone_ ? zone_ : TimeZone::localTimeZone();
  auto built = std::make_unique<Engine>();
  built->ownZone = zone_;
  built->localName = std::move(localName);
  built->zone = zone;
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
  Engine& engine = this->engine();
  if ((options_ | ISO8601WithFractionalSeconds) == (ISO8601WithInternetDateTime | ISO8601WithFractionalSeconds) &&
      appendInternetDateTime(detail::icuDate(date), detail::icuZone(*engine.zone),
                             options_ & ISO8601WithFractionalSeconds, out)) {
    return;
  }
  icu::UnicodeString text;
  engine.format->format(detail::icuDate(date), text);
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
