#include "tq/platform/collection/Sorting.h"

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/collection/KeyValueObserving.h"

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

ComparisonResult compareWithDescriptors(const Id& a, const Id& b, const std::vector<Ref<SortDescriptor>>& descriptors) {
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
  if (const auto* coding = dynamic_cast<const KeyValueCoding*>(object.get())) return coding->valueForKey(key);
  if (key.isEqualToString("self")) return object;
  if (key.isEqualToString("description")) return object->description();
  raise(ExceptionName::UnrecognizedMessage,
        "[<" + object->className() +
            "> valueForUndefinedKey:]: this class is not key value coding-compliant "
            "for the key " +
            key.utf8() + ".");
}

void setValueForKey(const Id& object, const Id& value, const String& key) {
  if (!object) return;
  if (auto map = cast<MutableDictionary>(object)) {
    // Observers of the key hear of the change (KeyValueObserving.h).
    ValueChangeScope change(object, key);
    Id copiedKey = String::fromUTF16(key.utf16());
    if (value) {
      map->setObject(value, copiedKey);
    } else {
      map->removeObjectForKey(copiedKey);
    }
    change.commit();
    return;
  }
  if (auto list = cast<Array>(object)) {
    // A snapshot: an element may be the list itself or change it.
    Array::Storage elements = list->storage();
    for (const Id& element : elements) setValueForKey(element, value, key);
    return;
  }
  if (auto* coding = dynamic_cast<KeyValueCoding*>(object.get())) {
    // Such an object tells its observers itself, when its change takes effect.
    coding->setValueForKey(value, key);
    return;
  }
  raise(ExceptionName::UnrecognizedMessage,
        "[<" + object->className() +
            "> setValue:forUndefinedKey:]: this class is not key value coding-compliant "
            "for the key " +
            key.utf8() + ".");
}

Id valueForKeyPath(const Id& object, const String& keyPath) {
  const std::u16string& units = keyPath.utf16();
  std::size_t dot = units.find(u'.');
  if (dot == std::u16string::npos) return valueForKey(object, keyPath);
  Id next = valueForKey(object, *String::fromUTF16(units.substr(0, dot)));
  if (!next) return nullptr;
  return valueForKeyPath(next, *String::fromUTF16(units.substr(dot + 1)));
}

void setValueForKeyPath(const Id& object, const Id& value, const String& keyPath) {
  const std::u16string& units = keyPath.utf16();
  std::size_t dot = units.find(u'.');
  if (dot == std::u16string::npos) return setValueForKey(object, value, keyPath);
  // Observers of the whole path on this object hear of the change too.
  ValueChangeScope change(object, keyPath);
  Id next = valueForKey(object, *String::fromUTF16(units.substr(0, dot)));
  setValueForKeyPath(next, value, *String::fromUTF16(units.substr(dot + 1)));
  change.commit();
}

}  // namespace tq
