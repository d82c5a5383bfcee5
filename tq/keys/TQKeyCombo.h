#pragma once
// A keyboard shortcut: one hardware key code (the platform's virtual key
// codes: 0 the A key of an ANSI keyboard, 36 Return, 49 Space, 122 F1) and a
// set of modifier flags. Combos turn into display strings of modifier glyphs
// (control, option, shift, command, function) and key names, parse such
// strings back, find the keys that type characters on the user's own
// keyboard layout, live in dictionaries for preferences, and compare and
// order.
//
// Key names that do not come from a fixed table come from a process-wide
// cache of the current keyboard layout (tq/platform/system/KeyboardLayout),
// built at first use and built again, on the main queue, whenever the layout
// changes. A layout that cannot type the Latin letters (Russian, Greek) is
// replaced by the ASCII-capable layout the user has, so shortcuts keep their
// letters.

#include <cstdint>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"
#include "tq/platform/value/ValueTransformer.h"

namespace tq {

/// The modifier flags of a combo (the platform's event modifier flags).
namespace TQModifierFlag {
inline constexpr std::uint64_t Shift = 0x20000, Control = 0x40000, Option = 0x80000, Command = 0x100000,
                               Function = 0x800000;
/// The five flags above: caps lock, numeric pad, help and device bits are
/// always dropped.
inline constexpr std::uint64_t Mask = 0x9E0000;
}  // namespace TQModifierFlag

/// A combo's key code and flags as a plain value: what parsing a glyph
/// string answers without making a combo object.
struct TQKeyComboParts {
  std::uint16_t keyCode = 0;
  std::uint64_t modifierFlags = 0;
  bool operator==(const TQKeyComboParts&) const = default;
};

class TQKeyCombo : public Object {
 public:
  /// Stores the flags masked, as they are; `initWithKeyCode` is the usual
  /// way in.
  TQKeyCombo(std::uint16_t keyCode, std::uint64_t modifierFlags);

  // ---- Making combos -------------------------------------------------------

  /// The combo of a key code and flags; for a function key (F1-F19) the
  /// function flag is cleared.
  static Ref<TQKeyCombo> initWithKeyCode(std::uint16_t keyCode, std::uint64_t modifiers);
  /// From the "code"/"modifiers" form, or the older "keyCode", "keyLabel",
  /// "shiftKey" ... form. Nil for a "keyLabel" of "NONE"; a dictionary with
  /// neither "code" nor "keyCode" gives code 0 with no flags.
  static Ref<TQKeyCombo> initWithDictionaryRepresentation(const Dictionary& dictionary);
  /// From a key event's key code (its low 16 bits) and modifier flags.
  static Ref<TQKeyCombo> newWithKeyEvent(std::uint32_t keyCode, std::uint64_t modifierFlags);
  static Ref<TQKeyCombo> withKeyEvent(std::uint32_t keyCode, std::uint64_t modifierFlags) {
    return newWithKeyEvent(keyCode, modifierFlags);
  }
  /// From a key name or character: shift is added when the layout needs it
  /// to type the character (option is not).
  static Ref<TQKeyCombo> newWithKeyChar(const String& keyChar, std::uint64_t modifiers);
  static Ref<TQKeyCombo> withKeyChar(const String& keyChar, std::uint64_t modifiers) {
    return newWithKeyChar(keyChar, modifiers);
  }
  /// Parsed from a glyph string such as "⌘⇧K".
  static Ref<TQKeyCombo> newWithKeyGlyph(const String& glyph);
  static Ref<TQKeyCombo> forKeyGlyph(const String& glyph) { return newWithKeyGlyph(glyph); }
  /// The key code and flags `newWithKeyGlyph` makes its combo of, with no
  /// object made: for callers that only want the values.
  static TQKeyComboParts parseKeyGlyph(const String& glyph);
  /// From a menu item's key equivalent and modifier mask; nil when the
  /// equivalent is empty. The combo's flags are the menu item's, exactly.
  static Ref<TQKeyCombo> newWithEquivalentForMenuItem(const String& keyEquivalent, std::uint64_t modifierMask);

