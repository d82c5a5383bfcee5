#pragma once
// The structured system-log sink. Records carry a subsystem and a category
// as fields: they go to the journal when its socket exists (sending to a
// journal that is not there "succeeds" silently, so the socket is checked),
// and otherwise to standard error as "[subsystem:category] message" lines.
// Tests and hosts can replace the sink.

#include <functional>
#include <string>

namespace tq {

struct LogConsoleRecord {
  std::string subsystem;
  std::string category;
  std::string message;
};

using LogConsoleSink = std::function<void(const LogConsoleRecord&)>;

/// Replaces the process's console sink; an empty sink restores the default.
/// Answers the previous one (empty when it was the default).
LogConsoleSink setLogConsoleSink(LogConsoleSink sink);
/// Sends a record to the current sink.
void emitLogConsoleRecord(const LogConsoleRecord& record);
/// The platform log, for the few messages that bypass the logger's own
/// sinks (the log file cannot be created): the journal when its socket
/// exists, else one line on standard error.
void emitPlatformLogMessage(const std::string& message);
/// Whether the default sink writes to the journal.
bool logConsoleUsesJournal();

}  // namespace tq
