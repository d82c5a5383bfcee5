#include "tq/platform/value/Scanner.h"

#include <gtest/gtest.h>

#include <climits>
#include <clocale>
#include <cmath>

#include "tests/support/DecimalCommaLocale.h"
#include "tests/support/RaisedException.h"
#include "tq/platform/object/Exception.h"

using namespace tq;
using tq::testing::raisedBy;

namespace {

Scanner scannerOver(std::string_view text) { return Scanner(str(text)); }

// Runs one scan that must succeed and answers what it read.
template <class T>
T scanned(Scanner& scanner, bool (Scanner::*scan)(T*)) {
  T value{};
  EXPECT_TRUE((scanner.*scan)(&value)) << "at " << scanner.scanLocation();
  return value;
}

}  // namespace

TEST(ScannerIntegers, SignsWhiteSpaceAndStopAtTheFirstNonDigit) {
  auto scanner = scannerOver("  -42 +7 12abc");
  EXPECT_EQ(scanned(scanner, &Scanner::scanInt), -42);
  EXPECT_EQ(scanned(scanner, &Scanner::scanInt), 7);
  EXPECT_EQ(scanned(scanner, &Scanner::scanLongLong), 12);
  EXPECT_EQ(scanner.scanLocation(), 11u);
  EXPECT_FALSE(scanner.scanInt());
  EXPECT_EQ(scanner.scanLocation(), 11u) << "a failed scan does not move";
}

TEST(ScannerIntegers, ALoneSignOrASignBeforeAnUnsignedFailsWithoutConsumingIt) {
  auto scanner = scannerOver(" - 5");
  std::int64_t value = 99;
  EXPECT_FALSE(scanner.scanInteger(&value));
  EXPECT_EQ(value, 99);
  EXPECT_EQ(scanner.scanLocation(), 0u) << "the skipped white space is given back too";
  auto minusOne = scannerOver("-1");
  EXPECT_FALSE(minusOne.scanUnsignedLongLong());
  EXPECT_EQ(minusOne.scanLocation(), 0u);
}

TEST(ScannerIntegers, ExtremesAreExactAndOverflowSaturatesConsumingEveryDigit) {
  auto scanner = scannerOver(
      "-2147483648 2147483647 99999999999 -99999999999 -9223372036854775808 99999999999999999999999 "
      "-99999999999999999999999 18446744073709551615 18446744073709551616 x");
  EXPECT_EQ(scanned(scanner, &Scanner::scanInt), INT_MIN);
  EXPECT_EQ(scanned(scanner, &Scanner::scanInt), INT_MAX);
  EXPECT_EQ(scanned(scanner, &Scanner::scanInt), INT_MAX);
  EXPECT_EQ(scanned(scanner, &Scanner::scanInt), INT_MIN);
  EXPECT_EQ(scanned(scanner, &Scanner::scanLongLong), LLONG_MIN);
  EXPECT_EQ(scanned(scanner, &Scanner::scanInteger), INT64_MAX);
  EXPECT_EQ(scanned(scanner, &Scanner::scanInteger), INT64_MIN);
  EXPECT_EQ(scanned(scanner, &Scanner::scanUnsignedLongLong), ULLONG_MAX);
  EXPECT_EQ(scanned(scanner, &Scanner::scanUnsignedLongLong), ULLONG_MAX);
  Ref<String> rest;
  EXPECT_TRUE(scanner.scanUpToString(*str("\n"), &rest));
  EXPECT_TRUE(rest->isEqualToString("x"));
}

TEST(ScannerHex, PrefixIsOptionalAndNeedsADigitAfterItAndOverflowSaturates) {
  const std::string text = "0x1F ff 0XaB 123456789 0x123456789abcdef01 0xg";
  auto scanner = scannerOver(text);
  EXPECT_EQ(scanned(scanner, &Scanner::scanHexInt), 0x1Fu);
  EXPECT_EQ(scanned(scanner, &Scanner::scanHexInt), 0xFFu);
  EXPECT_EQ(scanned(scanner, &Scanner::scanHexLongLong), 0xABu);
  EXPECT_EQ(scanned(scanner, &Scanner::scanHexInt), UINT_MAX);
  EXPECT_EQ(scanned(scanner, &Scanner::scanHexLongLong), ULLONG_MAX);
  EXPECT_EQ(scanned(scanner, &Scanner::scanHexInt), 0u) << "\"0x\" without a digit reads the 0";
  EXPECT_EQ(scanner.scanLocation(), text.size() - 2);
  EXPECT_FALSE(scanner.scanHexInt());
  EXPECT_EQ(scanner.scanLocation(), text.size() - 2);
}

