#pragma once
// The library's extension of bundles (`TQFoundation`): localized strings that
// look in a bundle's resource bundles first, the process-wide registry of
// resource bundles and the search for a module's resource bundle, and the
// build information an add-on's information dictionary carries (log
// identifier, build branch, bug number).
//
// Resource bundles are folders "<name>.bundle" inside a bundle. A module that
// ships one declares it (TQ_DECLARE_MODULE_RESOURCES in
// tq/platform/bundle/ModuleDeclarations.h), which is how the search below
// finds the bundle of a module's "class".
//
// Once this extension is linked into a program, `Bundle::localizedStringForKey`
// of every bundle runs the library's lookup (installed before main), and
// `tqLocalizedStringForKey` reaches the platform's own.

#include <string>
#include <string_view>

#include "tq/platform/bundle/Bundle.h"
#include "tq/platform/bundle/PluralTable.h"
#include "tq/platform/value/Number.h"

namespace tq {

/// The name of the exception `bundleForPackage_TargetName` raises.
inline constexpr const char* ResourceBundleAccessorException = "TQResourceBundleAccessor";
/// The log identifier of a bundle that names none.
inline constexpr const char* DefaultLogIdentifier = "TQS";
/// The text a lookup passes as its value to tell "not found" apart.
inline constexpr const char* NotFoundMarker = "NOT_FOUND";

namespace TQFoundation {

/// Installs the library's lookup in place of the platform's, once; done
/// before main by every file of the extension that the program links (and
/// by the localize conveniences), and safe to call again.
void load();

// ---- Localized strings ---------------------------------------------------

/// After `load`, the platform's own lookup (see Bundle::localizedStringForKey).
Ref<String> tqLocalizedStringForKey(const Bundle& bundle, const String& key, const Ref<String>& value,
                                    const Ref<String>& table);

/// The key looked up in the bundle's default table and formatted with the
/// arguments (a plural table's rules apply).
template <class... Args>
Ref<String> localize(const Bundle& bundle, const String& key, const Args&... args) {
  load();
  return localizedStringWithFormat(*bundle.localizedStringForKey(key, nullptr, nullptr), args...);
}
/// The same in a table (nil: the default table).
template <class... Args>
Ref<String> localizeInTable(const Bundle& bundle, const String& key, const Ref<String>& table, const Args&... args) {
  load();
  return localizedStringWithFormat(*bundle.localizedStringForKey(key, nullptr, table), args...);
}
/// The same, for a key of a plural table.
template <class... Args>
Ref<String> localizePlural(const Bundle& bundle, const String& key, const Ref<String>& table, const Args&... args) {
  load();
  return localizedStringWithFormat(*bundle.localizedStringForKey(key, nullptr, table), args...);
}

// ---- Build information ---------------------------------------------------

/// "TQLogIdentifier" of the information dictionary, read once; "TQS" when
/// the bundle has none.
Ref<String> logIdentifier(const Bundle& bundle);
/// Replaces the bundle's log identifier (nil or empty: none, so "TQS").
void setLogIdentifier(const Bundle& bundle, const Ref<String>& identifier);
/// "TQBuildBranch" of the information dictionary, or nil.
Ref<String> tqBranch(const Bundle& bundle);
/// The bug number of the branch ("bugs/#1234_fix" gives 1234), or 0; see
/// the prefixes below.
Ref<Number> tqBugNum(const Bundle& bundle);
/// The branch prefixes that carry a bug number, in the order tried.
inline constexpr std::string_view BugBranchPrefixes[] = {"BUGS/#", "BUGS/"};

/// The same for the loaded bundle with that identifier, kept per identifier
/// for the life of the process (0 and nil when no bundle has it).
Ref<Number> tqBugNumForBundleWithIdentifier(const String& identifier);
/// Nil for no branch or an empty one.
Ref<String> tqBranchForBundleWithIdentifier(const String& identifier);
/// The logger's log identifier for that bundle identifier, or nil.
Ref<String> tqLogIdentifierForBundleWithIdentifier(const String& identifier);

// ---- Resource bundles ----------------------------------------------------

/// The registry: name to bundle, as a copy.
Ref<Dictionary> registeredResourceBundles();
/// Adds the bundle at the path under its file name without extension, unless
/// that name is registered already (the first registration wins) or the path
/// is no bundle.
void registerResourceBundleAtPath(const String& path);
/// Registers the resource bundles "<framework>_<rest>.bundle" of the
/// bundle's resource folder whose first part names one of its private
/// frameworks ("<framework>.framework" in Contents/Frameworks).
void registerResourceBundles(const Bundle& bundle);
/// The resource bundle named "package_target": the registry, then every
/// loaded bundle's "<name>.bundle" resource, then "<name>.bundle" in the
/// main bundle's resource folder, in the resource folder of the bundle that
/// declares "<name>" + ModuleBundleFinderSuffix, and in the main bundle's
/// own folder. Raises ResourceBundleAccessorException when none is found.
Ref<Bundle> bundleForPackage_TargetName(const String& packageTargetName);
/// `bundleForPackage_TargetName` of "package_target".
Ref<Bundle> bundleForPackage(const String& package, const String& target);
/// The resource bundle of a code bundle, searched once and kept (a search
/// that found nothing is kept too); see the algorithm in TQBundleResources.cpp.
Ref<Bundle> resourceBundle(const Bundle& bundle);
/// `resourceBundle` of the bundle that declares the class name; nil for a
/// name nobody declared.
Ref<Bundle> resourceBundleForClass(std::string_view className);
/// `bundleForPackage` with the name as package and target. When there is
/// none the process stops with "Could not find bundle for TQEditingWebKit",
/// whatever the name.
Ref<Bundle> module(const String& name);

}  // namespace TQFoundation

}  // namespace tq
