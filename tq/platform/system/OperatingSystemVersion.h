#pragma once
// The running operating system's version. On Linux that is the kernel's
// release (`uname -r`, "6.1.0-18-amd64" reads as 6.1.0): the one version every
// distribution has, the one whose numbers tell which system calls and
// behaviours a process can count on, and one with three comparable numbers
// (a distribution's VERSION_ID is often a single number, or absent on rolling
// releases).

#include <cstdint>
#include <string_view>

namespace tq {

struct OperatingSystemVersion {
  std::int64_t majorVersion = 0;
  std::int64_t minorVersion = 0;
  std::int64_t patchVersion = 0;
};

/// The kernel release read now; all zero when `uname` fails.
OperatingSystemVersion operatingSystemVersion();
/// The leading dot-separated numbers of a release text; a part that is
/// missing or does not start with a digit is 0 ("6.1.0-18-amd64" gives
/// 6.1.0, "5.15" gives 5.15.0, "6.8.0rc1" gives 6.8.0).
OperatingSystemVersion operatingSystemVersionFromRelease(std::string_view release);

}  // namespace tq
