// tqkit's streaming codecs: reading in blocks must give exactly what the
// library's cores give for the whole input, whatever falls on a block
// boundary, and each text decoder command reads back its encoder's line.

#include <array>

#include "tests/tools/TqkitTestSupport.h"
#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/QuotedPrintableBody.h"
#include "tq/encodings/TransferEncodings.h"

namespace tq::testing {
namespace {

using TqkitStreaming = TqkitTest;

// Sizes around the block boundaries, where a group, an escape or a
// character is cut in two.
std::vector<std::size_t> sizesAroundBlocks() {
  std::vector<std::size_t> sizes{0, 1, 2, 3, 4, 57, 1000};
  for (std::size_t blocks : {1, 2, 3}) {
    for (int delta = -4; delta <= 4; ++delta) sizes.push_back(blocks * tqkit::BlockSize + delta);
  }
  return sizes;
}

std::string wrapped(const std::string& text, std::size_t width) {
  std::string lines;
  for (std::size_t i = 0; i < text.size(); i += width) lines += text.substr(i, width) + "\n";
  return lines;
}

TEST_F(TqkitStreaming, Base64GivesTheWholeInputsEncodingAndDecodesItBack) {
  for (std::size_t size : sizesAroundBlocks()) {
    const std::string bytes = randomBytes(size, unsigned(size));
    const std::string whole = Base64::encode(bytes);
    const InProcessResult lines = runInProcess({"base64", "encode"}, bytes);
    EXPECT_EQ(lines.out, wrapped(whole, 76)) << size;
    EXPECT_EQ(runInProcess({"base64", "encode", "--wrap=5"}, bytes).out, wrapped(whole, 5)) << size;
    EXPECT_EQ(runInProcess({"base64", "decode"}, lines.out).out, bytes) << size;

    const InProcessResult pathSafe = runInProcess({"base64", "encode", "-w0", "--path-safe"}, bytes);
    EXPECT_EQ(pathSafe.out, Base64::pathSafeBase64EncodedString(Data(bytes))->utf8()) << size;
    EXPECT_EQ(runInProcess({"base64", "decode", "--path-safe"}, pathSafe.out).out, bytes) << size;
  }
}

TEST_F(TqkitStreaming, Base64AgreesWithCoreutils) {
  TQKIT_REQUIRE_BINARY();
  const std::string file = write("input.bin", randomBytes(3 * tqkit::BlockSize + 5, 11));
  const CommandResult coreutils = runCommand("base64 " + shellQuoted(file));
  const BinaryResult ours = runBinary("base64 encode " + shellQuoted(file));
  EXPECT_EQ(ours.out, coreutils.output);
  const CommandResult unwrapped = runCommand("base64 -w 0 " + shellQuoted(file));
  EXPECT_EQ(runBinary("base64 encode -w 0 " + shellQuoted(file)).out, unwrapped.output);
}

TEST_F(TqkitStreaming, Base64DecodingMatchesTheWholeDecodeOnAwkwardText) {
  // Line breaks, blanks and (lenient) junk between the digits of a group that
  // a block boundary cuts; an "=" that ends the text early.
  std::string text;
  const std::string digits = Base64::encode(randomBytes(200000, 5));
  for (std::size_t i = 0; i < digits.size(); ++i) {
    text += digits[i];
    if (i % 61 == 0) text += "\n";
    if (i % 97 == 0) text += " \t";
  }
  for (std::int64_t options : {std::int64_t(0), tq::Base64DecodeIgnoreInvalid}) {
    std::string input = text;
    if (options) {
      for (std::size_t i = 500; i < input.size(); i += 1013) input.insert(i, "*\r");
    }
    std::string expected;
    TQ_dispatch_data_decode_base64Bytes(input, options)
        ->applyRegions([&](const std::uint8_t* b, std::size_t, std::size_t n) {
          expected.append(reinterpret_cast<const char*>(b), n);
          return true;
        });
    std::vector<std::string> words{"base64", "decode"};
    if (options) words.push_back("--lenient");
    const InProcessResult result = runInProcess(words, input);
    EXPECT_EQ(result.status, 0) << result.err;
    EXPECT_EQ(result.out.size(), expected.size());
    EXPECT_TRUE(result.out == expected) << "lenient " << options;
  }
  // A CR anywhere fails the strict decode, however far in.
  std::string late = text;
  late.insert(2 * tqkit::BlockSize + 3, "\r");
  EXPECT_EQ(runInProcess({"base64", "decode"}, late).status, 1);
  // Everything after the end marker is ignored, as by the whole decode.
  EXPECT_EQ(runInProcess({"base64", "decode"}, "QUI=" + std::string(tqkit::BlockSize, '!')).out, "AB");
}

TEST_F(TqkitStreaming, QuotedPrintableGivesTheWholeInputsCodingBothWays) {
  // Text with escapes, soft breaks and long lines, whatever the boundary cuts.
  for (std::size_t size : sizesAroundBlocks()) {
    const std::string bytes = randomBytes(size, unsigned(size) + 1);
    std::string encoded;
    MimeEncoding::appendQuotedPrintableBody(bytes, encoded);
    const InProcessResult ours = runInProcess({"qp", "encode"}, bytes);
    EXPECT_EQ(ours.status, 0);
    EXPECT_TRUE(ours.out == encoded) << size;

    std::string decoded;
    ASSERT_TRUE(FKQuotedPrintable::decodeQuotedPrintable(encoded, 0, decoded));
    const InProcessResult back = runInProcess({"qp", "decode"}, ours.out);
    EXPECT_EQ(back.status, 0) << back.err;
    EXPECT_TRUE(back.out == decoded) << size;
  }
  // A line longer than any block: cut between escapes, never inside one.
  std::string longLine;
  while (longLine.size() < 3 * 1024 * 1024) longLine += "ab=3D=C3=A9 ";
  std::string expected;
  ASSERT_TRUE(FKQuotedPrintable::decodeQuotedPrintable(longLine, 0, expected));
  EXPECT_TRUE(runInProcess({"qp", "decode"}, longLine).out == expected);
}

TEST_F(TqkitStreaming, EncodeBodyStreamsWhatTheLibraryGivesForTheWholeText) {
  // Multi-byte characters fall on every block boundary; a UTF-8 body is
  // encoded from its bytes, one in another charset goes through text.
  std::string body;
  while (body.size() < 3 * tqkit::BlockSize)
    body +=
        "Gr\xC3\xBC\xC3\x9F"
        "e \xE2\x82\xAC\xF0\x9F\x98\x80 x\r\n";
  const std::string bodies[] = {body, "caf\xC3\xA9 =x\r\n" + std::string(100, 'x') + "\nend \n", "trailing space ",
                                "\xF0\x9F\x98\x80\r\rcr", ""};
  for (const std::string& text : bodies) {
    for (const char* charset : {"utf-8", "iso-8859-1"}) {
      const auto expected = MimeEncoding::quotedPrintableStringForPlainTextBody(
          *str(text), Charset::encodingForIANAName(std::string_view(charset)));
      const InProcessResult result = runInProcess({"mime", "encode-body", "--charset", charset}, text);
      EXPECT_EQ(result.status, 0) << result.err;
      EXPECT_TRUE(result.out == expected->utf8() + "\n") << charset << ": " << text.substr(0, 40);
    }
  }
  // The header decoder's --sploit reports a NUL smuggled in a word.
  const InProcessResult header = runInProcess({"mime", "decode-header", "--sploit"}, "=?utf-8?Q?a=00b?= c\n");
  EXPECT_EQ(header.status, 0);
  EXPECT_EQ(header.out, "a\\0b c\nsploited: yes\n");
}

TEST_F(TqkitStreaming, EachTextEncodersLineComesBackThroughItsDecoder) {
  const std::string text = "Entw\xC3\xBCrfe & <caf\xC3\xA9> \xE2\x82\xAC \xF0\x9F\x98\x80 =?x?=";
  const std::vector<std::array<std::vector<std::string>, 2>> pairs = {
      {{{"utf7", "encode"}, {"utf7", "decode"}}},
      {{{"mime", "encode-word"}, {"mime", "decode-word"}}},
      {{{"html", "escape", "--table", "ascii"}, {"html", "decode"}}},
  };
  for (const auto& [encoder, decoder] : pairs) {
    // HTML references are decoded up to 65534 only: the emoji would stay a
    // reference (the library's decoder, kept as it is).
    const std::string input = encoder[0] == "html" ? text.substr(0, text.find("\xF0")) : text;
    auto encodeWords = encoder;
    encodeWords.push_back(input);
    const InProcessResult encoded = runInProcess(encodeWords);
    ASSERT_EQ(encoded.status, 0) << encoder[0] << " " << encoder[1] << ": " << encoded.err;
    EXPECT_NE(encoded.out, input + "\n");
    const InProcessResult decoded = runInProcess(decoder, encoded.out);
    EXPECT_EQ(decoded.status, 0) << decoded.err;
    EXPECT_EQ(decoded.out, input + "\n") << encoder[0] << " " << encoder[1];
  }
}

}  // namespace
}  // namespace tq::testing
