#pragma once
// Sets of Unicode scalar values, for scanning and trimming.

#include <bitset>
#include <functional>
#include <memory>
#include <string_view>

#include "tq/platform/object/Object.h"

namespace tq {

class String;

class CharacterSet : public Object {
 public:
  using Predicate = std::function<bool(char32_t)>;
  explicit CharacterSet(Predicate predicate);

  std::string className() const override { return "CharacterSet"; }
  Id copy() const override { return self(); }

  bool characterIsMember(char32_t c) const {
    return c < 0x10000 ? bmp_[c] : predicate_(c);
  }
  Ref<CharacterSet> invertedSet() const;

  /// Space, tab and the other horizontal white space (Unicode Zs and tab).
  static Ref<CharacterSet> whitespaceCharacterSet();
  /// White space plus line breaks (LF, VT, FF, CR, NEL, LS, PS).
  static Ref<CharacterSet> whitespaceAndNewlineCharacterSet();
  static Ref<CharacterSet> newlineCharacterSet();
  /// Unicode decimal digits (Nd).
  static Ref<CharacterSet> decimalDigitCharacterSet();
  static Ref<CharacterSet> letterCharacterSet();
  static Ref<CharacterSet> alphanumericCharacterSet();
  static Ref<CharacterSet> uppercaseLetterCharacterSet();
  static Ref<CharacterSet> lowercaseLetterCharacterSet();
  static Ref<CharacterSet> punctuationCharacterSet();
  static Ref<CharacterSet> characterSetWithCharactersInString(const String& characters);
  static Ref<CharacterSet> characterSetWithCharactersInString(std::u16string_view characters);
  static Ref<CharacterSet> characterSetWithRange(char32_t first, std::size_t length);

 private:
  Predicate predicate_;
  // Membership of the Basic Multilingual Plane precomputed: scanning is hot.
  std::bitset<0x10000> bmp_;
};

}  // namespace tq
