#pragma once
// An immutable map from keys to objects that also keeps the order of its
// entries: every entry has a key and an index, and both lookups are constant
// time. It carries the search, sort, enumeration, description, archiving and
// file operations of the list and dictionary classes side by side.
//
// Three containers hold the same pairs: `keys_` and `objects_` in entry order,
// and `pairs_` for lookup by key. Every operation keeps them in step except the
// few documented ones whose odd behaviour callers depend on.
//
// An "entry" is a one-pair `tq::Dictionary`; its object is the first of its
// values, its key the first of its keys.
//
// Creation: the class-side constructors keep their names
// (`orderedDictionaryWithObject(object, key)`); each initialiser is a static
// named after it without the "init" (`initWithObjects:pairedWithKeys:` ->
// `withObjects(objects, keys)`), and `init` is the default constructor used
// through `make<TQOrderedDictionary>()`. The mutable subclass redeclares the
// same statics so that they answer the mutable class.
//
// Key-value coding: `valueForKey` and `setValue` go to every object (as on a
// list); `valueForKeyPath` and `setValueForKeyPath` walk the key path from the
// key -> object map. Key-value observing follows the same split: observers
// of objects at indexes are registered on those objects, observers of the
// dictionary on the key -> object map.

#include <cstddef>
#include <functional>
#include <iterator>
#include <string>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/collection/KeyValueObserving.h"
#include "tq/platform/archive/KeyedArchive.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/collection/Sorting.h"
#include "tq/platform/value/String.h"

namespace tq {

class TQMutableOrderedDictionary;

class TQOrderedDictionary : public Object, public Coding {
 public:
  /// Callback over (key, object, index, stop flag).
  using KeyObjectVisitor = std::function<void(const Id& key, const Id& object, Index index, bool* stop)>;

  /// `init`: three empty containers.
  TQOrderedDictionary();

  // Constructors (class side).
  static Ref<TQOrderedDictionary> orderedDictionary();
  static Ref<TQOrderedDictionary> orderedDictionaryWithOrderedDictionary(const TQOrderedDictionary& other);
  static Ref<TQOrderedDictionary> orderedDictionaryWithContentsOfFile(const std::string& path);
  static Ref<TQOrderedDictionary> orderedDictionaryWithContentsOfURL(const std::string& url);
  static Ref<TQOrderedDictionary> orderedDictionaryWithObject(const Id& object, const Id& key);
  static Ref<TQOrderedDictionary> orderedDictionaryWithDictionary(const Dictionary& dictionary);
  static Ref<TQOrderedDictionary> newWithDictionary(const Dictionary& dictionary);
  /// Keys 0, 1, 2 ... (unsigned number objects) paired with the array's elements.
  static Ref<TQOrderedDictionary> indexDictionaryWithArray(const Array& array);

  // Initialisers.
  static Ref<TQOrderedDictionary> withOrderedDictionary(const TQOrderedDictionary& other, bool copyEntries = false);
  /// Reads the "Objects" and "Keys" lists of a property-list dictionary; an
  /// unreadable file or missing lists give an empty dictionary.
  static Ref<TQOrderedDictionary> withContentsOfFile(const std::string& path);
  /// A "file://" URL or a plain path; other schemes cannot be read here.
  static Ref<TQOrderedDictionary> withContentsOfURL(const std::string& url);
  /// Entries in the plain dictionary's own enumeration order.
  static Ref<TQOrderedDictionary> withContentsOfDictionary(const Dictionary& dictionary);
  /// The checked initialiser: the lists must be as long as each other and the
  /// keys distinct. A nil list counts as empty.
  static Ref<TQOrderedDictionary> withObjects(const Ref<Array>& objects, const Ref<Array>& keys);
  static Ref<TQOrderedDictionary> withCoder(KeyedUnarchiver& coder);

  // Object
  Ref<String> description() const override;
  std::string className() const override { return "TQOrderedDictionary"; }
  /// A new immutable dictionary sharing the elements.
  Id copy() const override;
  /// A new mutable dictionary sharing the elements.
  Id mutableCopy() const override;

  // Coding: the lists under "NSODObjects" and "NSODKeys".
  std::string archiveClassName() const override { return "TQOrderedDictionary"; }
  void encodeWithCoder(KeyedArchiver& coder) const override;

