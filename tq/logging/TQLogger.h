#pragma once
// The process's one logger. Every call goes to two sinks, each of which can
// be switched off: the structured system log (subsystem and category as
// fields) and the plug-in log file, which starts empty at every launch. The
// file is written on the logger's own serial queue; callers never wait for
// the disk. A delegate can follow the file as it grows.
//
// Texts are UTF-8. Optional texts (`OptText`) are nil when empty-handed
// (`std::nullopt`), which the line formats tell apart from "".

#include <atomic>
#include <cstdarg>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <unordered_map>

#include "tq/logging/TQLogEntry.h"
#include "tq/platform/dispatch/DispatchSource.h"
#include "tq/platform/dispatch/OperationQueue.h"
#include "tq/platform/system/LineFollower.h"

#define TQ_PRINTF_LIKE(fmt, args) __attribute__((format(printf, fmt, args)))

namespace tq {

class TQLogger;
namespace detail {
class LogFileSink;
}
using OptText = std::optional<std::string_view>;

/// The follower of the log file (the log console).
class TQLoggerDelegate {
 public:
  virtual ~TQLoggerDelegate() = default;
  /// The text appended to the file since the last call, on the main thread.
  virtual void loggerAppendedString(const Ref<String>& appended) {}
  /// False for a delegate that does not take appended text; the logger then
  /// only keeps its read position at the end of the file.
  virtual bool respondsToLoggerAppendedString() const { return true; }
  /// Declared for hosts; the library never sends it.
  virtual void loggerWasClosed(TQLogger& logger) {}
};

class TQLogger : public Object {
 public:
  /// The logger's release date, and the generation of its file format.
  static constexpr long version() { return 20191204; }
  static constexpr long loggerVersion() { return 2; }

  /// A logger with no file (the defaults of `init`).
  TQLogger();
  ~TQLogger() override;
  std::string className() const override { return "TQLogger"; }

  /// A logger on the default log file: "Mail/PluginLogs/pluginConsole.log"
  /// under the user's data directory ($XDG_DATA_HOME, else ~/.local/share).
  static Ref<TQLogger> initWithDelegate(std::weak_ptr<TQLoggerDelegate> delegate, OptText initialLog = std::nullopt);
  /// A logger on the given file, which is deleted and recreated empty. An
  /// empty path makes a logger that writes to the system log only. The
  /// initial log text is accepted and ignored.
  static Ref<TQLogger> initWithLogFileURL(const std::string& path, std::weak_ptr<TQLoggerDelegate> delegate,
                                          OptText initialLog = std::nullopt);
  /// The default log file path, or "" when no data directory can be found.
  static std::string defaultLogPath();

  /// Process-wide map from bundle identifier to log identifier; the first
  /// registration of a bundle identifier wins.
  static void registerLogIdentifier(std::string_view identifier, std::string_view forBundleIdentifier);
  /// Nil for an empty bundle identifier, an unregistered one or an empty
  /// registered identifier.
  static std::optional<std::string> logIdentifierForBundleIdentifier(std::string_view bundleIdentifier);
  /// Maps an identifier to the component name used as system-log subsystem;
  /// nil removes it.
  void registerIdentifier(std::string_view identifier, OptText forComponentName);

  // Properties.
  std::optional<std::string> defaultIdentifier() const;
  void setDefaultIdentifier(OptText identifier);
  bool logLine() const { return logLine_.load(); }
  void setLogLine(bool value) { logLine_ = value; }
  bool logToConsole() const { return logToConsole_.load(); }
  void setLogToConsole(bool value) { logToConsole_ = value; }
  bool logToFile() const { return logToFile_.load(); }
  void setLogToFile(bool value) { logToFile_ = value; }
  const Ref<OperationQueue>& logQueue() const { return logQueue_; }
  const std::string& logPath() const { return logPath_; }
  /// The log path without its last component.
  std::string directory() const;
  long osVersion() const { return osVersion_.load(); }
  std::shared_ptr<TQLoggerDelegate> delegate() const;
  /// Follows the file for the delegate (reading from the start of the file);
  /// a null delegate stops following.
  void setDelegate(std::weak_ptr<TQLoggerDelegate> delegate);
  /// The whole log file as UTF-8; nil when it cannot be read.
  Ref<String> consoleLog() const;
  /// Blocks until every line handed over so far is in the file.
  void flush();

