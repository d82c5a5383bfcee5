// Fuzzes the string-table reader. An accepted table holds only strings; a
// rejection says why. A UTF-8 table read again as UTF-16 (both byte orders,
// with their marks) must give the same table: the encodings are one format.

#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/support/FuzzCheck.h"
#include "tq/platform/bundle/StringTable.h"
#include "tq/platform/value/String.h"

namespace {

std::string utf16Form(std::string_view utf8, bool bigEndian) {
  std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (char16_t unit : tq::utf8ToUTF16(utf8)) {
    const char high = char(unit >> 8), low = char(unit & 0xFF);
    bytes += bigEndian ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::string_view bytes(reinterpret_cast<const char*>(data), size);
  tq::Ref<tq::Error> error;
  tq::Ref<tq::Dictionary> table = tq::StringTable::read(bytes, &error);
  tq::fuzz::check(bool(table) != bool(error));
  if (!table) return 0;
  for (const auto& [key, value] : table->entries()) {
    tq::fuzz::check(tq::isKindOf<tq::String>(key) && tq::isKindOf<tq::String>(value));
  }
  // Plain UTF-8 only: a text that starts with a mark already names its form.
  if (bytes.starts_with("\xEF\xBB\xBF") || bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) return 0;
  for (bool bigEndian : {false, true}) {
    tq::Ref<tq::Dictionary> again = tq::StringTable::read(utf16Form(bytes, bigEndian));
    tq::fuzz::check(again && again->isEqual(*table));
  }
  return 0;
}
