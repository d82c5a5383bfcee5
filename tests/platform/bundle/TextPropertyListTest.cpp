// The old-style text property lists that command-line values and string
// tables are written in.

#include <gtest/gtest.h>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/TextPropertyList.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/value/String.h"

namespace tq {
namespace {

std::string errorOf(std::string_view text) {
  Ref<Error> error;
  Id value = TextPropertyList::read(text, &error);
  if (value) return "read";
  if (!error) return "no error";
  EXPECT_EQ(error->domain(), PropertyListErrorDomain);
  EXPECT_EQ(error->code(), PropertyListReadCorruptError);
  const std::string prefix = "Old-style property list: ", text = error->localizedDescription();
  EXPECT_EQ(text.substr(0, prefix.size()), prefix);
  return text.substr(prefix.size());
}

TEST(TextPropertyListTest, StringsQuotedAndUnquoted) {
  // Numbers and booleans are words like any other; raw UTF-8 may stand inside
  // quotes, and an escaped multi-byte character is that character.
  const std::pair<const char*, Id> cases[] = {
      {"  a/b:c.d-e_f$1  ", str("a/b:c.d-e_f$1")},
      {"-12.5", str("-12.5")},
      {"\"two words\"", str("two words")},
      {"'single'", str("single")},
      {"\"\"", str("")},
      {"\"tab\\tnl\\nq\\\"bs\\\\sq\\'\"", str("tab\tnl\nq\"bs\\sq'")},
      {"\"\\101\\0\\351\"", str(std::u16string_view(u"A\0\u00e9", 3))},
      {"\"\\U20AC \\Ud83d\\Ude00\"", str(u"\u20ac \U0001F600")},
      {"\"Grüße \\ä\"", str("Grüße ä")},
  };
  for (const auto& [text, expected] : cases) EXPECT_TRUE(isEqual(TextPropertyList::read(text), expected)) << text;
}

TEST(TextPropertyListTest, ContainersDataAndComments) {
  Id value = TextPropertyList::read(
      "{ // a comment\n"
      "  name = \"Mail Rules\"; /* block\n comment */ list = (a, \"b c\", (), {},);\n"
      "  \"quoted key\" = <0aFF 10>; empty = <>; name = again;\n"
      "}");
  auto expected = dict({{str("name"), str("again")},
                        {str("list"), arr({str("a"), str("b c"), arr({}), dict({})})},
                        {str("quoted key"), Data::dataWithBytes("\x0a\xff\x10", 3)},
                        {str("empty"), Data::data()}});
  EXPECT_TRUE(isEqual(value, expected)) << describeUTF8(value);
  EXPECT_TRUE(isKindOf<Dictionary>(value) && !isKindOf<MutableDictionary>(value));
  EXPECT_TRUE(isEqual(TextPropertyList::read("(1,2)"), arr({str("1"), str("2")})));
}

TEST(TextPropertyListTest, MalformedTextIsRefusedWithTheLine) {
  EXPECT_EQ(errorOf(""), "a value is missing at line 1");
  EXPECT_EQ(errorOf("two words"), "text follows the value at line 1");
  EXPECT_EQ(errorOf("{\n\na b;}"), "\"=\" is missing after a dictionary key at line 3");
  EXPECT_EQ(errorOf("{a = b;"), "a dictionary is not closed at line 1");
  EXPECT_EQ(errorOf("(a b)"), "\",\" or \")\" is missing in an array at line 1");
  EXPECT_EQ(errorOf("\"open\n"), "a quoted string is not closed at line 2");
  EXPECT_EQ(errorOf("<0a1>"), "data holds an odd number of hexadecimal digits at line 1");
  EXPECT_EQ(errorOf("\"\\U12\""), "\\U needs four hexadecimal digits at line 1");
  EXPECT_EQ(errorOf("\"\\Ude00\\Ud83d\""), "a \\U escape leaves half a surrogate pair at line 1");
  EXPECT_EQ(errorOf("/* open"), "a comment is not closed at line 1");
  EXPECT_EQ(errorOf("élan"), "unexpected character 'é' at line 1");
  EXPECT_EQ(errorOf("\"\xFF\""), "the text is not valid UTF-8");
  EXPECT_EQ(errorOf(std::string(513, '(') + std::string(513, ')')), "nesting deeper than 512 levels at line 1");
  EXPECT_EQ(errorOf(std::string(512, '(') + std::string(512, ')')), "read");
}

TEST(TextPropertyListTest, StringTablesWithOrWithoutBraces) {
  auto table =
      TextPropertyList::readStringsTable("/* Menu */\n\"Open\" = \"Öffnen\";\n\"Close %@\" = \"%@ schließen\";\n");
  EXPECT_TRUE(isEqual(table, dict({{str("Open"), str("Öffnen")}, {str("Close %@"), str("%@ schließen")}})));
  EXPECT_TRUE(isEqual(TextPropertyList::readStringsTable("{ a = b; }"), dict({{str("a"), str("b")}})));
  EXPECT_TRUE(isEqual(TextPropertyList::readStringsTable("  // nothing\n"), dict({})));

  Ref<Error> error;
  EXPECT_FALSE(TextPropertyList::readStringsTable("\"a\" = \"b\"\n\"c\" = \"d\";", &error));
  ASSERT_TRUE(error);
  EXPECT_EQ(error->localizedDescription(),
            "Old-style property list: \";\" is missing after a dictionary value at line 2");
  EXPECT_FALSE(TextPropertyList::readStringsTable("(a)"));
  EXPECT_FALSE(TextPropertyList::readStringsTable("{a = b;} extra"));
}

}  // namespace
}  // namespace tq
