#include "tq/platform/value/Data.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <numeric>
#include <vector>

#include "tests/support/RaisedException.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/object/Exception.h"

using namespace tq;
using tq::testing::raisedBy;

namespace {

Ref<Data> counting(std::size_t length) {
  std::vector<std::uint8_t> bytes(length);
  std::iota(bytes.begin(), bytes.end(), std::uint8_t(0));
  return make<Data>(std::move(bytes));
}

class DataFiles : public ::testing::Test {
 protected:
  std::vector<std::string> entries() const {
    std::vector<std::string> names;
    for (const auto& entry : std::filesystem::directory_iterator(folder_)) names.push_back(entry.path().filename());
    return names;
  }
  tq::testing::TemporaryFolder scratch_{"data"};
  const std::filesystem::path& folder_ = scratch_.path();
};

}  // namespace

TEST(DataDescription, GroupsOfFourBytesAndForLongDataTheFirstSixteenAndTheLastEight) {
  EXPECT_EQ(describeUTF8(Data::data()), "{length = 0, bytes = 0x}");
  EXPECT_EQ(describeUTF8(counting(5)), "{length = 5, bytes = 0x00010203 04}");
  EXPECT_EQ(describeUTF8(counting(24)),
            "{length = 24, bytes = 0x00010203 04050607 08090a0b 0c0d0e0f 10111213 14151617}");
  EXPECT_EQ(describeUTF8(counting(25)),
            "{length = 25, bytes = 0x00010203 04050607 08090a0b 0c0d0e0f ... 11121314 15161718 }");
  EXPECT_EQ(describeUTF8(counting(300)),
            "{length = 300, bytes = 0x00010203 04050607 08090a0b 0c0d0e0f ... 24252627 28292a2b }");
}

TEST(DataRanges, SubdataAndReplacement) {
  auto data = counting(10);
  EXPECT_EQ(data->subdataWithRange({8, 2})->vector(), (std::vector<std::uint8_t>{8, 9}));
  EXPECT_EQ(data->subdataWithRange({10, 0})->length(), 0u);
  Exception e = raisedBy([&] { data->subdataWithRange({9, 2}); });
  EXPECT_EQ(e.name(), ExceptionName::Range);
  EXPECT_EQ(e.reason(), "-[Data subdataWithRange:]: range {9, 2} exceeds data length 10");
  EXPECT_THROW(data->subdataWithRange({1, UINT64_MAX}), Exception);
  auto changeable = cast<MutableData>(data->mutableCopy());
  ASSERT_TRUE(changeable);
  changeable->replaceBytesInRange({1, 8}, "xy", 2);
  EXPECT_EQ(changeable->view(), std::string_view("\0xy\x09", 4));
  EXPECT_EQ(data->length(), 10u);
  EXPECT_THROW(changeable->replaceBytesInRange({5, 1}, "z", 1), Exception);
}

TEST(DataObject, EqualityHashAndCopies) {
  auto a = counting(100);
  auto b = make<MutableData>(counting(100)->vector());
  EXPECT_TRUE(isEqual(a, b));
  EXPECT_EQ(a->hash(), b->hash());
  b->mutableBytes()[99] = 0xFF;
  EXPECT_FALSE(isEqual(a, b)) << "bytes past the hashed prefix still count for equality";
  EXPECT_EQ(a->copy().get(), a.get());
  Id frozen = b->copy();
  EXPECT_FALSE(isKindOf<MutableData>(frozen));
  b->setLength(0);
  EXPECT_EQ(cast<Data>(frozen)->length(), 100u);
}

TEST_F(DataFiles, FailedWritesReportAndLeaveNothingBehind) {
  std::string missing = (folder_ / "no-such-folder" / "x").string();
  EXPECT_FALSE(counting(3)->writeToFile(missing, true));
  EXPECT_FALSE(counting(3)->writeToFile(missing, false));
  std::filesystem::create_directory(folder_ / "taken");
  EXPECT_FALSE(counting(3)->writeToFile((folder_ / "taken").string(), true)) << "a folder is not replaced";
  EXPECT_EQ(entries(), std::vector<std::string>{"taken"});
  EXPECT_EQ(Data::dataWithContentsOfFile(missing), nullptr);
  ASSERT_TRUE(counting(3)->writeToFile((folder_ / "plain").string(), false));
  EXPECT_EQ(Data::dataWithContentsOfFile((folder_ / "plain").string())->length(), 3u);
}
