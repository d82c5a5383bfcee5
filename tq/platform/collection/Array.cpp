#include "tq/platform/collection/Array.h"

#include <algorithm>
#include <mutex>

#include "tq/platform/collection/internal/CollectionDescription.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/collection/Parallel.h"
#include "tq/platform/value/String.h"

namespace tq {

namespace {

void requireObject(const Id& object, const char* className, const char* method) {
  if (!object) raiseNilArgument(className, method, "object");
}

// Positions 0..count-1 of a selection, in the enumeration's order.
std::vector<Index> positionsOf(const IndexSet& indexes, EnumerationOptions options) {
  std::vector<Index> positions = indexes.allIndexes();
  if (has(options, EnumerationOptions::Reverse)) std::reverse(positions.begin(), positions.end());
  return positions;
}

// Overflow-safe: a length that would wrap around past the end does not fit.
bool fits(Range range, Index count) { return range.location <= count && range.length <= count - range.location; }

// "[0 .. last]", or "for empty array", as the range failures read.
std::string boundsText(Index count) {
  return count ? "[0 .. " + std::to_string(count - 1) + "]" : std::string("for empty array");
}

std::vector<Index> allPositions(Index count, EnumerationOptions options) {
  std::vector<Index> positions(count);
  for (Index i = 0; i < count; ++i) positions[i] = i;
  if (has(options, EnumerationOptions::Reverse)) std::reverse(positions.begin(), positions.end());
  return positions;
}

}  // namespace

Array::Array(Storage objects) : objects_(std::move(objects)) {
  for (const Id& object : objects_) requireObject(object, "Array", "initWithObjects:count:");
}

bool Array::isEqual(const Object& other) const {
  const auto* list = dynamic_cast<const Array*>(&other);
  return list && isEqualToArray(*list);
}

bool Array::isEqualToArray(const Array& other) const {
  if (this == &other) return true;
  if (objects_.size() != other.objects_.size()) return false;
  RecursionScope scope(RecursionScope::Walk::Equality, this, &other);
  if (scope.reentered()) return false;
  for (std::size_t i = 0; i < objects_.size(); ++i) {
    if (!tq::isEqual(objects_[i], other.objects_[i])) return false;
  }
  return true;
}

Ref<String> Array::description() const { return descriptionWithLocale(nullptr, 0); }

Ref<String> Array::descriptionWithLocale(const Id& locale) const { return descriptionWithLocale(locale, 0); }

Ref<String> Array::descriptionWithLocale(const Id& locale, Index level) const {
  // "(\n    a,\n    b\n)" at level 0, the platform's old-style list layout;
  // empty: "(\n)".
  RecursionScope scope(RecursionScope::Walk::Description, this);
  if (scope.reentered()) return Object::description();
  ElementListDescription text("(", locale, level);
  for (const Id& object : objects_) text.add(object);
  return text.finish(")");
}

Id Array::copy() const { return self(); }
Id Array::mutableCopy() const { return make<MutableArray>(objects_); }

const Id& Array::objectAtIndex(Index index) const {
  if (index >= objects_.size()) raiseIndexBeyondBounds(className().c_str(), "objectAtIndex:", index, objects_.size());
  return objects_[index];
}

Ref<Array> Array::objectsAtIndexes(const IndexSet& indexes) const {
  Index last = indexes.lastIndex();
  if (last != NotFound && last >= objects_.size()) {
    raise(ExceptionName::Range, "*** -[" + className() + " objectsAtIndexes:]: index " + std::to_string(last) +
                                    " in index set beyond bounds " + boundsText(objects_.size()));
  }
  Storage picked;
  picked.reserve(indexes.count());
  for (const Range& run : indexes.ranges()) {
    picked.insert(picked.end(), objects_.begin() + long(run.location), objects_.begin() + long(run.end()));
  }
  return make<Array>(std::move(picked));
}

Ref<Array> Array::subarrayWithRange(Range range) const {
  if (!fits(range, objects_.size())) {
    raise(ExceptionName::Range, "*** -[" + className() + " subarrayWithRange:]: range " + toString(range) +
                                    " extends beyond bounds " + boundsText(objects_.size()));
  }
  return make<Array>(Storage(objects_.begin() + long(range.location), objects_.begin() + long(range.end())));
}

Index Array::indexOfObject(const Object* object) const {
  for (std::size_t i = 0; i < objects_.size(); ++i) {
    if (tq::isEqual(objects_[i].get(), object)) return i;
  }
  return NotFound;
}

Index Array::indexOfObject(const Id& object, Range range) const {
  if (!fits(range, objects_.size())) {
    raise(ExceptionName::Range, "*** -[" + className() + " indexOfObject:inRange:]: range " + toString(range) +
                                    " extends beyond bounds " + boundsText(objects_.size()));
  }
  for (Index i = range.location; i < range.end(); ++i) {
    if (tq::isEqual(objects_[i], object)) return i;
  }
  return NotFound;
}

Index Array::indexOfObjectIdenticalTo(const Id& object) const {
  return indexOfObjectIdenticalTo(object, {0, objects_.size()});
}

Index Array::indexOfObjectIdenticalTo(const Id& object, Range range) const {
  if (!fits(range, objects_.size())) {
    raise(ExceptionName::Range, "*** -[" + className() + " indexOfObjectIdenticalTo:inRange:]: range " +
                                    toString(range) + " extends beyond bounds " + boundsText(objects_.size()));
  }
  for (Index i = range.location; i < range.end(); ++i) {
    if (objects_[i].get() == object.get()) return i;
  }
  return NotFound;
}

Id Array::firstObjectCommonWithArray(const Array& other) const {
  for (const Id& object : objects_) {
    if (other.containsObject(object)) return object;
  }
  return nullptr;
}

Index Array::indexOfObjectPassingTest(const IndexedTest& test) const {
  return indexOfObjectWithOptions(EnumerationOptions::None, test);
}

Index Array::indexOfObjectWithOptions(EnumerationOptions options, const IndexedTest& test) const {
  return indexOfObjectAtIndexes(IndexSet({0, objects_.size()}), options, test);
}

Index Array::indexOfObjectAtIndexes(const IndexSet& indexes, EnumerationOptions options,
                                    const IndexedTest& test) const {
  Index found = NotFound;
  if (has(options, EnumerationOptions::Concurrent)) {
    // Any passing index may win a concurrent search; keep the lowest seen.
    std::mutex lock;
    parallelForEach(positionsOf(indexes, options), [&](Index i, bool* stop) {
      if (test(objectAtIndex(i), i, stop)) {
        std::lock_guard<std::mutex> guard(lock);
        if (found == NotFound || i < found) found = i;
        *stop = true;
      }
    });
    return found;
  }
  bool stop = false;
  for (Index i : positionsOf(indexes, options)) {
    if (test(objectAtIndex(i), i, &stop)) return i;
    if (stop) break;
  }
  return found;
}

Ref<IndexSet> Array::indexesOfObjectsPassingTest(const IndexedTest& test) const {
  return indexesOfObjectsWithOptions(EnumerationOptions::None, test);
}

Ref<IndexSet> Array::indexesOfObjectsWithOptions(EnumerationOptions options, const IndexedTest& test) const {
  return indexesOfObjectsAtIndexes(IndexSet({0, objects_.size()}), options, test);
}

Ref<IndexSet> Array::indexesOfObjectsAtIndexes(const IndexSet& indexes, EnumerationOptions options,
                                               const IndexedTest& test) const {
  auto passing = make<MutableIndexSet>();
  std::mutex lock;
  enumerateObjectsAtIndexes(indexes, options, [&](const Id& object, Index i, bool* stop) {
    if (test(object, i, stop)) {
      std::lock_guard<std::mutex> guard(lock);
      passing->addIndex(i);
    }
  });
  return passing;
}

Index Array::indexOfObject(const Id& object, Range range, BinarySearchingOptions options,
                           const Comparator& comparator) const {
  if (has(options, BinarySearchingOptions::FirstEqual) && has(options, BinarySearchingOptions::LastEqual)) {
    raise(ExceptionName::InvalidArgument, "*** -[" + className() +
                                              " indexOfObject:inSortedRange:options:usingComparator:]: both "
                                              "FirstEqual and LastEqual options cannot be specified");
  }
  if (!fits(range, objects_.size())) {
    raise(ExceptionName::Range, "*** -[" + className() +
                                    " indexOfObject:inSortedRange:options:usingComparator:]: range " + toString(range) +
                                    " extends beyond bounds " + boundsText(objects_.size()));
  }
  auto first = objects_.begin() + long(range.location), last = objects_.begin() + long(range.end());
  auto less = [&](const Id& a, const Id& b) { return comparator(a, b) == ComparisonResult::Ascending; };
  bool insertion = has(options, BinarySearchingOptions::InsertionIndex);
  if (has(options, BinarySearchingOptions::LastEqual)) {
    auto it = std::upper_bound(first, last, object, less);
    if (insertion) return Index(it - objects_.begin());
    if (it != first && comparator(*(it - 1), object) == ComparisonResult::Same) return Index(it - 1 - objects_.begin());
    return NotFound;
  }
  auto it = std::lower_bound(first, last, object, less);
  if (insertion) return Index(it - objects_.begin());
  if (it != last && comparator(*it, object) == ComparisonResult::Same) return Index(it - objects_.begin());
  return NotFound;
}

void Array::enumerateObjectsUsingBlock(const IndexedVisitor& visit) const {
  enumerateObjectsWithOptions(EnumerationOptions::None, visit);
}

void Array::enumerateObjectsWithOptions(EnumerationOptions options, const IndexedVisitor& visit) const {
  if (has(options, EnumerationOptions::Concurrent)) {
    parallelForEach(allPositions(objects_.size(), options), [&](Index i, bool* stop) { visit(objects_[i], i, stop); });
    return;
  }
  bool stop = false;
  for (Index i : allPositions(objects_.size(), options)) {
    visit(objects_[i], i, &stop);
    if (stop) break;
  }
}

void Array::enumerateObjectsAtIndexes(const IndexSet& indexes, EnumerationOptions options,
                                      const IndexedVisitor& visit) const {
  std::vector<Index> positions = positionsOf(indexes, options);
  for (Index i : positions) {
    if (i >= objects_.size())
      raiseIndexBeyondBounds(className().c_str(), "enumerateObjectsAtIndexes:options:usingBlock:", i, objects_.size());
  }
  if (has(options, EnumerationOptions::Concurrent)) {
    parallelForEach(positions, [&](Index i, bool* stop) { visit(objects_[i], i, stop); });
    return;
  }
  bool stop = false;
  for (Index i : positions) {
    visit(objects_[i], i, &stop);
    if (stop) break;
  }
}

Ref<Enumerator> Array::objectEnumerator() const { return make<Enumerator>(objects_); }

Ref<Enumerator> Array::reverseObjectEnumerator() const {
  return make<Enumerator>(Storage(objects_.rbegin(), objects_.rend()));
}

void Array::makeObjectsPerformSelector(const ActionSelector& selector, const Id& argument) const {
  for (const Id& object : objects_) selector(object, argument);
}

Ref<Array> Array::arrayByAddingObject(const Id& object) const {
  requireObject(object, "Array", "arrayByAddingObject:");
  Storage grown = objects_;
  grown.push_back(object);
  return make<Array>(std::move(grown));
}

Ref<Array> Array::arrayByAddingObjectsFromArray(const Array& other) const {
  Storage grown = objects_;
  grown.insert(grown.end(), other.objects_.begin(), other.objects_.end());
  return make<Array>(std::move(grown));
}

Ref<Array> Array::filteredArrayUsingPredicate(const Predicate& predicate) const {
  Storage kept;
  for (const Id& object : objects_) {
    if (predicate(object)) kept.push_back(object);
  }
  return make<Array>(std::move(kept));
}

Ref<Array> Array::sortedArrayUsingComparator(const Comparator& comparator) const {
  return sortedArrayWithOptions(SortOptions::None, comparator);
}

Ref<Array> Array::sortedArrayWithOptions(SortOptions, const Comparator& comparator) const {
  // Always stable: the platform's sort is stable in practice and callers
  // rely on equal elements keeping their order.
  Storage sorted = objects_;
  std::stable_sort(sorted.begin(), sorted.end(),
                   [&](const Id& a, const Id& b) { return comparator(a, b) == ComparisonResult::Ascending; });
  return make<Array>(std::move(sorted));
}

Ref<Array> Array::sortedArrayUsingFunction(SortFunction function, void* context) const {
  return sortedArrayUsingComparator([&](const Id& a, const Id& b) { return function(a, b, context); });
}

Ref<Array> Array::sortedArrayUsingFunction(SortFunction function, void* context, const Ref<Object>&) const {
  return sortedArrayUsingFunction(function, context);
}

Ref<Array> Array::sortedArrayUsingDescriptors(const std::vector<Ref<SortDescriptor>>& descriptors) const {
  return sortedArrayUsingComparator(
      [&](const Id& a, const Id& b) { return compareWithDescriptors(a, b, descriptors); });
}

Ref<Array> Array::sortedArrayUsingSelector(ComparisonSelector selector) const {
  return sortedArrayUsingComparator([&](const Id& a, const Id& b) { return selector(*a, *b); });
}

Id Array::sortedArrayHint() const {
  // A snapshot of the element order; hinted sorts do not need more.
  return make<Array>(objects_);
}

Ref<Array> Array::valueForKey(const String& key) const {
  Storage values;
  values.reserve(objects_.size());
  for (const Id& object : objects_) {
    // A nil value is held by the null marker, so that the result lines up
    // with the receiver element by element.
    Id value = tq::valueForKey(object, key);
    values.push_back(value ? value : Null::null());
  }
  return make<Array>(std::move(values));
}

Ref<MutableArray> MutableArray::arrayWithCapacity(Index capacity) {
  auto list = make<MutableArray>();
  list->reserve(capacity);
  return list;
}

Id MutableArray::copy() const { return make<Array>(objects_); }

void MutableArray::addObject(const Id& object) {
  requireObject(object, "MutableArray", "addObject:");
  objects_.push_back(object);
}

void MutableArray::addObjectsFromArray(const Array& other) {
  // A copy first: the argument may be this array, whose storage the insertion moves.
  Storage more = other.storage();
  objects_.insert(objects_.end(), more.begin(), more.end());
}

void MutableArray::insertObject(const Id& object, Index index) {
  requireObject(object, "MutableArray", "insertObject:atIndex:");
  if (index > objects_.size()) raiseIndexBeyondBounds("MutableArray", "insertObject:atIndex:", index, objects_.size());
  objects_.insert(objects_.begin() + long(index), object);
}

void MutableArray::removeObjectAtIndex(Index index) {
  if (index >= objects_.size()) raiseIndexBeyondBounds("MutableArray", "removeObjectAtIndex:", index, objects_.size());
  objects_.erase(objects_.begin() + long(index));
}

void MutableArray::removeLastObject() {
  if (objects_.empty()) raiseIndexBeyondBounds("MutableArray", "removeLastObject", 0, 0);
  objects_.pop_back();
}

void MutableArray::removeObject(const Id& object) {
  // Held apart: `object` may refer to an element that the removal overwrites.
  Id target = object;
  std::erase_if(objects_, [&](const Id& element) { return tq::isEqual(element, target); });
}

void MutableArray::removeObjectsAtIndexes(const IndexSet& indexes) {
  Index last = indexes.lastIndex();
  if (last != NotFound && last >= objects_.size()) {
    raiseIndexBeyondBounds("MutableArray", "removeObjectsAtIndexes:", last, objects_.size());
  }
  // From the last run down, so that each run's positions still hold.
  const auto& runs = indexes.ranges();
  for (auto it = runs.end(); it != runs.begin();) {
    Range run = *--it;
    objects_.erase(objects_.begin() + long(run.location), objects_.begin() + long(run.end()));
  }
}

void MutableArray::replaceObjectAtIndex(Index index, const Id& object) {
  requireObject(object, "MutableArray", "replaceObjectAtIndex:withObject:");
  if (index >= objects_.size())
    raiseIndexBeyondBounds("MutableArray", "replaceObjectAtIndex:withObject:", index, objects_.size());
  objects_[index] = object;
}

void MutableArray::setObject(const Id& object, Index index) {
  if (index == objects_.size()) {
    addObject(object);
  } else {
    replaceObjectAtIndex(index, object);
  }
}

void MutableArray::exchangeObjectAtIndex(Index a, Index b) {
  if (a >= objects_.size())
    raiseIndexBeyondBounds("MutableArray", "exchangeObjectAtIndex:withObjectAtIndex:", a, objects_.size());
  if (b >= objects_.size())
    raiseIndexBeyondBounds("MutableArray", "exchangeObjectAtIndex:withObjectAtIndex:", b, objects_.size());
  std::swap(objects_[a], objects_[b]);
}

void MutableArray::sortUsingComparator(const Comparator& comparator) {
  std::stable_sort(objects_.begin(), objects_.end(),
                   [&](const Id& a, const Id& b) { return comparator(a, b) == ComparisonResult::Ascending; });
}

void MutableArray::sortUsingDescriptors(const std::vector<Ref<SortDescriptor>>& descriptors) {
  sortUsingComparator([&](const Id& a, const Id& b) { return compareWithDescriptors(a, b, descriptors); });
}

void MutableArray::filterUsingPredicate(const Predicate& predicate) {
  std::erase_if(objects_, [&](const Id& object) { return !predicate(object); });
}

Id Enumerator::nextObject() {
  if (next_ >= objects_.size()) return nullptr;
  return objects_[next_++];
}

Ref<Array> Enumerator::allObjects() {
  Array::Storage rest(objects_.begin() + long(next_), objects_.end());
  next_ = objects_.size();
  return make<Array>(std::move(rest));
}

}  // namespace tq
