#include "tq/platform/Sorting.h"

#include "tq/platform/Array.h"
#include "tq/platform/Dictionary.h"
#include "tq/platform/Exception.h"

namespace tq {

ComparisonResult compareSelector(const Object& receiver, const Object& other) {
  if (const auto* text = dynamic_cast<const String*>(&receiver)) {
    const auto* otherText = dynamic_cast<const String*>(&other);
    if (!otherText) raise(ExceptionName::InvalidArgument, "-[String compare:]: argument is not a string");
    return text->compare(*otherText);
  }
  if (const auto* comparable = dynamic_cast<const Comparable*>(&receiver)) return comparable->compare(other);
  raiseUnrecognizedMessage(&receiver, "compare:");
}

ComparisonResult caseInsensitiveCompareSelector(const Object& receiver, const Object& other) {
  const auto* text = dynamic_cast<const String*>(&receiver);
  if (!text) raiseUnrecognizedMessage(&receiver, "caseInsensitiveCompare:");
  const auto* otherText = dynamic_cast<const String*>(&other);
  if (!otherText) raise(ExceptionName::InvalidArgument, "-[String caseInsensitiveCompare:]: argument is not a string");
  return text->caseInsensitiveCompare(*otherText);
}

ComparisonResult SortDescriptor::compareObject(const Id& a, const Id& b) const {
  Id x = key_ ? valueForKey(a, *key_) : a;
  Id y = key_ ? valueForKey(b, *key_) : b;
  ComparisonResult result;
  if (comparator_) {
    result = comparator_(x, y);
  } else if (!x || !y) {
    // nil sorts before any value.
    result = !x && !y ? ComparisonResult::Same : (!x ? ComparisonResult::Ascending : ComparisonResult::Descending);
  } else {
    result = compareSelector(*x, *y);
  }
  return ascending_ ? result : ComparisonResult(-int(result));
}

ComparisonResult compareWithDescriptors(const Id& a, const Id& b,
                                        const std::vector<Ref<SortDescriptor>>& descriptors) {
  for (const auto& descriptor : descriptors) {
    ComparisonResult result = descriptor->compareObject(a, b);
    if (result != ComparisonResult::Same) return result;
  }
  return ComparisonResult::Same;
}

Id valueForKey(const Id& object, const String& key) {
  if (!object) return nullptr;
  if (auto map = cast<Dictionary>(object)) return map->objectForKey(&key);
  if (auto list = cast<Array>(object)) return list->valueForKey(key);
  if (key.isEqualToString("self")) return object;
  if (key.isEqualToString("description")) return object->description();
  raise(ExceptionName::UnrecognizedMessage,
        "[<" + object->className() + "> valueForUndefinedKey:]: this class is not key value coding-compliant "
        "for the key " + key.utf8() + ".");
}

}  // namespace tq
