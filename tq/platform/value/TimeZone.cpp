#include "tq/platform/value/TimeZone.h"

#include <unicode/ucal.h>

#include <functional>
#include <mutex>
#include <unordered_map>

#include "tq/platform/system/TimeZoneSetting.h"
#include "tq/platform/value/internal/ICUDates.h"

namespace tq {

namespace {

/// Zones by name, made once per process: a zone's rules are read from ICU's
/// data once, and the local zone is asked for at every calendar and
/// formatter use.
Ref<TimeZone> cachedZone(const std::string& name) {
  static std::mutex mutex;
  static std::unordered_map<std::string, Ref<TimeZone>> zones;
  std::lock_guard lock(mutex);
  auto found = zones.find(name);
  if (found != zones.end()) return found->second;
  icu::UnicodeString id = icu::UnicodeString::fromUTF8(name);
  std::unique_ptr<icu::TimeZone> zone(icu::TimeZone::createTimeZone(id));
  icu::UnicodeString unknown = icu::UnicodeString(UCAL_UNKNOWN_ZONE_ID, -1, US_INV);
  Ref<TimeZone> result;
  if (zone && zone->getID(id) != unknown) {
    auto rules = std::make_shared<detail::TimeZoneRules>();
    rules->zone = std::move(zone);
    result = make<TimeZone>(name, std::move(rules));
  }
  if (zones.size() < 1024) zones.emplace(name, result);
  return result;
}

}  // namespace

namespace detail {

std::unique_ptr<icu::GregorianCalendar> makeGregorianCalendar(const icu::TimeZone& zone, const icu::Locale& locale) {
  UErrorCode status = U_ZERO_ERROR;
  auto calendar = std::make_unique<icu::GregorianCalendar>(zone, locale, status);
  if (U_FAILURE(status)) calendar = std::make_unique<icu::GregorianCalendar>(zone, icu::Locale::getRoot(), status);
  calendar->setGregorianChange(-8.64e15, status);
  return calendar;
}

void makeStrict(icu::DateFormat& format) {
  UErrorCode status = U_ZERO_ERROR;
  format.setLenient(false);
  for (UDateFormatBooleanAttribute attribute : {UDAT_PARSE_ALLOW_WHITESPACE, UDAT_PARSE_ALLOW_NUMERIC,
                                                UDAT_PARSE_PARTIAL_LITERAL_MATCH, UDAT_PARSE_MULTIPLE_PATTERNS_FOR_MATCH}) {
    format.setBooleanAttribute(attribute, false, status);
  }
}

}  // namespace detail

TimeZone::TimeZone(std::string name, std::shared_ptr<const detail::TimeZoneRules> rules)
    : name_(std::move(name)), rules_(std::move(rules)) {}

Ref<TimeZone> TimeZone::timeZoneWithName(std::string_view name) {
  if (name.empty()) return nullptr;
  return cachedZone(std::string(name));
}

Ref<TimeZone> TimeZone::timeZoneWithAbbreviation(std::string_view abbreviation) {
  if (abbreviation == "GMT" || abbreviation == "UTC" || abbreviation == "Z") return cachedZone("GMT");
  return nullptr;
}

Ref<TimeZone> TimeZone::timeZoneForSecondsFromGMT(int seconds) {
  if (seconds == 0) return cachedZone("GMT");
  int minutes = (seconds < 0 ? -seconds : seconds) / 60;
  if (minutes >= 24 * 60) return nullptr;
  char name[16];
  std::snprintf(name, sizeof name, "GMT%c%02d:%02d", seconds < 0 ? '-' : '+', minutes / 60, minutes % 60);
  return cachedZone(name);
}

Ref<TimeZone> TimeZone::localTimeZone() {
  Ref<TimeZone> zone = cachedZone(TimeZoneSetting::current()->identifier());
  return zone ? zone : cachedZone("GMT");
}

Ref<String> TimeZone::description() const { return str(name_); }
bool TimeZone::isEqual(const Object& other) const {
  const auto* zone = dynamic_cast<const TimeZone*>(&other);
  return zone && zone->name_ == name_;
}
std::size_t TimeZone::hash() const { return std::hash<std::string>()(name_); }

int TimeZone::secondsFromGMTForDate(const Date& date) const {
  int32_t raw = 0, dst = 0;
  UErrorCode status = U_ZERO_ERROR;
  detail::icuZone(*this).getOffset(detail::icuDate(date), false, raw, dst, status);
  return U_SUCCESS(status) ? (raw + dst) / 1000 : 0;
}

bool TimeZone::isDaylightSavingTimeForDate(const Date& date) const {
  int32_t raw = 0, dst = 0;
  UErrorCode status = U_ZERO_ERROR;
  detail::icuZone(*this).getOffset(detail::icuDate(date), false, raw, dst, status);
  return U_SUCCESS(status) && dst != 0;
}

Ref<String> TimeZone::abbreviationForDate(const Date& date) const {
  icu::UnicodeString name;
  detail::icuZone(*this).getDisplayName(isDaylightSavingTimeForDate(date), icu::TimeZone::SHORT, icu::Locale::getUS(),
                                        name);
  return detail::stringFromICU(name);
}

}  // namespace tq
