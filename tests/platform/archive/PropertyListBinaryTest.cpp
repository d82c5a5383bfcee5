// The binary property-list format: its exact bytes, and a reader that
// survives hand-built hostile input.

#include <gtest/gtest.h>

#include <chrono>
#include <limits>

#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/platform/value/String.h"

using namespace tq;

namespace {

std::string bigEndian(std::uint64_t value, unsigned size) {
  std::string out;
  for (unsigned i = size; i-- > 0;) out += char(std::uint8_t(value >> (8 * i)));
  return out;
}

// A binary property list from hand-written objects, with a correct offset
// table and trailer unless the caller overrides a field.
struct Assembly {
  std::vector<std::string> objects;
  std::uint64_t top = 0;
  unsigned offsetSize = 1;
  unsigned refSize = 1;
  std::optional<std::uint64_t> count;
  std::optional<std::uint64_t> tableOffset;
  std::vector<std::uint64_t> offsetOverrides;  // replaces the first offsets

  std::string build() const {
    std::string out = "bplist00";
    std::vector<std::uint64_t> offsets;
    for (const auto& object : objects) {
      offsets.push_back(out.size());
      out += object;
    }
    for (std::size_t i = 0; i < offsetOverrides.size(); ++i) offsets[i] = offsetOverrides[i];
    std::uint64_t table = out.size();
    for (auto offset : offsets) out += bigEndian(offset, offsetSize);
    out += std::string(6, '\0');
    out += char(offsetSize);
    out += char(refSize);
    out += bigEndian(count.value_or(objects.size()), 8);
    out += bigEndian(top, 8);
    out += bigEndian(tableOffset.value_or(table), 8);
    return out;
  }
};

std::string readFailure(const std::string& bytes) {
  Ref<Error> error;
  Id value = PropertyList::read(bytes, &error);
  if (value) return "read succeeded: " + describeUTF8(value);
  EXPECT_EQ(error->domain(), PropertyListErrorDomain);
  EXPECT_EQ(error->code(), PropertyListReadCorruptError);
  return error->localizedDescription();
}

TEST(BinaryPropertyListWriter, WritesTheStandardLayout) {
  auto written = PropertyList::write(dict({{str("a"), num(1)}}).get(), PropertyListFormat::Binary);
  ASSERT_TRUE(written);
  std::string expected = std::string("bplist00") + "\xD1\x01\x02" + "\x51\x61" + "\x10\x01" + "\x08\x0B\x0D" +
                         std::string(6, '\0') + "\x01\x01" + bigEndian(3, 8) + bigEndian(0, 8) + bigEndian(15, 8);
  EXPECT_EQ(std::string(written->view()), expected);
}

TEST(BinaryPropertyListWriter, EncodesIntegersByTheirRange) {
  auto encode = [](const Id& value) {
    std::string bytes(PropertyList::write(value.get(), PropertyListFormat::Binary)->view());
    return bytes.substr(8, bytes.size() - 8 - 32 - 1);  // the one object, without table and trailer
  };
  EXPECT_EQ(encode(num(255)), "\x10\xFF");
  EXPECT_EQ(encode(num(256)), std::string("\x11\x01\x00", 3));
  EXPECT_EQ(encode(num(-1)), "\x13" + bigEndian(~std::uint64_t(0), 8));
  EXPECT_EQ(encode(num(std::numeric_limits<std::uint64_t>::max())),
            "\x14" + bigEndian(0, 8) + bigEndian(~std::uint64_t(0), 8));
  EXPECT_EQ(encode(num(true)), "\x09");
  EXPECT_EQ(encode(str("\xC3\xA9")), std::string("\x61\x00\xE9", 3));
}

TEST(BinaryPropertyListWriter, StoresEqualLeavesOnce) {
  auto shared = PropertyList::write(arr({str("same"), str("same"), num(7), num(7)}).get(), PropertyListFormat::Binary);
  auto distinct =
      PropertyList::write(arr({str("same"), str("diff"), num(7), num(8)}).get(), PropertyListFormat::Binary);
  EXPECT_LT(shared->length(), distinct->length());
  // An integer and a real of equal value are different objects in the file.
  auto mixed = cast<Array>(PropertyList::read(
      PropertyList::write(arr({num(1), num(1.0), num(true)}).get(), PropertyListFormat::Binary)->view()));
  EXPECT_EQ(cast<Number>(mixed->objectAtIndex(0))->kind(), Number::Kind::Signed);
  EXPECT_EQ(cast<Number>(mixed->objectAtIndex(1))->kind(), Number::Kind::Double);
  EXPECT_EQ(cast<Number>(mixed->objectAtIndex(2))->kind(), Number::Kind::Bool);
}

TEST(BinaryPropertyListReader, ReadsLongCountsAndWideReferences) {
  Array::Storage many;
  for (int i = 0; i < 300; ++i) many.push_back(num(i));
  auto value = dict({{str("many"), make<Array>(many)}, {str("text"), str(std::string(40, 'x'))}});
  auto read = PropertyList::read(PropertyList::write(value.get(), PropertyListFormat::Binary)->view());
  ASSERT_TRUE(read);
  EXPECT_TRUE(read->isEqual(*value));
}

TEST(BinaryPropertyListReader, ReadsSixteenByteIntegers) {
  Assembly negative{{"\x14" + bigEndian(~std::uint64_t(0), 8) + bigEndian(~std::uint64_t(0) - 4, 8)}};
  EXPECT_TRUE(isEqual(PropertyList::read(negative.build()), num(-5)));
  Assembly tooBig{{"\x14" + bigEndian(1, 8) + bigEndian(0, 8)}};
  EXPECT_NE(readFailure(tooBig.build()).find("64-bit range"), std::string::npos);
}

TEST(BinaryPropertyListReader, RefusesHostileStructure) {
  const std::string justTrue = Assembly{{"\x09"}}.build();
  const std::string array1 = "\xA1\x01", self = std::string("\xA1\x00", 2), text = "\x51x";
  Assembly deep;
  for (int i = 0; i < 600; ++i) deep.objects.push_back("\xA1" + bigEndian(i + 1, 2));
  deep.objects.push_back("\x09");
  deep.refSize = 2;
  deep.offsetSize = 2;

  struct Case {
    const char* name;
    std::string bytes;
    const char* expected;
  } cases[] = {
      {"truncated trailer", justTrue.substr(0, 30), "too short"},
      {"cut trailer", justTrue.substr(0, justTrue.size() - 1), "invalid offset or reference size"},
      {"wrong version", "bplist01" + justTrue.substr(8), "unsupported version"},
      {"offset out of range", Assembly{{"\x09"}, 0, 1, 1, {}, {}, {200}}.build(), "offset of object 0 out of range"},
      {"offset into the header", Assembly{{"\x09"}, 0, 1, 1, {}, {}, {3}}.build(), "out of range"},
      {"table outside the data", Assembly{{"\x09"}, 0, 1, 1, {}, std::uint64_t(1) << 60}.build(), "offset table"},
      {"object count too large", Assembly{{"\x09"}, 0, 1, 1, std::uint64_t(1) << 62}.build(), "offset table"},
      {"top object out of range", Assembly{{"\x09"}, 5}.build(), "top object"},
      {"zero reference size", Assembly{{"\x09"}, 0, 1, 0}.build(), "reference size"},
      {"reference out of range", Assembly{{"\xA1\x05", "\x09"}}.build(), "reference 5 out of range"},
      {"self-containing array", Assembly{{self}}.build(), "object 0 contains itself"},
      {"indirect cycle", Assembly{{array1, std::string("\xA1\x00", 2)}}.build(), "contains itself"},
      {"dictionary cycle", Assembly{{std::string("\xD1\x01\x00", 3), text}}.build(), "contains itself"},
      {"huge array count", Assembly{{"\xAF\x13" + bigEndian(std::uint64_t(1) << 61, 8)}}.build(), "truncated"},
      {"huge string", Assembly{{"\x5F\x13" + bigEndian(~std::uint64_t(0), 8)}}.build(), "truncated string"},
      {"huge UTF-16 string", Assembly{{"\x6F\x13" + bigEndian(std::uint64_t(1) << 63, 8)}}.build(), "truncated string"},
      {"huge data", Assembly{{"\x4F\x12" + bigEndian(1000, 4)}}.build(), "truncated data"},
      {"bad length marker", Assembly{{"\x4F\x51x"}}.build(), "invalid length"},
      {"truncated real", Assembly{{"\x23\x01"}}.build(), "real"},
      {"non-string key", Assembly{{"\xD1\x01\x01", "\x10\x01"}}.build(), "keys must be strings"},
      {"unknown marker", Assembly{{"\x70"}}.build(), "unsupported object marker"},
      {"null object", Assembly{{std::string(1, '\0')}}.build(), "unsupported object marker"},
      {"too deep", deep.build(), "nested more than 512"},
  };
  for (const auto& c : cases) {
    EXPECT_NE(readFailure(c.bytes).find(c.expected), std::string::npos) << c.name << ": " << readFailure(c.bytes);
  }
}

TEST(BinaryPropertyListReader, ReadsSharedObjectsOnce) {
  // Each array refers twice to the next: 2^40 paths, 41 objects.
  Assembly dag;
  for (int i = 0; i < 40; ++i) dag.objects.push_back(std::string("\xA2") + char(i + 1) + char(i + 1));
  dag.objects.push_back("\x09");
  auto start = std::chrono::steady_clock::now();
  EXPECT_TRUE(PropertyList::read(dag.build()));
  EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(5));
}

TEST(BinaryPropertyListReader, SurvivesEveryTruncationAndByteFlip) {
  auto value = dict({{str("list"), arr({num(1), num(-1), num(1.5), str("\xC3\xA9t\xC3\xA9"), make<Data>("ab", 2)})},
                     {str("nested"), dict({{str("k"), arr({num(true)})}})}});
  std::string bytes(PropertyList::write(value.get(), PropertyListFormat::Binary)->view());
  for (std::size_t length = 0; length < bytes.size(); ++length) {
    EXPECT_FALSE(PropertyList::read(bytes.substr(0, length))) << length;
  }
  for (std::size_t at = 0; at < bytes.size(); ++at) {
    for (int flip : {0x01, 0x10, 0x80, 0xFF}) {
      std::string mutated = bytes;
      mutated[at] = char(mutated[at] ^ flip);
      PropertyList::read(mutated);  // any answer but a crash or a sanitizer report
    }
  }
}

}  // namespace
