// The combo over real keyboard layouts: key names, character lookups with
// their order and kept quirks, glyph strings both ways, menu items, and the
// cache following a change of layout.

#include <gtest/gtest.h>

#include "tests/keys/KeyComboTestSupport.h"
#include "tq/platform/dispatch/RunLoop.h"

using namespace tq;
using namespace tq::testing;
namespace Flag = TQModifierFlag;

namespace {

struct Lookup {
  std::uint16_t keyCode;
  std::uint64_t flags;
  bool operator==(const Lookup&) const = default;
};

Lookup lookup(const std::string& text) {
  Lookup result{0, 12345};
  result.keyCode = TQKeyCombo::keycodeForKeyChar(*str(text), &result.flags);
  return result;
}

std::ostream& operator<<(std::ostream& out, const Lookup& lookup) {
  return out << "{" << lookup.keyCode << ", 0x" << std::hex << lookup.flags << std::dec << "}";
}

}  // namespace

TEST(KeyComboLayout, KeyNamesAreTheLabelsOfTheUsersOwnKeyboard) {
  struct Case {
    const char* layouts;
    const char* variants;
    std::uint16_t keyCode;
    const char* name;
  };
  const Case cases[] = {
      {"us", "", 0, "A"},         {"us", "", 12, "Q"},         {"us", "", 50, "`"},       {"fr", "", 0, "Q"},
      {"fr", "", 12, "A"},        {"fr", "", 13, "Z"},         {"fr", "", 18, "&"},       {"fr", "", 33, "^"},
      {"de", "", 6, "Y"},         {"de", "", 16, "Z"},         {"de", "", 27, "SS"},      {"de", "", 24, "´"},
      {"us", "dvorak", 1, "O"},   {"us", "dvorak", 12, "'"},   {"ru", "", 0, "A"},        {"ru,de", "", 16, "Z"},
      {"us", "", 56, ""},         {"fr", "", 36, "↩"},
  };
  for (const Case& c : cases) {
    ScopedLayout layout(c.layouts, c.variants);
    EXPECT_EQ(TQKeyCombo::stringForKeyCode(c.keyCode)->utf8(), c.name) << c.layouts << " " << c.keyCode;
  }
}

TEST(KeyComboLayout, TheCacheNamesTheLayoutShortcutsAreReadFrom) {
  const std::tuple<const char*, const char*, const char*, const char*> cases[] = {
      {"fr", "", "French", "fr"},
      {"us", "dvorak", "English (Dvorak)", "us(dvorak)"},
      // No Latin letters: the ASCII-capable layout stands in for it.
      {"ru", "", "English (US)", "us"},
      {"ru,de", "", "German", "de"},
  };
  for (auto [layouts, variants, name, identifier] : cases) {
    ScopedLayout layout(layouts, variants);
    EXPECT_EQ(TQKeyCombo::currentKeyboardName()->utf8(), name);
    EXPECT_EQ(TQKeyCombo::currentKeyboardIdentifier()->utf8(), identifier);
  }
}

TEST(KeyComboLayout, CharactersAreFoundInFixedUnmodShiftOptionShiftOptionOrder) {
  struct Case {
    const char* layouts;
    const char* text;
    Lookup expected;
  };
  const Case cases[] = {
      {"us", "q", {12, 0}},
      {"us", "Q", {12, 0}},                           // upper case first, but "Q" is only in the shift map
      {"us", "!", {18, Flag::Shift}},
      {"us", " ⌘⇧k\n", {40, 0}},                      // glyphs and white space are taken away
      {"us", "↩", {36, 0}},                           // the fixed table
      {"us", "f1", {122, 0}},                         // its names in either case
      {"us", "Space", {0, 0}},                        // kept: neither upper nor lower case, never found
      {"us", "€", {0, 0}},                            // typed by no key: 0, the A key's code
      {"fr", "a", {12, 0}},
      {"fr", "1", {18, Flag::Shift}},
      {"fr", "@", {29, Flag::Option}},
      {"de", "z", {16, 0}},
      {"de", "@", {12, Flag::Option}},
      {"de", "´", {24, 0}},
      // Kept: the shift pass asks what a key types, and a dead key types
      // nothing by itself, so the grave accent on shift is never found.
      {"de", "`", {0, 0}},
      {"ru", "z", {6, 0}},
  };
  for (const Case& c : cases) {
    ScopedLayout layout(c.layouts);
    EXPECT_EQ(lookup(c.text), c.expected) << c.layouts << " '" << c.text << "'";
  }
  ScopedLayout dvorak("us", "dvorak");
  EXPECT_EQ(lookup("o"), (Lookup{1, 0}));
  EXPECT_EQ(lookup("\""), (Lookup{12, Flag::Shift}));
}

TEST(KeyComboLayout, CombosFromCharactersAddShiftButNotOption) {
  ScopedLayout french("fr");
  auto one = TQKeyCombo::newWithKeyChar(*str("1"), Flag::Command);
  EXPECT_EQ(one->keyCode(), 18);
  EXPECT_EQ(one->modifierFlags(), Flag::Command | Flag::Shift);
  auto at = TQKeyCombo::newWithKeyChar(*str("@"), Flag::Command);
  EXPECT_EQ(at->keyCode(), 29);
  EXPECT_EQ(at->modifierFlags(), Flag::Command) << "an option the layout needs is not added";
  EXPECT_EQ(TQKeyCombo::withKeyChar(*str("F5"), Flag::Function)->modifierFlags(), 0u) << "F5 is a function key";
}