TEST(ScannerReals, FormsAndTheExponentOnlyWithDigits) {
  auto scanner = scannerOver("3.25 -.5 +2. 1e3 2.5E-2 7e x 1e+");
  EXPECT_DOUBLE_EQ(scanned(scanner, &Scanner::scanDouble), 3.25);
  EXPECT_DOUBLE_EQ(scanned(scanner, &Scanner::scanDouble), -0.5);
  EXPECT_FLOAT_EQ(scanned(scanner, &Scanner::scanFloat), 2.0f);
  EXPECT_DOUBLE_EQ(scanned(scanner, &Scanner::scanDouble), 1000);
  EXPECT_DOUBLE_EQ(scanned(scanner, &Scanner::scanDouble), 0.025);
  EXPECT_DOUBLE_EQ(scanned(scanner, &Scanner::scanDouble), 7);
  EXPECT_TRUE(scanner.scanString(*str("e")));
  EXPECT_FALSE(scanner.scanDouble());
  EXPECT_TRUE(scanner.scanString(*str("x")));
  EXPECT_DOUBLE_EQ(scanned(scanner, &Scanner::scanDouble), 1);
  EXPECT_EQ(scanner.scanLocation(), 30u) << "\"e+\" without digits stays unread";
  EXPECT_FALSE(scanner.scanDouble()) << "an exponent alone is no number";
}

TEST(ScannerReals, HugeValuesGiveInfinityAndTinyOnesZero) {
  auto scanner = scannerOver("1e400 -1e40 1e-400");
  EXPECT_EQ(scanned(scanner, &Scanner::scanDouble), HUGE_VAL);
  EXPECT_EQ(scanned(scanner, &Scanner::scanFloat), -HUGE_VALF);
  EXPECT_EQ(scanned(scanner, &Scanner::scanDouble), 0.0);
}

TEST(ScannerReals, ProcessLocaleDoesNotChangeTheDecimalPoint) {
  std::string saved = std::setlocale(LC_NUMERIC, nullptr);
  if (!setDecimalCommaLocale()) {
    GTEST_SKIP() << "no locale with a decimal comma is installed";
  }
  auto scanner = scannerOver("1.5");
  double d = 0;
  EXPECT_TRUE(scanner.scanDouble(&d));
  std::setlocale(LC_NUMERIC, saved.c_str());
  EXPECT_DOUBLE_EQ(d, 1.5);
}

TEST(ScannerStrings, CaseInsensitiveUnlessAskedAndReturnsTheScannedText) {
  auto scanner = scannerOver("  =?UTF-8?q?");
  Ref<String> found;
  EXPECT_TRUE(scanner.scanString(*str("=?utf-8"), &found));
  EXPECT_TRUE(found->isEqualToString("=?UTF-8")) << "the characters as they stand in the text";
  scanner.setCaseSensitive(true);
  EXPECT_FALSE(scanner.scanString(*str("?Q")));
  EXPECT_TRUE(scanner.scanString(*str("?q")));
  EXPECT_FALSE(scanner.scanString(*str(""))) << "the empty string is never found";
}

