#include <gtest/gtest.h>

#include <random>
#include <vector>

#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/QuotedPrintableBody.h"

namespace tq {
namespace {

using namespace MimeEncoding;
using MimeWordDecoding::dataForMimeEncodedWord;

std::string utf8Of(const Ref<String>& text) { return text ? text->utf8() : "(nil)"; }
std::string bytesOf(const Ref<Data>& data) { return data ? std::string(data->view()) : "(nil)"; }

TEST(MimeWordEncoderTest, QEncodingEscapesEverythingOutsideTheSafeSet) {
  StringEncoding used = 0;
  EXPECT_EQ(utf8Of(qEncodedStringWithString(*str("a b?~"), UTF8StringEncoding, &used)), "a_b=3F=7E");
  EXPECT_EQ(used, UTF8StringEncoding);
  EXPECT_EQ(utf8Of(qEncodedStringWithString(*str("(x),\"y\"_=\x7f"), UTF8StringEncoding)), "(x),\"y\"=5F=3D=7F");
  EXPECT_EQ(utf8Of(qEncodedStringWithString(*str("caf\u00e9"), UTF8StringEncoding)), "caf=C3=A9");
  // No folding and no splitting into several words, however long the text.
  EXPECT_EQ(qEncodedStringWithString(*str(std::string(500, 'x')), UTF8StringEncoding)->length(), 500u);
}

TEST(MimeWordEncoderTest, CharsetFallsBackToLatin2BeforeUTF8) {
  StringEncoding used = 0;
  auto word = mimeWordWithString(*str("plain"), NoStringEncoding, &used);
  EXPECT_EQ(utf8Of(word), "=?iso-8859-2?Q?plain?=");
  EXPECT_EQ(used, ISOLatin2StringEncoding);
  // A preferred charset that cannot hold the text is passed over.
  EXPECT_EQ(utf8Of(mimeWordWithString(*str("\u0151"), ASCIIStringEncoding, &used)), "=?iso-8859-2?Q?=F5?=");
  EXPECT_EQ(utf8Of(mimeWordWithString(*str("\u65e5"), ISOLatin1StringEncoding, &used)), "=?utf-8?Q?=E6=97=A5?=");
  EXPECT_EQ(used, UTF8StringEncoding);
  EXPECT_EQ(utf8Of(mimeWordWithString(*str("x"), WindowsCP1252StringEncoding)), "=?windows-1252?Q?x?=");
  EXPECT_EQ(utf8Of(mimeWordWithString(*str("p\u034fn"), NoStringEncoding)), "=?utf-8?Q?p=CD=8Fn?=");
}

TEST(MimeWordEncoderTest, TextOnlyUnicodeHoldsIsWrittenInSixteenBitUnicode) {
  const std::u16string lone(1, char16_t(0xD800));
  StringEncoding used = 0;
  auto payload = qEncodedStringWithString(String(lone), UTF8StringEncoding, &used);
  EXPECT_EQ(used, UnicodeStringEncoding);
  EXPECT_EQ(utf8Of(payload), "=FF=FE=00=D8");
  EXPECT_EQ(utf8Of(mimeWordWithString(String(lone), UTF8StringEncoding)), "=?utf-16?Q?=FF=FE=00=D8?=");
}

TEST(MimeWordEncoderTest, CharsetNamesAreLowerCasedIANANames) {
  EXPECT_EQ(utf8Of(FKcharSetNameForEncoding(UTF8StringEncoding)), "utf-8");
  EXPECT_EQ(utf8Of(FKcharSetNameForEncoding(ShiftJISStringEncoding)), "shift_jis");
  EXPECT_EQ(FKcharSetNameForEncoding(0), nullptr);
  EXPECT_EQ(FKcharSetNameForEncoding(UTF7IMAPStringEncoding), nullptr);
  EXPECT_EQ(FKencodingForCharSetName(*str("ISO-8859-1")), ISOLatin1StringEncoding);
  EXPECT_EQ(FKencodingForCharSetName(*str("nonsense")), InvalidStringEncoding);
}

TEST(QuotedPrintableBodyEncoderTest, EscapesAndLineEnds) {
  StringEncoding used = 0;
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str(""), UTF8StringEncoding, &used)), "");
  EXPECT_EQ(used, UTF8StringEncoding);
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str("a\nb"), UTF8StringEncoding)), "a\r\nb");
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str("a\r\nb\n"), UTF8StringEncoding)), "a\r\nb\r\n");
  std::string crlfs;
  for (int i = 0; i < 500; ++i) crlfs += "\r\n";
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str(std::string(500, '\n')), UTF8StringEncoding)), crlfs);
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str("1=2 !#$@[\\]^`{|}~\t"), UTF8StringEncoding)),
            "1=3D2 =21=23=24=40=5B=5C=5D=5E=60=7B=7C=7D=7E=09");
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str("\u00e9"), UTF8StringEncoding)), "=C3=A9");
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str("\u00e9"), NoStringEncoding, &used)), "=E9");
  EXPECT_EQ(used, ISOLatin2StringEncoding);
}

