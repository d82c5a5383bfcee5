// Decodes arbitrary text as IMAP modified UTF-7; whatever decodes must encode
// back to a form that decodes to the same text.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/encodings/TransferEncodings.h"

using tq::fuzz::check;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const tq::String text(std::string_view(reinterpret_cast<const char*>(data), size));
  auto decoded = tq::UTF7Encoding::decodedUTF7String(text);
  if (decoded) {
    auto encoded = tq::UTF7Encoding::encodedUTF7String(*decoded);
    check(encoded != nullptr);
    auto again = tq::UTF7Encoding::decodedUTF7String(*encoded);
    check(again && again->isEqualToString(*decoded));
  }
  // Any text encodes, and the encoding decodes back.
  auto encoded = tq::UTF7Encoding::encodedUTF7String(text);
  check(encoded != nullptr);
  auto back = tq::UTF7Encoding::decodedUTF7String(*encoded);
  check(back && back->isEqualToString(text));
  return 0;
}
