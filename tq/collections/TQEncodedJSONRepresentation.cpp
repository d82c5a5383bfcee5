#include "tq/collections/TQEncodedJSONRepresentation.h"

#include <unistd.h>

#include <cstdlib>
#include <string>

#include "tq/collections/TQObjectJSONRepresentation.h"

namespace tq {

namespace {

[[noreturn]] void fatalError(const std::string& message) {
  std::string line = "Fatal error: " + message + "\n";
  ssize_t written = ::write(STDERR_FILENO, line.data(), line.size());
  (void)written;
  std::abort();
}

}  // namespace

const char* stringValue(JSONEncodedObjectCodingKeys key) {
  return key == JSONEncodedObjectCodingKeys::className ? "className" : "base64jsonData";
}

void TQEncodedJSONRepresentation::encode(JSONKeyedEncoder& encoder) const {
  auto record = TQObjectJSONRepresentation::newWithEncodableObject(object);
  encoder.encode(*record->jsonData(), stringValue(JSONEncodedObjectCodingKeys::data));
  encoder.encode(*record->objectClassName(), stringValue(JSONEncodedObjectCodingKeys::className));
}

TQEncodedJSONRepresentation TQEncodedJSONRepresentation::decode(const JSONKeyedDecoder& decoder) {
  auto className = decoder.decodeString(stringValue(JSONEncodedObjectCodingKeys::className));
  auto jsonData = decoder.decodeData(stringValue(JSONEncodedObjectCodingKeys::data));
  Id object = TQObjectJSONRepresentation::instantiateObjectWithClassName(*className, *jsonData);
  if (!object) {
    fatalError("Could not create the TQJSONEncodable oject from : class \"" + className->utf8() + "\", " +
               std::to_string(jsonData->length()) + " bytes of JSON");
  }
  return TQEncodedJSONRepresentation(object);
}

}  // namespace tq
