#include "tq/keys/internal/KeyLookup.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>
#include <string>

#include "tq/keys/internal/KeyTables.h"
#include "tq/keys/internal/KeyText.h"

namespace tq::detail {

namespace {

constexpr char16_t kControlGlyph = u'\u2303', kShiftGlyph = u'\u21E7', kCommandGlyph = u'\u2318',
                   kOptionGlyph = u'\u2325';
constexpr std::u16string_view kFunctionGlyph = u"\U0001D5BF\U0001D5C7 ";

/// The glyphs a parse takes out as flags, in the order it looks for them.
struct GlyphFlag {
  std::u16string_view glyph;
  std::uint64_t flag;
};
constexpr char16_t kSingleGlyphs[] = {kControlGlyph, kShiftGlyph, kCommandGlyph, kOptionGlyph};
constexpr GlyphFlag kGlyphFlags[] = {{std::u16string_view(&kSingleGlyphs[0], 1), TQModifierFlag::Control},
                                     {std::u16string_view(&kSingleGlyphs[1], 1), TQModifierFlag::Shift},
                                     {std::u16string_view(&kSingleGlyphs[2], 1), TQModifierFlag::Command},
                                     {std::u16string_view(&kSingleGlyphs[3], 1), TQModifierFlag::Option},
                                     {kFunctionGlyph, TQModifierFlag::Function}};

bool isLookupGlyph(char16_t unit) {
  return unit == kControlGlyph || unit == kShiftGlyph || unit == kCommandGlyph || unit == kOptionGlyph;
}

int graphemeBreak(char32_t c) { return u_getIntPropertyValue(UChar32(c), UCHAR_GRAPHEME_CLUSTER_BREAK); }

/// Whether the glyph at `index` is a composed character by itself: no mark,
/// joiner or spacing mark follows it, and no prepended character or (for a
/// pictograph) joiner comes before it, by the rules that draw character
/// boundaries. The glyphs are single UTF-16 units.
bool standsAlone(const std::u16string& text, std::size_t index) {
  if (index + 1 < text.size()) {
    char32_t next;
    U16_GET(text.data(), 0, int32_t(index + 1), int32_t(text.size()), next);
    const int after = graphemeBreak(next);
    if (after == U_GCB_EXTEND || after == U_GCB_ZWJ || after == U_GCB_SPACING_MARK) return false;
  }
  if (index > 0) {
    char32_t previous;
    U16_GET(text.data(), 0, int32_t(index - 1), int32_t(text.size()), previous);
    const int before = graphemeBreak(previous);
    if (before == U_GCB_PREPEND) return false;
    if (before == U_GCB_ZWJ && u_hasBinaryProperty(UChar32(text[index]), UCHAR_EXTENDED_PICTOGRAPHIC)) return false;
  }
  return true;
}

/// The text without the composed characters that are exactly one of the
/// control, shift, command and option glyphs (a glyph carrying a combining
/// mark is another character, and stays). The function glyph stays too.
std::u16string withoutModifierGlyphs(std::u16string text) {
  if (std::none_of(text.begin(), text.end(), isLookupGlyph)) return text;
  std::u16string kept;
  kept.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (isLookupGlyph(text[i]) && standsAlone(text, i)) continue;
    kept.push_back(text[i]);
  }
  return kept;
}

/// The longest glyph string the quick parse copies to the stack; longer
/// ones are no shortcut anybody types, and take the general way.
constexpr std::size_t kLongestQuickGlyph = 32;

/// Erases the first occurrence of `part` from the units, answering whether
/// there was one.
bool eraseFirst(char16_t* units, std::size_t& size, std::u16string_view part) {
  const std::u16string_view text(units, size);
  const std::size_t at = text.find(part);
  if (at == std::u16string_view::npos) return false;
  std::copy(units + at + part.size(), units + size, units + at);
  size -= part.size();
  return true;
}

std::uint64_t flagOfGlyph(char16_t glyph) {
  switch (glyph) {
    case kControlGlyph: return TQModifierFlag::Control;
    case kShiftGlyph: return TQModifierFlag::Shift;
    case kCommandGlyph: return TQModifierFlag::Command;
    default: return TQModifierFlag::Option;
  }
}

/// Without leading and trailing white space (not line breaks), ASCII ends
/// by the snapshot's table.
std::u16string_view trimmedSpaces(const KeyLayoutSnapshot& cache, std::u16string_view text) {
  std::size_t from = 0, to = text.size();
  while (from < to && text[from] < 0x80 && cache.asciiSpace[text[from]]) ++from;
  while (to > from && text[to - 1] < 0x80 && cache.asciiSpace[text[to - 1]]) --to;
  text = text.substr(from, to - from);
  if (!text.empty() && (text.front() >= 0x80 || text.back() >= 0x80)) return trimmed(text, false);
  return text;
}

}  // namespace

LookupForms lookupForms(std::u16string_view keyChar) {
  const std::u16string stripped = withoutModifierGlyphs(lowercased(keyChar));
  const std::u16string_view text = trimmed(stripped, true);
  // The text is lower case already (lower-casing is idempotent, and taking
  // glyphs and white space away changes no case): it is its own lower form.
  return {uppercased(text), std::u16string(text)};
}

