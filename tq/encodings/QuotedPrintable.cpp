// The quoted-printable decoder (and its Q variant for encoded words).

#include <cstring>
#include <string>

#include "tq/encodings/TransferEncodings.h"
#include "tq/platform/Dictionary.h"

namespace tq::FKQuotedPrintable {

namespace {

int hexValue(unsigned char c) {
  if (c >= '0' && c <= '9') return c - '0';
  if (c >= 'A' && c <= 'F') return c - 'A' + 10;
  if (c >= 'a' && c <= 'f') return c - 'a' + 10;
  return -1;
}

// The localized description of the malformed-escape error. No string table
// carries the key yet, and a lookup that finds nothing under an empty default
// answers the key itself, so that is the text.
Ref<Error> malformedError() {
  auto userInfo = make<MutableDictionary>();
  userInfo->setObject(str(MalformedQuotedPrintableKey), str(LocalizedDescriptionKey));
  return Error::errorWithDomain(ParserErrorDomain, MalformedQuotedPrintableError, userInfo);
}

}  // namespace

bool decodeQuotedPrintable(std::string_view input, std::uint64_t options, std::string& out) {
  out.clear();
  out.reserve(input.size());
  const bool underscoreIsSpace = (options & QuotedPrintableDecodeUnderscoreAsSpace) != 0;
  const char* p = input.data();
  const char* const end = p + input.size();
  while (p < end) {
    // Copy the run up to the next byte that needs attention in one go.
    const char* special = static_cast<const char*>(std::memchr(p, '=', static_cast<std::size_t>(end - p)));
    const char* runEnd = special ? special : end;
    if (underscoreIsSpace) {
      for (const char* q = p; q < runEnd; ++q) out.push_back(*q == '_' ? ' ' : *q);
    } else {
      out.append(p, static_cast<std::size_t>(runEnd - p));
    }
    if (!special) break;
    const auto h1 = static_cast<unsigned char>(special + 1 < end ? special[1] : 0);
    const auto h2 = static_cast<unsigned char>(special + 2 < end ? special[2] : 0);
    if (h1 == '\r' && h2 == '\n') {
      p = special + 3;  // soft line break
    } else if (h1 == '\n') {
      p = special + 2;  // soft line break written with a bare LF
    } else {
      const int high = hexValue(h1);
      const int low = hexValue(h2);
      if (high < 0 || low < 0) return false;
      out.push_back(static_cast<char>(high << 4 | low));
      p = special + 3;
    }
  }
  return true;
}

Ref<String> decodedQuotedPrintableStringWithEncoding(const Data& data, StringEncoding encoding, std::uint64_t options,
                                                     Ref<Error>* error) {
  std::string bytes;
  if (!decodeQuotedPrintable(data.view(), options, bytes)) {
    setError(error, malformedError());
    return nullptr;
  }
  return Charset::stringWithBytes(bytes, encoding);
}

}  // namespace tq::FKQuotedPrintable
