#include "tq/collections/TQIntegerArray.h"

#include <cstring>
#include <mutex>

#include "tq/collections/TQIntegerSet.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/object/Monitor.h"

namespace tq {

namespace {
using Hold = std::lock_guard<std::recursive_mutex>;
}

TQIntegerArray::TQIntegerArray(const Data& storage) : bytes_(storage.bytes(), storage.bytes() + storage.length()) {}

TQIntegerArray::~TQIntegerArray() { bytes_.clear(); }

Ref<Data> TQIntegerArray::storage() const {
  Hold hold(monitorOf(*this));
  return Data::dataWithBytes(bytes_.data(), bytes_.size());
}

Index TQIntegerArray::count() const {
  Hold hold(monitorOf(*this));
  return bytes_.size() >> 3;
}

std::int64_t TQIntegerArray::integerAtIndex(Index index) const {
  Hold hold(monitorOf(*this));
  if (index >= (bytes_.size() >> 3)) {
    // The failure of the buffer read the element would need.
    raise(ExceptionName::Range, "*** -[TQIntegerArray integerAtIndex:]: range {" + std::to_string(index * 8) +
                                    ", 8} exceeds data length " + std::to_string(bytes_.size()));
  }
  std::int64_t value;
  std::memcpy(&value, bytes_.data() + index * 8, 8);
  return value;
}

void TQIntegerArray::enumerateIntegersUsingBlock(const IntegerVisitor& visit) const {
  bool stop = false;
  for (Index i = 0; !stop && i < count(); ++i) visit(integerAtIndex(i), i, &stop);
}

Ref<IndexSet> TQIntegerArray::indexSet() const {
  Hold hold(monitorOf(*this));
  MutableIndexSet set;
  for (Index i = 0; i < (bytes_.size() >> 3); ++i) set.addIndex(Index(integerAtIndex(i)));
  return make<IndexSet>(set.ranges());
}

Ref<TQMutableIntegerSet> TQIntegerArray::integerSet() const {
  Hold hold(monitorOf(*this));
  auto set = TQMutableIntegerSet::integerSet();
  for (Index i = 0; i < (bytes_.size() >> 3); ++i) set->addInteger(std::uint64_t(integerAtIndex(i)));
  return set;
}

void TQMutableIntegerArray::addInteger(std::int64_t integer) {
  Hold hold(monitorOf(*this));
  std::uint8_t raw[8];
  std::memcpy(raw, &integer, 8);
  bytes_.insert(bytes_.end(), raw, raw + 8);
}

}  // namespace tq
