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
/// Whether the default sink writes to the journal.
bool logConsoleUsesJournal();

}  // namespace tq
