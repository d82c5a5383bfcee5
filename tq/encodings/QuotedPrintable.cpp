// The quoted-printable decoder (and its Q variant for encoded words).

#include <array>
#include <cstring>
#include <string>

#include "tq/encodings/TransferEncodings.h"
#include "tq/platform/Dictionary.h"

namespace tq::FKQuotedPrintable {

namespace {

// Hex digit values, -1 for anything else; a table keeps the escape path
// free of branches on the digit's kind.
constexpr std::array<std::int8_t, 256> HexValues = [] {
  std::array<std::int8_t, 256> table{};
  for (auto& entry : table) entry = -1;
  for (int i = 0; i < 10; ++i) table['0' + i] = static_cast<std::int8_t>(i);
  for (int i = 0; i < 6; ++i) table['A' + i] = table['a' + i] = static_cast<std::int8_t>(10 + i);
  return table;
}();

int hexValue(unsigned char c) { return HexValues[c]; }

// The localized description of the malformed-escape error. No string table
// carries the key yet, and a lookup that finds nothing under an empty default
// answers the key itself, so that is the text.
Ref<Error> malformedError() {
  auto userInfo = make<MutableDictionary>();
  userInfo->setObject(str(MalformedQuotedPrintableKey), str(LocalizedDescriptionKey));
  return Error::errorWithDomain(ParserErrorDomain, MalformedQuotedPrintableError, userInfo);
}

}  // namespace

namespace {

constexpr std::uint64_t Ones = 0x0101010101010101ULL;
constexpr std::uint64_t Highs = 0x8080808080808080ULL;

// Whether any of the eight bytes of `word` equals `byte` (exact for "any").
inline bool hasByte(std::uint64_t word, unsigned char byte) {
  const std::uint64_t x = word ^ (Ones * byte);
  return ((x - Ones) & ~x & Highs) != 0;
}

}  // namespace

bool decodeQuotedPrintable(std::string_view input, std::uint64_t options, std::string& out) {
  // Decoding never lengthens the text, so the output is sized once and
  // written through a pointer; runs without "=" (or "_" in Q mode) are copied
  // eight bytes at a time.
  out.resize(input.size());
  char* o = out.data();
  const bool underscoreIsSpace = (options & QuotedPrintableDecodeUnderscoreAsSpace) != 0;
  const char* p = input.data();
  const char* const end = p + input.size();
  while (p < end) {
    while (end - p >= 8) {
      std::uint64_t word;
      std::memcpy(&word, p, 8);
      if (hasByte(word, '=') || (underscoreIsSpace && hasByte(word, '_'))) break;
      std::memcpy(o, &word, 8);
      o += 8;
      p += 8;
    }
    if (p >= end) break;
    const char c = *p;
    if (c != '=') {
      *o++ = (underscoreIsSpace && c == '_') ? ' ' : c;
      ++p;
      continue;
    }
    const auto h1 = static_cast<unsigned char>(p + 1 < end ? p[1] : 0);
    const auto h2 = static_cast<unsigned char>(p + 2 < end ? p[2] : 0);
    if (h1 == '\r' && h2 == '\n') {
      p += 3;  // soft line break
    } else if (h1 == '\n') {
      p += 2;  // soft line break written with a bare LF
    } else {
      const int high = hexValue(h1);
      const int low = hexValue(h2);
      if (high < 0 || low < 0) {
        out.clear();
        return false;
      }
      *o++ = static_cast<char>(high << 4 | low);
      p += 3;
    }
  }
  out.resize(static_cast<std::size_t>(o - out.data()));
  return true;
}

Ref<String> decodedQuotedPrintableStringWithEncoding(const Data& data, StringEncoding encoding, std::uint64_t options,
                                                     Ref<Error>* error) {
  std::string bytes;
  if (!decodeQuotedPrintable(data.view(), options, bytes)) {
    setError(error, malformedError());
    return nullptr;
  }
  return Charset::stringWithBytes(bytes, encoding);
}

}  // namespace tq::FKQuotedPrintable
