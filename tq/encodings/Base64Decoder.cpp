// The library's own Base64 decoder: lenient and URL-safe modes, output in
// fixed-size chunks handed over as chained data, so that decoding a large
// message part never builds one large buffer.

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include "tq/encodings/TransferEncodings.h"
#include "tq/encodings/internal/VectorDispatch.h"

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

// The portable loop's part of the blocks: none, the scalar loops take them.
std::size_t decodeBlocksPortable(const std::uint8_t*, std::size_t, std::uint8_t*, std::size_t, bool,
                                 const std::uint8_t*, std::size_t* written) {
  *written = 0;
  return 0;
}

EncodingLoops::Base64Decode blockLoop() {
  static const EncodingLoops::Base64Decode loop = EncodingLoops::widest<EncodingLoops::Base64Decode>(
      {&decodeBlocksPortable, nullptr, TQ_VECTOR_LOOP(base64DecodeAVX2), TQ_VECTOR_LOOP(base64DecodeAVX512)});
  return loop;
}

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
      // Whole blocks first, as many as the processor's vector loop takes.
      std::size_t written = 0;
      i += decodeBlocks_(s + i, n - i, out + used, Base64DecodeChunkSize - used, urlSafe_, ignorable_.data(),
                         &written);
      used += written;
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
  EncodingLoops::Base64Decode decodeBlocks_ = blockLoop();
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
