#pragma once
// The editable ordered dictionary: adding, inserting, setting, replacing,
// removing, exchanging, filtering and sorting entries in place.
//
// Several editing operations behave in long-established ways that callers
// depend on and that are kept exactly:
// - `insertObject` puts a new key at the front whatever the index, and moves
//   an existing key to one before the requested index when that lies before
//   its current position;
// - `setObject(object, key, index)` with a new key inserts the key list itself
//   as the key (the key argument is unused);
// - the range forms of the removals by entry use an index relative to the
//   range as an absolute one;
// - `removeEntriesInRange` removes index by index without compensating for the
//   shift, so it takes every second entry;
// - `replaceEntryAtIndex` does not check that the new key is unique;
// - every single-entry removal of something absent raises the range failure.

#include "tq/collections/TQOrderedDictionary.h"

namespace tq {

class TQMutableOrderedDictionary : public TQOrderedDictionary {
 public:
  TQMutableOrderedDictionary() = default;

  // Constructors and initialisers, answering this class.
  static Ref<TQMutableOrderedDictionary> orderedDictionary();
  static Ref<TQMutableOrderedDictionary> orderedDictionaryWithOrderedDictionary(const TQOrderedDictionary& other);
  static Ref<TQMutableOrderedDictionary> orderedDictionaryWithContentsOfFile(const std::string& path);
  static Ref<TQMutableOrderedDictionary> orderedDictionaryWithContentsOfURL(const std::string& url);
  static Ref<TQMutableOrderedDictionary> orderedDictionaryWithObject(const Id& object, const Id& key);
  static Ref<TQMutableOrderedDictionary> orderedDictionaryWithDictionary(const Dictionary& dictionary);
  static Ref<TQMutableOrderedDictionary> newWithDictionary(const Dictionary& dictionary);
  static Ref<TQMutableOrderedDictionary> orderedDictionaryWithCapacity(Index capacity);
  static Ref<TQMutableOrderedDictionary> withOrderedDictionary(const TQOrderedDictionary& other,
                                                               bool copyEntries = false);
  static Ref<TQMutableOrderedDictionary> withContentsOfFile(const std::string& path);
  static Ref<TQMutableOrderedDictionary> withContentsOfURL(const std::string& url);
  static Ref<TQMutableOrderedDictionary> withContentsOfDictionary(const Dictionary& dictionary);
  static Ref<TQMutableOrderedDictionary> withObjects(const Ref<Array>& objects, const Ref<Array>& keys);
  static Ref<TQMutableOrderedDictionary> withCoder(KeyedUnarchiver& coder);
  /// An empty instance made through the checked initialiser; the capacity is
  /// only a hint to the lists.
  static Ref<TQMutableOrderedDictionary> withCapacity(Index capacity);

  std::string className() const override { return "TQMutableOrderedDictionary"; }
  std::string archiveClassName() const override { return "TQMutableOrderedDictionary"; }
  std::vector<std::string> archiveSuperclassNames() const override { return {"TQOrderedDictionary"}; }

  // Adding at the end; an existing key moves to the end.
  void addObject(const Id& object, const Id& key);
  void addEntry(const Dictionary& entry);
  void addEntriesFromOrderedDictionary(const TQOrderedDictionary& other);
  void addEntriesFromDictionary(const Dictionary& dictionary);

  // Inserting (see the position rules above).
  void insertObject(const Id& object, const Id& key, Index index);
  void insertEntry(const Dictionary& entry, Index index);
  void insertEntriesFromOrderedDictionary(const TQOrderedDictionary& other, Index index);
  void insertEntriesFromDictionary(const Dictionary& dictionary, Index index);

  // Setting: an existing key keeps its position, a new one is added.
  void setObject(const Id& object, const Id& key);
  /// A nil object removes the key (raising the range failure when absent).
  void setObjectForKeyedSubscript(const Id& object, const Id& key);
  void setEntry(const Dictionary& entry);
  void setEntriesFromOrderedDictionary(const TQOrderedDictionary& other);
  void setEntriesFromDictionary(const Dictionary& dictionary);
  void setObject(const Id& object, const Id& key, Index index);
  void setEntry(const Dictionary& entry, Index index);
  void setEntriesFromOrderedDictionary(const TQOrderedDictionary& other, Index index);
  void setEntriesFromDictionary(const Dictionary& dictionary, Index index);
  /// Merges pair by pair up to the shorter list; existing entries stay.
  void setEntriesToObjects(const Array& objects, const Array& keys);
  void setEntriesToOrderedDictionary(const TQOrderedDictionary& other);

