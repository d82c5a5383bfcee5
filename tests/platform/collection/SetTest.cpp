#include "tq/platform/collection/Set.h"

#include <gtest/gtest.h>

#include "tq/platform/collection/Array.h"
#include "tests/support/RaisedException.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/Number.h"

using namespace tq;
using tq::testing::raisedBy;

TEST(Set, MembersByEqualityKeepTheFirstStoredObjectAndInsertionOrder) {
  auto first = str("b");
  auto members = set({first, num(1), str("b"), num(1.0), str("a")});
  EXPECT_EQ(members->count(), 3u) << "1 and 1.0 are equal numbers";
  EXPECT_EQ(members->member(str("b")).get(), first.get());
  EXPECT_EQ(members->member(str("zzz")), nullptr);
  EXPECT_EQ(members->member(Id()), nullptr);
  EXPECT_TRUE(members->containsObject(num(true)));
  EXPECT_TRUE(members->allObjects()->isEqualToArray(*arr({str("b"), num(1), str("a")})));
  EXPECT_TRUE(isEqual(members->anyObject(), str("b")));
  EXPECT_EQ(Set::set()->anyObject(), nullptr);
}

TEST(Set, DescriptionLayout) {
  EXPECT_EQ(describeUTF8(set({str("a"), num(2)})), "{(\n    a,\n    2\n)}");
  EXPECT_EQ(describeUTF8(Set::set()), "{(\n)}");
}

TEST(Set, EqualitySubsetsAndIntersection) {
  auto ab = set({str("a"), str("b")});
  auto ba = set({str("b"), str("a")});
  auto abc = set({str("a"), str("b"), str("c")});
  auto xy = set({str("x"), str("y")});
  EXPECT_TRUE(ab->isEqualToSet(*ba)) << "order does not matter";
  EXPECT_TRUE(isEqual(ab, ba));
  EXPECT_EQ(ab->hash(), ba->hash());
  EXPECT_FALSE(ab->isEqualToSet(*abc));
  EXPECT_FALSE(isEqual(ab, arr({str("a"), str("b")})));
  EXPECT_TRUE(ab->isSubsetOfSet(*abc));
  EXPECT_FALSE(abc->isSubsetOfSet(*ab));
  EXPECT_TRUE(Set::set()->isSubsetOfSet(*xy));
  EXPECT_TRUE(abc->intersectsSet(*ab));
  EXPECT_FALSE(abc->intersectsSet(*xy));
  EXPECT_FALSE(Set::set()->intersectsSet(*xy));
}

TEST(MutableSet, AlgebraInPlace) {
  auto s = make<MutableSet>(std::vector<Id>{num(1), num(2), num(3), num(4)});
  s->unionSet(*set({num(4), num(5)}));
  EXPECT_EQ(s->count(), 5u);
  s->intersectSet(*set({num(2), num(3), num(5), num(9)}));
  EXPECT_TRUE(s->isEqualToSet(*set({num(2), num(3), num(5)})));
  s->minusSet(*set({num(3), num(7)}));
  EXPECT_TRUE(s->allObjects()->isEqualToArray(*arr({num(2), num(5)})));
  s->removeObject(num(42));
  EXPECT_EQ(s->count(), 2u);
  s->setSet(*set({str("z")}));
  EXPECT_TRUE(s->allObjects()->isEqualToArray(*arr({str("z")})));
  s->removeAllObjects();
  EXPECT_EQ(s->count(), 0u);
}

TEST(MutableSet, ManyRemovalsKeepLookupsAndOrderRight) {
  auto s = MutableSet::set();
  for (int i = 0; i < 200; ++i) s->addObject(num(i));
  for (int i = 0; i < 200; ++i) {
    if (i % 3) s->removeObject(num(i));
  }
  EXPECT_EQ(s->count(), 67u);
  Index expected = 0;
  bool ordered = true;
  s->enumerateObjectsUsingBlock([&](const Id& object, bool*) {
    ordered = ordered && cast<Number>(object)->integerValue() == std::int64_t(expected);
    expected += 3;
  });
  EXPECT_TRUE(ordered);
  EXPECT_TRUE(s->containsObject(num(198)));
  EXPECT_FALSE(s->containsObject(num(199)));
  s->addObject(num(1));
  EXPECT_TRUE(isEqual(s->allObjects()->lastObject(), num(1)));
}

