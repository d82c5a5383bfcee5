// The user defaults: the search list, typed readers, volatile and persistent
// domains, and the application domain's file.

#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <thread>
#include <tuple>

#include "tests/support/Eventually.h"
#include "tests/support/RaisedException.h"
#include "tests/support/RunCommand.h"
#include "tests/support/TemporaryFolder.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/bundle/internal/ProcessExecutable.h"
#include "tq/platform/defaults/UserDefaults.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/Environment.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;

std::string readFile(const fs::path& path) { return FileSystem::system()->readFile(path.string()).value_or(""); }

Id fileContents(const fs::path& path) { return PropertyList::read(readFile(path)); }
bool fileHolds(const fs::path& path, const Id& expected) { return isEqual(fileContents(path), expected); }
template <class Defaults>
Id get(const Defaults& defaults, const char* key) {
  return defaults->objectForKey(*str(key));
}
template <class Defaults>
void set(const Defaults& defaults, const char* key, Id value) {
  defaults->setObjectForKey(std::move(value), *str(key));
}

std::vector<std::string> platformMessages;
void collectPlatformMessage(const std::string& message) { platformMessages.push_back(message); }

// A world of its own: the configuration folder in a temporary folder, a main
// bundle with an identifier, and no arguments unless a test gives some.
class UserDefaultsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_.write("Tests.app/Contents/Info.plist",
                  "<plist><dict><key>CFBundleIdentifier</key><string>org.example.Tests</string></dict></plist>");
    Bundle::setMainBundle(Bundle::bundleWithPath(folder_.string() + "/Tests.app"));
    UserDefaults::setArguments({});
    UserDefaults::resetStandardUserDefaults();
    platformMessages.clear();
    previousLog_ = setPlatformLogHandler(collectPlatformMessage);
  }
  void TearDown() override {
    UserDefaults::resetStandardUserDefaults();
    Bundle::setMainBundle(nullptr);
    setPlatformLogHandler(previousLog_);
  }

  fs::path config() const { return folder_.path() / "config"; }
  fs::path applicationFile() const { return config() / "org.example.Tests.plist"; }

  TemporaryFolder folder_{"defaults"};
  ScopedEnvironment environment_{
      FixedEnvironment({{"HOME", folder_.string() + "/home"}, {"XDG_CONFIG_HOME", folder_.string() + "/config"}})};
  PlatformLogHandler previousLog_ = nullptr;
};

TEST_F(UserDefaultsTest, DomainsAreSearchedArgumentApplicationGlobalRegistration) {
  folder_.write("config/NSGlobalDomain.plist",
                "<plist><dict><key>A</key><string>global</string><key>B</key><string>global</string>"
                "<key>C</key><string>global</string></dict></plist>");
  UserDefaults::setArguments({"-A", "argument", "-Only", "(x)"});
  auto defaults = UserDefaults::standardUserDefaults();
  auto registered = str("registered");
  defaults->registerDefaults(
      *dict({{str("A"), registered}, {str("B"), registered}, {str("C"), registered}, {str("D"), registered}}));
  set(defaults, "A", str("application"));
  set(defaults, "B", str("application"));

  auto everything = defaults->dictionaryRepresentation();
  EXPECT_TRUE(isEqual(everything, dict({{str("D"), registered},
                                        {str("A"), str("argument")},
                                        {str("B"), str("application")},
                                        {str("C"), str("global")},
                                        {str("Only"), arr({str("x")})}})))
      << describeUTF8(everything);
  for (const char* key : {"A", "B", "C", "D", "Only"})
    EXPECT_TRUE(isEqual(get(defaults, key), everything->objectForKey(key))) << key;
  EXPECT_FALSE(get(defaults, "E"));

  // Removing the application's value uncovers the next domain; registering
  // again replaces only what it names.
  defaults->removeObjectForKey(*str("B"));
  EXPECT_TRUE(isEqual(get(defaults, "B"), str("global")));
  defaults->registerDefaults(*dict({{str("D"), str("again")}}));
  EXPECT_TRUE(isEqual(get(defaults, "D"), str("again")));
  EXPECT_TRUE(
      isEqual(defaults->volatileDomainForName(*str(UserDefaults::RegistrationDomain))->objectForKey("C"), registered));
}

