// The combo as a value: making, reading and writing dictionaries, glyph
// strings, equality, hashing, ordering and description.

#include "tq/keys/TQKeyCombo.h"

#include <cinttypes>
#include <cstdio>
#include <optional>

#include "tq/keys/internal/KeyLayoutCache.h"
#include "tq/keys/internal/KeyTables.h"
#include "tq/keys/internal/KeyText.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {

/// An entry's number, or nothing when it is absent or no number.
std::optional<std::uint64_t> numberEntry(const Dictionary& dictionary, std::string_view key) {
  auto number = std::dynamic_pointer_cast<Number>(dictionary.objectForKey(key));
  if (!number) return std::nullopt;
  return number->unsignedIntegerValue();
}

bool boolEntry(const Dictionary& dictionary, std::string_view key) {
  auto number = std::dynamic_pointer_cast<Number>(dictionary.objectForKey(key));
  return number && number->boolValue();
}

}  // namespace

TQKeyCombo::TQKeyCombo(std::uint16_t keyCode, std::uint64_t modifierFlags)
    : keyCode_(keyCode), modifierFlags_(modifierFlags & TQModifierFlag::Mask) {}

Ref<TQKeyCombo> TQKeyCombo::initWithKeyCode(std::uint16_t keyCode, std::uint64_t modifiers) {
  // A function key carries the function flag by nature: it is not shown.
  if (keyCodeIsFunctionKey(keyCode)) modifiers &= ~TQModifierFlag::Function;
  return make<TQKeyCombo>(keyCode, modifiers);
}

Ref<TQKeyCombo> TQKeyCombo::newWithKeyEvent(std::uint32_t keyCode, std::uint64_t modifierFlags) {
  return initWithKeyCode(std::uint16_t(keyCode & 0xFFFF), modifierFlags);
}

Ref<TQKeyCombo> TQKeyCombo::initWithDictionaryRepresentation(const Dictionary& dictionary) {
  // Entries of the wrong kind read as absent (numbers) or false (flags).
  if (auto code = numberEntry(dictionary, "code")) {
    return make<TQKeyCombo>(std::uint16_t(*code), numberEntry(dictionary, "modifiers").value_or(0));
  }
  auto keyCode = numberEntry(dictionary, "keyCode");
  if (!keyCode) return make<TQKeyCombo>(0, 0);
  auto label = std::dynamic_pointer_cast<String>(dictionary.objectForKey("keyLabel"));
  if (label && label->isEqualToString("NONE")) return nullptr;
  std::uint16_t code = std::uint16_t(*keyCode);
  if (code == 0) code = keycodeForKeyChar(label ? *label->uppercaseString() : String());
  std::uint64_t flags = 0;
  if (boolEntry(dictionary, "shiftKey")) flags |= TQModifierFlag::Shift;
  if (boolEntry(dictionary, "optionKey")) flags |= TQModifierFlag::Option;
  if (boolEntry(dictionary, "controlKey")) flags |= TQModifierFlag::Control;
  if (boolEntry(dictionary, "commandKey")) flags |= TQModifierFlag::Command;
  if (boolEntry(dictionary, "functionKey")) flags |= TQModifierFlag::Function;
  return make<TQKeyCombo>(code, flags);
}

Ref<Dictionary> TQKeyCombo::dictionaryRepresentation() const {
  return dict({{str("code"), num(unsigned(keyCode_))}, {str("modifiers"), num((unsigned long long)modifierFlags_)}});
}

// ---- Glyph strings ---------------------------------------------------------

Ref<String> TQKeyCombo::stringForModifiers(std::uint64_t flags) {
  std::u16string glyphs;
  detail::appendModifierGlyphs(glyphs, flags);
  return String::fromUTF16(std::move(glyphs));
}

Ref<String> TQKeyCombo::numberKeyGlyphForKeyCode(std::uint16_t keyCode, std::uint64_t options) {
  if (options == 0) return stringForKeyCode(keyCode);
  if (options != 1) return nullptr;
  const char16_t* digit = detail::numberRowDigit(keyCode);
  return digit && keyCodeIsNumberKey(keyCode) ? String::fromUTF16(digit) : nullptr;
}