  // Removing one entry; raises the range failure when it is absent.
  void removeEntryAtIndex(Index index);
  void removeLastEntry();
  void removeEntryWithKey(const Id& key);
  void removeObjectForKey(const Id& key);
  void removeEntryWithObject(const Id& object);
  void removeEntryWithObject(const Id& object, const Id& key);
  void removeEntry(const Dictionary& entry);
  void removeEntryWithObject(const Id& object, Range range);
  void removeEntryWithKey(const Id& key, Range range);
  /// The index found within the range is used from the start of the list.
  void removeEntryWithObject(const Id& object, const Id& key, Range range);
  void removeEntry(const Dictionary& entry, Range range);
  void removeEntryWithObjectIdenticalTo(const Id& object);
  void removeEntryWithObjectIdenticalTo(const Id& object, Range range);

  // Removing several.
  void removeAllEntries();
  void removeAllObjects() { removeAllEntries(); }
  void removeEntriesAtIndexes(const IndexSet& indexes);
  void removeEntriesWithObjectsInArray(const Array& objects);
  void removeEntriesWithKeysInArray(const Array& keys);
  void removeObjectsForKeys(const Array& keys) { removeEntriesWithKeysInArray(keys); }
  /// Removes at location, location + 1, ... without compensating for the
  /// shift; use removeEntriesAtIndexes to drop a run.
  void removeEntriesInRange(Range range);

  // Replacing.
  void replaceEntryAtIndex(Index index, const Id& object, const Id& key);
  void replaceEntryAtIndex(Index index, const Dictionary& entry);
  void replaceEntriesAtIndexes(const IndexSet& indexes, const Array& objects, const Array& keys);
  /// Every index gets the first element of the first entry as object and key.
  void replaceEntriesAtIndexes(const IndexSet& indexes, const Array& entries);
  /// Every index gets the source's first pair.
  void replaceEntriesAtIndexes(const IndexSet& indexes, const TQOrderedDictionary& other);
  void replaceEntriesInRange(Range range, const Array& objects, const Array& keys);
  void replaceEntriesInRange(Range range, const Array& objects, const Array& keys, Range sourceRange);
  void replaceEntriesInRange(Range range, const Array& entries);
  void replaceEntriesInRange(Range range, const Array& entries, Range sourceRange);
  void replaceEntriesInRange(Range range, const TQOrderedDictionary& other);
  void replaceEntriesInRange(Range range, const TQOrderedDictionary& other, Range sourceRange);

  // Reordering and filtering.
  void exchangeEntryAtIndex(Index a, Index b);
  void sortEntriesByObjectUsingDescriptors(const std::vector<Ref<SortDescriptor>>& descriptors);
  void sortEntriesByObjectUsingComparator(const Comparator& comparator);
  void sortEntriesByObjectWithOptions(SortOptions options, const Comparator& comparator);
  void sortEntriesByObjectUsingFunction(SortFunction function, void* context);
  void sortEntriesByObjectUsingSelector(ComparisonSelector selector);
  void sortEntriesByKeysUsingDescriptors(const std::vector<Ref<SortDescriptor>>& descriptors);
  void sortEntriesByKeysUsingComparator(const Comparator& comparator);
  void sortEntriesByKeysWithOptions(SortOptions options, const Comparator& comparator);
  void sortEntriesByKeysUsingFunction(SortFunction function, void* context);
  void sortEntriesByKeysUsingSelector(ComparisonSelector selector);
  /// Keeps the passing objects; raises the range failure (changing nothing)
  /// when any object fails, since the keys are matched over the whole list.
  void filterEntriesUsingPredicateForObjects(const Predicate& predicate);

 private:
  bool holdsKey(const Id& key) const { return pairs_->objectForKey(key) != nullptr; }
  void adoptSortedObjects(const Ref<Array>& sortedObjects);
  void adoptSortedKeys(const Ref<Array>& sortedKeys);
};

}  // namespace tq
