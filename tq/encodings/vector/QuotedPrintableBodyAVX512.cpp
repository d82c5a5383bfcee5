// The body encoder's loop built for AVX-512 with byte operations (this file
// is compiled with them): plain bytes are told from the rest 64 at a time by
// two nibble lookups, whose test gives the mask directly.

#include <immintrin.h>

#include "tq/encodings/internal/QuotedPrintableBodyLoop.h"

namespace tq::MimeEncoding::BodyEncoding {

namespace {

// The AVX2 loop's nibble tables, repeated for each 128-bit lane.
alignas(64) constexpr std::uint8_t kByHigh[64] = {
    1, 1, 2, 4, 8, 16, 8, 32, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 4, 8, 16, 8, 32, 1, 1, 1, 1, 1, 1, 1, 1,
    1, 1, 2, 4, 8, 16, 8, 32, 1, 1, 1, 1, 1, 1, 1, 1, 1, 1, 2, 4, 8, 16, 8, 32, 1, 1, 1, 1, 1, 1, 1, 1};
#define TQ_LOW_NIBBLES 9, 3, 3, 3, 3, 1, 1, 1, 1, 1, 1, 49, 49, 53, 49, 33
alignas(64) constexpr std::uint8_t kByLow[64] = {TQ_LOW_NIBBLES, TQ_LOW_NIBBLES, TQ_LOW_NIBBLES, TQ_LOW_NIBBLES};
#undef TQ_LOW_NIBBLES

// Bit k of the result set when byte k is not plain.
inline std::uint64_t specialBytes(__m512i b) {
  const __m512i nibble = _mm512_set1_epi8(0x0F);
  const __m512i high = _mm512_shuffle_epi8(_mm512_load_si512(kByHigh), _mm512_and_si512(_mm512_srli_epi16(b, 4), nibble));
  const __m512i low = _mm512_shuffle_epi8(_mm512_load_si512(kByLow), _mm512_and_si512(b, nibble));
  return _mm512_test_epi8_mask(high, low);
}

struct AVX512Scanner {
  static std::size_t copyPlainRun(const char* p, const char* end, std::size_t limit, char* o) {
    std::size_t done = 0;
    while (done < limit && end - p - done >= 64) {
      const __m512i b = _mm512_loadu_si512(p + done);
      _mm512_storeu_si512(o + done, b);
      const std::uint64_t special = specialBytes(b);
      if (special != 0) return smaller(limit, done + static_cast<std::size_t>(__builtin_ctzll(special)));
      done += 64;
    }
    if (done >= limit) return limit;
    return copyPlainTail(p, end, done, limit, o);
  }
};

}  // namespace

}  // namespace tq::MimeEncoding::BodyEncoding

std::size_t tq::EncodingLoops::quotedPrintableBodyAVX512(BodyLine& line, const char* in, std::size_t n, bool last,
                                                      char*& out) {
  return MimeEncoding::BodyEncoding::encodePiece<MimeEncoding::BodyEncoding::AVX512Scanner>(line, in, n, last, out);
}
