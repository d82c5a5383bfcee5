#pragma once
// Escaping text for HTML with one of four entity tables, and decoding named
// and numeric character references, as the add-ons do when they put message
// text into HTML views.

#include <cstddef>
#include <span>

#include "tq/platform/object/Range.h"
#include "tq/platform/value/String.h"

namespace tq {

/// One entity table entry: the entity text (with "&" and ";") and its
/// character. Tables are sorted by character, which the escaper's binary
/// search relies on.
struct HTMLEscapeMap {
  const char* escapeSequence;
  char16_t uchar;
};

namespace HTMLEntities {

/// Every named reference of HTML 4.01 plus "&apos;" (253 entries).
std::span<const HTMLEscapeMap> asciiHTMLEscapeMap();
/// The full table without the quotes, "&lt;" and "&gt;" (249 entries).
std::span<const HTMLEscapeMap> asciiHTMLContentEscapeMap();
/// Quotes, "&amp;", "&lt;", "&gt;" and 28 typographic entries (33 entries).
std::span<const HTMLEscapeMap> unicodeHTMLEscapeMap();
/// "&nbsp;" and the same 28 typographic entries (29 entries).
std::span<const HTMLEscapeMap> unicodeHTMLContentEscapeMap();

/// Escapes by composed character sequences. A sequence of more than one code
/// unit is always written as "&#x%x;" of its first code point (its combining
/// marks are dropped); a single unit is its table entity, else "&#x%x;" when
/// `escapingUnicode` and it is 128 or above, else itself.
Ref<String> stringByEscapingHTMLUsingTable(const String& text, const HTMLEscapeMap* table, std::size_t size,
                                           bool escapingUnicode);
/// Markup table, non-ASCII left as it is.
Ref<String> stringByEncodingHTMLEntities(const String& text);
/// Full table, non-ASCII escaped.
Ref<String> stringByEscapingForAsciiHTML(const String& text);
/// Full content table, non-ASCII escaped.
Ref<String> stringByEscapingForAsciiHTMLContent(const String& text);
/// Markup content table, non-ASCII escaped.
Ref<String> stringByEscapingForHTMLContent(const String& text);
/// "&#x%x" of the first code point in the range, without a closing ";" (the
/// caller appends what follows). Raises the range failure past the end.
Ref<String> htmlEscapedUnicodeCharacterWithRange(const String& text, Range range);

/// Decodes references of 4 to 10 characters, from the end of the text
/// backwards: named ones of the full table and numeric ones whose value lies
/// in 1-65534. Anything else stays as it is.
Ref<String> stringByDecodingHTMLEntities(const Ref<String>& text);

}  // namespace HTMLEntities
}  // namespace tq
