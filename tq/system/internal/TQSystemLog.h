#pragma once
// Where the bundle and script helpers report: the application's logger under
// the plug-in name "TQS" when the host set one, else the platform log.

#include <string>

namespace tq::detail {

void logToApplicationLogger(const std::string& message, const char* file, const char* function, long line);

}  // namespace tq::detail

#define TQ_SYSTEM_LOG(message) ::tq::detail::logToApplicationLogger((message), __FILE__, __func__, __LINE__)
