#include "tq/platform/bundle/StringTable.h"

#include <string>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/TextPropertyList.h"
#include "tq/platform/value/String.h"

namespace tq::StringTable {

namespace {

Ref<Dictionary> fail(Ref<Error>* error, const std::string& what) {
  setError(error, Error::withDescription(PropertyListErrorDomain, PropertyListReadCorruptError, "String table: " + what));
  return nullptr;
}

// UTF-16 in the given byte order, checked unit by unit: a lone surrogate
// would be turned into U+FFFD by the conversion and the text changed unseen.
bool decodeUTF16(std::string_view bytes, bool bigEndian, std::string& utf8) {
  if (bytes.size() % 2 != 0) return false;
  std::u16string units(bytes.size() / 2, u'\0');
  for (std::size_t i = 0; i < units.size(); ++i) {
    const auto first = static_cast<unsigned char>(bytes[2 * i]), second = static_cast<unsigned char>(bytes[2 * i + 1]);
    units[i] = bigEndian ? char16_t(first << 8 | second) : char16_t(second << 8 | first);
  }
  for (std::size_t i = 0; i < units.size(); ++i) {
    if (units[i] >= 0xDC00 && units[i] <= 0xDFFF) return false;
    if (units[i] >= 0xD800 && units[i] <= 0xDBFF) {
      if (i + 1 == units.size() || units[i + 1] < 0xDC00 || units[i + 1] > 0xDFFF) return false;
      ++i;
    }
  }
  utf8 = utf16ToUTF8(units);
  return true;
}

}  // namespace

Ref<Dictionary> read(std::string_view bytes, Ref<Error>* error) {
  std::string converted;
  if (bytes.starts_with("\xFF\xFE") || bytes.starts_with("\xFE\xFF")) {
    if (!decodeUTF16(bytes.substr(2), bytes[0] == '\xFE', converted)) return fail(error, "the UTF-16 text is not well formed");
    bytes = converted;
  } else if (bytes.starts_with("\xEF\xBB\xBF")) {
    bytes.remove_prefix(3);
  }
  Ref<Error> parseError;
  Ref<Dictionary> table = TextPropertyList::readStringsTable(bytes, &parseError);
  if (!table) return setError(error, parseError), nullptr;
  for (const auto& [key, value] : table->entries()) {
    if (!isKindOf<String>(value)) return fail(error, "the value of \"" + describeUTF8(key) + "\" is not a string");
  }
  return table;
}

}  // namespace tq::StringTable
