// The defaults store: its five layers, typed reads and writes, key mapping
// and observation, set-up with initial values, upgrades and repairs, and the
// assertions of a subclass that forgets its duties.

#include <gtest/gtest.h>

#include <atomic>
#include <set>
#include <string>
#include <thread>
#include <vector>

#include "tests/settings/SettingsTestSupport.h"
#include "tests/support/RecordedAssertions.h"
#include "tq/platform/collection/KeyValueObserving.h"
#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/value/Color.h"

namespace tq {
namespace {

using testing::makeBundle;
using testing::SettingsTest;
using testing::TestStore;

class TQFoundationDefaultsTest : public SettingsTest {
 protected:
  void TearDown() override {
    UserDefaults::setArguments({});
    UserDefaults::resetStandardUserDefaults();
    SettingsTest::TearDown();
  }
};

TEST_F(TQFoundationDefaultsTest, LayersAnswerInOrderVolatileArgumentsFileRegistered) {
  UserDefaults::setArguments({"-layered", "fromArguments"});
  UserDefaults::resetStandardUserDefaults();
  auto store = makeStore("Defaults.plist", {.prefix = "TQ"});
  store->registerDefaults(*dict({{str("layered"), str("registered")}}));
  EXPECT_TRUE(store->defaultForKey("layered")->isEqual(*str("fromArguments")));

  UserDefaults::setArguments({});
  UserDefaults::resetStandardUserDefaults();
  EXPECT_TRUE(store->defaultForKey("layered")->isEqual(*str("registered")));
  store->setDefault(str("stored"), "layered");
  EXPECT_TRUE(store->defaultForKey("layered")->isEqual(*str("stored")));
  EXPECT_TRUE(fileContents()->objectForKey("TQlayered")->isEqual(*str("stored"))) << "kept under the component key";

  store->setVolatileDefault(str("volatile"), "layered");
  EXPECT_TRUE(store->defaultForKey("layered")->isEqual(*str("volatile")));
  EXPECT_EQ(fileContents()->objectForKey("layered"), nullptr) << "volatile values never reach the file";
  store->setVolatileDefault(nullptr, "layered");
  EXPECT_TRUE(store->defaultForKey("layered")->isEqual(*str("stored")));

  store->removeDefaultForKey("layered");
  EXPECT_TRUE(store->defaultForKey("layered")->isEqual(*str("registered")));
  EXPECT_EQ(fileContents()->objectForKey("TQlayered"), nullptr);
}

// The argument domain is asked under the plain key, then the component key.
// Reads keep it between its changes; each kind of change must reach the next
// read of a key already read.
TEST_F(TQFoundationDefaultsTest, AChangedArgumentDomainReachesTheNextReadOfAKeyReadBefore) {
  UserDefaults::setArguments({"-TQwide", "yes"});
  UserDefaults::resetStandardUserDefaults();
  auto store = makeStore("Defaults.plist", {.prefix = "TQ"});
  store->setDefault(str("stored"), "wide");
  EXPECT_TRUE(store->boolForKey("wide"));
  EXPECT_TRUE(store->defaultForKey("wide")->isEqual(*str("yes")));
  EXPECT_TRUE(store->defaultForKey("wide")->isEqual(*str("yes"))) << "a second read, from what was kept";

  auto standard = UserDefaults::standardUserDefaults();
  const auto argumentDomain = str(UserDefaults::ArgumentDomain);
  standard->setVolatileDomain(*dict({{str("wide"), str("replaced")}}), *argumentDomain);
  EXPECT_TRUE(store->defaultForKey("wide")->isEqual(*str("replaced")));

  standard->removeVolatileDomainForName(*argumentDomain);
  EXPECT_TRUE(store->defaultForKey("wide")->isEqual(*str("stored")));

  standard->setVolatileDomain(*dict({{str("TQwide"), str("again")}}), *argumentDomain);
  EXPECT_TRUE(store->defaultForKey("wide")->isEqual(*str("again")));

  UserDefaults::setArguments({});
  UserDefaults::resetStandardUserDefaults();
  EXPECT_TRUE(store->defaultForKey("wide")->isEqual(*str("stored"))) << "a fresh standard object without arguments";
}

// Readers on other threads while the argument domain is replaced over and
// over: every read answers one of the domains' values (never the stored value
// behind them, never nil), and once the replacing stops every reader sees the
// last domain.
TEST_F(TQFoundationDefaultsTest, ReadsOnManyThreadsFollowAnArgumentDomainReplacedMeanwhile) {
  UserDefaults::setArguments({"-wide", "first"});
  UserDefaults::resetStandardUserDefaults();
  auto store = makeStore("Defaults.plist", {.prefix = "TQ"});
  store->setDefault(str("stored"), "wide");
  auto standard = UserDefaults::standardUserDefaults();
  const auto argumentDomain = str(UserDefaults::ArgumentDomain);
  const auto key = str("wide");

  const std::set<std::string> domainValues{"first", "a", "b", "last"};
  std::atomic<bool> replacing{true};
  std::atomic<int> wrong{0};
  std::vector<std::thread> readers;
  for (int t = 0; t < 3; ++t) {
    readers.emplace_back([&] {
      while (replacing) {
        auto value = cast<String>(store->defaultForKey(*key));
        wrong += !value || !domainValues.count(value->utf8());
      }
    });
  }
  for (int i = 0; i < 2000; ++i) {
    standard->setVolatileDomain(*dict({{str("wide"), str(i % 2 ? "a" : "b")}}), *argumentDomain);
  }
  standard->setVolatileDomain(*dict({{str("wide"), str("last")}}), *argumentDomain);
  replacing = false;
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(wrong.load(), 0);

  std::vector<std::string> seen(3);
  readers.clear();
  for (auto& value : seen) readers.emplace_back([&] { value = store->stringForKey(*key)->utf8(); });
  for (auto& reader : readers) reader.join();
  EXPECT_EQ(seen, std::vector<std::string>(3, "last"));
  EXPECT_EQ(store->stringForKey(*key)->utf8(), "last");
}

TEST_F(TQFoundationDefaultsTest, TypedWritersStoreOnlyValuesOfTheirKind) {
  auto store = makeStore();
  store->setString(num(3), "name");
  store->setArray(str("x"), "list");
  store->setDictionary(Array::array(), "map");
  store->setColor(str("255 0 0"), "tint");
  EXPECT_EQ(store->defaultForKey("name"), nullptr);
  EXPECT_EQ(store->defaultForKey("list"), nullptr);
  EXPECT_EQ(store->defaultForKey("map"), nullptr);
  EXPECT_EQ(store->defaultForKey("tint"), nullptr);

  store->setString(str("Marta"), "name");
  store->setInteger(-7, "count");
  store->setFloat(0.1f, "ratio");
  store->setBool(true, "enabled");
  store->setColor(Color::colorWithDeviceRed(0.5, 0.5, 0.5, 1), "tint");
  EXPECT_TRUE(store->stringForKey("name")->isEqual(*str("Marta")));
  EXPECT_EQ(store->integerForKey("count"), -7);
  EXPECT_EQ(store->floatForKey("ratio"), double(0.1f)) << "single precision, widened";
  EXPECT_TRUE(store->boolForKey("enabled"));
  EXPECT_TRUE(fileContents()->objectForKey("tint")->isEqual(*str("127 127 127 100")));
  auto tint = store->colorForKey("tint");
  ASSERT_NE(tint, nullptr);
  EXPECT_NEAR(tint->redComponent(), 127.0 / 255, 1e-9);
  EXPECT_EQ(store->arrayForKey("name"), nullptr) << "a value of another kind reads as nil";
  EXPECT_EQ(store->integerForKey("missing"), 0);
  EXPECT_FALSE(store->boolForKey("missing"));
  EXPECT_EQ(store->floatForKey("missing"), 0.0);
}

TEST_F(TQFoundationDefaultsTest, KeysArePrefixedOnceAndUnprefixedKeysKeepTheirNames) {
  auto store = makeStore("Defaults.plist", {.prefix = "Kit", .unprefixed = {"shared"}});
  EXPECT_TRUE(store->_componentKeyForKey("color")->isEqual(*str("Kitcolor")));
  EXPECT_TRUE(store->mappedKeyForComponentKey("Kitcolor")->isEqual(*str("color")));
  EXPECT_TRUE(store->_componentKeyForKey("Kitcolor")->isEqual(*str("Kitcolor")));
  // The last key recorded for a component key is the one the reverse map keeps.
  EXPECT_TRUE(store->mappedKeyForComponentKey("Kitcolor")->isEqual(*str("Kitcolor")));
  EXPECT_TRUE(store->_componentKeyForKey("shared")->isEqual(*str("shared")));
  store->setDefaultsInDictionary(*dict({{str("a"), num(1)}, {str("shared"), num(2)}}));
  auto contents = fileContents();
  EXPECT_TRUE(contents->objectForKey("Kita")->isEqual(*num(1)));
  EXPECT_TRUE(contents->objectForKey("shared")->isEqual(*num(2)));
  EXPECT_EQ(contents->objectForKey("a"), nullptr);
  EXPECT_EQ(contents->objectForKey("Kitshared"), nullptr);
}

// An observer of a plain key hears of a change written under its component
// key, as another process's write announces it.
TEST_F(TQFoundationDefaultsTest, ObserversOfEitherNameHearOfAChange) {
  auto store = makeStore("Defaults.plist", {.prefix = "TQ"});
  auto observer = make<testing::Announcements>();
  addObserver(store, observer, *str("volume"), KeyValueObservingOptions::New, nullptr);
  addObserver(store, observer, *str("TQvolume"), KeyValueObservingOptions::None, nullptr);
  store->setInteger(11, "volume");
  EXPECT_EQ(observer->heard, (std::vector<std::string>{"did TQvolume", "did volume"}));
  removeObserver(store, observer, *str("volume"));
  removeObserver(store, observer, *str("TQvolume"));
}

TEST_F(TQFoundationDefaultsTest, BulkLookupFindsEachKeyInItsLayerAndLeavesMissingKeysOut) {
  auto store = makeStore("Defaults.plist", {.prefix = "TQ"});
  store->setDefault(num(1), "stored");
  store->setVolatileDefault(num(2), "volatile");
  store->registerDefaults(*dict({{str("registered"), num(3)}}));
  auto found = store->defaultsForKeys(
      *Array::arrayWithObjects({str("stored"), str("volatile"), str("registered"), str("missing")}));
  EXPECT_TRUE(found->isEqual(*dict({{str("stored"), num(1)}, {str("volatile"), num(2)}, {str("registered"), num(3)}})));
}

TEST_F(TQFoundationDefaultsTest, SetUpWritesInitialValuesAndTheVersionToANewFile) {
  auto store = makeStore("Defaults.plist",
                         {.bundle = makeBundle(folder.file("Initial.bundle"), "com.example.initial",
                                               dict({{str("greeting"), str("hello")}, {str("TQcount"), num(3)}})),
                          .prefix = "TQ"});
  EXPECT_EQ(store->upgradedFrom, (std::vector<std::int64_t>{0}));
  auto contents = fileContents();
  ASSERT_NE(contents, nullptr);
  EXPECT_TRUE(contents->objectForKey("TQgreeting")->isEqual(*str("hello")));
  EXPECT_TRUE(contents->objectForKey("TQcount")->isEqual(*num(3)));
  EXPECT_TRUE(contents->objectForKey("TQupgradeMark")->isEqual(*str("upgraded")));
  EXPECT_TRUE(
      contents->objectForKey("defaultVersions")->isEqual(*dict({{str("com.example.initial"), str("20200911")}})));
  EXPECT_TRUE(store->buildBranch()->isEqual(*str("main")));
  EXPECT_TRUE(store->buildCommit()->isEqual(*str("abc123")));
}

// A file at the current version whose keys hold every initial value: the
// set-up asks for a repair, and writes only when the repair changed something.
TEST_F(TQFoundationDefaultsTest, ACurrentFileKeepsItsValuesAndIsLeftAloneUnlessARepairChangesIt) {
  writeFile(dict({{str("TQgreeting"), str("stored")},
                  {str("defaultVersions"), dict({{str("com.example.initial"), str("20200911")}})}}));
  const auto before = std::filesystem::last_write_time(folder.file("Defaults.plist"));
  testing::StoreSetting initial{.bundle = makeBundle(folder.file("Initial.bundle"), "com.example.initial",
                                                     dict({{str("greeting"), str("hello")}})),
                                .prefix = "TQ"};
  auto store = makeStore("Defaults.plist", initial);
  EXPECT_TRUE(store->upgradedFrom.empty()) << "a current version is never upgraded";
  EXPECT_EQ(store->repairCalls, 1);
  EXPECT_TRUE(store->stringForKey("greeting")->isEqual(*str("stored"))) << "a stored value wins over the initial one";
  EXPECT_EQ(std::filesystem::last_write_time(folder.file("Defaults.plist")), before);

  _TQDefaultsFileManager::forgetManagers();
  initial.repairs = true;
  makeStore("Defaults.plist", initial);
  EXPECT_TRUE(fileContents()->objectForKey("TQrepairMark")->isEqual(*str("repaired")));
}

TEST_F(TQFoundationDefaultsTest, AnOlderStoredVersionIsUpgradedFromThatVersion) {
  writeFile(dict({{str("defaultVersions"), dict({{str("com.example.product"), str("20190101")}})}}));
  auto store = makeStore();
  EXPECT_EQ(store->upgradedFrom, (std::vector<std::int64_t>{20190101}));
  EXPECT_TRUE(
      fileContents()->objectForKey("defaultVersions")->isEqual(*dict({{str("com.example.product"), str("20200911")}})));
}

// A file system that notes, at each read of the defaults file, whether some
// open file description holds the file's lock exclusively.
class LockWitness : public FileSystem {
 public:
  explicit LockWitness(std::string file) : file_(std::move(file)) {}
  std::optional<std::string> readFile(const std::string& path, std::error_code* error) const override {
    if (path == file_) exclusiveAtRead.push_back(testing::lockHeldExclusively(file_));
    return FileSystem::readFile(path, error);
  }
  mutable std::vector<bool> exclusiveAtRead;

