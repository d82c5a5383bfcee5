// tqkit defaults: reading, writing and deleting through the file manager, and
// watching another process's writes with the built binary.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <thread>

#include "tests/support/Eventually.h"
#include "tests/tools/TqkitTestSupport.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/value/Number.h"
#include "tq/settings/TQDefaultsFileManager.h"

namespace tq {
namespace {

using testing::runInProcess;
using testing::shellQuoted;

class TqkitDefaultsTest : public testing::TqkitTest {
 protected:
  void TearDown() override {
    _TQDefaultsFileManager::forgetManagers();
    TqkitTest::TearDown();
  }
  Ref<Dictionary> contents(const std::string& file) { return cast<Dictionary>(PropertyList::readFile(file)); }
};

TEST_F(TqkitDefaultsTest, WritesMergeIntoTheFileAndReadsPrintStringsRawAndOtherValuesAsJSON) {
  const std::string file = path("Defaults.plist");
  PropertyList::writeFile(dict({{str("kept"), str("by another process")}}).get(), file, PropertyListFormat::XML);
  EXPECT_EQ(runInProcess({"defaults", "write", file, "volume", "11"}).status, 0);
  EXPECT_EQ(runInProcess({"defaults", "write", file, "greeting", "Hello there"}).status, 0);
  EXPECT_EQ(runInProcess({"defaults", "write", file, "window", "{\"width\": 640}"}).status, 0);
  EXPECT_EQ(runInProcess({"defaults", "write", file, "window.width", "800"}).status, 0);

  auto stored = contents(file);
  ASSERT_NE(stored, nullptr);
  EXPECT_TRUE(stored->objectForKey("kept")->isEqual(*str("by another process")));
  EXPECT_TRUE(stored->objectForKey("volume")->isEqual(*num(11)));
  EXPECT_TRUE(stored->objectForKey("window")->isEqual(*dict({{str("width"), num(800)}}))) << "a dotted key changes one entry";

  EXPECT_EQ(runInProcess({"defaults", "read", file, "greeting"}).out, "Hello there\n");
  EXPECT_EQ(runInProcess({"defaults", "read", file, "window.width"}).out, "800\n");
  auto whole = runInProcess({"defaults", "read", file});
  EXPECT_EQ(whole.status, 0);
  EXPECT_NE(whole.out.find("\"volume\": 11"), std::string::npos) << whole.out;

  EXPECT_EQ(runInProcess({"defaults", "delete", file, "volume"}).status, 0);
  auto missing = runInProcess({"defaults", "read", file, "volume"});
  EXPECT_EQ(missing.status, 1);
  EXPECT_EQ(missing.err, "tqkit: defaults read: no value for 'volume' in '" + file + "'\n");
}

TEST_F(TqkitDefaultsTest, AFirstWriteCreatesTheFileAndMistakesAreReported) {
  const std::string file = path("New.plist");
  EXPECT_EQ(runInProcess({"defaults", "write", file, "first", "true"}).status, 0);
  EXPECT_TRUE(contents(file)->isEqual(*dict({{str("first"), num(true)}})));

  EXPECT_EQ(runInProcess({"defaults", "read", path("absent.plist")}).status, 1);
  EXPECT_EQ(runInProcess({"defaults", "delete", path("absent.plist"), "key"}).status, 1);
  EXPECT_EQ(runInProcess({"defaults", "write", file, "key", "null"}).status, 2);
  EXPECT_EQ(runInProcess({"defaults", "write", file, "key"}).status, 2);
  EXPECT_EQ(runInProcess({"defaults", "watch", "--count", "zero", file}).status, 2);
}

TEST_F(TqkitDefaultsTest, WatchPrintsAnotherProcesssChangesAsJSONLines) {
  TQKIT_REQUIRE_BINARY();
  const std::string file = path("Watched.plist");
  PropertyList::writeFile(dict({{str("start"), num(0)}}).get(), file, PropertyListFormat::XML);
  const std::string out = path("watch.txt");
  // The watcher needs a moment to start; the writer repeats until it has
  // been heard, so a slow start cannot make the test fail.
  const std::string script = binary() + " defaults watch --count 1 --timeout 30 " + shellQuoted(file) + " >" +
                             shellQuoted(out) + " & watcher=$!; for i in $(seq 1 40); do " + binary() +
                             " defaults write " + shellQuoted(file) +
                             " level $i; sleep 0.5; kill -0 $watcher 2>/dev/null || break; done; wait $watcher";
  auto ran = testing::runCommand(script);
  EXPECT_EQ(ran.status, 0);
  const std::string printed = read(out);
  EXPECT_EQ(printed.rfind("{\"key\":\"level\",\"value\":", 0), 0u) << printed;
  EXPECT_EQ(std::count(printed.begin(), printed.end(), '\n'), 1) << printed;
}

TEST_F(TqkitDefaultsTest, WatchShowsAKeyRemovedAlongWithAnAnnouncedChangeAsNull) {
  const std::string file = path("Removal.plist");
  PropertyList::writeFile(dict({{str("gone"), num(0)}, {str("kept"), num(1)}}).get(), file, PropertyListFormat::XML);
  // Another process replaces the file once the watcher has read it: one key
  // changed, one removed.
  std::thread other([&] {
    ASSERT_TRUE(testing::eventually([&] {
      auto manager = _TQDefaultsFileManager::managerForPath(file);
      return manager && manager->_lastDiskRead_() != 0;
    }, 30.0));
    std::ofstream(file + ".other") << PropertyList::writeXML(dict({{str("kept"), num(2)}}).get());
    std::filesystem::rename(file + ".other", file);
  });
  auto watched = runInProcess({"defaults", "watch", "--count", "2", "--timeout", "30", file});
  other.join();
  EXPECT_EQ(watched.status, 0);
  EXPECT_EQ(watched.out, "{\"key\":\"kept\",\"value\":2}\n{\"key\":\"gone\",\"value\":null}\n");
}

}  // namespace
}  // namespace tq
