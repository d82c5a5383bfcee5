#pragma once
// Tables from unsigned integer keys to index sets, on the integer-key
// dictionary. The base's operations hold its monitor; the mutable table's own
// setters take none, so one thread at a time edits it.

#include <functional>

#include "tq/collections/TQIntegerKeyDictionary.h"
#include "tq/platform/collection/IndexSet.h"

namespace tq {

class TQIndexSetTable : public TQIntegerKeyDictionary {
 public:
  using IntegerIndexSetVisitor = std::function<void(Integer key, const Ref<IndexSet>& set, bool* stop)>;

  TQIndexSetTable() = default;

  std::string className() const override { return "TQIndexSetTable"; }
  /// A table of the same sets (not copied).
  Id copy() const override;
  Id mutableCopy() const override;

  /// Asserts that the key is a number, then looks it up.
  Id objectForKeyedSubscript(const Id& key) const override;
  /// Nil when absent.
  Ref<IndexSet> indexSetForKey(Integer key) const;
  void enumerateIntegersAndIndexSetsUsingBlock(const IntegerIndexSetVisitor& visit) const;

 protected:
  explicit TQIndexSetTable(Ref<MutableDictionary> map) : TQIntegerKeyDictionary(std::move(map)) {}
};

class TQMutableIndexSetTable : public TQIndexSetTable {
 public:
  TQMutableIndexSetTable() = default;
  explicit TQMutableIndexSetTable(Ref<MutableDictionary> map) : TQIndexSetTable(std::move(map)) {}

  std::string className() const override { return "TQMutableIndexSetTable"; }
  /// "<TQMutableIndexSetTable: 0x...> 3 entries"
  Ref<String> debugDescription() const;

  /// Nil removes the key.
  void setObjectForKeyedSubscript(const Id& object, const Id& key);
  void setObject(const Id& object, Integer key);
  void removeObjectForInteger(Integer key);
  void removeAllObjects();
  /// Makes an empty mutable set under the key on first use.
  void addIndex(Index index, Integer key);
};

}  // namespace tq
