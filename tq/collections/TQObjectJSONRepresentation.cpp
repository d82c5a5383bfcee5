#include "tq/collections/TQObjectJSONRepresentation.h"

#include "tq/platform/object/Exception.h"

namespace tq {

Ref<TQObjectJSONRepresentation> TQObjectJSONRepresentation::newWithEncodableObject(const Id& object) {
  auto encodable = std::dynamic_pointer_cast<TQJSONEncodable>(object);
  if (!encodable) raiseUnrecognizedMessage(object.get(), "jsonRepresentation");
  auto record = make<TQObjectJSONRepresentation>();
  record->setObjectClassName(str(object->className()));
  record->setJsonData(encodable->jsonRepresentation());
  return record;
}

Id TQObjectJSONRepresentation::instantiateObjectWithClassName(const String& className, const Data& jsonData) {
  auto factory = TQJSONEncodableTypes::factoryForClassName(className.utf8());
  if (!factory) return nullptr;
  Id object = factory(jsonData);
  // A factory that answers something that cannot encode itself counts as a
  // class that does not adopt the protocol.
  return std::dynamic_pointer_cast<TQJSONEncodable>(object) ? object : nullptr;
}

}  // namespace tq
