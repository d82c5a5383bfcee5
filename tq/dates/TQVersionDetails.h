#pragma once
// Dotted version numbers major.minor.maintenance with an optional build
// number after a "b" (4.2.1b123): read from text or from a bundle, compared
// with a choice of how many parts count, and written for display. Also the
// running system's version as one comparable integer.

#include <cstdint>
#include <mutex>
#include <string>

#include "tq/platform/object/Comparable.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"

namespace tq {

/// Which parts `compare` looks at. Major always counts; minor, maintenance
/// and build nest: each counts only when the one above it does.
enum TQVersionCompareOptions : std::uint16_t {
  TQVersionCompareBuild = 1,
  TQVersionCompareMaintenance = 2,
  TQVersionCompareMinor = 4,
  TQVersionCompareAll = 15,
};

/// How `displayStringWithOptions` writes a version.
enum TQVersionDisplayOptions : std::uint16_t {
  TQVersionDisplayWithBuild = 1,  // "4.2.1 build 123" (no build part when it is 0)
  TQVersionDisplayCompact = 3,    // "4.2.1b123", 0 included
};

class TQVersionDetails : public Object {
 public:
  /// Reads "major.minor.maintenance[bBUILD]"; missing parts are 0, parts that
  /// are not numbers read as 0. More than three dot-separated parts fail the
  /// assertion "malformed version string TEXT"; with assertions compiled out
  /// the first three are read. Nil for nil text.
  static Ref<TQVersionDetails> initWithVersionString(const Ref<String>& versionString);
  static Ref<TQVersionDetails> initWithVersionString(std::string_view versionString);
  /// The version ("CFBundleVersion") in <path>/Contents/Info.plist, read now;
  /// nil when the file cannot be read or has no version.
  static Ref<TQVersionDetails> versionDetailsForBundleAtPath(const String& path);

  std::int64_t major() const { return major_; }
  std::int64_t minor() const { return minor_; }
  std::int64_t maintenance() const { return maintenance_; }
  std::int64_t build() const { return build_; }
  void setMajor(std::int64_t value) { major_ = value; }
  void setMinor(std::int64_t value) { minor_ = value; }
  void setMaintenance(std::int64_t value) { maintenance_ = value; }
  void setBuild(std::int64_t value) { build_ = value; }
  /// Never set by reading; kept by copies. Read and written under a lock.
  Ref<String> branchName() const;
  void setBranchName(Ref<String> name);
  Ref<String> commitHash() const;
  void setCommitHash(Ref<String> hash);

  /// Ascending, same or descending; see TQVersionCompareOptions (0 is all).
  ComparisonResult compare(const TQVersionDetails& other, std::uint16_t options) const;
  /// With all parts; a nil other version is descending.
  ComparisonResult compare(const Ref<TQVersionDetails>& other) const;
  Ref<String> displayStringWithOptions(std::uint16_t options) const;

  /// "<TQVersionDetails 0x...> 4.2.1 build 123"
  Ref<String> description() const override;
  /// "4.2.1b123"
  Ref<String> debugDescription() const;
  std::string className() const override { return "TQVersionDetails"; }
  Id copy() const override;

 private:
  std::int64_t major_ = 0, minor_ = 0, maintenance_ = 0, build_ = 0;
  mutable std::mutex namesMutex_;
  Ref<String> branchName_, commitHash_;
};

/// The running system's version as major * 100 + minor (kernel 6.1.0 gives
/// 601). Read once per process.
std::int64_t TQ_OSVersion();
/// major * 10000 + minor * 100 + patch (6.1.55 gives 60155). Read once per process.
std::int64_t TQ_Full_OSVersion();

}  // namespace tq
