// The combo over the keyboard layout: the key that types a character, the
// name a key shows, and the combos made from characters, glyph strings and
// menu-item equivalents.

#include "tq/keys/TQKeyCombo.h"
#include "tq/keys/internal/KeyLayoutCache.h"
#include "tq/keys/internal/KeyLookup.h"

namespace tq {

namespace {

std::uint16_t keyCodeAnswering(detail::KeyAnswer answer, std::uint64_t* modifierFlags) {
  if (modifierFlags) *modifierFlags = answer.flags();
  return answer.keyCode;
}

/// The texts the tables do not answer, and the first call of all.
[[gnu::noinline]] std::uint16_t keycodeForAnyKeyChar(const std::u16string& keyChar, std::uint64_t* modifierFlags) {
  return keyCodeAnswering(detail::lookUpKeyCode(detail::keyLayoutSnapshot(), keyChar), modifierFlags);
}

}  // namespace

std::uint16_t TQKeyCombo::keycodeForKeyChar(const String& keyChar, std::uint64_t* modifierFlags) {
  // The usual question is answered in a path that calls nothing (everything
  // else is a tail call), so it saves no registers.
  const std::u16string& units = keyChar.utf16();
  if (const detail::KeyLayoutSnapshot* cache = detail::publishedKeyLayoutSnapshot.load(std::memory_order_acquire)) {
    detail::KeyAnswer answer;
    if (detail::tabledAnswer(*cache, units, answer)) return keyCodeAnswering(answer, modifierFlags);
  }
  return keycodeForAnyKeyChar(units, modifierFlags);
}

Ref<String> TQKeyCombo::stringForKeyCode(std::uint16_t keyCode) {
  std::u16string name;
  detail::appendKeyName(name, keyCode);
  return String::fromUTF16(std::move(name));
}

Ref<TQKeyCombo> TQKeyCombo::newWithKeyChar(const String& keyChar, std::uint64_t modifiers) {
  const auto parts = detail::partsForKeyChar(detail::lookUpKeyCode(detail::keyLayoutSnapshot(), keyChar.utf16()),
                                             modifiers);
  return make<TQKeyCombo>(parts.keyCode, parts.modifierFlags);
}

TQKeyComboParts TQKeyCombo::parseKeyGlyph(const String& glyph) {
  return detail::parseKeyGlyph(detail::keyLayoutSnapshot(), glyph.utf16());
}

Ref<TQKeyCombo> TQKeyCombo::newWithKeyGlyph(const String& glyph) {
  const TQKeyComboParts parts = parseKeyGlyph(glyph);
  return make<TQKeyCombo>(parts.keyCode, parts.modifierFlags);
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
