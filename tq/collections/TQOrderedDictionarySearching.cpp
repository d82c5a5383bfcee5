// Searching, enumeration, derived dictionaries and sorting of the ordered
// dictionary.

#include <cstdint>
#include <cstdio>

#include "tq/collections/TQOrderedDictionary.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/collection/Set.h"

namespace tq {

namespace {

// Positions in `list` whose element is equal to `value`.
Ref<IndexSet> positionsOfEqual(const Array& list, const Id& value) {
  auto positions = make<MutableIndexSet>();
  for (Index i = 0; i < list.count(); ++i) {
    if (isEqual(list[i], value)) positions->addIndex(i);
  }
  return positions;
}

// The first position in both lists holding the object and the key.
Index firstPairedPosition(const Array& objects, const Array& keys, const Id& object, const Id& key) {
  Ref<IndexSet> withObject = positionsOfEqual(objects, object);
  Ref<IndexSet> withKey = positionsOfEqual(keys, key);
  for (const Range& run : withObject->ranges()) {
    for (Index i = run.location; i < run.end(); ++i) {
      if (withKey->containsIndex(i)) return i;
    }
  }
  return NotFound;
}

Ref<TQOrderedDictionary> pairedWithSortedObjects(const TQOrderedDictionary& source, const Ref<Array>& sorted) {
  return TQOrderedDictionary::withObjects(sorted, source.keysForSortedObjects(*sorted));
}

Ref<TQOrderedDictionary> pairedWithSortedKeys(const TQOrderedDictionary& source, const Ref<Array>& sorted) {
  return TQOrderedDictionary::withObjects(source.objectsForSortedKeys(*sorted), sorted);
}

}  // namespace

// --- Searching ------------------------------------------------------------

Index TQOrderedDictionary::indexOfEntryWithObject(const Id& object, const Id& key) const {
  return firstPairedPosition(*objects_, *keys_, object, key);
}

Index TQOrderedDictionary::indexOfEntryWithObject(const Id& object, const Id& key, Range range) const {
  // Searches the sub-lists, so the answer counts from the range's start (unlike
  // indexOfObject:inRange:); removals by entry in a range rely on this.
  IndexSet selection(range);
  return firstPairedPosition(*objectsAtIndexes(selection), *keysAtIndexes(selection), object, key);
}

Index TQOrderedDictionary::indexOfEntry(const Dictionary& entry) const {
  EntryParts parts = entryParts(entry);
  return indexOfEntryWithObject(parts.object, parts.key);
}

Index TQOrderedDictionary::indexOfEntry(const Dictionary& entry, Range range) const {
  EntryParts parts = entryParts(entry);
  return indexOfEntryWithObject(parts.object, parts.key, range);
}

const Id& TQOrderedDictionary::keyOfObject(const Id& object, Range sortedRange, BinarySearchingOptions options,
                                           const Comparator& comparator) const {
  // The search goes to the argument, not to our objects: only a list answers
  // it, and a message to nil answers 0.
  Index index = 0;
  if (auto list = cast<Array>(object)) {
    index = list->indexOfObject(object, sortedRange, options, comparator);
  } else if (auto ordered = cast<TQOrderedDictionary>(object)) {
    index = ordered->indexOfObject(object, sortedRange, options, comparator);
  } else if (object) {
    raiseUnrecognizedMessage(object.get(), "indexOfObject:inSortedRange:options:usingComparator:");
  }
  return keyAtIndex(index);
}

namespace {

// The count of a key taken as a collection: lists, dictionaries, sets, index
// sets and ordered dictionaries answer, a message to nil answers 0, and any
// other object does not know the message.
Index countOfKey(const Id& key) {
  if (!key) return 0;
  if (auto list = cast<Array>(key)) return list->count();
  if (auto map = cast<Dictionary>(key)) return map->count();
  if (auto set = cast<Set>(key)) return set->count();
  if (auto indexes = cast<IndexSet>(key)) return indexes->count();
  if (auto ordered = cast<TQOrderedDictionary>(key)) return ordered->count();
  raiseUnrecognizedMessage(key.get(), "count");
}

}  // namespace

Ref<Dictionary> TQOrderedDictionary::firstEntryInCommonWithOrderedDictionary(const TQOrderedDictionary& other) const {
  // The entry point callers have always had: it takes the first common key as
  // a list and, while that list is non-empty, compares the two dictionaries'
  // objects for the list's first element, storing ours into the object list
  // on a match. Nothing in the walk shortens the list, so it never ends once
  // it starts, and nothing it does ever makes an entry: the answer is nil.
  //
  // What is kept: nil and empty collections answer nil at once, and a key
  // that is no collection (a string, as keys usually are) raises the
  // unrecognised message for `count`. The endless walk is reported as an
  // assertion failure after one turn of its body instead of hanging. That
  // turn's comparison is made, so an object's equality runs as it always
  // did; the store on a match would put one object where the object list
  // stands, which this dictionary cannot hold, and is left out.
  Id key = firstKeyInCommonWithOrderedDictionary(other);
  if (countOfKey(key) == 0) return nullptr;
  if (auto list = cast<Array>(key)) {
    const Id& element = list->objectAtIndex(0);
    (void)tq::isEqual(objectForKey(element), other.objectForKey(element));
  }
  TQ_ASSERT(false,
            "-[TQOrderedDictionary firstEntryInCommonWithOrderedDictionary:] loops without end on a "
            "non-empty list key");
  return nullptr;
}

// --- Enumeration --------------------------------------------------------------

void TQOrderedDictionary::KeyIterator::checkUnchanged() const {
  if (!owner_ || (owner_->keys_.get() == keys_ && keys_->count() == count_)) return;
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(owner_));
  raise(ExceptionName::Generic,
        "*** Collection <" + owner_->className() + ": " + address + "> was mutated while being enumerated.");
}

