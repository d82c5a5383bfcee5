#pragma once
// A record of an encodable object's class name and JSON bytes, from which the
// object can be made again.

#include <string>

#include "tq/collections/TQJSONEncodable.h"
#include "tq/platform/value/String.h"

namespace tq {

class TQObjectJSONRepresentation : public Object {
 public:
  std::string className() const override { return "TQObjectJSONRepresentation"; }

  const Ref<String>& objectClassName() const { return objectClassName_; }
  void setObjectClassName(Ref<String> name) { objectClassName_ = std::move(name); }
  const Ref<Data>& jsonData() const { return jsonData_; }
  void setJsonData(Ref<Data> data) { jsonData_ = std::move(data); }

  /// The object's class name and `jsonRepresentation`. An object that does
  /// not adopt TQJSONEncodable raises the unrecognised-message failure.
  static Ref<TQObjectJSONRepresentation> newWithEncodableObject(const Id& object);
  /// An instance of the registered type of that name made from the bytes;
  /// nil for a name that is not registered or bytes it refuses.
  static Id instantiateObjectWithClassName(const String& className, const Data& jsonData);

 private:
  Ref<String> objectClassName_;
  Ref<Data> jsonData_;
};

}  // namespace tq
