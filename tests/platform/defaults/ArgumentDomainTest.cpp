// The argument domain: "-key value" pairs of the command line.

#include <gtest/gtest.h>

#include "tq/platform/collection/Array.h"
#include "tq/platform/defaults/internal/ArgumentDomain.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

namespace tq {
namespace {

using detail::argumentDomainFromArguments;

TEST(ArgumentDomainTest, ValuesThatReadAsPropertyListsBecomeThoseValuesOthersStayText) {
  auto domain = argumentDomainFromArguments({"-Name", "Mail", "-List", "(a, \"b c\")", "-Table", "{k = v;}",
                                             "-Bytes", "<0102>", "-Quoted", "\"two words\"", "-Text",
                                             "two words", "-Count", "12", "-Xml",
                                             "<plist version=\"1.0\"><integer>5</integer></plist>", "-Broken",
                                             "(a, b", "-Unicode", "Grüße"});
  auto expected = dict({{str("Name"), str("Mail")},
                        {str("List"), arr({str("a"), str("b c")})},
                        {str("Table"), dict({{str("k"), str("v")}})},
                        {str("Bytes"), Data::dataWithBytes("\x01\x02", 2)},
                        {str("Quoted"), str("two words")},
                        {str("Text"), str("two words")},
                        {str("Count"), str("12")},
                        {str("Xml"), num(5)},
                        {str("Broken"), str("(a, b")},
                        {str("Unicode"), str("Grüße")}});
  EXPECT_TRUE(isEqual(domain, expected)) << describeUTF8(domain);
}

TEST(ArgumentDomainTest, TheNextArgumentIsAlwaysTheValueEvenWithADash) {
  auto domain = argumentDomainFromArguments({"-Offset", "-5", "-Key", "-Other"});
  EXPECT_TRUE(isEqual(domain, dict({{str("Offset"), str("-5")}, {str("Key"), str("-Other")}})));
}

TEST(ArgumentDomainTest, WhatIsNotAKeyValuePairIsSkipped) {
  // Positional words, "-" alone, long options (alone: they do not take the
  // next word), a final key without a value, and everything after "--".
  auto domain = argumentDomainFromArguments(
      {"input.txt", "-", "--verbose", "-A", "1", "--level=3", "-B", "2", "-Dangling"});
  EXPECT_TRUE(isEqual(domain, dict({{str("A"), str("1")}, {str("B"), str("2")}})));

  domain = argumentDomainFromArguments({"-A", "1", "--", "-B", "2"});
  EXPECT_TRUE(isEqual(domain, dict({{str("A"), str("1")}})));

  EXPECT_EQ(argumentDomainFromArguments({})->count(), 0u);
  EXPECT_EQ(argumentDomainFromArguments({"-Only"})->count(), 0u);
}

TEST(ArgumentDomainTest, TheLastOfARepeatedKeyWinsAndInvalidTextIsDropped) {
  auto domain = argumentDomainFromArguments({"-A", "first", "-A", "second", "-\xFF", "x", "-C", "\xC3", "-D", "d"});
  EXPECT_TRUE(isEqual(domain, dict({{str("A"), str("second")}, {str("D"), str("d")}}))) << describeUTF8(domain);
}

}  // namespace
}  // namespace tq
