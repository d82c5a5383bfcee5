#include "tq/logging/LogConsoleSink.h"

#include <systemd/sd-journal.h>
#include <unistd.h>

#include <memory>
#include <mutex>
#include <shared_mutex>

#include "tq/platform/object/PlatformLog.h"

namespace tq {
namespace {

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

bool logConsoleUsesJournal() { return platformLogUsesJournal(); }

LogConsoleSink setLogConsoleSink(LogConsoleSink sink) {
  std::unique_lock lock(sinkMutex());
  LogConsoleSink previous = std::move(replacedSink());
  replacedSink() = std::move(sink);
  return previous;
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
