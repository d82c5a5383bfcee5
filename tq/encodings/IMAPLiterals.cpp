// Rewriting the literals of an IMAP command stream as Base64 text, so that a
// stream holding binary literals can be logged and stored as text.

#include <string>

#include "tq/encodings/TransferEncodings.h"

namespace tq::Base64 {

namespace {

// A literal's header "{N}\r\n" starting at `open`; answers the offset of the
// literal's first byte, or npos when the bytes there are no literal header.
std::size_t literalStart(std::string_view s, std::size_t open, std::size_t* length) {
  std::size_t i = open + 1;
  std::size_t value = 0;
  const std::size_t firstDigit = i;
  while (i < s.size() && s[i] >= '0' && s[i] <= '9') {
    // A declared length beyond the data cannot be a literal of it; stop
    // accumulating before the value can overflow.
    if (value <= s.size()) value = value * 10 + static_cast<std::size_t>(s[i] - '0');
    ++i;
  }
  if (i == firstDigit || s.substr(i, 3) != "}\r\n") return std::string_view::npos;
  *length = value;
  return i + 3;
}

}  // namespace

Ref<String> stringByConvertingLiteralsToBase64(const Data& data) {
  const std::string_view s = data.view();
  if (s.size() < 2) return nullptr;
  std::u16string result;
  result.reserve(s.size() + s.size() / 3);
  // The text around literals is read as ASCII: a command stream is ASCII
  // outside its literals, and anything else makes the whole result nil.
  auto appendText = [&](std::string_view text) { return Charset::decodeAppending(text, ASCIIStringEncoding, result); };

  std::size_t copied = 0;  // start of the text not yet written
  std::size_t search = 0;
  while (search < s.size()) {
    const std::size_t open = s.find('{', search);
    if (open == std::string_view::npos) break;
    std::size_t length = 0;
    const std::size_t start = literalStart(s, open, &length);
    // A literal whose declared length runs past the end stays as it is.
    if (start == std::string_view::npos || length > s.size() - start) {
      search = open + 1;
      continue;
    }
    if (!appendText(s.substr(copied, open - copied))) return nullptr;
    const std::string encoded = encode(s.substr(start, length));
    const std::string header = "{" + std::to_string(encoded.size()) + "}\r\n";
    result.append(header.begin(), header.end());
    result.append(encoded.begin(), encoded.end());
    copied = search = start + length;
  }
  if (!appendText(s.substr(copied))) return nullptr;
  return make<String>(std::move(result));
}

}  // namespace tq::Base64
