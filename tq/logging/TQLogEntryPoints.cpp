#include "tq/logging/TQLogEntryPoints.h"

#include <unistd.h>

#include <cstdio>
#include <cstdlib>

namespace tq {
namespace {

constexpr const char* kLoggerKey = "logger";

// Returns the logger, or prints the fallback line and answers nil.
Ref<TQLogger> loggerOrFallback(const char* label, std::string_view message) {
  auto app = Application::current();
  if (!app) {
    std::string report = std::string(label) + "no application object; cannot log: " + std::string(message) + "\n";
    ssize_t written = ::write(STDERR_FILENO, report.data(), report.size());
    (void)written;
    std::abort();
  }
  auto log = logger(*app);
  if (!log) {
    std::string line = std::string(label) + std::string(message) + "\n";
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
  }
  return log;
}

}  // namespace

Ref<TQLogger> logger(const Application& application) {
  return std::static_pointer_cast<TQLogger>(application.associatedObject(kLoggerKey));
}

void setLogger(Application& application, Ref<TQLogger> logger) {
  application.setAssociatedObject(kLoggerKey, std::move(logger));
}

void TQLogForKey(std::string_view key, std::string_view message, std::string_view file, std::string_view function,
                 long line) {
  if (auto log = loggerOrFallback("LogForKey: ", message)) {
    log->logForPlugin(TypedEntryPointPlugin, key, std::nullopt, 0, std::string(file), std::string(function), line,
                      message);
  }
}

void TQLogForBranch(std::string_view branch, std::string_view message, std::string_view file, std::string_view function,
                    long line) {
  if (auto log = loggerOrFallback("LogForBranch: ", message)) {
    log->logForPlugin(TypedEntryPointPlugin, std::nullopt, branch, 0, std::string(file), std::string(function), line,
                      message);
  }
}

void TQLogForBug(long bug, std::string_view message, std::string_view file, std::string_view function, long line) {
  if (auto log = loggerOrFallback("LogForBug: ", message)) {
    log->logForPlugin(TypedEntryPointPlugin, std::nullopt, std::nullopt, bug, std::string(file), std::string(function),
                      line, message);
  }
}

}  // namespace tq
