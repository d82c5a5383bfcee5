// Following the file, the typed entry points, the version report and the
// uncaught-exception hook.

#include <atomic>
#include <thread>

#include "tests/logging/LoggerTestSupport.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/system/Environment.h"
#include "tq/logging/TQLogEntryPoints.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/dispatch/RunLoop.h"

namespace tq {
namespace {

using namespace tq::testing;

class Follower : public TQLoggerDelegate {
 public:
  void loggerAppendedString(const Ref<String>& appended) override {
    onMain = onMain && RunLoop::isMainThread();
    text += appended->utf8();
    ++calls;
  }
  std::string text;
  int calls = 0;
  bool onMain = true;
};

class SilentFollower : public TQLoggerDelegate {
 public:
  bool respondsToLoggerAppendedString() const override { return false; }
  void loggerAppendedString(const Ref<String>&) override { called = true; }
  bool called = false;
};

using TQLoggerFollowTest = LoggerFixture;

TEST_F(TQLoggerFollowTest, DelegateReceivesAppendedTextOnTheMainThread) {
  RunLoop::main().drain();
  logger_->logForIdentifier("id", std::nullopt, std::nullopt, "before following");
  logger_->flush();
  auto follower = std::make_shared<Follower>();
  logger_->setDelegate(follower);
  EXPECT_EQ(logger_->delegate(), follower);
  ASSERT_TRUE(RunLoop::main().runUntil([&] { return follower->text.find("before following") != std::string::npos; }, 5))
      << "the follower starts at the beginning of the file";
  std::thread([&] { logger_->logForIdentifier("id", std::nullopt, std::nullopt, "from a thread"); }).join();
  ASSERT_TRUE(RunLoop::main().runUntil([&] { return follower->text.find("from a thread") != std::string::npos; }, 5));
  EXPECT_TRUE(follower->onMain);
  EXPECT_EQ(follower->text, fileText());

  logger_->setDelegate({});
  EXPECT_EQ(logger_->delegate(), nullptr);
  int calls = follower->calls;
  logger_->logForIdentifier("id", std::nullopt, std::nullopt, "after");
  logger_->flush();
  RunLoop::main().runFor(0.1);
  EXPECT_EQ(follower->calls, calls);
}

TEST_F(TQLoggerFollowTest, ALineStillBeingWrittenWaitsForItsEnd) {
  RunLoop::main().drain();
  auto follower = std::make_shared<Follower>();
  logger_->setDelegate(follower);
  // Another writer's line arriving in two pieces, the cut inside a character.
  std::string line = "2024-05-02 09:15:03.120: caf\xC3\xA9 au lait\n";
  std::size_t cut = line.find('\xC3') + 1;
  {
    std::ofstream out(path_, std::ios::app | std::ios::binary);
    out << line.substr(0, cut);
  }
  RunLoop::main().runFor(0.2);
  EXPECT_EQ(follower->calls, 0) << follower->text;
  {
    std::ofstream out(path_, std::ios::app | std::ios::binary);
    out << line.substr(cut);
  }
  ASSERT_TRUE(RunLoop::main().runUntil([&] { return follower->calls > 0; }, 5));
  EXPECT_EQ(follower->text, line);
  EXPECT_EQ(follower->calls, 1);
  logger_->setDelegate({});
}

TEST_F(TQLoggerFollowTest, DelegateWithoutTheMethodIsNotCalled) {
  auto follower = std::make_shared<SilentFollower>();
  logger_->setDelegate(follower);
  logger_->logForIdentifier("id", std::nullopt, std::nullopt, "ignored");
  logger_->flush();
  RunLoop::main().runFor(0.1);
  EXPECT_FALSE(follower->called);
  logger_->setDelegate({});
}

TEST(TQLogEntryPointTest, WithoutALoggerTheMessageGoesToStandardOutput) {
  auto app = Application::shared();
  auto saved = logger(*app);
  setLogger(*app, nullptr);
  ::testing::internal::CaptureStdout();
  TQ_LOG_KEY("sync", "message one");
  TQLogForBranch("dev", "message two", "f.cpp", "fn", 1);
  TQLogForBug(7, "message three", "f.cpp", "fn", 1);
  EXPECT_EQ(::testing::internal::GetCapturedStdout(),
            "LogForKey: message one\nLogForBranch: message two\nLogForBug: message three\n");
  setLogger(*app, saved);
}

TEST(TQLogEntryPointTest, WithALoggerTheEntryPointsUseThePluginName) {
  ::setenv("TZ", "UTC", 1);
  ::tzset();
  TemporaryFolder folder("entry");
  auto app = Application::shared();
  auto saved = logger(*app);
  auto log = TQLogger::initWithLogFileURL((folder / "p.log").string(), {});
  log->setLogToConsole(false);
  setLogger(*app, log);
  EXPECT_EQ(logger(*app), log);
  TQLogForKey("sync", "keyed", "f.cpp", "fn", 3);
  TQLogForBranch("dev", "branched", "f.cpp", "fn", 4);
  TQLogForBug(9, "bugged", "f.cpp", "fn", 5);
  log->flush();
  std::string text = readWholeFile(folder / "p.log");
  EXPECT_NE(text.find(": [Torvy_sync] fn:3\n\t\tkeyed\n"), std::string::npos) << text;
  EXPECT_NE(text.find(": [Torvy:dev] fn:4\n\t\tbranched\n"), std::string::npos) << text;
  EXPECT_NE(text.find(": [Torvy 🐞 #9] fn:5\n\t\tbugged\n"), std::string::npos) << text;
  setLogger(*app, saved);
}

TEST(TQLogEntryPointDeathTest, WithoutAnApplicationObjectTheProcessStops) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        if (Application::current()) std::abort();  // a fresh process has none
        TQLogForKey("k", "lost", "f.cpp", "fn", 1);
        std::exit(0);
      },
      "no application object");
}