TEST(QuotedPrintableBodyEncoderTest, TrailingSpaceIsProtectedOnlyOnTheLastLine) {
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str("x "), UTF8StringEncoding)), "x =");
  // Kept departure: spaces before a hard line break go out unprotected.
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str("x \ny"), UTF8StringEncoding)), "x \r\ny");
}

TEST(QuotedPrintableBodyEncoderTest, LongLinesAreSoftBrokenAfter75Characters) {
  const std::string line(100, 'a');
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str(line), UTF8StringEncoding)),
            std::string(75, 'a') + "=\r\n" + std::string(25, 'a'));
  // An escape that would start at column 73 or later moves whole to the next line.
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str(std::string(72, 'a') + "=b"), UTF8StringEncoding)),
            std::string(72, 'a') + "=\r\n=3Db");
  EXPECT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str(std::string(71, 'a') + "=bb"), UTF8StringEncoding)),
            std::string(71, 'a') + "=3Db=\r\nb");
  // A lone CR is an ordinary character and counts towards the line.
  const auto crs = quotedPrintableStringForPlainTextBody(*str(std::string(80, '\r')), UTF8StringEncoding);
  EXPECT_EQ(utf8Of(crs), std::string(75, '\r') + "=\r\n" + std::string(5, '\r'));
  const auto lines = utf8Of(quotedPrintableStringForPlainTextBody(*str(std::string(300, 'b')), UTF8StringEncoding));
  EXPECT_EQ(lines, std::string(75, 'b') + "=\r\n" + std::string(75, 'b') + "=\r\n" + std::string(75, 'b') + "=\r\n" +
                       std::string(75, 'b'));
}

// The line rule as a plain character walk over the escaped text, to check
// the encoder's line-at-a-time splitting against.
std::string splitByCharacterWalk(const std::string& e) {
  std::vector<std::string> lines;
  std::size_t s = 0, i = 0;
  while (i < e.size()) {
    const char c = e[i];
    if (c == '\n') {
      lines.push_back(e.substr(s, i - s));
      i = s = i + 1;
    } else if (c == '\r' && i + 1 < e.size() && e[i + 1] == '\n') {
      lines.push_back(e.substr(s, i - s));
      i = s = i + 2;
    } else if (i - s >= 75 || (c == '=' && i - s >= 72)) {
      lines.push_back(e.substr(s, i - s) + "=");
      s = i;
    } else {
      ++i;
    }
  }
  std::string last = e.substr(s);
  if (!last.empty() && last.back() == ' ') last += '=';
  lines.push_back(last);
  std::string joined;
  for (std::size_t k = 0; k < lines.size(); ++k) joined += (k ? "\r\n" : "") + lines[k];
  return joined;
}

TEST(QuotedPrintableBodyEncoderTest, LineSplittingAgreesWithTheCharacterWalk) {
  // Runs of plain characters broken by escapes, spaces, CR, LF and CRLF at
  // every column, in ISO-8859-1 so that each character is one byte.
  const char16_t pieces[] = {u'a', u'a', u'a', u'a', u' ', u'=', u'\r', u'\n', u'~', u'\t', u'\u00e9'};
  std::mt19937 random(4);
  for (int round = 0; round < 1500; ++round) {
    std::u16string body;
    const std::size_t length = random() % 400;
    for (std::size_t k = 0; k < length; ++k) {
      const char16_t c = pieces[random() % std::size(pieces)];
      body.append(c == u'a' && random() % 4 == 0 ? 70 + random() % 10 : 1, c);
    }
    std::string escaped;
    for (char16_t c : body) {
      const bool plain = (c >= 0x20 && c <= 0x7D && c != u'=') || c == u'\r' || c == u'\n';
      escaped += plain ? std::string(1, char(c)) : (c == u'=' ? "=3D" : c == u'~' ? "=7E" : c == u'\t' ? "=09" : "=E9");
    }
    StringEncoding used = 0;
    const auto encoded = quotedPrintableStringForPlainTextBody(String(body), ISOLatin1StringEncoding, &used);
    ASSERT_EQ(used, ISOLatin1StringEncoding);
    ASSERT_EQ(utf8Of(encoded), splitByCharacterWalk(escaped)) << "round " << round;
  }
}

