#pragma once
// Tables from integer keys to integer sets, on the integer-key dictionary.

#include "tq/collections/TQIntegerKeyDictionary.h"
#include "tq/collections/TQIntegerSet.h"

namespace tq {

class TQIntegerSetTable : public TQIntegerKeyDictionary {
 public:
  std::string className() const override { return "TQIntegerSetTable"; }
  /// Nil when absent.
  Ref<TQIntegerSet> integerSetForKey(Integer key) const;
};

class TQMutableIntegerSetTable : public TQMutableIntegerKeyDictionary {
 public:
  std::string className() const override { return "TQMutableIntegerSetTable"; }
  Ref<TQIntegerSet> integerSetForKey(Integer key) const;
  /// Makes an empty mutable set under the key on first use.
  void addInteger(Integer integer, Integer key);
};

}  // namespace tq
