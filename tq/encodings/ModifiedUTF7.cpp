// IMAP mailbox names in modified UTF-7: "&" shifts into Base64 of UTF-16
// with "," for "/", and "&-" stands for "&".

#include <string>

#include "tq/encodings/TransferEncodings.h"

namespace tq::UTF7Encoding {

Ref<String> decodedUTF7String(const String& text) {
  std::string bytes;
  // A text that has no UTF-8 form (an unpaired surrogate) cannot be read.
  if (!Charset::encode(text.utf16(), UTF8StringEncoding, bytes)) return nullptr;
  std::u16string decoded;
  if (!Charset::decodeModifiedUTF7(bytes, decoded)) return nullptr;
  return make<String>(std::move(decoded));
}

Ref<String> encodedUTF7String(const String& text) {
  std::string bytes;
  if (!Charset::encodeModifiedUTF7(text.utf16(), bytes)) return nullptr;
  return Charset::stringWithBytes(bytes, UTF8StringEncoding);
}

}  // namespace tq::UTF7Encoding
