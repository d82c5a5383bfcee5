#pragma once
// A dictionary keyed by unsigned 64-bit integers (held as unsigned number
// objects), and its mutable form. Every operation but the enumeration holds
// the dictionary's monitor for its whole work; the enumeration takes a
// snapshot under the monitor and walks it outside, so its callback may edit
// the dictionary without deadlock and sees the entries as they stood.

#include <cstdint>
#include <functional>
#include <string>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Object.h"

namespace tq {

class TQIntegerSet;

class TQIntegerKeyDictionary : public Object {
 public:
  using Integer = std::uint64_t;
  using IntegerObjectVisitor = std::function<void(Integer key, const Id& object, bool* stop)>;

  /// `init`: an empty map.
  TQIntegerKeyDictionary();

  // Object
  std::string className() const override { return "TQIntegerKeyDictionary"; }
  Id copy() const override;
  Id mutableCopy() const override;

  /// The map, number keys to objects.
  Ref<Dictionary> _dictionary_() const;

  /// Nil when absent.
  Id objectForInteger(Integer key) const;
  /// Asserts that the key is a number, then looks it up as given.
  virtual Id objectForKeyedSubscript(const Id& key) const;
  Index count() const;
  /// Every key's unsigned value.
  Ref<TQIntegerSet> allKeys() const;
  Ref<Array> allValues() const;
  void enumerateIntegersAndObjectsUsingBlock(const IntegerObjectVisitor& visit) const;

 protected:
  /// A map of its own: the copies use it.
  explicit TQIntegerKeyDictionary(Ref<MutableDictionary> map) : map_(std::move(map)) {}
  /// The map for subclasses that edit it; callers hold the monitor when they
  /// must.
  MutableDictionary& map() const { return *map_; }
  /// The subscript's look-up, without its assertion.
  Id lookUpUnchecked(const Id& key) const;
  /// Copies of the map for the copies of subclasses.
  Ref<MutableDictionary> copiedMap() const;

 private:
  Ref<MutableDictionary> map_;
};

class TQMutableIntegerKeyDictionary : public TQIntegerKeyDictionary {
 public:
  TQMutableIntegerKeyDictionary() = default;
  explicit TQMutableIntegerKeyDictionary(Ref<MutableDictionary> map) : TQIntegerKeyDictionary(std::move(map)) {}

  std::string className() const override { return "TQMutableIntegerKeyDictionary"; }
  Id copy() const override;
  /// "<TQMutableIntegerKeyDictionary: 0x...> 3 entries"
  Ref<String> debugDescription() const;

  /// Asserts that the object is not nil (and stores nothing when execution
  /// goes on).
  void setObject(const Id& object, Integer key);
  /// Nil removes the key.
  void setObjectForKeyedSubscript(const Id& object, const Id& key);
  /// Absent keys are ignored.
  void removeObjectForInteger(Integer key);
  void removeAllObjects();
};

}  // namespace tq
