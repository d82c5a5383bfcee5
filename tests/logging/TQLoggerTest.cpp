// The logger's file lines, console records, identifiers and file handling.

#include <regex>
#include <thread>

#include "tests/logging/LoggerTestSupport.h"
#include "tq/platform/system/Environment.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/collection/ThreadDictionary.h"

namespace tq {
namespace {

using namespace tq::testing;

const std::string kStamp = "2024-05-02 09:15:03.120";

using TQLoggerLineTest = LoggerFixture;

TEST_F(TQLoggerLineTest, PluginLinesCarryTheBracketPrefixAndCategory) {
  logger_->setLogLine(false);
  logger_->logForPlugin("Torvy", "sync", std::nullopt, 0, "File.cpp", "run", 12, "text");
  logger_->logForPlugin("Torvy", "sync", "main", 42, "File.cpp", "run", 12, "text");
  logger_->logForPlugin("Torvy", std::nullopt, "dev", 0, "File.cpp", "run", 12, "text");
  logger_->setDefaultIdentifier("Deflt");
  logger_->logForPlugin(std::nullopt, std::nullopt, std::nullopt, 0, "File.cpp", nullptr, 0, "text");
  logger_->setDefaultIdentifier(std::nullopt);
  logger_->logForPlugin(std::nullopt, "k", std::nullopt, 0, "File.cpp", nullptr, 0, "text");
  EXPECT_EQ(fileText(), kStamp + ": [Torvy_sync] text\n" +                 //
                            kStamp + ": [Torvy_sync:main 🐞 #42] text\n" +  //
                            kStamp + ": [Torvy:dev] text\n" +              //
                            kStamp + ": [Deflt] text\n" +                  //
                            kStamp + ": [_k] text\n");
  auto records = console_.records();
  ASSERT_EQ(records.size(), 5u);
  EXPECT_EQ(records[0].subsystem, "Torvy");
  EXPECT_EQ(records[0].category, "sync");
  EXPECT_EQ(records[0].message, "text") << "the prefix is not shown on the console";
  EXPECT_EQ(records[1].category, "Issue #42");
  EXPECT_EQ(records[2].category, "");
}

TEST_F(TQLoggerLineTest, LocationLinePutsTheMessageOnAnIndentedLine) {
  logger_->logForPlugin("Torvy", "sync", std::nullopt, 0, "Hidden.cpp", "refresh", 77, "text");
  logger_->logForPlugin("Torvy", "sync", std::nullopt, 0, "Hidden.cpp", "refresh", 0, "text");
  logger_->setLogLine(false);
  logger_->logForPlugin("Torvy", "sync", std::nullopt, 0, "Hidden.cpp", "refresh", 77, "text");
  std::string text = fileText();
  EXPECT_EQ(text, kStamp + ": [Torvy_sync] refresh:77\n\t\ttext\n" +   //
                      kStamp + ": [Torvy_sync] refresh\n\t\ttext\n" +  //
                      kStamp + ": [Torvy_sync] text\n");
  EXPECT_EQ(text.find("Hidden.cpp"), std::string::npos) << "the file is never shown";
}

TEST_F(TQLoggerLineTest, MultiLineBodiesAreTrimmedAndIndented) {
  logger_->logForIdentifier("id", std::nullopt, std::nullopt, "\n\r\nfirst\nsecond\n\nthird\n\n");
  logger_->logForIdentifier("id", "line one\nline two\n");
  std::regex threaded(R"(2024-05-02 09:15:03\.120 🧵 \d+ : line one\n\t\tline two\n)");
  std::string text = fileText();
  std::string first = kStamp + ": first\n\t\tsecond\n\t\t\n\t\tthird\n";
  ASSERT_EQ(text.substr(0, first.size()), first);
  EXPECT_TRUE(std::regex_match(text.substr(first.size()), threaded)) << text;
}

TEST_F(TQLoggerLineTest, ThreadIndexesAreStablePerThreadAndDistinctAcrossThreads) {
  auto indexOf = [&](const std::string& line) {
    std::smatch m;
    std::regex pattern("🧵 (\\d+) : " + line + "\n");
    std::string text = fileText();
    EXPECT_TRUE(std::regex_search(text, m, pattern)) << text;
    return std::stol(m[1].str());
  };
  logger_->logForIdentifier("id", "main-a");
  logger_->logForIdentifier("id", "main-b");
  std::thread([&] { logger_->logForIdentifier("id", "other"); }).join();
  long a = indexOf("main-a"), b = indexOf("main-b"), other = indexOf("other");
  EXPECT_EQ(a, b);
  EXPECT_GT(other, a);
  auto stored = cast<Number>(threadDictionary().objectForKey(std::string_view("org.tqbasekit.threadIndex")));
  ASSERT_NE(stored, nullptr) << "the thread carries its number in its dictionary";
  EXPECT_EQ(stored->integerValue(), a);
  // Another logger numbers threads from the same process-wide counter.
  auto second = TQLogger::initWithLogFileURL((folder_ / "second.log").string(), {});
  long otherLoggerIndex = 0;
  std::thread([&] {
    second->logForIdentifier("id", "x");
    otherLoggerIndex = long(
        cast<Number>(threadDictionary().objectForKey(std::string_view(TQLogger::threadIndexKey())))->integerValue());
  }).join();
  EXPECT_GT(otherLoggerIndex, other);
  auto records = console_.records();
  ASSERT_EQ(records.size(), 4u);
  EXPECT_EQ(records[0].message, " 🧵 " + std::to_string(a) + " main-a");
}

TEST_F(TQLoggerLineTest, CategoryEntryPointUsesTheCategoryAsIdentifier) {
  logger_->registerIdentifier("Sync", "SyncComponent");
  logger_->logForCategory("Sync", "count %d", 3);
  logger_->registerIdentifier("Sync", std::nullopt);
  logger_->logForCategory("Sync", "again");
  std::string text = fileText();
  EXPECT_NE(text.find(" : [Sync] count 3\n"), std::string::npos) << text;
  auto records = console_.records();
  ASSERT_EQ(records.size(), 2u);
  EXPECT_EQ(records[0].subsystem, "SyncComponent");
  EXPECT_EQ(records[1].subsystem, "Sync");
}

TEST_F(TQLoggerLineTest, PlainLogUsesTheDefaultIdentifierWithoutPrefix) {
  logger_->setDefaultIdentifier("Host");
  logger_->log("%s and %d", "words", 7);
  EXPECT_EQ(fileText(), kStamp + ": words and 7\n");
  EXPECT_EQ(console_.records().at(0).subsystem, "Host");
}

TEST_F(TQLoggerLineTest, SwitchedOffSinksWriteNothing) {
  logger_->setLogToFile(false);
  logger_->logForIdentifier("id", "hidden");
  logger_->setLogToFile(true);
  logger_->setLogToConsole(false);
  logger_->logForIdentifier("id", std::nullopt, std::nullopt, "shown");
  EXPECT_EQ(fileText(), kStamp + ": shown\n");
  EXPECT_EQ(console_.records().size(), 1u);
}

using TQLoggerSubsystemTest = LoggerFixture;

TEST_F(TQLoggerSubsystemTest, ParseRulesForTheBracketLabel) {
  logger_->logSubsystemCategoryParseableFormat("Given", "GivenCat", "[Mail:Sync] hello");
  logger_->logSubsystemCategoryParseableFormat("Given", "GivenCat", "[:Sync] hello");
  logger_->logSubsystemCategoryParseableFormat("Given", "GivenCat", "[Mail:] hello");
  logger_->logSubsystemCategoryParseableFormat("Given", "GivenCat", "[]hello");
  logger_->logSubsystemCategoryParseableFormat("Given", "GivenCat", "[Mail]  hello  ");
  logger_->logSubsystemCategoryParseableFormat("Given", "GivenCat", "no brackets");
  logger_->logSubsystemCategory("Given", "GivenCat", "[Mail:Sync] unparsed");
  auto r = console_.records();
  ASSERT_EQ(r.size(), 7u);
  auto check = [&](std::size_t i, std::string sub, std::string cat, std::string msg) {
    EXPECT_EQ(r[i].subsystem, sub) << i;
    EXPECT_EQ(r[i].category, cat) << i;
    EXPECT_EQ(r[i].message, msg) << i;
  };
  check(0, "Mail", "Sync", "hello");
  check(1, "Given", "Sync", "hello");
  check(2, "Mail", "GivenCat", "hello");
  check(3, "Given", "", "hello");
  check(4, "Mail", "", "hello");
  check(5, "Given", "GivenCat", "no brackets");
  check(6, "Given", "GivenCat", "[Mail:Sync] unparsed");
  EXPECT_EQ(fileText(), kStamp + " [Sync] hello\n" + kStamp + " [Sync] hello\n" + kStamp + " [GivenCat] hello\n" +
                            kStamp + " [(null)] hello\n" + kStamp + " [(null)] hello\n" + kStamp +
                            " [GivenCat] no brackets\n" + kStamp + " [GivenCat] [Mail:Sync] unparsed\n");
}

TEST_F(TQLoggerSubsystemTest, LevelOneIsDroppedEverywhere) {
  logger_->_logSubsystem("S", "C", 1, "dropped", false);
  logger_->logSubsystemCategoryLevel("S", "C", 1, "dropped too");
  logger_->_logSubsystem("S", "C", 2, "kept", false);
  EXPECT_EQ(fileText(), kStamp + " [C] kept\n");
  EXPECT_EQ(console_.records().size(), 1u);
}

TEST_F(TQLoggerSubsystemTest, DeliberateArgumentSwapsAreKept) {
  logger_->logSubsystemCategoryLevel("S", "C", 0, "both");
  logger_->logSubsystemCategoryLevelString("S", "C", 1, "swapped");
  logger_->logCategory("OnlyCat", "cat");
  logger_->logSubsystem("OnlySub", "sub");
  auto r = console_.records();
  ASSERT_EQ(r.size(), 4u);
  EXPECT_EQ(r[0].subsystem, "C");
  EXPECT_EQ(r[0].category, "C");
  EXPECT_EQ(r[1].subsystem, "C") << "subsystem and category change places";
  EXPECT_EQ(r[1].category, "S");
  EXPECT_EQ(r[2].subsystem, "-");
  EXPECT_EQ(r[2].category, "OnlyCat");
  EXPECT_EQ(r[3].subsystem, "OnlySub");
  EXPECT_EQ(fileText(), kStamp + " [C] both\n" + kStamp + " [S] swapped\n" + kStamp + " [OnlyCat] cat\n" + kStamp +
                            " [(null)] sub\n");
}

TEST_F(TQLoggerSubsystemTest, EntryStatementAndNoTrimmingOnThisPath) {
  auto entry = make<TQLogEntry>(Date::date(), nullptr, nullptr, str("x"));
  EXPECT_EQ(entry->logStatement()->utf8(), kStamp + " [(null)] x");
  EXPECT_EQ(describeUTF8(entry), kStamp + " [(null)] x");
  logger_->logSubsystemCategory("S", "C", "\nraw\nbody");
  EXPECT_EQ(fileText(), kStamp + " [C] \nraw\nbody\n");
}

TEST(TQLoggerIdentityTest, BundleIdentifierRegistrationKeepsTheFirst) {
  TQLogger::registerLogIdentifier("first", "org.example.bundle");
  TQLogger::registerLogIdentifier("second", "org.example.bundle");
  EXPECT_EQ(TQLogger::logIdentifierForBundleIdentifier("org.example.bundle"), "first");
  EXPECT_EQ(TQLogger::logIdentifierForBundleIdentifier(""), std::nullopt);
  EXPECT_EQ(TQLogger::logIdentifierForBundleIdentifier("org.example.unknown"), std::nullopt);
  EXPECT_EQ(TQLogger::logIdentifierForBundleIdentifier("org.tqbasekit.TQFoundation"), std::nullopt)
      << "the library's own bundle is registered with the empty identifier";
  TQLogger::registerLogIdentifier("late", "org.tqbasekit.TQFoundation");
  EXPECT_EQ(TQLogger::logIdentifierForBundleIdentifier("org.tqbasekit.TQFoundation"), std::nullopt);
}

TEST(TQLoggerFileTest, SetUpReplacesThePreviousLogAndAFileInPlaceOfTheFolder) {
  TemporaryFolder folder("setup");
  auto logs = folder / "PluginLogs";
  {
    std::ofstream blocker(logs);  // a file where the folder should be
    blocker << "not a folder";
  }
  auto logger = TQLogger::initWithLogFileURL((logs / "pluginConsole.log").string(), {});
  EXPECT_TRUE(fs::is_directory(logs));
  EXPECT_EQ(logger->directory(), logs.string());
  logger->setLogToConsole(false);
  logger->logForIdentifier("id", std::nullopt, std::nullopt, "first launch");
  logger->flush();
  EXPECT_NE(logger->consoleLog()->utf8().find("first launch"), std::string::npos);
  logger.reset();

  auto second = TQLogger::initWithLogFileURL((logs / "." / "pluginConsole.log").string(), {}, "initial text");
  EXPECT_EQ(second->logPath(), (logs / "pluginConsole.log").string()) << "the path is standardised";
  EXPECT_EQ(second->consoleLog()->utf8(), "") << "every launch starts an empty log; the initial log is ignored";
}

TEST(TQLoggerFileTest, AFileThatCannotBeCreatedIsReportedToThePlatformLog) {
  if (logConsoleUsesJournal()) GTEST_SKIP() << "the report goes to the journal here";
  RecordingConsole console;
  ::testing::internal::CaptureStderr();
  auto logger = TQLogger::initWithLogFileURL("/proc/tq-no-such-folder/x.log", {});
  std::string reported = ::testing::internal::GetCapturedStderr();
  EXPECT_EQ(reported, "Error writing to file /proc/tq-no-such-folder/x.log\n");
  logger->logForIdentifier("id", std::nullopt, std::nullopt, "goes on");
  logger->flush();
  EXPECT_EQ(console.records().size(), 1u) << "the logger goes on without its file";
}

TEST(TQLoggerFileTest, SymlinkedFolderIsResolved) {
  TemporaryFolder folder("symlink");
  fs::create_directories(folder / "real");
  fs::create_directory_symlink(folder / "real", folder / "link");
  auto logger = TQLogger::initWithLogFileURL((folder / "link" / "x.log").string(), {});
  EXPECT_EQ(logger->logPath(), (fs::canonical(folder / "real") / "x.log").string());
}

TEST(TQLoggerFileTest, WithoutAPathOnlyTheConsoleIsWritten) {
  RecordingConsole console;
  auto logger = TQLogger::initWithLogFileURL("", {});
  logger->logForIdentifier("id", "to the console");
  logger->logSubsystem("S", "too");
  logger->flush();
  EXPECT_EQ(logger->logPath(), "");
  EXPECT_EQ(logger->consoleLog(), nullptr);
  EXPECT_EQ(console.records().size(), 2u);
}

TEST(TQLoggerFileTest, DefaultPathFollowsTheDataHome) {
  const FixedEnvironment user({{"HOME", "/home/ann"}});
  {
    ScopedEnvironment environment(user.with("XDG_DATA_HOME", "/data/home"));
    EXPECT_EQ(TQLogger::defaultLogPath(), "/data/home/Mail/PluginLogs/pluginConsole.log");
  }
  ScopedEnvironment environment(user.with("XDG_DATA_HOME", "relative/ignored"));
  EXPECT_EQ(TQLogger::defaultLogPath(), "/home/ann/.local/share/Mail/PluginLogs/pluginConsole.log");
}

TEST(TQLoggerFileTest, NoDataDirectoryIsReportedAtItsFixedPlaceAndLoggingGoesOn) {
  AssertionFailure seen;
  Ref<TQLogger> logger;
  {
    ScopedEnvironment noHome(FixedEnvironment{});
    auto previous = setAssertionHandler([&](const AssertionFailure& f) { seen = f; });
    logger = TQLogger::initWithDelegate({});
    setAssertionHandler(previous);
  }
  EXPECT_EQ(seen.file, "TQLogger");
  EXPECT_EQ(seen.line, 156);
  EXPECT_EQ(seen.description, "Could not find location for log file");
  ASSERT_NE(logger, nullptr);
  EXPECT_EQ(logger->logPath(), "");
  RecordingConsole console;
  logger->logForIdentifier("id", "still logs");
  EXPECT_EQ(console.records().size(), 1u);
}

}  // namespace
}  // namespace tq
