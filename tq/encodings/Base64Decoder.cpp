// The library's own Base64 decoder: lenient and URL-safe modes, output in
// fixed-size chunks handed over as chained data, so that decoding a large
// message part never builds one large buffer.

#include <immintrin.h>
#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "tq/encodings/TransferEncodings.h"
#include "tq/platform/system/VectorSupport.h"

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

// 1 for the bytes a decode passes over without effect: the skipped ones, and
// when lenient every invalid one too. The end marker is never among them.
using IgnorableTable = std::array<std::uint8_t, 256>;

constexpr IgnorableTable makeIgnorable(const DecodeTable& table, bool lenient) {
  IgnorableTable ignorable{};
  for (int c = 0; c < 256; ++c) ignorable[c] = table[c] == Skip || (lenient && table[c] == Invalid);
  return ignorable;
}

constexpr IgnorableTable StrictIgnorable = makeIgnorable(StandardTable, false);
constexpr IgnorableTable LenientIgnorable = makeIgnorable(StandardTable, true);
constexpr IgnorableTable URLSafeLenientIgnorable = makeIgnorable(URLSafeTable, true);

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
// digits of each 32-bit lane are packed into three bytes. Needs 32 bytes of
// room in the output (it stores whole vectors).
__attribute__((target("avx2"))) inline __m256i inRange(__m256i x, char low, char high) {
  // Signed comparisons: bytes of 0x80 and above are negative and fall outside
  // every range, whose bounds are all positive.
  return _mm256_and_si256(_mm256_cmpgt_epi8(x, _mm256_set1_epi8(char(low - 1))),
                          _mm256_cmpgt_epi8(_mm256_set1_epi8(char(high + 1)), x));
}

class AVX2Alphabet {
 public:
  __attribute__((target("avx2"))) explicit AVX2Alphabet(bool urlSafe)
      : digit62_(_mm256_set1_epi8(urlSafe ? '-' : '+')),
        digit63_(_mm256_set1_epi8(urlSafe ? '_' : '/')),
        offset62_(_mm256_set1_epi8(char(62 - (urlSafe ? '-' : '+')))),
        offset63_(_mm256_set1_epi8(char(63 - (urlSafe ? '_' : '/')))) {}

  // Bit k set when byte k is not a digit.
  __attribute__((target("avx2"))) std::uint32_t nonDigits(__m256i x) const {
    const __m256i valid = _mm256_or_si256(_mm256_or_si256(inRange(x, 'A', 'Z'), inRange(x, 'a', 'z')),
                                          _mm256_or_si256(inRange(x, '0', '9'), _mm256_or_si256(is62(x), is63(x))));
    return ~static_cast<std::uint32_t>(_mm256_movemask_epi8(valid));
  }

  // Decodes the 32 bytes, all digits where it matters, into 24 bytes stored
  // (with 8 bytes of garbage after them) at `out`. Each 32-bit lane packs
  // independently, so the garbage of a lane with non-digits touches only
  // output that is not kept.
  __attribute__((target("avx2"))) void decode(__m256i x, std::uint8_t* out) const {
    __m256i shift = _mm256_and_si256(inRange(x, 'A', 'Z'), _mm256_set1_epi8(char(-'A')));
    shift = _mm256_or_si256(shift, _mm256_and_si256(inRange(x, 'a', 'z'), _mm256_set1_epi8(char(26 - 'a'))));
    shift = _mm256_or_si256(shift, _mm256_and_si256(inRange(x, '0', '9'), _mm256_set1_epi8(char(52 - '0'))));
    shift = _mm256_or_si256(shift, _mm256_and_si256(is62(x), offset62_));
    shift = _mm256_or_si256(shift, _mm256_and_si256(is63(x), offset63_));
    const __m256i values = _mm256_add_epi8(x, shift);
    const __m256i pairs = _mm256_maddubs_epi16(values, _mm256_set1_epi32(0x01400140));
    const __m256i lanes = _mm256_madd_epi16(pairs, _mm256_set1_epi32(0x00011000));
    const __m256i order = _mm256_setr_epi8(2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1,  //
                                           2, 1, 0, 6, 5, 4, 10, 9, 8, 14, 13, 12, -1, -1, -1, -1);
    const __m256i bytes =
        _mm256_permutevar8x32_epi32(_mm256_shuffle_epi8(lanes, order), _mm256_setr_epi32(0, 1, 2, 4, 5, 6, 7, 7));
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(out), bytes);
  }

 private:
  __attribute__((target("avx2"))) __m256i is62(__m256i x) const { return _mm256_cmpeq_epi8(x, digit62_); }
  __attribute__((target("avx2"))) __m256i is63(__m256i x) const { return _mm256_cmpeq_epi8(x, digit63_); }

  __m256i digit62_, digit63_, offset62_, offset63_;
};

