#include "tq/platform/value/String.h"

#include <gtest/gtest.h>

#include <atomic>
#include <cmath>
#include <cstdint>
#include <thread>
#include <vector>

#include "tests/support/RaisedException.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/CharacterSet.h"

using namespace tq;
using tq::testing::raisedBy;

TEST(StringConversion, SurrogatePairsRoundTrip) {
  std::string utf8 = "a\xF0\x9F\x98\x80z";  // U+1F600
  auto text = str(utf8);
  EXPECT_EQ(text->length(), 4u) << "lengths count UTF-16 units";
  EXPECT_EQ(text->characterAtIndex(1), 0xD83D);
  EXPECT_EQ(text->characterAtIndex(2), 0xDE00);
  EXPECT_EQ(text->utf8(), utf8);
}

TEST(StringConversion, IllFormedUTF8BecomesReplacementCharacters) {
  // A truncated sequence, a stray continuation byte, an overlong form and an
  // encoded surrogate.
  EXPECT_EQ(utf8ToUTF16("a\xE2\x82"), u"a\uFFFD");
  EXPECT_EQ(utf8ToUTF16("\x80x"), u"\uFFFDx");
  EXPECT_EQ(utf8ToUTF16("\xC0\xAF"), u"\uFFFD\uFFFD");
  EXPECT_EQ(utf8ToUTF16("\xED\xA0\x80").size(), 3u);
  EXPECT_EQ(utf8ToUTF16(std::string_view("\0a", 2)), std::u16string(u"\0a", 2)) << "NUL is a character";
  EXPECT_EQ(String::fromUTF8Strict("\xFF"), nullptr);
  EXPECT_EQ(String::fromUTF8Strict("\xED\xA0\x80"), nullptr);
  ASSERT_NE(String::fromUTF8Strict("\xC3\xA9"), nullptr);
  EXPECT_EQ(String::fromUTF8Strict("\xC3\xA9")->length(), 1u);
}

TEST(StringConversion, LoneSurrogatesBecomeReplacementCharactersInUTF8) {
  EXPECT_EQ(utf16ToUTF8(u"\xD800"), "\xEF\xBF\xBD");
  EXPECT_EQ(utf16ToUTF8(std::u16string{0xDC00, u'a'}), "\uFFFDa");
  EXPECT_EQ(utf16ToUTF8(std::u16string{u'a', 0xD83D}), "a\xEF\xBF\xBD");
}

