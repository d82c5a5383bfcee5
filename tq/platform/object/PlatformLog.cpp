#include "tq/platform/object/PlatformLog.h"

#include <systemd/sd-journal.h>
#include <unistd.h>

#include <atomic>

namespace tq {
namespace {

std::atomic<PlatformLogHandler> handler{nullptr};

void defaultPlatformLog(const std::string& message) {
  if (platformLogUsesJournal()) {
    sd_journal_send("MESSAGE=%s", message.c_str(), "PRIORITY=%i", LOG_NOTICE, nullptr);
    return;
  }
  // One write per message, so that lines of different threads never mix.
  const std::string line = message + "\n";
  ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
  (void)written;
}

}  // namespace

bool platformLogUsesJournal() {
  static const bool present = ::access("/run/systemd/journal/socket", W_OK) == 0;
  return present;
}

PlatformLogHandler setPlatformLogHandler(PlatformLogHandler replacement) { return handler.exchange(replacement); }

void platformLog(const std::string& message) {
  PlatformLogHandler current = handler.load();
  (current ? current : defaultPlatformLog)(message);
}

}  // namespace tq
