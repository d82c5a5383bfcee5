#pragma once
// Plural tables: the .stringsdict files of a localisation folder. Each key
// names a dictionary whose "NSStringLocalizedFormatKey" is a format with
// variables, "%#@files@", each variable a dictionary of the variants of the
// language's plural categories:
//
//   "%d files" = { NSStringLocalizedFormatKey = "%#@files@";
//                  files = { NSStringFormatSpecTypeKey = NSStringPluralRuleType;
//                            NSStringFormatValueTypeKey = d;
//                            one = "%d file"; few = "%d files"; other = "%d files"; }; }
//
// A lookup answers the format as a `PluralFormatString`, which carries the
// variables with it; `localizedStringWithFormat` then chooses each variable's
// variant by the number it is given, through ICU's plural rules for the
// table's language, and fills the formats in.

#include <span>
#include <string>
#include <string_view>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/Error.h"
#include "tq/platform/value/Format.h"
#include "tq/platform/value/String.h"

namespace tq {

/// The keys of a plural table's entries, as the files spell them.
inline constexpr const char* StringLocalizedFormatKey = "NSStringLocalizedFormatKey";
inline constexpr const char* StringFormatSpecTypeKey = "NSStringFormatSpecTypeKey";
inline constexpr const char* StringPluralRuleType = "NSStringPluralRuleType";
inline constexpr const char* StringFormatValueTypeKey = "NSStringFormatValueTypeKey";

/// A format from a plural table: the text of its "NSStringLocalizedFormatKey"
/// together with its variables and the language whose rules choose among
/// them. It is a string like any other to every reader that does not know it.
class PluralFormatString : public String {
 public:
  PluralFormatString(std::u16string format, Ref<Dictionary> entry, std::string localization)
      : String(std::move(format)), entry_(std::move(entry)), localization_(std::move(localization)) {}
  Id copy() const override { return self(); }

  /// The whole entry of the table (the format key and the variables).
  const Ref<Dictionary>& entry() const { return entry_; }
  /// The language whose plural rules apply ("pl", "en").
  const std::string& localization() const { return localization_; }

 private:
  Ref<Dictionary> entry_;
  std::string localization_;
};

namespace PluralTable {

/// The table of a .stringsdict file (any property-list form): a dictionary
/// whose every value is a dictionary with a string "NSStringLocalizedFormatKey".
/// Nil and an error otherwise.
Ref<Dictionary> read(std::string_view bytes, Ref<Error>* error = nullptr);

/// The plural category ("zero", "one", "two", "few", "many", "other") of a
/// number in a language, by ICU's rules; "other" for a language ICU does not
/// know. Rules are built once per language.
std::string categoryForValue(const std::string& localization, double value);

/// The format filled with the arguments: each "%#@name@" (or "%N$#@name@")
/// takes the next argument (or argument N), chooses the variant of that
/// number ("zero" for 0 when the variable has one, else the language's
/// category, else "other") and formats the variant with that argument alone;
/// every other conversion is formatted as by `formatArguments`.
std::u16string resolve(const PluralFormatString& format, std::span<const FormatArgument> arguments);

}  // namespace PluralTable

/// The platform's localized formatting: a format found in a plural table
/// applies its rules; any other format is `stringWithFormat`.
template <class... Args>
Ref<String> localizedStringWithFormat(const String& format, const Args&... args) {
  auto list = formatArgumentList(args...);
  if (auto plural = dynamic_cast<const PluralFormatString*>(&format)) {
    return String::fromUTF16(PluralTable::resolve(*plural, list));
  }
  return String::fromUTF16(formatArguments(std::u16string_view(format.utf16()), list));
}

}  // namespace tq