Ref<Enumerator> TQOrderedDictionary::entryEnumerator() const {
  Array::Storage snapshot;
  snapshot.reserve(count());
  for (Index i = 0; i < count(); ++i) snapshot.push_back(entryAtIndex(i));
  return make<Enumerator>(std::move(snapshot));
}

Ref<Enumerator> TQOrderedDictionary::reverseEntryEnumerator() const {
  // Starts at the last index and walks upward, so the snapshot is never
  // complete: the first index past the end raises the range failure (at once
  // when empty, where the start index wraps round). Kept as callers know it.
  Array::Storage snapshot;
  for (Index i = count() - 1;; ++i) snapshot.push_back(entryAtIndex(i));
}

void TQOrderedDictionary::enumerateKeysAndObjectsUsingBlock(const KeyObjectVisitor& visit) const {
  enumerateKeysAndObjectsWithOptions(EnumerationOptions::None, visit);
}

void TQOrderedDictionary::enumerateKeysAndObjectsWithOptions(EnumerationOptions options,
                                                             const KeyObjectVisitor& visit) const {
  keys_->enumerateObjectsWithOptions(
      options, [&](const Id& key, Index index, bool* stop) { visit(key, pairs_->objectForKey(key), index, stop); });
}

// --- Derived dictionaries -----------------------------------------------------------

