// The body encoder's loop built for SSE2, the x86-64 baseline: plain bytes
// are told from the rest 16 at a time. SSE2 has no byte table lookup, so the
// set is spelled out as ranges.

#include <emmintrin.h>

#include "tq/encodings/internal/QuotedPrintableBodyLoop.h"

namespace tq::MimeEncoding::BodyEncoding {

namespace {

inline __m128i inRange(__m128i b, char low, char high) {
  // Signed comparisons: bytes of 0x80 and above are negative and fall outside
  // every range, whose bounds are all positive.
  return _mm_and_si128(_mm_cmpgt_epi8(b, _mm_set1_epi8(static_cast<char>(low - 1))),
                       _mm_cmplt_epi8(b, _mm_set1_epi8(static_cast<char>(high + 1))));
}

// All ones in the plain bytes: 0x20 to 0x7D less "!\"#$", "=", "@", "[\\]^",
// "`" and "{|}".
inline __m128i plainBytes(__m128i b) {
  __m128i escaped = inRange(b, 0x21, 0x24);
  escaped = _mm_or_si128(escaped, _mm_cmpeq_epi8(b, _mm_set1_epi8('=')));
  escaped = _mm_or_si128(escaped, _mm_cmpeq_epi8(b, _mm_set1_epi8('@')));
  escaped = _mm_or_si128(escaped, inRange(b, 0x5B, 0x5E));
  escaped = _mm_or_si128(escaped, _mm_cmpeq_epi8(b, _mm_set1_epi8('`')));
  escaped = _mm_or_si128(escaped, inRange(b, 0x7B, 0x7D));
  return _mm_andnot_si128(escaped, inRange(b, 0x20, 0x7D));
}

struct SSE2Scanner {
  static std::size_t copyPlainRun(const char* p, const char* end, std::size_t limit, char* o) {
    std::size_t done = 0;
    while (done < limit && end - p - done >= 16) {
      const __m128i b = _mm_loadu_si128(reinterpret_cast<const __m128i*>(p + done));
      _mm_storeu_si128(reinterpret_cast<__m128i*>(o + done), b);
      const auto mask = static_cast<unsigned>(_mm_movemask_epi8(plainBytes(b)));
      if (mask != 0xFFFF) return smaller(limit, done + static_cast<std::size_t>(__builtin_ctz(~mask)));
      done += 16;
    }
    if (done >= limit) return limit;
    return copyPlainTail(p, end, done, limit, o);
  }
};

}  // namespace

}  // namespace tq::MimeEncoding::BodyEncoding

std::size_t tq::EncodingLoops::quotedPrintableBodySSE2(BodyLine& line, const char* in, std::size_t n, bool last,
                                                      char*& out) {
  return MimeEncoding::BodyEncoding::encodePiece<MimeEncoding::BodyEncoding::SSE2Scanner>(line, in, n, last, out);
}
