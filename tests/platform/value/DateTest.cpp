#include "tq/platform/system/Clocks.h"
#include "tq/platform/value/Date.h"

#include <gtest/gtest.h>

#include <set>

#include "tq/platform/object/Exception.h"
#include "tq/platform/value/String.h"

using namespace tq;

TEST(DateDescription, UTCWithWholeSecondsRoundedDown) {
  EXPECT_EQ(describeUTF8(make<Date>(0.0)), "2001-01-01 00:00:00 +0000");
  EXPECT_EQ(describeUTF8(Date::dateWithTimeIntervalSince1970(0)), "1970-01-01 00:00:00 +0000");
  EXPECT_EQ(describeUTF8(make<Date>(-0.5)), "2000-12-31 23:59:59 +0000") << "before the reference date";
  EXPECT_EQ(describeUTF8(make<Date>(86400.0 * 59 + 3661.75)), "2001-03-01 01:01:01 +0000");
}

TEST(DateValues, IntervalsEqualityAndOrder) {
  auto a = Date::dateWithTimeIntervalSince1970(1e9);
  EXPECT_DOUBLE_EQ(a->timeIntervalSinceReferenceDate(), 1e9 - TimeIntervalSince1970);
  EXPECT_DOUBLE_EQ(a->timeIntervalSince1970(), 1e9);
  auto b = a->dateByAddingTimeInterval(1.5);
  EXPECT_DOUBLE_EQ(b->timeIntervalSinceDate(*a), 1.5);
  EXPECT_EQ(a->compare(*b), ComparisonResult::Ascending);
  EXPECT_TRUE(isEqual(a, make<Date>(a->timeIntervalSinceReferenceDate())));
  EXPECT_EQ(a->hash(), make<Date>(a->timeIntervalSinceReferenceDate())->hash());
  EXPECT_TRUE(isEqual(make<Date>(0.0), make<Date>(-0.0)));
  EXPECT_EQ(make<Date>(0.0)->hash(), make<Date>(-0.0)->hash());
  EXPECT_EQ(Date::distantPast()->compare(*Date::distantFuture()), ComparisonResult::Ascending);
  EXPECT_THROW(a->compare(*str("x")), Exception);
}

TEST(DateClock, ReadsTheInstalledWallClock) {
  auto clock = std::make_shared<ManualClock>(TimeIntervalSince1970 + 1234.5);
  {
    ScopedClock<WallClock> installed(clock);
    EXPECT_DOUBLE_EQ(Date::date()->timeIntervalSinceReferenceDate(), 1234.5);
    clock->advance(std::chrono::milliseconds(250));
    EXPECT_DOUBLE_EQ(Date::now(), 1234.75);
  }
  EXPECT_GT(Date::now(), 7e8) << "the system clock again (after 2023)";
}

TEST(UUIDText, ParseAndPrint) {
  auto id = UUID::fromString("0123abcd-ef01-4a2b-8c3d-00ff00FF1234");
  ASSERT_TRUE(id);
  EXPECT_EQ(id->UUIDString(), "0123ABCD-EF01-4A2B-8C3D-00FF00FF1234");
  EXPECT_EQ(describeUTF8(id), id->UUIDString());
  EXPECT_EQ(id->bytes()[0], 0x01);
  EXPECT_EQ(id->bytes()[15], 0x34);
  EXPECT_TRUE(isEqual(id, UUID::fromString(id->UUIDString())));
  EXPECT_EQ(id->hash(), UUID::fromString(id->UUIDString())->hash());
  for (const char* bad : {"", "0123abcd-ef01-4a2b-8c3d-00ff00ff123", "0123abcd-ef01-4a2b-8c3d-00ff00ff12345",
                          "0123abcdef01-4a2b-8c3d-00ff00ff12345", "0123abcd-ef01-4a2b-8c3d-00ff00ff123g",
                          "{123abcd-ef01-4a2b-8c3d-00ff00ff1234}"}) {
    EXPECT_EQ(UUID::fromString(bad), nullptr) << bad;
  }
}

TEST(UUIDRandom, VersionFourAndDistinct) {
  std::set<std::string> seen;
  for (int i = 0; i < 50; ++i) {
    UUID id;
    EXPECT_EQ(id.bytes()[6] >> 4, 4);
    EXPECT_EQ(id.bytes()[8] >> 6, 2);
    seen.insert(id.UUIDString());
  }
  EXPECT_EQ(seen.size(), 50u);
}
