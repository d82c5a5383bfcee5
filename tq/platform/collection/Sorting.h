#pragma once
// The shapes of the callbacks and options that the collection operations take:
// comparators, sort functions and descriptors, predicates, enumeration options.

#include <functional>

#include "tq/platform/object/Comparable.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"

namespace tq {

using Comparator = std::function<ComparisonResult(const Id& a, const Id& b)>;
/// A sort function with a caller's context pointer.
using SortFunction = ComparisonResult (*)(const Id& a, const Id& b, void* context);
/// A comparison message sent to the first object with the second as argument
/// (`compare:`, `caseInsensitiveCompare:`).
using ComparisonSelector = ComparisonResult (*)(const Object& receiver, const Object& other);
/// A message sent to each object of a collection, with an optional argument.
using ActionSelector = std::function<void(const Id& receiver, const Id& argument)>;
using Predicate = std::function<bool(const Id& object)>;
/// Test over (object, index, stop flag).
using IndexedTest = std::function<bool(const Id& object, Index index, bool* stop)>;
using IndexedVisitor = std::function<void(const Id& object, Index index, bool* stop)>;

enum class EnumerationOptions : unsigned { None = 0, Concurrent = 1, Reverse = 2 };
enum class SortOptions : unsigned { None = 0, Concurrent = 1, Stable = 16 };
enum class BinarySearchingOptions : unsigned {
  None = 0,
  FirstEqual = 1 << 8,
  LastEqual = 1 << 9,
  InsertionIndex = 1 << 10,
};
constexpr EnumerationOptions operator|(EnumerationOptions a, EnumerationOptions b) {
  return EnumerationOptions(unsigned(a) | unsigned(b));
}
constexpr bool has(EnumerationOptions set, EnumerationOptions flag) { return (unsigned(set) & unsigned(flag)) != 0; }
constexpr SortOptions operator|(SortOptions a, SortOptions b) { return SortOptions(unsigned(a) | unsigned(b)); }
constexpr bool has(SortOptions set, SortOptions flag) { return (unsigned(set) & unsigned(flag)) != 0; }
constexpr BinarySearchingOptions operator|(BinarySearchingOptions a, BinarySearchingOptions b) {
  return BinarySearchingOptions(unsigned(a) | unsigned(b));
}
constexpr bool has(BinarySearchingOptions set, BinarySearchingOptions flag) {
  return (unsigned(set) & unsigned(flag)) != 0;
}

/// The `compare:` message: strings, numbers, dates (and any class that
/// overrides `Comparable`); other receivers raise the unrecognised message.
ComparisonResult compareSelector(const Object& receiver, const Object& other);
/// The `caseInsensitiveCompare:` message of strings.
ComparisonResult caseInsensitiveCompareSelector(const Object& receiver, const Object& other);

/// Sorts by the value at a key (nil key: the object itself), ascending or
/// descending, with `compare:` unless a comparator is given.
class SortDescriptor : public Object {
 public:
  SortDescriptor(Ref<String> key, bool ascending, Comparator comparator = nullptr)
      : key_(std::move(key)), ascending_(ascending), comparator_(std::move(comparator)) {}
  static Ref<SortDescriptor> sortDescriptorWithKey(Ref<String> key, bool ascending) {
    return make<SortDescriptor>(std::move(key), ascending);
  }
  std::string className() const override { return "SortDescriptor"; }

  const Ref<String>& key() const { return key_; }
  bool ascending() const { return ascending_; }
  ComparisonResult compareObject(const Id& a, const Id& b) const;

 private:
  Ref<String> key_;
  bool ascending_;
  Comparator comparator_;
};

/// Compares with each descriptor in turn until one tells the two apart.
ComparisonResult compareWithDescriptors(const Id& a, const Id& b, const std::vector<Ref<SortDescriptor>>& descriptors);

/// A class whose objects answer key-value coding by keys of their own (a
/// settings store answers every setting's key). The free functions below ask
/// it before falling back to the unrecognised message.
class KeyValueCoding {
 public:
  virtual ~KeyValueCoding() = default;
  virtual Id valueForKey(const String& key) const = 0;
  /// The object announces the change to its observers itself, when (and if)
  /// it takes effect: no automatic will/did-change is sent around it.
  virtual void setValueForKey(const Id& value, const String& key) = 0;
};

/// The value at `key` of an object: a dictionary's object for the key, an
/// array's values of its elements, a key-value coding object's answer,
/// otherwise the unrecognised message.
Id valueForKey(const Id& object, const String& key);
/// Follows a dot-separated path with `valueForKey`; nil as soon as a step is
/// nil.
Id valueForKeyPath(const Id& object, const String& keyPath);
/// Sets the value at `key` of an object: a mutable dictionary stores it (nil
/// removes the key), an array passes it to each element, nil ignores it;
/// anything else raises the unrecognised message. Observers of a dictionary's
/// key hear of the change (KeyValueObserving.h).
void setValueForKey(const Id& object, const Id& value, const String& key);
/// Follows the dot-separated path with `valueForKey` up to its last key and
/// sets that one with `setValueForKey`; observers of the whole path on each
/// object along it hear of the change.
void setValueForKeyPath(const Id& object, const Id& value, const String& keyPath);

}  // namespace tq
