#include "tq/collections/internal/NumberListScanner.h"

#include <cstdio>
#include <string>

#include "tq/platform/object/Assert.h"
#include "tq/platform/value/CharacterSet.h"

namespace tq::detail {

namespace {

// Comma and space, built once and shared by every parse.
const CharacterSet& separators() {
  static const Ref<CharacterSet> set = CharacterSet::characterSetWithCharactersInString(u", ");
  return *set;
}

std::string quoted(char16_t unit) {
  if (unit >= 0x20 && unit < 0x7f) return std::string("'") + char(unit) + "'";
  char text[16];
  std::snprintf(text, sizeof text, "U+%04X", unsigned(unit));
  return text;
}

}  // namespace

void scanNumberList(const String& text, const char* parser, const NumberReader& read, const NumberSink& add) {
  auto scanner = Scanner::scannerWithString(make<String>(text.utf16()));
  while (!scanner->isAtEnd()) {
    Index start = scanner->scanLocation();
    scanner->scanCharactersFromSet(separators());
    std::uint64_t value = 0;
    if (!read(*scanner, &value)) value = 0;
    add(value);
    if (scanner->scanLocation() != start) continue;
    // Nothing was consumed: every further round would do the same. The
    // character is the first one the default skipping leaves in place.
    Index at = start;
    const std::u16string& units = text.utf16();
    while (at < units.size() && CharacterSet::whitespaceAndNewlineCharacterSet()->characterIsMember(units[at])) ++at;
    std::string cause = std::string(parser) + " loops without end on the character " + quoted(units[at]);
    TQ_ASSERT(false, cause);
    (void)cause;
    return;
  }
}

}  // namespace tq::detail
