#pragma once
// A value that wraps one encodable object so that it can sit inside a larger
// keyed JSON structure: it is written as {"base64jsonData": "<Base64 of the
// object's JSON>", "className": "<its class name>"} and read back through the
// type registry.
//
// Reading a record whose class cannot be made (a name not registered, JSON
// the type refuses) stops the process: such a record means the program and
// its stored data disagree, which no caller can repair. Errors of the record
// itself (a missing key, a wrong type, bad Base64) are thrown as the
// decoder's DecodingError.

#include "tq/collections/TQJSONEncodable.h"
#include "tq/platform/archive/KeyedJSONCoding.h"

namespace tq {

/// The coding keys, in this order.
enum class JSONEncodedObjectCodingKeys { className, data };
/// "className", "base64jsonData"
const char* stringValue(JSONEncodedObjectCodingKeys key);

struct TQEncodedJSONRepresentation {
  /// An object that adopts TQJSONEncodable.
  Id object;

  TQEncodedJSONRepresentation() = default;
  explicit TQEncodedJSONRepresentation(Id encodable) : object(std::move(encodable)) {}

  void encode(JSONKeyedEncoder& encoder) const;
  static TQEncodedJSONRepresentation decode(const JSONKeyedDecoder& decoder);
};

}  // namespace tq
