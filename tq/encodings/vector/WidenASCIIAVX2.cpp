// Widening ASCII to UTF-16, 32 bytes a step with AVX2 (this file is compiled
// with it).

#include <immintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

std::size_t widenASCIIAVX2(const std::uint8_t* s, std::size_t n, char16_t* o) {
  std::size_t i = 0;
  while (n - i >= 32) {
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
    // Widened before the check, as in the SSE2 loop: the ASCII prefix of a
    // block that holds other bytes is then written already.
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + i), _mm256_cvtepu8_epi16(_mm256_castsi256_si128(x)));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(o + i + 16), _mm256_cvtepu8_epi16(_mm256_extracti128_si256(x, 1)));
    const unsigned nonASCII = static_cast<unsigned>(_mm256_movemask_epi8(x));
    if (nonASCII != 0) return i + static_cast<std::size_t>(__builtin_ctz(nonASCII));
    i += 32;
  }
  return i;
}

}  // namespace tq::EncodingLoops
