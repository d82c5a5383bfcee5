// Calendar helpers: unit ranges (inclusive ends), day and minute ranges
// (exclusive ends), day counts, and reading a time of day from text.

#include <gtest/gtest.h>

#include "DateTestSupport.h"
#include "tq/dates/CalendarTQFoundation.h"
#include "tq/dates/DateTransformers.h"

namespace tq {
namespace {

using testing::DateWorld;
using testing::local;
using testing::moment;
using testing::span;
namespace helpers = TQFoundation;

TEST(CalendarHelpersTest, UnitRangesEndOneSecondBeforeTheNextUnit) {
  const struct {
    const char* zone;
    std::uint64_t unit;
    const char* date;
    const char* expected;
  } rows[] = {
      {"UTC", CalendarUnitMonth, "2024-02-10T12:00:00Z", "2024-02-01 00:00:00 / 2024-02-29 23:59:59"},
      {"UTC", CalendarUnitMonth, "2023-02-10T12:00:00Z", "2023-02-01 00:00:00 / 2023-02-28 23:59:59"},
      {"UTC", CalendarUnitMonth, "1900-02-10T12:00:00Z", "1900-02-01 00:00:00 / 1900-02-28 23:59:59"},
      {"UTC", CalendarUnitYear, "2024-07-10T12:00:00Z", "2024-01-01 00:00:00 / 2024-12-31 23:59:59"},
      {"UTC", CalendarUnitDay, "2024-07-10T12:00:00Z", "2024-07-10 00:00:00 / 2024-07-10 23:59:59"},
      {"UTC", CalendarUnitHour, "2024-07-10T12:34:56Z", "2024-07-10 12:00:00 / 2024-07-10 12:59:59"},
      {"UTC", CalendarUnitMinute, "2024-07-10T12:34:56Z", "2024-07-10 12:34:00 / 2024-07-10 12:34:59"},
      {"UTC", CalendarUnitSecond, "2024-07-10T12:34:56Z", "2024-07-10 12:34:56 / 2024-07-10 12:34:56"},
      {"UTC", CalendarUnitWeekday, "2024-07-10T12:00:00Z", "2024-07-07 00:00:00 / 2024-07-13 23:59:59"},
      // Kept: any other unit starts at the day and lasts one of that unit.
      {"UTC", CalendarUnitQuarter, "2024-05-10T12:00:00Z", "2024-05-10 00:00:00 / 2024-08-09 23:59:59"},
      // The hour that spring-forward skips in New York.
      {"America/New_York", CalendarUnitHour, "2024-03-10T07:30:00Z", "2024-03-10 03:00:00 / 2024-03-10 03:59:59"},
      // Fall-back day in Santiago (south): 25 hours.
      {"America/Santiago", CalendarUnitDay, "2024-04-06T15:00:00Z", "2024-04-06 00:00:00 / 2024-04-06 23:59:59"},
      // Samoa's 30 December 2011 never happened: the month has 30 days.
      {"Pacific/Apia", CalendarUnitMonth, "2011-12-15T00:00:00Z", "2011-12-01 00:00:00 / 2011-12-31 23:59:59"}};
  for (const auto& row : rows) {
    DateWorld world("2024-01-01T00:00:00Z", row.zone);
    EXPECT_EQ(span(helpers::TQrangeForUnitGranularity(*Calendar::currentCalendar(), row.unit, *moment(row.date))),
              row.expected)
        << row.zone << " " << row.unit << " " << row.date;
  }
}

TEST(CalendarHelpersTest, DayAndMinuteRangesEndAtTheNextUnit) {
  DateWorld world("2024-01-01T00:00:00Z", "UTC");
  Ref<Calendar> calendar = Calendar::currentCalendar();
  EXPECT_EQ(span(helpers::TQrangeContainingMoment(*calendar, *moment("2024-02-10T10:00:00Z"))),
            "2024-02-10 00:00:00 / 2024-02-11 00:00:00");
  EXPECT_EQ(span(helpers::TQrangeForMinutesBetweenStartMoment(*calendar, *moment("2024-02-10T10:05:30Z"),
                                                              *moment("2024-02-10T10:07:10Z"))),
            "2024-02-10 10:05:00 / 2024-02-10 10:08:00");
  EXPECT_EQ(span(helpers::TQrangeForDaysBetweenStartMoment(*calendar, *moment("2024-02-28T10:00:00Z"),
                                                           *moment("2024-02-29T23:00:00Z"))),
            "2024-02-28 00:00:00 / 2024-03-01 00:00:00");
  // The calendar's own zone counts, not the local one.
  calendar->setTimeZone(TimeZone::timeZoneWithName("Asia/Tokyo"));
  EXPECT_EQ(span(helpers::TQrangeContainingMoment(*calendar, *moment("2024-02-10T20:00:00Z"))),
            "2024-02-10 15:00:00 / 2024-02-11 15:00:00");
}

TEST(CalendarHelpersTest, DayCountsRunFromTheStartOfEachDay) {
  DateWorld world("2024-01-01T00:00:00Z", "America/Sao_Paulo");
  Ref<Calendar> calendar = Calendar::currentCalendar();
  EXPECT_EQ(local(helpers::referenceDate(*calendar)), "1970-01-01 00:00:00");
  EXPECT_EQ(helpers::daysSinceReferenceForDate(*calendar, *helpers::dateWithYear(*calendar, 1970, 1, 2)), 1);
  EXPECT_EQ(helpers::daysSinceReferenceForDate(*calendar, *helpers::dateWithYear(*calendar, 1969, 12, 31)), -1);
  // 23:30 local is already the next day in UTC; the local day counts.
  EXPECT_EQ(helpers::daysSinceReferenceForDate(*calendar, *moment("2024-02-11T02:30:00Z")), 19763);
  EXPECT_EQ(
      helpers::numberOfDaysBetweendDate(*calendar, *moment("2024-02-28T23:00:00Z"), *moment("2024-03-01T04:00:00Z")),
      2);
  EXPECT_EQ(
      helpers::numberOfDaysBetweendDate(*calendar, *moment("2024-03-01T04:00:00Z"), *moment("2024-02-28T23:00:00Z")),
      -2);
  DateComponents day = helpers::TQyearMonthDayHoursMinutesComponentsForDate(*calendar, *moment("2024-02-11T02:30:00Z"));
  EXPECT_EQ(*day.year * 10000 + *day.month * 100 + *day.day, 20240210);
  EXPECT_EQ(*day.hour * 100 + *day.minute, 2330);
  EXPECT_EQ(*day.second, 0);
}

TEST(CalendarHelpersTest, OnOrBeforeNowComparesWholeSeconds) {
  DateWorld world("2024-03-05T12:00:00Z", "UTC");
  Ref<Calendar> calendar = Calendar::currentCalendar();
  Ref<Date> now = Date::date();
  EXPECT_TRUE(helpers::isDateOnOrBeforeNow(*calendar, *now->dateByAddingTimeInterval(0.4)));
  EXPECT_TRUE(helpers::isDateOnOrBeforeNow(*calendar, *now->dateByAddingTimeInterval(-3600)));
  EXPECT_FALSE(helpers::isDateOnOrBeforeNow(*calendar, *now->dateByAddingTimeInterval(1)));
}

TEST(CalendarHelpersTest, SettingATimeReadsEachFormOrFallsBackToNow) {
  DateWorld world("2024-03-05T12:00:00Z", "Europe/Paris");
  Ref<Calendar> calendar = Calendar::currentCalendar();
  Ref<Date> day = moment("2024-06-01T08:15:42Z");
  for (const char* text : {"7:30 PM", "07:30:15 PM", "19:30:00", "19:30"}) {
    EXPECT_EQ(local(helpers::dateBySettingTime(*calendar, *str(text), *day, 0)), "2024-06-01 19:30:00") << text;
  }
  for (const char* text : {"garbage", "", "25:00", "19h30"}) {
    EXPECT_EQ(local(helpers::dateBySettingTime(*calendar, *str(text), *day, 0)), "2024-03-05 13:00:00") << text;
  }
}

TEST(CalendarHelpersTest, TransformersReadTextAndFallBackToNow) {
  DateWorld world("2024-03-05T12:00:00Z", "America/New_York");
  auto days = make<TQDateStringToDateTransformer>();
  EXPECT_EQ(local(cast<Date>(days->transformedValue(str("2024-02-29")))), "2024-02-29 00:00:00");
  EXPECT_EQ(local(cast<Date>(days->transformedValue(str("29.02.2024")))), "2024-03-05 07:00:00");
  EXPECT_EQ(local(cast<Date>(days->transformedValue(nullptr))), "2024-03-05 07:00:00");
  EXPECT_EQ(cast<String>(days->reverseTransformedValue(moment("2024-03-05T03:00:00Z")))->utf8(), "2024-03-04");

  auto times = make<TQTimeStringToDateTransformer>();
  // The time lands on the local day of 2001-01-01 00:00 UTC: 31 December 2000 in New York.
  EXPECT_EQ(local(cast<Date>(times->transformedValue(str("7:30 PM")))), "2000-12-31 19:30:00");
  EXPECT_EQ(local(cast<Date>(times->transformedValue(str("06:05")))), "2000-12-31 06:05:00");
  EXPECT_EQ(local(cast<Date>(times->transformedValue(str("noon")))), "2024-03-05 07:00:00");
  EXPECT_EQ(cast<String>(times->reverseTransformedValue(moment("2024-03-05T23:45:00Z")))->utf8(), "18:45");
  EXPECT_EQ(times->transformedValueClass(), "Date");
}

}  // namespace
}  // namespace tq
