// Widening ASCII to UTF-16, 64 bytes a step with AVX-512 (this file is
// compiled with it).

#include <immintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

std::size_t widenASCIIAVX512(const std::uint8_t* s, std::size_t n, char16_t* o) {
  std::size_t i = 0;
  while (n - i >= 64) {
    const __m512i x = _mm512_loadu_si512(s + i);
    // Widened before the check, as in the SSE2 loop.
    _mm512_storeu_si512(o + i, _mm512_cvtepu8_epi16(_mm512_castsi512_si256(x)));
    _mm512_storeu_si512(o + i + 32, _mm512_cvtepu8_epi16(_mm512_extracti64x4_epi64(x, 1)));
    const std::uint64_t high = _mm512_movepi8_mask(x);
    if (high != 0) return i + static_cast<std::size_t>(__builtin_ctzll(high));
    i += 64;
  }
  return i;
}

}  // namespace tq::EncodingLoops
