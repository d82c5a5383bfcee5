// The library's own Base64 decoder: lenient and URL-safe modes, output in
// fixed-size chunks handed over as chained data, so that decoding a large
// message part never builds one large buffer.

#include <immintrin.h>
#include <array>
#include <cstring>
#include <string>

#include "tq/encodings/TransferEncodings.h"

namespace tq {

namespace {

// Markers beside the digit values 0-63.
constexpr std::uint8_t Skip = 0x40;
constexpr std::uint8_t End = 0x41;
constexpr std::uint8_t Invalid = 0x42;

using DecodeTable = std::array<std::uint8_t, 256>;

// Tab, LF, 0x0E and space are skipped; CR is invalid. That table is what
// stored data was checked against, so a strict decode of CRLF-wrapped text
// fails at the first CR, and it stays that way.
constexpr DecodeTable makeTable(bool urlSafe) {
  DecodeTable table{};
  for (auto& entry : table) entry = Invalid;
  for (int i = 0; i < 26; ++i) {
    table['A' + i] = static_cast<std::uint8_t>(i);
    table['a' + i] = static_cast<std::uint8_t>(26 + i);
  }
  for (int i = 0; i < 10; ++i) table['0' + i] = static_cast<std::uint8_t>(52 + i);
  table[urlSafe ? '-' : '+'] = 62;
  table[urlSafe ? '_' : '/'] = 63;
  table[0x09] = table[0x0A] = table[0x0E] = table[0x20] = Skip;
  table['='] = End;
  return table;
}

constexpr DecodeTable StandardTable = makeTable(false);
constexpr DecodeTable URLSafeTable = makeTable(true);

// The fast path decodes whole groups of four digits: each table holds a
// digit's value already shifted into place, and any non-digit sets the top
// bit, so one OR of four lookups both decodes a group and detects a byte
// that needs the careful path.
using ShiftedTables = std::array<std::array<std::uint32_t, 256>, 4>;
constexpr std::uint32_t NotADigit = 0x80000000u;

constexpr ShiftedTables makeShifted(const DecodeTable& table) {
  ShiftedTables shifted{};
  for (int c = 0; c < 256; ++c) {
    const std::uint8_t v = table[c];
    for (int k = 0; k < 4; ++k) {
      shifted[k][c] = v < 64 ? std::uint32_t(v) << (18 - 6 * k) : NotADigit;
    }
  }
  return shifted;
}

constexpr ShiftedTables StandardShifted = makeShifted(StandardTable);
constexpr ShiftedTables URLSafeShifted = makeShifted(URLSafeTable);

inline std::uint32_t group(const ShiftedTables& t, const std::uint8_t* s) {
  return t[0][s[0]] | t[1][s[1]] | t[2][s[2]] | t[3][s[3]];
}

#if defined(__x86_64__)
// Runs of 32 alphabet bytes, 24 output bytes each, with AVX2: every byte is
// classified by range (A-Z, a-z, 0-9 and the two alphabet-specific digits),
// moved to its digit value by the offset of its class, and the four 6-bit
// digits of each 32-bit lane are packed into three bytes. Stops at the first
// block holding anything else, which the scalar paths then handle. Needs 32
// bytes of room in the output (it stores whole vectors).
__attribute__((target("avx2"))) inline __m256i inRange(__m256i x, char low, char high) {
  // Signed comparisons: bytes of 0x80 and above are negative and fall outside
  // every range, whose bounds are all positive.
  return _mm256_and_si256(_mm256_cmpgt_epi8(x, _mm256_set1_epi8(char(low - 1))),
                          _mm256_cmpgt_epi8(_mm256_set1_epi8(char(high + 1)), x));
}

__attribute__((target("avx2"))) std::size_t decodeBlocksAVX2(const std::uint8_t* s, std::size_t n, std::uint8_t* out,
                                                             std::size_t room, bool urlSafe, std::size_t* written) {
  const __m256i digit62 = _mm256_set1_epi8(urlSafe ? '-' : '+');
  const __m256i digit63 = _mm256_set1_epi8(urlSafe ? '_' : '/');
  const __m256i offset62 = _mm256_set1_epi8(char(62 - (urlSafe ? '-' : '+')));
  const __m256i offset63 = _mm256_set1_epi8(char(63 - (urlSafe ? '_' : '/')));
  const __m256i pack1 = _mm256_set1_epi32(0x01400140);
  const __m256i pack2 = _mm256_set1_epi32(0x00011000);
  const __m256i order = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                         2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
  const __m256i gather = _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7);
  std::size_t i = 0, o = 0;
  while (i + 32 <= n && o + 32 <= room) {
    const __m256i x = _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + i));
    const __m256i upper = inRange(x, 'A', 'Z');
    const __m256i lower = inRange(x, 'a', 'z');
    const __m256i digit = inRange(x, '0', '9');
    const __m256i is62 = _mm256_cmpeq_epi8(x, digit62);
    const __m256i is63 = _mm256_cmpeq_epi8(x, digit63);
    const __m256i valid =
        _mm256_or_si256(_mm256_or_si256(upper, lower), _mm256_or_si256(digit, _mm256_or_si256(is62, is63)));
    // A block with a non-digit still yields the whole groups before it (the
    // line before a line break); each 32-bit lane packs independently, so
    // the garbage of later lanes touches only output that is not kept.
    const auto invalid = ~static_cast<std::uint32_t>(_mm256_movemask_epi8(valid));
    const std::size_t groups = invalid ? static_cast<std::size_t>(__builtin_ctz(invalid)) / 4 : 8;
    if (groups == 0) break;
    __m256i shift = _mm256_and_si256(upper, _mm256_set1_epi8(char(-'A')));
    shift = _mm256_or_si256(shift, _mm256_and_si256(lower, _mm256_set1_epi8(char(26 - 'a'))));
    shift = _mm256_or_si256(shift, _mm256_and_si256(digit, _mm256_set1_epi8(char(52 - '0'))));
    shift = _mm256_or_si256(shift, _mm256_and_si256(is62, offset62));
    shift = _mm256_or_si256(shift, _mm256_and_si256(is63, offset63));
    const __m256i values = _mm256_add_epi8(x, shift);
    const __m256i pairs = _mm256_maddubs_epi16(values, pack1);
    const __m256i lanes = _mm256_madd_epi16(pairs, pack2);
    const __m256i bytes = _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(lanes, order), gather);
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out + o), bytes);
    i += 4 * groups;
    o += 3 * groups;
    if (groups < 8) break;
  }
  *written = o;
  return i;
}

