// The blank-line search built for SSE2, the x86-64 baseline. A search in a
// message without a blank line visits every line end, so positions are
// tested a block at a time: one comparison mask per needle byte, shifted by
// that byte's offset, and their intersection marks the starts of whole
// matches. Each needle length has its own loop, fully unrolled, with one
// branch per 64 positions.

#include <emmintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

namespace {

template <std::size_t N>
std::size_t findBlocks(const char* base, std::size_t size, const char* needle, std::size_t& i) {
  __m128i pattern[N];
  for (std::size_t k = 0; k < N; ++k) pattern[k] = _mm_set1_epi8(needle[k]);
  for (; i + 64 + N - 1 <= size; i += 64) {
    std::uint64_t hits = 0;
    for (std::size_t part = 0; part < 4; ++part) {
      unsigned partHits = 0xFFFF;
      for (std::size_t k = 0; k < N; ++k) {
        const __m128i block = _mm_loadu_si128(reinterpret_cast<const __m128i*>(base + i + 16 * part + k));
        partHits &= unsigned(_mm_movemask_epi8(_mm_cmpeq_epi8(block, pattern[k])));
      }
      hits |= std::uint64_t(partHits) << (16 * part);
    }
    if (hits) return i + std::size_t(__builtin_ctzll(hits));
  }
  return SIZE_MAX;
}

}  // namespace

std::size_t blankLineSearchSSE2(const char* base, std::size_t size, const char* needle, std::size_t needleSize,
                                std::size_t& i) {
  if (needleSize == 2) return findBlocks<2>(base, size, needle, i);
  if (needleSize == 4) return findBlocks<4>(base, size, needle, i);
  return SIZE_MAX;
}

}  // namespace tq::EncodingLoops
