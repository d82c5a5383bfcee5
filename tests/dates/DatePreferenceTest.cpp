// Date preferences: the stored dictionary (with what it leaves out), every
// preset and offset evaluated at fixed moments, and the labels.

#include <gtest/gtest.h>

#include <optional>

#include "DateTestSupport.h"
#include "tq/dates/DatePreference.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

using testing::DateWorld;
using testing::local;

Ref<DatePreference> preset(std::int16_t day, std::uint64_t hour = 0, std::uint64_t minute = 0, std::uint64_t days = 0) {
  auto preference = make<DatePreference>();
  preference->relativeDateType = day;
  preference->atHour = hour, preference->atMinute = minute;
  preference->offsetDayAmount = days;
  return preference;
}

// An offset from now; with `hour` given, days land at that time.
Ref<DatePreference> offset(std::int16_t unit, std::uint64_t amount, std::optional<std::uint64_t> hour = {},
                           std::uint64_t minute = 0) {
  auto preference = make<DatePreference>();
  preference->datePreferenceType = DatePreference::OffsetFromNow;
  preference->relativeTimeType = unit;
  preference->offsetTimeAmount = amount;
  preference->offsetHasTimeComponent = hour.has_value();
  preference->atHour = hour.value_or(0), preference->atMinute = minute;
  return preference;
}

TEST(DatePreferenceTest, ResolvesRelativeToNow) {
  const char* const lastOfJanuary = "2024-01-31T22:30:45Z";
  const struct {
    const char* name;
    const char* now;
    const char* zone;
    Ref<DatePreference> preference;
    const char* expected;
  } rows[] = {
      {"today at 9", lastOfJanuary, "UTC", preset(0, 9), "2024-01-31 09:00:00"},
      {"tomorrow at 23:30 on a month end", lastOfJanuary, "UTC", preset(1, 23, 30), "2024-02-01 23:30:00"},
      {"in 30 days rolls over months", lastOfJanuary, "UTC", preset(2, 8, 0, 30), "2024-03-01 08:00:00"},
      {"presets 3 to 10 are today", lastOfJanuary, "UTC", preset(7, 6, 5), "2024-01-31 06:05:00"},
      {"an unknown preset is today", lastOfJanuary, "UTC", preset(55, 6), "2024-01-31 06:00:00"},
      {"next Tuesday on a Tuesday is a week away, at midnight", "2024-02-13T10:00:00Z", "UTC", preset(13, 9, 30),
       "2024-02-20 00:00:00"},
      {"next Saturday on a Tuesday", "2024-02-13T10:00:00Z", "UTC", preset(17, 9), "2024-02-17 00:00:00"},
      {"first of next month from December", "2024-12-15T10:00:00Z", "UTC", preset(101, 7), "2025-01-01 07:00:00"},
      {"last of February in a leap year", "2024-02-10T10:00:00Z", "UTC", preset(102, 18), "2024-02-29 18:00:00"},
      {"last of February otherwise", "2023-02-10T10:00:00Z", "UTC", preset(102, 18), "2023-02-28 18:00:00"},
      {"90 minutes, seconds dropped", lastOfJanuary, "UTC", offset(0, 90), "2024-02-01 00:00:00"},
      // Hours are added to the wall clock's hour: 01:30 + 3 is 04:30, two
      // hours later on the night that skips one.
      {"3 hours across spring-forward", "2024-03-10T06:30:00Z", "America/New_York", offset(1, 3),
       "2024-03-10 04:30:00"},
      {"2 days at a set time", lastOfJanuary, "UTC", offset(2, 2, 14, 15), "2024-02-02 14:15:00"},
      {"an unknown offset unit is now", lastOfJanuary, "UTC", offset(9, 4), "2024-01-31 22:30:00"},
      {"a preset at a time the night skips", "2024-03-09T15:00:00Z", "America/New_York", preset(1, 2, 30),
       "2024-03-10 03:30:00"},
      {"tomorrow in Kolkata", "2024-01-31T20:00:00Z", "Asia/Kolkata", preset(1, 8), "2024-02-02 08:00:00"}};
  for (const auto& row : rows) {
    DateWorld world(row.now, row.zone);
    EXPECT_EQ(local(row.preference->dateRelativeToNow()), row.expected) << row.name;
  }
}