  // Descriptions for a locale: keys and objects render through their own
  // `descriptionWithLocale(locale, level)`, which falls back to the locale form
  // and then to the plain description for values that offer less.
  Ref<String> descriptionWithLocale(const Id& locale) const override;
  Ref<String> descriptionWithLocale(const Id& locale, Index level) const override;

  // Access by index and by key.
  Index count() const { return keys_->count(); }
  Id firstObject() const { return objects_->firstObject(); }
  Id lastObject() const { return objects_->lastObject(); }
  Id firstKey() const { return keys_->firstObject(); }
  Id lastKey() const { return keys_->lastObject(); }
  /// Raise the invalid-argument failure on an empty dictionary.
  Ref<Dictionary> firstEntry() const;
  Ref<Dictionary> lastEntry() const;
  const Id& objectAtIndex(Index index) const { return objects_->objectAtIndex(index); }
  const Id& keyAtIndex(Index index) const { return keys_->objectAtIndex(index); }
  const Id& objectAtIndexedSubscript(Index index) const { return objects_->objectAtIndex(index); }
  Ref<Dictionary> entryAtIndex(Index index) const;
  Ref<Array> objectsAtIndexes(const IndexSet& indexes) const { return objects_->objectsAtIndexes(indexes); }
  Ref<Array> keysAtIndexes(const IndexSet& indexes) const { return keys_->objectsAtIndexes(indexes); }
  Ref<TQOrderedDictionary> EntriesAtIndexes(const IndexSet& indexes) const;
  Ref<Dictionary> unorderedEntriesAtIndexes(const IndexSet& indexes) const;
  /// The live key list: a mutable instance's later edits show through it.
  Ref<Array> allKeys() const { return keys_; }
  /// The live object list.
  Ref<Array> allObjects() const { return objects_; }
  Ref<Array> allKeysForObject(const Id& object) const { return pairs_->allKeysForObject(object); }
  Id objectForKey(const Id& key) const { return pairs_->objectForKey(key); }
  Id objectForKey(const Object* key) const { return pairs_->objectForKey(key); }
  Id objectForKeyedSubscript(const Id& key) const { return pairs_->objectForKey(key); }
  Ref<Array> objectForKeys(const Array& keys, const Id& notFoundMarker) const {
    return pairs_->objectsForKeys(keys, notFoundMarker);
  }
  /// A plain dictionary of all pairs.
  Ref<Dictionary> dictionary() const;
  bool containsObject(const Id& object) const { return objects_->containsObject(object); }
  /// Asks the object argument whether it contains itself, then whether the
  /// key is among the keys; the pairing is not checked. Only lists, sets and
  /// ordered dictionaries answer; other objects raise the unrecognised message.
  bool containsObject(const Id& object, const Id& key) const;
  bool containsEntry(const Dictionary& entry) const;

  // Searching; not-found results are `NotFound`.
  Index indexOfObject(const Id& object) const { return objects_->indexOfObject(object); }
  Index indexOfObject(const Id& object, Range range) const { return objects_->indexOfObject(object, range); }
  Index indexOfKey(const Id& key) const { return keys_->indexOfObject(key); }
  Index indexOfKey(const Id& key, Range range) const { return keys_->indexOfObject(key, range); }
  Index indexOfObjectIdenticalTo(const Id& object) const { return objects_->indexOfObjectIdenticalTo(object); }
  Index indexOfObjectIdenticalTo(const Id& object, Range range) const {
    return objects_->indexOfObjectIdenticalTo(object, range);
  }
  /// Raises the range failure when no object is identical.
  const Id& keyOfObjectIdenticalTo(const Id& object) const { return keyAtIndex(indexOfObjectIdenticalTo(object)); }
  const Id& keyOfObjectIdenticalTo(const Id& object, Range range) const {
    return keyAtIndex(indexOfObjectIdenticalTo(object, range));
  }
  /// The first index holding both an equal object and an equal key.
  Index indexOfEntryWithObject(const Id& object, const Id& key) const;
  /// The same within a range; the answer is relative to the range's start.
  Index indexOfEntryWithObject(const Id& object, const Id& key, Range range) const;
  Index indexOfEntry(const Dictionary& entry) const;
  Index indexOfEntry(const Dictionary& entry, Range range) const;

