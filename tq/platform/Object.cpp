#include "tq/platform/Object.h"

#include <cstdio>
#include <functional>

#include "tq/platform/Exception.h"
#include "tq/platform/String.h"

namespace tq {

std::size_t Object::hash() const { return std::hash<const void*>()(this); }

Ref<String> Object::description() const {
  char buffer[64];
  std::snprintf(buffer, sizeof buffer, ": %p>", static_cast<const void*>(this));
  return str("<" + className() + buffer);
}

Id Object::copy() const { raiseUnrecognizedMessage(this, "copyWithZone:"); }

Id Object::mutableCopy() const { raiseUnrecognizedMessage(this, "mutableCopyWithZone:"); }

Id Object::self() const {
  return std::const_pointer_cast<Object>(shared_from_this());
}

bool isEqual(const Object* a, const Object* b) {
  if (a == b) return true;
  if (!a || !b) return false;
  return a->isEqual(*b);
}

Ref<String> describe(const Object* object) {
  if (!object) return str("(null)");
  Ref<String> text = object->description();
  return text ? text : str("(null)");
}

std::string describeUTF8(const Object* object) { return describe(object)->utf8(); }

}  // namespace tq