TEST(DatePreferenceTest, DictionaryFormLeavesOutWhatItDoesNotStore) {
  auto preference = preset(1, 9, 30);
  EXPECT_EQ(preference->dictionaryRepresentation()->description()->utf8(),
            dict({{str("presetType"), num(0)}, {str("relativeDateType"), num(1)}})->description()->utf8());
  // Without the flag the clock time is not stored: it reads back as 00:00.
  auto readBack = DatePreference::initWithDictionaryRepresentation(*preference->dictionaryRepresentation());
  EXPECT_EQ(readBack->atHour, 0u);
  EXPECT_EQ(readBack->relativeDateType, 1);

  preference->offsetHasTimeComponent = true;
  preference->customLabel = str("Morning");
  readBack = DatePreference::initWithDictionaryRepresentation(*preference->dictionaryRepresentation());
  EXPECT_EQ(readBack->atHour * 100 + readBack->atMinute, 930u);
  EXPECT_EQ(readBack->customLabel->utf8(), "Morning");

  Ref<Dictionary> stored = offset(DatePreference::OffsetDays, 3, 8)->dictionaryRepresentation();
  EXPECT_EQ(stored->count(), 3u);
  readBack = DatePreference::initWithDictionaryRepresentation(*stored);
  EXPECT_EQ(readBack->offsetTimeAmount, 3u);
  EXPECT_FALSE(readBack->offsetHasTimeComponent);
}

TEST(DatePreferenceTest, MissingKeysReadAsZero) {
  auto empty = DatePreference::initWithDictionaryRepresentation(*dict({}));
  EXPECT_EQ(empty->datePreferenceType, 0);
  EXPECT_EQ(empty->relativeDateType, 0);
  EXPECT_FALSE(empty->customLabel);
  auto fresh = make<DatePreference>();
  EXPECT_EQ(fresh->relativeDateType, DatePreference::Tomorrow);
  // Integers are read from texts too; other kinds read as 0.
  auto mixed = DatePreference::initWithDictionaryRepresentation(
      *dict({{str("presetType"), str("1")}, {str("offsetTime"), str("45")}, {str("atHour"), dict({})}}));
  EXPECT_EQ(mixed->datePreferenceType, 1);
  EXPECT_EQ(mixed->offsetTimeAmount, 45u);
  EXPECT_EQ(mixed->atHour, 0u);
}

TEST(DatePreferenceTest, AmountsBeyondTheCalendarGiveNil) {
  DateWorld world("2024-01-31T22:30:45Z", "UTC");
  EXPECT_FALSE(offset(DatePreference::OffsetMinutes, ~0ull)->dateRelativeToNow());
  EXPECT_FALSE(preset(DatePreference::InDays, 0, 0, 1ull << 40)->dateRelativeToNow());
}

TEST(DatePreferenceTest, PickerTimeIsTodayAtTheChosenTime) {
  DateWorld world("2024-07-01T23:30:00Z", "Europe/Berlin");
  auto preference = preset(0, 6, 45);
  EXPECT_EQ(local(preference->pickerTime()), "2024-07-02 06:45:00");
  preference->setPickerTime(*testing::moment("2024-01-05T17:20:59Z"));
  EXPECT_EQ(preference->atHour * 100 + preference->atMinute, 1820u);
}

TEST(DatePreferenceTest, ShortLabels) {
  struct Case {
    Ref<DatePreference> preference;
    const char* expected;
  };
  auto labelled = preset(1);
  labelled->customLabel = str("Later");
  for (const Case& c :
       {Case{preset(0), "Today"}, Case{preset(1, 9, 30), "Tomorrow at 09:30"},
        Case{preset(DatePreference::InDays, 9, 5, 3), "In 3 days at 09:05"}, Case{preset(13, 9), "Next Tuesday"},
        Case{preset(101), "First of next month"}, Case{preset(102), "Last day of this month"},
        Case{offset(0, 1), "In 1 minute"}, Case{offset(1, 5), "In 5 hours"}, Case{offset(2, 1), "In 1 day"},
        Case{offset(7, 1), "Now"}, Case{labelled, "Later"}}) {
    EXPECT_EQ(c.preference->shortLabel()->utf8(), c.expected);
  }
}

}  // namespace
}  // namespace tq
