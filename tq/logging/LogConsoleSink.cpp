#include "tq/logging/LogConsoleSink.h"

#include <systemd/sd-journal.h>
#include <unistd.h>

#include <memory>
#include <mutex>
#include <shared_mutex>

namespace tq {
namespace {

constexpr const char* kJournalSocket = "/run/systemd/journal/socket";

std::shared_mutex& sinkMutex() {
  static auto* mutex = new std::shared_mutex;
  return *mutex;
}
LogConsoleSink& replacedSink() {
  static auto* sink = new LogConsoleSink;
  return *sink;
}

void defaultSink(const LogConsoleRecord& record) {
  if (logConsoleUsesJournal()) {
    sd_journal_send("MESSAGE=%s", record.message.c_str(), "PRIORITY=5", "TQ_SUBSYSTEM=%s", record.subsystem.c_str(),
                    "TQ_CATEGORY=%s", record.category.c_str(), nullptr);
    return;
  }
  // One write per record, so lines of different threads never mix.
  std::string line;
  line.reserve(record.subsystem.size() + record.category.size() + record.message.size() + 8);
  line += '[';
  line += record.subsystem;
  line += ':';
  line += record.category;
  line += "] ";
  line += record.message;
  line += '\n';
  ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
  (void)written;
}

}  // namespace

bool logConsoleUsesJournal() {
  static const bool present = ::access(kJournalSocket, F_OK) == 0;
  return present;
}

LogConsoleSink setLogConsoleSink(LogConsoleSink sink) {
  std::unique_lock lock(sinkMutex());
  LogConsoleSink previous = std::move(replacedSink());
  replacedSink() = std::move(sink);
  return previous;
}

void emitPlatformLogMessage(const std::string& message) {
  if (logConsoleUsesJournal()) {
    sd_journal_send("MESSAGE=%s", message.c_str(), "PRIORITY=5", nullptr);
    return;
  }
  std::string line = message + "\n";
  ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
  (void)written;
}

void emitLogConsoleRecord(const LogConsoleRecord& record) {
  {
    std::shared_lock lock(sinkMutex());
    if (replacedSink()) {
      replacedSink()(record);
      return;
    }
  }
  defaultSink(record);
}

}  // namespace tq
