#pragma once
// A set of unsigned 64-bit integers over the whole range, kept as three index
// sets because an index set holds only indexes below 2^63 - 1 (its not-found
// value): integer n lives in subset n / S at index n % S, S = 2^63 - 1.
// Subset 0 holds 0 ... 2^63 - 2, subset 1 holds 2^63 - 1 ... 2^64 - 3 and
// subset 2 the last two integers.
//
// Runs of consecutive integers cost one entry, so sets of message numbers
// stay small. Searches that find nothing answer 0, which callers cannot tell
// from the integer 0: that is the interface the add-ons use.
//
// Equality compares the three subsets; the hash stays the identity hash, so
// equal sets need not hash equally (callers never key maps by these sets).
//
// The mutable set's single and set edits take the set's monitor; union,
// intersection and every read take none, so callers who mix them serialise.

#include <array>
#include <cstdint>
#include <functional>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"

namespace tq {

class TQIntegerSet : public Object {
 public:
  using Integer = std::uint64_t;
  using IntegerVisitor = std::function<void(Integer integer, bool* stop)>;
  using IntegerTest = std::function<bool(Integer integer, bool* stop)>;
  /// The span of one subset: the index sets' not-found value.
  static constexpr Integer SubsetSpan = NotFound;

  /// `init`: three empty subsets.
  TQIntegerSet();

  static Ref<TQIntegerSet> integerSet() { return make<TQIntegerSet>(); }
  /// Asserts that the integer is below 2^64 - 1 (the set still takes it when
  /// execution goes on).
  static Ref<TQIntegerSet> integerSetWithInteger(Integer integer);
  /// Every integer from `from` to `to`, added one at a time: linear in the span.
  static Ref<TQIntegerSet> integerSetWithIntegersFrom(Integer from, Integer to);
  /// Numbers separated by commas and white space; see the mutable form.
  static Ref<TQIntegerSet> integerSetWithStringList(const String& text);
  /// Each number's unsigned value.
  static Ref<TQIntegerSet> integerSetWithNumberArray(const Array& numbers);
  static Ref<TQIntegerSet> initWithInteger(Integer integer);
  static Ref<TQIntegerSet> initWithIntegerSet(const TQIntegerSet& other);

  // Object
  bool isEqual(const Object& other) const override;
  /// The default description, then " N integers in R ranges: (1-3,7)".
  Ref<String> description() const override;
  std::string className() const override { return "TQIntegerSet"; }
  Id copy() const override;
  Id mutableCopy() const override;

  /// The three subsets, in order.
  Ref<Array> subsets() const;
  /// Takes the contents of three index sets, in order.
  void setSubsets(const Array& subsets);

  Index count() const;
  bool containsInteger(Integer integer) const;
  bool containsIndex(Integer integer) const { return containsInteger(integer); }
  bool containsIntegers(const TQIntegerSet& other) const;
  /// 0 for the empty set.
  Integer firstInteger() const;
  Integer lastInteger() const;
  Integer firstIndex() const { return firstInteger(); }
  Integer lastIndex() const { return lastInteger(); }
  // The neighbours of an integer, across subsets; 0 when there is none.
  Integer integerLessThanInteger(Integer integer) const;
  Integer integerLessThanOrEqualToInteger(Integer integer) const;
  Integer integerGreaterThanInteger(Integer integer) const;
  Integer integerGreaterThanOrEqualToInteger(Integer integer) const;
  Integer indexLessThanIndex(Integer integer) const { return integerLessThanInteger(integer); }
  Integer indexLessThanOrEqualToIndex(Integer integer) const { return integerLessThanOrEqualToInteger(integer); }
  Integer indexGreaterThanIndex(Integer integer) const { return integerGreaterThanInteger(integer); }
  Integer indexGreaterThanOrEqualToindex(Integer integer) const { return integerGreaterThanOrEqualToInteger(integer); }
  /// The first passing integer in ascending order; 0 when none passes.
  Integer integerPassingTest(const IntegerTest& test) const;
  Ref<TQIntegerSet> integersPassingTest(const IntegerTest& test) const;
  /// Subset 0 only: integers from 2^63 - 1 up are left out.
  Ref<IndexSet> indexSet() const;
  /// Unsigned number objects, one per integer.
  Ref<Set> numberSet() const;
  /// "1,2,3,7": every integer, ascending, runs not folded.
  Ref<String> stringList() const;
  Ref<String> stringListWithDelimiter(const String& delimiter) const;
  bool isEqualTo(const Object& other) const { return isEqual(other); }
  bool isEqualToIntegerSet(const TQIntegerSet& other) const;
  bool isEqualToIntegersInString(const String& text) const;
  /// Always nil.
  Ref<Array> integerSetsWithBatchSize(Index size) const;