 private:
  std::string file_;
};

TEST_F(TQFoundationDefaultsTest, SetUpReadsAndWritesTheFileUnderOneExclusiveHold) {
  writeFile(dict({{str("fromOther"), num(1)}}));
  auto witness = std::make_shared<LockWitness>(folder.file("Defaults.plist"));
  {
    ScopedFileSystem watched(witness);
    makeStore();  // an older file: the set-up upgrades and writes it back
  }
  ASSERT_FALSE(witness->exclusiveAtRead.empty());
  EXPECT_TRUE(witness->exclusiveAtRead.front())
      << "another process could write between the set-up's read and its write";
  EXPECT_TRUE(fileContents()->objectForKey("fromOther")->isEqual(*num(1)));
}

TEST_F(TQFoundationDefaultsTest, StoresOfOneFileShareOneManagerEvenThroughASymbolicLink) {
  auto first = makeStore();
  std::filesystem::create_directory_symlink(folder.path(), folder.file("link"));
  auto second = makeStore("", {.path = folder.file("link/Defaults.plist")});
  EXPECT_EQ(first->_manager_().get(), second->_manager_().get());
  EXPECT_EQ(first->_manager_()->defaultManagersByUuid()->count(), 2u);
  EXPECT_TRUE(first->_manager_()->defaultsPathURL()->isEqual(*str(folder.file("Defaults.plist"))));
  first->setInteger(5, "shared");
  EXPECT_EQ(second->integerForKey("shared"), 5);
}

// A store as an add-on declares one: its own shared instance, its file.
class SharedStore : public TQDefaultsSubclass<SharedStore> {
 public:
  static Ref<SharedStore> sharedDefaults() { return sharedInstance<SharedStore>(); }
  Ref<String> pathToDefaults() const override { return str(path()); }
  static const std::string& path() {
    static const std::string file =
        (std::filesystem::temp_directory_path() / ("tq-shared-store-" + std::to_string(::getpid()) + ".plist"))
            .string();
    return file;
  }
};

TEST_F(TQFoundationDefaultsTest, ClassCallsReachTheSubclasssOwnSharedInstance) {
  SharedStore::Class::setBool(true, "flag");
  SharedStore::Class::setDefaultsInDictionary(*dict({{str("count"), num(4)}}));
  EXPECT_TRUE(SharedStore::Class::boolForKey("flag"));
  EXPECT_EQ(SharedStore::Class::integerForKey(*str("count")), 4);
  EXPECT_EQ(SharedStore::sharedDefaults().get(), SharedStore::sharedDefaults().get());
  auto stored = cast<Dictionary>(PropertyList::readFile(SharedStore::path()));
  ASSERT_NE(stored, nullptr);
  EXPECT_TRUE(stored->objectForKey("flag")->isEqual(*num(true)));
  SharedStore::Class::resetCache();
  EXPECT_EQ(SharedStore::sharedDefaults()->_manager_()->_lastDiskRead_(), 0.0);
  std::filesystem::remove(SharedStore::path());
}

TEST_F(TQFoundationDefaultsTest, TheBaseClassAndAForgetfulSubclassReportTheirAssertions) {
  TQ_REQUIRE_ASSERTIONS();
  testing::RecordedAssertions recorded;
  // The base names no file: its set-up reports that and goes on without one.
  auto base = TQFoundationDefaults::sharedDefaults();
  // A subclass that does not declare its own shared instance reaches the
  // base's, after the report.
  auto forgetful = TestStore::sharedDefaults();
  const auto seen = recorded.failures;
  ASSERT_EQ(seen.size(), 2u);
  EXPECT_EQ(seen[0].description, "SubClasses must override this method and not call super");
  EXPECT_EQ(seen[0].file + ":" + std::to_string(seen[0].line), "TQFoundationDefaults:454");
  EXPECT_EQ(seen[1].description, "SubClasses TQFoundationDefaults must implement +sharedDefaults");
  EXPECT_EQ(seen[1].file + ":" + std::to_string(seen[1].line), "TQFoundationDefaults:465");
  EXPECT_EQ(forgetful.get(), base.get());
  EXPECT_EQ(base->_manager_(), nullptr);
  EXPECT_EQ(base->defaultForKey("anything"), nullptr);
  base->setDefault(num(1), "anything");  // no file, nowhere to go: nothing happens
}

}  // namespace
}  // namespace tq
