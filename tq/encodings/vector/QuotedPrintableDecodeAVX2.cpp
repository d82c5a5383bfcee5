// The quoted-printable decoder's bulk loop built for AVX2 (this file is
// compiled with it).

#include <immintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

namespace {

// For each byte mask, the positions of its set bits, in order: a shuffle
// that gathers the kept bytes of eight to the front.
struct CompressTable {
  std::uint64_t of[256];
};

constexpr CompressTable makeCompressTable() {
  CompressTable table{};
  for (unsigned mask = 0; mask < 256; ++mask) {
    std::uint64_t order = 0;
    unsigned kept = 0;
    for (unsigned bit = 0; bit < 8; ++bit) {
      if (mask & (1u << bit)) order |= std::uint64_t(bit) << (8 * kept++);
    }
    table.of[mask] = order;
  }
  return table;
}

constexpr CompressTable Compress8 = makeCompressTable();

// Each byte's value as a hex digit, and all ones in `valid` where it is one.
inline __m256i hexDigitValues(__m256i c, __m256i& valid) {
  const __m256i digit = _mm256_sub_epi8(c, _mm256_set1_epi8('0'));
  const __m256i letter = _mm256_sub_epi8(_mm256_or_si256(c, _mm256_set1_epi8(0x20)), _mm256_set1_epi8('a'));
  // Unsigned "at most": the minimum equals the value.
  const __m256i isDigit = _mm256_cmpeq_epi8(_mm256_min_epu8(digit, _mm256_set1_epi8(9)), digit);
  const __m256i isLetter = _mm256_cmpeq_epi8(_mm256_min_epu8(letter, _mm256_set1_epi8(5)), letter);
  valid = _mm256_or_si256(isDigit, isLetter);
  return _mm256_blendv_epi8(_mm256_add_epi8(letter, _mm256_set1_epi8(10)), digit, isDigit);
}

inline std::uint32_t bitsOf(__m256i mask) {
  return static_cast<std::uint32_t>(_mm256_movemask_epi8(mask));
}

// The bulk of the text, 32 bytes at a time with AVX2, as in the AVX-512
// loop: every escape and soft break of a block is decoded at once, and the
// kept bytes are gathered eight at a time through a shuffle table (AVX2 has
// no byte compression). Plain blocks take the same way: most blocks of mail
// hold an escape or a line's soft break, and a branch to tell them apart cost
// more in mispredictions than it saved. Stops 34 bytes before the end, so
// that an escape anywhere in a block has its two bytes.
template <bool UnderscoreIsSpace>
bool decodeBulkAVX2(const char*& pp, const char* end, char*& oo) {
  const char* p = pp;
  char* o = oo;
  bool ok = true;
  while (end - p >= 34) {
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p));
    const __m256i isEquals = _mm256_cmpeq_epi8(x, _mm256_set1_epi8('='));
    const std::uint32_t equals = bitsOf(isEquals);
    const __m256i next1 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 1));
    const __m256i next2 = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(p + 2));
    __m256i highValid, lowValid;
    const __m256i high = hexDigitValues(next1, highValid);
    const __m256i low = hexDigitValues(next2, lowValid);
    const __m256i isHex = _mm256_and_si256(isEquals, _mm256_and_si256(highValid, lowValid));
    const std::uint32_t hex = bitsOf(isHex);
    const std::uint32_t softLF = equals & bitsOf(_mm256_cmpeq_epi8(next1, _mm256_set1_epi8('\n')));
    const std::uint32_t softCRLF = equals & bitsOf(_mm256_cmpeq_epi8(next1, _mm256_set1_epi8('\r'))) &
                                   bitsOf(_mm256_cmpeq_epi8(next2, _mm256_set1_epi8('\n')));
    ok = (equals & ~(hex | softLF | softCRLF)) == 0;
    if (!ok) break;
    const __m256i value =
        _mm256_or_si256(_mm256_and_si256(_mm256_slli_epi16(high, 4), _mm256_set1_epi8(char(0xF0))), low);
    __m256i bytes = _mm256_blendv_epi8(x, value, isHex);
    if (UnderscoreIsSpace) {
      bytes = _mm256_blendv_epi8(bytes, _mm256_set1_epi8(' '), _mm256_cmpeq_epi8(x, _mm256_set1_epi8('_')));
    }
    const std::uint32_t threeWide = hex | softCRLF;
    const std::uint32_t consumed = (threeWide << 1) | (threeWide << 2) | softLF | (softLF << 1) | softCRLF;
    const std::size_t overhang = ((threeWide >> 31) << 1) | ((threeWide >> 30) & 1) | (softLF >> 31);
    const std::uint32_t kept = ~consumed;
    // Each half is shuffled once: its low eight bytes' kept ones to the
    // front of the low quadword, its high eight bytes' to the front of the
    // high one; the two quadwords are then stored one after the other.
    const __m128i halves[2] = {_mm256_castsi256_si128(bytes), _mm256_extracti128_si256(bytes, 1)};
    for (int half = 0; half < 2; ++half) {
      const unsigned low = (kept >> (16 * half)) & 0xFF;
      const unsigned high = (kept >> (16 * half + 8)) & 0xFF;
      const __m128i order = _mm_set_epi64x(static_cast<long long>(Compress8.of[high] + 0x0808080808080808ULL),
                                           static_cast<long long>(Compress8.of[low]));
      const __m128i gathered = _mm_shuffle_epi8(halves[half], order);
      _mm_storel_epi64(reinterpret_cast<__m128i*>(o), gathered);
      o += __builtin_popcount(low);
      _mm_storel_epi64(reinterpret_cast<__m128i*>(o), _mm_unpackhi_epi64(gathered, gathered));
      o += __builtin_popcount(high);
    }
    p += 32 + overhang;
  }
  pp = p;
  oo = o;
  return ok;
}

}  // namespace

bool quotedPrintableDecodeAVX2(const char*& p, const char* end, char*& o, bool underscoreIsSpace) {
  return underscoreIsSpace ? decodeBulkAVX2<true>(p, end, o) : decodeBulkAVX2<false>(p, end, o);
}

}  // namespace tq::EncodingLoops
