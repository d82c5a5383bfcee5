// Zones, locales, the Gregorian calendar's arithmetic and the ISO 8601
// formatter's option forms.

#include <gtest/gtest.h>

#include "tq/platform/system/LocaleSetting.h"
#include "tq/platform/system/TimeZoneSetting.h"
#include "tq/platform/value/Calendar.h"
#include "tq/platform/value/DateFormatter.h"
#include "tq/platform/value/ISO8601DateFormatter.h"

namespace tq {
namespace {

Ref<Date> utc(const char* rfc3339) {
  ISO8601DateFormatter formatter;
  return formatter.dateFromString(*str(rfc3339));
}

std::string inZone(const Ref<Date>& date, const char* zone) {
  if (!date) return "nil";
  ISO8601DateFormatter formatter;
  formatter.setTimeZone(TimeZone::timeZoneWithName(zone));
  return formatter.stringFromDate(*date)->utf8();
}

TEST(TimeZoneTest, NamesOffsetsAndTheLocalFallback) {
  EXPECT_FALSE(TimeZone::timeZoneWithName("Mars/Olympus"));
  EXPECT_FALSE(TimeZone::timeZoneWithName(""));
  EXPECT_FALSE(TimeZone::timeZoneWithAbbreviation("CET"));
  EXPECT_EQ(TimeZone::timeZoneWithAbbreviation("GMT")->secondsFromGMTForDate(Date(0)), 0);
  auto chatham = TimeZone::timeZoneWithName("Pacific/Chatham");
  EXPECT_EQ(chatham->secondsFromGMTForDate(*utc("2024-01-15T00:00:00Z")), 13 * 3600 + 45 * 60);
  EXPECT_TRUE(chatham->isDaylightSavingTimeForDate(*utc("2024-01-15T00:00:00Z")));
  EXPECT_EQ(TimeZone::timeZoneForSecondsFromGMT(-(3 * 3600 + 1800))->secondsFromGMTForDate(Date(0)), -12600);
  EXPECT_EQ(TimeZone::timeZoneWithName("America/New_York")->abbreviationForDate(*utc("2024-07-01T00:00:00Z"))->utf8(),
            "EDT");
  // A zone name ICU does not know (a POSIX rule text) reads as GMT.
  ScopedTimeZone posixRule("CET-1CEST,M3.5.0,M10.5.0/3");
  EXPECT_EQ(TimeZone::localTimeZone()->name(), "GMT");
}

TEST(LocaleTest, WeekDataComesFromTheRegion) {
  EXPECT_EQ(Locale::localeWithLocaleIdentifier("en_US")->firstWeekday(), 1);
  EXPECT_EQ(Locale::localeWithLocaleIdentifier("de_DE")->firstWeekday(), 2);
  EXPECT_EQ(Locale::localeWithLocaleIdentifier("de_DE")->minimumDaysInFirstWeek(), 4);
  EXPECT_EQ(Locale::localeWithLocaleIdentifier("ar_EG")->firstWeekday(), 7);
}

class CalendarTest : public ::testing::Test {
 protected:
  Ref<Calendar> calendar = make<Calendar>(TimeZone::timeZoneWithName("America/New_York"),
                                          Locale::localeWithLocaleIdentifier("en_US"));
};

TEST_F(CalendarTest, ComponentsRollOverAndSkippedTimesReadWithTheOffsetBefore) {
  DateComponents components;
  components.year = 2024, components.month = 14, components.day = 0, components.hour = 25;
  EXPECT_EQ(inZone(calendar->dateFromComponents(components), "America/New_York"), "2025-02-01T01:00:00-05:00");
  components = {};
  components.year = 2024, components.month = 3, components.day = 10, components.hour = 2, components.minute = 30;
  EXPECT_EQ(inZone(calendar->dateFromComponents(components), "America/New_York"), "2024-03-10T03:30:00-04:00");
  components.hour = 1, components.minute = 30, components.month = 11, components.day = 3;  // repeated: the later
  EXPECT_EQ(inZone(calendar->dateFromComponents(components), "America/New_York"), "2024-11-03T01:30:00-05:00");
  components.year = std::int64_t(1) << 40;
  EXPECT_FALSE(calendar->dateFromComponents(components));
}

TEST_F(CalendarTest, AddingDaysKeepsTheWallTimeAndHoursAddElapsedTime) {
  Ref<Date> before = utc("2024-03-09T17:00:00Z");  // 12:00 EST
  EXPECT_EQ(inZone(calendar->dateByAddingUnit(CalendarUnitDay, 1, *before), "America/New_York"),
            "2024-03-10T12:00:00-04:00");
  EXPECT_EQ(inZone(calendar->dateByAddingUnit(CalendarUnitHour, 24, *before), "America/New_York"),
            "2024-03-10T13:00:00-04:00");
  EXPECT_EQ(inZone(calendar->dateByAddingUnit(CalendarUnitMonth, 1, *utc("2024-01-31T17:00:00Z")), "America/New_York"),
            "2024-02-29T12:00:00-05:00");
}

TEST_F(CalendarTest, DayHelpers) {
  EXPECT_EQ(calendar->rangeOfUnit(CalendarUnitDay, CalendarUnitMonth, *utc("2024-02-10T12:00:00Z")), makeRange(1, 29));
  EXPECT_EQ(calendar->rangeOfUnit(CalendarUnitDay, CalendarUnitMonth, *utc("2023-02-10T12:00:00Z")), makeRange(1, 28));
  EXPECT_EQ(calendar->dayNumber(*utc("1970-01-01T05:00:00Z")), 2440588);
  EXPECT_EQ(calendar->dayNumber(*utc("1970-01-01T04:59:59Z")), 2440587);
  auto havana = make<Calendar>(TimeZone::timeZoneWithName("America/Havana"), Locale::localeWithLocaleIdentifier("es"));
  // Havana skipped midnight on 2013-03-10: the day starts at 01:00.
  EXPECT_EQ(inZone(havana->startOfDayForDate(*utc("2013-03-10T15:00:00Z")), "America/Havana"),
            "2013-03-10T01:00:00-04:00");
}

TEST_F(CalendarTest, NextDateSearchesForwardFromTheGivenDate) {
  DateComponents tuesday;
  tuesday.weekday = 3;
  Ref<Date> tuesdayNoon = utc("2024-02-13T17:00:00Z");
  EXPECT_EQ(inZone(calendar->nextDateAfterDate(*tuesdayNoon, tuesday, CalendarMatchNextTime), "America/New_York"),
            "2024-02-20T00:00:00-05:00");
  DateComponents halfPast;
  halfPast.minute = 30;
  EXPECT_EQ(inZone(calendar->nextDateAfterDate(*tuesdayNoon, halfPast, CalendarMatchNextTime), "America/New_York"),
            "2024-02-13T12:30:00-05:00");
  DateComponents leapDay;
  leapDay.month = 2, leapDay.day = 29;
  EXPECT_EQ(inZone(calendar->nextDateAfterDate(*tuesdayNoon, leapDay, 0), "America/New_York"),
            "2024-02-29T00:00:00-05:00");
  EXPECT_EQ(inZone(calendar->dateBySettingHour(2, 30, 0, *utc("2024-03-10T12:00:00Z"), CalendarMatchNextTime),
                   "America/New_York"),
            "2024-03-10T03:00:00-04:00");
}

TEST(ISO8601DateFormatterTest, OptionsChooseTheForm) {
  struct Case {
    std::uint64_t options;
    const char* pattern;
    const char* text;
  };
  const Ref<Date> date = utc("2024-03-05T14:07:09Z");
  for (const Case& c : {Case{ISO8601WithInternetDateTime, "yyyy-MM-dd'T'HH:mm:ssXXXXX", "2024-03-05T14:07:09Z"},
                        Case{ISO8601WithFullDate, "yyyy-MM-dd", "2024-03-05"},
                        Case{ISO8601WithInternetDateTime | ISO8601WithFractionalSeconds,
                             "yyyy-MM-dd'T'HH:mm:ss.SSSXXXXX", "2024-03-05T14:07:09.000Z"},
                        Case{ISO8601WithYear | ISO8601WithMonth | ISO8601WithDay | ISO8601WithTime, "yyyyMMdd'T'HHmmss",
                             "20240305T140709"},
                        Case{ISO8601WithYear | ISO8601WithWeekOfYear | ISO8601WithDay | ISO8601WithDashSeparatorInDate,
                             "YYYY-'W'ww-e", "2024-W10-2"},
                        Case{ISO8601WithFullDate | ISO8601WithFullTime | ISO8601WithSpaceBetweenDateAndTime,
                             "yyyy-MM-dd HH:mm:ssXXXXX", "2024-03-05 14:07:09Z"}}) {
    ISO8601DateFormatter formatter;
    formatter.setFormatOptions(c.options);
    EXPECT_EQ(formatter.pattern(), c.pattern);
    EXPECT_EQ(formatter.stringFromDate(*date)->utf8(), c.text);
    Ref<Date> read = formatter.dateFromString(*str(c.text));
    if (c.options & ISO8601WithTime) EXPECT_TRUE(read && read->isEqual(*date)) << c.text;
  }
}

TEST(ISO8601DateFormatterTest, InternetFormWritesWhatThePatternWrites) {
  // The internet date-time form is written without ICU's pattern machinery;
  // the pattern must give the same text (after 1582, where the pattern's
  // calendar is Gregorian too).
  std::uint64_t state = 12345;
  for (const char* zone : {"Europe/Paris", "Australia/Lord_Howe", "Asia/Kathmandu", "America/St_Johns", "UTC"}) {
    ISO8601DateFormatter fast;
    fast.setTimeZone(TimeZone::timeZoneWithName(zone));
    fast.setFormatOptions(ISO8601WithInternetDateTime | ISO8601WithFractionalSeconds);
    DateFormatter pattern;
    pattern.setLocale(Locale::localeWithLocaleIdentifier("en_US_POSIX"));
    pattern.setTimeZone(TimeZone::timeZoneWithName(zone));
    pattern.setDateFormat("yyyy-MM-dd'T'HH:mm:ss.SSSXXXXX");
    for (int i = 0; i < 400; ++i) {
      state = state * 6364136223846793005ull + 1442695040888963407ull;
      const double seconds = -11e9 + double(state >> 20) / double(1ull << 44) * 2.6e11;  // 1621 to 9900
      Date date(seconds + (i % 7) * 0.0625);
      EXPECT_EQ(fast.stringFromDate(date)->utf8(), pattern.stringFromDate(date)->utf8()) << zone << " " << seconds;
    }
  }
  ISO8601DateFormatter utc;
  EXPECT_EQ(utc.stringFromDate(*Date::dateWithTimeIntervalSince1970(-62135596800.0))->utf8(), "0001-01-01T00:00:00Z");
  EXPECT_EQ(utc.stringFromDate(*Date::dateWithTimeIntervalSince1970(-0.5))->utf8(), "1969-12-31T23:59:59Z");
}

TEST(DateFormatterTest, FollowsTheInstalledLocaleAndZoneUnlessGivenItsOwn) {
  DateFormatter formatter;
  formatter.setLocalizedDateFormatFromTemplate("MMMMd");
  const Ref<Date> date = utc("2024-03-05T23:30:00Z");
  {
    ScopedLocale locale("fr_FR");
    ScopedTimeZone zone("Asia/Tokyo");
    EXPECT_EQ(formatter.stringFromDate(*date)->utf8(), "6 mars");
  }
  formatter.setLocale(Locale::localeWithLocaleIdentifier("en_US"));
  formatter.setTimeZone(TimeZone::timeZoneWithName("UTC"));
  ScopedLocale locale("fr_FR");
  EXPECT_EQ(formatter.stringFromDate(*date)->utf8(), "March 5");
}

}  // namespace
}  // namespace tq
