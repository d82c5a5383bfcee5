#include "tq/platform/value/Charset.h"

#include <gtest/gtest.h>

#include <cctype>

namespace tq {
namespace {

TEST(CharsetTest, PlatformNumbersOfTheNamedEncodings) {
  EXPECT_EQ(ASCIIStringEncoding, 1u);
  EXPECT_EQ(UTF8StringEncoding, 4u);
  EXPECT_EQ(ISOLatin1StringEncoding, 5u);
  EXPECT_EQ(ISOLatin2StringEncoding, 9u);
  EXPECT_EQ(UnicodeStringEncoding, 10u);
  EXPECT_EQ(ISOLatin9StringEncoding, 0x8000020Fu);
  EXPECT_EQ(KOI8RStringEncoding, 0x80000A02u);
  EXPECT_EQ(UTF7StringEncoding, 0x84000100u);
}

TEST(CharsetTest, NamesAndAliasesInAnyCaseAndUnknownNamesAreInvalid) {
  // Each charset's own name is checked both ways for every named charset
  // below; here, the spellings mail carries and the names that are no charset.
  const std::string tooLong(200, 'a');
  const std::pair<std::string_view, StringEncoding> cases[] = {
      {"Iso-8859-2", ISOLatin2StringEncoding},   {"us-ascii", ASCIIStringEncoding},
      {"utf-16", UnicodeStringEncoding},         {"macintosh", MacOSRomanStringEncoding},
      {"latin1", ISOLatin1StringEncoding},       {"utf8", UTF8StringEncoding},
      {"cp1252", WindowsCP1252StringEncoding},   {"ks_c_5601-1987", DOSKoreanStringEncoding},
      {"x-unknown", InvalidStringEncoding},      {"utf-8*en", InvalidStringEncoding},
      {"", InvalidStringEncoding},               {tooLong, InvalidStringEncoding}};
  for (const auto& [name, encoding] : cases) EXPECT_EQ(Charset::encodingForIANAName(name), encoding) << name;
  EXPECT_EQ(Charset::encodingForIANAName(std::u16string_view(u"utf-8\u00e9")), InvalidStringEncoding);
  EXPECT_EQ(Charset::ianaName(ISOLatin2StringEncoding), "ISO-8859-2");
  EXPECT_EQ(Charset::ianaName(ShiftJISStringEncoding), "Shift_JIS");
  EXPECT_TRUE(Charset::ianaName(UTF7IMAPStringEncoding).empty());
  EXPECT_TRUE(Charset::ianaName(12345).empty());
}

TEST(CharsetTest, RepeatedLookupsOfManyNamesKeepTheirAnswers) {
  // Text names are answered from a per-thread memory of the last sixteen;
  // more names than it holds, in turn, must each keep the first answer.
  const char* names[] = {"utf-8",   "UTF-8",    "iso-8859-1", "windows-1252", "koi8-r",      "no-such-charset",
                         "ISO-8859-2", "utf-16", "us-ascii", "Shift_JIS",  "iso-8859-16",  "x",
                         "big5",  "euc-kr",   "gb2312",   "KOI8-U",     "windows-1250", "iso-2022-jp"};
  for (int round = 0; round < 3; ++round) {
    for (const char* name : names) {
      const std::string_view narrow(name);
      const std::u16string wide(narrow.begin(), narrow.end());
      EXPECT_EQ(Charset::encodingForIANAName(std::u16string_view(wide)), Charset::encodingForIANAName(narrow))
          << name << " in round " << round;
    }
  }
  EXPECT_EQ(Charset::encodingForIANAName(std::u16string_view(u"UTF-8")), UTF8StringEncoding);
  EXPECT_EQ(Charset::encodingForIANAName(std::u16string_view(u"utf-8")), UTF8StringEncoding);
  EXPECT_EQ(Charset::encodingForIANAName(std::u16string_view(u"utf-9")), InvalidStringEncoding);
}

TEST(CharsetTest, ConversionsRoundTripThroughEveryCharsetThatHoldsTheText) {
  const std::u16string cafe = u"caf\u00e9";
  for (StringEncoding encoding :
       {UTF8StringEncoding, ISOLatin1StringEncoding, ISOLatin2StringEncoding, UnicodeStringEncoding,
        WindowsCP1252StringEncoding, MacOSRomanStringEncoding, UTF7StringEncoding, UTF16BigEndianStringEncoding,
        UTF32StringEncoding, GB18030StringEncoding}) {
    std::string bytes;
    ASSERT_TRUE(Charset::encode(cafe, encoding, bytes)) << encoding;
    std::u16string back;
    ASSERT_TRUE(Charset::decode(bytes, encoding, back)) << encoding;
    EXPECT_EQ(back, cafe) << encoding;
  }
  std::string bytes;
  // One-, two-, three- and four-byte UTF-8 sequences in one text.
  const std::u16string mixed = u"a\u00e9\u20ac\U0001F600z";
  ASSERT_TRUE(Charset::encode(mixed, UTF8StringEncoding, bytes));
  EXPECT_EQ(bytes, "a\xC3\xA9\xE2\x82\xAC\xF0\x9F\x98\x80z");
  std::u16string back;
  ASSERT_TRUE(Charset::decode(bytes, UTF8StringEncoding, back));
  EXPECT_EQ(back, mixed);
  ASSERT_TRUE(Charset::encode(u"\u017e", ISOLatin2StringEncoding, bytes));
  EXPECT_EQ(bytes, "\xBE");
  ASSERT_TRUE(Charset::encode(u"\u65e5\u672c", ShiftJISStringEncoding, bytes));
  EXPECT_EQ(bytes, "\x93\xFA\x96\x7B");
  ASSERT_TRUE(Charset::encode(u"\u65e5\u672c", ISO2022JPStringEncoding, bytes));
  EXPECT_EQ(bytes, "\x1b$BF|K\\\x1b(B");
}

TEST(CharsetTest, EveryNamedCharsetConvertsAndItsNameLeadsBackToIt) {
  // A converter that ICU does not have, or a name that resolves to another
  // entry, would make mail in that charset undecodable.
  // clang-format off
  const StringEncoding named[] = {
      ASCIIStringEncoding, JapaneseEUCStringEncoding, UTF8StringEncoding, ISOLatin1StringEncoding,
      ShiftJISStringEncoding, ISOLatin2StringEncoding, UnicodeStringEncoding, WindowsCP1251StringEncoding,
      WindowsCP1252StringEncoding, WindowsCP1253StringEncoding, WindowsCP1254StringEncoding,
      WindowsCP1250StringEncoding, ISO2022JPStringEncoding, MacOSRomanStringEncoding, UTF16BigEndianStringEncoding,
      UTF16LittleEndianStringEncoding, UTF32StringEncoding, UTF32BigEndianStringEncoding,
      UTF32LittleEndianStringEncoding, ISOLatin3StringEncoding, ISOLatin4StringEncoding,
      ISOLatinCyrillicStringEncoding, ISOLatinArabicStringEncoding, ISOLatinGreekStringEncoding,
      ISOLatinHebrewStringEncoding, ISOLatin5StringEncoding, ISOLatin6StringEncoding, ISOLatinThaiStringEncoding,
      ISOLatin7StringEncoding, ISOLatin8StringEncoding, ISOLatin9StringEncoding, ISOLatin10StringEncoding,
      WindowsHebrewStringEncoding, WindowsArabicStringEncoding, WindowsBalticRimStringEncoding,
      WindowsVietnameseStringEncoding, KOI8RStringEncoding, KOI8UStringEncoding, GB2312StringEncoding,
      GBKStringEncoding, GB18030StringEncoding, HZGB2312StringEncoding, Big5StringEncoding, Big5HKSCSStringEncoding,
      EUCKRStringEncoding, ISO2022KRStringEncoding, ISO2022CNStringEncoding, DOSJapaneseStringEncoding,
      DOSKoreanStringEncoding, DOSThaiStringEncoding, DOSLatinUSStringEncoding, DOSLatin1StringEncoding,
      DOSRussianStringEncoding, UTF7StringEncoding};
  // clang-format on
  for (StringEncoding encoding : named) {
    const std::string name(Charset::ianaName(encoding));
    ASSERT_FALSE(name.empty()) << encoding;
    EXPECT_EQ(Charset::encodingForIANAName(std::string_view(name)), encoding) << name;
    std::string upper = name;
    for (char& c : upper) c = char(std::toupper(static_cast<unsigned char>(c)));
    EXPECT_EQ(Charset::encodingForIANAName(std::string_view(upper)), encoding) << upper;
    std::string bytes;
    std::u16string back;
    ASSERT_TRUE(Charset::encode(u"Re: a-1", encoding, bytes)) << name;
    ASSERT_TRUE(Charset::decode(bytes, encoding, back)) << name;
    EXPECT_EQ(back, u"Re: a-1") << name;
  }
  // ISO-8859-16 by its own table: Romanian comma-below letters and the euro.
  std::u16string text;
  ASSERT_TRUE(Charset::decode("\xA4\xAA\xDE\xBA\xFE\x9F\xFF", ISOLatin10StringEncoding, text));
  EXPECT_EQ(text, u"\u20ac\u0218\u021a\u0219\u021b\u009f\u00ff");
  std::string bytes;
  ASSERT_TRUE(Charset::encode(text, ISOLatin10StringEncoding, bytes));
  EXPECT_EQ(bytes, "\xA4\xAA\xDE\xBA\xFE\x9F\xFF");
  EXPECT_FALSE(Charset::canBeConvertedToEncoding(u"\u00a4", ISOLatin10StringEncoding));
  EXPECT_EQ(Charset::encodingForIANAName(std::string_view("Latin10")), ISOLatin10StringEncoding);
}

TEST(CharsetTest, ConversionsAreStrict) {
  std::string bytes;
  EXPECT_FALSE(Charset::encode(u"caf\u00e9", ASCIIStringEncoding, bytes));
  EXPECT_FALSE(Charset::encode(u"\u0151", ISOLatin1StringEncoding, bytes));
  EXPECT_FALSE(Charset::encode(u"\u4e00", WindowsCP1252StringEncoding, bytes));
  EXPECT_FALSE(Charset::encode(std::u16string(1, char16_t(0xD800)), UTF8StringEncoding, bytes));
  EXPECT_FALSE(Charset::canBeConvertedToEncoding(u"\u0151", ISOLatin1StringEncoding));
  EXPECT_TRUE(Charset::canBeConvertedToEncoding(u"\u0151", ISOLatin2StringEncoding));
  EXPECT_FALSE(Charset::canBeConvertedToEncoding(u"a", NoStringEncoding));
  // A joiner or variation selector the charset lacks is a loss too, though
  // the converter would drop it silently.
  EXPECT_FALSE(Charset::canBeConvertedToEncoding(u"p\u034fn", ISOLatin2StringEncoding));
  EXPECT_FALSE(Charset::encode(u"a\ufe0f", WindowsCP1252StringEncoding, bytes));
  EXPECT_TRUE(Charset::canBeConvertedToEncoding(u"soft\u00adhyphen", ISOLatin2StringEncoding));

  std::u16string text;
  EXPECT_FALSE(Charset::decode("\x80", ASCIIStringEncoding, text));
  EXPECT_FALSE(Charset::decode("\xC3", UTF8StringEncoding, text));
  EXPECT_FALSE(Charset::decode("\xED\xA0\x80", UTF8StringEncoding, text));  // encoded surrogate
  EXPECT_FALSE(Charset::decode("\x81", ShiftJISStringEncoding, text));
  EXPECT_FALSE(Charset::decode("a", 777, text));
  EXPECT_EQ(Charset::stringWithBytes("\xC3", UTF8StringEncoding), nullptr);

  text = u"kept";
  EXPECT_FALSE(Charset::decodeAppending("\xFF", UTF8StringEncoding, text));
  EXPECT_EQ(text, u"kept");
}

TEST(CharsetTest, SixteenBitUnicodeWritesAMarkAndReadsByIt) {
  std::string bytes;
  ASSERT_TRUE(Charset::encode(u"A", UnicodeStringEncoding, bytes));
  EXPECT_EQ(bytes, std::string("\xFF\xFE\x41\x00", 4));
  // Unpaired surrogates survive: the encoding holds any sequence of units.
  const std::u16string lone(1, char16_t(0xDC00));
  EXPECT_TRUE(Charset::canBeConvertedToEncoding(lone, UnicodeStringEncoding));
  std::u16string text;
  ASSERT_TRUE(Charset::decode(std::string("\xFE\xFF\x00\x41", 4), UnicodeStringEncoding, text));
  EXPECT_EQ(text, u"A");
  ASSERT_TRUE(Charset::decode(std::string("\x00\x42", 2), UnicodeStringEncoding, text));
  EXPECT_EQ(text, u"B");
  EXPECT_FALSE(Charset::decode("abc", UnicodeStringEncoding, text));
}

TEST(CharsetTest, CStringsEndAtTheFirstNul) {
  auto text = Charset::stringWithCString(std::string("ab\0cd", 5), UTF8StringEncoding);
  ASSERT_TRUE(text);
  EXPECT_EQ(text->utf8(), "ab");
}

TEST(CharsetTest, SmallestEncodingPrefersTheNarrowestCharset) {
  EXPECT_EQ(Charset::smallestEncoding(u"plain"), ASCIIStringEncoding);
  EXPECT_EQ(Charset::smallestEncoding(u"caf\u00e9"), ISOLatin1StringEncoding);
  EXPECT_EQ(Charset::smallestEncoding(u"\u20ac"), WindowsCP1252StringEncoding);
  EXPECT_EQ(Charset::smallestEncoding(u"\u0151"), ISOLatin2StringEncoding);
  EXPECT_EQ(Charset::smallestEncoding(u"\u043f\u0440\u0438"), WindowsCP1251StringEncoding);
  EXPECT_EQ(Charset::smallestEncoding(u"\u65e5\u0151\u043f"), UTF8StringEncoding);
  EXPECT_EQ(Charset::smallestEncoding(std::u16string(1, char16_t(0xD800))), UnicodeStringEncoding);
}

}  // namespace
}  // namespace tq
