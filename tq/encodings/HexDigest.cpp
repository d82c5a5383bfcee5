// Lower-case hex texts of byte buffers and of SHA-256 digests.

#include <openssl/sha.h>

#include "tq/encodings/TransferEncodings.h"

namespace tq::Base64 {

namespace {

constexpr char HexDigits[] = "0123456789abcdef";

}  // namespace

Ref<String> toHexString(const Data&, std::uint8_t* buffer, std::uint32_t length) {
  std::u16string text(static_cast<std::size_t>(length) * 2, u'0');
  // Each byte is wiped as soon as it is written, so a secret never outlives
  // its hex text in the caller's buffer. The volatile access keeps the
  // compiler from dropping stores it sees no later read of.
  volatile std::uint8_t* wipe = buffer;
  for (std::uint32_t i = 0; i < length; ++i) {
    const std::uint8_t byte = buffer[i];
    text[2 * i] = static_cast<char16_t>(HexDigits[byte >> 4]);
    text[2 * i + 1] = static_cast<char16_t>(HexDigits[byte & 15]);
    wipe[i] = 0;
  }
  return make<String>(std::move(text));
}

Ref<String> SHA256String(const Data& data) {
  std::uint8_t digest[SHA256_DIGEST_LENGTH];
  SHA256(data.bytes(), data.length(), digest);
  return toHexString(data, digest, SHA256_DIGEST_LENGTH);
}

}  // namespace tq::Base64
