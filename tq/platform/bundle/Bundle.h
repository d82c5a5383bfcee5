#pragma once
// Bundles: folders of resources described by an information dictionary.
//
//   <bundle>/Contents/Info.plist          the information dictionary (XML or binary)
//   <bundle>/Contents/Resources/          resources, by name and type
//   <bundle>/Contents/Resources/<lang>.lproj/   the resources of one localisation
//
// Everything is read through the FileSystem seam, so a host or a test can put
// bundles under a folder of its own (RootedFileSystem). Localisation folders
// are searched in the order of the user's languages, read through the
// Environment seam from LANGUAGE, LC_ALL, LC_MESSAGES and LANG (see
// `preferredLanguages`).

#include <memory>
#include <string>

#include "tq/platform/collection/Array.h"
#include "tq/platform/collection/Dictionary.h"
#include "tq/platform/object/AssociatedObjects.h"
#include "tq/platform/object/Object.h"
#include "tq/platform/value/String.h"

namespace tq {

namespace detail {
class StringTables;
}

class Bundle : public Object {
 public:
  /// Nil when the path is not a folder. One object per resolved path (the
  /// path made absolute, "." and ".." and symbolic links resolved), kept for
  /// the life of the process: asking again gives the same object.
  static Ref<Bundle> bundleWithPath(const String& path);
  static Ref<Bundle> bundleWithPath(std::string_view utf8Path);

  /// The main bundle: the one the host set; else the bundle folder that holds
  /// the running executable (/proc/self/exe inside <X>/Contents/...); else a
  /// bundle of the executable's own folder, so that bare tools still have one.
  /// Never nil.
  static Ref<Bundle> mainBundle();
  /// Sets the main bundle; nil goes back to the default.
  static void setMainBundle(Ref<Bundle> bundle);

  /// The user's languages in order of preference, as locale names without
  /// encoding or modifier ("de_DE", "pt", "zh_TW"). LANGUAGE (a colon list)
  /// comes first, unless the locale is "C" or "POSIX", which gettext takes as
  /// the request for untranslated text; then the locale of the first set of
  /// LC_ALL, LC_MESSAGES, LANG.
  static Ref<Array> preferredLanguages();
  /// The localisations of `localizations` (folder names without ".lproj") in
  /// the order a lookup tries them: for each of the user's languages its exact
  /// match, then its language alone ("de_DE", "de-DE", "de"; zh_CN and zh_SG
  /// also as "zh-Hans", zh_TW, zh_HK and zh_MO as "zh-Hant"), compared without
  /// case and with "_" and "-" alike; then `developmentLocalization`, "Base"
  /// and "en". Names that match nothing are left out.
  static Ref<Array> preferredLocalizationsFromArray(const Array& localizations,
                                                    const Ref<String>& developmentLocalization = nullptr);

  Ref<String> description() const override;
  std::string className() const override { return "Bundle"; }
  Id copy() const override { return self(); }

  Ref<String> bundlePath() const;
  /// "CFBundleIdentifier" of the information dictionary; nil if none.
  Ref<String> bundleIdentifier() const;
  /// The information dictionary, read once when the bundle is made; an empty
  /// dictionary when there is no readable Info.plist (never nil).
  Ref<Dictionary> infoDictionary() const;
  Id objectForInfoDictionaryKey(const String& key) const;
  Id objectForInfoDictionaryKey(std::string_view key) const;
  /// "CFBundleDevelopmentRegion" of the information dictionary; nil if none.
  Ref<String> developmentLocalization() const;

  /// <bundle>/Contents/Resources (whether or not it exists).
  Ref<String> resourcePath() const;

  /// A resource by name and type ("InitialDefaults", "plist"); a nil or empty
  /// type matches the name as given (a leading "." of the type is ignored).
  /// Looked for in the Resources folder first, then in the localisation
  /// folders in preference order. Files and folders both count. Nil when
  /// absent or when the name is empty.
  Ref<String> pathForResource(const String& name, const Ref<String>& type) const;
  /// The same below a subdirectory of Resources (and of each localisation
  /// folder); a nil or empty subdirectory is the folder itself.
  Ref<String> pathForResource(const String& name, const Ref<String>& type, const Ref<String>& subdirectory) const;
  /// Every resource whose name ends in "." + type (every one for a nil or
  /// empty type), in the same folders and order; names sorted within a
  /// folder, and a name found earlier hides the same name later.
  Ref<Array> pathsForResourcesOfType(const Ref<String>& type, const Ref<String>& subdirectory) const;

