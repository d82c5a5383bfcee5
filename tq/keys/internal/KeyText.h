#pragma once
// The text work of glyph strings and character lookups, on UTF-16 units
// without making strings: case mapping (ASCII by table and caseless
// characters kept, anything else through the strings' own ICU mapping, so
// results are the same), trimming, and the
// modifier glyphs. Glyph strings are short and mostly ASCII, and these run at
// every lookup.

#include <cstdint>
#include <string>
#include <string_view>

namespace tq::detail {

std::u16string lowercased(std::u16string_view text);
std::u16string uppercased(std::u16string_view text);
/// Without leading and trailing white space (and line breaks too, when
/// asked).
std::u16string_view trimmed(std::u16string_view text, bool lineBreaks);
/// Appends the glyphs of the flags: control, option, shift, command,
/// function.
void appendModifierGlyphs(std::u16string& text, std::uint64_t flags);

}  // namespace tq::detail
