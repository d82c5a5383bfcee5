#include "tq/collections/TQCountedArray.h"

#include <mutex>

#include "tq/platform/object/Monitor.h"

namespace tq {

namespace {
using Hold = std::lock_guard<std::recursive_mutex>;
}

void TQCountedArray::addObject(const Id& object) {
  Hold hold(monitorOf(*this));
  if (!countedSet_) countedSet_ = CountedSet::set();
  countedSet_->addObject(object);
  if (countedSet_->countForObject(object) == 1) {
    if (!orderedObjects_) orderedObjects_ = MutableArray::array();
    orderedObjects_->addObject(object);
  }
}

void TQCountedArray::removeObject(const Id& object) {
  Hold hold(monitorOf(*this));
  if (!countedSet_) return;
  countedSet_->removeObject(object);
  if (countedSet_->countForObject(object) == 0 && orderedObjects_) orderedObjects_->removeObject(object);
}

Index TQCountedArray::countOfObject(const Id& object) const {
  Hold hold(monitorOf(*this));
  return countedSet_ ? countedSet_->countForObject(object) : 0;
}

Ref<Array> TQCountedArray::array() const {
  Hold hold(monitorOf(*this));
  return orderedObjects_ ? Array::arrayWithArray(*orderedObjects_) : Array::array();
}

void TQCountedArray::enumerateObjectsUsingBlock(const CountedVisitor& visit) const {
  if (!orderedObjects_) return;
  bool stop = false;
  for (Index i = 0; i < orderedObjects_->count() && !stop; ++i) {
    Id object = orderedObjects_->objectAtIndex(i);
    visit(object, i, countOfObject(object), &stop);
  }
}

void TQCountedArray::reorderObjectsUsingComparator(const Comparator& comparator) {
  Hold hold(monitorOf(*this));
  if (!orderedObjects_ || orderedObjects_->count() < 2) return;
  orderedObjects_ = MutableArray::arrayWithArray(*orderedObjects_->sortedArrayUsingComparator(comparator));
}

}  // namespace tq
