#pragma once
// Internal: the ICU objects behind the platform's time zones, locales,
// calendars and formatters. Only the value room's date sources include this.

#include <unicode/calendar.h>
#include <unicode/datefmt.h>
#include <unicode/gregocal.h>
#include <unicode/locid.h>
#include <unicode/timezone.h>
#include <unicode/unistr.h>

#include <memory>
#include <string>

#include "tq/platform/value/String.h"
#include "tq/platform/value/Locale.h"
#include "tq/platform/value/TimeZone.h"

namespace tq::detail {

/// The ICU zone of a `TimeZone`. ICU's zones answer their offsets from any
/// thread once made; the clone is made once, with the object.
struct TimeZoneRules {
  std::unique_ptr<const icu::TimeZone> zone;
};

inline const icu::TimeZone& icuZone(const TimeZone& zone) { return *zone.rules().zone; }
inline icu::Locale icuLocale(const Locale& locale) {
  return icu::Locale::createCanonical(locale.localeIdentifier().c_str());
}

/// Seconds since 2001 to ICU's milliseconds since 1970, and back.
inline UDate icuDate(const Date& date) { return date.timeIntervalSince1970() * 1000.0; }
inline Ref<Date> dateFromICU(UDate milliseconds) {
  return Date::dateWithTimeIntervalSince1970(milliseconds / 1000.0);
}

inline icu::UnicodeString icuString(const String& text) {
  return icu::UnicodeString(reinterpret_cast<const UChar*>(text.utf16().data()), int32_t(text.utf16().size()));
}
inline Ref<String> stringFromICU(const icu::UnicodeString& text) {
  return String::fromUTF16(std::u16string(reinterpret_cast<const char16_t*>(text.getBuffer()), std::size_t(text.length())));
}

/// Parsing that accepts only what the pattern says: no extra white space,
/// no numbers for names, no literal text left out.
void makeStrict(icu::DateFormat& format);

/// A proleptic Gregorian calendar (no Julian dates before 1582, as ISO 8601
/// and the add-ons' stored dates expect) in a zone and a locale.
std::unique_ptr<icu::GregorianCalendar> makeGregorianCalendar(const icu::TimeZone& zone, const icu::Locale& locale);

}  // namespace tq::detail
