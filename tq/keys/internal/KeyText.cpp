#include "tq/keys/internal/KeyText.h"

#include <unicode/uchar.h>
#include <unicode/utf16.h>

#include "tq/keys/TQKeyCombo.h"
#include "tq/platform/value/CharacterSet.h"
#include "tq/platform/value/String.h"

namespace tq::detail {

namespace {

/// Maps ASCII letters by table and keeps every other character that the
/// mapping leaves alone (the modifier glyphs, arrows, digits); answers false,
/// for ICU to map the whole text, as soon as a character would change, so
/// that context-dependent mappings (a final sigma) stay ICU's.
template <UProperty ChangesWhen, char16_t From, char16_t To>
bool mappedDirectly(std::u16string_view text, std::u16string& mapped) {
  mapped.assign(text);
  for (std::size_t i = 0; i < mapped.size();) {
    char16_t& unit = mapped[i];
    if (unit < 0x80) {
      if (unit >= From && unit <= To) unit = char16_t(unit ^ 0x20);
      ++i;
      continue;
    }
    UChar32 c;
    std::size_t next = i;
    U16_NEXT(mapped.data(), next, mapped.size(), c);
    if (u_hasBinaryProperty(c, ChangesWhen)) return false;
    i = next;
  }
  return true;
}

}  // namespace

std::u16string lowercased(std::u16string_view text) {
  std::u16string mapped;
  if (mappedDirectly<UCHAR_CHANGES_WHEN_LOWERCASED, u'A', u'Z'>(text, mapped)) return mapped;
  return String(std::u16string(text)).lowercaseString()->utf16();
}

std::u16string uppercased(std::u16string_view text) {
  std::u16string mapped;
  if (mappedDirectly<UCHAR_CHANGES_WHEN_UPPERCASED, u'a', u'z'>(text, mapped)) return mapped;
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
