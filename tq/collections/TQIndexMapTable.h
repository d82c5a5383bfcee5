#pragma once
// A map from signed integers to signed integers with text forms that can be
// stored and read back ("TQIntegerMap": a list of "KEY:VALUE" texts).
//
// Single-entry reads and writes take no lock; `flush`, `count`, the text
// forms and `addEntriesFromIndexMapTable` take the table's monitor.

#include <cstdint>
#include <functional>
#include <string>

#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/object/Object.h"

namespace tq {

class TQMutableIntegerSet;

class TQIndexMapTable : public Object {
 public:
  using KeyValueVisitor = std::function<void(std::int64_t key, std::int64_t value, bool* stop)>;

  TQIndexMapTable();
  /// Reads `dictionaryRepresentation`'s form. Without the "TQIntegerMap" list
  /// it reports "Incorrect representation" and, when execution goes on,
  /// answers an empty table; elements that are not "KEY:VALUE" are skipped
  /// and a later key overwrites an earlier one.
  static Ref<TQIndexMapTable> initWithDictionaryRepresentation(const Dictionary& representation);

  std::string className() const override { return "TQIndexMapTable"; }
  /// A table with a copy of the map.
  Id copy() const override;

  /// 0 when absent.
  std::int64_t integerForKey(std::int64_t key) const;
  void setInteger(std::int64_t value, std::int64_t key);
  void removeIntegerKey(std::int64_t key);
  void flush();
  Index count() const;
  /// Negative keys or values raise the index set's invalid-argument failure.
  Ref<IndexSet> keysIndexSet() const;
  Ref<IndexSet> valuesIndexSet() const;
  /// Keys or values as unsigned integers (a negative one wraps round).
  Ref<TQMutableIntegerSet> allKeys() const;
  Ref<TQMutableIntegerSet> allValues() const;
  void enumerateKeysAndValuesWithBlock(const KeyValueVisitor& visit) const;
  /// Copies every entry of `other` in, overwriting equal keys. `other` is
  /// read under its own monitor first and written under this one after, so
  /// two tables adding into each other cannot deadlock.
  void addEntriesFromIndexMapTable(const TQIndexMapTable& other);

  /// "(2)[ 1:5 3:7]"; empty for an empty table.
  Ref<String> debugRepresentation() const;
  /// {"TQIntegerMap": ("1:5", "3:7")}
  Ref<Dictionary> dictionaryRepresentation() const;

 private:
  std::vector<std::pair<std::int64_t, std::int64_t>> entries() const;
  Ref<MutableDictionary> table_;
};

}  // namespace tq