  /// Ascending over the whole range; the flag stops every remaining subset too.
  void enumerateIntegersUsingBlock(const IntegerVisitor& visit) const;
  void enumerateIndexesUsingBlock(const IntegerVisitor& visit) const { enumerateIntegersUsingBlock(visit); }

  Ref<TQIntegerSet> integerSetByIntersectingIntegers(const TQIntegerSet& other) const;
  Ref<TQIntegerSet> integerSetByRemovingIntegers(const TQIntegerSet& other) const;
  Ref<TQIntegerSet> integerSetByRemovingIntegersInString(const String& text) const;

  /// The subset and index of an integer.
  /// n / S and n % S, by comparison: a 64-bit division would cost more than
  /// the look-up it serves.
  static std::size_t subsetOf(Integer integer) {
    return integer < SubsetSpan ? 0 : integer < 2 * SubsetSpan ? 1 : 2;
  }
  static Index indexOf(Integer integer) { return integer - subsetOf(integer) * SubsetSpan; }
  /// Subset k's index sets as they stand (no copy).
  const IndexSet& subset(std::size_t k) const { return *subsets_[k]; }

 protected:
  /// Empty subsets of the mutable kind when `editable`.
  explicit TQIntegerSet(bool editable);
  /// Copies `other`'s subsets into this set's own.
  void adoptContentsOf(const TQIntegerSet& other);

  std::array<Ref<IndexSet>, 3> subsets_;
};

class TQMutableIntegerSet : public TQIntegerSet {
 public:
  TQMutableIntegerSet();

  static Ref<TQMutableIntegerSet> integerSet() { return make<TQMutableIntegerSet>(); }
  /// The list parser. A character that is not a digit, separator or white
  /// space (a sign, a letter, the hyphen of a range) would make it loop
  /// without end: it is reported as an assertion failure instead, and the
  /// set read so far is answered.
  static Ref<TQMutableIntegerSet> integerSetWithStringList(const String& text);
  static Ref<TQMutableIntegerSet> integerSetWithNumberArray(const Array& numbers);
  static Ref<TQMutableIntegerSet> initWithInteger(Integer integer);
  static Ref<TQMutableIntegerSet> initWithIntegerSet(const TQIntegerSet& other);

  std::string className() const override { return "TQMutableIntegerSet"; }
  Id copy() const override;

  // Under the set's monitor.
  /// Takes every integer, 2^64 - 1 included.
  void addInteger(Integer integer);
  void removeInteger(Integer integer);
  void addIndex(Integer integer) { addInteger(integer); }
  void removeIndex(Integer integer) { removeInteger(integer); }
  void addIntegers(const TQIntegerSet& other);
  void removeIntegers(const TQIntegerSet& other);
  void removeAllIntegers();

  // Without the monitor.
  void unionIntegerSet(const TQIntegerSet& other);
  void intersectIntegerSet(const TQIntegerSet& other);

 private:
  friend class TQIntegerSet;
  /// A new set of one integer, unchecked.
  static Ref<TQMutableIntegerSet> holding(Integer integer);
  MutableIndexSet& editable(std::size_t k) { return static_cast<MutableIndexSet&>(*subsets_[k]); }
};

}  // namespace tq
