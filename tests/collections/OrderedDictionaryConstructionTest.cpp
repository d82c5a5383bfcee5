// Construction, the checked initialiser, copying, archiving and files.

#include "OrderedDictionaryTestSupport.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/object/Assert.h"
#include "tq/platform/archive/KeyedArchive.h"
#include "tq/platform/archive/PropertyList.h"

namespace tq {
namespace {

// The helpers of OrderedDictionaryTestSupport.h.
using namespace testing;

TEST(OrderedDictionaryCheckedInitialiser, MismatchedCountsAndDuplicateKeysRaiseInternalInconsistency) {
  TQ_REQUIRE_ASSERTIONS();
  const std::pair<Ref<Array>, std::string> cases[] = {
      {arr({str("a"), str("b"), str("c")}), "The amount of objects does not match the number of keys"},
      {arr({str("a"), str("a")}), "There are duplicate keys on initialization"}};
  for (const auto& [keys, reason] : cases) {
    Exception e = raisedBy([&] { TQOrderedDictionary::withObjects(arr({num(1), num(2)}), keys); });
    EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency) << reason;
    EXPECT_EQ(e.reason(), reason);
  }
}

TEST(OrderedDictionaryCheckedInitialiser, ReportsTheFixedFileAndLines) {
  TQ_REQUIRE_ASSERTIONS();
  // A handler that returns lets construction go on, as with assertions off.
  RecordedAssertions recorded;
  auto d = TQOrderedDictionary::withObjects(arr({num(1), num(2)}), arr({str("a"), str("a"), str("b")}));
  const auto& reports = recorded.failures;
  ASSERT_EQ(reports.size(), 2u);
  EXPECT_EQ(reports[0].file, "TQOrderedDictionary");
  EXPECT_EQ(reports[0].line, 116);
  EXPECT_EQ(reports[1].file, "TQOrderedDictionary");
  EXPECT_EQ(reports[1].line, 117);
  EXPECT_EQ(reports[1].description, "There are duplicate keys on initialization");
  EXPECT_EQ(d->count(), 3u);
}

TEST(OrderedDictionaryCheckedInitialiser, NilListsGiveAnEmptyDictionary) {
  TQ_REQUIRE_ASSERTIONS();
  auto d = TQOrderedDictionary::withObjects(nullptr, nullptr);
  EXPECT_EQ(d->count(), 0u);
  EXPECT_EQ(d->firstKey(), nullptr);
  EXPECT_EQ(raisedBy([] { TQOrderedDictionary::withObjects(arr({num(1)}), nullptr); }).name(),
            ExceptionName::InternalInconsistency);
}

TEST(OrderedDictionaryCheckedInitialiser, DerivedDictionariesTripTheDuplicateCheck) {
  TQ_REQUIRE_ASSERTIONS();
  auto d = lettered(2);
  Exception e = raisedBy([&] { d->orderedDictionaryByAddingObject(num(9), str("b")); });
  EXPECT_EQ(e.reason(), "There are duplicate keys on initialization");
  auto grown = d->orderedDictionaryByAddingObjects(*arr({num(3)}), *arr({str("c")}));
  EXPECT_EQ(keysOf(*grown), "a,b,c");
  EXPECT_EQ(keysOf(*d), "a,b");
}

TEST(OrderedDictionaryConstruction, ConstructorsAnswerTheirClass) {
  auto plain = TQOrderedDictionary::orderedDictionaryWithObject(num(1), str("a"));
  auto editable = TQMutableOrderedDictionary::orderedDictionaryWithObject(num(1), str("a"));
  EXPECT_EQ(plain->className(), "TQOrderedDictionary");
  EXPECT_EQ(editable->className(), "TQMutableOrderedDictionary");
  EXPECT_TRUE(plain->isEqualToOrderedDictionary(*editable));
  EXPECT_FALSE(plain->isEqual(*editable));  // equality stays identity
}

TEST(OrderedDictionaryConstruction, PlainDictionaryKeepsItsEnumerationOrder) {
  auto source = dict({{str("z"), num(1)}, {str("y"), num(2)}, {str("x"), num(3)}});
  auto d = TQOrderedDictionary::orderedDictionaryWithDictionary(*source);
  EXPECT_EQ(keysOf(*d), "z,y,x");
  EXPECT_EQ(objectsOf(*d), "1,2,3");
  EXPECT_TRUE(isConsistent(*d));
}

TEST(OrderedDictionaryConstruction, IndexDictionaryUsesNumberKeysAndIsImmutable) {
  auto d = TQOrderedDictionary::indexDictionaryWithArray(*arr({str("x"), str("y"), str("z")}));
  EXPECT_EQ(d->className(), "TQOrderedDictionary");
  EXPECT_EQ(keysOf(*d), "0,1,2");
  EXPECT_TRUE(isKindOf<Number>(d->keyAtIndex(2)));
  EXPECT_EQ(describeUTF8(d->objectForKey(num(1u))), "y");
}

TEST(OrderedDictionaryConstruction, CopyEntriesCopiesEachElement) {
  auto source = TQMutableOrderedDictionary::orderedDictionary();
  auto value = make<MutableString>("v");
  source->addObject(value, str("k"));
  auto shared = TQOrderedDictionary::withOrderedDictionary(*source);
  auto copied = TQOrderedDictionary::withOrderedDictionary(*source, true);
  EXPECT_EQ(shared->objectAtIndex(0).get(), value.get());
  EXPECT_NE(copied->objectAtIndex(0).get(), value.get());
  EXPECT_TRUE(isEqual(copied->objectAtIndex(0), value));
}

TEST(OrderedDictionaryConstruction, CopiesAreShallowAndOfTheRightClass) {
  auto source = lettered(3);
  auto copy = cast<TQOrderedDictionary>(source->copy());
  auto editable = cast<TQMutableOrderedDictionary>(copy->mutableCopy());
  ASSERT_TRUE(copy && editable);
  EXPECT_EQ(copy->className(), "TQOrderedDictionary");
  EXPECT_EQ(copy->objectAtIndex(1).get(), source->objectAtIndex(1).get());
  editable->removeEntryWithKey(str("a"));
  EXPECT_EQ(keysOf(*copy), "a,b,c");
  EXPECT_EQ(keysOf(*editable), "b,c");
}

TEST(OrderedDictionaryArchiving, RoundTripKeepsOrderAndClass) {
  auto d = TQMutableOrderedDictionary::orderedDictionary();
  for (const char* key : {"zeta", "alpha", "mid", "beta"}) d->addObject(str(std::string(key) + "!"), str(key));
  Ref<Error> error;
  Ref<Data> archive = KeyedArchiver::archivedDataWithRootObject(d, &error);
  ASSERT_TRUE(archive) << describeUTF8(error);
  auto back = cast<TQMutableOrderedDictionary>(KeyedUnarchiver::unarchiveObjectWithData(*archive, &error));
  ASSERT_TRUE(back) << describeUTF8(error);
  EXPECT_EQ(keysOf(*back), "zeta,alpha,mid,beta");
  EXPECT_TRUE(back->isEqualToOrderedDictionary(*d));
  EXPECT_TRUE(isConsistent(*back));

  auto frozen = cast<TQOrderedDictionary>(d->copy());
  auto frozenBack = KeyedUnarchiver::unarchiveObjectWithData(*KeyedArchiver::archivedDataWithRootObject(frozen));
  ASSERT_TRUE(frozenBack);
  EXPECT_EQ(frozenBack->className(), "TQOrderedDictionary");
}

TEST(OrderedDictionaryArchiving, ListsUnderTheirKeysAndTheClassChainInTheArchive) {
  auto d = TQMutableOrderedDictionary::orderedDictionaryWithObject(num(1), str("k"));
  Ref<Data> archive = KeyedArchiver::archivedDataWithRootObject(d);
  ASSERT_TRUE(archive);
  auto plist = cast<Dictionary>(
      PropertyList::read(std::string_view(reinterpret_cast<const char*>(archive->bytes()), archive->length())));
  ASSERT_TRUE(plist);
  auto objects = cast<Array>(plist->objectForKey("$objects"));
  ASSERT_TRUE(objects);
  auto entryAt = [&](const Id& reference) {
    auto uid = cast<PropertyListUID>(reference);
    return uid ? cast<Dictionary>(objects->objectAtIndex(uid->value())) : nullptr;
  };
  auto root = entryAt(cast<Dictionary>(plist->objectForKey("$top"))->objectForKey("root"));
  ASSERT_TRUE(root);
  EXPECT_EQ(root->count(), 3u) << describeUTF8(root);  // $class and the two lists
  auto objectList = entryAt(root->objectForKey("NSODObjects"));
  auto keyList = entryAt(root->objectForKey("NSODKeys"));
  ASSERT_TRUE(objectList && keyList);
  EXPECT_TRUE(
      isEqual(objects->objectAtIndex(
                  cast<PropertyListUID>(cast<Array>(keyList->objectForKey("NS.objects"))->objectAtIndex(0))->value()),
              str("k")));
  auto rootClass = entryAt(root->objectForKey("$class"));
  ASSERT_TRUE(rootClass);
  EXPECT_TRUE(isEqual(rootClass->objectForKey("$classname"), str("TQMutableOrderedDictionary")));
  EXPECT_EQ(testing::joined(*cast<Array>(rootClass->objectForKey("$classes"))),
            "TQMutableOrderedDictionary,TQOrderedDictionary,NSObject");
}

class OrderedDictionaryFiles : public ::testing::Test {
 protected:
  std::string path(const char* name) const { return (folder_.path() / name).string(); }
  TemporaryFolder folder_{"odict"};
};

TEST_F(OrderedDictionaryFiles, WrittenFileReadsBackEmpty) {
  auto d = lettered(3);
  ASSERT_TRUE(d->writeToFile(path("d.plist"), true));
  auto plain = cast<Dictionary>(PropertyList::readFile(path("d.plist")));
  ASSERT_TRUE(plain);
  EXPECT_TRUE(isEqual(plain->objectForKey("b"), num(2)));
  // The file holds the plain pairs, not the "Objects"/"Keys" form.
  EXPECT_EQ(TQOrderedDictionary::orderedDictionaryWithContentsOfFile(path("d.plist"))->count(), 0u);
  EXPECT_EQ(TQOrderedDictionary::withContentsOfFile(path("missing.plist"))->count(), 0u);
}

TEST_F(OrderedDictionaryFiles, ObjectsAndKeysFormReadsInOrder) {
  auto form = dict({{str("Objects"), arr({num(1), num(2)})}, {str("Keys"), arr({str("y"), str("x")})}});
  ASSERT_TRUE(PropertyList::writeFile(form.get(), path("form.plist"), PropertyListFormat::XML));
  auto d = TQMutableOrderedDictionary::withContentsOfURL("file://" + path("form.plist"));
  EXPECT_EQ(d->className(), "TQMutableOrderedDictionary");
  EXPECT_EQ(keysOf(*d), "y,x");
  EXPECT_EQ(TQOrderedDictionary::withContentsOfURL("http://example.invalid/form.plist")->count(), 0u);
}

TEST_F(OrderedDictionaryFiles, NonPropertyListValuesAreNotWritten) {
  auto d = TQOrderedDictionary::orderedDictionaryWithObject(make<IndexSet>(Index(3)), str("set"));
  EXPECT_FALSE(d->writeToFile(path("bad.plist"), true));
}

}  // namespace
}  // namespace tq
