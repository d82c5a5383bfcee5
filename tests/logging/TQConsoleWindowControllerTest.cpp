// The log console model: entries, numbering, filters, clear and reset,
// following appended text.

#include <regex>

#include "tests/logging/LoggerTestSupport.h"
#include "tq/logging/TQConsoleWindowController.h"
#include "tq/platform/dispatch/RunLoop.h"

namespace tq {
namespace {

using namespace tq::testing;

const char* kLog =
    "2024-05-02 09:15:03.120: [Torvy_sync] refresh:12\n"
    "\t\tFetched 3 messages\n"
    "2024-05-02 09:15:04.000: [Torvy:dev] Error while saving\n"
    "2024-05-02 09:15:05.000: [Torvy 🐞 #9] Sync error ignored\n"
    "\t\tdetail line\n";

class ConsoleModelTest : public ::testing::Test {
 protected:
  void SetUp() override {
    controller_ = make<TQConsoleWindowController>();
    controller_->setLogTextProvider([this] { return str(log_); });
    controller_->setDisplayReplaced([this](const std::string& text) {
      ++replacements_;
      replaced_ = text;
    });
    controller_->updateConsoleDisplay();
  }
  /// The numbers of the entries on display: "2 3".
  std::string shownEntries() const {
    std::string numbers;
    std::regex entry(R"((?:^|\n) +(\d+) : )");
    const std::string text = controller_->displayText();
    for (std::sregex_iterator it(text.begin(), text.end(), entry), end; it != end; ++it) {
      numbers += (numbers.empty() ? "" : " ") + (*it)[1].str();
    }
    return numbers;
  }
  std::string log_ = kLog;
  Ref<TQConsoleWindowController> controller_;
  int replacements_ = 0;
  std::string replaced_;
};

TEST_F(ConsoleModelTest, NumbersEntriesAndFoldsContinuationLines) {
  EXPECT_EQ(controller_->displayText(),
            "     1 : 2024-05-02 09:15:03.120: [Torvy_sync] refresh:12\n\t\t\tFetched 3 messages\n"
            "     2 : 2024-05-02 09:15:04.000: [Torvy:dev] Error while saving\n"
            "     3 : 2024-05-02 09:15:05.000: [Torvy 🐞 #9] Sync error ignored\n\t\t\tdetail line\n");
  EXPECT_EQ(replaced_, controller_->displayText());
  EXPECT_EQ(controller_->lineIdx(), 3u);
}

TEST_F(ConsoleModelTest, PlainTermsMatchAnyAndRequiredTermsMustAllMatch) {
  controller_->search("ERROR");
  EXPECT_EQ(controller_->filterString(), "ERROR");
  EXPECT_EQ(shownEntries(), "2 3") << "numbers stay those of the whole log";
  controller_->search("error +sync");
  EXPECT_EQ(shownEntries(), "3");
  controller_->search("fetched saving");
  EXPECT_EQ(shownEntries(), "1 2") << "continuation lines belong to the entry";
  controller_->search("+detail");
  EXPECT_EQ(shownEntries(), "3") << "required terms alone filter too";
  controller_->search("nothing-like-this");
  EXPECT_EQ(controller_->displayText(), "\n");
}

TEST_F(ConsoleModelTest, ShortSearchTextsCountAsEmptyAndRepeatsDoNotRebuild) {
  controller_->search("Error");
  int rebuilt = replacements_;
  controller_->search("Error");
  EXPECT_EQ(replacements_, rebuilt);
  controller_->filterOnString("Er");
  EXPECT_EQ(controller_->filterString(), "");
  EXPECT_EQ(controller_->lineIdx(), 3u);
  EXPECT_NE(controller_->displayText().find("     1 :"), std::string::npos);
  controller_->search("+");
  EXPECT_EQ(controller_->filterString(), "");
}

TEST_F(ConsoleModelTest, ClearHidesWhatWasLoggedAndResetShowsItAgain) {
  controller_->clearDisplay();
  EXPECT_EQ(controller_->displayStartIndex(), str(kLog)->length());
  EXPECT_EQ(controller_->displayText(), "\n");
  log_ += "2024-05-02 09:16:00.000: later\n";
  controller_->updateConsoleDisplay();
  EXPECT_EQ(controller_->displayText(), "     1 : 2024-05-02 09:16:00.000: later\n");
  controller_->clearDisplay(true);
  EXPECT_EQ(controller_->displayStartIndex(), 0u);
  EXPECT_NE(controller_->displayText().find("     4 : 2024-05-02 09:16:00.000: later"), std::string::npos);
  controller_->clearDisplay();
  controller_->resetDisplay();
  EXPECT_EQ(controller_->lineIdx(), 4u);
}

TEST_F(ConsoleModelTest, AppendedTextContinuesTheNumberingThroughTheFilter) {
  std::string appendedView;
  controller_->setDisplayAppended([&](const std::string& text) { appendedView += text; });
  controller_->search("sync");
  controller_->loggerAppendedString(str("2024-05-02 09:17:00.000: [Torvy_sync] more\n"));
  controller_->loggerAppendedString(str("\t\tcontinued\n2024-05-02 09:17:01.000: unrelated\n"));
  EXPECT_EQ(appendedView, "     4 : 2024-05-02 09:17:00.000: [Torvy_sync] more\n\t\t\tcontinued\n");
  EXPECT_EQ(controller_->lineIdx(), 5u);
  std::string text = controller_->displayText();
  EXPECT_NE(text.find("     4 : 2024-05-02 09:17:00.000: [Torvy_sync] more\n\t\t\tcontinued\n"), std::string::npos);
  EXPECT_EQ(text.find("unrelated"), std::string::npos);

  // An entry whose lines arrive in two chunks is judged with all of them.
  appendedView.clear();
  controller_->loggerAppendedString(str("2024-05-02 09:17:02.000: [Torvy] refresh:3\n"));
  EXPECT_EQ(appendedView, "");
  controller_->loggerAppendedString(str("\t\tSync done\n\t\tin 2 s\n"));
  EXPECT_EQ(appendedView, "     6 : 2024-05-02 09:17:02.000: [Torvy] refresh:3\n\t\t\tSync done\n\t\t\tin 2 s\n");
  EXPECT_EQ(controller_->lineIdx(), 6u);
}

TEST(ConsoleModelLoggerTest, FollowsTheLoggersFile) {
  RunLoop::main().drain();
  TemporaryFolder folder("console");
  auto logger = TQLogger::initWithLogFileURL((folder / "c.log").string(), {});
  logger->setLogToConsole(false);
  logger->logForPlugin("Torvy", "sync", std::nullopt, 0, "f.cpp", nullptr, 0, "first");
  logger->flush();
  auto controller = make<TQConsoleWindowController>();
  std::string appended;
  controller->setDisplayAppended([&](const std::string& text) { appended += text; });
  controller->updateConsoleDisplay();
  EXPECT_EQ(controller->displayText(), "\n") << "no logger yet";
  controller->setLogger(logger);
  controller->updateConsoleDisplay();
  EXPECT_NE(controller->displayText().find("     1 : "), std::string::npos);
  // The follower begins at the start of the file: drop that first delivery.
  RunLoop::main().runUntil([&] { return !appended.empty(); }, 2);
  controller->updateConsoleDisplay();
  appended.clear();
  logger->logForPlugin("Torvy", "sync", std::nullopt, 0, "f.cpp", nullptr, 0, "second");
  ASSERT_TRUE(RunLoop::main().runUntil([&] { return appended.find("second") != std::string::npos; }, 5));
  EXPECT_NE(appended.find("     2 : "), std::string::npos) << appended;
  logger->setDelegate({});
}

}  // namespace
}  // namespace tq
