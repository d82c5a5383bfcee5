#pragma once
// Time zones: where a calendar or a date formatter reads its wall times.
// Immutable values named by their identifiers; the local one comes from the
// time-zone seam of tq/platform/system (TimeZoneSetting), so a test or host
// fixes it without touching `TZ`.

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

}  // namespace tq
