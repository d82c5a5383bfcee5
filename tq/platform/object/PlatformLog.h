#pragma once
// The platform log: where the few messages that bypass the library's own
// logger go (a header value that does not decode, a log file that cannot be
// created). The journal when its socket exists, else one line on standard
// error. Hosts and tests can replace the destination.

#include <string>

namespace tq {

using PlatformLogHandler = void (*)(const std::string& message);

/// Replaces the destination; a null handler restores the default. Answers
/// the previous handler (null when it was the default).
PlatformLogHandler setPlatformLogHandler(PlatformLogHandler handler);

/// Writes one message to the platform log.
void platformLog(const std::string& message);

/// Whether the default destination is the journal. The journal accepts
/// messages even when nothing receives them, so it is used only when its
/// socket is there.
bool platformLogUsesJournal();

}  // namespace tq
