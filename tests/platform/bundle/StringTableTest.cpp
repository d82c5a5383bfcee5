// String tables in their three encodings, plural tables and the plural
// rules that choose among their variants, and formats filled through them.

#include <gtest/gtest.h>

#include "tq/platform/bundle/PluralTable.h"
#include "tq/platform/bundle/StringTable.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

std::string valueOf(const Ref<Dictionary>& table, std::string_view key) {
  auto text = cast<String>(table->objectForKey(key));
  return text ? text->utf8() : "(nil)";
}

// UTF-16 bytes of an ASCII-or-BMP text, with a byte-order mark.
std::string utf16Bytes(std::u16string_view text, bool bigEndian) {
  std::string bytes = bigEndian ? "\xFE\xFF" : "\xFF\xFE";
  for (char16_t unit : text) {
    char high = char(unit >> 8), low = char(unit & 0xFF);
    bytes += bigEndian ? std::string{high, low} : std::string{low, high};
  }
  return bytes;
}

TEST(StringTableTest, ReadsCommentsEscapesAndEveryEncoding) {
  const std::string body =
      "/* A file comment */\n"
      "\"greeting\" = \"Cze\\U015b\\u0107 \\\"%@\\\"\\n\";  // after an entry\n"
      "// a line comment\n"
      "\"tab\" = \"a\\tb\";\n"
      "plain = word;\n";
  std::u16string body16 = u"\"greeting\" = \"Cze\u015b\\u0107 \\\"%@\\\"\\n\";\n\"tab\" = \"a\\tb\";\nplain = word;\n";
  struct Case {
    const char* name;
    std::string bytes;
  } cases[] = {
      {"UTF-8", body},
      {"UTF-8 with a mark", "\xEF\xBB\xBF" + body},
      {"UTF-16 little-endian", utf16Bytes(body16, false)},
      {"UTF-16 big-endian", utf16Bytes(body16, true)},
  };
  for (const Case& c : cases) {
    Ref<Error> error;
    auto table = StringTable::read(c.bytes, &error);
    ASSERT_TRUE(table) << c.name << ": " << (error ? error->localizedDescription() : "");
    EXPECT_EQ(valueOf(table, "tab"), "a\tb") << c.name;
    EXPECT_EQ(valueOf(table, "plain"), "word") << c.name;
    // "\u0107" is no escape of the format: the backslash stands for itself.
    EXPECT_EQ(valueOf(table, "greeting").substr(0, 5), "Cze\xC5\x9B") << c.name;
    EXPECT_TRUE(valueOf(table, "greeting").ends_with("\"%@\"\n")) << c.name;
  }
}

TEST(StringTableTest, RefusesWhatIsNoStringTableWithAReason) {
  struct Case {
    const char* name;
    std::string bytes;
    const char* reason;
  } cases[] = {
      {"odd UTF-16", std::string("\xFF\xFE\x41", 3), "not well formed"},
      {"lone surrogate", std::string("\xFF\xFE\x00\xD8\x41\x00", 6), "not well formed"},
      {"array value", "\"a\" = (\"x\");", "is not a string"},
      {"missing semicolon", "\"a\" = \"b\"", "\";\" is missing"},
      {"invalid UTF-8", "\"a\" = \"\xC3\";", "not valid UTF-8"},
  };
  for (const Case& c : cases) {
    Ref<Error> error;
    EXPECT_FALSE(StringTable::read(c.bytes, &error)) << c.name;
    ASSERT_TRUE(error) << c.name;
    EXPECT_NE(error->localizedDescription().find(c.reason), std::string::npos) << c.name << ": "
                                                                               << error->localizedDescription();
  }
}

