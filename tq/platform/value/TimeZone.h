#pragma once
// Time zones and locales: the two settings a calendar or a date formatter is
// read in. Both are immutable values named by their identifiers; the local
// ones come from the seams of tq/platform/system (TimeZoneSetting,
// LocaleSetting), so a test or host fixes them without touching `TZ` or
// `LANG`.

#include <memory>
#include <string>
#include <string_view>

#include "tq/platform/object/Object.h"
#include "tq/platform/value/Date.h"

namespace tq {

namespace detail {
struct TimeZoneRules;
}

class TimeZone : public Object {
 public:
  /// A zone of the time-zone database ("Europe/Paris"), "UTC"/"GMT", or a
  /// fixed offset written "GMT+05:30"; nil for a name no zone has.
  static Ref<TimeZone> timeZoneWithName(std::string_view name);
  /// "GMT", "UTC" and "Z" name the zone without offset; other abbreviations
  /// are ambiguous the world over and answer nil.
  static Ref<TimeZone> timeZoneWithAbbreviation(std::string_view abbreviation);
  /// A zone fixed at an offset from GMT (seconds, whole minutes kept).
  static Ref<TimeZone> timeZoneForSecondsFromGMT(int seconds);
  /// The zone the time-zone seam names now; GMT when it names no zone that
  /// the database knows (a POSIX rule text such as "CET-1CEST").
  static Ref<TimeZone> localTimeZone();
  /// The same as `localTimeZone`: the library has no separate default.
  static Ref<TimeZone> defaultTimeZone() { return localTimeZone(); }

  Ref<String> description() const override;
  std::string className() const override { return "TimeZone"; }
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  Id copy() const override { return self(); }

  const std::string& name() const { return name_; }
  int secondsFromGMTForDate(const Date& date) const;
  /// "GMT+1", "EST" ...: the short name of the zone at that date in US English.
  Ref<String> abbreviationForDate(const Date& date) const;
  bool isDaylightSavingTimeForDate(const Date& date) const;

  /// The zone's rules; made by the factories above.
  const detail::TimeZoneRules& rules() const { return *rules_; }
  TimeZone(std::string name, std::shared_ptr<const detail::TimeZoneRules> rules);

 private:
  std::string name_;
  std::shared_ptr<const detail::TimeZoneRules> rules_;
};

class Locale : public Object {
 public:
  /// A locale by identifier ("en_US", "de-DE", "fr"); any identifier gives a
  /// locale (an unknown one reads as the root locale's data).
  static Ref<Locale> localeWithLocaleIdentifier(std::string_view identifier);
  /// The locale the locale seam names now.
  static Ref<Locale> currentLocale();

  Ref<String> description() const override;
  std::string className() const override { return "Locale"; }
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  Id copy() const override { return self(); }

  const std::string& localeIdentifier() const { return identifier_; }
  /// The first day of the week in the locale's region, 1 Sunday ... 7 Saturday.
  int firstWeekday() const;
  /// Days the first week of a year needs at least (1 in the US, 4 in most of Europe).
  int minimumDaysInFirstWeek() const;

  explicit Locale(std::string identifier) : identifier_(std::move(identifier)) {}

 private:
  std::string identifier_;
};

}  // namespace tq
