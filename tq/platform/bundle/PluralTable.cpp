#include "tq/platform/bundle/PluralTable.h"

#include <unicode/locid.h>
#include <unicode/plurrule.h>

#include <map>
#include <memory>
#include <mutex>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/value/Number.h"

namespace tq::PluralTable {

namespace {

Ref<Dictionary> fail(Ref<Error>* error, const std::string& what) {
  setError(error, Error::withDescription(PropertyListErrorDomain, PropertyListReadCorruptError, "Plural table: " + what));
  return nullptr;
}

bool isDigit(char16_t c) { return c >= u'0' && c <= u'9'; }

// One "%..." of a format: where it ends, its explicit argument number (0 for
// none), how many arguments its "*" width and precision take, and whether it
// is a plural variable ("%#@name@").
struct Conversion {
  std::size_t end = 0;
  std::size_t position = 0;
  int stars = 0;
  bool literalPercent = false;
  std::u16string variable;
  std::u16string written;  // the conversion without its argument number
};

Conversion parseConversion(std::u16string_view format, std::size_t at) {
  Conversion c;
  std::size_t i = at + 1;
  if (i < format.size() && format[i] == u'%') {
    c.literalPercent = true;
    c.end = i + 1;
    return c;
  }
  std::size_t digits = i;
  while (digits < format.size() && isDigit(format[digits])) ++digits;
  if (digits > i && digits < format.size() && format[digits] == u'$') {
    for (std::size_t d = i; d < digits; ++d) c.position = c.position * 10 + (format[d] - u'0');
    i = digits + 1;
  }
  if (format.substr(i, 2) == u"#@") {
    std::size_t close = format.find(u'@', i + 2);
    if (close != std::u16string_view::npos) {
      c.variable = format.substr(i + 2, close - i - 2);
      c.end = close + 1;
      return c;
    }
  }
  c.written = u"%";
  const std::u16string_view flags = u"-+ #0'", lengths = u"hlqLzjt";
  while (i < format.size() && flags.find(format[i]) != std::u16string_view::npos) c.written += format[i++];
  auto number = [&] {
    if (i < format.size() && format[i] == u'*') {
      ++c.stars;
      c.written += format[i++];
    }
    while (i < format.size() && isDigit(format[i])) c.written += format[i++];
  };
  number();
  if (i < format.size() && format[i] == u'.') {
    c.written += format[i++];
    number();
  }
  while (i < format.size() && lengths.find(format[i]) != std::u16string_view::npos) c.written += format[i++];
  if (i < format.size()) c.written += format[i++];
  c.end = i;
  return c;
}

double numericValue(const FormatArgument& argument) {
  switch (argument.kind) {
    case FormatArgument::Kind::Signed: return double(argument.i);
    case FormatArgument::Kind::Unsigned: return double(argument.u);
    case FormatArgument::Kind::Double: return argument.d;
    case FormatArgument::Kind::Object:
      if (auto number = dynamic_cast<const Number*>(argument.object)) return number->doubleValue();
      return 0;
    default: return 0;
  }
}

FormatArgument numberArgument(const FormatArgument& argument) {
  auto number = argument.kind == FormatArgument::Kind::Object ? dynamic_cast<const Number*>(argument.object) : nullptr;
  if (!number) return argument;
  FormatArgument converted;
  if (number->isInteger()) {
    converted.kind = FormatArgument::Kind::Signed;
    converted.i = number->integerValue();
  } else {
    converted.kind = FormatArgument::Kind::Double;
    converted.d = number->doubleValue();
  }
  return converted;
}

// The variant of one variable for a number.
std::u16string variant(const Dictionary& entry, const std::u16string& name, const std::string& localization,
                       double value) {
  auto rules = cast<Dictionary>(entry.objectForKey(str(name)));
  if (!rules) return {};
  auto text = [&](const char* category) { return cast<String>(rules->objectForKey(std::string_view(category))); };
  Ref<String> chosen = value == 0 ? text("zero") : nullptr;
  if (!chosen) chosen = text(categoryForValue(localization, value).c_str());
  if (!chosen) chosen = text("other");
  return chosen ? chosen->utf16() : std::u16string();
}

}  // namespace

Ref<Dictionary> read(std::string_view bytes, Ref<Error>* error) {
  Ref<Error> readError;
  auto table = cast<Dictionary>(PropertyList::read(bytes, &readError));
  if (!table) return readError ? (setError(error, readError), nullptr) : fail(error, "the file is not a dictionary");
  for (const auto& [key, value] : table->entries()) {
    auto entry = cast<Dictionary>(value);
    if (!isKindOf<String>(key) || !entry || !isKindOf<String>(entry->objectForKey(std::string_view(StringLocalizedFormatKey)))) {
      return fail(error, "the entry \"" + describeUTF8(key) + "\" has no string " + StringLocalizedFormatKey);
    }
  }
  return table;
}

std::string categoryForValue(const std::string& localization, double value) {
  static std::mutex mutex;
  static auto* rulesByLanguage = new std::map<std::string, std::unique_ptr<icu::PluralRules>>;
  const icu::PluralRules* rules;
  {
    std::lock_guard lock(mutex);
    auto& slot = (*rulesByLanguage)[localization];
    if (!slot) {
      UErrorCode status = U_ZERO_ERROR;
      slot.reset(icu::PluralRules::forLocale(icu::Locale(localization.c_str()), status));
      if (U_FAILURE(status)) slot.reset();
      if (!slot) return "other";
    }
    rules = slot.get();  // never removed, and select is const
  }
  std::string category;
  rules->select(value).toUTF8String(category);
  return category;
}

std::u16string resolve(const PluralFormatString& format, std::span<const FormatArgument> arguments) {
  const std::u16string_view text = format.utf16();
  if (text.find(u"#@") == std::u16string_view::npos) return formatArguments(text, arguments);
  std::u16string result;
  std::size_t next = 0;  // the next argument a conversion without a number takes
  std::size_t at = 0;
  while (at < text.size()) {
    std::size_t percent = text.find(u'%', at);
    result.append(text.substr(at, percent - at));
    if (percent == std::u16string_view::npos) break;
    Conversion c = parseConversion(text, percent);
    at = c.end;
    if (c.literalPercent) {
      result += u'%';
      continue;
    }
    std::size_t index = c.position ? c.position - 1 : next;
    std::size_t taken = std::size_t(c.stars) + 1;
    if (!c.position) next += taken;
    if (index + taken > arguments.size()) continue;  // no argument: nothing printed
    std::span<const FormatArgument> own = arguments.subspan(index, taken);
    if (!c.variable.empty()) {
      const double value = numericValue(own[0]);
      // A number object given for a variable prints as the number in its
      // variant's "%d", not as an object.
      const FormatArgument argument = numberArgument(own[0]);
      result += formatArguments(variant(*format.entry(), c.variable, format.localization(), value),
                                std::span<const FormatArgument>(&argument, 1));
    } else {
      result += formatArguments(c.written, own);
    }
  }
  return result;
}

}  // namespace tq::PluralTable