TEST(QuotedPrintableBodyEncoderTest, UTF8BodiesAgreeWithTheCharacterWalkAcrossLongRuns) {
  // Long runs of plain characters, cut by escapes of one to four UTF-8 bytes
  // and by line ends, in bodies long enough to be escaped in many pieces, so
  // that runs, escapes and lines straddle every boundary between them.
  struct Piece {
    std::u16string units;
    std::string escaped;
  };
  const Piece pieces[] = {{u"a", "a"},          {u"Zz09", "Zz09"},
                          {u" ", " "},          {u"%&'()*+,-./:;<>?_", "%&'()*+,-./:;<>?_"},
                          {u"=", "=3D"},        {u"!\"#$@[\\]^`{|}~", "=21=22=23=24=40=5B=5C=5D=5E=60=7B=7C=7D=7E"},
                          {u"\t", "=09"},       {u"\r", "\r"},
                          {u"\n", "\n"},       {u"\r\n", "\r\n"},
                          {u"\u00e9", "=C3=A9"}, {u"\u20ac", "=E2=82=AC"},
                          {u"\U0001F600", "=F0=9F=98=80"}};
  std::mt19937 random(11);
  for (int round = 0; round < 150; ++round) {
    std::u16string body;
    std::string escaped;
    const std::size_t length = random() % 3000;
    for (std::size_t k = 0; k < length; ++k) {
      const Piece& piece = pieces[random() % std::size(pieces)];
      const std::size_t times = piece.units == u"a" ? random() % 90 : 1;
      for (std::size_t t = 0; t < times; ++t) {
        body += piece.units;
        escaped += piece.escaped;
      }
    }
    StringEncoding used = 0;
    const auto encoded = quotedPrintableStringForPlainTextBody(String(body), UTF8StringEncoding, &used);
    ASSERT_EQ(used, UTF8StringEncoding);
    ASSERT_EQ(utf8Of(encoded), splitByCharacterWalk(escaped)) << "round " << round;
  }
}

TEST(QuotedPrintableBodyEncoderTest, UTF8LinesEndingRightAtTheLimitAgreeWithTheCharacterWalk) {
  // Lines whose end hangs on their last columns, repeated at every shift, so
  // that wherever the body is cut for escaping, some line is cut there.
  const std::pair<std::u16string, std::string> endings[] = {
      {u"\r\n", "\r\n"}, {u"\n", "\n"}, {u"\u00e9", "=C3=A9"}, {u"=", "=3D"}, {u" \n", " \n"}};
  for (const auto& [units, escapedEnding] : endings) {
    for (std::size_t width = 72; width <= 76; ++width) {
      for (std::size_t shift = 0; shift < width + escapedEnding.size(); ++shift) {
        std::u16string body(shift, u'a');
        std::string escaped(shift, 'a');
        for (int line = 0; line < 70; ++line) {
          body += std::u16string(width, u'b') + units;
          escaped += std::string(width, 'b') + escapedEnding;
        }
        const auto encoded = quotedPrintableStringForPlainTextBody(String(body), UTF8StringEncoding);
        ASSERT_EQ(utf8Of(encoded), splitByCharacterWalk(escaped)) << "width " << width << ", shift " << shift;
      }
    }
  }
}

TEST(QuotedPrintableBodyEncoderTest, BytesAndTextAgreeWhereTheEncoderCutsTheBodyIntoPieces) {
  // The encoder works a piece at a time (8192 characters of text, 4096 bytes
  // of bytes): a CR that might begin a CRLF, a surrogate pair and a final
  // space must come out the same wherever a cut falls.
  auto escape = [](std::string_view bytes) {
    std::string escaped;
    for (unsigned char c : bytes) {
      const bool plain = (c >= 0x20 && c <= 0x7D && std::string_view("=!\"#$@[\\]^`{|}~").find(char(c)) == std::string_view::npos) ||
                         c == '\r' || c == '\n';
      escaped += plain ? std::string(1, char(c)) : "=" + std::string(1, "0123456789ABCDEF"[c >> 4]) + "0123456789ABCDEF"[c & 15];
    }
    return escaped;
  };
  for (std::size_t cut : {4096u, 8192u}) {
    for (std::size_t at = cut - 3; at <= cut + 1; ++at) {
      for (const char* ending : {"\r\n", "\r", "\r\r\n", "\xF0\x9F\x98\x80", " "}) {
        for (const std::string& rest : {std::string(), std::string(100, 'b') + ending}) {
          const std::string body = std::string(at, 'a') + ending + rest;
          const std::string expected = splitByCharacterWalk(escape(body));
          std::string bytes = "kept:";
          appendQuotedPrintableBody(body, bytes);
          ASSERT_EQ(bytes, "kept:" + expected) << at << " " << escape(ending);
          ASSERT_EQ(utf8Of(quotedPrintableStringForPlainTextBody(*str(body), UTF8StringEncoding)), expected)
              << at << " " << escape(ending);
        }
      }
    }
  }
}

