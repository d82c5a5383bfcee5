// Fuzzes the character-reference decoder and the escapers on arbitrary UTF-8
// text. Decoding never lengthens a text; escaping with the markup table and
// decoding again gives back text made of single-unit characters.

#include <cstdint>
#include <string_view>

#include "tq/encodings/HTMLEntities.h"

using namespace tq;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  auto text = String::fromUTF8(std::string_view(reinterpret_cast<const char*>(data), size));
  auto decoded = HTMLEntities::stringByDecodingHTMLEntities(text);
  if (!decoded || decoded->length() > text->length()) __builtin_trap();

  auto escaped = HTMLEntities::stringByEncodingHTMLEntities(*text);
  HTMLEntities::stringByEscapingForAsciiHTML(*text);
  HTMLEntities::stringByEscapingForAsciiHTMLContent(*text);
  HTMLEntities::stringByEscapingForHTMLContent(*text);
  bool plain = true;  // ASCII without CR: every character is its own sequence
  for (char16_t c : text->utf16()) plain = plain && c < 0x80 && c != '\r';
  if (plain && !HTMLEntities::stringByDecodingHTMLEntities(escaped)->isEqual(*text)) __builtin_trap();
  if (text->length() > 0) HTMLEntities::htmlEscapedUnicodeCharacterWithRange(*text, makeRange(0, 1));
  return 0;
}