// A line break expected in the input: where it starts, and its one or two
// bytes (the second one only when the length is 2).
struct LineBreak {
  std::size_t at;
  std::size_t length;
  std::uint8_t first;
  std::uint8_t second;
};

// Decodes blocks of 32 digits and stops at the first block it cannot take
// whole, after the whole groups before its first non-digit; the scalar paths
// handle the rest. A block whose one interruption is a line break (one or two
// bytes the decoder ignores: LF, or CRLF when lenient) is taken whole: the
// bytes after the break are loaded again one or two places on and blended in,
// which closes the gap.
//
// Once two breaks of the same bytes have been closed, the text is taken to be
// wrapped at a fixed width, and where the next break falls is predicted from
// the width instead of found by looking: finding it makes each load wait for
// the classification of the block before it, and a branch on whether a block
// holds a break would be mispredicted once a line, since the breaks fall out
// of step with the blocks. A prediction is checked after the fact, and the
// first one that fails hands the block back to the searching loop.
class AVX2BlockDecoder {
 public:
  __attribute__((target("avx2"))) AVX2BlockDecoder(const std::uint8_t* s, std::size_t n, std::uint8_t* out,
                                                   std::size_t room, bool urlSafe, const std::uint8_t* ignorable)
      : input_{s, n, out, room, ignorable, AVX2Alphabet(urlSafe)} {}

  __attribute__((target("avx2"))) std::size_t run(std::size_t* written) {
    while (searchForBreaks()) predictBreaks();
    *written = o_;
    return i_;
  }

 private:
  // Block by block, looking for each break; true when two breaks of the same
  // bytes have given the line width, false at a block it cannot take.
  __attribute__((target("avx2"))) bool searchForBreaks() {
    const Input l = input_;
    std::size_t i = i_, o = o_;
    std::size_t previous = SIZE_MAX, previousLength = 0;
    bool learned = false;
    while (i + 32 <= l.n && o + 32 <= l.room) {
      const __m256i x = l.load(i);
      const std::uint32_t bad = l.alphabet.nonDigits(x);
      if (bad == 0) {
        l.alphabet.decode(x, l.out + o);
        i += 32;
        o += 24;
        continue;
      }
      const std::size_t at = i + static_cast<std::size_t>(__builtin_ctz(bad));
      std::size_t length = 0;
      if (i + 33 <= l.n && l.ignorable[l.s[at]]) length = 1 + l.ignorable[l.s[at + 1]];
      if (length != 0 && i + length + 32 <= l.n) {
        const __m256i closed = l.closeGap(x, i, at - i, length);
        if (l.alphabet.nonDigits(closed) == 0) {
          l.alphabet.decode(closed, l.out + o);
          i += 32 + length;
          o += 24;
          if (previous != SIZE_MAX && length == previousLength && l.sameBytes(at, previous, length) &&
              at - previous >= kShortestWidth) {
            width_ = at - previous;
            next_ = {at + width_, length, l.s[at], l.s[at + 1]};
            learned = true;
            break;
          }
          previous = at;
          previousLength = length;
          continue;
        }
      }
      const std::size_t groups = (at - i) / 4;
      if (groups != 0) l.alphabet.decode(x, l.out + o);
      i += 4 * groups;
      o += 3 * groups;
      break;
    }
    i_ = i;
    o_ = o;
    return learned;
  }

  // Block by block at the predicted breaks, until a prediction fails or the
  // input or the room runs out.
  __attribute__((target("avx2"))) void predictBreaks() {
    const Input l = input_;
    const std::uint8_t first = next_.first, second = next_.second;
    const std::size_t width = width_, breakLength = next_.length;
    std::size_t i = i_, o = o_, next = next_.at;
    // Two bytes past the block are read when a break may start at its end.
    while (i + 34 <= l.n && o + 32 <= l.room) {
      const __m256i x = l.load(i);
      // Masks rather than conditions, so that nothing here is a branch.
      const std::size_t distance = next - i;
      const std::size_t inBlock = -static_cast<std::size_t>(distance < 32);
      const std::size_t at = std::min<std::size_t>(distance, 32);
      const std::size_t length = breakLength & inBlock;
      const __m256i closed = l.closeGap(x, i, at, length);
      const bool bytesMatch = (l.s[i + at] == first) & ((breakLength == 1) | (l.s[i + at + 1] == second));
      const bool breakThere = (inBlock == 0) | bytesMatch;
      if (!breakThere || l.alphabet.nonDigits(closed) != 0) break;
      l.alphabet.decode(closed, l.out + o);
      i += 32 + length;
      o += 24;
      next += width & inBlock;
    }
    i_ = i;
    o_ = o;
  }

