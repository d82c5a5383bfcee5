// Parses arbitrary text as a key combo's glyph string over real layouts and
// checks what must hold for any input: nothing raises; the flags stay within
// the five modifiers; the combo's glyph string starts with the glyphs of its
// flags; its dictionary form reads back as the same combo; a copy is equal
// and hashes alike; a combo orders the same as itself; and the character
// lookup never answers a flag other than shift, option or both; a menu item
// has a combo exactly when its equivalent is not empty; and the quick lookup
// and parse, which answer the usual texts from the layout's tables, give
// what the general ones work out on strings.
//
// Input layout: byte 0 chooses the layout (us, fr, de, ru, Dvorak), the rest
// is the text as UTF-8 (ill-formed bytes become U+FFFD).

#include <array>
#include <cstdint>
#include <memory>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/keys/TQKeyCombo.h"
#include "tq/keys/internal/KeyLookup.h"
#include "tq/platform/dispatch/RunLoop.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/system/KeyboardLayout.h"

namespace {

using tq::fuzz::check;
namespace Flag = tq::TQModifierFlag;

/// Installs a layout when the input asks for another one than the last:
/// compiling keymaps is slow, so each is compiled once.
void useLayout(std::uint8_t choice) {
  static const std::array<std::pair<const char*, const char*>, 5> names{
      {{"us", ""}, {"fr", ""}, {"de", ""}, {"ru", ""}, {"us", "dvorak"}}};
  static std::array<std::shared_ptr<const tq::KeyboardLayouts>, 5> compiled;
  static int current = -1;
  const int index = choice % int(names.size());
  if (index == current) return;
  if (!compiled[std::size_t(index)]) {
    compiled[std::size_t(index)] = tq::FixedKeyboardLayouts::withNames(names[std::size_t(index)].first,
                                                                       names[std::size_t(index)].second);
  }
  tq::KeyboardLayouts::setCurrent(compiled[std::size_t(index)]);
  // The installation announces a change, which rebuilds the combos' cache on
  // the main run loop: run it here, as a host's loop would.
  tq::TQKeyCombo::keycodeForKeyChar(*tq::str(""));  // the cache exists before the first change
  tq::RunLoop::main().drain();
  current = index;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 1) return 0;
  useLayout(data[0]);
  auto text = tq::String::fromUTF8(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));
  try {
    auto combo = tq::TQKeyCombo::newWithKeyGlyph(*text);
    check(combo != nullptr);
    check((combo->modifierFlags() & ~Flag::Mask) == 0);
    std::uint64_t shownFlags = combo->modifierFlags();
    if (tq::TQKeyCombo::keyCodeIsFunctionKey(combo->keyCode())) {
      check((shownFlags & Flag::Function) == 0);  // cleared when the combo is made
    }
    const auto flagGlyphs = tq::TQKeyCombo::stringForModifiers(shownFlags)->utf16();
    check(combo->keyGlyph()->utf16().compare(0, flagGlyphs.size(), flagGlyphs) == 0);

    auto again = tq::TQKeyCombo::initWithDictionaryRepresentation(*combo->dictionaryRepresentation());
    check(again && again->isEqual(*combo));
    auto copy = combo->copy();
    check(copy->isEqual(*combo) && copy->hash() == combo->hash());
    check(combo->compare(*again) == tq::ComparisonResult::Same);

    std::uint64_t needed = 1;
    tq::TQKeyCombo::keycodeForKeyChar(*text, &needed);
    check(needed == 0 || needed == Flag::Shift || needed == Flag::Option || needed == (Flag::Shift | Flag::Option));
    const auto& cache = tq::detail::keyLayoutSnapshot();
    const std::u16string_view units = text->utf16();
    check(tq::detail::lookUpKeyCode(cache, units) == tq::detail::lookUpKeyCodeGenerally(cache, units));
    check(tq::detail::parseKeyGlyph(cache, units) == tq::detail::parseKeyGlyphGenerally(cache, units));
    check(tq::TQKeyCombo::parseKeyGlyph(*text) == (tq::TQKeyComboParts{combo->keyCode(), combo->modifierFlags()}));
    // A menu item without an equivalent has no combo; with one, always one.
    check((tq::TQKeyCombo::newWithEquivalentForMenuItem(*text, ~std::uint64_t(0)) == nullptr) ==
          (text->length() == 0));
  } catch (const tq::Exception&) {
    check(false);  // glyph strings are outside text: nothing may raise
  }
  return 0;
}
