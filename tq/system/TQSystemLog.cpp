#include "tq/system/internal/TQSystemLog.h"

#include "tq/logging/TQLogEntryPoints.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/system/TQBundle.h"

namespace tq::detail {

void logToApplicationLogger(const std::string& message, const char* file, const char* function, long line) {
  auto application = Application::current();
  if (auto log = application ? logger(*application) : nullptr) {
    log->logForPlugin(DefaultLogIdentifier, std::nullopt, std::nullopt, 0, file, function, line, message);
  } else {
    platformLog(message);
  }
}

}  // namespace tq::detail
