// The lookup and parse answer most texts from tables each layout snapshot
// makes. These tests hold the quick answers to the rules worked out the long
// way: the five maps asked in order, and the general parse on strings.

#include <gtest/gtest.h>

#include <set>

#include "tests/keys/KeyComboTestSupport.h"
#include "tq/keys/internal/KeyLookup.h"

using namespace tq;
using namespace tq::testing;

namespace {

/// The lookup order spelled out: fixed, unmod, shift, option, shiftOption,
/// the upper-case form first in each.
detail::KeyAnswer answerByTheMaps(const detail::KeyLayoutSnapshot& cache, std::u16string_view text) {
  const detail::LookupForms forms = detail::lookupForms(text);
  const std::pair<const detail::KeyLayoutSnapshot::CharacterMap*, std::uint8_t> maps[] = {
      {&cache.fixed, 0}, {&cache.unmod, 0}, {&cache.shift, 0x2}, {&cache.option, 0x8}, {&cache.shiftOption, 0xA}};
  for (const auto& [map, flagBits] : maps) {
    for (const std::u16string* form : {&forms.upper, &forms.lower}) {
      if (auto found = map->find(*form); found != map->end()) return {found->second, flagBits};
    }
  }
  return {};
}

/// Every key of every map, in both cases, padded, behind a glyph; and texts
/// whose case mappings surprise.
std::vector<std::u16string> textsOf(const detail::KeyLayoutSnapshot& cache) {
  std::vector<std::u16string> texts = {u"",   u" ",      u"\u212A",     u"\u017F",  u"\u0130", u"\u00DF", u"SS",
                                       u"F12", u"pad 1", u"  f1 \n",    u"Space",   u"\xD800", u"a\tb",   u"\u2318",
                                       u"\U0001F310", u"\u03A3", u"pad 1 2 3 4", std::u16string(u"a\0b", 3)};
  for (const auto* map : {&cache.fixed, &cache.unmod, &cache.shift, &cache.option, &cache.shiftOption}) {
    for (const auto& [key, code] : *map) {
      for (const std::u16string& form : {key, str(key)->uppercaseString()->utf16(), str(key)->lowercaseString()->utf16()}) {
        texts.insert(texts.end(), {form, u" " + form + u"\t", u"\u2318" + form});
      }
    }
  }
  return texts;
}

std::string shown(std::u16string_view text) { return str(std::u16string(text))->utf8(); }

}  // namespace

TEST(KeyLookupTables, QuickAnswersAreTheMapsInOrderOnEveryTestLayout) {
  const std::pair<const char*, const char*> layouts[] = {{"us", ""}, {"de", ""}, {"fr", ""}, {"ru", ""}, {"us", "dvorak"}};
  for (auto [names, variant] : layouts) {
    ScopedLayout layout(names, variant);
    const detail::KeyLayoutSnapshot& cache = detail::keyLayoutSnapshot();
    std::vector<std::string> wrong;
    auto compare = [&](std::u16string_view text) {
      if (detail::lookUpKeyCode(cache, text) != answerByTheMaps(cache, text)) wrong.push_back(shown(text));
    };
    // Every single unit: the tables claim that a unit they leave out has
    // no answer.
    for (char32_t c = 0; c < 0x10000; ++c) {
      const char16_t unit = char16_t(c);
      compare(std::u16string_view(&unit, 1));
    }
    const std::vector<std::u16string> texts = textsOf(cache);
    ASSERT_GT(texts.size(), 200u) << "the maps were built";
    for (const auto& text : texts) compare(text);
    EXPECT_TRUE(wrong.empty()) << names << variant << ": " << wrong.size() << " texts, first '" << wrong.front() << "'";

    // The parse, with the glyph prefixes it takes apart.
    for (const auto& text : texts) {
      for (std::u16string_view prefix : {u"", u"\u2318", u"\u2303\u2325\u21E7\u2318", u"\u2318\u2318", u" \u21E7 ",
                                         u"\U0001D5BF\U0001D5C7 ", u"\U0001D5BF\u2318\U0001D5C7 "}) {
        const std::u16string glyph = std::u16string(prefix) + text;
        EXPECT_EQ(detail::parseKeyGlyph(cache, glyph), detail::parseKeyGlyphGenerally(cache, glyph))
            << names << variant << " '" << shown(glyph) << "'";
      }
    }
  }
}

TEST(KeyLookupTables, ReplacedSnapshotsStayReadableAndComeBackWithTheirLayouts) {
  // Readers on other threads may still be inside the snapshot a rebuild
  // replaces, and take no lock: it must outlive them (the sanitizer build
  // catches one freed under them).
  ScopedLayout us("us");
  const detail::KeyLayoutSnapshot& old = detail::keyLayoutSnapshot();
  ScopedLayout frenchScope("fr");
  ASSERT_NE(&detail::keyLayoutSnapshot(), &old);
  EXPECT_EQ(TQKeyCombo::keycodeForKeyChar(*str("q")), 0);
  EXPECT_EQ(detail::lookUpKeyCode(old, u"q").keyCode, 12) << "the replaced snapshot still answers for us";
  EXPECT_EQ(old.name, "English (US)");
  // Switching to and fro between the same layout objects takes their
  // snapshots again: the snapshots kept grow with the layouts, not the switches.
  const std::shared_ptr<const KeyboardLayouts> french = KeyboardLayouts::current(),
                                                german = FixedKeyboardLayouts::withNames("de");
  std::set<const detail::KeyLayoutSnapshot*> seen;
  for (const auto& layouts : {german, french, german, french}) {
    KeyboardLayouts::setCurrent(layouts);
    TQKeyCombo::cacheKeyboardLayout();
    seen.insert(&detail::keyLayoutSnapshot());
  }
  EXPECT_EQ(seen.size(), 2u);
}
