#pragma once
// The character lookup and the glyph-string parse, each twice: the general
// form, which follows the rules step by step on strings, and the quick form,
// which answers the usual texts from tables the snapshot made with the
// general form and hands every other text to it. Both give the same answer
// for every text; the general form stays callable so that tests and fuzzing
// can hold the quick one to that.

#include <string>
#include <string_view>

#include "tq/keys/TQKeyCombo.h"
#include "tq/keys/internal/KeyLayoutCache.h"

namespace tq::detail {

/// The two texts the lookup looks for: the lower-case form of the text
/// without its lone control, shift, command and option glyphs and trimmed of
/// white space and line breaks, and that form upper-cased.
struct LookupForms {
  std::u16string upper, lower;
};
LookupForms lookupForms(std::u16string_view keyChar);
/// The first of the forms' hits in the fixed, unmod, shift, option and
/// shiftOption maps in that order, upper first.
KeyAnswer answerForForms(const KeyLayoutSnapshot& cache, const LookupForms& forms);

/// Lower-cases the text, takes away the lone control, shift, command and
/// option glyphs, trims white space and line breaks, and looks the upper-
/// and lower-case forms up in the fixed, unmod, shift, option and
/// shiftOption maps in that order, upper first.
KeyAnswer lookUpKeyCodeGenerally(const KeyLayoutSnapshot& cache, std::u16string_view text);
/// The texts the tables leave: ones to trim, longer names, strings beyond
/// ASCII, lone surrogates.
KeyAnswer lookUpKeyCodeOtherwise(const KeyLayoutSnapshot& cache, std::u16string_view text);

inline char16_t asciiLowered(char16_t unit) { return char16_t(unit | (char16_t(unit - u'A') < 26 ? 0x20 : 0)); }

/// The key of a short ASCII text (2 to 8 units) in `nameAnswers`: the units
/// at 7 bits each, with the length in the top byte (never 0, the empty
/// slot).
inline std::uint64_t packedASCIIKey(std::u16string_view text) {
  std::uint64_t key = std::uint64_t(text.size()) << 56;
  for (std::size_t i = 0; i < text.size(); ++i) key |= std::uint64_t(text[i] & 0x7F) << (7 * i);
  return key;
}
inline constexpr std::size_t kLongestPackedText = 8;

/// The answer for the texts asked most, from the tables alone: one
/// character, or a short ASCII name with nothing to trim ("F1", "PAD 1").
/// False for the others. Inline and calling nothing, so that a caller's
/// quick path saves no registers.
inline bool tabledAnswer(const KeyLayoutSnapshot& cache, std::u16string_view text, KeyAnswer& answer) {
  if (text.size() == 1) {
    // A unit that is in neither table has no answer: the snapshot tabled
    // every unit a map holds and every unit some case mapping changes, and
    // any other unit is its own upper and lower case form and in no map.
    const char16_t unit = text[0];
    if (unit < 0x80) {
      answer = cache.asciiAnswers[unit];
      return true;
    }
    if (unit < 0xD800 || unit > 0xDFFF) {
      answer = cache.unitAnswers.find(unit);
      return true;
    }
  } else if (text.size() >= 2 && text.size() <= kLongestPackedText && text.front() < 0x80 && text.back() < 0x80 &&
             !cache.asciiBlank[text.front()] && !cache.asciiBlank[text.back()]) {
    char16_t all = 0;
    std::uint64_t key = std::uint64_t(text.size()) << 56;
    for (std::size_t i = 0; i < text.size(); ++i) {
      all |= text[i];
      key |= std::uint64_t(asciiLowered(text[i]) & 0x7F) << (7 * i);
    }
    if (all < 0x80) {
      answer = cache.nameAnswers.find(key);
      return true;
    }
  }
  return false;
}

/// The quick lookup: the tables' answer, else the remaining ways.
inline KeyAnswer lookUpKeyCode(const KeyLayoutSnapshot& cache, std::u16string_view text) {
  KeyAnswer answer;
  return tabledAnswer(cache, text, answer) ? answer : lookUpKeyCodeOtherwise(cache, text);
}

/// Upper-cases the glyph string, takes the first control, shift, command,
/// option and function glyph out as flags, trims white space, and looks the
/// rest up as a key character (adding shift when the layout needs it).
TQKeyComboParts parseKeyGlyphGenerally(const KeyLayoutSnapshot& cache, std::u16string_view glyph);
TQKeyComboParts parseKeyGlyph(const KeyLayoutSnapshot& cache, std::u16string_view glyph);

/// The parts of a combo made from a key character's answer and the
/// caller's flags: shift alone is added (an option the layout needs is
/// not), a function key drops the function flag, and the flags are masked.
TQKeyComboParts partsForKeyChar(KeyAnswer answer, std::uint64_t modifiers);


}  // namespace tq::detail
