// The relative ranges, unit ranges and date preferences for many moments in
// zones with every kind of transition, recomputed independently by
// crosscheck.py (Python's datetime and zoneinfo, reading the system's tz
// database) and compared. Skipped when python3 with zoneinfo is missing.

#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>

#include "DateTestSupport.h"
#include "tests/support/RunCommand.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/dates/CalendarTQFoundation.h"
#include "tq/dates/DatePreference.h"

namespace tq {
namespace {

namespace fs = std::filesystem;

// North and south, half-hour and 45-minute offsets, half-hour daylight
// saving, midnight transitions (Havana, Santiago, São Paulo until 2019) and
// the day Samoa skipped; each with a locale of its country.
const char* const Zones[][2] = {{"UTC", "en_US"},
                                {"America/New_York", "en_US"},
                                {"Europe/Berlin", "de_DE"},
                                {"Australia/Sydney", "en_US"},
                                {"Australia/Lord_Howe", "en_AU"},
                                {"Asia/Kathmandu", "en_US"},
                                {"America/Sao_Paulo", "pt_BR"},
                                {"America/Havana", "es_CU"},
                                {"Pacific/Apia", "en_US"},
                                {"America/Santiago", "es_CL"}};

const char* const Identifiers[] = {"TODAY",     "TOMORROW",   "YESTERDAY",  "PASTDUE",    "LAST_WEEK", "THIS_WEEK",
                                   "NEXT_WEEK", "LAST_MONTH", "THIS_MONTH", "NEXT_MONTH", "FUTURE"};
constexpr std::uint64_t Units[] = {CalendarUnitYear, CalendarUnitMonth,  CalendarUnitDay,
                                   CalendarUnitHour, CalendarUnitMinute, CalendarUnitWeekday};

// Date preferences: {type, preset or unit, amount, has time, hour, minute}.
constexpr std::uint64_t Preferences[][6] = {
    {0, 0, 0, 0, 9, 30},  {0, 1, 0, 0, 23, 30},  {0, 2, 40, 0, 2, 30}, {0, 11, 0, 0, 9, 0}, {0, 13, 0, 0, 9, 0},
    {0, 101, 0, 0, 0, 0}, {0, 102, 0, 0, 12, 0}, {1, 0, 90, 0, 0, 0},  {1, 1, 30, 0, 0, 0}, {1, 2, 3, 1, 2, 30}};

constexpr std::int64_t ScanFrom = 473385600, ScanTo = 2145916800;  // 1985 to 2038

int offsetAt(const TimeZone& zone, std::int64_t t) {
  return zone.secondsFromGMTForDate(*Date::dateWithTimeIntervalSince1970(double(t)));
}

/// Every change of the zone's offset from 1985 to 2038, to the second: the
/// first second of each new offset.
std::vector<std::int64_t> transitionsOf(const TimeZone& zone) {
  std::vector<std::int64_t> transitions;
  for (std::int64_t t = ScanFrom; t < ScanTo; t += 86400) {
    if (offsetAt(zone, t) == offsetAt(zone, t + 86400)) continue;
    std::int64_t low = t, high = t + 86400;  // offset(low) differs from offset(high)
    while (high - low > 1) {
      std::int64_t middle = low + (high - low) / 2;
      (offsetAt(zone, middle) == offsetAt(zone, low) ? low : high) = middle;
    }
    transitions.push_back(high);
  }
  return transitions;
}

/// Moments around the zone's offset changes from 2010 to 2027, around its
/// month ends, and spread at random over 1990-2037.
std::vector<std::int64_t> momentsFor(const std::vector<std::int64_t>& transitions, std::mt19937_64& random) {
  std::vector<std::int64_t> moments;
  for (std::int64_t t : transitions) {
    if (t < 1262304000 || t > 1798761600) continue;
    for (std::int64_t delta : {-86400 * 6, -86400, -3601, -1800, -1, 0, 1799, 3600, 86400})
      moments.push_back(t + delta);
  }
  for (std::int64_t month = 0; month < 36; month += 5) {
    std::int64_t t = 1672531200 + month * 2629746;  // about the turn of each month from 2023
    for (std::int64_t hours : {-30, -14, -1, 0, 13}) moments.push_back(t + hours * 3600);
  }
  std::uniform_int_distribution<std::int64_t> spread(631152000, 2114380800);
  for (int i = 0; i < 40; ++i) moments.push_back(spread(random));
  return moments;
}

std::string field(const Ref<Date>& date) {
  return date ? std::to_string(std::int64_t(std::floor(date->timeIntervalSince1970()))) : "nil";
}

void writeResults(std::ostream& out) {
  std::mt19937_64 random(20240210);
  for (const auto& [zoneName, localeName] : Zones) {
    Ref<TimeZone> timeZone = TimeZone::timeZoneWithName(zoneName);
    ASSERT_TRUE(timeZone) << zoneName;
    Ref<Locale> locale = Locale::localeWithLocaleIdentifier(localeName);
    const std::string prefix = std::string(zoneName) + "\t" + std::to_string(locale->firstWeekday()) + "\t";
    // The offset changes as ICU's time-zone data has them: the script sets
    // aside the years where the system's tz database says otherwise.
    std::vector<std::int64_t> transitions = transitionsOf(*timeZone);
    for (std::int64_t t : transitions) out << "T\t" << zoneName << "\t" << t << "\n";
    for (std::int64_t now : momentsFor(transitions, random)) {
      ScopedClock<WallClock> clock(std::make_shared<ManualClock>(double(now)));
      ScopedTimeZone zoneScope(zoneName);
      ScopedLocale localeScope(localeName);
      const std::string line = prefix + std::to_string(now) + "\t";
      for (const char* identifier : Identifiers) {
        auto range = TQDateRange::dateRangeForRelativeDateRangeIdentifier(identifier);
        out << line << "R:" << identifier << "\t" << field(range->startDate()) << "\t" << field(range->endDate())
            << "\n";
      }
      Ref<Calendar> calendar = Calendar::currentCalendar();
      for (std::uint64_t unit : Units) {
        auto range = TQFoundation::TQrangeForUnitGranularity(*calendar, unit, *Date::date());
        out << line << "U:" << unit << "\t" << field(range->startDate()) << "\t" << field(range->endDate()) << "\n";
      }
      for (const auto& c : Preferences) {
        auto preference = make<DatePreference>();
        preference->datePreferenceType = std::int16_t(c[0]);
        (c[0] == 0 ? preference->relativeDateType : preference->relativeTimeType) = std::int16_t(c[1]);
        (c[0] == 0 ? preference->offsetDayAmount : preference->offsetTimeAmount) = c[2];
        preference->offsetHasTimeComponent = c[3];
        preference->atHour = c[4], preference->atMinute = c[5];
        out << line << "P:" << c[0] << "," << c[1] << "," << c[2] << "," << c[3] << "," << c[4] << "," << c[5] << "\t"
            << field(preference->dateRelativeToNow()) << "\tnil\n";
      }
    }
  }
}

TEST(PythonCrossCheck, RangesAndPreferencesAgreeWithZoneinfo) {
  if (testing::runCommand("python3 -c 'import zoneinfo; zoneinfo.ZoneInfo(\"America/Havana\")' 2>/dev/null").status !=
      0) {
    GTEST_SKIP() << "python3 with zoneinfo and the tz database is not available";
  }
  testing::TemporaryFolder folder("crosscheck");
  const fs::path data = folder.path() / "results.tsv";
  {
    std::ofstream out(data);
    writeResults(out);
  }
  const fs::path script = fs::path(TQ_SOURCE_DIR) / "tests/dates/crosscheck.py";
  testing::CommandResult result = testing::runCommand("python3 " + testing::shellQuoted(script.string()) + " " +
                                                      testing::shellQuoted(data.string()) + " 2>&1");
  std::cout << result.output;  // the counts, and any differences
  EXPECT_EQ(result.status, 0);
}

}  // namespace
}  // namespace tq
