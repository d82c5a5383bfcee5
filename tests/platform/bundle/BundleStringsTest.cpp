// The platform's localized-string lookup: localisation folders in the order
// of the user's languages, plural tables before string tables, the fallbacks,
// tables read once, the replaceable lookup, module declarations and the
// loaded bundles.

#include <gtest/gtest.h>

#include "tests/support/TemporaryFolder.h"
#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/bundle/ModuleDeclarations.h"
#include "tq/platform/bundle/PluralTable.h"
#include "tq/platform/system/Environment.h"

TQ_DECLARE_MODULE_RESOURCES(StringsTestPackage, StringsTestTarget)

namespace tq {
namespace {

using testing::TemporaryFolder;

const char* Plurals = R"(<plist version="1.0"><dict><key>files</key><dict>
  <key>NSStringLocalizedFormatKey</key><string>%#@n@</string>
  <key>n</key><dict><key>one</key><string>%d plik</string><key>few</key><string>%d pliki</string>
  <key>many</key><string>%d plików</string></dict></dict></dict></plist>)";

struct Fixture {
  TemporaryFolder folder{"strings"};
  Ref<Bundle> bundle;
  Fixture() {
    folder.write("Add.bundle/Contents/Info.plist",
                 "<plist version=\"1.0\"><dict><key>CFBundleDevelopmentRegion</key><string>en</string></dict></plist>");
    folder.write("Add.bundle/Contents/Resources/en.lproj/Localizable.strings",
                 "\"hello\" = \"Hello\";\n\"only.en\" = \"English only\";\n\"files\" = \"strings table\";");
    folder.write("Add.bundle/Contents/Resources/pl.lproj/Localizable.strings", "\"hello\" = \"Cześć\";");
    folder.write("Add.bundle/Contents/Resources/pl.lproj/Localizable.stringsdict", Plurals);
    folder.write("Add.bundle/Contents/Resources/de.lproj/Other.strings", "\"hello\" = \"Hallo\";");
    folder.write("Add.bundle/Contents/Resources/Localizable.strings", "\"root\" = \"from Resources\";");
    bundle = Bundle::bundleWithPath(folder.string() + "/Add.bundle");
  }
  std::string lookup(const char* key, const char* table = nullptr, const char* value = nullptr) {
    return bundle->localizedStringForKey(*str(key), value ? str(value) : nullptr, table ? str(table) : nullptr)->utf8();
  }
};

TEST(BundleStringsTest, TablesFollowTheUserLanguagesThenTheDevelopmentRegion) {
  Fixture f;
  struct Case {
    const char* language;
    const char* key;
    const char* table;
    const char* expected;
  } cases[] = {
      {"pl_PL.UTF-8", "hello", nullptr, "Cześć"},
      {"pl_PL.UTF-8", "only.en", nullptr, "English only"},  // missing in Polish: the next folder
      {"en_GB.UTF-8", "hello", nullptr, "Hello"},
      {"de_DE.UTF-8", "hello", nullptr, "Hello"},          // no German default table
      {"de_DE.UTF-8", "hello", "Other", "Hallo"},
      {"pl_PL.UTF-8", "hello", "", "Cześć"},               // an empty table is the default one
      {"C", "hello", nullptr, "Hello"},
      {"pl_PL.UTF-8", "root", nullptr, "from Resources"},  // a table outside the folders comes last
  };
  for (const Case& c : cases) {
    ScopedEnvironment environment(FixedEnvironment{{"LANG", c.language}});
    EXPECT_EQ(f.lookup(c.key, c.table), c.expected) << c.language << " " << c.key;
  }
  ScopedEnvironment polish(FixedEnvironment{{"LANG", "en_US.UTF-8"}, {"LANGUAGE", "pl:en"}});
  EXPECT_EQ(f.lookup("hello"), "Cześć");
}

TEST(BundleStringsTest, MissingKeysAnswerTheValueElseTheKey) {
  Fixture f;
  ScopedEnvironment environment(FixedEnvironment{{"LANG", "en_US.UTF-8"}});
  EXPECT_EQ(f.lookup("absent", nullptr, "fallback"), "fallback");
  EXPECT_EQ(f.lookup("absent", nullptr, ""), "absent");
  EXPECT_EQ(f.lookup("absent"), "absent");
  EXPECT_EQ(f.lookup("hello", "NoSuchTable", "v"), "v");
}

TEST(BundleStringsTest, APluralTableWinsAndCarriesItsLanguage) {
  Fixture f;
  ScopedEnvironment environment(FixedEnvironment{{"LANG", "pl_PL.UTF-8"}});
  auto format = f.bundle->localizedStringForKey(*str("files"), nullptr, nullptr);
  auto plural = std::dynamic_pointer_cast<PluralFormatString>(format);
  ASSERT_TRUE(plural);
  EXPECT_EQ(plural->localization(), "pl");
  EXPECT_EQ(localizedStringWithFormat(*format, 5)->utf8(), "5 plików");
  EXPECT_EQ(localizedStringWithFormat(*format, 3)->utf8(), "3 pliki");
}

TEST(BundleStringsTest, EachTableIsReadOnceAndABrokenOneIsLeftOut) {
  Fixture f;
  f.folder.write("Add.bundle/Contents/Resources/fr.lproj/Localizable.strings", "\"hello\" = ");
  ScopedEnvironment environment(FixedEnvironment{{"LANG", "pl_PL.UTF-8"}, {"LANGUAGE", "fr:pl"}});
  EXPECT_EQ(f.lookup("hello"), "Cześć");  // the broken French table is skipped
  f.folder.write("Add.bundle/Contents/Resources/pl.lproj/Localizable.strings", "\"hello\" = \"changed\";");
  EXPECT_EQ(f.lookup("hello"), "Cześć");
}

Ref<String> replacementLookup(const Bundle&, const String& key, const Ref<String>&, const Ref<String>&) {
  return str("replaced " + key.utf8());
}

TEST(BundleStringsTest, TheLookupCanBeExchangedAndTheReplacementReachesTheOriginal) {
  Fixture f;
  ScopedEnvironment environment(FixedEnvironment{{"LANG", "en_US.UTF-8"}});
  auto previous = Bundle::exchangeLocalizedStringLookup(&replacementLookup);
  EXPECT_EQ(f.lookup("hello"), "replaced hello");
  EXPECT_EQ(previous(*f.bundle, *str("hello"), nullptr, nullptr)->utf8(), "Hello");
  EXPECT_EQ(Bundle::exchangeLocalizedStringLookup(previous), &replacementLookup);
  EXPECT_NE(f.lookup("hello"), "replaced hello");
}

TEST(BundleStringsTest, ALanguageChangeUnderASnapshotLeavesNoWrongTableBehind) {
  Fixture f;
  {
    ScopedEnvironment polish(FixedEnvironment{{"LANG", "pl_PL.UTF-8"}});
    Bundle::LanguageSnapshot snapshot;
    ScopedEnvironment english(FixedEnvironment{{"LANG", "en_US.UTF-8"}});
    f.lookup("hello");
  }
  ScopedEnvironment polish(FixedEnvironment{{"LANG", "pl_PL.UTF-8"}});
  EXPECT_EQ(f.lookup("hello"), "Cześć");
}

TEST(ModuleDeclarationsTest, ADeclarationNamesBothFindersInThisImage) {
  auto declared = ModuleDeclarations::classNamed("StringsTestPackage_StringsTestTarget" +
                                                 std::string(ModuleBundleFinderSuffix));
  ASSERT_TRUE(declared);
  EXPECT_EQ(declared->imagePath, ModuleDeclarations::imagePathForAddress(reinterpret_cast<const void*>(&replacementLookup)));
  auto names = ModuleDeclarations::classNamesInImage(declared->imagePath);
  EXPECT_NE(std::find(names.begin(), names.end(),
                      "StringsTestPackage_StringsTestTarget" + std::string(ModuleBundlerFinderSuffix)),
            names.end());
  EXPECT_FALSE(ModuleDeclarations::classNamed("Nobody_Declared"));
  ModuleDeclarations::declareClassInImage("Twice", "/first");
  ModuleDeclarations::declareClassInImage("Twice", "/second");
  EXPECT_EQ(ModuleDeclarations::classNamed("Twice")->imagePath, "/first");
}

TEST(BundleStringsTest, LoadedBundlesStartWithTheMainBundleAndFindIdentifiers) {
  TemporaryFolder folder("loaded");
  folder.write("X.bundle/Contents/Info.plist",
               "<plist version=\"1.0\"><dict><key>CFBundleIdentifier</key><string>org.example.loaded</string>"
               "<key>CFBundleExecutable</key><string>X</string></dict></plist>");
  EXPECT_FALSE(Bundle::bundleWithIdentifier(*str("org.example.loaded")));
  auto bundle = Bundle::bundleWithPath(folder.string() + "/X.bundle");
  auto all = Bundle::allBundles();
  EXPECT_EQ(all->objectAtIndex(0), Bundle::mainBundle());
  EXPECT_EQ(Bundle::bundleWithIdentifier(*str("org.example.loaded")), bundle);
  EXPECT_EQ(bundle->executablePath()->utf8(), folder.string() + "/X.bundle/Contents/Linux/X");
}

}  // namespace
}  // namespace tq