  /// The names of the localisation folders in Resources ("de" for
  /// "de.lproj"), sorted.
  Ref<Array> localizations() const;
  /// `localizations` in the order lookups try them (see
  /// `preferredLocalizationsFromArray`).
  Ref<Array> preferredLocalizations() const;

  /// The loaded bundles: the main bundle, then every bundle opened in this
  /// process (by the host or the library), in the order they were opened.
  static Ref<Array> allBundles();
  /// The first loaded bundle with that identifier; nil if none.
  static Ref<Bundle> bundleWithIdentifier(const String& identifier);

  /// The bundle's executable: "Contents/Linux/" followed by the information
  /// dictionary's "CFBundleExecutable" (nil without one); for the main bundle
  /// of a process started from inside it, the process's own executable.
  Ref<String> executablePath() const;
  /// <bundle>/Contents/Frameworks (whether or not it exists).
  Ref<String> privateFrameworksPath() const;

  // ---- Localized strings ----------------------------------------------------
  //
  // Tables live in the localisation folders: <lang>.lproj/<table>.strings and
  // <lang>.lproj/<table>.stringsdict (the plural table wins for a key both
  // hold), searched in the order of `preferredLocalizations`, then the
  // Resources folder itself. Each file is read once and kept.

  /// The text of a key in a table (nil or empty: "Localizable"). A key found
  /// in a plural table answers a `PluralFormatString`. Not found: the value
  /// when it is not empty, else the key. Every call goes through the lookup
  /// installed by `exchangeLocalizedStringLookup`, the platform's own at first.
  Ref<String> localizedStringForKey(const String& key, const Ref<String>& value, const Ref<String>& table) const;

  /// The platform's own lookup: what `localizedStringForKey` runs until
  /// another is installed.
  static Ref<String> platformLocalizedStringForKey(const Bundle& bundle, const String& key, const Ref<String>& value,
                                                   const Ref<String>& table);

  /// One localisation's tables as the platform's lookup searches them; either
  /// may be nil.
  struct LocalizedTable {
    std::string localization;  // the language whose plural rules apply
    Ref<Dictionary> plurals;
    Ref<Dictionary> strings;
  };
  /// The tables the platform's lookup of `table` (nil or empty:
  /// "Localizable") searches, in order, for the user's languages (this
  /// thread's snapshot's while one lives). For callers that search several
  /// bundles at once.
  std::shared_ptr<const std::vector<LocalizedTable>> localizedTables(const Ref<String>& table) const;
  /// The user's language variables as one text, read now (ignoring any
  /// snapshot): equal texts mean equal lookups.
  static std::string currentLanguageSignature();

  using LocalizedStringLookup = Ref<String> (*)(const Bundle& bundle, const String& key, const Ref<String>& value,
                                                const Ref<String>& table);
  /// Installs another lookup for `localizedStringForKey` of every bundle and
  /// answers the one it replaces, so that the replacement can reach it.
  static LocalizedStringLookup exchangeLocalizedStringLookup(LocalizedStringLookup replacement);

  /// While one lives, the lookups this thread makes read the user's languages
  /// as they stood when it was made, instead of reading the environment at
  /// every call: a lookup that searches several bundles reads them once.
  class LanguageSnapshot {
   public:
    LanguageSnapshot();
    ~LanguageSnapshot();
    LanguageSnapshot(const LanguageSnapshot&) = delete;
    LanguageSnapshot& operator=(const LanguageSnapshot&) = delete;

    /// The signature the lookups of this thread use meanwhile.
    const std::string& signature() const { return signature_; }

   private:
    std::string signature_;
    const std::string* previous_;
  };

  /// Values that other layers keep with the bundle (cached build information,
  /// a found resource bundle); released with it.
  AssociatedObjects& associatedObjects() const { return associated_; }

  /// Made by `bundleWithPath` and `mainBundle`; use those.
  Bundle(std::string path, Ref<Dictionary> info);

 private:
  friend class detail::StringTables;
  std::string path_;
  Ref<Dictionary> info_;
  std::shared_ptr<detail::StringTables> tables_;
  mutable AssociatedObjects associated_;
};

}  // namespace tq
