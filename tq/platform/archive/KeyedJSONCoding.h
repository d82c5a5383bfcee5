#pragma once
// Keyed coding to and from one JSON object, for value types that write
// themselves as a few named members (the counterpart of a keyed container of
// a JSON encoder). Members are written in the order they are encoded; byte
// buffers are written as Base64 text (standard alphabet, padded) and read
// back from it.
//
// Decoding failures are the decoder's own: `DecodingError`, thrown, naming
// the key and what was wrong, for the caller to pass on.

#include <stdexcept>
#include <string>
#include <string_view>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/value/String.h"

namespace tq {

class DecodingError : public std::runtime_error {
 public:
  enum class Kind { KeyNotFound, TypeMismatch, DataCorrupted };
  DecodingError(Kind kind, std::string key, const std::string& what)
      : std::runtime_error(what), kind_(kind), key_(std::move(key)) {}
  Kind kind() const { return kind_; }
  /// The key concerned; empty when the whole input is at fault.
  const std::string& key() const { return key_; }

 private:
  Kind kind_;
  std::string key_;
};

class JSONKeyedEncoder {
 public:
  JSONKeyedEncoder();
  void encode(const String& value, std::string_view key);
  /// As Base64 text.
  void encode(const Data& value, std::string_view key);
  void encode(std::int64_t value, std::string_view key);
  /// The JSON object's UTF-8 bytes, members in encoding order.
  Ref<Data> encodedData() const;

 private:
  Ref<MutableDictionary> members_;
};

class JSONKeyedDecoder {
 public:
  /// Throws DataCorrupted when the bytes are not a JSON object.
  explicit JSONKeyedDecoder(const Data& json);
  bool contains(std::string_view key) const;
  /// Throw KeyNotFound or TypeMismatch.
  Ref<String> decodeString(std::string_view key) const;
  /// From Base64 text; text that is not Base64 throws DataCorrupted.
  Ref<Data> decodeData(std::string_view key) const;
  std::int64_t decodeInteger(std::string_view key) const;

 private:
  Id member(std::string_view key) const;
  Ref<Dictionary> members_;
};

}  // namespace tq
