// The standard Base64 codec (RFC 4648 section 4: "=" padding, no line
// breaks) and the conveniences on data and strings built on it.

#include <array>
#include <string>

#include "tq/encodings/TransferEncodings.h"

namespace tq::Base64 {

namespace {

constexpr char Alphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::uint8_t Padding = 0xFE;
constexpr std::uint8_t Unknown = 0xFF;

constexpr std::array<std::uint8_t, 256> makeTable() {
  std::array<std::uint8_t, 256> table{};
  for (auto& entry : table) entry = Unknown;
  for (int i = 0; i < 64; ++i) table[static_cast<unsigned char>(Alphabet[i])] = static_cast<std::uint8_t>(i);
  table['='] = Padding;
  return table;
}
constexpr auto Table = makeTable();

// Shared by the byte and UTF-16 entry points: characters above 255 are
// unknown to the alphabet.
template <class Char>
bool decodeUnits(const Char* s, std::size_t n, bool ignoreUnknown, std::string& out) {
  out.clear();
  out.reserve(n / 4 * 3 + 3);
  std::uint32_t accumulator = 0;
  std::size_t digits = 0, padding = 0;
  for (std::size_t i = 0; i < n; ++i) {
    const auto c = static_cast<std::make_unsigned_t<Char>>(s[i]);
    const std::uint8_t v = c < 256 ? Table[c] : Unknown;
    if (v == Unknown) {
      if (ignoreUnknown) continue;
      return false;
    }
    if (v == Padding) {
      if (++padding > 2) return false;
      continue;
    }
    if (padding > 0) return false;  // a digit after the padding
    accumulator = accumulator << 6 | v;
    if (++digits % 4 == 0) {
      out.push_back(static_cast<char>(accumulator >> 16));
      out.push_back(static_cast<char>(accumulator >> 8));
      out.push_back(static_cast<char>(accumulator));
      accumulator = 0;
    }
  }
  // Whole groups of four only, padding counted; padding must complete the
  // last group and needs at least two digits in it.
  if ((digits + padding) % 4 != 0) return false;
  const std::size_t tail = digits % 4;
  if (tail == 1 || (padding > 0 && tail + padding != 4)) return false;
  if (tail == 2) {
    out.push_back(static_cast<char>(accumulator >> 4));
  } else if (tail == 3) {
    out.push_back(static_cast<char>(accumulator >> 10));
    out.push_back(static_cast<char>(accumulator >> 2));
  }
  return true;
}

template <class Text>
void replaceAll(Text& text, typename Text::value_type from, typename Text::value_type to) {
  for (auto& c : text) {
    if (c == from) c = to;
  }
}

}  // namespace

std::string encode(std::string_view bytes) {
  std::string out;
  out.resize((bytes.size() + 2) / 3 * 4);
  const auto* s = reinterpret_cast<const std::uint8_t*>(bytes.data());
  const std::size_t whole = bytes.size() / 3 * 3;
  char* o = out.data();
  for (std::size_t i = 0; i < whole; i += 3) {
    const std::uint32_t v = std::uint32_t(s[i]) << 16 | std::uint32_t(s[i + 1]) << 8 | s[i + 2];
    *o++ = Alphabet[v >> 18];
    *o++ = Alphabet[(v >> 12) & 63];
    *o++ = Alphabet[(v >> 6) & 63];
    *o++ = Alphabet[v & 63];
  }
  const std::size_t rest = bytes.size() - whole;
  if (rest > 0) {
    const std::uint32_t v = std::uint32_t(s[whole]) << 16 | (rest == 2 ? std::uint32_t(s[whole + 1]) << 8 : 0);
    *o++ = Alphabet[v >> 18];
    *o++ = Alphabet[(v >> 12) & 63];
    *o++ = rest == 2 ? Alphabet[(v >> 6) & 63] : '=';
    *o++ = '=';
  }
  return out;
}

bool decode(std::string_view text, bool ignoreUnknown, std::string& out) {
  return decodeUnits(text.data(), text.size(), ignoreUnknown, out);
}

bool decode(std::u16string_view text, bool ignoreUnknown, std::string& out) {
  return decodeUnits(text.data(), text.size(), ignoreUnknown, out);
}

Ref<String> FKbase64EncodedStringWithOptions(const Data& data, std::int64_t) {
  // Line-break options are deliberately ignored: every caller stores one-line text.
  return str(encode(data.view()));
}

Ref<String> pathSafeBase64EncodedString(const Data& data) {
  // "/" becomes "-" and "+" becomes "_": the reverse of the URL-safe alphabet,
  // but it is the form already stored in existing paths and keys.
  std::string text = encode(data.view());
  replaceAll(text, '/', '-');
  replaceAll(text, '+', '_');
  return str(text);
}

Ref<String> base64EncodedString(const String& text) { return str(encode(text.utf8())); }

Ref<String> pathSafeBase64EncodedString(const String& text) {
  const std::string utf8 = text.utf8();
  return pathSafeBase64EncodedString(Data(std::string_view(utf8)));
}

Ref<String> base64DecodedString(const String& text) {
  std::u16string units = text.utf16();
  replaceAll(units, u'-', u'/');
  replaceAll(units, u'_', u'+');
  std::string bytes;
  if (!decode(std::u16string_view(units), /*ignoreUnknown=*/false, bytes)) return nullptr;
  return Charset::stringWithBytes(bytes, UTF8StringEncoding);
}

}  // namespace tq::Base64
