// Editing the mutable ordered dictionary, the long-standing quirks included,
// and sorting and filtering by objects and keys.

#include <algorithm>

#include "OrderedDictionaryTestSupport.h"

namespace tq {
namespace {

// The helpers of OrderedDictionaryTestSupport.h.
using namespace testing;

TEST(MutableOrderedDictionaryAdding, ExistingKeyMovesToTheEnd) {
  auto d = lettered(3);
  d->addObject(num(9), str("a"));
  EXPECT_EQ(keysOf(*d), "b,c,a");
  EXPECT_EQ(objectsOf(*d), "2,3,9");
  EXPECT_TRUE(isConsistent(*d));
  d->addEntriesFromDictionary(*dict({{str("z"), num(0)}, {str("b"), num(8)}}));
  EXPECT_EQ(keysOf(*d), "c,a,z,b");
}

TEST(MutableOrderedDictionarySetting, ExistingKeyKeepsItsPosition) {
  auto d = lettered(3);
  d->setObject(num(9), str("a"));
  EXPECT_EQ(keysOf(*d), "a,b,c");
  EXPECT_EQ(objectsOf(*d), "9,2,3");
  d->setObject(num(4), str("d"));
  EXPECT_EQ(keysOf(*d), "a,b,c,d");
  EXPECT_TRUE(isConsistent(*d));
}

TEST(MutableOrderedDictionarySetting, SetEntriesToObjectsMergesUpToTheShorterList) {
  auto d = lettered(2);
  d->setEntriesToObjects(*arr({num(9), num(8), num(7)}), *arr({str("b"), str("z")}));
  EXPECT_EQ(keysOf(*d), "a,b,z");
  EXPECT_EQ(objectsOf(*d), "1,9,8");
  d->setEntriesToOrderedDictionary(*lettered(1));
  EXPECT_EQ(objectsOf(*d), "1,9,8");
}

TEST(MutableOrderedDictionarySetting, NilSubscriptRemovesAndRaisesWhenAbsent) {
  auto d = lettered(3);
  d->setObjectForKeyedSubscript(nullptr, str("b"));
  EXPECT_EQ(keysOf(*d), "a,c");
  EXPECT_EQ(raisedBy([&] { d->setObjectForKeyedSubscript(nullptr, str("q")); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { d->setObject(nullptr, str("q")); }).name(), ExceptionName::InvalidArgument);
  EXPECT_EQ(keysOf(*d), "a,c");
}

TEST(MutableOrderedDictionarySetting, AtIndexWithANewKeyInsertsTheKeyListAtTheFront) {
  auto d = lettered(3);
  auto object = str("new");
  d->setObject(object, str("n"), 2);
  ASSERT_EQ(d->count(), 4u);
  EXPECT_EQ(d->keyAtIndex(0).get(), d->allKeys().get());  // the key list itself is the key
  EXPECT_EQ(d->objectAtIndex(0).get(), object.get());
  EXPECT_EQ(d->objectForKey(str("n")), nullptr);
  d->removeEntryAtIndex(0);  // breaks the list's reference to itself
  EXPECT_EQ(keysOf(*d), "a,b,c");
  EXPECT_TRUE(isConsistent(*d));

  d->setObject(num(7), str("c"), 0);  // an existing key keeps its place
  EXPECT_EQ(objectsOf(*d), "1,2,7");
}

// --- Insertion positions ----------------------------------------------------------

TEST(MutableOrderedDictionaryInserting, ExistingKeysMoveNewKeysGoToTheFrontIndexZeroWraps) {
  auto d = lettered(4);
  d->insertObject(num(4), str("d"), 1);  // e = 3, t = 0
  EXPECT_EQ(keysOf(*d), "d,a,b,c");
  auto e = lettered(4);
  e->insertObject(num(1), str("a"), 2);  // e = 0, t = 2
  EXPECT_EQ(keysOf(*e), "b,c,a,d");
  EXPECT_TRUE(isConsistent(*e));

  auto n = lettered(3);
  n->insertObject(num(9), str("n"), 2);
  EXPECT_EQ(keysOf(*n), "n,a,b,c");
  n->insertEntriesFromOrderedDictionary(
      *TQOrderedDictionary::withObjects(arr({num(7), num(8)}), arr({str("x"), str("y")})), 1);
  EXPECT_EQ(keysOf(*n), "y,x,n,a,b,c");
  EXPECT_TRUE(isConsistent(*n));

  auto wrapped = lettered(3);
  EXPECT_EQ(raisedBy([&] { wrapped->insertObject(num(3), str("c"), 0); }).name(), ExceptionName::Range);
  EXPECT_EQ(keysOf(*wrapped), "a,b");  // removed from its old place before the insertion failed
}

// --- Removing -------------------------------------------------------------------------

TEST(MutableOrderedDictionaryRemoving, AbsentTargetsRaiseRange) {
  auto d = lettered(2);
  EXPECT_EQ(raisedBy([&] { d->removeEntryWithKey(str("q")); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { d->removeObjectForKey(str("q")); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { d->removeEntryWithObject(num(5)); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { d->removeEntry(*dict({{str("a"), num(2)}})); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { d->removeEntryWithObjectIdenticalTo(num(1)); }).name(), ExceptionName::Range);
  EXPECT_EQ(keysOf(*d), "a,b");
  auto removeThree = [&] { d->removeEntriesWithKeysInArray(*arr({str("a"), str("q"), str("b")})); };
  EXPECT_EQ(raisedBy(removeThree).name(), ExceptionName::Range);
  EXPECT_EQ(keysOf(*d), "b");  // what was removed before the failure stays removed
  d->removeLastEntry();
  EXPECT_EQ(raisedBy([&] { d->removeLastEntry(); }).name(), ExceptionName::Range);
}

TEST(MutableOrderedDictionaryRemoving, RangeRemovalTakesEverySecondEntryIndexSetRemovalTheRun) {
  auto d = lettered(4);
  d->removeEntriesInRange(Range{0, 2});
  EXPECT_EQ(keysOf(*d), "b,d");
  EXPECT_TRUE(isConsistent(*d));
  auto e = lettered(4);
  EXPECT_EQ(raisedBy([&] { e->removeEntriesInRange(Range{0, 3}); }).name(), ExceptionName::Range);
  EXPECT_EQ(keysOf(*e), "b,d");
  e->removeEntriesInRange(Range{1, 0});
  EXPECT_EQ(keysOf(*e), "b,d");

  auto f = lettered(5);
  f->removeEntriesAtIndexes(*make<IndexSet>(std::vector<Range>{{0, 2}, {3, 1}}));
  EXPECT_EQ(keysOf(*f), "c,e");
  EXPECT_TRUE(isConsistent(*f));
}

TEST(MutableOrderedDictionaryRemoving, EntryInRangeRemovesByTheRelativeIndex) {
  auto d = lettered(5);
  d->removeEntryWithObject(num(4), str("d"), Range{2, 3});  // found at 1 within the range
  EXPECT_EQ(keysOf(*d), "a,c,d,e");
  d->removeEntry(*dict({{str("a"), num(1)}}), Range{0, 2});  // from 0 the index is right
  EXPECT_EQ(keysOf(*d), "c,d,e");
  d->removeEntryWithKey(str("e"), Range{1, 2});  // the key form is absolute
  EXPECT_EQ(keysOf(*d), "c,d");
}

// --- Replacing and exchanging ---------------------------------------------------------------

TEST(MutableOrderedDictionaryReplacing, DuplicateKeyIsNotChecked) {
  auto d = lettered(3);
  d->replaceEntryAtIndex(0, num(9), str("c"));
  EXPECT_EQ(keysOf(*d), "c,b,c");
  EXPECT_TRUE(isEqual(d->objectForKey(str("c")), num(9)));
  EXPECT_EQ(d->objectForKey(str("a")), nullptr);
  EXPECT_EQ(d->count(), 3u);
}

TEST(MutableOrderedDictionaryReplacing, ListsPairByCounterAndSkipSurplus) {
  auto d = lettered(4);
  IndexSet indexes(std::vector<Range>{{0, 1}, {2, 2}});
  d->replaceEntriesAtIndexes(indexes, *arr({num(10), num(30)}), *arr({str("x"), str("y"), str("z")}));
  EXPECT_EQ(keysOf(*d), "x,b,y,d");
  EXPECT_EQ(objectsOf(*d), "10,2,30,4");
  d->replaceEntriesInRange(Range{0, 2}, *arr({num(1), num(2), num(5), num(6)}),
                           *arr({str("k1"), str("k2"), str("k5"), str("k6")}), Range{2, 2});
  EXPECT_EQ(keysOf(*d), "k5,k6,y,d");
  EXPECT_TRUE(isConsistent(*d));
}

TEST(MutableOrderedDictionaryReplacing, EntriesUseTheFirstEntrysFirstElementEverywhere) {
  auto d = lettered(3);
  d->replaceEntriesAtIndexes(IndexSet(Range{1, 2}), *arr({dict({{str("k"), num(7)}}), dict({{str("m"), num(8)}})}));
  EXPECT_EQ(keysOf(*d), "a,k,k");
  EXPECT_EQ(objectsOf(*d), "1,k,k");
  d->replaceEntriesInRange(Range{0, 1}, *arr({}));
  EXPECT_EQ(keysOf(*d), "a,k,k");
}

TEST(MutableOrderedDictionaryReplacing, OrderedSourceGivesItsFirstPairToEveryIndex) {
  auto d = lettered(3);
  auto source = TQOrderedDictionary::withObjects(arr({num(7), num(8)}), arr({str("p"), str("q")}));
  d->replaceEntriesInRange(Range{0, 2}, *source);
  EXPECT_EQ(keysOf(*d), "p,p,c");
  EXPECT_EQ(objectsOf(*d), "7,7,3");
  auto e = lettered(3);
  e->replaceEntriesInRange(Range{1, 2}, *source, Range{1, 1});  // cut source: q only
  EXPECT_EQ(keysOf(*e), "a,q,c");
}

TEST(MutableOrderedDictionaryReordering, ExchangeLeavesLookupsAlone) {
  auto d = lettered(3);
  d->exchangeEntryAtIndex(0, 2);
  EXPECT_EQ(keysOf(*d), "c,b,a");
  EXPECT_TRUE(isEqual(d->objectForKey(str("a")), num(1)));
  EXPECT_TRUE(isConsistent(*d));
  EXPECT_EQ(raisedBy([&] { d->exchangeEntryAtIndex(0, 3); }).name(), ExceptionName::Range);
}

// --- Sorting ------------------------------------------------------------------------------

TEST(OrderedDictionarySorting, ByKeysCarriesObjects) {
  auto d = TQMutableOrderedDictionary::withObjects(arr({num(3), num(1), num(2)}), arr({str("c"), str("a"), str("b")}));
  auto sorted = d->sortedByKeysUsingSelector(compareSelector);
  EXPECT_EQ(keysOf(*sorted), "a,b,c");
  EXPECT_EQ(objectsOf(*sorted), "1,2,3");
  Ref<Array> liveBefore = d->allKeys();
  d->sortEntriesByKeysUsingSelector(compareSelector);
  EXPECT_EQ(keysOf(*d), "a,b,c");
  EXPECT_EQ(objectsOf(*d), "1,2,3");
  EXPECT_TRUE(isConsistent(*d));
  EXPECT_EQ(testing::joined(*liveBefore), "c,a,b");  // the fields are replaced, not edited
}

TEST(OrderedDictionarySorting, ByObjectsMatchesEqualObjectsByIdentity) {
  auto first = str("x");
  auto second = str("x");
  auto d =
      TQMutableOrderedDictionary::withObjects(arr({first, str("a"), second}), arr({str("k1"), str("k2"), str("k3")}));
  EXPECT_EQ(testing::joined(*d->keysForSortedObjects(*arr({second, first, d->objectAtIndex(1)}))), "k3,k1,k2");
  d->sortEntriesByObjectWithOptions(SortOptions::Stable,
                                    [](const Id& a, const Id& b) { return compareSelector(*b, *a); });
  EXPECT_EQ(keysOf(*d), "k1,k3,k2");
  EXPECT_EQ(d->objectAtIndex(1).get(), second.get());
  EXPECT_TRUE(isConsistent(*d));
  auto byDescriptor = d->sortedByObjectsUsingDescriptors({SortDescriptor::sortDescriptorWithKey(nullptr, true)});
  EXPECT_EQ(keysOf(*byDescriptor), "k2,k1,k3");
}

TEST(OrderedDictionarySorting, PairingListsMustCoverTheDictionary) {
  auto d = lettered(3);
  EXPECT_EQ(raisedBy([&] { d->keysForSortedObjects(*arr({d->objectAtIndex(0)})); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { d->keysForSortedObjects(*arr({num(1), num(2), num(3)})); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] {
              d->objectsForSortedKeys(*arr({str("a"), str("q")}));
            }).name(),
            ExceptionName::InvalidArgument);
}

// --- Filtering ----------------------------------------------------------------------------

Predicate keepingIndexes(const TQOrderedDictionary& d, std::vector<Index> kept) {
  std::vector<const Object*> objects;
  for (Index i : kept) objects.push_back(d.objectAtIndex(i).get());
  return [objects](const Id& o) { return std::find(objects.begin(), objects.end(), o.get()) != objects.end(); };
}

TEST(OrderedDictionaryFiltering, NewDictionarySkipsTheEntryAfterEachMatch) {
  TQ_REQUIRE_ASSERTIONS();
  auto d = lettered(5);
  auto spaced = d->filteredOrderDictionarysUsingPredicateForObjects(keepingIndexes(*d, {0, 2}));
  EXPECT_EQ(keysOf(*spaced), "a,c");
  Exception e = raisedBy([&] { d->filteredOrderDictionarysUsingPredicateForObjects(keepingIndexes(*d, {0, 1})); });
  EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency);
  EXPECT_EQ(e.reason(), "The amount of objects does not match the number of keys");
}

TEST(OrderedDictionaryFiltering, InPlaceFilterWorksOnlyWhenEverythingPasses) {
  auto d = lettered(3);
  d->filterEntriesUsingPredicateForObjects([](const Id&) { return true; });
  EXPECT_EQ(keysOf(*d), "a,b,c");
  EXPECT_TRUE(isConsistent(*d));
  auto filterTwo = [&] { d->filterEntriesUsingPredicateForObjects(keepingIndexes(*d, {0, 2})); };
  EXPECT_EQ(raisedBy(filterTwo).name(), ExceptionName::Range);
  EXPECT_EQ(keysOf(*d), "a,b,c");
  EXPECT_TRUE(isConsistent(*d));
}

}  // namespace
}  // namespace tq
