#include "tq/platform/value/ChainedData.h"

#include <gtest/gtest.h>

#include <string>

#include "tq/platform/value/Data.h"
#include "tq/platform/object/Exception.h"

namespace tq {
namespace {

std::string bytesOf(const ChainedData& data) { return std::string(data.createMap().view()); }

Ref<ChainedData> threeRegions() {
  auto d = ChainedData::concat(ChainedData::create("abc"), ChainedData::create("defg"));
  return ChainedData::concat(d, ChainedData::create("hi"));
}

TEST(ChainedData, ConcatenationSharesBuffersAndKeepsOrder) {
  auto a = ChainedData::create("abc");
  auto b = ChainedData::create("defg");
  auto joined = ChainedData::concat(a, b);
  EXPECT_EQ(joined->size(), 7u);
  ASSERT_EQ(joined->regionCount(), 2u);
  EXPECT_EQ(joined->regions()[0].buffer, a->regions()[0].buffer);
  EXPECT_EQ(bytesOf(*joined), "abcdefg");
  // Nil and empty operands stand for nothing.
  EXPECT_EQ(ChainedData::concat(nullptr, b), b);
  EXPECT_EQ(ChainedData::concat(a, ChainedData::empty()), a);
  EXPECT_EQ(ChainedData::concat(nullptr, nullptr)->size(), 0u);
}

TEST(ChainedData, MovedInConcatExtendsOnlyAnUnsharedReceiver) {
  auto chain = ChainedData::create("ab");
  auto kept = chain;  // a second holder: must not see the append
  auto longer = ChainedData::concat(std::move(chain), ChainedData::create("cd"));
  EXPECT_EQ(bytesOf(*kept), "ab");
  EXPECT_EQ(bytesOf(*longer), "abcd");

  const ChainedData* identity = longer.get();
  auto grown = ChainedData::concat(std::move(longer), ChainedData::create("ef"));
  EXPECT_EQ(grown.get(), identity);
  EXPECT_EQ(bytesOf(*grown), "abcdef");

  // The empty singleton is never extended in place.
  auto fromEmpty = ChainedData::concat(ChainedData::empty(), ChainedData::create("x"));
  EXPECT_EQ(ChainedData::empty()->size(), 0u);
  EXPECT_EQ(bytesOf(*fromEmpty), "x");
}

TEST(ChainedData, SubrangeAcrossRegionsSharesAndMergesNeighbours) {
  auto d = threeRegions();
  auto middle = d->subrange(2, 6);
  EXPECT_EQ(bytesOf(*middle), "cdefgh");
  EXPECT_EQ(middle->regionCount(), 3u);
  EXPECT_EQ(bytesOf(*d->subrange(3, 4)), "defg");
  EXPECT_EQ(d->subrange(3, 4)->regionCount(), 1u);
  EXPECT_EQ(d->subrange(0, 9), d);
  EXPECT_EQ(d->subrange(9, 0)->size(), 0u);
  EXPECT_THROW(d->subrange(5, 5), Exception);
  EXPECT_THROW(d->subrange(10, 0), Exception);

  // Two adjacent pieces of one buffer join back into one region.
  auto whole = ChainedData::create("0123456789");
  auto rejoined = ChainedData::concat(whole->subrange(0, 4), whole->subrange(4, 6));
  EXPECT_EQ(rejoined->regionCount(), 1u);
  EXPECT_EQ(bytesOf(*rejoined), "0123456789");
}

TEST(ChainedData, MapCopiesOnlyWhenSpreadOverRegions) {
  auto single = ChainedData::create("hello");
  auto map = single->createMap();
  EXPECT_EQ(map.bytes, single->regions()[0].bytes());
  auto spread = threeRegions()->createMap();
  EXPECT_EQ(spread.view(), "abcdefghi");
  EXPECT_EQ(ChainedData::empty()->createMap().size, 0u);
  EXPECT_EQ(threeRegions()->data()->view(), "abcdefghi");
}

TEST(ChainedData, ApplyRegionsReportsOffsetsAndStops) {
  std::string seen;
  bool finished = threeRegions()->applyRegions([&](const std::uint8_t* bytes, std::size_t offset, std::size_t size) {
    seen += std::to_string(offset) + ":" + std::string(reinterpret_cast<const char*>(bytes), size) + " ";
    return true;
  });
  EXPECT_TRUE(finished);
  EXPECT_EQ(seen, "0:abc 3:defg 7:hi ");
  int visits = 0;
  EXPECT_FALSE(threeRegions()->applyRegions([&](const std::uint8_t*, std::size_t, std::size_t) {
    ++visits;
    return false;
  }));
  EXPECT_EQ(visits, 1);
}

TEST(ChainedData, EqualityAndHashFollowBytesNotLayout) {
  auto chained = threeRegions();
  auto flat = ChainedData::create("abcdefghi");
  EXPECT_TRUE(chained->isEqual(*flat));
  EXPECT_EQ(chained->hash(), flat->hash());
  EXPECT_FALSE(chained->isEqual(*ChainedData::create("abcdefghX")));
  EXPECT_FALSE(chained->isEqual(*ChainedData::create("abcdefgh")));
  EXPECT_EQ(chained->byteAt(7), 'h');
  EXPECT_THROW(chained->byteAt(9), Exception);
}

TEST(ChainedData, AdoptTakesBuffersWithoutCopying) {
  ChainedData::Buffer bytes{'x', 'y', 'z'};
  const std::uint8_t* original = bytes.data();
  auto adopted = ChainedData::adopt(std::move(bytes));
  EXPECT_EQ(adopted->regions()[0].bytes(), original);
  auto buffer = std::make_shared<const ChainedData::Buffer>(ChainedData::Buffer{'1', '2', '3', '4'});
  EXPECT_EQ(bytesOf(*ChainedData::adopt(buffer, 1, 2)), "23");
  EXPECT_THROW(ChainedData::adopt(buffer, 3, 2), Exception);
  EXPECT_EQ(ChainedData::fromData(Data("qq"))->size(), 2u);
}

}  // namespace
}  // namespace tq
