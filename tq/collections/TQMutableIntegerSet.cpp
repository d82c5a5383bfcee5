// The editing operations of the mutable integer set.

#include <mutex>

#include "tq/collections/TQIntegerSet.h"
#include "tq/platform/object/Monitor.h"

namespace tq {

void TQMutableIntegerSet::addInteger(Integer integer) {
  std::lock_guard<std::recursive_mutex> hold(monitorOf(*this));
  editable(subsetOf(integer)).addIndex(indexOf(integer));
}

void TQMutableIntegerSet::removeInteger(Integer integer) {
  std::lock_guard<std::recursive_mutex> hold(monitorOf(*this));
  editable(subsetOf(integer)).removeIndex(indexOf(integer));
}

void TQMutableIntegerSet::addIntegers(const TQIntegerSet& other) {
  std::lock_guard<std::recursive_mutex> hold(monitorOf(*this));
  unionIntegerSet(other);
}

void TQMutableIntegerSet::removeIntegers(const TQIntegerSet& other) {
  std::lock_guard<std::recursive_mutex> hold(monitorOf(*this));
  for (std::size_t k = 0; k < 3; ++k) editable(k).removeIndexes(other.subset(k));
}

void TQMutableIntegerSet::removeAllIntegers() {
  std::lock_guard<std::recursive_mutex> hold(monitorOf(*this));
  for (std::size_t k = 0; k < 3; ++k) editable(k).removeAllIndexes();
}

void TQMutableIntegerSet::unionIntegerSet(const TQIntegerSet& other) {
  for (std::size_t k = 0; k < 3; ++k) editable(k).addIndexes(other.subset(k));
}

void TQMutableIntegerSet::intersectIntegerSet(const TQIntegerSet& other) {
  for (std::size_t k = 0; k < 3; ++k) {
    auto common = subset(k).intersectionWithIndexSet(other.subset(k));
    editable(k).removeAllIndexes();
    editable(k).addIndexes(*common);
  }
}

}  // namespace tq
