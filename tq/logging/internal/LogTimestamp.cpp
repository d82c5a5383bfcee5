#include "tq/logging/internal/LogTimestamp.h"

#include <cmath>
#include <cstdio>
#include <ctime>

namespace tq::detail {

void appendLogTimestamp(std::string& out, TimeInterval sinceReferenceDate) {
  double since1970 = sinceReferenceDate + TimeIntervalSince1970;
  double whole = std::floor(since1970);
  int millis = static_cast<int>((since1970 - whole) * 1000.0);
  if (millis > 999) millis = 999;
  auto seconds = static_cast<std::time_t>(whole);

  thread_local std::time_t cachedSecond = -1;
  thread_local char cachedPrefix[32];
  if (seconds != cachedSecond) {
    std::tm parts{};
    ::localtime_r(&seconds, &parts);
    std::strftime(cachedPrefix, sizeof cachedPrefix, "%Y-%m-%d %H:%M:%S", &parts);
    cachedSecond = seconds;
  }
  char millisText[8];
  std::snprintf(millisText, sizeof millisText, ".%03d", millis);
  out.append(cachedPrefix);
  out.append(millisText);
}

std::string logTimestamp(TimeInterval sinceReferenceDate) {
  std::string out;
  appendLogTimestamp(out, sinceReferenceDate);
  return out;
}

}  // namespace tq::detail