TEST(QuotedPrintableBodyEncoderTest, UnpairedSurrogatesLeaveUTF8ForSixteenBitUnicode) {
  // However far into a long body the stray half is, and whichever half it is;
  // with no charset asked for, there is no smallest-charset fallback either.
  const std::u16string plain(10000, u'a');
  for (const std::u16string& body : {plain + char16_t(0xD83D), char16_t(0xDE00) + plain,
                                     plain + char16_t(0xD83D) + u"b" + plain, plain + u"\U0001F600" + char16_t(0xDE00)}) {
    for (StringEncoding asked : {UTF8StringEncoding, StringEncoding(0)}) {
      StringEncoding used = 99;
      EXPECT_NE(quotedPrintableStringForPlainTextBody(String(body), asked, &used), nullptr);
      EXPECT_EQ(used, UnicodeStringEncoding) << asked;
    }
  }
}

TEST(MimeWordDecoderTest, QWordsDecodeInEitherCase) {
  StringEncoding used = 0;
  EXPECT_EQ(bytesOf(dataForMimeEncodedWord(*str("=?utf-8?q?caf=c3=A9?="), &used)), "caf\xC3\xA9");
  EXPECT_EQ(used, UTF8StringEncoding);
  EXPECT_EQ(utf8Of(stringWithMimeEncodedWord(*str("=?UTF-8?Q?caf=C3=A9?="))), "caf\u00e9");
  EXPECT_EQ(utf8Of(stringWithMimeEncodedWord(*str("=?utf-8?Q?a_b?="))), "a b");
  EXPECT_EQ(utf8Of(stringWithMimeEncodedWord(*str("=?iso-8859-2?Q?=F5?="))), "\u0151");
  EXPECT_EQ(bytesOf(dataForMimeEncodedWord(*str("=?iso-8859-1?Q?\u00ff?="))), "\xFF");
}

TEST(MimeWordDecoderTest, BWordsIgnoreStrayCharacters) {
  EXPECT_EQ(utf8Of(stringWithMimeEncodedWord(*str("=?UTF-8?B?Y2Fmw6k=?="))), "caf\u00e9");
  EXPECT_EQ(utf8Of(stringWithMimeEncodedWord(*str("=?utf-8?b?Y2F m\u00e9w6k*=?="))), "caf\u00e9");
  EXPECT_EQ(bytesOf(dataForMimeEncodedWord(*str("=?utf-8?B?Y2Fmw6k?="))), "(nil)");  // padding is required
  EXPECT_EQ(stringWithMimeEncodedWord(*str("=?utf-8?B?/w==?=")), nullptr);           // 0xFF is no UTF-8
  EXPECT_EQ(bytesOf(dataForMimeEncodedWord(*str("=?utf-8?B?/w==?="))), "\xFF");
}

TEST(MimeWordDecoderTest, MalformedWordsGiveNil) {
  for (const char* word :
       {"=?utf-8?Q?a=4?=", "=?utf-8?Q?a=4G?=", "=?utf-8?Q?a=?=", "=?x-unknown?Q?a?=", "=?utf-8?X?a?=", "=?utf-8?Q?=",
        "=?utf-8*en?Q?a?=", "utf-8?Q?a?=", "=?utf-8?Q?a", "=?utf-8?Q?", "=?\?=", "=?=", "=?abc?=", "=?utf-8?QQa?="}) {
    EXPECT_EQ(dataForMimeEncodedWord(*str(word)), nullptr) << word;
    EXPECT_EQ(stringWithMimeEncodedWord(*str(word)), nullptr) << word;
  }
  EXPECT_EQ(dataForMimeEncodedWord(*str("=?utf-8?Q?\u0100?=")), nullptr);
}

TEST(MimeWordDecoderTest, TheCharsetIsReportedOnceKnownEvenWhenDecodingFails) {
  StringEncoding used = 0;
  EXPECT_EQ(dataForMimeEncodedWord(*str("=?iso-8859-2?Q?a=4G?="), &used), nullptr);
  EXPECT_EQ(used, ISOLatin2StringEncoding);
  used = 0;
  EXPECT_EQ(dataForMimeEncodedWord(*str("=?nope?Q?a?="), &used), nullptr);
  EXPECT_EQ(used, 0u);
}

TEST(MimeWordDecoderTest, AQWordsTextEndsAtADecodedNul) {
  EXPECT_EQ(utf8Of(stringWithMimeEncodedWord(*str("=?utf-8?Q?ab=00cd?="))), "ab");
  EXPECT_EQ(bytesOf(dataForMimeEncodedWord(*str("=?utf-8?Q?ab=00cd?="))), std::string("ab\0cd", 5));
  EXPECT_EQ(utf8Of(stringWithMimeEncodedWord(*str("=?utf-8?B?YQBi?="))), std::string("a\0b", 3));
}

}  // namespace
}  // namespace tq
