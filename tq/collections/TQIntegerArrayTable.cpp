#include "tq/collections/TQIntegerArrayTable.h"

#include <cstdio>
#include <mutex>

#include "tq/collections/IndexSetExtensions.h"
#include "tq/platform/object/Monitor.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {
using Hold = std::lock_guard<std::recursive_mutex>;
}

TQIntegerArrayTable::TQIntegerArrayTable() : table_(MutableDictionary::dictionary()) {}

void TQIntegerArrayTable::flush() {
  Hold hold(monitorOf(*this));
  table_->removeAllObjects();
}

Ref<TQMutableIntegerArray> TQIntegerArrayTable::integerArrayAtIndex(std::int64_t key) const {
  Hold hold(monitorOf(*this));
  return std::static_pointer_cast<TQMutableIntegerArray>(table_->objectForKey(num(key)));
}

void TQIntegerArrayTable::addInteger(std::int64_t integer, std::int64_t key) {
  Ref<TQMutableIntegerArray> array;
  {
    Hold hold(monitorOf(*this));
    array = std::static_pointer_cast<TQMutableIntegerArray>(table_->objectForKey(num(key)));
    if (!array) {
      array = make<TQMutableIntegerArray>();
      table_->setObject(array, num(key));
    }
  }
  array->addInteger(integer);
}

void TQIntegerArrayTable::enumerateIntegerKeysAndArraysWithBlock(const KeyArrayVisitor& visit) const {
  Hold hold(monitorOf(*this));
  table_->enumerateKeysAndObjectsUsingBlock([&](const Id& key, const Id& array, bool* stop) {
    visit(std::static_pointer_cast<Number>(key)->integerValue(), std::static_pointer_cast<TQMutableIntegerArray>(array),
          stop);
  });
}

Ref<String> TQIntegerArrayTable::description() const {
  char head[96];
  std::snprintf(head, sizeof head, "<%s %p>", className().c_str(), static_cast<const void*>(this));
  std::string text = head;
  enumerateIntegerKeysAndArraysWithBlock([&](std::int64_t key, const Ref<TQMutableIntegerArray>& array, bool*) {
    text += "\n\t " + std::to_string(key) + " = " + Corvina::tq_stringList(*array->indexSet())->utf8();
  });
  return str(text);
}

}  // namespace tq
