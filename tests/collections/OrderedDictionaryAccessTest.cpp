// Access, searching, enumeration and descriptions of the ordered dictionary.

#include <atomic>

#include "OrderedDictionaryTestSupport.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/object/Assert.h"

namespace tq {
namespace {

// The helpers of OrderedDictionaryTestSupport.h.
using namespace testing;

TEST(OrderedDictionaryAccess, IndexAndKeyLookupsAgree) {
  auto d = lettered(3);
  EXPECT_EQ(describeUTF8(d->keyAtIndex(2)), "c");
  EXPECT_TRUE(isEqual(d->objectAtIndexedSubscript(1), num(2)));
  EXPECT_TRUE(isEqual(d->objectForKeyedSubscript(str("c")), num(3)));
  EXPECT_EQ(d->objectForKey(str("zz")), nullptr);
  EXPECT_TRUE(isEqual(d->lastObject(), num(3)));
  EXPECT_EQ(describeUTF8(d->firstKey()), "a");
  EXPECT_EQ(testing::joined(*d->objectForKeys(*arr({str("b"), str("q")}), str("-"))), "2,-");
}

TEST(OrderedDictionaryAccess, OutOfRangeIndexesRaiseRangeAndChangeNothing) {
  auto d = lettered(3);
  Exception e = raisedBy([&] { d->objectAtIndex(3); });
  EXPECT_EQ(e.name(), ExceptionName::Range);
  EXPECT_EQ(e.reason(), "*** -[MutableArray objectAtIndex:]: index 3 beyond bounds [0 .. 2]");
  EXPECT_EQ(raisedBy([&] { d->entryAtIndex(7); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { d->keysAtIndexes(IndexSet(Range{2, 2})); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { d->removeEntryAtIndex(3); }).name(), ExceptionName::Range);
  EXPECT_EQ(keysOf(*d), "a,b,c");
}

TEST(OrderedDictionaryAccess, EntriesAreOnePairDictionaries) {
  auto d = lettered(3);
  auto entry = d->entryAtIndex(1);
  EXPECT_EQ(entry->count(), 1u);
  EXPECT_TRUE(isEqual(entry->objectForKey("b"), num(2)));
  EXPECT_TRUE(isEqual(d->lastEntry()->objectForKey("c"), num(3)));
  auto picked = d->EntriesAtIndexes(*make<IndexSet>(std::vector<Range>{{0, 1}, {2, 1}}));
  EXPECT_EQ(keysOf(*picked), "a,c");
  EXPECT_EQ(d->unorderedEntriesAtIndexes(IndexSet(Range{1, 2}))->count(), 2u);
  EXPECT_FALSE(d->containsEntry(*dict({{str("a"), arr({})}})));
}

TEST(OrderedDictionaryAccess, EmptyDictionaryEntriesFailOnNil) {
  auto d = TQOrderedDictionary::orderedDictionary();
  EXPECT_EQ(d->firstObject(), nullptr);
  EXPECT_EQ(raisedBy([&] { d->firstEntry(); }).name(), ExceptionName::InvalidArgument);
  EXPECT_EQ(raisedBy([&] { d->lastEntry(); }).name(), ExceptionName::InvalidArgument);
}

TEST(OrderedDictionaryAccess, AllKeysIsTheLiveList) {
  auto d = lettered(2);
  Ref<Array> keys = d->allKeys();
  Ref<Array> objects = d->allObjects();
  d->insertObject(num(9), str("new"), 1);
  EXPECT_EQ(testing::joined(*keys), "new,a,b");
  EXPECT_EQ(testing::joined(*objects), "9,1,2");
}

// --- containsObject:pairedWithKey: asks the object argument about itself. ---

TEST(OrderedDictionaryContainsPair, NonCollectionObjectRaisesUnrecognizedMessage) {
  auto d = lettered(2);
  Exception e = raisedBy([&] { d->containsObject(num(1), str("a")); });
  EXPECT_EQ(e.name(), ExceptionName::UnrecognizedMessage);
  EXPECT_EQ(e.reason().rfind("-[Number containsObject:]", 0), 0u) << e.reason();
  EXPECT_EQ(raisedBy([&] { d->containsEntry(*d->entryAtIndex(0)); }).name(), ExceptionName::UnrecognizedMessage);
}

TEST(OrderedDictionaryContainsPair, ListsAnswerWhetherTheyContainThemselves) {
  auto d = TQMutableOrderedDictionary::orderedDictionary();
  auto list = MutableArray::arrayWithArray(*arr({num(1)}));
  d->addObject(list, str("k"));
  // The pair is present, yet the list does not contain itself: NO.
  EXPECT_FALSE(d->containsObject(list, str("k")));
  EXPECT_FALSE(d->containsObject(nullptr, str("k")));
  EXPECT_FALSE(d->containsObject(Set::setWithObject(str("k")), str("k")));  // sets answer too

  auto selfContaining = MutableArray::array();
  selfContaining->addObject(selfContaining);
  // Not in the dictionary at all, but it contains itself and the key exists.
  EXPECT_TRUE(d->containsObject(selfContaining, str("k")));
  EXPECT_FALSE(d->containsObject(selfContaining, str("absent")));
  selfContaining->removeAllObjects();
}

// --- Searching ---------------------------------------------------------------------

TEST(OrderedDictionarySearching, EntrySearchNeedsObjectAndKeyAtOneIndex) {
  auto d = TQOrderedDictionary::withObjects(arr({num(1), num(7), num(3), num(7)}),
                                            arr({str("a"), str("b"), str("c"), str("d")}));
  EXPECT_EQ(d->indexOfEntryWithObject(num(7), str("d")), 3u);
  EXPECT_EQ(d->indexOfEntryWithObject(num(7), str("c")), NotFound);
  EXPECT_EQ(d->indexOfEntry(*dict({{str("b"), num(7)}})), 1u);
}

TEST(OrderedDictionarySearching, EntrySearchInRangeIsRelativeObjectSearchAbsolute) {
  auto d = lettered(7);  // f -> 6 stands at index 5
  EXPECT_EQ(d->indexOfEntryWithObject(num(6), str("f"), Range{3, 4}), 2u);
  EXPECT_EQ(d->indexOfEntry(*dict({{str("f"), num(6)}}), Range{3, 4}), 2u);
  EXPECT_EQ(d->indexOfObject(num(6), Range{3, 4}), 5u);
  EXPECT_EQ(d->indexOfKey(str("f"), Range{3, 4}), 5u);
  EXPECT_EQ(d->indexOfEntryWithObject(num(1), str("a"), Range{3, 4}), NotFound);
}

TEST(OrderedDictionarySearching, IdentityLookupsRaiseWhenNothingIsIdentical) {
  auto value = str("v");
  auto d = TQOrderedDictionary::withObjects(arr({str("v"), value}), arr({str("first"), str("second")}));
  EXPECT_EQ(d->indexOfObject(value), 0u);
  EXPECT_EQ(d->indexOfObjectIdenticalTo(value), 1u);
  EXPECT_EQ(describeUTF8(d->keyOfObjectIdenticalTo(value)), "second");
  EXPECT_EQ(raisedBy([&] { d->keyOfObjectIdenticalTo(str("v")); }).name(), ExceptionName::Range);
  EXPECT_EQ(raisedBy([&] { d->keyOfObjectIdenticalTo(value, Range{0, 1}); }).name(), ExceptionName::Range);
}

TEST(OrderedDictionarySearching, TestSearchesAnswerKeysOrRaise) {
  auto d = lettered(5);
  auto even = [](const Id& o, Index, bool*) { return cast<Number>(o)->integerValue() % 2 == 0; };
  EXPECT_EQ(describeUTF8(d->keyOfObjectPassingTest(even)), "b");
  EXPECT_EQ(describeUTF8(d->keyOfObjectWithOptions(EnumerationOptions::Reverse, even)), "d");
  EXPECT_EQ(testing::joined(*d->keysOfObjectsPassingTest(even)), "b,d");
  EXPECT_EQ(testing::joined(*d->keysOfObjectsAtIndexes(IndexSet(Range{2, 3}), EnumerationOptions::Concurrent, even)),
            "d");
  EXPECT_EQ(raisedBy([&] { d->keyOfObjectPassingTest([](const Id&, Index, bool*) { return false; }); }).name(),
            ExceptionName::Range);
}

TEST(OrderedDictionarySearching, KeyOfObjectSearchesTheArgument) {
  auto d = lettered(3);
  auto list = arr({num(5), num(6), num(7)});
  // The argument searches itself for itself; this comparator finds 6 there.
  Comparator findSix = [](const Id& element, const Id& probe) {
    const Id& value = isKindOf<Array>(element) ? Id(num(6)) : element;
    const Id& other = isKindOf<Array>(probe) ? Id(num(6)) : probe;
    return compareSelector(*value, *other);
  };
  EXPECT_EQ(describeUTF8(d->keyOfObject(list, Range{0, 3}, BinarySearchingOptions::None, findSix)), "b");
  EXPECT_EQ(describeUTF8(d->keyOfObject(nullptr, Range{0, 3}, BinarySearchingOptions::None, findSix)), "a");
  auto searchTwo = [&] { d->keyOfObject(num(2), Range{0, 3}, BinarySearchingOptions::None, findSix); };
  EXPECT_EQ(raisedBy(searchTwo).name(), ExceptionName::UnrecognizedMessage);
}

TEST(OrderedDictionarySearching, FirstInCommon) {
  auto d = TQOrderedDictionary::withObjects(arr({num(1), num(2), num(3)}), arr({str("a"), str("b"), str("c")}));
  auto other = TQOrderedDictionary::withObjects(arr({num(3), num(2)}), arr({str("c"), str("b")}));
  EXPECT_TRUE(isEqual(d->firstObjectInCommonWithOrderedDictionary(*other), num(2)));
  EXPECT_EQ(describeUTF8(d->firstKeyInCommonWithOrderedDictionary(*other)), "b");
}

// Counts the equality questions it is asked.
class EqualityProbe : public Object {
 public:
  explicit EqualityProbe(int* asked) : asked_(asked) {}
  bool isEqual(const Object& other) const override {
    ++*asked_;
    return this == &other;
  }

 private:
  int* asked_;
};

TEST(OrderedDictionaryFirstEntryInCommon, NoCommonKeyOrAnEmptyListKeyAnswersNil) {
  auto d = TQOrderedDictionary::withObjects(arr({num(1)}), arr({str("a")}));
  auto other = TQOrderedDictionary::withObjects(arr({num(1)}), arr({str("z")}));
  EXPECT_EQ(d->firstEntryInCommonWithOrderedDictionary(*other), nullptr);
  auto emptyList = Array::array();
  auto withEmpty = TQOrderedDictionary::withObjects(arr({num(1), num(2)}), arr({str("a"), emptyList}));
  auto otherWithEmpty = TQOrderedDictionary::withObjects(arr({num(3)}), arr({Array::array()}));
  EXPECT_EQ(withEmpty->firstEntryInCommonWithOrderedDictionary(*otherWithEmpty), nullptr);
}

TEST(OrderedDictionaryFirstEntryInCommon, AStringKeyDoesNotKnowCount) {
  auto d = TQOrderedDictionary::withObjects(arr({num(1), num(2)}), arr({str("a"), str("b")}));
  auto other = TQOrderedDictionary::withObjects(arr({num(2)}), arr({str("b")}));
  Exception e = raisedBy([&] { d->firstEntryInCommonWithOrderedDictionary(*other); });
  EXPECT_EQ(e.name(), ExceptionName::UnrecognizedMessage);
  EXPECT_EQ(e.reason().rfind("-[String count]: unrecognized selector sent to instance 0x", 0), 0u) << e.reason();
}

TEST(OrderedDictionaryFirstEntryInCommon, ANonEmptyListKeyWouldLoopForeverAndAsserts) {
  TQ_REQUIRE_ASSERTIONS();
  int asked = 0;
  auto element = str("k");
  auto list = arr({element});
  auto d = TQOrderedDictionary::withObjects(arr({num(1), make<EqualityProbe>(&asked)}), arr({list, element}));
  auto other = TQOrderedDictionary::withObjects(arr({make<EqualityProbe>(&asked), num(2)}), arr({element, list}));
  Exception e = raisedBy([&] { d->firstEntryInCommonWithOrderedDictionary(*other); });
  EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency);
  EXPECT_EQ(e.reason(),
            "-[TQOrderedDictionary firstEntryInCommonWithOrderedDictionary:] loops without end on a non-empty list "
            "key");
  EXPECT_EQ(asked, 1) << "one turn of the walk compares the two objects for the list's first element";

  // A handler that returns lets the call go on, and it answers nil.
  RecordedAssertions reports;
  EXPECT_EQ(d->firstEntryInCommonWithOrderedDictionary(*other), nullptr);
  ASSERT_EQ(reports.failures.size(), 1u);
  EXPECT_NE(reports.failures[0].file.find("TQOrderedDictionarySearching.cpp"), std::string::npos);
}

TEST(OrderedDictionaryFirstEntryInCommon, TheKeyListThatHoldsItselfIsSuchAKey) {
  TQ_REQUIRE_ASSERTIONS();
  auto d = lettered(2);
  d->setObject(num(9), str("new"), 1);  // the key list becomes its own first key
  auto copy = cast<TQOrderedDictionary>(d->copy());
  EXPECT_EQ(raisedBy([&] { d->firstEntryInCommonWithOrderedDictionary(*copy); }).name(),
            ExceptionName::InternalInconsistency);
  d->removeEntryAtIndex(0);
}

// --- Enumeration ---------------------------------------------------------------------

TEST(OrderedDictionaryEnumeration, RangeForAndEnumeratorsFollowTheOrder) {
  auto d = lettered(3);
  std::string walked;
  for (const Id& key : *d) walked += describeUTF8(key);
  EXPECT_EQ(walked, "abc");
  EXPECT_EQ(testing::joined(*d->reverseKeyEnumerator()->allObjects()), "c,b,a");
  EXPECT_EQ(testing::joined(*d->reverseObjectEnumerator()->allObjects()), "3,2,1");
}

TEST(OrderedDictionaryEnumeration, RangeForRaisesWhenEntriesComeOrGoDuringTheWalk) {
  auto d = lettered(4);
  Exception e = raisedBy([&] {
    for (const Id& key : *d) d->removeEntryWithKey(key);
  });
  EXPECT_EQ(e.name(), ExceptionName::Generic);
  EXPECT_NE(e.reason().find("was mutated while being enumerated"), std::string::npos) << e.reason();
  EXPECT_EQ(keysOf(*d), "b,c,d");  // the first removal happened
  EXPECT_EQ(raisedBy([&] {
              for (const Id& key : *d) d->addObject(num(0), str(describeUTF8(key) + "2"));
            }).name(),
            ExceptionName::Generic);
  EXPECT_EQ(raisedBy([&] {
              for ([[maybe_unused]] const Id& key : *d) d->sortEntriesByKeysUsingSelector(compareSelector);
            }).name(),
            ExceptionName::Generic);
  // Replacing objects in place leaves the walk alone.
  std::string walked;
  for (const Id& key : *d) {
    d->setObject(num(7), key);
    walked += describeUTF8(key);
  }
  EXPECT_EQ(walked, "bb2cd");
  EXPECT_EQ(objectsOf(*d), "7,7,7,7");
}

TEST(OrderedDictionaryEnumeration, EntryEnumeratorIsASnapshot) {
  auto d = lettered(2);
  Ref<Enumerator> entries = d->entryEnumerator();
  d->removeAllEntries();
  auto first = cast<Dictionary>(entries->nextObject());
  ASSERT_TRUE(first);
  EXPECT_TRUE(isEqual(first->objectForKey("a"), num(1)));
  EXPECT_TRUE(entries->nextObject());
  EXPECT_EQ(entries->nextObject(), nullptr);
}

TEST(OrderedDictionaryEnumeration, ReverseEntryEnumeratorAlwaysRaisesRange) {
  Exception e = raisedBy([] { lettered(3)->reverseEntryEnumerator(); });
  EXPECT_EQ(e.name(), ExceptionName::Range);
  EXPECT_NE(e.reason().find("index 3 beyond bounds"), std::string::npos) << e.reason();
  EXPECT_EQ(raisedBy([] { TQOrderedDictionary::orderedDictionary()->reverseEntryEnumerator(); }).name(),
            ExceptionName::Range);
}

TEST(OrderedDictionaryEnumeration, KeysAndObjectsWithOptions) {
  auto d = lettered(4);
  std::string seen;
  d->enumerateKeysAndObjectsWithOptions(
      EnumerationOptions::Reverse, [&](const Id& k, const Id& o, Index i, bool* stop) {
        seen += describeUTF8(k) + "=" + describeUTF8(o) + "@" + std::to_string(i) + " ";
        if (i == 2) *stop = true;
      });
  EXPECT_EQ(seen, "d=4@3 c=3@2 ");
  std::atomic<int> sum{0};
  d->enumerateKeysAndObjectsWithOptions(EnumerationOptions::Concurrent, [&](const Id&, const Id& o, Index, bool*) {
    sum += int(cast<Number>(o)->integerValue());
  });
  EXPECT_EQ(sum.load(), 10);
}

TEST(OrderedDictionaryKeyValueCoding, ValueForKeyAsksObjectsKeyPathAsksPairs) {
  auto inner = dict({{str("x"), num(42)}});
  auto d = TQOrderedDictionary::withObjects(arr({inner, dict({{str("x"), num(7)}})}), arr({str("in"), str("other")}));
  EXPECT_EQ(testing::joined(*d->valueForKey(*str("x"))), "42,7");
  EXPECT_TRUE(isEqual(d->valueForKeyPath(*str("in.x")), num(42)));
  EXPECT_EQ(d->valueForKeyPath(*str("missing.x")), nullptr);
}

TEST(OrderedDictionaryKeyValueCoding, SetValueGoesToEveryObject) {
  auto first = make<MutableDictionary>();
  auto second = make<MutableDictionary>();
  second->setObject(num(1), str("x"));
  auto d = TQOrderedDictionary::withObjects(arr({first, second}), arr({str("a"), str("b")}));
  d->setValue(num(5), *str("x"));
  EXPECT_EQ(testing::joined(*d->valueForKey(*str("x"))), "5,5");
  d->setValue(nullptr, *str("x"));
  EXPECT_EQ(second->count(), 0u);
  auto plain = TQOrderedDictionary::orderedDictionaryWithObject(num(1), str("a"));
  EXPECT_EQ(raisedBy([&] { plain->setValue(num(2), *str("x")); }).name(), ExceptionName::UnrecognizedMessage);
}

TEST(OrderedDictionaryKeyValueCoding, SetValueForKeyPathWritesThroughTheMapAlone) {
  auto inner = make<MutableDictionary>();
  auto d = TQOrderedDictionary::withObjects(arr({inner, num(2)}), arr({str("in"), str("b")}));
  d->setValueForKeyPath(num(42), *str("in.x"));
  EXPECT_TRUE(isEqual(inner->objectForKey("x"), num(42)));
  // A one-key path changes the map but not the lists: lookups by key and by
  // index disagree from then on.
  d->setValueForKeyPath(num(9), *str("b"));
  EXPECT_TRUE(isEqual(d->objectForKey(str("b")), num(9)));
  EXPECT_TRUE(isEqual(d->objectAtIndex(1), num(2)));
  d->setValueForKeyPath(num(3), *str("new"));
  EXPECT_TRUE(isEqual(d->objectForKey(str("new")), num(3)));
  EXPECT_EQ(keysOf(*d), "in,b");
  d->setValueForKeyPath(nullptr, *str("b"));
  EXPECT_EQ(d->objectForKey(str("b")), nullptr);
  EXPECT_EQ(d->count(), 2u);
  EXPECT_FALSE(testing::isConsistent(*d));
}

// Records what it hears: "keyPath:new" per notification.
class HeardLog : public Object {
 public:
  void observeValueForKeyPath(const String& keyPath, const Id& object, const Ref<Dictionary>& change,
                              void* context) override {
    heard.push_back(keyPath.utf8() + ":" + describeUTF8(change->objectForKey(KeyValueChangeKey::New)));
    objects.push_back(object.get());
  }
  std::vector<std::string> heard;
  std::vector<const Object*> objects;
};

TEST(OrderedDictionaryObserving, ObserversOfObjectsAtIndexesHearSetValue) {
  std::vector<Ref<MutableDictionary>> people{make<MutableDictionary>(), make<MutableDictionary>(),
                                             make<MutableDictionary>()};
  auto d =
      TQOrderedDictionary::withObjects(arr({people[0], people[1], people[2]}), arr({str("a"), str("b"), str("c")}));
  auto observer = make<HeardLog>();
  auto indexes = make<MutableIndexSet>();
  indexes->addIndex(1);
  indexes->addIndex(2);
  d->addObserver(observer, *indexes, *str("age"), KeyValueObservingOptions::New, nullptr);
  d->setValue(num(30), *str("age"));
  EXPECT_EQ(testing::joined(*arr({str(observer->heard.at(0)), str(observer->heard.at(1))})), "age:30,age:30");
  EXPECT_EQ(observer->objects, (std::vector<const Object*>{people[1].get(), people[2].get()}));
  d->removeObserver(observer, *indexes, *str("age"));
  d->setValue(num(31), *str("age"));
  EXPECT_EQ(observer->heard.size(), 2u);
  EXPECT_EQ(raisedBy([&] { d->removeObserver(observer, *indexes, *str("age")); }).name(), ExceptionName::Range);
}

TEST(OrderedDictionaryObserving, ObserversOfTheDictionaryHearSetValueForKeyPath) {
  auto d = lettered(2);
  auto observer = make<HeardLog>();
  int context = 0;
  d->addObserver(observer, *str("b"), KeyValueObservingOptions::New, &context);
  d->setValueForKeyPath(num(9), *str("b"));
  d->setValueForKeyPath(num(8), *str("a"));
  ASSERT_EQ(observer->heard.size(), 1u);
  EXPECT_EQ(observer->heard[0], "b:9");
  EXPECT_NE(observer->objects[0], static_cast<const Object*>(d.get())) << "the key -> object map is observed";
  Exception e = raisedBy([&] { d->removeObserver(observer, *str("b"), nullptr); });
  EXPECT_EQ(e.name(), ExceptionName::Range) << "the context must match";
  d->removeObserver(observer, *str("b"), &context);
  d->setValueForKeyPath(num(7), *str("b"));
  EXPECT_EQ(observer->heard.size(), 1u);
}

// --- Descriptions -------------------------------------------------------------------------

class LocaleOnly : public Object {
 public:
  Ref<String> descriptionWithLocale(const Id& locale) const override { return str("L:" + describeUTF8(locale)); }
};

TEST(OrderedDictionaryDescription, PlainLocaleAndIndentedForms) {
  auto d = TQOrderedDictionary::withObjects(arr({num(1), num(2)}), arr({str("a"), str("b")}));
  EXPECT_EQ(describeUTF8(d), "{\n\ta = 1;\n\tb = 2\n}");
  EXPECT_EQ(describeUTF8(TQOrderedDictionary::orderedDictionary()), "{\n}");
  // The locale form nests at level one.
  auto inner = TQOrderedDictionary::orderedDictionaryWithObject(num(1), str("x"));
  auto localised = TQOrderedDictionary::withObjects(arr({inner, make<LocaleOnly>()}), arr({str("a"), str("b")}));
  EXPECT_EQ(describeUTF8(localised->descriptionWithLocale(str("fr"))), "{\n\ta =     {\t\nx = 1\n\t};\n\tb = L:fr\n}");
  // An indent puts its tabs before the line break.
  EXPECT_EQ(describeUTF8(d->descriptionWithLocale(nullptr, 2)), "    {\t\t\na = 1;\t\t\nb = 2\n\t\t}");
  auto nested = TQOrderedDictionary::orderedDictionaryWithObject(d, str("n"));
  EXPECT_EQ(describeUTF8(nested->descriptionWithLocale(nullptr, 0)), "    {\nn =     {\t\na = 1;\t\nb = 2\n\t}\n}");
}

TEST(OrderedDictionaryDescription, NestedListsAndDictionariesRenderAtTheNextLevel) {
  auto d =
      TQOrderedDictionary::withObjects(arr({arr({num(1)}), dict({{str("x"), num(1)}})}), arr({str("l"), str("m")}));
  EXPECT_EQ(describeUTF8(d), "{\n\tl = (\n    1\n);\n\tm = {\n    x = 1;\n}\n}") << "plain: their own description";
  EXPECT_EQ(describeUTF8(d->descriptionWithLocale(nullptr)),
            "{\n\tl =     (\n        1\n    );\n\tm =     {\n        x = 1;\n    }\n}");
  EXPECT_EQ(describeUTF8(d->descriptionWithLocale(nullptr, 0)),
            "    {\nl =     (\n        1\n    );\nm =     {\n        x = 1;\n    }\n}");
  EXPECT_EQ(describeUTF8(d->descriptionWithLocale(nullptr, 1)),
            "    {\t\nl =         (\n            1\n        );\t\nm =         {\n            x = 1;\n        }\n\t}");
  auto withLocale = TQOrderedDictionary::orderedDictionaryWithObject(arr({make<LocaleOnly>()}), str("k"));
  EXPECT_EQ(describeUTF8(withLocale->descriptionWithLocale(str("fr"), 0)), "    {\nk =     (\n        L:fr\n    )\n}");
}

TEST(OrderedDictionaryDescription, AKeyListThatHoldsItselfRaisesInsteadOfRecursing) {
  TQ_REQUIRE_ASSERTIONS();
  auto d = lettered(2);
  d->setObject(num(9), str("new"), 1);  // the key list becomes its own first key
  Exception e = raisedBy([&] { d->description(); });
  EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency);
  EXPECT_EQ(e.reason(), "description of a collection that contains itself");
  EXPECT_EQ(raisedBy([&] { d->descriptionWithLocale(nullptr, 0); }).name(), ExceptionName::InternalInconsistency);

  {
    RecordedAssertions reports;
    std::string keys = describeUTF8(d->allKeys()->Object::description());
    EXPECT_EQ(describeUTF8(d), "{\n\t(\n    " + keys + ",\n    a,\n    b\n) = 9;\n\ta = 1;\n\tb = 2\n}");
    EXPECT_EQ(reports.failures.size(), 1u);
  }

  // Copies share the key list, so they are equal without a walk; two
  // dictionaries each holding its own key list would compare without end.
  auto copy = cast<TQOrderedDictionary>(d->copy());
  EXPECT_TRUE(d->isEqualToOrderedDictionary(*copy));
  auto other = lettered(2);
  other->setObject(num(9), str("new"), 1);
  EXPECT_EQ(raisedBy([&] { d->isEqualToOrderedDictionary(*other); }).reason(),
            "equality of a collection that contains itself");
  d->removeEntryAtIndex(0);  // break the cycles, or the lists would never be freed
  other->removeEntryAtIndex(0);
  EXPECT_EQ(describeUTF8(d), "{\n\ta = 1;\n\tb = 2\n}");
}

}  // namespace
}  // namespace tq
