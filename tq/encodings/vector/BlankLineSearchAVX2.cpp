// The blank-line search built for AVX2 (this file is compiled with it): the
// SSE2 loop's method, 64 positions a step as two 32-byte halves.

#include <immintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

namespace {

template <std::size_t N>
std::size_t findBlocks(const char* base, std::size_t size, const char* needle, std::size_t& i) {
  __m256i pattern[N];
  for (std::size_t k = 0; k < N; ++k) pattern[k] = _mm256_set1_epi8(needle[k]);
  for (; i + 64 + N - 1 <= size; i += 64) {
    std::uint32_t low = 0xFFFFFFFFu, high = 0xFFFFFFFFu;
    for (std::size_t k = 0; k < N; ++k) {
      const __m256i first = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(base + i + k));
      const __m256i second = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(base + i + 32 + k));
      low &= std::uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(first, pattern[k])));
      high &= std::uint32_t(_mm256_movemask_epi8(_mm256_cmpeq_epi8(second, pattern[k])));
    }
    const std::uint64_t hits = low | std::uint64_t(high) << 32;
    if (hits) return i + std::size_t(__builtin_ctzll(hits));
  }
  return SIZE_MAX;
}

}  // namespace

std::size_t blankLineSearchAVX2(const char* base, std::size_t size, const char* needle, std::size_t needleSize,
                                std::size_t& i) {
  if (needleSize == 2) return findBlocks<2>(base, size, needle, i);
  if (needleSize == 4) return findBlocks<4>(base, size, needle, i);
  return SIZE_MAX;
}

}  // namespace tq::EncodingLoops