Ref<String> TQKeyCombo::stringForKeyCode(std::uint16_t keyCode, std::uint64_t modifierFlags,
                                         std::uint64_t numberKeyOptions) {
  if (keyCodeIsFunctionKey(keyCode)) modifierFlags &= ~TQModifierFlag::Function;
  std::u16string glyph;
  glyph.reserve(12);
  detail::appendModifierGlyphs(glyph, modifierFlags);
  const char16_t* digit = numberKeyOptions == 1 && keyCodeIsNumberKey(keyCode) ? detail::numberRowDigit(keyCode) : nullptr;
  if (digit) {
    glyph += digit;
  } else {
    detail::appendKeyName(glyph, keyCode);
  }
  return String::fromUTF16(std::move(glyph));
}

Ref<String> TQKeyCombo::keyGlyphWithNumberKeyOption(std::uint64_t option) const {
  return stringForKeyCode(keyCode_, modifierFlags_, option);
}

Ref<String> TQKeyCombo::baseGlyphWithNumberKeyOption(std::uint64_t option) const {
  return stringForKeyCode(keyCode_, 0, option);
}

bool TQKeyCombo::keyCodeIsKeypadNumber(std::uint16_t keyCode) { return detail::isKeypadNumber(keyCode); }
bool TQKeyCombo::keyCodeIsNumberKey(std::uint16_t keyCode) { return detail::isNumberRowKey(keyCode); }
bool TQKeyCombo::keyCodeIsFunctionKey(std::uint16_t keyCode) { return detail::isFunctionKey(keyCode); }

Ref<Dictionary> TQKeyCombo::fixedKeyTable() {
  static const Ref<Dictionary> table = [] {
    std::vector<Dictionary::Entry> entries;
    for (const auto& [code, name] : detail::fixedKeyEntries()) entries.emplace_back(num(unsigned(code)), str(name));
    return make<Dictionary>(entries);
  }();
  return table;
}

// ---- Equality, order, description -----------------------------------------

bool TQKeyCombo::isEqual(const Object& other) const {
  if (this == &other) return true;
  auto combo = dynamic_cast<const TQKeyCombo*>(&other);
  return combo && combo->keyCode_ == keyCode_ && combo->modifierFlags_ == modifierFlags_;
}

std::size_t TQKeyCombo::hash() const { return std::size_t(modifierFlags_ << ((unsigned(keyCode_) + 8) % 64)); }

std::int64_t TQKeyCombo::_modifierOrder() const {
  if (modifierFlags_ & TQModifierFlag::Shift) return 1;
  if (modifierFlags_ & TQModifierFlag::Option) return 2;
  if (modifierFlags_ & TQModifierFlag::Control) return 4;
  if (modifierFlags_ & TQModifierFlag::Command) return 8;
  if (modifierFlags_ & TQModifierFlag::Function) return 16;
  return 0;
}

ComparisonResult TQKeyCombo::compare(const TQKeyCombo& other) const {
  const ComparisonResult byGlyph = baseGlyph()->caseInsensitiveCompare(*other.baseGlyph());
  if (byGlyph != ComparisonResult::Same) return byGlyph;
  const auto mine = std::int16_t(_modifierOrder()), theirs = std::int16_t(other._modifierOrder());
  if (mine == theirs) return ComparisonResult::Same;
  return mine < theirs ? ComparisonResult::Ascending : ComparisonResult::Descending;
}

Id TQKeyCombo::copy() const { return make<TQKeyCombo>(keyCode_, modifierFlags_); }

Ref<String> TQKeyCombo::description() const {
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(this));
  return str("<" + className() + " " + address + "> \"" + keyGlyph()->utf8() + "\" code:" + std::to_string(keyCode_) +
             " modifiers: " + std::to_string(std::int64_t(modifierFlags_)));
}

// ---- The value transformer --------------------------------------------------

Id TQKeyComboValueTransformer::transformedValue(const Id& value) const {
  auto combo = std::dynamic_pointer_cast<TQKeyCombo>(value);
  return combo ? combo->keyGlyph() : nullptr;
}

Id TQKeyComboValueTransformer::reverseTransformedValue(const Id& value) const {
  auto glyph = std::dynamic_pointer_cast<String>(value);
  return glyph ? TQKeyCombo::newWithKeyGlyph(*glyph) : nullptr;
}

}  // namespace tq
