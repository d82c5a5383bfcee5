#pragma once
// Value transformers that turn text into dates for bindings: a day written
// "yyyy-MM-dd", and a time of day ("7:30 PM", "19:30"). Text that reads as
// no date gives the current date and time, deliberately: a binding always
// gets a date.

#include <mutex>

#include "tq/platform/value/DateFormatter.h"
#include "tq/platform/value/ValueTransformer.h"

namespace tq {

class TQDateStringToDateTransformer : public ValueTransformer {
 public:
  std::string className() const override { return "TQDateStringToDateTransformer"; }
  std::string transformedValueClass() const override { return "Date"; }
  bool allowsReverseTransformation() const override { return true; }
  /// A "yyyy-MM-dd" text to its date (00:00 local time); any other value, or
  /// text in another form, to now.
  Id transformedValue(const Id& value) const override;
  /// A date to "yyyy-MM-dd" text; nil for anything else.
  Id reverseTransformedValue(const Id& value) const override;
};

class TQTimeStringToDateTransformer : public ValueTransformer {
 public:
  std::string className() const override { return "TQTimeStringToDateTransformer"; }
  std::string transformedValueClass() const override { return "Date"; }
  bool allowsReverseTransformation() const override { return true; }
  /// "hh:mm a" or "HH:mm" text in the current locale to that time of day on
  /// the local day of 2001-01-01 00:00:00 UTC (a fixed day, so that only the
  /// time counts); any other value to now.
  Id transformedValue(const Id& value) const override;
  /// A date to its "HH:mm" text; nil for anything else.
  Id reverseTransformedValue(const Id& value) const override;

 private:
  mutable std::mutex mutex_;
  mutable Ref<DateFormatter> reverseFormatter_;
};

}  // namespace tq
