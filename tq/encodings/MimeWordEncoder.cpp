// The encoders of header words and plain-text bodies, and the charset names.

#include <algorithm>
#include <array>
#include <cstring>
#include <string>
#include <vector>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

#if defined(__SSE2__) && TQ_VECTOR_PATHS
#include <emmintrin.h>
#endif

#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/QuotedPrintableBody.h"

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

#if defined(__SSE2__) && TQ_VECTOR_PATHS
// Text is narrowed to bytes sixteen units at a time, capped at 0xFF: ASCII
// stays as it is and anything else becomes 0x80 or more, which the sign bit
// of each byte then shows.
inline __m128i capAtFF(__m128i units) {
  // The unsigned minimum, which SSE2 lacks: a - max(a - b, 0). The pack
  // below saturates signed units, and would turn 0x8000 and above into 0.
  return _mm_subs_epu16(units, _mm_subs_epu16(units, _mm_set1_epi16(0xFF)));
}

inline __m128i load16(const char16_t* p) {
  const auto* v = reinterpret_cast<const __m128i*>(p);
  return _mm_packus_epi16(capAtFF(_mm_loadu_si128(v)), capAtFF(_mm_loadu_si128(v + 1)));
}
#endif

// Converts text[i, stop) to UTF-8 at bytes + size, advancing both; a
// surrogate pair that starts at stop - 1 is taken whole. Needs room for three
// bytes a unit, and sixteen more. False for an unpaired surrogate.
bool appendUTF8(std::u16string_view text, std::size_t& i, std::size_t stop, char* bytes, std::size_t& size) {
  const std::size_t n = text.size();
  std::uint8_t* o = reinterpret_cast<std::uint8_t*>(bytes);
  std::size_t k = size;
  while (i < stop) {
#if defined(__SSE2__) && TQ_VECTOR_PATHS
    // Mail bodies are mostly ASCII: sixteen units at a time while they are.
    if (i + 16 <= stop) {
      const __m128i b = load16(text.data() + i);
      _mm_storeu_si128(reinterpret_cast<__m128i*>(o + k), b);
      const auto high = static_cast<unsigned>(_mm_movemask_epi8(b));
      const std::size_t ascii = high == 0 ? 16 : static_cast<std::size_t>(__builtin_ctz(high));
      i += ascii;
      k += ascii;
      if (ascii == 16) continue;
    }
#endif
    UChar32 c = text[i++];
    if (U16_IS_SURROGATE(c)) {
      if (!U16_IS_SURROGATE_LEAD(c) || i == n || !U16_IS_TRAIL(text[i])) return false;
      c = U16_GET_SUPPLEMENTARY(c, text[i++]);
    }
    U8_APPEND_UNSAFE(o, k, c);
  }
  size = k;
  return true;
}

// Appends ASCII bytes to text as units.
void appendWidened(std::u16string& out, const char* bytes, std::size_t n) {
  const std::size_t old = out.size();
  out.resize(old + n);
  char16_t* o = out.data() + old;
  for (std::size_t k = 0; k < n; ++k) o[k] = static_cast<unsigned char>(bytes[k]);
}

// UTF-8 bodies, the common case, are converted and encoded a block of
// characters at a time, so no body-sized UTF-8 or escaped copy is made; each
// block's output is widened into the result as it comes. False for an
// unpaired surrogate.
bool encodeUTF8Body(std::u16string_view text, std::u16string& out) {
  constexpr std::size_t kUnits = 8192;
  // Three bytes a unit, one more for a pair taken whole at the block's end,
  // one for a CR held back from the block before, and the vector's sixteen.
  constexpr std::size_t kBytesRoom = 3 * kUnits + 2 + 16;
  // The buffers are made once per thread that encodes, on the heap: as
  // thread-local arrays they would be set up in every thread of the host,
  // and a loaded library's thread-local space is small.
  thread_local std::vector<char> buffers(kBytesRoom + QuotedPrintableBodyEncoder::outputRoom(kBytesRoom));
  char* const bytes = buffers.data();
  char* const encoded = bytes + kBytesRoom;
  out.clear();
  // Reserved for prose with a few escapes in each line; only the pages
  // written are ever touched, so reserving too much costs nothing, while
  // reserving too little costs a copy of everything written so far.
  out.reserve(text.size() + text.size() / 4 + 64);
  QuotedPrintableBodyEncoder encoder;
  const std::size_t n = text.size();
  std::size_t i = 0, size = 0;
  do {
    if (!appendUTF8(text, i, std::min(n, i + kUnits), bytes, size)) return false;
    char* o = encoded;
    const std::size_t used = encoder.encode(bytes, size, i == n, o);
    appendWidened(out, encoded, static_cast<std::size_t>(o - encoded));
    std::memmove(bytes, bytes + used, size - used);  // a CR held back, or nothing
    size -= used;
  } while (i < n);
  return true;
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
  std::string bytes, encoded;
  if (!Charset::encode(body.utf16(), chosen, bytes)) return nullptr;
  appendQuotedPrintableBody(bytes, encoded);
  return make<String>(std::u16string(encoded.begin(), encoded.end()));
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
