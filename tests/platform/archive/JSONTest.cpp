// JSON text to and from the object model.

#include "tq/platform/archive/JSON.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "tq/platform/collection/Array.h"
#include "tq/platform/value/Date.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

using namespace tq;

namespace {

std::string readFailure(std::string_view text) {
  Ref<Error> error;
  Id value = JSON::read(text, &error);
  if (value) return "read succeeded: " + describeUTF8(value);
  EXPECT_EQ(error->domain(), JSONErrorDomain);
  EXPECT_EQ(error->code(), JSONReadCorruptError);
  return error->localizedDescription();
}

std::string writeFailure(const Id& value, JSONWriteOptions options = JSONWriteOptions::None) {
  Ref<Error> error;
  auto text = JSON::write(value.get(), options, &error);
  if (text) return "write succeeded: " + *text;
  EXPECT_EQ(error->domain(), JSONErrorDomain);
  EXPECT_EQ(error->code(), JSONWriteInvalidError);
  return error->localizedDescription();
}

TEST(JSONRead, MapsEveryValueKind) {
  Ref<Error> error;
  auto value = cast<Dictionary>(JSON::read(
      R"({"list": [1, -2, 9223372036854775807, 18446744073709551615, 1.5, -0.0, 1e300, true, false, null, "x"],
          "text": "a\"b\\c\u00e9\ud83d\ude00", "nested": {"empty": {}, "none": []}})",
      &error));
  ASSERT_TRUE(value) << describeUTF8(error);
  auto list = cast<Array>(value->objectForKey(std::string_view("list")));
  ASSERT_TRUE(list);
  ASSERT_EQ(list->count(), 11u);
  auto number = [&](Index i) { return cast<Number>(list->objectAtIndex(i)); };
  EXPECT_EQ(number(0)->kind(), Number::Kind::Signed);
  EXPECT_EQ(number(1)->integerValue(), -2);
  EXPECT_EQ(number(2)->kind(), Number::Kind::Signed);
  EXPECT_EQ(number(3)->kind(), Number::Kind::Unsigned);
  EXPECT_EQ(number(3)->unsignedIntegerValue(), std::numeric_limits<std::uint64_t>::max());
  EXPECT_EQ(number(4)->kind(), Number::Kind::Double);
  EXPECT_TRUE(std::signbit(number(5)->doubleValue()));
  EXPECT_EQ(number(6)->doubleValue(), 1e300);
  EXPECT_TRUE(number(7)->isBool());
  EXPECT_FALSE(number(8)->boolValue());
  EXPECT_TRUE(isKindOf<Null>(list->objectAtIndex(9)));
  EXPECT_TRUE(isEqual(list->objectAtIndex(10), str("x")));
  EXPECT_TRUE(isEqual(value->objectForKey(std::string_view("text")), str("a\"b\\c\xC3\xA9\xF0\x9F\x98\x80")));
  auto nested = cast<Dictionary>(value->objectForKey(std::string_view("nested")));
  EXPECT_TRUE(isEqual(nested->objectForKey(std::string_view("empty")), dict({})));
  EXPECT_FALSE(cast<MutableDictionary>(nested));
}

TEST(JSONRead, AcceptsFragmentsAndMakesContainersMutableOnRequest) {
  EXPECT_TRUE(isEqual(JSON::read("42"), num(42)));
  EXPECT_TRUE(isEqual(JSON::read(" \"text\" "), str("text")));
  auto value = cast<MutableDictionary>(JSON::read(R"({"a": [1]})", nullptr, true));
  ASSERT_TRUE(value);
  EXPECT_TRUE(cast<MutableArray>(value->objectForKey(std::string_view("a"))));
}

