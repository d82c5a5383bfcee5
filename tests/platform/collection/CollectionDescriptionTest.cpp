// Descriptions of lists, dictionaries and sets at nesting levels and for a
// locale, and the guard against collections that contain themselves.

#include <gtest/gtest.h>

#include <cstdio>

#include "tests/support/RaisedException.h"
#include "tests/support/RecordedAssertions.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/collection/Set.h"
#include "tq/platform/value/String.h"

namespace tq {
namespace {

using testing::raisedBy;
using ContinuingHandler = testing::RecordedAssertions;

// Renders as the locale and level it was asked for.
class LevelEcho : public Object {
 public:
  Ref<String> descriptionWithLocale(const Id& locale, std::uint64_t level) const override {
    return str(describeUTF8(locale) + "@" + std::to_string(level));
  }
};

// Offers only the locale form.
class LocaleEcho : public Object {
 public:
  Ref<String> descriptionWithLocale(const Id& locale) const override { return str("L:" + describeUTF8(locale)); }
};

std::string address(const Object* object) {
  char buffer[32];
  std::snprintf(buffer, sizeof buffer, "%p", static_cast<const void*>(object));
  return buffer;
}

TEST(CollectionDescriptionLevels, NestedListsAndDictionariesIndentEveryLineOfTheirOwn) {
  auto nested = arr({str("a"), arr({str("b")})});
  EXPECT_EQ(describeUTF8(nested), "(\n    a,\n        (\n        b\n    )\n)");
  EXPECT_EQ(describeUTF8(nested->descriptionWithLocale(nullptr, 1)),
            "    (\n        a,\n                (\n            b\n        )\n    )");
  EXPECT_EQ(describeUTF8(dict({{str("k"), arr({num(1), num(2)})}})),
            "{\n    k =     (\n        1,\n        2\n    );\n}");
  EXPECT_EQ(describeUTF8(dict({{str("o"), dict({{str("i"), num(1)}})}})),
            "{\n    o =     {\n        i = 1;\n    };\n}");
  EXPECT_EQ(describeUTF8(dict({{str("i"), num(1)}})->descriptionWithLocale(nullptr, 2)),
            "        {\n            i = 1;\n        }");
  EXPECT_EQ(describeUTF8(set({arr({str("x")})})), "{(\n        (\n        x\n    )\n)}");
  EXPECT_EQ(describeUTF8(Array::array()->descriptionWithLocale(nullptr, 1)), "    (\n    )");
  EXPECT_EQ(describeUTF8(Dictionary::dictionary()), "{\n}");
  EXPECT_EQ(describeUTF8(Set::set()->descriptionWithLocale(nullptr, 1)), "    {(\n    )}");
}

TEST(CollectionDescriptionLevels, LocaleAndLevelReachNestedValuesThatOfferThem) {
  auto locale = str("fr_FR");
  EXPECT_EQ(describeUTF8(arr({make<LevelEcho>(), arr({make<LevelEcho>()})})->descriptionWithLocale(locale)),
            "(\n    fr_FR@1,\n        (\n        fr_FR@2\n    )\n)");
  EXPECT_EQ(describeUTF8(dict({{str("k"), make<LocaleEcho>()}})->descriptionWithLocale(locale, 1)),
            "    {\n        k = L:fr_FR;\n    }");
  EXPECT_EQ(describeUTF8(set({make<LocaleEcho>()})->descriptionWithLocale(locale)), "{(\n    L:fr_FR\n)}");
  EXPECT_EQ(describeUTF8(arr({make<LocaleEcho>()})), "(\n    L:(null)\n)") << "plain descriptions pass nil";
}

TEST(CollectionSelfContainment, DescriptionRaisesInsteadOfOverflowingTheStack) {
  TQ_REQUIRE_ASSERTIONS();
  auto list = make<MutableArray>(Array::Storage{str("a")});
  list->addObject(list);
  auto map = make<MutableDictionary>();
  map->setObject(map, str("me"));
  auto members = make<MutableSet>();
  members->addObject(members);
  for (const Id& collection : std::vector<Id>{list, map, members}) {
    Exception e = raisedBy([&] { describe(collection); });
    EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency) << collection->className();
    EXPECT_EQ(e.reason(), "description of a collection that contains itself");
  }
  {
    // A handler that returns lets the description finish, showing the
    // collection met again in the plain object form.
    ContinuingHandler handler;
    EXPECT_EQ(describeUTF8(list), "(\n    a,\n    <MutableArray: " + address(list.get()) + ">\n)");
    EXPECT_EQ(describeUTF8(map), "{\n    me = <MutableDictionary: " + address(map.get()) + ">;\n}");
    EXPECT_EQ(handler.failures.size(), 2u);
  }
  // The raised failures left no walk behind: once the cycles are broken the
  // same collections describe normally.
  list->removeLastObject();
  map->removeAllObjects();
  members->removeAllObjects();
  EXPECT_EQ(describeUTF8(list), "(\n    a\n)");
  EXPECT_EQ(describeUTF8(arr({list, list})), "(\n        (\n        a\n    ),\n        (\n        a\n    )\n)")
      << "a collection met twice side by side is no cycle";
}

TEST(CollectionSelfContainment, EqualityOfTwoSelfContainingListsRaisesInsteadOfRecursing) {
  TQ_REQUIRE_ASSERTIONS();
  auto first = make<MutableArray>();
  first->addObject(first);
  auto second = make<MutableArray>();
  second->addObject(second);
  Exception e = raisedBy([&] { isEqual(first, second); });
  EXPECT_EQ(e.name(), ExceptionName::InternalInconsistency);
  EXPECT_EQ(e.reason(), "equality of a collection that contains itself");
  {
    ContinuingHandler handler;
    EXPECT_FALSE(isEqual(first, second));
    EXPECT_EQ(handler.failures.size(), 1u);
  }
  auto map = make<MutableDictionary>();
  map->setObject(map, str("k"));
  auto otherMap = make<MutableDictionary>();
  otherMap->setObject(otherMap, str("k"));
  EXPECT_EQ(raisedBy([&] { isEqual(map, otherMap); }).name(), ExceptionName::InternalInconsistency);
  // Identity, hashing and shallow copies never walk the elements.
  EXPECT_TRUE(isEqual(first, first));
  EXPECT_EQ(first->hash(), 1u);
  EXPECT_TRUE(isEqual(first->copy(), first)) << "the copy holds the very same element";
  first->removeAllObjects();
  second->removeAllObjects();
  map->removeAllObjects();
  otherMap->removeAllObjects();
  EXPECT_TRUE(isEqual(arr({first}), arr({second}))) << "equal lists nested in equal lists";
}

}  // namespace
}  // namespace tq
