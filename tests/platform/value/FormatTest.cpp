#include "tq/platform/value/Format.h"

#include <gtest/gtest.h>

#include <clocale>
#include <cstdint>
#include <cstdio>

#include "tests/support/DecimalCommaLocale.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Number.h"

using namespace tq;

TEST(FormatObjects, DescriptionsAndNil) {
  Ref<String> nothing;
  EXPECT_EQ(formatUTF8("%@ [%@] %@", str("a"), num(42), nothing), "a [42] (null)");
  EXPECT_EQ(formatUTF8("%@", arr({str("x")})), "(\n    x\n)");
  const Object* none = nullptr;
  EXPECT_EQ(formatUTF8("<%@>", none), "<(null)>");
  auto live = num(7);
  EXPECT_EQ(formatUTF8("<%@>", live.get()), "<7>");
  EXPECT_EQ(formatUTF8("%@", *live), "7") << "an object by reference";
  EXPECT_EQ(formatUTF8("%-4@|%4@|%.2@", str("ab"), str("cd"), str("xyz")), "ab  |  cd|xy");
  // Non-objects under %@ print their natural form.
  EXPECT_EQ(formatUTF8("%@ %@ %@", 12, 2.5, "text"), "12 2.5 text");
}

TEST(FormatIntegers, ConversionsFlagsWidthsAndPrecision) {
  EXPECT_EQ(formatUTF8("%d %i %ld %lld %5ld|%-5d|%05d", 1, -2, 3L, -4LL, 42L, 7, -3), "1 -2 3 -4    42|7    |-0003");
  EXPECT_EQ(formatUTF8("%u %lu %llu %zu %zd", 1u, 2UL, 3ULL, std::size_t(4), std::ptrdiff_t(-5)), "1 2 3 4 -5");
  EXPECT_EQ(formatUTF8("%x %X %02x %#x %o %lx %llx", 255, 255, 10, 255, 8, 0xabcdefUL, 0x1ULL << 40),
            "ff FF 0a 0xff 10 abcdef 10000000000");
  EXPECT_EQ(formatUTF8("%.3d|%+d|% d", 5, 5, 5), "005|+5| 5");
}

TEST(FormatIntegers, TheArgumentsOwnWidthDecides) {
  EXPECT_EQ(formatUTF8("%x %x", -1, std::int64_t(-1)), "ffffffff ffffffffffffffff");
  EXPECT_EQ(formatUTF8("%d", std::int64_t(1) << 40), "1099511627776") << "no truncation to int";
  EXPECT_EQ(formatUTF8("%d %u", 4294967295u, -1), "-1 4294967295");
  EXPECT_EQ(formatUTF8("%hd %hhu", 65537, 511), "1 255");
  EXPECT_EQ(formatUTF8("%ld %llu", INT64_MIN, UINT64_MAX), "-9223372036854775808 18446744073709551615");
  EXPECT_EQ(formatUTF8("%d %d", true, 'A'), "1 65");
  enum class Colour : std::uint8_t { red = 3 };
  EXPECT_EQ(formatUTF8("%d", Colour::red), "3");
}

TEST(FormatReals, ConversionsAndLocaleIndependence) {
  EXPECT_EQ(formatUTF8("%f %.3f %g %e %.1f", 1.5, 2.0, 0.0001, 12345.678, 0.05),
            "1.500000 2.000 0.0001 1.234568e+04 0.1");
  EXPECT_EQ(formatUTF8("%a", 1.0), "0x1p+0");
  EXPECT_EQ(formatUTF8("%.2f %g", 3, 7u), "3.00 7") << "integers convert to the real conversion";
  EXPECT_EQ(formatUTF8("%8.2f|%-8.2f|", 3.14159, 3.14159), "    3.14|3.14    |");
}