TEST_F(UserDefaultsTest, TypedReadersConvertNumbersAndStrings) {
  auto defaults = UserDefaults::standardUserDefaults();
  // Name, value, then integer, real, boolean and string readings (nullptr: no string).
  using Case = std::tuple<const char*, Id, std::int64_t, double, bool, const char*>;
  const Case cases[] = {
      {"int", num(42), 42, 42.0, true, "42"},
      {"real", num(-2.75), -2, -2.75, true, "-2.75"},
      {"bool", num(true), 1, 1.0, true, "1"},
      {"zero", num(0), 0, 0.0, false, "0"},
      {"leading number", str("  17.5 apples"), 17, 17.5, true, "  17.5 apples"},
      {"exponent", str("3.5e2x"), 3, 350.0, true, "3.5e2x"},
      {"YES", str("YES"), 0, 0.0, true, "YES"},
      {"true", str("True"), 0, 0.0, true, "True"},
      {"no", str("no"), 0, 0.0, false, "no"},
      {"y", str("y"), 0, 0.0, false, "y"},
      {"list", arr({str("a")}), 0, 0.0, false, nullptr},
      {"missing", nullptr, 0, 0.0, false, nullptr},
  };
  for (const auto& [name, value, integer, real, boolean, expectedText] : cases) {
    if (value) set(defaults, name, value);
    auto key = str(name);
    EXPECT_EQ(defaults->integerForKey(*key), integer) << name;
    EXPECT_DOUBLE_EQ(defaults->doubleForKey(*key), real) << name;
    EXPECT_FLOAT_EQ(defaults->floatForKey(*key), float(real)) << name;
    EXPECT_EQ(defaults->boolForKey(*key), boolean) << name;
    auto text = defaults->stringForKey(*key);
    EXPECT_EQ(text ? text->utf8() : "(nil)", expectedText ? expectedText : "(nil)") << name;
  }

  // Collections and data answer only their own kind.
  set(defaults, "table", dict({{str("k"), str("v")}}));
  set(defaults, "bytes", Data::dataWithBytes("ab", 2));
  EXPECT_TRUE(isEqual(defaults->arrayForKey(*str("list")), arr({str("a")})));
  EXPECT_TRUE(isEqual(defaults->dictionaryForKey(*str("table")), dict({{str("k"), str("v")}})));
  EXPECT_TRUE(isEqual(defaults->dataForKey(*str("bytes")), Data::dataWithBytes("ab", 2)));
  EXPECT_FALSE(defaults->arrayForKey(*str("table")) || defaults->dictionaryForKey(*str("list")) ||
               defaults->dataForKey(*str("YES")));

  defaults->setInteger(-7, *str("i"));
  defaults->setFloat(0.1f, *str("f"));
  defaults->setBool(true, *str("b"));
  EXPECT_TRUE(isEqual(get(defaults, "i"), num(-7)));
  EXPECT_TRUE(isEqual(get(defaults, "f"), num(double(0.1f))));
  EXPECT_TRUE(isEqual(get(defaults, "b"), num(true)));
}

TEST_F(UserDefaultsTest, ValuesAreCopiedAndNonPropertyListsOrUnsafeNamesRefused) {
  auto defaults = UserDefaults::standardUserDefaults();
  auto list = MutableArray::array();
  list->addObject(str("a"));
  set(defaults, "list", list);
  list->addObject(str("b"));
  EXPECT_TRUE(isEqual(get(defaults, "list"), arr({str("a")})));

  const std::pair<const char*, std::function<void()>> refused[] = {
      {"null value", [&] { set(defaults, "null", Null::null()); }},
      {"null in a domain",
       [&] {
         defaults->setPersistentDomain(*dict({{str("x"), Null::null()}}), *str("org.example.Other"));
       }},
      {"empty domain name", [&] { defaults->persistentDomainForName(*str("")); }},
      {"domain name with a slash", [&] { defaults->persistentDomainForName(*str("a/b")); }},
      {"suite outside the folder", [] { UserDefaults::initWithSuiteName(str("../escape")); }},
  };
  for (const auto& [what, action] : refused)
    EXPECT_EQ(testing::raisedBy(action).name(), "InvalidArgumentException") << what;
  EXPECT_NE(testing::raisedBy(refused[0].second).reason().find("Attempt to insert non-property list object"),
            std::string::npos);
  EXPECT_FALSE(get(defaults, "null"));
  EXPECT_FALSE(defaults->persistentDomainForName(*str("org.example.Other")));
}

