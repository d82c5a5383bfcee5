// The localized-string lookup that searches a bundle's resource bundles
// before the bundle itself, installed in place of the platform's.

#include <atomic>
#include <cstdlib>
#include <map>
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

// The answers of the search below for every key at once: the entries of the
// resource bundles' tables (less those that read "NOT_FOUND"), then the
// bundle's own, the first of a key kept. One lookup in it gives what the
// bundle-by-bundle search gives, when the platform's lookup is the one
// searched; it is built at the first lookup of a table in a set of languages.
class MergedTables : public Object {
 public:
  std::string className() const override { return "MergedTables"; }

  Ref<Dictionary> tableFor(const Bundle& bundle, const std::string& signature, const Ref<String>& table) {
    const std::string name = table ? table->utf8() : std::string();
    std::lock_guard lock(mutex_);
    if (last_ && lastSignature_ == signature && lastTable_ == name) return last_;
    const std::string key = signature + "\n" + name;
    Ref<Dictionary>& slot = tables_[key];
    if (!slot) {
      Ref<Dictionary> merged = merge(bundle, *lookupResourceBundles(bundle), table);
      // Built while the languages changed: right for this lookup only.
      if (Bundle::currentLanguageSignature() != signature) {
        tables_.erase(key);
        return merged;
      }
      slot = merged;
    }
    lastSignature_ = signature;
    lastTable_ = name;
    last_ = slot;
    return slot;
  }

 private:
  static void add(MutableDictionary& merged, const Bundle& bundle, const Ref<String>& table, bool skipNotFound) {
    const auto chain = bundle.localizedTables(table);
    for (const Bundle::LocalizedTable& tables : *chain) {
      if (tables.plurals) {
        for (const auto& [key, value] : tables.plurals->entries()) {
          auto entry = cast<Dictionary>(value);
          auto format = cast<String>(entry->objectForKey(std::string_view(StringLocalizedFormatKey)));
          insert(merged, key, make<PluralFormatString>(format->utf16(), entry, tables.localization), skipNotFound);
        }
      }
      if (tables.strings) {
        for (const auto& [key, value] : tables.strings->entries()) insert(merged, key, value, skipNotFound);
      }
    }
  }

  static void insert(MutableDictionary& merged, const Id& key, const Id& text, bool skipNotFound) {
    if (merged.objectForKey(key)) return;
    if (skipNotFound && cast<String>(text)->isEqualToString(NotFoundMarker)) return;
    merged.setObject(text, key);
  }

  static Ref<Dictionary> merge(const Bundle& bundle, const Array& resourceBundles, const Ref<String>& table) {
    auto merged = MutableDictionary::dictionary();
    for (const Id& item : resourceBundles) add(*merged, static_cast<const Bundle&>(*item), table, true);
    add(*merged, bundle, table, false);
    return merged;
  }

  std::mutex mutex_;
  std::string lastSignature_, lastTable_;
  Ref<Dictionary> last_;
  std::map<std::string, Ref<Dictionary>> tables_;
};

MergedTables& mergedTables(const Bundle& bundle) {
  // Bundles live as long as the process, and so do their merged tables: the
  // last pair a thread used can be kept by address.
  thread_local const Bundle* lastBundle = nullptr;
  thread_local MergedTables* lastTables = nullptr;
  if (lastBundle == &bundle) return *lastTables;
  constexpr std::string_view key = "org.tqbasekit.mergedLocalizedTables";
  Id found = bundle.associatedObjects().objectForKey(key);
  if (!found) found = bundle.associatedObjects().objectForKeyOrStore(key, make<MergedTables>());
  lastBundle = &bundle;
  lastTables = static_cast<MergedTables*>(found.get());
  return *lastTables;
}

Ref<String> libraryLookup(const Bundle& bundle, const String& key, const Ref<String>& value, const Ref<String>& table) {
  const Bundle::LocalizedStringLookup platform = platformLookup.load(std::memory_order_acquire);
  const Ref<String>& notFound = notFoundMarker();
  // The user's languages are read once for all the bundles searched.
  Bundle::LanguageSnapshot languages;
  if (platform == &Bundle::platformLocalizedStringForKey) {
    const Ref<String> tableName = table && table->length() > 0 ? table : nullptr;
    auto merged = mergedTables(bundle).tableFor(bundle, languages.signature(), tableName);
    // Every value of the merged table is a string.
    if (Id text = merged->objectForKey(&key)) return std::static_pointer_cast<String>(text);
    return platform(bundle, key, value, table);
  }
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
