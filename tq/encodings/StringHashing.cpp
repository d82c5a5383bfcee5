#include "tq/encodings/StringHashing.h"

#include <openssl/evp.h>
#include <openssl/hmac.h>

#include <algorithm>
#include <string>
#include <string_view>

#include "tq/encodings/TransferEncodings.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/object/Exception.h"

namespace tq {
namespace {

// The text's bytes as the digests read them: UTF-8, ending at the first NUL.
std::string cStringBytes(const String& text) {
  std::string bytes = text.utf8();
  std::size_t nul = bytes.find('\0');
  if (nul != std::string::npos) bytes.resize(nul);
  return bytes;
}

bool isASCII(const String& text) {
  return std::all_of(text.utf16().begin(), text.utf16().end(), [](char16_t c) { return c < 0x80; });
}

std::string digest(const EVP_MD* type, std::string_view bytes) {
  unsigned char out[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (!EVP_Digest(bytes.data(), bytes.size(), out, &length, type, nullptr)) {
    raise(ExceptionName::InternalInconsistency, "digest failed");
  }
  return std::string(reinterpret_cast<const char*>(out), length);
}

Ref<String> hex(std::string_view bytes) {
  static const char digits[] = "0123456789abcdef";
  std::u16string text;
  text.reserve(bytes.size() * 2);
  for (unsigned char byte : bytes) {
    text.push_back(char16_t(digits[byte >> 4]));
    text.push_back(char16_t(digits[byte & 15]));
  }
  return String::fromUTF16(std::move(text));
}

}  // namespace

namespace TQFoundationHashing {

Ref<String> hexMD5String(const String& text) { return hex(digest(EVP_md5(), cStringBytes(text))); }

Ref<String> hexMD5StringWithKey(const String& text, const String& key) {
  TQ_PARAMETER_ASSERT(isASCII(text) && isASCII(key));
  std::string message = cStringBytes(text);
  std::string secret = cStringBytes(key);
  unsigned char out[EVP_MAX_MD_SIZE];
  unsigned int length = 0;
  if (!HMAC(EVP_md5(), secret.data(), int(secret.size()), reinterpret_cast<const unsigned char*>(message.data()),
            message.size(), out, &length)) {
    raise(ExceptionName::InternalInconsistency, "HMAC-MD5 failed");
  }
  return hex(std::string_view(reinterpret_cast<const char*>(out), length));
}

Ref<String> sha256HashString(const String& text) { return hex(digest(EVP_sha256(), cStringBytes(text))); }

Ref<String> shortSHAHashString(const String& text) {
  Data sha(digest(EVP_sha256(), cStringBytes(text)));
  return Base64::pathSafeBase64EncodedString(sha)->substringToIndex(12);
}

Ref<Data> md5DigestData(const String& text) { return make<Data>(digest(EVP_md5(), cStringBytes(text))); }

Ref<Data> md5DigestDataWithLength(const String& text, Index length) {
  std::string md5 = digest(EVP_md5(), cStringBytes(text));
  return make<Data>(std::string_view(md5).substr(0, std::min<Index>(length, md5.size())));
}

}  // namespace TQFoundationHashing

Ref<String> TQStringWithBits(std::int64_t value) {
  auto bits = std::uint64_t(value);
  std::string digits;
  for (int shift = 63; shift >= 0; --shift) digits.push_back((bits >> shift) & 1 ? '1' : '0');
  std::size_t first = digits.find('1');
  digits = first == std::string::npos ? "0" : digits.substr(first);
  return str("0b" + digits + ",");
}

Ref<String> TQStringWithUInteger(std::uint64_t value) { return str(std::to_string(value)); }
Ref<String> TQStringWithInteger(std::int64_t value) { return str(std::to_string(value)); }

}  // namespace tq
