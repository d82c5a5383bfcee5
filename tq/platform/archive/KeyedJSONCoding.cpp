#include "tq/platform/archive/KeyedJSONCoding.h"

#include "tq/platform/archive/JSON.h"
#include "tq/platform/archive/internal/PropertyListInternal.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {

std::string quotedKey(std::string_view key) { return "\"" + std::string(key) + "\""; }

}  // namespace

JSONKeyedEncoder::JSONKeyedEncoder() : members_(MutableDictionary::dictionary()) {}

void JSONKeyedEncoder::encode(const String& value, std::string_view key) {
  members_->setObject(make<String>(value.utf16()), str(key));
}

void JSONKeyedEncoder::encode(const Data& value, std::string_view key) {
  members_->setObject(str(plist_detail::base64Encode(value.bytes(), value.length())), str(key));
}

void JSONKeyedEncoder::encode(std::int64_t value, std::string_view key) { members_->setObject(num(value), str(key)); }

Ref<Data> JSONKeyedEncoder::encodedData() const { return JSON::writeData(members_.get()); }

JSONKeyedDecoder::JSONKeyedDecoder(const Data& json) {
  Ref<Error> error;
  Id value = JSON::read(std::string_view(reinterpret_cast<const char*>(json.bytes()), json.length()), &error);
  members_ = std::dynamic_pointer_cast<Dictionary>(value);
  if (!members_) {
    throw DecodingError(DecodingError::Kind::DataCorrupted, "",
                        value ? "The given data was not a JSON object." : "The given data was not valid JSON.");
  }
}

bool JSONKeyedDecoder::contains(std::string_view key) const { return members_->objectForKey(key) != nullptr; }

Id JSONKeyedDecoder::member(std::string_view key) const {
  Id value = members_->objectForKey(key);
  if (!value) {
    throw DecodingError(DecodingError::Kind::KeyNotFound, std::string(key),
                        "No value associated with key " + quotedKey(key) + ".");
  }
  return value;
}

Ref<String> JSONKeyedDecoder::decodeString(std::string_view key) const {
  auto text = std::dynamic_pointer_cast<String>(member(key));
  if (!text) {
    throw DecodingError(DecodingError::Kind::TypeMismatch, std::string(key),
                        "Expected to decode a string under key " + quotedKey(key) + " but found something else.");
  }
  return text;
}

Ref<Data> JSONKeyedDecoder::decodeData(std::string_view key) const {
  auto text = decodeString(key);
  auto bytes = plist_detail::base64Decode(text->utf8());
  if (!bytes) {
    throw DecodingError(DecodingError::Kind::DataCorrupted, std::string(key),
                        "Encountered Data under key " + quotedKey(key) + " that is not valid Base64.");
  }
  return Data::dataWithBytes(bytes->data(), bytes->size());
}

std::int64_t JSONKeyedDecoder::decodeInteger(std::string_view key) const {
  auto number = std::dynamic_pointer_cast<Number>(member(key));
  if (!number || !number->isInteger() || number->isBool()) {
    throw DecodingError(DecodingError::Kind::TypeMismatch, std::string(key),
                        "Expected to decode an integer under key " + quotedKey(key) + " but found something else.");
  }
  return number->integerValue();
}

}  // namespace tq
