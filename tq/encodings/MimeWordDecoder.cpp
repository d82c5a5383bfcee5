// Decoding one encoded word =?charset?Q?payload?= or =?charset?B?payload?=.

#include <string>

#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/TransferEncodings.h"
#include "tq/encodings/internal/MimeWordBytes.h"

namespace tq {

namespace {

int hexValue(char16_t c) {
  if (c >= u'0' && c <= u'9') return c - u'0';
  if (c >= u'A' && c <= u'F') return c - u'A' + 10;
  if (c >= u'a' && c <= u'f') return c - u'a' + 10;
  return -1;
}

// Q payload: "_" is a space, "=XX" one byte, any other character below 256
// its own byte. A broken escape or a wider character fails the whole word.
bool decodeQPayload(std::u16string_view payload, std::string& bytes) {
  bytes.clear();
  bytes.reserve(payload.size());
  const std::size_t n = payload.size();
  for (std::size_t i = 0; i < n; ++i) {
    const char16_t c = payload[i];
    if (c == u'_') {
      bytes.push_back(' ');
    } else if (c == u'=') {
      if (i + 2 >= n) return false;  // "=" among the last two characters
      const int high = hexValue(payload[i + 1]);
      const int low = hexValue(payload[i + 2]);
      if (high < 0 || low < 0) return false;
      bytes.push_back(static_cast<char>(high << 4 | low));
      i += 2;
    } else if (c < 256) {
      bytes.push_back(static_cast<char>(c));
    } else {
      return false;
    }
  }
  return true;
}

bool equalsIgnoringASCIICase(char16_t a, char b) {
  if (a >= u'a' && a <= u'z') a = static_cast<char16_t>(a - 32);
  return a == static_cast<char16_t>(b);
}

}  // namespace

namespace detail {

bool decodeWordBytes(std::u16string_view word, std::string& bytes, StringEncoding* usedEncoding, bool* isQ) {
  const std::size_t length = word.size();
  if (length < 2 || word.substr(0, 2) != u"=?" || word.substr(length - 2) != u"?=") return false;
  std::size_t q = word.find(u'?', 2);
  if (q == std::u16string_view::npos) q = length;
  // No room for the encoding letter, its "?" and the closing "?=".
  if (static_cast<std::int64_t>(q) >= static_cast<std::int64_t>(length) - 4) return false;

  const StringEncoding encoding = Charset::encodingForIANAName(word.substr(2, q - 2));
  if (encoding == InvalidStringEncoding) return false;
  if (usedEncoding) *usedEncoding = encoding;

  const bool quoted = equalsIgnoringASCIICase(word[q + 1], 'Q') && word[q + 2] == u'?';
  const bool base64 = !quoted && equalsIgnoringASCIICase(word[q + 1], 'B') && word[q + 2] == u'?';
  if (!quoted && !base64) return false;
  if (isQ) *isQ = quoted;

  const std::u16string_view payload = word.substr(q + 3, length - 2 - (q + 3));
  if (base64) return Base64::decode(payload, /*ignoreUnknown=*/true, bytes);
  return decodeQPayload(payload, bytes);
}

}  // namespace detail

namespace MimeWordDecoding {

Ref<Data> dataForMimeEncodedWord(const String& word, StringEncoding* usedEncoding) {
  std::string bytes;
  if (!detail::decodeWordBytes(word.utf16(), bytes, usedEncoding, nullptr)) return nullptr;
  return make<Data>(std::string_view(bytes));
}

}  // namespace MimeWordDecoding

namespace MimeEncoding {

Ref<String> stringWithMimeEncodedWord(const String& word) {
  std::string bytes;
  StringEncoding encoding = NoStringEncoding;
  bool quoted = false;
  if (!detail::decodeWordBytes(word.utf16(), bytes, &encoding, &quoted)) return nullptr;
  // A Q word's bytes are read as a NUL-terminated string: a decoded NUL ends
  // the text there.
  return quoted ? Charset::stringWithCString(bytes, encoding) : Charset::stringWithBytes(bytes, encoding);
}

}  // namespace MimeEncoding

}  // namespace tq
