#include <gtest/gtest.h>

#include "tq/encodings/TransferEncodings.h"

namespace tq {
namespace {

std::string decoded(std::string_view text, std::int64_t options = 0) {
  auto data = TQ_dispatch_data_decode_base64Bytes(text, options);
  return data ? std::string(data->createMap().view()) : "(nil)";
}

std::string decodedText(const std::string& text, std::int64_t options = 0) {
  auto data = TQ_dispatch_data_decode_base64String(*str(text), options);
  return data ? std::string(data->createMap().view()) : "(nil)";
}

TEST(Base64DecoderTest, PaddingIsOptionalAndTheEndMarkerStops) {
  EXPECT_EQ(decoded("QUJD"), "ABC");
  EXPECT_EQ(decoded("QUI"), "AB");
  EXPECT_EQ(decoded("QQ"), "A");
  EXPECT_EQ(decoded("QQ=="), "A");
  EXPECT_EQ(decoded("Q"), "");
  EXPECT_EQ(decoded("QUJD=ignored!"), "ABC");
  EXPECT_EQ(decoded("QUJDRA"), "ABCD");
  EXPECT_EQ(decoded(""), "");
  EXPECT_NE(TQ_dispatch_data_decode_base64Bytes("", 0), nullptr);
}

TEST(Base64DecoderTest, TheTableSkipsTabLFSpaceAnd0x0EButNotCR) {
  EXPECT_EQ(decoded("QU JD"), "ABC");
  EXPECT_EQ(decoded("QU\tJD"), "ABC");
  EXPECT_EQ(decoded("QU\nJD"), "ABC");
  EXPECT_EQ(decoded("QU\x0eJD"), "ABC");
  EXPECT_EQ(decoded("QU\r\nJD"), "(nil)");
  EXPECT_EQ(decoded("QU\r\nJD", Base64DecodeIgnoreInvalid), "ABC");
  EXPECT_EQ(decoded("QU\x0fJD"), "(nil)");
  EXPECT_EQ(decoded("QU!JD*", Base64DecodeIgnoreInvalid), "ABC");
}

TEST(Base64DecoderTest, URLSafeAlphabet) {
  EXPECT_EQ(decoded("-_8", Base64DecodeURLSafe), "\xFB\xFF");
  EXPECT_EQ(decoded("+/8", Base64DecodeURLSafe), "(nil)");
  EXPECT_EQ(decoded("+/8", Base64DecodeURLSafe | Base64DecodeIgnoreInvalid), "");
  EXPECT_EQ(decoded("+/8"), "\xFB\xFF");
  EXPECT_EQ(decoded("-_8"), "(nil)");
}

TEST(Base64DecoderTest, LargeOutputComesInChunksWhoseConcatenationIsExact) {
  std::string bytes;
  for (int i = 0; i < 30000; ++i) bytes.push_back(static_cast<char>(i * 7 + i / 256));
  const std::string text = Base64::encode(bytes);
  auto data = TQ_dispatch_data_decode_base64Bytes(text, 0);
  ASSERT_TRUE(data);
  EXPECT_EQ(std::string(data->createMap().view()), bytes);
  ASSERT_EQ(data->regionCount(), 4u);
  EXPECT_EQ(data->regions()[0].length, Base64DecodeChunkSize);
  EXPECT_EQ(data->regions()[3].length, 30000 - 3 * Base64DecodeChunkSize);

  // Wrapped at 76 columns, and with stray bytes in lenient mode, the same bytes.
  std::string wrapped;
  for (std::size_t i = 0; i < text.size(); i += 76) wrapped += text.substr(i, 76) + "\n";
  EXPECT_EQ(decoded(wrapped), bytes);
  std::string crlf;
  for (std::size_t i = 0; i < text.size(); i += 76) crlf += text.substr(i, 76) + "\r\n";
  EXPECT_EQ(decoded(crlf), "(nil)");
  EXPECT_EQ(decoded(crlf, Base64DecodeIgnoreInvalid), bytes);
  // Odd offsets of the skip bytes exercise the careful path around the fast one.
  std::string ragged;
  for (std::size_t i = 0; i < text.size(); i += 13) ragged += text.substr(i, 13) + " ";
  EXPECT_EQ(decoded(ragged), bytes);
}

// Wrapped text is decoded by predicting where each next line break falls;
// every way a prediction can go wrong must still give the bytes (or the nil)
// that the rules give.
TEST(Base64DecoderTest, WrappedTextAtAnyWidthWithLinesThatBreakThePattern) {
  std::string bytes;
  for (int i = 0; i < 20000; ++i) bytes.push_back(static_cast<char>(i * 31 + i / 97));
  const std::string text = Base64::encode(bytes);
  auto wrap = [&](std::size_t width, std::string_view lineEnd) {
    std::string out;
    for (std::size_t i = 0; i < text.size(); i += width) out.append(text, i, width).append(lineEnd);
    return out;
  };
  for (std::size_t width : {20, 35, 36, 37, 63, 64, 65, 76, 96, 97, 200}) {
    SCOPED_TRACE(width);
    EXPECT_EQ(decoded(wrap(width, "\n")), bytes);
    EXPECT_EQ(decoded(wrap(width, "\t")), bytes);
    EXPECT_EQ(decoded(wrap(width, " \n")), bytes);
    EXPECT_EQ(decoded(wrap(width, "\r\n"), Base64DecodeIgnoreInvalid), bytes);
    EXPECT_EQ(decoded(wrap(width, "\r\n")), "(nil)");

    // One line a digit short, then one a digit long: every later break is
    // one place off the pattern learnt before it.
    std::string shifted = wrap(width, "\n");
    const std::size_t line = 40 * (width + 1);
    std::swap(shifted[line + width - 1], shifted[line + width]);
    EXPECT_EQ(decoded(shifted), bytes);
    // A break of other bytes where one is expected.
    std::string other = wrap(width, "\n");
    other[line + width] = ' ';
    EXPECT_EQ(decoded(other), bytes);
    other[line + width] = '!';
    EXPECT_EQ(decoded(other), "(nil)");
    EXPECT_EQ(decoded(other, Base64DecodeIgnoreInvalid), bytes);
    // A second break, and the end marker, next to an expected one.
    std::string doubled = wrap(width, "\n");
    doubled.insert(line + width, "\n\n");
    EXPECT_EQ(decoded(doubled), bytes);
    std::string ended = wrap(width, "\n");
    ended.insert(line + width + 1, "=");
    EXPECT_EQ(decoded(ended), decoded(text.substr(0, 41 * width)));
  }
}

TEST(Base64DecoderTest, TextEntryPointsReadUpToTheFirstNul) {
  EXPECT_EQ(decodedText(std::string("QUJD\0QUJD", 9)), "ABC");
  EXPECT_EQ(decodedText("QU\u00e9JD"), "(nil)");
  EXPECT_EQ(decodedText("QU\u00e9JD", Base64DecodeIgnoreInvalid), "ABC");
  auto lenient = Base64::dataFromBase64String(*str("QU\r\nJD"));
  ASSERT_TRUE(lenient);
  EXPECT_EQ(std::string(lenient->createMap().view()), "ABC");
}

TEST(Base64DecoderTest, ChainedDataIsDecodedRegionByRegion) {
  auto data = ChainedData::concat(ChainedData::create("QUJD"), ChainedData::create("REVG"));
  EXPECT_EQ(std::string(TQ_dispatch_data_decode_base64(*data, 0)->createMap().view()), "ABCDEF");
  // A group straddling two regions is not joined: each region is a whole text.
  auto split = ChainedData::concat(ChainedData::create("QU"), ChainedData::create("JD"));
  EXPECT_EQ(std::string(TQ_dispatch_data_decode_base64(*split, 0)->createMap().view()), "A$");
  // A failing region ends the walk; what came before is kept.
  auto failing = ChainedData::concat(ChainedData::concat(ChainedData::create("QUJD"), ChainedData::create("!!")),
                                     ChainedData::create("REVG"));
  EXPECT_EQ(std::string(TQ_dispatch_data_decode_base64(*failing, 0)->createMap().view()), "ABC");
  EXPECT_EQ(TQ_dispatch_data_decode_base64(*ChainedData::empty(), 0)->size(), 0u);
}

TEST(Base64StandardTest, EncodingAndThePathSafeVariant) {
  const Data bytes(std::string_view("\xFB\xFF"));
  EXPECT_EQ(Base64::FKbase64EncodedStringWithOptions(bytes, 0)->utf8(), "+/8=");
  EXPECT_EQ(Base64::FKbase64EncodedStringWithOptions(bytes, 1 | 16)->utf8(), "+/8=");  // options ignored
  EXPECT_EQ(Base64::pathSafeBase64EncodedString(bytes)->utf8(), "_-8=");
  // Kept mismatch: path-safe text read with the URL-safe option gives other bytes.
  EXPECT_EQ(std::string(TQ_dispatch_data_decode_base64Bytes("_-8=", Base64DecodeURLSafe)->createMap().view()),
            "\xFF\xEF");
  EXPECT_EQ(Base64::encode(""), "");
  EXPECT_EQ(Base64::encode("A"), "QQ==");
  EXPECT_EQ(Base64::encode(std::string(60, 'x')).find('\n'), std::string::npos);
  EXPECT_EQ(Base64::base64EncodedString(*str("caf\u00e9"))->utf8(), "Y2Fmw6k=");
  EXPECT_EQ(Base64::pathSafeBase64EncodedString(*str("\u00fb\u00ff"))->utf8(), "w7vDvw==");
}

TEST(Base64StandardTest, StringDecodingAcceptsBothAlphabetsStrictly) {
  auto decodeString = [](const char* text) {
    auto result = Base64::base64DecodedString(*str(text));
    return result ? result->utf8() : "(nil)";
  };
  EXPECT_EQ(decodeString("Y2Fmw6k="), "caf\u00e9");
  const std::string pathSafe = Base64::pathSafeBase64EncodedString(*str("\u00fb?>~"))->utf8();
  EXPECT_EQ(decodeString(pathSafe.c_str()), "\u00fb?>~");
  EXPECT_EQ(decodeString("Y2Fm\nw6k="), "(nil)");
  EXPECT_EQ(decodeString("Y2Fmw6k"), "(nil)");   // padding is required
  EXPECT_EQ(decodeString("/w=="), "(nil)");      // not UTF-8
  EXPECT_EQ(decodeString("QQ==QQ=="), "(nil)");  // digits after padding
  EXPECT_EQ(decodeString(""), "");
}

}  // namespace
}  // namespace tq
