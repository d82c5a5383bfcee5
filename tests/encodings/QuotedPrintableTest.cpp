#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <vector>

#include "tq/encodings/TransferEncodings.h"

namespace tq {
namespace {

using FKQuotedPrintable::decodedQuotedPrintableStringWithEncoding;

Ref<String> decodeQP(std::string_view bytes, std::uint64_t options = 0, Ref<Error>* error = nullptr,
                     StringEncoding encoding = UTF8StringEncoding) {
  return decodedQuotedPrintableStringWithEncoding(Data(bytes), encoding, options, error);
}

std::string utf8Of(const Ref<String>& text) { return text ? text->utf8() : "(nil)"; }

TEST(QuotedPrintableDecoderTest, EscapesAndSoftLineBreaks) {
  EXPECT_EQ(utf8Of(decodeQP("a=3Db")), "a=b");
  EXPECT_EQ(utf8Of(decodeQP("a=3db")), "a=b");
  EXPECT_EQ(utf8Of(decodeQP("a=\r\nb")), "ab");
  EXPECT_EQ(utf8Of(decodeQP("a=\nb")), "ab");
  EXPECT_EQ(utf8Of(decodeQP("caf=C3=A9")), "caf\u00e9");
  EXPECT_EQ(utf8Of(decodeQP("")), "");
  // Hard line breaks and the white space before them are kept.
  EXPECT_EQ(utf8Of(decodeQP("a  \r\nb\n")), "a  \r\nb\n");
}

TEST(QuotedPrintableDecoderTest, UnderscoreMeansSpaceOnlyInQMode) {
  EXPECT_EQ(utf8Of(decodeQP("a_b")), "a_b");
  EXPECT_EQ(utf8Of(decodeQP("a_b=5F", FKQuotedPrintable::QuotedPrintableDecodeUnderscoreAsSpace)), "a b_");
  // Long runs go through the eight-bytes-at-a-time path; the specials must be
  // found at every offset within a word.
  for (std::size_t at = 0; at < 17; ++at) {
    std::string input(24, 'x'), expected(24, 'x');
    input[at] = '_';
    expected[at] = ' ';
    EXPECT_EQ(utf8Of(decodeQP(input, FKQuotedPrintable::QuotedPrintableDecodeUnderscoreAsSpace)), expected) << at;
    EXPECT_EQ(utf8Of(decodeQP(input)), input) << at;
    input.replace(at, 1, "=3D");
    expected = input;
    expected.replace(at, 3, "=");
    EXPECT_EQ(utf8Of(decodeQP(input)), expected) << at;
  }
}

// Long texts are decoded a block at a time, every escape of a block at once;
// escapes and soft breaks must come out right at every column, including the
// last ones, where their bytes reach into the next block.
TEST(QuotedPrintableDecoderTest, EscapesAndBreaksAtEveryColumnOfALongText) {
  using FKQuotedPrintable::decodeQuotedPrintable;
  const std::uint64_t q = FKQuotedPrintable::QuotedPrintableDecodeUnderscoreAsSpace;
  for (std::size_t at = 0; at < 140; ++at) {
    SCOPED_TRACE(at);
    const std::string before(at, 'a'), after(150, 'z');
    std::string out;
    for (const auto& [escape, decoded] : {std::pair<std::string, std::string>{"=4A", "J"},
                                          {"=e9", "\xE9"},
                                          {"=\r\n", ""},
                                          {"=\n", ""},
                                          {"=\n=3D=\r\n_", "=_"},
                                          {"=3D=3D=41=\n", "==A"}}) {
      ASSERT_TRUE(decodeQuotedPrintable(before + escape + after, 0, out));
      EXPECT_EQ(out, before + decoded + after) << escape;
    }
    ASSERT_TRUE(decodeQuotedPrintable(before + "_=5F_" + after, q, out));
    EXPECT_EQ(out, before + " _ " + after);
    for (const char* malformed : {"=4G", "==41", "=\r=", "= \n", "=\r\r\n"}) {
      EXPECT_FALSE(decodeQuotedPrintable(before + malformed + after, 0, out)) << malformed;
      EXPECT_TRUE(out.empty());
    }
  }
}

TEST(QuotedPrintableDecoderTest, MalformedEscapesFailWithCode11) {
  for (const char* input : {"a=3", "a=G1", "a=", "a=\r", "a=\rb", "a= \r\n", "=\t\n"}) {
    Ref<Error> error;
    EXPECT_EQ(decodeQP(input, 0, &error), nullptr) << input;
    ASSERT_TRUE(error) << input;
    EXPECT_EQ(error->domain(), FKQuotedPrintable::ParserErrorDomain);
    EXPECT_EQ(error->code(), 11);
    EXPECT_EQ(error->localizedDescription(), "MALFORMED_QUOTED_PRINTABLE_STRING");
  }
  EXPECT_EQ(decodeQP("a=3"), nullptr);  // no error slot
}

TEST(QuotedPrintableDecoderTest, BytesTheCharsetCannotReadGiveNilWithoutAnError) {
  Ref<Error> error;
  EXPECT_EQ(decodeQP("=FF", 0, &error), nullptr);
  EXPECT_EQ(error, nullptr);
  EXPECT_EQ(utf8Of(decodeQP("=FF", 0, &error, ISOLatin1StringEncoding)), "\u00ff");
}

// Large outputs go to memory faulted in ahead of the writes; what the
// string held before, of whatever capacity, must leave no trace.
TEST(QuotedPrintableDecoderTest, LargeOutputsReplaceWhatTheStringHeld) {
  using FKQuotedPrintable::decodeQuotedPrintable;
  std::string input, expected;
  for (int line = 0; input.size() < 600000; ++line) {
    input += "line " + std::to_string(line) + " caf=C3=A9 =3D=\r\n\r\n";
    expected += "line " + std::to_string(line) + " caf\xC3\xA9 =\r\n";
  }
  for (std::string out : {std::string(), std::string(100, 'x'), std::string(2000000, 'y')}) {
    ASSERT_TRUE(decodeQuotedPrintable(input, 0, out));
    EXPECT_EQ(out, expected);
  }
  const Ref<String> text = decodeQP(input);
  ASSERT_TRUE(text);
  EXPECT_EQ(text->utf8(), expected);
}

// Long texts are turned into text a block of input at a time. Whatever falls
// on a block's edge (an escape, a soft break, a character whose bytes are
// escaped or raw) must decode exactly as the whole does, through the charset
// service; the sweep crosses the edge of the first blocks of every plausible
// size.
TEST(QuotedPrintableDecoderTest, LongTextsDecodeAsTheirBytesWhateverFallsOnABlockEdge) {
  using FKQuotedPrintable::decodeQuotedPrintable;
  const std::vector<std::pair<std::string, StringEncoding>> pieces = {
      {"=E2=82=AC", UTF8StringEncoding},       {"\xE2\x82\xAC", UTF8StringEncoding},
      {"=F0=9F=93=AC", UTF8StringEncoding},    {"=C3=A9=\r\n=C3=A9", UTF8StringEncoding},
      {"=E2=\n=82=AC", UTF8StringEncoding},    {"=ED=A0=80", UTF8StringEncoding},
      {"=E2=82", UTF8StringEncoding},          {"=3D=\r\n", ASCIIStringEncoding},
      {"=E9", ASCIIStringEncoding},            {"=E9=\n", ISOLatin1StringEncoding},
      {"=80=81", WindowsCP1252StringEncoding}, {"=80", WindowsCP1252StringEncoding}};
  for (std::size_t blockSize : {std::size_t{4096}, std::size_t{8192}, std::size_t{16384}, std::size_t{65536}}) {
    for (std::size_t at = blockSize - 14; at < blockSize + 4; ++at) {
      for (const auto& [piece, encoding] : pieces) {
        const std::string input = std::string(at, 'a') + piece + std::string(300, 'z') + piece;
        std::string bytes;
        ASSERT_TRUE(decodeQuotedPrintable(input, 0, bytes));
        const Ref<String> expected = Charset::stringWithBytes(bytes, encoding);
        Ref<Error> error;
        const Ref<String> decoded = decodeQP(input, 0, &error, encoding);
        EXPECT_EQ(error, nullptr);
        ASSERT_EQ(expected == nullptr, decoded == nullptr) << at << " " << piece;
        if (expected) EXPECT_TRUE(decoded->isEqualToString(*expected)) << at << " " << piece;
      }
    }
  }
}

// The error of a malformed escape wins over bytes the charset cannot read,
// even when those come first and the escape lies blocks later.
TEST(QuotedPrintableDecoderTest, AMalformedEscapeLateInALongTextStillGivesTheError) {
  for (const char* unreadable : {"=FF", "\xFF"}) {
    const std::string input = std::string("a") + unreadable + std::string(100000, 'b') + "=G1" + "c";
    Ref<Error> error;
    EXPECT_EQ(decodeQP(input, 0, &error), nullptr);
    ASSERT_TRUE(error);
    EXPECT_EQ(error->code(), 11);
  }
  Ref<Error> error;
  EXPECT_EQ(decodeQP("=FF" + std::string(100000, 'b'), 0, &error), nullptr);
  EXPECT_EQ(error, nullptr);
  const std::string q = std::string(70000, '_') + "=5F";
  EXPECT_EQ(utf8Of(decodeQP(q, FKQuotedPrintable::QuotedPrintableDecodeUnderscoreAsSpace)),
            std::string(70000, ' ') + "_");
}

}  // namespace
}  // namespace tq
