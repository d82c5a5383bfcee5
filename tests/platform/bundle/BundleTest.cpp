// Bundles: identity by folder, the information dictionary in both formats,
// the main bundle, and resources searched through the localisation folders
// in the order of the user's languages.

#include <gtest/gtest.h>

#include <filesystem>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/archive/PropertyList.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/bundle/internal/ProcessExecutable.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/platform/system/Environment.h"
#include "tq/platform/system/FileSystem.h"
#include "tq/platform/value/Number.h"

namespace tq {
namespace {

namespace fs = std::filesystem;
using testing::TemporaryFolder;

std::vector<std::string> utf8Strings(const Ref<Array>& array) {
  std::vector<std::string> result;
  for (const Id& item : *array) result.push_back(describeUTF8(item));
  return result;
}

std::string pathOrNil(const Ref<String>& path) { return path ? path->utf8() : "(nil)"; }

const char* XMLInfo =
    "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<plist version=\"1.0\"><dict>"
    "<key>CFBundleIdentifier</key><string>org.example.Mailer</string>"
    "<key>CFBundleVersion</key><string>42</string>"
    "<key>CFBundleDevelopmentRegion</key><string>fr</string>"
    "</dict></plist>";

TEST(BundleTest, OneObjectPerFolderWhateverThePathSaysAndNilForWhatIsNoFolder) {
  TemporaryFolder folder("bundle");
  folder.folder("Mailer.app/Contents");
  folder.write("file.txt", "x");
  fs::create_directory_symlink(folder.path() / "Mailer.app", folder.path() / "Link.app");

  auto bundle = Bundle::bundleWithPath(folder.string() + "/Mailer.app");
  ASSERT_TRUE(bundle);
  EXPECT_EQ(bundle->bundlePath()->utf8(), folder.string() + "/Mailer.app");
  for (const char* same : {"/Mailer.app/", "/Mailer.app/Contents/..", "/Link.app", "/./Mailer.app"})
    EXPECT_EQ(Bundle::bundleWithPath(*str(folder.string() + same)), bundle) << same;
  for (std::string none : {folder.string() + "/Missing.app", folder.string() + "/file.txt", std::string()})
    EXPECT_FALSE(Bundle::bundleWithPath(none)) << none;
}

TEST(BundleTest, InformationDictionaryIsReadFromXMLAndBinaryPropertyLists) {
  TemporaryFolder folder("bundle");
  folder.write("Xml.app/Contents/Info.plist", XMLInfo);
  folder.folder("Binary.app/Contents");
  auto info = dict({{str("CFBundleIdentifier"), str("org.example.Binary")}, {str("Count"), num(7)}});
  ASSERT_TRUE(PropertyList::writeFile(info.get(), folder.string() + "/Binary.app/Contents/Info.plist",
                                      PropertyListFormat::Binary));

  auto xml = Bundle::bundleWithPath(folder.string() + "/Xml.app");
  ASSERT_TRUE(xml);
  EXPECT_EQ(pathOrNil(xml->bundleIdentifier()), "org.example.Mailer");
  EXPECT_EQ(describeUTF8(xml->objectForInfoDictionaryKey(*str("CFBundleVersion"))), "42");
  EXPECT_EQ(pathOrNil(xml->developmentLocalization()), "fr");
  EXPECT_FALSE(xml->objectForInfoDictionaryKey("Missing"));

  auto binary = Bundle::bundleWithPath(folder.string() + "/Binary.app");
  ASSERT_TRUE(binary);
  EXPECT_EQ(pathOrNil(binary->bundleIdentifier()), "org.example.Binary");
  EXPECT_TRUE(isEqual(binary->infoDictionary(), info));
}

std::vector<std::string> platformMessages;
void collectPlatformMessage(const std::string& message) { platformMessages.push_back(message); }

TEST(BundleTest, WithoutAReadableInformationDictionaryTheBundleHasAnEmptyOne) {
  TemporaryFolder folder("bundle");
  folder.folder("Bare.app");
  folder.write("Broken.app/Contents/Info.plist", "<plist><dict><key>A</key></dict>");
  folder.write("Array.app/Contents/Info.plist", "<plist><array/></plist>");

  platformMessages.clear();
  PlatformLogHandler previous = setPlatformLogHandler(collectPlatformMessage);
  for (const char* name : {"Bare.app", "Broken.app", "Array.app"}) {
    auto bundle = Bundle::bundleWithPath(folder.string() + "/" + name);
    ASSERT_TRUE(bundle) << name;
    ASSERT_TRUE(bundle->infoDictionary()) << name;
    EXPECT_EQ(bundle->infoDictionary()->count(), 0u) << name;
    EXPECT_FALSE(bundle->bundleIdentifier()) << name;
  }
  setPlatformLogHandler(previous);
  // A missing file is no fault; the two unreadable ones are reported.
  ASSERT_EQ(platformMessages.size(), 2u);
  EXPECT_NE(platformMessages[0].find("Broken.app/Contents/Info.plist is not a property-list dictionary"),
            std::string::npos);
}

TEST(BundleTest, BundlesAreReadThroughTheFileSystemSeam) {
  TemporaryFolder root("bundle-root");
  root.write("Applications/Rooted.app/Contents/Info.plist", XMLInfo);
  root.write("Applications/Rooted.app/Contents/Resources/Defaults.plist", "<plist><dict/></plist>");

  ScopedFileSystem rooted(std::make_shared<RootedFileSystem>(root.string()));
  auto bundle = Bundle::bundleWithPath("/Applications/Rooted.app");
  ASSERT_TRUE(bundle);
  EXPECT_EQ(bundle->bundlePath()->utf8(), "/Applications/Rooted.app");
  EXPECT_EQ(pathOrNil(bundle->bundleIdentifier()), "org.example.Mailer");
  EXPECT_EQ(pathOrNil(bundle->pathForResource(*str("Defaults"), str("plist"))),
            "/Applications/Rooted.app/Contents/Resources/Defaults.plist");

  // The same path in another world is another bundle.
  TemporaryFolder other("bundle-root");
  other.folder("Applications/Rooted.app");
  ScopedFileSystem otherWorld(std::make_shared<RootedFileSystem>(other.string()));
  auto elsewhere = Bundle::bundleWithPath("/Applications/Rooted.app");
  ASSERT_TRUE(elsewhere);
  EXPECT_NE(elsewhere, bundle);
  EXPECT_FALSE(elsewhere->bundleIdentifier());
}

TEST(BundleTest, MainBundleIsTheOneTheHostSetElseTheExecutablesBundle) {
  // The innermost folder above "Contents" holds the executable, else its own folder.
  for (auto [executable, bundle] : std::initializer_list<std::pair<const char*, const char*>>{
           {"/opt/Mailer.app/Contents/Linux/mailer", "/opt/Mailer.app"},
           {"/opt/Mailer.app/Contents/mailer", "/opt/Mailer.app"},
           {"/A.app/Contents/PlugIns/B.bundle/Contents/Linux/b", "/A.app/Contents/PlugIns/B.bundle"},
           {"/usr/bin/tqkit", "/usr/bin"},
           {"/opt/ContentsX/bin/tool", "/opt/ContentsX/bin"}})
    EXPECT_EQ(detail::mainBundlePathForExecutable(executable), bundle);

  const std::string executable = detail::processExecutablePath();
  ASSERT_FALSE(executable.empty());
  auto defaultMain = Bundle::mainBundle();
  ASSERT_TRUE(defaultMain);
  // The test program lies in no bundle: its own folder stands in.
  EXPECT_EQ(defaultMain->bundlePath()->utf8(), fs::path(executable).parent_path().string());

  TemporaryFolder folder("bundle");
  folder.write("Host.app/Contents/Info.plist", XMLInfo);
  auto host = Bundle::bundleWithPath(folder.string() + "/Host.app");
  Bundle::setMainBundle(host);
  EXPECT_EQ(Bundle::mainBundle(), host);
  Bundle::setMainBundle(nullptr);
  EXPECT_EQ(Bundle::mainBundle(), defaultMain);
}

TEST(BundleLanguageTest, UserLanguagesComeFromLanguageThenTheMessagesLocale) {
  // LC_ALL before LC_MESSAGES before LANG, empty values unset; the C locale
  // (or none) asks for untranslated text, and LANGUAGE is then ignored.
  const std::pair<FixedEnvironment, std::vector<std::string>> cases[] = {
      {{{"LANG", "de_DE.UTF-8"}}, {"de_DE"}},
      {{{"LANGUAGE", "fr:de_AT@euro::pt_BR"}, {"LANG", "de_DE.UTF-8"}}, {"fr", "de_AT", "pt_BR", "de_DE"}},
      {{{"LC_ALL", "sv_SE"}, {"LC_MESSAGES", "nb_NO"}, {"LANG", "da_DK"}}, {"sv_SE"}},
      {{{"LC_ALL", ""}, {"LC_MESSAGES", "nb_NO"}, {"LANG", "da_DK"}}, {"nb_NO"}},
      {{{"LANGUAGE", "fr"}, {"LANG", "C.UTF-8"}}, {}},
      {{{"LANGUAGE", "fr"}}, {}},
      {{{"LANGUAGE", "de:C:de"}, {"LANG", "de_DE"}}, {"de", "de_DE"}},
  };
  for (const auto& [environment, expected] : cases) {
    ScopedEnvironment scope(environment);
    EXPECT_EQ(utf8Strings(Bundle::preferredLanguages()), expected);
  }
}

TEST(BundleLanguageTest, LocalizationsAreOrderedByTheUserThenDevelopmentRegionBaseAndEnglish) {
  auto order = [](FixedEnvironment environment, std::vector<const char*> folders, Ref<String> development) {
    ScopedEnvironment scope(std::move(environment));
    std::vector<Id> names;
    for (const char* name : folders) names.push_back(str(name));
    return utf8Strings(Bundle::preferredLocalizationsFromArray(Array(names), development));
  };
  const std::vector<const char*> folders{"Base", "de", "en", "fr", "pt-BR", "pt_PT", "zh-Hant", "zh_CN"};
  EXPECT_EQ(order({{"LANG", "pt_BR.UTF-8"}}, folders, nullptr), (std::vector<std::string>{"pt-BR", "Base", "en"}));
  EXPECT_EQ(order({{"LANG", "PT-pt"}}, folders, nullptr), (std::vector<std::string>{"pt_PT", "Base", "en"}));
  // A region the bundle lacks falls back to the language alone.
  EXPECT_EQ(order({{"LANGUAGE", "de_CH:fr"}, {"LANG", "de_CH"}}, folders, str("fr")),
            (std::vector<std::string>{"de", "fr", "Base", "en"}));
  // Chinese folders named by script.
  EXPECT_EQ(order({{"LANG", "zh_TW"}}, folders, nullptr), (std::vector<std::string>{"zh-Hant", "Base", "en"}));
  EXPECT_EQ(order({{"LANG", "zh_CN"}}, folders, nullptr), (std::vector<std::string>{"zh_CN", "Base", "en"}));
  // No preference at all: development region, Base, English.
  EXPECT_EQ(order({{"LANG", "C"}}, folders, str("de")), (std::vector<std::string>{"de", "Base", "en"}));
  EXPECT_EQ(order({{"LANG", "ja_JP"}}, {"fr"}, nullptr), std::vector<std::string>{});
}

class BundleResourceTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_.write("R.app/Contents/Info.plist", XMLInfo);  // development region fr
    folder_.write("R.app/Contents/Resources/Shared.plist", "");
    folder_.write("R.app/Contents/Resources/Both.strings", "");
    folder_.write("R.app/Contents/Resources/NoType", "");
    folder_.folder("R.app/Contents/Resources/Module.bundle");
    folder_.write("R.app/Contents/Resources/Sub/Inner.json", "");
    for (const char* language : {"de", "fr", "en", "Base"}) {
      folder_.write(std::string("R.app/Contents/Resources/") + language + ".lproj/Localizable.strings", "");
      folder_.write(std::string("R.app/Contents/Resources/") + language + ".lproj/Both.strings", "");
    }
    folder_.write("R.app/Contents/Resources/en.lproj/OnlyEnglish.strings", "");
    folder_.write("R.app/Contents/Resources/fr.lproj/Sub/Inner.json", "");
    folder_.write("R.app/Contents/Resources/fr.lproj/Sub/French.json", "");
    bundle_ = Bundle::bundleWithPath(folder_.string() + "/R.app");
    ASSERT_TRUE(bundle_);
    resources_ = folder_.string() + "/R.app/Contents/Resources";
  }

