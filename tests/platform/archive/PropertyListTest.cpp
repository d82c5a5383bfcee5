// XML property lists, the shared round trips of both formats, and files.

#include <gtest/gtest.h>

#include "tests/platform/archive/PropertyListTestSupport.h"

#include <clocale>
#include <cmath>
#include <filesystem>
#include <limits>
#include <locale>

#include "tests/support/DecimalCommaLocale.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/value/String.h"

using namespace tq;

namespace {

constexpr auto document = tq::plist_test::plistDocument;

Ref<Data> bytes(std::size_t count) {
  auto data = make<MutableData>();
  for (std::size_t i = 0; i < count; ++i) data->mutableVector().push_back(std::uint8_t(i * 7 + 3));
  return data;
}

// Every kind of value, at its edges.
Ref<Dictionary> everything() {
  auto nested = dict({{str("deeper"), arr({arr({}), dict({}), arr({num(1), arr({str("x")})})})}});
  return dict({
      {str("int64 min"), num(std::numeric_limits<std::int64_t>::min())},
      {str("int64 max"), num(std::numeric_limits<std::int64_t>::max())},
      {str("uint64 max"), num(std::numeric_limits<std::uint64_t>::max())},
      {str("two to the 63"), num(std::uint64_t(1) << 63)},
      {str("small"), num(-1)},
      {str("zero"), num(0)},
      {str("minus zero"), num(-0.0)},
      {str("huge"), num(std::numeric_limits<double>::max())},
      {str("tiny"), num(std::numeric_limits<double>::denorm_min())},
      {str("third"), num(1.0 / 3.0)},
      {str("infinity"), num(std::numeric_limits<double>::infinity())},
      {str("minus infinity"), num(-std::numeric_limits<double>::infinity())},
      {str("not a number"), num(std::nan(""))},  // equal to itself, as numbers go
      {str("yes"), num(true)},
      {str("no"), num(false)},
      {str("escaped"), str("a & b < c > d \"q\" 'a'")},
      {str("non-BMP \xF0\x9F\x98\x80"), str("emoji \xF0\x9F\x98\x80 and \xC3\xA9")},
      {str(""), str("")},
      {str("date"), make<Date>(-31622400.0)},  // 2000-01-01
      {str("empty data"), make<Data>()},
      {str("data"), bytes(100)},
      {str("empty array"), arr({})},
      {str("empty dict"), dict({})},
      {str("nested"), nested},
  });
}

class RoundTrip : public ::testing::TestWithParam<PropertyListFormat> {};

TEST_P(RoundTrip, KeepsEveryValueAndItsKind) {
  auto original = everything();
  Ref<Error> error;
  auto written = PropertyList::write(original.get(), GetParam(), &error);
  ASSERT_TRUE(written) << describeUTF8(error);
  PropertyListFormat format;
  auto read = cast<Dictionary>(PropertyList::read(written->view(), &error, &format));
  ASSERT_TRUE(read) << describeUTF8(error);
  EXPECT_EQ(format, GetParam());
  EXPECT_TRUE(read->isEqual(*original)) << describeUTF8(read);

  auto number = [&](const char* key) { return cast<Number>(read->objectForKey(std::string_view(key))); };
  EXPECT_EQ(number("uint64 max")->kind(), Number::Kind::Unsigned);
  EXPECT_EQ(number("uint64 max")->unsignedIntegerValue(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(number("two to the 63")->unsignedIntegerValue(), std::uint64_t(1) << 63);
  EXPECT_EQ(number("int64 min")->integerValue(), std::numeric_limits<std::int64_t>::min());
  EXPECT_TRUE(number("yes")->isBool());
  EXPECT_EQ(number("zero")->kind(), Number::Kind::Signed);
  EXPECT_EQ(number("huge")->kind(), Number::Kind::Double);
  EXPECT_TRUE(std::signbit(number("minus zero")->doubleValue()));
  EXPECT_EQ(number("tiny")->doubleValue(), std::numeric_limits<double>::denorm_min());
  EXPECT_EQ(number("third")->doubleValue(), 1.0 / 3.0);
  EXPECT_TRUE(std::isnan(number("not a number")->doubleValue()));
}

TEST_P(RoundTrip, MutableContainersComeBackMutable) {
  auto written = PropertyList::write(dict({{str("list"), arr({num(1)})}}).get(), GetParam());
  auto read = PropertyList::read(written->view(), nullptr, nullptr, true);
  auto top = cast<MutableDictionary>(read);
  ASSERT_TRUE(top);
  EXPECT_TRUE(cast<MutableArray>(top->objectForKey(std::string_view("list"))));
  EXPECT_FALSE(cast<MutableDictionary>(PropertyList::read(written->view())));
}

TEST_P(RoundTrip, RefusesValuesThatAreNoPropertyListType) {
  std::vector<Id> invalid = {Null::null(), arr({str("a"), Null::null()}), make<Error>("domain", 1),
                             dict({{num(1), str("non-string key")}})};
  for (const Id& value : invalid) {
    Ref<Error> error;
    EXPECT_FALSE(PropertyList::write(value.get(), GetParam(), &error)) << describeUTF8(value);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->domain(), PropertyListErrorDomain);
    EXPECT_EQ(error->code(), PropertyListWriteInvalidError);
    EXPECT_FALSE(PropertyList::isValid(value.get()));
  }
  EXPECT_TRUE(PropertyList::isValid(everything().get()));
}

INSTANTIATE_TEST_SUITE_P(Formats, RoundTrip, ::testing::Values(PropertyListFormat::XML, PropertyListFormat::Binary),
                         [](const auto& info) { return info.param == PropertyListFormat::XML ? "XML" : "Binary"; });

TEST(XMLPropertyListWriter, ProducesTheConventionalLayout) {
  auto value = dict({
      {str("name"), str("a<b>&c")},
      {str("count"), num(3)},
      {str("ratio"), num(0.25)},
      {str("on"), num(true)},
      {str("list"), arr({num(false), arr({}), dict({}), make<Date>(0.0)})},
      {str("blob"), make<Data>("hi", 2)},
  });
  EXPECT_EQ(PropertyList::writeXML(value.get()), document("<dict>\n"
                                                          "\t<key>blob</key>\n"
                                                          "\t<data>\n"
                                                          "\taGk=\n"
                                                          "\t</data>\n"
                                                          "\t<key>count</key>\n"
                                                          "\t<integer>3</integer>\n"
                                                          "\t<key>list</key>\n"
                                                          "\t<array>\n"
                                                          "\t\t<false/>\n"
                                                          "\t\t<array/>\n"
                                                          "\t\t<dict/>\n"
                                                          "\t\t<date>2001-01-01T00:00:00Z</date>\n"
                                                          "\t</array>\n"
                                                          "\t<key>name</key>\n"
                                                          "\t<string>a&lt;b&gt;&amp;c</string>\n"
                                                          "\t<key>on</key>\n"
                                                          "\t<true/>\n"
                                                          "\t<key>ratio</key>\n"
                                                          "\t<real>0.25</real>\n"
                                                          "</dict>\n"));
}

TEST(XMLPropertyListWriter, WritesLeavesInTheirTextForms) {
  EXPECT_EQ(PropertyList::writeXML(num(std::numeric_limits<std::uint64_t>::max()).get()),
            document("<integer>18446744073709551615</integer>\n"));
  EXPECT_EQ(PropertyList::writeXML(num(std::numeric_limits<std::int64_t>::min()).get()),
            document("<integer>-9223372036854775808</integer>\n"));
  EXPECT_EQ(PropertyList::writeXML(num(-std::numeric_limits<double>::infinity()).get()),
            document("<real>-infinity</real>\n"));
  EXPECT_EQ(PropertyList::writeXML(make<Date>(-0.5).get()), document("<date>2000-12-31T23:59:59Z</date>\n"));
  EXPECT_EQ(PropertyList::writeXML(make<Data>().get()), document("<data>\n</data>\n"));
}

TEST(XMLPropertyListWriter, WritesRealsWithSeventeenDigitsAndReadsThemBackExactly) {
  const std::pair<double, const char*> forms[] = {
      {0.1, "0.10000000000000001"},        {2.0, "2"}, {-1.5, "-1.5"}, {0.0, "0.0"}, {1e300, "1.0000000000000001e+300"},
      {5e-324, "4.9406564584124654e-324"},
  };
  for (const auto& [value, text] : forms) {
    std::string xml = PropertyList::writeXML(num(value).get());
    EXPECT_EQ(xml, document(std::string("<real>") + text + "</real>\n"));
    auto back = cast<Number>(PropertyList::read(xml));
    ASSERT_TRUE(back) << text;
    EXPECT_EQ(back->kind(), Number::Kind::Double);
    EXPECT_EQ(back->doubleValue(), value) << text;
  }
  EXPECT_EQ(PropertyList::writeXML(num(-0.0).get()), document("<real>-0.0</real>\n"));
}

TEST(XMLPropertyListReader, ControlCharactersInStringsReadBackAsWritten) {
  // The writer leaves controls and carriage returns in the text as they stand.
  std::u16string units(u"a\u0001b\u001Bc\r\nd\re\u0000f\u007Fg", 14);
  auto value = dict({{make<String>(std::u16string(u"k\u0002")), make<String>(units)}, {str("n"), num(1)}});
  std::string xml = PropertyList::writeXML(value.get());
  EXPECT_NE(xml.find(std::string("<string>a\x01"
                                 "b\x1B"
                                 "c\r\nd\re") +
                     '\0' + "f\x7Fg</string>"),
            std::string::npos);
  Ref<Error> error;
  auto back = cast<Dictionary>(PropertyList::read(xml, &error));
  ASSERT_TRUE(back) << describeUTF8(error);
  EXPECT_TRUE(back->isEqual(*value));
  // Line ends between elements are still only white space, whatever they are.
  std::string crlf =
      "<?xml version=\"1.0\"?>\r\n<plist version=\"1.0\">\r\n<dict>\r\n\t<key>s</key>\r\n"
      "\t<string>x\ty\r\nz</string>\r\n</dict>\r\n</plist>\r\n";
  auto lines = cast<Dictionary>(PropertyList::read(crlf, &error));
  ASSERT_TRUE(lines) << describeUTF8(error);
  EXPECT_EQ(cast<String>(lines->objectForKey("s"))->utf16(), u"x\ty\r\nz");
  // A control outside a string or key is still an error, named with its place.
  EXPECT_EQ(PropertyList::read(document("<integer>1\x01</integer>\n"), &error), nullptr);
  EXPECT_NE(describeUTF8(error).find("line 3"), std::string::npos) << describeUTF8(error);
  // A document that already holds the noncharacters used to carry controls is
  // read as it stands: the noncharacter stays, a raw control is refused.
  auto kept = cast<String>(PropertyList::read(document("<string>\xEF\xB7\x91</string>\n")));
  ASSERT_TRUE(kept);
  EXPECT_EQ(kept->utf16(), u"\uFDD1");
  EXPECT_EQ(PropertyList::read(document("<string>\xEF\xB7\x91\x01</string>\n")), nullptr);
  auto referenced = cast<String>(PropertyList::read(document("<string>&#xFDD1;\r\n&#65007;</string>\n")));
  ASSERT_TRUE(referenced);
  EXPECT_EQ(referenced->utf16(), u"\uFDD1\n\uFDEF");
}

TEST(XMLPropertyListWriter, SortsKeysByCodeUnits) {
  // U+FF21 sorts after the surrogate pair of U+1F600 in code-unit order,
  // though before it in code-point order.
  auto value =
      dict({{str("\xEF\xBC\xA1"), num(1)}, {str("\xF0\x9F\x98\x80"), num(2)}, {str("B"), num(3)}, {str("a"), num(4)}});
  std::string xml = PropertyList::writeXML(value.get());
  auto at = [&](const char* key) { return xml.find(std::string("<key>") + key + "</key>"); };
  EXPECT_LT(at("B"), at("a"));
  EXPECT_LT(at("a"), at("\xF0\x9F\x98\x80"));
  EXPECT_LT(at("\xF0\x9F\x98\x80"), at("\xEF\xBC\xA1"));
}

TEST(XMLPropertyListWriter, WrapsDataAtSeventySixColumnsCountingTabsAsEight) {
  std::string top = PropertyList::writeXML(bytes(120).get());
  std::string nested = PropertyList::writeXML(arr({arr({bytes(120)})}).get());
  auto lines = [](const std::string& text) {
    std::vector<std::string> result;
    std::size_t start = 0;
    for (std::size_t end; (end = text.find('\n', start)) != std::string::npos; start = end + 1) {
      result.push_back(text.substr(start, end - start));
    }
    return result;
  };
  auto topLines = lines(top);  // header (2), <data>, 3 lines of Base64, </data>, </plist>
  ASSERT_EQ(topLines.size(), 8u);
  EXPECT_EQ(topLines[3].size(), 76u);
  EXPECT_EQ(topLines[4].size(), 76u);
  EXPECT_EQ(topLines[5].size(), 160u - 152u);
  auto nestedLines = lines(nested);
  EXPECT_EQ(nestedLines[5], "\t\t" + topLines[3].substr(0, 60));
  EXPECT_EQ(nestedLines[4], "\t\t<data>");
  EXPECT_EQ(nestedLines.back(), "</plist>");
}

// Writes and reads reals while some locale is in force.
void expectLocaleIndependentReals() {
  std::string xml = PropertyList::writeXML(num(1.5).get());
  auto read = cast<Number>(PropertyList::read(document("<real>2.25</real>\n")));
  auto overflow = cast<Number>(PropertyList::read(document("<real>1.5e999</real>\n")));
  EXPECT_EQ(xml, document("<real>1.5</real>\n"));
  ASSERT_TRUE(read);
  EXPECT_EQ(read->doubleValue(), 2.25);
  ASSERT_TRUE(overflow);
  EXPECT_EQ(overflow->doubleValue(), std::numeric_limits<double>::infinity());
}

struct DecimalComma : std::numpunct<char> {
  char do_decimal_point() const override { return ','; }
};

TEST(XMLPropertyListWriter, IgnoresTheGlobalLocale) {
  std::locale previous = std::locale::global(std::locale(std::locale::classic(), new DecimalComma));
  expectLocaleIndependentReals();
  std::locale::global(previous);
}

TEST(XMLPropertyListWriter, IgnoresTheNumericLocaleOfTheCLibrary) {
  const char* previous = std::setlocale(LC_NUMERIC, nullptr);
  std::string saved = previous ? previous : "C";
  if (!setDecimalCommaLocale()) {
    GTEST_SKIP() << "no locale with a decimal comma is installed";
  }
  expectLocaleIndependentReals();
  std::setlocale(LC_NUMERIC, saved.c_str());
}

TEST(XMLPropertyListReader, AcceptsTheLenientForms) {
  std::string text =
      "<?xml version=\"1.0\"?>\n<!DOCTYPE plist SYSTEM \"file.dtd\">\n<plist version=\"1.0\">\n  <dict>\n"
      "    <key>empty</key> <string/>\n"
      "    <key>hex</key> <integer>0x1F</integer>\n"
      "    <key>negative hex</key> <integer>-0x10</integer>\n"
      "    <key>plus</key> <integer> +42 </integer>\n"
      "    <key>unsigned</key> <integer>18446744073709551615</integer>\n"
      "    <key>inf</key> <real>inf</real>\n"
      "    <key>minus infinity</key> <real>-Infinity</real>\n"
      "    <key>nan</key> <real>NaN</real>\n"
      "    <key>exponent</key> <real>1E3</real>\n"
      "    <key>integral real</key> <real>7</real>\n"
      "    <key>date</key> <date>2024-02-29T12:34:56Z</date>\n"
      "    <key>data</key> <data>\n      aGVs\n      bG8=\n    </data>\n"
      "    <key>entity</key> <string>&#x1F600;&amp;</string>\n"
      "  </dict>\n</plist>\n";
  Ref<Error> error;
  auto value = cast<Dictionary>(PropertyList::read(text, &error));
  ASSERT_TRUE(value) << describeUTF8(error);
  auto get = [&](const char* key) { return value->objectForKey(std::string_view(key)); };
  EXPECT_TRUE(isEqual(get("empty"), str("")));
  EXPECT_EQ(cast<Number>(get("hex"))->integerValue(), 31);
  EXPECT_EQ(cast<Number>(get("negative hex"))->integerValue(), -16);
  EXPECT_EQ(cast<Number>(get("plus"))->integerValue(), 42);
  EXPECT_EQ(cast<Number>(get("unsigned"))->unsignedIntegerValue(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(cast<Number>(get("inf"))->doubleValue(), std::numeric_limits<double>::infinity());
  EXPECT_EQ(cast<Number>(get("minus infinity"))->doubleValue(), -std::numeric_limits<double>::infinity());
  EXPECT_TRUE(std::isnan(cast<Number>(get("nan"))->doubleValue()));
  EXPECT_EQ(cast<Number>(get("exponent"))->doubleValue(), 1000.0);
  EXPECT_EQ(cast<Number>(get("integral real"))->kind(), Number::Kind::Double);
  EXPECT_TRUE(isEqual(get("date"), Date::dateWithTimeIntervalSince1970(1709210096)));
  EXPECT_TRUE(isEqual(get("data"), make<Data>("hello", 5)));
  EXPECT_TRUE(isEqual(get("entity"), str("\xF0\x9F\x98\x80&")));
}

TEST(XMLPropertyListReader, ReadsUIDsFromTheirDictionaryForm) {
  auto written = PropertyList::writeXML(arr({make<PropertyListUID>(7)}).get());
  EXPECT_NE(written.find("<key>CF$UID</key>"), std::string::npos);
  auto read = cast<Array>(PropertyList::read(written));
  ASSERT_TRUE(read);
  EXPECT_TRUE(isEqual(read->objectAtIndex(0), make<PropertyListUID>(7)));
}

struct Malformed {
  const char* name;
  std::string text;
  const char* expected;  // part of the error's description
};

TEST(XMLPropertyListReader, ReportsWhatIsWrongAndWhere) {
  std::string deep;
  for (int i = 0; i < 600; ++i) deep += "<array>";
  const Malformed cases[] = {
      {"bad nesting", "<plist><array></dict></plist>", "mismatched tag"},
      {"unknown tag", "<plist><float>1</float></plist>", "unknown element <float>"},
      {"key without value", "<plist><dict><key>a</key></dict></plist>", "key \"a\" has no value"},
      {"two keys", "<plist><dict><key>a</key><key>b</key></dict></plist>", "key without a value"},
      {"non-string key", "<plist><dict><integer>1</integer><string>x</string></dict></plist>",
       "dictionary keys must be <key> elements, found <integer>"},
      {"overflow", "<plist><integer>18446744073709551616</integer></plist>", "out-of-range integer"},
      {"negative overflow", "<plist><integer>-9223372036854775809</integer></plist>", "out-of-range integer"},
      {"not a number", "<plist><integer>12abc</integer></plist>", "integer \"12abc\""},
      {"bad real", "<plist><real>1,5</real></plist>", "invalid real \"1,5\""},
      {"bad date", "<plist><date>2023-02-29T00:00:00Z</date></plist>", "invalid date"},
      {"date without zone", "<plist><date>2023-01-01T00:00:00</date></plist>", "invalid date"},
      {"trailing garbage", "<plist><true/></plist>junk", "junk after document element"},
      {"text between values", "<plist><array>hello<true/></array></plist>", "unexpected text \"hello\" in <array>"},
      {"element in a leaf", "<plist><string><true/></string></plist>", "element <true> inside <string>"},
      {"two top values", "<plist><true/><false/></plist>", "more than one value"},
      {"empty plist", "<plist></plist>", "holds no value"},
      {"not xml", "hello", "syntax error"},
      {"entity", "<!DOCTYPE plist [<!ENTITY x \"y\">]><plist><string>&x;</string></plist>",
       "entity declarations are not allowed"},
      {"too deep", "<plist>" + deep, "nested more than 512 levels"},
      {"place", "<plist>\n<dict>\n  <key>k</key><bogus/>\n</dict>\n</plist>", "line 3, column 15"},
  };
  for (const auto& c : cases) {
    Ref<Error> error;
    EXPECT_FALSE(PropertyList::read(c.text, &error)) << c.name;
    ASSERT_TRUE(error) << c.name;
    EXPECT_EQ(error->domain(), PropertyListErrorDomain) << c.name;
    EXPECT_EQ(error->code(), PropertyListReadCorruptError) << c.name;
    EXPECT_NE(error->localizedDescription().find(c.expected), std::string::npos)
        << c.name << ": " << error->localizedDescription();
  }
}

TEST(PropertyListFiles, WriteAtomicallyAndReadBackInEitherFormat) {
  const tq::testing::TemporaryFolder scratch("plist");
  const std::filesystem::path& folder = scratch.path();
  const std::string path = (folder / "settings.plist").string();
  for (auto format : {PropertyListFormat::XML, PropertyListFormat::Binary}) {
    Ref<Error> error;
    ASSERT_TRUE(PropertyList::writeFile(everything().get(), path, format, true, &error)) << describeUTF8(error);
    PropertyListFormat detected;
    auto read = PropertyList::readFile(path, &error, &detected);
    ASSERT_TRUE(read) << describeUTF8(error);
    EXPECT_EQ(detected, format);
    EXPECT_TRUE(read->isEqual(*everything()));
  }

  Ref<Error> error;
  EXPECT_FALSE(PropertyList::writeFile(Null::null().get(), path, PropertyListFormat::XML, true, &error));
  EXPECT_EQ(error->code(), PropertyListWriteInvalidError);
  EXPECT_TRUE(PropertyList::readFile(path)) << "a refused write leaves the file alone";
  EXPECT_FALSE(PropertyList::readFile((folder / "missing.plist").string(), &error));
  EXPECT_EQ(error->code(), PropertyListReadFileError);
  EXPECT_FALSE(PropertyList::writeFile(arr({}).get(), (folder / "no/such/dir/x.plist").string(),
                                       PropertyListFormat::XML, true, &error));
  EXPECT_EQ(error->code(), PropertyListWriteFileError);
}

}  // namespace
