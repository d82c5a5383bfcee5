#pragma once
// ISO 8601 dates: "2024-03-05T15:07:09+01:00" and the other forms the
// format options choose. The default options (InternetDateTime) are RFC
// 3339. Writing and reading are always in the Gregorian calendar with ASCII
// digits, whatever the user's locale. A formatter is not to be used from two
// threads at once.

#include <cstdint>
#include <memory>
#include <string>

#include "tq/platform/object/Object.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/String.h"
#include "tq/platform/value/TimeZone.h"

namespace tq {

enum ISO8601DateFormatOptions : std::uint64_t {
  ISO8601WithYear = 1,
  ISO8601WithMonth = 2,
  ISO8601WithWeekOfYear = 4,
  ISO8601WithDay = 16,
  ISO8601WithTime = 32,
  ISO8601WithTimeZone = 64,
  ISO8601WithSpaceBetweenDateAndTime = 128,
  ISO8601WithDashSeparatorInDate = 256,
  ISO8601WithColonSeparatorInTime = 512,
  ISO8601WithColonSeparatorInTimeZone = 1024,
  ISO8601WithFractionalSeconds = 2048,
  ISO8601WithFullDate = 275,
  ISO8601WithFullTime = 1632,
  ISO8601WithInternetDateTime = 1907,
};

class ISO8601DateFormatter : public Object {
 public:
  /// GMT and the internet date-time options.
  ISO8601DateFormatter();
  ~ISO8601DateFormatter() override;
  std::string className() const override { return "ISO8601DateFormatter"; }

  /// Nil: the local zone, at each use.
  Ref<TimeZone> timeZone() const { return zone_; }
  void setTimeZone(Ref<TimeZone> zone);
  std::uint64_t formatOptions() const { return options_; }
  void setFormatOptions(std::uint64_t options);
  /// The TR35 pattern the options make ("yyyy-MM-dd'T'HH:mm:ssXXXXX").
  std::string pattern() const;

  Ref<String> stringFromDate(const Date& date) const;
  void appendUTF8StringFromDate(const Date& date, std::string& out) const;
  /// The date the whole text reads as in the form the options make; nil when
  /// it does not.
  Ref<Date> dateFromString(const String& text) const;

  struct Engine;

 private:
  Engine& engine() const;

  Ref<TimeZone> zone_;
  std::uint64_t options_ = ISO8601WithInternetDateTime;
  mutable std::unique_ptr<Engine> engine_;
};

}  // namespace tq
