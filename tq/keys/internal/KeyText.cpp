#include "tq/keys/internal/KeyText.h"

#include <algorithm>

#include "tq/keys/TQKeyCombo.h"
#include "tq/platform/value/CharacterSet.h"
#include "tq/platform/value/String.h"

namespace tq::detail {

namespace {

bool isASCII(std::u16string_view text) {
  return std::all_of(text.begin(), text.end(), [](char16_t unit) { return unit < 0x80; });
}

template <char16_t From, char16_t To>
std::u16string mappedASCII(std::u16string_view text) {
  std::u16string mapped(text);
  for (char16_t& unit : mapped) {
    if (unit >= From && unit <= To) unit = char16_t(unit ^ 0x20);
  }
  return mapped;
}

}  // namespace

std::u16string lowercased(std::u16string_view text) {
  if (isASCII(text)) return mappedASCII<u'A', u'Z'>(text);
  return String(std::u16string(text)).lowercaseString()->utf16();
}

std::u16string uppercased(std::u16string_view text) {
  if (isASCII(text)) return mappedASCII<u'a', u'z'>(text);
  return String(std::u16string(text)).uppercaseString()->utf16();
}

std::u16string_view trimmed(std::u16string_view text, bool lineBreaks) {
  static const Ref<CharacterSet> blanks = CharacterSet::whitespaceCharacterSet();
  static const Ref<CharacterSet> blanksAndBreaks = CharacterSet::whitespaceAndNewlineCharacterSet();
  const CharacterSet& set = lineBreaks ? *blanksAndBreaks : *blanks;
  // White space is all in the basic plane: a surrogate unit is never a member.
  std::size_t from = 0, to = text.size();
  while (from < to && set.characterIsMember(text[from])) ++from;
  while (to > from && set.characterIsMember(text[to - 1])) --to;
  return text.substr(from, to - from);
}

void appendModifierGlyphs(std::u16string& text, std::uint64_t flags) {
  if (flags & TQModifierFlag::Control) text += u'\u2303';
  if (flags & TQModifierFlag::Option) text += u'\u2325';
  if (flags & TQModifierFlag::Shift) text += u'\u21E7';
  if (flags & TQModifierFlag::Command) text += u'\u2318';
  if (flags & TQModifierFlag::Function) text += u"\U0001D5BF\U0001D5C7 ";
}

}  // namespace tq::detail
