#include <gtest/gtest.h>

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

}  // namespace
}  // namespace tq
