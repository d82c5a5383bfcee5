#include "tq/collections/TQIndexSetTable.h"

#include "tq/collections/internal/EntriesDescription.h"
#include "tq/platform/object/AssertionPlaces.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"

namespace tq {

Id TQIndexSetTable::copy() const { return Ref<TQIndexSetTable>(new TQIndexSetTable(copiedMap())); }
Id TQIndexSetTable::mutableCopy() const { return make<TQMutableIndexSetTable>(copiedMap()); }

Id TQIndexSetTable::objectForKeyedSubscript(const Id& key) const {
  TQ_ASSERT_PLACE(std::dynamic_pointer_cast<Number>(key), AssertionPlaces::IndexSetTableKeyNotNumber,
                  "Invalid parameter not satisfying: [key isKindOfClass:[NSNumber class]]");
  return lookUpUnchecked(key);
}

Ref<IndexSet> TQIndexSetTable::indexSetForKey(Integer key) const {
  return std::dynamic_pointer_cast<IndexSet>(objectForInteger(key));
}

void TQIndexSetTable::enumerateIntegersAndIndexSetsUsingBlock(const IntegerIndexSetVisitor& visit) const {
  enumerateIntegersAndObjectsUsingBlock([&](Integer key, const Id& object, bool* stop) {
    visit(key, std::dynamic_pointer_cast<IndexSet>(object), stop);
  });
}

Ref<String> TQMutableIndexSetTable::debugDescription() const { return detail::entriesDebugDescription(*this, count()); }

void TQMutableIndexSetTable::setObjectForKeyedSubscript(const Id& object, const Id& key) {
  map().setObjectForKeyedSubscript(object, key);
}

void TQMutableIndexSetTable::setObject(const Id& object, Integer key) {
  map().setObjectForKeyedSubscript(object, num(key));
}

void TQMutableIndexSetTable::removeObjectForInteger(Integer key) { map().removeObjectForKey(num(key)); }

void TQMutableIndexSetTable::removeAllObjects() { map().removeAllObjects(); }

void TQMutableIndexSetTable::addIndex(Index index, Integer key) {
  Id stored = objectForInteger(key);
  auto set = std::dynamic_pointer_cast<MutableIndexSet>(stored);
  // A set stored under the key that cannot change is not replaced.
  if (stored && !set) raiseUnrecognizedMessage(stored.get(), "addIndex:");
  if (!set) {
    set = MutableIndexSet::indexSet();
    setObject(set, key);
  }
  set->addIndex(index);
}

}  // namespace tq
