// The combo over the keyboard layout: the key that types a character, the
// name a key shows, and the combos made from characters, glyph strings and
// menu-item equivalents.

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include <algorithm>


#include "tq/keys/TQKeyCombo.h"
#include "tq/keys/internal/KeyLayoutCache.h"
#include "tq/keys/internal/KeyTables.h"
#include "tq/keys/internal/KeyText.h"

namespace tq {

namespace {

constexpr char16_t kControlGlyph = u'\u2303', kShiftGlyph = u'\u21E7', kCommandGlyph = u'\u2318',
                   kOptionGlyph = u'\u2325';
constexpr std::u16string_view kFunctionGlyph = u"\U0001D5BF\U0001D5C7 ";

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

/// The lookup itself, on the text's units: lower-cased, without lone
/// modifier glyphs, trimmed; then its upper- and lower-case forms in the five
/// maps in order.
std::uint16_t lookUpKeyCode(std::u16string_view keyChar, std::uint64_t* modifierFlags) {
  const detail::KeyLayoutSnapshot& cache = detail::keyLayoutSnapshot();
  const std::u16string stripped = withoutModifierGlyphs(detail::lowercased(keyChar));
  const std::u16string_view text = detail::trimmed(stripped, true);
  // The text is lower case already (lower-casing is idempotent, and taking
  // glyphs and white space away changes no case): it is its own lower form.
  const std::u16string upper = detail::uppercased(text), lower(text);
  if (modifierFlags) *modifierFlags = 0;
  // The maps in order, fixed, unmod, shift, option, shiftOption, and in each
  // the upper-case form first: the combined index answers for all five at
  // once. "Space" is neither upper nor lower case, so the fixed table's name
  // for the space bar is never found this way.
  constexpr std::uint64_t kFlags[5] = {0, 0, TQModifierFlag::Shift, TQModifierFlag::Option,
                                       TQModifierFlag::Shift | TQModifierFlag::Option};
  const auto* upperEntry = cache.find(upper);
  const auto* lowerEntry = cache.find(lower);
  for (std::size_t map = 0; map < 5; ++map) {
    for (const auto* entry : {upperEntry, lowerEntry}) {
      if (entry && (entry->present & (1u << map))) {
        if (modifierFlags) *modifierFlags = kFlags[map];
        return entry->codes[map];
      }
    }
  }
  return 0;  // also the A key's code: callers cannot tell the two apart
}

/// A combo from a key name or character (see `newWithKeyChar`).
Ref<TQKeyCombo> comboWithKeyChar(std::u16string_view keyChar, std::uint64_t modifiers) {
  std::uint64_t needed = 0;
  const std::uint16_t keyCode = lookUpKeyCode(keyChar, &needed);
  // Shift alone is added; a character that needs option is found on its
  // key, and the caller's flags decide the rest.
  if (needed == TQModifierFlag::Shift) modifiers |= TQModifierFlag::Shift;
  return TQKeyCombo::initWithKeyCode(keyCode, modifiers);
}

}  // namespace

std::uint16_t TQKeyCombo::keycodeForKeyChar(const String& keyChar, std::uint64_t* modifierFlags) {
  return lookUpKeyCode(keyChar.utf16(), modifierFlags);
}

Ref<String> TQKeyCombo::stringForKeyCode(std::uint16_t keyCode) {
  std::u16string name;
  detail::appendKeyName(name, keyCode);
  return String::fromUTF16(std::move(name));
}

Ref<TQKeyCombo> TQKeyCombo::newWithKeyChar(const String& keyChar, std::uint64_t modifiers) {
  return comboWithKeyChar(keyChar.utf16(), modifiers);
}

Ref<TQKeyCombo> TQKeyCombo::newWithKeyGlyph(const String& glyph) {
  std::u16string text = detail::uppercased(glyph.utf16());
  std::uint64_t flags = 0;
  const std::pair<std::u16string_view, std::uint64_t> glyphs[] = {
      {std::u16string_view(&kControlGlyph, 1), TQModifierFlag::Control},
      {std::u16string_view(&kShiftGlyph, 1), TQModifierFlag::Shift},
      {std::u16string_view(&kCommandGlyph, 1), TQModifierFlag::Command},
      {std::u16string_view(&kOptionGlyph, 1), TQModifierFlag::Option},
      {kFunctionGlyph, TQModifierFlag::Function}};
  for (const auto& [each, flag] : glyphs) {
    const std::size_t at = text.find(each);
    if (at == std::u16string::npos) continue;
    text.erase(at, each.size());  // the first occurrence only
    flags |= flag;
  }
  return comboWithKeyChar(detail::trimmed(text, false), flags);
}

Ref<TQKeyCombo> TQKeyCombo::newWithEquivalentForMenuItem(const String& keyEquivalent, std::uint64_t modifierMask) {
  if (keyEquivalent.length() == 0) return nullptr;
  const std::uint64_t flags = modifierMask & TQModifierFlag::Mask;
  auto key = keyEquivalent.utf16() == u"\b" ? str(u"\u232B") : keyEquivalent.uppercaseString();
  auto combo = newWithKeyChar(*key, flags);
  combo->setModifierFlags(flags);  // the menu item's own, without a shift the lookup added
  return combo;
}

void TQKeyCombo::cacheKeyboardLayout() { detail::rebuildKeyLayoutCache(); }

Ref<String> TQKeyCombo::currentKeyboardName() { return str(detail::keyLayoutSnapshot().name); }

Ref<String> TQKeyCombo::currentKeyboardIdentifier() { return str(detail::keyLayoutSnapshot().identifier); }

}  // namespace tq
