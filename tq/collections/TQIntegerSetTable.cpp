#include "tq/collections/TQIntegerSetTable.h"

#include <mutex>

#include "tq/platform/object/Monitor.h"

namespace tq {

Ref<TQIntegerSet> TQIntegerSetTable::integerSetForKey(Integer key) const {
  return std::dynamic_pointer_cast<TQIntegerSet>(objectForInteger(key));
}

Ref<TQIntegerSet> TQMutableIntegerSetTable::integerSetForKey(Integer key) const {
  return std::dynamic_pointer_cast<TQIntegerSet>(objectForInteger(key));
}

void TQMutableIntegerSetTable::addInteger(Integer integer, Integer key) {
  Ref<TQMutableIntegerSet> set;
  {
    // The look-up and the store as one step, so two threads adding under a
    // new key share one set.
    std::lock_guard<std::recursive_mutex> hold(monitorOf(*this));
    set = std::dynamic_pointer_cast<TQMutableIntegerSet>(objectForInteger(key));
    if (!set) {
      set = TQMutableIntegerSet::integerSet();
      setObject(set, key);
    }
  }
  set->addInteger(integer);
}

}  // namespace tq
