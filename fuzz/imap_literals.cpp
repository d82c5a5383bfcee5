// Rewrites the literals of arbitrary command streams. Checks that a stream
// with no "{" comes back as it is (when it is ASCII), and that the result
// never holds raw bytes outside ASCII.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/encodings/TransferEncodings.h"

using tq::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view input(reinterpret_cast<const char*>(data), size);
  auto result = tq::Base64::stringByConvertingLiteralsToBase64(tq::Data(input));
  if (size < 2) {
    check(result == nullptr);
    return 0;
  }
  if (!result) return 0;
  for (char16_t c : result->utf16()) check(c < 0x80);
  if (input.find('{') == std::string_view::npos) check(result->utf8() == input);
  return 0;
}
