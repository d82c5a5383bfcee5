#include "tq/platform/value/DateFormatter.h"

#include <unicode/datefmt.h>
#include <unicode/dtptngen.h>
#include <unicode/reldatefmt.h>
#include <unicode/smpdtfmt.h>

#include "tq/platform/system/LocaleSetting.h"
#include "tq/platform/system/TimeZoneSetting.h"
#include "tq/platform/value/internal/ICUDates.h"

namespace tq {

/// The ICU formatters for one locale and zone, rebuilt when either changes.
struct DateFormatter::Engine {
  std::string localeIdentifier;
  std::string zoneName;
  std::unique_ptr<icu::DateFormat> format;
  icu::UnicodeString trailingLiteral;
  // Relative formatting: the words for yesterday, today and tomorrow, the
  // time alone to follow them, the locale's glue ("{1}, {0}") and a calendar
  // to count days in.
  std::unique_ptr<icu::RelativeDateTimeFormatter> days;
  std::unique_ptr<icu::DateFormat> timeAlone;
  icu::UnicodeString glue;
  std::unique_ptr<icu::Calendar> calendar;
};

namespace {

icu::DateFormat::EStyle icuStyle(DateFormatterStyle style) {
  switch (style) {
    case DateFormatterStyle::Short: return icu::DateFormat::kShort;
    case DateFormatterStyle::Medium: return icu::DateFormat::kMedium;
    case DateFormatterStyle::Long: return icu::DateFormat::kLong;
    case DateFormatterStyle::Full: return icu::DateFormat::kFull;
    case DateFormatterStyle::None: break;
  }
  return icu::DateFormat::kNone;
}

std::unique_ptr<icu::DateFormat> patternFormat(const icu::UnicodeString& pattern, const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  auto format = std::make_unique<icu::SimpleDateFormat>(pattern, locale, status);
  if (U_FAILURE(status)) return nullptr;
  return format;
}

icu::UnicodeString bestPattern(const std::string& dateTemplate, const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  std::unique_ptr<icu::DateTimePatternGenerator> generator(icu::DateTimePatternGenerator::createInstance(locale, status));
  if (U_FAILURE(status)) return icu::UnicodeString::fromUTF8(dateTemplate);
  return generator->getBestPattern(icu::UnicodeString::fromUTF8(dateTemplate), status);
}

/// Days from now's day to the date's day in the calendar's zone.
int32_t dayDifference(icu::Calendar& calendar, const Date& date) {
  UErrorCode status = U_ZERO_ERROR;
  calendar.setTime(Date::now() * 1000.0 + TimeIntervalSince1970 * 1000.0, status);
  int32_t today = calendar.get(UCAL_JULIAN_DAY, status);
  calendar.setTime(detail::icuDate(date), status);
  return calendar.get(UCAL_JULIAN_DAY, status) - today;
}

/// The literal text after the pattern's last field ("@" of "...Z@"), quotes
/// taken off: ICU accepts a text that stops before it.
icu::UnicodeString trailingLiteral(const icu::UnicodeString& pattern) {
  int32_t afterLastField = 0;
  bool quoted = false;
  for (int32_t i = 0; i < pattern.length(); ++i) {
    char16_t c = pattern.charAt(i);
    if (c == u'\'') quoted = !quoted;
    else if (!quoted && ((c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z'))) afterLastField = i + 1;
  }
  icu::UnicodeString literal;
  for (int32_t i = afterLastField; i < pattern.length(); ++i) {
    char16_t c = pattern.charAt(i);
    if (c != u'\'') literal.append(c);
    else if (i + 1 < pattern.length() && pattern.charAt(i + 1) == u'\'') literal.append(c), ++i;
  }
  return literal;
}

}  // namespace

DateFormatter::DateFormatter() = default;
DateFormatter::~DateFormatter() = default;

void DateFormatter::invalidate() { engine_.reset(); }

void DateFormatter::setLocale(Ref<Locale> locale) {
  locale_ = std::move(locale);
  invalidate();
}
void DateFormatter::setTimeZone(Ref<TimeZone> zone) {
  zone_ = std::move(zone);
  invalidate();
}
void DateFormatter::setDateFormat(std::string_view pattern) {
  pattern_ = pattern;
  template_.clear();
  invalidate();
}
void DateFormatter::setDateStyle(DateFormatterStyle style) {
  dateStyle_ = style;
  pattern_.clear(), template_.clear();
  invalidate();
}
void DateFormatter::setTimeStyle(DateFormatterStyle style) {
  timeStyle_ = style;
  pattern_.clear(), template_.clear();
  invalidate();
}
void DateFormatter::setDoesRelativeDateFormatting(bool relative) {
  relative_ = relative;
  invalidate();
}
void DateFormatter::setLocalizedDateFormatFromTemplate(std::string_view dateTemplate) {
  template_ = dateTemplate;
  pattern_.clear();
  invalidate();
}
void DateFormatter::setLenient(bool lenient) {
  lenient_ = lenient;
  invalidate();
}

Ref<String> DateFormatter::dateFormat() const {
  if (!pattern_.empty()) return str(pattern_);
  auto* simple = dynamic_cast<icu::SimpleDateFormat*>(engine().format.get());
  if (!simple) return str("");
  icu::UnicodeString pattern;
  simple->toPattern(pattern);
  return detail::stringFromICU(pattern);
}

DateFormatter::Engine& DateFormatter::engine() const {
  // The seams' names are compared first: looking the zone up again at every
  // date would cost more than writing it.
  std::string localeIdentifier = locale_ ? locale_->localeIdentifier() : LocaleSetting::current()->identifier();
  std::string zoneName = zone_ ? zone_->name() : TimeZoneSetting::current()->identifier();
  if (engine_ && engine_->localeIdentifier == localeIdentifier && engine_->zoneName == zoneName) return *engine_;

  Ref<TimeZone> zone = zone_ ? zone_ : TimeZone::localTimeZone();
  auto built = std::make_unique<Engine>();
  built->localeIdentifier = localeIdentifier;
  built->zoneName = zoneName;
  icu::Locale locale = detail::icuLocale(*Locale::localeWithLocaleIdentifier(localeIdentifier));
  if (!pattern_.empty()) {
    built->format = patternFormat(icu::UnicodeString::fromUTF8(pattern_), locale);
  } else if (!template_.empty()) {
    built->format = patternFormat(bestPattern(template_, locale), locale);
  } else {
    built->format.reset(icu::DateFormat::createDateTimeInstance(icuStyle(dateStyle_), icuStyle(timeStyle_), locale));
  }
  if (!built->format) built->format = patternFormat(icu::UnicodeString(), locale);
  if (auto* simple = dynamic_cast<icu::SimpleDateFormat*>(built->format.get())) {
    icu::UnicodeString pattern;
    built->trailingLiteral = trailingLiteral(simple->toPattern(pattern));
  }
  built->format->setTimeZone(detail::icuZone(*zone));
  if (lenient_) {
    built->format->setLenient(true);
  } else {
    detail::makeStrict(*built->format);
  }
  if (relative_) {
    UErrorCode status = U_ZERO_ERROR;
    built->days = std::make_unique<icu::RelativeDateTimeFormatter>(
        locale, nullptr, UDAT_STYLE_LONG, UDISPCTX_CAPITALIZATION_FOR_BEGINNING_OF_SENTENCE, status);
    if (U_FAILURE(status)) built->days.reset();
    if (template_.empty() && timeStyle_ != DateFormatterStyle::None) {
      built->timeAlone.reset(icu::DateFormat::createTimeInstance(icuStyle(timeStyle_), locale));
      built->timeAlone->setTimeZone(detail::icuZone(*zone));
      std::unique_ptr<icu::DateTimePatternGenerator> generator(
          icu::DateTimePatternGenerator::createInstance(locale, status));
      built->glue = U_SUCCESS(status) ? generator->getDateTimeFormat() : icu::UnicodeString(u"{1}, {0}");
    }
    built->calendar.reset(built->format->getCalendar()->clone());
  }
  engine_ = std::move(built);
  return *engine_;
}

void DateFormatter::appendUTF8StringFromDate(const Date& date, std::string& out) const {
  Engine& engine = this->engine();
  icu::UnicodeString text;
  // Words stand for the date part only: a pattern or a time alone keeps its form.
  const bool hasDatePart = !template_.empty() || (pattern_.empty() && dateStyle_ != DateFormatterStyle::None);
  int32_t days = engine.days && hasDatePart ? dayDifference(*engine.calendar, date) : 2;
  if (engine.days && days >= -1 && days <= 1) {
    UErrorCode status = U_ZERO_ERROR;
    UDateDirection direction = days < 0 ? UDAT_DIRECTION_LAST : days > 0 ? UDAT_DIRECTION_NEXT : UDAT_DIRECTION_THIS;
    engine.days->format(direction, UDAT_ABSOLUTE_DAY, text, status);
    if (engine.timeAlone) {
      icu::UnicodeString time, joined = engine.glue;
      engine.timeAlone->format(detail::icuDate(date), time);
      joined.findAndReplace(u"{0}", time).findAndReplace(u"{1}", text);
      text = joined;
    }
  } else {
    engine.format->format(detail::icuDate(date), text);
  }
  text.toUTF8String(out);
}

Ref<String> DateFormatter::stringFromDate(const Date& date) const {
  std::string text;
  appendUTF8StringFromDate(date, text);
  return str(text);
}

Ref<Date> DateFormatter::dateFromString(const String& text) const {
  Engine& engine = this->engine();
  icu::UnicodeString source = detail::icuString(text);
  icu::ParsePosition position(0);
  UDate date = engine.format->parse(source, position);
  if (position.getErrorIndex() >= 0 || position.getIndex() != source.length()) return nullptr;
  if (!engine.trailingLiteral.isEmpty() && !source.endsWith(engine.trailingLiteral)) return nullptr;
  return detail::dateFromICU(date);
}

}  // namespace tq
