#include "tq/dates/ISODates.h"

#include <functional>
#include <mutex>

#include "tq/platform/collection/ThreadDictionary.h"

namespace tq::ISODates {

namespace {

/// The calling thread's formatter under `key`, made by `create` on first use.
template <class Formatter>
Ref<Formatter> perThread(std::string_view key, const std::function<Ref<Formatter>()>& create) {
  MutableDictionary& dictionary = threadDictionary();
  if (auto found = cast<Formatter>(dictionary.objectForKey(key))) return found;
  Ref<Formatter> formatter = create();
  dictionary.setObject(formatter, str(key));
  return formatter;
}

Ref<DateFormatter> englishPatternFormatter(std::string_view pattern) {
  auto formatter = make<DateFormatter>();
  formatter->setLocale(Locale::localeWithLocaleIdentifier("en_US"));
  formatter->setDateFormat(pattern);
  return formatter;
}

Ref<DateFormatter> relativeStyleFormatter(DateFormatterStyle date, DateFormatterStyle time) {
  auto formatter = make<DateFormatter>();
  formatter->setDoesRelativeDateFormatting(true);
  formatter->setDateStyle(date);
  formatter->setTimeStyle(time);
  return formatter;
}

}  // namespace

Ref<DateFormatter> FKRFC2822dateFormatter() {
  return perThread<DateFormatter>("FKRFC2822dateFormatter",
                                  [] { return englishPatternFormatter("EEE, d MMM yyyy HH:mm:ss Z"); });
}

Ref<ISO8601DateFormatter> FKISO8601dateFormatterUTC() {
  return perThread<ISO8601DateFormatter>("FKISO8601dateFormatterUTC", [] {
    auto formatter = make<ISO8601DateFormatter>();
    formatter->setTimeZone(TimeZone::timeZoneWithAbbreviation("GMT"));
    formatter->setFormatOptions(ISO8601WithInternetDateTime);
    return formatter;
  });
}

Ref<ISO8601DateFormatter> FKISO8601dateFormatter() {
  return perThread<ISO8601DateFormatter>("FKISO8601dateFormatter", [] {
    auto formatter = make<ISO8601DateFormatter>();
    formatter->setTimeZone(nullptr);
    formatter->setFormatOptions(ISO8601WithInternetDateTime);
    return formatter;
  });
}

Ref<DateFormatter> dateFormatterForJson() {
  return perThread<DateFormatter>("CV_JSONDateFormatter",
                                  [] { return englishPatternFormatter("@yyyy-MM-dd HH:mm:ss Z@"); });
}

Ref<DateFormatter> relativeDateTimeFormatter() {
  static const Ref<DateFormatter> formatter = relativeStyleFormatter(DateFormatterStyle::Short, DateFormatterStyle::Short);
  return formatter;
}

Ref<DateFormatter> snippetTimeFormatter() {
  static const Ref<DateFormatter> formatter = relativeStyleFormatter(DateFormatterStyle::None, DateFormatterStyle::Short);
  return formatter;
}

Ref<DateFormatter> relativeDateFormatter() {
  static const Ref<DateFormatter> formatter = relativeStyleFormatter(DateFormatterStyle::Short, DateFormatterStyle::None);
  return formatter;
}

Ref<DateFormatter> recentDateFormatter() {
  static const Ref<DateFormatter> formatter = [] {
    auto made = make<DateFormatter>();
    made->setDoesRelativeDateFormatting(true);
    made->setTimeStyle(DateFormatterStyle::None);
    made->setLocalizedDateFormatFromTemplate("MMMd");
    return made;
  }();
  return formatter;
}

Ref<DateFormatter> relativeFullDateFormatter() {
  static const Ref<DateFormatter> formatter = relativeStyleFormatter(DateFormatterStyle::Full, DateFormatterStyle::None);
  return formatter;
}

}  // namespace tq::ISODates
