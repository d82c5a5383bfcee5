#include "tq/platform/collection/Sorting.h"
#include "tq/platform/value/Number.h"

#include <gtest/gtest.h>

#include <cmath>
#include <cstdint>
#include <limits>

#include "tests/support/RaisedException.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/value/String.h"

using namespace tq;
using tq::testing::raisedBy;

namespace {

int order(const Ref<Number>& a, const Ref<Number>& b) { return Number::compareNumbers(*a, *b); }

}  // namespace

TEST(NumberEquality, OneIsOneAcrossKindsWithEqualHashes) {
  Ref<Number> ones[] = {num(1), num(1u), num(1.0), num(true), num(1ULL), num(1LL)};
  for (const auto& a : ones) {
    for (const auto& b : ones) {
      EXPECT_TRUE(isEqual(a, b)) << describeUTF8(a) << " vs " << describeUTF8(b);
      EXPECT_EQ(a->hash(), b->hash());
    }
  }
  EXPECT_FALSE(isEqual(num(1), num(1.5)));
  EXPECT_FALSE(isEqual(num(1), str("1"))) << "a number never equals a string";
  EXPECT_TRUE(isEqual(num(0.0), num(-0.0)));
  EXPECT_EQ(num(0.0)->hash(), num(-0.0)->hash());
  EXPECT_EQ(num(0)->hash(), num(-0.0)->hash());
}

TEST(NumberEquality, ExtremesCompareExactly) {
  EXPECT_EQ(order(num(INT64_MIN), num(UINT64_MAX)), -1);
  EXPECT_EQ(order(num(UINT64_MAX), num(INT64_MIN)), 1);
  EXPECT_EQ(order(num(-1), num(UINT64_MAX)), -1) << "no wrap-around between signed and unsigned";
  auto twoTo63 = num(std::uint64_t(1) << 63);
  auto asDouble = num(9.223372036854775808e18);
  EXPECT_TRUE(isEqual(twoTo63, asDouble));
  EXPECT_EQ(twoTo63->hash(), asDouble->hash());
  EXPECT_EQ(order(num(INT64_MAX), asDouble), -1) << "2^63 - 1 is below the double 2^63";
  EXPECT_TRUE(isEqual(num(INT64_MIN), num(-9.223372036854775808e18)));
  EXPECT_EQ(num(INT64_MIN)->hash(), num(-9.223372036854775808e18)->hash());
  // 2^53 + 1 has no double; the integer is larger than the nearest one.
  EXPECT_EQ(order(num(9007199254740993LL), num(9007199254740992.0)), 1);
  EXPECT_EQ(order(num(9007199254740992.0), num(9007199254740993LL)), -1);
  EXPECT_EQ(order(num(-3), num(-2.5)), -1);
  EXPECT_EQ(order(num(-2), num(-2.5)), 1);
  EXPECT_EQ(order(num(UINT64_MAX), num(1.8446744073709552e19)), -1) << "the double is 2^64";
  EXPECT_EQ(order(num(5), num(std::numeric_limits<double>::infinity())), -1);
  EXPECT_EQ(order(num(INT64_MIN), num(-std::numeric_limits<double>::infinity())), 1);
}

TEST(NumberEquality, NaNIsEqualToItselfOrdersLowestAndHashesAlike) {
  double nan = std::numeric_limits<double>::quiet_NaN();
  auto a = num(nan), b = num(-nan);
  EXPECT_TRUE(isEqual(a, b));
  EXPECT_EQ(a->hash(), b->hash()) << "equal numbers hash alike whatever the NaN's sign bit";
  EXPECT_EQ(order(a, num(-std::numeric_limits<double>::infinity())), -1);
  EXPECT_EQ(order(num(INT64_MIN), a), 1);
  EXPECT_FALSE(isEqual(a, num(0)));
}

TEST(NumberValues, ConversionsSaturate) {
  EXPECT_EQ(num(1e30)->integerValue(), INT64_MAX);
  EXPECT_EQ(num(-1e30)->integerValue(), INT64_MIN);
  EXPECT_EQ(num(std::nan(""))->integerValue(), 0);
  EXPECT_EQ(num(1e30)->unsignedIntegerValue(), UINT64_MAX);
  EXPECT_EQ(num(2.9)->intValue(), 2);
  EXPECT_EQ(num(-2.9)->integerValue(), -2);
  EXPECT_DOUBLE_EQ(num(UINT64_MAX)->doubleValue(), 1.8446744073709552e19);
  EXPECT_TRUE(num(0.1)->boolValue());
  EXPECT_FALSE(num(0u)->boolValue());
}

TEST(NumberDescription, ShortestForms) {
  EXPECT_EQ(describeUTF8(num(true)), "1");
  EXPECT_EQ(describeUTF8(num(-42)), "-42");
  EXPECT_EQ(describeUTF8(num(UINT64_MAX)), "18446744073709551615");
  EXPECT_EQ(describeUTF8(num(0.1)), "0.1");
  EXPECT_EQ(describeUTF8(num(100.0)), "100");
  EXPECT_EQ(describeUTF8(num(std::numeric_limits<double>::infinity())), "inf");
  EXPECT_EQ(num(2.5)->stringValue()->utf8(), "2.5");
}

TEST(NumberCompare, TheCompareMessage) {
  EXPECT_EQ(num(1)->compare(*num(2.5)), ComparisonResult::Ascending);
  EXPECT_EQ(compareSelector(*num(3u), *num(3.0)), ComparisonResult::Same);
  EXPECT_EQ(raisedBy([] { num(1)->compare(*str("1")); }).name(), ExceptionName::InvalidArgument);
  EXPECT_EQ(Number::numberWithBool(true).get(), num(true).get()) << "the booleans are shared";
}

TEST(NullMarker, OneValueEqualToItself) {
  EXPECT_EQ(Null::null().get(), Null::null().get());
  EXPECT_TRUE(isEqual(Null::null(), make<Null>()));
  EXPECT_FALSE(isEqual(Null::null(), Id()));
  EXPECT_EQ(describeUTF8(Null::null()), "<null>");
}