  Index indexOfObjectPassingTest(const IndexedTest& test) const { return objects_->indexOfObjectPassingTest(test); }
  Index indexOfObjectWithOptions(EnumerationOptions options, const IndexedTest& test) const {
    return objects_->indexOfObjectWithOptions(options, test);
  }
  Index indexOfObjectAtIndexes(const IndexSet& indexes, EnumerationOptions options, const IndexedTest& test) const {
    return objects_->indexOfObjectAtIndexes(indexes, options, test);
  }
  /// Raise the range failure when no object passes.
  const Id& keyOfObjectPassingTest(const IndexedTest& test) const { return keyAtIndex(indexOfObjectPassingTest(test)); }
  const Id& keyOfObjectWithOptions(EnumerationOptions options, const IndexedTest& test) const {
    return keyAtIndex(indexOfObjectWithOptions(options, test));
  }
  const Id& keyOfObjectAtIndexes(const IndexSet& indexes, EnumerationOptions options, const IndexedTest& test) const {
    return keyAtIndex(indexOfObjectAtIndexes(indexes, options, test));
  }
  Ref<IndexSet> indexesOfObjectsPassingTest(const IndexedTest& test) const {
    return objects_->indexesOfObjectsPassingTest(test);
  }
  Ref<IndexSet> indexesOfObjectsWithOptions(EnumerationOptions options, const IndexedTest& test) const {
    return objects_->indexesOfObjectsWithOptions(options, test);
  }
  Ref<IndexSet> indexesOfObjectsAtIndexes(const IndexSet& indexes, EnumerationOptions options,
                                          const IndexedTest& test) const {
    return objects_->indexesOfObjectsAtIndexes(indexes, options, test);
  }
  Ref<Array> keysOfObjectsPassingTest(const IndexedTest& test) const {
    return keysAtIndexes(*indexesOfObjectsPassingTest(test));
  }
  Ref<Array> keysOfObjectsWithOptions(EnumerationOptions options, const IndexedTest& test) const {
    return keysAtIndexes(*indexesOfObjectsWithOptions(options, test));
  }
  Ref<Array> keysOfObjectsAtIndexes(const IndexSet& indexes, EnumerationOptions options,
                                    const IndexedTest& test) const {
    return keysAtIndexes(*indexesOfObjectsAtIndexes(indexes, options, test));
  }
  /// Binary search of the objects.
  Index indexOfObject(const Id& object, Range sortedRange, BinarySearchingOptions options,
                      const Comparator& comparator) const {
    return objects_->indexOfObject(object, sortedRange, options, comparator);
  }
  /// Sends the binary search to the object argument itself (searching it for
  /// itself) and answers the key at the index it finds; only a list or an
  /// ordered dictionary can answer.
  const Id& keyOfObject(const Id& object, Range sortedRange, BinarySearchingOptions options,
                        const Comparator& comparator) const;
  Id firstObjectInCommonWithOrderedDictionary(const TQOrderedDictionary& other) const {
    return objects_->firstObjectCommonWithArray(*other.objects_);
  }
  Id firstKeyInCommonWithOrderedDictionary(const TQOrderedDictionary& other) const {
    return keys_->firstObjectCommonWithArray(*other.keys_);
  }
  /// Never makes an entry. Takes the first common key as a list: nil and
  /// empty collections answer nil, a key that is no collection raises the
  /// unrecognised message for `count`, and a non-empty list (whose walk would
  /// never end) raises the assertion failure; nil when assertions are off.
  Ref<Dictionary> firstEntryInCommonWithOrderedDictionary(const TQOrderedDictionary& other) const;

  /// Range-for walks the keys, as a dictionary does. Adding or removing
  /// entries, or sorting or filtering them, during the walk raises the
  /// generic failure "... was mutated while being enumerated." at the next
  /// step rather than reading storage that has moved.
  class KeyIterator {
   public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = Id;
    using difference_type = std::ptrdiff_t;
    using pointer = const Id*;
    using reference = const Id&;

    KeyIterator() = default;
    KeyIterator(const TQOrderedDictionary* owner, Index index)
        : owner_(owner), keys_(owner->keys_.get()), count_(keys_->count()), index_(index) {}
    reference operator*() const {
      checkUnchanged();
      return keys_->storage()[index_];
    }
    pointer operator->() const { return &**this; }
    KeyIterator& operator++() {
      ++index_;
      return *this;
    }
    KeyIterator operator++(int) {
      KeyIterator before = *this;
      ++index_;
      return before;
    }
    bool operator==(const KeyIterator& other) const {
      checkUnchanged();
      return index_ == other.index_;
    }

