// Fuzzes the plural-table reader and the formatting of what it reads. The
// first byte picks the language whose rules apply and the numbers given; the
// rest is the .stringsdict file. Every accepted entry must format with any
// numbers (integers, reals, number objects, missing arguments) without fault.

#include <cstdint>
#include <string_view>

#include "fuzz/support/FuzzCheck.h"
#include "tq/platform/bundle/PluralTable.h"
#include "tq/platform/value/Number.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  static const char* const languages[] = {"en", "pl", "ru", "ar", "ja", "Base", "xx"};
  const std::uint8_t choice = data[0];
  std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  tq::Ref<tq::Error> error;
  tq::Ref<tq::Dictionary> table = tq::PluralTable::read(bytes, &error);
  tq::fuzz::check(bool(table) != bool(error));
  if (!table) return 0;
  const char* language = languages[choice % 7];
  const long long count = (choice >> 3) * 7 - 3;
  for (const auto& [key, value] : table->entries()) {
    auto entry = tq::cast<tq::Dictionary>(value);
    auto text = tq::cast<tq::String>(entry->objectForKey(std::string_view(tq::StringLocalizedFormatKey)));
    tq::fuzz::check(entry && text);
    tq::PluralFormatString format(text->utf16(), entry, language);
    tq::localizedStringWithFormat(format, count, 2.5, tq::num(count), "text");
    tq::localizedStringWithFormat(format);
  }
  return 0;
}
