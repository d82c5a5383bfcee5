#include "tq/platform/collection/Dictionary.h"

#include <algorithm>

#include "tq/platform/collection/Array.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/String.h"

namespace tq {

Dictionary::Dictionary(std::initializer_list<Entry> entries) {
  for (const auto& [key, object] : entries) setEntry(key, object);
}

Dictionary::Dictionary(const std::vector<Entry>& entries) {
  for (const auto& [key, object] : entries) setEntry(key, object);
}

Ref<Dictionary> Dictionary::dictionaryWithObjects(const Array& objects, const Array& keys) {
  auto result = make<Dictionary>();
  Index n = std::min(objects.count(), keys.count());
  for (Index i = 0; i < n; ++i) result->setEntry(keys[i], objects[i]);
  return result;
}

void Dictionary::setEntry(Id key, Id object) {
  if (!key) raiseNilArgument(className().c_str(), "setObject:forKey:", "key");
  if (!object) raiseNilArgument(className().c_str(), "setObject:forKey:", "object");
  const std::size_t found = index_.find(key.get(), keyAt());
  if (found != SlotIndex::npos) {
    slots_[found].second = std::move(object);
    return;
  }
  Id stored = key->copy();
  slots_.emplace_back(std::move(stored), std::move(object));
  index_.insert(slots_.back().first.get(), slots_.size() - 1);
}

void Dictionary::removeEntry(const Object* key) {
  const std::size_t found = index_.find(key, keyAt());
  if (found == SlotIndex::npos) return;
  Entry& slot = slots_[found];
  index_.erase(slot.first.get(), found);
  slot = Entry();
  if (++holes_ > 16 && holes_ * 2 > slots_.size()) compact();
}

void Dictionary::removeEverything() {
  slots_.clear();
  index_.clear();
  holes_ = 0;
}

void Dictionary::compact() {
  std::erase_if(slots_, [](const Entry& slot) { return !slot.first; });
  index_.rebuild(slots_.size(), keyAt());
  holes_ = 0;
}

bool Dictionary::isEqual(const Object& other) const {
  const auto* map = dynamic_cast<const Dictionary*>(&other);
  return map && isEqualToDictionary(*map);
}

bool Dictionary::isEqualToDictionary(const Dictionary& other) const {
  if (this == &other) return true;
  if (count() != other.count()) return false;
  RecursionScope scope(RecursionScope::Walk::Equality, this, &other);
  if (scope.reentered()) return false;
  for (const Entry& slot : slots_) {
    if (slot.first && !tq::isEqual(slot.second, other.objectForKey(slot.first))) return false;
  }
  return true;
}

Ref<String> Dictionary::description() const { return descriptionWithLocale(nullptr, 0); }

Ref<String> Dictionary::descriptionWithLocale(const Id& locale) const { return descriptionWithLocale(locale, 0); }

Ref<String> Dictionary::descriptionWithLocale(const Id& locale, Index level) const {
  // "{\n    key = value;\n}" at level 0, the platform's old-style layout;
  // every line, the opening one included, four spaces deeper per level.
  RecursionScope scope(RecursionScope::Walk::Description, this);
  if (scope.reentered()) return Object::description();
  const std::string outer(4 * level, ' ');
  const std::string inner(4 * (level + 1), ' ');
  auto text = make<MutableString>();
  text->appendUTF8(outer);
  text->appendUTF8("{\n");
  for (const Entry& slot : slots_) {
    if (!slot.first) continue;
    text->appendUTF8(inner);
    text->appendString(*describe(slot.first, locale, level + 1));
    text->appendUTF8(" = ");
    text->appendString(*describe(slot.second, locale, level + 1));
    text->appendUTF8(";\n");
  }
  text->appendUTF8(outer);
  text->appendUTF8("}");
  return text;
}

Id Dictionary::copy() const { return self(); }

Id Dictionary::mutableCopy() const {
  auto copy = make<MutableDictionary>();
  copy->addEntriesFromDictionary(*this);
  return copy;
}

Id Dictionary::objectForKey(const Object* key) const {
  if (!key) return nullptr;
  const std::size_t found = index_.find(key, keyAt());
  return found == SlotIndex::npos ? nullptr : slots_[found].second;
}

Id Dictionary::objectForKey(std::string_view key) const {
  String text(key);
  return objectForKey(&text);
}

Ref<Array> Dictionary::allKeys() const {
  Array::Storage keys;
  keys.reserve(count());
  for (const Entry& slot : slots_) {
    if (slot.first) keys.push_back(slot.first);
  }
  return make<Array>(std::move(keys));
}

Ref<Array> Dictionary::allValues() const {
  Array::Storage values;
  values.reserve(count());
  for (const Entry& slot : slots_) {
    if (slot.first) values.push_back(slot.second);
  }
  return make<Array>(std::move(values));
}

Ref<Array> Dictionary::allKeysForObject(const Id& object) const {
  Array::Storage keys;
  for (const Entry& slot : slots_) {
    if (slot.first && tq::isEqual(slot.second, object)) keys.push_back(slot.first);
  }
  return make<Array>(std::move(keys));
}

Ref<Array> Dictionary::objectsForKeys(const Array& keys, const Id& notFoundMarker) const {
  Array::Storage objects;
  objects.reserve(keys.count());
  for (const Id& key : keys) {
    Id object = objectForKey(key);
    objects.push_back(object ? object : notFoundMarker);
  }
  return make<Array>(std::move(objects));
}

Ref<Array> Dictionary::keysSortedByValueUsingComparator(const Comparator& comparator) const {
  std::vector<Entry> sorted = entries();
  std::stable_sort(sorted.begin(), sorted.end(), [&](const Entry& a, const Entry& b) {
    return comparator(a.second, b.second) == ComparisonResult::Ascending;
  });
  Array::Storage keys;
  for (auto& entry : sorted) keys.push_back(entry.first);
  return make<Array>(std::move(keys));
}

void Dictionary::enumerateKeysAndObjectsUsingBlock(const EntryVisitor& visit) const {
  bool stop = false;
  for (const Entry& slot : entries()) {
    visit(slot.first, slot.second, &stop);
    if (stop) break;
  }
}

std::vector<Dictionary::Entry> Dictionary::entries() const {
  std::vector<Entry> live;
  live.reserve(count());
  for (const Entry& slot : slots_) {
    if (slot.first) live.push_back(slot);
  }
  return live;
}

Ref<MutableDictionary> MutableDictionary::dictionaryWithDictionary(const Dictionary& other) {
  auto copy = make<MutableDictionary>();
  copy->addEntriesFromDictionary(other);
  return copy;
}

Id MutableDictionary::copy() const { return make<Dictionary>(entries()); }

void MutableDictionary::setObject(const Id& object, const Id& key) { setEntry(key, object); }

void MutableDictionary::setObjectForKeyedSubscript(const Id& object, const Id& key) {
  if (!object) {
    if (!key) raiseNilArgument("MutableDictionary", "setObject:forKeyedSubscript:", "key");
    removeEntry(key.get());
    return;
  }
  setEntry(key, object);
}

void MutableDictionary::removeObjectForKey(const Id& key) {
  if (!key) raiseNilArgument("MutableDictionary", "removeObjectForKey:", "key");
  removeEntry(key.get());
}

void MutableDictionary::removeObjectsForKeys(const Array& keys) {
  for (const Id& key : keys) removeEntry(key.get());
}

void MutableDictionary::addEntriesFromDictionary(const Dictionary& other) {
  for (const Entry& entry : other.entries()) setEntry(entry.first, entry.second);
}

void MutableDictionary::setDictionary(const Dictionary& other) {
  std::vector<Entry> replacement = other.entries();
  removeEverything();
  for (const Entry& entry : replacement) setEntry(entry.first, entry.second);
}

}  // namespace tq
