#include "tq/platform/archive/internal/TextConversion.h"

#include <cstdint>
#include <cstring>

#include "tq/platform/value/String.h"

namespace tq::plist_detail {

namespace {

// The length of the ASCII prefix, eight bytes at a time.
std::size_t asciiPrefix(const unsigned char* bytes, std::size_t length) {
  std::size_t at = 0;
  for (; at + 8 <= length; at += 8) {
    std::uint64_t word;
    std::memcpy(&word, bytes + at, 8);
    if (word & 0x8080808080808080u) break;
  }
  while (at < length && bytes[at] < 0x80) ++at;
  return at;
}

bool isTrail(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Decodes one well-formed sequence of two to four bytes (the ranges of the
// Unicode standard's table of well-formed byte sequences: no overlong forms,
// no surrogates, nothing above U+10FFFF) starting at `at`, writes its units
// and answers the bytes it took; 0 when the sequence is ill-formed.
std::size_t decodeSequence(const unsigned char* bytes, std::size_t length, std::size_t at, char16_t*& out) {
  const unsigned lead = bytes[at];
  const std::size_t left = length - at;
  if (lead >= 0xC2 && lead <= 0xDF) {
    if (left < 2 || !isTrail(bytes[at + 1])) return 0;
    *out++ = char16_t((lead & 0x1F) << 6 | (bytes[at + 1] & 0x3F));
    return 2;
  }
  if (lead >= 0xE0 && lead <= 0xEF) {
    if (left < 3) return 0;
    const unsigned second = bytes[at + 1];
    const unsigned low = lead == 0xE0 ? 0xA0 : 0x80, high = lead == 0xED ? 0x9F : 0xBF;
    if (second < low || second > high || !isTrail(bytes[at + 2])) return 0;
    *out++ = char16_t((lead & 0x0F) << 12 | (second & 0x3F) << 6 | (bytes[at + 2] & 0x3F));
    return 3;
  }
  if (lead >= 0xF0 && lead <= 0xF4) {
    if (left < 4) return 0;
    const unsigned second = bytes[at + 1];
    const unsigned low = lead == 0xF0 ? 0x90 : 0x80, high = lead == 0xF4 ? 0x8F : 0xBF;
    if (second < low || second > high || !isTrail(bytes[at + 2]) || !isTrail(bytes[at + 3])) return 0;
    const std::uint32_t code =
        (lead & 0x07) << 18 | (second & 0x3F) << 12 | (bytes[at + 2] & 0x3F) << 6 | (bytes[at + 3] & 0x3F);
    *out++ = char16_t(0xD7C0 + (code >> 10));
    *out++ = char16_t(0xDC00 | (code & 0x3FF));
    return 4;
  }
  return 0;
}

}  // namespace

std::u16string utf16FromUTF8(std::string_view utf8) {
  const auto* bytes = reinterpret_cast<const unsigned char*>(utf8.data());
  const std::size_t length = utf8.size();
  const std::size_t ascii = asciiPrefix(bytes, length);

  // Well-formed text has one unit per byte that is not a trail byte, and a
  // second one for each four-byte lead. Every sequence decoded before an
  // ill-formed one is met writes exactly what it counted, so the count is
  // never exceeded; the ill-formed text is then handed over whole.
  std::size_t units = ascii;
  for (std::size_t at = ascii; at < length; ++at) units += !isTrail(bytes[at]) + (bytes[at] >= 0xF0);

  std::u16string result(units, u'\0');
  char16_t* out = result.data();
  for (std::size_t at = 0; at < ascii; ++at) *out++ = bytes[at];
  for (std::size_t at = ascii; at < length;) {
    if (bytes[at] < 0x80) {
      *out++ = bytes[at++];
      continue;
    }
    const std::size_t taken = decodeSequence(bytes, length, at, out);
    if (taken == 0) return utf8ToUTF16(utf8);
    at += taken;
  }
  return result;
}

}  // namespace tq::plist_detail
