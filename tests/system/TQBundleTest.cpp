// The bundle extension: resource bundles searched first, the registry and
// the search for a module's and a code bundle's resource bundle, the build
// information, the localize conveniences and the fatal module lookup.

#include <gtest/gtest.h>

#include "tests/support/RaisedException.h"
#include "tests/system/SystemTestSupport.h"
#include "tq/platform/bundle/ModuleDeclarations.h"
#include "tq/platform/system/Environment.h"
#include "tq/system/TQBundle.h"

namespace tq {
namespace {

using namespace testing;
namespace F = TQFoundation;

// Installs a main bundle for the test, and the default again after it.
struct ScopedMainBundle {
  explicit ScopedMainBundle(Ref<Bundle> bundle) { Bundle::setMainBundle(std::move(bundle)); }
  ~ScopedMainBundle() { Bundle::setMainBundle(nullptr); }
};

std::string text(const Ref<String>& string) { return string ? string->utf8() : "(nil)"; }

TEST(TQBundleLookupTest, ResourceBundlesAnswerFirstAndNotFoundCountsAsMissing) {
  TemporaryFolder folder("lookup");
  auto bundle = writeBundle(folder, "Add.bundle");
  folder.write("Add.bundle/Contents/Resources/en.lproj/Localizable.strings",
               "\"both\" = \"own\";\n\"own.only\" = \"own only\";\n\"marked\" = \"own text\";");
  // Resource bundles are searched in the subdirectory "Resources" of the resources.
  folder.write("Add.bundle/Contents/Resources/Resources/Extra.bundle/Contents/Resources/en.lproj/Localizable.strings",
               "\"both\" = \"from the resource bundle\";\n\"marked\" = \"NOT_FOUND\";");
  folder.write("Add.bundle/Contents/Resources/Ignored.bundle/Contents/Resources/en.lproj/Localizable.strings",
               "\"own.only\" = \"not searched\";");
  ScopedEnvironment environment(FixedEnvironment{{"LANG", "en_US.UTF-8"}});
  auto lookup = [&](const char* key, const char* value) {
    return text(bundle->localizedStringForKey(*str(key), value ? str(value) : nullptr, nullptr));
  };
  EXPECT_EQ(lookup("both", nullptr), "from the resource bundle");
  EXPECT_EQ(lookup("own.only", nullptr), "own only");
  EXPECT_EQ(lookup("marked", nullptr), "own text");
  EXPECT_EQ(lookup("absent", "caller's"), "caller's");
  EXPECT_EQ(lookup("absent", nullptr), "absent");
  // The library's name for the lookup reaches the platform's own.
  EXPECT_EQ(text(F::tqLocalizedStringForKey(*bundle, *str("both"), nullptr, nullptr)), "own");
}

// The lookup answers from one merged table; it must answer what asking the
// resource bundles and then the bundle, one by one, answers.
TEST(TQBundleLookupTest, TheMergedTableAnswersAsTheSearchBundleByBundle) {
  TemporaryFolder folder("merged");
  auto bundle = writeBundle(folder, "Add.bundle", {{"CFBundleDevelopmentRegion", "en"}});
  const std::string resources = "Add.bundle/Contents/Resources/";
  folder.write(resources + "en.lproj/Localizable.strings",
               "\"a\" = \"own a\";\n\"b\" = \"own b\";\n\"n\" = \"NOT_FOUND\";\n\"p\" = \"own p\";");
  folder.write(resources + "pl.lproj/Localizable.strings", "\"a\" = \"own pl a\";");
  folder.write(resources + "en.lproj/Other.strings", "\"a\" = \"other a\";");
  writeBundle(folder, resources + "Resources/R1.bundle");
  writeBundle(folder, resources + "Resources/R2.bundle");
  folder.write(resources + "Resources/R1.bundle/Contents/Resources/en.lproj/Localizable.strings",
               "\"b\" = \"NOT_FOUND\";\n\"c\" = \"r1 c\";");
  folder.write(resources + "Resources/R2.bundle/Contents/Resources/en.lproj/Localizable.strings",
               "\"b\" = \"r2 b\";\n\"c\" = \"r2 c\";");
  folder.write(resources + "Resources/R2.bundle/Contents/Resources/pl.lproj/Localizable.stringsdict",
               "<plist version=\"1.0\"><dict><key>p</key><dict><key>NSStringLocalizedFormatKey</key>"
               "<string>%#@n@</string><key>n</key><dict><key>few</key><string>%d r2</string></dict></dict></dict></plist>");
  const std::vector<Ref<Bundle>> resourceBundles{
      Bundle::bundleWithPath(folder.string() + "/" + resources + "Resources/R1.bundle"),
      Bundle::bundleWithPath(folder.string() + "/" + resources + "Resources/R2.bundle")};
  auto oneByOne = [&](const String& key, const Ref<String>& value, const Ref<String>& table) {
    for (const auto& resource : resourceBundles) {
      auto found = F::tqLocalizedStringForKey(*resource, key, str("NOT_FOUND"), table);
      if (!found->isEqualToString("NOT_FOUND")) return found;
    }
    auto own = F::tqLocalizedStringForKey(*bundle, key, str("NOT_FOUND"), table);
    return own->isEqualToString("NOT_FOUND") ? F::tqLocalizedStringForKey(*bundle, key, value, table) : own;
  };
  for (const char* language : {"en_US.UTF-8", "pl_PL.UTF-8"}) {
    ScopedEnvironment environment(FixedEnvironment{{"LANG", language}});
    for (const char* key : {"a", "b", "c", "n", "p", "missing"}) {
      for (const Ref<String>& table : {Ref<String>(), str(""), str("Other")}) {
        auto expected = oneByOne(*str(key), str("v"), table);
        auto found = bundle->localizedStringForKey(*str(key), str("v"), table);
        EXPECT_EQ(text(found), text(expected)) << language << " " << key << " " << text(table);
        EXPECT_EQ(localizedStringWithFormat(*found, 3)->utf8(), localizedStringWithFormat(*expected, 3)->utf8());
      }
    }
  }
  ScopedEnvironment polish(FixedEnvironment{{"LANG", "pl_PL.UTF-8"}});
  EXPECT_EQ(localizedStringWithFormat(*bundle->localizedStringForKey(*str("p"), nullptr, nullptr), 3)->utf8(), "3 r2");
}

TEST(TQBundleLookupTest, LocalizeConveniencesFormatAndApplyPluralRules) {
  TemporaryFolder folder("localize");
  auto bundle = writeBundle(folder, "Add.bundle");
  folder.write("Add.bundle/Contents/Resources/pl.lproj/Localizable.strings", "\"greeting\" = \"Witaj, %@!\";");
  folder.write("Add.bundle/Contents/Resources/pl.lproj/Mail.stringsdict",
               R"(<plist version="1.0"><dict><key>messages</key><dict>
               <key>NSStringLocalizedFormatKey</key><string>%#@n@</string>
               <key>n</key><dict><key>one</key><string>%d wiadomość</string><key>few</key>
               <string>%d wiadomości</string><key>many</key><string>%d wiadomości</string></dict></dict></dict></plist>)");
  ScopedEnvironment environment(FixedEnvironment{{"LANG", "pl_PL.UTF-8"}});
  EXPECT_EQ(F::localize(*bundle, *str("greeting"), str("Marta"))->utf8(), "Witaj, Marta!");
  EXPECT_EQ(F::localizeInTable(*bundle, *str("greeting"), nullptr, str("Jan"))->utf8(), "Witaj, Jan!");
  EXPECT_EQ(F::localizePlural(*bundle, *str("messages"), str("Mail"), 1)->utf8(), "1 wiadomość");
  EXPECT_EQ(F::localizePlural(*bundle, *str("messages"), str("Mail"), 3)->utf8(), "3 wiadomości");
}

TEST(TQBundleRegistryTest, TheFirstRegistrationOfANameWins) {
  TemporaryFolder folder("registry");
  writeBundle(folder, "a/RegistryFirst_Once.bundle");
  writeBundle(folder, "b/RegistryFirst_Once.bundle");
  F::registerResourceBundleAtPath(*str(folder.string() + "/a/RegistryFirst_Once.bundle"));
  F::registerResourceBundleAtPath(*str(folder.string() + "/b/RegistryFirst_Once.bundle"));
  F::registerResourceBundleAtPath(*str(folder.string() + "/missing/Nothing.bundle"));
  auto registry = F::registeredResourceBundles();
  auto registered = cast<Bundle>(registry->objectForKey(std::string_view("RegistryFirst_Once")));
  ASSERT_TRUE(registered);
  EXPECT_EQ(registered->bundlePath()->utf8(), folder.string() + "/a/RegistryFirst_Once.bundle");
  EXPECT_FALSE(registry->objectForKey(std::string_view("Nothing")));
}

TEST(TQBundleRegistryTest, RegisterResourceBundlesTakesThoseNamedAfterPrivateFrameworks) {
  TemporaryFolder folder("frameworks");
  auto bundle = writeBundle(folder, "Code.bundle");
  folder.folder("Code.bundle/Contents/Frameworks/RegFw.framework");
  writeBundle(folder, "Code.bundle/Contents/Resources/RegFw_Views.bundle");
  writeBundle(folder, "Code.bundle/Contents/Resources/RegOther_Views.bundle");
  F::registerResourceBundles(*bundle);
  auto registry = F::registeredResourceBundles();
  EXPECT_TRUE(registry->objectForKey(std::string_view("RegFw_Views")));
  EXPECT_FALSE(registry->objectForKey(std::string_view("RegOther_Views")));
}

TEST(TQBundleModuleTest, PackageTargetNamesAreSearchedInOrder) {
  TemporaryFolder folder("modules");
  auto main = writeBundle(folder, "Main.app");
  ScopedMainBundle scoped(main);
  // Found through a loaded bundle's resources.
  auto loaded = writeBundle(folder, "Loaded.bundle");
  writeBundle(folder, "Loaded.bundle/Contents/Resources/SearchPkg_InLoaded.bundle");
  // In the resource folder of the bundle whose image declares the finder.
  writeBundle(folder, "Code.bundle");
  writeBundle(folder, "Code.bundle/Contents/Resources/SearchPkg_Declared.bundle");
  ModuleDeclarations::declareClassInImage("SearchPkg_Declared" + std::string(ModuleBundleFinderSuffix),
                                          folder.string() + "/Code.bundle/Contents/Linux/Code");
  // In the main bundle's own folder.
  writeBundle(folder, "Main.app/SearchPkg_Beside.bundle");
  struct Case {
    const char* package;
    const char* target;
    std::string expected;
  } cases[] = {{"SearchPkg", "InLoaded", "/Loaded.bundle/Contents/Resources/SearchPkg_InLoaded.bundle"},
               {"SearchPkg", "Declared", "/Code.bundle/Contents/Resources/SearchPkg_Declared.bundle"},
               {"SearchPkg", "Beside", "/Main.app/SearchPkg_Beside.bundle"}};
  for (const Case& c : cases) {
    auto found = F::bundleForPackage(*str(c.package), *str(c.target));
    ASSERT_TRUE(found) << c.target;
    EXPECT_EQ(found->bundlePath()->utf8(), folder.string() + c.expected);
    auto name = std::string(c.package) + "_" + c.target;
    EXPECT_EQ(F::registeredResourceBundles()->objectForKey(std::string_view(name)), found) << name;
  }
  (void)loaded;
  // Kept: the package search looks for the suffix without the "R" only.
  writeBundle(folder, "Other.bundle/Contents/Resources/SearchPkg_Bundler.bundle");
  ModuleDeclarations::declareClassInImage("SearchPkg_Bundler" + std::string(ModuleBundlerFinderSuffix),
                                          folder.string() + "/Other.bundle/Contents/Linux/Other");
  EXPECT_EQ(raisedBy([] { F::bundleForPackage_TargetName(*str("SearchPkg_Bundler")); }).name(),
            ResourceBundleAccessorException);
  auto raised = raisedBy([] { F::bundleForPackage_TargetName(*str("SearchPkg_Nowhere")); });
  EXPECT_EQ(raised.name(), ResourceBundleAccessorException);
  EXPECT_EQ(raised.reason(), "unable to find bundle for package_target SearchPkg_Nowhere");
}

TEST(TQBundleModuleTest, ACodeBundlesResourceBundleIsSearchedOnceAndKept) {
  TemporaryFolder folder("resourceBundle");
  auto main = writeBundle(folder, "Main.app");
  ScopedMainBundle scoped(main);
  CaughtPlatformLog log;
  // By its principal class, whose suffix is the one with the "R".
  auto principal = writeBundle(folder, "P.bundle",
                               {{"NSPrincipalClass", ("RbPkg_Principal" + std::string(ModuleBundlerFinderSuffix)).c_str()}});
  writeBundle(folder, "Main.app/Contents/Resources/RbPkg_Principal.bundle");
  EXPECT_EQ(text(F::resourceBundle(*principal)->bundlePath()), folder.string() + "/Main.app/Contents/Resources/RbPkg_Principal.bundle");
  // By its executable's name, twice.
  auto tool = writeBundle(folder, "T.bundle", {{"CFBundleExecutable", "RbTool"}});
  folder.write("T.bundle/Contents/Linux/RbTool", "");
  writeBundle(folder, "Main.app/Contents/Resources/RbTool_RbTool.bundle");
  auto found = F::resourceBundle(*tool);
  ASSERT_TRUE(found);
  std::filesystem::remove_all(folder.path() / "Main.app/Contents/Resources/RbTool_RbTool.bundle");
  EXPECT_EQ(F::resourceBundle(*tool), found);
  // A bundle without an executable finds nothing, says so once and keeps that.
  auto bare = writeBundle(folder, "Bare.bundle");
  EXPECT_FALSE(F::resourceBundle(*bare));
  EXPECT_EQ(log.taken(), (std::vector<std::string>{"No bundles found for image at (null)",
                                                   "No resourceBundle found for image at (null)"}));
  EXPECT_FALSE(F::resourceBundle(*bare));
  EXPECT_TRUE(log.taken().empty());
  // Kept: a bundle with an executable whose "Name_Name" is missing ends the
  // search with the exception, before its declared classes are looked at.
  auto unnamed = writeBundle(folder, "U.bundle", {{"CFBundleExecutable", "RbMissing"}});
  EXPECT_EQ(raisedBy([&] { F::resourceBundle(*unnamed); }).name(), ResourceBundleAccessorException);
}

TEST(TQBundleModuleTest, ModuleStopsTheProcessWithItsFixedMessage) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(F::module(*str("NoSuchModuleAnywhere")), "Could not find bundle for TQEditingWebKit");
}

TEST(TQBundleBuildInfoTest, BugNumbersComeFromTheBranch) {
  TemporaryFolder folder("branches");
  struct Case {
    const char* branch;
    std::int64_t bug;
  } cases[] = {{"bugs/#1234_fix-crash", 1234}, {"BUGS/#77", 0},    {"BUGS/12_x", 12}, {"Bugs/#5_a_b", 5},
               {"feature/x", 0},               {"BUGS/#abc_x", 0}, {"bugs/", 0},      {nullptr, 0}};
  int n = 0;
  for (const Case& c : cases) {
    auto bundle = c.branch ? writeBundle(folder, "B" + std::to_string(++n) + ".bundle", {{"TQBuildBranch", c.branch}})
                           : writeBundle(folder, "B" + std::to_string(++n) + ".bundle");
    EXPECT_EQ(F::tqBugNum(*bundle)->integerValue(), c.bug) << (c.branch ? c.branch : "(none)");
    EXPECT_EQ(text(F::tqBranch(*bundle)), c.branch ? c.branch : "(nil)");
  }
}

TEST(TQBundleBuildInfoTest, LogIdentifiersAndPerIdentifierCaches) {
  TemporaryFolder folder("identifiers");
  auto plain = writeBundle(folder, "Plain.bundle", {{"CFBundleIdentifier", "org.example.tq.plain"}});
  auto named = writeBundle(folder, "Named.bundle",
                           {{"TQLogIdentifier", "MAIL"}, {"CFBundleIdentifier", "org.example.tq.named"},
                            {"TQBuildBranch", "bugs/#42_x"}});
  EXPECT_EQ(text(F::logIdentifier(*plain)), "TQS");
  EXPECT_EQ(text(F::logIdentifier(*named)), "MAIL");
  F::setLogIdentifier(*plain, str("OWN"));
  EXPECT_EQ(text(F::logIdentifier(*plain)), "OWN");
  F::setLogIdentifier(*plain, nullptr);
  EXPECT_EQ(text(F::logIdentifier(*plain)), "TQS");
  EXPECT_EQ(F::tqBugNumForBundleWithIdentifier(*str("org.example.tq.named"))->integerValue(), 42);
  EXPECT_EQ(text(F::tqBranchForBundleWithIdentifier(*str("org.example.tq.named"))), "bugs/#42_x");
  EXPECT_EQ(text(F::tqBranchForBundleWithIdentifier(*str("org.example.tq.plain"))), "(nil)");
  EXPECT_EQ(F::tqBugNumForBundleWithIdentifier(*str("org.example.tq.none"))->integerValue(), 0);
  // Kept per identifier: a bundle that appears later is not seen.
  writeBundle(folder, "Late.bundle", {{"CFBundleIdentifier", "org.example.tq.none"}, {"TQBuildBranch", "bugs/9_x"}});
  EXPECT_EQ(F::tqBugNumForBundleWithIdentifier(*str("org.example.tq.none"))->integerValue(), 0);
}

}  // namespace
}  // namespace tq
