#include "tq/platform/system/OperatingSystemVersion.h"

#include <sys/utsname.h>

namespace tq {

namespace {

/// Reads the digits at `at` into `value` and steps over one following ".";
/// false when the release has no more numbered parts.
bool readPart(std::string_view release, std::size_t& at, std::int64_t& value) {
  if (at >= release.size() || release[at] < '0' || release[at] > '9') return false;
  value = 0;
  while (at < release.size() && release[at] >= '0' && release[at] <= '9') {
    if (value < 100000000) value = value * 10 + (release[at] - '0');
    ++at;
  }
  if (at < release.size() && release[at] == '.') {
    ++at;
    return true;
  }
  return false;
}

}  // namespace

OperatingSystemVersion operatingSystemVersionFromRelease(std::string_view release) {
  OperatingSystemVersion version;
  std::size_t at = 0;
  if (readPart(release, at, version.majorVersion) && readPart(release, at, version.minorVersion)) {
    readPart(release, at, version.patchVersion);
  }
  return version;
}

OperatingSystemVersion operatingSystemVersion() {
  utsname names{};
  if (uname(&names) != 0) return {};
  return operatingSystemVersionFromRelease(names.release);
}

}  // namespace tq
