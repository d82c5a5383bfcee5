#pragma once
// The logger on the application object, and the typed entry points that the
// add-ons' own code logs through.

#include <string_view>

#include "tq/logging/TQLogger.h"
#include "tq/platform/object/Application.h"

namespace tq {

/// The application's logger (nil when none was set).
Ref<TQLogger> logger(const Application& application);
void setLogger(Application& application, Ref<TQLogger> logger);

/// The plug-in name the typed entry points log under.
inline constexpr const char* TypedEntryPointPlugin = "Torvy";

/// Log through the application's logger under the plug-in name, with the one
/// given value in its slot. Without a logger the message goes to standard
/// output as "LogForKey: message" (or "LogForBranch: ", "LogForBug: ").
/// Without an application object the process stops.
void TQLogForKey(std::string_view key, std::string_view message, std::string_view file, std::string_view function,
                 long line);
void TQLogForBranch(std::string_view branch, std::string_view message, std::string_view file, std::string_view function,
                    long line);
void TQLogForBug(long bug, std::string_view message, std::string_view file, std::string_view function, long line);

}  // namespace tq

#define TQ_LOG_KEY(key, message) ::tq::TQLogForKey((key), (message), __FILE__, __func__, __LINE__)
#define TQ_LOG_BRANCH(branch, message) ::tq::TQLogForBranch((branch), (message), __FILE__, __func__, __LINE__)
#define TQ_LOG_BUG(bug, message) ::tq::TQLogForBug((bug), (message), __FILE__, __func__, __LINE__)
