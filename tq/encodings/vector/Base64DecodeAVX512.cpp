// The Base64 decoder's block loop built for AVX-512 with byte operations and
// byte permutes (VBMI; this file is compiled with them). Runs of 64 digits,
// 48 output bytes each: one two-table permute maps every byte to its digit
// value (or to a value with the top bit set for anything else, as for every
// byte of 0x80 and above), and one more packs the lanes' 24 bits into 48
// contiguous bytes. It stops at the first block holding anything but digits
// (a line break, mostly), and the AVX2 loop takes it from there: that one
// closes the gaps that line breaks leave in a block.

#include <immintrin.h>

#include "tq/encodings/internal/VectorLoops.h"

namespace tq::EncodingLoops {

namespace {

struct DigitValues {
  alignas(64) std::uint8_t of[128];
};

// The value of each ASCII byte as a digit, 0x80 for the rest; the URL-safe
// alphabet has "-" and "_" for "+" and "/".
constexpr DigitValues makeDigitValues(bool urlSafe) {
  DigitValues values{};
  for (int c = 0; c < 128; ++c) values.of[c] = 0x80;
  for (int k = 0; k < 26; ++k) {
    values.of['A' + k] = static_cast<std::uint8_t>(k);
    values.of['a' + k] = static_cast<std::uint8_t>(26 + k);
  }
  for (int k = 0; k < 10; ++k) values.of['0' + k] = static_cast<std::uint8_t>(52 + k);
  values.of[urlSafe ? int{'-'} : int{'+'}] = 62;
  values.of[urlSafe ? int{'_'} : int{'/'}] = 63;
  return values;
}

constexpr DigitValues StandardDigitValues = makeDigitValues(false);
constexpr DigitValues URLSafeDigitValues = makeDigitValues(true);

struct PackOrder {
  alignas(64) std::uint8_t of[64];
};

// Output byte k comes from lane k / 3, whose three bytes are in reverse order.
constexpr PackOrder makePackOrder() {
  PackOrder order{};
  for (int k = 0; k < 48; ++k) order.of[k] = static_cast<std::uint8_t>(4 * (k / 3) + 2 - k % 3);
  return order;
}

constexpr PackOrder Pack48 = makePackOrder();

// Needs 64 bytes of room in the output (it stores whole vectors).
std::size_t decodeClean(const std::uint8_t* s, std::size_t n, std::uint8_t* out, std::size_t room, bool urlSafe,
                        std::size_t* written) {
  const DigitValues& table = urlSafe ? URLSafeDigitValues : StandardDigitValues;
  const __m512i low = _mm512_load_si512(table.of);
  const __m512i high = _mm512_load_si512(table.of + 64);
  const __m512i pack = _mm512_load_si512(Pack48.of);
  const __m512i pairs = _mm512_set1_epi32(0x01400140);
  const __m512i quads = _mm512_set1_epi32(0x00011000);
  std::size_t i = 0, o = 0;
  while (i + 64 <= n && o + 64 <= room) {
    const __m512i x = _mm512_loadu_si512(s + i);
    const __m512i values = _mm512_permutex2var_epi8(low, x, high);
    if (_mm512_movepi8_mask(_mm512_or_si512(values, x)) != 0) break;
    const __m512i lanes = _mm512_madd_epi16(_mm512_maddubs_epi16(values, pairs), quads);
    _mm512_storeu_si512(out + o, _mm512_permutexvar_epi8(pack, lanes));
    i += 64;
    o += 48;
  }
  *written = o;
  return i;
}

}  // namespace

std::size_t base64DecodeAVX512(const std::uint8_t* s, std::size_t n, std::uint8_t* out, std::size_t room, bool urlSafe,
                               const std::uint8_t* ignorable, std::size_t* written) {
  std::size_t clean = 0, rest = 0;
  const std::size_t i = decodeClean(s, n, out, room, urlSafe, &clean);
  const std::size_t j = base64DecodeAVX2(s + i, n - i, out + clean, room - clean, urlSafe, ignorable, &rest);
  *written = clean + rest;
  return i + j;
}

}  // namespace tq::EncodingLoops
