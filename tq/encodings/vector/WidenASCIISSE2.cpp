// Widening ASCII to UTF-16, 16 bytes a step with SSE2 (the x86-64 baseline,
// so this file needs no flag).

#include <emmintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

std::size_t widenASCIISSE2(const std::uint8_t* s, std::size_t n, char16_t* o) {
  const __m128i zero = _mm_setzero_si128();
  std::size_t i = 0;
  while (n - i >= 16) {
    const __m128i x = _mm_loadu_si128(reinterpret_cast<const __m128i*>(s + i));
    // Widened before the check: a block of mail text is usually all ASCII,
    // and when it is not, the units of its ASCII prefix are already written.
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o + i), _mm_unpacklo_epi8(x, zero));
    _mm_storeu_si128(reinterpret_cast<__m128i*>(o + i + 8), _mm_unpackhi_epi8(x, zero));
    const unsigned nonASCII = static_cast<unsigned>(_mm_movemask_epi8(x));
    if (nonASCII != 0) return i + static_cast<std::size_t>(__builtin_ctz(nonASCII));
    i += 16;
  }
  return i;
}

}  // namespace tq::EncodingLoops