TEST_F(UserDefaultsTest, ApplicationDomainSurvivesIntoANewObject) {
  auto first = UserDefaults::standardUserDefaults();
  auto table = dict({{str("nested"), arr({num(1), num(2.5)})}});
  set(first, "Name", str("kept"));
  first->setInteger(5, *str("Count"));
  set(first, "Table", table);
  ASSERT_TRUE(first->synchronize());

  auto written = cast<Dictionary>(fileContents(applicationFile()));
  ASSERT_TRUE(written) << readFile(applicationFile());
  EXPECT_NE(readFile(applicationFile()).find("<?xml version=\"1.0\""), std::string::npos);

  auto second = UserDefaults::initWithSuiteName(nullptr);
  EXPECT_TRUE(isEqual(get(second, "Name"), str("kept")));
  EXPECT_EQ(second->integerForKey(*str("Count")), 5);
  EXPECT_TRUE(isEqual(get(second, "Table"), table));
  EXPECT_TRUE(isEqual(second->persistentDomainForName(*str("org.example.Tests")), written));

  // A removal travels the same way.
  second->removeObjectForKey(*str("Count"));
  ASSERT_TRUE(second->synchronize());
  EXPECT_TRUE(first->synchronize());
  EXPECT_FALSE(get(first, "Count"));
}

TEST_F(UserDefaultsTest, ChangesAreWrittenSoonAfterwardsAndWhenTheObjectGoes) {
  auto defaults = UserDefaults::standardUserDefaults();
  defaults->setBool(true, *str("Soon"));
  EXPECT_TRUE(testing::eventually([&] {
    auto written = cast<Dictionary>(fileContents(applicationFile()));
    return written && isEqual(written->objectForKey("Soon"), num(true));
  }));

  auto suite = UserDefaults::initWithSuiteName(str("org.example.Group"));
  set(suite, "Last", str("at the end"));
  suite.reset();
  EXPECT_TRUE(fileHolds(config() / "org.example.Group.plist", dict({{str("Last"), str("at the end")}})));
}

// Run by the next test in a process of its own (disabled, so that an ordinary
// run leaves it out): sets a value and exits before the delayed write.
TEST(UserDefaultsExitTest, DISABLED_SetsAValueAndExitsAtOnce) {
  const char* folder = std::getenv("TQ_TEST_DEFAULTS_FOLDER");
  if (!folder) GTEST_SKIP();
  ScopedEnvironment environment(FixedEnvironment({{"XDG_CONFIG_HOME", folder}}));
  UserDefaults::setArguments({});
  set(UserDefaults::standardUserDefaults(), "WrittenAtExit", str("at exit"));
  std::exit(0);
}

TEST_F(UserDefaultsTest, TheStandardObjectWritesItsChangesWhenTheProcessExits) {
  const std::string program = detail::processExecutablePath();
  auto result = testing::runCommand("TQ_TEST_DEFAULTS_FOLDER=" + testing::shellQuoted(config().string()) + " " +
                                    testing::shellQuoted(program) +
                                    " --gtest_also_run_disabled_tests"
                                    " --gtest_filter=UserDefaultsExitTest.DISABLED_SetsAValueAndExitsAtOnce");
  ASSERT_EQ(result.status, 0) << result.output;
  // The child has no main bundle with an identifier: its domain is named
  // after the program.
  EXPECT_TRUE(fileHolds(config() / (fs::path(program).filename().string() + ".plist"),
                        dict({{str("WrittenAtExit"), str("at exit")}})))
      << result.output;
}

TEST_F(UserDefaultsTest, WritingMergesWithWhatOthersWroteMeanwhile) {
  auto defaults = UserDefaults::standardUserDefaults();
  set(defaults, "Mine", str("mine"));
  set(defaults, "Shared", str("old"));
  ASSERT_TRUE(defaults->synchronize());

  // Another process rewrites the file.
  auto theirs = dict({{str("Mine"), str("mine")}, {str("Shared"), str("theirs")}, {str("Theirs"), num(1)}});
  ASSERT_TRUE(PropertyList::writeFile(theirs.get(), applicationFile().string(), PropertyListFormat::XML));

  set(defaults, "Mine", str("mine again"));
  ASSERT_TRUE(defaults->synchronize());
  auto expected = dict({{str("Mine"), str("mine again")}, {str("Shared"), str("theirs")}, {str("Theirs"), num(1)}});
  EXPECT_TRUE(isEqual(fileContents(applicationFile()), expected)) << readFile(applicationFile());
  // Keys this process did not change are read again as they now stand.
  EXPECT_TRUE(isEqual(defaults->dictionaryRepresentation(), expected));
}

