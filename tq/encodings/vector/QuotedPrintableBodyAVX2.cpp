// The body encoder's loop built for AVX2 (this file is compiled with it):
// plain bytes are told from the rest 32 at a time by two nibble lookups.

#include <immintrin.h>

#include "tq/encodings/internal/QuotedPrintableBodyLoop.h"

namespace tq::MimeEncoding::BodyEncoding {

namespace {

// Bit k of the result set when byte k is not plain. Each byte's high nibble
// picks which low nibbles are not plain with it (a bit per pattern: all of
// them, 1-4, D, 0, B-E, B-F), and the low nibble says which patterns hold
// it: two table lookups and an AND classify the whole vector.
inline std::uint32_t specialBytes(__m256i b) {
  const __m256i byHigh = _mm256_setr_epi8(1, 1, 2, 4, 8, 16, 8, 32, 1, 1, 1, 1, 1, 1, 1, 1,  //
                                          1, 1, 2, 4, 8, 16, 8, 32, 1, 1, 1, 1, 1, 1, 1, 1);
  const __m256i byLow = _mm256_setr_epi8(1 | 8, 1 | 2, 1 | 2, 1 | 2, 1 | 2, 1, 1, 1, 1, 1, 1, 1 | 16 | 32, 1 | 16 | 32,
                                         1 | 4 | 16 | 32, 1 | 16 | 32, 1 | 32,  //
                                         1 | 8, 1 | 2, 1 | 2, 1 | 2, 1 | 2, 1, 1, 1, 1, 1, 1, 1 | 16 | 32, 1 | 16 | 32,
                                         1 | 4 | 16 | 32, 1 | 16 | 32, 1 | 32);
  const __m256i nibble = _mm256_set1_epi8(0x0F);
  const __m256i high = _mm256_shuffle_epi8(byHigh, _mm256_and_si256(_mm256_srli_epi16(b, 4), nibble));
  const __m256i low = _mm256_shuffle_epi8(byLow, _mm256_and_si256(b, nibble));
  const __m256i plain = _mm256_cmpeq_epi8(_mm256_and_si256(high, low), _mm256_setzero_si256());
  return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(plain));
}

struct AVX2Scanner {
  static std::size_t copyPlainRun(const char* p, const char* end, std::size_t limit, char* o) {
    std::size_t done = 0;
    while (done < limit && end - p - done >= 32) {
      const __m256i b = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + done));
      _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + done), b);
      const std::uint32_t special = specialBytes(b);
      if (special != 0) return smaller(limit, done + static_cast<std::size_t>(__builtin_ctz(special)));
      done += 32;
    }
    if (done >= limit) return limit;
    return copyPlainTail(p, end, done, limit, o);
  }
};

}  // namespace

}  // namespace tq::MimeEncoding::BodyEncoding

std::size_t tq::EncodingLoops::quotedPrintableBodyAVX2(BodyLine& line, const char* in, std::size_t n, bool last,
                                                      char*& out) {
  return MimeEncoding::BodyEncoding::encodePiece<MimeEncoding::BodyEncoding::AVX2Scanner>(line, in, n, last, out);
}
