// The shared formatters: their exact texts, what they read back, and that
// the pattern formatters are kept one per thread.

#include <gtest/gtest.h>

#include <thread>

#include "DateTestSupport.h"
#include "tq/dates/DateTQFoundation.h"
#include "tq/dates/ISODates.h"

namespace tq {
namespace {

using testing::DateWorld;
using testing::moment;

TEST(ISODatesTest, WireFormatsWriteTheFixedTexts) {
  DateWorld world("2024-03-05T14:07:09Z", "Europe/Paris", "de_DE");
  Ref<Date> date = moment("2024-03-05T14:07:09Z");
  EXPECT_EQ(TQFoundation::tq_ISO8601String(*date)->utf8(), "2024-03-05T15:07:09+01:00");
  EXPECT_EQ(ISODates::FKISO8601dateFormatterUTC()->stringFromDate(*date)->utf8(), "2024-03-05T14:07:09Z");
  // English names whatever the user's language.
  EXPECT_EQ(ISODates::FKRFC2822dateFormatter()->stringFromDate(*date)->utf8(), "Tue, 5 Mar 2024 15:07:09 +0100");
  EXPECT_EQ(ISODates::dateFormatterForJson()->stringFromDate(*date)->utf8(), "@2024-03-05 15:07:09 +0100@");
}

TEST(ISODatesTest, OffsetsWithSecondsBefore1900ReadBackAsTheirInstant) {
  DateWorld world("2024-03-05T14:07:09Z", "Europe/Paris");
  Ref<Date> date = moment("1850-06-01T12:00:00Z");
  Ref<String> text = TQFoundation::tq_ISO8601String(*date);
  EXPECT_EQ(text->utf8(), "1850-06-01T12:09:21+00:09:21");
  EXPECT_TRUE(TQFoundation::dateWithISO8601String(text)->isEqual(*date));
}

TEST(ISODatesTest, FormattersFollowTheZoneInstalledAfterTheirCreation) {
  Ref<Date> date = moment("2024-07-05T14:07:09Z");
  DateWorld paris("2024-07-05T14:07:09Z", "Europe/Paris");
  EXPECT_EQ(TQFoundation::tq_ISO8601String(*date)->utf8(), "2024-07-05T16:07:09+02:00");
  {
    DateWorld kolkata("2024-07-05T14:07:09Z", "Asia/Kolkata");
    EXPECT_EQ(TQFoundation::tq_ISO8601String(*date)->utf8(), "2024-07-05T19:37:09+05:30");
    EXPECT_EQ(ISODates::FKRFC2822dateFormatter()->stringFromDate(*date)->utf8(), "Fri, 5 Jul 2024 19:37:09 +0530");
  }
  EXPECT_EQ(TQFoundation::tq_ISO8601String(*date)->utf8(), "2024-07-05T16:07:09+02:00");
}

TEST(ISODatesTest, ReadersAcceptOnlyTheirOwnForm) {
  DateWorld world("2024-03-05T14:07:09Z", "Europe/Paris");
  const double expected = moment("2024-03-05T14:07:09Z")->timeIntervalSince1970();
  struct Case {
    const char* text;
    bool reads;
  };
  for (const Case& c : {Case{"2024-03-05T15:07:09+01:00", true}, Case{"2024-03-05T14:07:09Z", true},
                        Case{"2024-03-05 15:07:09+01:00", false}, Case{"2024-03-05T15:07:09", false},
                        Case{"2024-03-05T15:07:09+01:00 ", false}, Case{"", false}, Case{"yesterday", false}}) {
    Ref<Date> date = TQFoundation::dateWithISO8601String(str(c.text));
    EXPECT_EQ(bool(date), c.reads) << c.text;
    if (date) EXPECT_EQ(date->timeIntervalSince1970(), expected) << c.text;
  }
  EXPECT_FALSE(TQFoundation::dateWithISO8601String(nullptr));

  auto json = ISODates::dateFormatterForJson();
  EXPECT_EQ(json->dateFromString(*str("@2024-03-05 15:07:09 +0100@"))->timeIntervalSince1970(), expected);
  EXPECT_FALSE(json->dateFromString(*str("2024-03-05 15:07:09 +0100")));
  EXPECT_FALSE(json->dateFromString(*str("@2024-03-05 15:07:09 +0100")));

  auto mail = ISODates::FKRFC2822dateFormatter();
  EXPECT_EQ(mail->dateFromString(*str("Tue, 5 Mar 2024 15:07:09 +0100"))->timeIntervalSince1970(), expected);
  EXPECT_FALSE(mail->dateFromString(*str("Tue, 5 Mar 2024")));
}

TEST(ISODatesTest, PatternFormattersAreKeptOnePerThread) {
  auto mine = ISODates::FKRFC2822dateFormatter();
  EXPECT_EQ(mine, ISODates::FKRFC2822dateFormatter());
  EXPECT_NE(static_cast<Object*>(mine.get()), static_cast<Object*>(ISODates::dateFormatterForJson().get()));
  Ref<DateFormatter> theirs;
  std::thread([&] { theirs = ISODates::FKRFC2822dateFormatter(); }).join();
  EXPECT_NE(mine, theirs);
  EXPECT_EQ(ISODates::relativeDateFormatter(), ISODates::relativeDateFormatter());
}

TEST(ISODatesTest, RelativeFormattersWriteDaysNearTodayAsWords) {
  const struct {
    const char* locale;
    const char* date;
    Ref<DateFormatter> (*formatter)();
    const char* expected;
  } rows[] = {{"en_US", "2024-03-05T08:30:00Z", ISODates::relativeDateFormatter, "Today"},
              {"en_US", "2024-03-04T23:59:00Z", ISODates::relativeDateFormatter, "Yesterday"},
              {"en_US", "2024-03-06T00:00:00Z", ISODates::relativeFullDateFormatter, "Tomorrow"},
              {"en_US", "2024-03-01T08:30:00Z", ISODates::relativeDateFormatter, "3/1/24"},
              {"en_US", "2024-03-01T08:30:00Z", ISODates::relativeFullDateFormatter, "Friday, March 1, 2024"},
              {"en_US", "2024-03-01T08:30:00Z", ISODates::recentDateFormatter, "Mar 1"},
              {"de_DE", "2024-03-01T08:30:00Z", ISODates::recentDateFormatter, "1. März"},
              {"de_DE", "2024-03-04T08:30:00Z", ISODates::relativeDateFormatter, "Gestern"},
              {"en_US", "2024-03-05T15:07:00Z", ISODates::snippetTimeFormatter, "3:07\u202fPM"},
              {"en_US", "2024-03-05T15:07:00Z", ISODates::relativeDateTimeFormatter, "Today, 3:07\u202fPM"},
              {"en_US", "2024-03-02T15:07:00Z", ISODates::relativeDateTimeFormatter, "3/2/24, 3:07\u202fPM"}};
  for (const auto& row : rows) {
    DateWorld world("2024-03-05T12:00:00Z", "UTC", row.locale);
    EXPECT_EQ(row.formatter()->stringFromDate(*moment(row.date))->utf8(), row.expected)
        << row.locale << " " << row.date;
  }
}

TEST(ISODatesTest, LapsedTimeIsPositiveForThePast) {
  DateWorld world("2024-03-05T12:00:00Z", "UTC");
  EXPECT_DOUBLE_EQ(TQFoundation::lapsedTime(*moment("2024-03-05T11:59:00Z")), 60.0);
  EXPECT_DOUBLE_EQ(TQFoundation::lapsedTime(*moment("2024-03-05T12:00:30Z")), -30.0);
}

}  // namespace
}  // namespace tq