TEST(JSONRead, ReportsMalformedTextWithItsPosition) {
  EXPECT_NE(readFailure("[1, 2").find("unexpected end of input"), std::string::npos) << readFailure("[1, 2");
  EXPECT_NE(readFailure("[1] x").find("line 1, column 5"), std::string::npos) << readFailure("[1] x");
  EXPECT_NE(readFailure("{\"a\" 1}").find("expected ':'"), std::string::npos) << readFailure("{\"a\" 1}");
  EXPECT_NE(readFailure("[\"\xC3\x28\"]").find("UTF-8"), std::string::npos) << readFailure("[\"\xC3\x28\"]");
  EXPECT_NE(readFailure("[\"\\ud800\"]").find("surrogate"), std::string::npos) << readFailure("[\"\\ud800\"]");
  EXPECT_NE(readFailure("[1e400]").find("number overflow"), std::string::npos);
  EXPECT_FALSE(readFailure("").empty());
  EXPECT_FALSE(readFailure("[01]").empty());
  std::string deep(600, '[');
  EXPECT_NE(readFailure(deep).find("nested more than 512"), std::string::npos);
  std::string fine = std::string(500, '[') + std::string(500, ']');
  EXPECT_TRUE(JSON::read(fine));
}

TEST(JSONWrite, WritesCompactSortedAndPrettyForms) {
  auto value = dict({{str("b"), arr({num(true), Null::null(), num(std::numeric_limits<std::uint64_t>::max())})},
                     {str("a"), str("\xC3\xA9\"\n")},
                     {str("c"), num(0.5)}});
  EXPECT_EQ(*JSON::write(value.get()), "{\"b\":[true,null,18446744073709551615],\"a\":\"\xC3\xA9\\\"\\n\",\"c\":0.5}");
  EXPECT_EQ(*JSON::write(value.get(), JSONWriteOptions::SortedKeys),
            "{\"a\":\"\xC3\xA9\\\"\\n\",\"b\":[true,null,18446744073709551615],\"c\":0.5}");
  EXPECT_EQ(*JSON::write(dict({{str("k"), arr({num(1)})}}).get(),
                         JSONWriteOptions::PrettyPrinted | JSONWriteOptions::SortedKeys),
            "{\n  \"k\": [\n    1\n  ]\n}");
  auto data = JSON::writeData(arr({}).get());
  ASSERT_TRUE(data);
  EXPECT_EQ(data->view(), "[]");
}

TEST(JSONWrite, RefusesWhatJSONCannotHold) {
  EXPECT_NE(writeFailure(num(1)).find("top-level"), std::string::npos);
  EXPECT_EQ(*JSON::write(num(1).get(), JSONWriteOptions::FragmentsAllowed), "1");
  EXPECT_NE(writeFailure(arr({make<Date>(0.0)})).find("Date"), std::string::npos);
  EXPECT_NE(writeFailure(arr({make<Data>("x", 1)})).find("Data"), std::string::npos);
  EXPECT_NE(writeFailure(arr({num(std::nan(""))})).find("NaN"), std::string::npos);
  EXPECT_NE(writeFailure(dict({{num(1), str("x")}})).find("non-string"), std::string::npos);
  auto loop = make<MutableArray>();
  loop->addObject(loop);
  EXPECT_NE(writeFailure(loop).find("nested more than"), std::string::npos);
  loop->removeAllObjects();  // break the cycle so the array is freed
  EXPECT_FALSE(JSON::isValidObject(arr({make<Date>(0.0)}).get()));
  EXPECT_TRUE(JSON::isValidObject(arr({num(1)}).get()));
}

TEST(JSONWrite, RoundTripsThroughRead) {
  auto value = dict({{str("min"), num(std::numeric_limits<std::int64_t>::min())},
                     {str("real"), num(0.1)},
                     {str("tiny"), num(5e-324)},
                     {str("text"), str("\xF0\x9F\x98\x80 tab\t")},
                     {str("list"), arr({arr({}), dict({}), num(false)})}});
  auto text = JSON::write(value.get());
  ASSERT_TRUE(text);
  auto read = cast<Dictionary>(JSON::read(*text));
  ASSERT_TRUE(read);
  EXPECT_TRUE(read->isEqual(*value)) << *text;
  EXPECT_EQ(cast<Number>(read->objectForKey(std::string_view("real")))->kind(), Number::Kind::Double);
}

}  // namespace
