// The quoted-printable decoder (and its Q variant for encoded words).

#include <array>
#include <cstring>
#include <string>

#include "tq/encodings/TransferEncodings.h"
#include "tq/encodings/internal/PiecewiseText.h"
#include "tq/encodings/internal/Prefault.h"
#include "tq/encodings/internal/VectorDispatch.h"
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

// The portable loop's part of the bulk: none, the loop below takes it all.
bool decodeBulkPortable(const char*&, const char*, char*&, bool) { return true; }

// Decodes the whole of `input` to o, which has room for input.size() bytes;
// answers the end of what it wrote, or null at a malformed escape.
char* decodeInto(std::string_view input, bool underscoreIsSpace, char* o) {
  const char* p = input.data();
  const char* const end = p + input.size();
  static const EncodingLoops::QuotedPrintableDecode decodeBulk = EncodingLoops::widest<EncodingLoops::QuotedPrintableDecode>(
      {&decodeBulkPortable, nullptr, TQ_VECTOR_LOOP(quotedPrintableDecodeAVX2),
       TQ_VECTOR_LOOP(quotedPrintableDecodeAVX512)});
  bool ok = decodeBulk(p, end, o, underscoreIsSpace);
  // The rest (all of it without AVX2): runs of plain bytes eight at a time.
  while (ok && p < end) {
    const std::size_t plain = copyPlainSWAR(p, end, o, underscoreIsSpace);
    p += plain;
    o += plain;
    if (p < end) ok = decodeSpecialNearEnd(p, end, o, underscoreIsSpace);
  }
  return ok ? o : nullptr;
}

// The text is decoded a block of input at a time into a buffer that stays in
// cache, and each block's bytes are turned into UTF-16 at once: the bytes of
// a large part are then never held whole, and no buffer of its whole size is
// filled with zeros before it is written.
constexpr std::size_t TextBlockSize = 16 * 1024;

// Where the block that starts at `from` ends: TextBlockSize on, moved back to
// just before an "=" that would have its escape cut. Every "=" of a
// well-formed text begins an escape, so the blocks decode to exactly the bytes
// of the whole; in a malformed one the first bad escape still fails.
std::size_t blockEnd(std::string_view input, std::size_t from) {
  if (input.size() - from <= TextBlockSize) return input.size();
  std::size_t cut = from + TextBlockSize;
  if (input[cut - 1] == '=') return cut - 1;
  if (input[cut - 2] == '=') return cut - 2;
  return cut;
}

}  // namespace

bool decodeQuotedPrintable(std::string_view input, std::uint64_t options, std::string& out) {
  // Decoding never lengthens the text, so the output is sized once and
  // written through a pointer. New memory for a large output is faulted in
  // with one request before the string fills it with zeros (see Prefault).
  if (out.capacity() < input.size()) {
    out.clear();  // nothing of it is kept, so nothing need be copied
    out.reserve(input.size());
    if (input.size() >= detail::PrefaultFromBytes) detail::prefault(out.data(), out.data() + input.size());
  }
  out.resize(input.size());
  char* const end = decodeInto(input, (options & QuotedPrintableDecodeUnderscoreAsSpace) != 0, out.data());
  if (!end) {
    out.clear();
    return false;
  }
  out.resize(static_cast<std::size_t>(end - out.data()));
  return true;
}

Ref<String> decodedQuotedPrintableStringWithEncoding(const Data& data, StringEncoding encoding, std::uint64_t options,
                                                     Ref<Error>* error) {
  const std::string_view input = data.view();
  detail::PiecewiseText text(encoding, input.size());
  if (!text.readsPieces()) {
    std::string bytes;
    if (!decodeQuotedPrintable(input, options, bytes)) {
      setError(error, malformedError());
      return nullptr;
    }
    return Charset::stringWithBytes(bytes, encoding);
  }
  const bool underscoreIsSpace = (options & QuotedPrintableDecodeUnderscoreAsSpace) != 0;
  char bytes[TextBlockSize];
  bool readable = true;
  for (std::size_t from = 0; from < input.size();) {
    const std::size_t to = blockEnd(input, from);
    const char* const end = decodeInto(input.substr(from, to - from), underscoreIsSpace, bytes);
    if (!end) {
      setError(error, malformedError());
      return nullptr;
    }
    // Bytes the charset cannot read give nil, but only once the rest is known
    // to hold no malformed escape, which gives the error instead.
    if (readable) readable = text.append(std::string_view(bytes, static_cast<std::size_t>(end - bytes)));
    from = to;
  }
  return readable ? text.finish() : nullptr;
}

}  // namespace tq::FKQuotedPrintable
