#include "tq/collections/TQIntegerKeyDictionary.h"

#include <cstdio>
#include <mutex>

#include "tq/collections/TQIntegerSet.h"
#include "tq/collections/internal/EntriesDescription.h"
#include "tq/platform/object/AssertionPlaces.h"
#include "tq/platform/object/Monitor.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {
using Hold = std::lock_guard<std::recursive_mutex>;
}

TQIntegerKeyDictionary::TQIntegerKeyDictionary() : map_(MutableDictionary::dictionary()) {}

Ref<MutableDictionary> TQIntegerKeyDictionary::copiedMap() const {
  Hold hold(monitorOf(*this));
  return MutableDictionary::dictionaryWithDictionary(*map_);
}

Id TQIntegerKeyDictionary::copy() const { return Ref<TQIntegerKeyDictionary>(new TQIntegerKeyDictionary(copiedMap())); }
Id TQIntegerKeyDictionary::mutableCopy() const { return make<TQMutableIntegerKeyDictionary>(copiedMap()); }
Id TQMutableIntegerKeyDictionary::copy() const { return TQIntegerKeyDictionary::copy(); }

Ref<Dictionary> TQIntegerKeyDictionary::_dictionary_() const { return map_; }

Id TQIntegerKeyDictionary::objectForInteger(Integer key) const {
  Hold hold(monitorOf(*this));
  return map_->objectForKey(num(key));
}

Id TQIntegerKeyDictionary::objectForKeyedSubscript(const Id& key) const {
  Hold hold(monitorOf(*this));
  TQ_ASSERT_PLACE(std::dynamic_pointer_cast<Number>(key), AssertionPlaces::IntegerKeyDictionaryKeyNotNumber,
                  "Invalid parameter not satisfying: [key isKindOfClass:[NSNumber class]]");
  return lookUpUnchecked(key);
}

Id TQIntegerKeyDictionary::lookUpUnchecked(const Id& key) const {
  Hold hold(monitorOf(*this));
  return map_->objectForKey(key);
}

Index TQIntegerKeyDictionary::count() const {
  Hold hold(monitorOf(*this));
  return map_->count();
}

Ref<TQIntegerSet> TQIntegerKeyDictionary::allKeys() const {
  Hold hold(monitorOf(*this));
  TQMutableIntegerSet keys;
  for (const auto& [key, object] : map_->entries()) {
    keys.addInteger(std::static_pointer_cast<Number>(key)->unsignedIntegerValue());
  }
  return TQIntegerSet::initWithIntegerSet(keys);
}

Ref<Array> TQIntegerKeyDictionary::allValues() const {
  Hold hold(monitorOf(*this));
  return map_->allValues();
}

void TQIntegerKeyDictionary::enumerateIntegersAndObjectsUsingBlock(const IntegerObjectVisitor& visit) const {
  std::vector<Dictionary::Entry> entries;
  {
    Hold hold(monitorOf(*this));
    entries = map_->entries();
  }
  bool stop = false;
  for (const auto& [key, object] : entries) {
    visit(std::static_pointer_cast<Number>(key)->unsignedIntegerValue(), object, &stop);
    if (stop) break;
  }
}

void TQMutableIntegerKeyDictionary::setObject(const Id& object, Integer key) {
  Hold hold(monitorOf(*this));
  TQ_ASSERT_PLACE(object != nullptr, AssertionPlaces::IntegerKeyDictionaryNilObject,
                  "Invalid parameter not satisfying: object");
  if (object) map().setObject(object, num(key));
}

void TQMutableIntegerKeyDictionary::setObjectForKeyedSubscript(const Id& object, const Id& key) {
  Hold hold(monitorOf(*this));
  map().setObjectForKeyedSubscript(object, key);
}

void TQMutableIntegerKeyDictionary::removeObjectForInteger(Integer key) {
  Hold hold(monitorOf(*this));
  map().removeObjectForKey(num(key));
}

void TQMutableIntegerKeyDictionary::removeAllObjects() {
  Hold hold(monitorOf(*this));
  map().removeAllObjects();
}

Ref<String> TQMutableIntegerKeyDictionary::debugDescription() const {
  return detail::entriesDebugDescription(*this, count());
}

Ref<String> detail::entriesDebugDescription(const Object& object, Index count) {
  char text[160];
  std::snprintf(text, sizeof text, "<%s: %p> %lld entries", object.className().c_str(),
                static_cast<const void*>(&object), static_cast<long long>(count));
  return str(text);
}

}  // namespace tq