bool haveAVX2() {
  static const bool available = __builtin_cpu_supports("avx2");
  return available;
}
#endif

inline void put3(std::uint8_t* out, std::uint32_t value) {
  out[0] = static_cast<std::uint8_t>(value >> 16);
  out[1] = static_cast<std::uint8_t>(value >> 8);
  out[2] = static_cast<std::uint8_t>(value);
}

// The decoder's state across the pieces of one text: the digit accumulator
// and the chunk being filled.
class ChunkedDecoder {
 public:
  explicit ChunkedDecoder(std::int64_t options)
      : lenient_((options & Base64DecodeIgnoreInvalid) != 0),
        urlSafe_((options & Base64DecodeURLSafe) != 0),
        table_((options & Base64DecodeURLSafe) ? URLSafeTable : StandardTable),
        shifted_((options & Base64DecodeURLSafe) ? URLSafeShifted : StandardShifted),
        result_(ChainedData::empty()) {}

  /// Feeds more bytes; false when a strict decode meets an invalid byte.
  /// After the end marker, further bytes are ignored.
  bool feed(const std::uint8_t* s, std::size_t n) {
    std::size_t i = 0;
    while (i < n && !ended_) {
      // The fast paths start only at a digit: after a line break they would
      // fail at once.
      if (count_ == 0 && table_[s[i]] < 64) i += fastGroups(s + i, n - i);
      if (i >= n) break;
      const std::uint8_t v = table_[s[i++]];
      if (v < 64) {
        accumulator_ = accumulator_ << 6 | v;
        if (++count_ == 4) {
          emit3(accumulator_);
          accumulator_ = 0;
          count_ = 0;
        }
      } else if (v == End) {
        ended_ = true;
      } else if (v == Invalid && !lenient_) {
        return false;
      }
    }
    return true;
  }

  /// Writes the leftover digits (two give one byte, three give two, one is
  /// dropped) and answers the chunks.
  Ref<ChainedData> finish() {
    if (count_ == 2) {
      emit1(static_cast<std::uint8_t>(accumulator_ >> 4));
    } else if (count_ == 3) {
      emit1(static_cast<std::uint8_t>(accumulator_ >> 10));
      emit1(static_cast<std::uint8_t>(accumulator_ >> 2));
    }
    if (used_ > 0) {
      chunk_.resize(used_);
      handOver();
    }
    return std::move(result_);
  }

