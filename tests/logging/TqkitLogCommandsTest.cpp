// tqkit log and the plain tqkit console, run as a user runs them. Skipped
// when the tqkit binary of this build is missing.

#include <signal.h>

#include <cstdlib>
#include <regex>

#include "tests/logging/LoggerTestSupport.h"
#include "tests/support/Eventually.h"
#include "tests/support/RunCommand.h"

namespace tq {
namespace {

using namespace tq::testing;
using namespace std::chrono_literals;

class TqkitLogTest : public ::testing::Test {
 protected:
  void SetUp() override {
    tqkit_ = tqkitOfThisBuild().string();
    if (!fs::exists(tqkit_)) GTEST_SKIP() << "tqkit is not built in this tree";
    log_ = (folder_ / "logs" / "p.log").string();
  }
  CommandResult tqkit(const std::string& arguments) { return runCommand(tqkit_ + " " + arguments + " 2>/dev/null"); }

  std::string tqkit_;
  TemporaryFolder folder_{"tqkit-log"};
  std::string log_;
};

const std::string kStampPattern = R"(\d{4}-\d\d-\d\d \d\d:\d\d:\d\d\.\d{3})";

TEST_F(TqkitLogTest, LogWritesThroughThePluginEntryPointIntoAFreshFile) {
  ASSERT_EQ(tqkit("log --no-console --log " + log_ + " old").status, 0);
  ASSERT_EQ(tqkit("log --no-console --log " + log_ + " --plugin Torvy --key sync --branch main --bug 3 one " +
                  "\"$(printf 'two\\nlines')\"")
                .status,
            0);
  std::regex expected(kStampPattern + R"(: \[Torvy_sync:main 🐞 #3\] one\n)" + kStampPattern +
                      R"(: \[Torvy_sync:main 🐞 #3\] two\n\t\tlines\n)");
  std::string text = readWholeFile(log_);
  EXPECT_TRUE(std::regex_match(text, expected)) << text;

  ASSERT_EQ(tqkit("log --no-console --log " + log_ + " --subsystem Mail --category Sync '[x] kept as is'").status, 0);
  text = readWholeFile(log_);
  EXPECT_TRUE(std::regex_match(text, std::regex(kStampPattern + R"( \[Sync\] \[x\] kept as is\n)"))) << text;

  // Without --plugin the tool names itself, rather than writing "[] a".
  ASSERT_EQ(runCommand("printf 'a\\nb\\n' | " + tqkit_ + " log --no-console --stdin --log " + log_).status, 0);
  text = readWholeFile(log_);
  EXPECT_TRUE(std::regex_match(text, std::regex(kStampPattern + R"(: \[tqkit\] a\n)" + kStampPattern + R"(: \[tqkit\] b\n)")))
      << text;
}

TEST_F(TqkitLogTest, LogFailsWhenItCannotWriteTheFile) {
  CommandResult result = tqkit("log --no-console --log /proc/tq-no-such-folder/p.log message");
  EXPECT_EQ(result.status, 1);
}

TEST_F(TqkitLogTest, PlainConsolePrintsTheFilteredEntries) {
  ASSERT_EQ(
      tqkit("log --no-console --log " + log_ + " --key net 'Sync started' 'Error: disk full' " + "'Sync error ignored'")
          .status,
      0);
  CommandResult all = tqkit("console --plain --log " + log_);
  ASSERT_EQ(all.status, 0);
  EXPECT_TRUE(std::regex_match(all.output, std::regex(R"(     1 : .*Sync started\n     2 : .*\n     3 : .*\n)")))
      << all.output;
  CommandResult filtered = tqkit("console --plain --log " + log_ + " --filter 'ERROR +sync'");
  EXPECT_TRUE(std::regex_match(filtered.output, std::regex(R"(     3 : .*\[tqkit_net\] Sync error ignored\n)")))
      << filtered.output;
  EXPECT_EQ(tqkit("console --plain --log " + (folder_ / "missing.log").string()).status, 1);
  // A filter too short to apply is refused rather than printing everything.
  CommandResult tooShort = runCommand(tqkit_ + " console --plain --log " + log_ + " --filter 'ab' 2>&1");
  EXPECT_EQ(tooShort.status, 2);
  EXPECT_NE(tooShort.output.find("a filter needs at least 3 characters"), std::string::npos) << tooShort.output;
}

TEST_F(TqkitLogTest, FollowingConsoleNumbersARecreatedLogFromOne) {
  ASSERT_EQ(tqkit("log --no-console --log " + log_ + " 'alpha one' 'beta two' 'alpha three'").status, 0);
  const fs::path shown = folder_ / "shown.txt";
  // The console follows until it is stopped; it runs in the background and
  // prints into a file.
  CommandResult started = runCommand(tqkit_ + " console --plain --follow --log " + shellQuoted(log_) + " >" +
                                     shellQuoted(shown.string()) + " 2>/dev/null </dev/null & echo $!");
  const pid_t console = pid_t(std::atol(started.output.c_str()));
  ASSERT_GT(console, 0) << started.output;
  struct Stop {
    pid_t pid;
    ~Stop() { ::kill(pid, SIGTERM); }
  } stop{console};
  auto shows = [&](const std::string& text) {
    return eventually([&] { return readWholeFile(shown).find(text) != std::string::npos; }, 10.0, 10ms);
  };
  ASSERT_TRUE(shows("alpha three")) << readWholeFile(shown);
  // Every launch recreates the log, and the console starts over with it.
  ASSERT_EQ(tqkit("log --no-console --log " + log_ + " 'second launch' 'and on'").status, 0);
  ASSERT_TRUE(shows("and on")) << readWholeFile(shown);
  ASSERT_EQ(tqkit("log --no-console --log " + log_ + " 'third launch'").status, 0);
  ASSERT_TRUE(shows("third launch")) << readWholeFile(shown);
  const std::string text = readWholeFile(shown);
  EXPECT_TRUE(std::regex_match(text, std::regex(R"(     1 : .*alpha one\n     2 : .*\n     3 : .*alpha three\n)"
                                                 R"(     1 : .*second launch\n     2 : .*and on\n)"
                                                 R"(     1 : .*third launch\n)")))
      << text;
}

}  // namespace
}  // namespace tq
