// The parts of the combo that do not depend on the layout: the fixed key
// table, the key-code sets, flags and their glyphs, equality, hashing,
// ordering, dictionaries and the transformer.

#include <gtest/gtest.h>

#include <regex>

#include "tests/keys/KeyComboTestSupport.h"
#include "tq/platform/value/Number.h"

using namespace tq;
using namespace tq::testing;
namespace Flag = TQModifierFlag;

TEST(KeyComboTables, TheFixedTableHoldsItsFiftyTwoNames) {
  auto table = TQKeyCombo::fixedKeyTable();
  EXPECT_EQ(table->count(), 52u);
  const std::pair<unsigned, const char*> samples[] = {
      {36, "↩"}, {49, "Space"}, {63, "🌐"}, {65, "PAD ,"}, {71, "⌧"}, {76, "⌅"}, {99, "F3"}, {105, "F13"},
      {106, "F16"}, {115, "↖"}, {119, "↘"}, {122, "F1"}, {126, "↑"}};
  for (auto [code, name] : samples) {
    auto entry = std::dynamic_pointer_cast<String>(table->objectForKey(num(code)));
    ASSERT_TRUE(entry) << code;
    EXPECT_EQ(entry->utf8(), name) << code;
    EXPECT_EQ(TQKeyCombo::stringForKeyCode(std::uint16_t(code))->utf8(), name) << "fixed names are used as they are";
  }
  EXPECT_FALSE(table->objectForKey(num(0u))) << "letters come from the layout";
  EXPECT_FALSE(table->objectForKey(num(66u)));
}

TEST(KeyComboTables, KeyCodeSetsAndNumberRowDigits) {
  std::vector<unsigned> keypad, numberRow, function;
  for (std::uint16_t code = 0; code < 300; ++code) {
    if (TQKeyCombo::keyCodeIsKeypadNumber(code)) keypad.push_back(code);
    if (TQKeyCombo::keyCodeIsNumberKey(code)) numberRow.push_back(code);
    if (TQKeyCombo::keyCodeIsFunctionKey(code)) function.push_back(code);
  }
  EXPECT_EQ(keypad, (std::vector<unsigned>{82, 83, 84, 85, 86, 87, 88, 89, 91, 92}));
  EXPECT_EQ(numberRow, (std::vector<unsigned>{18, 19, 20, 21, 22, 23, 25, 26, 28, 29}));
  EXPECT_EQ(function, (std::vector<unsigned>{64, 79, 80, 96, 97, 98, 99, 100, 101, 103, 105, 106, 107, 109, 111, 113,
                                             118, 120, 122}));
  const char* digits[] = {"1", "2", "3", "4", "6", "5", nullptr, "9", "7", nullptr, "8", "0"};
  for (std::uint16_t code = 18; code <= 29; ++code) {
    auto digit = TQKeyCombo::numberKeyGlyphForKeyCode(code, 1);
    if (digits[code - 18]) {
      ASSERT_TRUE(digit) << code;
      EXPECT_EQ(digit->utf8(), digits[code - 18]);
    } else {
      EXPECT_FALSE(digit) << code << " has no digit";
    }
  }
  EXPECT_FALSE(TQKeyCombo::numberKeyGlyphForKeyCode(0, 1)) << "not a number-row key";
  EXPECT_FALSE(TQKeyCombo::numberKeyGlyphForKeyCode(18, 2)) << "an option the number row does not know";
  EXPECT_EQ(TQKeyCombo::numberKeyGlyphForKeyCode(122, 0)->utf8(), "F1");
}

