#include "tq/platform/collection/Set.h"

#include <algorithm>
#include <cstdio>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/internal/CollectionDescription.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/String.h"

namespace tq {

Set::Set(std::initializer_list<Id> objects) {
  for (const Id& object : objects) addUses(object, 1, "initWithObjects:count:");
}

Set::Set(const std::vector<Id>& objects) {
  for (const Id& object : objects) addUses(object, 1, "initWithObjects:count:");
}

Ref<Set> Set::setWithArray(const Array& objects) { return make<Set>(objects.storage()); }

void Set::addUses(const Id& object, Index uses, const char* method) {
  if (!object) raiseNilArgument(className().c_str(), method, "object");
  const std::size_t found = index_.find(object.get(), objectAt());
  if (found != SlotIndex::npos) {
    slots_[found].uses += uses;
    return;
  }
  slots_.push_back({object, uses});
  index_.insert(object.get(), slots_.size() - 1);
}

void Set::removeUses(const Object* object, Index uses) {
  const std::size_t found = index_.find(object, objectAt());
  if (found == SlotIndex::npos) return;
  Slot& slot = slots_[found];
  if (slot.uses > uses) {
    slot.uses -= uses;
    return;
  }
  index_.erase(slot.object.get(), found);
  slot = Slot();
  // Removed slots are holes until they outnumber the members, so that a run
  // of removals stays linear overall.
  if (++holes_ > 16 && holes_ * 2 > slots_.size()) compact();
}

void Set::removeEverything() {
  slots_.clear();
  index_.clear();
  holes_ = 0;
}

void Set::compact() {
  std::erase_if(slots_, [](const Slot& slot) { return !slot.object; });
  index_.rebuild(slots_.size(), objectAt());
  holes_ = 0;
}

const Set::Slot* Set::slotOf(const Object* object) const {
  const std::size_t found = index_.find(object, objectAt());
  return found == SlotIndex::npos ? nullptr : &slots_[found];
}

bool Set::isEqual(const Object& other) const {
  const auto* set = dynamic_cast<const Set*>(&other);
  return set && isEqualToSet(*set);
}

Ref<String> Set::description() const { return descriptionWithLocale(nullptr, 0); }

Ref<String> Set::descriptionWithLocale(const Id& locale) const { return descriptionWithLocale(locale, 0); }

Ref<String> Set::descriptionWithLocale(const Id& locale, Index level) const {
  // "{(\n    a,\n    b\n)}" at level 0, the platform's old-style set layout,
  // indented by level as a list is.
  RecursionScope scope(RecursionScope::Walk::Description, this);
  if (scope.reentered()) return Object::description();
  ElementListDescription text("{(", locale, level);
  for (const Slot& slot : slots_) {
    if (slot.object) text.add(slot.object);
  }
  return text.finish(")}");
}

Id Set::copy() const { return self(); }
Id Set::mutableCopy() const { return make<MutableSet>(objects()); }

Id Set::member(const Object* object) const {
  if (!object) return nullptr;
  const Slot* slot = slotOf(object);
  return slot ? slot->object : nullptr;
}

Id Set::anyObject() const {
  for (const Slot& slot : slots_) {
    if (slot.object) return slot.object;
  }
  return nullptr;
}

std::vector<Id> Set::objects() const {
  std::vector<Id> live;
  live.reserve(count());
  for (const Slot& slot : slots_) {
    if (slot.object) live.push_back(slot.object);
  }
  return live;
}

Ref<Array> Set::allObjects() const { return make<Array>(objects()); }

Ref<Enumerator> Set::objectEnumerator() const { return make<Enumerator>(objects()); }

bool Set::isEqualToSet(const Set& other) const {
  if (this == &other) return true;
  if (count() != other.count()) return false;
  RecursionScope scope(RecursionScope::Walk::Equality, this, &other);
  return !scope.reentered() && isSubsetOfSet(other);
}

bool Set::isSubsetOfSet(const Set& other) const {
  if (count() > other.count()) return false;
  for (const Slot& slot : slots_) {
    if (slot.object && !other.containsObject(slot.object)) return false;
  }
  return true;
}

bool Set::intersectsSet(const Set& other) const {
  // Walk the smaller set, look up in the larger.
  const Set& small = count() <= other.count() ? *this : other;
  const Set& large = &small == this ? other : *this;
  for (const Slot& slot : small.slots_) {
    if (slot.object && large.containsObject(slot.object)) return true;
  }
  return false;
}

void Set::enumerateObjectsUsingBlock(const ObjectVisitor& visit) const {
  bool stop = false;
  for (const Id& object : objects()) {
    visit(object, &stop);
    if (stop) break;
  }
}

Ref<Set> Set::objectsPassingTest(const ObjectTest& test) const {
  std::vector<Id> passing;
  bool stop = false;
  for (const Id& object : objects()) {
    if (test(object, &stop)) passing.push_back(object);
    if (stop) break;
  }
  return make<Set>(passing);
}

Ref<Set> Set::filteredSetUsingPredicate(const Predicate& predicate) const {
  return objectsPassingTest([&](const Id& object, bool*) { return predicate(object); });
}

Ref<Set> Set::setByAddingObject(const Id& object) const {
  auto result = make<Set>(objects());
  result->addUses(object, 1, "setByAddingObject:");
  return result;
}

Ref<Set> Set::setByAddingObjectsFromSet(const Set& other) const {
  std::vector<Id> all = objects();
  std::vector<Id> more = other.objects();
  all.insert(all.end(), more.begin(), more.end());
  return make<Set>(all);
}

Ref<Set> Set::setByAddingObjectsFromArray(const Array& other) const {
  std::vector<Id> all = objects();
  all.insert(all.end(), other.begin(), other.end());
  return make<Set>(all);
}

Id MutableSet::copy() const { return make<Set>(objects()); }

void MutableSet::addObject(const Id& object) { addUses(object, 1, "addObject:"); }

void MutableSet::removeObject(const Id& object) {
  if (!object) raiseNilArgument(className().c_str(), "removeObject:", "object");
  // A plain set holds each member once, whatever its use count says.
  removeUses(object.get(), ~Index(0));
}

void MutableSet::addObjectsFromArray(const Array& objects) {
  for (const Id& object : objects) addObject(object);
}

void MutableSet::unionSet(const Set& other) {
  for (const Id& object : other.objects()) addObject(object);
}

void MutableSet::intersectSet(const Set& other) {
  for (const Id& object : objects()) {
    if (!other.containsObject(object)) removeUses(object.get(), ~Index(0));
  }
}

void MutableSet::minusSet(const Set& other) {
  for (const Id& object : other.objects()) removeObject(object);
}

void MutableSet::setSet(const Set& other) {
  std::vector<Id> replacement = other.objects();
  removeEverything();
  for (const Id& object : replacement) addObject(object);
}

void MutableSet::filterUsingPredicate(const Predicate& predicate) {
  for (const Id& object : objects()) {
    if (!predicate(object)) removeUses(object.get(), ~Index(0));
  }
}

Ref<String> CountedSet::description() const {
  RecursionScope scope(RecursionScope::Walk::Description, this);
  if (scope.reentered()) return Object::description();
  char address[32];
  std::snprintf(address, sizeof address, "%p", static_cast<const void*>(this));
  auto text = make<MutableString>();
  text->appendUTF8("<" + className() + ": " + address + "> (");
  bool first = true;
  for (const Slot& slot : slots()) {
    if (!slot.object) continue;
    if (!first) text->appendUTF8(", ");
    text->appendString(*describe(slot.object));
    text->appendUTF8(" [" + std::to_string(slot.uses) + "]");
    first = false;
  }
  text->appendUTF8(")");
  return text;
}

Id CountedSet::copy() const {
  auto result = make<CountedSet>();
  for (const Slot& slot : slots()) {
    if (slot.object) result->addUses(slot.object, slot.uses, "copy");
  }
  return result;
}

Index CountedSet::countForObject(const Id& object) const {
  const Slot* slot = slotOf(object.get());
  return slot ? slot->uses : 0;
}

void CountedSet::addObject(const Id& object) { addUses(object, 1, "addObject:"); }

void CountedSet::removeObject(const Id& object) {
  if (!object) raiseNilArgument(className().c_str(), "removeObject:", "object");
  removeUses(object.get(), 1);
}

}  // namespace tq
