// The localized-string lookup that searches a bundle's resource bundles
// before the bundle itself, installed in place of the platform's.

#include <atomic>
#include <cstdlib>
#include <mutex>

#include "tq/platform/collection/Array.h"
#include "tq/platform/object/Exception.h"
#include "tq/platform/object/PlatformLog.h"
#include "tq/system/TQBundle.h"

namespace tq::TQFoundation {

namespace {

std::atomic<Bundle::LocalizedStringLookup> platformLookup{nullptr};

// The resource bundles a lookup searches: "*.bundle" in the subdirectory
// "Resources" of the bundle's resources, opened once per bundle. Listing the
// folder at every lookup would cost more than the lookup itself.
Ref<Array> lookupResourceBundles(const Bundle& bundle) {
  constexpr std::string_view key = "org.tqbasekit.lookupResourceBundles";
  if (auto known = cast<Array>(bundle.associatedObjects().objectForKey(key))) return known;
  std::vector<Id> opened;
  const Ref<Array> paths = bundle.pathsForResourcesOfType(str("bundle"), str("Resources"));
  for (const Id& path : *paths) {
    if (auto resource = Bundle::bundleWithPath(*cast<String>(path))) opened.push_back(resource);
  }
  return cast<Array>(bundle.associatedObjects().objectForKeyOrStore(key, Array::arrayWithObjects(std::move(opened))));
}

const Ref<String>& notFoundMarker() {
  static const Ref<String>* marker = new Ref<String>(str(NotFoundMarker));
  return *marker;
}

// A miss answers the marker object itself; only a table entry that reads
// "NOT_FOUND" needs its text compared.
bool isFound(const Ref<String>& text) {
  if (!text || text == notFoundMarker()) return false;
  return !(text->length() == notFoundMarker()->length() && text->isEqual(*notFoundMarker()));
}

Ref<String> libraryLookup(const Bundle& bundle, const String& key, const Ref<String>& value, const Ref<String>& table) {
  const Bundle::LocalizedStringLookup platform = platformLookup.load(std::memory_order_acquire);
  const Ref<String>& notFound = notFoundMarker();
  // The user's languages are read once for all the bundles searched.
  Bundle::LanguageSnapshot languages;
  const Ref<Array> resourceBundles = lookupResourceBundles(bundle);
  for (const Id& item : *resourceBundles) {
    Ref<String> text = platform(*cast<Bundle>(item), key, notFound, table);
    if (isFound(text)) return text;
  }
  Ref<String> own = platform(bundle, key, notFound, table);
  if (isFound(own)) return own;
  return platform(bundle, key, value, table);
}

// Installed before main when this file is linked in, as the platform loads
// an extension with its image.
[[maybe_unused]] const bool loadedAtStart = (load(), true);

}  // namespace

void load() {
  static std::once_flag once;
  std::call_once(once, [] {
    platformLookup.store(Bundle::exchangeLocalizedStringLookup(&libraryLookup), std::memory_order_release);
  });
}

Ref<String> tqLocalizedStringForKey(const Bundle& bundle, const String& key, const Ref<String>& value,
                                    const Ref<String>& table) {
  load();
  return platformLookup.load(std::memory_order_acquire)(bundle, key, value, table);
}

Ref<Bundle> module(const String& name) {
  try {
    if (auto bundle = bundleForPackage(name, name)) return bundle;
  } catch (const Exception&) {
  }
  // The message names the module this convenience was first written for,
  // whatever the name asked for.
  platformLog("Fatal error: Could not find bundle for TQEditingWebKit");
  std::abort();
}

}  // namespace tq::TQFoundation
