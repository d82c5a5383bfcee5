#pragma once
// Hash maps from keys to objects. Keys are copied on insertion, as a map
// whose keys must not change under it requires. Enumeration follows insertion
// order, which makes output (descriptions, files) reproducible.

#include <functional>
#include <initializer_list>
#include <utility>
#include <vector>

#include "tq/platform/object/Object.h"
#include "tq/platform/collection/SlotIndex.h"
#include "tq/platform/object/Range.h"
#include "tq/platform/collection/Sorting.h"

namespace tq {

class Array;

class Dictionary : public Object {
 public:
  using Entry = std::pair<Id, Id>;  // key, object

  Dictionary() = default;
  /// Raises the invalid-argument failure for a nil key or object; a repeated
  /// key keeps the last object.
  Dictionary(std::initializer_list<Entry> entries);
  explicit Dictionary(const std::vector<Entry>& entries);

  static Ref<Dictionary> dictionary() { return make<Dictionary>(); }
  /// Objects and keys pair by position; the shorter list wins.
  static Ref<Dictionary> dictionaryWithObjects(const Array& objects, const Array& keys);

  // Object
  bool isEqual(const Object& other) const override;
  std::size_t hash() const override { return count(); }
  /// Level 0 of `descriptionWithLocale(nil, level)`.
  Ref<String> description() const override;
  Ref<String> descriptionWithLocale(const Id& locale) const override;
  /// The platform's old-style layout at a nesting level: each "key = value;" on
  /// its own line four spaces deeper than the level, the opening and closing
  /// lines at the level's indentation; nested values one level deeper.
  Ref<String> descriptionWithLocale(const Id& locale, Index level) const override;
  std::string className() const override { return "Dictionary"; }
  Id copy() const override;
  Id mutableCopy() const override;

  bool isEqualToDictionary(const Dictionary& other) const;
  Index count() const { return index_.size(); }
  Id objectForKey(const Object* key) const;
  Id objectForKey(const Id& key) const { return objectForKey(key.get()); }
  /// Looks up by a UTF-8 string key.
  Id objectForKey(std::string_view key) const;
  Ref<Array> allKeys() const;
  Ref<Array> allValues() const;
  Ref<Array> allKeysForObject(const Id& object) const;
  Ref<Array> objectsForKeys(const Array& keys, const Id& notFoundMarker) const;
  Ref<Array> keysSortedByValueUsingComparator(const Comparator& comparator) const;

  using EntryVisitor = std::function<void(const Id& key, const Id& object, bool* stop)>;
  void enumerateKeysAndObjectsUsingBlock(const EntryVisitor& visit) const;
  /// Every (key, object) in order; for range-for loops.
  std::vector<Entry> entries() const;

 protected:
  void setEntry(Id key, Id object);
  void removeEntry(const Object* key);
  void removeEverything();

 private:
  void compact();

  // Insertion-ordered slots; a removed slot keeps a nil key until compaction.
  std::vector<Entry> slots_;
  SlotIndex index_;
  std::size_t holes_ = 0;

  // The key at a slot position, for the index.
  struct KeyAt {
    const std::vector<Entry>* slots;
    const Object* operator()(std::size_t position) const { return (*slots)[position].first.get(); }
  };
  KeyAt keyAt() const { return {&slots_}; }
};

class MutableDictionary : public Dictionary {
 public:
  using Dictionary::Dictionary;
  static Ref<MutableDictionary> dictionary() { return make<MutableDictionary>(); }
  static Ref<MutableDictionary> dictionaryWithDictionary(const Dictionary& other);

  std::string className() const override { return "MutableDictionary"; }
  Id copy() const override;

  /// Raises the invalid-argument failure for a nil key or object.
  void setObject(const Id& object, const Id& key);
  /// A nil object removes the key.
  void setObjectForKeyedSubscript(const Id& object, const Id& key);
  void removeObjectForKey(const Id& key);
  void removeObjectsForKeys(const Array& keys);
  void removeAllObjects() { removeEverything(); }
  void addEntriesFromDictionary(const Dictionary& other);
  void setDictionary(const Dictionary& other);
};

/// A dictionary from pairs: `tq::dict({{str("a"), num(1)}})`.
inline Ref<Dictionary> dict(std::initializer_list<Dictionary::Entry> entries) { return make<Dictionary>(entries); }

}  // namespace tq