TEST(ScannerStrings, ScanUpToStringStopsBeforeItOrRunsToTheEnd) {
  auto scanner = scannerOver("name: value?=tail");
  scanner.setCharactersToBeSkipped(nullptr);
  Ref<String> part;
  EXPECT_TRUE(scanner.scanUpToString(*str(":"), &part));
  EXPECT_TRUE(part->isEqualToString("name"));
  EXPECT_FALSE(scanner.scanUpToString(*str(":"), &part)) << "the stop string stands at the location";
  EXPECT_TRUE(scanner.scanString(*str(":")));
  EXPECT_TRUE(scanner.scanUpToString(*str("?=")));
  EXPECT_EQ(scanner.scanLocation(), 11u);
  EXPECT_TRUE(scanner.scanUpToString(*str("?Q="), &part)) << "absent: everything up to the end";
  EXPECT_TRUE(part->isEqualToString("?=tail"));
  EXPECT_TRUE(scanner.isAtEnd());
  EXPECT_FALSE(scanner.scanUpToString(*str("x")));
  auto whole = scannerOver("ab");  // up to the empty string: to the end
  EXPECT_TRUE(whole.scanUpToString(*str(""), &part));
  EXPECT_TRUE(part->isEqualToString("ab"));
}

TEST(ScannerStrings, ScanUpToStringMatchesCaseAsConfigured) {
  auto scanner = scannerOver("abcXYZdefxyz");
  scanner.setCaseSensitive(true);
  Ref<String> part;
  EXPECT_TRUE(scanner.scanUpToString(*str("xyz"), &part));
  EXPECT_TRUE(part->isEqualToString("abcXYZdef"));
  scanner.setScanLocation(0);
  scanner.setCaseSensitive(false);
  EXPECT_TRUE(scanner.scanUpToString(*str("xyz"), &part));
  EXPECT_TRUE(part->isEqualToString("abc"));
}

TEST(ScannerSets, RunsOfMembersAndNonMembersIncludingSupplementaryCharacters) {
  auto scanner = Scanner(str(u"12\U0001D7D8\U0001D7D9ab, cd"));  // two mathematical digits
  Ref<String> run;
  EXPECT_TRUE(scanner.scanCharactersFromSet(*CharacterSet::decimalDigitCharacterSet(), &run));
  EXPECT_EQ(run->length(), 6u) << "surrogate pairs are members as whole characters";
  auto comma = CharacterSet::characterSetWithCharactersInString(u",");
  EXPECT_TRUE(scanner.scanUpToCharactersFromSet(*comma, &run));
  EXPECT_TRUE(run->isEqualToString("ab"));
  EXPECT_FALSE(scanner.scanUpToCharactersFromSet(*comma));
  EXPECT_TRUE(scanner.scanCharactersFromSet(*comma));
  EXPECT_FALSE(scanner.scanCharactersFromSet(*CharacterSet::whitespaceCharacterSet()))
      << "the skip set eats the white space before the scan can see it";
  EXPECT_TRUE(scanner.scanCharactersFromSet(*CharacterSet::letterCharacterSet(), &run));
  EXPECT_TRUE(run->isEqualToString("cd"));
}

TEST(ScannerState, SkipSetIsAtEndAndLocationBounds) {
  auto scanner = scannerOver("7 \n\t ");
  EXPECT_FALSE(scanner.isAtEnd());
  EXPECT_TRUE(scanner.scanInt());
  EXPECT_TRUE(scanner.isAtEnd()) << "only skippable characters remain";
  scanner.setCharactersToBeSkipped(nullptr);
  EXPECT_FALSE(scanner.isAtEnd());
  EXPECT_FALSE(scanner.scanInt()) << "nothing is skipped any more";
  scanner.setScanLocation(scanner.string()->length());
  EXPECT_TRUE(scanner.isAtEnd());
  EXPECT_EQ(raisedBy([&] { scanner.setScanLocation(6); }).name(), ExceptionName::Range) << "past the end";
  EXPECT_EQ(scanner.scanLocation(), 5u);
}

TEST(ScannerState, OutPointersAreOptionalAndEmptyTextScansNothing) {
  auto scanner = scannerOver("");
  EXPECT_TRUE(scanner.isAtEnd());
  EXPECT_FALSE(scanner.scanInt());
  EXPECT_FALSE(scanner.scanDouble());
  EXPECT_FALSE(scanner.scanHexLongLong());
  EXPECT_FALSE(scanner.scanUpToString(*str("a")));
  EXPECT_FALSE(scanner.scanCharactersFromSet(*CharacterSet::letterCharacterSet()));
  EXPECT_EQ(Scanner(nullptr).string()->length(), 0u);
}