TEST(FormatText, CStringsUTF16AndCharacters) {
  const char* none = nullptr;
  std::string name = "Grüße";
  EXPECT_EQ(formatUTF8("%s|%s|%-10s|%.3s|%s", "abc", none, "left", "truncate", name),
            "abc|(null)|left      |tru|Grüße");
  EXPECT_EQ(formatUTF8("%S %S", u"wide", static_cast<const char16_t*>(nullptr)), "wide (null)");
  EXPECT_EQ(formatUTF8("%c%c%C%C", 'o', 'k', char16_t(0x00E9), char32_t(0x1F600)), "ok\xC3\xA9\xF0\x9F\x98\x80");
  EXPECT_EQ(formatUTF8("%3c|", 'x'), "  x|");
  std::u16string emoji = u"a\U0001F600b";
  EXPECT_EQ(formatUTF8("%.2S|", emoji), "a|") << "a precision never splits a surrogate pair";
}

TEST(FormatPointers, HexWithPrefixLikeThePlatform) {
  int x = 0;
  char expected[32];
  std::snprintf(expected, sizeof expected, "0x%llx",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(&x)));
  EXPECT_EQ(formatUTF8("%p", static_cast<void*>(&x)), expected);
  EXPECT_EQ(formatUTF8("%p", nullptr), "0x0");
  auto object = str("o");
  std::snprintf(expected, sizeof expected, "<String: 0x%llx>",
                static_cast<unsigned long long>(reinterpret_cast<std::uintptr_t>(object.get())));
  EXPECT_EQ(formatUTF8("<String: %p>", object), expected);
}

TEST(FormatDirectives, StarWidthsPositionsPercentAndMissingArguments) {
  EXPECT_EQ(formatUTF8("[%*d] [%-*d] [%*d] [%.*f]", 4, 7, 3, 8, -3, 9, 2, 1.0), "[   7] [8  ] [9  ] [1.00]");
  EXPECT_EQ(formatUTF8("%2$@ %1$@ %2$@", str("a"), str("b")), "b a b");
  EXPECT_EQ(formatUTF8("%1$*2$d|", 5, 3), "  5|");
  EXPECT_EQ(formatUTF8("100%% sure"), "100% sure");
  EXPECT_EQ(formatUTF8("%d and %@ and %s.", 1), "1 and  and .") << "missing arguments print nothing";
  EXPECT_EQ(formatUTF8("%3$@", 1), "");
  EXPECT_EQ(formatUTF8("tail %"), "tail %");
  EXPECT_EQ(formatUTF8("%k %d", 5), "%k 5") << "unknown conversions stand as written, using nothing";
  int untouched = 3;
  EXPECT_EQ(formatUTF8("%n%d", &untouched, 4), "4");
  EXPECT_EQ(untouched, 3);
}

TEST(FormatResults, StringFormAndAppendFormat) {
  Ref<String> text = stringWithFormat("%@=%d", str("k"), 1);
  EXPECT_TRUE(text->isEqualToString("k=1"));
  auto format = str("%@ \u2192 %@");
  EXPECT_TRUE(stringWithFormat(*format, str("a"), str(u"\U0001F600"))->isEqualToString("a \u2192 \U0001F600"));
  auto target = MutableString::string();
  target->appendUTF8("log: ");
  appendFormat(*target, "%s #%ld", "entry", 3L);
  appendFormat(*target, "%c", '!');
  EXPECT_TRUE(target->isEqualToString("log: entry #3!"));
  auto lone = make<String>(std::u16string(1, char16_t(0xD800)));
  EXPECT_EQ(stringWithFormat("%@", lone)->utf16(), lone->utf16()) << "UTF-16 passes through unchanged";
}

TEST(FormatReals, ProcessLocaleDoesNotChangeTheDecimalPoint) {
  std::string saved = std::setlocale(LC_NUMERIC, nullptr);
  if (!setDecimalCommaLocale()) {
    GTEST_SKIP() << "no locale with a decimal comma is installed";
  }
  std::string text = formatUTF8("%.1f %'d", 2.5, 1234567);
  std::setlocale(LC_NUMERIC, saved.c_str());
  EXPECT_EQ(text, "2.5 1234567");
}
