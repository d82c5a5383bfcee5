// Widening ASCII to UTF-16, 64 bytes a step with AVX-512 (this file is
// compiled with it).

#include <immintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

std::size_t widenASCIIAVX512(const std::uint8_t* s, std::size_t n, char16_t* o) {
  std::size_t i = 0;
  while (n - i >= 64) {
    // Two 32-byte halves, each widened to 64 bytes of units.
    const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
    const __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i + 32));
    // Widened before the check, as in the SSE2 loop.
    _mm512_storeu_si512(o + i, _mm512_cvtepu8_epi16(first));
    _mm512_storeu_si512(o + i + 32, _mm512_cvtepu8_epi16(second));
    const std::uint64_t nonASCII = static_cast<std::uint32_t>(_mm256_movemask_epi8(first)) |
                                   std::uint64_t(static_cast<std::uint32_t>(_mm256_movemask_epi8(second))) << 32;
    if (nonASCII != 0) return i + static_cast<std::size_t>(__builtin_ctzll(nonASCII));
    i += 64;
  }
  return i;
}

}  // namespace tq::EncodingLoops
