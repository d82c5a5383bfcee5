// XML property lists: the text of keys, strings, data and dates where the
// reader and writer take shortcuts (ASCII runs, pieces of long strings,
// keys made once per document, whole Base64 groups, blocks of the control
// scan), checked against plainly built expectations.

#include <gtest/gtest.h>

#include "tests/platform/archive/PropertyListTestSupport.h"

#include <cmath>
#include <string>
#include <vector>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

using namespace tq;

namespace {

constexpr auto document = tq::plist_test::plistDocument;

// The writer's escaping, done the obvious way on UTF-8.
std::string escaped(const std::string& utf8) {
  std::string out;
  for (char c : utf8) out += c == '&' ? "&amp;" : c == '<' ? "&lt;" : c == '>' ? "&gt;" : std::string(1, c);
  return out;
}

// Base64 the textbook way, six bits at a time.
std::string base64(const std::string& bytes) {
  const char* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string bits, out;
  for (unsigned char byte : bytes) {
    for (int bit = 7; bit >= 0; --bit) bits += char('0' + (byte >> bit & 1));
  }
  while (bits.size() % 6) bits += '0';
  for (std::size_t at = 0; at < bits.size(); at += 6) out += digits[std::stoi(bits.substr(at, 6), nullptr, 2)];
  while (out.size() % 4) out += '=';
  return out;
}

std::string stringDocument(const std::string& utf8) {
  return document("<string>" + escaped(utf8) + "</string>\n");
}

Ref<String> readString(const std::string& xml) {
  Ref<Error> error;
  auto value = cast<String>(PropertyList::read(xml, &error));
  EXPECT_TRUE(value) << describeUTF8(error);
  return value;
}

// Characters of every UTF-8 length, placed after ASCII prefixes of every
// length around the eight-byte words the reader checks at once.
TEST(XMLPropertyListText, NonASCIIAtEveryOffsetReadsAsUTF8ToUTF16Gives) {
  const char* characters[] = {"\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80", "\xEF\xBF\xBD", "\xEF\xB7\x90",
                              "\xC2\x80", "\xDF\xBF",     "\xE0\xA0\x80",     "\xF4\x8F\xBF\xBF"};
  for (const char* character : characters) {
    for (std::size_t prefix = 0; prefix <= 17; ++prefix) {
      const std::string text = std::string(prefix, 'a') + character + "z" + character;
      auto key = str(text);
      auto value = dict({{key, str(text)}});
      auto read = cast<Dictionary>(PropertyList::read(document("<dict>\n\t<key>" + text + "</key>\n\t<string>" +
                                                               text + "</string>\n</dict>\n")));
      ASSERT_TRUE(read) << text;
      EXPECT_TRUE(read->isEqual(*value)) << text;
      EXPECT_EQ(cast<String>(read->allKeys()->objectAtIndex(0))->utf16(), utf8ToUTF16(text)) << text;
    }
  }
}

TEST(XMLPropertyListText, WritesUTF16AsUTF8WithLoneSurrogatesReplaced) {
  const std::u16string units = u"a\u00E9\u20AC\U0001F600\xD800x\xDC00\xDBFF";
  EXPECT_EQ(PropertyList::writeXML(make<String>(units).get()),
            stringDocument("a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80\xEF\xBF\xBDx\xEF\xBF\xBD\xEF\xBF\xBD"));
}

// Long strings are escaped a piece at a time; an entity, a multi-byte
// character or a surrogate pair can fall on any piece's edge.
TEST(XMLPropertyListText, LongStringsAreEscapedWholeAcrossPieces) {
  const std::string specials[] = {"&", "<", ">", "\xC3\xA9", "\xE2\x82\xAC", "\xF0\x9F\x98\x80"};
  for (const std::string& special : specials) {
    for (std::size_t at : {4094u, 4095u, 4096u, 4097u, 8191u, 8192u}) {
      std::string text(9000, 'x');
      text.replace(at, 1, special);
      const std::string xml = PropertyList::writeXML(str(text).get());
      EXPECT_EQ(xml, stringDocument(text)) << special << " at " << at;
      auto back = readString(xml);
      ASSERT_TRUE(back);
      EXPECT_TRUE(back->isEqualToString(text)) << special << " at " << at;
    }
  }
}

TEST(XMLPropertyListText, AMegabyteStringOfSpecialsRoundTrips) {
  std::string text;
  while (text.size() < (1u << 20)) text += "Zo\xC3\xAB & \"Partners\" <news@example.org> \xF0\x9F\x93\xA7\n\t'x'";
  auto value = arr({str(text), str(text + "&")});
  const std::string xml = PropertyList::writeXML(value.get());
  EXPECT_EQ(xml, document("<array>\n\t<string>" + escaped(text) + "</string>\n\t<string>" + escaped(text) +
                          "&amp;</string>\n</array>\n"));
  Ref<Error> error;
  auto back = PropertyList::read(xml, &error);
  ASSERT_TRUE(back) << describeUTF8(error);
  EXPECT_TRUE(back->isEqual(*value));
}

// Keys are made once per document and shared; a document with more
// distinct keys than are remembered, keys that differ only in their last
// bytes and keys too long to be remembered must all still read back right.
TEST(XMLPropertyListText, ManyRepeatedAndSimilarKeysReadBackRight) {
  auto records = make<MutableArray>();
  std::vector<std::string> keys;
  for (int i = 0; i < 1500; ++i) keys.push_back("TQMailKitSetting" + std::to_string(i));
  keys.push_back(std::string(64, 'k'));
  keys.push_back(std::string(65, 'k'));
  keys.push_back(std::string(200, 'k') + "\xC3\xA9");
  keys.push_back("abcdefgh");
  keys.push_back("abcdefgi");
  keys.push_back("abcdefghabcdefgh1");
  keys.push_back("abcdefghabcdefgh2");
  for (int record = 0; record < 3; ++record) {
    auto entries = make<MutableDictionary>();
    for (std::size_t i = 0; i < keys.size(); ++i) entries->setObject(num(int(i) * 3 + record), str(keys[i]));
    records->addObject(entries);
  }
  Ref<Error> error;
  auto back = PropertyList::read(PropertyList::writeXML(records.get()), &error);
  ASSERT_TRUE(back) << describeUTF8(error);
  EXPECT_TRUE(back->isEqual(*records));
}

// The scan for control characters looks at blocks; a lone control must be
// found wherever it falls relative to them.
TEST(XMLPropertyListText, ALoneControlCharacterIsFoundAtAnyOffset) {
  const std::string before = std::string(tq::plist_test::PropertyListHeader) + "<string>";
  for (std::size_t offset = 240; offset <= 520; ++offset) {
    if (offset < before.size()) continue;
    std::string text(offset - before.size(), 'x');
    text += '\x01';
    const std::string xml = stringDocument(text);
    ASSERT_EQ(xml[offset], '\x01');
    auto back = readString(xml);
    ASSERT_TRUE(back) << offset;
    EXPECT_TRUE(back->isEqualToString(text)) << offset;
  }
}

TEST(XMLPropertyListText, DataOfEveryLengthRoundTripsInWholeLines) {
  for (std::size_t length = 0; length <= 120; ++length) {
    std::string bytes;
    for (std::size_t i = 0; i < length; ++i) bytes += char(i * 37 + length);
    auto value = arr({arr({make<Data>(bytes)})});
    const std::string xml = PropertyList::writeXML(value.get());
    // Two levels deep: lines of 60 columns after two tabs.
    const std::string encoded = base64(bytes);
    std::string lines;
    for (std::size_t at = 0; at < encoded.size(); at += 60) lines += "\t\t" + encoded.substr(at, 60) + "\n";
    EXPECT_EQ(xml, document("<array>\n\t<array>\n\t\t<data>\n" + lines + "\t\t</data>\n\t</array>\n</array>\n"))
        << length;
    auto back = PropertyList::read(xml);
    ASSERT_TRUE(back) << length;
    EXPECT_TRUE(back->isEqual(*value)) << length;
  }
}

TEST(XMLPropertyListText, Base64IsReadWhateverTheSpacingAndRefusedWhateverTheSpot) {
  const std::pair<const char*, const char*> accepted[] = {
      {"aGVsbG8gd29ybGQ=", "hello world"},   {" aGVs bG8g\nd29y\tbGQ= ", "hello world"},
      {"a G V s b G 8 =", "hello"},          {"aGVsbG8gd29ybGQh", "hello world!"},
      {"aGVsbG8gd29ybGQ", "hello world"},    {"aGVsbG8gd29ybA==", "hello worl"},
      {"aGVsbG8gd29ybA= =", "hello worl"},   {"", ""},
  };
  for (const auto& [text, bytes] : accepted) {
    auto value = cast<Data>(PropertyList::read(document(std::string("<data>") + text + "</data>\n")));
    ASSERT_TRUE(value) << text;
    EXPECT_EQ(value->view(), bytes) << text;
  }
  const char* refused[] = {"aGVsbG8gd29y!GQ=", "aGVsbG8gd2=ybGQ=", "aGVsbG8gd29ybGQ===", "aGVsbG8gd29ybGQ=x",
                           "aGVsbG8gd29yb", "aGVs-bG8="};
  for (const char* text : refused) {
    Ref<Error> error;
    EXPECT_FALSE(PropertyList::read(document(std::string("<data>") + text + "</data>\n"), &error)) << text;
    ASSERT_TRUE(error) << text;
    EXPECT_EQ(error->code(), PropertyListReadCorruptError) << text;
    EXPECT_NE(error->localizedDescription().find("invalid Base64"), std::string::npos) << text;
  }
}

TEST(XMLPropertyListText, DatesBeyondFourDigitYearsAndBeforeYearOne) {
  const std::pair<double, const char*> dates[] = {
      {-63113904000.0, "0001-01-01T00:00:00Z"},  {-63113990400.0, "0000-12-31T00:00:00Z"},
      {-63145526401.0, "-0001-12-31T23:59:59Z"}, {252423993600.0, "10000-01-01T00:00:00Z"},
      {-12649305600.0, "1600-02-29T00:00:00Z"},  {1.5, "2001-01-01T00:00:01Z"},
  };
  for (const auto& [seconds, text] : dates) {
    const std::string xml = PropertyList::writeXML(make<Date>(seconds).get());
    EXPECT_EQ(xml, document(std::string("<date>") + text + "</date>\n"));
    auto back = cast<Date>(PropertyList::read(xml));
    ASSERT_TRUE(back) << text;
    EXPECT_EQ(back->timeIntervalSinceReferenceDate(), std::floor(seconds)) << text;
  }
}

// Keys sharing long prefixes are ordered by the first unit that differs,
// whichever group of four it falls in, and a key sorts before its
// extensions.
TEST(XMLPropertyListText, KeysWithLongCommonPrefixesAreSortedByCodeUnits) {
  const std::vector<std::string> sorted = {"TQMailKit",         "TQMailKitA",        "TQMailKitAB",
                                           "TQMailKitABCDEFGH", "TQMailKitABCDEFGI", "TQMailKitB",
                                           "TQMailKitb",        "TQMailKit\xC3\xA9"};
  auto value = make<MutableDictionary>();
  for (auto it = sorted.rbegin(); it != sorted.rend(); ++it) value->setObject(num(1), str(*it));
  std::string expected = "<dict>\n";
  for (const std::string& key : sorted) expected += "\t<key>" + key + "</key>\n\t<integer>1</integer>\n";
  EXPECT_EQ(PropertyList::writeXML(value.get()), document(expected + "</dict>\n"));
}

// A subclass of a value class is written as the class it extends.
class Label : public String {
 public:
  using String::String;
  std::string className() const override { return "Label"; }
};

TEST(XMLPropertyListText, SubclassesOfValueClassesAreWrittenAsTheirBase) {
  auto value = arr({make<Label>(std::string_view("a<b")), make<MutableString>(std::string_view("c")),
                    make<MutableData>("hi", 2)});
  EXPECT_EQ(PropertyList::writeXML(value.get()), document("<array>\n\t<string>a&lt;b</string>\n"
                                                          "\t<string>c</string>\n"
                                                          "\t<data>\n\taGk=\n\t</data>\n</array>\n"));
}

}  // namespace
