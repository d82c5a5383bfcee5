#pragma once
// Date formatters: dates to text and back with a TR35 pattern
// ("yyyy-MM-dd HH:mm"), with the locale's date and time styles (optionally
// relative: "Today", "Yesterday"), or with the locale's best pattern for a
// template ("MMMd" gives "Mar 5" in English, "5. März" in German).
//
// A formatter without a locale or zone of its own follows the current ones
// (the seams of tq/platform/system) at each use. A formatter is not to be used
// from two threads at once: callers keep one per thread, or guard it.

#include <memory>
#include <string>
#include <string_view>

#include "tq/platform/object/Object.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/String.h"
#include "tq/platform/value/Locale.h"
#include "tq/platform/value/TimeZone.h"

namespace tq {

enum class DateFormatterStyle { None = 0, Short = 1, Medium = 2, Long = 3, Full = 4 };

class DateFormatter : public Object {
 public:
  DateFormatter();
  ~DateFormatter() override;
  std::string className() const override { return "DateFormatter"; }

  /// Nil: the current locale, at each use.
  Ref<Locale> locale() const { return locale_; }
  void setLocale(Ref<Locale> locale);
  /// Nil: the local zone, at each use.
  Ref<TimeZone> timeZone() const { return zone_; }
  void setTimeZone(Ref<TimeZone> zone);
  /// A TR35 pattern; setting one replaces the styles and the template.
  Ref<String> dateFormat() const;
  void setDateFormat(std::string_view pattern);
  void setDateStyle(DateFormatterStyle style);
  void setTimeStyle(DateFormatterStyle style);
  DateFormatterStyle dateStyle() const { return dateStyle_; }
  DateFormatterStyle timeStyle() const { return timeStyle_; }
  /// Days near today written as words ("Today", "Yesterday", "Tomorrow") in
  /// the locale's language; the other days as the styles or template say.
  void setDoesRelativeDateFormatting(bool relative);
  bool doesRelativeDateFormatting() const { return relative_; }
  /// The locale's best pattern for the template's fields ("MMMd", "jm"),
  /// chosen again when the locale changes.
  void setLocalizedDateFormatFromTemplate(std::string_view dateTemplate);
  /// Whether parsing accepts what does not follow the pattern exactly
  /// (off unless set).
  void setLenient(bool lenient);

  Ref<String> stringFromDate(const Date& date) const;
  /// Appends the text of the date in UTF-8 (the path for writing headers and
  /// stamps without a string object).
  void appendUTF8StringFromDate(const Date& date, std::string& out) const;
  /// The date the whole text reads as; nil when it reads as none.
  Ref<Date> dateFromString(const String& text) const;

  struct Engine;

 private:
  void invalidate();
  Engine& engine() const;

  Ref<Locale> locale_;
  Ref<TimeZone> zone_;
  std::string pattern_;
  std::string template_;
  DateFormatterStyle dateStyle_ = DateFormatterStyle::None;
  DateFormatterStyle timeStyle_ = DateFormatterStyle::None;
  bool relative_ = false;
  bool lenient_ = false;
  mutable std::unique_ptr<Engine> engine_;
};

}  // namespace tq
