#pragma once
// Points in time as seconds since 2001-01-01 00:00:00 UTC (the reference
// date), and UUIDs.

#include <array>
#include <cstdint>

#include "tq/platform/object/Object.h"
#include "tq/platform/object/Comparable.h"

namespace tq {

using TimeInterval = double;
/// Seconds from 1970-01-01 to 2001-01-01.
inline constexpr TimeInterval TimeIntervalSince1970 = 978307200.0;

class Date : public Object, public Comparable {
 public:
  explicit Date(TimeInterval sinceReferenceDate = 0) : seconds_(sinceReferenceDate) {}

  /// Now, from the wall clock of `tq/platform/system/Clocks.h` (the system
  /// clock unless a test or host installed another).
  static Ref<Date> date();
  static Ref<Date> dateWithTimeIntervalSinceReferenceDate(TimeInterval t) { return make<Date>(t); }
  static Ref<Date> dateWithTimeIntervalSince1970(TimeInterval t) { return make<Date>(t - TimeIntervalSince1970); }
  static Ref<Date> distantPast() { return make<Date>(-63114076800.0); }
  static Ref<Date> distantFuture() { return make<Date>(63113904000.0); }
  /// Now, in seconds since the reference date.
  static TimeInterval now();

  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  /// "2001-01-01 00:00:00 +0000"
  Ref<String> description() const override;
  std::string className() const override { return "Date"; }
  Id copy() const override { return self(); }
  ComparisonResult compare(const Object& other) const override;

  TimeInterval timeIntervalSinceReferenceDate() const { return seconds_; }
  TimeInterval timeIntervalSince1970() const { return seconds_ + TimeIntervalSince1970; }
  TimeInterval timeIntervalSinceDate(const Date& other) const { return seconds_ - other.seconds_; }
  Ref<Date> dateByAddingTimeInterval(TimeInterval t) const { return make<Date>(seconds_ + t); }

 private:
  TimeInterval seconds_;
};

class UUID : public Object {
 public:
  UUID();  // random (version 4)
  explicit UUID(const std::array<std::uint8_t, 16>& bytes) : bytes_(bytes) {}
  /// Nil unless the text is 8-4-4-4-12 hexadecimal digits.
  static Ref<UUID> fromString(std::string_view text);

  bool isEqual(const Object& other) const override;
  std::size_t hash() const override;
  Ref<String> description() const override;
  std::string className() const override { return "UUID"; }
  Id copy() const override { return self(); }

  /// Upper-case 8-4-4-4-12 form.
  std::string UUIDString() const;
  const std::array<std::uint8_t, 16>& bytes() const { return bytes_; }

 private:
  std::array<std::uint8_t, 16> bytes_;
};

}  // namespace tq