 private:
  // Decodes as many whole groups as it can straight from the input while the
  // bytes are digits and the chunk has room; answers the bytes consumed.
  std::size_t fastGroups(const std::uint8_t* s, std::size_t n) {
    std::size_t i = 0;
    for (;;) {
      if (chunk_.empty()) startChunk();
      std::uint8_t* out = chunk_.data();
      std::size_t used = used_;
#if defined(__x86_64__)
      if (avx2_) {
        std::size_t written = 0;
        i += decodeBlocksAVX2(s + i, n - i, out + used, Base64DecodeChunkSize - used, urlSafe_, &written);
        used += written;
      }
#endif
      // Two groups at a time; the four-byte stores need one spare byte.
      while (i + 8 <= n && used + 7 <= Base64DecodeChunkSize) {
        const std::uint32_t a = group(shifted_, s + i);
        const std::uint32_t b = group(shifted_, s + i + 4);
        if ((a | b) & NotADigit) break;
        const std::uint32_t ba = __builtin_bswap32(a << 8);
        const std::uint32_t bb = __builtin_bswap32(b << 8);
        std::memcpy(out + used, &ba, 4);
        std::memcpy(out + used + 3, &bb, 4);
        used += 6;
        i += 8;
      }
      while (i + 4 <= n && used + 3 <= Base64DecodeChunkSize) {
        const std::uint32_t a = group(shifted_, s + i);
        if (a & NotADigit) break;
        put3(out + used, a);
        used += 3;
        i += 4;
      }
      used_ = used;
      if (used_ == Base64DecodeChunkSize) {
        handOver();
        continue;
      }
      return i;
    }
  }

  void startChunk() {
    chunk_.assign(Base64DecodeChunkSize, 0);
    used_ = 0;
  }

  void emit3(std::uint32_t value) {
    if (chunk_.empty()) startChunk();
    put3(chunk_.data() + used_, value);
    used_ += 3;
    if (used_ == Base64DecodeChunkSize) handOver();
  }

  void emit1(std::uint8_t byte) {
    if (chunk_.empty()) startChunk();
    chunk_[used_++] = byte;
  }

  void handOver() {
    result_ = ChainedData::concat(std::move(result_), ChainedData::adopt(std::move(chunk_)));
    chunk_ = {};
    used_ = 0;
  }

  bool lenient_;
  bool urlSafe_;
#if defined(__x86_64__)
  bool avx2_ = haveAVX2();
#endif
  const DecodeTable& table_;
  const ShiftedTables& shifted_;
  Ref<ChainedData> result_;
  ChainedData::Buffer chunk_;
  std::size_t used_ = 0;
  std::uint32_t accumulator_ = 0;
  int count_ = 0;
  bool ended_ = false;
};

}  // namespace

Ref<ChainedData> TQ_dispatch_data_decode_base64Bytes(std::string_view bytes, std::int64_t options) {
  if (bytes.empty()) return ChainedData::empty();
  ChunkedDecoder decoder(options);
  if (!decoder.feed(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size())) return nullptr;
  return decoder.finish();
}

Ref<ChainedData> TQ_dispatch_data_decode_base64String(const String& text, std::int64_t options) {
  // The text's UTF-8 bytes up to its first NUL, made a block at a time so
  // that a large text needs no second copy. Every byte of a non-ASCII
  // character is invalid to the decoder, so one stand-in byte per character
  // decodes the same.
  const std::u16string& units = text.utf16();
  const std::size_t end = std::min(units.size(), units.find(u'\0'));
  if (end == 0) return ChainedData::empty();
  ChunkedDecoder decoder(options);
  constexpr std::size_t Block = 1 << 16;
  std::uint8_t buffer[Block];
  for (std::size_t start = 0; start < end; start += Block) {
    const std::size_t n = std::min(Block, end - start);
    for (std::size_t k = 0; k < n; ++k) {
      const char16_t c = units[start + k];
      buffer[k] = c < 0x80 ? static_cast<std::uint8_t>(c) : 0x80;
    }
    if (!decoder.feed(buffer, n)) return nullptr;
  }
  return decoder.finish();
}

Ref<ChainedData> TQ_dispatch_data_decode_base64(const ChainedData& data, std::int64_t options) {
  Ref<ChainedData> result = ChainedData::empty();
  data.applyRegions([&](const std::uint8_t* bytes, std::size_t, std::size_t size) {
    Ref<ChainedData> decoded =
        TQ_dispatch_data_decode_base64Bytes(std::string_view(reinterpret_cast<const char*>(bytes), size), options);
    if (!decoded) return false;
    result = ChainedData::concat(std::move(result), decoded);
    return true;
  });
  return result;
}

namespace Base64 {

Ref<ChainedData> dataFromBase64String(const String& text) {
  return TQ_dispatch_data_decode_base64String(text, Base64DecodeIgnoreInvalid);
}

}  // namespace Base64

}  // namespace tq