TEST(StringSubstrings, RangesAndTheirFailures) {
  auto text = str("hello");
  EXPECT_TRUE(text->substringWithRange({1, 3})->isEqualToString("ell"));
  EXPECT_TRUE(text->substringFromIndex(5)->isEqualToString(""));
  EXPECT_TRUE(text->substringToIndex(5)->isEqualToString("hello"));
  Exception e = raisedBy([&] { text->substringWithRange({3, 3}); });
  EXPECT_EQ(e.name(), ExceptionName::Range);
  EXPECT_EQ(e.reason(), "-[String substringWithRange:]: Range {3, 3} out of bounds; string length 5");
  // A length that wraps around is caught.
  EXPECT_EQ(raisedBy([&] { text->substringWithRange({2, UINT64_MAX}); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { text->substringFromIndex(6); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { text->substringToIndex(6); }).name(), ExceptionName::Range);
  Exception at = raisedBy([&] { text->characterAtIndex(5); });
  EXPECT_EQ(at.name(), ExceptionName::Range);
  EXPECT_EQ(at.reason(), "-[String characterAtIndex:]: Range or index out of bounds");
}

TEST(StringCase, MappingMayChangeTheLength) {
  EXPECT_TRUE(str("Stra\u00DFe")->uppercaseString()->isEqualToString("STRASSE"));
  EXPECT_TRUE(str("\xC3\x84PFEL")->lowercaseString()->isEqualToString("\xC3\xA4pfel"));
  // Longer than the first buffer guess: every sharp s doubles.
  std::string many;
  for (int i = 0; i < 20; ++i) many += "\xC3\x9F";
  EXPECT_EQ(str(many)->uppercaseString()->length(), 40u);
  EXPECT_EQ(str("")->uppercaseString()->length(), 0u);
}

TEST(StringTrimming, BothEndsWithSupplementaryMembers) {
  auto spaces = CharacterSet::whitespaceAndNewlineCharacterSet();
  EXPECT_TRUE(str(" \t\n a b \r\n")->stringByTrimmingCharactersInSet(*spaces)->isEqualToString("a b"));
  EXPECT_TRUE(str(" \n ")->stringByTrimmingCharactersInSet(*spaces)->isEqualToString(""));
  auto emoji = CharacterSet::characterSetWithCharactersInString(u"\U0001F600");
  EXPECT_TRUE(str(u"\U0001F600x\U0001F600\U0001F600")->stringByTrimmingCharactersInSet(*emoji)->isEqualToString("x"));
  // A lone trail surrogate that is not in the set stays.
  EXPECT_EQ(make<String>(std::u16string{0xDE00, u'x'})->stringByTrimmingCharactersInSet(*emoji)->length(), 2u);
}

TEST(StringCompare, LiteralCaseInsensitiveAndNumericOrders) {
  EXPECT_EQ(str("a")->compare(*str("b")), ComparisonResult::Ascending);
  EXPECT_EQ(str("B")->compare(*str("a")), ComparisonResult::Ascending) << "code-unit order";
  EXPECT_EQ(str("")->compare(*str("a")), ComparisonResult::Ascending);
  EXPECT_EQ(str("abc")->compare(*str("abc")), ComparisonResult::Same);
  EXPECT_EQ(str("abc")->caseInsensitiveCompare(*str("ABD")), ComparisonResult::Ascending);
  EXPECT_EQ(str("Stra\u00DFe")->caseInsensitiveCompare(*str("STRASSE")), ComparisonResult::Same);
  auto numeric = StringCompareOptions::Numeric;
  EXPECT_EQ(str("file2")->compare(*str("file10"), numeric), ComparisonResult::Ascending);
  EXPECT_EQ(str("file2")->compare(*str("file10")), ComparisonResult::Descending);
  EXPECT_EQ(str("v007")->compare(*str("v7"), numeric), ComparisonResult::Same);
  EXPECT_EQ(str("2.10")->compare(*str("2.9"), numeric), ComparisonResult::Descending);
  EXPECT_EQ(str("File10b")->compare(*str("file10A"), numeric | StringCompareOptions::CaseInsensitive),
            ComparisonResult::Descending);
  EXPECT_EQ(str("99999999999999999999999")->compare(*str("100000000000000000000000"), numeric),
            ComparisonResult::Ascending)
      << "numbers longer than 64 bits still compare by value";
}

TEST(StringSearch, RangeOfStringOptions) {
  auto text = str("abcABCabc");
  EXPECT_EQ(text->rangeOfString(*str("abc")), makeRange(0, 3));
  EXPECT_EQ(text->rangeOfString(*str("abc"), StringCompareOptions::Backwards), makeRange(6, 3));
  EXPECT_EQ(text->rangeOfString(*str("ABC"), StringCompareOptions::CaseInsensitive, {1, 8}), makeRange(3, 3));
  EXPECT_EQ(text->rangeOfString(*str("bc"), StringCompareOptions::Anchored).location, NotFound);
  EXPECT_EQ(text->rangeOfString(*str("bc"), StringCompareOptions::Anchored | StringCompareOptions::Backwards),
            makeRange(7, 2));
  EXPECT_EQ(text->rangeOfString(*str("abc"), StringCompareOptions::None, {1, 7}), (Range{NotFound, 0}))
      << "a match must lie wholly inside the search range";
  EXPECT_EQ(text->rangeOfString(*str("")), (Range{NotFound, 0})) << "the empty string is never found";
  auto beyond = [&] { text->rangeOfString(*str("a"), StringCompareOptions::None, {5, 5}); };
  EXPECT_EQ(raisedBy(beyond).name(), ExceptionName::Range);
  EXPECT_TRUE(text->containsString(*str("cA")));
  EXPECT_FALSE(text->hasPrefix(*str("")));
  EXPECT_TRUE(text->hasSuffix(*str("bc")));
}

TEST(StringValues, NumbersReadTheLeadingNumberSaturatingOrOverflowingToInfinity) {
  const std::pair<const char*, std::int64_t> integers[] = {{"  42abc", 42},
                                                           {"\n-17", -17},
                                                           {"+5", 5},
                                                           {"abc", 0},
                                                           {"0x1A", 0},
                                                           {"99999999999999999999", INT64_MAX},
                                                           {"-99999999999999999999", INT64_MIN},
                                                           {"12\u00E93", 12}};
  for (const auto& [text, value] : integers) EXPECT_EQ(str(text)->integerValue(), value) << text;
  // Too large gives an infinity, not 0.
  const std::pair<const char*, double> reals[] = {{"1.5e3", 1500}, {" -2.5xyz", -2.5},  {"+.5", 0.5},
                                                  {"1.2.3", 1.2},  {"7e", 7},           {"x1", 0},
                                                  {"1e-999", 0},   {"1e999", HUGE_VAL}, {"-1e999", -HUGE_VAL}};
  for (const auto& [text, value] : reals) EXPECT_EQ(str(text)->doubleValue(), value) << text;
}

TEST(StringValues, BoolValue) {
  for (const char* yes : {"YES", "yes", "true", "T", "  y", "1", "+0001", "-0009", "42"}) {
    EXPECT_TRUE(str(yes)->boolValue()) << yes;
  }
  for (const char* no : {"NO", "no", "false", "0", "-0", "", "  ", "x", "0.5"}) {
    EXPECT_FALSE(str(no)->boolValue()) << no;
  }
}

TEST(StringObject, EqualityHashAndCopies) {
  auto immutable = str("key");
  auto mutableText = make<MutableString>(std::string_view("key"));
  EXPECT_TRUE(isEqual(immutable, mutableText));
  EXPECT_EQ(immutable->hash(), mutableText->hash());
  EXPECT_EQ(immutable->copy().get(), immutable.get());
  Id frozen = mutableText->copy();
  EXPECT_NE(frozen.get(), mutableText.get());
  EXPECT_FALSE(isKindOf<MutableString>(frozen));
  mutableText->appendUTF8("s");
  EXPECT_TRUE(cast<String>(frozen)->isEqualToString("key"));
  EXPECT_NE(immutable->hash(), mutableText->hash()) << "a mutable string hashes its current text";
}

TEST(StringPieces, SplittingAndReplacing) {
  auto parts = str("a,,b")->componentsSeparatedByString(*str(","));
  EXPECT_TRUE(parts->isEqualToArray(*arr({str("a"), str(""), str("b")})));
  EXPECT_EQ(str("")->componentsSeparatedByString(*str(","))->count(), 1u);
  EXPECT_TRUE(str("aaa")->stringByReplacingOccurrencesOfString(*str("aa"), *str("b"))->isEqualToString("ba"));
  EXPECT_TRUE(str("abc")->stringByReplacingOccurrencesOfString(*str(""), *str("x"))->isEqualToString("abc"));
}

TEST(MutableStringEditing, InsertReplaceDeleteAndTheirFailures) {
  auto text = make<MutableString>(std::string_view("held"));
  text->insertString(*str("l"), 3);
  text->insertString(*str("!"), 5);
  text->replaceCharactersInRange({0, 1}, *str("H"));
  text->deleteCharactersInRange({4, 1});
  EXPECT_TRUE(text->isEqualToString("Hell!"));
  Exception e = raisedBy([&] { text->insertString(*str("x"), 6); });
  EXPECT_EQ(e.name(), ExceptionName::Range);
  EXPECT_EQ(e.reason(), "-[MutableString insertString:atIndex:]: Range or index out of bounds");
  EXPECT_EQ(raisedBy([&] { text->deleteCharactersInRange({4, 2}); }).name(), ExceptionName::Range);
  EXPECT_TRUE(text->isEqualToString("Hell!")) << "a failed edit changes nothing";
}

TEST(StringObject, HashIsTheSameFromEveryThread) {
  auto shared = str("shared key");
  // An equal mutable string hashes without the cache.
  std::size_t expected = make<MutableString>(std::string_view("shared key"))->hash();
  std::atomic<int> wrong{0};
  std::vector<std::thread> threads;
  for (int t = 0; t < 4; ++t) {
    threads.emplace_back([&] {
      if (shared->hash() != expected) ++wrong;
    });
  }
  for (auto& thread : threads) thread.join();
  EXPECT_EQ(wrong.load(), 0);
  EXPECT_EQ(shared->hash(), expected);
}