TEST(PluralRulesTest, PolishAndRussianHaveSeveralCategories) {
  struct Case {
    const char* language;
    double value;
    const char* category;
  } cases[] = {
      {"pl", 1, "one"},   {"pl", 2, "few"},   {"pl", 4, "few"},    {"pl", 5, "many"},  {"pl", 12, "many"},
      {"pl", 22, "few"},  {"pl", 1.5, "other"}, {"ru", 1, "one"},  {"ru", 21, "one"},  {"ru", 3, "few"},
      {"ru", 11, "many"}, {"en", 1, "one"},   {"en", 0, "other"}, {"xx-unknown", 1, "other"},
  };
  for (const Case& c : cases) {
    EXPECT_EQ(PluralTable::categoryForValue(c.language, c.value), c.category) << c.language << " " << c.value;
  }
}

const char* PolishPlurals = R"(<?xml version="1.0" encoding="UTF-8"?>
<plist version="1.0"><dict>
  <key>%d files in %@</key><dict>
    <key>NSStringLocalizedFormatKey</key><string>%#@files@ w %@</string>
    <key>files</key><dict>
      <key>NSStringFormatSpecTypeKey</key><string>NSStringPluralRuleType</string>
      <key>NSStringFormatValueTypeKey</key><string>d</string>
      <key>zero</key><string>brak plików</string>
      <key>one</key><string>%d plik</string>
      <key>few</key><string>%d pliki</string>
      <key>many</key><string>%d plików</string>
      <key>other</key><string>%d pliku</string>
    </dict>
  </dict>
  <key>two</key><dict>
    <key>NSStringLocalizedFormatKey</key><string>%2$#@b@ / %1$#@a@</string>
    <key>a</key><dict><key>one</key><string>%d jabłko</string><key>few</key><string>%d jabłka</string></dict>
    <key>b</key><dict><key>one</key><string>%d gruszka</string><key>many</key><string>%d gruszek</string></dict>
  </dict>
</dict></plist>)";

TEST(PluralTableTest, ChoosesEachVariableByItsOwnArgument) {
  Ref<Error> error;
  auto table = PluralTable::read(PolishPlurals, &error);
  ASSERT_TRUE(table) << (error ? error->localizedDescription() : "");
  auto format = [&](const char* key) {
    auto entry = cast<Dictionary>(table->objectForKey(std::string_view(key)));
    auto text = cast<String>(entry->objectForKey(std::string_view(StringLocalizedFormatKey)));
    return PluralFormatString(text->utf16(), entry, "pl");
  };
  const auto files = format("%d files in %@");
  auto folder = str("Dokumenty");
  EXPECT_EQ(localizedStringWithFormat(files, 1, folder)->utf8(), "1 plik w Dokumenty");
  EXPECT_EQ(localizedStringWithFormat(files, 3, folder)->utf8(), "3 pliki w Dokumenty");
  EXPECT_EQ(localizedStringWithFormat(files, 5, folder)->utf8(), "5 plików w Dokumenty");
  EXPECT_EQ(localizedStringWithFormat(files, 0, folder)->utf8(), "brak plików w Dokumenty");
  EXPECT_EQ(localizedStringWithFormat(files, num(22), folder)->utf8(), "22 pliki w Dokumenty");
  // Numbered variables take their own arguments; a missing category falls
  // back to "other", and a variable without one to nothing.
  EXPECT_EQ(localizedStringWithFormat(format("two"), 2, 5)->utf8(), "5 gruszek / 2 jabłka");
  EXPECT_EQ(localizedStringWithFormat(format("two"), 1, 1)->utf8(), "1 gruszka / 1 jabłko");
  EXPECT_EQ(localizedStringWithFormat(format("two"), 5, 2)->utf8(), " / ");
}

TEST(PluralTableTest, RefusesEntriesWithoutAFormat) {
  Ref<Error> error;
  EXPECT_FALSE(PluralTable::read("<plist version=\"1.0\"><dict><key>k</key><string>v</string></dict></plist>", &error));
  ASSERT_TRUE(error);
  EXPECT_NE(error->localizedDescription().find("NSStringLocalizedFormatKey"), std::string::npos);
  EXPECT_FALSE(PluralTable::read("<plist version=\"1.0\"><array/></plist>"));
}

}  // namespace
}  // namespace tq