TEST(TQLoggerVersionTest, ReportListsSystemLoggerAndComponents) {
  TemporaryFolder data("data");
  auto bundle = data / "Mail/Bundles/Sample.mailbundle/Contents";
  fs::create_directories(bundle);
  std::ofstream(bundle / "Info.plist")
      << "<plist><dict><key>CFBundleVersion</key>\n  <string>1234</string></dict></plist>";
  // A bundle whose information list is binary, as build tools often write it.
  auto binaryBundle = data / "Mail/Bundles/Binary.mailbundle/Contents";
  fs::create_directories(binaryBundle);
  auto info = dict({{str("CFBundleVersion"), str("77.1")}});
  ASSERT_TRUE(PropertyList::writeFile(info.get(), (binaryBundle / "Info.plist").string(), PropertyListFormat::Binary));
  fs::create_directories(data / "Mail/Bundles/Ignored.txt");
  fs::create_directories(data / "Mail/Quillmere/Components/Part.suitecomponent");
  ScopedEnvironment environment(FixedEnvironment({{"XDG_DATA_HOME", data.string()}, {"XDG_DATA_DIRS", "/nonexistent-tq"}}));

  TQLogger::setHostVersion("16.0", "3731");
  auto log = TQLogger::initWithLogFileURL((data / "v.log").string(), {});
  RecordingConsole console;
  log->logVersionInfo();
  log->flush();
  std::string text = readWholeFile(data / "v.log");
  EXPECT_NE(text.find(" : Loaded Mail Version 16.0 (3731)\n\t\t"), std::string::npos) << text;
  EXPECT_NE(text.find(")Logger: TQLogger (version 20191204)\n\t\tInstalled Bundles:\n\t\t\t" +
                      (fs::canonical(data.path()) / "Mail/Bundles/Binary.mailbundle").string() + " (77.1)\n\t\t\t" +
                      (fs::canonical(data.path()) / "Mail/Bundles/Sample.mailbundle").string() + " (1234)\n"),
            std::string::npos)
      << text;
  EXPECT_NE(text.find("Installed Suite Components:\n\t\t\t"), std::string::npos);
  EXPECT_NE(text.find("Part.suitecomponent ((null))"), std::string::npos);
  EXPECT_EQ(text.find("Ignored"), std::string::npos);
  ASSERT_EQ(console.records().size(), 1u);
  EXPECT_EQ(console.records()[0].subsystem, "SuiteBundle");
}

TEST(TQLoggerExceptionDeathTest, UncaughtExceptionIsLoggedBeforeThePreviousHandler) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  // The death test runs in a re-executed child, which names the folder after
  // its parent: the process running this test.
  auto folderOf = [](pid_t owner) { return fs::temp_directory_path() / ("tq-uncaught-" + std::to_string(owner)); };
  auto folder = folderOf(::getpid());
  EXPECT_DEATH(
      {
        auto path = (folderOf(::getppid()) / "crash.log").string();
        std::set_terminate([] {
          std::fputs("previous handler ran\n", stderr);
          std::abort();
        });
        auto log = TQLogger::initWithLogFileURL(path, {});
        log->setLogToConsole(false);
        setLogger(*Application::shared(), log);
        std::thread([] { raise(ExceptionName::Range, "index 3 beyond bounds"); }).join();
      },
      "previous handler ran");
  std::string text = readWholeFile(folder / "crash.log");
  EXPECT_NE(text.find(" : [Exception] RangeException: index 3 beyond bounds\n"), std::string::npos) << text;
  fs::remove_all(folder);
}

}  // namespace
}  // namespace tq
