// Compact UUID texts with their assertions, and the URL helpers.

#include <gtest/gtest.h>

#include "tests/support/RaisedException.h"
#include "tests/system/SystemTestSupport.h"
#include "tq/platform/system/Environment.h"
#include "tq/system/URLTQFoundation.h"
#include "tq/system/UUIDTQFoundation.h"

namespace tq {
namespace {

using namespace testing;
namespace F = TQFoundation;

TEST(UUIDTQFoundationTest, CompactFormsRoundTrip) {
  EXPECT_EQ(F::base64String(*F::omniUUID())->utf8(), "/////////////////////w");
  EXPECT_EQ(F::base64String(*F::nilUUID())->utf8(), "AAAAAAAAAAAAAAAAAAAAAA");
  EXPECT_EQ(F::omniUUID(), F::omniUUID());
  EXPECT_TRUE(F::newWithBase64String(*str("/////////////////////w"))->isEqual(*F::omniUUID()));
  for (int i = 0; i < 20; ++i) {
    auto uuid = make<UUID>();
    EXPECT_TRUE(F::newWithBase64String(*F::base64String(*uuid))->isEqual(*uuid)) << uuid->UUIDString();
    EXPECT_TRUE(F::newWithUUIDData(*F::UUIDData(*uuid))->isEqual(*uuid));
  }
  EXPECT_FALSE(F::newWithBase64String(*str("**********************")));
}

TEST(UUIDTQFoundationTest, WrongLengthsFailTheirAssertionsAtTheirFixedPlaces) {
  auto data = raisedBy([] { F::newWithUUIDData(*Data::dataWithBytes("short", 5)); });
  EXPECT_EQ(data.name(), ExceptionName::InternalInconsistency);
  EXPECT_EQ(data.reason(), "UUID data must be 16 bytes long");
  auto text = raisedBy([] { F::newWithBase64String(*str("/////////////////////w==")); });
  EXPECT_EQ(text.reason(), "UUID base64 string must be 22 bytes long");
}

TEST(URLTQFoundationTest, LowercaseStringsAndTheApplicationSupportFolder) {
  EXPECT_EQ(F::lowercaseString(*str("HTTPS://Example.COM/Path?Q=A"))->utf8(), "https://example.com/path?q=a");
  EXPECT_EQ(F::lowercaseString(*str("/Users/A B/Doc"))->utf8(), "file:///users/a%20b/doc");
  TemporaryFolder folder("appsupport");
  Bundle::setMainBundle(writeBundle(folder, "Named.app", {{"CFBundleName", "Sample Add-On"}}));
  {
    ScopedEnvironment environment(FixedEnvironment{{"HOME", "/home/ada"}});
    EXPECT_EQ(F::appSupportFolder()->utf8(), "file:///home/ada/.local/share/Sample%20Add-On/");
  }
  {
    ScopedEnvironment environment(FixedEnvironment{{"HOME", "/home/ada"}, {"XDG_DATA_HOME", "/data"}});
    EXPECT_EQ(F::appSupportFolder()->utf8(), "file:///data/Sample%20Add-On/");
  }
  {
    ScopedEnvironment environment(FixedEnvironment{});
    EXPECT_FALSE(F::appSupportFolder());
  }
  Bundle::setMainBundle(nullptr);
}

}  // namespace
}  // namespace tq
