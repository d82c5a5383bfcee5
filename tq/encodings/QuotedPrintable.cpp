// The quoted-printable decoder (and its Q variant for encoded words).

#include <immintrin.h>

#include <array>
#include <cstring>
#include <string>

#include "tq/encodings/TransferEncodings.h"
#include "tq/platform/system/VectorSupport.h"
#include "tq/platform/collection/Dictionary.h"

namespace tq::FKQuotedPrintable {

namespace {

// Hex digit values, -1 for anything else; a table keeps the escape path
// free of branches on the digit's kind.
constexpr std::array<std::int8_t, 256> HexValues = [] {
  std::array<std::int8_t, 256> table{};
  for (auto& entry : table) entry = -1;
  for (int i = 0; i < 10; ++i) table['0' + i] = static_cast<std::int8_t>(i);
  for (int i = 0; i < 6; ++i) table['A' + i] = table['a' + i] = static_cast<std::int8_t>(10 + i);
  return table;
}();

int hexValue(unsigned char c) { return HexValues[c]; }

// The localized description of the malformed-escape error. No string table
// carries the key yet, and a lookup that finds nothing under an empty default
// answers the key itself, so that is the text.
Ref<Error> malformedError() {
  auto userInfo = make<MutableDictionary>();
  userInfo->setObject(str(MalformedQuotedPrintableKey), str(LocalizedDescriptionKey));
  return Error::errorWithDomain(ParserErrorDomain, MalformedQuotedPrintableError, userInfo);
}

}  // namespace

namespace {

constexpr std::uint64_t Ones = 0x0101010101010101ULL;
constexpr std::uint64_t Highs = 0x8080808080808080ULL;

// Flags (top bit of each byte) the bytes of `word` equal to `byte`; the
// lowest flag is exact, so it gives the first such byte.
inline std::uint64_t matches(std::uint64_t word, unsigned char byte) {
  const std::uint64_t x = word ^ (Ones * byte);
  return (x - Ones) & ~x & Highs;
}

// Copies plain bytes until the first "=" (or "_" when `underscore`), eight at
// a time; answers how many bytes were plain. Never reads past `end` and
// never writes more than it read.
inline std::size_t copyPlainSWAR(const char* p, const char* end, char* o, bool underscore) {
  std::size_t done = 0;
  while (end - p - done >= 8) {
    std::uint64_t word;
    std::memcpy(&word, p + done, 8);
    const std::uint64_t hit = matches(word, '=') | (underscore ? matches(word, '_') : 0);
    std::memcpy(o + done, &word, 8);
    if (hit) return done + static_cast<std::size_t>(__builtin_ctzll(hit) / 8);
    done += 8;
  }
  return done;
}

// Decodes the escape at p, whose two following bytes exist: "=" and two hex
// digits give a byte, "=" before CRLF or LF is a soft line break and gives
// nothing. Neither kind is a branch: in mail they alternate too irregularly
// to predict. False for anything else, which makes the text malformed.
inline bool decodeEscape(const char*& p, char*& o) {
  const int high = hexValue(static_cast<unsigned char>(p[1]));
  const int low = hexValue(static_cast<unsigned char>(p[2]));
  const bool hex = (high | low) >= 0;
  const bool softLF = p[1] == '\n';
  const bool softCRLF = (p[1] == '\r') & (p[2] == '\n');
  if (!(hex | softLF | softCRLF)) return false;
  *o = static_cast<char>(static_cast<unsigned>(high) << 4 | static_cast<unsigned>(low));  // kept only when hex
  o += hex;
  p += 3 - softLF;
  return true;
}

// One special byte at p ("=" or, in Q mode, "_"), decoded with the careful
// bounds checks the end of the input needs.
inline bool decodeSpecialNearEnd(const char*& p, const char* end, char*& o, bool underscoreIsSpace) {
  if (*p != '=') {
    *o++ = (underscoreIsSpace && *p == '_') ? ' ' : *p;
    ++p;
    return true;
  }
  if (end - p >= 3) return decodeEscape(p, o);
  if (end - p == 2 && p[1] == '\n') {  // a soft line break written with a bare LF
    p += 2;
    return true;
  }
  return false;
}

#if defined(__x86_64__)
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
__attribute__((target("avx2"))) inline __m256i hexDigitValues(__m256i c, __m256i& valid) {
  const __m256i digit = _mm256_sub_epi8(c, _mm256_set1_epi8('0'));
  const __m256i letter = _mm256_sub_epi8(_mm256_or_si256(c, _mm256_set1_epi8(0x20)), _mm256_set1_epi8('a'));
  // Unsigned "at most": the minimum equals the value.
  const __m256i isDigit = _mm256_cmpeq_epi8(_mm256_min_epu8(digit, _mm256_set1_epi8(9)), digit);
  const __m256i isLetter = _mm256_cmpeq_epi8(_mm256_min_epu8(letter, _mm256_set1_epi8(5)), letter);
  valid = _mm256_or_si256(isDigit, isLetter);
  return _mm256_blendv_epi8(_mm256_add_epi8(letter, _mm256_set1_epi8(10)), digit, isDigit);
}

__attribute__((target("avx2"))) inline std::uint32_t bitsOf(__m256i mask) {
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
__attribute__((target("avx2"))) bool decodeBulkAVX2(const char*& pp, const char* end, char*& oo) {
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

// With AVX-512 (byte compression needs VBMI2), 64 bytes a step and no branch
// on what they hold: every "=" of the block is decoded at once from the two
// bytes after it (loaded one and two places on), the decoded byte takes the
// "=" 's place, and the bytes that escapes consume are squeezed out. Every
// "=" must begin a valid escape (the digits of one never hold an "="), so a
// block is judged as a whole. Stops 66 bytes before the end, so that an
// escape in the last columns still has its two bytes.
#define TQ_AVX512 __attribute__((target("avx512f,avx512bw,avx512vbmi2,bmi,bmi2,popcnt")))

TQ_AVX512 inline __m512i hexDigitValues(__m512i c, __mmask64& valid) {
  const __m512i digit = _mm512_sub_epi8(c, _mm512_set1_epi8('0'));
  const __m512i letter = _mm512_sub_epi8(_mm512_or_si512(c, _mm512_set1_epi8(0x20)), _mm512_set1_epi8('a'));
  const __mmask64 isDigit = _mm512_cmple_epu8_mask(digit, _mm512_set1_epi8(9));
  const __mmask64 isLetter = _mm512_cmple_epu8_mask(letter, _mm512_set1_epi8(5));
  valid = isDigit | isLetter;
  return _mm512_mask_blend_epi8(isDigit, _mm512_add_epi8(letter, _mm512_set1_epi8(10)), digit);
}

template <bool UnderscoreIsSpace>
TQ_AVX512 bool decodeBulkAVX512(const char*& pp, const char* end, char*& oo) {
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

#endif

}  // namespace

bool decodeQuotedPrintable(std::string_view input, std::uint64_t options, std::string& out) {
  // Decoding never lengthens the text, so the output is sized once and
  // written through a pointer.
  out.resize(input.size());
  char* o = out.data();
  const bool underscoreIsSpace = (options & QuotedPrintableDecodeUnderscoreAsSpace) != 0;
  const char* p = input.data();
  const char* const end = p + input.size();
  bool ok = true;
#if defined(__x86_64__)
  if (VectorSupport::useAVX512()) {
    ok = underscoreIsSpace ? decodeBulkAVX512<true>(p, end, o) : decodeBulkAVX512<false>(p, end, o);
  } else if (VectorSupport::useAVX2()) {
    ok = underscoreIsSpace ? decodeBulkAVX2<true>(p, end, o) : decodeBulkAVX2<false>(p, end, o);
  }
#endif
  // The rest (all of it without AVX2): runs of plain bytes eight at a time.
  while (ok && p < end) {
    const std::size_t plain = copyPlainSWAR(p, end, o, underscoreIsSpace);
    p += plain;
    o += plain;
    if (p < end) ok = decodeSpecialNearEnd(p, end, o, underscoreIsSpace);
  }
  if (!ok) {
    out.clear();
    return false;
  }
  out.resize(static_cast<std::size_t>(o - out.data()));
  return true;
}

Ref<String> decodedQuotedPrintableStringWithEncoding(const Data& data, StringEncoding encoding, std::uint64_t options,
                                                     Ref<Error>* error) {
  std::string bytes;
  if (!decodeQuotedPrintable(data.view(), options, bytes)) {
    setError(error, malformedError());
    return nullptr;
  }
  return Charset::stringWithBytes(bytes, encoding);
}

}  // namespace tq::FKQuotedPrintable