KeyAnswer answerForForms(const KeyLayoutSnapshot& cache, const LookupForms& forms) {
  // The maps in order, fixed, unmod, shift, option, shiftOption, and in each
  // the upper-case form first: the combined index answers for all five at
  // once. "Space" is neither upper nor lower case, so the fixed table's name
  // for the space bar is never found this way.
  constexpr std::uint8_t kFlagBits[5] = {0, 0, 0x2, 0x8, 0xA};
  const auto* upperEntry = cache.find(forms.upper);
  const auto* lowerEntry = cache.find(forms.lower);
  for (std::size_t map = 0; map < 5; ++map) {
    for (const auto* entry : {upperEntry, lowerEntry}) {
      if (entry && (entry->present & (1u << map))) return {entry->codes[map], kFlagBits[map]};
    }
  }
  return {};  // key code 0, also the A key's: callers cannot tell the two apart
}

KeyAnswer lookUpKeyCodeGenerally(const KeyLayoutSnapshot& cache, std::u16string_view keyChar) {
  return answerForForms(cache, lookupForms(keyChar));
}

KeyAnswer lookUpKeyCodeOtherwise(const KeyLayoutSnapshot& cache, std::u16string_view text) {
  if (text.size() == 1) return lookUpKeyCodeGenerally(cache, text);  // a lone surrogate
  // Other ASCII texts (" k ", longer names): lower-cased and trimmed here,
  // then one character or a packed short name; anything else the general
  // way.
  if (text.size() > kLongestQuickGlyph) return lookUpKeyCodeGenerally(cache, text);
  char16_t lowered[kLongestQuickGlyph];
  std::size_t from = 0, to = 0;
  for (const char16_t unit : text) {
    if (unit >= 0x80) return lookUpKeyCodeGenerally(cache, text);
    lowered[to++] = asciiLowered(unit);
  }
  while (from < to && cache.asciiBlank[lowered[from]]) ++from;
  while (to > from && cache.asciiBlank[lowered[to - 1]]) --to;
  const std::u16string_view trimmedText(lowered + from, to - from);
  if (trimmedText.empty()) return {};
  if (trimmedText.size() == 1) return cache.asciiAnswers[trimmedText[0]];
  if (trimmedText.size() > kLongestPackedText) return lookUpKeyCodeGenerally(cache, text);
  return cache.nameAnswers.find(packedASCIIKey(trimmedText));
}

TQKeyComboParts partsForKeyChar(KeyAnswer answer, std::uint64_t modifiers) {
  // Shift alone is added; a character that needs option is found on its
  // key, and the caller's flags decide the rest.
  if (answer.flags() == TQModifierFlag::Shift) modifiers |= TQModifierFlag::Shift;
  // A function key carries the function flag by nature: it is not shown.
  if (isFunctionKey(answer.keyCode)) modifiers &= ~TQModifierFlag::Function;
  return {answer.keyCode, modifiers & TQModifierFlag::Mask};
}

TQKeyComboParts parseKeyGlyphGenerally(const KeyLayoutSnapshot& cache, std::u16string_view glyph) {
  std::u16string text = uppercased(glyph);
  std::uint64_t flags = 0;
  for (const auto& [each, flag] : kGlyphFlags) {
    const std::size_t at = text.find(each);
    if (at == std::u16string::npos) continue;
    text.erase(at, each.size());  // the first occurrence only
    flags |= flag;
  }
  return partsForKeyChar(lookUpKeyCodeGenerally(cache, trimmed(text, false)), flags);
}

TQKeyComboParts parseKeyGlyph(const KeyLayoutSnapshot& cache, std::u16string_view glyph) {
  // One pass on the stack: upper-case ASCII by table, keep any character no
  // upper-casing changes, and leave out the first control, shift, command
  // and option glyph, each a flag. A character that upper-casing changes
  // ("ß" becomes "SS") sends the whole string the general way, as it sends
  // it to ICU.
  if (glyph.size() > kLongestQuickGlyph) return parseKeyGlyphGenerally(cache, glyph);
  char16_t units[kLongestQuickGlyph];
  std::size_t size = 0;
  std::uint64_t flags = 0;
  bool maybeFunction = false;
  for (std::size_t i = 0; i < glyph.size();) {
    const char16_t unit = glyph[i];
    if (unit < 0x80) {
      units[size++] = unit >= u'a' && unit <= u'z' ? char16_t(unit & ~0x20) : unit;
      ++i;
      continue;
    }
    if (isLookupGlyph(unit)) {
      const std::uint64_t flag = flagOfGlyph(unit);
      if (!(flags & flag)) {
        flags |= flag;  // the first occurrence is the flag; later ones stay
        ++i;
        continue;
      }
      units[size++] = unit;
      ++i;
      continue;
    }
    UChar32 c;
    std::size_t next = i;
    U16_NEXT(glyph.data(), next, glyph.size(), c);
    if (u_hasBinaryProperty(c, UCHAR_CHANGES_WHEN_UPPERCASED)) return parseKeyGlyphGenerally(cache, glyph);
    maybeFunction |= unit == kFunctionGlyph[0];
    while (i < next) units[size++] = glyph[i++];
  }
  // The function glyph is looked for once the others are out, so taking
  // them out first is the same as taking them out in order.
  if (maybeFunction && eraseFirst(units, size, kFunctionGlyph)) flags |= TQModifierFlag::Function;
  return partsForKeyChar(lookUpKeyCode(cache, trimmedSpaces(cache, std::u16string_view(units, size))), flags);
}

}  // namespace tq::detail
