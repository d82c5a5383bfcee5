#pragma once
// Ordered lists of objects, immutable and mutable.

#include <initializer_list>
#include <vector>

#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/collection/Sorting.h"

namespace tq {

class Enumerator;

class Array : public Object {
 public:
  using Storage = std::vector<Id>;

  Array() = default;
  /// Raises the invalid-argument failure for a nil element.
  explicit Array(Storage objects);
  Array(std::initializer_list<Id> objects) : Array(Storage(objects)) {}

  static Ref<Array> array() { return make<Array>(); }
  static Ref<Array> arrayWithArray(const Array& other) { return make<Array>(other.objects_); }
  static Ref<Array> arrayWithObjects(Storage objects) { return make<Array>(std::move(objects)); }

  // Object
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override { return objects_.size(); }
  /// Level 0 of `descriptionWithLocale(nil, level)`.
  Ref<String> description() const override;
  Ref<String> descriptionWithLocale(const Id& locale) const override;
  /// The platform's old-style layout at a nesting level: each element on its
  /// own line four spaces deeper than the level, the opening and closing
  /// lines at the level's indentation; nested values one level deeper.
  Ref<String> descriptionWithLocale(const Id& locale, Index level) const override;
  std::string className() const override { return "Array"; }
  Id copy() const override;
  Id mutableCopy() const override;

  bool isEqualToArray(const Array& other) const;
  Index count() const { return objects_.size(); }
  /// Raises the range failure out of bounds.
  const Id& objectAtIndex(Index index) const;
  const Id& operator[](Index index) const { return objectAtIndex(index); }
  Id firstObject() const { return objects_.empty() ? nullptr : objects_.front(); }
  Id lastObject() const { return objects_.empty() ? nullptr : objects_.back(); }
  Ref<Array> objectsAtIndexes(const IndexSet& indexes) const;
  Ref<Array> subarrayWithRange(Range range) const;
  const Storage& storage() const { return objects_; }
  Storage::const_iterator begin() const { return objects_.begin(); }
  Storage::const_iterator end() const { return objects_.end(); }

  bool containsObject(const Object* object) const { return indexOfObject(object) != NotFound; }
  bool containsObject(const Id& object) const { return containsObject(object.get()); }
  Index indexOfObject(const Object* object) const;
  Index indexOfObject(const Id& object) const { return indexOfObject(object.get()); }
  Index indexOfObject(const Id& object, Range range) const;
  Index indexOfObjectIdenticalTo(const Id& object) const;
  Index indexOfObjectIdenticalTo(const Id& object, Range range) const;
  Id firstObjectCommonWithArray(const Array& other) const;

  Index indexOfObjectPassingTest(const IndexedTest& test) const;
  Index indexOfObjectWithOptions(EnumerationOptions options, const IndexedTest& test) const;
  Index indexOfObjectAtIndexes(const IndexSet& indexes, EnumerationOptions options, const IndexedTest& test) const;
  Ref<IndexSet> indexesOfObjectsPassingTest(const IndexedTest& test) const;
  Ref<IndexSet> indexesOfObjectsWithOptions(EnumerationOptions options, const IndexedTest& test) const;
  Ref<IndexSet> indexesOfObjectsAtIndexes(const IndexSet& indexes, EnumerationOptions options,
                                          const IndexedTest& test) const;
  /// Binary search of a sorted range.
  Index indexOfObject(const Id& object, Range sortedRange, BinarySearchingOptions options,
                      const Comparator& comparator) const;

  void enumerateObjectsUsingBlock(const IndexedVisitor& visit) const;
  void enumerateObjectsWithOptions(EnumerationOptions options, const IndexedVisitor& visit) const;
  void enumerateObjectsAtIndexes(const IndexSet& indexes, EnumerationOptions options,
                                 const IndexedVisitor& visit) const;
  Ref<Enumerator> objectEnumerator() const;
  Ref<Enumerator> reverseObjectEnumerator() const;
  void makeObjectsPerformSelector(const ActionSelector& selector, const Id& argument = nullptr) const;

  Ref<Array> arrayByAddingObject(const Id& object) const;
  Ref<Array> arrayByAddingObjectsFromArray(const Array& other) const;
  Ref<Array> filteredArrayUsingPredicate(const Predicate& predicate) const;
  Ref<Array> sortedArrayUsingComparator(const Comparator& comparator) const;
  Ref<Array> sortedArrayWithOptions(SortOptions options, const Comparator& comparator) const;
  Ref<Array> sortedArrayUsingFunction(SortFunction function, void* context) const;
  /// The hint only speeds up a later sort on the platform; here it is a
  /// snapshot that the hinted sort ignores.
  Ref<Array> sortedArrayUsingFunction(SortFunction function, void* context, const Ref<Object>& hint) const;
  Ref<Array> sortedArrayUsingDescriptors(const std::vector<Ref<SortDescriptor>>& descriptors) const;
  Ref<Array> sortedArrayUsingSelector(ComparisonSelector selector) const;
  Id sortedArrayHint() const;

  /// Each element's value at the key (the list form of key-value coding).
  Ref<Array> valueForKey(const String& key) const;

 protected:
  Storage objects_;
};

class MutableArray : public Array {
 public:
  using Array::Array;
  static Ref<MutableArray> array() { return make<MutableArray>(); }
  static Ref<MutableArray> arrayWithCapacity(Index capacity);
  static Ref<MutableArray> arrayWithArray(const Array& other) { return make<MutableArray>(other.storage()); }

  std::string className() const override { return "MutableArray"; }
  Id copy() const override;

  void addObject(const Id& object);
  void addObjectsFromArray(const Array& other);
  void insertObject(const Id& object, Index index);
  void removeObjectAtIndex(Index index);
  void removeLastObject();
  void removeAllObjects() { objects_.clear(); }
  /// Removes every element equal to the object.
  void removeObject(const Id& object);
  void removeObjectsAtIndexes(const IndexSet& indexes);
  void replaceObjectAtIndex(Index index, const Id& object);
  void setObject(const Id& object, Index index);  // atIndexedSubscript
  void exchangeObjectAtIndex(Index a, Index b);
  void sortUsingComparator(const Comparator& comparator);
  void sortUsingDescriptors(const std::vector<Ref<SortDescriptor>>& descriptors);
  void filterUsingPredicate(const Predicate& predicate);
  void reserve(Index capacity) { objects_.reserve(capacity); }
};

/// Walks a snapshot of objects, one at a time.
class Enumerator : public Object {
 public:
  explicit Enumerator(Array::Storage objects) : objects_(std::move(objects)) {}
  std::string className() const override { return "Enumerator"; }
  /// nil past the end.
  Id nextObject();
  /// What is left.
  Ref<Array> allObjects();

 private:
  Array::Storage objects_;
  std::size_t next_ = 0;
};

/// An array from its elements: `tq::arr({str("a"), num(1)})`.
inline Ref<Array> arr(std::initializer_list<Id> objects) { return make<Array>(objects); }

}  // namespace tq