TEST(KeyComboFlags, GlyphsComeInControlOptionShiftCommandFunctionOrder) {
  EXPECT_EQ(TQKeyCombo::stringForModifiers(Flag::Mask)->utf8(), "⌃⌥⇧⌘𝖿𝗇 ");
  EXPECT_EQ(TQKeyCombo::stringForModifiers(Flag::Command | Flag::Shift)->utf8(), "⇧⌘");
  EXPECT_EQ(TQKeyCombo::stringForModifiers(0x10000 | 0x200000)->utf8(), "") << "caps lock and the pad show nothing";

  auto combo = TQKeyCombo::initWithKeyCode(40, 0);
  combo->setModifierFlags(0x1F0000);
  EXPECT_EQ(combo->modifierFlags(), 0x1E0000u) << "caps lock is dropped";

  // A function key does not show the function flag it carries by nature.
  EXPECT_EQ(glyphOf(122, Flag::Command | Flag::Function), "⌘F1");
  EXPECT_EQ(glyphOf(123, Flag::Function), "𝖿𝗇 ←") << "an arrow is no function key";
  EXPECT_EQ(TQKeyCombo::initWithKeyCode(122, Flag::Function | Flag::Option)->modifierFlags(), Flag::Option);
  auto stored = TQKeyCombo::initWithDictionaryRepresentation(
      *dict({{str("code"), num(122)}, {str("modifiers"), num((unsigned long long)(Flag::Function | 0x10000))}}));
  EXPECT_EQ(stored->modifierFlags(), Flag::Function) << "the dictionary path keeps the flag, masked";
  EXPECT_EQ(stored->copy()->isEqual(*stored), true);
}

TEST(KeyComboValue, EqualityAndTheWrappingHash) {
  auto commandK = TQKeyCombo::initWithKeyCode(40, Flag::Command);
  EXPECT_TRUE(commandK->isEqual(*TQKeyCombo::initWithKeyCode(40, Flag::Command)));
  EXPECT_EQ(commandK->hash(), TQKeyCombo::initWithKeyCode(40, Flag::Command)->hash());
  EXPECT_FALSE(commandK->isEqual(*TQKeyCombo::initWithKeyCode(40, Flag::Control)));
  EXPECT_FALSE(commandK->isEqual(*TQKeyCombo::initWithKeyCode(41, Flag::Command)));
  EXPECT_FALSE(commandK->isEqual(*str("⌘K"))) << "never equal to a non-combo";
  EXPECT_TRUE(commandK->isEqualTo(*commandK));

  // flags << ((code + 8) mod 64): code 56 shifts by 0, code 0 by 8, code
  // 100 by 44, and code 50 moves the command bit off the top.
  EXPECT_EQ(TQKeyCombo::initWithKeyCode(56, Flag::Shift)->hash(), Flag::Shift);
  EXPECT_EQ(TQKeyCombo::initWithKeyCode(0, Flag::Shift)->hash(), Flag::Shift << 8);
  EXPECT_EQ(TQKeyCombo::initWithKeyCode(120, Flag::Shift)->hash(), Flag::Shift);
  EXPECT_EQ(TQKeyCombo::initWithKeyCode(100, Flag::Shift)->hash(), Flag::Shift << 44);
  EXPECT_EQ(TQKeyCombo::initWithKeyCode(50, Flag::Command)->hash(), 0u) << "bit 20 shifted by 58 leaves 64 bits";
}

TEST(KeyComboValue, OrderIsByBaseGlyphThenByTheFirstFlagFound) {
  ScopedLayout us("us");
  auto combo = [](std::uint16_t code, std::uint64_t flags) { return TQKeyCombo::initWithKeyCode(code, flags); };
  EXPECT_EQ(combo(0, Flag::Command)->compare(*combo(11, Flag::Command)), ComparisonResult::Ascending) << "⌘A ⌘B";
  EXPECT_EQ(combo(11, Flag::Shift)->compare(*combo(0, Flag::Command)), ComparisonResult::Descending);
  EXPECT_EQ(combo(0, Flag::Shift)->compare(*combo(0, Flag::Command)), ComparisonResult::Ascending);
  EXPECT_EQ(combo(0, Flag::Function)->compare(*combo(0, Flag::Command)), ComparisonResult::Descending);
  EXPECT_EQ(combo(0, 0)->compare(*combo(0, Flag::Shift)), ComparisonResult::Ascending) << "no flag orders 0";
  EXPECT_EQ(combo(0, Flag::Shift | Flag::Command)->compare(*combo(0, Flag::Shift)), ComparisonResult::Same);
  const std::pair<std::uint64_t, std::int64_t> orders[] = {
      {0, 0}, {Flag::Function, 16}, {Flag::Command | Flag::Function, 8}, {Flag::Control | Flag::Command, 4},
      {Flag::Option | Flag::Control, 2}, {Flag::Mask, 1}};
  for (auto [flags, order] : orders) EXPECT_EQ(combo(0, flags)->_modifierOrder(), order) << flags;
}

