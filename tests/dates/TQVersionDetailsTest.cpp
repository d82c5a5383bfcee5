// Version details: reading, the nested comparison levels, display forms, the
// malformed-string assertion and reading a bundle's version.

#include <gtest/gtest.h>

#include "tests/support/RecordedAssertions.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/dates/TQVersionDetails.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/system/OperatingSystemVersion.h"

namespace tq {
namespace {

TEST(TQVersionDetailsTest, ReadsEachPartAsALeadingInteger) {
  const struct {
    const char* text;
    std::int64_t major, minor, maintenance, build;
  } rows[] = {{"4.2.1b123", 4, 2, 1, 123}, {"10", 10, 0, 0, 0},           {"4.2", 4, 2, 0, 0},
              {"1.x.3", 1, 0, 3, 0},       {" -2.+3.4b5b6", -2, 3, 4, 5}, {"", 0, 0, 0, 0},
              {"1.2.", 1, 2, 0, 0},        {"7.1.0beta", 7, 1, 0, 0},     {"3.0.12rc4", 3, 0, 12, 0}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.text);
    Ref<TQVersionDetails> version = TQVersionDetails::initWithVersionString(row.text);
    ASSERT_TRUE(version);
    EXPECT_EQ(version->major(), row.major);
    EXPECT_EQ(version->minor(), row.minor);
    EXPECT_EQ(version->maintenance(), row.maintenance);
    EXPECT_EQ(version->build(), row.build);
    EXPECT_FALSE(version->branchName());
  }
}

TEST(TQVersionDetailsTest, MoreThanThreePartsFailTheAssertionAtItsFixedPlace) {
  TQ_REQUIRE_ASSERTIONS();
  EXPECT_FALSE(TQVersionDetails::initWithVersionString(Ref<String>()));
  try {
    TQVersionDetails::initWithVersionString("1.2.3.4");
    FAIL() << "no assertion";
  } catch (const Exception& e) {
    EXPECT_EQ(e.reason(), "malformed version string 1.2.3.4");
  }
  // A handler that returns lets parsing go on with the first three parts.
  testing::RecordedAssertions recorded;
  Ref<TQVersionDetails> version = TQVersionDetails::initWithVersionString("1.2.3b4.5");
  ASSERT_EQ(recorded.failures.size(), 1u);
  EXPECT_EQ(recorded.failures[0].file + ":" + std::to_string(recorded.failures[0].line), "TQVersionDetails:33");
  ASSERT_TRUE(version);
  EXPECT_EQ(version->debugDescription()->utf8(), "1.2.3b4");
}

TEST(TQVersionDetailsTest, ComparisonLevelsNestUnderTheOnesAbove) {
  const struct {
    const char* a;
    const char* b;
    std::uint16_t options;
    ComparisonResult expected;
  } rows[] = {
      {"4.2.1b5", "4.2.1b7", 15, ComparisonResult::Ascending}, {"4.2.1b5", "4.2.1b7", 0, ComparisonResult::Ascending},
      {"4.2.1b5", "4.2.1b7", 2, ComparisonResult::Same},       {"4.2.1b5", "4.2.1b7", 1, ComparisonResult::Same},
      {"4.2.1b5", "4.2.1b7", 7, ComparisonResult::Ascending},  {"4.3.0", "4.2.9", 4, ComparisonResult::Descending},
      {"4.3.0", "4.2.9", 15, ComparisonResult::Descending},    {"4.3.0", "4.2.9", 2, ComparisonResult::Same},
      {"4.2.9", "4.2.10", 6, ComparisonResult::Ascending},     {"4.2.9", "4.2.10", 8, ComparisonResult::Same},
      {"5", "4.9.9b9", 8, ComparisonResult::Descending}};
  for (const auto& row : rows) {
    auto a = TQVersionDetails::initWithVersionString(row.a), b = TQVersionDetails::initWithVersionString(row.b);
    EXPECT_EQ(a->compare(*b, row.options), row.expected) << row.a << " " << row.b << " options " << row.options;
  }
  EXPECT_EQ(TQVersionDetails::initWithVersionString("0")->compare(Ref<TQVersionDetails>()),
            ComparisonResult::Descending)
      << "against nil";
}

TEST(TQVersionDetailsTest, DisplayFormsAndDescriptions) {
  auto full = TQVersionDetails::initWithVersionString("4.2.1b123");
  auto plain = TQVersionDetails::initWithVersionString("10");
  EXPECT_EQ(full->displayStringWithOptions(3)->utf8(), "4.2.1b123");
  EXPECT_EQ(full->displayStringWithOptions(1)->utf8(), "4.2.1 build 123");
  EXPECT_EQ(full->displayStringWithOptions(2)->utf8(), "4.2.1");
  EXPECT_EQ(plain->displayStringWithOptions(1)->utf8(), "10.0.0");
  EXPECT_EQ(plain->displayStringWithOptions(3)->utf8(), "10.0.0b0");
  const std::string description = full->description()->utf8();
  EXPECT_EQ(description.rfind("<TQVersionDetails 0x", 0), 0u) << description;
  EXPECT_NE(description.find("> 4.2.1 build 123"), std::string::npos) << description;
}

TEST(TQVersionDetailsTest, CopiesKeepEveryField) {
  auto version = TQVersionDetails::initWithVersionString("4.2.1b123");
  version->setBranchName(str("main"));
  version->setCommitHash(str("abc123"));
  auto copied = cast<TQVersionDetails>(version->copy());
  ASSERT_NE(copied, version);
  EXPECT_EQ(copied->debugDescription()->utf8(), "4.2.1b123");
  EXPECT_EQ(copied->branchName()->utf8(), "main");
  EXPECT_EQ(copied->commitHash()->utf8(), "abc123");
}

TEST(TQVersionDetailsTest, ReadsTheBundleVersionOrNil) {
  testing::TemporaryFolder bundle("version");
  const auto path = str(bundle.folder("Contents").parent_path().string());
  EXPECT_FALSE(TQVersionDetails::versionDetailsForBundleAtPath(*path));
  bundle.write("Contents/Info.plist",
               "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
               "<key>CFBundleVersion</key><string>3.1b7</string></dict></plist>\n");
  auto version = TQVersionDetails::versionDetailsForBundleAtPath(*path);
  ASSERT_TRUE(version);
  EXPECT_EQ(version->debugDescription()->utf8(), "3.1.0b0");
  bundle.write("Contents/Info.plist",
               "<?xml version=\"1.0\"?><plist version=\"1.0\"><dict>"
               "<key>CFBundleShortVersionString</key><string>3.1</string></dict></plist>\n");
  EXPECT_FALSE(TQVersionDetails::versionDetailsForBundleAtPath(*path));
}

TEST(TQVersionDetailsTest, SystemVersionComesFromTheKernelRelease) {
  struct Case {
    const char* release;
    std::int64_t major, minor, patch;
  };
  for (const Case& c : {Case{"6.1.0-18-amd64", 6, 1, 0}, Case{"5.15", 5, 15, 0}, Case{"6.8.0rc1", 6, 8, 0},
                        Case{"4.19.304-1.el8", 4, 19, 304}, Case{"", 0, 0, 0}, Case{"x.1.2", 0, 0, 0}}) {
    OperatingSystemVersion version = operatingSystemVersionFromRelease(c.release);
    EXPECT_EQ(version.majorVersion * 10000 + version.minorVersion * 100 + version.patchVersion,
              c.major * 10000 + c.minor * 100 + c.patch)
        << c.release;
  }
  OperatingSystemVersion running = operatingSystemVersion();
  EXPECT_GT(running.majorVersion, 2);
  EXPECT_EQ(TQ_OSVersion(), running.majorVersion * 100 + running.minorVersion);
  EXPECT_EQ(TQ_Full_OSVersion() / 100, TQ_OSVersion());
}

}  // namespace
}  // namespace tq
