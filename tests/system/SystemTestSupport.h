#pragma once
// What the system tests share: bundles written into a temporary folder, and
// the platform log caught for the messages the helpers write there.

#include <mutex>
#include <string>
#include <vector>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/object/PlatformLog.h"

namespace tq::testing {

/// An Info.plist with the given string entries.
inline std::string infoPlist(std::initializer_list<std::pair<const char*, const char*>> entries) {
  std::string text = "<plist version=\"1.0\"><dict>";
  for (auto [key, value] : entries) text += std::string("<key>") + key + "</key><string>" + value + "</string>";
  return text + "</dict></plist>";
}

/// Writes "<name>/Contents/Info.plist" below the folder and opens the bundle.
inline Ref<Bundle> writeBundle(const TemporaryFolder& folder, const std::string& name,
                               std::initializer_list<std::pair<const char*, const char*>> info = {}) {
  folder.write(name + "/Contents/Info.plist", infoPlist(info));
  return Bundle::bundleWithPath(folder.string() + "/" + name);
}

/// Catches the platform log while it lives.
class CaughtPlatformLog {
 public:
  CaughtPlatformLog() {
    lines().clear();
    previous_ = setPlatformLogHandler(&catchLine);
  }
  ~CaughtPlatformLog() { setPlatformLogHandler(previous_); }
  std::vector<std::string> taken() {
    std::lock_guard lock(mutex());
    return std::exchange(lines(), {});
  }

 private:
  static std::mutex& mutex() {
    static std::mutex m;
    return m;
  }
  static std::vector<std::string>& lines() {
    static std::vector<std::string> caught;
    return caught;
  }
  static void catchLine(const std::string& line) {
    std::lock_guard lock(mutex());
    lines().push_back(line);
  }
  PlatformLogHandler previous_;
};

}  // namespace tq::testing
