// Date ranges: the relative identifiers in several zones and on the days
// where quick computations go wrong (month and year ends, leap days,
// daylight-saving changes), and the "between" constructors with their option.

#include <gtest/gtest.h>

#include "DateTestSupport.h"
#include "tq/dates/TQDateRange.h"

namespace tq {
namespace {

using testing::DateWorld;
using testing::moment;
using testing::span;

TEST(TQDateRangeTest, RelativeIdentifiersSpanTheNamedPeriodInTheLocalZone) {
  const struct {
    const char* now;
    const char* zone;
    const char* locale;
    const char* identifier;
    const char* expected;
  } rows[] = {
      // An ordinary Saturday in UTC.
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "TODAY", "2024-02-10 00:00:00 / 2024-02-10 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "TOMORROW", "2024-02-11 00:00:00 / 2024-02-11 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "YESTERDAY", "2024-02-09 00:00:00 / 2024-02-09 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "PASTDUE", "1970-01-01 00:00:00 / 2024-02-09 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "THIS_WEEK", "2024-02-04 00:00:00 / 2024-02-10 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "LAST_WEEK", "2024-01-28 00:00:00 / 2024-02-03 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "NEXT_WEEK", "2024-02-11 00:00:00 / 2024-02-17 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "THIS_MONTH", "2024-02-01 00:00:00 / 2024-02-29 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "LAST_MONTH", "2024-01-01 00:00:00 / 2024-01-31 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "NEXT_MONTH", "2024-03-01 00:00:00 / 2024-03-31 23:59:59"},
      {"2024-02-10T12:00:00Z", "UTC", "en_US", "FUTURE", "2024-02-11 00:00:00 / 4001-01-01 23:59:59"},
      // The same instant is already Sunday the 11th in Auckland.
      {"2024-02-10T12:00:00Z", "Pacific/Auckland", "en_US", "TODAY", "2024-02-11 00:00:00 / 2024-02-11 23:59:59"},
      // Month end: the last of January moves to the end of February.
      {"2023-01-31T10:00:00Z", "UTC", "en_US", "NEXT_MONTH", "2023-02-01 00:00:00 / 2023-02-28 23:59:59"},
      {"2024-03-31T10:00:00Z", "UTC", "en_US", "LAST_MONTH", "2024-02-01 00:00:00 / 2024-02-29 23:59:59"},
      // Spring forward in New York: the day has 23 hours, the end is still 23:59:59.
      {"2024-03-10T15:00:00Z", "America/New_York", "en_US", "TODAY", "2024-03-10 00:00:00 / 2024-03-10 23:59:59"},
      // Fall back in Sydney (south): the day before has 25 hours.
      {"2024-04-08T01:00:00Z", "Australia/Sydney", "en_US", "YESTERDAY", "2024-04-07 00:00:00 / 2024-04-07 23:59:59"},
      // Lord Howe shifts by half an hour.
      {"2024-10-06T12:00:00Z", "Australia/Lord_Howe", "en_US", "TODAY", "2024-10-06 00:00:00 / 2024-10-06 23:59:59"},
      // Kathmandu is 5:45 ahead: 18:20 UTC is already tomorrow there.
      {"2024-06-30T18:20:00Z", "Asia/Kathmandu", "en_US", "TODAY", "2024-07-01 00:00:00 / 2024-07-01 23:59:59"},
      // Samoa skipped 2011-12-30: the day after the 29th is the 31st.
      {"2011-12-29T20:00:00Z", "Pacific/Apia", "en_US", "TOMORROW", "2011-12-31 00:00:00 / 2011-12-31 23:59:59"},
      // Monday-first locale: the week still starts on the Sunday of the
      // date's week-of-year, the Sunday that ends the Monday-based week.
      {"2024-02-14T12:00:00Z", "Europe/Berlin", "de_DE", "THIS_WEEK", "2024-02-18 00:00:00 / 2024-02-24 23:59:59"},
      // A week that straddles the year end.
      {"2024-12-31T12:00:00Z", "UTC", "en_US", "THIS_WEEK", "2024-12-29 00:00:00 / 2025-01-04 23:59:59"},
      {"2025-01-02T12:00:00Z", "UTC", "en_US", "LAST_WEEK", "2024-12-22 00:00:00 / 2024-12-28 23:59:59"},
      // The week is named by its own year: 1 January 2023 is in week 1 of
      // 2023 in the US, while 31 December 2022 is in week 52 of 2022 in
      // Germany, whose Sunday is 1 January.
      {"2023-01-01T13:00:00Z", "UTC", "en_US", "THIS_WEEK", "2023-01-01 00:00:00 / 2023-01-07 23:59:59"},
      {"2022-12-31T11:00:00Z", "Europe/Berlin", "de_DE", "THIS_WEEK", "2023-01-01 00:00:00 / 2023-01-07 23:59:59"},
      {"2023-12-25T00:14:32+01:00", "Europe/Berlin", "de_DE", "NEXT_WEEK",
       "2024-01-07 00:00:00 / 2024-01-13 23:59:59"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(std::string(row.now) + " " + row.zone + " " + row.identifier);
    DateWorld world(row.now, row.zone, row.locale);
    Ref<TQDateRange> range = TQDateRange::dateRangeForRelativeDateRangeIdentifier(row.identifier);
    ASSERT_TRUE(range);
    EXPECT_EQ(span(range), row.expected);
    EXPECT_EQ(range->identifier()->utf8(), row.identifier);
  }
}

TEST(TQDateRangeTest, IdentifiersAreExactUpperCaseTexts) {
  DateWorld world("2024-02-10T12:00:00Z", "UTC");
  for (const char* text : {"today", "Today", "TODAY ", "", "LASTWEEK", "NEXT_YEAR"}) {
    EXPECT_FALSE(TQDateRange::dateRangeForRelativeDateRangeIdentifier(text)) << text;
  }
}

TEST(TQDateRangeTest, DayRangeEndsAtTheNextMidnightWhileTodayEndsAtTheLastSecond) {
  DateWorld world("2024-03-10T17:00:00Z", "America/New_York");
  EXPECT_EQ(span(TQDateRange::rangeForDayContainingDate(*moment("2024-03-10T16:00:00Z"))),
            "2024-03-10 00:00:00 / 2024-03-11 00:00:00");
  EXPECT_EQ(span(TQDateRange::dateRangeForRelativeDateRangeIdentifier("TODAY")),
            "2024-03-10 00:00:00 / 2024-03-10 23:59:59");
  // The day in another zone, read back in New York.
  EXPECT_EQ(span(TQDateRange::rangeForDayContainingDate(*moment("2024-03-10T16:00:00Z"),
                                                        *TimeZone::timeZoneWithName("Asia/Tokyo"))),
            "2024-03-10 11:00:00 / 2024-03-11 11:00:00");
}

TEST(TQDateRangeTest, BetweenRangesIncludeTheEndUnitWithOptionOne) {
  DateWorld world("2024-02-10T12:00:00Z", "Europe/Paris");
  Ref<Date> from = moment("2024-02-10T14:00:00Z"), to = moment("2024-02-12T07:00:00Z");
  EXPECT_EQ(span(TQDateRange::rangeForDaysBetweenStartDate(from, to, 1)), "2024-02-10 00:00:00 / 2024-02-12 23:59:59");
  EXPECT_EQ(span(TQDateRange::rangeForDaysBetweenStartDate(from, to, 0)), "2024-02-10 00:00:00 / 2024-02-11 23:59:59");
  EXPECT_EQ(span(TQDateRange::rangeForDaysBetweenStartDate(from, to)), "2024-02-10 00:00:00 / 2024-02-12 23:59:59");
  // A nil end is now.
  EXPECT_EQ(span(TQDateRange::rangeForDaysBetweenStartDate(from, nullptr, 0)),
            "2024-02-10 00:00:00 / 2024-02-09 23:59:59");

  Ref<Date> a = moment("2024-02-10T09:05:30Z"), b = moment("2024-02-10T09:07:10Z");
  EXPECT_EQ(span(TQDateRange::rangeForMinutesBetweenStartDate(*a, *b, 1)), "2024-02-10 10:05:00 / 2024-02-10 10:07:59");
  EXPECT_EQ(span(TQDateRange::rangeForMinutesBetweenStartDate(*a, *b, 0)), "2024-02-10 10:05:00 / 2024-02-10 10:06:59");
  EXPECT_EQ(span(TQDateRange::rangeForMinutesBetweenStartDate(*a, *b)), "2024-02-10 10:05:00 / 2024-02-10 10:07:59");
}

TEST(TQDateRangeTest, ContainsBothEndsAndCountsDaysFromTheStartOnly) {
  DateWorld world("2024-02-10T12:00:00Z", "UTC");
  Ref<TQDateRange> range =
      TQDateRange::rangeForDaysBetweenStartDate(moment("1970-01-02T05:00:00Z"), moment("1970-01-09T05:00:00Z"));
  const double start = range->startDate()->timeIntervalSince1970(), end = range->endDate()->timeIntervalSince1970();
  EXPECT_TRUE(range->containsTimeInterval(start));
  EXPECT_TRUE(range->containsTimeInterval(end));
  EXPECT_FALSE(range->containsTimeInterval(start - 0.001));
  EXPECT_FALSE(range->containsTimeInterval(end + 0.001));
  EXPECT_EQ(range->startDaysSinceReferenceDate(), 1);
  // Kept: the end count is taken from the start date too.
  EXPECT_EQ(range->endDaysSinceReferenceDate(), 1);
  EXPECT_EQ(range->startSecondsSince1970(), 86400u);
  EXPECT_EQ(range->endSecondsSince1970(), 86400u * 9 - 1);
}

TEST(TQDateRangeTest, DescriptionWritesBothInstantsWithTheirOffset) {
  DateWorld world("2024-07-01T12:00:00Z", "Europe/Berlin");
  Ref<TQDateRange> range = TQDateRange::dateRangeForRelativeDateRangeIdentifier("TODAY");
  EXPECT_EQ(range->description()->utf8(), "2024-07-01 00:00:00 +0200 - 2024-07-01 23:59:59 +0200");
  EXPECT_EQ(range->calendarUnit(), 0u);
}

}  // namespace
}  // namespace tq