  // Writing. Every method may be called from any thread.
  void log(const char* format, ...) TQ_PRINTF_LIKE(2, 3);
  /// "[category] text" under the category as identifier.
  void logForCategory(std::string_view category, const char* format, ...) TQ_PRINTF_LIKE(3, 4);
  /// The thread-tagged line: "STAMP 🧵 N : text".
  void logForIdentifier(OptText identifier, std::string_view logString);
  /// The prefixed line: "STAMP: prefix text".
  void logForIdentifier(OptText identifier, OptText category, OptText logPrefix, std::string_view logString);
  /// "[plugin_key:branch 🐞 #bug] " with an optional "function:line" line.
  /// The file is accepted and never shown.
  void logForPlugin(OptText plugin, OptText logKey, OptText branch, long bug, const char* file, const char* function,
                    long lineNumber, std::string_view logString);
  /// The same with file and function as texts.
  void logForPlugin(OptText plugin, OptText logKey, OptText branch, long bug, const std::string& fileString,
                    const std::string& functionString, long lineNumber, std::string_view logString);
  void logForPluginFormat(OptText plugin, OptText logKey, OptText branch, long bug, const char* file,
                          const char* function, long lineNumber, const char* format, ...) TQ_PRINTF_LIKE(9, 10);
  void logForKey(OptText key, const char* file, const char* function, long lineNumber, const char* format, ...)
      TQ_PRINTF_LIKE(6, 7);
  void logForBranch(OptText branch, const char* file, const char* function, long lineNumber, const char* format, ...)
      TQ_PRINTF_LIKE(6, 7);
  void logForBug(long bug, const char* file, const char* function, long lineNumber, const char* format, ...)
      TQ_PRINTF_LIKE(6, 7);

  // Subsystem-style entry points (each builds a TQLogEntry).
  void logCategory(OptText category, const char* format, ...) TQ_PRINTF_LIKE(3, 4);
  void logSubsystem(OptText subsystem, const char* format, ...) TQ_PRINTF_LIKE(3, 4);
  void logSubsystemCategory(OptText subsystem, OptText category, const char* format, ...) TQ_PRINTF_LIKE(4, 5);
  /// With parsing of a leading "[subsystem:category]".
  void logSubsystemCategoryParseableFormat(OptText subsystem, OptText category, const char* format, ...)
      TQ_PRINTF_LIKE(4, 5);
  /// Deliberately passes the category as both subsystem and category, and
  /// parses.
  void logSubsystemCategoryLevel(OptText subsystem, OptText category, long level, const char* format, ...)
      TQ_PRINTF_LIKE(5, 6);
  /// Deliberately swaps subsystem and category and drops the level.
  void logSubsystemCategoryLevelString(OptText subsystem, OptText category, long level, std::string_view string);
  /// The common path: level 1 is dropped; with `parse`, a leading
  /// "[subsystem:category]" overrides the labels.
  void _logSubsystem(OptText subsystem, OptText category, long level, std::string_view logstring, bool parse);

  /// The thread-dictionary key under which each thread keeps its index.
  static std::string threadIndexKey();

  /// Logs the host, system, logger and add-on versions under "SuiteBundle".
  void logVersionInfo();
  /// The host's version texts for the version report (the host's bundle
  /// short version and build version); "(null)" until set.
  static void setHostVersion(std::string shortVersion, std::string bundleVersion);
  static std::pair<std::string, std::string> hostVersion();

 private:
  void setUpFile(const std::string& path);
  void installUncaughtExceptionHook();
  std::string resolveName(OptText identifier) const;
  long currentThreadIndex();
  void logForIdentifierV(OptText identifier, const char* format, va_list args);
  void followFile();
  void readAppended();

  std::atomic<bool> logLine_{true};
  std::atomic<bool> logToConsole_{true};
  std::atomic<bool> logToFile_{true};
  std::atomic<long> osVersion_{0};
  Ref<OperationQueue> logQueue_;
  std::string logPath_;
  int writeFd_ = -1;
  std::unique_ptr<detail::LogFileSink> fileSink_;

  mutable std::recursive_mutex monitor_;  // the logger's own lock
  std::optional<std::string> defaultIdentifier_;
  std::shared_ptr<const std::unordered_map<std::string, std::string>> identifierMap_;

  mutable std::mutex delegateMutex_;
  std::weak_ptr<TQLoggerDelegate> delegate_;
  DispatchSourceRef readSource_;
  // The follower's reads, and the file it reads (there exactly while a
  // delegate is set).
  std::mutex followMutex_;
  std::optional<LineFollower> follower_;
};

}  // namespace tq
