#include "tq/collections/TQMutableOrderedDictionary.h"

#include <algorithm>

#include "tq/platform/object/Exception.h"

namespace tq {

// --- Creation ---------------------------------------------------------------

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::orderedDictionary() {
  return make<TQMutableOrderedDictionary>();
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::orderedDictionaryWithOrderedDictionary(
    const TQOrderedDictionary& other) {
  return withOrderedDictionary(other);
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::orderedDictionaryWithObject(const Id& object,
                                                                                        const Id& key) {
  return withObjects(arr({object}), arr({key}));
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::orderedDictionaryWithDictionary(
    const Dictionary& dictionary) {
  return withContentsOfDictionary(dictionary);
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::newWithDictionary(const Dictionary& dictionary) {
  return withContentsOfDictionary(dictionary);
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::orderedDictionaryWithCapacity(Index capacity) {
  return withCapacity(capacity);
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::withOrderedDictionary(const TQOrderedDictionary& other,
                                                                                  bool copyEntries) {
  return created<TQMutableOrderedDictionary>([&](auto& d) { d.initWithOrderedDictionary(other, copyEntries); });
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::withContentsOfDictionary(const Dictionary& dictionary) {
  return created<TQMutableOrderedDictionary>([&](auto& d) { d.initWithContentsOfDictionary(dictionary); });
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::withObjects(const Ref<Array>& objects,
                                                                        const Ref<Array>& keys) {
  return created<TQMutableOrderedDictionary>([&](auto& d) { d.initWithObjects(objects, keys); });
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::withCoder(KeyedUnarchiver& coder) {
  return created<TQMutableOrderedDictionary>([&](auto& d) { d.initWithCoder(coder); });
}

Ref<TQMutableOrderedDictionary> TQMutableOrderedDictionary::withCapacity(Index capacity) {
  auto instance = withObjects(MutableArray::arrayWithCapacity(capacity), MutableArray::arrayWithCapacity(capacity));
  instance->keys_->reserve(capacity);
  instance->objects_->reserve(capacity);
  return instance;
}

// --- Adding and inserting -----------------------------------------------------------

void TQMutableOrderedDictionary::addObject(const Id& object, const Id& key) {
  if (holdsKey(key)) removeEntryWithKey(key);
  pairs_->setObject(object, key);
  keys_->addObject(key);
  objects_->addObject(object);
}

void TQMutableOrderedDictionary::addEntry(const Dictionary& entry) {
  EntryParts parts = entryParts(entry);
  addObject(parts.object, parts.key);
}

void TQMutableOrderedDictionary::addEntriesFromOrderedDictionary(const TQOrderedDictionary& other) {
  for (Index i = 0; i < other.count(); ++i) addObject(other.objectAtIndex(i), other.keyAtIndex(i));
}

void TQMutableOrderedDictionary::addEntriesFromDictionary(const Dictionary& dictionary) {
  Ref<Array> keys = dictionary.allKeys();
  for (const Id& key : *keys) addObject(dictionary.objectForKey(key), key);
}

void TQMutableOrderedDictionary::insertObject(const Id& object, const Id& key, Index index) {
  // The long-standing placement: a new key goes to the front whatever the
  // index; an existing key moving towards the front lands one before the
  // requested index (index 0 wraps round and the insertion raises).
  Index target = 0;
  if (holdsKey(key)) {
    Index current = indexOfKey(key);
    target = index < current ? index - 1 : index;
    removeEntryWithKey(key);
  }
  pairs_->setObject(object, key);
  keys_->insertObject(key, target);
  objects_->insertObject(object, target);
}

void TQMutableOrderedDictionary::insertEntry(const Dictionary& entry, Index index) {
  EntryParts parts = entryParts(entry);
  insertObject(parts.object, parts.key, index);
}

void TQMutableOrderedDictionary::insertEntriesFromOrderedDictionary(const TQOrderedDictionary& other, Index index) {
  for (Index i = 0; i < other.count(); ++i) insertObject(other.objectAtIndex(i), other.keyAtIndex(i), index + i);
}

void TQMutableOrderedDictionary::insertEntriesFromDictionary(const Dictionary& dictionary, Index index) {
  Ref<Array> keys = dictionary.allKeys();
  for (Index i = 0; i < keys->count(); ++i) insertObject(dictionary.objectForKey((*keys)[i]), (*keys)[i], index + i);
}

// --- Setting ---------------------------------------------------------------------------

void TQMutableOrderedDictionary::setObject(const Id& object, const Id& key) {
  if (!holdsKey(key)) {
    addObject(object, key);
    return;
  }
  pairs_->setObject(object, key);
  objects_->replaceObjectAtIndex(indexOfKey(key), object);
}

void TQMutableOrderedDictionary::setObjectForKeyedSubscript(const Id& object, const Id& key) {
  if (object) {
    setObject(object, key);
  } else {
    removeObjectForKey(key);
  }
}

void TQMutableOrderedDictionary::setEntry(const Dictionary& entry) {
  EntryParts parts = entryParts(entry);
  setObject(parts.object, parts.key);
}

void TQMutableOrderedDictionary::setEntriesFromOrderedDictionary(const TQOrderedDictionary& other) {
  for (Index i = 0; i < other.count(); ++i) setObject(other.objectAtIndex(i), other.keyAtIndex(i));
}

void TQMutableOrderedDictionary::setEntriesFromDictionary(const Dictionary& dictionary) {
  Ref<Array> keys = dictionary.allKeys();
  for (const Id& key : *keys) setObject(dictionary.objectForKey(key), key);
}

void TQMutableOrderedDictionary::setObject(const Id& object, const Id& key, Index index) {
  if (holdsKey(key)) {
    setObject(object, key);
    return;
  }
  // Callers have always got this: the key list itself goes in as the key, so
  // the new pair lands at the front under that list and `key` is unused.
  // The key list then contains itself; removing that entry breaks the cycle.
  insertObject(object, keys_, index);
}

void TQMutableOrderedDictionary::setEntry(const Dictionary& entry, Index index) {
  EntryParts parts = entryParts(entry);
  setObject(parts.object, parts.key, index);
}

void TQMutableOrderedDictionary::setEntriesFromOrderedDictionary(const TQOrderedDictionary& other, Index index) {
  for (Index i = 0; i < other.count(); ++i) setObject(other.objectAtIndex(i), other.keyAtIndex(i), index + i);
}

void TQMutableOrderedDictionary::setEntriesFromDictionary(const Dictionary& dictionary, Index index) {
  Ref<Array> keys = dictionary.allKeys();
  for (Index i = 0; i < keys->count(); ++i) setObject(dictionary.objectForKey((*keys)[i]), (*keys)[i], index + i);
}

void TQMutableOrderedDictionary::setEntriesToObjects(const Array& objects, const Array& keys) {
  Index n = std::min(objects.count(), keys.count());
  for (Index i = 0; i < n; ++i) setObject(objects[i], keys[i]);
}

void TQMutableOrderedDictionary::setEntriesToOrderedDictionary(const TQOrderedDictionary& other) {
  // A snapshot, so that passing this dictionary itself is safe.
  Ref<Array> keys = make<Array>(other.allKeys()->storage());
  for (const Id& key : *keys) setObject(other.objectForKey(key), key);
}

// --- Removing one ------------------------------------------------------------------------

void TQMutableOrderedDictionary::removeEntryAtIndex(Index index) {
  Id key = keyAtIndex(index);  // raises before anything changes
  keys_->removeObjectAtIndex(index);
  objects_->removeObjectAtIndex(index);
  pairs_->removeObjectForKey(key);
}

void TQMutableOrderedDictionary::removeLastEntry() { removeEntryAtIndex(count() - 1); }

void TQMutableOrderedDictionary::removeEntryWithKey(const Id& key) { removeEntryAtIndex(indexOfKey(key)); }

void TQMutableOrderedDictionary::removeObjectForKey(const Id& key) { removeEntryAtIndex(indexOfKey(key)); }

void TQMutableOrderedDictionary::removeEntryWithObject(const Id& object) { removeEntryAtIndex(indexOfObject(object)); }

void TQMutableOrderedDictionary::removeEntryWithObject(const Id& object, const Id& key) {
  removeEntryAtIndex(indexOfEntryWithObject(object, key));
}

void TQMutableOrderedDictionary::removeEntry(const Dictionary& entry) {
  EntryParts parts = entryParts(entry);
  removeEntryWithObject(parts.object, parts.key);
}

void TQMutableOrderedDictionary::removeEntryWithObject(const Id& object, Range range) {
  removeEntryAtIndex(indexOfObject(object, range));
}

void TQMutableOrderedDictionary::removeEntryWithKey(const Id& key, Range range) {
  removeEntryAtIndex(indexOfKey(key, range));
}

void TQMutableOrderedDictionary::removeEntryWithObject(const Id& object, const Id& key, Range range) {
  // The search answers relative to the range and the index is used as it
  // comes, so a range not starting at 0 removes another entry: kept, callers
  // have always seen it.
  removeEntryAtIndex(indexOfEntryWithObject(object, key, range));
}

void TQMutableOrderedDictionary::removeEntry(const Dictionary& entry, Range range) {
  EntryParts parts = entryParts(entry);
  removeEntryWithObject(parts.object, parts.key, range);
}

void TQMutableOrderedDictionary::removeEntryWithObjectIdenticalTo(const Id& object) {
  removeEntryAtIndex(indexOfObjectIdenticalTo(object));
}

void TQMutableOrderedDictionary::removeEntryWithObjectIdenticalTo(const Id& object, Range range) {
  removeEntryAtIndex(indexOfObjectIdenticalTo(object, range));
}

// --- Removing several ------------------------------------------------------------------

void TQMutableOrderedDictionary::removeAllEntries() {
  keys_->removeAllObjects();
  objects_->removeAllObjects();
  pairs_->removeAllObjects();
}

void TQMutableOrderedDictionary::removeEntriesAtIndexes(const IndexSet& indexes) {
  // By key, so that the shifting indexes do no harm.
  Ref<Array> keys = keysAtIndexes(indexes);
  for (const Id& key : *keys) removeEntryWithKey(key);
}

void TQMutableOrderedDictionary::removeEntriesWithObjectsInArray(const Array& objects) {
  for (const Id& object : objects) removeEntryWithObject(object);
}

void TQMutableOrderedDictionary::removeEntriesWithKeysInArray(const Array& keys) {
  for (const Id& key : keys) removeEntryWithKey(key);
}

void TQMutableOrderedDictionary::removeEntriesInRange(Range range) {
  // Index by index with no compensation for the shift: entries at l, l + 2,
  // l + 4 ... go, and the range failure comes once the index passes the end.
  if (range.location + range.length <= range.location) return;
  for (Index i = range.location; i < range.location + range.length; ++i) removeEntryAtIndex(i);
}

// --- Replacing -----------------------------------------------------------------------------

void TQMutableOrderedDictionary::replaceEntryAtIndex(Index index, const Id& object, const Id& key) {
  // No uniqueness check: a key already standing elsewhere ends up twice.
  Id oldKey = keyAtIndex(index);
  pairs_->removeObjectForKey(oldKey);
  pairs_->setObject(object, key);
  keys_->replaceObjectAtIndex(index, key);
  objects_->replaceObjectAtIndex(index, object);
}

void TQMutableOrderedDictionary::replaceEntryAtIndex(Index index, const Dictionary& entry) {
  EntryParts parts = entryParts(entry);
  replaceEntryAtIndex(index, parts.object, parts.key);
}

void TQMutableOrderedDictionary::replaceEntriesAtIndexes(const IndexSet& indexes, const Array& objects,
                                                         const Array& keys) {
  Index k = 0;
  for (Index index : indexes.allIndexes()) {
    if (k < objects.count() && k < keys.count()) replaceEntryAtIndex(index, objects[k], keys[k]);
    ++k;
  }
}

namespace {

// The first element of a collection: a list's first object, a dictionary's
// first key (collections enumerate their keys).
Id firstElementOf(const Id& collection) {
  if (auto list = cast<Array>(collection)) return list->firstObject();
  if (auto map = cast<Dictionary>(collection)) return map->allKeys()->firstObject();
  if (auto ordered = cast<TQOrderedDictionary>(collection)) return ordered->firstKey();
  if (collection) raiseUnrecognizedMessage(collection.get(), "firstObject");
  return nullptr;
}

}  // namespace

void TQMutableOrderedDictionary::replaceEntriesAtIndexes(const IndexSet& indexes, const Array& entries) {
  // Long-standing behaviour: every index takes the first element of the first
  // entry as both its object and its key.
  for (Index index : indexes.allIndexes()) {
    if (entries.count() == 0) continue;
    Id element = firstElementOf(entries[0]);
    replaceEntryAtIndex(index, element, element);
  }
}

void TQMutableOrderedDictionary::replaceEntriesAtIndexes(const IndexSet& indexes, const TQOrderedDictionary& other) {
  // Long-standing behaviour: every index takes the source's first pair.
  for (Index index : indexes.allIndexes()) {
    if (other.count() == 0) continue;
    replaceEntryAtIndex(index, other.objectAtIndex(0), other.keyAtIndex(0));
  }
}

void TQMutableOrderedDictionary::replaceEntriesInRange(Range range, const Array& objects, const Array& keys) {
  replaceEntriesAtIndexes(IndexSet(range), objects, keys);
}

void TQMutableOrderedDictionary::replaceEntriesInRange(Range range, const Array& objects, const Array& keys,
                                                       Range sourceRange) {
  replaceEntriesInRange(range, *objects.subarrayWithRange(sourceRange), *keys.subarrayWithRange(sourceRange));
}

void TQMutableOrderedDictionary::replaceEntriesInRange(Range range, const Array& entries) {
  replaceEntriesAtIndexes(IndexSet(range), entries);
}

void TQMutableOrderedDictionary::replaceEntriesInRange(Range range, const Array& entries, Range sourceRange) {
  replaceEntriesAtIndexes(IndexSet(range), *entries.subarrayWithRange(sourceRange));
}

void TQMutableOrderedDictionary::replaceEntriesInRange(Range range, const TQOrderedDictionary& other) {
  replaceEntriesAtIndexes(IndexSet(range), other);
}

void TQMutableOrderedDictionary::replaceEntriesInRange(Range range, const TQOrderedDictionary& other,
                                                       Range sourceRange) {
  replaceEntriesInRange(range, *other.allObjects()->subarrayWithRange(sourceRange),
                        *other.allKeys()->subarrayWithRange(sourceRange));
}

// --- Reordering and filtering -------------------------------------------------------------

void TQMutableOrderedDictionary::exchangeEntryAtIndex(Index a, Index b) {
  keys_->exchangeObjectAtIndex(a, b);
  objects_->exchangeObjectAtIndex(a, b);
}

void TQMutableOrderedDictionary::adoptSortedObjects(const Ref<Array>& sortedObjects) {
  // No pair changes, so the map stays as it is.
  Ref<Array> keys = keysForSortedObjects(*sortedObjects);
  objects_ = MutableArray::arrayWithArray(*sortedObjects);
  keys_ = MutableArray::arrayWithArray(*keys);
}

void TQMutableOrderedDictionary::adoptSortedKeys(const Ref<Array>& sortedKeys) {
  Ref<Array> objects = objectsForSortedKeys(*sortedKeys);
  keys_ = MutableArray::arrayWithArray(*sortedKeys);
  objects_ = MutableArray::arrayWithArray(*objects);
}

void TQMutableOrderedDictionary::sortEntriesByObjectUsingDescriptors(
    const std::vector<Ref<SortDescriptor>>& descriptors) {
  adoptSortedObjects(objects_->sortedArrayUsingDescriptors(descriptors));
}

void TQMutableOrderedDictionary::sortEntriesByObjectUsingComparator(const Comparator& comparator) {
  adoptSortedObjects(objects_->sortedArrayUsingComparator(comparator));
}

void TQMutableOrderedDictionary::sortEntriesByObjectWithOptions(SortOptions options, const Comparator& comparator) {
  adoptSortedObjects(objects_->sortedArrayWithOptions(options, comparator));
}

void TQMutableOrderedDictionary::sortEntriesByObjectUsingFunction(SortFunction function, void* context) {
  adoptSortedObjects(objects_->sortedArrayUsingFunction(function, context));
}

void TQMutableOrderedDictionary::sortEntriesByObjectUsingSelector(ComparisonSelector selector) {
  adoptSortedObjects(objects_->sortedArrayUsingSelector(selector));
}

void TQMutableOrderedDictionary::sortEntriesByKeysUsingDescriptors(
    const std::vector<Ref<SortDescriptor>>& descriptors) {
  adoptSortedKeys(keys_->sortedArrayUsingDescriptors(descriptors));
}

void TQMutableOrderedDictionary::sortEntriesByKeysUsingComparator(const Comparator& comparator) {
  adoptSortedKeys(keys_->sortedArrayUsingComparator(comparator));
}

void TQMutableOrderedDictionary::sortEntriesByKeysWithOptions(SortOptions options, const Comparator& comparator) {
  adoptSortedKeys(keys_->sortedArrayWithOptions(options, comparator));
}

void TQMutableOrderedDictionary::sortEntriesByKeysUsingFunction(SortFunction function, void* context) {
  adoptSortedKeys(keys_->sortedArrayUsingFunction(function, context));
}

void TQMutableOrderedDictionary::sortEntriesByKeysUsingSelector(ComparisonSelector selector) {
  adoptSortedKeys(keys_->sortedArrayUsingSelector(selector));
}

void TQMutableOrderedDictionary::filterEntriesUsingPredicateForObjects(const Predicate& predicate) {
  Ref<Array> passing = objects_->filteredArrayUsingPredicate(predicate);
  // The keys are matched over the whole object list, so a shorter passing
  // list raises here, before anything has changed.
  Ref<Array> keys = keysForSortedObjects(*passing);
  objects_ = MutableArray::arrayWithArray(*passing);
  keys_ = MutableArray::arrayWithArray(*keys);
  rebuildPairs();
}

}  // namespace tq
