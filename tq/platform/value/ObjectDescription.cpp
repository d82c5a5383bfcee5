// The root object's descriptions are strings, so they are defined where
// strings are: the object room stays below the values it describes.
#include <cstdio>

#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"

namespace tq {

Ref<String> Object::description() const {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, ": %p>", static_cast<const void*>(this));
  return str("<" + className() + buffer);
}

Ref<String> Object::descriptionWithLocale(const Id&) const { return description(); }

Ref<String> Object::descriptionWithLocale(const Id& locale, std::uint64_t) const {
  return descriptionWithLocale(locale);
}

Ref<String> describe(const Object* object) {
  if (!object) return str("(null)");
  Ref<String> text = object->description();
  return text ? text : str("(null)");
}

Ref<String> describe(const Object* object, const Id& locale, std::uint64_t level) {
  if (!object) return str("(null)");
  Ref<String> text = object->descriptionWithLocale(locale, level);
  return text ? text : str("(null)");
}


std::string describeUTF8(const Object* object) { return describe(object)->utf8(); }

}  // namespace tq
