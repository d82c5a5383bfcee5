// The JSON record decoder on arbitrary bytes. A record that is not a JSON
// object with a "className" string and a Base64 "base64jsonData" string fails
// with the decoder's own error; a record of a registered class decodes, and
// encodes again to the same class and JSON bytes. Records of classes that
// cannot be made stop the process by design, so they are asked about first
// and not decoded.

#include <cstdint>
#include <string>

#include "fuzz/support/FuzzCheck.h"
#include "tq/collections/TQEncodedJSONRepresentation.h"
#include "tq/collections/TQObjectJSONRepresentation.h"

using tq::fuzz::check;

namespace {

// Any bytes at all: the record keeps them as they came.
class Blob : public tq::Object, public tq::TQJSONEncodable {
 public:
  explicit Blob(const tq::Data& bytes) : bytes(tq::Data::dataWithBytes(bytes.bytes(), bytes.length())) {}
  std::string className() const override { return "Blob"; }
  tq::Ref<tq::Data> jsonRepresentation() const override { return bytes; }
  static tq::Ref<Blob> initWithJsonRepresentation(const tq::Data& json) {
    if (json.length() == 0) return nullptr;  // refused: the bytes of an empty object
    return tq::make<Blob>(json);
  }
  tq::Ref<tq::Data> bytes;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  static const bool registered = (tq::TQJSONEncodableTypes::registerType<Blob>("Blob"), true);
  (void)registered;
  try {
    tq::JSONKeyedDecoder decoder(tq::Data(data, size));
    auto name = decoder.decodeString("className");
    auto json = decoder.decodeData("base64jsonData");
    if (!tq::TQObjectJSONRepresentation::instantiateObjectWithClassName(*name, *json)) return 0;
    auto decoded = tq::TQEncodedJSONRepresentation::decode(decoder);
    tq::JSONKeyedEncoder encoder;
    decoded.encode(encoder);
    tq::JSONKeyedDecoder again(*encoder.encodedData());
    check(again.decodeString("className")->isEqual(*name));
    check(again.decodeData("base64jsonData")->isEqual(*json));
  } catch (const tq::DecodingError&) {
  }
  return 0;
}
