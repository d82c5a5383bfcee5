// The encoders of header words and plain-text bodies, and the charset names.

#include <algorithm>
#include <array>
#include <cstring>
#include <string>

#include <unicode/utf16.h>
#include <unicode/utf8.h>

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

// UTF-8 bodies, the common case, are escaped straight from their units
// without a byte buffer in between: every byte of a non-ASCII character is
// escaped anyway. False for an unpaired surrogate.
bool escapeUTF8Body(std::u16string_view text, std::string& out) {
  const ByteSet& safe = bodySafeSet();
  const std::size_t n = text.size();
  std::size_t size = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const char16_t c = text[i];
    if (c < 0x80) {
      size += safe[c] ? 1 : 3;
    } else if (c < 0x800) {
      size += 6;
    } else if (!U16_IS_SURROGATE(c)) {
      size += 9;
    } else if (U16_IS_SURROGATE_LEAD(c) && i + 1 < n && U16_IS_TRAIL(text[i + 1])) {
      size += 12;
      ++i;
    } else {
      return false;
    }
  }
  out.resize(size);
  char* o = out.data();
  for (std::size_t i = 0; i < n; ++i) {
    UChar32 c = text[i];
    if (c < 0x80 && safe[c]) {
      *o++ = static_cast<char>(c);
      continue;
    }
    if (U16_IS_SURROGATE(c)) c = U16_GET_SUPPLEMENTARY(c, text[++i]);
    std::uint8_t bytes[4];
    int32_t length = 0;
    U8_APPEND_UNSAFE(bytes, length, c);
    for (int32_t k = 0; k < length; ++k) {
      o[0] = '=';
      o[1] = HexDigits[bytes[k] >> 4];
      o[2] = HexDigits[bytes[k] & 15];
      o += 3;
    }
  }
  return true;
}

// Splits escaped body text into lines of at most 75 characters plus a soft
// break "=", never cutting an escape, and joins them with CRLF. LF and CRLF
// end lines; a lone CR is an ordinary character.
//
// Line by line rather than character by character: within the next 77
// characters only the first LF, and any "=" in columns 73 to 75, can end the
// line, so each line costs one bounded search and one widening copy.
std::u16string splitIntoLines(const std::string& escaped) {
  const std::size_t n = escaped.size();
  const auto limit = static_cast<std::size_t>(kQuotedPrintableLineLength) - 1;  // 75 characters before "="
  // Each LF may gain a CR, and each soft break adds "=\r\n" after 72 or more
  // characters; the output is sized for both, plus the final "=".
  const auto lineFeeds = static_cast<std::size_t>(std::count(escaped.begin(), escaped.end(), '\n'));
  std::u16string out(n + lineFeeds + n / 24 + 8, u'\0');
  char16_t* o = out.data();
  const char* e = escaped.data();
  auto copy = [&](std::size_t from, std::size_t to) {
    for (std::size_t k = from; k < to; ++k) o[k - from] = static_cast<unsigned char>(e[k]);
    o += to - from;
  };
  std::size_t start = 0;
  while (start < n) {
    // The first hard break within reach: an LF, or a CR right before an LF.
    const std::size_t reach = std::min(n, start + limit + 2);
    const auto* lf = static_cast<const char*>(std::memchr(e + start, '\n', reach - start));
    std::size_t hard = n, skip = 0;
    if (lf) {
      const auto j = static_cast<std::size_t>(lf - e);
      if (j > start && e[j - 1] == '\r') {
        hard = j - 1;
        skip = 2;
      } else if (j <= start + limit) {
        hard = j;
        skip = 1;
      }
    }
    // The soft break: at column 76, or earlier at an "=" that would start in
    // columns 73 to 75, so that no escape is cut.
    std::size_t soft = start + limit;
    for (std::size_t k = start + limit - 3; k < start + limit && k < n; ++k) {
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
  // The last line has no line end. A trailing space there would be lost in
  // transport, so it is protected by a soft break; trailing spaces of the
  // other lines are left as they are.
  if (start < n) {
    copy(start, n);
    if (e[n - 1] == ' ') *o++ = u'=';
  }
  out.resize(static_cast<std::size_t>(o - out.data()));
  return out;
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
  const StringEncoding chosen = firstEncodingHolding(body, preferredEncoding);
  if (encodingUsed) *encodingUsed = chosen;
  if (chosen == NoStringEncoding) return nullptr;
  std::string escaped;
  if (chosen == UTF8StringEncoding) {
    if (!escapeUTF8Body(body.utf16(), escaped)) return nullptr;
  } else {
    std::string bytes;
    if (!Charset::encode(body.utf16(), chosen, bytes)) return nullptr;
    escaped = escapeBody(bytes);
  }
  return make<String>(splitIntoLines(escaped));
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
