#pragma once
// The time stamp of log lines, "yyyy-MM-dd HH:mm:ss.SSS" in local time.
// Formatted by hand with a per-thread cache of the current second: the log
// writer formats every line, and a full calendar formatter per line would
// cost more than the write.

#include <string>

#include "tq/platform/value/Date.h"

namespace tq::detail {

/// Appends the stamp of a moment (seconds since the reference date).
void appendLogTimestamp(std::string& out, TimeInterval sinceReferenceDate);
std::string logTimestamp(TimeInterval sinceReferenceDate);

}  // namespace tq::detail
