// Decodes arbitrary bytes with the chunked Base64 decoder in every option
// combination and compares each result with a plain byte-at-a-time decoder
// written from the rules, so the fast path can never drift from them. Also
// checks that every chunk but the last is full.

#include <cstdint>
#include <optional>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/encodings/TransferEncodings.h"

namespace {

using tq::fuzz::check;

int digit(unsigned char c, bool urlSafe) {
  if (c >= 'A' && c <= 'Z') return c - 'A';
  if (c >= 'a' && c <= 'z') return c - 'a' + 26;
  if (c >= '0' && c <= '9') return c - '0' + 52;
  if (c == (urlSafe ? '-' : '+')) return 62;
  if (c == (urlSafe ? '_' : '/')) return 63;
  return -1;
}

std::optional<std::string> reference(std::string_view in, bool lenient, bool urlSafe) {
  std::string out;
  std::uint32_t accumulator = 0;
  int count = 0;
  for (unsigned char c : in) {
    const int v = digit(c, urlSafe);
    if (v >= 0) {
      accumulator = accumulator << 6 | unsigned(v);
      if (++count == 4) {
        out.push_back(char(accumulator >> 16));
        out.push_back(char(accumulator >> 8));
        out.push_back(char(accumulator));
        accumulator = 0;
        count = 0;
      }
    } else if (c == '=') {
      break;
    } else if (c == 0x09 || c == 0x0A || c == 0x0E || c == 0x20) {
      continue;
    } else if (!lenient) {
      return std::nullopt;
    }
  }
  if (count == 2) out.push_back(char(accumulator >> 4));
  if (count == 3) {
    out.push_back(char(accumulator >> 10));
    out.push_back(char(accumulator >> 2));
  }
  return out;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  for (std::int64_t options = 0; options < 4; ++options) {
    auto decoded = tq::TQ_dispatch_data_decode_base64Bytes(input, options);
    auto expected = reference(input, options & 1, options & 2);
    check(bool(decoded) == bool(expected));
    if (!decoded) continue;
    check(std::string(decoded->createMap().view()) == *expected);
    const auto& regions = decoded->regions();
    for (std::size_t i = 0; i + 1 < regions.size(); ++i) check(regions[i].length == tq::Base64DecodeChunkSize);
  }
  return 0;
}
