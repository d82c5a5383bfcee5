// The encoders of header words and plain-text bodies, and the charset names.

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#if defined(__SSE2__)
#include <emmintrin.h>
#endif

#include "tq/encodings/MimeEncoding.h"

namespace tq::MimeEncoding {

namespace {

using ByteSet = std::array<bool, 256>;

// Bytes a Q-encoded word may carry as themselves: 0x20 to 0x7D less space,
// "_", "=" and "?". "~" and DEL are escaped; "(", ")", "\"" and "," are not.
const ByteSet& qSafeSet() {
  static const ByteSet set = [] {
    ByteSet built{};
    for (int c = 0x20; c <= 0x7D; ++c) built[c] = true;
    for (char c : std::string_view(" _=?")) built[static_cast<unsigned char>(c)] = false;
    return built;
  }();
  return set;
}

// Bytes a quoted-printable body carries as themselves: 0x20 to 0x7D, CR and
// LF, less the characters that gateways are known to mangle. Tab is escaped.
const ByteSet& bodySafeSet() {
  static const ByteSet set = [] {
    ByteSet built{};
    for (int c = 0x20; c <= 0x7D; ++c) built[c] = true;
    built['\r'] = built['\n'] = true;
    for (char c : std::string_view("=!\"#$@[\\]^`{|}~")) built[static_cast<unsigned char>(c)] = false;
    return built;
  }();
  return set;
}

constexpr char HexDigits[] = "0123456789ABCDEF";

void appendEscape(std::u16string& out, unsigned char byte) {
  out.push_back(u'=');
  out.push_back(static_cast<char16_t>(HexDigits[byte >> 4]));
  out.push_back(static_cast<char16_t>(HexDigits[byte & 15]));
}

// ISO-8859-2 ahead of UTF-8 is the order the add-ons have always used; the
// words it produces are stored and compared, so it stays.
constexpr StringEncoding FallbackChain[] = {ISOLatin2StringEncoding, UTF8StringEncoding, UnicodeStringEncoding};

StringEncoding firstEncodingHolding(const String& text, StringEncoding preferred) {
  if (Charset::canBeConvertedToEncoding(text, preferred)) return preferred;
  for (StringEncoding candidate : FallbackChain) {
    if (Charset::canBeConvertedToEncoding(text, candidate)) return candidate;
  }
  return NoStringEncoding;
}

StringEncoding wordEncodingFor(const String& text, StringEncoding preferred) {
  StringEncoding chosen = firstEncodingHolding(text, preferred);
  if (chosen != NoStringEncoding) return chosen;
  StringEncoding smallest = Charset::smallestEncoding(text.utf16());
  return Charset::canBeConvertedToEncoding(text, smallest) ? smallest : NoStringEncoding;
}

std::u16string qEncode(std::string_view bytes) {
  const ByteSet& safe = qSafeSet();
  std::u16string out;
  out.reserve(bytes.size() * 3);
  for (char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (safe[byte]) {
      out.push_back(byte);
    } else if (byte == ' ') {
      out.push_back(u'_');
    } else {
      appendEscape(out, byte);
    }
  }
  return out;
}

// Escapes body bytes; the result is ASCII, kept in bytes until the split so
// that the hot loops write single bytes through pointers.
std::string escapeBody(std::string_view bytes) {
  const ByteSet& safe = bodySafeSet();
  std::size_t size = bytes.size();
  for (char c : bytes) size += safe[static_cast<unsigned char>(c)] ? 0 : 2;
  std::string out(size, '\0');
  char* o = out.data();
  for (char c : bytes) {
    const auto byte = static_cast<unsigned char>(c);
    if (safe[byte]) {
      *o++ = c;
    } else {
      o[0] = '=';
      o[1] = HexDigits[byte >> 4];
      o[2] = HexDigits[byte & 15];
      o += 3;
    }
  }
  out.resize(static_cast<std::size_t>(o - out.data()));
  return out;
}

#if defined(__SSE2__)
// Mail bodies are mostly plain ASCII, so the UTF-8 body encoder looks at
// sixteen units at a time and leaves the per-character work to the rest.
// The units are first narrowed to bytes, capped at 0xFF: ASCII stays as it
// is and anything else becomes 0x80 or more, which is negative in the signed
// byte comparisons below and so fails every range.
inline __m128i capAtFF(__m128i units) {
  // The unsigned minimum, which SSE2 lacks: a - max(a - b, 0). The pack
  // below saturates signed units, and would turn 0x8000 and above into 0.
  return _mm_subs_epu16(units, _mm_subs_epu16(units, _mm_set1_epi16(0xFF)));
}

inline __m128i load16(const char16_t* p) {
  const auto* v = reinterpret_cast<const __m128i*>(p);
  return _mm_packus_epi16(capAtFF(_mm_loadu_si128(v)), capAtFF(_mm_loadu_si128(v + 1)));
}

inline __m128i inRange(__m128i b, char low, char high) {
  return _mm_and_si128(_mm_cmpgt_epi8(b, _mm_set1_epi8(static_cast<char>(low - 1))),
                       _mm_cmplt_epi8(b, _mm_set1_epi8(static_cast<char>(high + 1))));
}

// All ones in the bytes that a body carries as themselves. SSE2 has no byte
// table lookup, so the safe set is spelled out as ranges: 0x20 to 0x7D less
// "!\"#$", "=", "@", "[\\]^", "`" and "{|}", plus CR and LF.
inline __m128i safeBytes(__m128i b) {
  __m128i unsafe = inRange(b, 0x21, 0x24);
  unsafe = _mm_or_si128(unsafe, _mm_cmpeq_epi8(b, _mm_set1_epi8('=')));
  unsafe = _mm_or_si128(unsafe, _mm_cmpeq_epi8(b, _mm_set1_epi8('@')));
  unsafe = _mm_or_si128(unsafe, inRange(b, 0x5B, 0x5E));
  unsafe = _mm_or_si128(unsafe, _mm_cmpeq_epi8(b, _mm_set1_epi8('`')));
  unsafe = _mm_or_si128(unsafe, inRange(b, 0x7B, 0x7D));
  const __m128i printable = _mm_andnot_si128(unsafe, inRange(b, 0x20, 0x7D));
  const __m128i lineEnd = _mm_or_si128(_mm_cmpeq_epi8(b, _mm_set1_epi8('\r')), _mm_cmpeq_epi8(b, _mm_set1_epi8('\n')));
  return _mm_or_si128(printable, lineEnd);
}

// How many bytes, from the first, are set in a comparison result whose
// movemask is `mask` and not all ones: a run of plain text usually ends
// inside a block, and its start is still taken a block at a time.
inline std::size_t leadingBytes(int mask) {
  return static_cast<std::size_t>(__builtin_ctz(static_cast<unsigned>(~mask)));
}

// All ones in the first `count` bytes.
inline __m128i firstBytes(std::size_t count) {
  static constexpr signed char window[32] = {-1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1, -1};
  return _mm_loadu_si128(reinterpret_cast<const __m128i*>(window + 16 - count));
}

// Sum of the sixteen bytes.
inline std::size_t byteSum(__m128i counts) {
  const __m128i sums = _mm_sad_epu8(counts, _mm_setzero_si128());
  return static_cast<std::size_t>(_mm_cvtsi128_si32(sums)) + static_cast<std::size_t>(_mm_extract_epi16(sums, 4));
}
#endif

constexpr std::size_t kLineLimit = kQuotedPrintableLineLength - 1;  // 75 characters before "="
// How far ahead one line's end can depend on: its 75 characters, then a CR
// and an LF that end it there.
constexpr std::size_t kLineReach = kLineLimit + 2;

// Splits escaped body text into lines of at most 75 characters plus a soft
// break "=", never cutting an escape, and joins them with CRLF. LF and CRLF
// end lines; a lone CR is an ordinary character.
//
// Line by line rather than character by character: within the next 77
// characters only the first LF, and any "=" in columns 73 to 75, can end the
// line, so each line costs one bounded search and one widening copy.
//
// The text may come in pieces. Unless `last` says that e[0, n) ends the
// body, the split stops while fewer than 77 characters are left, because
// where the next line ends may depend on text not escaped yet; the return
// value says how far it got. At most 2n + 1 units are written through o: an
// LF gains a CR, a soft break adds three after at least 72 characters, and
// the end of the body may gain "=".
std::size_t splitLines(const char* e, std::size_t n, bool last, char16_t*& o) {
  auto copy = [&](std::size_t from, std::size_t to) {
    for (std::size_t k = from; k < to; ++k) o[k - from] = static_cast<unsigned char>(e[k]);
    o += to - from;
  };
  std::size_t start = 0;
  while (start < n) {
    if (!last && n - start < kLineReach) return start;
    // The first hard break within reach: an LF, or a CR right before an LF.
    const std::size_t reach = std::min(n, start + kLineReach);
    const auto* lf = static_cast<const char*>(std::memchr(e + start, '\n', reach - start));
    std::size_t hard = n, skip = 0;
    if (lf) {
      const auto j = static_cast<std::size_t>(lf - e);
      if (j > start && e[j - 1] == '\r') {
        hard = j - 1;
        skip = 2;
      } else if (j <= start + kLineLimit) {
        hard = j;
        skip = 1;
      }
    }
    // The soft break: at column 76, or earlier at an "=" that would start in
    // columns 73 to 75, so that no escape is cut.
    std::size_t soft = start + kLineLimit;
    for (std::size_t k = start + kLineLimit - 3; k < start + kLineLimit && k < n; ++k) {
      if (e[k] == '=') {
        soft = k;
        break;
      }
    }
    if (hard <= soft && hard < n) {
      copy(start, hard);
      *o++ = u'\r';
      *o++ = u'\n';
      start = hard + skip;
    } else if (soft < n) {
      copy(start, soft);
      *o++ = u'=';
      *o++ = u'\r';
      *o++ = u'\n';
      start = soft;
    } else {
      break;  // the rest fits on the last line
    }
  }
  if (!last) return start;
  // The last line has no line end. A trailing space there would be lost in
  // transport, so it is protected by a soft break; trailing spaces of the
  // other lines are left as they are.
  if (start < n) {
    copy(start, n);
    if (e[n - 1] == ' ') *o++ = u'=';
  }
  return n;
}

std::u16string splitIntoLines(const std::string& escaped) {
  const std::size_t n = escaped.size();
  // Each LF may gain a CR, and each soft break adds "=\r\n" after 72 or more
  // characters; the output is sized for both, plus the final "=".
  const auto lineFeeds = static_cast<std::size_t>(std::count(escaped.begin(), escaped.end(), '\n'));
  std::u16string out(n + lineFeeds + n / 24 + 8, u'\0');
  char16_t* o = out.data();
  splitLines(escaped.data(), n, true, o);
  out.resize(static_cast<std::size_t>(o - out.data()));
  return out;
}

// The escaped length of a body and its LF count, which bound the encoder's
// output. False for an unpaired surrogate.
bool measureUTF8Body(std::u16string_view text, std::size_t& escapedSize, std::size_t& lineFeeds) {
  const ByteSet& safe = bodySafeSet();
  const std::size_t n = text.size();
  escapedSize = lineFeeds = 0;
#if defined(__SSE2__)
  // Sixteen ASCII units count one each and two more for each escape. The
  // escapes and LFs are counted in byte lanes, emptied before they can
  // overflow, because SSE2 has no instruction to count bits.
  __m128i escapes = _mm_setzero_si128(), feeds = _mm_setzero_si128();
  std::size_t blocks = 0;
  auto empty = [&] {
    escapedSize += 2 * byteSum(escapes);
    lineFeeds += byteSum(feeds);
    escapes = feeds = _mm_setzero_si128();
    blocks = 0;
  };
#endif
  for (std::size_t i = 0; i < n; ++i) {
#if defined(__SSE2__)
    while (i + 16 <= n) {
      const __m128i b = load16(text.data() + i);
      const int asciiMask = _mm_movemask_epi8(_mm_cmpgt_epi8(b, _mm_set1_epi8(-1)));
      const std::size_t count = asciiMask == 0xFFFF ? 16 : leadingBytes(asciiMask);
      const __m128i taken = firstBytes(count);
      // Subtracting the all-ones lanes of a comparison adds one to each.
      escapes = _mm_sub_epi8(escapes, _mm_andnot_si128(safeBytes(b), taken));
      feeds = _mm_sub_epi8(feeds, _mm_and_si128(taken, _mm_cmpeq_epi8(b, _mm_set1_epi8('\n'))));
      escapedSize += count;
      i += count;
      if (++blocks == 255) empty();
      if (count < 16) break;
    }
    if (i == n) break;
#endif
    const char16_t c = text[i];
    if (c < 0x80) {
      escapedSize += safe[c] ? 1 : 3;
      lineFeeds += c == u'\n';
    } else if (c < 0x800) {
      escapedSize += 6;
    } else if (!U16_IS_SURROGATE(c)) {
      escapedSize += 9;
    } else if (U16_IS_SURROGATE_LEAD(c) && i + 1 < n && U16_IS_TRAIL(text[i + 1])) {
      escapedSize += 12;
      ++i;
    } else {
      return false;
    }
  }
#if defined(__SSE2__)
  empty();
#endif
  return true;
}

// UTF-8 bodies, the common case, are escaped straight from their units: every
// byte of a non-ASCII character is escaped anyway, so no UTF-8 copy of the
// body is made. Nor is a body-sized escaped copy: the escaped text passes
// through a buffer of a few thousand characters that stays in cache, and its
// lines are appended to the output, which is reserved once from a counting
// pass and so written only once, never zero-filled first.
// False for an unpaired surrogate.
bool encodeUTF8Body(std::u16string_view text, std::u16string& out) {
  std::size_t escapedSize = 0, lineFeeds = 0;
  if (!measureUTF8Body(text, escapedSize, lineFeeds)) return false;
  const ByteSet& safe = bodySafeSet();
  const std::size_t n = text.size();
  // The same bound as splitIntoLines uses, so the appends never reallocate.
  out.clear();
  out.reserve(escapedSize + lineFeeds + escapedSize / 24 + 8);

  constexpr std::size_t kPiece = 4096;
  constexpr std::size_t kLongestEscape = 12;  // a supplementary character
  // A piece is filled to kPiece characters and may overrun by the fifteen
  // safe units of a block taken before an escape, and that escape; a block
  // store writes sixteen bytes.
  constexpr std::size_t kPieceRoom = kPiece + 15 + kLongestEscape;
  char escaped[kPieceRoom];
  char16_t lines[2 * kPieceRoom + 1];
  std::size_t have = 0;
  std::size_t i = 0;
  for (;;) {
    while (i < n && have < kPiece) {
#if defined(__SSE2__)
      // A block of safe units is stored at once. All sixteen bytes are
      // written; only the safe ones before the first other unit are kept.
      if (i + 16 <= n) {
        const __m128i b = load16(text.data() + i);
        const int safeMask = _mm_movemask_epi8(safeBytes(b));
        _mm_storeu_si128(reinterpret_cast<__m128i*>(escaped + have), b);
        if (safeMask == 0xFFFF) {
          have += 16;
          i += 16;
          continue;
        }
        const std::size_t count = leadingBytes(safeMask);
        have += count;
        i += count;
      }
#endif
      UChar32 c = text[i++];
      if (c < 0x80 && safe[c]) {
        escaped[have++] = static_cast<char>(c);
        continue;
      }
      if (U16_IS_SURROGATE(c)) c = U16_GET_SUPPLEMENTARY(c, text[i++]);
      std::uint8_t bytes[4];
      int32_t length = 0;
      U8_APPEND_UNSAFE(bytes, length, c);
      for (int32_t k = 0; k < length; ++k) {
        char* o = escaped + have;
        o[0] = '=';
        o[1] = HexDigits[bytes[k] >> 4];
        o[2] = HexDigits[bytes[k] & 15];
        have += 3;
      }
    }
    const bool last = i == n;
    char16_t* o = lines;
    const std::size_t used = splitLines(escaped, have, last, o);
    out.append(lines, static_cast<std::size_t>(o - lines));
    if (last) return true;
    // The unfinished line, under 77 characters, starts the next piece.
    std::memmove(escaped, escaped + used, have - used);
    have -= used;
  }
}

}  // namespace

Ref<String> qEncodedStringWithString(const String& text, StringEncoding preferredEncoding,
                                     StringEncoding* encodingUsed) {
  const StringEncoding chosen = wordEncodingFor(text, preferredEncoding);
  if (encodingUsed) *encodingUsed = chosen;
  std::string bytes;
  if (chosen == NoStringEncoding || !Charset::encode(text.utf16(), chosen, bytes)) return nullptr;
  return make<String>(qEncode(bytes));
}

Ref<String> mimeWordWithString(const String& text, StringEncoding preferredEncoding, StringEncoding* encodingUsed) {
  StringEncoding chosen = NoStringEncoding;
  Ref<String> payload = qEncodedStringWithString(text, preferredEncoding, &chosen);
  Ref<String> name = payload && chosen != NoStringEncoding ? FKcharSetNameForEncoding(chosen) : nullptr;
  if (!name) {
    if (encodingUsed) *encodingUsed = NoStringEncoding;
    return nullptr;
  }
  if (encodingUsed) *encodingUsed = chosen;
  std::u16string word = u"=?" + name->utf16() + u"?Q?" + payload->utf16() + u"?=";
  return make<String>(std::move(word));
}

Ref<String> quotedPrintableStringForPlainTextBody(const String& body, StringEncoding preferredEncoding,
                                                  StringEncoding* encodingUsed) {
  // UTF-8 holds every body whose surrogates are paired, which the encoder
  // checks as it goes, so the usual request skips a separate check pass.
  if (preferredEncoding == UTF8StringEncoding) {
    std::u16string encoded;
    if (encodeUTF8Body(body.utf16(), encoded)) {
      if (encodingUsed) *encodingUsed = UTF8StringEncoding;
      return make<String>(std::move(encoded));
    }
  }
  const StringEncoding chosen = firstEncodingHolding(body, preferredEncoding);
  if (encodingUsed) *encodingUsed = chosen;
  if (chosen == NoStringEncoding) return nullptr;
  if (chosen == UTF8StringEncoding) {
    std::u16string encoded;
    if (!encodeUTF8Body(body.utf16(), encoded)) return nullptr;
    return make<String>(std::move(encoded));
  }
  std::string bytes;
  if (!Charset::encode(body.utf16(), chosen, bytes)) return nullptr;
  return make<String>(splitIntoLines(escapeBody(bytes)));
}

Ref<String> FKcharSetNameForEncoding(StringEncoding encoding) {
  std::string_view name = Charset::ianaName(encoding);
  if (name.empty()) return nullptr;
  std::u16string lowered(name.size(), u'\0');
  for (std::size_t i = 0; i < name.size(); ++i) {
    const char c = name[i];
    lowered[i] = static_cast<char16_t>((c >= 'A' && c <= 'Z') ? c + 32 : c);
  }
  return make<String>(std::move(lowered));
}

StringEncoding FKencodingForCharSetName(const String& name) {
  return Charset::encodingForIANAName(std::u16string_view(name.utf16()));
}

}  // namespace tq::MimeEncoding