TEST(MutableSet, NilIsRefused) {
  Exception e = raisedBy([] { MutableSet::set()->addObject(nullptr); });
  EXPECT_EQ(e.name(), ExceptionName::InvalidArgument);
  EXPECT_EQ(e.reason(), "*** -[MutableSet addObject:]: object cannot be nil");
  EXPECT_THROW(set({str("a"), nullptr}), Exception);
}

TEST(Set, CopiesFollowTheCollectionRules) {
  auto immutable = set({str("a")});
  EXPECT_EQ(immutable->copy().get(), immutable.get());
  auto mutableOne = cast<MutableSet>(immutable->mutableCopy());
  ASSERT_TRUE(mutableOne);
  mutableOne->addObject(str("b"));
  EXPECT_EQ(immutable->count(), 1u);
  Id frozen = mutableOne->copy();
  EXPECT_EQ(frozen->className(), "Set");
  EXPECT_FALSE(isKindOf<MutableSet>(frozen));
  mutableOne->removeObject(str("a"));
  EXPECT_EQ(cast<Set>(frozen)->count(), 2u) << "the copy does not follow later changes";
  auto filtered = cast<Set>(frozen)->filteredSetUsingPredicate([](const Id& o) { return isEqual(o, str("b")); });
  EXPECT_TRUE(filtered->isEqualToSet(*set({str("b")})));
  EXPECT_EQ(immutable->setByAddingObject(str("c"))->count(), 2u);
}

TEST(CountedSet, CountsAddsAndRemovesDownToZero) {
  auto counted = CountedSet::set();
  counted->addObject(str("x"));
  counted->addObject(str("y"));
  counted->addObject(str("x"));
  EXPECT_EQ(counted->count(), 2u) << "distinct members";
  EXPECT_EQ(counted->countForObject(str("x")), 2u);
  EXPECT_EQ(counted->countForObject(str("nope")), 0u);
  EXPECT_EQ(describeUTF8(counted).substr(describeUTF8(counted).find('>')), "> (x [2], y [1])");
  counted->removeObject(str("x"));
  EXPECT_EQ(counted->countForObject(str("x")), 1u);
  EXPECT_TRUE(counted->containsObject(str("x")));
  counted->removeObject(str("x"));
  EXPECT_FALSE(counted->containsObject(str("x")));
  counted->removeObject(str("x"));
  EXPECT_EQ(counted->countForObject(str("x")), 0u);
  counted->addObject(str("x"));
  EXPECT_EQ(counted->countForObject(str("x")), 1u) << "a member that went starts again at 1";
}

TEST(CountedSet, CopiesKeepCountsAndSetOperationsUseThem) {
  auto counted = make<CountedSet>(std::vector<Id>{num(1), num(1), num(2)});
  EXPECT_EQ(counted->countForObject(num(1)), 2u);
  auto copy = cast<CountedSet>(counted->copy());
  ASSERT_TRUE(copy);
  EXPECT_NE(copy.get(), counted.get());
  EXPECT_EQ(copy->countForObject(num(1)), 2u);
  copy->unionSet(*set({num(1), num(3)}));
  EXPECT_EQ(copy->countForObject(num(1)), 3u);
  copy->minusSet(*set({num(1)}));
  EXPECT_EQ(copy->countForObject(num(1)), 2u) << "minus takes one use per member of the other set";
  copy->intersectSet(*set({num(2)}));
  EXPECT_EQ(copy->count(), 1u) << "intersection drops members whatever their counts";
  EXPECT_EQ(counted->countForObject(num(1)), 2u);
  EXPECT_TRUE(counted->isEqualToSet(*set({num(1), num(2)}))) << "equality ignores counts";
}