   private:
    void checkUnchanged() const;

    const TQOrderedDictionary* owner_ = nullptr;
    const MutableArray* keys_ = nullptr;
    Index count_ = 0;
    Index index_ = 0;
  };

  // Enumeration.
  KeyIterator begin() const { return KeyIterator(this, 0); }
  KeyIterator end() const { return KeyIterator(this, keys_->count()); }
  Ref<Enumerator> objectEnumerator() const { return objects_->objectEnumerator(); }
  Ref<Enumerator> keyEnumerator() const { return keys_->objectEnumerator(); }
  Ref<Enumerator> reverseObjectEnumerator() const { return objects_->reverseObjectEnumerator(); }
  Ref<Enumerator> reverseKeyEnumerator() const { return keys_->reverseObjectEnumerator(); }
  /// A snapshot of every entry.
  Ref<Enumerator> entryEnumerator() const;
  /// Never answers: its snapshot loop walks upward from the last index and
  /// raises the range failure past the end.
  Ref<Enumerator> reverseEntryEnumerator() const;
  void enumerateKeysAndObjectsUsingBlock(const KeyObjectVisitor& visit) const;
  void enumerateKeysAndObjectsWithOptions(EnumerationOptions options, const KeyObjectVisitor& visit) const;
  void enumerateObjectsUsingBlock(const IndexedVisitor& visit) const { objects_->enumerateObjectsUsingBlock(visit); }
  void enumerateObjectsWithOptions(EnumerationOptions options, const IndexedVisitor& visit) const {
    objects_->enumerateObjectsWithOptions(options, visit);
  }
  void enumerateObjectsAtIndexes(const IndexSet& indexes, EnumerationOptions options,
                                 const IndexedVisitor& visit) const {
    objects_->enumerateObjectsAtIndexes(indexes, options, visit);
  }
  /// Spelt as the operation has always been spelt.
  void makeObjectsPreformSelector(const ActionSelector& selector) const {
    objects_->makeObjectsPerformSelector(selector);
  }
  void makeObjectsPerformSelector(const ActionSelector& selector, const Id& argument) const {
    objects_->makeObjectsPerformSelector(selector, argument);
  }

  // Derived dictionaries, all through the checked initialiser.
  Ref<TQOrderedDictionary> orderedDictionaryByAddingObject(const Id& object, const Id& key) const;
  Ref<TQOrderedDictionary> orderedDictionaryByAddingEntry(const Dictionary& entry) const;
  Ref<TQOrderedDictionary> orderedDictionaryByAddingObjects(const Array& objects, const Array& keys) const;
  Ref<TQOrderedDictionary> subOrderedDictionaryWithRange(Range range) const;
  /// Spelt as the operation has always been spelt. Its walk skips the entry
  /// after each match, so two passing neighbours trip the count assertion.
  Ref<TQOrderedDictionary> filteredOrderDictionarysUsingPredicateForObjects(const Predicate& predicate) const;

  Ref<TQOrderedDictionary> sortedByObjectsUsingFunction(SortFunction function, void* context) const;
  Ref<TQOrderedDictionary> sortedByObjectsUsingFunction(SortFunction function, void* context, const Id& hint) const;
  Ref<TQOrderedDictionary> sortedByObjectsUsingDescriptors(const std::vector<Ref<SortDescriptor>>& descriptors) const;
  Ref<TQOrderedDictionary> sortedByObjectsUsingSelector(ComparisonSelector selector) const;
  Ref<TQOrderedDictionary> sortedByObjectsUsingComparator(const Comparator& comparator) const;
  Ref<TQOrderedDictionary> sortedByObjectsWithOptions(SortOptions options, const Comparator& comparator) const;
  Ref<TQOrderedDictionary> sortedByKeysUsingFunction(SortFunction function, void* context) const;
  Ref<TQOrderedDictionary> sortedByKeysUsingFunction(SortFunction function, void* context, const Id& hint) const;
  Ref<TQOrderedDictionary> sortedByKeysUsingDescriptors(const std::vector<Ref<SortDescriptor>>& descriptors) const;
  Ref<TQOrderedDictionary> sortedByKeysUsingSelector(ComparisonSelector selector) const;
  Ref<TQOrderedDictionary> sortedByKeysUsingComparator(const Comparator& comparator) const;
  Ref<TQOrderedDictionary> sortedByKeysWithOptions(SortOptions options, const Comparator& comparator) const;
  Id sortedObjectsHint() const { return objects_->sortedArrayHint(); }
  Id sortedKeysHint() const { return keys_->sortedArrayHint(); }
  /// The keys of a permutation of the objects, matched by identity so that
  /// equal but distinct objects keep their own keys. The list must be at least
  /// as long as the dictionary (else the range failure).
  Ref<Array> keysForSortedObjects(const Array& sortedObjects) const;
  /// The object of each key; an absent key raises the invalid-argument failure.
  Ref<Array> objectsForSortedKeys(const Array& sortedKeys) const;

