// The quoted-printable decoder (and its Q variant for encoded words).

#include <immintrin.h>

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

// Flags (top bit of each byte) the bytes of `word` equal to `byte`; the
// lowest flag is exact, so it gives the first such byte.
inline std::uint64_t matches(std::uint64_t word, unsigned char byte) {
  const std::uint64_t x = word ^ (Ones * byte);
  return (x - Ones) & ~x & Highs;
}

// Copies plain bytes until the first "=" (or "_" when `underscore`), eight at
// a time; answers how many bytes were plain. Never reads past `end` and
// never writes more than it read.
inline std::size_t copyPlainSWAR(const char* p, const char* end, char* o, bool underscore) {
  std::size_t done = 0;
  while (end - p - done >= 8) {
    std::uint64_t word;
    std::memcpy(&word, p + done, 8);
    const std::uint64_t hit = matches(word, '=') | (underscore ? matches(word, '_') : 0);
    std::memcpy(o + done, &word, 8);
    if (hit) return done + static_cast<std::size_t>(__builtin_ctzll(hit) / 8);
    done += 8;
  }
  return done;
}

#if defined(__x86_64__)
// The same with AVX2, 32 bytes at a time.
__attribute__((target("avx2"))) std::size_t copyPlainAVX2(const char* p, const char* end, char* o, bool underscore) {
  const __m256i equals = _mm256_set1_epi8('=');
  const __m256i under = _mm256_set1_epi8(underscore ? '_' : '=');
  std::size_t done = 0;
  while (end - p - done >= 32) {
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + done));
    const auto hit = static_cast<std::uint32_t>(
        _mm256_movemask_epi8(_mm256_or_si256(_mm256_cmpeq_epi8(x, equals), _mm256_cmpeq_epi8(x, under))));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + done), x);
    if (hit) return done + static_cast<std::size_t>(__builtin_ctz(hit));
    done += 32;
  }
  return done + copyPlainSWAR(p + done, end, o + done, underscore);
}

bool haveAVX2() {
  static const bool available = __builtin_cpu_supports("avx2");
  return available;
}
#endif

}  // namespace

bool decodeQuotedPrintable(std::string_view input, std::uint64_t options, std::string& out) {
  // Decoding never lengthens the text, so the output is sized once and
  // written through a pointer; runs without "=" (or "_" in Q mode) are copied
  // a vector at a time (the copy may run ahead of the special byte, which is
  // then written over).
  out.resize(input.size());
  char* o = out.data();
  const bool underscoreIsSpace = (options & QuotedPrintableDecodeUnderscoreAsSpace) != 0;
  const char* p = input.data();
  const char* const end = p + input.size();
#if defined(__x86_64__)
  const bool avx2 = haveAVX2();
#endif
  while (p < end) {
#if defined(__x86_64__)
    const std::size_t plain =
        avx2 ? copyPlainAVX2(p, end, o, underscoreIsSpace) : copyPlainSWAR(p, end, o, underscoreIsSpace);
#else
    const std::size_t plain = copyPlainSWAR(p, end, o, underscoreIsSpace);
#endif
    p += plain;
    o += plain;
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