TEST_F(UserDefaultsTest, AFileThatIsNotAPropertyListIsNeverOverwritten) {
  const std::string garbage = "<plist><dict><key>Unfinished</key>";
  folder_.write("config/org.example.Tests.plist", garbage);
  auto defaults = UserDefaults::standardUserDefaults();
  EXPECT_FALSE(get(defaults, "Unfinished"));
  set(defaults, "Value", str("in memory"));
  EXPECT_FALSE(defaults->synchronize());
  EXPECT_EQ(readFile(applicationFile()), garbage);
  EXPECT_TRUE(isEqual(get(defaults, "Value"), str("in memory")));
  ASSERT_FALSE(platformMessages.empty());
  EXPECT_NE(platformMessages.back().find("Tests.plist is not a property-list dictionary"), std::string::npos);

  // Once the file is repaired, the kept change is written.
  folder_.write("config/org.example.Tests.plist", "<plist><dict><key>Fixed</key><true/></dict></plist>");
  EXPECT_TRUE(defaults->synchronize());
  EXPECT_TRUE(fileHolds(applicationFile(), dict({{str("Fixed"), num(true)}, {str("Value"), str("in memory")}})));
}

// Readers that keep a volatile domain trust it while the generation count
// stands still, so every change that can alter what the standard object
// answers must move it, and a plain read must not.
TEST_F(UserDefaultsTest, VolatileDomainsAreKeptApartAndEveryChangeMovesTheCount) {
  UserDefaults::setArguments({"-Launch", "YES"});
  auto defaults = UserDefaults::standardUserDefaults();
  auto argument = str(UserDefaults::ArgumentDomain);
  EXPECT_EQ(describeUTF8(defaults->volatileDomainNames()),
            describeUTF8(arr({str("NSArgumentDomain"), str("NSRegistrationDomain")})));
  EXPECT_TRUE(isEqual(defaults->volatileDomainForName(*argument), dict({{str("Launch"), str("YES")}})));
  EXPECT_TRUE(defaults->boolForKey(*str("Launch")));

  // The domain is copied, even from a dictionary no reference owns, and a
  // domain of the caller's own is not searched.
  MutableDictionary custom;
  custom.setObject(str("volatile"), str("Key"));
  defaults->setVolatileDomain(custom, *str("Custom"));
  custom.removeAllObjects();
  EXPECT_TRUE(isEqual(defaults->volatileDomainForName(*str("Custom")), dict({{str("Key"), str("volatile")}})));
  EXPECT_FALSE(get(defaults, "Key"));

  auto count = UserDefaults::volatileDomainsGeneration();
  auto moved = [&] {
    auto now = UserDefaults::volatileDomainsGeneration();
    return std::exchange(count, now) != now;
  };
  get(defaults, "Launch");
  EXPECT_FALSE(moved()) << "reads";
  // Replacing the argument domain is how launch arguments are set in-process.
  defaults->setVolatileDomain(*dict({{str("Other"), str("1")}}), *argument);
  EXPECT_TRUE(moved()) << "setVolatileDomain";
  EXPECT_FALSE(get(defaults, "Launch"));
  EXPECT_TRUE(defaults->boolForKey(*str("Other")));
  defaults->removeVolatileDomainForName(*argument);
  EXPECT_TRUE(moved()) << "removeVolatileDomainForName";
  EXPECT_FALSE(defaults->volatileDomainForName(*argument));
  EXPECT_FALSE(get(defaults, "Other"));
  defaults->registerDefaults(*dict({{str("Key"), str("2")}}));
  EXPECT_TRUE(moved()) << "registerDefaults";
  UserDefaults::resetStandardUserDefaults();
  EXPECT_TRUE(moved()) << "resetStandardUserDefaults";
  UserDefaults::standardUserDefaults();
  EXPECT_TRUE(moved()) << "a new standard object";
  UserDefaults::standardUserDefaults();
  EXPECT_FALSE(moved()) << "the same standard object again";
}