  // Key-value coding.
  Ref<Array> valueForKey(const String& key) const { return objects_->valueForKey(key); }
  /// Dot-separated keys, starting from the key -> object map.
  Id valueForKeyPath(const String& keyPath) const;
  /// Sets the value at `key` of every object (each must be a mutable
  /// dictionary or a list of them).
  void setValue(const Id& value, const String& key) { setValueForKey(objects_, value, key); }
  /// Sets through the key -> object map. A one-key path stores into the map
  /// alone (nil removes from it) and leaves the key and object lists as they
  /// are, so the dictionary's lookups and its order then disagree; longer
  /// paths set the value inside the object found by the path's head.
  void setValueForKeyPath(const Id& value, const String& keyPath) { tq::setValueForKeyPath(pairs_, value, keyPath); }

  // Key-value observing.
  /// Registers on each object at the indexes; `setValue` notifies them.
  void addObserver(const Id& observer, const IndexSet& toObjectsAtIndexes, const String& keyPath,
                   KeyValueObservingOptions options, void* context) const {
    tq::addObserver(*objects_, observer, toObjectsAtIndexes, keyPath, options, context);
  }
  void removeObserver(const Id& observer, const IndexSet& fromObjectsAtIndexes, const String& keyPath) const {
    tq::removeObserver(*objects_, observer, fromObjectsAtIndexes, keyPath);
  }
  /// Registers on the key -> object map; `setValueForKeyPath` notifies it.
  void addObserver(const Id& observer, const String& keyPath, KeyValueObservingOptions options, void* context) const {
    tq::addObserver(pairs_, observer, keyPath, options, context);
  }
  void removeObserver(const Id& observer, const String& keyPath, void* context) const {
    tq::removeObserver(pairs_, observer, keyPath, context);
  }

  // Equality of contents, in order (isEqual stays identity).
  bool isEqualToOrderedDictionary(const TQOrderedDictionary& other) const;

  /// Writes the pairs as a plain property-list dictionary (order is lost);
  /// false when a value is not a property-list type or the file cannot be written.
  bool writeToFile(const std::string& path, bool atomically) const;
  bool writeToURL(const std::string& url, bool atomically) const;

 protected:
  // The initialisers' bodies, applied to a freshly made instance so that the
  // mutable class's statics can share them.
  void initWithOrderedDictionary(const TQOrderedDictionary& other, bool copyEntries);
  void initWithContentsOfFile(const std::string& path);
  void initWithContentsOfDictionary(const Dictionary& dictionary);
  void initWithObjects(const Ref<Array>& objects, const Ref<Array>& keys);
  void initWithCoder(KeyedUnarchiver& coder);
  /// Rebuilds `pairs_` from the two lists.
  void rebuildPairs();

  /// Makes a T and runs an initialiser body on it.
  template <class T, class Init>
  static Ref<T> created(Init&& init) {
    Ref<T> instance = make<T>();
    init(*instance);
    return instance;
  }

  Ref<MutableArray> keys_;
  Ref<MutableArray> objects_;
  Ref<MutableDictionary> pairs_;
};

/// The object and key of an entry: the first of its values and keys (nil
/// when the entry is empty).
struct EntryParts {
  Id object;
  Id key;
};
EntryParts entryParts(const Dictionary& entry);

}  // namespace tq
