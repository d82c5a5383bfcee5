// The quoted-printable decoder's bulk loop built for AVX-512 with byte
// operations, byte compression (VBMI2), BMI and POPCNT (this file is
// compiled with them).

#include <immintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

namespace {

// With AVX-512 (byte compression needs VBMI2), 64 bytes a step and no branch
// on what they hold: every "=" of the block is decoded at once from the two
// bytes after it (loaded one and two places on), the decoded byte takes the
// "=" 's place, and the bytes that escapes consume are squeezed out. Every
// "=" must begin a valid escape (the digits of one never hold an "="), so a
// block is judged as a whole. Stops 66 bytes before the end, so that an
// escape in the last columns still has its two bytes.
inline __m512i hexDigitValues(__m512i c, __mmask64& valid) {
  const __m512i digit = _mm512_sub_epi8(c, _mm512_set1_epi8('0'));
  const __m512i letter = _mm512_sub_epi8(_mm512_or_si512(c, _mm512_set1_epi8(0x20)), _mm512_set1_epi8('a'));
  const __mmask64 isDigit = _mm512_cmple_epu8_mask(digit, _mm512_set1_epi8(9));
  const __mmask64 isLetter = _mm512_cmple_epu8_mask(letter, _mm512_set1_epi8(5));
  valid = isDigit | isLetter;
  return _mm512_mask_blend_epi8(isDigit, _mm512_add_epi8(letter, _mm512_set1_epi8(10)), digit);
}

template <bool UnderscoreIsSpace>
bool decodeBulkAVX512(const char*& pp, const char* end, char*& oo) {
  const char* p = pp;
  char* o = oo;
  bool ok = true;
  while (end - p >= 66) {
    const __m512i x = _mm512_loadu_si512(p);
    const __m512i next1 = _mm512_loadu_si512(p + 1);
    const __m512i next2 = _mm512_loadu_si512(p + 2);
    const __mmask64 equals = _mm512_cmpeq_epi8_mask(x, _mm512_set1_epi8('='));
    __mmask64 highValid, lowValid;
    const __m512i high = hexDigitValues(next1, highValid);
    const __m512i low = hexDigitValues(next2, lowValid);
    const __mmask64 hex = equals & highValid & lowValid;
    const __mmask64 softLF = equals & _mm512_cmpeq_epi8_mask(next1, _mm512_set1_epi8('\n'));
    const __mmask64 softCRLF = equals & _mm512_cmpeq_epi8_mask(next1, _mm512_set1_epi8('\r')) &
                               _mm512_cmpeq_epi8_mask(next2, _mm512_set1_epi8('\n'));
    ok = (equals & ~(hex | softLF | softCRLF)) == 0;
    if (!ok) break;
    const __m512i value = _mm512_or_si512(_mm512_and_si512(_mm512_slli_epi16(high, 4), _mm512_set1_epi8(char(0xF0))), low);
    __m512i bytes = _mm512_mask_blend_epi8(hex, x, value);
    if (UnderscoreIsSpace) {
      bytes = _mm512_mask_blend_epi8(_mm512_cmpeq_epi8_mask(x, _mm512_set1_epi8('_')), bytes, _mm512_set1_epi8(' '));
    }
    // What escapes consume after their first byte, and what soft breaks
    // consume whole; an escape in the last two columns reaches past the
    // block, and the next block starts after it.
    const __mmask64 threeWide = hex | softCRLF;
    const __mmask64 consumed = (threeWide << 1) | (threeWide << 2) | softLF | (softLF << 1) | softCRLF;
    const std::size_t overhang = ((threeWide >> 63) << 1) | ((threeWide >> 62) & 1) | (softLF >> 63);
    _mm512_storeu_si512(o, _mm512_maskz_compress_epi8(~consumed, bytes));
    o += _mm_popcnt_u64(~consumed);
    p += 64 + overhang;
  }
  pp = p;
  oo = o;
  return ok;
}

}  // namespace

bool quotedPrintableDecodeAVX512(const char*& p, const char* end, char*& o, bool underscoreIsSpace) {
  return underscoreIsSpace ? decodeBulkAVX512<true>(p, end, o) : decodeBulkAVX512<false>(p, end, o);
}

}  // namespace tq::EncodingLoops
