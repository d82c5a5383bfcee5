#include "tq/collections/TQIntegerSet.h"

#include <charconv>
#include <string>

#include "tq/collections/internal/NumberListScanner.h"
#include "tq/platform/object/AssertionPlaces.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"

namespace tq {

namespace {

constexpr TQIntegerSet::Integer Maximum = ~TQIntegerSet::Integer(0);

TQIntegerSet::Integer offsetOf(std::size_t k) { return TQIntegerSet::Integer(k) * TQIntegerSet::SubsetSpan; }

std::string decimal(std::uint64_t value) {
  char digits[24];
  return std::string(digits, std::to_chars(digits, digits + sizeof digits, value).ptr);
}

}  // namespace

TQIntegerSet::TQIntegerSet() : TQIntegerSet(false) {}

TQIntegerSet::TQIntegerSet(bool editable) {
  for (auto& subset : subsets_) subset = editable ? make<MutableIndexSet>() : make<IndexSet>();
}

TQMutableIntegerSet::TQMutableIntegerSet() : TQIntegerSet(true) {}

void TQIntegerSet::adoptContentsOf(const TQIntegerSet& other) {
  for (std::size_t k = 0; k < 3; ++k) {
    const auto& runs = other.subsets_[k]->ranges();
    subsets_[k] = dynamic_cast<MutableIndexSet*>(subsets_[k].get()) ? make<MutableIndexSet>(runs) : make<IndexSet>(runs);
  }
}

Ref<TQIntegerSet> TQIntegerSet::integerSetWithInteger(Integer integer) {
  TQ_ASSERT_PLACE(integer < Maximum, AssertionPlaces::IntegerSetConstructorMaximum,
                  "Invalid parameter not satisfying: index<NSUIntegerMax");
  return initWithIntegerSet(*TQMutableIntegerSet::holding(integer));
}

Ref<TQIntegerSet> TQIntegerSet::initWithInteger(Integer integer) {
  TQ_ASSERT_PLACE(integer < Maximum, AssertionPlaces::IntegerSetInitialiserMaximum,
                  "Invalid parameter not satisfying: anInteger<NSUIntegerMax");
  return initWithIntegerSet(*TQMutableIntegerSet::holding(integer));
}

Ref<TQMutableIntegerSet> TQMutableIntegerSet::initWithInteger(Integer integer) {
  TQ_ASSERT_PLACE(integer < Maximum, AssertionPlaces::MutableIntegerSetInitialiserMaximum,
                  "Invalid parameter not satisfying: index<NSUIntegerMax");
  return holding(integer);
}

Ref<TQMutableIntegerSet> TQMutableIntegerSet::holding(Integer integer) {
  auto set = make<TQMutableIntegerSet>();
  set->addInteger(integer);
  return set;
}

Ref<TQIntegerSet> TQIntegerSet::integerSetWithIntegersFrom(Integer from, Integer to) {
  auto set = make<TQMutableIntegerSet>();
  if (from <= to) {
    // One at a time, as the add-ons rely on: the cost is linear in the span.
    for (Integer n = from;; ++n) {
      set->addInteger(n);
      if (n == to) break;
    }
  }
  return initWithIntegerSet(*set);
}

Ref<TQIntegerSet> TQIntegerSet::integerSetWithStringList(const String& text) {
  return initWithIntegerSet(*TQMutableIntegerSet::integerSetWithStringList(text));
}

Ref<TQIntegerSet> TQIntegerSet::integerSetWithNumberArray(const Array& numbers) {
  return initWithIntegerSet(*TQMutableIntegerSet::integerSetWithNumberArray(numbers));
}

Ref<TQIntegerSet> TQIntegerSet::initWithIntegerSet(const TQIntegerSet& other) {
  auto set = make<TQIntegerSet>();
  set->adoptContentsOf(other);
  return set;
}

Ref<TQMutableIntegerSet> TQMutableIntegerSet::initWithIntegerSet(const TQIntegerSet& other) {
  auto set = make<TQMutableIntegerSet>();
  set->adoptContentsOf(other);
  return set;
}

Ref<TQMutableIntegerSet> TQMutableIntegerSet::integerSetWithStringList(const String& text) {
  auto set = make<TQMutableIntegerSet>();
  detail::scanNumberList(
      text, "integerSetWithStringList:",
      [](Scanner& scanner, std::uint64_t* value) {
        unsigned long long read = 0;
        bool found = scanner.scanUnsignedLongLong(&read);
        *value = read;
        return found;
      },
      [&](std::uint64_t value) { set->addInteger(value); });
  return set;
}

Ref<TQMutableIntegerSet> TQMutableIntegerSet::integerSetWithNumberArray(const Array& numbers) {
  auto set = make<TQMutableIntegerSet>();
  for (const Id& element : numbers) {
    auto number = std::dynamic_pointer_cast<Number>(element);
    if (!number) raiseUnrecognizedMessage(element.get(), "unsignedIntegerValue");
    set->addInteger(number->unsignedIntegerValue());
  }
  return set;
}

Id TQIntegerSet::copy() const { return initWithIntegerSet(*this); }
Id TQIntegerSet::mutableCopy() const { return TQMutableIntegerSet::initWithIntegerSet(*this); }
Id TQMutableIntegerSet::copy() const { return TQIntegerSet::initWithIntegerSet(*this); }

Ref<Array> TQIntegerSet::subsets() const {
  return Array::arrayWithObjects({subsets_[0], subsets_[1], subsets_[2]});
}

void TQIntegerSet::setSubsets(const Array& subsets) {
  if (subsets.count() != 3) raise(ExceptionName::InvalidArgument, "subsets takes exactly three index sets");
  TQMutableIntegerSet taken;
  for (std::size_t k = 0; k < 3; ++k) {
    auto set = std::dynamic_pointer_cast<IndexSet>(subsets.objectAtIndex(k));
    if (!set) raise(ExceptionName::InvalidArgument, "subsets takes exactly three index sets");
    taken.subsets_[k] = make<MutableIndexSet>(set->ranges());
  }
  adoptContentsOf(taken);
}

Index TQIntegerSet::count() const { return subsets_[0]->count() + subsets_[1]->count() + subsets_[2]->count(); }

bool TQIntegerSet::containsInteger(Integer integer) const {
  return subsets_[subsetOf(integer)]->containsIndex(indexOf(integer));
}

bool TQIntegerSet::containsIntegers(const TQIntegerSet& other) const {
  for (std::size_t k = 0; k < 3; ++k) {
    if (!subsets_[k]->containsIndexes(*other.subsets_[k])) return false;
  }
  return true;
}

TQIntegerSet::Integer TQIntegerSet::firstInteger() const {
  for (std::size_t k = 0; k < 3; ++k) {
    if (!subsets_[k]->ranges().empty()) return subsets_[k]->firstIndex() + offsetOf(k);
  }
  return 0;
}

TQIntegerSet::Integer TQIntegerSet::lastInteger() const {
  for (std::size_t k = 3; k-- > 0;) {
    if (!subsets_[k]->ranges().empty()) return subsets_[k]->lastIndex() + offsetOf(k);
  }
  return 0;
}

namespace {

// The neighbour in the integer's own subset, else the nearest end of the
// first non-empty subset outward; 0 when there is none.
template <class Within>
TQIntegerSet::Integer neighbour(const TQIntegerSet& set, TQIntegerSet::Integer integer, bool downward,
                                Within within) {
  std::size_t k = TQIntegerSet::subsetOf(integer);
  Index found = within(set.subset(k), TQIntegerSet::indexOf(integer));
  if (found != NotFound) return found + offsetOf(k);
  if (downward) {
    for (std::size_t j = k; j-- > 0;) {
      if (!set.subset(j).ranges().empty()) return set.subset(j).lastIndex() + offsetOf(j);
    }
  } else {
    for (std::size_t j = k + 1; j < 3; ++j) {
      if (!set.subset(j).ranges().empty()) return set.subset(j).firstIndex() + offsetOf(j);
    }
  }
  return 0;
}

}  // namespace

TQIntegerSet::Integer TQIntegerSet::integerLessThanInteger(Integer integer) const {
  return neighbour(*this, integer, true, [](const IndexSet& s, Index i) { return s.indexLessThanIndex(i); });
}
TQIntegerSet::Integer TQIntegerSet::integerLessThanOrEqualToInteger(Integer integer) const {
  return neighbour(*this, integer, true, [](const IndexSet& s, Index i) { return s.indexLessThanOrEqualToIndex(i); });
}
TQIntegerSet::Integer TQIntegerSet::integerGreaterThanInteger(Integer integer) const {
  return neighbour(*this, integer, false, [](const IndexSet& s, Index i) { return s.indexGreaterThanIndex(i); });
}
TQIntegerSet::Integer TQIntegerSet::integerGreaterThanOrEqualToInteger(Integer integer) const {
  return neighbour(*this, integer, false,
                   [](const IndexSet& s, Index i) { return s.indexGreaterThanOrEqualToIndex(i); });
}

void TQIntegerSet::enumerateIntegersUsingBlock(const IntegerVisitor& visit) const {
  bool stop = false;
  for (std::size_t k = 0; k < 3 && !stop; ++k) {
    for (const Range& run : subsets_[k]->ranges()) {
      for (Index i = run.location; i < run.end() && !stop; ++i) visit(i + offsetOf(k), &stop);
      if (stop) break;
    }
  }
}

TQIntegerSet::Integer TQIntegerSet::integerPassingTest(const IntegerTest& test) const {
  Integer found = 0;
  enumerateIntegersUsingBlock([&](Integer n, bool* stop) {
    if (test(n, stop)) {
      found = n;
      *stop = true;
    }
  });
  return found;
}

Ref<TQIntegerSet> TQIntegerSet::integersPassingTest(const IntegerTest& test) const {
  TQMutableIntegerSet passing;
  enumerateIntegersUsingBlock([&](Integer n, bool* stop) {
    if (test(n, stop)) passing.addInteger(n);
  });
  return initWithIntegerSet(passing);
}

Ref<IndexSet> TQIntegerSet::indexSet() const { return make<IndexSet>(subsets_[0]->ranges()); }

Ref<Set> TQIntegerSet::numberSet() const {
  auto numbers = MutableSet::set();
  enumerateIntegersUsingBlock([&](Integer n, bool*) { numbers->addObject(num(n)); });
  return numbers;
}

Ref<String> TQIntegerSet::stringList() const { return stringListWithDelimiter(String(",")); }

Ref<String> TQIntegerSet::stringListWithDelimiter(const String& delimiter) const {
  std::string separator = delimiter.utf8(), text;
  enumerateIntegersUsingBlock([&](Integer n, bool*) {
    if (!text.empty()) text += separator;
    text += decimal(n);
  });
  return str(text);
}

Ref<String> TQIntegerSet::description() const {
  Index total = 0;
  std::string ranges;
  Index rangeTexts = 0;
  for (std::size_t k = 0; k < 3; ++k) {
    total += subsets_[k]->count();
    for (const Range& run : subsets_[k]->ranges()) {
      if (rangeTexts++) ranges += ",";
      ranges += decimal(run.location + offsetOf(k));
      if (run.length > 1) ranges += "-" + decimal(run.location + offsetOf(k) + run.length - 1);
    }
  }
  std::string text = Object::description()->utf8() + " " + decimal(total) + (total == 1 ? " integer" : " integers") +
                     " in " + decimal(rangeTexts) + (rangeTexts == 1 ? " range" : " ranges") + ": (" + ranges + ")";
  return str(text);
}

bool TQIntegerSet::isEqual(const Object& other) const {
  const auto* set = dynamic_cast<const TQIntegerSet*>(&other);
  return set && isEqualToIntegerSet(*set);
}

bool TQIntegerSet::isEqualToIntegerSet(const TQIntegerSet& other) const {
  for (std::size_t k = 0; k < 3; ++k) {
    if (!subsets_[k]->isEqualToIndexSet(*other.subsets_[k])) return false;
  }
  return true;
}

bool TQIntegerSet::isEqualToIntegersInString(const String& text) const {
  return isEqualToIntegerSet(*integerSetWithStringList(text));
}

Ref<Array> TQIntegerSet::integerSetsWithBatchSize(Index) const { return nullptr; }

Ref<TQIntegerSet> TQIntegerSet::integerSetByIntersectingIntegers(const TQIntegerSet& other) const {
  auto result = make<TQIntegerSet>();
  for (std::size_t k = 0; k < 3; ++k) result->subsets_[k] = subsets_[k]->intersectionWithIndexSet(*other.subsets_[k]);
  return result;
}

Ref<TQIntegerSet> TQIntegerSet::integerSetByRemovingIntegers(const TQIntegerSet& other) const {
  auto result = make<TQIntegerSet>();
  for (std::size_t k = 0; k < 3; ++k) result->subsets_[k] = subsets_[k]->minusIndexSet(*other.subsets_[k]);
  return result;
}

Ref<TQIntegerSet> TQIntegerSet::integerSetByRemovingIntegersInString(const String& text) const {
  return integerSetByRemovingIntegers(*integerSetWithStringList(text));
}

}  // namespace tq