TEST_F(UserDefaultsTest, PersistentDomainsAreFilesOfTheConfigurationFolder) {
  auto defaults = UserDefaults::standardUserDefaults();
  auto other = str("org.example.Other");
  auto global = str(UserDefaults::GlobalDomain);
  defaults->setPersistentDomain(*dict({{str("K"), str("v")}}), *other);
  EXPECT_TRUE(isEqual(defaults->persistentDomainForName(*other), dict({{str("K"), str("v")}})));
  EXPECT_FALSE(get(defaults, "K"));

  // Writing the global domain makes its values visible to the search list.
  defaults->setPersistentDomain(*dict({{str("G"), str("global")}}), *global);
  EXPECT_TRUE(isEqual(get(defaults, "G"), str("global")));
  ASSERT_TRUE(defaults->synchronize());
  EXPECT_TRUE(fileHolds(config() / "org.example.Other.plist", dict({{str("K"), str("v")}})));
  EXPECT_TRUE(fileHolds(config() / "NSGlobalDomain.plist", dict({{str("G"), str("global")}})));

  // Replacing a domain drops the file's other keys.
  defaults->setPersistentDomain(*dict({{str("New"), str("n")}}), *other);
  defaults->removePersistentDomainForName(*global);
  ASSERT_TRUE(defaults->synchronize());
  EXPECT_TRUE(fileHolds(config() / "org.example.Other.plist", dict({{str("New"), str("n")}})));
  EXPECT_TRUE(fileHolds(config() / "NSGlobalDomain.plist", dict({})));
  EXPECT_FALSE(get(defaults, "G"));
}

TEST_F(UserDefaultsTest, TheApplicationDomainIsNamedByTheMainBundleElseTheExecutable) {
  EXPECT_EQ(UserDefaults::applicationDomainName()->utf8(), "org.example.Tests");
  folder_.folder("Anonymous.app/Contents");
  Bundle::setMainBundle(Bundle::bundleWithPath(folder_.string() + "/Anonymous.app"));
  EXPECT_EQ(UserDefaults::applicationDomainName()->utf8(),
            fs::path(detail::processExecutablePath()).filename().string());
  EXPECT_FALSE(UserDefaults::initWithSuiteName(str(UserDefaults::GlobalDomain)));
}

TEST_F(UserDefaultsTest, FilesGoThroughTheFileSystemSeamOrWithoutAFolderStayInMemory) {
  {
    TemporaryFolder root("defaults-root");
    ScopedFileSystem rooted(std::make_shared<RootedFileSystem>(root.string()));
    ScopedEnvironment environment(FixedEnvironment({{"HOME", "/home/user"}}));
    auto defaults = UserDefaults::initWithSuiteName(nullptr);
    set(defaults, "Where", str("rooted"));
    ASSERT_TRUE(defaults->synchronize());
    EXPECT_TRUE(
        fileHolds(root.path() / "home/user/.config/org.example.Tests.plist", dict({{str("Where"), str("rooted")}})));
  }
  ScopedEnvironment homeless(FixedEnvironment{});
  auto defaults = UserDefaults::initWithSuiteName(nullptr);
  set(defaults, "Key", str("memory"));
  for (int round = 0; round < 2; ++round) {
    EXPECT_TRUE(defaults->synchronize());
    EXPECT_TRUE(isEqual(get(defaults, "Key"), str("memory")));
  }
}

TEST_F(UserDefaultsTest, ManyThreadsReadAndWriteOneObject) {
  auto defaults = UserDefaults::standardUserDefaults();
  constexpr int Threads = 4, Keys = 50;
  std::vector<std::thread> threads;
  for (int t = 0; t < Threads; ++t) {
    threads.emplace_back([&, t] {
      for (int i = 0; i < Keys; ++i) {
        auto key = str("k" + std::to_string(t) + "-" + std::to_string(i));
        defaults->setInteger(i, *key);
        EXPECT_EQ(defaults->integerForKey(*key), i);
        if (i % 10 == 0) defaults->synchronize();
        defaults->dictionaryRepresentation();
      }
    });
  }
  for (auto& thread : threads) thread.join();
  ASSERT_TRUE(defaults->synchronize());
  auto written = cast<Dictionary>(fileContents(applicationFile()));
  EXPECT_TRUE(written && written->count() == std::size_t(Threads * Keys) &&
              isEqual(written->objectForKey("k3-49"), num(49)));
}

}  // namespace
}  // namespace tq
