// The uncaught-exception hook: an exception that ends the process is written
// to the log (and the file flushed) before the previously installed
// terminate handler runs.

#include <exception>
#include <mutex>

#include "tq/logging/TQLogEntryPoints.h"
#include "tq/logging/TQLogger.h"
#include "tq/platform/object/Exception.h"

namespace tq {
namespace {

std::terminate_handler previousHandler = nullptr;
std::once_flag installed;

std::string describeActiveException() {
  std::exception_ptr active = std::current_exception();
  if (!active) return "terminate called without an active exception";
  try {
    std::rethrow_exception(active);
  } catch (const Exception& e) {
    return e.name() + ": " + e.reason();
  } catch (const std::exception& e) {
    return e.what();
  } catch (...) {
    return "unknown exception";
  }
}

[[noreturn]] void loggingTerminateHandler() {
  if (auto app = Application::current()) {
    if (auto log = logger(*app)) {
      bool wasLoggingToConsole = log->logToConsole();
      log->setLogToConsole(true);
      log->logForCategory("Exception", "%s", describeActiveException().c_str());
      log->setLogToConsole(wasLoggingToConsole);
      log->flush();
    }
  }
  if (previousHandler) previousHandler();
  std::abort();
}

}  // namespace

void TQLogger::installUncaughtExceptionHook() {
  // Installed once per process, so that a second logger does not chain the
  // hook to itself.
  std::call_once(installed, [] { previousHandler = std::set_terminate(loggingTerminateHandler); });
}

}  // namespace tq