Ref<TQOrderedDictionary> TQOrderedDictionary::orderedDictionaryByAddingObject(const Id& object, const Id& key) const {
  return withObjects(objects_->arrayByAddingObject(object), keys_->arrayByAddingObject(key));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::orderedDictionaryByAddingEntry(const Dictionary& entry) const {
  EntryParts parts = entryParts(entry);
  return orderedDictionaryByAddingObject(parts.object, parts.key);
}

Ref<TQOrderedDictionary> TQOrderedDictionary::orderedDictionaryByAddingObjects(const Array& objects,
                                                                               const Array& keys) const {
  return withObjects(objects_->arrayByAddingObjectsFromArray(objects), keys_->arrayByAddingObjectsFromArray(keys));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::subOrderedDictionaryWithRange(Range range) const {
  return withObjects(objects_->subarrayWithRange(range), keys_->subarrayWithRange(range));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::filteredOrderDictionarysUsingPredicateForObjects(
    const Predicate& predicate) const {
  Ref<Array> passing = objects_->filteredArrayUsingPredicate(predicate);
  auto keys = make<MutableArray>();
  // 32-bit cursors, and a step of two after each match: the entry right after
  // a match is never compared. Callers have always had this walk, so two
  // passing neighbours make the lists differ in length and trip the checked
  // initialiser's count assertion.
  std::int32_t i = 0;
  std::int32_t j = 0;
  while (Index(std::int64_t(i)) < count() && Index(std::int64_t(j)) < passing->count()) {
    if (tq::isEqual((*passing)[Index(j)], (*objects_)[Index(i)])) {
      keys->addObject((*keys_)[Index(i)]);
      j += 1;
      i += 2;
    } else {
      i += 1;
    }
  }
  return withObjects(passing, keys);
}

// --- Sorting into new dictionaries -------------------------------------------------

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByObjectsUsingFunction(SortFunction function, void* context) const {
  return pairedWithSortedObjects(*this, objects_->sortedArrayUsingFunction(function, context));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByObjectsUsingFunction(SortFunction function, void* context,
                                                                           const Id& hint) const {
  return pairedWithSortedObjects(*this, objects_->sortedArrayUsingFunction(function, context, hint));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByObjectsUsingDescriptors(
    const std::vector<Ref<SortDescriptor>>& descriptors) const {
  return pairedWithSortedObjects(*this, objects_->sortedArrayUsingDescriptors(descriptors));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByObjectsUsingSelector(ComparisonSelector selector) const {
  return pairedWithSortedObjects(*this, objects_->sortedArrayUsingSelector(selector));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByObjectsUsingComparator(const Comparator& comparator) const {
  return pairedWithSortedObjects(*this, objects_->sortedArrayUsingComparator(comparator));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByObjectsWithOptions(SortOptions options,
                                                                         const Comparator& comparator) const {
  return pairedWithSortedObjects(*this, objects_->sortedArrayWithOptions(options, comparator));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByKeysUsingFunction(SortFunction function, void* context) const {
  return pairedWithSortedKeys(*this, keys_->sortedArrayUsingFunction(function, context));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByKeysUsingFunction(SortFunction function, void* context,
                                                                        const Id& hint) const {
  return pairedWithSortedKeys(*this, keys_->sortedArrayUsingFunction(function, context, hint));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByKeysUsingDescriptors(
    const std::vector<Ref<SortDescriptor>>& descriptors) const {
  return pairedWithSortedKeys(*this, keys_->sortedArrayUsingDescriptors(descriptors));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByKeysUsingSelector(ComparisonSelector selector) const {
  return pairedWithSortedKeys(*this, keys_->sortedArrayUsingSelector(selector));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByKeysUsingComparator(const Comparator& comparator) const {
  return pairedWithSortedKeys(*this, keys_->sortedArrayUsingComparator(comparator));
}

Ref<TQOrderedDictionary> TQOrderedDictionary::sortedByKeysWithOptions(SortOptions options,
                                                                      const Comparator& comparator) const {
  return pairedWithSortedKeys(*this, keys_->sortedArrayWithOptions(options, comparator));
}

Ref<Array> TQOrderedDictionary::keysForSortedObjects(const Array& sortedObjects) const {
  MutableArray remainingObjects(objects_->storage());
  MutableArray remainingKeys(keys_->storage());
  auto result = make<MutableArray>();
  while (remainingObjects.count() > 0) {
    // A shorter list makes this index wrap round and the lookup raise.
    const Id& next = sortedObjects.objectAtIndex(sortedObjects.count() - remainingObjects.count());
    Index position = remainingObjects.indexOfObjectIdenticalTo(next);
    result->addObject(remainingKeys.objectAtIndex(position));
    remainingObjects.removeObjectAtIndex(position);
    remainingKeys.removeObjectAtIndex(position);
  }
  return result;
}

Ref<Array> TQOrderedDictionary::objectsForSortedKeys(const Array& sortedKeys) const {
  auto result = MutableArray::arrayWithCapacity(sortedKeys.count());
  for (const Id& key : sortedKeys) result->addObject(pairs_->objectForKey(key));
  return result;
}

// --- Key-value coding ---------------------------------------------------------------

Id TQOrderedDictionary::valueForKeyPath(const String& keyPath) const {
  Id value = pairs_;
  Ref<Array> keys = keyPath.componentsSeparatedByString(*str("."));
  for (const Id& key : *keys) value = tq::valueForKey(value, static_cast<const String&>(*key));
  return value;
}

}  // namespace tq
