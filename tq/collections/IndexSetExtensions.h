#pragma once
// What the library adds to the platform's index sets: building them from
// numbers, texts, C strings and argument lists; writing them as comma lists,
// JSON arrays and run texts; cutting them into batches; set algebra that
// answers new sets. The add-ons keep message and record numbers in these
// forms in settings and on the wire, so every text form here is stored data
// and must stay exactly as it is.
//
// Free functions grouped under the extension's name; the instance operations
// take the receiver first. "Class" operations answer the mutable set they
// built where the original answered it, an immutable copy elsewhere.

#include <cstdint>
#include <initializer_list>
#include <string_view>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/IndexSet.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/object/Range.h"
#include "tq/platform/value/Data.h"
#include "tq/platform/value/String.h"

namespace tq::Corvina {

// Class operations.

/// The set (empty when nil) without `index`; nil when that leaves nothing.
Ref<IndexSet> tq_optionalIndexSetByRemovingIndex(Index index, const Ref<IndexSet>& from);
/// The set (empty when nil) with `index` added.
Ref<IndexSet> tq_setByAddingIndex(Index index, const Ref<IndexSet>& to);
/// Each element's integer value as an index (numbers, or texts read as
/// numbers). A negative value raises the index set's invalid-argument failure.
Ref<MutableIndexSet> tq_indexSetWithNumberSet(const Set& numbers);
Ref<MutableIndexSet> tq_indexSetWithNumberArray(const Array& numbers);
/// A text that does not start with a number adds index 0.
Ref<MutableIndexSet> tq_indexSetWithStringArray(const Array& texts);
/// The first value 0 gives the empty set; otherwise it is added, and so is
/// each following value up to the first 0 or 0xFFFFFFFF, which ends the list.
/// A list without that end is read to its last value.
Ref<IndexSet> tq_indexSetWithIntList(std::initializer_list<std::uint32_t> values);
/// Comma-separated decimal numbers; other bytes are ignored, leading zeros
/// dropped, values outside 1 ... 2^63 - 3 skipped, and a run of 21 digits
/// ends the walk there, dropping that number and the rest. Nil is empty.
Ref<IndexSet> tq_indexSetWithWithUTF8String(const char* text);
/// The list parser: numbers separated by commas, spaces and white space. A
/// trailing separator adds 0. A character that is not a digit, sign, separator
/// or white space would make the parse loop without end: it is reported as an
/// assertion failure instead, and the set parsed so far is answered.
/// A negative number raises the index set's invalid-argument failure.
Ref<MutableIndexSet> tq_indexSetWithStringList(const String& text);
Ref<MutableIndexSet> tq_indexSetWithStringList(std::string_view utf8);
/// `first` ... `last` inclusive; `last` one below `first` gives the empty set.
Ref<IndexSet> tq_indexSetWithIndexesFrom(Index first, Index last);

// Instance operations.

/// Unsigned number objects, one per index.
Ref<Set> tq_numberSet(const IndexSet& set);
/// Decimal texts, ascending.
Ref<Array> tq_stringArray(const IndexSet& set);
Ref<Set> tq_stringSet(const IndexSet& set);
/// The common indexes (nil or empty `other`: the empty set); the smaller set
/// is walked and the larger one asked.
Ref<IndexSet> tq_setByIntersectingIndexSet(const IndexSet& set, const Ref<IndexSet>& other);
/// The indexes not in `other`; nil or empty `other` gives a copy.
Ref<IndexSet> tq_setByRemovingIndexSet(const IndexSet& set, const Ref<IndexSet>& other);
Ref<IndexSet> tq_setByRemovingIndexesInString(const IndexSet& set, const String& text);
Ref<IndexSet> tq_setByAddingIndex(const IndexSet& set, Index index);
/// "1,2,3,7": every index, runs not folded; empty for the empty set.
Ref<String> tq_stringList(const IndexSet& set);
/// The comma list with a line break before every `interval`-th index, the
/// first included: {1 ... 5} with 2 gives "\n1,2,\n3,4,\n5". Below 1: no breaks.
Ref<String> tq_stringListWithReturnInterval(const IndexSet& set, std::int64_t interval);
/// The bytes "[1,2,3]"; "[]" for the empty set.
Ref<Data> tq_jsonArray(const IndexSet& set);
/// Mutable sets of `size` indexes each (the last may hold fewer), in order;
/// size 0 gives one set per index.
Ref<MutableArray> tq_indexSetsWithBatchSize(const IndexSet& set, Index size);

// Operations of the mutable set (the run queries serve any set).

void tq_unionIndexSet(MutableIndexSet& set, const Ref<IndexSet>& other);
/// Removes every index that `other` lacks; nil empties the set.
void tq_intersectIndexSet(MutableIndexSet& set, const Ref<IndexSet>& other);
/// The number of maximal runs of consecutive indexes.
Index rangeCount(const IndexSet& set);
/// (2^63 - 1, 0) for the empty set.
Range firstRange(const IndexSet& set);
Range lastRange(const IndexSet& set);
/// "{1-3},{7-7}"; "{}" for the empty set.
Ref<String> rangeDescription(const IndexSet& set);

}  // namespace tq::Corvina