  std::string find(const char* name, Ref<String> type, Ref<String> subdirectory = nullptr) {
    return pathOrNil(bundle_->pathForResource(*str(name), type, subdirectory));
  }

  TemporaryFolder folder_{"bundle-resources"};
  Ref<Bundle> bundle_;
  std::string resources_;
};

TEST_F(BundleResourceTest, ResourcesFolderFirstThenLocalisationsInPreferenceOrder) {
  ScopedEnvironment german(FixedEnvironment({{"LANG", "de_DE.UTF-8"}}));
  EXPECT_EQ(bundle_->resourcePath()->utf8(), resources_);
  EXPECT_EQ(utf8Strings(bundle_->localizations()), (std::vector<std::string>{"Base", "de", "en", "fr"}));
  EXPECT_EQ(utf8Strings(bundle_->preferredLocalizations()), (std::vector<std::string>{"de", "fr", "Base", "en"}));

  EXPECT_EQ(find("Shared", str("plist")), resources_ + "/Shared.plist");
  EXPECT_EQ(find("Both", str("strings")), resources_ + "/Both.strings");
  EXPECT_EQ(find("Localizable", str("strings")), resources_ + "/de.lproj/Localizable.strings");
  EXPECT_EQ(find("OnlyEnglish", str("strings")), resources_ + "/en.lproj/OnlyEnglish.strings");

  ScopedEnvironment french(FixedEnvironment({{"LANGUAGE", "it:fr"}, {"LANG", "it_IT"}}));
  EXPECT_EQ(find("Localizable", str("strings")), resources_ + "/fr.lproj/Localizable.strings");
}