TEST(KeyComboLayout, GlyphStringsParseBackToTheirCombos) {
  const std::uint64_t flagSets[] = {0, Flag::Command, Flag::Command | Flag::Shift, Flag::Control | Flag::Option,
                                    Flag::Function | Flag::Command};
  const std::uint16_t keys[] = {0, 6, 12, 13, 31, 40, 36, 49, 51, 53, 123, 126};
  for (const char* layouts : {"us", "fr", "de"}) {
    ScopedLayout layout(layouts);
    for (std::uint16_t key : keys) {
      for (std::uint64_t flags : flagSets) {
        auto combo = TQKeyCombo::initWithKeyCode(key, flags);
        auto parsed = TQKeyCombo::newWithKeyGlyph(*combo->keyGlyph());
        EXPECT_EQ(TQKeyCombo::parseKeyGlyph(*combo->keyGlyph()),
                  (TQKeyComboParts{parsed->keyCode(), parsed->modifierFlags()}));
        if (key == 49) {
          // Kept: the space bar's name "Space" is never found again.
          EXPECT_EQ(parsed->keyCode(), 0) << layouts;
          continue;
        }
        EXPECT_TRUE(parsed->isEqual(*combo)) << layouts << " " << combo->keyGlyph()->utf8() << " read as "
                                             << parsed->description()->utf8();
      }
    }
  }
  ScopedLayout us("us");
  auto lower = TQKeyCombo::forKeyGlyph(*str("  ⌘⌃x "));
  EXPECT_EQ(lower->keyCode(), 7);
  EXPECT_EQ(lower->modifierFlags(), Flag::Command | Flag::Control);
  auto twice = TQKeyCombo::newWithKeyGlyph(*str("⌘⌘"));
  EXPECT_EQ(twice->modifierFlags(), Flag::Command) << "only the first glyph is a flag; the second is dropped on lookup";
}

TEST(KeyComboLayout, NumberRowKeysShowTheirDigitWhateverTheLayout) {
  ScopedLayout french("fr");
  auto combo = TQKeyCombo::initWithKeyCode(18, Flag::Command);
  EXPECT_EQ(combo->keyGlyph()->utf8(), "⌘&");
  EXPECT_EQ(combo->keyGlyphWithNumberKeyOption(1)->utf8(), "⌘1");
  EXPECT_EQ(combo->baseGlyphWithNumberKeyOption(1)->utf8(), "1");
  EXPECT_EQ(combo->baseGlyph()->utf8(), "&");
  EXPECT_EQ(glyphOf(24, Flag::Command, 1), "⌘=") << "kVK 24 has no digit: its label stays";
}

TEST(KeyComboLayout, MenuItemsKeepTheirOwnFlags) {
  ScopedLayout us("us");
  auto k = TQKeyCombo::newWithEquivalentForMenuItem(*str("k"), Flag::Command | 0x10000);
  ASSERT_TRUE(k);
  EXPECT_EQ(k->keyCode(), 40);
  EXPECT_EQ(k->modifierFlags(), Flag::Command);
  auto bang = TQKeyCombo::newWithEquivalentForMenuItem(*str("!"), Flag::Command);
  EXPECT_EQ(bang->keyCode(), 18);
  EXPECT_EQ(bang->modifierFlags(), Flag::Command) << "the shift the lookup added is dropped";
  auto backspace = TQKeyCombo::newWithEquivalentForMenuItem(*str(u"\b"), Flag::Option);
  EXPECT_EQ(backspace->keyCode(), 51);
  EXPECT_FALSE(TQKeyCombo::newWithEquivalentForMenuItem(*str(""), Flag::Command));
  EXPECT_EQ(TQKeyCombo::newWithKeyEvent(0x10028, Flag::Command | 0x10000)->keyCode(), 40) << "low 16 bits";
}

TEST(KeyComboLayout, TheCacheIsRebuiltOnTheMainQueueWhenTheLayoutChanges) {
  ScopedLayout us("us");
  EXPECT_EQ(TQKeyCombo::stringForKeyCode(12)->utf8(), "Q");
  ScopedKeyboardLayouts french(FixedKeyboardLayouts::withNames("fr"));
  EXPECT_EQ(TQKeyCombo::stringForKeyCode(12)->utf8(), "Q") << "not before the main queue runs";
  EXPECT_TRUE(RunLoop::main().runUntil([] { return TQKeyCombo::stringForKeyCode(12)->utf8() == "A"; }, 5.0));
  EXPECT_EQ(TQKeyCombo::currentKeyboardName()->utf8(), "French");
}

TEST(KeyComboLayoutDeathTest, WithNoLayoutKeyNamesAreEmpty) {
  // A fresh process, so that the cache is first built here, with nothing.
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_EXIT(
      {
        struct NoLayouts : KeyboardLayouts {
          std::shared_ptr<const KeyboardLayout> currentLayout() const override { return nullptr; }
          std::shared_ptr<const KeyboardLayout> currentASCIICapableLayout() const override { return nullptr; }
        };
        KeyboardLayouts::setCurrent(std::make_shared<NoLayouts>());
        const bool empty = TQKeyCombo::stringForKeyCode(0)->utf8().empty() &&
                           TQKeyCombo::stringForKeyCode(122)->utf8() == "F1" &&
                           TQKeyCombo::keycodeForKeyChar(*str("q")) == 0 &&
                           TQKeyCombo::currentKeyboardName()->utf8().empty();
        std::exit(empty ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}
