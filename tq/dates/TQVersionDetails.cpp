#include "tq/dates/TQVersionDetails.h"

#include <mutex>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/AssertionPlaces.h"
#include "tq/platform/system/OperatingSystemVersion.h"
#include "tq/platform/value/Format.h"

namespace tq {

namespace {

std::int64_t leadingInteger(const Id& component) {
  auto text = cast<String>(component);
  return text ? text->integerValue() : 0;
}

ComparisonResult compareNumbers(std::int64_t a, std::int64_t b) { return ComparisonResult((a > b) - (a < b)); }

}  // namespace

Ref<TQVersionDetails> TQVersionDetails::initWithVersionString(const Ref<String>& versionString) {
  if (!versionString) return nullptr;
  Ref<MutableArray> components = cast<MutableArray>(versionString->componentsSeparatedByString(*str("."))->mutableCopy());
  if (components->count() == 1) components->addObject(str("0"));
  if (components->count() == 2) components->addObject(str("0"));
  TQ_ASSERT_PLACE(components->count() == 3, AssertionPlaces::VersionStringMalformed,
                  stringWithFormat("malformed version string %@", versionString)->utf8());
  auto version = make<TQVersionDetails>();
  version->major_ = leadingInteger(components->objectAtIndex(0));
  version->minor_ = leadingInteger(components->objectAtIndex(1));
  Ref<Array> third = cast<String>(components->objectAtIndex(2))->componentsSeparatedByString(*str("b"));
  version->maintenance_ = leadingInteger(third->objectAtIndex(0));
  version->build_ = third->count() > 1 ? leadingInteger(third->objectAtIndex(1)) : 0;
  return version;
}

Ref<TQVersionDetails> TQVersionDetails::initWithVersionString(std::string_view versionString) {
  return initWithVersionString(str(versionString));
}

Ref<TQVersionDetails> TQVersionDetails::versionDetailsForBundleAtPath(const String& path) {
  std::string plistPath = path.utf8();
  if (!plistPath.empty() && plistPath.back() != '/') plistPath += '/';
  auto info = cast<Dictionary>(PropertyList::readFile(plistPath + "Contents/Info.plist"));
  if (!info) return nullptr;
  auto version = cast<String>(info->objectForKey("CFBundleVersion"));
  return version ? initWithVersionString(version) : nullptr;
}

Ref<String> TQVersionDetails::branchName() const {
  std::lock_guard lock(namesMutex_);
  return branchName_;
}
void TQVersionDetails::setBranchName(Ref<String> name) {
  std::lock_guard lock(namesMutex_);
  branchName_ = std::move(name);
}
Ref<String> TQVersionDetails::commitHash() const {
  std::lock_guard lock(namesMutex_);
  return commitHash_;
}
void TQVersionDetails::setCommitHash(Ref<String> hash) {
  std::lock_guard lock(namesMutex_);
  commitHash_ = std::move(hash);
}

ComparisonResult TQVersionDetails::compare(const TQVersionDetails& other, std::uint16_t options) const {
  // Each level is looked at only when the one above it is: the options nest.
  const auto counts = [options](std::uint16_t bit) { return options == 0 || (options & bit); };
  if (ComparisonResult r = compareNumbers(major_, other.major_); r != ComparisonResult::Same) return r;
  if (!counts(TQVersionCompareMinor)) return ComparisonResult::Same;
  if (ComparisonResult r = compareNumbers(minor_, other.minor_); r != ComparisonResult::Same) return r;
  if (!counts(TQVersionCompareMaintenance)) return ComparisonResult::Same;
  if (ComparisonResult r = compareNumbers(maintenance_, other.maintenance_); r != ComparisonResult::Same) return r;
  if (!counts(TQVersionCompareBuild)) return ComparisonResult::Same;
  return compareNumbers(build_, other.build_);
}

ComparisonResult TQVersionDetails::compare(const Ref<TQVersionDetails>& other) const {
  return other ? compare(*other, TQVersionCompareAll) : ComparisonResult::Descending;
}

Ref<String> TQVersionDetails::displayStringWithOptions(std::uint16_t options) const {
  if (options == TQVersionDisplayWithBuild && build_ != 0) {
    return stringWithFormat("%ld.%ld.%ld build %ld", major_, minor_, maintenance_, build_);
  }
  if (options == TQVersionDisplayCompact) return debugDescription();
  return stringWithFormat("%ld.%ld.%ld", major_, minor_, maintenance_);
}

Ref<String> TQVersionDetails::description() const {
  return stringWithFormat("<%@ %p> %ld.%ld.%ld build %ld", str(className()), static_cast<const void*>(this), major_, minor_,
                          maintenance_, build_);
}

Ref<String> TQVersionDetails::debugDescription() const {
  return stringWithFormat("%ld.%ld.%ldb%ld", major_, minor_, maintenance_, build_);
}

Id TQVersionDetails::copy() const {
  auto copied = make<TQVersionDetails>();
  copied->major_ = major_, copied->minor_ = minor_, copied->maintenance_ = maintenance_, copied->build_ = build_;
  copied->setBranchName(branchName());
  copied->setCommitHash(commitHash());
  return copied;
}

std::int64_t TQ_OSVersion() {
  static std::once_flag once;
  static std::int64_t value = 0;
  std::call_once(once, [] {
    OperatingSystemVersion version = operatingSystemVersion();
    value = version.majorVersion * 100 + version.minorVersion;
  });
  return value;
}

std::int64_t TQ_Full_OSVersion() {
  static std::once_flag once;
  static std::int64_t value = 0;
  std::call_once(once, [] {
    OperatingSystemVersion version = operatingSystemVersion();
    value = version.majorVersion * 10000 + version.minorVersion * 100 + version.patchVersion;
  });
  return value;
}

}  // namespace tq