TEST_F(BundleResourceTest, TypesSubdirectoriesAndMissingResources) {
  ScopedEnvironment english(FixedEnvironment({{"LANG", "en_GB"}}));
  EXPECT_EQ(find("NoType", nullptr), resources_ + "/NoType");
  EXPECT_EQ(find("NoType", str("")), resources_ + "/NoType");
  EXPECT_EQ(find("Shared.plist", nullptr), resources_ + "/Shared.plist");
  EXPECT_EQ(find("Shared", str(".plist")), resources_ + "/Shared.plist");
  EXPECT_EQ(find("Module", str("bundle")), resources_ + "/Module.bundle");
  EXPECT_EQ(find("Inner", str("json"), str("Sub")), resources_ + "/Sub/Inner.json");
  EXPECT_EQ(find("French", str("json"), str("Sub")), resources_ + "/fr.lproj/Sub/French.json");

  EXPECT_EQ(find("Shared", str("json")), "(nil)");
  EXPECT_EQ(find("Missing", str("plist")), "(nil)");
  EXPECT_EQ(find("Inner", str("json")), "(nil)");
  EXPECT_EQ(find("", str("plist")), "(nil)");
}

TEST_F(BundleResourceTest, AllResourcesOfATypeEarlierFoldersHidingLaterNames) {
  ScopedEnvironment german(FixedEnvironment({{"LANG", "de"}}));
  EXPECT_EQ(utf8Strings(bundle_->pathsForResourcesOfType(str("strings"), nullptr)),
            (std::vector<std::string>{resources_ + "/Both.strings", resources_ + "/de.lproj/Localizable.strings",
                                      resources_ + "/en.lproj/OnlyEnglish.strings"}));
  EXPECT_EQ(utf8Strings(bundle_->pathsForResourcesOfType(str("bundle"), nullptr)),
            (std::vector<std::string>{resources_ + "/Module.bundle"}));
  EXPECT_EQ(utf8Strings(bundle_->pathsForResourcesOfType(nullptr, str("Sub"))),
            (std::vector<std::string>{resources_ + "/Sub/Inner.json", resources_ + "/fr.lproj/Sub/French.json"}));
}

}  // namespace
}  // namespace tq
