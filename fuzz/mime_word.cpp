// Decodes arbitrary encoded words to bytes and to text, and round-trips
// arbitrary text through the Q-word encoder and the word decoder.
//
// Input: byte 0 picks the preferred charset; the rest is UTF-8 text, used
// both as a word to decode and as a text to encode.

#include <cstdint>
#include <cstdio>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/encodings/MimeEncoding.h"
#include "tq/encodings/QuotedPrintableBody.h"

namespace {

using tq::fuzz::check;

constexpr tq::StringEncoding Preferred[] = {
    tq::NoStringEncoding,        tq::ASCIIStringEncoding,         tq::UTF8StringEncoding,
    tq::ISOLatin1StringEncoding, tq::WindowsCP1252StringEncoding, tq::ShiftJISStringEncoding,
    tq::KOI8RStringEncoding,     tq::UTF7StringEncoding};

// The body encoder written plainly from its rules, character by character,
// to hold the line-at-a-time encoder to them.
std::u16string referenceBody(std::string_view bytes) {
  std::string e;
  for (unsigned char c : bytes) {
    const bool safe = (c == '\r' || c == '\n' || (c >= 0x20 && c <= 0x7D)) &&
                      std::string_view("=!\"#$@[\\]^`{|}~").find(char(c)) == std::string_view::npos;
    if (safe) {
      e.push_back(char(c));
    } else {
      char escape[4];
      std::snprintf(escape, sizeof escape, "=%02X", c);
      e += escape;
    }
  }
  std::string out;
  std::size_t s = 0, i = 0;
  while (i < e.size()) {
    const char c = e[i];
    if (c == '\n') {
      out += e.substr(s, i - s) + "\r\n";
      s = ++i;
    } else if (c == '\r' && i + 1 < e.size() && e[i + 1] == '\n') {
      out += e.substr(s, i - s) + "\r\n";
      i += 2;
      s = i;
    } else if (1 + (i - s) >= 76 || (c == '=' && 1 + (i - s) >= 73)) {
      out += e.substr(s, i - s) + "=\r\n";
      s = i;
    } else {
      ++i;
    }
  }
  out += e.substr(s);
  if (s < e.size() && e.back() == ' ') out += '=';
  return std::u16string(out.begin(), out.end());
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size == 0) return 0;
  const tq::StringEncoding preferred = Preferred[data[0] % 8];
  const tq::String text(std::string_view(reinterpret_cast<const char*>(data + 1), size - 1));

  tq::StringEncoding used = 0;
  auto bytes = tq::MimeWordDecoding::dataForMimeEncodedWord(text, &used);
  auto decoded = tq::MimeEncoding::stringWithMimeEncodedWord(text);
  if (decoded) check(bytes != nullptr);

  auto word = tq::MimeEncoding::mimeWordWithString(text, preferred, &used);
  check(word != nullptr);  // 16-bit Unicode holds every text
  auto back = tq::MimeEncoding::stringWithMimeEncodedWord(*word);
  // A Q word's text ends at a NUL byte: 16-bit Unicode has them, and so has
  // any text with a NUL character.
  if (used != tq::UnicodeStringEncoding && text.utf16().find(u'\0') == std::u16string::npos) {
    check(back && back->isEqualToString(text));
  }

  auto body = tq::MimeEncoding::quotedPrintableStringForPlainTextBody(text, preferred, &used);
  check(body != nullptr);
  std::string bodyBytes;
  check(tq::Charset::encode(text.utf16(), used, bodyBytes));
  check(body->utf16() == referenceBody(bodyBytes));
  // The same encoder on the raw bytes, which need be in no charset at all.
  const std::string_view raw(reinterpret_cast<const char*>(data + 1), size - 1);
  std::string encodedRaw;
  tq::MimeEncoding::appendQuotedPrintableBody(raw, encodedRaw);
  const std::u16string expectedRaw = referenceBody(raw);
  check(std::u16string(encodedRaw.begin(), encodedRaw.end()) == expectedRaw);
  for (std::size_t start = 0; start < body->length();) {
    std::size_t end = body->utf16().find(u"\r\n", start);
    if (end == std::u16string::npos) end = body->length();
    // Lines are at most 76 characters, the soft break included.
    check(end - start <= 76);
    start = end + 2;
  }
  return 0;
}