TEST(KeyComboValue, DictionariesInBothFormsAndDescription) {
  ScopedLayout us("us");
  auto combo = TQKeyCombo::initWithKeyCode(40, Flag::Command | Flag::Shift);
  auto written = combo->dictionaryRepresentation();
  EXPECT_TRUE(written->isEqual(*dict({{str("code"), num(40)}, {str("modifiers"), num(0x120000)}})));
  EXPECT_TRUE(TQKeyCombo::initWithDictionaryRepresentation(*written)->isEqual(*combo));

  auto old = TQKeyCombo::initWithDictionaryRepresentation(*dict({{str("keyCode"), num(0)},
                                                                 {str("keyLabel"), str("z")},
                                                                 {str("commandKey"), num(true)},
                                                                 {str("optionKey"), num(true)},
                                                                 {str("shiftKey"), num(false)}}));
  EXPECT_EQ(old->keyCode(), 6) << "a code of 0 is looked up by its label";
  EXPECT_EQ(old->modifierFlags(), Flag::Command | Flag::Option);
  auto oldWithCode = TQKeyCombo::initWithDictionaryRepresentation(
      *dict({{str("keyCode"), num(40)}, {str("keyLabel"), str("ignored")}, {str("controlKey"), num(true)},
             {str("functionKey"), num(true)}}));
  EXPECT_EQ(oldWithCode->keyCode(), 40);
  EXPECT_EQ(oldWithCode->modifierFlags(), Flag::Control | Flag::Function);
  EXPECT_FALSE(TQKeyCombo::initWithDictionaryRepresentation(
      *dict({{str("keyCode"), num(12)}, {str("keyLabel"), str("NONE")}})));
  auto empty = TQKeyCombo::initWithDictionaryRepresentation(*dict({{str("keyLabel"), str("NONE")}}));
  ASSERT_TRUE(empty) << "no code and no keyCode: code 0";
  EXPECT_EQ(empty->keyCode(), 0);
  EXPECT_EQ(empty->modifierFlags(), 0u);
  auto wrongKinds = TQKeyCombo::initWithDictionaryRepresentation(*dict({{str("code"), str("40")}}));
  EXPECT_EQ(wrongKinds->keyCode(), 0) << "a code that is no number reads as absent";

  const std::string description = combo->description()->utf8();
  EXPECT_TRUE(std::regex_match(description, std::regex("<TQKeyCombo 0x[0-9a-f]+> \"⇧⌘K\" code:40 modifiers: 1179648")))
      << description;
}

TEST(KeyComboValue, TheTransformerTurnsCombosIntoGlyphsAndBack) {
  ScopedLayout us("us");
  TQKeyComboValueTransformer transformer;
  EXPECT_EQ(transformer.transformedValueClass(), "String");
  EXPECT_TRUE(transformer.allowsReverseTransformation());
  auto glyph = std::dynamic_pointer_cast<String>(transformer.transformedValue(TQKeyCombo::initWithKeyCode(40, Flag::Command)));
  ASSERT_TRUE(glyph);
  EXPECT_EQ(glyph->utf8(), "⌘K");
  auto back = std::dynamic_pointer_cast<TQKeyCombo>(transformer.reverseTransformedValue(glyph));
  ASSERT_TRUE(back);
  EXPECT_TRUE(back->isEqual(*TQKeyCombo::initWithKeyCode(40, Flag::Command)));
  EXPECT_FALSE(transformer.transformedValue(str("⌘K")));
  EXPECT_FALSE(transformer.reverseTransformedValue(num(1)));
}