  // What the loops read, which each copies into a local to keep in
  // registers: every store through the output could alias a member, which
  // would then be reloaded each block.
  struct Input {
    const std::uint8_t* s;
    std::size_t n;
    std::uint8_t* out;
    std::size_t room;
    const std::uint8_t* ignorable;
    AVX2Alphabet alphabet;

    __attribute__((target("avx2"))) __m256i load(std::size_t at) const {
      return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(s + at));
    }

    // The block x, loaded at i, with the `length` bytes at its offset `at`
    // taken out and the following bytes moved up.
    __attribute__((target("avx2"))) __m256i closeGap(__m256i x, std::size_t i, std::size_t at,
                                                     std::size_t length) const {
      const __m256i positions = _mm256_setr_epi8(0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17, 18,
                                                 19, 20, 21, 22, 23, 24, 25, 26, 27, 28, 29, 30, 31);
      const __m256i fromAfter = _mm256_cmpgt_epi8(positions, _mm256_set1_epi8(char(at - 1)));
      return _mm256_blendv_epi8(x, load(i + length), fromAfter);
    }

    bool sameBytes(std::size_t a, std::size_t b, std::size_t length) const {
      return s[a] == s[b] && (length == 1 || s[a + 1] == s[b + 1]);
    }
  };

  // Lines narrower than this can put two breaks in one block, which the
  // predicting loop does not handle; they stay with the searching one.
  static constexpr std::size_t kShortestWidth = 36;

  Input input_;
  std::size_t i_ = 0, o_ = 0;
  std::size_t width_ = 0;
  LineBreak next_{SIZE_MAX, 0, 0, 0};
};

__attribute__((target("avx2"))) std::size_t decodeBlocksAVX2(const std::uint8_t* s, std::size_t n, std::uint8_t* out,
                                                             std::size_t room, bool urlSafe,
                                                             const std::uint8_t* ignorable, std::size_t* written) {
  return AVX2BlockDecoder(s, n, out, room, urlSafe, ignorable).run(written);
}

// Runs of 64 digits, 48 output bytes each, with AVX-512 and its byte
// permutes: one two-table permute maps every byte to its digit value (or to a
// value with the top bit set for anything else, as for every byte of 0x80 and
// above), and one more packs the lanes' 24 bits into 48 contiguous bytes.
// Stops at the first block holding anything but digits, which the AVX2 loop
// then takes. Needs 64 bytes of room in the output.
#define TQ_AVX512_VBMI __attribute__((target("avx512f,avx512bw,avx512vbmi")))

struct DigitValues {
  alignas(64) std::uint8_t of[128];
};

constexpr DigitValues makeDigitValues(const DecodeTable& table) {
  DigitValues values{};
  for (int c = 0; c < 128; ++c) values.of[c] = table[c] < 64 ? table[c] : 0x80;
  return values;
}

constexpr DigitValues StandardDigitValues = makeDigitValues(StandardTable);
constexpr DigitValues URLSafeDigitValues = makeDigitValues(URLSafeTable);

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

TQ_AVX512_VBMI std::size_t decodeCleanAVX512(const std::uint8_t* s, std::size_t n, std::uint8_t* out,
                                             std::size_t room, bool urlSafe, std::size_t* written) {
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
        ignorable_(!lenient_ ? StrictIgnorable : urlSafe_ ? URLSafeLenientIgnorable : LenientIgnorable),
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
      if (avx512_) {
        std::size_t written = 0;
        i += decodeCleanAVX512(s + i, n - i, out + used, Base64DecodeChunkSize - used, urlSafe_, &written);
        used += written;
      }
      if (avx2_) {
        std::size_t written = 0;
        i += decodeBlocksAVX2(s + i, n - i, out + used, Base64DecodeChunkSize - used, urlSafe_, ignorable_.data(),
                              &written);
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
    chunk_.resize(Base64DecodeChunkSize);  // not zero-filled: written before it is read
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
  bool avx2_ = VectorSupport::useAVX2();
  bool avx512_ = VectorSupport::useAVX512();
#endif
  const DecodeTable& table_;
  const ShiftedTables& shifted_;
  const IgnorableTable& ignorable_;
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
