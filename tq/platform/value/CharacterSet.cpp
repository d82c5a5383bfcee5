#include "tq/platform/value/CharacterSet.h"

#include <unicode/uchar.h>

#include <mutex>

#include "tq/platform/value/String.h"

namespace tq {

CharacterSet::CharacterSet(Predicate predicate) : predicate_(std::move(predicate)) {
  for (char32_t c = 0; c < 0x10000; ++c) {
    if (predicate_(c)) bmp_.set(c);
  }
}

Ref<CharacterSet> CharacterSet::invertedSet() const {
  Ref<const CharacterSet> inner = std::static_pointer_cast<const CharacterSet>(self());
  return make<CharacterSet>([inner](char32_t c) { return !inner->characterIsMember(c); });
}

namespace {

bool isNewline(char32_t c) {
  return (c >= 0x0A && c <= 0x0D) || c == 0x85 || c == 0x2028 || c == 0x2029;
}
bool isHorizontalSpace(char32_t c) {
  return c == '\t' || u_charType(static_cast<UChar32>(c)) == U_SPACE_SEPARATOR;
}

Ref<CharacterSet> shared(Ref<CharacterSet>& slot, std::once_flag& once, CharacterSet::Predicate p) {
  std::call_once(once, [&] { slot = make<CharacterSet>(std::move(p)); });
  return slot;
}

#define TQ_SHARED_SET(name, predicate)       \
  Ref<CharacterSet> CharacterSet::name() {   \
    static Ref<CharacterSet> slot;           \
    static std::once_flag once;              \
    return shared(slot, once, predicate);    \
  }

}  // namespace

TQ_SHARED_SET(whitespaceCharacterSet, isHorizontalSpace)
TQ_SHARED_SET(whitespaceAndNewlineCharacterSet,
              [](char32_t c) { return isHorizontalSpace(c) || isNewline(c); })
TQ_SHARED_SET(newlineCharacterSet, isNewline)
TQ_SHARED_SET(decimalDigitCharacterSet,
              [](char32_t c) { return u_charType(static_cast<UChar32>(c)) == U_DECIMAL_DIGIT_NUMBER; })
TQ_SHARED_SET(letterCharacterSet, [](char32_t c) { return u_isalpha(static_cast<UChar32>(c)) != 0; })
TQ_SHARED_SET(alphanumericCharacterSet,
              [](char32_t c) { return u_isalnum(static_cast<UChar32>(c)) != 0; })
TQ_SHARED_SET(uppercaseLetterCharacterSet,
              [](char32_t c) { return u_isupper(static_cast<UChar32>(c)) != 0; })
TQ_SHARED_SET(lowercaseLetterCharacterSet,
              [](char32_t c) { return u_islower(static_cast<UChar32>(c)) != 0; })
TQ_SHARED_SET(punctuationCharacterSet,
              [](char32_t c) { return u_ispunct(static_cast<UChar32>(c)) != 0; })

Ref<CharacterSet> CharacterSet::characterSetWithCharactersInString(const String& characters) {
  return characterSetWithCharactersInString(std::u16string_view(characters.utf16()));
}

Ref<CharacterSet> CharacterSet::characterSetWithCharactersInString(std::u16string_view characters) {
  // Decode to scalars so that supplementary characters are members too.
  std::u32string scalars;
  for (std::size_t i = 0; i < characters.size(); ++i) {
    char32_t c = characters[i];
    if (c >= 0xD800 && c < 0xDC00 && i + 1 < characters.size() && characters[i + 1] >= 0xDC00 &&
        characters[i + 1] < 0xE000) {
      c = 0x10000 + ((c - 0xD800) << 10) + (characters[i + 1] - 0xDC00);
      ++i;
    }
    scalars.push_back(c);
  }
  return make<CharacterSet>(
      [scalars](char32_t c) { return scalars.find(c) != std::u32string::npos; });
}

Ref<CharacterSet> CharacterSet::characterSetWithRange(char32_t first, std::size_t length) {
  return make<CharacterSet>([first, length](char32_t c) { return c >= first && c - first < length; });
}

}  // namespace tq
