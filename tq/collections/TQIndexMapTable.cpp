#include "tq/collections/TQIndexMapTable.h"

#include <mutex>

#include "tq/collections/IntegerPairText.h"
#include "tq/collections/TQIntegerSet.h"
#include "tq/platform/object/AssertionPlaces.h"
#include "tq/platform/object/Monitor.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {

using Hold = std::lock_guard<std::recursive_mutex>;
constexpr const char* RepresentationKey = "TQIntegerMap";

std::int64_t valueOf(const Id& number) { return std::static_pointer_cast<Number>(number)->integerValue(); }

}  // namespace

TQIndexMapTable::TQIndexMapTable() : table_(MutableDictionary::dictionary()) {}

Ref<TQIndexMapTable> TQIndexMapTable::initWithDictionaryRepresentation(const Dictionary& representation) {
  auto list = std::dynamic_pointer_cast<Array>(representation.objectForKey(RepresentationKey));
  TQ_ASSERT_PLACE(list != nullptr, AssertionPlaces::IndexMapTableRepresentation, "Incorrect representation");
  auto table = make<TQIndexMapTable>();
  if (!list) return table;
  for (const Id& element : *list) {
    auto text = std::dynamic_pointer_cast<String>(element);
    std::int64_t key = 0, value = 0;
    if (text && TQFoundation::splitIntoIntegerKey(*text, &key, &value)) table->setInteger(value, key);
  }
  return table;
}

Id TQIndexMapTable::copy() const {
  auto table = make<TQIndexMapTable>();
  Hold hold(monitorOf(*this));
  table->table_ = MutableDictionary::dictionaryWithDictionary(*table_);
  return table;
}

std::int64_t TQIndexMapTable::integerForKey(std::int64_t key) const {
  Id value = table_->objectForKey(num(key));
  return value ? valueOf(value) : 0;
}

void TQIndexMapTable::setInteger(std::int64_t value, std::int64_t key) { table_->setObject(num(value), num(key)); }

void TQIndexMapTable::removeIntegerKey(std::int64_t key) { table_->removeObjectForKey(num(key)); }

void TQIndexMapTable::flush() {
  Hold hold(monitorOf(*this));
  table_->removeAllObjects();
}

Index TQIndexMapTable::count() const {
  Hold hold(monitorOf(*this));
  return table_->count();
}

std::vector<std::pair<std::int64_t, std::int64_t>> TQIndexMapTable::entries() const {
  Hold hold(monitorOf(*this));
  std::vector<std::pair<std::int64_t, std::int64_t>> pairs;
  pairs.reserve(table_->count());
  for (const auto& [key, value] : table_->entries()) pairs.emplace_back(valueOf(key), valueOf(value));
  return pairs;
}

Ref<IndexSet> TQIndexMapTable::keysIndexSet() const {
  MutableIndexSet set;
  for (const auto& [key, value] : entries()) set.addIndex(Index(key));
  return make<IndexSet>(set.ranges());
}

Ref<IndexSet> TQIndexMapTable::valuesIndexSet() const {
  MutableIndexSet set;
  for (const auto& [key, value] : entries()) set.addIndex(Index(value));
  return make<IndexSet>(set.ranges());
}

Ref<TQMutableIntegerSet> TQIndexMapTable::allKeys() const {
  auto set = TQMutableIntegerSet::integerSet();
  for (const auto& [key, value] : entries()) set->addInteger(std::uint64_t(key));
  return set;
}

Ref<TQMutableIntegerSet> TQIndexMapTable::allValues() const {
  auto set = TQMutableIntegerSet::integerSet();
  for (const auto& [key, value] : entries()) set->addInteger(std::uint64_t(value));
  return set;
}

void TQIndexMapTable::enumerateKeysAndValuesWithBlock(const KeyValueVisitor& visit) const {
  bool stop = false;
  for (const auto& [key, value] : entries()) {
    visit(key, value, &stop);
    if (stop) return;
  }
}

void TQIndexMapTable::addEntriesFromIndexMapTable(const TQIndexMapTable& other) {
  auto pairs = other.entries();
  Hold hold(monitorOf(*this));
  for (const auto& [key, value] : pairs) setInteger(value, key);
}

Ref<String> TQIndexMapTable::debugRepresentation() const {
  auto pairs = entries();
  if (pairs.empty()) return str("");
  std::string text = "(" + std::to_string(pairs.size()) + ")[";
  for (const auto& [key, value] : pairs) text += " " + std::to_string(key) + ":" + std::to_string(value);
  return str(text + "]");
}

Ref<Dictionary> TQIndexMapTable::dictionaryRepresentation() const {
  auto list = MutableArray::array();
  for (const auto& [key, value] : entries()) list->addObject(str(std::to_string(key) + ":" + std::to_string(value)));
  return make<Dictionary>(std::initializer_list<Dictionary::Entry>{{str(RepresentationKey), list}});
}

}  // namespace tq
