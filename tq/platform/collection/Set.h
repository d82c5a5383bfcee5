#pragma once
// Unordered collections of distinct objects (by the objects' own equality),
// immutable and mutable, and the counted set that remembers how often each
// object was added. Members are kept, not copied. Enumeration follows
// insertion order, as with dictionaries, so output is reproducible.

#include <functional>
#include <initializer_list>
#include <vector>

#include "tq/platform/object/Object.h"
#include "tq/platform/collection/SlotIndex.h"
#include "tq/platform/collection/Sorting.h"

namespace tq {

class Array;
class Enumerator;

class Set : public Object {
 public:
  Set() = default;
  /// Raises the invalid-argument failure for a nil object; repeats count once.
  Set(std::initializer_list<Id> objects);
  explicit Set(const std::vector<Id>& objects);

  static Ref<Set> set() { return make<Set>(); }
  static Ref<Set> setWithObject(const Id& object) { return make<Set>(std::vector<Id>{object}); }
  static Ref<Set> setWithArray(const Array& objects);
  static Ref<Set> setWithSet(const Set& other) { return make<Set>(other.objects()); }

  // Object
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override { return count(); }
  /// "{(\n    a,\n    b\n)}"
  /// Level 0 of `descriptionWithLocale(nil, level)`.
  Ref<String> description() const override;
  Ref<String> descriptionWithLocale(const Id& locale) const override;
  /// The platform's old-style layout at a nesting level: each element on its
  /// own line four spaces deeper than the level, the opening and closing
  /// lines at the level's indentation; nested values one level deeper.
  Ref<String> descriptionWithLocale(const Id& locale, Index level) const override;
  std::string className() const override { return "Set"; }
  Id copy() const override;
  Id mutableCopy() const override;

  Index count() const { return index_.size(); }
  /// The member equal to `object` (the stored one), or nil.
  Id member(const Object* object) const;
  Id member(const Id& object) const { return member(object.get()); }
  bool containsObject(const Object* object) const { return index_.find(object, objectAt()) != SlotIndex::npos; }
  bool containsObject(const Id& object) const { return containsObject(object.get()); }
  /// The first member in insertion order; nil when empty.
  Id anyObject() const;
  Ref<Array> allObjects() const;
  /// Every member in insertion order.
  std::vector<Id> objects() const;
  Ref<Enumerator> objectEnumerator() const;

  bool isEqualToSet(const Set& other) const;
  bool isSubsetOfSet(const Set& other) const;
  bool intersectsSet(const Set& other) const;

  using ObjectVisitor = std::function<void(const Id& object, bool* stop)>;
  using ObjectTest = std::function<bool(const Id& object, bool* stop)>;
  void enumerateObjectsUsingBlock(const ObjectVisitor& visit) const;
  Ref<Set> objectsPassingTest(const ObjectTest& test) const;
  Ref<Set> filteredSetUsingPredicate(const Predicate& predicate) const;
  Ref<Set> setByAddingObject(const Id& object) const;
  Ref<Set> setByAddingObjectsFromSet(const Set& other) const;
  Ref<Set> setByAddingObjectsFromArray(const Array& other) const;

 protected:
  struct Slot {
    Id object;  // nil once removed, until the slots are compacted
    Index uses = 0;
  };
  /// Adds `uses` to the member equal to `object`, inserting it when absent.
  void addUses(const Id& object, Index uses, const char* method);
  /// Takes up to `uses` away; the member goes when none are left.
  void removeUses(const Object* object, Index uses);
  void removeEverything();
  /// The slot of the member equal to `object`, or nullptr.
  const Slot* slotOf(const Object* object) const;
  const std::vector<Slot>& slots() const { return slots_; }

 private:
  void compact();

  std::vector<Slot> slots_;
  SlotIndex index_;
  std::size_t holes_ = 0;

  // The member at a slot position, for the index.
  struct ObjectAt {
    const std::vector<Slot>* slots;
    const Object* operator()(std::size_t position) const { return (*slots)[position].object.get(); }
  };
  ObjectAt objectAt() const { return {&slots_}; }
};

class MutableSet : public Set {
 public:
  using Set::Set;
  static Ref<MutableSet> set() { return make<MutableSet>(); }
  static Ref<MutableSet> setWithCapacity(Index) { return make<MutableSet>(); }

  std::string className() const override { return "MutableSet"; }
  Id copy() const override;

  /// Raises the invalid-argument failure for nil.
  virtual void addObject(const Id& object);
  /// Nothing happens for an object that is not a member.
  virtual void removeObject(const Id& object);
  void removeAllObjects() { removeEverything(); }
  void addObjectsFromArray(const Array& objects);
  void unionSet(const Set& other);
  /// Keeps only the members that are also in `other`.
  void intersectSet(const Set& other);
  /// Removes every member of `other`.
  void minusSet(const Set& other);
  void setSet(const Set& other);
  void filterUsingPredicate(const Predicate& predicate);
};

/// A mutable set that counts additions: adding a member again raises its
/// count, removing lowers it, and the member goes when the count reaches 0.
class CountedSet : public MutableSet {
 public:
  using MutableSet::MutableSet;
  static Ref<CountedSet> set() { return make<CountedSet>(); }

  std::string className() const override { return "CountedSet"; }
  /// "<CountedSet: 0x...> (a [2], b [1])", at every level and locale.
  Ref<String> description() const override;
  Ref<String> descriptionWithLocale(const Id&) const override { return description(); }
  Ref<String> descriptionWithLocale(const Id&, Index) const override { return description(); }
  /// Both copies are counted sets with the same counts (there is no
  /// immutable counted set).
  Id copy() const override;
  Id mutableCopy() const override { return copy(); }

  /// 0 for an object that is not a member.
  Index countForObject(const Id& object) const;
  void addObject(const Id& object) override;
  void removeObject(const Id& object) override;
};

/// A set from its members: `tq::set({str("a"), num(1)})`.
inline Ref<Set> set(std::initializer_list<Id> objects) { return make<Set>(objects); }

}  // namespace tq
