#include "tq/platform/system/TimeZoneSetting.h"

#include <unistd.h>

#include <climits>
#include <fstream>
#include <optional>

#include "tq/platform/system/Environment.h"
#include "tq/platform/system/internal/CurrentService.h"

namespace tq {

namespace {

constexpr std::string_view ZoneFolder = "zoneinfo/";

/// "Europe/Paris" from "/usr/share/zoneinfo/Europe/Paris" (or any path with
/// a zoneinfo folder in it); the text itself when it names no such path.
std::string zoneNameFromPath(std::string path) {
  std::size_t at = path.rfind(ZoneFolder);
  if (at != std::string::npos) return path.substr(at + ZoneFolder.size());
  return path;
}

/// The machine's zone, which does not change while the process runs in any
/// way that matters here: read once.
std::string machineZone() {
  static const std::string zone = [] {
    char target[PATH_MAX];
    ssize_t length = readlink("/etc/localtime", target, sizeof target - 1);
    if (length > 0) {
      std::string name = zoneNameFromPath(std::string(target, std::size_t(length)));
      if (!name.empty() && name.find("zoneinfo") == std::string::npos) return name;
    }
    std::ifstream file("/etc/timezone");
    std::string line;
    if (file && std::getline(file, line) && !line.empty()) return line;
    return std::string("UTC");
  }();
  return zone;
}

class SystemTimeZoneSetting : public TimeZoneSetting {
 public:
  std::string identifier() const override {
    std::optional<std::string> tz = environmentVariable("TZ");
    if (!tz || tz->empty()) return machineZone();
    std::string name = *tz;
    if (name.front() == ':') name.erase(0, 1);
    return name.empty() ? std::string("UTC") : zoneNameFromPath(name);
  }
};

detail::CurrentService<TimeZoneSetting>& installed() {
  static detail::CurrentService<TimeZoneSetting> state(std::make_shared<SystemTimeZoneSetting>());
  return state;
}

}  // namespace

std::shared_ptr<const TimeZoneSetting> TimeZoneSetting::current() { return installed().get(); }
std::shared_ptr<const TimeZoneSetting> TimeZoneSetting::setCurrent(std::shared_ptr<const TimeZoneSetting> setting) {
  return installed().set(std::move(setting));
}
std::shared_ptr<const TimeZoneSetting> TimeZoneSetting::system() { return installed().real(); }

}  // namespace tq
