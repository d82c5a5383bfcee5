#include "tq/platform/value/CharacterSet.h"

#include <gtest/gtest.h>

#include "tq/platform/value/String.h"

using namespace tq;

TEST(CharacterSetStandard, WhiteSpaceLineBreaksAndDigits) {
  auto space = CharacterSet::whitespaceCharacterSet();
  auto spaceOrBreak = CharacterSet::whitespaceAndNewlineCharacterSet();
  for (char32_t c : {U' ', U'\t', U'\u00A0', U'\u3000'}) EXPECT_TRUE(space->characterIsMember(c)) << unsigned(c);
  for (char32_t c : {U'\n', U'\r', U'\u000B', U'\u000C', U'\u0085', U'\u2028', U'\u2029'}) {
    EXPECT_FALSE(space->characterIsMember(c)) << unsigned(c);
    EXPECT_TRUE(spaceOrBreak->characterIsMember(c)) << unsigned(c);
    EXPECT_TRUE(CharacterSet::newlineCharacterSet()->characterIsMember(c)) << unsigned(c);
  }
  EXPECT_FALSE(spaceOrBreak->characterIsMember(U'x'));
  EXPECT_TRUE(CharacterSet::decimalDigitCharacterSet()->characterIsMember(U'\u0663')) << "Arabic-Indic three";
  EXPECT_TRUE(CharacterSet::decimalDigitCharacterSet()->characterIsMember(U'\U0001D7D8')) << "beyond the BMP";
  EXPECT_FALSE(CharacterSet::decimalDigitCharacterSet()->characterIsMember(U'x'));
  EXPECT_EQ(CharacterSet::letterCharacterSet().get(), CharacterSet::letterCharacterSet().get()) << "built once";
}

TEST(CharacterSetMade, FromTextRangesAndInversion) {
  auto some = CharacterSet::characterSetWithCharactersInString(*str(u"a,\U0001F600"));
  EXPECT_TRUE(some->characterIsMember(U','));
  EXPECT_TRUE(some->characterIsMember(U'\U0001F600'));
  EXPECT_FALSE(some->characterIsMember(0xD83D)) << "a pair counts as its character, not its halves";
  auto inverted = some->invertedSet();
  EXPECT_FALSE(inverted->characterIsMember(U'a'));
  EXPECT_TRUE(inverted->characterIsMember(U'b'));
  EXPECT_FALSE(inverted->characterIsMember(U'\U0001F600'));
  EXPECT_TRUE(inverted->characterIsMember(U'\U0001F601'));
  auto range = CharacterSet::characterSetWithRange(U'0', 3);
  EXPECT_TRUE(range->characterIsMember(U'2'));
  EXPECT_FALSE(range->characterIsMember(U'3'));
  EXPECT_FALSE(range->characterIsMember(U'/'));
}
