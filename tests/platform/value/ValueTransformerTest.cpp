#include "tq/platform/value/ValueTransformer.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "tests/support/RaisedException.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

using namespace tq;
using tq::testing::raisedBy;

namespace {

class Negation : public ValueTransformer {
 public:
  std::string transformedValueClass() const override { return "Number"; }
  Id transformedValue(const Id& value) const override {
    auto number = cast<Number>(value);
    return number ? Id(num(-number->integerValue())) : nullptr;
  }
};

class OneWay : public Negation {
 public:
  bool allowsReverseTransformation() const override { return false; }
  std::string className() const override { return "OneWay"; }
};

}  // namespace

TEST(ValueTransformer, ReverseDefaultsToTheForwardTransformationWhenAllowed) {
  auto plain = make<ValueTransformer>();
  auto value = str("x");
  EXPECT_EQ(plain->transformedValue(value).get(), value.get());
  EXPECT_EQ(plain->transformedValueClass(), "Object");
  EXPECT_TRUE(plain->allowsReverseTransformation());

  auto negation = make<Negation>();
  EXPECT_TRUE(negation->reverseTransformedValue(num(3))->isEqual(*num(-3)));

  Exception e = raisedBy([] { make<OneWay>()->reverseTransformedValue(num(3)); });
  EXPECT_EQ(e.name(), ExceptionName::InvalidArgument);
  EXPECT_NE(e.reason().find("OneWay"), std::string::npos) << e.reason();
}

TEST(ValueTransformer, RegistryFindsReplacesAndRemovesByName) {
  const std::string name = "ValueTransformerTest.negation";
  EXPECT_FALSE(ValueTransformer::valueTransformerForName(name));
  auto first = make<Negation>(), second = make<Negation>();
  ValueTransformer::setValueTransformerForName(first, name);
  EXPECT_EQ(ValueTransformer::valueTransformerForName(name), first);
  ValueTransformer::setValueTransformerForName(second, name);
  EXPECT_EQ(ValueTransformer::valueTransformerForName(name), second);
  auto names = ValueTransformer::valueTransformerNames();
  EXPECT_EQ(std::count(names.begin(), names.end(), name), 1);
  ValueTransformer::setValueTransformerForName(nullptr, name);
  EXPECT_FALSE(ValueTransformer::valueTransformerForName(name));
  names = ValueTransformer::valueTransformerNames();
  EXPECT_EQ(std::count(names.begin(), names.end(), name), 0);
}
