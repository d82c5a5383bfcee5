#pragma once
// A table from signed integer keys to mutable integer arrays, filled one
// integer at a time (`addInteger(integer, key)` makes the array on first use).
// Every operation holds the table's monitor.

#include <cstdint>
#include <functional>
#include <string>

#include "tq/collections/TQIntegerArray.h"
#include "tq/platform/collection/Dictionary.h"

namespace tq {

class TQIntegerArrayTable : public Object {
 public:
  using KeyArrayVisitor = std::function<void(std::int64_t key, const Ref<TQMutableIntegerArray>& array, bool* stop)>;

  TQIntegerArrayTable();

  /// "<TQIntegerArrayTable 0x...>" and a line "\n\t KEY = 1,2,3" per entry,
  /// each array shown as the comma list of its distinct elements.
  Ref<String> description() const override;
  std::string className() const override { return "TQIntegerArrayTable"; }

  void flush();
  /// Nil when absent.
  Ref<TQMutableIntegerArray> integerArrayAtIndex(std::int64_t key) const;
  /// The array's own monitor is taken after the table's is let go, so that
  /// no two monitors are ever held together.
  void addInteger(std::int64_t integer, std::int64_t key);
  /// In the table's order (insertion order).
  void enumerateIntegerKeysAndArraysWithBlock(const KeyArrayVisitor& visit) const;

 private:
  Ref<MutableDictionary> table_;
};

}  // namespace tq