  // ---- Key codes and names -------------------------------------------------

  /// The key that types `keyChar` on the current layout (0 when none does,
  /// which is also the A key); `modifierFlags`, when given, receives the
  /// flags the layout needs: shift, option or both.
  static std::uint16_t keycodeForKeyChar(const String& keyChar, std::uint64_t* modifierFlags = nullptr);
  /// The key's name, upper case: the fixed table's, else the layout's label,
  /// else (no layout) the empty string.
  static Ref<String> stringForKeyCode(std::uint16_t keyCode);
  /// The flags' glyphs followed by the key's name; number-key option 1
  /// names the keys of the number row by their digit.
  static Ref<String> stringForKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                      std::uint64_t numberKeyOptions = 0);
  /// The glyphs of the flags: control, option, shift, command, function.
  static Ref<String> stringForModifiers(std::uint64_t modifierFlags);
  /// Option 1: the digit of a number-row key (nil for other keys); option
  /// 0: `stringForKeyCode`; other options nil.
  static Ref<String> numberKeyGlyphForKeyCode(std::uint16_t keyCode, std::uint64_t options);
  static bool keyCodeIsKeypadNumber(std::uint16_t keyCode);
  static bool keyCodeIsNumberKey(std::uint16_t keyCode);
  static bool keyCodeIsFunctionKey(std::uint16_t keyCode);
  /// The 52 keys whose names do not come from the layout: key code (Number)
  /// to name (String).
  static Ref<Dictionary> fixedKeyTable();
  /// Builds the layout cache again from the current layout.
  static void cacheKeyboardLayout();
  /// The cached layout's name ("French"), and its identifier ("fr").
  static Ref<String> currentKeyboardName();
  static Ref<String> currentKeyboardIdentifier();

  // ---- The combo -----------------------------------------------------------

  Ref<Dictionary> dictionaryRepresentation() const;
  std::uint16_t keyCode() const { return keyCode_; }
  void setKeyCode(std::uint16_t keyCode) { keyCode_ = keyCode; }
  std::uint64_t modifierFlags() const { return modifierFlags_; }
  void setModifierFlags(std::uint64_t flags) { modifierFlags_ = flags & TQModifierFlag::Mask; }

  Ref<String> keyGlyph() const { return keyGlyphWithNumberKeyOption(0); }
  Ref<String> baseGlyph() const { return baseGlyphWithNumberKeyOption(0); }
  Ref<String> keyGlyphWithNumberKeyOption(std::uint64_t option) const;
  Ref<String> baseGlyphWithNumberKeyOption(std::uint64_t option) const;

  bool isEqual(const Object& other) const override;
  bool isEqualTo(const Object& other) const { return isEqual(other); }
  /// The flags shifted left by the key code + 8, the shift count taken
  /// modulo 64.
  std::size_t hash() const override;
  /// By base glyph, case-insensitively; for the same key, by `_modifierOrder`.
  ComparisonResult compare(const TQKeyCombo& other) const;
  /// 1 shift, else 2 option, 4 control, 8 command, 16 function, else 0.
  std::int64_t _modifierOrder() const;
  Id copy() const override;
  /// "<TQKeyCombo 0x…> \"⌘K\" code:40 modifiers: 1048576"
  Ref<String> description() const override;
  std::string className() const override { return "TQKeyCombo"; }

 private:
  std::uint16_t keyCode_;
  std::uint64_t modifierFlags_;
};

/// A combo to its glyph string and back, for bindings.
class TQKeyComboValueTransformer : public ValueTransformer {
 public:
  std::string className() const override { return "TQKeyComboValueTransformer"; }
  std::string transformedValueClass() const override { return "String"; }
  bool allowsReverseTransformation() const override { return true; }
  /// The combo's `keyGlyph`; nil for anything else.
  Id transformedValue(const Id& value) const override;
  /// `newWithKeyGlyph` of a string; nil for anything else.
  Id reverseTransformedValue(const Id& value) const override;
};

}  // namespace tq
