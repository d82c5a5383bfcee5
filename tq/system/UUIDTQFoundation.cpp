#include "tq/system/UUIDTQFoundation.h"

#include "tq/encodings/TransferEncodings.h"
#include "tq/platform/object/AssertionPlaces.h"
#include "tq/platform/value/ChainedData.h"

namespace tq::TQFoundation {

namespace {

constexpr std::size_t CompactLength = 22;

Ref<UUID> uuidOfBytes(const std::uint8_t* bytes) {
  std::array<std::uint8_t, 16> value;
  std::copy(bytes, bytes + 16, value.begin());
  return make<UUID>(value);
}

Ref<UUID> filledUUID(std::uint8_t byte) {
  std::array<std::uint8_t, 16> value;
  value.fill(byte);
  return make<UUID>(value);
}

}  // namespace

Ref<Data> UUIDData(const UUID& uuid) { return Data::dataWithBytes(uuid.bytes().data(), uuid.bytes().size()); }

Ref<UUID> newWithUUIDData(const Data& data) {
  TQ_ASSERT_PLACE(data.length() == 16, AssertionPlaces::UUIDDataLength, "UUID data must be 16 bytes long");
  if (data.length() != 16) return nullptr;
  return uuidOfBytes(data.bytes());
}

Ref<String> base64String(const UUID& uuid) {
  const Ref<String> full = Base64::FKbase64EncodedStringWithOptions(*UUIDData(uuid), 0);
  return full->substringToIndex(CompactLength);
}

Ref<UUID> newWithBase64String(const String& text) {
  TQ_ASSERT_PLACE(text.length() == CompactLength, AssertionPlaces::UUIDBase64Length,
                  "UUID base64 string must be 22 bytes long");
  if (text.length() != CompactLength) return nullptr;
  auto decoded = TQ_dispatch_data_decode_base64String(*text.stringByAppendingString(*str("==")), 0);
  auto bytes = decoded ? decoded->data() : nullptr;
  if (!bytes || bytes->length() != 16) return nullptr;
  return uuidOfBytes(bytes->bytes());
}

Ref<UUID> omniUUID() {
  static const Ref<UUID>* shared = new Ref<UUID>(filledUUID(0xFF));
  return *shared;
}

Ref<UUID> nilUUID() {
  static const Ref<UUID>* shared = new Ref<UUID>(filledUUID(0));
  return *shared;
}

}  // namespace tq::TQFoundation
