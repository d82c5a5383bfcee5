#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "tq/encodings/internal/PiecewiseText.h"

namespace tq {
namespace {

using detail::PiecewiseText;

// The text of `bytes` given in pieces cut at `cuts` (increasing positions).
Ref<String> inPieces(std::string_view bytes, StringEncoding encoding, const std::vector<std::size_t>& cuts) {
  PiecewiseText text(encoding, bytes.size());
  std::size_t from = 0;
  bool ok = true;
  for (std::size_t cut : cuts) {
    ok = ok && text.append(bytes.substr(from, cut - from));
    from = cut;
  }
  ok = ok && text.append(bytes.substr(from));
  return ok ? text.finish() : nullptr;
}

// What the charset service answers for the bytes given whole: the pieces must
// agree with it, nil for nil and unit for unit.
void expectSameAsWhole(std::string_view bytes, StringEncoding encoding, const std::vector<std::size_t>& cuts) {
  const Ref<String> whole = Charset::stringWithBytes(bytes, encoding);
  const Ref<String> pieces = inPieces(bytes, encoding, cuts);
  ASSERT_EQ(whole == nullptr, pieces == nullptr) << "bytes of size " << bytes.size();
  if (whole) EXPECT_EQ(whole->utf16(), pieces->utf16());
}

// UTF-8 that is well-formed, and each way it can be ill-formed.
const std::vector<std::string>& utf8Samples() {
  static const std::vector<std::string> samples = {
      "caf\xC3\xA9",            // two bytes
      "\xE2\x82\xAC",           // three bytes
      "\xF0\x9F\x93\xAC",       // four bytes: a surrogate pair
      "\xEF\xBF\xBF",           // a noncharacter: well-formed
      "\xC0\x80",               // overlong NUL
      "\xC1\xBF",               // overlong
      "\xE0\x80\xAF",           // overlong three-byte form
      "\xF0\x80\x80\xAF",       // overlong four-byte form
      "\xED\xA0\x80",           // a lead surrogate
      "\xED\xBF\xBF",           // a trail surrogate
      "\xF4\x90\x80\x80",       // past U+10FFFF
      "\xF5\x80\x80\x80",       // a lead byte that begins nothing
      "\x80",                   // a lone trail byte
      "\xC3",                   // cut short at the very end
      "\xE2\x82",               // cut short at the very end
      "\xF0\x9F\x93",           // cut short at the very end
      "\xE2\x82x",              // cut short by an ASCII byte
      "\xC3\xA9\xFF",           // a byte never seen in UTF-8
  };
  return samples;
}

TEST(PiecewiseTextTest, UTF8AgreesWithTheWholeTextWhereverThePiecesAreCut) {
  // Each sample after an ASCII run of every length up to past the widest
  // vector block, so that it meets each loop at each offset, then cut at every
  // place, and once into single bytes.
  for (const std::string& sample : utf8Samples()) {
    for (std::size_t lead = 0; lead < 140; lead += (lead < 70 ? 1 : 13)) {
      const std::string bytes = std::string(lead, 'a') + sample + std::string(lead % 37, 'z');
      SCOPED_TRACE(testing::Message() << "sample of " << sample.size() << " bytes after " << lead);
      expectSameAsWhole(bytes, UTF8StringEncoding, {});
      for (std::size_t cut = 0; cut <= bytes.size(); ++cut) expectSameAsWhole(bytes, UTF8StringEncoding, {cut});
    }
    std::vector<std::size_t> everyByte;
    for (std::size_t at = 1; at < sample.size() + 2; ++at) everyByte.push_back(at);
    expectSameAsWhole("x" + sample + "y", UTF8StringEncoding, everyByte);
  }
}

TEST(PiecewiseTextTest, AnUnfinishedCharacterOrAFailedPieceGivesNil) {
  PiecewiseText unfinished(UTF8StringEncoding, 8);
  ASSERT_TRUE(unfinished.append("ab\xE2\x82"));
  EXPECT_EQ(unfinished.finish(), nullptr);
  PiecewiseText spoilt(ASCIIStringEncoding, 8);  // a failed piece spoils the rest
  EXPECT_FALSE(spoilt.append("\xE9"));
  EXPECT_FALSE(spoilt.append("abc"));
  EXPECT_EQ(spoilt.finish(), nullptr);
}

TEST(PiecewiseTextTest, SingleByteCharsetsReadEveryByteAsTheCharsetServiceDoes) {
  std::string everyByte;
  for (int byte = 0; byte < 256; ++byte) everyByte.push_back(static_cast<char>(byte));
  for (StringEncoding encoding : {ASCIIStringEncoding, ISOLatin1StringEncoding, WindowsCP1252StringEncoding,
                                  ISOLatin9StringEncoding, ISOLatin2StringEncoding, WindowsCP1250StringEncoding,
                                  WindowsCP1251StringEncoding, WindowsCP1253StringEncoding,
                                  WindowsCP1254StringEncoding, KOI8RStringEncoding}) {
    SCOPED_TRACE(encoding);
    ASSERT_TRUE(PiecewiseText(encoding, 1).readsPieces());
    for (int byte = 0; byte < 256; ++byte) {
      const std::string bytes = std::string(byte % 70, 'a') + everyByte[byte] + "tail";
      expectSameAsWhole(bytes, encoding, {bytes.size() / 2});
    }
    expectSameAsWhole(everyByte.substr(0, 128), encoding, {64});
  }
  // Known answers, so that both sides cannot be wrong together: windows-1252
  // has the euro sign at 0x80; windows-1253 leaves 0xD2 undefined.
  EXPECT_EQ(inPieces("\x80", WindowsCP1252StringEncoding, {})->utf16(), u"\u20AC");
  EXPECT_EQ(inPieces("a\xD2", WindowsCP1253StringEncoding, {}), nullptr);
  EXPECT_EQ(inPieces("\xE1", WindowsCP1253StringEncoding, {})->utf16(), u"\u03B1");
  EXPECT_EQ(inPieces("\xE9t\xE9", ISOLatin1StringEncoding, {1})->utf16(), u"\u00E9t\u00E9");
}

TEST(PiecewiseTextTest, StatefulAndMultiByteCharsetsAreLeftToTheWholeText) {
  for (StringEncoding encoding : {ShiftJISStringEncoding, ISO2022JPStringEncoding, UnicodeStringEncoding,
                                  UTF16BigEndianStringEncoding, GB18030StringEncoding, NoStringEncoding}) {
    PiecewiseText text(encoding, 4);
    EXPECT_FALSE(text.readsPieces()) << encoding;
    EXPECT_FALSE(text.append("ab")) << encoding;
  }
}

}  // namespace
}  // namespace tq
