// tqkit date and tqkit version, run in-process: the world options fix now,
// the zone and the locale; bad input is a usage error (2) or a failure (1)
// with one line on stderr. One row per command and style: the dates
// themselves are the date room's tests.

#include <gtest/gtest.h>

#include "InProcess.h"

namespace tq {
namespace {

using testing::runInProcess;

struct CommandCase {
  std::vector<std::string> words;
  int status;
  const char* out;
};

class TqkitDatesTest : public ::testing::TestWithParam<CommandCase> {};

TEST_P(TqkitDatesTest, PrintsWhatTheLibraryComputes) {
  const CommandCase& c = GetParam();
  auto result = runInProcess(c.words);
  EXPECT_EQ(result.status, c.status) << result.err;
  EXPECT_EQ(result.out, c.out);
  EXPECT_EQ(result.err.empty(), c.status == 0) << result.err;
}

INSTANTIATE_TEST_SUITE_P(
    Commands, TqkitDatesTest,
    ::testing::Values(
        CommandCase{{"date", "range", "LAST_WEEK", "--now", "2024-02-10T12:00:00Z", "--tz", "Europe/Paris"},
                    0,
                    "2024-01-28 00:00:00 +0100 - 2024-02-03 23:59:59 +0100\n"},
        CommandCase{{"date", "range", "today", "--now", "2024-02-10T12:00:00Z"}, 1, ""},
        CommandCase{{"date", "range", "TODAY", "--tz", "Mars/Olympus"}, 2, ""},
        CommandCase{{"date", "range", "TODAY", "--now", "yesterday"}, 2, ""},
        CommandCase{{"date", "day", "2024-02-10T10:00:00Z", "--tz", "Asia/Tokyo"},
                    0,
                    "2024-02-10 00:00:00 +0900 - 2024-02-11 00:00:00 +0900\n"},
        CommandCase{{"date", "days", "2024-02-10T15:00:00Z", "2024-02-12T08:00:00Z", "--option", "0", "--tz", "UTC"},
                    0,
                    "2024-02-10 00:00:00 +0000 - 2024-02-11 23:59:59 +0000\n"},
        CommandCase{{"date", "days", "2024-02-10T15:00:00Z", "2024-02-12T08:00:00Z", "--option", "x"}, 2, ""},
        CommandCase{{"date", "format", "--style", "rfc2822", "--tz", "Europe/Paris", "2024-03-05T14:07:09Z"},
                    0,
                    "Tue, 5 Mar 2024 15:07:09 +0100\n"},
        CommandCase{{"date", "format", "--style", "relative", "--locale", "de_DE", "--tz", "UTC", "--now",
                     "2024-03-05T20:00:00Z", "2024-03-04T09:15:00Z"},
                    0,
                    "Gestern, 09:15\n"},
        CommandCase{{"date", "format", "--style", "iso", "--tz", "Asia/Kathmandu", "--now", "2024-03-05T14:07:09Z"},
                    0,
                    "2024-03-05T19:52:09+05:45\n"},
        CommandCase{{"date", "format", "--style", "unix"}, 2, ""},
        CommandCase{
            {"date", "parse", "--style", "rfc2822", "Tue, 5 Mar 2024 15:07:09 +0100"}, 0, "2024-03-05T14:07:09Z\n"},
        CommandCase{{"date", "parse", "--style", "json", "2024-03-05 15:07:09 +0100"}, 1, ""},
        CommandCase{{"date", "preference", R"({"presetType":0,"relativeDateType":13,"atHour":9})", "--now",
                     "2024-02-13T10:00:00Z", "--tz", "UTC", "--label"},
                    0,
                    "2024-02-20T00:00:00Z\tNext Tuesday\n"},
        CommandCase{{"date", "preference", "[1,2]"}, 1, ""},
        CommandCase{{"version", "parse", "4.2.1b123"}, 0, "major 4\nminor 2\nmaintenance 1\nbuild 123\n"},
        CommandCase{{"version", "parse", "1.2.3.4"}, 1, ""},
        CommandCase{{"version", "compare", "4.2.1b5", "4.2.1b7"}, 0, "ascending\n"},
        CommandCase{{"version", "compare", "4.2.1b5", "4.2.1b7", "--options", "1"}, 0, "same\n"},
        CommandCase{{"version", "compare", "4.3", "4.2.9", "--options", "-1"}, 2, ""},
        CommandCase{{"version", "display", "4.2.1b123", "--option", "1"}, 0, "4.2.1 build 123\n"}));

TEST(TqkitVersionTest, MalformedVersionReportsTheAssertionMessage) {
  auto result = runInProcess({"version", "compare", "1.0", "1.2.3.4"});
  EXPECT_EQ(result.status, 1);
  EXPECT_EQ(result.err, "tqkit: version compare: malformed version string 1.2.3.4\n");
}

TEST(TqkitVersionTest, SystemVersionPrintsBothNumbers) {
  auto result = runInProcess({"version", "os"});
  ASSERT_EQ(result.status, 0);
  EXPECT_EQ(result.out.rfind("TQ_OSVersion ", 0), 0u) << result.out;
  EXPECT_NE(result.out.find("\nTQ_Full_OSVersion "), std::string::npos) << result.out;
}

}  // namespace
}  // namespace tq
