#pragma once
// Shared helpers of the logger tests: a temporary log folder, a fixed
// clock, and a console sink that records what it gets.

#include <unistd.h>

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "tests/support/Eventually.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/logging/LogConsoleSink.h"
#include "tq/logging/TQLogger.h"
#include "tq/platform/system/Clocks.h"

namespace tq::testing {

namespace fs = std::filesystem;

/// A path in a test's temporary folder: `folder / "p.log"`.
inline fs::path operator/(const TemporaryFolder& folder, const fs::path& name) { return folder.path() / name; }

inline std::string readWholeFile(const fs::path& path) {
  std::ifstream in(path, std::ios::binary);
  std::ostringstream out;
  out << in.rdbuf();
  return out.str();
}

/// The moment every logger test writes at (2024-05-02 09:15:03.120 UTC).
inline constexpr double fixedMomentSince1970 = 1714641303.120 + 0.0001;

class RecordingConsole {
 public:
  RecordingConsole() {
    previous_ = setLogConsoleSink([this](const LogConsoleRecord& r) { records_(r); });
  }
  ~RecordingConsole() { setLogConsoleSink(previous_); }
  std::vector<LogConsoleRecord> records() { return records_.snapshot(); }

 private:
  Recorder<LogConsoleRecord> records_;
  LogConsoleSink previous_;
};

/// A logger on a fresh file, in UTC, on the fixed clock.
class LoggerFixture : public ::testing::Test {
 protected:
  void SetUp() override {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    previousClock_ = WallClock::setCurrent(std::make_shared<ManualClock>(fixedMomentSince1970));
    path_ = folder_ / "PluginLogs" / "pluginConsole.log";
    logger_ = TQLogger::initWithLogFileURL(path_.string(), {});
  }
  void TearDown() override {
    logger_.reset();
    WallClock::setCurrent(previousClock_);
  }
  std::string fileText() {
    logger_->flush();
    return readWholeFile(path_);
  }

  std::shared_ptr<const WallClock> previousClock_;
  TemporaryFolder folder_{"logger"};
  fs::path path_;
  Ref<TQLogger> logger_;
  RecordingConsole console_;
};

}  // namespace tq::testing
